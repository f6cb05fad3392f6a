#ifndef FRAMEWORK_BASIC_VECTOR_H
#define FRAMEWORK_BASIC_VECTOR_H
#include <stddef.h>
#include <string.h>

#include <initializer_list>
#include <new>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/grow_capacity.h"
#include "framework/basic/internal/ordered_sequence.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/basic/internal/typed_sequence.h"
#include "framework/kernel/export.h"
#include "framework/kernel/internal/is_within.h"
#include "framework/kernel/internal/move.h"
#include "framework/kernel/result.h"

/// A contiguous array of equal elements of a size known at run time; CVector<T> is its typed front-end.
/// ```
/// |<-- elements: 0 ... GetSize() - 1 -->|<-- spare slots -->|
/// storage                              end index           capacity
/// ```
///
/// With bConstruct, elements are made, copied and destroyed through the three virtual element operations, which a
/// derived class overrides. Its destructor calls EraseAll(), since the destructor of the base can no longer call the
/// overrides. Without bConstruct, elements are bytes: copied with memcpy() and zeroed when made without a source.
///
/// - **Ownership:** Owns its elements. Borrows the allocator, which must outlive it; null means the default allocator.
/// - **Threads:** No locking: one thread at a time.
/// - **Growth:** Exact, never rounded up: n appends cost n reallocations unless ReserveCapacity() comes first.
///   (CVector<T> has push_back() beside them.)
/// - **Alignment:** Of elements as of operator new[]: of more, which a CVector<T> refuses to compile, nothing is known
///   here.
/// - **Addresses:** Elements move whenever the capacity changes, never while it is locked.
/// - **Failure:** Reported as QvResult with the vector as it was; what returns nothing ignores bad arguments. Element
///   operations and comparisons must not throw.
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
    ///
    /// - `QV_RES_OK`: the capacity is at least uCapacity.
    /// - `QV_RES_INVALID_STATE`: it is locked and below uCapacity.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block, or the bytes do not fit 32 bits.
    [[nodiscard]] QvResult ReserveCapacity(unsigned int uCapacity);
    /// Makes the capacity exactly the larger of uCapacity and the size, if it is more; gives the storage back at 0.
    ///
    /// - `QV_RES_OK`: the capacity is that, or was less.
    /// - `QV_RES_INVALID_STATE`: it is locked, even if nothing would change.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    QvResult ReduceCapacity(unsigned int uCapacity);
    /// How many elements there is memory for.
    unsigned int GetCapacity() const;
    /// Non-zero: the capacity is locked, so that elements keep their addresses.
    unsigned int GetLockCapacity() const;
    /// Locks the capacity, or opens it with 0.
    void SetLockCapacity(unsigned int uLockCapacity);

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
    /// Sets the size without making or destroying elements: the caller does that in the slots that enter or leave.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: uSize is above the capacity.
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
    ///
    /// - `QV_RES_OK`: the elements are in.
    /// - `QV_RES_INVALID_ARGUMENT`: uIndex is above the size.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement);
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uCount);
    /// Puts copies of all elements of rSrc, whose element size must be the same, in front of index uIndex. Results as
    /// of the other form.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, const CVectorBase& rSrc);
    /// Inserts a copy in front of the first element that does not order before it; the vector must be sorted. Results
    /// as of Insert().
    [[nodiscard]] QvResult InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam);
    /// Opens a slot in front of index uIndex and counts it as an element; the caller constructs it. Null when uIndex is
    /// above the size or the capacity cannot grow.
    void* Allocate(unsigned int uIndex);
    /// Allocate() at the place of pKey in a sorted vector that holds no equal element.
    ///
    /// - `QV_RES_OK`: *ppElement is the slot.
    /// - `QV_RES_INVALID_ARGUMENT`: ppElement is null.
    /// - `QV_RES_ALREADY_EXISTS`: an equal element is there.
    /// - `QV_RES_FAIL`: the capacity is locked and too small, memory ran out, or 32 bits do not hold it.
    [[nodiscard]] QvResult AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam,
                                          void** ppElement);

    /// Destroys up to uCount elements from uIndex on; the capacity stays. Nothing happens when uIndex is no element.
    void Erase(unsigned int uIndex, unsigned int uCount);
    void Erase(unsigned int uIndex);
    /// Destroys all elements; the capacity stays.
    void EraseAll();

    /// Moves all elements of rSrc in front of index uIndex; rSrc keeps its capacity.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: the element sizes differ, uIndex is above the size, or rSrc is this vector.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult Merge(unsigned int uIndex, CVectorBase& rSrc);
    /// Replaces the elements of rDest by those from uIndex on, which leave this vector.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: the element sizes differ, uIndex is not below the size, or rDest is this vector.
    /// - `QV_RES_INVALID_STATE`: the capacity of rDest is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator of rDest gave no block.
    [[nodiscard]] QvResult Split(unsigned int uIndex, CVectorBase& rDest);
    /// Exchanges two elements; nothing happens when an index is not below the size.
    void Swap(unsigned int uIndex1, unsigned int uIndex2);

    /// Copies uCount elements between slots that exist. Move() moves them, which destroys those of the source. The
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
    /// Find() in a sorted vector. Cost: logarithmic, plus one comparison for each equal element.
    unsigned int FindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first element of a sorted vector that does not order before pKey, the end index when all do.
    unsigned int InternalFindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first smallest element; 0 when empty.
    unsigned int GetMinElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;
    /// Index of the first largest element; 0 when empty.
    unsigned int GetMaxElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const;

    /// Makes an element in raw memory.
    virtual void Construct(void* pElement);
    /// Copies an element into raw memory.
    virtual void ConstructFrom(void* pElement, const void* pSource);
    /// Destroys an element.
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
/// A vector in whose place an operation of CVectorBase works: it moves elements where CVectorBase copies what it then
/// destroys. It has the contents of the vector meanwhile; to it, as to no other, nothing but the operation has access.
template <typename T>
class CMovingVector
{
public:
    /// The uCopied elements at pCopied are copied all the same: they stay where they are.
    CMovingVector(CVectorBase& rOwner, void* pvScratch, const T* pCopied, size_t uCopied)
        : m_rOwner(rOwner), m_standIn(pvScratch, pCopied, uCopied)
    {
        m_standIn.Exchange(m_rOwner);
    }
    CMovingVector(const CMovingVector&) = delete;
    CMovingVector& operator=(const CMovingVector&) = delete;
    ~CMovingVector() { m_standIn.Exchange(m_rOwner); }

    auto& Get() { return m_standIn; }

private:
    class CStandIn : public CVectorBase
    {
    public:
        CStandIn(void* pvScratch, const T* pCopied, size_t uCopied)
            : CVectorBase(0, SNoMembers()), m_pCopied(pCopied), m_uCopiedBytes(uCopied * sizeof(T))
        {
            m_pAllocator = nullptr;
            m_uCapacity = m_uLockCapacity = m_uSize = 0;
            m_uElementSize = sizeof(T);
            m_bConstruct = true;
            m_pvScratch = pvScratch;
            m_pvStorage = nullptr;
        }
        void Exchange(CVectorBase& rOwner) { ExchangeContents(rOwner); }
        template <typename Compare>
        void SortAsBase(const Compare& rCompare)
        {
            CVectorBase::SortElements(rCompare);
        }

        void Construct(void* pElement) override
        {
            if constexpr (std::is_default_constructible<T>::value) ::new (pElement) T;
            else static_cast<void>(pElement);
        }
        void ConstructFrom(void* pElement, const void* pSource) override
        {
            T& rSource = *static_cast<T*>(const_cast<void*>(pSource));
            if constexpr (SIsCopyable<T>::value)
            {
                // What is to be copied waits in the scratch element where it would move itself.
                const bool bStays =
                    IsWithin(pSource, m_pCopied, m_uCopiedBytes) || (m_uCopiedBytes != 0 && pSource == m_pvScratch);
                if (bStays)
                {
                    ::new (pElement) T(static_cast<const T&>(rSource));
                    return;
                }
            }
            BringElement(pElement, rSource);
        }
        void Destruct(void* pElement) override { static_cast<T*>(pElement)->~T(); }

    private:
        const T* m_pCopied;
        size_t m_uCopiedBytes;
    };

    CVectorBase& m_rOwner;
    // Never destroyed: it owns nothing, not even its scratch element.
    union
    {
        CStandIn m_standIn;
    };
};

/// CVectorBase in the knowledge of the type: plain elements move as bytes, all in one call, and others by their moves.
/// The operations of CTypedSequence come here; what CVector<T> adds to those that it overrides stands here as well,
/// since the library's own instances would export its members.
template <typename T>
class CVectorOf : public CVectorBase
{
protected:
    template <typename... Arguments>
    explicit CVectorOf(Arguments&&... arguments) : CVectorBase(std::forward<Arguments>(arguments)...)
    {
    }
    CVectorOf(const CVectorOf&) = delete;
    CVectorOf& operator=(const CVectorOf& rSrc)
    {
        if (this != &rSrc) Run([&](auto& rVector) { rVector.CVectorBase::operator=(rSrc); }, rSrc.data(), rSrc.m_uSize);
        return *this;
    }

public:
    T* data() { return static_cast<T*>(m_pvStorage); }
    const T* data() const { return static_cast<const T*>(m_pvStorage); }

    /// Append() with room for as many elements more where it has to grow. Throws std::bad_alloc where it cannot.
    void push_back(const T& rElement)
    {
        RequireCopyable<T>();
        const unsigned int uSize = m_uSize;
        if (uSize == m_uCapacity || !MakesElements()) return AppendDoubling<Argument<T>>(rElement);
        ::new (static_cast<void*>(data() + uSize)) T(rElement);
        m_uSize = uSize + 1;
    }
    template <typename Movable = T>
    std::enable_if_t<!std::is_scalar<Movable>::value> push_back(T&& rElement)
    {
        const unsigned int uSize = m_uSize;
        if (uSize == m_uCapacity || !MakesElements()) return AppendDoubling<T&&>(std::move(rElement));
        BringElement(data() + uSize, rElement);
        m_uSize = uSize + 1;
    }
    /// push_back() of an element that is made in place, as T(arguments...).
    template <typename... Arguments>
    T& emplace_back(Arguments&&... arguments)
    {
        const unsigned int uSize = m_uSize;
        if (uSize == m_uCapacity || !MakesElements())
        {
            AppendDoubling<T&&>(Made<T>(std::forward<Arguments>(arguments)...));
            return data()[m_uSize - 1];
        }
        T* const pElement = MakeElement<T>(data() + uSize, std::forward<Arguments>(arguments)...);
        m_uSize = uSize + 1;
        return *pElement;
    }
    /// Destroys the last element, which must be there.
    void pop_back()
    {
        if (!MakesElements()) return Erase(m_uSize - 1);
        data()[m_uSize - 1].~T();
        --m_uSize;
    }

    /// Makes an element as T(arguments...) in front of index uIndex; null when uIndex is above the size or the capacity
    /// cannot grow.
    template <typename... Arguments>
    T* Emplace(unsigned int uIndex, Arguments&&... arguments)
    {
        if (uIndex > m_uSize) return nullptr;
        if (uIndex == m_uSize && m_uSize < m_uCapacity && MakesElements())
        {
            return __builtin_addressof(emplace_back(std::forward<Arguments>(arguments)...));
        }
        // Made before anything moves: the arguments may refer to elements.
        T element = Made<T>(std::forward<Arguments>(arguments)...);
        return InsertMoved(uIndex, element) >= 0 ? data() + uIndex : nullptr;
    }
    QvResult InsertMoved(unsigned int uIndex, T& rElement)
    {
        if (uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
        if (!MakesElements()) return CVectorBase::Insert(uIndex, 1, __builtin_addressof(rElement));
        T* pElement = __builtin_addressof(rElement);
        const QvResult res = GrowKeeping(pElement, [&] { return GrowCapacity(*this, size_t{m_uSize} + 1); });
        if (res >= 0) OpenAndMove(uIndex, *pElement);
        return res;
    }

    /// Puts an element in front of a position, as push_back() does at the end; returns where it is.
    T* insert(const T* pPosition, const T& rElement)
    {
        RequireCopyable<T>();
        const unsigned int uIndex = static_cast<unsigned int>(pPosition - data());
        const T* pElement = __builtin_addressof(rElement);
        ThrowUnlessSucceeded(GrowKeeping(pElement, [&] { return DoubleCapacity(*this, sizeof(T)); }));
        static_cast<void>(Insert(uIndex, 1, pElement));  // there is room
        return data() + uIndex;
    }
    template <typename Movable = T>
    std::enable_if_t<!std::is_scalar<Movable>::value, T*> insert(const T* pPosition, T&& rElement)
    {
        const unsigned int uIndex = static_cast<unsigned int>(pPosition - data());
        T* pElement = __builtin_addressof(rElement);
        ThrowUnlessSucceeded(GrowKeeping(pElement, [&] { return DoubleCapacity(*this, sizeof(T)); }));
        InsertMoved(uIndex, *pElement);
        return data() + uIndex;
    }
    /// Destroys the elements of a range, or one; returns where what follows them is now.
    T* erase(const T* pFirst, const T* pLast)
    {
        const unsigned int uIndex = static_cast<unsigned int>(pFirst - data());
        Erase(uIndex, static_cast<unsigned int>(pLast - pFirst));
        return data() + uIndex;
    }
    T* erase(const T* pPosition) { return erase(pPosition, pPosition + 1); }

    [[nodiscard]] QvResult ReserveCapacity(unsigned int uCapacity)
    {
        return Run([&](auto& rVector) { return rVector.CVectorBase::ReserveCapacity(uCapacity); });
    }
    QvResult ReduceCapacity(unsigned int uCapacity)
    {
        return Run([&](auto& rVector) { return rVector.CVectorBase::ReduceCapacity(uCapacity); });
    }
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uCount, const void* pElement)
    {
        // Plain elements without a source are made by Construct(): bytes would be zeroed.
        const bool bMade = std::is_trivially_copyable<T>::value && pElement == nullptr;
        if (bMade) return CVectorBase::Insert(uIndex, uCount, nullptr);
        return Run([&](auto& rVector) { return rVector.CVectorBase::Insert(uIndex, uCount, pElement); },
                   static_cast<const T*>(pElement), pElement != nullptr);
    }
    [[nodiscard]] QvResult Insert(unsigned int uIndex, const CVectorOf& rSrc)
    {
        if (&rSrc == this) return CVectorBase::Insert(uIndex, rSrc);
        return Run([&](auto& rVector) { return rVector.CVectorBase::Insert(uIndex, rSrc); }, rSrc.data(), rSrc.m_uSize);
    }
    [[nodiscard]] QvResult InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam)
    {
        return Insert(InternalFindSorted(pElement, pfnCompare, uParam), 1, pElement);
    }
    /// As in CVectorBase.
    void* Allocate(unsigned int uIndex)
    {
        return Run([&](auto& rVector) { return rVector.CVectorBase::Allocate(uIndex); });
    }
    /// As in CVectorBase.
    [[nodiscard]] QvResult AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam,
                                          void** ppElement)
    {
        return Run([&](auto& rVector)
                   { return rVector.CVectorBase::AllocateSorted(pKey, pfnCompare, uParam, ppElement); });
    }
    /// Destroys the element at an index, or up to uCount from there on; the capacity stays.
    void Erase(unsigned int uIndex) { Erase(uIndex, 1); }
    void Erase(unsigned int uIndex, unsigned int uCount)
    {
        Run([&](auto& rVector) { rVector.CVectorBase::Erase(uIndex, uCount); });
    }
    // What one vector destroys and the other makes: both must leave it to their type.
    [[nodiscard]] QvResult Merge(unsigned int uIndex, CVectorOf& rSrc)
    {
        if (&rSrc == this || !rSrc.IsExact()) return CVectorBase::Merge(uIndex, rSrc);
        return Run([&](auto& rVector) { return rVector.CVectorBase::Merge(uIndex, rSrc); });
    }
    [[nodiscard]] QvResult Split(unsigned int uIndex, CVectorOf& rDest)
    {
        if (&rDest == this || !IsExact()) return CVectorBase::Split(uIndex, rDest);
        return rDest.Run([&](auto& rVector) { return CVectorBase::Split(uIndex, rVector); });
    }
    /// Exchanges two elements; nothing happens when an index is not below the size.
    void Swap(unsigned int uIndex1, unsigned int uIndex2)
    {
        Run([&](auto& rVector) { rVector.CVectorBase::Swap(uIndex1, uIndex2); });
    }

protected:
    // Small plain elements are passed by value: taking the address of one would force it into memory on the fast path
    // as well.
    template <typename Element>
    using Argument =
        std::conditional_t<std::is_trivially_copyable<Element>::value && sizeof(Element) <= 2 * sizeof(void*), Element,
                           const Element&>;

    bool IsExact() const { return CExactClass::IsAt<CVector<T>>(this); }
    /// Whether treating the elements as bytes makes no visible difference.
    bool HoldsPlainElements() const { return std::is_trivially_copyable<T>::value && IsExact(); }

    template <typename Compare>
    void SortElements(const Compare& rCompare)
    {
        Run([&](auto& rVector) { rVector.SortAsBase(rCompare); });
    }

    /// Appends exactly when the capacity may have to grow, or a derived class makes the elements.
    template <typename Appended>
    QV_HIDDEN __attribute__((noinline)) QvResult AppendGrowing(Appended element)
    {
        if constexpr (!std::is_reference<Appended>::value)
        {
            // An argument passed by value is not in the storage that growing releases, so it can be appended
            // afterwards.
            const unsigned int uSize = m_uSize;
            if (HoldsPlainElements() && uSize + 1 != 0)
            {
                const QvResult res = ReserveCapacity(uSize + 1);
                if (res < 0) return res;
                ::new (static_cast<void*>(data() + uSize)) T(element);
                m_uSize = uSize + 1;
                return res;
            }
        }
        return Insert(m_uSize, 1, __builtin_addressof(element));
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

    /// Runs an operation of the base, which copies the uCopied elements at pCopied and moves all others.
    template <typename Operation>
    auto Run(Operation operation, const T* pCopied = nullptr, size_t uCopied = 0)
    {
        static_assert(g_bCAN_CHANGE_PLACE<T>,
                      "the elements of a vector move when it grows: what can be neither copied nor moved goes into a "
                      "CList or a CVList");
        if constexpr (std::is_trivially_copyable<T>::value)
        {
            const CElementsAsBytes scope(m_bConstruct, IsExact());
            return operation(*this);
        }
        else if constexpr (g_bMOVES<T>)
        {
            if (!IsExact()) return operation(*this);
            CMovingVector<T> moving(*this, m_pvScratch, pCopied, uCopied);
            return operation(moving.Get());
        }
        else return operation(*this);
    }
    template <typename Compare>
    void SortAsBase(const Compare& rCompare)
    {
        CVectorBase::SortElements(rCompare);
    }

    /// Whether elements are made here, not by a derived class and not as bytes.
    bool MakesElements() const { return (std::is_trivially_copyable<T>::value || m_bConstruct) && IsExact(); }

    /// Appended is T, const T& or T&&.
    template <typename Appended>
    QV_HIDDEN __attribute__((noinline)) void AppendDoubling(Appended element)
    {
        auto* pElement = __builtin_addressof(element);
        ThrowUnlessSucceeded(GrowKeeping(pElement, [&] { return DoubleCapacity(*this, sizeof(T)); }));
        if (!MakesElements()) return ThrowUnlessSucceeded(CVectorBase::Insert(m_uSize, 1, pElement));
        if constexpr (std::is_const<std::remove_pointer_t<decltype(pElement)>>::value)
            ::new (static_cast<void*>(data() + m_uSize)) T(*pElement);
        else BringElement(data() + m_uSize, *pElement);
        ++m_uSize;
    }

    /// Grows; rpElement may be one of the elements and follows it to its new place.
    template <typename Element, typename Grow>
    QvResult GrowKeeping(Element*& rpElement, Grow grow)
    {
        const bool bOwn = IsWithin(rpElement, m_pvStorage, m_uSize * sizeof(T));
        const ptrdiff_t nIndex = bOwn ? rpElement - data() : 0;
        const QvResult res = grow();
        if (bOwn) rpElement = data() + nIndex;
        return res;
    }

    /// Moves an element, which may be one of these, in front of uIndex. There is room for it.
    void OpenAndMove(unsigned int uIndex, T& rElement)
    {
        if (uIndex == m_uSize)
        {
            BringElement(data() + m_uSize, rElement);
            ++m_uSize;
            return;
        }
        alignas(T) unsigned char auHeld[sizeof(T)];
        BringElement(auHeld, rElement);
        T& rHeld = *std::launder(reinterpret_cast<T*>(auHeld));
        BringElement(Allocate(uIndex), rHeld);
        rHeld.~T();
    }
};
}  // namespace orvel_internal

/// An array of T over CVectorBase, whose growth and threading rules it has:
/// ```
/// CVector<int> vector{5, 3};
/// vector.push_back(7);
/// vector.Sort();
/// for (int n : vector) ...
/// ```
/// Its calls, those of its bases among them:
///
/// - `CVector(allocator)`, `CVector(construct, allocator)`: empty; null, or nothing, means the default allocator.
/// - `CVector{values}`, `CVector(first, last)`: what is in braces, or between two iterators.
/// - `=`: copies; from what is moved, exchanges; values in braces.
/// - `vector[index]`, `GetAt(index)`, `data()`: an element; its address, or null; where they lie.
/// - `begin()`, `end()`: pointers to the elements.
/// - `push_back(element)`, `emplace_back(arguments)`: at the end, with room for more: throws std::bad_alloc.
/// - `Append(element)`: at the end, with a result, and a capacity that is exact.
/// - `Insert(index, count, element)`, `Insert(index, count)`: copies, or elements made by default.
/// - `Insert(index, T&&)`, `Insert(index, vector)`: a moved element; copies of all elements of another.
/// - `InsertSorted(element)`, `InsertSorted(element, comparison)`: in front of the first that does not order before it.
/// - `Emplace(index, arguments)`: an element made there; its address, or null.
/// - `Allocate(index)`, `AllocateSorted(key, comparison, &p)`: raw memory that counts as an
///   element already: construct a T there before any other call.
/// - `Erase(index)`, `Erase(index, count)`, `EraseAll()`, `pop_back()`: the capacity stays.
/// - `Merge(index, vector)`, `Split(index, vector)`: all elements of another come; those from index on go there,
///   in place of what is there.
/// - `Find(start, key)`, `Find(start, key, comparison)`: the index of the first equal element from start on, else the
///   size.
/// - `FindSorted(key)`, `FindSorted(key, comparison)`: the same in a sorted vector, in few comparisons.
/// - `GetMinElementIndex()`, `GetMaxElementIndex()`: of the first smallest, largest element; also with a comparison.
/// - `Sort()`, `Sort(comparison)`, `Swap(i, j)`: unstable; exchanges two elements.
/// - `GetSize()`, `IsEmpty()`, `GetFirstIndex()`, `GetLastIndex()`, `GetEndIndex()`.
/// - `ReserveCapacity(n)`, `ReduceCapacity(n)`, `GetCapacity()`, `SetLockCapacity(n)`, `GetLockCapacity()`.
/// - `size()`, `empty()`, `front()`, `back()`, `push_back()`, `emplace_back()`, `pop_back()`, `clear()`,
///   `insert(position, element)`, `erase(position)`, `erase(first, last)`, `cbegin()`, `cend()`, `rbegin()`, `rend()`,
///   `crbegin()`, `crend()`, `swap()`, `==`, `!=`.
///
/// A comparison is called as (const T& element, const Key& key) and returns a negative number, 0 or a positive number;
/// without one the order is that of `<`. Each of these calls also takes a PFNCompareElements and its number.
///
/// - **Growth:** By choice. push_back(), emplace_back() and insert() double a capacity that is used up, at least to 64
///   bytes: n of them move fewer than 2 n elements, and std::back_inserter works as people know it. All other calls
///   grow it exactly, so that what is asked for is what is used: who appends much reserves first, or pushes. They may
///   be mixed. Where there is no memory for the double, push_back() asks for one more.
/// - **Iterators:** Pointers to the elements: invalid after anything that inserts, erases or changes the capacity.
///   Arguments may be elements of the vector.
/// - **Elements:** Whatever can be copied or moved. They are moved, where their moves cannot throw or they cannot be
///   copied, when the capacity changes, and by Insert(), Erase(), Merge(), Split(), Swap() and Sort(). What would copy
///   elements that cannot be copied does not compile. What can neither be copied nor moved goes into a CList or CVList.
///   A class with a vector of what cannot be copied as a member says so itself, where its own objects become elements:
///   `SJob(SJob&&) = default;`, which leaves it without copies. Such a vector itself is an element of a CVector, not of
///   a std::vector, which would copy it, since its move allocates.
/// - **Braces:** hold values of one type, which T takes. `{nullptr}` and `{&allocator}` choose the allocator; `{0}` in
///   a vector of numbers is an element.
/// - **Failure:** As in CVectorBase. What has no result throws std::bad_alloc where memory runs out or the locked
///   capacity does not suffice, with the vector as it was; without exceptions the program ends with abort().
///   Append(), Insert() and Emplace() tell instead; an element that was to be moved in is then still where it was.
/// - **Cost:** Access, and appending within the capacity, are inline and call no function of the library. Trivially
///   copyable elements move as bytes, all in one call, when the capacity grows.
/// - **Derived:** A class derived from CVector<T> may override the element operations: every operation then calls
///   them, one by one as CVectorBase does.
template <typename T>
class QV_EXPORT CVector : public orvel_internal::CTypedSequence<T, orvel_internal::CVectorOf<T>, CVector<T>>
{
    using Vector = orvel_internal::CVectorOf<T>;
    using Sequence = orvel_internal::CTypedSequence<T, Vector, CVector>;
    using CVectorBase::m_bConstruct;
    using CVectorBase::m_pAllocator;
    using CVectorBase::m_pvStorage;
    using CVectorBase::m_uCapacity;
    using CVectorBase::m_uLockCapacity;
    using CVectorBase::m_uSize;
    friend class orvel_internal::CExactClass;
    friend class CVListBase;
    friend Sequence;

public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;
    using reverse_iterator = orvel_internal::CReverseIterator<iterator>;
    using const_reverse_iterator = orvel_internal::CReverseIterator<const_iterator>;

    /// Empty, with the default allocator.
    template <typename Element = T>
    CVector() : CVector(static_cast<IAllocator*>(nullptr))
    {
    }
    /// Empty; null means the default allocator.
    explicit CVector(IAllocator* pAllocator) : Sequence(pAllocator) {}
    /// bConstruct false: elements are bytes, zeroed when made without a source, never constructed or destroyed.
    /// Not with emplace_back() or Emplace() of a type that has a destructor: the bytes would be those of an object that
    /// is gone.
    CVector(bool bConstruct, IAllocator* pAllocator) : Sequence(bConstruct, pAllocator) {}
    ~CVector() override { EraseAll(); }
    CVector(const CVector& rSrc) : Sequence(rSrc.m_bConstruct, rSrc.m_pAllocator)
    {
        static_cast<void>(ReserveCapacity(rSrc.m_uCapacity));
        CVector::operator=(rSrc);
        m_uLockCapacity = rSrc.m_uLockCapacity;
    }
    CVector& operator=(const CVector& rSrc)
    {
        orvel_internal::RequireCopyable<T>();
        Vector::operator=(rSrc);
        return *this;
    }
    /// Takes everything; rSrc is empty afterwards.
    CVector(CVector&& rSrc) : Sequence(rSrc.m_bConstruct, rSrc.m_pAllocator) { CVectorBase::ExchangeContents(rSrc); }
    /// The two vectors exchange their elements, storage, allocators and locks. Not with one that an element of this one
    /// holds, which would then hold itself: `node = Node(std::move(node.children[0]))` takes it out first.
    CVector& operator=(CVector&& rSrc) noexcept
    {
        CVectorBase::ExchangeContents(rSrc);
        return *this;
    }
    /// The values in braces, all of one type; what lies between two iterators. They throw std::bad_alloc where memory
    /// runs out, and so does an assignment, which then changes nothing, also where the capacity is locked.
    template <typename Value = T, std::enable_if_t<orvel_internal::g_bARE_ELEMENTS<T, Value, CVector>, int> = 0>
    CVector(std::initializer_list<Value> values, IAllocator* pAllocator = nullptr) : Sequence(pAllocator)
    {
        Sequence::AppendRange(values.begin(), values.end());
    }
    template <typename Iterator, typename = orvel_internal::IteratorCategory<Iterator>>
    CVector(Iterator first, Iterator last, IAllocator* pAllocator = nullptr) : Sequence(pAllocator)
    {
        Sequence::AppendRange(first, last);
    }
    /// Replaces the elements. Throws std::bad_alloc and changes nothing where there is no room. The capacity does
    /// not shrink, its lock and the allocator stay, by `= {}` as well.
    template <typename Element = T>
    CVector& operator=(std::initializer_list<T> elements)
    {
        Sequence::AssignList(elements);
        return *this;
    }

    /// How many elements there is memory for.
    unsigned int GetCapacity() const { return m_uCapacity; }
    /// Non-zero: the capacity is locked.
    unsigned int GetLockCapacity() const { return m_uLockCapacity; }
    /// Locks the capacity, or opens it with 0.
    void SetLockCapacity(unsigned int uLockCapacity) { m_uLockCapacity = uLockCapacity; }
    /// How many elements there are.
    unsigned int GetSize() const { return m_uSize; }
    /// Whether there is no element.
    bool IsEmpty() const { return m_uSize == 0; }
    /// GetSize(): the index behind the last element.
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
    using Vector::data;

    /// As in CVectorBase.
    [[nodiscard]] QvResult ReserveCapacity(unsigned int uCapacity) { return Sequence::ReserveCapacity(uCapacity); }
    /// As in CVectorBase.
    QvResult ReduceCapacity(unsigned int uCapacity) { return Sequence::ReduceCapacity(uCapacity); }
    using Sequence::Insert;
    /// Puts uCount elements made by default, or copies of an element, in front of index uIndex. Results as of
    /// CVectorBase.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uCount) { return Sequence::Insert(uIndex, uCount); }
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uCount, const T& rElement)
    {
        return Sequence::Insert(uIndex, uCount, rElement);
    }
    using Sequence::Append;
    /// Insert() at the end. Cost: inline within the capacity.
    [[nodiscard]] QvResult Append(const T& rElement)
    {
        orvel_internal::RequireCopyable<T>();
        const unsigned int uSize = m_uSize;  // read once: the compiler must assume that the store below changes it
        if (uSize == m_uCapacity || !orvel_internal::CExactClass::IsOf(*this))
        {
            return Vector::template AppendGrowing<typename Vector::template Argument<T>>(rElement);
        }
        // The same as ConstructFrom(), without the call.
        void* const pvSlot = begin() + uSize;
        if (std::is_trivially_copyable<T>::value || m_bConstruct) ::new (pvSlot) T(rElement);
        else memcpy(pvSlot, static_cast<const void*>(__builtin_addressof(rElement)), sizeof(T));
        m_uSize = uSize + 1;
        return QV_RES_OK;
    }
    using Vector::Emplace;
    using Vector::emplace_back;
    using Vector::pop_back;
    using Vector::push_back;

    /// Destroys the element at an index, or up to uCount from there on; the capacity stays.
    void Erase(unsigned int uIndex) { Erase(uIndex, 1); }
    void Erase(unsigned int uIndex, unsigned int uCount) { Sequence::Erase(uIndex, uCount); }
    /// Destroys all elements; the capacity stays.
    void EraseAll()
    {
        // Written so that the path without a call has no jump: filling a vector anew begins here.
        if (!Vector::HoldsPlainElements()) CVectorBase::EraseAll();
        m_uSize = 0;
    }
    using Vector::erase;
    using Vector::insert;

    using Sequence::Sort;
    /// Shell sort by a typed comparison, not stable. Trivially copyable elements are moved as bytes.
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
        Vector::SortElements(typed);
    }

    /// Makes an element in raw memory; with ConstructFrom() and Destruct(), what CVectorBase knows of T.
    void Construct(void* pElement) override { Sequence::Construct(pElement); }
    void ConstructFrom(void* pElement, const void* pSource) override { Sequence::ConstructFrom(pElement, pSource); }
    void Destruct(void* pElement) override { Sequence::Destruct(pElement); }

private:
    template <typename NoMembers,
              typename = std::enable_if_t<std::is_same<NoMembers, orvel_internal::SNoMembers>::value>>
    explicit CVector(NoMembers noMembers) : Sequence(noMembers)
    {
    }
};

extern template class CVector<void*>;

#endif
