#include "filemanager.h"

#include <QTest>
#include <QThread>

#include <memory>
#include <vector>

class TestFileManager : public QObject
{
    Q_OBJECT

private slots:
    void nothingRegisteredAtFirst();
    void addAndRemove();
    void emptyIdIgnored();
    void addingTwiceRegistersOnce();
    void removingUnknownIsHarmless();
    void idsAreExact_data();
    void idsAreExact();
    void concurrentAddAndRemove();
};

void TestFileManager::nothingRegisteredAtFirst()
{
    FileManager fm;
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("f-1")));
    QVERIFY(!fm.isUploadRegistered(QString()));
}

void TestFileManager::addAndRemove()
{
    FileManager fm;
    fm.addUploadId(QStringLiteral("f-1"));
    fm.addUploadId(QStringLiteral("f-2"));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-1")));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-2")));
    fm.removeUploadId(QStringLiteral("f-1"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("f-1")));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-2")));
    fm.removeUploadId(QStringLiteral("f-2"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("f-2")));
}

void TestFileManager::emptyIdIgnored()
{
    FileManager fm;
    fm.addUploadId(QString());
    QVERIFY(!fm.isUploadRegistered(QString()));
    fm.addUploadId(QStringLiteral(""));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("")));
    fm.addUploadId(QStringLiteral("f-1"));
    fm.removeUploadId(QString());
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-1")));
}

void TestFileManager::addingTwiceRegistersOnce()
{
    FileManager fm;
    fm.addUploadId(QStringLiteral("f-1"));
    fm.addUploadId(QStringLiteral("f-1"));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-1")));
    fm.removeUploadId(QStringLiteral("f-1"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("f-1")));
}

void TestFileManager::removingUnknownIsHarmless()
{
    FileManager fm;
    fm.removeUploadId(QStringLiteral("never-added"));
    QVERIFY(!fm.isUploadRegistered(QStringLiteral("never-added")));
    fm.addUploadId(QStringLiteral("f-1"));
    fm.removeUploadId(QStringLiteral("never-added"));
    QVERIFY(fm.isUploadRegistered(QStringLiteral("f-1")));
}

void TestFileManager::idsAreExact_data()
{
    QTest::addColumn<QString>("added");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<bool>("registered");
    QTest::newRow("same") << "abc" << "abc" << true;
    QTest::newRow("case differs") << "abc" << "ABC" << false;
    QTest::newRow("prefix") << "abc" << "ab" << false;
    QTest::newRow("longer") << "abc" << "abcd" << false;
    QTest::newRow("space") << "abc" << "abc " << false;
    QTest::newRow("unicode") << QStringLiteral("dätei-1") << QStringLiteral("dätei-1") << true;
}

void TestFileManager::idsAreExact()
{
    QFETCH(QString, added);
    QFETCH(QString, asked);
    QFETCH(bool, registered);
    FileManager fm;
    fm.addUploadId(added);
    QCOMPARE(fm.isUploadRegistered(asked), registered);
    QVERIFY(fm.isUploadRegistered(added));
}

void TestFileManager::concurrentAddAndRemove()
{
    FileManager fm;
    constexpr int kThreads = 8;
    constexpr int kIds = 400;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back(QThread::create([t, &fm] {
            for (int i = 0; i < kIds; ++i) {
                const QString id = QStringLiteral("t%1-f%2").arg(t).arg(i);
                fm.addUploadId(id);
                if (i % 2 == 1)
                    fm.removeUploadId(id);
            }
        }));
    }
    for (auto& t : threads)
        t->start();
    for (auto& t : threads)
        QVERIFY(t->wait());
    for (int t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kIds; ++i) {
            const QString id = QStringLiteral("t%1-f%2").arg(t).arg(i);
            QCOMPARE(fm.isUploadRegistered(id), i % 2 == 0);
        }
    }
}

QTEST_GUILESS_MAIN(TestFileManager)
#include "tst_filemanager.moc"
