#include <cstdlib>
#include <cstring>

#include "tests/abi/framework_up.h"
#include "tests/abi/old_timer.h"

// A program with a trace engine of its own: it defines the setter, and the library's calls arrive there.
namespace
{
int (*g_pfnStamp)(char*, int) = nullptr;
}

__attribute__((visibility("default"))) int QvTraceSetSysTimeFormatHandler(int (*pfnHandler)(char*, int))
{
    g_pfnStamp = pfnHandler;
    return 0;
}

TEST(TraceKernel, OffersTheUpTimeInMillisecondsToATraceEngine)
{
    ASSERT_NE(nullptr, g_pfnStamp);
    char szStamp[24];
    const unsigned long uBefore = CTimer::GetSystemUpTimeMs();
    const int nLength = g_pfnStamp(szStamp, sizeof(szStamp));
    EXPECT_EQ(static_cast<std::size_t>(nLength), std::strlen(szStamp));
    const unsigned long uStamp = std::strtoul(szStamp, nullptr, 10);
    EXPECT_LE(uBefore, uStamp);
    EXPECT_LE(uStamp, CTimer::GetSystemUpTimeMs());
}
