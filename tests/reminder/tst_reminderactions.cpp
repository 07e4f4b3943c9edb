// ReminderHandler: the user's actions on a reminder (snooze, snooze until
// tomorrow, close, finish, reschedule, cancel, complete and reopen) and
// deletion, each seen on the item, in storage, in the notifications, in the
// request sent to the server, in the overdue count and on the remind timer.
#include "handlerfixture.h"
#include "modelbaseutil.h"
#include "reminderpattern.h"

namespace {

const QString kA = QStringLiteral("7_1");
const QString kB = QStringLiteral("7_2");
const QString kC = QStringLiteral("7_3");
constexpr qint64 kMinute = 60000;

// The fixture's clock: 2031-06-02 12:00 local time.
qint64 noon()
{
    return at(2031, 6, 2, 12);
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

ReminderItemPtr live(HandlerFixture& f, const QString& id)
{
    return f.handler->reminderModel()->itemById(id);
}

// A reminder that fired at `shown` with a snooze of `snooze` minutes and now
// waits for its next snooze step at `next`; nobody has looked at it yet.
ReminderItemPtr firedAndSnoozed(const QString& id, qint64 shown, int snooze, qint64 next)
{
    ReminderItemPtr item = HandlerFixture::makeItem(id, shown);
    item->setSnooze(snooze);
    item->setValidTime(shown);
    item->setRemindTime(next);
    item->setUnread(true);
    return item;
}

// Every field the local record keeps, stored against the item in memory;
// empty when they agree. The remind time and the flags are read from the
// record's own columns.
QString storedDiff(HandlerFixture& f, const QString& id)
{
    const ReminderItemPtr item = live(f, id);
    const ReminderItemPtr stored = f.storedItem(id);
    if (!item || !stored)
        return QStringLiteral("missing: item %1, record %2").arg(bool(item)).arg(bool(stored));
    const storage::ReminderInfo info = f.record(id);
    QStringList out;
    auto check = [&out](const char* name, qint64 s, qint64 i) {
        if (s != i)
            out << QStringLiteral("%1: stored %2, item %3").arg(QLatin1String(name)).arg(s).arg(i);
    };
    check("remindTime", info.remindTime, item->remindTime());
    check("reminded", info.reminded, item->reminded());
    check("completed", info.completed, item->completed());
    check("unread", info.unread, item->unread());
    check("orderTime", info.orderTime, item->orderTime());
    check("reminded (data)", stored->reminded(), item->reminded());
    check("completed (data)", stored->completed(), item->completed());
    check("originalRemindTime", stored->originalRemindTime(), item->originalRemindTime());
    check("showRemindTime", stored->showRemindTime(), item->showRemindTime());
    check("validTime", stored->validTime(), item->validTime());
    check("interval", stored->interval(), item->interval());
    check("unit", stored->unit(), item->unit());
    check("dayOfWeekFlags", stored->dayOfWeekFlags(), item->dayOfWeekFlags());
    check("dayOfMonthFlags", stored->dayOfMonthFlags(), item->dayOfMonthFlags());
    check("weekOfMonthFlags", stored->weekOfMonthFlags(), item->weekOfMonthFlags());
    check("endDate", stored->endDate(), item->endDate());
    check("repeatCount", stored->repeatCount(), item->repeatCount());
    check("snooze", stored->snooze(), item->snooze());
    check("orderTime (data)", stored->orderTime(), item->orderTime());
    check("timestamp", stored->timestamp(), item->timestamp());
    check("lastContentTime", stored->lastContentTime(), item->lastContentTime());
    check("lastCompletedTime", stored->lastCompletedTime(), item->lastCompletedTime());
    check("lastPatternTime", stored->lastPatternTime(), item->lastPatternTime());
    check("lastUnreadTime", stored->lastUnreadTime(), item->lastUnreadTime());
    return out.join(QStringLiteral("; "));
}

bool storedRecordExists(HandlerFixture& f, const QString& id)
{
    bool found = false;
    f.store()->info(id, &found);
    return found;
}

QString rowId(HandlerFixture& f, int row)
{
    ReminderModel* model = f.handler->reminderModel();
    const ReminderItemPtr item = model->data(model->index(row), ReminderModel::ReminderDataRole).value<ReminderItemPtr>();
    return item ? item->remindId() : QString();
}

} // namespace

class TestReminderActions : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ReminderHandler::registerMetaType("unused"); }

    // snooze
    void snoozeMovesBothTimesAndDropsTheNotificationSilently();
    void snoozingTheNearestReminderLaterMovesTheNearestTime();
    void snoozeProductIsTakenIn32Bits_data();
    void snoozeProductIsTakenIn32Bits();

    // snooze until tomorrow
    void snoozeTomorrowTakesNineOrAnEarlierOccurrence_data();
    void snoozeTomorrowTakesNineOrAnEarlierOccurrence();

    // close
    void closeMovesARepeatingReminderOnAndEndsItsSnooze();
    void closeMarksAOneOffRemindedAndRereadsTheNearestTime();
    void closingTheLastPendingReminderStopsTheTimer();

    // finish
    void finishMovesARepeatingReminderAndItsShownTime();
    void finishCompletesAOneOffReminder();
    void finishOnTheLastOccurrenceCompletesTheSeries();

    // reschedule
    void modifyReschedulesTheSeriesAndWithdrawsTheNotification();
    void modifyKeepsRemindedOnlyForACompletedReminder_data();
    void modifyKeepsRemindedOnlyForACompletedReminder();
    void modifyingToAnEarlierTimeMakesItTheNearest();

    // cancel
    void cancelClearsTheRuleAndTheTimesAndResetsTheEditor();
    void cancellingTheNearestLeavesTheTimerAimedUntilItFindsNothingDue();

    // complete and reopen
    void completingAOneOffCompletesItAndWithdrawsTheNotification();
    void completingARepeatingReminder_data();
    void completingARepeatingReminder();
    void reopeningPutsTheReminderOnTopOfTheOpenList_data();
    void reopeningPutsTheReminderOnTopOfTheOpenList();
    void completingAnUnknownIdStillWithdrawsItsStandingNotification();

    // unknown ids
    void actionOnAnUnknownIdDoesNothing_data();
    void actionOnAnUnknownIdDoesNothing();

    // deletion
    void deletingRemovesTheRecordTheRowAndSendsTheRequest();
    void deletingLowersTheOverdueCountOnlyForAnOverdueOpenReminder_data();
    void deletingLowersTheOverdueCountOnlyForAnOverdueOpenReminder();
    void deletingTheNearestReminderRereadsTheStoreAndRearms();
    void deletingAReminderThatIsNotTheNearestLeavesTheTimer();
    void deletingTheLastPendingReminderStopsTheTimer();
    void deletingWithdrawsAStandingNotificationOnce();
};

// ---------------------------------------------------------------- snooze

void TestReminderActions::snoozeMovesBothTimesAndDropsTheNotificationSilently()
{
    HandlerFixture f;
    f.storeItem(firedAndSnoozed(kA, at(2031, 6, 2, 11), 10, at(2031, 6, 2, 12, 10)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 14)));
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 10));
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    f.handler->snoozeReminder(kA, 5);

    const ReminderItemPtr item = live(f, kA);
    const qint64 due = noon() + 5 * kMinute;
    QCOMPARE(item->validTime(), due);
    QCOMPARE(item->remindTime(), due);
    QCOMPARE(item->showRemindTime(), at(2031, 6, 2, 11));
    QCOMPARE(item->snooze(), 10);
    QVERIFY(!item->reminded());
    QVERIFY(!item->completed());
    QVERIFY(!item->unread());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->timestamp(), noon());
    // Dropped without telling the host.
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QCOMPARE(f.withdrawn->count(), 0);
    QCOMPARE(f.notified->count(), 0);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});

    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kA);
    const im::content::Reminder msg = f.sentMessage(0);
    QCOMPARE(QString::fromStdString(msg.id()), kA);
    QCOMPARE(msg.valid_time(), due);
    QCOMPARE(msg.show_remind_time(), at(2031, 6, 2, 11));
    QCOMPARE(msg.snooze(), 10);
    QVERIFY(msg.read());
    QVERIFY(!msg.reminded());
    QVERIFY(!msg.completed());
    QCOMPARE(msg.update_time(), noon());

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QCOMPARE(f.record(kA).remindTime, due);
    QCOMPARE(f.storedItem(kA)->validTime(), due);
    QVERIFY(!f.record(kA).unread);
    QCOMPARE(f.storedItem(kA)->lastPatternTime(), noon());
    QCOMPARE(f.storedItem(kA)->lastUnreadTime(), noon());

    // Five minutes ahead: a single shot one second after it.
    QCOMPARE(f.probe->nearest(), due);
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 5 * kMinute + 1000);
    // Still overdue by its shown time: the count stays, unannounced.
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QCOMPARE(overdue.count(), 0);
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.withdrawn->count(), 0);
}

void TestReminderActions::snoozingTheNearestReminderLaterMovesTheNearestTime()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 12, 30)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 12, 45)));
    start(f);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 30));

    f.handler->snoozeReminder(kA, 90);
    QCOMPARE(live(f, kA)->remindTime(), at(2031, 6, 2, 13, 30));
    // The timer follows the write, not the call.
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 30));
    QVERIFY(!f.probe->timer().isActive());

    f.settle();
    QCOMPARE(f.record(kA).remindTime, at(2031, 6, 2, 13, 30));
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 45));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 45 * kMinute + 1000);
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kA);
    QCOMPARE(f.notified->count(), 0);
}

void TestReminderActions::snoozeProductIsTakenIn32Bits_data()
{
    QTest::addColumn<int>("mins");
    QTest::addColumn<qint64>("offset");
    QTest::newRow("35791 minutes fit") << 35791 << qint64(35791) * kMinute;
    // 35,792 x 60,000 passes 2^31 - 1 and wraps to a negative offset.
    QTest::newRow("35792 minutes wrap") << 35792 << (qint64(35792) * kMinute - (qint64(1) << 32));
}

void TestReminderActions::snoozeProductIsTakenIn32Bits()
{
    QFETCH(int, mins);
    QFETCH(qint64, offset);
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 12, 30)));
    start(f);

    f.handler->snoozeReminder(kA, mins);

    const ReminderItemPtr item = live(f, kA);
    QCOMPARE(item->validTime(), noon() + offset);
    QCOMPARE(item->remindTime(), noon() + offset);
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sentMessage(0).valid_time(), noon() + offset);
    QVERIFY(f.probe->pendingSync().contains(kA));

    f.settle();
    QCOMPARE(f.record(kA).remindTime, noon() + offset);
    QCOMPARE(f.storedItem(kA)->validTime(), noon() + offset);
    if (offset < 0) {
        // The wrapped time lies in the past: the one-off fires at once.
        QCOMPARE(f.notified->count(), 1);
        QCOMPARE(f.notifiedIdsOfCall(0), QStringList{kA});
        QVERIFY(item->reminded());
    } else {
        QCOMPARE(f.notified->count(), 0);
        QCOMPARE(f.probe->nearest(), noon() + offset);
        QVERIFY(f.probe->timer().isActive());
        QVERIFY(!f.probe->timer().isSingleShot());
        QCOMPARE(f.probe->timer().interval(), ONE_HOURE);
    }
}

// -------------------------------------------------- snooze until tomorrow

void TestReminderActions::snoozeTomorrowTakesNineOrAnEarlierOccurrence_data()
{
    QTest::addColumn<int>("hour");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("daily at 08:00: tomorrow 08:00") << 8 << at(2031, 6, 3, 8);
    QTest::newRow("daily at 10:00: tomorrow 09:00") << 10 << at(2031, 6, 3, 9);
}

void TestReminderActions::snoozeTomorrowTakesNineOrAnEarlierOccurrence()
{
    QFETCH(int, hour);
    QFETCH(qint64, expected);
    HandlerFixture f;
    // A daily series begun yesterday; today's occurrence fired and snoozed.
    ReminderItemPtr daily = firedAndSnoozed(kA, at(2031, 6, 2, hour), 10, at(2031, 6, 2, 12, 10));
    daily->setOriginalRemindTime(at(2031, 6, 1, hour));
    daily->setInterval(1);
    daily->setUnit(0);
    f.storeItem(daily);
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 10));
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    f.handler->snoozeTomorrow(kA);

    const ReminderItemPtr item = live(f, kA);
    QCOMPARE(item->validTime(), expected);
    QCOMPARE(item->remindTime(), expected);
    QCOMPARE(item->showRemindTime(), at(2031, 6, 2, hour));
    QCOMPARE(item->originalRemindTime(), at(2031, 6, 1, hour));
    QVERIFY(!item->unread());
    QVERIFY(!item->reminded());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->timestamp(), noon());
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QCOMPARE(f.withdrawn->count(), 0);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kA);
    const im::content::Reminder msg = f.sentMessage(0);
    QCOMPARE(msg.valid_time(), expected);
    QCOMPARE(msg.show_remind_time(), at(2031, 6, 2, hour));
    QCOMPARE(msg.snooze(), 10);
    QVERIFY(msg.read());
    QCOMPARE(msg.update_time(), noon());

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QCOMPARE(f.record(kA).remindTime, expected);
    // The nearest reminder moved to tomorrow: an hourly tick.
    QCOMPARE(f.probe->nearest(), expected);
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), ONE_HOURE);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QCOMPARE(overdue.count(), 0);
    QCOMPARE(f.withdrawn->count(), 0);
}

// ----------------------------------------------------------------- close

void TestReminderActions::closeMovesARepeatingReminderOnAndEndsItsSnooze()
{
    HandlerFixture f;
    ReminderItemPtr daily = firedAndSnoozed(kA, at(2031, 6, 2, 10), 10, at(2031, 6, 2, 12, 10));
    daily->setOriginalRemindTime(at(2031, 6, 1, 10));
    daily->setInterval(1);
    f.storeItem(daily);
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    f.handler->closeOverdueReminder(kA);

    const ReminderItemPtr item = live(f, kA);
    QCOMPARE(item->snooze(), 0);
    QCOMPARE(item->remindTime(), at(2031, 6, 3, 10));
    QCOMPARE(item->validTime(), at(2031, 6, 3, 10));
    // The shown occurrence stays today's.
    QCOMPARE(item->showRemindTime(), at(2031, 6, 2, 10));
    QCOMPARE(item->originalRemindTime(), at(2031, 6, 1, 10));
    QCOMPARE(item->interval(), 1);
    QVERIFY(!item->reminded());
    QVERIFY(!item->completed());
    QVERIFY(!item->unread());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->timestamp(), noon());
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QCOMPARE(f.withdrawn->count(), 0);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kA);
    const im::content::Reminder msg = f.sentMessage(0);
    QCOMPARE(msg.snooze(), 0);
    QCOMPARE(msg.valid_time(), at(2031, 6, 3, 10));
    QCOMPARE(msg.show_remind_time(), at(2031, 6, 2, 10));
    QVERIFY(!msg.reminded());
    QVERIFY(msg.read());

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QCOMPARE(f.record(kA).remindTime, at(2031, 6, 3, 10));
    QCOMPARE(f.storedItem(kA)->snooze(), 0);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 3, 10));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), ONE_HOURE);
    // Its shown time did not move: still overdue.
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QCOMPARE(overdue.count(), 0);
}

void TestReminderActions::closeMarksAOneOffRemindedAndRereadsTheNearestTime()
{
    HandlerFixture f;
    f.storeItem(firedAndSnoozed(kA, at(2031, 6, 2, 11), 10, at(2031, 6, 2, 12, 10)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 12, 40)));
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 10));

    f.handler->closeOverdueReminder(kA);

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item->reminded());
    QCOMPARE(item->snooze(), 0);
    QCOMPARE(item->remindTime(), at(2031, 6, 2, 12, 10));
    QVERIFY(!item->unread());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QCOMPARE(f.withdrawn->count(), 0);
    QVERIFY(f.probe->pendingSync().contains(kA));
    QCOMPARE(f.sent->count(), 1);
    QVERIFY(f.sentMessage(0).reminded());
    QCOMPARE(f.sentMessage(0).snooze(), 0);

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QVERIFY(f.record(kA).reminded);
    // Read again from the store, which no longer counts the closed one.
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 40));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 40 * kMinute + 1000);
    QCOMPARE(f.notified->count(), 0);
}

void TestReminderActions::closingTheLastPendingReminderStopsTheTimer()
{
    HandlerFixture f;
    f.storeItem(firedAndSnoozed(kA, at(2031, 6, 2, 11), 10, at(2031, 6, 2, 12, 10)));
    start(f);
    f.handler->readyReminder();
    QVERIFY(f.probe->timer().isActive());

    f.handler->closeOverdueReminder(kA);
    f.settle();

    QVERIFY(live(f, kA)->reminded());
    QCOMPARE(f.probe->nearest(), 0);
    QVERIFY(!f.probe->timer().isActive());
    QCOMPARE(f.notified->count(), 0);
}

// ---------------------------------------------------------------- finish

void TestReminderActions::finishMovesARepeatingReminderAndItsShownTime()
{
    HandlerFixture f;
    ReminderItemPtr daily = firedAndSnoozed(kA, at(2031, 6, 2, 10), 10, at(2031, 6, 2, 12, 10));
    daily->setOriginalRemindTime(at(2031, 6, 1, 10));
    daily->setInterval(1);
    f.storeItem(daily);
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    f.handler->overdueReminderFinish(kA);

    const ReminderItemPtr item = live(f, kA);
    QCOMPARE(item->showRemindTime(), at(2031, 6, 3, 10));
    QCOMPARE(item->remindTime(), at(2031, 6, 3, 10));
    QCOMPARE(item->validTime(), at(2031, 6, 3, 10));
    QCOMPARE(item->originalRemindTime(), at(2031, 6, 1, 10));
    QCOMPARE(item->snooze(), 10);
    QVERIFY(!item->reminded());
    QVERIFY(!item->completed());
    QVERIFY(!item->unread());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->timestamp(), noon());
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QCOMPARE(f.withdrawn->count(), 0);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kA);
    const im::content::Reminder msg = f.sentMessage(0);
    QCOMPARE(msg.show_remind_time(), at(2031, 6, 3, 10));
    QCOMPARE(msg.valid_time(), at(2031, 6, 3, 10));
    QCOMPARE(msg.snooze(), 10);
    QVERIFY(!msg.completed());
    QVERIFY(msg.read());
    // Its shown time is tomorrow's: no longer overdue.
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(overdue.count(), 1);

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QCOMPARE(f.record(kA).remindTime, at(2031, 6, 3, 10));
    QCOMPARE(f.probe->nearest(), at(2031, 6, 3, 10));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    QCOMPARE(overdue.count(), 1);
}

void TestReminderActions::finishCompletesAOneOffReminder()
{
    HandlerFixture f;
    ReminderItemPtr fired = HandlerFixture::makeItem(kA, at(2031, 6, 2, 11));
    fired->setReminded(true);
    fired->setUnread(true);
    f.storeItem(fired);
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 14)));
    start(f);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 14));
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    f.handler->overdueReminderFinish(kA);

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item->completed());
    QVERIFY(item->reminded());
    QVERIFY(!item->unread());
    QCOMPARE(item->orderTime(), noon());
    QCOMPARE(item->lastCompletedTime(), noon());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QCOMPARE(item->remindTime(), at(2031, 6, 2, 11));
    QCOMPARE(f.handler->reminderModel()->completedCount(), 1);
    QCOMPARE(f.handler->reminderModel()->visibleCount(), 1);
    QCOMPARE(rowId(f, 0), kB);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});
    QCOMPARE(f.sent->count(), 1);
    const im::content::Reminder msg = f.sentMessage(0);
    QVERIFY(msg.completed());
    QVERIFY(msg.reminded());
    QCOMPARE(msg.order_time(), noon());
    QVERIFY(msg.read());
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(overdue.count(), 1);
    QCOMPARE(f.withdrawn->count(), 0);

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QVERIFY(f.record(kA).completed);
    QCOMPARE(f.storedItem(kA)->lastCompletedTime(), noon());
    // The store's nearest time is unchanged, so the timer is not touched.
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 14));
    QVERIFY(!f.probe->timer().isActive());
    QCOMPARE(overdue.count(), 1);
}

void TestReminderActions::finishOnTheLastOccurrenceCompletesTheSeries()
{
    HandlerFixture f;
    // Daily, twice: yesterday and today; today's fired and was the last.
    ReminderItemPtr daily = HandlerFixture::makeItem(kA, at(2031, 6, 2, 10));
    daily->setOriginalRemindTime(at(2031, 6, 1, 10));
    daily->setInterval(1);
    daily->setRepeatCount(1);
    daily->setReminded(true);
    daily->setUnread(true);
    f.storeItem(daily);
    start(f);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    f.handler->overdueReminderFinish(kA);

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item->completed());
    QVERIFY(item->reminded());
    QCOMPARE(item->showRemindTime(), at(2031, 6, 2, 10));
    QCOMPARE(item->orderTime(), noon());
    QCOMPARE(item->lastCompletedTime(), noon());
    QCOMPARE(f.sent->count(), 1);
    QVERIFY(f.sentMessage(0).completed());
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(overdue.count(), 1);

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QVERIFY(f.record(kA).completed);
}

// ------------------------------------------------------------ reschedule

void TestReminderActions::modifyReschedulesTheSeriesAndWithdrawsTheNotification()
{
    HandlerFixture f;
    ReminderItemPtr daily = firedAndSnoozed(kA, at(2031, 6, 2, 10), 10, at(2031, 6, 2, 12, 10));
    daily->setOriginalRemindTime(at(2031, 6, 1, 10));
    daily->setInterval(1);
    f.storeItem(daily);
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    const qint64 to = at(2031, 6, 2, 15);
    f.handler->modifyRemindTime(kA, to);

    const ReminderItemPtr item = live(f, kA);
    QCOMPARE(item->originalRemindTime(), to);
    QCOMPARE(item->showRemindTime(), to);
    QCOMPARE(item->remindTime(), to);
    QCOMPARE(item->validTime(), 0);
    QCOMPARE(item->interval(), 1);
    QCOMPARE(item->unit(), 0);
    QCOMPARE(item->snooze(), 10);
    QVERIFY(!item->reminded());
    QVERIFY(!item->unread());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->timestamp(), noon());
    // Withdrawn from the host, once.
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(f.withdrawn->at(0).at(0).toLongLong(), 1001);
    QCOMPARE(f.withdrawn->at(0).at(1).toString(), kA);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kA);
    const im::content::Reminder msg = f.sentMessage(0);
    QCOMPARE(msg.original_remind_time(), to);
    QCOMPARE(msg.show_remind_time(), to);
    QCOMPARE(msg.valid_time(), 0);
    QCOMPARE(msg.pattern().interval(), 1);
    QVERIFY(!msg.reminded());
    QVERIFY(msg.read());
    QCOMPARE(msg.update_time(), noon());
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(overdue.count(), 1);

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QCOMPARE(f.record(kA).remindTime, to);
    QCOMPARE(f.storedItem(kA)->validTime(), 0);
    QCOMPARE(f.probe->nearest(), to);
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), ONE_HOURE);
    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(overdue.count(), 1);
}

void TestReminderActions::modifyKeepsRemindedOnlyForACompletedReminder_data()
{
    QTest::addColumn<bool>("completed");
    QTest::addColumn<bool>("reminded");
    QTest::addColumn<bool>("expectedReminded");
    QTest::newRow("open, reminded: cleared") << false << true << false;
    QTest::newRow("completed, reminded: kept") << true << true << true;
    QTest::newRow("completed, not reminded: kept") << true << false << false;
}

void TestReminderActions::modifyKeepsRemindedOnlyForACompletedReminder()
{
    QFETCH(bool, completed);
    QFETCH(bool, reminded);
    QFETCH(bool, expectedReminded);
    HandlerFixture f;
    ReminderItemPtr item = HandlerFixture::makeItem(kA, at(2031, 6, 2, 11));
    item->setCompleted(completed);
    item->setReminded(reminded);
    item->setUnread(true);
    f.storeItem(item);
    start(f);

    f.handler->modifyRemindTime(kA, at(2031, 6, 2, 15));

    const ReminderItemPtr after = live(f, kA);
    QCOMPARE(after->reminded(), expectedReminded);
    QCOMPARE(after->completed(), completed);
    QCOMPARE(after->remindTime(), at(2031, 6, 2, 15));
    QVERIFY(!after->unread());
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sentMessage(0).reminded(), expectedReminded);
    QCOMPARE(f.sentMessage(0).completed(), completed);

    f.settle();
    QCOMPARE(f.record(kA).reminded, expectedReminded);
    QCOMPARE(f.record(kA).completed, completed);
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
}

void TestReminderActions::modifyingToAnEarlierTimeMakesItTheNearest()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 16)));
    start(f);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 14));

    f.handler->modifyRemindTime(kB, at(2031, 6, 2, 12, 20));
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 14));
    QCOMPARE(f.withdrawn->count(), 0); // nothing was standing

    f.settle();
    QCOMPARE(f.record(kB).remindTime, at(2031, 6, 2, 12, 20));
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 20));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 20 * kMinute + 1000);
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kB);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kB});
}

// ---------------------------------------------------------------- cancel

void TestReminderActions::cancelClearsTheRuleAndTheTimesAndResetsTheEditor()
{
    HandlerFixture f;
    const int monday = ModelBaseUtil::dayOfWeekToFlag(QDate(2031, 6, 2).dayOfWeek());
    // Every other Monday from 19 May, five times, until 1 August; today's
    // occurrence fired.
    ReminderItemPtr weekly = firedAndSnoozed(kA, at(2031, 6, 2, 10), 15, at(2031, 6, 2, 12, 15));
    weekly->setOriginalRemindTime(at(2031, 5, 19, 10));
    weekly->setInterval(2);
    weekly->setUnit(1);
    weekly->setDayOfWeekFlags(monday);
    weekly->setRepeatCount(5);
    weekly->setEndDate(at(2031, 8, 1, 0));
    weekly->setReminded(true);
    f.storeItem(weekly);
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    f.handler->cancelReminder(kA);

    const ReminderItemPtr item = live(f, kA);
    QCOMPARE(item->interval(), 0);
    QCOMPARE(item->unit(), 0);
    QCOMPARE(item->dayOfWeekFlags(), 0);
    QCOMPARE(item->dayOfMonthFlags(), 0);
    QCOMPARE(item->weekOfMonthFlags(), 0);
    QCOMPARE(item->endDate(), 0);
    QCOMPARE(item->repeatCount(), 0);
    QCOMPARE(item->snooze(), 0);
    QCOMPARE(item->originalRemindTime(), 0);
    QCOMPARE(item->showRemindTime(), 0);
    QCOMPARE(item->remindTime(), 0);
    QCOMPARE(item->validTime(), 0);
    QVERIFY(!item->reminded());
    QVERIFY(!item->completed());
    QVERIFY(!item->unread());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->timestamp(), noon());
    // The editor was used to clear the rule and is left reset.
    QCOMPARE(f.handler->reminderPattern()->remindTime(), 0);
    QCOMPARE(f.handler->reminderPattern()->interval(), 0);
    QCOMPARE(f.handler->reminderPattern()->snooze(), 0);
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(f.withdrawn->at(0).at(0).toLongLong(), 1001);
    QCOMPARE(f.withdrawn->at(0).at(1).toString(), kA);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kA);
    const im::content::Reminder msg = f.sentMessage(0);
    QCOMPARE(msg.pattern().interval(), 0);
    QCOMPARE(msg.pattern().unit(), 0);
    QCOMPARE(msg.pattern().day_of_week(), 0);
    QCOMPARE(msg.pattern().day_of_month(), 0);
    QCOMPARE(msg.pattern().week_of_month(), 0);
    QCOMPARE(msg.end_date(), 0);
    QCOMPARE(msg.repeat_count(), 0);
    QCOMPARE(msg.snooze(), 0);
    QCOMPARE(msg.original_remind_time(), 0);
    QCOMPARE(msg.show_remind_time(), 0);
    QCOMPARE(msg.valid_time(), 0);
    QVERIFY(!msg.reminded());
    QVERIFY(msg.read());
    // No shown time: not overdue any more.
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(overdue.count(), 1);

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QCOMPARE(f.record(kA).remindTime, 0);
    QCOMPARE(f.storedItem(kA)->interval(), 0);
    QCOMPARE(f.storedItem(kA)->endDate(), 0);
    QCOMPARE(f.storedItem(kA)->repeatCount(), 0);
    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(overdue.count(), 1);
}

void TestReminderActions::cancellingTheNearestLeavesTheTimerAimedUntilItFindsNothingDue()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 12, 30)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 13)));
    start(f);
    f.handler->readyReminder();
    QCOMPARE(f.probe->timer().interval(), 30 * kMinute + 1000);

    f.handler->cancelReminder(kA);
    f.settle();

    // A reminder without a time does not re-aim the timer.
    QCOMPARE(f.record(kA).remindTime, 0);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 30));
    QVERIFY(f.probe->timer().isActive());
    QCOMPARE(f.probe->timer().interval(), 30 * kMinute + 1000);

    // When it fires, nothing is due then and the store's next time is taken.
    f.setNow(at(2031, 6, 2, 12, 30) + 1000);
    f.probe->onTimeOut();
    f.settle();
    QCOMPARE(f.notified->count(), 0);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 13));
    QVERIFY(f.probe->timer().isActive());
}

// --------------------------------------------------- complete and reopen

void TestReminderActions::completingAOneOffCompletesItAndWithdrawsTheNotification()
{
    HandlerFixture f;
    ReminderItemPtr a = firedAndSnoozed(kA, at(2031, 6, 2, 11), 10, at(2031, 6, 2, 12, 10));
    f.storeItem(a);
    ReminderItemPtr b = HandlerFixture::makeItem(kB, at(2031, 6, 2, 14));
    b->setOrderTime(at(2031, 6, 1, 9));
    f.storeItem(b);
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 10));
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    QVERIFY(f.handler->completedReminder(kA, true));

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(item->completed());
    QVERIFY(item->reminded());
    QVERIFY(!item->unread());
    QCOMPARE(item->orderTime(), noon());
    QCOMPARE(item->lastCompletedTime(), noon());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QCOMPARE(item->timestamp(), noon());
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(f.withdrawn->at(0).at(0).toLongLong(), 1001);
    QCOMPARE(f.withdrawn->at(0).at(1).toString(), kA);
    QCOMPARE(f.handler->reminderModel()->completedCount(), 1);
    QCOMPARE(f.handler->reminderModel()->visibleCount(), 1);
    QCOMPARE(rowId(f, 0), kB);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kA);
    const im::content::Reminder msg = f.sentMessage(0);
    QVERIFY(msg.completed());
    QVERIFY(msg.reminded());
    QCOMPARE(msg.order_time(), noon());
    QVERIFY(msg.read());
    QCOMPARE(msg.update_time(), noon());
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(overdue.count(), 1);

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QVERIFY(f.record(kA).completed);
    QVERIFY(f.record(kA).reminded);
    // It was the nearest: the store's next time is read.
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 14));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(overdue.count(), 1);
}

void TestReminderActions::completingARepeatingReminder_data()
{
    QTest::addColumn<int>("repeatCount");
    QTest::addColumn<bool>("expectedCompleted");
    QTest::newRow("open series: moves to next week") << 0 << false;
    QTest::newRow("last occurrence: completed") << 1 << true;
}

void TestReminderActions::completingARepeatingReminder()
{
    QFETCH(int, repeatCount);
    QFETCH(bool, expectedCompleted);
    HandlerFixture f;
    const int monday = ModelBaseUtil::dayOfWeekToFlag(QDate(2031, 6, 2).dayOfWeek());
    // Weekly on Mondays from 26 May; today's occurrence fired.
    ReminderItemPtr weekly = HandlerFixture::makeItem(kA, at(2031, 6, 2, 10));
    weekly->setOriginalRemindTime(at(2031, 5, 26, 10));
    weekly->setInterval(1);
    weekly->setUnit(1);
    weekly->setDayOfWeekFlags(monday);
    weekly->setRepeatCount(repeatCount);
    weekly->setUnread(true);
    if (expectedCompleted) {
        weekly->setReminded(true); // the series has nothing after today
    } else {
        weekly->setRemindTime(at(2031, 6, 9, 10));
        weekly->setValidTime(at(2031, 6, 9, 10));
    }
    f.storeItem(weekly);
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 1);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    QCOMPARE(f.handler->completedReminder(kA, true), expectedCompleted);

    const ReminderItemPtr item = live(f, kA);
    QCOMPARE(item->completed(), expectedCompleted);
    QVERIFY(!item->unread());
    QCOMPARE(item->lastPatternTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    if (expectedCompleted) {
        QVERIFY(item->reminded());
        QCOMPARE(item->showRemindTime(), at(2031, 6, 2, 10));
        QCOMPARE(item->orderTime(), noon());
        QCOMPARE(item->lastCompletedTime(), noon());
    } else {
        QVERIFY(!item->reminded());
        QCOMPARE(item->showRemindTime(), at(2031, 6, 9, 10));
        QCOMPARE(item->remindTime(), at(2031, 6, 9, 10));
        QCOMPARE(item->validTime(), at(2031, 6, 9, 10));
        QCOMPARE(item->orderTime(), at(2031, 6, 2, 10));
        QCOMPARE(item->lastCompletedTime(), 0);
    }
    // The notification goes either way.
    QCOMPARE(f.withdrawn->count(), 1);
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sentMessage(0).completed(), expectedCompleted);
    QCOMPARE(f.sentMessage(0).show_remind_time(), item->showRemindTime());
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(overdue.count(), 1);

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QCOMPARE(f.record(kA).completed, expectedCompleted);
    if (!expectedCompleted)
        QCOMPARE(f.probe->nearest(), at(2031, 6, 9, 10));
}

void TestReminderActions::reopeningPutsTheReminderOnTopOfTheOpenList_data()
{
    QTest::addColumn<qint64>("time");
    QTest::addColumn<bool>("expectedReminded");
    QTest::addColumn<int>("expectedOverdue");
    QTest::newRow("remind time ahead: pending again") << at(2031, 6, 2, 15) << false << 0;
    QTest::newRow("remind time past: stays reminded, overdue") << at(2031, 6, 2, 11) << true << 1;
}

void TestReminderActions::reopeningPutsTheReminderOnTopOfTheOpenList()
{
    QFETCH(qint64, time);
    QFETCH(bool, expectedReminded);
    QFETCH(int, expectedOverdue);
    HandlerFixture f;
    ReminderItemPtr done = HandlerFixture::makeItem(kA, time);
    done->setCompleted(true);
    done->setReminded(true);
    done->setOrderTime(at(2031, 5, 30, 9));
    f.storeItem(done);
    ReminderItemPtr b = HandlerFixture::makeItem(kB, at(2031, 6, 3, 9));
    b->setOrderTime(at(2031, 6, 1, 10));
    f.storeItem(b);
    ReminderItemPtr c = HandlerFixture::makeItem(kC, at(2031, 6, 4, 9));
    c->setOrderTime(at(2031, 6, 1, 11));
    f.storeItem(c);
    start(f);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 3, 9));
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(rowId(f, 0), kC);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    QVERIFY(f.handler->completedReminder(kA, false));

    const ReminderItemPtr item = live(f, kA);
    QVERIFY(!item->completed());
    QCOMPARE(item->reminded(), expectedReminded);
    QVERIFY(!item->unread());
    QCOMPARE(item->orderTime(), noon());
    QCOMPARE(item->lastCompletedTime(), noon());
    QCOMPARE(item->lastUnreadTime(), noon());
    QCOMPARE(item->lastPatternTime(), 0); // reopening changes no rule
    QCOMPARE(item->timestamp(), noon());
    QCOMPARE(f.handler->reminderModel()->completedCount(), 0);
    QCOMPARE(f.handler->reminderModel()->visibleCount(), 3);
    QCOMPARE(rowId(f, 0), kA);
    QCOMPARE(rowId(f, 1), kC);
    QCOMPARE(f.probe->pendingSync(), QSet<QString>{kA});
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), kA);
    const im::content::Reminder msg = f.sentMessage(0);
    QVERIFY(!msg.completed());
    QCOMPARE(msg.reminded(), expectedReminded);
    QCOMPARE(msg.order_time(), noon());
    QVERIFY(msg.read());
    QCOMPARE(f.withdrawn->count(), 0);
    QCOMPARE(f.handler->uncompleteOverdueCount(), expectedOverdue);
    QCOMPARE(overdue.count(), expectedOverdue);

    f.settle();
    const QString diff = storedDiff(f, kA);
    QVERIFY2(diff.isEmpty(), qPrintable(diff));
    QVERIFY(!f.record(kA).completed);
    QCOMPARE(f.record(kA).reminded, expectedReminded);
    QCOMPARE(f.record(kA).orderTime, noon());
    if (expectedReminded) {
        QCOMPARE(f.probe->nearest(), at(2031, 6, 3, 9));
        QVERIFY(!f.probe->timer().isActive());
    } else {
        // Pending again and earlier than the others: the nearest.
        QCOMPARE(f.probe->nearest(), time);
        QVERIFY(f.probe->timer().isActive());
        QVERIFY(!f.probe->timer().isSingleShot());
        QCOMPARE(f.probe->timer().interval(), ONE_HOURE);
    }
    QCOMPARE(f.sent->count(), 1);
}

void TestReminderActions::completingAnUnknownIdStillWithdrawsItsStandingNotification()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 14)));
    start(f);
    f.probe->notifiedIdsRef().insert(QStringLiteral("7_99"));

    QVERIFY(!f.handler->completedReminder(QStringLiteral("7_99"), true));

    // The notification is withdrawn before the reminder is looked up.
    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(f.withdrawn->at(0).at(1).toString(), QStringLiteral("7_99"));
    QVERIFY(f.probe->notifiedIds().isEmpty());
    f.settle();
    QCOMPARE(f.sent->count(), 0);
    QVERIFY(f.probe->pendingSync().isEmpty());
}

// ------------------------------------------------------------ unknown ids

void TestReminderActions::actionOnAnUnknownIdDoesNothing_data()
{
    QTest::addColumn<QString>("action");
    for (const char* name : {"snoozeReminder", "snoozeTomorrow", "closeOverdueReminder", "overdueReminderFinish",
                             "modifyRemindTime", "cancelReminder", "completedReminder true",
                             "completedReminder false"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestReminderActions::actionOnAnUnknownIdDoesNothing()
{
    QFETCH(QString, action);
    HandlerFixture f;
    f.storeItem(firedAndSnoozed(kA, at(2031, 6, 2, 11), 10, at(2031, 6, 2, 12, 10)));
    start(f);
    f.probe->notifiedIdsRef().insert(kA);
    f.handler->readyReminder();
    const storage::ReminderInfo before = f.record(kA);
    const quint64 tasks = ThreadManager::getInstance()->taskCount();
    const int interval = f.probe->timer().interval();
    const qint64 nearest = f.probe->nearest();
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);
    QSignalSpy remindTime(live(f, kA).data(), &ReminderItem::remindTimeChanged);
    QSignalSpy layout(f.handler->reminderModel(), &QAbstractItemModel::layoutChanged);
    QSignalSpy moved(f.handler->reminderModel(), &QAbstractItemModel::rowsMoved);

    const QString unknown = QStringLiteral("7_1x");
    if (action == QLatin1String("snoozeReminder"))
        f.handler->snoozeReminder(unknown, 10);
    else if (action == QLatin1String("snoozeTomorrow"))
        f.handler->snoozeTomorrow(unknown);
    else if (action == QLatin1String("closeOverdueReminder"))
        f.handler->closeOverdueReminder(unknown);
    else if (action == QLatin1String("overdueReminderFinish"))
        f.handler->overdueReminderFinish(unknown);
    else if (action == QLatin1String("modifyRemindTime"))
        f.handler->modifyRemindTime(unknown, at(2031, 6, 2, 15));
    else if (action == QLatin1String("cancelReminder"))
        f.handler->cancelReminder(unknown);
    else if (action == QLatin1String("completedReminder true"))
        QVERIFY(!f.handler->completedReminder(unknown, true));
    else if (action == QLatin1String("completedReminder false"))
        QVERIFY(!f.handler->completedReminder(unknown, false));
    else
        QFAIL("unknown action");

    QCOMPARE(ThreadManager::getInstance()->taskCount(), tasks);
    f.settle();
    QCOMPARE(f.sent->count(), 0);
    QCOMPARE(f.deleted->count(), 0);
    QCOMPARE(f.withdrawn->count(), 0);
    QCOMPARE(f.notified->count(), 0);
    QCOMPARE(overdue.count(), 0);
    QCOMPARE(remindTime.count(), 0);
    QCOMPARE(layout.count(), 0);
    QCOMPARE(moved.count(), 0);
    QVERIFY(f.probe->pendingSync().isEmpty());
    QCOMPARE(f.probe->notifiedIds(), QSet<QString>{kA});
    QVERIFY(f.record(kA) == before);
    QCOMPARE(f.store()->count(), 1);
    QCOMPARE(f.probe->nearest(), nearest);
    QVERIFY(f.probe->timer().isActive());
    QCOMPARE(f.probe->timer().interval(), interval);
    QCOMPARE(f.handler->reminderModel()->count(), 1);
}

// -------------------------------------------------------------- deletion

void TestReminderActions::deletingRemovesTheRecordTheRowAndSendsTheRequest()
{
    HandlerFixture f;
    ReminderItemPtr a = HandlerFixture::makeItem(kA, at(2031, 6, 2, 14));
    a->setLastPatternTime(at(2031, 6, 1, 9)); // an unsent change
    f.storeItem(a);
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 15)));
    start(f);
    QVERIFY(f.probe->pendingSync().contains(kA));
    const storage::ReminderInfo b = f.record(kB);

    f.handler->deleteSelect(kA);
    QVERIFY(!f.probe->pendingSync().contains(kA));
    // The lists follow the store.
    QVERIFY(live(f, kA));

    f.settle();
    QVERIFY(!storedRecordExists(f, kA));
    QCOMPARE(f.record(kB), b);
    QVERIFY(!live(f, kA));
    QCOMPARE(f.handler->reminderModel()->count(), 1);
    QCOMPARE(rowId(f, 0), kB);
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.deleted->at(0).at(0).toStringList(), QStringList{kA});
    QCOMPARE(f.sent->count(), 0);
    QCOMPARE(f.withdrawn->count(), 0);
}

void TestReminderActions::deletingLowersTheOverdueCountOnlyForAnOverdueOpenReminder_data()
{
    QTest::addColumn<bool>("completed");
    QTest::addColumn<qint64>("shown");
    QTest::addColumn<int>("drop");
    QTest::newRow("open, overdue") << false << at(2031, 6, 2, 11) << 1;
    QTest::newRow("completed, past") << true << at(2031, 6, 2, 11) << 0;
    QTest::newRow("open, ahead") << false << at(2031, 6, 2, 13) << 0;
}

void TestReminderActions::deletingLowersTheOverdueCountOnlyForAnOverdueOpenReminder()
{
    QFETCH(bool, completed);
    QFETCH(qint64, shown);
    QFETCH(int, drop);
    HandlerFixture f;
    ReminderItemPtr target = HandlerFixture::makeItem(kA, shown);
    target->setCompleted(completed);
    target->setReminded(shown < noon());
    f.storeItem(target);
    ReminderItemPtr other = HandlerFixture::makeItem(kB, at(2031, 6, 2, 10));
    other->setReminded(true);
    f.storeItem(other);
    start(f);
    const int before = f.handler->uncompleteOverdueCount();
    QCOMPARE(before, 1 + drop);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);

    f.handler->deleteSelect(kA);
    f.settle();

    QVERIFY(!live(f, kA));
    QVERIFY(!storedRecordExists(f, kA));
    QCOMPARE(f.handler->uncompleteOverdueCount(), before - drop);
    QCOMPARE(overdue.count(), drop);
    QCOMPARE(f.deleted->count(), 1);
}

void TestReminderActions::deletingTheNearestReminderRereadsTheStoreAndRearms()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 12, 30)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 14)));
    start(f);
    f.handler->readyReminder();
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 30 * kMinute + 1000);

    f.handler->deleteSelect(kA);
    f.settle();

    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 14));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(!f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), ONE_HOURE);
    QCOMPARE(f.deleted->count(), 1);
    QCOMPARE(f.deleted->at(0).at(0).toStringList(), QStringList{kA});
}

void TestReminderActions::deletingAReminderThatIsNotTheNearestLeavesTheTimer()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 12, 30)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 14)));
    start(f);
    f.handler->readyReminder();

    f.handler->deleteSelect(kB);
    f.settle();

    QVERIFY(!live(f, kB));
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 30));
    QVERIFY(f.probe->timer().isActive());
    QVERIFY(f.probe->timer().isSingleShot());
    QCOMPARE(f.probe->timer().interval(), 30 * kMinute + 1000);
}

void TestReminderActions::deletingTheLastPendingReminderStopsTheTimer()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem(kA, at(2031, 6, 2, 12, 30)));
    ReminderItemPtr done = HandlerFixture::makeItem(kB, at(2031, 6, 2, 12, 45));
    done->setCompleted(true);
    f.storeItem(done);
    start(f);
    f.handler->readyReminder();
    QVERIFY(f.probe->timer().isActive());

    f.handler->deleteSelect(kA);
    f.settle();

    QVERIFY(!f.probe->timer().isActive());
    QVERIFY(live(f, kB));
    QCOMPARE(f.notified->count(), 0);
}

void TestReminderActions::deletingWithdrawsAStandingNotificationOnce()
{
    HandlerFixture f;
    f.storeItem(firedAndSnoozed(kA, at(2031, 6, 2, 11), 10, at(2031, 6, 2, 12, 10)));
    f.storeItem(HandlerFixture::makeItem(kB, at(2031, 6, 2, 14)));
    start(f);
    f.probe->notifiedIdsRef().insert(kA);

    f.handler->deleteSelect(kA);
    QCOMPARE(f.withdrawn->count(), 0); // after the store, not at the call
    f.settle();

    QCOMPARE(f.withdrawn->count(), 1);
    QCOMPARE(f.withdrawn->at(0).at(0).toLongLong(), 1001);
    QCOMPARE(f.withdrawn->at(0).at(1).toString(), kA);
    QVERIFY(!f.probe->notifiedIds().contains(kA));
    QVERIFY(!live(f, kA));
    QCOMPARE(f.deleted->count(), 1);
}

QTEST_GUILESS_MAIN(TestReminderActions)
#include "tst_reminderactions.moc"
