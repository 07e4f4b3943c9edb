#include "cachefilestorage.h"

#include "connection.h"
#include "sqliteutil_p.h"
#include "storagesql.h"
#include "writebatch.h"

#include "synclocker.h"


#include <sqlite3.h>

namespace storage {

using detail::bindInt64;
using detail::bindText;
using detail::StatementScope;
using detail::Transaction;

CacheFileStorage::CacheFileStorage(Connection* connection)
    : m_connection(connection)
{
}

bool CacheFileStorage::updateTimestamp(const QList<QString>& keys, qint64 timestamp)
{
    WriteBatch::enter(m_connection);
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "updateTimestamp"))
        return false;
    if (keys.isEmpty())
        return true;
    Transaction transaction(m_connection);
    if (!transaction.begin())
        return false;
    for (const QString& key : keys) {
        StatementScope stmt(m_connection->statement(sql::kCacheFileStamp));
        if (!stmt)
            return false;
        if (!bindText(stmt.get(), 1, key) || !bindInt64(stmt.get(), 2, timestamp)) {
            m_connection->logError("updateTimestamp (bind)");
            return false;
        }
        if (sqlite3_step(stmt.get()) != SQLITE_DONE) {
            m_connection->logError("updateTimestamp");
            return false;
        }
    }
    return transaction.commit();
}

qint64 CacheFileStorage::timestamp(const QString& key)
{
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "timestamp"))
        return 0;
    StatementScope stmt(m_connection->statement(sql::kCacheFileTimestamp));
    if (!stmt)
        return 0;
    if (!bindText(stmt.get(), 1, key)) {
        m_connection->logError("timestamp (bind)");
        return 0;
    }
    const int rc = sqlite3_step(stmt.get());
    if (rc == SQLITE_ROW)
        return sqlite3_column_int64(stmt.get(), 0);
    if (rc != SQLITE_DONE)
        m_connection->logError("timestamp");
    return 0;
}

} // namespace storage
