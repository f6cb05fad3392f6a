// Oracle: a second implementation of the vector-list, step by step, which leaves the same trace of calls and requests.
#include "fuzz/models/random_runs.h"
#include "fuzz/models/vector_list_steps.h"

TEST(CVectorListTwin, EveryCallComparisonAndRequestIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareVectorLists, 2000);
}
