// ReminderHandler::search on a real account database (SQLite in a temporary
// directory, the real storage worker, a fixed clock): the time from the
// search(keyword) call to the moment the last result is inserted into the
// search list, for keywords of 1, 2, 3 and 6 characters over 1,000, 10,000
// and 100,000 stored reminders ("--count N" measures one size), against a plain scan of the same table in the
// same run: `SELECT id FROM reminder WHERE text LIKE '%keyword%'` on a
// separate SQLite connection to the account's database file.
//
// Texts are three to eight words drawn from a fixed vocabulary with a
// seeded generator, so every run stores the same reminders. Best of 7 runs
// each; every run is checked: the search list ends with exactly the ids the
// LIKE scan finds (the keywords are lower-case ASCII, for which LIKE and
// the search agree), and nothing arrives after the last result.
#include "accountbase.h"
#include "benchresults.h"
#include "contentcipher.h"
#include "imlog.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "reminderinfo.h"
#include "reminderitem.h"
#include "remindermodel.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include <QCoreApplication>
#include <QDate>
#include <QDateTime>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QList>
#include <QRandomGenerator>
#include <QSet>
#include <QStringList>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QTime>

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>

namespace {

int kRuns = 7;
constexpr qint64 kAccountId = 1001;
constexpr qint64 kDeviceId = 7;
constexpr qint64 kMinute = 60 * 1000;
constexpr quint32 kSeed = 20310602;

qint64 at(int y, int m, int d, int h, int min = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min)).toMSecsSinceEpoch();
}

const qint64 kNow = at(2031, 6, 2, 12);

void fail(const char* what)
{
    std::printf("# FAILED: %s\n", what);
    std::fflush(stdout);
    std::exit(1);
}

// Lets the storage worker finish, then delivers what it posted back.
void settle()
{
    for (int i = 0; i < 3; ++i) {
        if (!ThreadManager::getInstance()->waitForIdle())
            fail("storage worker did not become idle");
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents();
    }
}

// Waits for the search job (the only user of the global thread pool) to
// run out, then delivers what it posted.
void finishSearch()
{
    if (!QThreadPool::globalInstance()->waitForDone(600000))
        fail("search job did not finish");
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

// Words of everyday reminders.
const QStringList& vocabulary()
{
    static const QStringList words = {
        QStringLiteral("buy"),      QStringLiteral("milk"),     QStringLiteral("bread"),   QStringLiteral("call"),
        QStringLiteral("mum"),      QStringLiteral("dad"),      QStringLiteral("about"),   QStringLiteral("the"),
        QStringLiteral("meeting"),  QStringLiteral("with"),     QStringLiteral("team"),    QStringLiteral("send"),
        QStringLiteral("report"),   QStringLiteral("to"),       QStringLiteral("boss"),    QStringLiteral("pay"),
        QStringLiteral("rent"),     QStringLiteral("bill"),     QStringLiteral("book"),    QStringLiteral("dentist"),
        QStringLiteral("appointment"), QStringLiteral("pick"),  QStringLiteral("up"),      QStringLiteral("kids"),
        QStringLiteral("from"),     QStringLiteral("school"),   QStringLiteral("water"),   QStringLiteral("plants"),
        QStringLiteral("train"),    QStringLiteral("ticket"),   QStringLiteral("for"),     QStringLiteral("friday"),
        QStringLiteral("renew"),    QStringLiteral("passport"), QStringLiteral("gym"),     QStringLiteral("at"),
        QStringLiteral("seven"),    QStringLiteral("review"),   QStringLiteral("pull"),    QStringLiteral("request"),
        QStringLiteral("lunch"),    QStringLiteral("and"),      QStringLiteral("coffee"),  QStringLiteral("tea"),
        QStringLiteral("birthday"), QStringLiteral("gift"),     QStringLiteral("museum"),  QStringLiteral("walk"),
        QStringLiteral("dog"),      QStringLiteral("clean"),    QStringLiteral("kitchen"), QStringLiteral("taxes"),
        QStringLiteral("insurance"), QStringLiteral("car"),     QStringLiteral("service"), QStringLiteral("doctor"),
        QStringLiteral("flight"),   QStringLiteral("hotel"),    QStringLiteral("laundry"), QStringLiteral("groceries"),
    };
    return words;
}

// n text reminders, newest order time first, one in seven completed; all
// due in the future.
QList<storage::ReminderInfo> makeRecords(int n)
{
    QRandomGenerator rng(kSeed);
    const QStringList& words = vocabulary();
    QList<storage::ReminderInfo> infos;
    infos.reserve(n);
    for (int i = 0; i < n; ++i) {
        QStringList parts;
        const int length = 3 + int(rng.bounded(6));
        for (int w = 0; w < length; ++w)
            parts << words.at(int(rng.bounded(int(words.size()))));
        ReminderItem item(QStringLiteral("%1_%2").arg(kDeviceId).arg(i + 1));
        item.setText(parts.join(QLatin1Char(' ')));
        const qint64 time = kNow + kMinute * (60 + i % 10000);
        item.setOriginalRemindTime(time);
        item.setShowRemindTime(time);
        item.setRemindTime(time);
        item.setOrderTime(kNow - qint64(i) * 1000);
        if (i % 7 == 3) {
            item.setReminded(true);
            item.setCompleted(true);
        }
        storage::ReminderInfo info;
        if (!item.serialize(info))
            fail("a record did not serialise");
        infos.append(info);
    }
    return infos;
}

// The plain scan: its own connection to the account's database file.
class LikeScan
{
public:
    explicit LikeScan(const QString& path)
    {
        if (sqlite3_open_v2(path.toUtf8().constData(), &m_db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK)
            fail("cannot open the account database");
    }
    ~LikeScan() { sqlite3_close(m_db); }

    // The ids whose text contains the keyword, and the time of the query.
    QSet<QString> run(const QString& keyword, double* ms)
    {
        QSet<QString> ids;
        const QByteArray pattern = QByteArray("%") + keyword.toUtf8() + QByteArray("%");
        QElapsedTimer timer;
        timer.start();
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(m_db, "SELECT id FROM reminder WHERE text LIKE ?", -1, &stmt, nullptr) != SQLITE_OK)
            fail("cannot prepare the LIKE query");
        sqlite3_bind_text(stmt, 1, pattern.constData(), int(pattern.size()), SQLITE_TRANSIENT);
        int rc;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
            ids.insert(QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)),
                                         sqlite3_column_bytes(stmt, 0)));
        }
        sqlite3_finalize(stmt);
        *ms = double(timer.nsecsElapsed()) / 1e6;
        if (rc != SQLITE_DONE)
            fail("the LIKE query failed");
        return ids;
    }

    // The raw trigram index query: the rowids of the rows holding the
    // keyword, read and nothing else (keywords of three or more
    // characters). The least any indexed search has to do.
    int fts(const QString& keyword, double* ms)
    {
        QString literal = keyword;
        literal.replace(QLatin1Char('"'), QLatin1String("\"\""));
        const QByteArray match = "\"" + literal.toUtf8() + "\"";
        QElapsedTimer timer;
        timer.start();
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(m_db, "SELECT rowid FROM reminder_fts WHERE reminder_fts MATCH ?", -1, &stmt,
                               nullptr)
            != SQLITE_OK)
            fail("cannot prepare the FTS5 query");
        sqlite3_bind_text(stmt, 1, match.constData(), int(match.size()), SQLITE_TRANSIENT);
        int rows = 0;
        qint64 sum = 0;
        int rc;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
            sum += sqlite3_column_int64(stmt, 0);
            ++rows;
        }
        sqlite3_finalize(stmt);
        *ms = double(timer.nsecsElapsed()) / 1e6;
        if (rc != SQLITE_DONE || sum < 0)
            fail("the FTS5 query failed");
        return rows;
    }

private:
    sqlite3* m_db = nullptr;
};

QSet<QString> searchIds(ReminderModel* model)
{
    QStringList ids;
    model->allIds(ids);
    return QSet<QString>(ids.cbegin(), ids.cend());
}

// One search: from the call to the insertion of the last of `expected`
// results into the search list.
double searchRun(ReminderHandler* handler, const QString& keyword, const QSet<QString>& expected)
{
    ReminderModel* results = handler->searchModel();
    handler->resetSearch();
    finishSearch();
    if (results->count() != 0)
        fail("search list not empty before a search");

    const int want = int(expected.size());
    if (want == 0)
        fail("a keyword without results");
    qint64 lastInsertNs = -1;
    QElapsedTimer timer;
    QObject receiver;
    QObject::connect(results, &ReminderModel::countChanged, &receiver, [&] {
        if (lastInsertNs < 0 && results->count() == want)
            lastInsertNs = timer.nsecsElapsed();
    });

    timer.start();
    handler->search(keyword);
    while (lastInsertNs < 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);

    // Nothing more comes after the last result, and it is the right set.
    finishSearch();
    if (results->count() != want)
        fail("the search list grew after the last expected result");
    if (searchIds(results) != expected)
        fail("the search found other reminders than the LIKE scan");
    return double(lastInsertNs) / 1e6;
}

struct Figures
{
    double searchMs = std::numeric_limits<double>::max();
    double likeMs = std::numeric_limits<double>::max();
    double ftsMs = std::numeric_limits<double>::max();
    int results = 0;
};

void benchStore(int n, const QStringList& keywords)
{
    QTemporaryDir dir;
    if (!dir.isValid())
        fail("no temporary directory");
    std::unique_ptr<AccountBase> account(
        new AccountBase(kAccountId, kDeviceId, dir.path(), ContentCipher::deriveKey("bench secret")));
    account->setOwnNick(QStringLiteral("Alice"));
    if (!account->storage()->isOpen())
        fail("account database did not open");
    if (!account->storage()->reminderStorage()->saveAll(makeRecords(n)))
        fail("saveAll failed");
    if (account->storage()->reminderStorage()->count() != n)
        fail("wrong number of stored records");

    auto* handler = new ReminderHandler(account.get());
    handler->loadLocalData(false);
    settle();
    if (handler->reminderModel()->count() != n)
        fail("load: wrong number of reminders in the list");

    LikeScan like(storage::UserStorageProvider::databasePath(dir.path(), kAccountId));
    for (const QString& keyword : keywords) {
        Figures f;
        QSet<QString> expected;
        double probeMs = 0;
        if (like.run(keyword, &probeMs).isEmpty()) {
            // The rare keyword may find nothing among the fewest reminders.
            std::printf("# %d reminders, keyword \"%s\": no reminder holds it, not measured\n", n,
                        qPrintable(keyword));
            continue;
        }
        for (int run = 0; run < kRuns; ++run) {
            double likeMs = 0;
            const QSet<QString> ids = like.run(keyword, &likeMs);
            if (run > 0 && ids != expected)
                fail("the LIKE scan changed between runs");
            expected = ids;
            f.likeMs = std::min(f.likeMs, likeMs);
            if (keyword.size() >= 3) {
                double ftsMs = 0;
                if (like.fts(keyword, &ftsMs) != int(ids.size()))
                    fail("the FTS5 query found another number of rows than the LIKE scan");
                f.ftsMs = std::min(f.ftsMs, ftsMs);
            }
            f.searchMs = std::min(f.searchMs, searchRun(handler, keyword, expected));
        }
        f.results = int(expected.size());
        const int len = int(keyword.size());
        std::printf("# %d reminders, keyword \"%s\" (%d chars): %d results (%.1f%%)\n", n,
                    qPrintable(keyword), len, f.results, 100.0 * f.results / n);
        std::printf("BENCH search.%d.%dchars %.2f ms\n", n, len, f.searchMs);
        std::printf("BENCH like.%d.%dchars %.2f ms\n", n, len, f.likeMs);
        std::printf("BENCH ratio.%d.%dchars %.2f x\n", n, len, f.searchMs / f.likeMs);
        benchresults::result(qPrintable(QStringLiteral("search.%1chars").arg(len)), n, f.searchMs, "ms",
                             benchresults::Lower, qPrintable(QStringLiteral("like.%1chars").arg(len)), f.likeMs);
        if (len >= 3) {
            std::printf("BENCH fts5.%d.%dchars %.2f ms\n", n, len, f.ftsMs);
            std::printf("BENCH ratio.fts5.%d.%dchars %.2f x\n", n, len, f.searchMs / f.ftsMs);
            benchresults::result(qPrintable(QStringLiteral("search.%1chars").arg(len)), n, f.searchMs, "ms",
                                 benchresults::Lower, qPrintable(QStringLiteral("fts5.%1chars").arg(len)), f.ftsMs);
        }
        std::fflush(stdout);
    }

    handler->resetSearch();
    delete handler;
    settle();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchresults::init(argc, argv);
    ImLog::instance()->setEchoToStderr(false);
    // "--count N" measures that count alone, "--runs K" takes the best of
    // K runs (for profiling one size).
    QList<int> counts = {1000, 10000, 100000};
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--count") == 0)
            counts = {QByteArray(argv[i + 1]).toInt()};
        else if (qstrcmp(argv[i], "--runs") == 0)
            kRuns = std::max(1, QByteArray(argv[i + 1]).toInt());
    }
    network::NetworkSubject::instance()->setFixedTime(kNow);

    std::printf("# ReminderHandler::search, from the call to the last result inserted into the search list,\n");
    std::printf("#   on a real SQLite database (WAL); best of %d runs each\n", kRuns);
    std::printf("# like: SELECT id FROM reminder WHERE text LIKE '%%keyword%%' on a second connection to the\n");
    std::printf("#   same file, ids read, nothing else (best of %d); ratio: search / like\n", kRuns);
    std::printf("# texts: 3 to 8 words from a %d-word vocabulary, seeded; 1 in 7 completed\n",
                int(vocabulary().size()));
    std::printf("# the search reads the matching ids (keywords of 3+ characters through the trigram index,\n");
    std::printf("#   shorter ones by scanning the search side), finds their items in the main list and posts\n");
    std::printf("#   them to the search list in chunks\n");
    std::fflush(stdout);

    // 1, 2, 3 and 6 characters, and two words side by side that few
    // reminders hold (about 0.2%).
    const QStringList keywords = {QStringLiteral("k"), QStringLiteral("mu"), QStringLiteral("tea"),
                                  QStringLiteral("ticket"), QStringLiteral("dog dentist")};
    for (int n : counts)
        benchStore(n, keywords);

    network::NetworkSubject::instance()->releaseFixedTime();
    return 0;
}
