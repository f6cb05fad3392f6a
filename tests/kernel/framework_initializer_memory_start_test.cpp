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
    bool bRefused = true;
    for (unsigned long uNth = 0; bRefused; ++uNth)
    {
        SCOPED_TRACE(testing::Message() << "refused: " << uNth);
        const long nLive = LiveNewBlocks();
        try
        {
            const CRefusingNew refusing(uNth);
            const CFrameworkScope framework;
            bRefused = refusing.HasRefused();
        }
        catch (const std::bad_alloc&)
        {
            ++uThrown;
        }
        EXPECT_EQ(nLive, LiveNewBlocks());
        EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
        EXPECT_EQ(nullptr, g_pstAssertFailHandler) << "the first module is still up";
        EXPECT_EQ(uKeys, FreeThreadKeys());
        EXPECT_EQ(QV_RES_OK, CFrameworkScope().GetResult()) << "and now it does not start";
    }
    EXPECT_LT(0u, uThrown);
}

#endif
