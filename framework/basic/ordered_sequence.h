#ifndef FRAMEWORK_BASIC_ORDERED_SEQUENCE_H
#define FRAMEWORK_BASIC_ORDERED_SEQUENCE_H

/// Sorting and searching that the containers share, over whatever gives access to their elements. Internal: the
/// containers' own sources include it, and the order in which the callbacks run is part of their contract.
namespace orvel_internal
{
/// Shell sort. Access holds one element aside:
///     Hold(i)           takes a copy of element i
///     IsAfterHeld(i)    whether element i orders behind the held one
///     Shift(from, to)   element `from` replaces element `to`
///     Place(i)          the held element replaces element i, and is no longer held
template <typename Access>
void ShellSort(unsigned int uSize, Access&& rAccess)
{
    // Sedgewick, "A new upper bound for Shellsort", J. Algorithms 7 (1986), largest gap first.
    static constexpr unsigned int auGAPS[] = {1391376, 463792, 198768, 86961, 33936, 13776, 4592, 1968,
                                              861,     336,    112,    48,    21,    7,     3,    1};
    for (const unsigned int uGap : auGAPS)
    {
        for (unsigned int uNext = uGap; uNext < uSize; ++uNext)
        {
            rAccess.Hold(uNext);
            unsigned int uHole = uNext;
            while (uHole >= uGap && rAccess.IsAfterHeld(uHole - uGap))
            {
                rAccess.Shift(uHole - uGap, uHole);
                uHole -= uGap;
            }
            rAccess.Place(uHole);
        }
    }
}

/// Index of the first of uSize ordered elements that does not order before the key, uSize when all do.
/// compareAt(i) tells how element i orders against the key. Of a run of equal elements the search may meet any, and
/// then walks to the first: k equal elements cost up to k more comparisons.
template <typename CompareAt>
unsigned int LowerBound(unsigned int uSize, CompareAt&& compareAt)
{
    const auto firstEqual = [&](unsigned int uIndex)
    {
        while (uIndex > 0 && compareAt(uIndex - 1) == 0) --uIndex;
        return uIndex;
    };
    if (uSize == 0) return 0;
    if (uSize == 1) return firstEqual(compareAt(0) < 0 ? 1 : 0);

    unsigned int uLow = 0;
    unsigned int uHigh = uSize - 1;
    unsigned int uMid = uHigh / 2;
    while (uHigh - uLow > 1)
    {
        // Two calls on purpose: their number and order are published.
        if (compareAt(uMid) > 0) uHigh = uMid;
        else if (compareAt(uMid) < 0) uLow = uMid;
        else return firstEqual(uMid);
        uMid = uLow + (uHigh - uLow) / 2;
    }
    if (compareAt(uMid) >= 0) return uMid;
    if (uHigh == uLow || compareAt(uMid + 1) >= 0) return uMid + 1;
    return uMid + 2;
}

/// Index of the best of uSize elements, the first of equal ones; 0 when there is none. isBetter(i, best) tells whether
/// element i is strictly better than the best so far.
template <typename IsBetter>
unsigned int ExtremeIndex(unsigned int uSize, IsBetter&& isBetter)
{
    unsigned int uBest = 0;
    for (unsigned int uIndex = 1; uIndex < uSize; ++uIndex)
    {
        if (isBetter(uIndex, uBest)) uBest = uIndex;
    }
    return uBest;
}
}  // namespace orvel_internal

#endif
