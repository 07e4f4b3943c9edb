#include "threadmanager.h"

#include "reminderinfo.h"
#include "reminderstorage.h"
#include "userstorageprovider.h"

#include "../storage/storagetestutil.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMutex>
#include <QProcess>
#include <QSemaphore>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <memory>
#include <vector>

class TestThreadManager : public QObject
{
    Q_OBJECT

private slots:
    void singleton();
    void workerIsAnotherRunningThread();
    void tasksRunInSubmissionOrder();
    void everyTaskRunsOnTheWorker();
    void invokeDoesNotRunTheTaskInline();
    void concurrentSubmittersAllRun();
    void countsTasks();
    void emptyTaskIsIgnored();
    void waitForIdleWithNothingQueued();
    void waitForIdleFromWorkerReturnsFalse();
    void taskMaySubmitAnotherTask();
    void processExitsAfterApplicationEnds();
    void tasksQueuedAtShutdownStillRun();
    void writesShareACommitAndReportAfterIt();
    void taskFromInvokeFindsEarlierWritesCommitted();
    void reportOutsideAGroupIsPostedAtOnce();
    void idleWorkerMergesTheSearchIndex();
    void idleWorkerBuildsWhatABareListingLeftOutOnceWritesPause();
    void idleWorkerCopiesTheLogOnceWritesPause_data();
    void idleWorkerCopiesTheLogOnceWritesPause();
    void closingWhileTheLogIsCopiedLosesNothing();
    void mainThreadWritesAreDestroyedOnTheMainThread();
};

namespace {

storage::ReminderInfo record(int i)
{
    storage::ReminderInfo info;
    info.id = QStringLiteral("w%1").arg(i);
    info.text = QStringLiteral("written by task %1").arg(i);
    info.orderTime = i;
    return info;
}

// Whether another connection to the file sees the record: only what is
// committed.
bool committed(storage::UserStorageProvider* reader, int i)
{
    bool found = false;
    reader->reminderStorage()->info(QStringLiteral("w%1").arg(i), &found);
    return found;
}

} // namespace

// What a test shares with the worker's tasks lives on the heap. On this
// thread's stack, ThreadSanitizer finds the worker's reads racing with
// writes it puts down to this thread, with a stack that cannot be, once the
// child process tests above have run (QProcess starting a child from this
// thread); on the heap nothing of that kind is left.
struct WriterAndReader
{
    explicit WriterAndReader(const QString& dir, qint64 account) : writer(dir, account), reader(dir, account) { }
    storage::UserStorageProvider writer;
    storage::UserStorageProvider reader;
    QMutex mutex;
    QList<int> seenDuringTask;   // writes another connection saw while tasks ran
    QList<int> reported;         // in the order the reports ran
    QList<int> committedAtReport;
    std::atomic<int> found{-1};
};

void TestThreadManager::writesShareACommitAndReportAfterIt()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    auto shared = std::make_unique<WriterAndReader>(dir.path(), 1);
    WriterAndReader* s = shared.get();
    QVERIFY(s->writer.isOpen() && s->reader.isOpen());
    storage::ReminderStorage* store = s->writer.reminderStorage();
    ThreadManager* tm = ThreadManager::getInstance();
    auto receiver = std::make_unique<QObject>();
    QObject* to = receiver.get();

    // Held up, so that the writes queue up behind it back to back.
    auto gate = std::make_shared<QSemaphore>();
    tm->invoke([gate] { gate->tryAcquire(1, 30000); }, true);
    constexpr int kWrites = 50;
    for (int i = 0; i < kWrites; ++i) {
        tm->invokeWrite(
            [i, store, s, to, tm] {
                store->save(record(i));
                if (committed(&s->reader, i)) {
                    QMutexLocker lock(&s->mutex);
                    s->seenDuringTask << i;
                }
                tm->reportTo(to, [i, s] {
                    s->reported << i;
                    if (committed(&s->reader, i))
                        s->committedAtReport << i;
                });
            },
            true);
    }
    gate->release();
    QVERIFY(tm->waitForIdle());
    QTRY_COMPARE(s->reported.size(), kWrites);

    QList<int> all;
    for (int i = 0; i < kWrites; ++i)
        all << i;
    // Not one write was committed on its own: they shared a transaction.
    QMutexLocker lock(&s->mutex);
    QVERIFY2(s->seenDuringTask.isEmpty(),
             qPrintable(QStringLiteral("%1 writes committed alone").arg(s->seenDuringTask.size())));
    // Every report came after the commit of its write, in order.
    QCOMPARE(s->reported, all);
    QCOMPARE(s->committedAtReport, all);
}

void TestThreadManager::taskFromInvokeFindsEarlierWritesCommitted()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    auto shared = std::make_unique<WriterAndReader>(dir.path(), 2);
    WriterAndReader* s = shared.get();
    ThreadManager* tm = ThreadManager::getInstance();
    storage::ReminderStorage* store = s->writer.reminderStorage();
    for (int i = 0; i < 10; ++i)
        tm->invokeWrite([store, i] { store->save(record(i)); }, false);
    tm->invoke(
        [s] {
            int n = 0;
            for (int i = 0; i < 10; ++i)
                n += committed(&s->reader, i) ? 1 : 0;
            s->found = n;
        },
        false);
    QVERIFY(tm->waitForIdle());
    QCOMPARE(s->found.load(), 10);
}

void TestThreadManager::reportOutsideAGroupIsPostedAtOnce()
{
    ThreadManager* tm = ThreadManager::getInstance();
    auto receiver = std::make_unique<QObject>();
    QObject* to = receiver.get();
    auto ran = std::make_shared<std::atomic<QThread*>>(nullptr);
    tm->invoke([tm, to, ran] { tm->reportTo(to, [ran] { *ran = QThread::currentThread(); }); }, true);
    QVERIFY(tm->waitForIdle());
    QTRY_VERIFY(ran->load() != nullptr);
    QCOMPARE(ran->load(), QThread::currentThread());
}

void TestThreadManager::idleWorkerMergesTheSearchIndex()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    auto shared = std::make_unique<WriterAndReader>(dir.path(), 3);
    ThreadManager* tm = ThreadManager::getInstance();
    storage::ReminderStorage* store = shared->writer.reminderStorage();
    // Twelve groups, each committed by the task behind it: twelve segments
    // of the search index, none merged while they are written.
    constexpr int kGroups = 12;
    for (int g = 0; g < kGroups; ++g) {
        for (int i = 0; i < 5; ++i)
            tm->invokeWrite([store, n = g * 5 + i] { store->save(record(n)); }, false);
        tm->invoke([] {}, false);
    }
    QVERIFY(tm->waitForIdle());
    const QString path = storage::UserStorageProvider::databasePath(dir.path(), 3);
    storagetest::RawDb raw(path);
    QVERIFY2(raw.isOpen(), qPrintable(raw.lastError()));
    auto segments = [&raw] {
        return raw.rows(QStringLiteral("SELECT count(DISTINCT segid) FROM reminder_fts_idx")).value(0).toInt();
    };
    // With nothing else to do the worker merges them, four on a level at a
    // time, as FTS5's own merging would have done at every commit.
    QTRY_VERIFY_WITH_TIMEOUT(segments() < 4, 10000);
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
    QCOMPARE(store->idsWithKeyword(QStringLiteral("task 3")).size(), 11); // 3, 30-39
}

// A listing into an empty store is taken bare (the storage's indexes by
// time and order and its search side are left for later). The worker builds
// them by itself, but only once the writes have paused: a listing that
// comes in pieces stays bare from one piece to the next.
void TestThreadManager::idleWorkerBuildsWhatABareListingLeftOutOnceWritesPause()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    auto shared = std::make_unique<WriterAndReader>(dir.path(), 4);
    ThreadManager* tm = ThreadManager::getInstance();
    storage::ReminderStorage* store = shared->writer.reminderStorage();
    const QString path = storage::UserStorageProvider::databasePath(dir.path(), 4);
    const auto bare = [&path] {
        storagetest::RawDb raw(path);
        return raw.rows(QStringLiteral("SELECT name FROM sqlite_schema WHERE name = 'reminder_search_insert'"))
            .isEmpty();
    };
    // Two pieces, a short gap between them.
    for (int i = 0; i < 1000; ++i)
        tm->invokeWrite([store, i] { store->save(record(i)); }, false);
    QVERIFY(tm->waitForIdle());
    QVERIFY(bare());
    QTest::qWait(100);
    for (int i = 1000; i < 2000; ++i)
        tm->invokeWrite([store, i] { store->save(record(i)); }, false);
    QVERIFY(tm->waitForIdle());
    QVERIFY(bare());
    // Then the pause: built without anyone asking.
    QTRY_VERIFY_WITH_TIMEOUT(!bare(), 10000);
    storagetest::RawDb raw(path);
    QVERIFY2(raw.ftsIntegrityOk(), qPrintable(raw.lastError()));
    QCOMPARE(raw.rows(QStringLiteral("SELECT count(*) FROM reminder_search")), QStringList { "2000" });
    QCOMPARE(store->idsWithKeyword(QStringLiteral("task 1999")), QStringList { "w1999" });
}

namespace {

// A burst of several megabytes through the worker: far more than a
// checkpoint waits for.
void writeBurst(storage::ReminderStorage* store, int first, int count)
{
    const QString filler(4000, QLatin1Char('x'));
    for (int i = first; i < first + count; ++i) {
        ThreadManager::getInstance()->invokeWrite(
            [store, i, filler] {
                storage::ReminderInfo info = record(i);
                info.text += filler;
                store->save(info);
            },
            false);
    }
}

} // namespace

void TestThreadManager::idleWorkerCopiesTheLogOnceWritesPause_data()
{
    QTest::addColumn<bool>("writesMeanwhile");
    QTest::newRow("nothing written after the burst") << false;
    // Writes of this thread, not the worker's, a tenth of a second apart
    // for a second: no pause long enough until they stop.
    QTest::newRow("another thread writes for a second") << true;
}

void TestThreadManager::idleWorkerCopiesTheLogOnceWritesPause()
{
    QFETCH(bool, writesMeanwhile);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    auto shared = std::make_unique<WriterAndReader>(dir.path(), 5);
    ThreadManager* tm = ThreadManager::getInstance();
    storage::ReminderStorage* store = shared->writer.reminderStorage();
    // A store that holds something is indexed as it goes (not filled bare).
    QVERIFY(store->save(record(0)));
    const QString path = storage::UserStorageProvider::databasePath(dir.path(), 5);
    const qint64 before = QFileInfo(path).size();
    writeBurst(store, 1, 1500);
    QVERIFY(tm->waitForIdle());
    // Written to the log only: the burst did not wait for a checkpoint.
    QCOMPARE(QFileInfo(path).size(), before);
    QVERIFY(committed(&shared->reader, 1500));
    for (int i = 0; writesMeanwhile && i < 10; ++i) {
        QTest::qWait(100);
        QVERIFY(store->save(record(2000 + i)));
        // Woken by a task, the worker looks at its idle work again.
        QVERIFY(tm->waitForIdle());
        QCOMPARE(QFileInfo(path).size(), before);
    }
    // Then the pause: copied into the main file without anyone asking.
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(path).size() > before + 1500 * 4000, 10000);
    QVERIFY(committed(&shared->reader, 1500));
}

void TestThreadManager::closingWhileTheLogIsCopiedLosesNothing()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = storage::UserStorageProvider::databasePath(dir.path(), 7);
    ThreadManager* tm = ThreadManager::getInstance();
    for (int round = 0; round < 3; ++round) {
        auto writer = std::make_unique<storage::UserStorageProvider>(dir.path(), 7);
        QVERIFY(writer->isOpen());
        storage::ReminderStorage* store = writer->reminderStorage();
        QVERIFY(store->save(record(round * 10000)));
        writeBurst(store, round * 10000 + 1, 1500);
        QVERIFY(tm->waitForIdle());
        const qint64 before = QFileInfo(path).size();
        // About when the copy starts (the pause is half a second), and
        // then at once: the close waits for a copy under way.
        QTest::qWait(480 + 20 * round);
        QVERIFY(tm->waitForIdle());
        writer.reset();
        QVERIFY(QFileInfo(path).size() > before);
        QVERIFY(!QFileInfo::exists(path + QStringLiteral("-wal")));
        storage::UserStorageProvider reopened(dir.path(), 7);
        QVERIFY(reopened.isOpen());
        QVERIFY(!reopened.fullyChecked());
        QCOMPARE(reopened.reminderStorage()->count(), 1501 * (round + 1));
    }
}

namespace {

// Records the thread that destroys the copy of it that has run.
struct DestroyedOn
{
    std::shared_ptr<std::atomic<bool>> ran;
    std::shared_ptr<std::atomic<QThread*>> thread;
    DestroyedOn(std::shared_ptr<std::atomic<bool>> r, std::shared_ptr<std::atomic<QThread*>> t)
        : ran(std::move(r)), thread(std::move(t))
    {
    }
    // Moved-from copies (the caller's lambda, once the task holds it) are
    // empty and record nothing.
    DestroyedOn(DestroyedOn&&) = default;
    DestroyedOn(const DestroyedOn&) = default;
    ~DestroyedOn()
    {
        if (ran && *ran)
            *thread = QThread::currentThread();
    }
};

} // namespace

// A write task made on the main thread is destroyed there, once its group
// has committed (the worker would otherwise free each into the main
// thread's allocator, under its lock); any other task where it ran.
void TestThreadManager::mainThreadWritesAreDestroyedOnTheMainThread()
{
    ThreadManager* tm = ThreadManager::getInstance();
    for (const bool onMainThread : { true, false }) {
        DestroyedOn witness { std::make_shared<std::atomic<bool>>(false),
                              std::make_shared<std::atomic<QThread*>>(nullptr) };
        const auto ran = witness.ran;
        const auto thread = witness.thread;
        tm->invokeWrite([w = std::move(witness)] { *w.ran = true; }, onMainThread);
        QVERIFY(tm->waitForIdle());
        QTRY_VERIFY(thread->load() != nullptr);
        QVERIFY(ran->load());
        QCOMPARE(thread->load(), onMainThread ? QThread::currentThread() : tm->workerThread());
    }
}

void TestThreadManager::singleton()
{
    ThreadManager* here = ThreadManager::getInstance();
    QVERIFY(here != nullptr);
    QCOMPARE(ThreadManager::getInstance(), here);
    ThreadManager* there = nullptr;
    std::unique_ptr<QThread> t(QThread::create([&there] { there = ThreadManager::getInstance(); }));
    t->start();
    QVERIFY(t->wait());
    QCOMPARE(there, here);
}

void TestThreadManager::workerIsAnotherRunningThread()
{
    QThread* worker = ThreadManager::getInstance()->workerThread();
    QVERIFY(worker != nullptr);
    QVERIFY(worker != QThread::currentThread());
    QVERIFY(worker->isRunning());
    QCOMPARE(ThreadManager::getInstance()->workerThread(), worker);
}

void TestThreadManager::tasksRunInSubmissionOrder()
{
    ThreadManager* tm = ThreadManager::getInstance();
    QMutex mutex;
    QList<int> order;
    for (int i = 0; i < 1000; ++i) {
        tm->invoke([i, &mutex, &order] {
            QMutexLocker lock(&mutex);
            order.append(i);
        }, true);
    }
    QVERIFY(tm->waitForIdle());
    QList<int> expected;
    for (int i = 0; i < 1000; ++i)
        expected.append(i);
    QMutexLocker lock(&mutex);
    QCOMPARE(order, expected);
}

void TestThreadManager::everyTaskRunsOnTheWorker()
{
    ThreadManager* tm = ThreadManager::getInstance();
    QMutex mutex;
    QList<QThread*> threads;
    for (int i = 0; i < 200; ++i) {
        tm->invoke([&mutex, &threads] {
            QMutexLocker lock(&mutex);
            threads.append(QThread::currentThread());
        }, i % 2 == 0);
    }
    QVERIFY(tm->waitForIdle());
    QMutexLocker lock(&mutex);
    QCOMPARE(threads.size(), 200);
    const QSet<QThread*> distinct(threads.cbegin(), threads.cend());
    QCOMPARE(distinct.size(), 1);
    QThread* only = *distinct.cbegin();
    QVERIFY(only != QThread::currentThread());
    QCOMPARE(only, tm->workerThread());
}

void TestThreadManager::invokeDoesNotRunTheTaskInline()
{
    // The task waits for a permit that is given only after invoke() has
    // returned; run inline it would give up and record that.
    ThreadManager* tm = ThreadManager::getInstance();
    QSemaphore gate;
    std::atomic<int> outcome{0};
    tm->invoke([&gate, &outcome] { outcome = gate.tryAcquire(1, 10000) ? 1 : 2; }, true);
    gate.release();
    QVERIFY(tm->waitForIdle());
    QCOMPARE(outcome.load(), 1);
}

void TestThreadManager::concurrentSubmittersAllRun()
{
    ThreadManager* tm = ThreadManager::getInstance();
    constexpr int kSubmitters = 8;
    constexpr int kPerSubmitter = 500;
    const quint64 tasksBefore = tm->taskCount();
    const quint64 mainBefore = tm->mainThreadTaskCount();

    QMutex mutex;
    std::vector<QList<int>> ran(kSubmitters);
    QSemaphore start;
    std::vector<std::unique_ptr<QThread>> submitters;
    for (int s = 0; s < kSubmitters; ++s) {
        submitters.emplace_back(QThread::create([s, tm, &mutex, &ran, &start] {
            start.acquire();
            for (int i = 0; i < kPerSubmitter; ++i) {
                tm->invoke([s, i, &mutex, &ran] {
                    QMutexLocker lock(&mutex);
                    ran[size_t(s)].append(i);
                }, false);
            }
        }));
    }
    for (auto& t : submitters)
        t->start();
    start.release(kSubmitters);
    for (auto& t : submitters)
        QVERIFY(t->wait());
    QVERIFY(tm->waitForIdle());

    QList<int> expected;
    for (int i = 0; i < kPerSubmitter; ++i)
        expected.append(i);
    QMutexLocker lock(&mutex);
    for (int s = 0; s < kSubmitters; ++s)
        QCOMPARE(ran[size_t(s)], expected); // all ran, each submitter's in its order
    QCOMPARE(tm->taskCount() - tasksBefore, quint64(kSubmitters * kPerSubmitter));
    QCOMPARE(tm->mainThreadTaskCount(), mainBefore);
}

void TestThreadManager::countsTasks()
{
    ThreadManager* tm = ThreadManager::getInstance();
    QVERIFY(tm->waitForIdle());
    const quint64 tasksBefore = tm->taskCount();
    const quint64 mainBefore = tm->mainThreadTaskCount();
    std::atomic<int> ran{0};
    for (int i = 0; i < 7; ++i)
        tm->invoke([&ran] { ++ran; }, true);
    for (int i = 0; i < 5; ++i)
        tm->invoke([&ran] { ++ran; }, false);
    QCOMPARE(tm->taskCount() - tasksBefore, quint64(12));
    QCOMPARE(tm->mainThreadTaskCount() - mainBefore, quint64(7));
    QVERIFY(tm->waitForIdle());
    QCOMPARE(ran.load(), 12);
    // Waiting is not a task.
    QCOMPARE(tm->taskCount() - tasksBefore, quint64(12));
}

void TestThreadManager::emptyTaskIsIgnored()
{
    ThreadManager* tm = ThreadManager::getInstance();
    const quint64 tasksBefore = tm->taskCount();
    const quint64 mainBefore = tm->mainThreadTaskCount();
    tm->invoke(std::function<void()>{}, true);
    tm->invoke(std::function<void()>{}, false);
    tm->invoke(std::function<void()>(nullptr), true);
    QCOMPARE(tm->taskCount(), tasksBefore);
    QCOMPARE(tm->mainThreadTaskCount(), mainBefore);
    // The worker is still fine afterwards.
    std::atomic<bool> ran{false};
    tm->invoke([&ran] { ran = true; }, true);
    QVERIFY(tm->waitForIdle());
    QVERIFY(ran.load());
    QCOMPARE(tm->taskCount() - tasksBefore, quint64(1));
}

void TestThreadManager::waitForIdleWithNothingQueued()
{
    ThreadManager* tm = ThreadManager::getInstance();
    QVERIFY(tm->waitForIdle());
    QVERIFY(tm->waitForIdle());
}

void TestThreadManager::waitForIdleFromWorkerReturnsFalse()
{
    ThreadManager* tm = ThreadManager::getInstance();
    std::atomic<int> result{-1};
    tm->invoke([tm, &result] { result = tm->waitForIdle(10000) ? 1 : 0; }, false);
    QVERIFY(tm->waitForIdle());
    QCOMPARE(result.load(), 0);
}

void TestThreadManager::taskMaySubmitAnotherTask()
{
    ThreadManager* tm = ThreadManager::getInstance();
    QMutex mutex;
    QStringList order;
    QSemaphore innerDone;
    QSemaphore secondQueued;
    tm->invoke([tm, &mutex, &order, &innerDone, &secondQueued] {
        // Hold on until "second" is queued, so "inner" is queued after it.
        if (!secondQueued.tryAcquire(1, 30000))
            return;
        {
            QMutexLocker lock(&mutex);
            order << QStringLiteral("outer");
        }
        tm->invoke([&mutex, &order, &innerDone] {
            {
                QMutexLocker lock(&mutex);
                order << QStringLiteral("inner");
            }
            innerDone.release();
        }, false);
    }, true);
    tm->invoke([&mutex, &order] {
        QMutexLocker lock(&mutex);
        order << QStringLiteral("second");
    }, true);
    secondQueued.release();
    QVERIFY(innerDone.tryAcquire(1, 30000));
    QVERIFY(tm->waitForIdle());
    QMutexLocker lock(&mutex);
    // The inner task was queued behind "second", which was already waiting.
    QCOMPARE(order, (QStringList{QStringLiteral("outer"), QStringLiteral("second"),
                                 QStringLiteral("inner")}));
}

void TestThreadManager::processExitsAfterApplicationEnds()
{
    // The worker is a static singleton: it is torn down after main() has
    // returned and the application object is gone. A child process of this
    // very executable uses the worker and exits the ordinary way; it must
    // finish on its own (a generous limit only tells a hang from an exit).
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--exit-child")});
    QVERIFY2(child.waitForStarted(), qPrintable(child.errorString()));
    const bool finished = child.waitForFinished(120000);
    if (!finished) {
        child.kill();
        child.waitForFinished();
    }
    QVERIFY2(finished, "the child process did not exit");
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArrayLiteral("worker ran 3 tasks"));
}

void TestThreadManager::tasksQueuedAtShutdownStillRun()
{
    // A child hands in slow tasks and lets its application object go at
    // once: the writes already handed in are finished before it is gone.
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--flush-child")});
    QVERIFY2(child.waitForStarted(), qPrintable(child.errorString()));
    const bool finished = child.waitForFinished(120000);
    if (!finished) {
        child.kill();
        child.waitForFinished();
    }
    QVERIFY2(finished, "the child process did not exit");
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArrayLiteral("worker ran 10 of 10 tasks"));
}

namespace {

// The child of tasksQueuedAtShutdownStillRun().
int runFlushChild(int argc, char** argv)
{
    std::atomic<int> ran{0};
    {
        QCoreApplication app(argc, argv);
        ThreadManager* tm = ThreadManager::getInstance();
        for (int i = 0; i < 10; ++i)
            tm->invoke([&ran] { QThread::msleep(20); ++ran; }, true);
    }
    printf("worker ran %d of 10 tasks\n", ran.load());
    fflush(stdout);
    return 0;
}

// The child of processExitsAfterApplicationEnds().
int runExitChild(int argc, char** argv)
{
    std::atomic<int> ran{0};
    {
        QCoreApplication app(argc, argv);
        ThreadManager* tm = ThreadManager::getInstance();
        for (int i = 0; i < 3; ++i)
            tm->invoke([&ran] { ++ran; }, true);
        if (!tm->waitForIdle())
            return 2;
    }
    printf("worker ran %d tasks\n", ran.load());
    fflush(stdout);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--exit-child") == 0)
        return runExitChild(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--flush-child") == 0)
        return runFlushChild(argc, argv);
    QCoreApplication app(argc, argv);
    TestThreadManager tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "tst_threadmanager.moc"
