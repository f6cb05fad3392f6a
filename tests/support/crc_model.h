#ifndef TESTS_SUPPORT_CRC_MODEL_H
#define TESTS_SUPPORT_CRC_MODEL_H
#include <cstddef>
#include <cstdint>

#include "framework/crypto/crc.h"

/// The two CRCs by their bitwise definition.
class CCrcModel
{
public:
    explicit CCrcModel(CCrc::ECrcType eType)
        : m_uPolynomial(eType == CCrc::eCRC16 ? 0x8408 : 0xEDB88320),
          m_uMask(eType == CCrc::eCRC16 ? 0xFFFF : 0xFFFFFFFF)
    {
    }

    uint32_t Start() const { return m_uMask; }
    uint32_t Next(uint32_t uRegister, uint8_t uByte) const
    {
        uRegister ^= uByte;
        for (unsigned int uBit = 0; uBit < 8; ++uBit)
        {
            const bool bDropped = (uRegister & 1) != 0;
            uRegister >>= 1;
            if (bDropped) uRegister ^= m_uPolynomial;
        }
        return uRegister;
    }
    uint32_t Result(uint32_t uRegister) const { return uRegister ^ m_uMask; }

    uint32_t Of(const uint8_t* puData, std::size_t uSize) const
    {
        uint32_t uRegister = Start();
        for (std::size_t u = 0; u < uSize; ++u) uRegister = Next(uRegister, puData[u]);
        return Result(uRegister);
    }

private:
    uint32_t m_uPolynomial;
    uint32_t m_uMask;
};

#endif
