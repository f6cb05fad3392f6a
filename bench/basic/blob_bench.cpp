#include "framework/basic/blob.h"

#include <benchmark/benchmark.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "framework/basic/string.h"

namespace
{
void BM_AppendOurs(benchmark::State& rState)
{
    const unsigned char auBytes[16] = {};
    CBlob blob(static_cast<unsigned int>(rState.range(0)), nullptr);
    for (auto _ : rState)
    {
        blob.Clear();
        for (std::int64_t n = 0; n < rState.range(0); n += 16) static_cast<void>(blob.Append(auBytes, sizeof(auBytes)));
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

constexpr unsigned int g_uFIELD_BITS = 13;

void BM_AppendBitsOurs(benchmark::State& rState)
{
    const unsigned char auField[2] = {0x5a, 0xc8};
    CBlob blob(static_cast<unsigned int>(rState.range(0) * 2 + 16), nullptr);
    for (auto _ : rState)
    {
        blob.Clear();
        for (std::int64_t n = 0; n < rState.range(0); ++n) blob.AppendBits(auField, g_uFIELD_BITS, 0);
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

void BM_AppendBitsStd(benchmark::State& rState)
{
    const unsigned char auField[2] = {0x5a, 0xc8};
    std::vector<bool> bits;
    bits.reserve(static_cast<std::size_t>(rState.range(0)) * g_uFIELD_BITS);
    for (auto _ : rState)
    {
        bits.clear();
        for (std::int64_t n = 0; n < rState.range(0); ++n)
        {
            for (unsigned int u = 0; u < g_uFIELD_BITS; ++u) bits.push_back((auField[u / 8] >> (7 - u % 8) & 1) != 0);
        }
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// 64 times 4 bytes, into a reserved capacity (256) or one that has to grow (0).
void BM_Append4Ours(benchmark::State& rState)
{
    const unsigned int uCapacity = static_cast<unsigned int>(rState.range(0));
    unsigned char auBytes[4] = {1, 2, 3, 4};
    CBlob blob(uCapacity, nullptr);
    CBlob* pBlob = &blob;
    benchmark::DoNotOptimize(pBlob);  // as a member of some object is known elsewhere
    for (auto _ : rState)
    {
        if (uCapacity == 0) blob = CBlob();
        else blob.Clear();
        for (unsigned int u = 0; u < 64; ++u) static_cast<void>(blob.Append(auBytes, sizeof(auBytes)));
        benchmark::ClobberMemory();
    }
}

void BM_Append4Std(benchmark::State& rState)
{
    const std::size_t uCapacity = static_cast<std::size_t>(rState.range(0));
    unsigned char auBytes[4] = {1, 2, 3, 4};
    std::vector<unsigned char> vector;
    vector.reserve(uCapacity);
    std::vector<unsigned char>* pVector = &vector;
    benchmark::DoNotOptimize(pVector);
    for (auto _ : rState)
    {
        if (uCapacity == 0) vector = std::vector<unsigned char>();
        else vector.clear();
        for (unsigned int u = 0; u < 64; ++u) vector.insert(vector.end(), auBytes, auBytes + 4);
        benchmark::ClobberMemory();
    }
}

// Exact growth, which is described, takes a block for every append: at least this much.
void BM_Append4Blocks(benchmark::State& rState)
{
    IAllocator* const pAllocator = CDefaultAllocator::Instance();
    for (auto _ : rState)
    {
        IAllocator::SBlock* pStorage = nullptr;
        unsigned int uSize = 0;
        for (unsigned int u = 0; u < 64; ++u)
        {
            IAllocator::SBlock* const pNew = pAllocator->Allocate(1, std::max(8u, uSize + 4), nullptr);
            if (pStorage != nullptr)
            {
                std::memcpy(static_cast<void*>(pNew), static_cast<void*>(pStorage), uSize);
                pStorage->pNext = nullptr;
                pAllocator->Release(pStorage, uSize);
            }
            pStorage = pNew;
            std::memset(reinterpret_cast<unsigned char*>(pStorage) + uSize, 1, 4);
            uSize += 4;
        }
        benchmark::DoNotOptimize(pStorage);
        pStorage->pNext = nullptr;
        pAllocator->Release(pStorage, uSize);
    }
}

void BM_Append1MiBOurs(benchmark::State& rState)
{
    const std::vector<unsigned char> bytes(1 << 20, 7);
    for (auto _ : rState)
    {
        CBlob blob;
        static_cast<void>(blob.Append(bytes.data(), static_cast<unsigned int>(bytes.size())));
        benchmark::DoNotOptimize(blob.GetFirstIndexPtr());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() << 20);
}

void BM_Append1MiBStd(benchmark::State& rState)
{
    const std::vector<unsigned char> bytes(1 << 20, 7);
    for (auto _ : rState)
    {
        std::vector<unsigned char> vector;
        vector.insert(vector.end(), bytes.begin(), bytes.end());
        benchmark::DoNotOptimize(vector.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() << 20);
}

/// What one writes by hand: 64 bits held back, whole words stored. The buffer has room for eight bytes more.
class CBitWriter
{
public:
    explicit CBitWriter(unsigned char* puBytes) : m_puBytes(puBytes) {}
    void Put(std::uint64_t uValue, unsigned int uBits)
    {
        m_uHeld |= uValue << (64 - uBits) >> m_uCount;
        m_uCount += uBits;
        if (m_uCount < 32) return;
        const std::uint32_t uWord = __builtin_bswap32(static_cast<std::uint32_t>(m_uHeld >> 32));
        std::memcpy(m_puBytes, &uWord, sizeof(uWord));
        m_puBytes += sizeof(uWord);
        m_uHeld <<= 32;
        m_uCount -= 32;
    }
    void Flush()
    {
        const std::uint64_t uWord = __builtin_bswap64(m_uHeld);
        std::memcpy(m_puBytes, &uWord, sizeof(uWord));
    }

private:
    unsigned char* m_puBytes;
    std::uint64_t m_uHeld = 0;
    unsigned int m_uCount = 0;
};

class CBitReader
{
public:
    explicit CBitReader(const unsigned char* puBytes) : m_puBytes(puBytes) {}
    std::uint64_t Get(unsigned int uBits)
    {
        if (m_uCount < uBits)
        {
            std::uint32_t uWord;
            std::memcpy(&uWord, m_puBytes, sizeof(uWord));
            m_puBytes += sizeof(uWord);
            m_uHeld |= std::uint64_t{__builtin_bswap32(uWord)} << 32 >> m_uCount;
            m_uCount += 32;
        }
        const std::uint64_t uValue = m_uHeld >> (64 - uBits);
        m_uHeld <<= uBits;
        m_uCount -= uBits;
        return uValue;
    }

private:
    const unsigned char* m_puBytes;
    std::uint64_t m_uHeld = 0;
    unsigned int m_uCount = 0;
};

constexpr unsigned int g_uFIELDS = 64;

// Fields as 13 bits from the top of two bytes, which is how a blob takes and gives them.
unsigned int SumOfFieldsOurs(CBlob& rBlob, unsigned int uFirst)
{
    rBlob.Clear();
    for (unsigned int u = 0; u < g_uFIELDS; ++u)
    {
        const std::uint16_t uField = __builtin_bswap16(static_cast<std::uint16_t>((uFirst + u * 97) << 3));
        rBlob.AppendBits(reinterpret_cast<const unsigned char*>(&uField), g_uFIELD_BITS, 0);
    }
    unsigned int uSum = 0;
    for (unsigned int u = 0; u < g_uFIELDS; ++u)
    {
        std::uint16_t uField;
        rBlob.ReadBits(reinterpret_cast<unsigned char*>(&uField), g_uFIELD_BITS, 0);
        uSum = uSum * 31 + (__builtin_bswap16(uField) >> 3);
    }
    return uSum;
}

// As locals, whose members stay in registers all the time, and as objects that are known elsewhere, as a blob is.
template <bool bKnownElsewhere>
unsigned int SumOfFieldsByHand(unsigned char* puBytes, unsigned int uFirst)
{
    CBitWriter writer(puBytes);
    CBitWriter* pWriter = &writer;
    if (bKnownElsewhere) benchmark::DoNotOptimize(pWriter);
    for (unsigned int u = 0; u < g_uFIELDS; ++u) writer.Put((uFirst + u * 97) & 0x1FFF, g_uFIELD_BITS);
    writer.Flush();
    CBitReader reader(puBytes);
    CBitReader* pReader = &reader;
    if (bKnownElsewhere) benchmark::DoNotOptimize(pReader);
    unsigned int uSum = 0;
    for (unsigned int u = 0; u < g_uFIELDS; ++u)
        uSum = uSum * 31 + static_cast<unsigned int>(reader.Get(g_uFIELD_BITS));
    return uSum;
}

void BM_BitsOurs(benchmark::State& rState)
{
    CBlob blob(120, nullptr);
    unsigned char auBytes[120];
    for (unsigned int u = 0; u < 100; ++u)
    {
        if (SumOfFieldsOurs(blob, u) != SumOfFieldsByHand<false>(auBytes, u))
            rState.SkipWithError("not the same fields");
    }
    unsigned int uFirst = 0;
    for (auto _ : rState) benchmark::DoNotOptimize(SumOfFieldsOurs(blob, ++uFirst));
    rState.SetItemsProcessed(rState.iterations() * g_uFIELDS);
}

template <bool bKnownElsewhere>
void BM_BitsByHand(benchmark::State& rState)
{
    unsigned char auBytes[120];
    unsigned int uFirst = 0;
    for (auto _ : rState)
    {
        benchmark::DoNotOptimize(auBytes);
        benchmark::DoNotOptimize(SumOfFieldsByHand<bKnownElsewhere>(auBytes, ++uFirst));
    }
    rState.SetItemsProcessed(rState.iterations() * g_uFIELDS);
}
// Byte by byte, without knowing how many there will be.
template <typename Container>
void BM_PushBack(benchmark::State& rState)
{
    for (auto _ : rState)
    {
        Container container;
        Container* pContainer = &container;
        benchmark::DoNotOptimize(pContainer);  // as a member of some object is known elsewhere
        for (std::int64_t n = 0; n < rState.range(0); ++n) container.push_back(static_cast<unsigned char>(n));
        benchmark::DoNotOptimize(container.data());
        benchmark::ClobberMemory();
    }
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

template <typename Container>
void BM_Compare(benchmark::State& rState)
{
    const std::vector<unsigned char> bytes(static_cast<std::size_t>(rState.range(0)), 7);
    const Container first(bytes.begin(), bytes.end());
    Container second(first);
    second.back() = 8;
    for (auto _ : rState)
    {
        const Container* pFirst = &first;
        benchmark::DoNotOptimize(pFirst);
        benchmark::DoNotOptimize(*pFirst > second);
    }
}

std::vector<unsigned char> SomeBytes(std::int64_t nSize)
{
    std::vector<unsigned char> bytes(static_cast<std::size_t>(nSize));
    for (std::size_t u = 0; u < bytes.size(); ++u) bytes[u] = static_cast<unsigned char>(u * 151 >> 3);
    return bytes;
}

CBlob BlobOf(const std::vector<unsigned char>& rBytes)
{
    return CBlob(rBytes.data(), static_cast<unsigned int>(rBytes.size()));
}

/// The digits as libcrypto writes them, in capitals.
std::string HexByPeer(const std::vector<unsigned char>& rBytes)
{
    std::string hex(2 * rBytes.size() + 1, '\0');
    std::size_t uSize = 0;
    if (OPENSSL_buf2hexstr_ex(hex.data(), hex.size(), &uSize, rBytes.data(), rBytes.size(), '\0') != 1) hex.clear();
    hex.pop_back();
    return hex;
}

void BM_ToHexOurs(benchmark::State& rState)
{
    const std::vector<unsigned char> bytes = SomeBytes(rState.range(0));
    const CBlob blob = BlobOf(bytes);
    CString strHex;
    for (auto _ : rState)
    {
        if (blob.ToHex(&strHex, true) < 0) rState.SkipWithError("no text");
        benchmark::DoNotOptimize(strHex.CStr());
        benchmark::ClobberMemory();
    }
    if (HexByPeer(bytes) != strHex.CStr()) rState.SkipWithError("not the same digits");
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_ToHexPeer(benchmark::State& rState)
{
    const std::vector<unsigned char> bytes = SomeBytes(rState.range(0));
    std::string hex(2 * bytes.size() + 1, '\0');
    std::size_t uSize = 0;
    for (auto _ : rState)
    {
        OPENSSL_buf2hexstr_ex(hex.data(), hex.size(), &uSize, bytes.data(), bytes.size(), '\0');
        benchmark::DoNotOptimize(hex.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_FromHexOurs(benchmark::State& rState)
{
    const std::vector<unsigned char> bytes = SomeBytes(rState.range(0));
    const std::string hex = HexByPeer(bytes);
    CBlob blob;
    for (auto _ : rState)
    {
        if (blob.AssignHex(hex.c_str()) < 0) rState.SkipWithError("no bytes");
        benchmark::DoNotOptimize(blob.data());
        benchmark::ClobberMemory();
    }
    if (blob != BlobOf(bytes)) rState.SkipWithError("not the same bytes");
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}

void BM_FromHexPeer(benchmark::State& rState)
{
    std::vector<unsigned char> bytes = SomeBytes(rState.range(0));
    const std::string hex = HexByPeer(bytes);
    std::size_t uSize = 0;
    for (auto _ : rState)
    {
        OPENSSL_hexstr2buf_ex(bytes.data(), bytes.size(), &uSize, hex.c_str(), '\0');
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    rState.SetBytesProcessed(rState.iterations() * rState.range(0));
}
}  // namespace

BENCHMARK(BM_AppendOurs)->Name("blob append/ours")->Arg(64)->Arg(1024)->Arg(64 << 10);
BENCHMARK(BM_AppendStd)->Name("blob append/std::vector")->Arg(64)->Arg(1024)->Arg(64 << 10);
BENCHMARK(BM_AppendBitsOurs)->Name("blob append 13 bits/ours")->Arg(10)->Arg(1000);
BENCHMARK(BM_AppendBitsStd)->Name("blob append 13 bits/std::vector<bool>")->Arg(10)->Arg(1000);
BENCHMARK(BM_Append4Ours)->Name("blob append 4 bytes 64 times/ours")->Arg(0)->Arg(256);
BENCHMARK(BM_Append4Std)->Name("blob append 4 bytes 64 times/std::vector")->Arg(0)->Arg(256);
BENCHMARK(BM_Append4Blocks)->Name("blob append 4 bytes 64 times/64 blocks, each copied into the next")->Arg(0);
BENCHMARK(BM_Append1MiBOurs)->Name("blob append 1 MiB unreserved/ours");
BENCHMARK(BM_Append1MiBStd)->Name("blob append 1 MiB unreserved/std::vector");
BENCHMARK(BM_BitsOurs)->Name("blob 13 bits 64 times and back/ours");
BENCHMARK(BM_BitsByHand<true>)->Name("blob 13 bits 64 times and back/a 64-bit writer and reader");
BENCHMARK(BM_BitsByHand<false>)->Name("blob 13 bits 64 times and back/the same in registers");
BENCHMARK(BM_PushBack<CBlob>)->Name("blob push_back/ours")->Arg(20)->Arg(1000)->Arg(50000);
BENCHMARK(BM_PushBack<std::vector<unsigned char>>)->Name("blob push_back/std::vector")->Arg(20)->Arg(1000)->Arg(50000);
BENCHMARK(BM_Compare<CBlob>)->Name("blob compare/ours")->Arg(20)->Arg(1024);
BENCHMARK(BM_Compare<std::vector<unsigned char>>)->Name("blob compare/std::vector")->Arg(20)->Arg(1024);
BENCHMARK(BM_ToHexOurs)->Name("blob to hex/ours")->Arg(16)->Arg(64)->Arg(1024)->Arg(16384);
BENCHMARK(BM_ToHexPeer)->Name("blob to hex/libcrypto")->Arg(16)->Arg(64)->Arg(1024)->Arg(16384);
BENCHMARK(BM_FromHexOurs)->Name("blob from hex/ours")->Arg(16)->Arg(64)->Arg(1024)->Arg(16384);
BENCHMARK(BM_FromHexPeer)->Name("blob from hex/libcrypto")->Arg(16)->Arg(64)->Arg(1024)->Arg(16384);
