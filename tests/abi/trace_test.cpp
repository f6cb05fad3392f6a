#include <cstdarg>

#include "tests/abi/framework_up.h"

enum EQvTraceLevel : int
{
};
enum EQvTraceCategory : int
{
};
enum EQvPackageId : int
{
};
enum EQvTraceField : int
{
};

using OutputHandler = void(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char*, int);
using FormatHandler = int(EQvTraceLevel, EQvTraceCategory, EQvPackageId, bool, char*, const char*, va_list);
using TimeFormatHandler = int(char*, int);
using CallStackHandler = void(EQvTraceLevel, EQvTraceCategory, EQvPackageId, void*);

// What is 0 is read as an int: that is 0 for a program that takes it for a bool or a mask as well.
int QvTraceAddOutputHandler(OutputHandler* pfnHandler);
void QvTraceRemoveOutputHandler(OutputHandler* pfnHandler);
void QvTraceSetNewOutputHandler(OutputHandler* pfnHandler);
int QvTraceSetNewFormatHandler(FormatHandler* pfnHandler);
int QvTraceSetTimeFormatHandler(TimeFormatHandler* pfnHandler);
int QvTraceSetSysTimeFormatHandler(TimeFormatHandler* pfnHandler);
int QvTraceSetNewCallStackHandler(CallStackHandler* pfnHandler);
void QvTraceSetPackagePermitted(EQvPackageId ePackage, bool bPermitted);
int QvTraceGetPackagePermitted(EQvPackageId ePackage);
void QvTraceAddLevelPermitted(EQvTraceLevel eLevel);
void QvTraceRemoveLevelPermitted(EQvTraceLevel eLevel);
int QvTraceGetLevelsPermitted();
void QvTraceAddCategoriesPermitted(EQvTraceCategory eCategories);
void QvTraceRemoveCategoriesPermitted(EQvTraceCategory eCategories);
int QvTraceGetCategoriesPermitted();
int QvTraceActivateField(EQvTraceField eField);
int QvTraceDeactivateField(EQvTraceField eField);
int QvTraceFieldIsActive(EQvTraceField eField);
int QvTraceActivateDefaultFields();
int QvTraceActivateSyslogFields();
int QvTraceActivateAllFields();
int QvTraceDeactivateAllFields();
int QvTraceSetHostNameField(const char* pszHostName);
void QvTraceToStderr(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char* pszText, int nLength);
void QvTraceToStdout(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char* pszText, int nLength);
void QvTraceToDebugger(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char* pszText, int nLength);
void QvTraceAllCallStacks(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackage);
QvResult InitializeQvTraceKernel();
void FinalizeQvTraceKernel();
QvResult InitializeQvTraceTime();
void FinalizeQvTraceTime();

namespace
{
constexpr EQvTraceLevel g_eLEVEL{1};
constexpr EQvTraceCategory g_eCATEGORY{2};
constexpr EQvPackageId g_ePACKAGE{3};
constexpr EQvTraceField g_eFIELD{4};

template <typename Result, typename... Arguments>
Result Unexpected(Arguments...)
{
    ADD_FAILURE() << "a handler was called";
    return Result();
}
int UnexpectedFormat(EQvTraceLevel, EQvTraceCategory, EQvPackageId, bool, char*, const char*, va_list)
{
    return Unexpected<int>();
}
}  // namespace

TEST(TraceCalls, HandlersPermissionsAndFieldsAreTakenAndForgotten)
{
    OutputHandler* const pfnOutput = Unexpected<void>;
    QvTraceSetNewOutputHandler(pfnOutput);
    QvTraceSetPackagePermitted(g_ePACKAGE, true);
    QvTraceAddLevelPermitted(g_eLEVEL);
    QvTraceAddCategoriesPermitted(g_eCATEGORY);
    const int anResults[] = {QvTraceAddOutputHandler(pfnOutput),
                             QvTraceSetNewFormatHandler(UnexpectedFormat),
                             QvTraceSetTimeFormatHandler(Unexpected<int>),
                             QvTraceSetSysTimeFormatHandler(Unexpected<int>),
                             QvTraceSetNewCallStackHandler(Unexpected<void>),
                             QvTraceGetPackagePermitted(g_ePACKAGE),
                             QvTraceGetLevelsPermitted(),
                             QvTraceGetCategoriesPermitted(),
                             QvTraceActivateField(g_eFIELD),
                             QvTraceActivateDefaultFields(),
                             QvTraceActivateSyslogFields(),
                             QvTraceActivateAllFields(),
                             QvTraceFieldIsActive(g_eFIELD),
                             QvTraceDeactivateField(g_eFIELD),
                             QvTraceDeactivateAllFields(),
                             QvTraceSetHostNameField("host")};
    for (const int nResult : anResults) EXPECT_EQ(0, nResult) << &nResult - anResults;
    QvTraceAllCallStacks(g_eLEVEL, g_eCATEGORY, g_ePACKAGE);
    QvTraceRemoveCategoriesPermitted(g_eCATEGORY);
    QvTraceRemoveLevelPermitted(g_eLEVEL);
    QvTraceRemoveOutputHandler(pfnOutput);
}

TEST(TraceCalls, OutputWritesNothingAndTakesANullText)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const char* const pszText : {"text", static_cast<const char*>(nullptr)})
    {
        QvTraceToStdout(g_eLEVEL, g_eCATEGORY, g_ePACKAGE, pszText, 4);
        QvTraceToStderr(g_eLEVEL, g_eCATEGORY, g_ePACKAGE, pszText, 4);
        QvTraceToDebugger(g_eLEVEL, g_eCATEGORY, g_ePACKAGE, pszText, 4);
    }
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(TraceCalls, BothModulesGoDownAndUpByTheirOwnFunctions)
{
    FinalizeQvTraceTime();
    FinalizeQvTraceKernel();
    EXPECT_EQ(QV_RES_OK, InitializeQvTraceKernel());
    EXPECT_EQ(QV_RES_OK, InitializeQvTraceTime());
}
