#include "framework/kernel/event_notifier.h"

#include <cstdarg>
#include <cstring>
#include <type_traits>

#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
static_assert(std::is_enum_v<EEventNotifier>);
constexpr EEventNotifier eEVENT = static_cast<EEventNotifier>(5);

void Observer(void* pOpaque, EEventNotifier eAnnounced, va_list args)
{
    CHECK(eAnnounced == eEVENT);
    CHECK(va_arg(args, int) == 42);
    CHECK(std::strcmp(va_arg(args, const char*), "text") == 0);
    if (pOpaque != nullptr) ++*static_cast<unsigned int*>(pOpaque);
}

/// Leaves the list by itself; the lock is recursive.
void OnceObserver(void* pOpaque, EEventNotifier, va_list)
{
    ++*static_cast<unsigned int*>(pOpaque);
    UnregisterEventObserver(OnceObserver, pOpaque);
}
}  // namespace

void EventNotifierClient()
{
    Promised<void (*)(void (*)(void*, EEventNotifier, va_list), void*)>(&RegisterEventObserver);
    Promised<void (*)(void (*)(void*, EEventNotifier, va_list), void*)>(&UnregisterEventObserver);
    Promised<void (*)(EEventNotifier, ...)>(&NotifyEventObservers);
    Promised<QvResult (*)()>(&InitializeQvEventNotifier);
    Promised<void (*)()>(&FinalizeQvEventNotifier);

    unsigned int uFirst = 0;
    unsigned int uSecond = 0;
    unsigned int uOnce = 0;
    RegisterEventObserver(Observer, &uFirst);
    RegisterEventObserver(Observer, &uFirst);
    RegisterEventObserver(&Observer, &uSecond);
    RegisterEventObserver(Observer, nullptr);
    RegisterEventObserver(OnceObserver, &uOnce);
    NotifyEventObservers(eEVENT, 42, "text");
    UnregisterEventObserver(Observer, &uSecond);
    UnregisterEventObserver(Observer, NULL);
    UnregisterEventObserver(Observer, 0);
    NotifyEventObservers(eEVENT, 42, "text");
    CHECK(uFirst == 2 && uSecond == 1 && uOnce == 1);

    FinalizeQvEventNotifier();
    CHECK(InitializeQvEventNotifier() == QV_RES_OK);
    NotifyEventObservers(eEVENT);
    CHECK(uFirst == 2);
}
