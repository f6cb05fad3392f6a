// Limits and oddities of blobs of bytes; what each operation does step by step, memory refused now and then, fuzz.blob
// compares with a second implementation.
#include "framework/basic/blob.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <climits>
#include <numeric>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/string.h"
#include "tests/support/blob_probe.h"
#include "tests/support/refusing_new.h"
#include "tests/support/test_allocator.h"

static_assert(!std::is_convertible_v<CBlob*, CVectorBase*>, "the vector is a private base");

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
