#ifndef BENCH_SUPPORT_CONTAINERS_H
#define BENCH_SUPPORT_CONTAINERS_H
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "framework/basic/allocator.h"
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

/// Blocks side by side, all taken back at once by Reset(): every iteration of a benchmark finds its elements at the same
/// addresses.
class CArena : public IAllocator
{
public:
    explicit CArena(std::size_t uBytes) : m_memory(uBytes), m_uUsed(0) {}

    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        SBlock* pFirst = nullptr;
        SBlock** ppLink = &pFirst;
        for (unsigned int u = 0; u < uCount; ++u)
        {
            *ppLink = new (&m_memory.at(m_uUsed)) SBlock{nullptr};
            if (ppLast != nullptr) *ppLast = *ppLink;
            ppLink = &(*ppLink)->pNext;
            m_uUsed += (uSize + 15) / 16 * 16;
        }
        return pFirst;
    }
    void Release(SBlock*, unsigned int) override {}
    void Reset() { m_uUsed = 0; }

private:
    std::vector<unsigned char> m_memory;
    std::size_t m_uUsed;
};

/// Sorts a container of ours, made anew in the same disorder each time, by a callback.
template <typename Container>
void SortOurs(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CArena arena(numbers.size() * 64);
    std::optional<Container> elements;
    for (auto _ : rState)
    {
        rState.PauseTiming();
        elements.reset();
        arena.Reset();
        elements.emplace(&arena);
        elements->ReserveCapacity(static_cast<unsigned int>(numbers.size()));
        for (const int n : numbers) elements->Append(n);
        rState.ResumeTiming();
        elements->Sort(OpaqueCompare(), 0);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
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

/// Sorts the addresses of elements that lie as far apart as a container's.
template <std::size_t STRIDE>
void SortByHand(benchmark::State& rState)
{
    struct alignas(16) SSlot
    {
        unsigned char auHead[STRIDE - 16];
        int nNumber;
    };
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    std::vector<SSlot> slots(numbers.size());
    std::vector<int*> elements(numbers.size());
    for (auto _ : rState)
    {
        rState.PauseTiming();
        for (std::size_t u = 0; u < numbers.size(); ++u)
        {
            slots[u].nNumber = numbers[u];
            elements[u] = &slots[u].nNumber;
        }
        rState.ResumeTiming();
        ShellSortByHand(elements, OpaqueCompare());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

#endif
