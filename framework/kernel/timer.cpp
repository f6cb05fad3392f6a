#include "framework/kernel/timer.h"

#include <sys/times.h>
#include <unistd.h>

#include <atomic>
#include <new>

#include "framework/kernel/lifetime.h"

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
// The plan of a cycle is read by the waiting thread while another one may be stopping it.
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
    ms_uSysUpTimeTick += uTick - ms_uLastSysUpTimeTick;  // 32-bit difference on purpose: right across a wrap.
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
        Store(m_uNextMs, uNowMs + uRemainingMs % uPeriodMs);  // Of the wrapped difference: callers rely on it.
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
