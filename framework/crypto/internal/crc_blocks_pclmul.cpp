// Folding with 128-bit registers, see crc_blocks.cpp. This file alone is compiled with the instructions it uses, so it
// uses nothing inline of other headers: the linker might keep its copy for everybody.
#include <immintrin.h>

#include "framework/crypto/internal/crc_blocks.h"

namespace orvel_internal
{
namespace
{
inline __m128i Load(const void* pv)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(pv));
}

// The sum (XOR) of both halves of a block, each multiplied by its factor.
inline __m128i Multiply(__m128i block, __m128i factors)
{
    return _mm_xor_si128(_mm_clmulepi64_si128(block, factors, 0x00), _mm_clmulepi64_si128(block, factors, 0x11));
}

inline uint32_t Divide(__m128i remainder, const SCrcVariant& rstVariant)
{
    const __m128i factors = Load(rstVariant.auDivision);
    const __m128i quotient = _mm_clmulepi64_si128(remainder, factors, 0x00);
    const __m128i product = _mm_clmulepi64_si128(quotient, factors, 0x10);
    return static_cast<uint32_t>(_mm_extract_epi32(_mm_xor_si128(remainder, product), 2));
}
}  // namespace

uint32_t CrcFoldPclmul(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant)
{
    const size_t uOdd = uSize % 16;
    if (uOdd != 0) uRegister = rstVariant.pfnSlice(uRegister, puData, uOdd);
    const uint8_t* const puEnd = puData + uSize;
    puData += uOdd;
    const uint8_t* const puFactorsEnd = reinterpret_cast<const uint8_t*>(rstVariant.auToEnd) + SCrcVariant::ms_uREACH;
    __m128i pending = _mm_cvtsi32_si128(static_cast<int>(uRegister));
    __m128i remainder = _mm_setzero_si128();
    if (uSize - uOdd > SCrcVariant::ms_uREACH)
    {
        constexpr ptrdiff_t nLANES = 4;
        const __m128i factors = Load(rstVariant.auBy64);
        __m128i aLanes[nLANES];
        for (ptrdiff_t n = 0; n < nLANES; ++n) aLanes[n] = Load(puData + 16 * n);
        aLanes[0] = _mm_xor_si128(aLanes[0], pending);
        pending = remainder;
        for (puData += 64; puEnd - puData >= 64; puData += 64)
        {
            for (ptrdiff_t n = 0; n < nLANES; ++n)
            {
                aLanes[n] = _mm_xor_si128(Multiply(aLanes[n], factors), Load(puData + 16 * n));
            }
        }
        for (ptrdiff_t n = 0; n < nLANES; ++n)
        {
            const __m128i toEnd = Load(puFactorsEnd - (puEnd - puData) - 64 + 16 * n);
            remainder = _mm_xor_si128(remainder, Multiply(aLanes[n], toEnd));
        }
    }
    for (; puData != puEnd; puData += 16)
    {
        const __m128i block = _mm_xor_si128(Load(puData), pending);
        pending = _mm_setzero_si128();
        remainder = _mm_xor_si128(remainder, Multiply(block, Load(puFactorsEnd - (puEnd - puData))));
    }
    return Divide(remainder, rstVariant);
}

uint32_t CrcFold16Pclmul(uint32_t uRegister, const uint8_t* puData, const SCrcVariant& rstVariant)
{
    const uint8_t* const puFactorsEnd = reinterpret_cast<const uint8_t*>(rstVariant.auToEnd) + SCrcVariant::ms_uREACH;
    const __m128i block = _mm_xor_si128(Load(puData), _mm_cvtsi32_si128(static_cast<int>(uRegister)));
    return Divide(Multiply(block, Load(puFactorsEnd - 16)), rstVariant);
}
}  // namespace orvel_internal
