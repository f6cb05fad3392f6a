#ifndef FRAMEWORK_BASIC_INTERNAL_ORDERED_SEQUENCE_H
#define FRAMEWORK_BASIC_INTERNAL_ORDERED_SEQUENCE_H
#include <stddef.h>
#include <string.h>

#include "framework/kernel/result.h"

/// Orders a stored element against a key: negative, 0 or positive as it comes before, with or after it. uParam is
/// passed on unchanged. It must have no side effects: searches may call it twice for one element.
typedef int (*PFNCompareElements)(const void* pElement, const void* pKey, unsigned int uParam);

/// Sorting and searching that the containers share. Internal: the order in which comparisons run is part of the
/// contract of the containers, whose headers are the ones to include.
///
/// Two notions are common to all of it. A comparison is called as compare(pElement, pKey) and returns as
/// PFNCompareElements does. Element access is called as at(i) and returns the address of element i: constant time in
/// arrays, a walk from the element last asked for in lists.
namespace orvel_internal
{
/// A callback and the number that it is called with.
struct SComparison
{
    PFNCompareElements pfnCompare;
    unsigned int uParam;

    int operator()(const void* pElement, const void* pKey) const { return pfnCompare(pElement, pKey, uParam); }
};

/// The scratch memory of a sort. (std::unique_ptr needs <memory>, which takes ten times as long as this header.)
template <typename T>
class CScratchArray
{
public:
    explicit CScratchArray(size_t uCount) : m_pFirst(new T[uCount]) {}
    CScratchArray(const CScratchArray&) = delete;
    CScratchArray& operator=(const CScratchArray&) = delete;
    ~CScratchArray() { delete[] m_pFirst; }

    T* Get() const { return m_pFirst; }

private:
    T* const m_pFirst;
};

/// Searches one sequence with one comparison. Which elements it compares, and how often, is part of the contract of the
/// containers. Arrays and lists differ in LowerBound() of a single element (index 0):
/// ```
///                                      the element orders before the key    it does not
///   At::ms_bASKS_SINGLE_TWICE: arrays   compares it twice, result 1          compares it once, result 0
///   not: lists                         compares it once, result 1           compares it once, result 0
/// ```
template <typename At, typename Compare>
class CSearch
{
public:
    CSearch(unsigned int uSize, At at, Compare compare) : m_uSize(uSize), m_at(at), m_compare(compare) {}

    /// Index of the first element from uStartIndex on that compares equal, the size when none does.
    unsigned int Find(unsigned int uStartIndex, const void* pKey)
    {
        for (unsigned int uIndex = uStartIndex; uIndex < m_uSize; ++uIndex)
        {
            if (CompareAt(uIndex, pKey) == 0) return uIndex;
        }
        return m_uSize;
    }

    /// Index of the first of the ordered elements that does not order before the key, the size when all do. The search
    /// may meet any of a run of equal elements and then walks to the first of them: k equal elements cost up to k more
    /// comparisons.
    unsigned int LowerBound(const void* pKey)
    {
        if (m_uSize == 0) return 0;
        if (m_uSize == 1)
        {
            const unsigned int uIndex = CompareAt(0, pKey) < 0 ? 1 : 0;
            return At::ms_bASKS_SINGLE_TWICE ? FirstOfRun(uIndex, pKey) : uIndex;
        }

        unsigned int uLow = 0;
        unsigned int uHigh = m_uSize - 1;
        unsigned int uMid = uHigh / 2;
        while (uHigh - uLow > 1)
        {
            // Two calls: their number and order are part of the contract, pinned by
            // LowerBound.AsksThePublishedQuestions.
            if (CompareAt(uMid, pKey) > 0) uHigh = uMid;
            else if (CompareAt(uMid, pKey) < 0) uLow = uMid;
            else return FirstOfRun(uMid, pKey);
            uMid = uLow + (uHigh - uLow) / 2;
        }
        if (CompareAt(uMid, pKey) >= 0) return uMid;
        if (uHigh == uLow || CompareAt(uMid + 1, pKey) >= 0) return uMid + 1;
        return uMid + 2;
    }

    /// Index of the first of the ordered elements that compares equal, the size when there is none.
    unsigned int FindSorted(const void* pKey)
    {
        const unsigned int uIndex = LowerBound(pKey);
        return IsEqualAt(uIndex, pKey) ? uIndex : m_uSize;
    }

    /// Whether uIndex is an element, and one that compares equal.
    bool IsEqualAt(unsigned int uIndex, const void* pKey) { return uIndex < m_uSize && CompareAt(uIndex, pKey) == 0; }

    /// Index of the smallest (largest) element, the first of equal ones; 0 when there is none.
    unsigned int MinIndex()
    {
        return ExtremeIndex([](int nOrder) { return nOrder < 0; });
    }
    unsigned int MaxIndex()
    {
        return ExtremeIndex([](int nOrder) { return nOrder > 0; });
    }

private:
    int CompareAt(unsigned int uIndex, const void* pKey) { return m_compare(m_at(uIndex), pKey); }

    unsigned int FirstOfRun(unsigned int uIndex, const void* pKey)
    {
        while (uIndex > 0 && CompareAt(uIndex - 1, pKey) == 0) --uIndex;
        return uIndex;
    }

    template <typename IsBetter>
    unsigned int ExtremeIndex(IsBetter isBetter)
    {
        if (m_uSize == 0) return 0;
        unsigned int uBest = 0;
        const void* pBest = m_at(0);
        for (unsigned int uIndex = 1; uIndex < m_uSize; ++uIndex)
        {
            const void* const pElement = m_at(uIndex);
            if (!isBetter(m_compare(pElement, pBest))) continue;
            uBest = uIndex;
            pBest = pElement;
        }
        return uBest;
    }

    unsigned int m_uSize;
    At m_at;
    Compare m_compare;
};

/// Opens a slot at the place of pKey in an ordered container without an equal element, as its AllocateSorted() does.
template <typename Container, typename Search>
QvResult AllocateSorted(Container& rContainer, Search search, const void* pKey, void** ppElement)
{
    if (ppElement == nullptr) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uIndex = search.LowerBound(pKey);
    if (search.IsEqualAt(uIndex, pKey)) return QV_RES_ALREADY_EXISTS;
    *ppElement = rContainer.Allocate(uIndex);
    return *ppElement != nullptr ? QV_RES_OK : QV_RES_FAIL;
}

/// Shell sort of uSize elements that lie side by side, uStride bytes apart. The class Elements knows how to compare and
/// move them, and can hold one of them aside:
///     Hold(p)           takes a copy of the element at p
///     IsAfterHeld(p)    whether it orders behind the held one
///     Shift(from, to)   the element at `from` replaces the one at `to`
///     Place(p)          the held element replaces the one at p, and is no longer held
template <typename Elements>
void ShellSort(void* pvFirst, size_t uSize, size_t uStride, Elements elements)
{
    // J. Incerpi, R. Sedgewick, "Improved upper bounds on Shellsort", J. Comput. Syst. Sci. 31 (1985), largest gap
    // first.
    static constexpr size_t auGAPS[] = {1391376, 463792, 198768, 86961, 33936, 13776, 4592, 1968,
                                        861,     336,    112,    48,    21,    7,     3,    1};
    unsigned char* const puFirst = static_cast<unsigned char*>(pvFirst);
    for (const size_t uGap : auGAPS)
    {
        if (uGap >= uSize) continue;
        const size_t uStep = uGap * uStride;
        unsigned char* const puSecondOfRun = puFirst + uStep;
        unsigned char* const puEnd = puFirst + uSize * uStride;
        for (unsigned char* puNext = puSecondOfRun; puNext != puEnd; puNext += uStride)
        {
            elements.Hold(puNext);
            unsigned char* puHole = puNext;
            while (puHole >= puSecondOfRun && elements.IsAfterHeld(puHole - uStep))
            {
                elements.Shift(puHole - uStep, puHole);
                puHole -= uStep;
            }
            elements.Place(puHole);
        }
    }
}

/// The addresses of elements, which stay where they are.
template <typename Compare>
class CPointerElements
{
public:
    explicit CPointerElements(const Compare& rCompare) : m_pHeld(nullptr), m_compare(rCompare) {}
    void Hold(const void* p) { m_pHeld = Load(p); }
    bool IsAfterHeld(const void* p) const { return m_compare(Load(p), m_pHeld) > 0; }
    void Shift(const void* pFrom, void* pTo) { memcpy(pTo, pFrom, sizeof(void*)); }
    void Place(void* p) { memcpy(p, &m_pHeld, sizeof(void*)); }

private:
    static void* Load(const void* p) { return *static_cast<void* const*>(p); }

    void* m_pHeld;
    Compare m_compare;
};

/// Elements that are bytes. Those whose SIZE the compiler knows are moved as machine words; SIZE 0 stands for any
/// other.
template <size_t SIZE, typename Compare>
class CByteElements
{
public:
    CByteElements(size_t uSize, void* pHeld, const Compare& rCompare)
        : m_uSize(uSize), m_pHeld(pHeld), m_compare(rCompare)
    {
    }
    void Hold(const void* p) { Move(p, m_pHeld); }
    bool IsAfterHeld(const void* p) const { return m_compare(p, m_pHeld) > 0; }
    void Shift(const void* pFrom, void* pTo) { Move(pFrom, pTo); }
    void Place(void* p) { Move(m_pHeld, p); }

private:
    void Move(const void* pFrom, void* pTo) { memcpy(pTo, pFrom, SIZE != 0 ? SIZE : m_uSize); }

    size_t m_uSize;
    void* m_pHeld;
    Compare m_compare;
};

/// Elements that their container makes, copies and destroys.
template <typename Container, typename Compare>
class CConstructedElements
{
public:
    CConstructedElements(Container& rContainer, void* pHeld, const Compare& rCompare)
        : m_rContainer(rContainer), m_pHeld(pHeld), m_compare(rCompare)
    {
    }
    void Hold(const void* p) { m_rContainer.ConstructFrom(m_pHeld, p); }
    bool IsAfterHeld(const void* p) const { return m_compare(p, m_pHeld) > 0; }
    void Shift(const void* pFrom, void* pTo)
    {
        m_rContainer.Destruct(pTo);
        m_rContainer.ConstructFrom(pTo, pFrom);
    }
    void Place(void* p)
    {
        Shift(m_pHeld, p);
        m_rContainer.Destruct(m_pHeld);
    }

private:
    Container& m_rContainer;
    void* m_pHeld;
    Compare m_compare;
};

/// Sorts an array of addresses by the elements there.
template <typename Compare>
void SortPointers(void** ppElements, size_t uSize, const Compare& rCompare)
{
    ShellSort(ppElements, uSize, sizeof(void*), CPointerElements<Compare>(rCompare));
}

/// Sorts elements of SIZE bytes (0: of uElementSize).
template <size_t SIZE, typename Compare>
void SortBytes(void* pvStorage, size_t uSize, size_t uElementSize, void* pHeld, const Compare& rCompare)
{
    ShellSort(pvStorage, uSize, SIZE != 0 ? SIZE : uElementSize,
              CByteElements<SIZE, Compare>(uElementSize, pHeld, rCompare));
}
}  // namespace orvel_internal

#endif
