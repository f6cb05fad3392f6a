#include <pthread.h>

#include <cstdint>
#include <memory>
#include <numeric>

#include "tests/abi/exported_symbol.h"
#include "tests/abi/foreign_program.h"

using QvResult = int;

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

class CBlockAllocator
{
public:
    virtual ~CBlockAllocator();
    virtual void Push(void* pvBlock);
    unsigned int GetBlockCount();
    IAllocator* m_pAllocator;
    IAllocator::SBlock* m_pHead;
    IAllocator::SBlock* m_pTail;
    unsigned int m_uBlockCount;
    unsigned int m_uBlockSize;
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
    CMarshaler& operator=(const CMarshaler& rSrc);

    void Insert(const void* pvData, unsigned int uSize);
    void Extract(void* pvData, unsigned int uSize);
    void Store(const void* pvData, unsigned int uSize);
    bool Load(void* pvData, unsigned int uSize);
    CMarshaler& operator<<(unsigned int uValue);
    CMarshaler& operator>>(unsigned int& ruValue);
    CMarshaler& operator<<(unsigned short uValue);
    CMarshaler& operator>>(unsigned short& ruValue);
    void Clear();
    void ReleaseSegments();
    void ResetMembers();

    unsigned char* m_puWrite;
    unsigned char* m_puWriteSegmentEnd;
    unsigned char* m_puRead;
    unsigned char* m_puReadSegmentEnd;
    unsigned char m_auInline[56];
    unsigned char* m_puInlineLink;
};

template <typename Object>
class CPool;

template <>
class CPool<CMarshaler>
{
public:
    static void Initialize(bool bThreadSafe, unsigned int uCapacity, bool bLockCapacity, IAllocator* pAllocator);
    static void Uninitialize();
    static void* Allocate();
    static void Deallocate(void* pvBlock);
    static QvResult InitializeCPool();
    static void FinalizeCPool();

    static CBlockAllocator* ms_pBlockAllocator;
    static unsigned int ms_uAllocatedCount;
    static unsigned int ms_uCapacity;
    static unsigned int ms_uLockCapacity;
    static CMutex* ms_pmutex;
};

template <typename Object>
QvResult InitializeCPool();
template <typename Object>
void FinalizeCPool();
template <>
QvResult InitializeCPool<CMarshaler>();
template <>
void FinalizeCPool<CMarshaler>();

namespace
{
class CFramework : public testing::Environment
{
public:
    void SetUp() override { ASSERT_EQ(0, CFrameworkInitializer::Initialize()); }
    void TearDown() override { CFrameworkInitializer::Finalize(); }
};
const testing::Environment* const g_pFramework = testing::AddGlobalTestEnvironment(new CFramework);

using Bytes = std::vector<unsigned char>;
using Pool = CPool<CMarshaler>;

constexpr unsigned int g_uInlineSize = 56;
constexpr unsigned int g_uSegmentSize = 88;

Bytes Numbered(unsigned int uSize)
{
    Bytes bytes(uSize);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
    return bytes;
}

void InsertNumbered(CMarshaler& rMarshaler, unsigned int uSize)
{
    rMarshaler.Insert(Numbered(uSize).data(), uSize);
}

unsigned char* LinkOf(const unsigned char* puSegment)
{
    return LoadAt<unsigned char*>(puSegment, g_uSegmentSize);
}

void ExpectEmpty(const CMarshaler& rMarshaler)
{
    const unsigned char* const puInline = rMarshaler.m_auInline;
    EXPECT_EQ(puInline, rMarshaler.m_puWrite);
    EXPECT_EQ(puInline + g_uInlineSize, rMarshaler.m_puWriteSegmentEnd);
    EXPECT_EQ(puInline, rMarshaler.m_puRead);
    EXPECT_EQ(puInline + g_uInlineSize, rMarshaler.m_puReadSegmentEnd);
    EXPECT_EQ(nullptr, rMarshaler.m_puInlineLink);
}

/// Lends chains as the pool's source of blocks, and notes what it was asked.
class CLender : public IAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        m_uAllocatedCount = uCount;
        m_uAllocatedSize = uSize;
        SBlock* pChain = nullptr;
        for (unsigned int uIndex = 0; uIndex < uCount; ++uIndex)
        {
            SBlock* const pBlock = reinterpret_cast<SBlock*>(new unsigned char[uSize]);
            pBlock->m_pNext = pChain;
            if (pChain == nullptr && ppLast != nullptr) *ppLast = pBlock;
            pChain = pBlock;
            ++m_nOut;
        }
        return pChain;
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_uReleasedCount = uCount;
        while (pChain != nullptr)
        {
            SBlock* const pBlock = pChain;
            pChain = pChain->m_pNext;
            delete[] reinterpret_cast<unsigned char*>(pBlock);
            --m_nOut;
        }
    }

    unsigned int m_uAllocatedCount = 0;
    unsigned int m_uAllocatedSize = 0;
    unsigned int m_uReleasedCount = 0;
    int m_nOut = 0;
};

/// A pool as each test sets it up; the framework's own comes back afterwards.
class CPoolOfMarshalers : public testing::Test
{
protected:
    void SetUp() override { Pool::FinalizeCPool(); }
    void TearDown() override
    {
        Pool::FinalizeCPool();
        EXPECT_EQ(0, m_lender.m_nOut);
        ASSERT_EQ(0, Pool::InitializeCPool());
    }

    CLender m_lender;
};

class CNamedMarshaler : public CMarshaler
{
};
}  // namespace

TEST(CMarshalerLayout, IsFourPointersTheInlineAreaAndItsLink)
{
    static_assert(sizeof(CMarshaler) == 96);
    CMarshaler marshaler;
    InsertNumbered(marshaler, 5);
    unsigned short uRead;
    marshaler >> uRead;
    unsigned char* const puMarshaler = reinterpret_cast<unsigned char*>(&marshaler);
    EXPECT_EQ(puMarshaler + 32 + 5, LoadAt<unsigned char*>(&marshaler, 0)) << "write pointer";
    EXPECT_EQ(puMarshaler + 88, LoadAt<unsigned char*>(&marshaler, 8)) << "write segment end";
    EXPECT_EQ(puMarshaler + 32 + 2, LoadAt<unsigned char*>(&marshaler, 16)) << "read pointer";
    EXPECT_EQ(puMarshaler + 88, LoadAt<unsigned char*>(&marshaler, 24)) << "read segment end";
    EXPECT_EQ(Numbered(5), BytesAt(&marshaler, 32, 5));
    EXPECT_EQ(nullptr, LoadAt<unsigned char*>(&marshaler, 88)) << "inline link";
}

TEST(CMarshalerLayout, SegmentIsAPoolBlockThatEndsInItsLink)
{
    const unsigned int uOut = Pool::ms_uAllocatedCount;
    CMarshaler marshaler;
    InsertNumbered(marshaler, g_uInlineSize);
    EXPECT_EQ(nullptr, marshaler.m_puInlineLink);
    EXPECT_EQ(marshaler.m_puWriteSegmentEnd, marshaler.m_puWrite);
    InsertNumbered(marshaler, g_uSegmentSize + 3);
    EXPECT_EQ(uOut + 2, Pool::ms_uAllocatedCount);

    unsigned char* const puSecond = LoadAt<unsigned char*>(&marshaler, 88);
    unsigned char* const puThird = LinkOf(puSecond);
    EXPECT_EQ(Numbered(g_uSegmentSize), BytesAt(puSecond, 0, g_uSegmentSize));
    EXPECT_EQ((Bytes{g_uSegmentSize + 1, g_uSegmentSize + 2, g_uSegmentSize + 3}), BytesAt(puThird, 0, 3));
    EXPECT_EQ(nullptr, LinkOf(puThird));
    EXPECT_EQ(puThird + 3, marshaler.m_puWrite);
    EXPECT_EQ(puThird + g_uSegmentSize, marshaler.m_puWriteSegmentEnd);

    Bytes bytes(g_uInlineSize + 4);
    marshaler.Extract(bytes.data(), g_uInlineSize + 4);
    EXPECT_EQ(puSecond + 4, marshaler.m_puRead);
    EXPECT_EQ(puSecond + g_uSegmentSize, marshaler.m_puReadSegmentEnd);
}

TEST(CMarshalerLayout, IsEmptyAfterConstructionAsAnObjectOfItsOwnAndAsABase)
{
    ExpectEmpty(CMarshaler());
    ExpectEmpty(CNamedMarshaler());
}

TEST(CMarshalerValues, OutOfLineOperatorsCopyTheirBytes)
{
    CMarshaler marshaler;
    EXPECT_EQ(&marshaler, &(marshaler << 0x01020304U));
    EXPECT_EQ(&marshaler, &(marshaler << static_cast<unsigned short>(0x0506)));
    EXPECT_EQ((Bytes{4, 3, 2, 1, 6, 5}), BytesAt(&marshaler, 32, 6));
    EXPECT_EQ(marshaler.m_auInline + 6, marshaler.m_puWrite);
    unsigned int uWord = 0;
    unsigned short uHalf = 0;
    EXPECT_EQ(&marshaler, &(marshaler >> uWord));
    EXPECT_EQ(&marshaler, &(marshaler >> uHalf));
    EXPECT_EQ(0x01020304U, uWord);
    EXPECT_EQ(0x0506, uHalf);
    EXPECT_EQ(marshaler.m_auInline + 6, marshaler.m_puRead);
}

TEST(CMarshalerValues, OutOfLineOperatorsCrossSegments)
{
    CMarshaler marshaler;
    InsertNumbered(marshaler, g_uInlineSize - 1);
    marshaler << 0x01020304U;
    InsertNumbered(marshaler, g_uSegmentSize - 4);
    marshaler << static_cast<unsigned short>(0x0506);
    EXPECT_EQ(4, marshaler.m_auInline[55]);
    EXPECT_EQ((Bytes{3, 2, 1}), BytesAt(marshaler.m_puInlineLink, 0, 3));
    EXPECT_EQ(6, marshaler.m_puInlineLink[87]);
    EXPECT_EQ(LinkOf(marshaler.m_puInlineLink) + 1, marshaler.m_puWrite);

    Bytes skipped(g_uSegmentSize);
    unsigned int uWord = 0;
    unsigned short uHalf = 0;
    marshaler.Extract(skipped.data(), g_uInlineSize - 1);
    marshaler >> uWord;
    marshaler.Extract(skipped.data(), g_uSegmentSize - 4);
    marshaler >> uHalf;
    EXPECT_EQ(0x01020304U, uWord);
    EXPECT_EQ(0x0506, uHalf);
}

TEST(CMarshalerBytes, AreStoredLoadedAndCleared)
{
    const unsigned int uOut = Pool::ms_uAllocatedCount;
    CMarshaler marshaler;
    const Bytes bytes = Numbered(200);
    marshaler.Store(bytes.data(), 200);
    EXPECT_EQ(uOut + 2, Pool::ms_uAllocatedCount);
    Bytes loaded(200);
    EXPECT_TRUE(marshaler.Load(loaded.data(), 200));
    EXPECT_EQ(bytes, loaded);
    marshaler.Clear();
    EXPECT_EQ(uOut, Pool::ms_uAllocatedCount);
    ExpectEmpty(marshaler);
}

TEST(CMarshalerBytes, SegmentsAreReleasedAndMembersResetSeparately)
{
    const unsigned int uOut = Pool::ms_uAllocatedCount;
    CMarshaler marshaler;
    InsertNumbered(marshaler, 200);
    marshaler.ReleaseSegments();
    EXPECT_EQ(uOut, Pool::ms_uAllocatedCount);
    marshaler.ResetMembers();
    ExpectEmpty(marshaler);
}

TEST(CMarshalerBytes, DestructorGivesTheSegmentsBack)
{
    const unsigned int uOut = Pool::ms_uAllocatedCount;
    {
        CMarshaler marshaler;
        InsertNumbered(marshaler, 200);
        CNamedMarshaler derived;
        InsertNumbered(derived, 200);
        EXPECT_EQ(uOut + 4, Pool::ms_uAllocatedCount);
    }
    EXPECT_EQ(uOut, Pool::ms_uAllocatedCount);
}

TEST(CMarshalerBytes, AssignmentCopiesContentAndBothPositions)
{
    CMarshaler source;
    InsertNumbered(source, 150);
    Bytes skipped(100);
    source.Extract(skipped.data(), 100);
    CMarshaler copy;
    EXPECT_EQ(&copy, &(copy = source));
    EXPECT_EQ(copy.m_puInlineLink + 100 - g_uInlineSize, copy.m_puRead);
    EXPECT_EQ(copy.m_puInlineLink + g_uSegmentSize, copy.m_puReadSegmentEnd);
    EXPECT_EQ(LinkOf(copy.m_puInlineLink) + 6, copy.m_puWrite);
    EXPECT_NE(source.m_puInlineLink, copy.m_puInlineLink);
    Bytes rest(50);
    copy.Extract(rest.data(), 50);
    const Bytes bytes = Numbered(150);
    EXPECT_EQ(Bytes(bytes.begin() + 100, bytes.end()), rest);
}

TEST_F(CPoolOfMarshalers, StaticsHaveTheirWidths)
{
    EXPECT_TRUE(Covers("_ZN5CPoolI10CMarshalerE18ms_pBlockAllocatorE", 8));
    EXPECT_TRUE(Covers("_ZN5CPoolI10CMarshalerE18ms_uAllocatedCountE", 4));
    EXPECT_TRUE(Covers("_ZN5CPoolI10CMarshalerE12ms_uCapacityE", 4));
    EXPECT_TRUE(Covers("_ZN5CPoolI10CMarshalerE16ms_uLockCapacityE", 4));
    EXPECT_TRUE(Covers("_ZN5CPoolI10CMarshalerE9ms_pmutexE", 8));
}

TEST_F(CPoolOfMarshalers, ModuleFunctionsMakeItLockedEmptyAndUnlimited)
{
    static constexpr struct
    {
        QvResult (*pfnInitialize)();
        void (*pfnFinalize)();
    } aPairs[] = {{&InitializeCPool<CMarshaler>, &FinalizeCPool<CMarshaler>},
                  {&Pool::InitializeCPool, &Pool::FinalizeCPool}};
    for (const auto& rPair : aPairs)
    {
        Pool::ms_uAllocatedCount = Pool::ms_uCapacity = Pool::ms_uLockCapacity = 7;
        EXPECT_EQ(0, rPair.pfnInitialize());
        ASSERT_NE(nullptr, Pool::ms_pBlockAllocator);
        EXPECT_EQ(sizeof(CMarshaler), Pool::ms_pBlockAllocator->m_uBlockSize);
        EXPECT_EQ(0U, Pool::ms_pBlockAllocator->m_uBlockCount);
        EXPECT_EQ(0U, Pool::ms_uAllocatedCount);
        EXPECT_EQ(0U, Pool::ms_uCapacity);
        EXPECT_EQ(0U, Pool::ms_uLockCapacity);
        ASSERT_NE(nullptr, Pool::ms_pmutex);
        EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(Pool::ms_pmutex, 0));
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, Pool::ms_pBlockAllocator);
    }
}

TEST_F(CPoolOfMarshalers, ReservesItsCapacityAtOnceFromTheProgramsAllocator)
{
    Pool::Initialize(true, 2, true, &m_lender);
    EXPECT_EQ(2U, m_lender.m_uAllocatedCount);
    EXPECT_EQ(96U, m_lender.m_uAllocatedSize);
    EXPECT_EQ(static_cast<IAllocator*>(&m_lender), Pool::ms_pBlockAllocator->m_pAllocator);
    EXPECT_EQ(2U, Pool::ms_pBlockAllocator->m_uBlockCount);
    EXPECT_EQ(2U, Pool::ms_uCapacity);
    EXPECT_NE(0U, Pool::ms_uLockCapacity);

    void* const pvFirst = Pool::Allocate();
    void* const pvSecond = Pool::Allocate();
    EXPECT_EQ(2U, Pool::ms_uAllocatedCount);
    EXPECT_EQ(nullptr, Pool::Allocate());
    Pool::Deallocate(pvFirst);
    Pool::Deallocate(pvSecond);
    EXPECT_EQ(0U, Pool::ms_uAllocatedCount);
    EXPECT_EQ(pvSecond, Pool::ms_pBlockAllocator->m_pHead);
    EXPECT_EQ(pvFirst, Pool::ms_pBlockAllocator->m_pTail);
}

TEST_F(CPoolOfMarshalers, CapacityFollowsTheCountWhereItIsNotLocked)
{
    Pool::Initialize(true, 0, false, &m_lender);
    void* const pvBlock = Pool::Allocate();
    EXPECT_EQ(1U, Pool::ms_uAllocatedCount);
    EXPECT_EQ(1U, Pool::ms_uCapacity);
    Pool::ms_uCapacity = 0;
    Pool::Deallocate(pvBlock);
    EXPECT_EQ(0U, Pool::ms_pBlockAllocator->m_uBlockCount) << "above the capacity, every free block goes back";
    EXPECT_EQ(1U, m_lender.m_uReleasedCount);
}

TEST_F(CPoolOfMarshalers, UninitialisingClearsAllButTheMutexPointer)
{
    Pool::Initialize(true, 2, true, &m_lender);
    CMutex* const pmutex = Pool::ms_pmutex;
    EXPECT_NE(nullptr, pmutex);
    Pool::Uninitialize();
    EXPECT_EQ(nullptr, Pool::ms_pBlockAllocator);
    EXPECT_EQ(0U, Pool::ms_uAllocatedCount);
    EXPECT_EQ(0U, Pool::ms_uCapacity);
    EXPECT_EQ(0U, Pool::ms_uLockCapacity);
    EXPECT_EQ(pmutex, Pool::ms_pmutex);
}

TEST_F(CPoolOfMarshalers, HasNoMutexWhereNoneIsAskedFor)
{
    Pool::ms_pmutex = nullptr;
    Pool::Initialize(false, 0, false, &m_lender);
    EXPECT_EQ(nullptr, Pool::ms_pmutex);
    void* const pvBlock = Pool::Allocate();
    EXPECT_NE(nullptr, pvBlock);
    Pool::Deallocate(pvBlock);
}
