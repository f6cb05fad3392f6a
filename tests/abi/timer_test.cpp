#include <unistd.h>

#include "tests/abi/foreign_program.h"
#include "tests/abi/foreign_threads.h"
#include "tests/abi/room_for.h"
#include "tests/abi/started_framework.h"

class CTimer
{
public:
    CTimer();
    virtual ~CTimer();
    static unsigned long GetSystemUpTimeMs();
    bool StartCyclicWait(unsigned long uPeriodMs);
    bool CyclicWait(bool bResynchronize);
    void StopCyclicWait();
    static int InitializeCTimer();
    static void FinalizeCTimer();

    static unsigned long ms_uSysUpTimeTick;
    static unsigned int ms_uLastSysUpTimeTick;
    static unsigned int ms_uTickPerSec;
    static CMutex* ms_pmutexThreadingProtection;
    static unsigned char ms_aumutexThreadingProtection[sizeof(CMutex)];
    static CBinarySemaphore* ms_psemWait;
    static unsigned char ms_ausemWait[sizeof(CBinarySemaphore)];

    unsigned long m_uNextMs;
    unsigned long m_uPeriodMs;
    CBinarySemaphore m_semStop;
};

int InitializeCTimer();
void FinalizeCTimer();

namespace
{
constexpr unsigned long g_uPERIOD_MS = 1UL << 40;  // more than 32 bits hold

/// Free and made for timed waits, or taken; both with the maximum of a binary semaphore.
void ExpectBinary(const CBinarySemaphore& rSemaphore, unsigned int uCount)
{
    EXPECT_EQ("CSemaphore::~CSemaphore()", FunctionInSlot(&rSemaphore, 0));
    EXPECT_EQ(uCount, rSemaphore.m_sem.m_uCount);
    EXPECT_EQ(1U, rSemaphore.m_sem.m_uMaxCount);
    EXPECT_TRUE(rSemaphore.m_sem.m_bTimedWait);
}
}  // namespace

TEST(CTimerLayout, ATimerIsIdleWithAFreeSemaphoreBehindTwoTimes)
{
    static_assert(sizeof(CTimer) == 168);
    const CRoomFor<CTimer> timer;
    EXPECT_EQ(8U, OffsetOf(*timer, &CTimer::m_uNextMs));
    EXPECT_EQ(16U, OffsetOf(*timer, &CTimer::m_uPeriodMs));
    EXPECT_EQ(24U, OffsetOf(*timer, &CTimer::m_semStop));
    EXPECT_EQ(0UL, timer->m_uNextMs);
    EXPECT_EQ(0UL, timer->m_uPeriodMs);
    ExpectBinary(timer->m_semStop, 1);
}

TEST(CTimerLayout, ACycleIsKeptInTheFieldsAndFollowsThem)
{
    const CRoomFor<CTimer> timer;
    const unsigned long uBefore = CTimer::GetSystemUpTimeMs();
    EXPECT_TRUE(timer->StartCyclicWait(g_uPERIOD_MS));
    EXPECT_LE(uBefore, timer->m_uNextMs);
    EXPECT_GE(CTimer::GetSystemUpTimeMs(), timer->m_uNextMs);
    EXPECT_EQ(g_uPERIOD_MS, timer->m_uPeriodMs);
    ExpectBinary(timer->m_semStop, 0);
    EXPECT_FALSE(timer->StartCyclicWait(1));

    const unsigned long uLate = timer->m_uNextMs - 2 * g_uPERIOD_MS;
    timer->m_uNextMs = uLate;
    EXPECT_TRUE(timer->CyclicWait(false));
    EXPECT_EQ(uLate + g_uPERIOD_MS, timer->m_uNextMs);

    timer->StopCyclicWait();
    EXPECT_EQ(0UL, timer->m_uNextMs);
    EXPECT_EQ(0UL, timer->m_uPeriodMs);
    ExpectBinary(timer->m_semStop, 1);
}

TEST(CTimerLayout, AStoppedWaitGivesTheSemaphoreBack)
{
    const CRoomFor<CTimer> timer;
    ASSERT_TRUE(timer->StartCyclicWait(g_uPERIOD_MS));
    timer->m_semStop.Signal(false);
    const unsigned long uNextMs = timer->m_uNextMs;
    EXPECT_FALSE(timer->CyclicWait(true));
    EXPECT_EQ(uNextMs + g_uPERIOD_MS, timer->m_uNextMs);
    ExpectBinary(timer->m_semStop, 1);
}

TEST(CTimerLayout, HasTheTwoDestructorsAsItsVirtualFunctions)
{
    CTimer* const pTimer = ThroughTheTable(new CTimer);
    EXPECT_EQ(0, OffsetToTop(pTimer));
    EXPECT_EQ("CTimer::~CTimer()", FunctionInSlot(pTimer, 0));
    EXPECT_EQ("CTimer::~CTimer()", FunctionInSlot(pTimer, 1));
    delete pTimer;
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

TEST(CTimerLayout, TheModuleBuildsItsLocksInStaticStorage)
{
    EXPECT_EQ(static_cast<void*>(CTimer::ms_aumutexThreadingProtection),
              static_cast<void*>(CTimer::ms_pmutexThreadingProtection));
    EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(CTimer::ms_aumutexThreadingProtection, 0));
    EXPECT_EQ(static_cast<void*>(CTimer::ms_ausemWait), static_cast<void*>(CTimer::ms_psemWait));
    ExpectBinary(*CTimer::ms_psemWait, 0);
}

/// Takes the module down and up and looks at its statics on the way.
void ExpectDownAndUp(void (*pfnFinalize)(), int (*pfnInitialize)())
{
    pfnFinalize();
    EXPECT_EQ(nullptr, CTimer::ms_pmutexThreadingProtection);
    EXPECT_EQ(nullptr, CTimer::ms_psemWait);
    EXPECT_EQ(0, pfnInitialize());
    EXPECT_NE(nullptr, CTimer::ms_pmutexThreadingProtection);
    EXPECT_NE(nullptr, CTimer::ms_psemWait);
    EXPECT_EQ(0UL, CTimer::ms_uSysUpTimeTick);
    EXPECT_EQ(0U, CTimer::ms_uLastSysUpTimeTick);
}

TEST(CTimerLayout, TheModuleGoesDownAndUpUnderBothOfItsNames)
{
    ExpectDownAndUp(FinalizeCTimer, InitializeCTimer);
    ExpectDownAndUp(CTimer::FinalizeCTimer, CTimer::InitializeCTimer);
}
