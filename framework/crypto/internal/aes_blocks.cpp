#include "framework/crypto/internal/aes_blocks.h"

#include "framework/crypto/internal/cpu_features.h"

namespace orvel_internal
{
namespace
{
// How many of the blocks the vector path does. For a few blocks it takes longer to start than it saves.
size_t VectorBlocks(size_t uBlocks)
{
    constexpr size_t uWORTHWHILE = 8;
    if (uBlocks < uWORTHWHILE || CpuPath(ECpuAlgorithm::eAES) != eCPU_VAES) return 0;
    return uBlocks - uBlocks % g_uAES_VECTOR_BLOCKS;
}

// The vector path does the front of the message, in multiples of four blocks; the other path does the rest.
template <typename... State>
void InTwoParts(void (*pfnVaes)(const SAesKey&, const uint8_t*, size_t, uint8_t*, State*...),
                void (*pfnNi)(const SAesKey&, const uint8_t*, size_t, uint8_t*, State*...), const SAesKey& rstKey,
                const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, State*... puState)
{
    const size_t uFront = VectorBlocks(uBlocks);
    if (uFront != 0) pfnVaes(rstKey, puIn, uFront, puOut, puState...);
    const size_t uDone = uFront * g_uAES_BLOCK_SIZE;
    if (uFront != uBlocks) pfnNi(rstKey, puIn + uDone, uBlocks - uFront, puOut + uDone, puState...);
}
}  // namespace

bool IsAesByProcessor()
{
    return CpuPath(ECpuAlgorithm::eAES) != eCPU_PORTABLE;
}

unsigned int AesExpandKey(const uint8_t* puKey, unsigned int uKeySize, bool bForDeciphering, uint8_t* puRoundKeys)
{
    return AesExpandKeyNi(puKey, uKeySize, bForDeciphering, puRoundKeys);
}

void AesEcbEncrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut)
{
    InTwoParts(AesEcbEncryptVaes, AesEcbEncryptNi, rstKey, puIn, uBlocks, puOut);
}

void AesEcbDecrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut)
{
    InTwoParts(AesEcbDecryptVaes, AesEcbDecryptNi, rstKey, puIn, uBlocks, puOut);
}

void AesCbcEncrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    AesCbcEncryptNi(rstKey, puIn, uBlocks, puOut, puIv);
}

void AesCbcDecrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    InTwoParts(AesCbcDecryptVaes, AesCbcDecryptNi, rstKey, puIn, uBlocks, puOut, puIv);
}

void AesCfbEncrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    AesCfbEncryptNi(rstKey, puIn, uBlocks, puOut, puIv);
}

void AesCfbDecrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    InTwoParts(AesCfbDecryptVaes, AesCfbDecryptNi, rstKey, puIn, uBlocks, puOut, puIv);
}

void AesOfb(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv)
{
    AesOfbNi(rstKey, puIn, uBlocks, puOut, puIv);
}

void AesCtr(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puCounter,
            uint8_t* puKeyStream)
{
    InTwoParts(AesCtrVaes, AesCtrNi, rstKey, puIn, uBlocks, puOut, puCounter, puKeyStream);
}
}  // namespace orvel_internal
