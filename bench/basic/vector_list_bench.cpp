#include "framework/basic/vector_list.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "bench/support/containers.h"

namespace
{
// One insertion and one erasure in the middle, so that the size stays the same; the peer owns its elements, too.
void BM_MiddleOurs(benchmark::State& rState)
{
    const unsigned int uSize = static_cast<unsigned int>(rState.range(0));
    CVList<int> elements;
    static_cast<void>(elements.ReserveCapacity(uSize + 1));
    static_cast<void>(elements.Insert(0, uSize, 7));
    for (auto _ : rState)
    {
        static_cast<void>(elements.Insert(uSize / 2, 1, 8));
        benchmark::ClobberMemory();
        elements.Erase(uSize / 2);
    }
}

void BM_MiddleStd(benchmark::State& rState)
{
    const std::ptrdiff_t nMiddle = rState.range(0) / 2;
    std::vector<int*> elements;
    elements.reserve(static_cast<std::size_t>(rState.range(0)) + 1);
    for (std::int64_t n = 0; n < rState.range(0); ++n) elements.push_back(new int(7));
    for (auto _ : rState)
    {
        elements.insert(elements.begin() + nMiddle, new int(8));
        benchmark::ClobberMemory();
        delete elements[static_cast<std::size_t>(nMiddle)];
        elements.erase(elements.begin() + nMiddle);
    }
    for (int* const pn : elements) delete pn;
}

void BM_PushBackOurs(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        CVList<int> elements;
        for (int n = 0; n < rState.range(0); ++n) elements.push_back(n);
        benchmark::DoNotOptimize(elements.size());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_PushBackStd(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        std::vector<std::unique_ptr<int>> elements;
        for (int n = 0; n < rState.range(0); ++n) elements.push_back(std::make_unique<int>(n));
        benchmark::DoNotOptimize(elements.size());
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

BENCHMARK(BM_PushBackOurs)->Name("vector list push_back/ours")->Arg(1000)->Arg(50000);
BENCHMARK(BM_PushBackStd)->Name("vector list push_back/std::vector of unique_ptr")->Arg(1000)->Arg(50000);
BENCHMARK(BM_MiddleOurs)->Name("vector list middle/ours")->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK(BM_MiddleStd)->Name("vector list middle/std::vector of pointers")->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK(SortOurs<CVList<int>>)->Name("vector list sort/ours")->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK(SortByHand<CVList<int>>)->Name("vector list sort/by hand")->Arg(100)->Arg(1000)->Arg(100000);
}  // namespace
