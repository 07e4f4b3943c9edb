#include "relativemessage.h"

#include "accountbase.h"
#include "carditem.h"
#include "contactbase.h"
#include "contentitem.h"
#include "deserializecontent.h"
#include "fileitem.h"
#include "usermanager.h"

#include "im/content/reminder.pb.h"

#include <QJSEngine>

namespace {
// Scene code of contents shown inside a reminder.
constexpr int kReminderScene = 8;
}

RelativeMessage::RelativeMessage(const QString& dialogId, qint64 messageId, qint64 senderId,
                                 QSharedPointer<ContentItem> content, QObject* parent)
    : QObject(parent),
      m_dialogId(dialogId),
      m_messageId(messageId),
      m_senderId(senderId),
      m_content(std::move(content))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

RelativeMessage::~RelativeMessage() = default;

RelativeMessage* RelativeMessage::fromMessage(const im::content::ReminderRelative& relative,
                                              AccountBase* account, QObject* parent)
{
    QSharedPointer<ContentItem> content = deserializeContent(relative.content(), kReminderScene, account);
    auto* quote = new RelativeMessage(QString::fromStdString(relative.dialog_id()),
                                      relative.message_id(), relative.sender_id(), content, parent);
    if (content && content->type() == ContentItem::CardType && account && account->userManager()) {
        auto* card = qobject_cast<CardItem*>(content.data());
        if (card && card->userId() > 0)
            card->setUser(account->userManager()->getUserPointer(card->userId(), false, card->nick(), true));
    }
    return quote;
}

ContactBase* RelativeMessage::sender() const
{
    return m_sender.data();
}

void RelativeMessage::setSender(QSharedPointer<ContactBase> sender)
{
    m_sender = std::move(sender);
}

ContentItem* RelativeMessage::content() const
{
    return m_content.data();
}

void RelativeMessage::serialize(im::content::ReminderRelative* out) const
{
    if (!out || !m_content)
        return;
    out->set_dialog_id(m_dialogId.toStdString());
    out->set_message_id(m_messageId);
    if (m_sender)
        out->set_sender_id(m_sender->userId());
    m_content->serialize(out->mutable_content());
}

QString RelativeMessage::text() const
{
    if (!m_content)
        return QString();
    QString text = m_content->content();
    if (text.isEmpty()
        && (m_content->type() == ContentItem::FileType || m_content->type() == ContentItem::VideoType)) {
        auto* file = qobject_cast<FileItem*>(m_content.data());
        if (file && file->sourceFilePtr())
            text = file->sourceFilePtr()->name();
    }
    return text;
}
