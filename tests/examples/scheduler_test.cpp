// Interrupts the scheduler after some output, and looks at which jobs have run how often: time does not matter for
// that.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/run_program.h"

namespace
{
const char* const g_pszScheduler = ORVEL_BINARY_DIR "/examples/scheduler/scheduler";

/// What it prints when a signal stops it after so many lines.
std::string StoppedAfter(std::size_t uLines, int nSignal, const std::vector<std::string>& rPeriods)
{
    int anOutput[2];
    EXPECT_EQ(0, pipe2(anOutput, O_CLOEXEC));
    const pid_t pid = StartProgram(g_pszScheduler, rPeriods, {STDIN_FILENO, anOutput[1], STDERR_FILENO});
    close(anOutput[1]);
    std::string strOutput;
    char c = 0;
    while (read(anOutput[0], &c, 1) == 1)
    {
        strOutput += c;
        if (c == '\n' && --uLines == 0) kill(pid, nSignal);
    }
    close(anOutput[0]);
    EXPECT_EQ(0, StatusOf(pid));
    return strOutput;
}

TEST(SchedulerExample, RunsEachJobOnceAPeriodAndAllThatAreDueBeforeItEnds)
{
    const std::vector<unsigned int> periods = {20, 50, 70, 90000};
    std::istringstream lines(StoppedAfter(40, SIGINT, {"20", "50", "70", "90000"}));
    std::map<unsigned int, std::vector<unsigned int>> runs;
    std::string strLine;
    unsigned int uJob = 0;
    unsigned int uRun = 0;
    unsigned int uAll = 0;
    while (std::getline(lines, strLine) && std::sscanf(strLine.c_str(), "job %u, run %u", &uJob, &uRun) == 2)
    {
        runs[uJob].push_back(uRun);
        ++uAll;
    }
    EXPECT_EQ("stopped: " + std::to_string(uAll) + " runs put in, " + std::to_string(uAll) + " done", strLine);
    EXPECT_FALSE(std::getline(lines, strLine));
    EXPECT_LE(40u, uAll);

    // There is a time, in milliseconds, up to which every job has run as often as its period fits in.
    std::size_t uEarliest = 0;
    std::size_t uLatest = SIZE_MAX;
    for (unsigned int u = 0; u < periods.size(); ++u)
    {
        std::vector<unsigned int>& rRuns = runs[u + 1];
        std::sort(rRuns.begin(), rRuns.end());  // two workers print them
        for (std::size_t uNth = 0; uNth < rRuns.size(); ++uNth) ASSERT_EQ(uNth + 1, rRuns[uNth]) << "job " << u + 1;
        uEarliest = std::max(uEarliest, rRuns.size() * periods[u]);
        uLatest = std::min(uLatest, (rRuns.size() + 1) * periods[u]);
    }
    EXPECT_LT(uEarliest, uLatest);
}

TEST(SchedulerExample, EndsWhenAskedTo)
{
    const std::string strOutput = StoppedAfter(1, SIGTERM, {"10"});
    EXPECT_EQ(0u, strOutput.find("job 1, run 1\n"));
    EXPECT_NE(std::string::npos, strOutput.find("stopped: "));
}

TEST(SchedulerExample, RefusesWhatIsNoPeriod)
{
    for (const char* const pszPeriod : {"0", "-1", "x", "", "4294967296"})
    {
        const SRunResult result = RunProgram(g_pszScheduler, {"10", pszPeriod});
        EXPECT_EQ(1, result.nStatus);
        EXPECT_EQ("", result.strOutput);
        EXPECT_EQ(0u, result.strErrors.find("scheduler: QV_RES_")) << result.strErrors;
    }
}
}  // namespace
