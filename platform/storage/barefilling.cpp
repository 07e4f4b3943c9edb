#include "barefilling.h"

#include "sqlitefile.h"
#include "sqliteutil_p.h"
#include "storagesql.h"

#include <sqlite3.h>

namespace storage {

namespace {

// The single integer of a one-row query; false when it cannot be read.
bool singleInt(sqlite3* db, const char* sql, qint64* value)
{
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) != SQLITE_OK)
        return false;
    const bool ok = sqlite3_step(stmt) == SQLITE_ROW;
    if (ok)
        *value = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    return ok;
}

} // namespace

bool BareFilling::recordInserted(SqliteFile& file)
{
    if (m_bare || !m_emptyAtGroupStart || ++m_groupInserts < kThreshold)
        return false;
    m_emptyAtGroupStart = false;
    m_bare = file.exec(sql::kBareFillStart);
    return m_bare;
}

bool BareFilling::finish(SqliteFile& file)
{
    if (!m_bare)
        return true;
    if (!file.exec(sql::kRebuildSearchSide) || !file.exec(sql::kCreateSchema))
        return false;
    m_bare = false;
    return true;
}

void BareFilling::groupBegun(sqlite3* db)
{
    m_groupInserts = 0;
    qint64 empty = 0;
    m_emptyAtGroupStart = !m_bare && singleInt(db, sql::kStoreIsEmpty, &empty) && empty != 0;
}

void BareFilling::reread(sqlite3* db)
{
    qint64 bare = 0;
    m_bare = singleInt(db, sql::kBareFillProbe, &bare) && bare != 0;
    m_emptyAtGroupStart = false;
}

bool BareFilling::repairAtOpen(sqlite3* db, QString* reason)
{
    qint64 bare = 0;
    if (!singleInt(db, sql::kBareFillProbe, &bare)) {
        *reason = QString::fromUtf8(sqlite3_errmsg(db));
        return false;
    }
    return bare == 0 || rebuildSearchSide(db, reason);
}

bool BareFilling::rebuildSearchSide(sqlite3* db, QString* reason)
{
    return detail::execAll(db, sql::kRebuildSearchSide, reason);
}

} // namespace storage
