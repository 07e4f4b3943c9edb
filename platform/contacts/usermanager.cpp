#include "usermanager.h"

#include "synclocker.h"

#include "contactbase.h"

UserManager::UserManager(QObject* parent) : QObject(parent) {}

QSharedPointer<ContactBase> UserManager::getUserPointer(qint64 userId, bool requestFromServer,
                                                        const QString& nick, bool createIfMissing)
{
    QSharedPointer<ContactBase> user;
    {
        SyncLocker lock(&m_mutex);
        if (requestFromServer)
            m_requested.append(userId);
        user = m_users.value(userId);
        if (!user) {
            if (!createIfMissing)
                return {};
            user.reset(new ContactBase(userId, nick));
            m_users.insert(userId, user);
            return user;
        }
    }
    // Outside the lock: a receiver of nickChanged may call back in.
    if (user->nick().isEmpty() && !nick.isEmpty())
        user->setNick(nick);
    return user;
}

void UserManager::addUser(const QSharedPointer<ContactBase>& user)
{
    if (!user)
        return;
    SyncLocker lock(&m_mutex);
    m_users.insert(user->userId(), user);
}

int UserManager::count() const
{
    SyncLocker lock(&m_mutex);
    return m_users.size();
}

QList<qint64> UserManager::requestedUserIds() const
{
    SyncLocker lock(&m_mutex);
    return m_requested;
}
