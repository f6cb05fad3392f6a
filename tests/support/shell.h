#ifndef TESTS_SUPPORT_SHELL_H
#define TESTS_SUPPORT_SHELL_H
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/run_program.h"

/// Runs a shell command to its end and returns its standard output. A failure shows what it wrote.
/// In a locale that is always there: where the user's is not, perl complains.
inline std::string Shell(const std::string& rCommand)
{
    const SRunResult result = RunProgram("/bin/sh", {"-ec", "export LC_ALL=C.UTF-8; " + rCommand});
    EXPECT_EQ(0, result.nStatus) << rCommand << "\n" << result.strOutput << result.strErrors;
    return result.strOutput;
}

/// A path as one word of a shell command.
inline std::string Quoted(const std::filesystem::path& rPath)
{
    return "'" + rPath.string() + "'";
}

#endif
