// Oracle: a second implementation of the block allocator, step by step, which leaves the same trace of requests.
#include "fuzz/models/allocator_steps.h"
#include "fuzz/models/random_runs.h"

TEST(CBlockAllocatorTwin, EveryRequestAndResultIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareAllocators, 2000);
}
