#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/ints.h"
#include "tests/abi/old_vector_list.h"

class CVListBaseLayout : public testing::Test
{
protected:
    /// Whether the order makes its slots through element operations.
    static bool ConstructsOrder(const CVListBase& rVList) { return LoadAt<bool>(&rVList.m_order, 32); }

    CForeignSource m_source;
};
class CVListBaseInterface : public CVListBaseLayout
{
};

TEST_F(CVListBaseLayout, FieldsAreElementAllocatorElementSizeOrder)
{
    CGuarded<CVListBase> vlist(12u, &m_source);
    const void* const pvVList = &*vlist;
    ASSERT_EQ(QV_RES_OK, vlist->ReserveCapacity(5));
    ASSERT_EQ(QV_RES_OK, vlist->Insert(0, 3, nullptr));
    EXPECT_EQ(&m_source, LoadAt<IAllocator*>(pvVList, 8 + 8));
    EXPECT_EQ(12u, LoadAt<uint32_t>(pvVList, 8 + 36));
    EXPECT_EQ(12u, LoadAt<uint32_t>(pvVList, 48));
    EXPECT_EQ(DefaultAllocator(), LoadAt<IAllocator*>(pvVList, 56 + 8));
    EXPECT_EQ(5u, LoadAt<uint32_t>(pvVList, 56 + 16));
    EXPECT_EQ(8u, LoadAt<uint32_t>(pvVList, 56 + 24));
    EXPECT_EQ(3u, LoadAt<uint32_t>(pvVList, 56 + 28));
    EXPECT_EQ(vlist->GetAt(2), LoadAt<void**>(pvVList, 56 + 48)[2]);
    static_assert(sizeof(CVListBase) == 112, "the program's declaration");
}

TEST_F(CVListBaseLayout, TheOrderIsAVectorOfPointersWithItsOwnVirtualTable)
{
    CIntVList vlist(&m_source);
    vlist.Fill({1, 2});
    EXPECT_EQ(0, OffsetToTop(&vlist.m_order));
    EXPECT_TRUE(HasSlots(&vlist.m_order, {"_ZN7CVectorIPvED1Ev", "_ZN7CVectorIPvED0Ev"}));
    EXPECT_EQ(2u, vlist.m_order.GetSize());
    EXPECT_EQ(vlist.GetAt(1), vlist.m_order.GetAt(1));
}

TEST_F(CVListBaseLayout, OnlyACopysOrderConstructsItsSlots)
{
    const CBlockAllocator blocks(4, &m_source);
    CVListBase vlist(4, &m_source);
    EXPECT_FALSE(ConstructsOrder(vlist));
    EXPECT_FALSE(ConstructsOrder(CVListBase(4, blocks)));
    EXPECT_TRUE(ConstructsOrder(CVListBase(vlist)));
}

TEST_F(CVListBaseLayout, TheLockIsTheOrders)
{
    CVListBase vlist(4, &m_source);
    StoreAt<uint32_t>(&vlist.m_order, 20, 6);
    EXPECT_EQ(6u, vlist.GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, vlist.ReserveCapacity(1));
    EXPECT_EQ(QV_RES_INVALID_STATE, vlist.ReduceCapacity(0));
    EXPECT_EQ(QV_RES_INVALID_STATE, vlist.Insert(0, 1, nullptr));
}

TEST_F(CVListBaseInterface, TakesItsBlocksFromTheGivenSource)
{
    const CBlockAllocator blocks(12, &m_source);
    EXPECT_TRUE(CVListBase(12, blocks).m_elementAllocator == blocks);
    EXPECT_EQ(8u, CVListBase(4, &m_source).m_elementAllocator.m_uBlockSize);
    EXPECT_EQ(DefaultAllocator(), CVListBase(4, static_cast<IAllocator*>(nullptr)).m_elementAllocator.m_pAllocator);
}

TEST_F(CVListBaseInterface, CapacityIsTheOrdersAndKeepsBlocksFree)
{
    CIntVList vlist(&m_source);
    vlist.Fill({1, 2});
    ASSERT_EQ(QV_RES_OK, vlist.ReserveCapacity(5));
    EXPECT_EQ(5u, vlist.GetCapacity());
    EXPECT_EQ(3u, vlist.m_elementAllocator.GetBlockCount());
    ASSERT_EQ(QV_RES_OK, vlist.ReduceCapacity(3));
    EXPECT_EQ(3u, vlist.GetCapacity());
    EXPECT_EQ(1u, vlist.m_elementAllocator.GetBlockCount());
}

TEST_F(CVListBaseInterface, InsertsElementsAndVectorListsInFrontOfAnIndex)
{
    CIntVList vlist(&m_source);
    CIntVList other(static_cast<IAllocator*>(nullptr));
    vlist.Fill({1, 4});
    other.Fill({2, 3});
    const CVListBase& rConst = vlist;
    void* const pvFour = vlist.GetAt(1);
    const int nElement = 7;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vlist.Insert(3, 1, &nElement));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vlist.Insert(3, other));
    ASSERT_EQ(QV_RES_OK, vlist.Insert(1, other));
    ASSERT_EQ(QV_RES_OK, vlist.Insert(0, 1, &nElement));
    *static_cast<int*>(vlist.Allocate(5)) = 5;
    EXPECT_EQ(nullptr, vlist.Allocate(7));
    EXPECT_EQ((Ints{7, 1, 2, 3, 4, 5}), IntsOf(vlist));
    EXPECT_EQ(pvFour, rConst.GetAt(4)) << "elements do not move";
    m_source.m_bRefusing = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, vlist.Insert(0, 9, &nElement));
}

TEST_F(CVListBaseInterface, ErasedBlocksBecomeFree)
{
    CIntVList vlist(&m_source);
    vlist.Fill({1, 2, 3, 4});
    vlist.Erase(4, 1);
    vlist.Erase(1, 2);
    EXPECT_EQ((Ints{1, 4}), IntsOf(vlist));
    EXPECT_EQ(2u, vlist.m_elementAllocator.GetBlockCount());
    vlist.EraseAll();
    EXPECT_TRUE(vlist.IsEmpty());
    EXPECT_EQ(4u, vlist.m_elementAllocator.GetBlockCount());
}

TEST_F(CVListBaseInterface, SortingAndSwappingLeaveTheElementsWhereTheyAre)
{
    CIntVList vlist(&m_source);
    vlist.Fill({33, 12, 21, 42, 52});
    const void* const pvThirtyThree = vlist.GetAt(0);
    vlist.Sort(CompareModulo, g_uWHOLE);
    EXPECT_EQ((Ints{12, 21, 33, 42, 52}), IntsOf(vlist));
    EXPECT_EQ(pvThirtyThree, vlist.GetAt(2));
    vlist.Swap(0, 1);
    vlist.Swap(2, 4);
    vlist.Swap(0, 5);
    EXPECT_EQ((Ints{21, 12, 52, 42, 33}), IntsOf(vlist));
    EXPECT_EQ(pvThirtyThree, vlist.GetAt(4));
}

TEST_F(CVListBaseInterface, CopiesAndMovesIntoSlotsThatExist)
{
    CIntVList vlist(&m_source);
    CIntVList same(&m_source);
    CIntVList other(static_cast<IAllocator*>(nullptr));
    same.Fill({1, 2});
    other.Fill({3, 4});
    ASSERT_EQ(QV_RES_OK, vlist.m_order.Insert(0, 3));
    ASSERT_EQ(QV_RES_OK, CVListBase::Copy(&vlist, 0, &same, 1, 1));
    ASSERT_EQ(QV_RES_OK, CVListBase::Move(&vlist, 1, &same, 0, 1));
    EXPECT_EQ(same.GetAt(0), vlist.GetAt(1)) << "the block has changed its owner, the slot stays";
    ASSERT_EQ(QV_RES_OK, CVListBase::Move(&vlist, 2, &other, 0, 1));
    EXPECT_EQ(1u, other.m_uDestroyed);
    EXPECT_EQ((Ints{2, 1, 3}), IntsOf(vlist));
    same.m_order.Erase(0);
    other.m_order.Erase(0);
    m_source.m_bRefusing = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CVListBase::Copy(&vlist, 0, &other, 0, 1));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, CVListBase::Move(&vlist, 0, &other, 0, 1));
}

TEST_F(CVListBaseInterface, MergeEmptiesTheSourceAndSplitReplacesTheDestination)
{
    CIntVList vlist(&m_source);
    CIntVList other(&m_source);
    vlist.Fill({1, 4});
    other.Fill({2, 3});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vlist.Merge(3, other));
    ASSERT_EQ(QV_RES_OK, vlist.Merge(1, other));
    EXPECT_EQ((Ints{1, 2, 3, 4}), IntsOf(vlist));
    EXPECT_TRUE(other.IsEmpty());
    other.Fill({9});
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vlist.Split(4, other));
    ASSERT_EQ(QV_RES_OK, vlist.Split(3, other));
    EXPECT_EQ((Ints{1, 2, 3}), IntsOf(vlist));
    EXPECT_EQ(Ints{4}, IntsOf(other));
    EXPECT_EQ(1u, other.m_uDestroyed);
}
