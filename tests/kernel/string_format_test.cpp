// Random numbers, digits, formats and comparisons are the matter of fuzz/string_format_fuzz.cpp.
#include "framework/kernel/string_format.h"

#include <gtest/gtest.h>
#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr unsigned char g_uUNTOUCHED = 0xA5;

/// A buffer that shows what was written to it, and whether that went beyond its end.
class CBuffer
{
public:
    explicit CBuffer(unsigned int uSize) : m_bytes(uSize + 32, g_uUNTOUCHED), m_uSize(uSize) {}
    ~CBuffer() { EXPECT_EQ(m_uSize, m_uSize + Written(m_uSize)) << "written beyond the end"; }
    CBuffer(const CBuffer&) = delete;
    CBuffer& operator=(const CBuffer&) = delete;

    char* Chars() { return reinterpret_cast<char*>(m_bytes.data()); }
    unsigned char* Bytes() { return m_bytes.data(); }
    int Size() const { return static_cast<int>(m_uSize); }
    /// The first uCount bytes.
    std::string Text(std::size_t uCount) const
    {
        return std::string(m_bytes.begin(), m_bytes.begin() + Signed(uCount));
    }
    /// How many bytes from uFrom on were written to, up to the last one.
    unsigned int Written(unsigned int uFrom = 0) const
    {
        std::size_t u = m_bytes.size();
        while (u > uFrom && m_bytes[u - 1] == g_uUNTOUCHED) --u;
        return static_cast<unsigned int>(u) - uFrom;
    }
    /// Says that this many bytes beyond the size are in order, too.
    void Allow(unsigned int uMore) { m_uSize += uMore; }

private:
    static std::ptrdiff_t Signed(std::size_t u) { return static_cast<std::ptrdiff_t>(u); }

    std::vector<unsigned char> m_bytes;
    unsigned int m_uSize;
};

int Sign(int n)
{
    return (n > 0) - (n < 0);
}

/// What a conversion of a text leaves in a buffer: the characters that fit and, where room is left, a terminator.
void ExpectConverted(const std::string& rWant, CBuffer& rBuffer, int nResult)
{
    const std::size_t uRoom = static_cast<std::size_t>(rBuffer.Size());
    const std::string written = rWant.size() < uRoom ? rWant + '\0' : rWant.substr(0, uRoom);
    EXPECT_EQ(static_cast<int>(std::min(rWant.size(), uRoom)), nResult);
    EXPECT_EQ(written, rBuffer.Text(written.size()));
    EXPECT_EQ(written.size(), rBuffer.Written());
}
}  // namespace

struct SCompare
{
    const char* pszA;
    const char* pszB;
};

class CStringCaseCompare : public testing::TestWithParam<SCompare>
{
};

TEST_P(CStringCaseCompare, OrdersAsTheSystemDoes)
{
    const char* const pszA = GetParam().pszA;
    const char* const pszB = GetParam().pszB;
    EXPECT_EQ(Sign(strcasecmp(pszA, pszB)), Sign(QvStringCaseCompare(pszA, pszB)));
    EXPECT_EQ(Sign(strcasecmp(pszB, pszA)), Sign(QvStringCaseCompare(pszB, pszA)));
    for (int n = 0; n < 8; ++n)
    {
        EXPECT_EQ(Sign(strncasecmp(pszA, pszB, static_cast<std::size_t>(n))),
                  Sign(QvStringCaseCompareLength(pszA, pszB, n)))
            << n << " characters";
    }
}

INSTANTIATE_TEST_SUITE_P(Table, CStringCaseCompare,
                         testing::Values(SCompare{"", ""}, SCompare{"", "a"}, SCompare{"abc", "ABC"},
                                         SCompare{"abc", "ABD"}, SCompare{"abcd", "ABC"}, SCompare{"Z", "a"},
                                         SCompare{"_", "a"}, SCompare{"[", "A"}, SCompare{"abcX", "abcY"},
                                         SCompare{"\xE4", "\xC4"}, SCompare{"a\xFF", "A\x01"}));

TEST(CStringCaseCompareLength, ComparesNothingWhenTheLengthIsNotPositive)
{
    EXPECT_EQ(0, QvStringCaseCompareLength("a", "b", 0));
    EXPECT_EQ(0, QvStringCaseCompareLength("a", "b", -1));
    EXPECT_EQ(0, QvStringCaseCompareLength("a", "b", INT_MIN));
}

TEST(CStringCaseCompareLength, DoesNotReadPastTheLength)
{
    const char achUnterminated[] = {'a', 'b', 'c'};
    EXPECT_EQ(0, QvStringCaseCompareLength(achUnterminated, "ABCD", 3));
    EXPECT_EQ(0, QvStringCaseCompareLength("abc", "ABC", INT_MAX));
}

TEST(CSnprintf, ATextThatFitsIsTerminatedAndItsLengthReturned)
{
    CBuffer buffer(8);
    EXPECT_EQ(2, QvSnprintf(buffer.Chars(), 8, "%d", 42));
    EXPECT_EQ(std::string("42\0", 3), buffer.Text(3));
    EXPECT_EQ(3u, buffer.Written());
}

TEST(CSnprintf, ATextThatIsCutFillsTheBufferWithoutATerminatorAndReturnsItsSize)
{
    CBuffer buffer(4);
    EXPECT_EQ(4, QvSnprintf(buffer.Chars(), 4, "%s", "abcdef"));
    EXPECT_EQ("abcd", buffer.Text(4));
}

TEST(CSnprintf, EveryBufferSizeHoldsWhatFits)
{
    const std::string text = "12-abc-7.50-x";
    for (unsigned int uSize = 0; uSize < 20; ++uSize)
    {
        SCOPED_TRACE(uSize);
        CBuffer buffer(uSize);
        const int nResult = QvSnprintf(buffer.Chars(), buffer.Size(), "%d-%s-%.2f-%c", 12, "abc", 7.5, 'x');
        if (text.size() < uSize) ExpectConverted(text, buffer, nResult);
        else
        {
            EXPECT_EQ(buffer.Size(), nResult);
            EXPECT_EQ(text.substr(0, uSize), buffer.Text(uSize));
        }
    }
}

TEST(CSnprintf, IsCutAroundTheSizeFromWhichOnMemoryIsAllocated)
{
    std::string text;
    for (int n = 0; n < 300; ++n) text += static_cast<char>('a' + n % 23);
    for (unsigned int uSize = 254; uSize < 260; ++uSize)
    {
        SCOPED_TRACE(uSize);
        CBuffer buffer(uSize);
        EXPECT_EQ(buffer.Size(), QvSnprintf(buffer.Chars(), buffer.Size(), "%s", text.c_str()));
        EXPECT_EQ(text.substr(0, uSize), buffer.Text(uSize));
    }
}

TEST(CSnprintf, ALongTextIsCutToo)
{
    const std::string text(100000, 'x');
    CBuffer buffer(70000);
    EXPECT_EQ(70000, QvSnprintf(buffer.Chars(), buffer.Size(), "%s", text.c_str()));
    EXPECT_EQ(text.substr(0, 70000), buffer.Text(70000));
}

TEST(CSnprintf, WithoutRoomNothingIsWritten)
{
    CBuffer buffer(4);
    EXPECT_EQ(0, QvSnprintf(buffer.Chars(), 0, "%s", "abc"));
    EXPECT_EQ(0, QvSnprintf(buffer.Chars(), 0, "%s", ""));
    EXPECT_EQ(0, QvSnprintf(nullptr, 0, "%s", "abc"));
    EXPECT_EQ(0u, buffer.Written());
}

TEST(CSnprintf, ANegativeSizeCountsAsNone)
{
    CBuffer buffer(4);
    for (int nSize : {-1, -4, INT_MIN}) EXPECT_EQ(0, QvSnprintf(buffer.Chars(), nSize, "%s", "abc")) << nSize;
    EXPECT_EQ(0u, buffer.Written());
}

TEST(CSnprintf, ACutTextEndsAtACharacterOfValueZeroInIt)
{
    CBuffer buffer(5);
    EXPECT_EQ(5, QvSnprintf(buffer.Chars(), 5, "ab%cdefg", '\0'));
    EXPECT_EQ(std::string("ab\0\0\0", 5), buffer.Text(5)) << "copied with strncpy()";
}

TEST(CSnprintf, AnErrorOfTheSystemIsReturned)
{
    char achBuffer[8];
    const wchar_t awchInvalid[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    ASSERT_GT(0, std::snprintf(achBuffer, sizeof(achBuffer), "%ls", awchInvalid));
    EXPECT_GT(0, QvSnprintf(achBuffer, sizeof(achBuffer), "%ls", awchInvalid));
    EXPECT_GT(0, QvSnprintf(achBuffer, 0, "%ls", awchInvalid));
}

TEST(CSnprintf, ANullFormatCountsAsAnEmptyOne)
{
    CBuffer buffer(4);
    const char* volatile pszFormat = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    EXPECT_EQ(0, QvSnprintf(buffer.Chars(), 4, pszFormat));
#pragma GCC diagnostic pop
    EXPECT_EQ(std::string(1, '\0'), buffer.Text(1));
    EXPECT_EQ(1u, buffer.Written());
}

namespace
{
__attribute__((format(printf, 3, 4))) int ThroughList(char* pszBuf, int nSize, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const int nResult = QvVsnprintf(pszBuf, nSize, pszFormat, args);
    va_end(args);
    return nResult;
}
}  // namespace

TEST(CVsnprintf, FormatsAnArgumentListCutOrNot)
{
    CBuffer whole(32);
    EXPECT_EQ(9, ThroughList(whole.Chars(), 32, "%s:%ld:%g", "ab", 1234l, 2.0));
    EXPECT_EQ(std::string("ab:1234:2"), whole.Text(9));
    CBuffer cut(6);
    EXPECT_EQ(6, ThroughList(cut.Chars(), 6, "%s:%ld:%g", "ab", 1234l, 2.0));
    EXPECT_EQ(std::string("ab:123"), cut.Text(6));
}

TEST(CStrErrorReentrant, WritesTheTextOfTheSystem)
{
    for (int nErrno : {0, 1, 2, 12, 110, -5, 99999})
    {
        const std::string want = std::strerror(nErrno);
        CBuffer buffer(200);
        EXPECT_EQ(static_cast<int>(want.size()), QvStrErrorReentrant(buffer.Chars(), 200, nErrno));
        EXPECT_STREQ(want.c_str(), buffer.Chars());
        CBuffer cut(5);
        EXPECT_EQ(5, QvStrErrorReentrant(cut.Chars(), 5, nErrno));
        EXPECT_EQ(want.substr(0, 5), cut.Text(5));
    }
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

TEST(CNumberToString, KnowsPublishedTexts)
{
    CBuffer buffer(10);
    EXPECT_EQ(2, QvUnsignedInt32ToString(buffer.Chars(), 10, 255, 16));
    EXPECT_STREQ("FF", buffer.Chars());
    CBuffer large(30);
    EXPECT_EQ(20, QvUnsignedInt64ToString(large.Chars(), 30, ULONG_MAX, 10));
    EXPECT_STREQ("18446744073709551615", large.Chars());
    CBuffer last(2);
    EXPECT_EQ(1, QvUnsignedInt32ToString(last.Chars(), 2, 35, 36));
    EXPECT_STREQ("Z", last.Chars());
}

TEST(CNumberToString, WritesAQuestionMarkInAnyOtherBase)
{
    for (int nBase : {1, 0, -1, -16, 37, 100, INT_MAX, INT_MIN})
    {
        for (unsigned long uValue : {0ul, 5ul, ULONG_MAX})
        {
            for (unsigned int uSize : {0u, 1u, 2u, 10u})
            {
                CBuffer wide(uSize);
                ExpectConverted("?", wide, QvUnsignedInt64ToString(wide.Chars(), wide.Size(), uValue, nBase));
                CBuffer narrow(uSize);
                ExpectConverted("?", narrow, QvUnsignedInt32ToString(narrow.Chars(), narrow.Size(), 9, nBase));
            }
        }
    }
}

TEST(CNumberToString, WritesNothingIntoANegativeSize)
{
    CBuffer buffer(8);
    for (int nSize : {-1, INT_MIN})
    {
        EXPECT_EQ(0, QvUnsignedInt32ToString(buffer.Chars(), nSize, 255, 16));
        EXPECT_EQ(0, QvUnsignedInt64ToString(buffer.Chars(), nSize, 0, 10));
        EXPECT_EQ(0, QvUnsignedInt64ToString(buffer.Chars(), nSize, 1, 99));
    }
    EXPECT_EQ(0u, buffer.Written());
}

struct SParse
{
    const char* pszText;
    int nBase;
    unsigned long uWant;
    std::ptrdiff_t nConsumed;
};

class CStringToNumber : public testing::TestWithParam<SParse>
{
};

TEST_P(CStringToNumber, ReadsWhatIsADigitOfItsBase)
{
    const char* const pszText = GetParam().pszText;
    char* pszEnd = nullptr;
    EXPECT_EQ(GetParam().uWant, QvStringToUnsignedInt64(pszText, &pszEnd, GetParam().nBase));
    EXPECT_EQ(GetParam().nConsumed, pszEnd - pszText);
    EXPECT_EQ(GetParam().uWant, QvStringToUnsignedInt64(pszText, nullptr, GetParam().nBase));
}

INSTANTIATE_TEST_SUITE_P(
    Table, CStringToNumber,
    testing::Values(SParse{"1aZ", 16, 26, 2}, SParse{"1aZ", 36, 46, 2}, SParse{"1AZ", 36, 46, 2}, SParse{"", 10, 0, 0},
                    SParse{"0", 10, 0, 1}, SParse{"00012", 10, 12, 5}, SParse{"12a", 10, 12, 2},
                    SParse{"129", 9, 11, 2}, SParse{"1012", 2, 5, 3}, SParse{"2", 2, 0, 0}, SParse{" 1", 10, 0, 0},
                    SParse{"+1", 10, 0, 0}, SParse{"-1", 10, 0, 0}, SParse{"0x1F", 16, 0, 1}, SParse{"fFg", 17, 270, 2},
                    SParse{"G", 36, 0, 0}, SParse{"g", 17, 0, 0}, SParse{"f", 15, 0, 0}, SParse{"e", 15, 14, 1},
                    SParse{"aB", 12, 131, 2}, SParse{"12", 1, 0, 0}, SParse{"12", 0, 0, 0}, SParse{"12", -10, 0, 0},
                    SParse{"12", 37, 0, 0}, SParse{"12", INT_MAX, 0, 0}, SParse{"12", INT_MIN, 0, 0},
                    SParse{"1/", 16, 1, 1}, SParse{"1:", 16, 1, 1}, SParse{"1@", 16, 1, 1}, SParse{"1`", 36, 1, 1},
                    SParse{"1\xFF", 36, 1, 1}, SParse{"1\x80", 16, 1, 1}, SParse{"ffffffffffffffff", 16, ULONG_MAX, 16},
                    SParse{"1ffffffffffffffff", 16, ULONG_MAX, 17}, SParse{"10000000000000000", 16, 0, 17},
                    SParse{"18446744073709551615", 10, ULONG_MAX, 20}, SParse{"18446744073709551617", 10, 1, 20}));

TEST(CStringToNumber, ReadsNothingFromNoText)
{
    char achAny[1];
    char* pszEnd = achAny;
    EXPECT_EQ(0u, QvStringToUnsignedInt64(nullptr, &pszEnd, 10));
    EXPECT_EQ(nullptr, pszEnd);
}

TEST(CAsciiToHex, KnowsPublishedTexts)
{
    const unsigned char auInput[] = {0xAB, 0x01};
    CBuffer buffer(5);
    EXPECT_EQ(4u, AsciiToHex(false, auInput, 2, buffer.Bytes(), 5));
    EXPECT_EQ(std::string("ab01\0", 5), buffer.Text(5));
    EXPECT_EQ(4u, AsciiToHex(true, auInput, 2, buffer.Bytes(), 5));
    EXPECT_EQ(std::string("AB01\0", 5), buffer.Text(5));
}

TEST(CAsciiToHex, AnEvenSizePutsTheTerminatorBehindTheOutput)
{
    const unsigned char auInput[] = {0xAB, 0x01};
    CBuffer buffer(4);
    buffer.Allow(1);
    EXPECT_EQ(4u, AsciiToHex(false, auInput, 2, buffer.Bytes(), 4));
    EXPECT_EQ(std::string("ab01\0", 5), buffer.Text(5));
}

TEST(CAsciiToHex, StartsOverAfter256Bytes)
{
    std::vector<unsigned char> input(257, 0);
    input[0] = 0x11;
    input[255] = 0xEE;
    input[256] = 0x77;
    CBuffer buffer(1025);
    EXPECT_EQ(1024u, AsciiToHex(false, input.data(), 257, buffer.Bytes(), 1025));
    EXPECT_EQ("11", buffer.Text(2));
    EXPECT_EQ("ee1100", buffer.Text(516).substr(510));
    EXPECT_EQ(std::string("ee\0", 3), buffer.Text(1025).substr(1022));
}

namespace
{
/// Decodes a copy, before which and behind which nothing may be read, into a buffer with a known content.
void ExpectDecoded(const std::string& rHex, unsigned int uHexSize, const std::vector<unsigned char>& rWant,
                   unsigned int uOutSize)
{
    SCOPED_TRACE(rHex);
    const std::vector<unsigned char> hex(rHex.begin(), rHex.end());
    CBuffer buffer(static_cast<unsigned int>(rWant.size()));
    EXPECT_EQ(rWant.size(), HexToAscii(hex.data(), uHexSize, buffer.Bytes(), uOutSize));
    EXPECT_EQ(std::string(rWant.begin(), rWant.end()), buffer.Text(rWant.size()));
}
}  // namespace

TEST(CHexToAscii, DecodesPairsOfEitherCaseWhateverTheOutputSizeSays)
{
    for (unsigned int uOutSize : {0u, 1u, 2u, 1000u, UINT_MAX})
    {
        ExpectDecoded("0aFF", 4, {0x0A, 0xFF}, uOutSize);
        ExpectDecoded("", 0, {}, uOutSize);
        ExpectDecoded("0123456789abcdefABCDEF", 22, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0xAB, 0xCD, 0xEF},
                      uOutSize);
    }
}

TEST(CHexToAscii, DecodesEveryByte)
{
    for (int n = 0; n < 256; ++n)
    {
        char achHex[3];
        std::snprintf(achHex, sizeof(achHex), n % 2 == 0 ? "%02x" : "%02X", static_cast<unsigned int>(n));
        ExpectDecoded(achHex, 2, {static_cast<unsigned char>(n)}, 1);
    }
}

TEST(CHexToAscii, AFirstCharacterThatIsNoDigitLeavesWhatTheByteHeldAndTheSecondIsAdded)
{
    ExpectDecoded("g3", 2, {g_uUNTOUCHED + 3}, 1);
    ExpectDecoded(":f", 2, {g_uUNTOUCHED + 15}, 1);
    unsigned char uByte = 0xF8;
    EXPECT_EQ(1u, HexToAscii(reinterpret_cast<const unsigned char*>("xF"), 2, &uByte, 1));
    EXPECT_EQ(0x07, uByte);
}

TEST(CHexToAscii, ASecondCharacterThatIsNoDigitAddsNothing)
{
    ExpectDecoded("3g", 2, {0x30}, 1);
    ExpectDecoded("f/", 2, {0xF0}, 1);
    ExpectDecoded("zz", 2, {g_uUNTOUCHED}, 1);
    ExpectDecoded("zz4G@1", 6, {g_uUNTOUCHED, 0x40, g_uUNTOUCHED + 1}, 1);
}

TEST(CHexToAscii, NothingButDigitsIsADigit)
{
    for (int n = 0; n < 256; ++n)
    {
        const unsigned char auHex[] = {static_cast<unsigned char>(n), '5', '5', static_cast<unsigned char>(n)};
        unsigned char auOut[] = {0x90, 0x90};
        ASSERT_EQ(2u, HexToAscii(auHex, 4, auOut, 2));
        const std::string digits = "0123456789abcdef0123456789ABCDEF";
        const std::size_t uPos = digits.find(static_cast<char>(n));
        const bool bDigit = uPos != std::string::npos;
        EXPECT_EQ(bDigit ? (uPos % 16) * 16 + 5 : 0x95, auOut[0]) << n;
        EXPECT_EQ(bDigit ? 0x50 + uPos % 16 : 0x50, auOut[1]) << n;
    }
}

TEST(CHexToAscii, AnOddSizeReadsTheCharacterBehindTheLast)
{
    ExpectDecoded("ab7", 1, {0xAB}, 1);
    ExpectDecoded("ab7c", 3, {0xAB, 0x7C}, 2);
    ExpectDecoded(std::string("ab7\0", 4), 3, {0xAB, 0x70}, 2);
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
