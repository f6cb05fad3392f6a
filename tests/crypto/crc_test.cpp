// Oracles: published check values, the bitwise definition, and zlib where it is installed.
#include "framework/crypto/crc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/crc_model.h"
#include "tests/support/object_bytes.h"
#include "tests/support/page_end.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"
#ifdef ORVEL_HAS_ZLIB
#include <zlib.h>
#endif

namespace
{
constexpr CCrc::ECrcType g_eNO_TYPE = static_cast<CCrc::ECrcType>(2);

uint32_t EndOf(CCrc& rCrc, CCrc::ECrcType eType)
{
    uint16_t uCrc16 = 0xDEAD;
    uint32_t uCrc32 = 0xDEADBEEF;
    EXPECT_EQ(QV_RES_OK, eType == CCrc::eCRC16 ? rCrc.End(&uCrc16) : rCrc.End(&uCrc32));
    return eType == CCrc::eCRC16 ? uCrc16 : uCrc32;
}

uint32_t CrcOf(CCrc::ECrcType eType, const uint8_t* puData, std::size_t uSize)
{
    CCrc crc;
    EXPECT_EQ(QV_RES_OK, crc.Begin(eType));
    EXPECT_EQ(QV_RES_OK, crc.Update(puData, static_cast<unsigned int>(uSize)));
    return EndOf(crc, eType);
}

const uint8_t* Bytes(const char* pszText)
{
    return reinterpret_cast<const uint8_t*>(pszText);
}

struct SCrcCase
{
    const char* pszName;
    CCrc::ECrcType eType;
    const char* pszText;
    uint32_t uWant;
};

class CCrcSplit : public testing::TestWithParam<SCrcCase>
{
};
TEST_P(CCrcSplit, AnyCutOfTheInputGivesTheSameValue)
{
    const uint8_t* const puText = Bytes(GetParam().pszText);
    const unsigned int uSize = static_cast<unsigned int>(std::strlen(GetParam().pszText));
    for (unsigned int uCut = 0; uCut <= uSize; ++uCut)
    {
        CCrc crc;
        ASSERT_EQ(QV_RES_OK, crc.Begin(GetParam().eType));
        ASSERT_EQ(QV_RES_OK, crc.Update(puText, uCut));
        ASSERT_EQ(QV_RES_OK, crc.Update(puText + uCut, uSize - uCut));
        EXPECT_EQ(GetParam().uWant, EndOf(crc, GetParam().eType)) << "cut at " << uCut;
    }
}
TEST_P(CCrcSplit, ByteByByteGivesTheSameValue)
{
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(GetParam().eType));
    for (const char* psz = GetParam().pszText; *psz != '\0'; ++psz) ASSERT_EQ(QV_RES_OK, crc.Update(Bytes(psz), 1));
    EXPECT_EQ(GetParam().uWant, EndOf(crc, GetParam().eType));
}
INSTANTIATE_TEST_SUITE_P(Published, CCrcSplit,
                         testing::Values(SCrcCase{"Crc16Check", CCrc::eCRC16, "123456789", 0x906E},
                                         SCrcCase{"Crc32Check", CCrc::eCRC32, "123456789", 0xCBF43926},
                                         SCrcCase{"Crc32A", CCrc::eCRC32, "a", 0xE8B7BE43},
                                         SCrcCase{"Crc32Fox", CCrc::eCRC32,
                                                  "The quick brown fox jumps over the lazy dog", 0x414FA339}),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

class CCrcOfEitherType : public testing::TestWithParam<CCrc::ECrcType>
{
protected:
    uint32_t CheckValue() const { return GetParam() == CCrc::eCRC16 ? 0x906E : 0xCBF43926; }
};

TEST_P(CCrcOfEitherType, EveryLengthAtEveryAlignmentIsTheBitwiseDefinition)
{
    std::mt19937 rng(TestSeed());
    const std::vector<unsigned char> bytes = RandomBytes(rng, 64 + 1025, 64 + 1025);
    const CCrcModel model(GetParam());
    for (unsigned int uStart = 0; uStart < 64; ++uStart)
    {
        uint32_t uRegister = model.Start();
        for (unsigned int uSize = 0; uSize <= 1024; ++uSize)
        {
            ASSERT_EQ(model.Result(uRegister), CrcOf(GetParam(), bytes.data() + uStart, uSize))
                << uSize << " bytes from " << uStart;
            uRegister = model.Next(uRegister, bytes[uStart + uSize]);
        }
    }
}

TEST_P(CCrcOfEitherType, LongInputsAreTheBitwiseDefinition)
{
    std::mt19937 rng(TestSeed());
    const std::vector<unsigned char> bytes = RandomBytes(rng, 70000, 70000);
    const CCrcModel model(GetParam());
    for (const unsigned int uSize : {1087u, 1088u, 1089u, 1536u, 2047u, 2048u, 2049u, 4099u, 65535u, 65536u, 70000u})
    {
        EXPECT_EQ(model.Of(bytes.data(), uSize), CrcOf(GetParam(), bytes.data(), uSize)) << uSize << " bytes";
    }
}

TEST_P(CCrcOfEitherType, RandomCutsOfALongInputGiveTheSameValue)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uRound = 0; uRound < 50; ++uRound)
    {
        const std::vector<unsigned char> bytes = RandomBytes(rng, 1, 6000);
        CCrc crc;
        ASSERT_EQ(QV_RES_OK, crc.Begin(GetParam()));
        for (std::size_t uAt = 0; uAt < bytes.size();)
        {
            const unsigned int uPart = Below(rng, std::min<std::size_t>(bytes.size() - uAt, 1500) + 1);
            ASSERT_EQ(QV_RES_OK, crc.Update(bytes.data() + uAt, uPart));
            uAt += uPart;
        }
        ASSERT_EQ(CCrcModel(GetParam()).Of(bytes.data(), bytes.size()), EndOf(crc, GetParam()));
    }
}

TEST_P(CCrcOfEitherType, NoByteBehindTheInputIsRead)
{
    for (const std::size_t uSize : {1u, 15u, 16u, 17u, 63u, 64u, 65u, 100u, 448u, 449u, 1025u, 3000u, 4096u})
    {
        const CPageEnd page(std::vector<unsigned char>(uSize, 0x5A));
        EXPECT_EQ(CCrcModel(GetParam()).Of(page.Get(), uSize), CrcOf(GetParam(), page.Get(), uSize)) << uSize;
    }
}

TEST_P(CCrcOfEitherType, NothingGivesZero)
{
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(GetParam()));
    EXPECT_EQ(0u, EndOf(crc, GetParam()));
}

TEST_P(CCrcOfEitherType, TheSecondBeginIsRefusedAndDisturbsNothing)
{
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(GetParam()));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("1234"), 4));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.Begin(GetParam() == CCrc::eCRC16 ? CCrc::eCRC32 : CCrc::eCRC16));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.Begin(GetParam()));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("56789"), 5));
    EXPECT_EQ(CheckValue(), EndOf(crc, GetParam()));
}

TEST_P(CCrcOfEitherType, TheWrongWidthIsRefusedAndTheRightOneStillCanFollow)
{
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(GetParam()));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("12345"), 5));
    uint16_t uCrc16 = 0x1234;
    uint32_t uCrc32 = 0x12345678;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, GetParam() == CCrc::eCRC16 ? crc.End(&uCrc32) : crc.End(&uCrc16));
    EXPECT_EQ(0x1234, uCrc16);
    EXPECT_EQ(0x12345678u, uCrc32);
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("6789"), 4));
    EXPECT_EQ(CheckValue(), EndOf(crc, GetParam()));
}

TEST_P(CCrcOfEitherType, AfterEndItIsInactiveAndCanBeginAgain)
{
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(GetParam()));
    EndOf(crc, GetParam());
    uint16_t uCrc16;
    uint32_t uCrc32;
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.Update(Bytes("x"), 1));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.End(&uCrc16));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.End(&uCrc32));
    ASSERT_EQ(QV_RES_OK, crc.Begin(GetParam()));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("123456789"), 9));
    EXPECT_EQ(CheckValue(), EndOf(crc, GetParam()));
}

TEST_P(CCrcOfEitherType, ABlobIsItsBytes)
{
    CTestAllocator allocator;
    CBlob blob(Bytes("123456789"), 9, 40, &allocator);
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(GetParam()));
    EXPECT_EQ(QV_RES_OK, crc.Update(&blob));
    EXPECT_EQ(CheckValue(), EndOf(crc, GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Types, CCrcOfEitherType, testing::Values(CCrc::eCRC16, CCrc::eCRC32),
                         [](const auto& rInfo) { return rInfo.param == CCrc::eCRC16 ? "Crc16" : "Crc32"; });

#ifdef ORVEL_HAS_ZLIB
TEST(CCrc32, IsThatOfZlibUpToAMebibyte)
{
    std::mt19937 rng(TestSeed());
    const std::vector<unsigned char> bytes = RandomBytes(rng, 1 << 20, 1 << 20);
    for (unsigned int uRound = 0; uRound < 200; ++uRound)
    {
        const std::size_t uSize = uRound == 0 ? bytes.size() : 1 + Below(rng, std::size_t{1} << (1 + rng() % 20));
        const std::size_t uFrom = Below(rng, bytes.size() - uSize + 1);
        ASSERT_EQ(crc32(0, bytes.data() + uFrom, static_cast<uInt>(uSize)),
                  CrcOf(CCrc::eCRC32, bytes.data() + uFrom, uSize))
            << uSize << " bytes";
    }
}
#endif

TEST(CCrcRefusals, ANullPointerComesBeforeTheState)
{
    CCrc crc;
    for (unsigned int u = 0; u < 2; ++u)
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.Update(nullptr, 1));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.Update(nullptr, 0));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.Update(nullptr));
        crc.Begin(CCrc::eCRC32);
    }
}

TEST(CCrcRefusals, ABlobWithoutStorageIsANullPointer)
{
    CBlob blob;
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.Update(&blob));
    ASSERT_EQ(QV_RES_OK, blob.ReserveCapacity(1));
    EXPECT_EQ(QV_RES_OK, crc.Update(&blob));
}

TEST(CCrcRefusals, OutsideAComputationThereIsNothingToUpdateOrEnd)
{
    CCrc crc;
    uint16_t uCrc16 = 0x1234;
    uint32_t uCrc32 = 0x12345678;
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.Update(Bytes("x"), 1));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.End(&uCrc16));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.End(&uCrc32));
    EXPECT_EQ(0x1234, uCrc16);
    EXPECT_EQ(0x12345678u, uCrc32);
}

TEST(CCrcRefusals, NoBytesAreAcceptedInEveryState)
{
    CCrc crc;
    EXPECT_EQ(QV_RES_OK, crc.Update(Bytes("x"), 0));
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    EXPECT_EQ(QV_RES_OK, crc.Update(Bytes("x"), 0));
    EXPECT_EQ(0u, EndOf(crc, CCrc::eCRC32));
}

TEST(CCrcRefusals, ATypeThatIsNoneBeginsAndNeverEnds)
{
    CCrc crc;
    uint16_t uCrc16;
    uint32_t uCrc32;
    ASSERT_EQ(QV_RES_OK, crc.Begin(g_eNO_TYPE));
    for (unsigned int u = 0; u < 2; ++u)
    {
        EXPECT_EQ(QV_RES_FAIL, crc.Update(Bytes("x"), 1));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.End(&uCrc16));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.End(&uCrc32));
        EXPECT_EQ(QV_RES_INVALID_STATE, crc.Begin(CCrc::eCRC32));
    }
}

TEST(CCrcObject, CopiesGoOnByThemselves)
{
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("1234"), 4));
    CCrc copy(crc);
    ASSERT_EQ(QV_RES_OK, copy.Update(Bytes("other"), 5));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("56789"), 5));
    EXPECT_EQ(0xCBF43926u, EndOf(crc, CCrc::eCRC32));
    EXPECT_EQ(CrcOf(CCrc::eCRC32, Bytes("1234other"), 9), EndOf(copy, CCrc::eCRC32));
}

TEST(CCrcObject, HoldsTypeRegisterAndFlagInThisOrder)
{
    ASSERT_EQ(24u, sizeof(CCrc));
    CCrc crc;
    EXPECT_FALSE(LoadAt<bool>(&crc, 16));
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    EXPECT_EQ(1u, LoadAt<uint32_t>(&crc, 8));
    EXPECT_EQ(0xFFFFFFFFu, LoadAt<uint32_t>(&crc, 12));
    EXPECT_TRUE(LoadAt<bool>(&crc, 16));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("123456789"), 9));
    EXPECT_EQ(0xCBF43926u, ~LoadAt<uint32_t>(&crc, 12));
    EndOf(crc, CCrc::eCRC32);
    EXPECT_FALSE(LoadAt<bool>(&crc, 16));
}

TEST(CCrcObject, TheSixteenBitRegisterIsAllOnesUntilTheFirstByte)
{
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC16));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("1"), 0));
    EXPECT_EQ(0xFFFFFFFFu, LoadAt<uint32_t>(&crc, 12));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("123456789"), 9));
    EXPECT_EQ(0x906Eu ^ 0xFFFFu, LoadAt<uint32_t>(&crc, 12));
}
}  // namespace
