#include "framework/basic/vector_list.h"

#include <benchmark/benchmark.h>

#include <memory>

#include "bench/support/containers.h"

namespace
{
// One insertion in the middle and one erasure there, at a size that stays; the peer owns its elements, too.
void BM_MiddleOurs(benchmark::State& rState)
{
    const unsigned int uSize = static_cast<unsigned int>(rState.range(0));
    CVList<int> elements;
    elements.ReserveCapacity(uSize + 1);
    elements.Insert(0, uSize, 7);
    for (auto _ : rState)
    {
        elements.Insert(uSize / 2, 1, 8);
        benchmark::ClobberMemory();
        elements.Erase(uSize / 2);
    }
}

void BM_MiddleStd(benchmark::State& rState)
{
    const std::ptrdiff_t nMiddle = rState.range(0) / 2;
    std::vector<std::unique_ptr<int>> elements;
    elements.reserve(static_cast<std::size_t>(rState.range(0)) + 1);
    for (std::int64_t n = 0; n < rState.range(0); ++n) elements.push_back(std::make_unique<int>(7));
    for (auto _ : rState)
    {
        elements.insert(elements.begin() + nMiddle, std::make_unique<int>(8));
        benchmark::ClobberMemory();
        elements.erase(elements.begin() + nMiddle);
    }
}

// The bare addresses: what the order costs by itself.
void BM_MiddleBareStd(benchmark::State& rState)
{
    const std::ptrdiff_t nMiddle = rState.range(0) / 2;
    std::vector<int*> elements(static_cast<std::size_t>(rState.range(0)));
    elements.reserve(elements.size() + 1);
    int nElement = 8;
    for (auto _ : rState)
    {
        elements.insert(elements.begin() + nMiddle, &nElement);
        benchmark::ClobberMemory();
        elements.erase(elements.begin() + nMiddle);
    }
}

BENCHMARK(BM_MiddleOurs)->Name("vector_list_middle/ours")->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK(BM_MiddleStd)->Name("vector_list_middle/std_owning")->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK(BM_MiddleBareStd)->Name("vector_list_middle/std_bare")->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK(SortOurs<CVList<int>>)->Name("vector_list_sort/ours")->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK(SortByHand<32>)->Name("vector_list_sort/by_hand")->Arg(100)->Arg(1000)->Arg(100000);
}  // namespace
