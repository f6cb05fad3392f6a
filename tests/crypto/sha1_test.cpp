#include "framework/crypto/sha1.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/digest_oracle.h"
#include "tests/support/object_bytes.h"
#include "tests/support/sha_model.h"
#include "tests/support/test_seed.h"

namespace
{
using sha_model::SSha1;

// Offsets in CSha1BremoFw, behind the pointer to its virtual table.
constexpr std::size_t g_uSTATE_AT = 8;
constexpr std::size_t g_uBLOCK_AT = 28;
constexpr std::size_t g_uBLOCK_INDEX_AT = 92;
constexpr std::size_t g_uBYTE_COUNT_AT = 96;

std::vector<uint32_t> StateOf(const CSha1BremoFw& rSha1)
{
    std::vector<uint32_t> state;
    for (std::size_t u = 0; u < 5; ++u) state.push_back(LoadAt<uint32_t>(&rSha1, g_uSTATE_AT + 4 * u));
    return state;
}
}  // namespace

TEST(SSha1Model, AgreesWithLibcrypto)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uStep = 0; uStep < 50; ++uStep)
    {
        const std::vector<unsigned char> message = RandomBytes(rng, 0, 300);
        ASSERT_EQ(EvpDigest(EVP_sha1(), message), sha_model::Digest<SSha1>(message, 8 * message.size()));
    }
}

TEST(CSha1State, BeginLoadsTheInitialValuesAndZeroesIndexAndCount)
{
    CSha1BremoFw sha1;
    StoreAt<uint8_t>(&sha1, g_uBLOCK_INDEX_AT, 9);
    StoreAt<uint64_t>(&sha1, g_uBYTE_COUNT_AT, ~uint64_t{0});
    ASSERT_EQ(QV_RES_OK, sha1.Begin());
    EXPECT_EQ(SSha1::Start(), StateOf(sha1));
    EXPECT_EQ(0u, LoadAt<uint8_t>(&sha1, g_uBLOCK_INDEX_AT));
    EXPECT_EQ(0u, LoadAt<uint64_t>(&sha1, g_uBYTE_COUNT_AT));
}

TEST(CSha1State, HoldsWordsUnfinishedBlockIndexAndByteCount)
{
    std::mt19937 rng(TestSeed());
    const std::vector<unsigned char> message = RandomBytes(rng, 200, 200);
    for (unsigned int uSize = 0; uSize <= 200; ++uSize)
    {
        SCOPED_TRACE(testing::Message() << uSize << " bytes");
        CSha1BremoFw sha1;
        ASSERT_EQ(QV_RES_OK, sha1.Begin());
        ASSERT_EQ(QV_RES_OK, sha1.Update(message.data(), uSize));
        const unsigned int uIndex = uSize % 64;
        EXPECT_EQ(sha_model::StateAfter<SSha1>({message.begin(), message.begin() + uSize}), StateOf(sha1));
        EXPECT_EQ(uIndex, LoadAt<uint8_t>(&sha1, g_uBLOCK_INDEX_AT));
        EXPECT_EQ(BytesAt(message.data(), uSize - uIndex, uIndex), BytesAt(&sha1, g_uBLOCK_AT, uIndex));
        EXPECT_EQ(uSize, LoadAt<uint64_t>(&sha1, g_uBYTE_COUNT_AT));
    }
}

TEST(CSha1State, TheByteCountIsOf64Bits)
{
    const std::vector<unsigned char> message(100, 'x');
    CSha1BremoFw sha1;
    ASSERT_EQ(QV_RES_OK, sha1.Begin());
    StoreAt<uint64_t>(&sha1, g_uBYTE_COUNT_AT, 0xFFFFFFC0);
    ASSERT_EQ(QV_RES_OK, sha1.Update(message.data(), 100));
    EXPECT_EQ(0x100000024u, LoadAt<uint64_t>(&sha1, g_uBYTE_COUNT_AT));
}

namespace
{
struct SLengthCase
{
    const char* pszName;
    uint64_t uBytesBefore;  // a multiple of 64: the blocks are thought processed
    unsigned int uBytesMore;
    uint64_t uLengthField;
};

void PrintTo(const SLengthCase& rstCase, std::ostream* pStream)
{
    *pStream << rstCase.pszName;
}

class CSha1Length : public testing::TestWithParam<SLengthCase>
{
};
}  // namespace

TEST_P(CSha1Length, TheLengthFieldIsFormedFromTheLow32BitsOfTheByteCount)
{
    std::mt19937 rng(TestSeed());
    const std::vector<unsigned char> message = RandomBytes(rng, GetParam().uBytesMore, GetParam().uBytesMore);
    CSha1 sha1;
    std::vector<unsigned char> digest(20);
    ASSERT_EQ(QV_RES_OK, sha1.Begin());
    StoreAt<uint64_t>(static_cast<CSha1BremoFw*>(&sha1), g_uBYTE_COUNT_AT, GetParam().uBytesBefore);
    ASSERT_EQ(QV_RES_OK, sha1.Update(message.data(), GetParam().uBytesMore));
    ASSERT_EQ(QV_RES_OK, sha1.End(digest.data()));
    EXPECT_EQ(sha_model::Digest<SSha1>(message, GetParam().uLengthField), digest);
}

INSTANTIATE_TEST_SUITE_P(Counts, CSha1Length,
                         testing::Values(SLengthCase{"LastOf32BitLengths", 0x1FFFFFC0, 63, 0xFFFFFFF8},
                                         SLengthCase{"FirstOf33BitLengths", 0x1FFFFFC0, 64, 0x100000000},
                                         SLengthCase{"HighWordInUse", 0xA1234540, 1, 0x5091A2A08},
                                         SLengthCase{"LastThatIsTheStandards", 0xFFFFFFC0, 63, 0x7FFFFFFF8},
                                         SLengthCase{"FourGibibytes", 0xFFFFFFC0, 64, 0},
                                         SLengthCase{"OneByteMore", 0xFFFFFFC0, 65, 8},
                                         SLengthCase{"FarBeyond", 0x1234567890000040, 100, 0x480000520}),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CSha1State, FromFourGibibytesOnTheDigestIsNotTheStandards)
{
    const std::vector<unsigned char> message(64, 'x');
    CSha1 sha1;
    std::vector<unsigned char> digest(20);
    ASSERT_EQ(QV_RES_OK, sha1.Begin());
    StoreAt<uint64_t>(static_cast<CSha1BremoFw*>(&sha1), g_uBYTE_COUNT_AT, 0xFFFFFFC0);
    ASSERT_EQ(QV_RES_OK, sha1.Update(message.data(), 64));
    ASSERT_EQ(QV_RES_OK, sha1.End(digest.data()));
    EXPECT_NE(sha_model::Digest<SSha1>(message, 0x800000000), digest);
}

TEST(CSha1State, EndLeavesThePaddedState)
{
    for (const unsigned int uSize : {0u, 3u, 55u, 56u, 64u, 100u})
    {
        SCOPED_TRACE(testing::Message() << uSize << " bytes");
        CSha1BremoFw sha1;
        std::vector<unsigned char> digest(20);
        const std::vector<unsigned char> message(uSize + 1, 'x');
        ASSERT_EQ(QV_RES_OK, sha1.Begin());
        ASSERT_EQ(QV_RES_OK, sha1.Update(message.data(), uSize));
        ASSERT_EQ(QV_RES_OK, sha1.End(digest.data()));
        EXPECT_EQ(digest, sha_model::BigEndian(StateOf(sha1)));
        const std::vector<unsigned char> padding = sha_model::Padding(uSize, 8 * uSize);
        EXPECT_EQ(std::vector<unsigned char>(padding.end() - 8, padding.end()), BytesAt(&sha1, g_uBLOCK_AT + 56, 8));
        EXPECT_EQ(0u, LoadAt<uint8_t>(&sha1, g_uBLOCK_INDEX_AT)) << "the last block is processed";
        EXPECT_EQ(uSize, LoadAt<uint64_t>(&sha1, g_uBYTE_COUNT_AT));
    }
}

TEST(CSha1State, WithoutBeginTheNextDigestIsWrongButNoError)
{
    const std::vector<unsigned char> message(100, 'x');
    CSha1 sha1;
    std::vector<unsigned char> digest(20);
    ASSERT_EQ(QV_RES_OK, sha1.Begin());
    ASSERT_EQ(QV_RES_OK, sha1.End(digest.data()));
    EXPECT_EQ(QV_RES_OK, sha1.Update(message.data(), 100));
    EXPECT_EQ(QV_RES_OK, sha1.End(digest.data()));
    EXPECT_NE(EvpDigest(EVP_sha1(), message), digest);
}
