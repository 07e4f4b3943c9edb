#include "showtimeindex.h"

#include "reminderitem.h"

#include <algorithm>

namespace {
// Values per block: large enough that counting sums few blocks, small
// enough that an insertion moves little.
constexpr size_t kBlockSize = 512;
} // namespace

void ShowTimeIndex::assign(const std::vector<const ReminderItem*>& items)
{
    clear();
    m_entries.reserve(qsizetype(items.size()));
    std::vector<qint64> times;
    times.reserve(items.size());
    for (const ReminderItem* item : items) {
        auto it = m_entries.find(item);
        if (it == m_entries.end())
            it = m_entries.insert(item, Entry { item->showRemindTime(), 0 });
        ++it->copies;
        times.push_back(it->time);
    }
    std::sort(times.begin(), times.end());
    for (size_t first = 0; first < times.size(); first += kBlockSize)
        m_blocks.emplace_back(times.begin() + qsizetype(first),
                              times.begin() + qsizetype(std::min(times.size(), first + kBlockSize)));
}

bool ShowTimeIndex::add(const ReminderItem* item)
{
    auto it = m_entries.find(item);
    const bool first = it == m_entries.end();
    if (first)
        it = m_entries.insert(item, Entry { item->showRemindTime(), 0 });
    ++it->copies;
    insertTime(it->time, 1);
    return first;
}

bool ShowTimeIndex::remove(const ReminderItem* item)
{
    auto it = m_entries.find(item);
    if (it == m_entries.end())
        return false;
    eraseTime(it->time, 1);
    if (--it->copies > 0)
        return false;
    m_entries.erase(it);
    return true;
}

void ShowTimeIndex::update(const ReminderItem* item)
{
    auto it = m_entries.find(item);
    if (it == m_entries.end())
        return;
    const qint64 time = item->showRemindTime();
    if (time == it->time)
        return;
    eraseTime(it->time, it->copies);
    it->time = time;
    insertTime(time, it->copies);
}

int ShowTimeIndex::countBetween(qint64 after, qint64 before) const
{
    if (before <= after)
        return 0;
    return int(countBelow(before, false) - countBelow(after, true));
}

void ShowTimeIndex::clear()
{
    m_entries.clear();
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
