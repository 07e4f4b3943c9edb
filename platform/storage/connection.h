#pragma once

#include "searchdirectory.h"
#include "sqlitefile.h"

#include <QMutex>
#include <QString>

#include <optional>

struct sqlite3;
struct sqlite3_stmt;

namespace storage {

// One SQLite connection of an account's database, shared by the account's
// stores. Every use holds the connection's lock (the stores are called from
// the storage worker, the handler's thread and the search job alike), and
// statements are prepared once and cached. How the file is opened, checked
// and, when unusable, moved aside: SqliteFile.
class Connection
{
public:
    enum class Opening {
        Now,        // opened and checked in the constructor
        OnFirstUse, // by the first ensureOpen(), on whichever thread that runs
    };

    explicit Connection(const QString& path, Opening opening = Opening::Now);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Opens the file when that was left for the first use (checking a large
    // file reads all of it); whether it is open. Call with the lock held.
    bool ensureOpen();
    bool isOpen() const { return m_file && m_file->isOpen(); }
    QString path() const { return m_path; }
    // Where a database that could not be opened was moved, or empty.
    QString movedAsidePath() const { return m_file ? m_file->movedAsidePath() : QString(); }

    QMutex& mutex() { return m_mutex; }
    sqlite3* handle() const { return m_file ? m_file->handle() : nullptr; }

    // A cached prepared statement, reset and with its bindings cleared;
    // null (and logged) when it does not compile. Call with the lock held.
    sqlite3_stmt* statement(const char* sql) { return m_file ? m_file->statement(sql) : nullptr; }
    // Runs statements without results; false (and logged) on error.
    bool exec(const char* sql)
    {
        const bool ok = m_file && m_file->exec(sql);
        if (!ok)
            m_directory.invalidate();
        return ok;
    }
    // Logs the connection's last error with the operation's name. A
    // statement that failed may have been undone halfway: the search
    // directory is read again at its next use.
    void logError(const char* what)
    {
        m_directory.invalidate();
        if (m_file)
            m_file->logError(what);
    }

    // The search side's rows in memory, filled when needed; null when the
    // file is closed or it cannot be filled. Call with the lock held.
    SearchDirectory* searchDirectory()
    {
        return m_directory.ensure(handle()) ? &m_directory : nullptr;
    }

private:
    QMutex m_mutex;
    const QString m_path;
    std::optional<SqliteFile> m_file;
    SearchDirectory m_directory;
};

} // namespace storage
