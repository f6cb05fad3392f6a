#include "framework/crypto/base64.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "framework/basic/blob.h"
#include "framework/basic/string.h"
#include "framework/basic/vector.h"
#include "framework/crypto/cipher.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
using C = CCipher;
const uint8_t g_auText[] = "foobar";

class CMyBase64 : public CBase64
{
public:
    ~CMyBase64() override = default;
    QvResult Begin(EAction eAction, EMode eMode, const uint8_t* puKey, unsigned int uKeySize, const uint8_t* puIv,
                   unsigned int uIvSize) override
    {
        return CBase64::Begin(eAction, eMode, puKey, uKeySize, puIv, uIvSize);
    }
    QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize) override
    {
        return CBase64::Update(puIn, uInSize, puOut, puOutSize);
    }
    QvResult End(uint8_t* puOut, unsigned int* puOutSize) override { return CBase64::End(puOut, puOutSize); }
    QvResult Begin(EAction eAction, EMode eMode, const CBlob* pblobKey, const CBlob* pblobIv) override
    {
        return CBase64::Begin(eAction, eMode, pblobKey, pblobIv);
    }
    QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend) override
    {
        return CBase64::Update(pblobIn, pblobOut, bAppend);
    }
    QvResult End(CBlob* pblobOut, bool bAppend) override { return CBase64::End(pblobOut, bAppend); }
    unsigned int GetAlgorithm() override { return CBase64::GetAlgorithm(); }
    unsigned int GetBlockSizeInBits() override { return CBase64::GetBlockSizeInBits(); }
    unsigned int GetBlockSizeInByte() override { return CBase64::GetBlockSizeInByte(); }
    const CVector<CCipher::EMode>* GetSupportedModes() override { return CBase64::GetSupportedModes(); }
};

template <typename Cipher>
void Calls(Cipher& rCipher)
{
    CHECK(rCipher.GetAlgorithm() == 1 && rCipher.GetBlockSizeInBits() == 0 && rCipher.GetBlockSizeInByte() == 0);
    CHECK(rCipher.GetSupportedModes() == nullptr);
    CHECK(rCipher.Begin(C::eACTION_DEFAULT, C::eMODE_DEFAULT, nullptr, 0, nullptr, 0) == QV_RES_OK);
    CHECK(rCipher.Begin(C::eACTION_ENCRYPT, C::eMODE_CBC, NULL, 0, 0, 0) == QV_RES_OK);
    CHECK(rCipher.Begin(C::eACTION_ENCRYPT, C::eMODE_CBC, g_auText, 1, nullptr, 0) == QV_RES_INVALID_ARGUMENT);
    uint8_t auOut[16];
    unsigned int uSize = 0;
    CHECK(rCipher.Update(g_auText, 6, nullptr, &uSize) == QV_RES_OK && uSize == 8);
    CHECK(rCipher.Update(g_auText, 4, auOut, &uSize) == QV_RES_OK && uSize == 4);
    CHECK(rCipher.Update(nullptr, 1, auOut, &uSize) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.Update(g_auText, 0, auOut, &uSize) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.Update(g_auText, 1, auOut, nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.End(nullptr, &uSize) == QV_RES_OK && uSize == 4 && rCipher.End(auOut, NULL) < 0);
    CHECK(rCipher.End(auOut + 4, &uSize) == QV_RES_OK && std::memcmp(auOut, "Zm9vYg==", 8) == 0);

    const CBlob text(auOut, 8, 0, nullptr);
    CBlob back(nullptr);
    CHECK(rCipher.Begin(C::eACTION_DECRYPT, C::eMODE_DEFAULT, nullptr, nullptr) == QV_RES_OK);
    CHECK(rCipher.Begin(C::eACTION_DECRYPT, C::eMODE_DEFAULT, &text, &back) == QV_RES_OK);
    CHECK(rCipher.Update(&text, &back, false) == QV_RES_OK && rCipher.End(&back, true) == QV_RES_OK);
    CHECK(back.GetSize() == 4 && std::memcmp(back.GetFirstIndexPtr(), "foob", 4) == 0);
    CHECK(rCipher.Update(nullptr, &back, true) == QV_RES_INVALID_ARGUMENT && rCipher.Update(&text, 0, true) < 0);
    CHECK(rCipher.End(nullptr, true) == QV_RES_INVALID_ARGUMENT);
}
}  // namespace

void Base64Client()
{
    static_assert(std::is_convertible_v<CBase64*, CCipher*>);
    CBase64 base64;
    Calls(base64);
    CCipher* const pInterface = &base64;
    Calls(*pInterface);
    CMyBase64 mine;
    Calls(mine);

    Promised<void (CBase64::*)(const uint8_t*, unsigned int, uint8_t*)>(&CBase64::Encode);
    Promised<QvResult (CBase64::*)(const uint8_t*, unsigned int, uint8_t*, unsigned int*)>(&CBase64::Decode);
    uint8_t auText[8];
    base64.Encode(g_auText, 5, auText);
    CHECK(std::memcmp(auText, "Zm9vYmE=", 8) == 0);
    const uint8_t* const puText = auText;
    uint8_t auBack[6];
    unsigned int uSize = 0;
    CHECK(base64.Decode(puText, 8, auBack, &uSize) == QV_RES_OK && uSize == 5);
    const uint8_t auBad[4] = {'Z', 'm', '=', 'v'};
    CHECK(base64.Decode(auBad, 4, auBack, &uSize) == QV_RES_FAIL && uSize == 0);
    const uint8_t uPlus = '+';
    CHECK(base64.Position(uPlus) == 62 && base64.Position('A') == 0);
    CHECK(static_cast<int>(base64.Position('*')) == -1);

    CBlob blob(g_auText, 6, 0, nullptr);
    CString strText;
    CHECK(CBase64::ToText(blob, &strText) == QV_RES_OK && strText == "Zm9vYmFy");
    CHECK(CBase64::FromText(strText, &blob, CBase64::eALPHABET_URL_SAFE) == QV_RES_OK && blob.GetSize() == 6);
    CHECK(CBase64::FromText("Zm9v", &blob) == QV_RES_OK && blob.GetSize() == 3);
    CHECK(CBase64::FromText("Zm9", &blob) == QV_RES_INVALID_ARGUMENT);
}
