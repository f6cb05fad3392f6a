// Folding with 512-bit registers, see crc_blocks.cpp. This file alone is compiled with the instructions it uses, so it
// uses nothing inline of other headers: the linker might keep its copy for everybody.
#include <immintrin.h>

#include "framework/crypto/crc_blocks.h"

namespace orvel_internal
{
namespace
{
constexpr int g_nXor3 = 0x96;  // the truth table of a ^ b ^ c

inline __m512i Load(const void* pv)
{
    return _mm512_loadu_si512(pv);
}

// Adds both halves of each 16 bytes of a block, by their factors, to a sum.
inline __m512i MultiplyAdd(__m512i sum, __m512i block, __m512i factors)
{
    const __m512i low = _mm512_clmulepi64_epi128(block, factors, 0x00);
    const __m512i high = _mm512_clmulepi64_epi128(block, factors, 0x11);
    return _mm512_ternarylogic_epi64(sum, low, high, g_nXor3);
}

inline __m128i AddLanes(__m512i lanes)
{
    const __m256i halves = _mm256_xor_si256(_mm512_castsi512_si256(lanes), _mm512_extracti64x4_epi64(lanes, 1));
    return _mm_xor_si128(_mm256_castsi256_si128(halves), _mm256_extracti128_si256(halves, 1));
}

inline uint32_t Divide(__m128i remainder, const SCrcFolding& rstFolding)
{
    const __m128i factors = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rstFolding.auDivision));
    const __m128i quotient = _mm_clmulepi64_si128(remainder, factors, 0x00);
    const __m128i product = _mm_clmulepi64_si128(quotient, factors, 0x10);
    const uint64_t uProduct = static_cast<uint64_t>(_mm_extract_epi64(product, 1));
    return static_cast<uint32_t>(uProduct >> 31) ^ static_cast<uint32_t>(_mm_extract_epi32(remainder, 2));
}

// The bytes that are no whole block go first, behind zeros: then all else are whole blocks up to the end. The register
// belongs to the first four bytes of the message; where the first block has fewer, rPending is what belongs to the next.
inline __m512i FirstBlock(uint32_t uRegister, const uint8_t* puData, unsigned int uOdd, __m512i& rPending)
{
    alignas(64) static constexpr uint8_t auCOUNT[64] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                                        16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31,
                                                        32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45, 46, 47,
                                                        48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};
    const __m512i data = _mm512_maskz_loadu_epi8((1ull << uOdd) - 1, puData);
    const __m512i inFront = _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(uRegister)));
    // Rotates the bytes up, so that the odd ones end at the top; the indexes wrap at 64.
    const __m512i from = _mm512_add_epi8(_mm512_load_si512(auCOUNT), _mm512_set1_epi8(static_cast<char>(uOdd)));
    const __m512i bytes = _mm512_xor_si512(data, inFront);
    const __mmask64 next = ~0ull >> uOdd;
    rPending = _mm512_maskz_permutexvar_epi8(next, from, bytes);
    return _mm512_maskz_permutexvar_epi8(~next, from, bytes);
}
}  // namespace

uint32_t CrcFoldVpclmul(const SCrcFolding& rstFolding, uint32_t uRegister, const uint8_t* puData, size_t uSize)
{
    const uint8_t* const puEnd = puData + uSize;
    const uint8_t* const puFactorsEnd = reinterpret_cast<const uint8_t*>(rstFolding.auToEnd) + SCrcFolding::uREACH;
    const unsigned int uOdd = uSize % 64;
    __m512i pending;
    const __m512i first = FirstBlock(uRegister, puData, uOdd, pending);
    puData += uOdd;
    __m512i sum = _mm512_setzero_si512();
    if (uSize < SCrcFolding::uREACH) { sum = MultiplyAdd(sum, first, Load(puFactorsEnd - (puEnd - puData) - 64)); }
    else
    {
        constexpr int nLANES = 8;
        const __m512i factors =
            _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(rstFolding.auBy512)));
        __m512i aLanes[nLANES];
        aLanes[0] = first;
        for (int n = 1; n < nLANES; ++n) aLanes[n] = Load(puData + 64 * (n - 1));
        aLanes[1] = _mm512_xor_si512(aLanes[1], pending);
        pending = sum;
        for (puData += 448; puEnd - puData >= 512; puData += 512)
        {
            for (int n = 0; n < nLANES; ++n) aLanes[n] = MultiplyAdd(Load(puData + 64 * n), aLanes[n], factors);
        }
        const uint8_t* const puFactors = puFactorsEnd - (puEnd - puData) - 512;
        for (int n = 0; n < nLANES; ++n) sum = MultiplyAdd(sum, aLanes[n], Load(puFactors + 64 * n));
    }
    for (; puData != puEnd; puData += 64)
    {
        const __m512i block = _mm512_xor_si512(Load(puData), pending);
        pending = _mm512_setzero_si512();
        sum = MultiplyAdd(sum, block, Load(puFactorsEnd - (puEnd - puData)));
    }
    return Divide(AddLanes(sum), rstFolding);
}
}  // namespace orvel_internal
