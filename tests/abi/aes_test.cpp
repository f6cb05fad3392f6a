#include <dlfcn.h>

#include <cstdint>
#include <cstring>

#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/old_cipher.h"
#include "tests/abi/old_vector.h"
#include "tests/abi/text_blob.h"
#include "tests/abi/told_size.h"

// The block cipher's own interface, as its library has published it for ever.
extern "C"
{
    struct AES_KEY
    {
        unsigned int rd_key[60];
        int rounds;
    };
    int AES_set_encrypt_key(const unsigned char* puKey, int nBits, AES_KEY* pKey);
    int AES_set_decrypt_key(const unsigned char* puKey, int nBits, AES_KEY* pKey);
    void AES_encrypt(const unsigned char* puIn, unsigned char* puOut, const AES_KEY* pKey);
}

extern template class CVector<CCipher::EMode>;

class CAesBremoFwOpenSsl
{
public:
    CAesBremoFwOpenSsl();
    virtual ~CAesBremoFwOpenSsl();
    QvResult SetDefaultKey(const uint8_t* puKey, unsigned int uKeySize);
    QvResult SetDefaultIV(const uint8_t* puIv, unsigned int uIvSize);
    QvResult Begin(CCipher::EAction eAction, CCipher::EMode eMode, const uint8_t* puKey, unsigned int uKeySize,
                   const uint8_t* puIv, unsigned int uIvSize);
    QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize);
    QvResult End(uint8_t* puOut, unsigned int* puOutSize);
    QvResult Begin(CCipher::EAction eAction, CCipher::EMode eMode, const CBlob* pblobKey, const CBlob* pblobIv);
    QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend);
    QvResult End(CBlob* pblobOut, bool bAppend);
    unsigned int GetAlgorithm();
    unsigned int GetBlockSizeInBits();
    unsigned int GetBlockSizeInByte();
    const CVector<CCipher::EMode>* GetSupportedModes();
    static QvResult InitializeCAesBremoFwOpenSsl();
    static void FinalizeCAesBremoFwOpenSsl();

    static unsigned char ms_auModes[sizeof(CVector<CCipher::EMode>)];
    static CVector<CCipher::EMode>* ms_pveceModes;

    CCipher::EAction m_eDefaultAction;
    CCipher::EMode m_eDefaultMode;
    uint8_t m_auDefaultKey[32];
    unsigned int m_uDefaultKeySize;
    uint8_t m_auDefaultIv[16];
    CCipher::EAction m_eAction;
    CCipher::EMode m_eMode;
    AES_KEY m_key;
    uint8_t m_auIv[16];
    uint8_t m_auPartial[16];
    unsigned int m_uPartialCount;
    unsigned int m_uPosition;
    uint8_t m_auEncryptedCounter[16];
};

class CAes : public CCipher, public CAesBremoFwOpenSsl
{
public:
    CAes();
    ~CAes() override;
    QvResult Begin(EAction eAction, EMode eMode, const uint8_t* puKey, unsigned int uKeySize, const uint8_t* puIv,
                   unsigned int uIvSize) override;
    QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize) override;
    QvResult End(uint8_t* puOut, unsigned int* puOutSize) override;
    QvResult Begin(EAction eAction, EMode eMode, const CBlob* pblobKey, const CBlob* pblobIv) override;
    QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend) override;
    QvResult End(CBlob* pblobOut, bool bAppend) override;
    unsigned int GetAlgorithm() override;
    unsigned int GetBlockSizeInBits() override;
    unsigned int GetBlockSizeInByte() override;
    const CVector<EMode>* GetSupportedModes() override;
};

QvResult InitializeCAesBremoFwOpenSsl();
void FinalizeCAesBremoFwOpenSsl();

namespace
{
// FIPS 197, appendix B
const uint8_t g_auKEY[16] = {0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6,
                             0xab, 0xf7, 0x15, 0x88, 0x09, 0xcf, 0x4f, 0x3c};
const uint8_t g_auPLAIN[16] = {0x32, 0x43, 0xf6, 0xa8, 0x88, 0x5a, 0x30, 0x8d,
                               0x31, 0x31, 0x98, 0xa2, 0xe0, 0x37, 0x07, 0x34};
const char g_szCIPHER[] = "3925841d02dc09fbdc118597196a0b32";

const uint8_t g_auZERO[32] = {};

std::string_view View(const uint8_t (&rauBytes)[16])
{
    return {reinterpret_cast<const char*>(rauBytes), 16};
}

/// Drives all ten operations, be it through the interface's slots or by the names of the implementation's functions.
template <typename Cipher>
void ExpectToEncrypt(Cipher& rCipher)
{
    EXPECT_EQ(0u, rCipher.GetAlgorithm());
    EXPECT_EQ(128u, rCipher.GetBlockSizeInBits());
    EXPECT_EQ(16u, rCipher.GetBlockSizeInByte());
    EXPECT_EQ(CAesBremoFwOpenSsl::ms_pveceModes, rCipher.GetSupportedModes());

    uint8_t auOut[32] = {};
    unsigned int uOut = 0;
    EXPECT_EQ(QV_RES_OK, rCipher.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, g_auKEY, 16, g_auZERO, 16));
    EXPECT_EQ(QV_RES_OK, rCipher.Update(g_auPLAIN, 16, auOut, &uOut));
    EXPECT_EQ(g_szCIPHER, Hex(auOut, uOut));
    EXPECT_EQ(QV_RES_OK, rCipher.End(auOut, &uOut));
    EXPECT_EQ(0u, uOut);

    const CTextBlob blobKey(View(g_auKEY)), blobIn(View(g_auPLAIN));
    CTextBlob blobOut("kept");
    EXPECT_EQ(QV_RES_OK, rCipher.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_ECB, &blobKey, nullptr));
    EXPECT_EQ(QV_RES_OK, rCipher.Update(&blobIn, &blobOut, true));
    EXPECT_EQ(QV_RES_OK, rCipher.End(&blobOut, true));
    EXPECT_EQ(Hex("kept", 4) + g_szCIPHER, HexOf(blobOut));
}

std::string FirstOf(const uint8_t* puBytes, unsigned int uSize)
{
    return std::string(reinterpret_cast<const char*>(puBytes), uSize);
}
}  // namespace

TEST(CAesLayout, HasTheInterfaceFirstAndTheImplementationRightBehind)
{
    static_assert(sizeof(CAesBremoFwOpenSsl) == 376);
    static_assert(sizeof(CAes) == 384);
    ExpectDestructorsAlone<CAesBremoFwOpenSsl>("18CAesBremoFwOpenSsl");
    EXPECT_EQ(384u, SizeToldByDelete(new CAes));

    CAes aes;
    EXPECT_EQ(0, OffsetToTop(static_cast<CCipher*>(&aes)));
    EXPECT_EQ(-8, OffsetToTop(static_cast<CAesBremoFwOpenSsl*>(&aes)));
}

TEST(CAesLayout, BeginsWithTheDefaults)
{
    CAes aes;
    EXPECT_EQ(CCipher::eACTION_DEFAULT, aes.m_eDefaultAction);
    EXPECT_EQ(CCipher::eMODE_DEFAULT, aes.m_eDefaultMode);
    EXPECT_EQ(std::vector<unsigned char>(52), BytesAt(aes.m_auDefaultKey, 0, 52)) << "key, its size and the IV";
    ASSERT_EQ(QV_RES_OK, aes.SetDefaultKey(BytesOf("a key of twenty byte"), 20));
    EXPECT_EQ("a key of twenty byte", FirstOf(aes.m_auDefaultKey, 20));
    EXPECT_EQ(20u, aes.m_uDefaultKeySize);
    ASSERT_EQ(QV_RES_OK, aes.SetDefaultIV(BytesOf("sixteen bytes IV"), 16));
    EXPECT_EQ("sixteen bytes IV", FirstOf(aes.m_auDefaultIv, 16));

    aes.m_eDefaultAction = CCipher::eACTION_DECRYPT;
    aes.m_eDefaultMode = CCipher::eMODE_OFB;
    aes.m_uDefaultKeySize = 16;
    ASSERT_EQ(QV_RES_OK, aes.CAes::Begin(CCipher::eACTION_DEFAULT, CCipher::eMODE_DEFAULT, nullptr, 0, nullptr, 0))
        << "with what the program changed";
    EXPECT_EQ(CCipher::eACTION_DECRYPT, aes.m_eAction);
    EXPECT_EQ(CCipher::eMODE_OFB, aes.m_eMode);
    EXPECT_EQ("sixteen bytes IV", FirstOf(aes.m_auIv, 16));
}

TEST(CAesLayout, GoesOnWithTheKeyScheduleOfTheBlockCipher)
{
    for (const unsigned int uKeySize : {16u, 24u, 32u})
    {
        CAes aes;
        AES_KEY want = {};
        const std::string key = "a key of as many as thirty-two b";
        const std::size_t uUsed = 16 * (uKeySize / 4 + 7);  // bytes of round keys
        ASSERT_EQ(QV_RES_OK,
                  aes.CAes::Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, BytesOf(key), uKeySize, g_auZERO, 16));
        ASSERT_EQ(0, AES_set_encrypt_key(BytesOf(key), static_cast<int>(uKeySize * 8), &want));
        EXPECT_EQ(Hex(want.rd_key, uUsed), Hex(aes.m_key.rd_key, uUsed));
        EXPECT_EQ(want.rounds, aes.m_key.rounds);

        ASSERT_EQ(QV_RES_OK,
                  aes.CAes::Begin(CCipher::eACTION_DECRYPT, CCipher::eMODE_ECB, BytesOf(key), uKeySize, g_auZERO, 16));
        ASSERT_EQ(0, AES_set_decrypt_key(BytesOf(key), static_cast<int>(uKeySize * 8), &want));
        EXPECT_EQ(Hex(want.rd_key, uUsed), Hex(aes.m_key.rd_key, uUsed));
    }
}

TEST(CAesLayout, EndsWithTheStateOfTheMessage)
{
    CAes aes;
    uint8_t auCounter[16];
    std::memset(auCounter, 0xFF, sizeof(auCounter));
    uint8_t auOut[48];
    unsigned int uOut = 0;
    ASSERT_EQ(QV_RES_OK, aes.CAes::Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, g_auKEY, 16, auCounter, 16));
    EXPECT_EQ(Hex(auCounter, 16), Hex(aes.m_auIv, 16));
    EXPECT_EQ(std::vector<unsigned char>(40), BytesAt(aes.m_auPartial, 0, 40)) << "all behind it begins with zeros";

    ASSERT_EQ(QV_RES_OK, aes.CAes::Update(BytesOf("abc"), 3, auOut, &uOut));
    EXPECT_EQ("abc", FirstOf(aes.m_auPartial, 3));
    EXPECT_EQ(3u, aes.m_uPartialCount);
    ASSERT_EQ(QV_RES_OK, aes.CAes::Update(BytesOf("0123456789abcdef"), 16, auOut, &uOut));
    EXPECT_EQ(16u, uOut);
    EXPECT_EQ(Hex(g_auZERO, 16), Hex(aes.m_auIv, 16)) << "the counter wraps in all its bytes";
    EXPECT_EQ("def", FirstOf(aes.m_auPartial, 3));

    ASSERT_EQ(QV_RES_OK, aes.CAes::End(auOut, &uOut));
    uint8_t auEncrypted[16];
    AES_encrypt(g_auZERO, auEncrypted, &aes.m_key);
    EXPECT_EQ(3u, uOut);
    EXPECT_EQ(3u, aes.m_uPosition);
    EXPECT_EQ(Hex(auEncrypted, 16), Hex(aes.m_auEncryptedCounter, 16));
    EXPECT_EQ('d' ^ auEncrypted[0], auOut[0]);
}

TEST(CAesLayout, SupportedModesAreBuiltInPlaceAndInTheirOrder)
{
    ASSERT_EQ(static_cast<const void*>(CAesBremoFwOpenSsl::ms_auModes), CAesBremoFwOpenSsl::ms_pveceModes);
    static_assert(sizeof(CAesBremoFwOpenSsl::ms_auModes) == 56);
    EXPECT_TRUE(HasItsSize(CAesBremoFwOpenSsl::ms_auModes));
    EXPECT_TRUE(HasItsSize(CAesBremoFwOpenSsl::ms_pveceModes));
    const CVector<CCipher::EMode>& rModes = *CAesBremoFwOpenSsl::ms_pveceModes;
    EXPECT_EQ("CVector<CCipher::EMode>::~CVector()", FunctionInSlot(&rModes, 0));
    static_assert(sizeof(CCipher::EMode) == 4);
    EXPECT_EQ(4u, rModes.m_uElementSize);
    ASSERT_EQ(5u, rModes.m_uSize);
    EXPECT_EQ(5u, rModes.m_uCapacity);
    const std::vector<CCipher::EMode> modes{CCipher::eMODE_CBC, CCipher::eMODE_CFB, CCipher::eMODE_ECB,
                                            CCipher::eMODE_OFB, CCipher::eMODE_CTR};
    const auto* const peModes = static_cast<const CCipher::EMode*>(rModes.m_pvStorage);
    EXPECT_EQ(modes, std::vector<CCipher::EMode>(peModes, peModes + 5));
}

TEST(CAesModule, EitherPairBuildsAndDestroysTheSupportedModes)
{
    CAes aes;
    for (const SModuleFunctions& rPair : {SModuleFunctions{InitializeCAesBremoFwOpenSsl, FinalizeCAesBremoFwOpenSsl},
                                          SModuleFunctions{CAesBremoFwOpenSsl::InitializeCAesBremoFwOpenSsl,
                                                           CAesBremoFwOpenSsl::FinalizeCAesBremoFwOpenSsl}})
    {
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CAesBremoFwOpenSsl::ms_pveceModes);
        EXPECT_EQ(nullptr, aes.CAes::GetSupportedModes());
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        ASSERT_NE(nullptr, CAesBremoFwOpenSsl::ms_pveceModes);
        EXPECT_EQ(5u, aes.CAes::GetSupportedModes()->m_uSize);
    }
}

TEST(CCipherSlots, AreTheDestructorsThenTenPureOperationsWhichCAesFillsInTheirOrder)
{
    static_assert(sizeof(CCipher) == 8);
    EXPECT_EQ("--pppppppppp", PureSlots("_ZTV7CCipher"));
    const CAes aes;
    std::vector<std::string> table = CipherSlotsOf("CAes");
    table.insert(table.end(), {"?", "typeinfo for CAes", "non-virtual thunk to CAes::~CAes()",
                               "non-virtual thunk to CAes::~CAes()"});
    EXPECT_EQ(table, TableOf(&aes));
}

TEST(CAes, EncryptsThroughTheInterfaceAndByTheNamesOfEitherClass)
{
    CAes aes;
    CAesBremoFwOpenSsl bremo;
    ExpectToEncrypt(OfUnknownOrigin(static_cast<CCipher&>(aes)));
    ExpectToEncrypt(aes);
    ExpectToEncrypt(static_cast<CAesBremoFwOpenSsl&>(aes));
    ExpectToEncrypt(bremo);
    delete static_cast<CCipher*>(new CAes);
    delete static_cast<CAesBremoFwOpenSsl*>(new CAes);
}

TEST(CAes, BringsTheBlockCiphersOwnFunctionsWithIt)
{
    void* const pvLibrary = dlopen("liborvel_framework.so.1", RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(nullptr, pvLibrary) << dlerror();
    for (const char* const pszName :
         {"AES_set_encrypt_key", "AES_set_decrypt_key", "AES_encrypt", "AES_decrypt", "AES_cbc_encrypt",
          "AES_cfb128_encrypt", "AES_cfb1_encrypt", "AES_cfb8_encrypt", "AES_ecb_encrypt", "AES_ofb128_encrypt"})
    {
        EXPECT_NE(nullptr, dlsym(pvLibrary, pszName)) << pszName;
    }
    dlclose(pvLibrary);
}
