#include "reminderhandler.h"

#include "accountbase.h"
#include "accountcommand.h"
#include "accountmanager.h"
#include "cachefilestorage.h"
#include "contactbase.h"
#include "contentitem.h"
#include "deserializecontent.h"
#include "filedatamgr.h"
#include "fileservicecmd.h"
#include "fileutil.h"
#include "lotteryitem.h"
#include "mediasenditem.h"
#include "mediasendermodel.h"
#include "pollitem.h"
#include "util.h"
#include "fileitem.h"
#include "filemanager.h"
#include "imlog.h"
#include "localloader.h"
#include "modelbaseutil.h"
#include "networksubject.h"
#include "relativemessage.h"
#include "reminderinfo.h"
#include "remindermodel.h"
#include "reminderpattern.h"
#include "reminderstorage.h"
#include "sharedpreferencebase.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include "im/content/reminder.pb.h"

#include "crossthread.h"
#include "synclocker.h"

#include <QCoreApplication>
#include <QJSEngine>
#include <QMessageLogger>
#include <QPointer>
#include <QThread>

#include <algorithm>
#include <charconv>
#include <limits>
#include <vector>

namespace {

// The host's message type of a reminder notification.
constexpr int kReminderMessageType = 2005;

// How many search results one posted call carries to the search list: the
// first few, so that the list starts taking them while the next are looked
// up, then twice as many each time up to the most.
constexpr qsizetype kFirstSearchChunk = 256;
constexpr qsizetype kMostSearchChunk = 2048;
// Scene code of contents shown inside a reminder.
constexpr int kReminderScene = 8;
// The highest stored remind sequence that loading takes: new ids count on
// from it one by one, and half of the range is more than a device makes.
constexpr int kLastTakenRemindSequence = std::numeric_limits<int>::max() / 2;
// How many of a timer pass's writes go to the storage worker in one task:
// enough that the task and the connection's lock cost little per write,
// few enough that the worker works on them while the pass goes on. The
// first chunks are smaller, so that the worker starts almost at once.
constexpr size_t kFirstPassWriteChunk = 16;
constexpr size_t kPassWriteChunk = 128;

bool onMainThread()
{
    return QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread();
}

} // namespace

struct ReminderHandler::PassWrites
{
    std::vector<storage::ReminderWrite> writes;
    size_t chunk = kFirstPassWriteChunk;
};

// ------------------------------------------------------------- lifecycle

ReminderHandler::ReminderHandler(AccountBase* account)
    : QObject(account),
      ModelBase(),
      m_reminderModel(new ReminderModel(account)),
      m_searchModel(new ReminderModel(account)),
      m_account(account),
      m_pattern(new ReminderPattern(this)),
      m_remindTimer(this),
      m_storageReturns(new QObject(this))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    connect(&m_remindTimer, &QTimer::timeout, this, &ReminderHandler::onTimeOut);
}

ReminderHandler::~ReminderHandler()
{
    // Storage tasks hold this handler's follow-ups, and a search job reads
    // its lists: let them run out first.
    setStopped(true);
    m_clearGeneration.fetchAndAddOrdered(1);
    {
        // A load on another thread reads through this handler: let it end.
        std::unique_lock<std::mutex> lock(m_loadMutex);
        m_loadsDone.wait(lock, [this] { return m_loadsRunning == 0; });
    }
    m_searchFuture.waitForFinished();
    CrossThread::acquire(&m_searchFuture);
    ThreadManager::getInstance()->waitForIdle();
    delete m_reminderModel;
    delete m_searchModel;
    delete m_pattern;
    // An edit still open: its send item is the handler's (its files stay).
    delete m_attachment;
}

void ReminderHandler::registerMetaType(const char*)
{
    qRegisterMetaType<ReminderItem*>("ReminderItem *");
    qRegisterMetaType<RelativeMessage*>("RelativeMessage *");
    qRegisterMetaType<ReminderItemPtr>("ReminderItemPtr");
    qRegisterMetaType<ReminderModel*>("ReminderModel *");
    qRegisterMetaType<ReminderHandler*>("ReminderHandler *");
    qRegisterMetaType<ReminderPattern*>("ReminderPattern *");
}

qint64 ReminderHandler::now() const
{
    return m_account ? m_account->currentServerTime() : network::NetworkSubject::instance()->currentDateTime();
}

void ReminderHandler::loadLocalData(bool connectOnly)
{
    if (m_account && m_account->sharedPreference()) {
        connect(m_account->sharedPreference(), &SharedPreferenceBase::listFinished, this,
                &ReminderHandler::onListFinished,
                Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection));
    }
    if (connectOnly || !m_account)
        return;
    beginLoad();
    // Deliberate: the load never lowers the stop flag. A stop raised while
    // the load starts must stop it; clearData lowers the flag for the next
    // load, and a clear during the read makes its result stale.
    const int generation = m_clearGeneration.loadAcquire();
    LocalLoader loader(
        m_account, [this, generation] { return isStopped() || m_clearGeneration.loadAcquire() != generation; },
        [this](const QSharedPointer<ContentItem>& content) { return needUpload(content); });
    LoadedReminders loaded = loader.read();
    QPointer<ReminderHandler> self(this);
    CrossThread::invoke(this, [self, generation, loaded] {
        // Cleared while reading: what was read belongs to the dropped data.
        if (self && self->m_clearGeneration.loadAcquire() == generation)
            self->takeLoaded(loaded);
    });
    endLoad();
}

void ReminderHandler::beginLoad()
{
    std::lock_guard<std::mutex> lock(m_loadMutex);
    ++m_loadsRunning;
}

void ReminderHandler::endLoad()
{
    std::lock_guard<std::mutex> lock(m_loadMutex);
    if (--m_loadsRunning == 0)
        m_loadsDone.notify_all();
}

void ReminderHandler::takeLoaded(const LoadedReminders& loaded)
{
    for (const QString& id : loaded.takenIds)
        updateLastRemindId(id);
    for (const QString& id : loaded.unreadableIds)
        m_skippedRecords.insert(id);

    // A reminder the list already shows (a second load of the same store)
    // stays as it is: the shown one is at least as new as its record.
    const bool wasEmpty = m_reminderModel->count() == 0;
    QList<ReminderItemPtr> fresh;
    fresh.reserve(loaded.reminders.size());
    int overdue = 0;
    QVariantList notifications;
    for (const LoadedReminder& reminder : loaded.reminders) {
        const ReminderItemPtr& item = reminder.item;
        const QString id = item->remindId();
        if (!wasEmpty && m_reminderModel->itemById(id))
            continue;
        m_skippedRecords.remove(id);
        if (reminder.waitsForUpload) {
            SyncLocker lock(&m_uploadMutex);
            m_failedUploads.insert(id, item);
        }
        if (reminder.overdue)
            ++overdue;
        if (reminder.notify)
            makeNotifyMsgs(item, notifications);
        if (item->lastContentTime() > 0 || item->lastCompletedTime() > 0 || item->lastPatternTime() > 0
            || item->lastUnreadTime() > 0)
            m_pendingSync.insert(id);
        fresh.append(item);
    }

    m_reminderModel->insertItems(fresh);
    m_nearestTimestamp = storedNearest();
    if (wasEmpty)
        setUncompleteOverdueCount(overdue);
    else
        recountOverdue();
    if (!notifications.isEmpty()) {
        // Shown later, on this thread, unless the data is dropped first.
        const int generation = m_clearGeneration.loadAcquire();
        QPointer<ReminderHandler> self(this);
        CrossThread::post(this, [self, generation, notifications] {
            if (self && self->m_clearGeneration.loadAcquire() == generation)
                self->notifyReminder(notifications);
        });
    }
    // The host's listing finished before the load did: what the load found
    // unsent goes out now, as it would have at the listing's end.
    if (m_listFinished)
        onListFinished();
}

void ReminderHandler::onListFinished()
{
    m_listFinished = true;
    {
        SyncLocker lock(&m_uploadMutex);
        if (m_failedUploads.isEmpty() && m_pendingSync.isEmpty())
            return;
    }
    CrossThread::post(this, [this] {
        retrySync();
        reuploadFailed();
    });
}

void ReminderHandler::prepareToClearData(bool)
{
    setStopped(true);
    m_uncompleteOverdueCount = 0;
    SyncLocker searchLock(&m_searchMutex);
    if (!m_searchFuture.isFinished()) {
        m_searchFuture.cancel();
        m_searchFuture.waitForFinished();
    }
    CrossThread::acquire(&m_searchFuture);
    // Results the search already posted belong to the data being dropped.
    m_searchGeneration.fetchAndAddOrdered(1);
    SyncLocker uploadLock(&m_uploadMutex);
    const QStringList uploading = m_uploading.keys();
    for (const QString& id : uploading)
        cancelUpload(id, CancelBySystem);
    m_uploading.clear();
    m_notifiedIds.clear();
    m_pendingSync.clear();
    m_selectedIds.clear();
    clearStatus();
    uploadLock.unlock();
    searchLock.unlock();
}

void ReminderHandler::clearData(bool)
{
    SyncLocker lock(&m_uploadMutex);
    m_remindTimer.stop();
    m_searchGeneration.fetchAndAddOrdered(1);
    m_reminderModel->clear();
    m_searchModel->clear();
    m_editItem.reset();
    m_movedItems.clear();
    m_failedUploads.clear();
    m_uploading.clear();
    m_editBackup.reset();
    // Nothing is pending and nothing is sent until the next load and list.
    m_nearestTimestamp = 0;
    m_listFinished = false;
    m_skippedRecords.clear();
    // A load still reading takes nothing in; the next load may run.
    m_clearGeneration.fetchAndAddOrdered(1);
    setStopped(false);
}

void ReminderHandler::clearStatus()
{
    m_editItem.reset();
    // The send item goes; the files it names stay with the reminder.
    delete m_attachment;
    m_attachment = nullptr;
    m_content = QString();
    m_pattern->reset();
}

// --------------------------------------------------------------- surface

int ReminderHandler::selectCount() const
{
    return m_selectedIds.size();
}

int ReminderHandler::selectCompletedCount() const
{
    return m_selectCompletedCount;
}

int ReminderHandler::uncompleteOverdueCount() const
{
    return m_uncompleteOverdueCount;
}

void ReminderHandler::setContent(const QString& content)
{
    if (m_content == content)
        return;
    m_content = content;
    emit contentChanged();
    m_pattern->setTimeModified(true);
    m_contentModify = true;
}

RelativeMessage* ReminderHandler::quoteMsgItem() const
{
    return m_editItem ? m_editItem->quoteMsgItem() : nullptr;
}

ContentItem* ReminderHandler::attachmentItem() const
{
    return m_editItem ? m_editItem->content() : nullptr;
}

QSharedPointer<ContentItem> ReminderHandler::attachmentItemPtr() const
{
    return m_editItem ? m_editItem->contentPtr() : QSharedPointer<ContentItem>();
}

void ReminderHandler::setAttachmentModify(bool modify)
{
    if (m_attachmentModify == modify)
        return;
    m_attachmentModify = modify;
    emit attachmentModifyChanged();
}

// ------------------------------------------------------ local persistence

void ReminderHandler::runOnStorage(std::function<void()>&& task)
{
    // Behind whatever a running timer pass has gathered (a host that
    // answers a send at once may delete a reminder the pass has written).
    flushPassWrites();
    ThreadManager::getInstance()->invoke(std::move(task), onMainThread());
}

void ReminderHandler::saveToDb(ReminderItemPtr item, UpdateKeyType type, std::function<void()> done)
{
    if (!item)
        return;
    // The record is taken here, on the item's own thread, at the moment of
    // the call; the worker only writes it and never reads an item that the
    // interface may be changing at the same time.
    storage::ReminderInfo info;
    bool write = false;
    if (type == UpdateAll)
        write = item->serialize(info);
    const QString id = item->remindId();
    // The record is this reminder's from now on: the timer counts it again.
    if (write)
        m_skippedRecords.remove(id);
    const qint64 remindTime = item->remindTime();
    storage::ReminderStorage* store = m_account->storage()->reminderStorage();
    if (m_passWrites && !done) {
        // A timer pass writes thousands of records at once: they go to the
        // worker a chunk per task (in the same order), while the pass goes
        // on with the next reminders.
        if (type == UpdateAll && write) {
            // The pass has just read the record.
            m_passWrites->writes.push_back({storage::ReminderWrite::SaveStored, std::move(info)});
        } else if (type == UpdateRemindTime) {
            storage::ReminderWrite update;
            update.kind = storage::ReminderWrite::RemindTime;
            update.info.id = id;
            update.info.remindTime = remindTime;
            m_passWrites->writes.push_back(std::move(update));
        }
        if (m_passWrites->writes.size() >= m_passWrites->chunk)
            flushPassWrites();
        return;
    }
    // Whatever a pass has gathered goes first, so that writes keep their
    // order.
    flushPassWrites();
    QPointer<ReminderHandler> self(this);
    // A write that shares its commit with the writes queued around it; its
    // completion is held until that commit (the handler waits for the
    // worker before it goes, so it is still there to receive it).
    ThreadManager::getInstance()->invokeWrite(
        [self, handler = this, store, type, write, info = std::move(info), id, remindTime, item = std::move(item),
         done = std::move(done)]() mutable {
            if (type == UpdateAll && write)
                store->save(info);
            else if (type == UpdateRemindTime)
                store->updateRemindTime(id, remindTime);
            // What the task holds was made on the handler's thread and goes
            // back there with the completion, to be freed there (see
            // flushPassWrites).
            if (done)
                ThreadManager::getInstance()->reportTo(
                    handler, [self, info = std::move(info), item = std::move(item), done = std::move(done)] {
                        if (self)
                            done();
                    });
        },
        onMainThread());
}

void ReminderHandler::flushPassWrites()
{
    if (!m_passWrites || m_passWrites->writes.empty())
        return;
    storage::ReminderStorage* store = m_account->storage()->reminderStorage();
    std::vector<storage::ReminderWrite> chunk;
    chunk.swap(m_passWrites->writes);
    m_passWrites->chunk = std::min(m_passWrites->chunk * 2, kPassWriteChunk);
    m_passWrites->writes.reserve(m_passWrites->chunk);
    auto written = std::make_shared<std::vector<storage::ReminderWrite>>(std::move(chunk));
    ThreadManager::getInstance()->invokeWrite(
        [returns = m_storageReturns, store, written]() mutable {
            store->writeEach(*written);
            // The records were made on the handler's thread and go back there
            // to be freed: freed here, each would take the allocator's lock
            // of that thread while the pass is still making the next ones.
            ThreadManager::getInstance()->reportTo(returns, [written = std::move(written)] {});
        },
        onMainThread());
}

// ------------------------------------------------ remind timer, notifying

void ReminderHandler::checkStartTimer()
{
    // A nearest time from a damaged record or a foreign message can be far
    // beyond a clock set before 1970: the distance stops at the ends of the
    // range (far away is the hourly tick).
    const qint64 current = now();
    qint64 delta;
    if (qSubOverflow(m_nearestTimestamp, current, &delta))
        delta = m_nearestTimestamp > current ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
    if (delta > ONE_HOURE) {
        if (m_remindTimer.isActive() && m_remindTimer.interval() == ONE_HOURE)
            return;
        m_remindTimer.stop();
        m_remindTimer.setSingleShot(false);
        m_remindTimer.setInterval(int(ONE_HOURE));
        m_remindTimer.start();
    } else if (delta < 0) {
        onTimeOut();
    } else {
        if (m_remindTimer.isActive() && delta > m_remindTimer.interval())
            return;
        m_remindTimer.stop();
        m_remindTimer.setSingleShot(true);
        m_remindTimer.setInterval(int(delta + 1000));
        m_remindTimer.start();
    }
}

void ReminderHandler::updateNearestTimer(const ReminderItemPtr& item)
{
    if (!item || item->reminded() || item->remindTime() <= 0)
        return;
    qint64 candidate;
    if (m_nearestTimestamp <= 0) {
        candidate = item->remindTime();
    } else if (m_nearestTimestamp < item->remindTime()) {
        // The item may have been the nearest one and moved later.
        candidate = storedNearest();
        if (candidate == m_nearestTimestamp)
            return;
    } else if (m_nearestTimestamp == item->remindTime()) {
        return;
    } else {
        candidate = item->remindTime();
    }
    m_nearestTimestamp = candidate;
    checkStartTimer();
}

void ReminderHandler::refreshAfterSave(const ReminderItemPtr& item)
{
    if (!item)
        return;
    if (item->reminded()) {
        const qint64 nearest = storedNearest();
        if (nearest != m_nearestTimestamp) {
            m_nearestTimestamp = nearest;
            checkStartTimer();
        }
    } else {
        updateNearestTimer(item);
    }
}

void ReminderHandler::onTimeOut()
{
    qint64 current = now();
    if (current < m_nearestTimestamp) {
        // Early, as the hourly tick is.
        if (m_remindTimer.interval() < ONE_HOURE) {
            ImLog::instance()->error(QStringLiteral("Reminder time out: CurrentDateTime(%1), LoadedRemindTime(%2)")
                                         .arg(current)
                                         .arg(m_nearestTimestamp));
        } else if (!network::NetworkSubject::instance()->appIsActive()) {
            m_account->requestRefresh();
        }
        checkStartTimer();
        return;
    }

    bool stuck = false;
    QSet<QString> handled;
    if (m_nearestTimestamp > 0) {
        storage::ReminderStorage* store = m_account->storage()->reminderStorage();
        // Who the notifications are for: the same for every record of the
        // pass.
        const QSharedPointer<ContactBase> own = m_account->ownUser();
        const QString accountNick = own ? own->nick() : QString();
        PassWrites passWrites;
        do {
            // The pass needs the due records' ids and flags, not their data:
            // the reminders themselves are in the list.
            const QList<storage::DueRecord> due = store->dueAt(m_nearestTimestamp);
            QVariantList notifications;
            qint64 oldTime = 0;
            qint64 newTime = 0;
            handled.clear();
            // Room for every due reminder at once, not grown step by step.
            notifications.reserve(due.size());
            handled.reserve(due.size());
            m_pendingSync.reserve(m_pendingSync.size() + due.size());
            passWrites.writes.reserve(passWrites.chunk);
            m_passWrites = &passWrites;
            for (const storage::DueRecord& info : due) {
                if (info.reminded)
                    continue;
                ReminderItemPtr item = m_reminderModel->itemById(info.id);
                if (!item) {
                    // Nothing to notify; left as it is, and stepped over so
                    // that it does not hold up the reminders after it.
                    skipRecord(info.id, "has no reminder in the list");
                    continue;
                }
                handled.insert(info.id);
                bool unreadStep = false;
                if (item->reminded()) {
                    // The stored record lags behind the item.
                    saveToDb(item, UpdateAll);
                } else if (item->remindTime() > info.remindTime) {
                    // So does this one: an earlier pass (a wake brings two
                    // catch-ups in one turn) already moved the reminder past
                    // this instant, and its write has not landed yet.
                    saveToDb(item, UpdateRemindTime);
                } else if (item->completed()) {
                    item->setReminded(true);
                    saveToDb(item, UpdateAll);
                } else if (item->interval() < 1 && item->snooze() < 1) {
                    makeNotifyMsgs(item, notifications, accountNick);
                    item->setReminded(true);
                    unreadStep = true;
                } else {
                    oldTime = item->remindTime();
                    if (item->stepSnooze()) {
                        makeNotifyMsgs(item, notifications, accountNick);
                        newTime = item->remindTime();
                        unreadStep = true;
                    } else {
                        saveToDb(item, UpdateRemindTime);
                    }
                }
                if (!unreadStep)
                    continue;
                if (item->unread() && !item->reminded()) {
                    // Fired again before being seen.
                    saveToDb(item, UpdateRemindTime);
                } else {
                    item->setUnread(true);
                    item->setLastUnreadTime(m_nearestTimestamp);
                    m_pendingSync.insert(item->remindId());
                    syncToServer(item, false, UpdateAll);
                }
            }
            // The last chunk goes before the notifications, as every write
            // of the pass did.
            flushPassWrites();
            m_passWrites = nullptr;
            if (!notifications.isEmpty())
                AccountManager::getInstance()->notifyNewMessage(notifications);

            const qint64 previous = m_nearestTimestamp;
            m_nearestTimestamp = storedNearest();
            if (m_nearestTimestamp == previous) {
                ImLog::instance()->error(
                    QStringLiteral("Reminder time out notify: old time(%1), new time(%2), nearest time(%3)")
                        .arg(oldTime)
                        .arg(newTime)
                        .arg(m_nearestTimestamp));
                stuck = true;
                break;
            }
            if (m_nearestTimestamp < 1)
                break;
            current = now();
        } while (m_nearestTimestamp <= current);
    }

    if (m_nearestTimestamp == 0)
        m_remindTimer.stop();
    else if (stuck)
        rearmWhenStorageCaughtUp(m_nearestTimestamp, handled);
    else
        checkStartTimer();
}

void ReminderHandler::rearmWhenStorageCaughtUp(qint64 stuckAt, const QSet<QString>& handled)
{
    // The pass's writes are still queued on the storage worker, so storage
    // reported the instant it had just handled. Instead of handling it again
    // at once (from records that are about to change), the timer rule runs
    // again behind those writes.
    QPointer<ReminderHandler> self(this);
    runOnStorage([self, stuckAt, handled] {
        if (!self)
            return;
        CrossThread::invoke(self.data(), [self, stuckAt, handled] {
            if (!self)
                return;
            qint64 nearest = self->storedNearest();
            if (nearest == stuckAt && nearest <= self->now()) {
                // The pass's writes have landed and storage still reports
                // that instant: the records the pass handled there could
                // not be moved (a snooze period that does not advance, a
                // failed write). They are stepped over; a record that came
                // in after the pass is handled by the next one.
                const QList<storage::ReminderInfo> still =
                    self->m_account->storage()->reminderStorage()->infosWithTimestamp(stuckAt);
                for (const storage::ReminderInfo& info : still) {
                    if (!info.reminded && !info.completed && handled.contains(info.id))
                        self->skipRecord(info.id, "stays due after its pass");
                }
                nearest = self->storedNearest();
            }
            self->m_nearestTimestamp = nearest;
            if (nearest == 0)
                self->m_remindTimer.stop();
            else
                self->checkStartTimer();
        });
    });
}

qint64 ReminderHandler::storedNearest()
{
    return m_account->storage()->reminderStorage()->nearestTimestamp(m_skippedRecords);
}

void ReminderHandler::skipRecord(const QString& remindId, const char* why)
{
    if (m_skippedRecords.contains(remindId))
        return;
    m_skippedRecords.insert(remindId);
    // Once per record and load: the set is emptied with the data.
    ImLog::instance()->error(QStringLiteral("Reminder record %1 %2: the remind timer steps over it")
                                 .arg(remindId, QLatin1String(why)));
}

void ReminderHandler::makeNotifyMsgs(const ReminderItemPtr& item, QVariantList& list)
{
    const QSharedPointer<ContactBase> own = m_account->ownUser();
    makeNotifyMsgs(item, list, own ? own->nick() : QString());
}

void ReminderHandler::makeNotifyMsgs(const ReminderItemPtr& item, QVariantList& list, const QString& accountNick)
{
    if (!item)
        return;
    item->resolveQuoteSender(m_account);
    QVariantMap record;
    record.insert(QStringLiteral("accountId"), m_account->accountId());
    record.insert(QStringLiteral("accountNick"), accountNick);
    record.insert(QStringLiteral("msgType"), kReminderMessageType);
    record.insert(QStringLiteral("dateTime"), item->remindTime());
    record.insert(QStringLiteral("mute"), false);
    record.insert(QStringLiteral("msgData"), QVariant::fromValue(item));
    list.append(QVariant(std::move(record)));
    // A snoozed reminder's notification stays standing until the user acts.
    if (item->snooze() > 0 && !m_notifiedIds.contains(item->remindId()))
        m_notifiedIds.insert(item->remindId());
}

void ReminderHandler::notifyReminder(QVariantList notifyMsgs)
{
    AccountManager::getInstance()->notifyNewMessage(notifyMsgs);
}

void ReminderHandler::removeNotify(const QString& remindId)
{
    if (m_notifiedIds.remove(remindId))
        AccountManager::getInstance()->deletedReminder(m_account->accountId(), remindId);
}

void ReminderHandler::setUncompleteOverdueCount(int count)
{
    if (m_uncompleteOverdueCount == count)
        return;
    m_uncompleteOverdueCount = count;
    emit uncompleteOverdueCountChanged();
}

void ReminderHandler::recountOverdue()
{
    setUncompleteOverdueCount(m_reminderModel->overdueCount());
}

void ReminderHandler::stamp(const ReminderItemPtr& item, qint64 time)
{
    item->setLastPatternTime(time);
    item->setLastUnreadTime(time);
}

void ReminderHandler::send(const ReminderItemPtr& item, std::function<void()> done)
{
    m_pendingSync.insert(item->remindId());
    syncToServer(item, false, UpdateAll, std::move(done));
}

void ReminderHandler::readyReminder()
{
    if (m_nearestTimestamp > 0)
        checkStartTimer();
}

void ReminderHandler::snoozeReminder(QString remindId, int mins)
{
    ReminderItemPtr item = m_reminderModel->itemById(remindId);
    if (!item)
        return;
    m_notifiedIds.remove(remindId);
    const qint64 time = now();
    // The 32-bit product wraps above 35,791 minutes, as it always has.
    item->setValidTime(time + ReminderItem::snoozeStep(mins));
    item->setRemindTime(item->validTime());
    item->setUnread(false);
    stamp(item, time);
    send(item, [this, item] { updateNearestTimer(item); });
}

void ReminderHandler::snoozeTomorrow(QString remindId)
{
    ReminderItemPtr item = m_reminderModel->itemById(remindId);
    if (!item)
        return;
    m_notifiedIds.remove(remindId);
    item->snoozeToTomorrow();
    item->setUnread(false);
    stamp(item, now());
    send(item, [this, item] { updateNearestTimer(item); });
}

void ReminderHandler::closeOverdueReminder(QString remindId)
{
    ReminderItemPtr item = m_reminderModel->itemById(remindId);
    if (!item)
        return;
    m_notifiedIds.remove(remindId);
    item->setSnooze(0);
    item->advanceRemindTime(false, false);
    item->setUnread(false);
    stamp(item, now());
    send(item, [this, item] { refreshAfterSave(item); });
}

void ReminderHandler::overdueReminderFinish(QString remindId)
{
    ReminderItemPtr item = m_reminderModel->itemById(remindId);
    if (!item)
        return;
    m_notifiedIds.remove(remindId);
    checkeNextRemindTime(item, false);
}

void ReminderHandler::modifyRemindTime(QString reminderId, qint64 remindTime)
{
    ReminderItemPtr item = m_reminderModel->itemById(reminderId);
    if (!item)
        return;
    item->setUnread(false);
    if (!item->completed())
        item->setReminded(false);
    item->reschedule(remindTime);
    removeNotify(reminderId);
    item->setLastPatternTime(now());
    item->setLastUnreadTime(now());
    send(item, [this, item] { updateNearestTimer(item); });
}

void ReminderHandler::cancelReminder(QString remindId)
{
    ReminderItemPtr item = m_reminderModel->itemById(remindId);
    if (!item)
        return;
    item->setUnread(false);
    item->setReminded(false);
    // The rule is cleared through the editor: loaded, reset, written back.
    m_pattern->loadFrom(item);
    m_pattern->reset();
    m_pattern->writeTo(item);
    item->reschedule(0);
    removeNotify(remindId);
    item->setLastPatternTime(now());
    item->setLastUnreadTime(now());
    send(item, [this, item] { updateNearestTimer(item); });
}

void ReminderHandler::checkeNextRemindTime(const ReminderItemPtr& item, bool fromShow)
{
    item->advanceRemindTime(fromShow, true);
    item->setUnread(false);
    const qint64 time = now();
    if (item->reminded())
        completedReminder(item, true);
    stamp(item, time);
    send(item, [this, item] { refreshAfterSave(item); });
}

void ReminderHandler::completedReminder(const ReminderItemPtr& item, bool completed)
{
    const qint64 time = now();
    item->setOrderTime(time);
    item->setCompleted(completed);
    item->setUnread(false);
    item->setLastCompletedTime(time);
    item->setLastUnreadTime(time);
    m_reminderModel->resort(item);
    if (m_searchModel->itemById(item->remindId()))
        m_searchModel->resort(item);
}

bool ReminderHandler::completedReminder(QString remindId, bool completed)
{
    if (m_notifiedIds.remove(remindId))
        AccountManager::getInstance()->deletedReminder(m_account->accountId(), remindId);
    ReminderItemPtr item = m_reminderModel->itemById(remindId);
    if (!item)
        return false;
    if (completed) {
        // A repeating reminder moves on and stays open; only one without a
        // further occurrence is completed.
        checkeNextRemindTime(item, true);
    } else {
        completedReminder(item, false);
        if (item->remindTime() > now()) {
            item->setReminded(false);
            updateNearestTimer(item);
        }
        m_pendingSync.insert(remindId);
        syncToServer(item, false, UpdateAll);
    }
    return item->completed() == completed;
}

// ------------------------------------------------------------- deleting

void ReminderHandler::deleteReminder(const QString& id)
{
    ReminderItemPtr item = m_reminderModel->itemById(id);
    if (!item)
        return;
    if (FileManager* files = m_account->fileManager())
        files->cancelUpload(id, item->contentPtr(), CancelByUser);
    if (m_selectedIds.contains(id))
        select(id);
    m_reminderModel->removeById(id);
    m_searchModel->removeById(id);
    if (!item->completed() && item->showRemindTime() > 0 && now() > item->showRemindTime()) {
        --m_uncompleteOverdueCount;
        emit uncompleteOverdueCountChanged();
    }
    if (item->remindTime() == m_nearestTimestamp) {
        const qint64 nearest = storedNearest();
        if (nearest >= 1) {
            m_nearestTimestamp = nearest;
            checkStartTimer();
        } else {
            m_nearestTimestamp = 0;
            m_remindTimer.stop();
        }
    }
    removeNotify(id);
}

void ReminderHandler::deleteSelect(QString reminderId)
{
    m_pendingSync.remove(reminderId);
    storage::ReminderStorage* store = m_account->storage()->reminderStorage();
    QPointer<ReminderHandler> self(this);
    runOnStorage([self, store, reminderId] {
        store->remove(reminderId);
        if (!self)
            return;
        CrossThread::invoke(self.data(), [self, reminderId] {
            if (!self)
                return;
            self->deleteReminder(reminderId);
            self->m_account->command()->deleteReminders({reminderId});
        });
    });
}

void ReminderHandler::select(QString reminderId)
{
    const bool wasSelected = m_selectedIds.removeOne(reminderId);
    if (!wasSelected)
        m_selectedIds.append(reminderId);
    ReminderItemPtr item = m_reminderModel->itemById(reminderId);
    if (item && item->completed()) {
        m_selectCompletedCount += wasSelected ? -1 : 1;
        emit selectCompletedCountChanged();
    }
    emit selectCountChanged();
}

bool ReminderHandler::selected(QString reminderId)
{
    return m_selectedIds.contains(reminderId);
}

// ------------------------------------------------------ synchronisation

void ReminderHandler::syncToServer(ReminderItemPtr item, bool textOnly, UpdateKeyType key, std::function<void()> done)
{
    if (!item)
        return;
    item->setTimestamp(now());
    saveToDb(item, key, std::move(done));
    if (m_listFinished) {
        im::content::Reminder message;
        if (item->serialize(message, m_account, textOnly)) {
            QByteArray bytes(int(message.ByteSizeLong()), Qt::Uninitialized);
            if (!message.SerializeToArray(bytes.data(), bytes.size())) {
                QMessageLogger("reminder/reminderhandler", __LINE__,
                               "void __cdecl ReminderHandler::syncToServer(class QSharedPointer<class ReminderItem>,"
                               "bool,enum ReminderHandler::UpdateKeyType,class std::function<void __cdecl(void)>)")
                    .debug("=====Serialize proto buffer failed");
            }
            m_account->command()->updateReminder(item->remindId(), bytes);
        }
    }
    recountOverdue();
    m_editRemindId = item->remindId();
}

void ReminderHandler::syncFinished(const QString& remindId, const QByteArray& data, int code)
{
    switch (code) {
    case -1:
        // Sending stops until the host lists again; changes are still stored.
        m_listFinished = false;
        break;
    case 0:
        if (ReminderItemPtr item = m_reminderModel->itemById(remindId)) {
            item->setLastContentTime(0);
            item->setLastCompletedTime(0);
            item->setLastPatternTime(0);
            item->setLastUnreadTime(0);
            storage::ReminderStorage* store = m_account->storage()->reminderStorage();
            runOnStorage([store, remindId] { store->updateExtra(remindId, QByteArray()); });
        }
        m_pendingSync.remove(remindId);
        break;
    case 1:
        if (data.isEmpty()) {
            m_pendingSync.remove(remindId);
            removeAsDeletedOnServer(remindId);
            break;
        }
        {
            im::content::Reminder message;
            if (!message.ParseFromArray(data.constData(), data.size())) {
                ImLog::instance()->error(QStringLiteral("Reminder answer for %1 could not be read").arg(remindId));
                break;
            }
            if (ReminderItemPtr item = m_reminderModel->itemById(remindId))
                mergeServerState(item, message, false);
        }
        m_pendingSync.remove(remindId);
        break;
    default:
        break;
    }
}

void ReminderHandler::listAndNotif(const QString& remindId, const QByteArray& data)
{
    if (remindId.isEmpty()) {
        // Not a reminder's id: it could be listed but never loaded again.
        ImLog::instance()->error(QStringLiteral("Reminder listing without an id ignored"));
        return;
    }
    // The server knows this id, live or deleted: a new one must not take it
    // (this device's data may have been cleared since it made the id).
    updateLastRemindId(remindId);
    if (data.isEmpty()) {
        m_pendingSync.remove(remindId);
        removeAsDeletedOnServer(remindId);
        return;
    }
    im::content::Reminder message;
    if (!message.ParseFromArray(data.constData(), data.size())) {
        ImLog::instance()->error(QStringLiteral("Reminder listing for %1 could not be read").arg(remindId));
        return;
    }
    ReminderItemPtr item = m_reminderModel->itemById(remindId);
    if (!item) {
        item.reset(new ReminderItem(remindId));
        if (QCoreApplication::instance())
            item->moveToThread(QCoreApplication::instance()->thread());
        item->deserialize(message, m_account);
        // Like a stored reminder at load: an overdue one is brought forward.
        item->refreshSnooze();
        m_reminderModel->insert(item);
        recountOverdue();
        saveToDb(item, UpdateAll, [this, item] { updateNearestTimer(item); });
        if (item == m_editItem)
            emit attachmentItemChanged();
        return;
    }
    if (item->lastContentTime() > 0 || item->lastCompletedTime() > 0 || item->lastPatternTime() > 0
        || item->lastUnreadTime() > 0) {
        mergeServerState(item, message, false);
        return;
    }
    // No unsent change here: the server's state is taken whole.
    if (message.update_time() != item->timestamp()) {
        cancelUpload(remindId, CancelByUser);
        if (item == m_editItem && m_editExisting)
            setAttachmentModify(false);
    }
    mergeServerState(item, message, true);
}

void ReminderHandler::removeAsDeletedOnServer(const QString& remindId)
{
    storage::ReminderStorage* store = m_account->storage()->reminderStorage();
    QPointer<ReminderHandler> self(this);
    runOnStorage([self, store, remindId] {
        store->remove(remindId);
        if (self)
            CrossThread::invoke(self.data(), [self, remindId] {
                if (self)
                    self->deleteReminder(remindId);
            });
    });
}

void ReminderHandler::mergeServerState(const ReminderItemPtr& item, const im::content::Reminder& message,
                                       bool replace)
{
    const QString id = item->remindId();
    const bool editedHere = item == m_editItem && m_editExisting;
    if (!replace) {
        if (item->lastContentTime() < message.update_time())
            cancelUpload(id, CancelByUser);
        if (editedHere)
            setAttachmentModify(false);
    }

    const qint64 orderKey = item->orderTime() > 0 ? item->orderTime() : item->timestamp();
    const qint64 serverKey = message.order_time() > 0 ? message.order_time() : message.update_time();
    const bool positionMayChange = orderKey != serverKey || item->completed() != message.completed();
    const bool unreadBefore = item->unread();
    const qint64 validBefore = item->validTime();
    const qint64 remindBefore = item->remindTime();
    const int snoozeBefore = item->snooze();

    bool localNewer = false;
    if (replace)
        item->deserialize(message, m_account);
    else
        item->mergeFrom(message, m_account, &localNewer);
    item->refreshSnooze();

    if (!unreadBefore && item->unread() && !item->completed() && !item->reminded()) {
        QVariantList notifications;
        makeNotifyMsgs(item, notifications);
        AccountManager::getInstance()->notifyNewMessage(notifications);
    } else if (validBefore != item->validTime() || remindBefore != item->remindTime()
               || snoozeBefore != item->snooze()) {
        removeNotify(id);
    }
    if (editedHere)
        m_editBackup = item->contentPtr();
    if (positionMayChange) {
        m_reminderModel->resort(item);
        if (m_searchModel->itemById(id))
            m_searchModel->resort(item);
    }
    recountOverdue();
    updateNearestTimer(item);
    if (item == m_editItem)
        emit attachmentItemChanged();

    if (localNewer) {
        syncToServer(item, false, UpdateAll);
    } else {
        m_pendingSync.remove(id);
        saveToDb(item, UpdateAll);
    }
}

void ReminderHandler::retrySync()
{
    // Every change not yet confirmed goes out again; a reminder still
    // waiting for its upload is sent when the upload ends.
    const QSet<QString> pending = m_pendingSync;
    for (const QString& id : pending) {
        {
            SyncLocker lock(&m_uploadMutex);
            if (m_failedUploads.contains(id))
                continue;
        }
        if (ReminderItemPtr item = m_reminderModel->itemById(id))
            syncToServer(item, false, UpdateSyncOnly);
    }
}

void ReminderHandler::updateLastRemindId(const QString& remindId)
{
    // The bare device number is the prefix, so that ids of a device whose
    // number begins with the same digits count too; kept on purpose.
    if (!m_account)
        return;
    // Read without allocating: a load passes every stored id through here.
    char prefix[24];
    const char* prefixEnd = std::to_chars(prefix, prefix + sizeof prefix, m_account->deviceId()).ptr;
    if (!remindId.startsWith(QLatin1StringView(prefix, prefixEnd)))
        return;
    const qsizetype separator = remindId.lastIndexOf(QLatin1Char('_'));
    const int sequence = QStringView(remindId).mid(separator + 1).toInt();
    // A stored sequence near the top of the range (from a damaged record or
    // a server's listing) is not taken: counting on from it could run out.
    if (sequence > m_lastRemindId && sequence <= kLastTakenRemindSequence)
        m_lastRemindId = sequence;
}

bool ReminderHandler::needUpload(const QSharedPointer<ContentItem>& content) const
{
    if (!content || !ModelBaseUtil::isNeedUploadType(content->type()))
        return false;
    auto* file = qobject_cast<FileItem*>(content.data());
    FileManager* files = m_account ? m_account->fileManager() : nullptr;
    if (!file || !files)
        return false;
    if (file->validThumbFile() && file->thumbnailFilePtr()
        && files->isUploadRegistered(file->thumbnailFilePtr()->fileId()))
        return true;
    return file->sourceFilePtr() && files->isUploadRegistered(file->sourceFilePtr()->fileId());
}

// ---------------------------------------------------------------- editing

int ReminderHandler::getNewRemindId()
{
    return ++m_lastRemindId;
}

QString ReminderHandler::makeRemindId()
{
    const int sequence = getNewRemindId();
    return QStringLiteral("%1_%2").arg(m_account->deviceId()).arg(sequence);
}

void ReminderHandler::newReminder(QString content)
{
    QSharedPointer<ContentItem> text(new ContentItem(kReminderScene, m_account));
    text->setType(ContentItem::TextType);
    text->setContent(content, {});
    ReminderItemPtr item(new ReminderItem(makeRemindId()));
    item->setContent(text, true);
    const qint64 time = now();
    item->setOrderTime(time);
    item->setLastContentTime(time);
    m_reminderModel->insert(item);
    m_pendingSync.insert(item->remindId());
    // Stored now; only the text goes to the server.
    syncToServer(item, true, UpdateAll);
}

void ReminderHandler::reminderMessage(const QString& dialogId, qint64 messageId, qint64 sender,
                                      const QSharedPointer<ContentItem>& message)
{
    QString text;
    if (message && (message->type() == ContentItem::PollType || message->type() == ContentItem::LotteryType)) {
        auto* options = message->type() == ContentItem::PollType
            ? static_cast<WithOptionsItem*>(qobject_cast<PollItem*>(message.data()))
            : static_cast<WithOptionsItem*>(qobject_cast<LotteryItem*>(message.data()));
        if (options && options->titlePtr()) {
            // A plain replacement of these exact ten characters: ordinary
            // titles pass through unchanged, as they always have.
            text = options->titlePtr()->content().replace(QStringLiteral("/[\n\t\r\b\f]/g"), QStringLiteral(" "));
        }
    } else if (message) {
        text = message->content();
    }
    if (text != m_content) {
        m_content = text;
        emit contentChanged();
        m_pattern->setTimeModified(true);
        m_contentModify = true;
    }
    m_editBackup.reset();
    m_pattern->setRemindTime(0);
    m_pattern->setTimeModified(true);
    m_pattern->setRepeatModified(true);
    m_editItem.reset(new ReminderItem(makeRemindId()));
    m_editItem->setQuoteMsgItem(new RelativeMessage(dialogId, messageId, sender, message, m_editItem.data()));
    emit attachmentItemChanged();
    emit quoteMsgItemChanged();
}

void ReminderHandler::editReminder(QString reminderId)
{
    m_editRemindId.clear();
    m_editItem = m_reminderModel->itemById(reminderId);
    if (!m_editItem)
        return;
    m_editExisting = true;
    setAttachmentModify(false);
    m_contentModify = false;
    {
        SyncLocker lock(&m_uploadMutex);
        if (!m_failedUploads.contains(reminderId) && !m_uploading.contains(reminderId)) {
            m_editBackup = m_editItem->contentPtr();
        } else {
            // The upload has not finished: keep the text only.
            const QString text = m_editItem->text();
            if (!text.isEmpty()) {
                QSharedPointer<ContentItem> backup(new ContentItem(kReminderScene, nullptr));
                backup->setType(ContentItem::TextType);
                backup->setContent(text, {});
                m_editBackup = backup;
            } else {
                m_editBackup.reset();
            }
        }
    }
    updateNeedRetry();
    m_editItem->setUnread(false);
    m_pattern->loadFrom(m_editItem);
    if (m_editItem->text() != m_content) {
        m_content = m_editItem->text();
        emit contentChanged();
        m_pattern->setTimeModified(true);
        m_contentModify = true;
    }
    emit attachmentItemChanged();
    emit quoteMsgItemChanged();
    // Opening the edit is no change.
    m_pattern->setTimeModified(false);
    m_pattern->setRepeatModified(false);
}

void ReminderHandler::addAttachment(QString filePath)
{
    if (Util::instance()->isDir(filePath)) {
        AccountManager::getInstance()->error(0, qtTrId("reminder_directory_send_disable"), 0);
        return;
    }
    m_pattern->setTimeModified(true);
    if (!m_editItem)
        return;
    removeAttachment();
    if (!Util::instance()->fileExists(filePath))
        return;
    m_attachment = MediaSenderModel::getInstance()->mediaFormat(filePath, 3);
    if (!m_attachment)
        return;
    MediaSendData data = m_attachment->mediaData();
    const int mode = (data.messageType == ContentItem::ImageType || data.messageType == ContentItem::AnimatedImageType)
        ? 3
        : 4;
    QMap<QString, QVariant> fields;
    int errorCode = 0;
    FileUtil::getInstance()->parseMediaFile(data, mode, fields, errorCode);
    if (fields.isEmpty()) {
        MediaSenderModel::getInstance()->notifyError(errorCode);
        deleteAttachment();
        return;
    }
    fields.insert(QStringLiteral("type"), ModelBaseUtil::messageTypeIntToStr(data.messageType));
    QSharedPointer<ContentItem> content = deserializeContent(fields, data.messageType, kReminderScene, m_account);
    // An existing reminder keeps its text as the caption; a new one gets it
    // when it is saved.
    if (m_editExisting)
        content->setContent(m_content, {});
    m_editItem->setContent(content, m_editBackup != m_editItem->contentPtr());

    FileManager* files = m_account->fileManager();
    auto* file = qobject_cast<FileItem*>(content.data());
    if (files && file && file->sourceFilePtr()) {
        if (file->validThumbFile() && file->thumbnailFilePtr())
            files->addUploadId(file->thumbnailFilePtr()->fileId());
        files->addUploadId(file->sourceFilePtr()->fileId());
    }
    if (files) {
        QList<QSharedPointer<FileData>> records;
        content->collectFileData(records);
        files->fileDataMgr()->saveFileInfos(records);
    }
    emit attachmentItemChanged();
    setAttachmentModify(true);
    m_contentModify = true;

    SyncLocker lock(&m_uploadMutex);
    if (m_uploading.contains(m_editItem->remindId())) {
        // An earlier upload is still running: this one waits its turn.
        m_failedUploads.insert(m_editItem->remindId(), m_editItem);
        return;
    }
    lock.unlock();
    uploadFile(m_editItem);
}

void ReminderHandler::removeAttachment()
{
    if (!m_editItem)
        return;
    if (m_editItem->content() && !m_editItem->content()->isTextMsg()) {
        m_pattern->setTimeModified(true);
        cancelUpload(m_editItem->remindId(), CancelByUser);
        const bool replacesEditedContent = m_editBackup != m_editItem->contentPtr();
        if (!m_content.isEmpty()) {
            QSharedPointer<ContentItem> text(new ContentItem(kReminderScene, nullptr));
            text->setType(ContentItem::TextType);
            text->setContent(m_content, {});
            m_editItem->setContent(text, replacesEditedContent);
        } else {
            m_editItem->setContent(nullptr, replacesEditedContent);
        }
        emit attachmentItemChanged();
    }
    deleteAttachment();
    m_contentModify = true;
}

void ReminderHandler::deleteAttachment()
{
    if (!m_attachment)
        return;
    // Only the converted copies are the module's; the user's file stays.
    if (!m_attachment->mediaPath().isEmpty() && m_attachment->mediaPath() != m_attachment->path())
        Util::instance()->deleteFile(m_attachment->mediaPath());
    if (!m_attachment->thumbPath().isEmpty() && m_attachment->thumbPath() != m_attachment->mediaPath())
        Util::instance()->deleteFile(m_attachment->thumbPath());
    delete m_attachment;
    m_attachment = nullptr;
}

void ReminderHandler::cancelTransfer()
{
    SyncLocker lock(&m_uploadMutex);
    if (!m_editItem)
        return;
    const QString id = m_editItem->remindId();
    if (!m_failedUploads.contains(id) && !m_uploading.contains(id)) {
        if (auto* file = qobject_cast<FileItem*>(m_editItem->content()))
            file->cancelDownload(CancelByUser);
    }
    lock.unlock();
    removeAttachment();
}

void ReminderHandler::cancelUpload(QString reminderId, CancelType canceled)
{
    SyncLocker lock(&m_uploadMutex);
    const auto it = m_uploading.constFind(reminderId);
    if (it == m_uploading.constEnd())
        return;
    const ReminderItemPtr item = *it;
    lock.unlock();
    // The entry stays until the file manager reports the end.
    if (FileManager* files = m_account->fileManager())
        files->cancelUpload(reminderId, item->contentPtr(), canceled);
}

void ReminderHandler::retryUpload(QString remindId)
{
    SyncLocker lock(&m_uploadMutex);
    if (!m_failedUploads.contains(remindId))
        return;
    const ReminderItemPtr item = m_failedUploads.take(remindId);
    lock.unlock();
    uploadFile(item);
}

void ReminderHandler::reuploadFailed()
{
    reuploadFailed(QString());
}

void ReminderHandler::reuploadFailed(const QString& exceptId)
{
    SyncLocker lock(&m_uploadMutex);
    if (!m_uploading.isEmpty())
        return;
    // One at a time, in remind id order.
    auto it = m_failedUploads.begin();
    if (it != m_failedUploads.end() && it.key() == exceptId)
        ++it;
    if (it == m_failedUploads.end())
        return;
    const ReminderItemPtr item = it.value();
    m_failedUploads.erase(it);
    lock.unlock();
    uploadFile(item);
}

bool ReminderHandler::uploadFile(ReminderItemPtr item)
{
    SyncLocker lock(&m_uploadMutex);
    if (!item || !needUpload(item->contentPtr()))
        return false;
    if (m_uploading.contains(item->remindId()))
        return true;
    updateNeedRetry();
    FileManager* files = m_account->fileManager();
    QSharedPointer<UploadMultiFileFilter> filter = files ? files->makeFilter(item->contentPtr()) : nullptr;
    if (!filter)
        return false;
    QPointer<ReminderHandler> self(this);
    // Called on the file manager's thread; what follows runs on the
    // handler's, where the item and the unsent-change bookkeeping live.
    filter->callback = [self, item](int stage, int code) {
        if (!self)
            return;
        if (stage == 0) {
            CrossThread::invoke(self.data(), [self, item] {
                if (self)
                    self->saveToDb(item, UpdateAll);
            });
        } else if (stage == 1) {
            CrossThread::invoke(self.data(), [self, item, code] {
                if (self)
                    self->uploadFinish(item, code);
            });
        }
    };
    filter->remindId = item->remindId();
    filter->flag = 0;
    m_uploading.insert(item->remindId(), item);
    lock.unlock();
    files->uploadMultiFile(filter, 0);
    return true;
}

void ReminderHandler::uploadFinish(ReminderItemPtr item, int code)
{
    SyncLocker lock(&m_uploadMutex);
    m_uploading.remove(item->remindId());
    if (!item->content())
        return;
    if (code == 2) {
        if (!m_failedUploads.contains(item->remindId()))
            m_failedUploads.insert(item->remindId(), item);
        updateNeedRetry();
        lock.unlock();
        // It waits (for retryUpload, the next list, or the end of another
        // upload); only another waiting upload may start now, or a file
        // that keeps failing would be sent again and again.
        reuploadFailed(item->remindId());
        return;
    }
    if (code != 0)
        return; // cancelled: neither queued nor sent
    lock.unlock();
    if (item == m_editItem && !m_editExisting) {
        // Saving the new reminder sends it.
        setAttachmentModify(true);
        return;
    }
    // The completed stamp, on purpose: the content was stamped when edited.
    item->setLastCompletedTime(now());
    m_pendingSync.insert(item->remindId());
    syncToServer(item, false, UpdateSyncOnly);
}

void ReminderHandler::removeFileIds(const QSharedPointer<ContentItem>& content)
{
    if (!content || content->isTextMsg())
        return;
    auto* file = qobject_cast<FileItem*>(content.data());
    FileManager* files = m_account->fileManager();
    if (!file || !files)
        return;
    const QStringList ids = file->uploadedFileIds();
    if (!ids.isEmpty())
        files->fileServiceCmd()->deleteFiles(ids);
    files->removeThumbnailRecord(file->thumbnailFilePtr());
    files->removeSourceRecord(file->sourceFilePtr());
}

void ReminderHandler::removeFileIds(ReminderItemPtr item)
{
    if (item)
        removeFileIds(item->contentPtr());
}

void ReminderHandler::updateNeedRetry()
{
    SyncLocker lock(&m_uploadMutex);
    const bool retry = m_editItem && m_failedUploads.contains(m_editItem->remindId());
    if (retry == m_needRetry)
        return;
    m_needRetry = retry;
    emit needRetryChanged();
}

void ReminderHandler::cancel()
{
    if (!m_editItem)
        return;
    bool restored = false;
    if (m_editExisting) {
        if (m_editItem->contentPtr() != m_editBackup) {
            if (m_pattern->timeModified()) {
                removeAttachment();
                m_editItem->setContent(m_editBackup, true);
                restored = true;
            }
            m_editBackup.reset();
        }
    } else {
        removeAttachment();
    }
    const bool created = !m_editExisting;
    m_editExisting = false;
    const QString id = m_editItem->remindId();
    if (m_editItem->isEmpty()) {
        deleteSelect(id);
    } else if (created && !m_reminderModel->itemById(id)) {
        // Never saved, but its upload may have stored it already (the file
        // ids, once assigned): a cancelled new reminder leaves nothing.
        m_pendingSync.remove(id);
        storage::ReminderStorage* store = m_account->storage()->reminderStorage();
        runOnStorage([store, id] { store->remove(id); });
    }
    if (restored && m_editRemindId == m_editItem->remindId())
        syncReminder(); // it was sent during this edit: send it as restored
    m_pattern->reset();
    // The edit is over either way.
    clearStatus();
}

void ReminderHandler::syncReminder()
{
    if (!m_pattern->timeModified() && m_editExisting) {
        clearStatus(); // nothing changed
        return;
    }
    if (!m_editItem)
        return;
    auto* current = qobject_cast<FileItem*>(m_editItem->content());
    auto* backup = qobject_cast<FileItem*>(m_editBackup.data());
    const bool sameFile = current && backup && current->sourceFilePtr() && backup->sourceFilePtr()
        && current->sourceFilePtr()->sameFile(*backup->sourceFilePtr());
    if (!sameFile)
        removeFileIds(m_editBackup); // the replaced attachment's files on the server
    m_editBackup.reset();
    delete m_attachment; // its files are kept: the reminder uses them
    m_attachment = nullptr;

    const QString id = m_editItem->remindId();
    if (m_pattern->repeatModified())
        m_editItem->setLastPatternTime(now());
    if (m_contentModify)
        m_editItem->setLastContentTime(now());
    m_editItem->setText(m_content);
    m_pattern->writeTo(m_editItem);
    if (m_editItem->showRemindTime() != m_pattern->remindTime()) {
        m_editItem->reschedule(m_pattern->remindTime());
        if (!m_editItem->completed())
            m_editItem->setReminded(false);
        removeNotify(id);
    } else if (m_pattern->snooze() == 0) {
        removeNotify(id);
    }
    if (!m_reminderModel->itemById(id)) {
        m_editItem->setOrderTime(now());
        m_reminderModel->insert(m_editItem);
    }
    m_pendingSync.insert(id);
    const ReminderItemPtr item = m_editItem;
    const bool uploading = uploadFile(item);
    syncToServer(item, uploading, UpdateAll, [this, item] { updateNearestTimer(item); });
    clearStatus();
}

// ----------------------------------------- selection, search and order

ReminderModel* ReminderHandler::selectionList() const
{
    return m_searching ? m_searchModel : m_reminderModel;
}

void ReminderHandler::emitSelectionSignals()
{
    emit selectCompletedCountChanged();
    emit selectCountChanged();
}

void ReminderHandler::selectAll(bool checked)
{
    ReminderModel* list = selectionList();
    m_selectedIds.clear();
    if (checked) {
        m_selectCompletedCount = list->completedCount();
        list->allIds(m_selectedIds);
    } else {
        m_selectCompletedCount = 0;
    }
    emitSelectionSignals();
}

void ReminderHandler::selectAllCompleted(bool checked)
{
    ReminderModel* list = selectionList();
    m_selectCompletedCount = checked ? list->completedCount() : 0;
    list->forEachCompletedId([this, checked](const QString& id) {
        const bool isSelected = m_selectedIds.contains(id);
        if (checked && !isSelected)
            m_selectedIds.append(id);
        else if (!checked && isSelected)
            m_selectedIds.removeOne(id);
    });
    emitSelectionSignals();
}

void ReminderHandler::clearSelect()
{
    m_selectedIds.clear();
    m_selectCompletedCount = 0;
    emitSelectionSignals();
}

void ReminderHandler::deleteSelects()
{
    const QStringList ids = m_selectedIds;
    for (const QString& id : ids)
        m_pendingSync.remove(id);
    storage::ReminderStorage* store = m_account->storage()->reminderStorage();
    QPointer<ReminderHandler> self(this);
    runOnStorage([self, store, ids] {
        store->remove(ids);
        if (!self)
            return;
        CrossThread::invoke(
            self.data(),
            [self] {
                if (!self)
                    return;
                // The selection as it is now, which may differ from the one
                // removed from storage: intended.
                const QStringList current = self->m_selectedIds;
                for (const QString& id : current)
                    self->deleteReminder(id);
                self->m_account->command()->deleteReminders(current);
                self->m_selectedIds.clear();
                self->m_selectCompletedCount = 0;
                self->emitSelectionSignals();
            });
    });
}

void ReminderHandler::deleteAllCompleted()
{
    QStringList ids;
    selectionList()->completedIds(ids);
    for (const QString& id : ids) {
        m_pendingSync.remove(id);
        deleteReminder(id);
    }
    storage::ReminderStorage* store = m_account->storage()->reminderStorage();
    runOnStorage([store, ids] { store->remove(ids); });
    // Sent at once, not after the storage task.
    m_account->command()->deleteReminders(ids);
}

void ReminderHandler::search(QString keyword)
{
    setStopped(true);
    SyncLocker lock(&m_searchMutex);
    if (!m_searchFuture.isFinished()) {
        m_searchFuture.cancel();
        m_searchFuture.waitForFinished();
    }
    CrossThread::acquire(&m_searchFuture);
    setStopped(false);
    const int generation = m_searchGeneration.fetchAndAddOrdered(1) + 1;
    m_searchModel->reset();
    m_searchModel->setExpand(m_reminderModel->expand());
    if (keyword.isEmpty())
        return;
    m_searching = true;
    storage::ReminderStorage* store = m_account->storage()->reminderStorage();
    ReminderModel* main = m_reminderModel;
    ReminderModel* results = m_searchModel;
    QPointer<ReminderHandler> self(this);
    m_searchFuture = CrossThread::run(QThreadPool::globalInstance(), [this, self, store, main, results, keyword, generation] {
        // Only the ids are read: the results are the main list's own items
        // (records without one are skipped). They travel to the search list
        // in chunks, one posted call each, and the list takes them in the
        // store's order as if one by one.
        const QStringList ids = store->idsWithKeyword(keyword, 0);
        results->reserveIndex(ids.size());
        qsizetype chunk = kFirstSearchChunk;
        for (qsizetype from = 0; from < ids.size(); from += chunk, chunk = std::min(chunk * 2, kMostSearchChunk)) {
            if (isStopped())
                return;
            QList<ReminderItemPtr> items = main->itemsByIds(ids, from, chunk);
            if (items.isEmpty())
                continue;
            CrossThread::invoke(results, [self, results, items = std::move(items), generation]() mutable {
                if (self && self->m_searchGeneration.loadAcquire() == generation)
                    results->insertEach(std::move(items));
            });
        }
    }, &m_searchFuture);
}

void ReminderHandler::resetSearch()
{
    m_searching = false;
    setStopped(true);
    if (!m_searchFuture.isFinished()) {
        m_searchFuture.cancel();
        m_searchFuture.waitForFinished();
    }
    CrossThread::acquire(&m_searchFuture);
    setStopped(false);
    m_searchGeneration.fetchAndAddOrdered(1);
    m_searchModel->reset();
}

void ReminderHandler::move(int from, int to)
{
    m_reminderModel->move(from, to, m_movedItems);
}

void ReminderHandler::moveFinish()
{
    const QList<ReminderItemPtr> moved = m_movedItems;
    for (const ReminderItemPtr& item : moved) {
        m_pendingSync.insert(item->remindId());
        syncToServer(item, false, UpdateAll);
    }
    m_movedItems.clear();
}
