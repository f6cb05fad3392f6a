#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <string>

#include "framework/basic/string.h"
#include "tests/support/string_probe.h"
#include "tests/support/test_allocator.h"

namespace
{
QvResult FormatList(CString& rString, unsigned int uStartIndex, const char* pszFormat, ...)
    __attribute__((format(printf, 3, 4)));
QvResult FormatList(CString& rString, unsigned int uStartIndex, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const QvResult res = rString.Format(uStartIndex, pszFormat, args);
    va_end(args);
    return res;
}

std::string Expected(const char* pszFormat, ...) __attribute__((format(printf, 1, 2)));
std::string Expected(const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    va_list argsOfLength;
    va_copy(argsOfLength, args);
    std::string strText(static_cast<std::size_t>(vsnprintf(nullptr, 0, pszFormat, argsOfLength)) + 1, '\0');
    va_end(argsOfLength);
    vsnprintf(strText.data(), strText.size(), pszFormat, args);
    va_end(args);
    strText.pop_back();
    return strText;
}

/// The smallest capacity from uCapacity on, by doubling, that is above uSize.
unsigned int Doubled(unsigned int uCapacity, unsigned int uSize)
{
    while (uSize >= uCapacity) uCapacity *= 2;
    return uCapacity;
}
}  // namespace

TEST(CStringFormat, FromZeroReplacesTheWholeText)
{
    CString strText("what was there before");
    EXPECT_EQ(QV_RES_OK, strText.Format(0, "%s is %d", "x", 42));
    EXPECT_STREQ("x is 42", strText.CStr());
    EXPECT_EQ(7u, strText.GetSize());
    EXPECT_EQ(32u, strText.GetCapacity());
}

TEST(CStringFormat, FromTheSizeAppends)
{
    CString strText("abc");
    EXPECT_EQ(QV_RES_OK, strText.Format(strText.GetSize(), "%c%c", 'd', 'e'));
    EXPECT_STREQ("abcde", strText.CStr());
    EXPECT_EQ(5u, strText.GetSize());
}

TEST(CStringFormat, FromTheMiddleReplacesTheRest)
{
    CString strText("abcdefgh");
    EXPECT_EQ(QV_RES_OK, strText.Format(2, "%u", 7u));
    EXPECT_STREQ("ab7", strText.CStr());
    EXPECT_EQ(3u, strText.GetSize());
}

TEST(CStringFormat, BehindTheSizeIsRefused)
{
    CString strText("abc");
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Format(4, "x"));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Format(0xFFFFFFFF, "x"));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CString().Format(1, "x"));
    EXPECT_STREQ("abc", strText.CStr());
}

TEST(CStringFormat, OfAnEmptyStringReserves32CharactersFirst)
{
    CString strText;
    EXPECT_EQ(QV_RES_OK, strText.Format(0, "%s", ""));
    EXPECT_EQ(0u, strText.GetSize());
    EXPECT_EQ(32u, strText.GetCapacity());
    EXPECT_EQ(1u, ShareCountOf(strText));
    CString strPrivate("x");
    strPrivate.EraseAll();
    ASSERT_EQ(QV_RES_OK, strPrivate.ReduceCapacity(0));
    EXPECT_EQ(QV_RES_OK, strPrivate.Format(0, "y"));
    EXPECT_STREQ("y", strPrivate.CStr());
    EXPECT_EQ(32u, strPrivate.GetCapacity());
}

TEST(CStringFormat, ANullFormatIsAnEmptyOne)
{
    CString strText("abc");
    const char* const pszNull = nullptr;
    EXPECT_EQ(QV_RES_OK, FormatList(strText, 1, pszNull));
    EXPECT_STREQ("a", strText.CStr());
    EXPECT_EQ(1u, strText.GetSize());
}

TEST(CStringFormat, ANulInTheTextIsACharacter)
{
    CString strText("abc");
    EXPECT_EQ(QV_RES_OK, strText.Format(1, "x%cy", '\0'));
    EXPECT_EQ(std::string("ax\0y", 4), TextOf(strText));
}

TEST(CStringFormat, EveryLengthGivesTheTextOfTheCLibraryAndTheDoubledCapacity)
{
    for (unsigned int uStart : {0u, 1u, 5u})
        for (unsigned int uLength = 0; uLength < 1500; ++uLength)
        {
            SCOPED_TRACE(testing::Message() << uLength << " characters from " << uStart);
            const std::string strArgument(uLength, 'x');
            CString strText("abcdefgh");
            ASSERT_EQ(QV_RES_OK, strText.Format(uStart, "%s", strArgument.c_str()));
            ASSERT_EQ(std::string("abcdefgh").substr(0, uStart) + strArgument, TextOf(strText));
            ASSERT_EQ('\0', *strText.end());
            ASSERT_EQ(Doubled(32, uStart + uLength), strText.GetCapacity());
        }
}

TEST(CStringFormat, ATextAsLongAsTheRoomDoublesIt)
{
    CString strText;
    ASSERT_EQ(QV_RES_OK, strText.Format(0, "%s", std::string(31, 'x').c_str()));
    EXPECT_EQ(32u, strText.GetCapacity());
    ASSERT_EQ(QV_RES_OK, strText.Format(31, "y"));
    EXPECT_EQ(64u, strText.GetCapacity());
    EXPECT_EQ(std::string(31, 'x') + "y", TextOf(strText));
}

TEST(CStringFormat, NothingBehindAFullBlockDoublesItToo)
{
    CString strText(std::string(32, 'x').c_str());
    ASSERT_EQ(32u, strText.GetCapacity());
    ASSERT_EQ(QV_RES_OK, strText.Format(32, "%s", ""));
    EXPECT_EQ(64u, strText.GetCapacity());
    EXPECT_EQ(std::string(32, 'x'), TextOf(strText));
}

TEST(CStringFormat, CapacitiesDoubleFromWhateverTheyAre)
{
    CString strText(std::string(70, 'x').c_str());
    ASSERT_EQ(96u, strText.GetCapacity());
    ASSERT_EQ(QV_RES_OK, strText.Format(0, "%200d", 1));
    EXPECT_EQ(384u, strText.GetCapacity());
    EXPECT_EQ(Expected("%200d", 1), TextOf(strText));
}

TEST(CStringFormat, ALargeCapacityIsKept)
{
    CString strText;
    ASSERT_EQ(QV_RES_OK, strText.ReserveCapacity(1000));
    ASSERT_EQ(QV_RES_OK, strText.Format(0, "%d", 1));
    EXPECT_EQ(1024u, strText.GetCapacity());
}

TEST(CStringFormat, AllKindsOfArgumentsComeOutAsFromTheCLibrary)
{
    CString strText;
    ASSERT_EQ(QV_RES_OK, strText.Format(0, "%5d|%-8s|%08.3f|%#lx|%c|%%|%.*s|%p", -42, "left", 3.14159, 0xBEEFul, 'c', 3,
                                        "abcdef", static_cast<void*>(nullptr)));
    EXPECT_EQ(Expected("%5d|%-8s|%08.3f|%#lx|%c|%%|%.*s|%p", -42, "left", 3.14159, 0xBEEFul, 'c', 3, "abcdef",
                       static_cast<void*>(nullptr)),
              TextOf(strText));
}

TEST(CStringFormat, AnArgumentListIsReadAnewForEveryTry)
{
    const std::string strLong(5000, 'x');
    CString strText;
    ASSERT_EQ(QV_RES_OK, FormatList(strText, 0, "%d %s %d %s", 1, strLong.c_str(), 2, "end"));
    EXPECT_EQ("1 " + strLong + " 2 end", TextOf(strText));
    EXPECT_EQ(8192u, strText.GetCapacity());
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
    for (const unsigned int uLength : {10u, 490u, 500u, 501u, 502u, 600u, 5000u})
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

TEST(CStringFormat, PiecesOfTheStringMayBeArguments)
{
    CString strText("hello world");
    const CString strCopy(strText);
    ASSERT_EQ(QV_RES_OK, strText.Format(0, "<%s|%s>", strText.CStr() + 6, strText.CStr()));
    EXPECT_STREQ("<world|hello world>", strText.CStr());
    ASSERT_EQ(QV_RES_OK, strText.Format(3, "%s%s%s", strText.CStr(), strText.CStr(), strText.CStr()));
    EXPECT_STREQ("<wo<world|hello world><world|hello world><world|hello world>", strText.CStr());
    EXPECT_STREQ("hello world", strCopy.CStr());
}

TEST(CStringFormat, TheFormatMayBeTheStringItself)
{
    CString strText("%d-%d");
    ASSERT_EQ(QV_RES_OK, FormatList(strText, 0, strText.CStr(), 1, 2));
    EXPECT_STREQ("1-2", strText.CStr());
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
    if (rCase.uWantCapacity == 0)
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res);
        EXPECT_EQ(strKept, TextOf(strText));
        EXPECT_EQ('\0', *strText.end());
        return;
    }
    EXPECT_EQ(QV_RES_OK, res);
    EXPECT_EQ(strKept + Expected("%*d", rCase.nLength, 7), TextOf(strText));
    EXPECT_EQ(rCase.uWantCapacity, strText.GetCapacity());
}
INSTANTIATE_TEST_SUITE_P(All, CStringFormatLimit,
                         testing::Values(SLimitCase{"TheLongestThatDoublingReaches", 0, 0, 32767, 32768},
                                         SLimitCase{"OneTooLong", 0, 0, 32768, 0},
                                         SLimitCase{"MuchTooLong", 0, 0, 60000, 0},
                                         SLimitCase{"LongerThanAnyString", 0, 0, 65535, 0},
                                         SLimitCase{"FarLonger", 0, 0, 1000000, 0},
                                         SLimitCase{"TheLongestBehindAStart", 0, 100, 32667, 32768},
                                         SLimitCase{"OneTooLongBehindAStart", 0, 100, 32668, 0},
                                         SLimitCase{"InRoomThatWasReserved", 65535, 0, 40000, 65535},
                                         SLimitCase{"TheLongestInReservedRoom", 65535, 0, 65534, 65535},
                                         SLimitCase{"TheLongestInReservedRoomBehindAStart", 65535, 100, 65434, 65535},
                                         SLimitCase{"OneTooLongForReservedRoom", 65535, 0, 65535, 0},
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
    EXPECT_STREQ("ab", strText.CStr());
    EXPECT_EQ(2u, strText.GetSize());
    EXPECT_STREQ("abcdef", strCopy.CStr());
    CString strEmpty;
    EXPECT_EQ(QV_RES_FAIL, strEmpty.Format(0, "%ls", szNoText));
    EXPECT_EQ(0u, strEmpty.GetSize());
    EXPECT_EQ(0u, ShareCountOf(CString()));
}

TEST(CStringFormatMemory, AFailedReservationIsReturnedAndCutsAtTheStart)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText("abcdef");
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strText.Format(2, "%100d", 1));
    EXPECT_TRUE(allocator.HasRefused());
    EXPECT_STREQ("ab", strText.CStr());
    EXPECT_EQ(32u, strText.GetCapacity());
    EXPECT_EQ(QV_RES_OK, strText.Format(1, "%d", 1));
    EXPECT_STREQ("a1", strText.CStr());
    CString strEmpty;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strEmpty.Format(0, "x"));
    EXPECT_EQ(0u, strEmpty.GetSize());
}

TEST(CStringFormatMemory, WithoutAPrivateCopyNothingIsWrittenIntoTheSharedBlock)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText("abcdef");
    const CString strCopy(strText);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strText.Format(2, "%d", 1));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, strText.Format(2, "%1000d", 1));
    EXPECT_STREQ("abcdef", strCopy.CStr());
    EXPECT_EQ(6u, strCopy.GetSize());
    EXPECT_EQ("abcdef", TextOf(strText)) << "nor is the text cut";
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
