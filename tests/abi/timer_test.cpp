#include <unistd.h>

#include "tests/abi/framework_up.h"
#include "tests/abi/old_timer.h"
#include "tests/abi/told_size.h"

QvResult InitializeCTimer();
void FinalizeCTimer();

namespace
{
constexpr unsigned long g_uPERIOD_MS = 1UL << 40;  // more than 32 bits hold
}  // namespace

TEST(CTimerLayout, ATimerIsIdleWithAFreeSemaphoreBehindTwoTimes)
{
    static_assert(sizeof(CTimer) == 168);
    ExpectDestructorsAlone<CTimer>("6CTimer");
    const CGuarded<CTimer> timer;
    EXPECT_EQ(0UL, timer->m_uNextMs);
    EXPECT_EQ(0UL, timer->m_uPeriodMs);
    ExpectBinary(1, timer->m_semStop);
}

TEST(CTimerLayout, ACycleIsKeptInTheFieldsAndFollowsThem)
{
    const CGuarded<CTimer> timer;
    const unsigned long uBefore = CTimer::GetSystemUpTimeMs();
    EXPECT_TRUE(timer->StartCyclicWait(g_uPERIOD_MS));
    EXPECT_LE(uBefore, timer->m_uNextMs);
    EXPECT_GE(CTimer::GetSystemUpTimeMs(), timer->m_uNextMs);
    EXPECT_EQ(g_uPERIOD_MS, timer->m_uPeriodMs);
    ExpectBinary(0, timer->m_semStop);
    const unsigned long uLate = timer->m_uNextMs - 2 * g_uPERIOD_MS;
    timer->m_uNextMs = uLate;
    EXPECT_TRUE(timer->CyclicWait(false));
    EXPECT_EQ(uLate + g_uPERIOD_MS, timer->m_uNextMs);

    timer->StopCyclicWait();
    EXPECT_EQ(0UL, timer->m_uNextMs);
    EXPECT_EQ(0UL, timer->m_uPeriodMs);
    ExpectBinary(1, timer->m_semStop);
}

TEST(CTimerLayout, TheUpTimeIsTakenFromTheExportedTicks)
{
    EXPECT_EQ(static_cast<unsigned int>(sysconf(_SC_CLK_TCK)), CTimer::ms_uTickPerSec);
    CTimer::GetSystemUpTimeMs();
    // As if the 32-bit reading had stood ten ticks before its end: the accumulator gains at least those.
    const unsigned long uTicks = CTimer::ms_uSysUpTimeTick;
    const unsigned int uLast = CTimer::ms_uLastSysUpTimeTick;
    CTimer::ms_uLastSysUpTimeTick = uLast - 10;
    const unsigned long uMs = CTimer::GetSystemUpTimeMs();
    EXPECT_EQ(uTicks + 10 + (CTimer::ms_uLastSysUpTimeTick - uLast), CTimer::ms_uSysUpTimeTick);
    EXPECT_EQ(CTimer::ms_uSysUpTimeTick * 1000 / CTimer::ms_uTickPerSec, uMs);
    CTimer::ms_uSysUpTimeTick -= 10;
}

TEST(CTimerLayout, StaticsHaveTheirWidths)
{
    EXPECT_TRUE(HasItsSize(CTimer::ms_uSysUpTimeTick));
    EXPECT_TRUE(HasItsSize(CTimer::ms_uLastSysUpTimeTick));
    EXPECT_TRUE(HasItsSize(CTimer::ms_uTickPerSec));
    EXPECT_TRUE(HasItsSize(CTimer::ms_pmutexThreadingProtection));
    EXPECT_TRUE(HasItsSize(CTimer::ms_aumutexThreadingProtection));
    EXPECT_TRUE(HasItsSize(CTimer::ms_psemWait));
    EXPECT_TRUE(HasItsSize(CTimer::ms_ausemWait));
}

TEST(CTimerModule, BuildsItsLocksInStaticStorageUnderBothOfItsNames)
{
    for (const SModuleFunctions& rPair : {SModuleFunctions{InitializeCTimer, FinalizeCTimer},
                                          SModuleFunctions{CTimer::InitializeCTimer, CTimer::FinalizeCTimer}})
    {
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CTimer::ms_pmutexThreadingProtection);
        EXPECT_EQ(nullptr, CTimer::ms_psemWait);
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        EXPECT_EQ(static_cast<void*>(CTimer::ms_aumutexThreadingProtection),
                  static_cast<void*>(CTimer::ms_pmutexThreadingProtection));
        EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(CTimer::ms_aumutexThreadingProtection, 0));
        EXPECT_EQ(static_cast<void*>(CTimer::ms_ausemWait), static_cast<void*>(CTimer::ms_psemWait));
        ExpectBinary(0, *CTimer::ms_psemWait);
        EXPECT_EQ(0UL, CTimer::ms_uSysUpTimeTick);
        EXPECT_EQ(0u, CTimer::ms_uLastSysUpTimeTick);
    }
}
