// What page_programs.py finds wrong with the pages of the guide: what is not listed, links that lead nowhere.
#include <gtest/gtest.h>

#include "tests/support/run_program.h"

namespace
{
TEST(CPages, AreListedAndLeadSomewhere)
{
    const SRunResult result = RunProgram(
        ORVEL_PYTHON, {ORVEL_SOURCE_DIR "/tests/guide/page_programs.py", "--check", ORVEL_SOURCE_DIR "/docs/guide"});
    EXPECT_EQ(0, result.nStatus) << result.strOutput << result.strErrors;
}
}  // namespace
