#include <sched.h>

#include <cerrno>
#include <thread>

#include "tests/abi/foreign_program.h"
#include "tests/abi/foreign_threads.h"
#include "tests/abi/room_for.h"

// The locks work before the framework is up, so these tests leave it down.
namespace
{
constexpr unsigned int g_uMAX_COUNT = 5;
constexpr unsigned long g_uFOR_EVER = ~0UL;

/// Whether another thread could take the POSIX mutex; gives it back.
bool IsFreeForOthers(pthread_mutex_t& rMutex)
{
    bool bFree = false;
    std::thread(
        [&]
        {
            bFree = pthread_mutex_trylock(&rMutex) == 0;
            if (bFree) pthread_mutex_unlock(&rMutex);
        })
        .join();
    return bFree;
}

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
    const CRoomFor<CMutex> mutex;
    EXPECT_EQ(8U, OffsetOf(*mutex, &CMutex::m_mutex));
    EXPECT_TRUE(IsFreeForOthers(mutex->m_mutex));
    mutex->Lock();
    mutex->Lock();
    EXPECT_EQ(0, pthread_mutex_trylock(&mutex->m_mutex));
    mutex->Unlock();
    mutex->Unlock();
    EXPECT_FALSE(IsFreeForOthers(mutex->m_mutex));
    mutex->Unlock();
    EXPECT_TRUE(IsFreeForOthers(mutex->m_mutex));
}

TEST(CMutexLayout, DestructionFillsThePosixMutexWithZeros)
{
    CRoomFor<CMutex> mutex;
    mutex.Destroy();
    EXPECT_EQ(std::vector<unsigned char>(sizeof(pthread_mutex_t)), BytesAt(mutex.Bytes(), 8, sizeof(pthread_mutex_t)));
}

TEST(CMutexLayout, HasTheTwoDestructorsAsItsVirtualFunctions)
{
    CMutex* const pMutex = ThroughTheTable(new CMutex);
    EXPECT_EQ(0, OffsetToTop(pMutex));
    EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(pMutex, 0));
    EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(pMutex, 1));
    delete pMutex;
}

TEST(CSemaphoreLayout, KeepsCountAndMaximumFirstAndTheChoiceOfTimedWaitsLast)
{
    static_assert(sizeof(CSemaphore) == 144);
    const CRoomFor<CSemaphore> timed(3U, g_uMAX_COUNT, true);
    EXPECT_EQ(8U, OffsetOf(*timed, &CSemaphore::m_uCount));
    EXPECT_EQ(12U, OffsetOf(*timed, &CSemaphore::m_uMaxCount));
    EXPECT_EQ(136U, OffsetOf(*timed, &CSemaphore::m_bTimedWait));
    EXPECT_EQ(3U, timed->m_uCount);
    EXPECT_EQ(g_uMAX_COUNT, timed->m_uMaxCount);
    EXPECT_TRUE(timed->m_bTimedWait);
    EXPECT_TRUE(timed->Wait());
    EXPECT_EQ(2U, timed->m_uCount);
    for (unsigned int u = 0; u < g_uMAX_COUNT; ++u) timed->Signal(u % 2 == 0);
    EXPECT_EQ(g_uMAX_COUNT, timed->m_uCount);

    const CRoomFor<CSemaphore> untimed(3U, g_uMAX_COUNT, false);
    EXPECT_EQ(3U, untimed->m_uCount);
    EXPECT_EQ(g_uMAX_COUNT, untimed->m_uMaxCount);
    EXPECT_FALSE(untimed->m_bTimedWait);
}

TEST(CSemaphoreLayout, WithoutTimedWaitsThePosixSemaphoreCounts)
{
    const CRoomFor<CSemaphore> semaphore(0U, g_uMAX_COUNT, false);
    EXPECT_EQ(104U, OffsetOf(*semaphore, &CSemaphore::m_sem));
    EXPECT_FALSE(semaphore->Wait(0));
    ASSERT_EQ(0, sem_post(&semaphore->m_sem));
    EXPECT_TRUE(semaphore->Wait());
    semaphore->Signal(false);
    semaphore->Signal(true);
    int nCount = 0;
    ASSERT_EQ(0, sem_getvalue(&semaphore->m_sem, &nCount));
    EXPECT_EQ(2, nCount);
    EXPECT_TRUE(semaphore->Wait(0));
    EXPECT_TRUE(semaphore->Wait(g_uFOR_EVER));
    EXPECT_FALSE(semaphore->Wait(1)) << "a time-out needs timed waits";
}

TEST(CSemaphoreLayout, WithTimedWaitsWaitersSleepOnTheConditionVariableUnderTheMutex)
{
    const CRoomFor<CSemaphore> semaphore(0U, g_uMAX_COUNT, true);
    EXPECT_EQ(16U, OffsetOf(*semaphore, &CSemaphore::m_mutex));
    EXPECT_EQ(56U, OffsetOf(*semaphore, &CSemaphore::m_cond));
    bool bAcquired = false;
    std::thread waiter([&] { bAcquired = semaphore->Wait(g_uFOR_EVER); });
    AwaitWaiter(*semaphore);
    pthread_mutex_lock(&semaphore->m_mutex);
    semaphore->m_uCount = 1;
    pthread_cond_signal(&semaphore->m_cond);
    pthread_mutex_unlock(&semaphore->m_mutex);
    waiter.join();
    EXPECT_TRUE(bAcquired);
    EXPECT_EQ(0U, semaphore->m_uCount);
    EXPECT_FALSE(semaphore->Wait(1));
}

TEST(CSemaphoreLayout, HasTheTwoDestructorsAsItsVirtualFunctions)
{
    CSemaphore* const pSemaphore = ThroughTheTable(new CSemaphore(0, g_uMAX_COUNT, true));
    EXPECT_EQ(0, OffsetToTop(pSemaphore));
    EXPECT_EQ("CSemaphore::~CSemaphore()", FunctionInSlot(pSemaphore, 0));
    EXPECT_EQ("CSemaphore::~CSemaphore()", FunctionInSlot(pSemaphore, 1));
    delete pSemaphore;
}

TEST(CBinarySemaphoreLayout, IsOneSemaphoreOfMaximumOneAndNothingElse)
{
    static_assert(sizeof(CBinarySemaphore) == sizeof(CSemaphore) && CBinarySemaphore::eFREE == 1);
    const CRoomFor<CBinarySemaphore> semaphore(CBinarySemaphore::eFREE, true);
    EXPECT_EQ("CSemaphore::~CSemaphore()", FunctionInSlot(&*semaphore, 0));
    EXPECT_EQ(1U, semaphore->m_sem.m_uCount);
    EXPECT_EQ(1U, semaphore->m_sem.m_uMaxCount);
    EXPECT_TRUE(semaphore->m_sem.m_bTimedWait);
    EXPECT_TRUE(semaphore->Wait());
    EXPECT_EQ(0U, semaphore->m_sem.m_uCount);
    EXPECT_FALSE(semaphore->Wait(1));
    semaphore->Signal(true);
    semaphore->Signal(false);
    EXPECT_EQ(1U, semaphore->m_sem.m_uCount);
    EXPECT_TRUE(semaphore->Wait(0));
    EXPECT_FALSE(semaphore->Wait(0));
}

TEST(CBinarySemaphoreLayout, TakenWithoutTimedWaitsItStillUsesTheConditionVariable)
{
    const CRoomFor<CBinarySemaphore> semaphore(CBinarySemaphore::eTAKEN, false);
    EXPECT_EQ(0U, semaphore->m_sem.m_uCount);
    EXPECT_EQ(1U, semaphore->m_sem.m_uMaxCount);
    EXPECT_FALSE(semaphore->m_sem.m_bTimedWait);
    semaphore->Signal(false);
    EXPECT_EQ(1U, semaphore->m_sem.m_uCount);
    EXPECT_TRUE(semaphore->Wait(g_uFOR_EVER));
    EXPECT_EQ(0U, semaphore->m_sem.m_uCount);
}
