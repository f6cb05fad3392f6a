#include <cstdarg>
#include <memory>

#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/module_functions.h"
#include "tests/abi/old_marshaler.h"
#include "tests/abi/old_mutex.h"
#include "tests/abi/old_string.h"
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

TEST(CStringLayout, ObjectIsAVirtualTableAndAPointerToTheBlock)
{
    static_assert(sizeof(CString) == 16);
    CString string("text");
    EXPECT_EQ(string.CStr(), LoadAt<const char*>(&string, 8) + 6);
    EXPECT_EQ(0, OffsetToTop(&string));
}

TEST(CStringLayout, BlockCountsSharesRoomAndCharactersInThreeShortWords)
{
    CString string("abc");
    const CString share(string);
    const void* const pvBlock = LoadAt<const void*>(&string, 8);
    EXPECT_EQ(2, LoadAt<unsigned short>(pvBlock, 0));
    EXPECT_EQ(32, LoadAt<unsigned short>(pvBlock, 2));
    EXPECT_EQ(3, LoadAt<unsigned short>(pvBlock, 4));
    EXPECT_EQ((std::vector<unsigned char>{'a', 'b', 'c', 0}), BytesAt(pvBlock, 6, 4));
}

TEST(CStringLayout, DestructorIsTheOnlyVirtualOperation)
{
    const CString string;
    EXPECT_TRUE(HasDestructorsAlone(&string, "7CString"));
}

TEST(CStringStatics, ReachTheirStaticStorage)
{
    EXPECT_EQ(reinterpret_cast<unsigned char*>(CString::ms_pmutex), CString::ms_auMutex);
    EXPECT_EQ(sizeof(CMutex), SizeOfDatum(CString::ms_auMutex));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(CString::ms_pstEmptyStringInfo), CString::ms_auEmptyStringInfo);
    EXPECT_EQ(8u, SizeOfDatum(CString::ms_auEmptyStringInfo));
    EXPECT_NE(nullptr, CString::ms_pAllocator);
}

TEST(CStringStatics, EmptyBlockIsSharedAndNeverCounted)
{
    const CString first;
    const CString second(first);
    EXPECT_EQ(CString::ms_pstEmptyStringInfo, first.m_pstInfo);
    EXPECT_EQ(CString::ms_pstEmptyStringInfo, second.m_pstInfo);
    EXPECT_EQ(std::vector<unsigned char>(7), BytesAt(CString::ms_pstEmptyStringInfo, 0, 7));
}

TEST(CStringStatics, ModuleFunctionsTakeThemDownAndBringThemUp)
{
    static constexpr SModuleFunctions aPairs[] = {{&InitializeCString, &FinalizeCString},
                                                  {&CString::InitializeCString, &CString::FinalizeCString}};
    IAllocator* const pAllocator = CString::ms_pAllocator;
    for (const SModuleFunctions& rPair : aPairs)
    {
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CString::ms_pmutex);
        EXPECT_EQ(nullptr, CString::ms_pAllocator);
        EXPECT_EQ(nullptr, CString::ms_pstEmptyStringInfo);
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        EXPECT_EQ(reinterpret_cast<unsigned char*>(CString::ms_pmutex), CString::ms_auMutex);
        EXPECT_EQ(pAllocator, CString::ms_pAllocator);
        EXPECT_EQ(reinterpret_cast<unsigned char*>(CString::ms_pstEmptyStringInfo), CString::ms_auEmptyStringInfo);
    }
}

TEST(CStringConstruction, FillsTheBlock)
{
    ExpectBlock(0, 0, "", CString());
    ExpectBlock(1, 32, "text", CString("text"));
    ExpectBlock(1, 32, "te", CString("text", 2));
    const CString source("text");
    const CString copy(source);
    EXPECT_EQ(source.m_pstInfo, copy.m_pstInfo);
    ExpectBlock(2, 32, "text", copy);
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

TEST(CStringConstruction, DeletingDestructorGivesTheShareBack)
{
    const CString source("text");
    std::unique_ptr<CString> pShare = std::make_unique<CString>(source);
    ExpectBlock(2, 32, "text", source);
    pShare.reset();
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
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, string.Insert(10, 1, 'y'));
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
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, FormatArguments(&string, 8, "%d", 7));
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
    CString string("text");
    EXPECT_EQ(1u, m_source.m_uAllocatedCount);
    EXPECT_EQ(32u + 8u, m_source.m_uAllocatedSize);
    EXPECT_FALSE(m_source.m_bLastAsked);
    EXPECT_EQ(QV_RES_OK, string.ReserveCapacity(65505));
    EXPECT_EQ(65535u + 8u, m_source.m_uAllocatedSize);
    EXPECT_EQ(65535u, string.GetCapacity());
}

TEST_F(CLentMemory, GetsEveryBlockBackAsAChainOfOneWithEightBytes)
{
    {
        const CString string("text");
    }
    EXPECT_EQ(8u, m_source.m_uReleasedCount);
    EXPECT_EQ(1u, m_source.m_uReleasedBlocks);
}

TEST_F(CLentMemory, RefusalIsReportedAndChangesNothing)
{
    CString string("text");
    m_source.m_bRefusing = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, string.ReserveCapacity(33));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, string.Insert(0, 40, 'x'));
    ExpectBlock(1, 32, "text", string);
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
