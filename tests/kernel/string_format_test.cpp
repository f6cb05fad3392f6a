// Numbers, digits, formats, cut texts, hexadecimal text and comparisons are the matter of fuzz/string_format_fuzz.cpp.
#include "framework/kernel/string_format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

TEST(CSnprintf, ALongTextIsCutAndNotTerminated)
{
    const std::string text(100000, 'x');
    std::string buffer(70001, '#');
    EXPECT_EQ(70000, QvSnprintf(buffer.data(), 70000, "%s", text.c_str()));
    EXPECT_EQ(text.substr(0, 70000) + "#", buffer);
}

TEST(CSnprintf, WithoutRoomOrWithANegativeSizeWritesNothing)
{
    char szText[] = "####";
    EXPECT_EQ(0, QvSnprintf(nullptr, 0, "%s", "abc"));
    for (int nSize : {0, -1, INT_MIN}) EXPECT_EQ(0, QvSnprintf(szText, nSize, "%s", "abc")) << nSize;
    EXPECT_STREQ("####", szText);
}

TEST(CSnprintf, ANullFormatCountsAsAnEmptyOne)
{
    char szText[] = "####";
    const char* volatile pszFormat = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    EXPECT_EQ(0, QvSnprintf(szText, 4, pszFormat));
#pragma GCC diagnostic pop
    EXPECT_EQ(std::string("\0###", 4), std::string(szText, 4));
}

TEST(CSnprintf, ACutTextEndsAtACharacterOfValueZeroInIt)
{
    char szText[] = "######";
    EXPECT_EQ(5, QvSnprintf(szText, 5, "ab%cdefg", '\0'));
    EXPECT_EQ(std::string("ab\0\0\0#", 6), std::string(szText, 6)) << "copied with strncpy()";
}

TEST(CSnprintf, AnErrorOfTheSystemIsReturned)
{
    char achBuffer[8];
    const wchar_t awchInvalid[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    ASSERT_GT(0, std::snprintf(achBuffer, sizeof(achBuffer), "%ls", awchInvalid));
    EXPECT_GT(0, QvSnprintf(achBuffer, sizeof(achBuffer), "%ls", awchInvalid));
    EXPECT_GT(0, QvSnprintf(achBuffer, 0, "%ls", awchInvalid));
}

TEST(CSnprintf, CountsCharactersForTheCaller)
{
    char szText[8];
    // Not a literal, which checked formatting would let pass.
    char szFormat[] = "ab%n";
    int nCount = 0;
    EXPECT_EQ(2, QvSnprintf(szText, sizeof(szText), szFormat, &nCount));
    EXPECT_EQ(2, nCount);
}

TEST(CStringCaseCompareLength, ComparesNothingWhenTheLengthIsNegativeAndNothingBehindIt)
{
    EXPECT_EQ(0, QvStringCaseCompareLength("a", "b", INT_MIN));
    EXPECT_EQ(0, QvStringCaseCompareLength("abc", "ABC", INT_MAX));
    const char achUnterminated[] = {'a', 'b', 'c'};
    EXPECT_EQ(0, QvStringCaseCompareLength(achUnterminated, "ABCD", 3));
}

TEST(CNumberToString, WritesAQuestionMarkInAnyOtherBaseAndNothingIntoANegativeSize)
{
    for (int nBase : {1, 37, INT_MAX, INT_MIN})
    {
        char szText[] = "####";
        EXPECT_EQ(0, QvUnsignedInt64ToString(szText, INT_MIN, 255, nBase));
        EXPECT_EQ(0, QvUnsignedInt32ToString(szText, -1, 255, nBase));
        EXPECT_STREQ("####", szText);
        EXPECT_EQ(1, QvUnsignedInt32ToString(szText, 1, 255, nBase));
        EXPECT_STREQ("?###", szText);
        EXPECT_EQ(1, QvUnsignedInt64ToString(szText, 2, ULONG_MAX, nBase));
        EXPECT_STREQ("?", szText);
    }
}

TEST(CStringToNumber, WrapsAndReadsNothingInOtherBasesOrFromNoText)
{
    EXPECT_EQ(46u, QvStringToUnsignedInt64("1aZ", nullptr, 36)) << "letters beyond F are no digits";
    EXPECT_EQ(1u, QvStringToUnsignedInt64("18446744073709551617", nullptr, 10));
    for (int nBase : {1, 37, INT_MAX, INT_MIN}) EXPECT_EQ(0u, QvStringToUnsignedInt64("12", nullptr, nBase));
    char achAny[1];
    char* pszEnd = achAny;
    EXPECT_EQ(0u, QvStringToUnsignedInt64(nullptr, &pszEnd, 10));
    EXPECT_EQ(nullptr, pszEnd);
}

TEST(CAsciiToHex, StartsOverAfter256Bytes)
{
    std::vector<unsigned char> input(257, 0);
    input[0] = 0x11;
    input[255] = 0xEE;
    input[256] = 0x77;
    unsigned char auOut[1025];
    EXPECT_EQ(1024u, AsciiToHex(false, input.data(), 257, auOut, sizeof(auOut)));
    EXPECT_EQ("ee1100", std::string(auOut + 510, auOut + 516));
    EXPECT_STREQ("ee", reinterpret_cast<const char*>(auOut) + 1022);
}

TEST(CStrErrorReentrant, GivesEveryThreadItsText)
{
    const std::string apWants[] = {std::strerror(1), std::strerror(2), std::strerror(987654)};
    const int anErrnos[] = {1, 2, 987654};
    std::vector<std::thread> threads;
    for (int n = 0; n < 3; ++n)
    {
        threads.emplace_back(
            [&, n]
            {
                for (int nRound = 0; nRound < 200; ++nRound)
                {
                    char achBuffer[100];
                    QvStrErrorReentrant(achBuffer, sizeof(achBuffer), anErrnos[n]);
                    EXPECT_EQ(apWants[n], achBuffer);
                }
            });
    }
    for (std::thread& rThread : threads) rThread.join();
}
