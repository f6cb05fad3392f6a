// Oracles: published check values, and the bitwise definition. Random orders of all calls, beside zlib, are the matter
// of fuzz/crc_fuzz.cpp, every length on every path that of crc_internal_test.cpp.
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

namespace
{
const uint8_t* Bytes(const char* pszText)
{
    return reinterpret_cast<const uint8_t*>(pszText);
}

// The value, be it of the one or of the other width.
uint32_t EndOf(CCrc& rCrc, CCrc::ECrcType eType)
{
    uint16_t uCrc16 = 0xDEAD;
    uint32_t uCrc32 = 0xDEADBEEF;
    EXPECT_EQ(QV_RES_OK, eType == CCrc::eCRC16 ? rCrc.End(&uCrc16) : rCrc.End(&uCrc32));
    return eType == CCrc::eCRC16 ? uCrc16 : uCrc32;
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
INSTANTIATE_TEST_SUITE_P(Published, CCrcSplit,
                         testing::Values(SCrcCase{"Crc16Nothing", CCrc::eCRC16, "", 0},
                                         SCrcCase{"Crc16Check", CCrc::eCRC16, "123456789", 0x906E},
                                         SCrcCase{"Crc32Nothing", CCrc::eCRC32, "", 0},
                                         SCrcCase{"Crc32Check", CCrc::eCRC32, "123456789", 0xCBF43926},
                                         SCrcCase{"Crc32A", CCrc::eCRC32, "a", 0xE8B7BE43},
                                         SCrcCase{"Crc32Fox", CCrc::eCRC32,
                                                  "The quick brown fox jumps over the lazy dog", 0x414FA339}),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CCrcUpdate, RandomCutsOfALongInputGiveTheSameValueAndReadNothingBehindIt)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uRound = 0; uRound < 100; ++uRound)
    {
        const CCrc::ECrcType eType = uRound % 2 == 0 ? CCrc::eCRC16 : CCrc::eCRC32;
        const std::vector<unsigned char> bytes = RandomBytes(rng, 1, uRound < 96 ? 6000 : 70000);
        const CPageEnd page(bytes);
        CCrc crc;
        ASSERT_EQ(QV_RES_OK, crc.Begin(eType));
        for (std::size_t uAt = 0; uAt < bytes.size();)
        {
            const unsigned int uPart = Below(rng, std::min<std::size_t>(bytes.size() - uAt, 1500) + 1);
            ASSERT_EQ(QV_RES_OK, crc.Update(page.Get() + uAt, uPart));
            uAt += uPart;
        }
        ASSERT_EQ(CCrcModel(eType).Of(bytes.data(), bytes.size()), EndOf(crc, eType));
    }
}

// What each call returns: before Begin(), within a computation of either type, and of one that there is not.
TEST(CCrcStates, DecideWhatIsRefused)
{
    struct SState
    {
        const char* pszName;
        int nType;  // below 0: not begun
        QvResult resBegin;
        QvResult resUpdate;
        QvResult resEnd16;
        QvResult resEnd32;
    };
    const SState astStates[] = {
        {"inactive", -1, QV_RES_OK, QV_RES_INVALID_STATE, QV_RES_INVALID_STATE, QV_RES_INVALID_STATE},
        {"CRC-16", CCrc::eCRC16, QV_RES_INVALID_STATE, QV_RES_OK, QV_RES_OK, QV_RES_INVALID_ARGUMENT},
        {"CRC-32", CCrc::eCRC32, QV_RES_INVALID_STATE, QV_RES_OK, QV_RES_INVALID_ARGUMENT, QV_RES_OK},
        {"no type", 2, QV_RES_INVALID_STATE, QV_RES_FAIL, QV_RES_INVALID_ARGUMENT, QV_RES_INVALID_ARGUMENT}};
    for (const SState& rstState : astStates)
    {
        SCOPED_TRACE(rstState.pszName);
        CCrc fresh;
        if (rstState.nType >= 0) { EXPECT_EQ(QV_RES_OK, fresh.Begin(static_cast<CCrc::ECrcType>(rstState.nType))); }
        for (const CCrc::ECrcType eType : {CCrc::eCRC16, CCrc::eCRC32})
        {
            CCrc crc(fresh);
            EXPECT_EQ(rstState.resBegin, crc.Begin(eType));
        }
        EXPECT_EQ(rstState.resUpdate, CCrc(fresh).Update(Bytes("x"), 1));
        EXPECT_EQ(QV_RES_OK, CCrc(fresh).Update(Bytes("x"), 0));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CCrc(fresh).Update(nullptr, 1));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CCrc(fresh).Update(nullptr, 0));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CCrc(fresh).Update(nullptr));
        uint16_t uCrc16 = 0x1234;
        uint32_t uCrc32 = 0x12345678;
        EXPECT_EQ(rstState.resEnd16, CCrc(fresh).End(&uCrc16));
        EXPECT_EQ(rstState.resEnd32, CCrc(fresh).End(&uCrc32));
        EXPECT_EQ(rstState.resEnd16 == QV_RES_OK ? 0u : 0x1234u, uCrc16);
        EXPECT_EQ(rstState.resEnd32 == QV_RES_OK ? 0u : 0x12345678u, uCrc32);
    }
}

TEST(CCrcStates, RefusedCallsDisturbNothingAndAfterEndItCanBeginAgain)
{
    CCrc crc;
    for (const SCrcCase& rstCase : {SCrcCase{"", CCrc::eCRC16, "", 0x906E}, SCrcCase{"", CCrc::eCRC32, "", 0xCBF43926}})
    {
        uint16_t uCrc16;
        uint32_t uCrc32;
        const bool b16 = rstCase.eType == CCrc::eCRC16;
        ASSERT_EQ(QV_RES_OK, crc.Begin(rstCase.eType));
        ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("1234"), 4));
        EXPECT_EQ(QV_RES_INVALID_STATE, crc.Begin(b16 ? CCrc::eCRC32 : CCrc::eCRC16));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, b16 ? crc.End(&uCrc32) : crc.End(&uCrc16));
        CCrc copy(crc);
        ASSERT_EQ(QV_RES_OK, copy.Update(Bytes("other"), 5));
        ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("56789"), 5));
        EXPECT_EQ(rstCase.uWant, EndOf(crc, rstCase.eType));
        EXPECT_EQ(CCrcModel(rstCase.eType).Of(Bytes("1234other"), 9), EndOf(copy, rstCase.eType));
        EXPECT_EQ(QV_RES_INVALID_STATE, crc.Update(Bytes("x"), 1));
    }
}

TEST(CCrcStates, AfterATypeThatIsNoneItStaysActive)
{
    CCrc crc;
    uint32_t uCrc32;
    ASSERT_EQ(QV_RES_OK, crc.Begin(static_cast<CCrc::ECrcType>(2)));
    EXPECT_EQ(QV_RES_FAIL, crc.Update(Bytes("x"), 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.End(&uCrc32));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.Begin(CCrc::eCRC32));
}

TEST(CCrcBlobs, AreTheirBytesAndWithoutStorageANullPointer)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.Update(&blob));
    ASSERT_EQ(QV_RES_OK, blob.ReserveCapacity(40));
    EXPECT_EQ(QV_RES_OK, crc.Update(&blob));
    ASSERT_EQ(QV_RES_OK, blob.Append(Bytes("123456789"), 9));
    EXPECT_EQ(QV_RES_OK, crc.Update(&blob));
    EXPECT_EQ(0xCBF43926u, EndOf(crc, CCrc::eCRC32));
}

TEST(CCrcRegister, OfSixteenBitsIsAllOnesUntilTheFirstByte)
{
    CCrc crc;
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC16));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("1"), 0));
    EXPECT_EQ(0xFFFFFFFFu, LoadAt<uint32_t>(&crc, 12));
    ASSERT_EQ(QV_RES_OK, crc.Update(Bytes("123456789"), 9));
    EXPECT_EQ(0x906Eu ^ 0xFFFFu, LoadAt<uint32_t>(&crc, 12));
}
}  // namespace
