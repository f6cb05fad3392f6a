#include "framework/kernel/mutex.h"

#include <benchmark/benchmark.h>

#include <mutex>

namespace
{
void BM_Ours(benchmark::State& rState)
{
    static CMutex mutex;
    for (auto _ : rState)
    {
        mutex.Lock();
        mutex.Unlock();
    }
}

void BM_Std(benchmark::State& rState)
{
    static std::recursive_mutex mutex;
    for (auto _ : rState)
    {
        mutex.lock();
        mutex.unlock();
    }
}
}  // namespace

BENCHMARK(BM_Ours)->Name("mutex/ours")->Threads(1)->Threads(2);
BENCHMARK(BM_Std)->Name("mutex/std::recursive_mutex")->Threads(1)->Threads(2);
