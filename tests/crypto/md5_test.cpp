#include "framework/crypto/md5.h"

#include <gtest/gtest.h>

#include "tests/support/digest_oracle.h"
#include "tests/support/object_bytes.h"
#include "tests/support/test_seed.h"
#include "tests/support/zero_pages.h"

namespace
{
// Offsets in CMd5BremoFw, behind the pointer to its virtual table.
constexpr std::size_t g_uSTATE_AT = 8;
constexpr std::size_t g_uBIT_COUNT_LOW_AT = 24;
constexpr std::size_t g_uBIT_COUNT_HIGH_AT = 28;
constexpr std::size_t g_uBUFFER_AT = 32;
constexpr std::size_t g_uEND = 96;

uint64_t BitCount(const CMd5BremoFw& rMd5)
{
    return static_cast<uint64_t>(LoadAt<uint32_t>(&rMd5, g_uBIT_COUNT_HIGH_AT)) << 32 |
           LoadAt<uint32_t>(&rMd5, g_uBIT_COUNT_LOW_AT);
}
}  // namespace

TEST(CMd5State, BeginLoadsTheInitialValuesAndZeroesTheBitCount)
{
    const uint32_t auInitial[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};  // RFC 1321, section 3.3
    CMd5BremoFw md5;
    StoreAt<uint64_t>(&md5, g_uBIT_COUNT_LOW_AT, ~uint64_t{0});
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    EXPECT_EQ(BytesAt(auInitial, 0, 16), BytesAt(&md5, g_uSTATE_AT, 16));
    EXPECT_EQ(0u, BitCount(md5));
}

TEST(CMd5State, CountsBitsAndKeepsTheUnfinishedBlock)
{
    std::mt19937 rng(TestSeed());
    const std::vector<unsigned char> message = RandomBytes(rng, 150, 150);
    CMd5BremoFw md5;
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    for (unsigned int uSize = 1; uSize <= 150; ++uSize)
    {
        ASSERT_EQ(QV_RES_OK, md5.Update(message.data() + uSize - 1, 1));
        ASSERT_EQ(8u * uSize, BitCount(md5));
        const unsigned int uInBlock = uSize % 64;
        ASSERT_EQ(BytesAt(message.data(), uSize - uInBlock, uInBlock), BytesAt(&md5, g_uBUFFER_AT, uInBlock));
    }
}

TEST(CMd5State, FullBlocksGoThroughTheTransformAtOnce)
{
    CMd5BremoFw md5;
    const std::vector<unsigned char> message(64, 'x');
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    ASSERT_EQ(QV_RES_OK, md5.Update(message.data(), 63));
    const std::vector<unsigned char> before = BytesAt(&md5, g_uSTATE_AT, 16);
    ASSERT_EQ(QV_RES_OK, md5.Update(message.data(), 1));
    EXPECT_NE(before, BytesAt(&md5, g_uSTATE_AT, 16));
}

TEST(CMd5State, TheBitCountCarriesIntoItsHighWord)
{
    const std::vector<unsigned char> message(65, 'x');
    CMd5BremoFw md5;
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    StoreAt<uint32_t>(&md5, g_uBIT_COUNT_LOW_AT, 0xFFFFFE00);
    StoreAt<uint32_t>(&md5, g_uBIT_COUNT_HIGH_AT, 6);
    ASSERT_EQ(QV_RES_OK, md5.Update(message.data(), 65));
    EXPECT_EQ(0x700000008u, BitCount(md5));
}

TEST(CMd5State, TheBitCountWrapsAfter64Bits)
{
    const std::vector<unsigned char> message(64, 'x');
    CMd5BremoFw md5;
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    StoreAt<uint64_t>(&md5, g_uBIT_COUNT_LOW_AT, ~uint64_t{0} - 511);
    ASSERT_EQ(QV_RES_OK, md5.Update(message.data(), 64));
    EXPECT_EQ(0u, BitCount(md5));
}

TEST(CMd5State, OneUpdateOfHalfAGibibyteCountsAllItsBits)
{
    const CZeroPages pages((1u << 29) + 1);
    CMd5BremoFw md5;
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    ASSERT_EQ(QV_RES_OK, md5.Update(pages.Get(), (1u << 29) + 1));
    EXPECT_EQ((uint64_t{1} << 32) + 8, BitCount(md5));
}

TEST(CMd5State, EndZeroesTheWholeState)
{
    for (const unsigned int uSize : {0u, 3u, 55u, 56u, 64u, 100u})
    {
        CMd5 md5;
        uint8_t auDigest[16];
        const std::vector<unsigned char> message(uSize + 1, 'x');
        ASSERT_EQ(QV_RES_OK, md5.Begin());
        ASSERT_EQ(QV_RES_OK, md5.Update(message.data(), uSize));
        ASSERT_EQ(QV_RES_OK, md5.End(auDigest));
        EXPECT_EQ(std::vector<unsigned char>(g_uEND - g_uSTATE_AT, 0),
                  BytesAt(static_cast<CMd5BremoFw*>(&md5), g_uSTATE_AT, g_uEND - g_uSTATE_AT))
            << uSize << " bytes";
    }
}

TEST(CMd5State, WithoutBeginTheNextDigestIsWrongButNoError)
{
    const std::vector<unsigned char> message(100, 'x');
    CMd5 md5;
    std::vector<unsigned char> digest(16);
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    ASSERT_EQ(QV_RES_OK, md5.End(digest.data()));
    EXPECT_EQ(QV_RES_OK, md5.Update(message.data(), 100));
    EXPECT_EQ(QV_RES_OK, md5.End(digest.data()));
    EXPECT_NE(EvpDigest(EVP_md5(), message), digest);
}
