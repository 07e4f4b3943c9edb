#pragma once

// Device 1's store filled as an earlier run of the client would have left
// it: the client's start-up tests.
#include "accountbase.h"
#include "contentcipher.h"
#include "deskbackend.h"
#include "reminderinfo.h"
#include "reminderitem.h"
#include "reminderstorage.h"
#include "userstorageprovider.h"

#include <QDateTime>
#include <QList>
#include <QString>

// n text reminders in device 1's store, as the handler would have written
// them: an hour apart from now on, newest first, every tenth completed.
inline bool fillDeviceStore(const QString& dataDir, int n)
{
    AccountBase account(DeskBackend::kAccountId, 1, DeskBackend::deviceDirectory(dataDir, 1),
                        ContentCipher::deriveKey(DeskBackend::accountSecret()));
    if (!account.storage()->isOpen())
        return false;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    QList<storage::ReminderInfo> infos;
    infos.reserve(n);
    for (int i = 0; i < n; ++i) {
        ReminderItem item(QStringLiteral("1_%1").arg(i + 1));
        item.setText(QStringLiteral("Stored reminder %1").arg(i + 1));
        const qint64 when = now + qint64(i + 1) * 3600 * 1000;
        item.setOriginalRemindTime(when);
        item.setShowRemindTime(when);
        item.setRemindTime(when);
        item.setOrderTime(now - qint64(i) * 1000);
        if (i % 10 == 0) {
            item.setReminded(true);
            item.setCompleted(true);
        }
        storage::ReminderInfo info;
        if (!item.serialize(info))
            return false;
        infos.append(info);
    }
    return account.storage()->reminderStorage()->saveAll(infos) && account.storage()->reminderStorage()->count() == n;
}
