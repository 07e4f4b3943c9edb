#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

struct sqlite3;
struct sqlite3_stmt;

// What a SqliteFile holds.
struct SqliteSchema
{
    struct Table
    {
        const char* name;
        // A SELECT naming every column: run when the table exists, it fails
        // on a table of another shape.
        const char* probe;
    };
    // Statements that create the tables, run in one transaction on every
    // open, so each must be idempotent (IF NOT EXISTS).
    const char* create = nullptr;
    // The tables of ours, checked before anything is written.
    QList<Table> tables;
    // Written to user_version when the file's is lower; 0: not versioned.
    int version = 0;
    // Runs in the schema's transaction, before `create`, when the file's
    // user_version is lower than `version` (0 for a new file too): brings
    // an older file's objects to this version. False (with a reason) rolls
    // the transaction back and the file is not used.
    std::function<bool(sqlite3*, int fromVersion, QString* reason)> upgrade;
    // Runs in the schema's transaction on every open, after `upgrade` and
    // before `create`: brings back in step what a process killed halfway
    // through a long operation left behind. False (with a reason) as above.
    std::function<bool(sqlite3*, QString* reason)> repair;
    // Runs on a fresh handle once the file has proven to be a database
    // (registering SQL functions, say); returns an SQLite result code.
    std::function<int(sqlite3*)> prepareHandle;
};

// One SQLite database file, open only when it is healthy and holds our
// tables in our shape. A file that cannot be used (not a database, damaged,
// or with one of our tables in another shape) is renamed aside with its
// -wal and -shm files, never overwritten; the move is logged and an empty
// file takes its place.
//
// How much is checked depends on how the file was left. While the file is
// open a marker file (<path>-open) lies next to it; a clean close removes
// it, and SQLite removes the -wal file when the last connection closes. A
// file found with the marker or with a -wal file that holds data was not
// closed cleanly (the process was killed, crashed, lost power): every page
// is read (PRAGMA quick_check) before it is used. A file that was closed
// cleanly is only checked for its header and its length against the page
// count in the header, which costs nothing at any size. A file that is merely busy, or a process out of
// memory, leaves the file where it is and this one closed. Write-ahead
// logging, synchronous=NORMAL. Statements are prepared once and cached.
// Not locked: the owner serialises its use.
class SqliteFile
{
public:
    enum class Threading {
        Shared, // SQLite's own mutex on (used from several threads, one at a time)
        Single, // one thread only
    };
    // When the write-ahead log is copied into the main file. A checkpoint
    // writes and syncs every page the log holds; done by the commit that
    // crosses a bound, it stalls that commit (about 70 ms for the 8,192
    // pages of a first listing of 100,000 reminders).
    enum class Checkpoints {
        // By the commit that takes the log past 8,192 pages.
        ByCommits,
        // When the owner calls checkpoint(), at a time it chooses (writes
        // paused); a commit still checkpoints past kCheckpointBound pages,
        // so that a log written without a pause stays bounded.
        WhenAsked,
    };
    static constexpr int kCommitCheckpointPages = 8192;
    static constexpr int kCheckpointBound = 65536;
    // The size a log that has been copied is cut back to.
    static constexpr qint64 kLogSizeLimit = 32 * 1024 * 1024;

    // logPrefix starts every log line ("storage", "reminder server").
    SqliteFile(const QString& path, const QString& logPrefix, SqliteSchema schema, Threading threading,
               Checkpoints checkpoints = Checkpoints::ByCommits);
    ~SqliteFile();
    SqliteFile(const SqliteFile&) = delete;
    SqliteFile& operator=(const SqliteFile&) = delete;

    bool isOpen() const { return m_db != nullptr; }
    QString path() const { return m_path; }
    // Where a file that could not be used was moved, or empty.
    QString movedAsidePath() const { return m_movedAside; }
    sqlite3* handle() const { return m_db; }
    // Whether opening read every page (the file found was not closed
    // cleanly), also when it was then moved aside.
    bool fullyChecked() const { return m_fullyChecked; }
    QString markerPath() const { return m_path + QStringLiteral("-open"); }

    // A cached prepared statement, reset and with its bindings cleared;
    // null (and logged) when the file is closed or the SQL does not compile.
    sqlite3_stmt* statement(const char* sql);
    // Runs statements without results; false (and logged) on error.
    bool exec(const char* sql);
    // Logs the last error with the operation's name.
    void logError(const char* what) const;
    // Finalises the statements and closes the file.
    void close();

    // Pages the write-ahead log holds that the main file does not have yet
    // (as of the last commit or checkpoint of any SqliteFile of this path
    // in the process). Safe from any thread.
    int uncheckpointedPages() const;
    // When a commit (of any SqliteFile of this path in the process) last
    // wrote to the log; the clock's epoch before the first. Safe from any
    // thread.
    std::chrono::steady_clock::time_point lastCommit() const;
    // Copies the log into the main file as far as no reader holds it back
    // (a passive checkpoint); false (and logged) on error. It goes through
    // a handle of its own, opened at the first call, so the owner need not
    // serialise it with its other uses (it writes and syncs every page the
    // log holds, which takes long enough to hold up a reader): callers take
    // turns among themselves, and none may run while the file closes. A
    // checkpoint of another SqliteFile of this path that is under way
    // makes this one return at once.
    bool checkpoint();

private:
    // On failure `reason` says why and `code` holds the SQLite result
    // code; the handle may be left open for close().
    bool openAndCheck(QString* reason, int* code);
    bool checkExistingTables(QString* reason, int* code);
    // Whether the last session on the file ended without a clean close.
    bool leftUnclean() const;
    // The header's page count against the file's length; false (with a
    // reason) for a file that is shorter than its header says.
    bool checkLength(QString* reason, int* code) const;
    bool createSchema(QString* reason, int* code);
    // False when the main file could not be moved (it then stays as found).
    bool moveAside(const QString& reason);
    void log(const QString& text) const;
    static int walCommitted(void* self, sqlite3* db, const char* dbName, int pages);

    QString m_path;
    QString m_logPrefix;
    SqliteSchema m_schema;
    int m_openFlags = 0;
    QString m_movedAside;
    sqlite3* m_db = nullptr;
    // The file opened healthy: its marker goes when it closes.
    bool m_healthy = false;
    bool m_fullyChecked = false;
    Checkpoints m_checkpoints = Checkpoints::ByCommits;
    // The checkpoint's own handle; opened by the first checkpoint().
    sqlite3* m_checkpointer = nullptr;
    // The log as the commits and checkpoints of every SqliteFile of this
    // path in the process left it: the log is the file's, not a handle's.
    struct SharedLog;
    std::shared_ptr<SharedLog> m_log;
    QHash<QByteArray, sqlite3_stmt*> m_statements;
};
