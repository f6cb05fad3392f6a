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

void NoteTwice(void* pOpaque, EEventNotifier eEvent, va_list args)
{
    va_list again;
    va_copy(again, args);
    Note(pOpaque, eEvent, args);
    Note(pOpaque, eEvent, again);
    va_end(again);
}
}  // namespace

TEST(EventNotifierCalls, EveryObserverReadsTheSameArgumentsInTheOrderOfRegistration)
{
    std::string first;
    std::string second;
    RegisterEventObserver(Note, &first);
    RegisterEventObserver(NoteTwice, &second);
    RegisterEventObserver(Note, &first);
    RegisterEventObserver(Note, &second);
    NotifyEventObservers(EEventNotifier(-5), 42, "x");
    EXPECT_EQ("-5:42x;", first);
    EXPECT_EQ("-5:42x;-5:42x;-5:42x;", second);
    UnregisterEventObserver(NoteTwice, &second);
    UnregisterEventObserver(NoteTwice, &first);
    NotifyEventObservers(EEventNotifier(6), 7, "y");
    EXPECT_EQ("-5:42x;6:7y;", first);
    EXPECT_EQ("-5:42x;-5:42x;-5:42x;6:7y;", second);
    UnregisterEventObserver(Note, &first);
    UnregisterEventObserver(Note, &second);
}

TEST(EventNotifierCalls, TheModuleForgetsItsObserversWhenItGoesDownAndUp)
{
    std::string notes;
    RegisterEventObserver(Note, &notes);
    FinalizeQvEventNotifier();
    EXPECT_EQ(QV_RES_OK, InitializeQvEventNotifier());
    NotifyEventObservers(EEventNotifier(1), 1, "z");
    EXPECT_EQ("", notes);
}
