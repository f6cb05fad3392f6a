#include "framework/crypto/hmac.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "framework/basic/blob.h"
#include "framework/crypto/sha1.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
// RFC 2202, case 2.
const uint8_t g_auKey[] = {'J', 'e', 'f', 'e'};
const uint8_t g_auData[] = "what do ya want for nothing?";
const uint8_t g_auWanted[20] = {0xef, 0xfc, 0xdf, 0x6a, 0xe5, 0xeb, 0x2f, 0xa2, 0xd2, 0x74,
                                0x16, 0xd5, 0xf1, 0x84, 0xdf, 0x9c, 0x25, 0x9a, 0x7c, 0x79};

/// The calls that public class, implementation class and interface have in common.
template <typename Mac>
void Calls(Mac& rMac)
{
    CHECK(rMac.GetAlgorithm() == 1 && rMac.GetSizeInBits() == 160 && rMac.GetSizeInBytes() == 20);
    CHECK(rMac.Begin(nullptr, 0) == QV_RES_FAIL && rMac.Begin(nullptr) == QV_RES_FAIL && rMac.Begin(NULL) < 0);
    CHECK(rMac.Begin(g_auKey, sizeof g_auKey) == QV_RES_OK);
    CHECK(rMac.Update(nullptr, 1) == QV_RES_FAIL && rMac.Update(nullptr) == QV_RES_FAIL && rMac.Update(0) < 0);
    CHECK(rMac.Update(g_auData, 28) == QV_RES_OK);
    uint8_t auDigest[20];
    CHECK(rMac.End(static_cast<uint8_t*>(nullptr)) == QV_RES_FAIL);
    CHECK(rMac.End(static_cast<CBlob*>(nullptr)) == QV_RES_FAIL);
    CHECK(rMac.End(auDigest) == QV_RES_OK && std::memcmp(auDigest, g_auWanted, 20) == 0);
    const CBlob blobKey(g_auKey, sizeof g_auKey, 0, nullptr);
    const CBlob blobData(g_auData, 28, 0, nullptr);
    CBlob digest(nullptr);
    CHECK(rMac.Begin(&blobKey) == QV_RES_OK && rMac.Update(&blobData) == QV_RES_OK && rMac.End(&digest) == QV_RES_OK);
    CHECK(digest.GetSize() == 20 && std::memcmp(digest.GetFirstIndexPtr(), g_auWanted, 20) == 0);
}

class CMyMac : public CSha1Mac
{
public:
    ~CMyMac() override = default;
    QvResult Begin(const uint8_t* puKey, unsigned int uKeySize) override { return CSha1Mac::Begin(puKey, uKeySize); }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override { return CSha1Mac::Update(puData, uSize); }
    QvResult End(uint8_t* puDigest) override { return CSha1Mac::End(puDigest); }
    QvResult Begin(const CBlob* pblobKey) override { return CSha1Mac::Begin(pblobKey); }
    QvResult Update(const CBlob* pblobData) override { return CSha1Mac::Update(pblobData); }
    QvResult End(CBlob* pblobDigest) override { return CSha1Mac::End(pblobDigest); }
    unsigned int GetAlgorithm() override { return CSha1Mac::GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return CSha1Mac::GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return CSha1Mac::GetSizeInBytes(); }
};

/// The interface filled by somebody else.
class COwnMac : public CHMac
{
public:
    ~COwnMac() override = default;
    QvResult Begin(const uint8_t* puKey, unsigned int uKeySize) override { return m_mac.Begin(puKey, uKeySize); }
    QvResult Update(const uint8_t* puData, unsigned int uSize) override { return m_mac.Update(puData, uSize); }
    QvResult End(uint8_t* puDigest) override { return m_mac.End(puDigest); }
    QvResult Begin(const CBlob* pblobKey) override { return m_mac.Begin(pblobKey); }
    QvResult Update(const CBlob* pblobData) override { return m_mac.Update(pblobData); }
    QvResult End(CBlob* pblobDigest) override { return m_mac.End(pblobDigest); }
    unsigned int GetAlgorithm() override { return m_mac.GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return m_mac.GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return m_mac.GetSizeInBytes(); }

private:
    CSha1MacBremoFw m_mac;
};

void Generic()
{
    Promised<QvResult (CHMacBremoFw::*)(const uint8_t*, unsigned int, CHash*, unsigned int, uint8_t*, uint8_t*)>(
        &CHMacBremoFw::HMacReset);
    Promised<QvResult (CHMacBremoFw::*)(CHash*, unsigned int, uint8_t*, const uint8_t*, uint8_t*)>(
        &CHMacBremoFw::HMacResult);
    CHMacBremoFw generic;
    CSha1 sha1;
    uint8_t auInner[64], auOuter[64], auInnerDigest[64], auDigest[20];
    CHECK(generic.HMacReset(g_auKey, sizeof g_auKey, &sha1, 64, auInner, auOuter) == 0);
    CHECK(sha1.Update(g_auData, 28) == QV_RES_OK);
    const uint8_t* const puOuter = auOuter;
    CHECK(generic.HMacResult(&sha1, 64, auInnerDigest, puOuter, auDigest) == 0);
    CHECK(std::memcmp(auDigest, g_auWanted, 20) == 0);
}
}  // namespace

void HMacClient()
{
    static_assert(std::has_virtual_destructor_v<CHMac> && std::has_virtual_destructor_v<CHMacBremoFw>);
    static_assert(std::is_convertible_v<CSha1MacBremoFw*, CHMacBremoFw*>);
    Promised<QvResult (CHMac::*)(const uint8_t*, unsigned int)>(&CHMac::Begin);
    Promised<QvResult (CHMac::*)(const CBlob*)>(&CHMac::Begin);
    Promised<QvResult (CHMac::*)(uint8_t*)>(&CHMac::End);
    Promised<QvResult (CHMac::*)(CBlob*)>(&CHMac::End);
    Promised<QvResult (CSha1MacBremoFw::*)(const uint8_t*, unsigned int)>(&CSha1MacBremoFw::Begin);
    Promised<QvResult (CSha1MacBremoFw::*)(const uint8_t*, unsigned int)>(&CSha1MacBremoFw::Update);
    Promised<QvResult (CSha1MacBremoFw::*)(const CBlob*)>(&CSha1MacBremoFw::Begin);
    Promised<QvResult (CSha1MacBremoFw::*)(const CBlob*)>(&CSha1MacBremoFw::Update);
    Promised<QvResult (CSha1MacBremoFw::*)(uint8_t*)>(&CSha1MacBremoFw::End);
    Promised<QvResult (CSha1MacBremoFw::*)(CBlob*)>(&CSha1MacBremoFw::End);
    Generic();
    CSha1Mac mac;
    Calls(mac);
    CHMac* const pInterface = &mac;
    Calls(*pInterface);
    CSha1MacBremoFw* const pImplementation = &mac;
    Calls(*pImplementation);
    CSha1MacBremoFw implementation;
    Calls(implementation);
    CMyMac mine;
    Calls(mine);
    COwnMac own;
    Calls(own);
}
