#include <sched.h>

#include <cerrno>
#include <thread>

#include "tests/abi/old_mutex.h"
#include "tests/abi/old_semaphore.h"
#include "tests/abi/told_size.h"

// The locks work before the framework is up, so these tests leave it down.
namespace
{
constexpr unsigned int g_uMAX_COUNT = 5;
constexpr unsigned long g_uFOR_EVER = ~0UL;

/// Waits until a thread waits on the condition variable: its first waiter leaves a mark in it, under the mutex.
void AwaitWaiter(const CSemaphore& rSemaphore)
{
    static const pthread_cond_t condUnused = PTHREAD_COND_INITIALIZER;
    bool bWaiting = false;
    while (!bWaiting)
    {
        pthread_mutex_lock(&rSemaphore.m_mutex);
        bWaiting = std::memcmp(&rSemaphore.m_cond, &condUnused, sizeof(condUnused)) != 0;
        pthread_mutex_unlock(&rSemaphore.m_mutex);
        sched_yield();
    }
}
}  // namespace

TEST(CMutexLayout, HoldsOneRecursivePosixMutexBehindThePointerToItsFunctions)
{
    static_assert(sizeof(CMutex) == 48);
    ExpectDestructorsAlone<CMutex>("6CMutex");
    CGuarded<CMutex> mutex;
    mutex->Lock();
    mutex->Lock();
    mutex->Unlock();
    EXPECT_FALSE(IsFree(*mutex));
    mutex->Unlock();
    EXPECT_TRUE(IsFree(*mutex));
    mutex.Destroy();
    EXPECT_EQ(std::vector<unsigned char>(sizeof(pthread_mutex_t)), BytesAt(&*mutex, 8, sizeof(pthread_mutex_t)));
}

TEST(CSemaphoreLayout, KeepsCountAndMaximumFirstAndTheChoiceOfTimedWaitsLast)
{
    static_assert(sizeof(CSemaphore) == 144);
    ExpectDestructorsAlone<CSemaphore>("10CSemaphore", 0u, g_uMAX_COUNT, true);
    const CGuarded<CSemaphore> timed(3u, g_uMAX_COUNT, true);
    EXPECT_EQ(g_uMAX_COUNT, timed->m_uMaxCount);
    EXPECT_TRUE(timed->m_bTimedWait);
    EXPECT_TRUE(timed->Wait());
    EXPECT_EQ(2u, timed->m_uCount);
    for (unsigned int u = 0; u < g_uMAX_COUNT; ++u) timed->Signal(u % 2 == 0);
    EXPECT_EQ(g_uMAX_COUNT, timed->m_uCount);
}

TEST(CSemaphoreLayout, WithoutTimedWaitsThePosixSemaphoreCounts)
{
    const CGuarded<CSemaphore> semaphore(0u, g_uMAX_COUNT, false);
    EXPECT_FALSE(semaphore->m_bTimedWait);
    EXPECT_FALSE(semaphore->Wait(0));
    ASSERT_EQ(0, sem_post(&semaphore->m_sem));
    EXPECT_TRUE(semaphore->Wait());
    semaphore->Signal(false);
    semaphore->Signal(true);
    int nCount = 0;
    ASSERT_EQ(0, sem_getvalue(&semaphore->m_sem, &nCount));
    EXPECT_EQ(2, nCount);
}

TEST(CSemaphoreLayout, WithTimedWaitsWaitersSleepOnTheConditionVariableUnderTheMutex)
{
    const CGuarded<CSemaphore> semaphore(0u, g_uMAX_COUNT, true);
    bool bAcquired = false;
    std::thread waiter([&] { bAcquired = semaphore->Wait(g_uFOR_EVER); });
    AwaitWaiter(*semaphore);
    pthread_mutex_lock(&semaphore->m_mutex);
    semaphore->m_uCount = 1;
    pthread_cond_signal(&semaphore->m_cond);
    pthread_mutex_unlock(&semaphore->m_mutex);
    waiter.join();
    EXPECT_TRUE(bAcquired);
    EXPECT_EQ(0u, semaphore->m_uCount);
    EXPECT_FALSE(semaphore->Wait(1));
}

TEST(CBinarySemaphoreLayout, IsOneSemaphoreOfMaximumOneAndNothingElse)
{
    static_assert(sizeof(CBinarySemaphore) == sizeof(CSemaphore) && CBinarySemaphore::eFREE == 1);
    const CGuarded<CBinarySemaphore> semaphore(CBinarySemaphore::eFREE, true);
    ExpectBinary(1, *semaphore);
    EXPECT_TRUE(semaphore->Wait());
    ExpectBinary(0, *semaphore);
    EXPECT_FALSE(semaphore->Wait(1));
    semaphore->Signal(true);
    semaphore->Signal(false);
    ExpectBinary(1, *semaphore);
    const CGuarded<CBinarySemaphore> untimed(CBinarySemaphore::eTAKEN, false);
    EXPECT_EQ(0u, untimed->m_sem.m_uCount);
    EXPECT_FALSE(untimed->m_sem.m_bTimedWait);
    untimed->Signal(false);
    EXPECT_EQ(1u, untimed->m_sem.m_uCount) << "on the condition variable all the same";
}
