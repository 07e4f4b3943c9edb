// The host's watcher for what a QTimer cannot see: the machine slept, the
// wall clock was set, the system time zone changed. Jumps are made on the
// platform's clock with no event-loop time passing, as a machine that slept
// sees them; logind is played on a private D-Bus bus that the test starts
// and points the system bus at.
#include "imlog.h"
#include "networksubject.h"
#include "privatesystembus.h"
#include "timechangewatcher.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <ctime>

namespace {

constexpr qint64 kSecond = 1000;
constexpr qint64 kHour = 3600 * kSecond;

// Set in the environment of the copy of this test that runs without a
// system bus.
const char kNoBusChild[] = "TIMECHANGEWATCHER_NO_BUS_CHILD";

qint64 noon()
{
    return QDateTime(QDate(2031, 6, 2), QTime(12, 0), QTimeZone::utc()).toMSecsSinceEpoch();
}

void setZone(const QByteArray& zone)
{
    qputenv("TZ", zone);
    tzset();
}

network::NetworkSubject* wallClock()
{
    return network::NetworkSubject::instance();
}

struct Spies
{
    explicit Spies(TimeChangeWatcher* watcher)
        : jumped(watcher, &TimeChangeWatcher::clockJumped)
        , resumed(watcher, &TimeChangeWatcher::resumed)
        , zone(watcher, &TimeChangeWatcher::timeZoneChanged)
    {
    }
    QSignalSpy jumped;
    QSignalSpy resumed;
    QSignalSpy zone;
};

} // namespace

class TestTimeChangeWatcher : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void defaults();
    void clockJump_data();
    void clockJump();
    void normalTimePassing();
    void checkNowComparesWithTheThreshold_data();
    void checkNowComparesWithTheThreshold();
    void timeZoneChange_data();
    void timeZoneChange();
    void logindSignal_data();
    void logindSignal();
    void wakeReportsTheJumpFirst();
    void stoppedWatcherIsSilent();
    void withoutSystemBus();

private:
    QTemporaryDir m_dir;
    PrivateSystemBus m_bus;
    QByteArray m_zone;
};

void TestTimeChangeWatcher::initTestCase()
{
    if (qEnvironmentVariableIsSet(kNoBusChild))
        return;
    QVERIFY(m_dir.isValid());
    if (qEnvironmentVariableIsEmpty("TZ"))
        setZone("UTC");
    m_zone = qgetenv("TZ");

    // Every watcher of this process connects to the system bus named here,
    // never to the machine's own.
    if (!m_bus.start())
        QVERIFY2(!m_bus.daemonFound(), qPrintable(m_bus.errorString()));
}

void TestTimeChangeWatcher::cleanupTestCase()
{
    m_bus.stop();
}

void TestTimeChangeWatcher::init()
{
    wallClock()->releaseFixedTime();
    wallClock()->setServerOffset(0);
}

void TestTimeChangeWatcher::cleanup()
{
    wallClock()->releaseFixedTime();
    wallClock()->setServerOffset(0);
    if (!qEnvironmentVariableIsSet(kNoBusChild))
        setZone(m_zone);
}

void TestTimeChangeWatcher::defaults()
{
    TimeChangeWatcher watcher;
    QCOMPARE(watcher.interval(), 1000);
    QCOMPARE(watcher.thresholdMs(), qint64(2000));
    QVERIFY(!watcher.isRunning());
    QVERIFY(!watcher.isListeningToLogind());
}

void TestTimeChangeWatcher::clockJump_data()
{
    QTest::addColumn<bool>("fixedClock");
    QTest::addColumn<qint64>("step");

    // The fixed clock stands still between steps, as the test's own clock
    // does while the machine sleeps; the running clock is the system time
    // plus the server offset, and a new offset sets it like a user would.
    QTest::newRow("fixed clock, slept 2 h") << true << 2 * kHour;
    QTest::newRow("fixed clock, set back 2 h") << true << -2 * kHour;
    QTest::newRow("running clock, set forward 2 h") << false << 2 * kHour;
    QTest::newRow("running clock, set back 10 s") << false << -10 * kSecond;
}

void TestTimeChangeWatcher::clockJump()
{
    QFETCH(bool, fixedClock);
    QFETCH(qint64, step);

    if (fixedClock)
        wallClock()->setFixedTime(noon());
    TimeChangeWatcher watcher;
    Spies spies(&watcher);
    QElapsedTimer sinceStart;
    sinceStart.start();
    watcher.start();

    if (fixedClock)
        wallClock()->advance(step);
    else
        wallClock()->setServerOffset(step);

    // Noticed on the next check of the repeating schedule.
    QTRY_COMPARE_WITH_TIMEOUT(spies.jumped.count(), 1, 2000);
    // The monotonic clock moved by at most what this test has seen pass.
    const qint64 jump = spies.jumped.at(0).at(0).toLongLong();
    QVERIFY2(qAbs(jump - step) <= sinceStart.elapsed(),
             qPrintable(QStringLiteral("jump %1 for a step of %2").arg(jump).arg(step)));

    // Reported once: neither an immediate check nor the next tick sees it.
    watcher.checkNow();
    QTest::qWait(watcher.interval() * 3 / 2);
    QCOMPARE(spies.jumped.count(), 1);
    QCOMPARE(spies.resumed.count(), 0);
    QCOMPARE(spies.zone.count(), 0);
}

void TestTimeChangeWatcher::normalTimePassing()
{
    TimeChangeWatcher watcher;
    Spies spies(&watcher);
    watcher.setInterval(100);
    watcher.start();

    // Fifteen checks or so, each seeing both clocks move alike.
    QTest::qWait(1500);
    watcher.checkNow();

    QCOMPARE(spies.jumped.count(), 0);
    QCOMPARE(spies.resumed.count(), 0);
    QCOMPARE(spies.zone.count(), 0);
}

void TestTimeChangeWatcher::checkNowComparesWithTheThreshold_data()
{
    QTest::addColumn<qint64>("step");
    QTest::addColumn<bool>("reported");

    QTest::newRow("1.5 s forward") << qint64(1500) << false;
    QTest::newRow("1 s back") << qint64(-1000) << false;
    QTest::newRow("just under 2 s forward") << qint64(1999) << false;
    QTest::newRow("3 s forward") << qint64(3000) << true;
    QTest::newRow("3 s back") << qint64(-3000) << true;
}

void TestTimeChangeWatcher::checkNowComparesWithTheThreshold()
{
    QFETCH(qint64, step);
    QFETCH(bool, reported);

    wallClock()->setFixedTime(noon());
    TimeChangeWatcher watcher;
    Spies spies(&watcher);
    // No tick comes in between: only checkNow() checks.
    watcher.setInterval(3600 * 1000);
    watcher.start();

    wallClock()->advance(step);
    watcher.checkNow();

    QCOMPARE(spies.jumped.count(), reported ? 1 : 0);
    if (reported)
        QVERIFY(spies.jumped.at(0).at(0).toLongLong() * step > 0);
    QCOMPARE(spies.resumed.count(), 0);
    QCOMPARE(spies.zone.count(), 0);
}

void TestTimeChangeWatcher::timeZoneChange_data()
{
    QTest::addColumn<QByteArray>("newZone");

    QTest::newRow("Asia/Kolkata") << QByteArray("Asia/Kolkata");
    QTest::newRow("Australia/Sydney") << QByteArray("Australia/Sydney");
    QTest::newRow("the same zone again") << qgetenv("TZ");
}

void TestTimeChangeWatcher::timeZoneChange()
{
    QFETCH(QByteArray, newZone);
    const QByteArray oldZone = QTimeZone::systemTimeZoneId();
    QCOMPARE(oldZone, m_zone);
    const bool changes = newZone != oldZone;

    TimeChangeWatcher watcher;
    Spies spies(&watcher);
    watcher.start();
    setZone(newZone);

    if (changes) {
        QTRY_COMPARE_WITH_TIMEOUT(spies.zone.count(), 1, 2000);
        QCOMPARE(spies.zone.at(0).at(0).toByteArray(), oldZone);
        QCOMPARE(spies.zone.at(0).at(1).toByteArray(), newZone);
    }
    watcher.checkNow();
    QTest::qWait(watcher.interval() * 3 / 2);
    QCOMPARE(spies.zone.count(), changes ? 1 : 0);
    QCOMPARE(spies.jumped.count(), 0);
    QCOMPARE(spies.resumed.count(), 0);
}

void TestTimeChangeWatcher::logindSignal_data()
{
    QTest::addColumn<QString>("sender");
    QTest::addColumn<bool>("goingToSleep");
    QTest::addColumn<int>("resumed");

    QTest::newRow("logind: woke up") << PrivateSystemBus::logindConnection() << false << 1;
    QTest::newRow("logind: going to sleep") << PrivateSystemBus::logindConnection() << true << 0;
    QTest::newRow("not logind: woke up") << PrivateSystemBus::impostorConnection() << false << 0;
}

void TestTimeChangeWatcher::logindSignal()
{
    if (!m_bus.isRunning())
        QSKIP("dbus-daemon is not installed");
    QFETCH(QString, sender);
    QFETCH(bool, goingToSleep);
    QFETCH(int, resumed);

    TimeChangeWatcher watcher;
    Spies spies(&watcher);
    watcher.setInterval(3600 * 1000);
    watcher.start();
    QVERIFY(watcher.isListeningToLogind());

    QVERIFY2(m_bus.syncWithBus(), qPrintable(m_bus.errorString()));
    QVERIFY2(m_bus.sendPrepareForSleep(sender, goingToSleep), qPrintable(m_bus.errorString()));
    QVERIFY2(m_bus.passFence(sender), qPrintable(m_bus.errorString()));

    QCOMPARE(spies.resumed.count(), resumed);
    QCOMPARE(spies.jumped.count(), 0);
    QCOMPARE(spies.zone.count(), 0);
}

void TestTimeChangeWatcher::wakeReportsTheJumpFirst()
{
    if (!m_bus.isRunning())
        QSKIP("dbus-daemon is not installed");

    wallClock()->setFixedTime(noon());
    TimeChangeWatcher watcher;
    Spies spies(&watcher);
    QStringList order;
    connect(&watcher, &TimeChangeWatcher::clockJumped, this, [&order] { order << QStringLiteral("jump"); });
    connect(&watcher, &TimeChangeWatcher::resumed, this, [&order] { order << QStringLiteral("resumed"); });
    // Only the wake-up checks: the repeating check would find the jump too.
    watcher.setInterval(3600 * 1000);
    watcher.start();
    QVERIFY2(m_bus.syncWithBus(), qPrintable(m_bus.errorString()));

    wallClock()->advance(8 * kHour);
    QVERIFY2(m_bus.sendPrepareForSleep(PrivateSystemBus::logindConnection(), false), qPrintable(m_bus.errorString()));

    QTRY_COMPARE_WITH_TIMEOUT(spies.resumed.count(), 1, 30000);
    QCOMPARE(order, QStringList({QStringLiteral("jump"), QStringLiteral("resumed")}));
    QVERIFY(spies.jumped.at(0).at(0).toLongLong() <= 8 * kHour);
    QVERIFY(spies.jumped.at(0).at(0).toLongLong() > 7 * kHour);
    watcher.checkNow();
    QCOMPARE(spies.jumped.count(), 1);
    QCOMPARE(spies.zone.count(), 0);
}

void TestTimeChangeWatcher::stoppedWatcherIsSilent()
{
    wallClock()->setFixedTime(noon());
    TimeChangeWatcher stopped;
    Spies spies(&stopped);
    stopped.start();
    stopped.stop();
    QVERIFY(!stopped.isRunning());
    QVERIFY(!stopped.isListeningToLogind());

    wallClock()->advance(2 * kHour);
    setZone(m_zone == "Asia/Kolkata" ? "Europe/Berlin" : "Asia/Kolkata");
    stopped.checkNow();

    if (m_bus.isRunning()) {
        const QString logind = PrivateSystemBus::logindConnection();
        QVERIFY2(m_bus.sendPrepareForSleep(logind, false), qPrintable(m_bus.errorString()));
        QVERIFY2(m_bus.passFence(logind), qPrintable(m_bus.errorString()));
    }
    QTest::qWait(stopped.interval() * 3 / 2);

    QCOMPARE(spies.jumped.count(), 0);
    QCOMPARE(spies.resumed.count(), 0);
    QCOMPARE(spies.zone.count(), 0);
}

void TestTimeChangeWatcher::withoutSystemBus()
{
    // QDBusConnection::systemBus() is made once per process, so a machine
    // without a system bus is played by a copy of this test that runs only
    // this function, in an environment that names a bus that is not there.
    if (qEnvironmentVariableIsSet(kNoBusChild)) {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        ImLog::instance()->clearRecentLines();
        wallClock()->setFixedTime(noon());

        TimeChangeWatcher first;
        TimeChangeWatcher second;
        Spies spies(&first);
        first.setInterval(3600 * 1000);
        first.start();
        second.start();
        first.stop();
        first.start();
        QVERIFY(first.isRunning());
        QVERIFY(!first.isListeningToLogind());
        QVERIFY(!second.isListeningToLogind());
        QCOMPARE(ImLog::instance()->recentLines().size(), 1);

        // The clock check does not need the bus.
        wallClock()->advance(2 * kHour);
        first.checkNow();
        QCOMPARE(spies.jumped.count(), 1);
        QCOMPARE(ImLog::instance()->recentLines().size(), 1);
        return;
    }

    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QLatin1String(kNoBusChild), QStringLiteral("1"));
    env.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"),
               QStringLiteral("unix:path=") + m_dir.filePath(QStringLiteral("absent-bus")));
    env.remove(QStringLiteral("IMLOG_QUIET"));
    child.setProcessEnvironment(env);
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("withoutSystemBus")});
    QVERIFY2(child.waitForStarted(), qPrintable(child.errorString()));
    QVERIFY(child.waitForFinished(240000));
    const QString out = QString::fromUtf8(child.readAllStandardOutput());
    const QString err = QString::fromUtf8(child.readAllStandardError());
    QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0, qPrintable(out + err));
    // The one line of the host log, and nothing else.
    const QStringList errLines = err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QVERIFY2(errLines.size() == 1, qPrintable(err));
    QVERIFY2(errLines.at(0).contains(QLatin1String("No system bus")), qPrintable(err));
}

QTEST_GUILESS_MAIN(TestTimeChangeWatcher)
#include "tst_timechangewatcher.moc"
