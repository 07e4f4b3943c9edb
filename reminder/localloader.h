#pragma once

#include "reminderitem.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class AccountBase;

// One reminder read from the store, with what the read found out about
// it at the account's time of reading.
struct LoadedReminder {
    // Already moved to the application's main thread.
    ReminderItemPtr item;
    // Its content still has to be uploaded.
    bool waitsForUpload = false;
    // Open, and past its shown remind time.
    bool overdue = false;
    // Snoozed past its shown time and not yet reminded: notified at load.
    bool notify = false;
};

// What a read of the store found.
struct LoadedReminders {
    // Every reminder read, in storage order.
    QList<LoadedReminder> reminders;
    // Records that could not be read: left in storage as they are.
    QStringList unreadableIds;
    // Every stored id, readable or not, and every removed one: new ids
    // must step over all of them.
    QStringList takenIds;
    // The read stopped before the last record.
    bool stopped = false;
};

// Reads an account's stored reminders into items, on whatever thread the
// host loads on. It touches storage, the items it makes and nothing of the
// handler: what it read is handed over whole and taken in on the handler's
// thread, so a sign-out during the read never meets a half-filled list.
class LocalLoader
{
public:
    // stopRequested is asked before each record; needsUpload tells whether
    // a content still has to be uploaded.
    LocalLoader(AccountBase* account, std::function<bool()> stopRequested,
                std::function<bool(const QSharedPointer<ContentItem>&)> needsUpload);

    LoadedReminders read();

private:
    AccountBase* m_account;
    std::function<bool()> m_stopRequested;
    std::function<bool(const QSharedPointer<ContentItem>&)> m_needsUpload;
};
