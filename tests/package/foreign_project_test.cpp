// Builds somebody else's project against the installed library, in every way that README.md names, and runs it.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <tuple>

#include "tests/support/scratch_directory.h"
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
        ms_pScratch = std::make_unique<CScratchDirectory>("orvel framework");
        ms_directory = ms_pScratch->GetPath();
        ms_prefix = ms_directory / "a prefix";
        Install(ORVEL_BINARY_DIR, ms_prefix);
        for (const fs::directory_entry& rEntry : fs::recursive_directory_iterator(ms_prefix))
        {
            if (rEntry.path().filename() == "liborvel_framework.so") ms_libraryPath = rEntry.path().parent_path();
        }
    }
    static void TearDownTestSuite() { ms_pScratch.reset(); }

    static std::string Compiler() { return std::get<0>(GetParam()); }
    static std::string Standard() { return std::get<1>(GetParam()); }

    // Where this test builds.
    static fs::path BuildDirectory(const std::string& rWay)
    {
        return ms_directory / (rWay + " " + Compiler() + " " + Standard());
    }

    static void Install(const fs::path& rBuild, const fs::path& rPrefix)
    {
        Shell("'" ORVEL_CMAKE "' --install " + Quoted(rBuild) + " --prefix " + Quoted(rPrefix));
    }

    static std::string ConfigureAndBuild(const fs::path& rBuild, const std::string& rOptions)
    {
        return "'" ORVEL_CMAKE "' -S " + Quoted(SOURCE) + " -B " + Quoted(rBuild) +
               " -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=" + Compiler() +
               " -DCMAKE_CXX_STANDARD=" + Standard() + " " + rOptions + " && '" ORVEL_CMAKE "' --build " +
               Quoted(rBuild) + " --target foreign";
    }

    static std::string OutputBuiltByCMake(const fs::path& rBuild, const std::string& rOptions)
    {
        Shell(ConfigureAndBuild(rBuild, rOptions));
        return Shell(Quoted(rBuild / "foreign"));
    }

    static std::string OutputBuiltByPkgConfig(const fs::path& rBuild, const fs::path& rLibraries)
    {
        fs::create_directory(rBuild);
        // pkg-config escapes the spaces for a shell that reads its output as part of a command.
        Shell("export PKG_CONFIG_PATH=" + Quoted(rLibraries / "pkgconfig") + "; cd " + Quoted(SOURCE) + "; eval " +
              Compiler() + " -std=c++" + Standard() +
              " -Wall -Wextra -Wpedantic -Werror main.cpp inventory.cpp -o \"'" + rBuild.string() +
              "/foreign'\" \"$(pkg-config --cflags --libs 'orvel_framework >= 1.0')\"");
        return Shell("LD_LIBRARY_PATH=" + Quoted(rLibraries) + " " + Quoted(rBuild / "foreign"));
    }

    static constexpr const char* SOURCE = ORVEL_SOURCE_DIR "/tests/package/foreign_project";
    inline static std::unique_ptr<CScratchDirectory> ms_pScratch;
    inline static fs::path ms_directory, ms_prefix, ms_libraryPath;
};

TEST_P(CForeignProject, FindsTheInstalledPackageByCMake)
{
    EXPECT_EQ(g_pszOutput, OutputBuiltByCMake(BuildDirectory("cmake"), "-DCMAKE_PREFIX_PATH=" + Quoted(ms_prefix)));
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
    EXPECT_EQ(g_pszOutput, OutputBuiltByPkgConfig(BuildDirectory("pkg-config"), ms_libraryPath));
    // Programs call nothing of libcrypto, unless it is its AES_... functions by their names: those say so.
    const std::string libraries = "PKG_CONFIG_PATH=" + Quoted(ms_libraryPath / "pkgconfig") + " pkg-config --libs ";
    EXPECT_EQ(std::string::npos, Shell(libraries + "orvel_framework").find("-lcrypto"));
    EXPECT_NE(std::string::npos, Shell(libraries + "--static orvel_framework").find("-lcrypto"));
    EXPECT_NE(std::string::npos, Shell(libraries + "orvel_framework libcrypto").find("-lcrypto"));
}

INSTANTIATE_TEST_SUITE_P(Each, CForeignProject,
                         testing::Combine(testing::Values("g++", "clang++"), testing::Values("17", "20")),
                         [](const auto& rInfo) {
                             return std::string(std::get<0>(rInfo.param)).substr(0, 1) + "xx" +
                                    std::get<1>(rInfo.param);
                         });

// The library where a packager wants it. What is built is the same, only configured and installed anew.
class CToldDirectories : public CForeignProject
{
protected:
    static void ConfigureAndInstall(const fs::path& rBuild, const fs::path& rPrefix, const std::string& rOptions)
    {
        Shell("cd " + Quoted(ms_directory) + "; '" ORVEL_CMAKE "' -S '" ORVEL_SOURCE_DIR "' -B " + Quoted(rBuild) +
              " -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEL_TESTS=OFF -DORVEL_EXAMPLES=OFF "
              "-DCMAKE_CXX_COMPILER=g++ -DCMAKE_INSTALL_PREFIX=" +
              Quoted(rPrefix) + " " + rOptions);
        Shell("cp -P '" ORVEL_BINARY_DIR "'/liborvel_framework.so* " + Quoted(rBuild) +
              "; cp '" ORVEL_BINARY_DIR "/debugger/class_layouts.o' " + Quoted(rBuild / "debugger"));
        Install(rBuild, rPrefix);
    }
};

TEST_P(CToldDirectories, AreBelowThePrefixUnlessTheyAreToldInFull)
{
    const fs::path prefix = ms_directory / "told";
    const fs::path libraries = prefix / "lib";
    ConfigureAndInstall(BuildDirectory("relative"), prefix, "-DCMAKE_INSTALL_LIBDIR=lib");
    EXPECT_TRUE(fs::exists(libraries / "liborvel_framework.so.1"));
    EXPECT_EQ(g_pszOutput, OutputBuiltByPkgConfig(BuildDirectory("relative pkg-config"), libraries));
    EXPECT_EQ(g_pszOutput,
              OutputBuiltByCMake(BuildDirectory("relative cmake"), "-DCMAKE_PREFIX_PATH=" + Quoted(prefix)));
}

TEST_P(CToldDirectories, MayLieOutsideOfThePrefix)
{
    const fs::path prefix = ms_directory / "the rest";
    const fs::path libraries = ms_directory / "only libraries";
    ConfigureAndInstall(BuildDirectory("absolute"), prefix, "-DCMAKE_INSTALL_LIBDIR=" + Quoted(libraries));
    EXPECT_TRUE(fs::exists(libraries / "liborvel_framework.so.1"));
    EXPECT_TRUE(fs::exists(prefix / "include/framework/framework.h"));
    // gdb looks for the whole path of the library.
    EXPECT_TRUE(fs::exists(prefix / "share/gdb/auto-load" / libraries.relative_path() /
                           "liborvel_framework.so." ORVEL_VERSION "-gdb.py"));
    EXPECT_EQ(g_pszOutput, OutputBuiltByPkgConfig(BuildDirectory("absolute pkg-config"), libraries));
}

// Installed from scratch: CMake does not replace what it installed less than a second ago.
TEST_P(CToldDirectories, MayAllLieOutsideOfThePrefix)
{
    const fs::path prefix = ms_directory / "almost nothing";
    const fs::path libraries = ms_directory / "libraries apart", headers = ms_directory / "headers apart";
    ConfigureAndInstall(
        BuildDirectory("apart"), prefix,
        "-DCMAKE_INSTALL_LIBDIR=" + Quoted(libraries) + " -DCMAKE_INSTALL_INCLUDEDIR=" + Quoted(headers));
    EXPECT_TRUE(fs::exists(headers / "framework/framework.h"));
    EXPECT_EQ(g_pszOutput, OutputBuiltByPkgConfig(BuildDirectory("apart pkg-config"), libraries));
    EXPECT_EQ(g_pszOutput, OutputBuiltByCMake(BuildDirectory("apart cmake"),
                                              "-Dorvel_framework_DIR=" + Quoted(libraries / "cmake/orvel_framework")));
}

INSTANTIATE_TEST_SUITE_P(With, CToldDirectories, testing::Values(std::make_tuple("g++", "17")),
                         [](const auto&) { return "gxx17"; });

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
