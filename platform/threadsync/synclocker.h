#pragma once

#include "crossthread.h"

#include <QMutex>

// QMutexLocker for QMutex and QRecursiveMutex that ThreadSanitizer can
// follow. Qt's mutexes wait on futexes inside a Qt that was not built with
// the sanitizer, so taking a contended mutex orders nothing in its eyes;
// this locker states the mutex's ordering (acquire after locking, release
// before unlocking) on the mutex's address. Elsewhere it is QMutexLocker.
template <typename Mutex>
class SyncLocker
{
public:
    explicit SyncLocker(Mutex* mutex)
        : m_mutex(mutex)
    {
        relock();
    }
    ~SyncLocker()
    {
        if (m_locked)
            unlock();
    }
    SyncLocker(const SyncLocker&) = delete;
    SyncLocker& operator=(const SyncLocker&) = delete;

    void unlock()
    {
        Q_ASSERT(m_locked);
        CrossThread::release(m_mutex);
        m_mutex->unlock();
        m_locked = false;
    }

    void relock()
    {
        Q_ASSERT(!m_locked);
        m_mutex->lock();
        CrossThread::acquire(m_mutex);
        m_locked = true;
    }

private:
    Mutex* m_mutex;
    bool m_locked = false;
};
