#include "examples/journal/refusal.h"

#include <cerrno>
#include <climits>
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
    if (QvFailed(res)) throw std::bad_alloc();
}

CString TextOf(const char* pszText)
{
    const size_t uSize = std::strlen(pszText);
    if (uSize >= PATH_MAX) Refuse("a name is longer than %d characters", PATH_MAX - 1);
    return TextOf(pszText, static_cast<unsigned int>(uSize));
}

CString TextOf(const char* pcText, unsigned int uSize)
{
    if (uSize == 0) return CString();
    CString strText(pcText, uSize);
    if (strText.GetSize() != uSize) throw std::bad_alloc();
    return strText;
}
