#include "framework/basic/vector.h"

#include <gtest/gtest.h>

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
