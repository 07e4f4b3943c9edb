#pragma once

// Small helpers shared by the stores' implementations. Internal to the
// storage library.

#include "connection.h"

#include <QByteArray>
#include <QString>

#include <sqlite3.h>

namespace storage::detail {

// Resets a cached statement (and drops its bindings) when the scope ends,
// so that no statement keeps a read transaction open between calls.
class StatementScope
{
public:
    explicit StatementScope(sqlite3_stmt* stmt) : m_stmt(stmt) { }
    ~StatementScope()
    {
        if (m_stmt) {
            sqlite3_reset(m_stmt);
            sqlite3_clear_bindings(m_stmt);
        }
    }
    StatementScope(const StatementScope&) = delete;
    StatementScope& operator=(const StatementScope&) = delete;

    sqlite3_stmt* get() const { return m_stmt; }
    explicit operator bool() const { return m_stmt != nullptr; }

private:
    sqlite3_stmt* m_stmt;
};

// A write transaction that rolls back unless committed. Call with the
// connection's lock held.
class Transaction
{
public:
    explicit Transaction(Connection* connection) : m_connection(connection) { }
    ~Transaction()
    {
        // A failed statement may already have ended the transaction.
        if (m_active && m_connection->handle() && !sqlite3_get_autocommit(m_connection->handle()))
            m_connection->exec("ROLLBACK");
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool begin()
    {
        m_active = m_connection->exec("BEGIN IMMEDIATE");
        return m_active;
    }
    bool commit()
    {
        if (!m_active)
            return false;
        if (!m_connection->exec("COMMIT"))
            return false; // the destructor rolls back
        m_active = false;
        return true;
    }

private:
    Connection* m_connection;
    bool m_active = false;
};

// False (and logged under the operation's name) when the connection has no
// database; opens one left for its first use. Call with the lock held.
inline bool ready(Connection* connection, const char* what)
{
    if (connection->ensureOpen())
        return true;
    connection->logError(what);
    return false;
}

inline bool bindText(sqlite3_stmt* stmt, int index, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    return sqlite3_bind_text64(stmt, index, utf8.constData(),
                               static_cast<sqlite3_uint64>(utf8.size()), SQLITE_TRANSIENT,
                               SQLITE_UTF8)
        == SQLITE_OK;
}

inline bool bindBlob(sqlite3_stmt* stmt, int index, const QByteArray& blob)
{
    if (blob.isNull())
        return sqlite3_bind_null(stmt, index) == SQLITE_OK;
    return sqlite3_bind_blob64(stmt, index, blob.constData(),
                               static_cast<sqlite3_uint64>(blob.size()), SQLITE_TRANSIENT)
        == SQLITE_OK;
}

inline bool bindInt64(sqlite3_stmt* stmt, int index, qint64 value)
{
    return sqlite3_bind_int64(stmt, index, static_cast<sqlite3_int64>(value)) == SQLITE_OK;
}

inline QString columnText(sqlite3_stmt* stmt, int column)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
    const int bytes = sqlite3_column_bytes(stmt, column);
    if (!text)
        return QString();
    return QString::fromUtf8(text, bytes);
}

inline QByteArray columnBlob(sqlite3_stmt* stmt, int column)
{
    if (sqlite3_column_type(stmt, column) == SQLITE_NULL)
        return QByteArray();
    const void* blob = sqlite3_column_blob(stmt, column);
    const int bytes = sqlite3_column_bytes(stmt, column);
    if (!blob || bytes <= 0)
        return QByteArray();
    return QByteArray(static_cast<const char*>(blob), bytes);
}

} // namespace storage::detail
