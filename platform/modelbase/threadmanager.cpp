#include "threadmanager.h"

#include "crossthread.h"
#include "writebatch.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QSemaphore>
#include <QThread>

namespace {

// A group of writes is committed once the queue has stayed empty this long:
// writes handed in one by one (a listing, a timer pass) arrive a few
// microseconds apart, and a commit costs far more than the wait.
constexpr auto kGroupLinger = std::chrono::milliseconds(2);
// ... and at the latest once it has been open this long, so that a long
// burst still reaches the disk (and its reports their receivers) in steps,
// and another connection to the file never waits long for the write lock.
constexpr auto kGroupMaxAge = std::chrono::milliseconds(25);
// How often a worker that waits for more writes looks for them.
constexpr auto kGroupPoll = std::chrono::microseconds(250);

thread_local bool t_onWorker = false;

// Runs while the application object is being destroyed, when queued calls
// are still delivered: the writes handed in so far are finished first.
void flushWorkerAtExit()
{
    ThreadManager::getInstance()->waitForIdle();
}

} // namespace

ThreadManager* ThreadManager::getInstance()
{
    static ThreadManager instance;
    return &instance;
}

ThreadManager::ThreadManager()
{
    // The worker makes its context and its event loop itself, so that both
    // belong to it; the constructor returns once they are there.
    QSemaphore started;
    m_worker = std::thread([this, &started] {
        QThread::currentThread()->setObjectName(QStringLiteral("storage-worker"));
        t_onWorker = true;
        QEventLoop loop;
        m_thread = QThread::currentThread();
        m_context = new QObject;
        CrossThread::release(this);
        started.release();
        loop.exec();
    });
    started.acquire();
    CrossThread::acquire(this);
    if (QCoreApplication::instance())
        qAddPostRoutine(flushWorkerAtExit);
}

ThreadManager::~ThreadManager()
{
    // The last tasks run, the upkeep is left for the next start.
    m_stopping.store(true, std::memory_order_relaxed);
    {
        // A worker waiting for its upkeep's time stops waiting.
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queued.notify_all();
    }
    QThread* thread = m_thread;
    if (QCoreApplication::instance()) {
        // Quit behind the queued tasks, so that they still run: they may be
        // the last writes of a session.
        enqueue({[thread] {
                     CrossThread::release(thread);
                     thread->quit();
                 },
                 false},
                false, false);
    } else {
        // Without an application object queued events are no longer
        // delivered (the static instance ends after main() has returned), so
        // a queued quit would never arrive: stop the worker's loop directly
        // (QThread::quit is safe from any thread). A drain that is running
        // still commits its group before it returns.
        thread->quit();
    }
    // Joined: the thread has ended completely, its exit work included.
    m_worker.join();
    CrossThread::acquire(thread);
    // The worker has stopped, so its context can go from this thread (the
    // last hold on Qt's data of that thread).
    delete m_context;
    m_thread = nullptr;
}

void ThreadManager::invoke(std::function<void()>&& task, bool onMainThread)
{
    if (task)
        enqueue({std::move(task), false}, onMainThread);
}

void ThreadManager::invokeWrite(std::function<void()>&& task, bool onMainThread)
{
    if (task)
        enqueue({std::move(task), true, onMainThread && QCoreApplication::instance()}, onMainThread);
}

void ThreadManager::enqueue(Task&& task, bool onMainThread, bool counted)
{
    bool post = false;
    // A write does not wake a worker that waits for more writes: it looks
    // for them every kGroupPoll, so that a burst of writes handed in one by
    // one costs a wake-up per poll, not one per write. Any other task ends
    // the wait at once (its group is committed first).
    bool wake = !task.write;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (counted) {
            ++m_tasks;
            if (onMainThread)
                ++m_mainThreadTasks;
        }
        m_queue.push_back(std::move(task));
        // A worker that waits for its upkeep's time wakes for any task.
        wake = wake || m_idleWaiting;
        // Said out loud for ThreadSanitizer: the worker may take the task
        // while waiting on m_queued, and a timed wait of libstdc++
        // (pthread_cond_clockwait) is not one the sanitizer follows.
        CrossThread::release(&m_queue);
        post = !m_draining;
        m_draining = true;
    }
    if (wake)
        m_queued.notify_one();
    if (post)
        CrossThread::post(m_context, [this] { drain(); });
}

void ThreadManager::drain()
{
    std::deque<Task> tasks;
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (m_queue.empty() && m_groupOpen) {
                const auto deadline = std::min(std::chrono::steady_clock::now() + kGroupLinger,
                                               m_groupStarted + kGroupMaxAge);
                for (auto now = std::chrono::steady_clock::now(); m_queue.empty() && now < deadline;
                     now = std::chrono::steady_clock::now()) {
                    m_queued.wait_until(lock, std::min(now + kGroupPoll, deadline));
                }
            }
            if (m_queue.empty()) {
                if (!m_groupOpen) {
                    // Nothing waits: the storage's upkeep, a short step at a
                    // time, looking for new tasks between the steps (they
                    // post no drain while this one runs).
                    if (!m_stopping.load(std::memory_order_relaxed)) {
                        lock.unlock();
                        std::chrono::milliseconds retryIn;
                        const bool more = storage::WriteBatch::idleStep(&retryIn);
                        lock.lock();
                        if (more || !m_queue.empty())
                            continue;
                        if (retryIn.count() > 0 && !m_stopping.load(std::memory_order_relaxed)) {
                            // Upkeep that waits for the writes to pause: the
                            // worker waits with it, woken by any task.
                            m_idleWaiting = true;
                            m_queued.wait_for(lock, retryIn);
                            m_idleWaiting = false;
                            continue;
                        }
                    }
                    // A task handed in from now on posts a new drain.
                    m_draining = false;
                    return;
                }
                lock.unlock();
                commitGroup();
                continue;
            }
            // Everything queued so far, in one go.
            CrossThread::acquire(&m_queue);
            tasks.swap(m_queue);
        }
        while (!tasks.empty()) {
            Task task = std::move(tasks.front());
            tasks.pop_front();
            if (task.write) {
                if (!m_groupOpen) {
                    storage::WriteBatch::begin();
                    m_groupOpen = true;
                    m_groupStarted = std::chrono::steady_clock::now();
                }
                task.run();
                if (task.fromMain)
                    m_spent.push_back(std::move(task.run));
                if (std::chrono::steady_clock::now() - m_groupStarted >= kGroupMaxAge)
                    commitGroup();
            } else {
                commitGroup();
                task.run();
            }
        }
    }
}

void ThreadManager::commitGroup()
{
    if (!m_groupOpen)
        return;
    storage::WriteBatch::commit();
    m_groupOpen = false;
    // The reports go out only now: what they tell of is on disk. A failed
    // commit is logged by the storage; the reports still go, as a failed
    // write's always did.
    std::vector<Report> reports;
    reports.swap(m_reports);
    size_t first = 0;
    while (first < reports.size()) {
        QObject* receiver = reports[first].receiver;
        size_t end = first + 1;
        while (end < reports.size() && reports[end].receiver == receiver)
            ++end;
        std::vector<std::function<void()>> calls;
        calls.reserve(end - first);
        for (size_t i = first; i < end; ++i)
            calls.push_back(std::move(reports[i].run));
        CrossThread::post(receiver, [calls = std::move(calls)] {
            for (const auto& call : calls)
                call();
        });
        first = end;
    }
    if (!m_spent.empty()) {
        std::vector<std::function<void()>> spent;
        spent.swap(m_spent);
        // Without an application to take them they go here.
        if (QCoreApplication* app = QCoreApplication::instance())
            CrossThread::post(app, [spent = std::move(spent)] {});
    }
}

void ThreadManager::reportTo(QObject* receiver, std::function<void()>&& report)
{
    if (!receiver || !report)
        return;
    if (t_onWorker && m_groupOpen) {
        m_reports.push_back({receiver, std::move(report)});
        return;
    }
    CrossThread::invoke(receiver, std::move(report));
}

bool ThreadManager::waitForIdle(int timeoutMs)
{
    if (QThread::currentThread() == m_thread)
        return false;
    auto done = std::make_shared<QSemaphore>(0);
    enqueue({[done] {
                 CrossThread::release(done.get());
                 done->release();
             },
             false},
            false, false);
    if (!done->tryAcquire(1, timeoutMs))
        return false;
    // What the tasks wrote is now the caller's to read.
    CrossThread::acquire(done.get());
    return true;
}

QThread* ThreadManager::workerThread() const
{
    return m_thread;
}

quint64 ThreadManager::taskCount() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_tasks;
}

quint64 ThreadManager::mainThreadTaskCount() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_mainThreadTasks;
}
