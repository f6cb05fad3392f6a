#include <pthread.h>

#include <cerrno>
#include <cstdarg>
#include <future>
#include <memory>

#include "tests/abi/exported_symbol.h"
#include "tests/abi/foreign_program.h"

using QvResult = int;

namespace
{
constexpr QvResult g_nOk = 0;
constexpr QvResult g_nInvalidArgument = static_cast<QvResult>(0x80000003U);
constexpr QvResult g_nOutOfMemory = static_cast<QvResult>(0x80000007U);
}  // namespace

class CFrameworkInitializer
{
public:
    static QvResult Initialize();
    static void Finalize();
};

class IAllocator
{
public:
    struct SBlock
    {
        SBlock* m_pNext;
    };
    virtual ~IAllocator();
    virtual SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) = 0;
    virtual void Release(SBlock* pChain, unsigned int uCount) = 0;
};

class CMutex
{
public:
    virtual ~CMutex();
    void Lock() const;
    void Unlock() const;
    pthread_mutex_t m_mutex;
};

class CMarshaler
{
public:
    CMarshaler();
    ~CMarshaler();
    void Insert(const void* pvData, unsigned int uSize);
    void Extract(void* pvData, unsigned int uSize);
    void* m_apvMembers[12];
};

class CString
{
public:
    struct SStringInfo
    {
        unsigned short m_uReferenceCount;
        unsigned short m_uCapacity;
        unsigned short m_uSize;
        char m_acCharacters[2];
    };

    CString();
    CString(const char* psz);
    CString(const char* psz, unsigned int uSize);
    CString(const CString& rSrc);
    virtual ~CString();

    CString& operator=(const CString& rSrc);
    CString& operator=(const char* psz);
    CString& operator=(char c);

    bool operator==(const CString& rOther) const;
    bool operator==(const char* psz) const;
    int CaseInsCmp(const char* psz) const;
    unsigned int FindSubstring(unsigned int uStartIndex, const char* pszSubstring) const;

    const char* CStr() const;
    unsigned int GetSize() const;
    unsigned int GetCapacity() const;
    const char& GetAt(unsigned int uIndex) const;
    char* GetBuffer();
    void SetAt(unsigned int uIndex, char c);
    void ToLowerCase();

    QvResult Insert(unsigned int uIndex, unsigned int uRepetition, const char* pszSrc, unsigned int uSize);
    QvResult Insert(unsigned int uIndex, unsigned int uRepetition, const CString& rSrc, unsigned int uStartIndex,
                    unsigned int uSize);
    QvResult Insert(unsigned int uIndex, unsigned int uRepetition, char c);
    void Erase(unsigned int uIndex, unsigned int uSize);
    void EraseAll();
    void TrimLeftSide(char c);
    void TrimRightSide(char c);
    void Resize(unsigned int uSize);
    QvResult ReserveCapacity(unsigned short uCapacity);
    QvResult ReduceCapacity(unsigned short uCapacity);

    CString& operator+=(const CString& rRhs);
    CString& operator+=(const char* pszRhs);
    CString& operator+=(char cRhs);
    CString operator+(const CString& rRhs) const;
    CString operator+(const char* pszRhs) const;
    CString operator+(char cRhs) const;

    QvResult Format(unsigned int uStartIndex, const char* pszFormat, ...);
    QvResult Format(unsigned int uStartIndex, const char* pszFormat, va_list args);

    static QvResult InitializeCString();
    static void FinalizeCString();

    void Release();
    void CreateCopy();
    static void MutexLock();
    static void MutexUnlock();
    unsigned short GetRefCount();
    void IncRefCount();
    void DecRefCount();
    static const char* MakeNullSafe(const char* psz);

    static CMutex* ms_pmutex;
    static unsigned char ms_auMutex[];
    static IAllocator* ms_pAllocator;
    static SStringInfo* ms_pstEmptyStringInfo;
    static unsigned char ms_auEmptyStringInfo[];

    SStringInfo* m_pstInfo;
};

CString operator+(const char* pszLhs, const CString& rRhs);
CString operator+(char cLhs, const CString& rRhs);
CMarshaler& operator<<(CMarshaler& rMarshaler, const CString& rString);
CMarshaler& operator>>(CMarshaler& rMarshaler, CString& rString);
QvResult InitializeCString();
void FinalizeCString();
extern const char g_szEMPTY_STRING[];

namespace
{
class CFramework : public testing::Environment
{
public:
    void SetUp() override { ASSERT_EQ(g_nOk, CFrameworkInitializer::Initialize()); }
    void TearDown() override { CFrameworkInitializer::Finalize(); }
};
const testing::Environment* const g_pFramework = testing::AddGlobalTestEnvironment(new CFramework);

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

/// As another thread sees the mutex of all shares: 0 when free.
int TryLockFromAnotherThread()
{
    return std::async(std::launch::async,
                      []
                      {
                          const int nError = pthread_mutex_trylock(&CString::ms_pmutex->m_mutex);
                          if (nError == 0) pthread_mutex_unlock(&CString::ms_pmutex->m_mutex);
                          return nError;
                      })
        .get();
}

/// Lends blocks as the library's source of strings' memory, and notes what it was asked.
class CLender : public IAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        m_uAllocatedCount = uCount;
        m_uAllocatedSize = uSize;
        m_bLastAsked = ppLast != nullptr;
        if (m_bRefusing) return nullptr;
        SBlock* const pBlock = reinterpret_cast<SBlock*>(new unsigned char[uSize]);
        pBlock->m_pNext = nullptr;
        return pBlock;
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_uReleasedCount = uCount;
        m_bReleasedOne = pChain->m_pNext == nullptr;
        delete[] reinterpret_cast<unsigned char*>(pChain);
    }

    unsigned int m_uAllocatedCount = 0;
    unsigned int m_uAllocatedSize = 0;
    unsigned int m_uReleasedCount = 0;
    bool m_bLastAsked = true;
    bool m_bReleasedOne = false;
    bool m_bRefusing = false;
};

class CLentMemory : public testing::Test
{
protected:
    void SetUp() override { CString::ms_pAllocator = &m_lender; }
    void TearDown() override { CString::ms_pAllocator = m_pOwn; }

    CLender m_lender;
    IAllocator* const m_pOwn = CString::ms_pAllocator;
};

/// Constructs and destroys its base as a base object, which takes entry points of its own.
class CNamedString : public CString
{
public:
    using CString::CString;
    CNamedString(const CString& rSrc) : CString(rSrc) {}
    ~CNamedString() override { ++ms_uDestroyed; }
    static unsigned int ms_uDestroyed;
};
unsigned int CNamedString::ms_uDestroyed = 0;
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
    EXPECT_EQ("CString::~CString()", FunctionInSlot(&string, 0));
    EXPECT_EQ("CString::~CString()", FunctionInSlot(&string, 1));
    EXPECT_TRUE(Covers("_ZTV7CString", 4 * sizeof(void*)));
}

TEST(CStringStatics, ReachTheirStaticStorage)
{
    EXPECT_EQ(reinterpret_cast<unsigned char*>(CString::ms_pmutex), CString::ms_auMutex);
    EXPECT_TRUE(Covers("_ZN7CString10ms_auMutexE", sizeof(CMutex)));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(CString::ms_pstEmptyStringInfo), CString::ms_auEmptyStringInfo);
    EXPECT_TRUE(Covers("_ZN7CString20ms_auEmptyStringInfoE", 8));
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
    static constexpr struct
    {
        QvResult (*pfnInitialize)();
        void (*pfnFinalize)();
    } aPairs[] = {{&InitializeCString, &FinalizeCString}, {&CString::InitializeCString, &CString::FinalizeCString}};
    IAllocator* const pAllocator = CString::ms_pAllocator;
    for (const auto& rPair : aPairs)
    {
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CString::ms_pmutex);
        EXPECT_EQ(nullptr, CString::ms_pAllocator);
        EXPECT_EQ(nullptr, CString::ms_pstEmptyStringInfo);
        EXPECT_EQ(g_nOk, rPair.pfnInitialize());
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
    ExpectBlock(0, 0, "", CNamedString());
    ExpectBlock(1, 32, "text", CNamedString("text"));
    ExpectBlock(1, 32, "te", CNamedString("text", 2));
    ExpectBlock(2, 32, "text", CNamedString(source));
    CNamedString::ms_uDestroyed = 0;
    std::unique_ptr<CString> pShare = std::make_unique<CNamedString>(source);
    ExpectBlock(2, 32, "text", source);
    pShare.reset();
    EXPECT_EQ(1U, CNamedString::ms_uDestroyed);
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
    EXPECT_EQ(2U, string.FindSubstring(1, "xt"));
    EXPECT_EQ(4U, string.FindSubstring(3, "xt"));
}

TEST(CStringAccess, OutOfLineFormsReadTheBlock)
{
    const CString string("text");
    EXPECT_EQ(string.m_pstInfo->m_acCharacters, string.CStr());
    EXPECT_EQ(4U, string.GetSize());
    EXPECT_EQ(32U, string.GetCapacity());
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
    EXPECT_EQ(g_nOk, string.Insert(1, 2, "cxx", 1));
    ExpectBlock(1, 32, "bccd", string);
    EXPECT_EQ(g_nOk, string.Insert(0, 1, CString("xyz"), 1, 2));
    ExpectBlock(1, 32, "yzbccd", string);
    EXPECT_EQ(g_nOk, string.Insert(6, 3, 'y'));
    ExpectBlock(1, 32, "yzbccdyyy", string);
    EXPECT_EQ(g_nInvalidArgument, string.Insert(10, 1, 'y'));
    string.Erase(1, 1);
    ExpectBlock(1, 32, "ybccdyyy", string);
    string.TrimLeftSide('y');
    ExpectBlock(1, 32, "bccdyyy", string);
    string.TrimRightSide('y');
    ExpectBlock(1, 32, "bccd", string);
    string.Resize(1);
    ExpectBlock(1, 32, "b", string);
    EXPECT_EQ(g_nOk, string.ReserveCapacity(33));
    ExpectBlock(1, 64, "b", string);
    EXPECT_EQ(g_nOk, string.ReduceCapacity(0));
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
    EXPECT_EQ(g_nOk, string.Format(1, "%s-%d", "text", 42));
    ExpectBlock(1, 32, "atext-42", string);
    EXPECT_EQ(g_nOk, FormatArguments(&string, 0, "%d %s", 7, "seven"));
    ExpectBlock(1, 32, "7 seven", string);
    EXPECT_EQ(g_nInvalidArgument, FormatArguments(&string, 8, "%d", 7));
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
    EXPECT_EQ(EBUSY, TryLockFromAnotherThread());
    CString::MutexUnlock();
    EXPECT_EQ(0, TryLockFromAnotherThread());
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
    EXPECT_EQ(1U, m_lender.m_uAllocatedCount);
    EXPECT_EQ(32U + 8U, m_lender.m_uAllocatedSize);
    EXPECT_FALSE(m_lender.m_bLastAsked);
    EXPECT_EQ(g_nOk, string.ReserveCapacity(65505));
    EXPECT_EQ(65535U + 8U, m_lender.m_uAllocatedSize);
    EXPECT_EQ(65535U, string.GetCapacity());
}

TEST_F(CLentMemory, GetsEveryBlockBackAsAChainOfOneWithEightBytes)
{
    {
        const CString string("text");
    }
    EXPECT_EQ(8U, m_lender.m_uReleasedCount);
    EXPECT_TRUE(m_lender.m_bReleasedOne);
}

TEST_F(CLentMemory, RefusalIsReportedAndChangesNothing)
{
    CString string("text");
    m_lender.m_bRefusing = true;
    EXPECT_EQ(g_nOutOfMemory, string.ReserveCapacity(33));
    EXPECT_EQ(g_nOutOfMemory, string.Insert(0, 40, 'x'));
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
