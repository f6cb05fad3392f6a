#ifndef FRAMEWORK_KERNEL_SEMAPHORE_H
#define FRAMEWORK_KERNEL_SEMAPHORE_H
#include <pthread.h>
#include <semaphore.h>

#include "framework/kernel/export.h"

/// A counter that threads wait on to be above zero.
///
/// It is a POSIX semaphore when its maximum is not 1 and timed waits are off, else a mutex with a condition variable;
/// the choice is made at construction and shows in two places.
///
/// - **POSIX semaphore:** Signal() counts past the maximum. A Wait() during which a signal handler ran is not retried:
///   false.
/// - **Condition variable:** Signal() stops counting at the maximum. Wait() goes on waiting behind a signal handler.
/// - **Threads:** Every member, from any thread; the thread that signals need not be one that waited.
/// - **Time-outs:** In milliseconds by the wall clock (gettimeofday): setting the clock moves the deadline.
/// - **Lifetime:** Destroy it only when nobody waits. Construction allocates nothing, so static storage will do.
/// - **Source:** POSIX semaphores and condition variables.
class QV_EXPORT CSemaphore
{
public:
    /// uInitialCount should not exceed uMaxCount. bTimedWait makes Wait() with a time-out possible.
    CSemaphore(unsigned int uInitialCount, unsigned int uMaxCount, bool bTimedWait);
    virtual ~CSemaphore();
    CSemaphore(const CSemaphore&) = delete;
    CSemaphore& operator=(const CSemaphore&) = delete;

    /// Blocks until the count can be lowered; true when it was.
    bool Wait() const;

    /// Wait() for at most uTimeoutMs milliseconds; true when the count was lowered.
    ///
    /// - 0: takes what is free now, and waits for no signal.
    /// - The largest unsigned long: as Wait().
    /// - Anything between: false at once, even when free, unless constructed with bTimedWait.
    bool Wait(unsigned long uTimeoutMs) const;

    /// Raises the count and wakes one waiter; then, if bYield, lets another thread run.
    void Signal(bool bYield) const;
    /// The same as Wait(0), but without a timed wait of the system, which may put the thread to sleep even for a time
    /// of 0.
    QV_HIDDEN bool TakeIfFree() const;

private:
    QV_HIDDEN bool IsPosixSemaphore() const;
    QV_HIDDEN bool WaitCondition() const;
    QV_HIDDEN bool WaitConditionFor(unsigned int uTimeoutMs) const;

    mutable unsigned int m_uCount;
    unsigned int m_uMaxCount;
    mutable pthread_mutex_t m_mutex;
    mutable pthread_cond_t m_cond;
    mutable sem_t m_sem;
    bool m_bTimedWait;
};

/// A gate for one: taken or free, nothing in between.
///
/// - **Free:** Wait() and Wait(0) take it: true. Signal() leaves it free.
/// - **Taken:** Wait() blocks, Wait(0) is false at once. Signal() makes it free, and one waiter wakes.
/// - **Threads:** Every member, from any thread; the thread that signals need not be the one that waited.
/// - **Time-outs:** Above 0: milliseconds by the wall clock; if constructed without bTimedWait, false at once, even
///   when free. A time-out of 0 never blocks.
/// - **Lifetime:** Destroy it only when nobody waits. Construction allocates nothing, so static storage will do.
class QV_EXPORT CBinarySemaphore
{
public:
    /// How the gate is at first.
    enum EInitValue
    {
        eTAKEN = 0,
        eFREE = 1
    };

    /// bTimedWait makes Wait() with a time-out possible.
    CBinarySemaphore(EInitValue eInitValue, bool bTimedWait);
    ~CBinarySemaphore();
    CBinarySemaphore(const CBinarySemaphore&) = delete;
    CBinarySemaphore& operator=(const CBinarySemaphore&) = delete;

    /// Blocks until the gate is free, and takes it; true when it did.
    bool Wait() const;
    /// Wait() for at most uTimeoutMs milliseconds, as in CSemaphore.
    bool Wait(unsigned long uTimeoutMs) const;
    /// Frees the gate and wakes one waiter; then, if bYield, lets another thread run.
    void Signal(bool bYield) const;
    /// The same as Wait(0), but without a timed wait of the system, which may put the thread to sleep even for a time
    /// of 0.
    QV_HIDDEN bool TakeIfFree() const;

private:
    CSemaphore m_sem;
};

/// Holds a CBinarySemaphore for a scope, taken and free again like a mutex that is not recursive.
class CBinarySemaphoreGuard
{
public:
    /// Takes the semaphore.
    explicit CBinarySemaphoreGuard(const CBinarySemaphore* pSemaphore) : m_pSemaphore(pSemaphore)
    {
        m_pSemaphore->Wait();
    }
    /// Frees it.
    ~CBinarySemaphoreGuard() { m_pSemaphore->Signal(false); }
    CBinarySemaphoreGuard(const CBinarySemaphoreGuard&) = delete;
    CBinarySemaphoreGuard& operator=(const CBinarySemaphoreGuard&) = delete;

private:
    const CBinarySemaphore* m_pSemaphore;
};

#endif
