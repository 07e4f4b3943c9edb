// The repeat editor's texts as a person reads them, with the real English
// and Simplified Chinese catalogues.
#include "accountmanager.h"
#include "appsettingmodel.h"
#include "modelbaseutil.h"
#include "reminderpattern.h"

#include <QSignalSpy>
#include <QTest>

namespace {

qint64 ms(int y, int m, int d)
{
    return QDateTime(QDate(y, m, d), QTime(10, 0)).toMSecsSinceEpoch();
}

int flags(std::initializer_list<int> days)
{
    int f = 0;
    for (int d : days)
        f |= ModelBaseUtil::dayOfWeekToFlag(d);
    return f;
}

QString title(const ReminderPattern& p, int i)
{
    return p.defaultRepeatModel().at(i).toMap().value(QStringLiteral("title")).toString();
}

QString monthText(const ReminderPattern& p, int i)
{
    return p.monthModel().at(i).toMap().value(QStringLiteral("text")).toString();
}

// The tip shown when the custom rule is confirmed.
QString tipFor(int unit, int interval, int days, qint64 date)
{
    ReminderPattern p(nullptr);
    p.setDayOfWeekFlags(days);
    p.setRemindTime(date);
    p.setRepeatFlag(ReminderPattern::Custom);
    p.setUnit(unit);
    p.setInterval(interval);
    QSignalSpy toasts(AccountManager::getInstance(), &AccountManager::errorReported);
    p.repeatFinish();
    return toasts.isEmpty() ? QString() : toasts.last().at(1).toString();
}

QString customText(int unit, int interval)
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::Custom);
    p.setUnit(unit);
    p.setInterval(interval);
    p.repeatFinish();
    return p.repeatText();
}

} // namespace

class TestRepeatTexts : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();

    void englishPresetTitles();
    void englishMonthChoices();
    void englishCustomTextsPickSingularOrPlural();
    void englishTips_data();
    void englishTips();

    void chinesePresetTitles();
    void chineseMonthChoices();
    void chineseCustomTexts();
    void chineseTips_data();
    void chineseTips();

    void switchingLanguageRetitlesOnNextRemindTime();
};

void TestRepeatTexts::initTestCase()
{
    AppSettingModel::setTranslationsDirectory(QStringLiteral(REMINDER_TRANSLATIONS_DIR_FOR_TESTS));
    AppSettingModel::setLanguage(QStringLiteral("en"));
    QVERIFY(AppSettingModel::hasTranslator());
}

void TestRepeatTexts::cleanupTestCase()
{
    AppSettingModel::setLanguage(QStringLiteral("en"));
}

void TestRepeatTexts::englishPresetTitles()
{
    AppSettingModel::setLanguage(QStringLiteral("en"));
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(title(p, 0), QStringLiteral("Does not repeat"));
    QCOMPARE(title(p, 1), QStringLiteral("Every day"));
    QCOMPARE(title(p, 2), QStringLiteral("Every week on Wednesday"));
    QCOMPARE(title(p, 3), QStringLiteral("Every month on the 5th Wednesday"));
    QCOMPARE(title(p, 4), QStringLiteral("Every year on Jan 31"));
    QCOMPARE(title(p, 5), QStringLiteral("Every weekday"));
    QCOMPARE(title(p, 6), QStringLiteral("Custom"));
}

void TestRepeatTexts::englishMonthChoices()
{
    AppSettingModel::setLanguage(QStringLiteral("en"));
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(monthText(p, 0), QStringLiteral("On the 31st"));
    QCOMPARE(monthText(p, 1), QStringLiteral("On the 5th Wednesday"));
    QCOMPARE(monthText(p, 2), QStringLiteral("On the 1st day from the end of the month"));
    QCOMPARE(monthText(p, 3), QStringLiteral("On the 1st Wednesday from the end of the month"));
}

void TestRepeatTexts::englishCustomTextsPickSingularOrPlural()
{
    AppSettingModel::setLanguage(QStringLiteral("en"));
    QCOMPARE(customText(ReminderPattern::Days, 1), QStringLiteral("Every day"));
    QCOMPARE(customText(ReminderPattern::Days, 3), QStringLiteral("Every 3 days"));
    QCOMPARE(customText(ReminderPattern::Weeks, 1), QStringLiteral("Every week"));
    QCOMPARE(customText(ReminderPattern::Weeks, 2), QStringLiteral("Every 2 weeks"));
    QCOMPARE(customText(ReminderPattern::MonthDay, 1), QStringLiteral("Every month"));
    QCOMPARE(customText(ReminderPattern::MonthWeekday, 6), QStringLiteral("Every 6 months"));
}

void TestRepeatTexts::englishTips_data()
{
    QTest::addColumn<int>("unit");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("days");
    QTest::addColumn<QString>("expected");
    QTest::newRow("every 2 weeks on Mon, Wed, Fri") << 1 << 2 << flags({1, 3, 5})
                                                  << "Repeats every 2 weeks on Monday, Wednesday, Friday.";
    QTest::newRow("every week on Sunday") << 1 << 1 << flags({7}) << "Repeats every week on Sunday.";
    QTest::newRow("every 2 weeks, every day") << 1 << 2 << 127 << "Repeats every 2 weeks on every day of the week.";
    QTest::newRow("every day") << 0 << 1 << 0 << "Repeats every day.";
    QTest::newRow("every 4 days") << 0 << 4 << 0 << "Repeats every 4 days.";
    QTest::newRow("the 5th Wednesday") << 3 << 1 << 0 << "Repeats every month on the 5th Wednesday.";
    QTest::newRow("the 5th Wednesday, every 3 months") << 3 << 3 << 0
                                                      << "Repeats every 3 months on the 5th Wednesday.";
    QTest::newRow("the last day") << 4 << 1 << 0 << "Repeats every month on the 1st day from the end of the month.";
    QTest::newRow("the 31st, every 2 months") << 2 << 2 << 0 << "Repeats every 2 months on the 31st.";
}

void TestRepeatTexts::englishTips()
{
    QFETCH(int, unit);
    QFETCH(int, interval);
    QFETCH(int, days);
    QFETCH(QString, expected);
    AppSettingModel::setLanguage(QStringLiteral("en"));
    QCOMPARE(tipFor(unit, interval, days, ms(2024, 1, 31)), expected);
}

void TestRepeatTexts::chinesePresetTitles()
{
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(title(p, 0), QStringLiteral("不重复"));
    QCOMPARE(title(p, 1), QStringLiteral("每天"));
    QCOMPARE(title(p, 2), QStringLiteral("每周星期三"));
    QCOMPARE(title(p, 3), QStringLiteral("每月第5个星期三"));
    QCOMPARE(title(p, 4), QStringLiteral("每年1月31日"));
    QCOMPARE(title(p, 6), QStringLiteral("自定义"));
}

void TestRepeatTexts::chineseMonthChoices()
{
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 3, 1));
    QCOMPARE(monthText(p, 0), QStringLiteral("第1天"));
    QCOMPARE(monthText(p, 1), QStringLiteral("第1个星期五"));
    QCOMPARE(monthText(p, 2), QStringLiteral("倒数第31天"));
    QCOMPARE(monthText(p, 3), QStringLiteral("倒数第5个星期五"));
}

void TestRepeatTexts::chineseCustomTexts()
{
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    QCOMPARE(customText(ReminderPattern::Days, 3), QStringLiteral("每3天"));
    QCOMPARE(customText(ReminderPattern::Weeks, 2), QStringLiteral("每2周"));
    QCOMPARE(customText(ReminderPattern::MonthDay, 6), QStringLiteral("每6个月"));
}

void TestRepeatTexts::chineseTips_data()
{
    QTest::addColumn<int>("unit");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("days");
    QTest::addColumn<QString>("expected");
    QTest::newRow("every 2 weeks on Mon, Wed, Fri") << 1 << 2 << flags({1, 3, 5})
                                                  << "在每2周的星期一, 星期三, 星期五重复。";
    QTest::newRow("the 5th Wednesday") << 3 << 1 << 0 << "在每月的第5个星期三重复。";
    QTest::newRow("the last day") << 4 << 1 << 0 << "在每月的倒数第1天重复。";
    QTest::newRow("every 2 days") << 0 << 2 << 0 << "每2天重复。";
}

void TestRepeatTexts::chineseTips()
{
    QFETCH(int, unit);
    QFETCH(int, interval);
    QFETCH(int, days);
    QFETCH(QString, expected);
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    QCOMPARE(tipFor(unit, interval, days, ms(2024, 1, 31)), expected);
}

void TestRepeatTexts::switchingLanguageRetitlesOnNextRemindTime()
{
    AppSettingModel::setLanguage(QStringLiteral("en"));
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(title(p, 1), QStringLiteral("Every day"));
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    p.setRemindTime(ms(2024, 2, 1));
    QCOMPARE(title(p, 1), QStringLiteral("每天"));
    QCOMPARE(title(p, 2), QStringLiteral("每周星期四"));
}

QTEST_GUILESS_MAIN(TestRepeatTexts)
#include "tst_repeattexts.moc"
