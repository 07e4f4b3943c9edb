#include "util.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

class TestUtil : public QObject
{
    Q_OBJECT

private slots:
    void singleton();
    void fileHelpers_data();
    void fileHelpers();
    void deleteFileRemovesLinkNotTarget();
    void ordinalNumber_data();
    void ordinalNumber();
};

void TestUtil::singleton()
{
    QVERIFY(Util::instance() != nullptr);
    QCOMPARE(Util::instance(), Util::instance());
}

void TestUtil::fileHelpers_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("isDir");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<bool>("deleted");

    QTest::newRow("regular file") << "file" << false << true << true;
    QTest::newRow("empty file") << "emptyfile" << false << true << true;
    QTest::newRow("directory") << "dir" << true << false << false;
    QTest::newRow("missing path") << "missing" << false << false << false;
    QTest::newRow("empty path") << "empty" << false << false << false;
    QTest::newRow("link to file") << "linkfile" << false << true << true;
    QTest::newRow("link to directory") << "linkdir" << true << false << false;
    // A dangling link names no file, but the link itself is an entry that
    // deleteFile can remove.
    QTest::newRow("dangling link") << "dangling" << false << false << true;
}

void TestUtil::fileHelpers()
{
    QFETCH(QString, kind);
    QFETCH(bool, isDir);
    QFETCH(bool, exists);
    QFETCH(bool, deleted);

    QTemporaryDir tmp;
    QVERIFY(tmp.isValid());
    const QDir root(tmp.path());
    const QString target = root.filePath(QStringLiteral("target.txt"));
    const QString targetDir = root.filePath(QStringLiteral("targetdir"));
    {
        QFile f(target);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("content");
    }
    QVERIFY(root.mkdir(QStringLiteral("targetdir")));

    QString path;
    if (kind == QLatin1String("file")) {
        path = target;
    } else if (kind == QLatin1String("emptyfile")) {
        path = root.filePath(QStringLiteral("empty.txt"));
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
    } else if (kind == QLatin1String("dir")) {
        path = targetDir;
    } else if (kind == QLatin1String("missing")) {
        path = root.filePath(QStringLiteral("no/such/file.txt"));
    } else if (kind == QLatin1String("empty")) {
        path = QString();
    } else if (kind == QLatin1String("linkfile")) {
        path = root.filePath(QStringLiteral("link.txt"));
        QVERIFY(QFile::link(target, path));
    } else if (kind == QLatin1String("linkdir")) {
        path = root.filePath(QStringLiteral("linkdir"));
        QVERIFY(QFile::link(targetDir, path));
    } else if (kind == QLatin1String("dangling")) {
        path = root.filePath(QStringLiteral("dangling.txt"));
        QVERIFY(QFile::link(root.filePath(QStringLiteral("gone.txt")), path));
    } else {
        QFAIL("unknown kind");
    }

    Util* util = Util::instance();
    QCOMPARE(util->isDir(path), isDir);
    QCOMPARE(util->fileExists(path), exists);
    QCOMPARE(util->deleteFile(path), deleted);

    if (deleted) {
        QVERIFY(!util->fileExists(path));
        QVERIFY(!QFileInfo(path).exists());
        QVERIFY(!QFileInfo(path).isSymLink());
        // A second attempt finds nothing to remove.
        QVERIFY(!util->deleteFile(path));
    } else if (!path.isEmpty()) {
        // Nothing was removed: the entry is as it was.
        QCOMPARE(QFileInfo(path).exists(), isDir || exists);
        QCOMPARE(util->isDir(path), isDir);
    }
    // Targets of links are never touched.
    QCOMPARE(QFileInfo(target).isFile(), path != target);
    QVERIFY(QFileInfo(targetDir).isDir());
}

void TestUtil::deleteFileRemovesLinkNotTarget()
{
    QTemporaryDir tmp;
    QVERIFY(tmp.isValid());
    const QDir root(tmp.path());
    const QString target = root.filePath(QStringLiteral("target.txt"));
    const QString link = root.filePath(QStringLiteral("link.txt"));
    {
        QFile f(target);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("abc");
    }
    QVERIFY(QFile::link(target, link));
    QVERIFY(Util::instance()->deleteFile(link));
    QVERIFY(!QFileInfo(link).isSymLink());
    QFile f(target);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll(), QByteArray("abc"));
}

void TestUtil::ordinalNumber_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("n");
    QTest::addColumn<QString>("expected");

    // ICU writes negative numbers with U+2212 MINUS SIGN.
    const QString minus = QString(QChar(0x2212));

    const struct { int n; const char* text; } english[] = {
        {1, "1st"}, {2, "2nd"}, {3, "3rd"}, {4, "4th"}, {10, "10th"},
        {11, "11th"}, {12, "12th"}, {13, "13th"}, {21, "21st"}, {22, "22nd"},
        {23, "23rd"}, {101, "101st"}, {102, "102nd"}, {111, "111th"},
        {112, "112th"}, {0, "0th"}, {1000000, "1,000,000th"},
    };
    for (const QString& lang : {QStringLiteral("en"), QStringLiteral("en_US"), QStringLiteral("en-US")}) {
        for (const auto& row : english)
            QTest::addRow("%s %d", qPrintable(lang), row.n) << lang << row.n << QString::fromUtf8(row.text);
        QTest::addRow("%s -1", qPrintable(lang)) << lang << -1 << minus + QStringLiteral("1st");
        QTest::addRow("%s -3", qPrintable(lang)) << lang << -3 << minus + QStringLiteral("3rd");
    }

    const int chinese[] = {1, 2, 3, 4, 10, 11, 12, 13, 21, 22, 101, 111, 0};
    for (const QString& lang : {QStringLiteral("zh_CN"), QStringLiteral("zh"), QStringLiteral("zh-CN")}) {
        for (int n : chinese)
            QTest::addRow("%s %d", qPrintable(lang), n) << lang << n << QStringLiteral("第%1").arg(n);
        QTest::addRow("%s -1", qPrintable(lang)) << lang << -1 << QStringLiteral("第") + minus + QStringLiteral("1");
        QTest::addRow("%s 1000000", qPrintable(lang)) << lang << 1000000 << QStringLiteral("第1,000,000");
    }

    QTest::newRow("de 1") << QStringLiteral("de") << 1 << QStringLiteral("1.");
    QTest::newRow("de 22") << QStringLiteral("de") << 22 << QStringLiteral("22.");
    QTest::newRow("de 1000000") << QStringLiteral("de") << 1000000 << QStringLiteral("1.000.000.");
    QTest::newRow("fr 1") << QStringLiteral("fr") << 1 << QStringLiteral("1er");
    QTest::newRow("fr 2") << QStringLiteral("fr") << 2 << QStringLiteral("2e");
}

void TestUtil::ordinalNumber()
{
    QFETCH(QString, language);
    QFETCH(int, n);
    QFETCH(QString, expected);
    QCOMPARE(Util::ordinalNumber(language, n), expected);
}

QTEST_GUILESS_MAIN(TestUtil)
#include "tst_util.moc"
