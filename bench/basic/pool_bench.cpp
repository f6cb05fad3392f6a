#include "framework/basic/pool.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <vector>

#include "framework/basic/marshaler.h"

namespace
{
void BM_Ours(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        void* const pvBlock = CPool<CMarshaler>::Allocate();
        benchmark::DoNotOptimize(pvBlock);
        CPool<CMarshaler>::Deallocate(pvBlock);
    }
}

// The usual hand-written pool: a vector of free blocks behind a mutex.
void BM_Std(benchmark::State& rState)
{
    static std::mutex mutex;
    static std::vector<void*> freeBlocks(64, nullptr);
    for (auto _ : rState)
    {
        mutex.lock();
        void* const pvBlock = freeBlocks.back();
        freeBlocks.pop_back();
        mutex.unlock();
        benchmark::DoNotOptimize(pvBlock);
        mutex.lock();
        freeBlocks.push_back(pvBlock);
        mutex.unlock();
    }
}
}  // namespace

BENCHMARK(BM_Ours)->Name("pool/ours")->Threads(1)->Threads(2);
BENCHMARK(BM_Std)->Name("pool/std::vector and std::mutex")->Threads(1)->Threads(2);
