// ReminderItem and the server's message: sending, replacing, merging.
#include "contentitem.h"
#include "fileitem.h"
#include "reminderinfo.h"
#include "relativemessage.h"
#include "reminderitem.h"
#include "testaccount.h"

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

// The server's state of a reminder: every field set, content encrypted.
im::content::Reminder serverMessage(AccountBase* account, const QString& text, qint64 updateTime)
{
    im::content::ReminderContent rc;
    auto* c = rc.add_content();
    c->set_type(1);
    c->mutable_text()->set_text(text.toStdString());
    QByteArray key;
    const QByteArray cipher = account->encrypt(QByteArray::fromStdString(rc.SerializeAsString()), key);
    im::content::Reminder msg;
    msg.set_id("r1");
    msg.set_content(cipher.toStdString());
    msg.set_key(key.toStdString());
    msg.set_update_time(updateTime);
    msg.set_has_repeat(true);
    msg.set_original_remind_time(1000000);
    msg.set_show_remind_time(1000000);
    msg.set_read(true);
    return msg;
}

ReminderItemPtr localItem(const QString& text)
{
    ReminderItemPtr item(new ReminderItem(QStringLiteral("r1")));
    item->setContent(textBody(text), true);
    item->setOriginalRemindTime(1000000);
    item->setShowRemindTime(1000000);
    item->setRemindTime(1000000);
    return item;
}

QByteArray decryptedContent(AccountBase* account, const im::content::Reminder& msg)
{
    return account->decrypt(QByteArray::fromStdString(msg.content()), QByteArray::fromStdString(msg.key()));
}

} // namespace

class TestReminderWire : public QObject
{
    Q_OBJECT
private slots:
    // sending
    void serializeWithoutAccountLeavesOutputUntouched();
    void serializeCopiesStateAndEncryptsContent();
    void serializeTextOnlySendsOnlyTheText();
    void serializeTextOnlyOfBodyWithoutTextFails();
    void serializeWithoutBodyStillSendsQuote();
    void itemToWireAndBackGivesTheSameReminder();

    // replacing
    void deserializeWithoutAccountTakesPlainFieldsOnly();
    void deserializeReplacesBodyAndEmitsOnce();
    void deserializeOfEmptyContentClearsBody();
    void tamperedCipherTextLeavesBodyInDeserialize();
    void incomingMessageWithoutRepeatAndPatternLeavesRuleAlone();
    void incomingMessageWithRepeatButNoPatternClearsRule();
    void orderTimeZeroOrNegativeLeavesStoredOne_data();
    void orderTimeZeroOrNegativeLeavesStoredOne();
    void showTimeIsTheLaterOfShowAndFirstTime();
    void sameSeriesKeepsLaterRemindTime();
    void sameSeriesCompletedWithRemindTimeIsReminded();
    void sameSeriesCompletionChangeTakesReminded();
    void sameSeriesUnreadRule_data();
    void sameSeriesUnreadRule();
    void rescheduledSeriesTakesServerTimes_data();
    void rescheduledSeriesTakesServerTimes();

    // merging
    void twoMergesOfTheSameMessage();
    void localCompletedChangeNotOlderThanServerIsKept_data();
    void localCompletedChangeNotOlderThanServerIsKept();
    void olderLocalCompletedChangeTakesServerValue();
    void equalCompletedClearsItsChangeTime();
    void olderLocalContentTakesServerContent();
    void newerLocalContentIsKept();
    void tamperedCipherTextClearsBodyInMergeFrom();
    void olderLocalRuleTakesServerRuleAndTimes();
    void newerLocalRuleIsKeptWithTimes();
    void mergeLeavesUnreadChangeTimeSet();
    void newerLocalUnreadKeepsUnreadButTakesRule();
    void rescheduledSeriesIsTakenWhateverTheUnreadChangeTime();
    void mergeAlwaysTakesServerTimeAndPositiveOrder();
    void mergeWithoutResultPointerDoesNotCrash();
};

void TestReminderWire::serializeWithoutAccountLeavesOutputUntouched()
{
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    im::content::Reminder out;
    out.set_id("untouched");
    out.set_snooze(3);
    const std::string before = out.SerializeAsString();
    QVERIFY(!item->serialize(out, nullptr, false));
    QCOMPARE(out.SerializeAsString(), before);
}

void TestReminderWire::serializeCopiesStateAndEncryptsContent()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("secret words"));
    item->setInterval(1);
    item->setUnit(1);
    item->setDayOfWeekFlags(31);
    item->setSnooze(10);
    item->setUnread(true);
    item->setOrderTime(555);
    im::content::Reminder out;
    QVERIFY(item->serialize(out, account.get(), false));
    QCOMPARE(QString::fromStdString(out.id()), QStringLiteral("r1"));
    QVERIFY(out.has_repeat());
    QVERIFY(!out.read());
    QCOMPARE(out.pattern().interval(), 1);
    QCOMPARE(out.pattern().unit(), 1);
    QCOMPARE(out.pattern().day_of_week(), 31);
    QCOMPARE(out.snooze(), 10);
    QCOMPARE(out.order_time(), 555);
    QVERIFY(!out.key().empty());
    // The content is not readable without the account key...
    QVERIFY(QByteArray::fromStdString(out.content()).indexOf("secret words") < 0);
    // ...and is with it.
    const QByteArray plain = decryptedContent(account.get(), out);
    QVERIFY(!plain.isNull());
    im::content::ReminderContent rc;
    QVERIFY(rc.ParseFromArray(plain.constData(), plain.size()));
    QCOMPARE(rc.content_size(), 1);
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("secret words"));
    // The item's own message now carries the rule too.
    QCOMPARE(item->message().pattern().day_of_week(), 31);
}

void TestReminderWire::serializeTextOnlySendsOnlyTheText()
{
    TestAccount account;
    ReminderItem item(QStringLiteral("r1"));
    QSharedPointer<FileItem> file(new FileItem(8, nullptr));
    file->setType(ContentItem::FileType);
    file->setContent(QStringLiteral("caption"), {});
    file->setSourceFile(QSharedPointer<BaseFile>(new BaseFile(QStringLiteral("f"), QStringLiteral("a.pdf"), QString())));
    item.setContent(file, true);
    im::content::Reminder out;
    QVERIFY(item.serialize(out, account.get(), true));
    im::content::ReminderContent rc;
    const QByteArray plain = decryptedContent(account.get(), out);
    QVERIFY(rc.ParseFromArray(plain.constData(), plain.size()));
    QCOMPARE(rc.content_size(), 1);
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("caption"));
    QCOMPARE(rc.content(0).type(), 1);
    QVERIFY(!rc.content(0).has_file());

    QVERIFY(item.serialize(out, account.get(), false));
    QVERIFY(rc.ParseFromArray(decryptedContent(account.get(), out).constData(),
                              decryptedContent(account.get(), out).size()));
    QVERIFY(rc.content(0).has_file());
}

void TestReminderWire::serializeTextOnlyOfBodyWithoutTextFails()
{
    TestAccount account;
    ReminderItem item(QStringLiteral("r1"));
    QSharedPointer<FileItem> file(new FileItem(8, nullptr));
    file->setType(ContentItem::ImageType);
    item.setContent(file, true);
    item.setUnread(true);
    im::content::Reminder out;
    QVERIFY(!item.serialize(out, account.get(), true));
    // What was copied before the check stays.
    QCOMPARE(QString::fromStdString(out.id()), QStringLiteral("r1"));
    QVERIFY(out.has_repeat());
    QVERIFY(!out.read());
    QVERIFY(out.key().empty());
}

void TestReminderWire::serializeWithoutBodyStillSendsQuote()
{
    TestAccount account;
    ReminderItem item(QStringLiteral("r1"));
    item.setQuoteMsgItem(new RelativeMessage(QStringLiteral("dlg"), 4, 5, textBody(QStringLiteral("q")), nullptr));
    im::content::Reminder out;
    QVERIFY(item.serialize(out, account.get(), true));
    im::content::ReminderContent rc;
    const QByteArray plain = decryptedContent(account.get(), out);
    QVERIFY(rc.ParseFromArray(plain.constData(), plain.size()));
    QCOMPARE(rc.content_size(), 0);
    QVERIFY(rc.has_relative());
    QCOMPARE(QString::fromStdString(rc.relative().dialog_id()), QStringLiteral("dlg"));
}

void TestReminderWire::itemToWireAndBackGivesTheSameReminder()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("round trip"));
    item->setOriginalRemindTime(2000000);
    item->setShowRemindTime(2500000);
    item->setRemindTime(2500000);
    item->setValidTime(2400000);
    item->setEndDate(9000000);
    item->setRepeatCount(3);
    item->setSnooze(5);
    item->setInterval(1);
    item->setUnit(2);
    item->setDayOfMonthFlags(-1);
    item->setCompleted(true);
    item->setReminded(true);
    item->setOrderTime(4242);
    item->setTimestamp(4343);
    item->setQuoteMsgItem(new RelativeMessage(QStringLiteral("dlg"), 4, 5, textBody(QStringLiteral("q")), nullptr));

    im::content::Reminder wire;
    QVERIFY(item->serialize(wire, account.get(), false));
    std::string bytes = wire.SerializeAsString();
    im::content::Reminder received;
    QVERIFY(received.ParseFromString(bytes));

    // Another device of the same account reads it.
    TestAccount otherDevice(1001, 8);
    ReminderItem back(QStringLiteral("r1"));
    back.deserialize(received, otherDevice.get());
    QCOMPARE(back.remindId(), item->remindId());
    QCOMPARE(back.originalRemindTime(), item->originalRemindTime());
    QCOMPARE(back.showRemindTime(), item->showRemindTime());
    QCOMPARE(back.remindTime(), item->showRemindTime());
    QCOMPARE(back.validTime(), item->validTime());
    QCOMPARE(back.endDate(), item->endDate());
    QCOMPARE(back.repeatCount(), item->repeatCount());
    QCOMPARE(back.snooze(), item->snooze());
    QCOMPARE(back.interval(), item->interval());
    QCOMPARE(back.unit(), item->unit());
    QCOMPARE(back.dayOfMonthFlags(), item->dayOfMonthFlags());
    QCOMPARE(back.completed(), item->completed());
    QCOMPARE(back.reminded(), item->reminded());
    QCOMPARE(back.orderTime(), item->orderTime());
    QCOMPARE(back.timestamp(), item->timestamp());
    QCOMPARE(back.text(), item->text());
    QVERIFY(back.quoteMsgItem());
    QCOMPARE(back.quoteMsgItem()->dialogId(), QStringLiteral("dlg"));
    QCOMPARE(back.quoteMsgItem()->messageId(), 4);
}

void TestReminderWire::deserializeWithoutAccountTakesPlainFieldsOnly()
{
    TestAccount account;
    auto msg = serverMessage(account.get(), QStringLiteral("server text"), 50);
    msg.set_completed(true);
    msg.set_snooze(7);
    ReminderItemPtr item = localItem(QStringLiteral("local text"));
    item->deserialize(msg, nullptr);
    QVERIFY(item->completed());
    QCOMPARE(item->snooze(), 7);
    QCOMPARE(item->text(), QStringLiteral("local text"));
}

void TestReminderWire::deserializeReplacesBodyAndEmitsOnce()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("local text"));
    QSignalSpy contentSpy(item.data(), &ReminderItem::contentChanged);
    QSignalSpy completedSpy(item.data(), &ReminderItem::completedChanged);
    auto msg = serverMessage(account.get(), QStringLiteral("server text"), 50);
    msg.set_completed(true);
    item->deserialize(msg, account.get());
    QCOMPARE(item->text(), QStringLiteral("server text"));
    QCOMPARE(contentSpy.count(), 1);
    QCOMPARE(completedSpy.count(), 1);
    QCOMPARE(item->timestamp(), 50);
    // The item keeps the plain content bytes.
    im::content::ReminderContent rc;
    QVERIFY(rc.ParseFromString(item->message().content()));
    QCOMPARE(QString::fromStdString(rc.content(0).text().text()), QStringLiteral("server text"));
}

void TestReminderWire::deserializeOfEmptyContentClearsBody()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("local text"));
    auto msg = serverMessage(account.get(), QString(), 50);
    QByteArray key;
    const QByteArray cipher = account.get()->encrypt(QByteArray(), key);
    msg.set_content(cipher.toStdString());
    msg.set_key(key.toStdString());
    item->deserialize(msg, account.get());
    QVERIFY(!item->content());
}

void TestReminderWire::tamperedCipherTextLeavesBodyInDeserialize()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("local text"));
    auto msg = serverMessage(account.get(), QStringLiteral("server text"), 50);
    std::string content = msg.content();
    content[content.size() / 2] ^= 0x01;
    msg.set_content(content);
    QSignalSpy contentSpy(item.data(), &ReminderItem::contentChanged);
    item->deserialize(msg, account.get());
    QCOMPARE(item->text(), QStringLiteral("local text"));
    QCOMPARE(contentSpy.count(), 0);

    // A message of another account is no better.
    TestAccount stranger(2002, 1, "another secret");
    item->deserialize(serverMessage(stranger.get(), QStringLiteral("theirs"), 60), account.get());
    QCOMPARE(item->text(), QStringLiteral("local text"));
}

void TestReminderWire::incomingMessageWithoutRepeatAndPatternLeavesRuleAlone()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setInterval(2);
    item->setUnit(1);
    item->setDayOfWeekFlags(5);
    item->setEndDate(777);
    item->setRepeatCount(9);
    item->setSnooze(10);
    item->setValidTime(888);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_has_repeat(false);
    msg.clear_pattern();
    msg.set_end_date(1);
    msg.set_repeat_count(1);
    msg.set_snooze(1);
    msg.set_valid_time(1);
    item->deserialize(msg, account.get());
    QCOMPARE(item->interval(), 2);
    QCOMPARE(item->unit(), 1);
    QCOMPARE(item->dayOfWeekFlags(), 5);
    QCOMPARE(item->endDate(), 777);
    QCOMPARE(item->repeatCount(), 9);
    QCOMPARE(item->snooze(), 10);
    QCOMPARE(item->validTime(), 888);
}

void TestReminderWire::incomingMessageWithRepeatButNoPatternClearsRule()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setInterval(2);
    item->setUnit(2);
    item->setDayOfWeekFlags(5);
    item->setDayOfMonthFlags(-1);
    item->setWeekOfMonthFlags(3);
    item->setEndDate(777);
    storage::ReminderInfo dummy;
    item->serialize(dummy); // puts the rule into the item's message
    QVERIFY(item->message().has_pattern());
    QSignalSpy intervalSpy(item.data(), &ReminderItem::intervalChanged);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.clear_pattern();
    msg.set_has_repeat(true);
    item->deserialize(msg, account.get());
    QCOMPARE(item->interval(), 0);
    QCOMPARE(item->unit(), 0);
    QCOMPARE(item->dayOfWeekFlags(), 0);
    QCOMPARE(item->dayOfMonthFlags(), 0);
    QCOMPARE(item->weekOfMonthFlags(), 0);
    QCOMPARE(item->endDate(), 0);
    QVERIFY(!item->message().has_pattern());
    QCOMPARE(intervalSpy.count(), 1);
}

void TestReminderWire::orderTimeZeroOrNegativeLeavesStoredOne_data()
{
    QTest::addColumn<qint64>("incoming");
    QTest::newRow("zero") << qint64(0);
    QTest::newRow("negative") << qint64(-42);
}

void TestReminderWire::orderTimeZeroOrNegativeLeavesStoredOne()
{
    QFETCH(qint64, incoming);
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setOrderTime(1234);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_order_time(incoming);
    item->deserialize(msg, account.get());
    QCOMPARE(item->orderTime(), 1234);
    bool newer = false;
    item->mergeFrom(msg, account.get(), &newer);
    QCOMPARE(item->orderTime(), 1234);
    msg.set_order_time(5678);
    item->mergeFrom(msg, account.get(), &newer);
    QCOMPARE(item->orderTime(), 5678);
}

void TestReminderWire::showTimeIsTheLaterOfShowAndFirstTime()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_show_remind_time(900000); // earlier than the first time
    item->deserialize(msg, account.get());
    QCOMPARE(item->showRemindTime(), 1000000);
    msg.set_show_remind_time(1300000);
    item->deserialize(msg, account.get());
    QCOMPARE(item->showRemindTime(), 1300000);
}

void TestReminderWire::sameSeriesKeepsLaterRemindTime()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setRemindTime(1600000); // snoozed locally past the shown time
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_show_remind_time(1200000);
    item->deserialize(msg, account.get());
    QCOMPARE(item->remindTime(), 1600000);
    msg.set_show_remind_time(1800000);
    item->deserialize(msg, account.get());
    QCOMPARE(item->remindTime(), 1800000);
}

void TestReminderWire::sameSeriesCompletedWithRemindTimeIsReminded()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_completed(true);
    msg.set_reminded(false);
    item->deserialize(msg, account.get());
    QVERIFY(item->reminded());
    QVERIFY(item->completed());
}

void TestReminderWire::sameSeriesCompletionChangeTakesReminded()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setCompleted(true);
    item->setReminded(true);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_completed(false);
    msg.set_reminded(false);
    item->deserialize(msg, account.get());
    QVERIFY(!item->reminded());
    QVERIFY(!item->completed());

    // Completion unchanged and not completed: reminded is left alone.
    item->setReminded(true);
    item->deserialize(msg, account.get());
    QVERIFY(item->reminded());
}

void TestReminderWire::sameSeriesUnreadRule_data()
{
    QTest::addColumn<bool>("localUnread");
    QTest::addColumn<int>("snooze");
    QTest::addColumn<int>("interval");
    QTest::addColumn<bool>("serverRead");
    QTest::addColumn<bool>("expected");
    QTest::newRow("unread, server read") << true << 0 << 0 << true << false;
    QTest::newRow("unread, server unread") << true << 0 << 0 << false << true;
    QTest::newRow("read one-off, server unread: kept") << false << 0 << 0 << false << false;
    QTest::newRow("read, snoozing, server unread") << false << 5 << 0 << false << true;
    QTest::newRow("read, repeating, server unread") << false << 0 << 1 << false << true;
}

void TestReminderWire::sameSeriesUnreadRule()
{
    QFETCH(bool, localUnread);
    QFETCH(int, snooze);
    QFETCH(int, interval);
    QFETCH(bool, serverRead);
    QFETCH(bool, expected);
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setUnread(localUnread);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_snooze(snooze);
    msg.mutable_pattern()->set_interval(interval);
    msg.set_read(serverRead);
    item->deserialize(msg, account.get());
    QCOMPARE(item->unread(), expected);
}

void TestReminderWire::rescheduledSeriesTakesServerTimes_data()
{
    QTest::addColumn<bool>("completed");
    QTest::addColumn<bool>("reminded");
    QTest::addColumn<int>("snooze");
    QTest::addColumn<bool>("read");
    QTest::addColumn<bool>("expectReminded");
    QTest::addColumn<bool>("expectUnread");
    QTest::newRow("completed") << true << false << 0 << false << true << false;
    QTest::newRow("reminded, unread") << false << true << 0 << false << true << true;
    QTest::newRow("pending one-off") << false << false << 0 << false << false << false;
    QTest::newRow("snoozing, unread") << false << false << 5 << false << false << true;
    QTest::newRow("reminded, read") << false << true << 0 << true << true << false;
}

void TestReminderWire::rescheduledSeriesTakesServerTimes()
{
    QFETCH(bool, completed);
    QFETCH(bool, reminded);
    QFETCH(int, snooze);
    QFETCH(bool, read);
    QFETCH(bool, expectReminded);
    QFETCH(bool, expectUnread);
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setRemindTime(5000000);
    item->setUnread(true);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_original_remind_time(3000000);
    msg.set_show_remind_time(3500000);
    msg.set_completed(completed);
    msg.set_reminded(reminded);
    msg.set_snooze(snooze);
    msg.set_read(read);
    QSignalSpy originalSpy(item.data(), &ReminderItem::originalRemindTimeChanged);
    item->deserialize(msg, account.get());
    QCOMPARE(item->originalRemindTime(), 3000000);
    QCOMPARE(item->remindTime(), 3500000);
    QCOMPARE(item->reminded(), expectReminded);
    QCOMPARE(item->unread(), expectUnread);
    QCOMPARE(originalSpy.count(), 1);
}

void TestReminderWire::twoMergesOfTheSameMessage()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("local"));
    item->setLastContentTime(40);
    item->setLastCompletedTime(40);
    item->setLastPatternTime(40);
    item->setLastUnreadTime(40);
    auto msg = serverMessage(account.get(), QStringLiteral("server"), 50);
    msg.set_completed(true);
    bool newer = true;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(!newer);
    QCOMPARE(item->lastContentTime(), 0);
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->lastPatternTime(), 0);
    QCOMPARE(item->text(), QStringLiteral("server"));
    QVERIFY(item->completed());

    QSignalSpy completedSpy(item.data(), &ReminderItem::completedChanged);
    newer = true;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(!newer);
    QCOMPARE(item->lastContentTime(), 0);
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(item->lastPatternTime(), 0);
    QCOMPARE(completedSpy.count(), 0);
}

void TestReminderWire::localCompletedChangeNotOlderThanServerIsKept_data()
{
    QTest::addColumn<qint64>("serverTime");
    QTest::newRow("server at the same time") << qint64(100);
    QTest::newRow("server earlier") << qint64(99);
}

void TestReminderWire::localCompletedChangeNotOlderThanServerIsKept()
{
    QFETCH(qint64, serverTime);
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setCompleted(true);
    item->setLastCompletedTime(100);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), serverTime);
    msg.set_completed(false);
    bool newer = false;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(newer);
    QVERIFY(item->completed());
    QCOMPARE(item->lastCompletedTime(), 100);
}

void TestReminderWire::olderLocalCompletedChangeTakesServerValue()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setCompleted(true);
    item->setLastCompletedTime(100);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 101);
    msg.set_completed(false);
    QSignalSpy spy(item.data(), &ReminderItem::completedChanged);
    bool newer = true;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(!newer);
    QVERIFY(!item->completed());
    QCOMPARE(item->lastCompletedTime(), 0);
    QCOMPARE(spy.count(), 1);
}

void TestReminderWire::equalCompletedClearsItsChangeTime()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setCompleted(true);
    item->setLastCompletedTime(1000); // newer than the server, but the same value
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 10);
    msg.set_completed(true);
    item->setLastContentTime(0);
    bool newer = false;
    item->mergeFrom(msg, account.get(), &newer);
    QCOMPARE(item->lastCompletedTime(), 0);
}

void TestReminderWire::olderLocalContentTakesServerContent()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("local"));
    item->setLastContentTime(49);
    bool newer = true;
    item->mergeFrom(serverMessage(account.get(), QStringLiteral("server"), 50), account.get(), &newer);
    QVERIFY(!newer);
    QCOMPARE(item->text(), QStringLiteral("server"));
    QCOMPARE(item->lastContentTime(), 0);
}

void TestReminderWire::newerLocalContentIsKept()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("local"));
    item->setLastContentTime(50);
    bool newer = false;
    item->mergeFrom(serverMessage(account.get(), QStringLiteral("server"), 50), account.get(), &newer);
    QVERIFY(newer);
    QCOMPARE(item->text(), QStringLiteral("local"));
    QCOMPARE(item->lastContentTime(), 50);
}

void TestReminderWire::tamperedCipherTextClearsBodyInMergeFrom()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("local"));
    auto msg = serverMessage(account.get(), QStringLiteral("server"), 50);
    std::string content = msg.content();
    content.resize(content.size() - 3); // truncated
    msg.set_content(content);
    QSignalSpy spy(item.data(), &ReminderItem::contentChanged);
    bool newer = true;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(!item->content());
    QCOMPARE(spy.count(), 1);
}

void TestReminderWire::olderLocalRuleTakesServerRuleAndTimes()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setLastPatternTime(10);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.mutable_pattern()->set_interval(2);
    msg.mutable_pattern()->set_unit(1);
    msg.mutable_pattern()->set_day_of_week(3);
    msg.set_snooze(15);
    msg.set_show_remind_time(1400000);
    bool newer = true;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(!newer);
    QCOMPARE(item->interval(), 2);
    QCOMPARE(item->unit(), 1);
    QCOMPARE(item->dayOfWeekFlags(), 3);
    QCOMPARE(item->snooze(), 15);
    QCOMPARE(item->showRemindTime(), 1400000);
    QCOMPARE(item->remindTime(), 1400000);
    QCOMPARE(item->lastPatternTime(), 0);
}

void TestReminderWire::newerLocalRuleIsKeptWithTimes()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setInterval(1);
    item->setSnooze(5);
    item->setLastPatternTime(60);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.mutable_pattern()->set_interval(7);
    msg.set_snooze(30);
    msg.set_show_remind_time(1400000);
    msg.set_original_remind_time(1100000);
    bool newer = false;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(newer);
    QCOMPARE(item->interval(), 1);
    QCOMPARE(item->snooze(), 5);
    QCOMPARE(item->showRemindTime(), 1000000);
    QCOMPARE(item->originalRemindTime(), 1000000);
    QCOMPARE(item->lastPatternTime(), 60);
}

void TestReminderWire::mergeLeavesUnreadChangeTimeSet()
{
    // The merge takes the server's unread state but never clears the unread
    // change time; only a confirmation from the server does.
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setUnread(true);
    item->setLastUnreadTime(20);
    item->setLastPatternTime(20);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_read(true);
    bool newer = true;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(!newer);
    QVERIFY(!item->unread());
    QCOMPARE(item->lastPatternTime(), 0);
    QCOMPARE(item->lastUnreadTime(), 20);
}

void TestReminderWire::newerLocalUnreadKeepsUnreadButTakesRule()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setUnread(true);
    item->setLastUnreadTime(80);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_read(true);
    msg.set_snooze(12);
    bool newer = false;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(newer);
    QVERIFY(item->unread());
    QCOMPARE(item->snooze(), 12);
    QCOMPARE(item->lastUnreadTime(), 80);
}

void TestReminderWire::rescheduledSeriesIsTakenWhateverTheUnreadChangeTime()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setUnread(true);
    item->setLastUnreadTime(80);
    auto msg = serverMessage(account.get(), QStringLiteral("x"), 50);
    msg.set_original_remind_time(2000000);
    msg.set_show_remind_time(2000000);
    msg.set_reminded(false);
    msg.set_read(true);
    bool newer = true;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(!newer);
    QCOMPARE(item->originalRemindTime(), 2000000);
    QCOMPARE(item->remindTime(), 2000000);
    QVERIFY(!item->unread());
    QCOMPARE(item->lastUnreadTime(), 80);
}

void TestReminderWire::mergeAlwaysTakesServerTimeAndPositiveOrder()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->setLastContentTime(1000);
    item->setLastPatternTime(1000);
    item->setLastCompletedTime(1000);
    item->setTimestamp(5);
    auto msg = serverMessage(account.get(), QStringLiteral("server"), 60);
    msg.set_order_time(777);
    bool newer = false;
    item->mergeFrom(msg, account.get(), &newer);
    QVERIFY(newer);
    QCOMPARE(item->timestamp(), 60);
    QCOMPARE(item->orderTime(), 777);
    QCOMPARE(item->text(), QStringLiteral("x"));
}

void TestReminderWire::mergeWithoutResultPointerDoesNotCrash()
{
    TestAccount account;
    ReminderItemPtr item = localItem(QStringLiteral("x"));
    item->mergeFrom(serverMessage(account.get(), QStringLiteral("server"), 60), account.get(), nullptr);
    QCOMPARE(item->text(), QStringLiteral("server"));
}

QTEST_GUILESS_MAIN(TestReminderWire)
#include "tst_reminderwire.moc"
