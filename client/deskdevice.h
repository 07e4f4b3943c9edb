#pragma once

#include "reminderhandler.h"
#include "reminderitem.h"

#include <QList>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>

class AccountBase;
class ContentItem;
class DeskEdit;
class DeskUndo;
class DeviceSession;
class RelativeMessage;
class ReminderPattern;
Q_MOC_INCLUDE("relativemessage.h")
Q_MOC_INCLUDE("contentitem.h")
Q_MOC_INCLUDE("deskedit.h")
Q_MOC_INCLUDE("deskundo.h")

// One device's window as QML sees it, beside the module's own handler:
// what is the client's and not the module's. It holds the device's number,
// the sample chat messages a person can turn into reminders, the standing
// notification banners of this device, toasts, and small presentation
// helpers (times and rules in words, attachment and quote summaries) so
// that the QML only lays things out and calls the handler's slots.
class DeskDevice : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int number READ number CONSTANT)
    Q_PROPERTY(qint64 deviceId READ deviceId CONSTANT)
    Q_PROPERTY(ReminderHandler* handler READ handler CONSTANT)
    // The edit the window has open, and the drafts that keep it.
    Q_PROPERTY(DeskEdit* edit READ edit CONSTANT)
    // Completions and deletions that wait for their Undo.
    Q_PROPERTY(DeskUndo* undo READ undo CONSTANT)
    Q_PROPERTY(QVariantList banners READ banners NOTIFY bannersChanged)
    Q_PROPERTY(QVariantList sampleMessages READ sampleMessages NOTIFY sampleMessagesChanged)
    // Bumped when what the helpers compute may have changed without a
    // signal of its own: every half minute, on a language change and when
    // the clock is moved. Bindings that call the helpers read it.
    Q_PROPERTY(int tick READ tick NOTIFY tickChanged)
    // The local reminders are in the list; until then nothing new is made
    // (a new reminder could take the id of one not yet read).
    Q_PROPERTY(bool loaded READ loaded NOTIFY loadedChanged)
    // A listing from the server is under way ("Sync now").
    Q_PROPERTY(bool listing READ listing NOTIFY listingChanged)
    // Whether this device's window has the focus (set by the QML); toasts
    // go to the focused device's window.
    Q_PROPERTY(bool windowActive READ windowActive WRITE setWindowActive NOTIFY windowActiveChanged)
    // Bumped when an upload of this device moves on or ends; bindings that
    // call uploadProgress() read it.
    Q_PROPERTY(int uploads READ uploads NOTIFY uploadsChanged)

public:
    // directory: the device's own folder (its drafts are kept there).
    DeskDevice(DeviceSession* session, int number, const QString& directory, QObject* parent = nullptr);
    ~DeskDevice() override;

    int number() const { return m_number; }
    qint64 deviceId() const;
    ReminderHandler* handler() const { return m_handler; }
    DeskEdit* edit() const { return m_edit; }
    DeskUndo* undo() const { return m_undo; }
    DeviceSession* session() const { return m_session; }
    AccountBase* account() const;
    QVariantList banners() const;
    int bannerCount() const { return m_banners.size(); }
    QVariantList sampleMessages() const;
    int tick() const { return m_tick; }
    bool listing() const { return m_listing; }
    bool loaded() const;
    bool windowActive() const { return m_windowActive; }
    void setWindowActive(bool active);
    int uploads() const { return m_uploadsRevision; }

    // Whether the item is this device's (an item of its handler's main
    // list, compared by pointer).
    bool owns(const ReminderItemPtr& item) const;
    // A notification record for this device: shown as a banner (a newer
    // one for the same reminder replaces the older).
    void addBanner(const ReminderItemPtr& item, qint64 dateTime);
    // The host withdrew the notification.
    void withdrawBanner(const QString& remindId);
    void showToast(const QString& text);
    // Re-reads the clock-dependent texts (after the clock was moved).
    void refreshClock();
    // Lists again from the server; listingChanged tells when it is done.
    void relist();

    // ---- QML: the module's objects
    // The reminder a row's "reminderData" value holds.
    Q_INVOKABLE ReminderItem* asItem(const QVariant& reminderData) const;
    Q_INVOKABLE ReminderItem* itemById(const QString& remindId) const;

    // ---- QML: words and summaries
    // The item's repeat rule in words, "" when it does not repeat: the
    // rule's description with, for a weekly or monthly rule, its days
    // ("Every week · Mon, Wed").
    Q_INVOKABLE QString repeatWords(ReminderItem* item);
    // What the rule's description leaves out, for a custom rule of the
    // pattern editor: the weekdays of a weekly rule, the monthly variant.
    // "" otherwise.
    Q_INVOKABLE QString ruleDetail(QObject* pattern) const;
    // "Today 14:30", "Tomorrow 09:00", "Wed 4 Jun 14:30", "" for 0.
    Q_INVOKABLE QString formatTime(qint64 ms) const;
    // The date alone: "Wed 4 Jun 2031".
    Q_INVOKABLE QString formatDay(qint64 ms) const;
    // "June 2031" for the calendar's header; month 1..12.
    Q_INVOKABLE QString monthTitle(int year, int month) const;
    Q_INVOKABLE bool isOverdue(ReminderItem* item) const;
    // The reminder's own text (the caption of a file).
    Q_INVOKABLE QString bodyText(ReminderItem* item) const;
    // {kind: "none" | "image" | "file", name, size, thumb (URL or "")}.
    Q_INVOKABLE QVariantMap attachment(QObject* content) const;
    Q_INVOKABLE QString quoteSender(RelativeMessage* quote) const;
    // The quoted message in one line: its text, the file's name, the
    // card's or the poll's title.
    Q_INVOKABLE QString quoteSummary(RelativeMessage* quote) const;
    // "text", "file", "card", "poll".
    Q_INVOKABLE QString quoteKind(RelativeMessage* quote) const;

    // ---- QML: time picking
    Q_INVOKABLE qint64 now() const;
    // A sensible first time for a reminder: the next full hour today
    // (before 21:00), else tomorrow at 09:00.
    Q_INVOKABLE qint64 suggestedTime() const;
    // Quick choices: [{label, time}], "In 1 hour", "This evening", ...
    Q_INVOKABLE QVariantList quickTimes() const;
    // Local midnight of that date (month 1..12).
    Q_INVOKABLE qint64 dateAt(int year, int month, int day) const;
    // The local date of dayMs at hour:minute.
    Q_INVOKABLE qint64 combine(qint64 dayMs, int hour, int minute) const;
    Q_INVOKABLE int hourOf(qint64 ms) const;
    Q_INVOKABLE int minuteOf(qint64 ms) const;
    Q_INVOKABLE int yearOf(qint64 ms) const;
    Q_INVOKABLE int monthOf(qint64 ms) const; // 1..12
    Q_INVOKABLE int dayOf(qint64 ms) const;
    // Whether the two times fall on the same local day.
    Q_INVOKABLE bool sameDay(qint64 a, qint64 b) const;
    // A month after the given time's day (an end date to start from).
    Q_INVOKABLE qint64 monthLater(qint64 ms) const;
    // Weekdays 1 (Monday) .. 7 (Sunday): names and rule bits.
    Q_INVOKABLE QString weekdayName(int day, bool shortName) const;
    // The interface language's first day of the week (1 Monday .. 7
    // Sunday): the calendar and the weekday choices both start there.
    Q_INVOKABLE int firstDayOfWeek() const;
    Q_INVOKABLE bool hasWeekday(int flags, int day) const;
    Q_INVOKABLE int toggledWeekday(int flags, int day) const;

    // ---- QML: actions that are the host's
    // Builds the sample message's content and opens the handler's editor
    // of a new reminder quoting it ("remind me about this"); DeskEdit
    // calls it.
    void remindAbout(int index);
    // "Sync now": lists the account from the server again.
    Q_INVOKABLE void syncNow();
    // The banner leaves (the person answered it).
    Q_INVOKABLE void dismissBanner(const QString& remindId);
    // The answers to a fired reminder, as its banner offers them; each
    // takes the banner away and does what its label says, also for a
    // reminder that does not repeat (docs/client.md).
    Q_INVOKABLE void answerSnooze(const QString& remindId, int minutes);
    Q_INVOKABLE void answerTomorrow(const QString& remindId);
    Q_INVOKABLE void answerClose(const QString& remindId);
    Q_INVOKABLE void answerDone(const QString& remindId);
    // How much of the reminder's attachment is uploaded, 0..1; -1 when no
    // upload of it runs.
    Q_INVOKABLE double uploadProgress(const QString& remindId) const;
    // When a snoozed reminder fires again; 0 when it is not snoozed.
    Q_INVOKABLE qint64 snoozedUntil(ReminderItem* item) const;
    // The local path of a chosen file; converted copies of attachments go
    // to this device's cache folder from now on.
    Q_INVOKABLE QString prepareAttachment(const QUrl& url) const;
    // Attaches the chosen file to the open edit; a file that is gone since
    // it was chosen (or never was a file) says why in a toast instead.
    Q_INVOKABLE void attachFile(const QUrl& url);

signals:
    void bannersChanged();
    void sampleMessagesChanged();
    void tickChanged();
    void listingChanged();
    void loadedChanged();
    void windowActiveChanged();
    void uploadsChanged();
    void toast(const QString& text);

private:
    void bumpTick();
    ReminderItemPtr pointerOf(ReminderItem* item) const;
    // The snoozes the user made are kept in the device's folder, so that a
    // row still says "Snoozed until" after a restart.
    void loadSnoozed();
    void saveSnoozed();
    // Gives the quote of the reminder (of every reminder in the list) its
    // sender from the account's dialogs.
    void resolveQuoteSender(const ReminderItemPtr& item);
    void resolveAllQuoteSenders();

    // Reminders the user snoozed from a banner here: the remind time each
    // was given (a one-off one keeps no snooze state in the module, and a
    // repeating one's fields cannot tell a snooze from its next occurrence).
    QHash<QString, qint64> m_snoozed;
    QString m_snoozedPath;
    DeviceSession* m_session = nullptr;
    ReminderHandler* m_handler = nullptr;
    DeskEdit* m_edit = nullptr;
    DeskUndo* m_undo = nullptr;
    int m_number = 0;
    // Standing banners, newest first, with the dateTime of their record.
    QList<QPair<ReminderItemPtr, qint64>> m_banners;
    // Describes rows' rules; never the handler's own editor.
    ReminderPattern* m_describer = nullptr;
    QTimer m_clockTimer;
    int m_tick = 0;
    bool m_listing = false;
    bool m_windowActive = false;
    // Uploads running: remind id to the part done.
    QHash<QString, double> m_uploadProgress;
    int m_uploadsRevision = 0;
};
