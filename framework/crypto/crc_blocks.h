#ifndef FRAMEWORK_CRYPTO_CRC_BLOCKS_H
#define FRAMEWORK_CRYPTO_CRC_BLOCKS_H
#include <stddef.h>
#include <stdint.h>

/// The registers of CRC-16 and CRC-32 moved on over uSize bytes, any number. Internal; the idea is in crc_blocks.cpp.
namespace orvel_internal
{
/// The fastest way this processor has.
uint32_t Crc16Bytes(uint32_t uRegister, const uint8_t* puData, size_t uSize);
uint32_t Crc32Bytes(uint32_t uRegister, const uint8_t* puData, size_t uSize);

/// On any x86-64, from tables: 16 bytes a step.
uint32_t Crc16BytesPortable(uint32_t uRegister, const uint8_t* puData, size_t uSize);
uint32_t Crc32BytesPortable(uint32_t uRegister, const uint8_t* puData, size_t uSize);

/// What folding multiplies by, for one polynomial.
struct SCrcFolding
{
    static constexpr unsigned int uREACH = 1024;

    /// Factors for the first and the second 8 bytes of each 16, laid out like the last uREACH bytes of a message: they
    /// bring what lies there onto the last 12 bytes of a 16-byte remainder.
    alignas(64) uint64_t auToEnd[uREACH / 8];
    /// Factors that move 16 bytes on by 64, by 512.
    uint64_t auBy64[2];
    uint64_t auBy512[2];
    /// To divide by the polynomial: x^95 / polynomial, and the polynomial without its highest term.
    uint64_t auDivision[2];
};

extern const SCrcFolding g_stCRC16_FOLDING;
extern const SCrcFolding g_stCRC32_FOLDING;

/// With eCPU_PCLMULQDQ. uSize is a multiple of 16, and not 0.
uint32_t CrcFoldPclmul(const SCrcFolding& rstFolding, uint32_t uRegister, const uint8_t* puData, size_t uSize);

/// With eCPU_VPCLMULQDQ. uSize is 4 at least.
uint32_t CrcFoldVpclmul(const SCrcFolding& rstFolding, uint32_t uRegister, const uint8_t* puData, size_t uSize);
}  // namespace orvel_internal

#endif
