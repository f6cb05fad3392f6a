#ifndef TESTS_ABI_OLD_VECTOR_LIST_H
#define TESTS_ABI_OLD_VECTOR_LIST_H
#include "tests/abi/ints.h"
#include "tests/abi/old_vector.h"

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

#endif
