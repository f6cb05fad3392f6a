#include "framework/kernel/semaphore.h"

#include <errno.h>
#include <limits.h>
#include <sched.h>
#include <sys/time.h>

#include <algorithm>

static_assert(sizeof(CSemaphore) == 144, "field order and widths are the binary interface");
static_assert(sizeof(CBinarySemaphore) == 144, "field order and widths are the binary interface");

namespace
{
timespec DeadlineAfter(unsigned int uTimeoutMs)
{
    constexpr unsigned int uNS_PER_SECOND = 1000000000;
    timeval now;
    gettimeofday(&now, nullptr);
    // Below 2 * 10^9, so 32 bits hold it.
    const unsigned int uNanoseconds = static_cast<unsigned int>(now.tv_usec) * 1000 + uTimeoutMs % 1000 * 1000000;
    timespec deadline;
    deadline.tv_sec = now.tv_sec + uTimeoutMs / 1000 + uNanoseconds / uNS_PER_SECOND;
    deadline.tv_nsec = uNanoseconds % uNS_PER_SECOND;
    return deadline;
}
}  // namespace

CSemaphore::CSemaphore(unsigned int uInitialCount, unsigned int uMaxCount, bool bTimedWait)
    : m_uCount(uInitialCount), m_uMaxCount(uMaxCount), m_bTimedWait(bTimedWait)
{
    if (IsPosixSemaphore()) sem_init(&m_sem, 0, uInitialCount);
    else
    {
        pthread_mutex_init(&m_mutex, nullptr);
        pthread_cond_init(&m_cond, nullptr);
    }
}

CSemaphore::~CSemaphore()
{
    if (IsPosixSemaphore()) sem_destroy(&m_sem);
    else
    {
        pthread_mutex_destroy(&m_mutex);
        pthread_cond_destroy(&m_cond);
    }
}

bool CSemaphore::Wait() const
{
    return IsPosixSemaphore() ? sem_wait(&m_sem) == 0 : WaitCondition();
}

bool CSemaphore::Wait(unsigned long uTimeoutMs) const
{
    if (uTimeoutMs == ULONG_MAX) return Wait();
    if (uTimeoutMs == 0) return IsPosixSemaphore() ? sem_trywait(&m_sem) == 0 : WaitConditionFor(0);
    if (!m_bTimedWait) return false;
    while (uTimeoutMs != 0)
    {
        const unsigned int uChunkMs = static_cast<unsigned int>(std::min<unsigned long>(uTimeoutMs, UINT_MAX));
        if (WaitConditionFor(uChunkMs)) return true;
        uTimeoutMs -= uChunkMs;
    }
    return false;
}

void CSemaphore::Signal(bool bYield) const
{
    if (IsPosixSemaphore()) sem_post(&m_sem);
    else
    {
        pthread_mutex_lock(&m_mutex);
        if (m_uCount < m_uMaxCount) ++m_uCount;
        pthread_cond_signal(&m_cond);
        pthread_mutex_unlock(&m_mutex);
    }
    if (bYield) sched_yield();
}

bool CSemaphore::TakeIfFree() const
{
    if (IsPosixSemaphore()) return sem_trywait(&m_sem) == 0;
    if (pthread_mutex_lock(&m_mutex) != 0) return false;
    const bool bFree = m_uCount != 0;
    if (bFree) --m_uCount;
    pthread_mutex_unlock(&m_mutex);
    return bFree;
}

bool CSemaphore::IsPosixSemaphore() const
{
    return m_uMaxCount != 1 && !m_bTimedWait;
}

bool CSemaphore::WaitCondition() const
{
    bool bAcquired = pthread_mutex_lock(&m_mutex) == 0;
    if (!bAcquired) return false;
    while (bAcquired && m_uCount == 0) bAcquired = pthread_cond_wait(&m_cond, &m_mutex) == 0;
    if (bAcquired) --m_uCount;
    pthread_mutex_unlock(&m_mutex);
    return bAcquired;
}

bool CSemaphore::WaitConditionFor(unsigned int uTimeoutMs) const
{
    bool bAcquired = pthread_mutex_lock(&m_mutex) == 0;
    if (!bAcquired) return false;
    const timespec deadline = DeadlineAfter(uTimeoutMs);
    while (bAcquired && m_uCount == 0)
    {
        if (pthread_cond_timedwait(&m_cond, &m_mutex, &deadline) == ETIMEDOUT) bAcquired = m_uCount != 0;
    }
    if (bAcquired) --m_uCount;
    pthread_mutex_unlock(&m_mutex);
    return bAcquired;
}

CBinarySemaphore::CBinarySemaphore(EInitValue eInitValue, bool bTimedWait) : m_sem(eInitValue, 1, bTimedWait)
{
}

CBinarySemaphore::~CBinarySemaphore() = default;

bool CBinarySemaphore::Wait() const
{
    return m_sem.Wait();
}

bool CBinarySemaphore::Wait(unsigned long uTimeoutMs) const
{
    return m_sem.Wait(uTimeoutMs);
}

void CBinarySemaphore::Signal(bool bYield) const
{
    m_sem.Signal(bYield);
}

bool CBinarySemaphore::TakeIfFree() const
{
    return m_sem.TakeIfFree();
}
