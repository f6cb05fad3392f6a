#include "framework/basic/string.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace
{
const char* const g_apszTexts[] = {"user %d logged in", "request %d from host %s took %u microseconds on try %d of %d"};

void BM_FormatOurs(benchmark::State& rState)
{
    const char* const pszFormat = g_apszTexts[rState.range(0)];
    int n = 0;
    for (auto _ : rState)
    {
        CString str;
        str.Format(0, pszFormat, ++n, "gateway.example", 12345u, 1, 3);
        benchmark::DoNotOptimize(str.CStr());
    }
}

// Measure, make room, write: what is usually done where the length is not known.
void BM_FormatStd(benchmark::State& rState)
{
    const char* const pszFormat = g_apszTexts[rState.range(0)];
    int n = 0;
    for (auto _ : rState)
    {
        ++n;
        std::string str;
        const int nLength = std::snprintf(nullptr, 0, pszFormat, n, "gateway.example", 12345u, 1, 3);
        str.resize(static_cast<std::size_t>(nLength));
        std::snprintf(str.data(), str.size() + 1, pszFormat, n, "gateway.example", 12345u, 1, 3);
        benchmark::DoNotOptimize(str.data());
    }
}

// The kindest peer: a buffer that happens to be large enough.
void BM_FormatStdBuffer(benchmark::State& rState)
{
    const char* const pszFormat = g_apszTexts[rState.range(0)];
    int n = 0;
    for (auto _ : rState)
    {
        char szBuffer[256];
        std::snprintf(szBuffer, sizeof(szBuffer), pszFormat, ++n, "gateway.example", 12345u, 1, 3);
        std::string str(szBuffer);
        benchmark::DoNotOptimize(str.data());
    }
}

void BM_CopyOurs(benchmark::State& rState)
{
    CString str;
    str.Insert(0, static_cast<unsigned int>(rState.range(0)), 'x');
    for (auto _ : rState)
    {
        CString strCopy(str);
        benchmark::DoNotOptimize(strCopy.CStr());
    }
}

void BM_CopyStd(benchmark::State& rState)
{
    const std::string str(static_cast<std::size_t>(rState.range(0)), 'x');
    for (auto _ : rState)
    {
        std::string strCopy(str);
        benchmark::DoNotOptimize(strCopy.data());
    }
}

void BM_AppendOurs(benchmark::State& rState)
{
    CString str;
    str.ReserveCapacity(static_cast<unsigned short>(rState.range(0)));
    for (auto _ : rState)
    {
        str.EraseAll();
        for (std::int64_t n = 0; n < rState.range(0); n += 8) str += "12345678";
        benchmark::DoNotOptimize(str.CStr());
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_AppendStd(benchmark::State& rState)
{
    std::string str;
    str.reserve(static_cast<std::size_t>(rState.range(0)));
    for (auto _ : rState)
    {
        str.clear();
        for (std::int64_t n = 0; n < rState.range(0); n += 8) str += "12345678";
        benchmark::DoNotOptimize(str.data());
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}
}  // namespace

BENCHMARK(BM_FormatOurs)->Name("string format/ours")->Arg(0)->Arg(1);
BENCHMARK(BM_FormatStd)->Name("string format/snprintf twice into std::string")->Arg(0)->Arg(1);
BENCHMARK(BM_FormatStdBuffer)->Name("string format/snprintf into a buffer, then std::string")->Arg(0)->Arg(1);
BENCHMARK(BM_CopyOurs)->Name("string copy/ours")->Arg(8)->Arg(1000)->Arg(65000);
BENCHMARK(BM_CopyStd)->Name("string copy/std::string")->Arg(8)->Arg(1000)->Arg(65000);
BENCHMARK(BM_AppendOurs)->Name("string append/ours")->Arg(64)->Arg(1024)->Arg(32768);
BENCHMARK(BM_AppendStd)->Name("string append/std::string")->Arg(64)->Arg(1024)->Arg(32768);
