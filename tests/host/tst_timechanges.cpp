// A signed-in device when the machine sleeps, the clock is set or the time
// zone changes: what fell due is notified at once, as one list; nothing is
// notified twice; a reminder set for 09:00 fires at 09:00 in the new zone.
// The clock is the platform's fixed clock: a jump moves it with no event
// loop time passing, as a machine that slept sees it. logind is played on a
// private system bus that the test starts.
#include "accountbase.h"
#include "accountmanager.h"
#include "devicesession.h"
#include "fileservice.h"
#include "imlog.h"
#include "networksubject.h"
#include "privatesystembus.h"
#include "reminderhandler.h"
#include "reminderinfo.h"
#include "remindermodel.h"
#include "reminderserver.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "timechangewatcher.h"
#include "userstorageprovider.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <ctime>
#include <limits>
#include <memory>

namespace {

constexpr qint64 kMinute = 60 * 1000;
constexpr qint64 kHour = 60 * kMinute;

qint64 noon()
{
    return QDateTime(QDate(2031, 6, 2), QTime(12, 0)).toMSecsSinceEpoch();
}

ReminderItemPtr oneOff(const QString& id, qint64 time)
{
    ReminderItemPtr item(new ReminderItem(id));
    item->setText(id);
    item->setOriginalRemindTime(time);
    item->setShowRemindTime(time);
    item->setRemindTime(time);
    item->setOrderTime(time);
    return item;
}

ReminderItemPtr daily(const QString& id, qint64 time)
{
    ReminderItemPtr item = oneOff(id, time);
    item->setInterval(1);
    item->setUnit(0);
    return item;
}

QStringList idsOf(const QVariantList& records)
{
    QStringList ids;
    for (const QVariant& v : records)
        ids << v.toMap().value(QStringLiteral("msgData")).value<ReminderItemPtr>()->remindId();
    ids.sort();
    return ids;
}

void setZone(const QByteArray& zone)
{
    qputenv("TZ", zone);
    tzset();
}

} // namespace

class TestTimeChanges : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();
    void wakeNotifiesWhatFellDueAsOneList();
    void watcherNoticesTheSleepWithinTwoSeconds();
    void logindWakeNotifiesWhatFellDueAtOnce();
    void wakeFromAnyoneButLogindNotifiesNothing();
    void clockSetBackNotifiesNothingTwice();
    void zoneChangeKeepsTheLocalTimeOfDay_data();
    void zoneChangeKeepsTheLocalTimeOfDay();
    void catchUpBeforeTheLoadIsDoneWaitsForIt();
    void clockJumpOfYearsHasADefinedOutcome_data();
    void clockJumpOfYearsHasADefinedOutcome();

private:
    // A device whose store holds these reminders, signed in, loaded, and
    // with its interface ready (the remind timer armed).
    bool start(const QList<ReminderItemPtr>& stored);
    void settle();
    // The device follows the watcher, which hears logind on the private bus
    // and checks the clock only once a minute (so a sleep found within two
    // seconds can only have been found through logind).
    bool followLogind(TimeChangeWatcher& watcher);
    ReminderItemPtr item(const QString& id) const { return m_device->handler()->reminderModel()->itemById(id); }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ReminderServer> m_server;
    std::unique_ptr<FileService> m_files;
    std::unique_ptr<DeviceSession> m_device;
    QByteArray m_zone;
    PrivateSystemBus m_bus;
};

void TestTimeChanges::initTestCase()
{
    ReminderHandler::registerMetaType("unused");
    ImLog::instance()->setEchoToStderr(false);
    m_zone = qgetenv("TZ");
    // Every watcher of this process connects to this bus, never to the
    // machine's own.
    if (!m_bus.start())
        QVERIFY2(!m_bus.daemonFound(), qPrintable(m_bus.errorString()));
}

void TestTimeChanges::cleanupTestCase()
{
    m_bus.stop();
}

void TestTimeChanges::init()
{
    network::NetworkSubject::instance()->setFixedTime(noon());
    m_dir.reset(new QTemporaryDir);
    m_server.reset(new ReminderServer(m_dir->filePath("server.db"),
                                      [] { return network::NetworkSubject::instance()->currentDateTime(); }));
    m_files.reset(new FileService(m_dir->filePath("files")));
    m_device.reset(new DeviceSession(m_server.get(), m_files.get(), m_dir->filePath("device"), 1001, 7, "secret"));
}

void TestTimeChanges::cleanup()
{
    m_device.reset();
    m_server.reset();
    m_files.reset();
    m_dir.reset();
    setZone(m_zone);
    network::NetworkSubject::instance()->releaseFixedTime();
}

bool TestTimeChanges::start(const QList<ReminderItemPtr>& stored)
{
    QList<storage::ReminderInfo> infos;
    for (const ReminderItemPtr& r : stored) {
        storage::ReminderInfo info;
        if (!r->serialize(info))
            return false;
        infos << info;
    }
    if (!m_device->account()->storage()->reminderStorage()->saveAll(infos))
        return false;
    QSignalSpy listed(m_device.get(), &DeviceSession::listFinished);
    m_device->signIn();
    m_device->setInterfaceReady();
    if (!listed.wait(30000))
        return false;
    settle();
    return m_device->isLoaded();
}

bool TestTimeChanges::followLogind(TimeChangeWatcher& watcher)
{
    watcher.setInterval(60 * 1000);
    m_device->followTimeChanges(&watcher);
    watcher.start();
    return watcher.isListeningToLogind() && m_bus.syncWithBus();
}

void TestTimeChanges::settle()
{
    for (int i = 0; i < 3; ++i) {
        ThreadManager::getInstance()->waitForIdle();
        QCoreApplication::processEvents();
    }
}

void TestTimeChanges::wakeNotifiesWhatFellDueAsOneList()
{
    QVERIFY(start({ oneOff("7_1", noon() + 10 * kMinute), oneOff("7_2", noon() + 20 * kMinute),
                    daily("7_3", noon() + 50 * kMinute), oneOff("7_4", noon() + 3 * kHour) }));
    QSignalSpy notified(AccountManager::getInstance(), &AccountManager::newMessageNotified);

    // Two hours of sleep: the wall clock moved, the timer's clock did not.
    network::NetworkSubject::instance()->advance(2 * kHour);
    QElapsedTimer sinceWake;
    sinceWake.start();
    m_device->catchUpWithTheClock();
    QVERIFY(notified.wait(2000));
    const qint64 delay = sinceWake.elapsed();
    QVERIFY2(delay < 2000, QByteArray::number(delay));
    qInfo("notified %lld ms after the wake", delay);
    // One list, with the three that fell due; nothing more follows.
    QTest::qWait(300);
    settle();
    QCOMPARE(notified.count(), 1);
    QCOMPARE(idsOf(notified.at(0).at(0).toList()), (QStringList{ "7_1", "7_2", "7_3" }));
    QVERIFY(item("7_1")->reminded());
    QVERIFY(!item("7_4")->reminded());
    // The daily one moved to tomorrow.
    QCOMPARE(item("7_3")->remindTime(), noon() + 50 * kMinute + 24 * kHour);
}

void TestTimeChanges::watcherNoticesTheSleepWithinTwoSeconds()
{
    QVERIFY(start({ oneOff("7_1", noon() + 10 * kMinute), daily("7_2", noon() + 50 * kMinute),
                    oneOff("7_3", noon() + 3 * kHour) }));
    // As the desk client runs it: the default one-second check. No wake
    // signal comes from logind here, so the check alone finds the sleep.
    TimeChangeWatcher watcher;
    m_device->followTimeChanges(&watcher);
    watcher.start();
    QSignalSpy notified(AccountManager::getInstance(), &AccountManager::newMessageNotified);

    QElapsedTimer sinceWake;
    network::NetworkSubject::instance()->advance(2 * kHour);
    sinceWake.start();
    QVERIFY(notified.wait(3000));
    const qint64 delay = sinceWake.elapsed();
    qInfo("notified %lld ms after the wake (clock check every %d ms)", delay, watcher.interval());
    QVERIFY2(delay < 2000, QByteArray::number(delay));
    QTest::qWait(300);
    QCOMPARE(notified.count(), 1);
    QCOMPARE(idsOf(notified.at(0).at(0).toList()), (QStringList{ "7_1", "7_2" }));
}

void TestTimeChanges::logindWakeNotifiesWhatFellDueAtOnce()
{
    if (!m_bus.isRunning())
        QSKIP("dbus-daemon is not installed");
    QVERIFY(start({ oneOff("7_1", noon() + 10 * kMinute), oneOff("7_2", noon() + 30 * kMinute),
                    daily("7_3", noon() + 50 * kMinute), oneOff("7_4", noon() + 3 * kHour) }));
    TimeChangeWatcher watcher;
    QVERIFY(followLogind(watcher));
    QSignalSpy notified(AccountManager::getInstance(), &AccountManager::newMessageNotified);

    network::NetworkSubject::instance()->advance(2 * kHour);
    QElapsedTimer sinceWake;
    sinceWake.start();
    QVERIFY2(m_bus.sendPrepareForSleep(PrivateSystemBus::logindConnection(), false), qPrintable(m_bus.errorString()));
    QVERIFY(notified.wait(3000));
    const qint64 delay = sinceWake.elapsed();
    qInfo("notified %lld ms after logind's wake signal (clock check every %d ms)", delay, watcher.interval());
    QVERIFY2(delay < 2000, QByteArray::number(delay));
    // One list, with the three that fell due; nothing more follows.
    QTest::qWait(300);
    settle();
    QCOMPARE(notified.count(), 1);
    QCOMPARE(idsOf(notified.at(0).at(0).toList()), (QStringList{ "7_1", "7_2", "7_3" }));
    QVERIFY(!item("7_4")->reminded());
    QCOMPARE(item("7_3")->remindTime(), noon() + 50 * kMinute + 24 * kHour);
}

void TestTimeChanges::wakeFromAnyoneButLogindNotifiesNothing()
{
    if (!m_bus.isRunning())
        QSKIP("dbus-daemon is not installed");
    QVERIFY(start({ oneOff("7_1", noon() + 10 * kMinute), daily("7_2", noon() + 50 * kMinute) }));
    TimeChangeWatcher watcher;
    QVERIFY(followLogind(watcher));
    QSignalSpy notified(AccountManager::getInstance(), &AccountManager::newMessageNotified);

    network::NetworkSubject::instance()->advance(2 * kHour);
    const QString impostor = PrivateSystemBus::impostorConnection();
    QVERIFY2(m_bus.sendPrepareForSleep(impostor, false), qPrintable(m_bus.errorString()));
    QVERIFY2(m_bus.passFence(impostor), qPrintable(m_bus.errorString()));
    // The signal has been delivered by now; a catch-up it started would
    // still be gathering what fell due.
    QVERIFY(!AccountManager::getInstance()->isGathering());
    QTest::qWait(300);
    settle();
    QCOMPARE(notified.count(), 0);
    QVERIFY(!item("7_1")->reminded());

    // The same signal from logind is heard: the device was listening.
    QVERIFY2(m_bus.sendPrepareForSleep(PrivateSystemBus::logindConnection(), false), qPrintable(m_bus.errorString()));
    QVERIFY(notified.wait(3000));
    QTest::qWait(300);
    settle();
    QCOMPARE(notified.count(), 1);
    QCOMPARE(idsOf(notified.at(0).at(0).toList()), (QStringList{ "7_1", "7_2" }));
}

void TestTimeChanges::clockSetBackNotifiesNothingTwice()
{
    QVERIFY(start({ oneOff("7_1", noon() + 10 * kMinute), daily("7_2", noon() + 20 * kMinute) }));
    QSignalSpy notified(AccountManager::getInstance(), &AccountManager::newMessageNotified);

    network::NetworkSubject::instance()->advance(30 * kMinute);
    m_device->catchUpWithTheClock();
    QVERIFY(notified.wait(2000));
    QTest::qWait(300);
    settle();
    QCOMPARE(notified.count(), 1);
    QCOMPARE(idsOf(notified.at(0).at(0).toList()), (QStringList{ "7_1", "7_2" }));

    // Set back to before both, then forward past both again.
    network::NetworkSubject::instance()->setFixedTime(noon() + 5 * kMinute);
    m_device->catchUpWithTheClock();
    QTest::qWait(300);
    settle();
    network::NetworkSubject::instance()->setFixedTime(noon() + 25 * kMinute);
    m_device->catchUpWithTheClock();
    QTest::qWait(300);
    settle();
    QCOMPARE(notified.count(), 1);
    QVERIFY(item("7_1")->reminded());
    QCOMPARE(item("7_2")->remindTime(), noon() + 20 * kMinute + 24 * kHour);
}

void TestTimeChanges::zoneChangeKeepsTheLocalTimeOfDay_data()
{
    QTest::addColumn<QByteArray>("fromZone");
    QTest::addColumn<QByteArray>("toZone");

    QTest::newRow("east to west") << QByteArray("Europe/Berlin") << QByteArray("America/New_York");
    QTest::newRow("west to east") << QByteArray("America/New_York") << QByteArray("Asia/Tokyo");
    QTest::newRow("into a zone without daylight saving") << QByteArray("Australia/Sydney")
                                                          << QByteArray("Asia/Kolkata");
}

void TestTimeChanges::zoneChangeKeepsTheLocalTimeOfDay()
{
    QFETCH(QByteArray, fromZone);
    QFETCH(QByteArray, toZone);
    setZone(fromZone);
    const QTimeZone from(fromZone);
    const QTimeZone to(toZone);
    // Midnight in the old zone; reminders at 09:00 tomorrow there.
    const QDate today(2031, 6, 2);
    network::NetworkSubject::instance()->setFixedTime(QDateTime(today, QTime(0, 0), from).toMSecsSinceEpoch());
    const qint64 nineThere = QDateTime(today.addDays(1), QTime(9, 0), from).toMSecsSinceEpoch();
    QVERIFY(start({ oneOff("7_1", nineThere), daily("7_2", nineThere),
                    // Snoozed: it waits minutes, not a time of day.
                    [&] {
                        ReminderItemPtr s = oneOff("7_3", nineThere - kHour);
                        s->setSnooze(10);
                        s->setValidTime(nineThere);
                        s->setRemindTime(nineThere);
                        return s;
                    }() }));

    setZone(toZone);
    m_device->followTimeZone(fromZone, toZone);
    settle();
    const qint64 nineHere = QDateTime(today.addDays(1), QTime(9, 0), to).toMSecsSinceEpoch();
    QVERIFY(nineHere > network::NetworkSubject::instance()->currentDateTime());
    QCOMPARE(item("7_1")->remindTime(), nineHere);
    QCOMPARE(item("7_2")->remindTime(), nineHere);
    QCOMPARE(item("7_3")->remindTime(), nineThere);

    // It fires at 09:00 in the new zone, and the daily one comes back at
    // 09:00 there the next day.
    QSignalSpy notified(AccountManager::getInstance(), &AccountManager::newMessageNotified);
    network::NetworkSubject::instance()->setFixedTime(nineHere + 1000);
    m_device->catchUpWithTheClock();
    QVERIFY(notified.wait(2000));
    QTest::qWait(300);
    settle();
    QVERIFY(idsOf(notified.at(0).at(0).toList()).contains(QStringLiteral("7_1")));
    QVERIFY(idsOf(notified.at(0).at(0).toList()).contains(QStringLiteral("7_2")));
    QCOMPARE(item("7_2")->remindTime(),
             QDateTime(today.addDays(2), QTime(9, 0), to).toMSecsSinceEpoch());
}

void TestTimeChanges::catchUpBeforeTheLoadIsDoneWaitsForIt()
{
    // Not loaded yet: nothing to catch up, and nothing gathered.
    m_device->catchUpWithTheClock();
    QVERIFY(!AccountManager::getInstance()->isGathering());
    QVERIFY(start({ oneOff("7_1", noon() - kMinute) }));
    QVERIFY(item("7_1")->reminded());
}

void TestTimeChanges::clockJumpOfYearsHasADefinedOutcome_data()
{
    QTest::addColumn<qint64>("jump");

    const qint64 year = 365 * 24 * kHour;
    QTest::newRow("30 years ahead") << 30 * year;
    QTest::newRow("300 years ahead") << 300 * year;
    QTest::newRow("30 years back") << -30 * year;
    QTest::newRow("back before 1970") << -70 * year;
}

void TestTimeChanges::clockJumpOfYearsHasADefinedOutcome()
{
    QFETCH(qint64, jump);
    ReminderItemPtr snoozing = oneOff("7_3", noon() + 30 * kMinute);
    snoozing->setSnooze(10);
    ReminderItemPtr weekly = oneOff("7_4", noon() + 40 * kMinute);
    weekly->setInterval(1);
    weekly->setUnit(1);
    weekly->setDayOfWeekFlags(127);
    ReminderItemPtr monthly = oneOff("7_5", noon() + 50 * kMinute);
    monthly->setInterval(1);
    monthly->setUnit(2);
    monthly->setDayOfMonthFlags(-1);
    // Another device's reminder, and one at the end of time.
    QVERIFY(start({ oneOff("7_1", noon() + 10 * kMinute), daily("7_2", noon() + 20 * kMinute), snoozing, weekly,
                    monthly, oneOff("9_6", noon() + 60 * kMinute),
                    oneOff("7_7", std::numeric_limits<qint64>::max()) }));
    QSignalSpy notified(AccountManager::getInstance(), &AccountManager::newMessageNotified);

    network::NetworkSubject::instance()->advance(jump);
    QElapsedTimer took;
    took.start();
    m_device->catchUpWithTheClock();
    QTest::qWait(400);
    settle();
    QVERIFY2(took.elapsed() < 10000, "the catch-up did not end");
    if (jump > 0) {
        // Everything but the reminder at the end of time fell due: one
        // list. Deliberate: the snoozing one's whole cycle (five periods)
        // passed, so its pass ends the cycle without a notification, as
        // for a reminder left unanswered; it stays open and overdue.
        QCOMPARE(notified.count(), 1);
        QCOMPARE(idsOf(notified.at(0).at(0).toList()), (QStringList{ "7_1", "7_2", "7_4", "7_5", "9_6" }));
        QVERIFY(!item("7_3")->completed());
        QVERIFY(!item("7_3")->reminded());
        QVERIFY(item("7_3")->showRemindTime() < network::NetworkSubject::instance()->currentDateTime());
        // Every reminder that fell due is overdue until answered.
        QCOMPARE(m_device->handler()->uncompleteOverdueCount(), 6);
        const qint64 now = network::NetworkSubject::instance()->currentDateTime();
        for (const char* id : { "7_2", "7_4", "7_5" })
            QVERIFY2(item(id)->remindTime() > now, id);
        QVERIFY(!item("7_7")->reminded());
    } else {
        QCOMPARE(notified.count(), 0);
    }
    // The timer is armed for what is left, and a second catch-up repeats
    // nothing.
    m_device->catchUpWithTheClock();
    QTest::qWait(300);
    settle();
    QCOMPARE(notified.count(), jump > 0 ? 1 : 0);
}

QTEST_GUILESS_MAIN(TestTimeChanges)
#include "tst_timechanges.moc"
