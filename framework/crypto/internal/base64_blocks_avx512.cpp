// Base64 with AVX-512 VBMI, whose byte permutations look up all 64 characters at once: 48 bytes or 64 characters a
// step. Masks cut the last step to what is there. This file alone is compiled with the instructions it uses, so it uses
// nothing inline of other headers: the linker might keep its copy for everybody.
#include <immintrin.h>

#include "framework/crypto/internal/base64_blocks.h"

namespace orvel_internal
{
namespace
{
constexpr size_t g_uSTEP = 16;            // groups
constexpr size_t g_uSHORT = 8;            // groups: the most that half a register holds
constexpr size_t g_uWHOLE_REGISTER = 22;  // groups: the fewest that have 64 bytes
constexpr size_t g_uAHEAD = 1024;         // bytes to fetch before they are needed

inline __m512i Load(const void* pv)
{
    return _mm512_loadu_si512(pv);
}

inline __mmask64 LowBytes(size_t uCount)
{
    return uCount < 64 ? (1ull << uCount) - 1 : ~0ull;
}

// 48 bytes to 64 characters. Each three bytes a, b, c become b a c b, in which the four values begin at bits 10, 4, 22
// and 16.
inline __m512i EncodeStep(__m512i bytes, __m512i characters)
{
    const __m512i order = _mm512_set_epi32(0x2E2F2D2E, 0x2B2C2A2B, 0x28292728, 0x25262425, 0x22232122, 0x1F201E1F,
                                           0x1C1D1B1C, 0x191A1819, 0x16171516, 0x13141213, 0x10110F10, 0x0D0E0C0D,
                                           0x0A0B090A, 0x07080607, 0x04050304, 0x01020001);
    const __m512i shifts = _mm512_set1_epi64(0x3036242A1016040A);
    const __m512i values = _mm512_multishift_epi64_epi8(shifts, _mm512_permutexvar_epi8(order, bytes));
    return _mm512_permutexvar_epi8(values, characters);
}

// 64 values of 6 bits to 48 bytes.
inline __m512i Pack(__m512i values)
{
    const __m512i order =
        _mm512_set_epi32(0, 0, 0, 0, 0x3C3D3E38, 0x393A3435, 0x36303132, 0x2C2D2E28, 0x292A2425, 0x26202122, 0x1C1D1E18,
                         0x191A1415, 0x16101112, 0x0C0D0E08, 0x090A0405, 0x06000102);
    const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    const __m512i groups = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    return _mm512_permutexvar_epi8(order, groups);
}
}  // namespace

void Base64EncodeAvx512(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut)
{
    const __m512i characters = Load(rstAlphabet.auCharacters);
    if (uGroups <= g_uSHORT)
    {
        // Half registers, for half as many line borders in what they load and store.
        const __m256i few = _mm256_maskz_loadu_epi8((1u << 3 * uGroups) - 1, puIn);
        const __m512i text = EncodeStep(_mm512_zextsi256_si512(few), characters);
        const __mmask32 written = static_cast<__mmask32>((1ull << 4 * uGroups) - 1);
        _mm256_mask_storeu_epi8(puOut, written, _mm512_castsi512_si256(text));
        return;
    }
    // Whole registers are loaded, of which 48 bytes are meant.
    for (; uGroups >= g_uWHOLE_REGISTER; uGroups -= g_uSTEP, puIn += 48, puOut += 64)
    {
        // May point behind the ends: a prefetch of what is not there does nothing.
        __builtin_prefetch(puIn + g_uAHEAD);
        __builtin_prefetch(puOut + g_uAHEAD, 1);
        _mm512_storeu_si512(puOut, EncodeStep(Load(puIn), characters));
    }
    // Up to 21 groups are left.
    if (uGroups >= g_uSTEP)
    {
        const __m512i bytes = _mm512_maskz_loadu_epi8(LowBytes(3 * g_uSTEP), puIn);
        _mm512_storeu_si512(puOut, EncodeStep(bytes, characters));
        uGroups -= g_uSTEP;
        puIn += 3 * g_uSTEP;
        puOut += 4 * g_uSTEP;
    }
    const __m512i bytes = _mm512_maskz_loadu_epi8((1ull << 3 * uGroups) - 1, puIn);
    _mm512_mask_storeu_epi8(puOut, (1ull << 4 * uGroups) - 1, EncodeStep(bytes, characters));
}

size_t Base64DecodeAvx512(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut)
{
    const __m512i lower = Load(rstAlphabet.auValues);
    const __m512i upper = Load(rstAlphabet.auValues + 64);
    const size_t uBefore = uGroups;
    for (; uGroups >= g_uSTEP; uGroups -= g_uSTEP, puIn += 64, puOut += 48)
    {
        __builtin_prefetch(puIn + g_uAHEAD);
        __builtin_prefetch(puOut + g_uAHEAD, 1);
        const __m512i text = Load(puIn);
        const __m512i values = _mm512_permutex2var_epi8(lower, text, upper);
        // The top bit is set in what has no value, and in what is no ASCII.
        if (_mm512_movepi8_mask(_mm512_or_si512(values, text)) != 0) break;
        const __m512i bytes = Pack(values);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(puOut), _mm512_castsi512_si256(bytes));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(puOut + 32), _mm512_extracti32x4_epi32(bytes, 2));
    }
    if (uGroups != 0)
    {
        size_t uStep = uGroups < g_uSTEP ? uGroups : g_uSTEP;
        const __m512i text = _mm512_maskz_loadu_epi8(LowBytes(4 * uStep), puIn);
        const __m512i values = _mm512_permutex2var_epi8(lower, text, upper);
        const __mmask64 bad = _mm512_movepi8_mask(_mm512_or_si512(values, text));
        // What lies behind the end is loaded as zero, which is not of the alphabet.
        if (bad != 0) uStep = static_cast<size_t>(__builtin_ctzll(bad)) / 4;
        _mm512_mask_storeu_epi8(puOut, LowBytes(3 * uStep), Pack(values));
        uGroups -= uStep;
    }
    return uBefore - uGroups;
}
}  // namespace orvel_internal
