#ifndef TESTS_SUPPORT_TIMER_PROBE_H
#define TESTS_SUPPORT_TIMER_PROBE_H
#include <cstdint>

#include "framework/kernel/timer.h"
#include "tests/support/object_bytes.h"

/// A timer that shows what CTimer keeps from its users.
class CTimerProbe : public CTimer
{
public:
    using CTimer::ms_aumutexThreadingProtection;
    using CTimer::ms_ausemWait;
    using CTimer::ms_pmutexThreadingProtection;
    using CTimer::ms_psemWait;
    using CTimer::ms_uLastSysUpTimeTick;
    using CTimer::ms_uSysUpTimeTick;
    using CTimer::ms_uTickPerSec;

    /// When the next period ends, and how long one is, where the binary interface puts them.
    std::uint64_t Next() const { return LoadAt<std::uint64_t>(this, 8); }
    std::uint64_t Period() const { return LoadAt<std::uint64_t>(this, 16); }
};

#endif
