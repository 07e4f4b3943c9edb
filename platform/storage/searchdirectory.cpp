#include "searchdirectory.h"

#include "cachehint.h"

#include <sqlite3.h>

#include <algorithm>

namespace storage {

namespace {

// Rowids are the records' own: SQLite gives a new record the largest rowid
// plus one, so they stay close to the number of records. A file whose
// rowids are far sparser than that is answered by the tables instead of
// by a mostly empty directory.
bool denseEnough(qint64 rowid, qsizetype count)
{
    return rowid >= 0 && rowid <= 2 * qint64(count) + 65536;
}

QString textArg(sqlite3_value* value)
{
    return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(value)), sqlite3_value_bytes(value));
}

SearchDirectory* directoryOf(sqlite3_context* ctx)
{
    return static_cast<SearchDirectory*>(sqlite3_user_data(ctx));
}

// storage_directory_put(rowid, id, order_time)
void putFunction(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc == 3)
        directoryOf(ctx)->put(sqlite3_value_int64(argv[0]), textArg(argv[1]), sqlite3_value_int64(argv[2]));
    sqlite3_result_null(ctx);
}

// storage_directory_order(rowid, order_time)
void orderFunction(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc == 2)
        directoryOf(ctx)->setOrderTime(sqlite3_value_int64(argv[0]), sqlite3_value_int64(argv[1]));
    sqlite3_result_null(ctx);
}

// storage_directory_drop(rowid)
void dropFunction(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc == 1)
        directoryOf(ctx)->drop(sqlite3_value_int64(argv[0]));
    sqlite3_result_null(ctx);
}

void rollbackHook(void* directory)
{
    static_cast<SearchDirectory*>(directory)->invalidate();
}

// Temporary: they belong to this connection alone and are not written into
// the file, so another program that opens it never meets functions it
// does not have.
constexpr const char kTriggers[] =
    "CREATE TEMP TRIGGER IF NOT EXISTS search_directory_insert AFTER INSERT ON main.reminder_search BEGIN"
    " SELECT storage_directory_put(new.rowid, new.id, new.order_time);"
    " END;"
    "CREATE TEMP TRIGGER IF NOT EXISTS search_directory_delete AFTER DELETE ON main.reminder_search BEGIN"
    " SELECT storage_directory_drop(old.rowid);"
    " END;"
    "CREATE TEMP TRIGGER IF NOT EXISTS search_directory_order AFTER UPDATE OF order_time ON main.reminder_search"
    " BEGIN"
    " SELECT storage_directory_order(new.rowid, new.order_time);"
    " END;"
    "CREATE TEMP TRIGGER IF NOT EXISTS search_directory_id AFTER UPDATE OF id ON main.reminder_search BEGIN"
    " SELECT storage_directory_put(new.rowid, new.id, new.order_time);"
    " END;";

} // namespace

bool SearchDirectory::ensure(sqlite3* db)
{
    if (m_valid)
        return true;
    if (!db || !attach(db))
        return false;
    return fill(db);
}

void SearchDirectory::invalidate()
{
    m_valid = false;
    m_count = 0;
    std::vector<Entry>().swap(m_entries);
}

bool SearchDirectory::attach(sqlite3* db)
{
    if (m_attached)
        return true;
    const int flags = SQLITE_UTF8 | SQLITE_DIRECTONLY;
    if (sqlite3_create_function_v2(db, "storage_directory_put", 3, flags, this, &putFunction, nullptr, nullptr,
                                   nullptr) != SQLITE_OK
        || sqlite3_create_function_v2(db, "storage_directory_order", 2, flags, this, &orderFunction, nullptr,
                                      nullptr, nullptr) != SQLITE_OK
        || sqlite3_create_function_v2(db, "storage_directory_drop", 1, flags, this, &dropFunction, nullptr, nullptr,
                                      nullptr) != SQLITE_OK)
        return false;
    if (sqlite3_exec(db, kTriggers, nullptr, nullptr, nullptr) != SQLITE_OK)
        return false;
    sqlite3_rollback_hook(db, &rollbackHook, this);
    m_attached = true;
    return true;
}

bool SearchDirectory::fill(sqlite3* db)
{
    invalidate();
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT max(rowid), count(*) FROM reminder_search", -1, &stmt, nullptr) != SQLITE_OK)
        return false;
    qint64 maxRowid = -1;
    qint64 rows = 0;
    if (sqlite3_step(stmt) == SQLITE_ROW) {
        maxRowid = sqlite3_column_type(stmt, 0) == SQLITE_NULL ? -1 : sqlite3_column_int64(stmt, 0);
        rows = sqlite3_column_int64(stmt, 1);
    }
    sqlite3_finalize(stmt);
    if (maxRowid >= 0 && !denseEnough(maxRowid, qsizetype(rows)))
        return false;

    if (sqlite3_prepare_v2(db, "SELECT rowid, id, order_time FROM reminder_search", -1, &stmt, nullptr) != SQLITE_OK)
        return false;
    m_entries.resize(size_t(maxRowid + 1));
    bool complete = true;
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        const qint64 rowid = sqlite3_column_int64(stmt, 0);
        const int bytes = sqlite3_column_bytes(stmt, 1);
        if (rowid < 0 || rowid > maxRowid || bytes == 0 || !m_entries[size_t(rowid)].id.isEmpty()) {
            complete = false;
            break;
        }
        Entry& e = m_entries[size_t(rowid)];
        e.id = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1)), bytes);
        e.orderTime = sqlite3_column_int64(stmt, 2);
        ++m_count;
    }
    sqlite3_finalize(stmt);
    if (rc != SQLITE_DONE || !complete) {
        invalidate();
        return false;
    }
    m_valid = true;
    return true;
}

void SearchDirectory::put(qint64 rowid, const QString& id, qint64 orderTime)
{
    if (!m_valid)
        return;
    if (id.isEmpty() || !denseEnough(rowid, m_count)) {
        // A record with an empty id cannot be told from a hole, and a far
        // rowid would blow the directory up: the tables answer instead.
        invalidate();
        return;
    }
    if (quint64(rowid) >= m_entries.size())
        m_entries.resize(std::max(size_t(rowid) + 1, m_entries.size() * 2));
    Entry& e = m_entries[size_t(rowid)];
    if (e.id.isEmpty())
        ++m_count;
    e.id = id;
    e.orderTime = orderTime;
}

void SearchDirectory::setOrderTime(qint64 rowid, qint64 orderTime)
{
    if (!m_valid)
        return;
    if (rowid < 0 || quint64(rowid) >= m_entries.size() || m_entries[size_t(rowid)].id.isEmpty()) {
        invalidate(); // a row it does not know: out of step
        return;
    }
    m_entries[size_t(rowid)].orderTime = orderTime;
}

void SearchDirectory::drop(qint64 rowid)
{
    if (!m_valid)
        return;
    if (rowid < 0 || quint64(rowid) >= m_entries.size() || m_entries[size_t(rowid)].id.isEmpty()) {
        invalidate();
        return;
    }
    m_entries[size_t(rowid)] = Entry();
    --m_count;
}

void SearchDirectory::willFind(qint64 rowid) const
{
    if (rowid >= 0 && quint64(rowid) < m_entries.size())
        cachehint::willRead(&m_entries[size_t(rowid)]);
}

} // namespace storage
