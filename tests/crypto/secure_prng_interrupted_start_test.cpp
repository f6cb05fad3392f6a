// Threads that are cancelled in a draw, and processes that fork during one.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

#include "framework/crypto/crypto.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/free_mutex.h"
#include "tests/support/gate.h"
#include "tests/support/prng_model.h"
#include "tests/support/real_mutex.h"
#include "tests/support/run_program.h"

namespace
{
// The descriptor at which a thread was cancelled; below 0: none is to be.
std::atomic<int> g_nCancelledAt{-1};
thread_local bool t_bCancelInSelect = false;

// What a thread that is about to wait for this mutex opens.
std::atomic<const void*> g_pAwaited{nullptr};
CGate g_awaited;

void CancelThisThread()
{
    int nState;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &nState);
    pthread_cancel(pthread_self());
    pthread_setcancelstate(nState, &nState);
}

// Whether the thread ended by cancellation in its first draw.
bool IsCancelledIn(void* (*pfnDraw)(void*))
{
    pthread_t thread;
    void* pvResult = nullptr;
    EXPECT_EQ(0, pthread_create(&thread, nullptr, pfnDraw, nullptr));
    EXPECT_EQ(0, pthread_join(thread, &pvResult));
    return pvResult == PTHREAD_CANCELED;
}

void* DrawCancelled(void*)
{
    uint8_t auBytes[4];
    CancelThisThread();
    static_cast<void>(CSecurePrng::Generate(4, auBytes));
    return nullptr;
}

void* DrawCancelledInSelect(void*)
{
    uint8_t auBytes[4];
    t_bCancelInSelect = true;
    static_cast<void>(CSecurePrng::Generate(4, auBytes));
    return nullptr;
}

// The lock of CCrypto, behind its table of virtual functions and that of the mutex.
const pthread_mutex_t* LockOfCrypto()
{
    return reinterpret_cast<const pthread_mutex_t*>(reinterpret_cast<const char*>(CCrypto::Instance()) + 16);
}

bool IsLockFree()
{
    CCrypto* const pInstance = CCrypto::Instance();
    return IsFreeForOthers(*reinterpret_cast<const CMutex*>(reinterpret_cast<const char*>(pInstance) + 8));
}
}  // namespace

#pragma GCC visibility push(default)
extern "C"
{
    // ThreadSanitizer asks for it: a child has no thread to join, and would be told that it leaks its parent's.
    const char* __tsan_default_options();  // NOLINT(bugprone-reserved-identifier)
    const char* __tsan_default_options()   // NOLINT(bugprone-reserved-identifier)
    {
        return "report_thread_leaks=0";
    }

    int select(int nCount, fd_set* pReadable, fd_set* pWritable, fd_set* pExceptional, timeval* pTimeout)
    {
        if (t_bCancelInSelect)
        {
            g_nCancelledAt = nCount - 1;
            CancelThisThread();
            pthread_testcancel();
        }
        return static_cast<int>(syscall(SYS_select, nCount, pReadable, pWritable, pExceptional, pTimeout));
    }

    int pthread_mutex_lock(pthread_mutex_t* pMutex) noexcept
    {
        if (g_pAwaited == pMutex)
        {
            g_pAwaited = nullptr;
            g_awaited.Open();
        }
        return RealMutexLock(pMutex);
    }
}
#pragma GCC visibility pop

TEST(CPrngInterrupted, ACancelledFirstDrawLeavesTheLockFreeAndTheGeneratorUnseeded)
{
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    const unsigned int uSeeds = CSeedProbe::ms_uCounter;
    EXPECT_TRUE(IsCancelledIn(DrawCancelled));
    ASSERT_TRUE(IsLockFree());
    EXPECT_FALSE(CPrngProbe::ms_bInitialized);
    uint8_t auBytes[4];
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(4, auBytes));
    EXPECT_EQ(uSeeds + 1, CSeedProbe::ms_uCounter);
    CFrameworkInitializer::Finalize();
}

TEST(CPrngInterrupted, ACancelledFirstDrawClosesTheDevice)
{
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_TRUE(IsCancelledIn(DrawCancelledInSelect));
    ASSERT_TRUE(IsLockFree());
    ASSERT_LE(0, g_nCancelledAt);
    EXPECT_EQ(-1, fcntl(g_nCancelledAt, F_GETFD)) << "descriptor " << g_nCancelledAt;
    CFrameworkInitializer::Finalize();
}

namespace
{
// 0, or the negative number of the signal of the alarm clock when the child waits for ever.
int StatusOfDrawingChild()
{
    const pid_t nChild = StartChild(
        []
        {
            alarm(60);
            uint8_t auBytes[4];
            InitializeCSecurePrngBremoFw();
            return CSecurePrng::Generate(4, auBytes) == QV_RES_OK ? 0 : 1;
        });
    g_awaited.Open();  // A fork that did not wait must not keep the other thread, either.
    return StatusOf(nChild);
}

CGate g_held;

void* HoldLockUntilAwaited(void*)
{
    CCrypto::Instance()->Enter();
    g_held.Open();
    g_awaited.Pass();
    CCrypto::Instance()->Exit();
    return nullptr;
}
}  // namespace

TEST(CPrngFork, AChildOfAProcessThatDrawsCanDraw)
{
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    g_awaited.Shut();
    g_held.Shut();
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, nullptr, HoldLockUntilAwaited, nullptr));
    g_held.Pass();
    g_pAwaited = LockOfCrypto();
    EXPECT_EQ(0, StatusOfDrawingChild());
    pthread_join(thread, nullptr);
    EXPECT_TRUE(IsLockFree()) << "in the parent";
    CFrameworkInitializer::Finalize();
}

TEST(CPrngFork, IsHarmlessWhileTheFrameworkIsDown)
{
    EXPECT_EQ(0, StatusOfChild([] { return 0; }));
}

TEST(CPrngFork, ALockOfTheForkingThreadsOwnIsFreeInTheChild)
{
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    CCrypto::Instance()->Enter();
    EXPECT_EQ(0, StatusOfDrawingChild());
    CCrypto::Instance()->Exit();
    EXPECT_TRUE(IsLockFree());
    CFrameworkInitializer::Finalize();
}
