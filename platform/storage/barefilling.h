#pragma once

#include <QString>

struct sqlite3;
class SqliteFile;

namespace storage {

// Whether a store takes its records bare: a group of
// writes that inserts many records into a store that held none (a
// device's first listing of its reminders) would spend most of its time
// keeping the indexes by time and order and the search side in step row by
// row, each commit rewriting index pages all over the file. Past a number
// of such inserts the store drops them and takes the records with only
// their id and the index of pending times; once the writes have paused
// (the storage worker's idle time), or when a search needs the search side,
// they are built from the records in one go (storagesql.h, kBareFillStart
// and kRebuildSearchSide).
//
// The state lives in the file (the search side's insert trigger is
// missing), so a process killed while filling bare leaves a store that the
// next open brings back in step (repairAtOpen). Used under the
// connection's lock.
class BareFilling
{
public:
    // A group of writes begins: notes whether the store holds no record.
    void groupBegun(sqlite3* db);
    // A grouped write inserted a record. True when the store has just gone
    // bare (the caller drops the index work it had put off: the rebuild
    // covers it); false otherwise, also on an error (logged by the file,
    // the store then stays as it was).
    bool recordInserted(SqliteFile& file);
    // Whether the store takes its records bare now.
    bool isBare() const { return m_bare; }
    // Reads the state from the file again, after a rollback that may have
    // taken the switch back.
    void reread(sqlite3* db);
    // Builds what the bare filling left out; call inside a transaction.
    // The search directory must be detached first: its triggers go with the
    // search table.
    bool finish(SqliteFile& file);

    // For the open, in the schema's transaction before the schema is made:
    // a store left filling bare gets its search side rebuilt (the schema
    // then makes the missing indexes and triggers). False with a reason.
    static bool repairAtOpen(sqlite3* db, QString* reason);
    // The search side made anew from the records (also for an upgrade).
    static bool rebuildSearchSide(sqlite3* db, QString* reason);

private:
    // Records inserted by one group into an empty store before it goes
    // bare: a few new reminders keep every index in step as they come.
    static constexpr int kThreshold = 256;

    bool m_bare = false;
    bool m_emptyAtGroupStart = false;
    int m_groupInserts = 0;
};

} // namespace storage
