#ifndef FRAMEWORK_KERNEL_TRACE_H
#define FRAMEWORK_KERNEL_TRACE_H
#include <stdarg.h>

#include "framework/kernel/export.h"
#include "framework/kernel/package_id.h"
#include "framework/kernel/result.h"

/// The entry points of tracing. Tracing is disabled in this library: they are here so that applications that set it up
/// link and run, but every one ignores its arguments, keeps nothing, writes nothing and returns 0. Nothing is ever
/// permitted or active, also right after it was made so; an application that wants traces brings an engine of its own.
///
/// - **Ownership:** Nothing is kept: neither handlers nor texts need to outlive the call.
/// - **Threads:** Any thread, at any time; none waits.

/// How severe a trace is; a mask when several are meant.
enum EQvTraceLevel : int
{
    eTRACE_LEVEL_NONE = 0,
    eTRACE_LEVEL_FATAL = 1 << 0,
    eTRACE_LEVEL_ERROR = 1 << 1,
    eTRACE_LEVEL_WARNING = 1 << 2,
    eTRACE_LEVEL_INFO = 1 << 3,
    eTRACE_LEVEL_DEBUG = 1 << 4,
    eTRACE_LEVEL_ALL =
        eTRACE_LEVEL_FATAL | eTRACE_LEVEL_ERROR | eTRACE_LEVEL_WARNING | eTRACE_LEVEL_INFO | eTRACE_LEVEL_DEBUG
};

/// What a trace is about; a mask when several are meant. Bits from eTRACE_CATEGORY_APPLICATION up are for applications.
enum EQvTraceCategory : int
{
    eTRACE_CATEGORY_NONE = 0,
    eTRACE_CATEGORY_CALL = 1 << 0,
    eTRACE_CATEGORY_STATE = 1 << 1,
    eTRACE_CATEGORY_MEMORY = 1 << 2,
    eTRACE_CATEGORY_THREAD = 1 << 3,
    eTRACE_CATEGORY_TIME = 1 << 4,
    eTRACE_CATEGORY_APPLICATION = 1 << 16,
    eTRACE_CATEGORY_ALL = 0x7FFFFFFF
};

/// One element of a trace line.
enum EQvTraceField : int
{
    eTRACE_FIELD_TIME,
    eTRACE_FIELD_SYSTEM_TIME,
    eTRACE_FIELD_HOST_NAME,
    eTRACE_FIELD_PROCESS_ID,
    eTRACE_FIELD_THREAD_ID,
    eTRACE_FIELD_PACKAGE,
    eTRACE_FIELD_LEVEL,
    eTRACE_FIELD_CATEGORY,
    eTRACE_FIELD_TEXT
};

/// Both masks together.
constexpr EQvTraceLevel operator|(EQvTraceLevel eA, EQvTraceLevel eB)
{
    return static_cast<EQvTraceLevel>(static_cast<int>(eA) | static_cast<int>(eB));
}

/// Both masks together.
constexpr EQvTraceCategory operator|(EQvTraceCategory eA, EQvTraceCategory eB)
{
    return static_cast<EQvTraceCategory>(static_cast<int>(eA) | static_cast<int>(eB));
}

/// Takes a finished line of nSize characters.
typedef void (*PFNQvTraceOutputHandler)(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId,
                                        const char* pszText, int nSize);
/// Writes the formatted line and returns its length; bContinued tells that it goes on the line before.
typedef int (*PFNQvTraceFormatHandler)(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId,
                                       bool bContinued, char* pszBuf, const char* pszFormat, va_list args);
/// Writes a time stamp into nSize characters and returns its length.
typedef int (*PFNQvTraceTimeFormatHandler)(char* pszBuf, int nSize);
/// Traces the call stack of the thread that pvContext stands for.
typedef void (*PFNQvTraceCallStackHandler)(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId,
                                           void* pvContext);

/// Would add a handler to those that get every line.
QV_EXPORT int QvTraceAddOutputHandler(PFNQvTraceOutputHandler pfnHandler);
/// Would take a handler away from those.
QV_EXPORT void QvTraceRemoveOutputHandler(PFNQvTraceOutputHandler pfnHandler);
/// Would replace all output handlers by one.
QV_EXPORT void QvTraceSetNewOutputHandler(PFNQvTraceOutputHandler pfnHandler);
/// Would replace what makes a line of a trace.
QV_EXPORT int QvTraceSetNewFormatHandler(PFNQvTraceFormatHandler pfnHandler);
/// Would replace what writes eTRACE_FIELD_TIME.
QV_EXPORT int QvTraceSetTimeFormatHandler(PFNQvTraceTimeFormatHandler pfnHandler);
/// Would replace what writes eTRACE_FIELD_SYSTEM_TIME. InitializeQvTraceKernel() calls it.
QV_EXPORT int QvTraceSetSysTimeFormatHandler(PFNQvTraceTimeFormatHandler pfnHandler);
/// Would replace what traces call stacks.
QV_EXPORT int QvTraceSetNewCallStackHandler(PFNQvTraceCallStackHandler pfnHandler);

/// Would let the traces of a package through, or no longer.
QV_EXPORT void QvTraceSetPackagePermitted(EQvPackageId ePackageId, bool bPermitted);
/// Whether they get through: false.
QV_EXPORT bool QvTraceGetPackagePermitted(EQvPackageId ePackageId);
/// Would let the traces of a level through.
QV_EXPORT void QvTraceAddLevelPermitted(EQvTraceLevel eLevel);
/// Would hold them back.
QV_EXPORT void QvTraceRemoveLevelPermitted(EQvTraceLevel eLevel);
/// The levels that get through: eTRACE_LEVEL_NONE.
QV_EXPORT EQvTraceLevel QvTraceGetLevelsPermitted();
/// Would let the traces of these categories through.
QV_EXPORT void QvTraceAddCategoriesPermitted(EQvTraceCategory eCategories);
/// Would hold them back.
QV_EXPORT void QvTraceRemoveCategoriesPermitted(EQvTraceCategory eCategories);
/// The categories that get through: eTRACE_CATEGORY_NONE.
QV_EXPORT EQvTraceCategory QvTraceGetCategoriesPermitted();

/// Would make an element a part of every line.
QV_EXPORT int QvTraceActivateField(EQvTraceField eField);
/// Would leave it out.
QV_EXPORT int QvTraceDeactivateField(EQvTraceField eField);
/// Whether it is a part of every line: false.
QV_EXPORT bool QvTraceFieldIsActive(EQvTraceField eField);
/// Would choose the elements that lines have by default.
QV_EXPORT int QvTraceActivateDefaultFields();
/// Would choose those for lines that go to the system log.
QV_EXPORT int QvTraceActivateSyslogFields();
/// Would choose all of them.
QV_EXPORT int QvTraceActivateAllFields();
/// Would choose none.
QV_EXPORT int QvTraceDeactivateAllFields();
/// Would set what eTRACE_FIELD_HOST_NAME shows.
QV_EXPORT int QvTraceSetHostNameField(const char* pszHostName);

/// An output handler, to be passed to QvTraceAddOutputHandler(). It writes nothing; the text may be null. So do
/// QvTraceToStdout() and QvTraceToDebugger().
QV_EXPORT void QvTraceToStderr(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId,
                               const char* pszText, int nSize);
QV_EXPORT void QvTraceToStdout(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId,
                               const char* pszText, int nSize);
QV_EXPORT void QvTraceToDebugger(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId,
                                 const char* pszText, int nSize);

/// Would trace the call stack of every thread.
QV_EXPORT void QvTraceAllCallStacks(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId);

/// Module start-up and shut-down, called by CFrameworkInitializer; start-up returns QV_RES_OK. That of the trace kernel
/// passes QvTraceSetSysTimeFormatHandler() a handler that writes the system's up-time in milliseconds as a decimal
/// number, like QvUnsignedInt64ToString(). An engine that is linked in place of that function stamps its traces with
/// it. InitializeQvTraceTime() has nothing to set up.
QV_EXPORT QvResult InitializeQvTraceKernel();
QV_EXPORT void FinalizeQvTraceKernel();
QV_EXPORT QvResult InitializeQvTraceTime();
QV_EXPORT void FinalizeQvTraceTime();

#endif
