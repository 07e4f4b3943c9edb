// ReminderItem and its local record: writing, reading back, and the store.
#include "carditem.h"
#include "contentitem.h"
#include "fileitem.h"
#include "jsonmap.h"
#include "pollitem.h"
#include "relativemessage.h"
#include "reminderinfo.h"
#include "reminderitem.h"
#include "reminderstorage.h"
#include "testaccount.h"
#include "userstorageprovider.h"

#include "im/content/reminder.pb.h"

#include <QSignalSpy>
#include <QTest>

namespace {

QSharedPointer<ContentItem> textBody(const QString& text)
{
    QSharedPointer<ContentItem> c(new ContentItem(8, nullptr));
    c->setType(ContentItem::TextType);
    c->setContent(text, {});
    return c;
}

QSharedPointer<FileItem> fileBody(int type, const QString& name, const QString& caption = QString())
{
    QSharedPointer<FileItem> f(new FileItem(8, nullptr));
    f->setType(type);
    f->setContent(caption, {});
    QSharedPointer<BaseFile> source(new BaseFile(QStringLiteral("file-1"), name, QStringLiteral("/tmp/") + name, 2048));
    source->setMimeType(QStringLiteral("application/octet-stream"));
    source->setSha256(QByteArray(32, '\x5a'));
    f->setSourceFile(source);
    return f;
}

// A record built by hand, as another version of the program might have
// written it.
storage::ReminderInfo recordFor(const im::content::Reminder& msg, const QString& id, qint64 remindTime,
                                const QByteArray& extra = QByteArray())
{
    storage::ReminderInfo info;
    info.id = id;
    info.remindTime = remindTime;
    std::string data;
    msg.SerializeToString(&data);
    info.data = QByteArray::fromStdString(data);
    info.extra = extra;
    return info;
}

// A record of a plain reminder "r" with the given extra JSON, read back.
ReminderItemPtr loadedWithExtra(AccountBase* account, const QByteArray& extra)
{
    im::content::Reminder msg;
    msg.set_original_remind_time(1000);
    return ReminderItemPtr::create(recordFor(msg, QStringLiteral("r"), 1000, extra), account);
}

std::string plainContent(const im::content::ReminderContent& rc)
{
    std::string bytes;
    rc.SerializeToString(&bytes);
    return bytes;
}

// A reminder with every field set to something that is not a default.
ReminderItemPtr fullItem(int bodyKind)
{
    ReminderItemPtr item(new ReminderItem(QStringLiteral("7_42")));
    item->setOriginalRemindTime(1700000000000);
    item->setShowRemindTime(1700000600000);
    item->setRemindTime(1700000900000);
    item->setValidTime(1700000300000);
    item->setEndDate(1800000000000);
    item->setRepeatCount(4);
    item->setSnooze(15);
    item->setInterval(2);
    item->setUnit(2);
    item->setDayOfWeekFlags(4);
    item->setDayOfMonthFlags(0);
    item->setWeekOfMonthFlags(-1);
    item->setReminded(true);
    item->setCompleted(true);
    item->setUnread(true);
    item->setOrderTime(1700000000123);
    item->setTimestamp(1700000000456);
    item->setLastContentTime(1700000000001);
    item->setLastCompletedTime(1700000000002);
    item->setLastPatternTime(1700000000003);
    item->setLastUnreadTime(9007199254740993LL); // beyond a double's exact range
    switch (bodyKind) {
    case 0: item->setContent(textBody(QStringLiteral("Call the dentist 🦷 到牙医")), true); break;
    case 1: item->setContent(fileBody(ContentItem::FileType, QStringLiteral("plan.xlsx"), QStringLiteral("the plan")), true); break;
    case 2: {
        auto image = fileBody(ContentItem::ImageType, QStringLiteral("photo.png"));
        image->setImageSize(640, 480);
        item->setContent(image, true);
        break;
    }
    case 3: {
        QSharedPointer<CardItem> card(new CardItem(8, nullptr));
        card->setType(ContentItem::CardType);
        card->setCard(99, QStringLiteral("Bob"));
        item->setContent(card, true);
        break;
    }
    case 4: {
        QSharedPointer<PollItem> poll(new PollItem(8, nullptr));
        poll->setType(ContentItem::PollType);
        poll->setTitle(QStringLiteral("Lunch?"));
        poll->setOptions({QStringLiteral("yes"), QStringLiteral("no")});
        item->setContent(poll, true);
        break;
    }
    default: break; // no body: only the quote
    }
    item->setQuoteMsgItem(new RelativeMessage(QStringLiteral("dialog-3"), 8812, 0,
                                              textBody(QStringLiteral("the quoted message")), nullptr));
    return item;
}

void compareItems(const ReminderItem& a, const ReminderItem& b)
{
    QCOMPARE(b.remindId(), a.remindId());
    QCOMPARE(b.originalRemindTime(), a.originalRemindTime());
    QCOMPARE(b.showRemindTime(), a.showRemindTime());
    QCOMPARE(b.remindTime(), a.remindTime());
    QCOMPARE(b.validTime(), a.validTime());
    QCOMPARE(b.endDate(), a.endDate());
    QCOMPARE(b.repeatCount(), a.repeatCount());
    QCOMPARE(b.snooze(), a.snooze());
    QCOMPARE(b.interval(), a.interval());
    QCOMPARE(b.unit(), a.unit());
    QCOMPARE(b.dayOfWeekFlags(), a.dayOfWeekFlags());
    QCOMPARE(b.dayOfMonthFlags(), a.dayOfMonthFlags());
    QCOMPARE(b.weekOfMonthFlags(), a.weekOfMonthFlags());
    QCOMPARE(b.reminded(), a.reminded());
    QCOMPARE(b.completed(), a.completed());
    QCOMPARE(b.unread(), a.unread());
    QCOMPARE(b.orderTime(), a.orderTime());
    QCOMPARE(b.timestamp(), a.timestamp());
    QCOMPARE(b.lastContentTime(), a.lastContentTime());
    QCOMPARE(b.lastCompletedTime(), a.lastCompletedTime());
    QCOMPARE(b.lastPatternTime(), a.lastPatternTime());
    QCOMPARE(b.lastUnreadTime(), a.lastUnreadTime());

    QCOMPARE(bool(b.content()), bool(a.content()));
    if (a.content()) {
        im::content::Content ca, cb;
        a.content()->serialize(&ca);
        b.content()->serialize(&cb);
        QCOMPARE(cb.SerializeAsString(), ca.SerializeAsString());
        QCOMPARE(b.content()->metaObject()->className(), a.content()->metaObject()->className());
    }
    QCOMPARE(bool(b.quoteMsgItem()), bool(a.quoteMsgItem()));
    if (a.quoteMsgItem()) {
        QCOMPARE(b.quoteMsgItem()->dialogId(), a.quoteMsgItem()->dialogId());
        QCOMPARE(b.quoteMsgItem()->messageId(), a.quoteMsgItem()->messageId());
        QCOMPARE(b.quoteMsgItem()->text(), a.quoteMsgItem()->text());
    }
}

} // namespace

class TestReminderRecord : public QObject
{
    Q_OBJECT
private slots:
    void writingFillsEveryRecordField();
    void contentIsStoredPlainWithoutKey();
    void changeTimesGoToExtraJson();
    void searchableText_data();
    void searchableText();

    void recordWrittenAndReadBackIsTheSame_data();
    void recordWrittenAndReadBackIsTheSame();
    void recordSavedAndReadFromReopenedDatabaseIsTheSame_data();
    void recordSavedAndReadFromReopenedDatabaseIsTheSame();

    void nullAccountLeavesDefaults();
    void recordWhoseDataDoesNotParseLoadsAsEmptyItem();
    void contentThatDoesNotParseKeepsTimesFlagsAndPattern();
    void storedRemindTimeOlderThanShowTimeLoadsAsShowTime();
    void showTimeBelowFirstRemindTimeIsRaised();
    void storedRemindTimeLaterThanShowTimeIsKept();
    void extraWithoutChangeTimesLoadsZeros_data();
    void extraWithoutChangeTimesLoadsZeros();
    void extraReadsAsTheHostReaderReadsIt_data();
    void extraReadsAsTheHostReaderReadsIt();
    void reminderContentWithTwoContentsLoadsOnlyFirst();
    void quotedSenderIsWrittenAgainOnlyOnceResolved();
    void loadedFileBodyKnowsItsKind();
    void messageWithoutPatternLeavesRuleAtZero();
};

void TestReminderRecord::writingFillsEveryRecordField()
{
    ReminderItemPtr item = fullItem(0);
    storage::ReminderInfo info;
    QVERIFY(item->serialize(info));
    QCOMPARE(info.id, QStringLiteral("7_42"));
    QCOMPARE(info.remindTime, 1700000900000);
    QCOMPARE(info.orderTime, 1700000000123);
    QVERIFY(info.reminded);
    QVERIFY(info.completed);
    QVERIFY(info.unread);
    QCOMPARE(info.text, QStringLiteral("Call the dentist 🦷 到牙医"));

    im::content::Reminder msg;
    QVERIFY(msg.ParseFromArray(info.data.constData(), info.data.size()));
    QCOMPARE(QString::fromStdString(msg.id()), QStringLiteral("7_42"));
    QVERIFY(msg.has_pattern());
    QCOMPARE(msg.pattern().interval(), 2);
    QCOMPARE(msg.pattern().unit(), 2);
    QCOMPARE(msg.pattern().day_of_week(), 4);
    QCOMPARE(msg.pattern().day_of_month(), 0);
    QCOMPARE(msg.pattern().week_of_month(), -1);
    QCOMPARE(msg.original_remind_time(), 1700000000000);
    QCOMPARE(msg.show_remind_time(), 1700000600000);
    QCOMPARE(msg.valid_time(), 1700000300000);
    QCOMPARE(msg.end_date(), 1800000000000);
    QCOMPARE(msg.repeat_count(), 4);
    QCOMPARE(msg.snooze(), 15);
    QCOMPARE(msg.update_time(), 1700000000456);
    QCOMPARE(msg.order_time(), 1700000000123);
}

void TestReminderRecord::contentIsStoredPlainWithoutKey()
{
    ReminderItemPtr item = fullItem(0);
    storage::ReminderInfo info;
    item->serialize(info);
    im::content::Reminder msg;
    QVERIFY(msg.ParseFromArray(info.data.constData(), info.data.size()));
    QVERIFY(msg.key().empty());
    im::content::ReminderContent rc;
    QVERIFY(rc.ParseFromString(msg.content()));
    QCOMPARE(rc.content_size(), 1);
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("Call the dentist 🦷 到牙医"));
    QVERIFY(rc.has_relative());
    QCOMPARE(QString::fromStdString(rc.relative().dialog_id()), QStringLiteral("dialog-3"));
    QCOMPARE(rc.relative().message_id(), 8812);
}

void TestReminderRecord::changeTimesGoToExtraJson()
{
    ReminderItemPtr item = fullItem(0);
    storage::ReminderInfo info;
    item->serialize(info);
    const QVariantMap extra = jsonToMap(info.extra);
    QCOMPARE(extra.size(), 4);
    QCOMPARE(extra.value("last_content_time").toLongLong(), 1700000000001);
    QCOMPARE(extra.value("last_completed_time").toLongLong(), 1700000000002);
    QCOMPARE(extra.value("last_pattern_time").toLongLong(), 1700000000003);
    QCOMPARE(extra.value("last_unread_time").toLongLong(), 9007199254740993LL);

    ReminderItem fresh(QStringLiteral("x"));
    fresh.serialize(info);
    const QVariantMap zeros = jsonToMap(info.extra);
    QCOMPARE(zeros.size(), 4);
    for (const QVariant& v : zeros)
        QCOMPARE(v.toLongLong(), 0);
}

void TestReminderRecord::searchableText_data()
{
    QTest::addColumn<int>("case_");
    QTest::addColumn<QString>("expected");
    QTest::newRow("text body") << 0 << "words";
    QTest::newRow("file without caption: its name") << 1 << "plan.xlsx";
    QTest::newRow("video without caption: its name") << 2 << "clip.mp4";
    QTest::newRow("file with caption") << 3 << "see the plan";
    QTest::newRow("image without caption: nothing") << 4 << "";
    QTest::newRow("no body, quote: the quote's text") << 5 << "quoted words";
    QTest::newRow("no body, quoted file: its name") << 6 << "plan.xlsx";
    QTest::newRow("empty text body with quote: nothing") << 7 << "";
    QTest::newRow("nothing at all") << 8 << "";
}

void TestReminderRecord::searchableText()
{
    QFETCH(int, case_);
    QFETCH(QString, expected);
    ReminderItem item(QStringLiteral("r"));
    switch (case_) {
    case 0: item.setContent(textBody(QStringLiteral("words")), true); break;
    case 1: item.setContent(fileBody(ContentItem::FileType, QStringLiteral("plan.xlsx")), true); break;
    case 2: item.setContent(fileBody(ContentItem::VideoType, QStringLiteral("clip.mp4")), true); break;
    case 3: item.setContent(fileBody(ContentItem::FileType, QStringLiteral("plan.xlsx"), QStringLiteral("see the plan")), true); break;
    case 4: item.setContent(fileBody(ContentItem::ImageType, QStringLiteral("a.png")), true); break;
    case 5: item.setQuoteMsgItem(new RelativeMessage(QStringLiteral("d"), 1, 2, textBody(QStringLiteral("quoted words")), nullptr)); break;
    case 6: item.setQuoteMsgItem(new RelativeMessage(QStringLiteral("d"), 1, 2, fileBody(ContentItem::FileType, QStringLiteral("plan.xlsx")), nullptr)); break;
    case 7:
        item.setContent(textBody(QString()), true);
        item.setQuoteMsgItem(new RelativeMessage(QStringLiteral("d"), 1, 2, textBody(QStringLiteral("quoted")), nullptr));
        break;
    default: break;
    }
    storage::ReminderInfo info;
    item.serialize(info);
    QCOMPARE(info.text, expected);
}

void TestReminderRecord::recordWrittenAndReadBackIsTheSame_data()
{
    QTest::addColumn<int>("bodyKind");
    QTest::newRow("text") << 0;
    QTest::newRow("file") << 1;
    QTest::newRow("image") << 2;
    QTest::newRow("card") << 3;
    QTest::newRow("poll") << 4;
    QTest::newRow("quote only") << 5;
}

void TestReminderRecord::recordWrittenAndReadBackIsTheSame()
{
    QFETCH(int, bodyKind);
    TestAccount account;
    ReminderItemPtr item = fullItem(bodyKind);
    storage::ReminderInfo info;
    QVERIFY(item->serialize(info));
    ReminderItem back(info, account.get());
    compareItems(*item, back);
    // Written again, the record is byte for byte the same.
    storage::ReminderInfo again;
    back.serialize(again);
    QCOMPARE(again, info);
}

void TestReminderRecord::recordSavedAndReadFromReopenedDatabaseIsTheSame_data()
{
    recordWrittenAndReadBackIsTheSame_data();
}

void TestReminderRecord::recordSavedAndReadFromReopenedDatabaseIsTheSame()
{
    QFETCH(int, bodyKind);
    QTemporaryDir dir;
    ReminderItemPtr item = fullItem(bodyKind);
    storage::ReminderInfo info;
    item->serialize(info);
    {
        storage::UserStorageProvider provider(dir.path(), 1001);
        QVERIFY(provider.isOpen());
        QVERIFY(provider.reminderStorage()->save(info));
    }
    AccountBase account(1001, 7, dir.path(), ContentCipher::deriveKey("k"));
    const QList<storage::ReminderInfo> stored = account.storage()->reminderStorage()->allInfos();
    QCOMPARE(stored.size(), 1);
    QCOMPARE(stored.first(), info);
    ReminderItem back(stored.first(), &account);
    compareItems(*item, back);
}

void TestReminderRecord::nullAccountLeavesDefaults()
{
    ReminderItemPtr item = fullItem(0);
    storage::ReminderInfo info;
    item->serialize(info);
    ReminderItem back(info, nullptr);
    QCOMPARE(back.remindId(), QString());
    QCOMPARE(back.remindTime(), 0);
    QCOMPARE(back.originalRemindTime(), 0);
    QCOMPARE(back.interval(), 0);
    QVERIFY(!back.content());
    QVERIFY(!back.quoteMsgItem());
    QCOMPARE(back.lastContentTime(), 0);
}

void TestReminderRecord::recordWhoseDataDoesNotParseLoadsAsEmptyItem()
{
    TestAccount account;
    storage::ReminderInfo info;
    info.id = QStringLiteral("broken");
    info.remindTime = 1234;
    info.unread = true;
    static const char garbage[] = "\xff\xff\xff\xff garbage";
    info.data = QByteArray(garbage, int(sizeof garbage) - 1);
    info.extra = QByteArray(R"({"last_content_time":5})");
    ReminderItem item(info, account.get());
    QCOMPARE(item.remindId(), QString());
    QCOMPARE(item.remindTime(), 0);
    QVERIFY(!item.unread());
    QVERIFY(!item.content());
    QCOMPARE(item.originalRemindTime(), 0);
    QCOMPARE(item.lastContentTime(), 0);
    QCOMPARE(item.message().ByteSizeLong(), size_t(0));
}

void TestReminderRecord::contentThatDoesNotParseKeepsTimesFlagsAndPattern()
{
    TestAccount account;
    im::content::Reminder msg;
    msg.set_id("r");
    msg.set_original_remind_time(5000);
    msg.set_completed(true);
    msg.mutable_pattern()->set_interval(3);
    msg.mutable_pattern()->set_unit(1);
    msg.mutable_pattern()->set_day_of_week(5);
    msg.set_content(std::string("\x0a\xff\xff\xff\xff\x0f", 6));
    ReminderItem item(recordFor(msg, "r", 6000, R"({"last_pattern_time":77})"), account.get());
    QCOMPARE(item.remindId(), QStringLiteral("r"));
    QVERIFY(!item.content());
    QVERIFY(!item.quoteMsgItem());
    QCOMPARE(item.originalRemindTime(), 5000);
    QCOMPARE(item.remindTime(), 6000);
    QVERIFY(item.completed());
    QCOMPARE(item.interval(), 3);
    QCOMPARE(item.unit(), 1);
    QCOMPARE(item.dayOfWeekFlags(), 5);
    QCOMPARE(item.lastPatternTime(), 77);
}

void TestReminderRecord::storedRemindTimeOlderThanShowTimeLoadsAsShowTime()
{
    TestAccount account;
    im::content::Reminder msg;
    msg.set_original_remind_time(1000);
    msg.set_show_remind_time(9000);
    ReminderItem item(recordFor(msg, "r", 4000), account.get());
    QCOMPARE(item.showRemindTime(), 9000);
    QCOMPARE(item.remindTime(), 9000);
}

void TestReminderRecord::showTimeBelowFirstRemindTimeIsRaised()
{
    TestAccount account;
    im::content::Reminder msg;
    msg.set_original_remind_time(7000);
    msg.set_show_remind_time(3000);
    ReminderItem item(recordFor(msg, "r", 0), account.get());
    QCOMPARE(item.showRemindTime(), 7000);
    QCOMPARE(item.remindTime(), 7000);
}

void TestReminderRecord::storedRemindTimeLaterThanShowTimeIsKept()
{
    TestAccount account;
    im::content::Reminder msg;
    msg.set_original_remind_time(1000);
    msg.set_show_remind_time(2000);
    ReminderItem item(recordFor(msg, "r", 2600), account.get());
    QCOMPARE(item.remindTime(), 2600);
}

void TestReminderRecord::extraWithoutChangeTimesLoadsZeros_data()
{
    QTest::addColumn<QByteArray>("extra");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("empty object") << QByteArray("{}");
    QTest::newRow("other keys") << QByteArray(R"({"something":12,"else":"x"})");
    QTest::newRow("not json") << QByteArray("last_content_time=5");
    QTest::newRow("array") << QByteArray("[1,2,3]");
}

void TestReminderRecord::extraReadsAsTheHostReaderReadsIt_data()
{
    QTest::addColumn<QByteArray>("extra");
    QTest::addColumn<QString>("expected"); // content, completed, pattern, unread

    const auto row = [](const char* name, const char* json, const char* expected) {
        QTest::newRow(name) << QByteArray(json) << QString::fromLatin1(expected);
    };
    // The form the writer makes, and the same with spaces and reordered.
    row("written", R"({"last_completed_time":2,"last_content_time":1,"last_pattern_time":3,"last_unread_time":4})",
        "1 2 3 4");
    row("zeros", R"({"last_completed_time":0,"last_content_time":0,"last_pattern_time":0,"last_unread_time":0})",
        "0 0 0 0");
    row("spaced", " {\n \"last_unread_time\" : 4 ,\t\"last_content_time\":1 }\r\n", "1 0 0 4");
    row("negative", R"({"last_content_time":-1700000000000})", "-1700000000000 0 0 0");
    row("18 digits", R"({"last_pattern_time":999999999999999999})", "0 0 999999999999999999 0");
    row("minus zero", R"({"last_content_time":-0})", "0 0 0 0");
    row("unknown keys", R"({"other":5,"last_unread_time":7,"z":0})", "0 0 0 7");
    // Forms the host reader decides.
    row("19 digits", R"({"last_content_time":9007199254740993000})", "9007199254740993000 0 0 0");
    row("above 64 bits", R"({"last_content_time":99999999999999999999})", "");
    row("fraction", R"({"last_content_time":1.5})", "");
    row("exponent", R"({"last_content_time":1e3})", "1000 0 0 0");
    row("string value", R"({"last_content_time":"12"})", "12 0 0 0");
    row("bool value", R"({"last_content_time":true})", "");
    row("null value", R"({"last_content_time":null})", "0 0 0 0");
    row("nested", R"({"last_content_time":{"a":1},"last_unread_time":2})", "0 0 0 2");
    row("unknown key with text", R"({"note":"x","last_unread_time":2})", "0 0 0 2");
    row("escaped key", R"({"last_\u0063ontent_time":5})", "5 0 0 0");
    row("key twice", R"({"last_content_time":5,"last_content_time":6})", "");
    row("leading zero", R"({"last_content_time":05})", "");
    row("trailing comma", R"({"last_content_time":5,})", "");
    row("trailing text", R"({"last_content_time":5} x)", "");
    row("missing brace", R"({"last_content_time":5)", "");
    row("two objects", R"({"last_content_time":5}{})", "");
}

void TestReminderRecord::extraReadsAsTheHostReaderReadsIt()
{
    QFETCH(QByteArray, extra);
    QFETCH(QString, expected);
    TestAccount account;
    const ReminderItemPtr item = loadedWithExtra(account.get(), extra);
    QCOMPARE(item->remindId(), QStringLiteral("r"));
    const QString read = QStringLiteral("%1 %2 %3 %4")
                             .arg(item->lastContentTime())
                             .arg(item->lastCompletedTime())
                             .arg(item->lastPatternTime())
                             .arg(item->lastUnreadTime());
    // Whatever the form, the times are those the host's reader gives.
    const QVariantMap map = jsonToMap(extra);
    const QString host = QStringLiteral("%1 %2 %3 %4")
                             .arg(map.value("last_content_time").toLongLong())
                             .arg(map.value("last_completed_time").toLongLong())
                             .arg(map.value("last_pattern_time").toLongLong())
                             .arg(map.value("last_unread_time").toLongLong());
    QCOMPARE(read, host);
    if (!expected.isEmpty())
        QCOMPARE(read, expected);
}

void TestReminderRecord::extraWithoutChangeTimesLoadsZeros()
{
    QFETCH(QByteArray, extra);
    TestAccount account;
    const ReminderItemPtr item = loadedWithExtra(account.get(), extra);
    QCOMPARE(item->remindId(), QStringLiteral("r"));
    QCOMPARE(item->lastContentTime(), 0);
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->lastPatternTime(), 0);
    QCOMPARE(item->lastUnreadTime(), 0);
}

void TestReminderRecord::reminderContentWithTwoContentsLoadsOnlyFirst()
{
    TestAccount account;
    im::content::ReminderContent rc;
    auto* first = rc.add_content();
    first->set_type(1);
    first->mutable_text()->set_text("first");
    auto* second = rc.add_content();
    second->set_type(1);
    second->mutable_text()->set_text("second");
    im::content::Reminder msg;
    msg.set_content(plainContent(rc));
    ReminderItem item(recordFor(msg, "r", 0), account.get());
    QVERIFY(item.content());
    QCOMPARE(item.text(), QStringLiteral("first"));
    // Written again, only the one body is kept.
    storage::ReminderInfo info;
    item.serialize(info);
    im::content::Reminder written;
    written.ParseFromArray(info.data.constData(), info.data.size());
    im::content::ReminderContent writtenContent;
    writtenContent.ParseFromString(written.content());
    QCOMPARE(writtenContent.content_size(), 1);
}

void TestReminderRecord::loadedFileBodyKnowsItsKind()
{
    TestAccount account;
    ReminderItemPtr item = fullItem(1);
    storage::ReminderInfo info;
    item->serialize(info);
    ReminderItem back(info, account.get());
    auto* file = qobject_cast<FileItem*>(back.content());
    QVERIFY(file);
    QCOMPARE(file->fileKind(), int(FileItem::KindSpreadsheet));
    QCOMPARE(file->account(), account.get());
}

void TestReminderRecord::messageWithoutPatternLeavesRuleAtZero()
{
    TestAccount account;
    im::content::Reminder msg;
    msg.set_original_remind_time(1000);
    ReminderItem item(recordFor(msg, "r", 1000), account.get());
    QCOMPARE(item.interval(), 0);
    QCOMPARE(item.unit(), 0);
    QCOMPARE(item.dayOfWeekFlags(), 0);
}

namespace {

// The sender id of the quote in a record's stored content; -1 without one.
qint64 storedQuoteSenderId(const storage::ReminderInfo& info)
{
    im::content::Reminder msg;
    im::content::ReminderContent rc;
    if (!msg.ParseFromArray(info.data.constData(), int(info.data.size()))
        || !rc.ParseFromString(msg.content()) || !rc.has_relative())
        return -1;
    return qint64(rc.relative().sender_id());
}

} // namespace

// The outgoing sender id comes from the resolved sender only (kept on
// purpose): a loaded quote written again before its sender was looked up
// loses the id in the record; once resolved it is written again.
void TestReminderRecord::quotedSenderIsWrittenAgainOnlyOnceResolved()
{
    TestAccount account;
    ReminderItemPtr item(new ReminderItem(QStringLiteral("7_1")));
    auto* quote = new RelativeMessage(QStringLiteral("dialog-3"), 8812, 321,
                                      textBody(QStringLiteral("the quoted message")), nullptr);
    item->setQuoteMsgItem(quote);
    item->resolveQuoteSender(account.get());
    storage::ReminderInfo first;
    item->serialize(first);
    QCOMPARE(storedQuoteSenderId(first), qint64(321));

    ReminderItem loaded(first, account.get());
    QVERIFY(loaded.quoteMsgItem());
    QCOMPARE(loaded.quoteMsgItem()->senderId(), qint64(321));
    QVERIFY(!loaded.quoteMsgItem()->sender());
    storage::ReminderInfo unresolved;
    loaded.serialize(unresolved);
    QCOMPARE(storedQuoteSenderId(unresolved), qint64(0));

    loaded.resolveQuoteSender(account.get());
    storage::ReminderInfo resolved;
    loaded.serialize(resolved);
    QCOMPARE(storedQuoteSenderId(resolved), qint64(321));
}

QTEST_GUILESS_MAIN(TestReminderRecord)
#include "tst_reminderrecord.moc"
