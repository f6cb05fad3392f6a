#include <cstdarg>
#include <cstring>

#include "tests/abi/framework_up.h"
#include "tests/support/object_bytes.h"

int QvStringCaseCompare(const char* pszLeft, const char* pszRight);
int QvStringCaseCompareLength(const char* pszLeft, const char* pszRight, int nLength);
int QvVsnprintf(char* pszBuf, int nSize, const char* pszFormat, va_list args);
int QvSnprintf(char* pszBuf, int nSize, const char* pszFormat, ...);
int QvStrErrorReentrant(char* pszBuf, int nSize, int nErrno);
int QvUnsignedInt32ToString(char* pszBuf, int nSize, unsigned int uValue, int nBase);
int QvUnsignedInt64ToString(char* pszBuf, int nSize, unsigned long uValue, int nBase);
unsigned long QvStringToUnsignedInt64(const char* pszText, char** ppszEnd, int nBase);
unsigned int AsciiToHex(bool bUpperCase, const unsigned char* puIn, unsigned int uInSize, unsigned char* puOut,
                        unsigned int uOutSize);
unsigned int HexToAscii(const unsigned char* puHex, unsigned int uHexSize, unsigned char* puOut, unsigned int uOutSize);
QvResult InitializeQvStringFormat();
void FinalizeQvStringFormat();

namespace
{
int FormatList(char* pszBuf, int nSize, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const int nWritten = QvVsnprintf(pszBuf, nSize, pszFormat, args);
    va_end(args);
    return nWritten;
}
}  // namespace

TEST(StringFormatCalls, FormattingReturnsTheSizeOfTheBufferWhereTheTextIsCut)
{
    char szText[8];
    EXPECT_EQ(2, QvSnprintf(szText, sizeof(szText), "%d", 42));
    EXPECT_STREQ("42", szText);
    EXPECT_EQ(4, FormatList(szText, 4, "%s%c", "abcde", 'f'));
    EXPECT_EQ("abcd", std::string(szText, 4));
}

TEST(StringFormatCalls, ComparisonsIgnoreCaseAndTheLengthIsSigned)
{
    EXPECT_EQ(0, QvStringCaseCompare("Orvel", "oRVEL"));
    EXPECT_EQ(0, QvStringCaseCompareLength("abX", "ABy", 2));
    EXPECT_GT(0, QvStringCaseCompareLength("abX", "ABy", 3));
}

TEST(StringFormatCalls, NumbersAreWrittenAndReadInTheirFullWidth)
{
    char szText[32];
    EXPECT_EQ(8, QvUnsignedInt32ToString(szText, sizeof(szText), 0xFFFFFFFFu, 16));
    EXPECT_STREQ("FFFFFFFF", szText);
    EXPECT_EQ(20, QvUnsignedInt64ToString(szText, sizeof(szText), ~0UL, 10));
    EXPECT_STREQ("18446744073709551615", szText);
    char* pszEnd = nullptr;
    EXPECT_EQ(~0UL, QvStringToUnsignedInt64("FFFFFFFFFFFFFFFF", nullptr, 16));
    const char* const pszStopped = "1aZ";
    EXPECT_EQ(26UL, QvStringToUnsignedInt64(pszStopped, &pszEnd, 16));
    EXPECT_EQ(pszStopped + 2, pszEnd);
}

TEST(StringFormatCalls, BytesBecomeHexadecimalTextAndComeBack)
{
    const unsigned char auBytes[] = {0xAB, 0x01};
    unsigned char auText[5];
    EXPECT_EQ(4u, AsciiToHex(true, auBytes, sizeof(auBytes), auText, sizeof(auText)));
    EXPECT_EQ("AB01", std::string(auText, auText + 4));
    unsigned char auBack[2] = {};
    EXPECT_EQ(2u, HexToAscii(auText, 4, auBack, 0));
    EXPECT_EQ(BytesAt(auBytes, 0, 2), BytesAt(auBack, 0, 2));
}

TEST(StringFormatCalls, TheTextOfAnErrorIsWrittenAndItsLengthReturnedOnceTheModuleIsUp)
{
    FinalizeQvStringFormat();
    EXPECT_EQ(QV_RES_OK, InitializeQvStringFormat());
    char szText[128];
    const int nLength = QvStrErrorReentrant(szText, sizeof(szText), 2);
    EXPECT_LT(0, nLength);
    EXPECT_EQ(static_cast<std::size_t>(nLength), std::strlen(szText));
}
