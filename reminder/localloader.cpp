#include "localloader.h"

#include "accountbase.h"
#include "cachefilestorage.h"
#include "contentitem.h"
#include "imlog.h"
#include "reminderinfo.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include <QCoreApplication>
#include <QThread>

#include <utility>

LocalLoader::LocalLoader(AccountBase* account, std::function<bool()> stopRequested,
                         std::function<bool(const QSharedPointer<ContentItem>&)> needsUpload)
    : m_account(account), m_stopRequested(std::move(stopRequested)), m_needsUpload(std::move(needsUpload))
{
}

LoadedReminders LocalLoader::read()
{
    LoadedReminders result;
    storage::ReminderStorage* store = m_account->storage()->reminderStorage();
    QList<storage::ReminderInfo> infos = store->allInfos();
    result.reminders.reserve(infos.size());
    result.takenIds.reserve(infos.size());
    QStringList cacheKeys;
    QThread* mainThread = QCoreApplication::instance() ? QCoreApplication::instance()->thread() : QThread::currentThread();
    const bool onMainThread = QThread::currentThread() == mainThread;

    for (storage::ReminderInfo& record : infos) {
        // Each record goes as soon as its item is made, so that the items
        // reuse its memory instead of adding to it.
        const storage::ReminderInfo info = std::exchange(record, storage::ReminderInfo());
        if (m_stopRequested()) {
            result.stopped = true;
            break;
        }
        // Whatever the record holds, its id is taken: a new reminder must
        // never overwrite it.
        result.takenIds.append(info.id);
        // One allocation for the item and its reference count.
        ReminderItemPtr item = ReminderItemPtr::create(info, m_account);
        if (item->remindId().isEmpty()) {
            ImLog::instance()->error(QStringLiteral("Reminder record %1 could not be read").arg(info.id));
            result.unreadableIds.append(info.id);
            continue;
        }
        item->refreshSnooze();
        if (item->remindTime() != info.remindTime)
            store->updateRemindTime(info.id, item->remindTime());
        item->moveToThread(mainThread);

        LoadedReminder loaded;
        loaded.waitsForUpload = m_needsUpload(item->contentPtr());
        if (!loaded.waitsForUpload && item->content())
            item->content()->appendCacheKeys(cacheKeys);
        if (!item->completed() && m_account->currentServerTime() > item->showRemindTime()) {
            loaded.overdue = item->showRemindTime() > 0;
            loaded.notify =
                item->snooze() > 0 && item->remindTime() > item->showRemindTime() && !item->reminded();
        }
        loaded.item = item;
        result.reminders.append(loaded);
    }
    // A deleted reminder's id stays a tombstone on the server, so its
    // sequence is taken as well.
    if (!result.stopped)
        result.takenIds.append(store->removedIds());

    if (!cacheKeys.isEmpty()) {
        storage::CacheFileStorage* cache = m_account->storage()->cacheFileStorage();
        const qint64 usedAt = m_account->currentServerTime();
        ThreadManager::getInstance()->invoke([cache, cacheKeys, usedAt] { cache->updateTimestamp(cacheKeys, usedAt); },
                                             onMainThread);
    }
    return result;
}
