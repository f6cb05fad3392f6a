// What only the list has; see sequence_test.cpp and sequence_model_test.cpp for what it shares. Operations that the
// second implementation does beside it, with the cache of the last index, need no example here.
#include "framework/basic/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <type_traits>
#include <vector>

#include "fuzz/models/list_steps.h"
#include "fuzz/models/random_runs.h"
#include "tests/support/blanked_nodes.h"
#include "tests/support/container_elements.h"
#include "tests/support/test_allocator.h"

namespace
{
// Reaches what a list keeps for its heirs; nobody is one.
class CListProbe : public CList<int>
{
public:
    static unsigned int CachedIndexOf(const CList<int>& rList) { return rList.*&CListProbe::m_uCachedIndex; }
};
}  // namespace

TEST(CListTwin, EveryCallComparisonRequestAndCachedNodeIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareLists, 1500);
}

// Every other node is blank meanwhile. So from neighbour to neighbour, as a scan goes, it is one step.
TEST(CListCache, AnIndexCostsTheStepsFromTheOneAskedForLastAndAnEndNone)
{
    CListBase list(sizeof(int), nullptr);
    ASSERT_EQ(QV_RES_OK, list.Insert(0, 12, nullptr));
    std::vector<CListBase::SNode*> nodes;
    for (CListBase::SPtr ptr = list.GetFirst(); ptr; ptr = CListBase::GetNext(ptr)) nodes.push_back(ptr.pNode);
    for (unsigned int uFrom = 0; uFrom < nodes.size(); ++uFrom)
    {
        for (unsigned int uTo = 0; uTo < nodes.size(); ++uTo)
        {
            SCOPED_TRACE(testing::Message() << "from " << uFrom << " to " << uTo);
            list.Find(uFrom);
            // What leads to the last node of the way are the links of those before it.
            std::vector<CListBase::SNode*> others = nodes;
            const bool bEnd = uTo == list.GetFirstIndex() || uTo == list.GetLastIndex();
            if (!bEnd && uFrom < uTo) others.erase(others.begin() + uFrom, others.begin() + uTo);
            if (!bEnd && uFrom > uTo) others.erase(others.begin() + uTo + 1, others.begin() + uFrom + 1);
            const CBlankedNodes<CListBase::SNode> blanked(others);
            ASSERT_EQ(nodes[uTo] + 1, list.GetAt(uTo));
        }
    }
}

TEST(CListCapacity, WhatDoesNotFit32BitsIsRefusedWithoutARequest)
{
    CTestAllocator allocator;
    CListBase list(sizeof(int), &allocator);
    ASSERT_EQ(QV_RES_OK, list.Insert(0, 1, nullptr));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, list.Insert(0, 0xFFFFFFFF, nullptr));
    list.SetLockCapacity(1);
    EXPECT_EQ(QV_RES_INVALID_STATE, list.Insert(0, 0xFFFFFFFF, nullptr));
    CListBase monster(0xFFFFFFF8, &allocator);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, monster.Insert(0, 1, nullptr));
    EXPECT_EQ(1u, allocator.GetRequests().size());
    EXPECT_EQ(1u, list.GetSize());
}

TEST(CListHandles, OfNothingHaveNoNeighboursAndNoElement)
{
    const CListBase::SPtr pNone;
    EXPECT_FALSE(pNone);
    EXPECT_FALSE(CListBase::GetNext(pNone));
    EXPECT_FALSE(CListBase::GetPrevious(nullptr));
    EXPECT_EQ(nullptr, CListBase::GetElement(pNone));
}

TEST(CListTyped, HandlesWalkEraseAndMove)
{
    CList<int> list;
    for (int n = 0; n < 5; ++n) EXPECT_EQ(QV_RES_OK, list.Append(n));
    CList<int>::handle element = list.Find(2);
    ASSERT_TRUE(element);
    *element = 20;
    EXPECT_EQ(3, *element.GetNext());
    EXPECT_EQ(1, *element.GetPrevious());
    EXPECT_FALSE(list.GetLast().GetNext());
    EXPECT_FALSE(list.GetFirst().GetPrevious());
    list.MoveToFirst(element);
    list.MoveToLast(list.Find(1));
    EXPECT_EQ((std::vector<int>{20, 1, 3, 4, 0}), std::vector<int>(list.begin(), list.end()));
    list.Erase(element);
    list.Erase(list.begin());
    list.Erase(CList<int>::handle());
    const CList<int>& rConst = list;
    const CList<int>::const_handle first = rConst.GetFirst();
    EXPECT_EQ(3, *first);
    EXPECT_TRUE(first == CList<int>::const_handle(list.GetFirst()));
    EXPECT_TRUE(first != rConst.GetLast());
    EXPECT_FALSE(rConst.Find(3));
}

TEST(CListTyped, IteratorsServeTheStandardAlgorithms)
{
    CList<int> list;
    for (int n = 0; n < 50; ++n) EXPECT_EQ(QV_RES_OK, list.Append(n * 17 % 50));
    EXPECT_EQ(49 * 50 / 2, std::accumulate(list.begin(), list.end(), 0));
    std::reverse(list.begin(), list.end());
    EXPECT_EQ(49 * 17 % 50, *list.begin());
    list.Sort();
    EXPECT_EQ(49, *std::prev(list.end()));
    EXPECT_EQ(30, *std::find(list.begin(), list.end(), 30));
    CList<int>::iterator it = list.begin();
    EXPECT_EQ(0, *it++);
    EXPECT_EQ(1, *it--);
    EXPECT_EQ(0, *it);
    static_assert(std::bidirectional_iterator<CList<int>::iterator>);
    static_assert(std::bidirectional_iterator<CList<int>::const_iterator>);
    static_assert(std::is_convertible_v<CList<int>::iterator, CList<int>::const_iterator>);
    static_assert(!std::is_convertible_v<CList<int>::const_iterator, CList<int>::iterator>);
    static_assert(std::is_nothrow_move_constructible_v<CList<int>>, "a std::vector that grows would copy its lists");
}

// Numbers are dropped at once; CCounted has to be destroyed one by one.
TEST(CListTyped, ClearingAtOnceLeavesWhatClearingOneByOneLeaves)
{
    CTestAllocator allocator;
    CList<int> atOnce(&allocator);
    CList<CCounted> oneByOne(&allocator);
    std::vector<const void*> atOnceFrom, oneByOneFrom;
    for (unsigned int uRound = 0; uRound < 2; ++uRound)
    {
        for (int n = 0; n < 5; ++n)
        {
            EXPECT_EQ(QV_RES_OK, atOnce.Append(n));
            EXPECT_EQ(QV_RES_OK, oneByOne.Append(CCounted(n)));
            atOnceFrom.push_back(&*atOnce.GetLast());
            oneByOneFrom.push_back(&*oneByOne.GetLast());
            EXPECT_EQ(n, *atOnce.GetAt(static_cast<unsigned int>(n)));
        }
        atOnce.EraseAll();
        atOnce.EraseAll();
        oneByOne.EraseAll();
        EXPECT_EQ(nullptr, atOnce.GetAt(0));
        EXPECT_EQ(0u, CListProbe::CachedIndexOf(atOnce));
        EXPECT_EQ(5u, atOnce.GetCapacity());
    }
    EXPECT_EQ(10u, allocator.GetLiveBlocks());
    for (std::size_t u = 0; u < 5; ++u)
    {
        EXPECT_EQ(atOnceFrom[4 - u], atOnceFrom[5 + u]) << "the block of the last element is used again first";
        EXPECT_EQ(oneByOneFrom[4 - u], oneByOneFrom[5 + u]);
    }
}
