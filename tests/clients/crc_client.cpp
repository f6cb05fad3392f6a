#include "framework/crypto/crc.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "framework/basic/blob.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
const uint8_t g_auText[] = "123456789";

class CMyCrc : public CCrc
{
public:
    ~CMyCrc() override = default;
};
}  // namespace

void CrcClient()
{
    static_assert(std::has_virtual_destructor_v<CCrc> && CCrc::eCRC16 == 0 && CCrc::eCRC32 == 1);
    static_assert(sizeof(CCrc::ECrcType) == 4);
    Promised<QvResult (CCrc::*)(CCrc::ECrcType)>(&CCrc::Begin);
    Promised<QvResult (CCrc::*)(const uint8_t*, unsigned int)>(&CCrc::Update);
    Promised<QvResult (CCrc::*)(CBlob*)>(&CCrc::Update);
    Promised<QvResult (CCrc::*)(uint16_t*)>(&CCrc::End);
    Promised<QvResult (CCrc::*)(uint32_t*)>(&CCrc::End);

    CCrc crc;
    uint16_t uCrc16 = 0;
    uint32_t uCrc32 = 0;
    CHECK(crc.End(&uCrc16) == QV_RES_INVALID_STATE && crc.Update(g_auText, 1) == QV_RES_INVALID_STATE);
    CHECK(crc.Begin(CCrc::eCRC16) == QV_RES_OK && crc.Begin(CCrc::eCRC16) == QV_RES_INVALID_STATE);
    CHECK(crc.Update(g_auText, 9) == QV_RES_OK && crc.End(&uCrc32) == QV_RES_INVALID_ARGUMENT);
    CHECK(crc.Update(nullptr, 1) == QV_RES_INVALID_ARGUMENT && crc.Update(0, 0) == QV_RES_INVALID_ARGUMENT);
    CHECK(crc.Update(nullptr) == QV_RES_INVALID_ARGUMENT && crc.Update(NULL) == QV_RES_INVALID_ARGUMENT);
    CHECK(crc.End(&uCrc16) == QV_RES_OK && uCrc16 == 0x906E);

    CMyCrc mine;
    CCrc* const pBase = &mine;
    CBlob blob(g_auText, 9, 0, nullptr);
    CHECK(pBase->Begin(CCrc::eCRC32) == QV_RES_OK && pBase->Update(&blob) == QV_RES_OK);
    CHECK(pBase->End(&uCrc32) == QV_RES_OK && uCrc32 == 0xCBF43926);
    CHECK(mine.Begin(static_cast<CCrc::ECrcType>(2)) == QV_RES_OK && mine.Update(g_auText, 1) == QV_RES_FAIL);
}
