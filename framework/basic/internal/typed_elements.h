#ifndef FRAMEWORK_BASIC_INTERNAL_TYPED_ELEMENTS_H
#define FRAMEWORK_BASIC_INTERNAL_TYPED_ELEMENTS_H
#include <stddef.h>
#include <string.h>

#include <new>
#include <type_traits>

// The iterator tags alone: <iterator> brings the iterators of the streams as well, and a program would take longer to
// compile for them than for the whole framework.
#if __has_include(<bits/stl_iterator_base_types.h>)
#include <bits/stl_iterator_base_types.h>
#else
#include <iterator>
#endif

#if !defined(__cpp_exceptions)
#include <stdlib.h>
#endif

#include "framework/basic/internal/ordered_sequence.h"
#include "framework/kernel/export.h"
#include "framework/kernel/internal/move.h"
#include "framework/kernel/result.h"

#if defined(__clang__)
#define ORVEL_UNPREDICTABLE(condition) __builtin_unpredictable(condition)
#else
#define ORVEL_UNPREDICTABLE(condition) (condition)
#endif

namespace orvel_internal
{
/// The order of `<` with three outcomes. Specialised for types that find it out in one go.
template <typename First, typename Second>
struct SThreeWayOrder
{
    // A specialisation has no such member.
    static constexpr bool ms_bASKS_TWICE = true;

    static int Of(const First& rFirst, const Second& rSecond)
    {
        if (rFirst < rSecond) return -1;
        return rSecond < rFirst ? 1 : 0;
    }
};

/// For what gives a reference and therefore cannot return a result.
[[noreturn]] __attribute__((noinline, cold)) inline void ThrowOutOfMemory()
{
#if defined(__cpp_exceptions)
    throw std::bad_alloc();
#else
    abort();
#endif
}
}  // namespace orvel_internal

/// The order of `<`, as a typed comparison: what the typed containers use when they are given none.
struct SNaturalOrder
{
    template <typename First, typename Second>
    int operator()(const First& rFirst, const Second& rSecond) const
    {
        return orvel_internal::SThreeWayOrder<First, Second>::Of(rFirst, rSecond);
    }
};

/// What the typed containers have in common over their untyped bases. Internal: include the containers' headers.
namespace orvel_internal
{
/// Exchanges members of two objects.
template <typename Object, typename... Members>
void ExchangeMembers(Object& rFirst, Object& rSecond, Members Object::*... pmMembers)
{
    (std::swap(rFirst.*pmMembers, rSecond.*pmMembers), ...);
}

/// Whether T has a natural order.
template <typename T, typename = void>
struct SHasNaturalOrder : std::false_type
{
};
template <typename T>
struct SHasNaturalOrder<T, std::void_t<decltype(std::declval<const T&>() < std::declval<const T&>())>> : std::true_type
{
};

/// Whether elements of type T can be copied. Containers claim to be copyable whatever they hold, so theirs are asked.
template <typename T, typename = void>
struct SIsCopyable : std::is_copy_constructible<T>
{
};
template <typename T>
struct SIsCopyable<T, std::enable_if_t<!std::is_same<T, typename T::value_type>::value>>
    : std::bool_constant<std::is_copy_constructible<T>::value && SIsCopyable<typename T::value_type>::value>
{
};

/// Whether elements of type T can be brought to another place.
template <typename T>
constexpr bool g_bCAN_CHANGE_PLACE = SIsCopyable<T>::value || std::is_move_constructible<T>::value;

/// Whether they are moved there where their bytes alone do not do: as std::move_if_noexcept() decides.
template <typename T>
constexpr bool g_bMOVES = std::is_nothrow_move_constructible<T>::value ||
                          (!SIsCopyable<T>::value && std::is_move_constructible<T>::value);

/// In everything that copies elements.
template <typename T>
constexpr void RequireCopyable()
{
    static_assert(SIsCopyable<T>::value,
                  "the elements of this container cannot be copied: move it or them, or make them in place with "
                  "Emplace()");
}

/// An element from what its constructor takes, or from the members of an aggregate.
template <typename T, typename... Arguments>
T Made(Arguments&&... arguments)
{
    if constexpr (std::is_constructible<T, Arguments...>::value) return T(std::forward<Arguments>(arguments)...);
    else return T{std::forward<Arguments>(arguments)...};
}
/// The same in raw memory, where it need not be moved to.
template <typename T, typename... Arguments>
T* MakeElement(void* pElement, Arguments&&... arguments)
{
    return ::new (pElement) T(Made<T>(std::forward<Arguments>(arguments)...));
}

/// Brings an element to raw memory, whatever it costs; the source is destroyed next.
template <typename T>
void BringElement(void* pElement, T& rSource)
{
    if constexpr (std::is_move_constructible<T>::value) ::new (pElement) T(std::move(rSource));
    else ::new (pElement) T(rSource);
}

/// Selects the constructors that set no member and acquire nothing. Such an object is never destroyed, and nothing of
/// it is read but the pointer to its table of virtual functions.
struct SNoMembers
{
};

/// Whether an object is of the class Exact itself and not of a derived one, which may have overridden the element
/// operations. A front-end asks this before it does the work of these operations itself. Cost: one comparison with an
/// address that the linker knows; no run-time type information is needed.
class CExactClass
{
public:
    template <typename Exact>
    static bool IsOf(const Exact& rObject)
    {
        return IsAt<Exact>(__builtin_addressof(rObject));
    }
    /// The same of the object at an address.
    template <typename Exact>
    static bool IsAt(const void* pObject)
    {
        const UNeverDestroyed<Exact> sample;
        return IsLikely(TableAt(pObject) == TableAt(__builtin_addressof(sample.object)));
    }

private:
    template <typename Exact>
    union UNeverDestroyed
    {
        UNeverDestroyed() : object(SNoMembers()) {}
        ~UNeverDestroyed() {}

        Exact object;
    };

    // The pointer to the table is the first word of an object, wherever its class was compiled.
    static const void* TableAt(const void* pObject)
    {
        const void* pTable;
        memcpy(&pTable, pObject, sizeof(pTable));
        return pTable;
    }
};

/// Makes a typed comparison callable with the untyped pointers that a base passes.
template <typename T, typename Key, typename Compare>
class CTypedComparison
{
    static_assert(
        !std::is_same<decltype(std::declval<Compare&>()(std::declval<const T&>(), std::declval<const Key&>())),
                      bool>::value,
        "a comparison returns a negative number, 0 or a positive number, not whether one comes first");

public:
    explicit CTypedComparison(Compare& rCompare) : m_rCompare(rCompare) {}
    int operator()(const void* pElement, const void* pKey) const
    {
        return m_rCompare(*static_cast<const T*>(pElement), *static_cast<const Key*>(pKey));
    }

private:
    Compare& m_rCompare;
};

/// A typed comparison without state as a callback. The comparison is rebuilt from its type, since it has no state.
template <typename T, typename Compare>
int StatelessCallback(const void* pFirst, const void* pSecond, unsigned int)
{
    static_assert(std::is_empty<Compare>::value && std::is_trivially_copyable<Compare>::value,
                  "the container keeps a callback and a number, not an object: a comparison must have no state "
                  "(wrap a function in a lambda without captures)");
    // An array of bytes implicitly creates an object of such a type, even of one without a default constructor.
    alignas(Compare) unsigned char auCompare[sizeof(Compare)] = {};
    return CTypedComparison<T, T, Compare>(*std::launder(reinterpret_cast<Compare*>(auCompare)))(pFirst, pSecond);
}

/// Makes, copies and destroys the elements of a base that knows only their size.
template <typename T, typename Base>
class CTypedElements : protected Base
{
public:
    ~CTypedElements() override
    {
        // The destructor of the base can no longer call the overridden Destruct().
        if (!std::is_trivially_destructible<T>::value) Base::EraseAll();
    }

    using Base::EraseAll;
    using Base::GetCapacity;
    using Base::GetFirstIndex;
    using Base::GetLastIndex;
    using Base::GetLockCapacity;
    using Base::GetSize;
    using Base::IsEmpty;
    using Base::ReduceCapacity;
    using Base::ReserveCapacity;
    using Base::SetLockCapacity;

    /// Makes an element in raw memory; with ConstructFrom() and Destruct(), what the base knows of T.
    void Construct(void* pElement) override
    {
        // If T has no default constructor, the operations that would call this do not compile.
        if constexpr (std::is_default_constructible<T>::value) ::new (pElement) T;
        else static_cast<void>(pElement);
    }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        // What copies elements does not compile for those that cannot be copied. So they come here only from where the
        // source is destroyed next, and those that cannot be moved either not at all.
        if constexpr (SIsCopyable<T>::value) ::new (pElement) T(*static_cast<const T*>(pSource));
        else if constexpr (std::is_move_constructible<T>::value)
            ::new (pElement) T(std::move(*static_cast<T*>(const_cast<void*>(pSource))));
        else static_cast<void>(pElement), static_cast<void>(pSource);
    }
    void Destruct(void* pElement) override { static_cast<T*>(pElement)->~T(); }

protected:
    template <typename... Arguments>
    explicit CTypedElements(Arguments&&... arguments)
        : Base(static_cast<unsigned int>(sizeof(T)), std::forward<Arguments>(arguments)...)
    {
        // Here and not in the class, where T may still be incomplete: what a T holds of its own kind.
        static_assert(
            alignof(T) <= alignof(max_align_t),
            "the blocks of an IAllocator are aligned as operator new[] does: they cannot hold an over-aligned type");
    }
    CTypedElements(const CTypedElements&) = delete;
    CTypedElements& operator=(const CTypedElements& rSrc)
    {
        RequireCopyable<T>();
        Base::operator=(rSrc);
        return *this;
    }
    CTypedElements& operator=(CTypedElements&& rSrc) noexcept
    {
        Base::ExchangeContents(rSrc);
        return *this;
    }
};

/// Designates an element of a list or tree, or none; it stays valid until its element leaves the container. T is const
/// where the element may only be read.
template <typename T, typename Base>
class CNodeCursor
{
public:
    /// What the base designates an element by.
    using Position = typename Base::Position;

    /// None.
    CNodeCursor() : m_position() {}
    /// The element of a position of the base.
    explicit CNodeCursor(Position position) : m_position(position) {}
    /// From one through which the element may be changed.
    template <typename Mutable, typename = std::enable_if_t<std::is_same<const Mutable, T>::value>>
    CNodeCursor(const CNodeCursor<Mutable, Base>& rOther) : m_position(rOther)
    {
    }

    /// Whether it designates an element.
    explicit operator bool() const { return m_position != Position(); }
    /// The element, which must be there.
    T& operator*() const { return *static_cast<T*>(Base::GetElement(m_position)); }
    /// The element, which must be there.
    T* operator->() const { return __builtin_addressof(**this); }
    /// The element behind; none behind the last, and of none.
    CNodeCursor GetNext() const { return CNodeCursor(Base::GetNext(m_position)); }
    /// The element in front; none in front of the first, and of none.
    CNodeCursor GetPrevious() const { return CNodeCursor(Base::GetPrevious(m_position)); }

    /// The position in the type of the base.
    operator Position() const { return m_position; }

    /// Whether both designate the same element, or none.
    friend bool operator==(const CNodeCursor& rFirst, const CNodeCursor& rSecond)
    {
        return rFirst.m_position == rSecond.m_position;
    }
    friend bool operator!=(const CNodeCursor& rFirst, const CNodeCursor& rSecond) { return !(rFirst == rSecond); }
    /// There is none: the difference of the nodes' addresses would be taken for a distance.
    friend void operator-(const CNodeCursor&, const CNodeCursor&) = delete;

private:
    Position m_position;
};

/// The member types that the standard library requires of an iterator.
template <typename T, typename Category>
struct SIteratorTypes
{
    using iterator_category = Category;
    using value_type = std::remove_const_t<T>;
    using difference_type = ptrdiff_t;
    using pointer = T*;
    using reference = T&;
};

template <typename Iterator>
using IteratorCategory = typename std::iterator_traits<Iterator>::iterator_category;

/// std::reverse_iterator, whose header takes as long as all that is included here.
template <typename Iterator>
class CReverseIterator
    : public SIteratorTypes<std::remove_reference_t<decltype(*std::declval<Iterator>())>, IteratorCategory<Iterator>>
{
public:
    CReverseIterator() : m_it() {}
    explicit CReverseIterator(Iterator it) : m_it(it) {}
    template <typename Other, typename = std::enable_if_t<std::is_convertible<const Other&, Iterator>::value>>
    CReverseIterator(const CReverseIterator<Other>& rOther) : m_it(rOther.base())
    {
    }

    /// What it stands behind.
    Iterator base() const { return m_it; }
    auto& operator*() const
    {
        Iterator it = m_it;
        return *--it;
    }
    auto* operator->() const { return __builtin_addressof(**this); }
    auto& operator[](ptrdiff_t nOffset) const { return *(*this + nOffset); }

    CReverseIterator& operator++()
    {
        --m_it;
        return *this;
    }
    CReverseIterator& operator--()
    {
        ++m_it;
        return *this;
    }
    CReverseIterator operator++(int) { return CReverseIterator(m_it--); }
    CReverseIterator operator--(int) { return CReverseIterator(m_it++); }
    CReverseIterator& operator+=(ptrdiff_t nOffset)
    {
        m_it -= nOffset;
        return *this;
    }
    CReverseIterator& operator-=(ptrdiff_t nOffset) { return *this += -nOffset; }
    friend CReverseIterator operator+(CReverseIterator it, ptrdiff_t nOffset) { return it += nOffset; }
    friend CReverseIterator operator+(ptrdiff_t nOffset, CReverseIterator it) { return it += nOffset; }
    friend CReverseIterator operator-(CReverseIterator it, ptrdiff_t nOffset) { return it -= nOffset; }
    friend auto operator-(CReverseIterator it1, CReverseIterator it2) { return it2.m_it - it1.m_it; }

    friend bool operator==(CReverseIterator it1, CReverseIterator it2) { return it1.m_it == it2.m_it; }
    friend bool operator!=(CReverseIterator it1, CReverseIterator it2) { return it1.m_it != it2.m_it; }
    friend bool operator<(CReverseIterator it1, CReverseIterator it2) { return it2.m_it < it1.m_it; }
    friend bool operator>(CReverseIterator it1, CReverseIterator it2) { return it2 < it1; }
    friend bool operator<=(CReverseIterator it1, CReverseIterator it2) { return !(it2 < it1); }
    friend bool operator>=(CReverseIterator it1, CReverseIterator it2) { return !(it1 < it2); }

private:
    Iterator m_it;
};

/// A handle that walks as a bidirectional iterator; the end designates no element.
template <typename T, typename Base>
class CNodeIterator : public CNodeCursor<T, Base>, public SIteratorTypes<T, std::bidirectional_iterator_tag>
{
    using Handle = CNodeCursor<T, Base>;

public:
    /// At no element of no container.
    CNodeIterator() : m_pContainer(nullptr) {}
    /// At an element, or at the end of a container.
    CNodeIterator(const Base* pContainer, typename Base::Position position) : Handle(position), m_pContainer(pContainer)
    {
    }
    /// From one through which elements may be changed.
    template <typename Mutable, typename = std::enable_if_t<std::is_same<const Mutable, T>::value>>
    CNodeIterator(const CNodeIterator<Mutable, Base>& rOther) : Handle(rOther), m_pContainer(rOther.GetContainer())
    {
    }

    /// To the next element.
    CNodeIterator& operator++()
    {
        Handle::operator=(this->GetNext());
        return *this;
    }
    /// To the element before.
    CNodeIterator& operator--()
    {
        Handle::operator=(*this ? this->GetPrevious() : Handle(m_pContainer->GetLast()));
        return *this;
    }
    /// To the next element; returns where it was.
    CNodeIterator operator++(int)
    {
        const CNodeIterator before(*this);
        ++*this;
        return before;
    }
    /// To the element before; returns where it was.
    CNodeIterator operator--(int)
    {
        const CNodeIterator before(*this);
        --*this;
        return before;
    }

    /// Where it walks.
    const Base* GetContainer() const { return m_pContainer; }

private:
    const Base* m_pContainer;
};

/// The typed operations of containers whose elements lie in nodes: handles and iterators.
template <typename T, typename Base>
class CTypedNodes : public CTypedElements<T, Base>
{
public:
    /// Designates an element, or none.
    using handle = CNodeCursor<T, Base>;
    /// Designates an element that may only be read, or none.
    using const_handle = CNodeCursor<const T, Base>;
    using iterator = CNodeIterator<T, Base>;
    using const_iterator = CNodeIterator<const T, Base>;
    using value_type = T;

    /// The first element; none when empty.
    handle GetFirst() { return handle(Base::GetFirst()); }
    const_handle GetFirst() const { return const_handle(Base::GetFirst()); }
    /// The last element; none when empty.
    handle GetLast() { return handle(Base::GetLast()); }
    const_handle GetLast() const { return const_handle(Base::GetLast()); }

    iterator begin() { return iterator(this, Base::GetFirst()); }
    iterator end() { return iterator(this, {}); }
    const_iterator begin() const { return const_iterator(this, Base::GetFirst()); }
    const_iterator end() const { return const_iterator(this, {}); }

protected:
    template <typename... Arguments>
    explicit CTypedNodes(Arguments&&... arguments) : CTypedElements<T, Base>(std::forward<Arguments>(arguments)...)
    {
    }
};
}  // namespace orvel_internal

#endif
