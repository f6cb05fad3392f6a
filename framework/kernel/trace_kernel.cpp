// Apart from the setters, so that a trace engine that a program links in their place is offered the time stamp.
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
