// How the cost of an element grows with the number of elements, for the page of figures.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "framework/basic/aatree.h"
#include "framework/basic/blob.h"
#include "framework/basic/list.h"
#include "framework/basic/map.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"

namespace
{
/// Number uNth of a sequence that visits every 32-bit number once, in an order that no cache foresees.
std::uint32_t ScatteredKey(std::uint32_t uNth)
{
    return uNth * 2654435761u;
}

void Add(CAATree<std::uint32_t>& rTree, std::uint32_t uKey)
{
    benchmark::DoNotOptimize(rTree.Insert(uKey));
}
void Add(std::set<std::uint32_t>& rSet, std::uint32_t uKey)
{
    rSet.insert(uKey);
}
void Add(CMap<std::uint32_t, std::uint32_t>& rMap, std::uint32_t uKey)
{
    ++rMap[uKey];
}
void Add(std::map<std::uint32_t, std::uint32_t>& rMap, std::uint32_t uKey)
{
    ++rMap[uKey];
}
void Add(std::vector<std::unique_ptr<std::uint32_t>>& rVector, std::uint32_t uKey)
{
    rVector.push_back(std::make_unique<std::uint32_t>(uKey));
}
template <typename Sequence>
void Add(Sequence& rSequence, std::uint32_t uKey)
{
    rSequence.push_back(static_cast<typename Sequence::value_type>(uKey));
}

std::uint32_t ValueOf(std::uint32_t uElement)
{
    return uElement;
}
std::uint32_t ValueOf(const std::unique_ptr<std::uint32_t>& rpElement)
{
    return *rpElement;
}

template <typename Container>
void Fill(Container& rContainer, std::int64_t nCount)
{
    for (std::int64_t n = 0; n < nCount; ++n) Add(rContainer, ScatteredKey(static_cast<std::uint32_t>(n)));
}

/// A filled container for each size. Filling the largest takes seconds, so they stay until the program ends.
template <typename Container>
Container& Filled(std::int64_t nCount)
{
    static auto& s_rContainers = *new std::map<std::int64_t, std::unique_ptr<Container>>;
    std::unique_ptr<Container>& rpContainer = s_rContainers[nCount];
    if (rpContainer == nullptr)
    {
        rpContainer = std::make_unique<Container>();
        Fill(*rpContainer, nCount);
    }
    return *rpContainer;
}

template <typename Container>
void BM_Fill(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        Container container;
        Fill(container, rState.range(0));
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <typename Container>
void BM_Scan(benchmark::State& rState)
{
    const Container& rContainer = Filled<Container>(rState.range(0));
    for (auto _ : rState)
    {
        std::uint32_t uSum = 0;
        for (const auto& rElement : rContainer) uSum += ValueOf(rElement);
        benchmark::DoNotOptimize(uSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

bool Holds(const CAATree<std::uint32_t>& rTree, std::uint32_t uKey)
{
    return static_cast<bool>(rTree.Find(uKey));
}
bool Holds(const std::set<std::uint32_t>& rSet, std::uint32_t uKey)
{
    return rSet.find(uKey) != rSet.end();
}
bool Holds(const CMap<std::uint32_t, std::uint32_t>& rMap, std::uint32_t uKey)
{
    return static_cast<bool>(rMap.Find(uKey));
}
bool Holds(const std::map<std::uint32_t, std::uint32_t>& rMap, std::uint32_t uKey)
{
    return rMap.find(uKey) != rMap.end();
}

template <typename Container>
void BM_Find(benchmark::State& rState)
{
    const Container& rContainer = Filled<Container>(rState.range(0));
    const std::uint32_t uCount = static_cast<std::uint32_t>(rState.range(0));
    std::uint32_t uNth = 0;
    for (auto _ : rState)
    {
        // Steps through the keys in another order than that in which they were put in.
        uNth = static_cast<std::uint32_t>((uNth + std::uint64_t{2654435769u}) % uCount);
        benchmark::DoNotOptimize(Holds(rContainer, ScatteredKey(uNth)));
    }
    rState.SetItemsProcessed(rState.iterations());
}

void Sizes(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->RangeMultiplier(10)->Range(10, 10'000'000);
}

using Words = std::uint32_t;
BENCHMARK(BM_Fill<CVector<Words>>)->Name("vector fill/ours")->Apply(Sizes);
BENCHMARK(BM_Fill<std::vector<Words>>)->Name("vector fill/std::vector")->Apply(Sizes);
BENCHMARK(BM_Scan<CVector<Words>>)->Name("vector scan/ours")->Apply(Sizes);
BENCHMARK(BM_Scan<std::vector<Words>>)->Name("vector scan/std::vector")->Apply(Sizes);
BENCHMARK(BM_Fill<CBlob>)->Name("blob fill/ours")->Apply(Sizes);
BENCHMARK(BM_Fill<std::vector<unsigned char>>)->Name("blob fill/std::vector")->Apply(Sizes);
BENCHMARK(BM_Fill<CVList<Words>>)->Name("vector-list fill/ours")->Apply(Sizes);
BENCHMARK(BM_Fill<std::vector<std::unique_ptr<Words>>>)->Name("vector-list fill/vector of unique_ptr")->Apply(Sizes);
BENCHMARK(BM_Scan<CVList<Words>>)->Name("vector-list scan/ours")->Apply(Sizes);
BENCHMARK(BM_Scan<std::vector<std::unique_ptr<Words>>>)->Name("vector-list scan/vector of unique_ptr")->Apply(Sizes);
BENCHMARK(BM_Fill<CList<Words>>)->Name("list fill/ours")->Apply(Sizes);
BENCHMARK(BM_Fill<std::list<Words>>)->Name("list fill/std::list")->Apply(Sizes);
BENCHMARK(BM_Scan<CList<Words>>)->Name("list scan/ours")->Apply(Sizes);
BENCHMARK(BM_Scan<std::list<Words>>)->Name("list scan/std::list")->Apply(Sizes);
BENCHMARK(BM_Fill<CAATree<Words>>)->Name("tree fill/ours")->Apply(Sizes);
BENCHMARK(BM_Fill<std::set<Words>>)->Name("tree fill/std::set")->Apply(Sizes);
BENCHMARK(BM_Find<CAATree<Words>>)->Name("tree find/ours")->Apply(Sizes);
BENCHMARK(BM_Find<std::set<Words>>)->Name("tree find/std::set")->Apply(Sizes);
BENCHMARK(BM_Fill<CMap<Words, Words>>)->Name("map fill/ours")->Apply(Sizes);
BENCHMARK(BM_Fill<std::map<Words, Words>>)->Name("map fill/std::map")->Apply(Sizes);
BENCHMARK(BM_Find<CMap<Words, Words>>)->Name("map find/ours")->Apply(Sizes);
BENCHMARK(BM_Find<std::map<Words, Words>>)->Name("map find/std::map")->Apply(Sizes);
}  // namespace
