#ifndef FRAMEWORK_CRYPTO_INTERNAL_MESSAGE_BLOCKS_H
#define FRAMEWORK_CRYPTO_INTERNAL_MESSAGE_BLOCKS_H
#include <stddef.h>
#include <stdint.h>
#include <string.h>

/// What the digests share: messages cut into blocks of 64 bytes, the padding of the last one, and the words in them.
/// Internal.
namespace orvel_internal
{
constexpr unsigned int g_uMESSAGE_BLOCK_SIZE = 64;

inline uint32_t RotateLeft(uint32_t uWord, unsigned int uBits)
{
    return uWord << uBits | uWord >> (32 - uBits);
}

inline void StoreBigEndian32(uint8_t* pu, uint32_t uWord)
{
    uWord = __builtin_bswap32(uWord);
    memcpy(pu, &uWord, sizeof(uWord));
}

inline void StoreBigEndian(uint8_t* pu, const uint32_t* puWords, size_t uCount)
{
    for (size_t u = 0; u < uCount; ++u) StoreBigEndian32(pu + 4 * u, puWords[u]);
}

inline uint32_t LoadBigEndian32(const uint8_t* pu)
{
    uint32_t uWord;
    memcpy(&uWord, pu, sizeof(uWord));
    return __builtin_bswap32(uWord);
}

/// Adds uSize bytes behind the uUsed (below 64) bytes that the block holds; returns how many it holds then.
/// transform(puBlocks, uCount) gets every whole block; blocks of the input are passed where they are, not copied.
template <typename Transform>
unsigned int FeedBlocks(uint8_t* puBlock, unsigned int uUsed, const uint8_t* puData, size_t uSize,
                        Transform&& transform)
{
    if (uUsed != 0)
    {
        const size_t uRoom = g_uMESSAGE_BLOCK_SIZE - uUsed;
        const size_t uPart = uSize < uRoom ? uSize : uRoom;
        memcpy(puBlock + uUsed, puData, uPart);
        if (uPart < uRoom) return uUsed + static_cast<unsigned int>(uPart);
        transform(puBlock, size_t{1});
        puData += uPart;
        uSize -= uPart;
    }
    const size_t uWholeBlocks = uSize / g_uMESSAGE_BLOCK_SIZE;
    if (uWholeBlocks != 0) transform(puData, uWholeBlocks);
    const unsigned int uRest = static_cast<unsigned int>(uSize % g_uMESSAGE_BLOCK_SIZE);
    memcpy(puBlock, puData + uWholeBlocks * g_uMESSAGE_BLOCK_SIZE, uRest);
    return uRest;
}

/// Ends the message: the pad byte, zeros up to the last 8 bytes of a block, and there the length field.
template <typename Transform>
void PadBlocks(uint8_t* puBlock, unsigned int uUsed, uint8_t uPadByte, const uint8_t* puLengthField,
               Transform&& transform)
{
    constexpr unsigned int uLENGTH_AT = g_uMESSAGE_BLOCK_SIZE - 8;
    puBlock[uUsed++] = uPadByte;
    if (uUsed > uLENGTH_AT)
    {
        memset(puBlock + uUsed, 0, g_uMESSAGE_BLOCK_SIZE - uUsed);
        transform(puBlock, size_t{1});
        uUsed = 0;
    }
    memset(puBlock + uUsed, 0, uLENGTH_AT - uUsed);
    memcpy(puBlock + uLENGTH_AT, puLengthField, 8);
    transform(puBlock, size_t{1});
}
}  // namespace orvel_internal

#endif
