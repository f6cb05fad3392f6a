#include "framework/basic/allocator.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace
{
constexpr unsigned int g_uBLOCK_SIZE = 96;

void BM_PopPushOurs(benchmark::State& rState)
{
    CBlockAllocator blocks(g_uBLOCK_SIZE, nullptr);
    blocks.Reserve(1);
    for (auto _ : rState)
    {
        void* const pvBlock = blocks.Pop();
        benchmark::DoNotOptimize(pvBlock);
        blocks.Push(pvBlock);
    }
}

void BM_MallocFree(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        void* const pvBlock = std::malloc(g_uBLOCK_SIZE);
        benchmark::DoNotOptimize(pvBlock);
        std::free(pvBlock);
    }
}
}  // namespace

BENCHMARK(BM_PopPushOurs)->Name("block pop and push/ours");
BENCHMARK(BM_MallocFree)->Name("block pop and push/malloc and free");
