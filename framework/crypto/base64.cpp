#include "framework/crypto/base64.h"

#include <limits.h>
#include <string.h>

#include <algorithm>

#include "framework/basic/internal/write_text.h"
#include "framework/basic/string.h"
#include "framework/crypto/internal/base64_blocks.h"
#include "framework/crypto/internal/blob_forms.h"
#include "framework/kernel/internal/is_within.h"
#include "framework/kernel/internal/keep_stores.h"

static_assert(sizeof(CBase64) == 40, "field order and widths are the binary interface");

namespace
{
constexpr unsigned int g_uBYTE_GROUP = 3;
constexpr unsigned int g_uTEXT_GROUP = 4;
constexpr uint8_t g_uPAD = '=';

// How many trailing "=" say that the last group is short.
unsigned int PaddingOf(uint8_t uBeforeLast, uint8_t uLast)
{
    if (uLast != g_uPAD) return 0;
    return uBeforeLast == g_uPAD ? 2 : 1;
}

// The padded group of 1 or 2 bytes.
void EncodePaddedGroup(const orvel_internal::SBase64Alphabet& rstAlphabet, const uint8_t* puBytes, unsigned int uSize,
                       uint8_t* puOut)
{
    const unsigned int uSecond = uSize == 2 ? puBytes[1] : 0;
    puOut[0] = rstAlphabet.auCharacters[puBytes[0] >> 2];
    puOut[1] = rstAlphabet.auCharacters[(puBytes[0] & 0x03u) << 4 | uSecond >> 4];
    puOut[2] = uSize == 2 ? rstAlphabet.auCharacters[(uSecond & 0x0Fu) << 2] : g_uPAD;
    puOut[3] = g_uPAD;
}

// Copies up to 3 bytes, which is less than a call of memcpy() takes.
void CopyFew(uint8_t* puTo, const uint8_t* puFrom, unsigned int uSize)
{
    if (uSize != 0) puTo[0] = puFrom[0];
    if (uSize > 1) puTo[1] = puFrom[1];
    if (uSize > 2) puTo[2] = puFrom[2];
}

// Decodes the group at which the decoding of many groups stopped; it is valid only if it is padded. Returns the bytes
// written.
unsigned int DecodePaddedGroup(const orvel_internal::SBase64Alphabet& rstAlphabet, const uint8_t* puGroup,
                               uint8_t* puOut)
{
    const unsigned int uPadding = PaddingOf(puGroup[2], puGroup[3]);
    if (uPadding == 0) return 0;
    uint8_t auText[g_uTEXT_GROUP];
    uint8_t auBytes[g_uBYTE_GROUP];
    memcpy(auText, puGroup, g_uTEXT_GROUP);
    auText[3] = rstAlphabet.auCharacters[0];
    if (uPadding == 2) auText[2] = rstAlphabet.auCharacters[0];
    if (orvel_internal::Base64DecodePortable(rstAlphabet, auText, 1, auBytes) == 0) return 0;
    memcpy(puOut, auBytes, g_uBYTE_GROUP - uPadding);
    return g_uBYTE_GROUP - uPadding;
}

// Decodes groups that are what encoding gives, and no other: padding is at the end, and what is beside it is 0. False
// for all others; ruWritten then means nothing.
bool DecodeStrictly(const orvel_internal::SBase64Alphabet& rstAlphabet, const uint8_t* puText, size_t uGroups,
                    uint8_t* puOut, size_t& ruWritten)
{
    const size_t uDone = orvel_internal::Base64Decode(rstAlphabet, puText, uGroups, puOut);
    ruWritten = uDone * g_uBYTE_GROUP;
    if (uDone == uGroups) return true;
    if (uDone + 1 != uGroups) return false;
    const uint8_t* const puGroup = puText + uDone * g_uTEXT_GROUP;
    const unsigned int uLast = DecodePaddedGroup(rstAlphabet, puGroup, puOut + ruWritten);
    if (uLast == 0) return false;
    uint8_t auAgain[g_uTEXT_GROUP];
    EncodePaddedGroup(rstAlphabet, puOut + ruWritten, uLast, auAgain);
    ruWritten += uLast;
    return memcmp(auAgain, puGroup, g_uTEXT_GROUP) == 0;
}

// The bytes come behind those of the blob, and take their place when the whole text has been good.
QvResult BlobFromText(const char* pszText, size_t uSize, CBlob* pblob, unsigned int uAlphabet)
{
    if (pblob == nullptr || uSize % g_uTEXT_GROUP != 0) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uBefore = pblob->GetSize();
    const size_t uRoom = uBefore + uSize / g_uTEXT_GROUP * g_uBYTE_GROUP;
    if (uRoom > UINT_MAX) return QV_RES_OUT_OF_MEMORY;

    const uint8_t* puText = reinterpret_cast<const uint8_t*>(pszText);
    const bool bInBlob = orvel_internal::IsWithin(puText, pblob->begin(), uBefore);
    const ptrdiff_t nFrom = bInBlob ? puText - pblob->begin() : 0;
    if (uRoom > pblob->GetCapacity()) QV_RETURN_IF_FAILED(pblob->ReserveCapacity(static_cast<unsigned int>(uRoom)));
    if (bInBlob) puText = pblob->begin() + nFrom;

    size_t uWritten = 0;
    if (!DecodeStrictly(orvel_internal::Base64AlphabetOf(uAlphabet), puText, uSize / g_uTEXT_GROUP,
                        pblob->begin() + uBefore, uWritten))
        return QV_RES_INVALID_ARGUMENT;
    return pblob->Assign(pblob->begin() + uBefore, static_cast<unsigned int>(uWritten));
}
}  // namespace

CBase64::CBase64()
    : m_eDefaultAction(eACTION_ENCRYPT),
      m_eDefaultMode(eMODE_DEFAULT),
      m_eAction(eACTION_ENCRYPT),
      m_eMode(eMODE_DEFAULT),
      m_auGroup(),
      m_uGroupSize(0),
      m_uAlphabet(eALPHABET_STANDARD)
{
}

CBase64::~CBase64()
{
    m_eDefaultAction = eACTION_ENCRYPT;
    m_eDefaultMode = eMODE_DEFAULT;
    m_eAction = eACTION_ENCRYPT;
    m_eMode = eMODE_DEFAULT;
    m_uGroupSize = 0;
    orvel_internal::KeepStoresTo(this);
}

void CBase64::SetAlphabet(EAlphabet eAlphabet)
{
    m_uAlphabet = eAlphabet;
}

CBase64::EAlphabet CBase64::GetAlphabet() const
{
    return static_cast<EAlphabet>(m_uAlphabet);
}

QvResult CBase64::Begin(EAction eAction, EMode /*eMode*/, const uint8_t* puKey, unsigned int /*uKeySize*/,
                        const uint8_t* puIv, unsigned int /*uIvSize*/)
{
    if (puKey != nullptr || puIv != nullptr) return QV_RES_INVALID_ARGUMENT;
    m_eAction = eAction == eACTION_DEFAULT ? m_eDefaultAction : eAction;
    m_uGroupSize = 0;
    return QV_RES_OK;
}

QvResult CBase64::Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize)
{
    if (puIn == nullptr || uInSize == 0 || puOutSize == nullptr) return QV_RES_INVALID_ARGUMENT;
    if (m_eAction == eACTION_ENCRYPT) return UpdateEncoding(puIn, uInSize, puOut, puOutSize);
    if (m_eAction == eACTION_DECRYPT) return UpdateDecoding(puIn, uInSize, puOut, puOutSize);
    return QV_RES_OK;
}

QvResult CBase64::End(uint8_t* puOut, unsigned int* puOutSize)
{
    if (puOutSize == nullptr) return QV_RES_INVALID_ARGUMENT;
    if (m_eAction == eACTION_ENCRYPT)
    {
        *puOutSize = m_uGroupSize != 0 ? g_uTEXT_GROUP : 0;
        if (puOut == nullptr || m_uGroupSize == 0) return QV_RES_OK;
        EncodePaddedGroup(orvel_internal::Base64AlphabetOf(m_uAlphabet), m_auGroup, m_uGroupSize, puOut);
        m_uGroupSize = 0;
    }
    else if (m_eAction == eACTION_DECRYPT)
    {
        *puOutSize = 0;
        if (m_uGroupSize != 0) return QV_RES_FAIL;
    }
    return QV_RES_OK;
}

QvResult CBase64::Begin(EAction eAction, EMode eMode, const CBlob* /*pblobKey*/, const CBlob* /*pblobIv*/)
{
    return Begin(eAction, eMode, nullptr, 0, nullptr, 0);
}

QvResult CBase64::Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend)
{
    if (pblobIn == nullptr || pblobOut == nullptr) return QV_RES_INVALID_ARGUMENT;
    const auto Convert = [&](const CBlob& rblobIn)
    {
        const unsigned int uInSize = rblobIn.GetSize();
        unsigned int uOutSize = 0;
        const QvResult res = Update(rblobIn.GetFirstIndexPtr(), uInSize, nullptr, &uOutSize);
        if (res < 0) return res;
        return orvel_internal::ProduceIntoBlob(*pblobOut, bAppend, uint64_t{uOutSize} + 1,
                                               [&](uint8_t* puOut, unsigned int* puOutSize) {
                                                   return Update(rblobIn.GetFirstIndexPtr(), uInSize, puOut, puOutSize);
                                               });
    };
    return orvel_internal::ConvertBlob(*pblobIn, *pblobOut, bAppend, Convert);
}

QvResult CBase64::End(CBlob* pblobOut, bool bAppend)
{
    if (pblobOut == nullptr) return QV_RES_INVALID_ARGUMENT;
    unsigned int uOutSize = 0;
    const QvResult res = End(nullptr, &uOutSize);
    if (res < 0) return res;
    return orvel_internal::ProduceIntoBlob(*pblobOut, bAppend, uOutSize,
                                           [&](uint8_t* puOut, unsigned int* puOutSize)
                                           { return uOutSize != 0 ? End(puOut, puOutSize) : QV_RES_OK; });
}

unsigned int CBase64::GetAlgorithm()
{
    return eBASE64;
}

unsigned int CBase64::GetBlockSizeInBits()
{
    return 0;
}

unsigned int CBase64::GetBlockSizeInByte()
{
    return 0;
}

const CVector<CCipher::EMode>* CBase64::GetSupportedModes()
{
    return nullptr;
}

void CBase64::Encode(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut)
{
    const orvel_internal::SBase64Alphabet& rstAlphabet = orvel_internal::Base64AlphabetOf(m_uAlphabet);
    const size_t uGroups = uSize / g_uBYTE_GROUP;
    orvel_internal::Base64Encode(rstAlphabet, puIn, uGroups, puOut);
    const unsigned int uRest = uSize % g_uBYTE_GROUP;
    if (uRest == 0) return;
    EncodePaddedGroup(rstAlphabet, puIn + uGroups * g_uBYTE_GROUP, uRest, puOut + uGroups * g_uTEXT_GROUP);
}

QvResult CBase64::Decode(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut, unsigned int* puOutSize)
{
    const orvel_internal::SBase64Alphabet& rstAlphabet = orvel_internal::Base64AlphabetOf(m_uAlphabet);
    const size_t uGroups = uSize / g_uTEXT_GROUP;
    const size_t uDone = orvel_internal::Base64Decode(rstAlphabet, puIn, uGroups, puOut);
    *puOutSize = static_cast<unsigned int>(uDone * g_uBYTE_GROUP);
    if (uDone == uGroups) return uSize % g_uTEXT_GROUP == 0 ? QV_RES_OK : QV_RES_FAIL;
    const unsigned int uLast =
        DecodePaddedGroup(rstAlphabet, puIn + uDone * g_uTEXT_GROUP, puOut + uDone * g_uBYTE_GROUP);
    *puOutSize += uLast;
    return uLast != 0 ? QV_RES_OK : QV_RES_FAIL;
}

QvResult CBase64::ToText(const CBlob& rblob, CString* pstrText, EAlphabet eAlphabet)
{
    const uint64_t uGroups = (uint64_t{rblob.GetSize()} + g_uBYTE_GROUP - 1) / g_uBYTE_GROUP;
    return orvel_internal::WriteText(pstrText, uGroups * g_uTEXT_GROUP,
                                     [&](char* psz)
                                     {
                                         CBase64 base64;
                                         base64.SetAlphabet(eAlphabet);
                                         base64.Encode(rblob.begin(), rblob.GetSize(), reinterpret_cast<uint8_t*>(psz));
                                     });
}

QvResult CBase64::FromText(const CString& rText, CBlob* pblob, EAlphabet eAlphabet)
{
    return BlobFromText(rText.CStr(), rText.GetSize(), pblob, eAlphabet);
}

QvResult CBase64::FromText(const char* pszText, CBlob* pblob, EAlphabet eAlphabet)
{
    return pszText != nullptr ? BlobFromText(pszText, strlen(pszText), pblob, eAlphabet) : QV_RES_INVALID_ARGUMENT;
}

int CBase64::Position(uint8_t c)
{
    return static_cast<int8_t>(orvel_internal::Base64AlphabetOf(m_uAlphabet).auValues[c]);
}

QvResult CBase64::UpdateEncoding(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize)
{
    if (m_uGroupSize != 0) [[unlikely]]
        return UpdateEncodingBehindRest(puIn, uInSize, puOut, puOutSize);
    const unsigned int uGroups = uInSize / g_uBYTE_GROUP;
    if (uGroups > UINT_MAX / g_uTEXT_GROUP) return QV_RES_INVALID_ARGUMENT;
    *puOutSize = uGroups * g_uTEXT_GROUP;
    if (puOut == nullptr) return QV_RES_OK;
    KeepRest(puIn + size_t{uGroups} * g_uBYTE_GROUP, uInSize - uGroups * g_uBYTE_GROUP);
    orvel_internal::Base64Encode(orvel_internal::Base64AlphabetOf(m_uAlphabet), puIn, uGroups, puOut);
    return QV_RES_OK;
}

// Where the Update() before has left bytes over. Apart, so that all others do without its stack frame.
[[gnu::noinline]] QvResult CBase64::UpdateEncodingBehindRest(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut,
                                                             unsigned int* puOutSize)
{
    const uint64_t uOutSize = (uint64_t{uInSize} + m_uGroupSize) / g_uBYTE_GROUP * g_uTEXT_GROUP;
    if (uOutSize > UINT_MAX) return QV_RES_INVALID_ARGUMENT;
    *puOutSize = static_cast<unsigned int>(uOutSize);
    if (puOut == nullptr) return QV_RES_OK;

    const orvel_internal::SBase64Alphabet& rstAlphabet = orvel_internal::Base64AlphabetOf(m_uAlphabet);
    const unsigned int uTaken = TopUpGroup(puIn, uInSize, g_uBYTE_GROUP);
    puIn += uTaken;
    uInSize -= uTaken;
    if (m_uGroupSize == g_uBYTE_GROUP)
    {
        orvel_internal::Base64EncodePortable(rstAlphabet, m_auGroup, 1, puOut);
        m_uGroupSize = 0;
        puOut += g_uTEXT_GROUP;
    }
    const unsigned int uGroups = uInSize / g_uBYTE_GROUP;
    KeepRest(puIn + size_t{uGroups} * g_uBYTE_GROUP, uInSize - uGroups * g_uBYTE_GROUP);
    orvel_internal::Base64Encode(rstAlphabet, puIn, uGroups, puOut);
    return QV_RES_OK;
}

QvResult CBase64::UpdateDecoding(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize)
{
    if (puOut == nullptr)
    {
        *puOutSize = DecodedSize(puIn, uInSize);
        return QV_RES_OK;
    }
    *puOutSize = 0;
    const unsigned int uTaken = TopUpGroup(puIn, uInSize, g_uTEXT_GROUP);
    puIn += uTaken;
    uInSize -= uTaken;
    if (m_uGroupSize == g_uTEXT_GROUP)
    {
        m_uGroupSize = 0;
        const QvResult res = Decode(m_auGroup, g_uTEXT_GROUP, puOut, puOutSize);
        if (res < 0) return res;
        puOut += *puOutSize;
    }
    const unsigned int uRest = uInSize % g_uTEXT_GROUP;
    unsigned int uWritten = 0;
    const QvResult res = Decode(puIn, uInSize - uRest, puOut, &uWritten);
    *puOutSize += uWritten;
    if (res >= 0) KeepRest(puIn + (uInSize - uRest), uRest);
    return res;
}

unsigned int CBase64::DecodedSize(const uint8_t* puIn, unsigned int uInSize) const
{
    const uint64_t uTextSize = uint64_t{uInSize} + m_uGroupSize;
    // At most 3 * 2^30.
    const unsigned int uSize = static_cast<unsigned int>(uTextSize / g_uTEXT_GROUP) * g_uBYTE_GROUP;
    if (uTextSize % g_uTEXT_GROUP != 0) return uSize;
    const uint8_t uBeforeLast = uInSize > 1 ? puIn[uInSize - 2] : m_auGroup[2];
    return uSize - PaddingOf(uBeforeLast, puIn[uInSize - 1]);
}

// Completes the group that an Update() before has begun, as far as the input goes; returns how much of it went there.
unsigned int CBase64::TopUpGroup(const uint8_t* puIn, unsigned int uInSize, unsigned int uFull)
{
    if (m_uGroupSize == 0) return 0;
    const unsigned int uTaken = std::min(uInSize, uFull - m_uGroupSize);
    CopyFew(m_auGroup + m_uGroupSize, puIn, uTaken);
    m_uGroupSize += uTaken;
    return uTaken;
}

// Nothing is left when the group that was begun took all the input.
void CBase64::KeepRest(const uint8_t* puRest, unsigned int uSize)
{
    if (uSize == 0) return;
    CopyFew(m_auGroup, puRest, uSize);
    m_uGroupSize = uSize;
}
