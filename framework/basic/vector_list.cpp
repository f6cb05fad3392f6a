// Two levels. The order is a vector of addresses. Each element lies in a block of its own and stays there until it is
// erased; inserting, erasing, swapping and sorting move addresses only.
// ```
//   m_order, from the default allocator       [ o | o | o | spare | spare ]      its capacity and lock are the list's
//                                               |   |   |
//   blocks, from the source of the list        [b] [a] [c]      [free] -> [free]  free list of m_elementAllocator
// ```
// - Between two operations every slot below the size holds the address of an element. OpenSlots() inserts null slots,
//   and the operation that opened them fills them.
// - Memory comes from two places. An operation gets the slots and the blocks that it needs before it makes the first
//   element, and from there on nothing fails. Blocks reserved by an operation that is refused stay free.
// - The number of free blocks is independent of the capacity: ReserveCapacity() succeeds when only the order could
//   grow, and every insertion reserves its blocks itself.
// - Copy() and Move() overwrite addresses and destroy nothing at the destination. Move() between equal allocators
//   copies addresses only: until the caller removes the slots of the source, both orders refer to the same blocks.
//   Merge() and Split() remove them through m_order, whose elements are addresses, so that no element is destroyed.
#include "framework/basic/vector_list.h"

#include <limits.h>
#include <string.h>

#include <algorithm>
#include <new>
#include <utility>

#include "framework/basic/internal/grow_capacity.h"
#include "framework/kernel/internal/keep_stores.h"

static_assert(sizeof(CVListBase) == 112, "field order and widths are the binary interface");

using orvel_internal::GrowCapacity;
using orvel_internal::SComparison;

namespace
{
// The name of the class in the message when it is used before start-up or after shut-down.
constexpr const char* g_szCLASS = "CVList";
}  // namespace

CVListBase::CVListBase(unsigned int uSizeOfElement, IAllocator* pAllocator)
    : m_elementAllocator(uSizeOfElement, CDefaultAllocator::OrDefault(pAllocator, g_szCLASS)),
      m_uElementSize(uSizeOfElement),
      m_order(false, CDefaultAllocator::OrDefault(nullptr, g_szCLASS))
{
}

CVListBase::CVListBase(unsigned int uSizeOfElement, const CBlockAllocator& rAllocator)
    : m_elementAllocator(rAllocator, uSizeOfElement),
      m_uElementSize(uSizeOfElement),
      m_order(false, CDefaultAllocator::OrDefault(nullptr, g_szCLASS))
{
}

// Unlike in the constructors above, the order is made with its construction flag set, so that it handles addresses
// through the element operations and not as bytes: the flag is visible in the object, so this is kept, and pinned by
// CVList.OnlyACopysOrderConstructsItsSlots.
CVListBase::CVListBase(const CVListBase& rSrc)
    : m_elementAllocator(rSrc.m_elementAllocator),
      m_uElementSize(rSrc.m_uElementSize),
      m_order(CDefaultAllocator::OrDefault(nullptr, g_szCLASS))
{
    CVListBase::operator=(rSrc);
}

CVListBase::~CVListBase()
{
    EraseAll();
    m_uElementSize = 0;
    orvel_internal::KeepStoresTo(this);
}

CVListBase& CVListBase::operator=(const CVListBase& rSrc)
{
    if (this == &rSrc || m_uElementSize != rSrc.m_uElementSize) return *this;
    const unsigned int uCount = rSrc.GetSize();
    if (ReserveCapacity(uCount) < 0) return *this;
    // The blocks of the erased elements are used again for the copies: only the missing ones are reserved.
    if (!m_elementAllocator.Reserve(std::max(uCount, GetSize()) - GetSize())) return *this;
    EraseAll();
    OpenSlots(0, uCount);
    static_cast<void>(Copy(this, 0, &rSrc, 0, uCount));
    return *this;
}

QvResult CVListBase::ReserveCapacity(unsigned int uCapacity)
{
    const QvResult res = m_order.ReserveCapacity(uCapacity);
    if (res >= 0) m_elementAllocator.Reserve(GetCapacity() - GetSize());
    return res;
}

QvResult CVListBase::ReduceCapacity(unsigned int uCapacity)
{
    const QvResult res = m_order.ReduceCapacity(uCapacity);
    if (res >= 0) m_elementAllocator.Reduce(GetCapacity() - GetSize());
    return res;
}

unsigned int CVListBase::GetCapacity() const
{
    return m_order.GetCapacity();
}

unsigned int CVListBase::GetLockCapacity() const
{
    return m_order.GetLockCapacity();
}

void CVListBase::SetLockCapacity(unsigned int uLockCapacity)
{
    m_order.SetLockCapacity(uLockCapacity);
}

unsigned int CVListBase::GetSize() const
{
    return m_order.GetSize();
}

bool CVListBase::IsEmpty() const
{
    return GetSize() == 0;
}

unsigned int CVListBase::GetFirstIndex() const
{
    return 0;
}

unsigned int CVListBase::GetLastIndex() const
{
    return GetSize() - 1;
}

unsigned int CVListBase::GetEndIndex() const
{
    return GetSize();
}

void* CVListBase::GetAt(unsigned int uIndex)
{
    return uIndex < m_order.GetSize() ? m_order[uIndex] : nullptr;
}

const void* CVListBase::GetAt(unsigned int uIndex) const
{
    return uIndex < m_order.GetSize() ? m_order[uIndex] : nullptr;
}

QvResult CVListBase::Insert(unsigned int uIndex, unsigned int uCount, const void* pElement)
{
    if (uIndex > GetSize()) return QV_RES_INVALID_ARGUMENT;
    if (uCount != 1 || !m_elementAllocator.HasFree() || GetSize() == GetCapacity())
    {
        return InsertReserving(uIndex, uCount, pElement);
    }
    // A free block and a spare slot are there: nothing can fail, and the slot need not be set to null first.
    m_order.Allocate(uIndex);
    FillSlot(uIndex, pElement);
    return QV_RES_OK;
}

QvResult CVListBase::Insert(unsigned int uIndex, const CVListBase& rSrc)
{
    if (m_uElementSize != rSrc.m_uElementSize || uIndex > GetSize()) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uCount = rSrc.GetSize();
    const QvResult res = GrowCapacity(*this, size_t{GetSize()} + uCount);
    if (res < 0) return res;
    if (!m_elementAllocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
    OpenSlots(uIndex, uCount);
    // If the source is this vector-list, the gap has split it: what was behind uIndex is now uCount slots further on.
    const unsigned int uBeforeGap = &rSrc == this ? uIndex : uCount;
    static_cast<void>(Copy(this, uIndex, &rSrc, 0, uBeforeGap));
    static_cast<void>(Copy(this, uIndex + uBeforeGap, &rSrc, uIndex + uCount, uCount - uBeforeGap));
    return res;
}

QvResult CVListBase::InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam)
{
    return Insert(InternalFindSorted(pElement, pfnCompare, uParam), 1, pElement);
}

void* CVListBase::Allocate(unsigned int uIndex)
{
    void* const pBlock = m_elementAllocator.Pop();
    if (pBlock == nullptr) return nullptr;
    if (m_order.Insert(uIndex, 1, pBlock) >= 0) return pBlock;
    m_elementAllocator.Push(pBlock);
    return nullptr;
}

QvResult CVListBase::AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam,
                                    void** ppElement)
{
    return orvel_internal::AllocateSorted(*this, SearchWith(SComparison{pfnCompare, uParam}), pKey, ppElement);
}

void CVListBase::Erase(unsigned int uIndex, unsigned int uCount)
{
    if (uIndex >= GetSize()) return;
    uCount = std::min(uCount, GetSize() - uIndex);
    for (unsigned int uErased = 0; uErased < uCount; ++uErased) DiscardBlock(m_order[uIndex + uErased]);
    m_order.Erase(uIndex, uCount);
}

void CVListBase::Erase(unsigned int uIndex)
{
    Erase(uIndex, 1);
}

void CVListBase::EraseAll()
{
    Erase(0, GetSize());
}

void CVListBase::Swap(unsigned int uIndex1, unsigned int uIndex2)
{
    if (uIndex1 < GetSize() && uIndex2 < GetSize()) std::swap(m_order[uIndex1], m_order[uIndex2]);
}

QvResult CVListBase::Copy(CVListBase* pDest, unsigned int uDestIndex, const CVListBase* pSrc, unsigned int uSrcIndex,
                          unsigned int uCount)
{
    if (uCount == 0) return QV_RES_OK;
    if (!pDest->HasRoomFor(uDestIndex, *pSrc, uSrcIndex, uCount)) return QV_RES_INVALID_ARGUMENT;
    if (!pDest->m_elementAllocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
    for (unsigned int uCopied = 0; uCopied < uCount; ++uCopied)
    {
        void* const pBlock = pDest->m_elementAllocator.Pop();
        pDest->m_order[uDestIndex + uCopied] = pBlock;
        pDest->ConstructFrom(pBlock, pSrc->m_order[uSrcIndex + uCopied]);
    }
    return QV_RES_OK;
}

QvResult CVListBase::Move(CVListBase* pDest, unsigned int uDestIndex, CVListBase* pSrc, unsigned int uSrcIndex,
                          unsigned int uCount)
{
    if (uCount == 0) return QV_RES_OK;
    if (!pDest->HasRoomFor(uDestIndex, *pSrc, uSrcIndex, uCount)) return QV_RES_INVALID_ARGUMENT;
    if (pDest->m_elementAllocator == pSrc->m_elementAllocator)
    {
        memmove(&pDest->m_order[uDestIndex], &pSrc->m_order[uSrcIndex], uCount * sizeof(void*));
        return QV_RES_OK;
    }
    if (!pDest->m_elementAllocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
    for (unsigned int uMoved = 0; uMoved < uCount; ++uMoved)
    {
        void* const pFrom = pSrc->m_order[uSrcIndex + uMoved];
        void* const pBlock = pDest->m_elementAllocator.Pop();
        pDest->ConstructFrom(pBlock, pFrom);
        pDest->m_order[uDestIndex + uMoved] = pBlock;
        pSrc->DiscardBlock(pFrom);
    }
    return QV_RES_OK;
}

QvResult CVListBase::Merge(unsigned int uIndex, CVListBase& rSrc)
{
    if (&rSrc == this || m_uElementSize != rSrc.m_uElementSize || uIndex > GetSize()) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uCount = rSrc.GetSize();
    const QvResult res = GrowCapacity(*this, size_t{GetSize()} + uCount);
    if (res < 0) return res;
    if (!ReserveBlocksFor(0, rSrc, uCount)) return QV_RES_OUT_OF_MEMORY;
    OpenSlots(uIndex, uCount);
    static_cast<void>(Move(this, uIndex, &rSrc, 0, uCount));
    rSrc.m_order.EraseAll();
    return res;
}

QvResult CVListBase::Split(unsigned int uIndex, CVListBase& rDest)
{
    if (&rDest == this || m_uElementSize != rDest.m_uElementSize || uIndex >= GetSize()) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uCount = GetSize() - uIndex;
    const QvResult res = GrowCapacity(rDest, uCount);
    if (res < 0) return res;
    if (!rDest.ReserveBlocksFor(rDest.GetSize(), *this, uCount)) return QV_RES_OUT_OF_MEMORY;
    rDest.EraseAll();
    rDest.OpenSlots(0, uCount);
    static_cast<void>(Move(&rDest, 0, this, uIndex, uCount));
    m_order.Erase(uIndex, uCount);
    return res;
}

QV_CACHE_LINE_ALIGNED void CVListBase::Sort(PFNCompareElements pfnCompare, unsigned int uParam)
{
    SortElements(SComparison{pfnCompare, uParam});
}

unsigned int CVListBase::Find(unsigned int uStartIndex, const void* pKey, PFNCompareElements pfnCompare,
                              unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).Find(uStartIndex, pKey);
}

unsigned int CVListBase::FindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).FindSorted(pKey);
}

unsigned int CVListBase::InternalFindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).LowerBound(pKey);
}

unsigned int CVListBase::GetMinElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).MinIndex();
}

unsigned int CVListBase::GetMaxElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).MaxIndex();
}

void CVListBase::Construct(void*)
{
}

void CVListBase::ConstructFrom(void*, const void*)
{
}

void CVListBase::Destruct(void*)
{
}

void CVListBase::ExchangeContents(CVListBase& rOther)
{
    m_elementAllocator.Exchange(rOther.m_elementAllocator);
    m_order = std::move(rOther.m_order);  // an exchange, too
}

// Whether the slots and elements that Copy() and Move() are given exist.
bool CVListBase::HasRoomFor(unsigned int uDestIndex, const CVListBase& rSrc, unsigned int uSrcIndex,
                            unsigned int uCount) const
{
    return m_uElementSize == rSrc.m_uElementSize && size_t{uDestIndex} + uCount <= GetSize() &&
           size_t{uSrcIndex} + uCount <= rSrc.GetSize();
}

QvResult CVListBase::InsertReserving(unsigned int uIndex, unsigned int uCount, const void* pElement)
{
    // Refused before the allocator is asked, which could spend a long time on so many blocks in vain.
    if (size_t{GetSize()} + uCount > UINT_MAX / sizeof(void*)) return QV_RES_OUT_OF_MEMORY;
    if (!m_elementAllocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
    const QvResult res = OpenSlots(uIndex, uCount);
    for (unsigned int uNew = 0; res >= 0 && uNew < uCount; ++uNew) FillSlot(uIndex + uNew, pElement);
    return res;
}

QvResult CVListBase::OpenSlots(unsigned int uIndex, unsigned int uCount)
{
    return m_order.Insert(uIndex, uCount, nullptr);
}

// Makes the element of a slot in a free block; the caller has reserved one.
inline void CVListBase::FillSlot(unsigned int uIndex, const void* pElement)
{
    void* const pBlock = m_elementAllocator.Pop();
    if (pElement != nullptr) ConstructFrom(pBlock, pElement);
    else Construct(pBlock);
    m_order[uIndex] = pBlock;
}

// Reserves the blocks for uCount elements that come from rSrc; none if their own blocks can be taken over. The blocks
// of uElementsToReplace elements, which are erased later, count as free.
bool CVListBase::ReserveBlocksFor(unsigned int uElementsToReplace, const CVListBase& rSrc, unsigned int uCount)
{
    if (m_elementAllocator == rSrc.m_elementAllocator) return true;
    return m_elementAllocator.Reserve(std::max(uCount, uElementsToReplace) - uElementsToReplace);
}

void CVListBase::DiscardBlock(void* pBlock)
{
    Destruct(pBlock);
    IAllocator::SBlock* const pFree = new (pBlock) IAllocator::SBlock{nullptr};
    m_elementAllocator.PushChain(pFree, pFree, 1);
}
