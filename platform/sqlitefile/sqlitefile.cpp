#include "sqlitefile.h"

#include "imlog.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <cstring>
#include <iterator>
#include <mutex>
#include <utility>

namespace {

constexpr int kBusyTimeoutMs = 5000;

QString sqliteMessage(sqlite3* db, int code)
{
    if (db)
        return QString::fromUtf8(sqlite3_errmsg(db));
    return QString::fromUtf8(sqlite3_errstr(code));
}

// Runs a statement that returns a single text row (a pragma) and gives
// that text back; false with the SQLite message in `reason` on error.
bool singleText(sqlite3* db, const char* sql, QString* value, QString* reason, int* code)
{
    sqlite3_stmt* stmt = nullptr;
    int rc = sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
    if (rc == SQLITE_OK) {
        rc = sqlite3_step(stmt);
        if (rc == SQLITE_ROW) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
            *value = text ? QString::fromUtf8(text) : QString();
            rc = SQLITE_OK;
        } else if (rc == SQLITE_DONE) {
            value->clear();
            rc = SQLITE_OK;
        }
    }
    if (rc != SQLITE_OK) {
        *reason = QStringLiteral("%1: %2").arg(QString::fromUtf8(sql), sqliteMessage(db, rc));
        *code = rc;
    }
    sqlite3_finalize(stmt);
    return rc == SQLITE_OK;
}

bool execRaw(sqlite3* db, const char* sql, QString* reason, int* code)
{
    char* message = nullptr;
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
    if (rc != SQLITE_OK) {
        *reason = message ? QString::fromUtf8(message) : sqliteMessage(db, rc);
        *code = rc;
    }
    sqlite3_free(message);
    return rc == SQLITE_OK;
}

// Errors that say nothing about the file itself: a database that is merely
// busy or a process that ran out of memory must not be moved aside.
bool isTransient(int code)
{
    const int primary = code & 0xff;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED || primary == SQLITE_NOMEM
        || primary == SQLITE_INTERRUPT;
}

QString firstWords(const char* sql)
{
    QString text = QString::fromUtf8(sql).simplified();
    if (text.size() > 60)
        text = text.left(60) + QStringLiteral("...");
    return text;
}

} // namespace

struct SqliteFile::SharedLog
{
    // Never held while SQLite is called: the commit hook takes it inside
    // SQLite's calls.
    std::mutex mutex;
    int uncheckpointed = 0;
    // Counted, so that a checkpoint does not overwrite what a commit that
    // ran meanwhile reported.
    quint64 commits = 0;
    std::chrono::steady_clock::time_point lastCommit;
    bool checkpointing = false;

    // The one of this path, made by the first SqliteFile that asks.
    static std::shared_ptr<SharedLog> of(const QString& path)
    {
        // Never destroyed: a file may close while the process exits.
        static auto* registryMutex = new std::mutex;
        static auto* registry = new QHash<QString, std::weak_ptr<SharedLog>>;
        const QString key = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
        std::lock_guard<std::mutex> lock(*registryMutex);
        for (auto it = registry->begin(); it != registry->end();)
            it = it->expired() ? registry->erase(it) : std::next(it);
        std::shared_ptr<SharedLog> log = registry->value(key).lock();
        if (!log) {
            log = std::make_shared<SharedLog>();
            registry->insert(key, log);
        }
        return log;
    }
};

SqliteFile::SqliteFile(const QString& path, const QString& logPrefix, SqliteSchema schema, Threading threading,
                       Checkpoints checkpoints)
    : m_path(path),
      m_logPrefix(logPrefix),
      m_schema(std::move(schema)),
      m_openFlags(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE
                  | (threading == Threading::Shared ? SQLITE_OPEN_FULLMUTEX : SQLITE_OPEN_NOMUTEX)),
      m_checkpoints(checkpoints),
      m_log(SharedLog::of(path))
{
    const QFileInfo info(m_path);
    if (!QDir().mkpath(info.absolutePath())) {
        log(QStringLiteral("cannot create the directory %1 for the database").arg(info.absolutePath()));
        return;
    }

    QString reason;
    int code = SQLITE_OK;
    if (openAndCheck(&reason, &code))
        return;
    close();

    if (isTransient(code)) {
        log(QStringLiteral("cannot open database %1 now, leaving it in place: %2").arg(m_path, reason));
        return;
    }

    const bool anyFile = QFileInfo::exists(m_path) || QFileInfo::exists(m_path + QStringLiteral("-wal"))
        || QFileInfo::exists(m_path + QStringLiteral("-shm"));
    if (!anyFile) {
        log(QStringLiteral("cannot create database %1: %2").arg(m_path, reason));
        return;
    }

    if (!moveAside(reason))
        return;

    if (!openAndCheck(&reason, &code)) {
        close();
        log(QStringLiteral("cannot create a fresh database %1: %2").arg(m_path, reason));
    }
}

SqliteFile::~SqliteFile()
{
    close();
}

bool SqliteFile::leftUnclean() const
{
    if (QFileInfo::exists(markerPath()))
        return true;
    const QFileInfo wal(m_path + QStringLiteral("-wal"));
    return wal.exists() && wal.size() > 0;
}

bool SqliteFile::checkLength(QString* reason, int* code) const
{
    QFile file(m_path);
    if (!file.exists() || file.size() == 0)
        return true;
    if (!file.open(QIODevice::ReadOnly))
        return true; // SQLite says why when it opens the file
    const QByteArray header = file.read(100);
    // Not a database header: SQLite judges it when the file is opened.
    if (header.size() < 100 || !header.startsWith(QByteArrayLiteral("SQLite format 3\0")))
        return true;
    const auto byte = [&header](int i) { return quint32(quint8(header.at(i))); };
    const auto be32 = [&byte](int i) { return byte(i) << 24 | byte(i + 1) << 16 | byte(i + 2) << 8 | byte(i + 3); };
    quint32 pageSize = byte(16) << 8 | byte(17);
    if (pageSize == 1)
        pageSize = 65536;
    const quint32 pageCount = be32(28);
    // The page count is valid only while the version it was written for
    // is the change counter's (SQLite's own rule).
    const bool countValid = be32(24) == be32(92);
    // Pages still in a write-ahead log may lie past the main file's end.
    if (!countValid || pageCount == 0 || pageSize < 512 || (pageSize & (pageSize - 1)) != 0 || leftUnclean())
        return true;
    const qint64 expected = qint64(pageCount) * pageSize;
    if (file.size() >= expected)
        return true;
    *reason = QStringLiteral("the file is shorter than its header says (%1 of %2 bytes)").arg(file.size()).arg(expected);
    *code = SQLITE_CORRUPT;
    return false;
}

bool SqliteFile::openAndCheck(QString* reason, int* code)
{
    // Asked before this open leaves a marker of its own.
    const bool unclean = leftUnclean();
    if (!checkLength(reason, code))
        return false;

    const QByteArray nativePath = QFile::encodeName(m_path);
    int rc = sqlite3_open_v2(nativePath.constData(), &m_db, m_openFlags, nullptr);
    if (rc != SQLITE_OK) {
        *reason = sqliteMessage(m_db, rc);
        *code = rc;
        return false;
    }
    sqlite3_extended_result_codes(m_db, 1);
    sqlite3_busy_timeout(m_db, kBusyTimeoutMs);
    // Until the file has proven healthy, closing must not checkpoint a
    // write-ahead log into it: a file that is moved aside stays as found.
    sqlite3_db_config(m_db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);

    // The marker is down before anything can be written: should this
    // process die from here on, the next open reads every page.
    {
        QFile marker(markerPath());
        if (!marker.open(QIODevice::WriteOnly | QIODevice::Truncate))
            log(QStringLiteral("cannot write the marker %1 (%2); an unclean end is then told by the -wal file alone")
                    .arg(markerPath(), marker.errorString()));
    }

    if (unclean) {
        // Reading the header and every page's structure: a file that is
        // not a database fails here (in prepare or step), a damaged one
        // reports something other than "ok". Nothing has been written so
        // far.
        m_fullyChecked = true;
        QString check;
        if (!singleText(m_db, "PRAGMA quick_check(1)", &check, reason, code))
            return false;
        if (check != QLatin1String("ok")) {
            *reason = QStringLiteral("quick_check reported: %1").arg(check);
            *code = SQLITE_CORRUPT;
            return false;
        }
    }

    if (m_schema.prepareHandle) {
        rc = m_schema.prepareHandle(m_db);
        if (rc != SQLITE_OK) {
            *reason = QStringLiteral("preparing the connection: %1").arg(sqliteMessage(m_db, rc));
            *code = rc;
            return false;
        }
    }

    // Tables of ours that exist with another shape make the file unusable;
    // find out while nothing has been written.
    if (!checkExistingTables(reason, code))
        return false;

    // The schema goes in before the switch to write-ahead logging: should
    // it fail, the rollback leaves the file as it was.
    if (!createSchema(reason, code))
        return false;

    QString mode;
    if (!singleText(m_db, "PRAGMA journal_mode=WAL", &mode, reason, code))
        return false;
    if (mode.compare(QLatin1String("wal"), Qt::CaseInsensitive) != 0)
        log(QStringLiteral("database %1 stays in journal mode %2").arg(m_path, mode));
    if (!execRaw(m_db, "PRAGMA synchronous=NORMAL", reason, code))
        return false;
    // A group of writes touches index pages all over the file; SQLite's
    // default cache of 2 MB spills them to the log in the middle of the
    // group and reads them back.
    if (!execRaw(m_db, "PRAGMA cache_size=-16384", reason, code))
        return false;
    // Fewer, larger checkpoints: a page that many commits rewrote reaches
    // the main file once per checkpoint, not once per thousand pages. The
    // hook replaces SQLite's own checkpointing by commits.
    sqlite3_wal_hook(m_db, &SqliteFile::walCommitted, this);
    // A burst of writes can leave a log of many megabytes; once it has been
    // copied, the next write cuts it back to this size instead of keeping
    // the disk space until the file closes.
    const QByteArray sizeLimit = "PRAGMA journal_size_limit=" + QByteArray::number(kLogSizeLimit);
    if (!execRaw(m_db, sizeLimit.constData(), reason, code))
        return false;

    sqlite3_db_config(m_db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    m_healthy = true;
    return true;
}

bool SqliteFile::createSchema(QString* reason, int* code)
{
    int version = 0;
    if (m_schema.version > 0) {
        QString versionText;
        if (!singleText(m_db, "PRAGMA user_version", &versionText, reason, code))
            return false;
        version = versionText.toInt();
    }

    if (!execRaw(m_db, "BEGIN IMMEDIATE", reason, code))
        return false;
    bool ok = true;
    if (m_schema.upgrade && version < m_schema.version) {
        ok = m_schema.upgrade(m_db, version, reason);
        if (!ok) {
            *reason = QStringLiteral("upgrading from version %1: %2").arg(version).arg(*reason);
            // What SQLite said: a full disk or a busy file is not taken
            // for a damaged one.
            *code = sqlite3_errcode(m_db) != SQLITE_OK ? sqlite3_errcode(m_db) : SQLITE_ERROR;
        }
    }
    if (ok && m_schema.repair) {
        ok = m_schema.repair(m_db, reason);
        if (!ok) {
            *reason = QStringLiteral("repairing: %1").arg(*reason);
            *code = sqlite3_errcode(m_db) != SQLITE_OK ? sqlite3_errcode(m_db) : SQLITE_ERROR;
        }
    }
    ok = ok && (!m_schema.create || execRaw(m_db, m_schema.create, reason, code));
    if (ok && version < m_schema.version) {
        // A pragma takes no parameters; the value is the owner's constant.
        const QByteArray setVersion =
            QByteArrayLiteral("PRAGMA user_version=") + QByteArray::number(m_schema.version);
        ok = execRaw(m_db, setVersion.constData(), reason, code);
    }
    if (ok)
        ok = execRaw(m_db, "COMMIT", reason, code);
    if (!ok) {
        if (!sqlite3_get_autocommit(m_db)) {
            QString ignored;
            int ignoredCode = SQLITE_OK;
            execRaw(m_db, "ROLLBACK", &ignored, &ignoredCode);
        }
        *reason = QStringLiteral("creating the schema: %1").arg(*reason);
        return false;
    }
    return true;
}

bool SqliteFile::checkExistingTables(QString* reason, int* code)
{
    for (const SqliteSchema::Table& table : std::as_const(m_schema.tables)) {
        sqlite3_stmt* stmt = nullptr;
        int rc = sqlite3_prepare_v2(m_db, "SELECT count(*) FROM sqlite_schema WHERE name = ?1", -1, &stmt,
                                    nullptr);
        if (rc == SQLITE_OK)
            rc = sqlite3_bind_text(stmt, 1, table.name, -1, SQLITE_STATIC);
        bool exists = false;
        if (rc == SQLITE_OK) {
            rc = sqlite3_step(stmt);
            if (rc == SQLITE_ROW) {
                exists = sqlite3_column_int(stmt, 0) > 0;
                rc = SQLITE_OK;
            }
        }
        if (rc != SQLITE_OK) {
            *reason = QStringLiteral("reading the schema: %1").arg(sqliteMessage(m_db, rc));
            *code = rc;
            sqlite3_finalize(stmt);
            return false;
        }
        sqlite3_finalize(stmt);
        if (!exists)
            continue;

        stmt = nullptr;
        rc = sqlite3_prepare_v2(m_db, table.probe, -1, &stmt, nullptr);
        sqlite3_finalize(stmt);
        if (rc != SQLITE_OK) {
            *reason = QStringLiteral("table %1 has an unexpected shape: %2")
                          .arg(QLatin1String(table.name), sqliteMessage(m_db, rc));
            *code = SQLITE_CORRUPT;
            return false;
        }
    }
    return true;
}

int SqliteFile::walCommitted(void* self, sqlite3* db, const char* dbName, int pages)
{
    auto* file = static_cast<SqliteFile*>(self);
    SharedLog& log = *file->m_log;
    {
        std::lock_guard<std::mutex> lock(log.mutex);
        log.uncheckpointed = pages;
        ++log.commits;
        log.lastCommit = std::chrono::steady_clock::now();
    }
    const int bound = file->m_checkpoints == Checkpoints::ByCommits ? kCommitCheckpointPages : kCheckpointBound;
    if (pages >= bound) {
        // As SQLite's own checkpointing by commits does it: passive, and an
        // error leaves the commit as it is (the pages stay in the log).
        int logged = 0;
        int copied = 0;
        if (sqlite3_wal_checkpoint_v2(db, dbName, SQLITE_CHECKPOINT_PASSIVE, &logged, &copied) == SQLITE_OK) {
            std::lock_guard<std::mutex> lock(log.mutex);
            log.uncheckpointed = logged - copied;
        }
    }
    return SQLITE_OK;
}

int SqliteFile::uncheckpointedPages() const
{
    std::lock_guard<std::mutex> lock(m_log->mutex);
    return m_log->uncheckpointed;
}

std::chrono::steady_clock::time_point SqliteFile::lastCommit() const
{
    std::lock_guard<std::mutex> lock(m_log->mutex);
    return m_log->lastCommit;
}

bool SqliteFile::checkpoint()
{
    if (!m_db)
        return false;
    if (!m_checkpointer) {
        const QByteArray native = QFile::encodeName(m_path);
        sqlite3* handle = nullptr;
        int rc = sqlite3_open_v2(native.constData(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
        // A read of the schema opens the log on this handle (a checkpoint
        // alone does not on every SQLite version).
        if (rc == SQLITE_OK)
            rc = sqlite3_exec(handle, "SELECT count(*) FROM sqlite_schema", nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK) {
            log(QStringLiteral("cannot open a handle to checkpoint %1: %2").arg(m_path, sqliteMessage(handle, rc)));
            sqlite3_close_v2(handle);
            return false;
        }
        m_checkpointer = handle;
    }
    SharedLog& shared = *m_log;
    quint64 commitsBefore = 0;
    {
        std::lock_guard<std::mutex> lock(shared.mutex);
        if (shared.checkpointing)
            return true;
        shared.checkpointing = true;
        commitsBefore = shared.commits;
    }
    int logged = 0;
    int copied = 0;
    const int rc = sqlite3_wal_checkpoint_v2(m_checkpointer, nullptr, SQLITE_CHECKPOINT_PASSIVE, &logged, &copied);
    {
        std::lock_guard<std::mutex> lock(shared.mutex);
        shared.checkpointing = false;
        // A commit that ran meanwhile reported the log as it left it.
        if (rc == SQLITE_OK && shared.commits == commitsBefore)
            shared.uncheckpointed = logged < 0 ? 0 : logged - copied;
    }
    if (rc != SQLITE_OK) {
        log(QStringLiteral("checkpointing the log failed: %1").arg(sqliteMessage(m_checkpointer, rc)));
        return false;
    }
    return true;
}

void SqliteFile::close()
{
    for (sqlite3_stmt* stmt : std::as_const(m_statements))
        sqlite3_finalize(stmt);
    m_statements.clear();
    // First, so that the owner's handle is the file's last: its close
    // copies the log and removes it.
    if (m_checkpointer) {
        sqlite3_close_v2(m_checkpointer);
        m_checkpointer = nullptr;
    }
    if (m_db) {
        const int rc = sqlite3_close_v2(m_db);
        m_db = nullptr;
        // Closed cleanly: the next open need not read every page.
        if (m_healthy && rc == SQLITE_OK)
            QFile::remove(markerPath());
    }
    m_healthy = false;
}

bool SqliteFile::moveAside(const QString& reason)
{
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"));
    QString target = m_path + QStringLiteral(".corrupt-") + stamp;
    for (int n = 2; QFileInfo::exists(target) || QFileInfo::exists(target + QStringLiteral("-wal"))
         || QFileInfo::exists(target + QStringLiteral("-shm"));
         ++n) {
        target = m_path + QStringLiteral(".corrupt-") + stamp + QLatin1Char('-') + QString::number(n);
    }

    if (QFileInfo::exists(m_path)) {
        if (!QFile::rename(m_path, target)) {
            log(QStringLiteral("cannot open database %1 (%2) and cannot move it aside to %3; leaving it untouched")
                    .arg(m_path, reason, target));
            return false;
        }
        m_movedAside = target;
    }

    // The log and shared-memory files belong to the moved file: they keep
    // SQLite's naming next to it, so the set can still be opened together.
    QStringList moved;
    if (!m_movedAside.isEmpty())
        moved << m_movedAside;
    for (const char* suffix : { "-wal", "-shm" }) {
        const QString from = m_path + QLatin1String(suffix);
        if (!QFileInfo::exists(from))
            continue;
        const QString to = target + QLatin1String(suffix);
        if (QFile::rename(from, to)) {
            moved << to;
        } else if (!QFile::remove(from)) {
            // A stale log left next to the fresh database would be replayed
            // into it; refuse to go on.
            log(QStringLiteral("cannot move %1 aside to %2").arg(from, to));
            return false;
        } else {
            log(QStringLiteral("cannot move %1 aside to %2; removed it").arg(from, to));
        }
    }

    // The marker told of the moved file; the fresh one lays its own.
    QFile::remove(markerPath());

    log(QStringLiteral("database %1 could not be used (%2); moved it aside to %3 and starting with an empty "
                       "database")
            .arg(m_path, reason, moved.join(QStringLiteral(", "))));
    return true;
}

sqlite3_stmt* SqliteFile::statement(const char* sql)
{
    if (!m_db) {
        log(QStringLiteral("%1 failed: database is not open").arg(firstWords(sql)));
        return nullptr;
    }
    const QByteArray key = QByteArray::fromRawData(sql, static_cast<qsizetype>(std::strlen(sql)));
    const auto it = m_statements.constFind(key);
    if (it != m_statements.constEnd()) {
        sqlite3_reset(it.value());
        sqlite3_clear_bindings(it.value());
        return it.value();
    }

    sqlite3_stmt* stmt = nullptr;
    const int rc = sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
    if (rc != SQLITE_OK || !stmt) {
        log(QStringLiteral("preparing %1 failed: %2").arg(firstWords(sql), sqliteMessage(m_db, rc)));
        sqlite3_finalize(stmt);
        return nullptr;
    }
    m_statements.insert(QByteArray(sql), stmt);
    return stmt;
}

bool SqliteFile::exec(const char* sql)
{
    if (!m_db) {
        log(QStringLiteral("%1 failed: database is not open").arg(firstWords(sql)));
        return false;
    }
    QString reason;
    int code = SQLITE_OK;
    if (execRaw(m_db, sql, &reason, &code))
        return true;
    log(QStringLiteral("%1 failed: %2").arg(firstWords(sql), reason));
    return false;
}

void SqliteFile::logError(const char* what) const
{
    const QString message = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QStringLiteral("database is not open");
    log(QStringLiteral("%1 failed: %2").arg(QLatin1String(what), message));
}

void SqliteFile::log(const QString& text) const
{
    ImLog::instance()->error(m_logPrefix + QStringLiteral(": ") + text);
}
