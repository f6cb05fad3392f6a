// Makes the Debian packages and looks into them.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/shell.h"

namespace
{
namespace fs = std::filesystem;

class CDeb : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        std::string name = (fs::temp_directory_path() / "orvel-deb-XXXXXX").string();
        ASSERT_NE(nullptr, mkdtemp(name.data()));
        ms_directory = name;
        Shell("'" ORVEL_CPACK "' --config '" ORVEL_BINARY_DIR "/CPackConfig.cmake' -B " + Quoted(name));
    }
    static void TearDownTestSuite() { fs::remove_all(ms_directory); }

    static std::string File(const std::string& rPackage)
    {
        return Quoted(ms_directory) + "/" + rPackage + "_" ORVEL_VERSION "_*.deb";
    }

    static std::string Field(const std::string& rPackage, const std::string& rField)
    {
        return Shell("dpkg-deb --field " + File(rPackage) + " " + rField);
    }

    // The names of a package's dependencies, without their versions.
    static std::set<std::string> Dependencies(const std::string& rPackage)
    {
        std::set<std::string> names;
        std::istringstream stream(Field(rPackage, "Depends"));
        for (std::string entry; std::getline(stream >> std::ws, entry, ',');)
        {
            names.insert(entry.substr(0, entry.find_first_of(" \n")));
        }
        return names;
    }

    // The files of a package, without directories.
    static std::set<std::string> Contents(const std::string& rPackage)
    {
        std::set<std::string> names;
        std::istringstream stream(Shell("dpkg-deb --fsys-tarfile " + File(rPackage) + " | tar --list"));
        for (std::string name; std::getline(stream, name);)
        {
            if (name.back() != '/') names.insert(name.substr(1));
        }
        return names;
    }

    static std::string Triplet()
    {
        const std::string line = Shell("dpkg-architecture -qDEB_HOST_MULTIARCH");
        return line.substr(0, line.find('\n'));
    }

    inline static fs::path ms_directory;
};

const std::string g_strRuntime = "liborvel-framework1", g_strDevelopment = "liborvel-framework-dev";

TEST_F(CDeb, TheRuntimePackageHoldsTheLibraryUnderItsSoname)
{
    const std::string directory = "/usr/lib/" + Triplet() + "/";
    std::set<std::string> libraries;
    for (const std::string& rName : Contents(g_strRuntime))
    {
        if (rName.find(".so") != std::string::npos && rName.find("-gdb.py") == std::string::npos)
            libraries.insert(rName);
        EXPECT_EQ(std::string::npos, rName.find("/include/"));
    }
    EXPECT_EQ((std::set<std::string>{directory + "liborvel_framework.so." ORVEL_VERSION,
                                     directory + "liborvel_framework.so.1"}),
              libraries);
}

TEST_F(CDeb, TheRuntimePackageDependsOnWhatTheLibraryIsLinkedWith)
{
    EXPECT_EQ((std::set<std::string>{"libc6", "libgcc-s1", "libssl3", "libstdc++6"}), Dependencies(g_strRuntime));
}

TEST_F(CDeb, TheRuntimePackageTellsOthersWhatToDependOn)
{
    const std::string shlibs = Shell("dpkg-deb --info " + File(g_strRuntime) + " shlibs");
    EXPECT_EQ("liborvel_framework 1 liborvel-framework1 (>= " ORVEL_VERSION ")\n", shlibs);
}

TEST_F(CDeb, TheDevelopmentPackageHoldsWhatAProgramIsBuiltWith)
{
    const std::string directory = "/usr/lib/" + Triplet() + "/";
    const std::set<std::string> contents = Contents(g_strDevelopment);
    for (const std::string& rName : {directory + "liborvel_framework.so", directory + "pkgconfig/orvel_framework.pc",
                                     directory + "cmake/orvel_framework/orvel_framework-config.cmake",
                                     directory + "cmake/orvel_framework/orvel_framework-config-version.cmake",
                                     directory + "cmake/orvel_framework/orvel_framework-targets.cmake",
                                     std::string("/usr/include/framework/framework.h")})
    {
        EXPECT_EQ(1u, contents.count(rName)) << rName;
    }
    EXPECT_EQ(0u, contents.count("/usr/include/framework/crypto/cpu_features.h")) << "that one is internal";
}

TEST_F(CDeb, TheDevelopmentPackageDependsOnTheLibraryOfItsVersionAndOnThatsHeaders)
{
    EXPECT_EQ((std::set<std::string>{g_strRuntime, "libssl-dev"}), Dependencies(g_strDevelopment));
    EXPECT_NE(std::string::npos, Field(g_strDevelopment, "Depends").find(g_strRuntime + " (= " ORVEL_VERSION ")"));
}

TEST_F(CDeb, ThePackagesAreInstalledAndUsedAsTheyAre)
{
    const std::string root = (ms_directory / "root").string();
    Shell("for package in " + File(g_strRuntime) + " " + File(g_strDevelopment) + "; do dpkg-deb --extract $package '" +
          root + "'; done");
    const std::string libraries = root + "/usr/lib/" + Triplet();
    Shell("export PKG_CONFIG_PATH='" + libraries +
          "/pkgconfig'; g++ -std=c++17 '" ORVEL_SOURCE_DIR
          "/examples/hello/hello.cpp' $(pkg-config --cflags --libs orvel_framework) -o '" +
          root + "/hello'");
    // SHA-256 of "Hello, world number 1", as sha256sum gives it.
    EXPECT_EQ(Shell("printf 'Hello, world number 1' | sha256sum | cut -d ' ' -f 1"),
              Shell("LD_LIBRARY_PATH='" + libraries + "' '" + root + "/hello'"));
}
}  // namespace
