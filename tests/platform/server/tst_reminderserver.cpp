// The server's answers to updates, deletions and listings, seen from the
// devices' sessions.
#include "servertestutil.h"

#include <QDir>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>
#include <memory>

using namespace servertest;

namespace {
constexpr qint64 kAccount = 1001;
constexpr qint64 kOtherAccount = 1002;
constexpr qint64 kPhone = 7;
constexpr qint64 kLaptop = 8;
constexpr qint64 kTablet = 9;
} // namespace

class TestReminderServer : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void firstSendIsAcceptedWithServerTime();
    void deviceThatHasNotSeenTheChangeGetsServerState();
    void deviceThatListedFirstIsAccepted();
    void ownChangesFollowEachOther();
    void changeTimesOnlyGrow();
    void deletionTombstones();
    void deletingUnknownIdTombstones();
    void listingEmitsEveryReminderThenFinishes();
    void listingMarksEveryReminderSeen();
    void malformedUpdateIsRejected_data();
    void malformedUpdateIsRejected();
    void accountsAreSeparate();
    void serverRunsOnItsOwnThread();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ReminderServer> m_server;
    std::atomic<qint64> m_now { 0 };
};

void TestReminderServer::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_now = 1'700'000'000'000;
    m_server = std::make_unique<ReminderServer>(m_dir->filePath(QStringLiteral("server.db")),
                                                [this] { return m_now.load(); });
    QVERIFY(m_server->isDatabaseOpen());
    QVERIFY(m_server->movedAsidePath().isEmpty());
}

void TestReminderServer::cleanup()
{
    m_server.reset();
    m_dir.reset();
}

void TestReminderServer::firstSendIsAcceptedWithServerTime()
{
    Device phone(m_server.get(), kAccount, kPhone);
    const auto sent = makeMessage(QStringLiteral("7_1"), QByteArrayLiteral("cipher-1"), 5);

    const auto answer = phone.update(QStringLiteral("7_1"), toBytes(sent));
    QVERIFY(answer);
    QCOMPARE(answer->remindId, QStringLiteral("7_1"));
    QCOMPARE(answer->code, ReminderServer::CodeAccepted);
    QVERIFY(answer->data.isEmpty());

    const auto stored = parse(m_server->storedMessage(kAccount, QStringLiteral("7_1")));
    QVERIFY(stored);
    // The server's time replaces the device's; everything else is as sent.
    QCOMPARE(stored->update_time(), m_now.load());
    auto expected = sent;
    expected.set_update_time(m_now.load());
    QCOMPARE(toBytes(*stored), toBytes(expected));

    QCOMPARE(m_server->version(kAccount, QStringLiteral("7_1")), 1);
    QCOMPARE(m_server->updateTime(kAccount, QStringLiteral("7_1")), m_now.load());
    QCOMPARE(m_server->writerDevice(kAccount, QStringLiteral("7_1")), kPhone);
    QCOMPARE(m_server->seenVersion(kAccount, QStringLiteral("7_1"), kPhone), 1);
    QCOMPARE(m_server->seenVersion(kAccount, QStringLiteral("7_1"), kLaptop), 0);
    QVERIFY(!m_server->isTombstoned(kAccount, QStringLiteral("7_1")));
    QCOMPARE(m_server->requestCount(), 1);
}

void TestReminderServer::deviceThatHasNotSeenTheChangeGetsServerState()
{
    Device phone(m_server.get(), kAccount, kPhone);
    Device laptop(m_server.get(), kAccount, kLaptop);
    const QString id = QStringLiteral("7_2");

    const qint64 firstTime = m_now.load();
    auto answer = phone.update(id, reminderBytes(id, QByteArrayLiteral("from-phone")));
    QVERIFY(answer);
    QCOMPARE(answer->code, ReminderServer::CodeAccepted);
    const QByteArray phoneState = m_server->storedMessage(kAccount, id);

    // The laptop never saw the phone's change: it gets the server's state.
    m_now = firstTime + 60'000;
    answer = laptop.update(id, reminderBytes(id, QByteArrayLiteral("from-laptop")));
    QVERIFY(answer);
    QCOMPARE(answer->remindId, id);
    QCOMPARE(answer->code, ReminderServer::CodeServerState);
    QCOMPARE(answer->data, phoneState);
    const auto returned = parse(answer->data);
    QVERIFY(returned);
    QCOMPARE(returned->update_time(), firstTime);
    QCOMPARE(QByteArray::fromStdString(returned->content()), QByteArrayLiteral("from-phone"));
    QCOMPARE(m_server->storedMessage(kAccount, id), phoneState);
    QCOMPARE(m_server->version(kAccount, id), 1);
    QCOMPARE(m_server->seenVersion(kAccount, id, kLaptop), 1);

    // Having seen it, the laptop's next send (after its merge) is accepted.
    m_now = firstTime + 120'000;
    answer = laptop.update(id, reminderBytes(id, QByteArrayLiteral("merged-on-laptop")));
    QVERIFY(answer);
    QCOMPARE(answer->code, ReminderServer::CodeAccepted);
    QCOMPARE(contentOf(m_server->storedMessage(kAccount, id)),
             QByteArrayLiteral("merged-on-laptop"));
    QCOMPARE(m_server->version(kAccount, id), 2);
    QCOMPARE(m_server->writerDevice(kAccount, id), kLaptop);
    QCOMPARE(m_server->updateTime(kAccount, id), firstTime + 120'000);

    // Now the phone is the one behind.
    answer = phone.update(id, reminderBytes(id, QByteArrayLiteral("phone-again")));
    QVERIFY(answer);
    QCOMPARE(answer->code, ReminderServer::CodeServerState);
    QCOMPARE(contentOf(answer->data), QByteArrayLiteral("merged-on-laptop"));
    QCOMPARE(m_server->version(kAccount, id), 2);
}

void TestReminderServer::deviceThatListedFirstIsAccepted()
{
    Device phone(m_server.get(), kAccount, kPhone);
    Device laptop(m_server.get(), kAccount, kLaptop);
    const QString id = QStringLiteral("7_3");

    auto answer = phone.update(id, reminderBytes(id, QByteArrayLiteral("one")));
    QVERIFY(answer);
    QCOMPARE(answer->code, ReminderServer::CodeAccepted);

    const auto items = laptop.list();
    QVERIFY(items);
    QCOMPARE(items->size(), 1);
    QCOMPARE(items->at(0).first, id);
    QCOMPARE(items->at(0).second, m_server->storedMessage(kAccount, id));

    answer = laptop.update(id, reminderBytes(id, QByteArrayLiteral("two")));
    QVERIFY(answer);
    QCOMPARE(answer->code, ReminderServer::CodeAccepted);
    QCOMPARE(contentOf(m_server->storedMessage(kAccount, id)), QByteArrayLiteral("two"));
    QCOMPARE(m_server->version(kAccount, id), 2);
}

void TestReminderServer::ownChangesFollowEachOther()
{
    Device phone(m_server.get(), kAccount, kPhone);
    const QString id = QStringLiteral("7_4");
    for (int i = 1; i <= 4; ++i) {
        m_now = m_now.load() + 1000;
        const QByteArray content = QByteArray("edit-") + QByteArray::number(i);
        const auto answer = phone.update(id, reminderBytes(id, content));
        QVERIFY(answer);
        QCOMPARE(answer->code, ReminderServer::CodeAccepted);
        QCOMPARE(contentOf(m_server->storedMessage(kAccount, id)), content);
        QCOMPARE(m_server->version(kAccount, id), i);
        QCOMPARE(m_server->updateTime(kAccount, id), m_now.load());
    }
}

void TestReminderServer::changeTimesOnlyGrow()
{
    Device phone(m_server.get(), kAccount, kPhone);
    const QString id = QStringLiteral("7_5");
    const qint64 start = m_now.load();

    QCOMPARE(codeOf(phone.update(id, reminderBytes(id, "a"))), ReminderServer::CodeAccepted);
    QCOMPARE(m_server->updateTime(kAccount, id), start);
    // The clock stands still: the next change is still later.
    QCOMPARE(codeOf(phone.update(id, reminderBytes(id, "b"))), ReminderServer::CodeAccepted);
    QCOMPARE(m_server->updateTime(kAccount, id), start + 1);
    // The clock goes back: the change time does not.
    m_now = start - 50'000;
    QCOMPARE(codeOf(phone.update(id, reminderBytes(id, "c"))), ReminderServer::CodeAccepted);
    QCOMPARE(m_server->updateTime(kAccount, id), start + 2);
    const auto stored = parse(m_server->storedMessage(kAccount, id));
    QVERIFY(stored);
    QCOMPARE(stored->update_time(), start + 2);
    // A deletion too.
    QVERIFY(phone.remove({ id }));
    QCOMPARE(m_server->updateTime(kAccount, id), start + 3);
}

void TestReminderServer::deletionTombstones()
{
    Device phone(m_server.get(), kAccount, kPhone);
    Device laptop(m_server.get(), kAccount, kLaptop);
    const QString id = QStringLiteral("7_6");
    QCOMPARE(codeOf(phone.update(id, reminderBytes(id, "kept"))), ReminderServer::CodeAccepted);

    m_now = m_now.load() + 5000;
    QVERIFY(phone.remove({ id }));
    // Deletions are not answered: the next answer the phone gets is the
    // one for its next update.
    const auto barrier
        = phone.update(QStringLiteral("7_7"), reminderBytes(QStringLiteral("7_7"), "x"));
    QVERIFY(barrier);
    QCOMPARE(barrier->remindId, QStringLiteral("7_7"));
    QCOMPARE(phone.answers.count(), 2);

    QVERIFY(m_server->isTombstoned(kAccount, id));
    QVERIFY(m_server->storedMessage(kAccount, id).isEmpty());
    QCOMPARE(m_server->version(kAccount, id), 2);
    QCOMPARE(m_server->updateTime(kAccount, id), m_now.load());
    QCOMPARE(m_server->writerDevice(kAccount, id), kPhone);

    // Every later update of it, from any device, is answered "deleted".
    for (Device* device : { &phone, &laptop }) {
        const auto answer = device->update(id, reminderBytes(id, "revived"));
        QVERIFY(answer);
        QCOMPARE(answer->remindId, id);
        QCOMPARE(answer->code, ReminderServer::CodeServerState);
        QVERIFY(answer->data.isEmpty());
    }
    QVERIFY(m_server->isTombstoned(kAccount, id));
    QCOMPARE(m_server->version(kAccount, id), 2);

    // Deleting it again changes nothing.
    QVERIFY(laptop.remove({ id }));
    QCOMPARE(m_server->version(kAccount, id), 2);
    QCOMPARE(m_server->writerDevice(kAccount, id), kPhone);
}

void TestReminderServer::deletingUnknownIdTombstones()
{
    Device phone(m_server.get(), kAccount, kPhone);
    Device laptop(m_server.get(), kAccount, kLaptop);
    QVERIFY(phone.remove({ QStringLiteral("8_1"), QStringLiteral("8_2") }));
    QVERIFY(m_server->isTombstoned(kAccount, QStringLiteral("8_1")));
    QVERIFY(m_server->isTombstoned(kAccount, QStringLiteral("8_2")));
    QCOMPARE(m_server->version(kAccount, QStringLiteral("8_1")), 1);

    // A late update of a reminder deleted before it reached the server does
    // not bring it back.
    const auto answer
        = laptop.update(QStringLiteral("8_1"), reminderBytes(QStringLiteral("8_1"), "late"));
    QVERIFY(answer);
    QCOMPARE(answer->code, ReminderServer::CodeServerState);
    QVERIFY(answer->data.isEmpty());
    QVERIFY(m_server->storedMessage(kAccount, QStringLiteral("8_1")).isEmpty());
}

void TestReminderServer::listingEmitsEveryReminderThenFinishes()
{
    Device phone(m_server.get(), kAccount, kPhone);
    Device tablet(m_server.get(), kAccount, kTablet);
    for (const char* id : { "7_20", "7_10", "7_30" }) {
        const QString remindId = QString::fromLatin1(id);
        QCOMPARE(codeOf(phone.update(remindId, reminderBytes(remindId, id))),
                 ReminderServer::CodeAccepted);
    }
    QVERIFY(phone.remove({ QStringLiteral("7_20") }));

    QStringList events;
    connect(&tablet.session, &ReminderServerSession::listed, this,
            [&events](const QString& id, const QByteArray&) { events << id; });
    connect(&tablet.session, &ReminderServerSession::listFinished, this,
            [&events] { events << QStringLiteral("finished"); });

    const auto items = tablet.list();
    QVERIFY(items);
    QCOMPARE(events, (QStringList { "7_10", "7_20", "7_30", "finished" }));
    QCOMPARE(items->size(), 3);
    QCOMPARE(items->at(0).second, m_server->storedMessage(kAccount, QStringLiteral("7_10")));
    QCOMPARE(contentOf(items->at(0).second), QByteArrayLiteral("7_10"));
    QVERIFY(items->at(1).second.isEmpty());
    QCOMPARE(items->at(2).second, m_server->storedMessage(kAccount, QStringLiteral("7_30")));
    QCOMPARE(m_server->remindIds(kAccount), (QStringList { "7_10", "7_20", "7_30" }));

    // The same order again.
    const auto again = tablet.list();
    QVERIFY(again);
    QCOMPARE(*again, *items);

    // Another account's listing is empty, and still finishes.
    Device stranger(m_server.get(), kOtherAccount, kPhone);
    const auto none = stranger.list();
    QVERIFY(none);
    QVERIFY(none->isEmpty());
    QCOMPARE(stranger.finished.count(), 1);
}

void TestReminderServer::listingMarksEveryReminderSeen()
{
    Device phone(m_server.get(), kAccount, kPhone);
    Device laptop(m_server.get(), kAccount, kLaptop);
    const QStringList ids { "7_40", "7_41", "7_42" };
    for (const QString& id : ids) {
        QCOMPARE(codeOf(phone.update(id, reminderBytes(id, "v1"))), ReminderServer::CodeAccepted);
        QCOMPARE(codeOf(phone.update(id, reminderBytes(id, "v2"))), ReminderServer::CodeAccepted);
    }
    QVERIFY(phone.remove({ QStringLiteral("7_42") }));
    for (const QString& id : ids)
        QCOMPARE(m_server->seenVersion(kAccount, id, kLaptop), 0);

    QVERIFY(laptop.list());
    for (const QString& id : ids)
        QCOMPARE(m_server->seenVersion(kAccount, id, kLaptop), m_server->version(kAccount, id));
    QCOMPARE(m_server->version(kAccount, QStringLiteral("7_40")), 2);
    QCOMPARE(m_server->version(kAccount, QStringLiteral("7_42")), 3);

    // Every live one now takes the laptop's change directly.
    for (const QString& id : ids.mid(0, 2)) {
        const auto answer = laptop.update(id, reminderBytes(id, "v3"));
        QVERIFY(answer);
        QCOMPARE(answer->code, ReminderServer::CodeAccepted);
    }
}

void TestReminderServer::malformedUpdateIsRejected_data()
{
    QTest::addColumn<QString>("remindId");
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("not a message")
        << QStringLiteral("7_50") << QByteArray("\xff\xff\xff\xff\xff", 5);
    QTest::newRow("truncated") << QStringLiteral("7_50")
                               << reminderBytes(QStringLiteral("7_50"), "abcdef").left(4);
    QTest::newRow("another id") << QStringLiteral("7_50")
                                << reminderBytes(QStringLiteral("7_51"), "content");
    QTest::newRow("no bytes") << QStringLiteral("7_50") << QByteArray();
    QTest::newRow("empty id") << QString() << reminderBytes(QString(), "content");
}

void TestReminderServer::malformedUpdateIsRejected()
{
    QFETCH(QString, remindId);
    QFETCH(QByteArray, data);
    Device phone(m_server.get(), kAccount, kPhone);

    const auto answer = phone.update(remindId, data);
    QVERIFY(answer);
    QCOMPARE(answer->remindId, remindId);
    QCOMPARE(answer->code, ReminderServer::CodeRejected);
    QVERIFY(answer->data.isEmpty());
    QVERIFY(m_server->remindIds(kAccount).isEmpty());
    QCOMPARE(m_server->version(kAccount, remindId), 0);
    QCOMPARE(m_server->version(kAccount, QStringLiteral("7_51")), 0);
    QCOMPARE(m_server->seenVersion(kAccount, remindId, kPhone), 0);

    // The same id, well formed, is then accepted as a first version.
    const QString validId = remindId.isEmpty() ? QStringLiteral("7_52") : remindId;
    const auto valid = phone.update(validId, reminderBytes(validId, "fine"));
    QVERIFY(valid);
    QCOMPARE(valid->code, ReminderServer::CodeAccepted);
    QCOMPARE(m_server->version(kAccount, validId), 1);
}

void TestReminderServer::accountsAreSeparate()
{
    Device mine(m_server.get(), kAccount, kPhone);
    Device theirs(m_server.get(), kOtherAccount, kPhone);
    const QString id = QStringLiteral("7_60");

    QCOMPARE(codeOf(mine.update(id, reminderBytes(id, "mine"))), ReminderServer::CodeAccepted);
    QCOMPARE(codeOf(theirs.update(id, reminderBytes(id, "theirs"))), ReminderServer::CodeAccepted);
    QCOMPARE(contentOf(m_server->storedMessage(kAccount, id)), QByteArrayLiteral("mine"));
    QCOMPARE(contentOf(m_server->storedMessage(kOtherAccount, id)), QByteArrayLiteral("theirs"));

    QVERIFY(theirs.remove({ id }));
    QVERIFY(m_server->isTombstoned(kOtherAccount, id));
    QVERIFY(!m_server->isTombstoned(kAccount, id));
    QCOMPARE(codeOf(mine.update(id, reminderBytes(id, "still mine"))),
             ReminderServer::CodeAccepted);
}

void TestReminderServer::serverRunsOnItsOwnThread()
{
    std::atomic<QThread*> clockThread { nullptr };
    m_server->setClock([&clockThread, this] {
        clockThread.store(QThread::currentThread());
        return m_now.load();
    });

    Device phone(m_server.get(), kAccount, kPhone);
    QThread* answerThread = nullptr;
    connect(&phone.session, &ReminderServerSession::syncFinished, this,
            [&answerThread] { answerThread = QThread::currentThread(); }, Qt::DirectConnection);

    const auto answer
        = phone.update(QStringLiteral("7_70"), reminderBytes(QStringLiteral("7_70"), "t"));
    QVERIFY(answer);
    QCOMPARE(answer->code, ReminderServer::CodeAccepted);

    QThread* serverThread = m_server->serverThread();
    QVERIFY(serverThread);
    QVERIFY(serverThread != QThread::currentThread());
    QVERIFY(serverThread->isRunning());
    QCOMPARE(m_server->thread(), serverThread);
    QCOMPARE(clockThread.load(), serverThread);
    QCOMPARE(answerThread, QThread::currentThread());
    QCOMPARE(phone.session.thread(), QThread::currentThread());
}

QTEST_GUILESS_MAIN(TestReminderServer)
#include "tst_reminderserver.moc"
