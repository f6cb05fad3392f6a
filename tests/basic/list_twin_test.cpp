// Oracle: a second implementation of the list, step by step, which leaves the same trace of calls and requests.
#include "fuzz/models/list_steps.h"
#include "fuzz/models/random_runs.h"

TEST(CListTwin, EveryCallComparisonAndRequestIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareLists, 2000);
}
