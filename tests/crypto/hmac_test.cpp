// Oracles: the cases of RFC 2202, and libcrypto. What the HMAC shares with the digests is tested with them.
#include "framework/crypto/hmac.h"

#include <gtest/gtest.h>

#include "framework/crypto/md5.h"
#include "framework/crypto/sha256.h"
#include "tests/support/bytes.h"
#include "tests/support/digest_oracle.h"
#include "tests/support/test_seed.h"
#include "tests/support/vector_file.h"

namespace
{
Bytes CodeOf(const Bytes& rKey, const Bytes& rMessage)
{
    CSha1Mac mac;
    Bytes code(20);
    EXPECT_EQ(QV_RES_OK, mac.Begin(DataOf(rKey), SizeOf(rKey)));
    EXPECT_EQ(QV_RES_OK, mac.Update(DataOf(rMessage), SizeOf(rMessage)));
    EXPECT_EQ(QV_RES_OK, mac.End(code.data()));
    return code;
}

// The same by the construction over any digest.
template <typename Hash>
Bytes GenericCodeOf(const Bytes& rKey, const Bytes& rMessage)
{
    Hash hash;
    CHMacBremoFw mac;
    uint8_t auInner[64], auOuter[64];
    Bytes code(hash.GetSizeInBytes());
    EXPECT_EQ(QV_RES_OK, mac.HMacReset(DataOf(rKey), SizeOf(rKey), &hash, 64, auInner, auOuter));
    EXPECT_EQ(QV_RES_OK, hash.Update(DataOf(rMessage), SizeOf(rMessage)));
    EXPECT_EQ(QV_RES_OK, mac.HMacResult(&hash, 64, auInner, auOuter, code.data()));
    return code;
}

// A digest that works and reports failures.
class CFailingSha1 : public CSha1
{
public:
    QvResult Begin() override { return FailBehind(CSha1::Begin()); }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        return FailBehind(CSha1::Update(puData, uSize));
    }
    QvResult End(uint8_t* puDigest) override { return FailBehind(CSha1::End(puDigest)); }

private:
    static QvResult FailBehind(QvResult) { return QV_RES_FAIL; }
};
}  // namespace

TEST(CSha1MacCodes, AreThePublishedOnes)
{
    const std::vector<SVectorRecord> records = ReadVectors("hmac_sha1.vec");
    EXPECT_EQ(7u, records.size());
    for (const SVectorRecord& rRecord : records)
    {
        EXPECT_EQ(rRecord.Bytes("code"), CodeOf(rRecord.Bytes("key"), rRecord.Bytes("message")))
            << rRecord.Text("name");
    }
}

TEST(CSha1MacCodes, UnderKeysOfEverySizeAreTheStandards)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uKeySize = 0; uKeySize <= 200; ++uKeySize)
    {
        SCOPED_TRACE(testing::Message() << "a key of " << uKeySize << " bytes");
        const Bytes key = RandomBytes(rng, uKeySize, uKeySize);
        const Bytes message = RandomBytes(rng, 0, 300);
        EXPECT_EQ(EvpHmac(EVP_sha1(), key, message), CodeOf(key, message));
        EXPECT_EQ(EvpHmac(EVP_sha1(), key, message), GenericCodeOf<CSha1>(key, message));
        EXPECT_EQ(EvpHmac(EVP_md5(), key, message), GenericCodeOf<CMd5>(key, message));
        EXPECT_EQ(EvpHmac(EVP_sha256(), key, message), GenericCodeOf<CSha256>(key, message));
    }
}

TEST(CSha1MacCodes, OneBlobMayBeKeyMessageAndCodeButNotWithoutStorage)
{
    const Bytes key = {1, 2, 3, 4, 5};
    CBlob blob;
    CSha1Mac mac;
    EXPECT_EQ(QV_RES_FAIL, mac.Begin(&blob));
    ASSERT_EQ(QV_RES_OK, blob.ReserveCapacity(20));
    ASSERT_EQ(QV_RES_OK, mac.Begin(&blob)) << "a key of no bytes";
    ASSERT_EQ(QV_RES_OK, mac.End(&blob));
    EXPECT_EQ(EvpHmac(EVP_sha1(), {}, {}), BytesOf(blob));

    blob = CBlob(key.data(), SizeOf(key));
    ASSERT_EQ(QV_RES_OK, mac.Begin(&blob));
    ASSERT_EQ(QV_RES_OK, mac.Update(&blob));
    ASSERT_EQ(QV_RES_OK, mac.End(&blob));
    EXPECT_EQ(EvpHmac(EVP_sha1(), key, key), BytesOf(blob));
}

// Which calls it makes is asserted in tests/abi.
TEST(CHMacGeneric, DoesNotCareWhatTheDigestReturns)
{
    const Bytes message = {'a', 'b', 'c'};
    for (const unsigned int uKeySize : {3u, 64u, 65u})
    {
        CFailingSha1 hash;
        CHMacBremoFw mac;
        const Bytes key(uKeySize, 'k');
        uint8_t auInner[64], auOuter[64];
        Bytes code(20);
        EXPECT_EQ(QV_RES_OK, mac.HMacReset(key.data(), uKeySize, &hash, 64, auInner, auOuter));
        EXPECT_EQ(QV_RES_FAIL, hash.Update(message.data(), 3));
        EXPECT_EQ(QV_RES_OK, mac.HMacResult(&hash, 64, auInner, auOuter, code.data()));
        EXPECT_EQ(EvpHmac(EVP_sha1(), key, message), code);
    }
}
