#ifndef FRAMEWORK_BASIC_AATREE_H
#define FRAMEWORK_BASIC_AATREE_H
#include <stddef.h>

#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/ordered_sequence.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/kernel/export.h"
#include "framework/kernel/internal/lifetime.h"
#include "framework/kernel/result.h"

/// An ordered set of equal elements of a size known at run time, each its own key; CAATree<T> is its typed front-end.
///
///                 [40]         a node: left, right, parent, level, then the element
///               /      \       no child is the one sentinel that all trees share
///           [20]        [60]   current node: (index, node) of the index asked for last
///          /    \      /    \                                  .
///
/// A balanced search tree (AA tree): never higher than 2 log2(n + 1). Elements are made, copied and destroyed through
/// the three virtual element operations, which a derived class overrides (its destructor calls EraseAll(): the base's
/// could not reach them).
///
/// Comparison  A total order, called as (key, element, parameter) by searches and in both orders by insertion. It must
///             have no side effects, and what it looks at in an element must not change while that is in the tree.
/// Ownership   Owns its elements and nodes. Nodes from Allocate() are the caller's until InsertAllocated() or
///             EraseAllocated(). Borrows the allocator, which must outlive it; null means the default allocator.
/// Threads     No locking: one thread at a time. Access by index moves the current node even of a const tree.
/// Growth      Exact: capacity is the size plus nodes from Allocate() plus free nodes. Erased nodes become free and are
///             used again; only ReduceCapacity() and destruction give memory back.
/// Addresses   An element stays where it is until it is erased.
/// Cost        By key logarithmic. By index the steps from the index asked for last, amortised constant each; the first
///             and last are logarithmic. Only copying and EraseAll() recurse, to the height of the tree.
/// Failure     Reported as QvResult with the tree as it was (a node obtained by then stays as spare capacity); what
///             returns nothing ignores bad arguments. Element operations and the comparison must not throw.
///
/// - **Lifetime:** Made and used only while the framework is up, whatever the allocator: not in static storage.
///   Outside, one line on standard error names the class, and abort() follows. An empty tree without capacity may be
///   destroyed after the shut-down.
class QV_EXPORT CAATreeBase
{
public:
    /// The head of a node; the element follows it. To be read, not written, outside the tree.
    class QV_EXPORT CAATreeNode
    {
    public:
        /// All null, level 0: as the sentinel starts out.
        CAATreeNode();
        CAATreeNode(CAATreeNode* pLeftChild, CAATreeNode* pRightChild, CAATreeNode* pParentNode,
                    unsigned int uNodeLevel);

        CAATreeNode* pLeft;
        CAATreeNode* pRight;
        CAATreeNode* pParent;
        /// 1 in a leaf, 0 only in the sentinel.
        unsigned int uLevel;
    };
    using Position = CAATreeNode*;

    /// What insertion does when it has found the place for a key.
    enum EInsertAction : int
    {
        /// A new node with a copy of the key.
        eCOPY_KEY = 0,
        /// A new node whose element is left to the caller.
        eALLOCATE = 1,
        /// The key lies in a node from Allocate(): that one.
        eLINK_ALLOCATED = 2
    };

    /// A comparison and the number that it is called with.
    struct QV_EXPORT SCompareVoidParams
    {
        SCompareVoidParams(PFNCompareElements pfnCompareElements, unsigned int uCompareParam);

        PFNCompareElements pfnCompare;
        unsigned int uParam;
    };

    CAATreeBase(unsigned int uSizeOfElement, PFNCompareElements pfnCompare, unsigned int uParam,
                IAllocator* pAllocator);
    /// Takes nodes from the source of rAllocator, whose block size is kept if it suffices for a node.
    CAATreeBase(unsigned int uSizeOfElement, PFNCompareElements pfnCompare, unsigned int uParam,
                const CBlockAllocator& rAllocator);
    /// Same source of memory, element size, comparison and elements, neither spare capacity nor lock. The element
    /// operations of a derived class cannot be called from here: construct an empty object and assign.
    CAATreeBase(const CAATreeBase& rSrc);
    virtual ~CAATreeBase();
    /// Takes the comparison and copies the elements, in the same shape. Changes nothing when the element sizes differ,
    /// the locked capacity does not suffice, or memory runs out.
    CAATreeBase& operator=(const CAATreeBase& rSrc);

    /// QV_RES_INVALID_STATE  the tree is not empty
    QvResult SetComparisonFunction(PFNCompareElements pfnCompare, unsigned int uParam);

    /// Allocates the nodes that are missing for a capacity of uCapacity.
    /// QV_RES_OK             the capacity is at least uCapacity
    /// QV_RES_INVALID_STATE  it is locked and below uCapacity
    /// QV_RES_OUT_OF_MEMORY  the allocator gave no nodes, or the bytes of one do not fit 32 bits
    QvResult ReserveCapacity(unsigned int uCapacity);
    /// Gives free nodes back until the capacity is the larger of uCapacity and what is in use, if it is more.
    /// QV_RES_INVALID_STATE  it is locked, even if nothing would change
    QvResult ReduceCapacity(unsigned int uCapacity);
    unsigned int GetCapacity() const;
    /// Non-zero: the capacity is locked.
    unsigned int GetLockCapacity() const;
    void SetLockCapacity(unsigned int uLockCapacity);

    /// Inserts a copy.
    /// QV_RES_OK              it is in
    /// QV_RES_ALREADY_EXISTS  an equal element is there
    /// QV_RES_INVALID_STATE   the capacity is locked and does not suffice
    /// QV_RES_OUT_OF_MEMORY   the allocator gave no node
    QvResult Insert(const void* pElement);
    /// Makes room in the place of pKey and counts it as an element; the caller constructs one there that compares equal
    /// to pKey. Results as above, and
    /// QV_RES_OK                *ppElement is the room for the element
    /// QV_RES_INVALID_ARGUMENT  ppElement is null
    QvResult AllocateSorted(const void* pKey, void** ppElement);
    /// Insertion in two steps: room for an element that is not in the tree yet (null when the capacity cannot grow),
    /// for the caller to construct it in ...
    void* Allocate();
    /// ... and its way into the tree. An element that is refused stays the caller's.
    /// QV_RES_OK                it is in
    /// QV_RES_INVALID_ARGUMENT  pElement is null
    /// QV_RES_ALREADY_EXISTS    an equal element is there
    QvResult InsertAllocated(void* pElement);
    /// Takes the room back instead; the caller has destroyed the element. Null is ignored.
    void EraseAllocated(void* pElement);

    /// Destroys the element that equals pKey (which may be that element), if there is one; the capacity stays.
    void EraseElement(const void* pKey);
    /// Destroys the element at an index below the size.
    void Erase(unsigned int uIndex);
    void EraseAll();

    unsigned int GetSize() const;
    bool IsEmpty() const;
    unsigned int GetFirstIndex() const;
    /// GetSize() - 1: 0xFFFFFFFF when empty.
    unsigned int GetLastIndex() const;

    /// The node of the element that equals pKey, else the sentinel.
    CAATreeNode* FindNode(const void* pKey) const;
    /// The node at an index below the size, else the sentinel. Moves the current node there.
    CAATreeNode* FindNodeByIndex(unsigned int uIndex) const;
    /// The first (last) node of the tree below a node; the sentinel below the sentinel.
    CAATreeNode* FindNodeMin(CAATreeNode* pNode) const;
    CAATreeNode* FindNodeMax(CAATreeNode* pNode) const;

    /// The current node: the sentinel when it is invalid, as after insertions before it and erasures at or before it.
    CAATreeNode* GetCurrentNode() const;
    /// Makes a node of this tree, or the sentinel (also as null), the current one.
    void SetCurrentNode(CAATreeNode* pNode) const;
    void InvalidateCurrentNode() const;
    bool CurrentNodeIsInvalid() const;
    /// To the neighbour in order; past an end it becomes invalid, and stays so.
    void IncrementCurrentNode() const;
    void DecrementCurrentNode() const;

    /// The first and last element's nodes, and from node to node in order, without the current node. Null beyond an
    /// end, and null of null.
    CAATreeNode* GetFirst() const;
    CAATreeNode* GetLast() const;
    static CAATreeNode* GetNext(CAATreeNode* pNode);
    static CAATreeNode* GetPrevious(CAATreeNode* pNode);
    /// The element of a node; null of null and of the sentinel.
    static void* GetElement(CAATreeNode* pNode);
    static bool IsSentinel(const CAATreeNode* pNode);

    /// Module start-up and shut-down: the sentinel. Start-up returns QV_RES_OK.
    static QvResult InitializeCAATreeBase();
    static void FinalizeCAATreeBase();

    /// The sentinel's memory, and the sentinel: null while the framework is not up. To be read only.
    alignas(void*) static unsigned char ms_auNullNode[32];
    static CAATreeNode* ms_pNullNode;

    /// Makes an element in raw memory; copies one into raw memory; destroys one.
    virtual void Construct(void* pElement);
    virtual void ConstructFrom(void* pElement, const void* pSource);
    virtual void Destruct(void* pElement);

protected:
    /// Exchanges everything but the element size with a tree of the same element size.
    void ExchangeContents(CAATreeBase& rOther);
    /// Insertion for typed trees, which find the place themselves. First a free node, with the results of Insert();
    QvResult ReserveNode();
    /// then the node with its element goes where the search ended: a slot that holds the sentinel, of pParent or the
    /// root.
    void LinkNode(CAATreeNode* pNode, CAATreeNode* pParent, CAATreeNode** ppSlot);

    CBlockAllocator m_nodeAllocator;
    unsigned int m_uElementSize;
    SCompareVoidParams m_stCompare;
    unsigned int m_uLockCapacity;
    unsigned int m_uSize;
    unsigned int m_uAllocatedCount;
    CAATreeNode* m_pRoot;
    mutable CAATreeNode* m_pCurrentNode;
    mutable unsigned int m_uCurrentIndex;

private:
    QV_HIDDEN int Compare(const void* pFirst, const void* pSecond) const;
    QV_HIDDEN size_t GetUsedCount() const;
    QV_HIDDEN static CAATreeNode* RequireSentinel();
    QV_HIDDEN QvResult ReserveFree(unsigned int uCount);
    QV_HIDDEN QvResult Insert(const void* pKey, EInsertAction eAction, CAATreeNode** ppInserted);
    QV_HIDDEN CAATreeNode* NodeFor(const void* pKey, EInsertAction eAction);
    QV_HIDDEN void RebalanceGrown(CAATreeNode* pNode);
    QV_HIDDEN void RebalanceShrunken(CAATreeNode* pNode);
    QV_HIDDEN void Replace(CAATreeNode* pNode, CAATreeNode* pReplacement);
    QV_HIDDEN CAATreeNode*& SlotOf(CAATreeNode* pNode);
    QV_HIDDEN CAATreeNode* CopySubtree(CAATreeNode* pSrc, CAATreeNode* pParent);
    QV_HIDDEN void EraseSubtree(CAATreeNode* pNode);
};

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CAATreeBase.
QV_EXPORT QvResult InitializeCAATreeBase();
QV_EXPORT void FinalizeCAATreeBase();

/// An ordered set of T over CAATreeBase, whose growth, threading and cost rules it has:
///
///     CAATree<int> tree;  // in the order of <
///     tree.Insert(7);
///     for (int n : tree) ...
///     if (tree.Find(7)) tree.EraseElement(7);
///
///     struct SById
///     {
///         int operator()(const SUser& rFirst, const SUser& rSecond) const
///         {
///             return SNaturalOrder()(rFirst.nId, rSecond.nId);  // a difference could overflow
///         }
///     };
///     CAATree<SUser> users{SById()};
///
/// A typed comparison is called with two T, returns a negative number, 0 or a positive number, and has no state: a
/// function object without members or a lambda without captures.
///
/// Iterators  Bidirectional, in ascending order; they and handles are good until their element is erased. Elements may
///            be changed through them, except in what the comparison looks at.
template <typename T>
class QV_EXPORT CAATree : public orvel_internal::CTypedNodes<T, CAATreeBase>
{
    using Nodes = orvel_internal::CTypedNodes<T, CAATreeBase>;

public:
    using typename Nodes::const_handle;
    using typename Nodes::handle;

    explicit CAATree(IAllocator* pAllocator = nullptr) : CAATree(SNaturalOrder(), pAllocator) {}
    template <typename Comparison,
              typename = std::enable_if_t<std::is_invocable<Comparison&, const T&, const T&>::value>>
    explicit CAATree(Comparison, IAllocator* pAllocator = nullptr)
        : CAATree(orvel_internal::StatelessCallback<T, Comparison>, 0, pAllocator)
    {
    }
    CAATree(PFNCompareElements pfnCompare, unsigned int uParam, IAllocator* pAllocator = nullptr)
        : Nodes(pfnCompare, uParam, pAllocator)
    {
    }
    CAATree(PFNCompareElements pfnCompare, unsigned int uParam, const CBlockAllocator& rAllocator)
        : Nodes(pfnCompare, uParam, rAllocator)
    {
    }
    CAATree(const CAATree& rSrc) : CAATree(rSrc.m_stCompare.pfnCompare, rSrc.m_stCompare.uParam, rSrc.m_nodeAllocator)
    {
        CAATreeBase::operator=(rSrc);
    }
    CAATree(CAATree&& rSrc) noexcept
        : CAATree(rSrc.m_stCompare.pfnCompare, rSrc.m_stCompare.uParam, rSrc.m_nodeAllocator)
    {
        CAATreeBase::ExchangeContents(rSrc);
    }
    CAATree& operator=(const CAATree& rSrc) = default;
    /// The two trees exchange everything.
    CAATree& operator=(CAATree&& rSrc) = default;

    using CAATreeBase::SetComparisonFunction;
    template <typename Comparison>
    QvResult SetComparisonFunction(Comparison)
    {
        return CAATreeBase::SetComparisonFunction(orvel_internal::StatelessCallback<T, Comparison>, 0);
    }

    QvResult Insert(const T& rElement)
    {
        if constexpr (orvel_internal::SHasNaturalOrder<T>::value) return Insert(rElement, SNaturalOrder());
        else return CAATreeBase::Insert(__builtin_addressof(rElement));
    }
    /// The same in the tree's own order, named once more: the compiler can build it in. A tree that has another one is
    /// not misled, and asks that.
    template <typename Order>
    QvResult Insert(const T& rElement, Order order)
    {
        if (!IsOrderedBy<Order>()) return CAATreeBase::Insert(__builtin_addressof(rElement));
        if (!CAATreeBase::m_nodeAllocator.HasFree())
        {
            const QvResult res = this->ReserveNode();
            if (res < 0) return res;
        }
        const SPlace stPlace = PlaceOf(rElement, order);
        if (stPlace.bTaken) return QV_RES_ALREADY_EXISTS;
        Node* const pNode = static_cast<Node*>(CAATreeBase::m_nodeAllocator.Pop());
        this->ConstructFrom(pNode + 1, __builtin_addressof(rElement));
        Node* const pCurrent = CAATreeBase::m_pCurrentNode;
        if (pCurrent != CAATreeBase::ms_pNullNode && orvel_internal::IsBefore(order, rElement, ElementOf(pCurrent)))
        {
            this->InvalidateCurrentNode();
        }
        Node* const pParent = stPlace.pParent;
        if (pParent == CAATreeBase::ms_pNullNode) this->LinkNode(pNode, pParent, &this->m_pRoot);
        else
        {
            const bool bLeft = orvel_internal::IsBefore(order, rElement, ElementOf(pParent));
            this->LinkNode(pNode, pParent, bLeft ? &pParent->pLeft : &pParent->pRight);
        }
        return QV_RES_OK;
    }
    QvResult AllocateSorted(const T& rKey, void** ppElement)
    {
        return CAATreeBase::AllocateSorted(__builtin_addressof(rKey), ppElement);
    }
    using CAATreeBase::Allocate;
    using CAATreeBase::EraseAllocated;
    using CAATreeBase::InsertAllocated;

    void EraseElement(const T& rKey) { CAATreeBase::EraseElement(__builtin_addressof(rKey)); }
    using CAATreeBase::Erase;
    /// Destroys the element of a handle; an empty handle is ignored.
    void Erase(const_handle element)
    {
        if (element) EraseElement(*element);
    }

    /// The element that equals a key, else none.
    handle Find(const T& rKey) { return handle(FindNodeOf(rKey)); }
    const_handle Find(const T& rKey) const { return const_handle(FindNodeOf(rKey)); }
    /// The same in the tree's own order, named once more: see Insert().
    template <typename Order>
    handle Find(const T& rKey, Order order)
    {
        return handle(FindNodeBy(rKey, order));
    }
    template <typename Order>
    const_handle Find(const T& rKey, Order order) const
    {
        return const_handle(FindNodeBy(rKey, order));
    }
    /// The element at an index below the size, else null.
    T* GetAt(unsigned int uIndex)
    {
        return static_cast<T*>(CAATreeBase::GetElement(CAATreeBase::FindNodeByIndex(uIndex)));
    }
    const T* GetAt(unsigned int uIndex) const
    {
        return static_cast<const T*>(CAATreeBase::GetElement(CAATreeBase::FindNodeByIndex(uIndex)));
    }

private:
    using Node = CAATreeBase::CAATreeNode;

    // Where the search for a place ends: below which node, the sentinel in an empty tree, unless an equal element is
    // there.
    struct SPlace
    {
        Node* pParent;
        bool bTaken;
    };

    static const T& ElementOf(const Node* pNode) { return *reinterpret_cast<const T*>(pNode + 1); }

    template <typename Order>
    bool IsOrderedBy() const
    {
        return CAATreeBase::m_stCompare.pfnCompare == &orvel_internal::StatelessCallback<T, Order>;
    }

    // A comparison may read memory far away from the nodes: meanwhile both nodes that can be next are prefetched.
    static void FetchBelow(const Node* pNode)
    {
        __builtin_prefetch(pNode->pLeft);
        __builtin_prefetch(pNode->pRight);
    }

    // One step of a search in order: the child where it goes on, or null when the element is equal. The processor
    // cannot predict which child it is, so the child is chosen by arithmetic, without a jump.
    template <typename Order>
    static Node* NextOf(Node* pNode, const T& rKey, Order& rOrder)
    {
        if constexpr (orvel_internal::g_bFREE_TO_ASK<T, Order>)
        {
            const T key = rKey;
            const T element = ElementOf(pNode);
            if (!((key < element) | (element < key))) return nullptr;
            return ORVEL_UNPREDICTABLE(key < element) ? pNode->pLeft : pNode->pRight;
        }
        else
        {
            FetchBelow(pNode);
            const int nOrder = rOrder(rKey, ElementOf(pNode));
            if (nOrder == 0) return nullptr;
            return nOrder < 0 ? pNode->pLeft : pNode->pRight;
        }
    }

    template <typename Order>
    SPlace PlaceOf(const T& rKey, Order& rOrder) const
    {
        Node* const pNull = orvel_internal::RequireUp(CAATreeBase::ms_pNullNode, "CAATree");
        Node* pParent = pNull;
        Node* pNode = CAATreeBase::m_pRoot;
        if constexpr (orvel_internal::g_bHALF_AN_ANSWER<T, Order>)
        {
            Node* pNotAfter = nullptr;
            while (pNode != pNull)
            {
                FetchBelow(pNode);
                pParent = pNode;
                const bool bLeft = rKey < ElementOf(pNode);
                if (!bLeft) pNotAfter = pNode;
                pNode = bLeft ? pNode->pLeft : pNode->pRight;
            }
            return {pParent, pNotAfter != nullptr && !(ElementOf(pNotAfter) < rKey)};
        }
        else
        {
            while (pNode != pNull)
            {
                pParent = pNode;
                pNode = NextOf(pNode, rKey, rOrder);
                if (pNode == nullptr) return {pParent, true};
            }
            return {pParent, false};
        }
    }

    template <typename Order>
    Node* FindNodeBy(const T& rKey, Order& rOrder) const
    {
        if (!IsOrderedBy<Order>()) return FindNodeByCallback(rKey);
        Node* const pNull = orvel_internal::RequireUp(CAATreeBase::ms_pNullNode, "CAATree");
        Node* pNode = CAATreeBase::m_pRoot;
        if constexpr (orvel_internal::g_bHALF_AN_ANSWER<T, Order>)
        {
            // Every element is asked once: the last that is not after the key alone can equal it.
            Node* pNotAfter = nullptr;
            while (pNode != pNull)
            {
                FetchBelow(pNode);
                const bool bLeft = rKey < ElementOf(pNode);
                if (!bLeft) pNotAfter = pNode;
                pNode = bLeft ? pNode->pLeft : pNode->pRight;
            }
            return pNotAfter != nullptr && !(ElementOf(pNotAfter) < rKey) ? pNotAfter : nullptr;
        }
        else
        {
            while (pNode != pNull)
            {
                Node* const pNext = NextOf(pNode, rKey, rOrder);
                if (pNext == nullptr) return pNode;
                pNode = pNext;
            }
            return nullptr;
        }
    }

    Node* FindNodeByCallback(const T& rKey) const
    {
        Node* const pNode = CAATreeBase::FindNode(__builtin_addressof(rKey));
        return CAATreeBase::IsSentinel(pNode) ? nullptr : pNode;
    }

    Node* FindNodeOf(const T& rKey) const
    {
        SNaturalOrder order;
        if constexpr (orvel_internal::SHasNaturalOrder<T>::value) return FindNodeBy(rKey, order);
        else return FindNodeByCallback(rKey);
    }
};

#endif
