#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/ints.h"
#include "tests/abi/old_vector_list.h"

namespace
{
using Values = std::vector<unsigned int>;

class CVList : public testing::Test
{
protected:
    CForeignSource m_source;
    CIntVList m_vlist{&m_source};
};
}  // namespace

TEST_F(CVList, FieldsAreElementAllocatorElementSizeOrder)
{
    static_assert(sizeof(CVListBase) == 112);
    CGuarded<CVListBase> vlist(12u, &m_source);
    ASSERT_EQ(QV_RES_OK, vlist->ReserveCapacity(5));
    ASSERT_EQ(QV_RES_OK, vlist->Insert(0, 3, nullptr));
    EXPECT_EQ(&m_source, vlist->m_elementAllocator.m_pAllocator);
    EXPECT_EQ(DefaultAllocator(), vlist->m_order.m_pAllocator);
    EXPECT_TRUE(HasSlots(&vlist->m_order, {"_ZN7CVectorIPvED1Ev", "_ZN7CVectorIPvED0Ev"}));
    const CVectorBase& rOrder = vlist->m_order;
    EXPECT_EQ((Values{12, 12, 5, 0, 8, 3}),
              (Values{vlist->m_elementAllocator.m_uBlockSize, vlist->m_uElementSize, rOrder.m_uCapacity,
                      rOrder.m_uLockCapacity, rOrder.m_uElementSize, rOrder.m_uSize}));
    EXPECT_EQ(vlist->GetAt(2), static_cast<void**>(rOrder.m_pvStorage)[2]);
    vlist->m_order.m_uLockCapacity = 6;
    EXPECT_EQ(6u, vlist->GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, vlist->ReserveCapacity(6));
}

TEST_F(CVList, OnlyACopysOrderConstructsItsSlots)
{
    const CBlockAllocator blocks(8, &m_source);
    const CVListBase vlist(4, blocks);
    EXPECT_TRUE(vlist.m_elementAllocator == blocks);
    EXPECT_FALSE(vlist.m_order.m_bConstruct);
    EXPECT_FALSE(m_vlist.m_order.m_bConstruct);
    EXPECT_TRUE(CVListBase(vlist).m_order.m_bConstruct);
    EXPECT_EQ(DefaultAllocator(), CVListBase(4, static_cast<IAllocator*>(nullptr)).m_elementAllocator.m_pAllocator);
}

TEST_F(CVList, InsertsElementsAndVectorListsAndErasesThem)
{
    CIntVList other(static_cast<IAllocator*>(nullptr));
    m_vlist.Fill({1, 4});
    other.Fill({2, 3});
    const CVListBase& rVList = m_vlist;
    void* const pvFour = m_vlist.GetAt(1);
    const int nElement = 7;
    ASSERT_EQ(QV_RES_OK, m_vlist.Insert(1, other));
    ASSERT_EQ(QV_RES_OK, m_vlist.Insert(0, 1, &nElement));
    *static_cast<int*>(m_vlist.Allocate(5)) = 5;
    EXPECT_EQ((Ints{7, 1, 2, 3, 4, 5}), IntsOf(m_vlist));
    EXPECT_EQ(pvFour, rVList.GetAt(4)) << "elements do not move";
    m_vlist.Erase(1, 3);
    EXPECT_EQ((Ints{7, 4, 5}), IntsOf(m_vlist));
    ASSERT_EQ(QV_RES_OK, m_vlist.ReduceCapacity(4));
    EXPECT_EQ((Values{4, 1}), (Values{m_vlist.GetCapacity(), m_vlist.m_elementAllocator.GetBlockCount()}));
    m_vlist.EraseAll();
    EXPECT_TRUE(m_vlist.IsEmpty());
}

TEST_F(CVList, SortingAndSwappingLeaveTheElementsWhereTheyAre)
{
    m_vlist.Fill({33, 12, 21});
    const void* const pvThirtyThree = m_vlist.GetAt(0);
    m_vlist.Sort(CompareModulo, g_uWHOLE);
    EXPECT_EQ((Ints{12, 21, 33}), IntsOf(m_vlist));
    m_vlist.Swap(0, 2);
    EXPECT_EQ((Ints{33, 21, 12}), IntsOf(m_vlist));
    EXPECT_EQ(pvThirtyThree, m_vlist.GetAt(0));
}

TEST_F(CVList, CopiesMovesMergesAndSplits)
{
    CIntVList same(&m_source);
    CIntVList other(static_cast<IAllocator*>(nullptr));
    same.Fill({1, 2});
    other.Fill({3, 4});
    ASSERT_EQ(QV_RES_OK, m_vlist.m_order.Insert(0, 3));
    ASSERT_EQ(QV_RES_OK, CVListBase::Copy(&m_vlist, 0, &same, 1, 1));
    ASSERT_EQ(QV_RES_OK, CVListBase::Move(&m_vlist, 1, &same, 0, 1));
    EXPECT_EQ(same.GetAt(0), m_vlist.GetAt(1)) << "the block has changed its owner, the slot stays";
    ASSERT_EQ(QV_RES_OK, CVListBase::Move(&m_vlist, 2, &other, 0, 1));
    EXPECT_EQ(1u, other.m_uDestroyed);
    EXPECT_EQ((Ints{2, 1, 3}), IntsOf(m_vlist));
    same.m_order.Erase(0);
    other.m_order.Erase(0);
    ASSERT_EQ(QV_RES_OK, m_vlist.Merge(1, same));
    EXPECT_EQ((Ints{2, 2, 1, 3}), IntsOf(m_vlist));
    ASSERT_EQ(QV_RES_OK, m_vlist.Split(3, other));
    EXPECT_EQ((Ints{2, 2, 1}), IntsOf(m_vlist));
    EXPECT_EQ(Ints{3}, IntsOf(other));
}
