#pragma once

// A real handler for tests: its account on a real database in a temporary
// directory, the real storage worker, and the platform's fixed clock.
#include "accountbase.h"
#include "accountcommand.h"
#include "accountmanager.h"
#include "contentcipher.h"
#include "contentitem.h"
#include "imlog.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "reminderinfo.h"
#include "remindermodel.h"
#include "reminderstorage.h"
#include "sharedpreferencebase.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include "im/content/reminder.pb.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>

// The handler's private operations, for tests.
class ReminderHandlerProbe
{
public:
    explicit ReminderHandlerProbe(ReminderHandler* h) : h(h) {}

    void saveToDb(ReminderItemPtr item, ReminderHandler::UpdateKeyType type, std::function<void()> done = {})
    {
        h->saveToDb(std::move(item), type, std::move(done));
    }
    void syncToServer(ReminderItemPtr item, bool textOnly, ReminderHandler::UpdateKeyType key,
                      std::function<void()> done = {})
    {
        h->syncToServer(std::move(item), textOnly, key, std::move(done));
    }
    void checkStartTimer() { h->checkStartTimer(); }
    void updateNearestTimer(const ReminderItemPtr& item) { h->updateNearestTimer(item); }
    void onTimeOut() { h->onTimeOut(); }
    void removeNotify(const QString& id) { h->removeNotify(id); }
    void makeNotifyMsgs(const ReminderItemPtr& item, QVariantList& list) { h->makeNotifyMsgs(item, list); }
    void deleteReminder(const QString& id) { h->deleteReminder(id); }
    qint64 nearest() const { return h->m_nearestTimestamp; }
    void setNearest(qint64 t) { h->m_nearestTimestamp = t; }
    int lastRemindId() const { return h->m_lastRemindId; }
    const QSet<QString>& pendingSync() const { return h->m_pendingSync; }
    const QSet<QString>& notifiedIds() const { return h->m_notifiedIds; }
    QSet<QString>& notifiedIdsRef() { return h->m_notifiedIds; }
    bool listFinished() const { return h->m_listFinished; }
    QTimer& timer() { return h->m_remindTimer; }

    ReminderHandler* h;
};

inline qint64 at(int y, int m, int d, int h, int min = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min)).toMSecsSinceEpoch();
}

// Everything a test needs around one handler.
struct HandlerFixture
{
    explicit HandlerFixture(qint64 accountId = 1001, qint64 deviceId = 7)
    {
        ImLog::instance()->setEchoToStderr(false);
        network::NetworkSubject::instance()->setFixedTime(at(2031, 6, 2, 12));
        open(accountId, deviceId);
    }

    ~HandlerFixture()
    {
        close();
        network::NetworkSubject::instance()->releaseFixedTime();
    }

    // A restart of the application: the handler and its account go, new
    // ones open the same database. The new handler has not loaded yet.
    void restart()
    {
        const qint64 accountId = account->accountId();
        const qint64 deviceId = account->deviceId();
        close();
        open(accountId, deviceId);
    }

    void setNow(qint64 t) { network::NetworkSubject::instance()->setFixedTime(t); }
    qint64 now() const { return network::NetworkSubject::instance()->currentDateTime(); }

    storage::ReminderStorage* store() const { return account->storage()->reminderStorage(); }

    // Lets the storage worker finish, then delivers the follow-ups it posted.
    void settle()
    {
        for (int i = 0; i < 3; ++i) {
            QVERIFY(ThreadManager::getInstance()->waitForIdle());
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents();
        }
    }

    // Stores a reminder as a record, as an earlier session would have.
    void storeItem(const ReminderItemPtr& item)
    {
        storage::ReminderInfo info;
        item->serialize(info);
        QVERIFY(store()->save(info));
    }

    storage::ReminderInfo record(const QString& id)
    {
        bool found = false;
        storage::ReminderInfo info = store()->info(id, &found);
        return found ? info : storage::ReminderInfo();
    }

    // The reminder as stored: the record read back into an item.
    ReminderItemPtr storedItem(const QString& id)
    {
        bool found = false;
        const storage::ReminderInfo info = store()->info(id, &found);
        if (!found)
            return {};
        return ReminderItemPtr(new ReminderItem(info, account.get()));
    }

    // A text reminder due at `time`.
    static ReminderItemPtr makeItem(const QString& id, qint64 time, const QString& text = QStringLiteral("call Bob"))
    {
        ReminderItemPtr item(new ReminderItem(id));
        item->setText(text);
        item->setOriginalRemindTime(time);
        item->setShowRemindTime(time);
        item->setRemindTime(time);
        item->setOrderTime(time);
        return item;
    }

    // The ids of the notification records of one notifyNewMessage call.
    QStringList notifiedIdsOfCall(int call) const
    {
        QStringList ids;
        for (const QVariant& v : notified->at(call).at(0).toList())
            ids << v.toMap().value(QStringLiteral("msgData")).value<ReminderItemPtr>()->remindId();
        return ids;
    }

    im::content::Reminder sentMessage(int i) const
    {
        im::content::Reminder msg;
        const QByteArray bytes = sent->at(i).at(1).toByteArray();
        msg.ParseFromArray(bytes.constData(), bytes.size());
        return msg;
    }

    void open(qint64 accountId, qint64 deviceId)
    {
        account.reset(new AccountBase(accountId, deviceId, dir.path(), ContentCipher::deriveKey("secret")));
        account->setOwnNick(QStringLiteral("Alice"));
        handler = new ReminderHandler(account.get());
        probe.reset(new ReminderHandlerProbe(handler));
        notified.reset(new QSignalSpy(AccountManager::getInstance(), &AccountManager::newMessageNotified));
        withdrawn.reset(new QSignalSpy(AccountManager::getInstance(), &AccountManager::reminderNotificationDeleted));
        sent.reset(new QSignalSpy(account->command(), &AccountCommand::reminderUpdateRequested));
        deleted.reset(new QSignalSpy(account->command(), &AccountCommand::reminderDeleteRequested));
    }

    void close()
    {
        settle();
        notified.reset();
        withdrawn.reset();
        sent.reset();
        deleted.reset();
        probe.reset();
        account.reset(); // deletes the handler, its child
        handler = nullptr;
    }

    QTemporaryDir dir;
    std::unique_ptr<AccountBase> account;
    ReminderHandler* handler = nullptr;
    std::unique_ptr<ReminderHandlerProbe> probe;
    std::unique_ptr<QSignalSpy> notified;
    std::unique_ptr<QSignalSpy> withdrawn;
    std::unique_ptr<QSignalSpy> sent;
    std::unique_ptr<QSignalSpy> deleted;
};
