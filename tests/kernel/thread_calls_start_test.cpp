// What a start asks of the system, and what becomes of it when the system refuses: the functions defined here stand in
// for the C library's.
#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/gate.h"
#include "tests/support/thread_probe.h"

// For what a sanitizer calls while it starts itself.
#if defined(__clang__)
#define NOT_INSTRUMENTED __attribute__((disable_sanitizer_instrumentation))
#else
#define NOT_INSTRUMENTED
#endif

namespace
{
struct SFailures
{
    bool bInherit = false;
    bool bPolicy = false;
    bool bPriority = false;
    bool bCreate = false;
    bool bKey = false;
    bool bSetSpecific = false;
};
SFailures g_failures;
std::vector<std::string> g_calls;  // of the starting thread only
std::atomic<unsigned int> g_uNiceCalls = 0;
std::atomic<unsigned int> g_uNiceWho = 0;
std::atomic<int> g_nNiceValue = -1;
std::atomic<unsigned int> g_uJoins = 0;
std::atomic<unsigned int> g_uDetaches = 0;
/// Threads stop at it before they run, when there is one; opened when the thread of the test waits for something.
std::atomic<CGate*> g_pStop = nullptr;
thread_local bool t_bOpensStop = false;
thread_local unsigned int t_uYields = 0;
/// A refused creation waits for it, when there is one.
CGate* g_pAtRefusal = nullptr;

/// The handles that were created and neither joined nor detached yet. Others stand for no thread, or for another one.
class CLiveHandles
{
public:
    void lock() { m_mutex.lock(); }
    void unlock() { m_mutex.unlock(); }
    void Add(pthread_t hThread)
    {
        const std::lock_guard guard(m_mutex);
        m_handles.push_back(hThread);
    }
    /// False, and counted, when it is none of them.
    bool Remove(pthread_t hThread)
    {
        const std::lock_guard guard(m_mutex);
        const auto found = std::find(m_handles.begin(), m_handles.end(), hThread);
        const bool bLive = found != m_handles.end();
        if (bLive) m_handles.erase(found);
        else ++m_uStale;
        return bLive;
    }
    unsigned int CountStale()
    {
        const std::lock_guard guard(m_mutex);
        return m_uStale;
    }
    std::size_t Count()
    {
        const std::lock_guard guard(m_mutex);
        return m_handles.size();
    }

private:
    std::recursive_mutex m_mutex;
    std::vector<pthread_t> m_handles;
    unsigned int m_uStale = 0;
};
CLiveHandles g_live;

/// What stands behind a function that is replaced here: the sanitizer's, where there is one, or the C library's.
template <typename TFunction>
NOT_INSTRUMENTED TFunction* Real(const char* pszName, TFunction* pfnSanitizers = nullptr)
{
    return pfnSanitizers != nullptr ? pfnSanitizers : reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, pszName));
}

void NoteCreation(const pthread_attr_t& rAttributes)
{
    std::size_t uStackSize = 0;
    pthread_attr_getstacksize(&rAttributes, &uStackSize);
    pthread_attr_t fresh;
    pthread_attr_init(&fresh);
    std::size_t uDefault = 0;
    pthread_attr_getstacksize(&fresh, &uDefault);
    pthread_attr_destroy(&fresh);
    g_calls.push_back(uStackSize == uDefault ? "create" : "create with another stack size");
}

void OpenStop()
{
    if (t_bOpensStop) g_pStop.load()->Open();
}
}  // namespace

extern "C"
{
    // Sanitizers must see what threads do: where there is one, it offers its own functions under these names.
    int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) __attribute__((weak));
    int __interceptor_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*) __attribute__((weak));
    int __interceptor_pthread_join(pthread_t, void**) __attribute__((weak));
    int __interceptor_pthread_detach(pthread_t) __attribute__((weak));

    QV_EXPORT int pthread_attr_setinheritsched(pthread_attr_t* pAttributes, int nInherit) noexcept
    {
        static const auto pfnReal = Real<int(pthread_attr_t*, int)>("pthread_attr_setinheritsched");
        g_calls.push_back("inherit " + std::to_string(nInherit));
        return g_failures.bInherit ? EINVAL : pfnReal(pAttributes, nInherit);
    }
    QV_EXPORT int pthread_attr_setschedpolicy(pthread_attr_t* pAttributes, int nPolicy) noexcept
    {
        static const auto pfnReal = Real<int(pthread_attr_t*, int)>("pthread_attr_setschedpolicy");
        g_calls.push_back("policy " + std::to_string(nPolicy));
        return g_failures.bPolicy ? EINVAL : pfnReal(pAttributes, nPolicy);
    }
    QV_EXPORT int pthread_attr_setschedparam(pthread_attr_t* pAttributes, const sched_param* pstParameter) noexcept
    {
        static const auto pfnReal = Real<int(pthread_attr_t*, const sched_param*)>("pthread_attr_setschedparam");
        g_calls.push_back("priority " + std::to_string(pstParameter->sched_priority));
        return g_failures.bPriority ? EINVAL : pfnReal(pAttributes, pstParameter);
    }
    QV_EXPORT int pthread_create(pthread_t* phThread, const pthread_attr_t* pAttributes, void* (*pfnStart)(void*),
                                 void* pvArgument) noexcept
    {
        static const auto pfnReal = Real("pthread_create", __interceptor_pthread_create);
        if (pAttributes != nullptr) NoteCreation(*pAttributes);  // else it is a thread of the test
        if (g_failures.bCreate)
        {
            if (g_pAtRefusal != nullptr) g_pAtRefusal->Pass();
            return EAGAIN;
        }
        // Before the thread runs: it may detach itself.
        const std::lock_guard guard(g_live);
        const int nResult = pfnReal(phThread, pAttributes, pfnStart, pvArgument);
        if (nResult == 0) g_live.Add(*phThread);
        return nResult;
    }
    QV_EXPORT int pthread_cond_wait(pthread_cond_t* pCondition, pthread_mutex_t* pMutex)
    {
        static const auto pfnReal = Real("pthread_cond_wait", __interceptor_pthread_cond_wait);
        OpenStop();
        return pfnReal(pCondition, pMutex);
    }
    QV_EXPORT int pthread_join(pthread_t hThread, void** ppvResult)
    {
        static const auto pfnReal = Real("pthread_join", __interceptor_pthread_join);
        const bool bLive = g_live.Remove(hThread);  // before others go on, who may be given the same handle
        OpenStop();
        ++g_uJoins;
        return bLive ? pfnReal(hThread, ppvResult) : ESRCH;
    }
    QV_EXPORT int pthread_detach(pthread_t hThread) noexcept
    {
        static const auto pfnReal = Real("pthread_detach", __interceptor_pthread_detach);
        ++g_uDetaches;
        return g_live.Remove(hThread) ? pfnReal(hThread) : ESRCH;
    }
    QV_EXPORT int sched_yield() noexcept
    {
        static const auto pfnReal = Real<int()>("sched_yield");
        // Who turns instead of waiting is let go all the same.
        if (++t_uYields > 100) OpenStop();
        return pfnReal();
    }
    QV_EXPORT NOT_INSTRUMENTED int pthread_key_create(pthread_key_t* phKey, void (*pfnDestructor)(void*)) noexcept
    {
        const auto pfnReal = Real<int(pthread_key_t*, void (*)(void*))>("pthread_key_create");
        return g_failures.bKey ? EAGAIN : pfnReal(phKey, pfnDestructor);
    }
    QV_EXPORT NOT_INSTRUMENTED int pthread_setspecific(pthread_key_t hKey, const void* pvValue) noexcept
    {
        const auto pfnReal = Real<int(pthread_key_t, const void*)>("pthread_setspecific");
        // Sanitizers have keys of their own.
        return g_failures.bSetSpecific && hKey == CThreadProbe::ms_hTsdKey ? ENOMEM : pfnReal(hKey, pvValue);
    }
    QV_EXPORT int setpriority(__priority_which_t eWhich, id_t uWho, int nValue) noexcept
    {
        ++g_uNiceCalls;
        g_uNiceWho = eWhich == PRIO_PROCESS ? uWho : 0;
        g_nNiceValue = nValue;
        CGate* const pStop = g_pStop;
        if (pStop != nullptr) pStop->Pass();
        return 0;
    }
}

namespace
{
class CThreadCalls : public testing::Test
{
protected:
    CThreadCalls()
    {
        g_failures = {};
        EXPECT_EQ(QV_RES_OK, InitializeCThread());
        g_calls.clear();
        g_uNiceCalls = 0;
        g_uJoins = 0;
        g_uDetaches = 0;
    }
    ~CThreadCalls() override
    {
        g_failures = {};
        FinalizeCThread();
        EXPECT_EQ(0u, g_live.CountStale()) << "joined or detached a second time";
        g_pStop = nullptr;
        t_bOpensStop = false;
    }

    QvResult Start(unsigned int (*pfn)(unsigned int) = nullptr)
    {
        return m_thread.StartThread(pfn, 3, "calls", 4096, CThread::eNORMAL);
    }
    /// When this thread waits for something, for the first time from now on.
    void OpenWhenWaiting(CGate& rGate)
    {
        g_pStop = &rGate;
        t_bOpensStop = true;
    }
    CThreadProbe m_thread;
};

unsigned int Return(unsigned int uParameter)
{
    return uParameter;
}
}  // namespace

TEST_F(CThreadCalls, SetOrdinarySchedulingExplicitlyNoStackSizeAndTheNiceValueOfTheProcess)
{
    unsigned int uStarts = 0;
    for (CThread::EPriority ePriority : {CThread::eLOWEST, CThread::eLOW, CThread::eNORMAL, CThread::eHIGH})
    {
        g_calls.clear();
        ASSERT_EQ(QV_RES_OK, m_thread.StartThread(nullptr, 0, nullptr, 1 << 20, ePriority));
        EXPECT_EQ((std::vector<std::string>{"inherit 1", "policy 0", "priority 0", "create"}), g_calls);
        m_thread.Join(nullptr);
        EXPECT_EQ(++uStarts, g_uNiceCalls);
        EXPECT_EQ(static_cast<unsigned int>(getpid()), g_uNiceWho);
        EXPECT_EQ(0, g_nNiceValue);
    }
}

TEST_F(CThreadCalls, JoinEveryRunOnce)
{
    Start();
    Start();
    EXPECT_EQ(1u, g_uJoins);
    m_thread.Join(nullptr);
    m_thread.Join(nullptr);
    EXPECT_EQ(2u, g_uJoins);
    EXPECT_EQ(0u, g_uDetaches);
}

TEST_F(CThreadCalls, DetachOnceWhatJoinsItselfAndNeverJoinItAgain)
{
    static CGate s_detached;
    s_detached.Shut();
    Start(
        [](unsigned int)
        {
            CThread::GetThreadSelf()->Join(nullptr);
            CThread::GetThreadSelf()->Join(nullptr);
            s_detached.Open();
            return 0u;
        });
    s_detached.Pass();
    m_thread.Join(nullptr);
    EXPECT_EQ(1u, g_uDetaches);
    EXPECT_EQ(0u, g_uJoins);
}

TEST_F(CThreadCalls, DetachAThreadThatJoinsItselfWhileAnotherWaitsForItsRun)
{
    static QvResult s_res = QV_RES_OK;
    static CGate s_otherWaits;
    s_otherWaits.Shut();
    Start(
        [](unsigned int)
        {
            s_otherWaits.Pass();
            s_res = CThread::GetThreadSelf()->Join(nullptr);
            return 0u;
        });
    OpenWhenWaiting(s_otherWaits);
    EXPECT_EQ(QV_RES_OK, m_thread.Join(nullptr));
    EXPECT_EQ(QV_RES_THREAD_JOIN_SELF, s_res);
    EXPECT_EQ(1u, g_uDetaches);
    EXPECT_EQ(0u, g_uJoins);
}

TEST_F(CThreadCalls, JoinOnceWhatAnotherThreadHasStartedAndWhatDoesNotRunYet)
{
    static CGate s_stop;
    s_stop.Shut();
    g_pStop = &s_stop;
    std::thread([this] { Start(Return); }).join();
    ASSERT_EQ(CThread::eSTARTING, m_thread.GetState());
    OpenWhenWaiting(s_stop);
    unsigned int uExitCode = 0;
    g_uJoins = 0;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    EXPECT_EQ(3u, uExitCode);
    EXPECT_EQ(1u, g_uJoins);
}

TEST_F(CThreadCalls, JoinNoEarlierRunWhileAnotherThreadBeginsTheNext)
{
    CGate starterKnown;
    CGate firstStarted;
    CGate held;
    CGate mayStart;
    CGate mayNumber;
    std::thread starter(
        [&]
        {
            CThread::GetCurrentId();
            starterKnown.Open();
            mayStart.Pass();
            Start(Return);
        });
    std::thread holder(
        [&]
        {
            firstStarted.Pass();
            m_thread.Join(nullptr);
            const CMutexGuard guard(CThreadProbe::ms_pmutex);
            held.Open();
            mayNumber.Pass();
        });
    starterKnown.Pass();
    CThread::GetCurrentId();
    // This thread has started the first run, and another one joins it.
    Start();
    firstStarted.Open();
    held.Pass();
    // The next run is begun, but has no number yet: for that, its starter waits for the module's mutex.
    mayStart.Open();
    while (m_thread.GetState() != CThread::eSTARTING) std::this_thread::yield();

    OpenWhenWaiting(mayNumber);
    unsigned int uExitCode = 0;
    g_uJoins = 0;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    EXPECT_EQ(3u, uExitCode);
    EXPECT_EQ(1u, g_uJoins);
    EXPECT_EQ(0u, g_live.CountStale());
    t_bOpensStop = false;
    g_pStop = nullptr;
    holder.join();
    starter.join();
    EXPECT_EQ(0u, g_live.Count()) << "never joined";
}

TEST_F(CThreadCalls, LetASecondJoinerWaitForTheFirstWithoutTurning)
{
    static pthread_key_t s_hKey;
    static CGate s_isPastItsRecord;
    static CGate s_mayEnd;
    s_isPastItsRecord.Shut();
    s_mayEnd.Shut();
    const auto pfnLinger = [](void*)
    {
        s_isPastItsRecord.Open();
        s_mayEnd.Pass();
    };
    ASSERT_EQ(0, pthread_key_create(&s_hKey, pfnLinger));
    ASSERT_GT(s_hKey, CThreadProbe::ms_hTsdKey) << "destroyed in the order of the keys";
    Start([](unsigned int) { return static_cast<unsigned int>(pthread_setspecific(s_hKey, &s_mayEnd)); });
    std::thread first([this] { m_thread.Join(nullptr); });
    s_isPastItsRecord.Pass();
    while (g_uJoins == 0) std::this_thread::yield();

    OpenWhenWaiting(s_mayEnd);
    t_uYields = 0;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(nullptr));
    EXPECT_EQ(0u, t_uYields);
    t_bOpensStop = false;
    g_pStop = nullptr;
    g_uJoins = 0;
    first.join();
    EXPECT_EQ(1u, g_uJoins);
    pthread_key_delete(s_hKey);
}

TEST_F(CThreadCalls, RefusedAttributesAreReportedAlthoughTheThreadRuns)
{
    for (bool SFailures::*pbFailure : {&SFailures::bInherit, &SFailures::bPolicy, &SFailures::bPriority})
    {
        g_failures = {};
        g_failures.*pbFailure = true;
        g_calls.clear();
        EXPECT_EQ(QV_RES_THREAD_ATTRIBUTES, Start(Return));
        EXPECT_EQ(4u, g_calls.size()) << "the others are set all the same";
        unsigned int uExitCode = 0;
        EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
        EXPECT_EQ(3u, uExitCode);
    }
}

TEST_F(CThreadCalls, RefusedCreationLeavesTheObjectIdleAndNothingRunning)
{
    g_failures.bCreate = true;
    for (const bool bPolicyFails : {false, true})
    {
        g_failures.bPolicy = bPolicyFails;
        EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, Start(Return)) << "which outranks refused attributes";
        EXPECT_EQ(CThread::eIDLE, m_thread.GetState());
        EXPECT_EQ(0u, m_thread.Handle());
        EXPECT_EQ(0u, CThreadProbe::CountRunning());
        EXPECT_TRUE(CThreadProbe::ms_psemFinalizeWaitThread->Wait(0)) << "the barrier is open";
        CThreadProbe::ms_psemFinalizeWaitThread->Signal(false);
        EXPECT_EQ(QV_RES_OK, m_thread.Join(nullptr));
    }
    EXPECT_EQ(0u, g_uJoins);
    g_failures = {};
    EXPECT_EQ(QV_RES_OK, Start(Return));
    unsigned int uExitCode = 0;
    m_thread.Join(&uExitCode);
    EXPECT_EQ(3u, uExitCode);
}

TEST_F(CThreadCalls, RefusedCreationLetsThoseGoWhoWaitToJoin)
{
    CGate joinerWaits;
    g_pAtRefusal = g_pStop = &joinerWaits;
    std::thread joiner(
        [this]
        {
            while (m_thread.GetState() != CThread::eSTARTING) std::this_thread::yield();
            t_bOpensStop = true;
            EXPECT_EQ(QV_RES_OK, m_thread.Join(nullptr));
        });
    g_failures.bCreate = true;
    EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, Start(Return));
    joiner.join();
    g_pAtRefusal = nullptr;
    EXPECT_EQ(CThread::eIDLE, m_thread.GetState());
}

TEST_F(CThreadCalls, ARecordThatCannotBeStoredDoesNotKeepJoinAndShutDownWaiting)
{
    g_failures.bSetSpecific = true;
    EXPECT_EQ(QV_RES_OK, Start([](unsigned int) { return CThread::GetThreadSelf() != nullptr ? 1u : 0u; }));
    unsigned int uExitCode = 0;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    EXPECT_EQ(1u, uExitCode);
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
}

TEST(CThreadModuleCalls, AKeyThatIsRefusedFailsTheStartUp)
{
    g_failures = {};
    g_failures.bKey = true;
    EXPECT_EQ(QV_RES_FAIL, InitializeCThread());
    EXPECT_EQ(static_cast<pthread_key_t>(QV_RES_TSD_KEY_NOT_FOUND), CThreadProbe::ms_hTsdKey);
    EXPECT_TRUE(CThreadProbe::ms_bTsdInitialized);
    EXPECT_EQ(0u, CThread::GetCurrentId());
    EXPECT_EQ(QV_RES_TSD_UNAVAILABLE, CThread::SetSpecific(1, 1));
    g_failures.bKey = false;
    EXPECT_EQ(QV_RES_OK, InitializeCThread());
    EXPECT_EQ(1u, CThread::GetCurrentId());
    FinalizeCThread();
}
