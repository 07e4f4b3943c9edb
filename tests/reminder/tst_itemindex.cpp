// The list's id index against a QHash: the same operations in the same
// order find the same items under the same ids, one by one and in batches.
#include "itemindex.h"

#include <QHash>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

namespace {

ReminderItemPtr makeItem(const QString& id)
{
    return ReminderItemPtr::create(id);
}

// Every id the reference holds, with which item the index gives for it
// ("=" the same object, "!" another, "-" none), and the sizes.
QString differences(const ItemIndex& index, const QHash<QString, ReminderItemPtr>& reference)
{
    QStringList wrong;
    for (auto it = reference.cbegin(); it != reference.cend(); ++it) {
        const ReminderItemPtr found = index.value(it.key());
        if (found != it.value())
            wrong << it.key() + (found ? QStringLiteral("!") : QStringLiteral("-"));
    }
    if (index.size() != reference.size())
        wrong << QStringLiteral("size %1 != %2").arg(index.size()).arg(reference.size());
    std::sort(wrong.begin(), wrong.end());
    return wrong.join(QLatin1Char(','));
}

QString ids(const QList<ReminderItemPtr>& items)
{
    QStringList out;
    for (const ReminderItemPtr& item : items)
        out << item->remindId();
    return out.join(QLatin1Char(','));
}

} // namespace

class TestItemIndex : public QObject
{
    Q_OBJECT

private slots:
    void emptyIndex();
    void insertFindTake();
    void insertNewRefusesATakenId();
    void insertOrReplaceKeepsTheLaterItem();
    void findManyKeepsOrderAndLeavesOutUnknownIds_data();
    void findManyKeepsOrderAndLeavesOutUnknownIds();
    void shortAndLongIdsAreToldApart_data();
    void shortAndLongIdsAreToldApart();
    void insertNewManyStopsBeforeATakenId_data();
    void insertNewManyStopsBeforeATakenId();
    void insertOrReplaceManyLaterWinsAndSkipsNull();
    void swapAndClear();
    void sameAsAHashUnderRandomChanges_data();
    void sameAsAHashUnderRandomChanges();
};

void TestItemIndex::emptyIndex()
{
    ItemIndex index;
    QVERIFY(index.isEmpty());
    QCOMPARE(index.size(), 0);
    QVERIFY(!index.value(QStringLiteral("a")));
    QVERIFY(!index.contains(QStringLiteral("a")));
    QVERIFY(!index.take(QStringLiteral("a")));
    QList<ReminderItemPtr> found;
    const QStringList wanted = {QStringLiteral("a"), QStringLiteral("b")};
    index.findMany(wanted.constData(), wanted.size(), found);
    QVERIFY(found.isEmpty());
}

void TestItemIndex::insertFindTake()
{
    ItemIndex index;
    const ReminderItemPtr a = makeItem(QStringLiteral("7_1"));
    const ReminderItemPtr b = makeItem(QStringLiteral("7_2"));
    index.insertOrReplace(a);
    QVERIFY(index.insertNew(b));
    QCOMPARE(index.size(), 2);
    QCOMPARE(index.value(QStringLiteral("7_1")), a);
    QCOMPARE(index.value(QStringLiteral("7_2")), b);
    QVERIFY(!index.contains(QStringLiteral("7_3")));
    // Ids compare exactly: no case folding.
    QVERIFY(!index.contains(QStringLiteral("7_1 ")));
    QCOMPARE(index.take(QStringLiteral("7_1")), a);
    QVERIFY(!index.contains(QStringLiteral("7_1")));
    QCOMPARE(index.value(QStringLiteral("7_2")), b);
    QCOMPARE(index.size(), 1);
}

void TestItemIndex::insertNewRefusesATakenId()
{
    ItemIndex index;
    const ReminderItemPtr first = makeItem(QStringLiteral("x"));
    const ReminderItemPtr second = makeItem(QStringLiteral("x"));
    QVERIFY(index.insertNew(first));
    QVERIFY(!index.insertNew(second));
    QCOMPARE(index.value(QStringLiteral("x")), first);
    QCOMPARE(index.size(), 1);
}

void TestItemIndex::insertOrReplaceKeepsTheLaterItem()
{
    ItemIndex index;
    const ReminderItemPtr first = makeItem(QStringLiteral("x"));
    const ReminderItemPtr second = makeItem(QStringLiteral("x"));
    index.insertOrReplace(first);
    index.insertOrReplace(second);
    QCOMPARE(index.value(QStringLiteral("x")), second);
    QCOMPARE(index.size(), 1);
}

void TestItemIndex::findManyKeepsOrderAndLeavesOutUnknownIds_data()
{
    QTest::addColumn<int>("stored");
    QTest::addColumn<int>("asked");
    // Around the batch's group of 16 and across growths of the table.
    QTest::newRow("one") << 1 << 3;
    QTest::newRow("one group") << 16 << 20;
    QTest::newRow("group and one") << 17 << 40;
    QTest::newRow("thousands") << 5000 << 7000;
}

void TestItemIndex::shortAndLongIdsAreToldApart_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<bool>("found");
    QTest::newRow("8 characters") << QStringLiteral("12345678") << QStringLiteral("12345678") << true;
    QTest::newRow("9 characters") << QStringLiteral("123456789") << QStringLiteral("123456789") << true;
    QTest::newRow("8 of 9") << QStringLiteral("123456789") << QStringLiteral("12345678") << false;
    QTest::newRow("9 of 8") << QStringLiteral("12345678") << QStringLiteral("123456789") << false;
    QTest::newRow("trailing U+0000") << QStringLiteral("ab") << QStringLiteral("ab") + QChar(0) << false;
    QTest::newRow("stored with U+0000") << QStringLiteral("ab") + QChar(0) << QStringLiteral("ab") << false;
    QTest::newRow("both with U+0000") << QStringLiteral("ab") + QChar(0) << QStringLiteral("ab") + QChar(0) << true;
    QTest::newRow("empty") << QString() << QString() << true;
    QTest::newRow("empty and U+0000") << QString() << QString(QChar(0)) << false;
}

void TestItemIndex::shortAndLongIdsAreToldApart()
{
    QFETCH(QString, stored);
    QFETCH(QString, asked);
    QFETCH(bool, found);
    ItemIndex index;
    const ReminderItemPtr item = makeItem(stored);
    index.insertOrReplace(item);
    QCOMPARE(index.contains(asked), found);
    QCOMPARE(index.value(asked), found ? item : ReminderItemPtr());
    QList<ReminderItemPtr> many;
    index.findMany(&asked, 1, many);
    QCOMPARE(many.size(), found ? 1 : 0);
    QCOMPARE(index.insertNew(makeItem(asked)), !found);
}

void TestItemIndex::findManyKeepsOrderAndLeavesOutUnknownIds()
{
    QFETCH(int, stored);
    QFETCH(int, asked);
    ItemIndex index;
    QList<ReminderItemPtr> items;
    for (int i = 0; i < stored; ++i) {
        items.append(makeItem(QStringLiteral("1_%1").arg(i)));
        index.insertOrReplace(items.last());
    }
    // Asked in a shuffled order, every third id unknown.
    QRandomGenerator rng(stored);
    QStringList wanted;
    QList<ReminderItemPtr> expected;
    for (int i = 0; i < asked; ++i) {
        const int n = int(rng.bounded(stored + stored / 2 + 1));
        wanted << QStringLiteral("1_%1").arg(n);
        if (n < stored)
            expected << items.at(n);
    }
    QList<ReminderItemPtr> found;
    index.findMany(wanted.constData(), wanted.size(), found);
    QCOMPARE(ids(found), ids(expected));
    QCOMPARE(found, expected);
}

void TestItemIndex::insertNewManyStopsBeforeATakenId_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("taken"); // the position whose id is taken, or -1
    QTest::addColumn<bool>("takenBefore"); // by an item already in, else by an earlier one of these
    QTest::newRow("none taken") << 40 << -1 << false;
    QTest::newRow("first taken") << 40 << 0 << true;
    QTest::newRow("17th taken") << 40 << 16 << true;
    QTest::newRow("repeat inside the batch") << 40 << 33 << false;
}

void TestItemIndex::insertNewManyStopsBeforeATakenId()
{
    QFETCH(int, count);
    QFETCH(int, taken);
    QFETCH(bool, takenBefore);
    ItemIndex index;
    const ReminderItemPtr resident = makeItem(QStringLiteral("old"));
    index.insertOrReplace(resident);
    QList<ReminderItemPtr> batch;
    for (int i = 0; i < count; ++i) {
        QString id = QStringLiteral("new_%1").arg(i);
        if (i == taken)
            id = takenBefore ? QStringLiteral("old") : QStringLiteral("new_%1").arg(i / 2);
        batch.append(makeItem(id));
    }
    const qsizetype entered = index.insertNewMany(batch.constData(), batch.size());
    QCOMPARE(entered, taken < 0 ? qsizetype(count) : qsizetype(taken));
    QCOMPARE(index.size(), entered + 1);
    QCOMPARE(index.value(QStringLiteral("old")), resident);
    for (qsizetype i = 0; i < entered; ++i)
        QCOMPARE(index.value(batch.at(i)->remindId()), batch.at(i));
}

void TestItemIndex::insertOrReplaceManyLaterWinsAndSkipsNull()
{
    ItemIndex index;
    const ReminderItemPtr a1 = makeItem(QStringLiteral("a"));
    const ReminderItemPtr b = makeItem(QStringLiteral("b"));
    const ReminderItemPtr a2 = makeItem(QStringLiteral("a"));
    const QList<ReminderItemPtr> batch = {a1, ReminderItemPtr(), b, a2};
    index.insertOrReplaceMany(batch.constData(), batch.size());
    QCOMPARE(index.size(), 2);
    QCOMPARE(index.value(QStringLiteral("a")), a2);
    QCOMPARE(index.value(QStringLiteral("b")), b);
}

void TestItemIndex::swapAndClear()
{
    ItemIndex index;
    const ReminderItemPtr a = makeItem(QStringLiteral("a"));
    index.insertOrReplace(a);
    ItemIndex other;
    other.swap(index);
    QVERIFY(index.isEmpty());
    QVERIFY(!index.contains(QStringLiteral("a")));
    QCOMPARE(other.value(QStringLiteral("a")), a);
    other.clear();
    QVERIFY(other.isEmpty());
    QVERIFY(!other.value(QStringLiteral("a")));
    // Usable again after a clear.
    QVERIFY(other.insertNew(a));
    QCOMPARE(other.value(QStringLiteral("a")), a);
}

void TestItemIndex::sameAsAHashUnderRandomChanges_data()
{
    QTest::addColumn<int>("ids");
    QTest::addColumn<int>("steps");
    QTest::addColumn<bool>("reserved");
    QTest::addColumn<bool>("mixedForms");
    // Few ids: the table is small and mostly full, so removals shift long
    // runs that wrap around its end.
    QTest::newRow("12 ids") << 12 << 4000 << false << false;
    QTest::newRow("100 ids") << 100 << 20000 << false << false;
    QTest::newRow("3000 ids") << 3000 << 30000 << false << false;
    QTest::newRow("3000 ids, reserved") << 3000 << 30000 << true << false;
    // Ids kept in the entry and ids compared through their item side by
    // side: 8 and 9 characters, a U+0000 inside, the same short prefix.
    QTest::newRow("100 ids of mixed forms") << 100 << 20000 << false << true;
    QTest::newRow("3000 ids of mixed forms") << 3000 << 30000 << false << true;
}

void TestItemIndex::sameAsAHashUnderRandomChanges()
{
    QFETCH(int, ids);
    QFETCH(int, steps);
    QFETCH(bool, reserved);
    QFETCH(bool, mixedForms);
    ItemIndex index;
    QHash<QString, ReminderItemPtr> reference;
    if (reserved)
        index.reserve(ids);
    QRandomGenerator rng(quint32(ids * 31 + steps));
    auto randomId = [&] {
        QString id = QStringLiteral("%1_%2").arg(rng.bounded(3)).arg(rng.bounded(ids));
        if (!mixedForms)
            return id;
        switch (rng.bounded(5)) {
        case 0:
            return id.leftJustified(8, QLatin1Char('x'), true);
        case 1:
            return id.leftJustified(9, QLatin1Char('x'), true);
        case 2:
            return id + QChar(0);
        case 3:
            return id + QStringLiteral("_a_long_device_suffix");
        default:
            return id;
        }
    };
    for (int step = 0; step < steps; ++step) {
        const int op = int(rng.bounded(6));
        const QString id = randomId();
        if (op == 0) {
            const ReminderItemPtr item = makeItem(id);
            index.insertOrReplace(item);
            reference.insert(id, item);
        } else if (op == 1) {
            const ReminderItemPtr item = makeItem(id);
            QCOMPARE(index.insertNew(item), !reference.contains(id));
            if (!reference.contains(id))
                reference.insert(id, item);
        } else if (op == 2 || op == 3) {
            QCOMPARE(index.take(id), reference.take(id));
        } else if (op == 4) {
            QList<ReminderItemPtr> batch;
            const int n = int(rng.bounded(40));
            for (int i = 0; i < n; ++i)
                batch.append(makeItem(randomId()));
            const qsizetype entered = index.insertNewMany(batch.constData(), batch.size());
            qsizetype expected = 0;
            while (expected < batch.size() && !reference.contains(batch.at(expected)->remindId())) {
                reference.insert(batch.at(expected)->remindId(), batch.at(expected));
                ++expected;
            }
            QCOMPARE(entered, expected);
        } else {
            QStringList wanted;
            QList<ReminderItemPtr> expected;
            const int n = int(rng.bounded(40));
            for (int i = 0; i < n; ++i) {
                wanted << randomId();
                if (const ReminderItemPtr item = reference.value(wanted.last()))
                    expected << item;
            }
            QList<ReminderItemPtr> found;
            index.findMany(wanted.constData(), wanted.size(), found);
            QCOMPARE(found, expected);
        }
        if (step % 97 == 0)
            QCOMPARE(differences(index, reference), QString());
    }
    QCOMPARE(differences(index, reference), QString());
}

QTEST_GUILESS_MAIN(TestItemIndex)
#include "tst_itemindex.moc"
