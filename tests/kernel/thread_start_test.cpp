// The thread module by itself: its start-up, and the shut-down that waits.
#include <gtest/gtest.h>

#include <limits.h>

#include <atomic>
#include <thread>
#include <vector>

#include "framework/kernel/framework_initializer.h"
#include "tests/support/gate.h"
#include "tests/support/thread_probe.h"

namespace
{
unsigned int g_uKey = 0;
unsigned int g_uOtherKey = 0;
std::vector<unsigned int> g_seen;

void Note(unsigned int uValue)
{
    g_seen.push_back(uValue);
}

class CThreadModule : public testing::Test
{
protected:
    CThreadModule()
    {
        g_seen.clear();
        EXPECT_EQ(QV_RES_OK, InitializeCThread());
    }
    ~CThreadModule() override
    {
        if (CThreadProbe::ms_pmutex != nullptr) FinalizeCThread();
    }
};
}  // namespace

TEST_F(CThreadModule, NumbersFromOneAndWhoeverStartsAThreadBeforeTheThread)
{
    CThread thread;
    StartTestThread(thread, nullptr);
    EXPECT_EQ(2u, thread.GetId());
    EXPECT_EQ(1u, CThread::GetCurrentId());
}

TEST_F(CThreadModule, StartsAfreshAfterItStopped)
{
    for (int n = 0; n < 3; ++n)
    {
        EXPECT_EQ(1u, CThread::GetCurrentId());
        EXPECT_EQ(QV_RES_OK, CThread::CreateKey(Note, g_uKey));
        EXPECT_EQ(1u, g_uKey);
        unsigned int uValue = 1;
        EXPECT_EQ(QV_RES_OK, CThread::GetSpecific(g_uKey, uValue));
        EXPECT_EQ(0u, uValue);
        EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, 5));
        FinalizeCThread();
        EXPECT_EQ(QV_RES_OK, InitializeCThread());
    }
}

TEST_F(CThreadModule, TakesNoValueForOneThatItDestroyedWhenItStopped)
{
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(Note, g_uKey));
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, 1));
    FinalizeCThread();
    EXPECT_EQ(QV_RES_OK, InitializeCThread());
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, g_uKey));
    // One of them is likely to get the memory that the destroyed one has left.
    for (unsigned int u = 2; u < 50; ++u)
    {
        EXPECT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, g_uKey));
        EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, u));
        unsigned int uValue = 0;
        EXPECT_EQ(QV_RES_OK, CThread::GetSpecific(g_uKey, uValue));
        EXPECT_EQ(u, uValue);
    }
}

TEST_F(CThreadModule, StopsOnlyWhenEveryThreadHasEndedDetachedOnesTooAndHasDestroyedItsValues)
{
    static std::atomic<unsigned int> s_uEnded = 0;
    static CGate s_go;
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey([](unsigned int) { ++s_uEnded; }, g_uKey));
    CThread aThreads[3];
    for (unsigned int u = 0; u < 3; ++u)
    {
        const auto linger = [](unsigned int uNumber)
        {
            if (uNumber == 0) CThread::GetThreadSelf()->Join(nullptr);
            s_go.Pass();
            // Gives a shut-down that does not wait every chance to be done first.
            for (int n = 0; n < 1000; ++n) std::this_thread::yield();
            return static_cast<unsigned int>(CThread::SetSpecific(g_uKey, 1));
        };
        ASSERT_EQ(QV_RES_OK, StartTestThread(aThreads[u], linger, u));
    }
    s_go.Open();
    FinalizeCThread();
    EXPECT_EQ(3u, s_uEnded);
}

TEST_F(CThreadModule, DestroysTheValuesOfThreadsThatLiveOn)
{
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(Note, g_uKey));
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(Note, g_uOtherKey));
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, 3));
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uOtherKey, 4));
    CGate there;
    CGate go;
    std::thread application(
        [&]
        {
            EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, 5));
            there.Open();
            go.Pass();
        });
    there.Pass();
    FinalizeCThread();
    go.Open();
    application.join();
    EXPECT_EQ((std::vector<unsigned int>{5, 4, 3}), g_seen);
}

TEST_F(CThreadModule, ShowsValueDestructorsTheDyingThreadsData)
{
    static unsigned int s_uDyingId = 0;
    static QvResult s_resSet = QV_RES_FAIL;
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(
                             [](unsigned int)
                             {
                                 for (unsigned int uKey : {g_uKey, g_uOtherKey})
                                 {
                                     unsigned int uValue = 0;
                                     EXPECT_EQ(QV_RES_OK, CThread::GetSpecific(uKey, uValue));
                                     Note(uValue);
                                 }
                                 s_uDyingId = CThread::GetCurrentId();
                                 s_resSet = CThread::SetSpecific(g_uOtherKey, 12);
                             },
                             g_uKey));
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(Note, g_uOtherKey));
    CGate there;
    CGate go;
    unsigned int uId = 0;
    std::thread application(
        [&]
        {
            uId = CThread::GetCurrentId();
            EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uOtherKey, 11));
            EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, 10));
            there.Open();
            go.Pass();
        });
    there.Pass();
    FinalizeCThread();
    go.Open();
    application.join();
    EXPECT_EQ((std::vector<unsigned int>{10, 11, 12}), g_seen);
    EXPECT_EQ(uId, s_uDyingId);
    EXPECT_EQ(QV_RES_OK, s_resSet);
}

TEST_F(CThreadModule, DoesNotTouchAKeyThatSomebodyElseGotAfterItsOwnWasDeleted)
{
    static pthread_key_t s_hForeign = 0;
    static int s_nForeignCalls = 0;
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(
                             [](unsigned int)
                             {
                                 // Most likely the very number that was just given back.
                                 pthread_key_create(&s_hForeign, [](void*) { ++s_nForeignCalls; });
                                 CThread::GetCurrentId();
                             },
                             g_uKey));
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, 1));
    FinalizeCThread();
    EXPECT_EQ(nullptr, pthread_getspecific(s_hForeign));
    pthread_key_delete(s_hForeign);
}

TEST_F(CThreadModule, NumbersKeysPastTheEndWithoutZeroAndWithoutThoseInUse)
{
    unsigned int auKeys[4] = {};
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, auKeys[0]));
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, auKeys[1]));
    CThreadProbe::ms_keyCounter = UINT_MAX - 1;
    for (unsigned int u : {2u, 3u}) EXPECT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, auKeys[u]));
    EXPECT_EQ(UINT_MAX, auKeys[2]);
    EXPECT_EQ(3u, auKeys[3]) << "0 is no key, 1 and 2 are taken";
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(auKeys[3], 1));
    EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(auKeys[3]));
}

TEST_F(CThreadModule, NumbersThreadsPastTheEndWithoutZeroAndWithoutThoseInUse)
{
    ASSERT_EQ(1u, CThread::GetCurrentId());
    CThreadProbe::ms_uThreadId = UINT_MAX - 1;
    CThread thread;
    for (const unsigned int uId : {UINT_MAX, 2u, 3u})
    {
        StartTestThread(thread, nullptr);
        EXPECT_EQ(uId, thread.GetId()) << "0 is no thread, 1 is this one";
    }
}

TEST_F(CThreadModule, RefusesAThreadThatAValuesDestructorStartsWhenItHasStoppedWaiting)
{
    static QvResult s_res = QV_RES_OK;
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(
                             [](unsigned int)
                             {
                                 CThread late;
                                 s_res = StartTestThread(late, nullptr);
                                 EXPECT_EQ(CThread::eIDLE, late.GetState());
                             },
                             g_uKey));
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, 1));
    FinalizeCThread();
    EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, s_res);
}

TEST(CThreadOutsideTheModule, ARunCanStillBeJoined)
{
    CThread thread;
    {
        const CFrameworkScope framework;
        ASSERT_EQ(QV_RES_OK, framework.GetResult());
        EXPECT_EQ(QV_RES_OK, StartTestThread(
                                 thread, [](unsigned int u) { return u; }, 4));
    }
    unsigned int uExitCode = 0;
    EXPECT_EQ(QV_RES_OK, thread.Join(&uExitCode));
    EXPECT_EQ(4u, uExitCode);
}
