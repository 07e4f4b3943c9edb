#include "fileinfostorage.h"

#include "imlog.h"
#include "sqliteutil_p.h"

#include <QFile>

#include <sqlite3.h>

namespace storage {

namespace {

constexpr int kBusyTimeoutMs = 5000;

constexpr const char kCreate[] =
    "CREATE TABLE IF NOT EXISTS file_info("
    " file_id TEXT PRIMARY KEY,"
    " path TEXT NOT NULL DEFAULT '',"
    " name TEXT NOT NULL DEFAULT '',"
    " size INTEGER NOT NULL DEFAULT 0,"
    " sha256 TEXT NOT NULL DEFAULT '',"
    " thumb INTEGER NOT NULL DEFAULT 0)";

constexpr const char kSave[] =
    "INSERT INTO file_info(file_id, path, name, size, sha256, thumb)"
    " VALUES (?1, ?2, ?3, ?4, ?5, ?6)"
    " ON CONFLICT(file_id) DO UPDATE SET"
    " path = excluded.path, name = excluded.name, size = excluded.size,"
    " sha256 = excluded.sha256, thumb = excluded.thumb";

constexpr const char kInfo[] =
    "SELECT file_id, path, name, size, sha256, thumb FROM file_info WHERE file_id = ?1";

constexpr const char kRemove[] = "DELETE FROM file_info WHERE file_id = ?1";

constexpr const char kCount[] = "SELECT count(*) FROM file_info";

// A statement prepared for one call and finalised when the scope ends.
class Statement
{
public:
    Statement(sqlite3* db, const char* sql)
    {
        if (sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr) != SQLITE_OK) {
            sqlite3_finalize(m_stmt);
            m_stmt = nullptr;
        }
    }
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    sqlite3_stmt* get() const { return m_stmt; }
    explicit operator bool() const { return m_stmt != nullptr; }

private:
    sqlite3_stmt* m_stmt = nullptr;
};

bool execSql(sqlite3* db, const char* sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

} // namespace

FileInfoStorage::FileInfoStorage(const QString& databasePath)
    : m_path(databasePath)
{
    if (m_path.isEmpty())
        return;
    const QByteArray nativePath = QFile::encodeName(m_path);
    // READWRITE | CREATE: a missing file is created empty, an existing one
    // is only ever opened.
    int rc = sqlite3_open_v2(nativePath.constData(), &m_db,
                             SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
                             nullptr);
    if (rc == SQLITE_OK) {
        sqlite3_extended_result_codes(m_db, 1);
        sqlite3_busy_timeout(m_db, kBusyTimeoutMs);
        if (!execSql(m_db, kCreate))
            rc = SQLITE_ERROR;
    }
    if (rc != SQLITE_OK) {
        logError("opening the file table");
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }
}

FileInfoStorage::~FileInfoStorage()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_db)
        sqlite3_close_v2(m_db);
    m_db = nullptr;
}

bool FileInfoStorage::isOpen() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_db != nullptr;
}

void FileInfoStorage::logError(const char* what) const
{
    const QString message = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db))
                                 : QStringLiteral("database is not open");
    ImLog::instance()->error(QStringLiteral("storage: %1 in %2 failed: %3")
                                 .arg(QLatin1String(what), m_path, message));
}

bool FileInfoStorage::save(const QList<FileInfoRecord>& records)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_db) {
        logError("save file records");
        return false;
    }
    bool any = false;
    for (const FileInfoRecord& r : records)
        any = any || !r.fileId.isEmpty();
    if (!any)
        return false;

    if (!execSql(m_db, "BEGIN IMMEDIATE")) {
        logError("save file records (begin)");
        return false;
    }
    bool ok = true;
    {
        Statement stmt(m_db, kSave);
        ok = bool(stmt);
        for (const FileInfoRecord& r : records) {
            if (!ok)
                break;
            if (r.fileId.isEmpty())
                continue;
            sqlite3_reset(stmt.get());
            sqlite3_clear_bindings(stmt.get());
            ok = detail::bindText(stmt.get(), 1, r.fileId) && detail::bindText(stmt.get(), 2, r.path)
                && detail::bindText(stmt.get(), 3, r.name)
                && detail::bindInt64(stmt.get(), 4, r.size)
                && detail::bindText(stmt.get(), 5, r.sha256)
                && detail::bindInt64(stmt.get(), 6, r.thumb ? 1 : 0)
                && sqlite3_step(stmt.get()) == SQLITE_DONE;
        }
    }
    if (ok)
        ok = execSql(m_db, "COMMIT");
    if (!ok) {
        logError("save file records");
        if (!sqlite3_get_autocommit(m_db))
            execSql(m_db, "ROLLBACK");
    }
    return ok;
}

bool FileInfoStorage::info(const QString& fileId, FileInfoRecord* out)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_db) {
        logError("read a file record");
        return false;
    }
    Statement stmt(m_db, kInfo);
    if (!stmt || !detail::bindText(stmt.get(), 1, fileId)) {
        logError("read a file record");
        return false;
    }
    const int rc = sqlite3_step(stmt.get());
    if (rc == SQLITE_ROW) {
        if (out) {
            out->fileId = detail::columnText(stmt.get(), 0);
            out->path = detail::columnText(stmt.get(), 1);
            out->name = detail::columnText(stmt.get(), 2);
            out->size = sqlite3_column_int64(stmt.get(), 3);
            out->sha256 = detail::columnText(stmt.get(), 4);
            out->thumb = sqlite3_column_int64(stmt.get(), 5) != 0;
        }
        return true;
    }
    if (rc != SQLITE_DONE)
        logError("read a file record");
    return false;
}

bool FileInfoStorage::remove(const QString& fileId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_db) {
        logError("remove a file record");
        return false;
    }
    Statement stmt(m_db, kRemove);
    if (!stmt || !detail::bindText(stmt.get(), 1, fileId)
        || sqlite3_step(stmt.get()) != SQLITE_DONE) {
        logError("remove a file record");
        return false;
    }
    return sqlite3_changes(m_db) > 0;
}

int FileInfoStorage::count()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_db) {
        logError("count file records");
        return -1;
    }
    Statement stmt(m_db, kCount);
    if (!stmt || sqlite3_step(stmt.get()) != SQLITE_ROW) {
        logError("count file records");
        return -1;
    }
    return int(sqlite3_column_int64(stmt.get(), 0));
}

} // namespace storage
