#include "serverdatabase_p.h"

#include "imlog.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <cstring>
#include <limits>

namespace reminderserver {

namespace {

constexpr int kBusyTimeoutMs = 5000;

const char* const kCreateSchema =
    "CREATE TABLE IF NOT EXISTS server_reminder ("
    " account_id INTEGER NOT NULL,"
    " remind_id TEXT NOT NULL,"
    " message BLOB NOT NULL,"
    " version INTEGER NOT NULL,"
    " update_time INTEGER NOT NULL,"
    " writer_device INTEGER NOT NULL,"
    " deleted INTEGER NOT NULL,"
    " PRIMARY KEY (account_id, remind_id)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS server_seen ("
    " account_id INTEGER NOT NULL,"
    " remind_id TEXT NOT NULL,"
    " device_id INTEGER NOT NULL,"
    " version INTEGER NOT NULL,"
    " PRIMARY KEY (account_id, remind_id, device_id)) WITHOUT ROWID;";

const char* const kProbeReminder =
    "SELECT account_id, remind_id, message, version, update_time, writer_device, deleted"
    " FROM server_reminder LIMIT 0";
const char* const kProbeSeen =
    "SELECT account_id, remind_id, device_id, version FROM server_seen LIMIT 0";

const char* const kFind =
    "SELECT message, version, update_time, writer_device, deleted FROM server_reminder"
    " WHERE account_id = ?1 AND remind_id = ?2";
const char* const kSeen =
    "SELECT version FROM server_seen WHERE account_id = ?1 AND remind_id = ?2 AND device_id = ?3";
const char* const kStore =
    "INSERT OR REPLACE INTO server_reminder"
    " (account_id, remind_id, message, version, update_time, writer_device, deleted)"
    " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)";
const char* const kMarkSeen =
    "INSERT OR REPLACE INTO server_seen (account_id, remind_id, device_id, version)"
    " VALUES (?1, ?2, ?3, ?4)";
const char* const kList =
    "SELECT remind_id, message, version, update_time, writer_device, deleted"
    " FROM server_reminder WHERE account_id = ?1 ORDER BY remind_id";

void logLine(const QString& text)
{
    ImLog::instance()->error(text);
}

QString sqliteMessage(sqlite3* db, int code)
{
    if (db)
        return QString::fromUtf8(sqlite3_errmsg(db));
    return QString::fromUtf8(sqlite3_errstr(code));
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

// Runs a statement with one text result (a pragma) and returns the text.
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

// A busy or locked file, or a process out of memory, says nothing about the
// file itself: it must not be moved aside for that.
bool isTransient(int code)
{
    const int primary = code & 0xff;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED || primary == SQLITE_NOMEM
        || primary == SQLITE_INTERRUPT;
}

bool bindText(sqlite3_stmt* stmt, int index, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    return sqlite3_bind_text(stmt, index, utf8.constData(), static_cast<int>(utf8.size()),
                             SQLITE_TRANSIENT)
        == SQLITE_OK;
}

bool bindBlob(sqlite3_stmt* stmt, int index, const QByteArray& data)
{
    if (data.size() > std::numeric_limits<int>::max())
        return false;
    if (data.isEmpty())
        return sqlite3_bind_zeroblob(stmt, index, 0) == SQLITE_OK;
    return sqlite3_bind_blob(stmt, index, data.constData(), static_cast<int>(data.size()),
                             SQLITE_TRANSIENT)
        == SQLITE_OK;
}

QByteArray columnBlob(sqlite3_stmt* stmt, int column)
{
    const void* data = sqlite3_column_blob(stmt, column);
    const int size = sqlite3_column_bytes(stmt, column);
    if (!data || size <= 0)
        return QByteArray();
    return QByteArray(static_cast<const char*>(data), size);
}

QString columnText(sqlite3_stmt* stmt, int column)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
    return text ? QString::fromUtf8(text, sqlite3_column_bytes(stmt, column)) : QString();
}

// Reads the reminder columns starting at `first`.
StoredReminder readReminder(sqlite3_stmt* stmt, int first)
{
    StoredReminder r;
    r.message = columnBlob(stmt, first);
    r.version = sqlite3_column_int64(stmt, first + 1);
    r.updateTime = sqlite3_column_int64(stmt, first + 2);
    r.writerDevice = sqlite3_column_int64(stmt, first + 3);
    r.deleted = sqlite3_column_int(stmt, first + 4) != 0;
    return r;
}

} // namespace

ServerDatabase::ServerDatabase(const QString& path)
    : m_path(path)
{
    const QFileInfo info(m_path);
    if (!QDir().mkpath(info.absolutePath())) {
        logLine(QStringLiteral("reminder server: cannot create the directory %1 for its database")
                    .arg(info.absolutePath()));
        return;
    }

    QString reason;
    int code = SQLITE_OK;
    if (openAndCheck(&reason, &code))
        return;
    closeHandle();

    if (isTransient(code)) {
        logLine(QStringLiteral("reminder server: cannot open database %1 now, leaving it in "
                               "place: %2")
                    .arg(m_path, reason));
        return;
    }

    const bool anyFile = QFileInfo::exists(m_path)
        || QFileInfo::exists(m_path + QStringLiteral("-wal"))
        || QFileInfo::exists(m_path + QStringLiteral("-shm"));
    if (!anyFile) {
        logLine(QStringLiteral("reminder server: cannot create database %1: %2")
                    .arg(m_path, reason));
        return;
    }

    if (!moveAside(reason))
        return;

    if (!openAndCheck(&reason, &code)) {
        closeHandle();
        logLine(QStringLiteral("reminder server: cannot create a fresh database %1: %2")
                    .arg(m_path, reason));
    }
}

ServerDatabase::~ServerDatabase()
{
    closeHandle();
}

bool ServerDatabase::openAndCheck(QString* reason, int* code)
{
    const QByteArray nativePath = QFile::encodeName(m_path);
    int rc = sqlite3_open_v2(nativePath.constData(), &m_db,
                             SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                             nullptr);
    if (rc != SQLITE_OK) {
        *reason = sqliteMessage(m_db, rc);
        *code = rc;
        return false;
    }
    sqlite3_extended_result_codes(m_db, 1);
    sqlite3_busy_timeout(m_db, kBusyTimeoutMs);
    // A file that turns out unusable is moved aside as found: closing must
    // not checkpoint a write-ahead log into it before it proved healthy.
    sqlite3_db_config(m_db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);

    QString check;
    if (!singleText(m_db, "PRAGMA quick_check(1)", &check, reason, code))
        return false;
    if (check != QLatin1String("ok")) {
        *reason = QStringLiteral("quick_check reported: %1").arg(check);
        *code = SQLITE_CORRUPT;
        return false;
    }

    if (!checkExistingTables(reason, code))
        return false;
    if (!createSchema(reason, code))
        return false;

    QString mode;
    if (!singleText(m_db, "PRAGMA journal_mode=WAL", &mode, reason, code))
        return false;
    if (mode.compare(QLatin1String("wal"), Qt::CaseInsensitive) != 0)
        logLine(QStringLiteral("reminder server: database %1 stays in journal mode %2")
                    .arg(m_path, mode));
    if (!execRaw(m_db, "PRAGMA synchronous=NORMAL", reason, code))
        return false;

    sqlite3_db_config(m_db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    return true;
}

bool ServerDatabase::checkExistingTables(QString* reason, int* code)
{
    struct Table
    {
        const char* name;
        const char* probe;
    };
    for (const Table& table : { Table { "server_reminder", kProbeReminder },
                                Table { "server_seen", kProbeSeen } }) {
        sqlite3_stmt* stmt = nullptr;
        int rc = sqlite3_prepare_v2(m_db, "SELECT count(*) FROM sqlite_schema WHERE name = ?1",
                                    -1, &stmt, nullptr);
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
        sqlite3_finalize(stmt);
        if (rc != SQLITE_OK) {
            *reason = QStringLiteral("reading the schema: %1").arg(sqliteMessage(m_db, rc));
            *code = rc;
            return false;
        }
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

bool ServerDatabase::createSchema(QString* reason, int* code)
{
    if (!execRaw(m_db, "BEGIN IMMEDIATE", reason, code))
        return false;
    bool ok = execRaw(m_db, kCreateSchema, reason, code);
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

void ServerDatabase::closeHandle()
{
    for (sqlite3_stmt* stmt : std::as_const(m_statements))
        sqlite3_finalize(stmt);
    m_statements.clear();
    if (m_db) {
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }
}

bool ServerDatabase::moveAside(const QString& reason)
{
    const QString stamp =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"));
    QString target = m_path + QStringLiteral(".corrupt-") + stamp;
    for (int n = 2; QFileInfo::exists(target) || QFileInfo::exists(target + QStringLiteral("-wal"))
         || QFileInfo::exists(target + QStringLiteral("-shm"));
         ++n) {
        target = m_path + QStringLiteral(".corrupt-") + stamp + QLatin1Char('-')
            + QString::number(n);
    }

    if (QFileInfo::exists(m_path)) {
        if (!QFile::rename(m_path, target)) {
            logLine(QStringLiteral("reminder server: cannot open database %1 (%2) and cannot "
                                   "move it aside to %3; leaving it untouched")
                        .arg(m_path, reason, target));
            return false;
        }
        m_movedAside = target;
    }

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
            // A stale log beside the fresh file would be replayed into it.
            logLine(QStringLiteral("reminder server: cannot move %1 aside to %2").arg(from, to));
            return false;
        } else {
            logLine(QStringLiteral("reminder server: cannot move %1 aside to %2; removed it")
                        .arg(from, to));
        }
    }

    logLine(QStringLiteral("reminder server: database %1 could not be used (%2); moved it aside "
                           "to %3 and starting empty")
                .arg(m_path, reason, moved.join(QStringLiteral(", "))));
    return true;
}

sqlite3_stmt* ServerDatabase::statement(const char* sql)
{
    if (!m_db) {
        logLine(QStringLiteral("reminder server: database %1 is not open").arg(m_path));
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
        logLine(QStringLiteral("reminder server: preparing a statement failed: %1")
                    .arg(sqliteMessage(m_db, rc)));
        sqlite3_finalize(stmt);
        return nullptr;
    }
    m_statements.insert(QByteArray(sql), stmt);
    return stmt;
}

bool ServerDatabase::execLogged(const char* sql)
{
    if (!m_db) {
        logLine(QStringLiteral("reminder server: database %1 is not open").arg(m_path));
        return false;
    }
    QString reason;
    int code = SQLITE_OK;
    if (execRaw(m_db, sql, &reason, &code))
        return true;
    logLine(QStringLiteral("reminder server: %1 failed: %2").arg(QLatin1String(sql), reason));
    return false;
}

void ServerDatabase::logError(const char* what) const
{
    const QString message = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db))
                                 : QStringLiteral("database is not open");
    logLine(QStringLiteral("reminder server: %1 failed: %2").arg(QLatin1String(what), message));
}

bool ServerDatabase::begin()
{
    return execLogged("BEGIN IMMEDIATE");
}

bool ServerDatabase::commit()
{
    return execLogged("COMMIT");
}

void ServerDatabase::rollback()
{
    if (m_db && !sqlite3_get_autocommit(m_db))
        execLogged("ROLLBACK");
}

bool ServerDatabase::find(qint64 accountId, const QString& remindId,
                          std::optional<StoredReminder>* out)
{
    out->reset();
    sqlite3_stmt* stmt = statement(kFind);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK || !bindText(stmt, 2, remindId)) {
        logError("binding a reminder look-up");
        return false;
    }
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW) {
        *out = readReminder(stmt, 0);
        sqlite3_reset(stmt);
        return true;
    }
    sqlite3_reset(stmt);
    if (rc == SQLITE_DONE)
        return true;
    logError("reading a reminder");
    return false;
}

bool ServerDatabase::seenVersion(qint64 accountId, const QString& remindId, qint64 deviceId,
                                 qint64* out)
{
    *out = 0;
    sqlite3_stmt* stmt = statement(kSeen);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK || !bindText(stmt, 2, remindId)
        || sqlite3_bind_int64(stmt, 3, deviceId) != SQLITE_OK) {
        logError("binding a seen-version look-up");
        return false;
    }
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW)
        *out = sqlite3_column_int64(stmt, 0);
    sqlite3_reset(stmt);
    if (rc == SQLITE_ROW || rc == SQLITE_DONE)
        return true;
    logError("reading a seen version");
    return false;
}

bool ServerDatabase::store(qint64 accountId, const QString& remindId,
                           const StoredReminder& reminder)
{
    sqlite3_stmt* stmt = statement(kStore);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK || !bindText(stmt, 2, remindId)
        || !bindBlob(stmt, 3, reminder.message)
        || sqlite3_bind_int64(stmt, 4, reminder.version) != SQLITE_OK
        || sqlite3_bind_int64(stmt, 5, reminder.updateTime) != SQLITE_OK
        || sqlite3_bind_int64(stmt, 6, reminder.writerDevice) != SQLITE_OK
        || sqlite3_bind_int(stmt, 7, reminder.deleted ? 1 : 0) != SQLITE_OK) {
        logError("binding a reminder write");
        return false;
    }
    const int rc = sqlite3_step(stmt);
    sqlite3_reset(stmt);
    if (rc == SQLITE_DONE)
        return true;
    logError("writing a reminder");
    return false;
}

bool ServerDatabase::markSeen(qint64 accountId, const QString& remindId, qint64 deviceId,
                              qint64 version)
{
    sqlite3_stmt* stmt = statement(kMarkSeen);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK || !bindText(stmt, 2, remindId)
        || sqlite3_bind_int64(stmt, 3, deviceId) != SQLITE_OK
        || sqlite3_bind_int64(stmt, 4, version) != SQLITE_OK) {
        logError("binding a seen-version write");
        return false;
    }
    const int rc = sqlite3_step(stmt);
    sqlite3_reset(stmt);
    if (rc == SQLITE_DONE)
        return true;
    logError("writing a seen version");
    return false;
}

bool ServerDatabase::list(qint64 accountId, QList<ListedReminder>* out)
{
    out->clear();
    sqlite3_stmt* stmt = statement(kList);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK) {
        logError("binding a listing");
        return false;
    }
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW)
        out->append(ListedReminder { columnText(stmt, 0), readReminder(stmt, 1) });
    sqlite3_reset(stmt);
    if (rc == SQLITE_DONE)
        return true;
    logError("listing reminders");
    out->clear();
    return false;
}

} // namespace reminderserver
