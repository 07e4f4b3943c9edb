#pragma once

#include <QHash>
#include <QtGlobal>

#include <vector>

class ReminderItem;

// The shown remind times of a list's items, kept sorted, so that the items
// due before a moment are counted by a binary search instead of a walk that
// reads every item. The sorted times are held in blocks of a few hundred,
// so that adding or dropping one moves a block's worth of values, not the
// whole list's (a listing adds its reminders one by one, anywhere). An item can be held more than once (a list may hold the
// same item twice); each copy counts. The caller reports every change of a
// held item's shown remind time through update().
class ShowTimeIndex
{
public:
    // Holds exactly these items (one copy per occurrence), sorted once.
    void assign(const std::vector<const ReminderItem*>& items);
    // Adds one copy of the item at its current shown remind time; true when
    // the item was not held before.
    bool add(const ReminderItem* item);
    // Drops one copy; true when that was the item's last one. An item that
    // is not held is ignored (false).
    bool remove(const ReminderItem* item);
    // Moves every copy of a held item to its current shown remind time.
    void update(const ReminderItem* item);
    // Copies whose time t satisfies after < t < before.
    int countBetween(qint64 after, qint64 before) const;
    void clear();

private:
    struct Entry
    {
        qint64 time = 0;
        int copies = 0;
    };
    void insertTime(qint64 time, int copies);
    void eraseTime(qint64 time, int copies);
    // Copies whose time is below `time` (or at most `time`, with orEqual).
    qsizetype countBelow(qint64 time, bool orEqual) const;
    // The first block whose last time is not below `time` (or above it,
    // with orEqual); the block count when there is none.
    size_t blockFor(qint64 time, bool orEqual) const;

    QHash<const ReminderItem*, Entry> m_entries;
    // Ascending, one value per copy: every block is sorted, none is empty,
    // and each block's values come before the next block's.
    std::vector<std::vector<qint64>> m_blocks;
};
