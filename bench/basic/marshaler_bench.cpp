#include "framework/basic/marshaler.h"

#include <benchmark/benchmark.h>

#include <string>

#include "bench/support/string_messages.h"

namespace
{
using ::Sum;
using ::Write;

// Neither side is inlined into its caller: streams are handed around by reference.
__attribute__((noinline)) void Write(CMarshaler& rMarshaler, unsigned int uCount)
{
    for (unsigned int u = 0; u < uCount; ++u) rMarshaler << u;
}

__attribute__((noinline)) unsigned int Sum(CMarshaler& rMarshaler, unsigned int uCount)
{
    unsigned int uSum = 0;
    for (unsigned int u = 0; u < uCount; ++u)
    {
        unsigned int uValue = 0;
        rMarshaler >> uValue;
        uSum += uValue;
    }
    return uSum;
}

// The buffers are reused: a marshaler keeps no memory when it is cleared, so its segments come from the pool again.
void BM_InsertOurs(benchmark::State& rState)
{
    CMarshaler marshaler;
    for (auto _ : rState)
    {
        marshaler.Clear();
        Write(marshaler, static_cast<unsigned int>(rState.range(0)));
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_InsertStd(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    std::string str;
    str.reserve(uCount * sizeof(unsigned int));
    for (auto _ : rState)
    {
        str.clear();
        Write(str, uCount);
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_InsertExtractOurs(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    CMarshaler marshaler;
    for (auto _ : rState)
    {
        marshaler.Clear();
        Write(marshaler, uCount);
        benchmark::DoNotOptimize(Sum(marshaler, uCount));
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_InsertExtractStd(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    std::string str;
    str.reserve(uCount * sizeof(unsigned int));
    for (auto _ : rState)
    {
        str.clear();
        Write(str, uCount);
        CStringReader reader(str);
        benchmark::DoNotOptimize(Sum(reader, uCount));
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// A message that lives once: made, written, read, dropped.
void BM_MessageOurs(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    for (auto _ : rState)
    {
        CMarshaler marshaler;
        Write(marshaler, uCount);
        benchmark::DoNotOptimize(Sum(marshaler, uCount));
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_MessageStd(benchmark::State& rState)
{
    const unsigned int uCount = static_cast<unsigned int>(rState.range(0));
    for (auto _ : rState)
    {
        std::string str;
        str.reserve(uCount * sizeof(unsigned int));
        Write(str, uCount);
        CStringReader reader(str);
        benchmark::DoNotOptimize(Sum(reader, uCount));
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}
}  // namespace

BENCHMARK(BM_InsertOurs)->Name("marshaler insert/ours")->Arg(14)->Arg(1000)->Arg(100000);
BENCHMARK(BM_InsertStd)->Name("marshaler insert/std::string")->Arg(14)->Arg(1000)->Arg(100000);
BENCHMARK(BM_InsertExtractOurs)->Name("marshaler insert and extract/ours")->Arg(14)->Arg(1000)->Arg(100000);
BENCHMARK(BM_InsertExtractStd)->Name("marshaler insert and extract/std::string")->Arg(14)->Arg(1000)->Arg(100000);
BENCHMARK(BM_MessageOurs)->Name("marshaler message/ours")->Arg(14)->Arg(1000)->Arg(100000);
BENCHMARK(BM_MessageStd)->Name("marshaler message/std::string")->Arg(14)->Arg(1000)->Arg(100000);
