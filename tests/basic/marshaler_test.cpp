#include "framework/basic/marshaler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <thread>

#include "framework/basic/marshal_reader.h"
#include "tests/support/bytes.h"
#include "tests/support/test_allocator.h"

namespace
{
class CPoolProbe : public CPool<CMarshaler>
{
public:
    using CPool<CMarshaler>::ms_pBlockAllocator;
    using CPool<CMarshaler>::ms_pmutex;
    using CPool<CMarshaler>::ms_uAllocatedCount;
    using CPool<CMarshaler>::ms_uCapacity;
};

/// A marshaler's memory.
struct SImage
{
    unsigned char* puWrite;
    unsigned char* puWriteEnd;
    unsigned char* puRead;
    unsigned char* puReadEnd;
    unsigned char auInline[56];
    unsigned char* puLink;
};
static_assert(sizeof(CMarshaler) == sizeof(SImage));

SImage ImageOf(const CMarshaler& rMarshaler)
{
    SImage image;
    memcpy(static_cast<void*>(&image), static_cast<const void*>(&rMarshaler), sizeof image);
    return image;
}

unsigned char* InlineOf(CMarshaler& rMarshaler)
{
    return reinterpret_cast<unsigned char*>(&rMarshaler) + 32;
}

void ExpectEmptyState(CMarshaler& rMarshaler)
{
    const SImage image = ImageOf(rMarshaler);
    EXPECT_EQ(InlineOf(rMarshaler), image.puWrite);
    EXPECT_EQ(InlineOf(rMarshaler) + 56, image.puWriteEnd);
    EXPECT_EQ(InlineOf(rMarshaler), image.puRead);
    EXPECT_EQ(InlineOf(rMarshaler) + 56, image.puReadEnd);
    EXPECT_EQ(nullptr, image.puLink);
    EXPECT_EQ(0u, rMarshaler.GetUnreadSize());
}

/// Bytes that tell their place apart from any other within a few segments.
Bytes Numbered(unsigned int uSize)
{
    Bytes bytes(uSize);
    for (unsigned int u = 0; u < uSize; ++u) bytes[u] = static_cast<unsigned char>(u * 7 + u / 251 + 1);
    return bytes;
}

void Insert(CMarshaler& rMarshaler, const Bytes& bytes)
{
    rMarshaler.Insert(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

Bytes Extract(CMarshaler& rMarshaler, std::size_t uSize)
{
    Bytes bytes(uSize, 0xDB);
    rMarshaler.Extract(bytes.data(), static_cast<unsigned int>(uSize));
    return bytes;
}

Bytes Part(const Bytes& bytes, std::size_t uFirst, std::size_t uEnd)
{
    using Distance = Bytes::difference_type;
    return Bytes(bytes.begin() + static_cast<Distance>(uFirst), bytes.begin() + static_cast<Distance>(uEnd));
}

unsigned int SegmentsFor(unsigned int uSize)
{
    return uSize <= 56 ? 0 : (uSize - 56 + 87) / 88;
}

/// The pool draws from an allocator that watches every block.
class CMarshalerTest : public testing::Test
{
protected:
    CMarshalerTest()
    {
        CPoolProbe::Uninitialize();
        CPoolProbe::Initialize(true, 0, false, &m_allocator);
    }
    ~CMarshalerTest() override
    {
        EXPECT_EQ(0u, CPoolProbe::ms_uAllocatedCount) << "segments were never returned";
        CPoolProbe::Uninitialize();
        CPoolProbe::InitializeCPool();
    }
    /// From now on the pool has uSegments blocks and no more.
    void Limit(unsigned int uSegments)
    {
        CPoolProbe::Uninitialize();
        CPoolProbe::Initialize(true, uSegments, true, &m_allocator);
    }

    CTestAllocator m_allocator;
};

constexpr unsigned int g_auSIZES[] = {0, 1, 2, 55, 56, 57, 58, 143, 144, 145, 199, 200, 231, 232, 233, 320, 321, 1000};
}  // namespace

TEST_F(CMarshalerTest, StartsInTheEmptyStateWithoutAllocation)
{
    CMarshaler marshaler;
    ExpectEmptyState(marshaler);
    EXPECT_TRUE(m_allocator.GetRequests().empty());
}

TEST_F(CMarshalerTest, TheNextSegmentIsTakenOnlyWhenTheNextByteComes)
{
    for (const unsigned int uFull : {56u, 144u, 232u})
    {
        CMarshaler marshaler;
        Insert(marshaler, Numbered(uFull));
        EXPECT_EQ(SegmentsFor(uFull), CPoolProbe::ms_uAllocatedCount);
        const SImage full = ImageOf(marshaler);
        EXPECT_EQ(full.puWriteEnd, full.puWrite);
        marshaler.Insert(nullptr, 0);
        EXPECT_EQ(SegmentsFor(uFull), CPoolProbe::ms_uAllocatedCount);
        Insert(marshaler, {9});
        EXPECT_EQ(SegmentsFor(uFull) + 1, CPoolProbe::ms_uAllocatedCount);
        EXPECT_EQ(Numbered(uFull), Extract(marshaler, uFull));
        const SImage read = ImageOf(marshaler);
        EXPECT_EQ(read.puReadEnd, read.puRead);
        EXPECT_EQ(Bytes{9}, Extract(marshaler, 1));
    }
}

TEST_F(CMarshalerTest, IntegersAreReadAsTheyWereWrittenWhereverASegmentEnds)
{
    for (unsigned int uOffset = 0; uOffset <= 240; ++uOffset)
    {
        SCOPED_TRACE(testing::Message() << "behind " << uOffset);
        CMarshaler marshaler;
        Insert(marshaler, Numbered(uOffset));
        const unsigned short uShortIn = 0xBEEF;
        const unsigned char uByteIn = 0x5A;
        CMarshaler& rIn = marshaler << 0xDEADBEEFu << uShortIn << uByteIn << 0x1122334455667788ul;
        ASSERT_EQ(&marshaler, &rIn);
        ASSERT_EQ(SegmentsFor(uOffset + 15), CPoolProbe::ms_uAllocatedCount);
        ASSERT_EQ(uOffset + 15, marshaler.GetUnreadSize());
        ASSERT_EQ(Numbered(uOffset), Extract(marshaler, uOffset));
        unsigned int u = 0;
        unsigned short uShort = 0;
        unsigned char uByte = 0;
        unsigned long uLong = 0;
        CMarshaler& rOut = marshaler >> u >> uShort >> uByte >> uLong;
        ASSERT_EQ(&marshaler, &rOut);
        ASSERT_EQ(0xDEADBEEFu, u);
        ASSERT_EQ(0xBEEF, uShort);
        ASSERT_EQ(0x5A, uByte);
        ASSERT_EQ(0x1122334455667788ul, uLong);
    }
}

TEST_F(CMarshalerTest, ClearReturnsTheSegmentsAndTheEmptyState)
{
    const std::size_t uReleases = m_allocator.GetReleases().size();
    CMarshaler marshaler;
    for (const unsigned int uSize : g_auSIZES)
    {
        Insert(marshaler, Numbered(uSize));
        Extract(marshaler, uSize / 2);
        marshaler.Clear();
        ExpectEmptyState(marshaler);
        EXPECT_EQ(0u, CPoolProbe::ms_uAllocatedCount);
    }
    marshaler.Clear();
    ExpectEmptyState(marshaler);
    EXPECT_EQ(uReleases, m_allocator.GetReleases().size()) << "the pool keeps the blocks";
    Insert(marshaler, Numbered(100));
    EXPECT_EQ(Numbered(100), Extract(marshaler, 100));
}

TEST_F(CMarshalerTest, ACopyHasTheContentAndTheReadPositionOnSegmentsOfItsOwn)
{
    CMarshaler assigned;
    Insert(assigned, Numbered(300));
    Extract(assigned, 70);
    for (const unsigned int uSize : g_auSIZES)
    {
        for (unsigned int uRead = 0; uRead <= uSize; uRead += uSize > 400 ? 43 : 1)
        {
            SCOPED_TRACE(testing::Message() << uRead << " read of " << uSize);
            const Bytes bytes = Numbered(uSize);
            CMarshaler source;
            Insert(source, bytes);
            Extract(source, uRead);
            const CMarshaler& rResult = assigned = source;
            ASSERT_EQ(&assigned, &rResult);
            CMarshaler constructed(source);
            ASSERT_EQ(3 * SegmentsFor(uSize), CPoolProbe::ms_uAllocatedCount);
            for (CMarshaler* const pCopy : {&assigned, &constructed})
            {
                const SImage from = ImageOf(source);
                const SImage to = ImageOf(*pCopy);
                ASSERT_EQ(from.puReadEnd - from.puRead, to.puReadEnd - to.puRead);
                ASSERT_EQ(from.puWriteEnd - from.puWrite, to.puWriteEnd - to.puWrite);
                ASSERT_EQ(from.puReadEnd == InlineOf(source) + 56, to.puReadEnd == InlineOf(*pCopy) + 56);
                Insert(*pCopy, {1, 2, 3});
                ASSERT_EQ(uSize - uRead + 3, pCopy->GetUnreadSize());
                ASSERT_EQ(Part(bytes, uRead, uSize), Extract(*pCopy, uSize - uRead));
                ASSERT_EQ((Bytes{1, 2, 3}), Extract(*pCopy, 3));
            }
            ASSERT_EQ(uSize - uRead, source.GetUnreadSize());
            ASSERT_EQ(Part(bytes, uRead, uSize), Extract(source, uSize - uRead));
        }
    }
}

TEST_F(CMarshalerTest, SelfAssignmentChangesNothing)
{
    CMarshaler marshaler;
    Insert(marshaler, Numbered(150));
    Extract(marshaler, 60);
    const CMarshaler& rSelf = marshaler;
    const SImage before = ImageOf(marshaler);
    marshaler = rSelf;
    const SImage after = ImageOf(marshaler);
    EXPECT_EQ(0, memcmp(static_cast<const void*>(&before), static_cast<const void*>(&after), sizeof before));
    EXPECT_EQ(Part(Numbered(150), 60, 150), Extract(marshaler, 90));
}

namespace
{
/// Leaves bytes in the pool's blocks and in the memory that the next marshaler of this frame may get.
void LeaveBytesBehind()
{
    CMarshaler marshaler;
    Insert(marshaler, Bytes(2000, 0x5E));
}
}  // namespace

TEST_F(CMarshalerTest, WhatWasNotWrittenReadsAsZerosAndTheReaderStaysAtTheWriter)
{
    for (unsigned int uSize = 0; uSize <= 240; ++uSize)
    {
        LeaveBytesBehind();
        for (const unsigned int uTooMany : {1u, 3u, 8u, 56u, 300u})
        {
            SCOPED_TRACE(testing::Message() << uTooMany << " more than " << uSize);
            const auto pMarshaler = std::make_unique<CMarshaler>();
            memset(InlineOf(*pMarshaler), 0x5E, 56);
            Insert(*pMarshaler, Numbered(uSize));
            Bytes expected = Numbered(uSize);
            expected.resize(uSize + uTooMany, 0);
            ASSERT_EQ(expected, Extract(*pMarshaler, uSize + uTooMany));
            ASSERT_EQ(0u, pMarshaler->GetUnreadSize());
            ASSERT_EQ(ImageOf(*pMarshaler).puWrite, ImageOf(*pMarshaler).puRead);
            Insert(*pMarshaler, {5, 6, 7});
            ASSERT_EQ(3u, pMarshaler->GetUnreadSize());
            ASSERT_EQ((Bytes{5, 6, 7}), Extract(*pMarshaler, 3));
        }
    }
}

namespace
{
template <typename T>
void ExpectZerosBehind(unsigned int uSize, unsigned int uWritten)
{
    SCOPED_TRACE(testing::Message() << sizeof(T) << " bytes behind " << uSize << ", " << uWritten << " written");
    CMarshaler marshaler;
    memset(InlineOf(marshaler), 0x5E, 56);
    Insert(marshaler, Numbered(uSize));
    Extract(marshaler, uSize);
    Insert(marshaler, Bytes(uWritten, 0xC3));
    T expected = 0;
    memset(static_cast<void*>(&expected), 0xC3, std::min<std::size_t>(uWritten, sizeof(T)));
    T value = 0;
    marshaler >> value;
    ASSERT_EQ(expected, value);
    const T next = 0x42;
    ASSERT_EQ(uWritten - std::min<std::size_t>(uWritten, sizeof(T)), marshaler.GetUnreadSize());
    Extract(marshaler, marshaler.GetUnreadSize());
    marshaler << next;
    marshaler >> value;
    ASSERT_EQ(next, value);
}
}  // namespace

TEST_F(CMarshalerTest, IntegersThatWereNotWrittenOrNotWhollyReadAsZeros)
{
    LeaveBytesBehind();
    for (unsigned int uSize = 0; uSize <= 240; ++uSize)
    {
        for (unsigned int uWritten = 0; uWritten <= 9; ++uWritten)
        {
            ASSERT_NO_FATAL_FAILURE(ExpectZerosBehind<unsigned char>(uSize, uWritten));
            ASSERT_NO_FATAL_FAILURE(ExpectZerosBehind<unsigned short>(uSize, uWritten));
            ASSERT_NO_FATAL_FAILURE(ExpectZerosBehind<unsigned int>(uSize, uWritten));
            ASSERT_NO_FATAL_FAILURE(ExpectZerosBehind<unsigned long>(uSize, uWritten));
        }
    }
}

TEST_F(CMarshalerTest, AReaderThatAnOldProgramMovedPastTheWriterFindsZerosUntilTheWriterHasPassedIt)
{
    for (const unsigned int uPast : {1u, 40u})
    {
        CMarshaler marshaler;
        memset(InlineOf(marshaler), 0x5E, 56);
        Insert(marshaler, Numbered(8));
        unsigned char* const puRead = InlineOf(marshaler) + 8 + uPast;
        memcpy(reinterpret_cast<unsigned char*>(&marshaler) + offsetof(SImage, puRead), &puRead, sizeof puRead);
        EXPECT_EQ(0u, marshaler.GetUnreadSize());
        unsigned int uValue = 1;
        CMarshalReader(marshaler, 0) >> uValue;
        EXPECT_EQ(0u, uValue);
        uValue = 1;
        marshaler >> uValue;
        EXPECT_EQ(0u, uValue);
        EXPECT_EQ(Bytes(100, 0), Extract(marshaler, 100));
        Insert(marshaler, Bytes(uPast, 1));
        Insert(marshaler, {5, 6, 7});
        EXPECT_EQ((Bytes{5, 6, 7}), Extract(marshaler, 3));
    }
}

TEST_F(CMarshalerTest, ExtractOfNothingLeavesTheReadPosition)
{
    CMarshaler marshaler;
    Insert(marshaler, Numbered(57));
    marshaler.Extract(nullptr, 0);
    EXPECT_EQ(Numbered(56), Extract(marshaler, 56));
    marshaler.Extract(nullptr, 0);
    const SImage image = ImageOf(marshaler);
    EXPECT_EQ(InlineOf(marshaler) + 56, image.puRead);
}

TEST_F(CMarshalerTest, GoesOnWhenMemoryIsBack)
{
    Limit(1);
    CMarshaler marshaler;
    {
        CMarshaler other;
        Insert(other, Numbered(57));
        Insert(marshaler, Numbered(60));
    }
    EXPECT_EQ(56u, marshaler.GetUnreadSize());
    Insert(marshaler, {1, 2, 3});
    EXPECT_EQ(59u, marshaler.GetUnreadSize());
    EXPECT_EQ(Numbered(56), Extract(marshaler, 56));
    EXPECT_EQ((Bytes{1, 2, 3}), Extract(marshaler, 3));
}

TEST_F(CMarshalerTest, ARefusedAllocationAnywhereKeepsWhatIsThere)
{
    for (unsigned int uNth = 1; uNth <= 5; ++uNth)
    {
        CPoolProbe::Uninitialize();
        CPoolProbe::Initialize(true, 0, false, &m_allocator);
        m_allocator.RefuseNth(uNth);
        CMarshaler marshaler;
        for (unsigned int u = 0; u < 400; ++u) Insert(marshaler, {static_cast<unsigned char>(u)});
        // The byte that found no room is dropped; the next one asks again.
        Bytes expected(400);
        for (unsigned int u = 0; u < 400; ++u) expected[u] = static_cast<unsigned char>(u);
        const unsigned int uRoom = 56 + 88 * (uNth - 1);
        if (uRoom < 400) expected.erase(expected.begin() + uRoom);
        ASSERT_EQ(expected.size(), marshaler.GetUnreadSize()) << "refused at " << uNth;
        ASSERT_EQ(expected, Extract(marshaler, expected.size())) << "refused at " << uNth;
        m_allocator.RefuseNth(0);
        marshaler.Clear();
    }
}

TEST_F(CMarshalerTest, ACopyWithoutMemoryEndsWhereItsSegmentsEnd)
{
    for (const unsigned int uRead : {0u, 20u, 56u, 100u, 144u, 200u, 300u})
    {
        for (const bool bConstruct : {false, true})
        {
            SCOPED_TRACE(testing::Message() << uRead << " read, " << (bConstruct ? "constructed" : "assigned"));
            Limit(4);  // three for the source, one for the copy
            CMarshaler source;
            Insert(source, Numbered(300));
            Extract(source, uRead);
            CMarshaler assigned;
            if (!bConstruct) assigned = source;
            CMarshaler constructed(bConstruct ? source : CMarshaler());
            CMarshaler& rCopy = bConstruct ? constructed : assigned;
            const unsigned int uUnread = uRead < 144 ? 144 - uRead : 0;
            EXPECT_EQ(uUnread, rCopy.GetUnreadSize());
            Bytes expected = Part(Numbered(144), 144 - uUnread, 144);
            expected.resize(uUnread + 200, 0);
            EXPECT_EQ(expected, Extract(rCopy, uUnread + 200));
            EXPECT_EQ(Part(Numbered(300), uRead, 300), Extract(source, 300 - uRead));
        }
    }
}

TEST(MarshalerThreads, OneMayWriteWhatAnotherReads)
{
    std::vector<std::thread> threads;
    for (unsigned int uThread = 0; uThread < 3; ++uThread)
    {
        threads.emplace_back(
            []
            {
                for (unsigned int u = 0; u < 200; ++u)
                {
                    CMarshaler marshaler;
                    std::thread([&] { Insert(marshaler, Numbered(u * 3)); }).join();
                    ASSERT_EQ(Numbered(u * 3), Extract(marshaler, u * 3));
                }
            });
    }
    for (std::thread& rThread : threads) rThread.join();
    EXPECT_EQ(0u, CPoolProbe::ms_uAllocatedCount);
}
