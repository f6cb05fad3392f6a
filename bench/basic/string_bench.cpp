#include "framework/basic/string.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace
{
const char* const g_apszTEXTS[] = {"user %d logged in", "request %d from host %s took %u microseconds on try %d of %d"};

void BM_FormatOurs(benchmark::State& rState)
{
    const char* const pszFormat = g_apszTEXTS[rState.range(0)];
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
    const char* const pszFormat = g_apszTEXTS[rState.range(0)];
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

// The fastest peer: a buffer that happens to be large enough.
void BM_FormatStdBuffer(benchmark::State& rState)
{
    const char* const pszFormat = g_apszTEXTS[rState.range(0)];
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

// The same source for both classes: what a user writes.
template <typename String>
void BM_AppendHello(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        String str;
        for (unsigned int u = 0; u < 20; ++u) str += "hello";
        benchmark::DoNotOptimize(str);
    }
}

template <typename String>
void BM_AppendCharacter(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        String str;
        for (unsigned int u = 0; u < 64; ++u) str += static_cast<char>('a' + u % 16);
        benchmark::DoNotOptimize(str);
    }
}

const char* TextOfSize(std::int64_t nSize)
{
    static const std::string s_strText(1000, 'x');
    return s_strText.c_str() + s_strText.size() - static_cast<std::size_t>(nSize);
}

template <typename String>
void BM_MakeAndDrop(benchmark::State& rState)
{
    const char* pszText = TextOfSize(rState.range(0));
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(pszText);
        String str(pszText);
        benchmark::DoNotOptimize(str);
    }
}

// What the described algorithm takes at least: a block from the default allocator, with 8 bytes more than the capacity,
// and its release.
void BM_MakeAndDropBlock(benchmark::State& rState)
{
    const char* pszText = TextOfSize(rState.range(0));
    IAllocator* const pAllocator = CDefaultAllocator::Instance();
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(pszText);
        const std::size_t uSize = std::strlen(pszText);
        IAllocator::SBlock* const pBlock =
            pAllocator->Allocate(1, static_cast<unsigned int>((uSize + 31) / 32 * 32 + 8), nullptr);
        std::memcpy(reinterpret_cast<char*>(pBlock) + 6, pszText, uSize + 1);
        benchmark::DoNotOptimize(pBlock);
        pBlock->pNext = nullptr;
        pAllocator->Release(pBlock, 8);
    }
}

template <typename String>
void BM_Equal(benchmark::State& rState)
{
    String str(TextOfSize(rState.range(0)));
    String strOther(TextOfSize(rState.range(0)));
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(str);
        benchmark::DoNotOptimize(strOther);
        benchmark::DoNotOptimize(str == strOther);
    }
}

void SetAtOf(CString& rString, unsigned int uIndex, char c)
{
    rString.SetAt(uIndex, c);
}

void SetAtOf(std::string& rString, unsigned int uIndex, char c)
{
    if (uIndex < rString.size()) rString[uIndex] = c;
}

template <typename String>
void BM_SetAt(benchmark::State& rState)
{
    String str(TextOfSize(64));
    for (auto _ : rState)
    {
        for (unsigned int u = 0; u < 64; ++u) SetAtOf(str, u, static_cast<char>('a' + u % 16));
        benchmark::DoNotOptimize(str);
    }
}
}  // namespace

BENCHMARK(BM_FormatOurs)->Name("string format/ours")->Arg(0)->Arg(1);
BENCHMARK(BM_FormatStd)->Name("string format/snprintf twice into std::string")->Arg(0)->Arg(1);
BENCHMARK(BM_FormatStdBuffer)->Name("string format/snprintf into a buffer, then std::string")->Arg(0)->Arg(1);
BENCHMARK(BM_CopyOurs)->Name("string copy/ours")->Arg(8)->Arg(1000)->Arg(65000);
BENCHMARK(BM_CopyStd)->Name("string copy/std::string")->Arg(8)->Arg(1000)->Arg(65000);
BENCHMARK(BM_AppendOurs)->Name("string append/ours")->Arg(64)->Arg(1024)->Arg(32768);
BENCHMARK(BM_AppendStd)->Name("string append/std::string")->Arg(64)->Arg(1024)->Arg(32768);
BENCHMARK(BM_AppendHello<CString>)->Name("string append hello 20 times/ours");
BENCHMARK(BM_AppendHello<std::string>)->Name("string append hello 20 times/std::string");
BENCHMARK(BM_AppendCharacter<CString>)->Name("string append a character 64 times/ours");
BENCHMARK(BM_AppendCharacter<std::string>)->Name("string append a character 64 times/std::string");
BENCHMARK(BM_MakeAndDrop<CString>)->Name("string make and drop/ours")->Arg(5)->Arg(40);
BENCHMARK(BM_MakeAndDrop<std::string>)->Name("string make and drop/std::string")->Arg(5)->Arg(40);
BENCHMARK(BM_MakeAndDropBlock)->Name("string make and drop/the block alone")->Arg(5)->Arg(40);
BENCHMARK(BM_Equal<CString>)->Name("string equal/ours")->Arg(5)->Arg(40)->Arg(1000);
BENCHMARK(BM_Equal<std::string>)->Name("string equal/std::string")->Arg(5)->Arg(40)->Arg(1000);
BENCHMARK(BM_SetAt<CString>)->Name("string set 64 characters/ours");
BENCHMARK(BM_SetAt<std::string>)->Name("string set 64 characters/std::string");
