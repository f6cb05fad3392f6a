#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/ints.h"
#include "tests/abi/old_list.h"

namespace
{
using Values = std::vector<unsigned int>;

class CList : public testing::Test
{
protected:
    CForeignSource m_source;
    CIntList m_list{&m_source};
};
}  // namespace

TEST_F(CList, FieldsAreNodeAllocatorLockSizeElementSizeCacheHeadTail)
{
    static_assert(sizeof(CListBase) == 88);
    CGuarded<CListBase> list(4u, &m_source);
    ASSERT_EQ(QV_RES_OK, list->Insert(0, 3, nullptr));
    const CListBase::SNode* const pSecond = list->Find(1).pNode;
    EXPECT_EQ(&m_source, list->m_nodeAllocator.m_pAllocator);
    EXPECT_EQ("CBlockAllocator::Push(void*)", FunctionInSlot(&list->m_nodeAllocator, 2));
    EXPECT_EQ((Values{20, 0, 3, 4, 1}), (Values{list->m_nodeAllocator.m_uBlockSize, list->m_uLockCapacity,
                                                list->m_uSize, list->m_uElementSize, list->m_uCachedIndex}));
    EXPECT_EQ(pSecond, list->m_pCachedNode);
    EXPECT_EQ(pSecond->pPrevious, list->m_pHead);
    EXPECT_EQ(pSecond->pNext, list->m_pTail);
    EXPECT_EQ(nullptr, list->m_pHead->pPrevious);
    EXPECT_EQ(nullptr, list->m_pTail->pNext);
    list->m_uLockCapacity = 1;
    EXPECT_EQ(QV_RES_INVALID_STATE, list->ReserveCapacity(4));
}

TEST_F(CList, TakesItsNodesFromTheGivenSource)
{
    const CBlockAllocator nodes(20, &m_source);
    EXPECT_TRUE(CListBase(4, nodes).m_nodeAllocator == nodes);
    EXPECT_EQ(DefaultAllocator(), CListBase(4, static_cast<IAllocator*>(nullptr)).m_nodeAllocator.m_pAllocator);
    m_list.Fill({1, 2});
    ASSERT_EQ(QV_RES_OK, m_list.ReserveCapacity(5));
    EXPECT_EQ(3u, m_source.m_uAllocatedCount);
    EXPECT_EQ(5u, m_list.GetCapacity());
    ASSERT_EQ(QV_RES_OK, m_list.ReduceCapacity(3));
    EXPECT_EQ(3u, m_list.GetCapacity());
}

TEST_F(CList, LooksUpThroughTheCache)
{
    m_list.Fill({1, 2, 3, 4, 5});
    EXPECT_EQ(m_list.m_pTail, m_list.m_pCachedNode);
    m_list.m_pCachedNode = nullptr;
    m_list.m_uCachedIndex = 0;
    const CListBase& rList = m_list;
    EXPECT_EQ(&m_list.m_pHead->pNext->nElement, rList.GetAt(1));
    EXPECT_EQ(m_list.m_pHead->pNext, m_list.m_pCachedNode);
    EXPECT_EQ(1u, m_list.m_uCachedIndex);
    EXPECT_EQ(&m_list.m_pTail->nElement, m_list.GetAt(4));
    EXPECT_EQ(nullptr, rList.Find(5).pNode);
}

TEST_F(CList, InsertsElementsAtTheIndexAndListsAtTheFront)
{
    CIntList other(static_cast<IAllocator*>(nullptr));
    m_list.Fill({1, 2, 3});
    other.Fill({8, 9});
    const int nElement = 7;
    ASSERT_EQ(QV_RES_OK, m_list.Insert(1, 2, &nElement));
    ASSERT_EQ(QV_RES_OK, m_list.Insert(2, other));
    *static_cast<int*>(m_list.Allocate(1)) = 5;
    EXPECT_EQ((Ints{8, 5, 9, 1, 7, 7, 2, 3}), LinkedInts(m_list));
}

TEST_F(CList, ErasesByIndexByNodeAndAll)
{
    m_list.Fill({1, 2, 3, 4, 5});
    m_list.Erase(3, 9);
    m_list.Erase(m_list.Find(1));
    EXPECT_EQ((Ints{1, 3}), LinkedInts(m_list));
    m_list.EraseAll();
    EXPECT_EQ(Ints{}, LinkedInts(m_list));
    EXPECT_EQ(5u, m_list.GetCapacity());
}

TEST_F(CList, RelinkingKeepsTheElementsWhereTheyAre)
{
    m_list.Fill({3, 1, 2});
    const void* const pvOne = m_list.GetAt(1);
    m_list.MoveToFirst(m_list.Find(1));
    EXPECT_EQ((Ints{1, 3, 2}), LinkedInts(m_list));
    m_list.MoveToLast(m_list.Find(0));
    EXPECT_EQ((Ints{3, 2, 1}), LinkedInts(m_list));
    m_list.Swap(0, 1);
    EXPECT_EQ((Ints{2, 3, 1}), LinkedInts(m_list));
    m_list.Sort(CompareModulo, g_uWHOLE);
    EXPECT_EQ((Ints{1, 2, 3}), LinkedInts(m_list));
    EXPECT_EQ(pvOne, m_list.GetAt(0));
}

TEST_F(CList, MovesNodesBetweenListsOfOneSourceAndCopiesBetweenOthers)
{
    CIntList same(&m_source);
    CIntList other(static_cast<IAllocator*>(nullptr));
    m_list.Fill({1, 4});
    same.Fill({2, 3});
    other.Fill({7, 8, 9});
    const void* const pvTwo = same.GetAt(0);
    ASSERT_EQ(QV_RES_OK, CListBase::Move(&m_list, 1, &same, 0, 1));
    EXPECT_EQ(pvTwo, m_list.GetAt(1));
    ASSERT_EQ(QV_RES_OK, m_list.Merge(2, same));
    EXPECT_EQ((Ints{1, 2, 3, 4}), LinkedInts(m_list));
    ASSERT_EQ(QV_RES_OK, m_list.Split(2, same));
    EXPECT_EQ((Ints{3, 4}), LinkedInts(same));
    ASSERT_EQ(QV_RES_OK, CListBase::Copy(&m_list, 0, &other, 1, 2));
    ASSERT_EQ(QV_RES_OK, CListBase::Move(&m_list, 0, &other, 0, 1));
    EXPECT_EQ((Ints{7, 8, 9, 1, 2}), LinkedInts(m_list));
    EXPECT_EQ((Ints{8, 9}), LinkedInts(other));
}
