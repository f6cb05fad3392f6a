#include "framework/crypto/crypto.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "framework/basic/blob.h"
#include "framework/crypto/hash.h"
#include "framework/kernel/result.h"
#include "framework/kernel/singleton.h"
#include "tests/clients/client.h"

namespace
{
/// A digest of an application: the sum of the bytes.
class CSum : public CHash
{
public:
    ~CSum() override = default;
    QvResult Begin() override
    {
        m_uSum = 0;
        return QV_RES_OK;
    }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        for (unsigned int uIndex = 0; uIndex < uSize; ++uIndex) m_uSum = static_cast<uint8_t>(m_uSum + puData[uIndex]);
        return QV_RES_OK;
    }
    QvResult End(uint8_t* puDigest) override
    {
        *puDigest = m_uSum;
        return QV_RES_OK;
    }
    QvResult Update(const CBlob* pblobData) override
    {
        return Update(pblobData->GetFirstIndexPtr(), pblobData->GetSize());
    }
    QvResult End(CBlob* pblobDigest) override { return pblobDigest->Append(&m_uSum, 1); }
    unsigned int GetAlgorithm() override { return 99; }
    unsigned int GetSizeInBits() override { return 8; }
    unsigned int GetSizeInBytes() override { return 1; }

private:
    uint8_t m_uSum = 0;
};
}  // namespace

void CryptoClient()
{
    static_assert(std::is_base_of_v<CSingleton<CCrypto>, CCrypto> && std::has_virtual_destructor_v<CHash>);
    static_assert(std::is_convertible_v<CCrypto*, CSingletonBase*>);
    Promised<QvResult (*)()>(&CCrypto::InitializeCCrypto);
    Promised<void (*)()>(&CCrypto::FinalizeCCrypto);
    Promised<QvResult (*)()>(&InitializeCCrypto);
    Promised<void (*)()>(&FinalizeCCrypto);

    CCrypto* const pCrypto = CSingleton<CCrypto>::Instance();
    pCrypto->Enter();
    pCrypto->Exit();
    CCrypto another;
    another.Enter();
    another.Exit();
    FinalizeCCrypto();
    CHECK(CSingleton<CCrypto>::ms_pInstance == nullptr);
    CHECK(InitializeCCrypto() == QV_RES_OK && CSingleton<CCrypto>::ms_pInstance != nullptr);

    CSum sum;
    CHash* const pHash = &sum;
    const uint8_t auData[3] = {1, 2, 3};
    uint8_t uDigest = 0;
    CHECK(pHash->Begin() == QV_RES_OK && pHash->Update(auData, 3) == QV_RES_OK && pHash->End(&uDigest) == QV_RES_OK);
    const CBlob data(auData, 3, 0, nullptr);
    CBlob digest(nullptr);
    CHECK(pHash->Update(&data) == QV_RES_OK && pHash->End(&digest) == QV_RES_OK && uDigest == 6);
    CHECK(pHash->GetAlgorithm() == 99 && pHash->GetSizeInBits() == 8 && pHash->GetSizeInBytes() == 1);
}
