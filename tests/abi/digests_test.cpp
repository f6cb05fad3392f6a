#include <array>
#include <cstdint>
#include <cstring>

#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/old_sha1.h"
#include "tests/abi/text_blob.h"
#include "tests/abi/told_size.h"

class CMd5BremoFw
{
public:
    CMd5BremoFw();
    virtual ~CMd5BremoFw();
    QvResult Begin();
    QvResult Update(const uint8_t* puData, unsigned int uSize);
    QvResult End(uint8_t* puDigest);
    QvResult Update(const CBlob* pblobData);
    QvResult End(CBlob* pblobDigest);
    unsigned int GetAlgorithm();
    unsigned int GetSizeInBits();
    unsigned int GetSizeInBytes();

    uint32_t m_auChain[4];
    uint32_t m_uBitCountLow;
    uint32_t m_uBitCountHigh;
    uint8_t m_auBuffer[64];
};

class CMd5 : public CHash, public CMd5BremoFw
{
public:
    CMd5();
    ~CMd5() override;
    QvResult Begin() override;
    QvResult Update(const uint8_t* puData, unsigned int uSize) override;
    QvResult End(uint8_t* puDigest) override;
    QvResult Update(const CBlob* pblobData) override;
    QvResult End(CBlob* pblobDigest) override;
    unsigned int GetAlgorithm() override;
    unsigned int GetSizeInBits() override;
    unsigned int GetSizeInBytes() override;
};

class CSha256BremoFw
{
public:
    CSha256BremoFw();
    virtual ~CSha256BremoFw();
    QvResult Begin();
    QvResult Update(const uint8_t* puData, unsigned int uSize);
    QvResult End(uint8_t* puDigest);
    QvResult Update(const CBlob* pblobData);
    QvResult End(CBlob* pblobDigest);
    unsigned int GetAlgorithm();
    unsigned int GetSizeInBits();
    unsigned int GetSizeInBytes();

    void Reset();
    QvResult Input(const uint8_t* puData, unsigned int uSize);
    void AddLength(unsigned int uBits);
    void ProcessMsgBlock();
    void PadMsg(uint8_t uPad);
    void Finalize(uint8_t uPad);
    QvResult Result(uint8_t* puDigest);

    uint8_t m_uComputed;
    uint8_t m_uCorrupted;
    uint8_t m_uIndex;
    uint8_t m_auBlock[64];
    uint32_t m_uBitCountHigh;
    uint32_t m_uBitCountLow;
    uint32_t m_auChain[8];
};

class CSha256 : public CHash, public CSha256BremoFw
{
public:
    CSha256();
    ~CSha256() override;
    QvResult Begin() override;
    QvResult Update(const uint8_t* puData, unsigned int uSize) override;
    QvResult End(uint8_t* puDigest) override;
    QvResult Update(const CBlob* pblobData) override;
    QvResult End(CBlob* pblobDigest) override;
    unsigned int GetAlgorithm() override;
    unsigned int GetSizeInBits() override;
    unsigned int GetSizeInBytes() override;
};

namespace
{
/// What the text abc gives, and how an old program knows the class.
struct SMd5
{
    using TPublic = CMd5;
    using TBremo = CMd5BremoFw;
    static constexpr const char* ms_pszNAME = "CMd5";
    static constexpr const char* ms_pszABC = "900150983cd24fb0d6963f7d28e17f72";
    static constexpr unsigned int ms_uALGORITHM = 0, ms_uBYTES = 16, ms_uBREMO_SIZE = 96;
};

struct SSha1
{
    using TPublic = CSha1;
    using TBremo = CSha1BremoFw;
    static constexpr const char* ms_pszNAME = "CSha1";
    static constexpr const char* ms_pszABC = "a9993e364706816aba3e25717850c26c9cd0d89d";
    static constexpr unsigned int ms_uALGORITHM = 1, ms_uBYTES = 20, ms_uBREMO_SIZE = 104;
};

struct SSha256
{
    using TPublic = CSha256;
    using TBremo = CSha256BremoFw;
    static constexpr const char* ms_pszNAME = "CSha256";
    static constexpr const char* ms_pszABC = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    static constexpr unsigned int ms_uALGORITHM = 2, ms_uBYTES = 32, ms_uBREMO_SIZE = 120;
};

/// Drives all eight operations, be it through the interface's slots or by the names of the implementation's functions.
template <typename Digest, typename Hash>
void ExpectToDigest(Hash& rHash)
{
    EXPECT_EQ(Digest::ms_uALGORITHM, rHash.GetAlgorithm());
    EXPECT_EQ(Digest::ms_uBYTES * 8, rHash.GetSizeInBits());
    EXPECT_EQ(Digest::ms_uBYTES, rHash.GetSizeInBytes());

    uint8_t auDigest[Digest::ms_uBYTES] = {};
    EXPECT_EQ(QV_RES_OK, rHash.Begin());
    EXPECT_EQ(QV_RES_OK, rHash.Update(BytesOf("abc"), 3));
    EXPECT_EQ(QV_RES_OK, rHash.End(auDigest));
    EXPECT_EQ(Digest::ms_pszABC, Hex(auDigest, sizeof(auDigest)));

    const CTextBlob blobData("abc");
    CTextBlob blobDigest("longer than any digest, so that it must shrink");
    EXPECT_EQ(QV_RES_OK, rHash.Begin());
    EXPECT_EQ(QV_RES_OK, rHash.Update(&blobData));
    EXPECT_EQ(QV_RES_OK, rHash.End(&blobDigest));
    EXPECT_EQ(Digest::ms_pszABC, HexOf(blobDigest));
}

/// The one block that the text abc is padded to.
std::array<uint8_t, 64> PaddedAbc()
{
    std::array<uint8_t, 64> block{'a', 'b', 'c', 0x80};
    block[63] = 24;
    return block;
}

/// The digest that chaining words give, written with their most significant byte first.
template <std::size_t uCount>
std::string HexOfWords(const uint32_t (&rauWords)[uCount])
{
    std::string hex;
    for (const uint32_t uWord : rauWords)
    {
        const uint32_t uSwapped = __builtin_bswap32(uWord);
        hex += Hex(&uSwapped, sizeof(uSwapped));
    }
    return hex;
}

template <std::size_t uSize>
std::string FirstThree(const uint8_t (&rauBytes)[uSize])
{
    return std::string(reinterpret_cast<const char*>(rauBytes), 3);
}
}  // namespace

template <typename Digest>
class CDigest : public testing::Test
{
};
using TDigests = testing::Types<SMd5, SSha1, SSha256>;

class CDigestName
{
public:
    template <typename Digest>
    static std::string GetName(int)
    {
        return Digest::ms_pszNAME;
    }
};
TYPED_TEST_SUITE(CDigest, TDigests, CDigestName);

TYPED_TEST(CDigest, PublicClassHasTheInterfaceFirstAndTheImplementationRightBehind)
{
    using TPublic = typename TypeParam::TPublic;
    using TBremo = typename TypeParam::TBremo;
    static_assert(sizeof(TBremo) == TypeParam::ms_uBREMO_SIZE && sizeof(TPublic) == 8 + TypeParam::ms_uBREMO_SIZE);
    EXPECT_EQ(sizeof(TPublic), SizeToldByDelete(new TPublic));
    const std::string name = TypeParam::ms_pszNAME;
    ExpectDestructorsAlone<TBremo>((std::to_string(name.size() + 7) + name + "BremoFw").c_str());

    TPublic digest;
    EXPECT_EQ(0, OffsetToTop(static_cast<CHash*>(&digest)));
    EXPECT_EQ(-8, OffsetToTop(static_cast<TBremo*>(&digest)));
    const std::string destructor = name + "::~" + name + "()";
    const std::vector<std::string> table{destructor,
                                         destructor,
                                         name + "::Begin()",
                                         name + "::Update(unsigned char const*, unsigned int)",
                                         name + "::End(unsigned char*)",
                                         name + "::Update(CBlob const*)",
                                         name + "::End(CBlob*)",
                                         name + "::GetAlgorithm()",
                                         name + "::GetSizeInBits()",
                                         name + "::GetSizeInBytes()",
                                         "?",
                                         "typeinfo for " + name,
                                         "non-virtual thunk to " + destructor,
                                         "non-virtual thunk to " + destructor};
    EXPECT_EQ(table, TableOf(&digest));
}

TYPED_TEST(CDigest, DigestsThroughTheInterfaceAndByTheNamesOfEitherClass)
{
    using TPublic = typename TypeParam::TPublic;
    using TBremo = typename TypeParam::TBremo;
    TPublic digest;
    TBremo bremo;
    ExpectToDigest<TypeParam>(OfUnknownOrigin(static_cast<CHash&>(digest)));
    ExpectToDigest<TypeParam>(digest);
    ExpectToDigest<TypeParam>(static_cast<TBremo&>(digest));
    ExpectToDigest<TypeParam>(bremo);
    delete static_cast<CHash*>(new TPublic);
    delete static_cast<TBremo*>(new TPublic);
}

TEST(CMd5Layout, HasChainThenBitCountLowAndHighThenBuffer)
{
    CMd5 md5;
    ASSERT_EQ(QV_RES_OK, md5.Begin());
    const std::vector<uint32_t> initial{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    EXPECT_EQ(initial, std::vector<uint32_t>(md5.m_auChain, md5.m_auChain + 4));
    ASSERT_EQ(QV_RES_OK, md5.Update(BytesOf("abc"), 3));
    EXPECT_EQ(24u, md5.m_uBitCountLow);
    EXPECT_EQ("abc", FirstThree(md5.m_auBuffer));

    md5.m_uBitCountLow = 0xFFFFFFF8;
    ASSERT_EQ(QV_RES_OK, md5.Update(BytesOf("d"), 1));
    EXPECT_EQ(0u, md5.m_uBitCountLow);
    EXPECT_EQ(1u, md5.m_uBitCountHigh);
    EXPECT_EQ('d', md5.m_auBuffer[63]) << "the bit count is the buffer's only index";

    uint8_t auDigest[16];
    ASSERT_EQ(QV_RES_OK, md5.End(auDigest));
    EXPECT_EQ(std::vector<unsigned char>(88), BytesAt(&md5, 16, 88)) << "everything is cleared";
}

TEST(CSha1Layout, HasChainThenBlockThenIndexThenByteCount)
{
    CSha1 sha1;
    ASSERT_EQ(QV_RES_OK, sha1.Begin());
    EXPECT_EQ("67452301efcdab8998badcfe10325476c3d2e1f0", HexOfWords(sha1.m_auChain));
    EXPECT_EQ(0, sha1.m_uIndex);
    EXPECT_EQ(0u, sha1.m_uByteCount);

    ASSERT_EQ(QV_RES_OK, sha1.Update(BytesOf("abc"), 3));
    EXPECT_EQ("abc", FirstThree(sha1.m_auBlock));
    EXPECT_EQ(3, sha1.m_uIndex);
    EXPECT_EQ(3u, sha1.m_uByteCount);

    sha1.m_uByteCount = 0xFFFFFFFF;
    ASSERT_EQ(QV_RES_OK, sha1.Update(BytesOf("d"), 1));
    EXPECT_EQ(0x100000000u, sha1.m_uByteCount) << "the count has 64 bits";
    EXPECT_EQ(4, sha1.m_uIndex);
}

TEST(CSha1Helpers, PadProcessAndWriteWhatInputTook)
{
    CSha1BremoFw sha1;
    uint8_t auDigest[20];
    sha1.Reset();
    sha1.Input(BytesOf("abc"), 3);
    sha1.PadMsg();
    EXPECT_EQ(SSha1::ms_pszABC, HexOfWords(sha1.m_auChain));
    sha1.Reset();
    std::memcpy(sha1.m_auBlock, PaddedAbc().data(), 64);
    sha1.ProcessMsgBlock();
    EXPECT_EQ(SSha1::ms_pszABC, HexOfWords(sha1.m_auChain));
    sha1.Reset();
    sha1.Input(BytesOf("abc"), 3);
    sha1.Result(auDigest);
    EXPECT_EQ(SSha1::ms_pszABC, Hex(auDigest, sizeof(auDigest)));
}

TEST(CSha256Layout, HasFlagsThenIndexThenBlockThenBitCountHighAndLowThenChain)
{
    CSha256 sha256;
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    EXPECT_EQ("6a09e667bb67ae853c6ef372a54ff53a510e527f9b05688c1f83d9ab5be0cd19", HexOfWords(sha256.m_auChain));
    EXPECT_EQ(0, sha256.m_uComputed);
    EXPECT_EQ(0, sha256.m_uCorrupted);
    EXPECT_EQ(0, sha256.m_uIndex);

    ASSERT_EQ(QV_RES_OK, sha256.Update(BytesOf("abc"), 3));
    EXPECT_EQ(3, sha256.m_uIndex);
    EXPECT_EQ("abc", FirstThree(sha256.m_auBlock));
    EXPECT_EQ(24u, sha256.m_uBitCountLow);
    EXPECT_EQ(0u, sha256.m_uBitCountHigh);

    sha256.m_uBitCountLow = 0xFFFFFFF8;
    ASSERT_EQ(QV_RES_OK, sha256.Update(BytesOf("d"), 1));
    EXPECT_EQ(0u, sha256.m_uBitCountLow);
    EXPECT_EQ(1u, sha256.m_uBitCountHigh);

    uint8_t auDigest[32];
    ASSERT_EQ(QV_RES_OK, sha256.End(auDigest));
    EXPECT_EQ(1, sha256.m_uComputed);
    EXPECT_EQ(0, sha256.m_uCorrupted);
    EXPECT_EQ(QV_RES_INVALID_STATE, sha256.Update(BytesOf("d"), 1));
    EXPECT_EQ(1, sha256.m_uCorrupted);
}

TEST(CSha256Helpers, PadProcessAndWriteWhatInputTook)
{
    CSha256BremoFw padded, processed;
    uint8_t auDigest[32];
    for (const uint8_t uPad : std::initializer_list<uint8_t>{0xC0, 0x80})
    {
        padded.Reset();
        EXPECT_EQ(QV_RES_OK, padded.Input(BytesOf("abc"), 3));
        padded.PadMsg(uPad);
        std::array<uint8_t, 64> block = PaddedAbc();
        block[3] = uPad;
        processed.Reset();
        std::memcpy(processed.m_auBlock, block.data(), 64);
        processed.ProcessMsgBlock();
        EXPECT_EQ(HexOfWords(processed.m_auChain), HexOfWords(padded.m_auChain));
    }
    EXPECT_EQ(SSha256::ms_pszABC, HexOfWords(padded.m_auChain));
    EXPECT_EQ(0, padded.m_uComputed);
    padded.Reset();
    EXPECT_EQ(QV_RES_OK, padded.Input(BytesOf("abc"), 3));
    padded.Finalize(0x80);
    EXPECT_EQ(1, padded.m_uComputed);
    EXPECT_EQ(std::vector<unsigned char>(64), BytesAt(padded.m_auBlock, 0, 64));
    EXPECT_EQ(QV_RES_OK, padded.Result(auDigest));
    EXPECT_EQ(SSha256::ms_pszABC, Hex(auDigest, sizeof(auDigest)));
}

TEST(CSha256Helpers, AddLengthCarriesAndMarksAWrapAsCorrupted)
{
    CSha256BremoFw sha256;
    sha256.Reset();
    sha256.m_uBitCountLow = 0xFFFFFFF8;
    sha256.AddLength(16);
    EXPECT_EQ(8u, sha256.m_uBitCountLow);
    EXPECT_EQ(1u, sha256.m_uBitCountHigh);
    EXPECT_EQ(0, sha256.m_uCorrupted);
    sha256.m_uBitCountLow = 0xFFFFFFF8;
    sha256.m_uBitCountHigh = 0xFFFFFFFF;
    sha256.AddLength(8);
    EXPECT_NE(0, sha256.m_uCorrupted);
}
