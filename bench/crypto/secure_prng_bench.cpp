#include "framework/crypto/secure_prng.h"

#include <openssl/rand.h>

#include "bench/support/peers.h"

namespace
{
void BM_Ours(benchmark::State& rState)
{
    std::vector<uint8_t> output = FixedBytes(rState.range(0));
    for (auto _ : rState)
    {
        static_cast<void>(CSecurePrng::Generate(static_cast<unsigned int>(output.size()), output.data()));
        benchmark::DoNotOptimize(output.data());
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_Peer(benchmark::State& rState)
{
    std::vector<uint8_t> output = FixedBytes(rState.range(0));
    for (auto _ : rState)
    {
        RAND_bytes(output.data(), static_cast<int>(output.size()));
        benchmark::DoNotOptimize(output.data());
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}
}  // namespace

BENCHMARK(BM_Ours)->Name("secure prng/ours")->Arg(16)->Arg(1024);
BENCHMARK(BM_Peer)->Name("secure prng/libcrypto RAND_bytes")->Arg(16)->Arg(1024);
