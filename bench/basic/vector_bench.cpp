#include "framework/basic/vector.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "bench/support/containers.h"

namespace
{
// Both sides reserve first: what is measured is the append, not the growth. Both are filled through a reference, as
// vectors that are members of something are.
template <typename Vector>
void Escape(Vector& rVector)
{
    Vector* pVector = &rVector;
    benchmark::DoNotOptimize(pVector);
}

void BM_AppendOurs(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    CVector<int> vector;
    static_cast<void>(vector.ReserveCapacity(uCount));
    Escape(vector);
    for (auto _ : rState)
    {
        vector.EraseAll();
        for (unsigned int u = 0; u < uCount; ++u) static_cast<void>(vector.Append(static_cast<int>(u)));
        benchmark::DoNotOptimize(vector.begin());
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_AppendStd(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    std::vector<int> vector;
    vector.reserve(uCount);
    Escape(vector);
    for (auto _ : rState)
    {
        vector.clear();
        for (unsigned int u = 0; u < uCount; ++u) vector.push_back(static_cast<int>(u));
        benchmark::DoNotOptimize(vector.data());
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// Nothing is reserved. Our growth is exact, so that every append asks for a block and moves what is there; the peer
// does the same by hand.
void BM_GrowOurs(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        CVector<int> vector;
        for (int n = 0; n < rState.range(0); ++n) static_cast<void>(vector.Append(n));
        benchmark::DoNotOptimize(vector.begin());
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_GrowHand(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        int* pnElements = nullptr;
        for (std::size_t u = 0; u < static_cast<std::size_t>(rState.range(0)); ++u)
        {
            int* const pnGrown = new int[u == 0 ? 2 : u + 1];
            if (u != 0) memcpy(pnGrown, pnElements, u * sizeof(int));
            delete[] pnElements;
            pnElements = pnGrown;
            pnElements[u] = static_cast<int>(u);
            benchmark::ClobberMemory();
        }
        benchmark::DoNotOptimize(pnElements);
        delete[] pnElements;
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// Nothing is reserved, and both sides grow by a factor.
template <typename Vector>
void BM_PushBack(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        Vector vector;
        Escape(vector);
        for (int n = 0; n < rState.range(0); ++n) vector.push_back(n);
        benchmark::DoNotOptimize(vector.data());
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <typename Vector>
void BM_BackInserter(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    for (auto _ : rState)
    {
        Vector vector;
        Escape(vector);
        std::copy(numbers.begin(), numbers.end(), std::back_inserter(vector));
        benchmark::DoNotOptimize(vector.data());
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// Growth moves what has been appended.
template <typename Vector>
void BM_PushBackTexts(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        Vector vector;
        Escape(vector);
        for (int n = 0; n < rState.range(0); ++n) vector.push_back(std::string(40, 'x'));
        benchmark::DoNotOptimize(vector.data());
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_AccessOurs(benchmark::State& rState)
{
    CVector<int> vector;
    static_cast<void>(vector.Insert(0, static_cast<unsigned int>(rState.range(0)), 3));
    for (auto _ : rState)
    {
        int nSum = 0;
        for (unsigned int u = 0; u < vector.GetSize(); ++u) nSum += *vector.GetAt(u);
        benchmark::DoNotOptimize(nSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// at() checks the index, as GetAt() does.
void BM_AccessStd(benchmark::State& rState)
{
    std::vector<int> vector(static_cast<std::size_t>(rState.range(0)), 3);
    for (auto _ : rState)
    {
        int nSum = 0;
        for (std::size_t u = 0; u < vector.size(); ++u) nSum += vector.at(u);
        benchmark::DoNotOptimize(nSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <unsigned int SIZE>
struct SElement
{
    unsigned int uKey;
    unsigned char auRest[SIZE - sizeof(unsigned int)];
};
template <>
struct SElement<4>
{
    unsigned int uKey;
};

int CompareKeys(const void* pElement, const void* pKey, unsigned int)
{
    const unsigned int uLeft = *static_cast<const unsigned int*>(pElement);
    const unsigned int uRight = *static_cast<const unsigned int*>(pKey);
    return uLeft < uRight ? -1 : uLeft > uRight;
}

template <typename Element>
std::vector<Element> Shuffled(std::int64_t nCount)
{
    std::vector<Element> elements(static_cast<std::size_t>(nCount));
    unsigned int uKey = 1;
    for (Element& rElement : elements) rElement.uKey = uKey = uKey * 1664525u + 1013904223u;
    return elements;
}

template <unsigned int SIZE>
void BM_SortOurs(benchmark::State& rState)
{
    const auto source = Shuffled<SElement<SIZE>>(rState.range(0));
    CVectorBase vector(SIZE, false, nullptr);
    static_cast<void>(vector.ReserveCapacity(static_cast<unsigned int>(source.size())));
    vector.Resize(static_cast<unsigned int>(source.size()));
    for (auto _ : rState)
    {
        memcpy(vector.GetAt(0), source.data(), source.size() * SIZE);
        vector.Sort(CompareKeys, 0);
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// The same algorithm, written by hand for a known type and with the same callback.
template <unsigned int SIZE>
void BM_SortHand(benchmark::State& rState)
{
    const auto source = Shuffled<SElement<SIZE>>(rState.range(0));
    auto elements = source;
    PFNCompareElements pfnCompare = CompareKeys;
    benchmark::DoNotOptimize(pfnCompare);
    for (auto _ : rState)
    {
        elements = source;
        ShellSortByHand(elements.data(), elements.size(),
                        [=](const SElement<SIZE>& r1, const SElement<SIZE>& r2)
                        { return pfnCompare(&r1, &r2, 0) > 0; });
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}
}  // namespace

BENCHMARK(BM_AppendOurs)->Name("vector append/ours")->Arg(16)->Arg(1000)->Arg(100000);
BENCHMARK(BM_AppendStd)->Name("vector append/std::vector")->Arg(16)->Arg(1000)->Arg(100000);
BENCHMARK(BM_GrowOurs)->Name("vector append exactly/ours")->Arg(16)->Arg(1000);
BENCHMARK(BM_GrowHand)->Name("vector append exactly/by hand")->Arg(16)->Arg(1000);
BENCHMARK(BM_PushBack<CVector<int>>)->Name("vector push_back/ours")->Arg(16)->Arg(1000)->Arg(50000);
BENCHMARK(BM_PushBack<std::vector<int>>)->Name("vector push_back/std::vector")->Arg(16)->Arg(1000)->Arg(50000);
BENCHMARK(BM_BackInserter<CVector<int>>)->Name("vector back_inserter/ours")->Arg(50000);
BENCHMARK(BM_BackInserter<std::vector<int>>)->Name("vector back_inserter/std::vector")->Arg(50000);
BENCHMARK(BM_PushBackTexts<CVector<std::string>>)->Name("vector push_back of texts/ours")->Arg(1000);
BENCHMARK(BM_PushBackTexts<std::vector<std::string>>)->Name("vector push_back of texts/std::vector")->Arg(1000);
BENCHMARK(BM_AccessOurs)->Name("vector access/ours")->Arg(16)->Arg(1000)->Arg(100000);
BENCHMARK(BM_AccessStd)->Name("vector access/std::vector")->Arg(16)->Arg(1000)->Arg(100000);
BENCHMARK(BM_SortOurs<4>)->Name("vector sort 4 bytes/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_SortHand<4>)->Name("vector sort 4 bytes/by hand")->Arg(1000)->Arg(100000);
BENCHMARK(BM_SortOurs<8>)->Name("vector sort 8 bytes/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_SortHand<8>)->Name("vector sort 8 bytes/by hand")->Arg(1000)->Arg(100000);
BENCHMARK(BM_SortOurs<16>)->Name("vector sort 16 bytes/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_SortHand<16>)->Name("vector sort 16 bytes/by hand")->Arg(1000)->Arg(100000);
