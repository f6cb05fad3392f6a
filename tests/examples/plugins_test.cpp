// Runs the filters as a user would.
#include <gtest/gtest.h>

#include <string>

#include "tests/examples/refusing.h"
#include "tests/support/run_program.h"

namespace
{
SRunResult Plugins(const std::vector<std::string>& rArguments, const std::string& rInput = "")
{
    return RunProgram(ORVEL_BINARY_DIR "/examples/plugins/plugins", rArguments, rInput);
}

void ExpectOutput(const std::string& rWant, const std::vector<std::string>& rFilters, const std::string& rInput)
{
    const SRunResult result = Plugins(rFilters, rInput);
    EXPECT_EQ(0, result.nStatus);
    EXPECT_EQ(rWant, result.strOutput);
    EXPECT_EQ("", result.strErrors);
}

TEST(PluginsExample, SendsLinesThroughFiltersInOrder)
{
    ExpectOutput("HELLO\n\nWORLD\n", {"upper"}, "Hello\n\nworld\n");
    ExpectOutput("hello\n", {"lower"}, "HELLO");
    ExpectOutput("cba\n", {"reverse"}, "abc\n");
    ExpectOutput("a b\n\n", {"trim"}, "  a b \n   \n");
    ExpectOutput("CBA\n", {"trim", "reverse", "upper"}, "  abc \n");
    ExpectOutput("abc\n", {"reverse", "reverse"}, "abc\n");
    ExpectOutput("", {"upper"}, "");
}

TEST(PluginsExample, KeepsEveryCharacter)
{
    const std::string line("a\0\xFFz", 4);
    ExpectOutput(std::string("z\xFF\0a\n", 5), {"reverse"}, line + "\n");
    ExpectOutput(std::string(65535, 'x') + "\n", {"reverse"}, std::string(65535, 'x') + "\n");
}

TEST(PluginsExample, CountsWithoutChangingWhatFiltersDo)
{
    const SRunResult result = Plugins({"--count", "trim", "upper"}, " ab \ncd\n");
    EXPECT_EQ(0, result.nStatus);
    EXPECT_EQ("AB\nCD\n", result.strOutput);
    EXPECT_EQ("trim: 2 lines, 6 characters\nupper: 2 lines, 4 characters\n", result.strErrors);
}

TEST(PluginsExample, ListsFiltersByWhatTheirPartsSay)
{
    const SRunResult result = Plugins({"--list"});
    EXPECT_EQ(0, result.nStatus);
    EXPECT_EQ(
        "lower    small letters\n"
        "reverse  back to front\n"
        "trim     no blanks at either end\n"
        "upper    capital letters\n",
        result.strOutput);
}

TEST(PluginsExample, RefusesALineThatIsTooLong)
{
    const SRunResult result = Plugins({"upper"}, "a\n" + std::string(65536, 'x') + "\n");
    EXPECT_EQ(1, result.nStatus);
    EXPECT_EQ("A\n", result.strOutput);
    EXPECT_EQ("plugins: a line is too long\n", result.strErrors);
}

TEST(PluginsExample, ExplainsItself)
{
    EXPECT_EQ(0, Plugins({"--help"}).nStatus);
    EXPECT_EQ(2, Plugins({}).nStatus);
    EXPECT_EQ(2, Plugins({"--count"}).nStatus);
    const SRunResult result = Plugins({"upper", "nothing"}, "abc\n");
    EXPECT_EQ(2, result.nStatus);
    EXPECT_EQ("plugins: no such filter: nothing (see plugins --help)\n", result.strErrors);
}

TEST(PluginsExample, ReportsAFullDisk)
{
    const SRunResult result = RunProgram(ORVEL_BINARY_DIR "/examples/plugins/plugins", {"upper"}, "abc\n", "/dev/full");
    EXPECT_EQ(1, result.nStatus);
    EXPECT_EQ("plugins: standard output: No space left on device\n", result.strErrors);
}

TEST(PluginsExample, ReportsInputThatCannotBeRead)
{
    const SRunResult result =
        RunProgram("/bin/sh", {"-c", "'" ORVEL_BINARY_DIR "/examples/plugins/plugins' upper < /"});
    EXPECT_EQ(1, result.nStatus);
    EXPECT_EQ("", result.strOutput);
    EXPECT_EQ("plugins: standard input: Is a directory\n", result.strErrors);
}

TEST(PluginsExample, StopWhenTheirOutputIsGone)
{
    // Input without an end.
    const SRunResult result = RunProgram(
        "/bin/sh", {"-c", "yes 2>/dev/null | '" ORVEL_BINARY_DIR "/examples/plugins/plugins' upper >/dev/full"});
    EXPECT_EQ(1, result.nStatus);
    EXPECT_EQ("plugins: standard output: No space left on device\n", result.strErrors);
}

TEST(PluginsExample, DoAllOrSayWhatIsMissingWhenMemoryRunsOut)
{
    const std::string strInput = " one \n\n" + std::string(300, 'x') + "\n";
    const std::string strWant = "ENO\n\n" + std::string(300, 'X') + "\n";
    const auto runAndLook = [&]
    {
        const SRunResult result =
            RunProgram(ORVEL_BINARY_DIR "/tests/plugins_refused", {"--count", "trim", "reverse", "upper"}, strInput);
        if (result.nStatus == 0)
        {
            EXPECT_EQ(strWant, result.strOutput);
            return;
        }
        EXPECT_EQ(1, result.nStatus);
        EXPECT_EQ(0u, result.strErrors.find("plugins: ")) << result.strErrors;
        EXPECT_EQ(strWant.substr(0, result.strOutput.size()), result.strOutput);
    };
    const unsigned int uRequests = RefuseEach("REFUSE_NEW", runAndLook);
    if (TESTS_OWN_OPERATOR_NEW == 0) GTEST_SKIP() << "the sanitizer brings its own operator new";
    EXPECT_GT(uRequests, 10u);
}
}  // namespace
