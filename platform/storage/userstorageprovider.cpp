#include "userstorageprovider.h"

#include "cachefilestorage.h"
#include "connection.h"
#include "reminderstorage.h"

#include "synclocker.h"

#include <QDir>

namespace storage {

UserStorageProvider::UserStorageProvider(const QString& dataDir, qint64 accountId, Opening opening)
    : m_connection(std::make_unique<Connection>(databasePath(dataDir, accountId),
                                                opening == Opening::Now ? Connection::Opening::Now
                                                                        : Connection::Opening::OnFirstUse))
    , m_reminders(std::make_unique<ReminderStorage>(m_connection.get()))
    , m_cacheFiles(std::make_unique<CacheFileStorage>(m_connection.get()))
{
}

UserStorageProvider::~UserStorageProvider() = default;

QString UserStorageProvider::databasePath(const QString& dataDir, qint64 accountId)
{
    const QString relative = QStringLiteral("accounts/%1/account.db").arg(accountId);
    return QDir::cleanPath(QDir(dataDir).filePath(relative));
}

bool UserStorageProvider::isOpen() const
{
    SyncLocker lock(&m_connection->mutex());
    return m_connection->ensureOpen();
}

QString UserStorageProvider::databasePath() const
{
    return m_connection->path();
}

QString UserStorageProvider::movedAsidePath() const
{
    SyncLocker lock(&m_connection->mutex());
    m_connection->ensureOpen();
    return m_connection->movedAsidePath();
}

bool UserStorageProvider::fullyChecked() const
{
    return m_connection->fullyChecked();
}

ReminderStorage* UserStorageProvider::reminderStorage() const
{
    return m_reminders.get();
}

CacheFileStorage* UserStorageProvider::cacheFileStorage() const
{
    return m_cacheFiles.get();
}

} // namespace storage
