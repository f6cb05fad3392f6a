#include "framework/kernel/thread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <thread>
#include <vector>

#include "tests/support/gate.h"
#include "tests/support/thread_probe.h"

namespace
{
unsigned int Double(unsigned int uParameter)
{
    return 2 * uParameter;
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
        ASSERT_EQ(QV_RES_OK, StartTestThread(rThread, WaitAtGate, uParameter));
        g_there.Pass();
    }
    CThreadProbe m_thread;
};
}  // namespace

TEST_F(CThreadRun, StatesHaveTheNumbersThatOldProgramsKnow)
{
    using State = CThread::EState;
    unsigned int uNumber = 0;
    for (const State e : {State::eIDLE, State::eSTARTING, State::eRUNNING, State::eRETURNED, State::eDESTROYED})
    {
        EXPECT_EQ(uNumber++, static_cast<unsigned int>(e));
    }
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

TEST_F(CThreadRun, StartingAgainWaitsForTheEarlierRun)
{
    static CThread* s_pStarted = nullptr;
    s_pStarted = &m_thread;
    StartWaiting(m_thread);
    CThread starter;
    // The second run can only double its parameter after the first one was let go.
    ASSERT_EQ(QV_RES_OK, StartTestThread(starter,
                                         [](unsigned int)
                                         {
                                             g_go.Open();
                                             return static_cast<unsigned int>(StartTestThread(*s_pStarted, Double, 8));
                                         }));
    unsigned int uResult = 1;
    starter.Join(&uResult);
    EXPECT_EQ(0u, uResult);
    unsigned int uExitCode = 0;
    m_thread.Join(&uExitCode);
    EXPECT_EQ(16u, uExitCode);
}

TEST_F(CThreadRun, KeepsItsLastNameCutTo31Characters)
{
    const struct
    {
        const char* pszGiven;
        const char* pszKept;
    } astNames[] = {{nullptr, "CThread"},
                    {"01234567890123456789012345678901", "0123456789012345678901234567890"},
                    {"a name of just 31 characters --", "a name of just 31 characters --"},
                    {"", ""},
                    {"b", "b"}};
    for (const auto& rst : astNames)
    {
        ASSERT_EQ(QV_RES_OK, m_thread.StartThread(nullptr, 0, rst.pszGiven, 0, CThread::eNORMAL));
        unsigned int uExitCode = 7;
        EXPECT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
        EXPECT_EQ(0u, uExitCode) << "without a function";
        EXPECT_STREQ(rst.pszKept, m_thread.GetName());
    }
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

TEST_F(CThreadRun, EqualsByIdentifier)
{
    CThread other;
    EXPECT_TRUE(m_thread == other) << "neither was started";
    StartTestThread(m_thread, nullptr);
    EXPECT_FALSE(m_thread == other);
    EXPECT_TRUE(m_thread != other);
    EXPECT_TRUE(m_thread == m_thread);
    StartTestThread(other, nullptr);
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
    StartTestThread(thread, nullptr);
    EXPECT_EQ(auIds[1] + 1, thread.GetId()) << "one sequence for all";
    EXPECT_EQ(uMain, CThread::GetCurrentId());
}

TEST_F(CThreadRun, IsCountedAndHoldsTheBarrierUntilItHasEnded)
{
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
    StartWaiting(m_thread);
    EXPECT_EQ(1u, CThreadProbe::CountRunning());
    EXPECT_FALSE(CThreadProbe::ms_psemFinalizeWaitThread->Wait(0));
    {
        CThread second;
        StartTestThread(second, nullptr);
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
    StartTestThread(m_thread,
                    [](unsigned int) { return static_cast<unsigned int>(pthread_setspecific(s_hKey, &s_hKey)); });
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

TEST_F(CThreadRun, JoiningItselfDetachesAndSaysSo)
{
    static QvResult s_ares[2] = {};
    static unsigned int s_uExitCode = 77;
    StartTestThread(m_thread,
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
    EXPECT_EQ(QV_RES_OK, StartTestThread(m_thread, Double, 4));
    m_thread.Join(&uExitCode);
    EXPECT_EQ(8u, uExitCode);
    WaitForAllThreads();  // the detached one was joined when it let go of the object, a little before its end
}

TEST_F(CThreadRun, StartedFromItsOwnThreadIsRefusedInsteadOfWaitingForItself)
{
    static QvResult s_res = QV_RES_OK;
    StartTestThread(m_thread,
                    [](unsigned int)
                    {
                        s_res = StartTestThread(*CThread::GetThreadSelf(), Double, 1);
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
    ASSERT_EQ(QV_RES_OK, StartTestThread(*pThread,
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
    StartTestThread(*pThread,
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
    StartTestThread(*new CMortalThread(s_gone),
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
    StartTestThread(*new CMortalThread(s_gone),
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
        StartTestThread(thread,
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
    StartTestThread(m_thread,
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

TEST_F(CThreadRun, StartedAgainAndAgainJoinedOrNotGetsNewIdentifiersAndLeavesNothing)
{
    const unsigned int uRecords = CThreadProbe::CountRecords();
    const unsigned int uKeys = CThreadProbe::CountKeys();
    unsigned int uLast = CThread::GetCurrentId();
    for (unsigned int u = 0; u < 3000; ++u)
    {
        ASSERT_EQ(QV_RES_OK, StartTestThread(m_thread, Double, u));
        ASSERT_GT(m_thread.GetId(), uLast);
        ASSERT_EQ(CThreadProbe::ms_uThreadId, m_thread.GetId());
        uLast = m_thread.GetId();
        unsigned int uExitCode = 0;
        if (u % 3 == 0) continue;
        ASSERT_EQ(QV_RES_OK, m_thread.Join(&uExitCode));
        ASSERT_EQ(2 * u, uExitCode);
        uExitCode = 0;
        ASSERT_EQ(QV_RES_OK, m_thread.Join(&uExitCode)) << "once more";
        ASSERT_EQ(2 * u, uExitCode);
    }
    EXPECT_EQ(uRecords, CThreadProbe::CountRecords());
    EXPECT_EQ(uKeys, CThreadProbe::CountKeys());
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
}
