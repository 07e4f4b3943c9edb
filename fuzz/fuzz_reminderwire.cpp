// A reminder taking the server's state: arbitrary im.content.Reminder bytes
// and arbitrary content bytes into ReminderItem::deserialize (the state
// replaces the item's) and ReminderItem::mergeFrom (taken part by part
// against the local change times).
//
// The content travels encrypted: with bit 0 of the mode the target encrypts
// the content bytes with the account's key and puts them into the message,
// so that they reach the content parser; without it the message's own
// content and key are used (which almost never authenticate).
//
// Checked for every input:
// - a merge keeps the local body when its change time is not older than the
//   server's update time, and otherwise takes exactly the text the server
//   sent (none when the content does not decrypt or parse); it reports a
//   newer local part exactly when some part was kept;
// - replacing keeps the body when the content does not decrypt or parse;
// - the content of a reminder sent to the wire and read back on another
//   item is the same plain bytes.
//
// Input: u8 mode, i32 clock offset (s), i64 x4 local change times (content,
// completion, rule, unread), blob message bytes, rest = content bytes.
#include "fuzzinput.h"
#include "fuzzsupport.h"

#include "contentitem.h"
#include "fileitem.h"
#include "im/content/reminder.pb.h"
#include "relativemessage.h"
#include "reminderinfo.h"
#include "reminderitem.h"

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

QSharedPointer<ContentItem> textBody(const QString& text)
{
    QSharedPointer<ContentItem> c(new ContentItem(8, nullptr));
    c->setType(ContentItem::TextType);
    c->setContent(text, {});
    return c;
}

// The local reminder the server's state meets.
ReminderItemPtr localItem(int kind)
{
    ReminderItemPtr item(new ReminderItem(QStringLiteral("7_1")));
    const qint64 t = fuzzsupport::baseTime() + 3600 * 1000;
    item->setOriginalRemindTime(t);
    item->setShowRemindTime(t);
    item->setRemindTime(t);
    item->setOrderTime(t);
    switch (kind) {
    case 1:
        item->setContent(textBody(QStringLiteral("local text")), true);
        break;
    case 2: {
        QSharedPointer<FileItem> file(new FileItem(8, nullptr));
        file->setType(ContentItem::FileType);
        file->setContent(QStringLiteral("caption"), {});
        file->setSourceFile(QSharedPointer<BaseFile>(
            new BaseFile(QStringLiteral("file-1"), QStringLiteral("notes.pdf"), QString(), 2048)));
        item->setContent(file, true);
        break;
    }
    case 3:
        item->setContent(textBody(QStringLiteral("about this")), true);
        item->setQuoteMsgItem(new RelativeMessage(QStringLiteral("dlg"), 4, 5, textBody(QStringLiteral("quoted")),
                                                  nullptr));
        item->setInterval(1);
        item->setUnit(1);
        item->setDayOfWeekFlags(5);
        item->setSnooze(10);
        break;
    default:
        break;
    }
    return item;
}

// The text the server's content gives: none when it does not decrypt or
// parse, or carries no content.
bool serverText(const im::content::Reminder& msg, QString* text)
{
    const QByteArray plain =
        account()->decrypt(QByteArray::fromStdString(msg.content()), QByteArray::fromStdString(msg.key()));
    im::content::ReminderContent rc;
    if (plain.isNull() || !rc.ParseFromArray(plain.constData(), plain.size())) {
        text->clear();
        return false;
    }
    *text = rc.content_size() > 0 ? QString::fromStdString(rc.content(0).text().text()) : QString();
    return true;
}

QByteArray plainContent(const im::content::Reminder& msg)
{
    return account()->decrypt(QByteArray::fromStdString(msg.content()), QByteArray::fromStdString(msg.key()));
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
    const quint8 mode = in.u8();
    const qint64 now = fuzzsupport::baseTime() + qint64(in.i32()) * 1000;
    const qint64 lastContent = in.i64();
    const qint64 lastCompleted = in.i64();
    const qint64 lastPattern = in.i64();
    const qint64 lastUnread = in.i64();
    const QByteArray messageBytes = in.blob();
    const QByteArray contentBytes = in.rest();
    network::NetworkSubject::instance()->setFixedTime(now);

    im::content::Reminder msg;
    if (!msg.ParseFromArray(messageBytes.constData(), messageBytes.size()))
        return 0; // the handler logs and ignores such an answer
    if (mode & 0x01) {
        QByteArray key;
        const QByteArray cipher = account()->encrypt(contentBytes, key);
        msg.set_content(cipher.constData(), size_t(cipher.size()));
        msg.set_key(key.constData(), size_t(key.size()));
    }
    const int kind = (mode >> 1) & 0x03;
    QString expectedText;
    const bool contentReadable = serverText(msg, &expectedText);

    // Replacing: the server's state becomes the item's.
    {
        ReminderItemPtr item = localItem(kind);
        if (mode & 0x40)
            item->deserialize(msg, nullptr);
        const QString before = item->text();
        item->deserialize(msg, account());
        FUZZ_CHECK(item->text() == (contentReadable ? expectedText : before),
                   QStringLiteral("replaced text '%1', expected '%2'").arg(item->text(), expectedText));
        item->refreshSnooze();
        item->nextRemindTimeFromShow();
        storage::ReminderInfo record;
        item->serialize(record);

        // Sent to the wire and read back by another item: the same content.
        im::content::Reminder out;
        if (item->serialize(out, account(), false)) {
            const QByteArray sent = plainContent(out);
            FUZZ_CHECK(!sent.isNull(), QStringLiteral("the sent content does not decrypt"));
            ReminderItem back(item->remindId());
            back.deserialize(out, account());
            im::content::Reminder again;
            FUZZ_CHECK(back.serialize(again, account(), false), QStringLiteral("sending the read-back item failed"));
            FUZZ_CHECK(plainContent(again) == sent,
                       QStringLiteral("content changed on the way: %1 / %2")
                           .arg(QString::fromLatin1(sent.toHex()), QString::fromLatin1(plainContent(again).toHex())));
        }
        item->serialize(out, account(), true);
    }

    // Merging against local change times.
    {
        ReminderItemPtr item = localItem(kind);
        item->setLastContentTime(lastContent);
        item->setLastCompletedTime(lastCompleted);
        item->setLastPatternTime(lastPattern);
        item->setLastUnreadTime(lastUnread);
        const QString before = item->text();
        const bool completedBefore = item->completed();
        const qint64 serverTime = msg.update_time();
        bool newer = false;
        item->mergeFrom(msg, account(), &newer);

        if (lastContent >= serverTime) {
            FUZZ_CHECK(item->text() == before, QStringLiteral("a newer local text was replaced"));
            FUZZ_CHECK(newer, QStringLiteral("a kept local text was not reported"));
        } else {
            FUZZ_CHECK(item->text() == expectedText,
                       QStringLiteral("merged text '%1', expected '%2'").arg(item->text(), expectedText));
        }
        if (msg.completed() != completedBefore && lastCompleted >= serverTime)
            FUZZ_CHECK(item->completed() == completedBefore && newer,
                       QStringLiteral("a newer local completion was replaced"));
        if (lastPattern >= serverTime)
            FUZZ_CHECK(newer, QStringLiteral("a kept local rule was not reported"));
        if (lastContent < serverTime && lastPattern < serverTime
            && (msg.completed() == completedBefore || lastCompleted < serverTime)
            && msg.original_remind_time() != fuzzsupport::baseTime() + 3600 * 1000)
            FUZZ_CHECK(!newer, QStringLiteral("nothing was kept, yet a newer local part was reported"));
        FUZZ_CHECK(item->timestamp() == msg.update_time(), QStringLiteral("the server time was not taken"));

        // Merging the same state again keeps what the first merge gave.
        const QString merged = item->text();
        item->mergeFrom(msg, account(), nullptr);
        if (lastContent < serverTime)
            FUZZ_CHECK(item->text() == merged, QStringLiteral("a second merge changed the text"));
        item->refreshSnooze();
        storage::ReminderInfo record;
        item->serialize(record);
        ReminderItem reread(record, account());
        FUZZ_CHECK(reread.text() == item->text(), QStringLiteral("the merged text does not survive the record"));
    }
    return 0;
}
