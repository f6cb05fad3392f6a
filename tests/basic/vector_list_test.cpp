// What only the vector-list has; see sequence_test.cpp and sequence_model_test.cpp for what it shares.
#include "framework/basic/vector_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>

#include "tests/support/logged_container.h"
#include "tests/support/test_allocator.h"

namespace
{
using CIntVList = CLogged<CVListBase>;

class CVListTest : public testing::Test
{
protected:
    CTestAllocator allocator;
    CTestAllocator other;
    std::string log;
};

TEST_F(CVListTest, OnlyBlocksComeFromItsAllocator)
{
    CIntVList list('a', log, &allocator);
    list.ReserveCapacity(3);
    ASSERT_EQ(1u, allocator.GetRequests().size());
    EXPECT_EQ(3u, allocator.GetRequests()[0].uCount);
    EXPECT_EQ(8u, allocator.GetRequests()[0].uSize);
    AddNumbers(list, 0, 3);
    EXPECT_EQ(3u, allocator.GetLiveBlocks());
    list.Erase(1);
    list.ReduceCapacity(0);
    EXPECT_EQ(2u, list.GetCapacity());
    EXPECT_EQ(2u, allocator.GetLiveBlocks());
}

TEST_F(CVListTest, ReservingSucceedsWithoutMemoryForTheBlocks)
{
    CIntVList list('a', log, &allocator);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OK, list.ReserveCapacity(3));
    EXPECT_EQ(3u, list.GetCapacity());
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, list.Add(1));
    EXPECT_TRUE(list.IsEmpty());
}

TEST_F(CVListTest, MoreThanTheOrderCouldEverHoldIsRefusedBeforeBlocksAreTaken)
{
    CIntVList list('a', log, &allocator);
    AddNumbers(list, 0, 1);
    allocator.SetRefusing(true);
    const std::size_t uRequests = allocator.GetRequests().size();
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, list.Insert(0, 0xFFFFFFFF, nullptr));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, list.Insert(0, 0x1FFFFFFF, nullptr));
    EXPECT_EQ(uRequests, allocator.GetRequests().size());
    EXPECT_EQ("0 ", list.Values());
}

TEST_F(CVListTest, CopyFillsSlotsThatExist)
{
    CIntVList list('a', log, &allocator);
    CIntVList more('b', log, &other);
    AddNumbers(list, 0, 2);
    AddNumbers(more, 10, 3);
    EXPECT_EQ(QV_RES_OK, CVListBase::Copy(&list, 9, &more, 9, 0));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CVListBase::Copy(&list, 1, &more, 0, 2));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CVListBase::Copy(&list, 0, &more, 2, 2));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CVListBase::Move(&list, 0, &more, 0xFFFFFFFF, 2));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CVListBase::Copy(&list, 0xFFFFFFFF, &more, 0, 2));
    EXPECT_EQ(QV_RES_OK, CVListBase::Move(&list, 9, &more, 9, 0));
    EXPECT_EQ("0 1 ", list.Values());
}

TEST_F(CVListTest, BlocksAreAtLeastAsLargeAsTheElements)
{
    CVListBase raised(16, CBlockAllocator(8, &allocator));
    raised.Insert(0, 1, nullptr);
    EXPECT_EQ(16u, allocator.GetRequests().back().uSize);
    CVListBase kept(16, CBlockAllocator(48, &allocator));
    kept.Insert(0, 1, nullptr);
    EXPECT_EQ(48u, allocator.GetRequests().back().uSize);
}

TEST(CVListTyped, IteratorsServeTheStandardAlgorithms)
{
    CVList<int> list;
    for (int n = 0; n < 50; ++n) list.Append(n * 17 % 50);
    const int* const pnThirty = &*std::find(list.begin(), list.end(), 30);
    list.Sort();
    EXPECT_EQ(pnThirty, list.GetAt(30)) << "sorting moves no element";
    EXPECT_TRUE(std::binary_search(list.begin(), list.end(), 42));
    std::sort(list.begin(), list.end(), std::greater<int>());
    EXPECT_EQ(49, list[0]);
    CVList<int>::iterator it = list.begin() + 3;
    EXPECT_EQ(46, *it++);
    EXPECT_EQ(45, *it--);
    EXPECT_EQ(44, it[2]);
    EXPECT_EQ(3, it - list.begin());
    EXPECT_TRUE(list.begin() < it && it > list.begin() && it <= it && it >= it && it != list.end());
    EXPECT_TRUE(1 + (it - 1) == it);
    const CVList<int>& rConst = list;
    EXPECT_EQ(46, *(rConst.begin() + 3));
    EXPECT_EQ(46, rConst[3]);
    EXPECT_EQ(46, *rConst.GetAt(3));
    EXPECT_EQ(nullptr, rConst.GetAt(50));
    static_assert(std::random_access_iterator<CVList<int>::iterator>);
    static_assert(std::random_access_iterator<CVList<int>::const_iterator>);
    static_assert(std::is_convertible_v<CVList<int>::iterator, CVList<int>::const_iterator>);
    static_assert(!std::is_convertible_v<CVList<int>::const_iterator, CVList<int>::iterator>);
}
}  // namespace
