#pragma once

// The system zone's clock changes, for the date tests that look at them.
#include <QDateTime>
#include <QList>
#include <QTimeZone>

// The instants (UTC) at which this process's local zone changes its offset
// from the start of `firstYear` to the start of `endYear`.
inline QList<QDateTime> clockChanges(int firstYear, int endYear)
{
    const QTimeZone zone = QTimeZone::systemTimeZone();
    QList<QDateTime> changes;
    QDateTime t(QDate(firstYear, 1, 1), QTime(0, 0), Qt::UTC);
    for (;;) {
        const QTimeZone::OffsetData change = zone.nextTransition(t);
        if (!change.atUtc.isValid() || change.atUtc.date().year() >= endYear)
            return changes;
        t = change.atUtc;
        changes.append(t);
    }
}

// Whether the clocks show this local date and time at another instant too:
// daylight-saving changes move them by 30 minutes to 2 hours.
inline bool shownTwice(const QDateTime& local)
{
    const qint64 at = local.toMSecsSinceEpoch();
    for (qint64 shift : {1800000LL, 3600000LL, 7200000LL}) {
        for (qint64 other : {at - shift, at + shift}) {
            const QDateTime there = QDateTime::fromMSecsSinceEpoch(other);
            if (there.date() == local.date() && there.time() == local.time())
                return true;
        }
    }
    return false;
}
