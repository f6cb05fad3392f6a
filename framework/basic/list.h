#ifndef FRAMEWORK_BASIC_LIST_H
#define FRAMEWORK_BASIC_LIST_H
#include <stddef.h>

#include <new>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/ordered_sequence.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// A doubly linked list of equal elements of a size known at run time; CList<T> is its typed front-end.
///
///     head -> [previous|next|element] <-> [previous|next|element] <-> ... <- tail        free nodes (spare capacity)
///                                              ^ cached (index, node)
///
/// Elements are made, copied and destroyed through the three virtual element operations, which a derived class
/// overrides. Its destructor calls EraseAll(), since the destructor of the base can no longer call the overrides.
///
/// Ownership  Owns its elements and nodes. Borrows the allocator, which must outlive it; null means the default one.
/// Threads    No locking: one thread at a time. Access by index moves the cache even of a const list.
/// Growth     Exact: capacity is the size plus the free nodes. Erased nodes become free and are used again; only
///            ReduceCapacity() and destruction give memory back.
/// Addresses  An element stays where it is until it is erased; sorting and swapping only relink.
/// Cost       Access by index walks from the index that was used last; the first and the last element need no walk. A
///            scan by rising or falling index takes one step per element. Handles walk without the cache.
/// Failure    Reported as QvResult with the lists as they were (nodes allocated before stay as spare capacity); what
///            returns nothing ignores bad arguments. Element operations and comparisons must not throw.
///
/// - **Lifetime:** Without an allocator given: made while the framework is up and destroyed before it goes down, so not
///   in static storage. If one is made at another time, one line on standard error names the class, and abort()
///   follows.
class QV_EXPORT CListBase
{
public:
    /// What a handle points at: the links in front of the element. For the list's own use only.
    struct SNode
    {
        SNode(SNode* pPreviousNode, SNode* pNextNode) : stBackwards{nullptr}, pFollowing(pNextNode)
        {
            SetPrevious(pPreviousNode);
        }
        SNode* GetPrevious() const { return reinterpret_cast<SNode*>(stBackwards.pNext); }
        void SetPrevious(SNode* pNode) { stBackwards.pNext = reinterpret_cast<IAllocator::SBlock*>(pNode); }

        // The word that links free blocks leads to the previous node: read from its last node, a list is a chain of
        // blocks as an allocator takes it back.
        IAllocator::SBlock stBackwards;
        SNode* pFollowing;
    };

    /// A handle: designates an element, or none. Valid until that element is erased; it stays valid when elements are
    /// moved, sorted, swapped, or transferred to a list with the same source of memory.
    struct SPtr
    {
        constexpr SPtr(SNode* pNodeOfElement = nullptr) : pNode(pNodeOfElement) {}
        explicit constexpr operator bool() const { return pNode != nullptr; }
        friend constexpr bool operator==(SPtr ptr1, SPtr ptr2) { return ptr1.pNode == ptr2.pNode; }
        friend constexpr bool operator!=(SPtr ptr1, SPtr ptr2) { return ptr1.pNode != ptr2.pNode; }

        SNode* pNode;
    };
    using Position = SPtr;

    CListBase(unsigned int uSizeOfElement, IAllocator* pAllocator);
    /// Takes nodes from the source of rAllocator, whose block size is kept if it suffices for a node.
    CListBase(unsigned int uSizeOfElement, const CBlockAllocator& rAllocator);
    /// Same source of memory, element size and elements, neither spare capacity nor lock. The element operations of a
    /// derived class cannot be called from here: construct an empty object and assign.
    CListBase(const CListBase& rSrc);
    virtual ~CListBase();
    /// Copies the elements. Changes nothing when the element sizes differ, the locked capacity does not suffice, or
    /// memory runs out.
    CListBase& operator=(const CListBase& rSrc);

    unsigned int GetSize() const;
    bool IsEmpty() const;
    unsigned int GetFirstIndex() const;
    /// GetSize() - 1: 0xFFFFFFFF when empty.
    unsigned int GetLastIndex() const;
    unsigned int GetEndIndex() const;

    /// The node at an index below the size, else none. Moves the cache there.
    SPtr Find(unsigned int uIndex) const;
    /// The element at an index below the size, else null.
    void* GetAt(unsigned int uIndex);
    const void* GetAt(unsigned int uIndex) const;

    /// The first and the last node, and the neighbours of a node. Beyond an end, or for no node, the result is no node.
    SPtr GetFirst() const { return m_pHead; }
    SPtr GetLast() const { return m_pTail; }
    static SPtr GetNext(SPtr pNode) { return pNode ? pNode.pNode->pFollowing : nullptr; }
    static SPtr GetPrevious(SPtr pNode) { return pNode ? pNode.pNode->GetPrevious() : nullptr; }
    /// The element of a node; null without a node.
    static void* GetElement(SPtr pNode) { return pNode ? pNode.pNode + 1 : nullptr; }

    /// Puts uCount elements in front of index uIndex (GetSize() appends): copies of *pElement, or newly made ones when
    /// it is null. *pElement may be an element of this list.
    /// QV_RES_OK                the elements are in
    /// QV_RES_INVALID_ARGUMENT  uIndex is above the size
    /// QV_RES_INVALID_STATE     the capacity is locked and does not suffice
    /// QV_RES_OUT_OF_MEMORY     the allocator gave no nodes
    QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement);
    /// Puts copies of all elements of rSrc at the front of this list: uIndex is checked, but not used. This is kept as
    /// it is for existing programs; Copy() inserts at the index it is given. Results as above, and
    /// QV_RES_INVALID_ARGUMENT  the element sizes differ
    QvResult Insert(unsigned int uIndex, const CListBase& rSrc);
    /// Links a node in front of index uIndex and counts it as an element; the caller constructs it. Null when uIndex is
    /// above the size or the capacity cannot grow.
    void* Allocate(unsigned int uIndex);
    /// Inserts a copy in front of the first element that does not order before it; the list must be sorted. Results as
    /// of Insert().
    QvResult InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam);
    /// Links a node, as Allocate() does, at the place of pKey in a sorted list, unless an equal element is there; the
    /// caller constructs it.
    /// QV_RES_OK                *ppElement is the room for the element
    /// QV_RES_INVALID_ARGUMENT  ppElement is null
    /// QV_RES_ALREADY_EXISTS    an equal element is there
    /// QV_RES_FAIL              the capacity is locked and too small, memory ran out, or 32 bits do not hold it
    QvResult AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam, void** ppElement);

    /// Destroys up to uCount elements from uIndex on; the capacity stays. Nothing happens when uIndex is no element.
    void Erase(unsigned int uIndex, unsigned int uCount);
    void Erase(unsigned int uIndex);
    /// Destroys the element of a node of this list; no node is ignored.
    void Erase(SPtr pNode);
    void EraseAll();

    /// Allocates the nodes that are missing for a capacity of uCapacity.
    /// QV_RES_OK             the capacity is at least uCapacity
    /// QV_RES_INVALID_STATE  it is locked and below uCapacity
    /// QV_RES_OUT_OF_MEMORY  the allocator gave no nodes, or the bytes of that many do not fit 32 bits
    QvResult ReserveCapacity(unsigned int uCapacity);
    /// Gives free nodes back until the capacity is the larger of uCapacity and the size; no effect if it is not above.
    /// QV_RES_INVALID_STATE  it is locked, even if nothing would change
    QvResult ReduceCapacity(unsigned int uCapacity);
    unsigned int GetCapacity() const;
    /// Non-zero: the capacity is locked.
    unsigned int GetLockCapacity() const;
    void SetLockCapacity(unsigned int uLockCapacity);

    /// Relinks a node of this list as the first (last); no node is ignored.
    void MoveToFirst(SPtr pNode);
    void MoveToLast(SPtr pNode);
    /// Exchanges the places of two nodes; nothing happens when an index is not below the size.
    void Swap(unsigned int uIndex1, unsigned int uIndex2);

    /// Moves all elements of rSrc in front of index uIndex.
    /// QV_RES_INVALID_ARGUMENT  the element sizes differ, uIndex is above the size, or rSrc is this list
    /// QV_RES_INVALID_STATE     the capacity is locked and does not suffice
    /// QV_RES_OUT_OF_MEMORY     the allocator gave no nodes
    QvResult Merge(unsigned int uIndex, CListBase& rSrc);
    /// Moves the elements from uIndex on to the front of rDest, in front of what is there.
    /// QV_RES_INVALID_ARGUMENT  the element sizes differ, uIndex is not below the size, or rDest is this list
    /// QV_RES_INVALID_STATE     the capacity of rDest is locked and below the number of those elements
    /// QV_RES_OUT_OF_MEMORY     the allocator of rDest gave no nodes
    QvResult Split(unsigned int uIndex, CListBase& rDest);
    /// Copies uCount elements from uSrcIndex on in front of index uDestIndex (at the end when that is above the size).
    /// A lock of the capacity is ignored: the list grows.
    /// QV_RES_OK                the copies are in
    /// QV_RES_INVALID_ARGUMENT  the source has fewer elements from there on, or the element sizes differ
    /// QV_RES_OUT_OF_MEMORY     the allocator gave no nodes
    static QvResult Copy(CListBase* pDest, unsigned int uDestIndex, const CListBase* pSrc, unsigned int uSrcIndex,
                         unsigned int uCount);
    /// Moves elements, with the parameters of Copy(). Between lists with the same source of memory the nodes are linked
    /// into the other list, and nothing is copied or allocated; otherwise the elements are copied, and those of the
    /// source destroyed. Results as above.
    static QvResult Move(CListBase* pDest, unsigned int uDestIndex, CListBase* pSrc, unsigned int uSrcIndex,
                         unsigned int uCount);

    /// Index of the first element of a sorted list that does not order before pKey, the end index when all do.
    unsigned int InternalFindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first smallest (largest) element; 0 when empty.
    unsigned int GetMinElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;
    unsigned int GetMaxElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first element of a sorted list that compares equal, else the end index. Cost: logarithmic in
    /// comparisons, plus one for each equal element; linear in steps.
    unsigned int FindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// The same from uStartIndex on in any list. Cost: linear.
    unsigned int Find(unsigned int uStartIndex, const void* pKey, PFNCompareElements pfnCompare,
                      unsigned int uParam) const;
    /// Shell sort of the nodes, not stable. Throws what operator new[] throws (it sorts an array of their addresses).
    void Sort(PFNCompareElements pfnCompare, unsigned int uParam);

    /// Makes an element in raw memory; copies one into raw memory; destroys one.
    virtual void Construct(void* pElement);
    virtual void ConstructFrom(void* pElement, const void* pSource);
    virtual void Destruct(void* pElement);

protected:
    /// For orvel_internal::CExactClass.
    QV_HIDDEN CListBase(unsigned int, const orvel_internal::SNoMembers& rNoMembers) : m_nodeAllocator(rNoMembers) {}
    /// Exchanges everything but the element size with a list of the same element size.
    void ExchangeContents(CListBase& rOther);
    /// EraseAll() for elements that need no destruction. Cost: constant.
    QV_HIDDEN void DropAll()
    {
        if (m_uSize == 0) return;
        m_nodeAllocator.PushChain(&m_pTail->stBackwards, &m_pHead->stBackwards, m_uSize);
        m_uSize = m_uCachedIndex = 0;
        m_pHead = m_pTail = m_pCachedNode = nullptr;
    }
    /// Where the element of a block from the node allocator lies.
    static void* ElementIn(void* pBlock) { return static_cast<unsigned char*>(pBlock) + sizeof(SNode); }
    /// Links a block, in which the element has been made already, as the last node. The cache moves to it.
    void LinkLast(void* pBlock)
    {
        SNode* const pNode = ::new (pBlock) SNode(m_pTail, nullptr);
        (m_pTail != nullptr ? m_pTail->pFollowing : m_pHead) = pNode;
        m_pTail = m_pCachedNode = pNode;
        m_uCachedIndex = m_uSize++;
    }

    /// Element access for the shared algorithms. It has a position of its own to walk from, and leaves the cache alone.
    class CElementAccess
    {
    public:
        static constexpr bool ms_bASKS_SINGLE_TWICE = false;

        explicit CElementAccess(const SNode* pHead) : m_pNode(pHead), m_uIndex(0) {}
        const void* operator()(unsigned int uIndex)
        {
            for (; m_uIndex < uIndex; ++m_uIndex) m_pNode = m_pNode->pFollowing;
            for (; m_uIndex > uIndex; --m_uIndex) m_pNode = m_pNode->GetPrevious();
            return m_pNode + 1;
        }

    private:
        const SNode* m_pNode;
        unsigned int m_uIndex;
    };
    template <typename Compare>
    QV_HIDDEN orvel_internal::CSearch<CElementAccess, Compare> SearchWith(Compare compare) const
    {
        return {m_uSize, CElementAccess(m_pHead), compare};
    }
    template <typename Compare>
    QV_HIDDEN void SortElements(const Compare& rCompare)
    {
        if (m_uSize < 2) return;
        const orvel_internal::CScratchArray<void*> elements(m_uSize);
        ListElements(elements.Get());
        orvel_internal::SortPointers(elements.Get(), m_uSize, rCompare);
        RelinkAs(elements.Get());
    }

    CBlockAllocator m_nodeAllocator;
    unsigned int m_uLockCapacity;
    unsigned int m_uSize;
    unsigned int m_uElementSize;
    mutable unsigned int m_uCachedIndex;
    mutable SNode* m_pCachedNode;
    SNode* m_pHead;
    SNode* m_pTail;

private:
    struct SChain;

    QV_HIDDEN static QvResult MoveByCopy(CListBase* pDest, unsigned int uDestIndex, CListBase* pSrc,
                                         unsigned int uSrcIndex, unsigned int uCount);
    QV_HIDDEN QvResult ReserveFree(unsigned int uCount);
    QV_HIDDEN SNode* NewNode(const void* pElement);
    QV_HIDDEN void Discard(const SChain& rstChain);
    QV_HIDDEN SNode* NodeAt(unsigned int uIndex) const;
    QV_HIDDEN void Link(const SChain& rstChain, SNode* pBefore);
    QV_HIDDEN SChain Unlink(SNode* pFirst, unsigned int uCount);
    QV_HIDDEN void SetNeighbours(SNode* pNode, SNode* pFollowing);
    QV_HIDDEN void SetCache(unsigned int uIndex, SNode* pNode) const;
    QV_HIDDEN void ListElements(void** ppElements) const;
    QV_HIDDEN void RelinkAs(void* const* ppElements);
};

// Walks from both ends at once: each step waits until its link is loaded, and so two loads are under way together.
inline void CListBase::ListElements(void** ppElements) const
{
    SNode* pFront = m_pHead;
    SNode* pBack = m_pTail;
    for (void** ppEnd = ppElements + m_uSize; ppElements < ppEnd;)
    {
        *ppElements++ = pFront + 1;
        *--ppEnd = pBack + 1;
        pFront = pFront->pFollowing;
        pBack = pBack->GetPrevious();
    }
}

// Links all nodes anew, in the order of their elements.
inline void CListBase::RelinkAs(void* const* ppElements)
{
    // The sorted nodes are scattered in memory: each is prefetched while nodes before it are being linked.
    constexpr unsigned int uAHEAD = 16;
    SNode* pLast = static_cast<SNode*>(ppElements[0]) - 1;
    m_pHead = pLast;
    pLast->SetPrevious(nullptr);
    for (unsigned int uNext = 1; uNext < m_uSize; ++uNext)
    {
        if (m_uSize - uNext > uAHEAD) __builtin_prefetch(ppElements[uNext + uAHEAD], 1);
        SNode* const pNext = static_cast<SNode*>(ppElements[uNext]) - 1;
        pLast->pFollowing = pNext;
        pNext->SetPrevious(pLast);
        pLast = pNext;
    }
    pLast->pFollowing = nullptr;
    m_pTail = pLast;
    m_uCachedIndex = 0;
    m_pCachedNode = m_pHead;
}

/// A list of T over CListBase, whose growth, threading and cost rules it has:
///
///     CList<int> list;
///     list.Append(7);
///     list.InsertSorted(5);
///     for (int n : list) ...
///     list.Erase(list.GetFirst());
///
/// Iterators  Bidirectional. They and handles stay valid until their element is erased, also over sorting, swapping and
///            transfer to a list with the same source of memory (but such an iterator, when it reaches the end, steps
///            back into the list that it came from).
/// Derived    A class derived from CList<T> may override the element operations: every operation then calls them.
template <typename T>
class QV_EXPORT CList : public orvel_internal::CTypedSequence<T, CListBase, orvel_internal::CTypedNodes<T, CListBase>>
{
    using Sequence = orvel_internal::CTypedSequence<T, CListBase, orvel_internal::CTypedNodes<T, CListBase>>;
    friend class orvel_internal::CExactClass;

public:
    using typename Sequence::const_handle;
    using typename Sequence::handle;

    explicit CList(IAllocator* pAllocator = nullptr) : Sequence(pAllocator) {}
    explicit CList(const CBlockAllocator& rAllocator) : Sequence(rAllocator) {}
    CList(const CList& rSrc) : Sequence(rSrc.m_nodeAllocator) { CListBase::operator=(rSrc); }
    CList(CList&& rSrc) noexcept : Sequence(rSrc.m_nodeAllocator) { CListBase::ExchangeContents(rSrc); }
    CList& operator=(const CList& rSrc) = default;
    /// The two lists exchange everything.
    CList& operator=(CList&& rSrc) = default;

    QvResult Append(const T& rElement)
    {
        if (!CListBase::m_nodeAllocator.HasFree() || !orvel_internal::CExactClass::IsOf(*this))
        {
            return Sequence::Append(rElement);
        }
        // The same as Insert(), without its calls.
        void* const pBlock = CListBase::m_nodeAllocator.Pop();
        ::new (CListBase::ElementIn(pBlock)) T(rElement);
        CListBase::LinkLast(pBlock);
        return QV_RES_OK;
    }
    void EraseAll()
    {
        const bool bDrop = std::is_trivially_destructible<T>::value && orvel_internal::CExactClass::IsOf(*this);
        if (bDrop) CListBase::DropAll();
        else CListBase::EraseAll();
    }
    using CListBase::MoveToFirst;
    using CListBase::MoveToLast;
    using Sequence::Find;
    /// The element at an index below the size, else none. Moves the cache there.
    handle Find(unsigned int uIndex) { return handle(CListBase::Find(uIndex)); }
    const_handle Find(unsigned int uIndex) const { return const_handle(CListBase::Find(uIndex)); }

private:
    template <typename NoMembers,
              typename = std::enable_if_t<std::is_same<NoMembers, orvel_internal::SNoMembers>::value>>
    explicit CList(NoMembers noMembers) : Sequence(noMembers)
    {
    }
};

#endif
