// Oracles: the cases of RFC 2202, and libcrypto. What the HMAC shares with the digests is tested with them.
#include "framework/crypto/hmac.h"

#include <gtest/gtest.h>

#include <string>

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

// A digest that writes down how it is driven. Its digests are three bytes counted up from 0xD0, and every call fails.
class CRecordingHash : public CHash
{
public:
    QvResult Begin() override { return Record("Begin"); }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        std::string strCall = "Update";
        for (unsigned int u = 0; u < uSize; ++u) strCall += ' ' + std::to_string(puData[u]);
        return Record(strCall);
    }
    QvResult End(uint8_t* puDigest) override
    {
        for (unsigned int u = 0; u < 3; ++u) puDigest[u] = static_cast<uint8_t>(0xD0 + u);
        return Record("End");
    }
    QvResult Update(const CBlob*) override { return Record("UpdateBlob"); }
    QvResult End(CBlob*) override { return Record("EndBlob"); }
    unsigned int GetAlgorithm() override { return 9; }
    unsigned int GetSizeInBits() override { return 24; }
    unsigned int GetSizeInBytes() override { return 3; }

    std::string m_strCalls;

private:
    QvResult Record(const std::string& rstrCall)
    {
        m_strCalls += rstrCall + ", ";
        return QV_RES_FAIL;
    }
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

// With blocks of four bytes.
TEST(CHMacGeneric, PreparesBothPadsAndStartsTheInnerDigestWhateverThatReturns)
{
    const Bytes keys[] = {{}, {0x00, 0xFF}, {1, 2, 3, 4}, {1, 2, 3, 4, 5}};
    const char* const apszCalls[] = {"Begin, Update 54 54 54 54, ", "Begin, Update 54 201 54 54, ",
                                     "Begin, Update 55 52 53 50, ",
                                     "Begin, Update 1 2 3 4 5, End, Begin, Update 230 231 228 54, "};
    for (unsigned int uCase = 0; uCase < 4; ++uCase)
    {
        const Bytes& rKey = keys[uCase];
        SCOPED_TRACE(testing::Message() << "a key of " << rKey.size() << " bytes");
        CRecordingHash hash;
        CHMacBremoFw mac;
        Bytes inner(5, 0xEE);
        Bytes outer(5, 0xEE);
        EXPECT_EQ(QV_RES_OK, mac.HMacReset(DataOf(rKey), SizeOf(rKey), &hash, 4, inner.data(), outer.data()));
        Bytes padded = rKey.size() <= 4 ? rKey : Bytes{0xD0, 0xD1, 0xD2};
        padded.resize(4);
        for (unsigned int u = 0; u < 4; ++u)
        {
            EXPECT_EQ(padded[u] ^ 0x36, inner[u]);
            EXPECT_EQ(padded[u] ^ 0x5C, outer[u]);
        }
        EXPECT_EQ(0xEE, inner[4] & outer[4]);
        EXPECT_EQ(apszCalls[uCase], hash.m_strCalls);
    }
}

TEST(CHMacGeneric, ClosesTheInnerDigestAndComputesTheOuterOneWhateverTheyReturn)
{
    CRecordingHash hash;
    CHMacBremoFw mac;
    const uint8_t auOuter[] = {11, 12, 13, 14};
    Bytes inner(4, 0xEE);
    Bytes digest(4, 0xEE);
    EXPECT_EQ(QV_RES_OK, mac.HMacResult(&hash, 4, inner.data(), auOuter, digest.data()));
    EXPECT_EQ((Bytes{0xD0, 0xD1, 0xD2, 0xEE}), inner);
    EXPECT_EQ((Bytes{0xD0, 0xD1, 0xD2, 0xEE}), digest);
    EXPECT_EQ("End, Begin, Update 11 12 13 14, Update 208 209 210, End, ", hash.m_strCalls);
}
