#include "withoptionsitem.h"

WithOptionsItem::WithOptionsItem(int scene, AccountBase* account, QObject* parent)
    : ContentItem(scene, account, parent)
{
}

QString WithOptionsItem::title() const
{
    return m_title ? m_title->content() : QString();
}

void WithOptionsItem::setTitle(const QString& title)
{
    if (m_title && m_title->content() == title)
        return;
    readTitle(title);
    emit optionsChanged();
}

void WithOptionsItem::clearTitle()
{
    if (!m_title)
        return;
    m_title.reset();
    emit optionsChanged();
}

void WithOptionsItem::setOptions(const QStringList& options)
{
    if (m_options == options)
        return;
    m_options = options;
    emit optionsChanged();
}

void WithOptionsItem::readTitle(const QString& text)
{
    if (!m_title) {
        m_title.reset(new ContentItem(scene(), account()));
        m_title->setType(TextType);
    }
    m_title->setContent(text, {});
}
