// Oracles: the cases of RFC 2202, and libcrypto.
#include "framework/crypto/hmac.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "framework/crypto/md5.h"
#include "framework/crypto/sha256.h"
#include "tests/support/bytes.h"
#include "tests/support/derived.h"
#include "tests/support/digest_oracle.h"
#include "tests/support/object_bytes.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"
#include "tests/support/vector_file.h"

namespace
{
Bytes Want(const Bytes& rKey, const Bytes& rMessage)
{
    return EvpHmac(EVP_sha1(), rKey, rMessage);
}

// Puts the implementation class behind the interface, so that both are driven alike.
class CAsMac : public CHMac
{
public:
    QvResult Begin(const uint8_t* puKey, unsigned int uSize) override { return m_mac.Begin(puKey, uSize); }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override { return m_mac.Update(puData, uSize); }
    QvResult End(uint8_t* puDigest) override { return m_mac.End(puDigest); }
    QvResult Begin(const CBlob* pblobKey) override { return m_mac.Begin(pblobKey); }
    QvResult Update(const CBlob* pblobData) override { return m_mac.Update(pblobData); }
    QvResult End(CBlob* pblobDigest) override { return m_mac.End(pblobDigest); }
    unsigned int GetAlgorithm() override { return m_mac.GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return m_mac.GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return m_mac.GetSizeInBytes(); }

private:
    CSha1MacBremoFw m_mac;
};

struct SMac
{
    const char* pszName;
    std::unique_ptr<CHMac> (*pfnMake)();
};

template <typename Mac>
std::unique_ptr<CHMac> Make()
{
    return std::make_unique<Mac>();
}

void PrintTo(const SMac& rstMac, std::ostream* pStream)
{
    *pStream << rstMac.pszName;
}

class CMac : public testing::TestWithParam<SMac>
{
protected:
    Bytes End() const
    {
        Bytes code(20);
        EXPECT_EQ(QV_RES_OK, m_pMac->End(code.data()));
        return code;
    }

    Bytes CodeOf(const Bytes& rKey, const Bytes& rMessage) const
    {
        EXPECT_EQ(QV_RES_OK, m_pMac->Begin(DataOf(rKey), SizeOf(rKey)));
        EXPECT_EQ(QV_RES_OK, m_pMac->Update(DataOf(rMessage), SizeOf(rMessage)));
        return End();
    }

    std::mt19937 m_rng{TestSeed()};
    const Bytes m_key = RandomBytes(m_rng, 30, 30);
    const Bytes m_message = RandomBytes(m_rng, 100, 100);
    std::unique_ptr<CHMac> m_pMac = GetParam().pfnMake();
};
}  // namespace

INSTANTIATE_TEST_SUITE_P(HmacSha1, CMac,
                         testing::Values(SMac{"Public", Make<CSha1Mac>}, SMac{"Implementation", Make<CAsMac>}),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CHMacInterface, DeletesTheWholeObjectThroughEveryBase)
{
    CDerived<CSha1Mac>::ms_uDestroyed = 0;
    CHMac* const pMac = new CDerived<CSha1Mac>;
    delete pMac;
    EXPECT_EQ(1u, CDerived<CSha1Mac>::ms_uDestroyed);

    CHMacBremoFw* const pGeneric = new CDerived<CSha1Mac>;
    delete pGeneric;
    EXPECT_EQ(2u, CDerived<CSha1Mac>::ms_uDestroyed);
}

TEST(CSha1MacState, HoldsTheOuterPadAndThenTheDigest)
{
    Bytes key = {1, 2, 3, 4, 5};
    CSha1MacBremoFw mac;
    ASSERT_EQ(QV_RES_OK, mac.Begin(key.data(), SizeOf(key)));
    const CSha1 sha1;
    EXPECT_EQ(LoadAt<void*>(&sha1, 0), LoadAt<void*>(&mac, 72)) << "a CSha1 lies there";

    const auto OuterPad = [&mac] { return BytesAt(&mac, 8, 64); };
    Bytes want(64, 0x5C);
    for (std::size_t u = 0; u < key.size(); ++u) want[u] = key[u] ^ 0x5C;
    EXPECT_EQ(want, OuterPad());
    uint8_t auCode[20];
    ASSERT_EQ(QV_RES_OK, mac.Update(key.data(), SizeOf(key)));
    EXPECT_EQ(want, OuterPad());
    ASSERT_EQ(QV_RES_OK, mac.End(auCode));
    EXPECT_EQ(want, OuterPad());
}

TEST_P(CMac, ComputesThePublishedVectors)
{
    const std::vector<SVectorRecord> records = ReadVectors("hmac_sha1.vec");
    EXPECT_EQ(7u, records.size());
    for (const SVectorRecord& rRecord : records)
    {
        EXPECT_EQ(rRecord.Bytes("code"), CodeOf(rRecord.Bytes("key"), rRecord.Bytes("message")))
            << rRecord.Text("name");
    }
}

TEST_P(CMac, KeysOfEverySizeGiveTheStandardsCode)
{
    for (unsigned int uKeySize = 0; uKeySize <= 200; ++uKeySize)
    {
        const Bytes key = RandomBytes(m_rng, uKeySize, uKeySize);
        EXPECT_EQ(Want(key, m_message), CodeOf(key, m_message)) << "a key of " << uKeySize << " bytes";
    }
}

TEST_P(CMac, AKeyOfABlockIsUsedAsItIsAndALongerOneHashed)
{
    const Bytes block = RandomBytes(m_rng, 64, 64);
    const Bytes longer = RandomBytes(m_rng, 65, 65);
    EXPECT_NE(CodeOf(EvpDigest(EVP_sha1(), block), m_message), CodeOf(block, m_message));
    EXPECT_EQ(CodeOf(EvpDigest(EVP_sha1(), longer), m_message), CodeOf(longer, m_message));
}

TEST_P(CMac, WritesNoByteBesideTheCode)
{
    Bytes room(52, 0xEE);
    ASSERT_EQ(QV_RES_OK, m_pMac->Begin(m_key.data(), SizeOf(m_key)));
    ASSERT_EQ(QV_RES_OK, m_pMac->End(room.data() + 16));
    Bytes want(16, 0xEE);
    const Bytes code = Want(m_key, {});
    want.insert(want.end(), code.begin(), code.end());
    want.resize(52, 0xEE);
    EXPECT_EQ(want, room);
}

TEST_P(CMac, AZeroLengthKeyIsAKey)
{
    const uint8_t uByte = 0x77;
    ASSERT_EQ(QV_RES_OK, m_pMac->Begin(&uByte, 0));
    ASSERT_EQ(QV_RES_OK, m_pMac->Update(m_message.data(), SizeOf(m_message)));
    EXPECT_EQ(Want({}, m_message), End());
}

TEST_P(CMac, WithoutBeginTheNextCodeIsWrongButNoError)
{
    EXPECT_EQ(Want(m_key, m_message), CodeOf(m_key, m_message));
    EXPECT_EQ(QV_RES_OK, m_pMac->Update(m_message.data(), SizeOf(m_message)));
    EXPECT_NE(Want(m_key, m_message), End());
}

TEST_P(CMac, EmptyBlobsWithStorageAreAccepted)
{
    CTestAllocator allocator;
    const CBlob blob(16, &allocator);
    ASSERT_EQ(QV_RES_OK, m_pMac->Begin(&blob));
    ASSERT_EQ(QV_RES_OK, m_pMac->Update(&blob));
    EXPECT_EQ(Want({}, {}), End());
}

TEST_P(CMac, ABlobWithoutStorageIsANullPointer)
{
    CTestAllocator allocator;
    const CBlob blob(&allocator);
    ASSERT_EQ(QV_RES_OK, m_pMac->Begin(m_key.data(), SizeOf(m_key)));
    EXPECT_EQ(QV_RES_FAIL, m_pMac->Begin(&blob));
    EXPECT_EQ(QV_RES_FAIL, m_pMac->Update(&blob));
    EXPECT_EQ(Want(m_key, {}), End());
}

TEST_P(CMac, ACodeBlobEndsUpExactly20BytesLong)
{
    CTestAllocator allocator;
    for (const unsigned int uBefore : {0u, 1u, 19u, 20u, 21u, 100u})
    {
        SCOPED_TRACE(testing::Message() << uBefore << " bytes in the blob");
        const Bytes before = RandomBytes(m_rng, uBefore, uBefore);
        CBlob blob(before.data(), uBefore, 0, &allocator);
        ASSERT_EQ(QV_RES_OK, m_pMac->Begin(m_key.data(), SizeOf(m_key)));
        EXPECT_EQ(QV_RES_OK, m_pMac->End(&blob));
        EXPECT_EQ(Want(m_key, {}), BytesOf(blob));
        EXPECT_EQ(std::max(uBefore, 20u), blob.GetCapacity());
    }
}

TEST_P(CMac, ACodeBlobThatGetsNoRoomIsNotWritten)
{
    CTestAllocator allocator;
    CBlob blob(m_message.data(), 10, 0, &allocator);
    ASSERT_EQ(QV_RES_OK, m_pMac->Begin(m_key.data(), SizeOf(m_key)));
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, m_pMac->End(&blob));
    EXPECT_TRUE(allocator.HasRefused());
    EXPECT_EQ(Bytes(m_message.begin(), m_message.begin() + 10), BytesOf(blob));

    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, m_pMac->End(&blob)) << "the message is not lost";
    EXPECT_EQ(Want(m_key, {}), BytesOf(blob));
}

TEST_P(CMac, ACodeBlobThatGetsNoStorageIsANullPointer)
{
    CTestAllocator allocator;
    CBlob blob(&allocator);
    ASSERT_EQ(QV_RES_OK, m_pMac->Begin(m_key.data(), SizeOf(m_key)));
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_FAIL, m_pMac->End(&blob));
    EXPECT_TRUE(allocator.HasRefused());
    EXPECT_EQ(0u, blob.GetSize());

    allocator.SetRefusing(false);
    EXPECT_EQ(QV_RES_OK, m_pMac->End(&blob)) << "the message is not lost";
    EXPECT_EQ(Want(m_key, {}), BytesOf(blob));
}

TEST_P(CMac, ACodeBlobWithRoomAsksForNone)
{
    CTestAllocator allocator;
    CBlob blob(20, &allocator);
    allocator.SetRefusing(true);
    ASSERT_EQ(QV_RES_OK, m_pMac->Begin(m_key.data(), SizeOf(m_key)));
    EXPECT_EQ(QV_RES_OK, m_pMac->End(&blob));
    EXPECT_FALSE(allocator.HasRefused());
    EXPECT_EQ(Want(m_key, {}), BytesOf(blob));
}

TEST_P(CMac, OneBlobMayBeKeyMessageAndCode)
{
    CTestAllocator allocator;
    CBlob blob(m_key.data(), SizeOf(m_key), 0, &allocator);
    ASSERT_EQ(QV_RES_OK, m_pMac->Begin(&blob));
    ASSERT_EQ(QV_RES_OK, m_pMac->Update(&blob));
    ASSERT_EQ(QV_RES_OK, m_pMac->End(&blob));
    EXPECT_EQ(Want(m_key, m_key), BytesOf(blob));
}

namespace
{
// A digest that writes down how it is driven. Its digests are bytes counted up from 0xD0, and every call fails.
class CRecordingHash : public CHash
{
public:
    explicit CRecordingHash(unsigned int uSize) : m_uSize(uSize) {}

    QvResult Begin() override { return Record("Begin"); }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        std::string strCall = "Update";
        for (unsigned int u = 0; u < uSize; ++u) strCall += ' ' + std::to_string(puData[u]);
        return Record(strCall);
    }
    QvResult End(uint8_t* puDigest) override
    {
        for (unsigned int u = 0; u < m_uSize; ++u) puDigest[u] = static_cast<uint8_t>(0xD0 + u);
        return Record("End");
    }
    QvResult Update(const CBlob*) override { return Record("UpdateBlob"); }
    QvResult End(CBlob*) override { return Record("EndBlob"); }
    unsigned int GetAlgorithm() override { return 9; }
    unsigned int GetSizeInBits() override { return 8 * m_uSize; }
    unsigned int GetSizeInBytes() override { return m_uSize; }

    std::vector<std::string> m_calls;

private:
    QvResult Record(const std::string& rstrCall)
    {
        m_calls.push_back(rstrCall);
        return QV_RES_FAIL;
    }

    unsigned int m_uSize;
};

using Calls = std::vector<std::string>;
}  // namespace

TEST(CHMacGeneric, PreparesBothPadsFromAShortKeyAndStartsTheInnerDigest)
{
    CRecordingHash hash(3);
    CHMacBremoFw mac;
    const uint8_t auKey[] = {0x00, 0xFF};
    Bytes inner(5, 0xEE);
    Bytes outer(5, 0xEE);
    EXPECT_EQ(QV_RES_OK, mac.HMacReset(auKey, 2, &hash, 4, inner.data(), outer.data()));
    EXPECT_EQ((Bytes{0x36, 0xC9, 0x36, 0x36, 0xEE}), inner);
    EXPECT_EQ((Bytes{0x5C, 0xA3, 0x5C, 0x5C, 0xEE}), outer);
    EXPECT_EQ((Calls{"Begin", "Update 54 201 54 54"}), hash.m_calls);
}

TEST(CHMacGeneric, UsesAKeyOfTheBlockSizeAsItIs)
{
    CRecordingHash hash(3);
    CHMacBremoFw mac;
    const uint8_t auKey[] = {1, 2, 3, 4};
    Bytes inner(5, 0xEE);
    Bytes outer(5, 0xEE);
    EXPECT_EQ(QV_RES_OK, mac.HMacReset(auKey, 4, &hash, 4, inner.data(), outer.data()));
    EXPECT_EQ((Bytes{1 ^ 0x36, 2 ^ 0x36, 3 ^ 0x36, 4 ^ 0x36, 0xEE}), inner);
    EXPECT_EQ((Bytes{1 ^ 0x5C, 2 ^ 0x5C, 3 ^ 0x5C, 4 ^ 0x5C, 0xEE}), outer);
    EXPECT_EQ((Calls{"Begin", "Update 55 52 53 50"}), hash.m_calls);
}

TEST(CHMacGeneric, DigestsAKeyAboveTheBlockSizeFirst)
{
    CRecordingHash hash(3);
    CHMacBremoFw mac;
    const uint8_t auKey[] = {1, 2, 3, 4, 5};
    Bytes inner(5, 0xEE);
    Bytes outer(5, 0xEE);
    EXPECT_EQ(QV_RES_OK, mac.HMacReset(auKey, 5, &hash, 4, inner.data(), outer.data()));
    EXPECT_EQ((Bytes{0xD0 ^ 0x36, 0xD1 ^ 0x36, 0xD2 ^ 0x36, 0x36, 0xEE}), inner);
    EXPECT_EQ((Bytes{0xD0 ^ 0x5C, 0xD1 ^ 0x5C, 0xD2 ^ 0x5C, 0x5C, 0xEE}), outer);
    EXPECT_EQ((Calls{"Begin", "Update 1 2 3 4 5", "End", "Begin", "Update 230 231 228 54"}), hash.m_calls);
}

TEST(CHMacGeneric, TakesAnEmptyKey)
{
    CRecordingHash hash(3);
    CHMacBremoFw mac;
    const uint8_t uByte = 1;
    Bytes inner(4);
    Bytes outer(4);
    EXPECT_EQ(QV_RES_OK, mac.HMacReset(&uByte, 0, &hash, 4, inner.data(), outer.data()));
    EXPECT_EQ(Bytes(4, 0x36), inner);
    EXPECT_EQ(Bytes(4, 0x5C), outer);
}

TEST(CHMacGeneric, ClosesTheInnerDigestAndComputesTheOuterOne)
{
    CRecordingHash hash(3);
    CHMacBremoFw mac;
    const uint8_t auOuter[] = {11, 12, 13, 14};
    Bytes inner(4, 0xEE);
    Bytes digest(4, 0xEE);
    EXPECT_EQ(QV_RES_OK, mac.HMacResult(&hash, 4, inner.data(), auOuter, digest.data()));
    EXPECT_EQ((Bytes{0xD0, 0xD1, 0xD2, 0xEE}), inner);
    EXPECT_EQ((Bytes{0xD0, 0xD1, 0xD2, 0xEE}), digest);
    EXPECT_EQ((Calls{"End", "Begin", "Update 11 12 13 14", "Update 208 209 210", "End"}), hash.m_calls);
}

namespace
{
template <typename Hash>
void ExpectStandardHmac(const EVP_MD* pAlgorithm)
{
    std::mt19937 rng(TestSeed());
    for (const unsigned int uKeySize : {0u, 1u, 63u, 64u, 65u, 200u})
    {
        const Bytes key = RandomBytes(rng, uKeySize, uKeySize);
        const Bytes message = RandomBytes(rng, 0, 300);
        Hash hash;
        CHMacBremoFw mac;
        uint8_t auInner[64], auOuter[64];
        Bytes code(hash.GetSizeInBytes());
        EXPECT_EQ(QV_RES_OK, mac.HMacReset(DataOf(key), uKeySize, &hash, 64, auInner, auOuter));
        EXPECT_EQ(QV_RES_OK, hash.Update(DataOf(message), SizeOf(message)));
        EXPECT_EQ(QV_RES_OK, mac.HMacResult(&hash, 64, auInner, auOuter, code.data()));
        EXPECT_EQ(EvpHmac(pAlgorithm, key, message), code) << "a key of " << uKeySize << " bytes";
    }
}
}  // namespace

TEST(CHMacGeneric, WorksOverEveryDigest)
{
    ExpectStandardHmac<CMd5>(EVP_md5());
    ExpectStandardHmac<CSha1>(EVP_sha1());
    ExpectStandardHmac<CSha256>(EVP_sha256());
}
