#pragma once

#include "reminder_global.h"

#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace im { namespace content { class ReminderRelative; } }
class AccountBase;
class ContactBase;
class ContentItem;
Q_MOC_INCLUDE("contactbase.h")
Q_MOC_INCLUDE("contentitem.h")

// The chat message a reminder was made from: where it came from, who sent
// it and what it said. Owned by its reminder.
class REMINDER_EXPORT RelativeMessage : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString dialogId READ dialogId CONSTANT)
    Q_PROPERTY(qint64 messageId READ messageId CONSTANT)
    Q_PROPERTY(ContactBase* sender READ sender CONSTANT)
    Q_PROPERTY(ContentItem* content READ content CONSTANT)
public:
    RelativeMessage(const QString& dialogId, qint64 messageId, qint64 senderId,
                    QSharedPointer<ContentItem> content, QObject* parent);
    ~RelativeMessage() override;

    // Builds the quote from a received message; a quoted card gets its
    // user from the account's users.
    static RelativeMessage* fromMessage(const im::content::ReminderRelative& relative,
                                        AccountBase* account, QObject* parent);

    QString dialogId() const { return m_dialogId; }
    qint64 messageId() const { return m_messageId; }
    qint64 senderId() const { return m_senderId; }
    ContactBase* sender() const;
    QSharedPointer<ContactBase> senderPtr() const { return m_sender; }
    void setSender(QSharedPointer<ContactBase> sender);
    ContentItem* content() const;
    QSharedPointer<ContentItem> contentPtr() const { return m_content; }

    // Writes the quote; nothing at all without an output or a content. The
    // sender id written is the resolved sender's, never the received one.
    void serialize(im::content::ReminderRelative* out) const;
    // The quoted text, or for a file without text the file's name.
    QString text() const;

private:
    QString m_dialogId;
    qint64 m_messageId;
    qint64 m_senderId;
    QSharedPointer<ContactBase> m_sender;
    QSharedPointer<ContentItem> m_content;
};
