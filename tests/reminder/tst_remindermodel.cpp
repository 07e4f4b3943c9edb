// ReminderModel: its two sorted sections, the row layout, every signal it
// emits, drag renumbering, the id index (also from another thread) and the
// overdue count.
#include "contentitem.h"
#include "fileitem.h"
#include "networksubject.h"
#include "remindermodel.h"
#include "testaccount.h"

#include <QAbstractItemModelTester>
#include <QJSEngine>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QRandomGenerator>
#include <QSet>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr int kRole = Qt::UserRole + 1;
constexpr auto kTesterMode = QAbstractItemModelTester::FailureReportingMode::QtTest;
constexpr qint64 kNoRemindTime = std::numeric_limits<qint64>::min();

ReminderItemPtr makeItem(const QString& id, qint64 orderTime, bool completed = false,
                         qint64 timestamp = 0)
{
    ReminderItemPtr item(new ReminderItem(id));
    item->setTimestamp(timestamp);
    item->setOrderTime(orderTime);
    item->setCompleted(completed);
    return item;
}

// The test's own statement of the sort key.
qint64 keyOf(const ReminderItemPtr& item)
{
    return item->orderTime() >= 1 ? item->orderTime() : item->timestamp();
}

ReminderItemPtr itemAt(const ReminderModel& model, int row)
{
    return model.data(model.index(row, 0), kRole).value<ReminderItemPtr>();
}

QStringList rowIds(const ReminderModel& model)
{
    QStringList ids;
    for (int r = 0; r < model.rowCount(); ++r) {
        const ReminderItemPtr item = itemAt(model, r);
        ids << (item ? item->remindId() : QStringLiteral("<null>"));
    }
    return ids;
}

QList<qint64> rowKeys(const ReminderModel& model)
{
    QList<qint64> keys;
    for (int r = 0; r < model.rowCount(); ++r)
        keys << keyOf(itemAt(model, r));
    return keys;
}

QList<qint64> rowOrderTimes(const ReminderModel& model)
{
    QList<qint64> times;
    for (int r = 0; r < model.rowCount(); ++r)
        times << itemAt(model, r)->orderTime();
    return times;
}

QStringList idsOf(const QList<ReminderItemPtr>& items)
{
    QStringList ids;
    for (const auto& item : items)
        ids << item->remindId();
    return ids;
}

quint32 testSeed()
{
    bool ok = false;
    const quint32 fromEnv = qEnvironmentVariable("REMINDER_MODEL_SEED").toUInt(&ok);
    return ok ? fromEnv : 20240611u;
}

// Records every signal of a model: the names in emission order, and one
// QSignalSpy per signal for its arguments.
class SignalLog : public QObject
{
    Q_OBJECT
public:
    explicit SignalLog(QAbstractItemModel* model)
    {
        const QMetaObject* mo = model->metaObject();
        const QMetaMethod recorder = staticMetaObject.method(staticMetaObject.indexOfSlot("record()"));
        for (int i = 0; i < mo->methodCount(); ++i) {
            const QMetaMethod m = mo->method(i);
            if (m.methodType() != QMetaMethod::Signal || (m.attributes() & QMetaMethod::Cloned))
                continue;
            connect(model, m, this, recorder, Qt::DirectConnection);
            m_spies[m.name()] = std::make_unique<QSignalSpy>(model, m);
        }
    }

    QStringList names;

    void clear()
    {
        names.clear();
        for (auto& s : m_spies)
            s.second->clear();
    }

    int count(const char* name) const { return int(spy(name).count()); }

    // The row arguments of rowsInserted / rowsRemoved / their about-to
    // forms ("first..last"), or of rowsMoved ("first..last->destination").
    // A valid parent is reported as "child:" so that it fails comparisons.
    QStringList rows(const char* name) const
    {
        QStringList out;
        for (const QList<QVariant>& args : spy(name)) {
            QString text;
            if (args.value(0).value<QModelIndex>().isValid())
                text += QStringLiteral("child:");
            text += QStringLiteral("%1..%2").arg(args.value(1).toInt()).arg(args.value(2).toInt());
            if (args.size() == 5) {
                if (args.value(3).value<QModelIndex>().isValid())
                    text += QStringLiteral("child:");
                text += QStringLiteral("->%1").arg(args.value(4).toInt());
            }
            out << text;
        }
        return out;
    }

private slots:
    void record()
    {
        names << QString::fromLatin1(sender()->metaObject()->method(senderSignalIndex()).name());
    }

private:
    const QSignalSpy& spy(const char* name) const
    {
        const auto it = m_spies.find(QByteArray(name));
        if (it == m_spies.end())
            qFatal("no such signal: %s", name);
        return *it->second;
    }

    std::map<QByteArray, std::unique_ptr<QSignalSpy>> m_spies;
};

const QStringList kInsertRow{QStringLiteral("rowsAboutToBeInserted"), QStringLiteral("rowsInserted")};
const QStringList kRemoveRow{QStringLiteral("rowsAboutToBeRemoved"), QStringLiteral("rowsRemoved")};
const QStringList kMoveRow{QStringLiteral("rowsAboutToBeMoved"), QStringLiteral("rowsMoved")};

// A model with the open items (by order time) and the completed items.
void fill(ReminderModel& model, const QList<qint64>& open, const QList<qint64>& completed)
{
    for (qint64 t : open)
        model.insert(makeItem(QStringLiteral("o%1").arg(t), t));
    for (qint64 t : completed)
        model.insert(makeItem(QStringLiteral("c%1").arg(t), t, true));
}

// A model that shows the protected index factory, to reach other columns.
class ColumnProbe : public ReminderModel
{
public:
    using ReminderModel::ReminderModel;
    QModelIndex indexAt(int row, int column) const { return createIndex(row, column); }
};

} // namespace

class TestReminderModel : public QObject
{
    Q_OBJECT
private slots:
    void cleanup();

    // Surface
    void roleNamesHoldOnlyReminderData();
    void newModelIsEmptyCollapsedAndOwnedByTheProgram();
    void propertiesSignalsAndSlotsAreDeclaredInOrder();
    void slotsAreCallableThroughTheMetaObject();
    void expandIsWritableAsAProperty();

    // Single insertion
    void insertingNullItemIsIgnored();
    void insertingDuplicateIdChangesNothing_data();
    void insertingDuplicateIdChangesNothing();
    void newOpenItemLandsBySortTime_data();
    void newOpenItemLandsBySortTime();
    void equalSortTimeLandsInFrontOfTheEqualItemTheSearchMeetsFirst();
    void sortTimeIsOrderTimeElseTimestamp_data();
    void sortTimeIsOrderTimeElseTimestamp();
    void openItemRowIsOffsetByShownCompletedRows();
    void completedItemWhileCollapsedHasNoRowSignal();
    void completedItemWhileExpandedAnnouncesItsRow();

    // Rows and data
    void rowsShowCompletedSectionFirstWhenExpanded();
    void dataOutsideRowsOrRolesIsInvalid_data();
    void dataOutsideRowsOrRolesIsInvalid();
    void dataIgnoresTheColumn();
    void rowCountIgnoresTheParent();
    void isValidRowCoversExactlyTheShownRows_data();
    void isValidRowCoversExactlyTheShownRows();

    // Expand
    void settingExpandAnnouncesCompletedRows_data();
    void settingExpandAnnouncesCompletedRows();
    void settingExpandToCurrentValueEmitsNothing();
    void expandChangedComesBeforeTheRowsChange();

    // Lookup
    void getReminderIndexOfUnknownIdIsMinusOne();
    void getReminderIndexOfOpenItemCountsShownCompletedRows_data();
    void getReminderIndexOfOpenItemCountsShownCompletedRows();
    void getReminderIndexOfCompletedItemExpands();
    void getReminderIndexOfCompletedItemWhileExpandedEmitsNothing();
    void getReminderIndexOfTiedItemGivesRowOfEqualItemMetFirst();
    void getReminderIndexAfterSortTimeChangedWithoutResortIsMinusOne_data();
    void getReminderIndexAfterSortTimeChangedWithoutResortIsMinusOne();
    void itemByIdFindsStoredItemOrNull();

    // Removal
    void removingOpenItemAnnouncesItsRow_data();
    void removingOpenItemAnnouncesItsRow();
    void removingCompletedItemWhileExpandedAnnouncesItsRow();
    void removingCompletedItemWhileCollapsedEmitsNoRowSignal();
    void removalAndExpandDoNotEmitVisibleCountChanged();
    void removingNullOrUnheldItemEmitsNothing();
    void removeReleasesIdAndFileBody_data();
    void removeReleasesIdAndFileBody();
    void removeByIdsRemovesKnownIdsAndSkipsUnknown();
    void resortPlacesItemAgainAfterSortTimeChange();
    void resortMovesItemBetweenSections();

    // Drag reordering
    void movingFirstOpenRowToTopGivesOrderTimePlusOne();
    void movingRowRenumbersToKeepDescendingOrder_data();
    void movingRowRenumbersToKeepDescendingOrder();
    void movingWithinSectionsWhileExpandedUsesLocalPositions_data();
    void movingWithinSectionsWhileExpandedUsesLocalPositions();
    void moveOutsideOneSectionIsIgnored_data();
    void moveOutsideOneSectionIsIgnored();
    void orderTimeThatWouldBeZeroOrNegativeIsKept_data();
    void orderTimeThatWouldBeZeroOrNegativeIsKept();

    // Bulk insertion
    void insertManyAnnouncesRowsZeroToNMinusOne_data();
    void insertManyAnnouncesRowsZeroToNMinusOne();
    void insertManyWhileCollapsedAnnouncesHiddenCompletedRowsToo();
    void insertManyOfEmptyListDoesNothing();
    void insertManyKeepsDuplicateIdsAndIndexesTheLastOne();
    void insertManySkipsNullEntriesButAnnouncesTheirRows();
    void insertManyPlacesItemsLikeSingleInserts_data();
    void insertManyPlacesItemsLikeSingleInserts();

    // Queries, reset and clear
    void completedIdsFollowListOrder();
    void overdueCountCountsOpenItemsBeforeNow_data();
    void overdueCountCountsOpenItemsBeforeNow();
    void overdueCountWithoutAccountIsZero();
    void overdueCountOfAnItemInManyListsFollowsItsTime();
    void overdueCountFollowsEveryChangeOfTheList_data();
    void overdueCountFollowsEveryChangeOfTheList();
    void resetEmitsModelReset();
    void clearEmptiesWithoutReset();

    // Properties
    void randomInsertsAndRemovalsKeepSectionsSorted_data();
    void randomInsertsAndRemovalsKeepSectionsSorted();
    void itemByIdFromWorkerThreadWhileInserting();
};

void TestReminderModel::cleanup()
{
    network::NetworkSubject::instance()->releaseFixedTime();
}

// ------------------------------------------------------------------ surface

void TestReminderModel::roleNamesHoldOnlyReminderData()
{
    ReminderModel model(nullptr);
    QCOMPARE(int(ReminderModel::ReminderDataRole), 257);
    const QHash<int, QByteArray> expected{{257, QByteArrayLiteral("reminderData")}};
    QCOMPARE(model.roleNames(), expected);
}

void TestReminderModel::newModelIsEmptyCollapsedAndOwnedByTheProgram()
{
    TestAccount account;
    ReminderModel model(account.get());
    QVERIFY(!model.parent());
    QCOMPARE(QJSEngine::objectOwnership(&model), QJSEngine::CppOwnership);
    QCOMPARE(model.count(), 0);
    QCOMPARE(model.visibleCount(), 0);
    QCOMPARE(model.completedCount(), 0);
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.expand(), false);
    QCOMPARE(model.overdueCount(), 0);

    QObject owner;
    ReminderModel* child = new ReminderModel(nullptr, &owner);
    QCOMPARE(child->parent(), &owner);
    QCOMPARE(QJSEngine::objectOwnership(child), QJSEngine::CppOwnership);
}

void TestReminderModel::propertiesSignalsAndSlotsAreDeclaredInOrder()
{
    const QMetaObject& mo = ReminderModel::staticMetaObject;
    const QList<QByteArray> propNames{"count", "visibleCount", "completedCount", "expand"};
    const QList<QByteArray> propTypes{"int", "int", "int", "bool"};
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), int(propNames.size()));
    for (int i = 0; i < propNames.size(); ++i) {
        const QMetaProperty p = mo.property(mo.propertyOffset() + i);
        QCOMPARE(QByteArray(p.name()), propNames.at(i));
        QCOMPARE(QByteArray(p.typeName()), propTypes.at(i));
        QCOMPARE(QByteArray(p.notifySignal().name()), propNames.at(i) + "Changed");
        QCOMPARE(p.isWritable(), propNames.at(i) == "expand");
    }

    const QList<QByteArray> methods{"countChanged()", "visibleCountChanged()",
                                    "completedCountChanged()", "expandChanged()",
                                    "insert(ReminderItemPtr)", "getReminderIndex(QString)"};
    QCOMPARE(mo.methodCount() - mo.methodOffset(), int(methods.size()));
    for (int i = 0; i < methods.size(); ++i) {
        const QMetaMethod m = mo.method(mo.methodOffset() + i);
        QCOMPARE(m.methodSignature(), methods.at(i));
        QCOMPARE(m.methodType(), i < 4 ? QMetaMethod::Signal : QMetaMethod::Slot);
        QCOMPARE(m.access(), QMetaMethod::Public);
    }
    QCOMPARE(QByteArray(mo.method(mo.methodOffset() + 5).typeName()), QByteArray("int"));
}

void TestReminderModel::slotsAreCallableThroughTheMetaObject()
{
    ReminderModel model(nullptr);
    fill(model, {300, 100}, {});
    const ReminderItemPtr item = makeItem(QStringLiteral("via-meta"), 200);
    QVERIFY(QMetaObject::invokeMethod(&model, "insert", Q_ARG(ReminderItemPtr, item)));
    QCOMPARE(model.count(), 3);
    int row = -2;
    QVERIFY(QMetaObject::invokeMethod(&model, "getReminderIndex", Q_RETURN_ARG(int, row),
                                      Q_ARG(QString, QStringLiteral("via-meta"))));
    QCOMPARE(row, 1);
}

void TestReminderModel::expandIsWritableAsAProperty()
{
    ReminderModel model(nullptr);
    fill(model, {100}, {50});
    SignalLog log(&model);
    QVERIFY(model.setProperty("expand", true));
    QCOMPARE(model.property("expand").toBool(), true);
    QCOMPARE(model.property("visibleCount").toInt(), 2);
    QCOMPARE(log.names, QStringList{QStringLiteral("expandChanged")} + kInsertRow);
}

// --------------------------------------------------------- single insertion

void TestReminderModel::insertingNullItemIsIgnored()
{
    ReminderModel model(nullptr);
    fill(model, {100}, {});
    SignalLog log(&model);
    model.insert(ReminderItemPtr());
    QCOMPARE(log.names, QStringList());
    QCOMPARE(model.count(), 1);
}

void TestReminderModel::insertingDuplicateIdChangesNothing_data()
{
    QTest::addColumn<bool>("completed");
    QTest::addColumn<bool>("expanded");
    QTest::addColumn<bool>("samePointer");
    QTest::newRow("open, other object") << false << false << false;
    QTest::newRow("open, same object") << false << false << true;
    QTest::newRow("completed, collapsed") << true << false << false;
    QTest::newRow("completed, expanded") << true << true << false;
}

void TestReminderModel::insertingDuplicateIdChangesNothing()
{
    QFETCH(bool, completed);
    QFETCH(bool, expanded);
    QFETCH(bool, samePointer);
    ReminderModel model(nullptr);
    fill(model, {300, 100}, {250});
    model.setExpand(expanded);
    const ReminderItemPtr original = makeItem(QStringLiteral("dup"), 200, completed);
    model.insert(original);
    const QStringList before = rowIds(model);
    QStringList completedBefore;
    model.completedIds(completedBefore);

    SignalLog log(&model);
    const ReminderItemPtr again =
        samePointer ? original : makeItem(QStringLiteral("dup"), 400, !completed);
    model.insert(again);

    QCOMPARE(log.names, QStringList());
    QCOMPARE(model.count(), 4);
    QCOMPARE(rowIds(model), before);
    QStringList completedAfter;
    model.completedIds(completedAfter);
    QCOMPARE(completedAfter, completedBefore);
    QCOMPARE(model.itemById(QStringLiteral("dup")), original);
}

void TestReminderModel::newOpenItemLandsBySortTime_data()
{
    QTest::addColumn<qint64>("key");
    QTest::addColumn<int>("row");
    QTest::addColumn<QStringList>("order");
    QTest::newRow("250 between") << qint64(250) << 1
                                 << QStringList{"o300", "new", "o200", "o100"};
    QTest::newRow("400 newest") << qint64(400) << 0
                                << QStringList{"new", "o300", "o200", "o100"};
    QTest::newRow("50 oldest") << qint64(50) << 3
                               << QStringList{"o300", "o200", "o100", "new"};
    QTest::newRow("200 in front of equal") << qint64(200) << 1
                                           << QStringList{"o300", "new", "o200", "o100"};
}

void TestReminderModel::newOpenItemLandsBySortTime()
{
    QFETCH(qint64, key);
    QFETCH(int, row);
    QFETCH(QStringList, order);
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 200, 100}, {});
    SignalLog log(&model);

    const ReminderItemPtr item = makeItem(QStringLiteral("new"), key);
    model.insert(item);

    QCOMPARE(log.names, (kInsertRow + QStringList{"countChanged", "visibleCountChanged"}));
    const QString range = QStringLiteral("%1..%1").arg(row);
    QCOMPARE(log.rows("rowsInserted"), QStringList{range});
    QCOMPARE(log.rows("rowsAboutToBeInserted"), QStringList{range});
    QCOMPARE(rowIds(model), order);
    QCOMPARE(itemAt(model, row), item);
    QCOMPARE(model.count(), 4);
    QCOMPARE(model.visibleCount(), 4);
    QCOMPARE(model.itemById(QStringLiteral("new")), item);
}

void TestReminderModel::equalSortTimeLandsInFrontOfTheEqualItemTheSearchMeetsFirst()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    SignalLog log(&model);
    // Each step follows the binary search: an equal key is placed at the
    // first equal item the search probes, not necessarily the first equal
    // item of the list.
    const QList<QPair<QString, qint64>> steps{
        {"a500", 500},  // empty list: 0
        {"e100", 100},  // below the last: end (1)
        {"s300a", 300}, // between: 1
        {"s300b", 300}, // probes row 1 (300a) first: 1
        {"s300c", 300}, // lo 0, hi 3, probes row 1 (300b): 1
        {"d400", 400},  // 1
        {"b200", 200},  // 5
        {"s300d", 300}, // lo 0, hi 6, probes row 3 (300b): 3, behind 300c
    };
    for (const auto& step : steps)
        model.insert(makeItem(step.first, step.second));
    QCOMPARE(log.rows("rowsInserted"),
             (QStringList{"0..0", "1..1", "1..1", "1..1", "1..1", "1..1", "5..5", "3..3"}));
    QCOMPARE(rowIds(model), (QStringList{"a500", "d400", "s300c", "s300d", "s300b", "s300a",
                                         "b200", "e100"}));
}

void TestReminderModel::sortTimeIsOrderTimeElseTimestamp_data()
{
    QTest::addColumn<qint64>("orderTime");
    QTest::addColumn<qint64>("timestamp");
    QTest::addColumn<int>("row");
    // Against open items with order times 300, 200, 100.
    QTest::newRow("order time wins over a newer stamp") << qint64(150) << qint64(999) << 2;
    QTest::newRow("no order time: stamp") << qint64(0) << qint64(250) << 1;
    QTest::newRow("no order time, newest stamp") << qint64(0) << qint64(999) << 0;
    QTest::newRow("order time 1 counts") << qint64(1) << qint64(999) << 3;
}

void TestReminderModel::sortTimeIsOrderTimeElseTimestamp()
{
    QFETCH(qint64, orderTime);
    QFETCH(qint64, timestamp);
    QFETCH(int, row);
    ReminderModel model(nullptr);
    fill(model, {300, 200, 100}, {});
    const ReminderItemPtr item = makeItem(QStringLiteral("x"), orderTime, false, timestamp);
    model.insert(item);
    QCOMPARE(itemAt(model, row), item);
    QCOMPARE(model.getReminderIndex(QStringLiteral("x")), row);
}

void TestReminderModel::openItemRowIsOffsetByShownCompletedRows()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 100}, {900, 800});
    model.setExpand(true);
    SignalLog log(&model);
    model.insert(makeItem(QStringLiteral("new"), 200));
    QCOMPARE(log.names, (kInsertRow + QStringList{"countChanged", "visibleCountChanged"}));
    QCOMPARE(log.rows("rowsInserted"), QStringList{"3..3"});
    QCOMPARE(rowIds(model), (QStringList{"c900", "c800", "o300", "new", "o100"}));
}

void TestReminderModel::completedItemWhileCollapsedHasNoRowSignal()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300}, {900, 700});
    SignalLog log(&model);
    model.insert(makeItem(QStringLiteral("c800"), 800, true));
    QCOMPARE(log.names, (QStringList{"completedCountChanged", "countChanged", "visibleCountChanged"}));
    QCOMPARE(model.rowCount(), 1);
    QCOMPARE(model.completedCount(), 3);
    QCOMPARE(model.count(), 4);
    QStringList ids;
    model.completedIds(ids);
    QCOMPARE(ids, (QStringList{"c900", "c800", "c700"}));
}

void TestReminderModel::completedItemWhileExpandedAnnouncesItsRow()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300}, {900, 700});
    model.setExpand(true);
    SignalLog log(&model);
    model.insert(makeItem(QStringLiteral("c800"), 800, true));
    QCOMPARE(log.names, (kInsertRow + QStringList{"completedCountChanged", "countChanged",
                                                 "visibleCountChanged"}));
    QCOMPARE(log.rows("rowsInserted"), QStringList{"1..1"});
    QCOMPARE(rowIds(model), (QStringList{"c900", "c800", "c700", "o300"}));
}

// ---------------------------------------------------------- rows and data

void TestReminderModel::rowsShowCompletedSectionFirstWhenExpanded()
{
    ReminderModel model(nullptr);
    fill(model, {300, 200}, {50, 900});
    QCOMPARE(rowIds(model), (QStringList{"o300", "o200"}));
    QCOMPARE(model.visibleCount(), 2);
    model.setExpand(true);
    QCOMPARE(rowIds(model), (QStringList{"c900", "c50", "o300", "o200"}));
    QCOMPARE(model.visibleCount(), 4);
    QCOMPARE(model.count(), 4);
    QCOMPARE(model.completedCount(), 2);
}

void TestReminderModel::dataOutsideRowsOrRolesIsInvalid_data()
{
    QTest::addColumn<bool>("expanded");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("role");
    QTest::addColumn<bool>("valid");
    QTest::newRow("row 0, data role") << false << 0 << 257 << true;
    QTest::newRow("last row, data role") << false << 1 << 257 << true;
    QTest::newRow("first user role") << false << 0 << 256 << false;
    QTest::newRow("role after it") << false << 0 << 258 << false;
    QTest::newRow("display role") << false << 0 << int(Qt::DisplayRole) << false;
    QTest::newRow("row == rowCount") << false << 2 << 257 << false;
    QTest::newRow("hidden completed row") << false << 3 << 257 << false;
    QTest::newRow("expanded, row 3") << true << 3 << 257 << true;
    QTest::newRow("expanded, row == rowCount") << true << 4 << 257 << false;
    QTest::newRow("negative row") << false << -1 << 257 << false;
}

void TestReminderModel::dataOutsideRowsOrRolesIsInvalid()
{
    QFETCH(bool, expanded);
    QFETCH(int, row);
    QFETCH(int, role);
    QFETCH(bool, valid);
    ColumnProbe model(nullptr);
    fill(model, {300, 200}, {900, 800});
    model.setExpand(expanded);
    const QVariant v = model.data(model.indexAt(row, 0), role);
    QCOMPARE(v.isValid(), valid);
    if (valid) {
        const ReminderItemPtr item = v.value<ReminderItemPtr>();
        QVERIFY(item);
        const QStringList expected = expanded ? QStringList{"c900", "c800", "o300", "o200"}
                                              : QStringList{"o300", "o200"};
        QCOMPARE(item->remindId(), expected.at(row));
    }
}

void TestReminderModel::dataIgnoresTheColumn()
{
    ColumnProbe model(nullptr);
    fill(model, {300, 200}, {});
    const ReminderItemPtr item = model.data(model.indexAt(1, 5), kRole).value<ReminderItemPtr>();
    QVERIFY(item);
    QCOMPARE(item->remindId(), QStringLiteral("o200"));
    QVERIFY(!model.data(model.indexAt(2, 5), kRole).isValid());
}

void TestReminderModel::rowCountIgnoresTheParent()
{
    ReminderModel model(nullptr);
    fill(model, {300, 200, 100}, {900});
    const QModelIndex first = model.index(0, 0);
    QVERIFY(first.isValid());
    QCOMPARE(model.rowCount(first), 3);
    model.setExpand(true);
    QCOMPARE(model.rowCount(model.index(2, 0)), 4);
}

void TestReminderModel::isValidRowCoversExactlyTheShownRows_data()
{
    QTest::addColumn<bool>("expanded");
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("valid");
    // Two open and two completed items.
    QTest::newRow("collapsed -1") << false << -1 << false;
    QTest::newRow("collapsed 0") << false << 0 << true;
    QTest::newRow("collapsed 1") << false << 1 << true;
    QTest::newRow("collapsed 2") << false << 2 << false;
    QTest::newRow("expanded 3") << true << 3 << true;
    QTest::newRow("expanded 4") << true << 4 << false;
}

void TestReminderModel::isValidRowCoversExactlyTheShownRows()
{
    QFETCH(bool, expanded);
    QFETCH(int, row);
    QFETCH(bool, valid);
    ReminderModel model(nullptr);
    fill(model, {300, 200}, {900, 800});
    model.setExpand(expanded);
    QCOMPARE(model.isValidRow(row), valid);
}

// ------------------------------------------------------------------- expand

void TestReminderModel::settingExpandAnnouncesCompletedRows_data()
{
    QTest::addColumn<QList<qint64>>("completed");
    QTest::addColumn<bool>("from");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QStringList>("inserted");
    QTest::addColumn<QStringList>("removed");
    QTest::addColumn<int>("rowsAfter");
    QTest::newRow("open without completed items")
        << QList<qint64>{} << false << QStringList{"expandChanged"} << QStringList{}
        << QStringList{} << 2;
    QTest::newRow("close without completed items")
        << QList<qint64>{} << true << QStringList{"expandChanged"} << QStringList{}
        << QStringList{} << 2;
    QTest::newRow("open with three") << QList<qint64>{900, 800, 700} << false
                                     << QStringList{"expandChanged"} + kInsertRow
                                     << QStringList{"0..2"} << QStringList{} << 5;
    QTest::newRow("close with three") << QList<qint64>{900, 800, 700} << true
                                      << QStringList{"expandChanged"} + kRemoveRow
                                      << QStringList{} << QStringList{"0..2"} << 2;
}

void TestReminderModel::settingExpandAnnouncesCompletedRows()
{
    QFETCH(QList<qint64>, completed);
    QFETCH(bool, from);
    QFETCH(QStringList, names);
    QFETCH(QStringList, inserted);
    QFETCH(QStringList, removed);
    QFETCH(int, rowsAfter);
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 200}, completed);
    model.setExpand(from);
    SignalLog log(&model);
    model.setExpand(!from);
    QCOMPARE(model.expand(), !from);
    QCOMPARE(log.names, names);
    QCOMPARE(log.rows("rowsInserted"), inserted);
    QCOMPARE(log.rows("rowsRemoved"), removed);
    QCOMPARE(model.rowCount(), rowsAfter);
    QCOMPARE(model.visibleCount(), rowsAfter);
}

void TestReminderModel::settingExpandToCurrentValueEmitsNothing()
{
    ReminderModel model(nullptr);
    fill(model, {300}, {900});
    SignalLog log(&model);
    model.setExpand(false);
    QCOMPARE(log.names, QStringList());
    model.setExpand(true);
    log.clear();
    model.setExpand(true);
    QCOMPARE(log.names, QStringList());
}

void TestReminderModel::expandChangedComesBeforeTheRowsChange()
{
    // expandChanged is emitted first; the rows then change between the
    // begin and end announcements, so that views see a consistent count.
    ReminderModel model(nullptr);
    fill(model, {300}, {900, 800});
    QStringList seen;
    connect(&model, &ReminderModel::expandChanged, this, [&] {
        seen << QStringLiteral("expand=%1 rows=%2").arg(model.expand()).arg(model.rowCount());
    });
    connect(&model, &QAbstractItemModel::rowsAboutToBeInserted, this,
            [&] { seen << QStringLiteral("before insert rows=%1").arg(model.rowCount()); });
    connect(&model, &QAbstractItemModel::rowsInserted, this,
            [&] { seen << QStringLiteral("after insert rows=%1").arg(model.rowCount()); });
    connect(&model, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [&] { seen << QStringLiteral("before remove rows=%1").arg(model.rowCount()); });
    connect(&model, &QAbstractItemModel::rowsRemoved, this,
            [&] { seen << QStringLiteral("after remove rows=%1").arg(model.rowCount()); });
    model.setExpand(true);
    model.setExpand(false);
    QCOMPARE(seen, (QStringList{"expand=1 rows=1", "before insert rows=1", "after insert rows=3",
                                "expand=0 rows=3", "before remove rows=3", "after remove rows=1"}));
}

// ------------------------------------------------------------------- lookup

void TestReminderModel::getReminderIndexOfUnknownIdIsMinusOne()
{
    ReminderModel model(nullptr);
    QCOMPARE(model.getReminderIndex(QStringLiteral("none")), -1);
    fill(model, {300}, {900});
    SignalLog log(&model);
    QCOMPARE(model.getReminderIndex(QStringLiteral("none")), -1);
    QCOMPARE(model.getReminderIndex(QString()), -1);
    QCOMPARE(log.names, QStringList());
    QCOMPARE(model.expand(), false);
}

void TestReminderModel::getReminderIndexOfOpenItemCountsShownCompletedRows_data()
{
    QTest::addColumn<bool>("expanded");
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("row");
    QTest::newRow("collapsed first") << false << "o300" << 0;
    QTest::newRow("collapsed last") << false << "o100" << 2;
    QTest::newRow("expanded first") << true << "o300" << 2;
    QTest::newRow("expanded last") << true << "o100" << 4;
}

void TestReminderModel::getReminderIndexOfOpenItemCountsShownCompletedRows()
{
    QFETCH(bool, expanded);
    QFETCH(QString, id);
    QFETCH(int, row);
    ReminderModel model(nullptr);
    fill(model, {300, 200, 100}, {900, 800});
    model.setExpand(expanded);
    SignalLog log(&model);
    QCOMPARE(model.getReminderIndex(id), row);
    QCOMPARE(itemAt(model, row)->remindId(), id);
    QCOMPARE(log.names, QStringList());
    QCOMPARE(model.expand(), expanded);
}

void TestReminderModel::getReminderIndexOfCompletedItemExpands()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300}, {900, 800});
    QCOMPARE(model.rowCount(), 1);
    SignalLog log(&model);

    const int row = model.getReminderIndex(QStringLiteral("c800"));

    QCOMPARE(model.expand(), true);
    QVERIFY(row >= 0 && row <= 1);
    QCOMPARE(row, 1);
    QCOMPARE(itemAt(model, row)->remindId(), QStringLiteral("c800"));
    QCOMPARE(log.names, QStringList{"expandChanged"} + kInsertRow);
    QCOMPARE(log.rows("rowsInserted"), QStringList{"0..1"});
    QCOMPARE(model.rowCount(), 3);
}

void TestReminderModel::getReminderIndexOfCompletedItemWhileExpandedEmitsNothing()
{
    ReminderModel model(nullptr);
    fill(model, {300}, {900, 800});
    model.setExpand(true);
    SignalLog log(&model);
    QCOMPARE(model.getReminderIndex(QStringLiteral("c900")), 0);
    QCOMPARE(model.getReminderIndex(QStringLiteral("o300")), 2);
    QCOMPARE(log.names, QStringList());
}

void TestReminderModel::getReminderIndexOfTiedItemGivesRowOfEqualItemMetFirst()
{
    ReminderModel model(nullptr);
    for (const auto& step : QList<QPair<QString, qint64>>{{"a500", 500}, {"e100", 100},
                                                          {"s300a", 300}, {"s300b", 300},
                                                          {"s300c", 300}, {"d400", 400},
                                                          {"b200", 200}, {"s300d", 300}})
        model.insert(makeItem(step.first, step.second));
    // Rows: a500 d400 s300c s300d s300b s300a b200 e100. The search over
    // eight rows probes row 3 first, which has the same sort time.
    for (const QString id : {"s300a", "s300b", "s300c", "s300d"})
        QCOMPARE(model.getReminderIndex(id), 3);
    QCOMPARE(model.getReminderIndex(QStringLiteral("b200")), 6);
}

void TestReminderModel::getReminderIndexAfterSortTimeChangedWithoutResortIsMinusOne_data()
{
    QTest::addColumn<bool>("completed");
    QTest::newRow("open") << false;
    QTest::newRow("completed") << true;
}

void TestReminderModel::getReminderIndexAfterSortTimeChangedWithoutResortIsMinusOne()
{
    QFETCH(bool, completed);
    ReminderModel model(nullptr);
    fill(model, {300, 200, 100}, {900, 800, 700});
    const ReminderItemPtr item = model.itemById(completed ? "c800" : "o200");
    // Now below the last item's sort time: the search places it at the end
    // and meets no item with that time.
    item->setOrderTime(completed ? 650 : 50);
    SignalLog log(&model);
    QCOMPARE(model.getReminderIndex(item->remindId()), -1);
    QCOMPARE(model.expand(), false);
    QCOMPARE(log.names, QStringList());
}

void TestReminderModel::itemByIdFindsStoredItemOrNull()
{
    ReminderModel model(nullptr);
    const ReminderItemPtr open = makeItem(QStringLiteral("a"), 10);
    const ReminderItemPtr done = makeItem(QStringLiteral("b"), 20, true);
    model.insert(open);
    model.insert(done);
    QCOMPARE(model.itemById(QStringLiteral("a")), open);
    QCOMPARE(model.itemById(QStringLiteral("b")), done);
    QVERIFY(model.itemById(QStringLiteral("c")).isNull());
    QVERIFY(model.itemById(QString()).isNull());
}

// ------------------------------------------------------------------ removal

void TestReminderModel::removingOpenItemAnnouncesItsRow_data()
{
    QTest::addColumn<bool>("expanded");
    QTest::addColumn<QString>("range");
    QTest::newRow("collapsed") << false << "1..1";
    QTest::newRow("expanded") << true << "3..3";
}

void TestReminderModel::removingOpenItemAnnouncesItsRow()
{
    QFETCH(bool, expanded);
    QFETCH(QString, range);
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 200, 100}, {900, 800});
    model.setExpand(expanded);
    SignalLog log(&model);
    model.remove(model.itemById(QStringLiteral("o200")), false);
    QCOMPARE(log.names, kRemoveRow + QStringList{"countChanged"});
    QCOMPARE(log.rows("rowsRemoved"), QStringList{range});
    QCOMPARE(log.rows("rowsAboutToBeRemoved"), QStringList{range});
    QCOMPARE(model.count(), 4);
    QVERIFY(!rowIds(model).contains(QStringLiteral("o200")));
    // Without release the id stays in the index.
    QVERIFY(model.itemById(QStringLiteral("o200")));
}

void TestReminderModel::removingCompletedItemWhileExpandedAnnouncesItsRow()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300}, {900, 800, 700});
    model.setExpand(true);
    SignalLog log(&model);
    model.remove(model.itemById(QStringLiteral("c800")), true);
    QCOMPARE(log.names, (kRemoveRow + QStringList{"completedCountChanged", "countChanged"}));
    QCOMPARE(log.rows("rowsRemoved"), QStringList{"1..1"});
    QCOMPARE(rowIds(model), (QStringList{"c900", "c700", "o300"}));
    QVERIFY(model.itemById(QStringLiteral("c800")).isNull());
}

void TestReminderModel::removingCompletedItemWhileCollapsedEmitsNoRowSignal()
{
    // Intended: a hidden completed item has no row, so its removal only
    // updates the counts.
    ReminderModel model(nullptr);
    fill(model, {300}, {900, 800});
    SignalLog log(&model);
    model.remove(model.itemById(QStringLiteral("c900")), true);
    QCOMPARE(log.names, (QStringList{"completedCountChanged", "countChanged"}));
    QCOMPARE(model.completedCount(), 1);
    QCOMPARE(model.count(), 2);
    QCOMPARE(model.rowCount(), 1);
}

void TestReminderModel::removalAndExpandDoNotEmitVisibleCountChanged()
{
    // Intended: visibleCount changes here without visibleCountChanged;
    // the list's users follow rowCount through the row signals instead.
    ReminderModel model(nullptr);
    fill(model, {300, 200}, {900, 800});
    SignalLog log(&model);

    model.remove(model.itemById(QStringLiteral("o200")), true);
    QCOMPARE(model.visibleCount(), 1);
    model.setExpand(true);
    QCOMPARE(model.visibleCount(), 3);
    model.remove(model.itemById(QStringLiteral("c900")), true);
    QCOMPARE(model.visibleCount(), 2);
    model.setExpand(false);
    QCOMPARE(model.visibleCount(), 1);

    QCOMPARE(log.count("visibleCountChanged"), 0);
    QCOMPARE(log.count("countChanged"), 2);
    QCOMPARE(log.count("completedCountChanged"), 1);
    QCOMPARE(log.count("expandChanged"), 2);
    QCOMPARE(log.rows("rowsRemoved"), (QStringList{"1..1", "0..0", "0..0"}));
    QCOMPARE(log.rows("rowsInserted"), QStringList{"0..1"});
}

void TestReminderModel::removingNullOrUnheldItemEmitsNothing()
{
    ReminderModel model(nullptr);
    fill(model, {300}, {900});
    SignalLog log(&model);
    model.remove(ReminderItemPtr(), true);
    // Same id, other object: removal works on the object, not on the id.
    const ReminderItemPtr lookalike = makeItem(QStringLiteral("o300"), 300);
    model.remove(lookalike, true);
    model.remove(makeItem(QStringLiteral("c900"), 900, true), true);
    QCOMPARE(log.names, QStringList());
    QCOMPARE(model.count(), 2);
    QVERIFY(model.itemById(QStringLiteral("o300")));
    QVERIFY(model.itemById(QStringLiteral("o300")) != lookalike);
}

void TestReminderModel::removeReleasesIdAndFileBody_data()
{
    QTest::addColumn<int>("bodyType");
    QTest::addColumn<bool>("fileBody");
    QTest::addColumn<bool>("release");
    QTest::addColumn<int>("deleteCalls");
    QTest::newRow("image file, release") << 2 << true << true << 1;
    QTest::newRow("file, release") << 6 << true << true << 1;
    QTest::newRow("image file, no release") << 2 << true << false << 0;
    QTest::newRow("file object typed as text") << 1 << true << true << 0;
    QTest::newRow("card, not a file") << 8 << false << true << 0;
    QTest::newRow("text") << 1 << false << true << 0;
    QTest::newRow("no body") << 0 << false << true << 0;
}

void TestReminderModel::removeReleasesIdAndFileBody()
{
    QFETCH(int, bodyType);
    QFETCH(bool, fileBody);
    QFETCH(bool, release);
    QFETCH(int, deleteCalls);
    ReminderModel model(nullptr);
    const ReminderItemPtr item = makeItem(QStringLiteral("x"), 100);
    QSharedPointer<FileItem> file;
    if (fileBody) {
        file.reset(new FileItem(8, nullptr));
        file->setType(bodyType);
        file->setSourceFile(QSharedPointer<BaseFile>(
            new BaseFile(QStringLiteral("fid"), QStringLiteral("a.png"), QString())));
        item->setContent(file, false);
    } else if (bodyType != 0) {
        QSharedPointer<ContentItem> body(new ContentItem(8, nullptr));
        body->setType(bodyType);
        item->setContent(body, false);
    }
    model.insert(item);
    std::unique_ptr<QSignalSpy> released;
    if (file)
        released = std::make_unique<QSignalSpy>(file.data(), &FileItem::filesReleased);

    model.remove(item, release);

    QCOMPARE(model.count(), 0);
    QCOMPARE(model.itemById(QStringLiteral("x")).isNull(), release);
    if (file) {
        QCOMPARE(file->deleteFileCount(), deleteCalls);
        QCOMPARE(int(released->count()), deleteCalls);
        if (deleteCalls)
            QCOMPARE(released->at(0).at(0).toBool(), true);
    }
}

void TestReminderModel::removeByIdsRemovesKnownIdsAndSkipsUnknown()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 200, 100}, {900});
    QSharedPointer<FileItem> file(new FileItem(8, nullptr));
    file->setType(ContentItem::FileType);
    model.itemById(QStringLiteral("o200"))->setContent(file, false);
    SignalLog log(&model);

    model.removeByIds({QStringLiteral("o200"), QStringLiteral("nope"), QStringLiteral("c900")});
    QCOMPARE(log.names, (kRemoveRow + QStringList{"countChanged", "completedCountChanged",
                                                 "countChanged"}));
    QCOMPARE(log.rows("rowsRemoved"), QStringList{"1..1"});
    QCOMPARE(rowIds(model), (QStringList{"o300", "o100"}));
    QVERIFY(model.itemById(QStringLiteral("o200")).isNull());
    QVERIFY(model.itemById(QStringLiteral("c900")).isNull());
    QCOMPARE(file->deleteFileCount(), 1);

    log.clear();
    model.removeById(QStringLiteral("o300"));
    model.removeById(QStringLiteral("o300"));
    QCOMPARE(log.names, kRemoveRow + QStringList{"countChanged"});
    QCOMPARE(rowIds(model), QStringList{"o100"});
}

void TestReminderModel::resortPlacesItemAgainAfterSortTimeChange()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 200, 100}, {});
    const ReminderItemPtr item = model.itemById(QStringLiteral("o100"));
    item->setOrderTime(400);
    SignalLog log(&model);
    model.resort(item);
    QCOMPARE(log.names, (kRemoveRow + QStringList{"countChanged"} + kInsertRow +
                            QStringList{"countChanged", "visibleCountChanged"}));
    QCOMPARE(log.rows("rowsRemoved"), QStringList{"2..2"});
    QCOMPARE(log.rows("rowsInserted"), QStringList{"0..0"});
    QCOMPARE(rowIds(model), (QStringList{"o100", "o300", "o200"}));
    QCOMPARE(model.itemById(QStringLiteral("o100")), item);
    QCOMPARE(model.count(), 3);

    log.clear();
    model.resort(ReminderItemPtr());
    QCOMPARE(log.names, QStringList());
}

void TestReminderModel::resortMovesItemBetweenSections()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 100}, {900});
    model.setExpand(true);
    const ReminderItemPtr item = model.itemById(QStringLiteral("c900"));
    item->setCompleted(false);
    item->setOrderTime(200);
    SignalLog log(&model);
    model.resort(item);
    QCOMPARE(log.names, (kRemoveRow + QStringList{"completedCountChanged", "countChanged"} +
                            kInsertRow + QStringList{"countChanged", "visibleCountChanged"}));
    QCOMPARE(log.rows("rowsRemoved"), QStringList{"0..0"});
    QCOMPARE(log.rows("rowsInserted"), QStringList{"1..1"});
    QCOMPARE(rowIds(model), (QStringList{"o300", "c900", "o100"}));
    QCOMPARE(model.completedCount(), 0);

    // And back, while collapsed: the completed item disappears from the rows.
    model.setExpand(false);
    item->setCompleted(true);
    log.clear();
    model.resort(item);
    QCOMPARE(log.names, (kRemoveRow + QStringList{"countChanged", "completedCountChanged",
                                                 "countChanged", "visibleCountChanged"}));
    QCOMPARE(rowIds(model), (QStringList{"o300", "o100"}));
    QCOMPARE(model.completedCount(), 1);
}

// ---------------------------------------------------------- drag reordering

void TestReminderModel::movingFirstOpenRowToTopGivesOrderTimePlusOne()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 200}, {900});
    const ReminderItemPtr moved = model.itemById(QStringLiteral("o200"));
    SignalLog log(&model);
    QList<ReminderItemPtr> changed;
    model.move(1, 0, changed);
    QCOMPARE(log.names, kMoveRow);
    QCOMPARE(log.rows("rowsMoved"), QStringList{"1..1->0"});
    QCOMPARE(moved->orderTime(), qint64(301));
    QCOMPARE(changed, QList<ReminderItemPtr>{moved});
    QCOMPARE(rowIds(model), (QStringList{"o200", "o300"}));
}

void TestReminderModel::movingRowRenumbersToKeepDescendingOrder_data()
{
    QTest::addColumn<QList<qint64>>("orders");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QString>("moveArgs");
    QTest::addColumn<QList<qint64>>("after");
    QTest::addColumn<QList<int>>("changedRows");
    QTest::newRow("down to the last row") << QList<qint64>{300, 200, 100} << 0 << 2 << "0..0->3"
                                          << QList<qint64>{200, 100, 99} << QList<int>{2};
    QTest::newRow("up into the middle, already ordered")
        << QList<qint64>{500, 400, 300, 200} << 3 << 1 << "3..3->1"
        << QList<qint64>{500, 499, 400, 300} << QList<int>{1};
    QTest::newRow("up, renumbering to the end")
        << QList<qint64>{500, 499, 498, 100} << 3 << 1 << "3..3->1"
        << QList<qint64>{500, 499, 498, 497} << QList<int>{1, 2, 3};
    QTest::newRow("up, renumbering stops at order")
        << QList<qint64>{500, 499, 300, 200} << 3 << 1 << "3..3->1"
        << QList<qint64>{500, 499, 498, 300} << QList<int>{1, 2};
    QTest::newRow("down into the middle") << QList<qint64>{500, 400, 300, 200} << 0 << 2
                                          << "0..0->3" << QList<qint64>{400, 300, 299, 200}
                                          << QList<int>{2};
    QTest::newRow("down, renumbering the next")
        << QList<qint64>{500, 400, 300, 299} << 0 << 2 << "0..0->3"
        << QList<qint64>{400, 300, 299, 298} << QList<int>{2, 3};
    QTest::newRow("last to top") << QList<qint64>{500, 400, 300} << 2 << 0 << "2..2->0"
                                 << QList<qint64>{501, 500, 400} << QList<int>{0};
}

void TestReminderModel::movingRowRenumbersToKeepDescendingOrder()
{
    QFETCH(QList<qint64>, orders);
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(QString, moveArgs);
    QFETCH(QList<qint64>, after);
    QFETCH(QList<int>, changedRows);
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, orders, {});
    const ReminderItemPtr moved = itemAt(model, from);
    SignalLog log(&model);
    QList<ReminderItemPtr> changed;
    model.move(from, to, changed);

    QCOMPARE(log.names, kMoveRow);
    QCOMPARE(log.rows("rowsMoved"), QStringList{moveArgs});
    QCOMPARE(itemAt(model, to), moved);
    QCOMPARE(rowOrderTimes(model), after);
    QList<ReminderItemPtr> expected;
    for (int r : changedRows)
        expected << itemAt(model, r);
    QCOMPARE(idsOf(changed), idsOf(expected));
    QCOMPARE(changed.first(), moved);
}

void TestReminderModel::movingWithinSectionsWhileExpandedUsesLocalPositions_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QString>("movedId");
    QTest::addColumn<qint64>("newOrder");
    QTest::addColumn<QStringList>("rows");
    // Completed 900, 800, 700 (rows 0-2), open 300, 200, 100 (rows 3-5).
    QTest::newRow("open, bottom to top") << 5 << 3 << "o100" << qint64(301)
                                         << QStringList{"c900", "c800", "c700", "o100", "o300", "o200"};
    QTest::newRow("open, top to bottom") << 3 << 5 << "o300" << qint64(99)
                                         << QStringList{"c900", "c800", "c700", "o200", "o100", "o300"};
    QTest::newRow("completed, top to bottom") << 0 << 2 << "c900" << qint64(699)
                                              << QStringList{"c800", "c700", "c900", "o300", "o200", "o100"};
    QTest::newRow("completed, bottom to top") << 2 << 0 << "c700" << qint64(901)
                                              << QStringList{"c700", "c900", "c800", "o300", "o200", "o100"};
}

void TestReminderModel::movingWithinSectionsWhileExpandedUsesLocalPositions()
{
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(QString, movedId);
    QFETCH(qint64, newOrder);
    QFETCH(QStringList, rows);
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 200, 100}, {900, 800, 700});
    model.setExpand(true);
    SignalLog log(&model);
    QList<ReminderItemPtr> changed;
    model.move(from, to, changed);
    QCOMPARE(log.names, kMoveRow);
    QCOMPARE(log.rows("rowsMoved"),
             QStringList{QStringLiteral("%1..%1->%2").arg(from).arg(to > from ? to + 1 : to)});
    QCOMPARE(rowIds(model), rows);
    QCOMPARE(idsOf(changed), QStringList{movedId});
    QCOMPARE(model.itemById(movedId)->orderTime(), newOrder);
}

void TestReminderModel::moveOutsideOneSectionIsIgnored_data()
{
    QTest::addColumn<bool>("expanded");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    // Open 300, 200, 100 and completed 900, 800.
    QTest::newRow("same row") << false << 1 << 1;
    QTest::newRow("negative from") << false << -1 << 0;
    QTest::newRow("from == rowCount") << false << 3 << 0;
    QTest::newRow("to == rowCount, collapsed") << false << 0 << 3;
    QTest::newRow("negative to") << false << 1 << -1;
    QTest::newRow("open into completed") << true << 2 << 1;
    QTest::newRow("completed into open") << true << 1 << 2;
    QTest::newRow("completed to negative") << true << 1 << -1;
    QTest::newRow("from == rowCount, expanded") << true << 5 << 4;
    QTest::newRow("to == rowCount, expanded") << true << 3 << 5;
}

void TestReminderModel::moveOutsideOneSectionIsIgnored()
{
    QFETCH(bool, expanded);
    QFETCH(int, from);
    QFETCH(int, to);
    ReminderModel model(nullptr);
    fill(model, {300, 200, 100}, {900, 800});
    model.setExpand(expanded);
    const QStringList rowsBefore = rowIds(model);
    const QList<qint64> ordersBefore = rowOrderTimes(model);
    SignalLog log(&model);
    QList<ReminderItemPtr> changed;
    model.move(from, to, changed);
    QCOMPARE(log.names, QStringList());
    QVERIFY(changed.isEmpty());
    QCOMPARE(rowIds(model), rowsBefore);
    QCOMPARE(rowOrderTimes(model), ordersBefore);
}

void TestReminderModel::orderTimeThatWouldBeZeroOrNegativeIsKept_data()
{
    QTest::addColumn<QList<qint64>>("orders");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QList<qint64>>("after");
    QTest::addColumn<int>("changedCount");
    // Order times 0 sort by a zero time stamp.
    QTest::newRow("would become 0") << QList<qint64>{2, 1} << 0 << 1 << QList<qint64>{1, 2} << 1;
    QTest::newRow("would become -1") << QList<qint64>{5, 0} << 0 << 1 << QList<qint64>{0, 5} << 1;
    QTest::newRow("renumbering would reach 0 and -1")
        << QList<qint64>{1, 0, 0} << 2 << 1 << QList<qint64>{1, 0, 0} << 2;
}

void TestReminderModel::orderTimeThatWouldBeZeroOrNegativeIsKept()
{
    QFETCH(QList<qint64>, orders);
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(QList<qint64>, after);
    QFETCH(int, changedCount);
    ReminderModel model(nullptr);
    for (int i = 0; i < orders.size(); ++i)
        model.insert(makeItem(QStringLiteral("i%1").arg(i), orders.at(i)));
    QCOMPARE(rowKeys(model), orders);
    const ReminderItemPtr moved = itemAt(model, from);
    const qint64 movedBefore = moved->orderTime();
    QList<ReminderItemPtr> changed;
    model.move(from, to, changed);
    QCOMPARE(itemAt(model, to), moved);
    QCOMPARE(moved->orderTime(), movedBefore);
    QCOMPARE(rowOrderTimes(model), after);
    QCOMPARE(int(changed.size()), changedCount);
    QCOMPARE(changed.first(), moved);
}

// ----------------------------------------------------------- bulk insertion

void TestReminderModel::insertManyAnnouncesRowsZeroToNMinusOne_data()
{
    QTest::addColumn<bool>("expanded");
    QTest::addColumn<QList<qint64>>("open");
    QTest::addColumn<QList<qint64>>("completed");
    QTest::addColumn<QString>("range");
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("open items, collapsed")
        << false << QList<qint64>{100, 300, 200} << QList<qint64>{} << "0..2"
        << QStringList{"o400", "o300", "o200", "o100", "o50"};
    QTest::newRow("both sections, expanded")
        << true << QList<qint64>{250} << QList<qint64>{800, 950} << "0..2"
        << QStringList{"c950", "c900", "c800", "o400", "o250", "o50"};
}

void TestReminderModel::insertManyAnnouncesRowsZeroToNMinusOne()
{
    QFETCH(bool, expanded);
    QFETCH(QList<qint64>, open);
    QFETCH(QList<qint64>, completed);
    QFETCH(QString, range);
    QFETCH(QStringList, rows);
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {400, 50}, {900});
    model.setExpand(expanded);
    QList<ReminderItemPtr> batch;
    for (qint64 t : open)
        batch << makeItem(QStringLiteral("o%1").arg(t), t);
    for (qint64 t : completed)
        batch << makeItem(QStringLiteral("c%1").arg(t), t, true);
    SignalLog log(&model);
    model.insertItems(batch);
    QCOMPARE(log.names, (kInsertRow + QStringList{"completedCountChanged", "countChanged"}));
    QCOMPARE(log.rows("rowsInserted"), QStringList{range});
    QCOMPARE(rowIds(model), rows);
    QCOMPARE(model.count(), 3 + int(batch.size()));
    for (const auto& item : batch)
        QCOMPARE(model.itemById(item->remindId()), item);
}

void TestReminderModel::insertManyWhileCollapsedAnnouncesHiddenCompletedRowsToo()
{
    // Intended: the bulk fill announces rows 0 .. n-1 for the whole list,
    // although the completed items among them get no row while collapsed.
    ReminderModel model(nullptr);
    SignalLog log(&model);
    model.insertItems({makeItem(QStringLiteral("o1"), 100), makeItem(QStringLiteral("c1"), 900, true),
                       makeItem(QStringLiteral("o2"), 200), makeItem(QStringLiteral("c2"), 800, true)});
    QCOMPARE(log.names, (kInsertRow + QStringList{"completedCountChanged", "countChanged"}));
    QCOMPARE(log.rows("rowsAboutToBeInserted"), QStringList{"0..3"});
    QCOMPARE(log.rows("rowsInserted"), QStringList{"0..3"});
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.count(), 4);
    QCOMPARE(model.completedCount(), 2);
    QCOMPARE(rowIds(model), (QStringList{"o2", "o1"}));
    // No visibleCountChanged either, though the visible count went 0 -> 2.
    QCOMPARE(log.count("visibleCountChanged"), 0);
}

void TestReminderModel::insertManyOfEmptyListDoesNothing()
{
    ReminderModel model(nullptr);
    fill(model, {100}, {});
    SignalLog log(&model);
    model.insertItems({});
    QCOMPARE(log.names, QStringList());
    QCOMPARE(model.count(), 1);
}

void TestReminderModel::insertManyKeepsDuplicateIdsAndIndexesTheLastOne()
{
    ReminderModel model(nullptr);
    const ReminderItemPtr first = makeItem(QStringLiteral("d"), 300);
    model.insert(first);
    const ReminderItemPtr second = makeItem(QStringLiteral("d"), 200);
    const ReminderItemPtr third = makeItem(QStringLiteral("d"), 100);
    SignalLog log(&model);
    model.insertItems({second, third});
    QCOMPARE(log.rows("rowsInserted"), QStringList{"0..1"});
    QCOMPARE(model.count(), 3);
    QCOMPARE(itemAt(model, 0), first);
    QCOMPARE(itemAt(model, 1), second);
    QCOMPARE(itemAt(model, 2), third);
    QCOMPARE(model.itemById(QStringLiteral("d")), third);
}

void TestReminderModel::insertManySkipsNullEntriesButAnnouncesTheirRows()
{
    ReminderModel model(nullptr);
    SignalLog log(&model);
    model.insertItems({makeItem(QStringLiteral("a"), 100), ReminderItemPtr(),
                       makeItem(QStringLiteral("b"), 200)});
    QCOMPARE(log.rows("rowsInserted"), QStringList{"0..2"});
    QCOMPARE(rowIds(model), (QStringList{"b", "a"}));
    QCOMPARE(model.count(), 2);
}

void TestReminderModel::insertManyPlacesItemsLikeSingleInserts_data()
{
    QTest::addColumn<int>("existing");
    QTest::addColumn<int>("batchSize");
    // keyRange > 0: keys drawn from 1..keyRange with repeats. Otherwise keys
    // are distinct within 1..distinctRange, and with sharedPool the batch
    // may reuse the existing items' keys (but not its own).
    QTest::addColumn<int>("keyRange");
    QTest::addColumn<int>("distinctRange");
    QTest::addColumn<bool>("sharedPool");
    QTest::addColumn<QString>("shape");
    QTest::addColumn<bool>("disorder");
    const int wide = 100000000;
    QTest::newRow("random, distinct keys") << 0 << 3000 << 0 << wide << false << "random" << false;
    QTest::newRow("descending into empty") << 0 << 3000 << 0 << wide << false << "descending" << false;
    QTest::newRow("ascending into empty") << 0 << 1000 << 0 << wide << false << "ascending" << false;
    QTest::newRow("random into existing") << 500 << 2000 << 0 << wide << false << "random" << false;
    QTest::newRow("descending into existing") << 500 << 2000 << 0 << wide << false << "descending"
                                              << false;
    QTest::newRow("distinct batch tying with existing") << 600 << 1200 << 0 << 2000 << true
                                                        << "random" << false;
    QTest::newRow("descending batch tying with existing") << 600 << 1200 << 0 << 2000 << true
                                                          << "descending" << false;
    QTest::newRow("random with ties") << 50 << 1500 << 40 << 0 << false << "random" << false;
    QTest::newRow("descending with ties") << 20 << 800 << 60 << 0 << false << "descending" << false;
    QTest::newRow("into an out-of-order section") << 300 << 1000 << 0 << wide << false << "random"
                                                  << true;
}

void TestReminderModel::insertManyPlacesItemsLikeSingleInserts()
{
    QFETCH(int, existing);
    QFETCH(int, batchSize);
    QFETCH(int, keyRange);
    QFETCH(int, distinctRange);
    QFETCH(bool, sharedPool);
    QFETCH(QString, shape);
    QFETCH(bool, disorder);
    const quint32 seed = testSeed();
    qInfo("seed %u (set REMINDER_MODEL_SEED to repeat)", seed);
    QRandomGenerator rng(seed);
    QSet<qint64> used;
    auto key = [&]() -> qint64 {
        if (keyRange > 0)
            return qint64(rng.bounded(1, keyRange + 1));
        for (;;) {
            const qint64 k = qint64(rng.bounded(1, distinctRange + 1));
            if (!used.contains(k)) {
                used.insert(k);
                return k;
            }
        }
    };
    auto make = [&](const QString& id) {
        const qint64 k = key();
        const bool byStamp = rng.bounded(3) == 0;
        return makeItem(id, byStamp ? 0 : k, rng.bounded(4) == 0, byStamp ? k : 0);
    };

    ReminderModel bulk(nullptr);
    ReminderModel single(nullptr);
    for (int i = 0; i < existing; ++i) {
        const ReminderItemPtr item = make(QStringLiteral("e%1").arg(i));
        bulk.insert(item);
        single.insert(item);
    }
    if (disorder) {
        // An item whose sort time changed without being placed again.
        bulk.setExpand(true);
        itemAt(bulk, bulk.completedCount() + 1)->setOrderTime(200000000);
        itemAt(bulk, 1)->setOrderTime(200000001);
        bulk.setExpand(false);
    }
    if (sharedPool)
        used.clear();
    QList<ReminderItemPtr> batch;
    for (int i = 0; i < batchSize; ++i)
        batch << make(QStringLiteral("n%1").arg(i));
    if (shape != QLatin1String("random")) {
        std::stable_sort(batch.begin(), batch.end(), [](const auto& a, const auto& b) {
            return keyOf(a) > keyOf(b);
        });
        if (shape == QLatin1String("ascending"))
            std::reverse(batch.begin(), batch.end());
    }

    bulk.insertItems(batch);
    for (const auto& item : batch)
        single.insert(item);

    QCOMPARE(bulk.count(), existing + batchSize);
    QCOMPARE(single.count(), existing + batchSize);
    bulk.setExpand(true);
    single.setExpand(true);
    QCOMPARE(rowIds(bulk), rowIds(single));
    if (!disorder) {
        const QList<qint64> keys = rowKeys(bulk);
        const int c = bulk.completedCount();
        QVERIFY(std::is_sorted(keys.begin(), keys.begin() + c, std::greater<qint64>()));
        QVERIFY(std::is_sorted(keys.begin() + c, keys.end(), std::greater<qint64>()));
    }
}

// ------------------------------------------------ queries, reset and clear

void TestReminderModel::completedIdsFollowListOrder()
{
    ReminderModel model(nullptr);
    fill(model, {300}, {700, 900, 800});
    QStringList ids{QStringLiteral("kept")};
    model.completedIds(ids);
    QCOMPARE(ids, (QStringList{"kept", "c900", "c800", "c700"}));
    QStringList visited;
    model.forEachCompletedId([&](const QString& id) { visited << id; });
    QCOMPARE(visited, (QStringList{"c900", "c800", "c700"}));

    ReminderModel empty(nullptr);
    QStringList none;
    empty.completedIds(none);
    QVERIFY(none.isEmpty());
}

void TestReminderModel::overdueCountCountsOpenItemsBeforeNow_data()
{
    // Remind times as offsets from now; kNoRemindTime leaves the item's
    // shown remind time at 0.
    QTest::addColumn<QList<qint64>>("openShow");
    QTest::addColumn<QList<qint64>>("completedShow");
    QTest::addColumn<int>("expected");
    QTest::addColumn<qint64>("advance");
    QTest::addColumn<int>("expectedAfter");
    QTest::newRow("no remind time") << QList<qint64>{kNoRemindTime} << QList<qint64>{} << 0
                                    << qint64(3600000) << 0;
    QTest::newRow("one ms ago") << QList<qint64>{-1} << QList<qint64>{} << 1 << qint64(0) << 1;
    QTest::newRow("exactly now") << QList<qint64>{0} << QList<qint64>{} << 0 << qint64(1) << 1;
    QTest::newRow("in the future") << QList<qint64>{60000} << QList<qint64>{} << 0
                                   << qint64(60001) << 1;
    QTest::newRow("completed items never count") << QList<qint64>{} << QList<qint64>{-5000}
                                                 << 0 << qint64(0) << 0;
    QTest::newRow("mixed") << QList<qint64>{-5, -1, kNoRemindTime, 60000} << QList<qint64>{-10}
                           << 2 << qint64(3600000) << 3;
}

void TestReminderModel::overdueCountCountsOpenItemsBeforeNow()
{
    QFETCH(QList<qint64>, openShow);
    QFETCH(QList<qint64>, completedShow);
    QFETCH(int, expected);
    QFETCH(qint64, advance);
    QFETCH(int, expectedAfter);
    const qint64 now = 1700000000000;
    network::NetworkSubject::instance()->setFixedTime(now);
    TestAccount account;
    ReminderModel model(account.get());
    int n = 0;
    auto add = [&](qint64 offset, bool completed) {
        ++n;
        const ReminderItemPtr item = makeItem(QStringLiteral("r%1").arg(n), 100 + n, completed);
        item->setShowRemindTime(offset == kNoRemindTime ? 0 : now + offset);
        model.insert(item);
    };
    for (qint64 offset : openShow)
        add(offset, false);
    for (qint64 offset : completedShow)
        add(offset, true);
    QCOMPARE(model.overdueCount(), expected);
    network::NetworkSubject::instance()->advance(advance);
    QCOMPARE(model.overdueCount(), expectedAfter);
}

void TestReminderModel::overdueCountWithoutAccountIsZero()
{
    network::NetworkSubject::instance()->setFixedTime(1700000000000);
    ReminderModel model(nullptr);
    const ReminderItemPtr item = makeItem(QStringLiteral("o"), 100);
    item->setShowRemindTime(1600000000000);
    model.insert(item);
    QCOMPARE(model.overdueCount(), 0);
}

// An item tells the indexes of up to two lists of a new shown time itself;
// in more lists, the others follow its signal. Every list's count follows
// it, also once lists drop it or go away before it does.
void TestReminderModel::overdueCountOfAnItemInManyListsFollowsItsTime()
{
    const qint64 now = 1700000000000;
    network::NetworkSubject::instance()->setFixedTime(now);
    TestAccount account;
    const ReminderItemPtr shared = makeItem(QStringLiteral("shared"), 100);
    shared->setShowRemindTime(now + 60000);
    std::vector<std::unique_ptr<ReminderModel>> models;
    for (int i = 0; i < 4; ++i) {
        models.push_back(std::make_unique<ReminderModel>(account.get()));
        // Built before and after the item comes in.
        if (i % 2 == 0)
            QCOMPARE(models.back()->overdueCount(), 0);
        models.back()->insert(shared);
        QCOMPARE(models.back()->overdueCount(), 0);
    }
    shared->setShowRemindTime(now - 1);
    for (const auto& model : models)
        QCOMPARE(model->overdueCount(), 1);

    // One list drops it, one goes away: the others still follow.
    models[0]->removeById(QStringLiteral("shared"));
    QCOMPARE(models[0]->overdueCount(), 0);
    models.erase(models.begin() + 1);
    shared->setShowRemindTime(now + 60000);
    for (const auto& model : models)
        QCOMPARE(model->overdueCount(), 0);
    shared->setShowRemindTime(now - 5);
    QCOMPARE(models[0]->overdueCount(), 0);
    QCOMPARE(models[1]->overdueCount(), 1);
    QCOMPARE(models[2]->overdueCount(), 1);
    // A list added now takes a slot freed by the ones before.
    models.push_back(std::make_unique<ReminderModel>(account.get()));
    models.back()->insert(shared);
    QCOMPARE(models.back()->overdueCount(), 1);
    shared->setShowRemindTime(now + 5);
    for (const auto& model : models)
        QCOMPARE(model->overdueCount(), 0);
}

// The count is kept in an index of the open items' shown times; every way
// the list or an item can change must keep it equal to a plain count over
// the open rows. Random changes, each followed by the comparison (or, for
// some seeds, by none for a while, so that the index is built late).
void TestReminderModel::overdueCountFollowsEveryChangeOfTheList_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<int>("checkEvery");
    QTest::addColumn<int>("steps");
    QTest::addColumn<bool>("resets");
    for (quint32 seed : { 1u, 2u, 3u, 4u })
        QTest::newRow(qPrintable(QStringLiteral("seed %1, every change").arg(seed))) << seed << 1 << 1500 << true;
    for (quint32 seed : { 5u, 6u })
        QTest::newRow(qPrintable(QStringLiteral("seed %1, now and then").arg(seed))) << seed << 37 << 1500 << true;
    // Thousands of open items at once: the index holds them in several
    // blocks, which split and empty as items come and go.
    for (quint32 seed : { 7u, 8u })
        QTest::newRow(qPrintable(QStringLiteral("seed %1, thousands of items").arg(seed))) << seed << 97 << 8000 << false;
}

void TestReminderModel::overdueCountFollowsEveryChangeOfTheList()
{
    QFETCH(quint32, seed);
    QFETCH(int, checkEvery);
    QFETCH(int, steps);
    QFETCH(bool, resets);
    const qint64 start = 1700000000000;
    network::NetworkSubject::instance()->setFixedTime(start);
    TestAccount account;
    ReminderModel model(account.get());
    QRandomGenerator random(seed);
    QList<ReminderItemPtr> known;
    int made = 0;

    auto plainCount = [&] {
        const qint64 now = network::NetworkSubject::instance()->currentDateTime();
        int n = 0;
        const int rows = model.rowCount();
        for (int row = model.expand() ? model.completedCount() : 0; row < rows; ++row) {
            const ReminderItemPtr item = model.data(model.index(row), ReminderModel::ReminderDataRole).value<ReminderItemPtr>();
            if (item->showRemindTime() > 0 && item->showRemindTime() < now)
                ++n;
        }
        return n;
    };
    auto showTime = [&] {
        // Some unset, the rest around the clock.
        if (random.bounded(6) == 0)
            return qint64(0);
        return network::NetworkSubject::instance()->currentDateTime() + qint64(random.bounded(-3600, 3600)) * 1000;
    };
    auto fresh = [&] {
        ++made;
        const ReminderItemPtr item =
            makeItem(QStringLiteral("r%1").arg(made), 1000 + random.bounded(500), random.bounded(4) == 0);
        item->setShowRemindTime(showTime());
        known << item;
        return item;
    };
    auto anyKnown = [&] { return known.at(random.bounded(int(known.size()))); };

    for (int step = 0; step < steps; ++step) {
        QString what;
        switch (known.isEmpty() ? 0 : random.bounded(10)) {
        case 0:
            what = QStringLiteral("insert");
            model.insert(fresh());
            break;
        case 1: {
            what = QStringLiteral("insertItems");
            QList<ReminderItemPtr> batch;
            for (int n = random.bounded(1, 6); n > 0; --n)
                batch << fresh();
            if (random.bounded(3) == 0)
                batch << batch.first(); // the same item twice
            model.insertItems(batch);
            break;
        }
        case 2:
        case 3:
            what = QStringLiteral("show time");
            anyKnown()->setShowRemindTime(showTime());
            break;
        case 4: {
            what = QStringLiteral("completion");
            const ReminderItemPtr item = anyKnown();
            item->setCompleted(!item->completed());
            model.resort(item);
            break;
        }
        case 5:
            what = QStringLiteral("remove");
            model.remove(anyKnown(), random.bounded(2) == 0);
            break;
        case 6:
            what = QStringLiteral("resort");
            model.resort(anyKnown());
            break;
        case 7: {
            what = QStringLiteral("move");
            QList<ReminderItemPtr> changed;
            const int rows = model.rowCount();
            if (rows > 1)
                model.move(random.bounded(rows), random.bounded(rows), changed);
            break;
        }
        case 8:
            what = QStringLiteral("clock");
            network::NetworkSubject::instance()->advance(qint64(random.bounded(0, 1200)) * 1000);
            break;
        default:
            if (random.bounded(40) == 0 && resets) {
                what = QStringLiteral("reset");
                model.reset();
            } else {
                what = QStringLiteral("expand");
                model.setExpand(!model.expand());
            }
            break;
        }
        if (step % checkEvery == 0 || step == steps - 1)
            QVERIFY2(model.overdueCount() == plainCount(),
                     qPrintable(QStringLiteral("step %1 (%2): %3, counted %4")
                                    .arg(step)
                                    .arg(what)
                                    .arg(model.overdueCount())
                                    .arg(plainCount())));
    }
    network::NetworkSubject::instance()->releaseFixedTime();
}

void TestReminderModel::resetEmitsModelReset()
{
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);
    fill(model, {300, 200}, {900});
    model.setExpand(true);
    SignalLog log(&model);
    model.reset();
    QCOMPARE(log.names, (QStringList{"modelAboutToBeReset", "modelReset", "completedCountChanged",
                                     "countChanged"}));
    QCOMPARE(model.count(), 0);
    QCOMPARE(model.completedCount(), 0);
    QCOMPARE(model.rowCount(), 0);
    QVERIFY(model.itemById(QStringLiteral("o300")).isNull());
    QVERIFY(model.itemById(QStringLiteral("c900")).isNull());
    QCOMPARE(model.expand(), true);
    // The ids are free again.
    model.insert(makeItem(QStringLiteral("o300"), 300));
    QCOMPARE(model.count(), 1);
}

void TestReminderModel::clearEmptiesWithoutReset()
{
    ReminderModel model(nullptr);
    fill(model, {300, 200}, {900});
    QWeakPointer<ReminderItem> watched = model.itemById(QStringLiteral("o300")).toWeakRef();
    SignalLog log(&model);
    model.clear();
    QCOMPARE(log.names, QStringList());
    QCOMPARE(log.count("modelReset"), 0);
    QCOMPARE(model.count(), 0);
    QCOMPARE(model.completedCount(), 0);
    QCOMPARE(model.rowCount(), 0);
    QVERIFY(model.itemById(QStringLiteral("o300")).isNull());
    // The model let go of its share of the items.
    QVERIFY(watched.isNull());
}

// ------------------------------------------------------------- properties

void TestReminderModel::randomInsertsAndRemovalsKeepSectionsSorted_data()
{
    QTest::addColumn<bool>("distinctKeys");
    QTest::newRow("distinct keys") << true;
    QTest::newRow("tied keys") << false;
}

void TestReminderModel::randomInsertsAndRemovalsKeepSectionsSorted()
{
    QFETCH(bool, distinctKeys);
    const quint32 seed = testSeed();
    qInfo("seed %u (set REMINDER_MODEL_SEED to repeat)", seed);
    QRandomGenerator rng(seed);
    ReminderModel model(nullptr);
    QAbstractItemModelTester tester(&model, kTesterMode);

    QHash<QString, ReminderItemPtr> held;
    QSet<qint64> used;
    int nextId = 0;
    auto newKey = [&]() -> qint64 {
        if (!distinctKeys)
            return qint64(rng.bounded(1, 30));
        for (;;) {
            const qint64 k = qint64(rng.bounded(1, 10000000));
            if (!used.contains(k)) {
                used.insert(k);
                return k;
            }
        }
    };
    auto setKey = [&](const ReminderItemPtr& item) {
        const qint64 k = newKey();
        if (k > item->orderTime() && rng.bounded(2)) {
            item->setOrderTime(k);
        } else {
            // setOrderTime cannot lower an order time to 0; sort by stamp
            // only for fresh items.
            if (item->orderTime() == 0)
                item->setTimestamp(k);
            else
                item->setOrderTime(k);
        }
    };
    auto randomHeld = [&]() {
        const QList<QString> keys = held.keys();
        return held.value(keys.at(rng.bounded(int(keys.size()))));
    };

    auto check = [&](int step) -> QString {
        const QString where = QStringLiteral(" (seed %1, step %2)").arg(seed).arg(step);
        int completed = 0;
        for (const auto& item : held)
            completed += item->completed() ? 1 : 0;
        if (model.count() != held.size() || model.completedCount() != completed)
            return QStringLiteral("counts differ") + where;
        const int c = model.expand() ? completed : 0;
        if (model.rowCount() != int(held.size()) - completed + c)
            return QStringLiteral("row count") + where;

        // Sections in order, each item once, all in the right section.
        QList<ReminderItemPtr> openRows;
        QList<ReminderItemPtr> completedRows;
        for (int r = 0; r < model.rowCount(); ++r)
            (r < c ? completedRows : openRows) << itemAt(model, r);
        if (!model.expand()) {
            QStringList ids;
            model.completedIds(ids);
            for (const QString& id : ids)
                completedRows << model.itemById(id);
        }
        QSet<ReminderItem*> seen;
        for (const auto* section : {&completedRows, &openRows}) {
            for (int i = 0; i < section->size(); ++i) {
                const ReminderItemPtr& item = section->at(i);
                if (!item || held.value(item->remindId()) != item || seen.contains(item.data()))
                    return QStringLiteral("unexpected item at %1").arg(i) + where;
                seen.insert(item.data());
                if (item->completed() != (section == &completedRows))
                    return QStringLiteral("item in the wrong section") + where;
                if (i > 0) {
                    const qint64 prev = keyOf(section->at(i - 1));
                    const qint64 cur = keyOf(item);
                    if (distinctKeys ? prev <= cur : prev < cur)
                        return QStringLiteral("order broken at %1").arg(i) + where;
                }
            }
        }
        if (seen.size() != held.size())
            return QStringLiteral("items missing") + where;

        for (auto it = held.cbegin(); it != held.cend(); ++it) {
            if (model.itemById(it.key()) != it.value())
                return QStringLiteral("index lost ") + it.key() + where;
            if (it.value()->completed() && !model.expand())
                continue; // looking it up would expand the list
            const int row = model.getReminderIndex(it.key());
            if (row < 0)
                return QStringLiteral("row of %1 not found").arg(it.key()) + where;
            const ReminderItemPtr atRow = itemAt(model, row);
            if (distinctKeys ? atRow != it.value()
                             : (keyOf(atRow) != keyOf(it.value())
                                || atRow->completed() != it.value()->completed()))
                return QStringLiteral("row of %1 is %2").arg(it.key()).arg(row) + where;
        }
        return QString();
    };

    for (int step = 0; step < 400; ++step) {
        const int op = int(rng.bounded(100));
        if (op < 45 || held.isEmpty()) {
            const ReminderItemPtr item(new ReminderItem(QStringLiteral("r%1").arg(nextId++)));
            setKey(item);
            item->setCompleted(rng.bounded(3) == 0);
            model.insert(item);
            held.insert(item->remindId(), item);
        } else if (op < 55) {
            const ReminderItemPtr original = randomHeld();
            const ReminderItemPtr dup(new ReminderItem(original->remindId()));
            setKey(dup);
            dup->setCompleted(rng.bounded(2) == 0);
            const int before = model.count();
            model.insert(dup);
            QCOMPARE(model.count(), before);
            QCOMPARE(model.itemById(original->remindId()), original);
        } else if (op < 72) {
            const ReminderItemPtr item = randomHeld();
            if (rng.bounded(2))
                model.remove(item, true);
            else
                model.removeById(item->remindId());
            held.remove(item->remindId());
        } else if (op < 82) {
            model.setExpand(!model.expand());
        } else if (op < 95) {
            const ReminderItemPtr item = randomHeld();
            setKey(item);
            if (rng.bounded(4) == 0)
                item->setCompleted(!item->completed());
            model.resort(item);
        } else {
            QList<ReminderItemPtr> done;
            for (const auto& item : held)
                if (item->completed())
                    done << item;
            if (!done.isEmpty()) {
                const ReminderItemPtr item = done.at(rng.bounded(int(done.size())));
                const int row = model.getReminderIndex(item->remindId());
                QVERIFY(model.expand());
                QVERIFY(row >= 0 && row < model.completedCount());
                if (distinctKeys)
                    QCOMPARE(itemAt(model, row), item);
            }
        }
        const QString problem = check(step);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }
}

void TestReminderModel::itemByIdFromWorkerThreadWhileInserting()
{
    ReminderModel model(nullptr);
    const int n = 4000;
    QStringList ids;
    QList<ReminderItemPtr> items; // keeps every item alive on this thread
    for (int i = 0; i < n; ++i) {
        ids << QStringLiteral("t%1").arg(i);
        items << makeItem(ids.last(), 1000 + (i * 7919) % 100003, i % 5 == 0);
    }

    std::atomic<bool> mainDone{false};
    std::atomic<bool> workerStarted{false};
    std::atomic<int> wrongItems{0};
    std::atomic<qint64> lookups{0};
    std::vector<char> foundAtEnd(size_t(n), 0);
    std::thread worker([&] {
        workerStarted.store(true);
        // At least one full pass, however the threads are scheduled.
        bool firstPass = true;
        while (firstPass || !mainDone.load()) {
            firstPass = false;
            for (int i = 0; i < n; i += 3) {
                const ReminderItemPtr item = model.itemById(ids.at(i));
                lookups.fetch_add(1);
                if (item && item->remindId() != ids.at(i))
                    wrongItems.fetch_add(1);
            }
        }
        for (int i = 0; i < n; ++i)
            foundAtEnd[size_t(i)] = model.itemById(ids.at(i)) ? 1 : 0;
    });

    // Single inserts, removals and a bulk fill while the worker looks up.
    while (!workerStarted.load())
        std::this_thread::yield();
    for (int i = 0; i < n / 2; ++i) {
        model.insert(items.at(i));
        if (i % 10 == 9)
            model.removeById(ids.at(i - 5));
    }
    model.insertItems(items.mid(n / 2));
    mainDone.store(true);
    worker.join();

    QCOMPARE(wrongItems.load(), 0);
    QVERIFY(lookups.load() > 0);
    for (int i = 0; i < n; ++i) {
        const bool removed = i < n / 2 && (i + 5) % 10 == 9;
        QCOMPARE(bool(foundAtEnd[size_t(i)]), !removed);
    }
    QCOMPARE(model.count(), n - n / 20);
}

QTEST_GUILESS_MAIN(TestReminderModel)
#include "tst_remindermodel.moc"
