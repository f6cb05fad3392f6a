// Runs the world clock as a user would.
#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "framework/basic/time_zone.h"
#include "tests/examples/refusing.h"
#include "tests/support/run_program.h"

namespace
{
SRunResult Clock(const std::vector<std::string>& rArguments)
{
    return RunProgram(ORVEL_BINARY_DIR "/examples/clock/clock", rArguments);
}

std::string At(const char* pszAt, const char* pszZone)
{
    const SRunResult result = Clock({"--at", pszAt, pszZone});
    EXPECT_EQ(0, result.nStatus);
    EXPECT_EQ("", result.strErrors);
    return result.strOutput;
}

/// The seconds of the clock that the example reads. time() lags it by up to a tick: at the turn of a
/// second it would put the example into the future.
time_t SystemSeconds()
{
    timespec now = {};
    EXPECT_EQ(0, clock_gettime(CLOCK_REALTIME, &now));
    return now.tv_sec;
}

TEST(ClockExample, TellsTheTimeAndTheNextTransition)
{
    EXPECT_EQ("NA_EASTERN: Sun 2024-03-10 01:59:59 EST (UTC-05:00), EDT (UTC-04:00) from 2024-03-10 07:00:00 UTC on\n",
              At("2024-03-10 06:59:59", "NA_EASTERN"));
    EXPECT_EQ("NA_EASTERN: Sun 2024-03-10 03:00:00 EDT (UTC-04:00), EST (UTC-05:00) from 2024-11-03 06:00:00 UTC on\n",
              At("2024-03-10 07:00:00", "NA_EASTERN"));
    EXPECT_EQ(
        "na_newfoundland: Wed 2025-12-31 23:30:00 NST (UTC-03:30), "
        "NDT (UTC-02:30) from 2026-03-08 04:30:00 UTC on\n",
        At("2026-01-01 03:00:00", "na_newfoundland"));
    EXPECT_EQ(
        "EASTERNAUSTRALIA: Mon 2024-01-15 11:00:00 AUSDST (UTC+11:00), "
        "AUSEST (UTC+10:00) from 2024-03-30 15:00:00 UTC on\n",
        At("2024-01-15 00:00:00", "EASTERNAUSTRALIA"));
}

TEST(ClockExample, TakesAnyZoneText)
{
    EXPECT_EQ(
        "A5B,J60/0:00:07,J61: Thu 2024-02-29 18:59:59 A (UTC-05:00), B (UTC-04:00) from 2024-03-01 05:00:07 UTC on\n",
        At("2024-02-29 23:59:59", "A5B,J60/0:00:07,J61"));
    EXPECT_EQ("X-0:00:01: Fri 2024-03-01 00:00:00 X (UTC+00:00:01)\n", At("2024-02-29 23:59:59", "X-0:00:01"))
        << "midnight is no hour 24";
}

TEST(ClockExample, IsSetFromTheSystem)
{
    const time_t before = SystemSeconds();
    const SRunResult result = Clock({"UTC"});
    const time_t after = SystemSeconds();
    ASSERT_EQ(0, result.nStatus);
    tm printed = {};
    ASSERT_NE(nullptr, strptime(result.strOutput.c_str(), "UTC: %a %Y-%m-%d %H:%M:%S UTC", &printed));
    const time_t shown = timegm(&printed);
    EXPECT_LE(before, shown);
    EXPECT_GE(after, shown);
}

TEST(ClockExample, ShowsAllNamedZonesByDefaultAndListsThem)
{
    const SRunResult shown = Clock({});
    EXPECT_EQ(0, shown.nStatus);
    EXPECT_EQ(17, std::count(shown.strOutput.begin(), shown.strOutput.end(), '\n'));
    const SRunResult listed = Clock({"--list"});
    EXPECT_EQ(0, listed.nStatus);
    EXPECT_EQ(17, std::count(listed.strOutput.begin(), listed.strOutput.end(), '\n'));
    for (const char* const pszZone : apszTIMEZONE_TABLE) EXPECT_NE(std::string::npos, listed.strOutput.find(pszZone));
    EXPECT_NE(std::string::npos, listed.strOutput.find("CENTRALAUSTRALIA CAUST-9:30DCAUST-10:30"));
}

TEST(ClockExample, RefusesWhatIsNoTimeOrZone)
{
    for (const char* const pszZone : {"EST", "EST24", "nowhere", ""})
    {
        const SRunResult result = Clock({"UTC", pszZone});
        EXPECT_EQ(1, result.nStatus);
        EXPECT_EQ("", result.strOutput);
        EXPECT_EQ(std::string("clock: not a zone: ") + pszZone + "\n", result.strErrors);
    }
    for (const char* const pszTime : {"", "2024-02-30 00:00:00", "2024-01-01 24:00:00", "2024-1-1 0:0:0", "now"})
    {
        const SRunResult result = Clock({"--at", pszTime});
        EXPECT_EQ(1, result.nStatus);
        EXPECT_EQ(std::string("clock: not a time: ") + pszTime + "\n", result.strErrors);
    }
}

TEST(ClockExample, ExplainsItself)
{
    EXPECT_EQ(0, Clock({"--help"}).nStatus);
    EXPECT_NE(std::string::npos, Clock({"--help"}).strOutput.find("clock --list"));
    const std::vector<std::vector<std::string>> misuses = {{"--at"}, {"--list", "UTC"}, {"--what"}};
    for (const std::vector<std::string>& rArguments : misuses)
    {
        const SRunResult result = Clock(rArguments);
        EXPECT_EQ(2, result.nStatus);
        EXPECT_EQ("", result.strOutput);
        EXPECT_EQ(0u, result.strErrors.find("clock: ")) << result.strErrors;
        EXPECT_NE(std::string::npos, result.strErrors.find("(see clock --help)")) << result.strErrors;
    }
}

TEST(ClockExample, ReportsAFullDisk)
{
    const SRunResult result = RunProgram(ORVEL_BINARY_DIR "/examples/clock/clock", {"UTC"}, "", "/dev/full");
    EXPECT_EQ(1, result.nStatus);
    EXPECT_EQ("clock: standard output: No space left on device\n", result.strErrors);
}

TEST(ClockExample, ShowsAllOrSaysThatMemoryRanOut)
{
    const std::vector<std::string> arguments = {"--at", "2024-06-01 12:00:00", "WEUROPE", "EST5EDT,M3.2.0,M11.1.0"};
    const SRunResult want = Clock(arguments);
    ASSERT_EQ(0, want.nStatus);
    const auto runAndLook = [&]
    {
        const SRunResult result = RunProgram(ORVEL_BINARY_DIR "/tests/clock_refused", arguments);
        if (result.nStatus == 0)
        {
            EXPECT_EQ(want.strOutput, result.strOutput);
            return;
        }
        EXPECT_EQ(1, result.nStatus);
        EXPECT_EQ("clock: out of memory\n", result.strErrors);
    };
    const unsigned int uRequests = RefuseEach("REFUSE_NEW", runAndLook);
    if (TESTS_OWN_OPERATOR_NEW == 0) GTEST_SKIP() << "the sanitizer brings its own operator new";
    EXPECT_GT(uRequests, 10u);
}
}  // namespace
