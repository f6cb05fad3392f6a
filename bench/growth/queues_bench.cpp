// How the cost of handing a record over grows with the number of threads, for the page of figures.
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "framework/kernel/memory_queue.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/semaphore.h"

namespace
{
struct SRecord
{
    std::uint64_t auWords[2];
};
constexpr unsigned int g_uROOM = 1024;
constexpr std::int64_t g_nRECORDS = 20'000;

class COurQueue
{
public:
    COurQueue() : m_semRoom(g_uROOM, g_uROOM, false), m_semRecords(0, g_uROOM, false)
    {
        if (!m_queue.Initialize(g_uROOM * (sizeof(SRecord) + 64), alignof(SRecord))) std::abort();
    }
    void Put(const SRecord& rstRecord)
    {
        m_semRoom.Wait();
        {
            const CMutexGuard guard(&m_mutex);
            unsigned char* const pu = m_queue.Push(sizeof(rstRecord));
            if (pu == nullptr) std::abort();
            std::memcpy(pu, &rstRecord, sizeof(rstRecord));
            m_queue.Commit(pu);
        }
        m_semRecords.Signal(false);
    }
    SRecord Take()
    {
        m_semRecords.Wait();
        SRecord stRecord;
        {
            const CMutexGuard guard(&m_mutex);
            std::memcpy(&stRecord, m_queue.Peek(nullptr), sizeof(stRecord));
            m_queue.Pop();
        }
        m_semRoom.Signal(false);
        return stRecord;
    }

private:
    CMutex m_mutex;
    CMemoryQueue m_queue;
    CSemaphore m_semRoom;
    CSemaphore m_semRecords;
};

class CStdQueue
{
public:
    void Put(const SRecord& rstRecord)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_room.wait(lock, [this] { return m_queue.size() < g_uROOM; });
        m_queue.push_back(rstRecord);
        lock.unlock();
        m_records.notify_one();
    }
    SRecord Take()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_records.wait(lock, [this] { return !m_queue.empty(); });
        const SRecord stRecord = m_queue.front();
        m_queue.pop_front();
        lock.unlock();
        m_room.notify_one();
        return stRecord;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_room;
    std::condition_variable m_records;
    std::deque<SRecord> m_queue;
};

// As many threads put records as take them.
template <typename Queue>
void BM_HandOver(benchmark::State& rState)
{
    const std::int64_t nPairs = rState.range(0);
    const std::int64_t nEach = g_nRECORDS / nPairs;
    for (auto _ : rState)
    {
        Queue queue;
        std::vector<std::thread> threads;
        for (std::int64_t n = 0; n < nPairs; ++n)
        {
            threads.emplace_back(
                [&]
                {
                    for (std::int64_t nRecord = 0; nRecord < nEach; ++nRecord) queue.Put(SRecord{{7, 8}});
                });
            threads.emplace_back(
                [&]
                {
                    for (std::int64_t nRecord = 0; nRecord < nEach; ++nRecord) benchmark::DoNotOptimize(queue.Take());
                });
        }
        for (std::thread& rThread : threads) rThread.join();
    }
    rState.SetItemsProcessed(rState.iterations() * nPairs * nEach);
}

void Pairs(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->RangeMultiplier(2)->Range(1, 16)->UseRealTime();
}

BENCHMARK(BM_HandOver<COurQueue>)->Name("queue hand over/ours")->Apply(Pairs);
BENCHMARK(BM_HandOver<CStdQueue>)->Name("queue hand over/deque and condition variables")->Apply(Pairs);
}  // namespace
