#include <cstdint>
#include <cstring>
#include <type_traits>

#include "framework/kernel/assertion.h"
#include "framework/kernel/package_id.h"
#include "framework/kernel/result.h"
#include "framework/kernel/unused_parameter.h"
#include "tests/clients/client.h"

namespace
{
static_assert(std::is_same_v<QvResult, int>);
static_assert(std::is_enum_v<EQvPackageId> && sizeof(EQvPackageId) == sizeof(int));

QvResult Code(std::uint32_t uCode)
{
    return static_cast<QvResult>(uCode);
}

QvResult FirstFailure(QvResult resFirst, QvResult resSecond)
{
    QV_RETURN_IF_FAILED(resFirst);
    QV_RETURN_IF_FAILED(QvRGetWorstOf(resFirst, resSecond));
    return 7;
}

void MyFailHandler(unsigned int, const char*, int, const char*, const char*, unsigned int)
{
}

void Codes()
{
    CHECK(QV_RES_OK == 0);
    CHECK(QV_RES_FAIL == Code(0x80000001));
    CHECK(QV_RES_INVALID_STATE == Code(0x80000002));
    CHECK(QV_RES_INVALID_ARGUMENT == Code(0x80000003));
    CHECK(QV_RES_OUT_OF_MEMORY == Code(0x80000007));
    CHECK(QV_RES_ALREADY_EXISTS == Code(0x80000009));
    CHECK(QV_RES_THREAD_ATTRIBUTES == Code(0x80008417));
    CHECK(QV_RES_THREAD_CREATE_FAILED == Code(0x80008418));
    CHECK(QV_RES_TSD_UNAVAILABLE == Code(0x80008419));
    CHECK(QV_RES_TSD_KEY_NOT_FOUND == Code(0x8000841A));
    CHECK(QV_RES_THREAD_JOIN_SELF == Code(0x8000841B));
    CHECK(QV_RES_NO_INTERFACE == Code(0x80008422));
    CHECK(QV_RES_CLASS_NOT_REGISTERED == Code(0x80008424));

    Promised<QvResult (*)(QvResult, QvResult)>(&QvRGetWorstOf);
    CHECK(QvRGetWorstOf(QV_RES_FAIL, QV_RES_INVALID_ARGUMENT) == QV_RES_FAIL);
    CHECK(QvRGetWorstOf(0, Code(0x80000003)) == Code(0x80000003));
    CHECK(QvRGetWorstOf(Code(0xC0000001), Code(0x80000003)) == Code(0xC0000001));
    CHECK(QvRGetWorstOf(0x40000000, 0) == 0x40000000);

    Promised<const char* (*)(QvResult)>(&QvResultGetMsgStr);
    CHECK(QvResultGetMsgStr(0)[0] == '\0' && QvResultGetMsgStr(QV_RES_FAIL) == QvResultGetMsgStr(0));
    Promised<const char* (*)(QvResult)>(&QvResultName);
    CHECK(std::strcmp(QvResultName(QV_RES_ALREADY_EXISTS), "QV_RES_ALREADY_EXISTS") == 0);
    CHECK(std::strcmp(QvResultName(1), "unknown result") == 0);
    Promised<bool (*)(QvResult)>(&QvFailed);
    Promised<bool (*)(QvResult)>(&QvSucceeded);
    static_assert(QvFailed(QV_RES_FAIL) && !QvFailed(0x40000000));
    static_assert(QvSucceeded(QV_RES_OK) && QvSucceeded(0x40000000) && !QvSucceeded(QV_RES_FAIL));
    CHECK(FirstFailure(QV_RES_OK, 1) == 7 && FirstFailure(1, QV_RES_FAIL) == QV_RES_FAIL);
    Promised<QvResult (*)(QvResult, EQvPackageId)>(&QvResultInspect);
    CHECK(QvResultInspect(QV_RES_FAIL, static_cast<EQvPackageId>(1)) == QV_RES_FAIL);

    Promised<QvResult (*)()>(&InitializeResult);
    Promised<void (*)()>(&FinalizeResult);
    CHECK(InitializeResult() == QV_RES_OK);
    FinalizeResult();
}

void FailHandler()
{
    static_assert(std::is_same_v<decltype(SAssertFailHandler::pfnHandler),
                                 void (*)(unsigned int, const char*, int, const char*, const char*, unsigned int)>);
    static_assert(std::is_same_v<decltype(SAssertFailHandler::uOpaque), unsigned int>);
    Promised<SAssertFailHandler (*)(SAssertFailHandler*)>(&QvAssertSetNewFailHandler);
    static_assert(std::is_same_v<decltype((g_pstAssertFailHandler)), SAssertFailHandler*&>);

    SAssertFailHandler stMine = {MyFailHandler, 7};
    const SAssertFailHandler stBefore = QvAssertSetNewFailHandler(&stMine);
    CHECK(stBefore.pfnHandler == QvDefaultAssertFailHandler && stBefore.uOpaque == 0);
    CHECK(g_pstAssertFailHandler->pfnHandler == MyFailHandler && g_pstAssertFailHandler->uOpaque == 7);
    stMine.pfnHandler = nullptr;
    CHECK(QvAssertSetNewFailHandler(&stMine).pfnHandler == MyFailHandler);
    CHECK(QvAssertSetNewFailHandler(nullptr).pfnHandler == QvDefaultAssertFailHandler);
    CHECK(QvAssertSetNewFailHandler(0).uOpaque == 0);
    CHECK(QvAssertSetNewFailHandler(NULL).uOpaque == 0);
    QvDefaultAssertFailHandler(1, "file", 2, "function", "condition", 3);
    QvDefaultAssertFailHandler(0, nullptr, 0, NULL, 0, 0);
}

// The other three alike; what their functions take is the library's choice.
template <typename Handler>
void OtherHandler(Handler (*pfnSet)(Handler*), Handler*& rpstCurrent)
{
    static_assert(std::is_pointer_v<decltype(Handler::pfnHandler)>);
    static_assert(std::is_same_v<decltype(Handler::uOpaque), unsigned int>);
    CHECK(rpstCurrent != nullptr && rpstCurrent->pfnHandler == nullptr && rpstCurrent->uOpaque == 0);
    Handler stMine = {[](auto...) {}, 5};
    CHECK(pfnSet(&stMine).pfnHandler == nullptr);
    CHECK(rpstCurrent->pfnHandler == stMine.pfnHandler && rpstCurrent->uOpaque == 5);
    CHECK(pfnSet(nullptr).uOpaque == 5);
    CHECK(rpstCurrent->pfnHandler == nullptr && rpstCurrent->uOpaque == 0);
}

void Silencers()
{
    const int nUnused = 1;
    CHECK(&QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(nUnused) == &nUnused);
    CHECK(QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING<int>(5) == 5);
    static_assert(std::is_same_v<decltype(QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(nUnused)), const int&>);
    static_assert(sizeof(QvRemoveUnusedFunctionParamWarning(0)) == sizeof(void*));
    CHECK(QvRemoveUnusedFunctionParamWarning(0) == 0);
}
}  // namespace

void ResultClient()
{
    Codes();
    Promised<QvResult (*)()>(&InitializeQvAssert);
    Promised<void (*)()>(&FinalizeQvAssert);
    FailHandler();
    OtherHandler<SAssertTraceHandler>(&QvAssertSetNewTraceHandler, g_pstAssertTraceHandler);
    OtherHandler<SAssertCallStackTraceHandler>(&QvAssertSetNewCallStackTraceHandler, g_pstAssertCallStackTraceHandler);
    OtherHandler<SAssertFinalBehaviorHandler>(&QvAssertSetNewFinalBehaviorHandler, g_pstAssertFinalBehaviorHandler);
    FinalizeQvAssert();
    CHECK(g_pstAssertFailHandler == nullptr && g_pstAssertTraceHandler == nullptr);
    CHECK(g_pstAssertCallStackTraceHandler == nullptr && g_pstAssertFinalBehaviorHandler == nullptr);
    CHECK(InitializeQvAssert() == QV_RES_OK);
    CHECK(g_pstAssertFailHandler->pfnHandler == QvDefaultAssertFailHandler);
    Silencers();
}
