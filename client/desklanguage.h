#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>

class QQmlEngine;

// The interface's language as QML sees it: the host's setting
// (AppSettingModel), the languages offered, and live retranslation of the
// QML engines that show the interface.
class DeskLanguage : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString language READ language NOTIFY languageChanged)
    // [{code: "en", name: "English"}, {code: "zh_CN", name: "中文"}]: each
    // language under its own name.
    Q_PROPERTY(QVariantList languages READ languages CONSTANT)

public:
    explicit DeskLanguage(QObject* parent = nullptr);

    QString language() const;
    QVariantList languages() const;
    static QStringList codes();

    // Engines whose bindings are re-read when the language changes.
    void addEngine(QQmlEngine* engine);

    // Installs the language's catalogue and retranslates the interface.
    Q_INVOKABLE void setLanguage(const QString& code);

signals:
    void languageChanged();

private:
    void retranslate();

    QList<QPointer<QQmlEngine>> m_engines;
};
