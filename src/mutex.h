// A mutex whose rules the compiler can check: clang's -Wthread-safety reads these annotations, other compilers skip
// them. Lock order, outermost first: master_mutex, mutex_lock, the conditions' lock, The_Replica_Mutex,
// The_Outbound_Mutex, a ring's m_lock_collect or m_lock_withdraw, a ring's m_lock. From mutex_lock on no host is called
// under a lock; the locks of layouts and of things made at first use may be taken there, and under those no lock of
// this list. The log's file lock may be taken under The_Replica_Mutex, never the other way round; it and DCON_lock may
// be held while taking a ring's locks. L_proc_messages may be taken under mutex_lock, the lock of the last sent date
// under that. That one, the pacer's lock and that of name and password are leaves.
#pragma once

#include <mutex>

#if defined(__clang__)
#define QAPI_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QAPI_THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) QAPI_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY QAPI_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) QAPI_THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(...) QAPI_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) QAPI_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) QAPI_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) QAPI_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define EXCLUDES(...) QAPI_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS QAPI_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace qapi {

class CAPABILITY("mutex") Mutex
{
public:
    constexpr Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() ACQUIRE() { m_mutex.lock(); }
    void unlock() RELEASE() { m_mutex.unlock(); }
    bool try_lock() TRY_ACQUIRE(true) { return m_mutex.try_lock(); }

private:
    std::mutex m_mutex;
};

class SCOPED_CAPABILITY MutexLock
{
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~MutexLock() RELEASE() { m_mutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& m_mutex;
};

} // namespace qapi

using qapi::Mutex;
using qapi::MutexLock;
