// Next-occurrence computations per second for each rule family, with the
// series' anchor five years before `from`: the calendar helpers alone, and
// through a reminder's nextRemindTime() (which adds reading the clock and
// converting times). Best of 3 runs each. The calendar helper's own rate is
// the floor of the reminder's: nextRemindTime() does the helper's work and
// more.
#include "benchresults.h"
#include "modelbaseutil.h"
#include "networksubject.h"
#include "reminderitem.h"
#include "reminderpattern.h"

#include <QDateTime>
#include <QElapsedTimer>

#include <cstdio>
#include <functional>
#include <random>

namespace {

constexpr int kRuns = 3;
constexpr int kCalls = 200000;

struct Rule
{
    const char* name;
    int unit;
    int interval;
    int dayOfWeek;
    int dayOfMonth;
    int weekOfMonth;
};

const Rule kRules[] = {
    {"daily.every3days", 0, 3, 0, 0, 0},
    {"weekly.mon_wed_fri", 1, 1, 1 | 4 | 16, 0, 0},
    {"weekly.every2weeks_tue", 1, 2, 2, 0, 0},
    {"monthly.day31", 2, 1, 0, 31, 0},
    {"monthly.lastday", 2, 1, 0, -1, 0},
    {"monthly.second_tuesday", 2, 1, 2, 0, 2},
    {"monthly.last_friday", 2, 1, 16, 0, -1},
};

qint64 calendar(const Rule& r, const QDateTime& anchor, const QDateTime& from)
{
    switch (r.unit) {
    case 0: return nextDayOccurrence(anchor, from, r.interval);
    case 1: return nextWeekOccurrence(anchor, from, r.interval, r.dayOfWeek);
    default: return nextMonthOccurrence(anchor, from, r.interval, r.dayOfMonth, r.weekOfMonth, r.dayOfWeek);
    }
}

double bestRate(const std::function<qint64(int)>& call)
{
    double best = 0;
    for (int run = 0; run < kRuns; ++run) {
        QElapsedTimer timer;
        timer.start();
        qint64 sink = 0;
        for (int i = 0; i < kCalls; ++i)
            sink ^= call(i);
        const qint64 ns = timer.nsecsElapsed();
        if (sink == 42)
            std::printf("# (unlikely checksum)\n");
        best = std::max(best, kCalls * 1e9 / double(ns));
    }
    return best;
}

} // namespace

int main(int argc, char** argv)
{
    benchresults::init(argc, argv);
    // From-times spread over a year, five years after the anchor.
    const QDateTime anchor(QDate(2021, 1, 14), QTime(9, 30));
    const qint64 base = QDateTime(QDate(2026, 1, 14), QTime(0, 0)).toMSecsSinceEpoch();
    std::mt19937_64 rng(7);
    QList<QDateTime> froms;
    QList<qint64> fromMs;
    for (int i = 0; i < 4096; ++i) {
        const qint64 t = base + qint64(rng() % (365ULL * 24 * 3600 * 1000));
        fromMs.append(t);
        froms.append(QDateTime::fromMSecsSinceEpoch(t));
    }

    std::printf("# next occurrence, anchor five years before from, calls per second (best of %d)\n", kRuns);
    QList<double> calendarRates;
    for (const Rule& r : kRules) {
        const double rate = bestRate([&](int i) { return calendar(r, anchor, froms.at(i & 4095)); });
        std::printf("BENCH calendar.%s %.0f calls/s\n", r.name, rate);
        benchresults::result(qPrintable(QStringLiteral("calendar.%1").arg(QLatin1String(r.name))), -1, rate,
                             "calls/s", benchresults::Higher);
        calendarRates.append(rate);
    }

    network::NetworkSubject* clock = network::NetworkSubject::instance();
    int ruleIndex = 0;
    for (const Rule& r : kRules) {
        ReminderItem item(QStringLiteral("bench"));
        item.setOriginalRemindTime(anchor.toMSecsSinceEpoch());
        item.setShowRemindTime(anchor.toMSecsSinceEpoch());
        item.setRemindTime(anchor.toMSecsSinceEpoch());
        item.setUnit(r.unit);
        item.setInterval(r.interval);
        item.setDayOfWeekFlags(r.dayOfWeek);
        item.setDayOfMonthFlags(r.dayOfMonth);
        item.setWeekOfMonthFlags(r.weekOfMonth);
        const double rate = bestRate([&](int i) {
            clock->setFixedTime(fromMs.at(i & 4095));
            return item.nextRemindTime();
        });
        std::printf("BENCH item.nextRemindTime.%s %.0f calls/s\n", r.name, rate);
        const QString name = QLatin1String(r.name);
        benchresults::result(qPrintable(QStringLiteral("item.nextRemindTime.") + name), -1, rate, "calls/s",
                             benchresults::Higher, qPrintable(QStringLiteral("calendar.") + name),
                             calendarRates.at(ruleIndex++));
    }
    clock->releaseFixedTime();
    return 0;
}
