#include "framework/crypto/crc.h"

#include "framework/crypto/crc_blocks.h"

static_assert(sizeof(CCrc) == 24, "field order and widths are the binary interface");

CCrc::CCrc() : m_eType(eCRC16), m_uRegister(0), m_bActive(false)
{
}

CCrc::~CCrc() = default;

QvResult CCrc::Begin(ECrcType eType)
{
    if (m_bActive) return QV_RES_INVALID_STATE;
    m_uRegister = 0xFFFFFFFF;
    m_eType = eType;
    m_bActive = true;
    return QV_RES_OK;
}

QvResult CCrc::Update(const uint8_t* puData, unsigned int uSize)
{
    if (puData == nullptr) return QV_RES_INVALID_ARGUMENT;
    if (uSize == 0) return QV_RES_OK;
    if (!m_bActive) return QV_RES_INVALID_STATE;
    if (m_eType == eCRC32) m_uRegister = orvel_internal::Crc32Bytes(m_uRegister, puData, uSize);
    else if (m_eType == eCRC16) m_uRegister = orvel_internal::Crc16Bytes(m_uRegister, puData, uSize);
    else return QV_RES_FAIL;
    return QV_RES_OK;
}

QvResult CCrc::Update(CBlob* pblobData)
{
    if (pblobData == nullptr) return QV_RES_INVALID_ARGUMENT;
    return Update(pblobData->GetFirstIndexPtr(), pblobData->GetSize());
}

QvResult CCrc::End(uint16_t* puCrc)
{
    const QvResult res = Leave(eCRC16);
    if (res >= 0) *puCrc = static_cast<uint16_t>(~m_uRegister);
    return res;
}

QvResult CCrc::End(uint32_t* puCrc)
{
    const QvResult res = Leave(eCRC32);
    if (res >= 0) *puCrc = ~m_uRegister;
    return res;
}

QvResult CCrc::Leave(ECrcType eType)
{
    if (!m_bActive) return QV_RES_INVALID_STATE;
    if (m_eType != eType) return QV_RES_INVALID_ARGUMENT;
    m_bActive = false;
    return QV_RES_OK;
}
