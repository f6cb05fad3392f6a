// Runs the example as a user would and looks at what it prints and returns.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/examples/refusing.h"
#include "tests/support/run_program.h"

namespace
{
const char* const g_pszWorkers = ORVEL_BINARY_DIR "/examples/workers/workers";

std::string DigestOf(const std::string& rText)
{
    unsigned char auDigest[EVP_MAX_MD_SIZE];
    unsigned int uSize = 0;
    EVP_Digest(rText.data(), rText.size(), auDigest, &uSize, EVP_sha256(), nullptr);
    std::string strHex;
    char szByte[3];
    for (unsigned int u = 0; u < uSize; ++u)
    {
        std::snprintf(szByte, sizeof(szByte), "%02x", auDigest[u]);
        strHex += szByte;
    }
    return strHex;
}

/// The program at work, between three pipes.
class CWorkersProcess
{
public:
    /// Reads what Write() gives it, or the file pszInput.
    explicit CWorkersProcess(const std::vector<std::string>& rArguments, const char* pszInput = nullptr)
    {
        int anInput[2];
        int anOutput[2];
        int anErrors[2];
        for (int* pnPipe : {anInput, anOutput, anErrors}) EXPECT_EQ(0, pipe2(pnPipe, O_CLOEXEC));
        m_pid = StartProgram(g_pszWorkers, rArguments, {anInput[0], anOutput[1], anErrors[1]},
                             [&]
                             {
                                 if (pszInput != nullptr) Redirect(STDIN_FILENO, pszInput, O_RDONLY);
                             });
        close(anInput[0]);
        close(anOutput[1]);
        close(anErrors[1]);
        m_nInput = anInput[1];
        m_nOutput = anOutput[0];
        m_nErrors = anErrors[0];
    }
    ~CWorkersProcess()
    {
        EndInput();
        close(m_nOutput);
        close(m_nErrors);
    }
    CWorkersProcess(const CWorkersProcess&) = delete;
    CWorkersProcess& operator=(const CWorkersProcess&) = delete;

    void Write(const std::string& rText)
    {
        for (std::size_t uDone = 0; uDone < rText.size();)
        {
            const ssize_t nWritten = write(m_nInput, rText.data() + uDone, rText.size() - uDone);
            if (nWritten <= 0) return;
            uDone += static_cast<std::size_t>(nWritten);
        }
    }
    void EndInput()
    {
        if (m_nInput >= 0) close(m_nInput);
        m_nInput = -1;
    }
    void CloseOutput()
    {
        close(m_nOutput);
        m_nOutput = -1;
    }
    void Interrupt(int nSignal) const { kill(m_pid, nSignal); }

    /// The output up to uLines newlines, or to its end.
    std::string ReadOutput(std::size_t uLines = SIZE_MAX) { return Read(m_nOutput, uLines); }
    std::string ReadErrors() { return Read(m_nErrors, SIZE_MAX); }

    /// The exit status, or the negative number of the signal.
    int Wait() { return StatusOf(m_pid); }

private:
    static std::string Read(int nFile, std::size_t uLines)
    {
        std::string strText;
        char cByte = 0;
        while (uLines != 0 && read(nFile, &cByte, 1) == 1)
        {
            strText += cByte;
            if (cByte == '\n') --uLines;
        }
        return strText;
    }

    pid_t m_pid = -1;
    int m_nInput = -1;
    int m_nOutput = -1;
    int m_nErrors = -1;
};

SRunResult RunWorkers(const std::vector<std::string>& rArguments, const std::string& rInput)
{
    CWorkersProcess process(rArguments);
    // On a thread of its own: both sides may have to wait for each other.
    std::thread writer(
        [&]
        {
            process.Write(rInput);
            process.EndInput();
        });
    const std::string strOutput = process.ReadOutput();
    writer.join();
    const std::string strErrors = process.ReadErrors();
    return {process.Wait(), strOutput, strErrors};
}

/// The digests by the numbers of their lines.
std::map<unsigned long, std::string> DigestsIn(const std::string& rOutput)
{
    std::map<unsigned long, std::string> digests;
    std::istringstream output(rOutput);
    unsigned long uNumber = 0;
    std::string strDigest;
    while (output >> uNumber >> strDigest) EXPECT_TRUE(digests.emplace(uNumber, strDigest).second) << uNumber;
    return digests;
}

std::map<unsigned long, std::string> DigestsOf(const std::vector<std::string>& rLines)
{
    std::map<unsigned long, std::string> digests;
    for (std::size_t u = 0; u < rLines.size(); ++u) digests[u + 1] = DigestOf(rLines[u]);
    return digests;
}

std::string Joined(const std::vector<std::string>& rLines)
{
    std::string strText;
    for (const std::string& rLine : rLines) strText += rLine + "\n";
    return strText;
}

class CWorkers : public testing::Test
{
protected:
    // For the programs, too: they inherit it.
    CWorkers() { signal(SIGPIPE, SIG_IGN); }
};
}  // namespace

TEST_F(CWorkers, PrintTheDigestOfEveryLineHoweverManyTheyAre)
{
    std::vector<std::string> lines;
    for (unsigned int u = 0; u < 3000; ++u) lines.push_back(std::string(u * 37 % 900, static_cast<char>('a' + u % 26)));
    for (const char* pszCount : {"1", "3", "64"})
    {
        const SRunResult outcome = RunWorkers({pszCount}, Joined(lines));
        EXPECT_EQ(0, outcome.nStatus);
        EXPECT_EQ("", outcome.strErrors);
        EXPECT_EQ(DigestsOf(lines), DigestsIn(outcome.strOutput)) << pszCount;
    }
}

TEST_F(CWorkers, TakeALastLineWithoutANewlineEmptyLinesAndNuls)
{
    const std::string strNul("a\0b", 3);
    EXPECT_EQ(DigestsOf({"", strNul, "", "end"}), DigestsIn(RunWorkers({}, "\n" + strNul + "\n\nend").strOutput));
    const SRunResult nothing = RunWorkers({"2"}, "");
    EXPECT_EQ(0, nothing.nStatus);
    EXPECT_EQ("", nothing.strOutput);
}

TEST_F(CWorkers, TakeALineOfTheGreatestLengthAndRefuseALongerOneByItsNumber)
{
    const std::string strLongest(8192, 'x');
    EXPECT_EQ(DigestsOf({strLongest, "y"}), DigestsIn(RunWorkers({}, strLongest + "\ny\n").strOutput));
    const SRunResult outcome = RunWorkers({}, "first\n" + strLongest + "x\nthird\n");
    EXPECT_EQ(1, outcome.nStatus);
    EXPECT_EQ(DigestsOf({"first"}), DigestsIn(outcome.strOutput)) << "what came before is finished";
    EXPECT_EQ("workers: line 2 is longer than 8192 characters\n", outcome.strErrors);
}

TEST_F(CWorkers, InterruptedFinishTheLinesThatWereReadAndSayHowMany)
{
    for (const int nSignal : {SIGINT, SIGTERM})
    {
        CWorkersProcess process({"3"});
        process.Write("one\ntwo\nthree\nfo");
        const std::string strOutput = process.ReadOutput(3);
        process.Interrupt(nSignal);
        EXPECT_EQ("", process.ReadOutput()) << "nothing of the line that was begun";
        EXPECT_EQ("workers: interrupted, 3 lines done\n", process.ReadErrors());
        EXPECT_EQ(130, process.Wait());
        EXPECT_EQ(DigestsOf({"one", "two", "three"}), DigestsIn(strOutput));
    }
}

TEST_F(CWorkers, InterruptedInFullSwingFinishEveryLineTheyCountAndLeaveInputThatIsThere)
{
    for (const bool bFile : {false, true})
    {
        std::vector<std::string> lines;
        for (unsigned int u = 0; u < (bFile ? 100000 : 20000); ++u) lines.push_back("line " + std::to_string(u));
        const std::string strText = Joined(lines);
        std::FILE* const pFile = std::tmpfile();
        ASSERT_EQ(strText.size(), std::fwrite(strText.data(), 1, strText.size(), pFile));
        ASSERT_EQ(0, std::fflush(pFile));
        const std::string strFile = "/proc/self/fd/" + std::to_string(fileno(pFile));
        CWorkersProcess process({"2"}, bFile ? strFile.c_str() : nullptr);
        std::thread writer(
            [&]
            {
                if (!bFile) process.Write(strText);
            });
        // The output that nobody reads, and what is full before it, keep the program from the end of the file.
        std::string strOutput = process.ReadOutput(100);
        process.Interrupt(bFile ? SIGTERM : SIGINT);
        strOutput += process.ReadOutput();
        const std::string strErrors = process.ReadErrors();
        EXPECT_EQ(130, process.Wait());
        writer.join();
        const std::map<unsigned long, std::string> digests = DigestsIn(strOutput);
        EXPECT_TRUE(!bFile || digests.size() < lines.size()) << digests.size();
        EXPECT_EQ("workers: interrupted, " + std::to_string(digests.size()) + " lines done\n", strErrors);
        lines.resize(std::min(lines.size(), digests.size()));
        EXPECT_EQ(DigestsOf(lines), digests) << "none is left out";
        std::fclose(pFile);
    }
}

TEST_F(CWorkers, SayWhenTheirOutputIsGone)
{
    CWorkersProcess process({});
    process.CloseOutput();
    process.Write("one\n");
    process.EndInput();
    EXPECT_EQ("workers: standard output cannot be written\n", process.ReadErrors());
    EXPECT_EQ(1, process.Wait());
}

TEST_F(CWorkers, RefuseOtherUse)
{
    const std::vector<std::vector<std::string>> misuses = {{"0"}, {"65"}, {"-1"}, {"two"}, {"3x"}, {""}, {"1", "2"}};
    for (const std::vector<std::string>& rArguments : misuses)
    {
        const SRunResult outcome = RunWorkers(rArguments, "text\n");
        EXPECT_EQ(2, outcome.nStatus);
        EXPECT_EQ("", outcome.strOutput);
        EXPECT_NE(std::string::npos, outcome.strErrors.find("--help"));
    }
}

TEST_F(CWorkers, ExplainThemselves)
{
    const SRunResult outcome = RunWorkers({"--help"}, "");
    EXPECT_EQ(0, outcome.nStatus);
    EXPECT_NE(std::string::npos, outcome.strOutput.find("SIGINT"));
    EXPECT_EQ("", outcome.strErrors);
}

TEST_F(CWorkers, StopWhenTheirOutputIsGoneAndTheirInputHasNoEnd)
{
    const SRunResult result =
        RunProgram("/bin/sh", {"-c", "yes 2>/dev/null | '" + std::string(g_pszWorkers) + "' >/dev/full"});
    EXPECT_EQ(1, result.nStatus);
    EXPECT_EQ("workers: standard output cannot be written\n", result.strErrors);
}

TEST_F(CWorkers, DoAllLinesOrSayThatSomeAreMissingWhenMemoryRunsOut)
{
    std::string strInput;
    std::map<unsigned long, std::string> want;
    for (unsigned long u = 1; u <= 5; ++u)
    {
        const std::string strLine(u * 40, 'x');
        strInput += strLine + "\n";
        want[u] = DigestOf(strLine);
    }
    unsigned int uMissing = 0;
    const auto runAndLook = [&]
    {
        const SRunResult result = RunProgram(ORVEL_BINARY_DIR "/tests/workers_refused", {"2"}, strInput);
        std::istringstream lines(result.strOutput);
        unsigned int uLines = 0;
        std::string strDigest;
        for (unsigned long uNumber = 0; lines >> uNumber >> strDigest; ++uLines) EXPECT_EQ(want[uNumber], strDigest);
        if (result.nStatus == 0)
        {
            EXPECT_EQ(5u, uLines);
            return;
        }
        EXPECT_EQ(1, result.nStatus);
        EXPECT_EQ(0u, result.strErrors.find("workers: ")) << result.strErrors;
        ++uMissing;
    };
    const unsigned int uRequests = RefuseEach("REFUSE_NEW", runAndLook);
    if (TESTS_OWN_OPERATOR_NEW == 0) GTEST_SKIP() << "the sanitizer brings its own operator new";
    EXPECT_GT(uRequests, 20u);
    EXPECT_GT(uMissing, 20u);
}
