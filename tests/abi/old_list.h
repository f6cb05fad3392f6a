#ifndef TESTS_ABI_OLD_LIST_H
#define TESTS_ABI_OLD_LIST_H
#include "tests/abi/compare.h"
#include "tests/abi/ints.h"
#include "tests/abi/old_allocator.h"

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

/// The elements along the next links; the previous links and the tail must say the same.
inline Ints LinkedInts(const CListBase& rList)
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

#endif
