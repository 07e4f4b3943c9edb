#pragma once

#include "reminder_global.h"
#include "reminderitem.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QVariantList>

// The editing buffer behind the repeat page of the reminder editor: it
// offers the preset choices and the monthly variants, titled from the
// remind date, builds a custom rule, describes the current choice in one
// line, and reads the rule from and writes it into a reminder. Used on the
// interface thread only.
class REMINDER_EXPORT ReminderPattern : public QObject
{
    Q_OBJECT
    Q_PROPERTY(qint64 remindTime READ remindTime WRITE setRemindTime NOTIFY remindTimeChanged)
    Q_PROPERTY(QVariantList defaultRepeatModel READ defaultRepeatModel NOTIFY defaultRepeatModelChanged)
    Q_PROPERTY(int repeatFlag READ repeatFlag WRITE setRepeatFlag NOTIFY repeatFlagChanged)
    Q_PROPERTY(QString repeatText READ repeatText NOTIFY repeatTextChanged)
    Q_PROPERTY(int interval READ interval WRITE setInterval NOTIFY intervalChanged)
    Q_PROPERTY(int unit READ unit WRITE setUnit NOTIFY unitChanged)
    Q_PROPERTY(int dayOfWeekFlags READ dayOfWeekFlags WRITE setDayOfWeekFlags NOTIFY dayOfWeekFlagsChanged)
    Q_PROPERTY(QVariantList monthModel READ monthModel NOTIFY monthModelChanged)
    Q_PROPERTY(qint64 endDate READ endDate WRITE setEndDate NOTIFY endDateChanged)
    Q_PROPERTY(int repeatCount READ repeatCount WRITE setRepeatCount NOTIFY repeatCountChanged)
    Q_PROPERTY(int snooze READ snooze WRITE setSnooze NOTIFY snoozeChanged)

public:
    // The preset choices ("cmd" of the preset list).
    enum RepeatFlag {
        NotRepeating = 0,
        EveryDay = 1,
        EveryWeek = 2,        // on the remind date's weekday
        EveryMonthWeekday = 3, // on the n-th weekday of the remind date
        EveryYear = 4,        // every 12 months on the remind date
        EveryWorkDay = 5,     // Monday to Friday
        Custom = 6,
    };
    Q_ENUM(RepeatFlag)

    // The editor's units ("unit" of the month list). The four monthly ones
    // all become the reminder's month unit; the sign of its month values
    // tells counting from the start from counting from the end.
    enum PatternUnit {
        Days = 0,
        Weeks = 1,
        MonthDay = 2,            // the remind date's day of month
        MonthWeekday = 3,        // the n-th weekday, from the start
        MonthDayFromEnd = 4,     // the n-th day from the end
        MonthWeekdayFromEnd = 5, // the n-th weekday, from the end
    };
    Q_ENUM(PatternUnit)

    explicit ReminderPattern(QObject* parent);
    ~ReminderPattern() override;

    qint64 remindTime() const { return m_remindTime; }
    QVariantList defaultRepeatModel() const { return m_defaultRepeatModel; }
    int repeatFlag() const { return m_repeatFlag; }
    QString repeatText() const { return m_repeatText; }
    int interval() const { return m_interval; }
    int unit() const { return m_unit; }
    int dayOfWeekFlags() const { return m_dayOfWeekFlags; }
    QVariantList monthModel() const { return m_monthModel; }
    qint64 endDate() const { return m_endDate; }
    int repeatCount() const { return m_repeatCount; }
    int snooze() const { return m_snooze; }

    // A new remind time marks the time modified and, when positive,
    // rebuilds both choice lists and the description.
    void setRemindTime(qint64 remindTime);
    // Plain setters: store and notify on a real change; the description is
    // not recomputed.
    void setRepeatFlag(int flag);
    void setInterval(int interval);
    void setUnit(int unit);
    void setDayOfWeekFlags(int flags);
    void setEndDate(qint64 endDate);
    void setRepeatCount(int count);
    // Also marks both the time and the rule modified.
    void setSnooze(int minutes);

    bool timeModified() const { return m_timeModified; }
    void setTimeModified(bool modified) { m_timeModified = modified; }
    bool repeatModified() const { return m_repeatModified; }
    void setRepeatModified(bool modified) { m_repeatModified = modified; }

    // Loads the reminder's rule (a repeating reminder opens as a custom
    // rule); a null pointer does nothing.
    void loadFrom(const ReminderItemPtr& item);
    // Writes the rule into the reminder; a null pointer does nothing.
    void writeTo(const ReminderItemPtr& item) const;
    // Every field back to its first value, without any signal.
    void reset();

signals:
    void remindTimeChanged();
    void defaultRepeatModelChanged();
    void repeatFlagChanged();
    void repeatTextChanged();
    void intervalChanged();
    void unitChanged();
    void dayOfWeekFlagsChanged();
    void monthModelChanged();
    void endDateChanged();
    void repeatCountChanged();
    void snoozeChanged();

public slots:
    // The user confirmed the repeat page.
    void repeatFinish();

private:
    QDate remindDate() const;
    void rebuildLists();
    void updateRepeatText();
    QString confirmationTip() const;

    qint64 m_remindTime = 0;
    QVariantList m_defaultRepeatModel;
    int m_repeatFlag = 0;
    QString m_repeatText;
    int m_interval = 0;
    int m_unit = 0;
    int m_dayOfWeekFlags = 0;
    QVariantList m_monthModel;
    qint64 m_endDate = 0;
    int m_repeatCount = 0;
    int m_snooze = 0;
    bool m_timeModified = false;
    bool m_repeatModified = false;
};

// Calendar helpers: the next occurrence of a repeat rule.
//
// Each takes the series' anchor (its first occurrence), a lower bound
// `from`, and the rule's numbers, and returns the occurrence in ms since the
// epoch, at the anchor's local time of day. The daily rule accepts an
// occurrence equal to `from`; the weekly and monthly rules want one strictly
// after it. Dates are local; a time of day that a daylight-saving change
// skips on the day found is pushed forward by the gap (02:30 becomes 03:30).
//
// A rule that cannot have an occurrence yields 0: an interval below 1, an
// empty weekday set in the weekly rule, a day-of-month value that is 0
// modulo 256, or dates beyond what QDate can represent.

// Every `interval` days, phased on the anchor's date.
REMINDER_EXPORT qint64 nextDayOccurrence(const QDateTime& anchor, const QDateTime& from, int interval);

// Every `interval` weeks (weeks start on Monday, phased on the anchor's
// week) on the weekdays whose bits are set (ModelBaseUtil::dayOfWeekToFlag).
REMINDER_EXPORT qint64 nextWeekOccurrence(const QDateTime& anchor, const QDateTime& from, int interval,
                                          int dayOfWeekFlags);

// Every `interval` months, phased on the anchor's month: on day
// `dayOfMonth` (clamped to the month; negative counts from the month's end,
// -1 the last day), or when that is 0 on the `weekOfMonth`-th weekday of
// `dayOfWeekFlags` (negative counts from the month's end). With both 0 it is
// the phased month's date as found, without comparing with `from`.
REMINDER_EXPORT qint64 nextMonthOccurrence(const QDateTime& anchor, const QDateTime& from, int interval,
                                           int dayOfMonth, int weekOfMonth, int dayOfWeekFlags);

// The same rules from two instants in ms since the epoch, read as local
// date-times (QDateTime::fromMSecsSinceEpoch): what a reminder's time rules
// call. The answers are those of the forms above for those date-times.
REMINDER_EXPORT qint64 nextDayOccurrence(qint64 anchor, qint64 from, int interval);
REMINDER_EXPORT qint64 nextWeekOccurrence(qint64 anchor, qint64 from, int interval, int dayOfWeekFlags);
REMINDER_EXPORT qint64 nextMonthOccurrence(qint64 anchor, qint64 from, int interval, int dayOfMonth,
                                           int weekOfMonth, int dayOfWeekFlags);
