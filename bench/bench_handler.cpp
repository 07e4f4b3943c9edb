// ReminderHandler on a real account database (SQLite in a temporary
// directory, the real storage worker, a fixed clock):
//
// 1. loadLocalData of 1,000, 10,000 and 100,000 stored text reminders,
//    against a floor measured in the same run: reading the same rows with
//    ReminderStorage::allInfos() and parsing each record's data into an
//    im::content::Reminder and its content into an
//    im::content::ReminderContent, nothing else. Both start from a heap
//    given back to the system, so both pay for the memory they take. Best
//    of 3 runs each; the resident memory growth per reminder of a load is
//    reported too. "--load N" runs this part alone, for N reminders.
// 2. One onTimeOut pass with 1,000, 10,000 and 100,000 reminders due at the
//    same instant: the time of the call on the handler's thread, and the
//    time until the storage worker has written every change; floor: writing
//    the records the pass changed again, with ReminderStorage::saveAll in one
//    transaction on the same database. Best of 3 runs (one at 100,000),
//    each on a fresh database; every run is checked.
#include "accountbase.h"
#include "accountmanager.h"
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

#include "im/content/reminder.pb.h"

#include <QCoreApplication>
#include <QDate>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QList>
#include <QStringList>
#include <QTemporaryDir>
#include <QTime>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cstdlib>
#include <limits>
#include <memory>

// The handler's private operations, for the benchmark.
class ReminderHandlerProbe
{
public:
    explicit ReminderHandlerProbe(ReminderHandler* h) : h(h) {}
    void onTimeOut() { h->onTimeOut(); }
    qint64 nearest() const { return h->m_nearestTimestamp; }

    ReminderHandler* h;
};

namespace {

constexpr int kRuns = 3;
constexpr qint64 kAccountId = 1001;
constexpr qint64 kDeviceId = 7;
constexpr qint64 kMinute = 60 * 1000;
constexpr qint64 kHour = 60 * kMinute;
constexpr qint64 kDay = 24 * kHour;

qint64 at(int y, int m, int d, int h, int min = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min)).toMSecsSinceEpoch();
}

// "Now" of the load benchmark.
const qint64 kNow = at(2031, 6, 2, 12);

void fail(const char* what)
{
    std::printf("# FAILED: %s\n", what);
    std::fflush(stdout);
    std::exit(1);
}

void setNow(qint64 t)
{
    network::NetworkSubject::instance()->setFixedTime(t);
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

// VmRSS of this process in bytes.
qint64 residentBytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        fail("cannot read /proc/self/status");
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("VmRSS:")) {
            const QList<QByteArray> parts = line.simplified().split(' ');
            if (parts.size() >= 2)
                return parts.at(1).toLongLong() * 1024; // the kernel reports kB
        }
    }
    fail("no VmRSS line in /proc/self/status");
    return 0;
}

std::unique_ptr<AccountBase> openAccount(const QString& dir)
{
    std::unique_ptr<AccountBase> account(
        new AccountBase(kAccountId, kDeviceId, dir, ContentCipher::deriveKey("bench secret")));
    account->setOwnNick(QStringLiteral("Alice"));
    if (!account->storage()->isOpen())
        fail("account database did not open");
    return account;
}

// A text reminder whose first, shown and current remind time is `time`.
void initItem(ReminderItem& item, int i, qint64 time, qint64 orderTime)
{
    item.setText(QStringLiteral("Reminder %1: call the office about the quarterly report").arg(i));
    item.setOriginalRemindTime(time);
    item.setShowRemindTime(time);
    item.setRemindTime(time);
    item.setOrderTime(orderTime);
}

struct StoredSet
{
    QList<storage::ReminderInfo> infos;
    int overdue = 0;  // open, shown time in the past: what the load counts
    int snoozed = 0;  // overdue and in a snooze cycle: notified at load
};

// n records, one in a hundred of each kind as noted; ids "<device>_<i>",
// distinct order times, newest first. Chosen so that a load moves no
// remind time and so writes nothing back: every run sees the same records.
StoredSet makeRecords(int n)
{
    StoredSet set;
    set.infos.reserve(n);
    const qint64 newestOrder = kNow - kMinute;
    for (int i = 0; i < n; ++i) {
        ReminderItem item(QStringLiteral("%1_%2").arg(kDeviceId).arg(i + 1));
        const qint64 order = newestOrder - qint64(i) * 997;
        const int kind = i % 100;
        if (kind < 10) {
            // 10 %: completed, in the past.
            const qint64 t = kNow - kHour - qint64(i % 500) * kDay / 7;
            initItem(item, i, t, order);
            item.setReminded(true);
            item.setCompleted(true);
        } else if (kind < 20) {
            // 10 %: one-off that fired in the past and is still open (overdue).
            const qint64 t = kNow - kHour - qint64(i % 300) * kHour;
            initItem(item, i, t, order);
            item.setReminded(true);
            ++set.overdue;
        } else if (kind < 30) {
            // 10 %: daily at 09:00 since ten days ago; next occurrence tomorrow.
            initItem(item, i, at(2031, 5, 23, 9), order);
            const qint64 next = at(2031, 6, 3, 9);
            item.setShowRemindTime(next);
            item.setRemindTime(next);
            item.setValidTime(next);
            item.setUnit(0);
            item.setInterval(1);
        } else if (kind == 30) {
            // 1 %: snoozed every 10 minutes; shown 5 minutes ago, next step
            // in 5 minutes.
            const qint64 shown = kNow - 5 * kMinute;
            initItem(item, i, shown, order);
            item.setSnooze(10);
            item.setValidTime(shown);
            item.setRemindTime(shown + 10 * kMinute);
            ++set.overdue;
            ++set.snoozed;
        } else {
            // 69 %: one-off in the future, spread over a year.
            const qint64 t = kNow + kHour + (qint64(i) * 7919 % (365 * 24 * 60)) * kMinute;
            initItem(item, i, t, order);
        }
        storage::ReminderInfo info;
        if (!item.serialize(info))
            fail("a record did not serialise");
        set.infos.append(info);
    }
    return set;
}

// ---------------------------------------------------------------- load

struct LoadFigures
{
    double loadMs = std::numeric_limits<double>::max();
    double floorMs = std::numeric_limits<double>::max();
    QList<double> memoryPerItem; // bytes per reminder, one per run
    QList<double> trimmedPerItem;
};

// The floor: the rows as the store gives them, each record's data parsed
// into the reminder message and its content into the content message.
double floorRun(const QString& dir, int n)
{
    std::unique_ptr<AccountBase> account = openAccount(dir);
    storage::ReminderStorage* store = account->storage()->reminderStorage();
    // From a trimmed heap, as the load starts: both take their memory from
    // the system, not from what an earlier step freed.
    malloc_trim(0);
    QElapsedTimer timer;
    timer.start();
    const QList<storage::ReminderInfo> infos = store->allInfos();
    qint64 sink = 0;
    for (const storage::ReminderInfo& info : infos) {
        im::content::Reminder reminder;
        if (!reminder.ParseFromArray(info.data.constData(), int(info.data.size())))
            fail("floor: a record did not parse");
        im::content::ReminderContent content;
        const std::string& plain = reminder.content();
        if (!content.ParseFromArray(plain.data(), int(plain.size())))
            fail("floor: a record's content did not parse");
        sink += reminder.order_time() + content.content_size();
    }
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    if (infos.size() != n || sink == 0)
        fail("floor: wrong number of records read");
    return ms;
}

// One load into a fresh handler; returns the time of loadLocalData.
double loadRun(const QString& dir, int n, const StoredSet& set, double* bytesPerItem, double* trimmedPerItem)
{
    std::unique_ptr<AccountBase> account = openAccount(dir);
    int notifiedRecords = 0;
    QObject receiver;
    QObject::connect(AccountManager::getInstance(), &AccountManager::newMessageNotified, &receiver,
                     [&notifiedRecords](const QVariantList& records) { notifiedRecords += int(records.size()); });
    settle();
    malloc_trim(0); // what earlier runs freed goes back first
    const qint64 before = residentBytes();

    auto* handler = new ReminderHandler(account.get());
    QElapsedTimer timer;
    timer.start();
    handler->loadLocalData(false);
    const double ms = double(timer.nsecsElapsed()) / 1e6;

    if (!ThreadManager::getInstance()->waitForIdle())
        fail("storage worker did not become idle");
    const qint64 after = residentBytes();
    malloc_trim(0);
    const qint64 afterTrim = residentBytes();
    *bytesPerItem = double(after - before) / n;
    *trimmedPerItem = double(afterTrim - before) / n;

    settle(); // delivers the notification of the snoozed reminders
    if (handler->reminderModel()->count() != n)
        fail("load: wrong number of reminders in the list");
    if (handler->uncompleteOverdueCount() != set.overdue)
        fail("load: wrong overdue count");
    if (notifiedRecords != set.snoozed)
        fail("load: wrong number of notified reminders");

    delete handler; // releasing the reminders is not measured
    settle();
    account.reset();
    return ms;
}

LoadFigures benchLoad(int n)
{
    QTemporaryDir dir;
    if (!dir.isValid())
        fail("no temporary directory");
    const StoredSet set = makeRecords(n);
    {
        std::unique_ptr<AccountBase> account = openAccount(dir.path());
        if (!account->storage()->reminderStorage()->saveAll(set.infos))
            fail("saveAll failed");
        if (account->storage()->reminderStorage()->count() != n)
            fail("wrong number of stored records");
        settle();
    }

    LoadFigures figures;
    for (int run = 0; run < kRuns; ++run) {
        figures.floorMs = std::min(figures.floorMs, floorRun(dir.path(), n));
        double perItem = 0;
        double trimmed = 0;
        figures.loadMs = std::min(figures.loadMs, loadRun(dir.path(), n, set, &perItem, &trimmed));
        figures.memoryPerItem.append(perItem);
        figures.trimmedPerItem.append(trimmed);
    }

    // The loads wrote nothing back: the stored remind times are unchanged.
    {
        std::unique_ptr<AccountBase> account = openAccount(dir.path());
        const QList<storage::ReminderInfo> now = account->storage()->reminderStorage()->allInfos();
        if (now.size() != n)
            fail("records lost");
        QHash<QString, qint64> stored;
        stored.reserve(n);
        for (const storage::ReminderInfo& info : set.infos)
            stored.insert(info.id, info.remindTime);
        for (const storage::ReminderInfo& info : now) {
            if (stored.value(info.id, -1) != info.remindTime)
                fail("a load changed a stored remind time");
        }
    }
    return figures;
}

// ---------------------------------------------------------- removed ids

// loadLocalData of `n` reminders whose store also remembers `removed` ids
// as removed (each counts for the sequence of new ids), best of kRuns.
double loadWithRemoved(int n, int removed)
{
    QTemporaryDir dir;
    if (!dir.isValid())
        fail("no temporary directory");
    const StoredSet set = makeRecords(n);
    {
        std::unique_ptr<AccountBase> account = openAccount(dir.path());
        storage::ReminderStorage* store = account->storage()->reminderStorage();
        if (!store->saveAll(set.infos))
            fail("saveAll failed");
        QList<QString> ids;
        ids.reserve(removed);
        for (int i = 0; i < removed; ++i)
            ids.append(QStringLiteral("%1_%2").arg(kDeviceId).arg(n + 1 + i));
        if (!store->remove(ids))
            fail("remove failed");
        if (store->count() != n || store->removedIds().size() != removed)
            fail("wrong number of stored or removed ids");
        settle();
    }
    double best = std::numeric_limits<double>::max();
    for (int run = 0; run < kRuns; ++run) {
        double perItem = 0;
        double trimmed = 0;
        best = std::min(best, loadRun(dir.path(), n, set, &perItem, &trimmed));
    }
    return best;
}

// ------------------------------------------------------------ timeout

struct TimeoutFigures
{
    double handlerMs = 0;
    double writtenMs = 0;
    double floorMs = 0;
};

TimeoutFigures timeoutRun(int due)
{
    QTemporaryDir dir;
    if (!dir.isValid())
        fail("no temporary directory");
    const qint64 dueAt = kNow + kHour;
    setNow(kNow);
    std::unique_ptr<AccountBase> account = openAccount(dir.path());
    storage::ReminderStorage* store = account->storage()->reminderStorage();
    {
        QList<storage::ReminderInfo> infos;
        infos.reserve(due);
        for (int i = 0; i < due; ++i) {
            ReminderItem item(QStringLiteral("%1_%2").arg(kDeviceId).arg(i + 1));
            initItem(item, i, dueAt, kNow - kMinute - qint64(i) * 997);
            storage::ReminderInfo info;
            if (!item.serialize(info))
                fail("a record did not serialise");
            infos.append(info);
        }
        if (!store->saveAll(infos))
            fail("saveAll failed");
    }

    auto* handler = new ReminderHandler(account.get());
    ReminderHandlerProbe probe(handler);
    handler->loadLocalData(false);
    settle();
    if (handler->reminderModel()->count() != due || probe.nearest() != dueAt)
        fail("timeout: load did not see the due reminders");

    int calls = 0;
    qsizetype records = 0;
    QObject receiver;
    QObject::connect(AccountManager::getInstance(), &AccountManager::newMessageNotified, &receiver,
                     [&calls, &records](const QVariantList& list) {
                         ++calls;
                         records += list.size();
                     });

    setNow(dueAt + 1000);
    QElapsedTimer timer;
    timer.start();
    probe.onTimeOut();
    const qint64 handlerNs = timer.nsecsElapsed();
    if (!ThreadManager::getInstance()->waitForIdle())
        fail("storage worker did not become idle");
    const qint64 writtenNs = timer.nsecsElapsed();
    settle();

    if (calls != 1 || records != due) {
        std::printf("# notifyNewMessage: %d call(s), %lld record(s); 1 call with %d expected\n", calls,
                    static_cast<long long>(records), due);
        fail("timeout: wrong notification");
    }
    const qint64 pending = store->nearestTimestamp();
    if (pending != 0) {
        std::printf("# store's nearest pending time after the pass: %lld; 0 expected\n",
                    static_cast<long long>(pending));
        fail("timeout: records still pending");
    }

    // The floor: the changed records written again in one transaction.
    const QList<storage::ReminderInfo> changed = store->allInfos();
    if (changed.size() != due)
        fail("timeout: records lost");
    QElapsedTimer floorTimer;
    floorTimer.start();
    if (!store->saveAll(changed))
        fail("timeout: saveAll failed");
    const qint64 floorNs = floorTimer.nsecsElapsed();

    delete handler;
    settle();
    account.reset();
    return {double(handlerNs) / 1e6, double(writtenNs) / 1e6, double(floorNs) / 1e6};
}

QString joined(const QList<double>& values)
{
    QStringList parts;
    for (double v : values)
        parts << QString::number(v, 'f', 0);
    return parts.join(QStringLiteral(", "));
}

void reportLoad(int n)
{
    const LoadFigures f = benchLoad(n);
    std::printf("BENCH handler.loadLocalData.%d %.2f ms\n", n, f.loadMs);
    std::printf("BENCH floor.readAndParse.%d %.2f ms\n", n, f.floorMs);
    std::printf("BENCH handler.loadLocalData.ratio.%d %.2f x\n", n, f.loadMs / f.floorMs);
    std::printf("BENCH handler.memory.%d %.0f bytes/reminder\n", n, f.memoryPerItem.first());
    benchresults::result("handler.loadLocalData", n, f.loadMs, "ms", benchresults::Lower,
                         "floor.readAndParse", f.floorMs);
    benchresults::result("handler.memory", n, f.memoryPerItem.first(), "bytes/reminder",
                         benchresults::Lower);
    std::printf("#   %d: load %.2f us/reminder, floor %.2f us/reminder\n", n, f.loadMs * 1000 / n,
                f.floorMs * 1000 / n);
    std::printf("#   %d: memory per run %s bytes/reminder; after a further malloc_trim %s\n", n,
                qPrintable(joined(f.memoryPerItem)), qPrintable(joined(f.trimmedPerItem)));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchresults::init(argc, argv);
    ImLog::instance()->setEchoToStderr(false);
    setNow(kNow);
    // "--timeout-only": the timer pass alone (for profiling it).
    bool timeoutOnly = false;
    for (int i = 1; i < argc; ++i)
        timeoutOnly = timeoutOnly || qstrcmp(argv[i], "--timeout-only") == 0;

    if (!timeoutOnly) {
    std::printf("# ReminderHandler::loadLocalData from a real SQLite database (WAL), best of %d runs\n", kRuns);
    std::printf("# records: text reminders; 69%% one-off in the future, 10%% one-off overdue,\n");
    std::printf("#   10%% completed, 10%% repeating daily (next time tomorrow), 1%% snoozed (notified at load)\n");
    std::printf("# floor: ReminderStorage::allInfos() plus parsing each record into im::content::Reminder\n");
    std::printf("#   and its content into im::content::ReminderContent, nothing else\n");
    std::printf("# both are timed on a freshly opened account (a new SQLite connection, so SQLite's own\n");
    std::printf("#   page cache starts empty for both) on the same database file, whose pages the OS\n");
    std::printf("#   already caches: warm the same way for both; a run measures the floor, then the load;\n");
    std::printf("#   each starts from a heap given back to the system (malloc_trim)\n");
    std::printf("# memory: VmRSS growth from before the handler is created (after malloc_trim) to after\n");
    std::printf("#   loadLocalData returned and the storage worker is idle, divided by the count;\n");
    std::printf("#   the figure is that of the first run\n");
    std::fflush(stdout);

    // "--load N": the load figures for N reminders alone (for profiling).
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "--load") == 0) {
            reportLoad(std::atoi(argv[i + 1]));
            return 0;
        }
    }
    for (int n : {1000, 10000, 100000})
        reportLoad(n);

    std::printf("# loadLocalData of 10,000 reminders with r removed ids remembered (they count for the\n");
    std::printf("#   sequence of new ids), best of %d runs; floor: the same load with none remembered\n", kRuns);
    const double withoutRemoved = loadWithRemoved(10000, 0);
    std::printf("BENCH handler.loadLocalData.noneRemoved %.2f ms\n", withoutRemoved);
    for (int removed : {10000, 100000}) {
        const double ms = loadWithRemoved(10000, removed);
        std::printf("BENCH handler.loadLocalData.removed.%d %.2f ms\n", removed, ms);
        std::printf("BENCH handler.loadLocalData.removed.ratio.%d %.2f x\n", removed, ms / withoutRemoved);
        benchresults::result("handler.loadLocalData.removed", removed, ms, "ms", benchresults::Lower,
                             "handler.loadLocalData.noneRemoved", withoutRemoved);
        std::fflush(stdout);
    }

    }

    std::printf("# onTimeOut with n one-off reminders due at the same instant, clock 1 s after it,\n");
    std::printf("#   best of %d runs (1 at 100,000), each on a fresh database; handlerThread: the call\n", kRuns);
    std::printf("#   itself; untilWritten: the call plus waiting for the storage worker to write every change\n");
    std::printf("# floor: the records the pass changed, written again with saveAll in one transaction\n");
    std::printf("# untilWritten_over_floor: untilWritten / floor, each the best of its runs\n");
    std::fflush(stdout);
    for (int due : {1000, 10000, 100000}) {
        const int runs = due >= 100000 ? 1 : kRuns;
        TimeoutFigures best { std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                              std::numeric_limits<double>::max() };
        for (int run = 0; run < runs; ++run) {
            const TimeoutFigures t = timeoutRun(due);
            best.handlerMs = std::min(best.handlerMs, t.handlerMs);
            best.writtenMs = std::min(best.writtenMs, t.writtenMs);
            best.floorMs = std::min(best.floorMs, t.floorMs);
        }
        std::printf("BENCH handler.onTimeOut.%ddue.handlerThread %.2f ms\n", due, best.handlerMs);
        std::printf("BENCH handler.onTimeOut.%ddue.untilWritten %.2f ms\n", due, best.writtenMs);
        std::printf("BENCH floor.saveAllChanged.%d %.2f ms\n", due, best.floorMs);
        std::printf("BENCH handler.onTimeOut.%ddue.untilWritten_over_floor %.2f x\n", due,
                    best.writtenMs / best.floorMs);
        std::printf("# checked every run: one notifyNewMessage call with %d records; no pending time afterwards\n",
                    due);
        std::fflush(stdout);
        benchresults::result("handler.onTimeOut.handlerThread", due, best.handlerMs, "ms",
                             benchresults::Lower);
        benchresults::result("handler.onTimeOut.untilWritten", due, best.writtenMs, "ms", benchresults::Lower,
                             "floor.saveAllChanged", best.floorMs);
    }
    network::NetworkSubject::instance()->releaseFixedTime();
    return 0;
}
