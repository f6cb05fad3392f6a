#include "framework/kernel/framework_initializer.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "framework/kernel/assertion.h"
#include "framework/kernel/singleton.h"
#include "tests/support/timer_probe.h"

using TInit = CFrameworkInitializer;
static_assert(std::is_same_v<std::underlying_type_t<TInit::EFinalizeFrom>, int>);
static_assert(TInit::eFROM_ASSERT == 1 && TInit::eFROM_RESULT == 3 && TInit::eFROM_THREAD == 5);
static_assert(TInit::eFROM_DEFAULT_ALLOCATOR == 7 && TInit::eFROM_SINGLETON == 8 && TInit::eFROM_STRING == 9);
static_assert(TInit::eFROM_EVENT_NOTIFIER == 10 && TInit::eFROM_TIMER == 11 && TInit::eFROM_TRACE_KERNEL == 12);
static_assert(TInit::eFROM_TIME == 13 && TInit::eFROM_TRACE_TIME == 14 && TInit::eFROM_ECOM == 15);
static_assert(TInit::eFROM_POOL == 17 && TInit::eFROM_AATREE == 18 && TInit::eFROM_STRING_FORMAT == 26);
static_assert(TInit::eFROM_FAULT == 27 && TInit::eFROM_CRYPTO == 29 && TInit::eFROM_AES == 35);
static_assert(TInit::eFROM_SECURE_PRNG == 36 && TInit::eFROM_SECURE_SEED == 37 && TInit::eFROM_ALL == 38);
static_assert(std::is_same_v<unsigned int, decltype(TInit::ms_uInitializationCount)>);

namespace
{
// An early, a middle and a later module.
void ExpectUp(bool bUp)
{
    EXPECT_EQ(bUp, g_pstAssertFailHandler != nullptr);
    EXPECT_EQ(bUp, CSingletonBase::ms_pmutex != nullptr);
    EXPECT_EQ(bUp, CTimerProbe::ms_pmutexThreadingProtection != nullptr && CTimerProbe::ms_psemWait != nullptr);
}
}  // namespace

class CFramework : public testing::Test
{
protected:
    CFramework()
    {
        EXPECT_EQ(0u, TInit::ms_uInitializationCount);
        ExpectUp(false);
    }
    ~CFramework() override
    {
        EXPECT_EQ(0u, TInit::ms_uInitializationCount) << "the test left the framework up";
        ExpectUp(false);
    }
};

TEST_F(CFramework, IsDownWhenLoaded)
{
}

TEST_F(CFramework, ComesUpAndGoesDown)
{
    EXPECT_EQ(QV_RES_OK, TInit::Initialize());
    EXPECT_EQ(1u, TInit::ms_uInitializationCount);
    ExpectUp(true);
    EXPECT_NE(0u, CTimer::GetSystemUpTimeMs());
    TInit::Finalize();
}

TEST_F(CFramework, StaysUpUntilItsLastUserIsDone)
{
    EXPECT_EQ(QV_RES_OK, TInit::Initialize());
    EXPECT_EQ(QV_RES_OK, TInit::Initialize());
    EXPECT_EQ(2u, TInit::ms_uInitializationCount);
    TInit::Finalize();
    EXPECT_EQ(1u, TInit::ms_uInitializationCount);
    ExpectUp(true);
    EXPECT_NE(0u, CTimer::GetSystemUpTimeMs());
    TInit::Finalize();
}

TEST_F(CFramework, ASecondStartUpTouchesNoModule)
{
    ASSERT_EQ(QV_RES_OK, TInit::Initialize());
    g_pstAssertFailHandler->uOpaque = 77;
    EXPECT_EQ(QV_RES_OK, TInit::Initialize());
    EXPECT_EQ(77u, g_pstAssertFailHandler->uOpaque);
    TInit::Finalize();
    TInit::Finalize();
}

TEST_F(CFramework, ComesUpAfreshAfterAShutDown)
{
    for (int n = 0; n < 3; ++n)
    {
        ASSERT_EQ(QV_RES_OK, TInit::Initialize());
        EXPECT_EQ(0u, g_pstAssertFailHandler->uOpaque);
        g_pstAssertFailHandler->uOpaque = 77;
        ExpectUp(true);
        TInit::Finalize();
        ExpectUp(false);
    }
}

TEST_F(CFramework, AShutDownTooManyWrapsTheCountAndTheNextStartUpBringsNothingUp)
{
    TInit::Finalize();
    EXPECT_EQ(4294967295u, TInit::ms_uInitializationCount);
    EXPECT_EQ(QV_RES_OK, TInit::Initialize());
    EXPECT_EQ(0u, TInit::ms_uInitializationCount);
    ExpectUp(false);
}

TEST_F(CFramework, TakesDownAPartAsTold)
{
    ASSERT_EQ(QV_RES_OK, TInit::Initialize());
    TInit::PartialFinalize(static_cast<TInit::EFinalizeFrom>(0));
    TInit::PartialFinalize(static_cast<TInit::EFinalizeFrom>(39));
    ExpectUp(true);
    TInit::PartialFinalize(static_cast<TInit::EFinalizeFrom>(2));
    EXPECT_EQ(nullptr, g_pstAssertFailHandler);
    EXPECT_TRUE(CSingletonBase::ms_pmutex != nullptr);
    EXPECT_TRUE(CTimerProbe::ms_psemWait != nullptr);
    EXPECT_EQ(1u, TInit::ms_uInitializationCount);
    TInit::Finalize();
}

TEST_F(CFramework, IsUpForAScope)
{
    {
        const CFrameworkScope outer;
        EXPECT_EQ(QV_RES_OK, outer.GetResult());
        {
            const CFrameworkScope inner;
            EXPECT_EQ(QV_RES_OK, inner.GetResult());
            EXPECT_EQ(2u, TInit::ms_uInitializationCount);
        }
        EXPECT_EQ(1u, TInit::ms_uInitializationCount);
        ExpectUp(true);
    }
}
