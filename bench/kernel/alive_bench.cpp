#include "framework/kernel/alive.h"

#include <benchmark/benchmark.h>

#include <future>
#include <thread>

namespace
{
class CBrief : public CAliveObj
{
public:
    ~CBrief() override { Join(nullptr); }

private:
    void Behavior() override { benchmark::ClobberMemory(); }
};

void BM_Ours(benchmark::State& rState)
{
    CBrief object;
    for (auto _ : rState)
    {
        if (object.Activate("bench", 0, CThread::eNORMAL) < 0) rState.SkipWithError("no thread");
        object.Join(nullptr);
    }
}

// The same handshake by hand: the starter waits until the thread runs, the thread until it may go.
void BM_StdThreadAndPromises(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        std::promise<void> started;
        std::promise<void> go;
        std::thread thread(
            [&]
            {
                started.set_value();
                go.get_future().wait();
                benchmark::ClobberMemory();
            });
        started.get_future().wait();
        go.set_value();
        thread.join();
    }
}
}  // namespace

BENCHMARK(BM_Ours)->Name("activate and join/ours")->UseRealTime();
BENCHMARK(BM_StdThreadAndPromises)->Name("activate and join/std::thread, std::promise")->UseRealTime();
