#pragma once

#include "reminder_global.h"
#include "showtimeindex.h"

#include "im/content/reminder.pb.h"

#include <QDate>
#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace storage { struct ReminderInfo; }
class AccountBase;
class ContentItem;
class RelativeMessage;
class QThread;
Q_MOC_INCLUDE("contentitem.h")
Q_MOC_INCLUDE("relativemessage.h")

// One reminder as the module and the interface see it. Its synchronised
// state is one embedded reminder message; the remind time, the unread flag
// and the four change times are local.
class REMINDER_EXPORT ReminderItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString remindId READ remindId CONSTANT)
    Q_PROPERTY(ContentItem* content READ content NOTIFY contentChanged)
    Q_PROPERTY(qint64 originalRemindTime READ originalRemindTime NOTIFY originalRemindTimeChanged)
    Q_PROPERTY(qint64 showRemindTime READ showRemindTime NOTIFY showRemindTimeChanged)
    Q_PROPERTY(qint64 remindTime READ remindTime NOTIFY remindTimeChanged)
    Q_PROPERTY(RelativeMessage* quoteMsgItem READ quoteMsgItem NOTIFY quoteMsgItemChanged)
    Q_PROPERTY(bool reminded READ reminded NOTIFY remindedChanged)
    Q_PROPERTY(bool completed READ completed NOTIFY completedChanged)
    Q_PROPERTY(int interval READ interval NOTIFY intervalChanged)
    Q_PROPERTY(int unit READ unit WRITE setUnit NOTIFY unitChanged)
    Q_PROPERTY(int dayOfWeekFlags READ dayOfWeekFlags NOTIFY dayOfWeekFlagsChanged)
    Q_PROPERTY(int dayOfMonthFlags READ dayOfMonthFlags NOTIFY dayOfMonthFlagsChanged)
    Q_PROPERTY(int weekOfMonthFlags READ weekOfMonthFlags NOTIFY weekOfMonthFlagsChanged)
    Q_PROPERTY(qint64 endDate READ endDate NOTIFY endDateChanged)
    Q_PROPERTY(int repeatCount READ repeatCount NOTIFY repeatCountChanged)
    Q_PROPERTY(int snooze READ snooze NOTIFY snoozeChanged)
    Q_PROPERTY(qint64 validTime READ validTime NOTIFY validTimeChanged)

public:
    explicit ReminderItem(const QString& id);
    // An item loaded from the local store; a null account leaves the
    // defaults, a record that does not parse leaves the defaults and no id.
    ReminderItem(const storage::ReminderInfo& info, AccountBase* account);
    ~ReminderItem() override;

    QString remindId() const { return m_remindId; }
    ContentItem* content() const;
    QSharedPointer<ContentItem> contentPtr() const { return m_content; }
    qint64 originalRemindTime() const { return m_reminder.original_remind_time(); }
    qint64 showRemindTime() const { return m_reminder.show_remind_time(); }
    qint64 remindTime() const { return m_remindTime; }
    RelativeMessage* quoteMsgItem() const { return m_quoteMsgItem; }
    bool reminded() const { return m_reminder.reminded(); }
    bool completed() const { return m_reminder.completed(); }
    int interval() const { return m_interval; }
    int unit() const { return m_unit; }
    int dayOfWeekFlags() const { return m_dayOfWeekFlags; }
    int dayOfMonthFlags() const { return m_dayOfMonthFlags; }
    int weekOfMonthFlags() const { return m_weekOfMonthFlags; }
    qint64 endDate() const { return m_reminder.end_date(); }
    int repeatCount() const { return m_reminder.repeat_count(); }
    int snooze() const { return m_reminder.snooze(); }
    qint64 validTime() const { return m_reminder.valid_time(); }

    bool unread() const { return m_unread; }
    qint64 lastContentTime() const { return m_lastContentTime; }
    qint64 lastCompletedTime() const { return m_lastCompletedTime; }
    qint64 lastPatternTime() const { return m_lastPatternTime; }
    qint64 lastUnreadTime() const { return m_lastUnreadTime; }
    // The server's time of the last change.
    qint64 timestamp() const { return m_reminder.update_time(); }
    // The list's sort key.
    qint64 orderTime() const { return m_reminder.order_time(); }
    // The synchronised state as it stands.
    const im::content::Reminder& message() const { return m_reminder; }

    // Setters that notify: they store and emit only on a real change.
    void setCompleted(bool completed);
    void setReminded(bool reminded);
    void setRemindTime(qint64 remindTime);
    void setOriginalRemindTime(qint64 time);
    void setShowRemindTime(qint64 time);
    void setValidTime(qint64 time);
    void setEndDate(qint64 endDate);
    void setRepeatCount(int count);
    void setSnooze(int minutes);
    void setInterval(int interval);
    void setUnit(int unit);
    void setDayOfWeekFlags(int flags);
    void setDayOfMonthFlags(int flags);
    void setWeekOfMonthFlags(int flags);
    void setQuoteMsgItem(RelativeMessage* quote);

    // Local bookkeeping: stored silently.
    void setUnread(bool unread);
    void setLastContentTime(qint64 time);
    void setLastCompletedTime(qint64 time);
    void setLastPatternTime(qint64 time);
    void setLastUnreadTime(qint64 time);
    void setTimestamp(qint64 time);
    // Only a positive order time is taken.
    void setOrderTime(qint64 time);

    // Replaces the body. A replaced file body lets go of its file with
    // deleteOldFile passed on.
    void setContent(QSharedPointer<ContentItem> newContent, bool deleteOldFile);
    // Changes the body's text in place, or makes a text body.
    void setText(const QString& text);
    QString text() const;
    // No body, or a body with no text that is not a file with a source.
    bool isEmpty() const;

    // Moves the item, its body and its quote to the thread.
    void moveToThread(QThread* thread);

    // The local record form.
    bool serialize(storage::ReminderInfo& info);
    // The wire form, with the content encrypted by the account. False
    // without an account, or for a text-only form of a body without text.
    bool serialize(im::content::Reminder& out, AccountBase* account, bool textOnly);
    // The server's state replaces the item's.
    void deserialize(const im::content::Reminder& msg, AccountBase* account);
    // The server's state is taken part by part where it is newer than the
    // local change; *localNewer tells that some local change is newer.
    void mergeFrom(const im::content::Reminder& msg, AccountBase* account, bool* localNewer);

    // Looks up the quote's sender once, through the account's dialogs.
    void resolveQuoteSender(AccountBase* account);

    // Time rules. "Now" is always network::NetworkSubject's server-corrected
    // clock; dates are local.

    // The next occurrence of the rule counted from the first remind time.
    qint64 nextRemindTime() const;
    // The next occurrence counted from the shown time, at least a second
    // after it.
    qint64 nextRemindTimeFromShow() const;
    // Whether `t` still lies inside the series (its end date, or the end
    // its repeat count gives; days compare, not times).
    bool isValidTime(qint64 t) const;
    // Moves to the next occurrence, or marks the reminder done.
    void advanceRemindTime(bool fromShow, bool updateShow);
    // After a firing: the next snooze step or occurrence. False when the
    // snooze cycle is used up.
    bool stepSnooze();
    // Brings an overdue reminder that has not fired forward to the present.
    void refreshSnooze();
    // 09:00 tomorrow, or the next occurrence when that is sooner.
    void snoozeToTomorrow();
    // A new time for the whole series.
    void reschedule(qint64 t);

    // The snooze period in ms: minutes x 60000 as a 32-bit product, so that
    // periods above 35,791 minutes wrap.
    static qint64 snoozeStep(int minutes);

signals:
    void contentChanged();
    void originalRemindTimeChanged();
    void showRemindTimeChanged();
    void remindTimeChanged();
    void quoteMsgItemChanged();
    void remindedChanged();
    void completedChanged();
    void intervalChanged();
    void unitChanged();
    void dayOfWeekFlagsChanged();
    void dayOfMonthFlagsChanged();
    void weekOfMonthFlagsChanged();
    void endDateChanged();
    void repeatCountChanged();
    void snoozeChanged();
    void validTimeChanged();
    void startDestroy();

private:
    // Reads the id in place, without a copy of the string per lookup.
    friend class ItemIndex;
    // Keeps its entry for this item in one of the slots below.
    friend class ShowTimeIndex;
    struct ShowTimeSlot
    {
        ShowTimeIndex* index = nullptr;
        ShowTimeIndex::Entry entry;
    };
    // The show-time indexes (of the lists that hold this item open) that
    // this item tells of a new shown time itself: two, a main list and a
    // search list. Mutable: an index holds its items as const.
    mutable ShowTimeSlot m_showTimeSlots[2];
    void init();
    void copyPatternToMessage();
    void takeRepeatFields(const im::content::Reminder& msg);
    qint64 takeShowTime(const im::content::Reminder& msg);
    void takeTimesSameSeries(const im::content::Reminder& msg, qint64 show, bool withUnread);
    void takeTimesNewSeries(const im::content::Reminder& msg, qint64 show);
    void takeUnreadSameSeries(const im::content::Reminder& msg);
    void takeContent(const im::content::ReminderContent& rc, AccountBase* account);
    QString searchableText() const;
    qint64 occurrence(qint64 anchor, qint64 from, qint64 otherwise) const;
    // The last day of the series, or why there is none.
    struct SeriesEnd
    {
        enum Kind { Day, Open, NoOccurrence, BeyondCalendar } kind;
        QDate day;
    };
    SeriesEnd seriesEnd() const;
    SeriesEnd weeklyCountEnd(const QDateTime& anchor) const;
    // forward: which way an end that left the calendar went.
    static SeriesEnd endOnDay(const QDate& day, const QTime& time, bool forward);
    static SeriesEnd beyondCalendar(bool forward);

    im::content::Reminder m_reminder;
    QString m_remindId;
    RelativeMessage* m_quoteMsgItem = nullptr;
    QSharedPointer<ContentItem> m_content;
    qint64 m_remindTime = 0;
    qint64 m_lastContentTime = 0;
    qint64 m_lastCompletedTime = 0;
    qint64 m_lastPatternTime = 0;
    qint64 m_lastUnreadTime = 0;
    int m_unit = 0;
    int m_interval = 0;
    int m_dayOfWeekFlags = 0;
    int m_dayOfMonthFlags = 0;
    int m_weekOfMonthFlags = 0;
    bool m_unread = false;
};

using ReminderItemPtr = QSharedPointer<ReminderItem>;
Q_DECLARE_METATYPE(ReminderItemPtr)
