// Makes the Debian packages and looks into them.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/scratch_directory.h"
#include "tests/support/shell.h"

namespace
{
class CDeb : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ms_pScratch = std::make_unique<CScratchDirectory>("orvel-deb");
        Shell("umask 077; '" ORVEL_CPACK "' --config '" ORVEL_BINARY_DIR "/CPackConfig.cmake' -B " +
              Quoted(ms_pScratch->GetPath()));
    }
    static void TearDownTestSuite() { ms_pScratch.reset(); }

    static std::string File(const std::string& rPackage)
    {
        return Quoted(ms_pScratch->GetPath()) + "/" + rPackage + "_" ORVEL_VERSION "_*.deb";
    }

    static std::string Field(const std::string& rPackage, const std::string& rField)
    {
        return Shell("dpkg-deb --field " + File(rPackage) + " " + rField);
    }

    // A shell command that unpacks a package to its output, as tar does it.
    static std::string Unpack(const std::string& rPackage, const std::string& rTarOptions)
    {
        return "dpkg-deb --fsys-tarfile " + File(rPackage) + " | tar " + rTarOptions;
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
        std::istringstream stream(Shell(Unpack(rPackage, "--list")));
        for (std::string name; std::getline(stream, name);)
        {
            if (name.back() != '/') names.insert(name.substr(1));
        }
        return names;
    }

    // Both packages unpacked into one directory, as they are installed.
    static std::string Root()
    {
        static const std::string s_strRoot = []
        {
            const std::string root = (ms_pScratch->GetPath() / "root").string();
            Shell("for package in " + File("liborvel-framework1") + " " + File("liborvel-framework-dev") +
                  "; do dpkg-deb --extract \"$package\" '" + root + "'; done");
            return root;
        }();
        return s_strRoot;
    }

    static std::string Triplet()
    {
        const std::string line = Shell("dpkg-architecture -qDEB_HOST_MULTIARCH");
        return line.substr(0, line.find('\n'));
    }

    inline static std::unique_ptr<CScratchDirectory> ms_pScratch;
};

const char* const g_pszHelloPrints = "af71426c22321fefba997deb4ee571e8054291bd\n";  // as in examples/hello_test.cpp
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

TEST_F(CDeb, TheLibraryIsStripped)
{
    const std::string sections = Shell(
        "library=$(mktemp); trap 'rm \"$library\"' EXIT; " +
        Unpack(g_strRuntime, "--extract --to-stdout ./usr/lib/" + Triplet() + "/liborvel_framework.so." ORVEL_VERSION) +
        " >\"$library\"; readelf --sections --wide \"$library\"");
    EXPECT_NE(std::string::npos, sections.find(" .dynsym "));
    EXPECT_EQ(std::string::npos, sections.find(" .symtab "));
}

TEST_F(CDeb, TheRuntimePackageDependsOnWhatTheLibraryIsLinkedWith)
{
    EXPECT_EQ((std::set<std::string>{"libc6", "libgcc-s1", "libssl3", "libstdc++6"}), Dependencies(g_strRuntime));
}

TEST_F(CDeb, TheRuntimePackageTellsOthersWhatToDependOnAndHasTheLoadersCacheBroughtUpToDate)
{
    const std::string info = "dpkg-deb --info " + File(g_strRuntime);
    EXPECT_EQ("liborvel_framework 1 liborvel-framework1 (>= " ORVEL_VERSION ")\n", Shell(info + " shlibs"));
    EXPECT_EQ("activate-noawait ldconfig\n", Shell(info + " triggers"));
}

TEST_F(CDeb, ThePackagesCanBeReadByAllWhateverTheUmaskOfWhoMadeThem)
{
    const std::regex readable("(drwxr-xr-x|-rw-r--r--|lrwxrwxrwx) root/root .*");
    for (const std::string& rPackage : {g_strRuntime, g_strDevelopment})
    {
        std::istringstream stream(Shell(Unpack(rPackage, "--list --verbose")));
        for (std::string line; std::getline(stream, line);) EXPECT_TRUE(std::regex_match(line, readable)) << line;
    }
}

TEST_F(CDeb, EachPackageTellsWhatChanged)
{
    for (const std::string& rPackage : {g_strRuntime, g_strDevelopment})
    {
        const std::string changelog =
            Unpack(rPackage, "--extract --to-stdout ./usr/share/doc/" + rPackage + "/changelog.gz") +
            " | gzip --decompress --stdout";
        const std::string parse = changelog + " | dpkg-parsechangelog --file - ";
        EXPECT_EQ(ORVEL_VERSION "\n", Shell(parse + "--show-field Version"));
        EXPECT_EQ("liborvel-framework\n", Shell(parse + "--show-field Source"));
        EXPECT_EQ("", Shell(parse + "2>&1 >/dev/null")) << "not as Debian writes it";
        EXPECT_EQ(Shell("grep --count '^- ' '" ORVEL_SOURCE_DIR "/CHANGELOG.md'"),
                  Shell(changelog + " | grep --count '^  \\* '"));
    }
}

TEST(CDebianChangelog, IsMadeOfAllVersions)
{
    const char* const pszChanges =
        "# Changelog\n\nWhat users notice.\n\n"
        "## 1.1.0 (unreleased)\n\n### Added\n- One thing that takes so many words to be told of that they do not fit\n"
        "  into one line.\n- `CAnother`.\n\n### Fixed\n- A third.\n\n"
        "## 1.0.0 (2026-01-31)\n\n- The second.\n\n## 0.9.0 (2026-01-31)\n\n- The first.\n";
    const char* const pszWant =
        "source (1.1.0) UNRELEASED; urgency=medium\n\n"
        "  [ Added ]\n  * One thing that takes so many words to be told of that they do not fit into\n"
        "    one line.\n  * `CAnother`.\n\n  [ Fixed ]\n  * A third.\n\n"
        " -- Some Body <body@host>  Thu, 01 Jan 1970 00:00:01 +0000\n\n"
        "source (1.0.0) unstable; urgency=medium\n\n  * The second.\n\n"
        " -- Some Body <body@host>  Sat, 31 Jan 2026 00:00:00 +0000\n\n"
        "source (0.9.0) unstable; urgency=medium\n\n  * The first.\n\n"
        " -- Some Body <body@host>  Sat, 31 Jan 2026 00:00:00 +0000\n";
    const SRunResult result = RunProgram(
        "/usr/bin/env",
        {"SOURCE_DATE_EPOCH=1", ORVEL_SOURCE_DIR "/cmake/debian_changelog.sh", "source", "Some Body <body@host>"},
        pszChanges);
    EXPECT_EQ(0, result.nStatus) << result.strErrors;
    EXPECT_EQ(pszWant, result.strOutput);
}

TEST_F(CDeb, TheDevelopmentPackageHoldsWhatAProgramIsBuiltWith)
{
    const std::string directory = "/usr/lib/" + Triplet() + "/";
    const std::set<std::string> contents = Contents(g_strDevelopment);
    for (const std::string& rName : {directory + "liborvel_framework.so", directory + "pkgconfig/orvel_framework.pc",
                                     directory + "cmake/orvel_framework/orvel_framework-config.cmake",
                                     directory + "cmake/orvel_framework/orvel_framework-config-version.cmake",
                                     directory + "cmake/orvel_framework/orvel_framework-targets.cmake"})
    {
        EXPECT_EQ(1u, contents.count(rName)) << rName;
    }
}

/// The framework's header of this name, and all that it includes, of the framework.
void AddWithIncluded(const std::string& rstrHeader, std::set<std::string>& rHeaders)
{
    if (!rHeaders.insert(rstrHeader).second) return;
    std::ifstream stream(ORVEL_SOURCE_DIR "/" + rstrHeader);
    const std::regex include("#include \"(.*)\".*");
    std::smatch match;
    for (std::string line; std::getline(stream, line);)
    {
        if (std::regex_match(line, match, include)) AddWithIncluded(match[1], rHeaders);
    }
}

TEST_F(CDeb, TheDevelopmentPackageHoldsThePublicHeadersAndWhatTheyIncludeAndNoOthers)
{
    const std::string strInclude = "/usr/include/";
    std::set<std::string> packed;
    for (const std::string& rName : Contents(g_strDevelopment))
    {
        if (rName.rfind(strInclude, 0) == 0) packed.insert(rName.substr(strInclude.size()));
    }
    std::set<std::string> wanted;
    AddWithIncluded("framework/framework.h", wanted);
    AddWithIncluded("framework/interop/standard.h", wanted);  // the umbrella leaves it out
    EXPECT_EQ(wanted, packed);
}

TEST_F(CDeb, TheDevelopmentPackageDependsOnTheLibraryOfItsVersionAndOnThatsHeaders)
{
    EXPECT_EQ((std::set<std::string>{g_strRuntime, "libssl-dev"}), Dependencies(g_strDevelopment));
    EXPECT_NE(std::string::npos, Field(g_strDevelopment, "Depends").find(g_strRuntime + " (= " ORVEL_VERSION ")"));
}

TEST_F(CDeb, TheDevelopmentPackageHoldsThePagesThatReadMeLeadsTo)
{
    const std::string directory = "/usr/share/doc/" + g_strDevelopment + "/";
    const std::set<std::string> contents = Contents(g_strDevelopment);
    std::ifstream stream(ORVEL_SOURCE_DIR "/README.md");
    const std::string page((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    EXPECT_EQ(1u, contents.count(directory + "README.md"));
    const std::regex link(R"(\]\(([\w./-]+\.(?:md|svg))[#)])");
    unsigned int uLinks = 0;
    for (std::sregex_iterator it(page.begin(), page.end(), link); it != std::sregex_iterator(); ++it, ++uLinks)
    {
        EXPECT_EQ(1u, contents.count(directory + (*it)[1].str())) << (*it)[1];
    }
    EXPECT_NE(0u, uLinks);
}

TEST_F(CDeb, TheSiteHasAPackageOfItsOwnWhereThereIsOne)
{
    EXPECT_EQ("", Shell("ls " + Quoted(ms_pScratch->GetPath()) + " | grep -e -doc_ || true"));
    const std::string site = (ms_pScratch->GetPath() / "site").string();
    const std::string build = (ms_pScratch->GetPath() / "build with a site").string();
    Shell("mkdir -p '" + site + "/search' && touch '" + site + "/index.html' '" + site +
          "/search/data.js'; '" ORVEL_CMAKE "' -S '" ORVEL_SOURCE_DIR "' -B '" + build +
          "' -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEL_TESTS=OFF -DORVEL_EXAMPLES=OFF -DORVEL_DOCS_SITE='" + site +
          "'; '" ORVEL_CPACK "' --config '" + build + "/CPackConfig.cmake' -D CPACK_COMPONENTS_ALL=documentation -B " +
          Quoted(ms_pScratch->GetPath()));
    const std::string package = "liborvel-framework-doc", directory = "/usr/share/doc/" + package + "/";
    EXPECT_EQ((std::set<std::string>{directory + "changelog.gz", directory + "html/index.html",
                                     directory + "html/search/data.js"}),
              Contents(package));
    EXPECT_EQ("all\n", Field(package, "Architecture"));
}

TEST_F(CDeb, ThePackagesAreInstalledAndUsedAsTheyAre)
{
    const std::string libraries = Root() + "/usr/lib/" + Triplet();
    Shell("export PKG_CONFIG_PATH='" + libraries +
          "/pkgconfig'; eval g++ -std=c++17 \"'" ORVEL_SOURCE_DIR
          "/examples/hello/hello.cpp'\" \"$(pkg-config --cflags --libs orvel_framework)\" -o \"'" +
          Root() + "/hello'\"");
    EXPECT_EQ(g_pszHelloPrints, Shell("LD_LIBRARY_PATH='" + libraries + "' '" + Root() + "/hello'"));
}

TEST_F(CDeb, EachExampleIsCopiedOutAndBuiltByItself)
{
    const std::string examples = (ms_pScratch->GetPath() / "begun from examples").string();
    Shell("cp -r '" + Root() + "/usr/share/doc/" + g_strDevelopment + "/examples' '" + examples + "'");
    EXPECT_EQ(Shell("ls '" ORVEL_SOURCE_DIR "'/examples/*/CMakeLists.txt | wc -l"),
              Shell("ls '" + examples + "'/*/CMakeLists.txt | wc -l"));
    // One alone; all of them below one project, so that the compiler is looked at once.
    const std::string build = " -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=g++ -DCMAKE_PREFIX_PATH='" +
                              Root() + "/usr'; '" ORVEL_CMAKE "' --build ";
    Shell("cd '" + examples + "/hello'; '" ORVEL_CMAKE "' -S . -B build" + build + "build");
    Shell("cd '" + examples +
          "'; { echo 'cmake_minimum_required(VERSION 3.16)'; echo 'project(all CXX)'; "
          "for example in */; do echo \"add_subdirectory(${example%/})\"; done; } >CMakeLists.txt; "
          "'" ORVEL_CMAKE "' -S . -B all" +
          build + "all");
    EXPECT_EQ(g_pszHelloPrints, Shell("'" + examples + "/hello/build/hello'"));
    EXPECT_NE(std::string::npos, Shell("'" + examples + "/all/journal/journal' --help").find("--journal J"));
}
}  // namespace
