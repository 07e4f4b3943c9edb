// Fault injection: lost requests, refusals, slow, held and reordered
// answers, and sessions and servers that go away.
#include "servertestutil.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <memory>

using namespace servertest;

namespace {
constexpr qint64 kAccount = 2001;
constexpr qint64 kPhone = 3;
constexpr qint64 kLaptop = 4;
constexpr int kOneHourMs = 3'600'000;

QStringList idsOf(const QSignalSpy& answers, int from = 0)
{
    QStringList ids;
    for (int i = from; i < answers.count(); ++i)
        ids << answers.at(i).at(0).toString();
    return ids;
}
} // namespace

// Brings a signal emitted on the server's thread to the test's thread, where
// a QSignalSpy may watch it.
class Relay : public QObject
{
    Q_OBJECT
signals:
    void fired(const QString& remindId);
};

class TestReminderServerFaults : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void droppedUpdateVanishes();
    void droppedDeletionVanishes();
    void codeMinusOneIsNotApplied();
    void delayedAnswersKeepTheirOrder();
    void delayHoldsTheAnswerUntilLifted();
    void delayedAnswerIsLostWhenServerEnds();
    void heldAnswersWaitForRelease();
    void reorderReleasesInReverse();
    void holdOffKeepsWhatIsHeld();
    void answerForGoneSessionIsDropped();
    void sessionOutlivesServer();

private:
    QString path() const { return m_dir->filePath(QStringLiteral("server.db")); }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ReminderServer> m_server;
};

void TestReminderServerFaults::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_server = std::make_unique<ReminderServer>(path());
    QVERIFY(m_server->isDatabaseOpen());
}

void TestReminderServerFaults::cleanup()
{
    m_server.reset();
    m_dir.reset();
}

void TestReminderServerFaults::droppedUpdateVanishes()
{
    Device phone(m_server.get(), kAccount, kPhone);
    m_server->dropNextRequests(1);
    QVERIFY(phone.send(QStringLiteral("3_1"), reminderBytes(QStringLiteral("3_1"), "lost")));

    // Answers come in request order: had the first been answered, its answer
    // would come before this one.
    const auto answer
        = phone.update(QStringLiteral("3_2"), reminderBytes(QStringLiteral("3_2"), "kept"));
    QVERIFY(answer);
    QCOMPARE(answer->remindId, QStringLiteral("3_2"));
    QCOMPARE(answer->code, ReminderServer::CodeAccepted);
    QCOMPARE(phone.answers.count(), 1);

    QCOMPARE(m_server->requestCount(), 2);
    QCOMPARE(m_server->version(kAccount, QStringLiteral("3_1")), 0);
    QCOMPARE(m_server->remindIds(kAccount), QStringList { QStringLiteral("3_2") });

    // Sent again, it arrives.
    QCOMPARE(
        codeOf(phone.update(QStringLiteral("3_1"), reminderBytes(QStringLiteral("3_1"), "again"))),
        ReminderServer::CodeAccepted);
    QCOMPARE(m_server->version(kAccount, QStringLiteral("3_1")), 1);
}

void TestReminderServerFaults::droppedDeletionVanishes()
{
    Device phone(m_server.get(), kAccount, kPhone);
    const QString id = QStringLiteral("3_3");
    QCOMPARE(codeOf(phone.update(id, reminderBytes(id, "x"))), ReminderServer::CodeAccepted);

    m_server->dropNextRequests(1);
    QVERIFY(phone.remove({ id }));
    QVERIFY(!m_server->isTombstoned(kAccount, id));
    QCOMPARE(m_server->version(kAccount, id), 1);
    QCOMPARE(m_server->requestCount(), 2);

    QVERIFY(phone.remove({ id }));
    QVERIFY(m_server->isTombstoned(kAccount, id));
}

void TestReminderServerFaults::codeMinusOneIsNotApplied()
{
    Device phone(m_server.get(), kAccount, kPhone);
    m_server->answerNextWithCodeMinusOne(2);
    for (const char* id : { "3_10", "3_11" }) {
        const auto answer
            = phone.update(QString::fromLatin1(id), reminderBytes(QString::fromLatin1(id), id));
        QVERIFY(answer);
        QCOMPARE(answer->remindId, QString::fromLatin1(id));
        QCOMPARE(answer->code, ReminderServer::CodeRefused);
        QVERIFY(answer->data.isEmpty());
    }
    QVERIFY(m_server->remindIds(kAccount).isEmpty());
    QCOMPARE(m_server->seenVersion(kAccount, QStringLiteral("3_10"), kPhone), 0);

    const auto answer
        = phone.update(QStringLiteral("3_10"), reminderBytes(QStringLiteral("3_10"), "ok"));
    QVERIFY(answer);
    QCOMPARE(answer->code, ReminderServer::CodeAccepted);
    QCOMPARE(m_server->version(kAccount, QStringLiteral("3_10")), 1);
    QCOMPARE(m_server->requestCount(), 3);
}

void TestReminderServerFaults::delayedAnswersKeepTheirOrder()
{
    Relay relay;
    QSignalSpy delayed(&relay, &Relay::fired);
    connect(m_server.get(), &ReminderServer::answerDelayStarted, &relay, &Relay::fired);

    Device phone(m_server.get(), kAccount, kPhone);
    Device laptop(m_server.get(), kAccount, kLaptop);
    m_server->setAnswerDelay(20);
    QVERIFY(phone.send(QStringLiteral("3_20"), reminderBytes(QStringLiteral("3_20"), "a")));
    QVERIFY(laptop.send(QStringLiteral("3_20"), reminderBytes(QStringLiteral("3_20"), "b")));
    QVERIFY(phone.send(QStringLiteral("3_21"), reminderBytes(QStringLiteral("3_21"), "c")));

    QVERIFY(waitForCount(phone.answers, 2));
    QVERIFY(waitForCount(laptop.answers, 1));
    QCOMPARE(idsOf(phone.answers), (QStringList { "3_20", "3_21" }));
    QCOMPARE(answerAt(phone.answers, 0).code, ReminderServer::CodeAccepted);
    QCOMPARE(answerAt(phone.answers, 1).code, ReminderServer::CodeAccepted);
    QCOMPARE(answerAt(laptop.answers, 0).code, ReminderServer::CodeServerState);
    QCOMPARE(contentOf(answerAt(laptop.answers, 0).data), QByteArrayLiteral("a"));
    // Each answer was held back before it went out.
    QCOMPARE(delayed.count(), 3);
    QCOMPARE(delayed.at(0).at(0).toString(), QStringLiteral("3_20"));
    QCOMPARE(delayed.at(2).at(0).toString(), QStringLiteral("3_21"));
}

void TestReminderServerFaults::delayHoldsTheAnswerUntilLifted()
{
    Relay relay;
    QSignalSpy delayed(&relay, &Relay::fired);
    connect(m_server.get(), &ReminderServer::answerDelayStarted, &relay, &Relay::fired);

    Device phone(m_server.get(), kAccount, kPhone);
    m_server->setAnswerDelay(kOneHourMs);
    QVERIFY(phone.send(QStringLiteral("3_30"), reminderBytes(QStringLiteral("3_30"), "slow")));
    QVERIFY(waitForCount(delayed, 1));
    // The server is inside an hour's delay: nothing has been answered yet.
    QCoreApplication::sendPostedEvents();
    QCOMPARE(phone.answers.count(), 0);

    m_server->setAnswerDelay(0);
    QVERIFY(waitForCount(phone.answers, 1));
    QCOMPARE(answerAt(phone.answers, 0).remindId, QStringLiteral("3_30"));
    QCOMPARE(answerAt(phone.answers, 0).code, ReminderServer::CodeAccepted);
    QCOMPARE(m_server->version(kAccount, QStringLiteral("3_30")), 1);
}

void TestReminderServerFaults::delayedAnswerIsLostWhenServerEnds()
{
    Relay relay;
    QSignalSpy delayed(&relay, &Relay::fired);
    connect(m_server.get(), &ReminderServer::answerDelayStarted, &relay, &Relay::fired);

    Device phone(m_server.get(), kAccount, kPhone);
    m_server->setAnswerDelay(kOneHourMs);
    QVERIFY(phone.send(QStringLiteral("3_40"), reminderBytes(QStringLiteral("3_40"), "slow")));
    QVERIFY(waitForCount(delayed, 1));

    // Ending the server cuts the delay short; the answer is lost with it.
    m_server.reset();
    QCoreApplication::sendPostedEvents();
    QCOMPARE(phone.answers.count(), 0);
    QVERIFY(!phone.session.isConnected());

    // The change itself was stored before its answer was held back.
    m_server = std::make_unique<ReminderServer>(path());
    QCOMPARE(m_server->version(kAccount, QStringLiteral("3_40")), 1);
    QCOMPARE(contentOf(m_server->storedMessage(kAccount, QStringLiteral("3_40"))),
             QByteArrayLiteral("slow"));
}

void TestReminderServerFaults::heldAnswersWaitForRelease()
{
    Device phone(m_server.get(), kAccount, kPhone);
    Device laptop(m_server.get(), kAccount, kLaptop);
    m_server->holdAnswers(true);
    QVERIFY(phone.send(QStringLiteral("3_50"), reminderBytes(QStringLiteral("3_50"), "a")));
    QVERIFY(phone.send(QStringLiteral("3_51"), reminderBytes(QStringLiteral("3_51"), "b")));
    QVERIFY(laptop.send(QStringLiteral("3_50"), reminderBytes(QStringLiteral("3_50"), "c")));
    QCOMPARE(m_server->heldCount(), 3);

    // Listings are not held; held answers made before it do not pass it.
    const auto items = phone.list();
    QVERIFY(items);
    QCOMPARE(items->size(), 2);
    QCOMPARE(phone.answers.count(), 0);
    QCOMPARE(laptop.answers.count(), 0);
    // The changes themselves are applied already.
    QCOMPARE(m_server->version(kAccount, QStringLiteral("3_50")), 1);

    m_server->releaseHeld();
    QVERIFY(waitForCount(phone.answers, 2));
    QVERIFY(waitForCount(laptop.answers, 1));
    QCOMPARE(idsOf(phone.answers), (QStringList { "3_50", "3_51" }));
    QCOMPARE(answerAt(laptop.answers, 0).code, ReminderServer::CodeServerState);
    QCOMPARE(m_server->heldCount(), 0);

    m_server->holdAnswers(false);
    const auto direct
        = phone.update(QStringLiteral("3_52"), reminderBytes(QStringLiteral("3_52"), "d"));
    QVERIFY(direct);
    QCOMPARE(direct->remindId, QStringLiteral("3_52"));
    QCOMPARE(direct->code, ReminderServer::CodeAccepted);
}

void TestReminderServerFaults::reorderReleasesInReverse()
{
    Device phone(m_server.get(), kAccount, kPhone);
    m_server->holdAnswers(true);
    const QStringList ids { "3_60", "3_61", "3_62" };
    for (const QString& id : ids)
        QVERIFY(phone.send(id, reminderBytes(id, id.toUtf8())));
    QCOMPARE(m_server->heldCount(), 3);

    m_server->reorderHeld();
    QVERIFY(waitForCount(phone.answers, 3));
    QCOMPARE(idsOf(phone.answers), (QStringList { "3_62", "3_61", "3_60" }));
    for (int i = 0; i < 3; ++i)
        QCOMPARE(answerAt(phone.answers, i).code, ReminderServer::CodeAccepted);
    QCOMPARE(m_server->heldCount(), 0);
}

void TestReminderServerFaults::holdOffKeepsWhatIsHeld()
{
    Device phone(m_server.get(), kAccount, kPhone);
    m_server->holdAnswers(true);
    QVERIFY(phone.send(QStringLiteral("3_70"), reminderBytes(QStringLiteral("3_70"), "held")));
    m_server->holdAnswers(false);

    const auto answer
        = phone.update(QStringLiteral("3_71"), reminderBytes(QStringLiteral("3_71"), "free"));
    QVERIFY(answer);
    QCOMPARE(answer->remindId, QStringLiteral("3_71"));
    QCOMPARE(phone.answers.count(), 1);
    QCOMPARE(m_server->heldCount(), 1);

    m_server->releaseHeld();
    QVERIFY(waitForCount(phone.answers, 2));
    QCOMPARE(answerAt(phone.answers, 1).remindId, QStringLiteral("3_70"));
}

void TestReminderServerFaults::answerForGoneSessionIsDropped()
{
    Device phone(m_server.get(), kAccount, kPhone);
    auto laptop = std::make_unique<Device>(m_server.get(), kAccount, kLaptop);
    m_server->holdAnswers(true);
    QVERIFY(laptop->send(QStringLiteral("3_80"), reminderBytes(QStringLiteral("3_80"), "x")));
    QVERIFY(phone.send(QStringLiteral("3_81"), reminderBytes(QStringLiteral("3_81"), "y")));
    QCOMPARE(m_server->heldCount(), 2);

    laptop.reset();
    m_server->releaseHeld();
    QVERIFY(waitForCount(phone.answers, 1));
    QCOMPARE(answerAt(phone.answers, 0).remindId, QStringLiteral("3_81"));
    QCOMPARE(m_server->heldCount(), 0);
    QCOMPARE(m_server->version(kAccount, QStringLiteral("3_80")), 1);
}

void TestReminderServerFaults::sessionOutlivesServer()
{
    Device phone(m_server.get(), kAccount, kPhone);
    QVERIFY(phone.session.isConnected());
    m_server.reset();
    QVERIFY(!phone.session.isConnected());

    phone.command.updateReminder(QStringLiteral("3_90"),
                                 reminderBytes(QStringLiteral("3_90"), "z"));
    phone.session.requestList();
    QCoreApplication::sendPostedEvents();
    QCOMPARE(phone.sent.count(), 0);
    QCOMPARE(phone.answers.count(), 0);
    QCOMPARE(phone.finished.count(), 0);

    // A session made without a server is inert as well.
    ReminderServerSession orphan(nullptr, kAccount, kPhone);
    QSignalSpy sent(&orphan, &ReminderServerSession::requestSent);
    orphan.requestList();
    QVERIFY(!orphan.isConnected());
    QCOMPARE(sent.count(), 0);
}

QTEST_GUILESS_MAIN(TestReminderServerFaults)
#include "tst_reminderserverfaults.moc"
