// Every path of the CRCs, forced. Oracle: the bitwise definition.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "framework/crypto/crc.h"
#include "framework/crypto/internal/cpu_features.h"
#include "framework/crypto/internal/crc_blocks.h"
#include "tests/support/crc_model.h"
#include "tests/support/page_end.h"

namespace
{
using namespace orvel_internal;

struct SPath
{
    const char* pszName;
    ECpuFeature eFeature;
    unsigned int uLeastSize;
    uint32_t (*pfnMoveOn)(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant);
};

uint32_t Slice(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant)
{
    return rstVariant.pfnSlice(uRegister, puData, uSize);
}

// As the library chooses.
uint32_t FoldPclmul(uint32_t uRegister, const uint8_t* puData, size_t uSize, const SCrcVariant& rstVariant)
{
    if (uSize == 16) return CrcFold16Pclmul(uRegister, puData, rstVariant);
    return CrcFoldPclmul(uRegister, puData, uSize, rstVariant);
}

const SPath g_astPATHS[] = {{"portable", eCPU_PORTABLE, 0, Slice},
                            {"pclmulqdq", eCPU_PCLMULQDQ, 16, FoldPclmul},
                            {"vpclmulqdq", eCPU_VPCLMULQDQ, 4, CrcFoldVpclmul}};

std::vector<uint8_t> PatternBytes(std::size_t uSize)
{
    std::vector<uint8_t> bytes(uSize);
    uint32_t uState = 12345;
    for (uint8_t& ruByte : bytes)
    {
        uState = uState * 1664525 + 1013904223;
        ruByte = static_cast<uint8_t>(uState >> 24);
    }
    return bytes;
}

class CCrcPath : public testing::TestWithParam<std::tuple<SPath, CCrc::ECrcType>>
{
protected:
    const SPath& Path() const { return std::get<0>(GetParam()); }
    CCrc::ECrcType Type() const { return std::get<1>(GetParam()); }
    CCrcModel Model() const { return CCrcModel(Type()); }
    bool IsThere() const { return HasCpuFeature(Path().eFeature); }
    uint32_t MoveOn(uint32_t uRegister, const uint8_t* puData, std::size_t uSize) const
    {
        return Path().pfnMoveOn(uRegister, puData, uSize, g_astCRC_VARIANTS[Type()]);
    }
};

TEST_P(CCrcPath, EveryLengthAtEveryAlignmentIsTheBitwiseDefinition)
{
    if (!IsThere()) return;
    const std::vector<uint8_t> bytes = PatternBytes(5000);
    for (unsigned int uStart = 0; uStart < 64; ++uStart)
    {
        // Once far beyond the reach of the factors.
        const unsigned int uSizes = uStart == 0 ? 5000 : 1200;
        const uint32_t uFrom = (uStart == 0 ? ~0u : 0x5A17C3E9) & Model().Start();
        uint32_t uWant = uFrom;
        for (unsigned int uSize = 0; uSize < uSizes; ++uSize)
        {
            if (uSize >= Path().uLeastSize)
            {
                ASSERT_EQ(uWant, MoveOn(uFrom, bytes.data() + uStart, uSize)) << uSize << " bytes from " << uStart;
            }
            uWant = Model().Next(uWant, bytes[uStart + uSize]);
        }
    }
}

TEST_P(CCrcPath, EachBitOfRegisterAndDataCountsByItself)
{
    if (!IsThere()) return;
    std::vector<uint8_t> bytes(700, 0);
    const auto Want = [&](uint32_t uRegister)
    {
        for (const uint8_t uByte : bytes) uRegister = Model().Next(uRegister, uByte);
        return uRegister;
    };
    for (uint32_t uBit = 1; (uBit & Model().Start()) != 0; uBit <<= 1)
    {
        ASSERT_EQ(Want(uBit), MoveOn(uBit, bytes.data(), bytes.size())) << "register " << uBit;
    }
    for (std::size_t uBit = 0; uBit < 8 * bytes.size(); ++uBit)
    {
        bytes[uBit / 8] = static_cast<uint8_t>(1u << uBit % 8);
        ASSERT_EQ(Want(0), MoveOn(0, bytes.data(), bytes.size())) << "data " << uBit;
        bytes[uBit / 8] = 0;
    }
}

TEST_P(CCrcPath, NoByteBehindTheInputIsRead)
{
    if (!IsThere()) return;
    for (unsigned int uSize = Path().uLeastSize; uSize < 600; ++uSize)
    {
        const CPageEnd page(PatternBytes(uSize));
        ASSERT_EQ(Model().Of(page.Get(), uSize), Model().Result(MoveOn(Model().Start(), page.Get(), uSize)));
    }
}

TEST_P(CCrcPath, TheClassTakesItWhenNoBetterOneIsThere)
{
    if (!IsThere()) return;
    RestrictCpuFeatures(Path().eFeature);
    EXPECT_STREQ(Path().pszName, CpuPathName(ECpuAlgorithm::eCRC));
    const std::vector<uint8_t> bytes = PatternBytes(3000);
    for (const unsigned int uSize : {1u, 15u, 16u, 17u, 18u, 63u, 64u, 65u, 66u, 67u, 68u, 1000u, 3000u})
    {
        CCrc crc;
        ASSERT_EQ(QV_RES_OK, crc.Begin(Type()));
        ASSERT_EQ(QV_RES_OK, crc.Update(bytes.data(), uSize));
        uint16_t uCrc16 = 0;
        uint32_t uCrc32 = 0;
        ASSERT_EQ(QV_RES_OK, Type() == CCrc::eCRC16 ? crc.End(&uCrc16) : crc.End(&uCrc32));
        EXPECT_EQ(Model().Of(bytes.data(), uSize), uCrc16 | uCrc32) << uSize << " bytes";
    }
    RestrictCpuFeatures(~0u);
}

INSTANTIATE_TEST_SUITE_P(Paths, CCrcPath,
                         testing::Combine(testing::ValuesIn(g_astPATHS), testing::Values(CCrc::eCRC16, CCrc::eCRC32)),
                         [](const auto& rInfo)
                         {
                             const bool b16 = std::get<1>(rInfo.param) == CCrc::eCRC16;
                             return std::string(std::get<0>(rInfo.param).pszName) + (b16 ? "Crc16" : "Crc32");
                         });
}  // namespace

// Update() only reads what was found out.
TEST(CCrcDetection, HappensWhenAnObjectIsMade)
{
    g_uCpuFeatures.store(0);
    const CCrc crc;
    EXPECT_NE(0u, g_uCpuFeatures.load());
}
