#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>
#include <cstdint>
#include <cstring>

#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/old_crypto.h"
#include "tests/abi/text_blob.h"
#include "tests/abi/told_size.h"

class CSecurePrngBremoFw
{
public:
    virtual ~CSecurePrngBremoFw();
    static QvResult Generate(unsigned int uSize, uint8_t* puOut);
    static QvResult Generate(unsigned int uSize, CBlob* pblobOut);
    static QvResult SetSeed(unsigned int uSize, uint8_t* puSeed);
    static void InitializeSeed();
    static void Lock();
    static void Unlock();
    static QvResult InitializeCSecurePrngBremoFw();
    static void FinalizeCSecurePrngBremoFw();

    static uint8_t ms_auSeed[20];
    static uint8_t ms_auCurrentBytes[24];
    static uint32_t ms_uBytesRemaining;
    static bool ms_bInitialized;
};

class CSecurePrng : public CSecurePrngBremoFw
{
public:
    ~CSecurePrng() override;
    static QvResult Generate(unsigned int uSize, uint8_t* puOut);
};

class CSecureSeedBremoFw
{
public:
    virtual ~CSecureSeedBremoFw();
    static QvResult GenerateSeed(uint8_t* puSeed);
    static QvResult InitializeCSecureSeedBremoFw();
    static void FinalizeCSecureSeedBremoFw();

    static uint32_t ms_uCounter;
};

class CSecureSeed : public CSecureSeedBremoFw
{
public:
    ~CSecureSeed() override;
    static QvResult GenerateSeed(uint8_t* puSeed);
};

QvResult InitializeCSecurePrngBremoFw();
void FinalizeCSecurePrngBremoFw();
QvResult InitializeCSecureSeedBremoFw();
void FinalizeCSecureSeedBremoFw();

namespace
{
using TPrng = CSecurePrngBremoFw;

uint32_t Counter()
{
    return LoadAt<uint32_t>(TPrng::ms_auCurrentBytes, 20);
}

/// Puts the generator where its bytes can be foretold.
void SetState(uint8_t uSeed, uint32_t uCounter, uint32_t uRemaining)
{
    std::memset(TPrng::ms_auSeed, uSeed, sizeof(TPrng::ms_auSeed));
    for (uint8_t u = 0; u < 20; ++u) TPrng::ms_auCurrentBytes[u] = static_cast<uint8_t>(100 + u);
    StoreAt(TPrng::ms_auCurrentBytes, 20, uCounter);
    TPrng::ms_uBytesRemaining = uRemaining;
    TPrng::ms_bInitialized = true;
}

/// The block that follows the state: HMAC-SHA1 of the current block and the counter.
std::string NextBlock()
{
    uint8_t auData[24], auMac[20];
    std::memcpy(auData, TPrng::ms_auCurrentBytes, sizeof(auData));
    StoreAt(auData, 20, Counter() + 1);
    HMAC(EVP_sha1(), TPrng::ms_auSeed, 20, auData, sizeof(auData), auMac, nullptr);
    return Hex(auMac, sizeof(auMac));
}
}  // namespace

TEST(CSecurePrngLayout, IsAVirtualTableAloneBesideItsStatics)
{
    static_assert(sizeof(CSecurePrngBremoFw) == 8 && sizeof(CSecurePrng) == 8);
    static_assert(sizeof(CSecureSeedBremoFw) == 8 && sizeof(CSecureSeed) == 8);
    ExpectDestructorsAlone<CSecurePrngBremoFw>("18CSecurePrngBremoFw");
    ExpectDestructorsAlone<CSecurePrng>("11CSecurePrng");
    ExpectDestructorsAlone<CSecureSeedBremoFw>("18CSecureSeedBremoFw");
    ExpectDestructorsAlone<CSecureSeed>("11CSecureSeed");
    EXPECT_TRUE(HasItsSize(TPrng::ms_auSeed));
    EXPECT_TRUE(HasItsSize(TPrng::ms_auCurrentBytes));
    EXPECT_TRUE(HasItsSize(TPrng::ms_uBytesRemaining));
    EXPECT_TRUE(HasItsSize(TPrng::ms_bInitialized));
    EXPECT_TRUE(HasItsSize(CSecureSeedBremoFw::ms_uCounter));
}

TEST(CSecurePrng, DrawsFromTheExportedState)
{
    for (QvResult (*const pfnGenerate)(unsigned int, uint8_t*) :
         {static_cast<QvResult (*)(unsigned int, uint8_t*)>(TPrng::Generate), CSecurePrng::Generate})
    {
        SetState(7, 41, 3);
        const std::string block = NextBlock();
        uint8_t auOut[8];
        ASSERT_EQ(QV_RES_OK, pfnGenerate(8, auOut));
        EXPECT_EQ("757677" + block.substr(0, 10), Hex(auOut, 8)) << "the last three of the block, then the next one's";
        EXPECT_EQ(block, Hex(TPrng::ms_auCurrentBytes, 20));
        EXPECT_EQ(42u, Counter());
        EXPECT_EQ(15u, TPrng::ms_uBytesRemaining);
    }
}

TEST(CSecurePrng, DrawsIntoABlob)
{
    SetState(9, 0xFFFFFFFF, 0);
    const std::string block = NextBlock();
    CTextBlob blob("this is longer than twenty bytes");
    ASSERT_EQ(QV_RES_OK, TPrng::Generate(20, &blob));
    EXPECT_EQ(block, HexOf(blob));
    EXPECT_EQ(0u, Counter());
}

TEST(CSecurePrng, SeedsItselfIntoTheExportedState)
{
    SetState(0, 0, 0);
    TPrng::ms_bInitialized = false;
    CSecureSeedBremoFw::ms_uCounter = 5;
    TPrng::InitializeSeed();
    EXPECT_TRUE(TPrng::ms_bInitialized);
    EXPECT_EQ(6u, CSecureSeedBremoFw::ms_uCounter);
    EXPECT_NE(std::vector<unsigned char>(20), BytesAt(TPrng::ms_auSeed, 0, 20));
}

TEST(CSecurePrng, ExplicitSeedReplacesTheCurrentBlockAlone)
{
    SetState(3, 17, 11);
    TPrng::ms_bInitialized = false;
    uint8_t auSeed[4] = {'s', 'e', 'e', 'd'};
    uint8_t auSha1[20];
    SHA1(auSeed, sizeof(auSeed), auSha1);
    ASSERT_EQ(QV_RES_OK, TPrng::SetSeed(sizeof(auSeed), auSeed));
    EXPECT_EQ(Hex(auSha1, 20), Hex(TPrng::ms_auCurrentBytes, 20));
    EXPECT_EQ(17u, Counter());
    EXPECT_EQ(11u, TPrng::ms_uBytesRemaining);
    EXPECT_EQ(std::vector<unsigned char>(20, 3), BytesAt(TPrng::ms_auSeed, 0, 20));
    EXPECT_TRUE(TPrng::ms_bInitialized);
}

TEST(CSecurePrng, LockIsTheCryptoLock)
{
    TPrng::Lock();
    EXPECT_FALSE(IsFree(CSingleton<CCrypto>::Instance()->m_mutex));
    TPrng::Unlock();
    EXPECT_TRUE(IsFree(CSingleton<CCrypto>::Instance()->m_mutex));
}

TEST(CSecurePrng, InitialisersClearAllButTheSeedAndFinalisersNothing)
{
    for (const SModuleFunctions& rPair :
         {SModuleFunctions{InitializeCSecurePrngBremoFw, FinalizeCSecurePrngBremoFw},
          SModuleFunctions{TPrng::InitializeCSecurePrngBremoFw, TPrng::FinalizeCSecurePrngBremoFw}})
    {
        SetState(8, 5, 9);
        rPair.pfnFinalize();
        EXPECT_EQ(5u, Counter());
        EXPECT_EQ(9u, TPrng::ms_uBytesRemaining);
        EXPECT_TRUE(TPrng::ms_bInitialized);
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        EXPECT_EQ(std::vector<unsigned char>(24), BytesAt(TPrng::ms_auCurrentBytes, 0, 24));
        EXPECT_EQ(0u, TPrng::ms_uBytesRemaining);
        EXPECT_FALSE(TPrng::ms_bInitialized);
        EXPECT_EQ(std::vector<unsigned char>(20, 8), BytesAt(TPrng::ms_auSeed, 0, 20));
    }
}

TEST(CSecureSeed, WritesTwentyBytesAndCounts)
{
    for (QvResult (*const pfnGenerateSeed)(uint8_t*) :
         {static_cast<QvResult (*)(uint8_t*)>(CSecureSeedBremoFw::GenerateSeed), CSecureSeed::GenerateSeed})
    {
        CSecureSeedBremoFw::ms_uCounter = 0xFFFFFFFF;
        uint8_t auFirst[21] = {}, auSecond[21] = {};
        EXPECT_EQ(QV_RES_OK, pfnGenerateSeed(auFirst));
        EXPECT_EQ(0u, CSecureSeedBremoFw::ms_uCounter);
        EXPECT_EQ(QV_RES_OK, pfnGenerateSeed(auSecond));
        EXPECT_EQ(1u, CSecureSeedBremoFw::ms_uCounter);
        EXPECT_NE(Hex(auFirst, 20), Hex(auSecond, 20));
        EXPECT_EQ(0, auFirst[20] | auSecond[20]);
    }
}

TEST(CSecureSeed, InitialisersClearTheCounterAndFinalisersNothing)
{
    for (const SModuleFunctions& rPair : {SModuleFunctions{InitializeCSecureSeedBremoFw, FinalizeCSecureSeedBremoFw},
                                          SModuleFunctions{CSecureSeedBremoFw::InitializeCSecureSeedBremoFw,
                                                           CSecureSeedBremoFw::FinalizeCSecureSeedBremoFw}})
    {
        CSecureSeedBremoFw::ms_uCounter = 12;
        rPair.pfnFinalize();
        EXPECT_EQ(12u, CSecureSeedBremoFw::ms_uCounter);
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        EXPECT_EQ(0u, CSecureSeedBremoFw::ms_uCounter);
    }
}
