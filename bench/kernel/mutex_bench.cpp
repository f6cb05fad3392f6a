#include "framework/kernel/mutex.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <thread>

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

// The C library locks faster while the process has only one thread: all runs are measured after one was started.
void StartAThread(const benchmark::State&)
{
    std::thread([] {}).join();
}
}  // namespace

BENCHMARK(BM_Ours)->Name("mutex/ours")->Setup(StartAThread)->Threads(1)->Threads(2);
BENCHMARK(BM_Std)->Name("mutex/std::recursive_mutex")->Setup(StartAThread)->Threads(1)->Threads(2);
