#include "framework/basic/vector.h"

#include <limits.h>

#include <algorithm>

#include "framework/basic/internal/grow_capacity.h"
#include "framework/kernel/internal/is_within.h"
#include "framework/kernel/internal/keep_stores.h"

static_assert(sizeof(CVectorBase) == 56, "field order and widths are the binary interface");

template class CVector<void*>;

using orvel_internal::GrowCapacity;
using orvel_internal::SComparison;

CVectorBase::CVectorBase(unsigned int uSizeOfElement, IAllocator* pAllocator)
    : CVectorBase(uSizeOfElement, true, pAllocator)
{
}

CVectorBase::CVectorBase(unsigned int uSizeOfElement, bool bConstruct, IAllocator* pAllocator)
    : m_pAllocator(CDefaultAllocator::OrDefault(pAllocator, "CVector")),
      m_uCapacity(0),
      m_uLockCapacity(0),
      m_uElementSize(uSizeOfElement),
      m_uSize(0),
      m_bConstruct(bConstruct),
      m_pvScratch(::operator new[](uSizeOfElement)),
      m_pvStorage(nullptr)
{
}

CVectorBase::CVectorBase(const CVectorBase& rSrc)
    : CVectorBase(rSrc.m_uElementSize, rSrc.m_bConstruct, rSrc.m_pAllocator)
{
    static_cast<void>(ReserveCapacity(rSrc.m_uCapacity));  // without it the assignment finds no room, either
    m_uLockCapacity = rSrc.m_uLockCapacity;
    CVectorBase::operator=(rSrc);
}

CVectorBase::~CVectorBase()
{
    EraseAll();
    ::operator delete[](m_pvScratch);
    m_uLockCapacity = 0;
    ReduceCapacity(0);
    m_uElementSize = 0;
    orvel_internal::KeepStoresTo(this);
}

CVectorBase& CVectorBase::operator=(const CVectorBase& rSrc)
{
    if (this == &rSrc || m_uElementSize != rSrc.m_uElementSize) return *this;
    if (ReserveCapacity(rSrc.m_uSize) < 0) return *this;
    EraseAll();
    Copy(this, 0, &rSrc, 0, rSrc.m_uSize);
    m_uSize = rSrc.m_uSize;
    return *this;
}

bool CVectorBase::operator==(const CVectorBase& rOther) const
{
    return !(*this != rOther);
}

bool CVectorBase::operator!=(const CVectorBase& rOther) const
{
    if (this == &rOther) return false;
    if (m_uElementSize != rOther.m_uElementSize || m_uSize != rOther.m_uSize) return true;
    return m_uSize != 0 && memcmp(m_pvStorage, rOther.m_pvStorage, BytesOf(m_uSize)) != 0;
}

bool CVectorBase::operator<(const CVectorBase& rOther) const
{
    if (this == &rOther) return false;
    if (m_pvStorage == nullptr) return rOther.m_uSize != 0;
    if (rOther.m_pvStorage == nullptr) return false;
    // Elements of another size are compared, too, but not beyond their end.
    const size_t uCommon = std::min(BytesOf(std::min(m_uSize, rOther.m_uSize)), rOther.BytesOf(rOther.m_uSize));
    return memcmp(m_pvStorage, rOther.m_pvStorage, uCommon) < 0 || m_uSize < rOther.m_uSize;
}

QvResult CVectorBase::ReserveCapacity(unsigned int uCapacity)
{
    if (m_uCapacity >= uCapacity) return QV_RES_OK;
    if (m_uLockCapacity != 0) return QV_RES_INVALID_STATE;
    void* pvStorage = nullptr;
    const QvResult res = AllocateStorage(uCapacity, pvStorage);
    if (res >= 0) ReplaceStorage(pvStorage, uCapacity);
    return res;
}

QvResult CVectorBase::ReduceCapacity(unsigned int uCapacity)
{
    if (m_uLockCapacity != 0) return QV_RES_INVALID_STATE;
    const unsigned int uTarget = std::max(uCapacity, m_uSize);
    if (uTarget >= m_uCapacity) return QV_RES_OK;
    void* pvStorage = nullptr;
    const QvResult res = uTarget != 0 ? AllocateStorage(uTarget, pvStorage) : QV_RES_OK;
    if (res >= 0) ReplaceStorage(pvStorage, uTarget);
    return res;
}

unsigned int CVectorBase::GetCapacity() const
{
    return m_uCapacity;
}

unsigned int CVectorBase::GetLockCapacity() const
{
    return m_uLockCapacity;
}

void CVectorBase::SetLockCapacity(unsigned int uLockCapacity)
{
    m_uLockCapacity = uLockCapacity;
}

unsigned int CVectorBase::GetSize() const
{
    return m_uSize;
}

bool CVectorBase::IsEmpty() const
{
    return GetSize() == 0;
}

unsigned int CVectorBase::GetFirstIndex() const
{
    return 0;
}

unsigned int CVectorBase::GetLastIndex() const
{
    return GetSize() - 1;
}

unsigned int CVectorBase::GetEndIndex() const
{
    return GetSize();
}

QvResult CVectorBase::Resize(unsigned int uSize)
{
    if (uSize > m_uCapacity) return QV_RES_INVALID_ARGUMENT;
    m_uSize = uSize;
    return QV_RES_OK;
}

void* CVectorBase::GetAt(unsigned int uIndex)
{
    return uIndex < m_uSize ? SlotAt(uIndex) : nullptr;
}

const void* CVectorBase::GetAt(unsigned int uIndex) const
{
    return uIndex < m_uSize ? SlotAt(uIndex) : nullptr;
}

void* CVectorBase::GetAtInCapacity(unsigned int uIndex)
{
    return uIndex < m_uCapacity ? SlotAt(uIndex) : nullptr;
}

const void* CVectorBase::GetAtInCapacity(unsigned int uIndex) const
{
    return uIndex < m_uCapacity ? SlotAt(uIndex) : nullptr;
}

QvResult CVectorBase::Insert(unsigned int uIndex, unsigned int uCount, const void* pElement)
{
    if (uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
    const bool bOwnElement = HoldsAddress(pElement);
    if (bOwnElement)
    {
        // The element is about to move, perhaps into other storage: insert a copy of it.
        if (m_bConstruct) ConstructFrom(m_pvScratch, pElement);
        else memcpy(m_pvScratch, pElement, m_uElementSize);
        pElement = m_pvScratch;
    }
    const QvResult res = GrowCapacity(*this, size_t{m_uSize} + uCount);
    if (res >= 0)
    {
        MoveTail(uIndex + uCount, uIndex);
        m_uSize += uCount;
        FillSlots(uIndex, uCount, pElement);
    }
    if (bOwnElement && m_bConstruct) Destruct(m_pvScratch);
    return res;
}

QvResult CVectorBase::Insert(unsigned int uIndex, unsigned int uCount)
{
    return Insert(uIndex, uCount, nullptr);
}

QvResult CVectorBase::Insert(unsigned int uIndex, const CVectorBase& rSrc)
{
    if (uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uCount = rSrc.m_uSize;
    const QvResult res = GrowCapacity(*this, size_t{m_uSize} + uCount);
    if (res < 0) return res;
    MoveTail(uIndex + uCount, uIndex);
    // If the source is this vector, the gap has split it: what was behind uIndex is now uCount slots further on.
    const unsigned int uBeforeGap = &rSrc == this ? uIndex : uCount;
    Copy(this, uIndex, &rSrc, 0, uBeforeGap);
    Copy(this, uIndex + uBeforeGap, &rSrc, uIndex + uCount, uCount - uBeforeGap);
    m_uSize += uCount;
    return res;
}

QvResult CVectorBase::InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam)
{
    return Insert(InternalFindSorted(pElement, pfnCompare, uParam), 1, pElement);
}

void* CVectorBase::Allocate(unsigned int uIndex)
{
    if (uIndex > m_uSize || GrowCapacity(*this, size_t{m_uSize} + 1) < 0) return nullptr;
    MoveTail(uIndex + 1, uIndex);
    ++m_uSize;
    return SlotAt(uIndex);
}

QvResult CVectorBase::AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam,
                                     void** ppElement)
{
    return orvel_internal::AllocateSorted(*this, SearchWith(SComparison{pfnCompare, uParam}), pKey, ppElement);
}

void CVectorBase::Erase(unsigned int uIndex, unsigned int uCount)
{
    if (uIndex >= m_uSize) return;
    uCount = std::min(uCount, m_uSize - uIndex);
    if (m_bConstruct)
    {
        for (unsigned int uErased = 0; uErased < uCount; ++uErased) Destruct(SlotAt(uIndex + uErased));
    }
    MoveTail(uIndex, uIndex + uCount);
    m_uSize -= uCount;
}

void CVectorBase::Erase(unsigned int uIndex)
{
    Erase(uIndex, 1);
}

void CVectorBase::EraseAll()
{
    Erase(0, m_uSize);
}

QvResult CVectorBase::Merge(unsigned int uIndex, CVectorBase& rSrc)
{
    if (&rSrc == this || m_uElementSize != rSrc.m_uElementSize || uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uCount = rSrc.m_uSize;
    const QvResult res = GrowCapacity(*this, size_t{m_uSize} + uCount);
    if (res < 0) return res;
    MoveTail(uIndex + uCount, uIndex);
    Move(this, uIndex, &rSrc, 0, uCount);
    m_uSize += uCount;
    rSrc.m_uSize = 0;
    return res;
}

QvResult CVectorBase::Split(unsigned int uIndex, CVectorBase& rDest)
{
    if (&rDest == this || m_uElementSize != rDest.m_uElementSize || uIndex >= m_uSize) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uCount = m_uSize - uIndex;
    const QvResult res = GrowCapacity(rDest, uCount);
    if (res < 0) return res;
    rDest.EraseAll();
    Move(&rDest, 0, this, uIndex, uCount);
    rDest.m_uSize = uCount;
    m_uSize = uIndex;
    return res;
}

void CVectorBase::Swap(unsigned int uIndex1, unsigned int uIndex2)
{
    if (uIndex1 == uIndex2 || uIndex1 >= m_uSize || uIndex2 >= m_uSize) return;
    void* const pFirst = SlotAt(uIndex1);
    void* const pSecond = SlotAt(uIndex2);
    if (m_bConstruct)
    {
        ConstructFrom(m_pvScratch, pFirst);
        Destruct(pFirst);
        ConstructFrom(pFirst, pSecond);
        Destruct(pSecond);
        ConstructFrom(pSecond, m_pvScratch);
        Destruct(m_pvScratch);
    }
    else
    {
        memcpy(m_pvScratch, pFirst, m_uElementSize);
        memcpy(pFirst, pSecond, m_uElementSize);
        memcpy(pSecond, m_pvScratch, m_uElementSize);
    }
}

namespace
{
// Fills uBytes with copies of the uElementSize bytes at pElement, which lie elsewhere, or with zeros if it is null.
void FillBytes(unsigned char* puFirst, size_t uBytes, const void* pElement, size_t uElementSize)
{
    if (uBytes == 0) return;
    if (pElement == nullptr) memset(puFirst, 0, uBytes);
    else if (uElementSize == 1) memset(puFirst, *static_cast<const unsigned char*>(pElement), uBytes);
    else
    {
        memcpy(puFirst, pElement, uElementSize);
        // Copies what is filled already behind itself, so that each copy doubles it.
        for (size_t uFilled = uElementSize; uFilled < uBytes; uFilled *= 2)
        {
            memcpy(puFirst + uFilled, puFirst, std::min(uFilled, uBytes - uFilled));
        }
    }
}

// Whether moving uCount elements up within one vector must begin with the last, so that none is overwritten unread.
bool MustRunBackwards(bool bSameVector, unsigned int uDest, unsigned int uSrc, unsigned int uCount)
{
    return bSameVector && uSrc < uDest && size_t{uSrc} + uCount >= uDest;
}

template <typename Step>
void ForEachOffset(unsigned int uCount, bool bBackwards, Step step)
{
    for (unsigned int uDone = 0; uDone < uCount; ++uDone) step(bBackwards ? uCount - 1 - uDone : uDone);
}
}  // namespace

void CVectorBase::Copy(CVectorBase* pDest, unsigned int uDestIndex, const CVectorBase* pSrc, unsigned int uSrcIndex,
                       unsigned int uCount)
{
    const bool bSame = pDest == pSrc;
    if (uCount == 0 || (bSame && uDestIndex == uSrcIndex)) return;
    if (!pDest->m_bConstruct) memmove(pDest->SlotAt(uDestIndex), pSrc->SlotAt(uSrcIndex), pDest->BytesOf(uCount));
    else
    {
        ForEachOffset(uCount, MustRunBackwards(bSame, uDestIndex, uSrcIndex, uCount),
                      [&](unsigned int uOffset) {
                          pDest->ConstructFrom(pDest->SlotAt(uDestIndex + uOffset), pSrc->SlotAt(uSrcIndex + uOffset));
                      });
    }
}

void CVectorBase::Move(CVectorBase* pDest, unsigned int uDestIndex, CVectorBase* pSrc, unsigned int uSrcIndex,
                       unsigned int uCount)
{
    if (!pDest->m_bConstruct)
    {
        Copy(pDest, uDestIndex, pSrc, uSrcIndex, uCount);
        return;
    }
    const bool bSame = pDest == pSrc;
    if (bSame && uDestIndex == uSrcIndex) return;
    ForEachOffset(uCount, MustRunBackwards(bSame, uDestIndex, uSrcIndex, uCount),
                  [&](unsigned int uOffset)
                  {
                      void* const pFrom = pSrc->SlotAt(uSrcIndex + uOffset);
                      pDest->ConstructFrom(pDest->SlotAt(uDestIndex + uOffset), pFrom);
                      pSrc->Destruct(pFrom);
                  });
}

void CVectorBase::Move(CVectorBase* pDest, unsigned int uDestIndex, const CVectorBase* pSrc, unsigned int uSrcIndex,
                       unsigned int uCount)
{
    Move(pDest, uDestIndex, const_cast<CVectorBase*>(pSrc), uSrcIndex, uCount);
}

QV_CACHE_LINE_ALIGNED void CVectorBase::Sort(PFNCompareElements pfnCompare, unsigned int uParam)
{
    SortElements(SComparison{pfnCompare, uParam});
}

unsigned int CVectorBase::Find(unsigned int uStartIndex, const void* pKey, PFNCompareElements pfnCompare,
                               unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).Find(uStartIndex, pKey);
}

unsigned int CVectorBase::FindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).FindSorted(pKey);
}

unsigned int CVectorBase::InternalFindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).LowerBound(pKey);
}

unsigned int CVectorBase::GetMinElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).MinIndex();
}

unsigned int CVectorBase::GetMaxElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).MaxIndex();
}

void CVectorBase::Construct(void*)
{
}

void CVectorBase::ConstructFrom(void*, const void*)
{
}

void CVectorBase::Destruct(void*)
{
}

void CVectorBase::ExchangeContents(CVectorBase& rOther)
{
    using Vector = CVectorBase;
    orvel_internal::ExchangeMembers(*this, rOther, &Vector::m_pAllocator, &Vector::m_uCapacity,
                                    &Vector::m_uLockCapacity, &Vector::m_uSize, &Vector::m_bConstruct,
                                    &Vector::m_pvStorage);
}

unsigned char* CVectorBase::SlotAt(unsigned int uIndex) const
{
    return static_cast<unsigned char*>(m_pvStorage) + BytesOf(uIndex);
}

size_t CVectorBase::BytesOf(unsigned int uCount) const
{
    return size_t{uCount} * m_uElementSize;
}

bool CVectorBase::HoldsAddress(const void* pv) const
{
    return pv != nullptr && orvel_internal::IsWithin(pv, m_pvStorage, BytesOf(m_uCapacity));
}

// Moves all elements from uSrcIndex on. Bytes do not go through Move(), whose checks cost as much as moving a few of
// them.
inline void CVectorBase::MoveTail(unsigned int uDestIndex, unsigned int uSrcIndex)
{
    const unsigned int uCount = m_uSize - uSrcIndex;
    if (m_bConstruct) Move(this, uDestIndex, this, uSrcIndex, uCount);
    else if (uCount != 0) memmove(SlotAt(uDestIndex), SlotAt(uSrcIndex), BytesOf(uCount));
}

QvResult CVectorBase::AllocateStorage(unsigned int uCapacity, void*& rpvStorage)
{
    const size_t uBytes = std::max(sizeof(IAllocator::SBlock), BytesOf(uCapacity));
    if (uBytes > UINT_MAX) return QV_RES_OUT_OF_MEMORY;
    rpvStorage = m_pAllocator->Allocate(1, static_cast<unsigned int>(uBytes), nullptr);
    return rpvStorage != nullptr ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
}

void CVectorBase::ReplaceStorage(void* pvStorage, unsigned int uCapacity)
{
    if (m_pvStorage != nullptr)
    {
        void* const pvOld = m_pvStorage;
        if (!m_bConstruct && m_uSize != 0) memcpy(pvStorage, pvOld, BytesOf(m_uSize));
        for (unsigned int uIndex = 0; m_bConstruct && uIndex < m_uSize; ++uIndex)
        {
            ConstructFrom(static_cast<unsigned char*>(pvStorage) + BytesOf(uIndex), SlotAt(uIndex));
            Destruct(SlotAt(uIndex));
        }
        m_pAllocator->Release(new (pvOld) IAllocator::SBlock{nullptr}, static_cast<unsigned int>(BytesOf(m_uCapacity)));
    }
    m_pvStorage = pvStorage;
    m_uCapacity = uCapacity;
}

void CVectorBase::FillSlots(unsigned int uIndex, unsigned int uCount, const void* pElement)
{
    if (!m_bConstruct) FillBytes(SlotAt(uIndex), BytesOf(uCount), pElement, m_uElementSize);
    else if (pElement != nullptr)
    {
        for (unsigned int uNew = 0; uNew < uCount; ++uNew) ConstructFrom(SlotAt(uIndex + uNew), pElement);
    }
    else
    {
        for (unsigned int uNew = 0; uNew < uCount; ++uNew) Construct(SlotAt(uIndex + uNew));
    }
}
