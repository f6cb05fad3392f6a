#include "framework/crypto/sha256.h"

#include <gtest/gtest.h>

#include "tests/support/bytes.h"
#include "tests/support/digest_oracle.h"
#include "tests/support/object_bytes.h"
#include "tests/support/sha_model.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"
#include "tests/support/zero_pages.h"

namespace
{
using sha_model::SSha256;

// Offsets in CSha256BremoFw, behind the pointer to its virtual table.
constexpr std::size_t g_uCOMPUTED_AT = 8;
constexpr std::size_t g_uCORRUPTED_AT = 9;
constexpr std::size_t g_uBLOCK_INDEX_AT = 10;
constexpr std::size_t g_uBLOCK_AT = 11;
constexpr std::size_t g_uLENGTH_HIGH_AT = 76;
constexpr std::size_t g_uLENGTH_LOW_AT = 80;
constexpr std::size_t g_uSTATE_AT = 84;
constexpr std::size_t g_uEND = 116;

// The implementation class with its fields in reach.
class CProbe : public CSha256BremoFw
{
public:
    std::vector<uint32_t> State() const
    {
        std::vector<uint32_t> state;
        for (std::size_t u = 0; u < 8; ++u) state.push_back(LoadAt<uint32_t>(this, g_uSTATE_AT + 4 * u));
        return state;
    }
    uint64_t Length() const
    {
        return static_cast<uint64_t>(LoadAt<uint32_t>(this, g_uLENGTH_HIGH_AT)) << 32 |
               LoadAt<uint32_t>(this, g_uLENGTH_LOW_AT);
    }
    void SetLength(uint64_t uBits)
    {
        StoreAt(this, g_uLENGTH_HIGH_AT, static_cast<uint32_t>(uBits >> 32));
        StoreAt(this, g_uLENGTH_LOW_AT, static_cast<uint32_t>(uBits));
    }
    unsigned int Computed() const { return LoadAt<uint8_t>(this, g_uCOMPUTED_AT); }
    unsigned int Corrupted() const { return LoadAt<uint8_t>(this, g_uCORRUPTED_AT); }
    unsigned int BlockIndex() const { return LoadAt<uint8_t>(this, g_uBLOCK_INDEX_AT); }
    Bytes Fields() const { return BytesAt(this, g_uCOMPUTED_AT, g_uEND - g_uCOMPUTED_AT); }
    Bytes Block(unsigned int uSize) const { return BytesAt(this, g_uBLOCK_AT, uSize); }
};

Bytes End(CSha256BremoFw& rSha256)
{
    Bytes digest(32);
    EXPECT_EQ(QV_RES_OK, rSha256.End(digest.data()));
    return digest;
}

class CSha256Misuse : public testing::Test
{
protected:
    CSha256Misuse()
    {
        EXPECT_EQ(QV_RES_OK, m_sha256.Begin());
        EXPECT_EQ(QV_RES_OK, m_sha256.Update(m_message.data(), 100));
    }

    void ExpectPoisoned()
    {
        Bytes digest(32, 0xEE);
        EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.Update(m_message.data(), 1));
        EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.End(digest.data()));
        EXPECT_EQ(Bytes(32, 0xEE), digest) << "nothing is written";
        EXPECT_EQ(1u, m_sha256.Corrupted());
    }

    const Bytes m_message = Bytes(100, 'x');
    const Bytes m_want = EvpDigest(EVP_sha256(), m_message);
    CProbe m_sha256;
};
}  // namespace

TEST(SSha256Model, AgreesWithLibcrypto)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uStep = 0; uStep < 50; ++uStep)
    {
        const Bytes message = RandomBytes(rng, 0, 300);
        ASSERT_EQ(EvpDigest(EVP_sha256(), message), sha_model::Digest<SSha256>(message, 8 * message.size()));
    }
}

TEST(CSha256State, BeginLoadsTheInitialValuesAndClearsIndexLengthAndFlags)
{
    CProbe sha256;
    StoreAt<uint8_t>(&sha256, g_uCOMPUTED_AT, 1);
    StoreAt<uint8_t>(&sha256, g_uCORRUPTED_AT, 1);
    StoreAt<uint8_t>(&sha256, g_uBLOCK_INDEX_AT, 9);
    sha256.SetLength(~uint64_t{0});
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    EXPECT_EQ(SSha256::Start(), sha256.State());
    EXPECT_EQ(0u, sha256.Computed());
    EXPECT_EQ(0u, sha256.Corrupted());
    EXPECT_EQ(0u, sha256.BlockIndex());
    EXPECT_EQ(0u, sha256.Length());
}

TEST(CSha256State, HoldsFlagsIndexUnfinishedBlockLengthAndWords)
{
    std::mt19937 rng(TestSeed());
    const Bytes message = RandomBytes(rng, 200, 200);
    for (unsigned int uSize = 0; uSize <= 200; ++uSize)
    {
        SCOPED_TRACE(testing::Message() << uSize << " bytes");
        CProbe sha256;
        ASSERT_EQ(QV_RES_OK, sha256.Begin());
        ASSERT_EQ(QV_RES_OK, sha256.Update(message.data(), uSize));
        const unsigned int uIndex = uSize % 64;
        EXPECT_EQ(0u, sha256.Computed());
        EXPECT_EQ(0u, sha256.Corrupted());
        EXPECT_EQ(uIndex, sha256.BlockIndex());
        EXPECT_EQ(BytesAt(message.data(), uSize - uIndex, uIndex), sha256.Block(uIndex));
        EXPECT_EQ(8u * uSize, sha256.Length());
        EXPECT_EQ(sha_model::StateAfter<SSha256>({message.begin(), message.begin() + uSize}), sha256.State());
    }
}

TEST(CSha256State, EndClearsBlockAndLengthAndSetsTheComputedFlag)
{
    for (const unsigned int uSize : {0u, 3u, 55u, 56u, 64u, 100u})
    {
        SCOPED_TRACE(testing::Message() << uSize << " bytes");
        const Bytes message(uSize + 1, 'x');
        CProbe sha256;
        ASSERT_EQ(QV_RES_OK, sha256.Begin());
        ASSERT_EQ(QV_RES_OK, sha256.Update(message.data(), uSize));
        const Bytes digest = End(sha256);
        EXPECT_EQ(Bytes(64, 0), sha256.Block(64));
        EXPECT_EQ(0u, sha256.Length());
        EXPECT_EQ(1u, sha256.Computed());
        EXPECT_EQ(0u, sha256.Corrupted());
        EXPECT_EQ(digest, sha_model::BigEndian(sha256.State()));
    }
}

TEST(CSha256Length, CarriesFromTheLowWordIntoTheHighWord)
{
    const Bytes message(130, 'x');
    CProbe sha256;
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    sha256.SetLength(0x6FFFFFE00);
    ASSERT_EQ(QV_RES_OK, sha256.Update(message.data(), 130));
    EXPECT_EQ(0x700000210u, sha256.Length());
    EXPECT_EQ(sha_model::Digest<SSha256>(message, 0x700000210), End(sha256));
}

TEST(CSha256Length, OneUpdateOfHalfAGibibyteCountsAllItsBits)
{
    const CZeroPages pages((1u << 29) + 1);
    CProbe sha256;
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    ASSERT_EQ(QV_RES_OK, sha256.Update(pages.Get(), (1u << 29) + 1));
    EXPECT_EQ((uint64_t{1} << 32) + 8, sha256.Length());
    EXPECT_EQ(0u, sha256.Corrupted());
}

TEST(CSha256Length, TheLongestMessageEndsWithItsLength)
{
    const Bytes message(99, 'x');
    CProbe sha256;
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    sha256.SetLength(0 - uint64_t{8} * 100);
    ASSERT_EQ(QV_RES_OK, sha256.Update(message.data(), 99));
    EXPECT_EQ(0u, sha256.Corrupted());
    EXPECT_EQ(sha_model::Digest<SSha256>(message, 0 - uint64_t{8}), End(sha256));
}

namespace
{
// Which byte of the message wraps the length, and how many bytes are there before that message.
struct SWrapCase
{
    unsigned int uBefore;
    unsigned int uWrappingByte;  // counted from 1, behind those before
};

class CSha256Wrap : public testing::TestWithParam<SWrapCase>
{
protected:
    CSha256Wrap()
    {
        EXPECT_EQ(QV_RES_OK, m_sha256.Begin());
        EXPECT_EQ(QV_RES_OK, m_sha256.Update(m_message.data(), GetParam().uBefore));
        m_sha256.SetLength(0 - uint64_t{8} * GetParam().uWrappingByte);
    }

    // Corrupted by the byte that wraps: it is stored and counted, but its block is not processed and nothing behind it
    // is taken.
    void ExpectCorruptedAtTheByte()
    {
        const unsigned int uTaken = GetParam().uBefore + GetParam().uWrappingByte;
        const unsigned int uProcessed = (uTaken - 1) / 64 * 64;
        EXPECT_EQ(1u, m_sha256.Corrupted());
        EXPECT_EQ(0u, m_sha256.Computed());
        EXPECT_EQ(0u, m_sha256.Length());
        EXPECT_EQ(uTaken - uProcessed, m_sha256.BlockIndex());
        EXPECT_EQ(BytesAt(m_message.data(), uProcessed, uTaken - uProcessed), m_sha256.Block(uTaken - uProcessed));
        EXPECT_EQ(sha_model::StateAfter<SSha256>({m_message.begin(), m_message.begin() + uProcessed}),
                  m_sha256.State());

        Bytes digest(32, 0xEE);
        const Bytes before = m_sha256.Fields();
        EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.Update(m_message.data(), 1));
        EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.End(digest.data()));
        EXPECT_EQ(Bytes(32, 0xEE), digest);
        EXPECT_EQ(before, m_sha256.Fields());
    }

    const uint8_t* First() const { return m_message.data() + GetParam().uBefore; }

    std::mt19937 m_rng{TestSeed()};
    const Bytes m_message = RandomBytes(m_rng, 1000, 1000);
    CProbe m_sha256;
};
}  // namespace

TEST_P(CSha256Wrap, OneByteLessIsFine)
{
    ASSERT_EQ(QV_RES_OK, m_sha256.Update(First(), GetParam().uWrappingByte - 1));
    EXPECT_EQ(0u, m_sha256.Corrupted());
    EXPECT_EQ(0 - uint64_t{8}, m_sha256.Length());
    ASSERT_EQ(QV_RES_OK, m_sha256.Update(First() + GetParam().uWrappingByte - 1, 1)) << "the one that wraps";
    ExpectCorruptedAtTheByte();
}

TEST_P(CSha256Wrap, TheUpdateThatEndsWithTheWrapSucceeds)
{
    EXPECT_EQ(QV_RES_OK, m_sha256.Update(First(), GetParam().uWrappingByte));
    ExpectCorruptedAtTheByte();
}

TEST_P(CSha256Wrap, TheUpdateThatGoesOnStopsAtTheWrap)
{
    for (const unsigned int uMore : {1u, 63u, 64u, 65u, 300u})
    {
        CProbe fresh = m_sha256;
        EXPECT_EQ(QV_RES_OK, m_sha256.Update(First(), GetParam().uWrappingByte + uMore));
        ExpectCorruptedAtTheByte();
        m_sha256 = fresh;
    }
}

TEST_P(CSha256Wrap, BeginHeals)
{
    ASSERT_EQ(QV_RES_OK, m_sha256.Update(First(), GetParam().uWrappingByte));
    ASSERT_EQ(QV_RES_OK, m_sha256.Begin());
    ASSERT_EQ(QV_RES_OK, m_sha256.Update(m_message.data(), 1000));
    EXPECT_EQ(EvpDigest(EVP_sha256(), m_message), End(m_sha256));
}

INSTANTIATE_TEST_SUITE_P(Bytes, CSha256Wrap,
                         testing::Values(SWrapCase{0, 1}, SWrapCase{0, 2}, SWrapCase{0, 63}, SWrapCase{0, 64},
                                         SWrapCase{0, 65}, SWrapCase{0, 127}, SWrapCase{0, 128}, SWrapCase{0, 129},
                                         SWrapCase{0, 320}, SWrapCase{63, 1}, SWrapCase{63, 2}, SWrapCase{10, 53},
                                         SWrapCase{10, 54}, SWrapCase{10, 55}, SWrapCase{10, 118}, SWrapCase{64, 64},
                                         SWrapCase{100, 400}),
                         [](const auto& rInfo) {
                             return std::to_string(rInfo.param.uBefore) + "Then" +
                                    std::to_string(rInfo.param.uWrappingByte);
                         });

TEST_F(CSha256Misuse, ASecondEndWritesTheSameDigestAgain)
{
    EXPECT_EQ(m_want, End(m_sha256));
    EXPECT_EQ(m_want, End(m_sha256));
    CTestAllocator allocator;
    CBlob blob(&allocator);
    EXPECT_EQ(QV_RES_OK, m_sha256.End(&blob));
    EXPECT_EQ(m_want, Bytes(blob.begin(), blob.end()));
}

TEST_F(CSha256Misuse, UpdateAfterEndIsRefusedAndPoisonsUntilBegin)
{
    EXPECT_EQ(m_want, End(m_sha256));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.Update(m_message.data(), 1));
    ExpectPoisoned();
    ExpectPoisoned();
    ASSERT_EQ(QV_RES_OK, m_sha256.Begin());
    ASSERT_EQ(QV_RES_OK, m_sha256.Update(m_message.data(), 100));
    EXPECT_EQ(m_want, End(m_sha256));
}

TEST_F(CSha256Misuse, UpdateWithABlobAfterEndIsRefusedAndPoisons)
{
    CTestAllocator allocator;
    const CBlob blob(m_message.data(), 1, 0, &allocator);
    EXPECT_EQ(m_want, End(m_sha256));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.Update(&blob));
    ExpectPoisoned();
}

TEST_F(CSha256Misuse, ThePublicClassIsPoisonedAlike)
{
    CSha256 sha256;
    uint8_t auDigest[32];
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    ASSERT_EQ(QV_RES_OK, sha256.End(auDigest));
    EXPECT_EQ(QV_RES_INVALID_STATE, sha256.Update(m_message.data(), 1));
    EXPECT_EQ(QV_RES_INVALID_STATE, sha256.End(auDigest));
    EXPECT_EQ(QV_RES_OK, sha256.Begin());
    EXPECT_EQ(QV_RES_OK, sha256.End(auDigest));
}

TEST_F(CSha256Misuse, ZeroBytesAfterEndAreAcceptedAndPoisonNothing)
{
    EXPECT_EQ(m_want, End(m_sha256));
    EXPECT_EQ(QV_RES_OK, m_sha256.Update(m_message.data(), 0));
    EXPECT_EQ(0u, m_sha256.Corrupted());
    EXPECT_EQ(m_want, End(m_sha256));
}

TEST_F(CSha256Misuse, ZeroBytesAreAcceptedByAPoisonedObject)
{
    End(m_sha256);
    EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.Update(m_message.data(), 1));
    EXPECT_EQ(QV_RES_OK, m_sha256.Update(m_message.data(), 0));
    ExpectPoisoned();
}

TEST_F(CSha256Misuse, NullIsRefusedBeforeTheStateAndPoisonsNothing)
{
    EXPECT_EQ(m_want, End(m_sha256));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_sha256.Update(static_cast<const uint8_t*>(nullptr), 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_sha256.Update(static_cast<const uint8_t*>(nullptr), 0));
    EXPECT_EQ(QV_RES_FAIL, m_sha256.Update(static_cast<const CBlob*>(nullptr)));
    EXPECT_EQ(m_want, End(m_sha256));

    EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.Update(m_message.data(), 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_sha256.Update(static_cast<const uint8_t*>(nullptr), 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_sha256.End(static_cast<uint8_t*>(nullptr)));
    EXPECT_EQ(QV_RES_FAIL, m_sha256.Update(static_cast<const CBlob*>(nullptr)));
    EXPECT_EQ(QV_RES_FAIL, m_sha256.End(static_cast<CBlob*>(nullptr)));
    ExpectPoisoned();
}

TEST_F(CSha256Misuse, ADigestBlobIsResizedAlsoWhenThereIsNoDigest)
{
    CTestAllocator allocator;
    CBlob blob(m_message.data(), 100, 0, &allocator);
    End(m_sha256);
    EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.Update(m_message.data(), 1));
    EXPECT_EQ(QV_RES_INVALID_STATE, m_sha256.End(&blob));
    EXPECT_EQ(Bytes(32, 'x'), Bytes(blob.begin(), blob.end()));
}

TEST_F(CSha256Misuse, ACorruptedFlagAloneRefusesUpdateAndEnd)
{
    StoreAt<uint8_t>(&m_sha256, g_uCORRUPTED_AT, 1);
    const Bytes before = m_sha256.Fields();
    ExpectPoisoned();
    EXPECT_EQ(before, m_sha256.Fields());
}
