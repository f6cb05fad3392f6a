// The AES instructions of x86-64. Only this file is compiled with them, so it uses no inline function of another
// header: the linker keeps one copy of such a function for the whole library, and that could be the copy made here.
//
// A round instruction needs a few cycles for its result, but a new one can begin in every cycle. Where blocks do not
// depend on each other, eight are worked on at a time. In CBC and CFB encryption and in OFB each block waits for the
// block before it, so one chain of rounds sets the speed. The XOR between two blocks is kept out of that chain: the
// last round ends with the XOR of its key, so that
// ```
//   aesenclast(x, lastKey ^ d) == aesenclast(x, lastKey) ^ d
// ```
// With d being all that the next block has to add at its beginning (its first key, and in CBC its plaintext), one
// instruction makes the state with which the next block starts. A second one, beside the chain, makes the output.
#include <immintrin.h>

#include "framework/crypto/internal/aes_blocks.h"

namespace orvel_internal
{
namespace
{
inline __m128i Load(const void* pv)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(pv));
}

inline void Store(void* pv, __m128i block)
{
    _mm_storeu_si128(static_cast<__m128i*>(pv), block);
}

inline __m128i Xor(__m128i a, __m128i b)
{
    return _mm_xor_si128(a, b);
}

inline __m128i RoundKey(const SAesKey& rstKey, unsigned int uRound)
{
    return Load(rstKey.puRoundKeys + g_uAES_BLOCK_SIZE * uRound);
}

inline __m128i LastRoundKey(const SAesKey& rstKey)
{
    return RoundKey(rstKey, rstKey.uRounds);
}

inline __m128i Round(__m128i block, __m128i key, bool bEncrypt)
{
    return bEncrypt ? _mm_aesenc_si128(block, key) : _mm_aesdec_si128(block, key);
}

inline __m128i LastRound(__m128i block, __m128i key, bool bEncrypt)
{
    return bEncrypt ? _mm_aesenclast_si128(block, key) : _mm_aesdeclast_si128(block, key);
}

template <bool ENCRYPT, unsigned int FIRST, unsigned int BEHIND>
inline void SomeRounds(__m128i& rBlock, const SAesKey& rstKey)
{
#pragma GCC unroll 9
    for (unsigned int uRound = FIRST; uRound < BEHIND; ++uRound)
    {
        rBlock = Round(rBlock, RoundKey(rstKey, uRound), ENCRYPT);
    }
}

// The rounds of one block between the first and the last. The first key has been added already.
template <bool ENCRYPT>
inline void MiddleRounds(__m128i& rBlock, const SAesKey& rstKey)
{
    SomeRounds<ENCRYPT, 1, 10>(rBlock, rstKey);
    if (rstKey.uRounds == 10) return;
    SomeRounds<ENCRYPT, 10, 12>(rBlock, rstKey);
    if (rstKey.uRounds == 12) return;
    SomeRounds<ENCRYPT, 12, 14>(rBlock, rstKey);
}

// The same for several blocks. The loop is not unrolled: with several blocks its counting costs no time.
template <bool ENCRYPT, size_t COUNT>
inline void MiddleRounds(__m128i (&aBlocks)[COUNT], const SAesKey& rstKey)
{
    if constexpr (COUNT == 1) return MiddleRounds<ENCRYPT>(aBlocks[0], rstKey);
#pragma GCC unroll 1
    for (unsigned int uRound = 1; uRound < rstKey.uRounds; ++uRound)
    {
        const __m128i key = RoundKey(rstKey, uRound);
        for (__m128i& rBlock : aBlocks) rBlock = Round(rBlock, key, ENCRYPT);
    }
}

template <bool ENCRYPT, size_t COUNT>
inline void LastRounds(__m128i (&aBlocks)[COUNT], const SAesKey& rstKey)
{
    const __m128i key = LastRoundKey(rstKey);
    for (__m128i& rBlock : aBlocks) rBlock = LastRound(rBlock, key, ENCRYPT);
}

template <size_t COUNT>
inline void LoadBlocks(__m128i (&aBlocks)[COUNT], const uint8_t* puIn)
{
    for (size_t u = 0; u < COUNT; ++u) aBlocks[u] = Load(puIn + g_uAES_BLOCK_SIZE * u);
}

// step.template operator()<COUNT>(puIn, puOut) works on COUNT blocks at once.
template <typename Step>
inline void InSteps(const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, Step&& step)
{
    for (; uBlocks >= 8; uBlocks -= 8, puIn += 128, puOut += 128) step.template operator()<8>(puIn, puOut);
    if (uBlocks >= 4)
    {
        step.template operator()<4>(puIn, puOut);
        uBlocks -= 4;
        puIn += 64;
        puOut += 64;
    }
    for (; uBlocks != 0; --uBlocks, puIn += 16, puOut += 16) step.template operator()<1>(puIn, puOut);
}

template <bool ENCRYPT>
inline void Ecb(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut)
{
    InSteps(puIn, uBlocks, puOut,
            [&]<size_t COUNT>(const uint8_t* puFrom, uint8_t* puTo)
            {
                __m128i aBlocks[COUNT];
                LoadBlocks(aBlocks, puFrom);
                const __m128i firstKey = RoundKey(rstKey, 0);
                for (__m128i& rBlock : aBlocks) rBlock = Xor(rBlock, firstKey);
                MiddleRounds<ENCRYPT>(aBlocks, rstKey);
                LastRounds<ENCRYPT>(aBlocks, rstKey);
                for (size_t u = 0; u < COUNT; ++u) Store(puTo + 16 * u, aBlocks[u]);
            });
}

// The key schedule needs the byte substitution alone. The last round does that and shifts rows; as all four words are
// made equal before, the shift changes nothing. The words are the last word of the key before, its bytes in the given
// order.
inline __m128i Substituted(__m128i before, __m128i order, unsigned int uConstant)
{
    const __m128i words = _mm_shuffle_epi8(before, order);
    return _mm_aesenclast_si128(words, _mm_set1_epi32(static_cast<int>(uConstant)));
}

// Each word XORed with all words before it.
inline __m128i AddedUp(__m128i words)
{
    words = Xor(words, _mm_slli_si128(words, 4));
    return Xor(words, _mm_slli_si128(words, 8));
}

inline __m128i LastWords()
{
    return _mm_set1_epi32(0x0F0E0D0C);
}

inline __m128i LastWordsTurned()
{
    return _mm_set1_epi32(0x0C0F0E0D);
}

constexpr unsigned int g_auROUND_CONSTANTS[] = {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0x1B, 0x36};

inline void Expand128(const uint8_t* puKey, uint8_t* puRoundKeys)
{
    __m128i key = Load(puKey);
    Store(puRoundKeys, key);
    for (const unsigned int uConstant : g_auROUND_CONSTANTS)
    {
        key = Xor(AddedUp(key), Substituted(key, LastWordsTurned(), uConstant));
        puRoundKeys += 16;
        Store(puRoundKeys, key);
    }
}

// Each step makes six words.
inline void Expand192(const uint8_t* puKey, uint8_t* puRoundKeys)
{
    __m128i four = Load(puKey);
    __m128i two = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(puKey + 16));
    Store(puRoundKeys, four);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(puRoundKeys + 16), two);
    for (unsigned int u = 0; u < 8; ++u)
    {
        // The last of the six words is the second word of this pair.
        const __m128i added = Substituted(two, _mm_set1_epi32(0x04070605), g_auROUND_CONSTANTS[u]);
        puRoundKeys += 24;
        four = Xor(AddedUp(four), added);
        Store(puRoundKeys, four);
        if (u == 7) return;
        two = Xor(Xor(two, _mm_slli_si128(two, 4)), _mm_shuffle_epi32(four, 0xFF));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(puRoundKeys + 16), two);
    }
}

inline void Expand256(const uint8_t* puKey, uint8_t* puRoundKeys)
{
    __m128i even = Load(puKey);
    __m128i odd = Load(puKey + 16);
    Store(puRoundKeys, even);
    Store(puRoundKeys + 16, odd);
    for (unsigned int u = 0; u < 7; ++u)
    {
        even = Xor(AddedUp(even), Substituted(odd, LastWordsTurned(), g_auROUND_CONSTANTS[u]));
        puRoundKeys += 32;
        Store(puRoundKeys, even);
        if (u == 6) return;
        odd = Xor(AddedUp(odd), Substituted(even, LastWords(), 0));
        Store(puRoundKeys + 16, odd);
    }
}

inline void Invert(uint8_t* puRoundKeys, unsigned int uRounds)
{
    uint8_t* puFront = puRoundKeys;
    uint8_t* puBack = puRoundKeys + size_t{16} * uRounds;
    const __m128i first = Load(puFront);
    Store(puFront, Load(puBack));
    Store(puBack, first);
    for (puFront += 16, puBack -= 16; puFront < puBack; puFront += 16, puBack -= 16)
    {
        const __m128i front = _mm_aesimc_si128(Load(puFront));
        Store(puFront, _mm_aesimc_si128(Load(puBack)));
        Store(puBack, front);
    }
    Store(puFront, _mm_aesimc_si128(Load(puFront)));
}

// The counter as two numbers.
struct SCounter
{
    unsigned long long uHigh;
    unsigned long long uLow;
};

inline __m128i ReverseOrder()
{
    return _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
}

inline __m128i NumberOf(const SCounter& rst)
{
    return _mm_set_epi64x(static_cast<long long>(rst.uHigh), static_cast<long long>(rst.uLow));
}

// The key stream of COUNT blocks. The low half of the counter must not wrap within them.
template <size_t COUNT>
inline void KeyStream(__m128i (&aBlocks)[COUNT], const SAesKey& rstKey, const SCounter& rstCounter)
{
    const __m128i counter = NumberOf(rstCounter);
    const __m128i firstKey = RoundKey(rstKey, 0);
    for (size_t u = 0; u < COUNT; ++u)
    {
        const __m128i number = _mm_add_epi64(counter, _mm_set_epi64x(0, static_cast<long long>(u)));
        aBlocks[u] = Xor(_mm_shuffle_epi8(number, ReverseOrder()), firstKey);
    }
    MiddleRounds<true>(aBlocks, rstKey);
    LastRounds<true>(aBlocks, rstKey);
}

template <size_t COUNT>
inline void CtrStep(const SAesKey& rstKey, SCounter& rstCounter, const uint8_t* puIn, uint8_t* puOut, __m128i& rLast)
{
    __m128i aBlocks[COUNT];
    KeyStream(aBlocks, rstKey, rstCounter);
    for (size_t u = 0; u < COUNT; ++u) Store(puOut + 16 * u, Xor(Load(puIn + 16 * u), aBlocks[u]));
    rstCounter.uLow += COUNT;
    rLast = aBlocks[COUNT - 1];
}
}  // namespace

unsigned int AesExpandKeyNi(const uint8_t* puKey, unsigned int uKeySize, bool bForDeciphering, uint8_t* puRoundKeys)
{
    if (uKeySize == 16) Expand128(puKey, puRoundKeys);
    else if (uKeySize == 24) Expand192(puKey, puRoundKeys);
    else Expand256(puKey, puRoundKeys);
    const unsigned int uRounds = uKeySize / 4 + 6;
    if (bForDeciphering) Invert(puRoundKeys, uRounds);
    return uRounds;
}

void AesEcbEncryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut)
{
    Ecb<true>(rstKey, puIn, uBlocks, puOut);
}

void AesEcbDecryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut)
{
    Ecb<false>(rstKey, puIn, uBlocks, puOut);
}

void AesCbcEncryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    if (uBlocks == 0) return;
    const __m128i firstKey = RoundKey(rstKey, 0);
    const __m128i lastKey = LastRoundKey(rstKey);
    const __m128i bothKeys = Xor(firstKey, lastKey);
    __m128i block = Xor(Xor(Load(puIn), Load(puIv)), firstKey);
    for (;;)
    {
        MiddleRounds<true>(block, rstKey);
        const __m128i text = _mm_aesenclast_si128(block, lastKey);
        Store(puOut, text);
        if (--uBlocks == 0) return Store(puIv, text);
        puIn += 16;
        puOut += 16;
        block = _mm_aesenclast_si128(block, Xor(Load(puIn), bothKeys));
    }
}

void AesCbcDecryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    __m128i before = Load(puIv);
    InSteps(puIn, uBlocks, puOut,
            [&]<size_t COUNT>(const uint8_t* puFrom, uint8_t* puTo)
            {
                __m128i aBlocks[COUNT];
                LoadBlocks(aBlocks, puFrom);
                const __m128i firstKey = RoundKey(rstKey, 0);
                for (__m128i& rBlock : aBlocks) rBlock = Xor(rBlock, firstKey);
                MiddleRounds<false>(aBlocks, rstKey);
                LastRounds<false>(aBlocks, rstKey);
                // All input is read before any output is written: both may be the same buffer.
                aBlocks[0] = Xor(aBlocks[0], before);
                for (size_t u = 1; u < COUNT; ++u) aBlocks[u] = Xor(aBlocks[u], Load(puFrom + 16 * (u - 1)));
                before = Load(puFrom + 16 * (COUNT - 1));
                for (size_t u = 0; u < COUNT; ++u) Store(puTo + 16 * u, aBlocks[u]);
            });
    Store(puIv, before);
}

void AesCfbEncryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    if (uBlocks == 0) return;
    const __m128i firstKey = RoundKey(rstKey, 0);
    const __m128i lastKey = LastRoundKey(rstKey);
    __m128i block = Xor(Load(puIv), firstKey);
    for (;; puIn += 16, puOut += 16)
    {
        const __m128i textKey = Xor(Load(puIn), lastKey);
        MiddleRounds<true>(block, rstKey);
        const __m128i text = _mm_aesenclast_si128(block, textKey);
        Store(puOut, text);
        if (--uBlocks == 0) return Store(puIv, text);
        block = _mm_aesenclast_si128(block, Xor(textKey, firstKey));
    }
}

void AesCfbDecryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    __m128i before = Load(puIv);
    InSteps(puIn, uBlocks, puOut,
            [&]<size_t COUNT>(const uint8_t* puFrom, uint8_t* puTo)
            {
                __m128i aBlocks[COUNT];
                const __m128i firstKey = RoundKey(rstKey, 0);
                aBlocks[0] = Xor(before, firstKey);
                for (size_t u = 1; u < COUNT; ++u) aBlocks[u] = Xor(Load(puFrom + 16 * (u - 1)), firstKey);
                before = Load(puFrom + 16 * (COUNT - 1));
                MiddleRounds<true>(aBlocks, rstKey);
                LastRounds<true>(aBlocks, rstKey);
                for (size_t u = 0; u < COUNT; ++u) Store(puTo + 16 * u, Xor(aBlocks[u], Load(puFrom + 16 * u)));
            });
    Store(puIv, before);
}

void AesOfbNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    if (uBlocks == 0) return;
    const __m128i firstKey = RoundKey(rstKey, 0);
    const __m128i lastKey = LastRoundKey(rstKey);
    const __m128i bothKeys = Xor(firstKey, lastKey);
    __m128i block = Xor(Load(puIv), firstKey);
    for (;; puIn += 16, puOut += 16)
    {
        MiddleRounds<true>(block, rstKey);
        Store(puOut, _mm_aesenclast_si128(block, Xor(Load(puIn), lastKey)));
        if (--uBlocks == 0) return Store(puIv, _mm_aesenclast_si128(block, lastKey));
        block = _mm_aesenclast_si128(block, bothKeys);
    }
}

void AesCtrNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puCounter,
              uint8_t* puKeyStream)
{
    const __m128i number = _mm_shuffle_epi8(Load(puCounter), ReverseOrder());
    SCounter stCounter;
    Store(&stCounter, _mm_shuffle_epi32(number, 0x4E));
    __m128i last = Load(puKeyStream);
    InSteps(puIn, uBlocks, puOut,
            [&]<size_t COUNT>(const uint8_t* puFrom, uint8_t* puTo)
            {
                if (stCounter.uLow + COUNT > stCounter.uLow)
                    return CtrStep<COUNT>(rstKey, stCounter, puFrom, puTo, last);
                for (size_t u = 0; u < COUNT; ++u)
                {
                    CtrStep<1>(rstKey, stCounter, puFrom + 16 * u, puTo + 16 * u, last);
                    if (stCounter.uLow == 0) ++stCounter.uHigh;
                }
            });
    Store(puCounter, _mm_shuffle_epi8(NumberOf(stCounter), ReverseOrder()));
    Store(puKeyStream, last);
}
}  // namespace orvel_internal
