#include "threadmanager.h"

#include "crossthread.h"
#include "synclocker.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QSemaphore>
#include <QThread>

ThreadManager* ThreadManager::getInstance()
{
    static ThreadManager instance;
    return &instance;
}

namespace {

// Runs while the application object is being destroyed, when queued calls
// are still delivered: the writes handed in so far are finished first.
void flushWorkerAtExit()
{
    ThreadManager::getInstance()->waitForIdle();
}

} // namespace

ThreadManager::ThreadManager()
{
    // The worker makes its context and its event loop itself, so that both
    // belong to it; the constructor returns once they are there.
    QSemaphore started;
    m_worker = std::thread([this, &started] {
        QThread::currentThread()->setObjectName(QStringLiteral("storage-worker"));
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
    QThread* thread = m_thread;
    if (QCoreApplication::instance()) {
        // Quit behind the queued tasks, so that they still run: they may be
        // the last writes of a session.
        CrossThread::post(m_context, [thread] {
            CrossThread::release(thread);
            thread->quit();
        });
    } else {
        // Without an application object queued events are no longer
        // delivered (the static instance ends after main() has returned), so
        // a queued quit would never arrive: stop the worker's loop directly
        // (QThread::quit is safe from any thread).
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
    if (!task)
        return;
    {
        SyncLocker lock(&m_mutex);
        ++m_tasks;
        if (onMainThread)
            ++m_mainThreadTasks;
    }
    // Queued calls to one receiver are delivered in the order posted.
    CrossThread::post(m_context, std::move(task));
}

bool ThreadManager::waitForIdle(int timeoutMs)
{
    if (QThread::currentThread() == m_thread)
        return false;
    auto done = std::make_shared<QSemaphore>(0);
    CrossThread::post(m_context, [done] {
        CrossThread::release(done.get());
        done->release();
    });
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
    SyncLocker lock(&m_mutex);
    return m_tasks;
}

quint64 ThreadManager::mainThreadTaskCount() const
{
    SyncLocker lock(&m_mutex);
    return m_mainThreadTasks;
}
