// Bits of a blob against std::vector<bool>. The sources and destinations end where the memory ends, so that a byte read
// or written too many is fatal.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "framework/basic/blob.h"
#include "tests/basic/named_operations.h"
#include "tests/support/blob_probe.h"
#include "tests/support/page_end.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
using Bits = std::vector<bool>;

Bits BitsOf(const Bytes& rBytes)
{
    Bits bits;
    for (const unsigned char u : rBytes)
        for (unsigned int uBit = 0; uBit < 8; ++uBit) bits.push_back((u >> (7 - uBit) & 1) != 0);
    return bits;
}

/// The last byte is filled up with zeros.
Bytes Packed(const Bits& rBits)
{
    Bytes bytes((rBits.size() + 7) / 8);
    for (std::size_t u = 0; u < rBits.size(); ++u)
        if (rBits[u]) bytes[u / 8] = static_cast<unsigned char>(bytes[u / 8] | 0x80 >> u % 8);
    return bytes;
}

Bits Part(const Bits& rBits, std::size_t uFrom, std::size_t uCount)
{
    const auto it = rBits.begin() + static_cast<std::ptrdiff_t>(uFrom);
    return Bits(it, it + static_cast<std::ptrdiff_t>(uCount));
}

void Append(Bits& rBits, const Bits& rMore)
{
    rBits.insert(rBits.end(), rMore.begin(), rMore.end());
}

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

/// The published rules of a blob, a bit at a time.
struct SBlobModel
{
    Bytes bytes;
    unsigned int uCapacity = 0;
    SBlobCursors stCursors = {0, 0, 0, 0};

    unsigned int Size() const { return static_cast<unsigned int>(bytes.size()); }
    void Reserve(unsigned int uWanted) { uCapacity = std::max(uCapacity, uWanted); }

    void AppendBits(const Bits& rBits)
    {
        std::uint32_t& ruIndex = stCursors.uAppendIndex;
        std::uint32_t& ruOffset = stCursors.uAppendBitOffset;
        const unsigned int uCount = static_cast<unsigned int>(rBits.size());
        if (ruIndex + 1 != Size()) ruIndex = Size();
        Reserve(Size() + (uCount + ruOffset + 7) / 8 + 4);
        if (uCount == 0) return;
        if (ruIndex == Size()) ruOffset = 0;
        Bits all = Part(BitsOf(bytes), 0, ruIndex < Size() ? ruIndex * 8 + ruOffset : bytes.size() * 8);
        Append(all, rBits);
        bytes = Packed(all);
        ruOffset = static_cast<std::uint32_t>(all.size() % 8);
        ruIndex = ruOffset != 0 ? Size() - 1 : Size();
    }
    void PadBits(unsigned int uCount)
    {
        for (; uCount > 32; uCount -= 32) AppendBits(Bits(32));
        if (uCount > 0) AppendBits(Bits(uCount));
    }
    void RealignAppendBits(unsigned int uAlignment)
    {
        const unsigned int uRest = (stCursors.uAppendIndex * 8 + stCursors.uAppendBitOffset) % uAlignment;
        if (uRest != 0) PadBits(uAlignment - uRest);
    }

    unsigned int UnreadBytes() const { return stCursors.uReadIndex <= Size() ? Size() - stCursors.uReadIndex : 0; }
    unsigned int UnreadBits() const
    {
        if (stCursors.uReadIndex > Size()) return 0;
        return UnreadBytes() * 8 + (8 - stCursors.uReadBitOffset) % 8;
    }
    unsigned int ReadPosition() const
    {
        return (stCursors.uReadIndex - (stCursors.uReadBitOffset != 0 ? 1 : 0)) * 8 + stCursors.uReadBitOffset;
    }
    void SetReadPosition(unsigned int uPosition)
    {
        stCursors.uReadBitOffset = uPosition % 8;
        stCursors.uReadIndex = (uPosition + 7) / 8;
    }
    void SkipBits(unsigned int uCount)
    {
        uCount = std::min(uCount, UnreadBits());
        if (uCount != 0) SetReadPosition(ReadPosition() + uCount);
    }
    Bits ReadBits(unsigned int uCount)
    {
        uCount = std::min(uCount, UnreadBits());
        if (uCount == 0) return {};
        const Bits bits = Part(BitsOf(bytes), ReadPosition(), uCount);
        SkipBits(uCount);
        return bits;
    }
    void RealignReadBits(unsigned int uAlignment)
    {
        const unsigned int uRest = ReadPosition() % uAlignment;
        if (uRest != 0) SkipBits(uAlignment - uRest);
    }
};

void ExpectSame(const SBlobModel& rModel, const CBlob& rBlob)
{
    ASSERT_EQ(rModel.bytes, BytesOf(rBlob));
    ASSERT_EQ(rModel.uCapacity, rBlob.GetCapacity());
    ASSERT_EQ(rModel.stCursors, CursorsOf(rBlob));
    ASSERT_EQ(rModel.Size() - rModel.stCursors.uReadIndex, rBlob.GetUnreadSize());
    ASSERT_EQ((rModel.Size() - rModel.stCursors.uReadIndex) * 8 + (8 - rModel.stCursors.uReadBitOffset) % 8,
              rBlob.GetUnreadBits());
}

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

/// Bits at an offset into a source that holds nothing behind them, appended to both.
void AppendBoth(std::mt19937& rRng, unsigned int uCount, unsigned int uOffset, SBlobModel& rModel, CBlob& rBlob)
{
    const unsigned int uBytes = (uOffset + uCount + 7) / 8;
    const Bytes source = RandomBytes(rRng, uBytes, uBytes);
    rBlob.AppendBits(AtPageEnd(source), uCount, uOffset);
    rModel.AppendBits(Part(BitsOf(source), uOffset, uCount));
}

/// Reads from both into destinations that have no room behind the bits.
void ReadBoth(std::mt19937& rRng, unsigned int uCount, unsigned int uOffset, SBlobModel& rModel, CBlob& rBlob)
{
    const unsigned int uUnread = std::min(uCount, rModel.UnreadBits());
    const unsigned int uBytes = (uOffset + uUnread + 7) / 8;
    const Bytes before = RandomBytes(rRng, uBytes, uBytes);
    unsigned char* const puDestination = AtPageEnd(before);
    rBlob.ReadBits(puDestination, uCount, uOffset);
    Bits want = Part(BitsOf(before), 0, uUnread != 0 ? uOffset : uBytes * 8);
    Append(want, rModel.ReadBits(uCount));
    ASSERT_EQ(Packed(want), Bytes(puDestination, puDestination + uBytes));
}
}  // namespace

TEST(CBlobBits, AreTakenAndPlacedMostSignificantFirst)
{
    CBlob blob(nullptr);
    const unsigned char uFirst = 0xA0;
    const unsigned char uSecond = 0x08;
    blob.AppendBits(&uFirst, 3, 0);
    EXPECT_EQ(Bytes{0xA0}, BytesOf(blob));
    EXPECT_EQ((SBlobCursors{0, 0, 0, 3}), CursorsOf(blob));
    blob.AppendBits(&uSecond, 5, 0);
    EXPECT_EQ(Bytes{0xA1}, BytesOf(blob));
    EXPECT_EQ((SBlobCursors{0, 0, 1, 0}), CursorsOf(blob));
}

TEST(CBlobBits, FromAnOffsetOfFourTheyAreALowNibbleAndAByte)
{
    CBlob blob(nullptr);
    const unsigned char auSource[] = {0x5A, 0xBC};
    blob.AppendBits(auSource, 12, 4);
    EXPECT_EQ((Bytes{0xAB, 0xC0}), BytesOf(blob));
    EXPECT_EQ((SBlobCursors{0, 0, 1, 4}), CursorsOf(blob));
}

class CBlobBitsAtOffset : public testing::TestWithParam<unsigned int>
{
};
TEST_P(CBlobBitsAtOffset, AppendedToEveryOffsetFromThisSourceOffset)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uAppended = 0; uAppended < 8; ++uAppended)
        for (unsigned int uCount = 0; uCount < 75; ++uCount)
        {
            SCOPED_TRACE(testing::Message() << uCount << " bits behind " << uAppended);
            CTestAllocator allocator;
            CBlob blob(&allocator);
            SBlobModel model;
            AppendBoth(rng, uAppended, 0, model, blob);
            AppendBoth(rng, uCount, GetParam(), model, blob);
            ASSERT_NO_FATAL_FAILURE(ExpectSame(model, blob));
        }
}
INSTANTIATE_TEST_SUITE_P(Source, CBlobBitsAtOffset, testing::Range(0u, 32u));

class CBlobBitsToOffset : public testing::TestWithParam<unsigned int>
{
};
TEST_P(CBlobBitsToOffset, ReadFromEveryOffsetToThisOffset)
{
    std::mt19937 rng(TestSeed());
    CPageEndAllocator allocator;
    for (unsigned int uSkipped = 0; uSkipped < 8; ++uSkipped)
        for (unsigned int uCount = 0; uCount < 75; ++uCount)
        {
            SCOPED_TRACE(testing::Message() << uCount << " bits behind " << uSkipped);
            // The fewest bytes in full blocks: reading ends at the end of the memory.
            SBlobModel model;
            const unsigned int uSize = (uSkipped + uCount + 63) / 64 * 8;
            model.bytes = RandomBytes(rng, uSize, uSize);
            CBlob blob = BlobOf(model.bytes, &allocator);
            model.uCapacity = blob.GetCapacity();
            const unsigned int uBefore = uSize * 8 - uCount - uSkipped;
            blob.SkipBits(uBefore + uSkipped);
            model.SkipBits(uBefore + uSkipped);
            ASSERT_NO_FATAL_FAILURE(ReadBoth(rng, uCount, GetParam(), model, blob));
            ASSERT_NO_FATAL_FAILURE(ExpectSame(model, blob));
            ASSERT_EQ(0u, blob.GetUnreadBits());
        }
}
INSTANTIATE_TEST_SUITE_P(Destination, CBlobBitsToOffset, testing::Range(0u, 32u));

TEST(CBlobBits, LongRunsMatch)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uRound = 0; uRound < 60; ++uRound)
    {
        CBlob blob(nullptr);
        SBlobModel model;
        AppendBoth(rng, Below(rng, 8), 0, model, blob);
        AppendBoth(rng, 2000 + Below(rng, 2000), Below(rng, 32), model, blob);
        ASSERT_NO_FATAL_FAILURE(ExpectSame(model, blob));
        ASSERT_NO_FATAL_FAILURE(ReadBoth(rng, Below(rng, 8), 0, model, blob));
        ASSERT_NO_FATAL_FAILURE(ReadBoth(rng, 3000, Below(rng, 8), model, blob));
        ASSERT_NO_FATAL_FAILURE(ExpectSame(model, blob));
    }
}

TEST(CBlobBits, AppendingReservesFourBytesMoreThanTheBitsNeed)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    const Bytes source(20, 0xFF);
    blob.AppendBits(source.data(), 1, 0);
    EXPECT_EQ(5u, blob.GetCapacity());
    blob.AppendBits(source.data(), 7, 0);
    EXPECT_EQ(1u + 1 + 4, blob.GetCapacity());
    blob.AppendBits(source.data(), 9, 0);
    EXPECT_EQ(1u + 2 + 4, blob.GetCapacity());
    blob.AppendBits(source.data(), 160, 0);
    EXPECT_EQ(3u + 21 + 4, blob.GetCapacity());
    EXPECT_EQ(4u, allocator.GetRequests().size());
}

TEST(CBlobBits, AppendingWithinTheCapacityAllocatesNothing)
{
    CTestAllocator allocator;
    CBlob blob(100, &allocator);
    const unsigned char uSource = 0xFF;
    for (unsigned int u = 0; u < 8 * 95; ++u) blob.AppendBits(&uSource, 1, u % 8);
    EXPECT_EQ(1u, allocator.GetRequests().size());
    EXPECT_EQ(Bytes(95, 0xFF), BytesOf(blob));
}

TEST(CBlobBits, MayBeBitsOfTheBlobItself)
{
    for (const unsigned int uCapacity : {0u, 100u})
        for (unsigned int uOffset = 0; uOffset < 16; ++uOffset)
            for (unsigned int uAppended = 1; uAppended < 9; ++uAppended)
            {
                SCOPED_TRACE(testing::Message() << uCapacity << " " << uOffset << " " << uAppended);
                CTestAllocator allocator;
                CBlob blob(uCapacity, &allocator);
                SBlobModel model;
                model.uCapacity = uCapacity;
                std::mt19937 rng(TestSeed());
                AppendBoth(rng, 64 + uAppended, 0, model, blob);
                const unsigned int uCount = 64 + uAppended - uOffset;
                const Bits piece = Part(BitsOf(model.bytes), uOffset, uCount);
                blob.AppendBits(blob.GetFirstIndexPtr(), uCount, uOffset);
                model.AppendBits(piece);
                ASSERT_NO_FATAL_FAILURE(ExpectSame(model, blob));
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

TEST(CBlobBits, AByteAppendedBehindABoundaryIsReplacedByTheNextBits)
{
    CBlob blob(nullptr);
    const unsigned char uSource = 0xAB;
    blob.AppendBits(&uSource, 8, 0);
    const unsigned char uByte = 0x77;
    ASSERT_EQ(QV_RES_OK, blob.Append(&uByte, 1));
    EXPECT_EQ((Bytes{0xAB, 0x77}), BytesOf(blob));
    blob.AppendBits(&uSource, 4, 4);
    EXPECT_EQ((Bytes{0xAB, 0xB0}), BytesOf(blob));
    EXPECT_EQ((SBlobCursors{0, 0, 1, 4}), CursorsOf(blob));
}

TEST(CBlobBits, TwoBytesAppendedBehindABoundaryStay)
{
    CBlob blob(nullptr);
    const unsigned char uSource = 0xAB;
    blob.AppendBits(&uSource, 8, 0);
    const unsigned char auBytes[] = {0x77, 0x78};
    ASSERT_EQ(QV_RES_OK, blob.Append(auBytes, 2));
    blob.AppendBits(&uSource, 4, 4);
    EXPECT_EQ((Bytes{0xAB, 0x77, 0x78, 0xB0}), BytesOf(blob));
}

TEST(CBlobBits, TheOnlyByteOfABlobIsReplacedByTheFirstBits)
{
    CBlob blob = BlobOf({0x77});
    const unsigned char uSource = 0xAB;
    blob.AppendBits(&uSource, 4, 0);
    EXPECT_EQ(Bytes{0xA0}, BytesOf(blob));
    CBlob blobOfTwo = BlobOf({0x77, 0x78});
    blobOfTwo.AppendBits(&uSource, 4, 0);
    EXPECT_EQ((Bytes{0x77, 0x78, 0xA0}), BytesOf(blobOfTwo));
}

TEST(CBlobBits, AByteAppendedBehindAPartlyFilledByteEndsIt)
{
    CBlob blob(nullptr);
    const unsigned char uSource = 0xFF;
    blob.AppendBits(&uSource, 3, 0);
    const unsigned char uByte = 0x77;
    ASSERT_EQ(QV_RES_OK, blob.Append(&uByte, 1));
    EXPECT_EQ((SBlobCursors{0, 0, 0, 3}), CursorsOf(blob));
    blob.AppendBits(&uSource, 3, 0);
    EXPECT_EQ((Bytes{0xE0, 0x77, 0xE0}), BytesOf(blob));
    EXPECT_EQ((SBlobCursors{0, 0, 2, 3}), CursorsOf(blob));
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

TEST(CBlobBits, ReadingMoreThanAreUnreadReadsThose)
{
    CBlob blob = BlobOf({0xAB, 0xCD});
    blob.SkipBits(5);
    unsigned char auRead[] = {0xFF, 0xFF, 0xFF};
    blob.ReadBits(auRead, 100, 0);
    EXPECT_EQ((Bytes{0x79, 0xA0, 0xFF}), Bytes(auRead, auRead + 3));
    EXPECT_EQ(0u, blob.GetUnreadBits());
    EXPECT_EQ((SBlobCursors{2, 0, 0, 0}), CursorsOf(blob));
    blob.ReadBits(auRead, 100, 0);
    EXPECT_EQ(0x79, auRead[0]);
}

TEST(CBlobBits, ReadingThatBeginsInTheLastByteReadsItsRest)
{
    for (unsigned int uSkipped = 1; uSkipped < 8; ++uSkipped)
    {
        SCOPED_TRACE(uSkipped);
        CBlob blob = BlobOf({0x00, 0xFF});
        blob.SkipBits(8 + uSkipped);
        EXPECT_EQ(0u, blob.GetUnreadSize());
        EXPECT_EQ(8 - uSkipped, blob.GetUnreadBits());
        unsigned char uRead = 0;
        blob.ReadBits(&uRead, 100, uSkipped);
        EXPECT_EQ(0xFF >> uSkipped, uRead);
        EXPECT_EQ((SBlobCursors{2, 0, 0, 0}), CursorsOf(blob));
    }
}

TEST(CBlobBits, ReadingKeepsWhatIsBeforeTheOffsetAndClearsTheRestOfTheLastByte)
{
    CBlob blob = BlobOf({0x00, 0x00});
    unsigned char auRead[] = {0xFF, 0xFF, 0xFF};
    blob.ReadBits(auRead, 7, 3);
    EXPECT_EQ((Bytes{0xE0, 0x00, 0xFF}), Bytes(auRead, auRead + 3));
}

TEST(CBlobBits, ReadingToNowhereMovesNothing)
{
    CBlob blob(nullptr);
    ASSERT_EQ(QV_RES_OK, blob.ReserveCapacity(16));
    const unsigned char auBytes[4] = {1, 2, 3, 4};
    ASSERT_EQ(QV_RES_OK, blob.Append(auBytes, 4));
    for (const unsigned int uBits : {1u, 8u, 32u, 40u}) blob.ReadBits(nullptr, uBits, 0);
    EXPECT_EQ((SBlobCursors{0, 0, 0, 0}), CursorsOf(blob));
}

TEST(CBlobBits, ReadingNoneWritesAndMovesNothing)
{
    CBlob blob = BlobOf({0x00, 0x00});
    unsigned char uRead = 0xFF;
    blob.ReadBits(&uRead, 0, 3);
    blob.ReadBits(nullptr, 0, 0);
    blob.ReadBits(nullptr, 8, 0);
    blob.SkipBits(0);
    EXPECT_EQ(0xFF, uRead);
    EXPECT_EQ((SBlobCursors{0, 0, 0, 0}), CursorsOf(blob));
    CBlob blobEmpty(nullptr);
    blobEmpty.ReadBits(&uRead, 8, 0);
    blobEmpty.SkipBits(8);
    EXPECT_EQ(0xFF, uRead);
    EXPECT_EQ((SBlobCursors{0, 0, 0, 0}), CursorsOf(blobEmpty));
}

TEST(CBlobBits, AppendingNoneReservesTheWordAlone)
{
    CBlob blob(nullptr);
    const unsigned char uSource = 0xFF;
    blob.AppendBits(&uSource, 0, 0);
    EXPECT_EQ(4u, blob.GetCapacity());
    blob.AppendBits(nullptr, 0, 0);
    blob.AppendBits(nullptr, 8, 0);
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ((SBlobCursors{0, 0, 0, 0}), CursorsOf(blob));
}

TEST(CBlobBits, SkippingCountsTheByteThatItEnters)
{
    CBlob blob = BlobOf({1, 2, 3});
    struct SStep
    {
        unsigned int uSkip;
        unsigned int uIndex;
        unsigned int uOffset;
    };
    for (const SStep& rStep : {SStep{3, 1, 3}, SStep{4, 1, 7}, SStep{1, 1, 0}, SStep{8, 2, 0}, SStep{7, 3, 7},
                               SStep{100, 3, 0}, SStep{1, 3, 0}})
    {
        blob.SkipBits(rStep.uSkip);
        EXPECT_EQ((SBlobCursors{rStep.uIndex, rStep.uOffset, 0, 0}), CursorsOf(blob));
    }
}

TEST(CBlobBits, PaddingAppendsZeros)
{
    for (unsigned int uAppended = 0; uAppended < 8; ++uAppended)
        for (unsigned int uCount = 0; uCount < 140; ++uCount)
        {
            SCOPED_TRACE(testing::Message() << uCount << " bits behind " << uAppended);
            CTestAllocator allocator;
            CBlob blob(&allocator);
            SBlobModel model;
            const Bytes source(1, 0xFF);
            blob.AppendBits(source.data(), uAppended, 0);
            model.AppendBits(Part(BitsOf(source), 0, uAppended));
            blob.PadBits(uCount);
            model.PadBits(uCount);
            ASSERT_NO_FATAL_FAILURE(ExpectSame(model, blob));
        }
}

class CBlobAlignment : public testing::TestWithParam<unsigned int>
{
};
TEST_P(CBlobAlignment, OfReadingReachesTheNextMultipleFromEveryPosition)
{
    for (unsigned int uPosition = 0; uPosition <= 12 * 8; ++uPosition)
    {
        SCOPED_TRACE(uPosition);
        CBlob blob = BlobOf(Bytes(12, 0xAA));
        blob.SkipBits(uPosition);
        blob.RealignReadBits(GetParam());
        const unsigned int uNext = (uPosition + GetParam() - 1) / GetParam() * GetParam();
        const unsigned int uWant = std::min(uNext, 12u * 8);
        EXPECT_EQ(12 * 8 - uWant, blob.GetUnreadBits());
        EXPECT_EQ((SBlobCursors{(uWant + 7) / 8, uWant % 8, 0, 0}), CursorsOf(blob));
    }
}
TEST_P(CBlobAlignment, OfAppendingReachesTheNextMultipleFromEveryPosition)
{
    const Bytes source(12, 0xFF);
    for (unsigned int uPosition = 0; uPosition <= 12 * 8; ++uPosition)
    {
        SCOPED_TRACE(uPosition);
        CBlob blob(nullptr);
        blob.AppendBits(source.data(), uPosition, 0);
        blob.RealignAppendBits(GetParam());
        const unsigned int uWant = (uPosition + GetParam() - 1) / GetParam() * GetParam();
        Bits want(uPosition, true);
        want.resize(uWant);
        ASSERT_EQ(Packed(want), BytesOf(blob));
        EXPECT_EQ((SBlobCursors{0, 0, uWant / 8, uWant % 8}), CursorsOf(blob));
    }
}
INSTANTIATE_TEST_SUITE_P(All, CBlobAlignment,
                         testing::Values(1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 12u, 16u, 24u, 31u, 32u, 33u, 64u, 100u, 128u,
                                         1000u),
                         testing::PrintToStringParamName());

TEST(CBlobAlignmentLarge, OfReadingGoesNoFurtherThanTheEnd)
{
    CBlob blob = BlobOf({1, 2, 3});
    blob.SkipBits(9);
    blob.RealignReadBits(0xFFFFFFFF);
    EXPECT_EQ((SBlobCursors{3, 0, 0, 0}), CursorsOf(blob));
}

TEST(CBlobAlignmentLarge, OfNothingDoesNothing)
{
    CBlob blob = BlobOf({1, 2, 3});
    blob.SkipBits(9);
    const SBlobCursors stBefore = CursorsOf(blob);
    blob.RealignReadBits(0);
    blob.RealignAppendBits(0);
    EXPECT_EQ(stBefore, CursorsOf(blob));
    EXPECT_EQ(3u, blob.GetSize());
}

TEST(CBlobAlignmentLarge, OfAppendingCountsFromTheLastAppendedBit)
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

namespace
{
class CBlobModel : public testing::Test
{
public:
    void BeginStep()
    {
        m_bytes = RandomBytes(m_rng, 0, 12);
        m_uBytes = static_cast<unsigned int>(m_bytes.size());
        m_uBits = Below(m_rng, 70);
        // Long blobs are drained now and then, and started anew.
        if (m_model.Size() > 300) ResizeTo(0);
    }
    void EndStep() { ExpectSame(m_model, *m_blob); }

    void AppendBits() { AppendBoth(m_rng, m_uBits, Below(m_rng, 32), m_model, *m_blob); }
    void ReadBits() { ReadBoth(m_rng, m_uBits, Below(m_rng, 32), m_model, *m_blob); }
    void SkipBits()
    {
        m_blob->SkipBits(m_uBits);
        m_model.SkipBits(m_uBits);
    }
    void PadBits()
    {
        m_blob->PadBits(m_uBits);
        m_model.PadBits(m_uBits);
    }
    void RealignReadBits()
    {
        m_blob->RealignReadBits(1 + m_uBits);
        m_model.RealignReadBits(1 + m_uBits);
    }
    void RealignAppendBits()
    {
        m_blob->RealignAppendBits(1 + m_uBits);
        m_model.RealignAppendBits(1 + m_uBits);
    }
    void InsertBytes()
    {
        const unsigned int uIndex = Below(m_rng, m_model.Size() + 2);
        const QvResult res = m_blob->Insert(uIndex, m_bytes.data(), m_uBytes);
        ASSERT_EQ(uIndex > m_model.Size() ? QV_RES_INVALID_ARGUMENT : QV_RES_OK, res);
        if (res < 0) return;
        m_model.bytes.insert(m_model.bytes.begin() + uIndex, m_bytes.begin(), m_bytes.end());
        m_model.Reserve(m_model.Size());
    }
    void AppendBytes()
    {
        ASSERT_EQ(QV_RES_OK, m_blob->Append(m_bytes.data(), m_uBytes % 3));
        m_model.bytes.insert(m_model.bytes.end(), m_bytes.begin(), m_bytes.begin() + m_uBytes % 3);
        m_model.Reserve(m_model.Size());
    }
    void Resize() { ResizeTo(Below(m_rng, std::min(m_model.uCapacity, 30u) + 1)); }
    void SetReadIndex()
    {
        const unsigned int uIndex = Below(m_rng, m_model.Size() + 2);
        const bool bAllowed = uIndex < m_model.Size() || uIndex == 0;
        // Nothing lies before the first byte.
        if (uIndex == 0 && m_model.stCursors.uReadBitOffset != 0) return;
        ASSERT_EQ(bAllowed ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, m_blob->SetReadIndex(uIndex));
        if (bAllowed) m_model.stCursors.uReadIndex = uIndex;
    }
    void Read()
    {
        Bytes read(m_uBytes, 0x5A);
        const bool bAllowed = m_uBytes != 0 && m_uBytes <= m_model.UnreadBytes();
        ASSERT_EQ(bAllowed ? read.data() : nullptr, m_blob->Read(read.data(), m_uBytes));
        if (!bAllowed) return;
        m_model.RealignReadBits(8);
        ASSERT_EQ(Packed(m_model.ReadBits(m_uBytes * 8)), read);
    }
    void ReadNoCopy()
    {
        const unsigned char* const puBytes = m_blob->ReadNoCopy(m_uBytes);
        if (m_uBytes > m_model.UnreadBytes())
        {
            ASSERT_EQ(nullptr, puBytes);
            return;
        }
        m_model.RealignReadBits(8);
        ASSERT_EQ(m_blob->GetAt(m_model.stCursors.uReadIndex), puBytes);
        m_model.SkipBits(m_uBytes * 8);
    }

protected:
    void ResizeTo(unsigned int uSize)
    {
        ASSERT_EQ(QV_RES_OK, m_blob->Resize(uSize));
        m_model.bytes.resize(std::min(uSize, m_model.Size()));
        ASSERT_TRUE(std::equal(m_model.bytes.begin(), m_model.bytes.end(), m_blob->begin()));
        m_model.bytes = BytesOf(*m_blob);
        ASSERT_EQ(uSize, m_model.Size());
    }

    std::mt19937 m_rng{TestSeed()};
    CTestAllocator m_allocator;
    std::optional<CBlob> m_blob;
    SBlobModel m_model;
    Bytes m_bytes;
    unsigned int m_uBytes = 0;
    unsigned int m_uBits = 0;
};

constexpr SNamedOperation<CBlobModel> g_aOPERATIONS[] = {
    {"append bits", 3, &CBlobModel::AppendBits},
    {"read bits", 3, &CBlobModel::ReadBits},
    {"skip bits", 1, &CBlobModel::SkipBits},
    {"pad bits", 1, &CBlobModel::PadBits},
    {"realign reading", 1, &CBlobModel::RealignReadBits},
    {"realign appending", 1, &CBlobModel::RealignAppendBits},
    {"insert bytes", 1, &CBlobModel::InsertBytes},
    {"append bytes", 2, &CBlobModel::AppendBytes},
    {"resize", 1, &CBlobModel::Resize},
    {"set the read index", 1, &CBlobModel::SetReadIndex},
    {"read", 1, &CBlobModel::Read},
    {"read without a copy", 1, &CBlobModel::ReadNoCopy},
};
}  // namespace

TEST_F(CBlobModel, BytesBitsCursorsAndCapacityMatchAfterEveryStep)
{
    for (unsigned int uRound = 0; uRound < 60; ++uRound)
    {
        SCOPED_TRACE(testing::Message() << "round " << uRound);
        m_blob.emplace(&m_allocator);
        m_model = SBlobModel();
        ASSERT_NO_FATAL_FAILURE(DoAtRandom(*this, g_aOPERATIONS, 400, m_rng));
    }
}

TEST(CBlobSkipBits, InsideTheByteBeforeTheFirstCountsThatBytesRest)
{
    const unsigned char auBytes[4] = {1, 2, 3, 4};
    CBlob blob(auBytes, sizeof(auBytes));
    blob.SkipBits(3);
    ASSERT_EQ(QV_RES_OK, blob.SetReadIndex(0));
    blob.SkipBits(5);
    EXPECT_EQ(32u, blob.GetUnreadBits());
    EXPECT_EQ(4u, blob.GetUnreadSize());
}

TEST(CBlobPadBits, AsksForMemoryTwiceAtMost)
{
    for (const unsigned int uAppended : {0u, 5u, 8u})
        for (unsigned int uCount = 0; uCount <= 400; ++uCount)
        {
            SCOPED_TRACE(testing::Message() << uCount << " behind " << uAppended);
            CTestAllocator allocator;
            CBlob blob(20, &allocator);
            const unsigned char uBits = 0xFF;
            blob.AppendBits(&uBits, uAppended, 0);
            ASSERT_EQ(QV_RES_OK, blob.ReduceCapacity(0));
            const std::size_t uRequests = allocator.GetRequests().size();
            blob.PadBits(uCount);
            ASSERT_GE(uRequests + 2, allocator.GetRequests().size());
            ASSERT_EQ((uAppended + uCount + 7) / 8, blob.GetSize());
        }
}

TEST(CBlobPadBits, WithoutMemoryAsksOnceAndGivesUp)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    allocator.SetRefusing(true);
    blob.PadBits(0xFFFFFFFF);
    EXPECT_EQ(1u, allocator.GetRequests().size());
    EXPECT_EQ(0u, blob.GetSize());
}
