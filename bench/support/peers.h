#ifndef BENCH_SUPPORT_PEERS_H
#define BENCH_SUPPORT_PEERS_H
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "framework/crypto/internal/cpu_features.h"

/// The same bytes in every run.
inline std::vector<uint8_t> FixedBytes(std::int64_t nSize)
{
    std::vector<uint8_t> bytes(static_cast<std::size_t>(nSize));
    for (std::size_t u = 0; u < bytes.size(); ++u) bytes[u] = static_cast<uint8_t>(u * 131 + 7);
    return bytes;
}

/// A figure counts only if both sides do the same work.
inline void RequireEqual(const uint8_t* puOurs, const uint8_t* puPeers, std::size_t uSize, const char* pszWhat)
{
    if (std::memcmp(puOurs, puPeers, uSize) == 0) return;
    std::fprintf(stderr, "%s: ours and the peer's result differ\n", pszWhat);
    std::abort();
}

/// A digest of one message with libcrypto, as its users write it: one context, initialised for each message.
class CPeerDigest
{
public:
    explicit CPeerDigest(const EVP_MD* pDigest) : m_pContext(EVP_MD_CTX_new()), m_pDigest(pDigest) {}
    ~CPeerDigest() { EVP_MD_CTX_free(m_pContext); }
    CPeerDigest(const CPeerDigest&) = delete;
    CPeerDigest& operator=(const CPeerDigest&) = delete;

    void operator()(const std::vector<uint8_t>& rInput, uint8_t* puDigest)
    {
        EVP_DigestInit_ex(m_pContext, m_pDigest, nullptr);
        EVP_DigestUpdate(m_pContext, rInput.data(), rInput.size());
        EVP_DigestFinal_ex(m_pContext, puDigest, nullptr);
    }

private:
    EVP_MD_CTX* m_pContext;
    const EVP_MD* m_pDigest;
};

template <typename Hash>
void DigestOurs(Hash& rHash, const std::vector<uint8_t>& rInput, uint8_t* puDigest)
{
    static_cast<void>(rHash.Begin());
    static_cast<void>(rHash.Update(rInput.data(), static_cast<unsigned int>(rInput.size())));
    static_cast<void>(rHash.End(puDigest));
}

template <typename Hash>
void BM_DigestOurs(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    Hash hash;
    uint8_t auDigest[64];
    for (auto _ : rState)
    {
        DigestOurs(hash, input, auDigest);
        benchmark::DoNotOptimize(auDigest);
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

template <typename Hash>
void BM_ShaOurs(benchmark::State& rState)
{
    BM_DigestOurs<Hash>(rState);
    rState.SetLabel(orvel_internal::CpuPathName(orvel_internal::ECpuAlgorithm::eSHA));
}

template <typename Hash, const EVP_MD* (*pfnDigest)()>
void BM_DigestPeer(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    CPeerDigest peer(pfnDigest());
    uint8_t auDigest[64];
    for (auto _ : rState)
    {
        peer(input, auDigest);
        benchmark::DoNotOptimize(auDigest);
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));

    Hash hash;
    uint8_t auOurs[64];
    DigestOurs(hash, input, auOurs);
    RequireEqual(auOurs, auDigest, hash.GetSizeInBytes(), "digest");
}

#endif
