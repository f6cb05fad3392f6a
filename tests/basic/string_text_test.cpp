// Texts put into strings, found, cut out and replaced in them: beside std::string. Numbers: beside the C library.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <random>
#include <ranges>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/string.h"
#include "framework/basic/vector.h"
#include "tests/support/page_end.h"
#include "tests/support/refusing_new.h"
#include "tests/support/string_probe.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
/// All texts of up to uMaxSize characters, which are a, b and NUL.
std::vector<std::string> AllTexts(std::size_t uMaxSize)
{
    std::vector<std::string> texts = {""};
    for (std::size_t u = 0; texts[u].size() < uMaxSize; ++u)
        for (const char c : {'a', 'b', '\0'}) texts.push_back(texts[u] + c);
    return texts;
}

std::vector<std::string> TextsOf(const CVector<CString>& rParts)
{
    std::vector<std::string> texts;
    for (const CString& rPart : rParts) texts.push_back(TextOf(rPart));
    return texts;
}

std::vector<std::string> PartsOf(const std::string& rText, char cSeparator)
{
    std::vector<std::string> parts(1);
    for (const char c : rText)
    {
        if (c == cSeparator) parts.emplace_back();
        else parts.back() += c;
    }
    return parts;
}

std::string Replaced(std::string strText, const std::string& rOld, const std::string& rNew)
{
    if (rOld.empty()) return strText;
    for (std::size_t u = 0; (u = strText.find(rOld, u)) != std::string::npos; u += rNew.size())
        strText.replace(u, rOld.size(), rNew);
    return strText;
}

std::string Trimmed(const std::string& rText, const std::string& rCharacters)
{
    const std::size_t uFirst = rText.find_first_not_of(rCharacters);
    if (uFirst == std::string::npos) return std::string();
    return rText.substr(uFirst, rText.find_last_not_of(rCharacters) - uFirst + 1);
}

/// Assign() and Append() alike: what was there, and what is there afterwards.
struct SPut
{
    const char* pszName;
    bool bAppends;
    QvResult (*pfnPut)(CString& rstr, const std::string& rText);
};
class CStringPut : public testing::TestWithParam<SPut>
{
protected:
    static std::string Wanted(const std::string& rOld, const std::string& rText)
    {
        return GetParam().bAppends ? rOld + rText : rText;
    }
};
}  // namespace

TEST_P(CStringPut, TakesEverySizeAsItIsAndTellsWhatIsTooLong)
{
    for (const std::size_t uOld : {std::size_t{0}, std::size_t{1}, std::size_t{32}, std::size_t{65535}})
        for (const std::size_t uSize : {0u, 1u, 5u, 31u, 32u, 33u, 64u, 65503u, 65534u, 65535u, 65536u, 131073u})
            for (const bool bShared : {false, true})
            {
                SCOPED_TRACE(testing::Message() << uSize << " at " << uOld << (bShared ? ", shared" : ""));
                std::string strText(uSize, 'x');
                if (uSize > 3) strText[3] = '\0';
                const std::string strOld(uOld, 'o');
                CString str(strOld.c_str());
                const CString strCopy(bShared ? str : CString());
                const std::string strWant = Wanted(strOld, strText);
                const bool bFits = strWant.size() <= 65535;
                EXPECT_EQ(bFits ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, GetParam().pfnPut(str, strText));
                EXPECT_EQ(bFits ? strWant : strOld, TextOf(str));
                EXPECT_EQ('\0', *str.end());
                EXPECT_EQ(bShared ? strOld : "", TextOf(strCopy));
            }
}

TEST_P(CStringPut, LeavesTheStringAsItWasWithoutMemory)
{
    for (const char* const pszOld : {"", "0123456789"})
        for (const bool bShared : {false, true})
        {
            CTestAllocator allocator;
            const CStringAllocatorScope scope(allocator);
            CString str(pszOld);
            const CString strCopy(bShared ? str : CString());
            allocator.SetRefusing(true);
            EXPECT_EQ(QV_RES_OUT_OF_MEMORY, GetParam().pfnPut(str, std::string(33, 'x')));
            EXPECT_EQ(pszOld, TextOf(str));
            allocator.SetRefusing(false);
            EXPECT_EQ(QV_RES_OK, GetParam().pfnPut(str, std::string(33, 'x')));
        }
}

INSTANTIATE_TEST_SUITE_P(
    All, CStringPut,
    testing::Values(SPut{"AssignCounted", false,
                         [](CString& r, const std::string& rText)
                         {
                             const CPageEnd text(rText);
                             return r.Assign(text.GetText(), static_cast<unsigned int>(rText.size()));
                         }},
                    SPut{"AssignPiece", false,
                         [](CString& r, const std::string& rText) { return r.Assign(std::string_view(rText)); }},
                    SPut{"AppendCounted", true,
                         [](CString& r, const std::string& rText)
                         {
                             const CPageEnd text(rText);
                             return r.Append(text.GetText(), static_cast<unsigned int>(rText.size()));
                         }},
                    SPut{"AppendPiece", true, [](CString& r, const std::string& rText) { return r.Append(rText); }}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CStringPut, ItsOwnPiecesAndNoTextAtAll)
{
    for (const unsigned int uReserved : {0u, 200u})
        for (const bool bShared : {false, true})
        {
            CTestAllocator allocator;  // overwrites what is released
            const CStringAllocatorScope scope(allocator);
            CString str("hello world, and so on until it is long");
            ASSERT_EQ(QV_RES_OK, str.ReserveCapacity(static_cast<unsigned short>(uReserved)));
            CString strCopy(bShared ? str : CString());
            EXPECT_EQ(QV_RES_OK, str.Append(str.CStr() + 6, 33));
            EXPECT_EQ("hello world, and so on until it is longworld, and so on until it is long", TextOf(str));
            strCopy = bShared ? str : CString();
            EXPECT_EQ(QV_RES_OK, str.Assign(str.CStr() + 6, 5));
            EXPECT_EQ("world", TextOf(str));
            EXPECT_EQ(QV_RES_OK, str.Append(str));
            EXPECT_EQ(QV_RES_OK, str.Append(nullptr, 7));
            EXPECT_EQ(QV_RES_OK, str.Append(nullptr));
            EXPECT_EQ(QV_RES_OK, str.Append('!'));
            EXPECT_EQ("worldworld!", TextOf(str));
            EXPECT_EQ(QV_RES_OK, str.Assign(nullptr, 7));
            EXPECT_EQ("", TextOf(str));
        }
}

TEST(CStringPut, NoCharactersLeaveABlockSharedAndTheNulAlone)
{
    CString str("abc");
    str.GetBuffer()[3] = 'd';
    EXPECT_EQ(QV_RES_OK, str.Append(""));
    EXPECT_EQ('d', str.GetBuffer()[3]);
    str.GetBuffer()[3] = '\0';
    const CString strCopy(str);
    EXPECT_EQ(QV_RES_OK, str.Append(CString()));
    EXPECT_EQ(strCopy.CStr(), str.CStr());
}

TEST(CStringPut, WithinTheCapacityNoMemoryIsAskedFor)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString str(std::string(40, 'x').c_str());
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OK, str.Assign("a"));
    EXPECT_EQ(QV_RES_OK, str.Append(std::string(63, 'b')));
    EXPECT_EQ(64u, str.GetCapacity());
}

TEST(CStringFind, WhatStandsWhereAsInAStandardString)
{
    for (const std::string& rText : AllTexts(5))
        for (const std::string& rPiece : AllTexts(3))
        {
            SCOPED_TRACE(testing::PrintToString(rPiece) + " in " + testing::PrintToString(rText));
            const CString str = StringOf(rText);
            const std::size_t uLast = rPiece.empty() ? std::string::npos : rText.rfind(rPiece);
            ASSERT_EQ(uLast != std::string::npos ? uLast : rText.size(), str.FindLast(rPiece));
            ASSERT_EQ(rText.find(rPiece) != std::string::npos, str.Contains(rPiece));
            ASSERT_EQ(rText.compare(0, rPiece.size(), rPiece) == 0, str.StartsWith(rPiece));
            ASSERT_EQ(rText.size() >= rPiece.size() &&
                          rText.compare(rText.size() - rPiece.size(), std::string::npos, rPiece) == 0,
                      str.EndsWith(rPiece));
            ASSERT_EQ(Trimmed(rText, rPiece),
                      [&]
                      {
                          CString strTrimmed(str);
                          strTrimmed.Trim(rPiece);
                          return TextOf(strTrimmed);
                      }());
        }
}

TEST(CStringFind, EveryKindOfTextIsAPiece)
{
    const CString str("key=value");
    const char* const pszNone = nullptr;
    const std::string strLonger = "key=value and more";
    EXPECT_TRUE(str.StartsWith("key") && str.StartsWith('k') && str.StartsWith(std::string("key=")));
    EXPECT_TRUE(str.EndsWith(CString("value")) && str.EndsWith(std::string_view("lue")) && str.EndsWith(pszNone));
    EXPECT_TRUE(str.Contains('=') && str.Contains("y=v") && str.Contains(str) && str.Contains(std::string_view()));
    EXPECT_FALSE(str.StartsWith(strLonger) || str.EndsWith(strLonger) || str.Contains(strLonger));
    EXPECT_EQ(9u, str.FindLast(strLonger));
    EXPECT_EQ(3u, str.FindLast('='));
    EXPECT_EQ(9u, str.FindLast(""));
    EXPECT_TRUE(STextPiece(pszNone, 5).uSize == 0 && STextPiece("abc", 2).uSize == 2);
}

TEST(CStringSubstring, HasWhatThereIsAndSharesTheWholeText)
{
    const std::string strText = "hello world";
    const CString str(strText.c_str());
    for (unsigned int uIndex = 0; uIndex <= 13; ++uIndex)
    {
        for (const unsigned int uSize : {0u, 1u, 5u, 11u, 12u, 65535u, 0xFFFFFFFFu})
            EXPECT_EQ(uIndex < 11 ? strText.substr(uIndex, uSize) : "", TextOf(str.Substring(uIndex, uSize)))
                << uIndex << ", " << uSize;
        EXPECT_EQ(uIndex < 11 ? strText.substr(uIndex) : "", TextOf(str.Substring(uIndex)));
    }
    EXPECT_EQ(str.CStr(), str.Substring(0).CStr());
    const CString strLongest(std::string(65535, 'x').c_str());
    EXPECT_EQ(65534u, strLongest.Substring(1).GetSize());
}

TEST(CStringTrim, TakesWhiteSpaceOffBothEnds)
{
    CString str(" \t\n\v\f\r a b \r\n");
    str.Trim();
    EXPECT_EQ("a b", TextOf(str));
    CString strShare(str);
    strShare.Trim();
    EXPECT_EQ(str.CStr(), strShare.CStr()) << "nothing to trim, nothing to copy";
    for (int n = 0; n < 256; ++n)
    {
        CString strOne(std::string(1, static_cast<char>(n)).data(), 1);
        strOne.Trim();
        EXPECT_EQ(std::isspace(n) != 0, strOne.IsEmpty()) << n;
    }
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText(" a ");
    const CString strCopy(strText);
    allocator.SetRefusing(true);
    strText.Trim();
    EXPECT_EQ(" a ", TextOf(strText)) << "without memory for a block of its own";
}

TEST(CStringCase, LettersBecomeCapitalsUpToANul)
{
    std::string strAll;
    for (int n = 1; n < 256; ++n) strAll += static_cast<char>(n);
    CString str((strAll + "a").c_str());
    const CString strCopy(str);
    str.SetAt(255, '\0');
    CString strEnd = str + "b";
    str.ToUpperCase();
    std::string strWant = strAll;
    for (char& rc : strWant) rc = static_cast<char>(std::toupper(static_cast<unsigned char>(rc)));
    EXPECT_EQ(strWant + '\0', TextOf(str));
    EXPECT_EQ(strAll + "a", TextOf(strCopy));
    strEnd.ToUpperCase();
    EXPECT_EQ('b', strEnd.back());
}

TEST(CStringReplace, EveryOccurrenceAsInAStandardString)
{
    const std::vector<std::string> others = {"", "a", "c", "cc", "ab", std::string("c\0b", 3), "abab"};
    for (const std::string& rText : AllTexts(5))
        for (const std::string& rOld : AllTexts(2))
            for (const std::string& rNew : others)
                for (const bool bShared : {false, true})
                {
                    SCOPED_TRACE(testing::PrintToString(rOld) + " by " + testing::PrintToString(rNew) + " in " +
                                 testing::PrintToString(rText) + (bShared ? ", shared" : ""));
                    CString str = StringOf(rText);
                    const CString strCopy(bShared ? str : CString());
                    ASSERT_EQ(QV_RES_OK, str.Replace(rOld, rNew));
                    ASSERT_EQ(Replaced(rText, rOld, rNew), TextOf(str));
                    ASSERT_EQ('\0', *str.end());
                    ASSERT_EQ(bShared ? rText : "", TextOf(strCopy));
                }
}

TEST(CStringReplace, ByPiecesOfItself)
{
    CTestAllocator allocator;  // overwrites what is released
    const CStringAllocatorScope scope(allocator);
    for (const STextPiece& rNew : {STextPiece("b"), STextPiece("xyz"), STextPiece("")})
    {
        const std::string strNew(rNew.pText, rNew.uSize);
        CString str("a,b,a,c,a");
        ASSERT_EQ(QV_RES_OK, str.Replace(STextPiece(str.CStr() + 4, 1), rNew));
        EXPECT_EQ(Replaced("a,b,a,c,a", "a", strNew), TextOf(str)) << "the old text";
    }
    for (const unsigned int uSize : {1u, 3u})
    {
        CString str("a,b,a,c,a");
        ASSERT_EQ(QV_RES_OK, str.Replace("a", STextPiece(str.CStr() + 2, uSize)));
        EXPECT_EQ(Replaced("a,b,a,c,a", "a", std::string("b,a").substr(0, uSize)), TextOf(str)) << "the new text";
    }
    CString str("ab,ab,ab");
    ASSERT_EQ(QV_RES_OK, str.Replace("ab", STextPiece(str.CStr() + 1, 1)));
    EXPECT_EQ("b,b,b", TextOf(str)) << "a new text that is written over";
}

TEST(CStringReplace, ReachesTheLargestSizeAndTellsWhatPassesIt)
{
    const std::string strText(21845, 'a');
    CString str(strText.c_str());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, str.Replace('a', "bbbb"));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, str.Replace('a', std::string(70000, 'b')));
    EXPECT_EQ(strText, TextOf(str));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CString("aa").Replace('a', STextPiece("b", SIZE_MAX / 2 + 1)))
        << "a sum that wraps";
    EXPECT_EQ(QV_RES_OK, str.Replace('a', "bbb"));
    EXPECT_EQ(std::string(65535, 'b'), TextOf(str));
    EXPECT_EQ(QV_RES_OK, str.Replace(std::string(65535, 'b'), std::string(65535, 'c')));
    EXPECT_EQ(QV_RES_OK, str.Replace('x', std::string(70000, 'b'))) << "there is none";
    EXPECT_EQ(std::string(65535, 'c'), TextOf(str));
}

TEST(CStringReplace, LeavesTheStringAsItWasWithoutMemoryAndAsksForNoneWhereItNeedsNone)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString str("a,b,c");
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, str.Replace(',', ", "));
    EXPECT_EQ("a,b,c", TextOf(str));
    EXPECT_EQ(QV_RES_OK, str.Replace(',', ';'));
    EXPECT_EQ(QV_RES_OK, str.Replace(";c", ""));
    const CString strCopy(str);
    EXPECT_EQ(QV_RES_OK, str.Replace('x', "yy"));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, str.Replace('a', 'b')) << "the block is shared";
    EXPECT_EQ("a;b", TextOf(str));
}

TEST(CStringSplit, KeepsEmptyPartsAndUsesWhatTheVectorHas)
{
    CVector<CString> parts;
    std::mt19937 rng(TestSeed());
    std::vector<std::string> texts = AllTexts(5);
    std::shuffle(texts.begin(), texts.end(), rng);
    texts.push_back(std::string(65535, 'a'));
    texts.push_back(std::string(65535, 'b'));
    for (const std::string& rText : texts)
        for (const char cSeparator : {'a', '\0', 'x'})
        {
            SCOPED_TRACE(testing::PrintToString(rText.substr(0, 8)) + " by " + testing::PrintToString(cSeparator));
            const CString strKept(parts.IsEmpty() ? CString() : parts[0]);
            const std::string strWant = TextOf(strKept);
            ASSERT_EQ(QV_RES_OK, StringOf(rText.substr(0, 65534)).Split(cSeparator, &parts));
            ASSERT_EQ(PartsOf(rText.substr(0, 65534), cSeparator), TextsOf(parts));
            ASSERT_EQ(strWant, TextOf(strKept)) << "a copy of a part";
        }
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CString("a").Split(',', static_cast<CVector<CString>*>(nullptr)));
}

TEST(CStringSplit, OfOneOfTheParts)
{
    for (const unsigned int uAt : {0u, 1u})
        for (const char* const pszText : {"a,b,c,d", "a", ""})
        {
            CVector<CString> parts;
            ASSERT_EQ(QV_RES_OK, parts.Insert(0, 2, "other"));
            parts[uAt] = pszText;
            ASSERT_EQ(QV_RES_OK, parts[uAt].Split(',', &parts));
            EXPECT_EQ(PartsOf(pszText, ','), TextsOf(parts));
        }
}

TEST(CStringSplit, WithoutMemoryThePartsAreGoneOrAsTheyWere)
{
    CTestAllocator allocator;
    const CString str("first,second,,third");
    for (unsigned int uNth = 1; uNth <= 4; ++uNth)
    {
        CTestAllocator vectorAllocator;
        const CStringAllocatorScope scope(allocator);
        CVector<CString> parts(&vectorAllocator);
        ASSERT_EQ(QV_RES_OK, parts.Append(CString("old")));
        const CString strCopy(parts[0]);
        if (uNth == 4) vectorAllocator.SetRefusing(true);
        else allocator.RefuseNth(uNth);
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, str.Split(',', &parts)) << uNth;
        EXPECT_EQ(uNth == 4 ? std::vector<std::string>{"old"} : std::vector<std::string>(), TextsOf(parts));
        allocator.SetRefusing(false);
        vectorAllocator.SetRefusing(false);
        EXPECT_EQ(QV_RES_OK, str.Split(',', &parts));
        EXPECT_EQ(4u, parts.GetSize());
        allocator.SetRefusing(true);
        EXPECT_EQ(QV_RES_OK, CString().Split(',', &parts));
        EXPECT_EQ(1u, parts.GetSize());
        EXPECT_EQ(QV_RES_OK, str.Substring(0, 0).Split(',', &parts));
        allocator.SetRefusing(false);
    }
    CVector<CString> locked;
    ASSERT_EQ(QV_RES_OK, locked.Append(CString("old")));
    locked.SetLockCapacity(1);
    EXPECT_EQ(QV_RES_INVALID_STATE, str.Split(',', &locked));
    EXPECT_EQ(std::vector<std::string>{"old"}, TextsOf(locked));
}

namespace
{
/// What the C library reads, in full and in our grammar: no white space, no plus sign, no prefix.
template <typename Number, typename Convert>
QvResult ParseByTheLibrary(const std::string& rText, unsigned int uBase, Number* pNumber, Convert pfnConvert)
{
    const std::size_t uFirst = std::numeric_limits<Number>::is_signed && !rText.empty() && rText[0] == '-' ? 1 : 0;
    const bool bHasDigits = rText.size() > uFirst;
    for (std::size_t u = uFirst; u < rText.size(); ++u)
    {
        const int nLetter = std::tolower(static_cast<unsigned char>(rText[u]));
        const unsigned int uDigit = std::isdigit(nLetter) != 0   ? static_cast<unsigned int>(nLetter - '0')
                                    : std::isalpha(nLetter) != 0 ? static_cast<unsigned int>(nLetter - 'a' + 10)
                                                                 : 99;
        if (uDigit >= uBase) return QV_RES_INVALID_ARGUMENT;
    }
    if (!bHasDigits || uBase < 2 || uBase > 36) return QV_RES_INVALID_ARGUMENT;
    errno = 0;
    const auto number = pfnConvert(rText.c_str(), nullptr, static_cast<int>(uBase));
    if (errno == ERANGE || !std::in_range<Number>(number)) return QV_RES_FAIL;
    *pNumber = static_cast<Number>(number);
    return QV_RES_OK;
}

template <typename Number>
QvResult ParseByTheLibrary(const std::string& rText, unsigned int uBase, Number* pNumber)
{
    if constexpr (std::numeric_limits<Number>::is_signed)
        return ParseByTheLibrary(rText, uBase, pNumber, &std::strtoll);
    else return ParseByTheLibrary(rText, uBase, pNumber, &std::strtoull);
}

/// What a number is as text in a base.
std::string InBase(std::uint64_t uNumber, unsigned int uBase, bool bNegative)
{
    std::string strText;
    do strText.insert(0, 1, "0123456789abcdefghijklmnopqrstuvwxyz"[uNumber % uBase]);
    while ((uNumber /= uBase) != 0);
    return (bNegative ? "-" : "") + strText;
}

template <typename Number>
class CStringInteger : public testing::Test
{
};
using Integers = testing::Types<signed char, unsigned char, short, unsigned short, int, unsigned int, long,
                                unsigned long, long long, unsigned long long>;
TYPED_TEST_SUITE(CStringInteger, Integers);
}  // namespace

TYPED_TEST(CStringInteger, IsReadAsAWholeOrNotAtAll)
{
    std::vector<std::string> texts = {"",
                                      "-",
                                      "--1",
                                      "+1",
                                      " 1",
                                      "1 ",
                                      "0x1",
                                      "1_0",
                                      "1.",
                                      "-0",
                                      "00",
                                      "007",
                                      "z",
                                      "Zz",
                                      std::string("1\0", 2),
                                      std::string("1\0"
                                                  "2",
                                                  3),
                                      "99999999999999999999999",
                                      "-99999999999999999999999",
                                      "99999999999999999999999x",
                                      "/",
                                      ":",
                                      "@",
                                      "`",
                                      "\xB9"};
    for (const int nBits : {7, 8, 15, 16, 31, 32, 63, 64})
        for (const int nOffset : {-1, 0, 1})
            for (const unsigned int uBase : {2u, 10u, 16u, 36u})
                for (const bool bNegative : {false, true})
                    texts.push_back(
                        InBase((nBits == 64 ? 0 : std::uint64_t{1} << nBits) + static_cast<std::uint64_t>(nOffset),
                               uBase, bNegative));
    texts.push_back("18446744073709551616");
    for (const std::string& rText : texts)
        for (const unsigned int uBase : {0u, 1u, 2u, 8u, 10u, 16u, 36u, 37u, 0xFFFFFFFFu})
        {
            SCOPED_TRACE(testing::PrintToString(rText) + " in base " + std::to_string(uBase));
            TypeParam want = 77;
            TypeParam got = 77;
            ASSERT_EQ(ParseByTheLibrary(rText, uBase, &want), StringOf(rText).ToNumber(&got, uBase));
            ASSERT_EQ(want, got);
            if (uBase == 10) { ASSERT_EQ(QV_RES_OK == StringOf(rText).ToNumber(&got), want == got && want != 77); }
        }
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CString("1").ToNumber(static_cast<TypeParam*>(nullptr)));
}

TYPED_TEST(CStringInteger, IsWrittenInAnyBaseAndReadBack)
{
    using Limits = std::numeric_limits<TypeParam>;
    for (const TypeParam number : {Limits::min(), Limits::max(), TypeParam{0}, TypeParam{1}, TypeParam{100}})
        for (unsigned int uBase = 2; uBase <= 36; ++uBase)
        {
            const bool bNegative = number < 0;
            const std::uint64_t uSize =
                bNegative ? std::uint64_t{0} - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
            CString str("=");
            ASSERT_EQ(QV_RES_OK, str.AppendNumber(number, uBase));
            ASSERT_EQ("=" + InBase(uSize, uBase, bNegative), TextOf(str));
            TypeParam back = 77;
            ASSERT_EQ(QV_RES_OK, str.Substring(1).ToNumber(&back, uBase));
            ASSERT_EQ(number, back);
            str.ToUpperCase();
            ASSERT_EQ(QV_RES_OK, CString::ParseNumber(STextPiece(str.CStr() + 1, str.GetSize() - 1), &back, uBase));
            ASSERT_EQ(number, back);
        }
    CString str("1");
    for (const unsigned int uBase : {0u, 1u, 37u, 0xFFFFFFFFu})
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, str.AppendNumber(TypeParam{5}, uBase));
    EXPECT_EQ(QV_RES_OK, str.AppendNumber(TypeParam{23}));
    EXPECT_EQ("123", TextOf(str));
}

template <typename Number, typename = void>
constexpr bool g_bIS_APPENDED = false;
template <typename Number>
constexpr bool
    g_bIS_APPENDED<Number, std::void_t<decltype(std::declval<CString&>().AppendNumber(std::declval<Number>()))>> = true;
static_assert(g_bIS_APPENDED<signed char> && g_bIS_APPENDED<unsigned long long> && !g_bIS_APPENDED<bool> &&
              !g_bIS_APPENDED<char> && !g_bIS_APPENDED<wchar_t> && !g_bIS_APPENDED<char8_t> &&
              !g_bIS_APPENDED<char16_t> && !g_bIS_APPENDED<char32_t>);
// In GNU dialects it counts as an integer, and would lose its upper half.
__extension__ using Int128 = __int128;
static_assert(!orvel_internal::g_bIS_NUMBER<Int128>);

TEST(CStringNumber, IsNotAppendedWhereTheStringIsFullOrMemoryRunsOut)
{
    CString str(std::string(65533, 'x').c_str());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, str.AppendNumber(123));
    EXPECT_EQ(65533u, str.GetSize());
    EXPECT_EQ(QV_RES_OK, str.AppendNumber(12));
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString strEmpty;
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strEmpty.AppendNumber(0.5));
    EXPECT_EQ("", TextOf(strEmpty));
}

TEST(CStringFraction, IsReadAsAWholeOrNotAtAll)
{
    struct SCase
    {
        std::string strText;
        QvResult resWant;
    };
    const SCase astCases[] = {{"", QV_RES_INVALID_ARGUMENT},
                              {"-", QV_RES_INVALID_ARGUMENT},
                              {"+1", QV_RES_INVALID_ARGUMENT},
                              {" 1", QV_RES_INVALID_ARGUMENT},
                              {"1 ", QV_RES_INVALID_ARGUMENT},
                              {"0x1p3", QV_RES_INVALID_ARGUMENT},
                              {"1e", QV_RES_INVALID_ARGUMENT},
                              {"e5", QV_RES_INVALID_ARGUMENT},
                              {".", QV_RES_INVALID_ARGUMENT},
                              {"1,5", QV_RES_INVALID_ARGUMENT},
                              {"1.2.3", QV_RES_INVALID_ARGUMENT},
                              {std::string("1\0", 2), QV_RES_INVALID_ARGUMENT},
                              {"infx", QV_RES_INVALID_ARGUMENT},
                              {"1e9999", QV_RES_FAIL},
                              {"-1e9999", QV_RES_FAIL},
                              {"1e-9999", QV_RES_FAIL},
                              {"1e9999x", QV_RES_INVALID_ARGUMENT},
                              {"5", QV_RES_OK},
                              {".5", QV_RES_OK},
                              {"5.", QV_RES_OK},
                              {"-0", QV_RES_OK},
                              {"1.e2", QV_RES_OK},
                              {"-1.5E-3", QV_RES_OK},
                              {"inf", QV_RES_OK},
                              {"-INFINITY", QV_RES_OK},
                              {"infinit", QV_RES_INVALID_ARGUMENT},
                              {"nan(1", QV_RES_INVALID_ARGUMENT},
                              {"0e9999", QV_RES_OK},
                              {"0.1", QV_RES_OK},
                              {"3.4028235e38", QV_RES_OK}};
    for (const SCase& rCase : astCases)
    {
        SCOPED_TRACE(testing::PrintToString(rCase.strText));
        double dNumber = 77;
        float fNumber = 77;
        ASSERT_EQ(rCase.resWant, StringOf(rCase.strText).ToNumber(&dNumber));
        ASSERT_EQ(rCase.resWant, CString::ParseNumber(rCase.strText, &fNumber));
        const bool bOk = rCase.resWant == QV_RES_OK;
        EXPECT_EQ(bOk ? std::strtod(rCase.strText.c_str(), nullptr) : 77, dNumber);
        EXPECT_EQ(bOk ? std::strtof(rCase.strText.c_str(), nullptr) : 77, fNumber);
    }
    double dNumber = 0;
    for (const char* const pszNoNumber : {"nan", "-NaN", "nan(1)"})
    {
        dNumber = 0;
        EXPECT_EQ(QV_RES_OK, CString(pszNoNumber).ToNumber(&dNumber));
        EXPECT_TRUE(std::isnan(dNumber)) << pszNoNumber;
    }
    float fNumber = 0;
    EXPECT_EQ(QV_RES_FAIL, CString("3.5e38").ToNumber(&fNumber));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CString("1").ToNumber(static_cast<double*>(nullptr)));
}

TEST(CStringFraction, IsWrittenInTheFewestCharactersThatGiveItBack)
{
    std::mt19937_64 rng(TestSeed());
    std::vector<double> numbers = {0.0, -0.0, 0.1, 1e22, 5e-324, 1.7976931348623157e308, 1.0 / 3, 123456789};
    for (unsigned int u = 0; u < 2000; ++u)
    {
        const std::uint64_t uBits = rng();
        double dNumber;
        std::memcpy(&dNumber, &uBits, sizeof dNumber);
        if (std::isfinite(dNumber)) numbers.push_back(dNumber);
        numbers.push_back(static_cast<double>(uBits % 100000) / 100);
    }
    for (const double dNumber : numbers)
    {
        CString str;
        ASSERT_EQ(QV_RES_OK, str.AppendNumber(dNumber));
        SCOPED_TRACE(TextOf(str));
        double dBack = 0;
        ASSERT_EQ(QV_RES_OK, str.ToNumber(&dBack));
        ASSERT_EQ(0, std::memcmp(&dNumber, &dBack, sizeof dBack));
        ASSERT_EQ(dNumber, std::strtod(str.CStr(), nullptr));
        // With an exponent it is never shorter.
        char szFewest[40];
        int nDigits = 0;
        do std::snprintf(szFewest, sizeof szFewest, "%.*e", nDigits++, dNumber);
        while (std::strtod(szFewest, nullptr) != dNumber);
        EXPECT_LE(str.GetSize(), std::strlen(szFewest));
        const float fNumber = static_cast<float>(dNumber);
        if (!std::isfinite(fNumber)) continue;
        CString strFloat;
        ASSERT_EQ(QV_RES_OK, strFloat.AppendNumber(fNumber));
        ASSERT_EQ(fNumber, std::strtof(strFloat.CStr(), nullptr));
        EXPECT_LE(strFloat.GetSize(), 15u);
    }
}

TEST(CStringRange, IsReadByStandardAlgorithmsAndWrittenByABackInserter)
{
    const CString str("hello");
    EXPECT_EQ(3u, static_cast<unsigned int>(std::find(str.cbegin(), str.cend(), 'l') - str.begin()) + 1);
    EXPECT_TRUE(str.data() == str.CStr() && str.size() == 5 && !str.empty() && CString().empty());
    EXPECT_EQ('h', str.front());
    EXPECT_EQ('o', str.back());
    static_assert(std::is_same_v<CString::value_type, char> && std::is_same_v<CString::size_type, unsigned int>);
    static_assert(std::is_same_v<std::iterator_traits<CString::iterator>::reference, CString::reference>);
    static_assert(std::is_same_v<decltype(*CString().begin()), const char&>, "shared characters are not written to");
    static_assert(std::ranges::contiguous_range<const CString> && std::ranges::sized_range<CString>);
    CString strCopy;
    std::ranges::reverse_copy(str, std::back_inserter(strCopy));
    EXPECT_EQ("olleh", TextOf(strCopy));
    EXPECT_EQ("hello", std::string_view(str.begin(), str.end()));
}

TEST(CStringRange, PushingBackGrowsByDoublingAndThrowsWhatCannotBeTold)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString str;
    std::string strWant;
    for (unsigned int u = 0; u < 65535; ++u)
    {
        const char c = static_cast<char>(u % 251);
        str.push_back(c);
        strWant.push_back(c);
    }
    EXPECT_EQ(strWant, TextOf(str));
    EXPECT_LE(allocator.GetRequests().size(), 12u);
    EXPECT_THROW(str.push_back('x'), std::bad_alloc);
    CString strShort(std::string(64, 'x').c_str());
    allocator.RefuseNth(1);
    strShort.push_back('y');
    EXPECT_EQ(96u, strShort.GetCapacity()) << "a step where doubling is too much";
    const CString strCopy(strShort);
    allocator.SetRefusing(true);
    EXPECT_THROW(strShort.push_back('z'), std::bad_alloc);
    EXPECT_EQ(std::string(64, 'x') + "y", TextOf(strShort));
    strShort.clear();
    EXPECT_TRUE(strShort.empty());
    EXPECT_EQ(std::string(64, 'x') + "y", TextOf(strCopy)) << "emptied without memory, its share alone";
    str.clear();
    EXPECT_EQ(65535u, str.GetCapacity());
    EXPECT_EQ("", TextOf(str));
}
