#include "framework/kernel/thread.h"

#include <benchmark/benchmark.h>
#include <pthread.h>

#include <cstdlib>
#include <thread>

namespace
{
unsigned int g_uSink = 0;

unsigned int Work(unsigned int uParameter)
{
    benchmark::DoNotOptimize(g_uSink = uParameter);
    return uParameter;
}

void BM_StartJoinOurs(benchmark::State& rState)
{
    CThread thread;
    for (auto _ : rState)
    {
        if (thread.StartThread(Work, 1, "bench", 0, CThread::eNORMAL) < 0) rState.SkipWithError("no thread");
        thread.Join(nullptr);
    }
}

void BM_StartJoinStd(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        std::thread thread(Work, 1u);
        thread.join();
    }
}

void BM_GetSpecificOurs(benchmark::State& rState)
{
    unsigned int uKey = 0;
    if (CThread::CreateKey(nullptr, uKey) < 0 || CThread::SetSpecific(uKey, 5) < 0) std::abort();
    unsigned int uValue = 0;
    for (auto _ : rState)
    {
        static_cast<void>(CThread::GetSpecific(uKey, uValue));
        benchmark::DoNotOptimize(uValue);
    }
    static_cast<void>(CThread::SetSpecific(uKey, 0));
    CThread::DeleteKey(uKey);
}

void BM_GetSpecificPthread(benchmark::State& rState)
{
    pthread_key_t hKey;
    pthread_key_create(&hKey, nullptr);
    pthread_setspecific(hKey, &g_uSink);
    for (auto _ : rState) benchmark::DoNotOptimize(pthread_getspecific(hKey));
    pthread_key_delete(hKey);
}

void BM_CurrentIdOurs(benchmark::State& rState)
{
    for (auto _ : rState) benchmark::DoNotOptimize(CThread::GetCurrentId());
}

void BM_CurrentIdStd(benchmark::State& rState)
{
    for (auto _ : rState) benchmark::DoNotOptimize(std::this_thread::get_id());
}
}  // namespace

BENCHMARK(BM_StartJoinOurs)->Name("start and join/ours")->MeasureProcessCPUTime();
BENCHMARK(BM_StartJoinStd)->Name("start and join/std::thread")->MeasureProcessCPUTime();
BENCHMARK(BM_GetSpecificOurs)->Name("specific data/ours");
BENCHMARK(BM_GetSpecificPthread)->Name("specific data/pthread_getspecific");
BENCHMARK(BM_CurrentIdOurs)->Name("current id/ours");
BENCHMARK(BM_CurrentIdStd)->Name("current id/std::this_thread");
