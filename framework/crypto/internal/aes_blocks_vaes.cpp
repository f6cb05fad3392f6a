// The AES instructions on 512 bits: four blocks in a register, and up to eight registers at a time. Only this file is
// compiled with them, so it uses no inline function of another header: the linker keeps one copy of such a function for
// the whole library, and that could be the copy made here.
#include <immintrin.h>

#include "framework/crypto/internal/aes_blocks.h"

namespace orvel_internal
{
namespace
{
constexpr size_t g_uVECTOR_SIZE = 64;

inline __m512i Load(const void* pv)
{
    return _mm512_loadu_si512(pv);
}

inline void Store(void* pv, __m512i blocks)
{
    _mm512_storeu_si512(pv, blocks);
}

inline __m512i Xor(__m512i a, __m512i b)
{
    return _mm512_xor_si512(a, b);
}

inline __m512i InAllLanes(const void* pv)
{
    return _mm512_broadcast_i32x4(_mm_loadu_si128(static_cast<const __m128i*>(pv)));
}

inline void StoreLastLane(void* pv, __m512i blocks)
{
    _mm_storeu_si128(static_cast<__m128i*>(pv), _mm512_extracti32x4_epi32(blocks, 3));
}

inline __m512i RoundKey(const SAesKey& rstKey, unsigned int uRound)
{
    return InAllLanes(rstKey.puRoundKeys + g_uAES_BLOCK_SIZE * uRound);
}

template <bool ENCRYPT, size_t COUNT>
inline void AllRounds(__m512i (&aBlocks)[COUNT], const SAesKey& rstKey)
{
    const __m512i firstKey = RoundKey(rstKey, 0);
    for (__m512i& rBlocks : aBlocks) rBlocks = Xor(rBlocks, firstKey);
    for (unsigned int uRound = 1; uRound < rstKey.uRounds; ++uRound)
    {
        const __m512i key = RoundKey(rstKey, uRound);
        for (__m512i& rBlocks : aBlocks)
        {
            rBlocks = ENCRYPT ? _mm512_aesenc_epi128(rBlocks, key) : _mm512_aesdec_epi128(rBlocks, key);
        }
    }
    const __m512i key = RoundKey(rstKey, rstKey.uRounds);
    for (__m512i& rBlocks : aBlocks)
    {
        rBlocks = ENCRYPT ? _mm512_aesenclast_epi128(rBlocks, key) : _mm512_aesdeclast_epi128(rBlocks, key);
    }
}

template <size_t COUNT>
inline void LoadVectors(__m512i (&aBlocks)[COUNT], const uint8_t* puIn)
{
    for (size_t u = 0; u < COUNT; ++u) aBlocks[u] = Load(puIn + g_uVECTOR_SIZE * u);
}

// aBefore gets, for each block, the block in front of it. The block in front of the first one is the last lane of
// rFront, which is then replaced by the last vector loaded here.
template <size_t COUNT>
inline void LoadBefore(__m512i (&aBefore)[COUNT], const uint8_t* puIn, __m512i& rFront)
{
    for (size_t u = 0; u < COUNT; ++u)
    {
        const __m512i blocks = Load(puIn + g_uVECTOR_SIZE * u);
        aBefore[u] = _mm512_alignr_epi64(blocks, rFront, 6);
        rFront = blocks;
    }
}

// step.template operator()<COUNT>(puIn, puOut) works on COUNT vectors at once.
template <typename Step>
inline void InSteps(const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, Step&& step)
{
    size_t uVectors = uBlocks / g_uAES_VECTOR_BLOCKS;
    for (; uVectors >= 8; uVectors -= 8, puIn += 8 * g_uVECTOR_SIZE, puOut += 8 * g_uVECTOR_SIZE)
    {
        step.template operator()<8>(puIn, puOut);
    }
    for (; uVectors >= 2; uVectors -= 2, puIn += 2 * g_uVECTOR_SIZE, puOut += 2 * g_uVECTOR_SIZE)
    {
        step.template operator()<2>(puIn, puOut);
    }
    if (uVectors != 0) step.template operator()<1>(puIn, puOut);
}

template <bool ENCRYPT>
inline void Ecb(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut)
{
    InSteps(puIn, uBlocks, puOut,
            [&]<size_t COUNT>(const uint8_t* puFrom, uint8_t* puTo)
            {
                __m512i aBlocks[COUNT];
                LoadVectors(aBlocks, puFrom);
                AllRounds<ENCRYPT>(aBlocks, rstKey);
                for (size_t u = 0; u < COUNT; ++u) Store(puTo + g_uVECTOR_SIZE * u, aBlocks[u]);
            });
}

inline __m512i ReverseOrder()
{
    return _mm512_broadcast_i32x4(_mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F));
}

inline __m512i LanesFrom(long long nFirst)
{
    return _mm512_set_epi64(0, nFirst + 3, 0, nFirst + 2, 0, nFirst + 1, 0, nFirst);
}

// Adds the carry of the addition that made numbers. A low half below what was added to it has wrapped: the high half of
// its lane gets 1.
inline __m512i Carried(__m512i numbers, __m512i added)
{
    const __mmask8 wrapped = _mm512_cmplt_epu64_mask(numbers, added) & 0x55;
    return _mm512_mask_add_epi64(numbers, static_cast<__mmask8>(wrapped << 1), numbers, _mm512_set1_epi64(1));
}

inline __m512i Added(__m512i numbers, __m512i added)
{
    return Carried(_mm512_add_epi64(numbers, added), added);
}
}  // namespace

void AesEcbEncryptVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut)
{
    Ecb<true>(rstKey, puIn, uBlocks, puOut);
}

void AesEcbDecryptVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut)
{
    Ecb<false>(rstKey, puIn, uBlocks, puOut);
}

void AesCbcDecryptVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    __m512i front = InAllLanes(puIv);
    InSteps(puIn, uBlocks, puOut,
            [&]<size_t COUNT>(const uint8_t* puFrom, uint8_t* puTo)
            {
                __m512i aBlocks[COUNT];
                __m512i aBefore[COUNT];
                LoadVectors(aBlocks, puFrom);
                LoadBefore(aBefore, puFrom, front);
                AllRounds<false>(aBlocks, rstKey);
                for (size_t u = 0; u < COUNT; ++u) Store(puTo + g_uVECTOR_SIZE * u, Xor(aBlocks[u], aBefore[u]));
            });
    StoreLastLane(puIv, front);
}

void AesCfbDecryptVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    __m512i front = InAllLanes(puIv);
    InSteps(puIn, uBlocks, puOut,
            [&]<size_t COUNT>(const uint8_t* puFrom, uint8_t* puTo)
            {
                __m512i aBlocks[COUNT];
                LoadBefore(aBlocks, puFrom, front);
                AllRounds<true>(aBlocks, rstKey);
                for (size_t u = 0; u < COUNT; ++u)
                {
                    Store(puTo + g_uVECTOR_SIZE * u, Xor(aBlocks[u], Load(puFrom + g_uVECTOR_SIZE * u)));
                }
            });
    StoreLastLane(puIv, front);
}

void AesCtrVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puCounter,
                uint8_t* puKeyStream)
{
    const __m512i order = ReverseOrder();
    // Four counters: lane n has that of the n-th of the next four blocks, from 0.
    __m512i numbers = Added(_mm512_shuffle_epi8(InAllLanes(puCounter), order), LanesFrom(0));
    // The low half of the counter in lane 0.
    unsigned long long uLow = static_cast<unsigned long long>(_mm_cvtsi128_si64(_mm512_castsi512_si128(numbers)));
    __m512i last = InAllLanes(puKeyStream);
    InSteps(puIn, uBlocks, puOut,
            [&]<size_t COUNT>(const uint8_t* puFrom, uint8_t* puTo)
            {
                const __m512i four = _mm512_set_epi64(0, 4, 0, 4, 0, 4, 0, 4);
                constexpr unsigned long long uSTEP = g_uAES_VECTOR_BLOCKS * COUNT;
                __m512i aBlocks[COUNT];
                // An addition with its carry takes longer, and each waits for the one before: done only in steps in
                // which a low half can wrap.
                const bool bCarries = uLow + uSTEP + g_uAES_VECTOR_BLOCKS < uLow;
                for (__m512i& rBlocks : aBlocks)
                {
                    rBlocks = _mm512_shuffle_epi8(numbers, order);
                    numbers = bCarries ? Added(numbers, four) : _mm512_add_epi64(numbers, four);
                }
                uLow += uSTEP;
                AllRounds<true>(aBlocks, rstKey);
                for (size_t u = 0; u < COUNT; ++u)
                {
                    Store(puTo + g_uVECTOR_SIZE * u, Xor(aBlocks[u], Load(puFrom + g_uVECTOR_SIZE * u)));
                }
                last = aBlocks[COUNT - 1];
            });
    const __m512i counter = _mm512_shuffle_epi8(numbers, order);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(puCounter), _mm512_castsi512_si128(counter));
    StoreLastLane(puKeyStream, last);
}
}  // namespace orvel_internal
