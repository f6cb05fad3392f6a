#include "framework/kernel/mutex.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/free_mutex.h"
#include "tests/support/real_mutex.h"

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
        {
            const CMutexGuard nested(&mutex);
            const CMutexGuard none(nullptr);
        }
        EXPECT_FALSE(IsFreeForOthers(mutex));
    }
    EXPECT_TRUE(IsFreeForOthers(mutex));
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

// What it locked it unlocks, whatever became of the process meanwhile.
TEST(CMutexGuardIfThreaded, HoldsTheMutexInAProcessOfManyThreadsOnly)
{
    const CMutex mutex;
    CSingleThreaded state(true);
    {
        const CMutexGuardIfThreaded guard(&mutex);
        state.Say(false);
        EXPECT_TRUE(IsFreeForOthers(mutex)) << "was locked in a process of one thread";
        mutex.Lock();
    }
    EXPECT_FALSE(IsFreeForOthers(mutex)) << "has unlocked what it had not locked";
    mutex.Unlock();
    {
        const CMutexGuardIfThreaded guard(&mutex);
        const CMutexGuardIfThreaded none(nullptr);
        EXPECT_FALSE(IsFreeForOthers(mutex));
        state.Say(true);
    }
    state.Say(false);
    EXPECT_TRUE(IsFreeForOthers(mutex));
}
