#include "framework/kernel/version.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <tuple>

namespace
{
void BM_SetStrOurs(benchmark::State& rState)
{
    CVersion version;
    const char* pszText = "12.34.56.78";
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(pszText);
        benchmark::DoNotOptimize(version.SetStr(pszText));
    }
}

void BM_SetStrSscanf(benchmark::State& rState)
{
    unsigned int auParts[4];
    const char* pszText = "12.34.56.78";
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(pszText);
        benchmark::DoNotOptimize(std::sscanf(pszText, "%u.%u.%u.%u", auParts, auParts + 1, auParts + 2, auParts + 3));
    }
}

void BM_GetStrOurs(benchmark::State& rState)
{
    const CVersion version("12.34.56.78");
    char szText[16];
    for (auto _ : rState) benchmark::DoNotOptimize(version.GetStr(szText, sizeof(szText)));
}

void BM_GetStrSnprintf(benchmark::State& rState)
{
    char szText[16];
    unsigned int uMajor = 12;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(uMajor);
        benchmark::DoNotOptimize(std::snprintf(szText, sizeof(szText), "%u.%u.%u.%u", uMajor, 34u, 56u, 78u));
    }
}

void BM_LessOurs(benchmark::State& rState)
{
    CVersion a("1.2.3.4");
    CVersion b("1.2.3.5");
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(a < b);
    }
}

void BM_LessTuple(benchmark::State& rState)
{
    std::tuple<unsigned char, unsigned char, unsigned char, unsigned char> a(1, 2, 3, 4);
    std::tuple<unsigned char, unsigned char, unsigned char, unsigned char> b(1, 2, 3, 5);
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(a < b);
    }
}
}  // namespace

BENCHMARK(BM_SetStrOurs)->Name("read/ours");
BENCHMARK(BM_SetStrSscanf)->Name("read/sscanf");
BENCHMARK(BM_GetStrOurs)->Name("write/ours");
BENCHMARK(BM_GetStrSnprintf)->Name("write/snprintf");
BENCHMARK(BM_LessOurs)->Name("compare/ours");
BENCHMARK(BM_LessTuple)->Name("compare/std::tuple");
