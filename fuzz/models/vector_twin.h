#ifndef FUZZ_MODELS_VECTOR_TWIN_H
#define FUZZ_MODELS_VECTOR_TWIN_H
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "framework/kernel/result.h"
#include "fuzz/models/ordered_twin.h"
#include "fuzz/models/trace.h"

namespace twin
{
using PFNCompare = int (*)(const void*, const void*, unsigned int);

/// CVectorBase once more, element by element: slow, and simple enough to be right.
class CVectorTwin
{
public:
    CVectorTwin(CTrace& rTrace, unsigned int uElementSize, bool bConstruct, IAllocator* pSource)
        : m_pTrace(&rTrace),
          m_pSource(pSource),
          m_uElementSize(uElementSize),
          m_bConstruct(bConstruct),
          m_scratch(uElementSize)
    {
    }
    /// A copy of the class itself: its element operations do nothing.
    CVectorTwin(const CVectorTwin& rSrc)
        : m_pTrace(nullptr),
          m_pSource(rSrc.m_pSource),
          m_uElementSize(rSrc.m_uElementSize),
          m_bConstruct(rSrc.m_bConstruct),
          m_scratch(rSrc.m_uElementSize)
    {
        ReserveCapacity(rSrc.m_uCapacity);
        m_uLock = rSrc.m_uLock;
        Assign(rSrc);
    }
    ~CVectorTwin()
    {
        EraseAll();
        m_uLock = 0;
        ReduceCapacity(0);
    }

    void Assign(const CVectorTwin& rSrc)
    {
        if (&rSrc == this) return;  // a copy of itself, erased and copied back
        if (m_uElementSize != rSrc.m_uElementSize) return;
        if (m_uLock != 0 && m_uCapacity < rSrc.m_uSize) return;
        if (ReserveCapacity(rSrc.m_uSize) != QV_RES_OK) return;
        EraseAll();
        Copy(this, 0, &rSrc, 0, rSrc.m_uSize);
        m_uSize = rSrc.m_uSize;
    }

    bool operator!=(const CVectorTwin& rOther) const
    {
        if (this == &rOther) return false;
        if (m_uElementSize != rOther.m_uElementSize || m_uSize != rOther.m_uSize) return true;
        return m_uSize != 0 && std::memcmp(m_puStorage, rOther.m_puStorage, Bytes(m_uSize)) != 0;
    }
    bool operator==(const CVectorTwin& rOther) const { return !(*this != rOther); }
    bool operator<(const CVectorTwin& rOther) const
    {
        if (this == &rOther) return false;
        if (m_puStorage != nullptr && rOther.m_puStorage != nullptr)
        {
            if (std::memcmp(m_puStorage, rOther.m_puStorage, Bytes(std::min(m_uSize, rOther.m_uSize))) < 0) return true;
            return m_uSize < rOther.m_uSize;
        }
        return m_puStorage == nullptr && rOther.m_uSize != 0;
    }

    QvResult ReserveCapacity(std::uint64_t uCapacity)
    {
        if (m_uLock != 0 && m_uCapacity < uCapacity) return QV_RES_INVALID_STATE;
        if (m_uCapacity >= uCapacity) return QV_RES_OK;
        return ChangeStorage(uCapacity);
    }
    QvResult ReduceCapacity(unsigned int uCapacity)
    {
        if (m_uLock != 0) return QV_RES_INVALID_STATE;
        const unsigned int uTarget = std::max(uCapacity, m_uSize);
        if (uTarget >= m_uCapacity) return QV_RES_OK;
        return ChangeStorage(uTarget);
    }
    unsigned int GetElementSize() const { return m_uElementSize; }
    bool Constructs() const { return m_bConstruct; }
    unsigned int GetCapacity() const { return m_uCapacity; }
    unsigned int GetLockCapacity() const { return m_uLock; }
    void SetLockCapacity(unsigned int uLock) { m_uLock = uLock; }
    unsigned int GetSize() const { return m_uSize; }
    bool IsEmpty() const { return m_uSize == 0; }
    unsigned int GetFirstIndex() const { return 0; }
    unsigned int GetLastIndex() const { return m_uSize - 1; }
    unsigned int GetEndIndex() const { return m_uSize; }
    QvResult Resize(unsigned int uSize)
    {
        if (uSize > m_uCapacity) return QV_RES_INVALID_ARGUMENT;
        m_uSize = uSize;
        return QV_RES_OK;
    }

    void* GetAt(unsigned int uIndex) { return uIndex < m_uSize ? Slot(uIndex) : nullptr; }
    const void* GetAt(unsigned int uIndex) const { return uIndex < m_uSize ? Slot(uIndex) : nullptr; }
    void* GetAtInCapacity(unsigned int uIndex) { return uIndex < m_uCapacity ? Slot(uIndex) : nullptr; }
    const void* GetAtInCapacity(unsigned int uIndex) const { return uIndex < m_uCapacity ? Slot(uIndex) : nullptr; }

    QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement)
    {
        if (uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
        // The element may be one of this vector: as if it had been copied first.
        std::vector<unsigned char> element;
        if (pElement != nullptr)
        {
            const unsigned char* const puElement = static_cast<const unsigned char*>(pElement);
            element.assign(puElement, puElement + m_uElementSize);
        }
        const std::uint64_t uSize = static_cast<std::uint64_t>(m_uSize) + uCount;
        if (uSize > m_uCapacity)
        {
            const QvResult res = ReserveCapacity(uSize);
            if (res != QV_RES_OK) return res;
        }
        Move(this, uIndex + uCount, this, uIndex, m_uSize - uIndex);
        m_uSize += uCount;
        for (unsigned int u = uIndex; u < uIndex + uCount; ++u)
        {
            const void* const pSource = element.empty() ? nullptr : element.data();
            if (m_bConstruct && pSource != nullptr) ConstructFrom(Slot(u), pSource);
            else if (m_bConstruct) Construct(Slot(u));
            else if (pSource != nullptr) std::memcpy(Slot(u), pSource, m_uElementSize);
            else std::memset(Slot(u), 0, m_uElementSize);
        }
        return QV_RES_OK;
    }
    QvResult Insert(unsigned int uIndex, unsigned int uCount) { return Insert(uIndex, uCount, nullptr); }
    QvResult Insert(unsigned int uIndex, const CVectorTwin& rSrc)
    {
        if (uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
        if (&rSrc == this) return InsertItself(uIndex);
        const unsigned int uCount = rSrc.m_uSize;
        const std::uint64_t uSize = static_cast<std::uint64_t>(m_uSize) + uCount;
        if (uSize > m_uCapacity)
        {
            const QvResult res = ReserveCapacity(uSize);
            if (res != QV_RES_OK) return res;
        }
        Move(this, uIndex + uCount, this, uIndex, m_uSize - uIndex);
        Copy(this, uIndex, &rSrc, 0, uCount);
        m_uSize += uCount;
        return QV_RES_OK;
    }
    QvResult InsertSorted(const void* pElement, PFNCompare pfnCompare, unsigned int uParam)
    {
        return Insert(InternalFindSorted(pElement, pfnCompare, uParam), 1, pElement);
    }
    void* Allocate(unsigned int uIndex)
    {
        if (uIndex > m_uSize) return nullptr;
        const std::uint64_t uSize = static_cast<std::uint64_t>(m_uSize) + 1;
        if (uSize > m_uCapacity && ReserveCapacity(uSize) != QV_RES_OK) return nullptr;
        Move(this, uIndex + 1, this, uIndex, m_uSize - uIndex);
        ++m_uSize;
        return Slot(uIndex);
    }
    QvResult AllocateSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam, void** ppElement)
    {
        if (ppElement == nullptr) return QV_RES_INVALID_ARGUMENT;
        const unsigned int uIndex = InternalFindSorted(pKey, pfnCompare, uParam);
        if (uIndex < m_uSize && pfnCompare(Slot(uIndex), pKey, uParam) == 0) return QV_RES_ALREADY_EXISTS;
        *ppElement = Allocate(uIndex);
        return *ppElement != nullptr ? QV_RES_OK : QV_RES_FAIL;
    }

    void Erase(unsigned int uIndex, unsigned int uCount)
    {
        if (uIndex >= m_uSize) return;
        uCount = std::min(uCount, m_uSize - uIndex);
        if (m_bConstruct)
        {
            for (unsigned int u = 0; u < uCount; ++u) Destruct(Slot(uIndex + u));
        }
        Move(this, uIndex, this, uIndex + uCount, m_uSize - uIndex - uCount);
        m_uSize -= uCount;
    }
    void Erase(unsigned int uIndex) { Erase(uIndex, 1); }
    void EraseAll() { Erase(0, m_uSize); }

    QvResult Merge(unsigned int uIndex, CVectorTwin& rSrc)
    {
        if (m_uElementSize != rSrc.m_uElementSize || uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
        if (&rSrc == this) return QV_RES_INVALID_ARGUMENT;  // makes no sense
        const std::uint64_t uSize = static_cast<std::uint64_t>(m_uSize) + rSrc.m_uSize;
        if (uSize > m_uCapacity)
        {
            const QvResult res = ReserveCapacity(uSize);
            if (res != QV_RES_OK) return res;
        }
        Move(this, uIndex + rSrc.m_uSize, this, uIndex, m_uSize - uIndex);
        Move(this, uIndex, &rSrc, 0, rSrc.m_uSize);
        m_uSize += rSrc.m_uSize;
        rSrc.m_uSize = 0;
        return QV_RES_OK;
    }
    QvResult Split(unsigned int uIndex, CVectorTwin& rDest)
    {
        if (m_uElementSize != rDest.m_uElementSize || uIndex >= m_uSize) return QV_RES_INVALID_ARGUMENT;
        if (&rDest == this) return QV_RES_INVALID_ARGUMENT;  // makes no sense
        const unsigned int uCount = m_uSize - uIndex;
        if (rDest.m_uCapacity < uCount)
        {
            const QvResult res = rDest.ReserveCapacity(uCount);
            if (res != QV_RES_OK) return res;
        }
        rDest.EraseAll();
        Move(&rDest, 0, this, uIndex, uCount);
        rDest.m_uSize = uCount;
        m_uSize = uIndex;
        return QV_RES_OK;
    }
    void Swap(unsigned int uIndex1, unsigned int uIndex2)
    {
        if (uIndex1 == uIndex2 || uIndex1 >= m_uSize || uIndex2 >= m_uSize) return;
        void* const pScratch = m_scratch.data();
        Put(pScratch, Slot(uIndex1));
        if (m_bConstruct) Destruct(Slot(uIndex1));
        Put(Slot(uIndex1), Slot(uIndex2));
        if (m_bConstruct) Destruct(Slot(uIndex2));
        Put(Slot(uIndex2), pScratch);
        if (m_bConstruct) Destruct(pScratch);
    }

    static void Copy(CVectorTwin* pDest, unsigned int uDest, const CVectorTwin* pSrc, unsigned int uSrc,
                     unsigned int uCount)
    {
        Transfer(pDest, uDest, pSrc, uSrc, uCount, nullptr);
    }
    static void Move(CVectorTwin* pDest, unsigned int uDest, CVectorTwin* pSrc, unsigned int uSrc, unsigned int uCount)
    {
        Transfer(pDest, uDest, pSrc, uSrc, uCount, pSrc);
    }

    void Sort(PFNCompare pfnCompare, unsigned int uParam)
    {
        if (m_uSize < 2) return;
        std::vector<unsigned char> temporary(m_uElementSize);
        void* const pTemp = temporary.data();
        for (const unsigned int uGap : g_auGAPS)
        {
            if (uGap > m_uSize - 1) continue;
            for (unsigned int i = uGap; i <= m_uSize - 1; ++i)
            {
                Put(pTemp, Slot(i));
                unsigned int j = i;
                while (j >= uGap && pfnCompare(Slot(j - uGap), pTemp, uParam) > 0)
                {
                    if (m_bConstruct) Destruct(Slot(j));
                    Put(Slot(j), Slot(j - uGap));
                    j -= uGap;
                }
                if (m_bConstruct) Destruct(Slot(j));
                Put(Slot(j), pTemp);
                if (m_bConstruct) Destruct(pTemp);
            }
        }
    }
    unsigned int Find(unsigned int uStart, const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const
    {
        for (unsigned int u = std::min(uStart, m_uSize); u < m_uSize; ++u)
        {
            if (pfnCompare(Slot(u), pKey, uParam) == 0) return u;
        }
        return m_uSize;
    }
    unsigned int FindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const
    {
        return FirstEqual(m_uSize, true, [&](unsigned int u) { return pfnCompare(Slot(u), pKey, uParam); });
    }
    unsigned int InternalFindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const
    {
        return LowerBound(m_uSize, true, [&](unsigned int u) { return pfnCompare(Slot(u), pKey, uParam); });
    }
    unsigned int GetMinElementIndex(PFNCompare pfnCompare, unsigned int uParam) const
    {
        return Extreme(m_uSize, -1,
                       [&](unsigned int u, unsigned int uBest) { return pfnCompare(Slot(u), Slot(uBest), uParam); });
    }
    unsigned int GetMaxElementIndex(PFNCompare pfnCompare, unsigned int uParam) const
    {
        return Extreme(m_uSize, 1,
                       [&](unsigned int u, unsigned int uBest) { return pfnCompare(Slot(u), Slot(uBest), uParam); });
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
    std::size_t Bytes(unsigned int uCount) const { return static_cast<std::size_t>(uCount) * m_uElementSize; }
    unsigned char* Slot(unsigned int uIndex) const { return m_puStorage + Bytes(uIndex); }
    void Put(void* pSlot, const void* pSource) const
    {
        if (m_bConstruct) ConstructFrom(pSlot, pSource);
        else std::memcpy(pSlot, pSource, m_uElementSize);
    }

    QvResult ChangeStorage(std::uint64_t uCapacity)
    {
        unsigned char* puNew = nullptr;
        if (uCapacity != 0)
        {
            const std::uint64_t uBytes = std::max<std::uint64_t>(8, uCapacity * m_uElementSize);
            if (uBytes > 0xFFFFFFFFu) return QV_RES_OUT_OF_MEMORY;
            puNew =
                reinterpret_cast<unsigned char*>(m_pSource->Allocate(1, static_cast<unsigned int>(uBytes), nullptr));
            if (puNew == nullptr) return QV_RES_OUT_OF_MEMORY;
        }
        if (m_puStorage != nullptr)
        {
            for (unsigned int u = 0; u < m_uSize; ++u)
            {
                unsigned char* const puSlot = puNew + Bytes(u);
                Put(puSlot, Slot(u));
                if (m_bConstruct) Destruct(Slot(u));
            }
            IAllocator::SBlock* const pOld = ::new (m_puStorage) IAllocator::SBlock{nullptr};
            m_pSource->Release(pOld, m_uCapacity * m_uElementSize);
        }
        m_puStorage = puNew;
        m_uCapacity = static_cast<unsigned int>(uCapacity);
        return QV_RES_OK;
    }

    static void Transfer(CVectorTwin* pDest, unsigned int uDest, const CVectorTwin* pSrc, unsigned int uSrc,
                         unsigned int uCount, const CVectorTwin* pDestructor)
    {
        if (pDest == pSrc && uDest == uSrc) return;
        const bool bBackwards = pDest == pSrc && uSrc < uDest && static_cast<std::uint64_t>(uSrc) + uCount >= uDest;
        for (unsigned int u = 0; u < uCount; ++u)
        {
            const unsigned int uStep = bBackwards ? uCount - 1 - u : u;
            unsigned char* const puDest = pDest->Slot(uDest + uStep);
            unsigned char* const puSrc = pSrc->Slot(uSrc + uStep);
            if (!pDest->m_bConstruct) std::memmove(puDest, puSrc, pDest->m_uElementSize);
            else
            {
                pDest->ConstructFrom(puDest, puSrc);
                if (pDestructor != nullptr) pDestructor->Destruct(puSrc);
            }
        }
    }

    QvResult InsertItself(unsigned int uIndex)
    {
        const std::vector<unsigned char> elements(m_puStorage, m_puStorage + Bytes(m_uSize));
        const unsigned int uCount = m_uSize;
        const std::uint64_t uSize = static_cast<std::uint64_t>(m_uSize) + uCount;
        if (uSize > m_uCapacity)
        {
            const QvResult res = ReserveCapacity(uSize);
            if (res != QV_RES_OK) return res;
        }
        Move(this, uIndex + uCount, this, uIndex, m_uSize - uIndex);
        for (unsigned int u = 0; u < uCount; ++u) Put(Slot(uIndex + u), elements.data() + Bytes(u));
        m_uSize += uCount;
        return QV_RES_OK;
    }

    CTrace* m_pTrace;
    IAllocator* m_pSource;
    unsigned int m_uCapacity = 0;
    unsigned int m_uLock = 0;
    unsigned int m_uElementSize;
    unsigned int m_uSize = 0;
    bool m_bConstruct;
    std::vector<unsigned char> m_scratch;
    unsigned char* m_puStorage = nullptr;
};
}  // namespace twin

#endif
