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
// held item's shown remind time through update(), except for an item that
// watches this index itself (add() says which).
//
// An item keeps this index's entry for it (its time and copies) in one of
// its own few slots and calls update() when its shown time changes: a
// listing that adds a hundred thousand items would otherwise pay for a
// hash entry and a signal connection per item. Only an item whose slots are
// all taken (held by more indexes than it has slots) is kept in a hash
// here and needs its caller's signal.
class ShowTimeIndex
{
public:
    ShowTimeIndex() = default;
    ~ShowTimeIndex();
    ShowTimeIndex(const ShowTimeIndex&) = delete;
    ShowTimeIndex& operator=(const ShowTimeIndex&) = delete;

    enum class Added {
        Again,       // held before: one more copy
        Watched,     // new; the item reports its changes itself
        NeedsSignal, // new; the caller must report its changes (update())
    };
    // Holds exactly these items (one copy per occurrence), sorted once;
    // returns the items that need the caller's signal (normally none).
    std::vector<const ReminderItem*> assign(const std::vector<const ReminderItem*>& items);
    // Adds one copy of the item at its current shown remind time.
    Added add(const ReminderItem* item);
    // Drops one copy; true when that was the item's last one. An item that
    // is not held is ignored (false).
    bool remove(const ReminderItem* item);
    // Moves every copy of a held item to its current shown remind time.
    void update(const ReminderItem* item);
    // Drops every copy of an item that is going away.
    void forget(const ReminderItem* item);
    // Copies whose time t satisfies after < t < before.
    int countBetween(qint64 after, qint64 before) const;
    void clear();

    // What the index holds of an item: its time as last seen, and how many
    // copies of it.
    struct Entry
    {
        qint64 time = 0;
        qint32 copies = 0;
        // The item's place among those watching the index (in a slot only).
        quint32 position = 0;
    };

private:
    // The item's entry, in its slot or in the hash; null when not held.
    Entry* entryOf(const ReminderItem* item);
    Added hold(const ReminderItem* item, Entry** entry);
    void release(const ReminderItem* item);
    void insertTime(qint64 time, int copies);
    void eraseTime(qint64 time, int copies);
    // Copies whose time is below `time` (or at most `time`, with orEqual).
    qsizetype countBelow(qint64 time, bool orEqual) const;
    // The first block whose last time is not below `time` (or above it,
    // with orEqual); the block count when there is none.
    size_t blockFor(qint64 time, bool orEqual) const;

    // The items that keep their entry in a slot of theirs; each slot knows
    // its item's place here, so that releasing one is a swap with the last.
    std::vector<const ReminderItem*> m_watching;
    // The items whose slots were all taken.
    QHash<const ReminderItem*, Entry> m_overflow;
    // Ascending, one value per copy: every block is sorted, none is empty,
    // and each block's values come before the next block's.
    std::vector<std::vector<qint64>> m_blocks;
};
