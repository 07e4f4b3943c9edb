#include "appsettingmodel.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#ifndef REMINDER_TRANSLATIONS_DIR_FOR_TESTS
#error "REMINDER_TRANSLATIONS_DIR_FOR_TESTS must name the build's translations directory"
#endif

namespace {

// The contract between the module and the catalogues: every id and the
// placeholders its text carries (each exactly once, no others). Numerus ids
// carry no %1..%9; their number is %n.
struct IdContract
{
    const char* id;
    QList<int> placeholders;
    bool numerus;
};

const QList<IdContract>& contract()
{
    static const QList<IdContract> table = {
        {"reminder_repeat_not_repeating", {}, false},
        {"reminder_repeat_every_day", {}, false},
        {"reminder_repeat_every_select_week", {1}, false},
        {"reminder_repeat_every_select_week_of_month", {1, 2}, false},
        {"reminder_repeat_every_month_by_yearly", {1, 2}, false},
        {"reminder_repeat_every_work_day", {}, false},
        {"msd_custom", {}, false},
        {"repeat_day_of_month", {1}, false},
        {"repeat_week_of_month", {1, 2}, false},
        {"repeat_last_day_of_month", {1}, false},
        {"repeat_last_week_of_month", {1, 2}, false},
        {"reminder_interval_days", {1}, false},
        {"reminder_interval_weeks", {}, true},
        {"reminder_interval_months", {}, true},
        {"reminder_repeat_day_tips", {}, false},
        {"reminder_repeat_days_tips", {1}, false},
        {"reminder_repeat_week_tips", {1}, false},
        {"reminder_repeat_weeks_tips", {1, 2}, false},
        {"reminder_all_week", {}, false},
        {"reminder_repeat_day_month_tips", {1}, false},
        {"reminder_repeat_day_months_tips", {1, 2}, false},
        {"reminder_repeat_week_month_tips", {1, 2}, false},
        {"reminder_repeat_week_months_tips", {1, 2, 3}, false},
        {"reminder_repeat_last_day_month_tips", {1}, false},
        {"reminder_repeat_last_day_months_tips", {1, 2}, false},
        {"reminder_repeat_last_week_month_tips", {1, 2}, false},
        {"reminder_repeat_last_week_months_tips", {1, 2, 3}, false},
        {"reminder_directory_send_disable", {}, false},
    };
    return table;
}

// The %N markers QString::arg would replace (%1..%99), sorted.
QList<int> placeholdersIn(const QString& text)
{
    static const QRegularExpression marker(QStringLiteral("%(\\d{1,2})"));
    QList<int> found;
    auto it = marker.globalMatch(text);
    while (it.hasNext())
        found.append(it.next().captured(1).toInt());
    std::sort(found.begin(), found.end());
    return found;
}

QString buildCatalogues()
{
    return QStringLiteral(REMINDER_TRANSLATIONS_DIR_FOR_TESTS);
}

bool copyCatalogue(const QString& language, const QString& toDir, const QString& toName)
{
    return QFile::copy(buildCatalogues() + QStringLiteral("/reminder_") + language
                           + QStringLiteral(".qm"),
                       toDir + QLatin1Char('/') + toName);
}

} // namespace

class TestAppSettingModel : public QObject
{
    Q_OBJECT

private slots:
    void defaultDirectoryFindsBuildTreeOrInstalledLayout();
    void initTestCase();
    void init();
    void cleanupTestCase();

    void defaultsToEnglish();
    void defaultDirectoryAndEnvironment();
    void switchingEmitsOncePerChange();
    void sameNameDoesNotEmit();
    void propertyReachesTheSetting();
    void everyIdTranslated_data();
    void everyIdTranslated();
    void placeholdersMatchTheContract_data();
    void placeholdersMatchTheContract();
    void chineseOrdinalsAreNotPrefixedAgain();
    void filledTexts();
    void numerusEnglish();
    void numerusChinese();
    void unknownLanguageLeavesIds();
    void previousTranslatorIsRemoved();
    void bareLanguageFindsTerritoryCatalogue();
    void lookupOrder();
    void brokenCatalogueFallsThrough();
    void hyphenatedNameIsNormalised();
};

void TestAppSettingModel::initTestCase()
{
    qunsetenv("REMINDER_TRANSLATIONS_DIR");
    QVERIFY2(QFile::exists(buildCatalogues() + QStringLiteral("/reminder_en.qm")),
             qPrintable(buildCatalogues()));
    QVERIFY(QFile::exists(buildCatalogues() + QStringLiteral("/reminder_zh_CN.qm")));
    // Before anything is set: the default language, installed from the
    // default directory (<build>/bin/../translations).
    QCOMPARE(AppSettingModel::language(), QStringLiteral("en"));
    QVERIFY(AppSettingModel::hasTranslator());
    QCOMPARE(qtTrId("reminder_repeat_not_repeating"), QStringLiteral("Does not repeat"));
}

void TestAppSettingModel::init()
{
    AppSettingModel::setTranslationsDirectory(buildCatalogues());
    AppSettingModel::setLanguage(QStringLiteral("en"));
}

void TestAppSettingModel::cleanupTestCase()
{
    AppSettingModel::setTranslationsDirectory(buildCatalogues());
    AppSettingModel::setLanguage(QStringLiteral("en"));
}

void TestAppSettingModel::defaultsToEnglish()
{
    QCOMPARE(AppSettingModel::language(), QStringLiteral("en"));
    QVERIFY(AppSettingModel::hasTranslator());
    QCOMPARE(AppSettingModel::loadedCatalogue(),
             QDir(buildCatalogues()).filePath(QStringLiteral("reminder_en.qm")));
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("Custom"));
}

void TestAppSettingModel::defaultDirectoryAndEnvironment()
{
    AppSettingModel::setTranslationsDirectory(QString());
    qunsetenv("REMINDER_TRANSLATIONS_DIR");
    const QString fromApp =
        QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../translations"));
    QCOMPARE(AppSettingModel::translationsDirectory(), fromApp);
    // The test runs from <build>/bin, so the default finds the build's files.
    QCOMPARE(QDir(fromApp).canonicalPath(), QDir(buildCatalogues()).canonicalPath());

    QTemporaryDir elsewhere;
    QVERIFY(elsewhere.isValid());
    qputenv("REMINDER_TRANSLATIONS_DIR", elsewhere.path().toLocal8Bit());
    QCOMPARE(AppSettingModel::translationsDirectory(), elsewhere.path());

    // An explicit directory wins over the environment.
    AppSettingModel::setTranslationsDirectory(buildCatalogues());
    QCOMPARE(AppSettingModel::translationsDirectory(), buildCatalogues());
    qunsetenv("REMINDER_TRANSLATIONS_DIR");
}

void TestAppSettingModel::switchingEmitsOncePerChange()
{
    QSignalSpy spy(AppSettingModel::getInstance(), &AppSettingModel::languageChanged);

    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(AppSettingModel::language(), QStringLiteral("zh_CN"));
    QVERIFY(AppSettingModel::hasTranslator());
    QCOMPARE(AppSettingModel::loadedCatalogue(),
             QDir(buildCatalogues()).filePath(QStringLiteral("reminder_zh_CN.qm")));
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("自定义"));

    AppSettingModel::setLanguage(QStringLiteral("en"));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(AppSettingModel::language(), QStringLiteral("en"));
    QVERIFY(AppSettingModel::hasTranslator());
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("Custom"));
}

void TestAppSettingModel::sameNameDoesNotEmit()
{
    QSignalSpy spy(AppSettingModel::getInstance(), &AppSettingModel::languageChanged);
    AppSettingModel::setLanguage(QStringLiteral("en"));
    AppSettingModel::setLanguage(QStringLiteral("en"));
    QCOMPARE(spy.count(), 0);
    // An empty name means the default, which is already set.
    AppSettingModel::setLanguage(QString());
    QCOMPARE(spy.count(), 0);
    QCOMPARE(AppSettingModel::language(), QStringLiteral("en"));
    QVERIFY(AppSettingModel::hasTranslator());
}

void TestAppSettingModel::propertyReachesTheSetting()
{
    AppSettingModel* model = AppSettingModel::getInstance();
    QSignalSpy spy(model, &AppSettingModel::languageChanged);
    QCOMPARE(model->property("language").toString(), QStringLiteral("en"));
    QVERIFY(model->setProperty("language", QStringLiteral("zh_CN")));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(AppSettingModel::language(), QStringLiteral("zh_CN"));
    QCOMPARE(model->property("language").toString(), QStringLiteral("zh_CN"));
    QCOMPARE(qtTrId("reminder_repeat_every_day"), QStringLiteral("每天"));
}

void TestAppSettingModel::everyIdTranslated_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<bool>("numerus");
    for (const char* language : {"en", "zh_CN"}) {
        for (const IdContract& c : contract()) {
            QTest::addRow("%s/%s", language, c.id)
                << QString::fromLatin1(language) << QByteArray(c.id) << c.numerus;
        }
    }
}

void TestAppSettingModel::everyIdTranslated()
{
    QFETCH(QString, language);
    QFETCH(QByteArray, id);
    QFETCH(bool, numerus);
    AppSettingModel::setLanguage(language);
    QVERIFY(AppSettingModel::hasTranslator());
    const QString id16 = QString::fromLatin1(id);
    for (int n : numerus ? QList<int>{1, 2, 5} : QList<int>{-1}) {
        const QString text = qtTrId(id.constData(), n);
        QVERIFY2(!text.isEmpty(), id.constData());
        QVERIFY2(text != id16, id.constData());
        if (language == QLatin1String("zh_CN")) {
            // A Chinese text: at least one CJK character, and not the English one.
            const bool hasCjk = std::any_of(text.cbegin(), text.cend(), [](QChar ch) {
                return ch.unicode() >= 0x3000 && ch.unicode() <= 0x9fff;
            });
            QVERIFY2(hasCjk, qPrintable(text));
        } else {
            const bool ascii = std::all_of(text.cbegin(), text.cend(),
                                           [](QChar ch) { return ch.unicode() < 0x80; });
            QVERIFY2(ascii, qPrintable(text));
        }
    }
}

void TestAppSettingModel::placeholdersMatchTheContract_data()
{
    everyIdTranslated_data();
}

void TestAppSettingModel::placeholdersMatchTheContract()
{
    QFETCH(QString, language);
    QFETCH(QByteArray, id);
    QFETCH(bool, numerus);
    AppSettingModel::setLanguage(language);
    QVERIFY(AppSettingModel::hasTranslator());

    const auto entry = std::find_if(contract().cbegin(), contract().cend(),
                                    [&](const IdContract& c) { return id == c.id; });
    QVERIFY(entry != contract().cend());

    if (!numerus) {
        const QString text = qtTrId(id.constData());
        QCOMPARE(placeholdersIn(text), entry->placeholders);
        QVERIFY2(!text.contains(QLatin1String("%n")), qPrintable(text));
        return;
    }
    // Numerus: no %1..%9 in any form; the plural form shows the number.
    for (int n : {1, 2, 7}) {
        const QString text = qtTrId(id.constData(), n);
        QCOMPARE(placeholdersIn(text), QList<int>{});
        QVERIFY2(!text.contains(QLatin1String("%n")), qPrintable(text));
        if (n > 1 || language != QLatin1String("en"))
            QVERIFY2(text.contains(QString::number(n)), qPrintable(text));
    }
}

void TestAppSettingModel::chineseOrdinalsAreNotPrefixedAgain()
{
    // Ordinals arrive already as 第N; a template must not add its own 第.
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    for (const IdContract& c : contract()) {
        const QString text = qtTrId(c.id);
        QVERIFY2(!text.contains(QStringLiteral("第%")), c.id);
    }
}

void TestAppSettingModel::filledTexts()
{
    AppSettingModel::setLanguage(QStringLiteral("en"));
    const QString wed = QStringLiteral("Wednesday");
    QCOMPARE(qtTrId("reminder_repeat_every_select_week").arg(wed),
             QStringLiteral("Every week on Wednesday"));
    QCOMPARE(qtTrId("reminder_repeat_every_select_week_of_month").arg(QStringLiteral("5th"), wed),
             QStringLiteral("Every month on the 5th Wednesday"));
    QCOMPARE(qtTrId("reminder_repeat_every_month_by_yearly").arg(QStringLiteral("Jan")).arg(31),
             QStringLiteral("Every year on Jan 31"));
    QCOMPARE(qtTrId("repeat_day_of_month").arg(QStringLiteral("31st")), QStringLiteral("On the 31st"));
    QCOMPARE(qtTrId("repeat_week_of_month").arg(QStringLiteral("5th"), wed),
             QStringLiteral("On the 5th Wednesday"));
    QCOMPARE(qtTrId("repeat_last_day_of_month").arg(QStringLiteral("1st")),
             QStringLiteral("On the 1st day from the end of the month"));
    QCOMPARE(qtTrId("repeat_last_week_of_month").arg(QStringLiteral("1st"), wed),
             QStringLiteral("On the 1st Wednesday from the end of the month"));
    QCOMPARE(qtTrId("reminder_interval_days").arg(3), QStringLiteral("Every 3 days"));
    QCOMPARE(qtTrId("reminder_repeat_days_tips").arg(3), QStringLiteral("Repeats every 3 days."));
    QCOMPARE(qtTrId("reminder_repeat_weeks_tips").arg(2).arg(QStringLiteral("Monday, Friday")),
             QStringLiteral("Repeats every 2 weeks on Monday, Friday."));
    QCOMPARE(qtTrId("reminder_repeat_week_months_tips").arg(3).arg(QStringLiteral("2nd"), wed),
             QStringLiteral("Repeats every 3 months on the 2nd Wednesday."));

    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    const QString zhWed = QStringLiteral("星期三");
    QCOMPARE(qtTrId("reminder_repeat_every_select_week_of_month").arg(QStringLiteral("第5"), zhWed),
             QStringLiteral("每月第5个星期三"));
    QCOMPARE(qtTrId("reminder_repeat_every_month_by_yearly").arg(QStringLiteral("1月")).arg(31),
             QStringLiteral("每年1月31日"));
    QCOMPARE(qtTrId("repeat_week_of_month").arg(QStringLiteral("第5"), zhWed),
             QStringLiteral("第5个星期三"));
    QCOMPARE(qtTrId("repeat_last_week_of_month").arg(QStringLiteral("第1"), zhWed),
             QStringLiteral("倒数第1个星期三"));
    QCOMPARE(qtTrId("reminder_repeat_week_months_tips").arg(3).arg(QStringLiteral("第2"), zhWed),
             QStringLiteral("在每3个月的第2个星期三重复。"));
}

void TestAppSettingModel::numerusEnglish()
{
    AppSettingModel::setLanguage(QStringLiteral("en"));
    QCOMPARE(qtTrId("reminder_interval_weeks", 1), QStringLiteral("Every week"));
    QCOMPARE(qtTrId("reminder_interval_weeks", 2), QStringLiteral("Every 2 weeks"));
    QCOMPARE(qtTrId("reminder_interval_weeks", 11), QStringLiteral("Every 11 weeks"));
    QCOMPARE(qtTrId("reminder_interval_months", 1), QStringLiteral("Every month"));
    QCOMPARE(qtTrId("reminder_interval_months", 3), QStringLiteral("Every 3 months"));
}

void TestAppSettingModel::numerusChinese()
{
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    QCOMPARE(qtTrId("reminder_interval_weeks", 1), QStringLiteral("每1周"));
    QCOMPARE(qtTrId("reminder_interval_weeks", 2), QStringLiteral("每2周"));
    QCOMPARE(qtTrId("reminder_interval_months", 1), QStringLiteral("每1个月"));
    QCOMPARE(qtTrId("reminder_interval_months", 6), QStringLiteral("每6个月"));
}

void TestAppSettingModel::unknownLanguageLeavesIds()
{
    QSignalSpy spy(AppSettingModel::getInstance(), &AppSettingModel::languageChanged);
    AppSettingModel::setLanguage(QStringLiteral("xx"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(AppSettingModel::language(), QStringLiteral("xx"));
    QVERIFY(!AppSettingModel::hasTranslator());
    QVERIFY(AppSettingModel::loadedCatalogue().isEmpty());
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("msd_custom"));
    QCOMPARE(qtTrId("reminder_interval_weeks", 2), QStringLiteral("reminder_interval_weeks"));

    // Also a territory of an unknown language.
    AppSettingModel::setLanguage(QStringLiteral("xx_YY"));
    QVERIFY(!AppSettingModel::hasTranslator());
    QCOMPARE(qtTrId("reminder_all_week"), QStringLiteral("reminder_all_week"));
}

void TestAppSettingModel::previousTranslatorIsRemoved()
{
    // Were the Chinese translator left installed, the unknown language
    // would still show Chinese texts.
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    QCOMPARE(qtTrId("reminder_repeat_every_day"), QStringLiteral("每天"));
    AppSettingModel::setLanguage(QStringLiteral("xx"));
    QCOMPARE(qtTrId("reminder_repeat_every_day"), QStringLiteral("reminder_repeat_every_day"));

    // Back and forth: the latest language is the one shown.
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    AppSettingModel::setLanguage(QStringLiteral("en"));
    QCOMPARE(qtTrId("reminder_repeat_every_day"), QStringLiteral("Every day"));
    AppSettingModel::setLanguage(QStringLiteral("xx"));
    QCOMPARE(qtTrId("reminder_repeat_every_day"), QStringLiteral("reminder_repeat_every_day"));
}

void TestAppSettingModel::bareLanguageFindsTerritoryCatalogue()
{
    // No reminder_zh.qm: the first reminder_zh_*.qm serves "zh".
    QVERIFY(!QFile::exists(buildCatalogues() + QStringLiteral("/reminder_zh.qm")));
    AppSettingModel::setLanguage(QStringLiteral("zh"));
    QCOMPARE(AppSettingModel::language(), QStringLiteral("zh"));
    QVERIFY(AppSettingModel::hasTranslator());
    QCOMPARE(AppSettingModel::loadedCatalogue(),
             QDir(buildCatalogues()).filePath(QStringLiteral("reminder_zh_CN.qm")));
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("自定义"));

    // A territory without its own catalogue: en_GB uses reminder_en.qm.
    AppSettingModel::setLanguage(QStringLiteral("en_GB"));
    QCOMPARE(AppSettingModel::loadedCatalogue(),
             QDir(buildCatalogues()).filePath(QStringLiteral("reminder_en.qm")));
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("Custom"));
}

void TestAppSettingModel::lookupOrder()
{
    // Distinct contents tell the files apart: the Chinese catalogue under
    // one name, the English under another.
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QVERIFY(copyCatalogue(QStringLiteral("zh_CN"), dir.path(), QStringLiteral("reminder_pt.qm")));
    QVERIFY(copyCatalogue(QStringLiteral("en"), dir.path(), QStringLiteral("reminder_pt_BR.qm")));
    QVERIFY(copyCatalogue(QStringLiteral("en"), dir.path(), QStringLiteral("reminder_de_CH.qm")));
    QVERIFY(copyCatalogue(QStringLiteral("zh_CN"), dir.path(), QStringLiteral("reminder_de_AT.qm")));
    AppSettingModel::setTranslationsDirectory(dir.path());
    QCOMPARE(AppSettingModel::translationsDirectory(), dir.path());

    // Exact name first.
    AppSettingModel::setLanguage(QStringLiteral("pt_BR"));
    QCOMPARE(AppSettingModel::loadedCatalogue(), dir.filePath(QStringLiteral("reminder_pt_BR.qm")));
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("Custom"));

    // Then the bare language, before another territory.
    AppSettingModel::setLanguage(QStringLiteral("pt_PT"));
    QCOMPARE(AppSettingModel::loadedCatalogue(), dir.filePath(QStringLiteral("reminder_pt.qm")));
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("自定义"));

    // Then the first territory catalogue by name: de_AT before de_CH.
    AppSettingModel::setLanguage(QStringLiteral("de"));
    QCOMPARE(AppSettingModel::loadedCatalogue(), dir.filePath(QStringLiteral("reminder_de_AT.qm")));
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("自定义"));
    AppSettingModel::setLanguage(QStringLiteral("de_CH"));
    QCOMPARE(AppSettingModel::loadedCatalogue(), dir.filePath(QStringLiteral("reminder_de_CH.qm")));
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("Custom"));

    // English is not in this directory.
    AppSettingModel::setLanguage(QStringLiteral("en"));
    QVERIFY(!AppSettingModel::hasTranslator());
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("msd_custom"));

    // Changing the directory reloads the current language.
    AppSettingModel::setTranslationsDirectory(buildCatalogues());
    QVERIFY(AppSettingModel::hasTranslator());
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("Custom"));
}

void TestAppSettingModel::brokenCatalogueFallsThrough()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QFile broken(dir.filePath(QStringLiteral("reminder_fr_CA.qm")));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    QVERIFY(broken.write("not a catalogue") > 0);
    broken.close();
    QVERIFY(copyCatalogue(QStringLiteral("en"), dir.path(), QStringLiteral("reminder_fr.qm")));
    AppSettingModel::setTranslationsDirectory(dir.path());

    AppSettingModel::setLanguage(QStringLiteral("fr_CA"));
    QVERIFY(AppSettingModel::hasTranslator());
    QCOMPARE(AppSettingModel::loadedCatalogue(), dir.filePath(QStringLiteral("reminder_fr.qm")));

    // Only the broken file: nothing installed.
    QVERIFY(QFile::remove(dir.filePath(QStringLiteral("reminder_fr.qm"))));
    AppSettingModel::setLanguage(QStringLiteral("en"));
    AppSettingModel::setLanguage(QStringLiteral("fr_CA"));
    QVERIFY(!AppSettingModel::hasTranslator());
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("msd_custom"));
}

void TestAppSettingModel::hyphenatedNameIsNormalised()
{
    QSignalSpy spy(AppSettingModel::getInstance(), &AppSettingModel::languageChanged);
    AppSettingModel::setLanguage(QStringLiteral("zh-CN"));
    QCOMPARE(AppSettingModel::language(), QStringLiteral("zh_CN"));
    QCOMPARE(spy.count(), 1);
    AppSettingModel::setLanguage(QStringLiteral("zh_CN"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(qtTrId("msd_custom"), QStringLiteral("自定义"));
}

void TestAppSettingModel::defaultDirectoryFindsBuildTreeOrInstalledLayout()
{
    QTemporaryDir root;
    QVERIFY(QDir(root.path()).mkpath(QStringLiteral("bin")));
    const QString bin = root.filePath(QStringLiteral("bin"));
    // Neither exists: the build-tree place.
    QCOMPARE(AppSettingModel::defaultTranslationsDirectory(bin), root.filePath(QStringLiteral("translations")));
    // Only the installed layout exists.
    QVERIFY(QDir(root.path()).mkpath(QStringLiteral("share/reminder/translations")));
    QCOMPARE(AppSettingModel::defaultTranslationsDirectory(bin),
             root.filePath(QStringLiteral("share/reminder/translations")));
    // Both exist: the build tree wins.
    QVERIFY(QDir(root.path()).mkpath(QStringLiteral("translations")));
    QCOMPARE(AppSettingModel::defaultTranslationsDirectory(bin), root.filePath(QStringLiteral("translations")));
}

QTEST_GUILESS_MAIN(TestAppSettingModel)
#include "tst_appsettingmodel.moc"
