#include "reminderpattern.h"

#include "modelbaseutil.h"

#include <QList>

namespace {

// The moment of `date` at `time`, local. A time the clocks skip on that day
// is pushed forward by the gap, as QDateTime::addDays does.
QDateTime atTime(const QDate& date, const QTime& time)
{
    QDateTime moment(date, time);
    if (!moment.isValid() && date.isValid())
        moment = QDateTime::fromMSecsSinceEpoch(moment.toMSecsSinceEpoch());
    return moment;
}

qint64 msecs(const QDate& date, const QTime& time)
{
    if (!date.isValid())
        return 0;
    const QDateTime moment = atTime(date, time);
    return moment.isValid() ? moment.toMSecsSinceEpoch() : 0;
}

} // namespace

qint64 nextDayOccurrence(const QDateTime& anchor, const QDateTime& from, int interval)
{
    if (interval < 1 || !anchor.isValid() || !from.isValid())
        return 0;
    const QTime time = anchor.time();
    QDate day = from.date();
    const qint64 k = anchor.date().daysTo(day);
    // The remainder keeps the sign of -k: a day after the anchor moves back
    // to the last phased day.
    day = day.addDays((-k) % interval);
    while (day.isValid() && atTime(day, time) < from)
        day = day.addDays(interval);
    return msecs(day, time);
}

qint64 nextWeekOccurrence(const QDateTime& anchor, const QDateTime& from, int interval, int dayOfWeekFlags)
{
    if (interval < 1 || !anchor.isValid() || !from.isValid())
        return 0;
    QList<int> days;
    for (int d = 1; d <= 7; ++d) {
        if (dayOfWeekFlags & ModelBaseUtil::dayOfWeekToFlag(d))
            days.append(d);
    }
    if (days.isEmpty())
        return 0;

    const QTime time = anchor.time();
    const qint64 period = 7 * qint64(interval);
    QDate monday = from.date();
    const qint64 k = anchor.date().daysTo(monday);
    monday = monday.addDays((-k) % period);
    monday = monday.addDays(1 - monday.dayOfWeek());

    while (monday.isValid()) {
        QDate day = monday;
        int previous = 1;
        for (int d : days) {
            int step = d - previous;
            if (step < 0)
                step += 7;
            day = day.addDays(step);
            previous = d;
            if (from < atTime(day, time))
                return msecs(day, time);
        }
        monday = monday.addDays(period);
    }
    return 0;
}

qint64 nextMonthOccurrence(const QDateTime& anchor, const QDateTime& from, int interval, int dayOfMonth,
                           int weekOfMonth, int dayOfWeekFlags)
{
    if (interval < 1 || !anchor.isValid() || !from.isValid())
        return 0;
    const QTime time = anchor.time();
    const QDate fromDate = from.date();
    const QDate anchorDate = anchor.date();
    const qint64 m = (qint64(fromDate.year()) - anchorDate.year()) * 12 + fromDate.month() - anchorDate.month();
    QDate d = fromDate.addMonths(int((-m) % interval));
    if (!d.isValid())
        return 0;

    if (dayOfMonth == 0) {
        if (weekOfMonth == 0)
            return msecs(d, time);
        const int n = (weekOfMonth < 0 ? -(qint64(weekOfMonth)) : qint64(weekOfMonth)) % 256;
        const int w = ModelBaseUtil::flagToDayOfWeek(dayOfWeekFlags);
        while (d.isValid()) {
            const int length = d.daysInMonth();
            QDate day;
            if (weekOfMonth > 0) {
                const QDate first(d.year(), d.month(), 1);
                const int f = first.dayOfWeek();
                int o = 7 * n - f + w;
                if (f <= w)
                    o -= 7;
                // Only an offset past the month's length is pulled back; one
                // equal to it lands on the next month's first day.
                if (o > length)
                    o -= 7;
                day = first.addDays(o);
            } else {
                const QDate last(d.year(), d.month(), length);
                const int l = last.dayOfWeek();
                int o = 7 * n - w + l;
                if (l >= w)
                    o -= 7;
                if (o > length)
                    o -= 7;
                day = last.addDays(-o);
            }
            if (from < atTime(day, time))
                return msecs(day, time);
            d = d.addMonths(interval);
        }
        return 0;
    }

    const int n = int((dayOfMonth < 0 ? -(qint64(dayOfMonth)) : qint64(dayOfMonth)) % 256);
    if (n == 0)
        return 0;
    while (d.isValid()) {
        const int length = d.daysInMonth();
        const int target = dayOfMonth < 0 ? qMax(1, length - n + 1) : qMin(n, length);
        if (d.day() != target)
            d = QDate(d.year(), d.month(), target);
        if (from < atTime(d, time))
            break;
        d = d.addMonths(interval);
    }
    return msecs(d, time);
}
