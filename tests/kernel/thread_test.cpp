#include "framework/kernel/thread.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "tests/support/gate.h"
#include "tests/support/run_program.h"
#include "tests/support/thread_probe.h"
#include "tests/support/vtable.h"

static_assert(sizeof(CThread) == 224 && alignof(CThread) == 8);
static_assert(std::is_polymorphic_v<CThread> && std::has_virtual_destructor_v<CThread>);
static_assert(std::is_nothrow_destructible_v<CThread>);
static_assert(!std::is_copy_constructible_v<CThread> && !std::is_copy_assignable_v<CThread>);
static_assert(sizeof(CThread::EPriority) == 4 && sizeof(CThread::EState) == 4);
static_assert(CThread::eLOWEST == 0 && CThread::eLOW == 1 && CThread::eNORMAL == 2 && CThread::eHIGH == 3);

using CTsd = CThreadProbe::STsd;
static_assert(offsetof(CTsd, pNext) == 0 && offsetof(CTsd, pThread) == 8 && offsetof(CTsd, uId) == 16);
static_assert(offsetof(CTsd, bCounted) == 20 && offsetof(CTsd, pValues) == 24 && sizeof(CTsd) == 32);
using CKey = CThreadProbe::STsdKey;
static_assert(offsetof(CKey, pNext) == 0 && offsetof(CKey, uKey) == 8 && offsetof(CKey, pfnDestructor) == 16);
static_assert(offsetof(CKey, uRefCount) == 24 && sizeof(CKey) == 32);
using CValue = CThreadProbe::STsdValue;
static_assert(offsetof(CValue, pNext) == 0 && offsetof(CValue, pKey) == 8 && offsetof(CValue, uValue) == 16);

namespace
{
unsigned int Double(unsigned int uParameter)
{
    return 2 * uParameter;
}

QvResult Start(CThread& rThread, unsigned int (*pfn)(unsigned int), unsigned int uParameter = 0)
{
    return rThread.StartThread(pfn, uParameter, "test", 0, CThread::eNORMAL);
}

/// Threads wait at g_go, having opened g_there.
CGate g_there;
CGate g_go;

unsigned int WaitAtGate(unsigned int uParameter)
{
    g_there.Open();
    g_go.Pass();
    return uParameter;
}

/// Waits until all threads that were started have ended, detached ones included: as the shut-down does.
void WaitForAllThreads()
{
    CThreadProbe::ms_psemFinalizeWaitThread->Wait();
    CThreadProbe::ms_psemFinalizeWaitThread->Signal(false);
}

class CThreadRun : public testing::Test
{
protected:
    CThreadRun()
    {
        g_there.Shut();
        g_go.Shut();
    }
    /// Starts a thread that waits for g_go, and returns when it has come so far.
    static void StartWaiting(CThread& rThread, unsigned int uParameter = 0)
    {
        ASSERT_EQ(QV_RES_OK, Start(rThread, WaitAtGate, uParameter));
        g_there.Pass();
    }
    CThreadProbe m_thread;
};
}  // namespace

TEST(CThreadLayout, HasTheTwoDestructorsForSlots)
{
    const CThread thread;
    EXPECT_EQ((std::vector<std::string>{"_ZN7CThreadD1Ev", "_ZN7CThreadD0Ev"}), VtableSlots(&thread));
}

TEST(CThreadLayout, IsIdleAndNamelessWhenNew)
{
    alignas(CThread) unsigned char auStorage[sizeof(CThread)];
    std::memset(auStorage, 0xEE, sizeof(auStorage));
    CThread* const pThread = new (auStorage) CThread;
    EXPECT_EQ(nullptr, LoadAt<void*>(auStorage, SThreadFields::uFUNCTION_AT));
    EXPECT_EQ(0u, LoadAt<unsigned int>(auStorage, SThreadFields::uPARAMETER_AT));
    EXPECT_STREQ("(Not started)", reinterpret_cast<const char*>(auStorage) + SThreadFields::uNAME_AT);
    EXPECT_EQ(0u, LoadAt<unsigned int>(auStorage, SThreadFields::uSTATE_AT));
    EXPECT_EQ(0u, LoadAt<unsigned int>(auStorage, SThreadFields::uID_AT));
    EXPECT_EQ(0u, LoadAt<unsigned int>(auStorage, SThreadFields::uEXIT_CODE_AT));
    EXPECT_EQ(2u, LoadAt<unsigned int>(auStorage, SThreadFields::uPRIORITY_AT));
    EXPECT_EQ(0u, LoadAt<pthread_t>(auStorage, SThreadFields::uHANDLE_AT));
    const auto* const pSemRun = reinterpret_cast<const CBinarySemaphore*>(auStorage + SThreadFields::uSEM_RUN_AT);
    EXPECT_TRUE(pSemRun->Wait(1)) << "free, with timed waits";
    pSemRun->Signal(false);
    pThread->~CThread();
}

TEST_F(CThreadRun, FillsItsFieldsFromTheStart)
{
    ASSERT_EQ(QV_RES_OK, m_thread.StartThread(WaitAtGate, 0x89ABCDEF, "seven", 0, CThread::eHIGH));
    g_there.Pass();
    EXPECT_EQ(&WaitAtGate, LoadAt<unsigned int (*)(unsigned int)>(&m_thread, SThreadFields::uFUNCTION_AT));
    EXPECT_EQ(0x89ABCDEFu, LoadAt<unsigned int>(&m_thread, SThreadFields::uPARAMETER_AT));
    EXPECT_EQ("seven", std::string(m_thread.GetName()));
    EXPECT_EQ(2u, LoadAt<unsigned int>(&m_thread, SThreadFields::uSTATE_AT));
    EXPECT_EQ(m_thread.GetId(), LoadAt<unsigned int>(&m_thread, SThreadFields::uID_AT));
    EXPECT_EQ(3u, LoadAt<unsigned int>(&m_thread, SThreadFields::uPRIORITY_AT));
    EXPECT_NE(0u, m_thread.Handle());
    const auto* const pSemRun = reinterpret_cast<const CBinarySemaphore*>(
        reinterpret_cast<const unsigned char*>(&m_thread) + SThreadFields::uSEM_RUN_AT);
    EXPECT_FALSE(pSemRun->Wait(0)) << "held while the thread has a record";
    g_go.Open();
    unsigned int uExitCode = 0;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    EXPECT_EQ(0x89ABCDEFu, uExitCode);
    EXPECT_EQ(0x89ABCDEFu, LoadAt<unsigned int>(&m_thread, SThreadFields::uEXIT_CODE_AT));
    EXPECT_EQ(0u, LoadAt<unsigned int>(&m_thread, SThreadFields::uSTATE_AT));
    EXPECT_EQ(0u, m_thread.Handle());
    EXPECT_TRUE(pSemRun->Wait(0));
    pSemRun->Signal(false);
}

TEST_F(CThreadRun, GoesFromIdleOverRunningAndReturnedBackToIdle)
{
    EXPECT_EQ(CThread::eIDLE, m_thread.GetState());
    StartWaiting(m_thread, 5);
    EXPECT_EQ(CThread::eRUNNING, m_thread.GetState());
    g_go.Open();
    while (m_thread.GetState() == CThread::eRUNNING) std::this_thread::yield();
    EXPECT_EQ(CThread::eRETURNED, m_thread.GetState());
    EXPECT_EQ(5u, m_thread.GetExitCode());
    EXPECT_EQ(QV_RES_OK, m_thread.Join(nullptr));
    EXPECT_EQ(CThread::eIDLE, m_thread.GetState());
}

TEST(CThreadDestructor, LeavesTheStateDestroyed)
{
    alignas(CThread) unsigned char auStorage[sizeof(CThread)];
    (new (auStorage) CThread)->~CThread();
    EXPECT_EQ(4u, LoadAt<unsigned int>(auStorage, SThreadFields::uSTATE_AT));
}

TEST_F(CThreadRun, RunsNothingWhenItHasNoFunction)
{
    unsigned int uExitCode = 7;
    ASSERT_EQ(QV_RES_OK, Start(m_thread, nullptr, 9));
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    EXPECT_EQ(0u, uExitCode);
}

TEST_F(CThreadRun, JoinedBeforeAnyStartGivesExitCodeZero)
{
    unsigned int uExitCode = 7;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    EXPECT_EQ(0u, uExitCode);
}

TEST_F(CThreadRun, JoinedAgainGivesTheLastExitCode)
{
    Start(m_thread, Double, 21);
    m_thread.Join(nullptr);
    unsigned int uExitCode = 0;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    EXPECT_EQ(42u, uExitCode);
}

TEST_F(CThreadRun, StartsAgainWithoutAJoinInBetween)
{
    for (unsigned int u = 0; u < 20; ++u) ASSERT_EQ(QV_RES_OK, Start(m_thread, Double, u));
    unsigned int uExitCode = 0;
    m_thread.Join(&uExitCode);
    EXPECT_EQ(38u, uExitCode);
}

TEST_F(CThreadRun, StartingAgainWaitsForTheEarlierRun)
{
    static CThread* s_pStarted = nullptr;
    s_pStarted = &m_thread;
    StartWaiting(m_thread);
    CThread starter;
    // The second run can only double its parameter after the first one was let go.
    ASSERT_EQ(QV_RES_OK, Start(starter,
                               [](unsigned int)
                               {
                                   g_go.Open();
                                   return static_cast<unsigned int>(Start(*s_pStarted, Double, 8));
                               }));
    unsigned int uResult = 1;
    starter.Join(&uResult);
    EXPECT_EQ(0u, uResult);
    unsigned int uExitCode = 0;
    m_thread.Join(&uExitCode);
    EXPECT_EQ(16u, uExitCode);
}

struct SName
{
    const char* pszGiven;
    const char* pszKept;
};

class CThreadName : public testing::TestWithParam<SName>
{
};

TEST_P(CThreadName, IsKept)
{
    CThread thread;
    ASSERT_EQ(QV_RES_OK, thread.StartThread(nullptr, 0, GetParam().pszGiven, 0, CThread::eNORMAL));
    thread.Join(nullptr);
    EXPECT_STREQ(GetParam().pszKept, thread.GetName());
}

INSTANTIATE_TEST_SUITE_P(Names, CThreadName,
                         testing::Values(SName{nullptr, "CThread"}, SName{"", ""}, SName{"a", "a"},
                                         SName{"0123456789012345678901234567890", "0123456789012345678901234567890"},
                                         SName{"01234567890123456789012345678901", "0123456789012345678901234567890"},
                                         SName{"0123456789012345678901234567890123456789",
                                               "0123456789012345678901234567890"}));

TEST_F(CThreadRun, ShortNameReplacesALongOne)
{
    m_thread.StartThread(nullptr, 0, "a rather long name for a thread", 0, CThread::eNORMAL);
    m_thread.StartThread(nullptr, 0, "b", 0, CThread::eNORMAL);
    m_thread.Join(nullptr);
    EXPECT_STREQ("b", m_thread.GetName());
}

TEST_F(CThreadRun, RefusesAPriorityThatIsNone)
{
    for (int nPriority : {-1, 4, 1000})
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT,
                  m_thread.StartThread(Double, 1, nullptr, 0, static_cast<CThread::EPriority>(nPriority)));
        EXPECT_EQ(CThread::eIDLE, m_thread.GetState());
        EXPECT_EQ(0u, m_thread.GetId());
    }
}

TEST_F(CThreadRun, RunsAtEveryPriority)
{
    for (CThread::EPriority ePriority : {CThread::eLOWEST, CThread::eLOW, CThread::eNORMAL, CThread::eHIGH})
    {
        unsigned int uExitCode = 0;
        EXPECT_EQ(QV_RES_OK, m_thread.StartThread(Double, 3, nullptr, 0, ePriority));
        EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
        EXPECT_EQ(6u, uExitCode);
    }
}

TEST_F(CThreadRun, IgnoresTheStackSize)
{
    static std::size_t s_uStackSize = 0;
    const auto measure = [](unsigned int)
    {
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &s_uStackSize);
        pthread_attr_destroy(&attributes);
        return 0u;
    };
    m_thread.StartThread(measure, 0, nullptr, 0, CThread::eNORMAL);
    m_thread.Join(nullptr);
    const std::size_t uDefault = s_uStackSize;
    m_thread.StartThread(measure, 0, nullptr, 12345, CThread::eNORMAL);
    m_thread.Join(nullptr);
    EXPECT_EQ(uDefault, s_uStackSize);
}

TEST_F(CThreadRun, KnowsItselfOnItsOwnThreadOnly)
{
    static CThread* s_pSelf = nullptr;
    static bool s_bCurrent = false;
    static unsigned int s_uCurrentId = 0;
    EXPECT_EQ(nullptr, CThread::GetThreadSelf());
    Start(m_thread,
          [](unsigned int)
          {
              s_pSelf = CThread::GetThreadSelf();
              s_bCurrent = s_pSelf->IsCurrentThread();
              s_uCurrentId = CThread::GetCurrentId();
              return 0u;
          });
    m_thread.Join(nullptr);
    EXPECT_EQ(&m_thread, s_pSelf);
    EXPECT_TRUE(s_bCurrent);
    EXPECT_EQ(m_thread.GetId(), s_uCurrentId);
    EXPECT_FALSE(m_thread.IsCurrentThread());
}

TEST_F(CThreadRun, GetsANewIdentifierAtEachStart)
{
    EXPECT_EQ(0u, m_thread.GetId());
    unsigned int uLast = CThread::GetCurrentId();
    for (int n = 0; n < 5; ++n)
    {
        Start(m_thread, nullptr);
        m_thread.Join(nullptr);
        EXPECT_GT(m_thread.GetId(), uLast);
        EXPECT_EQ(CThreadProbe::ms_uThreadId, m_thread.GetId());
        uLast = m_thread.GetId();
    }
}

TEST_F(CThreadRun, EqualsByIdentifier)
{
    CThread other;
    EXPECT_TRUE(m_thread == other) << "neither was started";
    Start(m_thread, nullptr);
    EXPECT_FALSE(m_thread == other);
    EXPECT_TRUE(m_thread != other);
    EXPECT_TRUE(m_thread == m_thread);
    Start(other, nullptr);
    EXPECT_FALSE(m_thread == other);
}

TEST(CThreadCurrentId, IsDistinctAndLastingOnThreadsOfTheApplication)
{
    const unsigned int uMain = CThread::GetCurrentId();
    EXPECT_NE(0u, uMain);
    EXPECT_EQ(uMain, CThread::GetCurrentId());
    unsigned int auIds[2] = {};
    for (unsigned int& ruId : auIds)
    {
        std::thread([&ruId] { ruId = CThread::GetCurrentId(); }).join();
        EXPECT_NE(0u, ruId);
    }
    EXPECT_NE(auIds[0], auIds[1]);
    EXPECT_NE(auIds[0], uMain);
    CThread thread;
    Start(thread, nullptr);
    EXPECT_EQ(auIds[1] + 1, thread.GetId()) << "one sequence for all";
    EXPECT_EQ(uMain, CThread::GetCurrentId());
}

TEST(CThreadCurrentId, IsGivenToAThreadThatHasARecordWithoutOneFromAValue)
{
    unsigned int uKey = 0;
    ASSERT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uKey));
    const unsigned int uMain = CThread::GetCurrentId();
    std::thread(
        [uKey, uMain]
        {
            CThread::SetSpecific(uKey, 5);
            EXPECT_EQ(0u, CThreadProbe::GetCurrentTsd()->uId) << "nobody has asked yet";
            const unsigned int uId = CThread::GetCurrentId();
            EXPECT_LT(uMain, uId);
            EXPECT_EQ(uId, CThread::GetCurrentId());
        })
        .join();
    CThread::DeleteKey(uKey);
}

TEST(CThreadRecord, OfAThreadOfTheApplicationIsNotCountedAndGoesWithIt)
{
    const unsigned int uBefore = CThreadProbe::CountRecords();
    std::thread(
        [uBefore]
        {
            EXPECT_EQ(uBefore, CThreadProbe::CountRecords());
            CThread::GetCurrentId();
            EXPECT_EQ(uBefore + 1, CThreadProbe::CountRecords());
            EXPECT_FALSE(CThreadProbe::GetCurrentTsd()->bCounted);
            EXPECT_EQ(nullptr, CThreadProbe::GetCurrentTsd()->pThread);
            EXPECT_EQ(0u, CThreadProbe::CountRunning());
        })
        .join();
    EXPECT_EQ(uBefore, CThreadProbe::CountRecords());
}

TEST_F(CThreadRun, IsCountedAndHoldsTheBarrierUntilItHasEnded)
{
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
    StartWaiting(m_thread);
    EXPECT_EQ(1u, CThreadProbe::CountRunning());
    EXPECT_FALSE(CThreadProbe::ms_psemFinalizeWaitThread->Wait(0));
    {
        CThread second;
        Start(second, nullptr);
        EXPECT_EQ(QV_RES_OK, second.Join(nullptr));
        EXPECT_EQ(1u, CThreadProbe::CountRunning());
        EXPECT_FALSE(CThreadProbe::ms_psemFinalizeWaitThread->Wait(0)) << "one still runs";
    }
    g_go.Open();
    m_thread.Join(nullptr);
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
    EXPECT_TRUE(CThreadProbe::ms_psemFinalizeWaitThread->Wait(0));
    CThreadProbe::ms_psemFinalizeWaitThread->Signal(false);
}

TEST_F(CThreadRun, HasACountedRecordThatNamesIt)
{
    static CThreadProbe::STsd s_stSeen;
    Start(m_thread,
          [](unsigned int)
          {
              s_stSeen = *CThreadProbe::GetCurrentTsd();
              return 0u;
          });
    m_thread.Join(nullptr);
    EXPECT_EQ(&m_thread, s_stSeen.pThread);
    EXPECT_EQ(m_thread.GetId(), s_stSeen.uId);
    EXPECT_TRUE(s_stSeen.bCounted);
}

TEST_F(CThreadRun, IsNobodyToWhatRunsOnItsThreadAfterItsRecordIsGone)
{
    static pthread_key_t s_hKey = 0;
    static bool s_bSecondTurn = false;
    static CThread* s_pSelf = nullptr;
    s_bSecondTurn = false;
    s_pSelf = &m_thread;
    // Asks for a second turn: that comes when every key of the first has had its own, the module's too.
    const auto pfnDestructor = [](void* pvValue)
    {
        if (s_bSecondTurn) s_pSelf = CThread::GetThreadSelf();
        else pthread_setspecific(s_hKey, pvValue);
        s_bSecondTurn = true;
    };
    ASSERT_EQ(0, pthread_key_create(&s_hKey, pfnDestructor));
    Start(m_thread, [](unsigned int) { return static_cast<unsigned int>(pthread_setspecific(s_hKey, &s_hKey)); });
    m_thread.Join(nullptr);
    EXPECT_TRUE(s_bSecondTurn);
    EXPECT_EQ(nullptr, s_pSelf) << "the object may be gone by now";
    pthread_key_delete(s_hKey);
}

TEST_F(CThreadRun, JoinsFromTwoThreadsAtOnce)
{
    StartWaiting(m_thread, 11);
    unsigned int auExitCodes[2] = {};
    std::vector<std::thread> joiners;
    for (unsigned int& ruExitCode : auExitCodes)
    {
        joiners.emplace_back([&] { EXPECT_EQ(QV_RES_OK, m_thread.Join(&ruExitCode)); });
    }
    g_go.Open();
    for (std::thread& rJoiner : joiners) rJoiner.join();
    EXPECT_EQ(11u, auExitCodes[0]);
    EXPECT_EQ(11u, auExitCodes[1]);
}

TEST_F(CThreadRun, StartsFromTwoThreadsAtOnceOneRunAfterTheOther)
{
    std::vector<std::thread> starters;
    for (int n = 0; n < 2; ++n)
    {
        starters.emplace_back(
            [&]
            {
                for (unsigned int u = 0; u < 50; ++u) EXPECT_EQ(QV_RES_OK, Start(m_thread, Double, u));
            });
    }
    for (std::thread& rStarter : starters) rStarter.join();
    EXPECT_EQ(QV_RES_OK, m_thread.Join(nullptr));
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
}

TEST_F(CThreadRun, JoiningItselfDetachesAndSaysSo)
{
    static QvResult s_ares[2] = {};
    static unsigned int s_uExitCode = 77;
    Start(m_thread,
          [](unsigned int)
          {
              for (QvResult& rres : s_ares) rres = CThread::GetThreadSelf()->Join(&s_uExitCode);
              g_there.Open();
              g_go.Pass();
              return 5u;
          });
    g_there.Pass();
    EXPECT_EQ(QV_RES_THREAD_JOIN_SELF, s_ares[0]);
    EXPECT_EQ(QV_RES_THREAD_JOIN_SELF, s_ares[1]) << "and is not detached twice";
    EXPECT_EQ(77u, s_uExitCode) << "is not written";
    EXPECT_EQ(0u, m_thread.Handle());
    g_go.Open();
    unsigned int uExitCode = 0;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode)) << "waits for the end, but joins no detached thread";
    EXPECT_EQ(5u, uExitCode);
    EXPECT_EQ(QV_RES_OK, Start(m_thread, Double, 4));
    m_thread.Join(&uExitCode);
    EXPECT_EQ(8u, uExitCode);
    WaitForAllThreads();  // the detached one was joined when it let go of the object, a little before its end
}

TEST_F(CThreadRun, StartedFromItsOwnThreadIsRefusedInsteadOfWaitingForItself)
{
    static QvResult s_res = QV_RES_OK;
    Start(m_thread,
          [](unsigned int)
          {
              s_res = Start(*CThread::GetThreadSelf(), Double, 1);
              return 6u;
          });
    unsigned int uExitCode = 0;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    EXPECT_EQ(QV_RES_THREAD_JOIN_SELF, s_res);
    EXPECT_EQ(6u, uExitCode);
}

namespace
{
/// Opens a gate when it is destroyed.
class CMortalThread : public CThread
{
public:
    explicit CMortalThread(CGate& rGone) : m_rGone(rGone) {}
    ~CMortalThread() override { m_rGone.Open(); }

private:
    CGate& m_rGone;
};
}  // namespace

TEST(CThreadDestructor, InsideItsOwnThreadLetsTheThreadRunOn)
{
    static CGate s_gone;
    static CGate s_go;
    static CThread* s_pSelfAfter = nullptr;
    static bool s_bRecordNamesNone = false;
    s_gone.Shut();
    auto* const pThread = new CMortalThread(s_gone);
    s_pSelfAfter = pThread;
    ASSERT_EQ(QV_RES_OK, Start(*pThread,
                               [](unsigned int)
                               {
                                   s_go.Pass();
                                   delete CThread::GetThreadSelf();
                                   s_pSelfAfter = CThread::GetThreadSelf();
                                   s_bRecordNamesNone = CThreadProbe::GetCurrentTsd()->pThread == nullptr;
                                   return 1u;
                               }));
    s_go.Open();
    s_gone.Pass();
    WaitForAllThreads();
    EXPECT_EQ(nullptr, s_pSelfAfter);
    EXPECT_TRUE(s_bRecordNamesNone);
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
}

TEST(CThreadDestructor, InsideItsOwnThreadIsTheLastThatTouchesTheObject)
{
    static CGate s_gone;
    s_gone.Shut();
    alignas(CThread) static unsigned char s_auStorage[sizeof(CThread)];
    auto* const pThread = new (s_auStorage) CThread;
    Start(*pThread,
          [](unsigned int)
          {
              CThread::GetThreadSelf()->~CThread();
              std::memset(s_auStorage, 0xEE, sizeof(s_auStorage));
              s_gone.Open();
              return 1u;
          });
    s_gone.Pass();
    WaitForAllThreads();
    EXPECT_EQ(std::vector<unsigned char>(sizeof(CThread), 0xEE), BytesAt(s_auStorage, 0, sizeof(CThread)));
}

TEST(CThreadDestructor, InsideItsOwnThreadAfterItJoinedItself)
{
    static CGate s_gone;
    s_gone.Shut();
    Start(*new CMortalThread(s_gone),
          [](unsigned int)
          {
              CThread* const pSelf = CThread::GetThreadSelf();
              pSelf->Join(nullptr);
              delete pSelf;
              return 1u;
          });
    s_gone.Pass();
    WaitForAllThreads();
}

TEST(CThreadDestructor, InsideADestructorOfAValueOfItsOwnThread)
{
    static CGate s_gone;
    s_gone.Shut();
    static unsigned int s_uKey = 0;
    ASSERT_EQ(QV_RES_OK, CThread::CreateKey([](unsigned int) { delete CThread::GetThreadSelf(); }, s_uKey));
    Start(*new CMortalThread(s_gone),
          [](unsigned int) { return static_cast<unsigned int>(CThread::SetSpecific(s_uKey, 1)); });
    s_gone.Pass();
    WaitForAllThreads();
    EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(s_uKey));
}

TEST(CThreadDestructor, JoinsAThreadThatIsStillRunning)
{
    static CGate s_go;
    static bool s_bDone = false;
    s_go.Shut();
    {
        CThread thread;
        Start(thread,
              [](unsigned int)
              {
                  s_go.Pass();
                  s_bDone = true;
                  return 0u;
              });
        s_go.Open();
    }
    EXPECT_TRUE(s_bDone);
}

TEST_F(CThreadRun, ThatEndsInPthreadExitIsJoinedLikeAnyOther)
{
    Start(m_thread,
          [](unsigned int) -> unsigned int
          {
              pthread_exit(nullptr);
              return 3u;
          });
    unsigned int uExitCode = 9;
    EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
    EXPECT_EQ(0u, uExitCode);
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
}

namespace
{
/// Whether a process like this one is allowed to lower its nice value to zero.
bool MayBeSetToZero()
{
    return StatusOfChild([] { return setpriority(PRIO_PROCESS, 0, 0); }) == 0;
}
}  // namespace

TEST_F(CThreadRun, SetsTheNiceValueOfTheProcessToZero)
{
    const id_t uProcess = static_cast<id_t>(getpid());
    const int nRaised = std::max(1, getpriority(PRIO_PROCESS, uProcess));
    ASSERT_EQ(0, setpriority(PRIO_PROCESS, uProcess, nRaised));
    // Raising it is allowed to everyone, lowering it again is not: the effect is that on another process.
    const int nExpected = MayBeSetToZero() ? 0 : nRaised;
    Start(m_thread, nullptr);
    m_thread.Join(nullptr);
    EXPECT_EQ(nExpected, getpriority(PRIO_PROCESS, uProcess));
}

TEST_F(CThreadRun, StartedAndJoinedTenThousandTimesLeavesNothing)
{
    const unsigned int uRecords = CThreadProbe::CountRecords();
    const unsigned int uKeys = CThreadProbe::CountKeys();
    for (unsigned int u = 0; u < 10000; ++u)
    {
        ASSERT_EQ(QV_RES_OK, Start(m_thread, Double, u));
        unsigned int uExitCode = 0;
        ASSERT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
        ASSERT_EQ(2 * u, uExitCode);
    }
    EXPECT_EQ(uRecords, CThreadProbe::CountRecords());
    EXPECT_EQ(uKeys, CThreadProbe::CountKeys());
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
}

TEST(CThreads, RunBesideOneAnother)
{
    constexpr unsigned int uTHREADS = 8;
    CThread aThreads[uTHREADS];
    for (int nRound = 0; nRound < 20; ++nRound)
    {
        for (unsigned int u = 0; u < uTHREADS; ++u) ASSERT_EQ(QV_RES_OK, Start(aThreads[u], Double, u));
        for (unsigned int u = 0; u < uTHREADS; ++u)
        {
            unsigned int uExitCode = 0;
            ASSERT_EQ(QV_RES_OK, aThreads[u].Join(&uExitCode));
            EXPECT_EQ(2 * u, uExitCode);
        }
    }
}
