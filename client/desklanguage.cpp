#include "desklanguage.h"

#include "appsettingmodel.h"

#include <QJSEngine>
#include <QQmlEngine>
#include <QVariantMap>

DeskLanguage::DeskLanguage(QObject* parent)
    : QObject(parent)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    connect(AppSettingModel::getInstance(), &AppSettingModel::languageChanged, this, [this] {
        retranslate();
        emit languageChanged();
    });
}

QString DeskLanguage::language() const
{
    return AppSettingModel::language();
}

QStringList DeskLanguage::codes()
{
    return {QStringLiteral("en"), QStringLiteral("zh_CN")};
}

QVariantList DeskLanguage::languages() const
{
    QVariantList list;
    const QStringList names = {QStringLiteral("English"), QStringLiteral("中文")};
    const QStringList all = codes();
    for (int i = 0; i < all.size(); ++i) {
        QVariantMap m;
        m.insert(QStringLiteral("code"), all.at(i));
        m.insert(QStringLiteral("name"), names.at(i));
        list.append(m);
    }
    return list;
}

void DeskLanguage::addEngine(QQmlEngine* engine)
{
    if (engine && !m_engines.contains(engine))
        m_engines.append(engine);
}

void DeskLanguage::setLanguage(const QString& code)
{
    AppSettingModel::setLanguage(code);
}

void DeskLanguage::retranslate()
{
    for (const QPointer<QQmlEngine>& engine : std::as_const(m_engines)) {
        if (engine)
            engine->retranslate();
    }
}
