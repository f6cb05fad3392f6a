#include <cstdarg>
#include <memory>

#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/old_marshaler.h"
#include "tests/abi/old_mutex.h"
#include "tests/abi/old_string.h"
#include "tests/abi/told_size.h"
#include "tests/support/derived.h"

namespace
{
std::string TextOf(const CString& rString)
{
    return {rString.m_pstInfo->m_acCharacters, rString.m_pstInfo->m_uSize};
}

void ExpectBlock(unsigned int uReferenceCount, unsigned int uCapacity, const std::string& rText, const CString& rString)
{
    EXPECT_EQ(uReferenceCount, rString.m_pstInfo->m_uReferenceCount);
    EXPECT_EQ(uCapacity, rString.m_pstInfo->m_uCapacity);
    EXPECT_EQ(rText, TextOf(rString));
    EXPECT_EQ('\0', LoadAt<char>(rString.m_pstInfo, 6 + rText.size()));
}

class CLentMemory : public testing::Test
{
protected:
    void SetUp() override { CString::ms_pAllocator = &m_source; }
    void TearDown() override { CString::ms_pAllocator = m_pOwn; }

    CForeignSource m_source;
    IAllocator* const m_pOwn = CString::ms_pAllocator;
};
}  // namespace

TEST(CStringLayout, ObjectIsAVirtualTableAndAPointerToABlockThatBeginsWithThreeShortWords)
{
    static_assert(sizeof(CString) == 16 && sizeof(CString::SStringInfo) == 8);
    ExpectDestructorsAlone<CString>("7CString");
    const CString string("abc");
    const CString share(string);
    ExpectBlock(2, 32, "abc", share);
    EXPECT_EQ(string.CStr(), string.m_pstInfo->m_acCharacters);
}

TEST(CStringStatics, ReachTheirStaticStorageWhileTheModuleIsUp)
{
    static constexpr SModuleFunctions aPAIRS[] = {{&InitializeCString, &FinalizeCString},
                                                  {&CString::InitializeCString, &CString::FinalizeCString}};
    EXPECT_EQ(sizeof(CMutex), SizeOfDatum(CString::ms_auMutex));
    EXPECT_EQ(8u, SizeOfDatum(CString::ms_auEmptyStringInfo));
    for (const SModuleFunctions& rPair : aPAIRS)
    {
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CString::ms_pmutex);
        EXPECT_EQ(nullptr, CString::ms_pAllocator);
        EXPECT_EQ(nullptr, CString::ms_pstEmptyStringInfo);
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        EXPECT_EQ(reinterpret_cast<unsigned char*>(CString::ms_pmutex), CString::ms_auMutex);
        EXPECT_EQ(DefaultAllocator(), CString::ms_pAllocator);
        EXPECT_EQ(reinterpret_cast<unsigned char*>(CString::ms_pstEmptyStringInfo), CString::ms_auEmptyStringInfo);
        const CString first;
        const CString second(first);
        EXPECT_EQ(CString::ms_pstEmptyStringInfo, second.m_pstInfo);
        EXPECT_EQ(std::vector<unsigned char>(7), BytesAt(CString::ms_pstEmptyStringInfo, 0, 7)) << "never counted";
    }
}

TEST(CStringConstruction, FillsTheBlock)
{
    ExpectBlock(0, 0, "", CString());
    ExpectBlock(1, 32, "text", CString("text"));
    ExpectBlock(1, 32, "te", CString("text", 2));
}

TEST(CStringConstruction, ServesADerivedClassThatIsDeletedThroughItsBase)
{
    const CString source("text");
    ExpectBlock(0, 0, "", CDerived<CString>());
    ExpectBlock(1, 32, "text", CDerived<CString>("text"));
    ExpectBlock(1, 32, "te", CDerived<CString>("text", 2));
    ExpectBlock(2, 32, "text", CDerived<CString>(source));
    CDerived<CString>::ms_uDestroyed = 0;
    std::unique_ptr<CString> pShare = std::make_unique<CDerived<CString>>(source);
    ExpectBlock(2, 32, "text", source);
    pShare.reset();
    EXPECT_EQ(1u, CDerived<CString>::ms_uDestroyed);
    ExpectBlock(1, 32, "text", source);
}

TEST(CStringAssignment, ReturnsTheString)
{
    const CString source("source");
    CString string("old");
    EXPECT_EQ(&string, &(string = source));
    ExpectBlock(2, 32, "source", string);
    EXPECT_EQ(&string, &(string = "text"));
    ExpectBlock(1, 32, "text", string);
    EXPECT_EQ(&string, &(string = 'c'));
    ExpectBlock(1, 32, "c", string);
}

TEST(CStringComparison, TellsEqualOrderedAndContained)
{
    const CString string("Text");
    EXPECT_TRUE(string == CString("Text"));
    EXPECT_FALSE(string == CString("Texts"));
    EXPECT_TRUE(string == "Text");
    EXPECT_FALSE(string == "text");
    EXPECT_EQ(0, string.CaseInsCmp("tEXT"));
    EXPECT_EQ('x' - 'y', string.CaseInsCmp("TEYT"));
    EXPECT_EQ(2u, string.FindSubstring(1, "xt"));
    EXPECT_EQ(4u, string.FindSubstring(3, "xt"));
}

TEST(CStringAccess, OutOfLineFormsReadTheBlock)
{
    const CString string("text");
    EXPECT_EQ(string.m_pstInfo->m_acCharacters, string.CStr());
    EXPECT_EQ(4u, string.GetSize());
    EXPECT_EQ(32u, string.GetCapacity());
    EXPECT_EQ(string.m_pstInfo->m_acCharacters + 2, &string.GetAt(2));
}

TEST(CStringAccess, WritersUnshareTheBlock)
{
    const CString source("TEXT");
    CString string(source);
    string.GetBuffer()[0] = 'N';
    ExpectBlock(1, 32, "NEXT", string);
    string = source;
    string.SetAt(3, 'A');
    ExpectBlock(1, 32, "TEXA", string);
    string = source;
    string.ToLowerCase();
    ExpectBlock(1, 32, "text", string);
    ExpectBlock(1, 32, "TEXT", source);
}

TEST(CStringEditing, ChangesTextAndRoom)
{
    CString string("bd");
    EXPECT_EQ(QV_RES_OK, string.Insert(1, 2, "cxx", 1));
    ExpectBlock(1, 32, "bccd", string);
    EXPECT_EQ(QV_RES_OK, string.Insert(0, 1, CString("xyz"), 1, 2));
    ExpectBlock(1, 32, "yzbccd", string);
    EXPECT_EQ(QV_RES_OK, string.Insert(6, 3, 'y'));
    ExpectBlock(1, 32, "yzbccdyyy", string);
    string.Erase(1, 1);
    ExpectBlock(1, 32, "ybccdyyy", string);
    string.TrimLeftSide('y');
    ExpectBlock(1, 32, "bccdyyy", string);
    string.TrimRightSide('y');
    ExpectBlock(1, 32, "bccd", string);
    string.Resize(1);
    ExpectBlock(1, 32, "b", string);
    EXPECT_EQ(QV_RES_OK, string.ReserveCapacity(33));
    ExpectBlock(1, 64, "b", string);
    EXPECT_EQ(QV_RES_OK, string.ReduceCapacity(0));
    ExpectBlock(1, 32, "b", string);
    string.EraseAll();
    ExpectBlock(1, 32, "", string);
}

TEST(CStringEditing, ConcatenatesFromEitherSide)
{
    CString string("a");
    EXPECT_EQ(&string, &(string += CString("b")));
    EXPECT_EQ(&string, &(string += "c"));
    EXPECT_EQ(&string, &(string += 'd'));
    ExpectBlock(1, 32, "abcd", string);
    ExpectBlock(1, 32, "abcdx", string + CString("x"));
    ExpectBlock(1, 32, "abcdyz", string + "yz");
    ExpectBlock(1, 32, "abcdz", string + 'z');
    ExpectBlock(1, 32, "yzabcd", "yz" + string);
    ExpectBlock(1, 32, "zabcd", 'z' + string);
}

namespace
{
QvResult FormatArguments(CString* pString, unsigned int uStartIndex, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const QvResult res = pString->Format(uStartIndex, pszFormat, args);
    va_end(args);
    return res;
}
}  // namespace

TEST(CStringFormat, TakesArgumentsAndArgumentLists)
{
    CString string("ab");
    EXPECT_EQ(QV_RES_OK, string.Format(1, "%s-%d", "text", 42));
    ExpectBlock(1, 32, "atext-42", string);
    EXPECT_EQ(QV_RES_OK, FormatArguments(&string, 0, "%d %s", 7, "seven"));
    ExpectBlock(1, 32, "7 seven", string);
}

TEST(CStringTexts, AreFoundAndReplacedByPiecesThatTravelInRegisters)
{
    CString string;
    EXPECT_EQ(QV_RES_OK, string.AssignText(" a,b,a\0 and more", 7));
    EXPECT_EQ(5u, string.FindLast({"a", 1}));
    string.Trim({" ", 2});
    ExpectBlock(1, 32, "a,b,a", string);
    EXPECT_EQ(QV_RES_OK, string.Replace({"a", 1}, {"cc", 2}));
    ExpectBlock(1, 32, "cc,b,cc", string);
    ExpectBlock(1, 32, "b", string.Substring(3, 1));
    string.ToUpperCase();
    EXPECT_EQ(QV_RES_OK, string.AppendText(", and so on until there is a larger block", 41));
    ExpectBlock(1, 64, "CC,B,CC, and so on until there is a larger block", string);
    EXPECT_EQ(0, string.CompareRest("CC,B,CC, and so on until there is a larger block"));
    EXPECT_LT(string.CompareRest("CC,B,CC, and so on until there is a larger block."), 0);
}

TEST(CStringTexts, AreNumbersToo)
{
    CString string;
    EXPECT_EQ(QV_RES_OK, string.AppendNumber(-1L, 10));
    EXPECT_EQ(QV_RES_OK, string.AppendNumber(255UL, 16));
    EXPECT_EQ(QV_RES_OK, string.AppendNumber(0.5));
    EXPECT_EQ(QV_RES_OK, string.AppendNumber(0.25f));
    ExpectBlock(1, 32, "-1ff0.50.25", string);
    long nNumber = 0;
    unsigned long uNumber = 0;
    double dNumber = 0;
    float fNumber = 0;
    EXPECT_EQ(QV_RES_OK, CString::ParseNumber({"-1", 2}, &nNumber, 10));
    EXPECT_EQ(QV_RES_OK, CString::ParseNumber({"ff", 2}, &uNumber, 16));
    EXPECT_EQ(QV_RES_OK, CString::ParseNumber({"0.5", 3}, &dNumber));
    EXPECT_EQ(QV_RES_OK, CString::ParseNumber({"0.25", 4}, &fNumber));
    EXPECT_TRUE(nNumber == -1 && uNumber == 255 && dNumber == 0.5 && fNumber == 0.25f);
}

TEST(CStringInternals, CountSharesAndMakeThemPrivate)
{
    CString source("text");
    CString share(source);
    EXPECT_EQ(2, source.GetRefCount());
    source.IncRefCount();
    EXPECT_EQ(3, source.m_pstInfo->m_uReferenceCount);
    source.DecRefCount();
    EXPECT_EQ(2, source.m_pstInfo->m_uReferenceCount);
    share.CreateCopy();
    EXPECT_NE(source.m_pstInfo, share.m_pstInfo);
    ExpectBlock(1, 32, "text", share);
    share.Release();
    EXPECT_EQ(CString::ms_pstEmptyStringInfo, share.m_pstInfo);
    ExpectBlock(1, 32, "text", source);
}

TEST(CStringInternals, MutexIsTheOneThatTheStaticShows)
{
    CString::MutexLock();
    EXPECT_FALSE(IsFree(*CString::ms_pmutex));
    CString::MutexUnlock();
    EXPECT_TRUE(IsFree(*CString::ms_pmutex));
}

TEST(CStringInternals, NullTextIsTheExportedEmptyOne)
{
    EXPECT_EQ(g_szEMPTY_STRING, CString::MakeNullSafe(nullptr));
    EXPECT_EQ('\0', g_szEMPTY_STRING[0]);
    const char* const pszText = "text";
    EXPECT_EQ(pszText, CString::MakeNullSafe(pszText));
}

TEST_F(CLentMemory, IsAskedForOneBlockOfEightBytesMoreThanTheCapacity)
{
    {
        CString string("text");
        EXPECT_EQ(1u, m_source.m_uAllocatedCount);
        EXPECT_EQ(32u + 8u, m_source.m_uAllocatedSize);
        EXPECT_EQ(QV_RES_OK, string.ReserveCapacity(65505));
        EXPECT_EQ(65535u + 8u, m_source.m_uAllocatedSize);
        m_source.m_bRefusing = true;
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CString("").ReserveCapacity(1));
    }
    EXPECT_EQ(8u, m_source.m_uReleasedCount) << "every block goes back as a chain of one, with 8 bytes";
    EXPECT_EQ(1u, m_source.m_uReleasedBlocks);
}

TEST(CStringSerialisation, IsAShortLengthAndTheCharacters)
{
    CMarshaler marshaler;
    EXPECT_EQ(&marshaler, &(marshaler << CString("text")));
    unsigned char auBytes[6];
    marshaler.Extract(auBytes, sizeof(auBytes));
    EXPECT_EQ((std::vector<unsigned char>{4, 0, 't', 'e', 'x', 't'}), BytesAt(auBytes, 0, sizeof(auBytes)));

    marshaler.Insert("\3\0abc", 5);
    CString string("old text");
    EXPECT_EQ(&marshaler, &(marshaler >> string));
    ExpectBlock(1, 32, "abc", string);
}
