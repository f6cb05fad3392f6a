#ifndef FRAMEWORK_KERNEL_TIMER_H
#define FRAMEWORK_KERNEL_TIMER_H
#include <stdint.h>

#include "framework/kernel/export.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"

/// The up-time of the system, and a wait that ends once a period without drifting:
/// ```
/// CTimer timer;
/// timer.StartCyclicWait(100);
/// // Every 100 ms, until another thread sets bStop, an atomic flag, and then calls StopCyclicWait().
/// while (timer.CyclicWait(false) && !bStop) Work();
///
/// planned  |----- 100 -----|----- 100 -----|----- 100 -----|----- 100 -----|
/// work     ###.............#########################.......
///                          late: the next waits return at once until the plan is caught up with
/// ```
///
/// - **Threads:** GetSystemUpTimeMs() and StopCyclicWait() from any thread; the rest from the one thread that waits.
/// - **Lifetime:** Between the start-up and the shut-down of the framework; reading the up-time, starting a cycle and
///   waiting outside it end the process.
/// - **Resolution:** One clock tick of the system (sysconf(_SC_CLK_TCK), usually 10 ms).
class QV_EXPORT CTimer
{
public:
    /// Without a cycle.
    CTimer();
    virtual ~CTimer();
    CTimer(const CTimer&) = delete;
    CTimer& operator=(const CTimer&) = delete;

    /// Milliseconds since the tick origin of the system (close to its boot). Never runs backwards, and is right as long
    /// as two calls are less than 2^32 ticks apart (497 days at 100 ticks per second). Source: POSIX times().
    static unsigned long GetSystemUpTimeMs();

    /// Begins a cycle of uPeriodMs milliseconds, now; false, and nothing changes, when one is under way.
    bool StartCyclicWait(unsigned long uPeriodMs);

    /// Waits for the end of the current period. True when it is over, false when the cycle was stopped meanwhile.
    /// A caller that is late gets true at once. Then the periods it missed end at once too, with bResynchronize false;
    /// with bResynchronize true the next period counts from now + (2^64 - lateness) mod period, off the planned grid:
    /// use it when the distance of the calls matters, not their phase.
    /// A stop is seen by the wait that is blocked when it comes. Without a wait blocked, the period is 0 from then on
    /// and every wait returns true at once: pair the stop with a flag of your own, and end the loop on the first false.
    bool CyclicWait(bool bResynchronize);

    /// Ends the cycle and wakes the thread that is blocked in CyclicWait().
    void StopCyclicWait();

    /// Module start-up and shut-down. Start-up returns QV_RES_OK.
    static QvResult InitializeCTimer();
    static void FinalizeCTimer();

protected:
    static uint64_t ms_uSysUpTimeTick;
    /// The low 32 bits of the last reading; the next one's wrapping distance to it is added to the sum.
    static uint32_t ms_uLastSysUpTimeTick;
    static uint32_t ms_uTickPerSec;
    alignas(CMutex) static unsigned char ms_aumutexThreadingProtection[sizeof(CMutex)];
    static CMutex* ms_pmutexThreadingProtection;
    alignas(CBinarySemaphore) static unsigned char ms_ausemWait[sizeof(CBinarySemaphore)];
    /// Taken; nothing waits on it. Part of the binary interface.
    static CBinarySemaphore* ms_psemWait;

private:
    uint64_t m_uNextMs;
    uint64_t m_uPeriodMs;
    CBinarySemaphore m_semStop;
};

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CTimer.
QV_EXPORT QvResult InitializeCTimer();
QV_EXPORT void FinalizeCTimer();

#endif
