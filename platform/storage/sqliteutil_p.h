#pragma once

// Small helpers shared by the stores' implementations. Internal to the
// storage library.

#include "connection.h"

#include <QByteArray>
#include <QString>

#include <sqlite3.h>

namespace storage::detail {

// Runs statements without results on a bare handle (while the file is
// being opened, before the connection's own exec); false with SQLite's
// message as the reason.
inline bool execAll(sqlite3* db, const char* sql, QString* reason)
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

// One write of a store (Connection::beginWrite): taken back unless
// committed. Call with the connection's lock held.
class Transaction
{
public:
    // severalStatements: the write must hold or fail as a whole.
    explicit Transaction(Connection* connection, bool severalStatements = true)
        : m_connection(connection), m_severalStatements(severalStatements)
    {
    }
    ~Transaction()
    {
        if (m_active)
            m_connection->endWrite(false);
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool begin()
    {
        m_active = m_connection->beginWrite(m_severalStatements);
        return m_active;
    }
    // Ends the write: kept when ok, taken back otherwise; true when kept.
    bool finish(bool ok)
    {
        if (!m_active)
            return false;
        m_active = false;
        return m_connection->endWrite(ok);
    }
    bool commit() { return finish(true); }

private:
    Connection* m_connection;
    bool m_severalStatements;
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
