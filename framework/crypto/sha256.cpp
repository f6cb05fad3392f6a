#include "framework/crypto/sha256.h"

#include "framework/crypto/internal/blob_forms.h"
#include "framework/crypto/internal/message_blocks.h"
#include "framework/crypto/internal/sha_blocks.h"

static_assert(sizeof(CSha256BremoFw) == 120, "field order and widths are the binary interface");
static_assert(sizeof(CSha256) == 128, "the interface, then the implementation");

CSha256BremoFw::CSha256BremoFw()
{
    Reset();
}

CSha256BremoFw::~CSha256BremoFw() = default;

QvResult CSha256BremoFw::Begin()
{
    Reset();
    return QV_RES_OK;
}

QvResult CSha256BremoFw::Update(const uint8_t* puData, unsigned int uSize)
{
    if (puData == nullptr) return QV_RES_INVALID_ARGUMENT;
    return uSize != 0 ? Input(puData, uSize) : QV_RES_OK;
}

QvResult CSha256BremoFw::End(uint8_t* puDigest)
{
    return puDigest != nullptr ? Result(puDigest) : QV_RES_INVALID_ARGUMENT;
}

QvResult CSha256BremoFw::Update(const CBlob* pblobData)
{
    return orvel_internal::UpdateFromBlob(*this, pblobData);
}

QvResult CSha256BremoFw::End(CBlob* pblobDigest)
{
    return orvel_internal::EndIntoBlob(*this, pblobDigest);
}

unsigned int CSha256BremoFw::GetAlgorithm()
{
    return CHash::eSHA256;
}

unsigned int CSha256BremoFw::GetSizeInBits()
{
    return 256;
}

unsigned int CSha256BremoFw::GetSizeInBytes()
{
    return 32;
}

void CSha256BremoFw::Reset()
{
    static constexpr uint32_t auINITIAL[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                              0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    m_uComputed = 0;
    m_uCorrupted = 0;
    m_uBlockIndex = 0;
    SetLength(0);
    memcpy(m_auState, auINITIAL, sizeof(m_auState));
}

QvResult CSha256BremoFw::Input(const uint8_t* puData, unsigned int uSize)
{
    if (m_uComputed != 0) m_uCorrupted = 1;
    if (m_uCorrupted != 0) return QV_RES_INVALID_STATE;

    const uint64_t uLength = GetLength() + uint64_t{uSize} * 8;
    if (uLength >= GetLength())
    {
        SetLength(uLength);
        m_uBlockIndex = static_cast<uint8_t>(
            orvel_internal::FeedBlocks(m_auBlock, m_uBlockIndex, puData, uSize,
                                       [this](const uint8_t* puBlocks, size_t uCount)
                                       { orvel_internal::Sha256Blocks(m_auState, puBlocks, uCount); }));
        return QV_RES_OK;
    }
    // The length wraps within these bytes: they are added one by one, up to the one with which it wraps.
    for (; uSize != 0 && m_uCorrupted == 0; --uSize)
    {
        m_auBlock[m_uBlockIndex++] = *puData++;
        AddLength(8);
        if (m_uBlockIndex == sizeof(m_auBlock) && m_uCorrupted == 0) ProcessMsgBlock();
    }
    return QV_RES_OK;
}

void CSha256BremoFw::AddLength(unsigned int uBits)
{
    const uint64_t uLength = GetLength() + uBits;
    if (uLength < GetLength()) m_uCorrupted = 1;
    SetLength(uLength);
}

void CSha256BremoFw::ProcessMsgBlock()
{
    orvel_internal::Sha256Blocks(m_auState, m_auBlock, 1);
    m_uBlockIndex = 0;
}

void CSha256BremoFw::PadMsg(uint8_t uPadByte)
{
    const uint32_t auBitCount[2] = {m_uLengthHigh, m_uLengthLow};
    uint8_t auLength[8];
    orvel_internal::StoreBigEndian(auLength, auBitCount, 2);
    orvel_internal::PadBlocks(m_auBlock, m_uBlockIndex, uPadByte, auLength,
                              [this](const uint8_t*, size_t) { ProcessMsgBlock(); });
}

void CSha256BremoFw::Finalize(uint8_t uPadByte)
{
    PadMsg(uPadByte);
    memset(m_auBlock, 0, sizeof(m_auBlock));
    SetLength(0);
    m_uComputed = 1;
}

QvResult CSha256BremoFw::Result(uint8_t* puDigest)
{
    if (m_uCorrupted != 0) return QV_RES_INVALID_STATE;
    if (m_uComputed == 0) Finalize(0x80);
    orvel_internal::StoreBigEndian(puDigest, m_auState, 8);
    return QV_RES_OK;
}

uint64_t CSha256BremoFw::GetLength() const
{
    return uint64_t{m_uLengthHigh} << 32 | m_uLengthLow;
}

void CSha256BremoFw::SetLength(uint64_t uBits)
{
    m_uLengthHigh = static_cast<uint32_t>(uBits >> 32);
    m_uLengthLow = static_cast<uint32_t>(uBits);
}

CSha256::CSha256() = default;

CSha256::~CSha256() = default;
