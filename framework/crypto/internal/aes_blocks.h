#ifndef FRAMEWORK_CRYPTO_INTERNAL_AES_BLOCKS_H
#define FRAMEWORK_CRYPTO_INTERNAL_AES_BLOCKS_H
#include <stddef.h>
#include <stdint.h>

/// AES in its modes by the processor's own instructions, on whole blocks of 16 bytes. Internal. There is no portable
/// path here: aes.cpp uses libcrypto for that. No table is read at a secret index, and no branch depends on a secret.
///
/// Input and output are the same buffer, or the output does not begin inside the input. The initialisation vector, or
/// counter, is left as the next block needs it.
///
/// - **Source:** FIPS 197, NIST SP 800-38A.
namespace orvel_internal
{
inline constexpr size_t g_uAES_BLOCK_SIZE = 16;

/// The round keys, 16 bytes each, one more than there are rounds (10, 12 or 14). Their layout is that of libcrypto's
/// AES_KEY on this processor: in the order of use. For decryption, all but the first and the last are in the form of
/// the equivalent inverse cipher.
struct SAesKey
{
    const uint8_t* puRoundKeys;
    unsigned int uRounds;
};

/// Whether this processor has the instructions that the functions below use.
bool IsAesByProcessor();

/// Makes the round keys, 16 * (uRounds + 1) bytes, of a key of 16, 24 or 32 bytes; returns uRounds.
unsigned int AesExpandKey(const uint8_t* puKey, unsigned int uKeySize, bool bForDeciphering, uint8_t* puRoundKeys);

/// These take the fastest path that this processor has.
void AesEcbEncrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut);
void AesEcbDecrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut);
void AesCbcEncrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesCbcDecrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesCfbEncrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesCfbDecrypt(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesOfb(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
/// The counter is one number of 128 bits, big-endian; the last block of the key stream goes to puKeyStream.
void AesCtr(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puCounter,
            uint8_t* puKeyStream);

/// With eCPU_AES.
unsigned int AesExpandKeyNi(const uint8_t* puKey, unsigned int uKeySize, bool bForDeciphering, uint8_t* puRoundKeys);
void AesEcbEncryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut);
void AesEcbDecryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut);
void AesCbcEncryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesCbcDecryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesCfbEncryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesCfbDecryptNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesOfbNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesCtrNi(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puCounter,
              uint8_t* puKeyStream);

/// With eCPU_VAES: the modes whose blocks do not wait for each other. Multiples of g_uAES_VECTOR_BLOCKS only.
constexpr size_t g_uAES_VECTOR_BLOCKS = 4;
void AesEcbEncryptVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut);
void AesEcbDecryptVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut);
void AesCbcDecryptVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesCfbDecryptVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puIv);
void AesCtrVaes(const SAesKey& rstKey, const uint8_t* puIn, size_t uBlocks, uint8_t* puOut, uint8_t* puCounter,
                uint8_t* puKeyStream);
}  // namespace orvel_internal

#endif
