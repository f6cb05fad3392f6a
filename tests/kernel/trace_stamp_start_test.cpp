// A trace engine in the place of the library's setter, as a program may link one: it is offered the up-time.
#include <gtest/gtest.h>
#include <sys/times.h>

#include <cstring>
#include <string>

#include "framework/kernel/framework_initializer.h"
#include "framework/kernel/timer.h"
#include "framework/kernel/trace.h"

static_assert((eTRACE_LEVEL_ERROR | eTRACE_LEVEL_INFO) == 10 && (eTRACE_CATEGORY_CALL | eTRACE_CATEGORY_STATE) == 3);

namespace
{
PFNQvTraceTimeFormatHandler g_pfnOffered = nullptr;
unsigned int g_uOffers = 0;
clock_t g_nTicks = 0;
}  // namespace

int QvTraceSetSysTimeFormatHandler(PFNQvTraceTimeFormatHandler pfnHandler)
{
    g_pfnOffered = pfnHandler;
    ++g_uOffers;
    return 0;
}

extern "C" QV_EXPORT clock_t times(tms* pstTimes) noexcept
{
    *pstTimes = tms{};
    return g_nTicks;
}

class CTraceStamp : public testing::Test
{
protected:
    CTraceStamp()
    {
        g_uOffers = 0;
        g_nTicks = 1234567;
        EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    }
    ~CTraceStamp() override { CFrameworkInitializer::Finalize(); }
};

TEST_F(CTraceStamp, IsOfferedOnceAtStartUp)
{
    EXPECT_EQ(1u, g_uOffers);
    EXPECT_NE(nullptr, g_pfnOffered);
}

TEST_F(CTraceStamp, IsTheUpTimeInMillisecondsAsADecimalNumber)
{
    const std::string strWant = std::to_string(CTimer::GetSystemUpTimeMs());
    char szStamp[32];
    std::memset(szStamp, '#', sizeof(szStamp));
    EXPECT_EQ(static_cast<int>(strWant.size()), g_pfnOffered(szStamp, sizeof(szStamp)));
    EXPECT_EQ(strWant, szStamp);
}

TEST_F(CTraceStamp, IsCutAndNotTerminatedWhereItDoesNotFit)
{
    const std::string strWant = std::to_string(CTimer::GetSystemUpTimeMs());
    char szStamp[] = "#########";
    EXPECT_EQ(4, g_pfnOffered(szStamp, 4));
    EXPECT_EQ(strWant.substr(0, 4) + "#####", szStamp);
    EXPECT_EQ(0, g_pfnOffered(szStamp, 0));
}
