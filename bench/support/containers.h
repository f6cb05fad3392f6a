#ifndef BENCH_SUPPORT_CONTAINERS_H
#define BENCH_SUPPORT_CONTAINERS_H
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "framework/basic/ordered_sequence.h"

/// The comparison of all container benchmarks, called through a pointer by both sides.
inline int CompareInts(const void* pElement, const void* pKey, unsigned int)
{
    const int nElement = *static_cast<const int*>(pElement);
    const int nKey = *static_cast<const int*>(pKey);
    return nElement < nKey ? -1 : nElement > nKey;
}

/// A pointer that the compiler cannot see through, as it cannot in an application's translation unit.
inline PFNCompareElements OpaqueCompare()
{
    static volatile PFNCompareElements pfnCompare = CompareInts;
    return pfnCompare;
}

/// The same as an order for the standard containers.
struct SCallbackLess
{
    PFNCompareElements pfnCompare;
    bool operator()(int n1, int n2) const { return pfnCompare(&n1, &n2, 0) < 0; }
};

/// 0 to nCount - 1, the same shuffle in every run.
inline std::vector<int> ShuffledInts(std::int64_t nCount)
{
    std::vector<int> numbers(static_cast<std::size_t>(nCount));
    std::uint32_t uState = 1;
    for (std::size_t u = 0; u < numbers.size(); ++u)
    {
        numbers[u] = static_cast<int>(u);
        uState = uState * 1664525u + 1013904223u;
        std::swap(numbers[u], numbers[(uState >> 8) % (u + 1)]);
    }
    return numbers;
}

/// The containers' Shell sort as one writes it by hand over an array of addresses.
inline void ShellSortByHand(std::vector<int*>& rElements, PFNCompareElements pfnCompare)
{
    static const std::size_t auGAPS[] = {1391376, 463792, 198768, 86961, 33936, 13776, 4592, 1968,
                                         861,     336,    112,    48,    21,    7,     3,    1};
    for (const std::size_t uGap : auGAPS)
    {
        for (std::size_t uNext = uGap; uNext < rElements.size(); ++uNext)
        {
            int* const pHeld = rElements[uNext];
            std::size_t uHole = uNext;
            for (; uHole >= uGap && pfnCompare(rElements[uHole - uGap], pHeld, 0) > 0; uHole -= uGap)
            {
                rElements[uHole] = rElements[uHole - uGap];
            }
            rElements[uHole] = pHeld;
        }
    }
}

/// Brings elements back into disorder, untimed where that takes longer than stopping the clock.
template <typename Elements, typename Assign>
void Shuffle(benchmark::State& rState, Elements& rElements, const std::vector<int>& rNumbers, Assign assign)
{
    const bool bUntimed = rNumbers.size() >= 10000;
    if (bUntimed) rState.PauseTiming();
    auto itNumber = rNumbers.begin();
    for (auto& rElement : rElements) assign(rElement, *itNumber++);
    if (bUntimed) rState.ResumeTiming();
}

/// Sorts a container of ours by a callback.
template <typename Container>
void SortOurs(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    Container elements;
    elements.ReserveCapacity(static_cast<unsigned int>(numbers.size()));
    for (const int n : numbers) elements.Append(n);
    for (auto _ : rState)
    {
        Shuffle(rState, elements, numbers, [](int& rnElement, int n) { rnElement = n; });
        elements.Sort(OpaqueCompare(), 0);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

/// Sorts the addresses of elements that were allocated as a container's are.
template <std::size_t NODE_SIZE>
void SortByHand(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    std::vector<std::unique_ptr<unsigned char[]>> nodes;
    std::vector<int*> elements;
    for (const int n : numbers)
    {
        nodes.emplace_back(new unsigned char[NODE_SIZE]);
        elements.push_back(new (nodes.back().get() + NODE_SIZE - sizeof(int)) int(n));
    }
    for (auto _ : rState)
    {
        Shuffle(rState, elements, numbers, [](int* pnElement, int n) { *pnElement = n; });
        ShellSortByHand(elements, OpaqueCompare());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

#endif
