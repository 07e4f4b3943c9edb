#pragma once

#include <QFuture>
#include <QMetaObject>
#include <QObject>
#include <QThread>
#include <QThreadPool>
#include <QFutureInterface>
#include <QRunnable>
#include <condition_variable>
#include <mutex>
#include <type_traits>
#include <utility>

#if defined(__SANITIZE_THREAD__)
#define REMINDER_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define REMINDER_THREAD_SANITIZER 1
#endif
#endif

#ifdef REMINDER_THREAD_SANITIZER
extern "C" void __tsan_acquire(void* addr);
extern "C" void __tsan_release(void* addr);
#endif

// Hands work to another thread through Qt's event queue or a thread pool.
//
// Qt orders a posted call after everything its poster did before posting:
// the receiver's event queue and the pool's task list are guarded by locks.
// Those locks live in a Qt that was not built with ThreadSanitizer, so the
// sanitizer cannot see them and would take every hand-off for a race. The
// calls below say the same ordering out loud (release when handing over,
// acquire before the work touches what it was handed); outside a
// ThreadSanitizer build they are plain invokeMethod and a pool task.
class CrossThread
{
public:
    // Everything this thread did so far happens before a later acquire(key).
    static void release(const void* key)
    {
#ifdef REMINDER_THREAD_SANITIZER
        __tsan_release(const_cast<void*>(key));
#else
        Q_UNUSED(key);
#endif
    }

    static void acquire(const void* key)
    {
#ifdef REMINDER_THREAD_SANITIZER
        __tsan_acquire(const_cast<void*>(key));
#else
        Q_UNUSED(key);
#endif
    }

    // Queues fn to run on receiver's thread (also when that is this thread).
    template <typename F>
    static bool post(QObject* receiver, F&& fn)
    {
        return QMetaObject::invokeMethod(receiver, Call<std::decay_t<F>>(std::in_place, std::forward<F>(fn)),
                                         Qt::QueuedConnection);
    }

    // Runs fn at once when this is receiver's thread, else queues it there
    // (what Qt::AutoConnection does).
    template <typename F>
    static bool invoke(QObject* receiver, F&& fn)
    {
        if (QThread::currentThread() == receiver->thread()) {
            fn();
            return true;
        }
        return post(receiver, std::forward<F>(fn));
    }

    // Runs fn on receiver's thread and waits for it; receiver must live on
    // another thread. What fn did is visible to the caller afterwards.
    // (Not Qt::BlockingQueuedConnection: its delivery reads the caller's
    // stack after the call has run, behind the sanitizer's back.)
    template <typename F>
    static bool postAndWait(QObject* receiver, F&& fn)
    {
        Q_ASSERT(QThread::currentThread() != receiver->thread());
        std::mutex mutex;
        std::condition_variable doneChanged;
        bool done = false;
        auto call = [&, fn = std::forward<F>(fn)]() mutable {
            fn();
            std::lock_guard<std::mutex> lock(mutex);
            done = true;
            doneChanged.notify_one();
        };
        if (!post(receiver, std::move(call)))
            return false;
        std::unique_lock<std::mutex> lock(mutex);
        doneChanged.wait(lock, [&done] { return done; });
        return true;
    }

    // Starts fn on pool, as QtConcurrent::run does. finishedKey, if given,
    // is released when fn returns, so that a thread that saw the future
    // finish can acquire(finishedKey). (Not QtConcurrent::run itself: its
    // task reads what the starting thread wrote before the task's own code
    // can say so.)
    template <typename F>
    static QFuture<void> run(QThreadPool* pool, F&& fn, const void* finishedKey = nullptr)
    {
        auto* task = new PoolTask<std::decay_t<F>>(std::forward<F>(fn), finishedKey);
        QFuture<void> future = task->future();
        pool->start(task);
        return future;
    }

private:
    template <typename F>
    class PoolTask : public QRunnable
    {
    public:
        template <typename G>
        PoolTask(G&& fn, const void* finishedKey)
            : m_fn(std::forward<G>(fn)), m_finishedKey(finishedKey)
        {
            m_promise.reportStarted();
            release(this);
        }

        QFuture<void> future() { return m_promise.future(); }

        void run() override
        {
            acquire(this);
            // A job cancelled before it started does not run.
            if (!m_promise.isCanceled())
                m_fn();
            if (m_finishedKey)
                release(m_finishedKey);
            m_promise.reportFinished();
        }

    private:
        F m_fn;
        const void* m_finishedKey;
        QFutureInterface<void> m_promise;
    };

    // The acquire must come before any member of the moved-from call is
    // read, so it sits in a base that is built before the members.
    struct Gate
    {
        explicit Gate(const void* from) { acquire(from); }
    };

    // Each instance releases at its own address once built, and acquires
    // there before it is run or destroyed: Qt moves the call into its own
    // storage on the posting thread, and the pool moves it once more on the
    // pool's thread before running it.
    template <typename F>
    struct Call : private Gate
    {
        template <typename G>
        Call(std::in_place_t, G&& g)
            : Gate(this), fn(std::forward<G>(g))
        {
            release(this);
        }
        Call(Call&& other) noexcept(std::is_nothrow_move_constructible_v<F>)
            : Gate(&other), fn(std::move(other.fn))
        {
            release(this);
        }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        Call& operator=(Call&&) = delete;
        ~Call() { acquire(this); }

        void operator()()
        {
            acquire(this);
            fn();
        }

        F fn;
    };
};
