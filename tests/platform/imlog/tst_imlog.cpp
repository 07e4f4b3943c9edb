#include "imlog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <memory>
#include <vector>

namespace {

const char kChildEnv[] = "TST_IMLOG_CHILD";
const char kChildLine[] = "line from the child process";

QStringList readLogLines(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QString all = QString::fromUtf8(file.readAll());
    QStringList lines = all.split(QLatin1Char('\n'));
    // The file ends with a newline, so the last piece is empty.
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

const QRegularExpression& lineFormat()
{
    static const QRegularExpression re(QStringLiteral(
        "^(\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}\\.\\d{3}Z) ERROR (.*)$"));
    return re;
}

} // namespace

class TestImLog : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void writesFileAndRecentLines_data();
    void writesFileAndRecentLines();
    void createsMissingDirectory();
    void noDirectoryWritesNoFile();
    void appendsAcrossDirectoryChanges();
    void recentLinesKeepsLastThousand();
    void clearRecentLines();
    void concurrentLoggingKeepsEveryLine();
    void echoDefaultsFollowEnvironment_data();
    void echoDefaultsFollowEnvironment();

private:
    std::unique_ptr<QTemporaryDir> m_tmp;
};

void TestImLog::init()
{
    m_tmp = std::make_unique<QTemporaryDir>();
    QVERIFY(m_tmp->isValid());
    ImLog::instance()->setEchoToStderr(false);
    ImLog::instance()->setLogDirectory(QString());
    ImLog::instance()->clearRecentLines();
}

void TestImLog::cleanup()
{
    ImLog::instance()->setLogDirectory(QString());
    m_tmp.reset();
}

void TestImLog::writesFileAndRecentLines_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("one line") << QStringList{QStringLiteral("disk full")};
    QTest::newRow("several lines")
        << QStringList{QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("third")};
    QTest::newRow("non-ascii")
        << QStringList{QStringLiteral("提醒失败"), QStringLiteral("Größe überschritten")};
    QTest::newRow("empty text") << QStringList{QString()};
}

void TestImLog::writesFileAndRecentLines()
{
    QFETCH(QStringList, texts);
    ImLog* log = ImLog::instance();
    log->setLogDirectory(m_tmp->path());
    QCOMPARE(log->logFilePath(), QDir(m_tmp->path()).filePath(QStringLiteral("im.log")));

    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
    for (const QString& text : texts)
        log->error(text);
    const QDateTime after = QDateTime::currentDateTimeUtc().addSecs(1);

    QCOMPARE(log->recentLines(), texts);

    const QStringList lines = readLogLines(log->logFilePath());
    QCOMPARE(lines.size(), texts.size());
    for (int i = 0; i < lines.size(); ++i) {
        const QRegularExpressionMatch m = lineFormat().match(lines.at(i));
        QVERIFY2(m.hasMatch(), qPrintable(lines.at(i)));
        QCOMPARE(m.captured(2), texts.at(i));
        const QDateTime stamp = QDateTime::fromString(m.captured(1), Qt::ISODateWithMs);
        QVERIFY(stamp.isValid());
        QCOMPARE(stamp.offsetFromUtc(), 0);
        QVERIFY(stamp >= before);
        QVERIFY(stamp <= after);
    }
}

void TestImLog::createsMissingDirectory()
{
    const QString dir = QDir(m_tmp->path()).filePath(QStringLiteral("a/b/c"));
    QVERIFY(!QFileInfo::exists(dir));
    ImLog::instance()->setLogDirectory(dir);
    ImLog::instance()->error(QStringLiteral("nested"));
    QVERIFY(QFileInfo(dir).isDir());
    const QStringList lines = readLogLines(QDir(dir).filePath(QStringLiteral("im.log")));
    QCOMPARE(lines.size(), 1);
    QVERIFY(lines.first().endsWith(QLatin1String(" ERROR nested")));
}

void TestImLog::noDirectoryWritesNoFile()
{
    ImLog* log = ImLog::instance();
    QVERIFY(log->logFilePath().isEmpty());
    log->error(QStringLiteral("only in memory"));
    QCOMPARE(log->recentLines(), QStringList{QStringLiteral("only in memory")});
    QVERIFY(QDir(m_tmp->path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).isEmpty());
    QVERIFY(!QFileInfo::exists(QStringLiteral("im.log")));
}

void TestImLog::appendsAcrossDirectoryChanges()
{
    ImLog* log = ImLog::instance();
    const QString first = QDir(m_tmp->path()).filePath(QStringLiteral("one"));
    const QString second = QDir(m_tmp->path()).filePath(QStringLiteral("two"));
    log->setLogDirectory(first);
    log->error(QStringLiteral("a"));
    log->setLogDirectory(second);
    log->error(QStringLiteral("b"));
    log->setLogDirectory(first);
    log->error(QStringLiteral("c"));

    const QStringList firstLines = readLogLines(QDir(first).filePath(QStringLiteral("im.log")));
    const QStringList secondLines = readLogLines(QDir(second).filePath(QStringLiteral("im.log")));
    QCOMPARE(firstLines.size(), 2);
    QVERIFY(firstLines.at(0).endsWith(QLatin1String(" ERROR a")));
    QVERIFY(firstLines.at(1).endsWith(QLatin1String(" ERROR c")));
    QCOMPARE(secondLines.size(), 1);
    QVERIFY(secondLines.at(0).endsWith(QLatin1String(" ERROR b")));
    QCOMPARE(log->recentLines(),
             (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}));
}

void TestImLog::recentLinesKeepsLastThousand()
{
    ImLog* log = ImLog::instance();
    for (int i = 0; i < 1005; ++i)
        log->error(QStringLiteral("line %1").arg(i));
    const QStringList recent = log->recentLines();
    QCOMPARE(recent.size(), 1000);
    QCOMPARE(recent.first(), QStringLiteral("line 5"));
    QCOMPARE(recent.last(), QStringLiteral("line 1004"));
    for (int i = 0; i < recent.size(); ++i)
        QCOMPARE(recent.at(i), QStringLiteral("line %1").arg(i + 5));
}

void TestImLog::clearRecentLines()
{
    ImLog* log = ImLog::instance();
    log->error(QStringLiteral("x"));
    QCOMPARE(log->recentLines().size(), 1);
    log->clearRecentLines();
    QVERIFY(log->recentLines().isEmpty());
    log->error(QStringLiteral("y"));
    QCOMPARE(log->recentLines(), QStringList{QStringLiteral("y")});
}

void TestImLog::concurrentLoggingKeepsEveryLine()
{
    constexpr int kThreads = 8;
    constexpr int kPerThread = 120; // 960 in all, within the in-memory limit
    ImLog* log = ImLog::instance();
    log->setLogDirectory(m_tmp->path());

    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back(QThread::create([t, log] {
            for (int i = 0; i < kPerThread; ++i)
                log->error(QStringLiteral("thread %1 message %2 %3").arg(t).arg(i).arg(QString(40, QLatin1Char('x'))));
        }));
    }
    for (auto& th : threads)
        th->start();
    for (auto& th : threads)
        QVERIFY(th->wait());

    QSet<QString> expected;
    for (int t = 0; t < kThreads; ++t)
        for (int i = 0; i < kPerThread; ++i)
            expected.insert(QStringLiteral("thread %1 message %2 %3").arg(t).arg(i).arg(QString(40, QLatin1Char('x'))));

    const QStringList lines = readLogLines(log->logFilePath());
    QCOMPARE(lines.size(), kThreads * kPerThread);
    QSet<QString> fromFile;
    for (const QString& line : lines) {
        const QRegularExpressionMatch m = lineFormat().match(line);
        QVERIFY2(m.hasMatch(), qPrintable(line));
        fromFile.insert(m.captured(2));
    }
    QCOMPARE(fromFile, expected);

    const QStringList recent = log->recentLines();
    QCOMPARE(recent.size(), kThreads * kPerThread);
    QCOMPARE(QSet<QString>(recent.begin(), recent.end()), expected);

    // Each thread's own lines stay in the order it logged them.
    for (int t = 0; t < kThreads; ++t) {
        const QString prefix = QStringLiteral("thread %1 message ").arg(t);
        int next = 0;
        for (const QString& text : recent) {
            if (text.startsWith(prefix)) {
                QCOMPARE(text.mid(prefix.size()).section(QLatin1Char(' '), 0, 0).toInt(), next);
                ++next;
            }
        }
        QCOMPARE(next, kPerThread);
    }
}

void TestImLog::echoDefaultsFollowEnvironment_data()
{
    QTest::addColumn<QString>("quiet");
    QTest::addColumn<bool>("echoed");
    QTest::newRow("unset") << QString() << true;
    QTest::newRow("IMLOG_QUIET=1") << QStringLiteral("1") << false;
    QTest::newRow("IMLOG_QUIET=0") << QStringLiteral("0") << true;
}

void TestImLog::echoDefaultsFollowEnvironment()
{
    QFETCH(QString, quiet);
    QFETCH(bool, echoed);

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QString::fromLatin1(kChildEnv), QStringLiteral("1"));
    if (quiet.isNull())
        env.remove(QStringLiteral("IMLOG_QUIET"));
    else
        env.insert(QStringLiteral("IMLOG_QUIET"), quiet);

    QProcess child;
    child.setProcessEnvironment(env);
    child.start(QCoreApplication::applicationFilePath(), {});
    QVERIFY(child.waitForFinished(-1));
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);

    const QString err = QString::fromUtf8(child.readAllStandardError());
    const QStringList errLines = err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (echoed) {
        QCOMPARE(errLines.size(), 1);
        const QRegularExpressionMatch m = lineFormat().match(errLines.first());
        QVERIFY2(m.hasMatch(), qPrintable(err));
        QCOMPARE(m.captured(2), QString::fromLatin1(kChildLine));
    } else {
        QVERIFY2(errLines.isEmpty(), qPrintable(err));
    }
}

int main(int argc, char** argv)
{
    if (qEnvironmentVariable(kChildEnv) == QLatin1String("1")) {
        // Child mode: log one line with the default echo setting.
        ImLog::instance()->error(QString::fromLatin1(kChildLine));
        return ImLog::instance()->recentLines() == QStringList{QString::fromLatin1(kChildLine)} ? 0 : 1;
    }
    QCoreApplication app(argc, argv);
    TestImLog test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_imlog.moc"
