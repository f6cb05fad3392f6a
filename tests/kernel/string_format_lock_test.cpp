// strerror() and the C library's mutexes are replaced here, to see the one under the other.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <vector>

#include "framework/kernel/string_format.h"
#include "tests/support/real_mutex.h"

namespace
{
int g_nHeld = 0;
int g_nLocks = 0;
std::vector<int> g_heldDuring;
char g_achText[] = "text of the system";
bool g_bReplaced = false;
}  // namespace

extern "C"
{
    QV_EXPORT int pthread_mutex_lock(pthread_mutex_t* pMutex) noexcept
    {
        const int nResult = RealMutexLock(pMutex);
        ++g_nHeld;
        ++g_nLocks;
        return nResult;
    }
    QV_EXPORT int pthread_mutex_unlock(pthread_mutex_t* pMutex) noexcept
    {
        --g_nHeld;
        return RealMutexUnlock(pMutex);
    }
}

extern "C" QV_EXPORT char* strerror(int) noexcept
{
    if (g_bReplaced) g_heldDuring.push_back(g_nHeld);
    return g_achText;
}

TEST(CStrErrorLock, IsHeldWhileTheSystemIsAsked)
{
    char achBuffer[32];
    g_bReplaced = true;
    EXPECT_EQ(18, QvStrErrorReentrant(achBuffer, sizeof(achBuffer), 5));
    g_bReplaced = false;
    EXPECT_EQ(std::vector<int>{1}, g_heldDuring);
    EXPECT_EQ(0, g_nHeld);
    EXPECT_STREQ(g_achText, achBuffer);
}

TEST(CStrErrorLock, IsTheOnlyOneThatFormattingTakes)
{
    char achBuffer[32];
    unsigned char auOut[8];
    const int nBefore = g_nLocks;
    QvSnprintf(achBuffer, 4, "%s", "abcdef");
    QvUnsignedInt64ToString(achBuffer, 32, 12345, 10);
    QvStringToUnsignedInt64("123", nullptr, 10);
    AsciiToHex(false, auOut, 1, auOut + 4, 3);
    EXPECT_EQ(nBefore, g_nLocks);
}
