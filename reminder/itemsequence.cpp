#include "itemsequence.h"

#include <algorithm>
#include <iterator>

namespace {

// A block is split in two once it holds twice this many.
constexpr size_t kBlock = 256;

} // namespace

const ReminderItemPtr& ItemSequence::at(qsizetype i) const
{
    Q_ASSERT(i >= 0 && i < m_size);
    const auto [block, offset] = locate(i);
    return m_blocks[block][offset];
}

std::pair<size_t, size_t> ItemSequence::locate(qsizetype i) const
{
    const auto next = std::upper_bound(m_starts.begin(), m_starts.end(), i);
    const size_t block = size_t(std::distance(m_starts.begin(), next)) - 1;
    return {block, size_t(i - m_starts[block])};
}

void ItemSequence::restart(size_t from)
{
    m_starts.resize(m_blocks.size());
    qsizetype start = from == 0 ? 0 : m_starts[from - 1] + qsizetype(m_blocks[from - 1].size());
    for (size_t b = from; b < m_blocks.size(); ++b) {
        m_starts[b] = start;
        start += qsizetype(m_blocks[b].size());
    }
}

qsizetype ItemSequence::indexOf(const ReminderItemPtr& item) const
{
    for (size_t b = 0; b < m_blocks.size(); ++b) {
        const auto& items = m_blocks[b];
        const auto it = std::find(items.begin(), items.end(), item);
        if (it != items.end())
            return m_starts[b] + qsizetype(it - items.begin());
    }
    return -1;
}

void ItemSequence::insert(qsizetype i, const ReminderItemPtr& item)
{
    Q_ASSERT(i >= 0 && i <= m_size);
    size_t block;
    size_t offset;
    if (m_blocks.empty()) {
        m_blocks.emplace_back();
        block = 0;
        offset = 0;
    } else if (i == m_size) {
        block = m_blocks.size() - 1;
        offset = m_blocks[block].size();
    } else {
        std::tie(block, offset) = locate(i);
    }
    std::vector<ReminderItemPtr>& items = m_blocks[block];
    items.insert(items.begin() + std::ptrdiff_t(offset), item);
    ++m_size;
    if (items.size() >= 2 * kBlock) {
        std::vector<ReminderItemPtr> tail(std::make_move_iterator(items.begin() + std::ptrdiff_t(kBlock)),
                                          std::make_move_iterator(items.end()));
        items.erase(items.begin() + std::ptrdiff_t(kBlock), items.end());
        m_blocks.insert(m_blocks.begin() + std::ptrdiff_t(block) + 1, std::move(tail));
    }
    restart(block);
}

void ItemSequence::append(const QList<ReminderItemPtr>& items)
{
    for (const ReminderItemPtr& item : items) {
        if (m_blocks.empty() || m_blocks.back().size() >= kBlock) {
            m_blocks.emplace_back();
            m_blocks.back().reserve(kBlock);
            m_starts.push_back(m_size);
        }
        m_blocks.back().push_back(item);
        ++m_size;
    }
}

void ItemSequence::append(QList<ReminderItemPtr>&& items)
{
    for (ReminderItemPtr& item : items) {
        if (m_blocks.empty() || m_blocks.back().size() >= kBlock) {
            m_blocks.emplace_back();
            m_blocks.back().reserve(kBlock);
            m_starts.push_back(m_size);
        }
        m_blocks.back().push_back(std::move(item));
        ++m_size;
    }
    items.clear();
}

void ItemSequence::removeAt(qsizetype i)
{
    Q_ASSERT(i >= 0 && i < m_size);
    const auto [block, offset] = locate(i);
    std::vector<ReminderItemPtr>& items = m_blocks[block];
    items.erase(items.begin() + std::ptrdiff_t(offset));
    --m_size;
    if (items.empty())
        m_blocks.erase(m_blocks.begin() + std::ptrdiff_t(block));
    restart(block);
}

void ItemSequence::move(qsizetype from, qsizetype to)
{
    if (from == to)
        return;
    const ReminderItemPtr item = at(from);
    removeAt(from);
    insert(to, item);
}

void ItemSequence::clear()
{
    m_blocks.clear();
    m_starts.clear();
    m_size = 0;
}

void ItemSequence::assign(const QList<ReminderItemPtr>& items)
{
    clear();
    append(items);
}
