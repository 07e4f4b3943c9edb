// The client starts, loads, lists from the server and quits cleanly
// (--quit-after-list, exit code 0): on an empty data directory and on one
// whose device holds 10,000 stored reminders.
#include "accountbase.h"
#include "contentcipher.h"
#include "deskbackend.h"
#include "reminderinfo.h"
#include "reminderitem.h"
#include "reminderstorage.h"
#include "userstorageprovider.h"

#include <QDateTime>
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

// n text reminders in device 1's store, as the handler would have written
// them.
bool fillDeviceStore(const QString& dataDir, int n)
{
    AccountBase account(DeskBackend::kAccountId, 1, DeskBackend::deviceDirectory(dataDir, 1),
                        ContentCipher::deriveKey(DeskBackend::accountSecret()));
    if (!account.storage()->isOpen())
        return false;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    QList<storage::ReminderInfo> infos;
    infos.reserve(n);
    for (int i = 0; i < n; ++i) {
        ReminderItem item(QStringLiteral("1_%1").arg(i + 1));
        item.setText(QStringLiteral("Stored reminder %1").arg(i + 1));
        const qint64 when = now + qint64(i + 1) * 3600 * 1000;
        item.setOriginalRemindTime(when);
        item.setShowRemindTime(when);
        item.setRemindTime(when);
        item.setOrderTime(now - qint64(i) * 1000);
        if (i % 10 == 0) {
            item.setReminded(true);
            item.setCompleted(true);
        }
        storage::ReminderInfo info;
        if (!item.serialize(info))
            return false;
        infos.append(info);
    }
    return account.storage()->reminderStorage()->saveAll(infos) && account.storage()->reminderStorage()->count() == n;
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
