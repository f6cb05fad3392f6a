// What a start asks of the system, and what becomes of it when the system refuses: the functions defined here stand in
// for the C library's.
#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
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
std::atomic<pthread_t> g_hCreated = 0;
/// A handle that stands for no thread any more; joining it is counted instead.
std::atomic<pthread_t> g_hGone = 0;
std::atomic<unsigned int> g_uJoinsOfGone = 0;
/// Threads stop at it before they run, when there is one; opened when the thread of the test waits for something.
std::atomic<CGate*> g_pStop = nullptr;
thread_local bool t_bOpensStop = false;

/// What stands behind a function that is replaced here: the sanitizer's, where there is one, or the C library's.
template <typename TFunction>
NOT_INSTRUMENTED TFunction* Real(const char* pszName, TFunction* pfnSanitizers = nullptr)
{
    return pfnSanitizers != nullptr ? pfnSanitizers : reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, pszName));
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
        std::size_t uStackSize = 0;
        pthread_attr_getstacksize(pAttributes, &uStackSize);
        pthread_attr_t fresh;
        pthread_attr_init(&fresh);
        std::size_t uDefault = 0;
        pthread_attr_getstacksize(&fresh, &uDefault);
        pthread_attr_destroy(&fresh);
        g_calls.push_back(uStackSize == uDefault ? "create" : "create with another stack size");
        if (g_failures.bCreate) return EAGAIN;
        const int nResult = pfnReal(phThread, pAttributes, pfnStart, pvArgument);
        g_hCreated = *phThread;
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
        OpenStop();
        ++g_uJoins;
        if (hThread == g_hGone) return static_cast<int>(++g_uJoinsOfGone);
        return pfnReal(hThread, ppvResult);
    }
    QV_EXPORT int pthread_detach(pthread_t hThread) noexcept
    {
        static const auto pfnReal = Real("pthread_detach", __interceptor_pthread_detach);
        ++g_uDetaches;
        return pfnReal(hThread);
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
    }

    QvResult Start(unsigned int (*pfn)(unsigned int) = nullptr)
    {
        return m_thread.StartThread(pfn, 3, "calls", 4096, CThread::eNORMAL);
    }
    CThreadProbe m_thread;
};

unsigned int Return(unsigned int uParameter)
{
    return uParameter;
}
}  // namespace

TEST_F(CThreadCalls, SetOrdinarySchedulingExplicitlyAndNoStackSize)
{
    for (CThread::EPriority ePriority : {CThread::eLOWEST, CThread::eLOW, CThread::eNORMAL, CThread::eHIGH})
    {
        g_calls.clear();
        ASSERT_EQ(QV_RES_OK, m_thread.StartThread(nullptr, 0, nullptr, 1 << 20, ePriority));
        EXPECT_EQ((std::vector<std::string>{"inherit 1", "policy 0", "priority 0", "create"}), g_calls);
        m_thread.Join(nullptr);
    }
}

TEST_F(CThreadCalls, SetTheNiceValueOfTheProcessToZeroAtEveryStart)
{
    for (unsigned int uStart = 1; uStart < 4; ++uStart)
    {
        Start();
        m_thread.Join(nullptr);
        EXPECT_EQ(uStart, g_uNiceCalls);
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

TEST_F(CThreadCalls, LeaveAThreadThatJoinsItselfWhileAnotherJoinsItToTheOther)
{
    static std::atomic<QvResult> s_res = QV_RES_OK;
    Start(
        [](unsigned int)
        {
            while (g_uJoins == 0) std::this_thread::yield();
            s_res = CThread::GetThreadSelf()->Join(nullptr);
            return 0u;
        });
    EXPECT_EQ(QV_RES_OK, m_thread.Join(nullptr));
    EXPECT_EQ(QV_RES_THREAD_JOIN_SELF, s_res);
    EXPECT_EQ(0u, g_uDetaches);
    EXPECT_EQ(1u, g_uJoins);
}

TEST_F(CThreadCalls, JoinOnceWhatAnotherThreadHasStartedAndWhatDoesNotRunYet)
{
    static CGate s_firstIsOver;
    static CGate s_stop;
    static CThread* s_pThread = nullptr;
    static CThread s_other;
    s_firstIsOver.Shut();
    s_stop.Shut();
    s_pThread = &m_thread;
    // Starts the second run: its thread exists then, but only its starter has been told by which handle. Another thread
    // before it takes the handle of the first, which the system likes to use again.
    const auto pfnStart = [](unsigned int)
    {
        s_firstIsOver.Pass();
        g_pStop = &s_stop;
        s_other.StartThread(nullptr, 0, nullptr, 0, CThread::eNORMAL);
        return static_cast<unsigned int>(s_pThread->StartThread(Return, 7, nullptr, 0, CThread::eNORMAL));
    };
    CThread starter;
    ASSERT_EQ(QV_RES_OK, starter.StartThread(pfnStart, 0, nullptr, 0, CThread::eNORMAL));
    Start();
    const pthread_t hFirst = g_hCreated;
    m_thread.Join(nullptr);
    s_firstIsOver.Open();
    starter.Join(nullptr);
    ASSERT_EQ(CThread::eSTARTING, m_thread.GetState());
    g_hGone = hFirst != g_hCreated ? hFirst : 0;
    g_uJoinsOfGone = 0;
    g_uJoins = 0;

    unsigned int uExitCode = 0;
    t_bOpensStop = true;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    t_bOpensStop = false;
    g_pStop = nullptr;
    g_hGone = 0;
    const unsigned int uJoins = g_uJoins;
    s_other.Join(nullptr);
    EXPECT_EQ(7u, uExitCode);
    EXPECT_EQ(1u, uJoins);
    EXPECT_EQ(0u, g_uJoinsOfGone) << "this thread has started an earlier run";
}

TEST_F(CThreadCalls, JoinWhatAnotherThreadHasStartedAfterARestartByItsOwnHandle)
{
    static CGate s_firstRuns;
    static CGate s_parkedMayEnd;
    static CGate s_stop;
    static CThread* s_pThread = nullptr;
    s_firstRuns.Shut();
    s_parkedMayEnd.Shut();
    s_stop.Shut();
    s_pThread = &m_thread;
    const auto pfnJoin = [](unsigned int)
    {
        s_firstRuns.Pass();
        s_pThread->Join(nullptr);
        return 0u;
    };
    CThread helper;
    helper.StartThread(pfnJoin, 0, nullptr, 0, CThread::eNORMAL);
    Start();
    const pthread_t hFirst = g_hCreated;
    const unsigned int uFirstId = m_thread.GetId();
    s_firstRuns.Open();
    helper.Join(nullptr);
    FinalizeCThread();
    ASSERT_EQ(QV_RES_OK, InitializeCThread());

    // The system likes to use handles again: these take the two that are free.
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_t ahParked[2] = {};
    const auto pfnPark = [](void*) -> void*
    {
        s_parkedMayEnd.Pass();
        return nullptr;
    };
    for (pthread_t& rhParked : ahParked) ASSERT_EQ(0, pthread_create(&rhParked, &attributes, pfnPark, nullptr));
    const auto pfnStart = [](void*) -> void*
    {
        g_pStop = &s_stop;
        s_pThread->StartThread(Return, 7, nullptr, 0, CThread::eNORMAL);
        return nullptr;
    };
    CThread::GetCurrentId();  // so that the starter is the second one again, and the run the third
    pthread_t hStarter;
    ASSERT_EQ(0, pthread_create(&hStarter, &attributes, pfnStart, nullptr));
    pthread_join(hStarter, nullptr);
    ASSERT_EQ(CThread::eSTARTING, m_thread.GetState());
    ASSERT_EQ(uFirstId, m_thread.GetId());
    g_hGone = hFirst != g_hCreated ? hFirst : 0;
    g_uJoinsOfGone = 0;

    unsigned int uExitCode = 0;
    t_bOpensStop = true;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    t_bOpensStop = false;
    g_pStop = nullptr;
    g_hGone = 0;
    EXPECT_EQ(7u, uExitCode);
    EXPECT_EQ(0u, g_uJoinsOfGone) << "this thread has started a run of that number before the restart";
    s_parkedMayEnd.Open();
    for (const pthread_t hParked : ahParked) pthread_join(hParked, nullptr);
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
    for (int n = 0; n < 2; ++n)
    {
        EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, Start(Return));
        EXPECT_EQ(CThread::eIDLE, m_thread.GetState());
        EXPECT_EQ(0u, m_thread.Handle());
        EXPECT_EQ(0u, CThreadProbe::CountRunning());
        EXPECT_TRUE(CThreadProbe::ms_psemFinalizeWaitThread->Wait(0)) << "the barrier is open";
        CThreadProbe::ms_psemFinalizeWaitThread->Signal(false);
        EXPECT_EQ(QV_RES_OK, m_thread.Join(nullptr));
    }
    EXPECT_EQ(0u, g_uJoins);
    g_failures.bCreate = false;
    EXPECT_EQ(QV_RES_OK, Start(Return));
    unsigned int uExitCode = 0;
    m_thread.Join(&uExitCode);
    EXPECT_EQ(3u, uExitCode);
}

TEST_F(CThreadCalls, RefusedCreationOutranksRefusedAttributes)
{
    g_failures.bCreate = true;
    g_failures.bPolicy = true;
    EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, Start(Return));
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
