#include <gtest/gtest.h>

#include <csignal>

#include "tests/abi/old_result.h"

// Fault handling does not need the framework.
bool InstallGenericFaultHandler();
bool UnInstallGenericFaultHandler();
QvResult InitializeQvFault();
void FinalizeQvFault();

namespace
{
struct sigaction ActionOf(int nSignal)
{
    struct sigaction stAction = {};
    sigaction(nSignal, nullptr, &stAction);
    return stAction;
}

bool IsPipeSignalBlocked()
{
    sigset_t blocked;
    sigemptyset(&blocked);
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    return sigismember(&blocked, SIGPIPE) == 1;
}

volatile std::sig_atomic_t g_nCaught = 0;
void Catch(int nSignal)
{
    g_nCaught = nSignal;
}
}  // namespace

TEST(FaultCalls, InstallingReplacesTheEightActionsUntilUninstalling)
{
    std::signal(SIGTRAP, Catch);
    EXPECT_EQ(QV_RES_OK, InitializeQvFault());
    ASSERT_TRUE(InstallGenericFaultHandler());
    EXPECT_TRUE(IsPipeSignalBlocked());
    const auto pfnHandler = ActionOf(SIGTRAP).sa_sigaction;
    for (const int nSignal : {SIGQUIT, SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGBUS, SIGSYS, SIGTRAP})
    {
        EXPECT_EQ(SA_SIGINFO, ActionOf(nSignal).sa_flags & SA_SIGINFO) << "signal " << nSignal;
        EXPECT_EQ(pfnHandler, ActionOf(nSignal).sa_sigaction) << "signal " << nSignal;
    }
    ASSERT_EQ(0, std::raise(SIGTRAP));
    EXPECT_EQ(SIGTRAP, g_nCaught) << "raised again under the action that was there before";
    EXPECT_TRUE(UnInstallGenericFaultHandler());
    FinalizeQvFault();
    for (const int nSignal : {SIGQUIT, SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGBUS, SIGSYS, SIGTRAP})
        EXPECT_NE(pfnHandler, ActionOf(nSignal).sa_sigaction) << "signal " << nSignal;
    EXPECT_TRUE(IsPipeSignalBlocked());
}
