#ifndef FRAMEWORK_BASIC_LIST_H
#define FRAMEWORK_BASIC_LIST_H
#include <stddef.h>

#include <initializer_list>
#include <new>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/grow_capacity.h"
#include "framework/basic/internal/ordered_sequence.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/basic/internal/typed_sequence.h"
#include "framework/kernel/export.h"
#include "framework/kernel/internal/move.h"
#include "framework/kernel/result.h"

/// A doubly linked list of equal elements of a size known at run time; CList<T> is its typed front-end.
/// ```
/// head -> [previous|next|element] <-> [previous|next|element] <-> ... <- tail        free nodes (spare capacity)
///                                          ^ cached (index, node)
/// ```
///
/// Elements are made, copied and destroyed through the three virtual element operations, which a derived class
/// overrides. Its destructor calls EraseAll(), since the destructor of the base can no longer call the overrides.
///
/// - **Ownership:** Owns its elements and nodes. Borrows the allocator, which must outlive it; null means the default
///   one.
/// - **Threads:** No locking: one thread at a time. Access by index moves the cache even of a const list.
/// - **Growth:** Exact: capacity is the size plus the free nodes. Erased nodes become free and are used again; only
///   ReduceCapacity() and destruction give memory back.
/// - **Alignment:** Of elements as of operator new[]: of more, which the typed front-end refuses to compile, nothing is
///   known here.
/// - **Addresses:** An element stays where it is until it is erased; sorting and swapping only relink.
/// - **Cost:** Access by index walks from the index that was used last; the first and the last element need no walk. A
///   scan by rising or falling index takes one step per element. Handles walk without the cache.
/// - **Failure:** Reported as QvResult with the lists as they were (nodes allocated before stay as spare capacity);
///   what returns nothing ignores bad arguments. Element operations and comparisons must not throw.
/// - **Lifetime:** Without an allocator given: made while the framework is up and destroyed before it goes down, so not
///   in static storage. If one is made at another time, one line on standard error names the class, and abort()
///   follows.
class QV_EXPORT CListBase
{
public:
    /// What a handle points at: the links in front of the element. For the list's own use only.
    struct SNode
    {
        /// Sets both links.
        SNode(SNode* pPreviousNode, SNode* pNextNode) : stBackwards{nullptr}, pFollowing(pNextNode)
        {
            SetPrevious(pPreviousNode);
        }
        /// The node in front, or null.
        SNode* GetPrevious() const { return reinterpret_cast<SNode*>(stBackwards.pNext); }
        /// Sets it.
        void SetPrevious(SNode* pNode) { stBackwards.pNext = reinterpret_cast<IAllocator::SBlock*>(pNode); }

        // The word that links free blocks leads to the previous node: read from its last node, a list is a chain of
        // blocks as an allocator takes it back.
        IAllocator::SBlock stBackwards;  ///< Leads to the node in front; see GetPrevious().
        SNode* pFollowing;               ///< The node behind, or null.
    };

    /// A handle: designates an element, or none. Valid until that element is erased; it stays valid when elements are
    /// moved, sorted, swapped, or transferred to a list with the same source of memory.
    struct SPtr
    {
        /// Of a node; null means none.
        constexpr SPtr(SNode* pNodeOfElement = nullptr) : pNode(pNodeOfElement) {}
        /// Whether it designates an element.
        explicit constexpr operator bool() const { return pNode != nullptr; }
        /// Whether both designate the same element, or none.
        friend constexpr bool operator==(SPtr ptr1, SPtr ptr2) { return ptr1.pNode == ptr2.pNode; }
        friend constexpr bool operator!=(SPtr ptr1, SPtr ptr2) { return ptr1.pNode != ptr2.pNode; }

        SNode* pNode;  ///< Null for none.
    };
    /// Where an element is.
    using Position = SPtr;

    /// Elements of uSizeOfElement bytes, made through the element operations.
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

    /// How many elements there are.
    unsigned int GetSize() const;
    /// Whether there is no element.
    bool IsEmpty() const;
    /// 0.
    unsigned int GetFirstIndex() const;
    /// GetSize() - 1: 0xFFFFFFFF when empty.
    unsigned int GetLastIndex() const;
    /// GetSize(): the index behind the last element.
    unsigned int GetEndIndex() const;

    /// The node at an index below the size, else none. Moves the cache there.
    SPtr Find(unsigned int uIndex) const;
    /// The element at an index below the size, else null.
    void* GetAt(unsigned int uIndex);
    const void* GetAt(unsigned int uIndex) const;

    /// The first node, or none.
    SPtr GetFirst() const { return m_pHead; }
    /// The last node, or none.
    SPtr GetLast() const { return m_pTail; }
    /// The node behind; none behind the last, and of none.
    static SPtr GetNext(SPtr pNode) { return pNode ? pNode.pNode->pFollowing : nullptr; }
    /// The node in front; none in front of the first, and of none.
    static SPtr GetPrevious(SPtr pNode) { return pNode ? pNode.pNode->GetPrevious() : nullptr; }
    /// The element of a node; null without a node.
    static void* GetElement(SPtr pNode) { return pNode ? pNode.pNode + 1 : nullptr; }

    /// Puts uCount elements in front of index uIndex (GetSize() appends): copies of *pElement, or newly made ones when
    /// it is null. *pElement may be an element of this list.
    ///
    /// - `QV_RES_OK`: the elements are in.
    /// - `QV_RES_INVALID_ARGUMENT`: uIndex is above the size.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no nodes.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement);
    /// Puts copies of all elements of rSrc at the front of this list: uIndex is checked, but not used. This is kept as
    /// it is for existing programs; Copy() inserts at the index it is given. Results as of the other form, and
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: the element sizes differ.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, const CListBase& rSrc);
    /// Links a node in front of index uIndex and counts it as an element; the caller constructs it. Null when uIndex is
    /// above the size or the capacity cannot grow.
    void* Allocate(unsigned int uIndex);
    /// Inserts a copy in front of the first element that does not order before it; the list must be sorted. Results as
    /// of Insert().
    [[nodiscard]] QvResult InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam);
    /// Links a node, as Allocate() does, at the place of pKey in a sorted list, unless an equal element is there; the
    /// caller constructs it.
    ///
    /// - `QV_RES_OK`: *ppElement is the room for the element.
    /// - `QV_RES_INVALID_ARGUMENT`: ppElement is null.
    /// - `QV_RES_ALREADY_EXISTS`: an equal element is there.
    /// - `QV_RES_FAIL`: the capacity is locked and too small, memory ran out, or 32 bits do not hold it.
    [[nodiscard]] QvResult AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam,
                                          void** ppElement);

    /// Destroys up to uCount elements from uIndex on; the capacity stays. Nothing happens when uIndex is no element.
    void Erase(unsigned int uIndex, unsigned int uCount);
    void Erase(unsigned int uIndex);
    /// Destroys the element of a node of this list; no node is ignored.
    void Erase(SPtr pNode);
    /// Destroys all elements; the capacity stays.
    void EraseAll();

    /// Allocates the nodes that are missing for a capacity of uCapacity.
    ///
    /// - `QV_RES_OK`: the capacity is at least uCapacity.
    /// - `QV_RES_INVALID_STATE`: it is locked and below uCapacity.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no nodes, or the bytes of that many do not fit 32 bits.
    [[nodiscard]] QvResult ReserveCapacity(unsigned int uCapacity);
    /// Gives free nodes back until the capacity is the larger of uCapacity and the size; no effect if it is not above.
    ///
    /// - `QV_RES_INVALID_STATE`: it is locked, even if nothing would change.
    QvResult ReduceCapacity(unsigned int uCapacity);
    /// The size and the free nodes.
    unsigned int GetCapacity() const;
    /// Non-zero: the capacity is locked.
    unsigned int GetLockCapacity() const;
    /// Locks the capacity, or opens it with 0.
    void SetLockCapacity(unsigned int uLockCapacity);

    /// Relinks a node of this list as the first (last); no node is ignored.
    void MoveToFirst(SPtr pNode);
    /// Makes a node the last one.
    void MoveToLast(SPtr pNode);
    /// Exchanges the places of two nodes; nothing happens when an index is not below the size.
    void Swap(unsigned int uIndex1, unsigned int uIndex2);

    /// Moves all elements of rSrc in front of index uIndex.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: the element sizes differ, uIndex is above the size, or rSrc is this list.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no nodes.
    [[nodiscard]] QvResult Merge(unsigned int uIndex, CListBase& rSrc);
    /// Moves the elements from uIndex on to the front of rDest, in front of what is there.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: the element sizes differ, uIndex is not below the size, or rDest is this list.
    /// - `QV_RES_INVALID_STATE`: the capacity of rDest is locked and below the number of those elements.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator of rDest gave no nodes.
    [[nodiscard]] QvResult Split(unsigned int uIndex, CListBase& rDest);
    /// Copies uCount elements from uSrcIndex on in front of index uDestIndex (at the end when that is above the size).
    /// A lock of the capacity is ignored: the list grows.
    ///
    /// - `QV_RES_OK`: the copies are in.
    /// - `QV_RES_INVALID_ARGUMENT`: the source has fewer elements from there on, or the element sizes differ.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no nodes.
    [[nodiscard]] static QvResult Copy(CListBase* pDest, unsigned int uDestIndex, const CListBase* pSrc,
                                       unsigned int uSrcIndex, unsigned int uCount);
    /// Moves elements, with the parameters of Copy(). Between lists with the same source of memory the nodes are linked
    /// into the other list, and nothing is copied or allocated; otherwise the elements are copied, and those of the
    /// source destroyed. Results as of the other form.
    [[nodiscard]] static QvResult Move(CListBase* pDest, unsigned int uDestIndex, CListBase* pSrc,
                                       unsigned int uSrcIndex, unsigned int uCount);

    /// Index of the first element of a sorted list that does not order before pKey, the end index when all do.
    unsigned int InternalFindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first smallest element; 0 when empty.
    unsigned int GetMinElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first largest element; 0 when empty.
    unsigned int GetMaxElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first element of a sorted list that compares equal, else the end index. Cost: logarithmic in
    /// comparisons, plus one for each equal element; linear in steps.
    unsigned int FindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first element from uStartIndex on that compares equal, in any list. Cost: linear.
    unsigned int Find(unsigned int uStartIndex, const void* pKey, PFNCompareElements pfnCompare,
                      unsigned int uParam) const;
    /// Shell sort of the nodes, not stable. Throws what operator new[] throws (it sorts an array of their addresses).
    void Sort(PFNCompareElements pfnCompare, unsigned int uParam);

    /// Makes an element in raw memory.
    virtual void Construct(void* pElement);
    /// Copies an element into raw memory.
    virtual void ConstructFrom(void* pElement, const void* pSource);
    /// Destroys an element.
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
    SNode* LinkLast(void* pBlock)
    {
        SNode* const pNode = ::new (pBlock) SNode(m_pTail, nullptr);
        (m_pTail != nullptr ? m_pTail->pFollowing : m_pHead) = pNode;
        m_pTail = m_pCachedNode = pNode;
        m_uCachedIndex = m_uSize++;
        return pNode;
    }
    /// LinkLast(), but in front of pBefore, which has this index, or no index that is known: then the cache goes to the
    /// head.
    SNode* LinkBefore(void* pBlock, SNode* pBefore, unsigned int uIndex)
    {
        SNode* const pPrevious = pBefore->GetPrevious();
        SNode* const pNode = ::new (pBlock) SNode(pPrevious, pBefore);
        (pPrevious != nullptr ? pPrevious->pFollowing : m_pHead) = pNode;
        pBefore->SetPrevious(pNode);
        ++m_uSize;
        m_uCachedIndex = uIndex != ms_uUNKNOWN ? uIndex : 0;
        m_pCachedNode = uIndex != ms_uUNKNOWN ? pNode : m_pHead;
        return pNode;
    }
    static constexpr unsigned int ms_uUNKNOWN = 0xFFFFFFFF;

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
/// ```
/// CList<int> list{7};
/// list.push_back(9);
/// list.InsertSorted(8);
/// for (int n : list) ...
/// list.Erase(list.GetFirst());
/// ```
/// Its calls, those of its bases among them:
///
/// - `CList(allocator)`, `CList(block allocator)`: empty; null, or nothing, means the default allocator.
/// - `CList{values}`, `CList(first, last)`: what is in braces, or between two iterators.
/// - `=`: copies; from what is moved, exchanges; values in braces.
/// - `Find(index)`, `GetFirst()`, `GetLast()`: handles, or none; a handle has GetNext() and GetPrevious().
/// - `GetAt(index)`: an element's address, or null.
/// - `begin()`, `end()`: iterators.
/// - `push_back(element)`, `emplace_back(arguments)`: at the end: throws std::bad_alloc.
/// - `Append(element)`: at the end, with a result.
/// - `Insert(index, count, element)`, `Insert(index, count)`: copies, or elements made by default.
/// - `Insert(index, T&&)`: a moved element.
/// - `Insert(index, list)`: copies of all elements of another, at the front.
/// - `InsertSorted(element)`, `InsertSorted(element, comparison)`: in front of the first that does not order before it.
/// - `Emplace(index, arguments)`: an element made there; its handle, or none.
/// - `Allocate(index)`, `AllocateSorted(key, comparison, &p)`: raw memory that counts as an
///   element already: construct a T there before any other call.
/// - `Erase(index)`, `Erase(index, count)`, `Erase(handle)`, `EraseAll()`, `pop_back()`: the capacity stays.
/// - `MoveToFirst(handle)`, `MoveToLast(handle)`: relink one.
/// - `Merge(index, list)`, `Split(index, list)`: all elements of another come; those from index on go there,
///   in front of what is there.
/// - `Find(start, key)`, `Find(start, key, comparison)`: the index of the first equal element from start on, else the
///   size.
/// - `FindSorted(key)`, `FindSorted(key, comparison)`: the same in a sorted list, in few comparisons.
/// - `GetMinElementIndex()`, `GetMaxElementIndex()`: of the first smallest, largest element; also with a comparison.
/// - `Sort()`, `Sort(comparison)`, `Swap(i, j)`: unstable; both relink.
/// - `GetSize()`, `IsEmpty()`, `GetFirstIndex()`, `GetLastIndex()`, `GetEndIndex()`.
/// - `ReserveCapacity(n)`, `ReduceCapacity(n)`, `GetCapacity()`, `SetLockCapacity(n)`, `GetLockCapacity()`.
/// - `size()`, `empty()`, `front()`, `back()`, `push_back()`, `emplace_back()`, `pop_back()`, `clear()`,
///   `insert(position, element)`, `erase(position)`, `erase(first, last)`, `cbegin()`, `cend()`, `rbegin()`, `rend()`,
///   `crbegin()`, `crend()`, `swap()`, `==`, `!=`.
///
/// A comparison is called as (const T& element, const Key& key) and returns a negative number, 0 or a positive number;
/// without one the order is that of `<`. Each of these calls also takes a PFNCompareElements and its number.
///
/// - **Growth:** By choice. push_back() and emplace_back() take as many nodes as there are elements when none is free,
///   at most 33 at once, since a few cost little more than one; Append() and all others take what they need. Nothing
///   moves.
/// - **Iterators:** Bidirectional. They and handles stay valid until their element is erased, also over sorting,
///   swapping and transfer to a list with the same source of memory (but such an iterator, when it reaches the end,
///   steps back into the list that it came from). insert() and erase() by an iterator take constant time.
/// - **Elements:** Whatever there is: what can neither be copied nor moved is made in place, by Emplace(). Between
///   lists with different sources of memory Merge() and Split() move elements where their moves cannot throw or they
///   cannot be copied, else copy them, and refuse with QV_RES_INVALID_ARGUMENT those that can do neither. What would
///   copy elements that cannot be copied does not compile. A class with a list of such as a member says so itself,
///   where its own objects become elements: `SJob(SJob&&) = default;`, which leaves it without copies.
/// - **Braces:** hold values of one type, which T takes. `{nullptr}` and `{&allocator}` choose the allocator; `{0}` in
///   a list of numbers is an element.
/// - **Failure:** As in CListBase. What has no result throws std::bad_alloc where memory runs out or the locked
///   capacity does not suffice, with the list as it was; without exceptions the program ends with abort(). Append(),
///   Insert() and Emplace() tell instead; an element that was to be moved in is then still where it was.
/// - **Derived:** A class derived from CList<T> may override the element operations: every operation then calls them.
template <typename T>
class QV_EXPORT CList
    : public orvel_internal::CTypedSequence<T, CListBase, CList<T>, orvel_internal::CTypedNodes<T, CListBase>>
{
    using Sequence = orvel_internal::CTypedSequence<T, CListBase, CList, orvel_internal::CTypedNodes<T, CListBase>>;
    using CListBase::m_nodeAllocator;
    friend class orvel_internal::CExactClass;
    friend Sequence;

public:
    using typename Sequence::const_handle;
    using typename Sequence::const_iterator;
    using typename Sequence::handle;
    using typename Sequence::iterator;
    using typename Sequence::value_type;
    using reverse_iterator = orvel_internal::CReverseIterator<iterator>;
    using const_reverse_iterator = orvel_internal::CReverseIterator<const_iterator>;

    /// Empty, with the default allocator.
    template <typename Element = T>
    CList() : CList(static_cast<IAllocator*>(nullptr))
    {
    }
    /// Empty; null means the default allocator.
    explicit CList(IAllocator* pAllocator) : Sequence(pAllocator) {}
    /// Empty; takes nodes from the source of rAllocator.
    explicit CList(const CBlockAllocator& rAllocator) : Sequence(rAllocator) {}
    /// A copy of the elements, from the same source of memory. Empty when memory runs out.
    CList(const CList& rSrc) : Sequence(rSrc.m_nodeAllocator)
    {
        orvel_internal::RequireCopyable<T>();
        CListBase::operator=(rSrc);
    }
    /// Takes everything; rSrc is empty afterwards.
    CList(CList&& rSrc) noexcept : Sequence(rSrc.m_nodeAllocator) { CListBase::ExchangeContents(rSrc); }
    /// Copies the elements; changes nothing where that fails.
    CList& operator=(const CList& rSrc) = default;
    /// The two lists exchange everything, so that the other one has what this one had. Not with one that an element of
    /// this one holds, as said of CVector.
    CList& operator=(CList&& rSrc) = default;
    /// The values in braces, all of one type; what lies between two iterators. They throw std::bad_alloc where memory
    /// runs out, and so does an assignment, which then changes nothing, also where the capacity is locked.
    template <typename Value = T, std::enable_if_t<orvel_internal::g_bARE_ELEMENTS<T, Value, CList>, int> = 0>
    CList(std::initializer_list<Value> values, IAllocator* pAllocator = nullptr) : Sequence(pAllocator)
    {
        Sequence::AppendRange(values.begin(), values.end());
    }
    template <typename Iterator, typename = orvel_internal::IteratorCategory<Iterator>>
    CList(Iterator first, Iterator last, IAllocator* pAllocator = nullptr) : Sequence(pAllocator)
    {
        Sequence::AppendRange(first, last);
    }
    /// Replaces the elements. Throws std::bad_alloc and changes nothing where there is no room. The capacity does
    /// not shrink, its lock and the allocator stay, by `= {}` as well.
    CList& operator=(std::initializer_list<T> elements)
    {
        Sequence::AssignList(elements);
        return *this;
    }

    using Sequence::Append;
    /// Insert() at the end. Cost: inline while there are free nodes.
    [[nodiscard]] QvResult Append(const T& rElement)
    {
        orvel_internal::RequireCopyable<T>();
        if (!m_nodeAllocator.HasFree() || !IsExact()) return Sequence::Append(rElement);
        // The same as Insert(), without its calls.
        void* const pBlock = m_nodeAllocator.Pop();
        ::new (CListBase::ElementIn(pBlock)) T(rElement);
        CListBase::LinkLast(pBlock);
        return QV_RES_OK;
    }
    /// Append() that throws std::bad_alloc where it fails.
    void push_back(const T& rElement)
    {
        orvel_internal::RequireCopyable<T>();
        if (IsExact()) emplace_back(rElement);
        else orvel_internal::ThrowUnlessSucceeded(Sequence::Append(rElement));
    }
    template <typename Movable = T>
    std::enable_if_t<!std::is_scalar<Movable>::value> push_back(T&& rElement)
    {
        ReserveAhead();
        orvel_internal::ThrowUnlessSucceeded(InsertMoved(CListBase::GetEndIndex(), rElement));
    }
    /// push_back() of an element that is made in place, as T(arguments...).
    template <typename... Arguments>
    T& emplace_back(Arguments&&... arguments)
    {
        const unsigned int uIndex = CListBase::GetEndIndex();
        handle element;
        ReserveAhead();
        orvel_internal::ThrowUnlessSucceeded(
            EmplaceBefore(nullptr, uIndex, element, std::forward<Arguments>(arguments)...));
        return *element;
    }
    /// Makes an element as T(arguments...) in front of index uIndex; none when uIndex is above the size or the capacity
    /// cannot grow.
    template <typename... Arguments>
    handle Emplace(unsigned int uIndex, Arguments&&... arguments)
    {
        handle element;
        EmplaceAt(uIndex, element, std::forward<Arguments>(arguments)...);
        return element;
    }

    /// Puts an element in front of a position, as push_back() does at the end; returns where it is.
    iterator insert(const_iterator position, const T& rElement)
    {
        orvel_internal::RequireCopyable<T>();
        return InsertBefore(position, rElement);
    }
    template <typename Movable = T>
    std::enable_if_t<!std::is_scalar<Movable>::value, iterator> insert(const_iterator position, T&& rElement)
    {
        return InsertBefore(position, std::move(rElement));
    }
    /// Destroys an element, or those of a range; returns what follows.
    iterator erase(const_iterator position)
    {
        const CListBase::SPtr ptr = position;
        iterator next(this, CListBase::GetNext(ptr));
        CListBase::Erase(ptr);
        return next;
    }
    iterator erase(const_iterator first, const_iterator last)
    {
        while (first != last) first = erase(first);
        return iterator(this, last);
    }

    /// Destroys all elements; the capacity stays.
    void EraseAll()
    {
        const bool bDrop = std::is_trivially_destructible<T>::value && IsExact();
        if (bDrop) CListBase::DropAll();
        else CListBase::EraseAll();
    }
    using CListBase::MoveToFirst;
    using CListBase::MoveToLast;
    using Sequence::Find;
    /// The element at an index below the size, else none. Moves the cache there.
    handle Find(unsigned int uIndex) { return handle(CListBase::Find(uIndex)); }
    const_handle Find(unsigned int uIndex) const { return const_handle(CListBase::Find(uIndex)); }

    /// Moves all elements of rSrc in front of index uIndex, as in CListBase. Between different sources of memory
    /// elements are moved where their moves cannot throw; those that can be neither copied nor moved are refused there
    /// as QV_RES_INVALID_ARGUMENT.
    [[nodiscard]] QvResult Merge(unsigned int uIndex, CList& rSrc)
    {
        return Receive(rSrc, [&](CListBase& rDest) { return rDest.Merge(uIndex, rSrc); });
    }
    /// Moves the elements from uIndex on to the front of rDest, as in CListBase; between different sources of memory as
    /// Merge().
    [[nodiscard]] QvResult Split(unsigned int uIndex, CList& rDest)
    {
        return rDest.Receive(*this, [&](CListBase& rTo) { return CListBase::Split(uIndex, rTo); });
    }

private:
    /// A list in whose place an operation of CListBase works: it has the contents meanwhile, and moves elements where
    /// CListBase copies what it then destroys.
    class CMovingList : public CListBase
    {
    public:
        explicit CMovingList(CList& rOwner) : CListBase(sizeof(T), rOwner.m_nodeAllocator), m_rOwner(rOwner)
        {
            CListBase::ExchangeContents(m_rOwner);
        }
        ~CMovingList() override { CListBase::ExchangeContents(m_rOwner); }

        void ConstructFrom(void* pElement, const void* pSource) override
        {
            orvel_internal::BringElement(pElement, *static_cast<T*>(const_cast<void*>(pSource)));
        }
        void Destruct(void* pElement) override { static_cast<T*>(pElement)->~T(); }

    private:
        CList& m_rOwner;
    };

    template <typename NoMembers,
              typename = std::enable_if_t<std::is_same<NoMembers, orvel_internal::SNoMembers>::value>>
    explicit CList(NoMembers noMembers) : Sequence(noMembers)
    {
    }

    bool IsExact() const { return orvel_internal::CExactClass::IsOf(*this); }

    /// Runs an operation that brings elements of rSrc here.
    template <typename Operation>
    QvResult Receive(const CList& rSrc, Operation operation)
    {
        const bool bRelinks = m_nodeAllocator == rSrc.m_nodeAllocator;
        if constexpr (!orvel_internal::g_bCAN_CHANGE_PLACE<T>)
        {
            if (!bRelinks) return QV_RES_INVALID_ARGUMENT;
        }
        else if constexpr (orvel_internal::g_bMOVES<T>)
        {
            if (!bRelinks && IsExact())
            {
                CMovingList moving(*this);
                return operation(moving);
            }
        }
        return operation(*this);
    }

    // Where that is refused, one node may still be had.
    void ReserveAhead()
    {
        if (m_nodeAllocator.HasFree() || !IsExact()) return;
        const unsigned int uSize = CListBase::m_uSize;
        static_cast<void>(orvel_internal::GrowCapacity(*this, size_t{uSize} + 1 + orvel_internal::NodesAhead(uSize)));
    }
    template <typename... Arguments>
    QvResult EmplaceAt(unsigned int uIndex, handle& rElement, Arguments&&... arguments)
    {
        const unsigned int uSize = CListBase::GetEndIndex();
        if (uIndex > uSize) return QV_RES_INVALID_ARGUMENT;
        CListBase::SNode* const pBefore = uIndex < uSize ? CListBase::Find(uIndex).pNode : nullptr;
        return EmplaceBefore(pBefore, uIndex, rElement, std::forward<Arguments>(arguments)...);
    }
    /// Null stands for the end. The index of pBefore may be unknown.
    template <typename... Arguments>
    QvResult EmplaceBefore(CListBase::SNode* pBefore, unsigned int uIndex, handle& rElement, Arguments&&... arguments)
    {
        if constexpr (orvel_internal::g_bCAN_CHANGE_PLACE<T>)
        {
            if (!IsExact())
            {
                T element = orvel_internal::Made<T>(std::forward<Arguments>(arguments)...);
                return InsertByCalls(pBefore, uIndex, rElement, element);
            }
        }
        if (!m_nodeAllocator.HasFree())
        {
            const QvResult res = orvel_internal::GrowCapacity(*this, size_t{CListBase::m_uSize} + 1);
            if (res < 0) return res;
        }
        orvel_internal::CBlockGuard block(m_nodeAllocator, m_nodeAllocator.Pop());
        orvel_internal::MakeElement<T>(CListBase::ElementIn(block.Get()), std::forward<Arguments>(arguments)...);
        rElement = handle(pBefore != nullptr ? CListBase::LinkBefore(block.Keep(), pBefore, uIndex)
                                             : CListBase::LinkLast(block.Keep()));
        return QV_RES_OK;
    }
    /// The element operations of a derived class make the element.
    QvResult InsertByCalls(CListBase::SNode* pBefore, unsigned int uIndex, handle& rElement, const T& rSrc)
    {
        if (uIndex == CListBase::ms_uUNKNOWN)
        {
            uIndex = 0;
            for (CListBase::SPtr ptr = CListBase::GetFirst(); ptr != pBefore; ptr = CListBase::GetNext(ptr)) ++uIndex;
        }
        const QvResult res = CListBase::Insert(uIndex, 1, __builtin_addressof(rSrc));
        if (res >= 0) rElement = handle(CListBase::Find(uIndex));
        return res;
    }
    QvResult InsertMoved(unsigned int uIndex, T& rElement)
    {
        if (!IsExact()) return CListBase::Insert(uIndex, 1, __builtin_addressof(rElement));
        handle element;
        return EmplaceAt(uIndex, element, std::move(rElement));
    }
    template <typename Argument>
    iterator InsertBefore(const_iterator position, Argument&& rElement)
    {
        handle element;
        orvel_internal::ThrowUnlessSucceeded(EmplaceBefore(CListBase::SPtr(position).pNode, CListBase::ms_uUNKNOWN,
                                                           element, std::forward<Argument>(rElement)));
        return iterator(this, element);
    }
};

#endif
