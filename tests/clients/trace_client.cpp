#include "framework/kernel/trace.h"

#include <cstdarg>
#include <cstddef>
#include <initializer_list>
#include <type_traits>

#include "framework/kernel/package_id.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
static_assert(std::is_enum_v<EQvTraceLevel> && sizeof(EQvTraceLevel) == sizeof(int));
static_assert(std::is_enum_v<EQvTraceCategory> && sizeof(EQvTraceCategory) == sizeof(int));
static_assert(std::is_enum_v<EQvPackageId> && sizeof(EQvPackageId) == sizeof(int));
static_assert(std::is_enum_v<EQvTraceField> && sizeof(EQvTraceField) == sizeof(int));

void Output(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char*, int)
{
    CHECK(false);
}
int Format(EQvTraceLevel, EQvTraceCategory, EQvPackageId, bool, char*, const char*, va_list)
{
    return 0;
}
int TimeFormat(char*, int)
{
    return 0;
}
void CallStack(EQvTraceLevel, EQvTraceCategory, EQvPackageId, void*)
{
    CHECK(false);
}

constexpr EQvTraceLevel eLEVEL = static_cast<EQvTraceLevel>(1);
constexpr EQvTraceCategory eCATEGORY = static_cast<EQvTraceCategory>(2);
constexpr EQvPackageId ePACKAGE = static_cast<EQvPackageId>(3);
constexpr EQvTraceField eFIELD = static_cast<EQvTraceField>(4);

void Handlers()
{
    CHECK(QvTraceAddOutputHandler(Output) == 0);
    CHECK(QvTraceAddOutputHandler(&QvTraceToStderr) == 0);
    CHECK(QvTraceAddOutputHandler(&QvTraceToStdout) == 0);
    CHECK(QvTraceAddOutputHandler(&QvTraceToDebugger) == 0);
    CHECK(QvTraceAddOutputHandler(nullptr) == 0);
    QvTraceRemoveOutputHandler(&Output);
    QvTraceRemoveOutputHandler(NULL);
    QvTraceSetNewOutputHandler(&Output);
    QvTraceSetNewOutputHandler(0);
    CHECK(QvTraceSetNewFormatHandler(Format) == 0);
    CHECK(QvTraceSetNewFormatHandler(nullptr) == 0);
    CHECK(QvTraceSetTimeFormatHandler(TimeFormat) == 0);
    CHECK(QvTraceSetTimeFormatHandler(0) == 0);
    CHECK(QvTraceSetSysTimeFormatHandler(&TimeFormat) == 0);
    CHECK(QvTraceSetSysTimeFormatHandler(NULL) == 0);
    CHECK(QvTraceSetNewCallStackHandler(&CallStack) == 0);
    CHECK(QvTraceSetNewCallStackHandler(nullptr) == 0);
}
}  // namespace

void TraceClient()
{
    Handlers();
    Promised<void (*)(EQvPackageId, bool)>(&QvTraceSetPackagePermitted);
    QvTraceSetPackagePermitted(ePACKAGE, true);
    CHECK(QvTraceGetPackagePermitted(ePACKAGE) == 0);
    QvTraceAddLevelPermitted(eLEVEL);
    CHECK(QvTraceGetLevelsPermitted() == 0);
    QvTraceRemoveLevelPermitted(eLEVEL);
    QvTraceAddCategoriesPermitted(eCATEGORY);
    CHECK(QvTraceGetCategoriesPermitted() == 0);
    QvTraceRemoveCategoriesPermitted(eCATEGORY);
    CHECK(QvTraceActivateField(eFIELD) == 0);
    CHECK(QvTraceFieldIsActive(eFIELD) == 0);
    CHECK(QvTraceDeactivateField(eFIELD) == 0);
    CHECK(QvTraceActivateDefaultFields() == 0);
    CHECK(QvTraceActivateSyslogFields() == 0);
    CHECK(QvTraceActivateAllFields() == 0);
    CHECK(QvTraceDeactivateAllFields() == 0);
    const char* const pszHostName = "host";
    CHECK(QvTraceSetHostNameField(pszHostName) == 0);
    CHECK(QvTraceSetHostNameField(nullptr) == 0);

    using PFNOutput = void (*)(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char*, int);
    for (PFNOutput pfnOutput :
         {PFNOutput{&QvTraceToStderr}, PFNOutput{&QvTraceToStdout}, PFNOutput{&QvTraceToDebugger}})
    {
        pfnOutput(eLEVEL, eCATEGORY, ePACKAGE, "text", 4);
        pfnOutput(eLEVEL, eCATEGORY, ePACKAGE, nullptr, 0);
    }
    Promised<void (*)(EQvTraceLevel, EQvTraceCategory, EQvPackageId)>(&QvTraceAllCallStacks);
    QvTraceAllCallStacks(eLEVEL, eCATEGORY, ePACKAGE);

    Promised<QvResult (*)()>(&InitializeQvTraceKernel);
    CHECK(InitializeQvTraceKernel() == QV_RES_OK);
    Promised<void (*)()>(&FinalizeQvTraceKernel);
    FinalizeQvTraceKernel();
    CHECK(InitializeQvTraceTime() == QV_RES_OK);
    Promised<void (*)()>(&FinalizeQvTraceTime);
    FinalizeQvTraceTime();
}
