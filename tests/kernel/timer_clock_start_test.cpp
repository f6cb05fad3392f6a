// The exact arithmetic of the timer: clock, tick rate and waits are replaced by what a test says, so nothing here takes
// time.
#include <gtest/gtest.h>
#include <sys/times.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "tests/support/free_mutex.h"
#include "tests/support/timer_probe.h"

namespace
{
clock_t g_nTicks = 0;
int g_nReadings = 0;
void (*g_pfnReading)() = nullptr;
long g_nTickRate = 1000;

/// The time-outs that were waited for, and what those waits answer.
std::vector<unsigned long> g_timeouts;
bool g_bStopped = false;
/// Stopped while a wait lasts, when there.
CTimer* g_pStoppedMeanwhile = nullptr;
std::vector<bool> g_signals;
/// Called before a signal is given, when there.
std::function<void()> g_signalling;
}  // namespace

extern "C" QV_EXPORT clock_t times(tms* pstTimes) noexcept
{
    if (pstTimes != nullptr) *pstTimes = tms{};
    ++g_nReadings;
    if (g_pfnReading != nullptr) g_pfnReading();
    return g_nTicks;
}

// Sanitizers ask it before they are ready for instrumented code, or for dlsym().
#if __has_attribute(disable_sanitizer_instrumentation)
#define NOT_INSTRUMENTED __attribute__((disable_sanitizer_instrumentation))
#else
#define NOT_INSTRUMENTED
#endif
extern "C" long __sysconf(int nName) noexcept;
extern "C" QV_EXPORT NOT_INSTRUMENTED long sysconf(int nName) noexcept
{
    return nName == _SC_CLK_TCK ? g_nTickRate : __sysconf(nName);
}

bool CBinarySemaphore::Wait(unsigned long uTimeoutMs) const
{
    // Starting a cycle tries the semaphore; that is left to the real one, and so is a wait that has come to its end.
    if (uTimeoutMs == 0 && g_timeouts.empty()) return m_sem.Wait(0);
    g_timeouts.push_back(uTimeoutMs);
    if (g_pStoppedMeanwhile != nullptr) g_pStoppedMeanwhile->StopCyclicWait();
    return g_bStopped;
}

void CBinarySemaphore::Signal(bool bYield) const
{
    g_signals.push_back(bYield);
    if (g_signalling) g_signalling();
    m_sem.Signal(bYield);
}

namespace
{
/// The module, come up with a tick rate.
class CTimerClock : public testing::Test
{
protected:
    CTimerClock() { Restart(100); }
    ~CTimerClock() override { FinalizeCTimer(); }

    static void Restart(long nTickRate)
    {
        if (CTimerProbe::ms_psemWait != nullptr) FinalizeCTimer();
        g_nTickRate = nTickRate;
        g_nTicks = 0;
        g_nReadings = 0;
        g_pfnReading = nullptr;
        EXPECT_EQ(QV_RES_OK, InitializeCTimer());
    }
    static uint64_t UpTimeAt(clock_t nTicks)
    {
        g_nTicks = nTicks;
        return CTimer::GetSystemUpTimeMs();
    }
};
}  // namespace

TEST_F(CTimerClock, AddsTheDistancesOfTheLowerHalvesOfItsReadings)
{
    struct SReading
    {
        clock_t nTicks;
        uint64_t uWantMs;
    };
    const struct
    {
        long nTickRate;
        std::vector<SReading> readings;
    } astRuns[] = {{100, {{12345, 123450}, {12345, 123450}, {12346, 123460}, {30000, 300000}}},
                   {100, {{4294967290, 42949672900}, {5, 42949673010}, {6, 42949673020}}},
                   {100, {{-1, 42949672950}, {-1, 42949672950}}},
                   {100, {{0x700000007, 70}, {0x900000009, 90}}},
                   {100, {{3000000000, 30000000000}, {1705032704, 60000000000}, {410065408, 90000000000}}},
                   // Multiplied first, and then the quotient is cut.
                   {128, {{1, 7}, {2, 15}, {127, 992}, {128, 1000}}},
                   {3, {{1, 333}}},
                   {60, {{1, 16}}}};
    for (const auto& rstRun : astRuns)
    {
        SCOPED_TRACE(testing::Message() << rstRun.nTickRate << " a second, first " << rstRun.readings[0].nTicks);
        Restart(rstRun.nTickRate);
        EXPECT_EQ(0, g_nReadings) << "the clock is first read when somebody asks";
        EXPECT_EQ(static_cast<uint32_t>(rstRun.nTickRate), CTimerProbe::ms_uTickPerSec);
        for (const SReading& rst : rstRun.readings)
        {
            EXPECT_EQ(rst.uWantMs, UpTimeAt(rst.nTicks));
            EXPECT_EQ(static_cast<uint32_t>(rst.nTicks), CTimerProbe::ms_uLastSysUpTimeTick);
        }
    }
}

TEST_F(CTimerClock, MultipliesIn64Bits)
{
    CTimerProbe::ms_uSysUpTimeTick = 100000000000000;
    EXPECT_EQ(1000000000000000u, UpTimeAt(0));
    // 2^62 * 1000 is a multiple of 2^64.
    CTimerProbe::ms_uSysUpTimeTick = uint64_t{1} << 62;
    EXPECT_EQ(20u, UpTimeAt(2));
}

TEST_F(CTimerClock, IsReadOnceACallWithTheMutexHeld)
{
    static bool bFreeForOthers = true;
    g_pfnReading = [] { bFreeForOthers = IsFreeForOthers(*CTimerProbe::ms_pmutexThreadingProtection); };
    UpTimeAt(1);
    EXPECT_FALSE(bFreeForOthers);
    EXPECT_EQ(1, g_nReadings);
    g_pfnReading = nullptr;
    EXPECT_TRUE(IsFreeForOthers(*CTimerProbe::ms_pmutexThreadingProtection));
}

TEST_F(CTimerClock, ShutDownDestroysTheMutexOfTheModule)
{
    CTimer::FinalizeCTimer();
    EXPECT_EQ(std::vector<unsigned char>(sizeof(CMutex) - sizeof(void*)),
              BytesAt(CTimerProbe::ms_aumutexThreadingProtection, sizeof(void*), sizeof(CMutex) - sizeof(void*)));
    EXPECT_EQ(QV_RES_OK, InitializeCTimer());
}

namespace
{
/// A timer in a world where a tick is a millisecond and time stands still.
class CTimerCycle : public CTimerClock
{
protected:
    CTimerCycle()
    {
        Restart(1000);
        g_timeouts.clear();
        g_signals.clear();
        g_bStopped = false;
        g_pStoppedMeanwhile = nullptr;
        g_signalling = nullptr;
        SetNow(5000);
    }

    static void SetNow(uint64_t uMs)
    {
        CTimerProbe::ms_uSysUpTimeTick = uMs;
        g_nTicks = CTimerProbe::ms_uLastSysUpTimeTick;
    }
    /// One CyclicWait() at a time: what it answered and which time-outs it waited for.
    void ExpectWait(uint64_t uNow, bool bResynchronize, bool bWant, const std::vector<unsigned long>& rTimeouts)
    {
        SCOPED_TRACE(testing::Message() << "at " << uNow);
        SetNow(uNow);
        g_timeouts.assign(1, g_uMARK);
        EXPECT_EQ(bWant, m_timer.CyclicWait(bResynchronize));
        g_timeouts.erase(g_timeouts.begin());
        EXPECT_EQ(rTimeouts, g_timeouts);
        g_timeouts.clear();
    }

    CTimerProbe m_timer;

private:
    /// Keeps the list from being empty, so that every wait is recorded.
    static constexpr unsigned long g_uMARK = 1;
};
}  // namespace

TEST_F(CTimerCycle, StartKeepsThePeriodAndTheMomentAndASecondOneChangesNothing)
{
    m_timer.StopCyclicWait();
    m_timer.StopCyclicWait();
    EXPECT_TRUE(m_timer.StartCyclicWait(100));
    SetNow(6000);
    EXPECT_FALSE(m_timer.StartCyclicWait(200)) << "stops of an idle timer add up";
    EXPECT_EQ(5000u, m_timer.Next());
    EXPECT_EQ(100u, m_timer.Period());
}

TEST_F(CTimerCycle, WaitsForWhatIsLeftOfThePeriod)
{
    m_timer.StartCyclicWait(100);
    ExpectWait(5000, false, true, {100});
    EXPECT_EQ(5100u, m_timer.Next());
    ExpectWait(5130, true, true, {70});
    EXPECT_EQ(5200u, m_timer.Next());
    ExpectWait(5299, false, true, {1});
    EXPECT_EQ(5300u, m_timer.Next());
    ExpectWait(5400, true, true, {0});
    EXPECT_EQ(5400u, m_timer.Next());
    EXPECT_EQ(std::vector<bool>(), g_signals);
}

TEST_F(CTimerCycle, APeriodOfMoreThan32BitsIsWaitedForWhole)
{
    m_timer.StartCyclicWait(0x123456789A);
    ExpectWait(5001, false, true, {0x1234567899});
    EXPECT_EQ(5000u + 0x123456789A, m_timer.Next());
}

TEST_F(CTimerCycle, ALatePeriodOf350MsReturnsThreeTimesAtOnceAndThenIsBackOnTheGrid)
{
    m_timer.StartCyclicWait(100);
    ExpectWait(5000, false, true, {100});
    ExpectWait(5450, false, true, {});
    ExpectWait(5450, false, true, {});
    ExpectWait(5450, false, true, {});
    EXPECT_EQ(5400u, m_timer.Next());
    ExpectWait(5450, false, true, {50});
    ExpectWait(5500, false, true, {100});
    EXPECT_EQ(5600u, m_timer.Next());
}

struct SResync
{
    uint64_t uPeriodMs;
    uint64_t uNow;
    uint64_t uWantNext;
};

class CTimerResync : public CTimerCycle, public testing::WithParamInterface<SResync>
{
};

TEST_P(CTimerResync, BeginsThePeriodAtNowPlusTheUnsignedRemainderModuloThePeriod)
{
    m_timer.StartCyclicWait(GetParam().uPeriodMs);
    ExpectWait(GetParam().uNow, true, true, {});
    EXPECT_EQ(GetParam().uWantNext, m_timer.Next());
    EXPECT_EQ(GetParam().uPeriodMs, m_timer.Period());
    ExpectWait(GetParam().uNow, true, true, {GetParam().uWantNext + GetParam().uPeriodMs - GetParam().uNow});
}

// 2^64 is 18446744073709551616: 16 modulo 100, 0 modulo 256, 2 modulo 7, 616 modulo 1000.
INSTANTIATE_TEST_SUITE_P(Table, CTimerResync,
                         testing::Values(SResync{100, 5350, 5350 + 66}, SResync{100, 5101, 5101 + 15},
                                         SResync{100, 5116, 5116}, SResync{256, 5000 + 256 + 250, 5506 + 6},
                                         SResync{7, 5010, 5010 + 6}, SResync{1000, 6001, 6001 + 615},
                                         SResync{1, 5002, 5002}));

TEST_F(CTimerCycle, AStopWhileWaitingIsFalseAndLeavesTheTimerIdle)
{
    m_timer.StartCyclicWait(100);
    g_bStopped = true;
    ExpectWait(5020, false, false, {80});
    EXPECT_EQ((std::vector<bool>{false}), g_signals);
    EXPECT_EQ(5100u, m_timer.Next()) << "moved on as by any wait";
    EXPECT_EQ(1u, LoadAt<unsigned int>(&m_timer, 24 + 8)) << "free again";
    EXPECT_TRUE(m_timer.StartCyclicWait(10));
}

TEST_F(CTimerCycle, AStopWhileWaitingLeavesBothTimesCleared)
{
    m_timer.StartCyclicWait(100);
    g_bStopped = true;
    g_pStoppedMeanwhile = &m_timer;
    ExpectWait(5020, false, false, {80});
    EXPECT_EQ(0u, m_timer.Next()) << "moved on by the period that it had before the stop";
    EXPECT_EQ(0u, m_timer.Period());
}

TEST_F(CTimerCycle, StopClearsBothTimesBeforeItSignals)
{
    m_timer.StartCyclicWait(100);
    std::vector<uint64_t> times;
    g_signalling = [&] { times = {m_timer.Next(), m_timer.Period()}; };
    m_timer.StopCyclicWait();
    g_signalling = nullptr;
    EXPECT_EQ((std::vector<uint64_t>{0, 0}), times) << "the woken thread may have begun a new cycle";
    EXPECT_EQ((std::vector<bool>{false}), g_signals);
    EXPECT_TRUE(m_timer.StartCyclicWait(100));
}

TEST_F(CTimerCycle, AfterAStopEveryWaitIsTrueAtOnce)
{
    m_timer.StartCyclicWait(100);
    m_timer.StopCyclicWait();
    ExpectWait(5000, false, true, {});
    ExpectWait(5000, true, true, {});
    ExpectWait(5001, true, true, {});
    EXPECT_EQ(0u, m_timer.Period());
}

TEST_F(CTimerCycle, APeriodOfNothingIsOverAtOnceEvenWhenLate)
{
    EXPECT_TRUE(m_timer.StartCyclicWait(0));
    ExpectWait(5000, true, true, {0});
    ExpectWait(5001, true, true, {});
    ExpectWait(5001, false, true, {});
}

TEST_F(CTimerCycle, APeriodThatReachesTheSignBitIsLate)
{
    m_timer.StartCyclicWait(uint64_t{1} << 63);
    ExpectWait(4000, false, true, {});
}
