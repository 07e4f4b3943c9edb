#include "remindermodel.h"

#include "accountbase.h"
#include "cachehint.h"
#include "contentitem.h"
#include "fileitem.h"

#include "synclocker.h"

#include <QJSEngine>
#include <QSet>

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace {

// Asks for the lines of an item that placing it reads (its reference count,
// completion, times and id).
inline void willPlace(const ReminderItem* item)
{
    const char* p = reinterpret_cast<const char*>(item);
    cachehint::willRead(p - 16);
    cachehint::willRead(p + 64);
    cachehint::willRead(p + 128);
}

} // namespace

ReminderModel::ReminderModel(AccountBase* account, QObject* parent)
    : QAbstractListModel(parent),
      m_account(account)
{
    m_roleNames.insert(ReminderDataRole, QByteArrayLiteral("reminderData"));
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

ReminderModel::~ReminderModel()
{
    clear();
}

// ------------------------------------------------------------------ rows

int ReminderModel::rowCount(const QModelIndex& /*parent*/) const
{
    return visibleCount();
}

QVariant ReminderModel::data(const QModelIndex& index, int role) const
{
    const int row = index.row();
    if (!isValidRow(row) || role != ReminderDataRole)
        return QVariant();
    const int c = completedOffset();
    const ReminderItemPtr& item = row < c ? m_completedItems.at(row) : m_openItems.at(row - c);
    return QVariant::fromValue(item);
}

QHash<int, QByteArray> ReminderModel::roleNames() const
{
    return m_roleNames;
}

bool ReminderModel::isValidRow(int row) const
{
    return row >= 0 && row < rowCount();
}

int ReminderModel::completedOffset() const
{
    return m_completedShown ? int(m_completedItems.size()) : 0;
}

// ------------------------------------------------------------ properties

int ReminderModel::count() const
{
    return int(m_openItems.size() + m_completedItems.size());
}

int ReminderModel::visibleCount() const
{
    return int(m_openItems.size()) + completedOffset();
}

int ReminderModel::completedCount() const
{
    return int(m_completedItems.size());
}

void ReminderModel::setExpand(bool expand)
{
    if (m_expand == expand)
        return;
    m_expand = expand;
    emit expandChanged();
    // The completed rows appear or disappear; the sections stay as they are.
    // visibleCountChanged is intentionally not emitted here.
    showCompletedRows(m_expand);
}

void ReminderModel::showCompletedRows(bool show)
{
    if (m_completedShown == show)
        return;
    const int c = int(m_completedItems.size());
    if (c == 0) {
        m_completedShown = show;
        return;
    }
    if (show) {
        beginInsertRows(QModelIndex(), 0, c - 1);
        m_completedShown = true;
        endInsertRows();
    } else {
        beginRemoveRows(QModelIndex(), 0, c - 1);
        m_completedShown = false;
        endRemoveRows();
    }
}

// ----------------------------------------------------------------- order

qint64 ReminderModel::sortTime(const ReminderItemPtr& item)
{
    const qint64 order = item->orderTime();
    return order >= 1 ? order : item->timestamp();
}

int ReminderModel::findPosition(const ItemSequence& list, qint64 key, bool* found)
{
    *found = false;
    const int size = int(list.size());
    if (size == 0)
        return 0;
    if (key > sortTime(list.first()))
        return 0;
    if (key < sortTime(list.last()))
        return size;
    int lo = 0;
    int hi = size - 1;
    while (lo <= hi) {
        const int mid = lo + (hi - lo) / 2;
        const qint64 t = sortTime(list.at(mid));
        if (t == key) {
            *found = true;
            return mid;
        }
        if (t > key)
            lo = mid + 1;
        else
            hi = mid - 1;
    }
    return std::max(lo, hi);
}

void ReminderModel::placeBatch(ItemSequence& list, const QList<ReminderItemPtr>& batch)
{
    if (batch.isEmpty())
        return;

    // When the batch's sort times are distinct and the section is strictly
    // descending, placing the items one by one ends in a single possible
    // arrangement: every item between a newer and an older one, and a new
    // item whose time equals an existing item's just in front of it (the
    // only equal item the search can meet). It is built here by a merge
    // instead of one list insertion (and one shift of the tail) per item.
    // With a tie inside the batch, or a section out of order, the result
    // depends on the order of insertion and the items are placed one by one.
    std::vector<std::pair<qint64, qsizetype>> keyed;
    keyed.reserve(size_t(batch.size()));
    bool batchDescending = true;
    for (qsizetype i = 0; i < batch.size(); ++i) {
        const qint64 key = sortTime(batch.at(i));
        if (!keyed.empty() && keyed.back().first <= key)
            batchDescending = false;
        keyed.emplace_back(key, i);
    }
    bool distinct = true;
    if (!batchDescending) {
        std::sort(keyed.begin(), keyed.end(),
                  [](const auto& a, const auto& b) { return a.first > b.first; });
        for (size_t i = 1; i < keyed.size() && distinct; ++i)
            distinct = keyed[i - 1].first != keyed[i].first;
    }
    bool sectionDescending = true;
    for (qsizetype i = 1; i < list.size() && sectionDescending; ++i)
        sectionDescending = sortTime(list.at(i - 1)) > sortTime(list.at(i));

    if (distinct && sectionDescending) {
        if (list.isEmpty() || keyed.front().first < sortTime(list.last())) {
            // Everything goes after the current end (the usual load path).
            list.reserve(list.size() + batch.size());
            for (const auto& k : keyed)
                list.append(batch.at(k.second));
            return;
        }
        QList<ReminderItemPtr> merged;
        merged.reserve(list.size() + batch.size());
        qsizetype i = 0;
        size_t j = 0;
        while (i < list.size() && j < keyed.size()) {
            if (sortTime(list.at(i)) > keyed[j].first)
                merged.append(list.at(i++));
            else
                merged.append(batch.at(keyed[j++].second));
        }
        for (; i < list.size(); ++i)
            merged.append(list.at(i));
        for (; j < keyed.size(); ++j)
            merged.append(batch.at(keyed[j].second));
        list.assign(merged);
        return;
    }

    for (const ReminderItemPtr& item : batch) {
        bool found = false;
        list.insert(findPosition(list, sortTime(item), &found), item);
    }
}

// --------------------------------------------------------------- changes

void ReminderModel::insert(ReminderItemPtr item)
{
    if (!item)
        return;
    {
        SyncLocker locker(&m_indexLock);
        if (!m_index.insertNew(item))
            return;
    }

    bool found = false;
    if (item->completed()) {
        const int p = findPosition(m_completedItems, sortTime(item), &found);
        if (m_completedShown) {
            beginInsertRows(QModelIndex(), p, p);
            m_completedItems.insert(p, item);
            endInsertRows();
        } else {
            m_completedItems.insert(p, item);
        }
        emit completedCountChanged();
    } else {
        const int p = findPosition(m_openItems, sortTime(item), &found);
        const int row = p + completedOffset();
        beginInsertRows(QModelIndex(), row, row);
        m_openItems.insert(p, item);
        endInsertRows();
        indexOpen(item);
    }
    emit countChanged();
    emit visibleCountChanged();
}

void ReminderModel::insertEach(QList<ReminderItemPtr> items)
{
    // Each section's new items must come in strictly descending sort time,
    // after the section's last item, and be new: then inserting them one by
    // one appends each in turn, and so does this. Strictly descending
    // times also mean that no item comes twice.
    std::vector<char> isCompleted(size_t(items.size()), 0);
    bool appendsOnly = true;
    {
        qint64 lastOpen = m_openItems.isEmpty() ? std::numeric_limits<qint64>::max()
                                                : sortTime(m_openItems.constLast());
        qint64 lastCompleted = m_completedItems.isEmpty() ? std::numeric_limits<qint64>::max()
                                                          : sortTime(m_completedItems.constLast());
        bool anyOpen = !m_openItems.isEmpty();
        bool anyCompleted = !m_completedItems.isEmpty();
        // The items were last touched on the search's thread: those a few
        // places ahead are asked for while this one is read.
        constexpr qsizetype kAhead = 8;
        for (qsizetype i = 0; i < items.size() && appendsOnly; ++i) {
            if (i + kAhead < items.size() && items.at(i + kAhead))
                willPlace(items.at(i + kAhead).data());
            const ReminderItemPtr& item = items.at(i);
            if (!item) {
                appendsOnly = false;
                break;
            }
            const qint64 key = sortTime(item);
            const bool done = item->completed();
            isCompleted[size_t(i)] = done;
            qint64& last = done ? lastCompleted : lastOpen;
            bool& any = done ? anyCompleted : anyOpen;
            if (any && key >= last)
                appendsOnly = false;
            last = key;
            any = true;
        }
    }
    // One lookup per item: each is entered into the index at once, and
    // should one of them be there already, those entered are taken out
    // again and the items go in one by one.
    if (appendsOnly) {
        SyncLocker locker(&m_indexLock);
        const qsizetype entered = m_index.insertNewMany(items.constData(), items.size());
        if (entered < items.size()) {
            appendsOnly = false;
            for (qsizetype i = 0; i < entered; ++i)
                m_index.take(items.at(i)->remindId());
        }
    }
    if (!appendsOnly) {
        for (const ReminderItemPtr& item : std::as_const(items))
            insert(item);
        return;
    }
    QList<ReminderItemPtr> open;
    QList<ReminderItemPtr> completed;
    for (qsizetype i = 0; i < items.size(); ++i)
        (isCompleted[size_t(i)] ? completed : open).append(std::move(items[i]));
    items.clear();
    if (open.isEmpty() && completed.isEmpty())
        return;

    if (!completed.isEmpty()) {
        const int first = int(m_completedItems.size());
        if (m_completedShown)
            beginInsertRows(QModelIndex(), first, first + int(completed.size()) - 1);
        m_completedItems.append(std::move(completed));
        if (m_completedShown)
            endInsertRows();
    }
    if (!open.isEmpty()) {
        const int first = int(m_openItems.size()) + completedOffset();
        beginInsertRows(QModelIndex(), first, first + int(open.size()) - 1);
        m_openItems.append(open);
        endInsertRows();
        if (m_showIndexBuilt) {
            for (const ReminderItemPtr& item : std::as_const(open))
                indexOpen(item);
        }
    }
    if (!completed.isEmpty())
        emit completedCountChanged();
    emit countChanged();
    emit visibleCountChanged();
}

void ReminderModel::insertItems(const QList<ReminderItemPtr>& items)
{
    if (items.isEmpty())
        return;
    // Rows 0 .. n-1 are announced whatever rows the items take (and even
    // when some of them are hidden completed items); callers rely on this.
    beginInsertRows(QModelIndex(), 0, int(items.size()) - 1);
    bool openAdded = false;
    {
        SyncLocker locker(&m_indexLock);
        QList<ReminderItemPtr> open;
        QList<ReminderItemPtr> completed;
        for (const ReminderItemPtr& item : items) {
            if (item)
                (item->completed() ? completed : open).append(item);
        }
        // No duplicate check: a later item takes the id over.
        m_index.insertOrReplaceMany(items.constData(), items.size());
        placeBatch(m_openItems, open);
        placeBatch(m_completedItems, completed);
        openAdded = !open.isEmpty();
    }
    // Built again, sorted once, when next needed.
    if (openAdded)
        dropShowIndex();
    endInsertRows();
    emit completedCountChanged();
    emit countChanged();
}

QList<ReminderItemPtr> ReminderModel::itemsByIds(const QStringList& remindIds, qsizetype from,
                                                qsizetype count) const
{
    const qsizetype end = std::min(remindIds.size(), from + count);
    QList<ReminderItemPtr> items;
    items.reserve(std::max<qsizetype>(0, end - from));
    if (end <= from)
        return items;
    SyncLocker locker(&m_indexLock);
    m_index.findMany(remindIds.constData() + from, end - from, items);
    return items;
}

void ReminderModel::reserveIndex(qsizetype more)
{
    SyncLocker locker(&m_indexLock);
    m_index.reserve(m_index.size() + more);
}

ReminderItemPtr ReminderModel::itemById(const QString& remindId) const
{
    SyncLocker locker(&m_indexLock);
    return m_index.value(remindId);
}

int ReminderModel::getReminderIndex(QString remindId)
{
    const ReminderItemPtr item = itemById(remindId);
    if (!item)
        return -1;
    bool found = false;
    if (item->completed()) {
        const int p = findPosition(m_completedItems, sortTime(item), &found);
        if (!found)
            return -1;
        if (!m_expand)
            setExpand(true);
        // The completed section is the first one.
        return p;
    }
    const int p = findPosition(m_openItems, sortTime(item), &found);
    return found ? p + completedOffset() : -1;
}

void ReminderModel::remove(ReminderItemPtr item, bool release)
{
    if (!item)
        return;
    const qsizetype openPos = m_openItems.indexOf(item);
    if (openPos >= 0) {
        const int row = int(openPos) + completedOffset();
        beginRemoveRows(QModelIndex(), row, row);
        m_openItems.removeAt(openPos);
        endRemoveRows();
        unindexOpen(item);
    } else {
        const qsizetype pos = m_completedItems.indexOf(item);
        if (pos < 0)
            return;
        // A hidden completed item has no row to announce.
        if (m_completedShown) {
            beginRemoveRows(QModelIndex(), int(pos), int(pos));
            m_completedItems.removeAt(pos);
            endRemoveRows();
        } else {
            m_completedItems.removeAt(pos);
        }
        emit completedCountChanged();
    }

    if (release) {
        ReminderItemPtr dropped;
        {
            SyncLocker locker(&m_indexLock);
            dropped = m_index.take(item->remindId());
        }
        const QSharedPointer<ContentItem> content = item->contentPtr();
        if (content && content->type() != ContentItem::TextType) {
            if (auto* file = qobject_cast<FileItem*>(content.data()))
                file->deleteFile(true);
        }
    }
    // visibleCountChanged is intentionally not emitted on removal.
    emit countChanged();
}

void ReminderModel::removeById(const QString& remindId)
{
    const ReminderItemPtr item = itemById(remindId);
    if (item)
        remove(item, true);
}

void ReminderModel::removeByIds(const QStringList& remindIds)
{
    for (const QString& id : remindIds)
        removeById(id);
}

void ReminderModel::resort(ReminderItemPtr item)
{
    if (!item)
        return;
    remove(item, false);
    ReminderItemPtr dropped;
    {
        SyncLocker locker(&m_indexLock);
        dropped = m_index.take(item->remindId());
    }
    insert(item);
}

void ReminderModel::move(int from, int to, QList<ReminderItemPtr>& changed)
{
    if (from == to || from < 0 || from >= rowCount())
        return;

    const int c = int(m_completedItems.size());
    const int a = int(m_openItems.size());
    ItemSequence* section = &m_openItems;
    int offset = 0;
    if (!m_completedShown) {
        if (to < 0 || to >= a)
            return;
    } else if (from >= c) {
        if (to < c || to >= c + a)
            return;
        offset = c;
    } else {
        if (to < 0 || to >= c)
            return;
        section = &m_completedItems;
    }

    const int destination = to > from ? to + 1 : to;
    if (!beginMoveRows(QModelIndex(), from, from, QModelIndex(), destination))
        return;
    section->move(from - offset, to - offset);
    endMoveRows();

    // New order times keep the section descending; setOrderTime refuses a
    // value below 1, in which case the item keeps its order time.
    ItemSequence& list = *section;
    const int t = to - offset;
    const int last = int(list.size()) - 1;
    const ReminderItemPtr moved = list.at(t);
    if (t == 0)
        moved->setOrderTime(sortTime(list.at(1)) + 1);
    else
        moved->setOrderTime(sortTime(list.at(t - 1)) - 1);
    changed.append(moved);
    if (t == 0 || t == last)
        return;
    for (int j = t + 1; j <= last; ++j) {
        const qint64 before = sortTime(list.at(j - 1));
        const ReminderItemPtr& current = list.at(j);
        if (before > sortTime(current))
            break;
        current->setOrderTime(before - 1);
        changed.append(current);
    }
}

void ReminderModel::reset()
{
    beginResetModel();
    ItemIndex dropped;
    {
        SyncLocker locker(&m_indexLock);
        dropped.swap(m_index);
    }
    m_openItems.clear();
    m_completedItems.clear();
    dropShowIndex();
    endResetModel();
    emit completedCountChanged();
    emit countChanged();
}

void ReminderModel::clear()
{
    ItemIndex dropped;
    {
        SyncLocker locker(&m_indexLock);
        dropped.swap(m_index);
    }
    m_openItems.clear();
    m_completedItems.clear();
    dropShowIndex();
}

// --------------------------------------------------------------- queries

void ReminderModel::allIds(QStringList& ids) const
{
    ids.reserve(ids.size() + m_completedItems.size() + m_openItems.size());
    for (const ReminderItemPtr& item : m_completedItems)
        ids.append(item->remindId());
    for (const ReminderItemPtr& item : m_openItems)
        ids.append(item->remindId());
}

void ReminderModel::completedIds(QStringList& ids) const
{
    ids.reserve(ids.size() + m_completedItems.size());
    for (const ReminderItemPtr& item : m_completedItems)
        ids.append(item->remindId());
}

void ReminderModel::forEachCompletedId(const std::function<void(const QString&)>& fn) const
{
    if (!fn)
        return;
    for (const ReminderItemPtr& item : m_completedItems)
        fn(item->remindId());
}

int ReminderModel::overdueCount()
{
    if (!m_account)
        return 0;
    if (!m_showIndexBuilt) {
        std::vector<const ReminderItem*> items;
        items.reserve(size_t(m_openItems.size()));
        for (const ReminderItemPtr& item : std::as_const(m_openItems))
            items.push_back(item.data());
        for (const ReminderItem* item : m_showIndex.assign(items)) {
            if (!m_showConnections.contains(item))
                m_showConnections.insert(item, connectShowTime(item));
        }
        m_showIndexBuilt = true;
    }
    return m_showIndex.countBetween(0, m_account->currentServerTime());
}

QMetaObject::Connection ReminderModel::connectShowTime(const ReminderItem* item)
{
    // Direct: the count must see the new time as soon as the setter returns.
    return connect(item, &ReminderItem::showRemindTimeChanged, this, [this, item] { m_showIndex.update(item); },
                   Qt::DirectConnection);
}

void ReminderModel::indexOpen(const ReminderItemPtr& item)
{
    // Most items tell the index of a new time themselves; only one held by
    // more indexes than it has room for needs the signal.
    if (m_showIndexBuilt && m_showIndex.add(item.data()) == ShowTimeIndex::Added::NeedsSignal)
        m_showConnections.insert(item.data(), connectShowTime(item.data()));
}

void ReminderModel::unindexOpen(const ReminderItemPtr& item)
{
    if (m_showIndexBuilt && m_showIndex.remove(item.data())) {
        const auto it = m_showConnections.constFind(item.data());
        if (it != m_showConnections.constEnd()) {
            disconnect(it.value());
            m_showConnections.erase(it);
        }
    }
}

void ReminderModel::dropShowIndex()
{
    for (const QMetaObject::Connection& connection : std::as_const(m_showConnections))
        disconnect(connection);
    m_showConnections.clear();
    m_showIndex.clear();
    m_showIndexBuilt = false;
}
