#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include "bench/support/peers.h"
#include "framework/basic/string.h"
#include "framework/crypto/base64.h"
#include "framework/crypto/internal/cpu_features.h"
#ifdef ORVEL_HAS_MODP_BASE64
#include <modp_b64.h>
#endif

namespace
{
std::vector<uint8_t> EncodedByPeer(const std::vector<uint8_t>& rBytes)
{
    std::vector<uint8_t> text(rBytes.size() / 3 * 4 + 5);
    text.resize(static_cast<size_t>(EVP_EncodeBlock(text.data(), rBytes.data(), static_cast<int>(rBytes.size()))));
    return text;
}

void SetPath(benchmark::State& rState)
{
    rState.SetLabel(orvel_internal::CpuPathName(orvel_internal::ECpuAlgorithm::eBASE64));
}

void BM_EncodeOurs(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    std::vector<uint8_t> output(input.size() / 3 * 4 + 4);
    unsigned int uSize = 0;
    unsigned int uLast = 0;
    CBase64 base64;
    for (auto _ : rState)
    {
        static_cast<void>(base64.Update(input.data(), static_cast<unsigned int>(input.size()), output.data(), &uSize));
        static_cast<void>(base64.End(output.data() + uSize, &uLast));
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    output.resize(uSize + uLast);
    RequireEqual(output.data(), EncodedByPeer(input).data(), output.size(), "base64 encoding");
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
    SetPath(rState);
}

void BM_EncodeBlob(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    const CBlob blobIn(input.data(), static_cast<unsigned int>(input.size()));
    CBlob blobOut;
    CBase64 base64;
    for (auto _ : rState)
    {
        static_cast<void>(base64.Update(&blobIn, &blobOut, false));
        static_cast<void>(base64.End(&blobOut, true));
        benchmark::DoNotOptimize(blobOut.GetFirstIndexPtr());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_EncodePeer(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    std::vector<uint8_t> output(input.size() / 3 * 4 + 5);
    for (auto _ : rState)
    {
        EVP_EncodeBlock(output.data(), input.data(), static_cast<int>(input.size()));
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

#ifdef ORVEL_HAS_MODP_BASE64
void BM_EncodeModp(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    std::vector<char> output(modp_b64_encode_len(input.size()));
    for (auto _ : rState)
    {
        modp_b64_encode(output.data(), reinterpret_cast<const char*>(input.data()), input.size());
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}
#endif

// The size is that of the bytes, also in decoding: so its speed compares with encoding.
void BM_DecodeOurs(benchmark::State& rState)
{
    const std::vector<uint8_t> bytes = FixedBytes(rState.range(0));
    const std::vector<uint8_t> text = EncodedByPeer(bytes);
    std::vector<uint8_t> output(bytes.size() + 3);
    unsigned int uSize = 0;
    CBase64 base64;
    for (auto _ : rState)
    {
        static_cast<void>(base64.Begin(CCipher::eACTION_DECRYPT, CCipher::eMODE_DEFAULT, nullptr, 0, nullptr, 0));
        static_cast<void>(base64.Update(text.data(), static_cast<unsigned int>(text.size()), output.data(), &uSize));
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    output.resize(uSize);
    RequireEqual(output.data(), bytes.data(), bytes.size(), "base64 decoding");
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
    SetPath(rState);
}

void BM_DecodeBlob(benchmark::State& rState)
{
    const std::vector<uint8_t> text = EncodedByPeer(FixedBytes(rState.range(0)));
    const CBlob blobIn(text.data(), static_cast<unsigned int>(text.size()));
    CBlob blobOut;
    CBase64 base64;
    for (auto _ : rState)
    {
        static_cast<void>(base64.Begin(CCipher::eACTION_DECRYPT, CCipher::eMODE_DEFAULT, nullptr, nullptr));
        static_cast<void>(base64.Update(&blobIn, &blobOut, false));
        benchmark::DoNotOptimize(blobOut.GetFirstIndexPtr());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_DecodePeer(benchmark::State& rState)
{
    const std::vector<uint8_t> text = EncodedByPeer(FixedBytes(rState.range(0)));
    std::vector<uint8_t> output(text.size());
    for (auto _ : rState)
    {
        EVP_DecodeBlock(output.data(), text.data(), static_cast<int>(text.size()));
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

// In one call, into and from a text of the library's: the peers' texts and bytes have their room beforehand.
void BM_ToTextOurs(benchmark::State& rState)
{
    const std::vector<uint8_t> input = FixedBytes(rState.range(0));
    const CBlob blob(input.data(), static_cast<unsigned int>(input.size()));
    CString strText;
    for (auto _ : rState)
    {
        if (CBase64::ToText(blob, &strText) < 0) rState.SkipWithError("no text");
        benchmark::DoNotOptimize(strText.CStr());
        benchmark::ClobberMemory();
    }
    RequireEqual(reinterpret_cast<const uint8_t*>(strText.CStr()), EncodedByPeer(input).data(), strText.GetSize(),
                 "base64 to text");
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_FromTextOurs(benchmark::State& rState)
{
    const std::vector<uint8_t> bytes = FixedBytes(rState.range(0));
    const std::vector<uint8_t> text = EncodedByPeer(bytes);
    const CString strText(reinterpret_cast<const char*>(text.data()), static_cast<unsigned int>(text.size()));
    CBlob blob;
    for (auto _ : rState)
    {
        if (CBase64::FromText(strText, &blob) < 0) rState.SkipWithError("no bytes");
        benchmark::DoNotOptimize(blob.data());
        benchmark::ClobberMemory();
    }
    RequireEqual(blob.data(), bytes.data(), bytes.size(), "base64 from text");
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

#ifdef ORVEL_HAS_MODP_BASE64
void BM_DecodeModp(benchmark::State& rState)
{
    const std::vector<uint8_t> text = EncodedByPeer(FixedBytes(rState.range(0)));
    std::vector<char> output(modp_b64_decode_len(text.size()));
    for (auto _ : rState)
    {
        modp_b64_decode(output.data(), reinterpret_cast<const char*>(text.data()), text.size());
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}
#endif

void TextSizes(benchmark::internal::Benchmark* pBenchmark)
{
    for (const int64_t nSize : {16, 64, 1024, 48000}) pBenchmark->Arg(nSize);
}

void Sizes(benchmark::internal::Benchmark* pBenchmark)
{
    for (const int64_t nSize : {16, 64, 1024, 65536, 1048576}) pBenchmark->Arg(nSize);
}

BENCHMARK(BM_EncodeOurs)->Name("base64 encode/ours")->Apply(Sizes);
BENCHMARK(BM_EncodePeer)->Name("base64 encode/libcrypto")->Apply(Sizes);
#ifdef ORVEL_HAS_MODP_BASE64
BENCHMARK(BM_EncodeModp)->Name("base64 encode/modp_b64")->Apply(Sizes);
#endif
BENCHMARK(BM_EncodeBlob)->Name("base64 encode a blob/ours")->Arg(65536);
BENCHMARK(BM_EncodeOurs)->Name("base64 encode a blob/ours on bytes")->Arg(65536);
BENCHMARK(BM_DecodeOurs)->Name("base64 decode/ours")->Apply(Sizes);
BENCHMARK(BM_DecodePeer)->Name("base64 decode/libcrypto")->Apply(Sizes);
BENCHMARK(BM_DecodeBlob)->Name("base64 decode a blob/ours")->Arg(65536);
BENCHMARK(BM_DecodeOurs)->Name("base64 decode a blob/ours on bytes")->Arg(65536);
BENCHMARK(BM_ToTextOurs)->Name("base64 to text/ours")->Apply(TextSizes);
BENCHMARK(BM_EncodePeer)->Name("base64 to text/libcrypto")->Apply(TextSizes);
BENCHMARK(BM_FromTextOurs)->Name("base64 from text/ours")->Apply(TextSizes);
BENCHMARK(BM_DecodePeer)->Name("base64 from text/libcrypto")->Apply(TextSizes);
#ifdef ORVEL_HAS_MODP_BASE64
BENCHMARK(BM_EncodeModp)->Name("base64 to text/modp_b64")->Apply(TextSizes);
BENCHMARK(BM_DecodeModp)->Name("base64 from text/modp_b64")->Apply(TextSizes);
#endif
}  // namespace
