// Every case runs in a child process: it ends, or changes what all tests would share.
#include "framework/kernel/fault.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "tests/support/run_program.h"

namespace
{
constexpr int g_anSIGNALS[] = {SIGQUIT, SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGBUS, SIGSYS, SIGTRAP};

struct sigaction ActionOf(int nSignal)
{
    struct sigaction stAction = {};
    sigaction(nSignal, nullptr, &stAction);
    return stAction;
}

bool IsOurs(const struct sigaction& rstAction)
{
    return (rstAction.sa_flags & SA_SIGINFO) != 0;
}

void SetHandler(int nSignal, void (*pfnHandler)(int), int nFlags = 0)
{
    struct sigaction stAction = {};
    stAction.sa_handler = pfnHandler;
    stAction.sa_flags = nFlags;
    sigaction(nSignal, &stAction, nullptr);
}

/// The exit status of a process that raised signals without end.
constexpr int g_nENDLESS = 77;
volatile sig_atomic_t g_nRaised = 0;
}  // namespace

// In the place of the C library's: counts.
extern "C" QV_EXPORT int raise(int nSignal) noexcept
{
    g_nRaised = g_nRaised + 1;
    if (g_nRaised > 100) _exit(g_nENDLESS);
    return pthread_kill(pthread_self(), nSignal);
}

namespace
{
/// Sanitizers have handlers of their own, and who starts the tests may ignore or block what he likes (nohup: SIGHUP).
void ForgetInheritedSignals()
{
    for (int nSignal = 1; nSignal < SIGRTMIN; ++nSignal) SetHandler(nSignal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// How a child ends that does something.
int EndOf(const std::function<int()>& rWhat)
{
    return StatusOfChild(
        [&]
        {
            // No core dump, not even one for a program of the system, which takes its time and knows no limit of size.
            prctl(PR_SET_DUMPABLE, 0);
            ForgetInheritedSignals();
            alarm(600);  // a signal that is never taken its usual way ends the test as well
            return rWhat();
        });
}

/// The end of a child by the very signal.
constexpr int g_nENDED_BY_IT = 1000;

/// What a child does about a signal, and how it ends by that.
struct SScenario
{
    const char* pszName;
    int nWant;
    int (*pfnChild)(int nSignal);
};

void Exit42(int)
{
    _exit(42);
}

volatile sig_atomic_t g_nHandled = 0;
void CountHandled(int)
{
    g_nHandled = g_nHandled + 1;
}

const SScenario g_astSCENARIOS[] = {
    {"RaisedEndsTheProcessAsItWouldWithoutTheHandler", g_nENDED_BY_IT,
     [](int nSignal)
     {
         if (!InstallGenericFaultHandler()) return 1;
         if (!IsOurs(ActionOf(nSignal))) return 2;
         raise(nSignal);
         return 3;
     }},
    {"RunsTheHandlerThatWasThereBefore", 42,
     [](int nSignal)
     {
         SetHandler(nSignal, Exit42);
         InstallGenericFaultHandler();
         raise(nSignal);
         return 3;
     }},
    {"SentFromOutsideIsCaughtOnce", 0,
     [](int nSignal)
     {
         SetHandler(nSignal, CountHandled);
         InstallGenericFaultHandler();
         kill(getpid(), nSignal);
         if (g_nHandled != 1 || g_nRaised != 1) return 1;
         if (IsOurs(ActionOf(nSignal))) return 2;
         raise(nSignal);
         return g_nHandled == 2 ? 0 : 3;
     }},
    {"IsIgnoredIfItWasBefore", 0,
     [](int nSignal)
     {
         SetHandler(nSignal, SIG_IGN);
         InstallGenericFaultHandler();
         raise(nSignal);
         return ActionOf(nSignal).sa_handler == SIG_IGN ? 0 : 1;
     }},
    {"IsHandledAsBeforeAfterUninstalling", 0,
     [](int nSignal)
     {
         SetHandler(nSignal, CountHandled, SA_RESTART | SA_NODEFER);
         InstallGenericFaultHandler();
         if (!UnInstallGenericFaultHandler()) return 1;
         const struct sigaction stAction = ActionOf(nSignal);
         if (stAction.sa_handler != CountHandled) return 2;
         return (stAction.sa_flags & (SA_RESTART | SA_NODEFER)) == (SA_RESTART | SA_NODEFER) ? 0 : 3;
     }},
    {"IsLeftAloneByUninstallingWhatWasNotInstalled", 0,
     [](int nSignal)
     {
         SetHandler(nSignal, CountHandled);
         if (!UnInstallGenericFaultHandler()) return 1;
         sigset_t mask;
         sigprocmask(SIG_BLOCK, nullptr, &mask);
         return ActionOf(nSignal).sa_handler == CountHandled ? sigismember(&mask, SIGPIPE) : 2;
     }},
    {"IsNotUninstalledAfterASecondInstallation", 0,
     [](int nSignal)
     {
         InstallGenericFaultHandler();
         const struct sigaction stOurs = ActionOf(nSignal);
         InstallGenericFaultHandler();
         UnInstallGenericFaultHandler();
         return ActionOf(nSignal).sa_sigaction == stOurs.sa_sigaction ? 0 : 1;
     }},
    {"IsCaughtForEverAfterASecondInstallation", g_nENDLESS,
     [](int nSignal)
     {
         InstallGenericFaultHandler();
         InstallGenericFaultHandler();
         raise(nSignal);
         return 3;
     }},
    {"IsNotCaughtByTheModule", 0,
     [](int nSignal)
     {
         if (InitializeQvFault() != QV_RES_OK || IsOurs(ActionOf(nSignal))) return 1;
         InstallGenericFaultHandler();
         FinalizeQvFault();
         return IsOurs(ActionOf(nSignal)) ? 0 : 3;
     }},
};

class CFaultSignal : public testing::TestWithParam<SScenario>
{
};
}  // namespace

TEST_P(CFaultSignal, OfEachKind)
{
    for (const int nSignal : g_anSIGNALS)
    {
        const int nWant = GetParam().nWant == g_nENDED_BY_IT ? -nSignal : GetParam().nWant;
        EXPECT_EQ(nWant, EndOf([=] { return GetParam().pfnChild(nSignal); })) << "signal " << nSignal;
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, CFaultSignal, testing::ValuesIn(g_astSCENARIOS),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CFaultHandler, EndsTheProcessOnARealFaultWithTheFaultsSignal)
{
    EXPECT_EQ(-SIGSEGV, EndOf(
                            []
                            {
                                InstallGenericFaultHandler();
                                void* const pvPage = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                                *static_cast<volatile char*>(pvPage) = 1;
                                return 3;
                            }));
}

TEST(CFaultHandler, LeavesOtherSignalsAloneAlsoWhileItRuns)
{
    EXPECT_EQ(0, EndOf(
                     []
                     {
                         InstallGenericFaultHandler();
                         for (int nSignal : {SIGHUP, SIGINT, SIGTERM, SIGUSR1, SIGCHLD, SIGALRM, SIGPIPE})
                         {
                             if (ActionOf(nSignal).sa_handler != SIG_DFL) return nSignal;
                         }
                         const struct sigaction stAction = ActionOf(SIGQUIT);
                         for (int nSignal = 1; nSignal < 32; ++nSignal)
                         {
                             if (sigismember(&stAction.sa_mask, nSignal) != 0) return nSignal;
                         }
                         constexpr int nUNWANTED =
                             SA_RESTART | SA_NODEFER | SA_ONSTACK | static_cast<int>(SA_RESETHAND);
                         return (stAction.sa_flags & nUNWANTED) == 0 ? 0 : 100;
                     }));
}

TEST(CFaultHandler, TurnsABrokenPipeIntoAnError)
{
    EXPECT_EQ(0, EndOf(
                     []
                     {
                         int anPipe[2];
                         if (pipe(anPipe) != 0) return 1;
                         close(anPipe[0]);
                         InstallGenericFaultHandler();
                         if (write(anPipe[1], "x", 1) != -1 || errno != EPIPE) return 2;
                         UnInstallGenericFaultHandler();
                         if (write(anPipe[1], "x", 1) != -1 || errno != EPIPE) return 3;
                         return 0;
                     }));
}

TEST(CFaultHandler, AddsOneSignalToThoseThatAreBlocked)
{
    EXPECT_EQ(0, EndOf(
                     []
                     {
                         sigset_t mask;
                         sigemptyset(&mask);
                         sigaddset(&mask, SIGUSR1);
                         sigprocmask(SIG_SETMASK, &mask, nullptr);
                         InstallGenericFaultHandler();
                         sigprocmask(SIG_SETMASK, nullptr, &mask);
                         for (int nSignal = 1; nSignal < SIGRTMIN; ++nSignal)
                         {
                             const bool bWant = nSignal == SIGUSR1 || nSignal == SIGPIPE;
                             if ((sigismember(&mask, nSignal) != 0) != bWant) return nSignal;
                         }
                         return 0;
                     }));
}

TEST(CFaultHandler, WithoutItABrokenPipeEndsTheProcess)
{
    EXPECT_EQ(-SIGPIPE, EndOf(
                            []
                            {
                                int anPipe[2];
                                if (pipe(anPipe) != 0) return 1;
                                close(anPipe[0]);
                                UnInstallGenericFaultHandler();
                                return static_cast<int>(write(anPipe[1], "x", 1));
                            }));
}
