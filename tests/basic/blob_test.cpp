// Limits and oddities of blobs of bytes; what each operation does step by step, memory refused now and then, fuzz.blob
// compares with a second implementation.
#include "framework/basic/blob.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <iterator>
#include <list>
#include <new>
#include <numeric>
#include <ranges>
#include <span>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/aatree.h"
#include "framework/basic/string.h"
#include "tests/support/blob_probe.h"
#include "tests/support/refusing_new.h"
#include "tests/support/string_probe.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

static_assert(!std::is_convertible_v<CBlob*, CVectorBase*>, "the vector is a private base");
static_assert(std::ranges::contiguous_range<CBlob> && std::ranges::contiguous_range<const CBlob>);
static_assert(std::ranges::sized_range<CBlob> && std::totally_ordered<CBlob>);
static_assert(std::is_constructible_v<std::span<unsigned char>, CBlob&>);
static_assert(std::is_constructible_v<std::span<const unsigned char>, const CBlob&>);

namespace
{

constexpr SBlobCursors g_stFRESH = {0, 0, 0, 0};

/// 1, 2, 3, ...
Bytes Counted(unsigned int uSize)
{
    Bytes bytes(uSize);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
    return bytes;
}

std::string HexOf(const Bytes& rBytes, bool bUpperCase)
{
    std::string hex;
    for (const unsigned char u : rBytes)
    {
        char szDigits[3];
        std::snprintf(szDigits, sizeof(szDigits), bUpperCase ? "%02X" : "%02x", u);
        hex += szDigits;
    }
    return hex;
}

/// Five bytes read up to bit 3 of the third, with bit appending in the last.
CBlob BlobInUse(IAllocator* pAllocator)
{
    CBlob blob = BlobOf({1, 2, 3, 4}, pAllocator);
    const unsigned char uBits = 0xA0;
    blob.AppendBits(&uBits, 3, 0);
    blob.SkipBits(19);
    return blob;
}
}  // namespace

TEST(CBlobConstruct, FromACapacityItIsEmptyWithThatRoom)
{
    CTestAllocator allocator;
    CBlob blob(100, &allocator);
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(100u, blob.GetCapacity());
    ASSERT_EQ(1u, allocator.GetRequests().size());
    EXPECT_EQ(1u, allocator.GetRequests()[0].uCount);
    EXPECT_EQ(100u, allocator.GetRequests()[0].uSize);
    EXPECT_EQ(0u, CBlob(0, &allocator).GetCapacity());
    EXPECT_EQ(0u, CBlob(0, NULL).GetCapacity()) << "a capacity, not a pointer";
}

TEST(CBlobInsert, BytesFromNowhereAreRefusedWithRoomForThemAsWell)
{
    CBlob blob(16, nullptr);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Append(nullptr, 3));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Append(nullptr, 30));
    EXPECT_EQ(QV_RES_OK, blob.Append(nullptr, 0));
    EXPECT_EQ(0u, blob.GetSize());
}

TEST(CBlobInsert, GrowingTakesOneBlockOfExactlyTheBytesAndFillsIt)
{
    for (const unsigned int uSize : {0u, 1u, 1000u})
        for (const unsigned int uInserted : {1u, 7u, 1u << 20})
            for (const unsigned int uIndex : {0u, uSize / 2, uSize})
            {
                SCOPED_TRACE(testing::Message() << uInserted << " bytes into " << uSize << " at " << uIndex);
                CTestAllocator allocator;
                CBlob blob = BlobOf(Bytes(uSize, 0x11), &allocator);
                const std::size_t uRequests = allocator.GetRequests().size();
                Bytes inserted(uInserted);
                std::iota(inserted.begin(), inserted.end(), static_cast<unsigned char>(1));
                ASSERT_EQ(QV_RES_OK, blob.Insert(uIndex, inserted.data(), uInserted));
                Bytes expected(uSize, 0x11);
                expected.insert(expected.begin() + uIndex, inserted.begin(), inserted.end());
                ASSERT_EQ(expected, BytesOf(blob));
                ASSERT_EQ(uSize + uInserted, blob.GetCapacity());
                ASSERT_EQ(uRequests + 1, allocator.GetRequests().size());
            }
}

TEST(CBlobInsert, ASizeThatDoesNotFit32BitsIsOutOfMemory)
{
    const std::size_t uSize = UINT_MAX;
    void* const pvSource = mmap(nullptr, uSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(MAP_FAILED, pvSource);
    const unsigned char* const puSource = static_cast<const unsigned char*>(pvSource);
    CTestAllocator allocator;
    CBlob blob = BlobOf(Counted(4), &allocator);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Append(puSource, UINT_MAX));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Insert(1, puSource, UINT_MAX - 3));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Append(blob.GetAt(0), UINT_MAX)) << "before a byte is read";
    EXPECT_EQ(Counted(4), BytesOf(blob));
    EXPECT_EQ(4u, blob.GetCapacity());
    munmap(pvSource, uSize);
}

TEST(CBlobInsert, PiecesOfItselfAreTakenAsIfCopiedFirst)
{
    for (const unsigned int uCapacity : {6u, 20u})
        for (unsigned int uIndex = 0; uIndex <= 6; ++uIndex)
            for (unsigned int uFrom = 0; uFrom < 6; ++uFrom)
                for (unsigned int uSize = 1; uSize <= 6 - uFrom; ++uSize)
                {
                    SCOPED_TRACE(testing::Message() << uCapacity << " " << uIndex << " " << uFrom << " " << uSize);
                    const Bytes bytes = Counted(6);
                    Bytes want = bytes;
                    want.insert(want.begin() + uIndex, bytes.begin() + uFrom, bytes.begin() + uFrom + uSize);
                    CTestAllocator allocator;
                    CBlob blob(bytes.data(), 6, uCapacity, &allocator);
                    ASSERT_EQ(QV_RES_OK, blob.Insert(uIndex, blob.GetAt(uFrom), uSize));
                    ASSERT_EQ(want, BytesOf(blob));
                    CBlob blobWhole(bytes.data(), 6, uCapacity, &allocator);
                    ASSERT_EQ(QV_RES_OK, blobWhole.Insert(uIndex, blobWhole, uFrom, uSize));
                    ASSERT_EQ(want, BytesOf(blobWhole));
                }
}

TEST(CBlobInsert, PiecesOfItselfThatCannotBeKeptAsideAreRefused)
{
    CTestAllocator allocator;
    CBlob blob(Counted(4).data(), 4, 4, &allocator);
    CBlob blobWithRoom(Counted(4).data(), 4, 6, &allocator);
    const CNoMemory noMemory;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Append(blob.GetAt(1), 2));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Insert(1, blob, 0, CBlob::uTO_END));
    EXPECT_EQ(QV_RES_OK, blob.Insert(1, blob.GetAt(1), 0)) << "no bytes need no memory";
    blob.AppendBits(blob.GetAt(1), 11, 3);
    EXPECT_EQ(4u, blob.GetSize());
    EXPECT_EQ(QV_RES_OK, blobWithRoom.Append(blobWithRoom.GetAt(1), 2));
    EXPECT_EQ(3, *blobWithRoom.GetAt(5));
}

TEST(CBlobResize, ByAddressReachesOneLessThanTheCapacity)
{
    CBlob blob(Counted(4).data(), 4, 10, nullptr);
    unsigned char* const puFirst = blob.GetFirstIndexPtr();
    for (unsigned int uSize = 0; uSize < 10; ++uSize)
    {
        EXPECT_EQ(QV_RES_OK, blob.Resize(puFirst + uSize));
        EXPECT_EQ(uSize, blob.GetSize());
    }
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Resize(puFirst + 10));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Resize(puFirst - 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Resize(static_cast<unsigned char*>(nullptr)));
    EXPECT_EQ(9u, blob.GetSize());
}

TEST(CBlobResize, OfNoStorageByAddressLeavesNothing)
{
    CBlob blob(nullptr);
    unsigned char uByte;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Resize(&uByte));
    blob.Resize(static_cast<unsigned char*>(nullptr));
    EXPECT_EQ(0u, blob.GetSize());
}

TEST(CBlobClear, ResetsTheCursorsAndKeepsTheCapacity)
{
    CBlob blob = BlobInUse(nullptr);
    const unsigned int uCapacity = blob.GetCapacity();
    blob.Clear();
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(uCapacity, blob.GetCapacity());
    EXPECT_EQ(g_stFRESH, CursorsOf(blob));
}

TEST(CBlobReadIndex, AtZeroWithABitOffsetBytesAreReadFromTheFirst)
{
    for (const bool bCopy : {false, true})
    {
        CBlob blob = BlobOf(Counted(5));
        blob.SkipBits(3);
        EXPECT_EQ(QV_RES_OK, blob.SetReadIndex(0));
        EXPECT_EQ(5u, blob.GetUnreadSize());
        EXPECT_EQ(5u * 8 + 5, blob.GetUnreadBits());
        unsigned char auRead[5] = {};
        EXPECT_EQ(bCopy ? auRead : blob.GetAt(0), bCopy ? blob.Read(auRead, 5) : blob.ReadNoCopy(5));
        EXPECT_EQ(bCopy ? Counted(5) : Bytes(5, 0), Bytes(auRead, auRead + 5));
        EXPECT_EQ((SBlobCursors{5, 0, 0, 0}), CursorsOf(blob));
    }
}

TEST(CBlobReadIndex, AtZeroWithABitOffsetAnyNumberOfBitsIsReadFromTheFirst)
{
    for (unsigned int uOffset = 1; uOffset < 8; ++uOffset)
        for (const unsigned int uCount : {1u, 4u, 8u, 13u, 25u, 32u, 40u})
        {
            SCOPED_TRACE(testing::Message() << uCount << " bits, offset " << uOffset);
            CBlob blob = BlobOf({0xA5, 0xC3, 0x96, 0x69, 0x5A, 0x3C, 0x0F, 0xF0});
            CBlob blobFresh(blob);
            blob.SkipBits(uOffset);
            ASSERT_EQ(QV_RES_OK, blob.SetReadIndex(0));
            Bytes read(5);
            Bytes expected(5);
            blob.ReadBits(read.data(), uCount, 0);
            blobFresh.ReadBits(expected.data(), uCount, 0);
            ASSERT_EQ(expected, read);
            ASSERT_EQ(CursorsOf(blobFresh), CursorsOf(blob));
        }
}

TEST(CBlobUnread, BeyondTheEndNothingIsUnreadForTheReaders)
{
    CBlob blob = BlobOf(Counted(5));
    blob.SkipBits(4 * 8 + 3);
    ASSERT_EQ((SBlobCursors{5, 3, 0, 0}), CursorsOf(blob));
    for (const unsigned int uSize : {4u, 3u, 0u})
    {
        SCOPED_TRACE(uSize);
        ASSERT_EQ(QV_RES_OK, blob.Resize(uSize));
        // The queries wrap, as published.
        EXPECT_EQ(uSize - 5, blob.GetUnreadSize());
        EXPECT_EQ((uSize - 5) * 8 + 5, blob.GetUnreadBits());
        unsigned char auRead[8] = {7, 7, 7, 7, 7, 7, 7, 7};
        EXPECT_EQ(nullptr, blob.Read(auRead, 1));
        EXPECT_EQ(nullptr, blob.ReadNoCopy(1));
        blob.ReadBits(auRead, 64, 0);
        blob.SkipBits(64);
        EXPECT_EQ(Bytes(8, 7), Bytes(auRead, auRead + 8));
        EXPECT_EQ((SBlobCursors{5, 3, 0, 0}), CursorsOf(blob));
    }
    ASSERT_EQ(QV_RES_OK, blob.Resize(5u));
    EXPECT_EQ(5u, blob.GetUnreadBits());
}

TEST(CBlobMarshal, ReadingOverwritesTheBytesAndLeavesTheCursors)
{
    CMarshaler marshaler;
    marshaler << BlobOf({7, 8});
    CBlob blob = BlobInUse(nullptr);
    const SBlobCursors stBefore = CursorsOf(blob);
    const unsigned int uCapacity = blob.GetCapacity();
    marshaler >> blob;
    EXPECT_EQ((Bytes{7, 8}), BytesOf(blob));
    EXPECT_EQ(stBefore, CursorsOf(blob));
    EXPECT_EQ(uCapacity, blob.GetCapacity());
    ASSERT_EQ(QV_RES_OK, blob.Resize(5u));
    EXPECT_EQ((Bytes{7, 8, 3, 4, 0xA0}), BytesOf(blob));
}

TEST(CBlobMarshal, AllThatIsUnreadBecomesTheContent)
{
    // In the object, up to its end, in a block behind it, and in many.
    for (const unsigned int uSize : {0u, 1u, 56u, 57u, 144u, 145u, 1000u})
    {
        SCOPED_TRACE(uSize);
        const Bytes bytes = Counted(uSize);
        CMarshaler marshaler;
        marshaler.Insert("read", 4);
        marshaler.Insert(bytes.data(), uSize);
        marshaler.Skip(4);
        CTestAllocator allocator;
        CBlob blob(&allocator);
        EXPECT_TRUE(marshaler.ExtractAll(blob));
        EXPECT_EQ(bytes, BytesOf(blob));
        EXPECT_EQ(uSize, blob.GetCapacity());
        EXPECT_EQ(0u, marshaler.GetUnreadSize());
        marshaler << 5u;
        EXPECT_EQ(4u, marshaler.GetUnreadSize()) << "the stream goes on";
    }
}

TEST(CBlobMarshal, TheContentBeforeGoesWithItsCursors)
{
    CMarshaler marshaler;
    marshaler << static_cast<unsigned char>(7);
    CBlob blob = BlobInUse(nullptr);
    const unsigned int uCapacity = blob.GetCapacity();
    ASSERT_TRUE(marshaler.ExtractAll(blob));
    EXPECT_EQ((Bytes{7}), BytesOf(blob));
    EXPECT_EQ(g_stFRESH, CursorsOf(blob));
    EXPECT_EQ(uCapacity, blob.GetCapacity());
}

TEST(CBlobMarshal, WithoutRoomForAllNothingIsTaken)
{
    CMarshaler marshaler;
    marshaler << 0x01020304u << 5u;
    CTestAllocator allocator;
    CBlob blob = BlobInUse(&allocator);
    ASSERT_EQ(QV_RES_OK, blob.ReduceCapacity(0));
    const Bytes before = BytesOf(blob);
    const SBlobCursors stBefore = CursorsOf(blob);
    allocator.SetRefusing(true);
    EXPECT_FALSE(marshaler.ExtractAll(blob));
    EXPECT_EQ(before, BytesOf(blob));
    EXPECT_EQ(stBefore, CursorsOf(blob));
    EXPECT_EQ(8u, marshaler.GetUnreadSize());
}

TEST(CBlobAppend, TakesAnotherBlobOrItself)
{
    CBlob blob = CBlob::Of({1, 2});
    CBlob other = CBlob::Of({3});
    EXPECT_EQ(QV_RES_OK, blob.Append(other));
    EXPECT_EQ(QV_RES_OK, blob.Append(blob));
    EXPECT_EQ(QV_RES_OK, blob.Append(CBlob()));
    EXPECT_EQ(CBlob::Of({1, 2, 3, 1, 2, 3}), blob);
    using std::swap;
    swap(blob, other);
    EXPECT_EQ(CBlob::Of({3}), blob);
    EXPECT_EQ(6u, other.GetSize());
}

TEST(CBlobText, AStringAddsItsCharactersWithoutTheirNul)
{
    CBlob blob = BlobOf({1});
    const SBlobCursors stBefore = CursorsOf(blob);
    EXPECT_EQ(QV_RES_OK, blob.Append(CString("ab")));
    EXPECT_EQ(QV_RES_OK, blob.Append(CString()));
    const CString strText("c");
    EXPECT_EQ(QV_RES_OK, blob.Append(strText.CStr()));
    EXPECT_EQ((Bytes{1, 'a', 'b', 'c'}), BytesOf(blob));
    EXPECT_EQ(4u, blob.GetCapacity());
    EXPECT_EQ(stBefore, CursorsOf(blob));
}

TEST(CBlobText, ANulInsideAStringIsACharacter)
{
    CString strText("a-b");
    strText.SetAt(1, '\0');
    CBlob blob;
    EXPECT_EQ(QV_RES_OK, blob.Append(strText));
    EXPECT_EQ((Bytes{'a', 0, 'b'}), BytesOf(blob));
}

TEST(CBlobText, ATextAddsItsCharactersUpToItsNulHoweverManyThereAre)
{
    CBlob blob;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Append(nullptr));
    EXPECT_EQ(QV_RES_OK, blob.Append(""));
    EXPECT_EQ(0u, blob.GetSize());
    const std::string longerThanAString(70000, 'x');
    EXPECT_EQ(QV_RES_OK, blob.Append(longerThanAString.c_str()));
    EXPECT_EQ(Bytes(70000, 'x'), BytesOf(blob));
}

TEST(CBlobText, ATextOfTheBlobItselfIsAdded)
{
    CBlob blob;
    ASSERT_EQ(QV_RES_OK, blob.Append(reinterpret_cast<const unsigned char*>("ab"), 3));
    EXPECT_EQ(QV_RES_OK, blob.Append(reinterpret_cast<const char*>(blob.begin())));
    EXPECT_EQ((Bytes{'a', 'b', 0, 'a', 'b'}), BytesOf(blob));
}

TEST(CBlobText, WithoutMemoryATextIsRefused)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Append("our secret"));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.Append(CString("our secret")));
    EXPECT_EQ(0u, blob.GetSize());
}

TEST(CBlobAccess, GivesTheBytesOfAConstBlobAndNoneBehindThem)
{
    const unsigned char auBytes[] = {3, 1, 4};
    CBlob blob;
    ASSERT_EQ(QV_RES_OK, blob.Append(auBytes, 3));
    const CBlob& rConst = blob;
    EXPECT_EQ(blob.begin() + 2, rConst.GetAt(2));
    EXPECT_EQ(nullptr, rConst.GetAt(3));
}

TEST(CBlobAccess, AtTellsWhetherThereIsAByte)
{
    const CBlob blob(Counted(3).data(), 3, 8, nullptr);
    unsigned char uByte = 77;
    for (const unsigned int uIndex : {3u, 7u, UINT_MAX}) EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.At(uIndex, &uByte));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CBlob().At(0, &uByte));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.At(0, nullptr));
    EXPECT_EQ(77, uByte);
    EXPECT_EQ(QV_RES_OK, blob.At(2, &uByte));
    EXPECT_EQ(3, uByte);
}

TEST(CBlobOrder, IsThatOfVectorsOfBytes)
{
    const Bytes aBytes[] = {{}, {0}, {0, 0}, {1, 200}, {1, 200, 3}, {1, 201}, {2}, {200}};
    for (const Bytes& rLeft : aBytes)
        for (const Bytes& rRight : aBytes)
        {
            SCOPED_TRACE(testing::Message() << testing::PrintToString(rLeft) << testing::PrintToString(rRight));
            const CBlob left = BlobOf(rLeft);
            const CBlob right = BlobOf(rRight);
            const int nWant = rLeft < rRight ? -1 : rRight < rLeft ? 1 : 0;
            const auto Sign = [](int n) { return n < 0 ? -1 : n > 0 ? 1 : 0; };
            EXPECT_EQ(nWant, Sign(left.Compare(right)));
            EXPECT_EQ(nWant, Sign(SNaturalOrder()(left, right)));
            EXPECT_EQ(nWant == 0, left == right);
            EXPECT_EQ(nWant != 0, left != right);
            EXPECT_EQ(nWant < 0, left < right);
            EXPECT_EQ(nWant > 0, left > right);
            EXPECT_EQ(nWant <= 0, left <= right);
            EXPECT_EQ(nWant >= 0, left >= right);
        }
}

TEST(CBlobOrder, IsThatOfATree)
{
    CAATree<CBlob> tree;
    for (const Bytes& rBytes : {Bytes{2}, Bytes{1, 2}, Bytes{1}}) EXPECT_EQ(QV_RES_OK, tree.Insert(BlobOf(rBytes)));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, tree.Insert(CBlob::Of({1, 2})));
    const CBlob aSorted[] = {CBlob::Of({1}), CBlob::Of({1, 2}), CBlob::Of({2})};
    EXPECT_TRUE(std::equal(tree.begin(), tree.end(), std::begin(aSorted), std::end(aSorted)));
}

TEST(CBlobManners, AreThoseOfAVectorOfBytes)
{
    static_assert(std::is_same_v<CBlob::value_type, unsigned char> && std::is_same_v<CBlob::size_type, unsigned int>);
    const auto Check = [](auto&& rBlob, auto&& rVector)
    {
        EXPECT_EQ(rVector.size(), rBlob.size());
        EXPECT_EQ(rVector.empty(), rBlob.empty());
        EXPECT_TRUE(std::equal(rVector.cbegin(), rVector.cend(), rBlob.cbegin(), rBlob.cend()));
        EXPECT_TRUE(std::equal(rVector.rbegin(), rVector.rend(), rBlob.rbegin(), rBlob.rend()));
        EXPECT_TRUE(std::equal(rVector.crbegin(), rVector.crend(), rBlob.crbegin(), rBlob.crend()));
        EXPECT_EQ(rBlob.GetFirstIndexPtr(), rBlob.data());
        if (rVector.empty()) return;
        EXPECT_EQ(rVector.front(), rBlob.front());
        EXPECT_EQ(rVector.back(), rBlob.back());
        EXPECT_EQ(rVector[1], rBlob[1]);
    };
    for (const unsigned int uSize : {0u, 2u, 5u})
    {
        Bytes bytes = Counted(uSize);
        CBlob blob = BlobOf(bytes);
        Check(blob, bytes);
        Check(std::as_const(blob), std::as_const(bytes));
    }
    CBlob blob = BlobInUse(nullptr);
    blob.front() = 9;
    blob.back() = 8;
    blob[1] = 7;
    *blob.rbegin() += 1;
    EXPECT_EQ((Bytes{9, 7, 3, 4, 9}), BytesOf(blob));
    EXPECT_EQ(testing::PrintToString(BytesOf(blob)), testing::PrintToString(blob)) << "when a test fails";
    std::ranges::sort(blob);
    EXPECT_TRUE(std::ranges::equal(Bytes{3, 4, 7, 9, 9}, blob));
    blob.clear();
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(g_stFRESH, CursorsOf(blob));
}

TEST(CBlobPushBack, TakesTwiceTheRoomEachTime)
{
    CTestAllocator allocator;
    CBlob blob = BlobInUse(&allocator);
    const Bytes before = BytesOf(blob);
    const SBlobCursors stBefore = CursorsOf(blob);
    ASSERT_EQ(QV_RES_OK, blob.ReduceCapacity(0));
    const std::size_t uRequests = allocator.GetRequests().size();
    Bytes model = before;
    for (unsigned int u = 0; u < 1000; ++u)
    {
        blob.push_back(static_cast<unsigned char>(u * 7));
        model.push_back(static_cast<unsigned char>(u * 7));
    }
    EXPECT_EQ(model, BytesOf(blob));
    EXPECT_EQ(stBefore, CursorsOf(blob));
    EXPECT_EQ(1024u, blob.GetCapacity());
    EXPECT_EQ(uRequests + 7, allocator.GetRequests().size()) << "16, 32, ... 1024";
}

TEST(CBlobPushBack, FillsByABackInserter)
{
    CBlob blob;
    std::ranges::copy(Counted(300), std::back_inserter(blob));
    EXPECT_EQ(Counted(300), BytesOf(blob));
}

TEST(CBlobPushBack, TakesTheLeastThatDoesWhereMemoryIsScarceAndThrowsWithoutAny)
{
    CTestAllocator allocator;
    CBlob blob = BlobOf(Counted(40), &allocator);
    allocator.RefuseNth(1);
    blob.push_back(41);
    EXPECT_EQ(41u, blob.GetCapacity());
    allocator.SetRefusing(true);
    EXPECT_THROW(blob.push_back(42), std::bad_alloc);
    EXPECT_EQ(Counted(41), BytesOf(blob));
    EXPECT_EQ(41u, blob.GetCapacity());
}

namespace
{
/// Blocks of zeros that take memory only where they are written to.
class CHugeBlocks : public IAllocator
{
public:
    SBlock* Allocate(unsigned int, unsigned int uSize, SBlock**) override
    {
        m_uSize = uSize;
        m_pv = mmap(nullptr, uSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        return m_pv != MAP_FAILED ? static_cast<SBlock*>(m_pv) : nullptr;
    }
    void Release(SBlock*, unsigned int) override { munmap(m_pv, m_uSize); }

private:
    void* m_pv = nullptr;
    std::size_t m_uSize = 0;
};
}  // namespace

TEST(CBlobPushBack, BehindTheLastByteThatABlobCanHoldThrows)
{
    CHugeBlocks allocator;
    CBlob blob(UINT_MAX, &allocator);
    ASSERT_EQ(QV_RES_OK, blob.Resize(UINT_MAX));
    EXPECT_THROW(blob.push_back(1), std::bad_alloc);
    EXPECT_EQ(UINT_MAX, blob.GetSize());
}

TEST(CBlobConstruct, FromARangeItHoldsItsBytes)
{
    const Bytes bytes = Counted(100);
    const std::list<unsigned char> list(bytes.begin(), bytes.end());
    const std::vector<int> numbers(bytes.begin(), bytes.end());
    std::istringstream text("abc de");
    const CBlob blobs[] = {CBlob(bytes.begin(), bytes.end()), CBlob(list.begin(), list.end()),
                           CBlob(bytes.data(), bytes.data() + 100), CBlob(numbers.begin(), numbers.end())};
    for (const CBlob& rBlob : blobs)
    {
        EXPECT_EQ(bytes, BytesOf(rBlob));
        EXPECT_EQ(100u, rBlob.GetCapacity());
        EXPECT_EQ(g_stFRESH, CursorsOf(rBlob));
    }
    EXPECT_EQ((Bytes{'a', 'b', 'c', 'd', 'e'}),
              BytesOf(CBlob(std::istream_iterator<char>(text), std::istream_iterator<char>())));
    EXPECT_EQ((Bytes{0xCA, 0xFE, 0}), BytesOf(CBlob::Of({0xCA, 0xFE, 0})));
    EXPECT_EQ(0u, CBlob::Of({}).GetCapacity());
}

TEST(CBlobConstruct, BracesStillMeanSizesAndPointers)
{
    EXPECT_EQ(16u, (CBlob{0, 0, 16}.GetCapacity()));
    EXPECT_EQ(16u, (CBlob{nullptr, 0, 16}.GetCapacity()));
    EXPECT_EQ(0u, (CBlob{0, NULL}.GetSize()));
    EXPECT_EQ(0u, (CBlob{NULL}.GetSize()));
}

TEST(CBlobConstruct, FromARangeWithoutMemoryThrows)
{
    const Bytes bytes = Counted(100);
    const CNoMemory noMemory;
    EXPECT_THROW(CBlob(bytes.begin(), bytes.end()), std::bad_alloc);
    EXPECT_THROW(CBlob::Of({1, 2}), std::bad_alloc);
}

TEST(CBlobAssign, ReplacesTheBytesAndResetsTheCursors)
{
    CBlob blob = BlobInUse(nullptr);
    const unsigned int uCapacity = blob.GetCapacity();
    EXPECT_EQ(QV_RES_OK, blob.Assign(Counted(3).data(), 3));
    EXPECT_EQ(Counted(3), BytesOf(blob));
    EXPECT_EQ(g_stFRESH, CursorsOf(blob));
    EXPECT_EQ(uCapacity, blob.GetCapacity());
    EXPECT_EQ(QV_RES_OK, blob.Assign(Counted(50).data(), 50));
    EXPECT_EQ(50u, blob.GetCapacity());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Assign(nullptr, 1));
    EXPECT_EQ(Counted(50), BytesOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.Assign(blob.GetAt(10), 20)) << "bytes of its own";
    Bytes want = Counted(30);
    want.erase(want.begin(), want.begin() + 10);
    EXPECT_EQ(want, BytesOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.Assign(nullptr, 0));
    EXPECT_TRUE(blob.IsEmpty());
}

TEST(CBlobAssign, TakesTexts)
{
    CBlob blob = BlobInUse(nullptr);
    EXPECT_EQ(QV_RES_OK, blob.Assign("ab"));
    EXPECT_EQ((Bytes{'a', 'b'}), BytesOf(blob));
    EXPECT_EQ(g_stFRESH, CursorsOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.Assign(StringOf(std::string("a\0b", 3))));
    EXPECT_EQ((Bytes{'a', 0, 'b'}), BytesOf(blob));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Assign(nullptr));
    EXPECT_EQ((Bytes{'a', 0, 'b'}), BytesOf(blob));
    const std::string longerThanAString(70000, 'x');
    EXPECT_EQ(QV_RES_OK, blob.Assign(longerThanAString.c_str()));
    EXPECT_EQ(Bytes(70000, 'x'), BytesOf(blob));
}

TEST(CBlobHex, IsWrittenAsPrintfDoesAndReadBack)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uSize = 0; uSize < 80; ++uSize)
        for (const bool bUpperCase : {false, true})
        {
            const Bytes bytes = RandomBytes(rng, uSize, uSize);
            const CBlob blob = BlobOf(bytes);
            CString strHex("something before");
            ASSERT_EQ(QV_RES_OK, blob.ToHex(&strHex, bUpperCase));
            ASSERT_EQ(HexOf(bytes, bUpperCase), TextOf(strHex));
            ASSERT_EQ(strHex.GetSize(), strlen(strHex.CStr())) << "its NUL";
            CBlob blobBack = BlobInUse(nullptr);
            ASSERT_EQ(QV_RES_OK, blobBack.AssignHex(strHex));
            ASSERT_EQ(bytes, BytesOf(blobBack));
            ASSERT_EQ(g_stFRESH, CursorsOf(blobBack));
            ASSERT_EQ(QV_RES_OK, blobBack.AssignHex(strHex.CStr()));
            ASSERT_EQ(blob, blobBack);
        }
    CString strHex;
    EXPECT_EQ(QV_RES_OK, CBlob::Of({0xAB, 0x01}).ToHex(&strHex));
    EXPECT_STREQ("ab01", strHex.CStr());
}

TEST(CBlobHex, OfTwoCharactersIsAByteOnlyWhenBothAreDigits)
{
    for (unsigned int u = 0; u < 0x10000; ++u)
    {
        const char szPair[] = {static_cast<char>(u >> 8), static_cast<char>(u), '\0'};
        const bool bGood =
            std::isxdigit(static_cast<int>(u >> 8)) != 0 && std::isxdigit(static_cast<int>(u & 0xFF)) != 0;
        CBlob blob = BlobOf({7});
        ASSERT_EQ(bGood ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, blob.AssignHex(CString(szPair, 2))) << u;
        const Bytes want{static_cast<unsigned char>(bGood ? std::stoul(szPair, nullptr, 16) : 7)};
        ASSERT_EQ(want, BytesOf(blob)) << u;
    }
}

TEST(CBlobHex, ThatIsNoneLeavesTheBlobAsItWas)
{
    CBlob blob = BlobInUse(nullptr);
    const Bytes before = BytesOf(blob);
    const SBlobCursors stBefore = CursorsOf(blob);
    for (const char* const pszText : {"1", "123", "0x12", "12 34", " 1234", "123g", "g123", "12345678g0", "\xC3\xA4"})
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.AssignHex(pszText)) << pszText;
    }
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.AssignHex(nullptr));
    EXPECT_EQ(before, BytesOf(blob));
    EXPECT_EQ(stBefore, CursorsOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.AssignHex(""));
    EXPECT_TRUE(blob.IsEmpty());
}

TEST(CBlobHex, MayStandInTheBlobAndBeLongerThanAString)
{
    const Bytes bytes = Counted(50000);
    const std::string hex = HexOf(bytes, false);
    CBlob blob;
    ASSERT_EQ(QV_RES_OK, blob.Assign(reinterpret_cast<const unsigned char*>(hex.c_str()), 100001));
    EXPECT_EQ(QV_RES_OK, blob.AssignHex(reinterpret_cast<const char*>(blob.begin())));
    EXPECT_EQ(bytes, BytesOf(blob));
}

TEST(CBlobText, GoesToAString)
{
    CString strText("before");
    const CString strShared(strText);
    CBlob blob = BlobOf({'a', 0, 'b'});
    ASSERT_NE(nullptr, blob.ReadNoCopy(1));
    EXPECT_EQ(QV_RES_OK, blob.ToText(&strText));
    EXPECT_EQ(std::string("a\0b", 3), TextOf(strText));
    EXPECT_EQ("before", TextOf(strShared));
    EXPECT_EQ(QV_RES_OK, CBlob().ToText(&strText));
    EXPECT_TRUE(strText.IsEmpty());
}

TEST(CBlobText, ThatAStringCannotHoldIsRefused)
{
    using PFNTO = QvResult (*)(const CBlob&, CString*);
    const std::pair<unsigned int, PFNTO> aCases[] = {
        {65535, [](const CBlob& rBlob, CString* pstr) { return rBlob.ToText(pstr); }},
        {32767, [](const CBlob& rBlob, CString* pstr) { return rBlob.ToHex(pstr); }}};
    for (const auto& [uMost, pfnTo] : aCases)
    {
        CBlob blob = BlobOf(Bytes(uMost + 1, 'a'));
        CString strText("before");
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, pfnTo(blob, nullptr));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, pfnTo(blob, &strText));
        EXPECT_EQ("before", TextOf(strText));
        blob.Erase(uMost, 1);
        EXPECT_EQ(QV_RES_OK, pfnTo(blob, &strText));
        EXPECT_EQ(uMost == 65535 ? std::string(uMost, 'a') : HexOf(BytesOf(blob), false), TextOf(strText));
    }
}

TEST(CBlobText, WithoutMemoryForABlockOfItsOwnASharedStringStays)
{
    CString strText("before");
    const CString strShared(strText);
    const CBlob blob = BlobOf({1, 2});
    const CNoMemory noMemory;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.ToHex(&strText));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, blob.ToText(&strText));
    EXPECT_EQ("before", TextOf(strText));
}
