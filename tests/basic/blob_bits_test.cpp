// Bits of a blob beside its second implementation, at every offset: the sources and destinations end where the memory
// ends, so that a byte read or written too many is fatal. Sequences of all operations are compared by fuzz.blob.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "framework/basic/blob.h"
#include "fuzz/models/blob_twin.h"
#include "tests/support/blob_probe.h"
#include "tests/support/page_end.h"
#include "tests/support/sanitizers.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
/// Blocks that end where the memory ends. Aligned ones need sizes that are multiples of 8.
class CPageEndAllocator : public IAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        EXPECT_EQ(1u, uCount);
        EXPECT_EQ(0u, uSize % 8) << "would not be aligned";
        m_blocks.push_back(std::make_unique<CPageEnd>(std::size_t{uSize}));
        SBlock* const pBlock = new (m_blocks.back()->Get()) SBlock{nullptr};
        if (ppLast != nullptr) *ppLast = pBlock;
        return pBlock;
    }
    void Release(SBlock* pChain, unsigned int) override
    {
        m_blocks.erase(
            std::remove_if(m_blocks.begin(), m_blocks.end(),
                           [&](const auto& rpBlock) { return rpBlock->Get() == static_cast<void*>(pChain); }),
            m_blocks.end());
    }

private:
    std::vector<std::unique_ptr<CPageEnd>> m_blocks;
};

/// A copy of up to a page of bytes that ends where the memory ends; valid until the next one.
unsigned char* AtPageEnd(const Bytes& rBytes)
{
    constexpr std::size_t uPAGE = 4096;
    static CPageEnd s_page(uPAGE);
    EXPECT_LE(rBytes.size(), uPAGE);
    unsigned char* const puCopy = s_page.Get() + uPAGE - rBytes.size();
    std::copy(rBytes.begin(), rBytes.end(), puCopy);
    return puCopy;
}

/// A blob and its twin, to which the same is done.
class CBoth
{
public:
    CBoth(std::mt19937& rRng, const Bytes& rBytes, IAllocator& rAllocator)
        : blob(BlobOf(rBytes, &rAllocator)), twin(rBytes, 0, m_requests), m_rRng(rRng)
    {
    }
    /// With room for a whole word behind the bits one step does, inline.
    void Reserve(unsigned int uCapacity)
    {
        EXPECT_EQ(QV_RES_OK, blob.ReserveCapacity(uCapacity));
        twin.Reserve(uCapacity);
    }
    /// Bits at an offset into a source that holds nothing behind them.
    void AppendBits(unsigned int uCount, unsigned int uOffset)
    {
        const unsigned int uBytes = (uOffset + uCount + 7) / 8;
        const Bytes source = RandomBytes(m_rRng, uBytes, uBytes);
        blob.AppendBits(AtPageEnd(source), uCount, uOffset);
        twin.AppendBits(source, uCount, uOffset);
    }
    /// Into a destination that has no room behind the bits: what is in front of them stays, the rest is cleared.
    void ReadBits(unsigned int uCount, unsigned int uOffset)
    {
        const std::vector<bool> bits = twin.ReadBits(uCount);
        const unsigned int uBytes = (uOffset + static_cast<unsigned int>(bits.size()) + 7) / 8;
        const Bytes before = RandomBytes(m_rRng, uBytes, uBytes);
        Bytes want = before;
        for (unsigned int u = uOffset; !bits.empty() && u < uBytes * 8; ++u)
        {
            const bool bSet = u - uOffset < bits.size() && bits[u - uOffset];
            const unsigned int uMask = 0x80u >> u % 8;
            want[u / 8] = static_cast<unsigned char>(bSet ? want[u / 8] | uMask : want[u / 8] & ~uMask);
        }
        unsigned char* const puDestination = AtPageEnd(before);
        blob.ReadBits(puDestination, uCount, uOffset);
        ASSERT_EQ(want, Bytes(puDestination, puDestination + uBytes));
    }
    void SkipBits(unsigned int uCount)
    {
        blob.SkipBits(uCount);
        twin.SkipBits(uCount);
    }
    void ExpectSame() const
    {
        ASSERT_EQ(twin.GetBytes(0, twin.GetSize()), BytesOf(blob));
        ASSERT_EQ(twin.GetCapacity(), blob.GetCapacity());
        ASSERT_EQ(twin.GetCursors(), CursorsOf(blob));
        ASSERT_EQ(twin.GetUnreadBits(), blob.GetUnreadBits());
    }

private:
    SRequests m_requests;

public:
    CBlob blob;
    CBlobTwin twin;

private:
    std::mt19937& m_rRng;
};

class CBlobBitsAtOffset : public testing::TestWithParam<unsigned int>
{
protected:
    std::mt19937 m_rng{TestSeed()};
};
}  // namespace

TEST_P(CBlobBitsAtOffset, AppendedToEveryOffsetFromThisSourceOffset)
{
    for (unsigned int uAppended = 0; uAppended < 8; ++uAppended)
        for (unsigned int uCase = 0; uCase < 2 * 75; uCase += g_bSANITIZED ? 3 : 1)
        {
            const unsigned int uCount = uCase / 2;
            SCOPED_TRACE(testing::Message() << uCount << " bits behind " << uAppended);
            CTestAllocator allocator;
            CBoth both(m_rng, {}, allocator);
            if (uCase % 2 != 0) both.Reserve(64);
            both.AppendBits(uAppended, 0);
            both.AppendBits(uCount, GetParam());
            ASSERT_NO_FATAL_FAILURE(both.ExpectSame());
        }
}

TEST_P(CBlobBitsAtOffset, ReadFromEveryOffsetToThisOffset)
{
    CPageEndAllocator allocator;
    for (unsigned int uSkipped = 0; uSkipped < 8; ++uSkipped)
        for (unsigned int uCase = 0; uCase < 2 * 75; uCase += g_bSANITIZED ? 3 : 1)
        {
            const unsigned int uCount = uCase / 2;
            SCOPED_TRACE(testing::Message() << uCount << " bits behind " << uSkipped);
            // The fewest bytes in full blocks: reading ends at the end of the memory, or with room behind.
            const unsigned int uSize = (uSkipped + uCount + 63) / 64 * 8;
            CBoth both(m_rng, RandomBytes(m_rng, uSize, uSize), allocator);
            if (uCase % 2 != 0) both.Reserve(uSize + 8);
            both.SkipBits(uSize * 8 - uCount);
            ASSERT_NO_FATAL_FAILURE(both.ReadBits(uCount, GetParam()));
            ASSERT_NO_FATAL_FAILURE(both.ExpectSame());
            ASSERT_EQ(0u, both.blob.GetUnreadBits());
        }
}

INSTANTIATE_TEST_SUITE_P(Offset, CBlobBitsAtOffset, testing::Range(0u, 18u));

TEST(CBlobBits, LongRunsMatch)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    for (unsigned int uRound = 0; uRound < 60; ++uRound)
    {
        CBoth both(rng, {}, allocator);
        both.AppendBits(Below(rng, 8), 0);
        both.AppendBits(2000 + Below(rng, 2000), Below(rng, 32));
        ASSERT_NO_FATAL_FAILURE(both.ExpectSame());
        ASSERT_NO_FATAL_FAILURE(both.ReadBits(Below(rng, 8), 0));
        ASSERT_NO_FATAL_FAILURE(both.ReadBits(3000, Below(rng, 8)));
        ASSERT_NO_FATAL_FAILURE(both.ExpectSame());
    }
}

TEST(CBlobBits, MayBeBitsOfTheBlobItself)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    for (const unsigned int uCapacity : {0u, 100u})
        for (unsigned int uOffset = 0; uOffset < 16; ++uOffset)
            for (unsigned int uAppended = 1; uAppended < 9; ++uAppended)
            {
                SCOPED_TRACE(testing::Message() << uCapacity << " " << uOffset << " " << uAppended);
                CBoth both(rng, {}, allocator);
                both.Reserve(uCapacity);
                both.AppendBits(64 + uAppended, 0);
                const unsigned int uCount = 64 + uAppended - uOffset;
                both.blob.AppendBits(both.blob.GetFirstIndexPtr(), uCount, uOffset);
                both.twin.AppendBits(both.twin.GetBytes(0, both.twin.GetSize()), uCount, uOffset);
                ASSERT_NO_FATAL_FAILURE(both.ExpectSame());
            }
}

TEST(CBlobBits, MayBeReadToBytesOfTheBlobItself)
{
    const Bytes bytes = {0x96, 0x3C, 0x5A, 0xE1, 0x07, 0xD2, 0x4B, 0xF8, 0x1D, 0x83, 0x6E, 0xA9};
    for (unsigned int uSkipped = 0; uSkipped < 20; ++uSkipped)
        for (unsigned int uTo = 0; uTo < 6; ++uTo)
            for (unsigned int uOffset = 0; uOffset < 9; ++uOffset)
                for (const unsigned int uCount : {0u, 1u, 5u, 8u, 13u, 32u, 33u, 40u, 46u})
                {
                    SCOPED_TRACE(testing::Message() << uCount << " bits from bit " << uSkipped << " to byte " << uTo
                                                    << ", bit " << uOffset);
                    CBlob blob = BlobOf(bytes);
                    CBlob blobRead = BlobOf(bytes);
                    blob.SkipBits(uSkipped);
                    blobRead.SkipBits(uSkipped);
                    Bytes expected = bytes;
                    blobRead.ReadBits(expected.data() + uTo, uCount, uOffset);
                    blob.ReadBits(blob.GetAt(uTo), uCount, uOffset);
                    ASSERT_EQ(expected, BytesOf(blob));
                    ASSERT_EQ(CursorsOf(blobRead), CursorsOf(blob));
                }
}

TEST(CBlobBits, AppendingReservesFourBytesMoreThanTheBitsNeedAndNothingWithinTheCapacity)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    const Bytes source(20, 0xFF);
    blob.AppendBits(source.data(), 0, 0);
    EXPECT_EQ(4u, blob.GetCapacity());
    blob.AppendBits(source.data(), 1, 0);
    EXPECT_EQ(5u, blob.GetCapacity());
    blob.AppendBits(source.data(), 7, 0);
    EXPECT_EQ(1u + 1 + 4, blob.GetCapacity());
    blob.AppendBits(source.data(), 160, 0);
    EXPECT_EQ(1u + 20 + 4, blob.GetCapacity());
    ASSERT_EQ(QV_RES_OK, blob.ReserveCapacity(100));
    const std::size_t uRequests = allocator.GetRequests().size();
    for (unsigned int u = 0; u < 8 * 74; ++u) blob.AppendBits(source.data(), 1, u % 8);
    EXPECT_EQ(Bytes(95, 0xFF), BytesOf(blob));
    EXPECT_EQ(uRequests, allocator.GetRequests().size());
}

struct SReplacedCase
{
    unsigned int uBits;  // all set, appended first
    Bytes bytes;         // appended behind them as bytes
    Bytes want;          // with the four bits 1011 behind all that
    SBlobCursors stWant;
};
// A byte that stands alone where bits would go on is taken for one in progress, which has no bits yet.
TEST(CBlobBits, BehindABoundaryReplaceASingleByteThatWasAppendedAsOne)
{
    const SReplacedCase astCASES[] = {{8, {0x77}, {0xFF, 0xB0}, {0, 0, 1, 4}},
                                      {8, {0x77, 0x78}, {0xFF, 0x77, 0x78, 0xB0}, {0, 0, 3, 4}},
                                      {0, {0x77}, {0xB0}, {0, 0, 0, 4}},
                                      {0, {0x77, 0x78}, {0x77, 0x78, 0xB0}, {0, 0, 2, 4}},
                                      {3, {0x77}, {0xE0, 0x77, 0xB0}, {0, 0, 2, 4}}};
    for (const SReplacedCase& rCase : astCASES)
        for (const unsigned int uCapacity : {0u, 32u})
        {
            SCOPED_TRACE(testing::Message()
                         << rCase.uBits << " bits, then " << rCase.bytes.size() << " bytes, room for " << uCapacity);
            const unsigned char auSource[] = {0xFF, 0xAB};
            CBlob blob(uCapacity, nullptr);
            if (rCase.uBits != 0) blob.AppendBits(auSource, rCase.uBits, 0);
            ASSERT_EQ(QV_RES_OK, blob.Append(rCase.bytes.data(), SizeOf(rCase.bytes)));
            blob.AppendBits(auSource + 1, 4, 4);
            EXPECT_EQ(rCase.want, BytesOf(blob));
            EXPECT_EQ(rCase.stWant, CursorsOf(blob));
        }
}

TEST(CBlobBits, BehindAPartlyFilledByteThatIsRemovedANewOneBegins)
{
    for (unsigned int uBits = 1; uBits < 8; ++uBits)
    {
        SCOPED_TRACE(uBits);
        CBlob blob(nullptr);
        ASSERT_EQ(QV_RES_OK, blob.ReserveCapacity(16));
        const unsigned char uSource = 0xFF;
        blob.AppendBits(&uSource, uBits, 0);
        blob.Erase(0, 1);
        EXPECT_EQ((SBlobCursors{0, 0, 0, uBits}), CursorsOf(blob));
        blob.AppendBits(&uSource, 3, 0);
        EXPECT_EQ((Bytes{0xE0}), BytesOf(blob));
        EXPECT_EQ((SBlobCursors{0, 0, 0, 3}), CursorsOf(blob));
    }
}

TEST(CBlobBits, ReadingMoreThanAreUnreadReadsThoseAndThenNothing)
{
    CBlob blob = BlobOf({0xAB, 0xCD});
    blob.SkipBits(5);
    unsigned char auRead[] = {0xFF, 0xFF, 0xFF};
    blob.ReadBits(auRead, 100, 0);
    EXPECT_EQ((Bytes{0x79, 0xA0, 0xFF}), Bytes(auRead, auRead + 3));
    EXPECT_EQ((SBlobCursors{2, 0, 0, 0}), CursorsOf(blob));
    blob.ReadBits(auRead, 100, 0);
    EXPECT_EQ((Bytes{0x79, 0xA0, 0xFF}), Bytes(auRead, auRead + 3));
}

TEST(CBlobBits, NoneOrToNowhereOrFromNowhereMovesNothing)
{
    CBlob blob(nullptr);
    ASSERT_EQ(QV_RES_OK, blob.ReserveCapacity(16));
    ASSERT_EQ(QV_RES_OK, blob.Append(Bytes(4).data(), 4));
    unsigned char uRead = 0xFF;
    blob.ReadBits(&uRead, 0, 3);
    for (const unsigned int uBits : {0u, 1u, 8u, 32u, 40u})
    {
        blob.ReadBits(nullptr, uBits, 0);
        blob.AppendBits(nullptr, uBits, 0);
    }
    blob.SkipBits(0);
    EXPECT_EQ(0xFF, uRead);
    EXPECT_EQ(4u, blob.GetSize());
    EXPECT_EQ((SBlobCursors{0, 0, 4, 0}), CursorsOf(blob)) << "where the next bits would go";
}

TEST(CBlobBits, PaddingAppendsZerosAndAsksForMemoryTwiceAtMost)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uAppended = 0; uAppended <= 8; ++uAppended)
        for (unsigned int uCount = 0; uCount < 400; ++uCount)
        {
            SCOPED_TRACE(testing::Message() << uCount << " bits behind " << uAppended);
            CTestAllocator allocator;
            CBoth both(rng, {}, allocator);
            both.AppendBits(uAppended, 0);
            const std::size_t uRequests = allocator.GetRequests().size();
            both.blob.PadBits(uCount);
            both.twin.PadBits(uCount);
            ASSERT_GE(uRequests + 2, allocator.GetRequests().size());
            ASSERT_NO_FATAL_FAILURE(both.ExpectSame());
        }
}

TEST(CBlobBits, PaddingWithoutMemoryAsksOnceAndGivesUp)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    allocator.SetRefusing(true);
    blob.PadBits(0xFFFFFFFF);
    EXPECT_EQ(1u, allocator.GetRequests().size());
    EXPECT_EQ(0u, blob.GetSize());
}

// Every request refused in turn: a run of bits is appended as a whole or not at all, and its cursors with it.
TEST(CBlobBits, AreAllThereOrNoneWithoutMemory)
{
    const Bytes source(8, 0x5A);
    for (unsigned int uNth = 1; uNth < 12; ++uNth)
    {
        SCOPED_TRACE(uNth);
        CTestAllocator allocator;
        CBlob blob(&allocator);
        allocator.RefuseNth(uNth);
        unsigned int uBits = 0;
        for (unsigned int uStep = 0; uStep < 10; ++uStep)
        {
            const SBlobCursors stBefore = CursorsOf(blob);
            const Bytes before = BytesOf(blob);
            blob.AppendBits(source.data(), 37, 3);
            if (BytesOf(blob) == before) EXPECT_EQ(stBefore, CursorsOf(blob));
            else uBits += 37;
            ASSERT_EQ((uBits + 7) / 8, blob.GetSize());
        }
        EXPECT_EQ(allocator.HasRefused() ? 9u * 37 : 10u * 37, uBits);
    }
}

class CBlobAlignment : public testing::TestWithParam<unsigned int>
{
};
TEST_P(CBlobAlignment, ReachesTheNextMultipleFromEveryPosition)
{
    const Bytes source(12, 0xFF);
    for (unsigned int uPosition = 0; uPosition <= 12 * 8; ++uPosition)
    {
        SCOPED_TRACE(uPosition);
        const unsigned int uNext = (uPosition + GetParam() - 1) / GetParam() * GetParam();
        CBlob blob = BlobOf(source);
        blob.SkipBits(uPosition);
        blob.RealignReadBits(GetParam());
        ASSERT_EQ(12 * 8 - std::min(uNext, 12u * 8), blob.GetUnreadBits());

        CBlob blobAppended(nullptr);
        blobAppended.AppendBits(source.data(), uPosition, 0);
        blobAppended.RealignAppendBits(GetParam());
        ASSERT_EQ((SBlobCursors{0, 0, uNext / 8, uNext % 8}), CursorsOf(blobAppended));
        ASSERT_EQ((uNext + 7) / 8, blobAppended.GetSize());
    }
}
INSTANTIATE_TEST_SUITE_P(All, CBlobAlignment, testing::Values(1u, 3u, 7u, 8u, 9u, 24u, 32u, 33u, 64u, 1000u),
                         testing::PrintToStringParamName());

TEST(CBlobAlignment, OfReadingGoesNoFurtherThanTheEnd)
{
    CBlob blob = BlobOf({1, 2, 3});
    blob.SkipBits(9);
    blob.RealignReadBits(0xFFFFFFFF);
    EXPECT_EQ((SBlobCursors{3, 0, 0, 0}), CursorsOf(blob));
}

TEST(CBlobAlignment, OfNothingDoesNothing)
{
    CBlob blob = BlobOf({1, 2, 3});
    blob.SkipBits(9);
    const SBlobCursors stBefore = CursorsOf(blob);
    blob.RealignReadBits(0);
    blob.RealignAppendBits(0);
    EXPECT_EQ(stBefore, CursorsOf(blob));
    EXPECT_EQ(3u, blob.GetSize());
}

TEST(CBlobAlignment, OfAppendingCountsFromTheLastAppendedBit)
{
    // The offset in a byte that has since been followed by others is not forgotten: five bits are missing there.
    CBlob blob(nullptr);
    const Bytes source(3, 0xFF);
    blob.AppendBits(source.data(), 3, 0);
    ASSERT_EQ(QV_RES_OK, blob.Append(source.data(), 1));
    blob.RealignAppendBits(8);
    EXPECT_EQ((Bytes{0xE0, 0xFF, 0x00}), BytesOf(blob));
    EXPECT_EQ((SBlobCursors{0, 0, 2, 5}), CursorsOf(blob));
}
