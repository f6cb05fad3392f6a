#include "examples/journal/refusal.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <new>

void Refuse(const char* pszFormat, ...)
{
    CString strReason;
    va_list args;
    va_start(args, pszFormat);
    const QvResult res = strReason.Format(0, pszFormat, args);
    va_end(args);
    Check(res);
    throw CRefusal(strReason);
}

void RefuseForErrno(const char* pszName)
{
    Refuse("%s: %s", pszName, std::strerror(errno));
}

void Check(QvResult res)
{
    if (res < 0) throw std::bad_alloc();
}
