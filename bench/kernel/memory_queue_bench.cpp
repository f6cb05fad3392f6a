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
constexpr int64_t g_nRECORDS = 64;

struct SRecords
{
    SRecord astIn[g_nRECORDS] = {};
    SRecord astOut[g_nRECORDS] = {};
};

// Some in, as many out; the argument tells how many.
template <typename PushRecord, typename PopRecord>
void RunRecords(benchmark::State& rState, PushRecord&& rPush, PopRecord&& rPop)
{
    SRecords stRecords;
    for (int64_t n = 0; n < g_nRECORDS; ++n) stRecords.astIn[n] = {{static_cast<uint64_t>(n), 7}};
    const int64_t nDepth = rState.range(0);
    for (auto _ : rState)
    {
        for (int64_t n = 0; n < nDepth; ++n)
        {
            if (!rPush(stRecords.astIn[n])) rState.SkipWithError("no room");
        }
        for (int64_t n = 0; n < nDepth; ++n)
        {
            if (!rPop(stRecords.astOut[n])) rState.SkipWithError("empty");
        }
        benchmark::DoNotOptimize(stRecords);
    }
    rState.SetItemsProcessed(rState.iterations() * nDepth);
}

void BM_RecordOurs(benchmark::State& rState)
{
    CMemoryQueue queue;
    queue.Initialize(4096, 8);
    RunRecords(
        rState, [&](const SRecord& rst) { return queue.PushCopy(&rst, sizeof(rst)); },
        [&](SRecord& rst) { return queue.PopCopy(&rst, sizeof(rst)); });
}

void BM_RecordInPlaceOurs(benchmark::State& rState)
{
    CMemoryQueue queue;
    queue.Initialize(4096, 8);
    const auto push = [&](const SRecord& rst)
    {
        unsigned char* const puPayload = queue.Push(sizeof(rst));
        if (puPayload == nullptr) return false;
        std::memcpy(puPayload, &rst, sizeof(rst));
        return queue.Commit(puPayload);
    };
    const auto pop = [&](SRecord& rst)
    {
        const unsigned char* const puPayload = queue.Peek(nullptr);
        if (puPayload == nullptr) return false;
        std::memcpy(&rst, puPayload, sizeof(rst));
        return queue.Pop();
    };
    RunRecords(rState, push, pop);
}

#if __has_include(<boost/lockfree/spsc_queue.hpp>)
void BM_RecordSpsc(benchmark::State& rState)
{
    boost::lockfree::spsc_queue<SRecord> queue(4096 / (sizeof(SRecord) + 8));
    RunRecords(
        rState, [&](const SRecord& rst) { return queue.push(rst); }, [&](SRecord& rst) { return queue.pop(rst); });
}
#endif
}  // namespace

BENCHMARK(BM_Ours)->Name("push and pop/ours")->Arg(8)->Arg(256)->Arg(8192);
BENCHMARK(BM_DequeOfVectors)->Name("push and pop/std::deque<std::vector>")->Arg(8)->Arg(256)->Arg(8192);
BENCHMARK(BM_RecordOurs)->Name("16-byte record in and out/ours")->Arg(1)->Arg(16)->Arg(64);
BENCHMARK(BM_RecordInPlaceOurs)->Name("16-byte record in and out in place/ours")->Arg(1)->Arg(16)->Arg(64);
#if __has_include(<boost/lockfree/spsc_queue.hpp>)
BENCHMARK(BM_RecordSpsc)->Name("16-byte record in and out/boost::lockfree::spsc_queue")->Arg(1)->Arg(16)->Arg(64);
BENCHMARK(BM_RecordSpsc)
    ->Name("16-byte record in and out in place/boost::lockfree::spsc_queue")
    ->Arg(1)
    ->Arg(16)
    ->Arg(64);
#endif
