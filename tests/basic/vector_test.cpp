#include "framework/basic/vector.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "framework/basic/allocator.h"
#include "tests/basic/traced_vector.h"
#include "tests/support/test_allocator.h"

namespace
{
/// Opens what is protected.
class CProbe : public CVectorBase
{
public:
    using CVectorBase::CVectorBase;
    using CVectorBase::m_bConstruct;
    using CVectorBase::m_pAllocator;
    using CVectorBase::m_pvScratch;
    using CVectorBase::m_pvStorage;
    using CVectorBase::m_uCapacity;
    using CVectorBase::m_uElementSize;
    using CVectorBase::m_uLockCapacity;
    using CVectorBase::m_uSize;
};

void FillBytes(CVectorBase& rVector, const std::vector<unsigned char>& bytes)
{
    for (const unsigned char& ru : bytes) ASSERT_EQ(QV_RES_OK, rVector.Insert(rVector.GetEndIndex(), 1, &ru));
}

class CVectorOfInts : public testing::Test
{
protected:
    CTestAllocator m_allocator;
    CProbe m_vector{sizeof(int), false, &m_allocator};
};
}  // namespace

TEST(CVectorConstruction, GivesAnEmptyVectorWithoutStorage)
{
    CTestAllocator allocator;
    const CProbe vector(12, &allocator);
    EXPECT_EQ(&allocator, vector.m_pAllocator);
    EXPECT_EQ(0u, vector.GetCapacity());
    EXPECT_EQ(0u, vector.GetLockCapacity());
    EXPECT_EQ(12u, vector.m_uElementSize);
    EXPECT_EQ(0u, vector.GetSize());
    EXPECT_TRUE(vector.m_bConstruct);
    EXPECT_NE(nullptr, vector.m_pvScratch);
    EXPECT_EQ(nullptr, vector.m_pvStorage);
    EXPECT_TRUE(allocator.GetRequests().empty());
}

TEST(CVectorConstruction, TakesTheConstructFlag)
{
    EXPECT_TRUE(CProbe(1, true, nullptr).m_bConstruct);
    EXPECT_FALSE(CProbe(1, false, nullptr).m_bConstruct);
}

TEST(CVectorConstruction, WithoutAnAllocatorTakesTheDefaultOne)
{
    IAllocator* const pDefault = CDefaultAllocator::Instance();
    EXPECT_EQ(pDefault, CProbe(1, nullptr).m_pAllocator);
    EXPECT_EQ(pDefault, CProbe(1, false, nullptr).m_pAllocator);
}

TEST(CVectorConstruction, TheBasesElementOperationsDoNothing)
{
    CVectorBase vector(1, nullptr);
    unsigned char uElement = 7;
    const unsigned char uOther = 9;
    vector.Construct(&uElement);
    vector.ConstructFrom(&uElement, &uOther);
    vector.Destruct(&uElement);
    EXPECT_EQ(7, uElement);
}

TEST(CVectorDestruction, GivesTheStorageOfALockedVectorBack)
{
    CTestAllocator allocator;
    {
        CProbe vector(3, false, &allocator);
        ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2));
        vector.SetLockCapacity(1);
    }
    EXPECT_EQ(std::vector<unsigned int>{6}, allocator.GetReleases());
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
}

TEST(CVectorDestruction, WithoutStorageReleasesNothing)
{
    CTestAllocator allocator;
    {
        CProbe vector(3, false, &allocator);
    }
    EXPECT_TRUE(allocator.GetReleases().empty());
}

TEST_F(CVectorOfInts, CopyConstructionTakesAllocatorCapacityAndElements)
{
    Fill(m_vector, {1, 2});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(5));
    m_vector.SetLockCapacity(3);
    const CProbe copy(m_vector);
    EXPECT_EQ(&m_allocator, copy.m_pAllocator);
    EXPECT_EQ(5u, copy.GetCapacity());
    EXPECT_EQ(3u, copy.GetLockCapacity());
    EXPECT_EQ(sizeof(int), copy.m_uElementSize);
    EXPECT_FALSE(copy.m_bConstruct);
    EXPECT_NE(nullptr, copy.m_pvScratch);
    EXPECT_NE(m_vector.m_pvScratch, copy.m_pvScratch);
    EXPECT_NE(m_vector.m_pvStorage, copy.m_pvStorage);
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(copy));
}

TEST_F(CVectorOfInts, CopyConstructionTakesTheFlag)
{
    const CProbe constructing(sizeof(int), true, &m_allocator);
    EXPECT_TRUE(CProbe(constructing).m_bConstruct);
}

TEST_F(CVectorOfInts, CopyConstructionOfAnEmptyVectorAllocatesNothing)
{
    const CProbe copy(m_vector);
    EXPECT_EQ(nullptr, copy.m_pvStorage);
    EXPECT_TRUE(m_allocator.GetRequests().empty());
}

TEST_F(CVectorOfInts, CopyConstructionWithoutMemoryIsEmpty)
{
    Fill(m_vector, {1, 2});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(5));
    m_allocator.SetRefusing(true);
    const CProbe copy(m_vector);
    EXPECT_TRUE(m_allocator.HasRefused());
    m_allocator.SetRefusing(false);
    EXPECT_EQ(0u, copy.GetSize());
    EXPECT_EQ(0u, copy.GetCapacity());
}

TEST_F(CVectorOfInts, CopyConstructionWithoutMemoryForTheCapacityStillCopiesTheElements)
{
    Fill(m_vector, {1, 2});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(5));
    m_allocator.RefuseNth(1);
    const CProbe copy(m_vector);
    EXPECT_EQ(2u, copy.GetCapacity());
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(copy));
}

TEST_F(CVectorOfInts, CopyConstructionOfALockedVectorTakesTheLockBeforeItAssigns)
{
    Fill(m_vector, {1, 2});
    m_vector.SetLockCapacity(1);
    m_allocator.RefuseNth(1);
    const CProbe copy(m_vector);
    EXPECT_EQ(1u, copy.GetLockCapacity());
    EXPECT_EQ(0u, copy.GetCapacity());
    EXPECT_EQ(0u, copy.GetSize());
}

TEST_F(CVectorOfInts, AssignmentCopiesTheElementsAndKeepsALargerCapacity)
{
    CProbe source(sizeof(int), false, nullptr);
    Fill(source, {7, 8});
    Fill(m_vector, {1, 2, 3});
    CVectorBase& rResult = m_vector = source;
    EXPECT_EQ(&m_vector, &rResult);
    EXPECT_EQ((std::vector<int>{7, 8}), ValuesOf(m_vector));
    EXPECT_EQ(3u, m_vector.GetCapacity());
    EXPECT_EQ(&m_allocator, m_vector.m_pAllocator);
}

TEST_F(CVectorOfInts, AssignmentGrowsToExactlyTheSourcesSize)
{
    CProbe source(sizeof(int), false, nullptr);
    Fill(source, {7, 8});
    ASSERT_EQ(QV_RES_OK, source.ReserveCapacity(9));
    m_vector = source;
    EXPECT_EQ((std::vector<int>{7, 8}), ValuesOf(m_vector));
    EXPECT_EQ(2u, m_vector.GetCapacity());
}

TEST_F(CVectorOfInts, AssignmentOfAnEmptyVectorErasesAll)
{
    const CProbe source(sizeof(int), false, nullptr);
    Fill(m_vector, {1, 2});
    m_vector = source;
    EXPECT_TRUE(m_vector.IsEmpty());
    EXPECT_EQ(2u, m_vector.GetCapacity());
}

TEST_F(CVectorOfInts, SelfAssignmentChangesNothing)
{
    Fill(m_vector, {1, 2});
    const CVectorBase& rSelf = m_vector;
    m_vector = static_cast<const CProbe&>(rSelf);
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, AssignmentOfAnotherElementSizeChangesNothing)
{
    CProbe source(2, false, nullptr);
    ASSERT_EQ(QV_RES_OK, source.Insert(0, 4));
    Fill(m_vector, {1, 2});
    m_vector = source;
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
    EXPECT_EQ(2u, m_vector.GetCapacity());
    EXPECT_EQ(sizeof(int), m_vector.m_uElementSize);
}

TEST_F(CVectorOfInts, AssignmentBeyondALockedCapacityChangesNothing)
{
    CProbe source(sizeof(int), false, nullptr);
    Fill(source, {7, 8, 9});
    Fill(m_vector, {1, 2});
    m_vector.SetLockCapacity(1);
    m_vector = source;
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
    source.Erase(2);
    m_vector = source;
    EXPECT_EQ((std::vector<int>{7, 8}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, AssignmentWithoutMemoryChangesNothing)
{
    CProbe source(sizeof(int), false, nullptr);
    Fill(source, {7, 8, 9});
    Fill(m_vector, {1, 2});
    m_allocator.SetRefusing(true);
    m_vector = source;
    m_allocator.SetRefusing(false);
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
    EXPECT_EQ(2u, m_vector.GetCapacity());
}

namespace
{
struct SOrderCase
{
    std::vector<unsigned char> left;
    std::vector<unsigned char> right;
    bool bLess;
    bool bGreater;
    bool bEqual;
};

class CVectorOrder : public testing::TestWithParam<SOrderCase>
{
};
}  // namespace

TEST_P(CVectorOrder, ComparesBytesThenSizes)
{
    const SOrderCase& rCase = GetParam();
    CVectorBase left(1, false, nullptr);
    CVectorBase right(1, false, nullptr);
    FillBytes(left, rCase.left);
    FillBytes(right, rCase.right);
    EXPECT_EQ(rCase.bLess, left < right);
    EXPECT_EQ(rCase.bGreater, right < left);
    EXPECT_EQ(rCase.bEqual, left == right);
    EXPECT_EQ(rCase.bEqual, right == left);
    EXPECT_EQ(!rCase.bEqual, left != right);
    EXPECT_EQ(!rCase.bEqual, right != left);
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, CVectorOrder,
    testing::Values(SOrderCase{{}, {}, false, false, true}, SOrderCase{{}, {0}, true, false, false},
                    SOrderCase{{1}, {1}, false, false, true}, SOrderCase{{1}, {2}, true, false, false},
                    SOrderCase{{1}, {0x80}, true, false, false}, SOrderCase{{2}, {1, 5}, true, true, false},
                    SOrderCase{{1}, {1, 5}, true, false, false}, SOrderCase{{1, 2, 3}, {1, 2, 4}, true, false, false},
                    SOrderCase{{1, 2, 3}, {1, 2, 3}, false, false, true},
                    SOrderCase{{1, 2, 9}, {1, 3}, true, true, false}));

TEST(CVectorComparison, OfAVectorWithItselfIsEqualAndNotLess)
{
    CVectorBase vector(1, false, nullptr);
    FillBytes(vector, {1, 2});
    const CVectorBase& rSame = vector;
    EXPECT_TRUE(vector == rSame);
    EXPECT_FALSE(vector != rSame);
    EXPECT_FALSE(vector < rSame);
    const CVectorBase empty(1, false, nullptr);
    const CVectorBase& rEmpty = empty;
    EXPECT_FALSE(empty < rEmpty);
    EXPECT_TRUE(empty == rEmpty);
}

TEST(CVectorComparison, TellsElementSizesApart)
{
    CVectorBase bytes(1, false, nullptr);
    CVectorBase words(2, false, nullptr);
    EXPECT_TRUE(bytes != words);
    ASSERT_EQ(QV_RES_OK, bytes.Insert(0, 2));
    ASSERT_EQ(QV_RES_OK, words.Insert(0, 2));
    EXPECT_TRUE(bytes != words);
    EXPECT_FALSE(bytes == words);
}

TEST(CVectorComparison, OfDifferentElementSizesTakesTheBytesOfAsManyElementsOfTheLeftOne)
{
    CVectorBase bytes(1, false, nullptr);
    FillBytes(bytes, {1, 2, 3});
    CVectorBase words(4, false, nullptr);
    Fill(words, {0x09090201, 0});  // 1 2 9 9 0 0 0 0
    EXPECT_FALSE(bytes < words) << "two bytes are common and equal, and three elements are not fewer than two";
    EXPECT_TRUE(words < bytes) << "the bytes end after three, and two elements are fewer";

    ASSERT_EQ(QV_RES_OK, bytes.ReserveCapacity(8));
    memset(bytes.GetAtInCapacity(2), 0xFF, 6);
    ASSERT_EQ(QV_RES_OK, bytes.Resize(2));
    EXPECT_FALSE(words < bytes) << "what lies behind the elements was compared";
}

TEST(CVectorComparison, LooksAtAllBytesOfAllElements)
{
    CVectorBase left(4, false, nullptr);
    CVectorBase right(4, false, nullptr);
    Fill(left, {1, 0x01020304});
    Fill(right, {1, 0x02020304});
    EXPECT_TRUE(left != right);
    EXPECT_TRUE(left < right);
    EXPECT_FALSE(right < left);
}

TEST(CVectorComparison, IgnoresWhatLiesBehindTheSize)
{
    CVectorBase left(1, false, nullptr);
    CVectorBase right(1, false, nullptr);
    FillBytes(left, {1, 2, 3});
    FillBytes(right, {1, 2, 4});
    ASSERT_EQ(QV_RES_OK, left.Resize(2));
    ASSERT_EQ(QV_RES_OK, right.Resize(2));
    EXPECT_TRUE(left == right);
    EXPECT_FALSE(left < right);
    EXPECT_FALSE(right < left);
}

TEST(CVectorComparison, ComparesNoByteBehindTheShorterOne)
{
    CVectorBase longer(1, false, nullptr);
    CVectorBase shorter(1, false, nullptr);
    FillBytes(longer, {1, 5});
    for (const unsigned char uBehind : {static_cast<unsigned char>(2), static_cast<unsigned char>(9)})
    {
        shorter.EraseAll();
        FillBytes(shorter, {1, uBehind});
        ASSERT_EQ(QV_RES_OK, shorter.Resize(1));
        EXPECT_FALSE(longer < shorter);
        EXPECT_TRUE(shorter < longer);
    }
}

TEST(CVectorComparison, StorageWithoutElementsEqualsNoStorage)
{
    CVectorBase none(1, false, nullptr);
    CVectorBase reserved(1, false, nullptr);
    ASSERT_EQ(QV_RES_OK, reserved.ReserveCapacity(3));
    EXPECT_TRUE(none == reserved);
    EXPECT_TRUE(reserved == none);
    EXPECT_FALSE(none < reserved);
    EXPECT_FALSE(reserved < none);
    CVectorBase one(1, false, nullptr);
    FillBytes(one, {0});
    EXPECT_TRUE(reserved < one);
    EXPECT_TRUE(none < one);
    EXPECT_FALSE(one < reserved);
    EXPECT_FALSE(one < none);
}

TEST_F(CVectorOfInts, ReserveAsksForOneBlockOfExactlyTheBytes)
{
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(5));
    EXPECT_EQ(5u, m_vector.GetCapacity());
    ASSERT_EQ(1u, m_allocator.GetRequests().size());
    EXPECT_EQ(1u, m_allocator.GetRequests()[0].uCount);
    EXPECT_EQ(20u, m_allocator.GetRequests()[0].uSize);
    EXPECT_TRUE(m_allocator.GetReleases().empty());
    EXPECT_EQ(20u, m_allocator.GetSizeOf(m_vector.m_pvStorage));
    EXPECT_EQ(0u, m_vector.GetSize());
}

TEST_F(CVectorOfInts, ReserveOfNoMoreThanTheCapacityDoesNothing)
{
    EXPECT_EQ(QV_RES_OK, m_vector.ReserveCapacity(0));
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(5));
    EXPECT_EQ(QV_RES_OK, m_vector.ReserveCapacity(5));
    EXPECT_EQ(QV_RES_OK, m_vector.ReserveCapacity(4));
    EXPECT_EQ(5u, m_vector.GetCapacity());
    EXPECT_EQ(1u, m_allocator.GetRequests().size());
}

TEST(CVectorCapacity, ABlockHasAtLeastEightBytes)
{
    CTestAllocator allocator;
    CProbe vector(3, false, &allocator);
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(1));
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(2));
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(3));
    ASSERT_EQ(QV_RES_OK, vector.ReduceCapacity(1));
    ASSERT_EQ(4u, allocator.GetRequests().size());
    EXPECT_EQ(8u, allocator.GetRequests()[0].uSize);
    EXPECT_EQ(8u, allocator.GetRequests()[1].uSize);
    EXPECT_EQ(9u, allocator.GetRequests()[2].uSize);
    EXPECT_EQ(8u, allocator.GetRequests()[3].uSize);
    EXPECT_EQ(1u, vector.GetCapacity());
}

TEST(CVectorCapacity, ABlockIsReleasedWithItsCapacityInBytes)
{
    CTestAllocator allocator;
    CProbe vector(3, false, &allocator);
    for (const unsigned int u : {1u, 2u, 7u}) ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(u));
    ASSERT_EQ(QV_RES_OK, vector.ReduceCapacity(4));
    ASSERT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    EXPECT_EQ((std::vector<unsigned int>{3, 6, 21, 12}), allocator.GetReleases());
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
}

TEST(CVectorCapacity, ThatDoesNotFit32BitsOfBytesIsOutOfMemory)
{
    CTestAllocator allocator;
    allocator.SetRefusing(true);
    CProbe words(4, false, &allocator);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, words.ReserveCapacity(0x40000000));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, words.ReserveCapacity(0x40000001));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, words.ReserveCapacity(0xFFFFFFFF));
    EXPECT_TRUE(allocator.GetRequests().empty());
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, words.ReserveCapacity(0x3FFFFFFF));
    CProbe bytes(1, false, &allocator);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, bytes.ReserveCapacity(0xFFFFFFFF));
    ASSERT_EQ(2u, allocator.GetRequests().size());
    EXPECT_EQ(0xFFFFFFFCu, allocator.GetRequests()[0].uSize);
    EXPECT_EQ(0xFFFFFFFFu, allocator.GetRequests()[1].uSize);
    EXPECT_EQ(0u, words.GetCapacity());
}

TEST_F(CVectorOfInts, InsertOfMoreThan32BitsCanCountIsOutOfMemory)
{
    Fill(m_vector, {1, 2});
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.Insert(0, 0xFFFFFFFF));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.Insert(2, 0xFFFFFFFE));
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
    m_vector.SetLockCapacity(1);
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.Insert(0, 0xFFFFFFFF));
}

TEST_F(CVectorOfInts, ReserveWithoutMemoryChangesNothing)
{
    Fill(m_vector, {1, 2});
    const void* const pvBefore = m_vector.m_pvStorage;
    m_allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.ReserveCapacity(3));
    m_allocator.SetRefusing(false);
    EXPECT_EQ(pvBefore, m_vector.m_pvStorage);
    EXPECT_EQ(2u, m_vector.GetCapacity());
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, ReduceShrinksToTheSizeAndNoFurther)
{
    Fill(m_vector, {1, 2, 3, 4, 5});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(9));
    EXPECT_EQ(QV_RES_OK, m_vector.ReduceCapacity(7));
    EXPECT_EQ(7u, m_vector.GetCapacity());
    EXPECT_EQ(28u, m_allocator.GetSizeOf(m_vector.m_pvStorage));
    EXPECT_EQ(QV_RES_OK, m_vector.ReduceCapacity(0));
    EXPECT_EQ(5u, m_vector.GetCapacity());
    EXPECT_EQ(20u, m_allocator.GetSizeOf(m_vector.m_pvStorage));
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 5}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, ReduceOfNothingAsksForNothing)
{
    EXPECT_EQ(QV_RES_OK, m_vector.ReduceCapacity(0));
    EXPECT_EQ(QV_RES_OK, m_vector.ReduceCapacity(8));
    Fill(m_vector, {1, 2});
    const std::size_t uRequests = m_allocator.GetRequests().size();
    EXPECT_EQ(QV_RES_OK, m_vector.ReduceCapacity(0));
    EXPECT_EQ(QV_RES_OK, m_vector.ReduceCapacity(2));
    EXPECT_EQ(QV_RES_OK, m_vector.ReduceCapacity(3));
    EXPECT_EQ(2u, m_vector.GetCapacity());
    EXPECT_EQ(uRequests, m_allocator.GetRequests().size());
}

TEST_F(CVectorOfInts, ReduceOfAnEmptyVectorGivesTheStorageBack)
{
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(4));
    EXPECT_EQ(QV_RES_OK, m_vector.ReduceCapacity(0));
    EXPECT_EQ(nullptr, m_vector.m_pvStorage);
    EXPECT_EQ(0u, m_vector.GetCapacity());
    EXPECT_EQ(std::vector<unsigned int>{16}, m_allocator.GetReleases());
    EXPECT_EQ(1u, m_allocator.GetRequests().size());
    Fill(m_vector, {1});
    EXPECT_EQ((std::vector<int>{1}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, ReduceWithoutMemoryChangesNothing)
{
    Fill(m_vector, {1, 2});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(4));
    const void* const pvBefore = m_vector.m_pvStorage;
    m_allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.ReduceCapacity(0));
    m_allocator.SetRefusing(false);
    EXPECT_EQ(pvBefore, m_vector.m_pvStorage);
    EXPECT_EQ(4u, m_vector.GetCapacity());
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, ALockRefusesEveryChangeOfTheCapacity)
{
    Fill(m_vector, {1, 2});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(4));
    const std::size_t uRequests = m_allocator.GetRequests().size();
    m_vector.SetLockCapacity(7);
    EXPECT_EQ(7u, m_vector.GetLockCapacity());
    EXPECT_EQ(QV_RES_OK, m_vector.ReserveCapacity(4));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.ReserveCapacity(5));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.ReserveCapacity(0xFFFFFFFF));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.ReduceCapacity(0));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.ReduceCapacity(4));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.ReduceCapacity(9));
    EXPECT_EQ(4u, m_vector.GetCapacity());
    EXPECT_EQ(uRequests, m_allocator.GetRequests().size());
    m_vector.SetLockCapacity(0);
    EXPECT_EQ(0u, m_vector.GetLockCapacity());
    EXPECT_EQ(QV_RES_OK, m_vector.ReduceCapacity(0));
}

TEST_F(CVectorOfInts, ALockedVectorTakesElementsWithinItsCapacity)
{
    Fill(m_vector, {1, 2});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(4));
    m_vector.SetLockCapacity(1);
    const void* const pvBefore = m_vector.m_pvStorage;
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(0, 2));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.Insert(0, 1));
    EXPECT_EQ(nullptr, m_vector.Allocate(0));
    CProbe source(sizeof(int), false, nullptr);
    Fill(source, {9});
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.Insert(0, source));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.Merge(0, source));
    EXPECT_EQ((std::vector<int>{9}), ValuesOf(source));
    EXPECT_EQ((std::vector<int>{0, 0, 1, 2}), ValuesOf(m_vector));
    EXPECT_EQ(pvBefore, m_vector.m_pvStorage);
}

TEST_F(CVectorOfInts, SplitIntoALockedVectorIsRefused)
{
    CProbe dest(sizeof(int), false, &m_allocator);
    Fill(dest, {9});
    dest.SetLockCapacity(1);
    Fill(m_vector, {1, 2, 3});
    EXPECT_EQ(QV_RES_INVALID_STATE, m_vector.Split(1, dest));
    EXPECT_EQ((std::vector<int>{1, 2, 3}), ValuesOf(m_vector));
    EXPECT_EQ((std::vector<int>{9}), ValuesOf(dest));
    EXPECT_EQ(QV_RES_OK, m_vector.Split(2, dest));
    EXPECT_EQ((std::vector<int>{3}), ValuesOf(dest));
}

TEST_F(CVectorOfInts, IndexesRunFromZeroToTheSize)
{
    EXPECT_EQ(0u, m_vector.GetFirstIndex());
    EXPECT_EQ(0xFFFFFFFFu, m_vector.GetLastIndex());
    EXPECT_EQ(0u, m_vector.GetEndIndex());
    EXPECT_TRUE(m_vector.IsEmpty());
    Fill(m_vector, {1, 2, 3});
    EXPECT_EQ(0u, m_vector.GetFirstIndex());
    EXPECT_EQ(2u, m_vector.GetLastIndex());
    EXPECT_EQ(3u, m_vector.GetEndIndex());
    EXPECT_EQ(3u, m_vector.GetSize());
    EXPECT_FALSE(m_vector.IsEmpty());
}

TEST_F(CVectorOfInts, ResizeWithinTheCapacityOnlySetsTheSize)
{
    Fill(m_vector, {1, 2, 3});
    EXPECT_EQ(QV_RES_OK, m_vector.Resize(1));
    EXPECT_EQ(1u, m_vector.GetSize());
    EXPECT_EQ(QV_RES_OK, m_vector.Resize(3));
    EXPECT_EQ((std::vector<int>{1, 2, 3}), ValuesOf(m_vector));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Resize(4));
    EXPECT_EQ(3u, m_vector.GetSize());
    EXPECT_EQ(3u, m_vector.GetCapacity());
}

TEST_F(CVectorOfInts, GetAtReachesElementsAndGetAtInCapacityReachesSlots)
{
    const CProbe& rConst = m_vector;
    EXPECT_EQ(nullptr, m_vector.GetAt(0));
    EXPECT_EQ(nullptr, m_vector.GetAtInCapacity(0));
    Fill(m_vector, {1, 2});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(3));
    int* const pnFirst = static_cast<int*>(m_vector.m_pvStorage);
    EXPECT_EQ(pnFirst + 1, m_vector.GetAt(1));
    EXPECT_EQ(pnFirst + 1, rConst.GetAt(1));
    EXPECT_EQ(nullptr, m_vector.GetAt(2));
    EXPECT_EQ(nullptr, rConst.GetAt(2));
    EXPECT_EQ(pnFirst + 2, m_vector.GetAtInCapacity(2));
    EXPECT_EQ(pnFirst + 2, rConst.GetAtInCapacity(2));
    EXPECT_EQ(nullptr, m_vector.GetAtInCapacity(3));
    EXPECT_EQ(nullptr, rConst.GetAtInCapacity(3));
    EXPECT_EQ(nullptr, m_vector.GetAt(0xFFFFFFFF));
    EXPECT_EQ(nullptr, m_vector.GetAtInCapacity(0xFFFFFFFF));
}

TEST_F(CVectorOfInts, InsertOfThreeIntoNothingMakesTheCapacityThree)
{
    const int nElement = 5;
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(0, 3, &nElement));
    EXPECT_EQ(3u, m_vector.GetCapacity());
    EXPECT_EQ((std::vector<int>{5, 5, 5}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, InsertAtTheSizeAppendsAndOneFurtherIsRefused)
{
    Fill(m_vector, {1, 2});
    const int nElement = 5;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Insert(3, 1, &nElement));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Insert(0xFFFFFFFF, 1, &nElement));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Insert(3, 1));
    EXPECT_EQ(2u, m_vector.GetCapacity());
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(2, 1, &nElement));
    EXPECT_EQ((std::vector<int>{1, 2, 5}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, InsertWithoutAnElementFillsWithZeroBytes)
{
    Fill(m_vector, {-1, -1, -1});
    m_vector.Erase(1, 2);
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(0, 1));
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(2, 1, nullptr));
    EXPECT_EQ((std::vector<int>{0, -1, 0}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, InsertReservesOnlyWhatLacks)
{
    Fill(m_vector, {1, 2});
    ASSERT_EQ(QV_RES_OK, m_vector.ReserveCapacity(5));
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(1, 3));
    EXPECT_EQ(5u, m_vector.GetCapacity());
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(1, 2));
    EXPECT_EQ(7u, m_vector.GetCapacity());
}

TEST_F(CVectorOfInts, EveryRefusedAllocationLeavesTheVectorAsItWas)
{
    CProbe source(sizeof(int), false, nullptr);
    Fill(source, {8, 9});
    Fill(m_vector, {1, 2});
    const int nElement = 5;
    void* pvSlot = &pvSlot;
    m_allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.Insert(0, 1, &nElement));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.Insert(0, 1));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.Insert(0, source));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.Insert(1, m_vector));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.InsertSorted(&nElement, CompareInts, 0));
    EXPECT_EQ(nullptr, m_vector.Allocate(0));
    EXPECT_EQ(QV_RES_FAIL, m_vector.AllocateSorted(&nElement, CompareInts, 0, &pvSlot));
    EXPECT_EQ(nullptr, pvSlot);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.Merge(0, source));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.Insert(0, 1, m_vector.GetAt(1)));
    m_allocator.SetRefusing(false);
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
    EXPECT_EQ(2u, m_vector.GetCapacity());
    EXPECT_EQ((std::vector<int>{8, 9}), ValuesOf(source));
    CProbe dest(sizeof(int), false, &m_allocator);
    Fill(dest, {3});
    m_allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_vector.Split(0, dest));
    m_allocator.SetRefusing(false);
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
    EXPECT_EQ((std::vector<int>{3}), ValuesOf(dest));
}

TEST_F(CVectorOfInts, InsertOfAVectorAboveTheSizeIsRefused)
{
    CProbe source(sizeof(int), false, nullptr);
    Fill(source, {8, 9});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Insert(1, source));
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(0, source));
    EXPECT_EQ(2u, m_vector.GetCapacity());
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(2, source));
    EXPECT_EQ((std::vector<int>{8, 9, 8, 9}), ValuesOf(m_vector));
    EXPECT_EQ(4u, m_vector.GetCapacity());
}

TEST_F(CVectorOfInts, AnElementOfTheVectorMayBeInserted)
{
    for (const unsigned int uRoom : {0u, 8u})
    {
        for (unsigned int uIndex = 0; uIndex <= 3; ++uIndex)
        {
            for (unsigned int uElement = 0; uElement < 3; ++uElement)
            {
                SCOPED_TRACE(testing::Message() << uElement << " at " << uIndex << " with room for " << uRoom);
                CProbe vector(sizeof(int), false, &m_allocator);
                Fill(vector, {1, 2, 3});
                ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(uRoom));
                std::vector<int> expected = {1, 2, 3};
                expected.insert(expected.begin() + uIndex, 2, static_cast<int>(uElement) + 1);
                ASSERT_EQ(QV_RES_OK, vector.Insert(uIndex, 2, vector.GetAt(uElement)));
                EXPECT_EQ(expected, ValuesOf(vector));
            }
        }
    }
}

TEST_F(CVectorOfInts, ASpareSlotOfTheVectorMayBeInserted)
{
    for (const unsigned int uCount : {1u, 2u, 3u})
    {
        SCOPED_TRACE(uCount);
        CProbe vector(sizeof(int), false, &m_allocator);
        Fill(vector, {1, 2});
        ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(4));
        const int nSpare = 7;
        memcpy(vector.GetAtInCapacity(2), &nSpare, sizeof(nSpare));
        ASSERT_EQ(QV_RES_OK, vector.Insert(1, uCount, vector.GetAtInCapacity(2)));
        std::vector<int> expected = {1, 2};
        expected.insert(expected.begin() + 1, uCount, nSpare);
        EXPECT_EQ(expected, ValuesOf(vector));
    }
}

TEST_F(CVectorOfInts, BytesAcrossTwoElementsMayBeInserted)
{
    for (const unsigned int uRoom : {0u, 8u})
    {
        CProbe vector(sizeof(int), false, &m_allocator);
        Fill(vector, {0x11112222, 0x33334444, 0x55556666});
        ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(uRoom));
        ASSERT_EQ(QV_RES_OK, vector.Insert(1, 1, static_cast<unsigned char*>(vector.m_pvStorage) + 2));
        EXPECT_EQ((std::vector<int>{0x11112222, 0x44441111, 0x33334444, 0x55556666}), ValuesOf(vector));
    }
}

TEST_F(CVectorOfInts, AVectorMayBeInsertedIntoItself)
{
    for (const unsigned int uRoom : {0u, 8u})
    {
        for (unsigned int uIndex = 0; uIndex <= 3; ++uIndex)
        {
            SCOPED_TRACE(testing::Message() << "at " << uIndex << " with room for " << uRoom);
            CProbe vector(sizeof(int), false, &m_allocator);
            Fill(vector, {1, 2, 3});
            ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(uRoom));
            std::vector<int> expected = {1, 2, 3};
            const std::vector<int> inserted = expected;
            expected.insert(expected.begin() + uIndex, inserted.begin(), inserted.end());
            ASSERT_EQ(QV_RES_OK, vector.Insert(uIndex, vector));
            EXPECT_EQ(expected, ValuesOf(vector));
            EXPECT_EQ(std::max(uRoom, 6u), vector.GetCapacity());
        }
    }
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Insert(1, m_vector));
    EXPECT_EQ(QV_RES_OK, m_vector.Insert(0, m_vector));
}

TEST_F(CVectorOfInts, AVectorIsNotMergedIntoOrSplitFromItself)
{
    Fill(m_vector, {1, 2, 3});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Merge(1, m_vector));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Split(1, m_vector));
    EXPECT_EQ((std::vector<int>{1, 2, 3}), ValuesOf(m_vector));
}

namespace
{
struct SPair
{
    int nKey;
    int nMark;
};

int ComparePairs(const void* pElement, const void* pKey, unsigned int)
{
    return static_cast<const SPair*>(pElement)->nKey - static_cast<const SPair*>(pKey)->nKey;
}
}  // namespace

TEST(CVectorSorted, InsertSortedPutsAnEqualElementInFront)
{
    CVectorBase vector(sizeof(SPair), false, nullptr);
    for (const SPair& rPair : {SPair{5, 1}, SPair{3, 2}, SPair{5, 3}, SPair{7, 4}, SPair{5, 5}, SPair{3, 6}})
        ASSERT_EQ(QV_RES_OK, vector.InsertSorted(&rPair, ComparePairs, 0));
    std::vector<int> marks;
    for (unsigned int u = 0; u < vector.GetSize(); ++u) marks.push_back(static_cast<SPair*>(vector.GetAt(u))->nMark);
    EXPECT_EQ((std::vector<int>{6, 2, 5, 3, 1, 4}), marks);
}

TEST_F(CVectorOfInts, InsertSortedTakesAnElementOfTheVector)
{
    Fill(m_vector, {1, 2, 3});
    ASSERT_EQ(QV_RES_OK, m_vector.InsertSorted(m_vector.GetAt(2), CompareInts, 0));
    EXPECT_EQ((std::vector<int>{1, 2, 3, 3}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, AllocateGrowsByExactlyOne)
{
    Fill(m_vector, {1, 2});
    void* const pvSlot = m_vector.Allocate(1);
    ASSERT_EQ(m_vector.GetAt(1), pvSlot);
    *static_cast<int*>(pvSlot) = 9;
    EXPECT_EQ((std::vector<int>{1, 9, 2}), ValuesOf(m_vector));
    EXPECT_EQ(3u, m_vector.GetCapacity());
    EXPECT_EQ(nullptr, m_vector.Allocate(4));
    EXPECT_EQ(3u, m_vector.GetSize());
    void* const pvLast = m_vector.Allocate(3);
    EXPECT_EQ(m_vector.GetAt(3), pvLast);
    EXPECT_EQ(4u, m_vector.GetCapacity());
}

TEST_F(CVectorOfInts, AllocateSortedRefusesANullResultFirst)
{
    const int nKey = 1;
    const auto fail = [](const void*, const void*, unsigned int)
    {
        ADD_FAILURE();
        return 0;
    };
    Fill(m_vector, {1});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.AllocateSorted(&nKey, fail, 0, nullptr));
    EXPECT_EQ(1u, m_vector.GetSize());
}

TEST_F(CVectorOfInts, AllocateSortedKeepsKeysUnique)
{
    for (const int nKey : {5, 3, 5, 9, 3, 7})
    {
        void* pvSlot = nullptr;
        const QvResult res = m_vector.AllocateSorted(&nKey, CompareInts, 0, &pvSlot);
        if (res == QV_RES_OK) *static_cast<int*>(pvSlot) = nKey;
        else EXPECT_EQ(QV_RES_ALREADY_EXISTS, res);
    }
    EXPECT_EQ((std::vector<int>{3, 5, 7, 9}), ValuesOf(m_vector));
    EXPECT_EQ(4u, m_vector.GetCapacity());
}

TEST_F(CVectorOfInts, EraseCutsTheCountAndKeepsTheCapacity)
{
    Fill(m_vector, {1, 2, 3});
    m_vector.Erase(1, 100);
    EXPECT_EQ((std::vector<int>{1}), ValuesOf(m_vector));
    EXPECT_EQ(3u, m_vector.GetCapacity());
    Fill(m_vector, {4, 5});
    m_vector.Erase(2, 0xFFFFFFFF);
    EXPECT_EQ((std::vector<int>{4, 5}), ValuesOf(m_vector));
    m_vector.Erase(0);
    EXPECT_EQ((std::vector<int>{5}), ValuesOf(m_vector));
    m_vector.EraseAll();
    EXPECT_TRUE(m_vector.IsEmpty());
    EXPECT_EQ(3u, m_vector.GetCapacity());
}

TEST_F(CVectorOfInts, EraseOutOfRangeChangesNothing)
{
    Fill(m_vector, {1, 2, 3});
    m_vector.Erase(3, 1);
    m_vector.Erase(3);
    m_vector.Erase(0xFFFFFFFF, 5);
    m_vector.Erase(0, 0);
    EXPECT_EQ((std::vector<int>{1, 2, 3}), ValuesOf(m_vector));
}

TEST_F(CVectorOfInts, MergeTakesAllElementsAndLeavesTheSourceItsCapacity)
{
    CProbe source(sizeof(int), false, &m_allocator);
    Fill(source, {8, 9});
    ASSERT_EQ(QV_RES_OK, source.ReserveCapacity(6));
    Fill(m_vector, {1, 2});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Merge(3, source));
    EXPECT_EQ(QV_RES_OK, m_vector.Merge(2, source));
    EXPECT_EQ((std::vector<int>{1, 2, 8, 9}), ValuesOf(m_vector));
    EXPECT_EQ(4u, m_vector.GetCapacity());
    EXPECT_TRUE(source.IsEmpty());
    EXPECT_EQ(6u, source.GetCapacity());
    EXPECT_EQ(QV_RES_OK, m_vector.Merge(0, source));
    EXPECT_EQ(4u, m_vector.GetSize());
}

TEST_F(CVectorOfInts, MergeAndSplitRefuseAnotherElementSize)
{
    CProbe shorts(2, false, &m_allocator);
    ASSERT_EQ(QV_RES_OK, shorts.Insert(0, 2));
    Fill(m_vector, {1, 2});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Merge(0, shorts));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Split(0, shorts));
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(m_vector));
    EXPECT_EQ(2u, shorts.GetSize());
    EXPECT_EQ(2u, shorts.GetCapacity());
}

TEST_F(CVectorOfInts, SplitNeedsAnElementAtTheIndex)
{
    CProbe dest(sizeof(int), false, &m_allocator);
    Fill(dest, {9});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Split(0, dest));
    Fill(m_vector, {1, 2, 3});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_vector.Split(3, dest));
    EXPECT_EQ((std::vector<int>{9}), ValuesOf(dest));
    EXPECT_EQ(QV_RES_OK, m_vector.Split(1, dest));
    EXPECT_EQ((std::vector<int>{1}), ValuesOf(m_vector));
    EXPECT_EQ((std::vector<int>{2, 3}), ValuesOf(dest));
    EXPECT_EQ(2u, dest.GetCapacity());
    EXPECT_EQ(3u, m_vector.GetCapacity());
    EXPECT_EQ(QV_RES_OK, m_vector.Split(0, dest));
    EXPECT_EQ((std::vector<int>{1}), ValuesOf(dest));
    EXPECT_EQ(2u, dest.GetCapacity());
    EXPECT_TRUE(m_vector.IsEmpty());
}

TEST_F(CVectorOfInts, SwapExchangesBytes)
{
    Fill(m_vector, {1, 2, 3});
    m_vector.Swap(0, 2);
    EXPECT_EQ((std::vector<int>{3, 2, 1}), ValuesOf(m_vector));
    m_vector.Swap(1, 0);
    EXPECT_EQ((std::vector<int>{2, 3, 1}), ValuesOf(m_vector));
    m_vector.Swap(1, 3);
    m_vector.Swap(3, 1);
    m_vector.Swap(1, 1);
    EXPECT_EQ((std::vector<int>{2, 3, 1}), ValuesOf(m_vector));
}
