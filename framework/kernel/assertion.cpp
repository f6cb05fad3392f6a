#include "framework/kernel/assertion.h"

#include "framework/kernel/internal/lifetime.h"

static_assert(sizeof(SAssertFailHandler) == 16, "returned by value in two registers");

SAssertFailHandler* g_pstAssertFailHandler = nullptr;
SAssertTraceHandler* g_pstAssertTraceHandler = nullptr;
SAssertCallStackTraceHandler* g_pstAssertCallStackTraceHandler = nullptr;
SAssertFinalBehaviorHandler* g_pstAssertFinalBehaviorHandler = nullptr;

namespace
{
constexpr SAssertFailHandler g_stDEFAULT_FAIL = {QvDefaultAssertFailHandler, 0};
constexpr SAssertTraceHandler g_stDEFAULT_TRACE = {nullptr, 0};
constexpr SAssertCallStackTraceHandler g_stDEFAULT_CALL_STACK_TRACE = {nullptr, 0};
constexpr SAssertFinalBehaviorHandler g_stDEFAULT_FINAL_BEHAVIOR = {nullptr, 0};

SAssertFailHandler g_stFail;
SAssertTraceHandler g_stTrace;
SAssertCallStackTraceHandler g_stCallStackTrace;
SAssertFinalBehaviorHandler g_stFinalBehavior;

template <typename Handler>
Handler Replace(Handler* pstCurrent, const Handler* pstNew, const Handler& rstDefault)
{
    Handler& rstCurrent = *orvel_internal::RequireUp(pstCurrent, "QvAssertSetNew...Handler()");
    const Handler stPrevious = rstCurrent;
    rstCurrent = pstNew != nullptr && pstNew->pfnHandler != nullptr ? *pstNew : rstDefault;
    return stPrevious;
}
}  // namespace

void QvDefaultAssertFailHandler(unsigned int /*uOpaque*/, const char* /*pszFile*/, int /*nLine*/,
                                const char* /*pszFunction*/, const char* /*pszCondition*/, unsigned int /*uErrorCode*/)
{
}

SAssertFailHandler QvAssertSetNewFailHandler(SAssertFailHandler* pstHandler)
{
    return Replace(g_pstAssertFailHandler, pstHandler, g_stDEFAULT_FAIL);
}

SAssertTraceHandler QvAssertSetNewTraceHandler(SAssertTraceHandler* pstHandler)
{
    return Replace(g_pstAssertTraceHandler, pstHandler, g_stDEFAULT_TRACE);
}

SAssertCallStackTraceHandler QvAssertSetNewCallStackTraceHandler(SAssertCallStackTraceHandler* pstHandler)
{
    return Replace(g_pstAssertCallStackTraceHandler, pstHandler, g_stDEFAULT_CALL_STACK_TRACE);
}

SAssertFinalBehaviorHandler QvAssertSetNewFinalBehaviorHandler(SAssertFinalBehaviorHandler* pstHandler)
{
    return Replace(g_pstAssertFinalBehaviorHandler, pstHandler, g_stDEFAULT_FINAL_BEHAVIOR);
}

QvResult InitializeQvAssert()
{
    g_stFail = g_stDEFAULT_FAIL;
    g_stTrace = g_stDEFAULT_TRACE;
    g_stCallStackTrace = g_stDEFAULT_CALL_STACK_TRACE;
    g_stFinalBehavior = g_stDEFAULT_FINAL_BEHAVIOR;
    g_pstAssertFailHandler = &g_stFail;
    g_pstAssertTraceHandler = &g_stTrace;
    g_pstAssertCallStackTraceHandler = &g_stCallStackTrace;
    g_pstAssertFinalBehaviorHandler = &g_stFinalBehavior;
    return QV_RES_OK;
}

void FinalizeQvAssert()
{
    g_pstAssertFailHandler = nullptr;
    g_pstAssertTraceHandler = nullptr;
    g_pstAssertCallStackTraceHandler = nullptr;
    g_pstAssertFinalBehaviorHandler = nullptr;
}
