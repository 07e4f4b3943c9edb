#pragma once

#include "reminder_global.h"
#include "reminderitem.h"

#include <QList>

#include <vector>

// One section of the reminder list: its items in row order, kept in blocks
// of a few hundred. A listing from the server inserts its reminders one by
// one at rows all over the list; in one flat list each insertion moved every
// row after it (tens of thousands at 100,000 reminders), here it moves the
// rest of one block and steps the blocks' first rows. Reading a row finds
// its block by binary search.
class REMINDER_EXPORT ItemSequence
{
public:
    class const_iterator
    {
    public:
        const_iterator(const ItemSequence* sequence, size_t block, size_t offset)
            : m_sequence(sequence), m_block(block), m_offset(offset)
        {
        }
        const ReminderItemPtr& operator*() const { return m_sequence->m_blocks[m_block][m_offset]; }
        const ReminderItemPtr* operator->() const { return &**this; }
        const_iterator& operator++()
        {
            if (++m_offset == m_sequence->m_blocks[m_block].size()) {
                ++m_block;
                m_offset = 0;
            }
            return *this;
        }
        bool operator==(const const_iterator& o) const { return m_block == o.m_block && m_offset == o.m_offset; }
        bool operator!=(const const_iterator& o) const { return !(*this == o); }

    private:
        const ItemSequence* m_sequence;
        size_t m_block;
        size_t m_offset;
    };

    ItemSequence() = default;

    qsizetype size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    const ReminderItemPtr& at(qsizetype i) const;
    const ReminderItemPtr& first() const { return m_blocks.front().front(); }
    const ReminderItemPtr& last() const { return m_blocks.back().back(); }
    const ReminderItemPtr& constLast() const { return last(); }
    // Index of the item, or -1.
    qsizetype indexOf(const ReminderItemPtr& item) const;

    void insert(qsizetype i, const ReminderItemPtr& item);
    void append(const ReminderItemPtr& item) { insert(m_size, item); }
    void append(const QList<ReminderItemPtr>& items);
    void append(QList<ReminderItemPtr>&& items);
    void removeAt(qsizetype i);
    // As QList::move: the item at `from` ends up at `to`.
    void move(qsizetype from, qsizetype to);
    void clear();
    void reserve(qsizetype) { }
    // Every item, in order, replacing what was there.
    void assign(const QList<ReminderItemPtr>& items);

    const_iterator begin() const { return const_iterator(this, 0, 0); }
    const_iterator end() const { return const_iterator(this, m_blocks.size(), 0); }

private:
    // The block holding row i, and i's place in it.
    std::pair<size_t, size_t> locate(qsizetype i) const;
    // m_starts from block `from` on, after a block changed size.
    void restart(size_t from);

    std::vector<std::vector<ReminderItemPtr>> m_blocks; // none empty
    std::vector<qsizetype> m_starts;                    // each block's first row
    qsizetype m_size = 0;
};
