// What the semaphores ask of the system: the functions defined here stand in for the C library's, so that waits end as
// scripted, the clock shows what a test wants, and no test has to wait. One thread only.
#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/time.h>
#include <time.h>

#include <climits>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "framework/kernel/semaphore.h"
#include "tests/support/object_bytes.h"

namespace
{
constexpr std::size_t g_uCOUNT_AT = 8;
constexpr std::size_t g_uMUTEX_AT = 16;
constexpr std::size_t g_uCOND_AT = 56;
constexpr std::size_t g_uSEM_AT = 104;

/// The semaphore under test; only calls on its parts are recorded and scripted.
void* g_pvWatched = nullptr;
std::vector<std::string> g_calls;
std::vector<timespec> g_deadlines;
/// How a wait ends, and what has changed then.
struct SWait
{
    int nResult = 0;
    unsigned int uCount = UINT_MAX;  // as it was
    timeval stNow = {0, 0};          // as it was
};
/// The next waits; when there are no more, every wait times out.
std::deque<SWait> g_waits;
bool g_bLockFails = false;
timeval g_now;
bool g_bClockIsSet = false;

template <typename TFunction>
TFunction* Real(const char* pszName)
{
    return reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, pszName));
}

bool IsWatched(const volatile void* pvPart, std::size_t uOffset)
{
    return g_pvWatched != nullptr && static_cast<unsigned char*>(g_pvWatched) + uOffset == pvPart;
}

int NextWait()
{
    if (g_waits.empty()) return ETIMEDOUT;
    const SWait stWait = g_waits.front();
    g_waits.pop_front();
    if (stWait.uCount != UINT_MAX) StoreAt(g_pvWatched, g_uCOUNT_AT, stWait.uCount);
    if (stWait.stNow.tv_sec != 0) g_now = stWait.stNow;
    return stWait.nResult;
}
}  // namespace

extern "C"
{
    QV_EXPORT int pthread_mutex_lock(pthread_mutex_t* pMutex) noexcept
    {
        static const auto pfnReal = Real<int(pthread_mutex_t*)>("pthread_mutex_lock");
        if (!IsWatched(pMutex, g_uMUTEX_AT)) return pfnReal(pMutex);
        if (g_bLockFails) return EINVAL;
        g_calls.push_back("lock");
        return pfnReal(pMutex);
    }
    QV_EXPORT int pthread_mutex_unlock(pthread_mutex_t* pMutex) noexcept
    {
        static const auto pfnReal = Real<int(pthread_mutex_t*)>("pthread_mutex_unlock");
        if (!IsWatched(pMutex, g_uMUTEX_AT)) return pfnReal(pMutex);
        if (g_bLockFails) return EPERM;
        g_calls.push_back("unlock");
        return pfnReal(pMutex);
    }
    QV_EXPORT int pthread_cond_wait(pthread_cond_t* pCond, pthread_mutex_t* pMutex)
    {
        static const auto pfnReal = Real<int(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
        if (!IsWatched(pCond, g_uCOND_AT)) return pfnReal(pCond, pMutex);
        EXPECT_TRUE(IsWatched(pMutex, g_uMUTEX_AT));
        g_calls.push_back("wait");
        return NextWait();
    }
    QV_EXPORT int pthread_cond_timedwait(pthread_cond_t* pCond, pthread_mutex_t* pMutex, const timespec* pstDeadline)
    {
        static const auto pfnReal =
            Real<int(pthread_cond_t*, pthread_mutex_t*, const timespec*)>("pthread_cond_timedwait");
        if (!IsWatched(pCond, g_uCOND_AT)) return pfnReal(pCond, pMutex, pstDeadline);
        EXPECT_TRUE(IsWatched(pMutex, g_uMUTEX_AT));
        g_calls.push_back("timedwait");
        g_deadlines.push_back(*pstDeadline);
        return NextWait();
    }
    QV_EXPORT int pthread_cond_signal(pthread_cond_t* pCond) noexcept
    {
        static const auto pfnReal = Real<int(pthread_cond_t*)>("pthread_cond_signal");
        if (IsWatched(pCond, g_uCOND_AT)) g_calls.push_back("signal");
        return pfnReal(pCond);
    }
    QV_EXPORT int pthread_mutex_destroy(pthread_mutex_t* pMutex) noexcept
    {
        static const auto pfnReal = Real<int(pthread_mutex_t*)>("pthread_mutex_destroy");
        if (IsWatched(pMutex, g_uMUTEX_AT)) g_calls.push_back("mutex_destroy");
        return pfnReal(pMutex);
    }
    QV_EXPORT int pthread_cond_destroy(pthread_cond_t* pCond) noexcept
    {
        static const auto pfnReal = Real<int(pthread_cond_t*)>("pthread_cond_destroy");
        if (IsWatched(pCond, g_uCOND_AT)) g_calls.push_back("cond_destroy");
        return pfnReal(pCond);
    }
    QV_EXPORT int sem_init(sem_t* pSem, int nShared, unsigned int uCount) noexcept
    {
        static const auto pfnReal = Real<int(sem_t*, int, unsigned int)>("sem_init");
        if (IsWatched(pSem, g_uSEM_AT))
        {
            g_calls.push_back("sem_init " + std::to_string(nShared) + " " + std::to_string(uCount));
        }
        return pfnReal(pSem, nShared, uCount);
    }
    QV_EXPORT int sem_destroy(sem_t* pSem) noexcept
    {
        static const auto pfnReal = Real<int(sem_t*)>("sem_destroy");
        if (IsWatched(pSem, g_uSEM_AT)) g_calls.push_back("sem_destroy");
        return pfnReal(pSem);
    }
    QV_EXPORT int sem_wait(sem_t* pSem)
    {
        static const auto pfnReal = Real<int(sem_t*)>("sem_wait");
        if (!IsWatched(pSem, g_uSEM_AT)) return pfnReal(pSem);
        g_calls.push_back("sem_wait");
        return NextWait();
    }
    QV_EXPORT int sem_trywait(sem_t* pSem) noexcept
    {
        static const auto pfnReal = Real<int(sem_t*)>("sem_trywait");
        if (!IsWatched(pSem, g_uSEM_AT)) return pfnReal(pSem);
        g_calls.push_back("sem_trywait");
        return NextWait();
    }
    QV_EXPORT int sem_post(sem_t* pSem) noexcept
    {
        static const auto pfnReal = Real<int(sem_t*)>("sem_post");
        if (IsWatched(pSem, g_uSEM_AT)) g_calls.push_back("sem_post");
        return pfnReal(pSem);
    }
    QV_EXPORT int sched_yield() noexcept
    {
        static const auto pfnReal = Real<int()>("sched_yield");
        if (g_pvWatched == nullptr) return pfnReal();
        g_calls.push_back("yield");
        return 0;
    }
    QV_EXPORT int gettimeofday(timeval* pstNow, void* pvZone) noexcept
    {
        static const auto pfnReal = Real<int(timeval*, void*)>("gettimeofday");
        if (!g_bClockIsSet) return pfnReal(pstNow, pvZone);
        *pstNow = g_now;
        return 0;
    }
}

bool operator==(const timespec& rstA, const timespec& rstB)
{
    return rstA.tv_sec == rstB.tv_sec && rstA.tv_nsec == rstB.tv_nsec;
}

namespace
{
using TCalls = std::vector<std::string>;

/// A semaphore whose calls are recorded from before its construction until after its destruction.
class CSemaphoreCalls : public testing::Test
{
protected:
    CSemaphoreCalls()
    {
        g_calls.clear();
        g_deadlines.clear();
        g_waits.clear();
        g_bLockFails = false;
        g_bClockIsSet = true;
        g_now = {1000, 0};
        g_pvWatched = m_auStorage;
    }
    ~CSemaphoreCalls() override
    {
        Destroy();
        g_pvWatched = nullptr;
        g_bClockIsSet = false;
    }

    void Build(unsigned int uInitial, unsigned int uMax, bool bTimedWait)
    {
        m_pSem = new (m_auStorage) CSemaphore(uInitial, uMax, bTimedWait);
    }
    void BuildWatched(unsigned int uInitial, unsigned int uMax, bool bTimedWait)
    {
        Build(uInitial, uMax, bTimedWait);
        g_calls.clear();
    }
    void Destroy()
    {
        if (m_pSem != nullptr) m_pSem->~CSemaphore();
        m_pSem = nullptr;
    }
    unsigned int Count() const { return LoadAt<unsigned int>(m_auStorage, g_uCOUNT_AT); }

    CSemaphore* m_pSem = nullptr;

private:
    alignas(CSemaphore) unsigned char m_auStorage[sizeof(CSemaphore)] = {};
};
}  // namespace

TEST_F(CSemaphoreCalls, APosixSemaphoreIsOneOfThisProcessFromConstructionToDestruction)
{
    Build(3, 5, false);
    Destroy();
    EXPECT_EQ((TCalls{"sem_init 0 3", "sem_destroy"}), g_calls);
}

TEST_F(CSemaphoreCalls, AConditionIsDestroyedWithItsMutex)
{
    Build(1, 1, true);
    EXPECT_EQ(TCalls(), g_calls);
    Destroy();
    ASSERT_EQ(2u, g_calls.size());
    EXPECT_NE(g_calls[0], g_calls[1]);
    for (const std::string& rCall : g_calls) EXPECT_TRUE(rCall == "mutex_destroy" || rCall == "cond_destroy");
}

struct SScript
{
    const char* pszName;
    /// The semaphore: its initial count, its maximum, whether it has timed waits.
    unsigned int uInitial;
    unsigned int uMax;
    bool bTimedWait;
    /// The time-out of the call; without one it is Wait().
    std::optional<unsigned long> timeoutMs;
    std::deque<SWait> waits;
    bool bWant;
    TCalls calls;
    unsigned int uCountAfter;  // as constructed for a POSIX semaphore, which counts for itself
};

class CSemaphoreScript : public CSemaphoreCalls, public testing::WithParamInterface<SScript>
{
};

TEST_P(CSemaphoreScript, Waits)
{
    const SScript& rst = GetParam();
    BuildWatched(rst.uInitial, rst.uMax, rst.bTimedWait);
    g_waits = rst.waits;
    EXPECT_EQ(rst.bWant, rst.timeoutMs ? m_pSem->Wait(*rst.timeoutMs) : m_pSem->Wait());
    EXPECT_EQ(rst.calls, g_calls);
    EXPECT_EQ(rst.uCountAfter, Count());
    EXPECT_TRUE(g_waits.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Scripts, CSemaphoreScript,
    testing::Values(
        SScript{"PosixSucceeds", 0, 5, false, {}, {{0}}, true, {"sem_wait"}, 0},
        SScript{"PosixInterruptedIsNotRetried", 1, 5, false, {}, {{-1}}, false, {"sem_wait"}, 1},
        SScript{"PosixWithTheLargestTimeOut", 0, 5, false, ULONG_MAX, {{0}}, true, {"sem_wait"}, 0},
        SScript{"PosixTries", 0, 5, false, 0, {{0}}, true, {"sem_trywait"}, 0},
        SScript{"PosixTriesInVain", 1, 5, false, 0, {{-1}}, false, {"sem_trywait"}, 1},
        SScript{"PosixRefusesATimeOut", 1, 5, false, 1000, {}, false, {}, 1},
        SScript{"UntimedRefusesATimeOut", 1, 1, false, 1000, {}, false, {}, 1},
        SScript{"FreeIsTaken", 2, 5, true, {}, {}, true, {"lock", "unlock"}, 1},
        SScript{"FreeIsTakenInTime", 2, 5, true, 77, {}, true, {"lock", "unlock"}, 1},
        SScript{"GoesOnUntilTheCountRises",
                0,
                1,
                false,
                {},
                {{0}, {0}, {0, 1}},
                true,
                {"lock", "wait", "wait", "wait", "unlock"},
                0},
        SScript{"FailsEvenWhenTheCountHasRisen", 0, 1, false, {}, {{EINVAL, 1}}, false, {"lock", "wait", "unlock"}, 1},
        SScript{"TheLargestTimeOutHasNoDeadline", 0, 5, true, ULONG_MAX, {{0, 1}}, true, {"lock", "wait", "unlock"}, 0},
        SScript{"TimesOut", 0, 1, true, 10, {{0}, {ETIMEDOUT}}, false, {"lock", "timedwait", "timedwait", "unlock"}, 0},
        SScript{"TimesOutWithACountThatHasRisen",
                0,
                5,
                true,
                10,
                {{ETIMEDOUT, 2}},
                true,
                {"lock", "timedwait", "unlock"},
                1},
        SScript{"EndsWithTheChunkThatTakesTheCount",
                0,
                1,
                true,
                ULONG_MAX - 1,
                {{ETIMEDOUT}, {0, 1}},
                true,
                {"lock", "timedwait", "unlock", "lock", "timedwait", "unlock"},
                0}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST_F(CSemaphoreCalls, AConditionThatCannotBeLockedIsNotTaken)
{
    BuildWatched(1, 1, true);
    g_bLockFails = true;
    EXPECT_FALSE(m_pSem->Wait());
    for (const unsigned long uTimeoutMs : {0ul, 10ul, ULONG_MAX}) EXPECT_FALSE(m_pSem->Wait(uTimeoutMs));
    g_bLockFails = false;
    EXPECT_EQ(TCalls(), g_calls);
    EXPECT_EQ(1u, Count());
}

TEST_F(CSemaphoreCalls, ASignalWakesAWaiterInEveryCaseAndThenYieldsWhenTold)
{
    BuildWatched(0, 5, false);
    m_pSem->Signal(false);
    m_pSem->Signal(true);
    EXPECT_EQ((TCalls{"sem_post", "sem_post", "yield"}), g_calls);
    Destroy();
    BuildWatched(0, 1, false);
    for (const bool bYield : {false, true})
    {
        m_pSem->Signal(bYield);
        EXPECT_EQ(1u, Count());
    }
    EXPECT_EQ((TCalls{"lock", "signal", "unlock", "lock", "signal", "unlock", "yield"}), g_calls);
}

TEST_F(CSemaphoreCalls, ABinarySemaphoreYieldsWhenTold)
{
    const CBinarySemaphore sem(CBinarySemaphore::eTAKEN, false);
    sem.Signal(false);
    EXPECT_EQ(TCalls(), g_calls);
    sem.Signal(true);
    EXPECT_EQ((TCalls{"yield"}), g_calls);
}

TEST_F(CSemaphoreCalls, TryingATakenConditionIsFalseAndLeavesItUnlocked)
{
    BuildWatched(0, 1, true);
    EXPECT_FALSE(m_pSem->Wait(0));
    EXPECT_EQ(0u, Count());
    ASSERT_GE(g_calls.size(), 2u);
    EXPECT_EQ("lock", g_calls.front());
    EXPECT_EQ("unlock", g_calls.back());
    // Where the system is asked at all, it is asked to give up at once.
    for (const timespec& rstDeadline : g_deadlines) EXPECT_EQ((timespec{1000, 0}), rstDeadline);
}

TEST_F(CSemaphoreCalls, ATimedWaitGoesOnAfterAWakeUpWithoutACount)
{
    BuildWatched(0, 1, true);
    g_waits = {{}, {EINTR, UINT_MAX, {5000, 0}}, {0, 1}};
    EXPECT_TRUE(m_pSem->Wait(1));
    EXPECT_EQ(0u, Count());
    EXPECT_EQ((TCalls{"lock", "timedwait", "timedwait", "timedwait", "unlock"}), g_calls);
    EXPECT_EQ((std::vector<timespec>(3, timespec{1000, 1000000})), g_deadlines) << "the deadline stays";
}

TEST_F(CSemaphoreCalls, ALongTimeOutIsWaitedForInChunksEachFromItsOwnTimeOfDay)
{
    BuildWatched(0, 1, true);
    g_waits = {{ETIMEDOUT, UINT_MAX, {2000, 250000}}, {ETIMEDOUT, UINT_MAX, {3000, 0}}};
    EXPECT_FALSE(m_pSem->Wait(2 * 4294967295ul + 5));
    EXPECT_EQ((TCalls{"lock", "timedwait", "unlock", "lock", "timedwait", "unlock", "lock", "timedwait", "unlock"}),
              g_calls);
    EXPECT_EQ((std::vector<timespec>{{1000 + 4294967, 295000000}, {2000 + 4294967, 545000000}, {3000, 5000000}}),
              g_deadlines);
}

TEST_F(CSemaphoreCalls, ATimeOutOfExactlyOneChunkIsOneWait)
{
    BuildWatched(0, 1, true);
    EXPECT_FALSE(m_pSem->Wait(4294967295ul));
    EXPECT_EQ((std::vector<timespec>{{1000 + 4294967, 295000000}}), g_deadlines);
    g_deadlines.clear();
    EXPECT_FALSE(m_pSem->Wait(4294967296ul));
    EXPECT_EQ((std::vector<timespec>{{1000 + 4294967, 295000000}, {1000, 1000000}}), g_deadlines);
}

struct SDeadline
{
    timeval stNow;
    unsigned long uTimeoutMs;
    timespec stWant;
};

class CSemaphoreDeadline : public CSemaphoreCalls, public testing::WithParamInterface<SDeadline>
{
};

TEST_P(CSemaphoreDeadline, IsTheTimeOfDayPlusTheTimeOut)
{
    BuildWatched(0, 1, true);
    g_now = GetParam().stNow;
    EXPECT_FALSE(m_pSem->Wait(GetParam().uTimeoutMs));
    ASSERT_EQ(1u, g_deadlines.size());
    EXPECT_EQ(GetParam().stWant.tv_sec, g_deadlines[0].tv_sec);
    EXPECT_EQ(GetParam().stWant.tv_nsec, g_deadlines[0].tv_nsec);
}

INSTANTIATE_TEST_SUITE_P(
    Table, CSemaphoreDeadline,
    testing::Values(SDeadline{{1000, 0}, 1, {1000, 1000000}}, SDeadline{{1000, 0}, 999, {1000, 999000000}},
                    SDeadline{{1000, 0}, 1000, {1001, 0}}, SDeadline{{1000, 0}, 1001, {1001, 1000000}},
                    SDeadline{{1000, 999999}, 1, {1001, 999000}}, SDeadline{{1000, 999000}, 1, {1001, 0}},
                    SDeadline{{1000, 999999}, 999, {1001, 998999000}}, SDeadline{{1000, 1}, 999, {1000, 999001000}},
                    SDeadline{{1000, 500000}, 3500, {1004, 0}}, SDeadline{{5000000000, 7}, 2000, {5000000002, 7000}},
                    SDeadline{{1000, 999999}, 4294967294, {1000 + 4294968, 293999000}},
                    // The fractions are added in 32 bits: a microsecond count beyond a second wraps them.
                    SDeadline{{1000, 4000000}, 999, {1000, 704032704}}));

TEST_F(CSemaphoreCalls, TheGuardOfABinarySemaphoreSignalsAndDoesNotYield)
{
    const CBinarySemaphore sem(CBinarySemaphore::eFREE, false);
    g_pvWatched = const_cast<CBinarySemaphore*>(&sem);
    {
        const CBinarySemaphoreGuard guard(&sem);
        EXPECT_EQ((TCalls{"lock", "unlock"}), g_calls);
    }
    EXPECT_EQ((TCalls{"lock", "unlock", "lock", "signal", "unlock"}), g_calls);
}
