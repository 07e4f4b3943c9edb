#include "jsonmap.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaType>
#include <QTest>
#include <QVariantList>

#include <limits>

class TestJsonMap : public QObject
{
    Q_OBJECT

private slots:
    void roundTrip_data();
    void roundTrip();
    void integersReadExactly_data();
    void integersReadExactly();
    void integersWrittenExactly_data();
    void integersWrittenExactly();
    void nestedIntegersStayExact();
    void fractionsStayDouble();
    void missingKeys();
    void notAnObjectReadsEmpty_data();
    void notAnObjectReadsEmpty();
    void emptyMapWritesEmptyObject();
    void writtenAsTheJsonWriterWrites_data();
    void writtenAsTheJsonWriterWrites();
};

void TestJsonMap::roundTrip_data()
{
    QTest::addColumn<QVariantMap>("map");

    QTest::newRow("empty") << QVariantMap();
    QTest::newRow("timestamp") << QVariantMap{{QStringLiteral("time"), QVariant::fromValue<qint64>(1700000000123)}};
    QTest::newRow("above 2^53")
        << QVariantMap{{QStringLiteral("id"), QVariant::fromValue<qint64>(9007199254740993)}};
    QTest::newRow("negative") << QVariantMap{{QStringLiteral("n"), QVariant::fromValue<qint64>(-5)}};
    QTest::newRow("int64 limits")
        << QVariantMap{{QStringLiteral("max"), QVariant::fromValue(std::numeric_limits<qint64>::max())},
                       {QStringLiteral("min"), QVariant::fromValue(std::numeric_limits<qint64>::min())}};
    QTest::newRow("mixed")
        << QVariantMap{{QStringLiteral("id"), QVariant::fromValue<qint64>(9007199254740993)},
                       {QStringLiteral("title"), QStringLiteral("提醒 \"quoted\"\n")},
                       {QStringLiteral("done"), true},
                       {QStringLiteral("ratio"), 0.25},
                       {QStringLiteral("none"), QVariant::fromValue(nullptr)}};
    QTest::newRow("nested")
        << QVariantMap{{QStringLiteral("inner"),
                        QVariantMap{{QStringLiteral("t"), QVariant::fromValue<qint64>(1700000000123)}}},
                       {QStringLiteral("list"),
                        QVariantList{QVariant::fromValue<qint64>(9007199254740993),
                                     QStringLiteral("s"), false}}};
}

void TestJsonMap::roundTrip()
{
    QFETCH(QVariantMap, map);
    const QByteArray json = mapToJson(map);
    const QVariantMap back = jsonToMap(json);
    QCOMPARE(back, map);
    // Writing again gives the same bytes.
    QCOMPARE(mapToJson(back), json);
}

void TestJsonMap::integersReadExactly_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<qint64>("value");
    QTest::newRow("small") << QByteArray(R"({"v":1})") << qint64(1);
    QTest::newRow("negative") << QByteArray(R"({"v":-5})") << qint64(-5);
    QTest::newRow("zero") << QByteArray(R"({"v":0})") << qint64(0);
    QTest::newRow("timestamp") << QByteArray(R"({"v":1700000000123})") << qint64(1700000000123);
    QTest::newRow("2^53 + 1") << QByteArray(R"({"v":9007199254740993})") << qint64(9007199254740993);
    QTest::newRow("-(2^53 + 1)") << QByteArray(R"({"v":-9007199254740993})") << qint64(-9007199254740993);
    QTest::newRow("int64 max") << QByteArray(R"({"v":9223372036854775807})")
                               << std::numeric_limits<qint64>::max();
    QTest::newRow("int64 min") << QByteArray(R"({"v":-9223372036854775808})")
                               << std::numeric_limits<qint64>::min();
    QTest::newRow("spaces") << QByteArray(" \n{ \"v\" : 42 }\n ") << qint64(42);
}

void TestJsonMap::integersReadExactly()
{
    QFETCH(QByteArray, json);
    QFETCH(qint64, value);
    const QVariantMap map = jsonToMap(json);
    QCOMPARE(map.size(), 1);
    const QVariant v = map.value(QStringLiteral("v"));
    QCOMPARE(v.typeId(), QMetaType::LongLong);
    QCOMPARE(v.value<qint64>(), value);
}

void TestJsonMap::integersWrittenExactly_data()
{
    QTest::addColumn<qint64>("value");
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("timestamp") << qint64(1700000000123) << QByteArray(R"({"v":1700000000123})");
    QTest::newRow("2^53 + 1") << qint64(9007199254740993) << QByteArray(R"({"v":9007199254740993})");
    QTest::newRow("negative") << qint64(-5) << QByteArray(R"({"v":-5})");
    QTest::newRow("int64 max") << std::numeric_limits<qint64>::max()
                               << QByteArray(R"({"v":9223372036854775807})");
}

void TestJsonMap::integersWrittenExactly()
{
    QFETCH(qint64, value);
    QFETCH(QByteArray, json);
    QCOMPARE(mapToJson(QVariantMap{{QStringLiteral("v"), QVariant::fromValue(value)}}), json);
}

void TestJsonMap::nestedIntegersStayExact()
{
    const QVariantMap map = jsonToMap(R"({"a":{"b":[9007199254740993,{"c":-9007199254740993}]}})");
    const QVariantList list = map.value(QStringLiteral("a")).toMap().value(QStringLiteral("b")).toList();
    QCOMPARE(list.size(), 2);
    QCOMPARE(list.at(0).typeId(), QMetaType::LongLong);
    QCOMPARE(list.at(0).value<qint64>(), qint64(9007199254740993));
    const QVariant c = list.at(1).toMap().value(QStringLiteral("c"));
    QCOMPARE(c.typeId(), QMetaType::LongLong);
    QCOMPARE(c.value<qint64>(), qint64(-9007199254740993));
}

void TestJsonMap::fractionsStayDouble()
{
    const QVariantMap map = jsonToMap(R"({"half":0.5,"neg":-2.25,"huge":1e300})");
    QCOMPARE(map.value(QStringLiteral("half")).typeId(), QMetaType::Double);
    QCOMPARE(map.value(QStringLiteral("half")).toDouble(), 0.5);
    QCOMPARE(map.value(QStringLiteral("neg")).typeId(), QMetaType::Double);
    QCOMPARE(map.value(QStringLiteral("neg")).toDouble(), -2.25);
    QCOMPARE(map.value(QStringLiteral("huge")).typeId(), QMetaType::Double);
    QCOMPARE(map.value(QStringLiteral("huge")).toDouble(), 1e300);
}

void TestJsonMap::missingKeys()
{
    const QVariantMap map = jsonToMap(R"({"present":7})");
    QVERIFY(map.contains(QStringLiteral("present")));
    QVERIFY(!map.contains(QStringLiteral("absent")));
    QVERIFY(!map.value(QStringLiteral("absent")).isValid());
    QCOMPARE(map.value(QStringLiteral("absent"), qint64(-1)).value<qint64>(), qint64(-1));
    QCOMPARE(map.value(QStringLiteral("present")).value<qint64>(), qint64(7));
}

void TestJsonMap::notAnObjectReadsEmpty_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("empty input") << QByteArray();
    QTest::newRow("whitespace") << QByteArray("   \n");
    QTest::newRow("array") << QByteArray("[1,2,3]");
    QTest::newRow("array of objects") << QByteArray(R"([{"a":1}])");
    QTest::newRow("unterminated") << QByteArray(R"({"a":1)");
    QTest::newRow("missing value") << QByteArray(R"({"a":})");
    QTest::newRow("trailing garbage") << QByteArray(R"({"a":1} x)");
    QTest::newRow("not json") << QByteArray("hello");
    QTest::newRow("single quotes") << QByteArray("{'a':1}");
    QTest::newRow("number") << QByteArray("42");
    QTest::newRow("string") << QByteArray(R"("text")");
    QTest::newRow("null") << QByteArray("null");
}

void TestJsonMap::notAnObjectReadsEmpty()
{
    QFETCH(QByteArray, json);
    const QVariantMap map = jsonToMap(json);
    QVERIFY(map.isEmpty());
}

void TestJsonMap::emptyMapWritesEmptyObject()
{
    QCOMPARE(mapToJson(QVariantMap()), QByteArray("{}"));
    QVERIFY(jsonToMap("{}").isEmpty());
    QCOMPARE(mapToJson(jsonToMap("{}")), QByteArray("{}"));
}

void TestJsonMap::writtenAsTheJsonWriterWrites_data()
{
    QTest::addColumn<QVariantMap>("map");
    const qint64 big = std::numeric_limits<qint64>::max();
    const qint64 small = std::numeric_limits<qint64>::min();
    QTest::newRow("a record's change times") << QVariantMap {
        { QStringLiteral("last_content_time"), qint64(1780000000123) },
        { QStringLiteral("last_completed_time"), qint64(0) },
        { QStringLiteral("last_pattern_time"), qint64(-5) },
        { QStringLiteral("last_unread_time"), big } };
    QTest::newRow("ends of the range") << QVariantMap { { QStringLiteral("max"), big }, { QStringLiteral("min"), small } };
    QTest::newRow("int and long long") << QVariantMap { { QStringLiteral("b"), 7 }, { QStringLiteral("a"), qint64(8) } };
    QTest::newRow("key with a quote") << QVariantMap { { QStringLiteral("say \"hi\""), 1 } };
    QTest::newRow("key with a backslash") << QVariantMap { { QStringLiteral("a\\b"), 1 } };
    QTest::newRow("key beyond ASCII") << QVariantMap { { QStringLiteral("zürich"), 1 }, { QStringLiteral("z"), 2 } };
    QTest::newRow("key with a control character") << QVariantMap { { QStringLiteral("tab\there"), 1 } };
    QTest::newRow("text value") << QVariantMap { { QStringLiteral("a"), 1 }, { QStringLiteral("t"), QStringLiteral("x") } };
    QTest::newRow("bool value") << QVariantMap { { QStringLiteral("a"), true } };
    QTest::newRow("double value") << QVariantMap { { QStringLiteral("a"), 1.5 } };
}

void TestJsonMap::writtenAsTheJsonWriterWrites()
{
    QFETCH(QVariantMap, map);
    // The bytes Qt's JSON writer gives are the stored form.
    const QByteArray expected = QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Compact);
    QCOMPARE(mapToJson(map), expected);
    QCOMPARE(jsonToMap(mapToJson(map)).keys(), map.keys());
}

QTEST_GUILESS_MAIN(TestJsonMap)
#include "tst_jsonmap.moc"
