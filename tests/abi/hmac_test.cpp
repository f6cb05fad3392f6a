#include <cstdint>
#include <numeric>

#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/old_sha1.h"
#include "tests/abi/text_blob.h"
#include "tests/abi/told_size.h"

class CHMac
{
public:
    virtual ~CHMac();
    virtual QvResult Begin(const uint8_t* puKey, unsigned int uKeySize) = 0;
    virtual QvResult Update(const uint8_t* puData, unsigned int uSize) = 0;
    virtual QvResult End(uint8_t* puDigest) = 0;
    virtual QvResult Begin(const CBlob* pblobKey) = 0;
    virtual QvResult Update(const CBlob* pblobData) = 0;
    virtual QvResult End(CBlob* pblobDigest) = 0;
    virtual unsigned int GetAlgorithm() = 0;
    virtual unsigned int GetSizeInBits() = 0;
    virtual unsigned int GetSizeInBytes() = 0;
};

class CHMacBremoFw
{
public:
    virtual ~CHMacBremoFw();
    QvResult HMacReset(const uint8_t* puKey, unsigned int uKeySize, CHash* pHash, unsigned int uBlockSize,
                       uint8_t* puInnerPad, uint8_t* puOuterPad);
    QvResult HMacResult(CHash* pHash, unsigned int uBlockSize, uint8_t* puInnerDigest, const uint8_t* puOuterPad,
                        uint8_t* puDigest);
};

class CSha1MacBremoFw : public CHMacBremoFw
{
public:
    CSha1MacBremoFw();
    ~CSha1MacBremoFw() override;
    QvResult Begin(const uint8_t* puKey, unsigned int uKeySize);
    QvResult Update(const uint8_t* puData, unsigned int uSize);
    QvResult End(uint8_t* puDigest);
    QvResult Begin(const CBlob* pblobKey);
    QvResult Update(const CBlob* pblobData);
    QvResult End(CBlob* pblobDigest);
    unsigned int GetAlgorithm();
    unsigned int GetSizeInBits();
    unsigned int GetSizeInBytes();

    uint8_t m_auOuterPad[64];
    CSha1 m_sha1;
};

class CSha1Mac : public CHMac, public CSha1MacBremoFw
{
public:
    CSha1Mac();
    ~CSha1Mac() override;
    QvResult Begin(const uint8_t* puKey, unsigned int uKeySize) override;
    QvResult Update(const uint8_t* puData, unsigned int uSize) override;
    QvResult End(uint8_t* puDigest) override;
    QvResult Begin(const CBlob* pblobKey) override;
    QvResult Update(const CBlob* pblobData) override;
    QvResult End(CBlob* pblobDigest) override;
    unsigned int GetAlgorithm() override;
    unsigned int GetSizeInBits() override;
    unsigned int GetSizeInBytes() override;
};

namespace
{
// RFC 2202, test case 2 for HMAC-SHA-1
const char g_szKEY[] = "Jefe";
const char g_szDATA[] = "what do ya want for nothing?";
const char g_szMAC[] = "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79";

/// A digest of the program's own: it sums up the bytes and keeps account of what it was asked for.
class CSum : public CHash
{
public:
    QvResult Begin() override
    {
        m_log += "Begin ";
        m_uSum = 0;
        return QV_RES_OK;
    }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        m_log += "Update(" + std::to_string(uSize) + ") ";
        m_uSum = static_cast<uint8_t>(std::accumulate(puData, puData + uSize, unsigned{m_uSum}));
        return QV_RES_OK;
    }
    QvResult End(uint8_t* puDigest) override
    {
        m_log += "End ";
        puDigest[0] = m_uSum;
        puDigest[1] = 0xEE;
        return QV_RES_OK;
    }
    QvResult Update(const CBlob*) override
    {
        m_log += "Update(blob) ";
        return QV_RES_FAIL;
    }
    QvResult End(CBlob*) override
    {
        m_log += "End(blob) ";
        return QV_RES_FAIL;
    }
    unsigned int GetAlgorithm() override { return 77; }
    unsigned int GetSizeInBits() override { return 16; }
    unsigned int GetSizeInBytes() override
    {
        ++m_uSizeQueries;
        return 2;
    }

    std::string m_log;
    uint8_t m_uSum = 0;
    unsigned int m_uSizeQueries = 0;
};

class CGeneric : public CHMacBremoFw
{
};

/// Drives all nine operations, be it through the interface's slots or by the names of the implementation's functions.
template <typename HMac>
void ExpectToAuthenticate(HMac& rHMac)
{
    EXPECT_EQ(1u, rHMac.GetAlgorithm());
    EXPECT_EQ(160u, rHMac.GetSizeInBits());
    EXPECT_EQ(20u, rHMac.GetSizeInBytes());

    uint8_t auMac[20] = {};
    EXPECT_EQ(QV_RES_OK, rHMac.Begin(BytesOf(g_szKEY), SizeOf(g_szKEY)));
    EXPECT_EQ(QV_RES_OK, rHMac.Update(BytesOf(g_szDATA), SizeOf(g_szDATA)));
    EXPECT_EQ(QV_RES_OK, rHMac.End(auMac));
    EXPECT_EQ(g_szMAC, Hex(auMac, sizeof(auMac)));

    const CTextBlob blobKey(g_szKEY), blobData(g_szDATA);
    CTextBlob blobMac("this is longer than twenty bytes");
    EXPECT_EQ(QV_RES_OK, rHMac.Begin(&blobKey));
    EXPECT_EQ(QV_RES_OK, rHMac.Update(&blobData));
    EXPECT_EQ(QV_RES_OK, rHMac.End(&blobMac));
    EXPECT_EQ(g_szMAC, HexOf(blobMac));
}
}  // namespace

TEST(CSha1MacLayout, HasTheInterfaceFirstAndTheImplementationRightBehind)
{
    static_assert(sizeof(CHMac) == 8 && sizeof(CHMacBremoFw) == 8);
    static_assert(sizeof(CSha1MacBremoFw) == 184 && sizeof(CSha1Mac) == 192);
    EXPECT_EQ(8u, SizeToldByDelete(new CHMacBremoFw));
    EXPECT_EQ(192u, SizeToldByDelete(new CSha1Mac));
    ExpectDestructorsAlone<CSha1MacBremoFw>("15CSha1MacBremoFw");
    const std::vector<std::string> base{"CHMacBremoFw::~CHMacBremoFw()", "CHMacBremoFw::~CHMacBremoFw()"};
    EXPECT_EQ(base, TableNamed("_ZTV12CHMacBremoFw"));

    CSha1Mac mac;
    EXPECT_EQ(0, OffsetToTop(static_cast<CHMac*>(&mac)));
    EXPECT_EQ(-8, OffsetToTop(static_cast<CSha1MacBremoFw*>(&mac)));
    EXPECT_EQ(-8, OffsetToTop(static_cast<CHMacBremoFw*>(&mac)));
}

TEST(CSha1MacLayout, HasTheOuterPadThenTheDigest)
{
    CSha1Mac mac;
    ASSERT_EQ(QV_RES_OK, mac.Begin(BytesOf("Jefe"), 4));
    std::vector<unsigned char> outerPad(64, 0x5C);
    for (unsigned int u = 0; u < 4; ++u) outerPad[u] ^= static_cast<unsigned char>("Jefe"[u]);
    EXPECT_EQ(outerPad, BytesAt(mac.m_auOuterPad, 0, 64));

    EXPECT_EQ("CSha1::Begin()", FunctionInSlot(&mac.m_sha1, 2));
    EXPECT_EQ(64u, mac.m_sha1.m_uByteCount) << "the inner pad";
    ASSERT_EQ(QV_RES_OK, mac.Update(BytesOf("abc"), 3));
    EXPECT_EQ(67u, mac.m_sha1.m_uByteCount);
    EXPECT_EQ(3, mac.m_sha1.m_uIndex);
    EXPECT_EQ("abc", std::string(reinterpret_cast<const char*>(mac.m_sha1.m_auBlock), 3));
}

TEST(CHMacSlots, AreTheDestructorsThenNinePureOperationsWhichCSha1MacFillsInTheirOrder)
{
    EXPECT_EQ("--ppppppppp", PureSlots("_ZTV5CHMac"));
    const CSha1Mac mac;
    const std::vector<std::string> table{"CSha1Mac::~CSha1Mac()",
                                         "CSha1Mac::~CSha1Mac()",
                                         "CSha1Mac::Begin(unsigned char const*, unsigned int)",
                                         "CSha1Mac::Update(unsigned char const*, unsigned int)",
                                         "CSha1Mac::End(unsigned char*)",
                                         "CSha1Mac::Begin(CBlob const*)",
                                         "CSha1Mac::Update(CBlob const*)",
                                         "CSha1Mac::End(CBlob*)",
                                         "CSha1Mac::GetAlgorithm()",
                                         "CSha1Mac::GetSizeInBits()",
                                         "CSha1Mac::GetSizeInBytes()",
                                         "?",
                                         "typeinfo for CSha1Mac",
                                         "non-virtual thunk to CSha1Mac::~CSha1Mac()",
                                         "non-virtual thunk to CSha1Mac::~CSha1Mac()"};
    EXPECT_EQ(table, TableOf(&mac));
}

TEST(CSha1Mac, AuthenticatesThroughTheInterfaceAndByTheNamesOfEitherClass)
{
    CSha1Mac mac;
    CSha1MacBremoFw bremo;
    ExpectToAuthenticate(OfUnknownOrigin(static_cast<CHMac&>(mac)));
    ExpectToAuthenticate(mac);
    ExpectToAuthenticate(static_cast<CSha1MacBremoFw&>(mac));
    ExpectToAuthenticate(bremo);
    delete static_cast<CHMac*>(new CSha1Mac);
    delete static_cast<CSha1MacBremoFw*>(new CSha1Mac);
    delete static_cast<CHMacBremoFw*>(new CSha1Mac);
}

TEST(CHMacBremoFw, PreparesTheKeysAndCallsADigestOfTheProgramsOwn)
{
    CSum sum;
    CGeneric generic;
    uint8_t auInnerPad[4] = {}, auOuterPad[4] = {};
    EXPECT_EQ(QV_RES_OK, generic.HMacReset(BytesOf("key!"), 4, &sum, 4, auInnerPad, auOuterPad));
    EXPECT_EQ("Begin Update(4) ", sum.m_log) << "a key of the block size is used as it is";
    EXPECT_EQ(0u, sum.m_uSizeQueries);
    for (unsigned int u = 0; u < 4; ++u)
    {
        EXPECT_EQ("key!"[u] ^ 0x36, auInnerPad[u]) << u;
        EXPECT_EQ("key!"[u] ^ 0x5C, auOuterPad[u]) << u;
    }

    sum.m_log.clear();
    const unsigned int uKeySum = 'l' + 'o' + 'n' + 'g' + '!';
    EXPECT_EQ(QV_RES_OK, generic.HMacReset(BytesOf("long!"), 5, &sum, 4, auInnerPad, auOuterPad));
    EXPECT_EQ("Begin Update(5) End Begin Update(4) ", sum.m_log) << "a longer one is digested first";
    EXPECT_GT(sum.m_uSizeQueries, 0u);
    const std::vector<unsigned char> innerPad{static_cast<uint8_t>(uKeySum ^ 0x36), 0xEE ^ 0x36, 0x36, 0x36};
    const std::vector<unsigned char> outerPad{static_cast<uint8_t>(uKeySum ^ 0x5C), 0xEE ^ 0x5C, 0x5C, 0x5C};
    EXPECT_EQ(innerPad, BytesAt(auInnerPad, 0, 4));
    EXPECT_EQ(outerPad, BytesAt(auOuterPad, 0, 4));
}

TEST(CHMacBremoFw, ClosesTheInnerDigestAndComputesTheOuterOne)
{
    CSum sum;
    CGeneric generic;
    sum.m_uSum = 42;
    uint8_t auInnerDigest[4] = {};
    uint8_t auDigest[2] = {};
    const uint8_t auOuterPad[4] = {1, 2, 3, 4};
    EXPECT_EQ(QV_RES_OK, generic.HMacResult(&sum, 4, auInnerDigest, auOuterPad, auDigest));
    EXPECT_EQ("End Begin Update(4) Update(2) End ", sum.m_log);
    EXPECT_EQ((std::vector<unsigned char>{42, 0xEE, 0, 0}), BytesAt(auInnerDigest, 0, 4));
    EXPECT_EQ((std::vector<unsigned char>{static_cast<uint8_t>(1 + 2 + 3 + 4 + 42 + 0xEE), 0xEE}),
              BytesAt(auDigest, 0, 2));
}
