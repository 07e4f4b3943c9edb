// ReminderPattern: the repeat-rule editor and the texts it composes. Texts
// come from a test catalogue that echoes each id with its arguments, so the
// assertions show which id was used with which arguments in which order.
#include "accountmanager.h"
#include "appsettingmodel.h"
#include "modelbaseutil.h"
#include "reminderitem.h"
#include "reminderpattern.h"

#include <QJSEngine>
#include <QMetaProperty>
#include <QSignalSpy>
#include <QTest>
#include <QTranslator>

namespace {

qint64 ms(int y, int m, int d, int h = 10)
{
    return QDateTime(QDate(y, m, d), QTime(h, 0)).toMSecsSinceEpoch();
}

int flags(std::initializer_list<int> days)
{
    int f = 0;
    for (int d : days)
        f |= ModelBaseUtil::dayOfWeekToFlag(d);
    return f;
}

QString title(const ReminderPattern& p, int index)
{
    return p.defaultRepeatModel().at(index).toMap().value(QStringLiteral("title")).toString();
}

QString monthText(const ReminderPattern& p, int index)
{
    return p.monthModel().at(index).toMap().value(QStringLiteral("text")).toString();
}

// Every signal of the pattern, to check that nothing at all was emitted.
struct AllSignals
{
    explicit AllSignals(QObject* o)
    {
        const QMetaObject* mo = o->metaObject();
        for (int i = mo->methodOffset(); i < mo->methodCount(); ++i)
            if (mo->method(i).methodType() == QMetaMethod::Signal)
                spies.emplace_back(new QSignalSpy(o, mo->method(i)));
    }
    int total() const
    {
        int n = 0;
        for (const auto& s : spies)
            n += int(s->count());
        return n;
    }
    std::vector<std::unique_ptr<QSignalSpy>> spies;
};

// The last toast text handed to the host.
struct Toasts
{
    Toasts() : spy(AccountManager::getInstance(), &AccountManager::errorReported) {}
    QString last() const { return spy.isEmpty() ? QString() : spy.last().at(1).toString(); }
    QSignalSpy spy;
};

ReminderItemPtr itemWith(qint64 show, int interval, int unit, int dow = 0, int dom = 0, int wom = 0)
{
    ReminderItemPtr item(new ReminderItem(QStringLiteral("r")));
    item->setOriginalRemindTime(show);
    item->setShowRemindTime(show);
    item->setRemindTime(show);
    item->setInterval(interval);
    item->setUnit(unit);
    item->setDayOfWeekFlags(dow);
    item->setDayOfMonthFlags(dom);
    item->setWeekOfMonthFlags(wom);
    return item;
}

} // namespace

class TestReminderPattern : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();

    void startsEmptyAndIsOwnedByTheProgram();
    void propertiesAndSignalsAreDeclaredInOrder();
    void plainSettersEmitOnlyOnChangeAndLeaveText();
    void setSnoozeMarksTimeAndRuleModified();

    void settingSameRemindTimeTwiceEmitsNothingTheSecondTime();
    void remindTimeZeroOrNegativeEmitsButLeavesListsAndText_data();
    void remindTimeZeroOrNegativeEmitsButLeavesListsAndText();
    void weekdayFlagsAlreadySetAreKeptByNewRemindTime();
    void weekdayFlagsZeroTakeRemindDatesWeekdaySilently();
    void remindTimeRebuildsBothListsAndText();

    void presetTitlesForWednesday31January();
    void monthTextsForWednesday31January();
    void firstOfMarchCountsThirtyOneDaysAndFiveWeeksFromTheEnd();
    void customDailyTextNamesTheNumber();
    void customWeeklyTextLetsTheCatalogueChooseThePlural();
    void customMonthlyTextLetsTheCatalogueChooseThePlural();
    void presetTextIsThePresetsTitle();
    void customWithZeroIntervalBecomesNotRepeatingWhenTextIsRecomputed();
    void customWithZeroIntervalIsKeptBeforeAnyRemindTime();
    void textIsRecomputedOnlyByRemindTimeAndConfirmation();

    void repeatFinishExpandsPreset_data();
    void repeatFinishExpandsPreset();
    void repeatFinishYearlyGivesTwelveMonthsOnTheRemindDay();
    void customEveryWeekOnAllDaysIsStoredAsEveryDay();
    void repeatFinishNotRepeatingShowsNoTip();
    void tip_data();
    void tip();
    void tipForMondayWednesdayFridayListsLongNamesMondayFirst();
    void tipForEveryTwoWeeksOnAllDaysUsesAllWeek();

    void loadChoosesEditorUnit_data();
    void loadChoosesEditorUnit();
    void loadingNonRepeatingItemSetsNotRepeatingAndKeepsUnit();
    void loadingNegativeSnoozeStoresZero();
    void loadingChangedSnoozeMarksModified();
    void loadTakesCountEndDateWeekdaysAndTime();
    void loadAndWriteIgnoreNullItem();

    void writeEncodesUnit_data();
    void writeEncodesUnit();
    void writeWithoutRepeatClearsTheRule();
    void remindDate31JanuaryOrdinalsAndFromEndEncodings();
    void everyPresetAndMonthVariantSurvivesLoadConfirmWrite_data();
    void everyPresetAndMonthVariantSurvivesLoadConfirmWrite();

    void resetRestoresEverythingSilently();

private:
    QTranslator m_echo;
};

void TestReminderPattern::initTestCase()
{
    // No real catalogue: only the echoing one.
    AppSettingModel::setTranslationsDirectory(QStringLiteral("/nonexistent"));
    AppSettingModel::setLanguage(QStringLiteral("en"));
    QVERIFY(m_echo.load(QStringLiteral(REMINDER_ECHO_CATALOGUE)));
    QVERIFY(QCoreApplication::installTranslator(&m_echo));
    QCOMPARE(qtTrId("reminder_repeat_every_select_week").arg(QStringLiteral("x")),
             QStringLiteral("reminder_repeat_every_select_week(x)"));
}

void TestReminderPattern::startsEmptyAndIsOwnedByTheProgram()
{
    QObject parent;
    auto* p = new ReminderPattern(&parent);
    QCOMPARE(p->parent(), &parent);
    QCOMPARE(QJSEngine::objectOwnership(p), QJSEngine::CppOwnership);
    QCOMPARE(p->remindTime(), 0);
    QVERIFY(p->defaultRepeatModel().isEmpty());
    QCOMPARE(p->repeatFlag(), 0);
    QVERIFY(p->repeatText().isNull());
    QCOMPARE(p->interval(), 0);
    QCOMPARE(p->unit(), 0);
    QCOMPARE(p->dayOfWeekFlags(), 0);
    QVERIFY(p->monthModel().isEmpty());
    QCOMPARE(p->endDate(), 0);
    QCOMPARE(p->repeatCount(), 0);
    QCOMPARE(p->snooze(), 0);
    QVERIFY(!p->timeModified());
    QVERIFY(!p->repeatModified());
}

void TestReminderPattern::propertiesAndSignalsAreDeclaredInOrder()
{
    const QStringList props = {"remindTime", "defaultRepeatModel", "repeatFlag", "repeatText", "interval",
                               "unit", "dayOfWeekFlags", "monthModel", "endDate", "repeatCount", "snooze"};
    const QStringList readOnly = {"defaultRepeatModel", "repeatText", "monthModel"};
    const QMetaObject& mo = ReminderPattern::staticMetaObject;
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), props.size());
    QStringList signalNames;
    for (int i = 0; i < props.size(); ++i) {
        const QMetaProperty p = mo.property(mo.propertyOffset() + i);
        QCOMPARE(QString::fromLatin1(p.name()), props.at(i));
        QCOMPARE(p.isWritable(), !readOnly.contains(props.at(i)));
        QCOMPARE(QString::fromLatin1(p.notifySignal().name()), props.at(i) + QStringLiteral("Changed"));
        signalNames << props.at(i) + QStringLiteral("Changed");
    }
    QStringList declared;
    QStringList slotNames;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
        const QMetaMethod m = mo.method(i);
        if (m.methodType() == QMetaMethod::Signal)
            declared << QString::fromLatin1(m.name());
        else if (m.methodType() == QMetaMethod::Slot && m.access() == QMetaMethod::Public)
            slotNames << QString::fromLatin1(m.name());
    }
    QCOMPARE(declared, signalNames);
    QCOMPARE(slotNames, QStringList{QStringLiteral("repeatFinish")});
}

void TestReminderPattern::plainSettersEmitOnlyOnChangeAndLeaveText()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    const QString text = p.repeatText();
    QSignalSpy textSpy(&p, &ReminderPattern::repeatTextChanged);
    struct Case { const char* signal; std::function<void()> set; };
    const QList<Case> cases = {
        {SIGNAL(repeatFlagChanged()), [&] { p.setRepeatFlag(6); }},
        {SIGNAL(intervalChanged()), [&] { p.setInterval(3); }},
        {SIGNAL(unitChanged()), [&] { p.setUnit(2); }},
        {SIGNAL(dayOfWeekFlagsChanged()), [&] { p.setDayOfWeekFlags(5); }},
        {SIGNAL(endDateChanged()), [&] { p.setEndDate(99); }},
        {SIGNAL(repeatCountChanged()), [&] { p.setRepeatCount(4); }},
    };
    for (const Case& c : cases) {
        QSignalSpy spy(&p, c.signal);
        c.set();
        c.set();
        QCOMPARE(spy.count(), 1);
    }
    QCOMPARE(textSpy.count(), 0);
    QCOMPARE(p.repeatText(), text);
}

void TestReminderPattern::setSnoozeMarksTimeAndRuleModified()
{
    ReminderPattern p(nullptr);
    QSignalSpy spy(&p, &ReminderPattern::snoozeChanged);
    p.setSnooze(0);
    QVERIFY(!p.timeModified());
    QCOMPARE(spy.count(), 0);
    p.setSnooze(10);
    QCOMPARE(spy.count(), 1);
    QVERIFY(p.timeModified());
    QVERIFY(p.repeatModified());
}

void TestReminderPattern::settingSameRemindTimeTwiceEmitsNothingTheSecondTime()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    QVERIFY(p.timeModified());
    p.setTimeModified(false);
    AllSignals all(&p);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(all.total(), 0);
    QVERIFY(!p.timeModified());
}

void TestReminderPattern::remindTimeZeroOrNegativeEmitsButLeavesListsAndText_data()
{
    QTest::addColumn<qint64>("time");
    QTest::newRow("zero") << qint64(0);
    QTest::newRow("negative") << qint64(-5000);
}

void TestReminderPattern::remindTimeZeroOrNegativeEmitsButLeavesListsAndText()
{
    QFETCH(qint64, time);
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    const QVariantList presets = p.defaultRepeatModel();
    const QVariantList months = p.monthModel();
    const QString text = p.repeatText();
    QSignalSpy timeSpy(&p, &ReminderPattern::remindTimeChanged);
    QSignalSpy presetSpy(&p, &ReminderPattern::defaultRepeatModelChanged);
    QSignalSpy monthSpy(&p, &ReminderPattern::monthModelChanged);
    QSignalSpy textSpy(&p, &ReminderPattern::repeatTextChanged);
    p.setTimeModified(false);
    p.setRemindTime(time);
    QCOMPARE(timeSpy.count(), 1);
    QCOMPARE(p.remindTime(), time);
    QVERIFY(p.timeModified());
    QCOMPARE(presetSpy.count() + monthSpy.count() + textSpy.count(), 0);
    QCOMPARE(p.defaultRepeatModel(), presets);
    QCOMPARE(p.monthModel(), months);
    QCOMPARE(p.repeatText(), text);
}

void TestReminderPattern::weekdayFlagsAlreadySetAreKeptByNewRemindTime()
{
    ReminderPattern p(nullptr);
    p.setDayOfWeekFlags(flags({2, 4}));
    p.setRemindTime(ms(2024, 1, 31)); // a Wednesday
    QCOMPARE(p.dayOfWeekFlags(), flags({2, 4}));
}

void TestReminderPattern::weekdayFlagsZeroTakeRemindDatesWeekdaySilently()
{
    ReminderPattern p(nullptr);
    QSignalSpy spy(&p, &ReminderPattern::dayOfWeekFlagsChanged);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(p.dayOfWeekFlags(), flags({3}));
    QCOMPARE(spy.count(), 0);
}

void TestReminderPattern::remindTimeRebuildsBothListsAndText()
{
    ReminderPattern p(nullptr);
    QSignalSpy presetSpy(&p, &ReminderPattern::defaultRepeatModelChanged);
    QSignalSpy monthSpy(&p, &ReminderPattern::monthModelChanged);
    QSignalSpy textSpy(&p, &ReminderPattern::repeatTextChanged);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(presetSpy.count(), 1);
    QCOMPARE(monthSpy.count(), 1);
    QCOMPARE(textSpy.count(), 1);
    QCOMPARE(p.defaultRepeatModel().size(), 7);
    QCOMPARE(p.monthModel().size(), 4);
    for (int i = 0; i < 7; ++i)
        QCOMPARE(p.defaultRepeatModel().at(i).toMap().value(QStringLiteral("cmd")).toInt(), i);
    for (int i = 0; i < 4; ++i)
        QCOMPARE(p.monthModel().at(i).toMap().value(QStringLiteral("unit")).toInt(), i + 2);
    // A later date retitles them.
    p.setRemindTime(ms(2024, 3, 1));
    QCOMPARE(presetSpy.count(), 2);
    QCOMPARE(title(p, 2), QStringLiteral("reminder_repeat_every_select_week(Friday)"));
}

void TestReminderPattern::presetTitlesForWednesday31January()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(title(p, 0), QStringLiteral("reminder_repeat_not_repeating"));
    QCOMPARE(title(p, 1), QStringLiteral("reminder_repeat_every_day"));
    QCOMPARE(title(p, 2), QStringLiteral("reminder_repeat_every_select_week(Wednesday)"));
    QCOMPARE(title(p, 3), QStringLiteral("reminder_repeat_every_select_week_of_month(5th,Wednesday)"));
    QCOMPARE(title(p, 4), QStringLiteral("reminder_repeat_every_month_by_yearly(Jan,31)"));
    QCOMPARE(title(p, 5), QStringLiteral("reminder_repeat_every_work_day"));
    QCOMPARE(title(p, 6), QStringLiteral("msd_custom"));
}

void TestReminderPattern::monthTextsForWednesday31January()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(monthText(p, 0), QStringLiteral("repeat_day_of_month(31st)"));
    QCOMPARE(monthText(p, 1), QStringLiteral("repeat_week_of_month(5th,Wednesday)"));
    QCOMPARE(monthText(p, 2), QStringLiteral("repeat_last_day_of_month(1st)"));
    QCOMPARE(monthText(p, 3), QStringLiteral("repeat_last_week_of_month(1st,Wednesday)"));
}

void TestReminderPattern::firstOfMarchCountsThirtyOneDaysAndFiveWeeksFromTheEnd()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 3, 1)); // a Friday
    QCOMPARE(monthText(p, 2), QStringLiteral("repeat_last_day_of_month(31st)"));
    QCOMPARE(monthText(p, 3), QStringLiteral("repeat_last_week_of_month(5th,Friday)"));
    QCOMPARE(monthText(p, 0), QStringLiteral("repeat_day_of_month(1st)"));
    QCOMPARE(monthText(p, 1), QStringLiteral("repeat_week_of_month(1st,Friday)"));
}

void TestReminderPattern::customDailyTextNamesTheNumber()
{
    ReminderPattern p(nullptr);
    p.setRepeatFlag(ReminderPattern::Custom);
    p.setUnit(ReminderPattern::Days);
    p.setInterval(1);
    p.setRemindTime(ms(2024, 1, 31));
    QCOMPARE(p.repeatText(), QStringLiteral("reminder_repeat_every_day"));
    p.setInterval(3);
    p.repeatFinish();
    QCOMPARE(p.repeatText(), QStringLiteral("reminder_interval_days(3)"));
}

void TestReminderPattern::customWeeklyTextLetsTheCatalogueChooseThePlural()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::Custom);
    p.setUnit(ReminderPattern::Weeks);
    p.setInterval(2);
    for (int days : {flags({1}), flags({1, 3, 5}), 127}) {
        p.setDayOfWeekFlags(days);
        p.repeatFinish();
        QCOMPARE(p.repeatText(), QStringLiteral("reminder_interval_weeks[other:2]"));
    }
    p.setInterval(1);
    p.setDayOfWeekFlags(flags({2}));
    p.repeatFinish();
    QCOMPARE(p.repeatText(), QStringLiteral("reminder_interval_weeks[one:1]"));
}

void TestReminderPattern::customMonthlyTextLetsTheCatalogueChooseThePlural()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::Custom);
    for (int unit = ReminderPattern::MonthDay; unit <= ReminderPattern::MonthWeekdayFromEnd; ++unit) {
        p.setUnit(unit);
        p.setInterval(3);
        p.repeatFinish();
        QCOMPARE(p.repeatText(), QStringLiteral("reminder_interval_months[other:3]"));
    }
}

void TestReminderPattern::presetTextIsThePresetsTitle()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    for (int flag = 0; flag < 6; ++flag) {
        p.setRepeatFlag(flag);
        p.repeatFinish();
        QCOMPARE(p.repeatText(), title(p, flag));
    }
}

void TestReminderPattern::customWithZeroIntervalBecomesNotRepeatingWhenTextIsRecomputed()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::Custom);
    p.setInterval(0);
    QSignalSpy flagSpy(&p, &ReminderPattern::repeatFlagChanged);
    p.repeatFinish();
    QCOMPARE(p.repeatFlag(), 0);
    QCOMPARE(flagSpy.count(), 1);
    QCOMPARE(p.repeatText(), QStringLiteral("reminder_repeat_not_repeating"));
}

void TestReminderPattern::customWithZeroIntervalIsKeptBeforeAnyRemindTime()
{
    ReminderPattern p(nullptr);
    p.setRepeatFlag(ReminderPattern::Custom);
    QSignalSpy textSpy(&p, &ReminderPattern::repeatTextChanged);
    p.repeatFinish();
    QCOMPARE(p.repeatFlag(), int(ReminderPattern::Custom));
    QCOMPARE(textSpy.count(), 0);
    QVERIFY(p.repeatText().isNull());
}

void TestReminderPattern::textIsRecomputedOnlyByRemindTimeAndConfirmation()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::EveryDay);
    p.repeatFinish();
    QCOMPARE(p.repeatText(), QStringLiteral("reminder_repeat_every_day"));
    QSignalSpy textSpy(&p, &ReminderPattern::repeatTextChanged);
    p.setRepeatFlag(ReminderPattern::EveryWorkDay);
    p.setInterval(5);
    p.setUnit(1);
    QCOMPARE(textSpy.count(), 0);
    QCOMPARE(p.repeatText(), QStringLiteral("reminder_repeat_every_day"));
    p.repeatFinish();
    QCOMPARE(textSpy.count(), 1);
    QCOMPARE(p.repeatText(), QStringLiteral("reminder_repeat_every_work_day"));
    // Emitted also when the text stays the same.
    p.repeatFinish();
    QCOMPARE(textSpy.count(), 2);
}

void TestReminderPattern::repeatFinishExpandsPreset_data()
{
    QTest::addColumn<int>("flag");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("unit");
    QTest::addColumn<int>("days");
    // Remind date Wednesday 31 January 2024; weekdays start as Tuesday.
    QTest::newRow("not repeating") << 0 << 0 << 0 << flags({2});
    QTest::newRow("every day") << 1 << 1 << 0 << flags({2});
    QTest::newRow("every week") << 2 << 1 << 1 << flags({3});
    QTest::newRow("every month on the weekday") << 3 << 1 << 3 << flags({2});
    QTest::newRow("every year") << 4 << 12 << 2 << flags({2});
    QTest::newRow("every work day") << 5 << 1 << 1 << 31;
}

void TestReminderPattern::repeatFinishExpandsPreset()
{
    QFETCH(int, flag);
    QFETCH(int, interval);
    QFETCH(int, unit);
    QFETCH(int, days);
    ReminderPattern p(nullptr);
    p.setDayOfWeekFlags(flags({2}));
    p.setRemindTime(ms(2024, 1, 31));
    p.setEndDate(777);
    p.setRepeatCount(4);
    p.setSnooze(15);
    p.setUnit(4);
    p.setInterval(9);
    p.setRepeatFlag(flag);
    p.setTimeModified(false);
    p.setRepeatModified(false);
    QSignalSpy intervalSpy(&p, &ReminderPattern::intervalChanged);
    QSignalSpy unitSpy(&p, &ReminderPattern::unitChanged);
    QSignalSpy daysSpy(&p, &ReminderPattern::dayOfWeekFlagsChanged);
    p.repeatFinish();
    QCOMPARE(p.interval(), interval);
    QCOMPARE(p.unit(), unit);
    QCOMPARE(p.dayOfWeekFlags(), days);
    QCOMPARE(p.endDate(), 777);
    QCOMPARE(p.repeatCount(), 4);
    QCOMPARE(p.snooze(), 15);
    QVERIFY(p.timeModified());
    QVERIFY(p.repeatModified());
    QCOMPARE(intervalSpy.count() + unitSpy.count() + daysSpy.count(), 0);
}

void TestReminderPattern::repeatFinishYearlyGivesTwelveMonthsOnTheRemindDay()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::EveryYear);
    p.repeatFinish();
    QCOMPARE(p.interval(), 12);
    QCOMPARE(p.unit(), 2);
    ReminderItemPtr item(new ReminderItem(QStringLiteral("r")));
    p.writeTo(item);
    QCOMPARE(item->unit(), 2);
    QCOMPARE(item->interval(), 12);
    QCOMPARE(item->dayOfMonthFlags(), 31);
    QCOMPARE(item->weekOfMonthFlags(), 0);
}

void TestReminderPattern::customEveryWeekOnAllDaysIsStoredAsEveryDay()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::Custom);
    p.setUnit(ReminderPattern::Weeks);
    p.setInterval(1);
    p.setDayOfWeekFlags(127);
    p.repeatFinish();
    QCOMPARE(p.unit(), 0);
    QCOMPARE(p.repeatText(), QStringLiteral("reminder_repeat_every_day"));
    ReminderItemPtr item(new ReminderItem(QStringLiteral("r")));
    p.writeTo(item);
    QCOMPARE(item->unit(), 0);
    QCOMPARE(item->interval(), 1);
    QCOMPARE(item->dayOfWeekFlags(), 0);
    // Every two weeks on all days stays weekly.
    p.setUnit(ReminderPattern::Weeks);
    p.setInterval(2);
    p.repeatFinish();
    QCOMPARE(p.unit(), 1);
}

void TestReminderPattern::repeatFinishNotRepeatingShowsNoTip()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::NotRepeating);
    Toasts toasts;
    p.repeatFinish();
    QCOMPARE(toasts.spy.count(), 0);
}

void TestReminderPattern::tip_data()
{
    QTest::addColumn<int>("unit");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("days");
    QTest::addColumn<QString>("expected");
    // Remind date Wednesday 31 January 2024.
    QTest::newRow("every day") << 0 << 1 << 0 << "reminder_repeat_day_tips";
    QTest::newRow("every 3 days") << 0 << 3 << 0 << "reminder_repeat_days_tips(3)";
    QTest::newRow("every week, all days") << 1 << 1 << 127 << "reminder_repeat_day_tips";
    QTest::newRow("every week on Tuesday") << 1 << 1 << flags({2}) << "reminder_repeat_week_tips(Tuesday)";
    QTest::newRow("every 3 weeks on Saturday, Sunday") << 1 << 3 << flags({6, 7})
                                                       << "reminder_repeat_weeks_tips(3,Saturday, Sunday)";
    QTest::newRow("day of month") << 2 << 1 << 0 << "reminder_repeat_day_month_tips(31st)";
    QTest::newRow("day of every 2 months") << 2 << 2 << 0 << "reminder_repeat_day_months_tips(2,31st)";
    QTest::newRow("weekday of month") << 3 << 1 << 0 << "reminder_repeat_week_month_tips(5th,Wednesday)";
    QTest::newRow("weekday of every 4 months") << 3 << 4 << 0
                                               << "reminder_repeat_week_months_tips(4,5th,Wednesday)";
    QTest::newRow("day from end") << 4 << 1 << 0 << "reminder_repeat_last_day_month_tips(1st)";
    QTest::newRow("day from end, every 6 months") << 4 << 6 << 0 << "reminder_repeat_last_day_months_tips(6,1st)";
    QTest::newRow("weekday from end") << 5 << 1 << 0 << "reminder_repeat_last_week_month_tips(1st,Wednesday)";
    QTest::newRow("weekday from end, every 2 months") << 5 << 2 << 0
                                                      << "reminder_repeat_last_week_months_tips(2,1st,Wednesday)";
    QTest::newRow("unknown unit: no tip") << 9 << 1 << 0 << "";
}

void TestReminderPattern::tip()
{
    QFETCH(int, unit);
    QFETCH(int, interval);
    QFETCH(int, days);
    QFETCH(QString, expected);
    ReminderPattern p(nullptr);
    p.setDayOfWeekFlags(days);
    p.setRemindTime(ms(2024, 1, 31));
    if (days == 0)
        p.setDayOfWeekFlags(0);
    p.setRepeatFlag(ReminderPattern::Custom);
    p.setUnit(unit);
    p.setInterval(interval);
    Toasts toasts;
    p.repeatFinish();
    if (expected.isEmpty()) {
        QCOMPARE(toasts.spy.count(), 0);
    } else {
        QCOMPARE(toasts.spy.count(), 1);
        QCOMPARE(toasts.spy.at(0).at(0).toInt(), 0);
        QCOMPARE(toasts.spy.at(0).at(2).toInt(), 0);
        QCOMPARE(toasts.last(), expected);
    }
}

void TestReminderPattern::tipForMondayWednesdayFridayListsLongNamesMondayFirst()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::Custom);
    p.setUnit(ReminderPattern::Weeks);
    p.setInterval(1);
    p.setDayOfWeekFlags(flags({5, 1, 3}));
    Toasts toasts;
    p.repeatFinish();
    const QLocale en(QStringLiteral("en"));
    QCOMPARE(toasts.last(), QStringLiteral("reminder_repeat_week_tips(%1, %2, %3)")
                                .arg(en.standaloneDayName(1, QLocale::LongFormat),
                                     en.standaloneDayName(3, QLocale::LongFormat),
                                     en.standaloneDayName(5, QLocale::LongFormat)));
    QCOMPARE(toasts.last(), QStringLiteral("reminder_repeat_week_tips(Monday, Wednesday, Friday)"));
}

void TestReminderPattern::tipForEveryTwoWeeksOnAllDaysUsesAllWeek()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setRepeatFlag(ReminderPattern::Custom);
    p.setUnit(ReminderPattern::Weeks);
    p.setInterval(2);
    p.setDayOfWeekFlags(127);
    Toasts toasts;
    p.repeatFinish();
    QCOMPARE(toasts.last(), QStringLiteral("reminder_repeat_weeks_tips(2,reminder_all_week)"));
}

void TestReminderPattern::loadChoosesEditorUnit_data()
{
    QTest::addColumn<int>("itemUnit");
    QTest::addColumn<int>("dom");
    QTest::addColumn<int>("wom");
    QTest::addColumn<int>("expected");
    QTest::newRow("days") << 0 << 0 << 0 << 0;
    QTest::newRow("weeks") << 1 << 0 << 0 << 1;
    QTest::newRow("month day") << 2 << 15 << 0 << 2;
    QTest::newRow("month weekday") << 2 << 0 << 2 << 3;
    QTest::newRow("month weekday from end") << 2 << 0 << -1 << 5;
    QTest::newRow("month weekday, week 0") << 2 << 0 << 0 << 5;
    QTest::newRow("month day from end") << 2 << -3 << 0 << 4;
    QTest::newRow("unknown item unit") << 7 << 3 << 0 << 2;
}

void TestReminderPattern::loadChoosesEditorUnit()
{
    QFETCH(int, itemUnit);
    QFETCH(int, dom);
    QFETCH(int, wom);
    QFETCH(int, expected);
    ReminderPattern p(nullptr);
    p.loadFrom(itemWith(ms(2024, 1, 31), 1, itemUnit, 0, dom, wom));
    QCOMPARE(p.unit(), expected);
    QCOMPARE(p.repeatFlag(), int(ReminderPattern::Custom));
}

void TestReminderPattern::loadingNonRepeatingItemSetsNotRepeatingAndKeepsUnit()
{
    ReminderPattern p(nullptr);
    p.setUnit(4);
    p.setRepeatFlag(ReminderPattern::Custom);
    QSignalSpy flagSpy(&p, &ReminderPattern::repeatFlagChanged);
    p.loadFrom(itemWith(ms(2024, 1, 31), 0, 2, 0, 5, 0));
    QCOMPARE(p.repeatFlag(), 0);
    QCOMPARE(p.unit(), 4);
    QCOMPARE(flagSpy.count(), 1);
}

void TestReminderPattern::loadingNegativeSnoozeStoresZero()
{
    ReminderPattern p(nullptr);
    ReminderItemPtr item = itemWith(ms(2024, 1, 31), 0, 0);
    item->setSnooze(-20);
    QSignalSpy spy(&p, &ReminderPattern::snoozeChanged);
    p.loadFrom(item);
    QCOMPARE(p.snooze(), 0);
    QCOMPARE(spy.count(), 0);
}

void TestReminderPattern::loadingChangedSnoozeMarksModified()
{
    ReminderPattern p(nullptr);
    ReminderItemPtr item = itemWith(ms(2024, 1, 31), 0, 0);
    item->setSnooze(30);
    QSignalSpy spy(&p, &ReminderPattern::snoozeChanged);
    p.loadFrom(item);
    QCOMPARE(p.snooze(), 30);
    QCOMPARE(spy.count(), 1);
    QVERIFY(p.repeatModified());
    QVERIFY(p.timeModified());
}

void TestReminderPattern::loadTakesCountEndDateWeekdaysAndTime()
{
    ReminderPattern p(nullptr);
    ReminderItemPtr item = itemWith(ms(2024, 1, 31), 2, 1, flags({1, 3}));
    item->setRepeatCount(6);
    item->setEndDate(ms(2024, 12, 31));
    item->setShowRemindTime(ms(2024, 2, 5));
    QSignalSpy timeSpy(&p, &ReminderPattern::remindTimeChanged);
    p.loadFrom(item);
    QCOMPARE(p.interval(), 2);
    QCOMPARE(p.unit(), 1);
    QCOMPARE(p.dayOfWeekFlags(), flags({1, 3}));
    QCOMPARE(p.repeatCount(), 6);
    QCOMPARE(p.endDate(), ms(2024, 12, 31));
    QCOMPARE(p.remindTime(), ms(2024, 2, 5));
    QCOMPARE(timeSpy.count(), 1);
    QCOMPARE(p.repeatText(), QStringLiteral("reminder_interval_weeks[other:2]"));
}

void TestReminderPattern::loadAndWriteIgnoreNullItem()
{
    ReminderPattern p(nullptr);
    AllSignals all(&p);
    p.loadFrom({});
    p.writeTo({});
    QCOMPARE(all.total(), 0);
}

void TestReminderPattern::writeEncodesUnit_data()
{
    QTest::addColumn<qint64>("date");
    QTest::addColumn<int>("unit");
    QTest::addColumn<int>("itemUnit");
    QTest::addColumn<int>("dow");
    QTest::addColumn<int>("dom");
    QTest::addColumn<int>("wom");
    // Wednesday 17 January 2024: week 3 from the start, 3 from the end
    // ((31 - 17 + 7) / 7), 15th day from the end.
    const qint64 d = ms(2024, 1, 17);
    QTest::newRow("days") << d << 0 << 0 << 0 << 0 << 0;
    QTest::newRow("weeks") << d << 1 << 1 << flags({2, 4}) << 0 << 0;
    QTest::newRow("month day") << d << 2 << 2 << 0 << 17 << 0;
    QTest::newRow("month weekday") << d << 3 << 2 << flags({3}) << 0 << 3;
    QTest::newRow("month day from end") << d << 4 << 2 << 0 << -15 << 0;
    QTest::newRow("month weekday from end") << d << 5 << 2 << flags({3}) << 0 << -3;
}

void TestReminderPattern::writeEncodesUnit()
{
    QFETCH(qint64, date);
    QFETCH(int, unit);
    QFETCH(int, itemUnit);
    QFETCH(int, dow);
    QFETCH(int, dom);
    QFETCH(int, wom);
    ReminderPattern p(nullptr);
    p.setDayOfWeekFlags(flags({2, 4}));
    p.setRemindTime(date);
    p.setInterval(2);
    p.setUnit(unit);
    p.setEndDate(ms(2025, 1, 1));
    p.setRepeatCount(3);
    p.setSnooze(5);
    ReminderItemPtr item = itemWith(date, 9, 9, 99, 99, 99);
    p.writeTo(item);
    QCOMPARE(item->interval(), 2);
    QCOMPARE(item->unit(), itemUnit);
    QCOMPARE(item->dayOfWeekFlags(), dow);
    QCOMPARE(item->dayOfMonthFlags(), dom);
    QCOMPARE(item->weekOfMonthFlags(), wom);
    QCOMPARE(item->endDate(), ms(2025, 1, 1));
    QCOMPARE(item->repeatCount(), 3);
    QCOMPARE(item->snooze(), 5);
}

void TestReminderPattern::writeWithoutRepeatClearsTheRule()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 17));
    p.setUnit(3);
    p.setEndDate(ms(2025, 1, 1));
    p.setRepeatCount(3);
    p.setSnooze(25);
    ReminderItemPtr item = itemWith(ms(2024, 1, 17), 4, 2, 5, 6, 7);
    item->setEndDate(123);
    item->setRepeatCount(8);
    p.writeTo(item);
    QCOMPARE(item->interval(), 0);
    QCOMPARE(item->unit(), 0);
    QCOMPARE(item->dayOfWeekFlags(), 0);
    QCOMPARE(item->dayOfMonthFlags(), 0);
    QCOMPARE(item->weekOfMonthFlags(), 0);
    QCOMPARE(item->endDate(), 0);
    QCOMPARE(item->repeatCount(), 0);
    QCOMPARE(item->snooze(), 25);
}

void TestReminderPattern::remindDate31JanuaryOrdinalsAndFromEndEncodings()
{
    ReminderPattern p(nullptr);
    p.setRemindTime(ms(2024, 1, 31));
    p.setInterval(1);
    // Week of month 5, day from end 1, week from end 1.
    QCOMPARE(monthText(p, 1), QStringLiteral("repeat_week_of_month(5th,Wednesday)"));
    QCOMPARE(monthText(p, 2), QStringLiteral("repeat_last_day_of_month(1st)"));
    QCOMPARE(monthText(p, 3), QStringLiteral("repeat_last_week_of_month(1st,Wednesday)"));
    ReminderItemPtr item(new ReminderItem(QStringLiteral("r")));
    p.setUnit(ReminderPattern::MonthDayFromEnd);
    p.writeTo(item);
    QCOMPARE(item->dayOfMonthFlags(), -1);
    p.setUnit(ReminderPattern::MonthWeekdayFromEnd);
    p.writeTo(item);
    QCOMPARE(item->weekOfMonthFlags(), -1);
    QCOMPARE(item->dayOfMonthFlags(), 0);
    p.setUnit(ReminderPattern::MonthWeekday);
    p.writeTo(item);
    QCOMPARE(item->weekOfMonthFlags(), 5);
}

void TestReminderPattern::everyPresetAndMonthVariantSurvivesLoadConfirmWrite_data()
{
    QTest::addColumn<int>("flag");
    QTest::addColumn<int>("unit");
    for (int flag = 0; flag < 6; ++flag)
        QTest::newRow(qPrintable(QStringLiteral("preset %1").arg(flag))) << flag << 0;
    for (int unit = 0; unit <= 5; ++unit)
        QTest::newRow(qPrintable(QStringLiteral("custom unit %1").arg(unit))) << 6 << unit;
}

void TestReminderPattern::everyPresetAndMonthVariantSurvivesLoadConfirmWrite()
{
    QFETCH(int, flag);
    QFETCH(int, unit);
    for (const qint64 date : {ms(2024, 1, 31), ms(2024, 2, 29), ms(2024, 3, 1), ms(2024, 6, 12)}) {
        // The user makes the rule on the repeat page...
        ReminderPattern editor(nullptr);
        editor.setRemindTime(date);
        editor.setRepeatFlag(flag);
        editor.setUnit(unit);
        editor.setInterval(2);
        editor.setDayOfWeekFlags(flags({2, 6}));
        editor.repeatFinish();
        ReminderItemPtr item = itemWith(date, 0, 0);
        editor.writeTo(item);
        // ...opens the reminder again and confirms without changes.
        ReminderPattern again(nullptr);
        again.loadFrom(item);
        again.repeatFinish();
        ReminderItemPtr back = itemWith(date, 0, 0);
        again.writeTo(back);
        QCOMPARE(back->interval(), item->interval());
        QCOMPARE(back->unit(), item->unit());
        QCOMPARE(back->dayOfWeekFlags(), item->dayOfWeekFlags());
        QCOMPARE(back->dayOfMonthFlags(), item->dayOfMonthFlags());
        QCOMPARE(back->weekOfMonthFlags(), item->weekOfMonthFlags());
        QCOMPARE(back->repeatCount(), item->repeatCount());
        QCOMPARE(back->endDate(), item->endDate());
        QCOMPARE(back->snooze(), item->snooze());
    }
}

void TestReminderPattern::resetRestoresEverythingSilently()
{
    ReminderPattern p(nullptr);
    p.loadFrom(itemWith(ms(2024, 1, 31), 2, 1, flags({1})));
    p.setSnooze(5);
    p.setEndDate(7);
    p.setRepeatCount(3);
    AllSignals all(&p);
    p.reset();
    QCOMPARE(all.total(), 0);
    QCOMPARE(p.remindTime(), 0);
    QVERIFY(p.defaultRepeatModel().isEmpty());
    QVERIFY(p.monthModel().isEmpty());
    QCOMPARE(p.repeatFlag(), 0);
    QVERIFY(p.repeatText().isEmpty());
    QVERIFY(!p.repeatText().isNull());
    QCOMPARE(p.interval(), 0);
    QCOMPARE(p.unit(), 0);
    QCOMPARE(p.dayOfWeekFlags(), 0);
    QCOMPARE(p.endDate(), 0);
    QCOMPARE(p.repeatCount(), 0);
    QCOMPARE(p.snooze(), 0);
    QVERIFY(!p.timeModified());
    QVERIFY(!p.repeatModified());
}

QTEST_GUILESS_MAIN(TestReminderPattern)
#include "tst_reminderpattern.moc"
