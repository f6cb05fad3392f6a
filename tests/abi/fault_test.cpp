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

volatile std::sig_atomic_t g_nCaught = 0;
void Catch(int nSignal)
{
    g_nCaught = nSignal;
}
}  // namespace

TEST(FaultCalls, InstallingReplacesTheActionsUntilUninstalling)
{
    std::signal(SIGTRAP, Catch);
    EXPECT_EQ(QV_RES_OK, InitializeQvFault());
    ASSERT_TRUE(InstallGenericFaultHandler());
    EXPECT_EQ(SA_SIGINFO, ActionOf(SIGSEGV).sa_flags & SA_SIGINFO);
    const auto pfnHandler = ActionOf(SIGTRAP).sa_sigaction;
    EXPECT_EQ(pfnHandler, ActionOf(SIGSEGV).sa_sigaction);
    ASSERT_EQ(0, std::raise(SIGTRAP));
    EXPECT_EQ(SIGTRAP, g_nCaught) << "raised again under the action that was there before";
    EXPECT_TRUE(UnInstallGenericFaultHandler());
    FinalizeQvFault();
    EXPECT_NE(pfnHandler, ActionOf(SIGTRAP).sa_sigaction);
    EXPECT_NE(pfnHandler, ActionOf(SIGSEGV).sa_sigaction);
}
