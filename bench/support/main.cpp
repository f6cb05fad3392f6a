// Runs a benchmark binary with the framework up.
#include <benchmark/benchmark.h>

#include "framework/kernel/framework_initializer.h"

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    const CFrameworkScope framework;
    if (framework.GetResult() < 0) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
