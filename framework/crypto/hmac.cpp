#include "framework/crypto/hmac.h"

#include "framework/crypto/internal/blob_forms.h"
#include "framework/crypto/internal/short_hmac.h"
#include "framework/crypto/internal/wiped.h"

static_assert(sizeof(CSha1MacBremoFw) == 184, "field order and widths are the binary interface");
static_assert(sizeof(CSha1Mac) == 192, "the interface, then the implementation");

CHMac::~CHMac() = default;

CHMacBremoFw::~CHMacBremoFw() = default;

QvResult CHMacBremoFw::HMacReset(const uint8_t* puKey, unsigned int uKeySize, CHash* pHash, unsigned int uBlockSize,
                                 uint8_t* puInnerPad, uint8_t* puOuterPad)
{
    static_cast<void>(pHash->Begin());
    if (uKeySize <= uBlockSize) memcpy(puInnerPad, puKey, uKeySize);
    else
    {
        static_cast<void>(pHash->Update(puKey, uKeySize));
        static_cast<void>(pHash->End(puInnerPad));
        uKeySize = pHash->GetSizeInBytes();
        static_cast<void>(pHash->Begin());
    }
    memset(puInnerPad + uKeySize, 0, uBlockSize - uKeySize);
    for (unsigned int u = 0; u < uBlockSize; ++u)
    {
        puOuterPad[u] = puInnerPad[u] ^ orvel_internal::g_uHMAC_OUTER_PAD;
        puInnerPad[u] ^= orvel_internal::g_uHMAC_INNER_PAD;
    }
    static_cast<void>(pHash->Update(puInnerPad, uBlockSize));
    return QV_RES_OK;
}

QvResult CHMacBremoFw::HMacResult(CHash* pHash, unsigned int uBlockSize, uint8_t* puInnerDigest,
                                  const uint8_t* puOuterPad, uint8_t* puDigest)
{
    static_cast<void>(pHash->End(puInnerDigest));
    static_cast<void>(pHash->Begin());
    static_cast<void>(pHash->Update(puOuterPad, uBlockSize));
    static_cast<void>(pHash->Update(puInnerDigest, pHash->GetSizeInBytes()));
    static_cast<void>(pHash->End(puDigest));
    return QV_RES_OK;
}

CSha1MacBremoFw::CSha1MacBremoFw()
{
    memset(m_auOuterPad, 0, sizeof(m_auOuterPad));
}

// The outer pad reveals the key, and so does the state of a digest that began with the inner pad.
CSha1MacBremoFw::~CSha1MacBremoFw()
{
    orvel_internal::Wipe(m_auOuterPad, sizeof(m_auOuterPad));
    m_sha1.Wipe();
}

QvResult CSha1MacBremoFw::Begin(const uint8_t* puKey, unsigned int uKeySize)
{
    if (puKey == nullptr) return QV_RES_FAIL;
    orvel_internal::CWiped<uint8_t[ms_uBLOCK_SIZE]> auInnerPad;
    return HMacReset(puKey, uKeySize, &m_sha1, ms_uBLOCK_SIZE, *auInnerPad, m_auOuterPad);
}

QvResult CSha1MacBremoFw::Update(const uint8_t* puData, unsigned int uSize)
{
    return puData != nullptr ? m_sha1.Update(puData, uSize) : QV_RES_FAIL;
}

QvResult CSha1MacBremoFw::End(uint8_t* puDigest)
{
    if (puDigest == nullptr) return QV_RES_FAIL;
    uint8_t auInnerDigest[ms_uBLOCK_SIZE];
    return HMacResult(&m_sha1, ms_uBLOCK_SIZE, auInnerDigest, m_auOuterPad, puDigest);
}

QvResult CSha1MacBremoFw::Begin(const CBlob* pblobKey)
{
    return pblobKey != nullptr ? Begin(pblobKey->GetFirstIndexPtr(), pblobKey->GetSize()) : QV_RES_FAIL;
}

QvResult CSha1MacBremoFw::Update(const CBlob* pblobData)
{
    return orvel_internal::UpdateFromBlob(*this, pblobData);
}

QvResult CSha1MacBremoFw::End(CBlob* pblobDigest)
{
    return orvel_internal::EndIntoBlob(*this, pblobDigest);
}

unsigned int CSha1MacBremoFw::GetAlgorithm()
{
    return m_sha1.GetAlgorithm();
}

unsigned int CSha1MacBremoFw::GetSizeInBits()
{
    return m_sha1.GetSizeInBits();
}

unsigned int CSha1MacBremoFw::GetSizeInBytes()
{
    return m_sha1.GetSizeInBytes();
}

CSha1Mac::CSha1Mac() = default;

CSha1Mac::~CSha1Mac() = default;
