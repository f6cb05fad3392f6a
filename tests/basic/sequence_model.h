#ifndef TESTS_BASIC_SEQUENCE_MODEL_H
#define TESTS_BASIC_SEQUENCE_MODEL_H
#include <algorithm>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "tests/support/test_seed.h"

/// The published sorting and searching algorithms once more, written down step by step, to check the number and order
/// of everything that a container does while it sorts or searches.

/// What happens to the elements during a sort. The one that is held aside needs no index.
struct SSortStep
{
    enum EWhat
    {
        eHOLD,     // element uFirst is copied aside
        eCOMPARE,  // element uFirst is compared with the held one
        eSHIFT,    // element uFirst replaces element uSecond
        ePLACE     // the held one replaces element uFirst
    };
    EWhat eWhat;
    unsigned int uFirst;
    unsigned int uSecond;

    bool operator==(const SSortStep& rOther) const
    {
        return eWhat == rOther.eWhat && uFirst == rOther.uFirst && uSecond == rOther.uSecond;
    }
};

inline std::ostream& operator<<(std::ostream& rStream, const SSortStep& rStep)
{
    static const char* const apszNAMES[] = {"hold", "compare", "shift", "place"};
    return rStream << apszNAMES[rStep.eWhat] << ' ' << rStep.uFirst << ' ' << rStep.uSecond;
}

/// Sorts the values as published and tells each step.
inline void ModelShellSort(std::vector<int>& rValues, const std::function<void(const SSortStep&)>& step)
{
    const long nSize = static_cast<long>(rValues.size());
    const auto tell = [&](SSortStep::EWhat eWhat, long nFirst, long nSecond) {
        step({eWhat, static_cast<unsigned int>(nFirst), static_cast<unsigned int>(nSecond)});
    };
    const auto at = [&](long nIndex) -> int& { return rValues[static_cast<std::size_t>(nIndex)]; };
    for (const long nGap : {1391376, 463792, 198768, 86961, 33936, 13776, 4592, 1968, 861, 336, 112, 48, 21, 7, 3, 1})
    {
        if (nGap > nSize - 1) continue;
        for (long i = nGap; i <= nSize - 1; ++i)
        {
            const int nTemp = at(i);
            tell(SSortStep::eHOLD, i, 0);
            long j = i;
            while (j >= nGap)
            {
                tell(SSortStep::eCOMPARE, j - nGap, 0);
                if (!(at(j - nGap) > nTemp)) break;
                at(j) = at(j - nGap);
                tell(SSortStep::eSHIFT, j - nGap, j);
                j -= nGap;
            }
            at(j) = nTemp;
            tell(SSortStep::ePLACE, j, 0);
        }
    }
}

inline std::vector<SSortStep> ModelShellSortSteps(std::vector<int> values)
{
    std::vector<SSortStep> steps;
    ModelShellSort(values, [&](const SSortStep& rStep) { steps.push_back(rStep); });
    return steps;
}

/// What a search found, and the elements that it looked at, in order.
struct SSearch
{
    unsigned int uResult;
    std::vector<unsigned int> asked;
};

/// The published binary search for the first element that does not order before the key.
inline SSearch ModelLowerBound(const std::vector<int>& values, int nKey)
{
    SSearch search{0, {}};
    const auto c = [&](unsigned int u)
    {
        search.asked.push_back(u);
        return values.at(u) < nKey ? -1 : values.at(u) > nKey ? 1 : 0;
    };
    const auto walkDown = [&](unsigned int u)
    {
        while (u > 0 && c(u - 1) == 0) --u;
        search.uResult = u;
        return search;
    };
    const unsigned int uSize = static_cast<unsigned int>(values.size());
    if (uSize == 0) return search;
    // The walk down applies to the single element, too: a smaller one is asked again from index 1.
    if (uSize == 1) return walkDown(c(0) < 0 ? 1 : 0);
    unsigned int uLow = 0;
    unsigned int uHigh = uSize - 1;
    unsigned int uMid = (uSize - 1) / 2;
    while (uHigh - uLow > 1)
    {
        const bool bAbove = c(uMid) > 0;
        const bool bBelow = !bAbove && c(uMid) < 0;
        if (!bAbove && !bBelow) return walkDown(uMid);
        (bAbove ? uHigh : uLow) = uMid;
        uMid = uLow + (uHigh - uLow) / 2;
    }
    if (c(uMid) >= 0) search.uResult = uMid;
    else if (uHigh == uLow) search.uResult = uMid + 1;
    else search.uResult = c(uMid + 1) >= 0 ? uMid + 1 : uMid + 2;
    return search;
}

/// uCount values from 0 to nLimit - 1.
inline std::vector<int> RandomValues(std::mt19937& rRng, unsigned int uCount, int nLimit)
{
    std::vector<int> values(uCount);
    for (int& rnValue : values) rnValue = static_cast<int>(Below(rRng, static_cast<std::size_t>(nLimit)));
    return values;
}

#endif
