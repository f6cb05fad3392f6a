// Limits and oddities of editing and formatting strings; the rest is compared step by step by fuzz.string.
#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <string>

#include "framework/basic/string.h"
#include "tests/support/string_probe.h"
#include "tests/support/test_allocator.h"

namespace
{
const std::string g_strX65535(65535, 'x');
const std::string g_strX65534(65534, 'x');

/// The largest size, with a NUL behind "xxx".
CString LongestWithANul()
{
    CString strText(g_strX65535.c_str());
    strText.SetAt(3, '\0');
    return strText;
}
}  // namespace

struct SInsertCase
{
    const char* pszName;
    std::string strText;
    unsigned int uIndex;
    unsigned int uRepetition;
    std::string strSource;
    unsigned int uSize;
    QvResult resWant;
    std::string strWant;
};
class CStringInsert : public testing::TestWithParam<SInsertCase>
{
};
TEST_P(CStringInsert, PutsTheRepeatedSourceInFrontOfTheIndex)
{
    const SInsertCase& rCase = GetParam();
    CString strText = StringOf(rCase.strText);
    EXPECT_EQ(rCase.resWant, strText.Insert(rCase.uIndex, rCase.uRepetition, rCase.strSource.c_str(), rCase.uSize));
    EXPECT_EQ(rCase.strWant, TextOf(strText));
    EXPECT_EQ('\0', strText.CStr()[strText.GetSize()]);
}
INSTANTIATE_TEST_SUITE_P(
    Limits, CStringInsert,
    testing::Values(
        SInsertCase{"FarBehindTheSize", "hello", UINT_MAX, 1, "x", 1, QV_RES_INVALID_ARGUMENT, "hello"},
        SInsertCase{"NoRepetitionBehindTheSize", "hello", 9, 0, "x", 1, QV_RES_OK, "hello"},
        SInsertCase{"NoCharactersBehindTheSize", "hello", 9, 1, "x", 0, QV_RES_OK, "hello"},
        SInsertCase{"WholeTextUpToItsNul", "<>", 1, 2, std::string("a\0b", 3), 65535, QV_RES_OK, "<aa>"},
        SInsertCase{"WholeEmptyText", "<>", 1, UINT_MAX, "", 65535, QV_RES_OK, "<>"},
        SInsertCase{"WholeEmptyTextBehindTheSize", "<>", 3, 1, "", 65535, QV_RES_INVALID_ARGUMENT, "<>"},
        SInsertCase{"UpToTheLargestSize", "x", 0, 1, g_strX65534, 65534, QV_RES_OK, g_strX65535},
        SInsertCase{"PastTheLargestSize", "xx", 0, 1, g_strX65534, 65534, QV_RES_INVALID_ARGUMENT, "xx"},
        SInsertCase{"UpToTheLargestSizeByRepetition", "", 0, 21845, "xxx", 3, QV_RES_OK, g_strX65535},
        SInsertCase{"PastTheLargestSizeByRepetition", "", 0, 21846, "xxx", 3, QV_RES_INVALID_ARGUMENT, ""},
        SInsertCase{"ProductOfTwoToThe32", "abc", 0, 65536, std::string(65536, 'x'), 65536, QV_RES_INVALID_ARGUMENT,
                    "abc"},
        SInsertCase{"ProductBeyondTwoToThe32", "abc", 0, 0x80000001, "xy", 2, QV_RES_INVALID_ARGUMENT, "abc"},
        SInsertCase{"SumBeyondTwoToThe32", "abc", 0, UINT_MAX, "x", 1, QV_RES_INVALID_ARGUMENT, "abc"},
        SInsertCase{"WholeTextOfTheLargestSize", "", 0, 1, g_strX65535, 65535, QV_RES_OK, g_strX65535},
        SInsertCase{"WholeTextThatIsTooLong", "", 0, 1, g_strX65535 + "x", 65535, QV_RES_INVALID_ARGUMENT, ""}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CStringInsert, AnySizeWithinTheCapacityLeavesTheTailAlone)
{
    const std::string strSource = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (unsigned int uSize = 1; uSize < strSource.size(); ++uSize)
        for (const unsigned int uRepetition : {1u, 2u, 3u})
        {
            SCOPED_TRACE(testing::Message() << uRepetition << " times " << uSize);
            std::string strWant = "<>";
            for (unsigned int u = 0; u < uRepetition; ++u) strWant.insert(1, strSource, 0, uSize);
            CString strText("<>");
            ASSERT_EQ(QV_RES_OK, strText.ReserveCapacity(200));
            ASSERT_EQ(QV_RES_OK, strText.Insert(1, uRepetition, strSource.c_str(), uSize));
            ASSERT_EQ(strWant, TextOf(strText));
        }
}

TEST(CStringInsert, ANullTextHasNoCharactersWhateverTheNumberThatIsAskedFor)
{
    CString strText("hello");
    EXPECT_EQ(QV_RES_OK, strText.Insert(0, 1, static_cast<const char*>(nullptr), 65535));
    EXPECT_EQ(QV_RES_OK, strText.Insert(0, 1, static_cast<const char*>(nullptr), 5));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(6, 1, static_cast<const char*>(nullptr), 65535));
    EXPECT_EQ("hello", TextOf(strText));
}

TEST(CStringInsert, OfAStringRefusesWhatPassesItsEnd)
{
    CString strText("<>");
    const CString strSource("abc");
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 1, strSource, 0, 65535));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 1, strSource, UINT_MAX, 2));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 1, strSource, 1, UINT_MAX));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 0, strSource, 4, 0)) << "even where nothing is inserted";
    EXPECT_EQ("<>", TextOf(strText));
}

TEST(CStringInsert, OfAStringOfTheLargestSizeTakesTheLengthOfItsText)
{
    const CString strSource = LongestWithANul();
    CString strText;
    EXPECT_EQ(QV_RES_OK, strText.Insert(0, 1, strSource, 0, 65535));
    EXPECT_EQ("xxx", TextOf(strText));
    ASSERT_EQ(QV_RES_OK, strText.ReserveCapacity(65535));
    strText.EraseAll();
    strText += strSource;
    EXPECT_EQ("xxx", TextOf(strText)) << "appended where there is room for all";
    strText += strSource;
    EXPECT_EQ("xxxxxx", TextOf(strText)) << "appended in place";
    strText = "y";
    ASSERT_EQ(QV_RES_OK, strText.ReduceCapacity(0));
    strText += strSource;
    EXPECT_EQ("yxxx", TextOf(strText)) << "appended in a new block";
}

namespace
{
/// A text of two characters with a text behind the size, in the room of the block, which a copy shares or not.
class CStringWithRest : public testing::TestWithParam<bool>
{
protected:
    CStringWithRest()
    {
        m_strText = "ab";
        EXPECT_EQ(QV_RES_OK, m_strText.ReserveCapacity(64));
        const std::string strWhole = "abcdefghijklmnopqrstuvwxyz0123";
        strWhole.copy(m_strText.GetBuffer(), strWhole.size());
        m_strText.GetBuffer()[strWhole.size()] = '\0';
        m_strText.GetBuffer()[2] = '\0';
        m_strText.GetBuffer()[64] = '\0';
        if (GetParam()) m_strCopy = m_strText;
    }
    ~CStringWithRest() override { EXPECT_EQ(GetParam() ? "ab" : "", TextOf(m_strCopy)); }
    const char* GetRest() const { return m_strText.CStr() + 4; }

    const std::string m_strRest = "efghijklmnopqrstuvwxyz0123";
    CTestAllocator m_allocator;  // overwrites what is released
    const CStringAllocatorScope m_scope{m_allocator};
    CString m_strText;
    CString m_strCopy;
};
}  // namespace

TEST_P(CStringWithRest, InsertsAPieceOfItWithinTheCapacityAndInANewBlock)
{
    EXPECT_EQ(QV_RES_OK, m_strText.Insert(1, 2, GetRest(), 26));
    EXPECT_EQ("a" + m_strRest + m_strRest + "b", TextOf(m_strText));
    EXPECT_EQ(64u, m_strText.GetCapacity());
    EXPECT_EQ(QV_RES_OK, m_strText.Insert(54, 1, m_strText.CStr() + 1, 26));
    EXPECT_EQ("a" + m_strRest + m_strRest + "b" + m_strRest, TextOf(m_strText));
}

TEST_P(CStringWithRest, AppendsPiecesOfIt)
{
    m_strText += GetRest();
    EXPECT_EQ("ab" + m_strRest, TextOf(m_strText));
    m_strText += m_strText.CStr() + 10;
    EXPECT_EQ("ab" + m_strRest + m_strRest.substr(8), TextOf(m_strText));
    m_strText.Resize(3);
    m_strText += *(m_strText.CStr() + 9);
    EXPECT_EQ("abel", TextOf(m_strText));
}

TEST_P(CStringWithRest, IsAssignedAPieceOfIt)
{
    m_strText = GetRest();
    EXPECT_EQ(m_strRest, TextOf(m_strText));
    EXPECT_EQ(64u, m_strText.GetCapacity());
}

TEST_P(CStringWithRest, InsertsTheLastByteOfItsRoom)
{
    EXPECT_EQ(QV_RES_OK, m_strText.Insert(0, 62, m_strText.CStr() + 64, 1));
    EXPECT_EQ(std::string(62, '\0') + "ab", TextOf(m_strText));
}

INSTANTIATE_TEST_SUITE_P(PrivateAndShared, CStringWithRest, testing::Bool());

// Into the room that is there and beyond it, alone with the block and not, in each form.
TEST(CStringAppend, AnySizeToAnySize)
{
    for (unsigned int uOld = 0; uOld <= 70; ++uOld)
    {
        for (unsigned int uAdded = 1; uAdded <= 70; ++uAdded)
        {
            for (const bool bShared : {false, true})
            {
                SCOPED_TRACE(testing::Message() << uAdded << " to " << uOld << (bShared ? ", shared" : ""));
                const std::string strOld(uOld, 'o');
                const std::string strAdded(uAdded, 'a');
                CString strText = StringOf(strOld);
                CString strOther = StringOf(strOld);
                CString strByOne = StringOf(strOld);
                const CString aCopies[] = {strText, strOther, strByOne};
                if (!bShared)
                {
                    for (const CString& rCopy : aCopies) const_cast<CString&>(rCopy) = CString();
                }
                strText += strAdded.c_str();
                strOther += StringOf(strAdded);
                for (const char c : strAdded) strByOne += c;
                for (const CString* pText : {&strText, &strOther, &strByOne})
                {
                    ASSERT_EQ(strOld + strAdded, TextOf(*pText));
                    ASSERT_EQ('\0', *pText->end());
                    ASSERT_EQ((uOld + uAdded + 31) / 32 * 32, pText->GetCapacity());
                    ASSERT_EQ(1u, ShareCountOf(*pText));
                }
                for (const CString& rCopy : aCopies) ASSERT_EQ(bShared ? strOld : "", TextOf(rCopy));
            }
        }
    }
}

TEST(CStringAppend, AResultThatIsTooLongLeavesItUnchanged)
{
    CString strText = CString(g_strX65534.c_str()) + "y";
    EXPECT_EQ(65535u, strText.GetSize());
    strText += 'z';
    strText += "z";
    strText += CString("z");
    strText += static_cast<const char*>(nullptr);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(0, 1, 'z'));
    EXPECT_EQ(g_strX65534 + "y", TextOf(strText));
}

TEST(CStringAppend, NoCharactersOfAStringLeaveEvenTheNulAlone)
{
    CString strText("abc");
    strText.GetBuffer()[3] = 'd';
    strText += CString();
    EXPECT_EQ('d', strText.GetBuffer()[3]) << "written behind the size, to be counted by Resize()";
    strText += "";
    EXPECT_EQ('\0', strText.GetBuffer()[3]) << "an empty text is written with its NUL";
}

TEST(CStringFind, GivesTheSizeWhereThereIsNothingToFind)
{
    const CString strText("a\0bab", 5);
    EXPECT_EQ(5u, strText.FindSubstring(0, nullptr));
    EXPECT_EQ(5u, strText.FindSubstring(0, ""));
    EXPECT_EQ(5u, strText.FindSubstring(0, "b")) << "behind a NUL";
    EXPECT_EQ(2u, strText.FindSubstring(2, "b"));
    EXPECT_EQ(4u, strText.FindSubstring(4, "b"));
    EXPECT_EQ(5u, strText.FindSubstring(5, ""));
    EXPECT_EQ(5u, strText.FindSubstring(UINT_MAX, "b"));
}

TEST(CStringCapacity, IsRoundedUpTo32CharactersAtMost65535InBothDirections)
{
    for (const unsigned int uAsked :
         {0u, 1u, 31u, 32u, 33u, 64u, 65u, 32767u, 32768u, 32769u, 65472u, 65473u, 65504u, 65505u, 65534u, 65535u})
    {
        SCOPED_TRACE(uAsked);
        const unsigned int uWant = uAsked > 65504 ? 65535 : (uAsked + 31) / 32 * 32;
        CTestAllocator allocator;
        const CStringAllocatorScope scope(allocator);
        CString strText;
        EXPECT_EQ(QV_RES_OK, strText.ReserveCapacity(static_cast<unsigned short>(uAsked)));
        EXPECT_EQ(uWant, strText.GetCapacity());
        EXPECT_EQ(QV_RES_OK, strText.ReserveCapacity(65535));
        EXPECT_EQ(QV_RES_OK, strText.ReduceCapacity(static_cast<unsigned short>(uAsked)));
        EXPECT_EQ(uWant, strText.GetCapacity());
        EXPECT_EQ(uWant + 8, allocator.GetSizeOf(strText.CStr() - sizeof(SStringHeader)));
        EXPECT_STREQ("", strText.CStr());
    }
}

TEST(CStringCapacity, ASizeUpToItCanBeSet)
{
    CString strText;
    EXPECT_EQ(QV_RES_OK, strText.ReserveCapacity(65535));
    strText.Resize(65535);
    EXPECT_EQ(65535u, strText.GetSize());
    EXPECT_EQ('\0', strText.CStr()[65535]);
}

TEST(CStringMarshal, TheLongestStringIsReadBack)
{
    CMarshaler marshaler;
    marshaler << CString(g_strX65535.c_str()) << CString() << 0xABCDu;
    CString strLongest;
    CString strEmpty("what was there before");
    unsigned int uBehind = 0;
    marshaler >> strLongest >> strEmpty >> uBehind;
    EXPECT_EQ(g_strX65535, TextOf(strLongest));
    EXPECT_EQ('\0', *strLongest.end());
    EXPECT_EQ("", TextOf(strEmpty));
    EXPECT_EQ(32u, strEmpty.GetCapacity());
    EXPECT_EQ(0xABCDu, uBehind);
}

// Texts of up to 511 characters are formatted in one pass, longer ones in two.
TEST(CStringFormat, EveryLengthGivesTheTextOfTheCLibraryAndTheDoubledCapacity)
{
    for (const unsigned int uStart : {0u, 1u, 5u, 8u})
        for (unsigned int uLength = 0; uLength < 1500; ++uLength)
        {
            SCOPED_TRACE(testing::Message() << uLength << " characters from " << uStart);
            const std::string strArgument(uLength, 'x');
            CString strText("abcdefgh");
            ASSERT_EQ(QV_RES_OK, strText.Format(uStart, "%s", strArgument.c_str()));
            ASSERT_EQ(std::string("abcdefgh").substr(0, uStart) + strArgument, TextOf(strText));
            ASSERT_EQ('\0', *strText.end());
            unsigned int uCapacity = 32;
            while (uStart + uLength >= uCapacity) uCapacity *= 2;
            ASSERT_EQ(uCapacity, strText.GetCapacity());
        }
}

TEST(CStringFormat, ANulInTheTextIsACharacter)
{
    CString strText("abc");
    EXPECT_EQ(QV_RES_OK, strText.Format(1, "x%cy", '\0'));
    EXPECT_EQ(std::string("ax\0y", 4), TextOf(strText));
}

TEST(CStringFormat, CountsCharactersForTheCaller)
{
    CString strText;
    // Not a literal, which checked formatting would let pass.
    char szFormat[] = "ab%n";
    int nCount = 0;
    EXPECT_EQ(QV_RES_OK, strText.Format(0, szFormat, &nCount));
    EXPECT_EQ(2, nCount);
}

namespace
{
void FormatListTwice(CString& rFirst, CString& rSecond, const char* pszFormat, ...)
    __attribute__((format(printf, 3, 4)));
void FormatListTwice(CString& rFirst, CString& rSecond, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    EXPECT_EQ(QV_RES_OK, rFirst.Format(0, pszFormat, args));
    EXPECT_EQ(QV_RES_OK, rSecond.Format(0, pszFormat, args));
    va_end(args);
}
}  // namespace

TEST(CStringFormat, LeavesTheArgumentListAsItWas)
{
    for (const unsigned int uLength : {10u, 500u, 501u, 502u, 5000u})
    {
        const std::string strLong(uLength, 'x');
        CString strFirst;
        CString strSecond;
        // More arguments than a call passes in registers.
        FormatListTwice(strFirst, strSecond, "%d %s %d %d %d %d", 1, strLong.c_str(), 2, 3, 4, 5);
        EXPECT_EQ("1 " + strLong + " 2 3 4 5", TextOf(strFirst));
        EXPECT_EQ("1 " + strLong + " 2 3 4 5", TextOf(strSecond)) << "read again, behind " << uLength;
    }
}

TEST(CStringFormat, TheFormatAndItsArgumentsMayBePartsOfTheString)
{
    CString strText("%s-%d");
    const CString strCopy(strText);
    const CString& rFormat = strText;
    EXPECT_EQ(QV_RES_OK, strText.Format(0, rFormat.CStr(), strText.CStr() + 3, 2));
    EXPECT_EQ("%d-2", TextOf(strText));
    EXPECT_EQ("%s-%d", TextOf(strCopy));
}

struct SLimitCase
{
    const char* pszName;
    unsigned short uCapacity;
    unsigned int uStart;
    int nLength;
    unsigned int uWantCapacity;  // 0: refused
};
class CStringFormatLimit : public testing::TestWithParam<SLimitCase>
{
};
TEST_P(CStringFormatLimit, DoublingIn16BitsDecidesWhatFindsRoom)
{
    const SLimitCase& rCase = GetParam();
    const std::string strKept(rCase.uStart, 'a');
    CString strText(strKept.c_str());
    strText += "to be replaced";
    ASSERT_EQ(QV_RES_OK, strText.ReserveCapacity(rCase.uCapacity));
    const QvResult res = strText.Format(rCase.uStart, "%*d", rCase.nLength, 7);
    EXPECT_EQ('\0', *strText.end());
    if (rCase.uWantCapacity == 0)
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res);
        EXPECT_EQ(strKept, TextOf(strText));
        return;
    }
    EXPECT_EQ(QV_RES_OK, res);
    EXPECT_EQ(strKept + std::string(static_cast<unsigned int>(rCase.nLength - 1), ' ') + "7", TextOf(strText));
    EXPECT_EQ(rCase.uWantCapacity, strText.GetCapacity());
}
INSTANTIATE_TEST_SUITE_P(All, CStringFormatLimit,
                         testing::Values(SLimitCase{"TheLongestThatDoublingReaches", 0, 0, 32767, 32768},
                                         SLimitCase{"OneTooLong", 0, 0, 32768, 0},
                                         SLimitCase{"LongerThanAnyString", 0, 0, 65535, 0},
                                         SLimitCase{"FarLonger", 0, 0, 1000000, 0},
                                         SLimitCase{"TheLongestBehindAStart", 0, 100, 32667, 32768},
                                         SLimitCase{"OneTooLongBehindAStart", 0, 100, 32668, 0},
                                         SLimitCase{"TheLongestInReservedRoom", 65535, 0, 65534, 65535},
                                         SLimitCase{"OneTooLongForReservedRoom", 65535, 0, 65535, 0},
                                         SLimitCase{"TheLongestInReservedRoomBehindAStart", 65535, 100, 65434, 65535},
                                         SLimitCase{"OneTooLongForReservedRoomBehindAStart", 65535, 100, 65435, 0},
                                         SLimitCase{"NoStepBehind40000", 40000, 0, 40000, 0},
                                         SLimitCase{"AStepFrom24576", 24576, 0, 40000, 49152},
                                         SLimitCase{"OneStepOnlyFrom24576", 24576, 0, 49152, 0}),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CStringFormat, AFormattingErrorCutsAtTheStart)
{
    const wchar_t szNoText[] = {static_cast<wchar_t>(0x110000), 0};
    CString strText("abcdef");
    const CString strCopy(strText);
    char szBuffer[100];
    ASSERT_GT(0, snprintf(szBuffer, sizeof szBuffer, "%d%ls", 1, szNoText));
    EXPECT_EQ(QV_RES_FAIL, strText.Format(2, "%d%ls", 1, szNoText));
    EXPECT_EQ("ab", TextOf(strText));
    EXPECT_EQ("abcdef", TextOf(strCopy));
}

TEST(CStringFormat, WithoutMemoryItCutsAtTheStartButForASharedText)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString strAlone("abcdef");
    CString strShared("abcdef");
    const CString strCopy(strShared);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strAlone.Format(2, "%100d", 1));
    EXPECT_EQ("ab", TextOf(strAlone));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strShared.Format(2, "%d", 1));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strShared.Format(2, "%1000d", 1));
    EXPECT_EQ("abcdef", TextOf(strShared));
}
