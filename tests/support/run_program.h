#ifndef TESTS_SUPPORT_RUN_PROGRAM_H
#define TESTS_SUPPORT_RUN_PROGRAM_H
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

/// How a program ended, and what it wrote.
struct SRunResult
{
    int nStatus;  // exit status, or the negative number of the signal
    std::string strOutput;
    std::string strErrors;
};

/// What was written to an unnamed file.
inline std::string ContentsOf(std::FILE* pFile)
{
    std::string contents;
    std::rewind(pFile);
    for (int n = std::fgetc(pFile); n != EOF; n = std::fgetc(pFile)) contents += static_cast<char>(n);
    return contents;
}

/// Runs a program with arguments and standard input to its end. With pszOutput, its standard output goes there.
inline SRunResult RunProgram(const char* pszProgram, const std::vector<std::string>& rArguments,
                             const std::string& rInput = "", const char* pszOutput = nullptr)
{
    std::FILE* const apFiles[] = {std::tmpfile(), std::tmpfile(), std::tmpfile()};
    std::fwrite(rInput.data(), 1, rInput.size(), apFiles[0]);
    std::rewind(apFiles[0]);
    const pid_t pid = fork();
    if (pid == 0)
    {
        for (int n = 0; n < 3; ++n) dup2(fileno(apFiles[n]), n);
        if (pszOutput != nullptr) dup2(open(pszOutput, O_WRONLY), STDOUT_FILENO);
        std::vector<char*> argv = {const_cast<char*>(pszProgram)};
        for (const std::string& rArgument : rArguments) argv.push_back(const_cast<char*>(rArgument.c_str()));
        argv.push_back(nullptr);
        execv(pszProgram, argv.data());
        _exit(99);
    }
    int nStatus = 0;
    EXPECT_EQ(pid, waitpid(pid, &nStatus, 0));
    const SRunResult result = {WIFSIGNALED(nStatus) ? -WTERMSIG(nStatus) : WEXITSTATUS(nStatus), ContentsOf(apFiles[1]),
                               ContentsOf(apFiles[2])};
    for (std::FILE* const pFile : apFiles) std::fclose(pFile);
    return result;
}

#endif
