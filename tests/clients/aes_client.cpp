#include "framework/crypto/aes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "framework/basic/blob.h"
#include "framework/basic/vector.h"
#include "framework/crypto/cipher.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
using C = CCipher;
const uint8_t g_auKey[32] = {1, 2, 3};
const uint8_t g_auIv[16] = {4, 5, 6};
const uint8_t g_auData[17] = {7, 8, 9};

/// The calls that public class, implementation class and interface have in common.
template <typename Cipher>
void Calls(Cipher& rCipher)
{
    CHECK(rCipher.GetAlgorithm() == 0 && rCipher.GetBlockSizeInBits() == 128 && rCipher.GetBlockSizeInByte() == 16);
    const CVector<CCipher::EMode>* const pModes = rCipher.GetSupportedModes();
    CHECK(pModes != nullptr && pModes->GetSize() == 5);

    CHECK(rCipher.Begin(C::eACTION_DEFAULT, C::eMODE_DEFAULT, nullptr, 0, nullptr, 0) == QV_RES_FAIL);
    CHECK(rCipher.Begin(C::eACTION_ENCRYPT, C::eMODE_CTR, NULL, 0, 0, 0) == QV_RES_FAIL);
    CHECK(rCipher.Begin(C::eACTION_ENCRYPT, C::eMODE_CTR, g_auKey, 32, g_auIv, 16) == QV_RES_OK);
    uint8_t auOut[32];
    unsigned int uSize = 0;
    CHECK(rCipher.Update(g_auData, 17, auOut, &uSize) == QV_RES_OK && uSize == 16);
    CHECK(rCipher.Update(nullptr, 1, auOut, &uSize) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.Update(g_auData, 1, NULL, &uSize) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.Update(g_auData, 1, auOut, 0) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.End(nullptr, nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.End(auOut + 16, &uSize) == QV_RES_OK && uSize == 1);

    const CBlob blobKey(g_auKey, 32, 0, nullptr);
    const CBlob blobIv(g_auIv, 16, 0, nullptr);
    const CBlob blobIn(auOut, 17, 0, nullptr);
    CBlob blobOut(nullptr);
    CHECK(rCipher.Begin(C::eACTION_DECRYPT, C::eMODE_CTR, nullptr, nullptr) == QV_RES_FAIL);
    CHECK(rCipher.Begin(C::eACTION_DECRYPT, C::eMODE_CTR, &blobKey, &blobIv) == QV_RES_OK);
    CHECK(rCipher.Update(&blobIn, &blobOut, false) == QV_RES_OK && rCipher.End(&blobOut, true) == QV_RES_OK);
    CHECK(blobOut.GetSize() == 17 && std::memcmp(blobOut.GetFirstIndexPtr(), g_auData, 17) == 0);
    CHECK(rCipher.Update(nullptr, &blobOut, true) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.Update(&blobIn, NULL, true) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.End(nullptr, false) == QV_RES_INVALID_ARGUMENT);
}

template <typename Cipher>
void Defaults(Cipher& rCipher)
{
    CHECK(rCipher.SetDefaultKey(nullptr, 16) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.SetDefaultKey(g_auKey, 33) == QV_RES_INVALID_ARGUMENT);
    CHECK(rCipher.SetDefaultIV(nullptr, 16) == QV_RES_INVALID_ARGUMENT && rCipher.SetDefaultIV(g_auIv, 15) < 0);
    CHECK(rCipher.SetDefaultKey(g_auKey, 16) == QV_RES_OK && rCipher.SetDefaultIV(g_auIv, 16) == QV_RES_OK);
    CHECK(rCipher.Begin(C::eACTION_ENCRYPT, C::eMODE_CBC, nullptr, 0, nullptr, 0) == QV_RES_OK);
    CHECK(rCipher.Begin(C::eACTION_ENCRYPT, C::eMODE_CBC, nullptr, nullptr) == QV_RES_OK);
    uint8_t auOut[32];
    unsigned int uSize = 0;
    CHECK(rCipher.Update(g_auData, 17, auOut, &uSize) == QV_RES_OK &&
          rCipher.End(auOut, &uSize) == QV_RES_INVALID_STATE);
    CHECK(rCipher.SetDefaultKey(nullptr, 0) == QV_RES_OK && rCipher.SetDefaultKey(NULL, 0) == QV_RES_OK);
}

class CMyAes : public CAes
{
public:
    ~CMyAes() override = default;
    QvResult Begin(EAction eAction, EMode eMode, const uint8_t* puKey, unsigned int uKeySize, const uint8_t* puIv,
                   unsigned int uIvSize) override
    {
        return CAes::Begin(eAction, eMode, puKey, uKeySize, puIv, uIvSize);
    }
    QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize) override
    {
        return CAes::Update(puIn, uInSize, puOut, puOutSize);
    }
    QvResult End(uint8_t* puOut, unsigned int* puOutSize) override { return CAes::End(puOut, puOutSize); }
    QvResult Begin(EAction eAction, EMode eMode, const CBlob* pblobKey, const CBlob* pblobIv) override
    {
        return CAes::Begin(eAction, eMode, pblobKey, pblobIv);
    }
    QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend) override
    {
        return CAes::Update(pblobIn, pblobOut, bAppend);
    }
    QvResult End(CBlob* pblobOut, bool bAppend) override { return CAes::End(pblobOut, bAppend); }
    unsigned int GetAlgorithm() override { return CAes::GetAlgorithm(); }
    unsigned int GetBlockSizeInBits() override { return CAes::GetBlockSizeInBits(); }
    unsigned int GetBlockSizeInByte() override { return CAes::GetBlockSizeInByte(); }
    const CVector<CCipher::EMode>* GetSupportedModes() override { return CAes::GetSupportedModes(); }

    static void Internals()
    {
        static_assert(std::is_same_v<decltype(ms_pveceModes), CVector<CCipher::EMode>*>);
        CHECK(static_cast<void*>(ms_pveceModes) == static_cast<void*>(ms_auModes));
        const CCipher::EMode aeWanted[] = {C::eMODE_CBC, C::eMODE_CFB, C::eMODE_ECB, C::eMODE_OFB, C::eMODE_CTR};
        for (unsigned int uIndex = 0; uIndex < 5; ++uIndex) CHECK(*ms_pveceModes->GetAt(uIndex) == aeWanted[uIndex]);
    }
};
/// The interface filled by somebody else.
class COwnCipher : public CCipher
{
public:
    ~COwnCipher() override = default;
    QvResult Begin(EAction eAction, EMode eMode, const uint8_t* puKey, unsigned int uKeySize, const uint8_t* puIv,
                   unsigned int uIvSize) override
    {
        return m_aes.Begin(eAction, eMode, puKey, uKeySize, puIv, uIvSize);
    }
    QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize) override
    {
        return m_aes.Update(puIn, uInSize, puOut, puOutSize);
    }
    QvResult End(uint8_t* puOut, unsigned int* puOutSize) override { return m_aes.End(puOut, puOutSize); }
    QvResult Begin(EAction eAction, EMode eMode, const CBlob* pblobKey, const CBlob* pblobIv) override
    {
        return m_aes.Begin(eAction, eMode, pblobKey, pblobIv);
    }
    QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend) override
    {
        return m_aes.Update(pblobIn, pblobOut, bAppend);
    }
    QvResult End(CBlob* pblobOut, bool bAppend) override { return m_aes.End(pblobOut, bAppend); }
    unsigned int GetAlgorithm() override { return m_aes.GetAlgorithm(); }
    unsigned int GetBlockSizeInBits() override { return m_aes.GetBlockSizeInBits(); }
    unsigned int GetBlockSizeInByte() override { return m_aes.GetBlockSizeInByte(); }
    const CVector<CCipher::EMode>* GetSupportedModes() override { return m_aes.GetSupportedModes(); }

private:
    CAesBremoFwOpenSsl m_aes;
};
}  // namespace

void AesClient()
{
    static_assert(C::eACTION_DECRYPT == 0 && C::eACTION_ENCRYPT == 1 && C::eACTION_DEFAULT == 2);
    static_assert(C::eMODE_CBC == 0 && C::eMODE_CFB == 1 && C::eMODE_CTR == 2 && C::eMODE_ECB == 3);
    static_assert(C::eMODE_OFB == 4 && C::eMODE_DEFAULT == 5 && std::has_virtual_destructor_v<CCipher>);
    static_assert(std::has_virtual_destructor_v<CAesBremoFwOpenSsl>);
    Promised<QvResult (CAesBremoFwOpenSsl::*)(const uint8_t*, unsigned int)>(&CAesBremoFwOpenSsl::SetDefaultKey);
    Promised<QvResult (CAesBremoFwOpenSsl::*)(const uint8_t*, unsigned int)>(&CAesBremoFwOpenSsl::SetDefaultIV);
    using A = CAesBremoFwOpenSsl;
    Promised<QvResult (A::*)(C::EAction, C::EMode, const uint8_t*, unsigned int, const uint8_t*, unsigned int)>(
        &A::Begin);
    Promised<QvResult (A::*)(const uint8_t*, unsigned int, uint8_t*, unsigned int*)>(&A::Update);
    Promised<QvResult (A::*)(uint8_t*, unsigned int*)>(&A::End);
    Promised<QvResult (A::*)(C::EAction, C::EMode, const CBlob*, const CBlob*)>(&A::Begin);
    Promised<QvResult (A::*)(const CBlob*, CBlob*, bool)>(&A::Update);
    Promised<QvResult (A::*)(CBlob*, bool)>(&A::End);
    Promised<QvResult (*)()>(&CAesBremoFwOpenSsl::InitializeCAesBremoFwOpenSsl);
    Promised<void (*)()>(&CAesBremoFwOpenSsl::FinalizeCAesBremoFwOpenSsl);
    Promised<QvResult (*)()>(&InitializeCAesBremoFwOpenSsl);
    Promised<void (*)()>(&FinalizeCAesBremoFwOpenSsl);

    CAes aes;
    Calls(aes);
    CCipher* const pInterface = &aes;
    Calls(*pInterface);
    CAesBremoFwOpenSsl* const pImplementation = &aes;
    Calls(*pImplementation);
    Defaults(*pImplementation);
    Defaults(aes);
    CMyAes mine;
    Calls(mine);
    CMyAes::Internals();
    COwnCipher own;
    Calls(own);
    CHECK(aes.GetSupportedModes() == mine.GetSupportedModes());
    FinalizeCAesBremoFwOpenSsl();
    CHECK(aes.GetSupportedModes() == nullptr && InitializeCAesBremoFwOpenSsl() == QV_RES_OK);
}
