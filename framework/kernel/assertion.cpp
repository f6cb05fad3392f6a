#include "framework/kernel/assertion.h"

#include "framework/kernel/internal/lifetime.h"
#include "framework/kernel/unused_parameter.h"

static_assert(sizeof(SAssertFailHandler) == 16, "returned by value in two registers");

SAssertFailHandler* g_pstAssertFailHandler = nullptr;
SAssertTraceHandler* g_pstAssertTraceHandler = nullptr;
SAssertCallStackTraceHandler* g_pstAssertCallStackTraceHandler = nullptr;
SAssertFinalBehaviorHandler* g_pstAssertFinalBehaviorHandler = nullptr;

namespace
{
constexpr SAssertFailHandler g_stDefaultFail = {QvDefaultAssertFailHandler, 0};
constexpr SAssertTraceHandler g_stDefaultTrace = {nullptr, 0};
constexpr SAssertCallStackTraceHandler g_stDefaultCallStackTrace = {nullptr, 0};
constexpr SAssertFinalBehaviorHandler g_stDefaultFinalBehavior = {nullptr, 0};

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

void QvDefaultAssertFailHandler(unsigned int uOpaque, const char* pszFile, int nLine, const char* pszFunction,
                                const char* pszCondition, unsigned int uErrorCode)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(uOpaque);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pszFile);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(nLine);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pszFunction);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pszCondition);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(uErrorCode);
}

SAssertFailHandler QvAssertSetNewFailHandler(SAssertFailHandler* pstHandler)
{
    return Replace(g_pstAssertFailHandler, pstHandler, g_stDefaultFail);
}

SAssertTraceHandler QvAssertSetNewTraceHandler(SAssertTraceHandler* pstHandler)
{
    return Replace(g_pstAssertTraceHandler, pstHandler, g_stDefaultTrace);
}

SAssertCallStackTraceHandler QvAssertSetNewCallStackTraceHandler(SAssertCallStackTraceHandler* pstHandler)
{
    return Replace(g_pstAssertCallStackTraceHandler, pstHandler, g_stDefaultCallStackTrace);
}

SAssertFinalBehaviorHandler QvAssertSetNewFinalBehaviorHandler(SAssertFinalBehaviorHandler* pstHandler)
{
    return Replace(g_pstAssertFinalBehaviorHandler, pstHandler, g_stDefaultFinalBehavior);
}

QvResult InitializeQvAssert()
{
    g_stFail = g_stDefaultFail;
    g_stTrace = g_stDefaultTrace;
    g_stCallStackTrace = g_stDefaultCallStackTrace;
    g_stFinalBehavior = g_stDefaultFinalBehavior;
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
