#pragma once

// Helpers shared by the storage tests: a raw SQLite connection on the
// database file under test, for what the stores do not expose (query plans,
// the full-text index's own view, tampering with the schema).

#include "imlog.h"
#include "reminderinfo.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTest>

#include <sqlite3.h>

namespace storagetest {

class RawDb
{
public:
    explicit RawDb(const QString& path)
    {
        const QByteArray native = QFile::encodeName(path);
        if (sqlite3_open_v2(native.constData(), &m_db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
            m_error = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QStringLiteral("no memory");
            sqlite3_close(m_db);
            m_db = nullptr;
        } else {
            sqlite3_busy_timeout(m_db, 5000);
        }
    }
    ~RawDb() { sqlite3_close(m_db); }
    RawDb(const RawDb&) = delete;
    RawDb& operator=(const RawDb&) = delete;

    bool isOpen() const { return m_db != nullptr; }
    sqlite3* handle() const { return m_db; }
    QString lastError() const { return m_error; }

    bool exec(const QString& sql)
    {
        char* message = nullptr;
        const int rc = sqlite3_exec(m_db, sql.toUtf8().constData(), nullptr, nullptr, &message);
        m_error = message ? QString::fromUtf8(message) : QString();
        sqlite3_free(message);
        return rc == SQLITE_OK;
    }

    // Every row's columns joined by '|', one string per row; `ok` is false
    // (and lastError() tells why) when the statement fails.
    QStringList rows(const QString& sql, const QList<QString>& textArgs = {}, bool* ok = nullptr)
    {
        QStringList result;
        sqlite3_stmt* stmt = nullptr;
        int rc = sqlite3_prepare_v2(m_db, sql.toUtf8().constData(), -1, &stmt, nullptr);
        for (int i = 0; rc == SQLITE_OK && i < textArgs.size(); ++i) {
            const QByteArray arg = textArgs.at(i).toUtf8();
            rc = sqlite3_bind_text(stmt, i + 1, arg.constData(), int(arg.size()), SQLITE_TRANSIENT);
        }
        if (rc == SQLITE_OK) {
            while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
                QStringList columns;
                for (int c = 0; c < sqlite3_column_count(stmt); ++c) {
                    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, c));
                    columns << (text ? QString::fromUtf8(text) : QStringLiteral("NULL"));
                }
                result << columns.join(QLatin1Char('|'));
            }
            if (rc == SQLITE_DONE)
                rc = SQLITE_OK;
        }
        m_error = rc == SQLITE_OK ? QString() : QString::fromUtf8(sqlite3_errmsg(m_db));
        sqlite3_finalize(stmt);
        if (ok)
            *ok = rc == SQLITE_OK;
        return result;
    }

    // The "detail" column of EXPLAIN QUERY PLAN, one line per plan step.
    QStringList queryPlan(const char* sql, bool* ok)
    {
        const QStringList plan = rows(QStringLiteral("EXPLAIN QUERY PLAN ") + QString::fromUtf8(sql), {}, ok);
        QStringList details;
        for (const QString& row : plan)
            details << row.section(QLatin1Char('|'), 3);
        return details;
    }

    // The full-text index's own consistency check against the table.
    bool ftsIntegrityOk()
    {
        return exec(QStringLiteral(
            "INSERT INTO reminder_fts(reminder_fts, rank) VALUES ('integrity-check', 1)"));
    }

    // Ids of the rows the full-text index itself returns for a phrase.
    QStringList ftsIds(const QString& phrase)
    {
        QString literal = phrase;
        literal.replace(QLatin1Char('"'), QLatin1String("\"\""));
        bool ok = false;
        QStringList ids = rows(QStringLiteral("SELECT r.id FROM reminder_fts f JOIN reminder r ON "
                                              "r.rowid = f.rowid WHERE reminder_fts MATCH ?1 ORDER BY r.id"),
                               { QLatin1Char('"') + literal + QLatin1Char('"') }, &ok);
        if (!ok)
            return { QStringLiteral("<error: %1>").arg(m_error) };
        return ids;
    }

private:
    sqlite3* m_db = nullptr;
    QString m_error;
};

inline QStringList idsOf(const QList<storage::ReminderInfo>& infos)
{
    QStringList ids;
    for (const auto& info : infos)
        ids << info.id;
    return ids;
}

inline storage::ReminderInfo makeInfo(const QString& id, const QString& text, qint64 orderTime = 0,
                                      qint64 remindTime = 0, bool reminded = false,
                                      bool completed = false)
{
    storage::ReminderInfo info;
    info.id = id;
    info.text = text;
    info.data = QByteArrayLiteral("payload:") + id.toUtf8();
    info.remindTime = remindTime;
    info.orderTime = orderTime;
    info.reminded = reminded;
    info.completed = completed;
    return info;
}

// Lines the storage library logged since the last clearRecentLines().
inline QStringList storageLogLines()
{
    QStringList lines;
    for (const QString& line : ImLog::instance()->recentLines()) {
        if (line.startsWith(QLatin1String("storage:")))
            lines << line;
    }
    return lines;
}

} // namespace storagetest
