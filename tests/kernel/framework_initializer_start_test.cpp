#include "framework/kernel/framework_initializer.h"

#include <gtest/gtest.h>

#include "framework/kernel/assertion.h"
#include "framework/kernel/singleton.h"
#include "tests/support/timer_probe.h"

using TInit = CFrameworkInitializer;

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
