#include "framework/kernel/semaphore.h"

#include <benchmark/benchmark.h>

#include <semaphore>

namespace
{
void BM_CountingOurs(benchmark::State& rState)
{
    const CSemaphore semaphore(0, 5, false);
    for (auto _ : rState)
    {
        semaphore.Signal(false);
        semaphore.Wait();
    }
}

void BM_CountingStd(benchmark::State& rState)
{
    std::counting_semaphore<5> semaphore(0);
    for (auto _ : rState)
    {
        semaphore.release();
        semaphore.acquire();
    }
}

void BM_BinaryOurs(benchmark::State& rState)
{
    const CBinarySemaphore semaphore(CBinarySemaphore::eTAKEN, false);
    for (auto _ : rState)
    {
        semaphore.Signal(false);
        semaphore.Wait();
    }
}

void BM_BinaryStd(benchmark::State& rState)
{
    std::binary_semaphore semaphore(0);
    for (auto _ : rState)
    {
        semaphore.release();
        semaphore.acquire();
    }
}
}  // namespace

BENCHMARK(BM_CountingOurs)->Name("counting semaphore/ours");
BENCHMARK(BM_CountingStd)->Name("counting semaphore/std::counting_semaphore");
BENCHMARK(BM_BinaryOurs)->Name("binary semaphore/ours");
BENCHMARK(BM_BinaryStd)->Name("binary semaphore/std::binary_semaphore");
