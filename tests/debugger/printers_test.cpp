// What gdb prints of a program's objects, with the printers that it loads by itself: in the build tree and as
// installed, of a program without and with optimisation, alive and as a core dump.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace
{
struct SCase
{
    std::string strName;
    std::string strExpression;
    std::string strWant;
};

const std::string g_strGarbage = "auGarbage";
const std::string g_strZeros = "auZeros";

SCase Member(const char* pszMember, const char* pszWant)
{
    return {pszMember, std::string("rObjects.") + pszMember, pszWant};
}

// With a limit of five elements.
SCase Limited(const char* pszMember, const char* pszWant)
{
    return {pszMember, std::string("-elements 5 -- rObjects.") + pszMember, pszWant};
}

// As what it derives from.
SCase Broken(const char* pszBase, const char* pszMember, const char* pszWant)
{
    return {pszMember, std::string("*(") + pszBase + "*)&rObjects." + pszMember, pszWant};
}

// Memory in which there is no object.
SCase NoObject(const std::string& rMemory, const char* pszType, const char* pszWant)
{
    const std::string strName = std::regex_replace(pszType + ("_" + rMemory), std::regex("\\W+"), "_");
    return {strName, std::string("*(") + pszType + "*)rObjects." + rMemory, pszWant};
}

// 0x00, 0x01, ..., 0xff, 0x00, ...
std::string HexOfCountedBytes(int nCount)
{
    std::ostringstream text;
    for (int n = 0; n < nCount; ++n)
    {
        text << (n == 0 ? "" : ", ") << "0x" << std::hex << std::setw(2) << std::setfill('0') << n % 256;
    }
    return text.str();
}

const std::vector<SCase>& Cases()
{
    static const std::vector<SCase> cases = {
        Member("strEmpty", R"("")"),
        Member("strText", R"("hello")"),
        Member("strShared", R"("hello")"),
        Member("strSpecial", R"("a\"b\n\000c")"),
        Limited("strMany", R"("01234"...)"),

        Member("blobEmpty", "CBlob of 0 bytes, capacity 0, read index 0"),
        Member("blob", "CBlob of 4 bytes, capacity 8, read index 1 = {0xde, 0xad, 0xbe, 0xef}"),
        Member("blobBits", "CBlob of 4 bytes, capacity 4, read index 2 and 3 bits = {0xde, 0xad, 0xbe, 0xef}"),
        Limited("blobMany", "CBlob of 300 bytes, capacity 300, read index 0 = {0x00, 0x01, 0x02, 0x03, 0x04...}"),

        {"blobManyAll", "-elements unlimited -- rObjects.blobMany",
         "CBlob of 300 bytes, capacity 300, read index 0 = {" + HexOfCountedBytes(300) + "}"},

        Member("marshalerEmpty", "CMarshaler of 0 bytes, 0 unread, 1 segment"),
        Member("marshaler", "CMarshaler of 5 bytes, 2 unread, 1 segment = {0x01, 0x02, 0x03, 0x04, 0x05}"),
        Limited("marshalerMany", "CMarshaler of 300 bytes, 200 unread, 4 segments = {0x00, 0x01, 0x02, 0x03, 0x04...}"),
        Member("marshalerOverread", "CMarshaler of 1 byte, 0 unread, 1 segment = {0x01}"),

        Member("vectorEmpty", "CVector<int> of 0 elements, capacity 0"),
        Member("vector", "CVector<int> of 3 elements, capacity 4 = {1, 2, 3}"),
        Limited("vectorMany", "CVector<int> of 300 elements, capacity 300 = {0, 1, 2, 3, 4...}"),
        Member("listEmpty", "CList<CString> of 0 elements, capacity 0"),
        Member("list", R"(CList<CString> of 2 elements, capacity 5 = {"one", "two"})"),
        Limited("listMany", "CList<int> of 300 elements, capacity 300 = {0, 1, 2, 3, 4...}"),
        Member("treeEmpty", "CAATree<int> of 0 elements, capacity 0"),
        Member("tree", "CAATree<int> of 2 elements, capacity 3 = {1, 3}"),
        Member("mapEmpty", "CMap<int, int> of 0 entries, capacity 0"),
        Member("map", R"(CMap<CString, long> of 2 entries, capacity 3 = {["be"] = 2, ["to"] = 1})"),
        Member("mapOne", R"(CMap<CString, long> of 1 entry, capacity 1 = {["one"] = 1})"),
        // gdb counts keys and values.
        {"mapMany", "-elements 6 -- rObjects.mapMany",
         "CMap<int, int> of 300 entries, capacity 300 = {[0] = 0, [1] = 10, [2] = 20...}"},
        Limited("treeMany", "CAATree<int> of 300 elements, capacity 300 = {0, 1, 2, 3, 4...}"),
        Member("vlistEmpty", "CVList<double> of 0 elements, capacity 0"),
        Member("vlist", "CVList<double> of 3 elements, capacity 3 = {0.5, 1, 1.5}"),
        Limited("vlistMany", "CVList<int> of 300 elements, capacity 300 = {0, 1, 2, 3, 4...}"),
        Member(
            "nested",
            "CVector<CList<CString> > of 2 elements, capacity 2 = "
            R"({CList<CString> of 2 elements, capacity 2 = {"one", "two"}, CList<CString> of 0 elements, capacity 0})"),
        Member("named",
               "CVector<(anonymous namespace)::SNamed> of 2 elements, capacity 2 = "
               R"({{strName = "first", res = QV_RES_OK}, {strName = "second", res = QV_RES_INVALID_STATE}})"),

        Member("vectorBaseEmpty", "CVectorBase of 0 elements of 4 bytes, capacity 0"),
        Member("vectorBase", "CVectorBase of 3 elements of 2 bytes, capacity 3 = {01 00, 02 00, 03 00}"),
        Limited("vectorBaseWide", "CVectorBase of 1 element of 300 bytes, capacity 1 = {ab ab ab ab ab...}"),
        Member("listBaseEmpty", "CListBase of 0 elements of 2 bytes, capacity 0"),
        Member("listBase", "CListBase of 3 elements of 2 bytes, capacity 3 = {01 00, 02 00, 03 00}"),
        Member("treeBaseEmpty", "CAATreeBase of 0 elements of 2 bytes, capacity 0"),
        Member("treeBase", "CAATreeBase of 3 elements of 2 bytes, capacity 3 = {01 00, 02 00, 03 00}"),
        Member("treeBaseAllocated", "CAATreeBase of 0 elements of 2 bytes, capacity 1"),
        Member("vlistBaseEmpty", "CVListBase of 0 elements of 2 bytes, capacity 0"),
        Member("vlistBase", "CVListBase of 3 elements of 2 bytes, capacity 3 = {01 00, 02 00, 03 00}"),

        Member("time",
               "2024-03-10 06:59:58.007 UTC = {m_timeZone = \"CET-1\", m_uJulianDay = 2460380, "
               "m_uTimeMs = 25198007, m_bDefault = false}"),
        Member("timeLong",
               "2024-03-10 25:01:02.003 UTC = {m_timeZone = \"CET-1\", m_uJulianDay = 2460380, "
               "m_uTimeMs = 90062003, m_bDefault = false}"),
        Member("timeFar",
               "Julian day 9025910 00:00:00.000 UTC = {m_timeZone = \"CET-1\", m_uJulianDay = 9025910, "
               "m_uTimeMs = 0, m_bDefault = false}"),
        Member("zoneUnset", "UTC, never set"),
        Member("zone", R"("CET-1")"),
        Member("version", "1.2.3.4"),
        Member("mutexFree", "CMutex, free"),

        Member("resOk", "QV_RES_OK"),
        Member("resFail", "QV_RES_FAIL"),
        Member("rRes", "QV_RES_FAIL"),
        Member("resWarning", "0x40000005 (success with a warning)"),
        Member("resSevere", "0xc0001234 (severe failure)"),
        {"unknownSuccess", "(QvResult)5", "0x00000005 (success)"},
        {"unknownFailure", "(QvResult)0x80001234", "0x80001234 (failure)"},
        {"plainNumber", "(int)rObjects.resFail", "-2147483647"},

        Member("guidText", "SEComGuid of 15 bytes: 65 78 61 6d 70 6c 65 2e 43 69 72 63 6c 65 00 \"example.Circle\""),
        Limited("guidText", "SEComGuid of 15 bytes: 65 78 61 6d 70..."),
        Member("guidBinary", "SEComGuid of 3 bytes: 00 ff 10"),
        Member("guidOpen", "SEComGuid of 3 bytes: 61 62 63"),
        Member("guidEmpty", "SEComGuid of 0 bytes"),
        Member("guidNull", "<SEComGuid: 3 bytes at null>"),
        Member("guidFar", "<SEComGuid: Cannot access memory at address 0x10>"),
        Member("rstrText", R"("hello")"),

        Broken("CVectorBase", "vectorBroken", "<CVectorBase: size 1 above capacity 0>"),
        Broken("CListBase", "listCircle",
               "CListBase of 3 elements of 2 bytes, capacity 3 = {01 00, 02 00, 03 00, "
               "<the links go on, and the size is 3>}"),
        Broken("CListBase", "listBack",
               "CListBase of 3 elements of 2 bytes, capacity 3 = {01 00, 02 00, <the links break here>}"),
        Broken("CListBase", "listShort",
               "CListBase of 4 elements of 2 bytes, capacity 4 = {01 00, 02 00, 03 00, "
               "<the links end here, and the size is 4>}"),
        Broken("CListBase", "listLong",
               "CListBase of 2 elements of 2 bytes, capacity 2 = {01 00, 02 00, "
               "<the links go on, and the size is 2>}"),
        Broken("CListBase", "listNoEnds", "<CListBase: size 2 and ends that are not of it>"),
        Broken("CAATreeBase", "treeCircle",
               "CAATreeBase of 3 elements of 2 bytes, capacity 3 = {01 00, 02 00, 03 00, <the links break here>}"),
        Broken("CAATreeBase", "treeShort",
               "CAATreeBase of 4 elements of 2 bytes, capacity 4 = {01 00, 02 00, 03 00, "
               "<the tree ends here, and the size is 4>}"),
        Broken("CAATreeBase", "treeLong",
               "CAATreeBase of 2 elements of 2 bytes, capacity 2 = {01 00, 02 00, "
               "<the tree goes on, and the size is 2>}"),
        Broken("CMap<int,int>", "mapShort",
               "CMap<int, int> of 3 entries, capacity 3 = {[1] = 10, [2] = 20, "
               "[<the tree ends here, and the size is 3>] = <the tree ends here, and the size is 3>}"),
        Broken("CAATreeBase", "treeNoRoot", "<CAATreeBase: size 3 and no root>"),
        Broken("CVListBase", "vlistBroken",
               "CVListBase of 1 element of 2 bytes, capacity 1 = {<Cannot access memory at address 0x0>}"),
        Broken("CVListBase", "vlistNoOrder", "<CVListBase: no storage>"),
        Member("strBroken", "<CString: size 33 above capacity 32>"),
        Member("strCut", "<CString: Cannot access memory at address 0x6a0000001000>"),
        Member("marshalerCircle", "<CMarshaler: its segments form a circle>"),
        Member("marshalerLost", "<CMarshaler: the read pointer is in none of its segments>"),
        Member("marshalerWrite", "<CMarshaler: the write pointer is outside of its segment>"),
        Member("marshalerRead", "<CMarshaler: the read pointer is outside of its segment>"),

        NoObject(g_strGarbage, "CString", "<CString: Cannot access memory at address 0xa5a5a5a5a5a5a5a9>"),
        NoObject(g_strGarbage, "CBlob", "<CBlob: elements that are not bytes>"),
        NoObject(g_strGarbage, "CMarshaler", "<CMarshaler: Cannot access memory at address 0xa5a5a5a5a5a5a5fd>"),
        NoObject(g_strGarbage, "CVector<int>", "<CVector<int>: elements of 2779096485 bytes, not 4>"),
        NoObject(g_strGarbage, "CVectorBase", "<CVectorBase: a capacity of 2779096485 elements cannot be>"),
        NoObject(g_strGarbage, "CListBase", "<CListBase: a capacity of 5558192970 elements cannot be>"),
        NoObject(g_strGarbage, "CAATreeBase", "<CAATreeBase: a capacity of 5558192970 elements cannot be>"),
        NoObject(g_strGarbage, "CVListBase", "<CVListBase: a capacity of 2779096485 elements cannot be>"),
        NoObject(g_strGarbage, "CTimeZone", "<CTimeZone: no text>"),
        NoObject(g_strGarbage, "SEComGuid", "<SEComGuid: Cannot access memory at address 0xa5a5a5a5a5a5a5a5>"),
        NoObject(g_strZeros, "CString", "<CString: no text yet>"),
        NoObject(g_strZeros, "CBlob", "<CBlob: elements that are not bytes>"),
        NoObject(g_strZeros, "CMarshaler", "<CMarshaler: the write pointer is in none of its segments>"),
        NoObject(g_strZeros, "CList<int>", "<CList<int>: elements of 0 bytes, not 4>"),
        NoObject(g_strZeros, "CVectorBase", "CVectorBase of 0 elements of 0 bytes, capacity 0"),
        NoObject(g_strZeros, "CListBase", "CListBase of 0 elements of 0 bytes, capacity 0"),
        NoObject(g_strZeros, "CAATreeBase", "CAATreeBase of 0 elements of 0 bytes, capacity 0"),
        NoObject(g_strZeros, "CVListBase", "CVListBase of 0 elements of 0 bytes, capacity 0"),
        NoObject(g_strZeros, "CTimeZone", "<CTimeZone: no text>"),
        NoObject(g_strZeros, "CTime",
                 "Julian day 0 00:00:00.000 UTC = {m_timeZone = <CTimeZone: no text>, m_uJulianDay = 0, "
                 "m_uTimeMs = 0, m_bDefault = false}"),
    };
    return cases;
}

// One run of gdb: what it printed of each expression, empty where it printed none.
class CGdbRun
{
public:
    // The setup commands come before gdb knows of the program.
    CGdbRun(const std::vector<std::string>& rSetup, const std::vector<std::string>& rCommands,
            const std::vector<std::string>& rExpressions, const std::vector<std::string>& rProgram)
        : m_texts(rExpressions.size())
    {
        std::vector<std::string> arguments = {"--batch", "-nx", "-iex", "set debuginfod enabled off"};
        for (const std::string& rCommand : rSetup) arguments.insert(arguments.end(), {"-iex", rCommand});
        for (const std::string& rCommand : rCommands) arguments.insert(arguments.end(), {"-ex", rCommand});
        for (size_t uIndex = 0; uIndex < rExpressions.size(); ++uIndex)
        {
            arguments.insert(arguments.end(), {"-ex", "echo \\n[" + std::to_string(uIndex) + "]", "-ex",
                                               "print " + rExpressions[uIndex]});
        }
        arguments.push_back("--args");
        arguments.insert(arguments.end(), rProgram.begin(), rProgram.end());
        m_result = RunProgram(ORVEL_GDB, arguments);
        Parse();
    }

    const std::string& GetText(size_t uIndex) const { return m_texts[uIndex]; }
    const SRunResult& GetResult() const { return m_result; }

private:
    void Parse()
    {
        static const std::regex line(R"(\[(\d+)\]\$\d+ = (.*))");
        std::istringstream output(m_result.strOutput);
        std::smatch match;
        for (std::string strLine; std::getline(output, strLine);)
        {
            if (std::regex_match(strLine, match, line)) m_texts[std::stoul(match[1])] = match[2];
        }
    }

    std::vector<std::string> m_texts;
    SRunResult m_result;
};

std::vector<std::string> ExpressionsOf(const std::vector<SCase>& rCases)
{
    std::vector<std::string> expressions;
    for (const SCase& rCase : rCases) expressions.push_back(rCase.strExpression);
    return expressions;
}

const std::vector<std::string>& BuildTreeSetup()
{
    static const std::vector<std::string> setup = {"add-auto-load-safe-path " ORVEL_LIBRARY_DIR};
    return setup;
}

const std::vector<std::string>& CommandsToShow()
{
    static const std::vector<std::string> commands = {"set startup-with-shell off", "set disable-randomization off",
                                                      "break Show", "run"};
    return commands;
}

std::string CorePath()
{
    static const CScratchDirectory directory("orvel core");
    return directory.GetPath() / "core";
}

// Runs in the build tree, and leaves a core dump.
const CGdbRun& RunOfBuildTree()
{
    static const CGdbRun run = []
    {
        std::vector<std::string> commands = CommandsToShow();
        commands.push_back("generate-core-file " + CorePath());
        return CGdbRun(BuildTreeSetup(), commands, ExpressionsOf(Cases()), {ORVEL_PRINTED_PROGRAM});
    }();
    return run;
}

const CGdbRun& RunOfCoreDump()
{
    RunOfBuildTree();
    static const CGdbRun run(BuildTreeSetup(), {"core-file " + CorePath()}, ExpressionsOf(Cases()),
                             {ORVEL_PRINTED_PROGRAM});
    return run;
}

std::string InstallationPrefix()
{
    static const CScratchDirectory prefix("orvel printers");
    return prefix.GetPath();
}

// The optimised program, with the installed library, stripped of all that a debugger wants.
const CGdbRun& RunOfInstallation()
{
    static const CGdbRun run = []
    {
        const std::string strPrefix = InstallationPrefix();
        const SRunResult installation =
            RunProgram(ORVEL_CMAKE, {"--install", ORVEL_BINARY_DIR, "--strip", "--prefix", strPrefix});
        EXPECT_EQ(0, installation.nStatus) << installation.strOutput << installation.strErrors;
        const std::string strAutoLoad = strPrefix + "/" ORVEL_INSTALL_DATADIR "/gdb/auto-load";
        std::vector<std::string> commands = CommandsToShow();
        commands.insert(commands.begin(), "set environment LD_LIBRARY_PATH " + strPrefix + "/" ORVEL_INSTALL_LIBDIR);
        return CGdbRun({"add-auto-load-scripts-directory " + strAutoLoad, "add-auto-load-safe-path " + strAutoLoad},
                       commands, ExpressionsOf(Cases()), {ORVEL_PRINTED_OPTIMIZED});
    }();
    return run;
}

class CPrinted : public testing::TestWithParam<size_t>
{
protected:
    static void Expect(const CGdbRun& rRun)
    {
        EXPECT_EQ(Cases()[GetParam()].strWant, rRun.GetText(GetParam()))
            << rRun.GetResult().strOutput.substr(0, 500) << rRun.GetResult().strErrors;
    }
};
TEST_P(CPrinted, InTheBuildTree)
{
    Expect(RunOfBuildTree());
}
TEST_P(CPrinted, OfACoreDump)
{
    Expect(RunOfCoreDump());
}
TEST_P(CPrinted, OptimisedWithTheInstalledLibrary)
{
    Expect(RunOfInstallation());
}
INSTANTIATE_TEST_SUITE_P(Objects, CPrinted, testing::Range<size_t>(0, Cases().size()),
                         [](const auto& rInfo)
                         { return std::to_string(rInfo.param) + "_" + Cases()[rInfo.param].strName; });

TEST(CPrinters, RaiseNothingAndAreLoadedInSilence)
{
    for (const CGdbRun* const pRun : {&RunOfBuildTree(), &RunOfCoreDump(), &RunOfInstallation()})
    {
        const SRunResult& rResult = pRun->GetResult();
        EXPECT_EQ(0, rResult.nStatus);
        EXPECT_EQ(std::string::npos, rResult.strErrors.find("Python")) << rResult.strErrors;
        EXPECT_EQ(std::string::npos, (rResult.strOutput + rResult.strErrors).find("class_layouts"))
            << rResult.strOutput << rResult.strErrors;
    }
}

// Removing the library would leave it there, and not everybody may write there.
TEST(CPrinters, WriteNothingBesideTheInstalledLibrary)
{
    RunOfInstallation();
    for (const auto& rEntry : std::filesystem::recursive_directory_iterator(InstallationPrefix()))
    {
        EXPECT_NE("__pycache__", rEntry.path().filename()) << rEntry.path();
    }
}

// The script is run again each time the library is, and perhaps by hand.
TEST(CPrinters, LoadTwiceAndStandOnce)
{
    const char* const pszCount =
        "python print('printers', [p.name for f in gdb.objfiles() for p in f.pretty_printers].count('orvel_framework'),"
        " 'layouts', [f.filename.endswith('class_layouts.o') for f in gdb.objfiles()].count(True))";
    std::vector<std::string> commands = CommandsToShow();
    commands.insert(commands.end(),
                    {"source " ORVEL_LIBRARY_FILE "-gdb.py", pszCount, "with confirm off -- run", pszCount});
    const CGdbRun run(BuildTreeSetup(), commands, {"rObjects.strText"}, {ORVEL_PRINTED_PROGRAM});
    const std::string& rOutput = run.GetResult().strOutput;
    const std::string strOnce = "printers 1 layouts 1\n";
    const size_t uFirst = rOutput.find(strOnce);
    ASSERT_NE(std::string::npos, uFirst) << rOutput << run.GetResult().strErrors;
    EXPECT_NE(std::string::npos, rOutput.find(strOnce, uFirst + 1)) << rOutput << run.GetResult().strErrors;
    EXPECT_EQ(R"("hello")", run.GetText(0));
}

TEST(CPrinters, TellWhoHoldsAMutex)
{
    const CGdbRun run(BuildTreeSetup(), CommandsToShow(), {"rObjects.mutexHeld"}, {ORVEL_PRINTED_PROGRAM});
    EXPECT_TRUE(std::regex_match(run.GetText(0), std::regex("CMutex, held by LWP [1-9][0-9]*, 2 times")))
        << run.GetText(0);
}

TEST(CPrinters, GiveUpWhereThereIsNoEndInSight)
{
    std::vector<std::string> commands = CommandsToShow();
    commands.push_back(
        "python import orvel_printers; orvel_printers.MAX_SEGMENTS = 2; orvel_printers.MAX_TREE_HEIGHT = 1");
    const CGdbRun run(BuildTreeSetup(), commands, {"rObjects.marshalerMany", "rObjects.treeBase"},
                      {ORVEL_PRINTED_PROGRAM});
    EXPECT_EQ("<CMarshaler: more than 2 segments>", run.GetText(0)) << run.GetResult().strErrors;
    EXPECT_EQ("CAATreeBase of 3 elements of 2 bytes, capacity 3 = {<the tree is too high>}", run.GetText(1));
}

// The names in the printers are a copy.
TEST(CPrinters, KnowEveryResultCodeOfTheHeader)
{
    std::ifstream file(ORVEL_SOURCE_DIR "/framework/kernel/result.h");
    const std::string strHeader{std::istreambuf_iterator<char>(file), {}};
    const std::regex definition(R"(constexpr QvResult (QV_RES_\w+) =[^;]*?(0x[0-9A-F]+|0)\)?;)");
    std::vector<SCase> cases;
    for (std::sregex_iterator it(strHeader.begin(), strHeader.end(), definition), end; it != end; ++it)
    {
        cases.push_back({"", "(QvResult)" + (*it)[2].str(), (*it)[1].str()});
    }
    ASSERT_EQ(13u, cases.size());
    const CGdbRun run(BuildTreeSetup(), CommandsToShow(), ExpressionsOf(cases), {ORVEL_PRINTED_PROGRAM});
    for (size_t uIndex = 0; uIndex < cases.size(); ++uIndex)
    {
        EXPECT_EQ(cases[uIndex].strWant, run.GetText(uIndex)) << run.GetResult().strErrors;
    }
}
}  // namespace
