// Numbers, hexadecimal digits, formatting and comparisons beside the C and C++ libraries' own.
// Options: -max_len=600
#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "framework/kernel/string_format.h"
#include "fuzz/check.h"
#include "fuzz/input.h"

namespace
{
using Buffer = std::vector<char>;

std::string_view ViewOf(const Buffer& rBuffer)
{
    return {rBuffer.data(), rBuffer.size()};
}

void NumberToText(CFuzzInput& rInput)
{
    const bool bWide = rInput.Flag();
    const int nBase = static_cast<int>(rInput.Below(40)) - 1;
    const int nSize = static_cast<int>(rInput.Below(70)) - 1;
    const std::uint64_t uValue = bWide ? rInput.Number<std::uint64_t>() : rInput.Number<std::uint32_t>();
    char szWant[65] = "?";
    std::size_t uLength = 1;
    if (nBase >= 2 && nBase <= 36)
    {
        uLength = static_cast<std::size_t>(std::to_chars(szWant, szWant + 64, uValue, nBase).ptr - szWant);
        for (char& rc : szWant) rc = rc >= 'a' && rc <= 'z' ? static_cast<char>(rc - 'a' + 'A') : rc;
    }
    const std::size_t uRoom = static_cast<std::size_t>(std::max(nSize, 0));
    const std::size_t uCopied = std::min(uLength, uRoom);
    Buffer want(uRoom, '#');
    std::copy_n(szWant, uCopied, want.begin());
    if (uCopied < uRoom) want[uCopied] = '\0';

    Buffer got(uRoom, '#');
    const int nGot = bWide ? QvUnsignedInt64ToString(got.data(), nSize, uValue, nBase)
                           : QvUnsignedInt32ToString(got.data(), nSize, static_cast<unsigned int>(uValue), nBase);
    RequireEqual(static_cast<int>(uCopied), nGot, "characters of a number");
    RequireEqual(ViewOf(want), ViewOf(got), "a number's text");
}

/// One digit after the other by the standard library; those beyond F are digits of no base here.
void TextToNumber(CFuzzInput& rInput)
{
    const int nBase = static_cast<int>(rInput.Below(40)) - 1;
    const std::string strText = rInput.Text(80);
    std::uint64_t uWant = 0;
    std::size_t uRead = 0;
    for (; nBase >= 2 && nBase <= 36 && uRead < strText.size(); ++uRead)
    {
        unsigned int uDigit = 0;
        const char* const pszDigit = strText.data() + uRead;
        if (std::from_chars(pszDigit, pszDigit + 1, uDigit, std::min(nBase, 16)).ec != std::errc()) break;
        uWant = uWant * static_cast<unsigned int>(nBase) + uDigit;
    }
    char* pszEnd = nullptr;
    RequireEqual(uWant, std::uint64_t{QvStringToUnsignedInt64(strText.c_str(), &pszEnd, nBase)}, "a text's number");
    RequireEqual(uRead, static_cast<std::size_t>(pszEnd - strText.c_str()), "digits read");
    RequireEqual(uWant, std::uint64_t{QvStringToUnsignedInt64(strText.c_str(), nullptr, nBase)}, "without an end");
}

void BytesToHex(CFuzzInput& rInput)
{
    const bool bUpper = rInput.Flag();
    std::vector<unsigned char> bytes = rInput.Bytes(60);
    // Beyond 256 bytes it begins anew.
    if (rInput.Below(8) == 0) bytes.resize(250 + rInput.Below(20), 0xC5);
    const unsigned int uOutSize = rInput.Below(8) == 0 ? rInput.Below(700) : rInput.Below(130);

    // A NUL may lie behind an even size.
    std::vector<unsigned char> want(uOutSize + 1, 0xEE);
    std::uint8_t uIndex = 0;
    unsigned int uAt = 0;
    while (uIndex < bytes.size() && uAt + 1 < uOutSize)
    {
        char szDigits[3];
        std::snprintf(szDigits, sizeof(szDigits), bUpper ? "%02X" : "%02x", bytes[uIndex++]);
        std::memcpy(&want[uAt], szDigits, sizeof(szDigits));
        uAt += 2;
    }
    std::vector<unsigned char> got(uOutSize + 1, 0xEE);
    RequireEqual(uAt, AsciiToHex(bUpper, bytes.data(), static_cast<unsigned int>(bytes.size()), got.data(), uOutSize),
                 "digits of bytes");
    RequireEqual(want, got, "bytes in hexadecimal");
}

/// The value of a hexadecimal digit, or -1.
int HexValue(unsigned char uCharacter)
{
    static const char szDIGITS[] = "0123456789abcdefABCDEF";
    const void* const pvAt = std::memchr(szDIGITS, uCharacter, sizeof(szDIGITS) - 1);
    if (pvAt == nullptr) return -1;
    const int nAt = static_cast<int>(static_cast<const char*>(pvAt) - szDIGITS);
    return nAt < 16 ? nAt : nAt - 6;
}

void HexToBytes(CFuzzInput& rInput)
{
    const unsigned int uHexSize = rInput.Below(100);
    // Of an odd size, the character behind is read as well.
    const std::vector<unsigned char> hex = rInput.Exactly(uHexSize + uHexSize % 2);
    std::vector<unsigned char> want(hex.size() / 2, 0x53);
    for (std::size_t u = 0; u < want.size(); ++u)
    {
        const int nHigh = HexValue(hex[2 * u]);
        const int nLow = HexValue(hex[2 * u + 1]);
        if (nHigh >= 0) want[u] = static_cast<unsigned char>(16 * nHigh);
        if (nLow >= 0) want[u] = static_cast<unsigned char>(want[u] + nLow);
    }
    std::vector<unsigned char> got(want.size(), 0x53);
    RequireEqual(static_cast<unsigned int>(want.size()), HexToAscii(hex.data(), uHexSize, got.data(), rInput.Byte()),
                 "bytes of digits");
    RequireEqual(want, got, "bytes from hexadecimal");
}

/// Formats twice: with the C library's function as it is described to be used, and with ours.
template <class... TArguments>
void CompareFormatted(int nSize, const std::string& rstrFormat, TArguments... arguments)
{
    const char* const pszFormat = rstrFormat.c_str();
    const std::size_t uRoom = static_cast<std::size_t>(std::max(nSize, 0));
    Buffer want(uRoom, '#');
    const int nLength = std::snprintf(want.data(), uRoom, pszFormat, arguments...);
    int nWant = nLength;
    if (nLength >= static_cast<int>(uRoom))
    {
        Buffer whole(uRoom + 1);
        std::snprintf(whole.data(), whole.size(), pszFormat, arguments...);
        // The characters up to a NUL that the text itself holds, then zeros.
        const std::size_t uText = strnlen(whole.data(), uRoom);
        std::fill(want.begin(), want.end(), '\0');
        std::copy_n(whole.begin(), uText, want.begin());
        nWant = static_cast<int>(uRoom);
    }
    Buffer got(uRoom, '#');
    RequireEqual(nWant, QvSnprintf(got.data(), nSize, pszFormat, arguments...), "QvSnprintf");
    RequireEqual(ViewOf(want), ViewOf(got), "a formatted text");
}

void Format(CFuzzInput& rInput)
{
    const int nSize =
        rInput.Below(4) == 0 ? static_cast<int>(rInput.Below(700)) : static_cast<int>(rInput.Below(40)) - 1;
    std::string strFormat = rInput.Text(12);
    strFormat.erase(std::remove(strFormat.begin(), strFormat.end(), '%'), strFormat.end());
    strFormat += "%%%";
    for (const char cFlag : {'-', '+', ' ', '0', '#'})
    {
        if (rInput.Below(5) == 0) strFormat += cFlag;
    }
    const unsigned int uWidth = rInput.Byte();
    if (uWidth < 64) strFormat += std::to_string(uWidth);
    else if (uWidth < 72) strFormat += std::to_string(uWidth * 8);
    const unsigned int uPrecision = rInput.Byte();
    if (uPrecision < 40) strFormat += "." + std::to_string(uPrecision);
    const int nNumber = rInput.Number<int>();
    switch (rInput.Below(8))
    {
        case 0: CompareFormatted(nSize, strFormat + "d|", nNumber); break;
        case 1: CompareFormatted(nSize, strFormat + "x|%u", nNumber, rInput.Number<unsigned int>()); break;
        case 2: CompareFormatted(nSize, strFormat + "s|%s", rInput.Text(60).c_str(), "end"); break;
        case 3: CompareFormatted(nSize, strFormat + "lld|%s", rInput.Number<long long>(), "end"); break;
        // Which may be a NUL in the middle of the text.
        case 4: CompareFormatted(nSize, strFormat + "c|%c", nNumber & 0xFF, nNumber >> 8 & 0xFF); break;
        case 5: CompareFormatted(nSize, strFormat + "g|%d", nNumber / 1024.0, nNumber); break;
        case 6:
            CompareFormatted(nSize, "%*.*s|", static_cast<int>(uWidth) - 100, static_cast<int>(uPrecision) - 100,
                             "abc");
            break;
        default: CompareFormatted(nSize, strFormat + "hho|%p", nNumber, static_cast<const void*>(&nSize)); break;
    }
}

int SignOf(int n)
{
    return (n > 0) - (n < 0);
}

/// The C locale has letters of ASCII only.
std::string InLowerCase(std::string strText)
{
    for (char& rc : strText) rc = rc >= 'A' && rc <= 'Z' ? static_cast<char>(rc - 'A' + 'a') : rc;
    return strText;
}

void CompareTexts(CFuzzInput& rInput)
{
    const int nLength = static_cast<int>(rInput.Below(40)) - 4;
    const std::string strA = rInput.Text(30);
    const std::string strB = rInput.Flag() ? strA + rInput.Text(3) : rInput.Text(30);
    const std::string strLowerA = InLowerCase(strA);
    const std::string strLowerB = InLowerCase(strB);
    RequireEqual(SignOf(strLowerA.compare(strLowerB)), SignOf(QvStringCaseCompare(strA.c_str(), strB.c_str())),
                 "compared");
    const std::size_t uLength = static_cast<std::size_t>(std::max(nLength, 0));
    RequireEqual(SignOf(strLowerA.substr(0, uLength).compare(strLowerB.substr(0, uLength))),
                 SignOf(QvStringCaseCompareLength(strA.c_str(), strB.c_str(), nLength)), "compared in part");
}

void ErrorText(CFuzzInput& rInput)
{
    const int nError = static_cast<int>(rInput.Below(256)) - 60;
    const int nSize = static_cast<int>(rInput.Below(60));
    const std::string strText = std::strerror(nError);
    Buffer got(static_cast<std::size_t>(nSize), '#');
    const int nLength = static_cast<int>(strText.size());
    RequireEqual(std::min(nLength, nSize), QvStrErrorReentrant(got.data(), nSize, nError), "an error's text");
    Require(std::equal(got.begin(), got.begin() + std::min(nLength, nSize), strText.begin()), "another error's text");
    if (nLength < nSize) Require(got[static_cast<std::size_t>(nLength)] == '\0', "not terminated");
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    for (unsigned int uStep = 0; !input.IsSpent() && uStep < 20; ++uStep)
    {
        const CFuzzStep step("step", uStep);
        switch (input.Below(8))
        {
            case 0: NumberToText(input); break;
            case 1: TextToNumber(input); break;
            case 2: BytesToHex(input); break;
            case 3: HexToBytes(input); break;
            case 4:
            case 5: Format(input); break;
            case 6: CompareTexts(input); break;
            default: ErrorText(input); break;
        }
    }
    return 0;
}
