// A reminder built from a local storage record with arbitrary bytes: the
// record's fields come from the input, its data (the serialised reminder
// message) and extra (the change times as JSON) are arbitrary bytes.
//
// The item is built as ReminderHandler::loadLocalData builds it, brought
// forward as at load, shown in a list and loaded into the repeat editor,
// then put through the time rules. Checked for every input:
// - a record whose data does not parse gives an item without id, time or
//   body (the handler then leaves it out of the list); one that parses
//   gives an item with the record's id;
// - writing a loaded item back to a record and loading that record again
//   gives the same record (the stored form is a fixed point).
//
// Input: u8 flags, i64 remind time, i64 order time, i32 clock offset (s),
// i64 t, i32 snooze minutes, blob id, blob text, blob extra, rest = data.
#include "fuzzinput.h"
#include "fuzzsupport.h"

#include "contentitem.h"
#include "im/content/reminder.pb.h"
#include "reminderinfo.h"
#include "reminderitem.h"
#include "remindermodel.h"
#include "reminderpattern.h"

#include <QThread>

namespace {

fuzzsupport::RenewedAccount& accounts()
{
    static fuzzsupport::RenewedAccount* holder = new fuzzsupport::RenewedAccount(20000);
    return *holder;
}

AccountBase* account()
{
    return accounts().get();
}

QString describe(const storage::ReminderInfo& a, const storage::ReminderInfo& b)
{
    return QStringLiteral("id %1/%2 text '%3'/'%4' data %5/%6 remind %7/%8 order %9/%10 flags %11%12%13/%14%15%16 "
                          "extra %17/%18")
        .arg(a.id, b.id, a.text, b.text, QString::fromLatin1(a.data.toHex()), QString::fromLatin1(b.data.toHex()))
        .arg(a.remindTime)
        .arg(b.remindTime)
        .arg(a.orderTime)
        .arg(b.orderTime)
        .arg(a.reminded)
        .arg(a.completed)
        .arg(a.unread)
        .arg(b.reminded)
        .arg(b.completed)
        .arg(b.unread)
        .arg(QString::fromUtf8(a.extra), QString::fromUtf8(b.extra));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    fuzzsupport::initApplication(argc, argv);
    account();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    accounts().nextInput();
    fuzzinput::Reader in(data, size);
    const quint8 flags = in.u8();
    storage::ReminderInfo info;
    info.reminded = flags & 0x01;
    info.completed = flags & 0x02;
    info.unread = flags & 0x04;
    info.remindTime = in.i64();
    info.orderTime = in.i64();
    const qint64 now = fuzzsupport::baseTime() + qint64(in.i32()) * 1000;
    const qint64 t = in.i64();
    const int snoozeMinutes = in.i32();
    info.id = QString::fromUtf8(in.blob(256));
    info.text = QString::fromUtf8(in.blob(4096));
    info.extra = in.blob(4096);
    info.data = in.rest();
    network::NetworkSubject::instance()->setFixedTime(now);

    // A null account leaves the defaults, whatever the record holds.
    if (flags & 0x08) {
        ReminderItem bare(info, nullptr);
        FUZZ_CHECK(bare.remindId().isEmpty() && !bare.content() && bare.remindTime() == 0,
                   QStringLiteral("a null account took fields of the record"));
        return 0;
    }

    im::content::Reminder parsed;
    const bool parses = parsed.ParseFromArray(info.data.constData(), info.data.size());

    ReminderItemPtr item(new ReminderItem(info, account()));
    if (!parses) {
        FUZZ_CHECK(item->remindId().isEmpty() && !item->content() && !item->quoteMsgItem()
                       && item->remindTime() == 0 && !item->completed() && item->interval() == 0,
                   QStringLiteral("a record that does not parse left fields in the item"));
        return 0;
    }
    FUZZ_CHECK(item->remindId() == info.id, QStringLiteral("the item's id is not the record's"));
    FUZZ_CHECK(item->completed() == parsed.completed(), QStringLiteral("completion differs from the record"));
    FUZZ_CHECK(item->showRemindTime() >= item->originalRemindTime(),
               QStringLiteral("shown time below the first remind time"));
    FUZZ_CHECK(item->remindTime() >= item->showRemindTime(), QStringLiteral("remind time below the shown time"));

    // The stored form is a fixed point: written, read and written again it
    // stays the same.
    storage::ReminderInfo written;
    FUZZ_CHECK(item->serialize(written), QStringLiteral("writing the record failed"));
    {
        ReminderItem reread(written, account());
        storage::ReminderInfo again;
        FUZZ_CHECK(reread.serialize(again), QStringLiteral("writing the record again failed"));
        FUZZ_CHECK(again == written, describe(written, again));
    }

    // As at load: brought forward, moved to the interface thread, its cache
    // keys collected.
    item->refreshSnooze();
    item->moveToThread(QCoreApplication::instance()->thread());
    QStringList cacheKeys;
    if (item->content())
        item->content()->appendCacheKeys(cacheKeys);

    // Shown in a list, as the interface reads it.
    {
        ReminderModel model(account());
        model.setExpand(flags & 0x10);
        model.insert(item);
        const int row = model.getReminderIndex(item->remindId());
        if (row >= 0)
            FUZZ_CHECK(model.data(model.index(row), ReminderModel::ReminderDataRole).value<ReminderItemPtr>() == item,
                       QStringLiteral("the list row does not hold the item"));
        model.overdueCount();
        model.remove(item, false);
    }

    // Opened in the repeat editor, confirmed and written back.
    {
        ReminderPattern pattern(nullptr);
        pattern.loadFrom(item);
        if (flags & 0x20) {
            pattern.repeatFinish();
            pattern.writeTo(item);
        }
    }

    // The time rules, in the order a reminder meets them.
    item->nextRemindTime();
    item->nextRemindTimeFromShow();
    item->isValidTime(t);
    switch ((flags >> 6) & 0x03) {
    case 0:
        item->advanceRemindTime(flags & 0x01, flags & 0x02);
        break;
    case 1: {
        const qint64 before = qMax(item->validTime(), item->remindTime());
        const qint64 step = ReminderItem::snoozeStep(item->snooze());
        item->stepSnooze();
        if (item->snooze() >= 1 && step > 0 && before <= now)
            FUZZ_CHECK(item->remindTime() > now, QStringLiteral("a snooze step did not pass now"));
        break;
    }
    case 2:
        item->snoozeToTomorrow();
        break;
    case 3:
        item->reschedule(t);
        break;
    }
    item->setSnooze(snoozeMinutes);
    item->refreshSnooze();
    item->stepSnooze();

    storage::ReminderInfo after;
    item->serialize(after);
    return 0;
}
