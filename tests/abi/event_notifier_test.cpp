#include <cstdarg>

#include "tests/abi/framework_up.h"

enum EEventNotifier : int
{
};
using Observer = void(void* pOpaque, EEventNotifier eEvent, va_list args);

void RegisterEventObserver(Observer* pfnObserver, void* pOpaque);
void UnregisterEventObserver(Observer* pfnObserver, void* pOpaque);
void NotifyEventObservers(EEventNotifier eEvent, ...);
QvResult InitializeQvEventNotifier();
void FinalizeQvEventNotifier();

namespace
{
void Note(void* pOpaque, EEventNotifier eEvent, va_list args)
{
    const int nFirst = va_arg(args, int);
    const char* const pszSecond = va_arg(args, const char*);
    *static_cast<std::string*>(pOpaque) += std::to_string(eEvent) + ":" + std::to_string(nFirst) + pszSecond + ";";
}
}  // namespace

TEST(EventNotifierCalls, EveryObserverReadsTheArgumentsUntilItIsUnregisteredOrTheModuleGoesDown)
{
    std::string first, second;
    RegisterEventObserver(Note, &first);
    RegisterEventObserver(Note, &second);
    NotifyEventObservers(EEventNotifier(-5), 42, "x");
    UnregisterEventObserver(Note, &second);
    NotifyEventObservers(EEventNotifier(6), 7, "y");
    EXPECT_EQ("-5:42x;6:7y;", first);
    EXPECT_EQ("-5:42x;", second);
    FinalizeQvEventNotifier();
    EXPECT_EQ(QV_RES_OK, InitializeQvEventNotifier());
    NotifyEventObservers(EEventNotifier(1), 1, "z");
    EXPECT_EQ("-5:42x;6:7y;", first);
}
