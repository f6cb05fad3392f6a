#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/ints.h"
#include "tests/abi/old_list.h"

namespace
{
testing::AssertionResult HasCacheAt(const CListBase& rList, unsigned int uIndex)
{
    const CListBase::SNode* pNode = rList.m_pHead;
    for (unsigned int uStep = 0; uStep < uIndex; ++uStep) pNode = pNode->pNext;
    if (rList.m_uCachedIndex == uIndex && rList.m_pCachedNode == pNode) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the cache is at " << rList.m_uCachedIndex << ", node " << rList.m_pCachedNode
                                       << ", not " << pNode;
}
}  // namespace

class CListBaseLayout : public testing::Test
{
protected:
    CForeignSource m_source;
};
class CListBaseInterface : public CListBaseLayout
{
};

TEST_F(CListBaseLayout, FieldsAreNodeAllocatorLockSizeElementSizeCacheHeadTail)
{
    CGuarded<CListBase> list(4u, &m_source);
    const void* const pvList = &*list;
    ASSERT_EQ(QV_RES_OK, list->Insert(0, 3, nullptr));
    ASSERT_EQ(list->m_pHead->pNext, list->Find(1).pNode);
    EXPECT_EQ(&m_source, LoadAt<IAllocator*>(pvList, 8 + 8));
    EXPECT_EQ(4u + 16u, LoadAt<uint32_t>(pvList, 8 + 36));
    EXPECT_EQ(0u, LoadAt<uint32_t>(pvList, 48));
    EXPECT_EQ(3u, LoadAt<uint32_t>(pvList, 52));
    EXPECT_EQ(4u, LoadAt<uint32_t>(pvList, 56));
    EXPECT_EQ(1u, LoadAt<uint32_t>(pvList, 60));
    EXPECT_EQ(list->Find(1).pNode, LoadAt<CListBase::SNode*>(pvList, 64));
    EXPECT_EQ(list->Find(0).pNode, LoadAt<CListBase::SNode*>(pvList, 72));
    EXPECT_EQ(list->Find(2).pNode, LoadAt<CListBase::SNode*>(pvList, 80));
    static_assert(sizeof(CListBase) == 88, "the program's declaration");
}

TEST_F(CListBaseLayout, NodesLinkBackwardThenForwardThenHoldTheElement)
{
    CIntList list(&m_source);
    list.Fill({1, 2, 3});
    EXPECT_EQ((Ints{1, 2, 3}), LinkedInts(list));
    EXPECT_EQ(&list.m_pHead->nElement, list.GetAt(0));
}

TEST_F(CListBaseLayout, TheBaseOfTheNodeAllocatorIsAtEightWithItsOwnVirtualTable)
{
    CListBase list(4, &m_source);
    EXPECT_EQ(0, OffsetToTop(&list.m_nodeAllocator));
    EXPECT_EQ("CBlockAllocator::Push(void*)", FunctionInSlot(&list.m_nodeAllocator, 2));
}

TEST_F(CListBaseLayout, AChangedLockIsSeenByTheLibrary)
{
    CListBase list(4, &m_source);
    list.m_uLockCapacity = 1;
    EXPECT_EQ(QV_RES_INVALID_STATE, list.ReserveCapacity(1));
    EXPECT_EQ(QV_RES_INVALID_STATE, list.ReduceCapacity(0));
    EXPECT_EQ(QV_RES_INVALID_STATE, list.Insert(0, 1, nullptr));
}

TEST_F(CListBaseInterface, TakesItsNodesFromTheGivenSource)
{
    const CBlockAllocator nodes(20, &m_source);
    CListBase list(4, nodes);
    EXPECT_TRUE(list.m_nodeAllocator == nodes);
    EXPECT_EQ(20u, list.m_nodeAllocator.m_uBlockSize);
    EXPECT_EQ(DefaultAllocator(), CListBase(4, static_cast<IAllocator*>(nullptr)).m_nodeAllocator.m_pAllocator);
}

TEST_F(CListBaseInterface, CapacityIsTheSizeAndTheFreeNodes)
{
    CIntList list(&m_source);
    list.Fill({1, 2});
    ASSERT_EQ(QV_RES_OK, list.ReserveCapacity(5));
    EXPECT_EQ(3u, m_source.m_uAllocatedCount);
    EXPECT_EQ(5u, list.GetCapacity());
    ASSERT_EQ(QV_RES_OK, list.ReduceCapacity(3));
    EXPECT_EQ(3u, list.GetCapacity());
    list.EraseAll();
    EXPECT_EQ(3u, list.m_nodeAllocator.GetBlockCount());
    m_source.m_bRefusing = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, list.ReserveCapacity(4));
}

TEST_F(CListBaseInterface, LookUpMovesTheCache)
{
    CIntList list(&m_source);
    EXPECT_EQ(nullptr, list.Find(0).pNode);
    list.Fill({1, 2, 3, 4, 5});
    EXPECT_TRUE(HasCacheAt(list, 4));
    for (const unsigned int uIndex : {2u, 3u, 0u, 4u, 1u})
    {
        EXPECT_EQ(static_cast<int>(uIndex) + 1, list.Find(uIndex).pNode->nElement);
        EXPECT_TRUE(HasCacheAt(list, uIndex));
    }
    list.m_pCachedNode = nullptr;
    const CListBase& rConst = list;
    EXPECT_EQ(&list.m_pHead->pNext->nElement, rConst.GetAt(1));
    EXPECT_TRUE(HasCacheAt(list, 1));
    EXPECT_EQ(nullptr, list.GetAt(5));
    EXPECT_EQ(nullptr, rConst.GetAt(5));
    EXPECT_EQ(nullptr, list.Find(5).pNode);
}

TEST_F(CListBaseInterface, InsertsElementsAtTheIndexAndListsAtTheFront)
{
    CIntList list(&m_source);
    CIntList other(static_cast<IAllocator*>(nullptr));
    list.Fill({1, 2, 3});
    other.Fill({8, 9});
    const int nElement = 7;
    ASSERT_EQ(QV_RES_OK, list.Insert(1, 2, &nElement));
    EXPECT_TRUE(HasCacheAt(list, 2));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, list.Insert(6, 1, &nElement));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, list.Insert(6, other));
    ASSERT_EQ(QV_RES_OK, list.Insert(2, other));
    EXPECT_EQ((Ints{8, 9, 1, 7, 7, 2, 3}), LinkedInts(list));
    *static_cast<int*>(list.Allocate(1)) = 5;
    EXPECT_TRUE(HasCacheAt(list, 1));
    EXPECT_EQ(nullptr, list.Allocate(9));
    EXPECT_EQ((Ints{8, 5, 9, 1, 7, 7, 2, 3}), LinkedInts(list));
}

TEST_F(CListBaseInterface, ErasureFreesNodesAndResetsTheCache)
{
    CIntList list(&m_source);
    list.Fill({1, 2, 3, 4, 5});
    list.Erase(3, 9);
    EXPECT_TRUE(HasCacheAt(list, 0));
    list.Find(2);
    list.Erase(1, 1);
    EXPECT_TRUE(HasCacheAt(list, 0));
    EXPECT_EQ((Ints{1, 3}), LinkedInts(list));
    list.Find(1);
    list.Erase(list.Find(1));
    EXPECT_TRUE(HasCacheAt(list, 0));
    list.Erase(CListBase::SPtr{nullptr});
    EXPECT_EQ(Ints{1}, LinkedInts(list));
    EXPECT_EQ(5u, list.GetCapacity());
    list.EraseAll();
    EXPECT_EQ(Ints{}, LinkedInts(list));
}

TEST_F(CListBaseInterface, RelinkingKeepsTheElementsWhereTheyAre)
{
    CIntList list(&m_source);
    list.Fill({3, 1, 2});
    const void* const pvOne = list.GetAt(1);
    list.MoveToFirst(list.Find(1));
    EXPECT_EQ((Ints{1, 3, 2}), LinkedInts(list));
    EXPECT_TRUE(HasCacheAt(list, 0));
    EXPECT_EQ(pvOne, list.GetAt(0));
    list.MoveToLast(list.Find(0));
    EXPECT_EQ((Ints{3, 2, 1}), LinkedInts(list));
    list.MoveToFirst(CListBase::SPtr{nullptr});
    list.MoveToLast(CListBase::SPtr{nullptr});
    list.Find(0);
    list.Swap(0, 1);
    EXPECT_EQ((Ints{2, 3, 1}), LinkedInts(list));
    EXPECT_TRUE(HasCacheAt(list, list.m_uCachedIndex));
    list.Swap(0, 2);
    EXPECT_EQ((Ints{1, 3, 2}), LinkedInts(list));
    list.Swap(0, 3);
    list.Sort(CompareModulo, g_uWHOLE);
    EXPECT_EQ((Ints{1, 2, 3}), LinkedInts(list));
    EXPECT_TRUE(HasCacheAt(list, 0));
    EXPECT_EQ(pvOne, list.GetAt(0));
    EXPECT_EQ(0u, list.m_uDestroyed);
}

TEST_F(CListBaseInterface, MovesNodesBetweenListsOfOneSource)
{
    CIntList list(&m_source);
    CIntList other(&m_source);
    list.Fill({1, 4});
    other.Fill({2, 3});
    const void* const pvTwo = other.GetAt(0);
    ASSERT_EQ(QV_RES_OK, CListBase::Move(&list, 1, &other, 0, 1));
    EXPECT_EQ((Ints{1, 2, 4}), LinkedInts(list));
    EXPECT_EQ(Ints{3}, LinkedInts(other));
    EXPECT_EQ(pvTwo, list.GetAt(1));
    ASSERT_EQ(QV_RES_OK, list.Merge(2, other));
    EXPECT_EQ((Ints{1, 2, 3, 4}), LinkedInts(list));
    EXPECT_TRUE(other.IsEmpty());
    other.Fill({9});
    ASSERT_EQ(QV_RES_OK, list.Split(2, other));
    EXPECT_EQ((Ints{3, 4, 9}), LinkedInts(other));
    EXPECT_EQ((Ints{1, 2}), LinkedInts(list));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, list.Merge(3, other));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, list.Split(2, other));
    EXPECT_EQ(0u, list.m_uDestroyed + other.m_uDestroyed);
}

TEST_F(CListBaseInterface, CopiesBetweenListsOfDifferentSources)
{
    CIntList list(&m_source);
    CIntList other(static_cast<IAllocator*>(nullptr));
    other.Fill({1, 2, 3});
    ASSERT_EQ(QV_RES_OK, CListBase::Copy(&list, 0, &other, 1, 2));
    ASSERT_EQ(QV_RES_OK, CListBase::Copy(&list, 0, &other, 0, 0));
    EXPECT_EQ((Ints{2, 3}), LinkedInts(list));
    EXPECT_TRUE(HasCacheAt(list, 0));
    ASSERT_EQ(QV_RES_OK, CListBase::Move(&list, 0, &other, 0, 1));
    EXPECT_EQ((Ints{1, 2, 3}), LinkedInts(list));
    EXPECT_EQ((Ints{2, 3}), LinkedInts(other));
    EXPECT_EQ(1u, other.m_uDestroyed);
    m_source.m_bRefusing = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CListBase::Copy(&list, 0, &other, 0, 1));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CListBase::Move(&list, 0, &other, 0, 1));
}
