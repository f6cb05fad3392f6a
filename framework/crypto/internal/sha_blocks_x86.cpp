// The SHA instructions of x86-64. Only this file is compiled with them, so it uses no inline function of another
// header: the linker keeps one copy of such a function for the whole library, and that could be the copy made here.
#include <immintrin.h>

#include "framework/crypto/internal/sha_blocks.h"

namespace orvel_internal
{
namespace
{
// sha1rnds4 wants the round function as an immediate: ROUND is t / 20 of FIPS 180-4.
template <int ROUND>
inline void Sha1FiveGroups(__m128i& rAbcd, __m128i& rE, __m128i (&aWords)[4], int nFirstGroup)
{
    for (int nGroup = nFirstGroup; nGroup < nFirstGroup + 5; ++nGroup)
    {
        __m128i& rWords = aWords[nGroup % 4];
        if (nGroup >= 4)
        {
            const __m128i partial = _mm_sha1msg1_epu32(rWords, aWords[(nGroup + 1) % 4]);
            rWords = _mm_sha1msg2_epu32(_mm_xor_si128(partial, aWords[(nGroup + 2) % 4]), aWords[(nGroup + 3) % 4]);
        }
        const __m128i e = nGroup == 0 ? _mm_add_epi32(rE, rWords) : _mm_sha1nexte_epu32(rE, rWords);
        rE = rAbcd;
        asm("" : "+x"(rE));  // Forces the copy into its own register, so that no move lies on the critical path.
        rAbcd = _mm_sha1rnds4_epu32(rAbcd, e, ROUND);
    }
}

inline __m128i Load(const void* pv)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(pv));
}

inline void Store(void* pv, __m128i words)
{
    _mm_storeu_si128(static_cast<__m128i*>(pv), words);
}
}  // namespace

void Sha1BlocksShaExtensions(uint32_t* puState, const uint8_t* puBlocks, size_t uCount)
{
    // Word 0 of a block is the topmost of its register.
    const __m128i reverseBytes = _mm_set_epi64x(0x0001020304050607, 0x08090a0b0c0d0e0f);
    __m128i abcd = _mm_shuffle_epi32(Load(puState), 0x1b);
    __m128i e = _mm_set_epi32(static_cast<int>(puState[4]), 0, 0, 0);
    for (; uCount != 0; --uCount, puBlocks += 64)
    {
        const __m128i abcdBefore = abcd;
        const __m128i eBefore = e;
        __m128i aWords[4];
        for (size_t n = 0; n < 4; ++n) aWords[n] = _mm_shuffle_epi8(Load(puBlocks + 16 * n), reverseBytes);
        Sha1FiveGroups<0>(abcd, e, aWords, 0);
        Sha1FiveGroups<1>(abcd, e, aWords, 5);
        Sha1FiveGroups<2>(abcd, e, aWords, 10);
        Sha1FiveGroups<3>(abcd, e, aWords, 15);
        e = _mm_sha1nexte_epu32(e, eBefore);
        abcd = _mm_add_epi32(abcd, abcdBefore);
    }
    Store(puState, _mm_shuffle_epi32(abcd, 0x1b));
    puState[4] = static_cast<uint32_t>(_mm_extract_epi32(e, 3));
}

void Sha256BlocksShaExtensions(uint32_t* puState, const uint8_t* puBlocks, size_t uCount)
{
    const __m128i reverseBytesOfWords = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
    // The instructions keep a, b, e, f and c, d, g, h together.
    const __m128i cdab = _mm_shuffle_epi32(Load(puState), 0xb1);
    const __m128i efgh = _mm_shuffle_epi32(Load(puState + 4), 0x1b);
    __m128i abef = _mm_alignr_epi8(cdab, efgh, 8);
    __m128i cdgh = _mm_blend_epi16(efgh, cdab, 0xf0);
    for (; uCount != 0; --uCount, puBlocks += 64)
    {
        const __m128i abefBefore = abef;
        const __m128i cdghBefore = cdgh;
        __m128i aWords[4];
        for (size_t n = 0; n < 4; ++n) aWords[n] = _mm_shuffle_epi8(Load(puBlocks + 16 * n), reverseBytesOfWords);
        for (size_t nGroup = 0; nGroup < 16; ++nGroup)
        {
            __m128i& rWords = aWords[nGroup % 4];
            if (nGroup >= 4)
            {
                const __m128i& rLatest = aWords[(nGroup + 3) % 4];
                const __m128i sevenBack = _mm_alignr_epi8(rLatest, aWords[(nGroup + 2) % 4], 4);
                const __m128i partial = _mm_sha256msg1_epu32(rWords, aWords[(nGroup + 1) % 4]);
                rWords = _mm_sha256msg2_epu32(_mm_add_epi32(partial, sevenBack), rLatest);
            }
            const __m128i sum = _mm_add_epi32(rWords, Load(g_auSHA256_CONSTANTS + 4 * nGroup));
            cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
            abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0e));
        }
        abef = _mm_add_epi32(abef, abefBefore);
        cdgh = _mm_add_epi32(cdgh, cdghBefore);
    }
    const __m128i feba = _mm_shuffle_epi32(abef, 0x1b);
    const __m128i dchg = _mm_shuffle_epi32(cdgh, 0xb1);
    Store(puState, _mm_blend_epi16(feba, dchg, 0xf0));
    Store(puState + 4, _mm_alignr_epi8(dchg, feba, 8));
}
}  // namespace orvel_internal
