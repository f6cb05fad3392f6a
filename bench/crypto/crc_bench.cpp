#include <benchmark/benchmark.h>
#include <zlib.h>

#include "bench/support/bench_data.h"
#include "framework/crypto/cpu_features.h"
#include "framework/crypto/crc.h"
#ifdef ORVEL_HAS_ISAL
#include <isa-l/crc.h>
#endif

namespace
{
uint32_t Crc32Ours(const std::vector<uint8_t>& rInput)
{
    CCrc crc;
    uint32_t uCrc = 0;
    crc.Begin(CCrc::eCRC32);
    crc.Update(rInput.data(), static_cast<unsigned int>(rInput.size()));
    crc.End(&uCrc);
    return uCrc;
}

uint32_t Crc16Ours(const std::vector<uint8_t>& rInput)
{
    CCrc crc;
    uint16_t uCrc = 0;
    crc.Begin(CCrc::eCRC16);
    crc.Update(rInput.data(), static_cast<unsigned int>(rInput.size()));
    crc.End(&uCrc);
    return uCrc;
}

uint32_t Crc32Zlib(const std::vector<uint8_t>& rInput)
{
    return static_cast<uint32_t>(crc32(0, rInput.data(), static_cast<uInt>(rInput.size())));
}

#ifdef ORVEL_HAS_ISAL
uint32_t Crc32Isal(const std::vector<uint8_t>& rInput)
{
    return crc32_gzip_refl(0, rInput.data(), rInput.size());
}

// Another polynomial and bit order, but the same work; so there is no value to compare.
uint32_t Crc16Isal(const std::vector<uint8_t>& rInput)
{
    return crc16_t10dif(0, rInput.data(), rInput.size());
}
#endif

template <uint32_t (*pfnCrc)(const std::vector<uint8_t>&)>
void BM_Crc(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(static_cast<size_t>(rState.range(0)));
    for (auto _ : rState) benchmark::DoNotOptimize(pfnCrc(input));
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

template <uint32_t (*pfnCrc)(const std::vector<uint8_t>&)>
void BM_CrcOurs(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(static_cast<size_t>(rState.range(0)));
    RequireEqual(Crc32Ours(input) == Crc32Zlib(input), "crc32");
    BM_Crc<pfnCrc>(rState);
    rState.SetLabel(orvel_internal::CpuPathName(orvel_internal::ECpuAlgorithm::eCRC));
}

void BM_Crc32Blob(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(static_cast<size_t>(rState.range(0)));
    CBlob blob(input.data(), static_cast<unsigned int>(input.size()));
    for (auto _ : rState)
    {
        CCrc crc;
        uint32_t uCrc = 0;
        crc.Begin(CCrc::eCRC32);
        crc.Update(&blob);
        crc.End(&uCrc);
        benchmark::DoNotOptimize(uCrc);
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void Sizes(benchmark::internal::Benchmark* pBenchmark)
{
    for (const int64_t nSize : {16, 64, 256, 1024, 4096, 65536, 1048576}) pBenchmark->Arg(nSize);
}

BENCHMARK(BM_CrcOurs<Crc32Ours>)->Name("crc32/ours")->Apply(Sizes);
BENCHMARK(BM_Crc<Crc32Zlib>)->Name("crc32/zlib")->Apply(Sizes);
BENCHMARK(BM_Crc32Blob)->Name("crc32/blob")->Arg(65536);
BENCHMARK(BM_CrcOurs<Crc16Ours>)->Name("crc16/ours")->Apply(Sizes);
#ifdef ORVEL_HAS_ISAL
BENCHMARK(BM_Crc<Crc32Isal>)->Name("crc32/isa-l")->Apply(Sizes);
BENCHMARK(BM_Crc<Crc16Isal>)->Name("crc16/isa-l")->Apply(Sizes);
#endif
}  // namespace
