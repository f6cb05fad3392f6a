#include "framework/kernel/timer.h"

#include <benchmark/benchmark.h>
#include <sys/times.h>

#include <chrono>

namespace
{
void BM_Ours(benchmark::State& rState)
{
    for (auto _ : rState) benchmark::DoNotOptimize(CTimer::GetSystemUpTimeMs());
}

// The system call under it, alone.
void BM_Times(benchmark::State& rState)
{
    tms unused;
    for (auto _ : rState) benchmark::DoNotOptimize(times(&unused));
}

void BM_SteadyClock(benchmark::State& rState)
{
    for (auto _ : rState) benchmark::DoNotOptimize(std::chrono::steady_clock::now());
}
}  // namespace

BENCHMARK(BM_Ours)->Name("up-time/ours");
BENCHMARK(BM_Times)->Name("up-time/times()");
BENCHMARK(BM_SteadyClock)->Name("up-time/std::chrono::steady_clock");
