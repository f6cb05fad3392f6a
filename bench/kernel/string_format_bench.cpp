#include "framework/kernel/string_format.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace
{
// A value that the compiler does not know: it would convert a constant at compile time.
unsigned long Value()
{
    unsigned long uValue = 12345678901234567890u;
    benchmark::DoNotOptimize(uValue);
    return uValue;
}

void BM_NumberOurs(benchmark::State& rState)
{
    char szBuffer[32];
    for (auto _ : rState)
    {
        QvUnsignedInt64ToString(szBuffer, sizeof(szBuffer), Value(), 10);
        benchmark::DoNotOptimize(szBuffer);
    }
}

void BM_NumberSnprintf(benchmark::State& rState)
{
    char szBuffer[32];
    for (auto _ : rState)
    {
        std::snprintf(szBuffer, sizeof(szBuffer), "%lu", Value());
        benchmark::DoNotOptimize(szBuffer);
    }
}

void BM_NumberToChars(benchmark::State& rState)
{
    char szBuffer[32];
    for (auto _ : rState)
    {
        std::to_chars(szBuffer, szBuffer + sizeof(szBuffer), Value());
        benchmark::DoNotOptimize(szBuffer);
    }
}

void BM_ParseOurs(benchmark::State& rState)
{
    for (auto _ : rState) benchmark::DoNotOptimize(QvStringToUnsignedInt64("1234567890123", nullptr, 10));
}

void BM_ParseStrtoul(benchmark::State& rState)
{
    for (auto _ : rState) benchmark::DoNotOptimize(std::strtoul("1234567890123", nullptr, 10));
}

void BM_SnprintfOurs(benchmark::State& rState)
{
    char szBuffer[64];
    for (auto _ : rState)
    {
        QvSnprintf(szBuffer, sizeof(szBuffer), "%s: %d", "value", 42);
        benchmark::DoNotOptimize(szBuffer);
    }
}

void BM_SnprintfPeer(benchmark::State& rState)
{
    char szBuffer[64];
    for (auto _ : rState)
    {
        std::snprintf(szBuffer, sizeof(szBuffer), "%s: %d", "value", 42);
        benchmark::DoNotOptimize(szBuffer);
    }
}
}  // namespace

BENCHMARK(BM_NumberOurs)->Name("number to text/ours");
BENCHMARK(BM_NumberSnprintf)->Name("number to text/snprintf");
BENCHMARK(BM_NumberToChars)->Name("number to text/std::to_chars");
BENCHMARK(BM_ParseOurs)->Name("text to number/ours");
BENCHMARK(BM_ParseStrtoul)->Name("text to number/strtoul");
BENCHMARK(BM_SnprintfOurs)->Name("bounded format/ours");
BENCHMARK(BM_SnprintfPeer)->Name("bounded format/snprintf");
