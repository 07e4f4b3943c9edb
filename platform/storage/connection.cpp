#include "connection.h"

#include "storagesql.h"

#include "synclocker.h"

#include <sqlite3.h>

namespace storage {

namespace {

// storage_contains(haystack, needle): plain, case-insensitive containment,
// with Qt's case folding so that every character of the needle (including
// '%', '_' and non-ASCII letters) is compared literally.
void containsFunction(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc != 2 || sqlite3_value_type(argv[0]) == SQLITE_NULL
        || sqlite3_value_type(argv[1]) == SQLITE_NULL) {
        sqlite3_result_int(ctx, 0);
        return;
    }

    // The needle is the same for every row of a query: keep its QString
    // form as the argument's auxiliary data instead of converting it again.
    QString needle;
    if (const auto* cached = static_cast<const QString*>(sqlite3_get_auxdata(ctx, 1))) {
        needle = *cached;
    } else {
        const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(argv[1]));
        needle = QString::fromUtf8(text, sqlite3_value_bytes(argv[1]));
        sqlite3_set_auxdata(ctx, 1, new QString(needle),
                            [](void* p) { delete static_cast<QString*>(p); });
    }

    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(argv[0]));
    const QString haystack = QString::fromUtf8(text, sqlite3_value_bytes(argv[0]));
    sqlite3_result_int(ctx, haystack.contains(needle, Qt::CaseInsensitive) ? 1 : 0);
}

SqliteSchema accountSchema()
{
    SqliteSchema schema;
    schema.create = sql::kCreateSchema;
    schema.tables = { { "reminder", sql::kProbeReminder },
                      { "reminder_removed", sql::kProbeRemoved },
                      { "cache_file", sql::kProbeCacheFile } };
    schema.version = sql::kSchemaVersion;
    schema.prepareHandle = [](sqlite3* db) {
        return sqlite3_create_function_v2(db, sql::kContainsFunction, 2,
                                          SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS, nullptr,
                                          &containsFunction, nullptr, nullptr, nullptr);
    };
    return schema;
}

} // namespace

Connection::Connection(const QString& path)
    : m_file(path, QStringLiteral("storage"), accountSchema(), SqliteFile::Threading::Shared)
{
}

Connection::~Connection()
{
    // No store may be halfway through a statement while the file closes.
    SyncLocker lock(&m_mutex);
    m_file.close();
}

} // namespace storage
