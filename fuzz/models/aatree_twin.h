#ifndef FUZZ_MODELS_AATREE_TWIN_H
#define FUZZ_MODELS_AATREE_TWIN_H
#include <algorithm>
#include <cstdint>

#include "framework/kernel/result.h"
#include "fuzz/models/block_allocator_twin.h"
#include "fuzz/models/trace.h"

namespace twin
{
using PFNCompare = int (*)(const void*, const void*, unsigned int);

/// CAATreeBase once more: everything that goes down the tree recurses.
class CAATreeTwin
{
public:
    using BlockAllocator = CBlockAllocatorTwin;
    struct SNode
    {
        SNode* pLeft;
        SNode* pRight;
        SNode* pParent;
        unsigned int uLevel;
    };

    CAATreeTwin(CTrace& rTrace, unsigned int uElementSize, PFNCompare pfnCompare, unsigned int uParam,
                IAllocator* pSource)
        : m_pTrace(&rTrace),
          m_allocator(uElementSize + 32, pSource),
          m_uElementSize(uElementSize),
          m_pfnCompare(pfnCompare),
          m_uParam(uParam)
    {
    }
    CAATreeTwin(CTrace& rTrace, unsigned int uElementSize, PFNCompare pfnCompare, unsigned int uParam,
                const CBlockAllocatorTwin& rAllocator)
        : m_pTrace(&rTrace),
          m_allocator(rAllocator, uElementSize + 32),
          m_uElementSize(uElementSize),
          m_pfnCompare(pfnCompare),
          m_uParam(uParam)
    {
    }
    /// A copy of the class itself: its element operations do nothing.
    CAATreeTwin(const CAATreeTwin& rSrc)
        : m_pTrace(nullptr),
          m_allocator(rSrc.m_allocator),
          m_uElementSize(rSrc.m_uElementSize),
          m_pfnCompare(rSrc.m_pfnCompare),
          m_uParam(rSrc.m_uParam)
    {
        Assign(rSrc);
    }
    ~CAATreeTwin()
    {
        EraseAll();
        m_uLock = 0;
        ReduceCapacity(0);
    }

    void Assign(const CAATreeTwin& rSrc)
    {
        if (&rSrc == this) return;  // a copy of itself, erased and copied back
        if (m_uElementSize != rSrc.m_uElementSize) return;
        if (m_uLock != 0 && GetCapacity() - m_uAllocated < rSrc.m_uSize) return;
        if (ReserveCapacity(m_uAllocated + rSrc.m_uSize) != QV_RES_OK) return;
        EraseAll();
        m_pfnCompare = rSrc.m_pfnCompare;
        m_uParam = rSrc.m_uParam;
        m_pRoot = CopyOfSubtree(rSrc.m_pRoot, Null());
    }
    QvResult SetComparisonFunction(PFNCompare pfnCompare, unsigned int uParam)
    {
        if (m_uSize != 0) return QV_RES_INVALID_STATE;
        m_pfnCompare = pfnCompare;
        m_uParam = uParam;
        return QV_RES_OK;
    }

    QvResult ReserveCapacity(std::uint64_t uCapacity)
    {
        if (m_uLock != 0 && GetCapacity() < uCapacity) return QV_RES_INVALID_STATE;
        const std::uint64_t uUsed = static_cast<std::uint64_t>(m_uSize) + m_uAllocated;
        if (uUsed >= uCapacity) return QV_RES_OK;
        return m_allocator.Reserve(static_cast<unsigned int>(uCapacity - uUsed)) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
    }
    QvResult ReduceCapacity(unsigned int uCapacity)
    {
        if (m_uLock != 0) return QV_RES_INVALID_STATE;
        m_allocator.Reduce(std::max(uCapacity, m_uSize + m_uAllocated) - m_uSize - m_uAllocated);
        return QV_RES_OK;
    }
    unsigned int GetCapacity() const { return m_uSize + m_uAllocated + m_allocator.GetBlockCount(); }
    unsigned int GetLockCapacity() const { return m_uLock; }
    void SetLockCapacity(unsigned int uLock) { m_uLock = uLock; }
    unsigned int GetElementSize() const { return m_uElementSize; }
    unsigned int GetSize() const { return m_uSize; }
    bool IsEmpty() const { return m_uSize == 0; }
    unsigned int GetFirstIndex() const { return 0; }
    unsigned int GetLastIndex() const { return m_uSize - 1; }

    QvResult Insert(const void* pElement)
    {
        const QvResult res = ReserveOneMore();
        return res == QV_RES_OK ? Insert(pElement, Null(), eCOPY_KEY, m_pRoot, nullptr) : res;
    }
    QvResult AllocateSorted(const void* pKey, void** ppElement)
    {
        if (ppElement == nullptr) return QV_RES_INVALID_ARGUMENT;
        QvResult res = ReserveOneMore();
        if (res != QV_RES_OK) return res;
        SNode* pNode = nullptr;
        res = Insert(pKey, Null(), eALLOCATE, m_pRoot, &pNode);
        if (res == QV_RES_OK) *ppElement = Element(pNode);
        return res;
    }
    void* Allocate()
    {
        if (ReserveOneMore() != QV_RES_OK) return nullptr;
        SNode* const pNode = static_cast<SNode*>(m_allocator.Pop());
        *pNode = {Null(), Null(), Null(), 1};
        ++m_uAllocated;
        return Element(pNode);
    }
    QvResult InsertAllocated(void* pElement)
    {
        if (pElement == nullptr) return QV_RES_INVALID_ARGUMENT;
        return Insert(pElement, Null(), eLINK_ALLOCATED, m_pRoot, nullptr);
    }
    void EraseAllocated(void* pElement)
    {
        if (pElement == nullptr) return;
        m_allocator.Push(static_cast<SNode*>(pElement) - 1);
        --m_uAllocated;
    }

    void EraseElement(const void* pKey)
    {
        SErasure erasure = {pKey, Null(), Null(), Null(), Null()};
        Erase(erasure, m_pRoot);
        SNode* const pRemoved = erasure.pRemoved;
        if (IsNull(pRemoved)) return;
        SNode* const pReplacement = erasure.pReplacement;
        if (!IsNull(pReplacement))
        {
            SNode* const pParent = pRemoved->pParent;
            if (!IsNull(pParent) && pParent->pLeft == pRemoved) pParent->pLeft = pReplacement;
            else if (!IsNull(pParent) && pParent->pRight == pRemoved) pParent->pRight = pReplacement;
            else m_pRoot = pReplacement;
            if (!IsNull(pRemoved->pLeft)) pRemoved->pLeft->pParent = pReplacement;
            if (!IsNull(pRemoved->pRight)) pRemoved->pRight->pParent = pReplacement;
            *pReplacement = *pRemoved;
        }
        if (!CurrentNodeIsInvalid() && Compare(pKey, Element(m_pCurrent)) <= 0) InvalidateCurrentNode();
        Destruct(Element(pRemoved));
        m_allocator.Push(pRemoved);
        --m_uSize;
    }
    void Erase(unsigned int uIndex)
    {
        SNode* const pNode = FindNodeByIndex(uIndex);
        if (!IsNull(pNode)) EraseElement(Element(pNode));
    }
    void EraseAll()
    {
        EraseSubtree(m_pRoot);
        m_pRoot = Null();
        InvalidateCurrentNode();
    }

    SNode* FindNode(const void* pKey) const
    {
        SNode* pNode = m_pRoot;
        while (!IsNull(pNode))
        {
            const int nOrder = Compare(pKey, Element(pNode));
            if (nOrder == 0) break;
            pNode = nOrder < 0 ? pNode->pLeft : pNode->pRight;
        }
        return pNode;
    }
    SNode* FindNodeByIndex(unsigned int uIndex) const
    {
        if (m_uSize == 0 || uIndex > m_uSize - 1) return Null();
        if (CurrentNodeIsInvalid())
        {
            if ((m_uSize - 1) / 2 >= uIndex) SetCurrent(0, FindNodeMin(m_pRoot));
            else SetCurrent(m_uSize - 1, FindNodeMax(m_pRoot));
        }
        if (uIndex != m_uCurrentIndex)
        {
            if (uIndex == 0) SetCurrent(0, FindNodeMin(m_pRoot));
            else if (uIndex == m_uSize - 1) SetCurrent(m_uSize - 1, FindNodeMax(m_pRoot));
            else
            {
                while (m_uCurrentIndex > uIndex) DecrementCurrentNode();
                while (m_uCurrentIndex < uIndex) IncrementCurrentNode();
            }
        }
        return m_pCurrent;
    }
    SNode* FindNodeMin(SNode* pNode) const
    {
        while (!IsNull(pNode->pLeft)) pNode = pNode->pLeft;
        return pNode;
    }
    SNode* FindNodeMax(SNode* pNode) const
    {
        while (!IsNull(pNode->pRight)) pNode = pNode->pRight;
        return pNode;
    }

    SNode* GetCurrentNode() const { return m_pCurrent; }
    /// The current index is always that of the current node.
    void SetCurrentNode(SNode* pNode) const
    {
        SetCurrent(0, pNode == nullptr ? Null() : pNode);
        if (CurrentNodeIsInvalid()) return;
        for (SNode* p = FindNodeMin(m_pRoot); p != pNode; p = Successor(p)) ++m_uCurrentIndex;
    }
    void InvalidateCurrentNode() const { m_pCurrent = Null(); }
    bool CurrentNodeIsInvalid() const { return IsNull(m_pCurrent); }
    void IncrementCurrentNode() const
    {
        if (!CurrentNodeIsInvalid()) SetCurrent(m_uCurrentIndex + 1, Successor(m_pCurrent));
    }
    void DecrementCurrentNode() const
    {
        if (!CurrentNodeIsInvalid()) SetCurrent(m_uCurrentIndex - 1, Predecessor(m_pCurrent));
    }
    unsigned int GetCurrentIndex() const { return m_uCurrentIndex; }
    SNode* GetRoot() const { return m_pRoot; }
    unsigned int GetAllocatedCount() const { return m_uAllocated; }
    SNode* GetFirst() const { return OrNone(FindNodeMin(m_pRoot)); }
    SNode* GetLast() const { return OrNone(FindNodeMax(m_pRoot)); }
    SNode* GetNext(SNode* pNode) const { return pNode != nullptr ? OrNone(Successor(pNode)) : nullptr; }
    SNode* GetPrevious(SNode* pNode) const { return pNode != nullptr ? OrNone(Predecessor(pNode)) : nullptr; }
    static void* GetElement(SNode* pNode) { return IsNull(pNode) ? nullptr : Element(pNode); }
    static bool IsSentinel(const SNode* pNode) { return IsNull(pNode); }

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
    enum EAction
    {
        eCOPY_KEY,
        eALLOCATE,
        eLINK_ALLOCATED
    };
    struct SErasure
    {
        const void* pKey;
        SNode* pLast;
        SNode* pCandidate;
        SNode* pRemoved;
        SNode* pReplacement;
    };

    /// The sentinel: level 0, linked to itself.
    static SNode* Null()
    {
        static SNode s_stNull = {&s_stNull, &s_stNull, &s_stNull, 0};
        return &s_stNull;
    }
    static bool IsNull(const SNode* pNode) { return pNode == Null(); }
    static SNode* OrNone(SNode* pNode) { return IsNull(pNode) ? nullptr : pNode; }
    static void* Element(SNode* pNode) { return pNode + 1; }
    int Compare(const void* pFirst, const void* pSecond) const { return m_pfnCompare(pFirst, pSecond, m_uParam); }
    void SetCurrent(unsigned int uIndex, SNode* pNode) const
    {
        m_uCurrentIndex = uIndex;
        m_pCurrent = pNode;
    }

    QvResult ReserveOneMore()
    {
        const std::uint64_t uCapacity = static_cast<std::uint64_t>(m_uSize) + m_uAllocated + 1;
        return GetCapacity() < uCapacity ? ReserveCapacity(uCapacity) : QV_RES_OK;
    }

    static void Skew(SNode*& rpSlot)
    {
        SNode* const pNode = rpSlot;
        if (IsNull(pNode) || pNode->pLeft->uLevel != pNode->uLevel) return;
        SNode* const pLeft = pNode->pLeft;
        if (!IsNull(pLeft->pRight)) pLeft->pRight->pParent = pNode;
        pLeft->pParent = pNode->pParent;
        pNode->pParent = pLeft;
        pNode->pLeft = pLeft->pRight;
        pLeft->pRight = pNode;
        rpSlot = pLeft;
    }
    static void Split(SNode*& rpSlot)
    {
        SNode* const pNode = rpSlot;
        if (IsNull(pNode) || pNode->pRight->pRight->uLevel != pNode->uLevel) return;
        SNode* const pRight = pNode->pRight;
        if (!IsNull(pRight->pLeft)) pRight->pLeft->pParent = pNode;
        pRight->pParent = pNode->pParent;
        pNode->pParent = pRight;
        pNode->pRight = pRight->pLeft;
        pRight->pLeft = pNode;
        rpSlot = pRight;
        ++pRight->uLevel;
    }

    QvResult Insert(const void* pKey, SNode* pParent, EAction eAction, SNode*& rpSlot, SNode** ppInserted)
    {
        if (!IsNull(rpSlot))
        {
            SNode* const pNode = rpSlot;
            QvResult res = QV_RES_OK;
            if (Compare(pKey, Element(pNode)) < 0) res = Insert(pKey, pNode, eAction, pNode->pLeft, ppInserted);
            else if (Compare(Element(pNode), pKey) < 0) res = Insert(pKey, pNode, eAction, pNode->pRight, ppInserted);
            else return QV_RES_ALREADY_EXISTS;
            Skew(rpSlot);
            Split(rpSlot);
            return res;
        }
        SNode* pNew = nullptr;
        if (eAction == eLINK_ALLOCATED)
        {
            pNew = static_cast<SNode*>(const_cast<void*>(pKey)) - 1;
            --m_uAllocated;
        }
        else pNew = static_cast<SNode*>(m_allocator.Pop());
        *pNew = {Null(), Null(), pParent, 1};
        if (eAction == eCOPY_KEY) ConstructFrom(Element(pNew), pKey);
        rpSlot = pNew;
        ++m_uSize;
        if (ppInserted != nullptr) *ppInserted = pNew;
        if (!CurrentNodeIsInvalid() && Compare(pKey, Element(m_pCurrent)) < 0) InvalidateCurrentNode();
        return QV_RES_OK;
    }

    void Erase(SErasure& rErasure, SNode*& rpSlot)
    {
        if (IsNull(rpSlot)) return;
        SNode* const pNode = rpSlot;
        rErasure.pLast = pNode;
        if (Compare(rErasure.pKey, Element(pNode)) < 0) Erase(rErasure, pNode->pLeft);
        else
        {
            rErasure.pCandidate = pNode;
            Erase(rErasure, pNode->pRight);
        }
        if (pNode == rErasure.pLast)
        {
            if (IsNull(rErasure.pCandidate) || Compare(rErasure.pKey, Element(rErasure.pCandidate)) != 0) return;
            rErasure.pRemoved = rErasure.pCandidate;
            if (rErasure.pRemoved != pNode) rErasure.pReplacement = pNode;
            rErasure.pCandidate = Null();
            if (!IsNull(pNode->pRight)) pNode->pRight->pParent = pNode->pParent;
            rpSlot = pNode->pRight;
        }
        else if (pNode->pLeft->uLevel + 1 < pNode->uLevel || pNode->pRight->uLevel + 1 < pNode->uLevel)
        {
            --pNode->uLevel;
            if (pNode->pRight->uLevel > pNode->uLevel) pNode->pRight->uLevel = pNode->uLevel;
            Skew(rpSlot);
            Skew(rpSlot->pRight);
            Skew(rpSlot->pRight->pRight);
            Split(rpSlot);
            Split(rpSlot->pRight);
        }
    }

    void EraseSubtree(SNode* pNode)
    {
        if (IsNull(pNode)) return;
        EraseSubtree(pNode->pLeft);
        EraseSubtree(pNode->pRight);
        Destruct(Element(pNode));
        m_allocator.Push(pNode);
        --m_uSize;
    }
    SNode* CopyOfSubtree(SNode* pSrc, SNode* pParent)
    {
        if (IsNull(pSrc)) return Null();
        SNode* const pNode = static_cast<SNode*>(m_allocator.Pop());
        *pNode = {Null(), Null(), pParent, pSrc->uLevel};
        ConstructFrom(Element(pNode), Element(pSrc));
        ++m_uSize;
        pNode->pLeft = CopyOfSubtree(pSrc->pLeft, pNode);
        pNode->pRight = CopyOfSubtree(pSrc->pRight, pNode);
        return pNode;
    }

    SNode* Successor(SNode* pNode) const
    {
        if (!IsNull(pNode->pRight)) return FindNodeMin(pNode->pRight);
        while (!IsNull(pNode->pParent) && pNode->pParent->pRight == pNode) pNode = pNode->pParent;
        return pNode->pParent;
    }
    SNode* Predecessor(SNode* pNode) const
    {
        if (!IsNull(pNode->pLeft)) return FindNodeMax(pNode->pLeft);
        while (!IsNull(pNode->pParent) && pNode->pParent->pLeft == pNode) pNode = pNode->pParent;
        return pNode->pParent;
    }

    CTrace* m_pTrace;
    CBlockAllocatorTwin m_allocator;
    unsigned int m_uElementSize;
    PFNCompare m_pfnCompare;
    unsigned int m_uParam;
    unsigned int m_uLock = 0;
    unsigned int m_uSize = 0;
    unsigned int m_uAllocated = 0;
    SNode* m_pRoot = Null();
    mutable SNode* m_pCurrent = Null();
    mutable unsigned int m_uCurrentIndex = 0;
};
}  // namespace twin

#endif
