#include "framework/kernel/string_format.h"

#include <ctype.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>

#include <algorithm>
#include <memory>
#include <new>
#include <type_traits>

#include "framework/kernel/internal/lifetime.h"
#include "framework/kernel/mutex.h"

namespace
{
alignas(CMutex) unsigned char g_auMutex[sizeof(CMutex)];
CMutex* g_pmutex = nullptr;

const char* FormatOrEmpty(const char* pszFormat)
{
    return pszFormat != nullptr ? pszFormat : "";
}

// Formats the text again, cut to nSize characters and without a terminator.
void FormatCut(char* pszBuf, int nSize, const char* pszFormat, va_list args)
{
    const size_t uSize = static_cast<size_t>(nSize);
    char szShort[256];
    std::unique_ptr<char[]> pszLong;
    char* pszText = szShort;
    if (uSize + 1 > sizeof(szShort))
    {
        pszLong.reset(new char[uSize + 1]);
        pszText = pszLong.get();
    }
    vsnprintf(pszText, uSize + 1, pszFormat, args);
    // Not memcpy(): if the text itself contains a NUL, it ends there, and zeros follow.
    strncpy(pszBuf, pszText, uSize);
}

// Writes the digits of uValue so that they end at pszEnd; returns where they begin. For some bases, Base is a type that
// holds the value as a constant, so that the compiler can turn the division by it into a multiplication.
template <typename Base>
char* WriteDigits(char* pszEnd, uint64_t uValue, Base base)
{
    do {
        *--pszEnd = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[uValue % base];
        uValue /= base;
    } while (uValue != 0);
    return pszEnd;
}

int NumberToString(char* pszBuf, int nSize, uint64_t uValue, int nBase)
{
    char szDigits[64];  // base 2 needs one for each bit
    char* const pszEnd = szDigits + sizeof(szDigits);
    char* pszText = pszEnd;
    if (nBase < 2 || nBase > 36) *--pszText = '?';
    else if (nBase == 10) pszText = WriteDigits(pszEnd, uValue, std::integral_constant<uint64_t, 10>());
    else pszText = WriteDigits(pszEnd, uValue, static_cast<uint64_t>(nBase));
    const int nCount = std::min(static_cast<int>(pszEnd - pszText), std::max(nSize, 0));
    std::copy_n(pszText, nCount, pszBuf);
    if (nCount < nSize) pszBuf[nCount] = '\0';
    return nCount;
}

bool IsHexDigit(unsigned char uCharacter)
{
    return isxdigit(uCharacter) != 0;
}

// The value of a digit or letter; for any other character the result is meaningless.
unsigned int DigitValue(unsigned char uCharacter)
{
    if (uCharacter >= '0' && uCharacter <= '9') return uCharacter - unsigned{'0'};
    return static_cast<unsigned int>(toupper(uCharacter)) - ('A' - 10);
}
}  // namespace

int QvStringCaseCompare(const char* pszA, const char* pszB)
{
    return strcasecmp(pszA, pszB);
}

int QvStringCaseCompareLength(const char* pszA, const char* pszB, int n)
{
    return strncasecmp(pszA, pszB, static_cast<size_t>(std::max(n, 0)));
}

int QvVsnprintf(char* pszBuf, int nSize, const char* pszFormat, va_list args)
{
    nSize = std::max(nSize, 0);
    va_list argsOfFirstPass;
    va_copy(argsOfFirstPass, args);
    const int nLength = vsnprintf(pszBuf, static_cast<size_t>(nSize), FormatOrEmpty(pszFormat), argsOfFirstPass);
    va_end(argsOfFirstPass);
    if (nLength < nSize) return nLength;
    if (nSize > 0) FormatCut(pszBuf, nSize, FormatOrEmpty(pszFormat), args);
    return nSize;
}

int QvSnprintf(char* pszBuf, int nSize, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const int nResult = QvVsnprintf(pszBuf, nSize, pszFormat, args);
    va_end(args);
    return nResult;
}

int QvStrErrorReentrant(char* pszBuf, int nSize, int nErrno)
{
    const CMutexGuard guard(orvel_internal::RequireUp(g_pmutex, "QvStrErrorReentrant()"));
    return QvSnprintf(pszBuf, nSize, "%s", strerror(nErrno));
}

int QvUnsignedInt32ToString(char* pszBuf, int nSize, unsigned int uValue, int nBase)
{
    return NumberToString(pszBuf, nSize, uValue, nBase);
}

int QvUnsignedInt64ToString(char* pszBuf, int nSize, unsigned long uValue, int nBase)
{
    return NumberToString(pszBuf, nSize, uValue, nBase);
}

QV_CACHE_LINE_ALIGNED unsigned long QvStringToUnsignedInt64(const char* pszText, char** ppszEnd, int nBase)
{
    unsigned long uValue = 0;
    const char* pszNext = pszText;
    if (nBase >= 2 && nBase <= 36 && pszText != nullptr)
    {
        const unsigned int uBase = static_cast<unsigned int>(nBase);
        for (;; ++pszNext)
        {
            const unsigned char uCharacter = static_cast<unsigned char>(*pszNext);
            if (!IsHexDigit(uCharacter) || DigitValue(uCharacter) >= uBase) break;
            uValue = uValue * uBase + DigitValue(uCharacter);
        }
    }
    if (ppszEnd != nullptr) *ppszEnd = const_cast<char*>(pszNext);
    return uValue;
}

unsigned int AsciiToHex(bool bUpperCase, const unsigned char* puIn, unsigned int uInSize, unsigned char* puOut,
                        unsigned int uOutSize)
{
    const char* const pszDigits = bUpperCase ? "0123456789ABCDEF" : "0123456789abcdef";
    unsigned int uWritten = 0;
    // The index has 8 bits, so that an input of 256 bytes or more starts over after its 256th byte: kept, and pinned by
    // CAsciiToHex.StartsOverAfter256Bytes.
    for (uint8_t uIndex = 0; uIndex < uInSize && uint64_t{uWritten} + 1 < uOutSize; ++uIndex)
    {
        puOut[uWritten] = static_cast<unsigned char>(pszDigits[puIn[uIndex] >> 4]);
        puOut[uWritten + 1] = static_cast<unsigned char>(pszDigits[puIn[uIndex] & 0x0F]);
        puOut[uWritten + 2] = '\0';
        uWritten += 2;
    }
    return uWritten;
}

unsigned int HexToAscii(const unsigned char* puHex, unsigned int uHexSize, unsigned char* puOut,
                        unsigned int /*uOutSize*/)
{
    unsigned int uWritten = 0;
    for (uint64_t uRead = 0; uRead < uHexSize; uRead += 2, ++uWritten)
    {
        const unsigned char uHigh = puHex[uRead];
        const unsigned char uLow = puHex[uRead + 1];
        if (IsHexDigit(uHigh)) puOut[uWritten] = static_cast<unsigned char>(DigitValue(uHigh) << 4);
        if (IsHexDigit(uLow)) puOut[uWritten] = static_cast<unsigned char>(puOut[uWritten] + DigitValue(uLow));
    }
    return uWritten;
}

QvResult InitializeQvStringFormat()
{
    g_pmutex = new (g_auMutex) CMutex;
    return QV_RES_OK;
}

void FinalizeQvStringFormat()
{
    g_pmutex->~CMutex();
    g_pmutex = nullptr;
}
