#include "connection.h"

#include "searchfold_p.h"
#include "sqliteutil_p.h"
#include "storagesql.h"
#include "writebatch.h"

#include "synclocker.h"

#include "imlog.h"

#include <QHash>

#include <sqlite3.h>

namespace storage {

namespace {

// storage_fold(text): the text as the search compares it (searchfold_p.h).
void foldFunction(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc != 1 || sqlite3_value_type(argv[0]) == SQLITE_NULL) {
        sqlite3_result_text(ctx, "", 0, SQLITE_STATIC);
        return;
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(argv[0]));
    const QByteArray folded = foldedForSearch(QString::fromUtf8(text, sqlite3_value_bytes(argv[0]))).toUtf8();
    sqlite3_result_text(ctx, folded.constData(), int(folded.size()), SQLITE_TRANSIENT);
}

SqliteSchema accountSchema(Connection* connection, void (*deferFunction)(sqlite3_context*, int, sqlite3_value**))
{
    SqliteSchema schema;
    schema.create = sql::kCreateSchema;
    schema.tables = { { "reminder", sql::kProbeReminder },
                      { "reminder_search", sql::kProbeSearch },
                      { "reminder_removed", sql::kProbeRemoved },
                      { "cache_file", sql::kProbeCacheFile } };
    schema.version = sql::kSchemaVersion;
    // The triggers call the fold function: every connection that writes
    // has it.
    schema.prepareHandle = [connection, deferFunction](sqlite3* db) {
        const int rc = sqlite3_create_function_v2(db, sql::kFoldFunction, 1,
                                                  SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS, nullptr,
                                                  &foldFunction, nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK)
            return rc;
        return sqlite3_create_function_v2(db, sql::kDeferFunction, 2, SQLITE_UTF8, connection,
                                          deferFunction, nullptr, nullptr, nullptr);
    };
    // A file of an earlier version: the old index goes, the schema is made,
    // the search side is built (in the schema's transaction).
    // Version 4 differs only in the index's settings.
    schema.upgrade = [](sqlite3* db, int fromVersion, QString* reason) {
        if (fromVersion >= sql::kSchemaVersion)
            return true;
        if (fromVersion < 4
            && !(detail::execAll(db, sql::kDropSearchSide, reason) && detail::execAll(db, sql::kCreateSchema, reason)
                 && BareFilling::rebuildSearchSide(db, reason)))
            return false;
        return detail::execAll(db, sql::kFtsMergeSettings, reason);
    };
    schema.repair = &BareFilling::repairAtOpen;
    return schema;
}

} // namespace

Connection::Connection(const QString& path, Opening opening)
    : m_path(path)
{
    if (opening == Opening::Now)
        ensureOpen();
    // Known to the storage worker (its commits, its idle merging) only once
    // opened: the worker may look at any registered connection at any time.
    WriteBatch::add(this);
}

bool Connection::ensureOpen()
{
    // Tried once: a file that could not be opened stays closed, as it
    // would have had it been opened at construction.
    if (!m_file) {
        m_file.emplace(m_path, QStringLiteral("storage"), accountSchema(this, &Connection::deferFunction),
                       SqliteFile::Threading::Shared, SqliteFile::Checkpoints::WhenAsked);
        if (m_file->isOpen())
            m_bareFilling.reread(handle());
    }
    return m_file->isOpen();
}

Connection::~Connection()
{
    // Out of the registry first (its lock comes before ours), then the
    // group still open is committed: its writes were handed in before the
    // connection went.
    WriteBatch::remove(this);
    // Nor a checkpoint (it started from an idle step, which the registry
    // no longer runs for this connection).
    if (m_checkpointThread.joinable())
        m_checkpointThread.join();
    // No store may be halfway through a statement while the file closes.
    SyncLocker lock(&m_mutex);
    if (m_groupOpen && isOpen()) {
        if (!indexDeferred() || !m_file->exec("COMMIT"))
            m_file->exec("ROLLBACK");
        m_groupOpen = false;
    }
    if (m_file)
        m_file->close();
}

bool Connection::beginWrite(bool severalStatements)
{
    if (!isOpen())
        return false;
    if (WriteBatch::isActive()) {
        if (!m_groupOpen) {
            if (!m_file->exec("BEGIN IMMEDIATE"))
                return false;
            m_groupOpen = true;
            m_bareFilling.groupBegun(handle());
        }
        if (severalStatements && !m_file->exec("SAVEPOINT storage_write"))
            return false;
        m_write = severalStatements ? WriteKind::InGroup : WriteKind::Single;
        return true;
    }
    if (m_groupOpen) {
        if (!m_file->exec("SAVEPOINT storage_write"))
            return false;
        m_write = WriteKind::InOthersGroup;
        return true;
    }
    if (severalStatements) {
        if (!m_file->exec("BEGIN IMMEDIATE"))
            return false;
        m_write = WriteKind::Own;
        return true;
    }
    m_write = WriteKind::Single;
    return true;
}

bool Connection::endWrite(bool ok)
{
    const WriteKind kind = m_write;
    m_write = WriteKind::None;
    sqlite3* db = handle();
    switch (kind) {
    case WriteKind::None:
        return false;
    case WriteKind::Single: {
        const bool grouped = m_groupOpen;
        checkGroupAlive();
        return ok && m_groupOpen == grouped;
    }
    case WriteKind::Own:
        if (ok && m_file->exec("COMMIT"))
            return true;
        if (db && !sqlite3_get_autocommit(db))
            m_file->exec("ROLLBACK");
        rolledBack();
        return false;
    case WriteKind::InGroup:
    case WriteKind::InOthersGroup:
        checkGroupAlive();
        if (!m_groupOpen)
            return false; // this write went with the group
        if (!ok || !m_file->exec("RELEASE storage_write")) {
            ok = false;
            // Taking a write back is no rollback of the transaction: the
            // search directory is told itself.
            m_directory.invalidate();
            m_file->exec("ROLLBACK TO storage_write");
            m_file->exec("RELEASE storage_write");
            rolledBack();
        }
        if (kind == WriteKind::InOthersGroup) {
            const bool indexed = indexDeferred();
            m_groupOpen = false;
            if (!indexed || !m_file->exec("COMMIT")) {
                ok = false;
                if (db && !sqlite3_get_autocommit(db))
                    m_file->exec("ROLLBACK");
                rolledBack();
            }
        }
        return ok;
    }
    return false;
}

void Connection::checkGroupAlive()
{
    sqlite3* db = handle();
    if (m_groupOpen && (!db || sqlite3_get_autocommit(db))) {
        // An I/O error, a full disk or lack of memory can end the whole
        // transaction: the grouped writes before this one are gone too.
        m_groupOpen = false;
        m_deferred.clear();
        rolledBack();
        ImLog::instance()->error(QStringLiteral("storage: a group of writes to %1 was rolled back after an error; "
                                                "its writes are lost")
                                     .arg(m_path));
    }
}

bool Connection::commitGroup()
{
    SyncLocker lock(&m_mutex);
    checkGroupAlive();
    if (!m_groupOpen)
        return true;
    const bool indexed = indexDeferred();
    m_groupOpen = false;
    if (indexed && m_file->exec("COMMIT"))
        return true;
    sqlite3* db = handle();
    if (db && !sqlite3_get_autocommit(db))
        m_file->exec("ROLLBACK");
    rolledBack();
    ImLog::instance()->error(
        QStringLiteral("storage: a group of writes to %1 could not be committed; its writes are lost").arg(m_path));
    return false;
}

void Connection::rolledBack()
{
    if (isOpen())
        m_bareFilling.reread(handle());
}

void Connection::recordInserted()
{
    if (!m_groupOpen)
        return;
    if (m_bareFilling.recordInserted(*m_file)) {
        // The rebuild covers the rows whose index work was put off.
        m_deferred.clear();
    }
}

bool Connection::buildBareLeftovers()
{
    m_directory.detach();
    return m_bareFilling.finish(*m_file);
}

bool Connection::prepareSearch()
{
    if (m_bareFilling.isBare()) {
        // Inside the open group, the build joins it as a savepoint (a
        // failed build is taken back, the group's writes stay); otherwise
        // it is a transaction of its own.
        const bool own = !m_groupOpen;
        if (!m_file->exec(own ? "BEGIN IMMEDIATE" : "SAVEPOINT storage_bare_build"))
            return false;
        bool ok = buildBareLeftovers();
        sqlite3* db = handle();
        if (own) {
            ok = ok && m_file->exec("COMMIT");
            if (!ok && db && !sqlite3_get_autocommit(db))
                m_file->exec("ROLLBACK");
        } else if (!ok) {
            if (db && !sqlite3_get_autocommit(db)) {
                m_file->exec("ROLLBACK TO storage_bare_build");
                m_file->exec("RELEASE storage_bare_build");
            }
        } else {
            ok = m_file->exec("RELEASE storage_bare_build");
        }
        if (!ok) {
            checkGroupAlive();
            rolledBack();
            return false;
        }
    }
    return indexDeferred();
}

// How long the writes must have paused before idle work that writes much
// (building what filling bare left out, checkpointing) starts: longer than
// the gaps between the pieces of a listing.
constexpr auto kWritesPaused = std::chrono::milliseconds(500);
// Fewer pages than this stay in the log when the writes pause: each
// checkpoint syncs the main file, so a few small writes do not each pay one.
constexpr int kIdleCheckpointPages = 1024;

bool Connection::writesPaused(std::chrono::milliseconds* retryIn) const
{
    // Any commit counts, grouped or not: a write of another thread (a
    // timer pass's, say) is as much in progress as the worker's.
    const auto paused = std::chrono::steady_clock::now() - m_file->lastCommit();
    if (paused >= kWritesPaused)
        return true;
    *retryIn = std::chrono::ceil<std::chrono::milliseconds>(kWritesPaused - paused);
    return false;
}

bool Connection::finishBareFilling(std::chrono::milliseconds* retryIn)
{
    *retryIn = std::chrono::milliseconds::zero();
    SyncLocker lock(&m_mutex);
    if (!isOpen() || m_groupOpen || !m_bareFilling.isBare() || !writesPaused(retryIn))
        return false;
    // Not retried at once when it failed (logged): the next idle time will.
    return prepareSearch();
}

bool Connection::checkpointStep(std::chrono::milliseconds* retryIn)
{
    *retryIn = std::chrono::milliseconds::zero();
    {
        SyncLocker lock(&m_mutex);
        if (!isOpen() || m_groupOpen || m_checkpointing.load(std::memory_order_acquire)
            || m_file->uncheckpointedPages() < kIdleCheckpointPages || !writesPaused(retryIn))
            return false;
    }
    // On a thread of its own, through a handle of its own: the worker stays
    // free for the next task (a checkpoint of a large listing takes a tenth
    // of a second and more, mostly waiting for the disk), and the reads of
    // other threads do not wait for it. The file stays open meanwhile: the
    // connection waits for the thread before it closes. A reader that holds
    // the log back leaves pages uncopied; the next idle time tries again.
    if (m_checkpointThread.joinable())
        m_checkpointThread.join();
    m_checkpointing.store(true, std::memory_order_release);
    m_checkpointThread = std::thread([this] {
        m_file->checkpoint();
        m_checkpointing.store(false, std::memory_order_release);
    });
    return false;
}

bool Connection::mergeIndexStep()
{
    SyncLocker lock(&m_mutex);
    // Not opened just for this, and never inside a group: the step is a
    // transaction of its own.
    if (!isOpen() || m_groupOpen)
        return false;
    sqlite3* db = handle();
    const sqlite3_int64 before = sqlite3_total_changes64(db);
    if (!m_file->exec(sql::kFtsIdleMerge))
        return false;
    return sqlite3_total_changes64(db) - before >= 2;
}

void Connection::deferFunction(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    auto* self = static_cast<Connection*>(sqlite3_user_data(ctx));
    // Runs inside a statement, so with the connection's lock held.
    if (argc != 2 || !self->m_groupOpen) {
        sqlite3_result_int(ctx, 0);
        return;
    }
    DeferredIndexWork work;
    work.rowid = sqlite3_value_int64(argv[0]);
    work.wasIndexed = sqlite3_value_type(argv[1]) != SQLITE_NULL;
    if (work.wasIndexed) {
        const auto* text = static_cast<const char*>(sqlite3_value_blob(argv[1]));
        work.indexed = QByteArray(text ? text : "", sqlite3_value_bytes(argv[1]));
    }
    self->m_deferred.push_back(std::move(work));
    sqlite3_result_int(ctx, 1);
}

bool Connection::indexDeferred()
{
    if (m_deferred.empty())
        return true;
    std::vector<DeferredIndexWork> work;
    work.swap(m_deferred);
    // A row's first entry tells what the index held for it before the
    // group; what it holds now is read from the search side. So a write
    // that was taken back later (a failed statement, a savepoint rolled
    // back) leaves the row indexed as it is, and so does a rowid that was
    // deleted and taken again.
    QHash<qint64, bool> seen;
    seen.reserve(qsizetype(work.size()));
    QByteArray rowids = "[";
    bool ok = true;
    for (const DeferredIndexWork& entry : work) {
        if (seen.contains(entry.rowid))
            continue;
        seen.insert(entry.rowid, true);
        if (rowids.size() > 1)
            rowids += ',';
        rowids += QByteArray::number(entry.rowid);
        if (!entry.wasIndexed)
            continue;
        detail::StatementScope stmt(statement(sql::kFtsDeferredDelete));
        if (!stmt || sqlite3_bind_int64(stmt.get(), 1, entry.rowid) != SQLITE_OK
            || sqlite3_bind_text(stmt.get(), 2, entry.indexed.constData(), int(entry.indexed.size()), SQLITE_STATIC)
                != SQLITE_OK
            || sqlite3_step(stmt.get()) != SQLITE_DONE) {
            logError("indexing the search side");
            ok = false;
        }
    }
    rowids += ']';
    detail::StatementScope stmt(statement(sql::kFtsDeferredInsert));
    if (!stmt || sqlite3_bind_text(stmt.get(), 1, rowids.constData(), int(rowids.size()), SQLITE_STATIC) != SQLITE_OK
        || sqlite3_step(stmt.get()) != SQLITE_DONE) {
        logError("indexing the search side");
        ok = false;
    }
    return ok;
}

} // namespace storage
