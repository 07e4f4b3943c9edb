#include "carditem.h"

#include "contactbase.h"

#include "im/content/content.pb.h"

CardItem::CardItem(int scene, AccountBase* account, QObject* parent)
    : ContentItem(scene, account, parent)
{
}

void CardItem::setCard(qint64 userId, const QString& nick)
{
    if (m_userId == userId && m_nick == nick)
        return;
    m_userId = userId;
    m_nick = nick;
    emit cardChanged();
}

void CardItem::setUser(const QSharedPointer<ContactBase>& user)
{
    if (m_user == user)
        return;
    m_user = user;
    emit userChanged();
}

void CardItem::serialize(im::content::Content* out) const
{
    if (!out)
        return;
    ContentItem::serialize(out);
    auto* card = out->mutable_card();
    card->set_user_id(m_userId);
    card->set_nick(m_nick.toStdString());
}

void CardItem::readFrom(const im::content::Content& in)
{
    ContentItem::readFrom(in);
    setCard(in.card().user_id(), QString::fromStdString(in.card().nick()));
    // The card's own user until somebody resolves a better one.
    if (m_userId <= 0)
        setUser({});
    else if (!m_user || m_user->userId() != m_userId)
        setUser(QSharedPointer<ContactBase>(new ContactBase(m_userId, m_nick)));
}
