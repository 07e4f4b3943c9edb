#include "showtimeindex.h"

#include "reminderitem.h"

#include <algorithm>

void ShowTimeIndex::assign(const std::vector<const ReminderItem*>& items)
{
    clear();
    m_entries.reserve(qsizetype(items.size()));
    m_times.reserve(items.size());
    for (const ReminderItem* item : items) {
        auto it = m_entries.find(item);
        if (it == m_entries.end())
            it = m_entries.insert(item, Entry { item->showRemindTime(), 0 });
        ++it->copies;
        m_times.push_back(it->time);
    }
    std::sort(m_times.begin(), m_times.end());
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
    const auto first = std::upper_bound(m_times.begin(), m_times.end(), after);
    const auto last = std::lower_bound(first, m_times.end(), before);
    return int(last - first);
}

void ShowTimeIndex::clear()
{
    m_entries.clear();
    m_times.clear();
}

void ShowTimeIndex::insertTime(qint64 time, int copies)
{
    m_times.insert(std::upper_bound(m_times.begin(), m_times.end(), time), size_t(copies), time);
}

void ShowTimeIndex::eraseTime(qint64 time, int copies)
{
    // Equal values are interchangeable: any `copies` of them will do.
    const auto first = std::lower_bound(m_times.begin(), m_times.end(), time);
    m_times.erase(first, first + copies);
}
