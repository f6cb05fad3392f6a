#include <thread>

#include "bench/support/components.h"

namespace
{
// From here on the process counts as one of several threads, and nobody leaves locks out.
void StartAThread(const benchmark::State&)
{
    std::thread([] {}).join();
}
}  // namespace

BENCHMARK(BM_CreateOurs)->Name("create and release with threads/ours")->Setup(StartAThread);
BENCHMARK(BM_CreatePeer)->Name("create and release with threads/std::make_shared")->Setup(StartAThread);
BENCHMARK(BM_CountOurs)->Name("one reference with threads/ours")->Setup(StartAThread);
BENCHMARK(BM_CountPeer)->Name("one reference with threads/std::shared_ptr")->Setup(StartAThread);
