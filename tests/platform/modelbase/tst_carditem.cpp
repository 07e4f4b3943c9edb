#include "carditem.h"
#include "contactbase.h"

#include "im/content/content.pb.h"

#include <QSignalSpy>
#include <QTest>

namespace {

im::content::Content cardMessage(qint64 userId, const std::string& nick)
{
    im::content::Content in;
    in.set_type(8);
    in.mutable_text()->set_text("a contact for you");
    in.mutable_card()->set_user_id(userId);
    in.mutable_card()->set_nick(nick);
    return in;
}

} // namespace

class TestCardItem : public QObject
{
    Q_OBJECT

private slots:
    void defaults();
    void readFromWithUser_data();
    void readFromWithUser();
    void readFromWithoutUser_data();
    void readFromWithoutUser();
    void readFromKeepsResolvedUser();
    void rereadingAnotherCardReplacesTheUser();
    void rereadingCardWithoutUserDropsTheUser();
    void setUserEmitsOnce();
    void setCardEmitsOnlyOnChange();
    void serializeRoundTrip();
};

void TestCardItem::defaults()
{
    CardItem card(4, nullptr);
    QCOMPARE(card.scene(), 4);
    QCOMPARE(card.userId(), qint64(0));
    QVERIFY(card.nick().isEmpty());
    QVERIFY(!card.user());
    QVERIFY(!card.userPtr());
}

void TestCardItem::readFromWithUser_data()
{
    QTest::addColumn<qint64>("userId");
    QTest::addColumn<QString>("nick");
    QTest::newRow("plain") << qint64(1001) << QStringLiteral("Bob");
    QTest::newRow("one") << qint64(1) << QStringLiteral("First");
    QTest::newRow("no nick") << qint64(55) << QString();
    QTest::newRow("unicode nick") << qint64(9007199254740993LL) << QStringLiteral("Zoë 🙂");
}

void TestCardItem::readFromWithUser()
{
    QFETCH(qint64, userId);
    QFETCH(QString, nick);
    CardItem card(0, nullptr);
    QSignalSpy user(&card, &CardItem::userChanged);
    QSignalSpy changed(&card, &CardItem::cardChanged);
    card.readFrom(cardMessage(userId, nick.toStdString()));
    QCOMPARE(card.type(), 8);
    QCOMPARE(card.content(), QStringLiteral("a contact for you"));
    QCOMPARE(card.userId(), userId);
    QCOMPARE(card.nick(), nick);
    QVERIFY(card.user());
    QCOMPARE(card.user()->userId(), userId);
    QCOMPARE(card.user()->nick(), nick);
    QCOMPARE(card.userPtr().data(), card.user());
    QCOMPARE(card.property("userId").toLongLong(), userId);
    QCOMPARE(user.count(), 1);
    QCOMPARE(changed.count(), 1);
}

void TestCardItem::readFromWithoutUser_data()
{
    QTest::addColumn<qint64>("userId");
    QTest::newRow("zero") << qint64(0);
    QTest::newRow("negative") << qint64(-4);
}

void TestCardItem::readFromWithoutUser()
{
    QFETCH(qint64, userId);
    CardItem card(0, nullptr);
    QSignalSpy user(&card, &CardItem::userChanged);
    card.readFrom(cardMessage(userId, "ghost"));
    QCOMPARE(card.userId(), userId);
    QCOMPARE(card.nick(), QStringLiteral("ghost"));
    QVERIFY(!card.user());
    QCOMPARE(user.count(), 0);
}

void TestCardItem::readFromKeepsResolvedUser()
{
    CardItem card(0, nullptr);
    QSharedPointer<ContactBase> resolved(new ContactBase(1001, QStringLiteral("Robert")));
    card.setUser(resolved);
    QSignalSpy user(&card, &CardItem::userChanged);
    card.readFrom(cardMessage(1001, "Bob"));
    QCOMPARE(card.userPtr(), resolved);
    QCOMPARE(card.user()->nick(), QStringLiteral("Robert"));
    QCOMPARE(card.nick(), QStringLiteral("Bob"));
    QCOMPARE(user.count(), 0);
}

void TestCardItem::setUserEmitsOnce()
{
    CardItem card(0, nullptr);
    QSignalSpy spy(&card, &CardItem::userChanged);
    QSignalSpy changed(&card, &CardItem::cardChanged);
    QSharedPointer<ContactBase> a(new ContactBase(1, QStringLiteral("A")));
    QSharedPointer<ContactBase> b(new ContactBase(2, QStringLiteral("B")));
    card.setUser(a);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(card.user(), a.data());
    card.setUser(a);
    QCOMPARE(spy.count(), 1);
    card.setUser(b);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(card.userPtr(), b);
    card.setUser({});
    QCOMPARE(spy.count(), 3);
    QVERIFY(!card.user());
    card.setUser({});
    QCOMPARE(spy.count(), 3);
    QCOMPARE(changed.count(), 0);
}

void TestCardItem::setCardEmitsOnlyOnChange()
{
    CardItem card(0, nullptr);
    QSignalSpy changed(&card, &CardItem::cardChanged);
    QSignalSpy user(&card, &CardItem::userChanged);
    card.setCard(5, QStringLiteral("Eve"));
    QCOMPARE(changed.count(), 1);
    card.setCard(5, QStringLiteral("Eve"));
    QCOMPARE(changed.count(), 1);
    card.setCard(5, QStringLiteral("Eva"));
    QCOMPARE(changed.count(), 2);
    card.setCard(6, QStringLiteral("Eva"));
    QCOMPARE(changed.count(), 3);
    QCOMPARE(card.userId(), qint64(6));
    QCOMPARE(card.nick(), QStringLiteral("Eva"));
    QCOMPARE(user.count(), 0);
}

void TestCardItem::serializeRoundTrip()
{
    CardItem card(0, nullptr);
    card.setType(ContentItem::CardType);
    card.setCard(31337, QStringLiteral("Mallory"));
    im::content::Content out;
    card.serialize(&out);
    QCOMPARE(out.type(), 8);
    QVERIFY(out.has_card());
    QCOMPARE(out.card().user_id(), qint64(31337));
    QCOMPARE(QString::fromStdString(out.card().nick()), QStringLiteral("Mallory"));

    CardItem back(0, nullptr);
    back.readFrom(out);
    QCOMPARE(back.userId(), qint64(31337));
    QCOMPARE(back.nick(), QStringLiteral("Mallory"));
    QVERIFY(back.user());
    QCOMPARE(back.user()->userId(), qint64(31337));
}

void TestCardItem::rereadingAnotherCardReplacesTheUser()
{
    CardItem card(0, nullptr);
    card.readFrom(cardMessage(1001, "Bob"));
    QSignalSpy user(&card, &CardItem::userChanged);
    card.readFrom(cardMessage(2002, "Ann"));
    QVERIFY(card.user());
    QCOMPARE(card.user()->userId(), 2002);
    QCOMPARE(card.user()->nick(), QStringLiteral("Ann"));
    QCOMPARE(user.count(), 1);
}

void TestCardItem::rereadingCardWithoutUserDropsTheUser()
{
    CardItem card(0, nullptr);
    card.readFrom(cardMessage(1001, "Bob"));
    QSignalSpy user(&card, &CardItem::userChanged);
    card.readFrom(cardMessage(0, "Nobody"));
    QVERIFY(!card.user());
    QCOMPARE(user.count(), 1);
}

QTEST_GUILESS_MAIN(TestCardItem)
#include "tst_carditem.moc"
