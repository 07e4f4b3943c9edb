#include "contactbase.h"

ContactBase::ContactBase(qint64 userId, const QString& nick, QObject* parent)
    : QObject(parent), m_userId(userId), m_nick(nick)
{
}

void ContactBase::setNick(const QString& nick)
{
    if (m_nick == nick)
        return;
    m_nick = nick;
    emit nickChanged();
}

QString ContactBase::displayName() const
{
    return m_nick.isEmpty() ? QStringLiteral("User %1").arg(m_userId) : m_nick;
}
