#pragma once

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QString>

struct sqlite3;
struct sqlite3_stmt;

namespace storage {

// One SQLite connection of an account's database, shared by the account's
// stores. Every use holds the connection's lock (the stores are called from
// the storage worker, the handler's thread and the search job alike), and
// statements are prepared once and cached.
class Connection
{
public:
    explicit Connection(const QString& path);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool isOpen() const { return m_db != nullptr; }
    QString path() const { return m_path; }
    // Where a database that could not be opened was moved, or empty.
    QString movedAsidePath() const { return m_movedAside; }

    QMutex& mutex() { return m_mutex; }
    sqlite3* handle() const { return m_db; }

    // A cached prepared statement, reset and with its bindings cleared;
    // null (and logged) when it does not compile. Call with the lock held.
    sqlite3_stmt* statement(const char* sql);
    // Runs statements without results; false (and logged) on error.
    bool exec(const char* sql);
    // Logs the connection's last error with the operation's name.
    void logError(const char* what) const;

private:
    // Opens the file and makes sure it is a healthy database with the
    // current schema. On failure `reason` says why and `code` holds the
    // SQLite result code; the handle may be left open for closeHandle().
    bool openAndCheck(QString* reason, int* code);
    // False when a table of ours exists with other columns (read only).
    bool checkExistingTables(QString* reason, int* code);
    bool createSchema(QString* reason, int* code);
    void closeHandle();
    // Renames the database and its -wal/-shm files out of the way; false
    // when the main file could not be moved (it must then stay untouched).
    bool moveAside(const QString& reason);

    QString m_path;
    QString m_movedAside;
    sqlite3* m_db = nullptr;
    QHash<QByteArray, sqlite3_stmt*> m_statements;
    QMutex m_mutex;
};

} // namespace storage
