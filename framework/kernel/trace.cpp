#include "framework/kernel/trace.h"

#include "framework/kernel/unused_parameter.h"

int QvTraceAddOutputHandler(PFNQvTraceOutputHandler pfnHandler)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pfnHandler);
    return 0;
}

void QvTraceRemoveOutputHandler(PFNQvTraceOutputHandler pfnHandler)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pfnHandler);
}

void QvTraceSetNewOutputHandler(PFNQvTraceOutputHandler pfnHandler)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pfnHandler);
}

int QvTraceSetNewFormatHandler(PFNQvTraceFormatHandler pfnHandler)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pfnHandler);
    return 0;
}

int QvTraceSetTimeFormatHandler(PFNQvTraceTimeFormatHandler pfnHandler)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pfnHandler);
    return 0;
}

int QvTraceSetSysTimeFormatHandler(PFNQvTraceTimeFormatHandler pfnHandler)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pfnHandler);
    return 0;
}

int QvTraceSetNewCallStackHandler(PFNQvTraceCallStackHandler pfnHandler)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pfnHandler);
    return 0;
}

void QvTraceSetPackagePermitted(EQvPackageId ePackageId, bool bPermitted)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(ePackageId);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(bPermitted);
}

bool QvTraceGetPackagePermitted(EQvPackageId ePackageId)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(ePackageId);
    return false;
}

void QvTraceAddLevelPermitted(EQvTraceLevel eLevel)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eLevel);
}

void QvTraceRemoveLevelPermitted(EQvTraceLevel eLevel)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eLevel);
}

EQvTraceLevel QvTraceGetLevelsPermitted()
{
    return eTRACE_LEVEL_NONE;
}

void QvTraceAddCategoriesPermitted(EQvTraceCategory eCategories)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eCategories);
}

void QvTraceRemoveCategoriesPermitted(EQvTraceCategory eCategories)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eCategories);
}

EQvTraceCategory QvTraceGetCategoriesPermitted()
{
    return eTRACE_CATEGORY_NONE;
}

int QvTraceActivateField(EQvTraceField eField)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eField);
    return 0;
}

int QvTraceDeactivateField(EQvTraceField eField)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eField);
    return 0;
}

bool QvTraceFieldIsActive(EQvTraceField eField)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eField);
    return false;
}

int QvTraceActivateDefaultFields()
{
    return 0;
}

int QvTraceActivateSyslogFields()
{
    return 0;
}

int QvTraceActivateAllFields()
{
    return 0;
}

int QvTraceDeactivateAllFields()
{
    return 0;
}

int QvTraceSetHostNameField(const char* pszHostName)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pszHostName);
    return 0;
}

void QvTraceToStderr(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId, const char* pszText,
                     int nSize)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eLevel);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eCategory);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(ePackageId);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pszText);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(nSize);
}

void QvTraceToStdout(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId, const char* pszText,
                     int nSize)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eLevel);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eCategory);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(ePackageId);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pszText);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(nSize);
}

void QvTraceToDebugger(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId, const char* pszText,
                       int nSize)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eLevel);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eCategory);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(ePackageId);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(pszText);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(nSize);
}

void QvTraceAllCallStacks(EQvTraceLevel eLevel, EQvTraceCategory eCategory, EQvPackageId ePackageId)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eLevel);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(eCategory);
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(ePackageId);
}
