// Two devices of one account on one reminder server, end to end: what one
// device does reaches the other through the server.
#include "accountbase.h"
#include "devicesession.h"
#include "fileservice.h"
#include "imlog.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "remindermodel.h"
#include "reminderserver.h"
#include "reminderserversession.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

qint64 at(int y, int m, int d, int h)
{
    return QDateTime(QDate(y, m, d), QTime(h, 0)).toMSecsSinceEpoch();
}

// The server, the file service and two devices of account 1001.
struct TwoDevices
{
    TwoDevices()
    {
        ImLog::instance()->setEchoToStderr(false);
        network::NetworkSubject::instance()->setFixedTime(at(2031, 6, 2, 12));
        server.reset(new ReminderServer(dir.filePath("server.db"),
                                        [] { return network::NetworkSubject::instance()->currentDateTime(); }));
        files.reset(new FileService(dir.filePath("files")));
        a.reset(new DeviceSession(server.get(), files.get(), dir.filePath("a"), 1001, 1, "secret"));
        b.reset(new DeviceSession(server.get(), files.get(), dir.filePath("b"), 1001, 2, "secret"));
    }
    ~TwoDevices()
    {
        a.reset();
        b.reset();
        server.reset();
        network::NetworkSubject::instance()->releaseFixedTime();
    }

    // Signs in and waits for the device's first listing to finish.
    static bool signIn(DeviceSession* d)
    {
        QSignalSpy done(d, &DeviceSession::listFinished);
        d->signIn();
        return done.wait(30000);
    }
    static bool relist(DeviceSession* d)
    {
        QSignalSpy done(d, &DeviceSession::listFinished);
        d->relist();
        const bool ok = done.wait(30000);
        settle();
        return ok;
    }
    // Lets the storage worker and every posted call run out.
    static void settle()
    {
        for (int i = 0; i < 5; ++i) {
            ThreadManager::getInstance()->waitForIdle();
            QCoreApplication::processEvents();
        }
    }
    // Waits for the answer to the device's next request.
    static bool answered(DeviceSession* d, int answers = 1)
    {
        QSignalSpy spy(d->serverSession(), &ReminderServerSession::syncFinished);
        while (spy.count() < answers) {
            if (!spy.wait(30000))
                return false;
        }
        settle();
        return true;
    }

    QTemporaryDir dir;
    std::unique_ptr<ReminderServer> server;
    std::unique_ptr<FileService> files;
    std::unique_ptr<DeviceSession> a;
    std::unique_ptr<DeviceSession> b;
};

} // namespace

class TestDeviceSession : public QObject
{
    Q_OBJECT
private slots:
    void newReminderOnOneDeviceReachesTheOther();
    void completionOnOneDeviceReachesTheOther();
};

void TestDeviceSession::newReminderOnOneDeviceReachesTheOther()
{
    TwoDevices t;
    QVERIFY(TwoDevices::signIn(t.a.get()));
    QVERIFY(TwoDevices::signIn(t.b.get()));
    QSignalSpy answer(t.a->serverSession(), &ReminderServerSession::syncFinished);
    t.a->handler()->newReminder(QStringLiteral("buy bread"));
    QVERIFY(answer.wait(30000));
    QCOMPARE(answer.at(0).at(2).toInt(), 0);
    TwoDevices::settle();
    // Confirmed: no unsent change is left on device A.
    const ReminderItemPtr mine = t.a->handler()->reminderModel()->itemById(QStringLiteral("1_1"));
    QVERIFY(mine);
    QCOMPARE(mine->lastContentTime(), 0);

    QVERIFY(TwoDevices::relist(t.b.get()));
    const ReminderItemPtr theirs = t.b->handler()->reminderModel()->itemById(QStringLiteral("1_1"));
    QVERIFY(theirs);
    QCOMPARE(theirs->text(), QStringLiteral("buy bread"));
    // Stored on device B too.
    QCOMPARE(t.b->account()->storage()->reminderStorage()->count(), 1);
}

void TestDeviceSession::completionOnOneDeviceReachesTheOther()
{
    TwoDevices t;
    QVERIFY(TwoDevices::signIn(t.a.get()));
    t.a->handler()->newReminder(QStringLiteral("file taxes"));
    QVERIFY(TwoDevices::answered(t.a.get()));
    QVERIFY(TwoDevices::signIn(t.b.get()));
    TwoDevices::settle();
    QVERIFY(t.b->handler()->reminderModel()->itemById(QStringLiteral("1_1")));

    QVERIFY(t.b->handler()->completedReminder(QStringLiteral("1_1"), true));
    QVERIFY(TwoDevices::answered(t.b.get()));
    QVERIFY(TwoDevices::relist(t.a.get()));
    const ReminderItemPtr onA = t.a->handler()->reminderModel()->itemById(QStringLiteral("1_1"));
    QVERIFY(onA);
    QVERIFY(onA->completed());
    QCOMPARE(t.a->handler()->reminderModel()->completedCount(), 1);
}

QTEST_GUILESS_MAIN(TestDeviceSession)
#include "tst_devicesession.moc"
