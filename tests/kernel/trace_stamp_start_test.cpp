// A trace engine in the place of the library's setter, as a program may link one: it is offered the up-time.
#include <gtest/gtest.h>
#include <sys/times.h>

#include <cstring>
#include <string>

#include "framework/kernel/framework_initializer.h"
#include "framework/kernel/package_id.h"
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

// Programs that were built before have them compiled in.
TEST(QvTraceValues, StayAsTheyAre)
{
    const EQvTraceLevel aeLevels[] = {eTRACE_LEVEL_FATAL, eTRACE_LEVEL_ERROR, eTRACE_LEVEL_WARNING, eTRACE_LEVEL_INFO,
                                      eTRACE_LEVEL_DEBUG};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(1 << n, aeLevels[n]);
    EXPECT_EQ(0, eTRACE_LEVEL_NONE);
    EXPECT_EQ(31, eTRACE_LEVEL_ALL);
    const EQvTraceCategory aeCategories[] = {eTRACE_CATEGORY_CALL, eTRACE_CATEGORY_STATE, eTRACE_CATEGORY_MEMORY,
                                             eTRACE_CATEGORY_THREAD, eTRACE_CATEGORY_TIME};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(1 << n, aeCategories[n]);
    EXPECT_EQ(0, eTRACE_CATEGORY_NONE);
    EXPECT_EQ(65536, eTRACE_CATEGORY_APPLICATION);
    EXPECT_EQ(2147483647, eTRACE_CATEGORY_ALL);
    const EQvTraceField aeFields[] = {eTRACE_FIELD_TIME,       eTRACE_FIELD_SYSTEM_TIME, eTRACE_FIELD_HOST_NAME,
                                      eTRACE_FIELD_PROCESS_ID, eTRACE_FIELD_THREAD_ID,   eTRACE_FIELD_PACKAGE,
                                      eTRACE_FIELD_LEVEL,      eTRACE_FIELD_CATEGORY,    eTRACE_FIELD_TEXT};
    for (int n = 0; n < 9; ++n) EXPECT_EQ(n, aeFields[n]);
    const EQvPackageId aePackages[] = {ePACKAGE_FRAMEWORK, ePACKAGE_KERNEL, ePACKAGE_BASIC, ePACKAGE_ECOM,
                                       ePACKAGE_CRYPTO};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(n, aePackages[n]);
    EXPECT_EQ(1000, ePACKAGE_APPLICATION);
}
