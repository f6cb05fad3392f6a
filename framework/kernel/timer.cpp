// The up-time. times() gives a tick count of which 32 bits are used. Each reading adds its distance to the reading
// before, modulo 2^32, to a sum of 64 bits.
//
// A cycle. The stop semaphore is the state: free while no cycle is under way, taken while there is one.
// StartCyclicWait() takes it. CyclicWait() waits for it, but at most until the period ends: a time-out is the normal
// end of a period; getting the semaphore means that StopCyclicWait() has signalled it, and it is made free again.
// ```
//   m_uNextMs                    m_uNextMs + m_uPeriodMs
//   |------- the period ---------|---------------------->
//        ^ now: wait for the rest      ^ now: late, true at once
// ```
// m_uNextMs is where the current period begins. The end of a wait moves it on by one period, so that delays do not add
// up. A stop sets both numbers to 0: from then on every wait is late, and so returns true at once. Both are atomic,
// since the stop comes from another thread than the one that waits.
#include "framework/kernel/timer.h"

#include <sys/times.h>
#include <unistd.h>

#include <atomic>
#include <new>

#include "framework/kernel/internal/lifetime.h"

static_assert(sizeof(CTimer) == 168, "field order and widths are the binary interface");

uint64_t CTimer::ms_uSysUpTimeTick = 0;
uint32_t CTimer::ms_uLastSysUpTimeTick = 0;
uint32_t CTimer::ms_uTickPerSec = 0;
alignas(CMutex) unsigned char CTimer::ms_aumutexThreadingProtection[sizeof(CMutex)];
CMutex* CTimer::ms_pmutexThreadingProtection = nullptr;
alignas(CBinarySemaphore) unsigned char CTimer::ms_ausemWait[sizeof(CBinarySemaphore)];
CBinarySemaphore* CTimer::ms_psemWait = nullptr;

CTimer::CTimer() : m_uNextMs(0), m_uPeriodMs(0), m_semStop(CBinarySemaphore::eFREE, true)
{
}

CTimer::~CTimer() = default;

unsigned long CTimer::GetSystemUpTimeMs()
{
    const CMutexGuard guard(orvel_internal::RequireUp(ms_pmutexThreadingProtection, "CTimer"));
    tms unused;
    const uint32_t uTick = static_cast<uint32_t>(times(&unused));
    ms_uSysUpTimeTick += uTick - ms_uLastSysUpTimeTick;  // a difference of 32 bits, which is right across a wrap
    ms_uLastSysUpTimeTick = uTick;
    return ms_uSysUpTimeTick * 1000 / ms_uTickPerSec;
}

bool CTimer::StartCyclicWait(unsigned long uPeriodMs)
{
    if (!m_semStop.Wait(0)) return false;
    std::atomic_ref(m_uPeriodMs).store(uPeriodMs, std::memory_order_relaxed);
    std::atomic_ref(m_uNextMs).store(GetSystemUpTimeMs(), std::memory_order_relaxed);
    return true;
}

bool CTimer::CyclicWait(bool bResynchronize)
{
    const uint64_t uNowMs = GetSystemUpTimeMs();
    const std::atomic_ref nextMs(m_uNextMs);
    const std::atomic_ref periodMs(m_uPeriodMs);
    const uint64_t uPeriodMs = periodMs.load(std::memory_order_relaxed);
    const uint64_t uRemainingMs = nextMs.load(std::memory_order_relaxed) + uPeriodMs - uNowMs;
    const bool bLate = static_cast<int64_t>(uRemainingMs) < 0;
    if (bLate && bResynchronize && uPeriodMs != 0)
    {
        // The remainder of the wrapped, unsigned difference, so that the new beginning is off the planned grid: kept,
        // and pinned by CTimerResync.BeginsThePeriodAtNowPlusTheUnsignedRemainderModuloThePeriod.
        nextMs.store(uNowMs + uRemainingMs % uPeriodMs, std::memory_order_relaxed);
        return true;
    }
    const bool bStopped = !bLate && m_semStop.Wait(uRemainingMs);
    if (bStopped) m_semStop.Signal(false);
    const uint64_t uEndedMs = nextMs.load(std::memory_order_relaxed);
    nextMs.store(uEndedMs + periodMs.load(std::memory_order_relaxed), std::memory_order_relaxed);
    return !bStopped;
}

void CTimer::StopCyclicWait()
{
    std::atomic_ref(m_uPeriodMs).store(0, std::memory_order_relaxed);
    std::atomic_ref(m_uNextMs).store(0, std::memory_order_relaxed);
    m_semStop.Signal(false);
}

QvResult CTimer::InitializeCTimer()
{
    ms_psemWait = new (ms_ausemWait) CBinarySemaphore(CBinarySemaphore::eTAKEN, true);
    ms_uSysUpTimeTick = 0;
    ms_uLastSysUpTimeTick = 0;
    ms_pmutexThreadingProtection = new (ms_aumutexThreadingProtection) CMutex;
    ms_uTickPerSec = static_cast<uint32_t>(sysconf(_SC_CLK_TCK));
    return QV_RES_OK;
}

void CTimer::FinalizeCTimer()
{
    ms_psemWait->~CBinarySemaphore();
    ms_psemWait = nullptr;
    ms_pmutexThreadingProtection->~CMutex();
    ms_pmutexThreadingProtection = nullptr;
}

QvResult InitializeCTimer()
{
    return CTimer::InitializeCTimer();
}

void FinalizeCTimer()
{
    CTimer::FinalizeCTimer();
}
