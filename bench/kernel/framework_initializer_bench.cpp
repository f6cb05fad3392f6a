// Whole processes, from their start to their end: one that brings the framework up and down, one that is linked with it
// (and so with libcrypto) and does nothing, one that knows nothing of it. "In this process": start-up and shut-down.
#include "framework/kernel/framework_initializer.h"

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>

namespace
{
void Run(benchmark::State& rState, const char* pszProgram)
{
    char* const apszArguments[] = {const_cast<char*>(pszProgram), nullptr};
    for ([[maybe_unused]] const auto _ : rState)
    {
        pid_t pid = 0;
        int nStatus = 0;
        if (posix_spawn(&pid, pszProgram, nullptr, nullptr, apszArguments, nullptr) != 0 ||
            waitpid(pid, &nStatus, 0) != pid || nStatus != 0)
        {
            rState.SkipWithError("the program did not run");
            return;
        }
    }
}

void InThisProcess(benchmark::State& rState)
{
    CFrameworkInitializer::Finalize();  // main() has brought it up
    for ([[maybe_unused]] const auto _ : rState)
    {
        if (CFrameworkInitializer::Initialize() < 0) std::abort();
        CFrameworkInitializer::Finalize();
    }
    if (CFrameworkInitializer::Initialize() < 0) std::abort();
}

BENCHMARK_CAPTURE(Run, ours, ORVEL_STARTED_PROGRAM)->Name("process with start-up/ours")->UseRealTime();
BENCHMARK_CAPTURE(Run, idle, ORVEL_IDLE_PROGRAM)->Name("process with start-up/linked, idle")->UseRealTime();
BENCHMARK_CAPTURE(Run, empty, ORVEL_EMPTY_PROGRAM)->Name("process with start-up/empty program")->UseRealTime();
BENCHMARK(InThisProcess)->Name("start-up and shut-down, in this process/ours");
}  // namespace
