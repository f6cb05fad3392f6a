#ifndef FRAMEWORK_CRYPTO_INTERNAL_SHORT_HMAC_H
#define FRAMEWORK_CRYPTO_INTERNAL_SHORT_HMAC_H
#include <stdint.h>
#include <string.h>

#include "framework/crypto/internal/message_blocks.h"
#include "framework/crypto/internal/sha_blocks.h"
#include "framework/crypto/internal/wiped.h"

/// The pads of HMAC, and HMAC where one key serves many short messages. Internal.
namespace orvel_internal
{
constexpr uint8_t g_uHMAC_INNER_PAD = 0x36;
constexpr uint8_t g_uHMAC_OUTER_PAD = 0x5C;

/// HMAC-SHA1 of messages of SIZE bytes each, which fit a block together with their padding. The key must fit a block,
/// too. The states of both digests after the block with the key are computed once, and the padding is written once, so
/// that a code takes two blocks instead of four. The destructor wipes all of it.
///
/// - **Source:** RFC 2104, section 4.
template <unsigned int SIZE>
class CSha1ShortMac
{
    static_assert(SIZE < g_uMESSAGE_BLOCK_SIZE - 8);

public:
    CSha1ShortMac(const uint8_t* puKey, unsigned int uKeySize)
    {
        BeginBoth(puKey, uKeySize);
        Pad(m_st.auMessage, SIZE);
        Pad(m_st.auDigest, sizeof(m_st.auState));
    }
    ~CSha1ShortMac() { Wipe(&m_st, sizeof(m_st)); }
    CSha1ShortMac(const CSha1ShortMac&) = delete;
    CSha1ShortMac& operator=(const CSha1ShortMac&) = delete;

    /// Writes the 20 bytes of the code; the message may lie in the same place.
    void Code(const uint8_t* puMessage, uint8_t* puCode)
    {
        memcpy(m_st.auMessage, puMessage, SIZE);
        Digest(m_st.auInner, m_st.auMessage, m_st.auDigest);
        Digest(m_st.auOuter, m_st.auDigest, puCode);
    }

private:
    void BeginBoth(const uint8_t* puKey, unsigned int uKeySize)
    {
        memset(m_st.auMessage, 0, sizeof(m_st.auMessage));
        memcpy(m_st.auMessage, puKey, uKeySize);
        for (uint8_t& ruByte : m_st.auMessage) ruByte ^= g_uHMAC_INNER_PAD;
        Begin(m_st.auInner);
        for (uint8_t& ruByte : m_st.auMessage) ruByte ^= g_uHMAC_INNER_PAD ^ g_uHMAC_OUTER_PAD;
        Begin(m_st.auOuter);
    }
    void Begin(uint32_t* puState)
    {
        memcpy(puState, g_auSHA1_START, sizeof(g_auSHA1_START));
        Sha1Blocks(puState, m_st.auMessage, 1);
    }
    // Writes the padding of a message of uSize bytes that follows the block with the key.
    static void Pad(uint8_t* puBlock, unsigned int uSize)
    {
        memset(puBlock, 0, g_uMESSAGE_BLOCK_SIZE);
        puBlock[uSize] = 0x80;
        StoreBigEndian32(puBlock + g_uMESSAGE_BLOCK_SIZE - 4, 8 * (g_uMESSAGE_BLOCK_SIZE + uSize));
    }
    void Digest(const uint32_t* puBegun, const uint8_t* puBlock, uint8_t* puDigest)
    {
        memcpy(m_st.auState, puBegun, sizeof(m_st.auState));
        Sha1Blocks(m_st.auState, puBlock, 1);
        StoreBigEndian(puDigest, m_st.auState, 5);
    }

    struct
    {
        alignas(16) uint8_t auMessage[g_uMESSAGE_BLOCK_SIZE];
        alignas(16) uint8_t auDigest[g_uMESSAGE_BLOCK_SIZE];
        uint32_t auInner[5];
        uint32_t auOuter[5];
        uint32_t auState[5];
    } m_st;
};
}  // namespace orvel_internal

#endif
