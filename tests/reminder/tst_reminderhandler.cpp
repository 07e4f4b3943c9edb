// ReminderHandler: its surface, construction, loading from local storage,
// clearing, and local persistence.
#include "cachefilestorage.h"
#include "fileitem.h"
#include "handlerfixture.h"
#include "modelbaseutil.h"
#include "relativemessage.h"
#include "reminderpattern.h"

#include <QJSEngine>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QThread>

#include <atomic>

class TestReminderHandler : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ReminderHandler::registerMetaType("unused"); }

    // surface
    void surfaceIsDeclaredInOrder();
    void slotsAreDeclaredInOrderWithTheirArgumentNames();
    void metaTypesAreRegisteredUnderTheirNames();
    void constructionOwnsModelsEditorAndTimer();

    // loading
    void loadConnectOnlyConnectsAndLoadsNothing();
    void loadFillsTheMainListFromStorage();
    void completedReminderIsNeverOverdueNorNotifiedAtLoad();
    void openReminderWithoutShowTimeIsNotCountedButMayBeNotifiedWhenSnoozed();
    void snoozedOverdueRemindersAreNotifiedOnceAtLoad();
    void storedRemindTimeMovedByRefreshIsWrittenBackOncePerRecord();
    void remindersWithUnsentChangesArePendingAfterLoad();
    void loadTakesTheSequenceFromThisDevicesIds();
    void loadReadsTheNearestRemindTime();
    void unreadableRecordIsSkippedAndKept();
    void unreadableRecordsIdIsNotMadeAgain();
    void secondLoadOfTheSameStoreAddsNothingTwice_data();
    void secondLoadOfTheSameStoreAddsNothingTwice();
    void loadStampsCachedFilesAsUsed();

    // list finished
    void listFinishedWithNothingPendingPostsNothing();
    void listFinishedSendsPendingChanges();
    void nothingIsSentBeforeTheListFinished();

    // clearing
    void prepareToClearDataDuringLoadStopsBeforeNextRecord();
    void clearDataEmptiesModelsAndStopsTimer();
    void handlerCanBeLoadedAgainAfterClearing();
    void prepareToClearDataForgetsNotificationsSendsAndSelection();

    // local persistence
    void saveToDbWithNullItemWritesNothingAndCallsNothing();
    void saveToDbSyncOnlyWritesNothingButPostsDone();
    void saveToDbAllWritesTheWholeRecordThenCallsDoneOnHandlerThread();
    void saveToDbRemindTimeWritesOnlyTheTime();
    void saveToDbWithEmptyDonePostsNothing();
    void writesRunOnTheStorageWorker();
};

void TestReminderHandler::surfaceIsDeclaredInOrder()
{
    const QMetaObject& mo = ReminderHandler::staticMetaObject;
    const QStringList props = {"reminderPattern", "selectCount", "selectCompletedCount",
                               "uncompleteOverdueCount", "reminderModel", "searchModel", "content",
                               "quoteMsgItem", "attachmentItem", "needRetry", "attachmentModify"};
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), props.size());
    for (int i = 0; i < props.size(); ++i) {
        const QMetaProperty p = mo.property(mo.propertyOffset() + i);
        QCOMPARE(QString::fromLatin1(p.name()), props.at(i));
        QCOMPARE(p.isWritable(), props.at(i) == QLatin1String("content"));
        const bool object = props.at(i) == QLatin1String("reminderPattern")
            || props.at(i) == QLatin1String("reminderModel") || props.at(i) == QLatin1String("searchModel");
        QCOMPARE(p.isConstant(), object);
        if (!object)
            QCOMPARE(QString::fromLatin1(p.notifySignal().name()), props.at(i) + QStringLiteral("Changed"));
    }
    const QStringList expectedSignals = {"selectCountChanged", "selectCompletedCountChanged",
                                         "uncompleteOverdueCountChanged", "contentChanged",
                                         "quoteMsgItemChanged", "attachmentItemChanged", "needRetryChanged",
                                         "attachmentModifyChanged"};
    QStringList found;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
        if (mo.method(i).methodType() == QMetaMethod::Signal) {
            QCOMPARE(mo.method(i).parameterCount(), 0);
            found << QString::fromLatin1(mo.method(i).name());
        }
    }
    QCOMPARE(found, expectedSignals);
}

void TestReminderHandler::slotsAreDeclaredInOrderWithTheirArgumentNames()
{
    const QStringList expected = {
        "readyReminder()", "editReminder(reminderId)", "newReminder(content)", "addAttachment(filePath)",
        "removeAttachment()", "cancelTransfer()", "retryUpload(remindId)",
        "cancelUpload(reminderId,canceled)", "cancelUpload(reminderId)", "syncReminder()",
        "completedReminder(remindId,completed)", "modifyRemindTime(reminderId,remindTime)",
        "cancelReminder(remindId)", "cancel()", "select(reminderId)", "selectAll(checked)",
        "selectAllCompleted(checked)", "deleteAllCompleted()", "clearSelect()", "deleteSelect(reminderId)",
        "deleteSelects()", "selected(reminderId)", "move(from,to)", "moveFinish()", "search(keyword)",
        "resetSearch()", "overdueReminderFinish(remindId)", "snoozeReminder(remindId,mins)",
        "snoozeTomorrow(remindId)", "closeOverdueReminder(remindId)"};
    const QMetaObject& mo = ReminderHandler::staticMetaObject;
    QStringList publicSlots;
    QStringList privateSlots;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
        const QMetaMethod m = mo.method(i);
        if (m.methodType() != QMetaMethod::Slot)
            continue;
        QStringList names;
        for (const QByteArray& n : m.parameterNames())
            names << QString::fromLatin1(n);
        const QString sig = QString::fromLatin1(m.name()) + QLatin1Char('(') + names.join(QLatin1Char(',')) + QLatin1Char(')');
        (m.access() == QMetaMethod::Public ? publicSlots : privateSlots) << sig;
    }
    QCOMPARE(publicSlots, expected);
    QCOMPARE(privateSlots, (QStringList{"onTimeOut()", "notifyReminder(notifyMsgs)", "onListFinished()"}));
    // The two answers with a result.
    QCOMPARE(QByteArray(mo.method(mo.indexOfMethod("completedReminder(QString,bool)")).typeName()), QByteArray("bool"));
    QCOMPARE(QByteArray(mo.method(mo.indexOfMethod("selected(QString)")).typeName()), QByteArray("bool"));
}

void TestReminderHandler::metaTypesAreRegisteredUnderTheirNames()
{
    for (const char* name : {"ReminderItem *", "RelativeMessage *", "ReminderItemPtr", "ReminderModel *",
                             "ReminderHandler *", "ReminderPattern *"}) {
        QVERIFY2(QMetaType::fromName(QMetaObject::normalizedType(name)).isValid(), name);
    }
    QCOMPARE(QMetaType::fromName("ReminderItemPtr"), QMetaType::fromType<ReminderItemPtr>());
}

void TestReminderHandler::constructionOwnsModelsEditorAndTimer()
{
    HandlerFixture f;
    ReminderHandler* h = f.handler;
    QCOMPARE(h->parent(), f.account.get());
    QCOMPARE(QJSEngine::objectOwnership(h), QJSEngine::CppOwnership);
    QVERIFY(h->reminderModel());
    QVERIFY(h->searchModel());
    QVERIFY(h->reminderModel() != h->searchModel());
    QVERIFY(!h->reminderModel()->parent());
    QCOMPARE(h->reminderPattern()->parent(), h);
    QCOMPARE(f.probe->timer().parent(), h);
    QVERIFY(!f.probe->timer().isActive());
    QCOMPARE(h->selectCount(), 0);
    QCOMPARE(h->uncompleteOverdueCount(), 0);
    QCOMPARE(h->content(), QString());
    QVERIFY(!h->quoteMsgItem());
    QVERIFY(!h->attachmentItem());
    QVERIFY(!h->needRetry());
    QVERIFY(!h->attachmentModify());
    QCOMPARE(f.probe->nearest(), 0);
    QVERIFY(!f.probe->listFinished());
}

void TestReminderHandler::loadConnectOnlyConnectsAndLoadsNothing()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 1, 9)));
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);
    f.handler->loadLocalData(true);
    QCOMPARE(f.handler->reminderModel()->count(), 0);
    QCOMPARE(f.probe->nearest(), 0);
    QCOMPARE(overdue.count(), 0);
    // The listing signal reaches the handler (queued).
    f.account->sharedPreference()->finishList();
    QCoreApplication::processEvents();
    QVERIFY(f.probe->listFinished());
}

void TestReminderHandler::loadFillsTheMainListFromStorage()
{
    HandlerFixture f;
    for (int i = 1; i <= 5; ++i)
        f.storeItem(HandlerFixture::makeItem(QStringLiteral("7_%1").arg(i), at(2031, 6, 3, 9 + i)));
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);
    f.handler->loadLocalData(false);
    QCOMPARE(f.handler->reminderModel()->count(), 5);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(overdue.count(), 0);
    // Newest order time first.
    const ReminderItemPtr first = f.handler->reminderModel()->data(f.handler->reminderModel()->index(0), Qt::UserRole + 1).value<ReminderItemPtr>();
    QCOMPARE(first->remindId(), QStringLiteral("7_5"));
    QCOMPARE(first->thread(), QCoreApplication::instance()->thread());
    QCOMPARE(f.notified->count(), 0);
    QVERIFY(!f.probe->timer().isActive()); // armed only when the interface is ready
}

void TestReminderHandler::completedReminderIsNeverOverdueNorNotifiedAtLoad()
{
    HandlerFixture f;
    ReminderItemPtr done = HandlerFixture::makeItem("7_1", at(2031, 6, 1, 9));
    done->setCompleted(true);
    done->setSnooze(10);
    done->setRemindTime(at(2031, 6, 1, 9, 10));
    f.storeItem(done);
    f.handler->loadLocalData(false);
    f.settle();
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(f.notified->count(), 0);
}

void TestReminderHandler::openReminderWithoutShowTimeIsNotCountedButMayBeNotifiedWhenSnoozed()
{
    HandlerFixture f;
    ReminderItemPtr item(new ReminderItem(QStringLiteral("7_1")));
    item->setText(QStringLiteral("no time"));
    item->setSnooze(10);
    item->setRemindTime(at(2031, 6, 2, 11, 50)); // reminded false, snoozed, past
    item->setValidTime(at(2031, 6, 2, 11, 50));
    f.storeItem(item);
    f.handler->loadLocalData(false);
    f.settle();
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    // refreshSnooze moved it past now, later than the show time (0): notified.
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.notifiedIdsOfCall(0), QStringList{QStringLiteral("7_1")});
}

void TestReminderHandler::snoozedOverdueRemindersAreNotifiedOnceAtLoad()
{
    HandlerFixture f;
    ReminderItemPtr snoozed = HandlerFixture::makeItem("7_1", at(2031, 6, 2, 11));
    snoozed->setSnooze(15);
    snoozed->setValidTime(at(2031, 6, 2, 11));
    snoozed->setRemindTime(at(2031, 6, 2, 11, 15));
    f.storeItem(snoozed);
    ReminderItemPtr overdue = HandlerFixture::makeItem("7_2", at(2031, 6, 2, 10)); // one-off, not snoozed
    f.storeItem(overdue);
    QSignalSpy count(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);
    f.handler->loadLocalData(false);
    f.settle();
    QCOMPARE(f.handler->uncompleteOverdueCount(), 2);
    QCOMPARE(count.count(), 1);
    QCOMPARE(f.notified->count(), 1);
    QCOMPARE(f.notifiedIdsOfCall(0), QStringList{QStringLiteral("7_1")});
    const QVariantMap record = f.notified->at(0).at(0).toList().at(0).toMap();
    QCOMPARE(record.value("accountId").toLongLong(), 1001);
    QCOMPARE(record.value("accountNick").toString(), QStringLiteral("Alice"));
    QCOMPARE(record.value("msgType").toInt(), 2005);
    QCOMPARE(record.value("mute").toBool(), false);
    // Its time after being brought forward: 11:15 + 15-minute steps past noon.
    QCOMPARE(record.value("dateTime").toLongLong(), at(2031, 6, 2, 12, 15));
    QCOMPARE(record.value("msgData").value<ReminderItemPtr>(), f.handler->reminderModel()->itemById(QStringLiteral("7_1")));
    QVERIFY(f.probe->notifiedIds().contains(QStringLiteral("7_1")));
}

void TestReminderHandler::storedRemindTimeMovedByRefreshIsWrittenBackOncePerRecord()
{
    HandlerFixture f;
    ReminderItemPtr snoozed = HandlerFixture::makeItem("7_1", at(2031, 6, 2, 11));
    snoozed->setSnooze(20);
    f.storeItem(snoozed);
    ReminderItemPtr future = HandlerFixture::makeItem("7_2", at(2031, 6, 3, 9));
    f.storeItem(future);
    f.handler->loadLocalData(false);
    // 11:00 + 20-minute steps: first past 12:00 is 12:20.
    QCOMPARE(f.record(QStringLiteral("7_1")).remindTime, at(2031, 6, 2, 12, 20));
    QCOMPARE(f.record(QStringLiteral("7_2")).remindTime, at(2031, 6, 3, 9));
    QCOMPARE(f.handler->reminderModel()->itemById(QStringLiteral("7_1"))->remindTime(), at(2031, 6, 2, 12, 20));
}

void TestReminderHandler::remindersWithUnsentChangesArePendingAfterLoad()
{
    HandlerFixture f;
    const QList<std::function<void(ReminderItem&)>> stamps = {
        [](ReminderItem& i) { i.setLastContentTime(5); }, [](ReminderItem& i) { i.setLastCompletedTime(5); },
        [](ReminderItem& i) { i.setLastPatternTime(5); }, [](ReminderItem& i) { i.setLastUnreadTime(5); },
        [](ReminderItem&) {}};
    for (int i = 0; i < stamps.size(); ++i) {
        ReminderItemPtr item = HandlerFixture::makeItem(QStringLiteral("7_%1").arg(i + 1), at(2031, 7, 1, 9));
        stamps.at(i)(*item);
        f.storeItem(item);
    }
    f.handler->loadLocalData(false);
    QCOMPARE(f.probe->pendingSync(),
             (QSet<QString>{QStringLiteral("7_1"), QStringLiteral("7_2"), QStringLiteral("7_3"), QStringLiteral("7_4")}));
}

void TestReminderHandler::loadTakesTheSequenceFromThisDevicesIds()
{
    HandlerFixture f(1001, 1);
    f.storeItem(HandlerFixture::makeItem("12_40", at(2031, 7, 1, 9)));
    f.storeItem(HandlerFixture::makeItem("1_7", at(2031, 7, 1, 9)));
    f.storeItem(HandlerFixture::makeItem("2_99", at(2031, 7, 1, 9)));
    f.handler->loadLocalData(false);
    // "12_40" begins with the digits of device 1 and counts too.
    QCOMPARE(f.probe->lastRemindId(), 40);
}

void TestReminderHandler::loadReadsTheNearestRemindTime()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 5, 9)));
    f.storeItem(HandlerFixture::makeItem("7_2", at(2031, 6, 3, 9)));
    ReminderItemPtr done = HandlerFixture::makeItem("7_3", at(2031, 6, 2, 13));
    done->setReminded(true);
    f.storeItem(done);
    f.handler->loadLocalData(false);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 3, 9));
}

void TestReminderHandler::unreadableRecordIsSkippedAndKept()
{
    HandlerFixture f;
    storage::ReminderInfo broken;
    broken.id = QStringLiteral("7_9");
    broken.data = QByteArray("\xff\xff\xff", 3);
    broken.remindTime = at(2031, 6, 3, 9);
    QVERIFY(f.store()->save(broken));
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9)));
    ImLog::instance()->clearRecentLines();
    f.handler->loadLocalData(false);
    QCOMPARE(f.handler->reminderModel()->count(), 1);
    QCOMPARE(f.record(QStringLiteral("7_9")).data, broken.data);
    QVERIFY(ImLog::instance()->recentLines().join('\n').contains(QStringLiteral("7_9")));
}

void TestReminderHandler::unreadableRecordsIdIsNotMadeAgain()
{
    HandlerFixture f;
    storage::ReminderInfo broken;
    broken.id = QStringLiteral("7_9");
    broken.data = QByteArray("\xff\xff\xff", 3);
    QVERIFY(f.store()->save(broken));
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9)));
    f.handler->loadLocalData(false);
    QCOMPARE(f.probe->lastRemindId(), 9);
    for (int i = 0; i < 3; ++i)
        f.handler->newReminder(QStringLiteral("new %1").arg(i));
    f.settle();
    QVERIFY(!f.handler->reminderModel()->itemById(QStringLiteral("7_9")));
    QVERIFY(f.handler->reminderModel()->itemById(QStringLiteral("7_10")));
    QCOMPARE(f.record(QStringLiteral("7_9")).data, broken.data);
}

void TestReminderHandler::secondLoadOfTheSameStoreAddsNothingTwice_data()
{
    QTest::addColumn<bool>("completed");
    QTest::newRow("open reminders") << false;
    // Completed ones are not shown rows while their section is collapsed.
    QTest::newRow("only completed reminders") << true;
}

void TestReminderHandler::secondLoadOfTheSameStoreAddsNothingTwice()
{
    QFETCH(bool, completed);
    HandlerFixture f;
    for (int i = 1; i <= 3; ++i) {
        ReminderItemPtr item = HandlerFixture::makeItem(QStringLiteral("7_%1").arg(i), at(2031, 6, 3, 9) + i);
        item->setCompleted(completed);
        item->setReminded(completed);
        f.storeItem(item);
    }
    f.handler->loadLocalData(false);
    QCOMPARE(f.handler->reminderModel()->count(), 3);
    f.handler->loadLocalData(false);
    QCOMPARE(f.handler->reminderModel()->count(), 3);
    QStringList ids;
    f.handler->reminderModel()->allIds(ids);
    QCOMPARE(QSet<QString>(ids.begin(), ids.end()).size(), 3);
}

void TestReminderHandler::loadStampsCachedFilesAsUsed()
{
    HandlerFixture f;
    ReminderItemPtr item = HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9));
    QSharedPointer<FileItem> file(new FileItem(8, nullptr));
    file->setType(ContentItem::FileType);
    file->setSourceFile(QSharedPointer<BaseFile>(new BaseFile(QStringLiteral("file-abc"), QStringLiteral("a.pdf"), QString())));
    item->setContent(file, true);
    f.storeItem(item);
    f.handler->loadLocalData(false);
    f.settle();
    QCOMPARE(f.account->storage()->cacheFileStorage()->timestamp(QStringLiteral("file-abc")), f.now());
}

void TestReminderHandler::listFinishedWithNothingPendingPostsNothing()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9)));
    f.handler->loadLocalData(false);
    QMetaObject::invokeMethod(f.handler, "onListFinished");
    f.settle();
    QVERIFY(f.probe->listFinished());
    QCOMPARE(f.sent->count(), 0);
}

void TestReminderHandler::listFinishedSendsPendingChanges()
{
    HandlerFixture f;
    ReminderItemPtr changed = HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9));
    changed->setLastContentTime(at(2031, 6, 1, 9));
    f.storeItem(changed);
    f.storeItem(HandlerFixture::makeItem("7_2", at(2031, 6, 3, 9)));
    f.handler->loadLocalData(false);
    QMetaObject::invokeMethod(f.handler, "onListFinished");
    QCOMPARE(f.sent->count(), 0); // posted, not at once
    f.settle();
    QCOMPARE(f.sent->count(), 1);
    QCOMPARE(f.sent->at(0).at(0).toString(), QStringLiteral("7_1"));
    QCOMPARE(QString::fromStdString(f.sentMessage(0).id()), QStringLiteral("7_1"));
}

void TestReminderHandler::nothingIsSentBeforeTheListFinished()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9)));
    f.handler->loadLocalData(false);
    f.handler->snoozeReminder(QStringLiteral("7_1"), 10);
    f.settle();
    QCOMPARE(f.sent->count(), 0);
    QVERIFY(f.probe->pendingSync().contains(QStringLiteral("7_1")));
    // Stored all the same.
    QCOMPARE(f.record(QStringLiteral("7_1")).remindTime, f.now() + 600000);
}

namespace {
// An account whose clock runs a hook on every reading: the load reads the
// clock once per record, so a test can act in the middle of a load.
class HookedClockAccount : public AccountBase
{
public:
    using AccountBase::AccountBase;
    qint64 currentServerTime() const override
    {
        ++readings;
        if (hook)
            hook(readings);
        return AccountBase::currentServerTime();
    }
    mutable int readings = 0;
    std::function<void(int)> hook;
};
} // namespace

void TestReminderHandler::prepareToClearDataDuringLoadStopsBeforeNextRecord()
{
    QTemporaryDir dir;
    network::NetworkSubject::instance()->setFixedTime(at(2031, 6, 2, 12));
    HookedClockAccount account(1001, 7, dir.path(), ContentCipher::deriveKey("secret"));
    for (int i = 1; i <= 400; ++i) {
        storage::ReminderInfo info;
        HandlerFixture::makeItem(QStringLiteral("7_%1").arg(i), at(2031, 6, 3, 9) + i)->serialize(info);
        QVERIFY(account.storage()->reminderStorage()->save(info));
    }
    auto* handler = new ReminderHandler(&account);
    // The load runs on another thread; the host stops it while the 50th
    // record is being read.
    std::atomic<bool> stopped{false};
    account.hook = [&](int reading) {
        if (reading == 50 && !stopped.exchange(true))
            handler->prepareToClearData(false);
    };
    QThread* loader = QThread::create([&] { handler->loadLocalData(false); });
    loader->start();
    QVERIFY(loader->wait(60000));
    delete loader;
    account.hook = nullptr;
    QVERIFY(stopped);
    QVERIFY(handler->isStopped());
    // The record being read when the stop came is finished; no later one is
    // started, and those read are in the list once the handler's thread
    // has taken them in.
    QTRY_COMPARE(handler->reminderModel()->count(), 50);
    network::NetworkSubject::instance()->releaseFixedTime();
}

void TestReminderHandler::clearDataEmptiesModelsAndStopsTimer()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 2, 12, 30)));
    f.handler->loadLocalData(false);
    f.handler->readyReminder();
    QVERIFY(f.probe->timer().isActive());
    QSignalSpy reset(f.handler->reminderModel(), &QAbstractItemModel::modelReset);
    f.handler->prepareToClearData(false);
    f.handler->clearData(false);
    QCOMPARE(f.handler->reminderModel()->count(), 0);
    QCOMPARE(f.handler->searchModel()->count(), 0);
    QVERIFY(!f.probe->timer().isActive());
    QCOMPARE(reset.count(), 0);
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
}

void TestReminderHandler::handlerCanBeLoadedAgainAfterClearing()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 2, 12, 30)));
    f.handler->loadLocalData(false);
    f.handler->prepareToClearData(false);
    f.handler->clearData(false);
    f.handler->loadLocalData(false);
    QCOMPARE(f.handler->reminderModel()->count(), 1);
    QCOMPARE(f.probe->nearest(), at(2031, 6, 2, 12, 30));
}

void TestReminderHandler::prepareToClearDataForgetsNotificationsSendsAndSelection()
{
    HandlerFixture f;
    f.storeItem(HandlerFixture::makeItem("7_1", at(2031, 6, 2, 12, 30)));
    f.handler->loadLocalData(false);
    f.handler->select(QStringLiteral("7_1"));
    f.probe->notifiedIdsRef().insert(QStringLiteral("7_1"));
    f.handler->snoozeReminder(QStringLiteral("7_1"), 5);
    QSignalSpy overdue(f.handler, &ReminderHandler::uncompleteOverdueCountChanged);
    f.handler->prepareToClearData(false);
    QCOMPARE(f.handler->selectCount(), 0);
    QVERIFY(f.probe->pendingSync().isEmpty());
    QVERIFY(f.probe->notifiedIds().isEmpty());
    QCOMPARE(f.handler->uncompleteOverdueCount(), 0);
    QCOMPARE(overdue.count(), 0);
    QCOMPARE(f.handler->reminderPattern()->remindTime(), 0);
}

void TestReminderHandler::saveToDbWithNullItemWritesNothingAndCallsNothing()
{
    HandlerFixture f;
    bool called = false;
    const quint64 tasks = ThreadManager::getInstance()->taskCount();
    f.probe->saveToDb({}, ReminderHandler::UpdateAll, [&] { called = true; });
    f.settle();
    QVERIFY(!called);
    QCOMPARE(ThreadManager::getInstance()->taskCount(), tasks);
    QCOMPARE(f.store()->count(), 0);
}

void TestReminderHandler::saveToDbSyncOnlyWritesNothingButPostsDone()
{
    HandlerFixture f;
    bool called = false;
    f.probe->saveToDb(HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9)), ReminderHandler::UpdateSyncOnly,
                      [&] { called = true; });
    f.settle();
    QVERIFY(called);
    QCOMPARE(f.store()->count(), 0);
}

void TestReminderHandler::saveToDbAllWritesTheWholeRecordThenCallsDoneOnHandlerThread()
{
    HandlerFixture f;
    ReminderItemPtr item = HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9));
    item->setLastContentTime(77);
    QThread* doneThread = nullptr;
    bool storedWhenDone = false;
    f.probe->saveToDb(item, ReminderHandler::UpdateAll, [&] {
        doneThread = QThread::currentThread();
        storedWhenDone = f.store()->count() == 1;
    });
    QVERIFY(!doneThread); // posted, not run in the call
    f.settle();
    QCOMPARE(doneThread, f.handler->thread());
    QVERIFY(storedWhenDone);
    ReminderItemPtr back = f.storedItem(QStringLiteral("7_1"));
    QCOMPARE(back->text(), QStringLiteral("call Bob"));
    QCOMPARE(back->lastContentTime(), 77);
}

void TestReminderHandler::saveToDbRemindTimeWritesOnlyTheTime()
{
    HandlerFixture f;
    ReminderItemPtr item = HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9));
    f.storeItem(item);
    item->setText(QStringLiteral("changed, not written"));
    item->setRemindTime(at(2031, 6, 4, 9));
    f.probe->saveToDb(item, ReminderHandler::UpdateRemindTime);
    f.settle();
    QCOMPARE(f.record(QStringLiteral("7_1")).remindTime, at(2031, 6, 4, 9));
    QCOMPARE(f.storedItem(QStringLiteral("7_1"))->text(), QStringLiteral("call Bob"));
}

namespace {
// Counts the calls posted to an object.
class PostedCalls : public QObject
{
public:
    int count = 0;
    bool eventFilter(QObject*, QEvent* e) override
    {
        if (e->type() == QEvent::MetaCall)
            ++count;
        return false;
    }
};
} // namespace

void TestReminderHandler::saveToDbWithEmptyDonePostsNothing()
{
    HandlerFixture f;
    PostedCalls calls;
    f.handler->installEventFilter(&calls);
    f.probe->saveToDb(HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9)), ReminderHandler::UpdateAll);
    f.settle();
    QCOMPARE(calls.count, 0);
    QCOMPARE(f.store()->count(), 1);
    // With a follow-up, exactly one call is posted.
    f.probe->saveToDb(HandlerFixture::makeItem("7_2", at(2031, 6, 3, 9)), ReminderHandler::UpdateAll, [] {});
    f.settle();
    QCOMPARE(calls.count, 1);
    f.handler->removeEventFilter(&calls);
}

void TestReminderHandler::writesRunOnTheStorageWorker()
{
    HandlerFixture f;
    const quint64 before = ThreadManager::getInstance()->mainThreadTaskCount();
    f.probe->saveToDb(HandlerFixture::makeItem("7_1", at(2031, 6, 3, 9)), ReminderHandler::UpdateAll);
    QCOMPARE(ThreadManager::getInstance()->mainThreadTaskCount(), before + 1);
    f.settle();
    QCOMPARE(f.store()->count(), 1);
}

QTEST_GUILESS_MAIN(TestReminderHandler)
#include "tst_reminderhandler.moc"
