#include "tests/support/refusing_new.h"

#if TESTS_OWN_OPERATOR_NEW
#include <gtest/gtest.h>

#include <thread>

#include "framework/kernel/alive.h"
#include "tests/support/gate.h"
#include "tests/support/thread_probe.h"

TEST(CThreadWithoutMemory, ACallerWithoutARecordHasNoIdentifierAndNoValues)
{
    unsigned int uKey = 0;
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uKey));
    std::thread(
        [uKey]
        {
            const CNoMemory none;
            EXPECT_EQ(0u, CThread::GetCurrentId());
            EXPECT_EQ(nullptr, CThread::GetThreadSelf());
            unsigned int uValue = 9;
            EXPECT_EQ(QV_RES_TSD_UNAVAILABLE, CThread::SetSpecific(uKey, 1));
            EXPECT_EQ(QV_RES_TSD_UNAVAILABLE, CThread::GetSpecific(uKey, uValue));
            EXPECT_EQ(9u, uValue);
        })
        .join();
    CThread::DeleteKey(uKey);
}

TEST(CThreadWithoutMemory, AKeyIsRefused)
{
    const CNoMemory none;
    unsigned int uKey = 5;
    const unsigned int uBefore = CThreadProbe::ms_keyCounter;
    EXPECT_EQ(QV_RES_TSD_UNAVAILABLE, CThread::CreateKey(nullptr, uKey));
    EXPECT_EQ(5u, uKey);
    EXPECT_EQ(uBefore, CThreadProbe::ms_keyCounter);
}

TEST(CThreadWithoutMemory, AValueIsRefusedAndLeavesTheKeyAsItWas)
{
    unsigned int uKey = 0;
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uKey));
    CThread::GetCurrentId();
    {
        const CNoMemory none;
        EXPECT_EQ(QV_RES_TSD_UNAVAILABLE, CThread::SetSpecific(uKey, 1));
        EXPECT_EQ(1u, CThreadProbe::CountReferences(uKey));
        unsigned int uValue = 9;
        EXPECT_EQ(QV_RES_OK, CThread::GetSpecific(uKey, uValue));
        EXPECT_EQ(0u, uValue);
    }
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 1));
    {
        const CNoMemory none;
        EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 2)) << "changing one takes none";
    }
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 0));
    CThread::DeleteKey(uKey);
}

TEST(CThreadWithoutMemory, AThreadRunsAndIsJoinedAndNotWaitedForAtShutDown)
{
    CThread::GetCurrentId();
    for (int nRound = 0; nRound < 50; ++nRound)
    {
        const CNoMemory none;
        CThread thread;
        ASSERT_EQ(QV_RES_OK,
                  StartTestThread(
                      thread, [](unsigned int u) { return CThread::GetThreadSelf() != nullptr ? u : 0; }, 7));
        unsigned int uExitCode = 0;
        EXPECT_EQ(QV_RES_OK, thread.Join(&uExitCode));
        EXPECT_EQ(7u, uExitCode);
        EXPECT_EQ(0u, CThreadProbe::CountRunning());
    }
}

TEST(CThreadWithoutMemory, AThreadMayJoinItself)
{
    static QvResult s_res = QV_RES_OK;
    const CNoMemory none;
    CThread thread;
    ASSERT_EQ(QV_RES_OK, StartTestThread(thread,
                                         [](unsigned int)
                                         {
                                             s_res = CThread::GetThreadSelf()->Join(nullptr);
                                             return 1u;
                                         }));
    EXPECT_EQ(QV_RES_OK, thread.Join(nullptr));
    EXPECT_EQ(QV_RES_THREAD_JOIN_SELF, s_res);
    WaitForAllThreads();  // it was joined when it let go of the object, a little before its end
}

TEST(CThreadWithoutMemory, AThreadMayDestroyItsObject)
{
    static CGate s_go;
    auto* const pThread = new CThread;
    {
        const CNoMemory none;
        ASSERT_EQ(QV_RES_OK, StartTestThread(*pThread,
                                             [](unsigned int)
                                             {
                                                 s_go.Pass();
                                                 delete CThread::GetThreadSelf();
                                                 return 1u;
                                             }));
        s_go.Open();
        WaitForAllThreads();
    }
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
}

TEST(CThreadWithoutMemory, AThreadMayEndInPthreadExit)
{
    const CNoMemory none;
    CThread thread;
    ASSERT_EQ(QV_RES_OK, StartTestThread(thread,
                                         [](unsigned int) -> unsigned int
                                         {
                                             pthread_exit(nullptr);
                                             return 1u;
                                         }));
    EXPECT_EQ(QV_RES_OK, thread.Join(nullptr));
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
}

TEST(CThreadWithoutMemory, AnAliveObjectIsReachedAllTheSame)
{
    class CMarker : public CAliveObj
    {
    public:
        bool m_bRan = false;

    private:
        void Behavior() override { m_bRan = true; }
    };
    CMarker marker;
    const CNoMemory none;
    EXPECT_EQ(QV_RES_OK, marker.Activate(nullptr, 0, CThread::eNORMAL));
    EXPECT_EQ(QV_RES_OK, marker.Join(nullptr));
    EXPECT_TRUE(marker.m_bRan);
    EXPECT_TRUE(marker.IsDead());
}

TEST(CThreadWithoutMemory, AThreadThatGetsItsRecordLaterIsWaitedForUntilTheRecordIsGone)
{
    static unsigned int s_uKey = 0;
    static unsigned int s_uRunning = 0;
    static bool s_bRunOver = true;
    static CThreadProbe* s_pThread = nullptr;
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(
                             [](unsigned int)
                             {
                                 s_uRunning = CThreadProbe::CountRunning();
                                 const auto* const puThread = reinterpret_cast<const unsigned char*>(s_pThread);
                                 const auto* const pRun =
                                     reinterpret_cast<const CBinarySemaphore*>(puThread + SThreadFields::uSEM_RUN_AT);
                                 s_bRunOver = pRun->Wait(0);
                                 if (s_bRunOver) pRun->Signal(false);
                             },
                             s_uKey));
    CThreadProbe thread;
    s_pThread = &thread;
    static CGate s_memoryIsBack;
    const auto pfnSet = [](unsigned int uValue)
    {
        s_memoryIsBack.Pass();
        return static_cast<unsigned int>(CThread::SetSpecific(s_uKey, uValue));
    };
    CThread::GetCurrentId();
    {
        const CNoMemory none;
        ASSERT_EQ(QV_RES_OK, StartTestThread(thread, pfnSet, 7));
        while (thread.GetState() != CThread::eRUNNING) std::this_thread::yield();
    }
    s_memoryIsBack.Open();
    unsigned int uExitCode = 1;
    EXPECT_EQ(QV_RES_OK, thread.Join(&uExitCode));
    EXPECT_EQ(0u, uExitCode);
    EXPECT_EQ(1u, s_uRunning) << "the shut-down would free the record beside the thread";
    EXPECT_FALSE(s_bRunOver);
    WaitForAllThreads();
    EXPECT_EQ(0u, CThreadProbe::CountRunning());
    CThread::DeleteKey(s_uKey);
}

TEST(CThreadMemory, IsAllGivenBack)
{
    CThread::GetCurrentId();
    static unsigned int s_uKey = 0;
    const long nBefore = LiveNewBlocks();
    for (unsigned int u = 0; u < 1000; ++u)
    {
        EXPECT_EQ(QV_RES_OK, CThread::CreateKey([](unsigned int) {}, s_uKey));
        CThread thread;
        StartTestThread(
            thread, [](unsigned int uValue) { return static_cast<unsigned int>(CThread::SetSpecific(s_uKey, uValue)); },
            u);
        thread.Join(nullptr);
        CThread::DeleteKey(s_uKey);
    }
    EXPECT_EQ(nBefore, LiveNewBlocks());
}
#endif
