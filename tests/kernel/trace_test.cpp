#include "framework/kernel/trace.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>

static_assert(sizeof(EQvTraceLevel) == 4 && sizeof(EQvTraceCategory) == 4 && sizeof(EQvTraceField) == 4);
static_assert((eTRACE_LEVEL_ERROR | eTRACE_LEVEL_INFO) == 10 && (eTRACE_CATEGORY_CALL | eTRACE_CATEGORY_STATE) == 3);

namespace
{
bool g_bCalled = false;

void Output(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char*, int)
{
    g_bCalled = true;
}

int Format(EQvTraceLevel, EQvTraceCategory, EQvPackageId, bool, char*, const char*, va_list)
{
    g_bCalled = true;
    return 0;
}

int FormatTime(char*, int)
{
    g_bCalled = true;
    return 0;
}

void TraceCallStack(EQvTraceLevel, EQvTraceCategory, EQvPackageId, void*)
{
    g_bCalled = true;
}

constexpr EQvTraceField g_aeFIELDS[] = {eTRACE_FIELD_TIME,
                                        eTRACE_FIELD_SYSTEM_TIME,
                                        eTRACE_FIELD_HOST_NAME,
                                        eTRACE_FIELD_PACKAGE,
                                        eTRACE_FIELD_TEXT,
                                        static_cast<EQvTraceField>(-1),
                                        static_cast<EQvTraceField>(INT_MAX)};
}  // namespace

TEST(QvTrace, SettersReturnZeroAndKeepNothing)
{
    g_bCalled = false;
    EXPECT_EQ(0, QvTraceAddOutputHandler(Output));
    EXPECT_EQ(0, QvTraceAddOutputHandler(QvTraceToStderr));
    QvTraceSetNewOutputHandler(Output);
    EXPECT_EQ(0, QvTraceSetNewFormatHandler(Format));
    EXPECT_EQ(0, QvTraceSetTimeFormatHandler(FormatTime));
    EXPECT_EQ(0, QvTraceSetSysTimeFormatHandler(FormatTime));
    EXPECT_EQ(0, QvTraceSetNewCallStackHandler(TraceCallStack));
    EXPECT_EQ(0, QvTraceSetHostNameField("host"));
    QvTraceToStderr(eTRACE_LEVEL_FATAL, eTRACE_CATEGORY_ALL, ePACKAGE_KERNEL, "text", 4);
    QvTraceAllCallStacks(eTRACE_LEVEL_FATAL, eTRACE_CATEGORY_ALL, ePACKAGE_KERNEL);
    QvTraceRemoveOutputHandler(Output);
    EXPECT_FALSE(g_bCalled);
}

TEST(QvTrace, SettersTakeNullAsWell)
{
    EXPECT_EQ(0, QvTraceAddOutputHandler(nullptr));
    QvTraceSetNewOutputHandler(nullptr);
    QvTraceRemoveOutputHandler(nullptr);
    EXPECT_EQ(0, QvTraceSetNewFormatHandler(nullptr));
    EXPECT_EQ(0, QvTraceSetTimeFormatHandler(nullptr));
    EXPECT_EQ(0, QvTraceSetSysTimeFormatHandler(nullptr));
    EXPECT_EQ(0, QvTraceSetNewCallStackHandler(nullptr));
    EXPECT_EQ(0, QvTraceSetHostNameField(nullptr));
}

TEST(QvTrace, NoPackageIsEverPermitted)
{
    for (EQvPackageId ePackageId : {ePACKAGE_FRAMEWORK, ePACKAGE_APPLICATION})
    {
        QvTraceSetPackagePermitted(ePackageId, true);
        EXPECT_FALSE(QvTraceGetPackagePermitted(ePackageId));
        QvTraceSetPackagePermitted(ePackageId, false);
        EXPECT_FALSE(QvTraceGetPackagePermitted(ePackageId));
    }
}

TEST(QvTrace, NoLevelAndNoCategoryIsEverPermitted)
{
    QvTraceAddLevelPermitted(eTRACE_LEVEL_ALL);
    EXPECT_EQ(0, QvTraceGetLevelsPermitted());
    QvTraceRemoveLevelPermitted(eTRACE_LEVEL_DEBUG);
    EXPECT_EQ(0, QvTraceGetLevelsPermitted());
    QvTraceAddCategoriesPermitted(eTRACE_CATEGORY_ALL);
    EXPECT_EQ(0, QvTraceGetCategoriesPermitted());
    QvTraceRemoveCategoriesPermitted(eTRACE_CATEGORY_CALL);
    EXPECT_EQ(0, QvTraceGetCategoriesPermitted());
}

TEST(QvTrace, NoFieldIsEverActive)
{
    for (EQvTraceField eField : g_aeFIELDS)
    {
        EXPECT_EQ(0, QvTraceActivateField(eField));
        EXPECT_FALSE(QvTraceFieldIsActive(eField));
        EXPECT_EQ(0, QvTraceActivateDefaultFields());
        EXPECT_EQ(0, QvTraceActivateSyslogFields());
        EXPECT_EQ(0, QvTraceActivateAllFields());
        EXPECT_FALSE(QvTraceFieldIsActive(eField));
        EXPECT_EQ(0, QvTraceDeactivateField(eField));
        EXPECT_EQ(0, QvTraceDeactivateAllFields());
        EXPECT_FALSE(QvTraceFieldIsActive(eField));
    }
}

TEST(QvTrace, OutputFunctionsWriteNothing)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const char* pszText : {"text", static_cast<const char*>(nullptr)})
    {
        QvTraceToStderr(eTRACE_LEVEL_ERROR, eTRACE_CATEGORY_CALL, ePACKAGE_BASIC, pszText, 4);
        QvTraceToStdout(eTRACE_LEVEL_ERROR, eTRACE_CATEGORY_CALL, ePACKAGE_BASIC, pszText, 4);
        QvTraceToDebugger(eTRACE_LEVEL_ERROR, eTRACE_CATEGORY_CALL, ePACKAGE_BASIC, pszText, 4);
    }
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST(QvTraceModules, StartAndStop)
{
    EXPECT_EQ(QV_RES_OK, InitializeQvTraceKernel());
    EXPECT_EQ(QV_RES_OK, InitializeQvTraceTime());
    FinalizeQvTraceTime();
    FinalizeQvTraceKernel();
}

// Programs that were built before have them compiled in.
TEST(QvTraceValues, StayAsTheyAre)
{
    const EQvTraceLevel aeLevels[] = {eTRACE_LEVEL_FATAL, eTRACE_LEVEL_ERROR, eTRACE_LEVEL_WARNING, eTRACE_LEVEL_INFO,
                                      eTRACE_LEVEL_DEBUG};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(1 << n, aeLevels[n]);
    EXPECT_EQ(0, eTRACE_LEVEL_NONE);
    EXPECT_EQ(31, eTRACE_LEVEL_ALL);
    const EQvTraceCategory aeCategories[] = {eTRACE_CATEGORY_CALL, eTRACE_CATEGORY_STATE, eTRACE_CATEGORY_MEMORY,
                                             eTRACE_CATEGORY_THREAD, eTRACE_CATEGORY_TIME};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(1 << n, aeCategories[n]);
    EXPECT_EQ(0, eTRACE_CATEGORY_NONE);
    EXPECT_EQ(65536, eTRACE_CATEGORY_APPLICATION);
    EXPECT_EQ(2147483647, eTRACE_CATEGORY_ALL);
    const EQvTraceField aeFields[] = {eTRACE_FIELD_TIME,       eTRACE_FIELD_SYSTEM_TIME, eTRACE_FIELD_HOST_NAME,
                                      eTRACE_FIELD_PROCESS_ID, eTRACE_FIELD_THREAD_ID,   eTRACE_FIELD_PACKAGE,
                                      eTRACE_FIELD_LEVEL,      eTRACE_FIELD_CATEGORY,    eTRACE_FIELD_TEXT};
    for (int n = 0; n < 9; ++n) EXPECT_EQ(n, aeFields[n]);
    const EQvPackageId aePackages[] = {ePACKAGE_FRAMEWORK, ePACKAGE_KERNEL, ePACKAGE_BASIC, ePACKAGE_ECOM,
                                       ePACKAGE_CRYPTO};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(n, aePackages[n]);
    EXPECT_EQ(1000, ePACKAGE_APPLICATION);
}
