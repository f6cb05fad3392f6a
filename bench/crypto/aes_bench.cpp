#include <benchmark/benchmark.h>

// The peer is what the class stands on, called directly.
#define OPENSSL_API_COMPAT 10101
#include <openssl/aes.h>
#include <openssl/modes.h>

#include "bench/support/peers.h"
#include "framework/crypto/aes.h"

namespace
{
constexpr unsigned int g_uKeySize = 16;

struct SParameters
{
    CCipher::EAction eAction;
    CCipher::EMode eMode;
};

struct SPeer
{
    AES_KEY key;
    uint8_t auIv[16] = {};
    uint8_t auKeyStream[16] = {};
    unsigned int uKeyStreamAt = 0;
    int nDirection;

    explicit SPeer(const SParameters& rst)
        : nDirection(rst.eAction == CCipher::eACTION_ENCRYPT ? AES_ENCRYPT : AES_DECRYPT)
    {
        const std::vector<uint8_t> bytes = FixedBytes(g_uKeySize);
        const bool bInverse =
            (rst.eMode == CCipher::eMODE_CBC || rst.eMode == CCipher::eMODE_ECB) && nDirection == AES_DECRYPT;
        if (bInverse) AES_set_decrypt_key(bytes.data(), 8 * g_uKeySize, &key);
        else AES_set_encrypt_key(bytes.data(), 8 * g_uKeySize, &key);
    }

    void Run(CCipher::EMode eMode, const uint8_t* puIn, size_t uSize, uint8_t* puOut)
    {
        int* const pnKeyStreamAt = reinterpret_cast<int*>(&uKeyStreamAt);
        if (eMode == CCipher::eMODE_CBC) AES_cbc_encrypt(puIn, puOut, uSize, &key, auIv, nDirection);
        if (eMode == CCipher::eMODE_CFB) AES_cfb128_encrypt(puIn, puOut, uSize, &key, auIv, pnKeyStreamAt, nDirection);
        if (eMode == CCipher::eMODE_OFB) AES_ofb128_encrypt(puIn, puOut, uSize, &key, auIv, pnKeyStreamAt);
        if (eMode == CCipher::eMODE_CTR)
        {
            CRYPTO_ctr128_encrypt(puIn, puOut, uSize, &key, auIv, auKeyStream, &uKeyStreamAt,
                                  reinterpret_cast<block128_f>(AES_encrypt));
        }
        if (eMode != CCipher::eMODE_ECB) return;
        for (size_t u = 0; u < uSize; u += 16) AES_ecb_encrypt(puIn + u, puOut + u, &key, nDirection);
    }
};

void Begin(CAes& rAes, const SParameters& rst)
{
    rAes.Begin(rst.eAction, rst.eMode, FixedBytes(g_uKeySize).data(), g_uKeySize, nullptr, 0);
}

void BM_AesOurs(benchmark::State& rState, SParameters st)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    const unsigned int uInSize = static_cast<unsigned int>(input.size());
    std::vector<uint8_t> output(input.size() + 15);
    unsigned int uSize = 0;
    CAes aes;
    Begin(aes, st);
    aes.Update(input.data(), uInSize, output.data(), &uSize);
    std::vector<uint8_t> peerOutput(input.size());
    SPeer(st).Run(st.eMode, input.data(), input.size(), peerOutput.data());
    RequireEqual(output.data(), peerOutput.data(), peerOutput.size(), "aes");

    for (auto _ : rState)
    {
        aes.Update(input.data(), uInSize, output.data(), &uSize);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_AesPeer(benchmark::State& rState, SParameters st)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    std::vector<uint8_t> output(input.size());
    SPeer peer(st);
    for (auto _ : rState)
    {
        peer.Run(st.eMode, input.data(), input.size(), output.data());
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_AesBlob(benchmark::State& rState, SParameters st)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    const CBlob blobIn(input.data(), static_cast<unsigned int>(input.size()));
    CBlob blobOut;
    CAes aes;
    Begin(aes, st);
    for (auto _ : rState)
    {
        aes.Update(&blobIn, &blobOut, false);
        benchmark::DoNotOptimize(blobOut.GetFirstIndexPtr());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void Register(const std::string& rstrName, SParameters st)
{
    for (const int64_t nSize : {16, 1024, 65536})
    {
        benchmark::RegisterBenchmark((rstrName + "/ours").c_str(), BM_AesOurs, st)->Arg(nSize);
        benchmark::RegisterBenchmark((rstrName + "/libcrypto").c_str(), BM_AesPeer, st)->Arg(nSize);
    }
    benchmark::RegisterBenchmark((rstrName + " a blob/ours").c_str(), BM_AesBlob, st)->Arg(65536);
    benchmark::RegisterBenchmark((rstrName + " a blob/ours on bytes").c_str(), BM_AesOurs, st)->Arg(65536);
}

[[maybe_unused]] const bool g_bRegistered = []
{
    const struct
    {
        const char* pszName;
        CCipher::EMode eMode;
    } aModes[] = {{"cbc", CCipher::eMODE_CBC},
                  {"cfb", CCipher::eMODE_CFB},
                  {"ctr", CCipher::eMODE_CTR},
                  {"ecb", CCipher::eMODE_ECB},
                  {"ofb", CCipher::eMODE_OFB}};
    for (const auto& rMode : aModes)
    {
        Register(std::string("aes-128-") + rMode.pszName + " encrypt", {CCipher::eACTION_ENCRYPT, rMode.eMode});
        Register(std::string("aes-128-") + rMode.pszName + " decrypt", {CCipher::eACTION_DECRYPT, rMode.eMode});
    }
    return true;
}();
}  // namespace
