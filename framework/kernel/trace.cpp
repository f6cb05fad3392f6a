#include "framework/kernel/trace.h"

// A list of what does nothing.
// clang-format off
int QvTraceAddOutputHandler(PFNQvTraceOutputHandler) { return 0; }
void QvTraceRemoveOutputHandler(PFNQvTraceOutputHandler) {}
void QvTraceSetNewOutputHandler(PFNQvTraceOutputHandler) {}
int QvTraceSetNewFormatHandler(PFNQvTraceFormatHandler) { return 0; }
int QvTraceSetTimeFormatHandler(PFNQvTraceTimeFormatHandler) { return 0; }
int QvTraceSetSysTimeFormatHandler(PFNQvTraceTimeFormatHandler) { return 0; }
int QvTraceSetNewCallStackHandler(PFNQvTraceCallStackHandler) { return 0; }

void QvTraceSetPackagePermitted(EQvPackageId, bool) {}
bool QvTraceGetPackagePermitted(EQvPackageId) { return false; }

void QvTraceAddLevelPermitted(EQvTraceLevel) {}
void QvTraceRemoveLevelPermitted(EQvTraceLevel) {}
EQvTraceLevel QvTraceGetLevelsPermitted() { return eTRACE_LEVEL_NONE; }
void QvTraceAddCategoriesPermitted(EQvTraceCategory) {}
void QvTraceRemoveCategoriesPermitted(EQvTraceCategory) {}
EQvTraceCategory QvTraceGetCategoriesPermitted() { return eTRACE_CATEGORY_NONE; }

int QvTraceActivateField(EQvTraceField) { return 0; }
int QvTraceDeactivateField(EQvTraceField) { return 0; }
bool QvTraceFieldIsActive(EQvTraceField) { return false; }
int QvTraceActivateDefaultFields() { return 0; }
int QvTraceActivateSyslogFields() { return 0; }
int QvTraceActivateAllFields() { return 0; }
int QvTraceDeactivateAllFields() { return 0; }
int QvTraceSetHostNameField(const char*) { return 0; }

void QvTraceToStderr(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char*, int) {}
void QvTraceToStdout(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char*, int) {}
void QvTraceToDebugger(EQvTraceLevel, EQvTraceCategory, EQvPackageId, const char*, int) {}
void QvTraceAllCallStacks(EQvTraceLevel, EQvTraceCategory, EQvPackageId) {}
// clang-format on
