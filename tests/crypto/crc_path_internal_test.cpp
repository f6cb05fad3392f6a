// Which path CCrc takes. The linker sends its calls here (see tests/CMakeLists.txt), so that the processor need not
// have the instructions.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/crypto/crc.h"
#include "framework/crypto/internal/cpu_features.h"
#include "framework/crypto/internal/crc_blocks.h"
#include "tests/support/crc_model.h"

using namespace orvel_internal;

namespace
{
std::string g_strCalled;

uint32_t Note(const char* pszPath, uint32_t uRegister, const uint8_t* puData, size_t uSize,
              const SCrcVariant& rstVariant)
{
    g_strCalled += pszPath;
    return rstVariant.pfnSlice(uRegister, puData, uSize);
}

/// What is called for so many bytes on a processor with these features.
std::string CalledFor(unsigned int uFeatures, unsigned int uSize)
{
    const std::vector<uint8_t> bytes(uSize, 0x5A);
    CCrc crc;
    const unsigned int uBefore = g_uCpuFeatures.exchange(g_uCPU_DETECTED | uFeatures);
    g_strCalled.clear();
    EXPECT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    EXPECT_EQ(QV_RES_OK, crc.Update(bytes.data(), uSize));
    uint32_t uCode = 0;
    EXPECT_EQ(QV_RES_OK, crc.End(&uCode));
    g_uCpuFeatures = uBefore;
    EXPECT_EQ(CCrcModel(CCrc::eCRC32).Of(bytes.data(), uSize), uCode);
    return g_strCalled;
}
}  // namespace

extern "C"
{
    uint32_t FoldSixteen(uint32_t uRegister, const uint8_t* puData, const SCrcVariant& rstVariant) __asm__(
        "__wrap__ZN14orvel_internal15CrcFold16PclmulEjPKhRKNS_11SCrcVariantE");
    uint32_t Fold(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant) __asm__(
        "__wrap__ZN14orvel_internal13CrcFoldPclmulEjPKhmRKNS_11SCrcVariantE");
    uint32_t FoldWide(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant) __asm__(
        "__wrap__ZN14orvel_internal14CrcFoldVpclmulEjPKhmRKNS_11SCrcVariantE");
}

uint32_t FoldSixteen(uint32_t uRegister, const uint8_t* puData, const SCrcVariant& rstVariant)
{
    return Note("sixteen", uRegister, puData, 16, rstVariant);
}

uint32_t Fold(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant)
{
    return Note("pclmulqdq", uRegister, puData, uSize, rstVariant);
}

uint32_t FoldWide(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant)
{
    return Note("vpclmulqdq", uRegister, puData, uSize, rstVariant);
}

TEST(CCrcPath, WithoutFeaturesIsThePortableOne)
{
    for (const unsigned int uSize : {1u, 15u, 16u, 17u, 64u, 1000u}) EXPECT_EQ("", CalledFor(0, uSize)) << uSize;
}

TEST(CCrcPath, IsTheWidestThatTheProcessorHas)
{
    for (const unsigned int uSize : {17u, 64u, 1000u})
    {
        EXPECT_EQ("pclmulqdq", CalledFor(eCPU_PCLMULQDQ, uSize)) << uSize;
        EXPECT_EQ("vpclmulqdq", CalledFor(eCPU_PCLMULQDQ | eCPU_VPCLMULQDQ, uSize)) << uSize;
    }
}

TEST(CCrcPath, OfSixteenBytesHasAFoldOfItsOwn)
{
    EXPECT_EQ("sixteen", CalledFor(eCPU_PCLMULQDQ, 16));
    EXPECT_EQ("sixteen", CalledFor(eCPU_PCLMULQDQ | eCPU_VPCLMULQDQ, 16));
}

TEST(CCrcPath, OfFewBytesIsThePortableOne)
{
    EXPECT_EQ("", CalledFor(eCPU_PCLMULQDQ | eCPU_VPCLMULQDQ, g_uCRC_SLICING_STEP - 1));
    EXPECT_NE("", CalledFor(eCPU_PCLMULQDQ | eCPU_VPCLMULQDQ, g_uCRC_SLICING_STEP));
}
