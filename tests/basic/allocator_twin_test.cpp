// Oracle: a second implementation of the block allocator, step by step, which leaves the same trace of calls and requests.
#include "fuzz/models/allocator_steps.h"
#include "fuzz/models/random_runs.h"

TEST(CBlockAllocatorTwin, EveryCallComparisonAndRequestIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareAllocators, 4000);
}
