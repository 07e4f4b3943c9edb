#include "showtimeindex.h"

#include "reminderitem.h"

#include <algorithm>

namespace {
// Values per block: large enough that counting sums few blocks, small
// enough that an insertion moves little.
constexpr size_t kBlockSize = 512;
} // namespace

ShowTimeIndex::~ShowTimeIndex()
{
    clear();
}

ShowTimeIndex::Entry* ShowTimeIndex::entryOf(const ReminderItem* item)
{
    for (ReminderItem::ShowTimeSlot& slot : item->m_showTimeSlots) {
        if (slot.index == this)
            return &slot.entry;
    }
    const auto it = m_overflow.find(item);
    return it == m_overflow.end() ? nullptr : &it.value();
}

ShowTimeIndex::Added ShowTimeIndex::hold(const ReminderItem* item, Entry** entry)
{
    if ((*entry = entryOf(item)))
        return Added::Again;
    for (ReminderItem::ShowTimeSlot& slot : item->m_showTimeSlots) {
        if (slot.index)
            continue;
        slot.index = this;
        slot.entry = Entry { item->showRemindTime(), 0, quint32(m_watching.size()) };
        m_watching.push_back(item);
        *entry = &slot.entry;
        return Added::Watched;
    }
    *entry = &m_overflow.insert(item, Entry { item->showRemindTime(), 0, 0 }).value();
    return Added::NeedsSignal;
}

void ShowTimeIndex::release(const ReminderItem* item)
{
    for (ReminderItem::ShowTimeSlot& slot : item->m_showTimeSlots) {
        if (slot.index != this)
            continue;
        const ReminderItem* last = m_watching.back();
        m_watching[slot.entry.position] = last;
        for (ReminderItem::ShowTimeSlot& moved : last->m_showTimeSlots) {
            if (moved.index == this)
                moved.entry.position = slot.entry.position;
        }
        m_watching.pop_back();
        slot = ReminderItem::ShowTimeSlot();
        return;
    }
    m_overflow.remove(item);
}

std::vector<const ReminderItem*> ShowTimeIndex::assign(const std::vector<const ReminderItem*>& items)
{
    clear();
    m_watching.reserve(items.size());
    std::vector<const ReminderItem*> needSignal;
    std::vector<qint64> times;
    times.reserve(items.size());
    for (const ReminderItem* item : items) {
        Entry* entry = nullptr;
        if (hold(item, &entry) == Added::NeedsSignal)
            needSignal.push_back(item);
        ++entry->copies;
        times.push_back(entry->time);
    }
    std::sort(times.begin(), times.end());
    for (size_t first = 0; first < times.size(); first += kBlockSize)
        m_blocks.emplace_back(times.begin() + qsizetype(first),
                              times.begin() + qsizetype(std::min(times.size(), first + kBlockSize)));
    return needSignal;
}

ShowTimeIndex::Added ShowTimeIndex::add(const ReminderItem* item)
{
    Entry* entry = nullptr;
    const Added added = hold(item, &entry);
    ++entry->copies;
    insertTime(entry->time, 1);
    return added;
}

bool ShowTimeIndex::remove(const ReminderItem* item)
{
    Entry* entry = entryOf(item);
    if (!entry)
        return false;
    eraseTime(entry->time, 1);
    if (--entry->copies > 0)
        return false;
    release(item);
    return true;
}

void ShowTimeIndex::forget(const ReminderItem* item)
{
    if (Entry* entry = entryOf(item)) {
        eraseTime(entry->time, entry->copies);
        release(item);
    }
}

void ShowTimeIndex::update(const ReminderItem* item)
{
    Entry* entry = entryOf(item);
    if (!entry)
        return;
    const qint64 time = item->showRemindTime();
    if (time == entry->time)
        return;
    eraseTime(entry->time, entry->copies);
    entry->time = time;
    insertTime(time, entry->copies);
}

int ShowTimeIndex::countBetween(qint64 after, qint64 before) const
{
    if (before <= after)
        return 0;
    return int(countBelow(before, false) - countBelow(after, true));
}

void ShowTimeIndex::clear()
{
    for (const ReminderItem* item : m_watching) {
        for (ReminderItem::ShowTimeSlot& slot : item->m_showTimeSlots) {
            if (slot.index == this)
                slot = ReminderItem::ShowTimeSlot();
        }
    }
    m_watching.clear();
    m_overflow.clear();
    m_blocks.clear();
}

size_t ShowTimeIndex::blockFor(qint64 time, bool orEqual) const
{
    const auto it = std::partition_point(m_blocks.begin(), m_blocks.end(), [time, orEqual](const std::vector<qint64>& b) {
        return orEqual ? b.back() <= time : b.back() < time;
    });
    return size_t(it - m_blocks.begin());
}

qsizetype ShowTimeIndex::countBelow(qint64 time, bool orEqual) const
{
    const size_t block = blockFor(time, orEqual);
    qsizetype count = 0;
    for (size_t i = 0; i < block; ++i)
        count += qsizetype(m_blocks[i].size());
    if (block < m_blocks.size()) {
        const std::vector<qint64>& b = m_blocks[block];
        const auto end = orEqual ? std::upper_bound(b.begin(), b.end(), time) : std::lower_bound(b.begin(), b.end(), time);
        count += end - b.begin();
    }
    return count;
}

void ShowTimeIndex::insertTime(qint64 time, int copies)
{
    if (m_blocks.empty()) {
        m_blocks.emplace_back(size_t(copies), time);
        return;
    }
    size_t block = blockFor(time, true);
    if (block == m_blocks.size())
        --block; // beyond every held time: the last block takes it
    std::vector<qint64>& b = m_blocks[block];
    b.insert(std::upper_bound(b.begin(), b.end(), time), size_t(copies), time);
    if (b.size() >= 2 * kBlockSize) {
        std::vector<qint64> upper(b.begin() + qsizetype(b.size() / 2), b.end());
        b.resize(b.size() / 2);
        m_blocks.insert(m_blocks.begin() + qsizetype(block) + 1, std::move(upper));
    }
}

void ShowTimeIndex::eraseTime(qint64 time, int copies)
{
    // Equal values are interchangeable: any `copies` of them will do, in
    // whichever blocks they lie.
    while (copies > 0) {
        const size_t block = blockFor(time, false);
        if (block == m_blocks.size())
            return;
        std::vector<qint64>& b = m_blocks[block];
        const auto first = std::lower_bound(b.begin(), b.end(), time);
        const auto last = std::upper_bound(first, b.end(), time);
        const int here = int(std::min<qsizetype>(last - first, copies));
        if (here == 0)
            return;
        b.erase(first, first + here);
        copies -= here;
        if (b.empty())
            m_blocks.erase(m_blocks.begin() + qsizetype(block));
    }
}
