#include "framework/crypto/aes.h"

#include <openssl/evp.h>

#include <memory>

#include "bench/support/peers.h"
#include "framework/crypto/internal/cpu_features.h"

namespace
{
struct SParameters
{
    CCipher::EAction eAction;
    CCipher::EMode eMode;
    unsigned int uKeySize;
    const EVP_CIPHER* pCipher;
};

// What the processor can do is used by both.
class CEvp
{
public:
    explicit CEvp(const SParameters& rst)
        : m_pContext(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free), m_key(FixedBytes(rst.uKeySize))
    {
        const int nEncrypt = rst.eAction == CCipher::eACTION_ENCRYPT ? 1 : 0;
        EVP_CipherInit_ex(m_pContext.get(), rst.pCipher, nullptr, m_key.data(), m_auIv, nEncrypt);
        EVP_CIPHER_CTX_set_padding(m_pContext.get(), 0);
    }

    // A message under a new key, with the context of the one before.
    void Begin() { EVP_CipherInit_ex(m_pContext.get(), nullptr, nullptr, m_key.data(), m_auIv, -1); }
    void Update(const std::vector<uint8_t>& rIn, uint8_t* puOut)
    {
        int nSize = 0;
        EVP_CipherUpdate(m_pContext.get(), puOut, &nSize, rIn.data(), static_cast<int>(rIn.size()));
    }
    void End(uint8_t* puOut)
    {
        int nSize = 0;
        EVP_CipherFinal_ex(m_pContext.get(), puOut, &nSize);
    }

private:
    std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> m_pContext;
    std::vector<uint8_t> m_key;
    uint8_t m_auIv[16] = {};
};

void Begin(CAes& rAes, const SParameters& rst)
{
    static const std::vector<uint8_t> s_key = FixedBytes(32);
    static const uint8_t s_auIv[16] = {};
    if (rAes.Begin(rst.eAction, rst.eMode, s_key.data(), rst.uKeySize, s_auIv, sizeof(s_auIv)) < 0) std::abort();
}

void RequireSameAsPeer(const SParameters& rst, const std::vector<uint8_t>& rInput, const std::vector<uint8_t>& rOutput)
{
    std::vector<uint8_t> peerOutput(rInput.size() + 16);
    CEvp(rst).Update(rInput, peerOutput.data());
    RequireEqual(rOutput.data(), peerOutput.data(), rInput.size(), "aes");
}

void BM_AesOurs(benchmark::State& rState, SParameters st)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    const unsigned int uInSize = static_cast<unsigned int>(input.size());
    std::vector<uint8_t> output(input.size() + 16);
    unsigned int uSize = 0;
    CAes aes;
    Begin(aes, st);
    static_cast<void>(aes.Update(input.data(), uInSize, output.data(), &uSize));
    RequireSameAsPeer(st, input, output);

    for (auto _ : rState)
    {
        static_cast<void>(aes.Update(input.data(), uInSize, output.data(), &uSize));
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
    rState.SetLabel(orvel_internal::CpuPathName(orvel_internal::ECpuAlgorithm::eAES));
}

void BM_AesPeer(benchmark::State& rState, SParameters st)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    std::vector<uint8_t> output(input.size() + 16);
    CEvp evp(st);
    for (auto _ : rState)
    {
        evp.Update(input, output.data());
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

// From the key to the last byte.
void BM_AesMessageOurs(benchmark::State& rState, SParameters st)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    std::vector<uint8_t> output(input.size() + 16);
    CAes aes;
    for (auto _ : rState)
    {
        unsigned int uSize = 0;
        unsigned int uLast = 0;
        Begin(aes, st);
        static_cast<void>(aes.Update(input.data(), static_cast<unsigned int>(input.size()), output.data(), &uSize));
        static_cast<void>(aes.End(output.data() + uSize, &uLast));
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    RequireSameAsPeer(st, input, output);
    rState.SetLabel(orvel_internal::CpuPathName(orvel_internal::ECpuAlgorithm::eAES));
}

void BM_AesMessagePeer(benchmark::State& rState, SParameters st)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    std::vector<uint8_t> output(input.size() + 16);
    CEvp evp(st);
    for (auto _ : rState)
    {
        evp.Begin();
        evp.Update(input, output.data());
        evp.End(output.data() + input.size());
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
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
        static_cast<void>(aes.Update(&blobIn, &blobOut, false));
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
        benchmark::RegisterBenchmark((rstrName + "/libcrypto evp").c_str(), BM_AesPeer, st)->Arg(nSize);
    }
    const std::string strMessage = rstrName + " with the key";
    benchmark::RegisterBenchmark((strMessage + "/ours").c_str(), BM_AesMessageOurs, st)->Arg(64);
    benchmark::RegisterBenchmark((strMessage + "/libcrypto evp").c_str(), BM_AesMessagePeer, st)->Arg(64);
    benchmark::RegisterBenchmark((rstrName + " a blob/ours").c_str(), BM_AesBlob, st)->Arg(65536);
    benchmark::RegisterBenchmark((rstrName + " a blob/ours on bytes").c_str(), BM_AesOurs, st)->Arg(65536);
}

[[maybe_unused]] const bool g_bRegistered = []
{
    const struct
    {
        const char* pszName;
        CCipher::EMode eMode;
        unsigned int uKeySize;
        const EVP_CIPHER* pCipher;
    } aModes[] = {{"aes-128-cbc", CCipher::eMODE_CBC, 16, EVP_aes_128_cbc()},
                  {"aes-128-cfb", CCipher::eMODE_CFB, 16, EVP_aes_128_cfb128()},
                  {"aes-128-ctr", CCipher::eMODE_CTR, 16, EVP_aes_128_ctr()},
                  {"aes-128-ecb", CCipher::eMODE_ECB, 16, EVP_aes_128_ecb()},
                  {"aes-128-ofb", CCipher::eMODE_OFB, 16, EVP_aes_128_ofb()},
                  {"aes-256-cbc", CCipher::eMODE_CBC, 32, EVP_aes_256_cbc()},
                  {"aes-256-cfb", CCipher::eMODE_CFB, 32, EVP_aes_256_cfb128()},
                  {"aes-256-ctr", CCipher::eMODE_CTR, 32, EVP_aes_256_ctr()},
                  {"aes-256-ecb", CCipher::eMODE_ECB, 32, EVP_aes_256_ecb()},
                  {"aes-256-ofb", CCipher::eMODE_OFB, 32, EVP_aes_256_ofb()}};
    for (const auto& rst : aModes)
    {
        const std::string strName = rst.pszName;
        Register(strName + " encrypt", {CCipher::eACTION_ENCRYPT, rst.eMode, rst.uKeySize, rst.pCipher});
        Register(strName + " decrypt", {CCipher::eACTION_DECRYPT, rst.eMode, rst.uKeySize, rst.pCipher});
    }
    return true;
}();
}  // namespace
