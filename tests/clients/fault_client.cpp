#include "framework/kernel/fault.h"

#include <csignal>

#include "framework/kernel/result.h"
#include "tests/clients/client.h"

void FaultClient()
{
    Promised<bool (*)()>(&InstallGenericFaultHandler);
    Promised<bool (*)()>(&UnInstallGenericFaultHandler);
    Promised<QvResult (*)()>(&InitializeQvFault);
    Promised<void (*)()>(&FinalizeQvFault);

    const int anSignals[] = {SIGQUIT, SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGBUS, SIGSYS, SIGTRAP};
    sigset_t stMask;
    sigprocmask(SIG_SETMASK, nullptr, &stMask);

    CHECK(InstallGenericFaultHandler());
    for (const int nSignal : anSignals)
    {
        struct sigaction stAction;
        CHECK(sigaction(nSignal, nullptr, &stAction) == 0);
        CHECK((stAction.sa_flags & SA_SIGINFO) != 0 && stAction.sa_sigaction != nullptr);
    }
    sigset_t stBlocked;
    sigprocmask(SIG_SETMASK, nullptr, &stBlocked);
    CHECK(sigismember(&stBlocked, SIGPIPE) == 1);
    CHECK(UnInstallGenericFaultHandler());
    struct sigaction stQuit;
    CHECK(sigaction(SIGQUIT, nullptr, &stQuit) == 0 && stQuit.sa_handler == SIG_DFL);

    CHECK(InitializeQvFault() == QV_RES_OK);
    FinalizeQvFault();
    sigprocmask(SIG_SETMASK, &stMask, nullptr);
}
