// The digests, and the HMAC in what it shares with them. Oracles: the published vectors, libcrypto, and FIPS 180-4
// written out. Random orders of all calls are the matter of fuzz/digest_fuzz.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "framework/crypto/hmac.h"
#include "framework/crypto/md5.h"
#include "framework/crypto/sha256.h"
#include "tests/support/bytes.h"
#include "tests/support/digest_oracle.h"
#include "tests/support/object_bytes.h"
#include "tests/support/sha_model.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"
#include "tests/support/vector_file.h"
#include "tests/support/zero_pages.h"

namespace
{
const Bytes g_key = {'k', 'e', 'y'};

// An HMAC under a fixed key behind the interface of the digests, so that all are driven alike.
class CMacAsHash : public CHash
{
public:
    QvResult Begin() override { return m_mac.Begin(g_key.data(), SizeOf(g_key)); }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override { return m_mac.Update(puData, uSize); }
    QvResult End(uint8_t* puDigest) override { return m_mac.End(puDigest); }
    QvResult Update(const CBlob* pblobData) override { return m_mac.Update(pblobData); }
    QvResult End(CBlob* pblobDigest) override { return m_mac.End(pblobDigest); }
    unsigned int GetAlgorithm() override { return m_mac.GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return m_mac.GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return m_mac.GetSizeInBytes(); }

private:
    CSha1Mac m_mac;
};

template <typename Hash>
std::unique_ptr<CHash> Make()
{
    return std::make_unique<Hash>();
}

struct SDigest
{
    const char* pszName;
    std::unique_ptr<CHash> (*pfnMake)();
    Bytes (*pfnWant)(const Bytes& rMessage);
    QvResult resNull;  // what a null pointer to bytes gives
};

const SDigest g_astDIGESTS[] = {
    {"md5", Make<CMd5>, [](const Bytes& rMessage) { return EvpDigest(EVP_md5(), rMessage); }, QV_RES_INVALID_ARGUMENT},
    {"sha1", Make<CSha1>, [](const Bytes& rMessage) { return EvpDigest(EVP_sha1(), rMessage); },
     QV_RES_INVALID_ARGUMENT},
    {"sha256", Make<CSha256>, [](const Bytes& rMessage) { return EvpDigest(EVP_sha256(), rMessage); },
     QV_RES_INVALID_ARGUMENT},
    {"hmac", Make<CMacAsHash>, [](const Bytes& rMessage) { return EvpHmac(EVP_sha1(), g_key, rMessage); }, QV_RES_FAIL},
};

void PrintTo(const SDigest& rstDigest, std::ostream* pStream)
{
    *pStream << rstDigest.pszName;
}

class CDigest : public testing::TestWithParam<SDigest>
{
protected:
    static Bytes Want(const Bytes& rMessage) { return GetParam().pfnWant(rMessage); }

    void BeginWith(const Bytes& rMessage) const
    {
        EXPECT_EQ(QV_RES_OK, m_pHash->Begin());
        EXPECT_EQ(QV_RES_OK, m_pHash->Update(DataOf(rMessage), SizeOf(rMessage)));
    }

    Bytes End() const
    {
        Bytes digest(m_pHash->GetSizeInBytes());
        EXPECT_EQ(QV_RES_OK, m_pHash->End(digest.data()));
        return digest;
    }

    std::mt19937 m_rng{TestSeed()};
    const Bytes m_message = RandomBytes(m_rng, 100, 100);
    const std::unique_ptr<CHash> m_pHash = GetParam().pfnMake();
    CTestAllocator m_allocator;
};

INSTANTIATE_TEST_SUITE_P(All, CDigest, testing::ValuesIn(g_astDIGESTS),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });
}  // namespace

TEST_P(CDigest, AnyTwoPiecesOfAMessageGiveTheDigestOfTheWhole)
{
    for (unsigned int uSize = 0; uSize <= 200; ++uSize)
    {
        const Bytes message = RandomBytes(m_rng, uSize, uSize);
        const Bytes want = Want(message);
        for (unsigned int uCut = 0; uCut <= uSize; ++uCut)
        {
            ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
            ASSERT_EQ(QV_RES_OK, m_pHash->Update(DataOf(message), uCut));
            // One past the end is a valid pointer for a size of 0.
            ASSERT_EQ(QV_RES_OK, m_pHash->Update(DataOf(message) + uCut, uSize - uCut));
            ASSERT_EQ(want, End()) << uSize << " bytes, cut at " << uCut;
        }
    }
}

TEST_P(CDigest, WritesNoByteBesideTheDigest)
{
    Bytes want(16, 0xEE);
    const Bytes digest = Want({});
    want.insert(want.end(), digest.begin(), digest.end());
    want.resize(want.size() + 16, 0xEE);
    Bytes room(want.size(), 0xEE);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    ASSERT_EQ(QV_RES_OK, m_pHash->End(room.data() + 16));
    EXPECT_EQ(want, room);
}

TEST_P(CDigest, AnEmptyBlobIsAcceptedWithStorageAndANullPointerWithout)
{
    CBlob blob(&m_allocator);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    EXPECT_EQ(GetParam().resNull, m_pHash->Update(&blob));
    ASSERT_EQ(QV_RES_OK, blob.ReserveCapacity(16));
    EXPECT_EQ(QV_RES_OK, m_pHash->Update(&blob));
    EXPECT_EQ(Want({}), End());
}

TEST_P(CDigest, ADigestBlobEndsUpExactlyAsLongAsTheDigest)
{
    for (const unsigned int uBefore : {0u, 1u, 15u, 16u, 19u, 20u, 21u, 31u, 32u, 33u, 100u})
    {
        SCOPED_TRACE(testing::Message() << uBefore << " bytes in the blob");
        CBlob blob(m_message.data(), uBefore, 0, &m_allocator);
        BeginWith(m_message);
        EXPECT_EQ(QV_RES_OK, m_pHash->End(&blob));
        EXPECT_EQ(Want(m_message), BytesOf(blob));
        EXPECT_EQ(std::max(uBefore, m_pHash->GetSizeInBytes()), blob.GetCapacity());
    }
}

TEST_P(CDigest, ADigestBlobWithoutMemoryIsNotWrittenAndTheMessageNotLost)
{
    const unsigned int uDigest = m_pHash->GetSizeInBytes();
    const std::pair<unsigned int, QvResult> aCases[] = {
        {0, GetParam().resNull}, {uDigest - 1, QV_RES_OUT_OF_MEMORY}, {uDigest, QV_RES_OK}};
    for (const auto& [uRoom, res] : aCases)
    {
        SCOPED_TRACE(testing::Message() << "room for " << uRoom << " bytes");
        CBlob blob(m_message.data(), uRoom, 0, &m_allocator);
        const Bytes before = BytesOf(blob);
        BeginWith(m_message);
        m_allocator.SetRefusing(true);
        EXPECT_EQ(res, m_pHash->End(&blob));
        EXPECT_EQ(res == QV_RES_OK ? Want(m_message) : before, BytesOf(blob));
        EXPECT_EQ(uRoom, blob.GetCapacity());
        m_allocator.SetRefusing(false);
        if (res == QV_RES_OK) continue;
        EXPECT_EQ(QV_RES_OK, m_pHash->End(&blob));
        EXPECT_EQ(Want(m_message), BytesOf(blob));
    }
}

TEST_P(CDigest, TheMessageMayLieInTheBlobThatGetsTheDigest)
{
    CBlob blob(m_message.data(), SizeOf(m_message), 0, &m_allocator);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    ASSERT_EQ(QV_RES_OK, m_pHash->Update(&blob));
    ASSERT_EQ(QV_RES_OK, m_pHash->End(&blob));
    EXPECT_EQ(Want(m_message), BytesOf(blob));
}

TEST_P(CDigest, AMessageWithoutBeginIsRefusedOrGetsAWrongDigest)
{
    BeginWith(m_message);
    EXPECT_EQ(Want(m_message), End());
    const QvResult res = GetParam().pszName == std::string("sha256") ? QV_RES_INVALID_STATE : QV_RES_OK;
    Bytes digest(m_pHash->GetSizeInBytes());
    EXPECT_EQ(res, m_pHash->Update(m_message.data(), SizeOf(m_message)));
    EXPECT_EQ(res, m_pHash->End(digest.data()));
    EXPECT_NE(Want(m_message), digest);
}

TEST(CDigestVectors, AreComputed)
{
    unsigned int uVectors = 0;
    for (const SVectorRecord& rRecord : ReadVectors("digests.vec"))
    {
        for (const SDigest& rstDigest : g_astDIGESTS)
        {
            if (rRecord.Text("algorithm") != rstDigest.pszName) continue;
            ++uVectors;
            const std::unique_ptr<CHash> pHash = rstDigest.pfnMake();
            const Bytes message = rRecord.Bytes("message");
            Bytes digest(pHash->GetSizeInBytes());
            EXPECT_EQ(QV_RES_OK, pHash->Begin());
            EXPECT_EQ(QV_RES_OK, pHash->Update(DataOf(message), SizeOf(message)));
            EXPECT_EQ(QV_RES_OK, pHash->End(digest.data()));
            EXPECT_EQ(rRecord.Bytes("digest"), digest) << rstDigest.pszName << ' ' << rRecord.Text("name");
        }
    }
    EXPECT_GE(uVectors, 12u);
}

// The state between the calls: fields by their offsets in the class of the implementation.
namespace
{
struct SMd5State
{
    using Hash = CMd5;
    using Implementation = CMd5BremoFw;
    static constexpr std::size_t uWORDS_AT = 8;
    static constexpr std::size_t uBLOCK_AT = 32;

    static uint64_t Bits(const Implementation& rHash) { return LoadAt<uint64_t>(&rHash, 24); }
    static void SetBits(Implementation& rHash, uint64_t uBits) { StoreAt(&rHash, 24, uBits); }
    static unsigned int Index(const Implementation& rHash) { return Bits(rHash) / 8 % 64; }
};

struct SSha1State
{
    using Hash = CSha1;
    using Implementation = CSha1BremoFw;
    using Model = sha_model::SSha1;
    static constexpr std::size_t uWORDS_AT = 8;
    static constexpr std::size_t uBLOCK_AT = 28;

    // Counted in bytes.
    static uint64_t Bits(const Implementation& rHash) { return LoadAt<uint64_t>(&rHash, 96) * 8; }
    static void SetBits(Implementation& rHash, uint64_t uBits) { StoreAt(&rHash, 96, uBits / 8); }
    static unsigned int Index(const Implementation& rHash) { return LoadAt<uint8_t>(&rHash, 92); }
};

struct SSha256State
{
    using Hash = CSha256;
    using Implementation = CSha256BremoFw;
    using Model = sha_model::SSha256;
    static constexpr std::size_t uCOMPUTED_AT = 8;
    static constexpr std::size_t uCORRUPTED_AT = 9;
    static constexpr std::size_t uWORDS_AT = 84;
    static constexpr std::size_t uBLOCK_AT = 11;
    static constexpr std::size_t uEND = 116;

    static uint64_t Bits(const Implementation& rHash)
    {
        return uint64_t{LoadAt<uint32_t>(&rHash, 76)} << 32 | LoadAt<uint32_t>(&rHash, 80);
    }
    static void SetBits(Implementation& rHash, uint64_t uBits)
    {
        StoreAt(&rHash, 76, static_cast<uint32_t>(uBits >> 32));
        StoreAt(&rHash, 80, static_cast<uint32_t>(uBits));
    }
    static unsigned int Index(const Implementation& rHash) { return LoadAt<uint8_t>(&rHash, 10); }
    static bool IsComputed(const Implementation& rHash) { return LoadAt<bool>(&rHash, uCOMPUTED_AT); }
    static bool IsCorrupted(const Implementation& rHash) { return LoadAt<bool>(&rHash, uCORRUPTED_AT); }
};

template <typename State>
std::vector<uint32_t> WordsOf(const typename State::Implementation& rHash)
{
    std::vector<uint32_t> words(State::Model::uWORDS);
    for (std::size_t u = 0; u < words.size(); ++u) words[u] = LoadAt<uint32_t>(&rHash, State::uWORDS_AT + 4 * u);
    return words;
}

Bytes EndOf(CHash& rHash)
{
    Bytes digest(rHash.GetSizeInBytes());
    EXPECT_EQ(QV_RES_OK, rHash.End(digest.data()));
    return digest;
}

template <typename State>
class CDigestState : public testing::Test
{
protected:
    using Implementation = typename State::Implementation;

    std::mt19937 m_rng{TestSeed()};
    const Bytes m_message = RandomBytes(m_rng, 200, 200);
    typename State::Hash m_hash;
    Implementation& m_rState = m_hash;
};
using DigestStates = testing::Types<SMd5State, SSha1State, SSha256State>;
TYPED_TEST_SUITE(CDigestState, DigestStates);
}  // namespace

TYPED_TEST(CDigestState, HoldsTheCountAndTheUnfinishedBlock)
{
    ASSERT_EQ(QV_RES_OK, this->m_hash.Begin());
    for (unsigned int uSize = 0; uSize < 200; ++uSize)
    {
        const unsigned int uIndex = uSize % 64;
        ASSERT_EQ(8u * uSize, TypeParam::Bits(this->m_rState));
        ASSERT_EQ(uIndex, TypeParam::Index(this->m_rState));
        ASSERT_EQ(BytesAt(this->m_message.data(), uSize - uIndex, uIndex),
                  BytesAt(&this->m_rState, TypeParam::uBLOCK_AT, uIndex));
        if constexpr (!std::is_same_v<TypeParam, SMd5State>)
        {
            // Full blocks are processed at once.
            const Bytes begun(this->m_message.begin(), this->m_message.begin() + uSize);
            ASSERT_EQ(sha_model::StateAfter<typename TypeParam::Model>(begun), WordsOf<TypeParam>(this->m_rState));
        }
        ASSERT_EQ(QV_RES_OK, this->m_hash.Update(this->m_message.data() + uSize, 1));
    }
}

TYPED_TEST(CDigestState, TheCountCarriesIntoItsHighWord)
{
    ASSERT_EQ(QV_RES_OK, this->m_hash.Begin());
    TypeParam::SetBits(this->m_rState, 0x6FFFFFE00);
    ASSERT_EQ(QV_RES_OK, this->m_hash.Update(this->m_message.data(), 130));
    EXPECT_EQ(0x700000210u, TypeParam::Bits(this->m_rState));
}

TYPED_TEST(CDigestState, OneUpdateOfHalfAGibibyteCountsAllItsBits)
{
    const CZeroPages pages((1u << 29) + 1);
    ASSERT_EQ(QV_RES_OK, this->m_hash.Begin());
    ASSERT_EQ(QV_RES_OK, this->m_hash.Update(pages.Get(), (1u << 29) + 1));
    EXPECT_EQ((uint64_t{1} << 32) + 8, TypeParam::Bits(this->m_rState));
}

TYPED_TEST(CDigestState, BeginSetsBackAllOfIt)
{
    const typename TypeParam::Hash fresh;
    ASSERT_EQ(QV_RES_OK, this->m_hash.Begin());
    ASSERT_EQ(QV_RES_OK, this->m_hash.Update(this->m_message.data(), 100));
    EndOf(this->m_hash);
    ASSERT_EQ(QV_RES_OK, this->m_hash.Begin());
    EXPECT_EQ(0u, TypeParam::Bits(this->m_rState));
    EXPECT_EQ(0u, TypeParam::Index(this->m_rState));
    const typename TypeParam::Implementation& rFresh = fresh;
    EXPECT_EQ(BytesAt(&rFresh, TypeParam::uWORDS_AT, 16), BytesAt(&this->m_rState, TypeParam::uWORDS_AT, 16));
}

TEST(CMd5State, EndZeroesTheWholeState)
{
    CMd5 md5;
    const Bytes message(100, 'x');
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    ASSERT_EQ(QV_RES_OK, md5.Update(message.data(), 100));
    EndOf(md5);
    EXPECT_EQ(Bytes(88, 0), BytesAt(static_cast<CMd5BremoFw*>(&md5), 8, 88));
}

TEST(CMd5State, TheCountWrapsAfter64Bits)
{
    CMd5BremoFw md5;
    const Bytes message(64, 'x');
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    SMd5State::SetBits(md5, ~uint64_t{0} - 511);
    ASSERT_EQ(QV_RES_OK, md5.Update(message.data(), 64));
    EXPECT_EQ(0u, SMd5State::Bits(md5));
}

TEST(CSha1Length, TheLengthFieldIsFormedFromTheLow32BitsOfTheByteCount)
{
    struct SCase
    {
        const char* pszName;
        uint64_t uBytesBefore;  // a multiple of 64: the blocks count as processed
        unsigned int uBytesMore;
        uint64_t uLengthField;
    };
    const SCase astCases[] = {{"the last of the 32-bit lengths", 0x1FFFFFC0, 63, 0xFFFFFFF8},
                              {"the first of the 33-bit lengths", 0x1FFFFFC0, 64, 0x100000000},
                              {"the high word in use", 0xA1234540, 1, 0x5091A2A08},
                              {"the last that is the standard's", 0xFFFFFFC0, 63, 0x7FFFFFFF8},
                              {"4 GiB", 0xFFFFFFC0, 64, 0},
                              {"4 GiB and a byte", 0xFFFFFFC0, 65, 8},
                              {"far beyond", 0x1234567890000040, 100, 0x480000520}};
    std::mt19937 rng(TestSeed());
    for (const SCase& rstCase : astCases)
    {
        const Bytes message = RandomBytes(rng, rstCase.uBytesMore, rstCase.uBytesMore);
        CSha1 sha1;
        ASSERT_EQ(QV_RES_OK, sha1.Begin());
        StoreAt(static_cast<CSha1BremoFw*>(&sha1), 96, rstCase.uBytesBefore);
        ASSERT_EQ(QV_RES_OK, sha1.Update(message.data(), rstCase.uBytesMore));
        EXPECT_EQ(sha_model::Digest<sha_model::SSha1>(message, rstCase.uLengthField), EndOf(sha1)) << rstCase.pszName;
    }
}

TEST(CShaState, EndLeavesThePaddedStateAndSha256ClearsTheRest)
{
    for (const unsigned int uSize : {0u, 3u, 55u, 56u, 64u, 100u})
    {
        SCOPED_TRACE(testing::Message() << uSize << " bytes");
        const Bytes message(uSize + 1, 'x');
        CSha1 sha1;
        CSha256 sha256;
        for (CHash* const pHash : {static_cast<CHash*>(&sha1), static_cast<CHash*>(&sha256)})
        {
            ASSERT_EQ(QV_RES_OK, pHash->Begin());
            ASSERT_EQ(QV_RES_OK, pHash->Update(message.data(), uSize));
        }
        const Bytes digest1 = EndOf(sha1);
        EXPECT_EQ(digest1, sha_model::BigEndian(WordsOf<SSha1State>(sha1)));
        const Bytes padding = sha_model::Padding(uSize, 8 * uSize);
        EXPECT_EQ(Bytes(padding.end() - 8, padding.end()),
                  BytesAt(static_cast<CSha1BremoFw*>(&sha1), SSha1State::uBLOCK_AT + 56, 8));
        EXPECT_EQ(0u, SSha1State::Index(sha1)) << "the last block is processed";
        EXPECT_EQ(8 * uSize, SSha1State::Bits(sha1));

        const Bytes digest256 = EndOf(sha256);
        EXPECT_EQ(digest256, sha_model::BigEndian(WordsOf<SSha256State>(sha256)));
        EXPECT_EQ(Bytes(64, 0), BytesAt(static_cast<CSha256BremoFw*>(&sha256), SSha256State::uBLOCK_AT, 64));
        EXPECT_EQ(0u, SSha256State::Bits(sha256));
        EXPECT_TRUE(SSha256State::IsComputed(sha256));
        EXPECT_FALSE(SSha256State::IsCorrupted(sha256));
    }
}

namespace
{
// An object whose length wraps with one byte of its message: that many of its bytes are in before, and the one that
// wraps is counted from 1 behind them.
class CSha256Wrap : public testing::TestWithParam<std::pair<unsigned int, unsigned int>>
{
protected:
    CSha256Wrap()
    {
        EXPECT_EQ(QV_RES_OK, m_sha256.Begin());
        EXPECT_EQ(QV_RES_OK, m_sha256.Update(m_message.data(), m_uBefore));
        SSha256State::SetBits(m_sha256, 0 - uint64_t{8} * m_uWrapping);
    }

    // Corrupted by the byte that wraps: it is stored and counted, but its block is not processed, and nothing behind it
    // is taken.
    static void ExpectCorruptedAtTheByte(CSha256& rSha256, const Bytes& rMessage, unsigned int uTaken)
    {
        const unsigned int uProcessed = (uTaken - 1) / 64 * 64;
        const unsigned int uKept = uTaken - uProcessed;
        const CSha256BremoFw& rState = rSha256;
        EXPECT_TRUE(SSha256State::IsCorrupted(rState));
        EXPECT_FALSE(SSha256State::IsComputed(rState));
        EXPECT_EQ(0u, SSha256State::Bits(rState));
        EXPECT_EQ(uKept, SSha256State::Index(rState));
        EXPECT_EQ(BytesAt(rMessage.data(), uProcessed, uKept), BytesAt(&rState, SSha256State::uBLOCK_AT, uKept));
        EXPECT_EQ(sha_model::StateAfter<sha_model::SSha256>({rMessage.begin(), rMessage.begin() + uProcessed}),
                  WordsOf<SSha256State>(rState));

        Bytes digest(32, 0xEE);
        const Bytes before = BytesAt(&rState, 8, SSha256State::uEND - 8);
        EXPECT_EQ(QV_RES_INVALID_STATE, rSha256.Update(rMessage.data(), 1));
        EXPECT_EQ(QV_RES_INVALID_STATE, rSha256.End(digest.data()));
        EXPECT_EQ(Bytes(32, 0xEE), digest);
        EXPECT_EQ(before, BytesAt(&rState, 8, SSha256State::uEND - 8));
    }

    const unsigned int m_uBefore = GetParam().first;
    const unsigned int m_uWrapping = GetParam().second;
    std::mt19937 m_rng{TestSeed()};
    const Bytes m_message = RandomBytes(m_rng, 1000, 1000);
    const uint8_t* const m_puFirst = m_message.data() + m_uBefore;
    CSha256 m_sha256;
};
}  // namespace

TEST_P(CSha256Wrap, OneByteLessIsFine)
{
    ASSERT_EQ(QV_RES_OK, m_sha256.Update(m_puFirst, m_uWrapping - 1));
    EXPECT_FALSE(SSha256State::IsCorrupted(m_sha256));
    EXPECT_EQ(0 - uint64_t{8}, SSha256State::Bits(m_sha256));
    ASSERT_EQ(QV_RES_OK, m_sha256.Update(m_puFirst + m_uWrapping - 1, 1)) << "the one that wraps";
    ExpectCorruptedAtTheByte(m_sha256, m_message, m_uBefore + m_uWrapping);
}

TEST_P(CSha256Wrap, TheUpdateThatGetsThereSucceedsAndStopsUntilBegin)
{
    for (const unsigned int uMore : {0u, 1u, 63u, 64u, 65u, 300u})
    {
        SCOPED_TRACE(testing::Message() << uMore << " bytes behind");
        CSha256 sha256(m_sha256);
        EXPECT_EQ(QV_RES_OK, sha256.Update(m_puFirst, m_uWrapping + uMore));
        ExpectCorruptedAtTheByte(sha256, m_message, m_uBefore + m_uWrapping);
        ASSERT_EQ(QV_RES_OK, sha256.Begin());
        ASSERT_EQ(QV_RES_OK, sha256.Update(m_message.data(), 1000));
        EXPECT_EQ(EvpDigest(EVP_sha256(), m_message), EndOf(sha256));
    }
}

INSTANTIATE_TEST_SUITE_P(Bytes, CSha256Wrap,
                         testing::ValuesIn(std::vector<std::pair<unsigned int, unsigned int>>{{0, 1},
                                                                                              {0, 63},
                                                                                              {0, 64},
                                                                                              {0, 65},
                                                                                              {0, 128},
                                                                                              {0, 129},
                                                                                              {0, 320},
                                                                                              {63, 1},
                                                                                              {63, 2},
                                                                                              {10, 53},
                                                                                              {10, 54},
                                                                                              {10, 55},
                                                                                              {10, 118},
                                                                                              {64, 64},
                                                                                              {100, 400}}),
                         [](const auto& rInfo)
                         { return std::to_string(rInfo.param.first) + "Then" + std::to_string(rInfo.param.second); });

TEST(CSha256Length, TheLongestMessageEndsWithItsLength)
{
    const Bytes message(99, 'x');
    CSha256 sha256;
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    SSha256State::SetBits(sha256, 0 - uint64_t{8} * 100);
    ASSERT_EQ(QV_RES_OK, sha256.Update(message.data(), 99));
    EXPECT_EQ(sha_model::Digest<sha_model::SSha256>(message, 0 - uint64_t{8}), EndOf(sha256));
}

TEST(CSha256Misuse, AfterEndOnlyBeginGoesOn)
{
    const Bytes message(100, 'x');
    const Bytes want = EvpDigest(EVP_sha256(), message);
    CSha256 sha256;
    const auto ExpectNullsRefused = [&sha256]
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, sha256.Update(static_cast<const uint8_t*>(nullptr), 1));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, sha256.Update(static_cast<const uint8_t*>(nullptr), 0));
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, sha256.End(static_cast<uint8_t*>(nullptr)));
        EXPECT_EQ(QV_RES_FAIL, sha256.Update(static_cast<const CBlob*>(nullptr)));
        EXPECT_EQ(QV_RES_FAIL, sha256.End(static_cast<CBlob*>(nullptr)));
        EXPECT_EQ(QV_RES_OK, sha256.Update(DataOf({}), 0)) << "nothing is no misuse";
    };
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    ASSERT_EQ(QV_RES_OK, sha256.Update(message.data(), 100));
    EXPECT_EQ(want, EndOf(sha256));
    ExpectNullsRefused();
    EXPECT_FALSE(SSha256State::IsCorrupted(sha256));
    EXPECT_EQ(want, EndOf(sha256)) << "the same digest again";

    CBlob blob(message.data(), 100);
    EXPECT_EQ(QV_RES_INVALID_STATE, sha256.Update(&blob));
    EXPECT_TRUE(SSha256State::IsCorrupted(sha256));
    ExpectNullsRefused();
    Bytes digest(32, 0xEE);
    EXPECT_EQ(QV_RES_INVALID_STATE, sha256.Update(message.data(), 1));
    EXPECT_EQ(QV_RES_INVALID_STATE, sha256.End(digest.data()));
    EXPECT_EQ(Bytes(32, 0xEE), digest);
    EXPECT_EQ(QV_RES_INVALID_STATE, sha256.End(&blob));
    EXPECT_EQ(Bytes(32, 'x'), BytesOf(blob)) << "resized, not written";
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    EXPECT_FALSE(SSha256State::IsCorrupted(sha256));
    ASSERT_EQ(QV_RES_OK, sha256.Update(message.data(), 100));
    EXPECT_EQ(want, EndOf(sha256));
}

TEST(CSha1MacDestructor, LeavesNothingOfKeyAndMessageInTheObject)
{
    alignas(CSha1Mac) unsigned char auObject[sizeof(CSha1Mac)] = {};
    const Bytes key(20, 0x9C);
    const Bytes message(20, 0xE4);
    CSha1Mac* const pMac = ::new (auObject) CSha1Mac;
    ASSERT_EQ(QV_RES_OK, pMac->Begin(key.data(), 20));
    ASSERT_EQ(QV_RES_OK, pMac->Update(message.data(), 20));
    Bytes pad(64, 0x36);
    std::fill_n(pad.begin(), key.size(), static_cast<unsigned char>(0x9C ^ 0x36));
    std::vector<uint32_t> words = sha_model::SSha1::Start();
    sha_model::SSha1::Block(words, pad.data());
    pMac->~CSha1Mac();
    const std::vector<Bytes> secrets = {message, Bytes(20, 0x9C ^ 0x36), Bytes(20, 0x9C ^ 0x5C),
                                        BytesAt(words.data(), 0, 20)};
    for (const Bytes& rSecret : secrets)
    {
        const auto itSome = rSecret.begin() + 8;
        EXPECT_EQ(std::end(auObject), std::search(auObject, std::end(auObject), rSecret.begin(), itSome))
            << +rSecret[0];
    }
}
