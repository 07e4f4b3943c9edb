#include "cachefilestorage.h"
#include "reminderstorage.h"
#include "storagesql.h"
#include "storagetestutil.h"
#include "userstorageprovider.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <unistd.h>

#include <memory>

using storage::ReminderInfo;
using storage::UserStorageProvider;
using storagetest::idsOf;
using storagetest::makeInfo;
using storagetest::RawDb;

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return file.write(bytes) == bytes.size();
}

QByteArray garbage(int size, quint32 seed)
{
    QRandomGenerator generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& c : bytes)
        c = char(generator.bounded(256));
    // Make sure it cannot start with SQLite's own header.
    bytes.replace(0, 6, "GARBAG");
    return bytes;
}

// Files in the account directory whose name marks them as moved aside.
QStringList movedAsideFiles(const QString& dbPath)
{
    const QFileInfo info(dbPath);
    return QDir(info.absolutePath())
        .entryList({ info.fileName() + QStringLiteral(".corrupt-*") }, QDir::Files, QDir::Name);
}

bool logMentions(const QString& what)
{
    for (const QString& line : storagetest::storageLogLines()) {
        if (line.contains(what))
            return true;
    }
    return false;
}

// The new database works: a record goes in and comes back.
void checkUsable(UserStorageProvider& provider)
{
    QVERIFY(provider.isOpen());
    QCOMPARE(provider.reminderStorage()->count(), 0);
    const ReminderInfo info = makeInfo(QStringLiteral("fresh"), QStringLiteral("fresh start"), 1, 2);
    QVERIFY(provider.reminderStorage()->save(info));
    const QList<ReminderInfo> all = provider.reminderStorage()->allInfos();
    QCOMPARE(all.size(), 1);
    QCOMPARE(all.first(), info);
    QVERIFY(provider.cacheFileStorage()->updateTimestamp({ QStringLiteral("k") }, 9));
    QCOMPARE(provider.cacheFileStorage()->timestamp(QStringLiteral("k")), qint64(9));
}

} // namespace

class TestUserStorageProvider : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void databasePathLayout_data();
    void databasePathLayout();
    void createsDirectoriesAndSchema();
    void databaseOfVersionFourGetsTheIndexSettings();
    void healthyDatabaseIsReopenedInPlace();
    void databaseOfTheFirstVersionGainsTheRemovedIds();
    void databaseOfVersionTwoGetsTheFoldedSearch();
    void accountsAreSeparate();
    void garbageFileIsMovedAside_data();
    void garbageFileIsMovedAside();
    void walAndShmMoveWithTheFile();
    void truncatedDatabaseIsMovedAside();
    void foreignSchemaIsMovedAside();
    void nameClashIsMovedAside();
    void unusableLocationFailsGracefully();
    void cleanlyClosedFileIsNotReadWhole();
    void fileLeftByAKilledProcess_data();
    void fileLeftByAKilledProcess();
    void openingLeftToTheFirstUse_data();
    void openingLeftToTheFirstUse();
};

void TestUserStorageProvider::init()
{
    ImLog::instance()->clearRecentLines();
}

void TestUserStorageProvider::databasePathLayout_data()
{
    QTest::addColumn<QString>("dataDir");
    QTest::addColumn<qint64>("account");
    QTest::addColumn<QString>("expected");

    QTest::newRow("plain") << QStringLiteral("/data") << qint64(5) << QStringLiteral("/data/accounts/5/account.db");
    QTest::newRow("trailing slash") << QStringLiteral("/data/") << qint64(5)
                                    << QStringLiteral("/data/accounts/5/account.db");
    QTest::newRow("large id") << QStringLiteral("/d") << Q_INT64_C(123456789012345)
                              << QStringLiteral("/d/accounts/123456789012345/account.db");
    QTest::newRow("relative") << QStringLiteral("rel/dir") << qint64(1) << QStringLiteral("rel/dir/accounts/1/account.db");
}

void TestUserStorageProvider::databasePathLayout()
{
    QFETCH(QString, dataDir);
    QFETCH(qint64, account);
    QFETCH(QString, expected);
    QCOMPARE(UserStorageProvider::databasePath(dataDir, account), expected);
}

void TestUserStorageProvider::createsDirectoriesAndSchema()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dataDir = dir.filePath(QStringLiteral("not/yet/there"));
    UserStorageProvider provider(dataDir, 11);
    QVERIFY(provider.isOpen());
    QCOMPARE(provider.databasePath(), UserStorageProvider::databasePath(dataDir, 11));
    QVERIFY(QFileInfo::exists(provider.databasePath()));
    QVERIFY(provider.movedAsidePath().isEmpty());
    QVERIFY(provider.reminderStorage());
    QVERIFY(provider.cacheFileStorage());

    RawDb raw(provider.databasePath());
    QVERIFY2(raw.isOpen(), qPrintable(raw.lastError()));
    QCOMPARE(raw.rows(QStringLiteral("PRAGMA journal_mode")), QStringList { "wal" });
    QCOMPARE(raw.rows(QStringLiteral("PRAGMA user_version")),
             QStringList { QString::number(storage::sql::kSchemaVersion) });
    const QStringList objects = raw.rows(QStringLiteral(
        "SELECT type || ' ' || name FROM sqlite_schema WHERE name NOT GLOB 'sqlite*' "
        "AND NOT (type = 'table' AND name GLOB 'reminder_fts_*') ORDER BY name"));
    QCOMPARE(objects, (QStringList { "table cache_file", "table reminder", "table reminder_fts",
                                     "trigger reminder_fts_delete", "trigger reminder_fts_insert",
                                     "trigger reminder_fts_update", "index reminder_order_time",
                                     "index reminder_pending", "index reminder_remind_time",
                                     "table reminder_removed", "table reminder_search",
                                     "trigger reminder_search_delete", "trigger reminder_search_insert",
                                     "trigger reminder_search_order", "trigger reminder_search_text" }));
    // The search index merges its segments only when the worker is idle.
    QCOMPARE(raw.rows(QStringLiteral("SELECT k || '=' || v FROM reminder_fts_config"
                                     " WHERE k IN ('automerge', 'crisismerge') ORDER BY k")),
             (QStringList { "automerge=0", "crisismerge=64" }));
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

// A database of version 4: the reopen gives its search index the settings
// of version 5 and keeps the index as it is.
void TestUserStorageProvider::databaseOfVersionFourGetsTheIndexSettings()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QList<ReminderInfo> infos = {
        makeInfo(QStringLiteral("1_1"), QStringLiteral("Call the office"), 3, 40),
        makeInfo(QStringLiteral("1_2"), QStringLiteral("water the plants"), 4, 30),
    };
    const QString path = UserStorageProvider::databasePath(dir.path(), 1);
    {
        UserStorageProvider provider(dir.path(), 1);
        QVERIFY(provider.reminderStorage()->saveAll(infos));
    }
    {
        // Version 4 left the index's settings at FTS5's defaults.
        RawDb raw(path);
        QVERIFY2(raw.exec(QStringLiteral("DELETE FROM reminder_fts_config WHERE k IN ('automerge', 'crisismerge');"
                                         "PRAGMA user_version=4")),
                 qPrintable(raw.lastError()));
    }

    UserStorageProvider provider(dir.path(), 1);
    QVERIFY(provider.isOpen());
    QVERIFY(provider.movedAsidePath().isEmpty());
    QCOMPARE(provider.reminderStorage()->allInfos(), (QList<ReminderInfo> { infos.at(1), infos.at(0) }));
    QCOMPARE(provider.reminderStorage()->idsWithKeyword(QStringLiteral("OFFICE")), QStringList { "1_1" });
    QVERIFY(provider.reminderStorage()->save(makeInfo(QStringLiteral("1_3"), QStringLiteral("Plant tulips"), 5, 50)));
    QCOMPARE(provider.reminderStorage()->idsWithKeyword(QStringLiteral("plant")), (QStringList { "1_3", "1_2" }));
    RawDb raw(path);
    QCOMPARE(raw.rows(QStringLiteral("PRAGMA user_version")),
             QStringList { QString::number(storage::sql::kSchemaVersion) });
    QCOMPARE(raw.rows(QStringLiteral("SELECT k || '=' || v FROM reminder_fts_config"
                                     " WHERE k IN ('automerge', 'crisismerge') ORDER BY k")),
             (QStringList { "automerge=0", "crisismerge=64" }));
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestUserStorageProvider::healthyDatabaseIsReopenedInPlace()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const ReminderInfo info = makeInfo(QStringLiteral("keep"), QStringLiteral("kept across runs"), 3, 4);
    {
        UserStorageProvider provider(dir.path(), 1);
        QVERIFY(provider.reminderStorage()->save(info));
    }
    for (int run = 0; run < 3; ++run) {
        UserStorageProvider provider(dir.path(), 1);
        QVERIFY(provider.isOpen());
        QVERIFY(provider.movedAsidePath().isEmpty());
        QCOMPARE(provider.reminderStorage()->allInfos(), QList<ReminderInfo> { info });
        QCOMPARE(provider.reminderStorage()->infosWithKeyword(QStringLiteral("across")).size(), 1);
    }
    QVERIFY(movedAsideFiles(UserStorageProvider::databasePath(dir.path(), 1)).isEmpty());
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

// A database written before removed ids were remembered: the reopen adds
// the table and the version, and keeps every record.
void TestUserStorageProvider::databaseOfTheFirstVersionGainsTheRemovedIds()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const ReminderInfo info = makeInfo(QStringLiteral("1_4"), QStringLiteral("from the old version"), 3, 4);
    const QString path = UserStorageProvider::databasePath(dir.path(), 1);
    {
        UserStorageProvider provider(dir.path(), 1);
        QVERIFY(provider.reminderStorage()->save(info));
    }
    {
        RawDb raw(path);
        QVERIFY(raw.exec(QStringLiteral("DROP TABLE reminder_removed; PRAGMA user_version=1")));
        QCOMPARE(raw.rows(QStringLiteral("SELECT count(*) FROM sqlite_schema WHERE name = 'reminder_removed'")),
                 QStringList { "0" });
    }

    UserStorageProvider provider(dir.path(), 1);
    QVERIFY(provider.isOpen());
    QVERIFY(provider.movedAsidePath().isEmpty());
    QCOMPARE(provider.reminderStorage()->allInfos(), QList<ReminderInfo> { info });
    QCOMPARE(provider.reminderStorage()->removedIds(), QList<QString>());
    QVERIFY(provider.reminderStorage()->remove(QStringLiteral("1_4")));
    QCOMPARE(provider.reminderStorage()->removedIds(), QList<QString> { QStringLiteral("1_4") });
    RawDb raw(path);
    QCOMPARE(raw.rows(QStringLiteral("PRAGMA user_version")),
             QStringList { QString::number(storage::sql::kSchemaVersion) });
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

// A database of version 2, whose index covered the records' own text: the
// reopen builds the search side from the records and keeps every record.
void TestUserStorageProvider::databaseOfVersionTwoGetsTheFoldedSearch()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QList<ReminderInfo> infos = {
        makeInfo(QStringLiteral("1_1"), QStringLiteral("Call the ΣΊΣΥΦΟΣ office"), 3, 40),
        makeInfo(QStringLiteral("1_2"), QStringLiteral("water the plants"), 4, 30),
    };
    const QString path = UserStorageProvider::databasePath(dir.path(), 1);
    {
        UserStorageProvider provider(dir.path(), 1);
        QVERIFY(provider.reminderStorage()->saveAll(infos));
    }
    {
        // Version 2's search: a trigram index over the text column.
        RawDb raw(path);
        QVERIFY2(raw.exec(QStringLiteral(
                     "DROP TRIGGER reminder_search_insert; DROP TRIGGER reminder_search_delete;"
                     "DROP TRIGGER reminder_search_text; DROP TRIGGER reminder_search_order;"
                     "DROP TABLE reminder_fts; DROP TABLE reminder_search;"
                     "CREATE VIRTUAL TABLE reminder_fts USING fts5(text, content='reminder',"
                     " content_rowid='rowid', tokenize='trigram');"
                     "CREATE TRIGGER reminder_fts_insert AFTER INSERT ON reminder BEGIN"
                     " INSERT INTO reminder_fts(rowid, text) VALUES (new.rowid, new.text); END;"
                     "INSERT INTO reminder_fts(reminder_fts) VALUES ('rebuild');"
                     "PRAGMA user_version=2")),
                 qPrintable(raw.lastError()));
    }

    UserStorageProvider provider(dir.path(), 1);
    QVERIFY(provider.isOpen());
    QVERIFY(provider.movedAsidePath().isEmpty());
    // Newest order time first.
    QCOMPARE(provider.reminderStorage()->allInfos(), (QList<ReminderInfo> { infos.at(1), infos.at(0) }));
    // Found through the new index (three characters and more) and the scan.
    QCOMPARE(provider.reminderStorage()->idsWithKeyword(QStringLiteral("σίσυφος")), QStringList { "1_1" });
    QCOMPARE(provider.reminderStorage()->idsWithKeyword(QStringLiteral("PLANT")), QStringList { "1_2" });
    QCOMPARE(provider.reminderStorage()->idsWithKeyword(QStringLiteral("th")), (QStringList { "1_2", "1_1" }));
    // New records are indexed too.
    QVERIFY(provider.reminderStorage()->save(makeInfo(QStringLiteral("1_3"), QStringLiteral("Plant tulips"), 5, 50)));
    QCOMPARE(provider.reminderStorage()->idsWithKeyword(QStringLiteral("plant")), (QStringList { "1_3", "1_2" }));
    RawDb raw(path);
    QCOMPARE(raw.rows(QStringLiteral("PRAGMA user_version")),
             QStringList { QString::number(storage::sql::kSchemaVersion) });
    QCOMPARE(raw.rows(QStringLiteral("SELECT count(*) FROM sqlite_schema WHERE sql LIKE '%new.text%'"
                                     " AND name = 'reminder_fts_insert'")),
             QStringList { "0" });
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestUserStorageProvider::accountsAreSeparate()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    UserStorageProvider first(dir.path(), 1);
    UserStorageProvider second(dir.path(), 2);
    QVERIFY(first.reminderStorage()->save(makeInfo(QStringLiteral("only-first"), QStringLiteral("x"))));
    QCOMPARE(first.reminderStorage()->count(), 1);
    QCOMPARE(second.reminderStorage()->count(), 0);
    QVERIFY(first.databasePath() != second.databasePath());
}

void TestUserStorageProvider::garbageFileIsMovedAside_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("random bytes") << garbage(8192, 1);
    QTest::newRow("short text") << QByteArray("this is not a database at all\n");
    QTest::newRow("one page of garbage") << garbage(4096, 2);
    // A genuine header followed by nonsense.
    QByteArray header("SQLite format 3\0", 16);
    QTest::newRow("header then garbage") << header + garbage(4096 * 3 - 16, 3);
}

void TestUserStorageProvider::garbageFileIsMovedAside()
{
    QFETCH(QByteArray, content);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dbPath = UserStorageProvider::databasePath(dir.path(), 3);
    QVERIFY(writeFile(dbPath, content));

    UserStorageProvider provider(dir.path(), 3);
    const QString moved = provider.movedAsidePath();
    QVERIFY2(!moved.isEmpty(), "the unusable file was not moved aside");
    QCOMPARE(QFileInfo(moved).absolutePath(), QFileInfo(dbPath).absolutePath());
    QVERIFY2(QFileInfo(moved).fileName().startsWith(QStringLiteral("account.db.corrupt-")), qPrintable(moved));
    // The stamp has the yyyyMMdd-hhmmss-zzz shape.
    const QString stamp = QFileInfo(moved).fileName().mid(QStringLiteral("account.db.corrupt-").size());
    QVERIFY2(QRegularExpression(QStringLiteral("^\\d{8}-\\d{6}-\\d{3}(-\\d+)?$")).match(stamp).hasMatch(),
             qPrintable(stamp));

    // Never overwritten: the moved file holds exactly the original bytes.
    QCOMPARE(readAll(moved), content);
    QCOMPARE(movedAsideFiles(dbPath), QStringList { QFileInfo(moved).fileName() });

    QVERIFY(logMentions(moved));
    QVERIFY(logMentions(dbPath));

    checkUsable(provider);
}

void TestUserStorageProvider::walAndShmMoveWithTheFile()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dbPath = UserStorageProvider::databasePath(dir.path(), 4);
    const QByteArray db = garbage(4096, 10);
    const QByteArray wal = garbage(1000, 11);
    const QByteArray shm = garbage(32768, 12);
    QVERIFY(writeFile(dbPath, db));
    QVERIFY(writeFile(dbPath + QStringLiteral("-wal"), wal));
    QVERIFY(writeFile(dbPath + QStringLiteral("-shm"), shm));

    UserStorageProvider provider(dir.path(), 4);
    const QString moved = provider.movedAsidePath();
    QVERIFY(!moved.isEmpty());
    QCOMPARE(readAll(moved), db);
    QCOMPARE(readAll(moved + QStringLiteral("-wal")), wal);
    // The shared-memory file is only SQLite's index of the log, rebuilt
    // from the log whenever it does not make sense; it moves along but its
    // bytes are not data.
    QVERIFY(QFileInfo::exists(moved + QStringLiteral("-shm")));
    checkUsable(provider);
}

void TestUserStorageProvider::truncatedDatabaseIsMovedAside()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dbPath = UserStorageProvider::databasePath(dir.path(), 5);
    {
        UserStorageProvider provider(dir.path(), 5);
        QList<ReminderInfo> infos;
        for (int i = 0; i < 3000; ++i) {
            ReminderInfo info = makeInfo(QStringLiteral("row%1").arg(i),
                                         QStringLiteral("reminder text number %1 会议").arg(i), i, i * 7);
            info.data = QByteArray(300, char('a' + i % 26));
            infos << info;
        }
        QVERIFY(provider.reminderStorage()->saveAll(infos));
    }
    // Closing the last connection folded the log into the main file.
    QVERIFY(!QFileInfo::exists(dbPath + QStringLiteral("-wal")));
    const qint64 fullSize = QFileInfo(dbPath).size();
    QVERIFY(fullSize > 100 * 1024);
    {
        QFile file(dbPath);
        QVERIFY(file.resize(fullSize / 2));
    }
    const QByteArray truncated = readAll(dbPath);
    QCOMPARE(truncated.size(), fullSize / 2);

    UserStorageProvider provider(dir.path(), 5);
    const QString moved = provider.movedAsidePath();
    QVERIFY2(!moved.isEmpty(), "the truncated database was not detected");
    QCOMPARE(readAll(moved), truncated);
    QVERIFY(logMentions(moved));
    checkUsable(provider);
}

void TestUserStorageProvider::foreignSchemaIsMovedAside()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dbPath = UserStorageProvider::databasePath(dir.path(), 6);
    QVERIFY(QDir().mkpath(QFileInfo(dbPath).absolutePath()));
    {
        sqlite3* db = nullptr;
        QCOMPARE(sqlite3_open(QFile::encodeName(dbPath).constData(), &db), SQLITE_OK);
        QCOMPARE(sqlite3_exec(db,
                              "CREATE TABLE reminder(something_else INTEGER);"
                              "INSERT INTO reminder VALUES (1), (2);",
                              nullptr, nullptr, nullptr),
                 SQLITE_OK);
        sqlite3_close(db);
    }
    const QByteArray original = readAll(dbPath);

    UserStorageProvider provider(dir.path(), 6);
    const QString moved = provider.movedAsidePath();
    QVERIFY(!moved.isEmpty());
    QCOMPARE(readAll(moved), original);
    RawDb raw(moved);
    QCOMPARE(raw.rows(QStringLiteral("SELECT count(*) FROM reminder")), QStringList { "2" });
    checkUsable(provider);
}

void TestUserStorageProvider::nameClashIsMovedAside()
{
    // A healthy database whose schema cannot take ours: a table occupies
    // the name of one of our indexes, so creating the schema fails half way.
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dbPath = UserStorageProvider::databasePath(dir.path(), 9);
    QVERIFY(QDir().mkpath(QFileInfo(dbPath).absolutePath()));
    {
        sqlite3* db = nullptr;
        QCOMPARE(sqlite3_open(QFile::encodeName(dbPath).constData(), &db), SQLITE_OK);
        QCOMPARE(sqlite3_exec(db, "CREATE TABLE reminder_pending(x); INSERT INTO reminder_pending VALUES (7);",
                              nullptr, nullptr, nullptr),
                 SQLITE_OK);
        sqlite3_close(db);
    }
    const QByteArray original = readAll(dbPath);

    UserStorageProvider provider(dir.path(), 9);
    const QString moved = provider.movedAsidePath();
    QVERIFY(!moved.isEmpty());
    QCOMPARE(readAll(moved), original);
    QVERIFY(logMentions(QStringLiteral("reminder_pending")));
    checkUsable(provider);
}

void TestUserStorageProvider::unusableLocationFailsGracefully()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    // The data directory is a regular file, so nothing can be created below it.
    const QString dataDir = dir.filePath(QStringLiteral("plain-file"));
    QVERIFY(writeFile(dataDir, "not a directory"));

    UserStorageProvider provider(dataDir, 8);
    QVERIFY(!provider.isOpen());
    QVERIFY(provider.movedAsidePath().isEmpty());
    QVERIFY(provider.reminderStorage());
    QVERIFY(provider.cacheFileStorage());
    QVERIFY(!storagetest::storageLogLines().isEmpty());

    auto* reminders = provider.reminderStorage();
    const ReminderInfo info = makeInfo(QStringLiteral("x"), QStringLiteral("text"), 1, 2);
    QVERIFY(!reminders->save(info));
    QVERIFY(!reminders->saveAll({ info }));
    QVERIFY(!reminders->remove(QStringLiteral("x")));
    QVERIFY(!reminders->remove(QList<QString> { "x" }));
    QVERIFY(!reminders->updateExtra(QStringLiteral("x"), "e"));
    QVERIFY(!reminders->updateRemindTime(QStringLiteral("x"), 3));
    QVERIFY(reminders->allInfos().isEmpty());
    QVERIFY(reminders->removedIds().isEmpty());
    QCOMPARE(reminders->nearestTimestamp(), qint64(0));
    QVERIFY(reminders->infosWithTimestamp(2).isEmpty());
    QVERIFY(reminders->infosWithKeyword(QStringLiteral("text")).isEmpty());
    QVERIFY(reminders->infosWithKeyword(QStringLiteral("t")).isEmpty());
    QVERIFY(reminders->infosWithKeyword(QString()).isEmpty());
    bool found = true;
    reminders->info(QStringLiteral("x"), &found);
    QVERIFY(!found);
    QCOMPARE(reminders->count(), 0);
    QVERIFY(!provider.cacheFileStorage()->updateTimestamp({ QStringLiteral("k") }, 1));
    QCOMPARE(provider.cacheFileStorage()->timestamp(QStringLiteral("k")), qint64(0));
    // Even empty batches report that nothing can be stored.
    QVERIFY(!reminders->saveAll({}));
    QVERIFY(!reminders->remove(QList<QString> {}));
    QVERIFY(!provider.cacheFileStorage()->updateTimestamp({}, 1));
    QVERIFY(logMentions(QStringLiteral("storage: save failed: database is not open")));
    QVERIFY(logMentions(QStringLiteral("storage: timestamp failed: database is not open")));

    // The file that stood in the way is untouched.
    QCOMPARE(readAll(dataDir), QByteArray("not a directory"));
}

void TestUserStorageProvider::cleanlyClosedFileIsNotReadWhole()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dbPath = UserStorageProvider::databasePath(dir.path(), 8);
    {
        UserStorageProvider provider(dir.path(), 8);
        QVERIFY(provider.isOpen());
        QVERIFY(!provider.fullyChecked()); // a new file
        // While it is open, the marker says so.
        QVERIFY(QFileInfo::exists(dbPath + QStringLiteral("-open")));
        QVERIFY(provider.reminderStorage()->save(makeInfo(QStringLiteral("a"), QStringLiteral("kept"), 1, 2)));
    }
    QVERIFY(!QFileInfo::exists(dbPath + QStringLiteral("-open")));
    QVERIFY(!QFileInfo::exists(dbPath + QStringLiteral("-wal")));

    UserStorageProvider provider(dir.path(), 8);
    QVERIFY(provider.isOpen());
    QVERIFY(!provider.fullyChecked());
    QVERIFY(provider.movedAsidePath().isEmpty());
    QCOMPARE(idsOf(provider.reminderStorage()->allInfos()), QStringList { "a" });
}

namespace {

constexpr qint64 kKilledAccount = 9;

// The child of fileLeftByAKilledProcess(): opens the account's database,
// writes a record, says so and waits to be killed.
int runHoldOpenChild(const QString& dataDir)
{
    UserStorageProvider provider(dataDir, kKilledAccount);
    if (!provider.isOpen() || provider.movedAsidePath() != QString())
        return 2;
    if (!provider.reminderStorage()->save(makeInfo(QStringLiteral("late"), QStringLiteral("written before the kill"), 5, 6)))
        return 3;
    std::printf("open\n");
    std::fflush(stdout);
    for (;;)
        ::pause();
}

} // namespace

void TestUserStorageProvider::fileLeftByAKilledProcess_data()
{
    QTest::addColumn<bool>("damaged");
    QTest::newRow("healthy") << false;
    QTest::newRow("damaged") << true;
}

void TestUserStorageProvider::fileLeftByAKilledProcess()
{
    QFETCH(bool, damaged);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dbPath = UserStorageProvider::databasePath(dir.path(), kKilledAccount);
    {
        // Enough records that the middle of the file is a page of them.
        UserStorageProvider provider(dir.path(), kKilledAccount);
        QList<ReminderInfo> infos;
        for (int i = 0; i < 3000; ++i) {
            ReminderInfo info = makeInfo(QStringLiteral("row%1").arg(i), QStringLiteral("text %1").arg(i), i, i);
            info.data = QByteArray(300, char('a' + i % 26));
            infos << info;
        }
        QVERIFY(provider.reminderStorage()->saveAll(infos));
    }

    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--hold-open"), dir.path() });
    QVERIFY2(child.waitForStarted(), qPrintable(child.errorString()));
    QVERIFY(child.waitForReadyRead(60000));
    QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArrayLiteral("open"));
    child.kill(); // SIGKILL: nothing of the child's own runs any more
    QVERIFY(child.waitForFinished(60000));
    QCOMPARE(child.exitStatus(), QProcess::CrashExit);
    QVERIFY(QFileInfo::exists(dbPath + QStringLiteral("-open")));

    QByteArray original;
    if (damaged) {
        // A page in the middle of the main file turns to garbage (the
        // child's one write lies in the log, not there).
        QFile file(dbPath);
        QVERIFY(file.open(QIODevice::ReadWrite));
        const qint64 page = 4096;
        QVERIFY(file.size() > 20 * page);
        QVERIFY(file.seek((file.size() / 2 / page) * page));
        QCOMPARE(file.write(garbage(int(page), 21)), page);
        file.close();
        original = readAll(dbPath);
    }

    UserStorageProvider provider(dir.path(), kKilledAccount);
    QVERIFY(provider.isOpen());
    QVERIFY(provider.fullyChecked());
    if (damaged) {
        const QString moved = provider.movedAsidePath();
        QVERIFY2(!moved.isEmpty(), "the damaged database was not detected");
        QCOMPARE(readAll(moved), original);
        QVERIFY(logMentions(moved));
        checkUsable(provider);
    } else {
        QVERIFY(provider.movedAsidePath().isEmpty());
        QCOMPARE(provider.reminderStorage()->count(), 3001);
        bool found = false;
        provider.reminderStorage()->info(QStringLiteral("late"), &found);
        QVERIFY(found);
    }
}

void TestUserStorageProvider::openingLeftToTheFirstUse_data()
{
    QTest::addColumn<bool>("unusable");
    QTest::addColumn<QString>("firstUse");

    for (const QString& use : { QStringLiteral("a read on another thread"), QStringLiteral("isOpen"),
                                QStringLiteral("movedAsidePath") }) {
        QTest::addRow("new file, %s", qPrintable(use)) << false << use;
        QTest::addRow("unusable file, %s", qPrintable(use)) << true << use;
    }
}

// A provider that leaves the opening to its first use touches nothing
// before it; then the file is opened (created, or moved aside when it
// cannot be used) exactly as at construction, on the first user's thread.
void TestUserStorageProvider::openingLeftToTheFirstUse()
{
    QFETCH(bool, unusable);
    QFETCH(QString, firstUse);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString dbPath = UserStorageProvider::databasePath(dir.path(), 12);
    const QByteArray content = garbage(4096, 20);
    if (unusable)
        QVERIFY(writeFile(dbPath, content));

    UserStorageProvider provider(dir.path(), 12, UserStorageProvider::Opening::OnFirstUse);
    QCOMPARE(provider.databasePath(), dbPath);
    if (unusable) {
        QCOMPARE(readAll(dbPath), content);
        QVERIFY(movedAsideFiles(dbPath).isEmpty());
    } else {
        QVERIFY(!QFileInfo::exists(dbPath));
    }

    if (firstUse == QLatin1String("a read on another thread")) {
        int count = -1;
        std::unique_ptr<QThread> reader(
            QThread::create([&provider, &count] { count = provider.reminderStorage()->count(); }));
        reader->start();
        QVERIFY(reader->wait(60000));
        QCOMPARE(count, 0);
    } else if (firstUse == QLatin1String("isOpen")) {
        QVERIFY(provider.isOpen());
    } else {
        QCOMPARE(provider.movedAsidePath().isEmpty(), !unusable);
    }

    QVERIFY(QFileInfo::exists(dbPath));
    const QString moved = provider.movedAsidePath();
    if (unusable) {
        QVERIFY(!moved.isEmpty());
        QCOMPARE(readAll(moved), content);
        QCOMPARE(movedAsideFiles(dbPath), QStringList { QFileInfo(moved).fileName() });
    } else {
        QVERIFY(moved.isEmpty());
    }
    checkUsable(provider);
}


int main(int argc, char** argv)
{
    if (argc > 2 && qstrcmp(argv[1], "--hold-open") == 0) {
        QCoreApplication app(argc, argv);
        return runHoldOpenChild(QString::fromLocal8Bit(argv[2]));
    }
    QCoreApplication app(argc, argv);
    TestUserStorageProvider tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "tst_userstorageprovider.moc"
