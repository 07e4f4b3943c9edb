#pragma once

#include "reminder_global.h"
#include "reminderitem.h"

#include <QList>
#include <QString>
#include <QtGlobal>

#include <memory>

// A list's index from remind id to item: each item is kept under its own id
// (which never changes), at most one item per id.
//
// An open-addressing table with linear probing: one array of 32-bit tags
// (part of the id's hash, 0 for a free slot) and one of entries, each the
// item with its id's characters when the id is short (as the ids devices
// make are). A lookup reads the tags first and reaches an entry only where
// the tag matches, so a miss touches one or two cache lines and a hit of a
// short id two, never the item. The batch operations run their ids
// through stages (hash, probe, compare) as a rolling pipeline, each stage a
// few ids ahead of the next and asking for its memory early: at 100,000
// reminders each single lookup waits on several cache misses in turn, and
// a search looks up tens of thousands at once.
//
// Not thread-safe: the list guards it with its lock.
class REMINDER_EXPORT ItemIndex
{
public:
    ItemIndex() = default;
    ItemIndex(const ItemIndex&) = delete;
    ItemIndex& operator=(const ItemIndex&) = delete;
    ~ItemIndex();

    qsizetype size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    // Room for this many items in all without growing.
    void reserve(qsizetype count);
    // Drops every item and the table's memory.
    void clear();
    void swap(ItemIndex& other) noexcept;

    // The item under the id, or null.
    ReminderItemPtr value(const QString& remindId) const;
    bool contains(const QString& remindId) const;
    // Puts the item under its id; an item already there is replaced.
    void insertOrReplace(const ReminderItemPtr& item);
    // Puts the item under its id unless the id is taken; false then.
    bool insertNew(const ReminderItemPtr& item);
    // Takes the item under the id out (null when none).
    ReminderItemPtr take(const QString& remindId);

    // Appends to `found` the items under remindIds[0 .. count), in that
    // order; ids without an item are left out.
    void findMany(const QString* remindIds, qsizetype count, QList<ReminderItemPtr>& found) const;
    // Puts items[0 .. count) under their ids, in order, and stops before
    // the first item whose id is taken (by an earlier item or one of these):
    // the number put in. Null items are not allowed.
    qsizetype insertNewMany(const ReminderItemPtr* items, qsizetype count);
    // Puts every item under its id, replacing items there (a later one of
    // these wins). Null items are skipped.
    void insertOrReplaceMany(const ReminderItemPtr* items, qsizetype count);

private:
    // An id of up to kShort characters, none of them U+0000, is kept in the
    // entry itself, padded with zeros, so that a lookup compares it there;
    // a longer one is compared through the item (its tag says which).
    static constexpr qsizetype kShort = 8;
    struct Entry
    {
        ReminderItemPtr item;
        char16_t chars[kShort] = {};
    };
    static bool isShort(const QString& remindId);
    // The id padded as an entry keeps it (for a short id).
    static void pad(const QString& remindId, char16_t (&chars)[kShort]);
    bool holds(qsizetype slot, const QString& remindId) const;
    static quint32 tagOf(const QString& remindId);
    static const QString& idOf(const ReminderItemPtr& item) { return item->m_remindId; }
    void put(qsizetype slot, quint32 tag, const ReminderItemPtr& item);
    qsizetype homeOf(quint32 tag) const { return qsizetype(tag) & m_mask; }
    // The slot holding the id, or -1; `tag` is tagOf(remindId).
    qsizetype find(const QString& remindId, quint32 tag) const;
    // The first free slot from the tag's home on (the table has one).
    qsizetype freeSlot(quint32 tag) const;
    // Grows the table when one more item would pass the load limit.
    void makeRoomForOneMore();
    void rehash(qsizetype capacity);
    void eraseSlot(qsizetype slot);

    std::unique_ptr<quint32[]> m_tags;
    std::unique_ptr<Entry[]> m_entries;
    qsizetype m_capacity = 0; // a power of two, or 0
    qsizetype m_mask = 0;
    qsizetype m_size = 0;
};
