#include "lotteryitem.h"
#include "pollitem.h"

#include "im/content/content.pb.h"

#include <QSignalSpy>
#include <QTest>

class TestWithOptionsItem : public QObject
{
    Q_OBJECT

private slots:
    void defaults();
    void titleIsATextContent();
    void setOptionsEmitsOnlyOnChange();
    void setTitleEmits();
    void setSameTitleEmitsNothing();
    void rereadingWithoutTitleDropsTheTitle();
    void pollMultipleEmitsOnlyOnChange();
    void lotteryDrawTimeEmitsOnlyOnChange();
    void pollRoundTrip_data();
    void pollRoundTrip();
    void lotteryRoundTrip_data();
    void lotteryRoundTrip();
    void pollWithoutTitleHasNone();
    void emptyTitleIsKept();
};

void TestWithOptionsItem::defaults()
{
    PollItem poll(2, nullptr);
    QVERIFY(!poll.titlePtr());
    QVERIFY(poll.title().isEmpty());
    QVERIFY(poll.options().isEmpty());
    QCOMPARE(poll.multiple(), false);
    LotteryItem lottery(2, nullptr);
    QVERIFY(!lottery.titlePtr());
    QCOMPARE(lottery.drawTime(), qint64(0));
}

void TestWithOptionsItem::titleIsATextContent()
{
    PollItem poll(9, nullptr);
    poll.setTitle(QStringLiteral("Where?"));
    QVERIFY(poll.titlePtr());
    QCOMPARE(poll.titlePtr()->content(), QStringLiteral("Where?"));
    QCOMPARE(poll.titlePtr()->type(), int(ContentItem::TextType));
    QCOMPARE(poll.titlePtr()->scene(), 9);
    QCOMPARE(poll.title(), QStringLiteral("Where?"));
    QCOMPARE(poll.property("title").toString(), QStringLiteral("Where?"));
    // Setting it again changes the same title object.
    ContentItem* first = poll.titlePtr().data();
    poll.setTitle(QStringLiteral("When?"));
    QCOMPARE(poll.titlePtr().data(), first);
    QCOMPARE(poll.title(), QStringLiteral("When?"));
}

void TestWithOptionsItem::setOptionsEmitsOnlyOnChange()
{
    PollItem poll(0, nullptr);
    QSignalSpy spy(&poll, &WithOptionsItem::optionsChanged);
    poll.setOptions({});
    QCOMPARE(spy.count(), 0);
    poll.setOptions({QStringLiteral("a"), QStringLiteral("b")});
    QCOMPARE(spy.count(), 1);
    poll.setOptions({QStringLiteral("a"), QStringLiteral("b")});
    QCOMPARE(spy.count(), 1);
    poll.setOptions({QStringLiteral("b"), QStringLiteral("a")});
    QCOMPARE(spy.count(), 2);
    QCOMPARE(poll.options(), (QStringList{QStringLiteral("b"), QStringLiteral("a")}));
}

void TestWithOptionsItem::setTitleEmits()
{
    LotteryItem lottery(0, nullptr);
    QSignalSpy spy(&lottery, &WithOptionsItem::optionsChanged);
    lottery.setTitle(QStringLiteral("Draw"));
    QCOMPARE(spy.count(), 1);
    lottery.setTitle(QStringLiteral("Big draw"));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(lottery.title(), QStringLiteral("Big draw"));
}

void TestWithOptionsItem::setSameTitleEmitsNothing()
{
    PollItem poll(0, nullptr);
    poll.setTitle(QStringLiteral("Lunch?"));
    QSignalSpy spy(&poll, &WithOptionsItem::optionsChanged);
    poll.setTitle(QStringLiteral("Lunch?"));
    QCOMPARE(spy.count(), 0);
}

void TestWithOptionsItem::rereadingWithoutTitleDropsTheTitle()
{
    PollItem poll(0, nullptr);
    im::content::Content withTitle;
    withTitle.set_type(13);
    withTitle.mutable_poll()->mutable_title()->set_text("Lunch?");
    poll.readFrom(withTitle);
    QCOMPARE(poll.title(), QStringLiteral("Lunch?"));
    QSignalSpy spy(&poll, &WithOptionsItem::optionsChanged);
    im::content::Content without;
    without.set_type(13);
    without.mutable_poll()->add_options("yes");
    poll.readFrom(without);
    QVERIFY(!poll.titlePtr());
    QVERIFY(spy.count() >= 1);
}

void TestWithOptionsItem::pollMultipleEmitsOnlyOnChange()
{
    PollItem poll(0, nullptr);
    QSignalSpy spy(&poll, &WithOptionsItem::optionsChanged);
    poll.setMultiple(false);
    QCOMPARE(spy.count(), 0);
    poll.setMultiple(true);
    QCOMPARE(spy.count(), 1);
    poll.setMultiple(true);
    QCOMPARE(spy.count(), 1);
    poll.setMultiple(false);
    QCOMPARE(spy.count(), 2);
}

void TestWithOptionsItem::lotteryDrawTimeEmitsOnlyOnChange()
{
    LotteryItem lottery(0, nullptr);
    QSignalSpy spy(&lottery, &WithOptionsItem::optionsChanged);
    lottery.setDrawTime(0);
    QCOMPARE(spy.count(), 0);
    lottery.setDrawTime(1717243200000LL);
    QCOMPARE(spy.count(), 1);
    lottery.setDrawTime(1717243200000LL);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(lottery.drawTime(), qint64(1717243200000LL));
    QCOMPARE(lottery.property("drawTime").toLongLong(), qint64(1717243200000LL));
}

void TestWithOptionsItem::pollRoundTrip_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<bool>("multiple");
    QTest::newRow("single choice") << "Lunch?" << QStringList{"Pizza", "Sushi"} << false;
    QTest::newRow("multiple choice") << "Days?" << QStringList{"Mon", "Tue", "Wed"} << true;
    QTest::newRow("no options") << "Empty" << QStringList() << true;
    QTest::newRow("unicode") << QStringLiteral("Wohin? 🙂")
                             << QStringList{QStringLiteral("Köln"), QStringLiteral("東京")} << false;
    QTest::newRow("empty option kept") << "Gaps" << QStringList{"", "x", ""} << false;
}

void TestWithOptionsItem::pollRoundTrip()
{
    QFETCH(QString, title);
    QFETCH(QStringList, options);
    QFETCH(bool, multiple);
    PollItem poll(0, nullptr);
    poll.setType(ContentItem::PollType);
    poll.setTitle(title);
    poll.setOptions(options);
    poll.setMultiple(multiple);

    im::content::Content out;
    poll.serialize(&out);
    QCOMPARE(out.type(), 13);
    QVERIFY(out.has_poll());
    QVERIFY(out.poll().has_title());
    QCOMPARE(QString::fromStdString(out.poll().title().text()), title);
    QCOMPARE(out.poll().options_size(), options.size());
    QCOMPARE(out.poll().multiple(), multiple);

    im::content::Content wire;
    QVERIFY(wire.ParseFromString(out.SerializeAsString()));
    PollItem back(5, nullptr);
    back.readFrom(wire);
    QCOMPARE(back.type(), 13);
    QCOMPARE(back.title(), title);
    QCOMPARE(back.options(), options);
    QCOMPARE(back.multiple(), multiple);
    QVERIFY(back.titlePtr());
    QCOMPARE(back.titlePtr()->scene(), 5);
}

void TestWithOptionsItem::lotteryRoundTrip_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("prizes");
    QTest::addColumn<qint64>("drawTime");
    QTest::newRow("plain") << "Summer" << QStringList{"Bike", "Book"} << qint64(1717243200000LL);
    QTest::newRow("no time") << "Later" << QStringList{"Car"} << qint64(0);
    QTest::newRow("before epoch") << "Old" << QStringList{"Coin"} << qint64(-86400000);
}

void TestWithOptionsItem::lotteryRoundTrip()
{
    QFETCH(QString, title);
    QFETCH(QStringList, prizes);
    QFETCH(qint64, drawTime);
    LotteryItem lottery(0, nullptr);
    lottery.setType(ContentItem::LotteryType);
    lottery.setTitle(title);
    lottery.setOptions(prizes);
    lottery.setDrawTime(drawTime);

    im::content::Content out;
    lottery.serialize(&out);
    QVERIFY(out.has_lottery());
    QCOMPARE(QString::fromStdString(out.lottery().title().text()), title);
    QCOMPARE(out.lottery().prizes_size(), prizes.size());
    QCOMPARE(out.lottery().draw_time(), drawTime);

    LotteryItem back(0, nullptr);
    back.readFrom(out);
    QCOMPARE(back.type(), 14);
    QCOMPARE(back.title(), title);
    QCOMPARE(back.options(), prizes);
    QCOMPARE(back.drawTime(), drawTime);
}

void TestWithOptionsItem::pollWithoutTitleHasNone()
{
    PollItem poll(0, nullptr);
    poll.setType(ContentItem::PollType);
    poll.setOptions({QStringLiteral("yes"), QStringLiteral("no")});
    im::content::Content out;
    poll.serialize(&out);
    QVERIFY(out.has_poll());
    QVERIFY(!out.poll().has_title());
    PollItem back(0, nullptr);
    back.readFrom(out);
    QVERIFY(!back.titlePtr());
    QVERIFY(back.title().isEmpty());
    QCOMPARE(back.options(), (QStringList{QStringLiteral("yes"), QStringLiteral("no")}));
}

void TestWithOptionsItem::emptyTitleIsKept()
{
    // A title set to "" is a title, and travels as one.
    LotteryItem lottery(0, nullptr);
    lottery.setTitle(QString());
    QVERIFY(lottery.titlePtr());
    im::content::Content out;
    lottery.serialize(&out);
    QVERIFY(out.lottery().has_title());
    LotteryItem back(0, nullptr);
    back.readFrom(out);
    QVERIFY(back.titlePtr());
    QVERIFY(back.title().isEmpty());
}

QTEST_GUILESS_MAIN(TestWithOptionsItem)
#include "tst_withoptionsitem.moc"
