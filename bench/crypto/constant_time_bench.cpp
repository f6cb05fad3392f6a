#include "framework/crypto/constant_time.h"

#include <openssl/crypto.h>

#include "bench/support/peers.h"

namespace
{
bool OfLibcrypto(const void* pvLeft, const void* pvRight, unsigned int uSize)
{
    return CRYPTO_memcmp(pvLeft, pvRight, uSize) == 0;
}

template <bool (*pfnIsEqual)(const void*, const void*, unsigned int)>
void BM_Equal(benchmark::State& rState)
{
    const std::vector<uint8_t> left = FixedBytes(rState.range(0));
    const std::vector<uint8_t> right = left;
    const unsigned int uSize = static_cast<unsigned int>(left.size());
    for (auto _ : rState)
    {
        bool bIsEqual = pfnIsEqual(left.data(), right.data(), uSize);
        benchmark::DoNotOptimize(bIsEqual);
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}
}  // namespace

BENCHMARK(BM_Equal<QvIsEqualConstantTime>)->Name("equal in constant time/ours")->Arg(20)->Arg(1024);
BENCHMARK(BM_Equal<OfLibcrypto>)->Name("equal in constant time/libcrypto CRYPTO_memcmp()")->Arg(20)->Arg(1024);
