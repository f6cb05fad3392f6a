// Runs the C++ blocks of one page of the guide, each in a process of its own, and compares what they do with the page.
#include "tests/guide/page.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <ostream>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/run_program.h"

int RunFragment(QvResult (*pfnFragment)())
{
    const CFrameworkScope framework;
    const QvResult res = QvSucceeded(framework.GetResult()) ? pfnFragment() : framework.GetResult();
    if (QvFailed(res)) std::fprintf(stderr, "it returned %s\n", QvResultName(res));
    return QvFailed(res) ? 1 : 0;
}

// A failure names the place.
void PrintTo(const SPageBlock& rstBlock, std::ostream* pStream)
{
    *pStream << g_pszPage << ':' << rstBlock.nLine;
}

namespace
{
std::vector<SPageBlock> Blocks()
{
    std::vector<SPageBlock> blocks;
    for (const SPageBlock* pst = g_astPageBlocks; pst->nLine != 0; ++pst) blocks.push_back(*pst);
    return blocks;
}

// A terminal shows the last line whether it has an end or not.
std::string WithLineEnd(std::string text)
{
    if (!text.empty() && text.back() != '\n') text += '\n';
    return text;
}

class CGuidePage : public testing::TestWithParam<SPageBlock>
{
};

// Counted without the program that took them.
TEST(CGuidePageTaken, HasNoOtherBlocks)
{
    std::ifstream page(std::string(ORVEL_SOURCE_DIR "/") + g_pszPage);
    ASSERT_TRUE(page);
    const std::regex begin("\\s*(```|~~~)\\s*\\{?\\.?(c|cc|cpp|cxx|c\\+\\+)\\b.*", std::regex::icase);
    std::size_t uCount = 0;
    for (std::string line; std::getline(page, line);)
    {
        if (std::regex_match(line, begin)) ++uCount;
    }
    EXPECT_EQ(Blocks().size(), uCount);
}

TEST_P(CGuidePage, TellsTheTruth)
{
    const SPageBlock& rstBlock = GetParam();
    if (rstBlock.pszRefused != nullptr)
    {
        const char* const pszCommand =
            "LC_ALL=C " ORVEL_CXX " -std=c++17 -fsyntax-only -I'" ORVEL_SOURCE_DIR "' -x c++ -";
        const SRunResult result = RunProgram("/bin/sh", {"-c", pszCommand}, rstBlock.pszRefused);
        EXPECT_NE(0, result.nStatus) << "it was compiled";
        EXPECT_NE(std::string::npos, result.strErrors.find(rstBlock.pszReason)) << result.strErrors;
        return;
    }
    if (rstBlock.pfnRun == nullptr) return;  // declarations, which had to compile
    const SRunResult result =
        RunProgram("/proc/self/exe", {"--block", std::to_string(rstBlock.nLine)}, rstBlock.pszInput);
    EXPECT_EQ(rstBlock.pszOutput, WithLineEnd(result.strOutput)) << result.strErrors;
    EXPECT_EQ(rstBlock.pszEnd != nullptr ? -SIGABRT : 0, result.nStatus) << result.strErrors;
    if (rstBlock.pszEnd != nullptr)
    {
        EXPECT_NE(std::string::npos, result.strErrors.find(rstBlock.pszEnd + std::string("\n"))) << result.strErrors;
    }
}

std::string NameOf(const testing::TestParamInfo<SPageBlock>& rInfo)
{
    return "Line" + std::to_string(rInfo.param.nLine);
}

INSTANTIATE_TEST_SUITE_P(Blocks, CGuidePage, testing::ValuesIn(Blocks()), NameOf);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CGuidePage);
}  // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--block") == 0)
    {
        for (const SPageBlock& rstBlock : Blocks())
        {
            if (rstBlock.nLine != std::atoi(argv[2])) continue;
            argv[1] = nullptr;
            return rstBlock.pfnRun(1, argv);
        }
        return 99;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
