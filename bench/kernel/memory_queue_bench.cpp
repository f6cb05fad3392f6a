#include "framework/kernel/memory_queue.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <deque>
#include <vector>

#include "bench/support/peers.h"

namespace
{
constexpr int g_nDEPTH = 16;

// Sixteen records in, sixteen out.
void BM_Ours(benchmark::State& rState)
{
    const std::vector<uint8_t> record = FixedBytes(rState.range(0));
    const unsigned int uSize = static_cast<unsigned int>(record.size());
    CMemoryQueue queue;
    queue.Initialize((uSize + 64) * (g_nDEPTH + 2), 8);
    for (auto _ : rState)
    {
        for (int n = 0; n < g_nDEPTH; ++n)
        {
            unsigned char* const puPayload = queue.Push(uSize);
            if (puPayload == nullptr) rState.SkipWithError("no room");
            std::memcpy(puPayload, record.data(), uSize);
            queue.Commit(puPayload);
        }
        for (int n = 0; n < g_nDEPTH; ++n)
        {
            benchmark::DoNotOptimize(queue.Peek(nullptr));
            queue.Pop();
        }
    }
    rState.SetItemsProcessed(rState.iterations() * g_nDEPTH);
}

void BM_DequeOfVectors(benchmark::State& rState)
{
    const std::vector<uint8_t> record = FixedBytes(rState.range(0));
    std::deque<std::vector<uint8_t>> queue;
    for (auto _ : rState)
    {
        for (int n = 0; n < g_nDEPTH; ++n) queue.push_back(record);
        for (int n = 0; n < g_nDEPTH; ++n)
        {
            benchmark::DoNotOptimize(queue.front().data());
            queue.pop_front();
        }
    }
    rState.SetItemsProcessed(rState.iterations() * g_nDEPTH);
}
}  // namespace

BENCHMARK(BM_Ours)->Name("push and pop/ours")->Arg(8)->Arg(256)->Arg(8192);
BENCHMARK(BM_DequeOfVectors)->Name("push and pop/std::deque<std::vector>")->Arg(8)->Arg(256)->Arg(8192);
