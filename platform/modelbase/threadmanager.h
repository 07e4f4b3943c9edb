#pragma once

#include <QObject>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class QThread;

// The storage worker: one thread that runs the tasks handed to it, one at a
// time, in the order they were handed in.
//
// Writes handed in with invokeWrite() back to back share one transaction per
// database (storage::WriteBatch), committed when the queue has been empty
// for a moment, when the group has been open for a few milliseconds, or
// before any task handed in with invoke() runs. So a task from invoke() --
// a deletion that reports back, a "done" marker, waitForIdle() -- always
// finds every write handed in before it committed. A write task reports its
// outcome only through reportTo(), which holds the report until the commit.
// With nothing queued and no group open, the worker does the storage's
// upkeep (storage::WriteBatch::idleStep) a short step at a time.
class ThreadManager
{
public:
    static ThreadManager* getInstance();

    // Queues the task on the worker. onMainThread tells whether the caller
    // runs on the application's main thread; every task is queued whatever
    // it says, so that storage work never runs on the interface thread.
    // Every write handed in before has been committed when the task runs.
    void invoke(std::function<void()>&& task, bool onMainThread);
    // Queues a task that writes to storage and tells nobody about it except
    // through reportTo(): its writes may share a transaction with the
    // writes queued around it.
    void invokeWrite(std::function<void()>&& task, bool onMainThread);
    // From a task on the worker: runs report on the receiver's thread once
    // the writes made so far are committed (at once, posted, when nothing is
    // waiting for a commit). Reports to one receiver run in the order given,
    // many in one posted call. The receiver must outlive the tasks that
    // report to it (waitForIdle() before it goes is enough).
    void reportTo(QObject* receiver, std::function<void()>&& report);

    // Blocks until every task handed in before the call has run and its
    // writes are committed; false on time-out, or when called from the
    // worker itself.
    bool waitForIdle(int timeoutMs = 30000);

    QThread* workerThread() const;
    // Tasks handed in so far, and how many of them came from the main thread.
    quint64 taskCount() const;
    quint64 mainThreadTaskCount() const;

    ~ThreadManager();

private:
    ThreadManager();

    struct Task
    {
        std::function<void()> run;
        bool write = false;
        // Handed in from the main thread: once run, it goes back there to be
        // destroyed (see m_spent).
        bool fromMain = false;
    };
    struct Report
    {
        QObject* receiver;
        std::function<void()> run;
    };

    // counted: whether taskCount() counts it (a caller's task, not one of
    // the worker's own markers).
    void enqueue(Task&& task, bool onMainThread, bool counted = true);
    // Runs the queued tasks on the worker until the queue is empty and no
    // group is open.
    void drain();
    // On the worker: commits the open group and sends its reports.
    void commitGroup();

    // Deliberate: the worker is a joined std::thread running a Qt event
    // loop (Qt adopts it), not a QThread: QThread::wait() returns before
    // the thread's own exit work is done, and at the end of the program
    // that work (freeing Qt's data of the thread) could be cut off.
    std::thread m_worker;
    QThread* m_thread = nullptr; // Qt's view of the worker, while it runs
    QObject* m_context = nullptr;

    mutable std::mutex m_mutex;
    std::condition_variable m_queued;
    std::deque<Task> m_queue;      // guarded by m_mutex
    // The worker's own: write tasks from the main thread that have run in
    // the open group. They were made there and are destroyed there, sent
    // back with the group's reports: a write handed in per reminder (a
    // listing) would otherwise have the worker free each one into the main
    // thread's allocator, taking its lock while the main thread allocates
    // the next writes.
    std::vector<std::function<void()>> m_spent;
    bool m_draining = false;       // a drain is posted or running; m_mutex
    bool m_idleWaiting = false;    // the worker waits for its upkeep's time; m_mutex
    quint64 m_tasks = 0;           // m_mutex
    quint64 m_mainThreadTasks = 0; // m_mutex

    // Set when the worker is to end: no more upkeep while idle.
    std::atomic<bool> m_stopping{false};

    // The worker's own.
    bool m_groupOpen = false;
    std::chrono::steady_clock::time_point m_groupStarted;
    std::vector<Report> m_reports;
};
