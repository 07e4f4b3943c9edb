#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QString>

namespace storage {

// One stored reminder. `data` (the serialised reminder message) is the
// truth; `text`, `remindTime`, `orderTime`, `reminded` and `completed` are
// copies kept for the store's own queries.
struct ReminderInfo
{
    QString id;
    QString text;
    QByteArray data;
    qint64 remindTime = 0;
    qint64 orderTime = 0;
    bool reminded = false;
    bool completed = false;
    bool unread = false;
    QByteArray extra;

    bool operator==(const ReminderInfo& o) const
    {
        return id == o.id && text == o.text && data == o.data && remindTime == o.remindTime
            && orderTime == o.orderTime && reminded == o.reminded && completed == o.completed
            && unread == o.unread && extra == o.extra;
    }
    bool operator!=(const ReminderInfo& o) const { return !(*this == o); }
};

} // namespace storage

Q_DECLARE_METATYPE(storage::ReminderInfo)
