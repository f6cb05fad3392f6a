#include "framework/basic/marshal_reader.h"

#include <benchmark/benchmark.h>

#include <string>

#include "bench/support/string_messages.h"

namespace
{
using ::Sum;
using ::Write;

__attribute__((noinline)) unsigned int Sum(CMarshalReader& rReader, unsigned int uCount)
{
    unsigned int uSum = 0;
    for (unsigned int u = 0; u < uCount; ++u)
    {
        unsigned int uValue = 0;
        rReader >> uValue;
        uSum += uValue;
    }
    return uSum;
}

// Numbers from bytes that came from elsewhere, every one checked; and the same where they lie in segments.
void BM_ReadOurs(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    std::string str;
    Write(str, uCount);
    for (auto _ : rState)
    {
        CMarshalReader reader(str.data(), static_cast<unsigned int>(str.size()), 0);
        benchmark::DoNotOptimize(Sum(reader, uCount));
        if (reader.HasFailed()) rState.SkipWithError("a number is missing");
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_ReadSegments(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    CMarshaler marshaler;
    for (unsigned int u = 0; u < uCount; ++u) marshaler << u;
    for (auto _ : rState)
    {
        CMarshalReader reader(marshaler, 0);
        benchmark::DoNotOptimize(Sum(reader, uCount));
        if (reader.HasFailed()) rState.SkipWithError("a number is missing");
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_ReadStd(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    std::string str;
    Write(str, uCount);
    for (auto _ : rState)
    {
        CStringReader reader(str);
        benchmark::DoNotOptimize(Sum(reader, uCount));
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}
}  // namespace

BENCHMARK(BM_ReadOurs)->Name("marshal reader bytes/ours")->Arg(14)->Arg(1000)->Arg(100000);
BENCHMARK(BM_ReadSegments)->Name("marshal reader segments/ours")->Arg(14)->Arg(1000)->Arg(100000);
BENCHMARK(BM_ReadStd)->Name("marshal reader bytes/std::string")->Arg(14)->Arg(1000)->Arg(100000);
