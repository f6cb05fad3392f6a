#include "framework/kernel/singleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "framework/basic/allocator.h"
#include "framework/kernel/semaphore.h"
#include "tests/support/free_mutex.h"
#include "tests/support/real_mutex.h"

namespace
{
std::atomic<unsigned int> g_uLocks{0};
/// Told of each lock that is about to be taken, when there.
std::atomic<const CSemaphore*> g_pLocking{nullptr};
}  // namespace

extern "C" QV_EXPORT int pthread_mutex_lock(pthread_mutex_t* pMutex) noexcept
{
    if (static_cast<void*>(pMutex) == CSingletonBase::ms_auMutex + sizeof(void*))
    {
        ++g_uLocks;
        if (const CSemaphore* const pLocking = g_pLocking) pLocking->Signal(false);
    }
    return RealMutexLock(pMutex);
}

namespace
{
class CCounted : public CSingleton<CCounted>
{
public:
    CCounted() : m_nNumber(++ms_nConstructed) {}
    ~CCounted() override
    {
        ++ms_nDestroyed;
        ms_pInstanceAtDestruction = ms_pInstance;
    }

    int m_nNumber;
    static inline std::atomic<int> ms_nConstructed{0};
    static inline int ms_nDestroyed = 0;
    static inline CCounted* ms_pInstanceAtDestruction = nullptr;
};

class COther : public CSingleton<COther>
{
public:
    COther() : m_pCounted(CCounted::Instance()) {}
    CCounted* const m_pCounted;
};

class CSingletonTest : public testing::Test
{
protected:
    CSingletonTest()
    {
        COther::DestroyInstance();
        CCounted::DestroyInstance();
        CCounted::ms_nConstructed = 0;
        CCounted::ms_nDestroyed = 0;
    }
    ~CSingletonTest() override
    {
        COther::DestroyInstance();
        CCounted::DestroyInstance();
        EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex)) << "the mutex of all singletons was left locked";
    }
};
}  // namespace

TEST_F(CSingletonTest, IsMadeByTheFirstCallAndIsTheSameFromThenOn)
{
    EXPECT_EQ(nullptr, CCounted::ms_pInstance);
    CCounted* const pInstance = CCounted::Instance();
    ASSERT_NE(nullptr, pInstance);
    EXPECT_EQ(1, pInstance->m_nNumber);
    EXPECT_EQ(pInstance, CCounted::ms_pInstance);
    EXPECT_EQ(pInstance, CCounted::Instance());
    EXPECT_EQ(1, CCounted::ms_nConstructed);
}

TEST_F(CSingletonTest, LocksOnlyToBeMade)
{
    const unsigned int uBefore = g_uLocks;
    CCounted::Instance();
    EXPECT_EQ(uBefore + 1, g_uLocks);
    CCounted::Instance();
    EXPECT_EQ(uBefore + 1, g_uLocks);
    CCounted::DestroyInstance();
    EXPECT_EQ(uBefore + 1, g_uLocks);
}

TEST_F(CSingletonTest, IsMadeAnewAfterItsDestruction)
{
    CCounted::Instance();
    CCounted::DestroyInstance();
    EXPECT_EQ(1, CCounted::ms_nDestroyed);
    EXPECT_EQ(nullptr, CCounted::ms_pInstance);
    EXPECT_EQ(2, CCounted::Instance()->m_nNumber);
}

TEST_F(CSingletonTest, IsTheInstanceUntilItIsDestroyed)
{
    CCounted* const pInstance = CCounted::Instance();
    CCounted::DestroyInstance();
    EXPECT_EQ(pInstance, CCounted::ms_pInstanceAtDestruction);
    EXPECT_EQ(nullptr, CCounted::ms_pInstance);
}

TEST_F(CSingletonTest, DestroyingNoneIsHarmless)
{
    CCounted::DestroyInstance();
    EXPECT_EQ(0, CCounted::ms_nDestroyed);
    CCounted::Instance();
    CCounted::DestroyInstance();
    CCounted::DestroyInstance();
    EXPECT_EQ(1, CCounted::ms_nDestroyed);
    EXPECT_EQ(nullptr, CCounted::ms_pInstance);
}

TEST_F(CSingletonTest, AConstructorMayAskForAnotherSingleton)
{
    EXPECT_EQ(CCounted::Instance(), COther::Instance()->m_pCounted);
    COther::DestroyInstance();
    CCounted::DestroyInstance();
    EXPECT_NE(nullptr, COther::Instance()->m_pCounted);
    EXPECT_EQ(2, CCounted::ms_nConstructed);
}

TEST_F(CSingletonTest, IsMadeOnceWhenManyThreadsFindItMissing)
{
    constexpr unsigned int uTHREADS = 4;
    const CSemaphore locking(0, uTHREADS + 1, false);
    CCounted* apInstances[uTHREADS] = {};
    std::vector<std::thread> threads;
    CSingletonBase::ms_pmutex->Lock();
    g_pLocking = &locking;
    for (CCounted*& rpInstance : apInstances) threads.emplace_back([&] { rpInstance = CCounted::Instance(); });
    // All have looked and found nothing once they want the mutex.
    for (unsigned int u = 0; u < uTHREADS; ++u) ASSERT_TRUE(locking.Wait());
    g_pLocking = nullptr;
    EXPECT_EQ(0, CCounted::ms_nConstructed) << "made without the mutex";
    CSingletonBase::ms_pmutex->Unlock();
    for (std::thread& rThread : threads) rThread.join();
    EXPECT_EQ(1, CCounted::ms_nConstructed);
    for (CCounted* pInstance : apInstances) EXPECT_EQ(CCounted::ms_pInstance, pInstance);
}

TEST_F(CSingletonTest, IsSeenWholeByThreadsThatDoNotLock)
{
    for (int nRound = 0; nRound < 50; ++nRound)
    {
        std::vector<std::thread> threads;
        std::atomic<int> nSum{0};
        for (int n = 0; n < 3; ++n) threads.emplace_back([&] { nSum += CCounted::Instance()->m_nNumber; });
        for (std::thread& rThread : threads) rThread.join();
        EXPECT_EQ(3 * CCounted::ms_nConstructed, nSum);
        CCounted::DestroyInstance();
    }
}

TEST(CSingletonModule, KeepsItsMutexInStaticStorageUntilItGoesDown)
{
    CDefaultAllocator::Instance();
    EXPECT_EQ(static_cast<void*>(CSingletonBase::ms_auMutex), CSingletonBase::ms_pmutex);
    FinalizeCSingleton();
    EXPECT_EQ(nullptr, CSingletonBase::ms_pmutex);
    for (std::size_t u = sizeof(void*); u < sizeof(CMutex); ++u)
    {
        EXPECT_EQ(0, CSingletonBase::ms_auMutex[u]) << "the mutex was not destroyed";
    }
    EXPECT_EQ(QV_RES_OK, InitializeCSingleton());
    EXPECT_EQ(static_cast<void*>(CSingletonBase::ms_auMutex), CSingletonBase::ms_pmutex);
    EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex));
    CSingletonBase::FinalizeCSingletonBase();
    EXPECT_EQ(nullptr, CSingletonBase::ms_pmutex);
    EXPECT_EQ(QV_RES_OK, CSingletonBase::InitializeCSingletonBase());
    EXPECT_NE(nullptr, CSingletonBase::ms_pmutex);
}
