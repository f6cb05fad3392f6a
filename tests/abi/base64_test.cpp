#include <cstdint>

#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/old_cipher.h"
#include "tests/abi/old_string.h"
#include "tests/abi/text_blob.h"
#include "tests/abi/told_size.h"

class CBase64 : public CCipher
{
public:
    CBase64();
    ~CBase64() override;
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

    void Encode(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut);
    QvResult Decode(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut, unsigned int* puOutSize);
    int Position(uint8_t c);

    enum EAlphabet : unsigned int
    {
        eALPHABET_STANDARD,
        eALPHABET_URL_SAFE
    };
    static QvResult ToText(const CBlob& rblob, CString* pstrText, EAlphabet eAlphabet);
    static QvResult FromText(const CString& rText, CBlob* pblob, EAlphabet eAlphabet);
    static QvResult FromText(const char* pszText, CBlob* pblob, EAlphabet eAlphabet);

    EAction m_eDefaultAction;
    EMode m_eDefaultMode;
    EAction m_eAction;
    EMode m_eMode;
    uint8_t m_auGroup[4];
    unsigned int m_uGroupCount;
    unsigned int m_uAlphabet;
};

namespace
{
std::string Text(const uint8_t* puText, unsigned int uSize)
{
    return std::string(reinterpret_cast<const char*>(puText), uSize);
}

/// Drives all ten operations, be it through the interface's slots or by the names of the class's functions.
template <typename Cipher>
void ExpectToEncodeAndDecode(Cipher& rCipher)
{
    EXPECT_EQ(1u, rCipher.GetAlgorithm());
    EXPECT_EQ(0u, rCipher.GetBlockSizeInBits());
    EXPECT_EQ(0u, rCipher.GetBlockSizeInByte());
    EXPECT_EQ(nullptr, rCipher.GetSupportedModes());

    uint8_t auOut[16] = {};
    unsigned int uFirst = 0, uRest = 0;
    EXPECT_EQ(QV_RES_OK, rCipher.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_DEFAULT, nullptr, 0, nullptr, 0));
    EXPECT_EQ(QV_RES_OK, rCipher.Update(BytesOf("fooba"), 5, auOut, &uFirst));
    EXPECT_EQ(QV_RES_OK, rCipher.End(auOut + uFirst, &uRest));
    EXPECT_EQ("Zm9vYmE=", Text(auOut, uFirst + uRest));

    const CTextBlob blobIn("Zm9vYmE="), blobKey("is ignored");
    CTextBlob blobOut("kept, ");
    EXPECT_EQ(QV_RES_OK, rCipher.Begin(CCipher::eACTION_DECRYPT, CCipher::eMODE_DEFAULT, &blobKey, &blobKey));
    EXPECT_EQ(QV_RES_OK, rCipher.Update(&blobIn, &blobOut, true));
    EXPECT_EQ(QV_RES_OK, rCipher.End(&blobOut, true));
    EXPECT_EQ("kept, fooba", blobOut.Text());
}
}  // namespace

TEST(CBase64Layout, HasDefaultsThenCurrentActionAndModeThenGroupThenAlphabet)
{
    static_assert(sizeof(CBase64) == 40);
    EXPECT_EQ(40u, SizeToldByDelete(new CBase64));
    CBase64 base64;
    EXPECT_EQ((std::vector<int>{1, 5, 1, 5}),
              (std::vector<int>{base64.m_eDefaultAction, base64.m_eDefaultMode, base64.m_eAction, base64.m_eMode}));
    EXPECT_EQ(0u, base64.m_uGroupCount + base64.m_uAlphabet);

    uint8_t auOut[8];
    unsigned int uOut = 0;
    base64.m_eDefaultAction = CCipher::eACTION_DECRYPT;
    base64.m_eDefaultMode = CCipher::eMODE_CTR;
    ASSERT_EQ(QV_RES_OK,
              base64.CBase64::Begin(CCipher::eACTION_DEFAULT, CCipher::eMODE_DEFAULT, nullptr, 0, nullptr, 0));
    EXPECT_EQ(CCipher::eACTION_DECRYPT, base64.m_eAction);
    ASSERT_EQ(QV_RES_OK, base64.Update(BytesOf("Zm9"), 3, auOut, &uOut));
    EXPECT_EQ("Zm9", Text(base64.m_auGroup, 3));
    EXPECT_EQ(3u, base64.m_uGroupCount);
}

TEST(CBase64Slots, AreTheInterfacesInItsOrder)
{
    const CBase64 base64;
    std::vector<std::string> table = TableOf(&base64);
    ASSERT_EQ(12u, table.size());
    EXPECT_TRUE(HasSlots(&base64, {"_ZN7CBase6418GetBlockSizeInBitsEv"}, 9));
    EXPECT_TRUE(HasSlots(&base64, {"_ZN7CBase6418GetBlockSizeInByteEv"}, 10));
    table[9] = "CBase64::GetBlockSizeInBits()";
    table[10] = "CBase64::GetBlockSizeInByte()";
    EXPECT_EQ(CipherSlotsOf("CBase64"), table);
}

TEST(CBase64, ConvertsThroughTheInterfaceAndByTheNamesOfItsFunctions)
{
    CBase64 base64;
    ExpectToEncodeAndDecode(OfUnknownOrigin(static_cast<CCipher&>(base64)));
    ExpectToEncodeAndDecode(base64);
}

TEST(CBase64, HelpersFollowTheAlphabet)
{
    CBase64 base64;
    const uint8_t auBytes[3] = {0xFB, 0xFF, 0xFE};
    uint8_t auText[4], auDecoded[3];
    unsigned int uDecoded = 99;
    base64.Encode(auBytes, 3, auText);
    EXPECT_EQ("+//+", Text(auText, 4));
    EXPECT_EQ(62, base64.Position('+'));
    EXPECT_EQ(-1, base64.Position('-'));
    base64.m_uAlphabet = 1;
    base64.Encode(auBytes, 3, auText);
    EXPECT_EQ("-__-", Text(auText, 4));
    EXPECT_EQ(-1, base64.Position('+'));
    EXPECT_EQ(62, base64.Position('-'));
    EXPECT_EQ(QV_RES_OK, base64.Decode(auText, 4, auDecoded, &uDecoded));
    EXPECT_EQ(3u, uDecoded);
    EXPECT_EQ(BytesAt(auBytes, 0, 3), BytesAt(auDecoded, 0, 3));
}

TEST(CBase64, ConvertsAWholeTextAtOnce)
{
    CTextBlob blob("\xFB\xFF\xFE");
    CString strText;
    EXPECT_EQ(QV_RES_OK, CBase64::ToText(blob, &strText, CBase64::eALPHABET_URL_SAFE));
    EXPECT_TRUE(strText == "-__-");
    EXPECT_EQ(QV_RES_OK, CBase64::FromText("Zm9v", &blob, CBase64::eALPHABET_STANDARD));
    EXPECT_EQ("foo", blob.Text());
    EXPECT_EQ(QV_RES_OK, CBase64::FromText(strText, &blob, CBase64::eALPHABET_URL_SAFE));
    EXPECT_EQ("\xFB\xFF\xFE", blob.Text());
}
