// In a process of one thread. The runs in a process of many are in ecom_threads_bench.cpp: once a thread was started,
// the process never counts as one of a single thread again.
#include "bench/support/components.h"

BENCHMARK(BM_CreateOurs)->Name("create and release/ours");
BENCHMARK(BM_CreatePeer)->Name("create and release/std::make_shared");
BENCHMARK(BM_CountOurs)->Name("one reference/ours");
BENCHMARK(BM_CountPeer)->Name("one reference/std::shared_ptr");
