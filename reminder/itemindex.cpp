#include "itemindex.h"

#include "cachehint.h"

#include <QHashFunctions>
#include <QStringView>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace {

// How far each stage of the batch operations' rolling pipelines runs ahead
// of the next: enough to keep many cache misses in flight, few enough that
// what one stage asked for is still in the cache when the next reads it.
constexpr qsizetype kAhead = 16;
constexpr qsizetype kSmallest = 16;
// A tag's top bit marks a used slot, the next one an id kept in its item
// only; the rest is the id's hash.
constexpr quint32 kUsed = 0x80000000u;
constexpr quint32 kLong = 0x40000000u;
constexpr quint32 kHashBits = 0x3fffffffu;

using cachehint::willRead;

// Asks for the line of the item's reference count, which copying the
// pointer writes: an item made by ReminderItemPtr::create() keeps it just
// in front of itself (for any other item this asks for a line in vain).
inline void willCountReference(const ReminderItemPtr& item)
{
    cachehint::willWrite(reinterpret_cast<const char*>(item.data()) - 16);
}

// The table holds at most 4/5 of its slots.
inline bool overLoad(qsizetype size, qsizetype capacity)
{
    return size * 5 > capacity * 4;
}

qsizetype capacityFor(qsizetype count)
{
    qsizetype capacity = kSmallest;
    while (overLoad(count, capacity))
        capacity *= 2;
    return capacity;
}

} // namespace

ItemIndex::~ItemIndex() = default;

bool ItemIndex::isShort(const QString& remindId)
{
    if (remindId.size() > kShort)
        return false;
    for (const QChar c : remindId) {
        if (c.unicode() == 0)
            return false;
    }
    return true;
}

void ItemIndex::pad(const QString& remindId, char16_t (&chars)[kShort])
{
    std::fill(std::begin(chars), std::end(chars), char16_t(0));
    std::memcpy(chars, remindId.constData(), size_t(remindId.size()) * sizeof(char16_t));
}

quint32 ItemIndex::tagOf(const QString& remindId)
{
    const size_t h = qHash(QStringView(remindId), QHashSeed::globalSeed());
    return (quint32(quint64(h) ^ (quint64(h) >> 32)) & kHashBits) | kUsed | (isShort(remindId) ? 0 : kLong);
}

bool ItemIndex::holds(qsizetype slot, const QString& remindId) const
{
    const Entry& entry = m_entries[slot];
    if (m_tags[slot] & kLong)
        return idOf(entry.item) == remindId;
    // Same tag, so the id is short too.
    char16_t chars[kShort];
    pad(remindId, chars);
    return std::memcmp(entry.chars, chars, sizeof chars) == 0;
}

void ItemIndex::put(qsizetype slot, quint32 tag, const ReminderItemPtr& item)
{
    m_tags[slot] = tag;
    Entry& entry = m_entries[slot];
    entry.item = item;
    if (tag & kLong)
        std::fill(std::begin(entry.chars), std::end(entry.chars), char16_t(0));
    else
        pad(idOf(item), entry.chars);
}

void ItemIndex::reserve(qsizetype count)
{
    const qsizetype capacity = capacityFor(std::max(count, m_size));
    if (capacity > m_capacity)
        rehash(capacity);
}

void ItemIndex::clear()
{
    m_tags.reset();
    m_entries.reset();
    m_capacity = 0;
    m_mask = 0;
    m_size = 0;
}

void ItemIndex::swap(ItemIndex& other) noexcept
{
    std::swap(m_tags, other.m_tags);
    std::swap(m_entries, other.m_entries);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_mask, other.m_mask);
    std::swap(m_size, other.m_size);
}

qsizetype ItemIndex::find(const QString& remindId, quint32 tag) const
{
    if (m_size == 0)
        return -1;
    for (qsizetype s = homeOf(tag);; s = (s + 1) & m_mask) {
        const quint32 t = m_tags[s];
        if (t == 0)
            return -1;
        if (t == tag && holds(s, remindId))
            return s;
    }
}

qsizetype ItemIndex::freeSlot(quint32 tag) const
{
    qsizetype s = homeOf(tag);
    while (m_tags[s] != 0)
        s = (s + 1) & m_mask;
    return s;
}

void ItemIndex::makeRoomForOneMore()
{
    if (m_capacity == 0 || overLoad(m_size + 1, m_capacity))
        rehash(capacityFor(m_size + 1));
}

void ItemIndex::rehash(qsizetype capacity)
{
    std::unique_ptr<quint32[]> oldTags = std::move(m_tags);
    std::unique_ptr<Entry[]> oldEntries = std::move(m_entries);
    const qsizetype oldCapacity = m_capacity;
    m_tags.reset(new quint32[size_t(capacity)]());
    m_entries.reset(new Entry[size_t(capacity)]);
    m_capacity = capacity;
    m_mask = capacity - 1;
    for (qsizetype i = 0; i < oldCapacity; ++i) {
        if (oldTags[i] == 0)
            continue;
        const qsizetype s = freeSlot(oldTags[i]);
        m_tags[s] = oldTags[i];
        m_entries[s] = std::move(oldEntries[i]);
    }
}

void ItemIndex::eraseSlot(qsizetype slot)
{
    // Backward shift: every later item of the run that may sit closer to
    // its home moves up, so that no lookup meets a gap before its item.
    qsizetype hole = slot;
    for (qsizetype j = (hole + 1) & m_mask; m_tags[j] != 0; j = (j + 1) & m_mask) {
        const qsizetype home = homeOf(m_tags[j]);
        if (((j - home) & m_mask) >= ((j - hole) & m_mask)) {
            m_tags[hole] = m_tags[j];
            m_entries[hole] = std::move(m_entries[j]);
            hole = j;
        }
    }
    m_tags[hole] = 0;
    m_entries[hole] = Entry();
    --m_size;
}

ReminderItemPtr ItemIndex::value(const QString& remindId) const
{
    const qsizetype s = find(remindId, tagOf(remindId));
    return s < 0 ? ReminderItemPtr() : m_entries[s].item;
}

bool ItemIndex::contains(const QString& remindId) const
{
    return find(remindId, tagOf(remindId)) >= 0;
}

void ItemIndex::insertOrReplace(const ReminderItemPtr& item)
{
    const QString& id = idOf(item);
    const quint32 tag = tagOf(id);
    const qsizetype s = find(id, tag);
    if (s >= 0) {
        put(s, tag, item);
        return;
    }
    makeRoomForOneMore();
    put(freeSlot(tag), tag, item);
    ++m_size;
}

bool ItemIndex::insertNew(const ReminderItemPtr& item)
{
    const QString& id = idOf(item);
    const quint32 tag = tagOf(id);
    if (find(id, tag) >= 0)
        return false;
    makeRoomForOneMore();
    put(freeSlot(tag), tag, item);
    ++m_size;
    return true;
}

ReminderItemPtr ItemIndex::take(const QString& remindId)
{
    const qsizetype s = find(remindId, tagOf(remindId));
    if (s < 0)
        return {};
    ReminderItemPtr item = std::move(m_entries[s].item);
    eraseSlot(s);
    return item;
}

void ItemIndex::findMany(const QString* remindIds, qsizetype count, QList<ReminderItemPtr>& found) const
{
    if (m_size == 0 || count <= 0)
        return;
    // A rolling pipeline: while id i is compared, the item of the entry
    // found for id i + D is asked for (copying the pointer writes its
    // reference count), the entry of i + 2D is found by its tag, and id
    // i + 3D is hashed and its tags asked for.
    std::vector<quint32> tags(size_t(count), 0);
    std::vector<qsizetype> where(size_t(count), -1);
    for (qsizetype i = 0; i < count + 3 * kAhead; ++i) {
        if (const qsizetype a = i; a < count) {
            tags[a] = tagOf(remindIds[a]);
            willRead(&m_tags[homeOf(tags[a])]);
        }
        // The first slot with the same tag: nearly always the item.
        if (const qsizetype b = i - kAhead; b >= 0 && b < count) {
            for (qsizetype s = homeOf(tags[b]);; s = (s + 1) & m_mask) {
                const quint32 t = m_tags[s];
                if (t == 0)
                    break;
                if (t == tags[b]) {
                    where[b] = s;
                    willRead(&m_entries[s]);
                    break;
                }
            }
        }
        if (const qsizetype c = i - 2 * kAhead; c >= 0 && c < count && where[c] >= 0) {
            if (tags[c] & kLong)
                willRead(&idOf(m_entries[where[c]].item));
            willCountReference(m_entries[where[c]].item);
        }
        if (const qsizetype e = i - 3 * kAhead; e >= 0 && e < count) {
            qsizetype s = where[e];
            if (s >= 0 && !holds(s, remindIds[e]))
                s = find(remindIds[e], tags[e]);
            if (s >= 0)
                found.append(m_entries[s].item);
        }
    }
}

qsizetype ItemIndex::insertNewMany(const ReminderItemPtr* items, qsizetype count)
{
    reserve(m_size + count);
    // The same rolling pipeline: item, its id's string, the id's slot,
    // then the entry itself, in order.
    std::vector<quint32> tags(size_t(std::max<qsizetype>(count, 0)), 0);
    for (qsizetype i = 0; i < count + 3 * kAhead; ++i) {
        if (const qsizetype a = i; a < count)
            willRead(&idOf(items[a]));
        if (const qsizetype b = i - kAhead; b >= 0 && b < count)
            willRead(idOf(items[b]).constData());
        if (const qsizetype c = i - 2 * kAhead; c >= 0 && c < count) {
            tags[c] = tagOf(idOf(items[c]));
            willRead(&m_tags[homeOf(tags[c])]);
            willRead(&m_entries[homeOf(tags[c])]);
        }
        if (const qsizetype d = i - 3 * kAhead; d >= 0 && d < count) {
            if (find(idOf(items[d]), tags[d]) >= 0)
                return d;
            put(freeSlot(tags[d]), tags[d], items[d]);
            ++m_size;
        }
    }
    return std::max<qsizetype>(count, 0);
}

void ItemIndex::insertOrReplaceMany(const ReminderItemPtr* items, qsizetype count)
{
    reserve(m_size + count);
    // The rolling pipeline of insertNewMany; null items are skipped.
    std::vector<quint32> tags(size_t(std::max<qsizetype>(count, 0)), 0);
    for (qsizetype i = 0; i < count + 3 * kAhead; ++i) {
        if (const qsizetype a = i; a < count && items[a])
            willRead(&idOf(items[a]));
        if (const qsizetype b = i - kAhead; b >= 0 && b < count && items[b])
            willRead(idOf(items[b]).constData());
        if (const qsizetype c = i - 2 * kAhead; c >= 0 && c < count && items[c]) {
            tags[c] = tagOf(idOf(items[c]));
            willRead(&m_tags[homeOf(tags[c])]);
        }
        if (const qsizetype d = i - 3 * kAhead; d >= 0 && d < count && items[d]) {
            const qsizetype s = find(idOf(items[d]), tags[d]);
            if (s >= 0) {
                put(s, tags[d], items[d]);
                continue;
            }
            put(freeSlot(tags[d]), tags[d], items[d]);
            ++m_size;
        }
    }
}
