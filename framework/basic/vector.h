#ifndef FRAMEWORK_BASIC_VECTOR_H
#define FRAMEWORK_BASIC_VECTOR_H
#include <stddef.h>
#include <string.h>

#include <new>
#include <type_traits>
#include <utility>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/ordered_sequence.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// A contiguous array of equal elements of a size known at run time; CVector<T> is its typed front-end.
///
///     |<-- elements: 0 ... GetSize() - 1 -->|<-- spare slots -->|
///     storage                              end index           capacity
///
/// With bConstruct, elements are made, copied and destroyed through the three virtual element operations, which a
/// derived class overrides. Its destructor calls EraseAll(), since the destructor of the base can no longer call the
/// overrides. Without bConstruct, elements are bytes: copied with memcpy() and zeroed when made without a source.
///
/// Ownership  Owns its elements. Borrows the allocator, which must outlive it; null means the default allocator.
/// Threads    No locking: one thread at a time.
/// Growth     Exact, never rounded up: n appends cost n reallocations unless ReserveCapacity() comes first.
/// Addresses  Elements move whenever the capacity changes, never while it is locked.
/// Failure    Reported as QvResult with the vector as it was; what returns nothing ignores bad arguments. Element
///            operations and comparisons must not throw.
///
/// - **Lifetime:** Without an allocator given: made while the framework is up and destroyed before it goes down, so not
///   in static storage. If one is made at another time, one line on standard error names the class, and abort()
///   follows.
class QV_EXPORT CVectorBase
{
public:
    /// Elements of uSizeOfElement bytes, made through the element operations. Throws what operator new[] throws.
    CVectorBase(unsigned int uSizeOfElement, IAllocator* pAllocator);
    CVectorBase(unsigned int uSizeOfElement, bool bConstruct, IAllocator* pAllocator);
    /// Same allocator, element size, capacity, lock and elements. The element operations of a derived class cannot
    /// be called from here: with bConstruct, construct an empty object and assign.
    CVectorBase(const CVectorBase& rSrc);
    virtual ~CVectorBase();
    /// Copies the elements. Changes nothing when the element sizes differ, the locked capacity does not suffice, or
    /// memory runs out.
    CVectorBase& operator=(const CVectorBase& rSrc);

    /// Compares as bytes, never through a callback.
    bool operator==(const CVectorBase& rOther) const;
    bool operator!=(const CVectorBase& rOther) const;
    /// True when the bytes of the common length compare less, else whether this vector is the shorter one: so both
    /// {2} < {1, 5} and {1, 5} < {2} hold, and this is no order to sort by.
    bool operator<(const CVectorBase& rOther) const;

    /// Makes the capacity exactly uCapacity if it is less. Cost: moves every element when it reallocates.
    /// QV_RES_OK             the capacity is at least uCapacity
    /// QV_RES_INVALID_STATE  it is locked and below uCapacity
    /// QV_RES_OUT_OF_MEMORY  the allocator gave no block, or the bytes do not fit 32 bits
    QvResult ReserveCapacity(unsigned int uCapacity);
    /// Makes the capacity exactly the larger of uCapacity and the size, if it is more; gives the storage back at 0.
    /// QV_RES_OK             the capacity is that, or was less
    /// QV_RES_INVALID_STATE  it is locked, even if nothing would change
    /// QV_RES_OUT_OF_MEMORY  the allocator gave no block
    QvResult ReduceCapacity(unsigned int uCapacity);
    unsigned int GetCapacity() const;
    /// Non-zero: the capacity is locked, so that elements keep their addresses.
    unsigned int GetLockCapacity() const;
    void SetLockCapacity(unsigned int uLockCapacity);

    unsigned int GetSize() const;
    bool IsEmpty() const;
    unsigned int GetFirstIndex() const;
    /// GetSize() - 1: 0xFFFFFFFF when empty.
    unsigned int GetLastIndex() const;
    unsigned int GetEndIndex() const;
    /// Sets the size without making or destroying elements: the caller does that in the slots that enter or leave.
    /// QV_RES_INVALID_ARGUMENT  uSize is above the capacity
    QvResult Resize(unsigned int uSize);

    /// The element at an index below the size, else null.
    void* GetAt(unsigned int uIndex);
    const void* GetAt(unsigned int uIndex) const;
    /// The slot at an index below the capacity, else null.
    void* GetAtInCapacity(unsigned int uIndex);
    const void* GetAtInCapacity(unsigned int uIndex) const;

    /// Puts uCount elements in front of index uIndex (GetSize() appends): copies of *pElement, or newly made ones (zero
    /// bytes without bConstruct) when it is null. *pElement may be an element of this vector.
    /// Cost: moves the elements behind uIndex, and all when the capacity has to grow.
    /// QV_RES_OK                the elements are in
    /// QV_RES_INVALID_ARGUMENT  uIndex is above the size
    /// QV_RES_INVALID_STATE     the capacity is locked and does not suffice
    /// QV_RES_OUT_OF_MEMORY     the allocator gave no block
    QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement);
    QvResult Insert(unsigned int uIndex, unsigned int uCount);
    /// Puts copies of all elements of rSrc, whose element size must be the same, in front of index uIndex. Results as
    /// above.
    QvResult Insert(unsigned int uIndex, const CVectorBase& rSrc);
    /// Inserts a copy in front of the first element that does not order before it; the vector must be sorted. Results
    /// as of Insert().
    QvResult InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam);
    /// Opens a slot in front of index uIndex and counts it as an element; the caller constructs it. Null when uIndex is
    /// above the size or the capacity cannot grow.
    void* Allocate(unsigned int uIndex);
    /// The same at the place of pKey in a sorted vector that holds no equal element.
    /// QV_RES_OK                *ppElement is the slot
    /// QV_RES_INVALID_ARGUMENT  ppElement is null
    /// QV_RES_ALREADY_EXISTS    an equal element is there
    /// QV_RES_FAIL              the capacity is locked and too small, memory ran out, or 32 bits do not hold it
    QvResult AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam, void** ppElement);

    /// Destroys up to uCount elements from uIndex on; the capacity stays. Nothing happens when uIndex is no element.
    void Erase(unsigned int uIndex, unsigned int uCount);
    void Erase(unsigned int uIndex);
    void EraseAll();

    /// Moves all elements of rSrc in front of index uIndex; rSrc keeps its capacity.
    /// QV_RES_INVALID_ARGUMENT  the element sizes differ, uIndex is above the size, or rSrc is this vector
    /// QV_RES_INVALID_STATE     the capacity is locked and does not suffice
    /// QV_RES_OUT_OF_MEMORY     the allocator gave no block
    QvResult Merge(unsigned int uIndex, CVectorBase& rSrc);
    /// Replaces the elements of rDest by those from uIndex on, which leave this vector.
    /// QV_RES_INVALID_ARGUMENT  the element sizes differ, uIndex is not below the size, or rDest is this vector
    /// QV_RES_INVALID_STATE     the capacity of rDest is locked and does not suffice
    /// QV_RES_OUT_OF_MEMORY     the allocator of rDest gave no block
    QvResult Split(unsigned int uIndex, CVectorBase& rDest);
    /// Exchanges two elements; nothing happens when an index is not below the size.
    void Swap(unsigned int uIndex1, unsigned int uIndex2);

    /// Copies uCount elements between slots that exist, or moves them, which destroys those of the source. The
    /// destination slots count as raw memory, and no size changes. When slots of one vector overlap, the direction is
    /// the right one.
    static void Copy(CVectorBase* pDest, unsigned int uDestIndex, const CVectorBase* pSrc, unsigned int uSrcIndex,
                     unsigned int uCount);
    static void Move(CVectorBase* pDest, unsigned int uDestIndex, CVectorBase* pSrc, unsigned int uSrcIndex,
                     unsigned int uCount);
    /// Move() with the parameters of Copy(): it destroys the elements of pSrc, although that is const here.
    static void Move(CVectorBase* pDest, unsigned int uDestIndex, const CVectorBase* pSrc, unsigned int uSrcIndex,
                     unsigned int uCount);

    /// Shell sort, not stable. Throws what operator new[] throws (one element is held aside).
    void Sort(PFNCompareElements pfnCompare, unsigned int uParam);
    /// Index of the first element from uStartIndex on that compares equal, else the end index. Cost: linear.
    unsigned int Find(unsigned int uStartIndex, const void* pKey, PFNCompareElements pfnCompare,
                      unsigned int uParam) const;
    /// The same in a sorted vector. Cost: logarithmic, plus one comparison for each equal element.
    unsigned int FindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first element of a sorted vector that does not order before pKey, the end index when all do.
    unsigned int InternalFindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first smallest (largest) element; 0 when empty.
    unsigned int GetMinElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;
    unsigned int GetMaxElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;

    /// Makes an element in raw memory; copies one into raw memory; destroys one.
    virtual void Construct(void* pElement);
    virtual void ConstructFrom(void* pElement, const void* pSource);
    virtual void Destruct(void* pElement);

protected:
    /// For orvel_internal::CExactClass.
    QV_HIDDEN CVectorBase(unsigned int, const orvel_internal::SNoMembers&) {}
    /// Exchanges everything but the element size and the scratch element with a vector of the same element size.
    void ExchangeContents(CVectorBase& rOther);

    /// Element access for the shared algorithms; valid until the capacity changes.
    class CElementAccess
    {
    public:
        static constexpr bool ms_bASKS_SINGLE_TWICE = true;

        CElementAccess(const void* pvStorage, unsigned int uElementSize)
            : m_puStorage(static_cast<const unsigned char*>(pvStorage)), m_uElementSize(uElementSize)
        {
        }
        const void* operator()(unsigned int uIndex) const { return m_puStorage + uIndex * m_uElementSize; }

    private:
        const unsigned char* m_puStorage;
        size_t m_uElementSize;
    };
    template <typename Compare>
    QV_HIDDEN orvel_internal::CSearch<CElementAccess, Compare> SearchWith(Compare compare) const
    {
        return {m_uSize, CElementAccess(m_pvStorage, m_uElementSize), compare};
    }
    template <typename Compare>
    QV_HIDDEN void SortElements(const Compare& rCompare);

    IAllocator* m_pAllocator;
    unsigned int m_uCapacity;
    unsigned int m_uLockCapacity;
    unsigned int m_uElementSize;
    unsigned int m_uSize;
    bool m_bConstruct;
    void* m_pvScratch;
    void* m_pvStorage;

private:
    QV_HIDDEN unsigned char* SlotAt(unsigned int uIndex) const;
    QV_HIDDEN size_t BytesOf(unsigned int uCount) const;
    QV_HIDDEN bool HoldsAddress(const void* pv) const;
    QV_HIDDEN void MoveTail(unsigned int uDestIndex, unsigned int uSrcIndex);
    QV_HIDDEN QvResult AllocateStorage(unsigned int uCapacity, void*& rpvStorage);
    QV_HIDDEN void ReplaceStorage(void* pvStorage, unsigned int uCapacity);
    QV_HIDDEN void FillSlots(unsigned int uIndex, unsigned int uCount, const void* pElement);
};

template <typename Compare>
void CVectorBase::SortElements(const Compare& rCompare)
{
    if (m_uSize < 2) return;
    using orvel_internal::CConstructedElements;
    using orvel_internal::ShellSort;
    using orvel_internal::SortBytes;
    const orvel_internal::CScratchArray<unsigned char> held(m_uElementSize);
    void* const pHeld = held.Get();
    const CConstructedElements<CVectorBase, Compare> constructed(*this, pHeld, rCompare);
    if (m_bConstruct) ShellSort(m_pvStorage, m_uSize, m_uElementSize, constructed);
    else if (m_uElementSize == 4) SortBytes<4>(m_pvStorage, m_uSize, 4, pHeld, rCompare);
    else if (m_uElementSize == 8) SortBytes<8>(m_pvStorage, m_uSize, 8, pHeld, rCompare);
    else if (m_uElementSize == 16) SortBytes<16>(m_pvStorage, m_uSize, 16, pHeld, rCompare);
    else SortBytes<0>(m_pvStorage, m_uSize, m_uElementSize, pHeld, rCompare);
}

template <typename T>
class CVector;

namespace orvel_internal
{
/// Helpers of CVector. They are not its members, since the library's own instances would export them.
class CVectorFront
{
public:
    /// Whether treating the elements as bytes makes no visible difference.
    template <typename T>
    static bool HoldsPlainElements(const CVector<T>& rVector)
    {
        return std::is_trivially_copyable<T>::value && CExactClass::IsOf(rVector);
    }

    /// Runs an operation of the base. Plain elements are treated as bytes meanwhile: one memcpy() moves all of them.
    template <typename T, typename Operation>
    static auto Run(CVector<T>& rVector, Operation operation)
    {
        const CElementsAsBytes scope(rVector.m_bConstruct, HoldsPlainElements(rVector));
        return operation();
    }

    /// Appends when the capacity may have to grow, or a derived class makes the elements.
    template <typename T, typename Argument>
    QV_HIDDEN __attribute__((noinline)) static QvResult AppendGrowing(CVector<T>& rVector, Argument element)
    {
        const unsigned int uSize = rVector.m_uSize;
        if constexpr (!std::is_reference<Argument>::value)
        {
            // An argument passed by value is not in the storage that growing releases, so it can be appended
            // afterwards.
            if (HoldsPlainElements(rVector) && uSize + 1 != 0)
            {
                const QvResult res = rVector.ReserveCapacity(uSize + 1);
                if (res < 0) return res;
                ::new (static_cast<void*>(rVector.begin() + uSize)) T(element);
                rVector.m_uSize = uSize + 1;
                return res;
            }
        }
        return rVector.Insert(uSize, 1, element);
    }

private:
    class CElementsAsBytes
    {
    public:
        CElementsAsBytes(bool& rbConstruct, bool bAsBytes) : m_rbConstruct(rbConstruct), m_bConstruct(rbConstruct)
        {
            if (bAsBytes) rbConstruct = false;
        }
        CElementsAsBytes(const CElementsAsBytes&) = delete;
        CElementsAsBytes& operator=(const CElementsAsBytes&) = delete;
        ~CElementsAsBytes() { m_rbConstruct = m_bConstruct; }

    private:
        bool& m_rbConstruct;
        const bool m_bConstruct;
    };
};
}  // namespace orvel_internal

/// An array of T over CVectorBase, whose growth and threading rules it has:
///
///     CVector<int> vector;
///     vector.ReserveCapacity(2);
///     vector.Append(7);
///     for (int n : vector) ...
///
/// Iterators  Pointers to the elements: invalid after anything that inserts, erases or changes the capacity.
/// Cost       Access, and appending within the capacity, are inline and call no function of the library. Trivially
///            copyable elements move as bytes, all in one call, when the capacity grows.
/// Derived    A class derived from CVector<T> may override the element operations: every operation then calls them, one
///            by one as CVectorBase does.
template <typename T>
class QV_EXPORT CVector : public orvel_internal::CTypedSequence<T, CVectorBase>
{
    using Sequence = orvel_internal::CTypedSequence<T, CVectorBase>;
    using CVectorBase::m_bConstruct;
    using CVectorBase::m_pAllocator;
    using CVectorBase::m_pvStorage;
    using CVectorBase::m_uCapacity;
    using CVectorBase::m_uLockCapacity;
    using CVectorBase::m_uSize;
    friend class orvel_internal::CVectorFront;
    friend class orvel_internal::CExactClass;

public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    explicit CVector(IAllocator* pAllocator = nullptr) : Sequence(pAllocator) {}
    /// bConstruct false: elements are bytes, zeroed when made without a source, never constructed or destroyed.
    CVector(bool bConstruct, IAllocator* pAllocator) : Sequence(bConstruct, pAllocator) {}
    ~CVector() override { EraseAll(); }
    CVector(const CVector& rSrc) : Sequence(rSrc.m_bConstruct, rSrc.m_pAllocator)
    {
        ReserveCapacity(rSrc.m_uCapacity);
        CVector::operator=(rSrc);
        m_uLockCapacity = rSrc.m_uLockCapacity;
    }
    CVector& operator=(const CVector& rSrc)
    {
        Front::Run(*this, [&] { CVectorBase::operator=(rSrc); });
        return *this;
    }
    CVector(CVector&& rSrc) : Sequence(rSrc.m_bConstruct, rSrc.m_pAllocator) { CVectorBase::ExchangeContents(rSrc); }
    /// The two vectors exchange their elements, storage, allocators and locks.
    CVector& operator=(CVector&& rSrc) noexcept
    {
        CVectorBase::ExchangeContents(rSrc);
        return *this;
    }

    unsigned int GetCapacity() const { return m_uCapacity; }
    unsigned int GetLockCapacity() const { return m_uLockCapacity; }
    void SetLockCapacity(unsigned int uLockCapacity) { m_uLockCapacity = uLockCapacity; }
    unsigned int GetSize() const { return m_uSize; }
    bool IsEmpty() const { return m_uSize == 0; }
    unsigned int GetEndIndex() const { return m_uSize; }

    /// The element at an index below the size, else null.
    T* GetAt(unsigned int uIndex) { return uIndex < m_uSize ? begin() + uIndex : nullptr; }
    const T* GetAt(unsigned int uIndex) const { return uIndex < m_uSize ? begin() + uIndex : nullptr; }
    /// The element at an index that the caller knows to be below the size.
    T& operator[](unsigned int uIndex) { return begin()[uIndex]; }
    const T& operator[](unsigned int uIndex) const { return begin()[uIndex]; }

    T* begin() { return static_cast<T*>(m_pvStorage); }
    T* end() { return begin() + m_uSize; }
    const T* begin() const { return static_cast<const T*>(m_pvStorage); }
    const T* end() const { return begin() + m_uSize; }

    /// As in CVectorBase.
    QvResult ReserveCapacity(unsigned int uCapacity)
    {
        return Front::Run(*this, [&] { return CVectorBase::ReserveCapacity(uCapacity); });
    }
    QvResult ReduceCapacity(unsigned int uCapacity)
    {
        return Front::Run(*this, [&] { return CVectorBase::ReduceCapacity(uCapacity); });
    }
    using Sequence::Insert;
    QvResult Insert(unsigned int uIndex, unsigned int uCount) { return Sequence::Insert(uIndex, uCount); }
    QvResult Insert(unsigned int uIndex, unsigned int uCount, const T& rElement)
    {
        return Front::Run(*this, [&] { return CVectorBase::Insert(uIndex, uCount, __builtin_addressof(rElement)); });
    }
    QvResult Append(const T& rElement)
    {
        const unsigned int uSize = m_uSize;  // read once: the compiler must assume that the store below changes it
        if (uSize == m_uCapacity || !orvel_internal::CExactClass::IsOf(*this))
        {
            return Front::template AppendGrowing<T, Argument>(*this, rElement);
        }
        // The same as ConstructFrom(), without the call.
        void* const pvSlot = begin() + uSize;
        if (std::is_trivially_copyable<T>::value || m_bConstruct) ::new (pvSlot) T(rElement);
        else memcpy(pvSlot, static_cast<const void*>(__builtin_addressof(rElement)), sizeof(T));
        m_uSize = uSize + 1;
        return QV_RES_OK;
    }
    void Erase(unsigned int uIndex) { Erase(uIndex, 1); }
    void Erase(unsigned int uIndex, unsigned int uCount)
    {
        Front::Run(*this, [&] { CVectorBase::Erase(uIndex, uCount); });
    }
    void EraseAll()
    {
        // Written so that the path without a call has no jump: filling a vector anew begins here.
        if (!Front::HoldsPlainElements(*this)) CVectorBase::EraseAll();
        m_uSize = 0;
    }

    using Sequence::Sort;
    /// Shell sort by a typed comparison, as in CTypedSequence. Trivially copyable elements are moved as bytes.
    template <typename Compare = SNaturalOrder>
    void Sort(Compare compare = Compare())
    {
        const orvel_internal::CTypedComparison<T, T, Compare> typed(compare);
        if constexpr (std::is_trivially_copyable<T>::value)
        {
            if (orvel_internal::CExactClass::IsOf(*this))
            {
                alignas(T) unsigned char auHeld[sizeof(T)];
                orvel_internal::SortBytes<sizeof(T)>(m_pvStorage, m_uSize, sizeof(T), auHeld, typed);
                return;
            }
        }
        CVectorBase::SortElements(typed);
    }

    void Construct(void* pElement) override { Sequence::Construct(pElement); }
    void ConstructFrom(void* pElement, const void* pSource) override { Sequence::ConstructFrom(pElement, pSource); }
    void Destruct(void* pElement) override { Sequence::Destruct(pElement); }

private:
    using Front = orvel_internal::CVectorFront;

    template <typename NoMembers,
              typename = std::enable_if_t<std::is_same<NoMembers, orvel_internal::SNoMembers>::value>>
    explicit CVector(NoMembers noMembers) : Sequence(noMembers)
    {
    }

    // Small plain elements are passed by value: taking the address of one would force it into memory on the fast path
    // as well.
    using Argument = typename std::conditional<std::is_trivially_copyable<T>::value && sizeof(T) <= 2 * sizeof(void*),
                                               T, const T&>::type;
};

extern template class CVector<void*>;

#endif
