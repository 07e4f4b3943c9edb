// Next-occurrence computations, nanoseconds per call, for each rule family,
// with the series' anchor five years before `from` (from-times spread over a
// year). Best of 5 runs each.
//
//   calendar.<rule>.ns         the calendar helpers with TZ unset, as a
//                              desktop session runs them (the zone comes from
//                              /etc/localtime); floor: the same with TZ set
//   calendar.tzset.<rule>.ns   the same with TZ set to the zone
//                              /etc/localtime names, in this process
//   calendar.<rule>.tz_ratio   unset / set
//   item.nextRemindTime.<rule>.ns   through a reminder (reading the clock,
//                              from instants), TZ unset; floor: the helper
//   libical.<rule>.ns          libical 3's recurrence iterator for the same
//                              rule and anchor from the same `from`: a new
//                              iterator on the parsed rule,
//                              icalrecur_iterator_set_start, _next, _free
//   calendar.<rule>.libical_ratio   libical / the calendar helper
//
// Before timing, libical's answer and the helper's are compared for every
// from-time and rule; the benchmark stops at the first difference.
#include "benchresults.h"
#include "modelbaseutil.h"
#include "networksubject.h"
#include "reminderitem.h"
#include "reminderpattern.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QTimeZone>

#include <libical/ical.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <random>

namespace {

constexpr int kRuns = 5;
constexpr int kCalls = 200000;
constexpr int kPeerCalls = 4096;
constexpr int kFroms = 4096;

struct Rule
{
    const char* name;
    int unit;
    int interval;
    int dayOfWeek;
    int dayOfMonth;
    int weekOfMonth;
    // The same rule for libical. The 31st clamped to shorter months is the
    // last of the 28th to the 31st that the month has.
    const char* rrule;
};

const Rule kRules[] = {
    {"daily.every3days", 0, 3, 0, 0, 0, "FREQ=DAILY;INTERVAL=3"},
    {"weekly.mon_wed_fri", 1, 1, 1 | 4 | 16, 0, 0, "FREQ=WEEKLY;WKST=MO;BYDAY=MO,WE,FR"},
    {"weekly.every2weeks_tue", 1, 2, 2, 0, 0, "FREQ=WEEKLY;INTERVAL=2;WKST=MO;BYDAY=TU"},
    {"monthly.day31", 2, 1, 0, 31, 0, "FREQ=MONTHLY;BYMONTHDAY=28,29,30,31;BYSETPOS=-1"},
    {"monthly.lastday", 2, 1, 0, -1, 0, "FREQ=MONTHLY;BYMONTHDAY=-1"},
    {"monthly.second_tuesday", 2, 1, 2, 0, 2, "FREQ=MONTHLY;BYDAY=2TU"},
    {"monthly.last_friday", 2, 1, 16, 0, -1, "FREQ=MONTHLY;BYDAY=-1FR"},
};

qint64 calendar(const Rule& r, const QDateTime& anchor, const QDateTime& from)
{
    switch (r.unit) {
    case 0: return nextDayOccurrence(anchor, from, r.interval);
    case 1: return nextWeekOccurrence(anchor, from, r.interval, r.dayOfWeek);
    default: return nextMonthOccurrence(anchor, from, r.interval, r.dayOfMonth, r.weekOfMonth, r.dayOfWeek);
    }
}

double bestNs(int runs, int calls, const std::function<qint64(int)>& call)
{
    double best = 0;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        qint64 sink = 0;
        for (int i = 0; i < calls; ++i)
            sink ^= call(i);
        const double ns = double(timer.nsecsElapsed()) / calls;
        if (sink == 42)
            std::printf("# (unlikely checksum)\n");
        if (run == 0 || ns < best)
            best = ns;
    }
    return best;
}

// Local wall-clock fields as libical takes them (floating time: libical does
// no zone conversion of its own).
icaltimetype floating(const QDateTime& local)
{
    icaltimetype t = icaltime_null_time();
    const QDate d = local.date();
    const QTime time = local.time();
    t.year = d.year();
    t.month = d.month();
    t.day = d.day();
    t.hour = time.hour();
    t.minute = time.minute();
    t.second = time.second();
    t.is_date = 0;
    return t;
}

// libical counts in whole seconds. The daily rule wants the first
// occurrence not before `from`, the others one strictly after it; the
// occurrences fall on whole seconds, so both become "not before" a second.
icaltimetype peerStart(const QDateTime& from, bool strictlyAfter)
{
    qint64 ms = from.toMSecsSinceEpoch();
    qint64 seconds = ms / 1000;
    if (ms % 1000 < 0)
        --seconds;
    const bool whole = ms - seconds * 1000 == 0;
    if (strictlyAfter || !whole)
        ++seconds;
    return floating(QDateTime::fromMSecsSinceEpoch(seconds * 1000));
}

struct Peer
{
    icalrecurrencetype rule;
    QList<icaltimetype> starts;
};

// A fresh iterator per question: one that has been started once does not
// always start again where it is told (a weekly rule with several days
// then skips the rest of the week).
icaltimetype peerNext(const Peer& peer, const icaltimetype& anchor, const icaltimetype& start)
{
    icalrecur_iterator* iterator = icalrecur_iterator_new(peer.rule, anchor);
    if (!iterator)
        return icaltime_null_time();
    icaltimetype next = icaltime_null_time();
    if (icalrecur_iterator_set_start(iterator, start))
        next = icalrecur_iterator_next(iterator);
    icalrecur_iterator_free(iterator);
    return next;
}

void printFigure(const char* name, double value, const char* unit)
{
    std::printf("BENCH %s %.1f %s\n", name, value, unit);
}

QByteArray figure(const char* prefix, const Rule& r, const char* suffix)
{
    return QByteArray(prefix) + r.name + suffix;
}

void setTz(const QByteArray& zone)
{
    if (zone.isNull())
        qunsetenv("TZ");
    else
        qputenv("TZ", zone);
    tzset();
}

} // namespace

int main(int argc, char** argv)
{
    benchresults::init(argc, argv);
    const bool hadTz = qEnvironmentVariableIsSet("TZ");
    const QByteArray startTz = qgetenv("TZ");

    // TZ unset: the zone is the one /etc/localtime gives.
    setTz(QByteArray());
    const QByteArray systemZone = QTimeZone::systemTimeZoneId();
    std::printf("# zone: %s (/etc/localtime); TZ unset, then TZ=%s\n", systemZone.constData(),
                systemZone.constData());

    const QDateTime anchor(QDate(2021, 1, 14), QTime(9, 30));
    const qint64 base = QDateTime(QDate(2026, 1, 14), QTime(0, 0)).toMSecsSinceEpoch();
    std::mt19937_64 rng(7);
    QList<QDateTime> froms;
    QList<qint64> fromMs;
    for (int i = 0; i < kFroms; ++i) {
        const qint64 t = base + qint64(rng() % (365ULL * 24 * 3600 * 1000));
        fromMs.append(t);
        froms.append(QDateTime::fromMSecsSinceEpoch(t));
    }

    // The peer, and its answers checked against ours.
    const icaltimetype peerAnchor = floating(anchor);
    QList<Peer> peers;
    for (const Rule& r : kRules) {
        Peer peer;
        peer.rule = icalrecurrencetype_from_string(r.rrule);
        if (peer.rule.freq == ICAL_NO_RECURRENCE) {
            std::fprintf(stderr, "bench_calendar: libical rejects %s\n", r.rrule);
            return 1;
        }
        for (int i = 0; i < kFroms; ++i) {
            peer.starts.append(peerStart(froms.at(i), r.unit != 0));
            const icaltimetype theirs = peerNext(peer, peerAnchor, peer.starts.at(i));
            const icaltimetype ours = floating(QDateTime::fromMSecsSinceEpoch(calendar(r, anchor, froms.at(i))));
            if (icaltime_is_null_time(theirs) || icaltime_compare(theirs, ours) != 0) {
                std::fprintf(stderr, "bench_calendar: %s from %s: libical %s, ours %s\n", r.name,
                             qPrintable(froms.at(i).toString(Qt::ISODate)), icaltime_as_ical_string(theirs),
                             icaltime_as_ical_string(ours));
                return 1;
            }
        }
        peers.append(peer);
    }
    std::printf("# libical %s agrees on all %d from-times of every rule\n", ICAL_VERSION, kFroms);

    // The helper with TZ unset and set, turn about, so that a busy moment of
    // the machine falls on both alike; each figure the best of its runs.
    const int ruleCount = int(std::size(kRules));
    QList<double> unsetNs(ruleCount, 0.0);
    QList<double> setNs(ruleCount, 0.0);
    for (int run = 0; run < kRuns; ++run) {
        for (int k = 0; k < ruleCount; ++k) {
            const Rule& r = kRules[k];
            const auto call = [&](int i) { return calendar(r, anchor, froms.at(i & (kFroms - 1))); };
            for (const bool tzSet : {false, true}) {
                setTz(tzSet ? systemZone : QByteArray());
                // The first call after a zone change reads the zone.
                call(0);
                const double ns = bestNs(1, kCalls, call);
                QList<double>& best = tzSet ? setNs : unsetNs;
                if (run == 0 || ns < best[k])
                    best[k] = ns;
            }
        }
    }
    setTz(QByteArray());

    network::NetworkSubject* clock = network::NetworkSubject::instance();
    QList<double> itemNs;
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
        itemNs.append(bestNs(kRuns, kCalls, [&](int i) {
            clock->setFixedTime(fromMs.at(i & (kFroms - 1)));
            return item.nextRemindTime();
        }));
    }
    clock->releaseFixedTime();

    QList<double> peerNs;
    for (int k = 0; k < peers.size(); ++k) {
        const Peer& peer = peers.at(k);
        peerNs.append(bestNs(kRuns, kPeerCalls, [&](int i) {
            return qint64(peerNext(peer, peerAnchor, peer.starts.at(i & (kFroms - 1))).day);
        }));
    }
    setTz(hadTz ? startTz : QByteArray());

    std::printf("# next occurrence, anchor five years before from, ns per call (best of %d)\n", kRuns);
    for (int k = 0; k < ruleCount; ++k) {
        const Rule& r = kRules[k];
        const QByteArray unset = figure("calendar.", r, ".ns");
        const QByteArray set = figure("calendar.tzset.", r, ".ns");
        const QByteArray item = figure("item.nextRemindTime.", r, ".ns");
        const QByteArray peer = figure("libical.", r, ".ns");
        printFigure(unset.constData(), unsetNs.at(k), "ns");
        printFigure(set.constData(), setNs.at(k), "ns");
        std::printf("BENCH %s %.2f x\n", figure("calendar.", r, ".tz_ratio").constData(), unsetNs.at(k) / setNs.at(k));
        printFigure(item.constData(), itemNs.at(k), "ns");
        printFigure(peer.constData(), peerNs.at(k), "ns");
        std::printf("BENCH %s %.1f x\n", figure("calendar.", r, ".libical_ratio").constData(),
                    peerNs.at(k) / unsetNs.at(k));

        benchresults::result(set.constData(), -1, setNs.at(k), "ns", benchresults::Lower);
        benchresults::result(unset.constData(), -1, unsetNs.at(k), "ns", benchresults::Lower, set.constData(),
                             setNs.at(k));
        benchresults::result(item.constData(), -1, itemNs.at(k), "ns", benchresults::Lower, unset.constData(),
                             unsetNs.at(k));
        benchresults::result(peer.constData(), -1, peerNs.at(k), "ns", benchresults::Lower, unset.constData(),
                             unsetNs.at(k));
    }
    return 0;
}
