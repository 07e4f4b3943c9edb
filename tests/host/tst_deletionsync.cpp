// Two devices of one account on one reminder server: deleting one reminder,
// the selection or every completed reminder on one device turns them into
// tombstones on the server, and the other device drops them (record and
// row) at its next listing; a drag order made on one device reaches the
// other the same way.
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

constexpr qint64 kAccount = 1001;
constexpr qint64 kMinute = 60000;

qint64 at(int y, int m, int d, int h)
{
    return QDateTime(QDate(y, m, d), QTime(h, 0)).toMSecsSinceEpoch();
}

void setNow(qint64 t)
{
    network::NetworkSubject::instance()->setFixedTime(t);
}

// The server, the file service and two devices of the account.
struct TwoDevices
{
    TwoDevices()
    {
        ImLog::instance()->setEchoToStderr(false);
        setNow(at(2031, 6, 2, 12));
        server.reset(new ReminderServer(dir.filePath("server.db"),
                                        [] { return network::NetworkSubject::instance()->currentDateTime(); }));
        files.reset(new FileService(dir.filePath("files")));
        a.reset(new DeviceSession(server.get(), files.get(), dir.filePath("a"), kAccount, 1, "secret"));
        b.reset(new DeviceSession(server.get(), files.get(), dir.filePath("b"), kAccount, 2, "secret"));
    }
    ~TwoDevices()
    {
        a.reset();
        b.reset();
        server.reset();
        network::NetworkSubject::instance()->releaseFixedTime();
    }

    // Lets the storage worker and every posted call run out.
    static void settle()
    {
        for (int i = 0; i < 5; ++i) {
            ThreadManager::getInstance()->waitForIdle();
            QCoreApplication::processEvents();
        }
    }
    // Signs in and waits for the device's first listing to finish.
    static bool signIn(DeviceSession* d)
    {
        QSignalSpy done(d, &DeviceSession::listFinished);
        d->signIn();
        const bool ok = done.wait(30000);
        settle();
        return ok;
    }
    static bool relist(DeviceSession* d)
    {
        QSignalSpy done(d, &DeviceSession::listFinished);
        d->relist();
        const bool ok = done.wait(30000);
        settle();
        return ok;
    }
    // Waits for the answers to the device's next `answers` updates.
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
    // Runs `action` and waits until the device has handed a request to the
    // server (a deletion is never answered).
    template <typename F>
    static bool requestReachesServer(DeviceSession* d, F action)
    {
        QSignalSpy sent(d->serverSession(), &ReminderServerSession::requestSent);
        action();
        settle();
        return sent.count() > 0 || sent.wait(30000);
    }

    // A new reminder on device A, made a minute after the previous one so
    // that the order times differ; waits for the server's acceptance.
    bool newReminderOnA(const QString& text)
    {
        now += kMinute;
        setNow(now);
        QSignalSpy spy(a->serverSession(), &ReminderServerSession::syncFinished);
        a->handler()->newReminder(text);
        if (!spy.wait(30000) || spy.at(0).at(2).toInt() != ReminderServer::CodeAccepted)
            return false;
        settle();
        return true;
    }

    QTemporaryDir dir;
    std::unique_ptr<ReminderServer> server;
    std::unique_ptr<FileService> files;
    std::unique_ptr<DeviceSession> a;
    std::unique_ptr<DeviceSession> b;
    qint64 now = at(2031, 6, 2, 12);
};

storage::ReminderStorage* store(DeviceSession* d)
{
    return d->account()->storage()->reminderStorage();
}

bool hasRecord(DeviceSession* d, const QString& id)
{
    bool found = false;
    store(d)->info(id, &found);
    return found;
}

bool hasItem(DeviceSession* d, const QString& id)
{
    return bool(d->handler()->reminderModel()->itemById(id));
}

// The shown rows of the device's main list, top to bottom.
QStringList rows(DeviceSession* d)
{
    ReminderModel* model = d->handler()->reminderModel();
    QStringList ids;
    for (int row = 0; row < model->rowCount(); ++row) {
        const ReminderItemPtr item =
            model->data(model->index(row), ReminderModel::ReminderDataRole).value<ReminderItemPtr>();
        ids << (item ? item->remindId() : QString());
    }
    return ids;
}

const QString k1 = QStringLiteral("1_1");
const QString k2 = QStringLiteral("1_2");
const QString k3 = QStringLiteral("1_3");
const QString k4 = QStringLiteral("1_4");

} // namespace

class TestDeletionSync : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ReminderHandler::registerMetaType("unused"); }

    void deletingOneReminderReachesTheServerAndTheOtherDevice();
    void deletingTheSelectionReachesTheServerAndTheOtherDevice();
    void deletingAllCompletedReachesTheServerAndTheOtherDevice();
    void aDragOrderReachesTheOtherDevice();
};

void TestDeletionSync::deletingOneReminderReachesTheServerAndTheOtherDevice()
{
    TwoDevices t;
    QVERIFY(TwoDevices::signIn(t.a.get()));
    QVERIFY(t.newReminderOnA(QStringLiteral("buy bread")));
    QVERIFY(t.newReminderOnA(QStringLiteral("call Bob")));
    QVERIFY(TwoDevices::signIn(t.b.get()));
    QVERIFY(hasRecord(t.b.get(), k1));
    QVERIFY(hasItem(t.b.get(), k1));

    QVERIFY(TwoDevices::requestReachesServer(t.a.get(), [&t] { t.a->handler()->deleteSelect(k1); }));
    QVERIFY(t.server->isTombstoned(kAccount, k1));
    QVERIFY(!t.server->isTombstoned(kAccount, k2));
    QVERIFY(t.server->storedMessage(kAccount, k1).isEmpty());
    QVERIFY(!t.server->storedMessage(kAccount, k2).isEmpty());
    QVERIFY(!hasRecord(t.a.get(), k1));
    QVERIFY(!hasItem(t.a.get(), k1));
    // Device B learns of it only from its next listing.
    QVERIFY(hasItem(t.b.get(), k1));

    QVERIFY(TwoDevices::relist(t.b.get()));
    QVERIFY(!hasRecord(t.b.get(), k1));
    QVERIFY(!hasItem(t.b.get(), k1));
    QVERIFY(hasRecord(t.b.get(), k2));
    QCOMPARE(rows(t.b.get()), QStringList{k2});

    // Nor does it come back to device A with A's own listing.
    QVERIFY(TwoDevices::relist(t.a.get()));
    QVERIFY(!hasRecord(t.a.get(), k1));
    QCOMPARE(rows(t.a.get()), QStringList{k2});
}

void TestDeletionSync::deletingTheSelectionReachesTheServerAndTheOtherDevice()
{
    TwoDevices t;
    QVERIFY(TwoDevices::signIn(t.a.get()));
    QVERIFY(t.newReminderOnA(QStringLiteral("buy bread")));
    QVERIFY(t.newReminderOnA(QStringLiteral("call Bob")));
    QVERIFY(t.newReminderOnA(QStringLiteral("pay the bill")));
    QVERIFY(TwoDevices::signIn(t.b.get()));
    QCOMPARE(store(t.b.get())->count(), 3);

    t.a->handler()->select(k1);
    t.a->handler()->select(k3);
    QVERIFY(TwoDevices::requestReachesServer(t.a.get(), [&t] { t.a->handler()->deleteSelects(); }));
    QVERIFY(t.server->isTombstoned(kAccount, k1));
    QVERIFY(t.server->isTombstoned(kAccount, k3));
    QVERIFY(!t.server->isTombstoned(kAccount, k2));
    QCOMPARE(rows(t.a.get()), QStringList{k2});
    QCOMPARE(t.b->handler()->reminderModel()->count(), 3);

    QVERIFY(TwoDevices::relist(t.b.get()));
    QVERIFY(!hasRecord(t.b.get(), k1));
    QVERIFY(!hasRecord(t.b.get(), k3));
    QVERIFY(hasRecord(t.b.get(), k2));
    QCOMPARE(store(t.b.get())->count(), 1);
    QCOMPARE(rows(t.b.get()), QStringList{k2});
}

void TestDeletionSync::deletingAllCompletedReachesTheServerAndTheOtherDevice()
{
    TwoDevices t;
    QVERIFY(TwoDevices::signIn(t.a.get()));
    QVERIFY(t.newReminderOnA(QStringLiteral("buy bread")));
    QVERIFY(t.newReminderOnA(QStringLiteral("call Bob")));
    QVERIFY(t.newReminderOnA(QStringLiteral("pay the bill")));
    QVERIFY(t.a->handler()->completedReminder(k1, true));
    QVERIFY(TwoDevices::answered(t.a.get()));
    QVERIFY(t.a->handler()->completedReminder(k3, true));
    QVERIFY(TwoDevices::answered(t.a.get()));
    QVERIFY(TwoDevices::signIn(t.b.get()));
    QCOMPARE(t.b->handler()->reminderModel()->completedCount(), 2);

    QVERIFY(TwoDevices::requestReachesServer(t.a.get(), [&t] { t.a->handler()->deleteAllCompleted(); }));
    QVERIFY(t.server->isTombstoned(kAccount, k1));
    QVERIFY(t.server->isTombstoned(kAccount, k3));
    QVERIFY(!t.server->isTombstoned(kAccount, k2));
    QCOMPARE(store(t.a.get())->count(), 1);

    QVERIFY(TwoDevices::relist(t.b.get()));
    QVERIFY(!hasRecord(t.b.get(), k1));
    QVERIFY(!hasRecord(t.b.get(), k3));
    QVERIFY(!hasItem(t.b.get(), k1));
    QVERIFY(!hasItem(t.b.get(), k3));
    QCOMPARE(t.b->handler()->reminderModel()->completedCount(), 0);
    QCOMPARE(t.b->handler()->reminderModel()->count(), 1);
    QVERIFY(hasRecord(t.b.get(), k2));
}

void TestDeletionSync::aDragOrderReachesTheOtherDevice()
{
    TwoDevices t;
    QVERIFY(TwoDevices::signIn(t.a.get()));
    QVERIFY(t.newReminderOnA(QStringLiteral("buy bread")));
    QVERIFY(t.newReminderOnA(QStringLiteral("call Bob")));
    QVERIFY(t.newReminderOnA(QStringLiteral("pay the bill")));
    QVERIFY(t.newReminderOnA(QStringLiteral("walk the dog")));
    QVERIFY(TwoDevices::signIn(t.b.get()));
    const QStringList created = {k4, k3, k2, k1}; // newest first
    QCOMPARE(rows(t.a.get()), created);
    QCOMPARE(rows(t.b.get()), created);

    // The oldest to the top, then the newest below the third row.
    t.a->handler()->move(3, 0);
    t.a->handler()->move(1, 2);
    const QStringList dragged = {k1, k3, k4, k2};
    QCOMPARE(rows(t.a.get()), dragged);
    QSignalSpy answers(t.a->serverSession(), &ReminderServerSession::syncFinished);
    t.a->handler()->moveFinish();
    // Two changed order times: the one dragged to the top, and the one
    // dragged down (the row after it was already below it).
    while (answers.count() < 2)
        QVERIFY(answers.wait(30000));
    TwoDevices::settle();
    QCOMPARE(answers.count(), 2);
    QCOMPARE(answers.at(0).at(0).toString(), k1);
    QCOMPARE(answers.at(1).at(0).toString(), k4);
    for (const QVariantList& answer : answers)
        QCOMPARE(answer.at(2).toInt(), ReminderServer::CodeAccepted);
    QCOMPARE(rows(t.b.get()), created); // not before its listing

    QVERIFY(TwoDevices::relist(t.b.get()));
    QCOMPARE(rows(t.b.get()), dragged);
    for (const QString& id : dragged) {
        QCOMPARE(t.b->handler()->reminderModel()->itemById(id)->orderTime(),
                 t.a->handler()->reminderModel()->itemById(id)->orderTime());
    }
    // And stored so on device B.
    const QList<storage::ReminderInfo> infos = store(t.b.get())->allInfos();
    QStringList storedOrder;
    for (const storage::ReminderInfo& info : infos)
        storedOrder << info.id;
    QCOMPARE(storedOrder, dragged);
}

QTEST_GUILESS_MAIN(TestDeletionSync)
#include "tst_deletionsync.moc"
