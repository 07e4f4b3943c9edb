// The list section's block sequence against a plain QList: the same
// operations in the same order leave the same items in the same rows.
#include "itemsequence.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

QList<ReminderItemPtr> makeItems(int n)
{
    QList<ReminderItemPtr> items;
    for (int i = 0; i < n; ++i)
        items.append(ReminderItemPtr::create(QStringLiteral("s_%1").arg(i)));
    return items;
}

// The ids of every row, read both ways (by row and by iteration).
QString rows(const ItemSequence& sequence)
{
    QStringList byRow;
    for (qsizetype i = 0; i < sequence.size(); ++i)
        byRow << sequence.at(i)->remindId();
    QStringList byIteration;
    for (const ReminderItemPtr& item : sequence)
        byIteration << item->remindId();
    if (byRow != byIteration)
        return QStringLiteral("rows and iteration differ");
    return byRow.join(QLatin1Char(','));
}

QString rows(const QList<ReminderItemPtr>& list)
{
    QStringList ids;
    for (const ReminderItemPtr& item : list)
        ids << item->remindId();
    return ids.join(QLatin1Char(','));
}

} // namespace

class TestItemSequence : public QObject
{
    Q_OBJECT

private slots:
    void emptySequence();
    void appendAndInsert();
    void sameAsAListUnderRandomChanges_data();
    void sameAsAListUnderRandomChanges();
};

void TestItemSequence::emptySequence()
{
    ItemSequence sequence;
    QVERIFY(sequence.isEmpty());
    QCOMPARE(sequence.size(), 0);
    QVERIFY(sequence.begin() == sequence.end());
    QCOMPARE(sequence.indexOf(ReminderItemPtr::create(QStringLiteral("x"))), -1);
}

void TestItemSequence::appendAndInsert()
{
    const QList<ReminderItemPtr> items = makeItems(4);
    ItemSequence sequence;
    sequence.append(items.at(1));
    sequence.insert(0, items.at(0));
    sequence.append(QList<ReminderItemPtr> { items.at(3) });
    sequence.insert(2, items.at(2));
    QCOMPARE(rows(sequence), QStringLiteral("s_0,s_1,s_2,s_3"));
    QCOMPARE(sequence.first()->remindId(), QStringLiteral("s_0"));
    QCOMPARE(sequence.last()->remindId(), QStringLiteral("s_3"));
    QCOMPARE(sequence.indexOf(items.at(2)), 2);
    sequence.move(0, 3);
    QCOMPARE(rows(sequence), QStringLiteral("s_1,s_2,s_3,s_0"));
    sequence.move(3, 1);
    QCOMPARE(rows(sequence), QStringLiteral("s_1,s_0,s_2,s_3"));
    sequence.removeAt(0);
    QCOMPARE(rows(sequence), QStringLiteral("s_0,s_2,s_3"));
    sequence.clear();
    QVERIFY(sequence.isEmpty());
}

void TestItemSequence::sameAsAListUnderRandomChanges_data()
{
    QTest::addColumn<int>("items");
    QTest::addColumn<int>("steps");
    QTest::addColumn<quint32>("seed");
    QTest::newRow("few") << 20 << 400 << 1u;
    QTest::newRow("a few blocks") << 2000 << 6000 << 2u;
    QTest::newRow("many blocks") << 9000 << 12000 << 3u;
}

void TestItemSequence::sameAsAListUnderRandomChanges()
{
    QFETCH(int, items);
    QFETCH(int, steps);
    QFETCH(quint32, seed);
    const QList<ReminderItemPtr> pool = makeItems(items);
    QRandomGenerator rng(seed);
    ItemSequence sequence;
    QList<ReminderItemPtr> list;
    for (int step = 0; step < steps; ++step) {
        const int roll = int(rng.bounded(100));
        const ReminderItemPtr item = pool.at(int(rng.bounded(pool.size())));
        if (roll < 45 || list.isEmpty()) {
            const qsizetype at = rng.bounded(int(list.size()) + 1);
            sequence.insert(at, item);
            list.insert(at, item);
        } else if (roll < 55) {
            sequence.append(item);
            list.append(item);
        } else if (roll < 60) {
            const QList<ReminderItemPtr> batch = pool.mid(int(rng.bounded(pool.size())), 300);
            sequence.append(batch);
            list.append(batch);
        } else if (roll < 85) {
            const qsizetype at = rng.bounded(int(list.size()));
            sequence.removeAt(at);
            list.removeAt(at);
        } else if (roll < 95) {
            const qsizetype from = rng.bounded(int(list.size()));
            const qsizetype to = rng.bounded(int(list.size()));
            sequence.move(from, to);
            list.move(from, to);
        } else if (roll < 97) {
            sequence.assign(list);
        } else {
            QCOMPARE(sequence.indexOf(item), list.indexOf(item));
        }
        QCOMPARE(sequence.size(), list.size());
        if (!list.isEmpty()) {
            const qsizetype probe = rng.bounded(int(list.size()));
            QCOMPARE(sequence.at(probe), list.at(probe));
            QCOMPARE(sequence.first(), list.first());
            QCOMPARE(sequence.last(), list.last());
        }
        if (step % 500 == 0)
            QCOMPARE(rows(sequence), rows(list));
    }
    QCOMPARE(rows(sequence), rows(list));
}

QTEST_GUILESS_MAIN(TestItemSequence)
#include "tst_itemsequence.moc"
