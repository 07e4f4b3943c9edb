// The client starts, loads, lists from the server and quits cleanly
// (--quit-after-list, exit code 0): on an empty data directory and on one
// whose device holds 10,000 stored reminders.
#include "deskbackend.h"
#include "storedreminders.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int exitCode = -1;
    QProcess::ExitStatus status = QProcess::CrashExit;
    bool finished = false;
    QString out;
    QString err;
};

// withoutDisplay: no window system at all (no offscreen platform, no X
// or Wayland display), as in a plain terminal or over ssh.
Run runClient(const QStringList& args, bool withoutDisplay = false)
{
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (withoutDisplay) {
        for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            env.remove(QString::fromLatin1(name));
    } else {
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(REMINDER_DESK_BINARY), args);
    Run r;
    if (!p.waitForStarted(30000))
        return r;
    // Generous: a bound for a hung client, not a timing requirement.
    r.finished = p.waitForFinished(240000);
    if (!r.finished) {
        p.kill();
        p.waitForFinished(10000);
    }
    r.exitCode = p.exitCode();
    r.status = p.exitStatus();
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

} // namespace

class TestClientStartup : public QObject
{
    Q_OBJECT
private slots:
    void emptyDataDirectory();
    void twoDevicesOnEmptyDataDirectory();
    void tenThousandStoredReminders();
    void refusesBadArguments();
    void helpWorksWithoutADisplay_data();
    void helpWorksWithoutADisplay();
};

void TestClientStartup::emptyDataDirectory()
{
    QTemporaryDir dir;
    const Run r = runClient({QStringLiteral("--quit-after-list"), QStringLiteral("--data"), dir.path()});
    QVERIFY2(r.finished, qPrintable(r.err));
    QCOMPARE(r.status, QProcess::NormalExit);
    QVERIFY2(r.exitCode == 0, qPrintable(r.err));
    QVERIFY2(r.out.contains(QStringLiteral("device 1 lists 0 reminders")), qPrintable(r.out));
    // The data directory holds the server's database and the device's folder.
    QVERIFY(QFileInfo::exists(dir.filePath(QStringLiteral("server.db"))));
    QVERIFY(QFileInfo(DeskBackend::deviceDirectory(dir.path(), 1)).isDir());
}

void TestClientStartup::twoDevicesOnEmptyDataDirectory()
{
    QTemporaryDir dir;
    const Run r = runClient({QStringLiteral("--quit-after-list"), QStringLiteral("--devices"), QStringLiteral("2"),
                             QStringLiteral("--data"), dir.path()});
    QVERIFY2(r.finished, qPrintable(r.err));
    QCOMPARE(r.status, QProcess::NormalExit);
    QVERIFY2(r.exitCode == 0, qPrintable(r.err));
    QVERIFY2(r.out.contains(QStringLiteral("device 1 lists 0 reminders")), qPrintable(r.out));
    QVERIFY2(r.out.contains(QStringLiteral("device 2 lists 0 reminders")), qPrintable(r.out));
}

void TestClientStartup::tenThousandStoredReminders()
{
    QTemporaryDir dir;
    QVERIFY(fillDeviceStore(dir.path(), 10000));
    const Run r = runClient({QStringLiteral("--quit-after-list"), QStringLiteral("--data"), dir.path()});
    QVERIFY2(r.finished, qPrintable(r.err));
    QCOMPARE(r.status, QProcess::NormalExit);
    QVERIFY2(r.exitCode == 0, qPrintable(r.err));
    QVERIFY2(r.out.contains(QStringLiteral("device 1 lists 10000 reminders")), qPrintable(r.out));
}

void TestClientStartup::refusesBadArguments()
{
    const Run devices = runClient({QStringLiteral("--devices"), QStringLiteral("3")});
    QVERIFY(devices.finished);
    QCOMPARE(devices.exitCode, 2);
    QVERIFY(devices.err.contains(QStringLiteral("--devices")));
    const Run language = runClient({QStringLiteral("--language"), QStringLiteral("xx")});
    QVERIFY(language.finished);
    QCOMPARE(language.exitCode, 2);
    QVERIFY(language.err.contains(QStringLiteral("xx")));
}

void TestClientStartup::helpWorksWithoutADisplay_data()
{
    QTest::addColumn<QString>("option");
    QTest::newRow("--help") << QStringLiteral("--help");
    QTest::newRow("-h") << QStringLiteral("-h");
}

void TestClientStartup::helpWorksWithoutADisplay()
{
    QFETCH(QString, option);
    const Run r = runClient({option}, true);
    QVERIFY2(r.finished, qPrintable(r.err));
    QCOMPARE(r.status, QProcess::NormalExit);
    QVERIFY2(r.exitCode == 0, qPrintable(r.err));
    for (const char* name : {"--devices", "--data", "--language", "--tour", "--quit-after-list"})
        QVERIFY2(r.out.contains(QLatin1String(name)), qPrintable(r.out));
}

QTEST_GUILESS_MAIN(TestClientStartup)
#include "tst_client_startup.moc"
