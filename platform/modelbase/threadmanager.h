#pragma once

#include <QMutex>
#include <QObject>
#include <functional>
#include <memory>
#include <thread>

class QThread;

// The storage worker: one thread that runs the tasks handed to it, one at a
// time, in the order they were handed in.
class ThreadManager
{
public:
    static ThreadManager* getInstance();

    // Queues the task on the worker. onMainThread tells whether the caller
    // runs on the application's main thread; every task is queued whatever
    // it says, so that storage work never runs on the interface thread.
    void invoke(std::function<void()>&& task, bool onMainThread);

    // Blocks until every task handed in before the call has run; false on
    // time-out, or when called from the worker itself.
    bool waitForIdle(int timeoutMs = 30000);

    QThread* workerThread() const;
    // Tasks handed in so far, and how many of them came from the main thread.
    quint64 taskCount() const;
    quint64 mainThreadTaskCount() const;

    ~ThreadManager();

private:
    ThreadManager();

    // Deliberate: the worker is a joined std::thread running a Qt event
    // loop (Qt adopts it), not a QThread: QThread::wait() returns before
    // the thread's own exit work is done, and at the end of the program
    // that work (freeing Qt's data of the thread) could be cut off.
    std::thread m_worker;
    QThread* m_thread = nullptr; // Qt's view of the worker, while it runs
    QObject* m_context = nullptr;
    mutable QMutex m_mutex;
    quint64 m_tasks = 0;
    quint64 m_mainThreadTasks = 0;
};
