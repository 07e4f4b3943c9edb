// RelativeMessage: the quoted chat message of a reminder.
#include "carditem.h"
#include "contactbase.h"
#include "contentitem.h"
#include "dialogbase.h"
#include "fileitem.h"
#include "relativemessage.h"
#include "reminderitem.h"
#include "testaccount.h"
#include "usermanager.h"

#include "im/content/reminder.pb.h"

#include <QJSEngine>
#include <QMetaProperty>
#include <QTest>

namespace {

QSharedPointer<ContentItem> textBody(const QString& text)
{
    QSharedPointer<ContentItem> c(new ContentItem(8, nullptr));
    c->setType(ContentItem::TextType);
    c->setContent(text, {});
    return c;
}

im::content::Reminder messageWithRelative(AccountBase* account, const im::content::ReminderRelative& rel,
                                          qint64 original = 1000)
{
    im::content::ReminderContent rc;
    rc.mutable_relative()->CopyFrom(rel);
    std::string plain;
    rc.SerializeToString(&plain);
    QByteArray key;
    const QByteArray cipher = account->encrypt(QByteArray::fromStdString(plain), key);
    im::content::Reminder msg;
    msg.set_id("r1");
    msg.set_original_remind_time(original);
    msg.set_content(cipher.toStdString());
    msg.set_key(key.toStdString());
    return msg;
}

im::content::ReminderRelative textRelative(const std::string& dialog, qint64 messageId, qint64 sender,
                                           const std::string& text)
{
    im::content::ReminderRelative rel;
    rel.set_dialog_id(dialog);
    rel.set_message_id(messageId);
    rel.set_sender_id(sender);
    rel.mutable_content()->set_type(1);
    rel.mutable_content()->mutable_text()->set_text(text);
    return rel;
}

} // namespace

class TestRelativeMessage : public QObject
{
    Q_OBJECT
private slots:
    void constructionKeepsWhatItWasGiven();
    void propertiesAreConstantAndThereAreNoSignals();
    void quoteWithoutContentIsNotWrittenOut();
    void quoteWithoutOutputWritesNothing();
    void serializeWritesDialogMessageAndContent();
    void unresolvedSenderGoesOutAsZero();
    void resolvedSenderGoesOutWithItsId();
    void text_data();
    void text();

    void buildingFromMessageKeepsReceivedFields();
    void quotedCardLooksUpItsUser();
    void quotedCardWithUserIdZeroKeepsCardsOwnUser();
    void secondIncomingRelativeLeavesFirstQuoteInPlace();

    void resolveQuoteSenderAsksTheDialog();
    void resolveQuoteSenderOnlyOnce();
    void resolveQuoteSenderWithoutAccountOrQuoteDoesNothing();
};

void TestRelativeMessage::constructionKeepsWhatItWasGiven()
{
    QObject parent;
    auto body = textBody(QStringLiteral("hi"));
    auto* quote = new RelativeMessage(QStringLiteral("dlg"), 55, 66, body, &parent);
    QCOMPARE(quote->parent(), &parent);
    QCOMPARE(quote->dialogId(), QStringLiteral("dlg"));
    QCOMPARE(quote->messageId(), 55);
    QCOMPARE(quote->senderId(), 66);
    QVERIFY(!quote->sender());
    QCOMPARE(quote->content(), body.data());
    QCOMPARE(QJSEngine::objectOwnership(quote), QJSEngine::CppOwnership);
}

void TestRelativeMessage::propertiesAreConstantAndThereAreNoSignals()
{
    const QMetaObject& mo = RelativeMessage::staticMetaObject;
    const QStringList expected = {"dialogId", "messageId", "sender", "content"};
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        const QMetaProperty p = mo.property(mo.propertyOffset() + i);
        QCOMPARE(QString::fromLatin1(p.name()), expected.at(i));
        QVERIFY(p.isConstant());
        QVERIFY(!p.isWritable());
    }
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i)
        QVERIFY(mo.method(i).methodType() != QMetaMethod::Signal);
}

void TestRelativeMessage::quoteWithoutContentIsNotWrittenOut()
{
    RelativeMessage quote(QStringLiteral("dlg"), 5, 6, nullptr, nullptr);
    quote.setSender(QSharedPointer<ContactBase>(new ContactBase(6)));
    im::content::ReminderRelative out;
    quote.serialize(&out);
    QCOMPARE(out.ByteSizeLong(), size_t(0));
    QVERIFY(out.dialog_id().empty());
    QCOMPARE(out.message_id(), 0);
    QCOMPARE(out.sender_id(), 0);
    QVERIFY(!out.has_content());
}

void TestRelativeMessage::quoteWithoutOutputWritesNothing()
{
    RelativeMessage quote(QStringLiteral("dlg"), 5, 6, textBody(QStringLiteral("x")), nullptr);
    quote.serialize(nullptr); // must simply return
    QCOMPARE(quote.dialogId(), QStringLiteral("dlg"));
}

void TestRelativeMessage::serializeWritesDialogMessageAndContent()
{
    RelativeMessage quote(QStringLiteral("dlg-9"), 123456789012LL, 6, textBody(QStringLiteral("quoted")), nullptr);
    im::content::ReminderRelative out;
    quote.serialize(&out);
    QCOMPARE(QString::fromStdString(out.dialog_id()), QStringLiteral("dlg-9"));
    QCOMPARE(out.message_id(), 123456789012LL);
    QVERIFY(out.has_content());
    QCOMPARE(out.content().type(), 1);
    QCOMPARE(QString::fromStdString(out.content().text().text()), QStringLiteral("quoted"));
}

void TestRelativeMessage::unresolvedSenderGoesOutAsZero()
{
    // The received sender id is kept for the lookup but is not sent: only a
    // resolved sender is written.
    RelativeMessage quote(QStringLiteral("dlg"), 1, 4242, textBody(QStringLiteral("x")), nullptr);
    im::content::ReminderRelative out;
    quote.serialize(&out);
    QCOMPARE(quote.senderId(), 4242);
    QCOMPARE(out.sender_id(), 0);
}

void TestRelativeMessage::resolvedSenderGoesOutWithItsId()
{
    RelativeMessage quote(QStringLiteral("dlg"), 1, 4242, textBody(QStringLiteral("x")), nullptr);
    quote.setSender(QSharedPointer<ContactBase>(new ContactBase(777, QStringLiteral("Ann"))));
    im::content::ReminderRelative out;
    quote.serialize(&out);
    QCOMPARE(out.sender_id(), 777);
    QCOMPARE(quote.sender()->nick(), QStringLiteral("Ann"));
}

void TestRelativeMessage::text_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<bool>("withSource");
    QTest::addColumn<QString>("expected");
    QTest::newRow("text") << 1 << "hello" << false << "hello";
    QTest::newRow("file without caption") << 6 << "" << true << "report.pdf";
    QTest::newRow("video without caption") << 4 << "" << true << "report.pdf";
    QTest::newRow("file with caption") << 6 << "see this" << true << "see this";
    QTest::newRow("image without caption") << 2 << "" << true << "";
    QTest::newRow("file without source") << 6 << "" << false << "";
}

void TestRelativeMessage::text()
{
    QFETCH(int, type);
    QFETCH(QString, caption);
    QFETCH(bool, withSource);
    QFETCH(QString, expected);
    QSharedPointer<ContentItem> body;
    if (type == 1) {
        body = textBody(caption);
    } else {
        QSharedPointer<FileItem> f(new FileItem(8, nullptr));
        f->setType(type);
        f->setContent(caption, {});
        if (withSource)
            f->setSourceFile(QSharedPointer<BaseFile>(new BaseFile(QStringLiteral("id"), QStringLiteral("report.pdf"), QString())));
        body = f;
    }
    RelativeMessage quote(QStringLiteral("d"), 1, 2, body, nullptr);
    QCOMPARE(quote.text(), expected);
    RelativeMessage empty(QStringLiteral("d"), 1, 2, nullptr, nullptr);
    QCOMPARE(empty.text(), QString());
}

void TestRelativeMessage::buildingFromMessageKeepsReceivedFields()
{
    TestAccount account;
    QObject parent;
    RelativeMessage* quote = RelativeMessage::fromMessage(textRelative("dlg", 9, 31, "quoted text"),
                                                          account.get(), &parent);
    QCOMPARE(quote->parent(), &parent);
    QCOMPARE(quote->dialogId(), QStringLiteral("dlg"));
    QCOMPARE(quote->messageId(), 9);
    QCOMPARE(quote->senderId(), 31);
    QVERIFY(!quote->sender());
    QVERIFY(quote->content());
    QCOMPARE(quote->content()->content(), QStringLiteral("quoted text"));
    QCOMPARE(quote->content()->scene(), 8);
    QCOMPARE(quote->content()->account(), account.get());
}

void TestRelativeMessage::quotedCardLooksUpItsUser()
{
    TestAccount account;
    QSharedPointer<ContactBase> known(new ContactBase(500, QStringLiteral("Known")));
    account.get()->userManager()->addUser(known);
    im::content::ReminderRelative rel;
    rel.set_dialog_id("dlg");
    rel.mutable_content()->set_type(8);
    rel.mutable_content()->mutable_card()->set_user_id(500);
    rel.mutable_content()->mutable_card()->set_nick("Card nick");
    QObject parent;
    RelativeMessage* quote = RelativeMessage::fromMessage(rel, account.get(), &parent);
    auto* card = qobject_cast<CardItem*>(quote->content());
    QVERIFY(card);
    QCOMPARE(card->userPtr(), known);
    // An unknown user is made from the card's nick.
    rel.mutable_content()->mutable_card()->set_user_id(501);
    quote = RelativeMessage::fromMessage(rel, account.get(), &parent);
    card = qobject_cast<CardItem*>(quote->content());
    QVERIFY(card->user());
    QCOMPARE(card->user()->userId(), 501);
    QCOMPARE(card->user()->nick(), QStringLiteral("Card nick"));
    QCOMPARE(card->userPtr(), account.get()->userManager()->getUserPointer(501, false, QString(), false));
}

void TestRelativeMessage::quotedCardWithUserIdZeroKeepsCardsOwnUser()
{
    TestAccount account;
    const int usersBefore = account.get()->userManager()->count();
    im::content::ReminderRelative rel;
    rel.set_dialog_id("dlg");
    rel.mutable_content()->set_type(8);
    rel.mutable_content()->mutable_card()->set_user_id(0);
    rel.mutable_content()->mutable_card()->set_nick("Nobody");
    QObject parent;
    RelativeMessage* quote = RelativeMessage::fromMessage(rel, account.get(), &parent);
    auto* card = qobject_cast<CardItem*>(quote->content());
    QVERIFY(card);
    QCOMPARE(card->userId(), 0);
    QCOMPARE(card->nick(), QStringLiteral("Nobody"));
    // No lookup happened: the card keeps what it had (no user at all).
    QVERIFY(!card->user());
    QCOMPARE(account.get()->userManager()->count(), usersBefore);
}

void TestRelativeMessage::secondIncomingRelativeLeavesFirstQuoteInPlace()
{
    TestAccount account;
    ReminderItem item(QStringLiteral("r1"));
    item.deserialize(messageWithRelative(account.get(), textRelative("first", 1, 2, "one")), account.get());
    RelativeMessage* first = item.quoteMsgItem();
    QVERIFY(first);
    QCOMPARE(first->dialogId(), QStringLiteral("first"));

    item.deserialize(messageWithRelative(account.get(), textRelative("second", 3, 4, "two")), account.get());
    QCOMPARE(item.quoteMsgItem(), first);
    QCOMPARE(item.quoteMsgItem()->dialogId(), QStringLiteral("first"));

    bool localNewer = true;
    auto msg = messageWithRelative(account.get(), textRelative("third", 5, 6, "three"));
    msg.set_update_time(10);
    item.mergeFrom(msg, account.get(), &localNewer);
    QCOMPARE(item.quoteMsgItem(), first);
    QCOMPARE(item.quoteMsgItem()->content()->content(), QStringLiteral("one"));
}

void TestRelativeMessage::resolveQuoteSenderAsksTheDialog()
{
    TestAccount account;
    ReminderItem item(QStringLiteral("r1"));
    item.setQuoteMsgItem(new RelativeMessage(QStringLiteral("dlg"), 1, 321, textBody(QStringLiteral("x")), nullptr));
    item.resolveQuoteSender(account.get());
    QVERIFY(item.quoteMsgItem()->sender());
    QCOMPARE(item.quoteMsgItem()->sender()->userId(), 321);
    QCOMPARE(item.quoteMsgItem()->senderPtr(),
             account.get()->dialog(QStringLiteral("dlg"))->contact(321, QString()));

    im::content::ReminderRelative out;
    item.quoteMsgItem()->serialize(&out);
    QCOMPARE(out.sender_id(), 321);
}

void TestRelativeMessage::resolveQuoteSenderOnlyOnce()
{
    TestAccount account;
    ReminderItem item(QStringLiteral("r1"));
    item.setQuoteMsgItem(new RelativeMessage(QStringLiteral("dlg"), 1, 321, textBody(QStringLiteral("x")), nullptr));
    QSharedPointer<ContactBase> preset(new ContactBase(9, QStringLiteral("Preset")));
    item.quoteMsgItem()->setSender(preset);
    item.resolveQuoteSender(account.get());
    QCOMPARE(item.quoteMsgItem()->senderPtr(), preset);
}

void TestRelativeMessage::resolveQuoteSenderWithoutAccountOrQuoteDoesNothing()
{
    TestAccount account;
    ReminderItem noQuote(QStringLiteral("r0"));
    noQuote.resolveQuoteSender(account.get());
    QVERIFY(!noQuote.quoteMsgItem());

    ReminderItem item(QStringLiteral("r1"));
    item.setQuoteMsgItem(new RelativeMessage(QStringLiteral("dlg"), 1, 321, textBody(QStringLiteral("x")), nullptr));
    item.resolveQuoteSender(nullptr);
    QVERIFY(!item.quoteMsgItem()->sender());
}

QTEST_GUILESS_MAIN(TestRelativeMessage)
#include "tst_relativemessage.moc"
