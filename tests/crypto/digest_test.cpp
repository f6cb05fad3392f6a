// What the three digests have in common. Oracles: the published vectors, and libcrypto. Random orders of all calls are
// the matter of fuzz/digest_fuzz.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "framework/crypto/md5.h"
#include "framework/crypto/sha1.h"
#include "framework/crypto/sha256.h"
#include "tests/support/bytes.h"
#include "tests/support/digest_oracle.h"
#include "tests/support/object_bytes.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"
#include "tests/support/vector_file.h"

namespace
{
// Puts an implementation class behind the interface, so that both are driven alike.
template <typename Implementation>
class CAsHash : public CHash
{
public:
    QvResult Begin() override { return m_implementation.Begin(); }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        return m_implementation.Update(puData, uSize);
    }
    QvResult End(uint8_t* puDigest) override { return m_implementation.End(puDigest); }
    QvResult Update(const CBlob* pblobData) override { return m_implementation.Update(pblobData); }
    QvResult End(CBlob* pblobDigest) override { return m_implementation.End(pblobDigest); }
    unsigned int GetAlgorithm() override { return m_implementation.GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return m_implementation.GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return m_implementation.GetSizeInBytes(); }

private:
    Implementation m_implementation;
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
    const EVP_MD* (*pfnOracle)();
    const char* pszVectors;
    unsigned int uSize;
};

template <typename Hash>
constexpr SDigest Row(const char* pszName, const EVP_MD* (*pfnOracle)(), const char* pszVectors, unsigned int uSize)
{
    return {pszName, Make<Hash>, pfnOracle, pszVectors, uSize};
}

void PrintTo(const SDigest& rstDigest, std::ostream* pStream)
{
    *pStream << rstDigest.pszName;
}

class CDigest : public testing::TestWithParam<SDigest>
{
protected:
    Bytes Want(const Bytes& rMessage) const { return EvpDigest(GetParam().pfnOracle(), rMessage); }

    Bytes End(CHash& rHash) const
    {
        Bytes digest(GetParam().uSize);
        EXPECT_EQ(QV_RES_OK, rHash.End(digest.data()));
        return digest;
    }

    Bytes DigestOf(const Bytes& rMessage) const
    {
        EXPECT_EQ(QV_RES_OK, m_pHash->Begin());
        EXPECT_EQ(QV_RES_OK, m_pHash->Update(DataOf(rMessage), SizeOf(rMessage)));
        return End(*m_pHash);
    }

    std::mt19937 m_rng{TestSeed()};
    std::unique_ptr<CHash> m_pHash = GetParam().pfnMake();
};
}  // namespace

INSTANTIATE_TEST_SUITE_P(All, CDigest,
                         testing::Values(Row<CMd5>("Md5", EVP_md5, "md5", 16),
                                         Row<CAsHash<CMd5BremoFw>>("Md5Implementation", EVP_md5, "md5", 16),
                                         Row<CSha1>("Sha1", EVP_sha1, "sha1", 20),
                                         Row<CAsHash<CSha1BremoFw>>("Sha1Implementation", EVP_sha1, "sha1", 20),
                                         Row<CSha256>("Sha256", EVP_sha256, "sha256", 32),
                                         Row<CAsHash<CSha256BremoFw>>("Sha256Implementation", EVP_sha256, "sha256",
                                                                      32)),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST_P(CDigest, ComputesThePublishedVectors)
{
    unsigned int uVectors = 0;
    for (const SVectorRecord& rRecord : ReadVectors("digests.vec"))
    {
        if (rRecord.Text("algorithm") != GetParam().pszVectors) continue;
        ++uVectors;
        EXPECT_EQ(rRecord.Bytes("digest"), DigestOf(rRecord.Bytes("message"))) << rRecord.Text("name");
    }
    EXPECT_GE(uVectors, 4u);
}

TEST_P(CDigest, DigestsEveryLengthAroundTheBlocks)
{
    Bytes message;
    for (unsigned int uSize = 0; uSize <= 200; ++uSize)
    {
        EXPECT_EQ(Want(message), DigestOf(message)) << uSize << " bytes";
        message.push_back(static_cast<unsigned char>(m_rng()));
    }
}

TEST_P(CDigest, AnyTwoPiecesGiveTheDigestOfTheWhole)
{
    for (const unsigned int uSize : {55u, 56u, 63u, 64u, 65u, 127u, 128u, 129u, 200u})
    {
        const Bytes message = RandomBytes(m_rng, uSize, uSize);
        const Bytes want = Want(message);
        for (unsigned int uCut = 0; uCut <= uSize; ++uCut)
        {
            ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
            ASSERT_EQ(QV_RES_OK, m_pHash->Update(message.data(), uCut));
            // One past the end is a valid pointer for a size of 0.
            ASSERT_EQ(QV_RES_OK, m_pHash->Update(message.data() + uCut, uSize - uCut));
            ASSERT_EQ(want, End(*m_pHash)) << uSize << " bytes, cut at " << uCut;
        }
    }
}

TEST_P(CDigest, WritesNoByteBesideTheDigest)
{
    Bytes room(GetParam().uSize + 32, 0xEE);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    ASSERT_EQ(QV_RES_OK, m_pHash->End(room.data() + 16));
    Bytes want(16, 0xEE);
    const Bytes digest = Want({});
    want.insert(want.end(), digest.begin(), digest.end());
    want.resize(room.size(), 0xEE);
    EXPECT_EQ(want, room);
}

TEST_P(CDigest, AnEmptyBlobWithStorageIsAccepted)
{
    CTestAllocator allocator;
    const CBlob blob(16, &allocator);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    EXPECT_EQ(QV_RES_OK, m_pHash->Update(&blob));
    EXPECT_EQ(Want({}), End(*m_pHash));
}

TEST_P(CDigest, ABlobWithoutStorageIsANullPointer)
{
    CTestAllocator allocator;
    const CBlob blob(&allocator);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_pHash->Update(&blob));
    EXPECT_EQ(Want({}), End(*m_pHash));
}

TEST_P(CDigest, ADigestBlobEndsUpExactlyAsLongAsTheDigest)
{
    CTestAllocator allocator;
    const Bytes message = RandomBytes(m_rng, 100, 100);
    for (const unsigned int uBefore : {0u, 1u, 15u, 16u, 19u, 20u, 21u, 31u, 32u, 33u, 100u})
    {
        SCOPED_TRACE(testing::Message() << uBefore << " bytes in the blob");
        const Bytes before = RandomBytes(m_rng, uBefore, uBefore);
        CBlob blob(before.data(), uBefore, 0, &allocator);
        ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
        ASSERT_EQ(QV_RES_OK, m_pHash->Update(message.data(), SizeOf(message)));
        EXPECT_EQ(QV_RES_OK, m_pHash->End(&blob));
        EXPECT_EQ(Want(message), BytesOf(blob));
        EXPECT_EQ(std::max(uBefore, GetParam().uSize), blob.GetCapacity());
    }
}

TEST_P(CDigest, ADigestBlobThatGetsNoRoomIsNotWritten)
{
    CTestAllocator allocator;
    const Bytes message = RandomBytes(m_rng, 100, 100);
    const Bytes before = RandomBytes(m_rng, 10, 10);
    CBlob blob(before.data(), 10, 0, &allocator);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    ASSERT_EQ(QV_RES_OK, m_pHash->Update(message.data(), SizeOf(message)));
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_pHash->End(&blob));
    EXPECT_TRUE(allocator.HasRefused());
    EXPECT_EQ(before, BytesOf(blob));
    EXPECT_EQ(10u, blob.GetCapacity());

    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, m_pHash->End(&blob)) << "the message is not lost";
    EXPECT_EQ(Want(message), BytesOf(blob));
}

TEST_P(CDigest, ADigestBlobThatGetsNoStorageIsANullPointer)
{
    CTestAllocator allocator;
    const Bytes message = RandomBytes(m_rng, 100, 100);
    CBlob blob(&allocator);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    ASSERT_EQ(QV_RES_OK, m_pHash->Update(message.data(), SizeOf(message)));
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, m_pHash->End(&blob));
    EXPECT_TRUE(allocator.HasRefused());
    EXPECT_EQ(0u, blob.GetSize());

    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, m_pHash->End(&blob)) << "the message is not lost";
    EXPECT_EQ(Want(message), BytesOf(blob));
}

TEST_P(CDigest, ADigestBlobWithRoomAsksForNone)
{
    CTestAllocator allocator;
    CBlob blob(GetParam().uSize, &allocator);
    allocator.SetRefusing(true);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    EXPECT_EQ(QV_RES_OK, m_pHash->End(&blob));
    EXPECT_FALSE(allocator.HasRefused());
    EXPECT_EQ(Want({}), BytesOf(blob));
}

TEST_P(CDigest, TheMessageMayLieInTheBlobThatGetsTheDigest)
{
    CTestAllocator allocator;
    const Bytes message = RandomBytes(m_rng, 100, 100);
    CBlob blob(message.data(), 100, 0, &allocator);
    ASSERT_EQ(QV_RES_OK, m_pHash->Begin());
    ASSERT_EQ(QV_RES_OK, m_pHash->Update(&blob));
    ASSERT_EQ(QV_RES_OK, m_pHash->End(&blob));
    EXPECT_EQ(Want(message), BytesOf(blob));
}
