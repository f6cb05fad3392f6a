#include "framework/kernel/timer.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/times.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <thread>

namespace
{
/// Told of each wait for the end of a period, once the wait can no longer miss a stop.
std::atomic<const CSemaphore*> g_pWaiting{nullptr};

/// A wait for the end of a period: when it began by the up time, and how long it took by the clock it ends by.
struct SWait
{
    uint64_t uBegunMs = 0;
    uint64_t uTakenMs = 0;
};
/// Where the next one is noted, while somebody wants to know.
SWait* g_pstWait = nullptr;

uint64_t TimeOfDayUs()
{
    timeval stNow;
    gettimeofday(&stNow, nullptr);
    return static_cast<uint64_t>(stNow.tv_sec) * 1000000 + static_cast<uint64_t>(stNow.tv_usec);
}

uint64_t TicksToMs(uint64_t uTicks)
{
    return uTicks * 1000 / static_cast<uint64_t>(sysconf(_SC_CLK_TCK));
}

uint64_t SystemTicks()
{
    tms stTimes;
    return static_cast<uint32_t>(times(&stTimes));
}
}  // namespace

// Found by the library before its own: announces the wait or notes it, and is otherwise the same.
bool CBinarySemaphore::Wait(unsigned long uTimeoutMs) const
{
    const CSemaphore* const pWaiting = uTimeoutMs != 0 ? g_pWaiting.load() : nullptr;
    if (pWaiting != nullptr) pWaiting->Signal(false);
    if (g_pstWait == nullptr) return m_sem.Wait(uTimeoutMs);
    g_pstWait->uBegunMs = CTimer::GetSystemUpTimeMs();
    const uint64_t uBeforeUs = TimeOfDayUs();
    const bool bTaken = m_sem.Wait(uTimeoutMs);
    g_pstWait->uTakenMs = (TimeOfDayUs() - uBeforeUs) / 1000;
    return bTaken;
}

TEST(CTimerUpTime, IsThatOfTheSystem)
{
    const uint64_t uBefore = SystemTicks();
    const uint64_t uUpTime = CTimer::GetSystemUpTimeMs();
    const uint64_t uAfter = SystemTicks();
    if (uAfter < uBefore) return;  // wrapped just now, which is tested elsewhere
    EXPECT_LE(TicksToMs(uBefore), uUpTime);
    EXPECT_GE(TicksToMs(uAfter), uUpTime);
}

TEST(CTimerCycle, WaitsOutItsPeriods)
{
    CTimer timer;
    const uint64_t uStart = CTimer::GetSystemUpTimeMs();
    ASSERT_TRUE(timer.StartCyclicWait(20));
    for (uint64_t uPeriod = 1; uPeriod <= 3; ++uPeriod)
    {
        SWait stWait;
        g_pstWait = &stWait;
        EXPECT_TRUE(timer.CyclicWait(false));
        g_pstWait = nullptr;
        // The up time tells what is left of the period, but the time of day when that is over: what the up time says in
        // the end proves nothing, a virtual machine may hold its ticks back. Who comes late does not wait at all.
        if (stWait.uBegunMs == 0) stWait.uBegunMs = CTimer::GetSystemUpTimeMs();
        EXPECT_GE(stWait.uBegunMs + stWait.uTakenMs, uStart + uPeriod * 20) << "period " << uPeriod;
    }
}

TEST(CTimerCycle, IsStoppedByAnotherThreadWhileItWaits)
{
    for (int nRound = 0; nRound < 20; ++nRound)
    {
        const CSemaphore waiting(0, 5, false);
        CTimer timer;
        ASSERT_TRUE(timer.StartCyclicWait(3600000));
        g_pWaiting = &waiting;
        bool bElapsed = true;
        std::thread waiter([&] { bElapsed = timer.CyclicWait(nRound % 2 == 0); });
        ASSERT_TRUE(waiting.Wait());
        g_pWaiting = nullptr;
        timer.StopCyclicWait();
        waiter.join();
        EXPECT_FALSE(bElapsed);
        EXPECT_TRUE(timer.StartCyclicWait(1)) << "idle again";
        EXPECT_FALSE(timer.StartCyclicWait(1));
    }
}
