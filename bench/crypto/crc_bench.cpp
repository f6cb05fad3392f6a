#include <benchmark/benchmark.h>
#include <zlib.h>

#include "bench/support/peers.h"
#include "framework/crypto/crc.h"
#include "framework/crypto/internal/cpu_features.h"
#ifdef ORVEL_HAS_ISAL
#include <isa-l/crc.h>
#endif

namespace
{
uint32_t Crc32Ours(CCrc& rCrc, const std::vector<uint8_t>& rInput)
{
    uint32_t uCrc = 0;
    static_cast<void>(rCrc.Begin(CCrc::eCRC32));
    static_cast<void>(rCrc.Update(rInput.data(), static_cast<unsigned int>(rInput.size())));
    static_cast<void>(rCrc.End(&uCrc));
    return uCrc;
}

uint32_t Crc16Ours(CCrc& rCrc, const std::vector<uint8_t>& rInput)
{
    uint16_t uCrc = 0;
    static_cast<void>(rCrc.Begin(CCrc::eCRC16));
    static_cast<void>(rCrc.Update(rInput.data(), static_cast<unsigned int>(rInput.size())));
    static_cast<void>(rCrc.End(&uCrc));
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
void BM_CrcPeer(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    for (auto _ : rState) benchmark::DoNotOptimize(pfnCrc(input));
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

// One object, a computation for each message.
template <uint32_t (*pfnCrc)(CCrc&, const std::vector<uint8_t>&)>
void BM_CrcOurs(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    CCrc crc;
    const uint32_t uOurs = Crc32Ours(crc, input);
    const uint32_t uPeers = Crc32Zlib(input);
    RequireEqual(reinterpret_cast<const uint8_t*>(&uOurs), reinterpret_cast<const uint8_t*>(&uPeers), 4, "crc32");
    for (auto _ : rState) benchmark::DoNotOptimize(pfnCrc(crc, input));
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
    rState.SetLabel(orvel_internal::CpuPathName(orvel_internal::ECpuAlgorithm::eCRC));
}

void BM_Crc32Blob(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    CBlob blob(input.data(), static_cast<unsigned int>(input.size()));
    CCrc crc;
    for (auto _ : rState)
    {
        uint32_t uCrc = 0;
        static_cast<void>(crc.Begin(CCrc::eCRC32));
        static_cast<void>(crc.Update(&blob));
        static_cast<void>(crc.End(&uCrc));
        benchmark::DoNotOptimize(uCrc);
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void Sizes(benchmark::internal::Benchmark* pBenchmark)
{
    for (const int64_t nSize : {16, 64, 128, 256, 512, 1024, 4096, 65536, 1048576}) pBenchmark->Arg(nSize);
}

BENCHMARK(BM_CrcOurs<Crc32Ours>)->Name("crc32/ours")->Apply(Sizes);
BENCHMARK(BM_CrcPeer<Crc32Zlib>)->Name("crc32/zlib")->Apply(Sizes);
BENCHMARK(BM_Crc32Blob)->Name("crc32 of a blob/ours")->Arg(65536);
BENCHMARK(BM_CrcOurs<Crc32Ours>)->Name("crc32 of a blob/ours on bytes")->Arg(65536);
BENCHMARK(BM_CrcOurs<Crc16Ours>)->Name("crc16/ours")->Apply(Sizes);
#ifdef ORVEL_HAS_ISAL
BENCHMARK(BM_CrcPeer<Crc32Isal>)->Name("crc32/isa-l")->Apply(Sizes);
BENCHMARK(BM_CrcPeer<Crc16Isal>)->Name("crc16/isa-l")->Apply(Sizes);
#endif
}  // namespace
