// A trace engine in the place of the library's setter, as a program may link one: it is offered the up-time.
#include <gtest/gtest.h>
#include <sys/times.h>

#include <string>

#include "framework/kernel/framework_initializer.h"
#include "framework/kernel/timer.h"
#include "framework/kernel/trace.h"

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

TEST(CTraceStamp, IsOfferedOnceAndIsTheUpTimeInMillisecondsAsFarAsItFits)
{
    g_nTicks = 1234567;
    const CFrameworkScope framework;
    ASSERT_EQ(1u, g_uOffers);
    ASSERT_NE(nullptr, g_pfnOffered);
    const std::string strWant = std::to_string(CTimer::GetSystemUpTimeMs());
    char szStamp[32] = "##########";
    EXPECT_EQ(0, g_pfnOffered(szStamp, 0));
    EXPECT_EQ(4, g_pfnOffered(szStamp, 4));
    EXPECT_EQ(strWant.substr(0, 4) + "######", szStamp) << "without a terminator";
    EXPECT_EQ(static_cast<int>(strWant.size()), g_pfnOffered(szStamp, sizeof(szStamp)));
    EXPECT_EQ(strWant, szStamp);
}
