#include "framework/basic/blob.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace
{
void BM_AppendOurs(benchmark::State& rState)
{
    const unsigned char auBytes[16] = {};
    CBlob blob(static_cast<unsigned int>(rState.range(0)), nullptr);
    for (auto _ : rState)
    {
        blob.Clear();
        for (std::int64_t n = 0; n < rState.range(0); n += 16) blob.Append(auBytes, sizeof(auBytes));
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_AppendStd(benchmark::State& rState)
{
    const unsigned char auBytes[16] = {};
    std::vector<unsigned char> vector;
    vector.reserve(static_cast<std::size_t>(rState.range(0)));
    for (auto _ : rState)
    {
        vector.clear();
        for (std::int64_t n = 0; n < rState.range(0); n += 16) vector.insert(vector.end(), auBytes, auBytes + 16);
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

constexpr unsigned int g_uFieldBits = 13;

void BM_AppendBitsOurs(benchmark::State& rState)
{
    const unsigned char auField[2] = {0x5a, 0xc8};
    CBlob blob(static_cast<unsigned int>(rState.range(0) * 2 + 16), nullptr);
    for (auto _ : rState)
    {
        blob.Clear();
        for (std::int64_t n = 0; n < rState.range(0); ++n) blob.AppendBits(auField, g_uFieldBits, 0);
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_AppendBitsStd(benchmark::State& rState)
{
    const unsigned char auField[2] = {0x5a, 0xc8};
    std::vector<bool> bits;
    bits.reserve(static_cast<std::size_t>(rState.range(0)) * g_uFieldBits);
    for (auto _ : rState)
    {
        bits.clear();
        for (std::int64_t n = 0; n < rState.range(0); ++n)
        {
            for (unsigned int u = 0; u < g_uFieldBits; ++u) bits.push_back((auField[u / 8] >> (7 - u % 8) & 1) != 0);
        }
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}
}  // namespace

BENCHMARK(BM_AppendOurs)->Name("blob append/ours")->Arg(64)->Arg(1024)->Arg(64 << 10);
BENCHMARK(BM_AppendStd)->Name("blob append/std::vector")->Arg(64)->Arg(1024)->Arg(64 << 10);
BENCHMARK(BM_AppendBitsOurs)->Name("blob append 13 bits/ours")->Arg(10)->Arg(1000);
BENCHMARK(BM_AppendBitsStd)->Name("blob append 13 bits/std::vector<bool>")->Arg(10)->Arg(1000);
