// The SHA classes on the block functions that any processor runs. Oracle: libcrypto.
#include <gtest/gtest.h>

#include "framework/crypto/internal/cpu_features.h"
#include "framework/crypto/sha1.h"
#include "framework/crypto/sha256.h"
#include "tests/support/bytes.h"
#include "tests/support/digest_oracle.h"
#include "tests/support/test_seed.h"

namespace
{
template <typename Hash>
Bytes DigestOf(const Bytes& rMessage, std::size_t uCut)
{
    Hash hash;
    Bytes digest(hash.GetSizeInBytes());
    EXPECT_EQ(QV_RES_OK, hash.Begin());
    EXPECT_EQ(QV_RES_OK, hash.Update(DataOf(rMessage), static_cast<unsigned int>(uCut)));
    EXPECT_EQ(QV_RES_OK, hash.Update(DataOf(rMessage) + uCut, static_cast<unsigned int>(rMessage.size() - uCut)));
    EXPECT_EQ(QV_RES_OK, hash.End(digest.data()));
    return digest;
}

// Takes the features away for the test, so that the portable path runs.
class CPortableDigests : public testing::Test
{
protected:
    CPortableDigests()
    {
        orvel_internal::RestrictCpuFeatures(0);
        EXPECT_FALSE(orvel_internal::HasCpuFeature(orvel_internal::eCPU_SHA));
    }
    ~CPortableDigests() override { orvel_internal::RestrictCpuFeatures(~0u); }

    std::mt19937 m_rng{TestSeed()};
};
}  // namespace

TEST_F(CPortableDigests, AgreeWithLibcryptoOverLengthsAndCuts)
{
    for (unsigned int uSize = 0; uSize <= 300; ++uSize)
    {
        const Bytes message = RandomBytes(m_rng, uSize, uSize);
        const std::size_t uCut = Below(m_rng, uSize + 1);
        ASSERT_EQ(EvpDigest(EVP_sha1(), message), DigestOf<CSha1>(message, uCut)) << uSize << " cut at " << uCut;
        ASSERT_EQ(EvpDigest(EVP_sha256(), message), DigestOf<CSha256>(message, uCut)) << uSize << " cut at " << uCut;
    }
}

TEST_F(CPortableDigests, GoOnWithAMessageThatTheOtherPathBegan)
{
    const Bytes message = RandomBytes(m_rng, 500, 500);
    CSha1 sha1;
    CSha256 sha256;
    sha1.Begin();
    sha256.Begin();
    for (unsigned int u = 0; u < 500; u += 100)
    {
        orvel_internal::RestrictCpuFeatures(u / 100 % 2 == 0 ? ~0u : 0u);
        sha1.Update(message.data() + u, 100);
        sha256.Update(message.data() + u, 100);
    }
    Bytes sha1Digest(20);
    Bytes sha256Digest(32);
    ASSERT_EQ(QV_RES_OK, sha1.End(sha1Digest.data()));
    ASSERT_EQ(QV_RES_OK, sha256.End(sha256Digest.data()));
    EXPECT_EQ(EvpDigest(EVP_sha1(), message), sha1Digest);
    EXPECT_EQ(EvpDigest(EVP_sha256(), message), sha256Digest);
}
