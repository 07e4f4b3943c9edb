#include "reminderstorage.h"
#include "storagesql.h"
#include "storagetestutil.h"
#include "userstorageprovider.h"
#include "writebatch.h"

#include <QMap>
#include <QRandomGenerator>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <thread>
#include <vector>

using storage::ReminderInfo;
using storage::ReminderStorage;
using storage::UserStorageProvider;
using storagetest::idsOf;
using storagetest::makeInfo;
using storagetest::RawDb;

namespace {
constexpr qint64 kAccount = 42;

// The ids whose text contains the keyword as Qt compares, case-insensitively
// (what the search must find), sorted.
QStringList idsContaining(const QMap<QString, QString>& texts, const QString& keyword)
{
    QStringList ids;
    for (auto it = texts.constBegin(); it != texts.constEnd(); ++it) {
        if (it.value().contains(keyword, Qt::CaseInsensitive))
            ids << it.key();
    }
    ids.sort();
    return ids;
}

// What the search must answer, as Qt compares: the ids of the records whose
// text holds the keyword, the corpus being saved in ascending order time
// (so the answer comes newest first).
QStringList containingInOrder(const QList<storage::ReminderInfo>& corpus, const QString& keyword)
{
    QStringList ids;
    for (auto it = corpus.crbegin(); it != corpus.crend(); ++it) {
        if (it->text.contains(keyword, Qt::CaseInsensitive))
            ids << it->id;
    }
    return ids;
}
} // namespace

class TestReminderStorage : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void saveThenReplace();
    void saveKeepsTheSearchSideInStep_data();
    void saveKeepsTheSearchSideInStep();
    void saveAllStoresEveryRecord();
    void saveAllIsAtomic();
    void removeOne();
    void removeMany_data();
    void removeMany();
    void removeManyIsAtomic();
    void removedIdsAreRemembered_data();
    void removedIdsAreRemembered();
    void updateExtra();
    void updateRemindTime();
    void unknownIdUpdatesChangeNothing();
    void nearestTimestamp_data();
    void nearestTimestamp();
    void nearestTimestampFollowsChanges();
    void nearestTimestampStepsOverSkippedIds_data();
    void nearestTimestampStepsOverSkippedIds();
    void infosWithTimestamp();
    void dueAtMatchesInfosWithTimestamp_data();
    void dueAtMatchesInfosWithTimestamp();
    void writeEachRunsEveryWriteOnItsOwn_data();
    void writeEachRunsEveryWriteOnItsOwn();
    void keyword_data();
    void keyword();
    void keywordSyntaxIsLiteral_data();
    void keywordSyntaxIsLiteral();
    void keywordEmptyMatchesAll();
    void keywordWithNulCharacterIsMatchedLiterally_data();
    void keywordWithNulCharacterIsMatchedLiterally();
    void keywordWithNoncharactersIsMatchedExactly_data();
    void keywordWithNoncharactersIsMatchedExactly();
    void keywordCaseFoldsAsQtDoesBeyondTheIndex_data();
    void keywordCaseFoldsAsQtDoesBeyondTheIndex();
    void keywordLimit_data();
    void keywordLimit();
    void allInfosOrder();
    void infoLookup();
    void reopenedRecordIsIdentical_data();
    void reopenedRecordIsIdentical();
    void queryPlansUseIndexes();
    void sqliteErrorsAreReportedAndLogged();
    void concurrentUse();
    void groupedWritesKeepTheSearchIndexExact_data();
    void groupedWritesKeepTheSearchIndexExact();
    void groupedWritesAreSeenAtOnceAndCommittedTogether();
    void manyRecordsIntoAnEmptyStoreAreTakenBare_data();
    void manyRecordsIntoAnEmptyStoreAreTakenBare();
    void fewRecordsOrAStoreThatHoldsSomeAreIndexedAtOnce_data();
    void fewRecordsOrAStoreThatHoldsSomeAreIndexedAtOnce();
    void idleMergingKeepsTheSearchIndexExact_data();
    void idleMergingKeepsTheSearchIndexExact();
    void writeFromAnotherThreadCommitsTheGroup();

private:
    ReminderStorage* store() const { return m_provider->reminderStorage(); }
    QString dbPath() const { return UserStorageProvider::databasePath(m_dir->path(), kAccount); }
    void reopen()
    {
        m_provider.reset();
        m_provider = std::make_unique<UserStorageProvider>(m_dir->path(), kAccount);
        QVERIFY(m_provider->isOpen());
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<UserStorageProvider> m_provider;
};

void TestReminderStorage::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_provider = std::make_unique<UserStorageProvider>(m_dir->path(), kAccount);
    QVERIFY(m_provider->isOpen());
    QVERIFY(m_provider->movedAsidePath().isEmpty());
    ImLog::instance()->clearRecentLines();
}

void TestReminderStorage::cleanup()
{
    m_provider.reset();
    m_dir.reset();
}

void TestReminderStorage::saveThenReplace()
{
    ReminderInfo first = makeInfo(QStringLiteral("r1"), QStringLiteral("buy oranges at market"), 10, 1000);
    first.extra = QByteArrayLiteral("first-extra");
    QVERIFY(store()->save(first));
    QCOMPARE(store()->count(), 1);

    ReminderInfo second = makeInfo(QStringLiteral("r1"), QStringLiteral("call the plumber"), 20, 2000,
                                   true, true);
    second.unread = true;
    second.data = QByteArrayLiteral("second-data");
    QVERIFY(store()->save(second));

    QCOMPARE(store()->count(), 1);
    const QList<ReminderInfo> all = store()->allInfos();
    QCOMPARE(all.size(), 1);
    QCOMPARE(all.first(), second);

    // Search follows the new text through the public API ...
    QVERIFY(store()->infosWithKeyword(QStringLiteral("oranges")).isEmpty());
    QCOMPARE(idsOf(store()->infosWithKeyword(QStringLiteral("plumber"))), QStringList { "r1" });

    // ... and the full-text index itself holds only the new text.
    RawDb raw(dbPath());
    QVERIFY2(raw.isOpen(), qPrintable(raw.lastError()));
    QCOMPARE(raw.ftsIds(QStringLiteral("oranges")), QStringList());
    QCOMPARE(raw.ftsIds(QStringLiteral("plumber")), QStringList { "r1" });
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestReminderStorage::saveKeepsTheSearchSideInStep_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("orderTime");
    QTest::addColumn<bool>("grouped");

    for (bool grouped : {false, true}) {
        const char* how = grouped ? " (in a group)" : "";
        QTest::newRow(qPrintable(QStringLiteral("flags, time and data only%1").arg(how)))
            << QStringLiteral("buy oranges at market") << qint64(10) << grouped;
        QTest::newRow(qPrintable(QStringLiteral("new text%1").arg(how)))
            << QStringLiteral("call the plumber") << qint64(10) << grouped;
        QTest::newRow(qPrintable(QStringLiteral("new order time%1").arg(how)))
            << QStringLiteral("buy oranges at market") << qint64(30) << grouped;
        QTest::newRow(qPrintable(QStringLiteral("both%1").arg(how)))
            << QStringLiteral("call the plumber") << qint64(30) << grouped;
    }
}

void TestReminderStorage::saveKeepsTheSearchSideInStep()
{
    QFETCH(QString, text);
    QFETCH(qint64, orderTime);
    QFETCH(bool, grouped);
    QVERIFY(store()->saveAll({ makeInfo(QStringLiteral("r1"), QStringLiteral("buy oranges at market"), 10, 1000),
                               makeInfo(QStringLiteral("r2"), QStringLiteral("oranges and plumber"), 20, 1000) }));

    ReminderInfo changed = makeInfo(QStringLiteral("r1"), text, orderTime, 2000, true, false);
    changed.unread = true;
    changed.data = QByteArrayLiteral("changed-data");
    changed.extra = QByteArrayLiteral("{\"last_unread_time\":1000}");
    if (grouped)
        storage::WriteBatch::begin();
    QVERIFY(store()->save(changed));
    if (grouped)
        QVERIFY(storage::WriteBatch::commit());

    reopen();
    QCOMPARE(store()->info(QStringLiteral("r1")), changed);
    QCOMPARE(store()->count(), 2);
    // The search finds the record by its new text only, in its new place.
    const bool oranges = text.contains(QLatin1String("oranges"));
    const QStringList both = orderTime > 20 ? QStringList { "r1", "r2" } : QStringList { "r2", "r1" };
    QCOMPARE(store()->idsWithKeyword(QStringLiteral("oranges")), oranges ? both : QStringList { "r2" });
    QCOMPARE(store()->idsWithKeyword(QStringLiteral("plumber")), oranges ? QStringList { "r2" } : both);
    QCOMPARE(store()->idsWithKeyword(QStringLiteral("b")), both);
    RawDb raw(dbPath());
    QVERIFY2(raw.isOpen(), qPrintable(raw.lastError()));
    QCOMPARE(raw.rows(QStringLiteral("SELECT order_time FROM reminder_search WHERE id = 'r1'")),
             QStringList { QString::number(orderTime) });
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestReminderStorage::saveAllStoresEveryRecord()
{
    QList<ReminderInfo> infos;
    for (int i = 0; i < 50; ++i)
        infos << makeInfo(QStringLiteral("id%1").arg(i), QStringLiteral("note number %1").arg(i), i);
    QVERIFY(store()->saveAll(infos));
    QCOMPARE(store()->count(), 50);

    // Saving again with changed text replaces every record.
    for (auto& info : infos)
        info.text = QStringLiteral("changed ") + info.id;
    QVERIFY(store()->saveAll(infos));
    QCOMPARE(store()->count(), 50);
    QCOMPARE(store()->infosWithKeyword(QStringLiteral("note number")).size(), 0);
    QCOMPARE(store()->infosWithKeyword(QStringLiteral("changed")).size(), 50);

    QVERIFY(store()->saveAll({}));
    QCOMPARE(store()->count(), 50);

    RawDb raw(dbPath());
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
}

void TestReminderStorage::saveAllIsAtomic()
{
    QVERIFY(store()->save(makeInfo(QStringLiteral("existing"), QStringLiteral("kept as is"), 1)));
    {
        RawDb raw(dbPath());
        QVERIFY(raw.exec(QStringLiteral("CREATE TRIGGER reject_bad BEFORE INSERT ON reminder "
                                        "WHEN new.id = 'bad' BEGIN SELECT RAISE(ABORT, 'rejected by test'); END")));
    }
    const QList<ReminderInfo> batch { makeInfo(QStringLiteral("a"), QStringLiteral("first"), 2),
                                      makeInfo(QStringLiteral("existing"), QStringLiteral("overwritten"), 3),
                                      makeInfo(QStringLiteral("bad"), QStringLiteral("fails"), 4),
                                      makeInfo(QStringLiteral("c"), QStringLiteral("never reached"), 5) };
    QVERIFY(!store()->saveAll(batch));

    // Nothing of the batch stayed.
    QCOMPARE(store()->count(), 1);
    QCOMPARE(store()->allInfos().first().text, QStringLiteral("kept as is"));
    const QStringList lines = storagetest::storageLogLines();
    QVERIFY(!lines.isEmpty());
    QVERIFY2(lines.join('\n').contains(QLatin1String("rejected by test")), qPrintable(lines.join('\n')));

    // The store keeps working after the failed transaction.
    QVERIFY(store()->save(makeInfo(QStringLiteral("a"), QStringLiteral("later"), 2)));
    QCOMPARE(store()->count(), 2);
}

void TestReminderStorage::removeOne()
{
    QVERIFY(store()->saveAll({ makeInfo("a", "alpha text", 1), makeInfo("b", "beta text", 2) }));
    QVERIFY(store()->remove(QStringLiteral("a")));
    QCOMPARE(idsOf(store()->allInfos()), QStringList { "b" });
    QVERIFY(store()->infosWithKeyword(QStringLiteral("alpha")).isEmpty());

    // Removing what is not there is not an error.
    QVERIFY(store()->remove(QStringLiteral("a")));
    QVERIFY(store()->remove(QStringLiteral("never-existed")));
    QCOMPARE(store()->count(), 1);

    RawDb raw(dbPath());
    QCOMPARE(raw.ftsIds(QStringLiteral("alpha")), QStringList());
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
}

void TestReminderStorage::removeMany_data()
{
    QTest::addColumn<QStringList>("toRemove");
    QTest::addColumn<QStringList>("remaining");

    QTest::newRow("none") << QStringList {} << QStringList { "e", "d", "c", "b", "a" };
    QTest::newRow("one") << QStringList { "c" } << QStringList { "e", "d", "b", "a" };
    QTest::newRow("several") << QStringList { "a", "c", "e" } << QStringList { "d", "b" };
    QTest::newRow("with unknown ids") << QStringList { "x", "b", "y" } << QStringList { "e", "d", "c", "a" };
    QTest::newRow("only unknown ids") << QStringList { "x", "y" } << QStringList { "e", "d", "c", "b", "a" };
    QTest::newRow("duplicates") << QStringList { "d", "d" } << QStringList { "e", "c", "b", "a" };
    QTest::newRow("all") << QStringList { "a", "b", "c", "d", "e" } << QStringList {};
}

void TestReminderStorage::removeMany()
{
    QFETCH(QStringList, toRemove);
    QFETCH(QStringList, remaining);

    const QStringList ids { "a", "b", "c", "d", "e" };
    for (int i = 0; i < ids.size(); ++i)
        QVERIFY(store()->save(makeInfo(ids[i], QStringLiteral("shared words ") + ids[i], i)));

    QVERIFY(store()->remove(QList<QString>(toRemove)));
    QCOMPARE(idsOf(store()->allInfos()), remaining);
    QCOMPARE(idsOf(store()->infosWithKeyword(QStringLiteral("shared words"))), remaining);

    RawDb raw(dbPath());
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestReminderStorage::removeManyIsAtomic()
{
    QVERIFY(store()->saveAll({ makeInfo("a", "one", 1), makeInfo("keep", "two", 2), makeInfo("c", "three", 3) }));
    {
        RawDb raw(dbPath());
        QVERIFY(raw.exec(QStringLiteral("CREATE TRIGGER refuse_keep BEFORE DELETE ON reminder "
                                        "WHEN old.id = 'keep' BEGIN SELECT RAISE(ABORT, 'kept by test'); END")));
    }
    QVERIFY(!store()->remove(QList<QString> { "a", "keep", "c" }));
    QCOMPARE(store()->count(), 3);
    // Nothing was removed, so no id is remembered either.
    QCOMPARE(store()->removedIds(), QList<QString>());
    QVERIFY(storagetest::storageLogLines().join('\n').contains(QLatin1String("kept by test")));
}

void TestReminderStorage::removedIdsAreRemembered_data()
{
    QTest::addColumn<QStringList>("stored");
    QTest::addColumn<QList<QStringList>>("removals");
    QTest::addColumn<QStringList>("remembered");

    QTest::newRow("nothing removed") << QStringList { "1_1" } << QList<QStringList> {} << QStringList {};
    QTest::newRow("one by one") << QStringList { "1_1", "1_2", "1_3" }
                                << QList<QStringList> { { "1_3" }, { "1_1" } } << QStringList { "1_1", "1_3" };
    QTest::newRow("a list") << QStringList { "1_1", "1_2", "1_3" } << QList<QStringList> { { "1_2", "1_3" } }
                            << QStringList { "1_2", "1_3" };
    // The server's tombstone of an id this device never stored counts too.
    QTest::newRow("never stored") << QStringList {} << QList<QStringList> { { "1_9" }, { "2_5", "x" } }
                                  << QStringList { "1_9", "2_5", "x" };
    QTest::newRow("removed twice") << QStringList { "1_1" } << QList<QStringList> { { "1_1" }, { "1_1", "1_1" } }
                                   << QStringList { "1_1" };
    // Saved again after its removal (a lost deletion that the server gave
    // back): the id stays remembered, which only skips a number.
    QTest::newRow("saved again") << QStringList { "1_1" } << QList<QStringList> { { "1_1" } }
                                 << QStringList { "1_1" };
}

void TestReminderStorage::removedIdsAreRemembered()
{
    QFETCH(QStringList, stored);
    QFETCH(QList<QStringList>, removals);
    QFETCH(QStringList, remembered);

    for (const QString& id : stored)
        QVERIFY(store()->save(makeInfo(id, QStringLiteral("text of ") + id, 1)));
    for (const QStringList& ids : removals) {
        if (ids.size() == 1)
            QVERIFY(store()->remove(ids.first()));
        else
            QVERIFY(store()->remove(QList<QString>(ids)));
    }
    if (QByteArray(QTest::currentDataTag()) == "saved again")
        QVERIFY(store()->save(makeInfo(QStringLiteral("1_1"), QStringLiteral("back"), 1)));
    QCOMPARE(QStringList(store()->removedIds()), remembered);

    reopen();
    QCOMPARE(QStringList(store()->removedIds()), remembered);
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestReminderStorage::updateExtra()
{
    ReminderInfo info = makeInfo(QStringLiteral("r"), QStringLiteral("text"), 5, 500);
    info.extra = QByteArrayLiteral("old");
    QVERIFY(store()->save(info));

    const QByteArray binary("\x00\x01\xff extra \x00", 10);
    QVERIFY(store()->updateExtra(QStringLiteral("r"), binary));
    bool found = false;
    ReminderInfo stored = store()->info(QStringLiteral("r"), &found);
    QVERIFY(found);
    QCOMPARE(stored.extra, binary);
    // Nothing else moved.
    info.extra = binary;
    QCOMPARE(stored, info);

    QVERIFY(store()->updateExtra(QStringLiteral("r"), QByteArray()));
    QVERIFY(store()->info(QStringLiteral("r")).extra.isEmpty());
}

void TestReminderStorage::updateRemindTime()
{
    ReminderInfo info = makeInfo(QStringLiteral("r"), QStringLiteral("text"), 5, 500);
    QVERIFY(store()->save(info));
    QVERIFY(store()->updateRemindTime(QStringLiteral("r"), 7777));

    ReminderInfo stored = store()->info(QStringLiteral("r"));
    QCOMPARE(stored.remindTime, qint64(7777));
    info.remindTime = 7777;
    QCOMPARE(stored, info);
    QCOMPARE(idsOf(store()->infosWithTimestamp(7777)), QStringList { "r" });
    QVERIFY(store()->infosWithTimestamp(500).isEmpty());
    QCOMPARE(store()->nearestTimestamp(), qint64(7777));
}

void TestReminderStorage::unknownIdUpdatesChangeNothing()
{
    QVERIFY(store()->save(makeInfo(QStringLiteral("r"), QStringLiteral("text"), 5, 500)));
    QVERIFY(store()->updateExtra(QStringLiteral("ghost"), QByteArrayLiteral("x")));
    QVERIFY(store()->updateRemindTime(QStringLiteral("ghost"), 1));
    QCOMPARE(store()->count(), 1);
    bool found = true;
    store()->info(QStringLiteral("ghost"), &found);
    QVERIFY(!found);
    QCOMPARE(store()->nearestTimestamp(), qint64(500));
}

void TestReminderStorage::nearestTimestamp_data()
{
    QTest::addColumn<QList<ReminderInfo>>("infos");
    QTest::addColumn<qint64>("expected");

    QTest::newRow("empty store") << QList<ReminderInfo> {} << qint64(0);
    QTest::newRow("single pending") << QList<ReminderInfo> { makeInfo("a", "", 1, 300) } << qint64(300);
    QTest::newRow("earliest of several")
        << QList<ReminderInfo> { makeInfo("a", "", 1, 300), makeInfo("b", "", 2, 100), makeInfo("c", "", 3, 200) }
        << qint64(100);
    QTest::newRow("reminded ignored")
        << QList<ReminderInfo> { makeInfo("a", "", 1, 300), makeInfo("b", "", 2, 100, true) } << qint64(300);
    QTest::newRow("completed ignored")
        << QList<ReminderInfo> { makeInfo("a", "", 1, 300), makeInfo("b", "", 2, 100, false, true) } << qint64(300);
    QTest::newRow("zero time ignored")
        << QList<ReminderInfo> { makeInfo("a", "", 1, 300), makeInfo("b", "", 2, 0) } << qint64(300);
    QTest::newRow("nothing pending")
        << QList<ReminderInfo> { makeInfo("a", "", 1, 300, true), makeInfo("b", "", 2, 100, false, true),
                                 makeInfo("c", "", 3, 0), makeInfo("d", "", 4, 50, true, true) }
        << qint64(0);
    QTest::newRow("large times")
        << QList<ReminderInfo> { makeInfo("a", "", 1, Q_INT64_C(4102444800000)),
                                 makeInfo("b", "", 2, Q_INT64_C(1700000000000)) }
        << Q_INT64_C(1700000000000);
}

void TestReminderStorage::nearestTimestamp()
{
    QFETCH(QList<ReminderInfo>, infos);
    QFETCH(qint64, expected);
    QVERIFY(store()->saveAll(infos));
    QCOMPARE(store()->nearestTimestamp(), expected);
}

void TestReminderStorage::nearestTimestampStepsOverSkippedIds_data()
{
    QTest::addColumn<QStringList>("skipped");
    QTest::addColumn<qint64>("expected");

    QTest::newRow("none skipped") << QStringList{} << qint64(100);
    QTest::newRow("one of two at the earliest time") << QStringList{ "b" } << qint64(100);
    QTest::newRow("the other of the two") << QStringList{ "c" } << qint64(100);
    QTest::newRow("both at the earliest time") << QStringList{ "b", "c" } << qint64(200);
    QTest::newRow("a later one only") << QStringList{ "d" } << qint64(100);
    QTest::newRow("unknown ids") << QStringList{ "x", "y" } << qint64(100);
    QTest::newRow("every pending record") << QStringList{ "a", "b", "c", "d" } << qint64(0);
}

void TestReminderStorage::nearestTimestampStepsOverSkippedIds()
{
    QFETCH(QStringList, skipped);
    QFETCH(qint64, expected);
    QVERIFY(store()->saveAll({ makeInfo("a", "", 1, 300), makeInfo("b", "", 2, 100), makeInfo("c", "", 3, 100),
                               makeInfo("d", "", 4, 200), makeInfo("e", "", 5, 50, true) }));
    const QSet<QString> ids(skipped.begin(), skipped.end());
    QCOMPARE(store()->nearestTimestamp(ids), expected);
}

void TestReminderStorage::nearestTimestampFollowsChanges()
{
    QVERIFY(store()->saveAll({ makeInfo("a", "", 1, 300), makeInfo("b", "", 2, 100), makeInfo("c", "", 3, 200) }));
    QCOMPARE(store()->nearestTimestamp(), qint64(100));

    QVERIFY(store()->remove(QStringLiteral("b")));
    QCOMPARE(store()->nearestTimestamp(), qint64(200));

    QVERIFY(store()->updateRemindTime(QStringLiteral("a"), 50));
    QCOMPARE(store()->nearestTimestamp(), qint64(50));

    // Marking as reminded through a save takes it out.
    QVERIFY(store()->save(makeInfo("a", "", 1, 50, true)));
    QCOMPARE(store()->nearestTimestamp(), qint64(200));

    QVERIFY(store()->updateRemindTime(QStringLiteral("c"), 0));
    QCOMPARE(store()->nearestTimestamp(), qint64(0));

    QVERIFY(store()->save(makeInfo("d", "", 4, 999)));
    QCOMPARE(store()->nearestTimestamp(), qint64(999));
    QVERIFY(store()->remove(QList<QString> { "d" }));
    QCOMPARE(store()->nearestTimestamp(), qint64(0));
}

void TestReminderStorage::infosWithTimestamp()
{
    QVERIFY(store()->saveAll({ makeInfo("pending", "", 1, 1000), makeInfo("reminded", "", 3, 1000, true),
                               makeInfo("completed", "", 2, 1000, false, true),
                               makeInfo("earlier", "", 4, 999), makeInfo("later", "", 5, 1001),
                               makeInfo("none", "", 6, 0) }));

    QCOMPARE(idsOf(store()->infosWithTimestamp(1000)), (QStringList { "reminded", "completed", "pending" }));
    QCOMPARE(idsOf(store()->infosWithTimestamp(999)), QStringList { "earlier" });
    QCOMPARE(idsOf(store()->infosWithTimestamp(0)), QStringList { "none" });
    QVERIFY(store()->infosWithTimestamp(5).isEmpty());

    const QList<ReminderInfo> exact = store()->infosWithTimestamp(1001);
    QCOMPARE(exact.size(), 1);
    QCOMPARE(exact.first(), makeInfo("later", "", 5, 1001));
}

void TestReminderStorage::dueAtMatchesInfosWithTimestamp_data()
{
    QTest::addColumn<qint64>("timestamp");
    QTest::newRow("several, reminded and completed among them") << qint64(1000);
    QTest::newRow("one") << qint64(999);
    QTest::newRow("no remind time") << qint64(0);
    QTest::newRow("none") << qint64(5);
}

void TestReminderStorage::dueAtMatchesInfosWithTimestamp()
{
    QFETCH(qint64, timestamp);
    // Equal order times: the ids decide, as in the list.
    QVERIFY(store()->saveAll({ makeInfo("pending", "", 1, 1000), makeInfo("reminded", "", 3, 1000, true),
                               makeInfo("completed", "", 2, 1000, false, true), makeInfo("b", "", 2, 1000),
                               makeInfo("earlier", "", 4, 999), makeInfo("later", "", 5, 1001),
                               makeInfo("none", "", 6, 0) }));

    const QList<ReminderInfo> infos = store()->infosWithTimestamp(timestamp);
    const QList<storage::DueRecord> due = store()->dueAt(timestamp);
    QCOMPARE(due.size(), infos.size());
    for (qsizetype i = 0; i < due.size(); ++i) {
        QCOMPARE(due.at(i).id, infos.at(i).id);
        QCOMPARE(due.at(i).remindTime, infos.at(i).remindTime);
        QCOMPARE(due.at(i).reminded, infos.at(i).reminded);
    }
}

void TestReminderStorage::writeEachRunsEveryWriteOnItsOwn_data()
{
    QTest::addColumn<bool>("grouped");
    QTest::newRow("on its own") << false;
    QTest::newRow("in a group of writes") << true;
}

void TestReminderStorage::writeEachRunsEveryWriteOnItsOwn()
{
    QFETCH(bool, grouped);
    QVERIFY(store()->saveAll({ makeInfo("a", "apples", 1, 1000), makeInfo("b", "bananas", 2, 1000) }));

    using storage::ReminderWrite;
    std::vector<ReminderWrite> writes;
    ReminderInfo changed = makeInfo("a", "cherries", 7, 2000, true);
    changed.unread = true;
    changed.extra = QByteArrayLiteral("{\"last_unread_time\":1000}");
    writes.push_back({ReminderWrite::SaveStored, changed});
    writes.push_back({ReminderWrite::Save, makeInfo("c", "dates", 3, 3000)});
    // Said to be stored but not: stored all the same.
    writes.push_back({ReminderWrite::SaveStored, makeInfo("d", "elderberries", 4, 3000)});
    // Stored, with its text and order time as they are.
    ReminderInfo sameText = makeInfo("e", "figs", 5, 1000);
    writes.push_back({ReminderWrite::SaveStored, sameText});
    sameText.reminded = true;
    sameText.data = QByteArrayLiteral("fired");
    writes.push_back({ReminderWrite::SaveStored, sameText});
    // ... and with a new remind time (a repeating reminder moving on).
    ReminderInfo moved = makeInfo("f", "grapes", 6, 1000);
    writes.push_back({ReminderWrite::SaveStored, moved});
    moved.remindTime = 86401000;
    moved.unread = true;
    writes.push_back({ReminderWrite::SaveStored, moved});
    ReminderWrite later;
    later.kind = ReminderWrite::RemindTime;
    later.info.id = QStringLiteral("b");
    later.info.remindTime = 4000;
    writes.push_back(later);
    // An id that is not stored: nothing changes, as with updateRemindTime().
    ReminderWrite unknown;
    unknown.kind = ReminderWrite::RemindTime;
    unknown.info.id = QStringLiteral("nobody");
    unknown.info.remindTime = 5000;
    writes.push_back(unknown);
    // The same record twice: the later write wins.
    ReminderWrite again;
    again.kind = ReminderWrite::RemindTime;
    again.info.id = QStringLiteral("c");
    again.info.remindTime = 3500;
    writes.push_back(again);

    if (grouped)
        storage::WriteBatch::begin();
    QCOMPARE(store()->writeEach(writes), int(writes.size()));
    if (grouped)
        QVERIFY(storage::WriteBatch::commit());

    reopen();
    bool found = false;
    QCOMPARE(store()->info(QStringLiteral("a"), &found), changed);
    QVERIFY(found);
    QCOMPARE(store()->info(QStringLiteral("b")).remindTime, qint64(4000));
    QCOMPARE(store()->info(QStringLiteral("c")).remindTime, qint64(3500));
    QCOMPARE(store()->info(QStringLiteral("d")), makeInfo("d", "elderberries", 4, 3000));
    QCOMPARE(store()->info(QStringLiteral("e")), sameText);
    QCOMPARE(store()->info(QStringLiteral("f")), moved);
    QCOMPARE(store()->infosWithTimestamp(86401000).size(), 1);
    QVERIFY(store()->infosWithTimestamp(1000).size() == 1 && store()->infosWithTimestamp(1000).first().id == "e");
    QCOMPARE(store()->count(), 6);
    QCOMPARE(idsOf(store()->infosWithKeyword(QStringLiteral("elderberries"))), QStringList { "d" });
    QCOMPARE(idsOf(store()->infosWithKeyword(QStringLiteral("fig"))), QStringList { "e" });
    QCOMPARE(idsOf(store()->infosWithKeyword(QStringLiteral("cherries"))), QStringList { "a" });
    QVERIFY(store()->infosWithKeyword(QStringLiteral("apples")).isEmpty());
    QCOMPARE(idsOf(store()->infosWithKeyword(QStringLiteral("dates"))), QStringList { "c" });
    RawDb raw(dbPath());
    QVERIFY2(raw.isOpen(), qPrintable(raw.lastError()));
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestReminderStorage::keyword_data()
{
    QTest::addColumn<QString>("keyword");
    QTest::addColumn<QStringList>("expected");

    // Latin text: one, two and three or more characters, any case.
    QTest::newRow("1 char") << QStringLiteral("m") << QStringList { "k4", "k3", "k2", "k1" };
    QTest::newRow("1 char upper") << QStringLiteral("M") << QStringList { "k4", "k3", "k2", "k1" };
    QTest::newRow("1 char none") << QStringLiteral("z") << QStringList {};
    QTest::newRow("2 chars") << QStringLiteral("mi") << QStringList { "k2", "k1" };
    QTest::newRow("2 chars mixed case") << QStringLiteral("Mi") << QStringList { "k2", "k1" };
    QTest::newRow("2 chars across words") << QStringLiteral("l m") << QStringList { "k3" };
    QTest::newRow("3 chars") << QStringLiteral("mil") << QStringList { "k2", "k1" };
    QTest::newRow("word upper") << QStringLiteral("MILK") << QStringList { "k2", "k1" };
    QTest::newRow("word lower of upper text") << QStringLiteral("meeting") << QStringList { "k4" };
    QTest::newRow("longer word") << QStringLiteral("milks") << QStringList { "k2" };
    QTest::newRow("phrase") << QStringLiteral("at NOON") << QStringList { "k4" };
    QTest::newRow("absent word") << QStringLiteral("xyz") << QStringList {};
    QTest::newRow("longer than any text") << QStringLiteral("milkshake recipe plus more") << QStringList {};

    // Chinese text: one, two and three characters.
    QTest::newRow("zh 1 char") << QStringLiteral("会") << QStringList { "c4", "c2", "c1" };
    QTest::newRow("zh 1 char single") << QStringLiteral("奶") << QStringList { "c3" };
    QTest::newRow("zh 2 chars") << QStringLiteral("开会") << QStringList { "c2", "c1" };
    QTest::newRow("zh 2 chars end") << QStringLiteral("预算") << QStringList { "c1" };
    QTest::newRow("zh 3 chars") << QStringLiteral("讨论预") << QStringList { "c1" };
    QTest::newRow("zh 3 chars shared") << QStringLiteral("天开会") << QStringList { "c2", "c1" };
    QTest::newRow("zh 3 chars mixed") << QStringLiteral("纪要 ") << QStringList { "c4" };
    QTest::newRow("zh absent") << QStringLiteral("咖啡店") << QStringList {};
    QTest::newRow("zh absent short") << QStringLiteral("咖") << QStringList {};

    // Accented letters fold case on both paths.
    QTest::newRow("accent 1 char upper") << QStringLiteral("É") << QStringList { "e1" };
    QTest::newRow("accent word upper") << QStringLiteral("ÉCOLE") << QStringList { "e1" };

    // Characters outside the basic plane count as one character each.
    QTest::newRow("emoji 1") << QStringLiteral("🎉") << QStringList { "p1" };
    QTest::newRow("emoji 2") << QStringLiteral("🎉🎉") << QStringList { "p1" };
    QTest::newRow("emoji 3") << QStringLiteral("🎉🎉🎉") << QStringList { "p1" };
    QTest::newRow("emoji 4") << QStringLiteral("🎉🎉🎉🎉") << QStringList {};
}

void TestReminderStorage::keyword()
{
    QFETCH(QString, keyword);
    QFETCH(QStringList, expected);

    const QList<ReminderInfo> corpus {
        makeInfo("k1", "Buy Milk", 1),
        makeInfo("k2", "milkshake recipe", 2),
        makeInfo("k3", "Call mom", 3),
        makeInfo("k4", "MEETING at noon", 4),
        makeInfo("c1", "明天开会讨论预算", 5),
        makeInfo("c2", "今天开会", 6),
        makeInfo("c3", "买牛奶", 7),
        makeInfo("c4", "会议纪要 sync", 8),
        makeInfo("e1", "rentrée à l'école", 9),
        makeInfo("p1", "party 🎉🎉🎉 today", 10),
    };
    QVERIFY(store()->saveAll(corpus));

    // The expectation agrees with a plain case-insensitive contains test.
    QCOMPARE(expected, containingInOrder(corpus, keyword));

    QCOMPARE(idsOf(store()->infosWithKeyword(keyword)), expected);
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestReminderStorage::keywordSyntaxIsLiteral_data()
{
    QTest::addColumn<QString>("keyword");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("quote") << QStringLiteral("\"") << QStringList { "s01" };
    QTest::newRow("two quotes") << QStringLiteral("\"\"") << QStringList { "s01" };
    QTest::newRow("quoted word") << QStringLiteral("\"hello\"") << QStringList { "s01" };
    QTest::newRow("apostrophe") << QStringLiteral("'") << QStringList { "s10", "s02" };
    QTest::newRow("word with apostrophe") << QStringLiteral("o'clock") << QStringList { "s02" };
    QTest::newRow("star") << QStringLiteral("*") << QStringList { "s03" };
    QTest::newRow("prefix star") << QStringLiteral("a*") << QStringList { "s03" };
    QTest::newRow("stars phrase") << QStringLiteral("a* and *b") << QStringList { "s03" };
    QTest::newRow("NEAR group") << QStringLiteral("NEAR(a b)") << QStringList { "s04" };
    QTest::newRow("minus") << QStringLiteral("-x") << QStringList { "s05" };
    QTest::newRow("OR") << QStringLiteral("a OR b") << QStringList { "s06" };
    QTest::newRow("AND") << QStringLiteral("a AND b") << QStringList { "s06" };
    QTest::newRow("AND alone") << QStringLiteral("AND") << QStringList { "s06", "s03" };
    QTest::newRow("NOT") << QStringLiteral("NOT") << QStringList { "s11", "s07" };
    QTest::newRow("caret") << QStringLiteral("^a") << QStringList { "s05" };
    QTest::newRow("column filter") << QStringLiteral("col:val") << QStringList { "s08" };
    QTest::newRow("open paren") << QStringLiteral("(") << QStringList { "s04" };
    QTest::newRow("close paren") << QStringLiteral(")") << QStringList { "s04" };
    QTest::newRow("percent") << QStringLiteral("%") << QStringList { "s09" };
    QTest::newRow("underscore") << QStringLiteral("_") << QStringList { "s09" };
    QTest::newRow("backslash") << QStringLiteral("\\") << QStringList { "s09" };
    QTest::newRow("percent word") << QStringLiteral("0% s") << QStringList { "s09" };
    QTest::newRow("injection") << QStringLiteral("'; DROP TABLE reminder; --") << QStringList { "s10" };
    QTest::newRow("comment dashes") << QStringLiteral("--") << QStringList { "s10" };
    QTest::newRow("unbalanced quote phrase") << QStringLiteral("say \"hel") << QStringList { "s01" };
    QTest::newRow("absent syntax") << QStringLiteral("{}[]") << QStringList {};
}

void TestReminderStorage::keywordSyntaxIsLiteral()
{
    QFETCH(QString, keyword);
    QFETCH(QStringList, expected);

    const QList<ReminderInfo> corpus {
        makeInfo("s01", "say \"hello\" to \"\" me", 1),
        makeInfo("s02", "it's five o'clock", 2),
        makeInfo("s03", "glob a* and *b", 3),
        makeInfo("s04", "NEAR(a b) is a query", 4),
        makeInfo("s05", "value -x here ^a", 5),
        makeInfo("s06", "choose a OR b, or a AND b", 6),
        makeInfo("s07", "NOT this one", 7),
        makeInfo("s08", "col:val pair", 8),
        makeInfo("s09", "100% sure_thing back\\slash", 9),
        makeInfo("s10", "'; DROP TABLE reminder; -- injected", 10),
        makeInfo("s11", "plain words, nothing special", 11),
    };
    QVERIFY(store()->saveAll(corpus));

    QCOMPARE(expected, containingInOrder(corpus, keyword));

    QCOMPARE(idsOf(store()->infosWithKeyword(keyword)), expected);
    QCOMPARE(idsOf(store()->infosWithKeyword(keyword, 1)), expected.mid(0, 1));
    const QStringList errors = storagetest::storageLogLines();
    QVERIFY2(errors.isEmpty(), qPrintable(errors.join('\n')));
    // The table is still there.
    QCOMPARE(store()->count(), corpus.size());
}

void TestReminderStorage::keywordEmptyMatchesAll()
{
    QVERIFY(store()->saveAll({ makeInfo("a", "one", 1), makeInfo("b", "", 3), makeInfo("c", "three", 2) }));
    QCOMPARE(idsOf(store()->infosWithKeyword(QString())), (QStringList { "b", "c", "a" }));
    QCOMPARE(idsOf(store()->infosWithKeyword(QStringLiteral(""))), (QStringList { "b", "c", "a" }));
    QCOMPARE(idsOf(store()->infosWithKeyword(QString(), 2)), (QStringList { "b", "c" }));
}

void TestReminderStorage::keywordWithNulCharacterIsMatchedLiterally_data()
{
    QTest::addColumn<QString>("keyword");
    QTest::addColumn<QStringList>("expected");

    const QChar nul(0);
    QTest::newRow("nul alone") << QString(nul) << QStringList { "n2", "n1" };
    QTest::newRow("nul inside three characters") << (QStringLiteral("b") + nul + QStringLiteral("c"))
                                                 << QStringList { "n1" };
    QTest::newRow("nul inside, other case") << (QStringLiteral("B") + nul + QStringLiteral("CD"))
                                            << QStringList { "n1" };
    QTest::newRow("nul first") << (nul + QStringLiteral("xyz")) << QStringList { "n2" };
    QTest::newRow("nul, absent") << (QStringLiteral("a") + nul + QStringLiteral("z")) << QStringList {};
    QTest::newRow("text after a nul") << QStringLiteral("cdef") << QStringList { "n1" };
}

void TestReminderStorage::keywordWithNulCharacterIsMatchedLiterally()
{
    QFETCH(QString, keyword);
    QFETCH(QStringList, expected);

    // Text from a server message may hold NUL characters, which SQLite
    // neither indexes nor compares past.
    const QChar nul(0);
    const QList<ReminderInfo> corpus {
        makeInfo("n1", QStringLiteral("ab") + nul + QStringLiteral("cdef"), 1),
        makeInfo("n2", QStringLiteral("w") + nul + QStringLiteral("xyz"), 2),
        makeInfo("n3", QStringLiteral("plain words"), 3),
    };
    QVERIFY(store()->saveAll(corpus));

    QCOMPARE(expected, containingInOrder(corpus, keyword));

    QCOMPARE(idsOf(store()->infosWithKeyword(keyword)), expected);
    QCOMPARE(idsOf(store()->infosWithKeyword(keyword, 1)), expected.mid(0, 1));
    const QStringList errors = storagetest::storageLogLines();
    QVERIFY2(errors.isEmpty(), qPrintable(errors.join('\n')));

    // The stored copy of the text holds U+FFFD for each NUL, so that
    // character finds them too; the record's data is untouched.
    QCOMPARE(idsOf(store()->infosWithKeyword(QString(QChar(QChar::ReplacementCharacter)))),
             (QStringList { "n2", "n1" }));
    bool found = false;
    const ReminderInfo stored = store()->info(QStringLiteral("n1"), &found);
    QVERIFY(found);
    QCOMPARE(stored.data, corpus.first().data);
    QCOMPARE(stored.text, QStringLiteral("ab\uFFFDcdef"));
}

void TestReminderStorage::keywordWithNoncharactersIsMatchedExactly_data()
{
    QTest::addColumn<QString>("keyword");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("U+FFFE U+FFFF space") << QStringLiteral("\uFFFE\uFFFF ") << QStringList { "c2" };
    QTest::newRow("U+FFFD U+FFFD space") << QStringLiteral("\uFFFD\uFFFD ") << QStringList { "c1" };
    QTest::newRow("U+FFFF U+FFFE, other case") << QStringLiteral("A\uFFFF\uFFFE") << QStringList { "c3" };
    QTest::newRow("U+FFFF alone") << QStringLiteral("\uFFFF") << QStringList { "c3", "c2" };
    QTest::newRow("U+FFFD, absent") << QStringLiteral("b\uFFFD") << QStringList {};
    QTest::newRow("three words around them") << QStringLiteral(" bc") << QStringList { "c3", "c2", "c1" };
}

void TestReminderStorage::keywordWithNoncharactersIsMatchedExactly()
{
    QFETCH(QString, keyword);
    QFETCH(QStringList, expected);

    // U+FFFE and U+FFFF are noncharacters, yet a text may hold them; the
    // search tells them from U+FFFD and from each other.
    const QList<ReminderInfo> corpus {
        makeInfo("c1", QStringLiteral("a\uFFFD\uFFFD bc"), 1),
        makeInfo("c2", QStringLiteral("a\uFFFE\uFFFF bc"), 2),
        makeInfo("c3", QStringLiteral("a\uFFFF\uFFFE bc"), 3),
    };
    QVERIFY(store()->saveAll(corpus));

    QCOMPARE(expected, containingInOrder(corpus, keyword));

    QCOMPARE(idsOf(store()->infosWithKeyword(keyword)), expected);
    QCOMPARE(store()->idsWithKeyword(keyword), expected);
    const QStringList errors = storagetest::storageLogLines();
    QVERIFY2(errors.isEmpty(), qPrintable(errors.join('\n')));
}

void TestReminderStorage::keywordCaseFoldsAsQtDoesBeyondTheIndex_data()
{
    QTest::addColumn<QString>("keyword");
    QTest::addColumn<QStringList>("expected");

    // Case pairs that SQLite's own folding (used by the trigram index) does
    // not know, in keywords of three or more characters.
    QTest::newRow("Cherokee, other case") << QStringLiteral("ꭰꭱꭲ") << QStringList { "u1" };
    QTest::newRow("Cherokee, mixed case") << QStringLiteral("ꭱᎢ Ⴀ") << QStringList { "u1" };
    QTest::newRow("Georgian, other case") << QStringLiteral("ᲐᲑᲒ") << QStringList { "u2" };
    QTest::newRow("Adlam, other case") << QStringLiteral("𞤢𞤣𞤤") << QStringList { "u3" };
    QTest::newRow("Osage, other case") << QStringLiteral("𐓘𐓙𐓚") << QStringList { "u3" };
    QTest::newRow("Deseret, other case") << QStringLiteral("𐐨𐐩𐐪") << QStringList { "u3" };
    // Pairs both foldings know, through either path.
    QTest::newRow("Greek") << QStringLiteral("σίσυφος") << QStringList { "u4" };
    QTest::newRow("Cyrillic") << QStringLiteral("ПРИВЕТ") << QStringList { "u4" };
    QTest::newRow("ASCII for the Kelvin sign") << QStringLiteral("5 k") << QStringList { "u5" };
    QTest::newRow("ASCII for the long s") << QStringLiteral("a street") << QStringList { "u5" };
    QTest::newRow("caseless letters") << QStringLiteral("开会讨") << QStringList { "u5" };
    QTest::newRow("absent") << QStringLiteral("ꭰꭰꭰ") << QStringList {};
}

void TestReminderStorage::keywordCaseFoldsAsQtDoesBeyondTheIndex()
{
    QFETCH(QString, keyword);
    QFETCH(QStringList, expected);

    const QList<ReminderInfo> corpus {
        makeInfo("u1", QStringLiteral("ᎠᎡᎢ Ⴀ"), 1),
        makeInfo("u2", QStringLiteral("აბგ"), 2),
        makeInfo("u3", QStringLiteral("𞤀𞤁𞤂 𐒰𐒱𐒲 𐐀𐐁𐐂"), 3),
        makeInfo("u4", QStringLiteral("ΣΊΣΥΦΟΣ привет"), 4),
        makeInfo("u5", QStringLiteral("5 \u212A, a ſtreet, 开会讨论"), 5),
    };
    QVERIFY(store()->saveAll(corpus));

    QCOMPARE(expected, containingInOrder(corpus, keyword));

    QCOMPARE(idsOf(store()->infosWithKeyword(keyword)), expected);
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestReminderStorage::keywordLimit_data()
{
    QTest::addColumn<QString>("keyword");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QStringList>("expected");

    const QStringList all { "i9", "i8", "i7", "i6", "i5", "i4", "i3", "i2", "i1", "i0" };
    const QStringList odd { "i9", "i7", "i5", "i3", "i1" };
    QTest::newRow("indexed, no limit") << QStringLiteral("item") << 0 << all;
    QTest::newRow("indexed, limit 3") << QStringLiteral("item") << 3 << all.mid(0, 3);
    QTest::newRow("indexed, limit 1") << QStringLiteral("ITEM") << 1 << all.mid(0, 1);
    QTest::newRow("indexed, limit above count") << QStringLiteral("item") << 50 << all;
    QTest::newRow("indexed, filtered and limited") << QStringLiteral("odd") << 2 << odd.mid(0, 2);
    QTest::newRow("scan, no limit") << QStringLiteral("it") << 0 << all;
    QTest::newRow("scan, limit 4") << QStringLiteral("it") << 4 << all.mid(0, 4);
    QTest::newRow("scan, filtered and limited") << QStringLiteral("od") << 3 << odd.mid(0, 3);
    QTest::newRow("negative limit is no limit") << QStringLiteral("item") << -5 << all;
    QTest::newRow("empty keyword limited") << QString() << 5 << all.mid(0, 5);
}

void TestReminderStorage::keywordLimit()
{
    QFETCH(QString, keyword);
    QFETCH(int, limit);
    QFETCH(QStringList, expected);

    QList<ReminderInfo> infos;
    for (int i = 0; i < 10; ++i) {
        const QString parity = i % 2 ? QStringLiteral("odd") : QStringLiteral("even");
        infos << makeInfo(QStringLiteral("i%1").arg(i), QStringLiteral("item %1 %2").arg(i).arg(parity),
                          100 + i);
    }
    QVERIFY(store()->saveAll(infos));
    QCOMPARE(idsOf(store()->infosWithKeyword(keyword, limit)), expected);
}

void TestReminderStorage::allInfosOrder()
{
    QVERIFY(store()->saveAll({ makeInfo("m", "", 50), makeInfo("z", "", 10), makeInfo("a", "", 90),
                               makeInfo("tie-b", "", 70), makeInfo("tie-a", "", 70),
                               makeInfo("neg", "", -1) }));
    const QList<ReminderInfo> all = store()->allInfos();
    QCOMPARE(idsOf(all), (QStringList { "a", "tie-a", "tie-b", "m", "z", "neg" }));
    for (int i = 1; i < all.size(); ++i)
        QVERIFY(all[i - 1].orderTime >= all[i].orderTime);
}

void TestReminderStorage::infoLookup()
{
    const ReminderInfo stored = makeInfo("x", "some text", 3, 4, true, false);
    QVERIFY(store()->save(stored));
    bool found = false;
    QCOMPARE(store()->info(QStringLiteral("x"), &found), stored);
    QVERIFY(found);
    const ReminderInfo missing = store()->info(QStringLiteral("y"), &found);
    QVERIFY(!found);
    QVERIFY(missing.id.isEmpty());
    // Without the out-parameter.
    QCOMPARE(store()->info(QStringLiteral("x")).text, QStringLiteral("some text"));
}

void TestReminderStorage::reopenedRecordIsIdentical_data()
{
    QTest::addColumn<ReminderInfo>("info");

    ReminderInfo full;
    full.id = QStringLiteral("full-1");
    full.text = QStringLiteral("Ünïcödé text 中文 🎉 with \"quotes\" and 'apostrophes'");
    full.data = QByteArray("\x00\x01\x02\xfe\xff binary \x00 tail", 20);
    full.remindTime = Q_INT64_C(1700000000123);
    full.orderTime = Q_INT64_C(1690000000456);
    full.reminded = true;
    full.completed = true;
    full.unread = true;
    full.extra = QByteArray("\x00extra\x00", 7);
    QTest::newRow("every field set") << full;

    ReminderInfo minimal;
    minimal.id = QStringLiteral("min");
    QTest::newRow("defaults") << minimal;

    ReminderInfo pending = makeInfo("pending", "call back", -5, 99);
    pending.unread = true;
    QTest::newRow("pending, negative order") << pending;

    ReminderInfo large = makeInfo("large", QString(5000, QChar(u'字')), 1, 1);
    large.data = QByteArray(200000, '\x7f');
    QTest::newRow("large") << large;
}

void TestReminderStorage::reopenedRecordIsIdentical()
{
    QFETCH(ReminderInfo, info);
    QVERIFY(store()->save(info));
    reopen();

    const QList<ReminderInfo> all = store()->allInfos();
    QCOMPARE(all.size(), 1);
    QCOMPARE(all.first(), info);
    QVERIFY(all.first() == info);
    QCOMPARE(store()->info(info.id), info);
}

void TestReminderStorage::queryPlansUseIndexes()
{
    QList<ReminderInfo> infos;
    for (int i = 0; i < 200; ++i)
        infos << makeInfo(QStringLiteral("p%1").arg(i), QStringLiteral("plan text %1").arg(i), i, i * 10,
                          i % 3 == 0, i % 5 == 0);
    QVERIFY(store()->saveAll(infos));

    RawDb raw(dbPath());
    QVERIFY2(raw.isOpen(), qPrintable(raw.lastError()));

    auto usesIndex = [](const QStringList& plan) {
        bool index = false;
        for (const QString& step : plan) {
            if (step.startsWith(QLatin1String("SCAN reminder")) && !step.contains(QLatin1String("INDEX")))
                return false;
            if (step.contains(QLatin1String("USING INDEX")) || step.contains(QLatin1String("USING COVERING INDEX")))
                index = true;
        }
        return index;
    };

    bool ok = false;
    const QStringList nearest = raw.queryPlan(storage::sql::kNearestTimestamp, &ok);
    QVERIFY2(ok, qPrintable(raw.lastError()));
    QVERIFY2(usesIndex(nearest), qPrintable(nearest.join('\n')));
    // The partial index of pending rows is the one that fits.
    QVERIFY2(nearest.join('\n').contains(QLatin1String("reminder_pending")), qPrintable(nearest.join('\n')));

    const QStringList byTime = raw.queryPlan(storage::sql::kInfosWithTimestamp, &ok);
    QVERIFY2(ok, qPrintable(raw.lastError()));
    QVERIFY2(usesIndex(byTime), qPrintable(byTime.join('\n')));
    QVERIFY2(byTime.join('\n').contains(QLatin1String("remind_time=?")), qPrintable(byTime.join('\n')));
    const QStringList due = raw.queryPlan(storage::sql::kDueAt, &ok);
    QVERIFY2(ok, qPrintable(raw.lastError()));
    QVERIFY2(usesIndex(due), qPrintable(due.join('\n')));
    QVERIFY2(due.join('\n').contains(QLatin1String("remind_time=?")), qPrintable(due.join('\n')));

    // The long-keyword queries are driven by the full-text index and read
    // the records (or the search side's small rows) by their rowid.
    for (const char* query : {storage::sql::kInfosWithKeywordIndexed, storage::sql::kIdsWithKeywordIndexed}) {
        const QString keywordPlan = raw.queryPlan(query, &ok).join('\n');
        QVERIFY2(ok, qPrintable(raw.lastError()));
        QVERIFY2(keywordPlan.contains(QLatin1String("VIRTUAL TABLE INDEX 0:M")), qPrintable(keywordPlan));
        QVERIFY2(keywordPlan.contains(QLatin1String("INTEGER PRIMARY KEY")), qPrintable(keywordPlan));
    }
    // The short-keyword scan reads the search side's small rows, not the
    // records with their data.
    const QString scanPlan = raw.queryPlan(storage::sql::kIdsWithKeywordScan, &ok).join('\n');
    QVERIFY2(ok, qPrintable(raw.lastError()));
    QVERIFY2(scanPlan.contains(QLatin1String("SCAN reminder_search")), qPrintable(scanPlan));
}

void TestReminderStorage::sqliteErrorsAreReportedAndLogged()
{
    QVERIFY(store()->save(makeInfo("a", "before", 1, 10)));
    {
        RawDb raw(dbPath());
        QVERIFY(raw.exec(QStringLiteral("DROP TABLE reminder_fts; DROP TABLE reminder_search; DROP TABLE reminder")));
    }
    ImLog::instance()->clearRecentLines();

    QVERIFY(!store()->save(makeInfo("b", "after", 2, 20)));
    QVERIFY(!store()->saveAll({ makeInfo("c", "x", 3) }));
    QVERIFY(!store()->remove(QStringLiteral("a")));
    QVERIFY(!store()->remove(QList<QString> { "a" }));
    QVERIFY(!store()->updateExtra(QStringLiteral("a"), "e"));
    QVERIFY(!store()->updateRemindTime(QStringLiteral("a"), 5));
    QCOMPARE(store()->nearestTimestamp(), qint64(0));
    QVERIFY(store()->allInfos().isEmpty());
    QVERIFY(store()->infosWithTimestamp(10).isEmpty());
    QVERIFY(store()->infosWithKeyword(QStringLiteral("before")).isEmpty());
    QVERIFY(store()->infosWithKeyword(QStringLiteral("b")).isEmpty());
    bool found = true;
    store()->info(QStringLiteral("a"), &found);
    QVERIFY(!found);
    QCOMPARE(store()->count(), 0);

    const QStringList lines = storagetest::storageLogLines();
    QVERIFY(lines.size() >= 13);
    for (const QString& line : lines)
        QVERIFY2(line.contains(QLatin1String("no such table")), qPrintable(line));
}

void TestReminderStorage::concurrentUse()
{
    constexpr int kThreads = 4;
    constexpr int kPerThread = 100;
    std::vector<std::thread> threads;
    std::vector<int> failures(kThreads, 0);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &failures] {
            for (int i = 0; i < kPerThread; ++i) {
                const QString id = QStringLiteral("t%1-%2").arg(t).arg(i);
                if (!store()->save(makeInfo(id, QStringLiteral("thread %1 item %2").arg(t).arg(i), i, i + 1)))
                    ++failures[t];
                store()->infosWithKeyword(QStringLiteral("thread"), 5);
                store()->nearestTimestamp();
                if (i % 10 == 0 && !store()->remove(id))
                    ++failures[t];
            }
        });
    }
    for (auto& thread : threads)
        thread.join();

    for (int t = 0; t < kThreads; ++t)
        QCOMPARE(failures[t], 0);
    QCOMPARE(store()->count(), kThreads * (kPerThread - kPerThread / 10));
    QCOMPARE(store()->infosWithKeyword(QStringLiteral("thread 2 item")).size(), kPerThread - kPerThread / 10);
    RawDb raw(dbPath());
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
}

// Writes grouped into one transaction (as the storage worker groups them)
// put their search index work off to the group's end; the index must come
// out exactly as row-by-row writing leaves it, and a lookup in the middle
// of the group must already find the group's rows.
void TestReminderStorage::groupedWritesKeepTheSearchIndexExact_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<bool>("searchDuring");
    QTest::addColumn<bool>("startEmpty");
    for (quint32 seed : { 1u, 2u, 3u })
        QTest::newRow(qPrintable(QStringLiteral("seed %1").arg(seed))) << seed << false << false;
    for (quint32 seed : { 4u, 5u })
        QTest::newRow(qPrintable(QStringLiteral("seed %1, searching during the group").arg(seed)))
            << seed << true << false;
    // A group that fills an empty store takes its records bare, then goes
    // on changing them.
    for (quint32 seed : { 6u, 7u })
        QTest::newRow(qPrintable(QStringLiteral("seed %1, filling an empty store").arg(seed)))
            << seed << false << true;
    QTest::newRow("seed 8, filling an empty store, searching during the group") << 8u << true << true;
}

void TestReminderStorage::groupedWritesKeepTheSearchIndexExact()
{
    QFETCH(quint32, seed);
    QFETCH(bool, searchDuring);
    QFETCH(bool, startEmpty);
    QRandomGenerator random(seed);
    static const char* const words[] = { "Invoice", "dentist", "Zürich", "garden", "report", "买面包", "stand-up" };
    QMap<QString, QString> expected; // id -> text
    int made = 0;
    auto text = [&] {
        QString t;
        for (int n = random.bounded(1, 4); n > 0; --n)
            t += QString::fromUtf8(words[random.bounded(int(std::size(words)))]) + QLatin1Char(' ');
        return t;
    };
    auto anyId = [&] { return expected.keys().at(random.bounded(int(expected.size()))); };
    auto save = [&](const QString& id, const QString& t) {
        QVERIFY(store()->save(makeInfo(id, t, random.bounded(1000), 0)));
        expected.insert(id, t);
    };
    auto check = [&](const char* when) {
        for (const char* word : words) {
            const QString keyword = QString::fromUtf8(word).toUpper();
            const QStringList want = idsContaining(expected, keyword);
            QStringList got = store()->idsWithKeyword(keyword);
            got.sort();
            QVERIFY2(got == want, qPrintable(QStringLiteral("%1, keyword %2: %3 found, %4 expected")
                                                 .arg(QLatin1String(when), keyword)
                                                 .arg(got.size())
                                                 .arg(want.size())));
        }
    };

    if (!startEmpty) {
        for (int i = 0; i < 20; ++i)
            save(QStringLiteral("r%1").arg(++made), text());
    }

    storage::WriteBatch::begin();
    if (startEmpty) {
        for (int i = 0; i < 600; ++i)
            save(QStringLiteral("r%1").arg(++made), text());
    }
    for (int step = 0; step < 400; ++step) {
        const int op = expected.size() < 5 ? 0 : random.bounded(10);
        if (op <= 3) {
            save(QStringLiteral("r%1").arg(++made), text());
        } else if (op <= 5) {
            save(anyId(), text());
        } else if (op == 6) {
            const QString id = anyId();
            save(id, expected.value(id)); // the same text: no index work
        } else if (op == 7) {
            const QString id = anyId();
            QVERIFY(store()->remove(id));
            expected.remove(id);
        } else if (op == 8) {
            QList<ReminderInfo> infos;
            for (int n = 0; n < 3; ++n) {
                const QString id = random.bounded(2) ? anyId() : QStringLiteral("r%1").arg(++made);
                infos << makeInfo(id, text(), random.bounded(1000), 0);
            }
            QVERIFY(store()->saveAll(infos));
            for (const ReminderInfo& info : infos)
                expected.insert(info.id, info.text);
        } else {
            const QList<QString> ids { anyId(), anyId() };
            QVERIFY(store()->remove(ids));
            for (const QString& id : ids)
                expected.remove(id);
        }
        if (searchDuring && step % 50 == 25)
            check("during the group");
    }
    QVERIFY(storage::WriteBatch::commit());
    check("after the commit");
    QCOMPARE(store()->count(), int(expected.size()));

    // The index agrees with the rows it indexes, and survives a reopen.
    {
        RawDb raw(dbPath());
        QVERIFY(raw.isOpen());
        QVERIFY2(raw.exec(QStringLiteral("INSERT INTO reminder_fts(reminder_fts, rank) VALUES ('integrity-check', 1)")),
                 qPrintable(raw.lastError()));
    }
    reopen();
    check("after reopening");
}

namespace {

// Whether the store is taking records bare: its search side's insert
// trigger is missing.
bool storeIsBare(const QString& path)
{
    RawDb raw(path);
    return raw.rows(QStringLiteral("SELECT name FROM sqlite_schema WHERE type = 'trigger'"
                                   " AND name = 'reminder_search_insert'"))
        .isEmpty();
}

QStringList indexesOf(const QString& path)
{
    RawDb raw(path);
    QStringList names = raw.rows(QStringLiteral("SELECT name FROM sqlite_schema WHERE type = 'index'"
                                                " AND name LIKE 'reminder%' AND sql IS NOT NULL"));
    names.sort();
    return names;
}

} // namespace

void TestReminderStorage::manyRecordsIntoAnEmptyStoreAreTakenBare_data()
{
    QTest::addColumn<QString>("builtBy");
    QTest::newRow("the idle worker") << QStringLiteral("idle");
    QTest::newRow("a search") << QStringLiteral("search");
    QTest::newRow("the next open") << QStringLiteral("open");
}

// A device's first listing: one group inserts thousands of records into an
// empty store. The store takes them bare and builds its indexes and search
// side afterwards; in between every query still answers exactly, and
// afterwards the store is as one filled record by record.
void TestReminderStorage::manyRecordsIntoAnEmptyStoreAreTakenBare()
{
    QFETCH(QString, builtBy);
    const QStringList allIndexes = indexesOf(dbPath());
    QCOMPARE(allIndexes.size(), 3);

    QMap<QString, QString> texts;
    QList<ReminderInfo> infos;
    qint64 nearest = 0;
    for (int i = 0; i < 2000; ++i) {
        const QString id = QStringLiteral("9_%1").arg(i);
        const QString text = QStringLiteral("listed %1 %2").arg(i % 7 == 0 ? "Invoice" : "garden").arg(i);
        const qint64 remindTime = 1000000 + (i * 7919) % 50000;
        const bool completed = i % 5 == 0;
        infos << makeInfo(id, text, 5000 - i, remindTime, false, completed);
        texts.insert(id, text);
        if (!completed && (nearest == 0 || remindTime < nearest))
            nearest = remindTime;
    }
    storage::WriteBatch::begin();
    for (const ReminderInfo& info : std::as_const(infos))
        QVERIFY(store()->save(info));
    // In the group: what was written is read back at once.
    QCOMPARE(store()->nearestTimestamp(), nearest);
    QVERIFY(storage::WriteBatch::commit());
    QVERIFY(storeIsBare(dbPath()));
    QCOMPARE(indexesOf(dbPath()), QStringList { "reminder_pending" });

    // Bare, every query by time and order answers as before.
    QCOMPARE(store()->count(), 2000);
    QCOMPARE(store()->nearestTimestamp(), nearest);
    QStringList dueIds;
    for (const ReminderInfo& info : std::as_const(infos)) {
        if (info.remindTime == nearest)
            dueIds << info.id;
    }
    QStringList due = idsOf(store()->infosWithTimestamp(nearest));
    due.sort();
    dueIds.sort();
    QCOMPARE(due, dueIds);
    const QList<ReminderInfo> all = store()->allInfos();
    QCOMPARE(all.size(), 2000);
    QCOMPARE(all.first().id, QStringLiteral("9_0"));
    QCOMPARE(all.last().id, QStringLiteral("9_1999"));

    if (builtBy == QLatin1String("idle")) {
        // Not right after the commit: more of the listing may follow.
        std::chrono::milliseconds retryIn;
        QVERIFY(!storage::WriteBatch::idleStep(&retryIn));
        QVERIFY(retryIn.count() > 0);
        QVERIFY(storeIsBare(dbPath()));
        QTRY_VERIFY((storage::WriteBatch::idleStep(), !storeIsBare(dbPath())));
    } else if (builtBy == QLatin1String("open")) {
        reopen();
        QVERIFY(!storeIsBare(dbPath()));
    }
    // A search builds the search side first, if it is not built yet.
    QStringList found = store()->idsWithKeyword(QStringLiteral("INVOICE"));
    found.sort();
    QCOMPARE(found, idsContaining(texts, QStringLiteral("invoice")));
    QCOMPARE(idsOf(store()->infosWithKeyword(QStringLiteral("garden 1999"))), QStringList { "9_1999" });
    QVERIFY(!storeIsBare(dbPath()));
    QCOMPARE(indexesOf(dbPath()), allIndexes);
    {
        RawDb raw(dbPath());
        QVERIFY2(raw.exec(QStringLiteral("INSERT INTO reminder_fts(reminder_fts, rank) VALUES ('integrity-check', 1)")),
                 qPrintable(raw.lastError()));
        QCOMPARE(raw.rows(QStringLiteral("SELECT count(*) FROM reminder_search")), QStringList { "2000" });
    }

    // From now on the search side follows every write again.
    QVERIFY(store()->save(makeInfo(QStringLiteral("9_5"), QStringLiteral("now a dentist"), 4995)));
    QCOMPARE(store()->idsWithKeyword(QStringLiteral("dentist")), QStringList { "9_5" });
    QVERIFY(store()->remove(QStringLiteral("9_7")));
    QVERIFY(!store()->idsWithKeyword(QStringLiteral("invoice")).contains(QStringLiteral("9_7")));
    const QStringList errors = storagetest::storageLogLines();
    QVERIFY2(errors.isEmpty(), qPrintable(errors.join('\n')));
}

void TestReminderStorage::fewRecordsOrAStoreThatHoldsSomeAreIndexedAtOnce_data()
{
    QTest::addColumn<int>("held");
    QTest::addColumn<int>("inserted");
    QTest::newRow("a hundred into an empty store") << 0 << 100;
    QTest::newRow("thousands into a store that holds one") << 1 << 2000;
}

// Only a group that inserts many records into an empty store goes bare:
// a few new reminders, or a listing into a store that already holds
// reminders, keep every index in step as they are written.
void TestReminderStorage::fewRecordsOrAStoreThatHoldsSomeAreIndexedAtOnce()
{
    QFETCH(int, held);
    QFETCH(int, inserted);
    for (int i = 0; i < held; ++i)
        QVERIFY(store()->save(makeInfo(QStringLiteral("held%1").arg(i), QStringLiteral("kept"), i)));
    storage::WriteBatch::begin();
    for (int i = 0; i < inserted; ++i)
        QVERIFY(store()->save(makeInfo(QStringLiteral("new%1").arg(i), QStringLiteral("new one %1").arg(i), i)));
    QVERIFY(storage::WriteBatch::commit());
    QVERIFY(!storeIsBare(dbPath()));
    QCOMPARE(indexesOf(dbPath()).size(), 3);
    QCOMPARE(store()->idsWithKeyword(QStringLiteral("new one")).size(), inserted);
}

void TestReminderStorage::idleMergingKeepsTheSearchIndexExact_data()
{
    QTest::addColumn<int>("groups");
    QTest::addColumn<bool>("writeBetweenSteps");
    QTest::newRow("a few groups") << 6 << false;
    QTest::newRow("many groups") << 40 << false;
    QTest::newRow("many groups, writes between the steps") << 40 << true;
}

void TestReminderStorage::idleMergingKeepsTheSearchIndexExact()
{
    QFETCH(int, groups);
    QFETCH(bool, writeBetweenSteps);
    static const char* const words[] = { "Invoice", "dentist", "Zürich", "garden", "report", "买面包" };
    QMap<QString, QString> expected; // id -> text
    int made = 0;
    // Each group of writes commits a segment of the search index; none is
    // merged while the writes come in.
    auto group = [&](int n) {
        storage::WriteBatch::begin();
        for (int i = 0; i < n; ++i) {
            const int k = made++;
            const QString id = QStringLiteral("r%1").arg(k % 150);
            const QString text = QStringLiteral("%1 %2 %3")
                                     .arg(QString::fromUtf8(words[k % 6]), QString::fromUtf8(words[(k / 6) % 6]))
                                     .arg(k);
            if (k % 11 == 10) {
                QVERIFY(store()->remove(id));
                expected.remove(id);
            } else {
                QVERIFY(store()->save(makeInfo(id, text, k, 0)));
                expected.insert(id, text);
            }
        }
        QVERIFY(storage::WriteBatch::commit());
    };
    for (int g = 0; g < groups; ++g)
        group(9);

    int steps = 0;
    while (storage::WriteBatch::idleStep()) {
        QVERIFY2(++steps < 10000, "the merging does not end");
        if (writeBetweenSteps && steps % 2 == 1)
            group(5);
    }
    // Four segments on a level are merged: as many groups leave work.
    QVERIFY(steps > 0);
    QVERIFY(!storage::WriteBatch::idleStep());

    for (const char* word : words) {
        const QString keyword = QString::fromUtf8(word).toUpper();
        QStringList got = store()->idsWithKeyword(keyword);
        got.sort();
        QCOMPARE(got, idsContaining(expected, keyword));
    }
    QCOMPARE(store()->count(), int(expected.size()));
    RawDb raw(dbPath());
    QVERIFY2(raw.isOpen(), qPrintable(raw.lastError()));
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
    QVERIFY(storagetest::storageLogLines().isEmpty());
}

void TestReminderStorage::groupedWritesAreSeenAtOnceAndCommittedTogether()
{
    storage::WriteBatch::begin();
    QVERIFY(storage::WriteBatch::isActive());
    QVERIFY(store()->save(makeInfo(QStringLiteral("g1"), QStringLiteral("first of the group"), 1, 500)));
    QVERIFY(store()->updateRemindTime(QStringLiteral("g1"), 700));
    // This connection sees the group's writes; another one does not yet.
    QCOMPARE(store()->count(), 1);
    QCOMPARE(store()->nearestTimestamp(), qint64(700));
    {
        RawDb raw(dbPath());
        QCOMPARE(raw.rows(QStringLiteral("SELECT count(*) FROM reminder")), QStringList { "0" });
    }
    QVERIFY(storage::WriteBatch::commit());
    QVERIFY(!storage::WriteBatch::isActive());
    RawDb raw(dbPath());
    QCOMPARE(raw.rows(QStringLiteral("SELECT id, remind_time FROM reminder")), QStringList { "g1|700" });
    // Outside a group a write is committed when it returns.
    QVERIFY(store()->updateRemindTime(QStringLiteral("g1"), 900));
    QCOMPARE(raw.rows(QStringLiteral("SELECT remind_time FROM reminder")), QStringList { "900" });
}

void TestReminderStorage::writeFromAnotherThreadCommitsTheGroup()
{
    // The grouping thread leaves its group open; a write from this thread
    // returns committed, and takes the group's earlier writes with it.
    QSemaphore grouped;
    QSemaphore written;
    bool committed = false;
    std::thread grouping([&] {
        storage::WriteBatch::begin();
        store()->save(makeInfo(QStringLiteral("worker"), QStringLiteral("written by the group"), 1, 0));
        grouped.release();
        written.acquire();
        committed = storage::WriteBatch::commit();
    });
    grouped.acquire();
    QVERIFY(store()->save(makeInfo(QStringLiteral("other"), QStringLiteral("written from another thread"), 2, 0)));
    {
        RawDb raw(dbPath());
        QCOMPARE(raw.rows(QStringLiteral("SELECT id FROM reminder ORDER BY id")), (QStringList { "other", "worker" }));
    }
    written.release();
    grouping.join();
    QVERIFY(committed);
    QCOMPARE(idsOf(store()->infosWithKeyword(QStringLiteral("written"))), (QStringList { "other", "worker" }));
}


QTEST_GUILESS_MAIN(TestReminderStorage)
#include "tst_reminderstorage.moc"
