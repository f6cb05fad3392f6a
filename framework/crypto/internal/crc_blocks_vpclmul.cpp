// Folding with 512-bit registers, see crc_blocks.cpp. This file alone is compiled with the instructions it uses, so it
// uses nothing inline of other headers: the linker might keep its copy for everybody.
#include <immintrin.h>

#include "framework/crypto/internal/crc_blocks.h"

namespace orvel_internal
{
namespace
{
constexpr int g_nXOR3 = 0x96;  // the truth table of a ^ b ^ c

inline __m512i Load(const void* pv)
{
    return _mm512_loadu_si512(pv);
}

// Adds both halves of each 16 bytes of a block, by their factors, to a sum.
inline __m512i MultiplyAdd(__m512i sum, __m512i block, __m512i factors)
{
    const __m512i low = _mm512_clmulepi64_epi128(block, factors, 0x00);
    const __m512i high = _mm512_clmulepi64_epi128(block, factors, 0x11);
    return _mm512_ternarylogic_epi64(sum, low, high, g_nXOR3);
}

inline __m128i AddLanes(__m512i lanes)
{
    const __m256i halves = _mm256_xor_si256(_mm512_castsi512_si256(lanes), _mm512_extracti64x4_epi64(lanes, 1));
    return _mm_xor_si128(_mm256_castsi256_si128(halves), _mm256_extracti128_si256(halves, 1));
}

inline uint32_t Divide(__m128i remainder, const SCrcVariant& rstVariant)
{
    const __m128i factors = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rstVariant.auDivision));
    const __m128i quotient = _mm_clmulepi64_si128(remainder, factors, 0x00);
    const __m128i product = _mm_clmulepi64_si128(quotient, factors, 0x10);
    return static_cast<uint32_t>(_mm_extract_epi32(_mm_xor_si128(remainder, product), 2));
}

// The register, where it is added to the message: at its first four bytes.
inline __m512i InFront(uint32_t uRegister)
{
    return _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(uRegister)));
}

// The bytes in front of the whole blocks, 4 to 63, as the end of a block that begins with zeros.
inline __m512i OddBlock(uint32_t uRegister, const uint8_t* puData, unsigned int uSize)
{
    alignas(64) static constexpr uint8_t auCOUNT[64] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                                        16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31,
                                                        32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45, 46, 47,
                                                        48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};
    const __m512i bytes = _mm512_xor_si512(_mm512_maskz_loadu_epi8((1ull << uSize) - 1, puData), InFront(uRegister));
    // Rotates the bytes up: the indexes wrap at 64.
    const __m512i from = _mm512_add_epi8(_mm512_load_si512(auCOUNT), _mm512_set1_epi8(static_cast<char>(uSize)));
    return _mm512_maskz_permutexvar_epi8(~(~0ull >> uSize), from, bytes);
}

inline const uint8_t* FactorsEnd(const SCrcVariant& rstVariant)
{
    return reinterpret_cast<const uint8_t*>(rstVariant.auToEnd) + SCrcVariant::ms_uREACH;
}

// Ends a message of which nRest bytes, whole blocks, are not in the sum.
inline uint32_t Finish(const SCrcVariant& rstVariant, __m512i sum, const uint8_t* puEnd, ptrdiff_t nRest)
{
    const uint8_t* const puFactorsEnd = FactorsEnd(rstVariant);
    for (ptrdiff_t n = -nRest; n != 0; n += 64) sum = MultiplyAdd(sum, Load(puEnd + n), Load(puFactorsEnd + n));
    return Divide(AddLanes(sum), rstVariant);
}

constexpr ptrdiff_t g_nLANES = 8;

// Eight accumulators travel over the message, as far as the last few blocks. Without the unrolling g++ keeps them in
// memory.
[[gnu::noinline]] uint32_t FoldLong(const SCrcVariant& rstVariant, __m512i first, const uint8_t* puEnd, ptrdiff_t nRest)
{
    constexpr ptrdiff_t nAHEAD = 2048;
    const __m512i factors =
        _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(rstVariant.auBy512)));
    __m512i aLanes[g_nLANES];
    aLanes[0] = first;
#pragma GCC unroll 8
    for (ptrdiff_t n = 1; n < g_nLANES; ++n, nRest -= 64) aLanes[n] = Load(puEnd - nRest);
    for (; nRest >= 64 * g_nLANES; nRest -= 64 * g_nLANES)
    {
        const uint8_t* const puData = puEnd - nRest;
        if (nRest > nAHEAD)
        {
#pragma GCC unroll 8
            for (ptrdiff_t n = 0; n < g_nLANES; ++n)
            {
                _mm_prefetch(reinterpret_cast<const char*>(puData) + nAHEAD + 64 * n, _MM_HINT_T0);
            }
        }
#pragma GCC unroll 8
        for (ptrdiff_t n = 0; n < g_nLANES; ++n) aLanes[n] = MultiplyAdd(Load(puData + 64 * n), aLanes[n], factors);
    }
    const uint8_t* const puToEnd = FactorsEnd(rstVariant) - nRest - 64 * g_nLANES;
    __m512i sum = _mm512_setzero_si512();
#pragma GCC unroll 8
    for (ptrdiff_t n = 0; n < g_nLANES; ++n) sum = MultiplyAdd(sum, aLanes[n], Load(puToEnd + 64 * n));
    return Finish(rstVariant, sum, puEnd, nRest);
}

// Folds a block and the nRest bytes, whole blocks, that follow it.
inline uint32_t FoldBlocks(const SCrcVariant& rstVariant, __m512i first, const uint8_t* puEnd, ptrdiff_t nRest)
{
    if (nRest >= 64 * (g_nLANES - 1)) return FoldLong(rstVariant, first, puEnd, nRest);
    const __m512i sum = MultiplyAdd(_mm512_setzero_si512(), first, Load(FactorsEnd(rstVariant) - nRest - 64));
    return Finish(rstVariant, sum, puEnd, nRest);
}

// Messages whose odd bytes are fewer than the register's. Apart, so that all others do without its stack frame.
[[gnu::noinline]] uint32_t FoldBehindSlice(const SCrcVariant& rstVariant, uint32_t uRegister, const uint8_t* puData,
                                           size_t uSize)
{
    const size_t uOdd = uSize % 64;
    uRegister = rstVariant.pfnSlice(uRegister, puData, uOdd);
    return CrcFoldVpclmul(uRegister, puData + uOdd, uSize - uOdd, rstVariant);
}
}  // namespace

uint32_t CrcFoldVpclmul(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant)
{
    const unsigned int uOdd = uSize % 64;
    const uint8_t* const puEnd = puData + uSize;
    if (uOdd == 0) [[likely]]
    {
        const __m512i first = _mm512_xor_si512(Load(puData), InFront(uRegister));
        return FoldBlocks(rstVariant, first, puEnd, static_cast<ptrdiff_t>(uSize) - 64);
    }
    if (uOdd < sizeof(uRegister)) return FoldBehindSlice(rstVariant, uRegister, puData, uSize);
    const __m512i first = OddBlock(uRegister, puData, uOdd);
    return FoldBlocks(rstVariant, first, puEnd, static_cast<ptrdiff_t>(uSize - uOdd));
}
}  // namespace orvel_internal
