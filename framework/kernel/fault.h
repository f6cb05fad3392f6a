#ifndef FRAMEWORK_KERNEL_FAULT_H
#define FRAMEWORK_KERNEL_FAULT_H
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// Catches the fatal signals of the process once, puts back what handled them before, and raises them again: SIGQUIT,
/// SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGBUS, SIGSYS and SIGTRAP. So the process still ends by the same signal, or the
/// handler that was there before still runs. Nothing is installed unless an application asks.
///
/// - **Threads:** From the main thread, at start-up and shut-down, before other threads run.
/// - **Source:** POSIX sigaction() and sigprocmask().

/// Installs the handler, and blocks SIGPIPE in the calling thread and in those that it starts from then on: writing to
/// a closed pipe or socket then fails with EPIPE. Returns true; what the system refuses is ignored.
/// Install it only once: a second call keeps the handler itself as what was there before, so that it catches the same
/// fault for ever and cannot be uninstalled.
QV_EXPORT bool InstallGenericFaultHandler();

/// Puts back the eight actions that InstallGenericFaultHandler() found; without it, nothing happens. SIGPIPE stays
/// blocked: unblock it with pthread_sigmask() where that is wanted. Returns true.
QV_EXPORT bool UnInstallGenericFaultHandler();

/// Module start-up and shut-down, called by CFrameworkInitializer; there is nothing to set up. Returns QV_RES_OK.
QV_EXPORT QvResult InitializeQvFault();
QV_EXPORT void FinalizeQvFault();

#endif
