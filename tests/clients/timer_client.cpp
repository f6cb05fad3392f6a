#include "framework/kernel/timer.h"

#include <type_traits>

#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"
#include "tests/clients/client.h"

namespace
{
/// Sees what the class keeps for those who derive from it.
class CMyTimer : public CTimer
{
public:
    ~CMyTimer() override = default;

    static void Internals()
    {
        static_assert(std::is_same_v<decltype(ms_uSysUpTimeTick), unsigned long>);
        static_assert(std::is_same_v<decltype(ms_uLastSysUpTimeTick), unsigned int>);
        static_assert(std::is_same_v<decltype(ms_uTickPerSec), unsigned int>);
        static_assert(std::is_same_v<decltype(ms_pmutexThreadingProtection), CMutex*>);
        static_assert(std::is_same_v<decltype(ms_psemWait), CBinarySemaphore*>);
        CHECK(ms_uTickPerSec != 0 && static_cast<unsigned int>(ms_uSysUpTimeTick) == ms_uLastSysUpTimeTick);
        CHECK(static_cast<void*>(ms_pmutexThreadingProtection) == static_cast<void*>(ms_aumutexThreadingProtection));
        CHECK(static_cast<void*>(ms_psemWait) == static_cast<void*>(ms_ausemWait));
    }
};
}  // namespace

void TimerClient()
{
    static_assert(std::has_virtual_destructor_v<CTimer>);
    Promised<unsigned long (*)()>(&CTimer::GetSystemUpTimeMs);
    Promised<bool (CTimer::*)(unsigned long)>(&CTimer::StartCyclicWait);
    Promised<bool (CTimer::*)(bool)>(&CTimer::CyclicWait);
    Promised<void (CTimer::*)()>(&CTimer::StopCyclicWait);
    Promised<QvResult (*)()>(&CTimer::InitializeCTimer);
    Promised<void (*)()>(&CTimer::FinalizeCTimer);
    Promised<QvResult (*)()>(&InitializeCTimer);
    Promised<void (*)()>(&FinalizeCTimer);

    const unsigned long uBefore = CTimer::GetSystemUpTimeMs();
    CHECK(CTimer::GetSystemUpTimeMs() >= uBefore);
    CTimer timer;
    CHECK(timer.StartCyclicWait(1) && !timer.StartCyclicWait(1));
    CHECK(timer.CyclicWait(false) && timer.CyclicWait(true));
    timer.StopCyclicWait();
    CHECK(timer.StartCyclicWait(3600000));
    timer.StopCyclicWait();
    CMyTimer mine;
    CTimer* const pBase = &mine;
    CHECK(pBase->StartCyclicWait(3600000));
    CMyTimer::Internals();
}
