#ifndef FRAMEWORK_BASIC_AATREE_H
#define FRAMEWORK_BASIC_AATREE_H
#include <stddef.h>

#include <initializer_list>
#include <new>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/ordered_sequence.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/kernel/export.h"
#include "framework/kernel/internal/lifetime.h"
#include "framework/kernel/internal/move.h"
#include "framework/kernel/result.h"

/// An ordered set of equal elements of a size known at run time, each its own key; CAATree<T> is its typed front-end.
///
/// ```
///             [40]         a node: left, right, parent, level, then the element
///           /      \       no child is the one sentinel that all trees share
///       [20]        [60]   current node: (index, node) of the index asked for last
///      /    \      /    \                                  .
/// ```
/// A balanced search tree (AA tree): never higher than 2 log2(n + 1). Elements are made, copied and destroyed through
/// the three virtual element operations, which a derived class overrides (its destructor calls EraseAll(): the base's
/// could not reach them).
///
/// - **Comparison:** A total order, called as (key, element, parameter) by searches and in both orders by insertion. It
///   must have no side effects, and what it looks at in an element must not change while that is in the tree.
/// - **Ownership:** Owns its elements and nodes. Nodes from Allocate() are the caller's until InsertAllocated() or
///   EraseAllocated(). Borrows the allocator, which must outlive it; null means the default allocator.
/// - **Threads:** No locking: one thread at a time. Access by index moves the current node even of a const tree.
/// - **Growth:** Exact: capacity is the size plus nodes from Allocate() plus free nodes. Erased nodes become free and
///   are used again; only ReduceCapacity() and destruction give memory back.
/// - **Addresses:** An element stays where it is until it is erased.
/// - **Cost:** By key logarithmic. By index the steps from the index asked for last, amortised constant each; the first
///   and last are logarithmic. Only copying and EraseAll() recurse, to the height of the tree.
/// - **Failure:** Reported as QvResult with the tree as it was (a node obtained by then stays as spare capacity); what
///   returns nothing ignores bad arguments. Element operations and the comparison must not throw.
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

        CAATreeNode* pLeft;    ///< What orders before; or the sentinel.
        CAATreeNode* pRight;   ///< What orders after; or the sentinel.
        CAATreeNode* pParent;  ///< The sentinel above the root.
        /// 1 in a leaf, 0 only in the sentinel.
        unsigned int uLevel;
    };
    /// Where an element is.
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
        /// Sets both.
        SCompareVoidParams(PFNCompareElements pfnCompareElements, unsigned int uCompareParam);

        PFNCompareElements pfnCompare;  ///< The comparison.
        unsigned int uParam;            ///< What it is called with.
    };

    /// Elements of uSizeOfElement bytes, ordered by pfnCompare(first, second, uParam).
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

    /// Sets the comparison of an empty tree.
    ///
    /// - `QV_RES_INVALID_STATE`: the tree is not empty.
    QvResult SetComparisonFunction(PFNCompareElements pfnCompare, unsigned int uParam);

    /// Allocates the nodes that are missing for a capacity of uCapacity.
    ///
    /// - `QV_RES_OK`: the capacity is at least uCapacity.
    /// - `QV_RES_INVALID_STATE`: it is locked and below uCapacity.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no nodes, or the bytes of one do not fit 32 bits.
    [[nodiscard]] QvResult ReserveCapacity(unsigned int uCapacity);
    /// Gives free nodes back until the capacity is the larger of uCapacity and what is in use, if it is more.
    ///
    /// - `QV_RES_INVALID_STATE`: it is locked, even if nothing would change.
    QvResult ReduceCapacity(unsigned int uCapacity);
    /// How many elements there is memory for.
    unsigned int GetCapacity() const;
    /// Non-zero: the capacity is locked.
    unsigned int GetLockCapacity() const;
    /// Locks the capacity, or opens it with 0.
    void SetLockCapacity(unsigned int uLockCapacity);

    /// Inserts a copy.
    ///
    /// - `QV_RES_OK`: it is in.
    /// - `QV_RES_ALREADY_EXISTS`: an equal element is there.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no node.
    [[nodiscard]] QvResult Insert(const void* pElement);
    /// Makes room in the place of pKey and counts it as an element; the caller constructs one there that compares equal
    /// to pKey. Results as of Insert(), and
    ///
    /// - `QV_RES_OK`: *ppElement is the room for the element.
    /// - `QV_RES_INVALID_ARGUMENT`: ppElement is null.
    [[nodiscard]] QvResult AllocateSorted(const void* pKey, void** ppElement);
    /// Insertion in two steps: room for an element that is not in the tree yet (null when the capacity cannot grow),
    /// for the caller to construct it in ...
    void* Allocate();
    /// ... and its way into the tree. An element that is refused stays the caller's.
    ///
    /// - `QV_RES_OK`: it is in.
    /// - `QV_RES_INVALID_ARGUMENT`: pElement is null.
    /// - `QV_RES_ALREADY_EXISTS`: an equal element is there.
    [[nodiscard]] QvResult InsertAllocated(void* pElement);
    /// Takes the room back instead; the caller has destroyed the element. Null is ignored.
    void EraseAllocated(void* pElement);

    /// Destroys the element that equals pKey (which may be that element), if there is one; the capacity stays.
    void EraseElement(const void* pKey);
    /// Destroys the element at an index below the size.
    void Erase(unsigned int uIndex);
    /// Destroys all elements; the capacity stays.
    void EraseAll();

    /// How many elements there are.
    unsigned int GetSize() const;
    /// Whether there is no element.
    bool IsEmpty() const;
    /// 0.
    unsigned int GetFirstIndex() const;
    /// GetSize() - 1: 0xFFFFFFFF when empty.
    unsigned int GetLastIndex() const;

    /// The node of the element that equals pKey, else the sentinel.
    CAATreeNode* FindNode(const void* pKey) const;
    /// The node at an index below the size, else the sentinel. Moves the current node there.
    CAATreeNode* FindNodeByIndex(unsigned int uIndex) const;
    /// The first node of the tree below a node; the sentinel below the sentinel.
    CAATreeNode* FindNodeMin(CAATreeNode* pNode) const;
    /// The last node of the tree below a node; the sentinel below the sentinel.
    CAATreeNode* FindNodeMax(CAATreeNode* pNode) const;

    /// The current node: the sentinel when it is invalid, as after insertions before it and erasures at or before it.
    CAATreeNode* GetCurrentNode() const;
    /// Makes a node of this tree, or the sentinel (also as null), the current one.
    void SetCurrentNode(CAATreeNode* pNode) const;
    /// Makes the sentinel the current node.
    void InvalidateCurrentNode() const;
    /// Whether the current node is the sentinel.
    bool CurrentNodeIsInvalid() const;
    /// Moves the current node to the next one in order; behind the last it becomes invalid, and stays so.
    void IncrementCurrentNode() const;
    /// Moves the current node to the one before; in front of the first it becomes invalid, and stays so.
    void DecrementCurrentNode() const;

    /// The node of the first element; null when there is none. The current node stays, here and in the next three.
    CAATreeNode* GetFirst() const;
    /// The node of the last element; null when there is none.
    CAATreeNode* GetLast() const;
    /// The node behind, in order; null behind the last, and of null.
    static CAATreeNode* GetNext(CAATreeNode* pNode);
    /// The node in front, in order; null in front of the first, and of null.
    static CAATreeNode* GetPrevious(CAATreeNode* pNode);
    /// The element of a node; null of null and of the sentinel.
    static void* GetElement(CAATreeNode* pNode);
    /// Whether a node is the sentinel of all trees.
    static bool IsSentinel(const CAATreeNode* pNode);

    /// Module start-up and shut-down: the sentinel. Start-up returns QV_RES_OK.
    static QvResult InitializeCAATreeBase();
    static void FinalizeCAATreeBase();

    /// The sentinel's memory.
    alignas(void*) static unsigned char ms_auNullNode[32];
    /// The sentinel, to be read only; null while the framework is not up.
    static CAATreeNode* ms_pNullNode;

    /// Makes an element in raw memory.
    virtual void Construct(void* pElement);
    /// Copies an element into raw memory.
    virtual void ConstructFrom(void* pElement, const void* pSource);
    /// Destroys an element.
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

namespace orvel_internal
{
/// What an order compares of elements and keys, and whether it compares that by `<`. An order by a part of the elements
/// specialises it (see CMap).
template <typename Order>
struct SOrderedPart
{
    static constexpr bool bNATURAL = std::is_same<Order, SNaturalOrder>::value;

    template <typename Value>
    static const Value& Of(const Value& rValue)
    {
        return rValue;
    }
};
template <typename Order, typename Value>
using OrderedPartOf = std::decay_t<decltype(SOrderedPart<Order>::Of(std::declval<const Value&>()))>;

/// Whether the natural order of two values may take two comparisons, as with the `<` of a class.
template <typename First, typename Second, typename = void>
struct SAsksTwice : std::false_type
{
};
template <typename First, typename Second>
struct SAsksTwice<First, Second, std::enable_if_t<SThreeWayOrder<First, Second>::ms_bASKS_TWICE>> : std::true_type
{
};

/// An element in a list in braces, of a type that takes null or an allocator as well. Those stay arguments of other
/// constructors, as comparisons and callbacks do.
template <typename T>
class CListed
{
    template <typename Value>
    using ElementOnly = std::enable_if_t<std::is_convertible<Value, T>::value &&
                                         !std::is_convertible<Value, const IAllocator*>::value &&
                                         !std::is_invocable<Value&, const T&, const T&>::value &&
                                         !std::is_invocable<Value&, const void*, const void*, unsigned int>::value>;

public:
    template <typename Value, typename = ElementOnly<Value&&>>
    CListed(Value&& rrValue) : m_element(std::forward<Value>(rrValue))
    {
    }

    operator const T&() const { return m_element; }

private:
    T m_element;
};
template <typename T>
using ListedAs =
    std::conditional_t<std::is_convertible<decltype(nullptr), T>::value || std::is_convertible<IAllocator*, T>::value,
                       CListed<T>, T>;

/// Whether a key of another type than T does not convert to one. A call with such a key has an overload of its own, so
/// that other arguments convert as those of functions do.
template <typename T, typename Key>
constexpr bool g_bIS_FOREIGN_KEY =
    !std::is_convertible<Key&, const T&>::value && !std::is_convertible<Key, const T&>::value;
}  // namespace orvel_internal

/// An ordered set of T over CAATreeBase, whose growth, threading and cost rules it has:
/// ```
/// CAATree<int> tree = {5, 3};  // in the order of <.
/// tree.Insert(7);
/// for (int n : tree) ...
/// if (tree.Find(7)) tree.EraseElement(7);
///
/// struct SById
/// {
///     int operator()(const SUser& rFirst, const SUser& rSecond) const
///     {
///         return SNaturalOrder()(rFirst.nId, rSecond.nId);  // a difference could overflow.
///     }
/// };
/// CAATree<SUser> users{SById()};
/// ```
/// A typed comparison is called with two T, returns a negative number, 0 or a positive number, and has no state: a
/// function object without members or a lambda without captures.
///
/// - **Calls:** Those of its bases among them.
///   - `Insert(element)`, `Insert(element, &handle)`: copies or moves it in, unless an equal element is there.
///   - `Emplace(arguments...)`, `TryEmplace(&handle, arguments...)`: makes it in place.
///   - `FindOrInsert(key, &handle)`: the equal element, or a new one.
///   - `Find(key)`, `contains(key)`: a handle of the equal element, or none; whether there is one.
///   - `FindLowerBound(key)`, `FindUpperBound(key)`: of the first element not before, after the key.
///   - `GetFirst()`, `GetLast()`, `GetAt(index)`: handles of the ends; an element's address.
///   - `begin()`, `cbegin()`, `rbegin()`, `crbegin()`, `end()`, `cend()`, `rend()`, `crend()`: iterators.
///   - `EraseElement(key)`, `Erase(handle or index)`: one element.
///   - `EraseAll()`, `clear()`: all of them; the capacity stays.
///   - `GetSize()`, `size()`, `IsEmpty()`, `empty()`, `GetFirstIndex()`, `GetLastIndex()`.
///   - `ReserveCapacity(n)`, `ReduceCapacity(n)`, `GetCapacity()`, `SetLockCapacity(n)`, `GetLockCapacity()`.
///   - `Allocate()`, `InsertAllocated(p)`, `EraseAllocated(p)`, `AllocateSorted(key, &p)`: room, and then an element in
///     it.
///   - `SetComparisonFunction(comparison)`: of an empty tree.
///   - `==`, `!=`, `swap(tree, tree)`.
/// - **Elements:** Of any type. One that cannot be copied is moved in, one that cannot be moved either is made in
///   place; a tree of such elements can be moved, and copying it does not compile. What is moved or made in place is
///   not shown to the ConstructFrom() of a derived class.
/// - **Keys:** What converts to T is a key as a T, made once (a text that is too long for a CString as an empty one:
///   CString::Assign() tells). Find(), FindOrInsert() and the bounds also take a key of another type, with which `<`
///   compares a T in both directions, or which the comparison that they are given takes as (const T& element,
///   const Key& key), as searches in vectors and lists do. The tree goes by that order, which must put the elements as
///   its own does:
///   ```
///   struct SById
///   {
///       ...
///       int operator()(const SUser& rUser, int nId) const { return SNaturalOrder()(rUser.nId, nId); }
///   };
///   if (auto user = users.Find(7, SById())) Greet(*user);
///   ```
/// - **Iterators:** Bidirectional, in ascending order; they and handles are good until their element is erased.
///   Elements may be changed through them, except in what the comparison looks at.
/// - **Failure:** As of the base. A copy for which memory runs out is empty, an assignment changes nothing then; making
///   a tree of a list in braces or of a range throws std::bad_alloc. Emplace() and clear() do not tell: TryEmplace()
///   does.
template <typename T>
class QV_EXPORT CAATree : public orvel_internal::CTypedNodes<T, CAATreeBase>
{
    using Nodes = orvel_internal::CTypedNodes<T, CAATreeBase>;
    template <typename Key>
    using ForeignOnly = std::enable_if_t<orvel_internal::g_bIS_FOREIGN_KEY<T, Key>>;
    template <typename Comparison>
    using ComparisonOnly = std::enable_if_t<std::is_invocable<Comparison&, const T&, const T&>::value>;
    static constexpr bool ms_bMOVED_AS_COPIED =
        std::is_trivially_copyable<T>::value && orvel_internal::SIsCopyable<T>::value;

public:
    using typename Nodes::const_handle;
    using typename Nodes::const_iterator;
    using typename Nodes::handle;
    using typename Nodes::iterator;
    using const_reverse_iterator = orvel_internal::CReverseIterator<const_iterator>;
    using reverse_iterator = orvel_internal::CReverseIterator<iterator>;
    using key_type = T;
    using reference = T&;
    using const_reference = const T&;
    using pointer = T*;
    using const_pointer = const T*;
    using size_type = unsigned int;
    using difference_type = ptrdiff_t;

    /// Empty, in the order of `<`, with the default allocator.
    CAATree() : CAATree(SNaturalOrder()) {}
    /// Empty; null means the default allocator. A comparison may be given as an object without state, or as a function
    /// and the number that it is called with.
    explicit CAATree(IAllocator* pAllocator) : CAATree(SNaturalOrder(), pAllocator) {}
    template <typename Comparison, typename = ComparisonOnly<Comparison>>
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
    /// Copies of the elements in braces or of a range, the first of equal ones. Throws std::bad_alloc when memory runs
    /// out. A number in braces is an element; what made a tree in braces without a list still does so: null, an
    /// allocator, a comparison, a tree.
    template <typename Element = T>
    CAATree(std::initializer_list<orvel_internal::ListedAs<Element>> elements, IAllocator* pAllocator = nullptr)
        : CAATree(elements.begin(), elements.end(), SNaturalOrder(), pAllocator)
    {
    }
    template <typename Comparison, typename Element = T, typename = ComparisonOnly<Comparison>>
    CAATree(std::initializer_list<orvel_internal::ListedAs<Element>> elements, Comparison comparison,
            IAllocator* pAllocator = nullptr)
        : CAATree(elements.begin(), elements.end(), comparison, pAllocator)
    {
    }
    template <typename Iterator, typename = orvel_internal::IteratorCategory<Iterator>>
    CAATree(Iterator itFirst, Iterator itLast, IAllocator* pAllocator = nullptr)
        : CAATree(itFirst, itLast, SNaturalOrder(), pAllocator)
    {
    }
    template <typename Iterator, typename Comparison, typename = orvel_internal::IteratorCategory<Iterator>,
              typename = ComparisonOnly<Comparison>>
    CAATree(Iterator itFirst, Iterator itLast, Comparison comparison, IAllocator* pAllocator = nullptr)
        : CAATree(comparison, pAllocator)
    {
        for (; itFirst != itLast; ++itFirst)
        {
            if constexpr (std::is_same<decltype(*itFirst), T&&>::value) PutIn<T>(*itFirst);
            else PutIn<const T&>(*itFirst);
        }
    }
    CAATree(const CAATree& rSrc) : CAATree(rSrc.m_stCompare.pfnCompare, rSrc.m_stCompare.uParam, rSrc.m_nodeAllocator)
    {
        *this = rSrc;
    }
    CAATree(CAATree&& rSrc) noexcept
        : CAATree(rSrc.m_stCompare.pfnCompare, rSrc.m_stCompare.uParam, rSrc.m_nodeAllocator)
    {
        CAATreeBase::ExchangeContents(rSrc);
    }
    CAATree& operator=(const CAATree& rSrc)
    {
        orvel_internal::RequireCopyable<T>();
        CAATreeBase::operator=(rSrc);
        return *this;
    }
    /// The two trees exchange everything.
    CAATree& operator=(CAATree&& rSrc) = default;

    using CAATreeBase::SetComparisonFunction;
    /// Sets the comparison of an empty tree to one without state, which its type alone tells.
    ///
    /// - `QV_RES_INVALID_STATE`: the tree is not empty.
    template <typename Comparison>
    QvResult SetComparisonFunction(Comparison)
    {
        return CAATreeBase::SetComparisonFunction(orvel_internal::StatelessCallback<T, Comparison>, 0);
    }

    /// Inserts a copy. Results as of CAATreeBase::Insert().
    [[nodiscard]] QvResult Insert(const T& rElement)
    {
        orvel_internal::RequireCopyable<T>();
        if constexpr (orvel_internal::SHasNaturalOrder<T>::value) return Insert(rElement, SNaturalOrder());
        else return CAATreeBase::Insert(__builtin_addressof(rElement));
    }
    /// Moves an element in; one that is refused is as it was.
    [[nodiscard]] QvResult Insert(T&& rrElement)
    {
        if constexpr (ms_bMOVED_AS_COPIED) return Insert(rrElement);
        else if constexpr (orvel_internal::SHasNaturalOrder<T>::value)
            return Insert(std::move(rrElement), SNaturalOrder());
        else return MoveInByCallback(rrElement);
    }
    /// Inserts in the tree's own order, named once more: the compiler can build it in. A tree that has another one is
    /// not misled, and asks that.
    template <typename Order>
    [[nodiscard]] QvResult Insert(const T& rElement, Order order)
    {
        orvel_internal::RequireCopyable<T>();
        if (!IsOrderedBy<Order>()) return CAATreeBase::Insert(__builtin_addressof(rElement));
        return InsertReserved(rElement, order,
                              [&](void* pv) { this->ConstructFrom(pv, __builtin_addressof(rElement)); });
    }
    template <typename Order>
    [[nodiscard]] QvResult Insert(T&& rrElement, Order order)
    {
        if constexpr (ms_bMOVED_AS_COPIED) return Insert(rrElement, order);
        else
        {
            if (!IsOrderedBy<Order>()) return MoveInByCallback(rrElement);
            return InsertReserved(rrElement, order, [&](void* pv) { ::new (pv) T(std::move(rrElement)); });
        }
    }
    /// Inserts, with a handle of the element that is there then, new or not, and no need of memory where one is.
    ///
    /// - `QV_RES_OK`: it is in, and *pInserted designates it.
    /// - `QV_RES_ALREADY_EXISTS`: *pInserted designates an equal element.
    /// - `QV_RES_INVALID_ARGUMENT`: pInserted is null.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no node.
    [[nodiscard]] QvResult Insert(const T& rElement, handle* pInserted)
    {
        return InsertBy(rElement, pInserted, SNaturalOrder());
    }
    [[nodiscard]] QvResult Insert(T&& rrElement, handle* pInserted)
    {
        return InsertBy(std::move(rrElement), pInserted, SNaturalOrder());
    }
    /// Makes an element as T(arguments...), or of its members T{arguments...}, in its node, and finds its place then: a
    /// node is needed even where an equal element is there. A handle of the new element; none where there is none, see
    /// TryEmplace().
    template <typename... Arguments>
    handle Emplace(Arguments&&... arguments)
    {
        Node* pNode = nullptr;
        const QvResult res = MakeAndLink(pNode, std::forward<Arguments>(arguments)...);
        return handle(res >= 0 ? pNode : nullptr);
    }
    /// Emplace() with the results of Insert() with a handle.
    template <typename... Arguments>
    [[nodiscard]] QvResult TryEmplace(handle* pInserted, Arguments&&... arguments)
    {
        if (pInserted == nullptr) return QV_RES_INVALID_ARGUMENT;
        Node* pNode = nullptr;
        const QvResult res = MakeAndLink(pNode, std::forward<Arguments>(arguments)...);
        if (pNode != nullptr) *pInserted = handle(pNode);
        return res;
    }
    /// The element that equals a key, or where there is none, a new one made of the key: a T is copied or moved, of
    /// another key it is T(rKey).
    /// One descent. order is as in Insert() and Find().
    ///
    /// - `QV_RES_OK`: *pFound designates it.
    /// - `QV_RES_INVALID_ARGUMENT`: pFound is null; or the order of the tree would not have an element that is made of
    ///   the key in the place of the key: the order that is named is another one, or the element is not what it was
    ///   made of, as a text that was too long for it. It is not in the tree.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no node.
    template <typename Order = SNaturalOrder>
    [[nodiscard]] QvResult FindOrInsert(const T& rKey, handle* pFound, Order order = Order())
    {
        const QvResult res = InsertBy(rKey, pFound, order);
        return res == QV_RES_ALREADY_EXISTS ? QV_RES_OK : res;
    }
    template <typename Order = SNaturalOrder>
    [[nodiscard]] QvResult FindOrInsert(T&& rrKey, handle* pFound, Order order = Order())
    {
        const QvResult res = InsertBy(std::move(rrKey), pFound, order);
        return res == QV_RES_ALREADY_EXISTS ? QV_RES_OK : res;
    }
    template <typename Key, typename Order = SNaturalOrder, typename = ForeignOnly<Key>>
    [[nodiscard]] QvResult FindOrInsert(const Key& rKey, handle* pFound, Order order = Order())
    {
        const QvResult res = InsertBy(rKey, pFound, order);
        return res == QV_RES_ALREADY_EXISTS ? QV_RES_OK : res;
    }
    /// CAATreeBase::AllocateSorted() by a key of T.
    [[nodiscard]] QvResult AllocateSorted(const T& rKey, void** ppElement)
    {
        return CAATreeBase::AllocateSorted(__builtin_addressof(rKey), ppElement);
    }
    using CAATreeBase::Allocate;
    using CAATreeBase::EraseAllocated;
    using CAATreeBase::InsertAllocated;

    /// Destroys the element that equals rKey (which may be that element), if there is one; the capacity stays.
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
    /// Finds in the tree's own order, named once more: see Insert().
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
    /// By a key of another type, in the order of `<` or in the one that is named.
    template <typename Key, typename Order = SNaturalOrder, typename = ForeignOnly<Key>>
    handle Find(const Key& rKey, Order order = Order())
    {
        return handle(FindForeign(rKey, order));
    }
    template <typename Key, typename Order = SNaturalOrder, typename = ForeignOnly<Key>>
    const_handle Find(const Key& rKey, Order order = Order()) const
    {
        return const_handle(FindForeign(rKey, order));
    }
    /// Whether there is an element that equals a key.
    bool contains(const T& rKey) const { return static_cast<bool>(Find(rKey)); }
    template <typename Key, typename Order = SNaturalOrder, typename = ForeignOnly<Key>>
    bool contains(const Key& rKey, Order order = Order()) const
    {
        return static_cast<bool>(Find(rKey, order));
    }
    /// The first element that does not come before a key; none when all do.
    template <typename Order = SNaturalOrder>
    handle FindLowerBound(const T& rKey, Order order = Order())
    {
        return handle(BoundOf<false>(rKey, order));
    }
    template <typename Order = SNaturalOrder>
    const_handle FindLowerBound(const T& rKey, Order order = Order()) const
    {
        return const_handle(BoundOf<false>(rKey, order));
    }
    template <typename Key, typename Order = SNaturalOrder, typename = ForeignOnly<Key>>
    handle FindLowerBound(const Key& rKey, Order order = Order())
    {
        return handle(BoundOf<false>(rKey, order));
    }
    template <typename Key, typename Order = SNaturalOrder, typename = ForeignOnly<Key>>
    const_handle FindLowerBound(const Key& rKey, Order order = Order()) const
    {
        return const_handle(BoundOf<false>(rKey, order));
    }
    /// The first element that comes after a key; none when none does.
    template <typename Order = SNaturalOrder>
    handle FindUpperBound(const T& rKey, Order order = Order())
    {
        return handle(BoundOf<true>(rKey, order));
    }
    template <typename Order = SNaturalOrder>
    const_handle FindUpperBound(const T& rKey, Order order = Order()) const
    {
        return const_handle(BoundOf<true>(rKey, order));
    }
    template <typename Key, typename Order = SNaturalOrder, typename = ForeignOnly<Key>>
    handle FindUpperBound(const Key& rKey, Order order = Order())
    {
        return handle(BoundOf<true>(rKey, order));
    }
    template <typename Key, typename Order = SNaturalOrder, typename = ForeignOnly<Key>>
    const_handle FindUpperBound(const Key& rKey, Order order = Order()) const
    {
        return const_handle(BoundOf<true>(rKey, order));
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

    /// As the standard library calls it.
    size_type size() const { return CAATreeBase::GetSize(); }
    [[nodiscard]] bool empty() const { return CAATreeBase::IsEmpty(); }
    void clear() { CAATreeBase::EraseAll(); }
    const_iterator cbegin() const { return this->begin(); }
    const_iterator cend() const { return this->end(); }
    reverse_iterator rbegin() { return reverse_iterator(this->end()); }
    reverse_iterator rend() { return reverse_iterator(this->begin()); }
    const_reverse_iterator rbegin() const { return const_reverse_iterator(this->end()); }
    const_reverse_iterator rend() const { return const_reverse_iterator(this->begin()); }
    const_reverse_iterator crbegin() const { return rbegin(); }
    const_reverse_iterator crend() const { return rend(); }

    /// As many elements, one by one equal by `==`.
    friend bool operator==(const CAATree& rFirst, const CAATree& rSecond)
    {
        if (rFirst.size() != rSecond.size()) return false;
        const_iterator itSecond = rSecond.begin();
        for (const T& rElement : rFirst)
        {
            if (!(rElement == *itSecond++)) return false;
        }
        return true;
    }
    friend bool operator!=(const CAATree& rFirst, const CAATree& rSecond) { return !(rFirst == rSecond); }
    /// The two trees exchange everything.
    friend void swap(CAATree& rFirst, CAATree& rSecond) noexcept { rFirst.ExchangeContents(rSecond); }

protected:
    using Node = CAATreeBase::CAATreeNode;

    static T& ElementOf(Node* pNode) { return *reinterpret_cast<T*>(pNode + 1); }

    /// For front-ends: the node of the element that equals a key, or else of one that is made by make(address) in raw
    /// memory. Results as of Insert() with a handle, and of FindOrInsert().
    template <typename Key, typename Order, typename Make>
    QvResult InsertMade(const Key& rKey, Node*& rpNode, Order order, Make make)
    {
        return WithOrder<Key>(order, [&](auto& rOrder) { return FindOrMake(rKey, rpNode, rOrder, make); });
    }
    /// The node of the element that equals a key of another type, or null.
    template <typename Key, typename Order>
    Node* FindForeign(const Key& rKey, Order order) const
    {
        return PlaceOf(rKey, order).pEqual;
    }

private:
    // Where the search for a place ends: at an equal element, or below which node, the sentinel in an empty tree.
    struct SPlace
    {
        Node* pEqual;
        Node* pParent;
        bool bLeft;
    };

    // The tree's own order, asked through its callback.
    class COwnOrder
    {
    public:
        explicit COwnOrder(const CAATreeBase::SCompareVoidParams& rstCompare) : m_stCompare(rstCompare) {}
        int operator()(const T& rKey, const T& rElement) const
        {
            return m_stCompare.pfnCompare(__builtin_addressof(rKey), __builtin_addressof(rElement), m_stCompare.uParam);
        }

    private:
        CAATreeBase::SCompareVoidParams m_stCompare;
    };

    template <typename Order>
    bool IsOrderedBy() const
    {
        return CAATreeBase::m_stCompare.pfnCompare == &orvel_internal::StatelessCallback<T, Order>;
    }

    // Calls search(order) with the order that is named, if it is the tree's: otherwise with the tree's own. A callback
    // cannot be shown a key of another type, so for that the named one counts.
    template <typename Key, typename Order, typename Search>
    auto WithOrder(Order& rOrder, Search search) const
    {
        if constexpr (!std::is_same<Key, T>::value) return search(rOrder);
        else
        {
            if constexpr (!std::is_same<Order, SNaturalOrder>::value || orvel_internal::SHasNaturalOrder<T>::value)
            {
                if (IsOrderedBy<Order>()) return search(rOrder);
            }
            COwnOrder own(CAATreeBase::m_stCompare);
            return search(own);
        }
    }

    template <typename Key, typename Order>
    static constexpr bool IsFreeToAsk()
    {
        using Part = orvel_internal::OrderedPartOf<Order, T>;
        return orvel_internal::SOrderedPart<Order>::bNATURAL && std::is_scalar<Part>::value &&
               std::is_same<orvel_internal::OrderedPartOf<Order, Key>, Part>::value;
    }
    // Whether each comparison tells no more than whether one comes first.
    template <typename Key, typename Order>
    static constexpr bool IsHalfAnAnswer()
    {
        using KeyPart = orvel_internal::OrderedPartOf<Order, Key>;
        using Part = orvel_internal::OrderedPartOf<Order, T>;
        return orvel_internal::SOrderedPart<Order>::bNATURAL && !IsFreeToAsk<Key, Order>() &&
               orvel_internal::SAsksTwice<KeyPart, Part>::value;
    }

    // Keys of another type come second, as in sequences.
    template <typename Key, typename Order>
    static bool IsKeyBefore(const Key& rKey, Node* pNode, Order& rOrder)
    {
        using Part = orvel_internal::SOrderedPart<Order>;
        const T& rElement = ElementOf(pNode);
        if constexpr (Part::bNATURAL) return Part::Of(rKey) < Part::Of(rElement);
        else if constexpr (std::is_same<Key, T>::value) return rOrder(rKey, rElement) < 0;
        else return rOrder(rElement, rKey) > 0;
    }
    template <typename Key, typename Order>
    static bool IsKeyAfter(const Key& rKey, Node* pNode, Order& rOrder)
    {
        using Part = orvel_internal::SOrderedPart<Order>;
        const T& rElement = ElementOf(pNode);
        if constexpr (Part::bNATURAL) return Part::Of(rElement) < Part::Of(rKey);
        else if constexpr (std::is_same<Key, T>::value) return rOrder(rKey, rElement) > 0;
        else return rOrder(rElement, rKey) < 0;
    }

    // A comparison may read memory far away from the nodes: meanwhile both nodes that can be next are prefetched.
    static void FetchBelow(const Node* pNode)
    {
        __builtin_prefetch(pNode->pLeft);
        __builtin_prefetch(pNode->pRight);
    }

    // One step of a search in order: the child where it goes on, or null when the element is equal.
    template <typename Key, typename Order>
    static Node* NextOf(Node* pNode, const Key& rKey, Order& rOrder)
    {
        using Part = orvel_internal::SOrderedPart<Order>;
        if constexpr (IsFreeToAsk<Key, Order>())
        {
            const auto key = Part::Of(rKey);
            const auto element = Part::Of(ElementOf(pNode));
            if (!((key < element) | (element < key))) return nullptr;
            // The processor cannot predict which child it is, so the child is chosen by arithmetic, without a jump.
            return ORVEL_UNPREDICTABLE(key < element) ? pNode->pLeft : pNode->pRight;
        }
        else
        {
            FetchBelow(pNode);
            if constexpr (Part::bNATURAL)
            {
                const int nOrder = SNaturalOrder()(Part::Of(rKey), Part::Of(ElementOf(pNode)));
                if (nOrder == 0) return nullptr;
                // A jump, which "likely" is for: while the processor waits for what is compared, it goes on with the
                // child that it expects. Half of the time that is the right one.
                if (orvel_internal::IsLikely(nOrder < 0)) return pNode->pLeft;
                return pNode->pRight;
            }
            else return NextByOrder(pNode, rKey, rOrder);
        }
    }
    template <typename Key, typename Order>
    static Node* NextByOrder(Node* pNode, const Key& rKey, Order& rOrder)
    {
        if constexpr (std::is_same<Key, T>::value)
        {
            const int nOrder = rOrder(rKey, ElementOf(pNode));
            if (nOrder == 0) return nullptr;
            return nOrder < 0 ? pNode->pLeft : pNode->pRight;
        }
        else
        {
            const int nOrder = rOrder(ElementOf(pNode), rKey);
            if (nOrder == 0) return nullptr;
            return nOrder > 0 ? pNode->pLeft : pNode->pRight;
        }
    }

    template <typename Key, typename Order>
    SPlace PlaceOf(const Key& rKey, Order& rOrder) const
    {
        Node* const pNull = orvel_internal::RequireUp(CAATreeBase::ms_pNullNode, "CAATree");
        Node* pParent = pNull;
        Node* pNode = CAATreeBase::m_pRoot;
        if constexpr (IsHalfAnAnswer<Key, Order>())
        {
            // Every element is asked once: the last that is not after the key alone can equal it.
            Node* pNotAfter = nullptr;
            while (pNode != pNull)
            {
                FetchBelow(pNode);
                pParent = pNode;
                const bool bLeft = IsKeyBefore(rKey, pNode, rOrder);
                if (!bLeft) pNotAfter = pNode;
                pNode = bLeft ? pNode->pLeft : pNode->pRight;
            }
            const bool bEqual = pNotAfter != nullptr && !IsKeyAfter(rKey, pNotAfter, rOrder);
            return {bEqual ? pNotAfter : nullptr, pParent, pNotAfter != pParent};
        }
        else
        {
            while (pNode != pNull)
            {
                pParent = pNode;
                pNode = NextOf(pNode, rKey, rOrder);
                if (pNode == nullptr) return {pParent, nullptr, false};
            }
            return {nullptr, pParent, pParent != pNull && IsKeyBefore(rKey, pParent, rOrder)};
        }
    }

    template <typename Key, typename Order, typename Make>
    QvResult FindOrMake(const Key& rKey, Node*& rpNode, Order& rOrder, Make make)
    {
        const SPlace stPlace = PlaceOf(rKey, rOrder);
        rpNode = stPlace.pEqual;
        if (stPlace.pEqual != nullptr) return QV_RES_ALREADY_EXISTS;
        return MakeAt(stPlace, rKey, rOrder, rpNode, make);
    }

    // A node is there before anything is looked for.
    template <typename Order, typename Make>
    QvResult InsertReserved(const T& rElement, Order& rOrder, Make make)
    {
        if (!CAATreeBase::m_nodeAllocator.HasFree())
        {
            const QvResult res = this->ReserveNode();
            if (res < 0) return res;
        }
        Node* pNode = nullptr;
        return FindOrMake(rElement, pNode, rOrder, make);
    }
    template <typename Element>
    void PutIn(Element&& rrElement)
    {
        handle inserted;
        const QvResult res = Insert(std::forward<Element>(rrElement), &inserted);
        if (res < 0 && res != QV_RES_ALREADY_EXISTS) orvel_internal::ThrowOutOfMemory();
    }
    QvResult MoveInByCallback(T& rElement)
    {
        void* pvElement = nullptr;
        const QvResult res = CAATreeBase::AllocateSorted(__builtin_addressof(rElement), &pvElement);
        if (res >= 0) ::new (pvElement) T(std::move(rElement));
        return res;
    }

    // Also the node of an equal element, in place of the one that was made.
    template <typename... Arguments>
    QvResult MakeAndLink(Node*& rpNode, Arguments&&... arguments)
    {
        if (!CAATreeBase::m_nodeAllocator.HasFree())
        {
            const QvResult res = this->ReserveNode();
            if (res < 0) return res;
        }
        Node* const pNode = static_cast<Node*>(CAATreeBase::m_nodeAllocator.Pop());
        const T& rElement =
            *::new (static_cast<void*>(pNode + 1)) T(orvel_internal::Made<T>(std::forward<Arguments>(arguments)...));
        SNaturalOrder natural;
        return WithOrder<T>(natural,
                            [&](auto& rOrder) -> QvResult
                            {
                                const SPlace stPlace = PlaceOf(rElement, rOrder);
                                if (stPlace.pEqual == nullptr)
                                {
                                    LinkAt(stPlace, pNode, IsInFrontOfCurrent(rElement, rOrder));
                                    rpNode = pNode;
                                    return QV_RES_OK;
                                }
                                rpNode = stPlace.pEqual;
                                DestroyNode(pNode);
                                return QV_RES_ALREADY_EXISTS;
                            });
    }

    template <typename Order>
    Node* FindNodeBy(const T& rKey, Order& rOrder) const
    {
        return IsOrderedBy<Order>() ? PlaceOf(rKey, rOrder).pEqual : FindNodeByCallback(rKey);
    }

    template <bool bUPPER, typename Key, typename Order>
    Node* BoundOf(const Key& rKey, Order& rOrder) const
    {
        return WithOrder<Key>(rOrder,
                              [&](auto& rUsed)
                              {
                                  Node* const pNull = orvel_internal::RequireUp(CAATreeBase::ms_pNullNode, "CAATree");
                                  Node* pBound = nullptr;
                                  for (Node* pNode = CAATreeBase::m_pRoot; pNode != pNull;)
                                  {
                                      FetchBelow(pNode);
                                      const bool bBound =
                                          bUPPER ? IsKeyBefore(rKey, pNode, rUsed) : !IsKeyAfter(rKey, pNode, rUsed);
                                      if (bBound) pBound = pNode;
                                      pNode = bBound ? pNode->pLeft : pNode->pRight;
                                  }
                                  return pBound;
                              });
    }

    template <typename Key, typename Order>
    QvResult InsertBy(Key&& rrKey, handle* pInserted, Order order)
    {
        if (pInserted == nullptr) return QV_RES_INVALID_ARGUMENT;
        Node* pNode = nullptr;
        const QvResult res =
            InsertMade(rrKey, pNode, order, [&](void* pv) { ConstructOf(pv, std::forward<Key>(rrKey)); });
        if (pNode != nullptr) *pInserted = handle(pNode);
        return res;
    }

    template <typename Key>
    void ConstructOf(void* pElement, Key&& rrKey)
    {
        if constexpr (std::is_same<Key, const T&>::value || (std::is_same<Key, T>::value && ms_bMOVED_AS_COPIED))
        {
            orvel_internal::RequireCopyable<T>();
            this->ConstructFrom(pElement, __builtin_addressof(rrKey));
        }
        else
        {
            static_assert(std::is_constructible<T, Key&&>::value, "a new element is made of the key, as T(key)");
            ::new (pElement) T(std::forward<Key>(rrKey));
        }
    }

    // Apart from the search, which most calls end with.
    template <typename Key, typename Order, typename Make>
    __attribute__((noinline)) QvResult MakeAt(const SPlace& rstPlace, const Key& rKey, Order& rOrder, Node*& rpNode,
                                              Make& rMake)
    {
        if (!CAATreeBase::m_nodeAllocator.HasFree())
        {
            const QvResult res = this->ReserveNode();
            if (res < 0) return res;
        }
        Node* const pNode = static_cast<Node*>(CAATreeBase::m_nodeAllocator.Pop());
        const bool bInFront = IsInFrontOfCurrent(rKey, rOrder);  // before the key may be moved from
        rMake(pNode + 1);
        using Part = orvel_internal::OrderedPartOf<Order, T>;
        if constexpr (!std::is_same<orvel_internal::OrderedPartOf<Order, Key>, Part>::value)
        {
            if (!IsInOrderAt(rstPlace, ElementOf(pNode)))
            {
                DestroyNode(pNode);
                return QV_RES_INVALID_ARGUMENT;
            }
        }
        LinkAt(rstPlace, pNode, bInFront);
        rpNode = pNode;
        return QV_RES_OK;
    }

    // Whether an element comes between what would be its neighbours. The parent is one of them.
    bool IsInOrderAt(const SPlace& rstPlace, const T& rElement) const
    {
        Node* const pParent = rstPlace.pParent;
        if (CAATreeBase::IsSentinel(pParent)) return true;
        Node* const pBefore = rstPlace.bLeft ? CAATreeBase::GetPrevious(pParent) : pParent;
        Node* const pAfter = rstPlace.bLeft ? pParent : CAATreeBase::GetNext(pParent);
        const COwnOrder own(CAATreeBase::m_stCompare);
        return (pBefore == nullptr || own(ElementOf(pBefore), rElement) < 0) &&
               (pAfter == nullptr || own(rElement, ElementOf(pAfter)) < 0);
    }

    // With an element in front of it, the current node has another index.
    template <typename Key, typename Order>
    bool IsInFrontOfCurrent(const Key& rKey, Order& rOrder) const
    {
        Node* const pCurrent = CAATreeBase::m_pCurrentNode;
        return pCurrent != CAATreeBase::ms_pNullNode && IsKeyBefore(rKey, pCurrent, rOrder);
    }
    void LinkAt(const SPlace& rstPlace, Node* pNode, bool bInFrontOfCurrent)
    {
        if (bInFrontOfCurrent) this->InvalidateCurrentNode();
        Node* const pParent = rstPlace.pParent;
        if (pParent == CAATreeBase::ms_pNullNode) this->LinkNode(pNode, pParent, &this->m_pRoot);
        else this->LinkNode(pNode, pParent, rstPlace.bLeft ? &pParent->pLeft : &pParent->pRight);
    }
    void DestroyNode(Node* pNode)
    {
        this->Destruct(pNode + 1);
        CAATreeBase::m_nodeAllocator.Push(pNode);
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
