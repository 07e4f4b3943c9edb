#pragma once

// Two devices of one account on one reminder server, each wired by the host
// glue (DeviceSession), for end-to-end tests of synchronisation: a device can
// be taken offline (restarted on its own data directory without listing),
// brought online (listed), and the whole system can be run until every
// request has been handled and every answer delivered. What each device,
// its store and the server hold of a reminder can be read and compared.
//
// Waiting is by events only: the server's queries run on the server's
// thread behind everything posted to it, so after one of them every request
// sent before has been handled and its answer posted back (or held, when the
// server holds answers). Nothing here depends on how long anything takes.
#include "accountbase.h"
#include "accountcommand.h"
#include "contentitem.h"
#include "devicesession.h"
#include "fileservice.h"
#include "imlog.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "reminderitem.h"
#include "remindermodel.h"
#include "reminderpattern.h"
#include "reminderserver.h"
#include "reminderserversession.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include "im/content/reminder.pb.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QSet>
#include <QSignalSpy>
#include <QStringList>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>

// The handler's private bookkeeping, for tests.
class ReminderHandlerProbe
{
public:
    explicit ReminderHandlerProbe(ReminderHandler* h) : h(h) {}
    const QSet<QString>& pendingSync() const { return h->m_pendingSync; }
    bool listFinished() const { return h->m_listFinished; }

    ReminderHandler* h;
};

inline qint64 at(int y, int m, int d, int h, int min = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min)).toMSecsSinceEpoch();
}

// The fields of a reminder that its server message carries and that every
// device takes from a listing alike (local bookkeeping such as the unread
// flag or the next remind time is left out).
struct WireFields
{
    QString text;
    bool completed = false;
    int interval = 0;
    int unit = 0;
    int dayOfWeek = 0;
    int dayOfMonth = 0;
    int weekOfMonth = 0;
    qint64 endDate = 0;
    int repeatCount = 0;
    int snooze = 0;
    qint64 valid = 0;
    qint64 shown = 0;
    qint64 original = 0;
    qint64 order = 0;
    qint64 updateTime = 0;

    static WireFields missing(const QString& why)
    {
        WireFields w;
        w.text = why;
        return w;
    }

    static WireFields of(const ReminderItem& item)
    {
        WireFields w;
        w.text = item.text();
        w.completed = item.completed();
        w.interval = item.interval();
        w.unit = item.unit();
        w.dayOfWeek = item.dayOfWeekFlags();
        w.dayOfMonth = item.dayOfMonthFlags();
        w.weekOfMonth = item.weekOfMonthFlags();
        w.endDate = item.endDate();
        w.repeatCount = item.repeatCount();
        w.snooze = item.snooze();
        w.valid = item.validTime();
        w.shown = item.showRemindTime();
        w.original = item.originalRemindTime();
        w.order = item.orderTime();
        w.updateTime = item.timestamp();
        return w;
    }

    // What a device holds after taking this message from a listing.
    static WireFields ofMessage(const QByteArray& bytes, AccountBase* account)
    {
        WireFields w;
        im::content::Reminder msg;
        if (!msg.ParseFromArray(bytes.constData(), int(bytes.size()))) {
            w.text = QStringLiteral("<unreadable message>");
            return w;
        }
        const QByteArray plain =
            account->decrypt(QByteArray::fromStdString(msg.content()), QByteArray::fromStdString(msg.key()));
        im::content::ReminderContent rc;
        if (!plain.isNull() && rc.ParseFromArray(plain.constData(), int(plain.size())) && rc.content_size() > 0)
            w.text = QString::fromStdString(rc.content(0).text().text());
        w.completed = msg.completed();
        w.interval = msg.pattern().interval();
        w.unit = msg.pattern().unit();
        w.dayOfWeek = msg.pattern().day_of_week();
        w.dayOfMonth = msg.pattern().day_of_month();
        w.weekOfMonth = msg.pattern().week_of_month();
        w.endDate = msg.end_date();
        w.repeatCount = msg.repeat_count();
        w.snooze = msg.snooze();
        w.valid = msg.valid_time();
        w.shown = std::max(msg.show_remind_time(), msg.original_remind_time());
        w.original = msg.original_remind_time();
        w.order = msg.order_time();
        w.updateTime = msg.update_time();
        return w;
    }

    // The fields that the change times protect: text, completion, the rule
    // and the remind times. (The list order and the server's update time
    // are always taken from the server by a merge.)
    bool sameValues(const WireFields& o) const
    {
        return text == o.text && completed == o.completed && interval == o.interval && unit == o.unit
            && dayOfWeek == o.dayOfWeek && dayOfMonth == o.dayOfMonth && weekOfMonth == o.weekOfMonth
            && endDate == o.endDate && repeatCount == o.repeatCount && snooze == o.snooze && valid == o.valid
            && shown == o.shown && original == o.original;
    }
    bool operator==(const WireFields& o) const
    {
        return sameValues(o) && order == o.order && updateTime == o.updateTime;
    }
    bool operator!=(const WireFields& o) const { return !(*this == o); }

    QString toString() const
    {
        return QStringLiteral("{text \"%1\", completed %2, rule %3/%4/%5/%6/%7, end %8, count %9, snooze %10, "
                              "valid %11, shown %12, original %13, order %14, updated %15}")
            .arg(text)
            .arg(completed)
            .arg(interval)
            .arg(unit)
            .arg(dayOfWeek)
            .arg(dayOfMonth)
            .arg(weekOfMonth)
            .arg(endDate)
            .arg(repeatCount)
            .arg(snooze)
            .arg(valid)
            .arg(shown)
            .arg(original)
            .arg(order)
            .arg(updateTime);
    }
};

// What went over one device's connection, across its restarts.
struct Traffic
{
    QStringList sent;                    // remind ids of update requests, in order
    QList<QStringList> deletions;        // deletion requests
    QList<QPair<QString, int>> answers;  // (remind id, code), in order of arrival
    int listings = 0;                    // finished listings

    int answersFor(const QString& id, int code) const
    {
        int n = 0;
        for (const auto& a : answers)
            n += (a.first == id && a.second == code) ? 1 : 0;
        return n;
    }
    QList<int> codesFor(const QString& id) const
    {
        QList<int> codes;
        for (const auto& a : answers) {
            if (a.first == id)
                codes << a.second;
        }
        return codes;
    }
};

// The server, the file service and two devices (ids 1 and 2) of account
// 1001, on a fixed clock shared by the devices and the server.
struct TwoDevices
{
    static constexpr qint64 kAccount = 1001;
    static constexpr int kWait = 60000; // separates a hang from completion only

    // baseDirectory: where the temporary directory of the server's and the
    // devices' files is made; empty for the system's temporary directory.
    explicit TwoDevices(const QString& baseDirectory = QString())
        : dir(baseDirectory.isEmpty() ? QDir::tempPath() + QStringLiteral("/twodevices-XXXXXX")
                                      : baseDirectory + QStringLiteral("/twodevices-XXXXXX"))
    {
        ImLog::instance()->setEchoToStderr(false);
        network::NetworkSubject::instance()->setFixedTime(at(2031, 6, 2, 12));
        server.reset(new ReminderServer(dir.filePath(QStringLiteral("server.db")),
                                        [] { return network::NetworkSubject::instance()->currentDateTime(); }));
        files.reset(new FileService(dir.filePath(QStringLiteral("files"))));
        create(0);
        create(1);
    }
    ~TwoDevices()
    {
        device[0].reset();
        device[1].reset();
        server.reset();
        network::NetworkSubject::instance()->releaseFixedTime();
    }

    static qint64 deviceId(int i) { return i + 1; }
    DeviceSession* d(int i) const { return device[i].get(); }
    ReminderHandler* h(int i) const { return device[i]->handler(); }
    ReminderHandlerProbe probe(int i) const { return ReminderHandlerProbe(h(i)); }
    storage::ReminderStorage* store(int i) const { return d(i)->account()->storage()->reminderStorage(); }
    ReminderItemPtr item(int i, const QString& id) const { return h(i)->reminderModel()->itemById(id); }

    static qint64 now() { return network::NetworkSubject::instance()->currentDateTime(); }
    static void advance(qint64 ms) { network::NetworkSubject::instance()->advance(ms); }

    // The device on its data directory, wired to the server; nothing loaded.
    void create(int i)
    {
        device[i].reset(new DeviceSession(server.get(), files.get(),
                                          dir.filePath(QStringLiteral("device%1").arg(deviceId(i))), kAccount,
                                          deviceId(i), "secret"));
        DeviceSession* s = device[i].get();
        Traffic* t = &traffic[i];
        QObject::connect(s->account()->command(), &AccountCommand::reminderUpdateRequested, s,
                         [t](const QString& id, const QByteArray&) { t->sent << id; });
        QObject::connect(s->account()->command(), &AccountCommand::reminderDeleteRequested, s,
                         [t](const QStringList& ids) { t->deletions << ids; });
        QObject::connect(s->serverSession(), &ReminderServerSession::syncFinished, s,
                         [t](const QString& id, const QByteArray&, int code) { t->answers.append({ id, code }); });
        QObject::connect(s, &DeviceSession::listFinished, s, [t] { ++t->listings; });
    }

    // Signs in (loads local data and lists) and runs until all is answered.
    bool signIn(int i)
    {
        QSignalSpy done(d(i), &DeviceSession::listFinished);
        d(i)->signIn();
        return done.wait(kWait) && quiesce();
    }

    // The device goes away and comes back on its own data directory, loaded
    // but not listed. A freshly loaded handler sends nothing until its first
    // listing has finished, so every change made now is an offline change:
    // it is stored and kept as unsent, and goes out when goOnline() lists.
    // (Deletions are the exception: the host sends them at once.)
    void restartOffline(int i)
    {
        device[i].reset();
        create(i);
        h(i)->loadLocalData(false);
    }

    // Lists the account on the device (its first listing after an offline
    // restart, or a relisting as after a reconnection), then runs until
    // every request it caused has been answered.
    bool goOnline(int i)
    {
        QSignalSpy done(d(i), &DeviceSession::listFinished);
        d(i)->relist();
        return done.wait(kWait) && quiesce();
    }

    // Both devices list, one after the other, until a round of listings
    // sends nothing and leaves nothing unsent: then each has listed after
    // the server's last accepted change.
    bool listUntilCalm(int first = 0)
    {
        for (int pass = 0; pass < 8; ++pass) {
            const qsizetype sent = traffic[0].sent.size() + traffic[1].sent.size();
            if (!goOnline(first) || !goOnline(1 - first))
                return false;
            if (traffic[0].sent.size() + traffic[1].sent.size() == sent && probe(0).pendingSync().isEmpty()
                && probe(1).pendingSync().isEmpty())
                return true;
        }
        return false;
    }

    // Lets the storage worker finish and delivers what was posted back.
    static bool settle()
    {
        for (int i = 0; i < 6; ++i) {
            if (!ThreadManager::getInstance()->waitForIdle(kWait))
                return false;
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents();
        }
        return true;
    }

    int events() const
    {
        int n = 0;
        for (const Traffic& t : traffic)
            n += int(t.sent.size() + t.deletions.size() + t.answers.size()) + t.listings;
        return n;
    }

    // Runs until nothing moves: every request sent has reached the server
    // and been handled, every answer not held has been delivered, and the
    // answers caused no new request. The server's query is the barrier.
    bool quiesce()
    {
        int stable = 0;
        for (int round = 0; round < 200 && stable < 2; ++round) {
            const int before = events();
            if (!settle())
                return false;
            (void)server->heldCount();
            if (!settle())
                return false;
            stable = events() == before ? stable + 1 : 0;
        }
        return stable >= 2;
    }

    // ------------------------------------------------------- what is held

    // Every remind id in the device's main list, duplicates kept.
    QStringList ids(int i) const
    {
        QStringList out;
        h(i)->reminderModel()->allIds(out);
        return out;
    }
    QStringList sortedIds(int i) const
    {
        QStringList out = ids(i);
        out.sort();
        return out;
    }
    QStringList storedIds(int i) const
    {
        QStringList out;
        for (const storage::ReminderInfo& info : store(i)->allInfos())
            out << info.id;
        out.sort();
        return out;
    }
    // The server's reminders that are not deleted, sorted.
    QStringList serverLiveIds() const
    {
        QStringList out;
        for (const QString& id : server->remindIds(kAccount)) {
            if (!server->isTombstoned(kAccount, id))
                out << id;
        }
        out.sort();
        return out;
    }
    WireFields fields(int i, const QString& id) const
    {
        const ReminderItemPtr it = item(i, id);
        return it ? WireFields::of(*it) : WireFields::missing(QStringLiteral("<missing>"));
    }
    // The device's stored record of the reminder, read back.
    WireFields storedFields(int i, const QString& id) const
    {
        bool found = false;
        const storage::ReminderInfo info = store(i)->info(id, &found);
        if (!found)
            return WireFields::missing(QStringLiteral("<no record>"));
        ReminderItem back(info, d(i)->account());
        return WireFields::of(back);
    }
    WireFields serverFields(const QString& id) const
    {
        return WireFields::ofMessage(server->storedMessage(kAccount, id), d(0)->account());
    }

    // --------------------------------------------------------- the user

    // A new reminder due at `remindAt`; returns its id.
    QString create(int i, const QString& text, qint64 remindAt)
    {
        const QStringList old = ids(i);
        const QSet<QString> before(old.cbegin(), old.cend());
        h(i)->newReminder(text);
        QString id;
        for (const QString& x : ids(i)) {
            if (!before.contains(x))
                id = x;
        }
        if (!id.isEmpty())
            h(i)->modifyRemindTime(id, remindAt);
        return id;
    }
    // The text changed in the editor and saved.
    void editText(int i, const QString& id, const QString& text)
    {
        h(i)->editReminder(id);
        h(i)->setContent(text);
        h(i)->syncReminder();
    }
    // The repeat rule set to every day in the editor and saved.
    void repeatDaily(int i, const QString& id)
    {
        h(i)->editReminder(id);
        ReminderPattern* p = h(i)->reminderPattern();
        p->setRepeatFlag(ReminderPattern::EveryDay);
        p->repeatFinish();
        h(i)->syncReminder();
    }

    QTemporaryDir dir;
    std::unique_ptr<ReminderServer> server;
    std::unique_ptr<FileService> files;
    std::unique_ptr<DeviceSession> device[2];
    Traffic traffic[2];
};
