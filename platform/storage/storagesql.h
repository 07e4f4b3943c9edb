#pragma once

// The SQL the stores run, in one place so that the tests can ask SQLite how
// it plans exactly these statements. Internal to the storage library and
// its tests; nothing else should rely on it.

namespace storage::sql {

// Bumped whenever the schema below changes shape (or, as from 4 to 5, the
// search index's settings).
constexpr int kSchemaVersion = 5;

// Name of the SQL function registered on every connection:
// storage_fold(text) is the text as the search compares it: each NUL
// written as U+FFFD (SQLite stops at a NUL), then case-folded as Qt folds
// (QString::toCaseFolded). A keyword folded the same way is contained in
// the folded text exactly when QString::contains(keyword,
// Qt::CaseInsensitive) says so of the two originals.
constexpr const char kFoldFunction[] = "storage_fold";

// storage_fts_defer(rowid, old folded text or NULL): called by the index
// triggers of the search side; true when the connection takes the index
// work of that row over (it does inside a group of writes, see
// Connection::indexDeferred), false when the trigger is to do it now. In a
// transaction SQLite gives every statement with triggers a savepoint, and
// FTS5 writes its pending index data at each one: index work done row by
// row inside a group would cost a write of the index per row.
constexpr const char kDeferFunction[] = "storage_fts_defer";

// The search side's two tables, shared by the schema and its rebuild.
#define STORAGE_SEARCH_TABLE \
    "reminder_search(rowid INTEGER PRIMARY KEY, id TEXT NOT NULL, order_time INTEGER NOT NULL, folded TEXT NOT NULL)"
#define STORAGE_FTS_TABLE \
    "reminder_fts USING fts5(folded, content='reminder_search', content_rowid='rowid'," \
    " tokenize='trigram case_sensitive 1')"

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
    // The search side: per record its id, order time and folded text, small
    // rows apart from the records' data, kept by the triggers below; and a
    // case-sensitive trigram index over the folded text. A keyword of
    // three or more characters is looked up in the index, a shorter one
    // by a scan of the folded texts: both exact, with no second check.
    // The index follows a record's text, and the order time its order
    // time, only when they change.
    "CREATE TABLE IF NOT EXISTS " STORAGE_SEARCH_TABLE ";"
    "CREATE VIRTUAL TABLE IF NOT EXISTS " STORAGE_FTS_TABLE ";"
    "CREATE TRIGGER IF NOT EXISTS reminder_search_insert AFTER INSERT ON reminder BEGIN"
    " INSERT INTO reminder_search(rowid, id, order_time, folded)"
    " VALUES (new.rowid, new.id, new.order_time, storage_fold(new.text));"
    " END;"
    "CREATE TRIGGER IF NOT EXISTS reminder_search_delete AFTER DELETE ON reminder BEGIN"
    " DELETE FROM reminder_search WHERE rowid = old.rowid;"
    " END;"
    "CREATE TRIGGER IF NOT EXISTS reminder_search_text AFTER UPDATE OF text ON reminder"
    " WHEN old.text IS NOT new.text BEGIN"
    " UPDATE reminder_search SET folded = storage_fold(new.text) WHERE rowid = new.rowid;"
    " END;"
    "CREATE TRIGGER IF NOT EXISTS reminder_search_order AFTER UPDATE OF order_time ON reminder"
    " WHEN old.order_time IS NOT new.order_time BEGIN"
    " UPDATE reminder_search SET order_time = new.order_time WHERE rowid = new.rowid;"
    " END;"
    "CREATE TRIGGER IF NOT EXISTS reminder_fts_insert AFTER INSERT ON reminder_search"
    " WHEN NOT storage_fts_defer(new.rowid, NULL) BEGIN"
    " INSERT INTO reminder_fts(rowid, folded) VALUES (new.rowid, new.folded);"
    " END;"
    "CREATE TRIGGER IF NOT EXISTS reminder_fts_delete AFTER DELETE ON reminder_search"
    " WHEN NOT storage_fts_defer(old.rowid, old.folded) BEGIN"
    " INSERT INTO reminder_fts(reminder_fts, rowid, folded) VALUES ('delete', old.rowid, old.folded);"
    " END;"
    "CREATE TRIGGER IF NOT EXISTS reminder_fts_update AFTER UPDATE OF folded ON reminder_search"
    " WHEN NOT storage_fts_defer(old.rowid, old.folded) BEGIN"
    " INSERT INTO reminder_fts(reminder_fts, rowid, folded) VALUES ('delete', old.rowid, old.folded);"
    " INSERT INTO reminder_fts(rowid, folded) VALUES (new.rowid, new.folded);"
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
constexpr const char kProbeSearch[] = "SELECT rowid, id, order_time, folded FROM reminder_search LIMIT 0";

// How the search index keeps its segments (FTS5 writes one per committed
// group of writes): none are merged while writes come in (FTS5's automerge
// does merge work at every commit, and a listing of 100,000 reminders spent
// more time merging than indexing); the storage worker merges them once it
// has nothing else to do (kFtsIdleMerge). Should it not get round to it,
// a level with 64 segments is merged at once by the write that fills it.
// Kept in the index's own settings table, so from version 5 on.
constexpr const char kFtsMergeSettings[] =
    "INSERT INTO reminder_fts(reminder_fts, rank) VALUES ('automerge', 0);"
    "INSERT INTO reminder_fts(reminder_fts, rank) VALUES ('crisismerge', 64);";
// One step of that merging: about 64 pages written, only on a level that
// holds 4 or more segments (FTS5's usermerge, as automerge would have
// merged them). sqlite3_total_changes() grows by 2 or more when it merged
// something.
constexpr const char kFtsIdleMerge[] = "INSERT INTO reminder_fts(reminder_fts, rank) VALUES ('merge', 64)";
// The search side made anew from the records (a file of an earlier
// version, a store that was filled bare): whatever there is of it goes,
// its table is filled in one statement and the index built from it in one
// go, which costs a fraction of indexing row by row; kCreateSchema then
// adds the triggers. Run inside a transaction.
#define STORAGE_DROP_SEARCH_SIDE \
    "DROP TRIGGER IF EXISTS reminder_fts_insert;" \
    "DROP TRIGGER IF EXISTS reminder_fts_delete;" \
    "DROP TRIGGER IF EXISTS reminder_fts_update;" \
    "DROP TRIGGER IF EXISTS reminder_search_insert;" \
    "DROP TRIGGER IF EXISTS reminder_search_delete;" \
    "DROP TRIGGER IF EXISTS reminder_search_text;" \
    "DROP TRIGGER IF EXISTS reminder_search_order;" \
    "DROP TABLE IF EXISTS reminder_fts;" \
    "DROP TABLE IF EXISTS reminder_search;"
// Before a file of an earlier version gets the schema: its search side
// goes first, whatever its shape.
constexpr const char kDropSearchSide[] = STORAGE_DROP_SEARCH_SIDE;
constexpr const char kRebuildSearchSide[] =
    STORAGE_DROP_SEARCH_SIDE
    "CREATE TABLE " STORAGE_SEARCH_TABLE ";"
    "INSERT INTO reminder_search(rowid, id, order_time, folded)"
    " SELECT rowid, id, order_time, storage_fold(text) FROM reminder;"
    "CREATE VIRTUAL TABLE " STORAGE_FTS_TABLE ";"
    "INSERT INTO reminder_fts(reminder_fts) VALUES ('rebuild');"
    "INSERT INTO reminder_fts(reminder_fts, rank) VALUES ('automerge', 0);"
    "INSERT INTO reminder_fts(reminder_fts, rank) VALUES ('crisismerge', 64);";

// Filling bare. A group of writes that inserts many records into a store
// that held none (a device's first listing) would spend most of its time
// keeping the indexes by time and order and the search side in step, row
// by row, each commit rewriting index pages all over the file. So the
// store drops them (kBareFillStart) and takes the records bare, with only
// their id (every write looks it up) and the index of pending times (the
// handler asks for the nearest time after each save); once the worker
// is idle, or a search needs them, they are built from the records in
// one go (kRebuildSearchSide, then kCreateSchema). The missing insert
// trigger is what tells a store in this state, also to the open after a
// killed process: it rebuilds the search side then, and kCreateSchema
// makes the indexes again.
constexpr const char kBareFillStart[] =
    "DROP INDEX IF EXISTS reminder_remind_time;"
    "DROP INDEX IF EXISTS reminder_order_time;"
    "DROP TRIGGER IF EXISTS reminder_search_insert;"
    "DROP TRIGGER IF EXISTS reminder_search_delete;"
    "DROP TRIGGER IF EXISTS reminder_search_text;"
    "DROP TRIGGER IF EXISTS reminder_search_order;"
    // The few rows the search side got before: it stays in step with its
    // index (empty both) until it is rebuilt.
    "DELETE FROM reminder_search;"
    "INSERT INTO reminder_fts(reminder_fts) VALUES ('delete-all');";
constexpr const char kBareFillProbe[] =
    "SELECT (SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name = 'reminder')"
    " AND NOT (SELECT count(*) FROM sqlite_schema WHERE type = 'trigger' AND name = 'reminder_search_insert')";
// Whether the store holds no record: asked when a group of writes begins.
constexpr const char kStoreIsEmpty[] = "SELECT NOT EXISTS (SELECT 1 FROM reminder)";
// The index work taken over in a group, done once before the group
// commits: the entries of rows indexed before the group go (one statement
// each: a single-row statement has no savepoint), then the rows as they are
// now are indexed, all in one statement (?1: a JSON array of rowids).
constexpr const char kFtsDeferredDelete[] =
    "INSERT INTO reminder_fts(reminder_fts, rowid, folded) VALUES ('delete', ?1, ?2)";
constexpr const char kFtsDeferredInsert[] =
    "INSERT INTO reminder_fts(rowid, folded)"
    " SELECT s.rowid, s.folded FROM json_each(?1) AS j JOIN reminder_search AS s ON s.rowid = j.value";
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

// The same for a record whose text and order time stay as they are, the
// usual case (a time, a flag or the data changed): only the columns that
// can have changed are set, so that neither the order index nor the search
// side's triggers are looked at. A record whose text or order time differs
// is left alone (no change counted) and written with kSave.
constexpr const char kSaveKeepingTextAndOrder[] =
    "INSERT INTO reminder(" STORAGE_REMINDER_COLUMNS ")"
    " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)"
    " ON CONFLICT(id) DO UPDATE SET"
    " data = excluded.data, remind_time = excluded.remind_time, reminded = excluded.reminded,"
    " completed = excluded.completed, unread = excluded.unread, extra = excluded.extra"
    " WHERE text = excluded.text AND order_time = excluded.order_time";

// The same as a plain update of a stored record; no change counted when the
// record is not stored or its text or order time differs.
constexpr const char kUpdateKeepingTextAndOrder[] =
    "UPDATE reminder SET data = ?3, remind_time = ?4, reminded = ?6, completed = ?7, unread = ?8, extra = ?9"
    " WHERE id = ?1 AND text = ?2 AND order_time = ?5";

// The same for a record whose remind time stays as well (a reminder that
// fires once keeps its time): the two indexes of the remind time are not
// looked at, except for the pending one when a flag changes.
constexpr const char kUpdateKeepingTextOrderAndTime[] =
    "UPDATE reminder SET data = ?3, reminded = ?6, completed = ?7, unread = ?8, extra = ?9"
    " WHERE id = ?1 AND text = ?2 AND remind_time = ?4 AND order_time = ?5";

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

constexpr const char kDueAt[] =
    "SELECT id, remind_time, reminded FROM reminder WHERE remind_time = ?1"
    " ORDER BY order_time DESC, id";

// The keyword queries, each for whole records and for ids alone (a search
// needs only the ids: the list holds the items). The order is the list's,
// newest order time first.
#define STORAGE_ORDER " ORDER BY order_time DESC, id"

// Every record; ?1 is the limit (-1: none).
#define STORAGE_ALL " FROM reminder" STORAGE_ORDER " LIMIT ?1"
constexpr const char kInfosLimited[] = "SELECT " STORAGE_REMINDER_COLUMNS STORAGE_ALL;
constexpr const char kIdsLimited[] = "SELECT id" STORAGE_ALL;

// Keywords of three or more characters, folded (?1 as an FTS5 string
// literal): the trigram index.
#define STORAGE_INDEXED_IDS "SELECT rowid FROM reminder_fts WHERE reminder_fts MATCH ?1"
constexpr const char kInfosWithKeywordIndexed[] =
    "SELECT " STORAGE_REMINDER_COLUMNS " FROM reminder WHERE rowid IN (" STORAGE_INDEXED_IDS ")" STORAGE_ORDER
    " LIMIT ?2";
// The ids queries leave the order to the caller (a sort of the matches in
// memory is cheaper than SQLite's sorter): id and order time of each match.
// The matches' rowids alone, for the search directory (searchdirectory.h).
constexpr const char kRowidsWithKeywordIndexed[] = STORAGE_INDEXED_IDS;
constexpr const char kIdsWithKeywordIndexed[] =
    "SELECT s.id, s.order_time FROM reminder_fts f JOIN reminder_search s ON s.rowid = f.rowid"
    " WHERE reminder_fts MATCH ?1";

// Keywords of one or two characters, folded (?1): too short for trigrams,
// found by a scan of the folded texts.
#define STORAGE_SCAN_IDS "SELECT rowid FROM reminder_search WHERE instr(folded, ?1) > 0"
constexpr const char kInfosWithKeywordScan[] =
    "SELECT " STORAGE_REMINDER_COLUMNS " FROM reminder WHERE rowid IN (" STORAGE_SCAN_IDS ")" STORAGE_ORDER
    " LIMIT ?2";
constexpr const char kRowidsWithKeywordScan[] = STORAGE_SCAN_IDS;
constexpr const char kIdsWithKeywordScan[] =
    "SELECT id, order_time FROM reminder_search WHERE instr(folded, ?1) > 0";

#undef STORAGE_SCAN_IDS
#undef STORAGE_INDEXED_IDS
#undef STORAGE_ALL
#undef STORAGE_ORDER
#undef STORAGE_REMINDER_COLUMNS
#undef STORAGE_DROP_SEARCH_SIDE
#undef STORAGE_FTS_TABLE
#undef STORAGE_SEARCH_TABLE

constexpr const char kCount[] = "SELECT count(*) FROM reminder";

constexpr const char kCacheFileStamp[] =
    "INSERT INTO cache_file(key, timestamp) VALUES (?1, ?2)"
    " ON CONFLICT(key) DO UPDATE SET timestamp = excluded.timestamp";

constexpr const char kCacheFileTimestamp[] = "SELECT timestamp FROM cache_file WHERE key = ?1";

} // namespace storage::sql
