#ifndef FRAMEWORK_BASIC_VECTOR_LIST_H
#define FRAMEWORK_BASIC_VECTOR_LIST_H
#include <stddef.h>

#include <initializer_list>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/grow_capacity.h"
#include "framework/basic/internal/ordered_sequence.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/basic/internal/typed_sequence.h"
#include "framework/basic/vector.h"
#include "framework/kernel/export.h"
#include "framework/kernel/internal/move.h"
#include "framework/kernel/result.h"

/// A sequence of equal elements of a size known at run time, each in a block of its own, with an array of their
/// addresses; CVList<T> is its typed front-end.
/// ```
/// order       [ . | . | . | . ]      index: constant time; inserting, erasing and sorting move addresses only
///               |   |   |   |
/// elements     [b] [d] [a] [c]       never move
/// ```
///
/// Elements are made, copied and destroyed through the three virtual element operations, which a derived class
/// overrides. Its destructor calls EraseAll(), since the destructor of the base can no longer call the overrides.
///
/// - **Ownership:** Owns its elements. Borrows the allocator of their blocks, which must outlive it; null means the
///   default allocator, from which the order always comes.
/// - **Threads:** No locking: one thread at a time.
/// - **Growth:** Exact, never rounded up: n appends cost n reallocations of the order unless ReserveCapacity() comes
///   first. Blocks of erased elements become free and are used again.
/// - **Alignment:** Of elements as of operator new[]: of more, which the typed front-end refuses to compile, nothing is
///   known here.
/// - **Addresses:** An element stays where it is until it is erased.
/// - **Failure:** Reported as QvResult with the vector-lists as they were (blocks allocated before stay as spare
///   capacity); what returns nothing ignores bad arguments. Construction throws what operator new[] throws (one address
///   is held aside). Element operations and comparisons must not throw.
/// - **Lifetime:** With any allocator: made while the framework is up and destroyed before it goes down, so not in
///   static storage. If one is made at another time, one line on standard error names the class, and abort() follows.
class QV_EXPORT CVListBase
{
public:
    /// Elements of uSizeOfElement bytes, made through the element operations.
    CVListBase(unsigned int uSizeOfElement, IAllocator* pAllocator);
    /// Takes blocks from the source of rAllocator, whose block size is kept if it suffices for an element.
    CVListBase(unsigned int uSizeOfElement, const CBlockAllocator& rAllocator);
    /// Same source of memory, element size and elements, neither spare capacity nor lock. The element operations of a
    /// derived class cannot be called from here: construct an empty object and assign.
    CVListBase(const CVListBase& rSrc);
    virtual ~CVListBase();
    /// Copies the elements. Changes nothing when the element sizes differ, the locked capacity does not suffice, or
    /// memory runs out.
    CVListBase& operator=(const CVListBase& rSrc);

    /// The element at an index below the size, else null.
    void* GetAt(unsigned int uIndex);
    const void* GetAt(unsigned int uIndex) const;
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

    /// Puts a block in front of index uIndex and counts it as an element; the caller constructs it. Null when uIndex is
    /// above the size or the capacity cannot grow.
    void* Allocate(unsigned int uIndex);
    /// Allocate() at the place of pKey in a sorted vector-list that holds no equal element.
    ///
    /// - `QV_RES_OK`: *ppElement is the room for the element.
    /// - `QV_RES_INVALID_ARGUMENT`: ppElement is null.
    /// - `QV_RES_ALREADY_EXISTS`: an equal element is there.
    /// - `QV_RES_FAIL`: the capacity is locked and too small, memory ran out, or 32 bits do not hold it.
    [[nodiscard]] QvResult AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam,
                                          void** ppElement);
    /// Puts uCount elements in front of index uIndex (GetSize() appends): copies of *pElement, or newly made ones when
    /// it is null. *pElement may be an element of this vector-list.
    ///
    /// - `QV_RES_OK`: the elements are in.
    /// - `QV_RES_INVALID_ARGUMENT`: uIndex is above the size.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: there is no memory for the blocks or the order, or its bytes do not fit 32 bits.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement);
    /// Puts copies of all elements of rSrc in front of index uIndex. Results as of the other form, and
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: the element sizes differ.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, const CVListBase& rSrc);
    /// Inserts a copy in front of the first element that does not order before it; the vector-list must be sorted.
    /// Results as of Insert().
    [[nodiscard]] QvResult InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam);

    /// Makes the capacity of the order exactly uCapacity if it is less, and blocks for it free, if there is memory.
    ///
    /// - `QV_RES_OK`: the capacity is at least uCapacity.
    /// - `QV_RES_INVALID_STATE`: it is locked and below uCapacity.
    /// - `QV_RES_OUT_OF_MEMORY`: there is no memory for the order, or its bytes do not fit 32 bits.
    [[nodiscard]] QvResult ReserveCapacity(unsigned int uCapacity);
    /// Makes the capacity exactly the larger of uCapacity and the size, if it is more, and gives surplus blocks back.
    ///
    /// - `QV_RES_INVALID_STATE`: it is locked, even if nothing would change.
    /// - `QV_RES_OUT_OF_MEMORY`: there is no memory for the order.
    QvResult ReduceCapacity(unsigned int uCapacity);
    /// How many elements the order has room for.
    unsigned int GetCapacity() const;
    /// Non-zero: the capacity is locked.
    unsigned int GetLockCapacity() const;
    /// Locks the capacity, or opens it with 0.
    void SetLockCapacity(unsigned int uLockCapacity);

    /// Destroys up to uCount elements from uIndex on; the capacity stays. Nothing happens when uIndex is no element.
    void Erase(unsigned int uIndex, unsigned int uCount);
    void Erase(unsigned int uIndex);
    /// Destroys all elements; the capacity stays.
    void EraseAll();

    /// Index of the first element from uStartIndex on that compares equal, else the end index. Cost: linear.
    unsigned int Find(unsigned int uStartIndex, const void* pKey, PFNCompareElements pfnCompare,
                      unsigned int uParam) const;
    /// Find() in a sorted vector-list. Cost: logarithmic, plus one comparison for each equal element.
    unsigned int FindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Shell sort of the addresses, not stable.
    void Sort(PFNCompareElements pfnCompare, unsigned int uParam);
    /// Exchanges the places of two elements; nothing happens when an index is not below the size.
    void Swap(unsigned int uIndex1, unsigned int uIndex2);
    /// Index of the first element of a sorted vector-list that does not order before pKey, the end index when all do.
    unsigned int InternalFindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first smallest element; 0 when empty.
    unsigned int GetMinElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first largest element; 0 when empty.
    unsigned int GetMaxElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;

    /// Copies uCount elements from uSrcIndex on into slots of the order that exist and hold no element. Other
    /// operations are made of this.
    ///
    /// - `QV_RES_OK`: the copies are in.
    /// - `QV_RES_INVALID_ARGUMENT`: there are not that many elements or slots, or the element sizes differ.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no blocks.
    [[nodiscard]] static QvResult Copy(CVListBase* pDest, unsigned int uDestIndex, const CVListBase* pSrc,
                                       unsigned int uSrcIndex, unsigned int uCount);
    /// Moves elements, with the parameters of Copy(); the caller removes the slots of the source. Between vector-lists
    /// with the same source of memory the blocks change their owner, and nothing is copied or allocated; otherwise the
    /// elements are copied, and those of the source destroyed. Results as of Copy().
    [[nodiscard]] static QvResult Move(CVListBase* pDest, unsigned int uDestIndex, CVListBase* pSrc,
                                       unsigned int uSrcIndex, unsigned int uCount);

    /// Moves all elements of rSrc in front of index uIndex.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: the element sizes differ, uIndex is above the size, or rSrc is this vector-list.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: there is no memory for the blocks or the order.
    [[nodiscard]] QvResult Merge(unsigned int uIndex, CVListBase& rSrc);
    /// Replaces the elements of rDest by those from uIndex on, which leave this vector-list.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: the element sizes differ, uIndex is not below the size, or rDest is this
    ///   vector-list.
    /// - `QV_RES_INVALID_STATE`: the capacity of rDest is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: there is no memory for the blocks or the order of rDest.
    [[nodiscard]] QvResult Split(unsigned int uIndex, CVListBase& rDest);

    /// Makes an element in raw memory.
    virtual void Construct(void* pElement);
    /// Copies an element into raw memory.
    virtual void ConstructFrom(void* pElement, const void* pSource);
    /// Destroys an element.
    virtual void Destruct(void* pElement);

protected:
    /// For orvel_internal::CExactClass.
    QV_HIDDEN CVListBase(unsigned int, const orvel_internal::SNoMembers& rNoMembers)
        : m_elementAllocator(rNoMembers), m_order(rNoMembers)
    {
    }
    /// Exchanges everything but the element size with a vector-list of the same element size.
    void ExchangeContents(CVListBase& rOther);

    /// Element access for the shared algorithms; valid until the order changes.
    class CElementAccess
    {
    public:
        static constexpr bool ms_bASKS_SINGLE_TWICE = true;

        explicit CElementAccess(void* const* ppElements) : m_ppElements(ppElements) {}
        const void* operator()(unsigned int uIndex) const { return m_ppElements[uIndex]; }

    private:
        void* const* m_ppElements;
    };
    template <typename Compare>
    QV_HIDDEN orvel_internal::CSearch<CElementAccess, Compare> SearchWith(Compare compare) const
    {
        return {m_order.GetSize(), CElementAccess(m_order.begin()), compare};
    }
    template <typename Compare>
    QV_HIDDEN void SortElements(const Compare& rCompare)
    {
        orvel_internal::SortPointers(m_order.begin(), m_order.GetSize(), rCompare);
    }

    CBlockAllocator m_elementAllocator;
    unsigned int m_uElementSize;
    CVector<void*> m_order;

private:
    QV_HIDDEN bool HasRoomFor(unsigned int uDestIndex, const CVListBase& rSrc, unsigned int uSrcIndex,
                              unsigned int uCount) const;
    QV_HIDDEN QvResult InsertReserving(unsigned int uIndex, unsigned int uCount, const void* pElement);
    QV_HIDDEN QvResult OpenSlots(unsigned int uIndex, unsigned int uCount);
    QV_HIDDEN void FillSlot(unsigned int uIndex, const void* pElement);
    QV_HIDDEN bool ReserveBlocksFor(unsigned int uElementsToReplace, const CVListBase& rSrc, unsigned int uCount);
    QV_HIDDEN void DiscardBlock(void* pBlock);
};

namespace orvel_internal
{
/// A random-access iterator over the order of a vector-list.
template <typename T>
class CVListIterator : public SIteratorTypes<T, std::random_access_iterator_tag>
{
public:
    CVListIterator() : m_ppElement(nullptr) {}
    explicit CVListIterator(void* const* ppElement) : m_ppElement(ppElement) {}
    template <typename Mutable, typename = std::enable_if_t<std::is_same<const Mutable, T>::value>>
    CVListIterator(const CVListIterator<Mutable>& rOther) : m_ppElement(rOther.GetSlot())
    {
    }

    T& operator*() const { return *static_cast<T*>(*m_ppElement); }
    T* operator->() const { return static_cast<T*>(*m_ppElement); }
    T& operator[](ptrdiff_t nOffset) const { return *(*this + nOffset); }

    CVListIterator& operator+=(ptrdiff_t nOffset)
    {
        m_ppElement += nOffset;
        return *this;
    }
    CVListIterator& operator-=(ptrdiff_t nOffset) { return *this += -nOffset; }
    CVListIterator& operator++() { return *this += 1; }
    CVListIterator& operator--() { return *this += -1; }
    CVListIterator operator++(int) { return CVListIterator(m_ppElement++); }
    CVListIterator operator--(int) { return CVListIterator(m_ppElement--); }
    friend CVListIterator operator+(CVListIterator it, ptrdiff_t nOffset) { return it += nOffset; }
    friend CVListIterator operator+(ptrdiff_t nOffset, CVListIterator it) { return it += nOffset; }
    friend CVListIterator operator-(CVListIterator it, ptrdiff_t nOffset) { return it -= nOffset; }
    friend ptrdiff_t operator-(CVListIterator it1, CVListIterator it2) { return it1.m_ppElement - it2.m_ppElement; }

    friend bool operator==(CVListIterator it1, CVListIterator it2) { return it1.m_ppElement == it2.m_ppElement; }
    friend bool operator!=(CVListIterator it1, CVListIterator it2) { return it1.m_ppElement != it2.m_ppElement; }
    friend bool operator<(CVListIterator it1, CVListIterator it2) { return it1.m_ppElement < it2.m_ppElement; }
    friend bool operator>(CVListIterator it1, CVListIterator it2) { return it2 < it1; }
    friend bool operator<=(CVListIterator it1, CVListIterator it2) { return !(it2 < it1); }
    friend bool operator>=(CVListIterator it1, CVListIterator it2) { return !(it1 < it2); }

    void* const* GetSlot() const { return m_ppElement; }

private:
    void* const* m_ppElement;
};
}  // namespace orvel_internal

/// A vector-list of T over CVListBase, whose growth and threading rules it has:
/// ```
/// CVList<SRecord> records;
/// SRecord& rRecord = records.emplace_back(...);  // good until that element is erased.
/// records.Sort();
/// for (SRecord& rEach : records) ...
/// ```
/// Its calls, those of its bases among them:
///
/// - `CVList(allocator)`, `CVList(block allocator)`: empty; null, or nothing, means the default allocator.
/// - `CVList{values}`, `CVList(first, last)`: what is in braces, or between two iterators.
/// - `=`: copies; from what is moved, exchanges; values in braces.
/// - `list[index]`, `GetAt(index)`: an element; its address, or null.
/// - `begin()`, `end()`: iterators.
/// - `push_back(element)`, `emplace_back(arguments)`: at the end, with room for more: throws std::bad_alloc.
/// - `Append(element)`: at the end, with a result, and a capacity that is exact.
/// - `Insert(index, count, element)`, `Insert(index, count)`: copies, or elements made by default.
/// - `Insert(index, T&&)`, `Insert(index, list)`: a moved element; copies of all elements of another.
/// - `InsertSorted(element)`, `InsertSorted(element, comparison)`: in front of the first that does not order before it.
/// - `Emplace(index, arguments)`: an element made there; its address, or null.
/// - `Allocate(index)`, `AllocateSorted(key, comparison, &p)`: raw memory that counts as an
///   element already: construct a T there before any other call.
/// - `Erase(index)`, `Erase(index, count)`, `EraseAll()`, `pop_back()`: the capacity stays.
/// - `Merge(index, list)`, `Split(index, list)`: all elements of another come; those from index on go there,
///   in place of what is there.
/// - `Find(start, key)`, `Find(start, key, comparison)`: the index of the first equal element from start on, else the
///   size.
/// - `FindSorted(key)`, `FindSorted(key, comparison)`: the same in a sorted vector-list, in few comparisons.
/// - `GetMinElementIndex()`, `GetMaxElementIndex()`: of the first smallest, largest element; also with a comparison.
/// - `Sort()`, `Sort(comparison)`, `Swap(i, j)`: unstable; both move addresses only.
/// - `GetSize()`, `IsEmpty()`, `GetFirstIndex()`, `GetLastIndex()`, `GetEndIndex()`.
/// - `ReserveCapacity(n)`, `ReduceCapacity(n)`, `GetCapacity()`, `SetLockCapacity(n)`, `GetLockCapacity()`.
/// - `size()`, `empty()`, `front()`, `back()`, `push_back()`, `emplace_back()`, `pop_back()`, `clear()`,
///   `insert(position, element)`, `erase(position)`, `erase(first, last)`, `cbegin()`, `cend()`, `rbegin()`, `rend()`,
///   `crbegin()`, `crend()`, `swap()`, `==`, `!=`.
///
/// A comparison is called as (const T& element, const Key& key) and returns a negative number, 0 or a positive number;
/// without one the order is that of `<`. Each of these calls also takes a PFNCompareElements and its number.
///
/// - **Growth:** By choice. push_back(), emplace_back() and insert() double the capacity of the order when it is used
///   up, at least to 8 elements, and take up to 32 blocks for it at once, since a few cost little more than one. All
///   other calls take what they need. Where there is no memory for so much, they ask for one more.
/// - **Iterators:** Random access; invalid after anything that inserts, erases or changes the capacity. A standard
///   algorithm that rearranges elements through them moves elements; Sort() and Swap() do not.
/// - **Elements:** As in CList: whatever there is. Between vector-lists with different sources of memory Merge() and
///   Split() move elements where their moves cannot throw or they cannot be copied, else copy them, and refuse with
///   QV_RES_INVALID_ARGUMENT those that can do neither. What would copy elements that cannot be copied does not
///   compile; a class with a vector-list of such as a member says so itself, as with a list.
/// - **Braces:** hold values of one type, which T takes. `{nullptr}` and `{&allocator}` choose the allocator; `{0}` in
///   a vector-list of numbers is an element.
/// - **Failure:** As in CVListBase. What has no result throws std::bad_alloc where memory runs out or the locked
///   capacity does not suffice, with the vector-list as it was; without exceptions the program ends with abort().
///   Append(), Insert() and Emplace() tell instead; an element that was to be moved in is then still where it was.
/// - **Derived:** A class derived from CVList<T> may override the element operations: every operation then calls them.
template <typename T>
class QV_EXPORT CVList : public orvel_internal::CTypedSequence<T, CVListBase, CVList<T>>
{
    using Sequence = orvel_internal::CTypedSequence<T, CVListBase, CVList>;
    using CVListBase::m_elementAllocator;
    using CVListBase::m_order;
    friend class orvel_internal::CExactClass;
    friend Sequence;

public:
    using value_type = T;
    using iterator = orvel_internal::CVListIterator<T>;
    using const_iterator = orvel_internal::CVListIterator<const T>;
    using reverse_iterator = orvel_internal::CReverseIterator<iterator>;
    using const_reverse_iterator = orvel_internal::CReverseIterator<const_iterator>;

    /// A copy of the elements, from the same source of memory. Empty when memory runs out.
    CVList(const CVList& rSrc) : Sequence(rSrc.m_elementAllocator)
    {
        orvel_internal::RequireCopyable<T>();
        CVListBase::operator=(rSrc);
    }
    /// Takes everything; rSrc is empty afterwards.
    CVList(CVList&& rSrc) : Sequence(rSrc.m_elementAllocator) { CVListBase::ExchangeContents(rSrc); }
    /// Copies the elements; changes nothing where that fails.
    CVList& operator=(const CVList& rSrc) = default;
    /// The two vector-lists exchange everything, so that the other one has what this one had. Not with one that an
    /// element of this one holds, as said of CVector.
    CVList& operator=(CVList&& rSrc) = default;
    /// Empty, with the default allocator.
    template <typename Element = T>
    CVList() : CVList(static_cast<IAllocator*>(nullptr))
    {
    }
    /// Empty; null means the default allocator.
    explicit CVList(IAllocator* pAllocator) : Sequence(pAllocator) {}
    /// Empty; takes blocks from the source of rAllocator.
    explicit CVList(const CBlockAllocator& rAllocator) : Sequence(rAllocator) {}
    /// The values in braces, all of one type; what lies between two iterators. They throw std::bad_alloc where memory
    /// runs out, and so does an assignment, which then changes nothing, also where the capacity is locked.
    template <typename Value = T, std::enable_if_t<orvel_internal::g_bARE_ELEMENTS<T, Value, CVList>, int> = 0>
    CVList(std::initializer_list<Value> values, IAllocator* pAllocator = nullptr) : Sequence(pAllocator)
    {
        Sequence::AppendRange(values.begin(), values.end());
    }
    template <typename Iterator, typename = orvel_internal::IteratorCategory<Iterator>>
    CVList(Iterator first, Iterator last, IAllocator* pAllocator = nullptr) : Sequence(pAllocator)
    {
        Sequence::AppendRange(first, last);
    }
    /// Replaces the elements. Throws std::bad_alloc and changes nothing where there is no room. The capacity does
    /// not shrink, its lock and the allocator stay, by `= {}` as well.
    CVList& operator=(std::initializer_list<T> elements)
    {
        // A capacity is one of the order: the blocks beside those of the elements that go are asked for here.
        const size_t uSize = m_order.GetSize();
        orvel_internal::ThrowUnlessSucceeded(orvel_internal::GrowCapacity(*this, elements.size()));
        const bool bFits =
            elements.size() <= uSize || m_elementAllocator.Reserve(static_cast<unsigned int>(elements.size() - uSize));
        if (!bFits) orvel_internal::ThrowOutOfMemory();
        Sequence::AssignList(elements);
        return *this;
    }

    iterator begin() { return iterator(m_order.begin()); }
    iterator end() { return iterator(m_order.end()); }
    const_iterator begin() const { return const_iterator(m_order.begin()); }
    const_iterator end() const { return const_iterator(m_order.end()); }

    /// The element at an index below the size, else null.
    T* GetAt(unsigned int uIndex) { return uIndex < m_order.GetSize() ? static_cast<T*>(m_order[uIndex]) : nullptr; }
    const T* GetAt(unsigned int uIndex) const
    {
        return uIndex < m_order.GetSize() ? static_cast<const T*>(m_order[uIndex]) : nullptr;
    }
    /// The element at an index that the caller knows to be below the size.
    T& operator[](unsigned int uIndex) { return begin()[uIndex]; }
    const T& operator[](unsigned int uIndex) const { return begin()[uIndex]; }

    /// Append() with room for as many elements more where the order has to grow. Throws std::bad_alloc where it cannot.
    void push_back(const T& rElement)
    {
        orvel_internal::RequireCopyable<T>();
        orvel_internal::ThrowUnlessSucceeded(ReserveAhead());
        if (IsExact()) emplace_back(rElement);
        else orvel_internal::ThrowUnlessSucceeded(Sequence::Append(rElement));
    }
    template <typename Movable = T>
    std::enable_if_t<!std::is_scalar<Movable>::value> push_back(T&& rElement)
    {
        orvel_internal::ThrowUnlessSucceeded(ReserveAhead());
        orvel_internal::ThrowUnlessSucceeded(InsertMoved(m_order.GetSize(), rElement));
    }
    /// push_back() of an element that is made in place, as T(arguments...).
    template <typename... Arguments>
    T& emplace_back(Arguments&&... arguments)
    {
        T* pElement = nullptr;
        orvel_internal::ThrowUnlessSucceeded(ReserveAhead());
        orvel_internal::ThrowUnlessSucceeded(
            EmplaceAt(m_order.GetSize(), pElement, std::forward<Arguments>(arguments)...));
        return *pElement;
    }
    /// Makes an element as T(arguments...) in front of index uIndex; null when uIndex is above the size or the capacity
    /// cannot grow.
    template <typename... Arguments>
    T* Emplace(unsigned int uIndex, Arguments&&... arguments)
    {
        T* pElement = nullptr;
        EmplaceAt(uIndex, pElement, std::forward<Arguments>(arguments)...);
        return pElement;
    }

    /// Puts an element in front of a position, as push_back() does at the end; returns where it is.
    iterator insert(const_iterator position, const T& rElement)
    {
        orvel_internal::RequireCopyable<T>();
        const unsigned int uIndex = IndexOf(position);
        orvel_internal::ThrowUnlessSucceeded(ReserveAhead());
        orvel_internal::ThrowUnlessSucceeded(Sequence::Insert(uIndex, 1, rElement));
        return begin() + uIndex;
    }
    template <typename Movable = T>
    std::enable_if_t<!std::is_scalar<Movable>::value, iterator> insert(const_iterator position, T&& rElement)
    {
        const unsigned int uIndex = IndexOf(position);
        orvel_internal::ThrowUnlessSucceeded(ReserveAhead());
        orvel_internal::ThrowUnlessSucceeded(InsertMoved(uIndex, rElement));
        return begin() + uIndex;
    }
    /// Destroys the elements of a range, or one; returns where what follows them is now.
    iterator erase(const_iterator first, const_iterator last)
    {
        const unsigned int uIndex = IndexOf(first);
        CVListBase::Erase(uIndex, static_cast<unsigned int>(last - first));
        return begin() + uIndex;
    }
    iterator erase(const_iterator position) { return erase(position, position + 1); }

    /// Moves all elements of rSrc in front of index uIndex, as in CVListBase. Between different sources of memory
    /// elements are moved where their moves cannot throw; those that can be neither copied nor moved are refused there
    /// as QV_RES_INVALID_ARGUMENT.
    [[nodiscard]] QvResult Merge(unsigned int uIndex, CVList& rSrc)
    {
        const unsigned int uCount = rSrc.GetSize();
        if (!MustChangePlaces(rSrc) || uIndex > m_order.GetSize()) return CVListBase::Merge(uIndex, rSrc);
        if (!orvel_internal::g_bCAN_CHANGE_PLACE<T>) return QV_RES_INVALID_ARGUMENT;
        const QvResult res = orvel_internal::GrowCapacity(*this, size_t{m_order.GetSize()} + uCount);
        if (res < 0) return res;
        if (!m_elementAllocator.Reserve(uCount)) return QV_RES_OUT_OF_MEMORY;
        BringElements(uIndex, rSrc, 0);
        return res;
    }
    /// Replaces the elements of rDest by those from uIndex on, as in CVListBase; between different sources of memory as
    /// Merge().
    [[nodiscard]] QvResult Split(unsigned int uIndex, CVList& rDest)
    {
        if (!rDest.MustChangePlaces(*this) || uIndex >= m_order.GetSize()) return CVListBase::Split(uIndex, rDest);
        if (!orvel_internal::g_bCAN_CHANGE_PLACE<T>) return QV_RES_INVALID_ARGUMENT;
        const unsigned int uCount = m_order.GetSize() - uIndex;
        const QvResult res = orvel_internal::GrowCapacity(rDest, uCount);
        if (res < 0) return res;
        // The blocks of the elements that go are used again.
        const unsigned int uFreed = rDest.GetSize();
        if (uCount > uFreed && !rDest.m_elementAllocator.Reserve(uCount - uFreed)) return QV_RES_OUT_OF_MEMORY;
        rDest.EraseAll();
        rDest.BringElements(0, *this, uIndex);
        return res;
    }

private:
    template <typename NoMembers,
              typename = std::enable_if_t<std::is_same<NoMembers, orvel_internal::SNoMembers>::value>>
    explicit CVList(NoMembers noMembers) : Sequence(noMembers)
    {
    }

    bool IsExact() const { return orvel_internal::CExactClass::IsOf(*this); }
    QvResult ReserveAhead()
    {
        const QvResult res = orvel_internal::DoubleCapacity(m_order, sizeof(void*));
        if (res < 0 || m_elementAllocator.HasFree() || !IsExact()) return res;
        // Where that is refused, one block may still be had.
        const unsigned int uRoom = m_order.GetCapacity() - m_order.GetSize();
        m_elementAllocator.Reserve(orvel_internal::NodesAhead(uRoom));
        return res;
    }
    unsigned int IndexOf(const_iterator position) const { return static_cast<unsigned int>(position - begin()); }

    /// Whether elements that come from rSrc leave their blocks, and not as copies that the element operations make.
    bool MustChangePlaces(const CVList& rSrc) const
    {
        if (&rSrc == this || m_elementAllocator == rSrc.m_elementAllocator) return false;
        return !orvel_internal::g_bCAN_CHANGE_PLACE<T> || (orvel_internal::g_bMOVES<T> && IsExact());
    }
    /// Moves the elements of rSrc from uSrcIndex on in front of uIndex. Room in the order and blocks are there.
    void BringElements(unsigned int uIndex, CVList& rSrc, unsigned int uSrcIndex)
    {
        if constexpr (orvel_internal::g_bCAN_CHANGE_PLACE<T>)
        {
            const unsigned int uCount = rSrc.GetSize() - uSrcIndex;
            static_cast<void>(m_order.Insert(uIndex, uCount, nullptr));
            for (unsigned int u = 0; u < uCount; ++u)
            {
                void* const pFrom = rSrc.m_order[uSrcIndex + u];
                void* const pBlock = m_elementAllocator.Pop();
                orvel_internal::BringElement(pBlock, *static_cast<T*>(pFrom));
                m_order[uIndex + u] = pBlock;
                rSrc.Destruct(pFrom);
                rSrc.m_elementAllocator.Push(pFrom);
            }
            rSrc.m_order.Erase(uSrcIndex, uCount);
        }
    }

    template <typename... Arguments>
    QvResult EmplaceAt(unsigned int uIndex, T*& rpElement, Arguments&&... arguments)
    {
        if (uIndex > m_order.GetSize()) return QV_RES_INVALID_ARGUMENT;
        if constexpr (orvel_internal::g_bCAN_CHANGE_PLACE<T>)
        {
            if (!IsExact())
            {
                T element = orvel_internal::Made<T>(std::forward<Arguments>(arguments)...);
                const QvResult res = CVListBase::Insert(uIndex, 1, __builtin_addressof(element));
                if (res >= 0) rpElement = GetAt(uIndex);
                return res;
            }
        }
        const QvResult res = orvel_internal::GrowCapacity(m_order, size_t{m_order.GetSize()} + 1);
        if (res < 0) return res;
        orvel_internal::CBlockGuard block(m_elementAllocator, m_elementAllocator.Pop());
        if (block.Get() == nullptr) return QV_RES_OUT_OF_MEMORY;
        rpElement = orvel_internal::MakeElement<T>(block.Get(), std::forward<Arguments>(arguments)...);
        // There is room.
        if (uIndex == m_order.GetSize()) static_cast<void>(m_order.Append(block.Keep()));
        else static_cast<void>(m_order.Insert(uIndex, 1, block.Keep()));
        return res;
    }
    QvResult InsertMoved(unsigned int uIndex, T& rElement)
    {
        if (!IsExact()) return CVListBase::Insert(uIndex, 1, __builtin_addressof(rElement));
        T* pElement = nullptr;
        return EmplaceAt(uIndex, pElement, std::move(rElement));
    }
};

#endif
