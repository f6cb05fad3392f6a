#ifndef EXAMPLES_JOURNAL_REFUSAL_H
#define EXAMPLES_JOURNAL_REFUSAL_H
#include "framework/framework.h"

/// Why the program gives up; thrown to main(), which prints it as one line.
class CRefusal
{
public:
    explicit CRefusal(const CString& rReason) : m_strReason(rReason) {}
    const CString& GetReason() const { return m_strReason; }

private:
    CString m_strReason;
};

[[noreturn]] void Refuse(const char* pszFormat, ...) __attribute__((format(printf, 1, 2)));
/// Refuses what was to be done with a file for the reason in errno.
[[noreturn]] void RefuseForErrno(const char* pszName);
/// What the framework is asked for here is always valid: a failure means that memory ran out.
void Check(QvResult res);
/// The string of a text. When memory runs out, the constructor of CString only makes an empty string, and an empty path
/// would name another file.
CString TextOf(const char* pszText);
CString TextOf(const char* pcText, unsigned int uSize);

#endif
