#include "tests/abi/foreign_memory.h"

using PFNCompare = int (*)(const void* pElement, const void* pKey, unsigned int uParam);

class CListBase
{
public:
    struct SNode
    {
        SNode* pPrevious;
        SNode* pNext;
        int nElement;
    };
    struct SPtr
    {
        SNode* pNode;
    };

    CListBase(unsigned int uSizeOfElement, IAllocator* pAllocator);
    CListBase(unsigned int uSizeOfElement, const CBlockAllocator& rAllocator);
    CListBase(const CListBase& rSrc);
    virtual ~CListBase();
    virtual void Construct(void* pElement);
    virtual void ConstructFrom(void* pElement, const void* pSource);
    virtual void Destruct(void* pElement);

    CListBase& operator=(const CListBase& rSrc);
    QvResult ReserveCapacity(unsigned int uCapacity);
    QvResult ReduceCapacity(unsigned int uCapacity);
    unsigned int GetCapacity() const;
    unsigned int GetSize() const;
    bool IsEmpty() const;
    unsigned int GetFirstIndex() const;
    unsigned int GetLastIndex() const;
    unsigned int GetEndIndex() const;
    SPtr Find(unsigned int uIndex) const;
    void* GetAt(unsigned int uIndex);
    const void* GetAt(unsigned int uIndex) const;
    QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement);
    QvResult Insert(unsigned int uIndex, const CListBase& rSrc);
    QvResult InsertSorted(const void* pElement, PFNCompare pfnCompare, unsigned int uParam);
    void* Allocate(unsigned int uIndex);
    QvResult AllocateSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam, void** ppElement);
    void Erase(unsigned int uIndex, unsigned int uCount);
    void Erase(SPtr pNode);
    void EraseAll();
    void MoveToFirst(SPtr pNode);
    void MoveToLast(SPtr pNode);
    void Swap(unsigned int uIndex1, unsigned int uIndex2);
    void Sort(PFNCompare pfnCompare, unsigned int uParam);
    static QvResult Copy(CListBase* pDest, unsigned int uDestIndex, const CListBase* pSrc, unsigned int uSrcIndex,
                         unsigned int uCount);
    static QvResult Move(CListBase* pDest, unsigned int uDestIndex, CListBase* pSrc, unsigned int uSrcIndex,
                         unsigned int uCount);
    QvResult Merge(unsigned int uIndex, CListBase& rSrc);
    QvResult Split(unsigned int uIndex, CListBase& rDest);
    unsigned int Find(unsigned int uStartIndex, const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int FindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int GetMinElementIndex(PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int GetMaxElementIndex(PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int InternalFindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const;

    CBlockAllocator m_nodeAllocator;
    unsigned int m_uLockCapacity;
    unsigned int m_uSize;
    unsigned int m_uElementSize;
    unsigned int m_uCachedIndex;
    SNode* m_pCachedNode;
    SNode* m_pHead;
    SNode* m_pTail;
};

using CIntList = CInts<CListBase>;

namespace
{
/// The elements along the next links; the previous links and the tail must say the same.
Ints LinkedInts(const CListBase& rList)
{
    Ints ints;
    const CListBase::SNode* pPrevious = nullptr;
    for (const CListBase::SNode* pNode = rList.m_pHead; pNode != nullptr; pNode = pNode->pNext)
    {
        EXPECT_EQ(pPrevious, pNode->pPrevious);
        ints.push_back(pNode->nElement);
        pPrevious = pNode;
    }
    EXPECT_EQ(pPrevious, rList.m_pTail);
    EXPECT_EQ(ints.size(), rList.m_uSize);
    return ints;
}

testing::AssertionResult HasCacheAt(const CListBase& rList, unsigned int uIndex)
{
    const CListBase::SNode* pNode = rList.m_pHead;
    for (unsigned int uStep = 0; uStep < uIndex; ++uStep) pNode = pNode->pNext;
    if (rList.m_uCachedIndex == uIndex && rList.m_pCachedNode == pNode) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the cache is at " << rList.m_uCachedIndex << ", node " << rList.m_pCachedNode
                                       << ", not " << pNode;
}
}  // namespace

class CListBaseLayout : public CForeignProgram
{
protected:
    CForeignSource m_source;
};
class CListBaseInterface : public CListBaseLayout
{
};

TEST_F(CListBaseLayout, FieldsAreNodeAllocatorLockSizeElementSizeCacheHeadTail)
{
    CGuarded<CListBase> list(4U, &m_source);
    const void* const pvList = &*list;
    ASSERT_EQ(eOK, list->Insert(0, 3, nullptr));
    ASSERT_EQ(list->m_pHead->pNext, list->Find(1).pNode);
    EXPECT_EQ(&m_source, LoadAt<IAllocator*>(pvList, 8 + 8));
    EXPECT_EQ(4U + 16U, LoadAt<uint32_t>(pvList, 8 + 36));
    EXPECT_EQ(0U, LoadAt<uint32_t>(pvList, 48));
    EXPECT_EQ(3U, LoadAt<uint32_t>(pvList, 52));
    EXPECT_EQ(4U, LoadAt<uint32_t>(pvList, 56));
    EXPECT_EQ(1U, LoadAt<uint32_t>(pvList, 60));
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

TEST_F(CListBaseLayout, SlotsAreDestructorConstructConstructFromDestruct)
{
    CListBase list(4, &m_source);
    EXPECT_EQ(0, OffsetToTop(&list));
    EXPECT_TRUE(HasSlots(&list, {"_ZN9CListBaseD1Ev", "_ZN9CListBaseD0Ev", "_ZN9CListBase9ConstructEPv",
                                 "_ZN9CListBase13ConstructFromEPvPKv", "_ZN9CListBase8DestructEPv"}));
}

TEST_F(CListBaseLayout, TheBasesElementOperationsDoNothing)
{
    CListBase list(4, &m_source);
    int nElement = 5;
    const int nSource = 6;
    list.CListBase::Construct(&nElement);
    list.CListBase::ConstructFrom(&nElement, &nSource);
    list.CListBase::Destruct(&nElement);
    EXPECT_EQ(5, nElement);
}

TEST_F(CListBaseLayout, TheLibraryCallsTheElementOperationsOfAProgramsClass)
{
    CIntList list(&m_source);
    ASSERT_EQ(eOK, list.Insert(0, 2, nullptr));
    list.Fill({4});
    list.Erase(1, 1);
    EXPECT_EQ((Ints{CIntList::g_nMADE, 4}), LinkedInts(list));
    EXPECT_EQ(2U, list.m_uMade);
    EXPECT_EQ(1U, list.m_uCopied);
    EXPECT_EQ(1U, list.m_uDestroyed);
}

TEST_F(CListBaseLayout, AChangedLockIsSeenByTheLibrary)
{
    CListBase list(4, &m_source);
    list.m_uLockCapacity = 1;
    EXPECT_EQ(eINVALID_STATE, list.ReserveCapacity(1));
    EXPECT_EQ(eINVALID_STATE, list.ReduceCapacity(0));
    EXPECT_EQ(eINVALID_STATE, list.Insert(0, 1, nullptr));
}

TEST_F(CListBaseLayout, ADestructorThroughItsSlotGivesTheNodesBack)
{
    CListBase* const pList = new CListBase(4, &m_source);
    ASSERT_EQ(eOK, pList->Insert(0, 3, nullptr));
    delete pList;
    EXPECT_EQ(0U, m_source.m_uOut);
}

TEST_F(CListBaseLayout, ADestructorClearsTheElementSize)
{
    const CRemains<CListBase> list(4U, static_cast<IAllocator*>(&m_source));
    EXPECT_EQ(0U, list.At(&CListBase::m_uElementSize));
}

TEST_F(CListBaseInterface, TakesItsNodesFromTheGivenSource)
{
    const CBlockAllocator nodes(20, &m_source);
    CListBase list(4, nodes);
    EXPECT_TRUE(list.m_nodeAllocator == nodes);
    EXPECT_EQ(20U, list.m_nodeAllocator.m_uBlockSize);
    EXPECT_EQ(DefaultAllocator(), CListBase(4, static_cast<IAllocator*>(nullptr)).m_nodeAllocator.m_pAllocator);
}

TEST_F(CListBaseInterface, CapacityIsTheSizeAndTheFreeNodes)
{
    CIntList list(&m_source);
    list.Fill({1, 2});
    ASSERT_EQ(eOK, list.ReserveCapacity(5));
    EXPECT_EQ(3U, m_source.m_uLastCount);
    EXPECT_EQ(5U, list.GetCapacity());
    ASSERT_EQ(eOK, list.ReduceCapacity(3));
    EXPECT_EQ(3U, list.GetCapacity());
    list.EraseAll();
    EXPECT_EQ(3U, list.m_nodeAllocator.GetBlockCount());
    m_source.m_bRefusing = true;
    EXPECT_EQ(eOUT_OF_MEMORY, list.ReserveCapacity(4));
}

TEST_F(CListBaseInterface, IndexesSpanTheSize)
{
    CIntList list(&m_source);
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(0xFFFFFFFFU, list.GetLastIndex());
    list.Fill({1, 2, 3});
    EXPECT_FALSE(list.IsEmpty());
    EXPECT_EQ(3U, list.GetSize());
    EXPECT_EQ(0U, list.GetFirstIndex());
    EXPECT_EQ(2U, list.GetLastIndex());
    EXPECT_EQ(3U, list.GetEndIndex());
}

TEST_F(CListBaseInterface, LookUpMovesTheCache)
{
    CIntList list(&m_source);
    EXPECT_EQ(nullptr, list.Find(0).pNode);
    list.Fill({1, 2, 3, 4, 5});
    EXPECT_TRUE(HasCacheAt(list, 4));
    for (const unsigned int uIndex : {2U, 3U, 0U, 4U, 1U})
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
    ASSERT_EQ(eOK, list.Insert(1, 2, &nElement));
    EXPECT_TRUE(HasCacheAt(list, 2));
    EXPECT_EQ(eINVALID_ARGUMENT, list.Insert(6, 1, &nElement));
    EXPECT_EQ(eINVALID_ARGUMENT, list.Insert(6, other));
    ASSERT_EQ(eOK, list.Insert(2, other));
    EXPECT_EQ((Ints{8, 9, 1, 7, 7, 2, 3}), LinkedInts(list));
    *static_cast<int*>(list.Allocate(1)) = 5;
    EXPECT_TRUE(HasCacheAt(list, 1));
    EXPECT_EQ(nullptr, list.Allocate(9));
    EXPECT_EQ((Ints{8, 5, 9, 1, 7, 7, 2, 3}), LinkedInts(list));
}

TEST_F(CListBaseInterface, SortedInsertionKnowsEqualElements)
{
    CIntList list(&m_source);
    list.Fill({11, 22, 32, 43});
    int nKey = 52;
    ASSERT_EQ(eOK, list.InsertSorted(&nKey, CompareModulo, 10));
    EXPECT_EQ((Ints{11, 52, 22, 32, 43}), LinkedInts(list));
    void* pElement = nullptr;
    EXPECT_EQ(eINVALID_ARGUMENT, list.AllocateSorted(&nKey, CompareModulo, 10, nullptr));
    EXPECT_EQ(eALREADY_EXISTS, list.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
    nKey = 4;
    ASSERT_EQ(eOK, list.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
    EXPECT_EQ(&list.m_pTail->nElement, pElement);
    *static_cast<int*>(pElement) = nKey;
    m_source.m_bRefusing = true;
    nKey = 5;
    EXPECT_EQ(eFAIL, list.AllocateSorted(&nKey, CompareModulo, 10, &pElement));
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
    EXPECT_EQ(5U, list.GetCapacity());
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
    EXPECT_EQ(0U, list.m_uDestroyed);
}

TEST_F(CListBaseInterface, MovesNodesBetweenListsOfOneSource)
{
    CIntList list(&m_source);
    CIntList other(&m_source);
    list.Fill({1, 4});
    other.Fill({2, 3});
    const void* const pvTwo = other.GetAt(0);
    ASSERT_EQ(eOK, CListBase::Move(&list, 1, &other, 0, 1));
    EXPECT_EQ((Ints{1, 2, 4}), LinkedInts(list));
    EXPECT_EQ(Ints{3}, LinkedInts(other));
    EXPECT_EQ(pvTwo, list.GetAt(1));
    ASSERT_EQ(eOK, list.Merge(2, other));
    EXPECT_EQ((Ints{1, 2, 3, 4}), LinkedInts(list));
    EXPECT_TRUE(other.IsEmpty());
    other.Fill({9});
    ASSERT_EQ(eOK, list.Split(2, other));
    EXPECT_EQ((Ints{3, 4, 9}), LinkedInts(other));
    EXPECT_EQ((Ints{1, 2}), LinkedInts(list));
    EXPECT_EQ(eINVALID_ARGUMENT, list.Merge(3, other));
    EXPECT_EQ(eINVALID_ARGUMENT, list.Split(2, other));
    EXPECT_EQ(0U, list.m_uDestroyed + other.m_uDestroyed);
}

TEST_F(CListBaseInterface, CopiesBetweenListsOfDifferentSources)
{
    CIntList list(&m_source);
    CIntList other(static_cast<IAllocator*>(nullptr));
    other.Fill({1, 2, 3});
    ASSERT_EQ(eOK, CListBase::Copy(&list, 0, &other, 1, 2));
    ASSERT_EQ(eOK, CListBase::Copy(&list, 0, &other, 0, 0));
    EXPECT_EQ((Ints{2, 3}), LinkedInts(list));
    EXPECT_TRUE(HasCacheAt(list, 0));
    ASSERT_EQ(eOK, CListBase::Move(&list, 0, &other, 0, 1));
    EXPECT_EQ((Ints{1, 2, 3}), LinkedInts(list));
    EXPECT_EQ((Ints{2, 3}), LinkedInts(other));
    EXPECT_EQ(1U, other.m_uDestroyed);
    m_source.m_bRefusing = true;
    EXPECT_EQ(eOUT_OF_MEMORY, CListBase::Copy(&list, 0, &other, 0, 1));
    EXPECT_EQ(eOUT_OF_MEMORY, CListBase::Move(&list, 0, &other, 0, 1));
}

TEST_F(CListBaseInterface, SearchesWithTheCallersComparisonAndParameter)
{
    CIntList list(&m_source);
    list.Fill({21, 12, 42, 52, 33});
    const int nTwo = 2;
    const int nFour = 4;
    EXPECT_EQ(0U, list.GetMinElementIndex(CompareModulo, 10));
    EXPECT_EQ(4U, list.GetMaxElementIndex(CompareModulo, 10));
    EXPECT_EQ(3U, list.GetMaxElementIndex(CompareModulo, g_uWHOLE));
    EXPECT_EQ(1U, list.FindSorted(&nTwo, CompareModulo, 10));
    EXPECT_EQ(5U, list.FindSorted(&nFour, CompareModulo, 10));
    EXPECT_EQ(1U, list.InternalFindSorted(&nTwo, CompareModulo, 10));
    EXPECT_EQ(5U, list.InternalFindSorted(&nFour, CompareModulo, 10));
    EXPECT_EQ(2U, list.Find(2, &nTwo, CompareModulo, 10));
    EXPECT_EQ(5U, list.Find(9, &nTwo, CompareModulo, 10));
}

TEST_F(CListBaseInterface, ACopyHasTheElementSizeAndTheSourceAndAnAssignmentTheElements)
{
    CListBase untyped(4, &m_source);
    ASSERT_EQ(eOK, untyped.Insert(0, 2, nullptr));
    CGuarded<CListBase> copy(untyped);
    EXPECT_EQ(2U, copy->m_uSize);
    EXPECT_EQ(4U, copy->m_uElementSize);
    EXPECT_TRUE(copy->m_nodeAllocator == untyped.m_nodeAllocator);

    CIntList list(&m_source);
    CIntList assigned(static_cast<IAllocator*>(nullptr));
    list.Fill({1, 2});
    EXPECT_EQ(&assigned, &(assigned.CListBase::operator=(list)));
    EXPECT_EQ((Ints{1, 2}), LinkedInts(assigned));
}
