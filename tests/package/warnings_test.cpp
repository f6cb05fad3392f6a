// A compiler that warns of more than ours do: it must not stop those who build the released tree, but it stops us.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

#include "tests/support/scratch_directory.h"
#include "tests/support/shell.h"

namespace
{
class CWarnings : public testing::Test
{
protected:
    // Configures the tree for a compiler that warns of padding, which ours are not asked to, and compiles a source.
    SRunResult CompileWithAnUnknownWarning(const std::string& rOptions) const
    {
        const std::string build = Quoted(m_scratch.GetPath() / "build");
        Shell("'" ORVEL_CMAKE "' -S '" ORVEL_SOURCE_DIR "' -B " + build +
              " -G Ninja -DCMAKE_CXX_FLAGS=-Wpadded -DORVEL_TESTS=OFF " + rOptions);
        return RunProgram(
            "/bin/sh", {"-c", "ninja -C " + build + " CMakeFiles/orvel_objects.dir/framework/kernel/semaphore.cpp.o"});
    }

    const CScratchDirectory m_scratch{"orvel-warnings"};
};

TEST_F(CWarnings, DoNotStopAPlainBuild)
{
    const SRunResult result = CompileWithAnUnknownWarning("");
    EXPECT_EQ(0, result.nStatus) << result.strOutput;
    EXPECT_NE(std::string::npos, result.strOutput.find("warning:")) << result.strOutput;
}

TEST_F(CWarnings, AreErrorsWhereThatIsAskedFor)
{
    const SRunResult result = CompileWithAnUnknownWarning("-DORVEL_WARNINGS_ARE_ERRORS=ON");
    EXPECT_NE(0, result.nStatus);
    EXPECT_NE(std::string::npos, result.strOutput.find("error:")) << result.strOutput;
}

// The preset of ./dev run and ./dev package is for users.
TEST_F(CWarnings, AreErrorsInEachPresetButTheOneForUsers)
{
    const std::string names = Shell("cd '" ORVEL_SOURCE_DIR "'; '" ORVEL_CMAKE "' --list-presets");
    const std::regex quoted("\"([^\"]+)\"");
    std::set<std::string> strict, others;
    for (std::sregex_iterator it(names.begin(), names.end(), quoted), end; it != end; ++it)
    {
        const std::string name = (*it)[1];
        // View mode: the variables of the preset are printed, and nothing is configured.
        const std::string variables = Shell("cd '" ORVEL_SOURCE_DIR "'; '" ORVEL_CMAKE "' -N --preset " + name +
                                            " -B " + Quoted(m_scratch.GetPath() / name) + " || true");
        const bool bStrict = variables.find("ORVEL_WARNINGS_ARE_ERRORS=\"ON\"") != std::string::npos;
        (bStrict ? strict : others).insert(name);
    }
    EXPECT_EQ((std::set<std::string>{"asan-ubsan", "coverage", "debug", "fuzz", "release", "tsan"}), strict);
    EXPECT_EQ((std::set<std::string>{"package"}), others);
}
}  // namespace
