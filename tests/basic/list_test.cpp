// What only the list has; see sequence_test.cpp and sequence_model_test.cpp for what it shares.
#include "framework/basic/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <vector>

#include "tests/support/blanked_nodes.h"
#include "tests/support/container_elements.h"
#include "tests/support/logged_container.h"
#include "tests/support/test_allocator.h"

namespace
{
using CIntList = CLogged<CListBase>;

// Reaches what a list keeps for its heirs; nobody is one.
template <typename List>
class CProbe : public List
{
public:
    static std::pair<unsigned int, int> CacheOf(const List& rList)
    {
        const void* const pElement = CListBase::GetElement(rList.*&CProbe::m_pCachedNode);
        return {rList.*&CProbe::m_uCachedIndex, pElement != nullptr ? *static_cast<const int*>(pElement) : -1};
    }
};

// The cache as (index, value); (index, -1) without a node.
template <typename List>
std::pair<unsigned int, int> CacheOf(const List& rList)
{
    return CProbe<List>::CacheOf(rList);
}
using CCache = std::pair<unsigned int, int>;

int CompareInts(const void* pFirst, const void* pSecond, unsigned int)
{
    return *static_cast<const int*>(pFirst) - *static_cast<const int*>(pSecond);
}

class CListTest : public testing::Test
{
protected:
    CTestAllocator allocator;
    CTestAllocator other;
    std::string log;
};

TEST_F(CListTest, TheCacheGoesToTheNearerEndFirstAndJumpsToTheEnds)
{
    CIntList list('a', log);
    AddNumbers(list, 0, 9);
    list.Erase(8);
    EXPECT_EQ((CCache{0, 0}), CacheOf(list));
    for (const unsigned int uIndex : {3u, 5u, 0u, 7u, 4u, 4u})
    {
        EXPECT_EQ(static_cast<int>(uIndex), *static_cast<int*>(CListBase::GetElement(list.Find(uIndex))));
        EXPECT_EQ((CCache{uIndex, static_cast<int>(uIndex)}), CacheOf(list));
    }
    EXPECT_FALSE(list.Find(8));
    EXPECT_EQ((CCache{4, 4}), CacheOf(list));
}

// Every other node is blank meanwhile. So from neighbour to neighbour, as a scan goes, it is one step.
TEST_F(CListTest, AnIndexCostsTheStepsFromTheOneAskedForLastAndAnEndNone)
{
    CIntList list('a', log);
    AddNumbers(list, 0, 12);
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

TEST_F(CListTest, TheCacheIsSetByInsertionAndResetByWhatRestructures)
{
    CIntList list('a', log);
    CIntList more('b', log);
    AddNumbers(list, 0, 6);
    const int nNew = 9;
    list.Insert(2, 2, &nNew);
    EXPECT_EQ((CCache{3, 9}), CacheOf(list));
    *static_cast<int*>(list.Allocate(1)) = 8;
    EXPECT_EQ((CCache{1, 8}), CacheOf(list));
    list.Erase(5);
    EXPECT_EQ((CCache{0, 0}), CacheOf(list));
    list.Find(3);
    list.Erase(1, 0);
    EXPECT_EQ((CCache{0, 0}), CacheOf(list)) << "also by the erasure of nothing";
    list.Find(3);
    list.Erase(list.GetLast());
    EXPECT_EQ((CCache{0, 0}), CacheOf(list));
    list.Find(3);
    list.MoveToFirst(list.Find(2));
    EXPECT_EQ((CCache{0, 1}), CacheOf(list));
    list.MoveToLast(list.Find(2));
    EXPECT_EQ((CCache{0, 1}), CacheOf(list));
    list.Find(3);
    list.Sort([](const void*, const void*, unsigned int) { return 0; }, 0);
    EXPECT_EQ((CCache{0, 1}), CacheOf(list));
    list.Find(3);
    AddNumbers(more, 20, 2);
    more.Find(1);
    list.Merge(1, more);
    EXPECT_EQ(0u, CacheOf(list).first);
    EXPECT_EQ((CCache{0, -1}), CacheOf(more));
    list.EraseAll();
    EXPECT_EQ((CCache{0, -1}), CacheOf(list));
}

TEST_F(CListTest, TheCacheStaysOverWhatChangesNothing)
{
    CIntList list('a', log);
    const CIntList empty('b', log);
    AddNumbers(list, 0, 6);
    list.Find(3);
    const int nNew = 9;
    EXPECT_EQ(QV_RES_OK, list.Insert(1, 0, &nNew));
    EXPECT_EQ((CCache{3, 3}), CacheOf(list)) << "no element";
    EXPECT_EQ(QV_RES_OK, list.Insert(1, empty));
    EXPECT_EQ((CCache{3, 3}), CacheOf(list)) << "an empty list";
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, list.Insert(7, 1, &nNew));
    EXPECT_EQ((CCache{3, 3}), CacheOf(list)) << "an index that is refused";
    list.MoveToFirst(list.GetFirst());
    EXPECT_EQ((CCache{3, 3}), CacheOf(list)) << "the first is first";
    list.MoveToLast(list.GetLast());
    EXPECT_EQ((CCache{3, 3}), CacheOf(list)) << "the last is last";
    list.Erase(6, 1);
    list.Erase(CListBase::SPtr());
    EXPECT_EQ((CCache{3, 3}), CacheOf(list)) << "nothing to erase";
    EXPECT_EQ(QV_RES_OK, CListBase::Copy(&list, 0, &empty, 0, 0));
    EXPECT_EQ(QV_RES_OK, CListBase::Move(&list, 0, &list, 1, 0));
    EXPECT_EQ((CCache{3, 3}), CacheOf(list)) << "no element to copy or move";
    EXPECT_EQ(5u, list.Find(0, list.GetElement(list.GetLast()), CompareInts, 0));
    EXPECT_EQ(5u, list.FindSorted(list.GetElement(list.GetLast()), CompareInts, 0));
    EXPECT_EQ(5u, list.GetMaxElementIndex(CompareInts, 0));
    EXPECT_EQ((CCache{3, 3}), CacheOf(list)) << "a search";
}

TEST_F(CListTest, SwapLeavesTheSecondNodeCachedAtItsNewPlace)
{
    CIntList list('a', log);
    AddNumbers(list, 0, 6);
    list.Swap(1, 4);
    EXPECT_EQ("0 4 2 3 1 5 ", list.Values());
    list.Find(2);
    list.Swap(4, 1);
    EXPECT_EQ((CCache{4, 4}), CacheOf(list));
    EXPECT_EQ("0 1 2 3 4 5 ", list.Values());
}

TEST_F(CListTest, CopyMakesItsCopiesInOrderAndMayCopyIntoItsOwnMiddle)
{
    CIntList list('a', log, &allocator);
    CIntList more('b', log, &other);
    AddNumbers(list, 0, 4);
    AddNumbers(more, 10, 3);
    log.clear();
    EXPECT_EQ(QV_RES_OK, CListBase::Copy(&list, 2, &more, 1, 2));
    EXPECT_EQ("af11 af12 ", log);
    EXPECT_EQ("0 1 11 12 2 3 ", list.Values());
    EXPECT_EQ(QV_RES_OK, CListBase::Copy(&more, 1, &more, 0, 3));
    EXPECT_EQ("10 10 11 12 11 12 ", more.Values());
    EXPECT_EQ(QV_RES_OK, CListBase::Copy(&more, 99, &list, 0, 1));
    EXPECT_EQ("10 10 11 12 11 12 0 ", more.Values());
    EXPECT_EQ(QV_RES_OK, CListBase::Copy(&more, 0, &list, 99, 0));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CListBase::Copy(&more, 0, &list, 5, 2));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CListBase::Copy(&more, 0, &list, 0xFFFFFFFF, 0xFFFFFFFF));
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CListBase::Copy(&list, 0, &more, 0, 1));
    EXPECT_EQ("0 1 11 12 2 3 ", list.Values());
}

TEST_F(CListTest, MoveWithinOneSourceRelinksNodes)
{
    CIntList list('a', log, &allocator);
    CIntList more('b', log, &allocator);
    AddNumbers(list, 0, 4);
    AddNumbers(more, 10, 4);
    const void* const pMoved = more.GetAt(1);
    log.clear();
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OK, CListBase::Move(&list, 1, &more, 1, 2));
    EXPECT_EQ("", log);
    EXPECT_EQ("0 11 12 1 2 3 ", list.Values());
    EXPECT_EQ("10 13 ", more.Values());
    EXPECT_EQ(pMoved, list.GetAt(1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CListBase::Move(&list, 0, &more, 1, 2));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CListBase::Move(&list, 0, &more, 0xFFFFFFFF, 2));
    EXPECT_EQ(QV_RES_OK, CListBase::Move(&list, 0, &more, 9, 0));
}

TEST_F(CListTest, MoveWithinOneListReordersIt)
{
    for (unsigned int uDest = 0; uDest <= 6; ++uDest)
    {
        CIntList list('a', log);
        AddNumbers(list, 0, 6);
        std::vector<int> expected = {0, 1, 4, 5};
        const unsigned int uPlace = uDest <= 2 ? uDest : uDest <= 4 ? 2 : uDest - 2;
        expected.insert(expected.begin() + uPlace, {2, 3});
        list.Find(3);
        EXPECT_EQ(QV_RES_OK, CListBase::Move(&list, uDest, &list, 2, 2));
        EXPECT_EQ((CCache{0, expected.front()}), CacheOf(list)) << uDest;
        std::string text;
        for (const int n : expected) text += std::to_string(n) + ' ';
        EXPECT_EQ(text, list.Values()) << uDest;
    }
}

TEST_F(CListTest, ABlockAllocatorWithTooSmallBlocksIsRaised)
{
    CIntList raised('a', log, CBlockAllocator(8, &allocator));
    raised.Add(1);
    EXPECT_EQ(20u, allocator.GetRequests().back().uSize);
    CIntList kept('a', log, CBlockAllocator(64, &allocator));
    kept.Add(1);
    EXPECT_EQ(64u, allocator.GetRequests().back().uSize);
    CListBase monster(0xFFFFFFF8, &allocator);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, monster.Insert(0, 1, nullptr));
}

TEST_F(CListTest, ATotalBeyondEveryNumberIsRefusedWithoutARequest)
{
    CIntList list('a', log, &allocator);
    AddNumbers(list, 0, 1);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, list.Insert(0, 0xFFFFFFFF, nullptr));
    EXPECT_EQ(1u, allocator.GetRequests().size());
    list.SetLockCapacity(1);
    EXPECT_EQ(QV_RES_INVALID_STATE, list.Insert(0, 0xFFFFFFFF, nullptr));
    EXPECT_EQ("0 ", list.Values());
}

TEST_F(CListTest, HandlesOfNothingAreIgnored)
{
    CIntList list('a', log);
    AddNumbers(list, 0, 3);
    const CListBase::SPtr pNone;
    list.Erase(pNone);
    list.MoveToFirst(pNone);
    list.MoveToLast(nullptr);
    list.MoveToFirst(list.GetFirst());
    list.MoveToLast(list.GetLast());
    EXPECT_EQ("0 1 2 ", list.Values());
    EXPECT_FALSE(CListBase::GetNext(pNone));
    EXPECT_FALSE(CListBase::GetPrevious(pNone));
    EXPECT_EQ(nullptr, CListBase::GetElement(pNone));
    EXPECT_TRUE(list.GetFirst() == list.Find(0));
    EXPECT_TRUE(list.GetLast() != list.Find(0));
    list.MoveToLast(list.GetFirst());
    list.MoveToFirst(list.Find(1));
    EXPECT_EQ("2 1 0 ", list.Values());
}

TEST(CListTyped, HandlesWalkEraseAndMove)
{
    CList<int> list;
    for (int n = 0; n < 5; ++n) list.Append(n);
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

TEST(CListTyped, AVectorThatGrowsMovesItsListsInsteadOfCopyingThem)
{
    std::vector<CList<int>> lists(1);
    lists[0].Append(7);
    const int* const pnElement = lists[0].GetAt(0);
    lists.resize(lists.capacity() + 1);
    EXPECT_EQ(pnElement, lists[0].GetAt(0));
}

TEST(CListTyped, IteratorsServeTheStandardAlgorithms)
{
    CList<int> list;
    for (int n = 0; n < 50; ++n) list.Append(n * 17 % 50);
    EXPECT_EQ(49 * 50 / 2, std::accumulate(list.begin(), list.end(), 0));
    std::reverse(list.begin(), list.end());
    EXPECT_EQ(49 * 17 % 50, *list.begin());
    list.Sort();
    EXPECT_TRUE(std::is_sorted(list.begin(), list.end()));
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
}

TEST(CListTyped, ClearingAtOnceLeavesWhatClearingOneByOneLeaves)
{
    CTestAllocator allocator;
    CList<int> atOnce(&allocator);
    CList<CCounted> oneByOne(&allocator);
    std::vector<const void*> addresses;
    for (int n = 0; n < 5; ++n)
    {
        atOnce.Append(n);
        oneByOne.Append(CCounted(n));
        addresses.push_back(atOnce.GetAt(static_cast<unsigned int>(n)));
    }
    atOnce.EraseAll();
    EXPECT_EQ((CCache{0, -1}), CacheOf(atOnce));
    atOnce.EraseAll();
    oneByOne.EraseAll();
    EXPECT_EQ(0, CCounted::ms_nLive);
    EXPECT_EQ(5u, atOnce.GetCapacity());
    EXPECT_EQ(5u, oneByOne.GetCapacity());
    for (int n = 0; n < 5; ++n)
    {
        atOnce.Append(n);
        EXPECT_EQ((CCache{static_cast<unsigned int>(n), n}), CacheOf(atOnce));
    }
    for (unsigned int u = 0; u < 5; ++u) EXPECT_EQ(addresses[4 - u], atOnce.GetAt(u));
    EXPECT_EQ(10u, allocator.GetLiveBlocks());
}
}  // namespace
