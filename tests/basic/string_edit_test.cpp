#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "framework/basic/string.h"
#include "tests/support/string_probe.h"
#include "tests/support/test_allocator.h"

namespace
{
const std::string g_strX65535(65535, 'x');
const std::string g_strX65534(65534, 'x');
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
    All, CStringInsert,
    testing::Values(
        SInsertCase{"AtTheFront", "world", 0, 1, "hello ", 6, QV_RES_OK, "hello world"},
        SInsertCase{"InTheMiddle", "held", 2, 1, "l wor", 5, QV_RES_OK, "hel world"},
        SInsertCase{"AtTheSizeAppends", "hello", 5, 1, " world", 6, QV_RES_OK, "hello world"},
        SInsertCase{"BehindTheSize", "hello", 6, 1, "x", 1, QV_RES_INVALID_ARGUMENT, "hello"},
        SInsertCase{"FarBehindTheSize", "hello", UINT_MAX, 1, "x", 1, QV_RES_INVALID_ARGUMENT, "hello"},
        SInsertCase{"IntoNothing", "", 0, 1, "x", 1, QV_RES_OK, "x"},
        SInsertCase{"BehindNothing", "", 1, 1, "x", 1, QV_RES_INVALID_ARGUMENT, ""},
        SInsertCase{"Repeated", "<>", 1, 3, "ab", 2, QV_RES_OK, "<ababab>"},
        SInsertCase{"APartOfTheSource", "<>", 1, 2, "abcd", 2, QV_RES_OK, "<abab>"},
        SInsertCase{"NulsToo", "<>", 1, 1, std::string("a\0b", 3), 3, QV_RES_OK, std::string("<a\0b>", 5)},
        SInsertCase{"NoRepetition", "hello", 9, 0, "x", 1, QV_RES_OK, "hello"},
        SInsertCase{"NoCharacters", "hello", 9, 1, "x", 0, QV_RES_OK, "hello"},
        SInsertCase{"WholeText", "<>", 1, 2, "text", 65535, QV_RES_OK, "<texttext>"},
        SInsertCase{"WholeTextUpToItsNul", "<>", 1, 1, std::string("a\0b", 3), 65535, QV_RES_OK, "<a>"},
        SInsertCase{"WholeEmptyText", "<>", 1, 7, "", 65535, QV_RES_OK, "<>"},
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

TEST(CStringInsert, ANullTextIsAnEmptyOne)
{
    CString strText("hello");
    EXPECT_EQ(QV_RES_OK, strText.Insert(0, 1, static_cast<const char*>(nullptr), 65535));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(6, 1, static_cast<const char*>(nullptr), 65535));
    // It has no characters, whatever the number that is asked for.
    EXPECT_EQ(QV_RES_OK, strText.Insert(0, 1, static_cast<const char*>(nullptr), 5));
    EXPECT_EQ("hello", TextOf(strText));
}

TEST(CStringInsert, GrowsByStepsOf32Characters)
{
    CString strText;
    for (unsigned int uSize = 1; uSize <= 200; ++uSize)
    {
        ASSERT_EQ(QV_RES_OK, strText.Insert(uSize / 2, 1, 'x'));
        ASSERT_EQ(uSize, strText.GetSize());
        ASSERT_EQ((uSize + 31) / 32 * 32, strText.GetCapacity());
    }
}

TEST(CStringInsert, OfPiecesOfItselfTakesThemAsIfCopiedFirst)
{
    for (unsigned int uIndex = 0; uIndex <= 6; ++uIndex)
        for (unsigned int uFrom = 0; uFrom <= 6; ++uFrom)
            for (unsigned int uSize = 0; uSize <= 6 - uFrom; ++uSize)
                for (unsigned int uRepetition : {1u, 3u, 20u})
                {
                    SCOPED_TRACE(testing::Message() << uIndex << " " << uFrom << " " << uSize << " " << uRepetition);
                    std::string strWant = "abcdef";
                    const std::string strPiece = strWant.substr(uFrom, uSize);
                    for (unsigned int u = 0; u < uRepetition; ++u) strWant.insert(uIndex, strPiece);

                    CString strText("abcdef");
                    ASSERT_EQ(QV_RES_OK, strText.Insert(uIndex, uRepetition, strText.CStr() + uFrom, uSize));
                    ASSERT_EQ(strWant, TextOf(strText));

                    CString strWhole("abcdef");
                    ASSERT_EQ(QV_RES_OK, strWhole.Insert(uIndex, uRepetition, strWhole, uFrom, uSize));
                    ASSERT_EQ(strWant, TextOf(strWhole));

                    CString strShared("abcdef");
                    const CString strCopy(strShared);
                    ASSERT_EQ(QV_RES_OK, strShared.Insert(uIndex, uRepetition, strShared.CStr() + uFrom, uSize));
                    ASSERT_EQ(strWant, TextOf(strShared));
                    ASSERT_EQ("abcdef", TextOf(strCopy));
                }
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

TEST_P(CStringWithRest, InsertsAPieceOfItWithinTheCapacity)
{
    EXPECT_EQ(QV_RES_OK, m_strText.Insert(1, 2, GetRest(), 26));
    EXPECT_EQ("a" + m_strRest + m_strRest + "b", TextOf(m_strText));
    EXPECT_EQ(64u, m_strText.GetCapacity());
}

TEST_P(CStringWithRest, InsertsAPieceOfItIntoANewBlock)
{
    EXPECT_EQ(QV_RES_OK, m_strText.Insert(2, 3, GetRest(), CString::uMAX_SIZE));
    EXPECT_EQ("ab" + m_strRest + m_strRest + m_strRest, TextOf(m_strText));
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
    EXPECT_EQ(QV_RES_OK, m_strText.Insert(0, 70, m_strText.CStr() + 64, 1));
    EXPECT_EQ(std::string(70, '\0') + "ab", TextOf(m_strText));
}

INSTANTIATE_TEST_SUITE_P(PrivateAndShared, CStringWithRest, testing::Bool());

namespace
{
/// Gives up a share while a string gets its private copy, as another thread may do right behind it.
class CShareEnder : public CTestAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        SBlock* const pBlock = CTestAllocator::Allocate(uCount, uSize, ppLast);
        pstrShare = nullptr;
        return pBlock;
    }
    std::unique_ptr<CString> pstrShare;
};
}  // namespace

TEST(CStringAssign, APieceOfASharedBlockIsTakenThoughTheOtherShareEndsMeanwhile)
{
    CShareEnder allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText("hello world");
    allocator.pstrShare = std::make_unique<CString>(strText);
    strText = strText.CStr() + 6;
    EXPECT_EQ("world", TextOf(strText));
    EXPECT_EQ(1u, allocator.GetLiveBlocks());
}

TEST(CStringInsert, OfItsOwnNulTakesTheNul)
{
    CString strText("ab");
    ASSERT_EQ(QV_RES_OK, strText.Insert(0, 2, strText.CStr() + 1, 2));
    EXPECT_EQ(std::string("b\0b\0ab", 6), TextOf(strText));
    ASSERT_EQ(QV_RES_OK, strText.Insert(0, 1, strText.CStr() + 6, 1));
    EXPECT_EQ(std::string("\0b\0b\0ab", 7), TextOf(strText));
}

TEST(CStringInsert, OfAStringRefusesWhatPassesItsEnd)
{
    CString strText("<>");
    const CString strSource("abc");
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 1, strSource, 0, 4));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 1, strSource, 2, 2));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 1, strSource, 4, 0));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 0, strSource, 4, 0));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 1, strSource, 0, 65535));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 1, strSource, UINT_MAX, 2));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(1, 1, strSource, 1, UINT_MAX));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(3, 1, strSource, 0, 3));
    EXPECT_EQ("<>", TextOf(strText));
}

TEST(CStringInsert, OfAStringOfTheLargestSizeTakesTheLengthOfItsText)
{
    CString strSource = StringOf(g_strX65534);
    strSource += 'x';
    strSource.SetAt(3, '\0');
    CString strText;
    EXPECT_EQ(QV_RES_OK, strText.Insert(0, 1, strSource, 0, 65535));
    EXPECT_EQ("xxx", TextOf(strText));
}

TEST(CStringInsert, OfACharacterRepeatsIt)
{
    CString strText("<>");
    EXPECT_EQ(QV_RES_OK, strText.Insert(1, 3, 'x'));
    EXPECT_EQ("<xxx>", TextOf(strText));
    EXPECT_EQ(QV_RES_OK, strText.Insert(1, 0, 'y'));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(6, 1, 'y'));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(0, 65531, 'y'));
    EXPECT_EQ("<xxx>", TextOf(strText));
    EXPECT_EQ(QV_RES_OK, strText.Insert(0, 1, '\0'));
    EXPECT_EQ(std::string("\0<xxx>", 6), TextOf(strText));
    EXPECT_EQ(QV_RES_OK, strText.Insert(6, 65529, 'y'));
    EXPECT_EQ(65535u, strText.GetSize());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, strText.Insert(6, 1, 'y'));
}

TEST(CStringResize, ToTheLargestSizeIsPossible)
{
    CString strText;
    EXPECT_EQ(QV_RES_OK, strText.ReserveCapacity(65535));
    strText.Resize(65535);
    EXPECT_EQ(65535u, strText.GetSize());
    EXPECT_EQ('\0', strText.CStr()[65535]);
}

TEST(CStringLowerCase, LeavesBytesAloneThatAreNoLettersOfTheLocale)
{
    std::string strAll;
    for (int n = 1; n < 256; ++n) strAll += static_cast<char>(n);
    CString strText = StringOf(strAll);
    strText.ToLowerCase();
    for (char& rc : strAll)
        if (rc >= 'A' && rc <= 'Z') rc = static_cast<char>(rc + ('a' - 'A'));
    EXPECT_EQ(strAll, TextOf(strText));
}

struct SCapacityCase
{
    unsigned short uAsked;
    unsigned int uWant;
};
class CStringReserve : public testing::TestWithParam<SCapacityCase>
{
};
TEST_P(CStringReserve, RoundsUpTo32CharactersAtMost65535)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    CString strText;
    EXPECT_EQ(QV_RES_OK, strText.ReserveCapacity(GetParam().uAsked));
    EXPECT_EQ(GetParam().uWant, strText.GetCapacity());
    if (GetParam().uWant == 0) return;
    ASSERT_EQ(1u, allocator.GetRequests().size());
    EXPECT_EQ(1u, allocator.GetRequests()[0].uCount);
    EXPECT_EQ(GetParam().uWant + 8, allocator.GetRequests()[0].uSize);
    EXPECT_EQ(1u, ShareCountOf(strText));
    EXPECT_EQ(0u, strText.GetSize());
    EXPECT_STREQ("", strText.CStr());
}
INSTANTIATE_TEST_SUITE_P(All, CStringReserve,
                         testing::Values(SCapacityCase{0, 0}, SCapacityCase{1, 32}, SCapacityCase{31, 32},
                                         SCapacityCase{32, 32}, SCapacityCase{33, 64}, SCapacityCase{64, 64},
                                         SCapacityCase{65, 96}, SCapacityCase{32767, 32768},
                                         SCapacityCase{32768, 32768}, SCapacityCase{32769, 32800},
                                         SCapacityCase{65472, 65472}, SCapacityCase{65473, 65504},
                                         SCapacityCase{65504, 65504}, SCapacityCase{65505, 65535},
                                         SCapacityCase{65535, 65535}),
                         [](const auto& rInfo) { return std::to_string(rInfo.param.uAsked); });

struct SReduceCase
{
    const char* pszName;
    unsigned int uSize;
    unsigned short uCapacity;
    unsigned short uAsked;
    unsigned int uWant;
};
class CStringReduce : public testing::TestWithParam<SReduceCase>
{
};
TEST_P(CStringReduce, GoesDownToTheSizeAtMost)
{
    CTestAllocator allocator;
    const CStringAllocatorScope scope(allocator);
    const std::string strWant(GetParam().uSize, 'x');
    CString strText;
    ASSERT_EQ(QV_RES_OK, strText.ReserveCapacity(GetParam().uCapacity));
    ASSERT_EQ(QV_RES_OK, strText.Insert(0, GetParam().uSize, 'x'));
    ASSERT_EQ(GetParam().uCapacity, strText.GetCapacity());
    EXPECT_EQ(QV_RES_OK, strText.ReduceCapacity(GetParam().uAsked));
    EXPECT_EQ(GetParam().uWant, strText.GetCapacity());
    EXPECT_EQ(GetParam().uWant + 8, allocator.GetSizeOf(strText.CStr() - 6));
    EXPECT_EQ(strWant, TextOf(strText));
    EXPECT_EQ('\0', *strText.end());
    EXPECT_EQ(1u, ShareCountOf(strText));
    EXPECT_EQ(1u, allocator.GetLiveBlocks());
}
INSTANTIATE_TEST_SUITE_P(
    All, CStringReduce,
    testing::Values(SReduceCase{"ToTheCapacity", 5, 96, 96, 96}, SReduceCase{"AboveTheCapacity", 5, 96, 1000, 96},
                    SReduceCase{"OneStep", 5, 96, 64, 64}, SReduceCase{"RoundedUp", 5, 96, 33, 64},
                    SReduceCase{"RoundedUpToTheCapacity", 5, 96, 65, 96}, SReduceCase{"ToTheSize", 5, 96, 0, 32},
                    SReduceCase{"ToASizeOfAFullStep", 32, 96, 1, 32}, SReduceCase{"ToASizeOverAStep", 33, 96, 1, 64},
                    SReduceCase{"AtTheSize", 40, 96, 40, 64}, SReduceCase{"FromTheLargest", 1, 65535, 65534, 65535},
                    SReduceCase{"FromTheLargestByAStep", 1, 65535, 65504, 65504},
                    SReduceCase{"EmptyToNothing", 0, 32, 0, 0}, SReduceCase{"EmptyToSome", 0, 96, 1, 32}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

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

TEST(CStringPlus, AppendsStringsTextsAndCharacters)
{
    CString strText;
    CString& rResult = ((strText += CString("a\0b", 3)) += "cd") += 'e';
    EXPECT_EQ(&strText, &rResult);
    EXPECT_EQ(std::string("a\0bcde", 6), TextOf(strText));
    strText += static_cast<const char*>(nullptr);
    EXPECT_EQ(6u, strText.GetSize());
    strText += '\0';
    EXPECT_EQ(std::string("a\0bcde\0", 7), TextOf(strText));
}

TEST(CStringPlus, AResultThatIsTooLongLeavesItUnchanged)
{
    CString strText = CString(g_strX65534.c_str()) + "y";
    EXPECT_EQ(65535u, strText.GetSize());
    strText += 'z';
    strText += "z";
    strText += CString("z");
    EXPECT_EQ(g_strX65534 + "y", TextOf(strText));
}

TEST(CStringPlus, AppendingNoCharactersOfAStringLeavesEvenTheNulAlone)
{
    CString strText("abc");
    strText.GetBuffer()[3] = 'd';
    strText += CString();
    EXPECT_EQ('d', strText.GetBuffer()[3]) << "written behind the size, to be counted by Resize()";
    strText += "";
    EXPECT_EQ('\0', strText.GetBuffer()[3]) << "an empty text is written with its NUL";
}

TEST(CStringPlus, AStringOfTheLargestSizeIsAppendedUpToItsNul)
{
    CString strRight(g_strX65534.c_str());
    strRight += 'x';
    strRight.SetAt(3, '\0');
    CString strText("y");
    ASSERT_EQ(QV_RES_OK, strText.ReserveCapacity(65535));
    strText += strRight;
    EXPECT_EQ("yxxx", TextOf(strText));
    strText.EraseAll();
    strText += strRight;
    EXPECT_EQ("xxx", TextOf(strText));
}

TEST(CStringPlus, SumsAreNewStrings)
{
    const CString strLeft("a\0", 2);
    const CString strRight("b\0", 2);
    EXPECT_EQ(std::string("a\0b\0", 4), TextOf(strLeft + strRight));
    EXPECT_EQ(std::string("a\0cd", 4), TextOf(strLeft + "cd"));
    EXPECT_EQ(std::string("a\0c", 3), TextOf(strLeft + 'c'));
    EXPECT_EQ(std::string("a\0\0", 3), TextOf(strLeft + '\0'));
    EXPECT_EQ(std::string("cdb\0", 4), TextOf("cd" + strRight));
    EXPECT_EQ(std::string("cb\0", 3), TextOf('c' + strRight));
    EXPECT_EQ(std::string("b\0", 2), TextOf('\0' + strRight));
    EXPECT_EQ(std::string("b\0", 2), TextOf(static_cast<const char*>(nullptr) + strRight));
    EXPECT_EQ(std::string("a\0", 2), TextOf(strLeft + static_cast<const char*>(nullptr)));
    EXPECT_EQ(std::string("a\0", 2), TextOf(strLeft));
    EXPECT_EQ(std::string("b\0", 2), TextOf(strRight));
    EXPECT_EQ(1u, ShareCountOf(strLeft));
    EXPECT_EQ(1u, ShareCountOf(strRight));
}

TEST(CStringMarshal, IsTheSizeIn16BitsAndTheCharacters)
{
    CMarshaler marshaler;
    CMarshaler& rResult = marshaler << CString("a\0b", 3);
    EXPECT_EQ(&marshaler, &rResult);
    ASSERT_EQ(5u, marshaler.GetUnreadSize());
    unsigned char auBytes[5];
    marshaler.Extract(auBytes, 5);
    const unsigned char auWant[] = {3, 0, 'a', 0, 'b'};
    EXPECT_EQ(0, std::memcmp(auWant, auBytes, 5));
}

TEST(CStringMarshal, OfAnEmptyStringIsTwoZeroBytes)
{
    CMarshaler marshaler;
    marshaler << CString();
    ASSERT_EQ(2u, marshaler.GetUnreadSize());
    unsigned char auBytes[2] = {1, 1};
    marshaler.Extract(auBytes, 2);
    EXPECT_EQ(0, auBytes[0]);
    EXPECT_EQ(0, auBytes[1]);
}

TEST(CStringMarshal, AStringReadBackIsTheOneThatWasWritten)
{
    for (const unsigned int uSize : {0u, 1u, 54u, 55u, 142u, 143u, 255u, 256u, 65504u, 65535u})
    {
        SCOPED_TRACE(uSize);
        std::string strWant(uSize, 'x');
        for (unsigned int u = 0; u < uSize; ++u) strWant[u] = static_cast<char>(u % 251);
        CString strWritten;
        ASSERT_EQ(QV_RES_OK, strWritten.ReserveCapacity(static_cast<unsigned short>(uSize)));
        std::copy(strWant.begin(), strWant.end(), strWritten.GetBuffer());
        strWritten.Resize(uSize);
        CMarshaler marshaler;
        marshaler << strWritten << 0xABCDu;
        CString strRead("what was there before");
        const CString strCopy(strRead);
        unsigned int uBehind = 0;
        CMarshaler& rResult = marshaler >> strRead;
        EXPECT_EQ(&marshaler, &rResult);
        marshaler >> uBehind;
        EXPECT_EQ(0xABCDu, uBehind);
        EXPECT_EQ(strWant, TextOf(strRead));
        EXPECT_EQ('\0', *strRead.end());
        EXPECT_EQ("what was there before", TextOf(strCopy));
        EXPECT_EQ(1u, ShareCountOf(strCopy));
    }
}

TEST(CStringMarshal, ReadingKeepsALargerCapacity)
{
    CMarshaler marshaler;
    marshaler << CString("abc");
    CString strRead;
    ASSERT_EQ(QV_RES_OK, strRead.ReserveCapacity(100));
    marshaler >> strRead;
    EXPECT_EQ("abc", TextOf(strRead));
    EXPECT_EQ(128u, strRead.GetCapacity());
}
