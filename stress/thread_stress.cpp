// Threads that are started, joined, detached and looked at from all sides: each start runs once, each value of a
// thread's own is destroyed once, each identifier is given once.
#include <algorithm>
#include <mutex>

#include "framework/kernel/thread.h"
#include "stress/stress.h"

namespace
{
std::atomic<unsigned int> g_uRuns = 0;
std::atomic<unsigned int> g_uValuesSet = 0;
std::atomic<unsigned int> g_uValuesDestroyed = 0;
unsigned int g_uKey = 0;

void DestroyValue(unsigned int uValue)
{
    EXPECT_NE(0u, uValue);
    ++g_uValuesDestroyed;
}

unsigned int Triple(unsigned int uParameter)
{
    ++g_uRuns;
    if (uParameter % 2 != 0 && CThread::SetSpecific(g_uKey, uParameter) >= 0) ++g_uValuesSet;
    unsigned int uValue = 0;
    EXPECT_EQ(QV_RES_OK, CThread::GetSpecific(g_uKey, uValue));
    EXPECT_EQ(uParameter % 2 != 0 ? uParameter : 0, uValue);
    CThread* const pSelf = CThread::GetThreadSelf();
    EXPECT_TRUE(pSelf != nullptr && pSelf->IsCurrentThread() && pSelf->GetId() == CThread::GetCurrentId());
    return uParameter * 3;
}

unsigned int RunAndDestroySelf(unsigned int uParameter)
{
    const unsigned int uExitCode = Triple(uParameter);
    delete CThread::GetThreadSelf();
    EXPECT_EQ(nullptr, CThread::GetThreadSelf());
    return uExitCode;
}

class CThreadStress : public testing::Test
{
protected:
    CThreadStress() { EXPECT_EQ(QV_RES_OK, CThread::CreateKey(DestroyValue, g_uKey)); }
    ~CThreadStress() override
    {
        // Detached threads may still be about to destroy their values.
        while (g_uValuesDestroyed < g_uValuesSet && !HasFailure()) std::this_thread::yield();
        EXPECT_EQ(g_uValuesSet, g_uValuesDestroyed);
        EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(g_uKey));
    }
};
}  // namespace

TEST_F(CThreadStress, EachStartRunsOnceAndGivesItsExitCode)
{
    std::atomic<unsigned int> uStarts = 0;
    const unsigned int uRunsBefore = g_uRuns;
    std::mutex mutex;
    std::vector<unsigned int> ids;
    StressThreads(4,
                  [&](unsigned int, CRandom& rRandom)
                  {
                      CThread thread;
                      const unsigned int uRestarts = 1 + Below(rRandom, 3);
                      for (unsigned int uRestart = 0; uRestart < uRestarts; ++uRestart)
                      {
                          const unsigned int uParameter = 1 + Below(rRandom, 1000);
                          // A start joins the run before.
                          ASSERT_GE(thread.StartThread(Triple, uParameter, "stress", 0, CThread::eNORMAL), 0);
                          ++uStarts;
                          {
                              const std::lock_guard guard(mutex);
                              if (ids.size() < 1000000) ids.push_back(thread.GetId());
                          }
                          if (Below(rRandom, 2) != 0) continue;
                          unsigned int uExitCode = 0;
                          ASSERT_EQ(QV_RES_OK, thread.Join(&uExitCode));
                          EXPECT_EQ(uParameter * 3, uExitCode);
                          EXPECT_EQ(CThread::eIDLE, thread.GetState());
                      }
                  });
    EXPECT_EQ(uStarts, g_uRuns - uRunsBefore);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids.end(), std::adjacent_find(ids.begin(), ids.end())) << "an identifier was given twice";
}

TEST_F(CThreadStress, ObjectsMayDestroyThemselves)
{
    std::atomic<unsigned int> uStarts = 0;
    const unsigned int uRunsBefore = g_uRuns;
    StressThreads(
        3,
        [&](unsigned int, CRandom& rRandom)
        {
            CThread* const pThread = new CThread;
            ASSERT_GE(pThread->StartThread(RunAndDestroySelf, 1 + Below(rRandom, 1000), "stress", 0, CThread::eNORMAL),
                      0);
            ++uStarts;
            // Not more of them at a time than a small machine bears.
            while (uStarts - (g_uRuns - uRunsBefore) > 50) std::this_thread::yield();
        });
    while (uStarts != g_uRuns - uRunsBefore) std::this_thread::yield();
}

TEST_F(CThreadStress, IsLookedAtWhileItIsStartedAndJoined)
{
    CThread thread;
    StressThreads(
        4,
        [&](unsigned int uThread, CRandom& rRandom)
        {
            if (uThread == 0)
            {
                ASSERT_GE(thread.StartThread(Triple, 1 + Below(rRandom, 1000), "looked at", 0, CThread::eNORMAL), 0);
                ASSERT_EQ(QV_RES_OK, thread.Join(nullptr));
                return;
            }
            EXPECT_FALSE(thread.IsCurrentThread());
            EXPECT_LE(thread.GetState(), CThread::eRETURNED);
            EXPECT_EQ(0u, thread.GetExitCode() % 3);
            unsigned int uKey = 0;
            ASSERT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uKey));
            ASSERT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 5));
            ASSERT_EQ(QV_RES_OK, CThread::DeleteKey(uKey));
        });
}
