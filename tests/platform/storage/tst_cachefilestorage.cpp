#include "cachefilestorage.h"
#include "storagetestutil.h"
#include "userstorageprovider.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

using storage::CacheFileStorage;
using storage::UserStorageProvider;
using storagetest::RawDb;

namespace {
constexpr qint64 kAccount = 7;
}

class TestCacheFileStorage : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void unknownKeyIsZero();
    void stampSeveralKeys();
    void restampMovesOnlyGivenKeys();
    void restampWithEarlierTimeKeepsGivenValue();
    void emptyKeyListIsANoOp();
    void duplicateKeysInOneCall();
    void unusualKeys_data();
    void unusualKeys();
    void survivesReopen();
    void failedBatchChangesNothing();

private:
    CacheFileStorage* store() const { return m_provider->cacheFileStorage(); }
    QString dbPath() const { return UserStorageProvider::databasePath(m_dir->path(), kAccount); }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<UserStorageProvider> m_provider;
};

void TestCacheFileStorage::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_provider = std::make_unique<UserStorageProvider>(m_dir->path(), kAccount);
    QVERIFY(m_provider->isOpen());
    QVERIFY(store());
    ImLog::instance()->clearRecentLines();
}

void TestCacheFileStorage::cleanup()
{
    m_provider.reset();
    m_dir.reset();
}

void TestCacheFileStorage::unknownKeyIsZero()
{
    QCOMPARE(store()->timestamp(QStringLiteral("never-stamped")), qint64(0));
    QVERIFY(store()->updateTimestamp({ QStringLiteral("other") }, 5));
    QCOMPARE(store()->timestamp(QStringLiteral("never-stamped")), qint64(0));
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestCacheFileStorage::stampSeveralKeys()
{
    const QList<QString> keys { "img/a.png", "img/b.png", "voice/c.amr" };
    QVERIFY(store()->updateTimestamp(keys, 1000));
    for (const QString& key : keys)
        QCOMPARE(store()->timestamp(key), qint64(1000));

    RawDb raw(dbPath());
    bool ok = false;
    QCOMPARE(raw.rows(QStringLiteral("SELECT count(*) FROM cache_file"), {}, &ok), QStringList { "3" });
    QVERIFY(ok);
}

void TestCacheFileStorage::restampMovesOnlyGivenKeys()
{
    QVERIFY(store()->updateTimestamp({ "a", "b", "c" }, 1000));
    QVERIFY(store()->updateTimestamp({ "b", "d" }, 2000));

    QCOMPARE(store()->timestamp(QStringLiteral("a")), qint64(1000));
    QCOMPARE(store()->timestamp(QStringLiteral("b")), qint64(2000));
    QCOMPARE(store()->timestamp(QStringLiteral("c")), qint64(1000));
    QCOMPARE(store()->timestamp(QStringLiteral("d")), qint64(2000));

    QVERIFY(store()->updateTimestamp({ "a" }, 3000));
    QCOMPARE(store()->timestamp(QStringLiteral("a")), qint64(3000));
    QCOMPARE(store()->timestamp(QStringLiteral("b")), qint64(2000));

    RawDb raw(dbPath());
    QCOMPARE(raw.rows(QStringLiteral("SELECT count(*) FROM cache_file")), QStringList { "4" });
}

void TestCacheFileStorage::restampWithEarlierTimeKeepsGivenValue()
{
    // The store records what it is told; it does not keep the maximum.
    QVERIFY(store()->updateTimestamp({ "k" }, 5000));
    QVERIFY(store()->updateTimestamp({ "k" }, 4000));
    QCOMPARE(store()->timestamp(QStringLiteral("k")), qint64(4000));
}

void TestCacheFileStorage::emptyKeyListIsANoOp()
{
    QVERIFY(store()->updateTimestamp({ "k" }, 10));
    QVERIFY(store()->updateTimestamp({}, 99));
    QCOMPARE(store()->timestamp(QStringLiteral("k")), qint64(10));
}

void TestCacheFileStorage::duplicateKeysInOneCall()
{
    QVERIFY(store()->updateTimestamp({ "dup", "dup", "x", "dup" }, 77));
    QCOMPARE(store()->timestamp(QStringLiteral("dup")), qint64(77));
    QCOMPARE(store()->timestamp(QStringLiteral("x")), qint64(77));
    RawDb raw(dbPath());
    QCOMPARE(raw.rows(QStringLiteral("SELECT count(*) FROM cache_file")), QStringList { "2" });
}

void TestCacheFileStorage::unusualKeys_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<qint64>("stamp");

    QTest::newRow("empty key") << QString() << qint64(1);
    QTest::newRow("quotes") << QStringLiteral("it's \"quoted\"") << qint64(2);
    QTest::newRow("sql") << QStringLiteral("'); DELETE FROM cache_file; --") << qint64(3);
    QTest::newRow("wildcards") << QStringLiteral("%_*?") << qint64(4);
    QTest::newRow("unicode") << QStringLiteral("缓存/文件🎉.jpg") << qint64(5);
    QTest::newRow("long") << QString(4096, QLatin1Char('k')) << qint64(6);
    QTest::newRow("negative stamp") << QStringLiteral("neg") << qint64(-123);
    QTest::newRow("large stamp") << QStringLiteral("big") << Q_INT64_C(9000000000000000000);
}

void TestCacheFileStorage::unusualKeys()
{
    QFETCH(QString, key);
    QFETCH(qint64, stamp);

    QVERIFY(store()->updateTimestamp({ QStringLiteral("neighbour") }, 42));
    QVERIFY(store()->updateTimestamp({ key }, stamp));
    QCOMPARE(store()->timestamp(key), stamp);
    QCOMPARE(store()->timestamp(QStringLiteral("neighbour")), qint64(42));
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestCacheFileStorage::survivesReopen()
{
    QVERIFY(store()->updateTimestamp({ "a", "b" }, 123));
    QVERIFY(store()->updateTimestamp({ "b" }, 456));
    m_provider.reset();
    m_provider = std::make_unique<UserStorageProvider>(m_dir->path(), kAccount);
    QVERIFY(m_provider->isOpen());
    QCOMPARE(store()->timestamp(QStringLiteral("a")), qint64(123));
    QCOMPARE(store()->timestamp(QStringLiteral("b")), qint64(456));
}

void TestCacheFileStorage::failedBatchChangesNothing()
{
    QVERIFY(store()->updateTimestamp({ "a" }, 1));
    {
        RawDb raw(dbPath());
        QVERIFY(raw.exec(QStringLiteral("CREATE TRIGGER refuse_bad BEFORE INSERT ON cache_file "
                                        "WHEN new.key = 'bad' BEGIN SELECT RAISE(ABORT, 'refused by test'); END")));
    }
    QVERIFY(!store()->updateTimestamp({ "a", "new", "bad" }, 2));
    QCOMPARE(store()->timestamp(QStringLiteral("a")), qint64(1));
    QCOMPARE(store()->timestamp(QStringLiteral("new")), qint64(0));
    QVERIFY(storagetest::storageLogLines().join('\n').contains(QLatin1String("refused by test")));
}

QTEST_GUILESS_MAIN(TestCacheFileStorage)
#include "tst_cachefilestorage.moc"
