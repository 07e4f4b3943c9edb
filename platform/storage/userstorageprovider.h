#pragma once

#include <QString>
#include <memory>

namespace storage {

class Connection;
class ReminderStorage;
class CacheFileStorage;

// One account's storage: the SQLite database
// <dataDir>/accounts/<accountId>/account.db and the stores on it.
// A file that cannot be opened or is corrupt is never overwritten: it is
// moved aside (with its -wal and -shm files), logged, and the account starts
// with an empty database. Every page is checked only when the last session
// did not close the file cleanly (SqliteFile).
class UserStorageProvider
{
public:
    enum class Opening {
        Now,
        // The database is opened and checked by the first operation on it
        // (or by isOpen()), on that operation's thread: a host can construct
        // the account on its interface thread and leave the reading of a
        // large file to the thread that loads it.
        OnFirstUse,
    };

    UserStorageProvider(const QString& dataDir, qint64 accountId, Opening opening = Opening::Now);
    ~UserStorageProvider();

    static QString databasePath(const QString& dataDir, qint64 accountId);

    // Both open a database left for its first use.
    bool isOpen() const;
    QString databasePath() const;
    QString movedAsidePath() const;
    // Whether opening read every page of the database: only when the last
    // session did not close it cleanly.
    bool fullyChecked() const;

    ReminderStorage* reminderStorage() const;
    CacheFileStorage* cacheFileStorage() const;

private:
    std::unique_ptr<Connection> m_connection;
    std::unique_ptr<ReminderStorage> m_reminders;
    std::unique_ptr<CacheFileStorage> m_cacheFiles;
};

} // namespace storage
