// The search directory against a real SQLite connection: filled from the
// search table, kept in step by the connection's triggers, forgotten when a
// transaction rolls back; and, through the reminder store, searches that
// give the same ids as the tables after every kind of write.
#include "reminderstorage.h"
#include "searchdirectory.h"
#include "storagetestutil.h"
#include "userstorageprovider.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

using storage::ReminderInfo;
using storage::SearchDirectory;
using storagetest::idsOf;
using storagetest::makeInfo;

namespace {

constexpr qint64 kAccount = 42;

// A database holding only what the directory reads.
class SearchTable
{
public:
    SearchTable()
    {
        if (sqlite3_open(":memory:", &m_db) != SQLITE_OK)
            m_db = nullptr;
        exec("CREATE TABLE reminder_search(rowid INTEGER PRIMARY KEY, id TEXT NOT NULL,"
             " order_time INTEGER NOT NULL, folded TEXT NOT NULL)");
    }
    ~SearchTable() { sqlite3_close(m_db); }
    sqlite3* handle() const { return m_db; }
    bool exec(const char* sql) { return sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

private:
    sqlite3* m_db = nullptr;
};

// "id@order" for the rowid, "-" when the directory has no such row.
QString entry(const SearchDirectory& directory, qint64 rowid)
{
    const SearchDirectory::Entry* e = directory.find(rowid);
    return e ? QStringLiteral("%1@%2").arg(e->id).arg(e->orderTime) : QStringLiteral("-");
}

QString entries(const SearchDirectory& directory, qint64 upTo)
{
    QStringList all;
    for (qint64 rowid = 1; rowid <= upTo; ++rowid)
        all << entry(directory, rowid);
    return all.join(QLatin1Char(' '));
}

} // namespace

class TestSearchDirectory : public QObject
{
    Q_OBJECT

private slots:
    void fillsFromTheTable();
    void followsWritesOfTheConnection();
    void rolledBackTransactionIsForgotten();
    void sparseRowidsAreLeftToTheTables();
    void searchesAgreeWithTheTablesAfterEveryWrite_data();
    void searchesAgreeWithTheTablesAfterEveryWrite();
    void failedSaveAllLeavesSearchesRight();
    void equalOrderTimesSortByIdBytes();
};

void TestSearchDirectory::fillsFromTheTable()
{
    SearchTable db;
    QVERIFY(db.exec("INSERT INTO reminder_search VALUES (1, 'a', 10, 'x'), (2, 'b', 20, 'y'), (4, 'd', 40, 'z')"));
    SearchDirectory directory;
    QVERIFY(!directory.isValid());
    QCOMPARE(directory.find(1), nullptr);
    QVERIFY(directory.ensure(db.handle()));
    QCOMPARE(entries(directory, 5), QStringLiteral("a@10 b@20 - d@40 -"));
    QCOMPARE(directory.count(), 3);
    QCOMPARE(directory.find(-1), nullptr);
}

void TestSearchDirectory::followsWritesOfTheConnection()
{
    SearchTable db;
    QVERIFY(db.exec("INSERT INTO reminder_search VALUES (1, 'a', 10, 'x')"));
    SearchDirectory directory;
    QVERIFY(directory.ensure(db.handle()));

    QVERIFY(db.exec("INSERT INTO reminder_search VALUES (2, 'b', 20, 'y')"));
    QVERIFY(db.exec("UPDATE reminder_search SET order_time = 11 WHERE rowid = 1"));
    QVERIFY(db.exec("UPDATE reminder_search SET folded = 'changed' WHERE rowid = 2"));
    QCOMPARE(entries(directory, 3), QStringLiteral("a@11 b@20 -"));
    QVERIFY(db.exec("DELETE FROM reminder_search WHERE rowid = 1"));
    QVERIFY(db.exec("INSERT INTO reminder_search VALUES (3, 'c', 30, 'z')"));
    QCOMPARE(entries(directory, 3), QStringLiteral("- b@20 c@30"));
    QCOMPARE(directory.count(), 2);
    QVERIFY(directory.isValid());

    // A committed transaction counts like single statements.
    QVERIFY(db.exec("BEGIN; INSERT INTO reminder_search VALUES (5, 'e', 50, 'w'); COMMIT"));
    QCOMPARE(entries(directory, 5), QStringLiteral("- b@20 c@30 - e@50"));
}

void TestSearchDirectory::rolledBackTransactionIsForgotten()
{
    SearchTable db;
    QVERIFY(db.exec("INSERT INTO reminder_search VALUES (1, 'a', 10, 'x')"));
    SearchDirectory directory;
    QVERIFY(directory.ensure(db.handle()));

    QVERIFY(db.exec("BEGIN; INSERT INTO reminder_search VALUES (2, 'b', 20, 'y');"
                    " UPDATE reminder_search SET order_time = 99 WHERE rowid = 1; ROLLBACK"));
    QVERIFY(!directory.isValid());
    QCOMPARE(directory.find(1), nullptr);
    // Read again: what the table holds after the rollback.
    QVERIFY(directory.ensure(db.handle()));
    QCOMPARE(entries(directory, 2), QStringLiteral("a@10 -"));
}

void TestSearchDirectory::sparseRowidsAreLeftToTheTables()
{
    SearchTable db;
    QVERIFY(db.exec("INSERT INTO reminder_search VALUES (1, 'a', 10, 'x'), (100000000, 'far', 20, 'y')"));
    SearchDirectory directory;
    QVERIFY(!directory.ensure(db.handle()));
    QCOMPARE(directory.find(1), nullptr);

    // A far rowid written later also hands the answers to the tables.
    QVERIFY(db.exec("DELETE FROM reminder_search WHERE rowid = 100000000"));
    QVERIFY(directory.ensure(db.handle()));
    QCOMPARE(entry(directory, 1), QStringLiteral("a@10"));
    QVERIFY(db.exec("INSERT INTO reminder_search VALUES (200000000, 'far', 20, 'y')"));
    QVERIFY(!directory.isValid());
}

void TestSearchDirectory::searchesAgreeWithTheTablesAfterEveryWrite_data()
{
    QTest::addColumn<QString>("write");
    QTest::addColumn<QStringList>("milk"); // the ids a search for "milk" gives after it
    QTest::addColumn<QStringList>("mi");

    QTest::newRow("nothing") << QString() << QStringList { "r3", "r1" } << QStringList { "r3", "r1" };
    QTest::newRow("new record") << QStringLiteral("save r4 'oat milk' 40") << QStringList { "r4", "r3", "r1" }
                                << QStringList { "r4", "r3", "r1" };
    QTest::newRow("text changed") << QStringLiteral("save r2 'milk run' 20") << QStringList { "r3", "r2", "r1" }
                                  << QStringList { "r3", "r2", "r1" };
    QTest::newRow("text no longer matches") << QStringLiteral("save r3 'water' 30") << QStringList { "r1" }
                                            << QStringList { "r1" };
    QTest::newRow("order time changed") << QStringLiteral("save r1 'buy milk' 50") << QStringList { "r1", "r3" }
                                        << QStringList { "r1", "r3" };
    QTest::newRow("removed") << QStringLiteral("remove r3") << QStringList { "r1" } << QStringList { "r1" };
    QTest::newRow("removed and saved again") << QStringLiteral("remove r1; save r1 'milk again' 5")
                                             << QStringList { "r3", "r1" } << QStringList { "r3", "r1" };
}

void TestSearchDirectory::searchesAgreeWithTheTablesAfterEveryWrite()
{
    QFETCH(QString, write);
    QFETCH(QStringList, milk);
    QFETCH(QStringList, mi);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    storage::UserStorageProvider provider(dir.path(), kAccount);
    QVERIFY(provider.isOpen());
    storage::ReminderStorage* store = provider.reminderStorage();
    QVERIFY(store->saveAll({ makeInfo("r1", "buy milk", 10), makeInfo("r2", "call mom", 20),
                             makeInfo("r3", "milk the goat", 30) }));
    // The first search fills the directory; the write then has to reach it.
    QCOMPARE(store->idsWithKeyword(QStringLiteral("milk")), (QStringList { "r3", "r1" }));

    for (const QString& step : write.split(QStringLiteral("; "), Qt::SkipEmptyParts)) {
        const QStringList words = step.split(QLatin1Char(' '));
        if (words.at(0) == QLatin1String("remove")) {
            QVERIFY(store->remove(words.at(1)));
        } else {
            const QString text = step.section(QLatin1Char('\''), 1, 1);
            const qint64 order = step.section(QLatin1Char(' '), -1).toLongLong();
            QVERIFY(store->save(makeInfo(words.at(1), text, order)));
        }
    }
    QCOMPARE(store->idsWithKeyword(QStringLiteral("milk")), milk);
    QCOMPARE(store->idsWithKeyword(QStringLiteral("mi")), mi);
    // The whole records' query reads the tables alone: the two agree.
    QCOMPARE(idsOf(store->infosWithKeyword(QStringLiteral("milk"))), milk);
    QCOMPARE(idsOf(store->infosWithKeyword(QStringLiteral("mi"))), mi);
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestSearchDirectory::failedSaveAllLeavesSearchesRight()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    storage::UserStorageProvider provider(dir.path(), kAccount);
    QVERIFY(provider.isOpen());
    storage::ReminderStorage* store = provider.reminderStorage();
    QVERIFY(store->saveAll({ makeInfo("r1", "buy milk", 10), makeInfo("r0", "milk", 15) }));
    QCOMPARE(store->idsWithKeyword(QStringLiteral("milk")), (QStringList { "r0", "r1" }));

    // The batch moves r1 to the top, then its second record is refused: the
    // whole batch rolls back after the directory saw the move.
    storagetest::RawDb raw(storage::UserStorageProvider::databasePath(dir.path(), kAccount));
    QVERIFY(raw.exec(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON reminder WHEN new.id = 'r3'"
                                    " BEGIN SELECT raise(ABORT, 'refused'); END")));
    QVERIFY(!store->saveAll({ makeInfo("r1", "buy milk", 50), makeInfo("r3", "milk too", 30) }));
    QCOMPARE(store->idsWithKeyword(QStringLiteral("milk")), (QStringList { "r0", "r1" }));
    QCOMPARE(store->idsWithKeyword(QStringLiteral("mi")), (QStringList { "r0", "r1" }));
    ImLog::instance()->clearRecentLines();
}

void TestSearchDirectory::equalOrderTimesSortByIdBytes()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    storage::UserStorageProvider provider(dir.path(), kAccount);
    QVERIFY(provider.isOpen());
    storage::ReminderStorage* store = provider.reminderStorage();
    // U+FF21 (a full-width A) is one UTF-16 unit above the surrogates that
    // make U+1F600, but its UTF-8 bytes come first: SQLite's order.
    const QString high = QString::fromUtf8("\xf0\x9f\x98\x80");
    const QString wide = QString::fromUtf8("\xef\xbc\xa1");
    QVERIFY(store->saveAll({ makeInfo(high, "same tea", 7), makeInfo(wide, "same tea", 7),
                             makeInfo("b", "same tea", 7), makeInfo("a", "same tea", 8) }));
    const QStringList expected = idsOf(store->infosWithKeyword(QStringLiteral("tea")));
    QCOMPARE(expected, (QStringList { "a", "b", wide, high }));
    QCOMPARE(store->idsWithKeyword(QStringLiteral("tea")), expected);
    QCOMPARE(store->idsWithKeyword(QStringLiteral("te")), expected);
}

QTEST_GUILESS_MAIN(TestSearchDirectory)
#include "tst_searchdirectory.moc"
