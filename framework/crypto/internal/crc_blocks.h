#ifndef FRAMEWORK_CRYPTO_INTERNAL_CRC_BLOCKS_H
#define FRAMEWORK_CRYPTO_INTERNAL_CRC_BLOCKS_H
#include <stddef.h>
#include <stdint.h>

#include "framework/kernel/export.h"

/// The registers of CRC-16 and CRC-32 moved on over uSize bytes. Internal; the idea is in crc_blocks.cpp.
namespace orvel_internal
{
/// On any x86-64, from tables, for any size: g_uCRC_SLICING_STEP bytes in one step, long messages in longer steps.
constexpr unsigned int g_uCRC_SLICING_STEP = 16;
uint32_t Crc16Slice(uint32_t uRegister, const uint8_t* puData, size_t uSize);
uint32_t Crc32Slice(uint32_t uRegister, const uint8_t* puData, size_t uSize);

/// What all paths need to know of one CRC.
struct SCrcVariant
{
    static constexpr unsigned int ms_uREACH = 1024;

    /// Factors for the first and the second 8 bytes of each 16, laid out like the last ms_uREACH bytes of a message:
    /// they bring what lies there onto the last 12 bytes of a 16-byte remainder.
    alignas(64) uint64_t auToEnd[ms_uREACH / 8];
    /// Factors that move 16 bytes on by 64, by 512.
    uint64_t auBy64[2];
    uint64_t auBy512[2];
    /// To divide by the polynomial: x^95 / polynomial, and the polynomial without its highest term, placed such that
    /// its product with the quotient meets the last 32 bits of the remainder.
    uint64_t auDivision[2];
    /// For bytes that are too few to fold.
    uint32_t (*pfnSlice)(uint32_t uRegister, const uint8_t* puData, size_t uSize);
};

/// By CCrc::ECrcType.
QV_HIDDEN extern const SCrcVariant g_astCRC_VARIANTS[2];

/// With eCPU_PCLMULQDQ. uSize is 16 at least; the second one is for just that.
uint32_t CrcFoldPclmul(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant);

uint32_t CrcFold16Pclmul(uint32_t uRegister, const uint8_t* puData, const SCrcVariant& rstVariant);

/// With eCPU_VPCLMULQDQ. uSize is 4 at least.
uint32_t CrcFoldVpclmul(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant);
}  // namespace orvel_internal

#endif
