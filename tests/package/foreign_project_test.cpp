// Builds somebody else's project against the installed library, in every way that README.md names, and runs it.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <tuple>

#include "tests/support/shell.h"

namespace
{
namespace fs = std::filesystem;

// SHA-256 of "abc", as FIPS 180-4 gives it.
const char* const g_pszOutput = ORVEL_VERSION ".0 2 ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n";

// A new directory for each test program, with a space in its name, and the library installed there in another.
class CForeignProject : public testing::TestWithParam<std::tuple<const char*, const char*>>
{
protected:
    static void SetUpTestSuite()
    {
        std::string name = (fs::temp_directory_path() / "orvel framework XXXXXX").string();
        ASSERT_NE(nullptr, mkdtemp(name.data()));
        ms_directory = name;
        ms_prefix = ms_directory / "a prefix";
        Shell("'" ORVEL_CMAKE "' --install '" ORVEL_BINARY_DIR "' --prefix " + Quoted(ms_prefix));
        for (const fs::directory_entry& rEntry : fs::recursive_directory_iterator(ms_prefix))
        {
            if (rEntry.path().filename() == "orvel_framework.pc") ms_pkgConfigPath = rEntry.path().parent_path();
            if (rEntry.path().filename() == "liborvel_framework.so") ms_libraryPath = rEntry.path().parent_path();
        }
    }
    static void TearDownTestSuite() { fs::remove_all(ms_directory); }

    static std::string Compiler() { return std::get<0>(GetParam()); }
    static std::string Standard() { return std::get<1>(GetParam()); }

    // Where this test builds.
    static fs::path BuildDirectory(const std::string& rWay)
    {
        return ms_directory / (rWay + " " + Compiler() + " " + Standard());
    }

    static std::string ConfigureAndBuild(const fs::path& rBuild, const std::string& rOptions)
    {
        return "'" ORVEL_CMAKE "' -S " + Quoted(SOURCE) + " -B " + Quoted(rBuild) +
               " -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=" + Compiler() +
               " -DCMAKE_CXX_STANDARD=" + Standard() + " " + rOptions + " && '" ORVEL_CMAKE "' --build " +
               Quoted(rBuild) + " --target foreign";
    }

    static constexpr const char* SOURCE = ORVEL_SOURCE_DIR "/tests/package/foreign_project";
    inline static fs::path ms_directory, ms_prefix, ms_pkgConfigPath, ms_libraryPath;
};

TEST_P(CForeignProject, FindsTheInstalledPackageByCMake)
{
    const fs::path build = BuildDirectory("cmake");
    Shell(ConfigureAndBuild(build, "-DCMAKE_PREFIX_PATH=" + Quoted(ms_prefix)));
    EXPECT_EQ(g_pszOutput, Shell(Quoted(build / "foreign")));
}

TEST_P(CForeignProject, DoesNotTakeAVersionThatIsNotThere)
{
    for (const char* const pszVersion : {"1.999", "2.0", "0.9"})
    {
        const SRunResult result =
            RunProgram(ORVEL_CMAKE, {"-S", SOURCE, "-B", BuildDirectory(pszVersion), "-G", "Ninja",
                                     "-DCMAKE_CXX_COMPILER=" + Compiler(), "-DCMAKE_PREFIX_PATH=" + ms_prefix.string(),
                                     std::string("-DORVEL_WANTED=") + pszVersion});
        EXPECT_NE(0, result.nStatus) << pszVersion;
        EXPECT_NE(std::string::npos, result.strErrors.find("compatible with requested version")) << result.strErrors;
    }
}

TEST_P(CForeignProject, FindsTheInstalledLibraryByPkgConfig)
{
    const fs::path build = BuildDirectory("pkg-config");
    fs::create_directory(build);
    // pkg-config escapes the spaces for a shell that reads its output as part of a command.
    Shell("export PKG_CONFIG_PATH=" + Quoted(ms_pkgConfigPath) + "; cd " + Quoted(SOURCE) + "; eval " + Compiler() +
          " -std=c++" + Standard() + " -Wall -Wextra -Wpedantic -Werror main.cpp inventory.cpp -o \"'" +
          build.string() + "/foreign'\" \"$(pkg-config --cflags --libs 'orvel_framework >= 1.0')\"");
    EXPECT_EQ(g_pszOutput, Shell("LD_LIBRARY_PATH=" + Quoted(ms_libraryPath) + " " + Quoted(build / "foreign")));
}

INSTANTIATE_TEST_SUITE_P(Each, CForeignProject,
                         testing::Combine(testing::Values("g++", "clang++"), testing::Values("17", "20")),
                         [](const auto& rInfo) {
                             return std::string(std::get<0>(rInfo.param)).substr(0, 1) + "xx" +
                                    std::get<1>(rInfo.param);
                         });

// The whole library is built with it: once is enough.
class CTreeInAForeignProject : public CForeignProject
{
};

TEST_P(CTreeInAForeignProject, IsUsedByAddSubdirectory)
{
    const fs::path build = BuildDirectory("tree");
    Shell(ConfigureAndBuild(build, "-DORVEL_TREE='" ORVEL_SOURCE_DIR "'"));
    EXPECT_EQ(g_pszOutput, Shell(Quoted(build / "foreign")));
    // What belongs to the tree alone stays out of the other project.
    const std::string targets = Shell("'" ORVEL_CMAKE "' --build " + Quoted(build) + " --target help");
    EXPECT_EQ(std::string::npos, targets.find("journal"));
    EXPECT_EQ(std::string::npos, targets.find("test_"));
    const std::string installed =
        Shell("'" ORVEL_CMAKE "' --install " + Quoted(build) + " --prefix " + Quoted(build / "i"));
    EXPECT_EQ(std::string::npos, installed.find("orvel_framework"));
}

INSTANTIATE_TEST_SUITE_P(With, CTreeInAForeignProject, testing::Values(std::make_tuple("g++", "17")),
                         [](const auto&) { return "gxx17"; });
}  // namespace
