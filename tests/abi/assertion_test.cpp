#include "tests/abi/framework_up.h"
#include "tests/support/object_bytes.h"

enum EQvPackageId : int
{
};

QvResult QvRGetWorstOf(QvResult a, QvResult b);
const char* QvResultGetMsgStr(QvResult res);
const char* QvResultName(QvResult res);
QvResult QvResultInspect(QvResult res, EQvPackageId ePackage);
QvResult InitializeResult();
void FinalizeResult();
unsigned long QvRemoveUnusedFunctionParamWarning(unsigned long uParameter);

/// The same two fields in all four; what the functions other than the fail handler's take is not asserted.
template <typename Function>
struct SHandler
{
    Function* pfnHandler;
    unsigned int uOpaque;
};
using FailFunction = void(unsigned int, const char*, int, const char*, const char*, unsigned int);
using OtherFunction = void(unsigned int);
struct SAssertFailHandler : SHandler<FailFunction>
{
};
struct SAssertTraceHandler : SHandler<OtherFunction>
{
};
struct SAssertCallStackTraceHandler : SHandler<OtherFunction>
{
};
struct SAssertFinalBehaviorHandler : SHandler<OtherFunction>
{
};

void QvDefaultAssertFailHandler(unsigned int uOpaque, const char* pszFirst, int nLine, const char* pszSecond,
                                const char* pszThird, unsigned int uNumber);
SAssertFailHandler QvAssertSetNewFailHandler(SAssertFailHandler* pstHandler);
SAssertTraceHandler QvAssertSetNewTraceHandler(SAssertTraceHandler* pstHandler);
SAssertCallStackTraceHandler QvAssertSetNewCallStackTraceHandler(SAssertCallStackTraceHandler* pstHandler);
SAssertFinalBehaviorHandler QvAssertSetNewFinalBehaviorHandler(SAssertFinalBehaviorHandler* pstHandler);
QvResult InitializeQvAssert();
void FinalizeQvAssert();
extern SAssertFailHandler* g_pstAssertFailHandler;
extern SAssertTraceHandler* g_pstAssertTraceHandler;
extern SAssertCallStackTraceHandler* g_pstAssertCallStackTraceHandler;
extern SAssertFinalBehaviorHandler* g_pstAssertFinalBehaviorHandler;

namespace
{
void OwnFailHandler(unsigned int, const char*, int, const char*, const char*, unsigned int)
{
}
void OwnHandler(unsigned int)
{
}

constexpr QvResult Code(unsigned int uBits)
{
    return static_cast<QvResult>(uBits);
}
}  // namespace

TEST(ResultCalls, CodesAreSigned32BitNumbersRankedByTheirTopBits)
{
    EXPECT_EQ(Code(0x80000001), QvRGetWorstOf(Code(0x80000001), Code(0x80000003)));
    EXPECT_EQ(Code(0x80000003), QvRGetWorstOf(0, Code(0x80000003)));
    EXPECT_EQ(Code(0xC0000001), QvRGetWorstOf(Code(0xC0000001), Code(0x80000003)));
    EXPECT_EQ(Code(0x40000000), QvRGetWorstOf(Code(0x40000000), 0));
}

TEST(ResultCalls, EveryCodeHasTheSameEmptyTextAndPassesThroughInspection)
{
    FinalizeResult();
    EXPECT_EQ(QV_RES_OK, InitializeResult());
    EXPECT_STREQ("QV_RES_FAIL", QvResultName(Code(0x80000001)));
    EXPECT_STREQ("", QvResultGetMsgStr(0));
    EXPECT_EQ(QvResultGetMsgStr(0), QvResultGetMsgStr(Code(0x80000001)));
    EXPECT_EQ(Code(0x80008417), QvResultInspect(Code(0x80008417), EQvPackageId(7)));
    EXPECT_EQ(0xFEDCBA9876543210UL, QvRemoveUnusedFunctionParamWarning(0xFEDCBA9876543210UL));
}

/// How many of the current handlers are functions of this program.
int CountOwnHandlers()
{
    return (g_pstAssertFailHandler->pfnHandler == OwnFailHandler) +
           (g_pstAssertTraceHandler->pfnHandler == OwnHandler) +
           (g_pstAssertCallStackTraceHandler->pfnHandler == OwnHandler) +
           (g_pstAssertFinalBehaviorHandler->pfnHandler == OwnHandler);
}

/// How the setter and the record of one kind of handler work together.
template <typename Record>
void ExpectHandlersAreExchanged(Record (*pfnSet)(Record*), Record*& rpCurrent, decltype(Record::pfnHandler) pfnOwn,
                                decltype(Record::pfnHandler) pfnDefault)
{
    static_assert(sizeof(Record) == 16 && sizeof(Record::uOpaque) == 4);
    ASSERT_NE(nullptr, rpCurrent);
    EXPECT_EQ(pfnDefault, LoadAt<decltype(pfnDefault)>(rpCurrent, 0));
    EXPECT_EQ(0u, LoadAt<unsigned int>(rpCurrent, 8));

    Record own;
    own.pfnHandler = pfnOwn;
    own.uOpaque = 0xFEDCBA98;
    EXPECT_EQ(pfnDefault, pfnSet(&own).pfnHandler);
    EXPECT_EQ(pfnOwn, LoadAt<decltype(pfnOwn)>(rpCurrent, 0));
    EXPECT_EQ(0xFEDCBA98u, LoadAt<unsigned int>(rpCurrent, 8));

    EXPECT_EQ(1, CountOwnHandlers()) << "the records are four different ones";

    const Record before = pfnSet(nullptr);
    EXPECT_EQ(pfnOwn, before.pfnHandler);
    EXPECT_EQ(0xFEDCBA98u, before.uOpaque);
    EXPECT_EQ(pfnDefault, rpCurrent->pfnHandler);
    EXPECT_EQ(0u, rpCurrent->uOpaque);
}

TEST(AssertionLayout, EveryRecordIsAFunctionAndANumberAndTravelsByValue)
{
    ExpectHandlersAreExchanged(QvAssertSetNewFailHandler, g_pstAssertFailHandler, OwnFailHandler,
                               QvDefaultAssertFailHandler);
    ExpectHandlersAreExchanged(QvAssertSetNewTraceHandler, g_pstAssertTraceHandler, OwnHandler, nullptr);
    ExpectHandlersAreExchanged(QvAssertSetNewCallStackTraceHandler, g_pstAssertCallStackTraceHandler, OwnHandler,
                               nullptr);
    ExpectHandlersAreExchanged(QvAssertSetNewFinalBehaviorHandler, g_pstAssertFinalBehaviorHandler, OwnHandler,
                               nullptr);
}

TEST(AssertionCalls, TheExportedPointersAreNullWhileTheModuleIsDown)
{
    SAssertFailHandler own;
    own.pfnHandler = OwnFailHandler;
    own.uOpaque = 9;
    QvAssertSetNewFailHandler(&own);
    const SAssertFailHandler* const pstRecord = g_pstAssertFailHandler;
    FinalizeQvAssert();
    EXPECT_EQ(nullptr, g_pstAssertFailHandler);
    EXPECT_EQ(nullptr, g_pstAssertTraceHandler);
    EXPECT_EQ(nullptr, g_pstAssertCallStackTraceHandler);
    EXPECT_EQ(nullptr, g_pstAssertFinalBehaviorHandler);
    EXPECT_EQ(QV_RES_OK, InitializeQvAssert());
    EXPECT_EQ(pstRecord, g_pstAssertFailHandler) << "static storage";
    EXPECT_EQ(QvDefaultAssertFailHandler, g_pstAssertFailHandler->pfnHandler);
    QvDefaultAssertFailHandler(1, "condition", 2, "file", nullptr, 3);
    EXPECT_EQ(0u, g_pstAssertFailHandler->uOpaque);
}
