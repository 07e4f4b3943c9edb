// ReminderHandler: the remind timer, firing and notifying, and the user's
// answers to a fired reminder, on a real database with the real storage
// worker and a fixed clock. The QTimer itself is never waited for: a test
// calls the timeout handler where the timer would have fired.
#include "accountcommand.h"
#include "handlerfixture.h"
#include "modelbaseutil.h"

#include <QHash>
#include <QSemaphore>

#include <algorithm>
#include <limits>
#include <memory>

namespace {

constexpr qint64 kMinute = 60 * 1000;
constexpr qint64 kHour = 60 * kMinute;

const QString kEarlyPrefix = QStringLiteral("Reminder time out: ");
const QString kNotifyPrefix = QStringLiteral("Reminder time out notify: ");

// The logged lines that begin with `prefix`.
QStringList loggedLines(const QString& prefix)
{
    QStringList lines;
    for (const QString& line : ImLog::instance()->recentLines()) {
        if (line.startsWith(prefix))
            lines << line;
    }
    return lines;
}

QString notifyLine(qint64 oldTime, qint64 newTime, qint64 nearest)
{
    return QStringLiteral("Reminder time out notify: old time(%1), new time(%2), nearest time(%3)")
        .arg(oldTime)
        .arg(newTime)
        .arg(nearest);
}

// Holds the storage worker: every write handed in after the gate is made
// stays queued until the gate opens (or the gate goes out of scope), so a
// test knows for certain that storage has not seen them yet.
class WorkerGate
{
public:
    WorkerGate() : m_sem(std::make_shared<QSemaphore>(0))
    {
        std::shared_ptr<QSemaphore> sem = m_sem;
        ThreadManager::getInstance()->invoke([sem] { sem->acquire(); }, true);
    }
    ~WorkerGate() { open(); }
    void open()
    {
        if (m_open)
            return;
        m_open = true;
        m_sem->release();
    }

private:
    std::shared_ptr<QSemaphore> m_sem;
    bool m_open = false;
};

ReminderItemPtr daily(const QString& id, qint64 time, int repeatCount = 0)
{
    ReminderItemPtr item = HandlerFixture::makeItem(id, time);
    item->setInterval(1);
    item->setUnit(0);
    item->setRepeatCount(repeatCount);
    return item;
}

// Weekly on the weekday of `time`.
ReminderItemPtr weekly(const QString& id, qint64 time, int repeatCount = 0)
{
    ReminderItemPtr item = HandlerFixture::makeItem(id, time);
    item->setInterval(1);
    item->setUnit(1);
    item->setDayOfWeekFlags(
        ModelBaseUtil::dayOfWeekToFlag(QDateTime::fromMSecsSinceEpoch(time).date().dayOfWeek()));
    item->setRepeatCount(repeatCount);
    return item;
}

// A one-off reminder that snoozes every `minutes` until answered.
ReminderItemPtr snoozing(const QString& id, qint64 time, int minutes)
{
    ReminderItemPtr item = HandlerFixture::makeItem(id, time);
    item->setSnooze(minutes);
    return item;
}

ReminderItemPtr listed(HandlerFixture& f, const QString& id)
{
    return f.handler->reminderModel()->itemById(id);
}

// Sending to the server is on once the host's first listing is finished.
void finishListing(HandlerFixture& f)
{
    QMetaObject::invokeMethod(f.handler, "onListFinished");
    f.settle();
}

// The timer fires a second after the reminder's time.
void fireAt(HandlerFixture& f, qint64 reminderTime)
{
    f.setNow(reminderTime + 1000);
    f.probe->onTimeOut();
}

} // namespace

class TestReminderTimer : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ReminderHandler::registerMetaType("unused"); }
    void init() { ImLog::instance()->clearRecentLines(); }
    void cleanup() { network::NetworkSubject::instance()->setAppActive(true); }

    // the timer rule
    void ruleArmsTheTimerForTheNearestTime_data();
    void ruleArmsTheTimerForTheNearestTime();
    void nearestTimeBeyondTheRangeFromTheClockArmsTheHourlyTick();
    void ruleAppliedToAnArmedTimer_data();
    void ruleAppliedToAnArmedTimer();
    void pastNearestTimeFiresWithinTheCall();
    void nothingPendingStopsTheTimer_data();
    void nothingPendingStopsTheTimer();
    void readyReminderArmsOnlyWhenSomethingIsPending();

    // early firing
    void earlyFiringOfTheShortTimerIsLoggedAndReAimed();
    void hourlyTickAsksForRefreshOnlyWhileInactive_data();
    void hourlyTickAsksForRefreshOnlyWhileInactive();

    // firing
    void remindersDueTogetherAreNotifiedInOneCall();
    void passOverManyRemindersWritesEachAheadOfLaterTasks_data();
    void passOverManyRemindersWritesEachAheadOfLaterTasks();
    void reminderDeletedOnTheServerDuringThePassStaysDeleted();
    void oneOffReminderIsNotifiedOnlyOnce_data();
    void oneOffReminderIsNotifiedOnlyOnce();
    void firingWaitsForQueuedWritesBeforeReArming_data();
    void firingWaitsForQueuedWritesBeforeReArming();
    void notifyLineNamesTheRepeatingReminderTimes();
    void recordThatCannotBeShownDoesNotHoldUpLaterReminders_data();
    void recordThatCannotBeShownDoesNotHoldUpLaterReminders();
    void reminderThatStaysDueAfterItsPassDoesNotHoldUpLaterOnes();
    void secondPassBeforeTheFirstWasWrittenNotifiesNothingAgain_data();
    void secondPassBeforeTheFirstWasWrittenNotifiesNothingAgain();
    void dailyReminderMovesOnUntilItsCountEnds();
    void snoozingReminderStopsNotifyingAfterFivePeriods();
    void unseenRepeatingReminderFiringAgainWritesOnlyItsTime_data();
    void unseenRepeatingReminderFiringAgainWritesOnlyItsTime();
    void completedReminderDueIsMarkedDoneWithoutNotifying();

    // completion
    void completingWeeklyReminderMovesItToNextWeek();
    void completingTheLastOccurrenceCompletesTheReminder();
    void completingAnUnknownIdReturnsFalse();
    void completingWithAStandingNotificationWithdrawsItOnce();

    // snoozing
    void snoozeForFiveMinutesSetsBothTimesAndReAimsTheTimer();

    // notifications standing
    void removeNotifyWithoutStandingNotificationCallsNothing();
    void removeNotifyWithdrawsAStandingNotificationOnce();

    // overdue count
    void overdueCountFollowsFiringAndCompletion();
};

// ------------------------------------------------------------ timer rule

void TestReminderTimer::ruleArmsTheTimerForTheNearestTime_data()
{
    QTest::addColumn<qint64>("ahead");
    QTest::addColumn<bool>("singleShot");
    QTest::addColumn<int>("interval");

    QTest::newRow("30 minutes ahead") << 30 * kMinute << true << 1801000;
    QTest::newRow("two hours ahead") << 2 * kHour << false << 3600000;
    QTest::newRow("exactly an hour ahead") << kHour << true << 3601000;
    QTest::newRow("an hour and a millisecond ahead") << kHour + 1 << false << 3600000;
    QTest::newRow("a minute ahead") << kMinute << true << 61000;
}

void TestReminderTimer::ruleArmsTheTimerForTheNearestTime()
{
    QFETCH(qint64, ahead);
    QFETCH(bool, singleShot);
    QFETCH(int, interval);

    HandlerFixture f;
    QTimer& timer = f.probe->timer();
    QVERIFY(!timer.isActive());
    f.probe->setNearest(f.now() + ahead);
    f.probe->checkStartTimer();
    QVERIFY(timer.isActive());
    QCOMPARE(timer.isSingleShot(), singleShot);
    QCOMPARE(timer.interval(), interval);
    QCOMPARE(f.probe->nearest(), f.now() + ahead);
    QCOMPARE(f.notified->count(), 0);
    QVERIFY(loggedLines(kEarlyPrefix).isEmpty());
    timer.stop();
}

void TestReminderTimer::nearestTimeBeyondTheRangeFromTheClockArmsTheHourlyTick()
{
    // A clock before 1970 and a nearest time at the end of the range: their
    // distance does not fit in 64 bits. It counts as far away.
    HandlerFixture f;
    QTimer& timer = f.probe->timer();
    f.setNow(at(1953, 3, 1, 12));
    f.probe->setNearest(std::numeric_limits<qint64>::max() - 2000);
    f.probe->checkStartTimer();
    QVERIFY(timer.isActive());
    QVERIFY(!timer.isSingleShot());
    QCOMPARE(timer.interval(), int(ONE_HOURE));
    QCOMPARE(f.notified->count(), 0);
    timer.stop();
}

void TestReminderTimer::ruleAppliedToAnArmedTimer_data()
{
    QTest::addColumn<qint64>("firstAhead");
    QTest::addColumn<qint64>("secondAhead");
    QTest::addColumn<bool>("kept");
    QTest::addColumn<bool>("singleShot");
    QTest::addColumn<int>("interval");

    QTest::newRow("single shot due sooner is kept") << 10 * kMinute << 30 * kMinute << true << true << 601000;
    QTest::newRow("single shot re-aimed at a sooner time")
        << 30 * kMinute << 10 * kMinute << false << true << 601000;
    QTest::newRow("hourly tick kept while still far") << 3 * kHour << 2 * kHour << true << false << 3600000;
    QTest::newRow("hourly tick replaced when near") << 3 * kHour << 30 * kMinute << false << true << 1801000;
    QTest::newRow("single shot replaced when far") << 10 * kMinute << 2 * kHour << false << false << 3600000;
}

void TestReminderTimer::ruleAppliedToAnArmedTimer()
{
    QFETCH(qint64, firstAhead);
    QFETCH(qint64, secondAhead);
    QFETCH(bool, kept);
    QFETCH(bool, singleShot);
    QFETCH(int, interval);

    HandlerFixture f;
    QTimer& timer = f.probe->timer();
    // A precise timer reports its remaining time to the millisecond, so a
    // restart shows as a remaining time that went up again.
    timer.setTimerType(Qt::PreciseTimer);
    f.probe->setNearest(f.now() + firstAhead);
    f.probe->checkStartTimer();
    QVERIFY(timer.isActive());
    const int firstInterval = timer.interval();
    const bool firstSingleShot = timer.isSingleShot();
    // Let some real time run off the armed timer.
    QTRY_VERIFY(timer.remainingTime() >= 0 && timer.remainingTime() < firstInterval - 20);
    const int remainingBefore = timer.remainingTime();

    f.probe->setNearest(f.now() + secondAhead);
    f.probe->checkStartTimer();
    QVERIFY(timer.isActive());
    QCOMPARE(timer.isSingleShot(), singleShot);
    QCOMPARE(timer.interval(), interval);
    if (kept) {
        QCOMPARE(timer.interval(), firstInterval);
        QCOMPARE(timer.isSingleShot(), firstSingleShot);
        QVERIFY2(timer.remainingTime() <= remainingBefore,
                 qPrintable(QStringLiteral("restarted: %1 > %2").arg(timer.remainingTime()).arg(remainingBefore)));
    } else {
        // Re-armed: the rule asked for a different timer.
        QVERIFY(timer.interval() != firstInterval || timer.isSingleShot() != firstSingleShot);
    }
    QCOMPARE(f.notified->count(), 0);
    timer.stop();
}

void TestReminderTimer::pastNearestTimeFiresWithinTheCall()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 2, 11, 50)));
    f.handler->loadLocalData(false);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 11, 50));
    QCOMPARE(f.notified->count(), 0);

    f.probe->checkStartTimer();
    // Notified inside the call, before any event or storage work ran.
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.notifiedIdsOfCall(0), QStringList{QStringLiteral("7_1")});
    QVERIFY(listed(f, "7_1")->reminded());

    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.probe->nearest(), 0);
    QVERIFY(!f.probe->timer().isActive());
}

void TestReminderTimer::nothingPendingStopsTheTimer_data()
{
    QTest::addColumn<qint64>("armedAhead");
    QTest::addColumn<bool>("throughRule");

    QTest::newRow("hourly tick, timeout") << 2 * kHour << false;
    QTest::newRow("single shot, timeout") << 30 * kMinute << false;
    QTest::newRow("hourly tick, rule") << 2 * kHour << true;
    QTest::newRow("single shot, rule") << 30 * kMinute << true;
}

void TestReminderTimer::nothingPendingStopsTheTimer()
{
    QFETCH(qint64, armedAhead);
    QFETCH(bool, throughRule);

    HandlerFixture f;
    f.probe->setNearest(f.now() + armedAhead);
    f.probe->checkStartTimer();
    QVERIFY(f.probe->timer().isActive());

    f.probe->setNearest(0);
    if (throughRule)
        f.probe->checkStartTimer();
    else
        f.probe->onTimeOut();
    QVERIFY(!f.probe->timer().isActive());
    QCOMPARE(f.probe->nearest(), 0);
    QCOMPARE(f.notified->count(), 0);
    QVERIFY(loggedLines(kEarlyPrefix).isEmpty());
    f.settle();
    QVERIFY(!f.probe->timer().isActive());
}

void TestReminderTimer::readyReminderArmsOnlyWhenSomethingIsPending()
{
    {
        HandlerFixture f;
        f.handler->loadLocalData(false);
        f.handler->readyReminder();
        QVERIFY(!f.probe->timer().isActive());
    }
    {
        HandlerFixture f;
        f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 2, 12, 30)));
        f.handler->loadLocalData(false);
        QVERIFY(!f.probe->timer().isActive());
        f.handler->readyReminder();
        QVERIFY(f.probe->timer().isActive());
        QVERIFY(f.probe->timer().isSingleShot());
        QCOMPARE(f.probe->timer().interval(), 1801000);
        f.probe->timer().stop();
    }
}

// ------------------------------------------------------------ early firing

void TestReminderTimer::earlyFiringOfTheShortTimerIsLoggedAndReAimed()
{
    HandlerFixture f;
    const qint64 target = at(2031, 6, 2, 12, 30);
    f.probe->setNearest(target);
    f.probe->checkStartTimer();
    QCOMPARE(f.probe->timer().interval(), 1801000);
    // The single shot ran out, but the corrected clock says 12:29.
    f.probe->timer().stop();
    const qint64 early = at(2031, 6, 2, 12, 29);
    f.setNow(early);
    QSignalSpy refresh(f.account.get(), &AccountBase::refreshRequested);

    f.probe->onTimeOut();
    QCOMPARE(loggedLines(kEarlyPrefix),
             QStringList{QStringLiteral("Reminder time out: CurrentDateTime(%1), LoadedRemindTime(%2)")
                             .arg(early)
                             .arg(target)});
    QCOMPARE(refresh.count(), 0);
    QCOMPARE(f.notified->count(), 0);
    QCOMPARE(f.probe->nearest(), target);
    // Re-aimed at the same target from the new now.
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 61000);
    f.probe->timer().stop();
}

void TestReminderTimer::hourlyTickAsksForRefreshOnlyWhileInactive_data()
{
    QTest::addColumn<bool>("appActive");
    QTest::addColumn<int>("refreshesPerTick");

    QTest::newRow("application active") << true << 0;
    QTest::newRow("application in the background") << false << 1;
}

void TestReminderTimer::hourlyTickAsksForRefreshOnlyWhileInactive()
{
    QFETCH(bool, appActive);
    QFETCH(int, refreshesPerTick);

    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 2, 15)));
    f.handler->loadLocalData(false);
    f.handler->readyReminder();
    QTimer& timer = f.probe->timer();
    QVERIFY(!timer.isSingleShot());
    QCOMPARE(timer.interval(), 3600000);
    network::NetworkSubject::instance()->setAppActive(appActive);
    QSignalSpy refresh(f.account.get(), &AccountBase::refreshRequested);

    // First tick, 13:00: still two hours to go.
    f.setNow(at(2031, 6, 2, 13));
    f.probe->onTimeOut();
    QCOMPARE(refresh.count(), refreshesPerTick);
    QVERIFY(loggedLines(kEarlyPrefix).isEmpty());
    QVERIFY(timer.isActive());
    QVERIFY(!timer.isSingleShot());
    QCOMPARE(timer.interval(), 3600000);

    // Second tick, 14:30: half an hour to go, the rule turns to a single shot.
    f.setNow(at(2031, 6, 2, 14, 30));
    f.probe->onTimeOut();
    QCOMPARE(refresh.count(), 2 * refreshesPerTick);
    QVERIFY(loggedLines(kEarlyPrefix).isEmpty());
    QVERIFY(timer.isActive());
    QVERIFY(timer.isSingleShot());
    QCOMPARE(timer.interval(), 1801000);
    QCOMPARE(f.notified->count(), 0);
    timer.stop();
}

// ------------------------------------------------------------------ firing

void TestReminderTimer::remindersDueTogetherAreNotifiedInOneCall()
{
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(HandlerFixture::makeItem("7_1", due));
    f.storeItem(HandlerFixture::makeItem("7_2", due, QStringLiteral("call Carol")));
    f.storeItem(HandlerFixture::makeItem("7_3", at(2031, 6, 2, 13)));
    f.handler->loadLocalData(false);

    fireAt(f, due);
    QCOMPARE(f.notified->count(), 1);
    const QVariantList records = f.notified->at(0).at(0).toList();
    QCOMPARE(records.size(), 2);
    QStringList ids = f.notifiedIdsOfCall(0);
    std::sort(ids.begin(), ids.end());
    QCOMPARE(ids, (QStringList{QStringLiteral("7_1"), QStringLiteral("7_2")}));

    for (const QVariant& v : records) {
        QCOMPARE(v.metaType(), QMetaType::fromType<QVariantMap>());
        const QVariantMap record = v.toMap();
        QStringList keys = record.keys();
        std::sort(keys.begin(), keys.end());
        QCOMPARE(keys, (QStringList{"accountId", "accountNick", "dateTime", "msgData", "msgType", "mute"}));
        QCOMPARE(record.value("accountId").metaType(), QMetaType::fromType<qint64>());
        QCOMPARE(record.value("accountId").toLongLong(), 1001);
        QCOMPARE(record.value("accountNick").metaType(), QMetaType::fromType<QString>());
        QCOMPARE(record.value("accountNick").toString(), QStringLiteral("Alice"));
        QCOMPARE(record.value("msgType").metaType(), QMetaType::fromType<int>());
        QCOMPARE(record.value("msgType").toInt(), 2005);
        QCOMPARE(record.value("dateTime").metaType(), QMetaType::fromType<qint64>());
        QCOMPARE(record.value("dateTime").toLongLong(), due);
        QCOMPARE(record.value("mute").metaType(), QMetaType::fromType<bool>());
        QCOMPARE(record.value("mute").toBool(), false);
        QCOMPARE(record.value("msgData").metaType(), QMetaType::fromName("ReminderItemPtr"));
        const ReminderItemPtr item = record.value("msgData").value<ReminderItemPtr>();
        QVERIFY(item);
        QCOMPARE(item, listed(f, item->remindId()));
    }
    QVERIFY(listed(f, "7_1")->reminded());
    QVERIFY(listed(f, "7_2")->reminded());
    QVERIFY(!listed(f, "7_3")->reminded());
    QVERIFY(!listed(f, "7_3")->unread());

    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 13));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(f.probe->timer().isSingleShot());
    // 13:00 from 12:30:01, plus the second.
    QCOMPARE(f.probe->timer().interval(), 1800000);
    f.probe->timer().stop();
}

void TestReminderTimer::oneOffReminderIsNotifiedOnlyOnce_data()
{
    QTest::addColumn<bool>("listFinished");

    QTest::newRow("before the listing finished") << false;
    QTest::newRow("after the listing finished") << true;
}

void TestReminderTimer::oneOffReminderIsNotifiedOnlyOnce()
{
    QFETCH(bool, listFinished);

    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(HandlerFixture::makeItem("7_1", due));
    f.handler->loadLocalData(false);
    if (listFinished)
        finishListing(f);
    f.handler->readyReminder();
    QCOMPARE(f.probe->timer().interval(), 1801000);
    QCOMPARE(f.sent->count(), 0);

    {
        WorkerGate gate;
        fireAt(f, due);
        QCOMPARE(f.notified->count(), 1);
        QCOMPARE(f.notifiedIdsOfCall(0), QStringList{QStringLiteral("7_1")});
        const ReminderItemPtr item = listed(f, "7_1");
        QVERIFY(item->reminded());
        QVERIFY(item->unread());
        QCOMPARE(item->lastUnreadTime(), due);
        QVERIFY(f.probe->pendingSync().contains(QStringLiteral("7_1")));
        // Fired again while its record still says pending: brought up to
        // date, not notified.
        QVERIFY(!f.record(QStringLiteral("7_1")).reminded);
        f.probe->setNearest(due);
        f.probe->onTimeOut();
        QCOMPARE(f.notified->count(), 1);
        gate.open();
    }
    f.settle();

    const storage::ReminderInfo record = f.record(QStringLiteral("7_1"));
    QVERIFY(record.reminded);
    QVERIFY(record.unread);
    QVERIFY(!record.completed);
    const ReminderItemPtr stored = f.storedItem(QStringLiteral("7_1"));
    QVERIFY(stored->reminded());
    QVERIFY(stored->unread());
    QCOMPARE(stored->lastUnreadTime(), due);
    QCOMPARE(f.probe->nearest(), 0);
    QVERIFY(!f.probe->timer().isActive());

    if (listFinished) {
        QCOMPARE(f.sent->count(), 1);
        QCOMPARE(f.sent->at(0).at(0).toString(), QStringLiteral("7_1"));
        const im::content::Reminder msg = f.sentMessage(0);
        QCOMPARE(QString::fromStdString(msg.id()), QStringLiteral("7_1"));
        QVERIFY(msg.reminded());
    } else {
        QCOMPARE(f.sent->count(), 0);
    }
    QVERIFY(f.probe->pendingSync().contains(QStringLiteral("7_1")));
    const int sentAfterFiring = f.sent->count();

    // Aimed at that instant again, or a day later: nothing more.
    f.probe->setNearest(due);
    f.probe->onTimeOut();
    f.settle();
    f.setNow(at(2031, 6, 3, 12, 30));
    f.probe->onTimeOut();
    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.sent->count(), sentAfterFiring);
    QVERIFY(!f.probe->timer().isActive());
}

void TestReminderTimer::firingWaitsForQueuedWritesBeforeReArming_data()
{
    QTest::addColumn<qint64>("next");
    QTest::addColumn<bool>("holdWorker");
    QTest::addColumn<bool>("active");
    QTest::addColumn<bool>("singleShot");
    QTest::addColumn<int>("interval");

    const qint64 in20 = at(2031, 6, 2, 12, 50);
    const qint64 in3h = at(2031, 6, 2, 15, 30);
    // From 12:30:01: 12:50 is 19:59 away, plus the second.
    QTest::newRow("next in 20 minutes, writes queued") << in20 << true << true << true << 1200000;
    QTest::newRow("next in 20 minutes") << in20 << false << true << true << 1200000;
    QTest::newRow("next in three hours, writes queued") << in3h << true << true << false << 3600000;
    QTest::newRow("next in three hours") << in3h << false << true << false << 3600000;
    QTest::newRow("none left, writes queued") << qint64(0) << true << false << false << 0;
    QTest::newRow("none left") << qint64(0) << false << false << false << 0;
}

void TestReminderTimer::firingWaitsForQueuedWritesBeforeReArming()
{
    QFETCH(qint64, next);
    QFETCH(bool, holdWorker);
    QFETCH(bool, active);
    QFETCH(bool, singleShot);
    QFETCH(int, interval);

    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(HandlerFixture::makeItem("7_1", due));
    if (next > 0)
        f.storeItem(HandlerFixture::makeItem("7_2", next));
    f.handler->loadLocalData(false);
    f.handler->readyReminder();

    {
        std::unique_ptr<WorkerGate> gate(holdWorker ? new WorkerGate : nullptr);
        fireAt(f, due);
        QCOMPARE(f.notified->count(), 1);
        QCOMPARE(f.notifiedIdsOfCall(0), QStringList{QStringLiteral("7_1")});
        const QStringList lines = loggedLines(kNotifyPrefix);
        if (holdWorker) {
            // Storage still reports the instant just handled: logged once,
            // and the pass ends there instead of handling it again.
            QCOMPARE(lines, QStringList{notifyLine(0, 0, due)});
            QCOMPARE(f.probe->nearest(), due);
        } else {
            QVERIFY2(lines.size() <= 1, qPrintable(lines.join(QLatin1Char('\n'))));
            if (!lines.isEmpty())
                QCOMPARE(lines.at(0), notifyLine(0, 0, due));
        }
    }
    f.settle();

    QCOMPARE(f.notified->count(), 1);
    QVERIFY(loggedLines(kNotifyPrefix).size() <= 1);
    QCOMPARE(f.probe->nearest(), next);
    QCOMPARE(f.probe->timer().isActive(), active);
    if (active) {
        QCOMPARE(f.probe->timer().isSingleShot(), singleShot);
        QCOMPARE(f.probe->timer().interval(), interval);
    }
    QVERIFY(f.record(QStringLiteral("7_1")).reminded);
    if (next > 0)
        QVERIFY(!f.record(QStringLiteral("7_2")).reminded);
    f.probe->timer().stop();
}

void TestReminderTimer::notifyLineNamesTheRepeatingReminderTimes()
{
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(daily("7_1", due));
    f.storeItem(HandlerFixture::makeItem("7_2", due));
    f.handler->loadLocalData(false);
    f.handler->readyReminder();

    {
        WorkerGate gate;
        fireAt(f, due);
        QCOMPARE(f.notified->count(), 1);
        QCOMPARE(f.notified->at(0).at(0).toList().size(), 2);
        // The daily one moved from today 12:30 to tomorrow 12:30.
        QCOMPARE(loggedLines(kNotifyPrefix), QStringList{notifyLine(due, at(2031, 6, 3, 12, 30), due)});
    }
    f.settle();
    QCOMPARE(loggedLines(kNotifyPrefix).size(), 1);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 3, 12, 30));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 3600000);
    QCOMPARE(f.notified->count(), 1);
    f.probe->timer().stop();
}

void TestReminderTimer::recordThatCannotBeShownDoesNotHoldUpLaterReminders_data()
{
    QTest::addColumn<bool>("unreadable");

    QTest::newRow("unreadable record kept at load") << true;
    QTest::newRow("record stored after the list was loaded") << false;
}

void TestReminderTimer::recordThatCannotBeShownDoesNotHoldUpLaterReminders()
{
    QFETCH(bool, unreadable);

    HandlerFixture f;
    const qint64 start = f.now();
    const qint64 brokenTime = start - kHour;
    const qint64 first = start + 10 * kMinute;
    const qint64 second = start + 30 * kMinute;
    f.storeItem(HandlerFixture::makeItem("7_1", first));
    f.storeItem(HandlerFixture::makeItem("7_2", second));
    storage::ReminderInfo broken;
    if (unreadable) {
        broken.id = QStringLiteral("7_9");
        broken.data = QByteArray("\xff\xff\xff", 3);
        broken.remindTime = brokenTime;
        QVERIFY(f.store()->save(broken));
        f.handler->loadLocalData(false);
    } else {
        f.handler->loadLocalData(false);
        HandlerFixture::makeItem("7_9", brokenTime)->serialize(broken);
        QVERIFY(f.store()->save(broken));
        // Storage reports the record as the nearest time from now on.
        f.probe->setNearest(brokenTime);
    }
    QCOMPARE(f.handler->reminderModel()->count(), 2);
    QVERIFY(!listed(f, "7_9"));

    // The record is in the past: the rule runs a pass at once, which steps
    // over it and aims at the first real reminder.
    f.handler->readyReminder();
    f.settle();
    QCOMPARE(f.notified->count(), 0);
    QCOMPARE(f.probe->nearest(), first);
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), int(first - start + 1000));

    fireAt(f, first);
    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.notified->at(0).at(0).toList().size(), 1);
    QCOMPARE(f.notified->at(0).at(0).toList().at(0).toMap().value("msgData").value<ReminderItemPtr>()->remindId(),
             QStringLiteral("7_1"));
    QCOMPARE(f.probe->nearest(), second);

    fireAt(f, second);
    f.settle();
    QCOMPARE(f.notified->count(), 2);
    QCOMPARE(f.notified->at(1).at(0).toList().at(0).toMap().value("msgData").value<ReminderItemPtr>()->remindId(),
             QStringLiteral("7_2"));
    QVERIFY(!f.probe->timer().isActive());

    // Left byte for byte, never notified, named in the log once.
    const storage::ReminderInfo kept = f.record(QStringLiteral("7_9"));
    QCOMPARE(kept.data, broken.data);
    QCOMPARE(kept.remindTime, brokenTime);
    QVERIFY(!kept.reminded);
    QStringList naming;
    for (const QString& line : ImLog::instance()->recentLines()) {
        if (line.contains(QStringLiteral("record 7_9")))
            naming << line;
    }
    QCOMPARE(naming.size(), 1);
}

void TestReminderTimer::reminderThatStaysDueAfterItsPassDoesNotHoldUpLaterOnes()
{
    HandlerFixture f;
    const qint64 start = f.now();
    // A snooze period whose step wraps below zero: a pass cannot move it.
    ReminderItemPtr stuck = snoozing("7_5", start - kHour, 35792);
    f.storeItem(stuck);
    const qint64 later = start + 10 * kMinute;
    f.storeItem(HandlerFixture::makeItem("7_1", later));
    f.handler->loadLocalData(false);
    f.handler->readyReminder();
    f.settle();
    // Its cycle is used up at once (nothing notified), it stays where it
    // is, and the timer goes on to the next reminder.
    QCOMPARE(f.notified->count(), 0);
    QCOMPARE(f.record(QStringLiteral("7_5")).remindTime, start - kHour);
    QCOMPARE(f.probe->nearest(), later);
    QVERIFY(f.probe->timer().isSingleShot());

    fireAt(f, later);
    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.notified->at(0).at(0).toList().at(0).toMap().value("msgData").value<ReminderItemPtr>()->remindId(),
             QStringLiteral("7_1"));

    // Changed by the user, it counts again.
    f.handler->snoozeReminder(QStringLiteral("7_5"), 5);
    f.settle();
    QCOMPARE(f.probe->nearest(), f.now() + 5 * kMinute);
}

void TestReminderTimer::secondPassBeforeTheFirstWasWrittenNotifiesNothingAgain_data()
{
    QTest::addColumn<int>("snooze");

    QTest::newRow("daily") << 0;
    QTest::newRow("daily with a snooze period") << 10;
}

void TestReminderTimer::secondPassBeforeTheFirstWasWrittenNotifiesNothingAgain()
{
    QFETCH(int, snooze);
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    ReminderItemPtr repeating = daily("7_1", due);
    repeating->setSnooze(snooze);
    f.storeItem(repeating);
    f.storeItem(HandlerFixture::makeItem("7_2", due));
    f.handler->loadLocalData(false);
    f.handler->readyReminder();
    {
        // The first pass's writes stay queued while the rule runs again.
        WorkerGate gate;
        f.setNow(due + 1000);
        f.probe->onTimeOut();
        QCOMPARE(f.notified->count(), 1);
        const qint64 moved = listed(f, "7_1")->remindTime();
        QVERIFY(moved > due);
        f.handler->readyReminder();
        f.probe->onTimeOut();
        QCOMPARE(f.notified->count(), 1);
        QCOMPARE(listed(f, "7_1")->remindTime(), moved);
    }
    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.notifiedIdsOfCall(0), (QStringList{ "7_1", "7_2" }));
    QCOMPARE(f.record(QStringLiteral("7_1")).remindTime, listed(f, "7_1")->remindTime());
    QVERIFY(f.record(QStringLiteral("7_2")).reminded);
    f.probe->timer().stop();
}

void TestReminderTimer::dailyReminderMovesOnUntilItsCountEnds()
{
    HandlerFixture f;
    // Daily from Monday 12:30, two repetitions: Mon, Tue and Wed.
    const qint64 first = at(2031, 6, 2, 12, 30);
    f.storeItem(daily("7_1", first, 2));
    f.handler->loadLocalData(false);
    finishListing(f);
    f.handler->readyReminder();
    const ReminderItemPtr item = listed(f, "7_1");

    fireAt(f, first);
    QCOMPARE(f.notified->count(), 1);
    QVERIFY(!item->reminded());
    QVERIFY(item->unread());
    QCOMPARE(item->remindTime(), at(2031, 6, 3, 12, 30));
    QCOMPARE(item->validTime(), at(2031, 6, 3, 12, 30));
    f.settle();
    QCOMPARE(f.record(QStringLiteral("7_1")).remindTime, at(2031, 6, 3, 12, 30));
    QVERIFY(!f.record(QStringLiteral("7_1")).reminded);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 3, 12, 30));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    QCOMPARE(f.sent->count(), 1);

    fireAt(f, at(2031, 6, 3, 12, 30));
    QCOMPARE(f.notified->count(), 2);
    QCOMPARE(f.notifiedIdsOfCall(1), QStringList{QStringLiteral("7_1")});
    QVERIFY(!item->reminded());
    QCOMPARE(item->remindTime(), at(2031, 6, 4, 12, 30));
    f.settle();
    QCOMPARE(f.record(QStringLiteral("7_1")).remindTime, at(2031, 6, 4, 12, 30));
    QCOMPARE(f.probe->nearest(), at(2031, 6, 4, 12, 30));

    // The last occurrence: notified, then done.
    fireAt(f, at(2031, 6, 4, 12, 30));
    QCOMPARE(f.notified->count(), 3);
    QVERIFY(item->reminded());
    QVERIFY(!item->completed());
    f.settle();
    QVERIFY(f.record(QStringLiteral("7_1")).reminded);
    QVERIFY(f.storedItem(QStringLiteral("7_1"))->reminded());
    QCOMPARE(f.probe->nearest(), 0);
    QVERIFY(!f.probe->timer().isActive());
    // Sent on the first firing (unread from then on) and on the last (done).
    QCOMPARE(f.sent->count(), 2);
    QVERIFY(f.sentMessage(1).reminded());

    // A day later nothing fires.
    f.setNow(at(2031, 6, 5, 12, 31));
    f.probe->onTimeOut();
    f.settle();
    QCOMPARE(f.notified->count(), 3);
}

void TestReminderTimer::snoozingReminderStopsNotifyingAfterFivePeriods()
{
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(snoozing("7_1", due, 10));
    f.handler->loadLocalData(false);
    finishListing(f);
    f.handler->readyReminder();
    const ReminderItemPtr item = listed(f, "7_1");

    for (int period = 0; period < 5; ++period) {
        const qint64 firing = due + period * 10 * kMinute;
        fireAt(f, firing);
        QCOMPARE(f.notified->count(), period + 1);
        QCOMPARE(f.notifiedIdsOfCall(period), QStringList{QStringLiteral("7_1")});
        // The record carries the time the reminder moved to.
        QCOMPARE(f.notified->at(period).at(0).toList().at(0).toMap().value("dateTime").toLongLong(),
                 firing + 10 * kMinute);
        QCOMPARE(item->remindTime(), firing + 10 * kMinute);
        QVERIFY(!item->reminded());
        QVERIFY(item->unread());
        QVERIFY(f.probe->notifiedIds().contains(QStringLiteral("7_1")));
        f.settle();
        QCOMPARE(f.record(QStringLiteral("7_1")).remindTime, firing + 10 * kMinute);
        QCOMPARE(f.probe->nearest(), firing + 10 * kMinute);
        QVERIFY(f.probe->timer().isActive());
        QVERIFY(f.probe->timer().isSingleShot());
        QCOMPARE(f.probe->timer().interval(), 600000);
    }
    // Sent once: the later firings found it unread already.
    QCOMPARE(f.sent->count(), 1);

    // 13:20: five periods after 12:30, the cycle is used up. A change held
    // in memory only shows whether more than the time gets written.
    const storage::ReminderInfo before = f.record(QStringLiteral("7_1"));
    item->setText(QStringLiteral("changed in memory only"));
    fireAt(f, due + 50 * kMinute);
    QCOMPARE(f.notified->count(), 5);
    QCOMPARE(item->remindTime(), due + 60 * kMinute);
    f.settle();
    const storage::ReminderInfo after = f.record(QStringLiteral("7_1"));
    QCOMPARE(after.remindTime, due + 60 * kMinute);
    QCOMPARE(after.data, before.data);
    QCOMPARE(after.extra, before.extra);
    QCOMPARE(after.reminded, before.reminded);
    QCOMPARE(after.unread, before.unread);
    QCOMPARE(after.text, before.text);
    QCOMPARE(f.storedItem(QStringLiteral("7_1"))->text(), QStringLiteral("call Bob"));
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.withdrawn->count(), 0);
    f.probe->timer().stop();
}

void TestReminderTimer::passOverManyRemindersWritesEachAheadOfLaterTasks_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("a few") << 5;
    QTest::newRow("several hundred, mixed") << 700;
}

void TestReminderTimer::passOverManyRemindersWritesEachAheadOfLaterTasks()
{
    QFETCH(int, count);
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    // One-off, daily, snoozing and (in memory) completed reminders, due
    // together, and a daily one that has already fired unseen.
    for (int i = 0; i < count; ++i) {
        const QString id = QStringLiteral("7_%1").arg(i + 1);
        switch (i % 5) {
        case 0:
        case 1:
            f.storeItem(HandlerFixture::makeItem(id, due, QStringLiteral("one-off %1").arg(i)));
            break;
        case 2:
            f.storeItem(daily(id, due));
            break;
        case 3:
            f.storeItem(snoozing(id, due, 10));
            break;
        default: {
            ReminderItemPtr item = daily(id, due);
            item->setUnread(true);
            f.storeItem(item);
            break;
        }
        }
    }
    f.handler->loadLocalData(false);
    for (int i = 6; i < count; i += 50)
        listed(f, QStringLiteral("7_%1").arg(i + 1))->setCompleted(true);

    fireAt(f, due);
    // A task handed to the worker after the pass finds every write of the
    // pass done.
    QHash<QString, storage::ReminderInfo> seenBehind;
    storage::ReminderStorage* store = f.store();
    ThreadManager::getInstance()->invoke(
        [&seenBehind, store] {
            for (const storage::ReminderInfo& info : store->allInfos())
                seenBehind.insert(info.id, info);
        },
        true);
    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(seenBehind.size(), count);
    for (int i = 0; i < count; ++i) {
        const QString id = QStringLiteral("7_%1").arg(i + 1);
        const ReminderItemPtr item = listed(f, id);
        QVERIFY(item);
        storage::ReminderInfo expected;
        QVERIFY(item->serialize(expected));
        const storage::ReminderInfo stored = f.record(id);
        QCOMPARE(seenBehind.value(id), stored);
        QCOMPARE(stored.remindTime, item->remindTime());
        QCOMPARE(stored.reminded, item->reminded());
        QCOMPARE(stored.completed, item->completed());
        if (i % 5 == 4) {
            // Fired again unseen: only its time was written.
            QCOMPARE(stored.unread, item->unread());
            QVERIFY(stored.remindTime > due);
        } else {
            QCOMPARE(stored, expected);
        }
    }
    f.probe->timer().stop();
}

void TestReminderTimer::reminderDeletedOnTheServerDuringThePassStaysDeleted()
{
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    for (int i = 1; i <= 40; ++i)
        f.storeItem(HandlerFixture::makeItem(QStringLiteral("7_%1").arg(i), due));
    f.handler->loadLocalData(false);
    finishListing(f);
    // A host that answers a send at once: the server no longer has 7_3.
    ReminderHandler* handler = f.handler;
    QObject::connect(
        f.account->command(), &AccountCommand::reminderUpdateRequested, handler,
        [handler](const QString& id, const QByteArray&) {
            if (id == QLatin1String("7_3"))
                handler->syncFinished(id, QByteArray(), 1);
        },
        Qt::DirectConnection);

    fireAt(f, due);
    f.settle();
    // Its deletion came after the pass had written it, and stays.
    bool found = true;
    f.store()->info(QStringLiteral("7_3"), &found);
    QVERIFY(!found);
    QVERIFY(!listed(f, "7_3"));
    QCOMPARE(f.store()->count(), 39);
    f.probe->timer().stop();
}

void TestReminderTimer::unseenRepeatingReminderFiringAgainWritesOnlyItsTime_data()
{
    QTest::addColumn<bool>("listFinished");

    QTest::newRow("before the listing finished") << false;
    QTest::newRow("after the listing finished") << true;
}

void TestReminderTimer::unseenRepeatingReminderFiringAgainWritesOnlyItsTime()
{
    QFETCH(bool, listFinished);

    HandlerFixture f;
    const qint64 first = at(2031, 6, 2, 12, 30);
    f.storeItem(daily("7_1", first));
    const QByteArray dataAtStart = f.record(QStringLiteral("7_1")).data;
    f.handler->loadLocalData(false);
    if (listFinished)
        finishListing(f);
    const int sentPerFirstFiring = listFinished ? 1 : 0;

    // The first firing marks it unread and writes (and sends) all of it.
    fireAt(f, first);
    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.sent->count(), sentPerFirstFiring);
    const storage::ReminderInfo afterFirst = f.record(QStringLiteral("7_1"));
    QVERIFY(afterFirst.unread);
    QVERIFY(afterFirst.data != dataAtStart);
    QCOMPARE(afterFirst.remindTime, at(2031, 6, 3, 12, 30));
    QCOMPARE(f.storedItem(QStringLiteral("7_1"))->lastUnreadTime(), first);

    // Not seen by the next day: notified again, only the time is written
    // (a change held in memory only stays unwritten).
    listed(f, "7_1")->setText(QStringLiteral("changed in memory only"));
    fireAt(f, at(2031, 6, 3, 12, 30));
    QCOMPARE(f.notified->count(), 2);
    QVERIFY(listed(f, "7_1")->unread());
    f.settle();
    const storage::ReminderInfo afterSecond = f.record(QStringLiteral("7_1"));
    QCOMPARE(afterSecond.remindTime, at(2031, 6, 4, 12, 30));
    QCOMPARE(afterSecond.data, afterFirst.data);
    QCOMPARE(afterSecond.extra, afterFirst.extra);
    QCOMPARE(afterSecond.text, afterFirst.text);
    QCOMPARE(f.sent->count(), sentPerFirstFiring);
    QCOMPARE(f.storedItem(QStringLiteral("7_1"))->lastUnreadTime(), first);
    f.probe->timer().stop();
}

void TestReminderTimer::completedReminderDueIsMarkedDoneWithoutNotifying()
{
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(HandlerFixture::makeItem("7_1", due));
    f.handler->loadLocalData(false);
    finishListing(f);
    // Completed in memory, its record not yet written.
    listed(f, "7_1")->setCompleted(true);
    fireAt(f, due);
    QCOMPARE(f.notified->count(), 0);
    QVERIFY(listed(f, "7_1")->reminded());
    QVERIFY(!listed(f, "7_1")->unread());
    f.settle();
    QVERIFY(f.record(QStringLiteral("7_1")).reminded);
    QVERIFY(f.record(QStringLiteral("7_1")).completed);
    QCOMPARE(f.probe->nearest(), 0);
    QVERIFY(!f.probe->timer().isActive());
    QCOMPARE(f.sent->count(), 0);
}

// -------------------------------------------------------------- completion

void TestReminderTimer::completingWeeklyReminderMovesItToNextWeek()
{
    HandlerFixture f;
    const qint64 monday = at(2031, 6, 2, 12, 30);
    f.storeItem(weekly("7_1", monday));
    f.handler->loadLocalData(false);
    finishListing(f);
    f.handler->readyReminder();

    QCOMPARE(f.handler->completedReminder(QStringLiteral("7_1"), true), false);
    const ReminderItemPtr item = listed(f, "7_1");
    QVERIFY(!item->completed());
    QVERIFY(!item->reminded());
    QVERIFY(!item->unread());
    QCOMPARE(item->showRemindTime(), at(2031, 6, 9, 12, 30));
    QCOMPARE(item->remindTime(), at(2031, 6, 9, 12, 30));
    QCOMPARE(item->validTime(), at(2031, 6, 9, 12, 30));
    QCOMPARE(item->lastPatternTime(), f.now());
    QCOMPARE(f.withdrawn->count(), 0);

    f.settle();
    const storage::ReminderInfo record = f.record(QStringLiteral("7_1"));
    QCOMPARE(record.remindTime, at(2031, 6, 9, 12, 30));
    QVERIFY(!record.completed);
    QVERIFY(!record.reminded);
    QCOMPARE(f.sent->count(), 1);
    QVERIFY(!f.sentMessage(0).completed());
    // The timer follows the moved reminder.
    QCOMPARE(f.probe->nearest(), at(2031, 6, 9, 12, 30));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    f.probe->timer().stop();
}

void TestReminderTimer::completingTheLastOccurrenceCompletesTheReminder()
{
    HandlerFixture f;
    const qint64 monday = at(2031, 6, 2, 12, 30);
    // Weekly, one repetition: this Monday and the next.
    f.storeItem(weekly("7_1", monday, 1));
    f.handler->loadLocalData(false);
    finishListing(f);
    const ReminderItemPtr item = listed(f, "7_1");

    QCOMPARE(f.handler->completedReminder(QStringLiteral("7_1"), true), false);
    QCOMPARE(item->remindTime(), at(2031, 6, 9, 12, 30));
    QVERIFY(!item->completed());
    f.settle();

    QCOMPARE(f.handler->completedReminder(QStringLiteral("7_1"), true), true);
    QVERIFY(item->completed());
    QVERIFY(item->reminded());
    QVERIFY(!item->unread());
    QCOMPARE(item->lastCompletedTime(), f.now());
    f.settle();
    const storage::ReminderInfo record = f.record(QStringLiteral("7_1"));
    QVERIFY(record.completed);
    QVERIFY(record.reminded);
    QCOMPARE(f.sent->count(), 2);
    QVERIFY(f.sentMessage(1).completed());
    QCOMPARE(f.probe->nearest(), 0);
    QVERIFY(!f.probe->timer().isActive());
    QCOMPARE(f.withdrawn->count(), 0);
}

void TestReminderTimer::completingAnUnknownIdReturnsFalse()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 2, 12, 30)));
    f.handler->loadLocalData(false);
    finishListing(f);
    const storage::ReminderInfo before = f.record(QStringLiteral("7_1"));

    QCOMPARE(f.handler->completedReminder(QStringLiteral("7_404"), true), false);
    QCOMPARE(f.handler->completedReminder(QStringLiteral("7_404"), false), false);
    f.settle();
    QCOMPARE(f.sent->count(), 0);
    QCOMPARE(f.withdrawn->count(), 0);
    QCOMPARE(f.store()->count(), 1);
    QCOMPARE(f.record(QStringLiteral("7_1")), before);
    QVERIFY(!listed(f, "7_1")->completed());
}

void TestReminderTimer::completingWithAStandingNotificationWithdrawsItOnce()
{
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(snoozing("7_1", due, 10));
    f.handler->loadLocalData(false);
    fireAt(f, due);
    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QVERIFY(f.probe->notifiedIds().contains(QStringLiteral("7_1")));
    QCOMPARE(f.withdrawn->count(), 0);

    QCOMPARE(f.handler->completedReminder(QStringLiteral("7_1"), true), true);
    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(f.withdrawn->at(0).at(0).toLongLong(), 1001);
    QCOMPARE(f.withdrawn->at(0).at(1).toString(), QStringLiteral("7_1"));
    QVERIFY(!f.probe->notifiedIds().contains(QStringLiteral("7_1")));
    f.settle();
    QVERIFY(f.record(QStringLiteral("7_1")).completed);
    QCOMPARE(f.probe->nearest(), 0);
    QVERIFY(!f.probe->timer().isActive());

    // Reopening does not withdraw anything more.
    QCOMPARE(f.handler->completedReminder(QStringLiteral("7_1"), false), true);
    f.settle();
    QCOMPARE(f.withdrawn->count(), 1);
}

// ---------------------------------------------------------------- snoozing

void TestReminderTimer::snoozeForFiveMinutesSetsBothTimesAndReAimsTheTimer()
{
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(snoozing("7_1", due, 10));
    f.handler->loadLocalData(false);
    f.handler->readyReminder();
    fireAt(f, due);
    f.settle();
    // Fired at 12:30:01, the next snooze step is 12:40.
    QCOMPARE(f.probe->nearest(), due + 10 * kMinute);
    QCOMPARE(f.probe->timer().interval(), 600000);
    QVERIFY(f.probe->notifiedIds().contains(QStringLiteral("7_1")));

    const qint64 now = f.now();
    f.handler->snoozeReminder(QStringLiteral("7_1"), 5);
    const ReminderItemPtr item = listed(f, "7_1");
    QCOMPARE(item->validTime(), now + 300000);
    QCOMPARE(item->remindTime(), now + 300000);
    QVERIFY(!item->unread());
    QCOMPARE(item->lastPatternTime(), now);
    QCOMPARE(item->lastUnreadTime(), now);
    // The answer drops the standing notification without telling the host.
    QVERIFY(!f.probe->notifiedIds().contains(QStringLiteral("7_1")));
    QCOMPARE(f.withdrawn->count(), 0);

    f.settle();
    QCOMPARE(f.record(QStringLiteral("7_1")).remindTime, now + 300000);
    QCOMPARE(f.storedItem(QStringLiteral("7_1"))->validTime(), now + 300000);
    QCOMPARE(f.probe->nearest(), now + 300000);
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 301000);
    f.probe->timer().stop();
}

// ------------------------------------------------------ standing notices

void TestReminderTimer::removeNotifyWithoutStandingNotificationCallsNothing()
{
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    // A one-off reminder without snooze leaves no standing notification.
    f.storeItem(HandlerFixture::makeItem("7_1", due));
    f.handler->loadLocalData(false);
    fireAt(f, due);
    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QVERIFY(!f.probe->notifiedIds().contains(QStringLiteral("7_1")));

    f.probe->removeNotify(QStringLiteral("7_1"));
    f.probe->removeNotify(QStringLiteral("7_404"));
    QCOMPARE(f.withdrawn->count(), 0);
    QCOMPARE(f.notified->count(), 1);
}

void TestReminderTimer::removeNotifyWithdrawsAStandingNotificationOnce()
{
    HandlerFixture f;
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(snoozing("7_1", due, 15));
    f.storeItem(snoozing("7_2", due, 15));
    f.handler->loadLocalData(false);
    fireAt(f, due);
    f.settle();
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.probe->notifiedIds(), (QSet<QString>{QStringLiteral("7_1"), QStringLiteral("7_2")}));

    f.probe->removeNotify(QStringLiteral("7_1"));
    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(f.withdrawn->at(0).at(0).toLongLong(), 1001);
    QCOMPARE(f.withdrawn->at(0).at(1).toString(), QStringLiteral("7_1"));
    QCOMPARE(f.probe->notifiedIds(), QSet<QString>{QStringLiteral("7_2")});

    f.probe->removeNotify(QStringLiteral("7_1"));
    QCOMPARE(f.withdrawn->count(), 1);
    f.probe->timer().stop();
}

// ------------------------------------------------------------ overdue count

void TestReminderTimer::overdueCountFollowsFiringAndCompletion()
{
    HandlerFixture f;
    // One overdue already: fired this morning, still open.
    ReminderItemPtr morning = HandlerFixture::makeItem("7_0", at(2031, 6, 2, 9));
    morning->setReminded(true);
    f.storeItem(morning);
    const qint64 due = at(2031, 6, 2, 12, 30);
    f.storeItem(HandlerFixture::makeItem("7_1", due));
    f.handler->loadLocalData(false);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    fireAt(f, due);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 2);
    QCOMPARE(overdue.count(), 1);
    f.settle();
    QCOMPARE(overdue.count(), 1);

    QCOMPARE(f.handler->completedReminder(QStringLiteral("7_1"), true), true);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QCOMPARE(overdue.count(), 2);
    f.settle();
    QCOMPARE(overdue.count(), 2);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
}

QTEST_GUILESS_MAIN(TestReminderTimer)
#include "tst_remindertimer.moc"
