#ifndef FUZZ_MODELS_ORDERED_TWIN_H
#define FUZZ_MODELS_ORDERED_TWIN_H

/// What the twins of the sequences have in common, written step by step.
namespace twin
{
constexpr unsigned int g_auGAPS[] = {1391376, 463792, 198768, 86961, 33936, 13776, 4592, 1968,
                                     861,     336,    112,    48,    21,    7,     3,    1};

/// The lower bound; c(i) compares element i with the key. In a sequence of one element the walk to the first of equal
/// elements is left out by the list.
template <typename Comparison>
unsigned int LowerBound(unsigned int uSize, bool bWalkFromSingle, Comparison c)
{
    if (uSize == 0) return 0;
    unsigned int uFound = 0;
    if (uSize == 1)
    {
        uFound = c(0) < 0 ? 1 : 0;
        if (!bWalkFromSingle) return uFound;
    }
    else
    {
        unsigned int uLow = 0;
        unsigned int uHigh = uSize - 1;
        unsigned int uMid = (uSize - 1) / 2;
        bool bMatch = false;
        while (uHigh - uLow > 1)
        {
            if (c(uMid) > 0) uHigh = uMid;
            else if (c(uMid) < 0) uLow = uMid;
            else
            {
                bMatch = true;
                break;
            }
            uMid = uLow + (uHigh - uLow) / 2;
        }
        if (!bMatch)
        {
            if (c(uMid) >= 0) return uMid;
            if (uHigh == uLow) return uMid + 1;
            if (c(uMid + 1) >= 0) return uMid + 1;
            return uMid + 2;
        }
        uFound = uMid;
    }
    while (uFound > 0 && c(uFound - 1) == 0) --uFound;
    return uFound;
}

/// The first element that compares equal, at or behind its lower bound.
template <typename Comparison>
unsigned int FirstEqual(unsigned int uSize, bool bWalkFromSingle, Comparison c)
{
    const unsigned int uIndex = LowerBound(uSize, bWalkFromSingle, c);
    return uIndex < uSize && c(uIndex) == 0 ? uIndex : uSize;
}

/// The first smallest (nSign -1) or largest (nSign 1) element; compare(i, j) compares two of them.
template <typename Comparison>
unsigned int Extreme(unsigned int uSize, int nSign, Comparison compare)
{
    unsigned int uBest = 0;
    for (unsigned int u = 1; u < uSize; ++u)
    {
        const int nResult = compare(u, uBest);
        if (nSign < 0 ? nResult < 0 : nResult > 0) uBest = u;
    }
    return uBest;
}

/// A Shell sort of addresses.
template <typename Pointer, typename Comparison>
void ShellSortPointers(Pointer* pPointers, unsigned int uSize, Comparison compare)
{
    for (const unsigned int uGap : g_auGAPS)
    {
        if (uGap > uSize - 1) continue;
        for (unsigned int i = uGap; i <= uSize - 1; ++i)
        {
            const Pointer held = pPointers[i];
            unsigned int j = i;
            while (j >= uGap && compare(pPointers[j - uGap], held) > 0)
            {
                pPointers[j] = pPointers[j - uGap];
                j -= uGap;
            }
            pPointers[j] = held;
        }
    }
}
}  // namespace twin

#endif
