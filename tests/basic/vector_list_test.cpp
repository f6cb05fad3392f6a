// What only the vector-list has; see sequence_test.cpp and sequence_model_test.cpp for what it shares. Operations that
// the second implementation does beside it need no example here.
#include "framework/basic/vector_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <type_traits>

#include "fuzz/models/random_runs.h"
#include "fuzz/models/vector_list_steps.h"
#include "tests/support/test_allocator.h"

TEST(CVListTwin, EveryCallComparisonAndRequestIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareVectorLists, 1500);
}

TEST(CVListCapacity, MoreThanTheOrderCouldEverHoldIsRefusedBeforeBlocksAreTaken)
{
    CTestAllocator allocator;
    CVListBase list(sizeof(int), &allocator);
    ASSERT_EQ(QV_RES_OK, list.Insert(0, 1, nullptr));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, list.Insert(0, 0xFFFFFFFF, nullptr));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, list.Insert(0, 0x1FFFFFFF, nullptr));
    EXPECT_EQ(1u, allocator.GetRequests().size());
    EXPECT_EQ(1u, list.GetSize());
}

TEST(CVListTyped, IteratorsServeTheStandardAlgorithms)
{
    CVList<int> list;
    for (int n = 0; n < 50; ++n) EXPECT_EQ(QV_RES_OK, list.Append(n * 17 % 50));
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
    EXPECT_EQ(nullptr, list.GetAt(50));
    static_assert(std::random_access_iterator<CVList<int>::iterator>);
    static_assert(std::random_access_iterator<CVList<int>::const_iterator>);
    static_assert(std::is_convertible_v<CVList<int>::iterator, CVList<int>::const_iterator>);
    static_assert(!std::is_convertible_v<CVList<int>::const_iterator, CVList<int>::iterator>);
}
