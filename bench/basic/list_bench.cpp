#include "framework/basic/list.h"

#include <benchmark/benchmark.h>

#include <list>

#include "bench/support/containers.h"

namespace
{
// Nodes are recycled by ours and, through malloc's caches, by the peer: both are filled once before.
void BM_FillAndClearOurs(benchmark::State& rState)
{
    CList<int> list;
    static_cast<void>(list.ReserveCapacity(static_cast<unsigned int>(rState.range(0))));
    for (auto _ : rState)
    {
        for (int n = 0; n < rState.range(0); ++n) static_cast<void>(list.Append(n));
        benchmark::DoNotOptimize(list.GetSize());
        list.EraseAll();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_FillAndClearStd(benchmark::State& rState)
{
    std::list<int> list;
    for (auto _ : rState)
    {
        for (int n = 0; n < rState.range(0); ++n) list.push_back(n);
        benchmark::DoNotOptimize(list.size());
        list.clear();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_IterateOurs(benchmark::State& rState)
{
    CList<int> list;
    for (const int n : ShuffledInts(rState.range(0))) static_cast<void>(list.Append(n));
    for (auto _ : rState)
    {
        int nSum = 0;
        for (const int n : list) nSum += n;
        benchmark::DoNotOptimize(nSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_IndexScanOurs(benchmark::State& rState)
{
    CList<int> list;
    for (const int n : ShuffledInts(rState.range(0))) static_cast<void>(list.Append(n));
    for (auto _ : rState)
    {
        int nSum = 0;
        for (unsigned int u = 0; u < list.GetSize(); ++u) nSum += *list.GetAt(u);
        benchmark::DoNotOptimize(nSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_IterateStd(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    const std::list<int> list(numbers.begin(), numbers.end());
    for (auto _ : rState)
    {
        int nSum = 0;
        for (const int n : list) nSum += n;
        benchmark::DoNotOptimize(nSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <typename List>
void BM_PushBack(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        List list;
        for (int n = 0; n < rState.range(0); ++n) list.push_back(n);
        benchmark::DoNotOptimize(list.size());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

BENCHMARK(BM_PushBack<CList<int>>)->Name("list push_back/ours")->Arg(1000)->Arg(50000);
BENCHMARK(BM_PushBack<std::list<int>>)->Name("list push_back/std::list")->Arg(1000)->Arg(50000);
BENCHMARK(BM_FillAndClearOurs)->Name("list fill and clear/ours")->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_FillAndClearStd)->Name("list fill and clear/std::list")->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_IterateOurs)->Name("list scan/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_IterateStd)->Name("list scan/std::list")->Arg(1000)->Arg(100000);
BENCHMARK(BM_IndexScanOurs)->Name("list scan by index/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_IterateStd)->Name("list scan by index/std::list iterators")->Arg(1000)->Arg(100000);
BENCHMARK(SortOurs<CList<int>>)->Name("list sort/ours")->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK(SortByHand<CList<int>>)->Name("list sort/by hand")->Arg(100)->Arg(1000)->Arg(100000);
}  // namespace
