#include "framework/basic/aatree.h"

#include <benchmark/benchmark.h>

#include <set>

#include "bench/support/containers.h"

namespace
{
using CPeer = std::set<int, SCallbackLess>;

CPeer MakePeer()
{
    return CPeer(SCallbackLess{OpaqueCompare()});
}

void BM_FindOurs(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CAATree<int> tree(OpaqueCompare(), 0);
    for (const int n : numbers) tree.Insert(n);
    std::size_t uNext = 0;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(tree.Find(numbers[uNext]));
        if (++uNext == numbers.size()) uNext = 0;
    }
}

void BM_FindStd(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CPeer tree = MakePeer();
    for (const int n : numbers) tree.insert(n);
    std::size_t uNext = 0;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(tree.find(numbers[uNext]));
        if (++uNext == numbers.size()) uNext = 0;
    }
}

void BM_InsertOurs(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CAATree<int> tree(OpaqueCompare(), 0);
    for (auto _ : rState)
    {
        for (const int n : numbers) tree.Insert(n);
        rState.PauseTiming();
        tree.EraseAll();
        tree.ReduceCapacity(0);
        rState.ResumeTiming();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_InsertStd(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CPeer tree = MakePeer();
    for (auto _ : rState)
    {
        for (const int n : numbers) tree.insert(n);
        rState.PauseTiming();
        tree.clear();
        rState.ResumeTiming();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_EraseOurs(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CAATree<int> tree(OpaqueCompare(), 0);
    for (auto _ : rState)
    {
        rState.PauseTiming();
        tree.ReduceCapacity(0);
        for (const int n : numbers) tree.Insert(n);
        rState.ResumeTiming();
        for (const int n : numbers) tree.EraseElement(n);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_EraseStd(benchmark::State& rState)
{
    const std::vector<int> numbers = ShuffledInts(rState.range(0));
    CPeer tree = MakePeer();
    for (auto _ : rState)
    {
        rState.PauseTiming();
        for (const int n : numbers) tree.insert(n);
        rState.ResumeTiming();
        for (const int n : numbers) tree.erase(n);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <bool BY_INDEX>
void BM_ScanOurs(benchmark::State& rState)
{
    CAATree<int> tree(OpaqueCompare(), 0);
    for (const int n : ShuffledInts(rState.range(0))) tree.Insert(n);
    for (auto _ : rState)
    {
        int nSum = 0;
        if (BY_INDEX)
        {
            for (unsigned int u = 0; u < tree.GetSize(); ++u) nSum += *tree.GetAt(u);
        }
        else
        {
            for (const int n : tree) nSum += n;
        }
        benchmark::DoNotOptimize(nSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_ScanStd(benchmark::State& rState)
{
    CPeer tree = MakePeer();
    for (const int n : ShuffledInts(rState.range(0))) tree.insert(n);
    for (auto _ : rState)
    {
        int nSum = 0;
        for (const int n : tree) nSum += n;
        benchmark::DoNotOptimize(nSum);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

BENCHMARK(BM_FindOurs)->Name("tree find/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_FindStd)->Name("tree find/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_InsertOurs)->Name("tree insert/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_InsertStd)->Name("tree insert/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_EraseOurs)->Name("tree erase/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_EraseStd)->Name("tree erase/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_ScanOurs<false>)->Name("tree scan/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_ScanStd)->Name("tree scan/std::set")->Arg(1000)->Arg(100000);
BENCHMARK(BM_ScanOurs<true>)->Name("tree scan by index/ours")->Arg(1000)->Arg(100000);
BENCHMARK(BM_ScanStd)->Name("tree scan by index/std::set iterators")->Arg(1000)->Arg(100000);
}  // namespace
