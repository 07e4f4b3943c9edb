// A device's first listing against loading from its own store.
//
// 1,000, 10,000 and 100,000 reminders are put on the reference reminder
// server by another device of the account (as messages that device
// serialised and encrypted). Then, best of 3 runs (2 at 100,000: the
// first of a process runs on memory it has yet to touch), each on
// a fresh data directory:
//
// 1. list: a handler that has no reminders (loaded from an empty store, its
//    first listing not finished) gets every reminder of the server's listing
//    through listAndNotif, timed from the first call until the storage worker
//    has written every record; list.searchable goes on until a search of
//    the store has answered (a store filled from empty builds its indexes
//    and search side after the records, when the worker is idle: the
//    search waits for that or builds them itself);
// 2. loadLocal: a second handler, on a new account object over the store the
//    listing filled, runs loadLocalData, timed until the storage worker is
//    idle again.
//
// Between the two, the store the listing filled is opened again after its
// clean close (open.clean: only the file's header is checked), and a copy
// of its files taken while it was open, as a killed process leaves them, is
// opened (open.unclean: every page is read). "--count N" runs one size.
// list.growth.10000_100000: the listing's time per reminder at 100,000
// over that at 10,000.
//
// Both are checked: the listing gives every reminder in the list and in the
// store, with their decrypted texts; the load gives the same reminders. The
// load is the listing's baseline (floor) in the report.
#include "accountbase.h"
#include "benchresults.h"
#include "contentcipher.h"
#include "imlog.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "reminderinfo.h"
#include "reminderitem.h"
#include "remindermodel.h"
#include "reminderserver.h"
#include "reminderserversession.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include "im/content/reminder.pb.h"

#include <QCoreApplication>
#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QMap>
#include <QPair>
#include <QTemporaryDir>
#include <QTime>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>

namespace {

constexpr int kRuns = 3;
constexpr qint64 kAccountId = 1001;
constexpr qint64 kWriterDevice = 1;
constexpr qint64 kListingDevice = 2;
constexpr qint64 kMinute = 60 * 1000;
constexpr qint64 kHour = 60 * kMinute;
constexpr qint64 kDay = 24 * kHour;
const QByteArray kSecret = QByteArrayLiteral("bench secret");

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

void settle()
{
    for (int i = 0; i < 3; ++i) {
        if (!ThreadManager::getInstance()->waitForIdle())
            fail("storage worker did not become idle");
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents();
    }
}

std::unique_ptr<AccountBase> openAccount(qint64 deviceId, const QString& dir)
{
    std::unique_ptr<AccountBase> account(
        new AccountBase(kAccountId, deviceId, dir, ContentCipher::deriveKey(kSecret)));
    account->setOwnNick(QStringLiteral("Alice"));
    if (!account->storage()->isOpen())
        fail("account database did not open");
    return account;
}

QString textOf(int i)
{
    return QStringLiteral("Reminder %1: call the office about the quarterly report").arg(i);
}

// The writer device's message for reminder i: 10 % completed, 10 % daily at
// 09:00, the rest one-off in the future over a year; nothing is due.
QByteArray messageOf(int i, AccountBase* writer)
{
    ReminderItem item(QStringLiteral("%1_%2").arg(kWriterDevice).arg(i + 1));
    item.setText(textOf(i));
    const int kind = i % 10;
    qint64 t = kNow + kHour + (qint64(i) * 7919 % (365 * 24 * 60)) * kMinute;
    if (kind == 1)
        t = at(2031, 6, 3, 9);
    item.setOriginalRemindTime(t);
    item.setShowRemindTime(t);
    item.setRemindTime(t);
    item.setOrderTime(kNow - kMinute - qint64(i) * 997);
    if (kind == 0) {
        item.setReminded(true);
        item.setCompleted(true);
    } else if (kind == 1) {
        item.setValidTime(t);
        item.setUnit(0);
        item.setInterval(1);
    }
    im::content::Reminder msg;
    if (!item.serialize(msg, writer, false))
        fail("a message did not serialise");
    return QByteArray::fromStdString(msg.SerializeAsString());
}

// Runs the event loop until `done` holds; a hang ends the benchmark.
template <typename Pred>
void waitUntil(Pred done, const char* what)
{
    QElapsedTimer guard;
    guard.start();
    while (!done()) {
        if (guard.elapsed() > 10 * 60 * 1000)
            fail(what);
        QEventLoop loop;
        QTimer::singleShot(10, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

using Listing = QList<QPair<QString, QByteArray>>;

// Puts `count` reminders on a server (its file in `serverDir`) from the
// writer device, then lists them for the listing device.
Listing serverListing(const QString& serverDir, const QString& writerDir, int count)
{
    ReminderServer server(serverDir + QStringLiteral("/server.db"));
    if (!server.isDatabaseOpen())
        fail("server database did not open");
    std::unique_ptr<AccountBase> writer = openAccount(kWriterDevice, writerDir);

    ReminderServerSession writerSession(&server, kAccountId, kWriterDevice);
    int accepted = 0;
    int answers = 0;
    QObject::connect(&writerSession, &ReminderServerSession::syncFinished,
                     [&](const QString&, const QByteArray&, int code) {
                         ++answers;
                         accepted += code == ReminderServer::CodeAccepted ? 1 : 0;
                     });
    for (int i = 0; i < count; ++i)
        writerSession.sendUpdate(QStringLiteral("%1_%2").arg(kWriterDevice).arg(i + 1), messageOf(i, writer.get()));
    waitUntil([&] { return answers == count; }, "the server did not answer every update");
    if (accepted != count)
        fail("the server did not accept every update");

    ReminderServerSession listingSession(&server, kAccountId, kListingDevice);
    Listing listing;
    bool finished = false;
    QObject::connect(&listingSession, &ReminderServerSession::listed,
                     [&](const QString& id, const QByteArray& data) { listing.append({ id, data }); });
    QObject::connect(&listingSession, &ReminderServerSession::listFinished, [&] { finished = true; });
    listingSession.requestList();
    waitUntil([&] { return finished; }, "the listing did not finish");
    if (int(listing.size()) != count)
        fail("the listing does not have every reminder");
    settle();
    return listing;
}

struct RunFigures
{
    double listMs = 0;
    double searchableMs = 0;
    double loadMs = 0;
    double openCleanMs = 0;
    double openUncleanMs = 0;
};

// Copies the account's database files as they lie while it is open: what a
// process killed at that moment leaves behind.
void copyOpenDatabase(const QString& fromDir, const QString& toDir)
{
    const QString from = storage::UserStorageProvider::databasePath(fromDir, kAccountId);
    const QString to = storage::UserStorageProvider::databasePath(toDir, kAccountId);
    QDir().mkpath(QFileInfo(to).absolutePath());
    for (const char* suffix : { "", "-wal", "-shm", "-open" }) {
        if (QFileInfo::exists(from + QLatin1String(suffix)) && !QFile::copy(from + QLatin1String(suffix), to + QLatin1String(suffix)))
            fail("cannot copy the open database");
    }
}

// Opening the account's store: after a clean close (nothing but the
// header is checked) and after an unclean one (every page is read).
void measureOpen(const QString& dir, RunFigures* figures)
{
    {
        QElapsedTimer timer;
        timer.start();
        std::unique_ptr<AccountBase> account = openAccount(kListingDevice, dir);
        figures->openCleanMs = double(timer.nsecsElapsed()) / 1e6;
        if (account->storage()->fullyChecked())
            fail("open: a cleanly closed store was read whole");

        QTemporaryDir killedDir;
        if (!killedDir.isValid())
            fail("no temporary directory");
        copyOpenDatabase(dir, killedDir.path());
        account.reset();
        timer.restart();
        std::unique_ptr<AccountBase> reopened = openAccount(kListingDevice, killedDir.path());
        figures->openUncleanMs = double(timer.nsecsElapsed()) / 1e6;
        if (!reopened->storage()->fullyChecked())
            fail("open: a store left open was not read whole");
        if (!reopened->storage()->movedAsidePath().isEmpty())
            fail("open: a healthy store left open was moved aside");
    }
    settle();
}

RunFigures run(const Listing& listing)
{
    const int count = int(listing.size());
    QTemporaryDir dir;
    if (!dir.isValid())
        fail("no temporary directory");
    RunFigures figures;

    // 1. The first listing into a handler that has nothing.
    {
        std::unique_ptr<AccountBase> account = openAccount(kListingDevice, dir.path());
        auto* handler = new ReminderHandler(account.get());
        handler->loadLocalData(false);
        settle();
        if (handler->reminderModel()->count() != 0)
            fail("list: the store was not empty");

        QElapsedTimer timer;
        timer.start();
        for (const auto& entry : listing)
            handler->listAndNotif(entry.first, entry.second);
        if (!ThreadManager::getInstance()->waitForIdle())
            fail("storage worker did not become idle");
        figures.listMs = double(timer.nsecsElapsed()) / 1e6;
        // A store filled from empty builds its indexes and search side once
        // the records are written, while the worker is idle; a search waits
        // for them (or builds them itself).
        if (!account->storage()->reminderStorage()->idsWithKeyword(QStringLiteral("no such words")).isEmpty())
            fail("list: a keyword found what no text holds");
        figures.searchableMs = double(timer.nsecsElapsed()) / 1e6;
        settle();

        if (handler->reminderModel()->count() != count)
            fail("list: wrong number of reminders in the list");
        if (account->storage()->reminderStorage()->count() != count)
            fail("list: wrong number of stored records");
        for (int i : { 0, 1, count / 2, count - 1 }) {
            const QString id = QStringLiteral("%1_%2").arg(kWriterDevice).arg(i + 1);
            const ReminderItemPtr item = handler->reminderModel()->itemById(id);
            if (!item || item->text() != textOf(i))
                fail("list: a reminder's text did not arrive");
            bool found = false;
            const storage::ReminderInfo info = account->storage()->reminderStorage()->info(id, &found);
            if (!found || ReminderItem(info, account.get()).text() != textOf(i))
                fail("list: a reminder's text was not stored");
        }
        if (handler->reminderModel()->completedCount() != count / 10)
            fail("list: wrong number of completed reminders");
        delete handler;
        settle();
    }

    // The store the listing filled, opened again.
    measureOpen(dir.path(), &figures);

    // 2. The same reminders loaded from the store the listing filled.
    {
        std::unique_ptr<AccountBase> account = openAccount(kListingDevice, dir.path());
        auto* handler = new ReminderHandler(account.get());
        QElapsedTimer timer;
        timer.start();
        handler->loadLocalData(false);
        if (!ThreadManager::getInstance()->waitForIdle())
            fail("storage worker did not become idle");
        figures.loadMs = double(timer.nsecsElapsed()) / 1e6;
        settle();
        if (handler->reminderModel()->count() != count)
            fail("load: wrong number of reminders in the list");
        if (handler->reminderModel()->completedCount() != count / 10)
            fail("load: wrong number of completed reminders");
        delete handler;
        settle();
    }
    return figures;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchresults::init(argc, argv);
    ImLog::instance()->setEchoToStderr(false);
    network::NetworkSubject::instance()->setFixedTime(kNow);
    ReminderHandler::registerMetaType("unused");

    std::printf("# A device's first listing of n reminders against loading them from its store, best of %d\n",
                kRuns);
    std::printf("#   (2 runs at 100,000)\n");
    std::printf("# list: listAndNotif for every reminder of the server's listing into a handler that has none,\n");
    std::printf("#   until the storage worker has written every record (decrypting, building, storing)\n");
    std::printf("# loadLocal: loadLocalData of a second handler on the store the listing filled, until the\n");
    std::printf("#   storage worker is idle\n");
    std::printf("# reminders: text; 10%% completed, 10%% daily at 09:00, the rest one-off in the future\n");
    std::printf("# open.clean: opening the account's store after the listing closed it cleanly;\n");
    std::printf("#   open.unclean: opening a copy of its files taken while it was open (as a kill leaves them)\n");
    std::fflush(stdout);

    // "--count N" measures that count alone (for profiling one size).
    QList<int> counts = { 1000, 10000, 100000 };
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--count") == 0)
            counts = { QByteArray(argv[i + 1]).toInt() };
    }
    // The listing's time per reminder at each size, for its growth.
    QMap<int, double> listPerReminder;
    for (int count : std::as_const(counts)) {
        // The server only prepares the listing; its file may live in memory.
        QTemporaryDir setupDir(QFileInfo(QStringLiteral("/dev/shm")).isWritable()
                                   ? QStringLiteral("/dev/shm/bench_sync-XXXXXX")
                                   : QDir::tempPath() + QStringLiteral("/bench_sync-XXXXXX"));
        if (!setupDir.isValid())
            fail("no temporary directory for the server");
        QDir(setupDir.path()).mkpath(QStringLiteral("writer"));
        const Listing listing =
            serverListing(setupDir.path(), setupDir.filePath(QStringLiteral("writer")), count);
        std::printf("# %d: the server's listing is ready\n", count);
        std::fflush(stdout);

        const int runs = count >= 100000 ? 2 : kRuns;
        double bestList = std::numeric_limits<double>::max();
        double bestSearchable = std::numeric_limits<double>::max();
        double bestLoad = std::numeric_limits<double>::max();
        double bestOpenClean = std::numeric_limits<double>::max();
        double bestOpenUnclean = std::numeric_limits<double>::max();
        for (int r = 0; r < runs; ++r) {
            const RunFigures f = run(listing);
            std::printf("#   %d, run %d: list %.2f ms (searchable %.2f ms), loadLocal %.2f ms\n", count, r + 1,
                        f.listMs, f.searchableMs, f.loadMs);
            std::fflush(stdout);
            bestList = std::min(bestList, f.listMs);
            bestSearchable = std::min(bestSearchable, f.searchableMs);
            bestLoad = std::min(bestLoad, f.loadMs);
            bestOpenClean = std::min(bestOpenClean, f.openCleanMs);
            bestOpenUnclean = std::min(bestOpenUnclean, f.openUncleanMs);
        }
        std::printf("BENCH sync.list.%d %.2f ms\n", count, bestList);
        std::printf("BENCH sync.loadLocal.%d %.2f ms\n", count, bestLoad);
        std::printf("BENCH sync.list.ratio.%d %.2f x\n", count, bestList / bestLoad);
        std::printf("BENCH sync.list.searchable.%d %.2f ms\n", count, bestSearchable);
        std::printf("BENCH sync.list.searchable.ratio.%d %.2f x\n", count, bestSearchable / bestLoad);
        std::printf("BENCH sync.open.clean.%d %.2f ms\n", count, bestOpenClean);
        std::printf("BENCH sync.open.unclean.%d %.2f ms\n", count, bestOpenUnclean);
        std::printf("#   %d: list %.2f us/reminder, loadLocal %.2f us/reminder\n", count, bestList * 1000 / count,
                    bestLoad * 1000 / count);
        listPerReminder.insert(count, bestList / count);
        if (count == 100000 && listPerReminder.contains(10000)) {
            std::printf("BENCH sync.list.growth.10000_100000 %.2f x\n",
                        listPerReminder.value(100000) / listPerReminder.value(10000));
        }
        std::printf("# checked every run: %d reminders listed and stored with their texts, %d loaded back\n",
                    count, count);
        std::fflush(stdout);
        benchresults::result("sync.list", count, bestList, "ms", benchresults::Lower, "sync.loadLocal", bestLoad);
        benchresults::result("sync.list.searchable", count, bestSearchable, "ms", benchresults::Lower,
                             "sync.loadLocal", bestLoad);
        benchresults::result("sync.open.clean", count, bestOpenClean, "ms", benchresults::Lower);
        benchresults::result("sync.open.unclean", count, bestOpenUnclean, "ms", benchresults::Lower);
    }
    network::NetworkSubject::instance()->releaseFixedTime();
    return 0;
}
