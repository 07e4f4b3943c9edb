#include "connection.h"

#include "searchfold_p.h"
#include "storagesql.h"

#include "synclocker.h"

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

bool execAll(sqlite3* db, const char* sql, QString* reason)
{
    char* message = nullptr;
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
    if (rc != SQLITE_OK) {
        *reason = QString::fromUtf8(message ? message : sqlite3_errstr(rc));
        sqlite3_free(message);
        return false;
    }
    return true;
}

SqliteSchema accountSchema()
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
    schema.prepareHandle = [](sqlite3* db) {
        return sqlite3_create_function_v2(db, sql::kFoldFunction, 1,
                                          SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS, nullptr,
                                          &foldFunction, nullptr, nullptr, nullptr);
    };
    // A file of an earlier version: the old index goes, the schema is made,
    // the search side is filled (in the schema's transaction).
    schema.upgrade = [](sqlite3* db, int fromVersion, QString* reason) {
        if (fromVersion >= sql::kSchemaVersion)
            return true;
        return execAll(db, sql::kUpgradeDrop, reason) && execAll(db, sql::kCreateSchema, reason)
            && execAll(db, sql::kUpgradeFill, reason);
    };
    return schema;
}

} // namespace

Connection::Connection(const QString& path, Opening opening)
    : m_path(path)
{
    if (opening == Opening::Now)
        ensureOpen();
}

Connection::~Connection()
{
    // No store may be halfway through a statement while the file closes.
    SyncLocker lock(&m_mutex);
    if (m_file)
        m_file->close();
}

bool Connection::ensureOpen()
{
    // Tried once: a file that could not be opened stays closed, as it
    // would have had it been opened at construction.
    if (!m_file)
        m_file.emplace(m_path, QStringLiteral("storage"), accountSchema(), SqliteFile::Threading::Shared);
    return m_file->isOpen();
}

} // namespace storage
