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
// up. A stop sets both numbers to 0: from then on every wait is late, and so returns true at once.
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

namespace
{
// m_uNextMs and m_uPeriodMs are atomic: the waiting thread reads them while another thread may be stopping the cycle.
uint64_t Load(uint64_t& ruPlan)
{
    return std::atomic_ref<uint64_t>(ruPlan).load(std::memory_order_relaxed);
}

void Store(uint64_t& ruPlan, uint64_t uValue)
{
    std::atomic_ref<uint64_t>(ruPlan).store(uValue, std::memory_order_relaxed);
}
}  // namespace

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
    Store(m_uPeriodMs, uPeriodMs);
    Store(m_uNextMs, GetSystemUpTimeMs());
    return true;
}

bool CTimer::CyclicWait(bool bResynchronize)
{
    const uint64_t uNowMs = GetSystemUpTimeMs();
    const uint64_t uPeriodMs = Load(m_uPeriodMs);
    const uint64_t uRemainingMs = Load(m_uNextMs) + uPeriodMs - uNowMs;
    const bool bLate = static_cast<int64_t>(uRemainingMs) < 0;
    if (bLate && bResynchronize && uPeriodMs != 0)
    {
        // The remainder of the wrapped, unsigned difference, so that the new beginning is off the planned grid: kept,
        // and pinned by CTimerResync.BeginsThePeriodAtNowPlusTheUnsignedRemainderModuloThePeriod.
        Store(m_uNextMs, uNowMs + uRemainingMs % uPeriodMs);
        return true;
    }
    const bool bStopped = !bLate && m_semStop.Wait(uRemainingMs);
    if (bStopped) m_semStop.Signal(false);
    Store(m_uNextMs, Load(m_uNextMs) + Load(m_uPeriodMs));
    return !bStopped;
}

void CTimer::StopCyclicWait()
{
    Store(m_uPeriodMs, 0);
    Store(m_uNextMs, 0);
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
