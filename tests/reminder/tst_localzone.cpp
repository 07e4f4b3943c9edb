// The calendar's mirror of the local zone: it answers exactly what Qt's
// local date-times answer, leaves the times the clocks skip or repeat to
// Qt, and follows zone changes. Run under several time zones (the suite sets
// TZ); the named edges also switch to zones of their own and back.
#include "clockchanges.h"
#include "localzone.h"
#include "modelbaseutil.h"
#include "networksubject.h"
#include "reminderitem.h"
#include "reminderpattern.h"

#include <QDateTime>
#include <QRandomGenerator>
#include <QTest>
#include <QThread>
#include <QTimeZone>

#include <atomic>
#include <ctime>

namespace {

constexpr qint64 kMinute = 60 * 1000;
constexpr qint64 kHour = 60 * kMinute;
constexpr qint64 kDay = 24 * kHour;

void setZone(const QByteArray& zone)
{
    if (zone.isNull())
        qunsetenv("TZ");
    else
        qputenv("TZ", zone);
    tzset();
}

// Milliseconds since 1970-01-01 00:00 of a local date and time.
qint64 wall(const QDate& day, const QTime& time)
{
    return (day.toJulianDay() - QDate(1970, 1, 1).toJulianDay()) * kDay + time.msecsSinceStartOfDay();
}

// The first day of `year` whose `time` the clocks skip, and the first whose
// day is longer than 24 hours (the clocks go back); invalid when none.
QDate gapDay(int year, const QTime& time)
{
    for (QDate d(year, 1, 1); d.year() == year; d = d.addDays(1)) {
        if (!QDateTime(d, time).isValid())
            return d;
    }
    return {};
}

QDate longDay(int year)
{
    for (QDate d(year, 1, 1); d.year() == year; d = d.addDays(1)) {
        if (QDateTime(d, QTime(0, 0)).secsTo(QDateTime(d.addDays(1), QTime(0, 0))) > 24 * 3600)
            return d;
    }
    return {};
}

// A local time of the long day that the clocks show twice.
QTime repeatedTime(const QDate& day)
{
    for (int minutes = 0; minutes < 24 * 60; minutes += 15) {
        const QTime t = QTime(0, 0).addSecs(minutes * 60);
        if (shownTwice(QDateTime(day, t)))
            return t;
    }
    return {};
}

int weekdayFlag(const QDate& day)
{
    return ModelBaseUtil::dayOfWeekToFlag(day.dayOfWeek());
}

} // namespace

class TestLocalZone : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void plainLocalTimesHaveQtsInstant();
    void skippedAndRepeatedTimesAreLeftToQt();
    void gapDayGivesTheTimePushedOverTheGap_data();
    void gapDayGivesTheTimePushedOverTheGap();
    void overlapDayGivesTheWallTimeOnce_data();
    void overlapDayGivesTheWallTimeOnce();
    void instantFormsAgreeWithDateTimeForms();
    void zoneChangeWhileRunningIsFollowed();
    void zoneChangeReachesOtherThreads();
    void reminderFollowsAZoneChange();

private:
    QByteArray m_zone;
    bool m_zoneSet = false;
};

void TestLocalZone::initTestCase()
{
    m_zoneSet = qEnvironmentVariableIsSet("TZ");
    m_zone = qgetenv("TZ");
}

void TestLocalZone::cleanup()
{
    setZone(m_zoneSet ? m_zone : QByteArray());
    network::NetworkSubject::instance()->releaseFixedTime();
}

void TestLocalZone::plainLocalTimesHaveQtsInstant()
{
    // Every 37 minutes through two years, both ways.
    LocalZone& zone = LocalZone::current();
    int plain = 0;
    for (qint64 t = QDateTime(QDate(2024, 1, 1), QTime(0, 0)).toMSecsSinceEpoch();
         t < QDateTime(QDate(2026, 1, 1), QTime(0, 0)).toMSecsSinceEpoch(); t += 37 * kMinute) {
        const QDateTime local = QDateTime::fromMSecsSinceEpoch(t);
        if (shownTwice(local))
            continue;
        qint64 mirrored = 0;
        QVERIFY2(zone.toLocal(t, &mirrored), qPrintable(local.toString(Qt::ISODate)));
        QCOMPARE(mirrored, wall(local.date(), local.time()));
        qint64 instant = 0;
        QVERIFY2(zone.toInstant(mirrored, &instant), qPrintable(local.toString(Qt::ISODate)));
        QCOMPARE(instant, QDateTime(local.date(), local.time()).toMSecsSinceEpoch());
        ++plain;
    }
    QVERIFY(plain > 27000);
}

void TestLocalZone::skippedAndRepeatedTimesAreLeftToQt()
{
    LocalZone& zone = LocalZone::current();
    int skipped = 0;
    int twice = 0;
    for (QDate d(2024, 1, 1); d.year() == 2024; d = d.addDays(1)) {
        for (int minutes = 0; minutes < 24 * 60; minutes += 15) {
            const QTime t = QTime(0, 0).addSecs(minutes * 60);
            const QDateTime local(d, t);
            qint64 instant = 0;
            if (!local.isValid()) {
                QVERIFY(!zone.toInstant(wall(d, t), &instant));
                ++skipped;
            } else if (shownTwice(local)) {
                QVERIFY(!zone.toInstant(wall(d, t), &instant));
                qint64 shown = 0;
                QVERIFY(!zone.toLocal(local.toMSecsSinceEpoch(), &shown));
                ++twice;
            }
        }
    }
    // A zone with daylight saving skips and repeats an hour (or half of
    // one) a year; one without does neither.
    QCOMPARE(skipped == 0, twice == 0);
    if (skipped == 0)
        QSKIP("this time zone skips and repeats no time in 2024");
    QVERIFY(skipped >= 2 && twice >= 2);
}

void TestLocalZone::gapDayGivesTheTimePushedOverTheGap_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QTime>("time");
    QTest::newRow("Berlin 02:30") << QByteArray("Europe/Berlin") << QTime(2, 30);
    QTest::newRow("New York 02:15") << QByteArray("America/New_York") << QTime(2, 15);
    QTest::newRow("Sydney 02:45") << QByteArray("Australia/Sydney") << QTime(2, 45);
    QTest::newRow("Lord Howe 02:10 (half an hour)") << QByteArray("Australia/Lord_Howe") << QTime(2, 10);
}

void TestLocalZone::gapDayGivesTheTimePushedOverTheGap()
{
    QFETCH(QByteArray, zone);
    QFETCH(QTime, time);
    setZone(zone);
    const QDate day = gapDay(2025, time);
    QVERIFY(day.isValid());
    // Qt pushes the skipped time forward by the gap.
    const QDateTime skipped(day, time);
    const qint64 pushed = QDateTime::fromMSecsSinceEpoch(skipped.toMSecsSinceEpoch()).toMSecsSinceEpoch();
    QVERIFY(pushed > QDateTime(day, QTime(0, 0)).toMSecsSinceEpoch());
    QCOMPARE(QDateTime::fromMSecsSinceEpoch(pushed).date(), day);

    const QDateTime anchor(day.addDays(-63), time);
    const QDateTime from(day, QTime(0, 0));
    QCOMPARE(nextDayOccurrence(anchor, from, 1), pushed);
    QCOMPARE(nextDayOccurrence(anchor, from, 7), pushed);
    QCOMPARE(nextWeekOccurrence(anchor, from, 1, weekdayFlag(day)), pushed);
    QCOMPARE(nextMonthOccurrence(QDateTime(day.addMonths(-5), time), from, 1, day.day(), 0, 0), pushed);
    QCOMPARE(nextDayOccurrence(anchor.toMSecsSinceEpoch(), from.toMSecsSinceEpoch(), 1), pushed);
    // Past it, the next day has the anchor's time again.
    QCOMPARE(nextDayOccurrence(anchor, QDateTime::fromMSecsSinceEpoch(pushed + 1), 1),
             QDateTime(day.addDays(1), time).toMSecsSinceEpoch());
    QCOMPARE(nextDayOccurrence(anchor.toMSecsSinceEpoch(), pushed + 1, 1),
             QDateTime(day.addDays(1), time).toMSecsSinceEpoch());
}

void TestLocalZone::overlapDayGivesTheWallTimeOnce_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::newRow("Berlin") << QByteArray("Europe/Berlin");
    QTest::newRow("New York") << QByteArray("America/New_York");
    QTest::newRow("Sydney") << QByteArray("Australia/Sydney");
    QTest::newRow("Lord Howe (half an hour)") << QByteArray("Australia/Lord_Howe");
}

void TestLocalZone::overlapDayGivesTheWallTimeOnce()
{
    QFETCH(QByteArray, zone);
    setZone(zone);
    const QDate day = longDay(2025);
    QVERIFY(day.isValid());
    const QTime time = repeatedTime(day);
    QVERIFY(time.isValid());
    const QDateTime anchor(day.addDays(-70), time);
    const QDateTime from(day, QTime(0, 0));
    // Which of the two instants showing the time Qt's local time picks
    // depends on the conversions before it (the C library's mktime starts
    // from the offset it found last); each answer shows the anchor's time
    // on that day.
    const QList<qint64> answers{
        nextDayOccurrence(anchor, from, 1),
        nextDayOccurrence(anchor, from, 7),
        nextWeekOccurrence(anchor, from, 1, weekdayFlag(day)),
        nextMonthOccurrence(QDateTime(day.addMonths(-4), time), from, 2, day.day(), 0, 0),
        nextDayOccurrence(anchor.toMSecsSinceEpoch(), from.toMSecsSinceEpoch(), 1),
        nextWeekOccurrence(anchor.toMSecsSinceEpoch(), from.toMSecsSinceEpoch(), 1, weekdayFlag(day)),
    };
    for (qint64 answer : answers) {
        const QDateTime shown = QDateTime::fromMSecsSinceEpoch(answer);
        QCOMPARE(shown.date(), day);
        QCOMPARE(shown.time(), time);
    }
    // From the day after, the time is there once a day again.
    const qint64 next = QDateTime(day.addDays(1), time).toMSecsSinceEpoch();
    QCOMPARE(nextDayOccurrence(anchor, QDateTime(day.addDays(1), QTime(0, 0)), 1), next);
    QCOMPARE(nextDayOccurrence(anchor.toMSecsSinceEpoch(), QDateTime(day.addDays(1), QTime(0, 0)).toMSecsSinceEpoch(), 1),
             next);
}

void TestLocalZone::instantFormsAgreeWithDateTimeForms()
{
    // Anchors and from-times near this zone's clock changes of 2020-2030
    // (or anywhere, in a zone without them), at times of day on both sides
    // of the change.
    QList<qint64> near;
    for (const QDateTime& change : clockChanges(2020, 2030))
        near.append(change.toMSecsSinceEpoch());
    for (int i = near.size(); i < 20; ++i)
        near.append(QDateTime(QDate(2020 + i % 10, 1 + i % 12, 1 + i), QTime(2, 0)).toMSecsSinceEpoch());

    QRandomGenerator rng(20261124u);
    int checked = 0;
    for (qint64 change : std::as_const(near)) {
        for (int round = 0; round < 40; ++round) {
            const qint64 from = change + qint64(rng.bounded(4 * 24 * 60)) * kMinute - 2 * kDay + rng.bounded(60000);
            const qint64 anchor = from - qint64(rng.bounded(2000)) * kDay - qint64(rng.bounded(6 * 60)) * kMinute;
            const QDateTime a = QDateTime::fromMSecsSinceEpoch(anchor);
            const QDateTime f = QDateTime::fromMSecsSinceEpoch(from);
            // A time the clocks show twice has no one answer to compare.
            if (shownTwice(a) || shownTwice(f))
                continue;
            const int n = 1 + rng.bounded(4);
            const int days = 1 + rng.bounded(127);
            const int dom = rng.bounded(2) ? (1 + rng.bounded(31)) * (rng.bounded(2) ? 1 : -1) : 0;
            const int wom = dom == 0 ? (1 + rng.bounded(5)) * (rng.bounded(2) ? 1 : -1) : 0;
            const qint64 results[][2] = {
                {nextDayOccurrence(anchor, from, n), nextDayOccurrence(a, f, n)},
                {nextWeekOccurrence(anchor, from, n, days), nextWeekOccurrence(a, f, n, days)},
                {nextMonthOccurrence(anchor, from, n, dom, wom, days), nextMonthOccurrence(a, f, n, dom, wom, days)},
            };
            for (const auto& pair : results) {
                const QDateTime byInstant = QDateTime::fromMSecsSinceEpoch(pair[0]);
                const QDateTime byDateTime = QDateTime::fromMSecsSinceEpoch(pair[1]);
                // Equal, or the two instants of a repeated wall time.
                if (pair[0] != pair[1]) {
                    QVERIFY2(shownTwice(byInstant) && byInstant.date() == byDateTime.date()
                                 && byInstant.time() == byDateTime.time(),
                             qPrintable(QStringLiteral("anchor %1 from %2: %3 / %4")
                                            .arg(a.toString(Qt::ISODate), f.toString(Qt::ISODate),
                                                 byInstant.toString(Qt::ISODate),
                                                 byDateTime.toString(Qt::ISODate))));
                }
                ++checked;
            }
        }
    }
    QVERIFY(checked > 1000);
}

void TestLocalZone::zoneChangeWhileRunningIsFollowed()
{
    const QTimeZone berlin("Europe/Berlin");
    const QTimeZone newYork("America/New_York");
    const QDate day(2025, 6, 2); // a Monday
    const QDateTime anchor(QDate(2025, 1, 6), QTime(9, 0)); // its wall time, in whatever zone
    const qint64 from = QDateTime(day, QTime(0, 0), QTimeZone::utc()).toMSecsSinceEpoch();
    const qint64 nineBerlin = QDateTime(day, QTime(9, 0), berlin).toMSecsSinceEpoch();
    const qint64 nineNewYork = QDateTime(day, QTime(9, 0), newYork).toMSecsSinceEpoch();

    setZone("Europe/Berlin");
    QCOMPARE(nextDayOccurrence(anchor, QDateTime::fromMSecsSinceEpoch(from), 1), nineBerlin);
    QCOMPARE(nextDayOccurrence(nineBerlin - 7 * kDay, from, 1), nineBerlin);

    // The same questions, the zone changed in between.
    setZone("America/New_York");
    QCOMPARE(nextDayOccurrence(anchor, QDateTime::fromMSecsSinceEpoch(from), 1), nineNewYork);
    QCOMPARE(nextWeekOccurrence(anchor, QDateTime::fromMSecsSinceEpoch(from), 1, weekdayFlag(day)), nineNewYork);
    // From instants: 09:00 in Berlin is 03:00 in New York.
    QCOMPARE(nextDayOccurrence(nineBerlin - 7 * kDay, from, 1),
             QDateTime(day, QTime(3, 0), newYork).toMSecsSinceEpoch());

    // And back, with the change the host reports when it notices one.
    setZone("Europe/Berlin");
    LocalZone::systemZoneChanged();
    QCOMPARE(nextDayOccurrence(nineBerlin - 7 * kDay, from, 1), nineBerlin);
}

void TestLocalZone::zoneChangeReachesOtherThreads()
{
    // A thread keeps its own view of the zone; a change made on another
    // thread reaches it on its next call.
    setZone("Asia/Kolkata");
    const QDate day(2025, 3, 3);
    const qint64 anchor = QDateTime(QDate(2025, 1, 1), QTime(8, 0), QTimeZone("Asia/Kolkata")).toMSecsSinceEpoch();
    const qint64 from = QDateTime(day, QTime(0, 0), QTimeZone::utc()).toMSecsSinceEpoch();
    std::atomic<int> step{0};
    qint64 before = 0;
    qint64 after = 0;
    QThread* worker = QThread::create([&] {
        before = nextDayOccurrence(anchor, from, 1);
        step = 1;
        while (step.load() != 2)
            QThread::yieldCurrentThread();
        after = nextDayOccurrence(anchor, from, 1);
    });
    worker->start();
    QTRY_COMPARE(step.load(), 1);
    setZone("Australia/Sydney");
    LocalZone::systemZoneChanged();
    step = 2;
    QVERIFY(worker->wait(10000));
    delete worker;
    // 08:00 in Kolkata on the anchor, then the anchor's wall time in Sydney
    // (13:30 there) on the next day it falls on.
    QCOMPARE(before, QDateTime(day, QTime(8, 0), QTimeZone("Asia/Kolkata")).toMSecsSinceEpoch());
    QCOMPARE(after, QDateTime(day, QTime(13, 30), QTimeZone("Australia/Sydney")).toMSecsSinceEpoch());
}

void TestLocalZone::reminderFollowsAZoneChange()
{
    setZone("Europe/Berlin");
    const QTimeZone berlin("Europe/Berlin");
    const QTimeZone tokyo("Asia/Tokyo");
    ReminderItem item(QStringLiteral("7_1"));
    const qint64 anchor = QDateTime(QDate(2025, 1, 6), QTime(9, 0), berlin).toMSecsSinceEpoch();
    item.setOriginalRemindTime(anchor);
    item.setShowRemindTime(anchor);
    item.setRemindTime(anchor);
    item.setUnit(0);
    item.setInterval(1);
    // 08:00 in Berlin, 15:00 in Tokyo.
    network::NetworkSubject::instance()->setFixedTime(
        QDateTime(QDate(2025, 6, 2), QTime(6, 0), QTimeZone::utc()).toMSecsSinceEpoch());
    QCOMPARE(item.nextRemindTime(), QDateTime(QDate(2025, 6, 2), QTime(9, 0), berlin).toMSecsSinceEpoch());
    // The first remind time shows 17:00 in Tokyo: the series now fires at
    // 17:00 there.
    setZone("Asia/Tokyo");
    QCOMPARE(item.nextRemindTime(), QDateTime(QDate(2025, 6, 2), QTime(17, 0), tokyo).toMSecsSinceEpoch());
}

QTEST_GUILESS_MAIN(TestLocalZone)
#include "tst_localzone.moc"
