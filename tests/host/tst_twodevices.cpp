// Two devices of one account through the reference server and the host
// glue: every answer the server gives, lost and refused requests, changes
// made offline on both devices and merged when they come online in either
// order, a device that goes away between saving a change and its answer,
// and randomised scenarios checked against the outcomes docs/sync.md
// guarantees.
#include "twodevices.h"

#include <QFileInfo>
#include <QHash>
#include <QRandomGenerator>
#include <QTest>

#include <random>

namespace {

constexpr qint64 kSecond = 1000;
constexpr qint64 kMinute = 60 * kSecond;
constexpr qint64 kDay = 24 * 60 * kMinute;

// Remind times well ahead of the clock: nothing fires during a test.
qint64 dueIn(int days)
{
    return at(2031, 6, 2, 9) + days * kDay;
}

// Which device reaches the server first.
void addOrderColumn()
{
    QTest::addColumn<int>("first");
    QTest::newRow("A online first") << 0;
    QTest::newRow("B online first") << 1;
}

// Both devices hold the same reminders as the server, once each, with the
// same values, in their lists and in their stores; nothing is left unsent.
QString convergenceProblem(const TwoDevices& t)
{
    QStringList problems;
    const QStringList server = t.serverLiveIds();
    for (int i = 0; i < 2; ++i) {
        const QStringList ids = t.sortedIds(i);
        const QSet<QString> unique(ids.cbegin(), ids.cend());
        if (unique.size() != ids.size())
            problems << QStringLiteral("device %1 lists an id twice: %2").arg(i).arg(ids.join(','));
        if (ids != server)
            problems << QStringLiteral("device %1 lists [%2], the server [%3]").arg(i).arg(ids.join(','), server.join(','));
        if (t.storedIds(i) != ids)
            problems << QStringLiteral("device %1 stores [%2], lists [%3]")
                            .arg(i)
                            .arg(t.storedIds(i).join(','), ids.join(','));
        if (!t.probe(i).pendingSync().isEmpty())
            problems << QStringLiteral("device %1 still has unsent [%2]")
                            .arg(i)
                            .arg(QStringList(t.probe(i).pendingSync().values()).join(','));
    }
    for (const QString& id : server) {
        const WireFields s = t.serverFields(id);
        for (int i = 0; i < 2; ++i) {
            if (t.fields(i, id) != s)
                problems << QStringLiteral("%1 on device %2: %3, on the server: %4")
                                .arg(id)
                                .arg(i)
                                .arg(t.fields(i, id).toString(), s.toString());
            if (t.storedFields(i, id) != t.fields(i, id))
                problems << QStringLiteral("%1 stored on device %2: %3, in its list: %4")
                                .arg(id)
                                .arg(i)
                                .arg(t.storedFields(i, id).toString(), t.fields(i, id).toString());
        }
    }
    return problems.join(QStringLiteral("\n"));
}

// A deleted reminder is gone everywhere and stays deleted on the server.
QString deletionProblem(const TwoDevices& t, const QString& id)
{
    QStringList problems;
    for (int i = 0; i < 2; ++i) {
        if (t.item(i, id))
            problems << QStringLiteral("%1 still listed on device %2").arg(id).arg(i);
        if (t.storedIds(i).contains(id))
            problems << QStringLiteral("%1 still stored on device %2").arg(id).arg(i);
    }
    if (!t.server->isTombstoned(TwoDevices::kAccount, id))
        problems << QStringLiteral("%1 is not deleted on the server").arg(id);
    return problems.join(QStringLiteral("\n"));
}

// Both devices signed in, `count` reminders made on device A and known to
// both; the clock then moves on so that later changes are newer.
QStringList agreedReminders(TwoDevices& t, int count)
{
    QStringList ids;
    if (!t.signIn(0) || !t.signIn(1))
        return ids;
    for (int n = 0; n < count; ++n)
        ids << t.create(0, QStringLiteral("reminder %1").arg(n + 1), dueIn(3 + n));
    if (!t.quiesce() || !t.goOnline(1))
        return {};
    t.advance(kMinute);
    return ids;
}

} // namespace

class TestTwoDevices : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ReminderHandler::registerMetaType("unused"); }

    // each answer
    void acceptedChangeIsConfirmedAndReachesTheOtherDevice();
    void changeBehindTheOtherDevicesIsMergedAndItsNewerPartSentAgain();
    void changeToAReminderDeletedOnTheServerRemovesItOnTheSendingDevice();
    void refusedAnswerHoldsBackFurtherChangesUntilTheNextListing();
    void lostOrRefusedRequestIsSentAgainAfterTheNextListing_data();
    void lostOrRefusedRequestIsSentAgainAfterTheNextListing();

    // offline on both devices
    void offlineChangesToDifferentRemindersAllSurvive_data();
    void offlineChangesToDifferentRemindersAllSurvive();
    void offlineChangesToTheSameReminderTheFirstDeviceOnlineWinsIt_data();
    void offlineChangesToTheSameReminderTheFirstDeviceOnlineWinsIt();
    void changeAtOrAfterTheServersStampKeepsItsFieldsAndTakesTheOthers_data();
    void changeAtOrAfterTheServersStampKeepsItsFieldsAndTakesTheOthers();
    void deletionWinsOverChangesOnTheOtherDevice_data();
    void deletionWinsOverChangesOnTheOtherDevice();

    // a device gone before the answer
    void changeSavedButUnansweredIsSentByTheNextSessionOnTheSameData();

    // remind ids
    void newReminderAfterTheNewestWasDeletedGetsAFreshIdAndSurvives_data();
    void newReminderAfterTheNewestWasDeletedGetsAFreshIdAndSurvives();

    // randomised
    void randomScenariosKeepTheGuarantees();
};

// ------------------------------------------------------------ each answer

void TestTwoDevices::acceptedChangeIsConfirmedAndReachesTheOtherDevice()
{
    TwoDevices t;
    const QStringList ids = agreedReminders(t, 1);
    QCOMPARE(ids.size(), 1);
    const QString r = ids.first();
    t.traffic[0] = Traffic();

    t.editText(0, r, QStringLiteral("changed on A"));
    QVERIFY(t.quiesce());

    QCOMPARE(t.traffic[0].codesFor(r), QList<int> { 0 });
    QCOMPARE(t.item(0, r)->lastContentTime(), 0);
    QVERIFY(t.probe(0).pendingSync().isEmpty());
    QCOMPARE(t.serverFields(r).text, QStringLiteral("changed on A"));
    QCOMPARE(t.server->writerDevice(TwoDevices::kAccount, r), TwoDevices::deviceId(0));

    QVERIFY(t.goOnline(1));
    QCOMPARE(t.fields(1, r).text, QStringLiteral("changed on A"));
    QVERIFY(t.listUntilCalm());
    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
}

void TestTwoDevices::changeBehindTheOtherDevicesIsMergedAndItsNewerPartSentAgain()
{
    TwoDevices t;
    const QStringList ids = agreedReminders(t, 1);
    QCOMPARE(ids.size(), 1);
    const QString r = ids.first();

    t.editText(1, r, QStringLiteral("changed on B"));
    QVERIFY(t.quiesce());
    QCOMPARE(t.traffic[1].codesFor(r).last(), 0);
    t.advance(kMinute);
    t.traffic[0] = Traffic();

    // A has not seen B's change: the server answers with its state, A takes
    // B's text, keeps its newer completion and sends the result.
    QVERIFY(t.h(0)->completedReminder(r, true));
    QVERIFY(t.quiesce());

    QCOMPARE(t.traffic[0].codesFor(r), (QList<int> { 1, 0 }));
    QCOMPARE(t.fields(0, r).text, QStringLiteral("changed on B"));
    QVERIFY(t.fields(0, r).completed);
    QCOMPARE(t.serverFields(r).text, QStringLiteral("changed on B"));
    QVERIFY(t.serverFields(r).completed);
    QVERIFY(t.probe(0).pendingSync().isEmpty());

    QVERIFY(t.goOnline(1));
    QVERIFY(t.fields(1, r).completed);
    QCOMPARE(t.fields(1, r).text, QStringLiteral("changed on B"));
    QVERIFY(t.listUntilCalm());
    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
}

void TestTwoDevices::changeToAReminderDeletedOnTheServerRemovesItOnTheSendingDevice()
{
    TwoDevices t;
    const QStringList ids = agreedReminders(t, 2);
    QCOMPARE(ids.size(), 2);
    const QString r = ids.first();

    t.h(1)->deleteSelect(r);
    QVERIFY(t.quiesce());
    QVERIFY(t.server->isTombstoned(TwoDevices::kAccount, r));
    t.traffic[0] = Traffic();

    t.editText(0, r, QStringLiteral("too late"));
    QVERIFY(t.quiesce());

    QCOMPARE(t.traffic[0].codesFor(r), QList<int> { 1 });
    QVERIFY(!t.item(0, r));
    QVERIFY(!t.storedIds(0).contains(r));
    QVERIFY(t.probe(0).pendingSync().isEmpty());
    QVERIFY(t.item(0, ids.at(1)));
    QVERIFY2(deletionProblem(t, r).isEmpty(), qPrintable(deletionProblem(t, r)));
    QVERIFY(t.listUntilCalm());
    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
}

void TestTwoDevices::refusedAnswerHoldsBackFurtherChangesUntilTheNextListing()
{
    TwoDevices t;
    const QStringList ids = agreedReminders(t, 2);
    QCOMPARE(ids.size(), 2);
    t.traffic[0] = Traffic();

    t.server->answerNextWithCodeMinusOne(1);
    t.editText(0, ids.at(0), QStringLiteral("refused first"));
    QVERIFY(t.quiesce());
    QCOMPARE(t.traffic[0].codesFor(ids.at(0)), QList<int> { -1 });
    QVERIFY(!t.probe(0).listFinished());

    // Stored and kept, not sent.
    QVERIFY(t.h(0)->completedReminder(ids.at(1), true));
    QVERIFY(t.quiesce());
    QCOMPARE(t.traffic[0].sent, QStringList { ids.at(0) });
    QVERIFY(t.storedFields(0, ids.at(1)).completed);
    QCOMPARE(t.storedFields(0, ids.at(0)).text, QStringLiteral("refused first"));
    QVERIFY(t.probe(0).pendingSync().contains(ids.at(0)));
    QVERIFY(t.probe(0).pendingSync().contains(ids.at(1)));
    QCOMPARE(t.serverFields(ids.at(0)).text, QStringLiteral("reminder 1"));
    QVERIFY(!t.serverFields(ids.at(1)).completed);

    t.advance(kMinute);
    QVERIFY(t.goOnline(0));
    QCOMPARE(t.traffic[0].codesFor(ids.at(0)).last(), 0);
    QCOMPARE(t.traffic[0].codesFor(ids.at(1)).last(), 0);
    QVERIFY(t.probe(0).pendingSync().isEmpty());

    QVERIFY(t.goOnline(1));
    QCOMPARE(t.fields(1, ids.at(0)).text, QStringLiteral("refused first"));
    QVERIFY(t.fields(1, ids.at(1)).completed);
    QVERIFY(t.listUntilCalm());
    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
}

void TestTwoDevices::lostOrRefusedRequestIsSentAgainAfterTheNextListing_data()
{
    QTest::addColumn<bool>("lost");
    QTest::newRow("lost") << true;
    QTest::newRow("refused") << false;
}

void TestTwoDevices::lostOrRefusedRequestIsSentAgainAfterTheNextListing()
{
    QFETCH(bool, lost);

    TwoDevices t;
    const QStringList ids = agreedReminders(t, 1);
    QCOMPARE(ids.size(), 1);
    const QString r = ids.first();
    t.traffic[0] = Traffic();

    if (lost)
        t.server->dropNextRequests(1);
    else
        t.server->answerNextWithCodeMinusOne(1);
    t.editText(0, r, QStringLiteral("second try"));
    QVERIFY(t.quiesce());

    QCOMPARE(t.traffic[0].sent, QStringList { r });
    QCOMPARE(t.traffic[0].codesFor(r), lost ? QList<int>() : QList<int> { -1 });
    QCOMPARE(t.serverFields(r).text, QStringLiteral("reminder 1"));
    QVERIFY(t.probe(0).pendingSync().contains(r));
    // The other device's listing does not have it yet.
    QVERIFY(t.goOnline(1));
    QCOMPARE(t.fields(1, r).text, QStringLiteral("reminder 1"));

    t.advance(kMinute);
    QVERIFY(t.goOnline(0));
    QCOMPARE(t.traffic[0].codesFor(r).last(), 0);
    QCOMPARE(t.serverFields(r).text, QStringLiteral("second try"));
    QVERIFY(t.probe(0).pendingSync().isEmpty());

    QVERIFY(t.goOnline(1));
    QCOMPARE(t.fields(1, r).text, QStringLiteral("second try"));
    QVERIFY(t.listUntilCalm());
    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
}

// ----------------------------------------------------- offline on both

void TestTwoDevices::offlineChangesToDifferentRemindersAllSurvive_data()
{
    addOrderColumn();
}

void TestTwoDevices::offlineChangesToDifferentRemindersAllSurvive()
{
    QFETCH(int, first);

    TwoDevices t;
    const QStringList r = agreedReminders(t, 6);
    QCOMPARE(r.size(), 6);

    t.restartOffline(0);
    t.restartOffline(1);
    t.traffic[0] = Traffic();
    t.traffic[1] = Traffic();

    // Each reminder is changed on one device only.
    t.editText(0, r[0], QStringLiteral("text from A"));
    QVERIFY(t.h(1)->completedReminder(r[1], true));
    t.repeatDaily(0, r[2]);
    t.h(1)->snoozeReminder(r[3], 3000);
    t.h(0)->modifyRemindTime(r[4], dueIn(20));
    const QString newOnA = t.create(0, QStringLiteral("new on A"), dueIn(9));
    const QString newOnB = t.create(1, QStringLiteral("new on B"), dueIn(10));
    QVERIFY(TwoDevices::settle());
    // Nothing has gone out.
    QVERIFY(t.traffic[0].sent.isEmpty());
    QVERIFY(t.traffic[1].sent.isEmpty());

    QHash<QString, WireFields> expected;
    expected.insert(r[0], t.fields(0, r[0]));
    expected.insert(r[1], t.fields(1, r[1]));
    expected.insert(r[2], t.fields(0, r[2]));
    expected.insert(r[3], t.fields(1, r[3]));
    expected.insert(r[4], t.fields(0, r[4]));
    expected.insert(r[5], t.fields(0, r[5]));
    expected.insert(newOnA, t.fields(0, newOnA));
    expected.insert(newOnB, t.fields(1, newOnB));
    // The changes are what they should be, so that surviving means something.
    QCOMPARE(expected[r[0]].text, QStringLiteral("text from A"));
    QVERIFY(expected[r[1]].completed);
    QCOMPARE(expected[r[2]].interval, 1);
    QCOMPARE(expected[r[3]].valid, TwoDevices::now() + 3000 * kMinute);
    QCOMPARE(expected[r[4]].original, dueIn(20));
    QVERIFY(!t.fields(1, r[0]).sameValues(expected[r[0]]));
    QVERIFY(!t.fields(0, r[1]).sameValues(expected[r[1]]));
    QVERIFY(!t.fields(1, r[2]).sameValues(expected[r[2]]));
    QVERIFY(!t.fields(0, r[3]).sameValues(expected[r[3]]));
    QVERIFY(!t.fields(1, r[4]).sameValues(expected[r[4]]));

    t.advance(kMinute);
    QVERIFY(t.goOnline(first));
    t.advance(kMinute);
    QVERIFY(t.goOnline(1 - first));
    QVERIFY(t.listUntilCalm(first));

    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
    QCOMPARE(t.sortedIds(0).size(), 8);
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        for (int i = 0; i < 2; ++i)
            QVERIFY2(t.fields(i, it.key()).sameValues(it.value()),
                     qPrintable(QStringLiteral("%1 on device %2: %3, expected %4")
                                    .arg(it.key())
                                    .arg(i)
                                    .arg(t.fields(i, it.key()).toString(), it.value().toString())));
    }
}

void TestTwoDevices::offlineChangesToTheSameReminderTheFirstDeviceOnlineWinsIt_data()
{
    addOrderColumn();
}

void TestTwoDevices::offlineChangesToTheSameReminderTheFirstDeviceOnlineWinsIt()
{
    QFETCH(int, first);

    TwoDevices t;
    const QStringList ids = agreedReminders(t, 1);
    QCOMPARE(ids.size(), 1);
    const QString r = ids.first();
    const WireFields before = t.fields(0, r);

    t.restartOffline(0);
    t.restartOffline(1);
    // Both change the reminder offline, in different parts of it.
    t.editText(0, r, QStringLiteral("text from A"));
    QVERIFY(t.h(1)->completedReminder(r, true));
    t.h(1)->snoozeReminder(r, 3000);
    QVERIFY(TwoDevices::settle());
    const WireFields onA = t.fields(0, r);
    const WireFields onB = t.fields(1, r);
    QVERIFY(!onA.sameValues(before));
    QVERIFY(!onB.sameValues(before));
    QVERIFY(!onA.sameValues(onB));

    // Both changes are older than the moment the first of them is accepted:
    // the device online first wins the whole reminder.
    t.advance(kMinute);
    QVERIFY(t.goOnline(first));
    t.advance(kMinute);
    QVERIFY(t.goOnline(1 - first));
    QVERIFY(t.listUntilCalm(first));

    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
    const WireFields winner = first == 0 ? onA : onB;
    for (int i = 0; i < 2; ++i)
        QVERIFY2(t.fields(i, r).sameValues(winner),
                 qPrintable(QStringLiteral("device %1: %2, expected %3")
                                .arg(i)
                                .arg(t.fields(i, r).toString(), winner.toString())));
}

void TestTwoDevices::changeAtOrAfterTheServersStampKeepsItsFieldsAndTakesTheOthers_data()
{
    // When B completes the reminder, against the moment the server accepted
    // A's text change.
    QTest::addColumn<int>("when");
    QTest::addColumn<bool>("completionSurvives");
    QTest::newRow("before it") << -1 << false;
    QTest::newRow("at the same millisecond") << 0 << true;
    QTest::newRow("after it") << 1 << true;
}

void TestTwoDevices::changeAtOrAfterTheServersStampKeepsItsFieldsAndTakesTheOthers()
{
    QFETCH(int, when);
    QFETCH(bool, completionSurvives);

    TwoDevices t;
    const QStringList ids = agreedReminders(t, 1);
    QCOMPARE(ids.size(), 1);
    const QString r = ids.first();
    t.restartOffline(1);

    if (when < 0) {
        QVERIFY(t.h(1)->completedReminder(r, true));
        t.advance(kMinute);
    }
    const qint64 accepted = TwoDevices::now();
    t.editText(0, r, QStringLiteral("text from A"));
    QVERIFY(t.quiesce());
    QCOMPARE(t.server->updateTime(TwoDevices::kAccount, r), accepted);
    if (when > 0)
        t.advance(kMinute);
    if (when >= 0)
        QVERIFY(t.h(1)->completedReminder(r, true));
    QVERIFY(TwoDevices::settle());
    QCOMPARE(t.item(1, r)->lastCompletedTime(), accepted + (when > 0 ? kMinute : when < 0 ? -kMinute : 0));

    t.advance(kMinute);
    QVERIFY(t.goOnline(1));
    QVERIFY(t.listUntilCalm());

    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(t.fields(i, r).text, QStringLiteral("text from A"));
        QCOMPARE(t.fields(i, r).completed, completionSurvives);
    }
}

void TestTwoDevices::deletionWinsOverChangesOnTheOtherDevice_data()
{
    QTest::addColumn<bool>("deletionFirst");
    QTest::newRow("deletion reaches the server first") << true;
    QTest::newRow("the changes reach the server first") << false;
}

void TestTwoDevices::deletionWinsOverChangesOnTheOtherDevice()
{
    QFETCH(bool, deletionFirst);

    TwoDevices t;
    const QStringList ids = agreedReminders(t, 2);
    QCOMPARE(ids.size(), 2);
    const QString r = ids.first();

    t.restartOffline(1);
    t.editText(1, r, QStringLiteral("edited on B"));
    QVERIFY(t.h(1)->completedReminder(r, true));
    QVERIFY(TwoDevices::settle());

    t.advance(kMinute);
    if (deletionFirst) {
        t.h(0)->deleteSelect(r);
        QVERIFY(t.quiesce());
        t.advance(kMinute);
        QVERIFY(t.goOnline(1));
    } else {
        QVERIFY(t.goOnline(1));
        QCOMPARE(t.serverFields(r).text, QStringLiteral("edited on B"));
        t.advance(kMinute);
        t.h(0)->deleteSelect(r);
        QVERIFY(t.quiesce());
    }
    QVERIFY(t.listUntilCalm());

    QVERIFY2(deletionProblem(t, r).isEmpty(), qPrintable(deletionProblem(t, r)));
    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
    QCOMPARE(t.sortedIds(0), QStringList { ids.at(1) });
}

// ------------------------------------------------------------- remind ids

// The server keeps a deleted reminder's id as a tombstone. Were a new
// reminder to take that id again, the server would answer it as deleted and
// the device would drop it: the sequence must step over deleted ids, also
// across restarts and after the device lost its data.
void TestTwoDevices::newReminderAfterTheNewestWasDeletedGetsAFreshIdAndSurvives_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("deleted on this device") << QStringLiteral("here");
    QTest::newRow("deleted on the other device") << QStringLiteral("other");
    QTest::newRow("deleted, then this device's data lost") << QStringLiteral("data lost");
}

void TestTwoDevices::newReminderAfterTheNewestWasDeletedGetsAFreshIdAndSurvives()
{
    QFETCH(QString, how);

    TwoDevices t;
    const QStringList ids = agreedReminders(t, 2);
    QCOMPARE(ids, (QStringList { QStringLiteral("1_1"), QStringLiteral("1_2") }));
    const QString newest = ids.last();

    if (how == QLatin1String("other")) {
        t.h(1)->deleteSelect(newest);
        QVERIFY(t.quiesce());
        QVERIFY(t.goOnline(0));
    } else {
        t.h(0)->deleteSelect(newest);
        QVERIFY(t.quiesce());
    }
    QVERIFY(!t.item(0, newest));
    QVERIFY(t.server->isTombstoned(TwoDevices::kAccount, newest));

    // The application restarts (on a new, empty data directory when lost).
    t.device[0].reset();
    if (how == QLatin1String("data lost"))
        QVERIFY(QDir(t.dir.filePath(QStringLiteral("device1"))).removeRecursively());
    t.advance(kMinute);
    t.create(0);
    QVERIFY(t.signIn(0));

    const QString fresh = t.create(0, QStringLiteral("made after the restart"), dueIn(6));
    QCOMPARE(fresh, QStringLiteral("1_3"));
    QVERIFY(t.quiesce());
    // Made, then given its time: two requests, each accepted.
    QCOMPARE(t.traffic[0].codesFor(fresh), (QList<int> { 0, 0 }));
    QVERIFY(t.goOnline(1));
    QVERIFY(t.listUntilCalm());

    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
    QVERIFY2(deletionProblem(t, newest).isEmpty(), qPrintable(deletionProblem(t, newest)));
    QCOMPARE(t.sortedIds(0), (QStringList { ids.first(), fresh }));
    QCOMPARE(t.fields(1, fresh).text, QStringLiteral("made after the restart"));
}

// ------------------------------------------------ gone before the answer

void TestTwoDevices::changeSavedButUnansweredIsSentByTheNextSessionOnTheSameData()
{
    TwoDevices t;
    const QStringList ids = agreedReminders(t, 1);
    QCOMPARE(ids.size(), 1);
    const QString r = ids.first();

    t.server->dropNextRequests(1);
    t.editText(0, r, QStringLiteral("saved, never answered"));
    QVERIFY(t.quiesce());
    QCOMPARE(t.traffic[0].sent.last(), r);
    QCOMPARE(t.serverFields(r).text, QStringLiteral("reminder 1"));
    QCOMPARE(t.storedFields(0, r).text, QStringLiteral("saved, never answered"));

    // The handler goes away with its device before any answer.
    t.device[0].reset();
    t.advance(kMinute);
    t.create(0);
    QVERIFY(t.signIn(0));

    QCOMPARE(t.traffic[0].codesFor(r).last(), 0);
    QCOMPARE(t.serverFields(r).text, QStringLiteral("saved, never answered"));
    QVERIFY(t.probe(0).pendingSync().isEmpty());
    QVERIFY(t.goOnline(1));
    QCOMPARE(t.fields(1, r).text, QStringLiteral("saved, never answered"));
    QVERIFY(t.listUntilCalm());
    QVERIFY2(convergenceProblem(t).isEmpty(), qPrintable(convergenceProblem(t)));
}

// ------------------------------------------------------------- randomised

namespace {

// One randomised scenario: two devices, reminders made on both, rounds of
// random changes made online or offline, with answers held, released in or
// out of order, delayed, lost or refused, devices coming online in random
// order or together; then everyone lists until nothing is left to send.
class Scenario
{
public:
    Scenario(TwoDevices& t, std::mt19937_64& rng) : t(t), rng(rng) {}

    // Empty on success, else what went wrong, with the scenario's log.
    QString run()
    {
        if (!t.signIn(0) || !t.signIn(1))
            return fail(QStringLiteral("sign-in did not finish"));
        for (int n = 0, count = 1 + below(3); n < count; ++n) {
            step();
            doCreate(0);
        }
        for (int n = 0, count = 1 + below(2); n < count; ++n) {
            step();
            doCreate(1);
        }
        if (!t.quiesce() || !t.goOnline(0) || !t.goOnline(1))
            return fail(QStringLiteral("setup did not finish"));

        for (int round = 0, rounds = 1 + below(3); round < rounds; ++round) {
            const QString problem = playRound(round);
            if (!problem.isEmpty())
                return fail(problem);
        }

        // Everyone lists until nothing more is sent.
        t.server->holdAnswers(false);
        t.server->releaseHeld();
        t.server->setAnswerDelay(0);
        if (!t.quiesce())
            return fail(QStringLiteral("did not settle before the last listings"));
        bool calm = false;
        for (int pass = 0; pass < 8 && !calm; ++pass) {
            const qsizetype sent = t.traffic[0].sent.size() + t.traffic[1].sent.size();
            const int firstDevice = below(2);
            for (int k = 0; k < 2; ++k) {
                step();
                if (!t.goOnline(k == 0 ? firstDevice : 1 - firstDevice))
                    return fail(QStringLiteral("a last listing did not finish"));
            }
            calm = t.traffic[0].sent.size() + t.traffic[1].sent.size() == sent
                && t.probe(0).pendingSync().isEmpty() && t.probe(1).pendingSync().isEmpty();
            log << QStringLiteral("final listings, pass %1%2").arg(pass).arg(calm ? " (calm)" : "");
        }
        if (!calm)
            return fail(QStringLiteral("still sending after eight rounds of listings"));
        return check();
    }

    QStringList log;

private:
    enum Kind { Create, EditText, Complete, Reopen, Snooze, Reschedule, RepeatDaily, Delete };

    int below(int n) { return int(std::uniform_int_distribution<int>(0, n - 1)(rng)); }
    bool chance(int percent) { return below(100) < percent; }

    // Every change happens at least a second after the last one, so that
    // the server's stamps never run ahead of the devices' clock.
    void step() { TwoDevices::advance(kSecond + qint64(below(120)) * kSecond); }

    QString fail(const QString& why) const
    {
        return why + QStringLiteral("\n  scenario log:\n    ") + log.join(QStringLiteral("\n    "));
    }

    // Requests of device i for `id` that have had no answer yet and were
    // not lost.
    int outstanding(int i, const QString& id) const
    {
        return int(t.traffic[i].sent.count(id)) - int(t.traffic[i].codesFor(id).size()) - dropped[i].value(id);
    }
    bool atMostOneOutstandingEach() const
    {
        for (int i = 0; i < 2; ++i) {
            for (const QString& id : t.traffic[i].sent) {
                if (outstanding(i, id) > 1)
                    return false;
            }
        }
        return true;
    }

    // Delivers held answers: reversed only when no device has two answers
    // for the same reminder among them (an answer confirms the reminder,
    // not one request, so two answers of one reminder must come in order).
    void deliverHeld()
    {
        t.quiesce();
        if (atMostOneOutstandingEach() && chance(50)) {
            t.server->reorderHeld();
            log << QStringLiteral("held answers delivered in reverse order");
        } else {
            t.server->releaseHeld();
            log << QStringLiteral("held answers delivered in order");
        }
        t.quiesce();
    }

    QString playRound(int round)
    {
        bool offline[2] = { chance(50), chance(50) };
        for (int i = 0; i < 2; ++i) {
            if (offline[i]) {
                t.restartOffline(i);
                log << QStringLiteral("round %1: device %2 restarts offline").arg(round).arg(i);
            }
        }
        const bool holding = chance(40);
        if (holding) {
            t.server->holdAnswers(true);
            log << QStringLiteral("answers held");
        }
        if (chance(20)) {
            const int ms = 1 + below(3);
            t.server->setAnswerDelay(ms);
            log << QStringLiteral("answers delayed %1 ms").arg(ms);
        }
        for (int n = 0, ops = 2 + below(6); n < ops; ++n) {
            step();
            const QString problem = randomChange(below(2), holding);
            if (!problem.isEmpty())
                return problem;
            if (holding && chance(20))
                deliverHeld();
        }
        t.server->holdAnswers(false);
        if (holding)
            deliverHeld();
        t.server->setAnswerDelay(0);
        if (!t.quiesce())
            return QStringLiteral("round %1 did not settle").arg(round);

        // Online again: one after the other in random order, or together.
        const int firstDevice = below(2);
        if (chance(25)) {
            log << QStringLiteral("both devices list together");
            QSignalSpy a(t.d(0), &DeviceSession::listFinished);
            QSignalSpy b(t.d(1), &DeviceSession::listFinished);
            step();
            t.d(firstDevice)->relist();
            t.d(1 - firstDevice)->relist();
            if ((a.isEmpty() && !a.wait(TwoDevices::kWait)) || (b.isEmpty() && !b.wait(TwoDevices::kWait))
                || !t.quiesce())
                return QStringLiteral("listing together did not finish");
        } else {
            for (int k = 0; k < 2; ++k) {
                const int i = k == 0 ? firstDevice : 1 - firstDevice;
                if (!offline[i] && chance(50))
                    continue;
                step();
                log << QStringLiteral("device %1 lists").arg(i);
                if (!t.goOnline(i))
                    return QStringLiteral("a listing did not finish");
            }
        }
        return QString();
    }

    QString pick(int i)
    {
        const QStringList ids = t.sortedIds(i);
        return ids.isEmpty() ? QString() : ids.at(below(int(ids.size())));
    }

    void doCreate(int i)
    {
        const QString id = t.create(i, QStringLiteral("made on %1 #%2").arg(i).arg(++counter), dueIn(2 + below(30)));
        // An id made twice would meet its own past on the server.
        if (created.contains(id))
            madeAgain << id;
        created.insert(id);
        changedBy[id].insert(i);
        log << QStringLiteral("device %1 creates %2%3").arg(i).arg(id).arg(t.probe(i).listFinished() ? "" : " (offline)");
        t.quiesce();
        latest[id] = t.fields(i, id);
    }

    QString randomChange(int i, bool holding)
    {
        const QString id = pick(i);
        Kind kind = Kind(1 + below(7));
        if (id.isEmpty() || chance(12))
            kind = Create;
        if (kind == Create) {
            doCreate(i);
            return QString();
        }

        // A request lost or refused, only while answers flow (see
        // docs/sync.md: an earlier answer of the same reminder would
        // confirm the change) and only when this change's request is the
        // next to reach the server.
        enum { NoFault, Drop, Refuse } fault = NoFault;
        if (!holding && kind != Delete && t.probe(i).listFinished() && outstanding(i, id) == 0 && chance(15))
            fault = chance(50) ? Drop : Refuse;
        if (fault == Drop)
            t.server->dropNextRequests(1);
        else if (fault == Refuse)
            t.server->answerNextWithCodeMinusOne(1);
        const qsizetype sentBefore = t.traffic[i].sent.size();

        QString what;
        switch (kind) {
        case EditText:
            what = QStringLiteral("edits the text of");
            t.editText(i, id, QStringLiteral("text %1 from %2").arg(++counter).arg(i));
            break;
        case Complete:
            what = QStringLiteral("completes");
            t.h(i)->completedReminder(id, true);
            break;
        case Reopen:
            what = QStringLiteral("reopens");
            t.h(i)->completedReminder(id, false);
            break;
        case Snooze: {
            const int minutes = 2000 + below(20000);
            what = QStringLiteral("snoozes %1 min").arg(minutes);
            t.h(i)->snoozeReminder(id, minutes);
            break;
        }
        case Reschedule:
            what = QStringLiteral("reschedules");
            t.h(i)->modifyRemindTime(id, dueIn(2 + below(30)));
            break;
        case RepeatDaily:
            what = QStringLiteral("repeats daily");
            t.repeatDaily(i, id);
            break;
        case Delete:
            what = QStringLiteral("deletes");
            t.h(i)->deleteSelect(id);
            break;
        case Create:
            break;
        }
        // Every answer not held is in before the next change.
        t.quiesce();
        log << QStringLiteral("device %1 %2 %3%4%5")
                   .arg(i)
                   .arg(what, id)
                   .arg(t.probe(i).listFinished() ? "" : " (offline)")
                   .arg(fault == Drop ? " - request lost" : fault == Refuse ? " - request refused" : "");
        if (fault != NoFault
            && (t.traffic[i].sent.size() != sentBefore + 1 || t.traffic[i].sent.last() != id))
            return QStringLiteral("the change to %1 did not send exactly one request").arg(id);
        if (fault == Drop)
            ++dropped[i][id];

        changedBy[id].insert(i);
        if (kind == Delete)
            deleted.insert(id);
        else
            latest[id] = t.fields(i, id);
        return QString();
    }

    QString check()
    {
        QStringList problems;
        const QString converged = convergenceProblem(t);
        if (!converged.isEmpty())
            problems << converged;
        for (const QString& id : std::as_const(deleted)) {
            const QString p = deletionProblem(t, id);
            if (!p.isEmpty())
                problems << p;
        }
        for (const QString& id : std::as_const(madeAgain))
            problems << QStringLiteral("%1 was made a second time").arg(id);
        const QStringList live = t.serverLiveIds();
        for (const QString& id : std::as_const(created)) {
            if (!deleted.contains(id) && !live.contains(id))
                problems << QStringLiteral("%1 was lost").arg(id);
        }
        // A reminder changed on one device only has that device's values.
        for (auto it = latest.cbegin(); it != latest.cend(); ++it) {
            if (deleted.contains(it.key()) || changedBy.value(it.key()).size() != 1)
                continue;
            const int i = *changedBy.value(it.key()).cbegin();
            const WireFields now = t.fields(1 - i, it.key());
            if (!now.sameValues(it.value()))
                problems << QStringLiteral("%1, changed on device %2 only: %3 on the other device, expected %4")
                                .arg(it.key())
                                .arg(i)
                                .arg(now.toString(), it.value().toString());
        }
        return problems.isEmpty() ? QString() : fail(problems.join(QStringLiteral("\n")));
    }

    TwoDevices& t;
    std::mt19937_64& rng;
    int counter = 0;
    QSet<QString> created;
    QStringList madeAgain;
    QSet<QString> deleted;
    QHash<QString, QSet<int>> changedBy;
    QHash<QString, WireFields> latest; // each reminder's values after its last change
    QHash<QString, int> dropped[2];
};

quint64 seedFromEnvironment(bool* given)
{
    const QByteArray text = qgetenv("REMINDER_SYNC_SEED");
    bool ok = false;
    const quint64 seed = text.toULongLong(&ok);
    *given = ok;
    return ok ? seed : QRandomGenerator::system()->generate64();
}

} // namespace

void TestTwoDevices::randomScenariosKeepTheGuarantees()
{
    bool given = false;
    const quint64 seed = seedFromEnvironment(&given);
    bool countGiven = false;
    const int scenarios = qEnvironmentVariableIntValue("REMINDER_SYNC_SCENARIOS", &countGiven);
    const int count = countGiven && scenarios > 0 ? scenarios : 100;
    qInfo("seed %llu%s (set REMINDER_SYNC_SEED to repeat it), %d scenarios", seed,
          given ? " from REMINDER_SYNC_SEED" : "", count);

    // The scenarios are about the order of events, not about durability:
    // their many small databases go to memory-backed storage when the
    // system has it, where creating one costs no disk flushes.
    const QString base = QFileInfo(QStringLiteral("/dev/shm")).isWritable() ? QStringLiteral("/dev/shm") : QString();

    std::mt19937_64 rng(seed);
    for (int n = 0; n < count; ++n) {
        TwoDevices t(base);
        QVERIFY(t.dir.isValid());
        Scenario scenario(t, rng);
        const QString problem = scenario.run();
        if (!problem.isEmpty()) {
            // The whole story, line by line (a failure message is cut short).
            for (const QString& line : problem.split(QLatin1Char('\n')))
                qWarning("%s", qPrintable(line));
        }
        QVERIFY2(problem.isEmpty(),
                 qPrintable(QStringLiteral("seed %1, scenario %2:\n%3").arg(seed).arg(n).arg(problem)));
    }
}

QTEST_GUILESS_MAIN(TestTwoDevices)
#include "tst_twodevices.moc"
