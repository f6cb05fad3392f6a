#ifndef FRAMEWORK_KERNEL_ASSERTION_H
#define FRAMEWORK_KERNEL_ASSERTION_H
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// The handlers that an assertion facility consults. The library itself checks no assertion and calls none of them:
/// it only keeps the registry.
///
/// - **Ownership:** The registry copies what it is given; uOpaque is handed back to the handler and means nothing here.
/// - **Threads:** No locking: set the handlers during start-up, before other threads use the framework.
/// - **Lifetime:** Only between InitializeQvAssert() and FinalizeQvAssert(); a setter called outside ends the process.

/// Called with the record's uOpaque and what the assertion site reports about itself.
typedef void (*PFNAssertFailHandler)(unsigned int uOpaque, const char* pszFile, int nLine, const char* pszFunction,
                                     const char* pszCondition, unsigned int uErrorCode);
/// Told of a failed assertion before its final behaviour, to trace it.
typedef void (*PFNAssertTraceHandler)(unsigned int uOpaque, const char* pszFile, int nLine, const char* pszFunction,
                                      const char* pszCondition, unsigned int uErrorCode);
/// Asked to trace the call stack of the thread that failed an assertion.
typedef void (*PFNAssertCallStackTraceHandler)(unsigned int uOpaque);
/// Decides what becomes of the process after a failed assertion: it may return, or end the process.
typedef void (*PFNAssertFinalBehaviorHandler)(unsigned int uOpaque);

/// A handler and the value that it is called with. The function is never null.
struct SAssertFailHandler
{
    PFNAssertFailHandler pfnHandler;
    unsigned int uOpaque;
};

/// A handler and the value that it is called with. A null function: no handler is installed.
struct SAssertTraceHandler
{
    PFNAssertTraceHandler pfnHandler;
    unsigned int uOpaque;
};

/// A handler and the value that it is called with. A null function: no handler is installed.
struct SAssertCallStackTraceHandler
{
    PFNAssertCallStackTraceHandler pfnHandler;
    unsigned int uOpaque;
};

/// A handler and the value that it is called with. A null function: no handler is installed.
struct SAssertFinalBehaviorHandler
{
    PFNAssertFinalBehaviorHandler pfnHandler;
    unsigned int uOpaque;
};

/// The record that is current; null while the module is finalised.
extern QV_EXPORT SAssertFailHandler* g_pstAssertFailHandler;
/// The record that is current; null while the module is finalised.
extern QV_EXPORT SAssertTraceHandler* g_pstAssertTraceHandler;
/// The record that is current; null while the module is finalised.
extern QV_EXPORT SAssertCallStackTraceHandler* g_pstAssertCallStackTraceHandler;
/// The record that is current; null while the module is finalised.
extern QV_EXPORT SAssertFinalBehaviorHandler* g_pstAssertFinalBehaviorHandler;

/// The fail handler that is installed when no other is: returns at once.
QV_EXPORT void QvDefaultAssertFailHandler(unsigned int uOpaque, const char* pszFile, int nLine, const char* pszFunction,
                                          const char* pszCondition, unsigned int uErrorCode);

/// Replaces the handler and returns the record that was current. A null pointer, or a record without a function,
/// restores the default: QvDefaultAssertFailHandler with uOpaque 0.
QV_EXPORT SAssertFailHandler QvAssertSetNewFailHandler(SAssertFailHandler* pstHandler);
/// Replaces the handler and returns the record that was current. Null, or without a function: none is installed.
QV_EXPORT SAssertTraceHandler QvAssertSetNewTraceHandler(SAssertTraceHandler* pstHandler);
/// Replaces the handler and returns the record that was current. Null, or without a function: none is installed.
QV_EXPORT SAssertCallStackTraceHandler QvAssertSetNewCallStackTraceHandler(SAssertCallStackTraceHandler* pstHandler);
/// Replaces the handler and returns the record that was current. Null, or without a function: none is installed.
QV_EXPORT SAssertFinalBehaviorHandler QvAssertSetNewFinalBehaviorHandler(SAssertFinalBehaviorHandler* pstHandler);

/// Module start-up and shut-down, called by CFrameworkInitializer. Start-up installs the defaults, dropping whatever
/// was installed before, and returns QV_RES_OK; shut-down nulls the four pointers.
QV_EXPORT QvResult InitializeQvAssert();
QV_EXPORT void FinalizeQvAssert();

#endif
