#include "reminderstorage.h"

#include "cachehint.h"
#include "connection.h"
#include "sqliteutil_p.h"
#include "searchdirectory.h"
#include "searchfold_p.h"
#include "storagesql.h"
#include "writebatch.h"

#include "synclocker.h"


#include <sqlite3.h>

#include <algorithm>
#include <vector>

namespace storage {

using detail::bindBlob;
using detail::bindInt64;
using detail::bindText;
using detail::columnBlob;
using detail::columnText;
using detail::StatementScope;
using detail::Transaction;

namespace {

// Reads a row laid out as the column list of the record queries.
ReminderInfo readInfo(sqlite3_stmt* stmt)
{
    ReminderInfo info;
    info.id = columnText(stmt, 0);
    info.text = columnText(stmt, 1);
    info.data = columnBlob(stmt, 2);
    info.remindTime = sqlite3_column_int64(stmt, 3);
    info.orderTime = sqlite3_column_int64(stmt, 4);
    info.reminded = sqlite3_column_int64(stmt, 5) != 0;
    info.completed = sqlite3_column_int64(stmt, 6) != 0;
    info.unread = sqlite3_column_int64(stmt, 7) != 0;
    info.extra = columnBlob(stmt, 8);
    return info;
}

// Steps a bound record query to its end; empty (and logged) on error.
QList<ReminderInfo> readInfos(Connection* connection, sqlite3_stmt* stmt, const char* what)
{
    QList<ReminderInfo> infos;
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW)
        infos.append(readInfo(stmt));
    if (rc != SQLITE_DONE) {
        connection->logError(what);
        return {};
    }
    return infos;
}

// Steps a bound query of one text column to its end; empty (and logged) on
// error.
QStringList readTexts(Connection* connection, sqlite3_stmt* stmt, const char* what)
{
    QStringList texts;
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW)
        texts.append(columnText(stmt, 0));
    if (rc != SQLITE_DONE) {
        connection->logError(what);
        return {};
    }
    return texts;
}

// Runs a bound statement that returns no rows.
bool stepDone(Connection* connection, sqlite3_stmt* stmt, const char* what)
{
    if (sqlite3_step(stmt) != SQLITE_DONE) {
        connection->logError(what);
        return false;
    }
    return true;
}

// The keyword as one FTS5 string: inside double quotes every character is
// literal, and a double quote is written twice.
QString ftsStringLiteral(const QString& keyword)
{
    QString escaped = keyword;
    escaped.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

// Trigrams need three characters; shorter keywords are matched by a scan.
constexpr qsizetype kIndexedKeywordLength = 3;

// SQLite stops reading a text at a NUL character (FTS5 indexes and matches
// only what comes before it), so the searchable text is stored, and the
// keyword looked up, with every NUL written as U+FFFD.
QString searchableForm(QString text)
{
    text.replace(QChar(0), QChar(QChar::ReplacementCharacter));
    return text;
}

} // namespace

ReminderStorage::ReminderStorage(Connection* connection)
    : m_connection(connection)
{
}

QList<ReminderInfo> ReminderStorage::allInfos()
{
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "allInfos"))
        return {};
    QList<ReminderInfo> infos;
    {
        StatementScope stmt(m_connection->statement(sql::kAllInfos));
        if (!stmt)
            return {};
        infos = readInfos(m_connection, stmt.get(), "allInfos");
    }
    // Reading every record filled the page cache with pages that no write
    // is about to need; they go back now, so that what the caller makes of
    // the records can take their memory (written pages stay).
    sqlite3_db_release_memory(m_connection->handle());
    return infos;
}

// Binds and runs one of the upserts; the caller holds the lock.
static bool runSave(Connection* connection, const char* sql, const ReminderInfo& info, const QByteArray& id,
                    const QByteArray& text)
{
    StatementScope stmt(connection->statement(sql));
    if (!stmt)
        return false;
    sqlite3_stmt* s = stmt.get();
    if (sqlite3_bind_text64(s, 1, id.constData(), sqlite3_uint64(id.size()), SQLITE_STATIC, SQLITE_UTF8) != SQLITE_OK
        || sqlite3_bind_text64(s, 2, text.constData(), sqlite3_uint64(text.size()), SQLITE_STATIC, SQLITE_UTF8)
            != SQLITE_OK
        || !bindBlob(s, 3, info.data) || !bindInt64(s, 4, info.remindTime) || !bindInt64(s, 5, info.orderTime)
        || !bindInt64(s, 6, info.reminded ? 1 : 0) || !bindInt64(s, 7, info.completed ? 1 : 0)
        || !bindInt64(s, 8, info.unread ? 1 : 0) || !bindBlob(s, 9, info.extra)) {
        connection->logError("save (bind)");
        return false;
    }
    return stepDone(connection, s, "save");
}

// Writes the record; the caller holds the lock. stored: the record is
// most likely stored already.
static bool saveLocked(Connection* connection, const ReminderInfo& info, bool stored = false)
{
    const QByteArray id = info.id.toUtf8();
    const QByteArray text = searchableForm(info.text).toUtf8();
    sqlite3* db = connection->handle();
    if (stored) {
        for (const char* update : {sql::kUpdateKeepingTextOrderAndTime, sql::kUpdateKeepingTextAndOrder}) {
            if (!runSave(connection, update, info, id, text))
                return false;
            if (sqlite3_changes(db) > 0)
                return true;
        }
    }
    // An upsert that updates leaves the last inserted rowid as it was.
    const sqlite3_int64 lastRowid = sqlite3_last_insert_rowid(db);
    if (!runSave(connection, sql::kSaveKeepingTextAndOrder, info, id, text))
        return false;
    // Inserted, or updated with its text and order time as they were.
    if (sqlite3_changes(db) > 0) {
        if (sqlite3_last_insert_rowid(db) != lastRowid)
            connection->recordInserted();
        return true;
    }
    return runSave(connection, sql::kSave, info, id, text);
}

bool ReminderStorage::save(const ReminderInfo& info)
{
    WriteBatch::enter(m_connection);
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "save"))
        return false;
    Transaction write(m_connection, false);
    if (!write.begin())
        return false;
    return write.finish(saveLocked(m_connection, info));
}

// Binds and runs the remind time update; the caller holds the lock.
static bool updateRemindTimeLocked(Connection* connection, const QString& remindId, qint64 remindTime)
{
    StatementScope stmt(connection->statement(sql::kUpdateRemindTime));
    if (!stmt)
        return false;
    if (!bindText(stmt.get(), 1, remindId) || !bindInt64(stmt.get(), 2, remindTime)) {
        connection->logError("updateRemindTime (bind)");
        return false;
    }
    return stepDone(connection, stmt.get(), "updateRemindTime");
}

int ReminderStorage::writeEach(const std::vector<ReminderWrite>& writes)
{
    WriteBatch::enter(m_connection);
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "writeEach"))
        return 0;
    int held = 0;
    for (const ReminderWrite& w : writes) {
        Transaction write(m_connection, false);
        if (!write.begin())
            continue;
        const bool ok = w.kind == ReminderWrite::RemindTime
            ? updateRemindTimeLocked(m_connection, w.info.id, w.info.remindTime)
            : saveLocked(m_connection, w.info, w.kind == ReminderWrite::SaveStored);
        held += write.finish(ok) ? 1 : 0;
    }
    return held;
}

bool ReminderStorage::saveAll(const QList<ReminderInfo>& infos)
{
    WriteBatch::enter(m_connection);
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "saveAll"))
        return false;
    if (infos.isEmpty())
        return true;
    Transaction transaction(m_connection);
    if (!transaction.begin())
        return false;
    for (const ReminderInfo& info : infos) {
        if (!saveLocked(m_connection, info))
            return false; // rolled back by the transaction
    }
    return transaction.commit();
}

// Deletes one record and remembers its id; the caller holds the lock and
// an open transaction.
static bool removeLocked(Connection* connection, const QString& remindId)
{
    for (const char* statement : { sql::kRemove, sql::kRememberRemoved }) {
        StatementScope stmt(connection->statement(statement));
        if (!stmt)
            return false;
        if (!bindText(stmt.get(), 1, remindId)) {
            connection->logError("remove (bind)");
            return false;
        }
        if (!stepDone(connection, stmt.get(), "remove"))
            return false;
    }
    return true;
}

bool ReminderStorage::remove(const QString& remindId)
{
    return remove(QList<QString> { remindId });
}

bool ReminderStorage::remove(const QList<QString>& remindIds)
{
    WriteBatch::enter(m_connection);
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "remove"))
        return false;
    if (remindIds.isEmpty())
        return true;
    Transaction transaction(m_connection);
    if (!transaction.begin())
        return false;
    for (const QString& id : remindIds) {
        if (!removeLocked(m_connection, id))
            return false; // rolled back by the transaction
    }
    return transaction.commit();
}

QList<QString> ReminderStorage::removedIds()
{
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "removedIds"))
        return {};
    StatementScope stmt(m_connection->statement(sql::kRemovedIds));
    if (!stmt)
        return {};
    return readTexts(m_connection, stmt.get(), "removedIds");
}

bool ReminderStorage::updateExtra(const QString& remindId, const QByteArray& extra)
{
    WriteBatch::enter(m_connection);
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "updateExtra"))
        return false;
    Transaction write(m_connection, false);
    if (!write.begin())
        return false;
    StatementScope stmt(m_connection->statement(sql::kUpdateExtra));
    if (!stmt)
        return false;
    if (!bindText(stmt.get(), 1, remindId) || !bindBlob(stmt.get(), 2, extra)) {
        m_connection->logError("updateExtra (bind)");
        return false;
    }
    return write.finish(stepDone(m_connection, stmt.get(), "updateExtra"));
}

bool ReminderStorage::updateRemindTime(const QString& remindId, qint64 remindTime)
{
    WriteBatch::enter(m_connection);
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "updateRemindTime"))
        return false;
    Transaction write(m_connection, false);
    if (!write.begin())
        return false;
    return write.finish(updateRemindTimeLocked(m_connection, remindId, remindTime));
}

qint64 ReminderStorage::nearestTimestamp()
{
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "nearestTimestamp"))
        return 0;
    StatementScope stmt(m_connection->statement(sql::kNearestTimestamp));
    if (!stmt)
        return 0;
    const int rc = sqlite3_step(stmt.get());
    if (rc != SQLITE_ROW) {
        m_connection->logError("nearestTimestamp");
        return 0;
    }
    // min() over no rows is NULL, which reads as 0.
    return sqlite3_column_int64(stmt.get(), 0);
}

qint64 ReminderStorage::nearestTimestamp(const QSet<QString>& skippedIds)
{
    if (skippedIds.isEmpty())
        return nearestTimestamp();
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "nearestTimestamp"))
        return 0;
    StatementScope stmt(m_connection->statement(sql::kPendingByRemindTime));
    if (!stmt)
        return 0;
    int rc;
    while ((rc = sqlite3_step(stmt.get())) == SQLITE_ROW) {
        if (!skippedIds.contains(columnText(stmt.get(), 0)))
            return sqlite3_column_int64(stmt.get(), 1);
    }
    if (rc != SQLITE_DONE)
        m_connection->logError("nearestTimestamp");
    return 0;
}

QList<ReminderInfo> ReminderStorage::infosWithTimestamp(qint64 timestamp)
{
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "infosWithTimestamp"))
        return {};
    StatementScope stmt(m_connection->statement(sql::kInfosWithTimestamp));
    if (!stmt)
        return {};
    if (!bindInt64(stmt.get(), 1, timestamp)) {
        m_connection->logError("infosWithTimestamp (bind)");
        return {};
    }
    return readInfos(m_connection, stmt.get(), "infosWithTimestamp");
}

QList<DueRecord> ReminderStorage::dueAt(qint64 timestamp)
{
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "dueAt"))
        return {};
    StatementScope stmt(m_connection->statement(sql::kDueAt));
    if (!stmt)
        return {};
    if (!bindInt64(stmt.get(), 1, timestamp)) {
        m_connection->logError("dueAt (bind)");
        return {};
    }
    QList<DueRecord> due;
    int rc;
    while ((rc = sqlite3_step(stmt.get())) == SQLITE_ROW)
        due.append({columnText(stmt.get(), 0), sqlite3_column_int64(stmt.get(), 1),
                    sqlite3_column_int64(stmt.get(), 2) != 0});
    if (rc != SQLITE_DONE) {
        m_connection->logError("dueAt");
        return {};
    }
    return due;
}

namespace {

// A keyword as the search looks it up: folded as the stored texts are (so
// that containment is exact), and bound either as an FTS5 string literal
// for the trigram index or as it is for the scan of short keywords.
struct SearchKey
{
    QString bound;
    bool indexed = false;
};

// The trigram tokenizer reads U+FFFE and U+FFFF as U+FFFD (SQLite's UTF-8
// reader replaces noncharacters), so the index cannot tell the three apart:
// a keyword holding any of them is matched by the scan, which compares
// the bytes.
bool readAlikeByTheIndex(const QString& needle)
{
    for (const QChar c : needle) {
        if (c.unicode() >= 0xFFFD)
            return true;
    }
    return false;
}

SearchKey searchKey(const QString& keyword)
{
    const QString needle = foldedForSearch(keyword);
    const bool indexed = needle.toUcs4().size() >= kIndexedKeywordLength && !readAlikeByTheIndex(needle);
    return {indexed ? ftsStringLiteral(needle) : needle, indexed};
}


// The list's order for records with equal order times: the ids' UTF-8
// bytes, as SQLite's binary collation compares them. UTF-8 byte order is
// code point order, which differs from UTF-16 code unit order only where a
// surrogate meets a unit from U+E000 up.
bool idBefore(const QString& a, const QString& b)
{
    const qsizetype n = std::min(a.size(), b.size());
    for (qsizetype i = 0; i < n; ++i) {
        char16_t x = a.at(i).unicode();
        char16_t y = b.at(i).unicode();
        if (x == y)
            continue;
        if (x >= 0xD800 && y >= 0xD800) {
            x = char16_t(x >= 0xE000 ? x - 0x800 : x + 0x2000);
            y = char16_t(y >= 0xE000 ? y - 0x800 : y + 0x2000);
        }
        return x < y;
    }
    return a.size() < b.size();
}

// A match with its order time beside it, so that sorting compares keys in
// one array instead of reaching into the directory's rows.
struct Match
{
    qint64 orderTime;
    const SearchDirectory::Entry* entry;
};

QStringList sortedIds(std::vector<Match> matches, int limit)
{
    // The list's order, as the records' queries give it: order time
    // descending, then the id's bytes.
    const auto before = [](const Match& a, const Match& b) {
        return a.orderTime != b.orderTime ? a.orderTime > b.orderTime : idBefore(a.entry->id, b.entry->id);
    };
    // The matches come in rowid order, which is the order of saving: most
    // often the list's order or its reverse already.
    if (!std::is_sorted(matches.begin(), matches.end(), before)) {
        if (std::is_sorted(matches.rbegin(), matches.rend(), before))
            std::reverse(matches.begin(), matches.end());
        else
            std::sort(matches.begin(), matches.end(), before);
    }
    const size_t count = limit > 0 ? std::min(matches.size(), size_t(limit)) : matches.size();
    QStringList ids;
    ids.reserve(qsizetype(count));
    // Each copy counts a reference in the id's string, somewhere in the
    // heap: those a few places ahead are asked for while this one waits.
    constexpr size_t kAhead = 16;
    for (size_t i = 0; i < count; ++i) {
        if (i + kAhead < count)
            cachehint::willWrite(const_cast<QString&>(matches[i + kAhead].entry->id).data_ptr().d_ptr());
        ids.append(matches[i].entry->id);
    }
    return ids;
}

QStringList allIds(Connection* connection, int limit)
{
    StatementScope stmt(connection->statement(sql::kIdsLimited));
    if (!stmt)
        return {};
    if (!bindInt64(stmt.get(), 1, limit > 0 ? limit : -1)) {
        connection->logError("idsWithKeyword (bind)");
        return {};
    }
    return readTexts(connection, stmt.get(), "idsWithKeyword");
}

// Matches as rowids, turned into ids by the directory; `complete` false
// when a match is not in it.
QStringList idsFromDirectory(Connection* connection, const SearchDirectory& directory, const SearchKey& key,
                             int limit, bool* complete)
{
    *complete = true;
    StatementScope stmt(
        connection->statement(key.indexed ? sql::kRowidsWithKeywordIndexed : sql::kRowidsWithKeywordScan));
    if (!stmt)
        return {};
    if (!bindText(stmt.get(), 1, key.bound)) {
        connection->logError("idsWithKeyword (bind)");
        return {};
    }
    std::vector<qint64> rowids;
    int rc;
    while ((rc = sqlite3_step(stmt.get())) == SQLITE_ROW)
        rowids.push_back(sqlite3_column_int64(stmt.get(), 0));
    if (rc != SQLITE_DONE) {
        connection->logError("idsWithKeyword");
        return {};
    }
    std::vector<Match> matches;
    matches.reserve(rowids.size());
    constexpr size_t kAhead = 16;
    for (size_t i = 0; i < rowids.size(); ++i) {
        if (i + kAhead < rowids.size())
            directory.willFind(rowids[i + kAhead]);
        const SearchDirectory::Entry* entry = directory.find(rowids[i]);
        if (!entry) {
            *complete = false;
            return {};
        }
        matches.push_back({entry->orderTime, entry});
    }
    return sortedIds(std::move(matches), limit);
}

// The same from the search table, one row lookup per match.
QStringList idsFromTables(Connection* connection, const SearchKey& key, int limit)
{
    StatementScope stmt(connection->statement(key.indexed ? sql::kIdsWithKeywordIndexed : sql::kIdsWithKeywordScan));
    if (!stmt)
        return {};
    if (!bindText(stmt.get(), 1, key.bound)) {
        connection->logError("idsWithKeyword (bind)");
        return {};
    }
    std::vector<SearchDirectory::Entry> rows;
    int rc;
    while ((rc = sqlite3_step(stmt.get())) == SQLITE_ROW)
        rows.push_back({sqlite3_column_int64(stmt.get(), 1), columnText(stmt.get(), 0)});
    if (rc != SQLITE_DONE) {
        connection->logError("idsWithKeyword");
        return {};
    }
    std::vector<Match> matches;
    matches.reserve(rows.size());
    for (const SearchDirectory::Entry& row : rows)
        matches.push_back({row.orderTime, &row});
    return sortedIds(std::move(matches), limit);
}

} // namespace

sqlite3_stmt* ReminderStorage::keywordQuery(const QString& keyword, int limit, const char* what)
{
    // SQLite reads a negative limit as "no limit".
    const qint64 sqlLimit = limit > 0 ? limit : -1;
    if (keyword.isEmpty()) {
        sqlite3_stmt* stmt = m_connection->statement(sql::kInfosLimited);
        if (stmt && !bindInt64(stmt, 1, sqlLimit)) {
            m_connection->logError(what);
            return nullptr;
        }
        return stmt;
    }
    const SearchKey key = searchKey(keyword);
    sqlite3_stmt* stmt = m_connection->statement(key.indexed ? sql::kInfosWithKeywordIndexed : sql::kInfosWithKeywordScan);
    if (stmt && (!bindText(stmt, 1, key.bound) || !bindInt64(stmt, 2, sqlLimit))) {
        m_connection->logError(what);
        return nullptr;
    }
    return stmt;
}

QList<ReminderInfo> ReminderStorage::infosWithKeyword(const QString& keyword, int limit)
{
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "infosWithKeyword"))
        return {};
    // The index must hold what the open group of writes has written.
    m_connection->prepareSearch();
    StatementScope stmt(keywordQuery(keyword, limit, "infosWithKeyword (bind)"));
    if (!stmt)
        return {};
    return readInfos(m_connection, stmt.get(), "infosWithKeyword");
}

QStringList ReminderStorage::idsWithKeyword(const QString& keyword, int limit)
{
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "idsWithKeyword"))
        return {};
    // The index must hold what the open group of writes has written.
    m_connection->prepareSearch();
    if (keyword.isEmpty())
        return allIds(m_connection, limit);
    const SearchKey key = searchKey(keyword);
    if (SearchDirectory* directory = m_connection->searchDirectory()) {
        bool complete = true;
        QStringList ids = idsFromDirectory(m_connection, *directory, key, limit, &complete);
        if (complete)
            return ids;
        // A match the directory does not know: it is out of step with the
        // table. It is read again next time; the tables answer now.
        directory->invalidate();
    }
    return idsFromTables(m_connection, key, limit);
}

ReminderInfo ReminderStorage::info(const QString& remindId, bool* found)
{
    if (found)
        *found = false;
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "info"))
        return {};
    StatementScope stmt(m_connection->statement(sql::kInfo));
    if (!stmt)
        return {};
    if (!bindText(stmt.get(), 1, remindId)) {
        m_connection->logError("info (bind)");
        return {};
    }
    const int rc = sqlite3_step(stmt.get());
    if (rc == SQLITE_ROW) {
        if (found)
            *found = true;
        return readInfo(stmt.get());
    }
    if (rc != SQLITE_DONE)
        m_connection->logError("info");
    return {};
}

int ReminderStorage::count()
{
    SyncLocker lock(&m_connection->mutex());
    if (!detail::ready(m_connection, "count"))
        return 0;
    StatementScope stmt(m_connection->statement(sql::kCount));
    if (!stmt)
        return 0;
    if (sqlite3_step(stmt.get()) != SQLITE_ROW) {
        m_connection->logError("count");
        return 0;
    }
    return sqlite3_column_int(stmt.get(), 0);
}

} // namespace storage
