#include <cstdint>
#include <numeric>

#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/old_marshaler.h"
#include "tests/abi/old_pool.h"

namespace
{
using Bytes = std::vector<unsigned char>;
using Pool = CPool<CMarshaler>;

constexpr unsigned int g_uINLINE_SIZE = 56;
constexpr unsigned int g_uSEGMENT_SIZE = 88;

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
    return LoadAt<unsigned char*>(puSegment, g_uSEGMENT_SIZE);
}

void ExpectEmpty(const CMarshaler& rMarshaler)
{
    const unsigned char* const puInline = rMarshaler.m_auInline;
    EXPECT_EQ(puInline, rMarshaler.m_puWrite);
    EXPECT_EQ(puInline + g_uINLINE_SIZE, rMarshaler.m_puWriteSegmentEnd);
    EXPECT_EQ(puInline, rMarshaler.m_puRead);
    EXPECT_EQ(puInline + g_uINLINE_SIZE, rMarshaler.m_puReadSegmentEnd);
    EXPECT_EQ(nullptr, rMarshaler.m_puInlineLink);
}

/// A pool as each test sets it up; the framework's own comes back afterwards.
class CPoolOfMarshalers : public testing::Test
{
protected:
    void SetUp() override { Pool::FinalizeCPool(); }
    void TearDown() override
    {
        Pool::FinalizeCPool();
        EXPECT_EQ(0u, m_source.m_uOut);
        ASSERT_EQ(QV_RES_OK, Pool::InitializeCPool());
    }

    CForeignSource m_source;
};

class CNamedMarshaler : public CMarshaler
{
};
}  // namespace

TEST(CMarshalerLayout, IsFourPointersTheInlineAreaAndItsLink)
{
    static_assert(sizeof(CMarshaler) == 96);
    const CGuarded<CMarshaler> marshaler;
    ExpectEmpty(*marshaler);
    ExpectEmpty(CNamedMarshaler());
    EXPECT_EQ(&*marshaler, &(*marshaler << 0x01020304u));
    EXPECT_EQ(&*marshaler, &(*marshaler << static_cast<unsigned short>(0x0506)));
    unsigned int uWord = 0;
    EXPECT_EQ(&*marshaler, &(*marshaler >> uWord));
    EXPECT_EQ(0x01020304u, uWord);
    unsigned char* const puInline = marshaler->m_auInline;
    EXPECT_EQ((Bytes{4, 3, 2, 1, 6, 5}), BytesAt(puInline, 0, 6));
    EXPECT_EQ((std::vector<unsigned char*>{puInline + 6, puInline + 56, puInline + 4, puInline + 56, nullptr}),
              (std::vector<unsigned char*>{marshaler->m_puWrite, marshaler->m_puWriteSegmentEnd, marshaler->m_puRead,
                                           marshaler->m_puReadSegmentEnd, marshaler->m_puInlineLink}));
    unsigned short uHalf = 0;
    EXPECT_EQ(&*marshaler, &(*marshaler >> uHalf));
    EXPECT_EQ(0x0506, uHalf);
}

TEST(CMarshalerLayout, SegmentIsAPoolBlockThatEndsInItsLink)
{
    const unsigned int uOut = Pool::ms_uAllocatedCount;
    CMarshaler marshaler;
    InsertNumbered(marshaler, g_uINLINE_SIZE);
    EXPECT_EQ(nullptr, marshaler.m_puInlineLink);
    EXPECT_EQ(marshaler.m_puWriteSegmentEnd, marshaler.m_puWrite);
    InsertNumbered(marshaler, g_uSEGMENT_SIZE + 3);
    EXPECT_EQ(uOut + 2, Pool::ms_uAllocatedCount);

    unsigned char* const puSecond = LoadAt<unsigned char*>(&marshaler, 88);
    unsigned char* const puThird = LinkOf(puSecond);
    EXPECT_EQ(Numbered(g_uSEGMENT_SIZE), BytesAt(puSecond, 0, g_uSEGMENT_SIZE));
    EXPECT_EQ((Bytes{g_uSEGMENT_SIZE + 1, g_uSEGMENT_SIZE + 2, g_uSEGMENT_SIZE + 3}), BytesAt(puThird, 0, 3));
    EXPECT_EQ(nullptr, LinkOf(puThird));
    EXPECT_EQ(puThird + 3, marshaler.m_puWrite);
    EXPECT_EQ(puThird + g_uSEGMENT_SIZE, marshaler.m_puWriteSegmentEnd);

    Bytes bytes(g_uINLINE_SIZE + 4);
    marshaler.Extract(bytes.data(), g_uINLINE_SIZE + 4);
    EXPECT_EQ(puSecond + 4, marshaler.m_puRead);
    EXPECT_EQ(puSecond + g_uSEGMENT_SIZE, marshaler.m_puReadSegmentEnd);
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
    {
        CNamedMarshaler marshaler;
        InsertNumbered(marshaler, 200);
        marshaler.ReleaseSegments();
        EXPECT_EQ(uOut, Pool::ms_uAllocatedCount);
        marshaler.ResetMembers();
        ExpectEmpty(marshaler);
        InsertNumbered(marshaler, 200);
        EXPECT_EQ(uOut + 2, Pool::ms_uAllocatedCount);
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
    EXPECT_EQ(copy.m_puInlineLink + 100 - g_uINLINE_SIZE, copy.m_puRead);
    EXPECT_EQ(copy.m_puInlineLink + g_uSEGMENT_SIZE, copy.m_puReadSegmentEnd);
    EXPECT_EQ(LinkOf(copy.m_puInlineLink) + 6, copy.m_puWrite);
    EXPECT_NE(source.m_puInlineLink, copy.m_puInlineLink);
    Bytes rest(50);
    copy.Extract(rest.data(), 50);
    const Bytes bytes = Numbered(150);
    EXPECT_EQ(Bytes(bytes.begin() + 100, bytes.end()), rest);
}

TEST_F(CPoolOfMarshalers, ModuleFunctionsMakeItLockedEmptyAndUnlimited)
{
    EXPECT_TRUE(HasItsSize(Pool::ms_pBlockAllocator));
    EXPECT_TRUE(HasItsSize(Pool::ms_uAllocatedCount));
    EXPECT_TRUE(HasItsSize(Pool::ms_uCapacity));
    EXPECT_TRUE(HasItsSize(Pool::ms_uLockCapacity));
    EXPECT_TRUE(HasItsSize(Pool::ms_pmutex));
    static constexpr SModuleFunctions aPAIRS[] = {{&InitializeCPool<CMarshaler>, &FinalizeCPool<CMarshaler>},
                                                  {&Pool::InitializeCPool, &Pool::FinalizeCPool}};
    for (const SModuleFunctions& rPair : aPAIRS)
    {
        Pool::ms_uAllocatedCount = Pool::ms_uCapacity = Pool::ms_uLockCapacity = 7;
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        ASSERT_NE(nullptr, Pool::ms_pBlockAllocator);
        EXPECT_EQ(sizeof(CMarshaler), Pool::ms_pBlockAllocator->m_uBlockSize);
        EXPECT_EQ(0u, Pool::ms_uAllocatedCount | Pool::ms_uCapacity | Pool::ms_uLockCapacity);
        ASSERT_NE(nullptr, Pool::ms_pmutex);
        EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(Pool::ms_pmutex, 0));
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, Pool::ms_pBlockAllocator);
    }
}

TEST_F(CPoolOfMarshalers, StaticsFollowItsUse)
{
    Pool::Initialize(true, 2, true, &m_source);
    EXPECT_EQ(2u, m_source.m_uAllocatedCount);
    EXPECT_EQ(96u, m_source.m_uAllocatedSize);
    EXPECT_EQ(static_cast<IAllocator*>(&m_source), Pool::ms_pBlockAllocator->m_pAllocator);
    EXPECT_EQ(2u, Pool::ms_uCapacity);
    EXPECT_NE(0u, Pool::ms_uLockCapacity);
    CMutex* const pmutex = Pool::ms_pmutex;
    EXPECT_NE(nullptr, pmutex);

    void* const pvFirst = Pool::Allocate();
    void* const pvSecond = Pool::Allocate();
    EXPECT_EQ(2u, Pool::ms_uAllocatedCount);
    EXPECT_EQ(nullptr, Pool::Allocate());
    Pool::Deallocate(pvFirst);
    Pool::Deallocate(pvSecond);
    EXPECT_EQ(0u, Pool::ms_uAllocatedCount);
    EXPECT_EQ(pvSecond, Pool::ms_pBlockAllocator->m_pHead);

    Pool::Uninitialize();
    EXPECT_EQ(nullptr, Pool::ms_pBlockAllocator);
    EXPECT_EQ(0u, Pool::ms_uAllocatedCount | Pool::ms_uCapacity | Pool::ms_uLockCapacity);
    EXPECT_EQ(pmutex, Pool::ms_pmutex);
}
