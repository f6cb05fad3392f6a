// Observers come and go while events are announced: none is called once it was taken away, and each is told what was
// announced.
#include "framework/kernel/event_notifier.h"
#include "stress/stress.h"

namespace
{
struct SObserver
{
    std::atomic<bool> bRegistered = false;
    std::atomic<unsigned int> uCalls = 0;
};

void Observe(void* pOpaque, EEventNotifier eEvent, va_list args)
{
    SObserver* const pObserver = static_cast<SObserver*>(pOpaque);
    EXPECT_TRUE(pObserver->bRegistered) << "called although it was taken away";
    const unsigned int uValue = va_arg(args, unsigned int);
    EXPECT_EQ(~uValue, va_arg(args, unsigned int));
    EXPECT_EQ(static_cast<int>(EEventNotifier::eAPPLICATION) + static_cast<int>(uValue % 10), static_cast<int>(eEvent));
    ++pObserver->uCalls;
}

void Announce(unsigned int uValue)
{
    NotifyEventObservers(
        static_cast<EEventNotifier>(static_cast<int>(EEventNotifier::eAPPLICATION) + static_cast<int>(uValue % 10)),
        uValue, ~uValue);
}
}  // namespace

TEST(EventNotifierStress, ObserversComeAndGo)
{
    StressThreads(4,
                  [](unsigned int, CRandom& rRandom)
                  {
                      SObserver stObserver;
                      stObserver.bRegistered = true;
                      RegisterEventObserver(Observe, &stObserver);
                      for (unsigned int uEvents = Below(rRandom, 3); uEvents != 0; --uEvents)
                          Announce(static_cast<unsigned int>(rRandom()));
                      const unsigned int uBefore = stObserver.uCalls;
                      Announce(1);
                      EXPECT_LT(uBefore, stObserver.uCalls) << "its own event passed it by";
                      UnregisterEventObserver(Observe, &stObserver);
                      stObserver.bRegistered = false;
                      Announce(2);
                  });
}
