#pragma once

#include "barefilling.h"
#include "searchdirectory.h"
#include "sqlitefile.h"

#include <QByteArray>
#include <QMutex>
#include <QString>

#include <atomic>
#include <chrono>
#include <thread>

#include <optional>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;
struct sqlite3_context;
struct sqlite3_value;

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
    // Whether opening read every page (SqliteFile::fullyChecked).
    bool fullyChecked() const { return m_file && m_file->fullyChecked(); }

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

    // Every write runs between beginWrite() and endWrite(), with the lock
    // held (and WriteBatch::enter() called before taking it). On the
    // grouping thread the write joins the open group (WriteBatch); written
    // with several statements it is a savepoint inside the group, so that a
    // failure takes back only its own statements. Elsewhere a write of
    // several statements is a transaction of its own and a single statement
    // commits by itself; should another thread's group be open, the write
    // commits that group along with itself. beginWrite() false: nothing
    // was begun and endWrite() is not called. endWrite(ok) commits (or,
    // when ok is false, takes back) and returns whether the write holds.
    bool beginWrite(bool severalStatements);
    bool endWrite(bool ok);
    // Commits the open group, if any (WriteBatch::commit); takes the lock.
    bool commitGroup();
    // Does the search index work that the open group has put off, so that
    // a lookup in the index finds the group's rows; call with the lock held
    // before reading the index. Nothing to do outside a group.
    bool indexDeferred();
    // One step of merging the search index's segments (storagesql.h,
    // kFtsIdleMerge), for a worker that has nothing else to do; takes the
    // lock. Whether it merged something (there may be more to merge).
    bool mergeIndexStep();

    // A grouped write inserted a record (BareFilling): the store may go
    // bare. Call with the lock held, between statements.
    void recordInserted();
    // Makes the search side whole before it is read: builds what filling
    // bare left out, then does the index work the open group put off
    // (indexDeferred). Call with the lock held. False (logged) on error.
    bool prepareSearch();
    // For a worker that has nothing else to do: builds what filling bare
    // left out, as a transaction of its own, once nothing has been
    // committed for a while (a listing that arrives in pieces stays bare
    // from one piece to the next); takes the lock. Whether it built
    // something; *retryIn: how long until the pause is long enough (zero
    // when nothing waits for it).
    bool finishBareFilling(std::chrono::milliseconds* retryIn);
    // For a worker that has nothing else to do: once nothing has been
    // committed for a while, starts copying the write-ahead log into the
    // main file on a thread of its own, so that a burst of writes does not
    // stall on a checkpoint (SqliteFile::Checkpoints::WhenAsked); takes the
    // lock. Returns at once (false: nothing for the worker to repeat);
    // *retryIn as for finishBareFilling.
    bool checkpointStep(std::chrono::milliseconds* retryIn);

private:
    struct DeferredIndexWork
    {
        qint64 rowid;
        // The folded text the index holds for the row; null: the row was
        // not indexed (it was inserted in the group).
        QByteArray indexed;
        bool wasIndexed;
    };
    static void deferFunction(sqlite3_context* ctx, int argc, sqlite3_value** argv);

    // Notices a group that SQLite rolled back after an error.
    void checkGroupAlive();
    // After a rollback: what it took back may include going bare.
    void rolledBack();
    // BareFilling::finish with the search directory detached first.
    bool buildBareLeftovers();
    // Whether nothing has been committed for a while; if not, *retryIn
    // says how long until then.
    bool writesPaused(std::chrono::milliseconds* retryIn) const;

    enum class WriteKind {
        None,
        Single,           // one statement, committed by itself or in the group
        Own,              // several statements in a transaction of their own
        InGroup,          // several statements in a savepoint of the group
        InOthersGroup,    // a savepoint, then the whole group is committed
    };

    QMutex m_mutex;
    const QString m_path;
    // Guarded by m_mutex; before m_file, whose opening may run the triggers.
    bool m_groupOpen = false;
    WriteKind m_write = WriteKind::None;
    std::vector<DeferredIndexWork> m_deferred;
    BareFilling m_bareFilling;
    // A checkpoint started by checkpointStep() runs here (one at a time).
    std::thread m_checkpointThread;
    std::atomic<bool> m_checkpointing{false};
    // Made by ensureOpen(): at construction, or at the first use.
    std::optional<SqliteFile> m_file;
    SearchDirectory m_directory;
};

} // namespace storage
