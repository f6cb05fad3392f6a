// Oracle: a second implementation of the vector, step by step, which leaves the same trace of calls and requests.
#include "fuzz/models/random_runs.h"
#include "fuzz/models/vector_steps.h"

TEST(CVectorTwin, EveryCallComparisonAndRequestIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareVectors, 4000);
}
