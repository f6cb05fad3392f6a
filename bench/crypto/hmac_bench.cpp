#include "framework/crypto/hmac.h"

#include <openssl/core_names.h>
#include <openssl/hmac.h>

#include "bench/support/peers.h"

namespace
{
constexpr uint8_t g_auKEY[20] = {1, 2, 3};

void MacOurs(CSha1Mac& rMac, const std::vector<uint8_t>& rInput, uint8_t* puCode)
{
    static_cast<void>(rMac.Begin(g_auKEY, sizeof(g_auKEY)));
    static_cast<void>(rMac.Update(rInput.data(), static_cast<unsigned int>(rInput.size())));
    static_cast<void>(rMac.End(puCode));
}

void BM_Ours(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    CSha1Mac mac;
    uint8_t auCode[20];
    for (auto _ : rState)
    {
        MacOurs(mac, input, auCode);
        benchmark::DoNotOptimize(auCode);
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
    rState.SetLabel(orvel_internal::CpuPathName(orvel_internal::ECpuAlgorithm::eSHA));
}

void CompareWithOurs(const std::vector<uint8_t>& rInput, const uint8_t* puPeers)
{
    CSha1Mac mac;
    uint8_t auOurs[20];
    MacOurs(mac, rInput, auOurs);
    RequireEqual(auOurs, puPeers, sizeof(auOurs), "hmac");
}

// The one-call form.
void BM_PeerHmac(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    uint8_t auCode[20];
    for (auto _ : rState)
    {
        HMAC(EVP_sha1(), g_auKEY, sizeof(g_auKEY), input.data(), input.size(), auCode, nullptr);
        benchmark::DoNotOptimize(auCode);
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
    CompareWithOurs(input, auCode);
}

// The EVP interface, with one context that gets the key for each message, as ours does.
void BM_PeerEvp(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    EVP_MAC* const pMac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
    EVP_MAC_CTX* const pContext = EVP_MAC_CTX_new(pMac);
    char szDigest[] = "SHA1";
    const OSSL_PARAM aParams[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, szDigest, 0),
                                  OSSL_PARAM_construct_end()};
    EVP_MAC_CTX_set_params(pContext, aParams);
    uint8_t auCode[20];
    size_t uSize = 0;
    for (auto _ : rState)
    {
        EVP_MAC_init(pContext, g_auKEY, sizeof(g_auKEY), nullptr);
        EVP_MAC_update(pContext, input.data(), input.size());
        EVP_MAC_final(pContext, auCode, &uSize, sizeof(auCode));
        benchmark::DoNotOptimize(auCode);
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
    CompareWithOurs(input, auCode);
    EVP_MAC_CTX_free(pContext);
    EVP_MAC_free(pMac);
}
}  // namespace

BENCHMARK(BM_Ours)->Name("hmac/ours")->Arg(16)->Arg(1024)->Arg(64 << 10);
BENCHMARK(BM_PeerEvp)->Name("hmac/libcrypto EVP_MAC")->Arg(16)->Arg(1024)->Arg(64 << 10);
BENCHMARK(BM_PeerHmac)->Name("hmac/libcrypto HMAC()")->Arg(16)->Arg(1024)->Arg(64 << 10);
