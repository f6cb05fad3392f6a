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

bool g_bCalled = false;
void NoteOutput(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char*, int)
{
    g_bCalled = true;
}
int NoteFormat(EQvTraceLevel, EQvTraceCategory, EQvPackageId, bool, char*, const char*, va_list)
{
    g_bCalled = true;
    return 0;
}
int NoteTime(char*, int)
{
    g_bCalled = true;
    return 0;
}
void NoteCallStack(EQvTraceLevel, EQvTraceCategory, EQvPackageId, void*)
{
    g_bCalled = true;
}
}  // namespace

TEST(TraceCalls, HandlersAreTakenInTheirPublishedFormAndNeverCalled)
{
    EXPECT_EQ(0, QvTraceAddOutputHandler(NoteOutput));
    EXPECT_EQ(0, QvTraceAddOutputHandler(QvTraceToStdout));
    QvTraceSetNewOutputHandler(NoteOutput);
    EXPECT_EQ(0, QvTraceSetNewFormatHandler(NoteFormat));
    EXPECT_EQ(0, QvTraceSetTimeFormatHandler(NoteTime));
    EXPECT_EQ(0, QvTraceSetSysTimeFormatHandler(NoteTime));
    EXPECT_EQ(0, QvTraceSetNewCallStackHandler(NoteCallStack));
    QvTraceToDebugger(g_eLEVEL, g_eCATEGORY, g_ePACKAGE, "text", 4);
    QvTraceAllCallStacks(g_eLEVEL, g_eCATEGORY, g_ePACKAGE);
    QvTraceRemoveOutputHandler(NoteOutput);
    EXPECT_FALSE(g_bCalled);
}

TEST(TraceCalls, PermissionsAreForgotten)
{
    QvTraceSetPackagePermitted(g_ePACKAGE, true);
    EXPECT_EQ(0, QvTraceGetPackagePermitted(g_ePACKAGE));
    QvTraceAddLevelPermitted(g_eLEVEL);
    EXPECT_EQ(0, QvTraceGetLevelsPermitted());
    QvTraceRemoveLevelPermitted(g_eLEVEL);
    QvTraceAddCategoriesPermitted(g_eCATEGORY);
    EXPECT_EQ(0, QvTraceGetCategoriesPermitted());
    QvTraceRemoveCategoriesPermitted(g_eCATEGORY);
}

TEST(TraceCalls, FieldsStayInactive)
{
    EXPECT_EQ(0, QvTraceActivateField(g_eFIELD));
    EXPECT_EQ(0, QvTraceActivateDefaultFields());
    EXPECT_EQ(0, QvTraceActivateSyslogFields());
    EXPECT_EQ(0, QvTraceActivateAllFields());
    EXPECT_EQ(0, QvTraceFieldIsActive(g_eFIELD));
    EXPECT_EQ(0, QvTraceDeactivateField(g_eFIELD));
    EXPECT_EQ(0, QvTraceDeactivateAllFields());
    EXPECT_EQ(0, QvTraceSetHostNameField("host"));
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
