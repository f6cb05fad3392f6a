#ifndef TESTS_SUPPORT_RUN_PROGRAM_H
#define TESTS_SUPPORT_RUN_PROGRAM_H
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

/// How a program ended, and what it wrote.
struct SRunResult
{
    int nStatus;  // exit status, or the negative number of the signal
    std::string strOutput;
    std::string strErrors;
};

/// Waits for the end of a child: its exit status, or the negative number of the signal.
inline int StatusOf(pid_t pid)
{
    int nStatus = 0;
    EXPECT_EQ(pid, waitpid(pid, &nStatus, 0));
    return WIFSIGNALED(nStatus) ? -WTERMSIG(nStatus) : WEXITSTATUS(nStatus);
}

/// Lets a copy of this process do something; its result is the exit status.
inline pid_t StartChild(const std::function<int()>& rWhat)
{
    const pid_t pid = fork();
    if (pid == 0) _exit(rWhat());
    return pid;
}

/// Likewise, and waits for its end.
inline int StatusOfChild(const std::function<int()>& rWhat)
{
    return StatusOf(StartChild(rWhat));
}

/// Starts a program. The files become its standard input, output and errors; then, still in this program, rPrepare is
/// called. A program that cannot be started ends with status 99.
inline pid_t StartProgram(const char* pszProgram, const std::vector<std::string>& rArguments,
                          const std::array<int, 3>& rFiles, const std::function<void()>& rPrepare = nullptr)
{
    // Made before the fork, after which another thread may have left the allocator locked.
    std::vector<char*> argv = {const_cast<char*>(pszProgram)};
    for (const std::string& rArgument : rArguments) argv.push_back(const_cast<char*>(rArgument.c_str()));
    argv.push_back(nullptr);
    return StartChild(
        [&]
        {
            for (int n = 0; n < 3; ++n) dup2(rFiles[static_cast<std::size_t>(n)], n);
            if (rPrepare) rPrepare();
            execv(pszProgram, argv.data());
            return 99;
        });
}

/// In a child: lets one of the standard files be pszPath.
inline void Redirect(int nTarget, const char* pszPath, int nFlags)
{
    const int nFile = open(pszPath, nFlags | O_CLOEXEC, 0600);
    if (nFile < 0 || dup2(nFile, nTarget) < 0) _exit(99);
}

/// What was written to an unnamed file.
inline std::string ContentsOf(std::FILE* pFile)
{
    std::string contents;
    char acPart[4096];
    std::rewind(pFile);
    while (const std::size_t uRead = std::fread(acPart, 1, sizeof(acPart), pFile)) contents.append(acPart, uRead);
    return contents;
}

/// Runs a program with arguments and standard input to its end. With pszOutput, its standard output goes there.
inline SRunResult RunProgram(const char* pszProgram, const std::vector<std::string>& rArguments,
                             const std::string& rInput = "", const char* pszOutput = nullptr,
                             const std::function<void()>& rPrepare = nullptr)
{
    std::FILE* const apFiles[] = {std::tmpfile(), std::tmpfile(), std::tmpfile()};
    for (std::FILE* const pFile : apFiles) fcntl(fileno(pFile), F_SETFD, FD_CLOEXEC);
    std::fwrite(rInput.data(), 1, rInput.size(), apFiles[0]);
    std::rewind(apFiles[0]);
    const pid_t pid = StartProgram(pszProgram, rArguments, {fileno(apFiles[0]), fileno(apFiles[1]), fileno(apFiles[2])},
                                   [&]
                                   {
                                       if (pszOutput != nullptr) Redirect(STDOUT_FILENO, pszOutput, O_WRONLY);
                                       if (rPrepare) rPrepare();
                                   });
    const int nStatus = StatusOf(pid);
    const SRunResult result = {nStatus, ContentsOf(apFiles[1]), ContentsOf(apFiles[2])};
    for (std::FILE* const pFile : apFiles) std::fclose(pFile);
    return result;
}

#endif
