#pragma once

#include <QString>
#include <QtGlobal>

#include <vector>

struct sqlite3;

namespace storage {

// The search side's rows held in memory: for each row (by its rowid, which
// is the record's) the record's id and order time. A keyword's matches come
// out of the trigram index as rowids; with this directory they become ids in
// the list's order without one table lookup per match, which at tens of
// thousands of matches costs several times the index query itself.
//
// Filled from the table on first use, then kept in step by temporary
// triggers of the connection (SQL functions calling into this object), so
// that a write made through any statement of the connection reaches it.
// A transaction or statement that fails leaves it unknown: it is read again
// from the table at its next use. Used under the connection's lock.
class SearchDirectory
{
public:
    struct Entry
    {
        qint64 orderTime = 0;
        QString id; // empty: no row with this rowid
    };

    SearchDirectory() = default;
    SearchDirectory(const SearchDirectory&) = delete;
    SearchDirectory& operator=(const SearchDirectory&) = delete;

    // Ready to answer: attached to the connection and filled. Fills it from
    // the search table when it is not; false when that fails (the caller
    // then asks the tables).
    bool ensure(sqlite3* db);
    bool isValid() const { return m_valid; }
    // Forgets everything; the next ensure() reads the table again.
    void invalidate();
    // The same when the search table is about to be dropped (its temporary
    // triggers go with it): the next ensure() makes them again.
    void detach()
    {
        invalidate();
        m_attached = false;
    }

    // The row's entry, or null when no row has this rowid (or the directory
    // is not valid).
    const Entry* find(qint64 rowid) const
    {
        if (!m_valid || rowid < 0 || quint64(rowid) >= m_entries.size())
            return nullptr;
        const Entry& e = m_entries[size_t(rowid)];
        return e.id.isEmpty() ? nullptr : &e;
    }
    // Asks for the row's entry to be brought into the cache: find() on
    // matches in rowid order otherwise waits on one cache miss per match.
    void willFind(qint64 rowid) const;
    qsizetype count() const { return m_count; }

    // Called by the connection's triggers (and the fill).
    void put(qint64 rowid, const QString& id, qint64 orderTime);
    void setOrderTime(qint64 rowid, qint64 orderTime);
    void drop(qint64 rowid);

private:
    bool attach(sqlite3* db);
    bool fill(sqlite3* db);

    std::vector<Entry> m_entries; // indexed by rowid
    qsizetype m_count = 0;
    bool m_attached = false;
    bool m_valid = false;
};

} // namespace storage
