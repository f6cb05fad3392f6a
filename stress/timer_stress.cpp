// The up-time never runs backwards, whichever thread reads it, and every stop ends the wait that it meets.
#include "framework/kernel/timer.h"
#include "stress/stress.h"

TEST(TimerStress, TheUpTimeNeverRunsBackwards)
{
    std::atomic<unsigned long> uNewest = CTimer::GetSystemUpTimeMs();
    StressThreads(4,
                  [&](unsigned int, CRandom&)
                  {
                      const unsigned long uBefore = uNewest;
                      const unsigned long uNow = CTimer::GetSystemUpTimeMs();
                      ASSERT_GE(uNow, uBefore);
                      unsigned long uSeen = uBefore;
                      while (uSeen < uNow && !uNewest.compare_exchange_weak(uSeen, uNow)) continue;
                  });
}

TEST(TimerStress, EveryStopEndsTheWaitThatItMeets)
{
    StressThreads(2,
                  [](unsigned int, CRandom& rRandom)
                  {
                      constexpr unsigned long uHOUR_MS = 3600 * 1000;
                      CTimer timer;
                      ASSERT_TRUE(timer.StartCyclicWait(uHOUR_MS));
                      std::atomic<bool> bStop = false;
                      const unsigned int uSpins = Below(rRandom, 2000);
                      std::thread stopper(
                          [&]
                          {
                              for (std::atomic<unsigned int> u = 0; u < uSpins;) ++u;
                              bStop = true;
                              timer.StopCyclicWait();
                          });
                      // A wait that missed the stop returns true at once: the period is 0 by then.
                      while (!bStop) timer.CyclicWait(false);
                      stopper.join();
                      EXPECT_TRUE(timer.StartCyclicWait(uHOUR_MS)) << "the cycle has ended";
                  });
}
