#include "framework/kernel/mutex.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

#include "tests/support/free_mutex.h"
#include "tests/support/real_mutex.h"

static_assert(!std::is_copy_constructible_v<CMutex> && !std::is_copy_assignable_v<CMutex>);

namespace
{
/// Where the destruction of a POSIX mutex is looked for, and of what kind that one was then.
const unsigned char* g_puWatched = nullptr;
std::vector<int> g_destroyedKinds;
}  // namespace

extern "C" QV_EXPORT int pthread_mutex_destroy(pthread_mutex_t* pMutex) noexcept
{
    if (static_cast<void*>(pMutex) == g_puWatched) g_destroyedKinds.push_back(pMutex->__data.__kind);
    return RealMutexDestroy(pMutex);
}

TEST(CMutexDestructor, DestroysThePosixMutexBeforeItZeroesIt)
{
    alignas(CMutex) unsigned char auStorage[sizeof(CMutex)];
    const CMutex* const pMutex = new (auStorage) CMutex;
    g_puWatched = auStorage + sizeof(void*);
    pMutex->~CMutex();
    g_puWatched = nullptr;
    EXPECT_EQ((std::vector<int>{PTHREAD_MUTEX_RECURSIVE}), g_destroyedKinds);
}

TEST(CMutexDestructor, DeletesThroughTheVirtualTable)
{
    CMutex* pMutex = new CMutex;
    pMutex->Lock();
    pMutex->Unlock();
    delete pMutex;  // a leak or a mismatch is the address sanitizer's to find
}

TEST(CMutex, IsFreeWhenNew)
{
    const CMutex mutex;
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutex, KeepsOthersOutWhileLocked)
{
    const CMutex mutex;
    mutex.Lock();
    EXPECT_FALSE(IsFreeForOthers(mutex));
    mutex.Unlock();
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutex, LockedTwiceAndUnlockedOnceIsStillHeld)
{
    const CMutex mutex;
    mutex.Lock();
    mutex.Lock();
    mutex.Unlock();
    EXPECT_FALSE(IsFreeForOthers(mutex));
    mutex.Unlock();
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutex, TryLockCountsLikeLock)
{
    const CMutex mutex;
    EXPECT_TRUE(mutex.TryLock());
    EXPECT_TRUE(mutex.TryLock());
    mutex.Unlock();
    EXPECT_FALSE(IsFreeForOthers(mutex));
    mutex.Unlock();
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutex, BlocksUntilTheOtherThreadUnlocks)
{
    constexpr int nROUNDS = 2000;
    const CMutex mutex;
    int nCount = 0;
    const auto count = [&]
    {
        for (int n = 0; n < nROUNDS; ++n)
        {
            mutex.Lock();
            mutex.Lock();
            const int nBefore = nCount;
            if (n % 64 == 0) std::this_thread::yield();
            nCount = nBefore + 1;
            mutex.Unlock();
            mutex.Unlock();
        }
    };
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n) threads.emplace_back(count);
    for (std::thread& rThread : threads) rThread.join();
    EXPECT_EQ(4 * nROUNDS, nCount);
}

TEST(CMutexGuard, HoldsTheMutexForItsScope)
{
    const CMutex mutex;
    {
        const CMutexGuard guard(&mutex);
        EXPECT_FALSE(IsFreeForOthers(mutex));
        {
            const CMutexGuard nested(&mutex);
        }
        EXPECT_FALSE(IsFreeForOthers(mutex));
    }
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutexGuard, LetsGoWhenAnExceptionPasses)
{
    const CMutex mutex;
    try
    {
        const CMutexGuard guard(&mutex);
        throw std::runtime_error("");
    }
    catch (const std::runtime_error&)
    {
    }
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutexGuard, HoldsNothingWhenGivenNone)
{
    const CMutexGuard guard(nullptr);
}

namespace
{
/// What the C library says about the process, changed for a test.
class CSingleThreaded
{
public:
    explicit CSingleThreaded(bool bSingle) : m_chBefore(__libc_single_threaded) { Say(bSingle); }
    ~CSingleThreaded() { __libc_single_threaded = m_chBefore; }
    CSingleThreaded(const CSingleThreaded&) = delete;
    CSingleThreaded& operator=(const CSingleThreaded&) = delete;
    void Say(bool bSingle) { __libc_single_threaded = bSingle ? 1 : 0; }

private:
    char m_chBefore;
};
}  // namespace

TEST(CMutexGuardIfThreaded, HoldsTheMutexInAProcessOfManyThreads)
{
    const CMutex mutex;
    {
        CSingleThreaded state(false);
        const CMutexGuardIfThreaded guard(&mutex);
        EXPECT_FALSE(IsFreeForOthers(mutex));
    }
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutexGuardIfThreaded, LocksNothingInAProcessOfOneThread)
{
    const CMutex mutex;
    CSingleThreaded state(true);
    const CMutexGuardIfThreaded guard(&mutex);
    state.Say(false);
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutexGuardIfThreaded, UnlocksExactlyWhatItLockedWhateverBecameOfTheProcess)
{
    const CMutex mutex;
    CSingleThreaded state(true);
    mutex.Lock();
    {
        const CMutexGuardIfThreaded guard(&mutex);
        state.Say(false);
    }
    EXPECT_FALSE(IsFreeForOthers(mutex));
    mutex.Unlock();
    {
        const CMutexGuardIfThreaded guard(&mutex);
        state.Say(true);
    }
    state.Say(false);
    EXPECT_TRUE(IsFreeForOthers(mutex));
}

TEST(CMutexGuardIfThreaded, HoldsNothingWhenGivenNone)
{
    CSingleThreaded state(false);
    const CMutexGuardIfThreaded guard(nullptr);
}
