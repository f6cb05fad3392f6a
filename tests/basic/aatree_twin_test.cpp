// Oracle: a second implementation of the tree, step by step, which leaves the same trace of calls and requests.
#include "fuzz/models/aatree_steps.h"
#include "fuzz/models/random_runs.h"

TEST(CAATreeTwin, EveryCallComparisonAndRequestIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareTrees, 1500);
}
