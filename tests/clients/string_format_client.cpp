#include "framework/kernel/string_format.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
#if defined(__GNUC__)
__attribute__((format(printf, 3, 4)))
#endif
int
FormatList(char* pszBuf, int nSize, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const int nCount = QvVsnprintf(pszBuf, nSize, pszFormat, args);
    va_end(args);
    return nCount;
}

void Texts()
{
    Promised<int (*)(char*, int, const char*, va_list)>(&QvVsnprintf);
    Promised<int (*)(char*, int, const char*, ...)>(&QvSnprintf);
    char szText[64];
    CHECK(FormatList(szText, 8, "%d", 42) == 2 && std::strcmp(szText, "42") == 0);
    CHECK(QvSnprintf(szText, 4, "%s", "abcdef") == 4 && std::memcmp(szText, "abcd", 4) == 0);
    CHECK(QvSnprintf(szText, sizeof szText, "%s-%c", "text", 'x') == 6);

    Promised<int (*)(char*, int, int)>(&QvStrErrorReentrant);
    CHECK(QvStrErrorReentrant(szText, sizeof szText, ENOENT) > 0);
    CHECK(std::strcmp(szText, std::strerror(ENOENT)) == 0);

    Promised<int (*)(const char*, const char*)>(&QvStringCaseCompare);
    CHECK(QvStringCaseCompare("TEXT", "text") == 0 && QvStringCaseCompare("a", "B") < 0);
    Promised<int (*)(const char*, const char*, int)>(&QvStringCaseCompareLength);
    CHECK(QvStringCaseCompareLength("TEXt1", "text2", 4) == 0);
}

void Numbers()
{
    Promised<int (*)(char*, int, unsigned int, int)>(&QvUnsignedInt32ToString);
    Promised<int (*)(char*, int, unsigned long, int)>(&QvUnsignedInt64ToString);
    Promised<unsigned long (*)(const char*, char**, int)>(&QvStringToUnsignedInt64);
    char szText[32];
    CHECK(QvUnsignedInt32ToString(szText, 10, 255, 16) == 2 && std::strcmp(szText, "FF") == 0);
    CHECK(QvUnsignedInt32ToString(szText, 10, 5, 1) == 1 && std::strcmp(szText, "?") == 0);
    CHECK(QvUnsignedInt32ToString(szText, 10, 0, 10) == 1 && std::strcmp(szText, "0") == 0);
    CHECK(QvUnsignedInt64ToString(szText, sizeof szText, ~0UL, 10) == 20);
    CHECK(QvUnsignedInt64ToString(szText, sizeof szText, 0, 2) == 1);

    const char* const pszNumber = "1aZ";
    char* pszEnd = nullptr;
    CHECK(QvStringToUnsignedInt64(pszNumber, &pszEnd, 16) == 26 && pszEnd == pszNumber + 2);
    CHECK(QvStringToUnsignedInt64(pszNumber, &pszEnd, 36) == 46 && pszEnd == pszNumber + 2);
    CHECK(QvStringToUnsignedInt64("77", nullptr, 8) == 63);
    CHECK(QvStringToUnsignedInt64("77", 0, 10) == 77);
    CHECK(QvStringToUnsignedInt64("77", NULL, 1) == 0);
}

void Hex()
{
    Promised<unsigned int (*)(bool, const unsigned char*, unsigned int, unsigned char*, unsigned int)>(&AsciiToHex);
    Promised<unsigned int (*)(const unsigned char*, unsigned int, unsigned char*, unsigned int)>(&HexToAscii);
    const unsigned char auBytes[2] = {0xAB, 0x01};
    unsigned char auHex[5];
    CHECK(AsciiToHex(false, auBytes, 2, auHex, 5) == 4 && std::memcmp(auHex, "ab01", 5) == 0);
    CHECK(AsciiToHex(true, auBytes, sizeof auBytes, auHex, sizeof auHex) == 4 && std::memcmp(auHex, "AB01", 5) == 0);
    const unsigned char auDigits[4] = {'0', 'a', 'F', 'F'};
    unsigned char auDecoded[2] = {0, 0};
    CHECK(HexToAscii(auDigits, 4, auDecoded, 0) == 2 && auDecoded[0] == 0x0A && auDecoded[1] == 0xFF);
}
}  // namespace

void StringFormatClient()
{
    Texts();
    Numbers();
    Hex();
    Promised<QvResult (*)()>(&InitializeQvStringFormat);
    Promised<void (*)()>(&FinalizeQvStringFormat);
    FinalizeQvStringFormat();
    CHECK(InitializeQvStringFormat() == QV_RES_OK);
}
