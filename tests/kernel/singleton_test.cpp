#include "framework/kernel/singleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "framework/kernel/semaphore.h"
#include "tests/support/free_mutex.h"
#include "tests/support/real_mutex.h"
#include "tests/support/refusing_new.h"

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
    CCounted() { ++ms_nConstructed; }
    ~CCounted() override { ms_pInstanceAtDestruction = ms_pInstance; }

    static inline std::atomic<int> ms_nConstructed{0};
    static inline CCounted* ms_pInstanceAtDestruction = nullptr;
};

class CSingletonTest : public testing::Test
{
protected:
    CSingletonTest()
    {
        CCounted::DestroyInstance();
        CCounted::ms_nConstructed = 0;
    }
    ~CSingletonTest() override
    {
        CCounted::DestroyInstance();
        EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex)) << "the mutex of all singletons was left locked";
    }
};
}  // namespace

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

TEST_F(CSingletonTest, IsTheInstanceUntilItIsDestroyed)
{
    CCounted* const pInstance = CCounted::Instance();
    CCounted::DestroyInstance();
    EXPECT_EQ(pInstance, CCounted::ms_pInstanceAtDestruction);
    EXPECT_EQ(nullptr, CCounted::ms_pInstance);
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

TEST(CSingletonModule, DestroysItsMutexWhenItGoesDown)
{
    FinalizeCSingleton();
    for (std::size_t u = sizeof(void*); u < sizeof(CMutex); ++u) EXPECT_EQ(0, CSingletonBase::ms_auMutex[u]);
    EXPECT_EQ(QV_RES_OK, InitializeCSingleton());
    EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex));
}

#if TESTS_OWN_OPERATOR_NEW
namespace
{
/// Of the classes here, so that what is asked for them can be told from the rest.
constexpr std::size_t g_uWATCHED_SIZE = 1240;

/// A class with its own way to memory, which must not be taken.
class CSized : public CSingleton<CSized>
{
public:
    CSized() { bMutexHeld = !IsFreeForOthers(*CSingletonBase::ms_pmutex); }
    static void* operator new(std::size_t) = delete;
    static void operator delete(void* pvBlock) { ::operator delete(pvBlock); }
    static inline bool bMutexHeld = false;

private:
    [[maybe_unused]] char m_achRoom[g_uWATCHED_SIZE - sizeof(void*)] = {};
};
static_assert(sizeof(CSized) == g_uWATCHED_SIZE);

struct SCondition
{
};

class CThrowing : public CSingleton<CThrowing>
{
public:
    CThrowing()
    {
        if (ms_bThrow) throw SCondition();
    }
    static bool IsMade() { return ms_pInstance != nullptr; }
    static inline bool ms_bThrow = true;

private:
    [[maybe_unused]] char m_achRoom[g_uWATCHED_SIZE - sizeof(void*)] = {};
};

class CSingletonMemory : public testing::Test
{
protected:
    ~CSingletonMemory() override
    {
        EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex)) << "the mutex of all singletons was left locked";
    }

    const CNewRecord m_record{eNEW_OBJECT, g_uWATCHED_SIZE};
};
}  // namespace

TEST_F(CSingletonMemory, IsMadeByTheGlobalOperatorNewWithTheMutexHeld)
{
    CSized::Instance();
    EXPECT_TRUE(CSized::bMutexHeld);
    EXPECT_EQ(1u, m_record.GetMade().size());
    EXPECT_EQ(0u, m_record.GetFreed().size());
    CSized::DestroyInstance();
    EXPECT_EQ(1u, m_record.GetFreed().size());
}

TEST_F(CSingletonMemory, WithoutMemoryTheExceptionPassesAndTheMutexIsFree)
{
    {
        const CRefusingNew refusing(0, eALL_FORMS, ERefused::eALL_BEHIND, g_uWATCHED_SIZE);
        EXPECT_THROW(CSized::Instance(), std::bad_alloc);
        EXPECT_THROW(CSized::Instance(), std::bad_alloc);
    }
    EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex));
    EXPECT_NE(nullptr, CSized::Instance());
    CSized::DestroyInstance();
}

TEST_F(CSingletonMemory, AThrowingConstructorPassesThroughReleasesTheMemoryAndLeavesTheMutexLocked)
{
    EXPECT_THROW(CThrowing::Instance(), SCondition);
    EXPECT_EQ(1u, m_record.GetMade().size());
    EXPECT_EQ(1u, m_record.GetFreed().size());
    EXPECT_FALSE(CThrowing::IsMade());
    EXPECT_FALSE(IsFreeForOthers(*CSingletonBase::ms_pmutex));
    CSingletonBase::ms_pmutex->Unlock();
    EXPECT_TRUE(IsFreeForOthers(*CSingletonBase::ms_pmutex));

    CThrowing::ms_bThrow = false;
    EXPECT_NE(nullptr, CThrowing::Instance());
    CThrowing::DestroyInstance();
}
#endif
