#include "framework/kernel/semaphore.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr unsigned long g_uHOUR_MS = 3600000;

/// Takes what is free, and tells how much that was.
template <typename TSemaphore>
unsigned int Drain(const TSemaphore& rSemaphore)
{
    unsigned int uCount = 0;
    while (rSemaphore.Wait(0)) ++uCount;
    return uCount;
}

struct SKind
{
    const char* pszName;
    unsigned int uMaxCount;
    bool bTimedWait;
    bool bPosix;
};

constexpr SKind g_astKINDS[] = {
    {"CountingPosix", 50, false, true}, {"CountingTimed", 50, true, false},   {"BinaryUntimed", 1, false, false},
    {"BinaryTimed", 1, true, false},    {"ZeroMaximumPosix", 0, false, true}, {"ZeroMaximumTimed", 0, true, false},
};
}  // namespace

class CSemaphoreKind : public testing::TestWithParam<SKind>
{
protected:
    const SKind& m_rstKind = GetParam();
};

TEST_P(CSemaphoreKind, StartsWithItsInitialCount)
{
    for (unsigned int uInitial : {0u, 1u, 3u, 49u, 50u})
    {
        const CSemaphore sem(uInitial, m_rstKind.uMaxCount, m_rstKind.bTimedWait);
        EXPECT_EQ(uInitial, Drain(sem));
    }
}

TEST_P(CSemaphoreKind, CountsItsSignalsUpToWhereItStops)
{
    const CSemaphore sem(0, m_rstKind.uMaxCount, m_rstKind.bTimedWait);
    for (unsigned int u = 0; u < 60; ++u) sem.Signal(u % 2 == 0);
    EXPECT_EQ(m_rstKind.bPosix ? 60u : m_rstKind.uMaxCount, Drain(sem));
}

TEST_P(CSemaphoreKind, ASignalAtOrAboveTheMaximumNeverLowersTheCount)
{
    const unsigned int uInitial = m_rstKind.uMaxCount + 2;
    const CSemaphore sem(uInitial, m_rstKind.uMaxCount, m_rstKind.bTimedWait);
    sem.Signal(false);
    EXPECT_EQ(m_rstKind.bPosix ? uInitial + 1 : uInitial, Drain(sem));
}

TEST_P(CSemaphoreKind, AnyOtherTimeOutNeedsTimedWaitsEvenWhenFree)
{
    for (unsigned long uTimeoutMs : {1ul, 1000ul, 4294967295ul, 4294967296ul, ULONG_MAX - 1})
    {
        const CSemaphore sem(2, m_rstKind.uMaxCount, m_rstKind.bTimedWait);
        EXPECT_EQ(m_rstKind.bTimedWait, sem.Wait(uTimeoutMs)) << uTimeoutMs;
        EXPECT_EQ(m_rstKind.bTimedWait ? 1u : 2u, Drain(sem)) << uTimeoutMs;
    }
}

TEST_P(CSemaphoreKind, WaitWithATimeOutEndsWithoutASignal)
{
    const CSemaphore sem(0, m_rstKind.uMaxCount, m_rstKind.bTimedWait);
    EXPECT_FALSE(sem.Wait(0));
    EXPECT_FALSE(sem.Wait(20));
    EXPECT_FALSE(sem.Wait(1));
}

INSTANTIATE_TEST_SUITE_P(All, CSemaphoreKind, testing::ValuesIn(g_astKINDS),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

class CSemaphoreThreads : public CSemaphoreKind
{
};

TEST_P(CSemaphoreThreads, ASignalWakesABlockedWait)
{
    const CSemaphore request(0, m_rstKind.uMaxCount, m_rstKind.bTimedWait);
    const CSemaphore answer(0, m_rstKind.uMaxCount, m_rstKind.bTimedWait);
    int nData = 0;
    std::thread other(
        [&]
        {
            for (int n = 0; n < 500; ++n)
            {
                if (!request.Wait()) return;
                ++nData;
                answer.Signal(n % 8 == 0);
            }
        });
    for (int n = 0; n < 500; ++n)
    {
        ++nData;
        request.Signal(false);
        ASSERT_TRUE(answer.Wait(ULONG_MAX));
        ASSERT_EQ(2 * (n + 1), nData);
    }
    other.join();
}

TEST_P(CSemaphoreThreads, EverySignalLetsExactlyOneWaiterThrough)
{
    constexpr unsigned int uWAITERS = 4;
    constexpr unsigned int uEACH = 250;
    const CSemaphore passed(0, 50, false);
    const CSemaphore sem(0, m_rstKind.uMaxCount, m_rstKind.bTimedWait);
    std::vector<std::thread> waiters;
    for (unsigned int u = 0; u < uWAITERS; ++u)
    {
        waiters.emplace_back(
            [&]
            {
                for (unsigned int uRound = 0; uRound < uEACH; ++uRound)
                {
                    EXPECT_TRUE(sem.Wait());
                    passed.Signal(false);
                }
            });
    }
    for (unsigned int u = 0; u < uWAITERS * uEACH; ++u)
    {
        sem.Signal(false);
        ASSERT_TRUE(passed.Wait());
    }
    for (std::thread& rWaiter : waiters) rWaiter.join();
    EXPECT_EQ(0u, Drain(sem));
    EXPECT_EQ(0u, Drain(passed));
}

INSTANTIATE_TEST_SUITE_P(All, CSemaphoreThreads, testing::ValuesIn(g_astKINDS, g_astKINDS + 4),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CBinarySemaphore, WakesAWaiterWhateverItWaitsFor)
{
    for (unsigned long uTimeoutMs : {g_uHOUR_MS, ULONG_MAX})
    {
        const CBinarySemaphore sem(CBinarySemaphore::eTAKEN, true);
        bool bTaken = false;
        std::thread waiter([&] { bTaken = sem.Wait(uTimeoutMs); });
        sem.Signal(true);
        waiter.join();
        EXPECT_TRUE(bTaken);
        EXPECT_FALSE(sem.Wait(0));
    }
}
