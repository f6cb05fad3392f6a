#include "tests/abi/foreign_vector.h"

class CVListBase
{
public:
    CVListBase(unsigned int uSizeOfElement, IAllocator* pAllocator);
    CVListBase(unsigned int uSizeOfElement, const CBlockAllocator& rAllocator);
    CVListBase(const CVListBase& rSrc);
    virtual ~CVListBase();
    virtual void Construct(void* pElement);
    virtual void ConstructFrom(void* pElement, const void* pSource);
    virtual void Destruct(void* pElement);

    CVListBase& operator=(const CVListBase& rSrc);
    QvResult ReserveCapacity(unsigned int uCapacity);
    QvResult ReduceCapacity(unsigned int uCapacity);
    unsigned int GetCapacity() const;
    unsigned int GetLockCapacity() const;
    unsigned int GetSize() const;
    bool IsEmpty() const;
    unsigned int GetFirstIndex() const;
    unsigned int GetLastIndex() const;
    unsigned int GetEndIndex() const;
    void* GetAt(unsigned int uIndex);
    const void* GetAt(unsigned int uIndex) const;
    QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement);
    QvResult Insert(unsigned int uIndex, const CVListBase& rSrc);
    QvResult InsertSorted(const void* pElement, PFNCompare pfnCompare, unsigned int uParam);
    void* Allocate(unsigned int uIndex);
    QvResult AllocateSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam, void** ppElement);
    void Erase(unsigned int uIndex, unsigned int uCount);
    void EraseAll();
    void Swap(unsigned int uIndex1, unsigned int uIndex2);
    void Sort(PFNCompare pfnCompare, unsigned int uParam);
    static QvResult Copy(CVListBase* pDest, unsigned int uDestIndex, const CVListBase* pSrc, unsigned int uSrcIndex,
                         unsigned int uCount);
    static QvResult Move(CVListBase* pDest, unsigned int uDestIndex, CVListBase* pSrc, unsigned int uSrcIndex,
                         unsigned int uCount);
    QvResult Merge(unsigned int uIndex, CVListBase& rSrc);
    QvResult Split(unsigned int uIndex, CVListBase& rDest);
    unsigned int Find(unsigned int uStartIndex, const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int FindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int InternalFindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int GetMinElementIndex(PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int GetMaxElementIndex(PFNCompare pfnCompare, unsigned int uParam) const;

    CBlockAllocator m_elementAllocator;
    unsigned int m_uElementSize;
    CVector<void*> m_order;
};

using CIntVList = CInts<CVListBase>;

class CVListBaseLayout : public CForeignProgram
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
    CGuarded<CVListBase> vlist(12U, &m_source);
    const void* const pvVList = &*vlist;
    ASSERT_EQ(eOK, vlist->ReserveCapacity(5));
    ASSERT_EQ(eOK, vlist->Insert(0, 3, nullptr));
    EXPECT_EQ(&m_source, LoadAt<IAllocator*>(pvVList, 8 + 8));
    EXPECT_EQ(12U, LoadAt<uint32_t>(pvVList, 8 + 36));
    EXPECT_EQ(12U, LoadAt<uint32_t>(pvVList, 48));
    EXPECT_EQ(DefaultAllocator(), LoadAt<IAllocator*>(pvVList, 56 + 8));
    EXPECT_EQ(5U, LoadAt<uint32_t>(pvVList, 56 + 16));
    EXPECT_EQ(8U, LoadAt<uint32_t>(pvVList, 56 + 24));
    EXPECT_EQ(3U, LoadAt<uint32_t>(pvVList, 56 + 28));
    EXPECT_EQ(vlist->GetAt(2), LoadAt<void**>(pvVList, 56 + 48)[2]);
    static_assert(sizeof(CVListBase) == 112, "the program's declaration");
}

TEST_F(CVListBaseLayout, TheOrderIsAVectorOfPointersWithItsOwnVirtualTable)
{
    CIntVList vlist(&m_source);
    vlist.Fill({1, 2});
    EXPECT_EQ(0, OffsetToTop(&vlist.m_order));
    EXPECT_TRUE(HasSlots(&vlist.m_order, {"_ZN7CVectorIPvED1Ev", "_ZN7CVectorIPvED0Ev"}));
    EXPECT_EQ(2U, vlist.m_order.GetSize());
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

TEST_F(CVListBaseLayout, SlotsAreDestructorConstructConstructFromDestruct)
{
    CVListBase vlist(4, &m_source);
    EXPECT_EQ(0, OffsetToTop(&vlist));
    EXPECT_TRUE(HasSlots(&vlist, {"_ZN10CVListBaseD1Ev", "_ZN10CVListBaseD0Ev", "_ZN10CVListBase9ConstructEPv",
                                  "_ZN10CVListBase13ConstructFromEPvPKv", "_ZN10CVListBase8DestructEPv"}));
}

TEST_F(CVListBaseLayout, TheBasesElementOperationsDoNothing)
{
    CVListBase vlist(4, &m_source);
    int nElement = 5;
    const int nSource = 6;
    vlist.CVListBase::Construct(&nElement);
    vlist.CVListBase::ConstructFrom(&nElement, &nSource);
    vlist.CVListBase::Destruct(&nElement);
    EXPECT_EQ(5, nElement);
}

TEST_F(CVListBaseLayout, TheLibraryCallsTheElementOperationsOfAProgramsClass)
{
    CIntVList vlist(&m_source);
    ASSERT_EQ(eOK, vlist.Insert(0, 2, nullptr));
    vlist.Fill({4});
    vlist.Erase(1, 1);
    EXPECT_EQ((Ints{CIntVList::g_nMADE, 4}), IntsOf(vlist));
    EXPECT_EQ(2U, vlist.m_uMade);
    EXPECT_EQ(1U, vlist.m_uCopied);
    EXPECT_EQ(1U, vlist.m_uDestroyed);
}

TEST_F(CVListBaseLayout, TheLockIsTheOrders)
{
    CVListBase vlist(4, &m_source);
    StoreAt<uint32_t>(&vlist.m_order, 20, 6);
    EXPECT_EQ(6U, vlist.GetLockCapacity());
    EXPECT_EQ(eINVALID_STATE, vlist.ReserveCapacity(1));
    EXPECT_EQ(eINVALID_STATE, vlist.ReduceCapacity(0));
    EXPECT_EQ(eINVALID_STATE, vlist.Insert(0, 1, nullptr));
}

TEST_F(CVListBaseLayout, ADestructorThroughItsSlotGivesTheBlocksBack)
{
    CVListBase* const pVList = new CVListBase(4, &m_source);
    ASSERT_EQ(eOK, pVList->Insert(0, 3, nullptr));
    EXPECT_EQ(3U, m_source.m_uOut);
    delete pVList;
    EXPECT_EQ(0U, m_source.m_uOut);
}

TEST_F(CVListBaseLayout, ADestructorClearsTheElementSize)
{
    const CRemains<CVListBase> vlist(4U, static_cast<IAllocator*>(&m_source));
    EXPECT_EQ(0U, vlist.At(&CVListBase::m_uElementSize));
}

TEST_F(CVListBaseInterface, TakesItsBlocksFromTheGivenSource)
{
    const CBlockAllocator blocks(12, &m_source);
    EXPECT_TRUE(CVListBase(12, blocks).m_elementAllocator == blocks);
    EXPECT_EQ(8U, CVListBase(4, &m_source).m_elementAllocator.m_uBlockSize);
    EXPECT_EQ(DefaultAllocator(), CVListBase(4, static_cast<IAllocator*>(nullptr)).m_elementAllocator.m_pAllocator);
}

TEST_F(CVListBaseInterface, CapacityIsTheOrdersAndKeepsBlocksFree)
{
    CIntVList vlist(&m_source);
    EXPECT_TRUE(vlist.IsEmpty());
    EXPECT_EQ(0xFFFFFFFFU, vlist.GetLastIndex());
    vlist.Fill({1, 2});
    ASSERT_EQ(eOK, vlist.ReserveCapacity(5));
    EXPECT_EQ(5U, vlist.GetCapacity());
    EXPECT_EQ(3U, vlist.m_elementAllocator.GetBlockCount());
    ASSERT_EQ(eOK, vlist.ReduceCapacity(3));
    EXPECT_EQ(3U, vlist.GetCapacity());
    EXPECT_EQ(1U, vlist.m_elementAllocator.GetBlockCount());
    EXPECT_FALSE(vlist.IsEmpty());
    EXPECT_EQ(2U, vlist.GetSize());
    EXPECT_EQ(0U, vlist.GetFirstIndex());
    EXPECT_EQ(1U, vlist.GetLastIndex());
    EXPECT_EQ(2U, vlist.GetEndIndex());
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
    EXPECT_EQ(eINVALID_ARGUMENT, vlist.Insert(3, 1, &nElement));
    EXPECT_EQ(eINVALID_ARGUMENT, vlist.Insert(3, other));
    ASSERT_EQ(eOK, vlist.Insert(1, other));
    ASSERT_EQ(eOK, vlist.Insert(0, 1, &nElement));
    *static_cast<int*>(vlist.Allocate(5)) = 5;
    EXPECT_EQ(nullptr, vlist.Allocate(7));
    EXPECT_EQ((Ints{7, 1, 2, 3, 4, 5}), IntsOf(vlist));
    EXPECT_EQ(pvFour, rConst.GetAt(4)) << "elements do not move";
    m_source.m_bRefusing = true;
    EXPECT_EQ(eOUT_OF_MEMORY, vlist.Insert(0, 9, &nElement));
}

TEST_F(CVListBaseInterface, SortedInsertionKnowsEqualElements)
{
    CIntVList vlist(&m_source);
    vlist.Fill({11, 22, 32, 43});
    int nKey = 52;
    ASSERT_EQ(eOK, vlist.InsertSorted(&nKey, CompareModulo, 10));
    EXPECT_EQ((Ints{11, 52, 22, 32, 43}), IntsOf(vlist));
    void* pElement = nullptr;
    EXPECT_EQ(eINVALID_ARGUMENT, vlist.AllocateSorted(&nKey, CompareModulo, 10, nullptr));
    EXPECT_EQ(eALREADY_EXISTS, vlist.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
    nKey = 4;
    ASSERT_EQ(eOK, vlist.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
    EXPECT_EQ(vlist.GetAt(5), pElement);
    *static_cast<int*>(pElement) = nKey;
    m_source.m_bRefusing = true;
    nKey = 5;
    EXPECT_EQ(eFAIL, vlist.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
}

TEST_F(CVListBaseInterface, ErasedBlocksBecomeFree)
{
    CIntVList vlist(&m_source);
    vlist.Fill({1, 2, 3, 4});
    vlist.Erase(4, 1);
    vlist.Erase(1, 2);
    EXPECT_EQ((Ints{1, 4}), IntsOf(vlist));
    EXPECT_EQ(2U, vlist.m_elementAllocator.GetBlockCount());
    vlist.EraseAll();
    EXPECT_TRUE(vlist.IsEmpty());
    EXPECT_EQ(4U, vlist.m_elementAllocator.GetBlockCount());
}

TEST_F(CVListBaseInterface, SortsAndSearchesWithTheCallersComparisonAndParameter)
{
    CIntVList vlist(&m_source);
    vlist.Fill({33, 12, 21, 42, 52});
    const void* const pvThirtyThree = vlist.GetAt(0);
    const int nTwo = 2;
    const int nFour = 4;
    EXPECT_EQ(2U, vlist.GetMinElementIndex(CompareModulo, 10));
    EXPECT_EQ(0U, vlist.GetMaxElementIndex(CompareModulo, 10));
    EXPECT_EQ(4U, vlist.GetMaxElementIndex(CompareModulo, g_uWHOLE));
    vlist.Sort(CompareModulo, g_uWHOLE);
    EXPECT_EQ((Ints{12, 21, 33, 42, 52}), IntsOf(vlist));
    EXPECT_EQ(pvThirtyThree, vlist.GetAt(2));
    vlist.Swap(0, 1);
    vlist.Swap(2, 4);
    vlist.Swap(0, 5);
    EXPECT_EQ((Ints{21, 12, 52, 42, 33}), IntsOf(vlist));
    EXPECT_EQ(1U, vlist.FindSorted(&nTwo, CompareModulo, 10));
    EXPECT_EQ(5U, vlist.FindSorted(&nFour, CompareModulo, 10));
    EXPECT_EQ(1U, vlist.InternalFindSorted(&nTwo, CompareModulo, 10));
    EXPECT_EQ(5U, vlist.InternalFindSorted(&nFour, CompareModulo, 10));
    EXPECT_EQ(2U, vlist.Find(2, &nTwo, CompareModulo, 10));
    EXPECT_EQ(5U, vlist.Find(9, &nTwo, CompareModulo, 10));
}

TEST_F(CVListBaseInterface, CopiesAndMovesIntoSlotsThatExist)
{
    CIntVList vlist(&m_source);
    CIntVList same(&m_source);
    CIntVList other(static_cast<IAllocator*>(nullptr));
    same.Fill({1, 2});
    other.Fill({3, 4});
    ASSERT_EQ(eOK, vlist.m_order.Insert(0, 3));
    ASSERT_EQ(eOK, CVListBase::Copy(&vlist, 0, &same, 1, 1));
    ASSERT_EQ(eOK, CVListBase::Move(&vlist, 1, &same, 0, 1));
    EXPECT_EQ(same.GetAt(0), vlist.GetAt(1)) << "the block has changed its owner, the slot stays";
    ASSERT_EQ(eOK, CVListBase::Move(&vlist, 2, &other, 0, 1));
    EXPECT_EQ(1U, other.m_uDestroyed);
    EXPECT_EQ((Ints{2, 1, 3}), IntsOf(vlist));
    same.m_order.Erase(0);
    other.m_order.Erase(0);
    m_source.m_bRefusing = true;
    EXPECT_EQ(eOUT_OF_MEMORY, CVListBase::Copy(&vlist, 0, &other, 0, 1));
    EXPECT_EQ(eOUT_OF_MEMORY, CVListBase::Move(&vlist, 0, &other, 0, 1));
}

TEST_F(CVListBaseInterface, MergeEmptiesTheSourceAndSplitReplacesTheDestination)
{
    CIntVList vlist(&m_source);
    CIntVList other(&m_source);
    vlist.Fill({1, 4});
    other.Fill({2, 3});
    EXPECT_EQ(eINVALID_ARGUMENT, vlist.Merge(3, other));
    ASSERT_EQ(eOK, vlist.Merge(1, other));
    EXPECT_EQ((Ints{1, 2, 3, 4}), IntsOf(vlist));
    EXPECT_TRUE(other.IsEmpty());
    other.Fill({9});
    EXPECT_EQ(eINVALID_ARGUMENT, vlist.Split(4, other));
    ASSERT_EQ(eOK, vlist.Split(3, other));
    EXPECT_EQ((Ints{1, 2, 3}), IntsOf(vlist));
    EXPECT_EQ(Ints{4}, IntsOf(other));
    EXPECT_EQ(1U, other.m_uDestroyed);
}

TEST_F(CVListBaseInterface, ACopyHasTheElementSizeAndTheSourceAndAnAssignmentTheElements)
{
    CVListBase untyped(12, &m_source);
    ASSERT_EQ(eOK, untyped.Insert(0, 2, nullptr));
    CGuarded<CVListBase> copy(untyped);
    EXPECT_EQ(2U, copy->GetSize());
    EXPECT_EQ(12U, copy->m_uElementSize);
    EXPECT_TRUE(copy->m_elementAllocator == untyped.m_elementAllocator);

    CIntVList vlist(&m_source);
    CIntVList assigned(static_cast<IAllocator*>(nullptr));
    vlist.Fill({1, 2});
    assigned.Fill({9});
    EXPECT_EQ(&assigned, &(assigned.CVListBase::operator=(vlist)));
    EXPECT_EQ((Ints{1, 2}), IntsOf(assigned));
}
