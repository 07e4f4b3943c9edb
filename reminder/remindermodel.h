#pragma once

#include "reminder_global.h"
#include "reminderitem.h"
#include "itemindex.h"
#include "itemsequence.h"
#include "showtimeindex.h"

#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QRecursiveMutex>
#include <QString>
#include <QStringList>

#include <functional>

class AccountBase;

// The list of reminders a QML list view binds to.
//
// Reminders are kept in two sections, open and completed, each sorted by
// descending sort time (the item's order time when it is at least 1, else
// its server time stamp): the newest first. While `expand` is false only the
// open reminders have rows; while it is true the completed reminders come
// first (rows 0 .. C-1) and the open ones follow (rows C .. C+A-1).
//
// An index from remind id to item lets callers find an item by id. The index
// alone is guarded by a recursive lock, so itemById() may be called from any
// thread; everything else (the two sections, the rows and every signal)
// belongs to the GUI thread. The lock is never held while a model signal is
// emitted.
//
// Some announcements are intentionally loose and callers rely on them:
// inserting many items announces rows 0 .. n-1 whatever rows the items end
// up in (even when part of them are hidden completed items); removals and
// expand changes never emit visibleCountChanged; inserting many items emits
// completedCountChanged and countChanged only.
class REMINDER_EXPORT ReminderModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int visibleCount READ visibleCount NOTIFY visibleCountChanged)
    Q_PROPERTY(int completedCount READ completedCount NOTIFY completedCountChanged)
    Q_PROPERTY(bool expand READ expand WRITE setExpand NOTIFY expandChanged)

public:
    // The one role: the row's ReminderItemPtr.
    enum Roles { ReminderDataRole = Qt::UserRole + 1 };

    // account: not owned; only its clock is used (overdueCount). The model
    // starts empty and collapsed and is owned by the program, not by QML.
    explicit ReminderModel(AccountBase* account, QObject* parent = nullptr);
    ~ReminderModel() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    // Role ReminderDataRole of a shown row: the ReminderItemPtr. Anything
    // else (a row outside the shown rows, another role) is an invalid
    // variant. The column is ignored.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Open plus completed items.
    int count() const;
    // The shown rows: open items, plus the completed ones when expanded.
    int visibleCount() const;
    int completedCount() const;
    bool expand() const { return m_expand; }
    // Stores the value and emits expandChanged, then (when there are
    // completed items) announces rows 0 .. C-1 as inserted or removed.
    void setExpand(bool expand);

    // Adds a whole list at once (used to fill the list from storage).
    // Announces rows 0 .. n-1 before placing anything, whatever sections
    // the items go to and whether completed items are shown. Ids are not
    // checked for duplicates: a later item replaces an earlier one in the
    // index (both stay in the lists). Emits completedCountChanged, then
    // countChanged. Null entries are skipped when placing.
    void insertItems(const QList<ReminderItemPtr>& items);

    // The item stored under the id, or a null pointer. Safe from any thread.
    ReminderItemPtr itemById(const QString& remindId) const;

    // Takes the item (found by pointer identity) out of its section. With
    // release, its id leaves the index and a file body lets go of its files
    // (FileItem::deleteFile(true)). Emits completedCountChanged for a
    // completed item, then countChanged; never visibleCountChanged. A
    // completed item removed while collapsed has no row to announce.
    void remove(ReminderItemPtr item, bool release);
    // remove(item, true) for the item stored under the id; unknown ids are
    // skipped.
    void removeById(const QString& remindId);
    void removeByIds(const QStringList& remindIds);

    // Places the item again after its sort time or completion changed:
    // removes it without release, drops its id from the index and inserts it.
    void resort(ReminderItemPtr item);

    // Drag reordering within one section: moves row `from` to row `to` and
    // gives the moved item (and, when needed, the items after it) new order
    // times so that the section stays in descending order. Every item whose
    // order time was set is appended to `changed`, the moved item first.
    // Calls that cross sections or name rows outside the list are ignored.
    void move(int from, int to, QList<ReminderItemPtr>& changed);

    // Appends the remind id of every completed item, in list order.
    void completedIds(QStringList& ids) const;
    // Appends the remind id of every item, completed ones first, each
    // section in list order (the rows' order when expanded).
    void allIds(QStringList& ids) const;
    // Calls fn with the remind id of every completed item, in list order.
    void forEachCompletedId(const std::function<void(const QString&)>& fn) const;

    // Open items whose shown remind time is set (> 0) and earlier than the
    // account's current time. Without an account there is no clock: 0.
    // The first call indexes the open items' shown remind times, which the
    // model then keeps up to date, so that later calls are a binary search.
    int overdueCount();

    // Empties the model inside a model reset, then emits
    // completedCountChanged and countChanged.
    void reset();
    // Empties the model without any signal (used while tearing down).
    void clear();

    // Whether the row is one of the shown rows.
    bool isValidRow(int row) const;

signals:
    void countChanged();
    void visibleCountChanged();
    void completedCountChanged();
    void expandChanged();

public slots:
    // Adds one item at its sorted place; an item whose id is already
    // present, or a null item, is refused silently.
    void insert(ReminderItemPtr item);
    // The row of the item stored under the id, or -1. For a completed item
    // the list is expanded first when needed so that the row is shown. The
    // row is found by sort time: with tied sort times it may be the row of
    // another item with the same time.
    int getReminderIndex(QString remindId);

private:
    // The search takes its results in through insertEach.
    friend class ReminderHandler;
    // The same as insert() for each item in turn, with one row
    // announcement per section when every item lands after the section's
    // last (the results of a search, in the store's order): the count
    // signals then come once.
    void insertEach(QList<ReminderItemPtr> items);
    // The items stored under remindIds[from .. from + count), in that
    // order; ids without an item are left out. One lock for all.
    QList<ReminderItemPtr> itemsByIds(const QStringList& remindIds, qsizetype from, qsizetype count) const;
    // Room in the id index for this many more items, made at once rather
    // than grown chunk by chunk. Safe from any thread.
    void reserveIndex(qsizetype more);

    static qint64 sortTime(const ReminderItemPtr& item);
    // Where key goes in a list sorted by descending sort time; *found tells
    // that the position holds an item with that very sort time.
    static int findPosition(const ItemSequence& list, qint64 key, bool* found);
    // Places a batch (in its order) into one section, with the result of
    // placing the items one by one with findPosition.
    static void placeBatch(ItemSequence& list, const QList<ReminderItemPtr>& batch);
    // Makes the row layout follow `show` (completed rows shown or not),
    // announcing the completed rows around the change.
    void showCompletedRows(bool show);
    int completedOffset() const;
    // The index of the open items' shown remind times, once built.
    void indexOpen(const ReminderItemPtr& item);
    void unindexOpen(const ReminderItemPtr& item);
    void dropShowIndex();
    QMetaObject::Connection connectShowTime(const ReminderItem* item);

    QHash<int, QByteArray> m_roleNames;
    AccountBase* m_account = nullptr;
    ItemSequence m_openItems;
    ItemSequence m_completedItems;
    ItemIndex m_index;
    mutable QRecursiveMutex m_indexLock;
    bool m_expand = false;
    // The layout the rows currently follow. It trails m_expand only while
    // expandChanged is being emitted, so that the row announcements that
    // follow match what rowCount() reports before and after them.
    bool m_completedShown = false;
    // Built by the first overdueCount(); kept in step by the item's
    // showRemindTimeChanged while the item is open.
    bool m_showIndexBuilt = false;
    ShowTimeIndex m_showIndex;
    QHash<const ReminderItem*, QMetaObject::Connection> m_showConnections;
};
