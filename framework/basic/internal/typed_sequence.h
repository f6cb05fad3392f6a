#ifndef FRAMEWORK_BASIC_INTERNAL_TYPED_SEQUENCE_H
#define FRAMEWORK_BASIC_INTERNAL_TYPED_SEQUENCE_H
#include <stddef.h>

#include <initializer_list>
#include <type_traits>

#include "framework/basic/internal/grow_capacity.h"
#include "framework/basic/internal/ordered_sequence.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/kernel/internal/move.h"
#include "framework/kernel/result.h"

class CBlockAllocator;
class IAllocator;

/// What CVector<T>, CList<T> and CVList<T> have in common. Internal: include the containers' headers.
namespace orvel_internal
{
/// Whether elements of type T can be compared by ==.
template <typename T, typename = void>
struct SHasEquality : std::false_type
{
};
template <typename T>
struct SHasEquality<T, std::void_t<decltype(static_cast<bool>(std::declval<const T&>() == std::declval<const T&>()))>>
    : std::true_type
{
};

/// Whether braces around values of type Value mean elements of type T. What was an allocator in braces stays one.
template <typename T, typename Value, typename Container>
constexpr bool g_bARE_ELEMENTS =
    std::is_convertible<const Value&, T>::value && !std::is_convertible<Value, IAllocator*>::value &&
    !std::is_convertible<const Value&, const CBlockAllocator&>::value && !std::is_same<Value, Container>::value &&
    !std::is_same<Value, decltype(nullptr)>::value &&
    !(std::is_floating_point<Value>::value && std::is_integral<T>::value);

/// For what gives a reference or nothing, and so no result.
inline void ThrowUnlessSucceeded(QvResult res)
{
    if (res < 0) ThrowOutOfMemory();
}

/// Gives a block back unless the element in it has been made.
template <typename Allocator>
class CBlockGuard
{
public:
    CBlockGuard(Allocator& rAllocator, void* pBlock) : m_rAllocator(rAllocator), m_pBlock(pBlock) {}
    CBlockGuard(const CBlockGuard&) = delete;
    CBlockGuard& operator=(const CBlockGuard&) = delete;
    ~CBlockGuard() { m_rAllocator.Push(m_pBlock); }

    void* Get() const { return m_pBlock; }
    void* Keep()
    {
        void* const pBlock = m_pBlock;
        m_pBlock = nullptr;
        return pBlock;
    }

private:
    Allocator& m_rAllocator;
    void* m_pBlock;
};

/// The typed operations of vector, list and vector-list.
///
/// Every operation that orders elements has two forms. One takes a typed comparison: anything that is called with
/// (const T& element, const Key& key) and returns a negative number, 0 or a positive number; left out, it is the order
/// of `<`. The other takes a callback and its number. Keys may be of any type that the comparison takes.
///
/// Container is the class that a user names. It has begin() and end(), EmplaceAt(), and InsertMoved(), which moves an
/// element in front of an index.
template <typename T, typename Base, typename Container, typename Elements = CTypedElements<T, Base>>
class CTypedSequence : public Elements
{
    // Where copying does as well, an element that may be moved from is still copied: no overload to choose among.
    template <typename Movable>
    using MovedResult =
        std::enable_if_t<!std::is_scalar<Movable>::value &&
                             !(std::is_trivially_copyable<Movable>::value && SIsCopyable<Movable>::value),
                         QvResult>;

public:
    using value_type = T;
    using size_type = unsigned int;
    using difference_type = ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using pointer = T*;
    using const_pointer = const T*;

    using Base::Erase;
    using Base::GetEndIndex;
    using Base::Swap;

    /// The element at an index below the size, else null.
    T* GetAt(unsigned int uIndex) { return static_cast<T*>(Base::GetAt(uIndex)); }
    const T* GetAt(unsigned int uIndex) const { return static_cast<const T*>(Base::GetAt(uIndex)); }

    /// Puts uCount copies of an element, or elements made by default, or copies of all elements of rSrc in front of
    /// index uIndex. Results as of the base.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uCount)
    {
        static_assert(std::is_default_constructible<T>::value,
                      "elements made without a source need a default constructor");
        return Base::Insert(uIndex, uCount, nullptr);
    }
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uCount, const T& rElement)
    {
        RequireCopyable<T>();
        return Base::Insert(uIndex, uCount, __builtin_addressof(rElement));
    }
    /// Puts copies of all elements of rSrc in front of index uIndex. Results as of the base.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, const CTypedSequence& rSrc)
    {
        RequireCopyable<T>();
        return Base::Insert(uIndex, static_cast<const Base&>(rSrc));
    }
    /// Insert() at the end.
    [[nodiscard]] QvResult Append(const T& rElement) { return Insert(GetEndIndex(), 1, rElement); }

    /// Moves an element in; it is left alone where that fails.
    template <typename Movable = T>
    MovedResult<Movable> Insert(unsigned int uIndex, T&& rElement)
    {
        return Self().InsertMoved(uIndex, rElement);
    }
    /// Moves an element to the end; it is left alone where that fails.
    template <typename Movable = T>
    MovedResult<Movable> Append(T&& rElement)
    {
        return Self().InsertMoved(GetEndIndex(), rElement);
    }
    /// Moves an element in front of the first that does not order before it; it is left alone where that fails.
    template <typename Compare = SNaturalOrder, typename Movable = T>
    MovedResult<Movable> InsertSorted(T&& rElement, Compare compare = Compare())
    {
        return Self().InsertMoved(SearchFor<T>(compare).LowerBound(__builtin_addressof(rElement)), rElement);
    }

    /// Inserts a copy in front of the first element that does not order before it; the container must be sorted.
    template <typename Compare = SNaturalOrder>
    [[nodiscard]] QvResult InsertSorted(const T& rElement, Compare compare = Compare())
    {
        return Insert(SearchFor<T>(compare).LowerBound(__builtin_addressof(rElement)), 1, rElement);
    }
    [[nodiscard]] QvResult InsertSorted(const T& rElement, PFNCompareElements pfnCompare, unsigned int uParam)
    {
        RequireCopyable<T>();
        return Base::InsertSorted(__builtin_addressof(rElement), pfnCompare, uParam);
    }

    // They give room for an element and count it already: construct a T there at once.
    using Base::Allocate;
    using Base::AllocateSorted;
    /// Room for an element in its place, counted already: construct a T there at once. Results as of the base.
    template <typename Key, typename Compare>
    [[nodiscard]] QvResult AllocateSorted(const Key& rKey, Compare compare, void** ppElement)
    {
        return orvel_internal::AllocateSorted(*this, SearchFor<Key>(compare), __builtin_addressof(rKey), ppElement);
    }

    /// Moves all elements of rSrc in front of index uIndex. Results as of the base.
    [[nodiscard]] QvResult Merge(unsigned int uIndex, CTypedSequence& rSrc) { return Base::Merge(uIndex, rSrc); }
    /// Moves the elements from uIndex on to rDest. Results as of the base.
    [[nodiscard]] QvResult Split(unsigned int uIndex, CTypedSequence& rDest) { return Base::Split(uIndex, rDest); }

    /// Shell sort, not stable, by a callback or a typed comparison.
    void Sort(PFNCompareElements pfnCompare, unsigned int uParam)
    {
        // Not the Sort() of the base, which does the same: calling a callback costs less within one module than across
        // two.
        Base::SortElements(SComparison{pfnCompare, uParam});
    }
    template <typename Compare = SNaturalOrder>
    void Sort(Compare compare = Compare())
    {
        Base::SortElements(CTypedComparison<T, T, Compare>(compare));
    }

    /// Index of the first element from uStartIndex on that compares equal, else the end index. Cost: linear.
    template <typename Key, typename Compare = SNaturalOrder>
    unsigned int Find(unsigned int uStartIndex, const Key& rKey, Compare compare = Compare()) const
    {
        return SearchFor<Key>(compare).Find(uStartIndex, __builtin_addressof(rKey));
    }
    unsigned int Find(unsigned int uStartIndex, const void* pKey, PFNCompareElements pfnCompare,
                      unsigned int uParam) const
    {
        return Base::Find(uStartIndex, pKey, pfnCompare, uParam);
    }
    using Base::FindSorted;
    /// Find() in a sorted container. Cost: logarithmic in comparisons, plus one for each equal element.
    template <typename Key, typename Compare = SNaturalOrder>
    unsigned int FindSorted(const Key& rKey, Compare compare = Compare()) const
    {
        return SearchFor<Key>(compare).FindSorted(__builtin_addressof(rKey));
    }
    using Base::GetMinElementIndex;
    /// Index of the first smallest element; 0 when empty.
    template <typename Compare = SNaturalOrder>
    unsigned int GetMinElementIndex(Compare compare = Compare()) const
    {
        return SearchFor<T>(compare).MinIndex();
    }
    using Base::GetMaxElementIndex;
    /// Index of the first largest element; 0 when empty.
    template <typename Compare = SNaturalOrder>
    unsigned int GetMaxElementIndex(Compare compare = Compare()) const
    {
        return SearchFor<T>(compare).MaxIndex();
    }

    // The manners of the standard library. What is asked for must be there: front(), back() and pop_back() of an empty
    // container are undefined.
    unsigned int size() const { return Self().GetSize(); }
    bool empty() const { return Self().IsEmpty(); }
    void clear() { Self().EraseAll(); }
    T& front() { return *Self().begin(); }
    const T& front() const { return *Self().begin(); }
    T& back() { return *rbegin(); }
    const T& back() const { return *rbegin(); }
    /// Destroys the last element, which must be there.
    void pop_back() { Self().Erase(GetEndIndex() - 1); }

    auto cbegin() const { return Self().begin(); }
    auto cend() const { return Self().end(); }
    auto rbegin() { return ReverseOf(Self().end()); }
    auto rend() { return ReverseOf(Self().begin()); }
    auto rbegin() const { return ReverseOf(Self().end()); }
    auto rend() const { return ReverseOf(Self().begin()); }
    auto crbegin() const { return rbegin(); }
    auto crend() const { return rend(); }

    /// Exchanges everything with another one.
    void swap(Container& rOther) noexcept { Self() = std::move(rOther); }
    /// Exchanges everything.
    friend void swap(Container& rFirst, Container& rSecond) noexcept { rFirst.swap(rSecond); }

    /// Element by element, by their ==.
    template <typename Element = T, std::enable_if_t<SHasEquality<Element>::value, int> = 0>
    friend bool operator==(const Container& rFirst, const Container& rSecond)
    {
        if (rFirst.GetSize() != rSecond.GetSize()) return false;
        auto it = rSecond.begin();
        for (const T& rElement : rFirst)
        {
            if (!(rElement == *it)) return false;
            ++it;
        }
        return true;
    }
    template <typename Element = T, std::enable_if_t<SHasEquality<Element>::value, int> = 0>
    friend bool operator!=(const Container& rFirst, const Container& rSecond)
    {
        return !(rFirst == rSecond);
    }

protected:
    template <typename... Arguments>
    explicit CTypedSequence(Arguments&&... arguments) : Elements(std::forward<Arguments>(arguments)...)
    {
    }

    /// Appends what lies between two iterators; the capacity grows once where their distance can be known.
    template <typename Iterator>
    void AppendRange(Iterator first, Iterator last)
    {
        if constexpr (std::is_base_of<std::forward_iterator_tag, IteratorCategory<Iterator>>::value)
        {
            size_t uSize = GetEndIndex();
            for (Iterator it = first; it != last; ++it) ++uSize;
            ThrowUnlessSucceeded(GrowCapacity(Self(), uSize));
        }
        for (; first != last; ++first) Self().emplace_back(*first);
    }
    /// Replaces all elements; changes nothing where there is no room for the new ones.
    void AssignList(std::initializer_list<T> elements)
    {
        RequireCopyable<T>();
        ThrowUnlessSucceeded(GrowCapacity(Self(), elements.size()));
        Self().EraseAll();
        AppendRange(elements.begin(), elements.end());
    }

private:
    Container& Self() { return static_cast<Container&>(*this); }
    const Container& Self() const { return static_cast<const Container&>(*this); }

    template <typename Iterator>
    static CReverseIterator<Iterator> ReverseOf(Iterator it)
    {
        return CReverseIterator<Iterator>(it);
    }

    template <typename Key, typename Compare>
    auto SearchFor(Compare& rCompare) const
    {
        return Base::SearchWith(CTypedComparison<T, Key, Compare>(rCompare));
    }
};

}  // namespace orvel_internal

#endif
