// ReminderHandler and the server: the answers to a sent reminder (accepted,
// the server's state, deleted, stop sending), the reminders of a listing,
// remind ids made per device, and changes made before the first listing.
// Every outcome is read on the item, in storage, in the set of unconfirmed
// ids, in the requests sent and in the notifications.
#include "handlerfixture.h"
#include "reminderpattern.h"

namespace {

const QString kA = QStringLiteral("7_1");
const QString kB = QStringLiteral("7_2");
constexpr qint64 kMinute = 60000;

// The fixture's clock: 2031-06-02 12:00 local time.
qint64 noon()
{
    return at(2031, 6, 2, 12);
}

// A remind time well ahead of the fixture's clock: nothing fires.
qint64 later()
{
    return at(2031, 6, 5, 9);
}

// Loads what was stored; with `listed` the host's first listing is over, so
// every change is also sent. The spies start empty afterwards.
void start(HandlerFixture& f, bool listed = true)
{
    f.handler->loadLocalData(false);
    if (listed)
        QMetaObject::invokeMethod(f.handler, "onListFinished");
    f.settle();
    f.notified->clear();
    f.withdrawn->clear();
    f.sent->clear();
    f.deleted->clear();
}

void finishList(HandlerFixture& f)
{
    QMetaObject::invokeMethod(f.handler, "onListFinished");
    f.settle();
}

ReminderItemPtr live(HandlerFixture& f, const QString& id)
{
    return f.handler->reminderModel()->itemById(id);
}

bool storedRecordExists(HandlerFixture& f, const QString& id)
{
    bool found = false;
    f.store()->info(id, &found);
    return found;
}

// What the server holds of a reminder, as the fields a test sets.
struct ServerState
{
    QString text = QStringLiteral("call Bob");
    qint64 updateTime = 0;
    qint64 original = 0;
    qint64 shown = 0;
    qint64 valid = 0;
    qint64 order = 0;
    int interval = 0;
    int unit = 0;
    int dayOfWeek = 0;
    int snooze = 0;
    bool completed = false;
    bool reminded = false;
    bool read = true;
};

// The server's message for `id`: content encrypted with the account's key,
// as another device of the account would have sent it.
QByteArray serverBytes(AccountBase* account, const QString& id, const ServerState& s)
{
    im::content::ReminderContent rc;
    auto* c = rc.add_content();
    c->set_type(ContentItem::TextType);
    c->mutable_text()->set_text(s.text.toStdString());
    QByteArray key;
    const QByteArray cipher = account->encrypt(QByteArray::fromStdString(rc.SerializeAsString()), key);

    im::content::Reminder msg;
    msg.set_id(id.toStdString());
    msg.set_content(cipher.toStdString());
    msg.set_key(key.toStdString());
    msg.set_update_time(s.updateTime);
    msg.set_original_remind_time(s.original);
    msg.set_show_remind_time(s.shown);
    msg.set_valid_time(s.valid);
    msg.set_order_time(s.order);
    msg.set_snooze(s.snooze);
    msg.set_completed(s.completed);
    msg.set_reminded(s.reminded);
    msg.set_read(s.read);
    msg.set_has_repeat(true);
    auto* p = msg.mutable_pattern();
    p->set_interval(s.interval);
    p->set_unit(s.unit);
    p->set_day_of_week(s.dayOfWeek);
    return QByteArray::fromStdString(msg.SerializeAsString());
}

// The server's state of a reminder made with HandlerFixture::makeItem(id,
// later()): the same series, changed on the server at `updateTime`.
ServerState sameSeries(qint64 updateTime)
{
    ServerState s;
    s.updateTime = updateTime;
    s.original = later();
    s.shown = later();
    s.order = later();
    return s;
}

// The text a sent request carries, decrypted.
QString sentText(HandlerFixture& f, int i)
{
    const im::content::Reminder msg = f.sentMessage(i);
    const QByteArray plain =
        f.account->decrypt(QByteArray::fromStdString(msg.content()), QByteArray::fromStdString(msg.key()));
    im::content::ReminderContent rc;
    if (plain.isNull() || !rc.ParseFromArray(plain.constData(), int(plain.size())) || rc.content_size() == 0)
        return QStringLiteral("<no text>");
    return QString::fromStdString(rc.content(0).text().text());
}

QString sentId(HandlerFixture& f, int i)
{
    return f.sent->at(i).at(0).toString();
}

// A stored reminder with an unsent change of every kind, made before the
// fixture's clock.
ReminderItemPtr withUnsentChanges(const QString& id, const QString& text = QStringLiteral("call Bob"))
{
    ReminderItemPtr item = HandlerFixture::makeItem(id, later(), text);
    item->setLastContentTime(noon() - 40 * kMinute);
    item->setLastCompletedTime(noon() - 30 * kMinute);
    item->setLastPatternTime(noon() - 20 * kMinute);
    item->setLastUnreadTime(noon() - 10 * kMinute);
    return item;
}

} // namespace

class TestReminderSync : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ReminderHandler::registerMetaType("unused"); }

    // accepted
    void acceptedClearsTheFourChangeTimesTheStoredExtraAndThePendingId();

    // deleted on the server
    void deletedOnServerRemovesTheRecordTheListEntryAndThePendingId();

    // the server's state
    void olderLocalChangesTakeTheServersTextCompletionAndRuleAndStoreThem();
    void newerLocalTextIsKeptAndSentAgainAtOnce();
    void mergeIntoTheOpenEditClearsAttachmentModifyAndMakesTheMergedContentTheBackup();
    void mergeThatMakesAnOpenReminderUnreadNotifiesIt();
    void mergeThatMovesTheFiringTimesWithdrawsAStandingNotification_data();
    void mergeThatMovesTheFiringTimesWithdrawsAStandingNotification();

    // stop sending
    void refusedStopsSendingAndTheNextListingSendsTheStoredChanges();

    // unknown ids
    void answersForAnUnknownIdChangeNothing_data();
    void answersForAnUnknownIdChangeNothing();
    void answersForAnIdNoLongerInTheListOnlyLeaveThePendingSet_data();
    void answersForAnIdNoLongerInTheListOnlyLeaveThePendingSet();

    // listing
    void listedEmptyDataDeletesTheRecordAndTheListEntry();
    void listedUnknownIdCreatesTheReminderFromTheServersMessage();
    void listingWithoutAnIdIsIgnored();
    void listedReminderWithUnsentChangesIsMerged();
    void listedReminderWithoutUnsentChangesTakesTheServersStateWhole();

    // remind ids
    void storedIdsSetTheSequenceOfNewIds_data();
    void storedIdsSetTheSequenceOfNewIds();
    void removedIdsCountForTheSequenceOfNewIds_data();
    void removedIdsCountForTheSequenceOfNewIds();
    void deletedNewestReminderIdIsNotMadeAgainAfterARestart_data();
    void deletedNewestReminderIdIsNotMadeAgainAfterARestart();
    void listedIdsCountForTheSequenceOfNewIds_data();
    void listedIdsCountForTheSequenceOfNewIds();

    // before the first listing
    void reminderCreatedBeforeTheFirstListingIsStoredAndSentByTheRetry();
};

// -------------------------------------------------------------- accepted

void TestReminderSync::acceptedClearsTheFourChangeTimesTheStoredExtraAndThePendingId()
{
    HandlerFixture f;
    f.storeItem(withUnsentChanges(kA));
    start(f);
    // Loading found the unsent changes; the retry after the listing sent them.
    QVERIFY(f.probe->pendingSync().contains(kA));
    QVERIFY(!f.record(kA).extra.isEmpty());
    QVERIFY(f.storedItem(kA));
    QCOMPARE(f.storedItem(kA)->lastContentTime(), noon() - 40 * kMinute);

    f.handler->syncFinished(kA, QByteArray(), 0);
    f.settle();

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item);
    QCOMPARE(item->lastContentTime(), 0);
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->lastPatternTime(), 0);
    QCOMPARE(item->lastUnreadTime(), 0);
    QVERIFY(f.record(kA).extra.isEmpty());
    const ReminderItemPtr stored = f.storedItem(kA);
    QVERIFY(stored);
    QCOMPARE(stored->lastContentTime(), 0);
    QCOMPARE(stored->lastUnreadTime(), 0);
    // The rest of the record is untouched.
    QCOMPARE(stored->text(), QStringLiteral("call Bob"));
    QVERIFY(!f.probe->pendingSync().contains(kA));
    QCOMPARE(f.sent->count(), 0);
}

// ------------------------------------------------------ deleted on server

void TestReminderSync::deletedOnServerRemovesTheRecordTheListEntryAndThePendingId()
{
    HandlerFixture f;
    f.storeItem(withUnsentChanges(kA));
    f.storeItem(HandlerFixture::makeItem(kB, later()));
    start(f);
    QVERIFY(f.probe->pendingSync().contains(kA));

    f.handler->syncFinished(kA, QByteArray(), 1);
    f.settle();

    QVERIFY(!storedRecordExists(f, kA));
    QVERIFY(!live(f, kA));
    QVERIFY(!f.probe->pendingSync().contains(kA));
    QCOMPARE(f.handler->reminderModel()->count(), 1);
    QVERIFY(live(f, kB));
    QVERIFY(storedRecordExists(f, kB));
    QCOMPARE(f.sent->count(), 0);
}

// ------------------------------------------------------ the server's state

void TestReminderSync::olderLocalChangesTakeTheServersTextCompletionAndRuleAndStoreThem()
{
    HandlerFixture f;
    f.storeItem(withUnsentChanges(kA));
    start(f);
    QVERIFY(f.probe->pendingSync().contains(kA));

    // Changed on the server after every local change.
    ServerState s = sameSeries(noon() - 5 * kMinute);
    s.text = QStringLiteral("call Alice");
    s.completed = true;
    s.interval = 1;
    s.unit = 1;
    s.dayOfWeek = 31;
    f.handler->syncFinished(kA, serverBytes(f.account.get(), kA, s), 1);
    f.settle();

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item);
    QCOMPARE(item->text(), QStringLiteral("call Alice"));
    QVERIFY(item->completed());
    QCOMPARE(item->interval(), 1);
    QCOMPARE(item->unit(), 1);
    QCOMPARE(item->dayOfWeekFlags(), 31);
    QCOMPARE(item->timestamp(), noon() - 5 * kMinute);
    QCOMPARE(item->lastContentTime(), 0);
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->lastPatternTime(), 0);

    const ReminderItemPtr stored = f.storedItem(kA);
    QVERIFY(stored);
    QCOMPARE(stored->text(), QStringLiteral("call Alice"));
    QVERIFY(stored->completed());
    QVERIFY(f.record(kA).completed);
    QCOMPARE(stored->interval(), 1);
    QCOMPARE(stored->unit(), 1);
    QCOMPARE(stored->dayOfWeekFlags(), 31);
    QCOMPARE(stored->timestamp(), noon() - 5 * kMinute);

    QVERIFY(!f.probe->pendingSync().contains(kA));
    // Nothing local was newer: nothing goes out again.
    QCOMPARE(f.sent->count(), 0);
    QCOMPARE(f.handler->reminderModel()->completedCount(), 1);
}

void TestReminderSync::newerLocalTextIsKeptAndSentAgainAtOnce()
{
    HandlerFixture f;
    ReminderItemPtr stored = HandlerFixture::makeItem(kA, later(), QStringLiteral("local text"));
    stored->setLastContentTime(noon() - 10 * kMinute);
    f.storeItem(stored);
    start(f);

    // The server's state is older than the local text, newer than nothing
    // else: its completion is taken, the local text stays.
    ServerState s = sameSeries(noon() - 60 * kMinute);
    s.text = QStringLiteral("server text");
    s.completed = true;
    f.handler->syncFinished(kA, serverBytes(f.account.get(), kA, s), 1);
    f.settle();

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item);
    QCOMPARE(item->text(), QStringLiteral("local text"));
    QVERIFY(item->completed());
    QCOMPARE(item->lastContentTime(), noon() - 10 * kMinute);

    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(sentId(f, 0), kA);
    QCOMPARE(sentText(f, 0), QStringLiteral("local text"));
    QVERIFY(f.sentMessage(0).completed());
    // Stored as merged.
    QVERIFY(f.storedItem(kA));
    QCOMPARE(f.storedItem(kA)->text(), QStringLiteral("local text"));
    QVERIFY(f.storedItem(kA)->completed());
}

void TestReminderSync::mergeIntoTheOpenEditClearsAttachmentModifyAndMakesTheMergedContentTheBackup()
{
    HandlerFixture f;
    // Without a body, so that the merged body is a new object (a text body
    // would only change its text in place).
    f.storeItem(withUnsentChanges(kA, QString()));
    start(f);
    QVERIFY(live(f, kA));
    QVERIFY(!live(f, kA)->content());

    f.handler->editReminder(kA);
    f.handler->setAttachmentModify(true);
    // The user types: the edit now differs from what it opened with.
    f.handler->setContent(QStringLiteral("typing"));
    QSignalSpy modify(f.handler, &ReminderHandler::attachmentModifyChanged);
    QSignalSpy attachment(f.handler, &ReminderHandler::attachmentItemChanged);

    ServerState s = sameSeries(noon() - 5 * kMinute);
    s.text = QStringLiteral("from the server");
    f.handler->syncFinished(kA, serverBytes(f.account.get(), kA, s), 1);
    f.settle();

    QVERIFY(!f.handler->attachmentModify());
    QCOMPARE(modify.count(), 1);
    QVERIFY(attachment.count() >= 1);
    QCOMPARE(f.handler->attachmentItem()->content(), QStringLiteral("from the server"));

    // Cancelling the edit goes back to its backup: the merged body, not the
    // missing one the edit was opened with.
    f.handler->cancel();
    f.settle();
    QVERIFY(live(f, kA));
    QCOMPARE(live(f, kA)->text(), QStringLiteral("from the server"));
    QVERIFY(f.storedItem(kA));
    QCOMPARE(f.storedItem(kA)->text(), QStringLiteral("from the server"));
}

void TestReminderSync::mergeThatMakesAnOpenReminderUnreadNotifiesIt()
{
    HandlerFixture f;
    ReminderItemPtr stored = withUnsentChanges(kA);
    stored->setSnooze(10);
    f.storeItem(stored);
    start(f);
    QVERIFY(live(f, kA));
    QVERIFY(!live(f, kA)->unread());

    // Another device saw it fire and left it unread.
    ServerState s = sameSeries(noon() - 5 * kMinute);
    s.snooze = 10;
    s.read = false;
    f.handler->syncFinished(kA, serverBytes(f.account.get(), kA, s), 1);
    f.settle();

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item);
    QVERIFY(item->unread());
    QVERIFY(!item->completed());
    QVERIFY(!item->reminded());
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.notifiedIdsOfCall(0), QStringList { kA });
    QCOMPARE(f.withdrawn->count(), 0);
}

void TestReminderSync::mergeThatMovesTheFiringTimesWithdrawsAStandingNotification_data()
{
    QTest::addColumn<int>("snooze");
    QTest::addColumn<qint64>("valid");
    QTest::addColumn<bool>("withdrawn");
    QTest::newRow("snooze period changed") << 30 << qint64(0) << true;
    QTest::newRow("valid time changed") << 10 << qint64(later() + 10 * kMinute) << true;
    QTest::newRow("firing times unchanged") << 10 << qint64(0) << false;
}

void TestReminderSync::mergeThatMovesTheFiringTimesWithdrawsAStandingNotification()
{
    QFETCH(int, snooze);
    QFETCH(qint64, valid);
    QFETCH(bool, withdrawn);

    HandlerFixture f;
    ReminderItemPtr stored = withUnsentChanges(kA);
    stored->setSnooze(10);
    f.storeItem(stored);
    start(f);
    // Its notification is standing.
    f.probe->notifiedIdsRef().insert(kA);

    ServerState s = sameSeries(noon() - 5 * kMinute);
    s.snooze = snooze;
    s.valid = valid;
    f.handler->syncFinished(kA, serverBytes(f.account.get(), kA, s), 1);
    f.settle();

    QVERIFY(live(f, kA));
    QCOMPARE(live(f, kA)->snooze(), snooze);
    QCOMPARE(live(f, kA)->validTime(), valid);
    QCOMPARE(f.notified->count(), 0);
    if (withdrawn) {
        QCOMPARE(f.withdrawn->count(), 1);
        QCOMPARE(f.withdrawn->at(0).at(0).toLongLong(), f.account->accountId());
        QCOMPARE(f.withdrawn->at(0).at(1).toString(), kA);
        QVERIFY(!f.probe->notifiedIds().contains(kA));
    } else {
        QCOMPARE(f.withdrawn->count(), 0);
        QVERIFY(f.probe->notifiedIds().contains(kA));
    }
}

// ----------------------------------------------------------- stop sending

void TestReminderSync::refusedStopsSendingAndTheNextListingSendsTheStoredChanges()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, later()));
    f.storeItem(HandlerFixture::makeItem(kB, later()));
    start(f);
    QVERIFY(f.probe->listFinished());

    f.handler->syncFinished(kA, QByteArray(), -1);
    QVERIFY(!f.probe->listFinished());

    QVERIFY(f.handler->completedReminder(kA, true));
    f.handler->snoozeReminder(kB, 30);
    f.settle();

    // Stored, kept as unconfirmed, not sent.
    QVERIFY(f.record(kA).completed);
    QVERIFY(f.storedItem(kA));
    QVERIFY(f.storedItem(kA)->completed());
    QVERIFY(f.storedItem(kB));
    QCOMPARE(f.storedItem(kB)->validTime(), noon() + 30 * kMinute);
    QVERIFY(f.probe->pendingSync().contains(kA));
    QVERIFY(f.probe->pendingSync().contains(kB));
    QCOMPARE(f.sent->count(), 0);

    finishList(f);

    QCOMPARE(f.sent->count(), 2);
    QStringList ids { sentId(f, 0), sentId(f, 1) };
    ids.sort();
    QCOMPARE(ids, (QStringList { kA, kB }));
    for (int i = 0; i < 2; ++i) {
        if (sentId(f, i) == kA)
            QVERIFY(f.sentMessage(i).completed());
        else
            QCOMPARE(f.sentMessage(i).valid_time(), noon() + 30 * kMinute);
    }
    // Still unconfirmed until an answer comes.
    QVERIFY(f.probe->pendingSync().contains(kA));
}

// ------------------------------------------------------------ unknown ids

void TestReminderSync::answersForAnUnknownIdChangeNothing_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("withData");
    QTest::newRow("accepted") << 0 << false;
    QTest::newRow("server state") << 1 << true;
    QTest::newRow("deleted on the server") << 1 << false;
}

void TestReminderSync::answersForAnUnknownIdChangeNothing()
{
    QFETCH(int, code);
    QFETCH(bool, withData);

    HandlerFixture f;
    f.storeItem(withUnsentChanges(kA));
    start(f);
    const storage::ReminderInfo before = f.record(kA);
    const QString unknown = QStringLiteral("3_9");

    ServerState s = sameSeries(noon() - 5 * kMinute);
    s.text = QStringLiteral("not mine");
    s.completed = true;
    f.handler->syncFinished(unknown, withData ? serverBytes(f.account.get(), unknown, s) : QByteArray(), code);
    f.settle();

    QCOMPARE(f.handler->reminderModel()->count(), 1);
    QVERIFY(!live(f, unknown));
    QVERIFY(!storedRecordExists(f, unknown));
    QCOMPARE(f.store()->count(), 1);
    QVERIFY(f.record(kA) == before);
    QVERIFY(live(f, kA));
    QCOMPARE(live(f, kA)->text(), QStringLiteral("call Bob"));
    QVERIFY(!live(f, kA)->completed());
    QCOMPARE(live(f, kA)->lastContentTime(), noon() - 40 * kMinute);
    QVERIFY(f.probe->pendingSync().contains(kA));
    QCOMPARE(f.sent->count(), 0);
    QCOMPARE(f.notified->count(), 0);
    QCOMPARE(f.withdrawn->count(), 0);
}

void TestReminderSync::answersForAnIdNoLongerInTheListOnlyLeaveThePendingSet_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("accepted") << 0;
    QTest::newRow("server state") << 1;
}

void TestReminderSync::answersForAnIdNoLongerInTheListOnlyLeaveThePendingSet()
{
    QFETCH(int, code);

    HandlerFixture f;
    f.storeItem(withUnsentChanges(kA));
    start(f);
    QVERIFY(f.probe->pendingSync().contains(kA));
    // Gone from the list while its answer is on the way; the record stays.
    f.probe->deleteReminder(kA);
    const storage::ReminderInfo before = f.record(kA);
    QCOMPARE(before.id, kA);

    ServerState s = sameSeries(noon() - 5 * kMinute);
    s.text = QStringLiteral("from the server");
    f.handler->syncFinished(kA, code == 1 ? serverBytes(f.account.get(), kA, s) : QByteArray(), code);
    f.settle();

    QVERIFY(!f.probe->pendingSync().contains(kA));
    QVERIFY(!live(f, kA));
    QVERIFY(f.record(kA) == before);
    QCOMPARE(f.sent->count(), 0);
    QCOMPARE(f.notified->count(), 0);
}

// ---------------------------------------------------------------- listing

void TestReminderSync::listedEmptyDataDeletesTheRecordAndTheListEntry()
{
    HandlerFixture f;
    f.storeItem(withUnsentChanges(kA));
    f.storeItem(HandlerFixture::makeItem(kB, later()));
    start(f, false);
    QVERIFY(f.probe->pendingSync().contains(kA));

    f.handler->listAndNotif(kA, QByteArray());
    f.settle();

    QVERIFY(!storedRecordExists(f, kA));
    QVERIFY(!live(f, kA));
    QVERIFY(!f.probe->pendingSync().contains(kA));
    QVERIFY(live(f, kB));
    QCOMPARE(f.store()->count(), 1);

    // Nothing is left to send once the listing is over.
    finishList(f);
    QCOMPARE(f.sent->count(), 0);
}

void TestReminderSync::listedUnknownIdCreatesTheReminderFromTheServersMessage()
{
    HandlerFixture f;
    start(f, false);
    const QString id = QStringLiteral("3_5");

    ServerState s = sameSeries(noon() - 5 * kMinute);
    s.text = QStringLiteral("made on another device");
    s.interval = 1;
    f.handler->listAndNotif(id, serverBytes(f.account.get(), id, s));
    f.settle();

    const ReminderItemPtr item = live(f, id);
    QVERIFY(item);
    QCOMPARE(item->text(), QStringLiteral("made on another device"));
    QCOMPARE(item->interval(), 1);
    QCOMPARE(item->originalRemindTime(), later());
    QCOMPARE(item->timestamp(), noon() - 5 * kMinute);
    QCOMPARE(f.handler->reminderModel()->count(), 1);

    const ReminderItemPtr stored = f.storedItem(id);
    QVERIFY(stored);
    QCOMPARE(stored->text(), QStringLiteral("made on another device"));
    QCOMPARE(stored->interval(), 1);
    QCOMPARE(stored->timestamp(), noon() - 5 * kMinute);
    QCOMPARE(stored->lastContentTime(), 0);
    QVERIFY(!f.probe->pendingSync().contains(id));

    finishList(f);
    QCOMPARE(f.sent->count(), 0);
}

void TestReminderSync::listingWithoutAnIdIsIgnored()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, later()));
    start(f, false);
    ImLog::instance()->clearRecentLines();

    ServerState s = sameSeries(noon() - 5 * kMinute);
    s.text = QStringLiteral("no id");
    f.handler->listAndNotif(QString(), serverBytes(f.account.get(), QString(), s));
    f.settle();

    // Listed and stored, it could never be loaded again: it is neither.
    QCOMPARE(f.handler->reminderModel()->count(), 1);
    QVERIFY(f.handler->reminderModel()->itemById(kA));
    QCOMPARE(f.store()->count(), 1);
    QVERIFY(ImLog::instance()->recentLines().contains(QStringLiteral("Reminder listing without an id ignored")));

    // Loading again shows the same list.
    f.handler->prepareToClearData(false);
    f.handler->clearData(false);
    f.handler->loadLocalData(false);
    f.settle();
    QCOMPARE(f.handler->reminderModel()->count(), 1);
    finishList(f);
    QCOMPARE(f.sent->count(), 0);
}

void TestReminderSync::listedReminderWithUnsentChangesIsMerged()
{
    HandlerFixture f;
    ReminderItemPtr stored = HandlerFixture::makeItem(kA, later(), QStringLiteral("local text"));
    stored->setLastContentTime(noon() - 10 * kMinute);
    f.storeItem(stored);
    start(f, false);

    ServerState s = sameSeries(noon() - 60 * kMinute);
    s.text = QStringLiteral("server text");
    s.completed = true;
    f.handler->listAndNotif(kA, serverBytes(f.account.get(), kA, s));
    f.settle();

    // The newer local text stays; the rest is the server's.
    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item);
    QCOMPARE(item->text(), QStringLiteral("local text"));
    QVERIFY(item->completed());
    QCOMPARE(item->timestamp(), noon());
    QVERIFY(f.storedItem(kA));
    QCOMPARE(f.storedItem(kA)->text(), QStringLiteral("local text"));
    QVERIFY(f.storedItem(kA)->completed());
    // Still to be sent: the listing is not over yet.
    QVERIFY(f.probe->pendingSync().contains(kA));
    QCOMPARE(f.sent->count(), 0);

    finishList(f);
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(sentText(f, 0), QStringLiteral("local text"));
    QVERIFY(f.sentMessage(0).completed());
}

void TestReminderSync::listedReminderWithoutUnsentChangesTakesTheServersStateWhole()
{
    HandlerFixture f;
    ReminderItemPtr stored = HandlerFixture::makeItem(kA, later(), QStringLiteral("local text"));
    stored->setTimestamp(noon() - 10 * kMinute);
    f.storeItem(stored);
    start(f, false);

    // Even an older server state replaces a reminder without unsent changes.
    ServerState s = sameSeries(noon() - 60 * kMinute);
    s.text = QStringLiteral("server text");
    s.completed = true;
    s.interval = 2;
    f.handler->listAndNotif(kA, serverBytes(f.account.get(), kA, s));
    f.settle();

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item);
    QCOMPARE(item->text(), QStringLiteral("server text"));
    QVERIFY(item->completed());
    QCOMPARE(item->interval(), 2);
    QCOMPARE(item->timestamp(), noon() - 60 * kMinute);
    const ReminderItemPtr back = f.storedItem(kA);
    QVERIFY(back);
    QCOMPARE(back->text(), QStringLiteral("server text"));
    QVERIFY(back->completed());
    QCOMPARE(back->interval(), 2);
    QCOMPARE(back->timestamp(), noon() - 60 * kMinute);
    QVERIFY(!f.probe->pendingSync().contains(kA));

    finishList(f);
    QCOMPARE(f.sent->count(), 0);
}

// ------------------------------------------------------------- remind ids

void TestReminderSync::storedIdsSetTheSequenceOfNewIds_data()
{
    QTest::addColumn<qint64>("device");
    QTest::addColumn<QStringList>("storedIds");
    QTest::addColumn<int>("sequence");
    QTest::addColumn<QString>("nextId");
    QTest::newRow("device 1, ids 12_40 and 1_7")
        << qint64(1) << QStringList { QStringLiteral("12_40"), QStringLiteral("1_7") } << 40 << QStringLiteral("1_41");
    QTest::newRow("id without separator")
        << qint64(5) << QStringList { QStringLiteral("5") } << 5 << QStringLiteral("5_6");
    QTest::newRow("non-numeric id without separator")
        << qint64(5) << QStringList { QStringLiteral("5x") } << 0 << QStringLiteral("5_1");
    QTest::newRow("another device's id")
        << qint64(5) << QStringList { QStringLiteral("8_30") } << 0 << QStringLiteral("5_1");
    // Up to half of the range a stored sequence is taken and counted on.
    QTest::newRow("half of the range")
        << qint64(7) << QStringList { QStringLiteral("7_1073741823"), QStringLiteral("7_3") } << 1073741823
        << QStringLiteral("7_1073741824");
    // Above it (a damaged record, a foreign listing) it is not: counting on
    // from the end of the range would overflow.
    QTest::newRow("largest sequence")
        << qint64(7) << QStringList { QStringLiteral("7_2147483647"), QStringLiteral("7_3") } << 3
        << QStringLiteral("7_4");
    // Beyond an int the conversion fails, which counts as 0.
    QTest::newRow("sequence beyond an int")
        << qint64(7) << QStringList { QStringLiteral("7_5000000000"), QStringLiteral("7_3") } << 3
        << QStringLiteral("7_4");
}

void TestReminderSync::storedIdsSetTheSequenceOfNewIds()
{
    QFETCH(qint64, device);
    QFETCH(QStringList, storedIds);
    QFETCH(int, sequence);
    QFETCH(QString, nextId);

    HandlerFixture f(1001, device);
    for (const QString& id : storedIds)
        f.storeItem(HandlerFixture::makeItem(id, later()));
    start(f);
    QCOMPARE(f.probe->lastRemindId(), sequence);

    f.handler->newReminder(QStringLiteral("next one"));
    f.settle();
    QVERIFY(live(f, nextId));
    QCOMPARE(live(f, nextId)->text(), QStringLiteral("next one"));
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(sentId(f, 0), nextId);
}

// Ids removed in an earlier session (deleted here, deleted on the server,
// or listed as deleted) count like stored ones, under the same prefix rule.
void TestReminderSync::removedIdsCountForTheSequenceOfNewIds_data()
{
    QTest::addColumn<QStringList>("storedIds");
    QTest::addColumn<QStringList>("removedIds");
    QTest::addColumn<int>("sequence");
    QTest::addColumn<QString>("nextId");
    QTest::newRow("the newest removed") << QStringList { QStringLiteral("7_1"), QStringLiteral("7_2") }
                                        << QStringList { QStringLiteral("7_3") } << 3 << QStringLiteral("7_4");
    QTest::newRow("an older one removed") << QStringList { QStringLiteral("7_1"), QStringLiteral("7_5") }
                                          << QStringList { QStringLiteral("7_3") } << 5 << QStringLiteral("7_6");
    QTest::newRow("every one removed") << QStringList {}
                                       << QStringList { QStringLiteral("7_9"), QStringLiteral("7_2") } << 9
                                       << QStringLiteral("7_10");
    QTest::newRow("another device's removed") << QStringList { QStringLiteral("7_2") }
                                              << QStringList { QStringLiteral("8_30") } << 2 << QStringLiteral("7_3");
    // The bare device number is the prefix, for removed ids as well.
    QTest::newRow("a device whose number begins alike")
        << QStringList { QStringLiteral("7_2") } << QStringList { QStringLiteral("70_30") } << 30
        << QStringLiteral("7_31");
    QTest::newRow("removed above half of the range")
        << QStringList { QStringLiteral("7_2") } << QStringList { QStringLiteral("7_2147483647") } << 2
        << QStringLiteral("7_3");
}

void TestReminderSync::removedIdsCountForTheSequenceOfNewIds()
{
    QFETCH(QStringList, storedIds);
    QFETCH(QStringList, removedIds);
    QFETCH(int, sequence);
    QFETCH(QString, nextId);

    HandlerFixture f;
    for (const QString& id : storedIds + removedIds)
        f.storeItem(HandlerFixture::makeItem(id, later()));
    QVERIFY(f.store()->remove(QList<QString>(removedIds)));
    start(f);
    QCOMPARE(f.probe->lastRemindId(), sequence);
    QCOMPARE(f.handler->reminderModel()->count(), storedIds.size());

    f.handler->newReminder(QStringLiteral("next one"));
    f.settle();
    QVERIFY(live(f, nextId));
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(sentId(f, 0), nextId);
}

// The whole path: the newest reminder is deleted through the handler (by
// the user, by the server's answer, or by the listing), the application
// restarts, and the next new reminder still gets a fresh id.
void TestReminderSync::deletedNewestReminderIdIsNotMadeAgainAfterARestart_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("deleted by the user") << QStringLiteral("user");
    QTest::newRow("deleted on the server, as an answer") << QStringLiteral("answer");
    QTest::newRow("deleted on the server, in the listing") << QStringLiteral("listing");
    QTest::newRow("removed with the completed ones") << QStringLiteral("completed");
}

void TestReminderSync::deletedNewestReminderIdIsNotMadeAgainAfterARestart()
{
    QFETCH(QString, how);

    HandlerFixture f;
    start(f);
    f.handler->newReminder(QStringLiteral("first"));
    f.handler->newReminder(QStringLiteral("second"));
    f.settle();
    QVERIFY(live(f, kA));
    QVERIFY(live(f, kB));

    if (how == QLatin1String("user")) {
        f.handler->deleteSelect(kB);
    } else if (how == QLatin1String("answer")) {
        f.handler->syncFinished(kB, QByteArray(), 1);
    } else if (how == QLatin1String("listing")) {
        f.handler->listAndNotif(kB, QByteArray());
    } else {
        QVERIFY(f.handler->completedReminder(kB, true));
        f.settle();
        f.handler->deleteAllCompleted();
    }
    f.settle();
    QVERIFY(!storedRecordExists(f, kB));
    QVERIFY(!live(f, kB));

    f.restart();
    start(f);
    QCOMPARE(f.probe->lastRemindId(), 2);
    f.handler->newReminder(QStringLiteral("third"));
    f.settle();
    const QString next = QStringLiteral("7_3");
    QVERIFY(live(f, next));
    QCOMPARE(live(f, next)->text(), QStringLiteral("third"));
    QCOMPARE(live(f, kA)->text(), QStringLiteral("first"));
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(sentId(f, 0), next);
}

// The listing can hold ids this device made before its data was cleared:
// they count at once, and (stored or remembered as deleted) after a
// restart too.
void TestReminderSync::listedIdsCountForTheSequenceOfNewIds_data()
{
    QTest::addColumn<QString>("listedId");
    QTest::addColumn<bool>("deleted");
    QTest::addColumn<QString>("nextId");
    QTest::addColumn<QString>("afterRestart");
    QTest::newRow("a live reminder") << QStringLiteral("7_20") << false << QStringLiteral("7_21")
                                     << QStringLiteral("7_22");
    QTest::newRow("a tombstone") << QStringLiteral("7_30") << true << QStringLiteral("7_31")
                                 << QStringLiteral("7_32");
    QTest::newRow("another device's") << QStringLiteral("8_40") << false << QStringLiteral("7_1")
                                      << QStringLiteral("7_2");
}

void TestReminderSync::listedIdsCountForTheSequenceOfNewIds()
{
    QFETCH(QString, listedId);
    QFETCH(bool, deleted);
    QFETCH(QString, nextId);
    QFETCH(QString, afterRestart);

    HandlerFixture f;
    f.handler->loadLocalData(false);
    f.settle();
    f.handler->listAndNotif(listedId,
                            deleted ? QByteArray() : serverBytes(f.account.get(), listedId, sameSeries(noon())));
    finishList(f);
    QCOMPARE(bool(live(f, listedId)), !deleted);

    f.handler->newReminder(QStringLiteral("made after the listing"));
    f.settle();
    QVERIFY(live(f, nextId));

    f.restart();
    start(f);
    f.handler->newReminder(QStringLiteral("made after a restart"));
    f.settle();
    QVERIFY(live(f, afterRestart));
    QCOMPARE(live(f, afterRestart)->text(), QStringLiteral("made after a restart"));
}

// --------------------------------------------------- before the first list

void TestReminderSync::reminderCreatedBeforeTheFirstListingIsStoredAndSentByTheRetry()
{
    HandlerFixture f;
    start(f, false);

    f.handler->newReminder(QStringLiteral("buy milk"));
    f.settle();

    const ReminderItemPtr stored = f.storedItem(kA);
    QVERIFY(stored);
    QCOMPARE(stored->text(), QStringLiteral("buy milk"));
    QVERIFY(stored->lastContentTime() > 0);
    QVERIFY(f.probe->pendingSync().contains(kA));
    QCOMPARE(f.sent->count(), 0);

    finishList(f);

    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(sentId(f, 0), kA);
    QCOMPARE(sentText(f, 0), QStringLiteral("buy milk"));
    QVERIFY(f.probe->pendingSync().contains(kA));
}

QTEST_GUILESS_MAIN(TestReminderSync)
#include "tst_remindersync.moc"
