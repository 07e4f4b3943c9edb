// Writes the seed inputs of the fuzz targets: real records, messages and
// contents made by the module itself, in the layout each target reads
// (fuzz/fuzzinput.h). Deterministic: the same files on every run.
//
//   make_corpus <directory>   writes <directory>/<target>/seed-NN
//
// scripts/run-fuzz.sh starts every target from a copy of the committed
// seeds in fuzz/corpus/; run this to regenerate them after the layout or
// the messages change.
#include "fuzzinput.h"
#include "fuzzsupport.h"

#include "carditem.h"
#include "contentitem.h"
#include "fileitem.h"
#include "im/content/reminder.pb.h"
#include "lotteryitem.h"
#include "pollitem.h"
#include "relativemessage.h"
#include "reminderinfo.h"
#include "reminderitem.h"

#include <QDir>
#include <QFile>

#include <cstdio>
#include <limits>

using fuzzinput::Writer;

namespace {

QString g_root;

void writeSeed(const QString& target, int n, const QByteArray& bytes)
{
    const QString dir = g_root + QLatin1Char('/') + target;
    QDir().mkpath(dir);
    QFile file(dir + QStringLiteral("/seed-%1").arg(n, 2, 10, QLatin1Char('0')));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "make_corpus: cannot write %s\n", qPrintable(file.fileName()));
        std::exit(1);
    }
}

QByteArray bytesOf(const google::protobuf::MessageLite& message)
{
    return QByteArray::fromStdString(message.SerializeAsString());
}

qint64 hoursLater(int h)
{
    return fuzzsupport::baseTime() + qint64(h) * 3600 * 1000;
}

QSharedPointer<ContentItem> textBody(const QString& text)
{
    QSharedPointer<ContentItem> c(new ContentItem(8, nullptr));
    c->setType(ContentItem::TextType);
    c->setContent(text, { { 0, 3, 1, QStringLiteral("@bob") } });
    return c;
}

QSharedPointer<ContentItem> fileBody(int type, const QString& name)
{
    QSharedPointer<FileItem> f(new FileItem(8, nullptr));
    f->setType(type);
    f->setContent(type == ContentItem::FileType ? QStringLiteral("the minutes") : QString(), {});
    QSharedPointer<BaseFile> source(new BaseFile(QStringLiteral("file-1"), name, QString(), 2048));
    source->setMimeType(QStringLiteral("application/octet-stream"));
    source->setSha256(QByteArray(32, '\x5a'));
    f->setSourceFile(source);
    if (type == ContentItem::ImageType) {
        f->setThumbnailFile(QSharedPointer<BaseFile>(new BaseFile(QStringLiteral("thumb-1"), name, QString(), 64)));
        f->setImageSize(640, 480);
    }
    return f;
}

QSharedPointer<ContentItem> cardBody()
{
    QSharedPointer<CardItem> c(new CardItem(8, nullptr));
    c->setType(ContentItem::CardType);
    c->setCard(4242, QStringLiteral("Carol"));
    return c;
}

QSharedPointer<ContentItem> pollBody(bool lottery)
{
    QSharedPointer<WithOptionsItem> p(lottery ? static_cast<WithOptionsItem*>(new LotteryItem(8, nullptr))
                                              : static_cast<WithOptionsItem*>(new PollItem(8, nullptr)));
    p->setType(lottery ? ContentItem::LotteryType : ContentItem::PollType);
    p->setTitle(lottery ? QStringLiteral("Raffle") : QStringLiteral("Lunch?"));
    p->setOptions({ QStringLiteral("yes"), QStringLiteral("no") });
    return p;
}

// The reminders the seeds are made of: one per body kind and rule shape.
QList<ReminderItemPtr> sampleItems()
{
    QList<ReminderItemPtr> items;
    const auto make = [&items](const QString& id, qint64 t, QSharedPointer<ContentItem> body) {
        ReminderItemPtr item(new ReminderItem(id));
        if (body)
            item->setContent(body, true);
        item->setOriginalRemindTime(t);
        item->setShowRemindTime(t);
        item->setRemindTime(t);
        item->setOrderTime(t > 0 ? t : fuzzsupport::baseTime());
        items << item;
        return item;
    };

    make(QStringLiteral("7_1"), hoursLater(2), textBody(QStringLiteral("call Bob")));
    make(QStringLiteral("7_2"), 0, textBody(QStringLiteral("buy bread")));
    {
        ReminderItemPtr daily = make(QStringLiteral("7_3"), hoursLater(-30), textBody(QStringLiteral("stand-up")));
        daily->setInterval(1);
        daily->setUnit(0);
        daily->setRepeatCount(10);
    }
    {
        ReminderItemPtr weekly = make(QStringLiteral("12_40"), hoursLater(-200), fileBody(ContentItem::FileType,
                                                                                          QStringLiteral("plan.pdf")));
        weekly->setInterval(2);
        weekly->setUnit(1);
        weekly->setDayOfWeekFlags(1 | 4 | 16);
        weekly->setEndDate(hoursLater(24 * 60));
        weekly->setSnooze(10);
        weekly->setValidTime(hoursLater(-199));
    }
    {
        ReminderItemPtr monthly = make(QStringLiteral("1_7"), hoursLater(-1), fileBody(ContentItem::ImageType,
                                                                                       QStringLiteral("cat.png")));
        monthly->setInterval(1);
        monthly->setUnit(2);
        monthly->setDayOfMonthFlags(-1);
        monthly->setSnooze(5);
        monthly->setCompleted(true);
        monthly->setReminded(true);
    }
    {
        ReminderItemPtr quoting = make(QStringLiteral("7_41"), hoursLater(5), QSharedPointer<ContentItem>());
        quoting->setQuoteMsgItem(new RelativeMessage(QStringLiteral("dlg-9"), 77, 4242, cardBody(), nullptr));
        quoting->setInterval(1);
        quoting->setUnit(2);
        quoting->setWeekOfMonthFlags(-1);
        quoting->setDayOfWeekFlags(16);
        quoting->setUnread(true);
    }
    make(QStringLiteral("r1"), hoursLater(1), pollBody(false))->setSnooze(35791);
    make(QStringLiteral("7"), hoursLater(-3), pollBody(true))->setRepeatCount(-3);
    return items;
}

// Reminders with times at the ends of the 64-bit range, as damaged records
// and foreign messages can hold them.
QList<ReminderItemPtr> extremeItems()
{
    QList<ReminderItemPtr> items;
    {
        const qint64 first = std::numeric_limits<qint64>::min() + 5;
        ReminderItemPtr old(new ReminderItem(QStringLiteral("7_5")));
        old->setText(QStringLiteral("long ago"));
        old->setOriginalRemindTime(first);
        old->setShowRemindTime(first);
        old->setRemindTime(first);
        old->setValidTime(first);
        old->setSnooze(10);
        items << old;
    }
    {
        const qint64 late = std::numeric_limits<qint64>::max() - 2000;
        ReminderItemPtr far(new ReminderItem(QStringLiteral("7_6")));
        far->setText(QStringLiteral("far ahead"));
        far->setOriginalRemindTime(late);
        far->setShowRemindTime(late);
        far->setRemindTime(late);
        far->setInterval(1);
        far->setUnit(2);
        far->setWeekOfMonthFlags(-1);
        far->setDayOfWeekFlags(16);
        far->setSnooze(5);
        items << far;
    }
    return items;
}

// The item's state as the server would send it, content encrypted or
// left out.
im::content::Reminder wireMessage(ReminderItem& item, AccountBase* account, qint64 updateTime)
{
    im::content::Reminder msg;
    item.serialize(msg, account, false);
    msg.set_update_time(updateTime);
    msg.clear_content();
    msg.clear_key();
    return msg;
}

QByteArray plainContent(ReminderItem& item)
{
    storage::ReminderInfo info;
    item.serialize(info);
    im::content::Reminder stored;
    stored.ParseFromArray(info.data.constData(), info.data.size());
    return QByteArray::fromStdString(stored.content());
}

void recordSeeds(const QList<ReminderItemPtr>& items)
{
    int n = 0;
    for (const ReminderItemPtr& item : items) {
        storage::ReminderInfo info;
        item->setLastContentTime(n % 2 ? hoursLater(-1) : 0);
        item->setLastPatternTime(n % 3 ? 0 : hoursLater(-2));
        item->serialize(info);
        Writer w;
        w.u8(quint8(n * 37)) // flags, varied
            .i64(info.remindTime)
            .i64(info.orderTime)
            .i32(n * 3600)
            .i64(hoursLater(24 * n))
            .i32(n % 2 ? 15 : 0)
            .blob(info.id.toUtf8())
            .blob(info.text.toUtf8())
            .blob(info.extra)
            .raw(info.data);
        writeSeed(QStringLiteral("fuzz_reminderrecord"), n++, w.bytes());
    }
    // A record whose data is not a reminder message, with broken extra.
    Writer broken;
    broken.u8(0).i64(5).i64(6).i32(0).i64(0).i32(0).blob("7_9").blob("x").blob("{\"last_content_time\":")
        .raw(QByteArray("\x0a\xff\xff\xff", 4));
    writeSeed(QStringLiteral("fuzz_reminderrecord"), n++, broken.bytes());
}

void wireSeeds(const QList<ReminderItemPtr>& items, AccountBase* account)
{
    int n = 0;
    for (const ReminderItemPtr& item : items) {
        const qint64 update = hoursLater(n - 4);
        const im::content::Reminder msg = wireMessage(*item, account, update);
        Writer w;
        // Content encrypted by the target; the local body kind varies.
        w.u8(quint8(0x01 | ((n % 4) << 1) | (n == 3 ? 0x40 : 0)))
            .i32(n * 600)
            .i64(n % 2 ? update + 1 : 0)
            .i64(n % 3 ? 0 : update)
            .i64(n % 4 ? update - 1 : update + 5)
            .i64(n % 5 ? 0 : update)
            .blob(bytesOf(msg))
            .raw(plainContent(*item));
        writeSeed(QStringLiteral("fuzz_reminderwire"), n++, w.bytes());
    }
    // Content that does not decrypt: the message's own bytes.
    im::content::Reminder raw = wireMessage(*items.first(), account, hoursLater(1));
    raw.set_content("not encrypted");
    raw.set_key(std::string(25, '\x01'));
    Writer w;
    w.u8(0x02).i32(0).i64(0).i64(0).i64(0).i64(0).blob(bytesOf(raw));
    writeSeed(QStringLiteral("fuzz_reminderwire"), n++, w.bytes());
}

// Operation codes of fuzz_handlersync.
enum Op : quint8 {
    Listing = 0,
    ListedDeleted = 1,
    Answer = 2,
    ListingEnds = 3,
    Complete = 4,
    Snooze = 5,
    NewTime = 6,
    NewReminder = 7,
    Delete = 8,
    Clock = 9,
    Reload = 10,
    Notification = 11,
};

// An id as fuzz_handlersync reads it: the index of one of its fixed ids,
// or 240 and the id's own bytes.
Writer& id(Writer& w, const QString& remindId)
{
    const QStringList fixed { "7_1", "7_2", "7_3", "7_41", "12_40", "1_7", "7", "r1" };
    const int index = fixed.indexOf(remindId);
    if (index >= 0)
        return w.u8(quint8(index));
    return w.u8(240).blob(remindId.toUtf8());
}

void listing(Writer& w, ReminderItem& item, AccountBase* account, qint64 updateTime)
{
    id(w.u8(Listing), item.remindId()).u8(1).blob(bytesOf(wireMessage(item, account, updateTime)))
        .blob(plainContent(item));
}

void answer(Writer& w, ReminderItem& item, AccountBase* account, int code, qint64 updateTime)
{
    id(w.u8(Answer), item.remindId()).i32(code).u8(1)
        .blob(code == 1 ? bytesOf(wireMessage(item, account, updateTime)) : QByteArray())
        .blob(code == 1 ? plainContent(item) : QByteArray());
}

void handlerSeeds(const QList<ReminderItemPtr>& items, AccountBase* account)
{
    int n = 0;
    {
        // A first listing of every sample, then its end.
        Writer w;
        for (const ReminderItemPtr& item : items)
            listing(w, *item, account, hoursLater(-5));
        w.u8(ListingEnds);
        writeSeed(QStringLiteral("fuzz_handlersync"), n++, w.bytes());
    }
    {
        // Local changes answered: accepted, the server's newer state, refused.
        Writer w;
        listing(w, *items.at(0), account, hoursLater(-5));
        listing(w, *items.at(2), account, hoursLater(-5));
        w.u8(ListingEnds);
        w.u8(Complete).u8(0).u8(1);
        w.u8(Snooze).u8(2).i32(10);
        answer(w, *items.at(0), account, 0, 0);
        answer(w, *items.at(2), account, 1, hoursLater(1));
        w.u8(NewReminder).blob("water the plants");
        answer(w, *items.at(2), account, -1, 0);
        writeSeed(QStringLiteral("fuzz_handlersync"), n++, w.bytes());
    }
    {
        // Changes, a listing that merges them, deletions both ways, reload.
        Writer w;
        listing(w, *items.at(3), account, hoursLater(-5));
        listing(w, *items.at(4), account, hoursLater(-5));
        w.u8(NewTime).u8(4).i64(hoursLater(3));
        w.u8(Clock).i32(3 * 3600);
        listing(w, *items.at(3), account, hoursLater(4));
        w.u8(Notification).u8(5).u8(1);
        w.u8(ListedDeleted).u8(5);
        w.u8(Delete).u8(4);
        w.u8(Reload);
        w.u8(ListingEnds);
        writeSeed(QStringLiteral("fuzz_handlersync"), n++, w.bytes());
    }
    {
        // Answers that cannot be read, and for ids the list does not hold.
        Writer w;
        listing(w, *items.at(5), account, hoursLater(-5));
        w.u8(Answer).u8(3).i32(1).u8(0).blob(QByteArray("\x08\x96\x01\xff", 4)).blob(QByteArray());
        w.u8(Answer).u8(240).blob("no such id").i32(0).u8(0).blob(QByteArray()).blob(QByteArray());
        w.u8(Listing).u8(240).blob("7_99").u8(0).blob("garbage").blob(QByteArray());
        w.u8(Notification).u8(3).u8(3);
        w.u8(Notification).u8(3).u8(2);
        writeSeed(QStringLiteral("fuzz_handlersync"), n++, w.bytes());
    }
}

void searchSeeds()
{
    const char* const keywords[] = {
        "milk", "mi", "M", "会", "开会讨", "σίσυφος", "ΣΊΣ", "strasse", "ẞ", "istanbul", "kelvin",
        "\"hello\" AND", "NEAR(", "🎉🎉", "é", "cafe\xcc\x81", "ꭰ", "𐐨", "%", " ",
        // Case pairs the trigram index does not fold.
        "Ꭰ Ⴀ", "𐐀 𞤢",
    };
    int n = 0;
    for (const char* k : keywords) {
        Writer w;
        w.u8(n % 3 == 0 ? 0x02 : 0x00).i32(n % 4 == 0 ? 2 : 0).raw(QByteArray(k));
        writeSeed(QStringLiteral("fuzz_search"), n++, w.bytes());
    }
    // NUL characters, which SQLite reads no text past.
    {
        Writer w;
        w.u8(0x02).i32(0).raw(QByteArray("l\0in", 4));
        writeSeed(QStringLiteral("fuzz_search"), n++, w.bytes());
    }
    // UTF-16, with a lone surrogate.
    const QString utf16 = QStringLiteral("Milk") + QChar(0xd800);
    Writer w;
    w.u8(0x03).i32(0).raw(QByteArray(reinterpret_cast<const char*>(utf16.utf16()), int(utf16.size() * 2)));
    writeSeed(QStringLiteral("fuzz_search"), n++, w.bytes());
    // Noncharacters, which SQLite's UTF-8 reader takes for U+FFFD.
    {
        Writer nonchars;
        nonchars.u8(0x02).i32(0).raw(QByteArray("\xef\xbf\xbe\xef\xbf\xbf ", 7));
        writeSeed(QStringLiteral("fuzz_search"), n++, nonchars.bytes());
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <directory>\n", argv[0]);
        return 2;
    }
    fuzzsupport::initApplication(&argc, &argv);
    g_root = QString::fromLocal8Bit(argv[1]);
    fuzzsupport::ScratchAccount scratch;
    const QList<ReminderItemPtr> items = sampleItems() + extremeItems();
    recordSeeds(items);
    wireSeeds(items, scratch.get());
    handlerSeeds(items, scratch.get());
    searchSeeds();
    return 0;
}
