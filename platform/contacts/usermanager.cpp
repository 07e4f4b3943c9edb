#include "usermanager.h"

#include "contactbase.h"

UserManager::UserManager(QObject* parent) : QObject(parent) {}

QSharedPointer<ContactBase> UserManager::getUserPointer(qint64 userId, bool requestFromServer,
                                                        const QString& nick, bool createIfMissing)
{
    QMutexLocker lock(&m_mutex);
    if (requestFromServer)
        m_requested.append(userId);
    auto it = m_users.constFind(userId);
    if (it != m_users.constEnd()) {
        if ((*it)->nick().isEmpty() && !nick.isEmpty())
            (*it)->setNick(nick);
        return *it;
    }
    if (!createIfMissing)
        return {};
    QSharedPointer<ContactBase> user(new ContactBase(userId, nick));
    m_users.insert(userId, user);
    return user;
}

void UserManager::addUser(const QSharedPointer<ContactBase>& user)
{
    if (!user)
        return;
    QMutexLocker lock(&m_mutex);
    m_users.insert(user->userId(), user);
}

int UserManager::count() const
{
    QMutexLocker lock(&m_mutex);
    return m_users.size();
}

QList<qint64> UserManager::requestedUserIds() const
{
    QMutexLocker lock(&m_mutex);
    return m_requested;
}
