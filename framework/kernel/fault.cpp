#include "framework/kernel/fault.h"

#include <signal.h>

namespace
{
struct SFault
{
    int nSignal;
    struct sigaction stPrevious;
};

constexpr int g_anSIGNALS[] = {SIGQUIT, SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGBUS, SIGSYS, SIGTRAP};
constexpr int g_nFAULT_COUNT = sizeof(g_anSIGNALS) / sizeof(g_anSIGNALS[0]);

SFault g_astFaults[g_nFAULT_COUNT];

bool RestorePrevious(int nSignal)
{
    for (const SFault& rstFault : g_astFaults)
    {
        if (rstFault.nSignal == nSignal) return sigaction(nSignal, &rstFault.stPrevious, nullptr) == 0;
    }
    return false;
}

// Calls nothing but what is allowed in a signal handler.
void HandleFault(int nSignal, siginfo_t* /*pstInfo*/, void* /*pvContext*/)
{
    if (!RestorePrevious(nSignal))
    {
        struct sigaction stDefault = {};
        stDefault.sa_handler = SIG_DFL;
        sigaction(nSignal, &stDefault, nullptr);
    }
    // The signal is blocked until this handler returns; then the restored action is taken.
    raise(nSignal);
}
}  // namespace

bool InstallGenericFaultHandler()
{
    for (int n = 0; n < g_nFAULT_COUNT; ++n) g_astFaults[n] = SFault{g_anSIGNALS[n], {}};

    struct sigaction stHandler = {};
    stHandler.sa_sigaction = HandleFault;
    stHandler.sa_flags = SA_SIGINFO;
    sigemptyset(&stHandler.sa_mask);
    for (SFault& rstFault : g_astFaults) sigaction(rstFault.nSignal, &stHandler, &rstFault.stPrevious);

    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    sigprocmask(SIG_BLOCK, &pipeSignal, nullptr);
    return true;
}

bool UnInstallGenericFaultHandler()
{
    for (const SFault& rstFault : g_astFaults) sigaction(rstFault.nSignal, &rstFault.stPrevious, nullptr);
    return true;
}

QvResult InitializeQvFault()
{
    return QV_RES_OK;
}

void FinalizeQvFault()
{
}
