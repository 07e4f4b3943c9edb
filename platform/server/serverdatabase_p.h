#pragma once

#include "sqlitefile.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>


namespace reminderserver {

// One reminder of one account as the server keeps it.
struct StoredReminder
{
    // The message as last accepted (empty for a tombstone).
    QByteArray message;
    // Increments with every accepted change and deletion; 1 after the first.
    qint64 version = 0;
    // The server's time of the last change, ms since the epoch.
    qint64 updateTime = 0;
    // The device that made the last change.
    qint64 writerDevice = 0;
    bool deleted = false;
};

struct ListedReminder
{
    QString remindId;
    StoredReminder reminder;
};

// The server's own SQLite file. Used on the server's thread only, so it
// needs no lock. A file that cannot be used (not a database, damaged, or
// holding our tables in another shape) is moved aside with its -wal and
// -shm files, the move is logged, and the server starts with an empty file
// (SqliteFile).
class ServerDatabase
{
public:
    explicit ServerDatabase(const QString& path);
    ~ServerDatabase();
    ServerDatabase(const ServerDatabase&) = delete;
    ServerDatabase& operator=(const ServerDatabase&) = delete;

    bool isOpen() const { return m_file.isOpen(); }
    QString movedAsidePath() const { return m_file.movedAsidePath(); }

    bool begin();
    bool commit();
    void rollback();

    // Each returns false (and logs) on an SQL error.
    bool find(qint64 accountId, const QString& remindId, std::optional<StoredReminder>* out);
    // 0 when the device has seen no version of the reminder.
    bool seenVersion(qint64 accountId, const QString& remindId, qint64 deviceId, qint64* out);
    bool store(qint64 accountId, const QString& remindId, const StoredReminder& reminder);
    bool markSeen(qint64 accountId, const QString& remindId, qint64 deviceId, qint64 version);
    // Every reminder of the account, tombstones included, by remind id.
    bool list(qint64 accountId, QList<ListedReminder>* out);

private:
    SqliteFile m_file;
};

} // namespace reminderserver
