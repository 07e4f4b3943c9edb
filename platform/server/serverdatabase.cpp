#include "serverdatabase_p.h"

#include <sqlite3.h>

#include <limits>

namespace reminderserver {

namespace {

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

SqliteSchema serverSchema()
{
    SqliteSchema schema;
    schema.create = kCreateSchema;
    schema.tables = { { "server_reminder", kProbeReminder }, { "server_seen", kProbeSeen } };
    return schema;
}

} // namespace

ServerDatabase::ServerDatabase(const QString& path)
    : m_file(path, QStringLiteral("reminder server"), serverSchema(), SqliteFile::Threading::Single)
{
}

ServerDatabase::~ServerDatabase() = default;

bool ServerDatabase::begin()
{
    return m_file.exec("BEGIN IMMEDIATE");
}

bool ServerDatabase::commit()
{
    return m_file.exec("COMMIT");
}

void ServerDatabase::rollback()
{
    if (m_file.handle() && !sqlite3_get_autocommit(m_file.handle()))
        m_file.exec("ROLLBACK");
}

bool ServerDatabase::find(qint64 accountId, const QString& remindId,
                          std::optional<StoredReminder>* out)
{
    out->reset();
    sqlite3_stmt* stmt = m_file.statement(kFind);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK || !bindText(stmt, 2, remindId)) {
        m_file.logError("binding a reminder look-up");
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
    m_file.logError("reading a reminder");
    return false;
}

bool ServerDatabase::seenVersion(qint64 accountId, const QString& remindId, qint64 deviceId,
                                 qint64* out)
{
    *out = 0;
    sqlite3_stmt* stmt = m_file.statement(kSeen);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK || !bindText(stmt, 2, remindId)
        || sqlite3_bind_int64(stmt, 3, deviceId) != SQLITE_OK) {
        m_file.logError("binding a seen-version look-up");
        return false;
    }
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ROW)
        *out = sqlite3_column_int64(stmt, 0);
    sqlite3_reset(stmt);
    if (rc == SQLITE_ROW || rc == SQLITE_DONE)
        return true;
    m_file.logError("reading a seen version");
    return false;
}

bool ServerDatabase::store(qint64 accountId, const QString& remindId,
                           const StoredReminder& reminder)
{
    sqlite3_stmt* stmt = m_file.statement(kStore);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK || !bindText(stmt, 2, remindId)
        || !bindBlob(stmt, 3, reminder.message)
        || sqlite3_bind_int64(stmt, 4, reminder.version) != SQLITE_OK
        || sqlite3_bind_int64(stmt, 5, reminder.updateTime) != SQLITE_OK
        || sqlite3_bind_int64(stmt, 6, reminder.writerDevice) != SQLITE_OK
        || sqlite3_bind_int(stmt, 7, reminder.deleted ? 1 : 0) != SQLITE_OK) {
        m_file.logError("binding a reminder write");
        return false;
    }
    const int rc = sqlite3_step(stmt);
    sqlite3_reset(stmt);
    if (rc == SQLITE_DONE)
        return true;
    m_file.logError("writing a reminder");
    return false;
}

bool ServerDatabase::markSeen(qint64 accountId, const QString& remindId, qint64 deviceId,
                              qint64 version)
{
    sqlite3_stmt* stmt = m_file.statement(kMarkSeen);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK || !bindText(stmt, 2, remindId)
        || sqlite3_bind_int64(stmt, 3, deviceId) != SQLITE_OK
        || sqlite3_bind_int64(stmt, 4, version) != SQLITE_OK) {
        m_file.logError("binding a seen-version write");
        return false;
    }
    const int rc = sqlite3_step(stmt);
    sqlite3_reset(stmt);
    if (rc == SQLITE_DONE)
        return true;
    m_file.logError("writing a seen version");
    return false;
}

bool ServerDatabase::list(qint64 accountId, QList<ListedReminder>* out)
{
    out->clear();
    sqlite3_stmt* stmt = m_file.statement(kList);
    if (!stmt)
        return false;
    if (sqlite3_bind_int64(stmt, 1, accountId) != SQLITE_OK) {
        m_file.logError("binding a listing");
        return false;
    }
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW)
        out->append(ListedReminder { columnText(stmt, 0), readReminder(stmt, 1) });
    sqlite3_reset(stmt);
    if (rc == SQLITE_DONE)
        return true;
    m_file.logError("listing reminders");
    out->clear();
    return false;
}

} // namespace reminderserver
