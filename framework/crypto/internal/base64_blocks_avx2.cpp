// Base64 with AVX2: 24 bytes or 32 characters a step. This file alone is compiled with the instructions it uses, so it
// uses nothing inline of other headers: the linker might keep its copy for everybody.
#include <immintrin.h>

#include "framework/crypto/internal/base64_blocks.h"

namespace orvel_internal
{
namespace
{
constexpr size_t g_uSTEP = 8;          // groups
constexpr size_t g_uWITH_MARGIN = 10;  // groups: the fewest that have the 24 bytes of a step and four more

inline __m128i Load(const void* pv)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(pv));
}

inline __m256i Load256(const void* pv)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(pv));
}

// The same table in both halves: a shuffle looks up in each half by itself.
inline __m256i TwiceOf(const void* pvTable)
{
    return _mm256_broadcastsi128_si256(Load(pvTable));
}

inline __m256i Bytes(uint8_t u)
{
    return _mm256_set1_epi8(static_cast<char>(u));
}

// 24 bytes in the middle of a register to 32 values of 6 bits. Each three bytes a, b, c become the 16-bit words b:a and
// c:b, and two multiplications shift each 6-bit piece by its own distance.
inline __m256i Reshuffle(__m256i bytes)
{
    const __m256i order = _mm256_setr_epi8(5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14,  //
                                           1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    const __m256i words = _mm256_shuffle_epi8(bytes, order);
    const __m256i even = _mm256_and_si256(words, _mm256_set1_epi32(0x0FC0FC00));
    const __m256i odd = _mm256_and_si256(words, _mm256_set1_epi32(0x003F03F0));
    return _mm256_or_si256(_mm256_mulhi_epu16(even, _mm256_set1_epi32(0x04000040)),
                           _mm256_mullo_epi16(odd, _mm256_set1_epi32(0x01000010)));
}

// 32 values of 6 bits to characters.
inline __m256i Translate(__m256i values, __m256i offsets)
{
    const __m256i notUpper = _mm256_cmpgt_epi8(values, Bytes(25));
    const __m256i classes = _mm256_sub_epi8(_mm256_subs_epu8(values, Bytes(51)), notUpper);
    return _mm256_add_epi8(values, _mm256_shuffle_epi8(offsets, classes));
}

// 32 values of 6 bits to 24 bytes in a row.
inline __m256i Pack(__m256i values)
{
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i order = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                           2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m256i bytes = _mm256_shuffle_epi8(groups, order);
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
}
}  // namespace

size_t Base64EncodeAvx2(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut)
{
    const __m256i offsets = TwiceOf(rstAlphabet.auEncodingOffsets);
    const size_t uBefore = uGroups;
    // Whole registers are loaded: the 24 bytes of a step, and four bytes on either side. The first step has none in
    // front, so it is put together from two loads.
    if (uGroups < g_uWITH_MARGIN) return 0;
    __m256i bytes = _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_slli_si128(Load(puIn), 4)), Load(puIn + 12), 1);
    while (true)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(puOut), Translate(Reshuffle(bytes), offsets));
        uGroups -= g_uSTEP;
        puIn += 24;
        puOut += 32;
        if (uGroups < g_uWITH_MARGIN) return uBefore - uGroups;
        bytes = Load256(puIn - 4);
    }
}

size_t Base64DecodeAvx2(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut)
{
    const __m256i offsets = TwiceOf(rstAlphabet.auDecodingOffsets);
    const __m256i classes = TwiceOf(rstAlphabet.auNibbleClasses);
    const __m256i missing = TwiceOf(rstAlphabet.auMissingInClasses);
    const __m256i character63 = Bytes(rstAlphabet.auCharacters[63]);
    const __m256i correction63 = Bytes(rstAlphabet.uCorrection63);
    const __m256i nibble = Bytes(0x0F);
    const size_t uBefore = uGroups;
    for (; uGroups >= g_uSTEP; uGroups -= g_uSTEP, puIn += 32, puOut += 24)
    {
        const __m256i text = Load256(puIn);
        const __m256i high = _mm256_and_si256(_mm256_srli_epi32(text, 4), nibble);
        const __m256i low = _mm256_and_si256(text, nibble);
        if (_mm256_testz_si256(_mm256_shuffle_epi8(missing, low), _mm256_shuffle_epi8(classes, high)) == 0) break;
        const __m256i correction = _mm256_and_si256(_mm256_cmpeq_epi8(text, character63), correction63);
        const __m256i offset = _mm256_add_epi8(_mm256_shuffle_epi8(offsets, high), correction);
        const __m256i bytes = Pack(_mm256_add_epi8(text, offset));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(puOut), _mm256_castsi256_si128(bytes));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(puOut + 16), _mm256_extracti128_si256(bytes, 1));
    }
    return uBefore - uGroups;
}
}  // namespace orvel_internal
