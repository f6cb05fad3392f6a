#include <gtest/gtest.h>
#include <pthread.h>

#include <new>
#include <vector>

#include "framework/kernel/assertion.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/refusing_new.h"

#if TESTS_OWN_OPERATOR_NEW
namespace
{
struct SStart
{
    bool bRefused;
    bool bThrew;
    long nLostBlocks;
};

// Starts the framework up with the uNth allocation refused, and takes it down again when it came up all the same.
SStart StartWithout(unsigned long uNth)
{
    const long nLive = LiveNewBlocks();
    SStart stStart = {};
    const CRefusingNew refusing(uNth);
    try
    {
        if (CFrameworkInitializer::Initialize() >= 0) CFrameworkInitializer::Finalize();
    }
    catch (const std::bad_alloc&)
    {
        stStart.bThrew = true;
    }
    stStart.bRefused = refusing.HasRefused();
    stStart.nLostBlocks = LiveNewBlocks() - nLive;
    return stStart;
}

std::size_t FreeThreadKeys()
{
    std::vector<pthread_key_t> keys;
    for (pthread_key_t key; ::pthread_key_create(&key, nullptr) == 0;) keys.push_back(key);
    for (const pthread_key_t key : keys) ::pthread_key_delete(key);
    return keys.size();
}
}  // namespace

TEST(CFrameworkMemory, AStartThatThrowsLeavesNothingBehind)
{
    const std::size_t uKeys = FreeThreadKeys();
    unsigned int uThrown = 0;
    SStart stStart = {true, false, 0};
    for (unsigned long uNth = 0; stStart.bRefused; ++uNth)
    {
        stStart = StartWithout(uNth);
        if (stStart.bThrew) ++uThrown;
        EXPECT_EQ(0, stStart.nLostBlocks) << "refused: " << uNth;
        EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount) << "refused: " << uNth;
        EXPECT_EQ(nullptr, g_pstAssertFailHandler) << "the first module is still up; refused: " << uNth;
        EXPECT_EQ(uKeys, FreeThreadKeys()) << "refused: " << uNth;
        ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize()) << "and now it does not start; refused: " << uNth;
        CFrameworkInitializer::Finalize();
    }
    EXPECT_LT(0u, uThrown);
}

// More often than a process has keys for its threads' data.
TEST(CFrameworkMemory, StartsAfter2000RefusedStarts)
{
    long nLostBlocks = 0;
    for (unsigned int uStarts = 0, uNth = 0; uStarts < 2000; ++uStarts)
    {
        const SStart stStart = StartWithout(uNth);
        nLostBlocks += stStart.nLostBlocks;
        uNth = stStart.bRefused ? uNth + 1 : 0;
    }
    EXPECT_EQ(0, nLostBlocks);
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    CFrameworkInitializer::Finalize();
}
#endif
