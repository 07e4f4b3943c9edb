// The reminder's time rules: next occurrence, end of the series, snooze,
// tomorrow morning and rescheduling. Run under several time zones; the
// clock is the platform's fixed clock, set far from the machine's own.
#include "modelbaseutil.h"
#include "networksubject.h"
#include "reminderitem.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <limits>

namespace {

QDateTime at(int y, int m, int d, int h, int min = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min));
}

qint64 ms(int y, int m, int d, int h, int min = 0)
{
    return at(y, m, d, h, min).toMSecsSinceEpoch();
}

QDateTime local(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs);
}

void setNow(qint64 msecs)
{
    network::NetworkSubject::instance()->setFixedTime(msecs);
}

int flags(std::initializer_list<int> days)
{
    int f = 0;
    for (int d : days)
        f |= ModelBaseUtil::dayOfWeekToFlag(d);
    return f;
}

// A repeating reminder whose series starts at `first`.
ReminderItemPtr series(qint64 first, int unit, int interval, int dayFlags = 0)
{
    ReminderItemPtr item(new ReminderItem(QStringLiteral("r")));
    item->setOriginalRemindTime(first);
    item->setShowRemindTime(first);
    item->setRemindTime(first);
    item->setUnit(unit);
    item->setInterval(interval);
    item->setDayOfWeekFlags(dayFlags);
    return item;
}

// The weekly repeat-count walk, step by step as the rule is written, to
// check the item's shortcut through whole cycles.
QDate literalWeeklyEnd(const QDate& anchorDate, int interval, int dayFlags, int count)
{
    const int s = anchorDate.dayOfWeek();
    QList<int> days;
    for (int w = s; w <= 7; ++w)
        if (dayFlags & ModelBaseUtil::dayOfWeekToFlag(w))
            days << w;
    for (int w = 1; w < s; ++w)
        if (dayFlags & ModelBaseUtil::dayOfWeekToFlag(w))
            days << w;
    QDate anchor = anchorDate;
    QDate date = anchor;
    int prev = s, i = 0, k = 0;
    for (int c = 0; c < count; ++c) {
        if (k == days.size() - 1) {
            anchor = anchor.addDays(7 * qint64(interval));
            date = anchor;
            prev = date.dayOfWeek();
            i = 0;
            k = 0;
        } else {
            int d = days.at(i) - prev;
            if (d < 0)
                d += 7;
            date = date.addDays(d);
            ++k;
            prev = days.at(i);
            ++i;
        }
    }
    return date;
}

// isValidTime at times spread over the whole 64-bit range, as one line that
// reads well in a failure. Now is expected at 7 May 2031, 12:00.
QString validityAcrossTime(const ReminderItemPtr& item)
{
    const QList<QPair<QString, qint64>> probes = {
        {QStringLiteral("first"), std::numeric_limits<qint64>::min()},
        {QStringLiteral("last week"), ms(2031, 4, 30, 12)},
        {QStringLiteral("next year"), ms(2032, 5, 7, 12)},
        {QStringLiteral("year 100000000"), QDateTime(QDate(100000000, 1, 1), QTime(0, 0)).toMSecsSinceEpoch()},
        {QStringLiteral("last"), std::numeric_limits<qint64>::max()},
    };
    QStringList answers;
    for (const auto& probe : probes)
        answers << probe.first + (item->isValidTime(probe.second) ? QStringLiteral(" in") : QStringLiteral(" out"));
    return answers.join(QStringLiteral(", "));
}

// What validityAcrossTime reads for the three kinds of far end.
const QString kEverythingInside = QStringLiteral("first in, last week in, next year in, year 100000000 in, last in");
const QString kOnlyAfterNow = QStringLiteral("first out, last week out, next year in, year 100000000 in, last in");
const QString kEndsAfterYear100000000 =
    QStringLiteral("first in, last week in, next year in, year 100000000 in, last out");

} // namespace

class TestReminderTimeRules : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { network::NetworkSubject::instance()->releaseFixedTime(); }

    void everyThreeDaysAskedOnDaySevenGivesDayNine_data();
    void everyThreeDaysAskedOnDaySevenGivesDayNine();
    void everyThreeDaysAskedOnDaySixBeforeTheTimeGivesDaySix();
    void everyThreeDaysAskedAtTheOccurrenceGivesThatOccurrence();
    void nextRemindTimeWithoutRuleOrShowTimeIsTheRemindTime_data();
    void nextRemindTimeWithoutRuleOrShowTimeIsTheRemindTime();
    void nextRemindTimeFromShowIsAtLeastASecondAfterIt();
    void weeklyAndMonthlyRulesAreUsedByUnit();

    void isValidTimeWithEndDateTodayAt0800AcceptsAllOfToday();
    void isValidTimeWithoutEndIsLaterThanNow();
    void dailyCountOfTwoEndsTwoDaysAfterAnchor();
    void monthlyCountOfOneFrom31JanuaryEndsOnLastDayOfFebruary();
    void weeklyCountWithOneWeekdayEndsCountWeeksLater();
    void weeklyCountNeverReachesTheLastWeekdayOfAWeek();
    void weeklyCountAgreesWithTheStepByStepWalk();
    void weeklyCountWithoutWeekdayHasNoOccurrence();
    void repeatCountProductWrapsAt32Bits();
    void countTakesPrecedenceOverEndDate();
    void endDateNearTheLargestTimeIsTheSameInEveryZone_data();
    void endDateNearTheLargestTimeIsTheSameInEveryZone();
    void weeklyCountWalkingBeforeTheEarliestDateEndsBeforeEverything_data();
    void weeklyCountWalkingBeforeTheEarliestDateEndsBeforeEverything();
    void monthlyCountBeyondTheCalendarIsAFarEnd_data();
    void monthlyCountBeyondTheCalendarIsAFarEnd();
    void monthlyCountAgreesWithAddingMonths();
    void countFromAnAnchorAtTheEdgesOfTimeIsTheSameInEveryZone_data();
    void countFromAnAnchorAtTheEdgesOfTimeIsTheSameInEveryZone();

    void advanceWithoutRuleMarksReminded();
    void advanceMovesToNextOccurrence();
    void advanceFromShowUpdatesShowWhenAsked();
    void advancePastTheEndMarksReminded();

    void snoozeOfTenMinutesEndsAfterSixSnoozes();
    void stepSnoozeSkipsMissedSteps();
    void stepSnoozeWithoutSnoozeMovesRepeatingReminderOn();
    void stepSnoozeWithoutSnoozeMarksOneOffReminded();
    void snoozeStepWrapsAbove35791Minutes();
    void snoozePeriodThatWrapsToNothingEndsTheCycle();
    void snoozeFromTheStartOfTheRangeLandsOnItsStepsAfterNow();
    void snoozeCycleNearTheEndOfTheRangeGoesOn();
    void nextTimeFromShowAtTheEndOfTheRangeIsNone();

    void refreshSnoozeLeavesRemindedOrFutureReminders();
    void refreshSnoozeBringsSnoozedReminderToPresent();
    void refreshSnoozeMovesRepeatingReminderToNextOccurrence();
    void refreshSnoozeLeavesOneOffWithoutSnooze();

    void snoozeToTomorrowOnDailyReminderDueTomorrowAt0800Gives0800();
    void snoozeToTomorrowWithLaterOccurrenceGives0900();
    void snoozeToTomorrowOfOneOffDueBeforeTomorrowKeepsItsTime();
    void snoozeToTomorrowOfOneOffWithoutTimeGives0900();

    void rescheduleToSameTimeDoesNothing();
    void rescheduleClearsValidTimeAndMovesTheSeries();
    void rescheduleTo31stWithLastDayKeepsMinusOne();
    void rescheduleMonthlyByDayTakesTheNewDay();
    void rescheduleMonthlyByWeekTakesTheNewWeekAndWeekday_data();
    void rescheduleMonthlyByWeekTakesTheNewWeekAndWeekday();
    void rescheduleRaisesAnEarlierEndDate();
    void rescheduleOneOffLeavesRuleAndEndDate();
};

void TestReminderTimeRules::everyThreeDaysAskedOnDaySevenGivesDayNine_data()
{
    QTest::addColumn<int>("hour");
    QTest::addColumn<int>("minute");
    for (int h : {0, 8, 10, 12, 23})
        QTest::newRow(qPrintable(QStringLiteral("%1:00").arg(h))) << h << 0;
    QTest::newRow("23:59") << 23 << 59;
}

void TestReminderTimeRules::everyThreeDaysAskedOnDaySevenGivesDayNine()
{
    QFETCH(int, hour);
    QFETCH(int, minute);
    ReminderItemPtr item = series(ms(2031, 5, 1, 10), 0, 3);
    setNow(ms(2031, 5, 8, hour, minute));
    QCOMPARE(local(item->nextRemindTime()), at(2031, 5, 10, 10));
}

void TestReminderTimeRules::everyThreeDaysAskedOnDaySixBeforeTheTimeGivesDaySix()
{
    ReminderItemPtr item = series(ms(2031, 5, 1, 10), 0, 3);
    setNow(ms(2031, 5, 7, 8));
    QCOMPARE(local(item->nextRemindTime()), at(2031, 5, 7, 10));
}

void TestReminderTimeRules::everyThreeDaysAskedAtTheOccurrenceGivesThatOccurrence()
{
    ReminderItemPtr item = series(ms(2031, 5, 1, 10), 0, 3);
    setNow(ms(2031, 5, 7, 10));
    QCOMPARE(local(item->nextRemindTime()), at(2031, 5, 7, 10));
}

void TestReminderTimeRules::nextRemindTimeWithoutRuleOrShowTimeIsTheRemindTime_data()
{
    QTest::addColumn<int>("interval");
    QTest::addColumn<qint64>("show");
    QTest::addColumn<int>("unit");
    QTest::newRow("no repeat") << 0 << ms(2031, 5, 1, 10) << 0;
    QTest::newRow("no shown time") << 1 << qint64(0) << 0;
    QTest::newRow("unknown unit") << 1 << ms(2031, 5, 1, 10) << 7;
}

void TestReminderTimeRules::nextRemindTimeWithoutRuleOrShowTimeIsTheRemindTime()
{
    QFETCH(int, interval);
    QFETCH(qint64, show);
    QFETCH(int, unit);
    ReminderItemPtr item = series(ms(2031, 5, 1, 10), unit, interval);
    item->setShowRemindTime(show);
    item->setRemindTime(ms(2031, 5, 2, 11));
    setNow(ms(2031, 6, 1, 0));
    QCOMPARE(item->nextRemindTime(), ms(2031, 5, 2, 11));
    QCOMPARE(item->nextRemindTimeFromShow(), ms(2031, 5, 2, 11));
}

void TestReminderTimeRules::nextRemindTimeFromShowIsAtLeastASecondAfterIt()
{
    ReminderItemPtr item = series(ms(2031, 5, 1, 10), 0, 1);
    item->setShowRemindTime(ms(2031, 5, 3, 10));
    // Now is before the shown occurrence: the next is the day after it.
    setNow(ms(2031, 5, 2, 0));
    QCOMPARE(local(item->nextRemindTimeFromShow()), at(2031, 5, 4, 10));
    // Counted from the original time it would be the 2nd.
    QCOMPARE(local(item->nextRemindTime()), at(2031, 5, 2, 10));
    // Now far later: counted from now.
    setNow(ms(2031, 5, 9, 11));
    QCOMPARE(local(item->nextRemindTimeFromShow()), at(2031, 5, 10, 10));
}

void TestReminderTimeRules::weeklyAndMonthlyRulesAreUsedByUnit()
{
    setNow(ms(2031, 6, 4, 12)); // a Wednesday
    ReminderItemPtr weekly = series(ms(2031, 6, 2, 9), 1, 1, flags({1, 5}));
    QCOMPARE(local(weekly->nextRemindTime()), at(2031, 6, 6, 9));
    ReminderItemPtr monthly = series(ms(2031, 1, 31, 9), 2, 1);
    monthly->setDayOfMonthFlags(31);
    QCOMPARE(local(monthly->nextRemindTime()), at(2031, 6, 30, 9));
}

void TestReminderTimeRules::isValidTimeWithEndDateTodayAt0800AcceptsAllOfToday()
{
    setNow(ms(2031, 5, 7, 12));
    ReminderItemPtr item = series(ms(2031, 5, 1, 10), 0, 1);
    item->setEndDate(ms(2031, 5, 7, 8));
    QVERIFY(item->isValidTime(ms(2031, 5, 7, 0)));
    QVERIFY(item->isValidTime(ms(2031, 5, 7, 23, 59)));
    QVERIFY(item->isValidTime(ms(2031, 5, 1, 10)));
    QVERIFY(!item->isValidTime(ms(2031, 5, 8, 0)));
    // Now does not count either: a time already past is still inside.
    QVERIFY(item->isValidTime(ms(2031, 5, 7, 1)));
}

void TestReminderTimeRules::isValidTimeWithoutEndIsLaterThanNow()
{
    const qint64 now = ms(2031, 5, 7, 12);
    setNow(now);
    ReminderItemPtr item = series(ms(2031, 5, 1, 10), 0, 1);
    QVERIFY(item->isValidTime(now + 1));
    QVERIFY(!item->isValidTime(now));
    QVERIFY(!item->isValidTime(now - 1));
    QVERIFY(item->isValidTime(ms(2040, 1, 1, 0)));
}

void TestReminderTimeRules::dailyCountOfTwoEndsTwoDaysAfterAnchor()
{
    setNow(ms(2031, 5, 1, 0));
    ReminderItemPtr item = series(ms(2031, 5, 1, 10), 0, 1);
    item->setRepeatCount(2);
    QVERIFY(item->isValidTime(ms(2031, 5, 3, 23)));
    QVERIFY(!item->isValidTime(ms(2031, 5, 4, 0)));
}

void TestReminderTimeRules::monthlyCountOfOneFrom31JanuaryEndsOnLastDayOfFebruary()
{
    setNow(ms(2031, 1, 1, 0));
    ReminderItemPtr item = series(ms(2031, 1, 31, 10), 2, 1);
    item->setDayOfMonthFlags(31);
    item->setRepeatCount(1);
    QVERIFY(item->isValidTime(ms(2031, 2, 28, 23)));
    QVERIFY(!item->isValidTime(ms(2031, 3, 1, 0)));
    // A leap February ends on the 29th.
    ReminderItemPtr leap = series(ms(2032, 1, 31, 10), 2, 1);
    leap->setRepeatCount(1);
    QVERIFY(leap->isValidTime(ms(2032, 2, 29, 12)));
    QVERIFY(!leap->isValidTime(ms(2032, 3, 1, 0)));
}

void TestReminderTimeRules::weeklyCountWithOneWeekdayEndsCountWeeksLater()
{
    setNow(ms(2031, 1, 1, 0));
    // Monday 2 June 2031, every 2 weeks on Monday, 3 times: 3 x 2 weeks.
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 1, 2, flags({1}));
    item->setRepeatCount(3);
    QVERIFY(item->isValidTime(ms(2031, 7, 14, 23)));
    QVERIFY(!item->isValidTime(ms(2031, 7, 15, 0)));
}

void TestReminderTimeRules::weeklyCountNeverReachesTheLastWeekdayOfAWeek()
{
    // Monday, Wednesday and Friday from Monday 2 June 2031: the walk counts
    // Monday, Wednesday, then jumps to next Monday; Friday is never reached
    // inside a week. This is how the end of such a series is counted.
    setNow(ms(2031, 1, 1, 0));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 1, 1, flags({1, 3, 5}));
    const QList<QDate> ends = {QDate(2031, 6, 2), QDate(2031, 6, 4), QDate(2031, 6, 9), QDate(2031, 6, 9),
                               QDate(2031, 6, 11), QDate(2031, 6, 16)};
    for (int count = 1; count <= ends.size(); ++count) {
        item->setRepeatCount(count);
        const QDate end = ends.at(count - 1);
        QVERIFY2(item->isValidTime(QDateTime(end, QTime(23, 0)).toMSecsSinceEpoch()), qPrintable(end.toString()));
        QVERIFY2(!item->isValidTime(QDateTime(end.addDays(1), QTime(0, 0)).toMSecsSinceEpoch()),
                 qPrintable(end.toString()));
    }
}

void TestReminderTimeRules::weeklyCountAgreesWithTheStepByStepWalk()
{
    setNow(ms(2031, 1, 1, 0));
    QRandomGenerator rng(424242);
    for (int round = 0; round < 500; ++round) {
        const QDate anchorDate = QDate(2030, 1, 1).addDays(rng.bounded(700));
        const int interval = 1 + rng.bounded(4);
        const int dayFlags = 1 + rng.bounded(127);
        const int count = 1 + rng.bounded(60);
        ReminderItemPtr item = series(QDateTime(anchorDate, QTime(9, 0)).toMSecsSinceEpoch(), 1, interval, dayFlags);
        item->setRepeatCount(count);
        const QDate end = literalWeeklyEnd(anchorDate, interval, dayFlags, count);
        QVERIFY(item->isValidTime(QDateTime(end, QTime(12, 0)).toMSecsSinceEpoch()));
        QVERIFY(!item->isValidTime(QDateTime(end.addDays(1), QTime(12, 0)).toMSecsSinceEpoch()));
    }
}

void TestReminderTimeRules::weeklyCountWithoutWeekdayHasNoOccurrence()
{
    setNow(ms(2031, 1, 1, 0));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 1, 1, 0);
    item->setRepeatCount(5);
    QVERIFY(!item->isValidTime(ms(2031, 6, 2, 9)));
    QVERIFY(!item->isValidTime(ms(2040, 6, 2, 9)));
    // Advancing such a reminder ends it instead of hanging.
    item->advanceRemindTime(false, true);
    QVERIFY(item->reminded());
}

void TestReminderTimeRules::repeatCountProductWrapsAt32Bits()
{
    setNow(ms(2031, 1, 1, 0));
    // 65536 x 65536 = 2^32 wraps to 0: the series ends on its first day.
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 65536);
    item->setRepeatCount(65536);
    QVERIFY(item->isValidTime(ms(2031, 6, 2, 23)));
    QVERIFY(!item->isValidTime(ms(2031, 6, 3, 0)));
    // 65536 x 32769 = 2^31 + 65536 wraps negative: the end lies some 5.8
    // million years before the anchor, below 1, which reads as no end at
    // all: any time after now is inside.
    item->setInterval(32769);
    QVERIFY(item->isValidTime(ms(2031, 6, 2, 9)));
    QVERIFY(item->isValidTime(ms(2090, 1, 1, 0)));
    QVERIFY(!item->isValidTime(ms(2030, 12, 31, 0)));
}

void TestReminderTimeRules::countTakesPrecedenceOverEndDate()
{
    setNow(ms(2031, 1, 1, 0));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 1);
    item->setEndDate(ms(2031, 12, 31, 0));
    item->setRepeatCount(1);
    QVERIFY(item->isValidTime(ms(2031, 6, 3, 9)));
    QVERIFY(!item->isValidTime(ms(2031, 6, 4, 9)));
}

void TestReminderTimeRules::endDateNearTheLargestTimeIsTheSameInEveryZone_data()
{
    // East of UTC these end dates have no local moment: the zone's offset
    // takes them past the largest time.
    const qint64 last = std::numeric_limits<qint64>::max();
    const qint64 hour = 3600000;
    QTest::addColumn<qint64>("endDate");
    QTest::addColumn<QString>("validity");
    QTest::newRow("the largest time") << last << kEverythingInside;
    QTest::newRow("an hour before it") << last - hour << kEverythingInside;
    QTest::newRow("eleven hours before it") << last - 11 * hour << kEverythingInside;
    QTest::newRow("a day before it") << last - 24 * hour << kEverythingInside;
    // Further back the end is an ordinary day again, in every zone.
    QTest::newRow("a week before it") << last - 7 * 24 * hour << kEndsAfterYear100000000;
}

void TestReminderTimeRules::endDateNearTheLargestTimeIsTheSameInEveryZone()
{
    QFETCH(qint64, endDate);
    QFETCH(QString, validity);
    setNow(ms(2031, 5, 7, 12));
    ReminderItemPtr item = series(ms(2031, 5, 1, 10), 0, 1);
    item->setEndDate(endDate);
    QCOMPARE(validityAcrossTime(item), validity);
}

void TestReminderTimeRules::weeklyCountWalkingBeforeTheEarliestDateEndsBeforeEverything_data()
{
    const int intMin = std::numeric_limits<int>::min();
    const int intMax = std::numeric_limits<int>::max();
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("dayFlags");
    QTest::addColumn<int>("count");
    // An end before the epoch reads as no end: any time after now is inside.
    QTest::newRow("20000 years back, inside the calendar") << -1000 << flags({1}) << 1000;
    QTest::newRow("weeks beyond 64 bits of days") << intMin << flags({1}) << intMax;
    QTest::newRow("before the earliest date") << intMin + 1 << flags({1}) << 1000;
    QTest::newRow("three weekdays, before the earliest date") << -1000000000 << flags({1, 3, 5}) << 3000;
}

void TestReminderTimeRules::weeklyCountWalkingBeforeTheEarliestDateEndsBeforeEverything()
{
    QFETCH(int, interval);
    QFETCH(int, dayFlags);
    QFETCH(int, count);
    setNow(ms(2031, 5, 7, 12));
    // Monday 2 June 2031.
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 1, interval, dayFlags);
    item->setRepeatCount(count);
    QCOMPARE(validityAcrossTime(item), kOnlyAfterNow);
}

void TestReminderTimeRules::monthlyCountBeyondTheCalendarIsAFarEnd_data()
{
    const int intMin = std::numeric_limits<int>::min();
    const int intMax = std::numeric_limits<int>::max();
    QTest::addColumn<qint64>("anchor");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("validity");
    // 2^31 - 1 months are some 179 million years: the end is that far ahead,
    // before the largest time (292 million years from 1970).
    QTest::newRow("2^31 - 1 months from January") << ms(2031, 1, 31, 10) << 1 << intMax << kEndsAfterYear100000000;
    QTest::newRow("2^31 - 12 months from December")
        << ms(2031, 12, 31, 10) << intMax - 11 << 1 << kEndsAfterYear100000000;
    QTest::newRow("65537 x 32767 months") << ms(2031, 1, 31, 10) << 32767 << 65537 << kEndsAfterYear100000000;
    // Far back the end lies before the epoch, which reads as no end.
    QTest::newRow("-2^31 months") << ms(2031, 1, 31, 10) << intMin << 1 << kOnlyAfterNow;
    QTest::newRow("46341 x 46341 months wraps negative") << ms(2031, 1, 31, 10) << 46341 << 46341 << kOnlyAfterNow;
}

void TestReminderTimeRules::monthlyCountBeyondTheCalendarIsAFarEnd()
{
    QFETCH(qint64, anchor);
    QFETCH(int, interval);
    QFETCH(int, count);
    QFETCH(QString, validity);
    setNow(ms(2031, 5, 7, 12));
    ReminderItemPtr item = series(anchor, 2, interval);
    item->setDayOfMonthFlags(31);
    item->setRepeatCount(count);
    QCOMPARE(validityAcrossTime(item), validity);
}

void TestReminderTimeRules::monthlyCountAgreesWithAddingMonths()
{
    // Where QDate::addMonths does not wrap, the count's months land where it
    // puts them, then on that month's last day.
    setNow(ms(2031, 1, 1, 0));
    QRandomGenerator rng(5150);
    for (int round = 0; round < 500; ++round) {
        const QDate anchorDate = QDate(2000, 1, 1).addDays(rng.bounded(36500));
        const int interval = rng.bounded(2) ? 1 + rng.bounded(240) : -1 - rng.bounded(3);
        const int count = 1 + rng.bounded(100);
        QDate end = anchorDate.addMonths(count * interval);
        end = end.addDays(end.daysInMonth() - end.day());
        ReminderItemPtr item = series(QDateTime(anchorDate, QTime(9, 0)).toMSecsSinceEpoch(), 2, interval);
        item->setDayOfMonthFlags(anchorDate.day());
        item->setRepeatCount(count);
        const QString rule = QStringLiteral("%1 x %2 months from %3")
                                 .arg(count)
                                 .arg(interval)
                                 .arg(anchorDate.toString(Qt::ISODate));
        if (end.year() < 1971) {
            // Before the epoch: no end.
            QVERIFY2(!item->isValidTime(ms(2030, 1, 1, 0)), qPrintable(rule));
            continue;
        }
        QVERIFY2(item->isValidTime(QDateTime(end, QTime(12, 0)).toMSecsSinceEpoch()), qPrintable(rule));
        QVERIFY2(!item->isValidTime(QDateTime(end.addDays(1), QTime(12, 0)).toMSecsSinceEpoch()), qPrintable(rule));
    }
}

void TestReminderTimeRules::countFromAnAnchorAtTheEdgesOfTimeIsTheSameInEveryZone_data()
{
    // Away from UTC one of these anchors has no local moment: the zone's
    // offset takes it past the end of the range.
    const qint64 first = std::numeric_limits<qint64>::min();
    const qint64 last = std::numeric_limits<qint64>::max();
    QTest::addColumn<qint64>("anchor");
    QTest::addColumn<int>("unit");
    QTest::addColumn<QString>("validity");
    QTest::newRow("daily from the first time") << first << 0 << kOnlyAfterNow;
    QTest::newRow("weekly from the first time") << first << 1 << kOnlyAfterNow;
    QTest::newRow("monthly from the first time") << first << 2 << kOnlyAfterNow;
    QTest::newRow("daily from the last time") << last << 0 << kEverythingInside;
    QTest::newRow("weekly from the last time") << last << 1 << kEverythingInside;
    QTest::newRow("monthly from the last time") << last << 2 << kEverythingInside;
}

void TestReminderTimeRules::countFromAnAnchorAtTheEdgesOfTimeIsTheSameInEveryZone()
{
    QFETCH(qint64, anchor);
    QFETCH(int, unit);
    QFETCH(QString, validity);
    setNow(ms(2031, 5, 7, 12));
    ReminderItemPtr item = series(anchor, unit, 1, flags({1, 2, 3, 4, 5, 6, 7}));
    item->setDayOfMonthFlags(1);
    item->setRepeatCount(2);
    QCOMPARE(validityAcrossTime(item), validity);
}

void TestReminderTimeRules::advanceWithoutRuleMarksReminded()
{
    setNow(ms(2031, 6, 3, 0));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 0);
    QSignalSpy remindTimeSpy(item.data(), &ReminderItem::remindTimeChanged);
    item->advanceRemindTime(false, true);
    QVERIFY(item->reminded());
    QCOMPARE(remindTimeSpy.count(), 0);
}

void TestReminderTimeRules::advanceMovesToNextOccurrence()
{
    setNow(ms(2031, 6, 4, 12));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 1);
    item->setReminded(true);
    QSignalSpy validSpy(item.data(), &ReminderItem::validTimeChanged);
    QSignalSpy showSpy(item.data(), &ReminderItem::showRemindTimeChanged);
    item->advanceRemindTime(false, false);
    QCOMPARE(local(item->remindTime()), at(2031, 6, 5, 9));
    QCOMPARE(item->validTime(), item->remindTime());
    QVERIFY(!item->reminded());
    QCOMPARE(item->showRemindTime(), ms(2031, 6, 2, 9));
    QCOMPARE(validSpy.count(), 1);
    QCOMPARE(showSpy.count(), 0);
}

void TestReminderTimeRules::advanceFromShowUpdatesShowWhenAsked()
{
    setNow(ms(2031, 6, 1, 0));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 1, 1, flags({1, 4}));
    // From the shown Monday: the Thursday after it, even though now is
    // earlier.
    item->advanceRemindTime(true, true);
    QCOMPARE(local(item->remindTime()), at(2031, 6, 5, 9));
    QCOMPARE(item->showRemindTime(), item->remindTime());
}

void TestReminderTimeRules::advancePastTheEndMarksReminded()
{
    setNow(ms(2031, 6, 10, 12));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 1);
    item->setEndDate(ms(2031, 6, 9, 0));
    const qint64 before = item->remindTime();
    item->advanceRemindTime(false, true);
    QVERIFY(item->reminded());
    QCOMPARE(item->remindTime(), before);
}

void TestReminderTimeRules::snoozeOfTenMinutesEndsAfterSixSnoozes()
{
    const qint64 start = ms(2031, 6, 2, 9);
    ReminderItemPtr item(new ReminderItem(QStringLiteral("r")));
    item->setOriginalRemindTime(start);
    item->setShowRemindTime(start);
    item->setRemindTime(start);
    item->setSnooze(10);
    // Each firing, the reminder goes ten minutes on; the sixth step lies
    // past 50 minutes after the cycle's start.
    for (int fired = 1; fired <= 5; ++fired) {
        setNow(item->remindTime());
        QVERIFY2(item->stepSnooze(), qPrintable(QStringLiteral("firing %1").arg(fired)));
        QCOMPARE(item->remindTime(), start + fired * 600000);
    }
    setNow(item->remindTime());
    QVERIFY(!item->stepSnooze());
    QCOMPARE(item->remindTime(), start + 6 * 600000);
}

void TestReminderTimeRules::stepSnoozeSkipsMissedSteps()
{
    const qint64 start = ms(2031, 6, 2, 9);
    ReminderItemPtr item = series(start, 0, 0);
    item->setSnooze(10);
    // The machine slept: 25 minutes passed. The next step is at 30.
    setNow(start + 25 * 60000);
    QVERIFY(item->stepSnooze());
    QCOMPARE(item->remindTime(), start + 30 * 60000);
    // Counted from a later valid time (a snooze the user chose).
    item->setValidTime(start + 40 * 60000);
    setNow(start + 41 * 60000);
    QVERIFY(item->stepSnooze());
    QCOMPARE(item->remindTime(), start + 50 * 60000);
}

void TestReminderTimeRules::stepSnoozeWithoutSnoozeMovesRepeatingReminderOn()
{
    setNow(ms(2031, 6, 2, 9));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 2);
    QVERIFY(item->stepSnooze());
    QCOMPARE(local(item->remindTime()), at(2031, 6, 2, 9)); // equal to now counts
    setNow(ms(2031, 6, 2, 9, 1));
    QVERIFY(item->stepSnooze());
    QCOMPARE(local(item->remindTime()), at(2031, 6, 4, 9));
    QCOMPARE(item->validTime(), item->remindTime());
    QVERIFY(!item->reminded());
}

void TestReminderTimeRules::stepSnoozeWithoutSnoozeMarksOneOffReminded()
{
    setNow(ms(2031, 6, 2, 9));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 0);
    QVERIFY(item->stepSnooze());
    QVERIFY(item->reminded());
    QCOMPARE(item->remindTime(), ms(2031, 6, 2, 9));
}

void TestReminderTimeRules::snoozeStepWrapsAbove35791Minutes()
{
    QCOMPARE(ReminderItem::snoozeStep(10), qint64(600000));
    QCOMPARE(ReminderItem::snoozeStep(35791), qint64(35791) * 60000);
    QCOMPARE(ReminderItem::snoozeStep(35792), qint64(qint64(35792) * 60000 - (qint64(1) << 32)));
    QVERIFY(ReminderItem::snoozeStep(35792) < 0);
    QCOMPARE(ReminderItem::snoozeStep(71583), qint64(71583) * 60000 - (qint64(1) << 32));
    QVERIFY(ReminderItem::snoozeStep(71583) > 0);
}

void TestReminderTimeRules::snoozePeriodThatWrapsToNothingEndsTheCycle()
{
    const qint64 start = ms(2031, 6, 2, 9);
    for (int minutes : {35792, 134217728, std::numeric_limits<int>::max()}) {
        ReminderItemPtr item = series(start, 0, 0);
        item->setSnooze(minutes);
        setNow(start + 1);
        if (ReminderItem::snoozeStep(minutes) <= 0) {
            QVERIFY(!item->stepSnooze());
            QCOMPARE(item->remindTime(), start);
            item->refreshSnooze();
            QCOMPARE(item->remindTime(), start);
        } else {
            QVERIFY(item->stepSnooze());
            QVERIFY(item->remindTime() > start);
        }
    }
}

void TestReminderTimeRules::snoozeFromTheStartOfTheRangeLandsOnItsStepsAfterNow()
{
    // Times as a damaged record or a foreign message can hold them: the
    // steps from there to now do not fit in a 64-bit difference.
    const qint64 first = std::numeric_limits<qint64>::min() + 5;
    const qint64 now = ms(2031, 6, 2, 12);
    const qint64 step = 10 * 60000;
    setNow(now);
    const auto onItsSteps = [first, step](qint64 t) { return (quint64(t) - quint64(first)) % quint64(step) == 0; };

    ReminderItemPtr refreshed = series(first, 0, 0);
    refreshed->setSnooze(10);
    refreshed->setValidTime(first);
    refreshed->refreshSnooze();
    QVERIFY(refreshed->remindTime() > now);
    QVERIFY(refreshed->remindTime() <= now + step);
    QVERIFY(onItsSteps(refreshed->remindTime()));

    ReminderItemPtr stepped = series(first, 0, 0);
    stepped->setSnooze(10);
    stepped->setValidTime(first);
    // Far more than five steps after the cycle began: it is used up.
    QVERIFY(!stepped->stepSnooze());
    QCOMPARE(stepped->remindTime(), refreshed->remindTime());
}

void TestReminderTimeRules::snoozeCycleNearTheEndOfTheRangeGoesOn()
{
    // Five steps after a start this late lie past the end of the range; the
    // cycle's limit stops there, and a time before it goes on.
    const qint64 late = std::numeric_limits<qint64>::max() - 10;
    setNow(ms(2031, 6, 2, 12));
    ReminderItemPtr item = series(late, 0, 0);
    item->setSnooze(10);
    QVERIFY(item->stepSnooze());
    QCOMPARE(item->remindTime(), late);
}

void TestReminderTimeRules::nextTimeFromShowAtTheEndOfTheRangeIsNone()
{
    // A second after the shown time lies past the end of the range: the
    // next day's occurrence has no moment.
    const qint64 late = std::numeric_limits<qint64>::max() - 500;
    setNow(ms(2031, 6, 2, 12));
    ReminderItemPtr item = series(late, 0, 1);
    QCOMPARE(item->nextRemindTimeFromShow(), 0);
}

void TestReminderTimeRules::refreshSnoozeLeavesRemindedOrFutureReminders()
{
    setNow(ms(2031, 6, 2, 12));
    ReminderItemPtr done = series(ms(2031, 6, 2, 9), 0, 1);
    done->setReminded(true);
    done->refreshSnooze();
    QCOMPARE(done->remindTime(), ms(2031, 6, 2, 9));

    ReminderItemPtr future = series(ms(2031, 6, 2, 13), 0, 1);
    future->setSnooze(5);
    future->refreshSnooze();
    QCOMPARE(future->remindTime(), ms(2031, 6, 2, 13));
}

void TestReminderTimeRules::refreshSnoozeBringsSnoozedReminderToPresent()
{
    const qint64 start = ms(2031, 6, 2, 9);
    ReminderItemPtr item = series(start, 0, 0);
    item->setSnooze(15);
    setNow(start + 100 * 60000);
    item->refreshSnooze();
    QCOMPARE(item->remindTime(), start + 105 * 60000);
    QVERIFY(!item->reminded());
}

void TestReminderTimeRules::refreshSnoozeMovesRepeatingReminderToNextOccurrence()
{
    setNow(ms(2031, 6, 5, 12));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 1);
    item->refreshSnooze();
    QCOMPARE(local(item->remindTime()), at(2031, 6, 6, 9));
    QCOMPARE(item->showRemindTime(), ms(2031, 6, 2, 9));
}

void TestReminderTimeRules::refreshSnoozeLeavesOneOffWithoutSnooze()
{
    setNow(ms(2031, 6, 5, 12));
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 0);
    item->refreshSnooze();
    QCOMPARE(item->remindTime(), ms(2031, 6, 2, 9));
    QVERIFY(!item->reminded());
}

void TestReminderTimeRules::snoozeToTomorrowOnDailyReminderDueTomorrowAt0800Gives0800()
{
    setNow(ms(2031, 6, 2, 20));
    ReminderItemPtr item = series(ms(2031, 5, 30, 8), 0, 1);
    item->snoozeToTomorrow();
    QCOMPARE(local(item->remindTime()), at(2031, 6, 3, 8));
    QCOMPARE(item->validTime(), item->remindTime());
}

void TestReminderTimeRules::snoozeToTomorrowWithLaterOccurrenceGives0900()
{
    setNow(ms(2031, 6, 2, 20));
    ReminderItemPtr item = series(ms(2031, 5, 30, 10), 0, 1);
    item->snoozeToTomorrow();
    QCOMPARE(local(item->remindTime()), at(2031, 6, 3, 9));
    QCOMPARE(local(item->validTime()), at(2031, 6, 3, 9));
}

void TestReminderTimeRules::snoozeToTomorrowOfOneOffDueBeforeTomorrowKeepsItsTime()
{
    // A reminder that does not repeat has its own remind time as its "next
    // occurrence"; when that is before tomorrow 09:00 it is the sooner one,
    // and the reminder stays where it is (now also its valid time).
    setNow(ms(2031, 6, 2, 20));
    ReminderItemPtr item = series(ms(2031, 6, 2, 19), 0, 0);
    item->snoozeToTomorrow();
    QCOMPARE(item->remindTime(), ms(2031, 6, 2, 19));
    QCOMPARE(item->validTime(), ms(2031, 6, 2, 19));
}

void TestReminderTimeRules::snoozeToTomorrowOfOneOffWithoutTimeGives0900()
{
    setNow(ms(2031, 6, 2, 20));
    ReminderItemPtr item(new ReminderItem(QStringLiteral("r")));
    item->snoozeToTomorrow();
    QCOMPARE(local(item->remindTime()), at(2031, 6, 3, 9));
    // And one due after tomorrow morning comes forward to it.
    ReminderItemPtr later = series(ms(2031, 6, 5, 19), 0, 0);
    later->snoozeToTomorrow();
    QCOMPARE(local(later->remindTime()), at(2031, 6, 3, 9));
}

void TestReminderTimeRules::rescheduleToSameTimeDoesNothing()
{
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 1);
    item->setValidTime(5);
    QSignalSpy validSpy(item.data(), &ReminderItem::validTimeChanged);
    item->reschedule(ms(2031, 6, 2, 9));
    QCOMPARE(item->validTime(), 5);
    QCOMPARE(validSpy.count(), 0);
}

void TestReminderTimeRules::rescheduleClearsValidTimeAndMovesTheSeries()
{
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 1);
    item->setValidTime(ms(2031, 6, 2, 9, 10));
    item->setShowRemindTime(ms(2031, 6, 3, 9));
    QSignalSpy originalSpy(item.data(), &ReminderItem::originalRemindTimeChanged);
    item->reschedule(ms(2031, 7, 1, 7));
    QCOMPARE(item->validTime(), 0);
    QCOMPARE(item->originalRemindTime(), ms(2031, 7, 1, 7));
    QCOMPARE(item->remindTime(), ms(2031, 7, 1, 7));
    QCOMPARE(item->showRemindTime(), ms(2031, 7, 1, 7));
    QCOMPARE(originalSpy.count(), 1);
}

void TestReminderTimeRules::rescheduleTo31stWithLastDayKeepsMinusOne()
{
    ReminderItemPtr item = series(ms(2031, 6, 30, 9), 2, 1);
    item->setDayOfMonthFlags(-1);
    item->reschedule(ms(2031, 7, 31, 9));
    QCOMPARE(item->dayOfMonthFlags(), -1);
    // The 30th of a 31-day month is the second-last day.
    item->reschedule(ms(2031, 8, 30, 9));
    QCOMPARE(item->dayOfMonthFlags(), -2);
}

void TestReminderTimeRules::rescheduleMonthlyByDayTakesTheNewDay()
{
    ReminderItemPtr item = series(ms(2031, 6, 30, 9), 2, 1);
    item->setDayOfMonthFlags(30);
    item->reschedule(ms(2031, 7, 12, 9));
    QCOMPARE(item->dayOfMonthFlags(), 12);
}

void TestReminderTimeRules::rescheduleMonthlyByWeekTakesTheNewWeekAndWeekday_data()
{
    QTest::addColumn<int>("weekBefore");
    QTest::addColumn<QDate>("date");
    QTest::addColumn<int>("week");
    // Thursday 17 July 2031: the third Thursday; the second-last counting
    // from the end (31 - 17 + 7) / 7 = 3 -> -3.
    QTest::newRow("from the start") << 2 << QDate(2031, 7, 17) << 3;
    QTest::newRow("from the end") << -1 << QDate(2031, 7, 17) << -3;
    QTest::newRow("zero counts as from the end") << 0 << QDate(2031, 7, 31) << -1;
    QTest::newRow("last week from the start") << 1 << QDate(2031, 7, 31) << 5;
}

void TestReminderTimeRules::rescheduleMonthlyByWeekTakesTheNewWeekAndWeekday()
{
    QFETCH(int, weekBefore);
    QFETCH(QDate, date);
    QFETCH(int, week);
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 2, 1, flags({1}));
    item->setWeekOfMonthFlags(weekBefore);
    item->reschedule(QDateTime(date, QTime(9, 0)).toMSecsSinceEpoch());
    QCOMPARE(item->weekOfMonthFlags(), week);
    QCOMPARE(item->dayOfWeekFlags(), ModelBaseUtil::dayOfWeekToFlag(date.dayOfWeek()));
    QCOMPARE(item->dayOfMonthFlags(), 0);
}

void TestReminderTimeRules::rescheduleRaisesAnEarlierEndDate()
{
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 0, 1);
    item->setEndDate(ms(2031, 6, 10, 0));
    item->reschedule(ms(2031, 6, 20, 9));
    QCOMPARE(item->endDate(), ms(2031, 6, 20, 9));
    item->reschedule(ms(2031, 6, 5, 9));
    QCOMPARE(item->endDate(), ms(2031, 6, 20, 9));
}

void TestReminderTimeRules::rescheduleOneOffLeavesRuleAndEndDate()
{
    ReminderItemPtr item = series(ms(2031, 6, 2, 9), 2, 0);
    item->setDayOfMonthFlags(2);
    item->setEndDate(ms(2031, 6, 3, 0));
    item->reschedule(ms(2031, 6, 20, 9));
    QCOMPARE(item->dayOfMonthFlags(), 2);
    QCOMPARE(item->endDate(), ms(2031, 6, 3, 0));
    QCOMPARE(item->remindTime(), ms(2031, 6, 20, 9));
}

QTEST_GUILESS_MAIN(TestReminderTimeRules)
#include "tst_remindertimerules.moc"
