#include "framework/basic/blob.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <climits>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/blob_probe.h"
#include "tests/support/page_end.h"
#include "tests/support/test_allocator.h"

static_assert(!std::is_convertible_v<CBlob*, CVectorBase*>, "the vector is a private base");

namespace
{
using Bytes = std::vector<unsigned char>;

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

TEST(CBlobConstruct, FromAnAllocatorItIsEmptyAndTakesNothing)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(0u, blob.GetCapacity());
    EXPECT_TRUE(blob.IsEmpty());
    EXPECT_EQ(nullptr, blob.GetFirstIndexPtr());
    EXPECT_EQ(nullptr, static_cast<const CBlob&>(blob).GetFirstIndexPtr());
    EXPECT_EQ(nullptr, blob.GetAt(0));
    EXPECT_EQ(0u, allocator.GetRequests().size());
}

TEST(CBlobConstruct, WithoutAnAllocatorItUsesTheDefaultOne)
{
    CBlob blob(nullptr);
    EXPECT_EQ(QV_RES_OK, blob.Append(Counted(100).data(), 100));
    EXPECT_EQ(Counted(100), BytesOf(blob));
}

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

TEST(CBlobConstruct, FromBytesItHasTheLargerOfSizeAndCapacity)
{
    CTestAllocator allocator;
    const Bytes bytes = Counted(10);
    const CBlob blobExact(bytes.data(), 10, 3, &allocator);
    EXPECT_EQ(10u, blobExact.GetCapacity());
    EXPECT_EQ(bytes, BytesOf(blobExact));
    const CBlob blobRoomy(bytes.data(), 10, 30, &allocator);
    EXPECT_EQ(30u, blobRoomy.GetCapacity());
    EXPECT_EQ(bytes, BytesOf(blobRoomy));
    EXPECT_EQ(2u, allocator.GetRequests().size());
    const CBlob blobEmpty(nullptr, 0, 30, &allocator);
    EXPECT_EQ(30u, blobEmpty.GetCapacity());
    EXPECT_EQ(0u, blobEmpty.GetSize());
}

TEST(CBlobConstruct, ACopyHasTheSameAllocatorCapacityBytesAndCursors)
{
    CTestAllocator allocator;
    CBlob blob = BlobInUse(&allocator);
    ASSERT_EQ(QV_RES_OK, blob.ReserveCapacity(50));
    const std::size_t uRequests = allocator.GetRequests().size();
    CBlob blobCopy(blob);
    EXPECT_EQ(50u, blobCopy.GetCapacity());
    EXPECT_EQ(50u, allocator.GetSizeOf(blobCopy.GetFirstIndexPtr()));
    EXPECT_EQ(uRequests + 1, allocator.GetRequests().size());
    EXPECT_EQ(BytesOf(blob), BytesOf(blobCopy));
    EXPECT_EQ(CursorsOf(blob), CursorsOf(blobCopy));
    *blobCopy.GetAt(0) = 77;
    EXPECT_EQ(1, *blob.GetAt(0));
}

TEST(CBlobConstruct, MovingTakesEverything)
{
    CTestAllocator allocator;
    CBlob blob = BlobInUse(&allocator);
    const Bytes bytes = BytesOf(blob);
    const unsigned char* const puBytes = blob.GetFirstIndexPtr();
    CBlob blobMoved(std::move(blob));
    EXPECT_EQ(puBytes, blobMoved.GetFirstIndexPtr());
    EXPECT_EQ(bytes, BytesOf(blobMoved));
    EXPECT_EQ((SBlobCursors{3, 3, 4, 3}), CursorsOf(blobMoved));
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(g_stFRESH, CursorsOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.Append(bytes.data(), 2));
    EXPECT_EQ(Counted(2), BytesOf(blob));
}

TEST(CBlobAssign, CopiesBytesAndCursorsAndKeepsTheAllocator)
{
    CTestAllocator allocator;
    CTestAllocator otherAllocator;
    const CBlob blobSource = BlobInUse(&allocator);
    CBlob blob = BlobOf(Counted(3), &otherAllocator);
    CBlob& rResult = blob = blobSource;
    EXPECT_EQ(&blob, &rResult);
    EXPECT_EQ(BytesOf(blobSource), BytesOf(blob));
    EXPECT_EQ(CursorsOf(blobSource), CursorsOf(blob));
    EXPECT_EQ(5u, blob.GetCapacity());
    EXPECT_EQ(8u, otherAllocator.GetSizeOf(blob.GetFirstIndexPtr()));
}

TEST(CBlobAssign, KeepsALargerCapacity)
{
    CBlob blob(100, nullptr);
    const CBlob blobSource = BlobOf(Counted(3));
    blob = blobSource;
    EXPECT_EQ(100u, blob.GetCapacity());
    EXPECT_EQ(Counted(3), BytesOf(blob));
    const CBlob blobEmpty(nullptr);
    blob = blobEmpty;
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(100u, blob.GetCapacity());
}

TEST(CBlobAssign, ToItselfItStaysAsItIs)
{
    CBlob blob = BlobInUse(nullptr);
    const Bytes bytes = BytesOf(blob);
    const CBlob& rSame = blob;
    blob = rSame;
    EXPECT_EQ(bytes, BytesOf(blob));
    EXPECT_EQ((SBlobCursors{3, 3, 4, 3}), CursorsOf(blob));
    CBlob& rSelf = blob;
    blob = std::move(rSelf);
    EXPECT_EQ(bytes, BytesOf(blob));
}

TEST(CBlobAssign, MovingExchangesEverything)
{
    CTestAllocator allocator;
    CTestAllocator otherAllocator;
    CBlob blobSource = BlobInUse(&allocator);
    CBlob blob = BlobOf(Counted(9), &otherAllocator);
    const Bytes bytes = BytesOf(blobSource);
    CBlob& rResult = blob = std::move(blobSource);
    EXPECT_EQ(&blob, &rResult);
    EXPECT_EQ(bytes, BytesOf(blob));
    EXPECT_EQ((SBlobCursors{3, 3, 4, 3}), CursorsOf(blob));
    EXPECT_EQ(Counted(9), BytesOf(blobSource));
    EXPECT_EQ(g_stFRESH, CursorsOf(blobSource));
}

TEST(CBlobCopyMembers, CopiesTheFourCursorsAlone)
{
    CBlob blob(nullptr);
    blob.CopyMembers(BlobInUse(nullptr));
    EXPECT_EQ((SBlobCursors{3, 3, 4, 3}), CursorsOf(blob));
    EXPECT_EQ(0u, blob.GetSize());
}

struct SInsertCase
{
    const char* pszName;
    unsigned int uCapacity;
    unsigned int uIndex;
    Bytes source;
    QvResult resWant;
    Bytes want;
    unsigned int uWantCapacity;
};
class CBlobInsert : public testing::TestWithParam<SInsertCase>
{
};
TEST_P(CBlobInsert, PutsBytesInFrontOfTheIndex)
{
    const SInsertCase& rCase = GetParam();
    CTestAllocator allocator;
    CBlob blob(Counted(4).data(), 4, rCase.uCapacity, &allocator);
    const CPageEnd source(rCase.source);
    EXPECT_EQ(rCase.resWant, blob.Insert(rCase.uIndex, source.Get(), static_cast<unsigned int>(rCase.source.size())));
    EXPECT_EQ(rCase.want, BytesOf(blob));
    EXPECT_EQ(rCase.uWantCapacity, blob.GetCapacity());
    EXPECT_EQ(std::max(8u, rCase.uWantCapacity), allocator.GetSizeOf(blob.GetFirstIndexPtr()));
}
INSTANTIATE_TEST_SUITE_P(
    All, CBlobInsert,
    testing::Values(SInsertCase{"AtTheFront", 4, 0, {9, 8}, QV_RES_OK, {9, 8, 1, 2, 3, 4}, 6},
                    SInsertCase{"InTheMiddle", 4, 2, {9}, QV_RES_OK, {1, 2, 9, 3, 4}, 5},
                    SInsertCase{"AtTheSizeAppends", 4, 4, {9, 8, 7}, QV_RES_OK, {1, 2, 3, 4, 9, 8, 7}, 7},
                    SInsertCase{"AtTheSizeWithinTheCapacity", 7, 4, {9, 8, 7}, QV_RES_OK, {1, 2, 3, 4, 9, 8, 7}, 7},
                    SInsertCase{"AtTheSizeOneOverTheCapacity", 6, 4, {9, 8, 7}, QV_RES_OK, {1, 2, 3, 4, 9, 8, 7}, 7},
                    SInsertCase{"InTheMiddleWithinTheCapacity", 20, 1, {9, 8}, QV_RES_OK, {1, 9, 8, 2, 3, 4}, 20},
                    SInsertCase{"NothingInTheMiddle", 4, 2, {}, QV_RES_OK, {1, 2, 3, 4}, 4},
                    SInsertCase{"NothingAtTheSize", 4, 4, {}, QV_RES_OK, {1, 2, 3, 4}, 4},
                    SInsertCase{"NothingBehindTheSize", 4, 5, {}, QV_RES_INVALID_ARGUMENT, {1, 2, 3, 4}, 4},
                    SInsertCase{"BehindTheSize", 9, 5, {9}, QV_RES_INVALID_ARGUMENT, {1, 2, 3, 4}, 9},
                    SInsertCase{"FarBehindTheSize", 9, UINT_MAX, {9}, QV_RES_INVALID_ARGUMENT, {1, 2, 3, 4}, 9}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CBlobInsert, LeavesTheCursorsWhereTheyWere)
{
    CBlob blob = BlobInUse(nullptr);
    const SBlobCursors stBefore = CursorsOf(blob);
    EXPECT_EQ(QV_RES_OK, blob.Append(Counted(5).data(), 5));
    EXPECT_EQ(QV_RES_OK, blob.Insert(0, Counted(5).data(), 5));
    EXPECT_EQ(stBefore, CursorsOf(blob));
}

TEST(CBlobInsert, NoBytesFromNowhereAreFine)
{
    CBlob blob(nullptr);
    EXPECT_EQ(QV_RES_OK, blob.Append(nullptr, 0));
    EXPECT_EQ(QV_RES_OK, blob.Insert(0, nullptr, 0));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Append(nullptr, 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Insert(0, nullptr, 1));
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(0u, blob.GetCapacity());
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

TEST(CBlobInsert, AppendingWithinTheCapacityAllocatesNothing)
{
    CTestAllocator allocator;
    CBlob blob(10, &allocator);
    for (unsigned char u = 0; u < 10; ++u) ASSERT_EQ(QV_RES_OK, blob.Append(&u, 1));
    EXPECT_EQ(1u, allocator.GetRequests().size());
    const unsigned char u = 10;
    ASSERT_EQ(QV_RES_OK, blob.Append(&u, 1));
    EXPECT_EQ(11u, blob.GetCapacity());
    EXPECT_EQ(2u, allocator.GetRequests().size());
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

struct SInsertBlobCase
{
    const char* pszName;
    unsigned int uIndex;
    unsigned int uStart;
    unsigned int uSize;
    QvResult resWant;
    Bytes want;
};
class CBlobInsertBlob : public testing::TestWithParam<SInsertBlobCase>
{
};
TEST_P(CBlobInsertBlob, TakesThePartThatIsThere)
{
    CBlob blob = BlobOf({1, 2});
    CBlob blobSource = BlobOf({7, 8, 9});
    ASSERT_EQ(QV_RES_OK, blobSource.ReserveCapacity(20));
    EXPECT_EQ(GetParam().resWant, blob.Insert(GetParam().uIndex, blobSource, GetParam().uStart, GetParam().uSize));
    EXPECT_EQ(GetParam().want, BytesOf(blob));
    EXPECT_EQ((Bytes{7, 8, 9}), BytesOf(blobSource));
}
INSTANTIATE_TEST_SUITE_P(
    All, CBlobInsertBlob,
    testing::Values(SInsertBlobCase{"Whole", 1, 0, 3, QV_RES_OK, {1, 7, 8, 9, 2}},
                    SInsertBlobCase{"Part", 2, 1, 1, QV_RES_OK, {1, 2, 8}},
                    SInsertBlobCase{"UpToTheEnd", 0, 1, 0xFFFFFFFF, QV_RES_OK, {8, 9, 1, 2}},
                    SInsertBlobCase{"AllUpToTheEnd", 2, 0, 0xFFFFFFFF, QV_RES_OK, {1, 2, 7, 8, 9}},
                    SInsertBlobCase{"NothingUpToTheEnd", 0, 3, 0xFFFFFFFF, QV_RES_OK, {1, 2}},
                    SInsertBlobCase{"NothingAtTheEnd", 0, 3, 0, QV_RES_OK, {1, 2}},
                    SInsertBlobCase{"FromBehindTheEnd", 0, 4, 0xFFFFFFFF, QV_RES_INVALID_ARGUMENT, {1, 2}},
                    SInsertBlobCase{"NothingBehindTheEnd", 0, 4, 0, QV_RES_INVALID_ARGUMENT, {1, 2}},
                    SInsertBlobCase{"PastTheEnd", 0, 2, 2, QV_RES_INVALID_ARGUMENT, {1, 2}},
                    SInsertBlobCase{"SumThatWraps", 0, 2, UINT_MAX - 1, QV_RES_INVALID_ARGUMENT, {1, 2}},
                    SInsertBlobCase{"BehindTheSize", 3, 0, 1, QV_RES_INVALID_ARGUMENT, {1, 2}}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CBlobInsertBlob, OfAnEmptyBlobInsertsNothing)
{
    CBlob blob = BlobOf({1, 2});
    const CBlob blobEmpty(nullptr);
    EXPECT_EQ(QV_RES_OK, blob.Insert(1, blobEmpty, 0, CBlob::uTO_END));
    EXPECT_EQ(QV_RES_OK, blob.Insert(1, blobEmpty, 0, 0));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Insert(1, blobEmpty, 0, 1));
    EXPECT_EQ((Bytes{1, 2}), BytesOf(blob));
}

TEST(CBlobIndex, TheEndIsTheSizeAndTheLastOneLess)
{
    CBlob blob(nullptr);
    EXPECT_EQ(0u, blob.GetFirstIndex());
    EXPECT_EQ(UINT_MAX, blob.GetLastIndex());
    EXPECT_EQ(0u, blob.GetEndIndex());
    ASSERT_EQ(QV_RES_OK, blob.Append(Counted(3).data(), 3));
    EXPECT_EQ(0u, blob.GetFirstIndex());
    EXPECT_EQ(2u, blob.GetLastIndex());
    EXPECT_EQ(3u, blob.GetEndIndex());
}

TEST(CBlobIndex, AByteIsThereBelowTheSize)
{
    CBlob blob(Counted(3).data(), 3, 10, nullptr);
    const CBlob& rConst = blob;
    for (unsigned int u = 0; u < 3; ++u)
    {
        EXPECT_EQ(blob.GetFirstIndexPtr() + u, blob.GetAt(u));
        EXPECT_EQ(rConst.GetFirstIndexPtr() + u, rConst.GetAt(u));
        EXPECT_EQ(u + 1, *blob.GetAt(u));
    }
    for (const unsigned int u : {3u, 9u, UINT_MAX})
    {
        EXPECT_EQ(nullptr, blob.GetAt(u));
        EXPECT_EQ(nullptr, rConst.GetAt(u));
    }
    EXPECT_EQ(3, blob.end() - blob.begin());
    EXPECT_EQ(rConst.begin(), rConst.GetFirstIndexPtr());
}

TEST(CBlobIndex, TheStorageIsThereOnceThereIsACapacity)
{
    CBlob blob(10, nullptr);
    EXPECT_NE(nullptr, blob.GetFirstIndexPtr());
    EXPECT_EQ(nullptr, blob.GetAt(0));
}

TEST(CBlobResize, WithinTheCapacitySetsTheSizeAlone)
{
    CTestAllocator allocator;
    CBlob blob(Counted(4).data(), 4, 10, &allocator);
    const SBlobCursors stBefore = CursorsOf(blob);
    EXPECT_EQ(QV_RES_OK, blob.Resize(2u));
    EXPECT_EQ(Counted(2), BytesOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.Resize(4u));
    EXPECT_EQ(Counted(4), BytesOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.Resize(10u));
    EXPECT_EQ(10u, blob.GetSize());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Resize(11u));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.Resize(UINT_MAX));
    EXPECT_EQ(10u, blob.GetSize());
    EXPECT_EQ(QV_RES_OK, blob.Resize(0u));
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(10u, blob.GetCapacity());
    EXPECT_EQ(stBefore, CursorsOf(blob));
    EXPECT_EQ(1u, allocator.GetRequests().size());
}

TEST(CBlobResize, LeavesTheCursorsWhereTheyWere)
{
    CBlob blob = BlobInUse(nullptr);
    const SBlobCursors stBefore = CursorsOf(blob);
    EXPECT_EQ(QV_RES_OK, blob.Resize(0u));
    EXPECT_EQ(stBefore, CursorsOf(blob));
    EXPECT_EQ(QV_RES_OK, blob.Resize(blob.GetFirstIndexPtr() + 5));
    EXPECT_EQ(stBefore, CursorsOf(blob));
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

TEST(CBlobReserve, GrowsExactlyAndNeverShrinks)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    EXPECT_EQ(QV_RES_OK, blob.ReserveCapacity(0));
    EXPECT_EQ(0u, allocator.GetRequests().size());
    for (const unsigned int uCapacity : {1u, 7u, 8u, 9u, 33u, 1000u})
    {
        EXPECT_EQ(QV_RES_OK, blob.ReserveCapacity(uCapacity));
        EXPECT_EQ(uCapacity, blob.GetCapacity());
        EXPECT_EQ(std::max(8u, uCapacity), allocator.GetSizeOf(blob.GetFirstIndexPtr()));
    }
    EXPECT_EQ(QV_RES_OK, blob.ReserveCapacity(999));
    EXPECT_EQ(1000u, blob.GetCapacity());
    EXPECT_EQ(6u, allocator.GetRequests().size());
    EXPECT_EQ(1u, allocator.GetLiveBlocks());
}

TEST(CBlobReserve, KeepsTheBytes)
{
    CBlob blob = BlobOf(Counted(5));
    EXPECT_EQ(QV_RES_OK, blob.ReserveCapacity(500));
    EXPECT_EQ(Counted(5), BytesOf(blob));
}

TEST(CBlobReduce, GoesDownToTheSizeAtMost)
{
    CTestAllocator allocator;
    CBlob blob(Counted(5).data(), 5, 100, &allocator);
    EXPECT_EQ(QV_RES_OK, blob.ReduceCapacity(100));
    EXPECT_EQ(QV_RES_OK, blob.ReduceCapacity(200));
    EXPECT_EQ(100u, blob.GetCapacity());
    EXPECT_EQ(QV_RES_OK, blob.ReduceCapacity(20));
    EXPECT_EQ(20u, blob.GetCapacity());
    EXPECT_EQ(QV_RES_OK, blob.ReduceCapacity(0));
    EXPECT_EQ(5u, blob.GetCapacity());
    EXPECT_EQ(Counted(5), BytesOf(blob));
}

TEST(CBlobErase, RemovesWhatIsThere)
{
    CBlob blob = BlobInUse(nullptr);
    const SBlobCursors stBefore = CursorsOf(blob);
    const unsigned int uCapacity = blob.GetCapacity();
    blob.Erase(1, 2);
    EXPECT_EQ((Bytes{1, 4, 0xA0}), BytesOf(blob));
    blob.Erase(3, 1);
    EXPECT_EQ(3u, blob.GetSize());
    blob.Erase(1, UINT_MAX);
    EXPECT_EQ(Bytes{1}, BytesOf(blob));
    EXPECT_EQ(uCapacity, blob.GetCapacity());
    EXPECT_EQ(stBefore, CursorsOf(blob));
}

TEST(CBlobErase, ClearingResetsTheCursorsToo)
{
    CBlob blob = BlobInUse(nullptr);
    const unsigned int uCapacity = blob.GetCapacity();
    blob.Clear();
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(uCapacity, blob.GetCapacity());
    EXPECT_EQ(g_stFRESH, CursorsOf(blob));
}

TEST(CBlobCompare, OrdersByBytesAndSizesNotByCursors)
{
    const std::vector<Bytes> all = {{}, {0}, {0, 0}, {1}, {1, 5}, {2}, {0x7F}, {0x80}, {0xFF}, {0xFF, 0}};
    for (const Bytes& rLeft : all)
        for (const Bytes& rRight : all)
        {
            const CBlob blobLeft = BlobOf(rLeft);
            CBlob blobRight(rRight.data(), static_cast<unsigned int>(rRight.size()), 50, nullptr);
            blobRight.SkipBits(3);
            EXPECT_EQ(rLeft == rRight, blobLeft == blobRight);
            EXPECT_EQ(rLeft != rRight, blobLeft != blobRight);
            EXPECT_EQ(rLeft < rRight, blobLeft < blobRight);
        }
    const CBlob blob = BlobOf({1});
    EXPECT_TRUE(blob == blob);
    EXPECT_FALSE(blob < blob);
}

TEST(CBlobRead, CopiesTheNextBytesAndAdvances)
{
    CBlob blob = BlobOf(Counted(5));
    CPageEnd destination(3);
    EXPECT_EQ(destination.Get(), blob.Read(destination.Get(), 3));
    EXPECT_EQ(Counted(3), destination.Bytes());
    EXPECT_EQ(2u, blob.GetUnreadSize());
    EXPECT_EQ(16u, blob.GetUnreadBits());
    EXPECT_EQ(nullptr, blob.Read(destination.Get(), 3));
    EXPECT_EQ(Counted(3), destination.Bytes());
    EXPECT_EQ(2u, blob.GetUnreadSize());
    EXPECT_EQ(destination.Get(), blob.Read(destination.Get(), 2));
    EXPECT_EQ((Bytes{4, 5, 3}), destination.Bytes());
    EXPECT_EQ(0u, blob.GetUnreadSize());
    EXPECT_EQ(nullptr, blob.Read(destination.Get(), 1));
    EXPECT_EQ(Counted(5), BytesOf(blob));
}

TEST(CBlobRead, OfNothingOrToNowhereIsNull)
{
    CBlob blob = BlobOf(Counted(5));
    blob.SkipBits(3);
    unsigned char uByte = 77;
    EXPECT_EQ(nullptr, blob.Read(nullptr, 1));
    EXPECT_EQ(nullptr, blob.Read(&uByte, 0));
    EXPECT_EQ(nullptr, blob.Read(&uByte, 5));
    EXPECT_EQ(nullptr, blob.Read(&uByte, UINT_MAX));
    EXPECT_EQ(77, uByte);
    // Refused, it also leaves the partly read byte.
    EXPECT_EQ((SBlobCursors{1, 3, 0, 0}), CursorsOf(blob));
}

TEST(CBlobRead, SkipsTheRestOfAPartlyReadByte)
{
    CBlob blob = BlobOf(Counted(5));
    unsigned char auRead[2] = {0xFF, 0xFF};
    blob.ReadBits(auRead, 3, 0);
    EXPECT_EQ(auRead, blob.Read(auRead, 2));
    EXPECT_EQ(2, auRead[0]);
    EXPECT_EQ(3, auRead[1]);
    EXPECT_EQ((SBlobCursors{3, 0, 0, 0}), CursorsOf(blob));
}

TEST(CBlobReadNoCopy, GivesTheBytesInPlace)
{
    CBlob blob = BlobOf(Counted(5));
    EXPECT_EQ(blob.GetAt(0), blob.ReadNoCopy(2));
    EXPECT_EQ(3u, blob.GetUnreadSize());
    EXPECT_EQ(nullptr, blob.ReadNoCopy(4));
    EXPECT_EQ(3u, blob.GetUnreadSize());
    blob.SkipBits(1);
    EXPECT_EQ(nullptr, blob.ReadNoCopy(3));
    EXPECT_EQ((SBlobCursors{3, 1, 0, 0}), CursorsOf(blob));
    EXPECT_EQ(blob.GetAt(3), blob.ReadNoCopy(2));
    EXPECT_EQ((SBlobCursors{5, 0, 0, 0}), CursorsOf(blob));
    EXPECT_EQ(nullptr, blob.ReadNoCopy(1));
    EXPECT_EQ(nullptr, blob.ReadNoCopy(UINT_MAX));
}

TEST(CBlobReadNoCopy, OfNoBytesDropsAPartlyReadByteAndShowsTheNext)
{
    CBlob blob = BlobOf(Counted(2));
    blob.SkipBits(3);
    EXPECT_EQ(blob.GetAt(1), blob.ReadNoCopy(0));
    EXPECT_EQ((SBlobCursors{1, 0, 0, 0}), CursorsOf(blob));
    blob.SkipBits(8);
    EXPECT_EQ(nullptr, blob.ReadNoCopy(0));
}

TEST(CBlobReadIndex, IsAnIndexBelowTheSizeOrZero)
{
    CBlob blob(nullptr);
    EXPECT_EQ(QV_RES_OK, blob.SetReadIndex(0));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.SetReadIndex(1));
    ASSERT_EQ(QV_RES_OK, blob.Append(Counted(5).data(), 5));
    EXPECT_EQ(QV_RES_OK, blob.SetReadIndex(4));
    EXPECT_EQ(1u, blob.GetUnreadSize());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.SetReadIndex(5));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, blob.SetReadIndex(UINT_MAX));
    EXPECT_EQ(1u, blob.GetUnreadSize());
    EXPECT_EQ(QV_RES_OK, blob.SetReadIndex(0));
    EXPECT_EQ(5u, blob.GetUnreadSize());
}

TEST(CBlobReadIndex, LeavesTheBitOffset)
{
    CBlob blob = BlobOf(Counted(5));
    blob.SkipBits(3);
    EXPECT_EQ(QV_RES_OK, blob.SetReadIndex(3));
    EXPECT_EQ((SBlobCursors{3, 3, 0, 0}), CursorsOf(blob));
    EXPECT_EQ(2u, blob.GetUnreadSize());
    EXPECT_EQ(2u * 8 + 5, blob.GetUnreadBits());
    // The partly read byte is now the one before.
    unsigned char uRead = 0;
    blob.ReadBits(&uRead, 5, 3);
    EXPECT_EQ(3, uRead);
    EXPECT_EQ((SBlobCursors{3, 0, 0, 0}), CursorsOf(blob));
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

TEST(CBlobReadIndex, AtZeroWithABitOffsetBitsAreReadFromTheFirst)
{
    CBlob blob = BlobOf({0xAB, 0xCD});
    blob.SkipBits(3);
    EXPECT_EQ(QV_RES_OK, blob.SetReadIndex(0));
    unsigned char uRead = 0;
    blob.ReadBits(&uRead, 8, 0);
    EXPECT_EQ(0xAB, uRead);
    EXPECT_EQ((SBlobCursors{1, 0, 0, 0}), CursorsOf(blob));
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

TEST(CBlobMarshal, IsTheSizeIn32BitsAndTheBytes)
{
    CBlob blob(Bytes{7, 8, 9}.data(), 3, 20, nullptr);
    blob.SkipBits(11);
    CMarshaler marshaler;
    CMarshaler& rResult = marshaler << blob;
    EXPECT_EQ(&marshaler, &rResult);
    ASSERT_EQ(7u, marshaler.GetUnreadSize());
    Bytes bytes(7);
    marshaler.Extract(bytes.data(), 7);
    EXPECT_EQ((Bytes{3, 0, 0, 0, 7, 8, 9}), bytes);
}

TEST(CBlobMarshal, OfAnEmptyBlobIsFourZeroBytes)
{
    CMarshaler marshaler;
    marshaler << CBlob(nullptr);
    ASSERT_EQ(4u, marshaler.GetUnreadSize());
    unsigned int uLength = 1;
    marshaler >> uLength;
    EXPECT_EQ(0u, uLength);
    marshaler << CBlob(nullptr);
    CBlob blob = BlobOf(Counted(5));
    marshaler >> blob;
    EXPECT_EQ(0u, blob.GetSize());
    EXPECT_EQ(5u, blob.GetCapacity());
    marshaler << CBlob(nullptr);
    CBlob blobEmpty(nullptr);
    marshaler >> blobEmpty;
    EXPECT_EQ(0u, blobEmpty.GetCapacity());
}

TEST(CBlobMarshal, ABlobReadBackIsTheOneThatWasWritten)
{
    for (const unsigned int uSize : {0u, 1u, 52u, 53u, 140u, 141u, 1000u, 70000u})
    {
        SCOPED_TRACE(uSize);
        const Bytes bytes = Counted(uSize);
        CMarshaler marshaler;
        marshaler << BlobOf(bytes) << 0xABCDu;
        CTestAllocator allocator;
        CBlob blob(&allocator);
        unsigned int uBehind = 0;
        CMarshaler& rResult = marshaler >> blob;
        EXPECT_EQ(&marshaler, &rResult);
        marshaler >> uBehind;
        EXPECT_EQ(0xABCDu, uBehind);
        EXPECT_EQ(bytes, BytesOf(blob));
        EXPECT_EQ(uSize, blob.GetCapacity());
    }
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
