#include "framework/crypto/internal/sha_blocks.h"

#include "framework/crypto/internal/cpu_features.h"
#include "framework/crypto/internal/message_blocks.h"
#include "framework/crypto/internal/wiped.h"

namespace orvel_internal
{
void Sha1Blocks(uint32_t* puState, const uint8_t* puBlocks, size_t uCount)
{
    if (CpuPath(ECpuAlgorithm::eSHA) == eCPU_SHA) Sha1BlocksShaExtensions(puState, puBlocks, uCount);
    else Sha1BlocksPortable(puState, puBlocks, uCount);
}

void Sha256Blocks(uint32_t* puState, const uint8_t* puBlocks, size_t uCount)
{
    if (CpuPath(ECpuAlgorithm::eSHA) == eCPU_SHA) Sha256BlocksShaExtensions(puState, puBlocks, uCount);
    else Sha256BlocksPortable(puState, puBlocks, uCount);
}

namespace
{
// Only the last 16 words of a message schedule are ever looked back at.
constexpr unsigned int g_uSCHEDULE_SIZE = 16;

uint32_t& At(uint32_t (&auSchedule)[g_uSCHEDULE_SIZE], unsigned int uRound)
{
    return auSchedule[uRound % g_uSCHEDULE_SIZE];
}

void LoadSchedule(uint32_t (&auSchedule)[g_uSCHEDULE_SIZE], const uint8_t* puBlock)
{
    for (size_t u = 0; u < g_uSCHEDULE_SIZE; ++u) auSchedule[u] = LoadBigEndian32(puBlock + 4 * u);
}

uint32_t Choose(uint32_t x, uint32_t y, uint32_t z)
{
    return ((y ^ z) & x) ^ z;
}

uint32_t Parity(uint32_t x, uint32_t y, uint32_t z)
{
    return x ^ y ^ z;
}

uint32_t Majority(uint32_t x, uint32_t y, uint32_t z)
{
    return (x & y) | ((x | y) & z);
}

uint32_t Sha1Word(uint32_t (&w)[g_uSCHEDULE_SIZE], unsigned int t)
{
    if (t >= g_uSCHEDULE_SIZE) At(w, t) = RotateLeft(At(w, t - 3) ^ At(w, t - 8) ^ At(w, t - 14) ^ At(w, t), 1);
    return At(w, t);
}

template <uint32_t (*pfnRound)(uint32_t, uint32_t, uint32_t), uint32_t uCONSTANT>
void Sha1TwentyRounds(uint32_t (&s)[5], uint32_t (&w)[g_uSCHEDULE_SIZE], unsigned int uFirst)
{
    for (unsigned int t = uFirst; t < uFirst + 20; ++t)
    {
        const uint32_t uNew = RotateLeft(s[0], 5) + pfnRound(s[1], s[2], s[3]) + s[4] + uCONSTANT + Sha1Word(w, t);
        s[4] = s[3];
        s[3] = s[2];
        s[2] = RotateLeft(s[1], 30);
        s[1] = s[0];
        s[0] = uNew;
    }
}

uint32_t RotateRight(uint32_t uWord, unsigned int uBits)
{
    return RotateLeft(uWord, 32 - uBits);
}

uint32_t Sha256Word(uint32_t (&w)[g_uSCHEDULE_SIZE], unsigned int t)
{
    if (t >= g_uSCHEDULE_SIZE)
    {
        const uint32_t u15 = At(w, t - 15);
        const uint32_t u2 = At(w, t - 2);
        const uint32_t uSigma0 = RotateRight(u15, 7) ^ RotateRight(u15, 18) ^ u15 >> 3;
        const uint32_t uSigma1 = RotateRight(u2, 17) ^ RotateRight(u2, 19) ^ u2 >> 10;
        At(w, t) += uSigma0 + At(w, t - 7) + uSigma1;
    }
    return At(w, t);
}
}  // namespace

// The last words of a schedule reveal all others, and with them the block, which may have been a key. The state after a
// key is as good as the key. So both are wiped.
void Sha1BlocksPortable(uint32_t* puState, const uint8_t* puBlocks, size_t uCount)
{
    uint32_t w[g_uSCHEDULE_SIZE];
    uint32_t s[5];
    for (; uCount != 0; --uCount, puBlocks += g_uMESSAGE_BLOCK_SIZE)
    {
        LoadSchedule(w, puBlocks);
        memcpy(s, puState, sizeof(s));
        Sha1TwentyRounds<Choose, 0x5a827999>(s, w, 0);
        Sha1TwentyRounds<Parity, 0x6ed9eba1>(s, w, 20);
        Sha1TwentyRounds<Majority, 0x8f1bbcdc>(s, w, 40);
        Sha1TwentyRounds<Parity, 0xca62c1d6>(s, w, 60);
        for (unsigned int u = 0; u < 5; ++u) puState[u] += s[u];
    }
    Wipe(w, sizeof(w));
    Wipe(s, sizeof(s));
}

void Sha256BlocksPortable(uint32_t* puState, const uint8_t* puBlocks, size_t uCount)
{
    uint32_t w[g_uSCHEDULE_SIZE];
    uint32_t s[8];
    for (; uCount != 0; --uCount, puBlocks += g_uMESSAGE_BLOCK_SIZE)
    {
        LoadSchedule(w, puBlocks);
        memcpy(s, puState, sizeof(s));
        for (unsigned int t = 0; t < 64; ++t)
        {
            const uint32_t uSum1 = RotateRight(s[4], 6) ^ RotateRight(s[4], 11) ^ RotateRight(s[4], 25);
            const uint32_t uSum0 = RotateRight(s[0], 2) ^ RotateRight(s[0], 13) ^ RotateRight(s[0], 22);
            const uint32_t u1 = s[7] + uSum1 + Choose(s[4], s[5], s[6]) + g_auSHA256_CONSTANTS[t] + Sha256Word(w, t);
            const uint32_t u2 = uSum0 + Majority(s[0], s[1], s[2]);
            memmove(s + 1, s, 7 * sizeof(s[0]));
            s[4] += u1;
            s[0] = u1 + u2;
        }
        for (unsigned int u = 0; u < 8; ++u) puState[u] += s[u];
    }
    Wipe(w, sizeof(w));
    Wipe(s, sizeof(s));
}
}  // namespace orvel_internal
