// Numbers in strings. <charconv> knows no locale and finds the shortest form of a fraction that gives it back.
#include <charconv>
#include <system_error>

#include "framework/basic/string.h"

namespace
{
bool IsBase(unsigned int uBase)
{
    return uBase >= 2 && uBase <= 36;
}

template <typename Number, typename... Base>
QvResult Parse(STextPiece text, Number* pNumber, Base... base)
{
    if (pNumber == nullptr) return QV_RES_INVALID_ARGUMENT;
    Number number;
    const char* const pEnd = text.pText + text.uSize;
    const std::from_chars_result result = std::from_chars(text.pText, pEnd, number, base...);
    if (result.ec == std::errc::invalid_argument || result.ptr != pEnd) return QV_RES_INVALID_ARGUMENT;
    if (result.ec != std::errc()) return QV_RES_FAIL;
    *pNumber = number;
    return QV_RES_OK;
}

template <typename Integer>
QvResult ParseInteger(STextPiece text, Integer* pNumber, unsigned int uBase)
{
    return IsBase(uBase) ? Parse(text, pNumber, static_cast<int>(uBase)) : QV_RES_INVALID_ARGUMENT;
}

template <typename Number, typename... Base>
QvResult Write(CString& rstrTo, Number number, Base... base)
{
    char acText[65];  // 64 binary digits and a sign; 24 characters for the longest fraction
    const std::to_chars_result result = std::to_chars(acText, acText + sizeof(acText), number, base...);
    return rstrTo.Append(acText, static_cast<unsigned int>(result.ptr - acText));
}

template <typename Integer>
QvResult WriteInteger(CString& rstrTo, Integer number, unsigned int uBase)
{
    return IsBase(uBase) ? Write(rstrTo, number, static_cast<int>(uBase)) : QV_RES_INVALID_ARGUMENT;
}
}  // namespace

QvResult CString::ParseNumber(STextPiece text, int64_t* pnNumber, unsigned int uBase)
{
    return ParseInteger(text, pnNumber, uBase);
}

QvResult CString::ParseNumber(STextPiece text, uint64_t* puNumber, unsigned int uBase)
{
    return ParseInteger(text, puNumber, uBase);
}

QvResult CString::ParseNumber(STextPiece text, double* pNumber)
{
    return Parse(text, pNumber);
}

QvResult CString::ParseNumber(STextPiece text, float* pNumber)
{
    return Parse(text, pNumber);
}

QvResult CString::AppendNumber(int64_t nNumber, unsigned int uBase)
{
    return WriteInteger(*this, nNumber, uBase);
}

QvResult CString::AppendNumber(uint64_t uNumber, unsigned int uBase)
{
    return WriteInteger(*this, uNumber, uBase);
}

QvResult CString::AppendNumber(double number)
{
    return Write(*this, number);
}

QvResult CString::AppendNumber(float number)
{
    return Write(*this, number);
}
