#ifndef FUZZ_MODELS_LIST_TWIN_H
#define FUZZ_MODELS_LIST_TWIN_H
#include <algorithm>
#include <cstdint>
#include <new>
#include <vector>

#include "framework/kernel/result.h"
#include "fuzz/models/block_allocator_twin.h"
#include "fuzz/models/ordered_twin.h"
#include "fuzz/models/trace.h"

namespace twin
{
using PFNCompare = int (*)(const void*, const void*, unsigned int);

/// CListBase once more, node by node.
class CListTwin
{
public:
    using BlockAllocator = CBlockAllocatorTwin;
    struct SNode
    {
        SNode* pPrevious;
        SNode* pNext;
    };
    using Handle = SNode*;

    CListTwin(CTrace& rTrace, unsigned int uElementSize, IAllocator* pSource)
        : m_pTrace(&rTrace), m_allocator(uElementSize + 16, pSource), m_uElementSize(uElementSize)
    {
    }
    CListTwin(CTrace& rTrace, unsigned int uElementSize, const CBlockAllocatorTwin& rAllocator)
        : m_pTrace(&rTrace), m_allocator(rAllocator, uElementSize + 16), m_uElementSize(uElementSize)
    {
    }
    /// A copy of the class itself: its element operations do nothing.
    CListTwin(const CListTwin& rSrc)
        : m_pTrace(nullptr), m_allocator(rSrc.m_allocator), m_uElementSize(rSrc.m_uElementSize)
    {
        Assign(rSrc);
    }
    ~CListTwin() { EraseAll(); }

    void Assign(const CListTwin& rSrc)
    {
        if (&rSrc == this) return;  // a copy of itself, erased and copied back
        if (m_uElementSize != rSrc.m_uElementSize) return;
        if (m_uLock != 0 && GetCapacity() < rSrc.m_uSize) return;
        if (ReserveCapacity(rSrc.m_uSize) != QV_RES_OK) return;
        EraseAll();
        Copy(this, 0, &rSrc, 0, rSrc.m_uSize);
    }

    QvResult ReserveCapacity(std::uint64_t uCapacity)
    {
        if (m_uLock != 0 && GetCapacity() < uCapacity) return QV_RES_INVALID_STATE;
        if (m_uSize >= uCapacity) return QV_RES_OK;
        if (uCapacity > 0xFFFFFFFFu) return QV_RES_OUT_OF_MEMORY;
        return m_allocator.Reserve(static_cast<unsigned int>(uCapacity) - m_uSize) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
    }
    QvResult ReduceCapacity(unsigned int uCapacity)
    {
        if (m_uLock != 0) return QV_RES_INVALID_STATE;
        m_allocator.Reduce(std::max(uCapacity, m_uSize) - m_uSize);
        return QV_RES_OK;
    }
    unsigned int GetCapacity() const { return m_uSize + m_allocator.GetBlockCount(); }
    unsigned int GetLockCapacity() const { return m_uLock; }
    void SetLockCapacity(unsigned int uLock) { m_uLock = uLock; }
    unsigned int GetElementSize() const { return m_uElementSize; }
    unsigned int GetSize() const { return m_uSize; }
    bool IsEmpty() const { return m_uSize == 0; }
    unsigned int GetFirstIndex() const { return 0; }
    unsigned int GetLastIndex() const { return m_uSize - 1; }
    unsigned int GetEndIndex() const { return m_uSize; }

    SNode* Find(unsigned int uIndex) const
    {
        if (m_uSize == 0 || uIndex > m_uSize - 1) return nullptr;
        if (m_pCached == nullptr)
        {
            if ((m_uSize - 1) / 2 >= uIndex) SetCache(0, m_pHead);
            else SetCache(m_uSize - 1, m_pTail);
        }
        if (uIndex != m_uCachedIndex)
        {
            if (uIndex == 0) SetCache(0, m_pHead);
            else if (uIndex == m_uSize - 1) SetCache(m_uSize - 1, m_pTail);
            else
            {
                while (m_uCachedIndex > uIndex) SetCache(m_uCachedIndex - 1, m_pCached->pPrevious);
                while (m_uCachedIndex < uIndex) SetCache(m_uCachedIndex + 1, m_pCached->pNext);
            }
        }
        return m_pCached;
    }
    void* GetAt(unsigned int uIndex) const
    {
        SNode* const pNode = Find(uIndex);
        return pNode != nullptr ? Element(pNode) : nullptr;
    }
    SNode* NodeAt(unsigned int uIndex) const
    {
        SNode* pNode = m_pHead;
        while (pNode != nullptr && uIndex-- != 0) pNode = pNode->pNext;
        return pNode;
    }

    QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement)
    {
        if (uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
        if (uCount == 0) return QV_RES_OK;
        const std::uint64_t uSize = static_cast<std::uint64_t>(m_uSize) + uCount;
        if (GetCapacity() < uSize)
        {
            const QvResult res = ReserveCapacity(uSize);
            if (res != QV_RES_OK) return res;
        }
        SNode* const pBefore = Find(uIndex);
        SNode* pNew = nullptr;
        for (unsigned int u = 0; u < uCount; ++u)
        {
            pNew = static_cast<SNode*>(m_allocator.Pop());
            LinkBefore(pNew, pBefore);
            if (pElement != nullptr) ConstructFrom(Element(pNew), pElement);
            else Construct(Element(pNew));
        }
        m_uSize += uCount;
        SetCache(uIndex + uCount - 1, pNew);
        return QV_RES_OK;
    }
    QvResult Insert(unsigned int uIndex, const CListTwin& rSrc)
    {
        if (m_uElementSize != rSrc.m_uElementSize || uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
        if (rSrc.m_uSize == 0) return QV_RES_OK;
        const QvResult res = ReserveForMore(rSrc.m_uSize);
        if (res != QV_RES_OK) return res;
        return Copy(this, 0, &rSrc, 0, rSrc.m_uSize);  // at the front, whatever the index
    }
    QvResult InsertSorted(const void* pElement, PFNCompare pfnCompare, unsigned int uParam)
    {
        return Insert(InternalFindSorted(pElement, pfnCompare, uParam), 1, pElement);
    }
    void* Allocate(unsigned int uIndex)
    {
        if (uIndex > m_uSize || ReserveForMore(1) != QV_RES_OK) return nullptr;
        SNode* const pBefore = Find(uIndex);
        SNode* const pNew = static_cast<SNode*>(m_allocator.Pop());
        LinkBefore(pNew, pBefore);
        SetCache(uIndex, pNew);
        ++m_uSize;
        return Element(pNew);
    }
    QvResult AllocateSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam, void** ppElement)
    {
        if (ppElement == nullptr) return QV_RES_INVALID_ARGUMENT;
        const unsigned int uIndex = InternalFindSorted(pKey, pfnCompare, uParam);
        if (uIndex < m_uSize && pfnCompare(Element(NodeAt(uIndex)), pKey, uParam) == 0) return QV_RES_ALREADY_EXISTS;
        *ppElement = Allocate(uIndex);
        return *ppElement != nullptr ? QV_RES_OK : QV_RES_FAIL;
    }

    void Erase(unsigned int uIndex, unsigned int uCount)
    {
        SNode* pNode = Find(uIndex);
        if (pNode == nullptr) return;
        uCount = std::min(uCount, m_uSize - uIndex);
        for (unsigned int u = 0; u < uCount; ++u)
        {
            SNode* const pNext = pNode->pNext;
            Unlink(pNode);
            Destruct(Element(pNode));
            m_allocator.Push(pNode);
            pNode = pNext;
        }
        m_uSize -= uCount;
        SetCache(0, m_pHead);  // finding the node moved the cache to it, and so not below it
    }
    void Erase(unsigned int uIndex) { Erase(uIndex, 1); }
    void Erase(SNode* pNode)
    {
        if (pNode == nullptr) return;
        Destruct(Element(pNode));
        Unlink(pNode);
        m_allocator.Push(pNode);
        --m_uSize;
        SetCache(0, m_pHead);
    }
    void EraseAll() { Erase(0, m_uSize); }

    void MoveToFirst(SNode* pNode)
    {
        if (pNode == nullptr || pNode == m_pHead) return;
        Unlink(pNode);
        LinkBefore(pNode, m_pHead);
        SetCache(0, m_pHead);
    }
    void MoveToLast(SNode* pNode)
    {
        if (pNode == nullptr || pNode == m_pTail) return;
        Unlink(pNode);
        LinkBefore(pNode, nullptr);
        SetCache(0, m_pHead);
    }
    void Swap(unsigned int uIndex1, unsigned int uIndex2)
    {
        // Nothing happens then, to the cache either.
        if (uIndex1 == uIndex2 || uIndex1 >= m_uSize || uIndex2 >= m_uSize) return;
        SNode* const pNode1 = Find(uIndex1);
        SNode* const pNode2 = Find(uIndex2);
        SNode* const pAfter1 = pNode1->pNext;
        if (pAfter1 == pNode2)
        {
            Unlink(pNode2);
            LinkBefore(pNode2, pNode1);
        }
        else
        {
            Unlink(pNode1);
            LinkBefore(pNode1, pNode2);
            Unlink(pNode2);
            LinkBefore(pNode2, pAfter1);
        }
        if (m_pCached == pNode1) m_uCachedIndex = uIndex2;
        else if (m_pCached == pNode2) m_uCachedIndex = uIndex1;
    }
    void Sort(PFNCompare pfnCompare, unsigned int uParam)
    {
        if (m_uSize < 2) return;
        std::vector<SNode*> nodes;
        for (SNode* pNode = m_pHead; pNode != nullptr; pNode = pNode->pNext) nodes.push_back(pNode);
        ShellSortPointers(nodes.data(), m_uSize,
                          [&](SNode* pNode1, SNode* pNode2)
                          { return pfnCompare(Element(pNode1), Element(pNode2), uParam); });
        m_pHead = nodes.front();
        m_pTail = nodes.back();
        for (unsigned int u = 0; u < m_uSize; ++u)
        {
            nodes[u]->pPrevious = u == 0 ? nullptr : nodes[u - 1];
            nodes[u]->pNext = u == m_uSize - 1 ? nullptr : nodes[u + 1];
        }
        SetCache(0, m_pHead);
    }

    static QvResult Copy(CListTwin* pDest, unsigned int uDest, const CListTwin* pSrc, unsigned int uSrc,
                         unsigned int uCount)
    {
        if (uCount == 0) return QV_RES_OK;
        if (!pSrc->Has(uSrc, uCount, *pDest)) return QV_RES_INVALID_ARGUMENT;
        if (!pDest->m_allocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
        std::vector<SNode*> sources;  // all of them first: they may be in the same list
        for (SNode* pNode = pSrc->Find(uSrc); sources.size() < uCount; pNode = pNode->pNext) sources.push_back(pNode);
        SNode* const pBefore = pDest->NodeAt(uDest);
        for (SNode* const pSource : sources)
        {
            SNode* const pNew = static_cast<SNode*>(pDest->m_allocator.Pop());
            pDest->ConstructFrom(Element(pNew), Element(pSource));
            pDest->LinkBefore(pNew, pBefore);
        }
        pDest->m_uSize += uCount;
        pDest->SetCache(0, pDest->m_pHead);
        return QV_RES_OK;
    }
    static QvResult Move(CListTwin* pDest, unsigned int uDest, CListTwin* pSrc, unsigned int uSrc, unsigned int uCount)
    {
        if (uCount == 0) return QV_RES_OK;
        if (!pSrc->Has(uSrc, uCount, *pDest)) return QV_RES_INVALID_ARGUMENT;
        const bool bRelink = pDest->m_allocator == pSrc->m_allocator;
        if (!bRelink && !pDest->m_allocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
        // In one list, a place among the moved elements is that behind them: as if they had been copied there first.
        const bool bWithin = pDest == pSrc && uDest >= uSrc && uDest - uSrc < uCount;
        SNode* const pBefore = pDest->NodeAt(bWithin ? uSrc + uCount : uDest);
        SNode* pNode = pSrc->NodeAt(uSrc);
        for (unsigned int u = 0; u < uCount; ++u)
        {
            SNode* const pNext = pNode->pNext;
            pSrc->Unlink(pNode);
            if (bRelink) pDest->LinkBefore(pNode, pBefore);
            else
            {
                SNode* const pNew = static_cast<SNode*>(pDest->m_allocator.Pop());
                pDest->ConstructFrom(Element(pNew), Element(pNode));
                pSrc->Destruct(Element(pNode));
                pDest->LinkBefore(pNew, pBefore);
                pSrc->m_allocator.Push(pNode);
            }
            pNode = pNext;
        }
        pSrc->m_uSize -= uCount;
        pDest->m_uSize += uCount;
        pSrc->SetCache(0, pSrc->m_pHead);
        pDest->SetCache(0, pDest->m_pHead);
        return QV_RES_OK;
    }
    QvResult Merge(unsigned int uIndex, CListTwin& rSrc)
    {
        if (m_uElementSize != rSrc.m_uElementSize || uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
        if (&rSrc == this) return QV_RES_INVALID_ARGUMENT;  // makes no sense
        const QvResult res = ReserveForMore(rSrc.m_uSize);
        if (res != QV_RES_OK) return res;
        return Move(this, uIndex, &rSrc, 0, rSrc.m_uSize);
    }
    QvResult Split(unsigned int uIndex, CListTwin& rDest)
    {
        if (m_uElementSize != rDest.m_uElementSize || uIndex >= m_uSize) return QV_RES_INVALID_ARGUMENT;
        if (&rDest == this) return QV_RES_INVALID_ARGUMENT;  // makes no sense
        const unsigned int uCount = m_uSize - uIndex;
        if (rDest.GetCapacity() < uCount)
        {
            const QvResult res = rDest.ReserveCapacity(uCount);
            if (res != QV_RES_OK) return res;
        }
        return Move(&rDest, 0, this, uIndex, uCount);
    }

    unsigned int Find(unsigned int uStart, const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const
    {
        for (unsigned int u = std::min(uStart, m_uSize); u < m_uSize; ++u)
        {
            if (pfnCompare(Element(NodeAt(u)), pKey, uParam) == 0) return u;
        }
        return m_uSize;
    }
    unsigned int FindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const
    {
        return FirstEqual(m_uSize, false, [&](unsigned int u) { return pfnCompare(Element(NodeAt(u)), pKey, uParam); });
    }
    unsigned int InternalFindSorted(const void* pKey, PFNCompare pfnCompare, unsigned int uParam) const
    {
        return LowerBound(m_uSize, false, [&](unsigned int u) { return pfnCompare(Element(NodeAt(u)), pKey, uParam); });
    }
    unsigned int GetMinElementIndex(PFNCompare pfnCompare, unsigned int uParam) const
    {
        return Extreme(m_uSize, -1,
                       [&](unsigned int u, unsigned int uBest)
                       { return pfnCompare(Element(NodeAt(u)), Element(NodeAt(uBest)), uParam); });
    }
    unsigned int GetMaxElementIndex(PFNCompare pfnCompare, unsigned int uParam) const
    {
        return Extreme(m_uSize, 1,
                       [&](unsigned int u, unsigned int uBest)
                       { return pfnCompare(Element(NodeAt(u)), Element(NodeAt(uBest)), uParam); });
    }

    SNode* GetFirst() const { return m_pHead; }
    SNode* GetLast() const { return m_pTail; }
    static SNode* GetNext(SNode* pNode) { return pNode->pNext; }
    static SNode* GetPrevious(SNode* pNode) { return pNode->pPrevious; }
    static void* GetElement(SNode* pNode) { return pNode != nullptr ? Element(pNode) : nullptr; }
    const void* GetCachedNode() const { return m_pCached; }
    unsigned int GetCachedIndex() const { return m_uCachedIndex; }

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
    static void* Element(SNode* pNode) { return pNode + 1; }
    void SetCache(unsigned int uIndex, SNode* pNode) const
    {
        m_uCachedIndex = uIndex;
        m_pCached = pNode;
    }
    /// Ranges that the source does not have and elements of another size are refused.
    bool Has(unsigned int uIndex, unsigned int uCount, const CListTwin& rDest) const
    {
        return m_uElementSize == rDest.m_uElementSize && static_cast<std::uint64_t>(uIndex) + uCount <= m_uSize;
    }
    QvResult ReserveForMore(unsigned int uMore)
    {
        const std::uint64_t uSize = static_cast<std::uint64_t>(m_uSize) + uMore;
        return GetCapacity() < uSize ? ReserveCapacity(uSize) : QV_RES_OK;
    }
    /// At the end when there is no node to link it before.
    void LinkBefore(SNode* pNode, SNode* pBefore)
    {
        SNode* const pAfter = pBefore != nullptr ? pBefore->pPrevious : m_pTail;
        pNode->pPrevious = pAfter;
        pNode->pNext = pBefore;
        (pAfter != nullptr ? pAfter->pNext : m_pHead) = pNode;
        (pBefore != nullptr ? pBefore->pPrevious : m_pTail) = pNode;
    }
    void Unlink(SNode* pNode)
    {
        (pNode->pPrevious != nullptr ? pNode->pPrevious->pNext : m_pHead) = pNode->pNext;
        (pNode->pNext != nullptr ? pNode->pNext->pPrevious : m_pTail) = pNode->pPrevious;
    }

    CTrace* m_pTrace;
    CBlockAllocatorTwin m_allocator;
    unsigned int m_uLock = 0;
    unsigned int m_uSize = 0;
    unsigned int m_uElementSize;
    mutable unsigned int m_uCachedIndex = 0;
    mutable SNode* m_pCached = nullptr;
    SNode* m_pHead = nullptr;
    SNode* m_pTail = nullptr;
};
}  // namespace twin

#endif
