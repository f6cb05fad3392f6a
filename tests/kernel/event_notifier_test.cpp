#include "framework/kernel/event_notifier.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/refusing_new.h"
#include "tests/support/test_seed.h"

namespace
{
std::vector<std::string> g_calls;

/// An observer that notes its name, which pOpaque points to.
void Note(void* pOpaque, EEventNotifier, va_list)
{
    g_calls.push_back(static_cast<const char*>(pOpaque));
}

void NoteOtherwise(void* pOpaque, EEventNotifier, va_list)
{
    g_calls.push_back(std::string("other ") + static_cast<const char*>(pOpaque));
}

char g_szFirst[] = "first";
char g_szSecond[] = "second";
char g_szThird[] = "third";

using TCalls = std::vector<std::string>;

/// Begins and ends without observers.
class CEvents : public testing::Test
{
protected:
    CEvents() { Restart(); }
    ~CEvents() override { Restart(); }
    static void Restart()
    {
        FinalizeQvEventNotifier();
        EXPECT_EQ(QV_RES_OK, InitializeQvEventNotifier());
        g_calls.clear();
    }
    static TCalls Notified(EEventNotifier eEvent = EEventNotifier::eAPPLICATION)
    {
        g_calls.clear();
        NotifyEventObservers(eEvent);
        return g_calls;
    }
};
}  // namespace

TEST_F(CEvents, IgnoreAnObserverThatIsNoFunction)
{
    RegisterEventObserver(nullptr, g_szFirst);
    RegisterEventObserver(Note, g_szSecond);
    EXPECT_EQ((TCalls{"second"}), Notified());
}

TEST_F(CEvents, GiveEveryObserverTheSameArgumentsFromTheStart)
{
    static std::vector<std::string> s_read;
    static std::vector<EEventNotifier> s_events;
    s_read.clear();
    const auto read = [](void*, EEventNotifier eEvent, va_list args)
    {
        s_events.push_back(eEvent);
        const int nNumber = va_arg(args, int);
        const char* const pszText = va_arg(args, const char*);
        const double dReal = va_arg(args, double);
        const std::int64_t nLong = va_arg(args, std::int64_t);
        s_read.push_back(std::to_string(nNumber) + pszText + std::to_string(dReal) + std::to_string(nLong));
    };
    for (char* pszName : {g_szFirst, g_szSecond, g_szThird}) RegisterEventObserver(read, pszName);
    const auto eEvent = static_cast<EEventNotifier>(-7);
    NotifyEventObservers(eEvent, 42, " is ", 0.5, std::int64_t{1} << 40);
    EXPECT_EQ(std::vector<std::string>(3, "42 is 0.5000001099511627776"), s_read);
    EXPECT_EQ(std::vector<EEventNotifier>(3, eEvent), s_events);
}

TEST_F(CEvents, ReachObserversRegisteredByAnObserverInTheSamePass)
{
    RegisterEventObserver(
        [](void*, EEventNotifier, va_list)
        {
            g_calls.push_back("registrar");
            for (char* pszName : {g_szFirst, g_szSecond, g_szThird}) RegisterEventObserver(Note, pszName);
        },
        nullptr);
    EXPECT_EQ((TCalls{"registrar", "first", "second", "third"}), Notified());
    EXPECT_EQ((TCalls{"registrar", "first", "second", "third"}), Notified());
}

TEST_F(CEvents, SkipTheOneBehindAnObserverThatUnregistersItself)
{
    static void (*s_pfnLeave)(void*, EEventNotifier, va_list) = nullptr;
    s_pfnLeave = [](void*, EEventNotifier, va_list)
    {
        g_calls.push_back("leaver");
        UnregisterEventObserver(s_pfnLeave, nullptr);
    };
    RegisterEventObserver(s_pfnLeave, nullptr);
    for (char* pszName : {g_szFirst, g_szSecond}) RegisterEventObserver(Note, pszName);
    EXPECT_EQ((TCalls{"leaver", "second"}), Notified());
    EXPECT_EQ((TCalls{"first", "second"}), Notified());
}

TEST_F(CEvents, SkipTheNextEntryWhenAnEarlierOneIsUnregistered)
{
    RegisterEventObserver(Note, g_szFirst);
    RegisterEventObserver([](void*, EEventNotifier, va_list) { UnregisterEventObserver(Note, g_szFirst); }, nullptr);
    RegisterEventObserver(Note, g_szSecond);
    RegisterEventObserver(Note, g_szThird);
    EXPECT_EQ((TCalls{"first", "third"}), Notified());
}

TEST_F(CEvents, MayBeAnnouncedByAnObserver)
{
    RegisterEventObserver(
        [](void*, EEventNotifier eEvent, va_list)
        {
            g_calls.push_back("echo " + std::to_string(static_cast<int>(eEvent)));
            if (eEvent == EEventNotifier::eAPPLICATION) NotifyEventObservers(EEventNotifier::eSHUT_DOWN);
        },
        nullptr);
    RegisterEventObserver(Note, g_szFirst);
    EXPECT_EQ((TCalls{"echo 1000", "echo 0", "first", "first"}), Notified());
}

TEST_F(CEvents, ForgetAllObserversAtShutDownAndReachNobodyOutsideOfIt)
{
    for (char* pszName : {g_szFirst, g_szSecond}) RegisterEventObserver(Note, pszName);
    FinalizeQvEventNotifier();
    EXPECT_EQ(TCalls(), Notified());
    UnregisterEventObserver(Note, g_szFirst);
    ASSERT_EQ(QV_RES_OK, InitializeQvEventNotifier());
    EXPECT_EQ(TCalls(), Notified());
    RegisterEventObserver(Note, g_szFirst);
    EXPECT_EQ((TCalls{"first"}), Notified());
}

TEST_F(CEvents, ReachTheSameObserversAsAModelAfterAnyUse)
{
    std::mt19937 rng(TestSeed());
    char aszNames[12][8];
    for (unsigned int u = 0; u < 12; ++u) snprintf(aszNames[u], sizeof(aszNames[u]), "%u", u);
    std::vector<std::pair<bool, unsigned int>> model;  // of the one or the other function, and the name
    for (unsigned int uStep = 0; uStep < 3000; ++uStep)
    {
        const std::pair<bool, unsigned int> entry(rng() % 2 == 0, Below(rng, 12));
        const auto pfn = entry.first ? Note : NoteOtherwise;
        const auto itFound = std::find(model.begin(), model.end(), entry);
        if (rng() % 2 == 0)
        {
            RegisterEventObserver(pfn, aszNames[entry.second]);
            if (itFound == model.end()) model.push_back(entry);
        }
        else
        {
            UnregisterEventObserver(pfn, aszNames[entry.second]);
            if (itFound != model.end()) model.erase(itFound);
        }
        TCalls want;
        for (const auto& [bNote, uName] : model) want.push_back((bNote ? "" : "other ") + std::to_string(uName));
        ASSERT_EQ(want, Notified()) << "step " << uStep;
    }
}

TEST_F(CEvents, KeepOtherThreadsOutWhileTheyAreAnnounced)
{
    static std::atomic<int> s_nInside = 0;
    static std::atomic<int> s_nMost = 0;
    const auto count = [](void*, EEventNotifier, va_list)
    {
        const int nInside = ++s_nInside;
        if (nInside > s_nMost) s_nMost = nInside;
        std::this_thread::yield();
        --s_nInside;
    };
    RegisterEventObserver(count, nullptr);
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n)
    {
        threads.emplace_back(
            [&, n]
            {
                int nOpaque = n;
                for (int nRound = 0; nRound < 200; ++nRound)
                {
                    RegisterEventObserver(count, &nOpaque);
                    NotifyEventObservers(EEventNotifier::eAPPLICATION);
                    UnregisterEventObserver(count, &nOpaque);
                }
            });
    }
    for (std::thread& rThread : threads) rThread.join();
    EXPECT_EQ(1, s_nMost);
}

#if TESTS_OWN_OPERATOR_NEW
TEST_F(CEvents, ReachTheOthersWhereThereWasNoMemoryForOne)
{
    RegisterEventObserver(Note, g_szFirst);
    {
        const CNoMemory none;
        RegisterEventObserver(Note, g_szSecond);
    }
    EXPECT_EQ((TCalls{"first"}), Notified());
    RegisterEventObserver(Note, g_szSecond);
    UnregisterEventObserver(Note, g_szFirst);
    {
        const CNoMemory none;
        RegisterEventObserver(Note, g_szFirst);
    }
    EXPECT_EQ((TCalls{"second", "first"}), Notified()) << "in the place that was left";
}
#endif
