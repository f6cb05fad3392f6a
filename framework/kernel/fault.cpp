#include "framework/kernel/fault.h"

#include <signal.h>

#include "framework/kernel/unused_parameter.h"

namespace
{
struct SFault
{
    int nSignal;
    struct sigaction stPrevious;
};

constexpr int g_anSignals[] = {SIGQUIT, SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGBUS, SIGSYS, SIGTRAP};
constexpr int g_nFaultCount = sizeof(g_anSignals) / sizeof(g_anSignals[0]);

SFault g_astFaults[g_nFaultCount];

bool RestorePrevious(int nSignal)
{
    for (const SFault& rstFault : g_astFaults)
    {
        if (rstFault.nSignal == nSignal) return sigaction(nSignal, &rstFault.stPrevious, nullptr) == 0;
    }
    return false;
}

// Calls nothing but what is allowed in a signal handler.
void HandleFault(int nSignal, siginfo_t* pstInfo, void* pvContext)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pstInfo);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pvContext);
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
    for (int n = 0; n < g_nFaultCount; ++n) g_astFaults[n] = SFault{g_anSignals[n], {}};

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
