#include "networksubject.h"

#include <QDateTime>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>
#include <vector>

using network::NetworkSubject;

class TestNetworkSubject : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void singleton();
    void liveClockFollowsSystemTimePlusOffset_data();
    void liveClockFollowsSystemTimePlusOffset();
    void fixedTimeIsReturnedAsIs_data();
    void fixedTimeIsReturnedAsIs();
    void advanceMovesFixedClock_data();
    void advanceMovesFixedClock();
    void advanceFixesLiveClockFirst_data();
    void advanceFixesLiveClockFirst();
    void setFixedTimeReplacesEarlierValue();
    void releaseReturnsToLiveClock();
    void concurrentAdvanceLosesNoStep();
    void appActiveSignalOnlyOnChange_data();
    void appActiveSignalOnlyOnChange();
    void receiverMayCallBackIn();
    void appActiveChangedFromAnotherThread();
};

void TestNetworkSubject::init()
{
    NetworkSubject* s = NetworkSubject::instance();
    s->releaseFixedTime();
    s->setServerOffset(0);
    s->setAppActive(true);
}

void TestNetworkSubject::singleton()
{
    NetworkSubject* here = NetworkSubject::instance();
    QVERIFY(here != nullptr);
    NetworkSubject* there = nullptr;
    std::unique_ptr<QThread> t(QThread::create([&there] { there = NetworkSubject::instance(); }));
    t->start();
    QVERIFY(t->wait());
    QCOMPARE(there, here);
    QVERIFY(!here->isTimeFixed());
    QCOMPARE(here->serverOffset(), qint64(0));
    QVERIFY(here->appIsActive());
}

void TestNetworkSubject::liveClockFollowsSystemTimePlusOffset_data()
{
    QTest::addColumn<qint64>("offset");
    QTest::newRow("none") << qint64(0);
    QTest::newRow("server ahead") << qint64(90 * 1000);
    QTest::newRow("server behind") << qint64(-3600 * 1000);
    QTest::newRow("a day ahead") << qint64(24) * 3600 * 1000;
}

void TestNetworkSubject::liveClockFollowsSystemTimePlusOffset()
{
    QFETCH(qint64, offset);
    NetworkSubject* s = NetworkSubject::instance();
    s->setServerOffset(offset);
    QCOMPARE(s->serverOffset(), offset);
    QVERIFY(!s->isTimeFixed());

    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    const qint64 now = s->currentDateTime();
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    QVERIFY(now >= before + offset);
    QVERIFY(now <= after + offset);
}

void TestNetworkSubject::fixedTimeIsReturnedAsIs_data()
{
    QTest::addColumn<qint64>("fixed");
    QTest::addColumn<qint64>("offset");
    QTest::newRow("no offset") << qint64(1700000000123) << qint64(0);
    QTest::newRow("positive offset") << qint64(1700000000123) << qint64(5000);
    QTest::newRow("negative offset") << qint64(1700000000123) << qint64(-5000);
    QTest::newRow("epoch") << qint64(0) << qint64(777);
    QTest::newRow("before epoch") << qint64(-86400000) << qint64(1);
}

void TestNetworkSubject::fixedTimeIsReturnedAsIs()
{
    QFETCH(qint64, fixed);
    QFETCH(qint64, offset);
    NetworkSubject* s = NetworkSubject::instance();
    s->setServerOffset(offset);
    s->setFixedTime(fixed);
    QVERIFY(s->isTimeFixed());
    QCOMPARE(s->currentDateTime(), fixed);
    // Changing the offset later does not move a fixed clock either.
    s->setServerOffset(offset + 12345);
    QCOMPARE(s->currentDateTime(), fixed);
    QCOMPARE(s->currentDateTime(), fixed);
}

void TestNetworkSubject::advanceMovesFixedClock_data()
{
    QTest::addColumn<qint64>("start");
    QTest::addColumn<QList<qint64>>("steps");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("one minute") << qint64(1700000000000) << QList<qint64>{60000} << qint64(1700000060000);
    QTest::newRow("several steps")
        << qint64(1700000000000) << QList<qint64>{1000, 2000, 3000} << qint64(1700000006000);
    QTest::newRow("backwards") << qint64(1700000000000) << QList<qint64>{-1000} << qint64(1699999999000);
    QTest::newRow("zero step") << qint64(42) << QList<qint64>{0} << qint64(42);
    QTest::newRow("a week")
        << qint64(1700000000000) << QList<qint64>{qint64(7) * 24 * 3600 * 1000} << qint64(1700604800000);
}

void TestNetworkSubject::advanceMovesFixedClock()
{
    QFETCH(qint64, start);
    QFETCH(QList<qint64>, steps);
    QFETCH(qint64, expected);
    NetworkSubject* s = NetworkSubject::instance();
    s->setServerOffset(999);
    s->setFixedTime(start);
    for (qint64 step : steps)
        s->advance(step);
    QVERIFY(s->isTimeFixed());
    QCOMPARE(s->currentDateTime(), expected);
}

void TestNetworkSubject::advanceFixesLiveClockFirst_data()
{
    QTest::addColumn<qint64>("offset");
    QTest::addColumn<qint64>("step");
    QTest::newRow("no offset") << qint64(0) << qint64(60000);
    QTest::newRow("offset and step") << qint64(-7200000) << qint64(3600000);
    QTest::newRow("zero step") << qint64(1500) << qint64(0);
}

void TestNetworkSubject::advanceFixesLiveClockFirst()
{
    QFETCH(qint64, offset);
    QFETCH(qint64, step);
    NetworkSubject* s = NetworkSubject::instance();
    s->setServerOffset(offset);
    QVERIFY(!s->isTimeFixed());

    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    s->advance(step);
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    QVERIFY(s->isTimeFixed());

    const qint64 fixed = s->currentDateTime();
    QVERIFY(fixed >= before + offset + step);
    QVERIFY(fixed <= after + offset + step);
    // From now on the clock stands still until moved.
    QCOMPARE(s->currentDateTime(), fixed);
    s->advance(1);
    QCOMPARE(s->currentDateTime(), fixed + 1);
}

void TestNetworkSubject::setFixedTimeReplacesEarlierValue()
{
    NetworkSubject* s = NetworkSubject::instance();
    s->setFixedTime(1000);
    s->advance(500);
    QCOMPARE(s->currentDateTime(), qint64(1500));
    s->setFixedTime(2000);
    QCOMPARE(s->currentDateTime(), qint64(2000));
}

void TestNetworkSubject::releaseReturnsToLiveClock()
{
    NetworkSubject* s = NetworkSubject::instance();
    s->setServerOffset(-60000);
    s->setFixedTime(5);
    QCOMPARE(s->currentDateTime(), qint64(5));
    s->releaseFixedTime();
    QVERIFY(!s->isTimeFixed());
    QCOMPARE(s->serverOffset(), qint64(-60000));

    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    const qint64 now = s->currentDateTime();
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    QVERIFY(now >= before - 60000);
    QVERIFY(now <= after - 60000);
}

void TestNetworkSubject::concurrentAdvanceLosesNoStep()
{
    constexpr int kThreads = 8;
    constexpr int kSteps = 2000;
    NetworkSubject* s = NetworkSubject::instance();
    s->setFixedTime(1700000000000);

    std::atomic<bool> readsMonotonic{true};
    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back(QThread::create([s, &readsMonotonic] {
            qint64 last = s->currentDateTime();
            for (int i = 0; i < kSteps; ++i) {
                s->advance(3);
                const qint64 now = s->currentDateTime();
                if (now < last)
                    readsMonotonic = false;
                last = now;
            }
        }));
    }
    for (auto& t : threads)
        t->start();
    for (auto& t : threads)
        QVERIFY(t->wait());

    QVERIFY(readsMonotonic.load());
    QCOMPARE(s->currentDateTime(), qint64(1700000000000) + qint64(kThreads) * kSteps * 3);
}

void TestNetworkSubject::appActiveSignalOnlyOnChange_data()
{
    QTest::addColumn<QList<bool>>("calls");
    QTest::addColumn<QList<bool>>("emitted");
    QTest::newRow("same as start") << QList<bool>{true} << QList<bool>{};
    QTest::newRow("deactivate") << QList<bool>{false} << QList<bool>{false};
    QTest::newRow("deactivate twice") << QList<bool>{false, false} << QList<bool>{false};
    QTest::newRow("toggle")
        << QList<bool>{false, true, false, true} << QList<bool>{false, true, false, true};
    QTest::newRow("repeats between changes")
        << QList<bool>{true, false, false, false, true, true} << QList<bool>{false, true};
}

void TestNetworkSubject::appActiveSignalOnlyOnChange()
{
    QFETCH(QList<bool>, calls);
    QFETCH(QList<bool>, emitted);
    NetworkSubject* s = NetworkSubject::instance();
    QVERIFY(s->appIsActive());

    QSignalSpy spy(s, &NetworkSubject::appActiveChanged);
    QVERIFY(spy.isValid());
    for (bool active : calls) {
        s->setAppActive(active);
        QCOMPARE(s->appIsActive(), active);
    }
    QCOMPARE(spy.count(), emitted.size());
    for (int i = 0; i < emitted.size(); ++i)
        QCOMPARE(spy.at(i).at(0).toBool(), emitted.at(i));
}

void TestNetworkSubject::receiverMayCallBackIn()
{
    NetworkSubject* s = NetworkSubject::instance();
    QList<bool> seen;
    const QMetaObject::Connection c = connect(s, &NetworkSubject::appActiveChanged, this, [s, &seen](bool active) {
        // The state is already updated and the subject is not locked.
        seen.append(s->appIsActive() == active);
        s->setAppActive(active); // no change, so no further signal
    });
    s->setAppActive(false);
    s->setAppActive(true);
    disconnect(c);
    QCOMPARE(seen, (QList<bool>{true, true}));
}

void TestNetworkSubject::appActiveChangedFromAnotherThread()
{
    NetworkSubject* s = NetworkSubject::instance();
    QSignalSpy spy(s, &NetworkSubject::appActiveChanged);
    std::unique_ptr<QThread> t(QThread::create([s] {
        s->setAppActive(false);
        s->setAppActive(false);
        s->setAppActive(true);
    }));
    t->start();
    QVERIFY(t->wait());
    // QSignalSpy records directly, in the emitting thread.
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(0).at(0).toBool(), false);
    QCOMPARE(spy.at(1).at(0).toBool(), true);
    QVERIFY(s->appIsActive());
}

QTEST_GUILESS_MAIN(TestNetworkSubject)
#include "tst_networksubject.moc"
