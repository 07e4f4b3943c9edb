#pragma once

#include "reminderinfo.h"

#include <QList>
#include <QStringList>
#include <QSet>
#include <QString>

#include <vector>

struct sqlite3_stmt;

namespace storage {

class Connection;

// One write of a batch (ReminderStorage::writeEach): the whole record, as
// save() writes it, or only its remind time, as updateRemindTime() does
// (from info.id and info.remindTime).
struct ReminderWrite
{
    enum Kind {
        Save,
        // The same for a record the caller knows to be stored (one it has
        // just read): tried as an update first, which costs less than an
        // insert that finds the record; stored all the same if it is not.
        SaveStored,
        RemindTime,
    };
    Kind kind = Save;
    ReminderInfo info;
};

// What the remind timer needs of a record due at an instant.
struct DueRecord
{
    QString id;
    qint64 remindTime = 0;
    bool reminded = false;
};

// The account's reminder table. Every operation is safe to call from any
// thread; each returns false (or an empty result) when the database is
// unavailable, and logs the SQLite error.
class ReminderStorage
{
public:
    explicit ReminderStorage(Connection* connection);

    // Every record, in descending order time (the list's order), so that a
    // loader can append.
    QList<ReminderInfo> allInfos();
    // Inserts the record, or replaces the one with the same id.
    bool save(const ReminderInfo& info);
    // Saves many records in one transaction.
    bool saveAll(const QList<ReminderInfo>& infos);
    // Runs the writes in their order, each on its own exactly as save() or
    // updateRemindTime() would run it (one that fails takes no other
    // back), under one hold of the connection: a burst of small writes
    // from one caller pays for the lock and the statement lookups once.
    // Returns how many of them held.
    int writeEach(const std::vector<ReminderWrite>& writes);
    // Removes the records, in one transaction, and remembers their ids
    // (also of ids that were not stored) for removedIds().
    bool remove(const QString& remindId);
    bool remove(const QList<QString>& remindIds);
    // Every id ever passed to remove(), in byte order. A new remind id must
    // not repeat one of them: the server keeps deleted ids as tombstones.
    QList<QString> removedIds();
    bool updateExtra(const QString& remindId, const QByteArray& extra);
    bool updateRemindTime(const QString& remindId, qint64 remindTime);
    // The earliest remind time of a pending record (not reminded, not
    // completed, remind time above 0); 0 when there is none.
    qint64 nearestTimestamp();
    // The same, leaving out the records with the given ids. It reads one
    // row per left-out record that comes first, so keep the set small.
    qint64 nearestTimestamp(const QSet<QString>& skippedIds);
    // Every record whose remind time is exactly `timestamp`, pending or not.
    QList<ReminderInfo> infosWithTimestamp(qint64 timestamp);
    // The same records in the same order, without their data: id, remind
    // time and reminded flag.
    QList<DueRecord> dueAt(qint64 timestamp);
    // Records whose searchable text contains `keyword` (case-insensitive,
    // every character literal), in descending order time; `limit` 0 means
    // no limit. An empty keyword matches every record. A NUL character, in
    // the text or the keyword, counts as U+FFFD: SQLite cannot compare text
    // past a NUL, so the stored copy of the text holds U+FFFD instead.
    QList<ReminderInfo> infosWithKeyword(const QString& keyword, int limit = 0);
    // The ids of those records, in the same order: what a search needs,
    // without reading whole records.
    QStringList idsWithKeyword(const QString& keyword, int limit = 0);
    // A single record; `found` tells whether it exists.
    ReminderInfo info(const QString& remindId, bool* found = nullptr);
    int count();

private:
    // Prepares and binds the keyword query for whole records; null on
    // failure. The caller holds the connection's lock.
    sqlite3_stmt* keywordQuery(const QString& keyword, int limit, const char* what);

    Connection* m_connection;
};

} // namespace storage
