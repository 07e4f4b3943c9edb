#include "reminderpattern.h"

#include "accountmanager.h"
#include "appsettingmodel.h"
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
    while (day.isValid()) {
        const QDateTime moment = atTime(day, time);
        // Walking on could not reach a moment again: no occurrence.
        if (!moment.isValid())
            return 0;
        if (!(moment < from))
            break;
        day = day.addDays(interval);
    }
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
            const QDateTime moment = atTime(day, time);
            if (!moment.isValid())
                return 0;
            if (from < moment)
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
            const QDateTime moment = atTime(day, time);
            if (!moment.isValid())
                return 0;
            if (from < moment)
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
        const QDateTime moment = atTime(d, time);
        if (!moment.isValid())
            return 0;
        if (from < moment)
            break;
        d = d.addMonths(interval);
    }
    return msecs(d, time);
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
