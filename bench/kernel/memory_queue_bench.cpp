#include "framework/kernel/memory_queue.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <deque>
#include <vector>

#if __has_include(<boost/lockfree/spsc_queue.hpp>)
#include <boost/lockfree/spsc_queue.hpp>
#endif

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

/// What a queue of one type takes by value.
struct SRecord
{
    uint64_t auWords[2];
};

// Depth is how many records are in the queue before they are taken out again.
void BM_RecordOurs(benchmark::State& rState)
{
    const SRecord stIn = {{1, 2}};
    SRecord stOut = {};
    CMemoryQueue queue;
    queue.Initialize(4096, 8);
    for (auto _ : rState)
    {
        for (int64_t n = 0; n < rState.range(0); ++n)
        {
            unsigned char* const puPayload = queue.Push(sizeof(stIn));
            if (puPayload == nullptr) rState.SkipWithError("no room");
            std::memcpy(puPayload, &stIn, sizeof(stIn));
            queue.Commit(puPayload);
        }
        for (int64_t n = 0; n < rState.range(0); ++n)
        {
            const unsigned char* const puPayload = queue.Peek(nullptr);
            if (puPayload == nullptr) rState.SkipWithError("empty");
            std::memcpy(&stOut, puPayload, sizeof(stOut));
            benchmark::DoNotOptimize(stOut);
            queue.Pop();
        }
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

#if __has_include(<boost/lockfree/spsc_queue.hpp>)
void BM_RecordSpsc(benchmark::State& rState)
{
    const SRecord stIn = {{1, 2}};
    SRecord stOut = {};
    boost::lockfree::spsc_queue<SRecord> queue(4096 / (sizeof(SRecord) + 8));
    for (auto _ : rState)
    {
        for (int64_t n = 0; n < rState.range(0); ++n)
        {
            if (!queue.push(stIn)) rState.SkipWithError("no room");
        }
        for (int64_t n = 0; n < rState.range(0); ++n)
        {
            if (!queue.pop(stOut)) rState.SkipWithError("empty");
            benchmark::DoNotOptimize(stOut);
        }
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}
#endif
}  // namespace

BENCHMARK(BM_Ours)->Name("push and pop/ours")->Arg(8)->Arg(256)->Arg(8192);
BENCHMARK(BM_DequeOfVectors)->Name("push and pop/std::deque<std::vector>")->Arg(8)->Arg(256)->Arg(8192);
BENCHMARK(BM_RecordOurs)->Name("16-byte record in and out/ours")->Arg(1)->Arg(16);
#if __has_include(<boost/lockfree/spsc_queue.hpp>)
BENCHMARK(BM_RecordSpsc)->Name("16-byte record in and out/boost::lockfree::spsc_queue")->Arg(1)->Arg(16);
#endif
