#pragma once

// The SQL the stores run, in one place so that the tests can ask SQLite how
// it plans exactly these statements. Internal to the storage library and
// its tests; nothing else should rely on it.

namespace storage::sql {

// Bumped whenever the schema below changes shape.
constexpr int kSchemaVersion = 2;

// Name of the SQL function registered on every connection:
// storage_contains(haystack, needle) is 1 when `haystack` contains
// `needle`, compared case-insensitively as plain text.
constexpr const char kContainsFunction[] = "storage_contains";

constexpr const char kCreateSchema[] =
    "CREATE TABLE IF NOT EXISTS reminder("
    " id TEXT PRIMARY KEY,"
    " text TEXT NOT NULL DEFAULT '',"
    " data BLOB,"
    " remind_time INTEGER NOT NULL DEFAULT 0,"
    " order_time INTEGER NOT NULL DEFAULT 0,"
    " reminded INTEGER NOT NULL DEFAULT 0,"
    " completed INTEGER NOT NULL DEFAULT 0,"
    " unread INTEGER NOT NULL DEFAULT 0,"
    " extra BLOB);"
    "CREATE INDEX IF NOT EXISTS reminder_remind_time ON reminder(remind_time);"
    "CREATE INDEX IF NOT EXISTS reminder_pending ON reminder(remind_time)"
    " WHERE reminded = 0 AND completed = 0;"
    "CREATE INDEX IF NOT EXISTS reminder_order_time ON reminder(order_time DESC, id);"
    "CREATE VIRTUAL TABLE IF NOT EXISTS reminder_fts USING fts5("
    " text, content='reminder', content_rowid='rowid', tokenize='trigram');"
    "CREATE TRIGGER IF NOT EXISTS reminder_fts_insert AFTER INSERT ON reminder BEGIN"
    " INSERT INTO reminder_fts(rowid, text) VALUES (new.rowid, new.text);"
    " END;"
    "CREATE TRIGGER IF NOT EXISTS reminder_fts_delete AFTER DELETE ON reminder BEGIN"
    " INSERT INTO reminder_fts(reminder_fts, rowid, text) VALUES ('delete', old.rowid, old.text);"
    " END;"
    "CREATE TRIGGER IF NOT EXISTS reminder_fts_update AFTER UPDATE OF text ON reminder BEGIN"
    " INSERT INTO reminder_fts(reminder_fts, rowid, text) VALUES ('delete', old.rowid, old.text);"
    " INSERT INTO reminder_fts(rowid, text) VALUES (new.rowid, new.text);"
    " END;"
    // Every id ever removed: new ids must not take one again, since the
    // server keeps a deleted reminder's id as a tombstone.
    "CREATE TABLE IF NOT EXISTS reminder_removed(id TEXT PRIMARY KEY) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS cache_file("
    " key TEXT PRIMARY KEY,"
    " timestamp INTEGER NOT NULL);";

// Probes run after the schema is in place: a database whose tables exist
// with another shape fails them and is treated as unusable.
constexpr const char kProbeReminder[] =
    "SELECT id, text, data, remind_time, order_time, reminded, completed, unread, extra"
    " FROM reminder LIMIT 0";
constexpr const char kProbeRemoved[] = "SELECT id FROM reminder_removed LIMIT 0";
constexpr const char kProbeCacheFile[] = "SELECT key, timestamp FROM cache_file LIMIT 0";

// Column list shared by every query that returns whole records; the column
// order is what the record reader expects.
#define STORAGE_REMINDER_COLUMNS \
    "id, text, data, remind_time, order_time, reminded, completed, unread, extra"

constexpr const char kAllInfos[] =
    "SELECT " STORAGE_REMINDER_COLUMNS " FROM reminder ORDER BY order_time DESC, id";

constexpr const char kInfo[] =
    "SELECT " STORAGE_REMINDER_COLUMNS " FROM reminder WHERE id = ?1";

constexpr const char kSave[] =
    "INSERT INTO reminder(" STORAGE_REMINDER_COLUMNS ")"
    " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)"
    " ON CONFLICT(id) DO UPDATE SET"
    " text = excluded.text, data = excluded.data, remind_time = excluded.remind_time,"
    " order_time = excluded.order_time, reminded = excluded.reminded,"
    " completed = excluded.completed, unread = excluded.unread, extra = excluded.extra";

constexpr const char kRemove[] = "DELETE FROM reminder WHERE id = ?1";

constexpr const char kRememberRemoved[] = "INSERT OR IGNORE INTO reminder_removed(id) VALUES (?1)";

constexpr const char kRemovedIds[] = "SELECT id FROM reminder_removed ORDER BY id";

constexpr const char kUpdateExtra[] = "UPDATE reminder SET extra = ?2 WHERE id = ?1";

constexpr const char kUpdateRemindTime[] = "UPDATE reminder SET remind_time = ?2 WHERE id = ?1";

// The terms "reminded = 0 AND completed = 0" repeat the partial index's
// condition word for word so that the planner can use that index.
constexpr const char kNearestTimestamp[] =
    "SELECT min(remind_time) FROM reminder"
    " WHERE reminded = 0 AND completed = 0 AND remind_time > 0";

// The pending records in remind time order, for a nearest time that steps
// over given ids; the same index serves it.
constexpr const char kPendingByRemindTime[] =
    "SELECT id, remind_time FROM reminder"
    " WHERE reminded = 0 AND completed = 0 AND remind_time > 0"
    " ORDER BY remind_time, id";

constexpr const char kInfosWithTimestamp[] =
    "SELECT " STORAGE_REMINDER_COLUMNS " FROM reminder WHERE remind_time = ?1"
    " ORDER BY order_time DESC, id";

// The keyword queries, each for whole records and for ids alone (a search
// needs only the ids: the list holds the items). The order is the list's,
// newest order time first.
#define STORAGE_ORDER " ORDER BY order_time DESC, id"

// Every record; ?1 is the limit (-1: none).
#define STORAGE_ALL " FROM reminder" STORAGE_ORDER " LIMIT ?1"
constexpr const char kInfosLimited[] = "SELECT " STORAGE_REMINDER_COLUMNS STORAGE_ALL;
constexpr const char kIdsLimited[] = "SELECT id" STORAGE_ALL;

// Keywords of three or more characters: the trigram index narrows the rows
// (?1 is the keyword as an FTS5 string literal), and the contains function
// (?2 the plain keyword) keeps exactly the rows that hold the keyword.
#define STORAGE_INDEXED \
    " FROM reminder" \
    " WHERE rowid IN (SELECT rowid FROM reminder_fts WHERE reminder_fts MATCH ?1)" \
    " AND storage_contains(text, ?2)" STORAGE_ORDER " LIMIT ?3"
constexpr const char kInfosWithKeywordIndexed[] = "SELECT " STORAGE_REMINDER_COLUMNS STORAGE_INDEXED;
constexpr const char kIdsWithKeywordIndexed[] = "SELECT id" STORAGE_INDEXED;

// Keywords of one or two characters are too short for trigrams, and the
// index's case folding does not know every pair Qt's does (keywords with a
// cased letter outside ASCII): every row is tested with the contains
// function.
#define STORAGE_SCAN " FROM reminder WHERE storage_contains(text, ?1)" STORAGE_ORDER " LIMIT ?2"
constexpr const char kInfosWithKeywordScan[] = "SELECT " STORAGE_REMINDER_COLUMNS STORAGE_SCAN;
constexpr const char kIdsWithKeywordScan[] = "SELECT id" STORAGE_SCAN;

#undef STORAGE_SCAN
#undef STORAGE_INDEXED
#undef STORAGE_ALL
#undef STORAGE_ORDER
#undef STORAGE_REMINDER_COLUMNS

constexpr const char kCount[] = "SELECT count(*) FROM reminder";

constexpr const char kCacheFileStamp[] =
    "INSERT INTO cache_file(key, timestamp) VALUES (?1, ?2)"
    " ON CONFLICT(key) DO UPDATE SET timestamp = excluded.timestamp";

constexpr const char kCacheFileTimestamp[] = "SELECT timestamp FROM cache_file WHERE key = ?1";

} // namespace storage::sql
