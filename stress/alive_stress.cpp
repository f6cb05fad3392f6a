// Active objects that several threads activate and ask: each successful activation is one run, and runs of one object
// never meet.
#include "framework/kernel/alive.h"
#include "stress/stress.h"

namespace
{
class CCounter : public CAliveObj
{
public:
    ~CCounter() override { Join(nullptr); }

    std::atomic<unsigned int> m_uRuns = 0;
    std::atomic<unsigned int> m_uEnds = 0;

private:
    void Behavior() override
    {
        EXPECT_FALSE(m_bRunning.exchange(true)) << "two runs at a time";
        EXPECT_TRUE(IsAlive());
        ++m_uRuns;
        m_bRunning = false;
    }
    void BehaviorTerminating() override
    {
        EXPECT_TRUE(IsDead());
        ++m_uEnds;
    }

    std::atomic<bool> m_bRunning = false;
};

std::atomic<unsigned int> g_uDestroyed = 0;

/// Ends with its behaviour.
class CMayfly : public CAliveObj
{
public:
    ~CMayfly() override { ++g_uDestroyed; }

private:
    void Behavior() override { delete this; }
};
}  // namespace

TEST(AliveStress, EveryActivationIsOneRun)
{
    CCounter counter;
    std::atomic<unsigned int> uActivated = 0;
    StressThreads(4,
                  [&](unsigned int uThread, CRandom&)
                  {
                      if (uThread == 3)
                      {
                          // Not one after the other: the state may change in between.
                          EXPECT_LE(counter.IsAlive() + 0, 1);
                          EXPECT_LE(counter.IsDead() + 0, 1);
                          EXPECT_LE(counter.IsUnborn() + 0, 1);
                          return;
                      }
                      const QvResult res = counter.Activate("stress", 0, CThread::eNORMAL);
                      EXPECT_TRUE(res == QV_RES_OK || res == QV_RES_INVALID_STATE) << res;
                      if (res == QV_RES_OK) ++uActivated;
                  });
    EXPECT_EQ(QV_RES_OK, counter.Join(nullptr));
    EXPECT_EQ(uActivated, counter.m_uRuns);
    EXPECT_EQ(uActivated, counter.m_uEnds);
}

TEST(AliveStress, ABehaviourMayDestroyItsObject)
{
    std::atomic<unsigned int> uActivated = 0;
    StressThreads(3,
                  [&](unsigned int, CRandom&)
                  {
                      CMayfly* const pMayfly = new CMayfly;
                      ASSERT_EQ(QV_RES_OK, pMayfly->Activate("mayfly", 0, CThread::eNORMAL));
                      ++uActivated;
                      while (uActivated - g_uDestroyed > 50) std::this_thread::yield();
                  });
    while (g_uDestroyed != uActivated) std::this_thread::yield();
}
