#include "framework/crypto/hash.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "framework/basic/blob.h"
#include "framework/crypto/md5.h"
#include "framework/crypto/sha1.h"
#include "framework/crypto/sha256.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
/// The calls that public class, implementation class and interface have in common.
template <typename Digest>
void Calls(Digest& rDigest, unsigned int uAlgorithm, unsigned int uSize)
{
    CHECK(rDigest.GetAlgorithm() == uAlgorithm && rDigest.GetSizeInBytes() == uSize);
    CHECK(rDigest.GetSizeInBits() == 8 * uSize && rDigest.Begin() == 0);
    const uint8_t auData[3] = {'a', 'b', 'c'};
    CHECK(rDigest.Update(auData, 1) == QV_RES_OK && rDigest.Update(auData, 0) == QV_RES_OK);
    CHECK(rDigest.Update(nullptr, 1) == QV_RES_INVALID_ARGUMENT && rDigest.Update(NULL, 0) == QV_RES_INVALID_ARGUMENT);
    const CBlob blobData(auData + 1, 2, 0, nullptr);
    CHECK(rDigest.Update(&blobData) == QV_RES_OK && rDigest.Update(nullptr) == QV_RES_FAIL);
    CHECK(rDigest.Update(0) == QV_RES_FAIL && rDigest.Update(NULL) == QV_RES_FAIL);
    uint8_t auDigest[32];
    CHECK(rDigest.End(static_cast<uint8_t*>(nullptr)) == QV_RES_INVALID_ARGUMENT);
    CHECK(rDigest.End(static_cast<CBlob*>(nullptr)) == QV_RES_FAIL && rDigest.End(auDigest) == QV_RES_OK);
    CBlob digest(nullptr);
    CHECK(rDigest.Begin() == QV_RES_OK && rDigest.Update(auData, 3) == QV_RES_OK && rDigest.End(&digest) == QV_RES_OK);
    CHECK(digest.GetSize() == uSize && std::memcmp(digest.GetFirstIndexPtr(), auDigest, uSize) == 0);
}

template <typename Class, typename Implementation>
void Digest(unsigned int uAlgorithm, unsigned int uSize)
{
    static_assert(std::has_virtual_destructor_v<Implementation> && std::is_convertible_v<Class*, Implementation*>);
    Promised<QvResult (Implementation::*)()>(&Implementation::Begin);
    Promised<QvResult (Implementation::*)(const uint8_t*, unsigned int)>(&Implementation::Update);
    Promised<QvResult (Implementation::*)(uint8_t*)>(&Implementation::End);
    Promised<QvResult (Implementation::*)(const CBlob*)>(&Implementation::Update);
    Promised<QvResult (Implementation::*)(CBlob*)>(&Implementation::End);
    Class digest;
    Calls(digest, uAlgorithm, uSize);
    CHash* const pInterface = &digest;
    Calls(*pInterface, uAlgorithm, uSize);
    Implementation* const pImplementation = &digest;
    Calls(*pImplementation, uAlgorithm, uSize);
    Implementation implementation;
    Calls(implementation, uAlgorithm, uSize);
}

class CMySha256 : public CSha256
{
public:
    ~CMySha256() override = default;
    QvResult Begin() override { return CSha256::Begin(); }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override { return CSha256::Update(puData, uSize); }
    QvResult End(uint8_t* puDigest) override { return CSha256::End(puDigest); }
    QvResult Update(const CBlob* pblobData) override { return CSha256::Update(pblobData); }
    QvResult End(CBlob* pblobDigest) override { return CSha256::End(pblobDigest); }
    unsigned int GetAlgorithm() override { return CSha256::GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return CSha256::GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return CSha256::GetSizeInBytes(); }
};
}  // namespace

void HashClient()
{
    Promised<QvResult (CHash::*)()>(&CHash::Begin);
    Promised<QvResult (CHash::*)(const uint8_t*, unsigned int)>(&CHash::Update);
    Promised<QvResult (CHash::*)(uint8_t*)>(&CHash::End);
    Promised<QvResult (CHash::*)(const CBlob*)>(&CHash::Update);
    Promised<QvResult (CHash::*)(CBlob*)>(&CHash::End);
    Digest<CMd5, CMd5BremoFw>(0, 16);
    Digest<CSha1, CSha1BremoFw>(1, 20);
    Digest<CSha256, CSha256BremoFw>(2, 32);
    CMySha256 mine;
    Calls(mine, 2, 32);
    const uint8_t uByte = 0;
    CHECK(mine.Update(&uByte, 1) == QV_RES_INVALID_STATE);
}
