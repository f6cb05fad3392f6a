// In a file of its own: a program may link a trace engine in place of the setters in trace.cpp, and this start-up then
// passes the time stamp handler to that engine.
#include "framework/kernel/string_format.h"
#include "framework/kernel/timer.h"
#include "framework/kernel/trace.h"

namespace
{
int FormatUpTime(char* pszBuf, int nSize)
{
    return QvUnsignedInt64ToString(pszBuf, nSize, CTimer::GetSystemUpTimeMs(), 10);
}
}  // namespace

QvResult InitializeQvTraceKernel()
{
    QvTraceSetSysTimeFormatHandler(FormatUpTime);
    return QV_RES_OK;
}

void FinalizeQvTraceKernel()
{
}

QvResult InitializeQvTraceTime()
{
    return QV_RES_OK;
}

void FinalizeQvTraceTime()
{
}
