#ifndef BENCH_SUPPORT_CONTAINERS_H
#define BENCH_SUPPORT_CONTAINERS_H
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/ordered_sequence.h"

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

/// Puts numbers into another order, a new one at each call, so that branch prediction cannot learn it.
inline void Reshuffle(std::vector<int>& rNumbers, std::uint32_t& ruState)
{
    for (std::size_t u = rNumbers.size(); u > 1; --u)
    {
        ruState = ruState * 1664525u + 1013904223u;
        std::swap(rNumbers[u - 1], rNumbers[(ruState >> 8) % u]);
    }
}

/// The containers' Shell sort as one writes it by hand for a known type; a function of its own, as ours is.
/// isAfter(a, b) tells whether element a orders behind element b.
template <typename Element, typename IsAfter>
[[gnu::noinline]] void ShellSortByHand(Element* pElements, std::size_t uSize, IsAfter isAfter)
{
    static constexpr std::size_t auGAPS[] = {1391376, 463792, 198768, 86961, 33936, 13776, 4592, 1968,
                                             861,     336,    112,    48,    21,    7,     3,    1};
    for (const std::size_t uGap : auGAPS)
    {
        for (std::size_t uNext = uGap; uNext < uSize; ++uNext)
        {
            const Element held = pElements[uNext];
            std::size_t uHole = uNext;
            for (; uHole >= uGap && isAfter(pElements[uHole - uGap], held); uHole -= uGap)
            {
                pElements[uHole] = pElements[uHole - uGap];
            }
            pElements[uHole] = held;
        }
    }
}

/// Small blocks side by side, 32 bytes apart as malloc() places them: elements lie at the same places in every run,
/// while the heap could give blocks in any order.
class CArena : public IAllocator
{
public:
    explicit CArena(std::int64_t nBlocks) : m_slots(static_cast<std::size_t>(nBlocks)), m_uUsed(0) {}

    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        if (uSize > sizeof(SSlot) || uCount > m_slots.size() - m_uUsed) return nullptr;
        SBlock* pFirst = nullptr;
        for (SBlock** ppLink = &pFirst; uCount != 0; --uCount, ppLink = &(*ppLink)->pNext)
        {
            *ppLink = new (&m_slots[m_uUsed++]) SBlock{nullptr};
            if (ppLast != nullptr) *ppLast = *ppLink;
        }
        return pFirst;
    }
    void Release(SBlock*, unsigned int) override {}

private:
    struct alignas(16) SSlot
    {
        unsigned char auBytes[32];
    };

    std::vector<SSlot> m_slots;
    std::size_t m_uUsed;
};

/// A container of ours with numbers in disorder, to which they return however they were sorted.
template <typename Container>
class CDisorder
{
public:
    explicit CDisorder(std::int64_t nCount)
        : m_arena(nCount), m_container(&m_arena), m_numbers(ShuffledInts(nCount)), m_uStep(0), m_uNext(0)
    {
        static_cast<void>(m_container.ReserveCapacity(static_cast<unsigned int>(nCount)));
        for (const int n : m_numbers) static_cast<void>(m_container.Append(n));
        for (int& rn : m_container) m_elements.push_back(&rn);
    }
    Container& GetContainer() { return m_container; }
    /// The addresses of the elements, as they were made.
    const std::vector<int*>& GetElements() const { return m_elements; }

    /// Assigns the numbers to the elements in the order in which they were made, so that no container pays for finding
    /// them. Each call begins at another number, further on by a step that grows, so that branch prediction cannot
    /// learn the comparisons.
    void Restore()
    {
        m_uStep = m_uStep + 1 < m_numbers.size() ? m_uStep + 1 : 1;
        m_uNext = (m_uNext + m_uStep) % m_numbers.size();
        for (int* const pnElement : m_elements)
        {
            *pnElement = m_numbers[m_uNext];
            if (++m_uNext == m_numbers.size()) m_uNext = 0;
        }
    }

private:
    CArena m_arena;
    Container m_container;
    std::vector<int> m_numbers;
    std::vector<int*> m_elements;
    std::size_t m_uStep;
    std::size_t m_uNext;
};

/// Sorts a container of ours by a callback.
template <typename Container>
void SortOurs(benchmark::State& rState)
{
    CDisorder<Container> disorder(rState.range(0));
    for (auto _ : rState)
    {
        disorder.GetContainer().Sort(OpaqueCompare(), 0);
        disorder.Restore();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

/// Sorts the addresses of the same elements.
template <typename Container>
void SortByHand(benchmark::State& rState)
{
    CDisorder<Container> disorder(rState.range(0));
    std::vector<int*> order = disorder.GetElements();
    const PFNCompareElements pfnCompare = OpaqueCompare();
    for (auto _ : rState)
    {
        ShellSortByHand(order.data(), order.size(),
                        [=](const int* pn1, const int* pn2) { return pfnCompare(pn1, pn2, 0) > 0; });
        disorder.Restore();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

#endif
