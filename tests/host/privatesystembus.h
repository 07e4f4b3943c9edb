#pragma once

// A system bus of the test's own, with the test playing logind on it, so
// that wake-ups can be sent without touching the machine's bus or needing
// its permissions. It is a dbus-daemon with the session configuration,
// which lets any connection own any name; DBUS_SYSTEM_BUS_ADDRESS is
// pointed at it.
//
// QDBusConnection::systemBus() reads that address once per process, so
// start() belongs in initTestCase, before anything connects to the system
// bus, and one PrivateSystemBus serves the whole process. Without a
// dbus-daemon, start() points the system bus at an address that leads
// nowhere (the process still never reaches the machine's bus) and says so
// through daemonFound(), for the caller to skip what needs logind.
//
// Two connections of the test's own are on the bus: one owns logind's
// name, the other (the impostor) does not, for checking that only logind
// is believed.
//
// The helpers return false on failure and leave the reason in
// errorString(), for QVERIFY2 at the call site.
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QString>
#include <QTemporaryDir>
#include <QTest>

class PrivateSystemBus
{
public:
    static QString logindService() { return QStringLiteral("org.freedesktop.login1"); }
    static QString logindConnection() { return QStringLiteral("test-logind"); }
    static QString impostorConnection() { return QStringLiteral("test-impostor"); }

    PrivateSystemBus() = default;
    PrivateSystemBus(const PrivateSystemBus&) = delete;
    PrivateSystemBus& operator=(const PrivateSystemBus&) = delete;
    ~PrivateSystemBus() { stop(); }

    // True when the bus is up and logind's name is owned. False otherwise:
    // either no dbus-daemon is installed (daemonFound() is false, the
    // system bus leads nowhere) or it did not come up (errorString()).
    bool start()
    {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        m_daemonFound = !daemon.isEmpty();
        if (!m_daemonFound) {
            if (!m_dir.isValid())
                return fail(QStringLiteral("no temporary directory: %1").arg(m_dir.errorString()));
            qputenv("DBUS_SYSTEM_BUS_ADDRESS",
                    "unix:path=" + QFile::encodeName(m_dir.filePath(QStringLiteral("no-bus"))));
            return fail(QStringLiteral("dbus-daemon is not installed"));
        }

        m_daemon.setProgram(daemon);
        m_daemon.setArguments(
            {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
        m_daemon.setProcessChannelMode(QProcess::SeparateChannels);
        m_daemon.start();
        if (!m_daemon.waitForStarted())
            return fail(m_daemon.errorString());
        while (!m_daemon.canReadLine()) {
            if (!m_daemon.waitForReadyRead(60000)) {
                return fail(QStringLiteral("dbus-daemon printed no address: %1")
                                .arg(QString::fromLocal8Bit(m_daemon.readAllStandardError())));
            }
        }
        m_address = m_daemon.readLine().trimmed();
        if (m_address.isEmpty())
            return fail(QStringLiteral("dbus-daemon printed an empty address"));
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_address);

        QDBusConnection logind = QDBusConnection::connectToBus(QString::fromUtf8(m_address), logindConnection());
        if (!logind.isConnected())
            return fail(logind.lastError().message());
        if (!logind.registerService(logindService()))
            return fail(logind.lastError().message());
        QDBusConnection impostor = QDBusConnection::connectToBus(QString::fromUtf8(m_address), impostorConnection());
        if (!impostor.isConnected())
            return fail(impostor.lastError().message());
        m_running = true;
        return true;
    }

    // Idempotent; the system bus of this process then leads to a bus that is
    // gone.
    void stop()
    {
        if (m_daemon.state() == QProcess::NotRunning)
            return;
        m_running = false;
        QDBusConnection::disconnectFromBus(logindConnection());
        QDBusConnection::disconnectFromBus(impostorConnection());
        m_daemon.terminate();
        if (!m_daemon.waitForFinished(30000)) {
            m_daemon.kill();
            m_daemon.waitForFinished();
        }
    }

    bool isRunning() const { return m_running; }
    bool daemonFound() const { return m_daemonFound; }
    QByteArray address() const { return m_address; }
    QString errorString() const { return m_error; }

    // logind's PrepareForSleep(goingToSleep), as sent by `connection` (one
    // of the two above). Sending does not wait: passFence() does.
    bool sendPrepareForSleep(const QString& connection, bool goingToSleep)
    {
        QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/login1"),
                                                         QStringLiteral("org.freedesktop.login1.Manager"),
                                                         QStringLiteral("PrepareForSleep"));
        signal << goingToSleep;
        if (!QDBusConnection(connection).send(signal))
            return fail(QStringLiteral("%1 could not send PrepareForSleep").arg(connection));
        return true;
    }

    // The match rules of this process's system bus connection are in place:
    // QDBusConnection::connect() sends them without waiting, and the bus
    // handles one connection's messages in order, so the answer to a later
    // call means it has read them.
    bool syncWithBus() { return askWhetherLogindIsThere(QDBusConnection::systemBus()); }

    // Returns once everything that `sender` sent before has reached the
    // receivers of this process. The bus passes a connection's messages on
    // in the order it sends them, and announces a new name owner after it
    // has passed on what came before, so the fence name's announcement
    // arrives last; receivers in this process are called in the order the
    // messages arrived.
    bool passFence(const QString& sender)
    {
        const QString name = QStringLiteral("test.fence.f%1").arg(++m_fences);
        QDBusServiceWatcher fence(name, QDBusConnection::systemBus(), QDBusServiceWatcher::WatchForRegistration);
        QSignalSpy registered(&fence, &QDBusServiceWatcher::serviceRegistered);
        if (!syncWithBus())
            return false;
        // Answered only once the bus has read what `sender` sent before.
        if (!askWhetherLogindIsThere(QDBusConnection(sender)))
            return false;
        QDBusConnection logind(logindConnection());
        if (!logind.registerService(name))
            return fail(logind.lastError().message());
        const bool passed = QTest::qWaitFor([&registered] { return registered.count() > 0; }, 30000);
        if (!logind.unregisterService(name))
            return fail(logind.lastError().message());
        return passed || fail(QStringLiteral("the fence %1 was not announced").arg(name));
    }

private:
    bool fail(const QString& why)
    {
        m_error = why;
        return false;
    }

    bool askWhetherLogindIsThere(const QDBusConnection& connection)
    {
        QDBusConnectionInterface* bus = connection.interface();
        if (!bus)
            return fail(QStringLiteral("%1 is not connected").arg(connection.name()));
        const QDBusReply<bool> reply = bus->isServiceRegistered(logindService());
        if (!reply.isValid())
            return fail(reply.error().message());
        if (!reply.value())
            return fail(QStringLiteral("nobody owns %1").arg(logindService()));
        return true;
    }

    QTemporaryDir m_dir;
    QProcess m_daemon;
    QByteArray m_address;
    QString m_error;
    int m_fences = 0;
    bool m_daemonFound = false;
    bool m_running = false;
};
