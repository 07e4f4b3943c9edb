#include "dialogbase.h"

#include "contactbase.h"
#include "usermanager.h"

DialogBase::DialogBase(const QString& dialogId, UserManager* users, QObject* parent)
    : QObject(parent), m_dialogId(dialogId), m_users(users)
{
}

QSharedPointer<ContactBase> DialogBase::contact(qint64 userId, const QString& nick) const
{
    if (userId < 1 || !m_users)
        return {};
    return m_users->getUserPointer(userId, false, nick, true);
}
