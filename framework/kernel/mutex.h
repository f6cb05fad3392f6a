#ifndef FRAMEWORK_KERNEL_MUTEX_H
#define FRAMEWORK_KERNEL_MUTEX_H
#include <pthread.h>
#include <sys/single_threaded.h>

#include "framework/kernel/export.h"

/// A recursive mutual-exclusion lock.
///
/// - **Threads:** Every member, from any thread; only the thread that locked unlocks, as often as it locked.
/// - **Lifetime:** Destroy it only unlocked. Construction allocates nothing, so static storage will do.
/// - **Failure:** None is reported: the results of the operating system are ignored.
/// - **Source:** POSIX, PTHREAD_MUTEX_RECURSIVE.
class QV_EXPORT CMutex
{
public:
    /// Unlocked.
    CMutex();
    /// Leaves the storage zeroed.
    virtual ~CMutex();
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;

    /// Blocks until the calling thread holds the lock.
    void Lock() const { pthread_mutex_lock(&m_mutex); }
    /// Gives the lock back, once for each time that it was taken.
    void Unlock() const { pthread_mutex_unlock(&m_mutex); }
    /// Takes the lock if that needs no waiting; false when another thread holds it.
    bool TryLock() const { return pthread_mutex_trylock(&m_mutex) == 0; }

private:
    mutable pthread_mutex_t m_mutex;
};

/// Holds a CMutex for a scope. A null mutex is not held, for owners whose lock is optional.
class CMutexGuard
{
public:
    /// Locks.
    explicit CMutexGuard(const CMutex* pMutex) : m_pMutex(pMutex)
    {
        if (m_pMutex != nullptr) m_pMutex->Lock();
    }
    /// Unlocks.
    ~CMutexGuard()
    {
        if (m_pMutex != nullptr) m_pMutex->Unlock();
    }
    CMutexGuard(const CMutexGuard&) = delete;
    CMutexGuard& operator=(const CMutexGuard&) = delete;

private:
    const CMutex* m_pMutex;
};

/// A CMutexGuard for short sections in which no thread is started: while the process has only one, nothing is locked.
class CMutexGuardIfThreaded
{
public:
    /// Locks, if there are other threads.
    explicit CMutexGuardIfThreaded(const CMutex* pMutex) : m_guard(__libc_single_threaded != 0 ? nullptr : pMutex) {}

private:
    CMutexGuard m_guard;
};

#endif
