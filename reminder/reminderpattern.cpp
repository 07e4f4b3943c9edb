#include "reminderpattern.h"

#include "accountmanager.h"
#include "appsettingmodel.h"
#include "localzone.h"
#include "modelbaseutil.h"
#include "util.h"

#include <QJSEngine>
#include <QList>
#include <QLocale>

namespace {

// The moment of `date` at `time`, local. A time the clocks skip on that day
// is pushed forward by the gap, as QDateTime::addDays does. A date beyond
// what local time reaches (some 292 million years out) has no moment: the
// result is invalid.
QDateTime atTime(const QDate& date, const QTime& time)
{
    QDateTime moment(date, time);
    if (!moment.isValid() && date.isValid()) {
        // Past a gap the moment lands on the same day or the next; an
        // invalid moment of a date out of range reads as some other instant
        // (the epoch), which is not taken.
        const QDateTime pushed = QDateTime::fromMSecsSinceEpoch(moment.toMSecsSinceEpoch());
        if (pushed.isValid() && qAbs(date.daysTo(pushed.date())) <= 1)
            moment = pushed;
    }
    return moment;
}

qint64 msecs(const QDate& date, const QTime& time)
{
    if (!date.isValid())
        return 0;
    const QDateTime moment = atTime(date, time);
    return moment.isValid() ? moment.toMSecsSinceEpoch() : 0;
}

// The walks below ask their moments from one of two sources. Each moment is
// a day of the walk at the anchor's time of day, compared with `from`.
//
// Qt's local date-times: exact everywhere, gaps, repeated hours and the ends
// of the calendar included, and slow (each conversion goes through the C
// library's zone, which with TZ unset re-reads the zone file's status).
class QtMoments
{
public:
    using Moment = QDateTime;

    QtMoments(const QTime& time, const QDateTime& from)
        : m_time(time)
        , m_from(from)
    {
    }

    Moment at(const QDate& day) const { return atTime(day, m_time); }
    static bool valid(const Moment& moment) { return moment.isValid(); }
    bool beforeFrom(const Moment& moment) const { return moment < m_from; }
    bool afterFrom(const Moment& moment) const { return m_from < moment; }
    qint64 result(const QDate& day) const { return msecs(day, m_time); }

private:
    QTime m_time;
    QDateTime m_from;
};

constexpr qint64 kEpochJulianDay = 2440588; // 1970-01-01
constexpr qint64 kMsPerDay = LocalZone::kMsPerDay;

// Milliseconds since 1970-01-01 00:00 of a day at a time of day, for the
// days the local zone mirror can cover at all (its range and a day more).
bool wallTime(const QDate& day, qint64 msOfDay, qint64* wall)
{
    const qint64 days = day.toJulianDay() - kEpochJulianDay;
    if (!day.isValid() || days < -1 || days > 84007)
        return false;
    *wall = days * kMsPerDay + msOfDay;
    return true;
}

QDate dateOfWall(qint64 wall)
{
    qint64 days = wall / kMsPerDay;
    if (wall % kMsPerDay < 0)
        --days;
    return QDate::fromJulianDay(days + kEpochJulianDay);
}

qint64 timeOfWall(qint64 wall)
{
    const qint64 rest = wall % kMsPerDay;
    return rest < 0 ? rest + kMsPerDay : rest;
}

// Instants from the local zone mirror: as Qt's where every moment of the
// walk names exactly one instant, which is all the mirror answers. Then Qt
// compares the two date-times as it compares their instants. A moment the
// mirror does not answer fails the whole walk, which is then run again on
// QtMoments: its result is only used when nothing failed.
//
// Deliberate: a time of day the clocks show twice stays with Qt, although
// which of its two instants Qt names depends on the conversions made before
// (glibc's mktime starts from the offset it found last): answers there are
// what they were, not a new choice.
class MirrorMoments
{
public:
    struct Moment
    {
        qint64 msecs = 0;
        bool ok = false;
    };

    MirrorMoments(LocalZone& zone, qint64 msOfDay, qint64 from)
        : m_zone(zone)
        , m_msOfDay(msOfDay)
        , m_from(from)
    {
    }

    Moment at(const QDate& day)
    {
        Moment moment;
        qint64 wall = 0;
        moment.ok = wallTime(day, m_msOfDay, &wall) && m_zone.toInstant(wall, &moment.msecs);
        if (!moment.ok)
            m_failed = true;
        return moment;
    }
    static bool valid(const Moment& moment) { return moment.ok; }
    bool beforeFrom(const Moment& moment) const { return moment.msecs < m_from; }
    bool afterFrom(const Moment& moment) const { return m_from < moment.msecs; }
    qint64 result(const QDate& day)
    {
        const Moment moment = at(day);
        return moment.ok ? moment.msecs : 0;
    }
    bool failed() const { return m_failed; }

private:
    LocalZone& m_zone;
    qint64 m_msOfDay;
    qint64 m_from;
    bool m_failed = false;
};

template <typename Moments>
qint64 walkDays(Moments& moments, const QDate& anchorDate, const QDate& fromDate, int interval)
{
    QDate day = fromDate;
    const qint64 k = anchorDate.daysTo(day);
    // The remainder keeps the sign of -k: a day after the anchor moves back
    // to the last phased day.
    day = day.addDays((-k) % interval);
    while (day.isValid()) {
        const auto moment = moments.at(day);
        // Walking on could not reach a moment again: no occurrence.
        if (!moments.valid(moment))
            return 0;
        if (!moments.beforeFrom(moment))
            break;
        day = day.addDays(interval);
    }
    return moments.result(day);
}

template <typename Moments>
qint64 walkWeeks(Moments& moments, const QDate& anchorDate, const QDate& fromDate, int interval, int dayOfWeekFlags)
{
    int days[7];
    int dayCount = 0;
    for (int d = 1; d <= 7; ++d) {
        if (dayOfWeekFlags & ModelBaseUtil::dayOfWeekToFlag(d))
            days[dayCount++] = d;
    }
    if (dayCount == 0)
        return 0;

    const qint64 period = 7 * qint64(interval);
    QDate monday = fromDate;
    const qint64 k = anchorDate.daysTo(monday);
    monday = monday.addDays((-k) % period);
    monday = monday.addDays(1 - monday.dayOfWeek());

    while (monday.isValid()) {
        QDate day = monday;
        int previous = 1;
        for (int i = 0; i < dayCount; ++i) {
            const int d = days[i];
            int step = d - previous;
            if (step < 0)
                step += 7;
            day = day.addDays(step);
            previous = d;
            const auto moment = moments.at(day);
            if (!moments.valid(moment))
                return 0;
            if (moments.afterFrom(moment))
                return moments.result(day);
        }
        monday = monday.addDays(period);
    }
    return 0;
}

template <typename Moments>
qint64 walkMonths(Moments& moments, const QDate& anchorDate, const QDate& fromDate, int interval, int dayOfMonth,
                  int weekOfMonth, int dayOfWeekFlags)
{
    const qint64 m = (qint64(fromDate.year()) - anchorDate.year()) * 12 + fromDate.month() - anchorDate.month();
    QDate d = fromDate.addMonths(int((-m) % interval));
    if (!d.isValid())
        return 0;

    if (dayOfMonth == 0) {
        if (weekOfMonth == 0)
            return moments.result(d);
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
            const auto moment = moments.at(day);
            if (!moments.valid(moment))
                return 0;
            if (moments.afterFrom(moment))
                return moments.result(day);
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
        const auto moment = moments.at(d);
        if (!moments.valid(moment))
            return 0;
        if (moments.afterFrom(moment))
            break;
        d = d.addMonths(interval);
    }
    return moments.result(d);
}

// A walk from date-times: on the mirror when `from` is an instant it can
// name (a local `from` that names exactly one), else or when the mirror
// fails, on Qt's date-times.
template <typename Walk>
qint64 walkFromDateTimes(const QDateTime& anchor, const QDateTime& from, Walk walk)
{
    const QDate anchorDate = anchor.date();
    const QTime time = anchor.time();
    const QDate fromDate = from.date();
    LocalZone& zone = LocalZone::current();
    qint64 fromMs = 0;
    bool fromKnown = false;
    if (from.timeSpec() == Qt::LocalTime) {
        qint64 wall = 0;
        fromKnown = wallTime(fromDate, from.time().msecsSinceStartOfDay(), &wall) && zone.toInstant(wall, &fromMs);
    } else {
        // Qt compares a local date-time with one of another kind by their
        // instants.
        fromMs = from.toMSecsSinceEpoch();
        fromKnown = true;
    }
    if (fromKnown) {
        MirrorMoments mirror(zone, time.msecsSinceStartOfDay(), fromMs);
        const qint64 found = walk(mirror, anchorDate, fromDate);
        if (!mirror.failed())
            return found;
    }
    QtMoments exact(time, from);
    return walk(exact, anchorDate, fromDate);
}

// A walk from instants, as from their local date-times.
template <typename Walk>
qint64 walkFromInstants(qint64 anchorMs, qint64 fromMs, Walk walk)
{
    LocalZone& zone = LocalZone::current();
    qint64 anchorWall = 0;
    qint64 fromWall = 0;
    if (zone.toLocal(anchorMs, &anchorWall) && zone.toLocal(fromMs, &fromWall)) {
        MirrorMoments mirror(zone, timeOfWall(anchorWall), fromMs);
        const qint64 found = walk(mirror, dateOfWall(anchorWall), dateOfWall(fromWall));
        if (!mirror.failed())
            return found;
    }
    const QDateTime anchor = QDateTime::fromMSecsSinceEpoch(anchorMs);
    const QDateTime from = QDateTime::fromMSecsSinceEpoch(fromMs);
    if (!anchor.isValid() || !from.isValid())
        return 0;
    QtMoments exact(anchor.time(), from);
    return walk(exact, anchor.date(), from.date());
}

} // namespace

qint64 nextDayOccurrence(const QDateTime& anchor, const QDateTime& from, int interval)
{
    if (interval < 1 || !anchor.isValid() || !from.isValid())
        return 0;
    return walkFromDateTimes(anchor, from, [interval](auto& moments, const QDate& anchorDate, const QDate& fromDate) {
        return walkDays(moments, anchorDate, fromDate, interval);
    });
}

qint64 nextWeekOccurrence(const QDateTime& anchor, const QDateTime& from, int interval, int dayOfWeekFlags)
{
    if (interval < 1 || !anchor.isValid() || !from.isValid())
        return 0;
    return walkFromDateTimes(anchor, from, [=](auto& moments, const QDate& anchorDate, const QDate& fromDate) {
        return walkWeeks(moments, anchorDate, fromDate, interval, dayOfWeekFlags);
    });
}

qint64 nextMonthOccurrence(const QDateTime& anchor, const QDateTime& from, int interval, int dayOfMonth,
                           int weekOfMonth, int dayOfWeekFlags)
{
    if (interval < 1 || !anchor.isValid() || !from.isValid())
        return 0;
    return walkFromDateTimes(anchor, from, [=](auto& moments, const QDate& anchorDate, const QDate& fromDate) {
        return walkMonths(moments, anchorDate, fromDate, interval, dayOfMonth, weekOfMonth, dayOfWeekFlags);
    });
}

qint64 nextDayOccurrence(qint64 anchor, qint64 from, int interval)
{
    if (interval < 1)
        return 0;
    return walkFromInstants(anchor, from, [interval](auto& moments, const QDate& anchorDate, const QDate& fromDate) {
        return walkDays(moments, anchorDate, fromDate, interval);
    });
}

qint64 nextWeekOccurrence(qint64 anchor, qint64 from, int interval, int dayOfWeekFlags)
{
    if (interval < 1)
        return 0;
    return walkFromInstants(anchor, from, [=](auto& moments, const QDate& anchorDate, const QDate& fromDate) {
        return walkWeeks(moments, anchorDate, fromDate, interval, dayOfWeekFlags);
    });
}

qint64 nextMonthOccurrence(qint64 anchor, qint64 from, int interval, int dayOfMonth, int weekOfMonth,
                           int dayOfWeekFlags)
{
    if (interval < 1)
        return 0;
    return walkFromInstants(anchor, from, [=](auto& moments, const QDate& anchorDate, const QDate& fromDate) {
        return walkMonths(moments, anchorDate, fromDate, interval, dayOfMonth, weekOfMonth, dayOfWeekFlags);
    });
}

// ---------------------------------------------------------------- editor

namespace {

QLocale currentLocale()
{
    return QLocale(AppSettingModel::language());
}

QString ordinal(int n)
{
    return Util::ordinalNumber(AppSettingModel::language(), n);
}

// The numbers of a remind date the texts and the month rules use.
struct DateNumbers
{
    explicit DateNumbers(const QDate& date)
        : day(date.day()),
          daysInMonth(date.daysInMonth()),
          weekOfMonth((day + 6) / 7),
          dayFromEnd(daysInMonth - day + 1),
          weekFromEnd((daysInMonth - day + 7) / 7),
          weekdayFlag(ModelBaseUtil::dayOfWeekToFlag(date.dayOfWeek()))
    {
    }
    int day;
    int daysInMonth;
    int weekOfMonth;
    int dayFromEnd;
    int weekFromEnd;
    int weekdayFlag;
};

QVariantMap preset(int cmd, const QString& title)
{
    return {{QStringLiteral("cmd"), cmd}, {QStringLiteral("title"), title}};
}

QVariantMap monthChoice(int unit, const QString& text)
{
    return {{QStringLiteral("unit"), unit}, {QStringLiteral("text"), text}};
}

} // namespace

ReminderPattern::ReminderPattern(QObject* parent) : QObject(parent)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

ReminderPattern::~ReminderPattern() = default;

QDate ReminderPattern::remindDate() const
{
    return QDateTime::fromMSecsSinceEpoch(m_remindTime).date();
}

void ReminderPattern::setRemindTime(qint64 remindTime)
{
    if (m_remindTime == remindTime)
        return;
    m_timeModified = true;
    m_remindTime = remindTime;
    emit remindTimeChanged();
    if (remindTime <= 0)
        return;
    if (m_dayOfWeekFlags == 0)
        m_dayOfWeekFlags = ModelBaseUtil::dayOfWeekToFlag(remindDate().dayOfWeek());
    rebuildLists();
    updateRepeatText();
}

void ReminderPattern::rebuildLists()
{
    const QDate date = remindDate();
    const QLocale locale = currentLocale();
    const DateNumbers n(date);
    const QString dayName = locale.toString(date, QStringLiteral("dddd"));
    const QString monthName = locale.toString(date, QStringLiteral("MMM"));

    m_defaultRepeatModel.clear();
    m_defaultRepeatModel.append(preset(NotRepeating, qtTrId("reminder_repeat_not_repeating")));
    m_defaultRepeatModel.append(preset(EveryDay, qtTrId("reminder_repeat_every_day")));
    m_defaultRepeatModel.append(preset(EveryWeek, qtTrId("reminder_repeat_every_select_week").arg(dayName)));
    m_defaultRepeatModel.append(preset(EveryMonthWeekday, qtTrId("reminder_repeat_every_select_week_of_month")
                                                              .arg(ordinal(n.weekOfMonth), dayName)));
    m_defaultRepeatModel.append(
        preset(EveryYear, qtTrId("reminder_repeat_every_month_by_yearly").arg(monthName).arg(n.day)));
    m_defaultRepeatModel.append(preset(EveryWorkDay, qtTrId("reminder_repeat_every_work_day")));
    m_defaultRepeatModel.append(preset(Custom, qtTrId("msd_custom")));
    emit defaultRepeatModelChanged();

    m_monthModel.clear();
    m_monthModel.append(monthChoice(MonthDay, qtTrId("repeat_day_of_month").arg(ordinal(n.day))));
    m_monthModel.append(
        monthChoice(MonthWeekday, qtTrId("repeat_week_of_month").arg(ordinal(n.weekOfMonth), dayName)));
    m_monthModel.append(
        monthChoice(MonthDayFromEnd, qtTrId("repeat_last_day_of_month").arg(ordinal(n.dayFromEnd))));
    m_monthModel.append(monthChoice(MonthWeekdayFromEnd, qtTrId("repeat_last_week_of_month")
                                                             .arg(ordinal(n.weekFromEnd), dayName)));
    emit monthModelChanged();
}

void ReminderPattern::updateRepeatText()
{
    if (m_defaultRepeatModel.isEmpty())
        return;
    if (m_interval < 1 && m_repeatFlag == Custom) {
        m_repeatFlag = NotRepeating;
        emit repeatFlagChanged();
    }
    if (m_repeatFlag < Custom) {
        // A flag below 0 names no preset and has no text.
        m_repeatText = m_repeatFlag >= 0 && m_repeatFlag < m_defaultRepeatModel.size()
            ? m_defaultRepeatModel.at(m_repeatFlag).toMap().value(QStringLiteral("title")).toString()
            : QString();
    } else if (m_unit == Days) {
        // Days name their number; weeks and months let the catalogue pick
        // the plural form. Kept that way on purpose.
        m_repeatText = m_interval == 1 ? qtTrId("reminder_repeat_every_day")
                                       : qtTrId("reminder_interval_days").arg(m_interval);
    } else if (m_unit == Weeks) {
        m_repeatText = qtTrId("reminder_interval_weeks", m_interval);
    } else {
        m_repeatText = qtTrId("reminder_interval_months", m_interval);
    }
    emit repeatTextChanged();
}

QString ReminderPattern::confirmationTip() const
{
    const QDate date = remindDate();
    const QLocale locale = currentLocale();
    const DateNumbers n(date);
    const QString dayName = locale.toString(date, QStringLiteral("dddd"));
    const bool single = m_interval == 1;

    switch (m_unit) {
    case Days:
        return single ? qtTrId("reminder_repeat_day_tips") : qtTrId("reminder_repeat_days_tips").arg(m_interval);
    case Weeks: {
        if (m_dayOfWeekFlags == 127 && single)
            return qtTrId("reminder_repeat_day_tips");
        QString days;
        if (m_dayOfWeekFlags == 127) {
            days = qtTrId("reminder_all_week");
        } else {
            // From Sunday back to Monday, each in front: reads Monday first.
            for (int day = 7; day >= 1; --day) {
                if (!(m_dayOfWeekFlags & ModelBaseUtil::dayOfWeekToFlag(day)))
                    continue;
                const QString name = locale.standaloneDayName(day, QLocale::LongFormat);
                days = days.isEmpty() ? name : name + QStringLiteral(", ") + days;
            }
        }
        return single ? qtTrId("reminder_repeat_week_tips").arg(days)
                      : qtTrId("reminder_repeat_weeks_tips").arg(m_interval).arg(days);
    }
    case MonthDay:
        return single ? qtTrId("reminder_repeat_day_month_tips").arg(ordinal(n.day))
                      : qtTrId("reminder_repeat_day_months_tips").arg(m_interval).arg(ordinal(n.day));
    case MonthWeekday:
        return single ? qtTrId("reminder_repeat_week_month_tips").arg(ordinal(n.weekOfMonth), dayName)
                      : qtTrId("reminder_repeat_week_months_tips")
                            .arg(m_interval)
                            .arg(ordinal(n.weekOfMonth), dayName);
    case MonthDayFromEnd:
        return single ? qtTrId("reminder_repeat_last_day_month_tips").arg(ordinal(n.dayFromEnd))
                      : qtTrId("reminder_repeat_last_day_months_tips").arg(m_interval).arg(ordinal(n.dayFromEnd));
    case MonthWeekdayFromEnd:
        return single ? qtTrId("reminder_repeat_last_week_month_tips").arg(ordinal(n.weekFromEnd), dayName)
                      : qtTrId("reminder_repeat_last_week_months_tips")
                            .arg(m_interval)
                            .arg(ordinal(n.weekFromEnd), dayName);
    default:
        return QString();
    }
}

void ReminderPattern::repeatFinish()
{
    m_timeModified = true;
    m_repeatModified = true;
    if (m_repeatFlag != Custom) {
        // The preset becomes the rule, written without per-field signals.
        m_interval = 1;
        switch (m_repeatFlag) {
        case NotRepeating:
            m_interval = 0;
            m_unit = Days;
            break;
        case EveryDay:
            m_unit = Days;
            break;
        case EveryWeek:
            m_unit = Weeks;
            m_dayOfWeekFlags = ModelBaseUtil::dayOfWeekToFlag(remindDate().dayOfWeek());
            break;
        case EveryMonthWeekday:
            m_unit = MonthWeekday;
            break;
        case EveryYear:
            m_interval = 12;
            m_unit = MonthDay;
            break;
        case EveryWorkDay:
            m_unit = Weeks;
            m_dayOfWeekFlags = 31;
            break;
        default:
            break;
        }
    } else if (m_unit == Weeks && m_interval == 1 && m_dayOfWeekFlags == 127) {
        // Every week on every day is every day.
        m_unit = Days;
    }
    updateRepeatText();
    if (m_interval > 0) {
        const QString tip = confirmationTip();
        if (!tip.isEmpty())
            AccountManager::getInstance()->error(0, tip, 0);
    }
}

void ReminderPattern::setRepeatFlag(int flag)
{
    if (m_repeatFlag == flag)
        return;
    m_repeatFlag = flag;
    emit repeatFlagChanged();
}

void ReminderPattern::setInterval(int interval)
{
    if (m_interval == interval)
        return;
    m_interval = interval;
    emit intervalChanged();
}

void ReminderPattern::setUnit(int unit)
{
    if (m_unit == unit)
        return;
    m_unit = unit;
    emit unitChanged();
}

void ReminderPattern::setDayOfWeekFlags(int flags)
{
    if (m_dayOfWeekFlags == flags)
        return;
    m_dayOfWeekFlags = flags;
    emit dayOfWeekFlagsChanged();
}

void ReminderPattern::setEndDate(qint64 endDate)
{
    if (m_endDate == endDate)
        return;
    m_endDate = endDate;
    emit endDateChanged();
}

void ReminderPattern::setRepeatCount(int count)
{
    if (m_repeatCount == count)
        return;
    m_repeatCount = count;
    emit repeatCountChanged();
}

void ReminderPattern::setSnooze(int minutes)
{
    if (m_snooze == minutes)
        return;
    m_snooze = minutes;
    emit snoozeChanged();
    m_timeModified = true;
    m_repeatModified = true;
}

void ReminderPattern::loadFrom(const ReminderItemPtr& item)
{
    if (!item)
        return;
    setInterval(item->interval());
    if (item->interval() >= 1) {
        int unit;
        if (item->unit() == 0)
            unit = Days;
        else if (item->unit() == 1)
            unit = Weeks;
        else if (item->dayOfMonthFlags() >= 1)
            unit = MonthDay;
        else if (item->dayOfMonthFlags() == 0)
            unit = item->weekOfMonthFlags() >= 1 ? MonthWeekday : MonthWeekdayFromEnd;
        else
            unit = MonthDayFromEnd;
        setUnit(unit);
        setRepeatFlag(Custom);
    } else {
        setRepeatFlag(NotRepeating);
    }
    setRepeatCount(item->repeatCount());
    setEndDate(item->endDate());
    const int snooze = qMax(0, item->snooze());
    if (snooze != m_snooze) {
        m_snooze = snooze;
        emit snoozeChanged();
        m_timeModified = true;
        m_repeatModified = true;
    }
    setDayOfWeekFlags(item->dayOfWeekFlags());
    setRemindTime(item->showRemindTime());
}

void ReminderPattern::writeTo(const ReminderItemPtr& item) const
{
    if (!item)
        return;
    item->setDayOfWeekFlags(0);
    item->setDayOfMonthFlags(0);
    item->setWeekOfMonthFlags(0);
    item->setInterval(m_interval);
    if (m_interval < 1) {
        item->setUnit(0);
        item->setEndDate(0);
        item->setRepeatCount(0);
    } else {
        const DateNumbers n(remindDate());
        switch (m_unit) {
        case Days:
            item->setUnit(0);
            break;
        case Weeks:
            item->setUnit(1);
            item->setDayOfWeekFlags(m_dayOfWeekFlags);
            break;
        case MonthDay:
            item->setUnit(2);
            item->setDayOfMonthFlags(n.day);
            break;
        case MonthWeekday:
            item->setUnit(2);
            item->setWeekOfMonthFlags(n.weekOfMonth);
            item->setDayOfWeekFlags(n.weekdayFlag);
            break;
        case MonthDayFromEnd:
            item->setUnit(2);
            item->setDayOfMonthFlags(n.day - n.daysInMonth - 1);
            break;
        case MonthWeekdayFromEnd:
            item->setUnit(2);
            item->setWeekOfMonthFlags(-n.weekFromEnd);
            item->setDayOfWeekFlags(n.weekdayFlag);
            break;
        default:
            break;
        }
        item->setEndDate(m_endDate);
        item->setRepeatCount(m_repeatCount);
    }
    item->setSnooze(m_snooze);
}

void ReminderPattern::reset()
{
    m_remindTime = 0;
    m_defaultRepeatModel.clear();
    m_repeatFlag = 0;
    m_repeatText = QStringLiteral("");
    m_interval = 0;
    m_unit = 0;
    m_dayOfWeekFlags = 0;
    m_monthModel.clear();
    m_endDate = 0;
    m_repeatCount = 0;
    m_snooze = 0;
    m_timeModified = false;
    m_repeatModified = false;
}
