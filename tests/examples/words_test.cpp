// Runs the word count as a user would; the oracle is std::map.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/examples/refusing.h"
#include "tests/support/run_program.h"
#include "tests/support/test_seed.h"

using namespace std::string_literals;

namespace
{
const char* const g_pszWords = ORVEL_BINARY_DIR "/examples/words/words";

std::string WordsOf(const std::string& rText)
{
    std::map<std::string, long> counts;
    std::string strWord;
    for (const char c : rText + '\n')
    {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) strWord += c;
        else if (!strWord.empty()) ++counts[std::exchange(strWord, "")];
    }
    std::vector<std::pair<long, std::string>> ranking;
    for (const auto& [word, nCount] : counts) ranking.emplace_back(-nCount, word);
    std::sort(ranking.begin(), ranking.end());
    std::string strWant;
    char szNumber[32];
    for (std::size_t u = 0; u < std::min<std::size_t>(20, ranking.size()); ++u)
    {
        std::snprintf(szNumber, sizeof(szNumber), "%8ld ", -ranking[u].first);
        strWant += szNumber + ranking[u].second + '\n';
    }
    return strWant + std::to_string(counts.size()) + " words\n";
}

void ExpectWords(const std::string& rText)
{
    const SRunResult result = RunProgram(g_pszWords, {}, rText);
    EXPECT_EQ(0, result.nStatus);
    EXPECT_EQ(WordsOf(rText), result.strOutput);
    EXPECT_EQ("", result.strErrors);
}

TEST(WordsExample, PrintsTheMostFrequentWordsThoseOfOneFrequencyInOrder)
{
    ExpectWords("");
    ExpectWords("\n\n .,\n");
    ExpectWords("b a b, c1 c1: a\n\nB");
    ExpectWords("nul\0byte \xE4hnlich\xFF nul"s);
    ExpectWords(std::string(65535, 'x') + " " + std::string(65535, 'y') + " x");
}

TEST(WordsExample, CountsRandomTextsAsAStandardMapDoes)
{
    std::mt19937 rng(TestSeed());
    for (const unsigned int uVocabulary : {5u, 19u, 20u, 21u, 5000u})
    {
        std::string strText;
        for (unsigned int u = 0; u < 3000; ++u)
            strText += std::to_string(Below(rng, uVocabulary)) + " ,.\n-"[Below(rng, 5)];
        ExpectWords(strText);
    }
}

TEST(WordsExample, RefusesAWordThatIsTooLong)
{
    const SRunResult result = RunProgram(g_pszWords, {}, "a " + std::string(65536, 'x') + " b\n");
    EXPECT_EQ(1, result.nStatus);
    EXPECT_EQ("", result.strOutput);
    EXPECT_EQ("words: a word: QV_RES_INVALID_ARGUMENT\n", result.strErrors);
}

TEST(WordsExample, ReportsFilesThatCannotBeReadOrWritten)
{
    const SRunResult unread = RunProgram("/bin/sh", {"-c", "'" + std::string(g_pszWords) + "' < /"});
    EXPECT_EQ(1, unread.nStatus);
    EXPECT_EQ("words: standard input cannot be read\n", unread.strErrors);
    const SRunResult unwritten = RunProgram(g_pszWords, {}, "a\n", "/dev/full");
    EXPECT_EQ(1, unwritten.nStatus);
    EXPECT_EQ("words: standard output cannot be written\n", unwritten.strErrors);
}

TEST(WordsExample, CountsAllOrSaysWhyNotWhenMemoryRunsOut)
{
    const std::string strText = "one two three one " + std::string(300, 'x');
    const auto runAndLook = [&]
    {
        const SRunResult result = RunProgram(ORVEL_BINARY_DIR "/tests/words_refused", {}, strText);
        if (result.nStatus == 0)
        {
            EXPECT_EQ(WordsOf(strText), result.strOutput);
            return;
        }
        EXPECT_EQ(1, result.nStatus);
        EXPECT_EQ("", result.strOutput);
        EXPECT_EQ(0u, result.strErrors.find("words: ")) << result.strErrors;
    };
    const unsigned int uRequests = RefuseEach("REFUSE_NEW", runAndLook);
    if (TESTS_OWN_OPERATOR_NEW == 0) GTEST_SKIP() << "the sanitizer brings its own operator new";
    EXPECT_GT(uRequests, 5u);
}
}  // namespace
