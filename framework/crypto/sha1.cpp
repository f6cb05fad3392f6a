#include "framework/crypto/sha1.h"

#include "framework/crypto/internal/blob_forms.h"
#include "framework/crypto/internal/message_blocks.h"
#include "framework/crypto/internal/sha_blocks.h"
#include "framework/crypto/internal/wiped.h"

static_assert(sizeof(CSha1BremoFw) == 104, "field order and widths are the binary interface");
static_assert(sizeof(CSha1) == 112, "the interface, then the implementation");

CSha1BremoFw::CSha1BremoFw()
{
    Reset();
}

CSha1BremoFw::~CSha1BremoFw() = default;

QvResult CSha1BremoFw::Begin()
{
    Reset();
    return QV_RES_OK;
}

QvResult CSha1BremoFw::Update(const uint8_t* puData, unsigned int uSize)
{
    if (puData == nullptr) return QV_RES_INVALID_ARGUMENT;
    Input(puData, uSize);
    return QV_RES_OK;
}

QvResult CSha1BremoFw::End(uint8_t* puDigest)
{
    if (puDigest == nullptr) return QV_RES_INVALID_ARGUMENT;
    Result(puDigest);
    return QV_RES_OK;
}

QvResult CSha1BremoFw::Update(const CBlob* pblobData)
{
    return orvel_internal::UpdateFromBlob(*this, pblobData);
}

QvResult CSha1BremoFw::End(CBlob* pblobDigest)
{
    return orvel_internal::EndIntoBlob(*this, pblobDigest);
}

unsigned int CSha1BremoFw::GetAlgorithm()
{
    return CHash::eSHA1;
}

unsigned int CSha1BremoFw::GetSizeInBits()
{
    return 160;
}

unsigned int CSha1BremoFw::GetSizeInBytes()
{
    return 20;
}

void CSha1BremoFw::Wipe()
{
    orvel_internal::Wipe(m_auState, sizeof(m_auState));
    orvel_internal::Wipe(m_auBlock, sizeof(m_auBlock));
}

void CSha1BremoFw::Reset()
{
    memcpy(m_auState, orvel_internal::g_auSHA1_START, sizeof(m_auState));
    m_uBlockIndex = 0;
    m_uByteCount = 0;
}

void CSha1BremoFw::Input(const uint8_t* puData, unsigned int uSize)
{
    m_uByteCount += uSize;
    m_uBlockIndex = static_cast<uint8_t>(orvel_internal::FeedBlocks(
        m_auBlock, m_uBlockIndex, puData, uSize,
        [this](const uint8_t* puBlocks, size_t uCount) { orvel_internal::Sha1Blocks(m_auState, puBlocks, uCount); }));
}

void CSha1BremoFw::ProcessMsgBlock()
{
    orvel_internal::Sha1Blocks(m_auState, m_auBlock, 1);
    m_uBlockIndex = 0;
}

void CSha1BremoFw::PadMsg()
{
    // Only the low 32 bits of the byte count are used: kept, and pinned by
    // CSha1Length.TheLengthFieldIsFormedFromTheLow32BitsOfTheByteCount.
    const uint32_t uByteCount = static_cast<uint32_t>(m_uByteCount);
    const uint32_t auBitCount[2] = {uByteCount >> 29, uByteCount << 3};
    uint8_t auLength[8];
    orvel_internal::StoreBigEndian(auLength, auBitCount, 2);
    orvel_internal::PadBlocks(m_auBlock, m_uBlockIndex, 0x80, auLength,
                              [this](const uint8_t*, size_t) { ProcessMsgBlock(); });
}

void CSha1BremoFw::Result(uint8_t* puDigest)
{
    PadMsg();
    orvel_internal::StoreBigEndian(puDigest, m_auState, 5);
}

CSha1::CSha1() = default;

CSha1::~CSha1() = default;
