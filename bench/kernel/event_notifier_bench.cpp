#include "framework/kernel/event_notifier.h"

#include <benchmark/benchmark.h>

#include <cstdarg>
#include <functional>
#include <mutex>
#include <vector>

namespace
{
constexpr int g_nMOST = 64;
int g_anSums[g_nMOST];

void Observe(void* pOpaque, EEventNotifier, va_list args)
{
    *static_cast<int*>(pOpaque) += va_arg(args, int);
}

void BM_Ours(benchmark::State& rState)
{
    for (int n = 0; n < rState.range(0); ++n) RegisterEventObserver(Observe, &g_anSums[n]);
    for (auto _ : rState) NotifyEventObservers(EEventNotifier::eAPPLICATION, 1);
    for (int n = 0; n < rState.range(0); ++n) UnregisterEventObserver(Observe, &g_anSums[n]);
}

void BM_StdFunctions(benchmark::State& rState)
{
    std::recursive_mutex mutex;
    std::vector<std::function<void(int, int)>> observers;
    for (int n = 0; n < rState.range(0); ++n)
    {
        observers.emplace_back([pnSum = &g_anSums[n]](int, int nValue) { *pnSum += nValue; });
    }
    for (auto _ : rState)
    {
        const std::lock_guard guard(mutex);
        for (const auto& rObserver : observers) rObserver(1000, 1);
    }
}
}  // namespace

BENCHMARK(BM_Ours)->Name("notify/ours")->Arg(1)->Arg(8)->Arg(64);
BENCHMARK(BM_StdFunctions)->Name("notify/std::function under std::recursive_mutex")->Arg(1)->Arg(8)->Arg(64);
