// The calendar helpers: next day, week and month occurrences. Run under
// several time zones (the suite sets TZ).
#include "clockchanges.h"
#include "modelbaseutil.h"
#include "reminderpattern.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
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

int flags(std::initializer_list<int> days)
{
    int f = 0;
    for (int d : days)
        f |= ModelBaseUtil::dayOfWeekToFlag(d);
    return f;
}

// The moment of a day at a time, pushed forward over a skipped hour the way
// the helpers promise.
QDateTime moment(const QDate& day, const QTime& time)
{
    QDateTime dt(day, time);
    if (!dt.isValid())
        dt = QDateTime::fromMSecsSinceEpoch(dt.toMSecsSinceEpoch());
    return dt;
}

// ---- An independent oracle: walks the calendar one day at a time and asks
// of each day whether the rule holds on it.

bool dailyHolds(const QDate& anchor, const QDate& day, int n)
{
    return anchor.daysTo(day) % n == 0;
}

QDate mondayOf(const QDate& d)
{
    return d.addDays(1 - d.dayOfWeek());
}

bool weeklyHolds(const QDate& anchor, const QDate& day, int n, int dayFlags)
{
    if (!(dayFlags & ModelBaseUtil::dayOfWeekToFlag(day.dayOfWeek())))
        return false;
    const qint64 weeks = mondayOf(anchor).daysTo(mondayOf(day)) / 7;
    return weeks % n == 0;
}

qint64 monthIndex(const QDate& d)
{
    return qint64(d.year()) * 12 + d.month() - 1;
}

// The day a month rule picks in the month of `month`, counted the plain way
// (the first Monday is the first Monday), with the rule's one twist: an
// n-th weekday one day past the month's end lands on the next month's first
// day (or, counted from the end, the previous month's last day); further
// past, it falls back a week.
QDate monthRuleDay(const QDate& month, int dayOfMonth, int weekOfMonth, int dayFlags)
{
    const int length = month.daysInMonth();
    if (dayOfMonth > 0)
        return QDate(month.year(), month.month(), qMin(dayOfMonth % 256, length));
    if (dayOfMonth < 0)
        return QDate(month.year(), month.month(), qMax(1, length - (-dayOfMonth) % 256 + 1));
    const int w = ModelBaseUtil::flagToDayOfWeek(dayFlags);
    const int n = qAbs(weekOfMonth) % 256;
    if (weekOfMonth > 0) {
        const QDate first(month.year(), month.month(), 1);
        const int firstW = 1 + (w - first.dayOfWeek() + 7) % 7; // the first such weekday
        int day = firstW + 7 * (n - 1);
        if (day > length + 1)
            day -= 7;
        return first.addDays(day - 1);
    }
    const QDate last(month.year(), month.month(), length);
    const int lastW = length - (last.dayOfWeek() - w + 7) % 7;
    int back = (length - lastW) + 7 * (n - 1); // days back from the last day
    if (back > length)
        back -= 7;
    return last.addDays(-back);
}

// The first occurrence after (or, daily, not before) `from`, day by day.
qint64 oracle(int kind, const QDateTime& anchor, const QDateTime& from, int n, int dom, int wom, int dayFlags)
{
    const QTime time = anchor.time();
    const QDate a = anchor.date();
    for (QDate day = from.date().addDays(-1); day <= from.date().addDays(7 * 12 * n + 400); day = day.addDays(1)) {
        bool holds = false;
        if (kind == 0) {
            holds = dailyHolds(a, day, n);
        } else if (kind == 1) {
            holds = weeklyHolds(a, day, n, dayFlags);
        } else {
            // The rule's day of every phased month near this day.
            for (int shift = -1; shift <= 1 && !holds; ++shift) {
                const QDate month = day.addMonths(shift);
                if ((monthIndex(month) - monthIndex(a)) % n != 0)
                    continue;
                holds = monthRuleDay(month, dom, wom, dayFlags) == day;
            }
        }
        if (!holds)
            continue;
        const QDateTime when = moment(day, time);
        if (kind == 0 ? when >= from : when > from)
            return when.toMSecsSinceEpoch();
    }
    return -1;
}

} // namespace

class TestReminderCalendar : public QObject
{
    Q_OBJECT
private slots:
    void dailyEqualToFromIsAccepted();
    void dailyAfterFromMovesToNextPhasedDay();
    void dailyKeepsAnchorsPhaseAcrossMonths();
    void weeklySkipsTheWeekOutOfPhase();
    void weeklyWantsStrictlyLaterThanFrom();
    void weeklyWithoutWeekdayHasNoOccurrence();
    void monthlyDay31IsClampedToShortMonths_data();
    void monthlyDay31IsClampedToShortMonths();
    void monthlyLastDayInLeapFebruaryIsThe29th();
    void monthlySecondTuesdayLiesBetween8thAnd14th_data();
    void monthlySecondTuesdayLiesBetween8thAnd14th();
    void monthlyLastFridayLiesInLastSevenDays_data();
    void monthlyLastFridayLiesInLastSevenDays();
    void monthlyFifthMondayOfFourWeekFebruaryIsFirstOfMarch();
    void monthlyFifthLastSundayOfFourWeekFebruaryIsLastOfJanuary();
    void monthlyMissingFifthWeekdayFallsBackAWeek();
    void monthlyWithoutDayOrWeekReturnsThePhasedMonthAsIs();
    void monthlyValuesAreTakenModulo256();
    void monthlyDayThatIsZeroModulo256HasNoOccurrence_data();
    void monthlyDayThatIsZeroModulo256HasNoOccurrence();
    void monthlyEveryThreeMonthsKeepsAnchorsPhase();
    void intervalBelowOneHasNoOccurrence();
    void farAnchorIsAnsweredAtOnce();
    void occurrenceBeyondTheEndOfLocalTimeIsNone();
    void resultKeepsAnchorsTimeOfDay();
    void anchorTimeSkippedByClockChangeIsPushedForward();
    void anchorTimeRepeatedByClockChangeKeepsWallClockTime();
    void bruteForceAgreesWithDayByDayWalk();
    void nearClockChangesAgreesWithDayByDayWalk();
};

void TestReminderCalendar::dailyEqualToFromIsAccepted()
{
    QCOMPARE(nextDayOccurrence(at(2024, 3, 1, 9), at(2024, 3, 10, 9), 3), ms(2024, 3, 10, 9));
}

void TestReminderCalendar::dailyAfterFromMovesToNextPhasedDay()
{
    QCOMPARE(nextDayOccurrence(at(2024, 3, 1, 9), at(2024, 3, 10, 9, 1), 3), ms(2024, 3, 13, 9));
    // From before the time of day on a phased day: that day.
    QCOMPARE(nextDayOccurrence(at(2024, 3, 1, 9), at(2024, 3, 10, 8), 3), ms(2024, 3, 10, 9));
    // From on a day out of phase: the next phased one.
    QCOMPARE(nextDayOccurrence(at(2024, 3, 1, 9), at(2024, 3, 11, 8), 3), ms(2024, 3, 13, 9));
}

void TestReminderCalendar::dailyKeepsAnchorsPhaseAcrossMonths()
{
    // 1 Jan + 7k: 29 Jan, 26 Feb, 4 Mar.
    QCOMPARE(nextDayOccurrence(at(2024, 1, 1, 18), at(2024, 2, 27, 0), 7), ms(2024, 3, 4, 18));
}

void TestReminderCalendar::weeklySkipsTheWeekOutOfPhase()
{
    QCOMPARE(nextWeekOccurrence(at(2024, 6, 3, 8), at(2024, 6, 7, 12), 2, flags({1, 4})), ms(2024, 6, 17, 8));
    // Inside the phased week, the Thursday.
    QCOMPARE(nextWeekOccurrence(at(2024, 6, 3, 8), at(2024, 6, 4, 12), 2, flags({1, 4})), ms(2024, 6, 6, 8));
}

void TestReminderCalendar::weeklyWantsStrictlyLaterThanFrom()
{
    QCOMPARE(nextWeekOccurrence(at(2024, 6, 3, 8), at(2024, 6, 6, 8), 1, flags({1, 4})), ms(2024, 6, 10, 8));
    QCOMPARE(nextWeekOccurrence(at(2024, 6, 3, 8), at(2024, 6, 6, 7, 59), 1, flags({1, 4})), ms(2024, 6, 6, 8));
}

void TestReminderCalendar::weeklyWithoutWeekdayHasNoOccurrence()
{
    QCOMPARE(nextWeekOccurrence(at(2024, 6, 3, 8), at(2024, 6, 7, 12), 1, 0), 0);
    // Bits above Sunday are not weekdays.
    QCOMPARE(nextWeekOccurrence(at(2024, 6, 3, 8), at(2024, 6, 7, 12), 1, 0x80), 0);
}

void TestReminderCalendar::monthlyDay31IsClampedToShortMonths_data()
{
    QTest::addColumn<QDateTime>("from");
    QTest::addColumn<QDateTime>("expected");
    QTest::newRow("from 5 April") << at(2024, 4, 5, 0) << at(2024, 4, 30, 10);
    QTest::newRow("from 1 May") << at(2024, 5, 1, 0) << at(2024, 5, 31, 10);
    QTest::newRow("from 1 February, leap year") << at(2024, 2, 1, 0) << at(2024, 2, 29, 10);
    QTest::newRow("from 1 February") << at(2023, 2, 1, 0) << at(2023, 2, 28, 10);
    QTest::newRow("from 30 April after the time") << at(2024, 4, 30, 11) << at(2024, 5, 31, 10);
}

void TestReminderCalendar::monthlyDay31IsClampedToShortMonths()
{
    QFETCH(QDateTime, from);
    QFETCH(QDateTime, expected);
    QCOMPARE(local(nextMonthOccurrence(at(2023, 1, 31, 10), from, 1, 31, 0, 0)), expected);
}

void TestReminderCalendar::monthlyLastDayInLeapFebruaryIsThe29th()
{
    QCOMPARE(local(nextMonthOccurrence(at(2023, 10, 31, 7), at(2024, 2, 3, 0), 1, -1, 0, 0)), at(2024, 2, 29, 7));
    QCOMPARE(local(nextMonthOccurrence(at(2022, 10, 31, 7), at(2023, 2, 3, 0), 1, -1, 0, 0)), at(2023, 2, 28, 7));
}

void TestReminderCalendar::monthlySecondTuesdayLiesBetween8thAnd14th_data()
{
    QTest::addColumn<int>("month");
    for (int m = 0; m < 24; ++m)
        QTest::newRow(qPrintable(QStringLiteral("month %1").arg(m))) << m;
}

void TestReminderCalendar::monthlySecondTuesdayLiesBetween8thAnd14th()
{
    QFETCH(int, month);
    const QDate first = QDate(2024, 1, 1).addMonths(month);
    const QDateTime from(first, QTime(0, 0));
    const QDateTime got = local(nextMonthOccurrence(at(2023, 1, 10, 9), from, 1, 0, 2, flags({2})));
    QCOMPARE(got.date().dayOfWeek(), 2);
    QCOMPARE(got.date().month(), first.month());
    QVERIFY2(got.date().day() >= 8 && got.date().day() <= 14, qPrintable(got.toString()));
    QCOMPARE(got.time(), QTime(9, 0));
}

void TestReminderCalendar::monthlyLastFridayLiesInLastSevenDays_data()
{
    monthlySecondTuesdayLiesBetween8thAnd14th_data();
}

void TestReminderCalendar::monthlyLastFridayLiesInLastSevenDays()
{
    QFETCH(int, month);
    const QDate first = QDate(2024, 1, 1).addMonths(month);
    const QDateTime from(first, QTime(0, 0));
    const QDateTime got = local(nextMonthOccurrence(at(2023, 1, 27, 9), from, 1, 0, -1, flags({5})));
    QCOMPARE(got.date().dayOfWeek(), 5);
    QCOMPARE(got.date().month(), first.month());
    QVERIFY2(got.date().day() > first.daysInMonth() - 7, qPrintable(got.toString()));
}

void TestReminderCalendar::monthlyFifthMondayOfFourWeekFebruaryIsFirstOfMarch()
{
    // February 2021 starts on a Monday and has 28 days: its "fifth Monday"
    // is one day past its end, which is kept, landing on 1 March.
    QCOMPARE(QDate(2021, 2, 1).dayOfWeek(), 1);
    QCOMPARE(local(nextMonthOccurrence(at(2020, 11, 30, 9), at(2021, 2, 1, 0), 1, 0, 5, flags({1}))),
             at(2021, 3, 1, 9));
}

void TestReminderCalendar::monthlyFifthLastSundayOfFourWeekFebruaryIsLastOfJanuary()
{
    // Counted from the end, the same month's fifth-last Sunday lands one
    // day before its first day.
    QCOMPARE(QDate(2021, 2, 28).dayOfWeek(), 7);
    QCOMPARE(local(nextMonthOccurrence(at(2020, 11, 1, 9), at(2021, 1, 30, 0), 1, 0, -5, flags({7}))),
             at(2021, 1, 31, 9));
}

void TestReminderCalendar::monthlyMissingFifthWeekdayFallsBackAWeek()
{
    // April 2024 has four Fridays (5, 12, 19, 26): the fifth is the fourth.
    QCOMPARE(local(nextMonthOccurrence(at(2024, 3, 29, 9), at(2024, 4, 1, 0), 1, 0, 5, flags({5}))),
             at(2024, 4, 26, 9));
}

void TestReminderCalendar::monthlyWithoutDayOrWeekReturnsThePhasedMonthAsIs()
{
    // Every 2 months from January: from 20 April goes back to 20 March,
    // earlier than `from`, and is returned as it is.
    QCOMPARE(local(nextMonthOccurrence(at(2024, 1, 5, 9), at(2024, 4, 20, 12), 2, 0, 0, 0)), at(2024, 3, 20, 9));
    // From 31 May, March has no 31st: the phased date is clamped.
    QCOMPARE(local(nextMonthOccurrence(at(2024, 1, 5, 9), at(2024, 4, 30, 12), 2, 0, 0, 0)), at(2024, 3, 30, 9));
}

void TestReminderCalendar::monthlyValuesAreTakenModulo256()
{
    const QDateTime anchor = at(2024, 1, 3, 9);
    const QDateTime from = at(2024, 5, 2, 0);
    QCOMPARE(nextMonthOccurrence(anchor, from, 1, 256 + 3, 0, 0), nextMonthOccurrence(anchor, from, 1, 3, 0, 0));
    QCOMPARE(nextMonthOccurrence(anchor, from, 1, -(256 + 2), 0, 0), nextMonthOccurrence(anchor, from, 1, -2, 0, 0));
    QCOMPARE(nextMonthOccurrence(anchor, from, 1, 0, 512 + 2, flags({3})),
             nextMonthOccurrence(anchor, from, 1, 0, 2, flags({3})));
    QCOMPARE(nextMonthOccurrence(anchor, from, 1, 0, -(256 + 1), flags({3})),
             nextMonthOccurrence(anchor, from, 1, 0, -1, flags({3})));
}

void TestReminderCalendar::monthlyDayThatIsZeroModulo256HasNoOccurrence_data()
{
    QTest::addColumn<int>("dayOfMonth");
    QTest::newRow("256") << 256;
    QTest::newRow("-256") << -256;
    QTest::newRow("512") << 512;
    QTest::newRow("min int") << std::numeric_limits<int>::min();
}

void TestReminderCalendar::monthlyDayThatIsZeroModulo256HasNoOccurrence()
{
    QFETCH(int, dayOfMonth);
    QCOMPARE(nextMonthOccurrence(at(2024, 1, 3, 9), at(2024, 5, 2, 0), 1, dayOfMonth, 0, 0), 0);
}

void TestReminderCalendar::monthlyEveryThreeMonthsKeepsAnchorsPhase()
{
    // Phased months: January, April, July, October.
    QCOMPARE(local(nextMonthOccurrence(at(2024, 1, 15, 9), at(2024, 5, 1, 0), 3, 15, 0, 0)), at(2024, 7, 15, 9));
    QCOMPARE(local(nextMonthOccurrence(at(2024, 1, 15, 9), at(2024, 4, 15, 8), 3, 15, 0, 0)), at(2024, 4, 15, 9));
    // Across a year boundary.
    QCOMPARE(local(nextMonthOccurrence(at(2024, 1, 15, 9), at(2024, 11, 1, 0), 3, 15, 0, 0)), at(2025, 1, 15, 9));
}

void TestReminderCalendar::intervalBelowOneHasNoOccurrence()
{
    for (int n : {0, -1, std::numeric_limits<int>::min()}) {
        QCOMPARE(nextDayOccurrence(at(2024, 1, 1, 9), at(2024, 2, 1, 9), n), 0);
        QCOMPARE(nextWeekOccurrence(at(2024, 1, 1, 9), at(2024, 2, 1, 9), n, 1), 0);
        QCOMPARE(nextMonthOccurrence(at(2024, 1, 1, 9), at(2024, 2, 1, 9), n, 1, 0, 0), 0);
    }
}

void TestReminderCalendar::farAnchorIsAnsweredAtOnce()
{
    // Fifty years between anchor and `from`: the phase is found by
    // arithmetic, not by walking.
    QCOMPARE(local(nextDayOccurrence(at(1990, 1, 1, 6), at(2040, 1, 1, 7), 1)), at(2040, 1, 2, 6));
    QCOMPARE(local(nextWeekOccurrence(at(1990, 1, 1, 6), at(2040, 1, 1, 7), 1, flags({1}))).date().dayOfWeek(), 1);
    QCOMPARE(local(nextMonthOccurrence(at(1990, 1, 1, 6), at(2040, 1, 1, 7), 1, 1, 0, 0)), at(2040, 2, 1, 6));
}

void TestReminderCalendar::occurrenceBeyondTheEndOfLocalTimeIsNone()
{
    // A day before the last instant local time reaches (in every zone), and
    // series whose next occurrence lies a week or more later, beyond the
    // range, where no date has a moment. Each rule answers "none" at once
    // instead of walking on through the dates QDate still has.
    const qint64 last = std::numeric_limits<qint64>::max() - 86400000LL;
    const QDateTime from = local(last);
    const QDateTime anchor = local(last - 60 * 86400000LL - 3600000LL);
    QVERIFY(from.isValid() && anchor.isValid());
    QCOMPARE(anchor.time().addSecs(3600), from.time());
    const int weekday = from.date().dayOfWeek();
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(nextDayOccurrence(anchor, from, 30), 0);
    QCOMPARE(nextWeekOccurrence(anchor, from, 1, flags({weekday})), 0);
    QCOMPARE(nextMonthOccurrence(anchor, from, 1, from.date().day(), 0, 0), 0);
    QCOMPARE(nextMonthOccurrence(anchor, from, 1, -1, 0, 0), 0);
    QCOMPARE(nextMonthOccurrence(anchor, from, 1, 0, -1, flags({weekday})), 0);
    QCOMPARE(nextMonthOccurrence(anchor, from, 1, 0, 2, flags({2})), 0);
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
}

void TestReminderCalendar::resultKeepsAnchorsTimeOfDay()
{
    const QDateTime anchor = at(2024, 1, 2, 23, 45);
    for (int months = 0; months < 24; ++months) {
        const QDateTime from(QDate(2024, 1, 5).addMonths(months), QTime(12, 0));
        const QDateTime d = local(nextDayOccurrence(anchor, from, 5));
        const QDateTime w = local(nextWeekOccurrence(anchor, from, 1, flags({2, 6})));
        const QDateTime m = local(nextMonthOccurrence(anchor, from, 1, -1, 0, 0));
        for (const QDateTime& got : {d, w, m}) {
            if (QDateTime(got.date(), anchor.time()).isValid())
                QCOMPARE(got.time(), anchor.time());
        }
    }
}

void TestReminderCalendar::anchorTimeSkippedByClockChangeIsPushedForward()
{
    // Find, in the zone the test runs in, a day whose 02:30 does not exist
    // (spring forward); zones without such a day have nothing to check.
    QDate gapDay;
    for (QDate d(2024, 1, 1); d < QDate(2025, 1, 1); d = d.addDays(1)) {
        if (!QDateTime(d, QTime(2, 30)).isValid()) {
            gapDay = d;
            break;
        }
    }
    if (!gapDay.isValid())
        QSKIP("this time zone skips no 02:30 in 2024");
    const QDateTime anchor(gapDay.addDays(-10), QTime(2, 30));
    const QDateTime from(gapDay, QTime(0, 0));
    const QDateTime got = local(nextDayOccurrence(anchor, from, 1));
    QCOMPARE(got.date(), gapDay);
    QVERIFY(got.time() > QTime(2, 30)); // pushed forward by the gap
    QVERIFY(got.time() <= QTime(3, 30));
    // The next day the anchor's time is back.
    const QDateTime next = local(nextDayOccurrence(anchor, got.addSecs(60), 1));
    QCOMPARE(next, QDateTime(gapDay.addDays(1), QTime(2, 30)));
}

void TestReminderCalendar::anchorTimeRepeatedByClockChangeKeepsWallClockTime()
{
    // A day whose 01:30 happens twice (fall back).
    QDate overlapDay;
    for (QDate d(2024, 1, 1); d < QDate(2025, 1, 1); d = d.addDays(1)) {
        const QDateTime before(d, QTime(0, 0));
        const QDateTime after(d.addDays(1), QTime(0, 0));
        if (before.secsTo(after) > 24 * 3600) {
            overlapDay = d;
            break;
        }
    }
    if (!overlapDay.isValid())
        QSKIP("this time zone repeats no hour in 2024");
    const QDateTime anchor(overlapDay.addDays(-7), QTime(1, 30));
    const QDateTime got = local(nextWeekOccurrence(anchor, QDateTime(overlapDay, QTime(0, 0)), 1,
                                                   ModelBaseUtil::dayOfWeekToFlag(overlapDay.dayOfWeek())));
    QCOMPARE(got.date(), overlapDay);
    QCOMPARE(got.time(), QTime(1, 30));
}

// One random rule from `anchor`, asked from `from`, against the day-by-day
// walk; false (with the message) when they differ.
bool agreesWithWalk(QRandomGenerator& rng, int kind, const QDateTime& anchor, const QDateTime& from,
                    QString* message)
{
    const int n = 1 + rng.bounded(kind == 0 ? 10 : 5);
    int dayFlags = 0;
    int dom = 0;
    int wom = 0;
    qint64 got = 0;
    if (kind == 0) {
        got = nextDayOccurrence(anchor, from, n);
    } else if (kind == 1) {
        dayFlags = 1 + rng.bounded(127);
        got = nextWeekOccurrence(anchor, from, n, dayFlags);
    } else {
        if (rng.bounded(2)) {
            dom = (1 + rng.bounded(31)) * (rng.bounded(2) ? 1 : -1);
        } else {
            wom = (1 + rng.bounded(5)) * (rng.bounded(2) ? 1 : -1);
            dayFlags = ModelBaseUtil::dayOfWeekToFlag(1 + rng.bounded(7));
        }
        got = nextMonthOccurrence(anchor, from, n, dom, wom, dayFlags);
    }
    const qint64 expected = oracle(kind, anchor, from, n, dom, wom, dayFlags);
    // Not before `from` (daily) or strictly after it (weekly, monthly).
    const bool inOrder = kind == 0 ? got >= from.toMSecsSinceEpoch() : got > from.toMSecsSinceEpoch();
    if (got == expected && inOrder)
        return true;
    *message = QStringLiteral("kind %1 anchor %2 from %3 n %4 dom %5 wom %6 days %7: got %8, walk %9")
                   .arg(kind).arg(anchor.toString(Qt::ISODate), from.toString(Qt::ISODate)).arg(n).arg(dom)
                   .arg(wom).arg(dayFlags)
                   .arg(local(got).toString(Qt::ISODate), local(expected).toString(Qt::ISODate));
    return false;
}

void TestReminderCalendar::bruteForceAgreesWithDayByDayWalk()
{
    const quint32 seed = qEnvironmentVariableIsSet("CALENDAR_SEED")
        ? quint32(qEnvironmentVariableIntValue("CALENDAR_SEED"))
        : 20261121u;
    QRandomGenerator rng(seed);
    int checked = 0;
    for (int round = 0; round < 3000; ++round) {
        const QDate anchorDate = QDate(2000, 1, 1).addDays(rng.bounded(365 * 30));
        const QTime anchorTime(rng.bounded(24), rng.bounded(4) * 15);
        const QDateTime anchor = moment(anchorDate, anchorTime);
        // `from` up to ten years after the anchor.
        const QDateTime from = anchor.addSecs(qint64(rng.bounded(3650 * 24)) * 3600 + rng.bounded(3600));
        QString message;
        QVERIFY2(agreesWithWalk(rng, round % 3, anchor, from, &message),
                 qPrintable(QStringLiteral("seed %1 round %2 %3").arg(seed).arg(round).arg(message)));
        ++checked;
    }
    QCOMPARE(checked, 3000);
}

void TestReminderCalendar::nearClockChangesAgreesWithDayByDayWalk()
{
    // From-times within two days of each clock change of 2020-2030 in this
    // zone, anchors at times of day around the change's.
    const QList<QDateTime> changes = clockChanges(2020, 2030);
    if (changes.isEmpty())
        QSKIP("this time zone changes its clocks no time in 2020-2030");
    QRandomGenerator rng(20261124u);
    int checked = 0;
    for (const QDateTime& change : std::as_const(changes)) {
        for (int round = 0; round < 60; ++round) {
            const QDateTime from = local(change.toMSecsSinceEpoch() + qint64(rng.bounded(4 * 24 * 60)) * 60000
                                         - 2 * 86400000LL + rng.bounded(60000));
            const QTime time = local(change.toMSecsSinceEpoch()).time().addSecs(qint64(rng.bounded(16)) * 900 - 7200);
            const QDateTime anchor = moment(from.date().addDays(-qint64(rng.bounded(1500))), time);
            // Which instant a time shown twice names depends on the
            // conversions before it, for the walk as for the helpers.
            if (shownTwice(anchor) || shownTwice(from) || shownTwice(QDateTime(from.date(), time))
                || shownTwice(QDateTime(from.date().addDays(1), time)))
                continue;
            QString message;
            QVERIFY2(agreesWithWalk(rng, round % 3, anchor, from, &message), qPrintable(message));
            ++checked;
        }
    }
    QVERIFY(checked > changes.size() * 30);
}

QTEST_GUILESS_MAIN(TestReminderCalendar)
#include "tst_remindercalendar.moc"
