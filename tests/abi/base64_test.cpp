#include <cstdint>

#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/old_cipher.h"
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

QvResult Begin(CCipher& rCipher, CCipher::EAction eAction)
{
    return rCipher.Begin(eAction, CCipher::eMODE_DEFAULT, nullptr, 0, nullptr, 0);
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
    CBase64 base64;
    EXPECT_EQ(CCipher::eACTION_ENCRYPT, base64.m_eDefaultAction);
    EXPECT_EQ(CCipher::eMODE_DEFAULT, base64.m_eDefaultMode);
    EXPECT_EQ(CCipher::eACTION_ENCRYPT, base64.m_eAction);
    EXPECT_EQ(CCipher::eMODE_DEFAULT, base64.m_eMode);
    EXPECT_EQ(0u, base64.m_uGroupCount);
    EXPECT_EQ(0u, base64.m_uAlphabet);

    uint8_t auOut[8];
    unsigned int uOut = 0;
    ASSERT_EQ(QV_RES_OK, Begin(base64, CCipher::eACTION_DECRYPT));
    EXPECT_EQ(CCipher::eACTION_ENCRYPT, base64.m_eDefaultAction);
    EXPECT_EQ(CCipher::eACTION_DECRYPT, base64.m_eAction);
    ASSERT_EQ(QV_RES_OK, base64.Update(BytesOf("Zm9"), 3, auOut, &uOut));
    EXPECT_EQ("Zm9", Text(base64.m_auGroup, 3));
    EXPECT_EQ(3u, base64.m_uGroupCount);

    ASSERT_EQ(QV_RES_OK, Begin(base64, CCipher::eACTION_DEFAULT));
    EXPECT_EQ(CCipher::eACTION_ENCRYPT, base64.m_eAction);
    EXPECT_EQ(0u, base64.m_uGroupCount);
}

TEST(CBase64Layout, FieldsThatAProgramChangesAreTheOnesThatCount)
{
    CBase64 base64;
    base64.m_eDefaultAction = CCipher::eACTION_DECRYPT;
    ASSERT_EQ(QV_RES_OK, Begin(base64, CCipher::eACTION_DEFAULT));
    EXPECT_EQ(CCipher::eACTION_DECRYPT, base64.m_eAction);

    const uint8_t auBytes[3] = {0xFB, 0xFF, 0xFE};
    uint8_t auText[4];
    base64.Encode(auBytes, 3, auText);
    EXPECT_EQ("+//+", Text(auText, 4));
    base64.m_uAlphabet = 1;
    base64.Encode(auBytes, 3, auText);
    EXPECT_EQ("-__-", Text(auText, 4));
}

TEST(CBase64Layout, SizeIsForty)
{
    static_assert(sizeof(CBase64) == 40);
    EXPECT_EQ(40u, SizeToldByDelete(new CBase64));
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

TEST(CBase64, ConvertsThroughTheInterface)
{
    CBase64 base64;
    ExpectToEncodeAndDecode(OfUnknownOrigin(static_cast<CCipher&>(base64)));
}

TEST(CBase64, ConvertsByTheNamesOfItsFunctions)
{
    CBase64 base64;
    ExpectToEncodeAndDecode(base64);
}

TEST(CBase64, EncodeAndDecodeConvertWholeTexts)
{
    CBase64 base64;
    uint8_t auText[4], auBytes[3];
    unsigned int uBytes = 99;
    base64.Encode(BytesOf("f"), 1, auText);
    EXPECT_EQ("Zg==", Text(auText, 4));
    EXPECT_EQ(QV_RES_OK, base64.Decode(BytesOf("Zm8="), 4, auBytes, &uBytes));
    EXPECT_EQ("fo", Text(auBytes, uBytes));
    EXPECT_EQ(QV_RES_FAIL, base64.Decode(BytesOf("*m8="), 4, auBytes, &uBytes));
    EXPECT_EQ(0u, uBytes);
}

TEST(CBase64, PositionDependsOnTheAlphabet)
{
    struct SCase
    {
        uint8_t c;
        int anPosition[3];  // with the selectors 0, 1 and 2
    };
    const SCase as[] = {{'A', {0, 0, 0}},    {'z', {51, 51, 51}}, {'9', {61, 61, 61}},
                        {'+', {62, -1, -1}}, {'/', {63, -1, -1}}, {'-', {-1, 62, -1}},
                        {'_', {-1, 63, -1}}, {'=', {-1, -1, -1}}, {0xFF, {-1, -1, -1}}};
    CBase64 base64;
    for (const SCase& rCase : as)
    {
        for (unsigned int uAlphabet = 0; uAlphabet < 3; ++uAlphabet)
        {
            base64.m_uAlphabet = uAlphabet;
            EXPECT_EQ(rCase.anPosition[uAlphabet], base64.Position(rCase.c)) << rCase.c << " in " << uAlphabet;
        }
    }
}
