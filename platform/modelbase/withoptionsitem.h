#pragma once

#include "contentitem.h"

#include <QSharedPointer>
#include <QStringList>

// A body made of a title and a list of options (a poll, a lottery).
class WithOptionsItem : public ContentItem
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title NOTIFY optionsChanged)
    Q_PROPERTY(QStringList options READ options NOTIFY optionsChanged)
public:
    WithOptionsItem(int scene, AccountBase* account, QObject* parent = nullptr);

    // The title as a text content; null when there is none.
    QSharedPointer<ContentItem> titlePtr() const { return m_title; }
    QString title() const;
    void setTitle(const QString& title);
    void clearTitle();
    QStringList options() const { return m_options; }
    void setOptions(const QStringList& options);

signals:
    void optionsChanged();

protected:
    void readTitle(const QString& text);

private:
    QSharedPointer<ContentItem> m_title;
    QStringList m_options;
};
