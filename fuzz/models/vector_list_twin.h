#ifndef FUZZ_MODELS_VECTOR_LIST_TWIN_H
#define FUZZ_MODELS_VECTOR_LIST_TWIN_H
#include <algorithm>
#include <cstdint>
#include <vector>

#include "framework/kernel/result.h"
#include "fuzz/models/block_allocator_twin.h"
#include "fuzz/models/ordered_twin.h"
#include "fuzz/models/trace.h"

namespace twin
{
using PFNCompare = int (*)(const void*, const void*, unsigned int);

/// CVListBase once more. The order has exact capacities, and memory without end for what 32 bits can count.
class CVectorListTwin
{
public:
    using BlockAllocator = CBlockAllocatorTwin;

    CVectorListTwin(CTrace& rTrace, unsigned int uElementSize, IAllocator* pSource)
        : m_pTrace(&rTrace), m_allocator(uElementSize, pSource), m_uElementSize(uElementSize)
    {
    }
    CVectorListTwin(CTrace& rTrace, unsigned int uElementSize, const CBlockAllocatorTwin& rAllocator)
        : m_pTrace(&rTrace), m_allocator(rAllocator, uElementSize), m_uElementSize(uElementSize)
    {
    }
    /// A copy of the class itself: its element operations do nothing.
    CVectorListTwin(const CVectorListTwin& rSrc)
        : m_pTrace(nullptr), m_allocator(rSrc.m_allocator), m_uElementSize(rSrc.m_uElementSize)
    {
        Assign(rSrc);
    }
    ~CVectorListTwin() { EraseAll(); }

    void Assign(const CVectorListTwin& rSrc)
    {
        if (&rSrc == this) return;  // a copy of itself, erased and copied back
        if (m_uElementSize != rSrc.m_uElementSize) return;
        if (m_uLock != 0 && m_uCapacity < rSrc.GetSize()) return;
        if (ReserveCapacity(rSrc.GetSize()) != QV_RES_OK) return;
        // All blocks before anything changes; those of the own elements are about to be free.
        const unsigned int uCount = rSrc.GetSize();
        if (!m_allocator.Reserve(uCount - std::min(uCount, GetSize()))) return;
        EraseAll();
        InsertNulls(0, uCount);
        Copy(this, 0, &rSrc, 0, uCount);
    }

    QvResult ReserveCapacity(std::uint64_t uCapacity)
    {
        const QvResult res = ReserveOrder(uCapacity);
        if (res != QV_RES_OK) return res;
        m_allocator.Reserve(m_uCapacity - GetSize());
        return res;
    }
    QvResult ReduceCapacity(unsigned int uCapacity)
    {
        if (m_uLock != 0) return QV_RES_INVALID_STATE;
        m_uCapacity = std::min(m_uCapacity, std::max(uCapacity, GetSize()));
        m_allocator.Reduce(m_uCapacity - GetSize());
        return QV_RES_OK;
    }
    unsigned int GetCapacity() const { return m_uCapacity; }
    unsigned int GetLockCapacity() const { return m_uLock; }
    void SetLockCapacity(unsigned int uLock) { m_uLock = uLock; }
    unsigned int GetElementSize() const { return m_uElementSize; }
    unsigned int GetSize() const { return static_cast<unsigned int>(m_order.size()); }
    bool IsEmpty() const { return m_order.empty(); }
    unsigned int GetFirstIndex() const { return 0; }
    unsigned int GetLastIndex() const { return GetSize() - 1; }
    unsigned int GetEndIndex() const { return GetSize(); }
    unsigned int GetFreeBlocks() const { return m_allocator.GetBlockCount(); }

    void* GetAt(unsigned int uIndex) const { return uIndex < GetSize() ? m_order[uIndex] : nullptr; }

    QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement)
    {
        if (uIndex > GetSize()) return QV_RES_INVALID_ARGUMENT;
        // Blocks that no order could hold are not asked for.
        if (OrderBytes(std::uint64_t{GetSize()} + uCount) > 0xFFFFFFFFu) return QV_RES_OUT_OF_MEMORY;
        if (!m_allocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
        const QvResult res = InsertNulls(uIndex, uCount);
        if (res != QV_RES_OK) return res;
        for (unsigned int u = uIndex; u < uIndex + uCount; ++u)
        {
            void* const pBlock = m_allocator.Pop();
            if (pElement != nullptr) ConstructFrom(pBlock, pElement);
            else Construct(pBlock);
            m_order[u] = pBlock;
        }
        return res;
    }
    QvResult Insert(unsigned int uIndex, const CVectorListTwin& rSrc)
    {
        if (m_uElementSize != rSrc.m_uElementSize || uIndex > GetSize()) return QV_RES_INVALID_ARGUMENT;
        const std::vector<void*> sources = rSrc.m_order;  // all of them first: they may be in the same vector-list
        const unsigned int uCount = rSrc.GetSize();
        QvResult res = ReserveForMore(uCount);
        if (res != QV_RES_OK) return res;
        if (!m_allocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
        res = InsertNulls(uIndex, uCount);
        if (res != QV_RES_OK) return res;
        for (unsigned int u = 0; u < uCount; ++u) CopyTo(uIndex + u, sources[u]);
        return res;
    }
    QvResult InsertSorted(const void* pElement, PFNCompare pfnCompare, unsigned int uParam)
    {
        return Insert(InternalFindSorted(pElement, pfnCompare, uParam), 1, pElement);
    }
    void* Allocate(unsigned int uIndex)
    {
        void* const pBlock = m_allocator.Pop();
        if (pBlock == nullptr) return nullptr;
        if (uIndex > GetSize() || InsertNulls(uIndex, 1) != QV_RES_OK)
        {
            m_allocator.Push(pBlock);
            return nullptr;
        }
        m_order[uIndex] = pBlock;
        return pBlock;
    }
    QvResult AllocateSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam, void** ppElement)
    {
        if (ppElement == nullptr) return QV_RES_INVALID_ARGUMENT;
        const unsigned int uIndex = InternalFindSorted(pKey, pfnCompare, uParam);
        if (uIndex < GetSize() && pfnCompare(m_order[uIndex], pKey, uParam) == 0) return QV_RES_ALREADY_EXISTS;
        *ppElement = Allocate(uIndex);
        return *ppElement != nullptr ? QV_RES_OK : QV_RES_FAIL;
    }

    void Erase(unsigned int uIndex, unsigned int uCount)
    {
        if (uIndex >= GetSize()) return;
        uCount = std::min(uCount, GetSize() - uIndex);
        for (unsigned int u = uIndex; u < uIndex + uCount; ++u)
        {
            Destruct(m_order[u]);
            m_allocator.Push(m_order[u]);
        }
        RemoveSlots(uIndex, uCount);
    }
    void Erase(unsigned int uIndex) { Erase(uIndex, 1); }
    void EraseAll() { Erase(0, GetSize()); }

    void Swap(unsigned int uIndex1, unsigned int uIndex2)
    {
        if (uIndex1 < GetSize() && uIndex2 < GetSize()) std::swap(m_order[uIndex1], m_order[uIndex2]);
    }
    void Sort(PFNCompare pfnCompare, unsigned int uParam)
    {
        if (GetSize() < 2) return;
        ShellSortPointers(m_order.data(), GetSize(), [&](void* p1, void* p2) { return pfnCompare(p1, p2, uParam); });
    }

    static QvResult Copy(CVectorListTwin* pDest, unsigned int uDest, const CVectorListTwin* pSrc, unsigned int uSrc,
                         unsigned int uCount)
    {
        if (uCount == 0) return QV_RES_OK;
        if (!pSrc->Has(uSrc, uCount, *pDest, uDest)) return QV_RES_INVALID_ARGUMENT;
        if (!pDest->m_allocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
        for (unsigned int u = 0; u < uCount; ++u) pDest->CopyTo(uDest + u, pSrc->m_order[uSrc + u]);
        return QV_RES_OK;
    }
    static QvResult Move(CVectorListTwin* pDest, unsigned int uDest, CVectorListTwin* pSrc, unsigned int uSrc,
                         unsigned int uCount)
    {
        if (uCount == 0) return QV_RES_OK;
        if (!pSrc->Has(uSrc, uCount, *pDest, uDest)) return QV_RES_INVALID_ARGUMENT;
        if (pDest->m_allocator == pSrc->m_allocator)
        {
            std::copy_n(pSrc->m_order.begin() + uSrc, uCount, pDest->m_order.begin() + uDest);
            return QV_RES_OK;
        }
        if (!pDest->m_allocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
        for (unsigned int u = 0; u < uCount; ++u)
        {
            void* const pSource = pSrc->m_order[uSrc + u];
            pDest->CopyTo(uDest + u, pSource);
            pSrc->Destruct(pSource);
            pSrc->m_allocator.Push(pSource);
        }
        return QV_RES_OK;
    }
    QvResult Merge(unsigned int uIndex, CVectorListTwin& rSrc)
    {
        if (m_uElementSize != rSrc.m_uElementSize || uIndex > GetSize()) return QV_RES_INVALID_ARGUMENT;
        if (&rSrc == this) return QV_RES_INVALID_ARGUMENT;  // makes no sense
        const unsigned int uCount = rSrc.GetSize();
        QvResult res = ReserveForMore(uCount);
        if (res != QV_RES_OK) return res;
        if (m_allocator != rSrc.m_allocator && !m_allocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
        res = InsertNulls(uIndex, uCount);
        if (res != QV_RES_OK) return res;
        Move(this, uIndex, &rSrc, 0, uCount);
        rSrc.m_order.clear();
        return QV_RES_OK;
    }
    QvResult Split(unsigned int uIndex, CVectorListTwin& rDest)
    {
        if (m_uElementSize != rDest.m_uElementSize || uIndex >= GetSize()) return QV_RES_INVALID_ARGUMENT;
        if (&rDest == this) return QV_RES_INVALID_ARGUMENT;  // makes no sense
        const unsigned int uCount = GetSize() - uIndex;
        if (rDest.m_uCapacity < uCount)
        {
            const QvResult res = rDest.ReserveCapacity(uCount);
            if (res != QV_RES_OK) return res;
        }
        // All blocks before anything changes; those of the destination's elements are about to be free.
        if (m_allocator != rDest.m_allocator && !rDest.m_allocator.Reserve(uCount - std::min(uCount, rDest.GetSize())))
        {
            return QV_RES_OUT_OF_MEMORY;
        }
        rDest.EraseAll();
        rDest.InsertNulls(0, uCount);
        Move(&rDest, 0, this, uIndex, uCount);
        RemoveSlots(uIndex, uCount);
        return QV_RES_OK;
    }

    unsigned int Find(unsigned int uStart, const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const
    {
        for (unsigned int u = std::min(uStart, GetSize()); u < GetSize(); ++u)
        {
            if (pfnCompare(m_order[u], pKey, uParam) == 0) return u;
        }
        return GetSize();
    }
    unsigned int FindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const
    {
        return FirstEqual(GetSize(), true, [&](unsigned int u) { return pfnCompare(m_order[u], pKey, uParam); });
    }
    unsigned int InternalFindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const
    {
        return LowerBound(GetSize(), true, [&](unsigned int u) { return pfnCompare(m_order[u], pKey, uParam); });
    }
    unsigned int GetMinElementIndex(PFNCompare pfnCompare, unsigned int uParam) const
    {
        return Extreme(GetSize(), -1,
                       [&](unsigned int u, unsigned int uBest)
                       { return pfnCompare(m_order[u], m_order[uBest], uParam); });
    }
    unsigned int GetMaxElementIndex(PFNCompare pfnCompare, unsigned int uParam) const
    {
        return Extreme(GetSize(), 1,
                       [&](unsigned int u, unsigned int uBest)
                       { return pfnCompare(m_order[u], m_order[uBest], uParam); });
    }

    /// Takes elements out of their slots, which stay: room for Copy() and Move().
    void VacateSlots(unsigned int uIndex, unsigned int uCount)
    {
        for (unsigned int u = uIndex; u < uIndex + uCount; ++u)
        {
            Destruct(m_order[u]);
            m_allocator.Push(m_order[u]);
            m_order[u] = nullptr;
        }
    }
    void RemoveSlots(unsigned int uIndex, unsigned int uCount)
    {
        m_order.erase(m_order.begin() + uIndex, m_order.begin() + uIndex + uCount);
    }

    void Construct(void* pElement) const
    {
        if (m_pTrace != nullptr) m_pTrace->Construct(pElement, m_uElementSize);
    }
    void ConstructFrom(void* pElement, const void* pSource) const
    {
        if (m_pTrace != nullptr) m_pTrace->ConstructFrom(pElement, pSource, m_uElementSize);
    }
    void Destruct(void* pElement) const
    {
        if (m_pTrace != nullptr) m_pTrace->Destruct(pElement, m_uElementSize);
    }

private:
    static std::uint64_t OrderBytes(std::uint64_t uCapacity) { return uCapacity * sizeof(void*); }
    QvResult ReserveOrder(std::uint64_t uCapacity)
    {
        if (m_uLock != 0 && m_uCapacity < uCapacity) return QV_RES_INVALID_STATE;
        if (m_uCapacity >= uCapacity) return QV_RES_OK;
        if (OrderBytes(uCapacity) > 0xFFFFFFFFu) return QV_RES_OUT_OF_MEMORY;
        m_uCapacity = static_cast<unsigned int>(uCapacity);
        return QV_RES_OK;
    }
    QvResult ReserveForMore(unsigned int uMore)
    {
        const std::uint64_t uSize = static_cast<std::uint64_t>(GetSize()) + uMore;
        return m_uCapacity < uSize ? ReserveCapacity(uSize) : QV_RES_OK;
    }
    QvResult InsertNulls(unsigned int uIndex, unsigned int uCount)
    {
        const QvResult res = ReserveOrder(static_cast<std::uint64_t>(GetSize()) + uCount);
        if (res == QV_RES_OK) m_order.insert(m_order.begin() + uIndex, uCount, nullptr);
        return res;
    }
    void CopyTo(unsigned int uSlot, const void* pSource)
    {
        void* const pBlock = m_allocator.Pop();
        m_order[uSlot] = pBlock;
        ConstructFrom(pBlock, pSource);
    }
    /// Elements and slots that are not there, and elements of another size, are refused.
    bool Has(unsigned int uIndex, unsigned int uCount, const CVectorListTwin& rDest, unsigned int uDest) const
    {
        return m_uElementSize == rDest.m_uElementSize && static_cast<std::uint64_t>(uIndex) + uCount <= GetSize() &&
               static_cast<std::uint64_t>(uDest) + uCount <= rDest.GetSize();
    }

    CTrace* m_pTrace;
    CBlockAllocatorTwin m_allocator;
    unsigned int m_uElementSize;
    unsigned int m_uCapacity = 0;
    unsigned int m_uLock = 0;
    std::vector<void*> m_order;
};
}  // namespace twin

#endif
