#include "modelbaseutil.h"

#include <QTest>

class TestModelBaseUtil : public QObject
{
    Q_OBJECT

private slots:
    void dayOfWeekToFlag_data();
    void dayOfWeekToFlag();
    void weekdayFlagsCombine();
    void flagToDayOfWeek_data();
    void flagToDayOfWeek();
    void everySingleDayRoundTrips();
    void messageTypeIntToStr_data();
    void messageTypeIntToStr();
    void isNeedUploadType_data();
    void isNeedUploadType();
};

void TestModelBaseUtil::dayOfWeekToFlag_data()
{
    QTest::addColumn<int>("day");
    QTest::addColumn<int>("flag");
    QTest::newRow("0") << 0 << 0;
    QTest::newRow("Monday") << 1 << 1;
    QTest::newRow("Tuesday") << 2 << 2;
    QTest::newRow("Wednesday") << 3 << 4;
    QTest::newRow("Thursday") << 4 << 8;
    QTest::newRow("Friday") << 5 << 16;
    QTest::newRow("Saturday") << 6 << 32;
    QTest::newRow("Sunday") << 7 << 64;
    QTest::newRow("8") << 8 << 0;
    QTest::newRow("-1") << -1 << 0;
    QTest::newRow("31") << 31 << 0;
    QTest::newRow("32") << 32 << 0;
    QTest::newRow("large") << 1000 << 0;
}

void TestModelBaseUtil::dayOfWeekToFlag()
{
    QFETCH(int, day);
    QFETCH(int, flag);
    QCOMPARE(ModelBaseUtil::dayOfWeekToFlag(day), flag);
}

void TestModelBaseUtil::weekdayFlagsCombine()
{
    int workdays = 0;
    for (int day = 1; day <= 5; ++day)
        workdays |= ModelBaseUtil::dayOfWeekToFlag(day);
    QCOMPARE(workdays, 31);
    int all = workdays;
    for (int day = 6; day <= 7; ++day)
        all |= ModelBaseUtil::dayOfWeekToFlag(day);
    QCOMPARE(all, 127);
    // No two days share a bit.
    int seen = 0;
    for (int day = 1; day <= 7; ++day) {
        const int flag = ModelBaseUtil::dayOfWeekToFlag(day);
        QCOMPARE(seen & flag, 0);
        seen |= flag;
    }
}

void TestModelBaseUtil::flagToDayOfWeek_data()
{
    QTest::addColumn<int>("flags");
    QTest::addColumn<int>("day");
    QTest::newRow("none") << 0 << 0;
    QTest::newRow("Monday") << 1 << 1;
    QTest::newRow("Tuesday") << 2 << 2;
    QTest::newRow("Sunday") << 64 << 7;
    QTest::newRow("Saturday") << 32 << 6;
    QTest::newRow("every day") << 127 << 1;
    QTest::newRow("workdays") << 31 << 1;
    QTest::newRow("weekend") << 96 << 6;
    QTest::newRow("Wednesday and Sunday") << (4 | 64) << 3;
    QTest::newRow("Tuesday and Thursday") << (2 | 8) << 2;
    QTest::newRow("eighth bit only") << 0x80 << 0;
    QTest::newRow("eighth bit and Friday") << (0x80 | 16) << 5;
    QTest::newRow("high bits only") << 0x7F00 << 0;
}

void TestModelBaseUtil::flagToDayOfWeek()
{
    QFETCH(int, flags);
    QFETCH(int, day);
    QCOMPARE(ModelBaseUtil::flagToDayOfWeek(flags), day);
}

void TestModelBaseUtil::everySingleDayRoundTrips()
{
    for (int day = 1; day <= 7; ++day)
        QCOMPARE(ModelBaseUtil::flagToDayOfWeek(ModelBaseUtil::dayOfWeekToFlag(day)), day);
}

void TestModelBaseUtil::messageTypeIntToStr_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("name");
    QTest::newRow("1") << 1 << QStringLiteral("text");
    QTest::newRow("2") << 2 << QStringLiteral("image");
    QTest::newRow("3") << 3 << QStringLiteral("voice");
    QTest::newRow("4") << 4 << QStringLiteral("video");
    QTest::newRow("5") << 5 << QStringLiteral("gif");
    QTest::newRow("6") << 6 << QStringLiteral("file");
    QTest::newRow("8") << 8 << QStringLiteral("card");
    QTest::newRow("13") << 13 << QStringLiteral("poll");
    QTest::newRow("14") << 14 << QStringLiteral("lottery");
    QTest::newRow("0") << 0 << QStringLiteral("unknown");
    QTest::newRow("7") << 7 << QStringLiteral("unknown");
    QTest::newRow("9") << 9 << QStringLiteral("unknown");
    QTest::newRow("12") << 12 << QStringLiteral("unknown");
    QTest::newRow("15") << 15 << QStringLiteral("unknown");
    QTest::newRow("-1") << -1 << QStringLiteral("unknown");
    QTest::newRow("99") << 99 << QStringLiteral("unknown");
}

void TestModelBaseUtil::messageTypeIntToStr()
{
    QFETCH(int, type);
    QFETCH(QString, name);
    QCOMPARE(ModelBaseUtil::messageTypeIntToStr(type), name);
}

void TestModelBaseUtil::isNeedUploadType_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("upload");
    QTest::newRow("0") << 0 << false;
    QTest::newRow("1 text") << 1 << false;
    QTest::newRow("2 image") << 2 << true;
    QTest::newRow("3 voice") << 3 << true;
    QTest::newRow("4 video") << 4 << true;
    QTest::newRow("5 animated") << 5 << true;
    QTest::newRow("6 file") << 6 << true;
    QTest::newRow("7") << 7 << false;
    QTest::newRow("8 card") << 8 << false;
    QTest::newRow("13 poll") << 13 << false;
    QTest::newRow("14 lottery") << 14 << false;
    QTest::newRow("-2") << -2 << false;
    QTest::newRow("99") << 99 << false;
}

void TestModelBaseUtil::isNeedUploadType()
{
    QFETCH(int, type);
    QFETCH(bool, upload);
    QCOMPARE(ModelBaseUtil::isNeedUploadType(type), upload);
}

QTEST_GUILESS_MAIN(TestModelBaseUtil)
#include "tst_modelbaseutil.moc"
