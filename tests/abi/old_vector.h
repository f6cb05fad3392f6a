#ifndef TESTS_ABI_OLD_VECTOR_H
#define TESTS_ABI_OLD_VECTOR_H
#include "tests/abi/compare.h"
#include "tests/abi/old_allocator.h"
#include "tests/abi/old_result.h"

class CVectorBase
{
public:
    CVectorBase(unsigned int uSizeOfElement, IAllocator* pAllocator);
    CVectorBase(unsigned int uSizeOfElement, bool bConstruct, IAllocator* pAllocator);
    CVectorBase(const CVectorBase& rSrc);
    virtual ~CVectorBase();
    virtual void Construct(void* pElement);
    virtual void ConstructFrom(void* pElement, const void* pSource);
    virtual void Destruct(void* pElement);

    CVectorBase& operator=(const CVectorBase& rSrc);
    bool operator==(const CVectorBase& rOther) const;
    bool operator!=(const CVectorBase& rOther) const;
    bool operator<(const CVectorBase& rOther) const;
    QvResult ReserveCapacity(unsigned int uCapacity);
    QvResult ReduceCapacity(unsigned int uCapacity);
    unsigned int GetCapacity() const;
    unsigned int GetLockCapacity() const;
    unsigned int GetSize() const;
    bool IsEmpty() const;
    unsigned int GetFirstIndex() const;
    unsigned int GetLastIndex() const;
    unsigned int GetEndIndex() const;
    QvResult Resize(unsigned int uSize);
    void* GetAt(unsigned int uIndex);
    const void* GetAt(unsigned int uIndex) const;
    void* GetAtInCapacity(unsigned int uIndex);
    const void* GetAtInCapacity(unsigned int uIndex) const;
    QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement);
    QvResult Insert(unsigned int uIndex, unsigned int uCount);
    QvResult Insert(unsigned int uIndex, const CVectorBase& rSrc);
    QvResult InsertSorted(const void* pElement, PFNCompare pfnCompare, unsigned int uParam);
    void* Allocate(unsigned int uIndex);
    QvResult AllocateSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam, void** ppElement);
    void Erase(unsigned int uIndex, unsigned int uCount);
    void Erase(unsigned int uIndex);
    void EraseAll();
    QvResult Merge(unsigned int uIndex, CVectorBase& rSrc);
    QvResult Split(unsigned int uIndex, CVectorBase& rDest);
    void Swap(unsigned int uIndex1, unsigned int uIndex2);
    static void Copy(CVectorBase* pDest, unsigned int uDestIndex, const CVectorBase* pSrc, unsigned int uSrcIndex,
                     unsigned int uCount);
    static void Move(CVectorBase* pDest, unsigned int uDestIndex, CVectorBase* pSrc, unsigned int uSrcIndex,
                     unsigned int uCount);
    void Sort(PFNCompare pfnCompare, unsigned int uParam);
    unsigned int Find(unsigned int uStartIndex, const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int FindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int GetMinElementIndex(PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int GetMaxElementIndex(PFNCompare pfnCompare, unsigned int uParam) const;
    unsigned int InternalFindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const;

    IAllocator* m_pAllocator;
    unsigned int m_uCapacity;
    unsigned int m_uLockCapacity;
    unsigned int m_uElementSize;
    unsigned int m_uSize;
    bool m_bConstruct;
    void* m_pvScratch;
    void* m_pvStorage;
};

template <typename T>
class CVector : public CVectorBase
{
public:
    CVector(IAllocator* pAllocator);
    CVector(bool bConstruct, IAllocator* pAllocator);
    ~CVector() override;
    void Construct(void* pElement) override;
    void ConstructFrom(void* pElement, const void* pSource) override;
    void Destruct(void* pElement) override;

    unsigned int GetCapacity() const;
    unsigned int GetLockCapacity() const;
    unsigned int GetSize() const;
    bool IsEmpty() const;
    unsigned int GetEndIndex() const;
    T& GetAt(unsigned int uIndex);
    const T& GetAt(unsigned int uIndex) const;
    QvResult ReserveCapacity(unsigned int uCapacity);
    QvResult ReduceCapacity(unsigned int uCapacity);
    QvResult Insert(unsigned int uIndex, unsigned int uCount);
    QvResult Insert(unsigned int uIndex, unsigned int uCount, const T& rElement);
    QvResult Append(const T& rElement);
    void Erase(unsigned int uIndex);
    void Erase(unsigned int uIndex, unsigned int uCount);
    void EraseAll();
};

// The library brings the functions of three instances; their users declare the other two.
extern template class CVector<void*>;

#endif
