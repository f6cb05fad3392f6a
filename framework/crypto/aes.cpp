// Update() collects less than a block in m_auPartial and gives Transform() whole blocks; End() gives it the rest, in
// the stream modes only. For each call Transform() takes the processor's instructions or libcrypto. Both leave the same
// state, so a message may go by both: libcrypto does the calls whose output begins inside the input,
// and all calls on a processor without these instructions.
// ```
//                    CBC               CFB                       OFB               CTR                ECB
//   m_auIv           last ciphertext   key stream, ciphertext    key stream        next counter       unused
//                    block             over what was used        block
//   m_auKeyStream    unused            unused                    unused            key stream block   unused
//   m_uKeyStreamAt   0                 next unused byte of the key stream block; 0: none is left      0
// ```
// The schedule is a libcrypto AES_KEY for both.
#include "framework/crypto/aes.h"

#include <limits.h>
#include <string.h>

#include <algorithm>
#include <iterator>
#include <new>

// The AES interface, on which this class is built, is deprecated since OpenSSL 3.0. Without the macro every call warns.
#define OPENSSL_API_COMPAT 10101
#include <openssl/aes.h>
#include <openssl/modes.h>

#include "framework/crypto/internal/aes_blocks.h"
#include "framework/crypto/internal/blob_forms.h"

static_assert(sizeof(AES_KEY) == 244 && alignof(AES_KEY) == 4, "the schedule's place is part of the binary interface");
static_assert(sizeof(CAesBremoFwOpenSsl) == 376, "field order and widths are the binary interface");
static_assert(sizeof(CAes) == 384, "the interface, then the implementation");

alignas(CVector<CCipher::EMode>) unsigned char CAesBremoFwOpenSsl::ms_auModes[sizeof(CVector<CCipher::EMode>)];
CVector<CCipher::EMode>* CAesBremoFwOpenSsl::ms_pveceModes = nullptr;

namespace
{
// In the order in which GetSupportedModes() returns them.
constexpr CCipher::EMode g_aeMODES[] = {CCipher::eMODE_CBC, CCipher::eMODE_CFB, CCipher::eMODE_ECB, CCipher::eMODE_OFB,
                                        CCipher::eMODE_CTR};

AES_KEY& ScheduleIn(unsigned char* puSchedule)
{
    return *std::launder(reinterpret_cast<AES_KEY*>(puSchedule));
}

// Every key has rounds, so 0 rounds mean that there is no key.
bool HasKey(unsigned char* puSchedule)
{
    return ScheduleIn(puSchedule).rounds != 0;
}

bool IsAesKeySize(unsigned int uSize)
{
    return uSize == 16 || uSize == 24 || uSize == 32;
}

// These modes make a key stream. So their messages may have any size, and the block cipher only encrypts, whatever the
// action.
bool IsStreamMode(CCipher::EMode eMode)
{
    return eMode == CCipher::eMODE_CFB || eMode == CCipher::eMODE_CTR || eMode == CCipher::eMODE_OFB;
}

// Whether no block of the output overwrites the input of a later block, so that several blocks may be worked on at
// once. An output that begins in front of the input does not: the difference wraps then, and is large.
bool IsLaterInputKept(const uint8_t* puIn, unsigned int uSize, const uint8_t* puOut)
{
    const uintptr_t uAhead = reinterpret_cast<uintptr_t>(puOut) - reinterpret_cast<uintptr_t>(puIn);
    return uAhead == 0 || uAhead >= uSize;
}

orvel_internal::SAesKey RoundKeysIn(unsigned char* puSchedule)
{
    AES_KEY& rSchedule = ScheduleIn(puSchedule);
    return {reinterpret_cast<const uint8_t*>(rSchedule.rd_key), static_cast<unsigned int>(rSchedule.rounds)};
}

const uint8_t* BytesOf(const CBlob* pblob)
{
    return pblob != nullptr ? pblob->GetFirstIndexPtr() : nullptr;
}

unsigned int SizeOf(const CBlob* pblob)
{
    return pblob != nullptr ? pblob->GetSize() : 0;
}
}  // namespace

CAesBremoFwOpenSsl::CAesBremoFwOpenSsl()
    : m_eDefaultAction(CCipher::eACTION_DEFAULT),
      m_eDefaultMode(CCipher::eMODE_DEFAULT),
      m_auDefaultKey(),
      m_uDefaultKeySize(0),
      m_auDefaultIv(),
      m_eAction(CCipher::eACTION_DEFAULT),
      m_eMode(CCipher::eMODE_DEFAULT),
      m_auSchedule(),
      m_auIv(),
      m_auPartial(),
      m_uPartialSize(0),
      m_uKeyStreamAt(0),
      m_auKeyStream()
{
    new (m_auSchedule) AES_KEY();
}

CAesBremoFwOpenSsl::~CAesBremoFwOpenSsl() = default;

QvResult CAesBremoFwOpenSsl::SetDefaultKey(const uint8_t* puKey, unsigned int uKeySize)
{
    if ((puKey == nullptr && uKeySize != 0) || uKeySize > sizeof(m_auDefaultKey)) return QV_RES_INVALID_ARGUMENT;
    if (puKey == nullptr) memset(m_auDefaultKey, 0, sizeof(m_auDefaultKey));
    else memcpy(m_auDefaultKey, puKey, uKeySize);
    m_uDefaultKeySize = uKeySize;
    return QV_RES_OK;
}

QvResult CAesBremoFwOpenSsl::SetDefaultIV(const uint8_t* puIv, unsigned int uIvSize)
{
    if (puIv == nullptr || uIvSize != sizeof(m_auDefaultIv)) return QV_RES_INVALID_ARGUMENT;
    memcpy(m_auDefaultIv, puIv, sizeof(m_auDefaultIv));
    return QV_RES_OK;
}

QvResult CAesBremoFwOpenSsl::SetDefaultAction(CCipher::EAction eAction)
{
    if (eAction > CCipher::eACTION_DEFAULT) return QV_RES_INVALID_ARGUMENT;
    m_eDefaultAction = eAction;
    return QV_RES_OK;
}

QvResult CAesBremoFwOpenSsl::SetDefaultMode(CCipher::EMode eMode)
{
    if (eMode > CCipher::eMODE_DEFAULT) return QV_RES_INVALID_ARGUMENT;
    m_eDefaultMode = eMode;
    return QV_RES_OK;
}

QvResult CAesBremoFwOpenSsl::Begin(CCipher::EAction eAction, CCipher::EMode eMode, const uint8_t* puKey,
                                   unsigned int uKeySize, const uint8_t* puIv, unsigned int uIvSize)
{
    if (eAction == CCipher::eACTION_DEFAULT) eAction = m_eDefaultAction;
    if (eMode == CCipher::eMODE_DEFAULT) eMode = m_eDefaultMode;
    if (puKey == nullptr && m_uDefaultKeySize != 0)
    {
        puKey = m_auDefaultKey;
        uKeySize = m_uDefaultKeySize;
    }
    if (puIv == nullptr)
    {
        puIv = m_auDefaultIv;
        uIvSize = sizeof(m_auDefaultIv);
    }
    if (eAction >= CCipher::eACTION_DEFAULT || eMode >= CCipher::eMODE_DEFAULT || puKey == nullptr) return QV_RES_FAIL;
    if (uIvSize > sizeof(m_auIv)) return QV_RES_INVALID_ARGUMENT;

    m_eAction = eAction;
    m_eMode = eMode;
    memset(m_auIv, 0, sizeof(m_auIv));
    memcpy(m_auIv, puIv, uIvSize);
    m_uPartialSize = 0;
    memset(m_auPartial, 0, sizeof(m_auPartial));
    m_uKeyStreamAt = 0;
    memset(m_auKeyStream, 0, sizeof(m_auKeyStream));
    return SetKey(puKey, uKeySize);
}

QvResult CAesBremoFwOpenSsl::Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize)
{
    if (puIn == nullptr || puOut == nullptr || puOutSize == nullptr) return QV_RES_INVALID_ARGUMENT;
    if (uint64_t{m_uPartialSize} + uInSize > UINT_MAX) return QV_RES_INVALID_ARGUMENT;
    *puOutSize = 0;
    if (uInSize == 0) return QV_RES_OK;
    if (!HasKey(m_auSchedule)) return QV_RES_INVALID_STATE;

    if (m_uPartialSize != 0)
    {
        const unsigned int uPart = std::min(uInSize, ms_uBLOCK_SIZE - m_uPartialSize);
        memcpy(m_auPartial + m_uPartialSize, puIn, uPart);
        m_uPartialSize += uPart;
        if (m_uPartialSize != ms_uBLOCK_SIZE) return QV_RES_OK;
        Transform(m_auPartial, ms_uBLOCK_SIZE, puOut);
        memset(m_auPartial, 0, sizeof(m_auPartial));
        *puOutSize = ms_uBLOCK_SIZE;
        puIn += uPart;
        uInSize -= uPart;
        puOut += ms_uBLOCK_SIZE;
    }
    const unsigned int uRest = uInSize % ms_uBLOCK_SIZE;
    Transform(puIn, uInSize - uRest, puOut);
    *puOutSize += uInSize - uRest;
    memcpy(m_auPartial, puIn + (uInSize - uRest), uRest);
    m_uPartialSize = uRest;
    return QV_RES_OK;
}

QvResult CAesBremoFwOpenSsl::End(uint8_t* puOut, unsigned int* puOutSize)
{
    if (puOut == nullptr || puOutSize == nullptr) return QV_RES_INVALID_ARGUMENT;
    if (m_uPartialSize != 0 && !IsStreamMode(m_eMode)) return QV_RES_INVALID_STATE;
    Transform(m_auPartial, m_uPartialSize, puOut);
    *puOutSize = m_uPartialSize;
    return QV_RES_OK;
}

QvResult CAesBremoFwOpenSsl::Begin(CCipher::EAction eAction, CCipher::EMode eMode, const CBlob* pblobKey,
                                   const CBlob* pblobIv)
{
    return Begin(eAction, eMode, BytesOf(pblobKey), SizeOf(pblobKey), BytesOf(pblobIv), SizeOf(pblobIv));
}

QvResult CAesBremoFwOpenSsl::Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend)
{
    if (pblobIn == nullptr || pblobOut == nullptr) return QV_RES_INVALID_ARGUMENT;
    const auto Convert = [&](const CBlob& rblobIn)
    {
        const unsigned int uInSize = rblobIn.GetSize();
        return orvel_internal::ProduceIntoBlob(*pblobOut, bAppend, uint64_t{uInSize} + ms_uBLOCK_SIZE,
                                               [&](uint8_t* puOut, unsigned int* puOutSize) {
                                                   return Update(rblobIn.GetFirstIndexPtr(), uInSize, puOut, puOutSize);
                                               });
    };
    return orvel_internal::ConvertBlob(*pblobIn, *pblobOut, bAppend, Convert);
}

QvResult CAesBremoFwOpenSsl::End(CBlob* pblobOut, bool bAppend)
{
    if (pblobOut == nullptr) return QV_RES_INVALID_ARGUMENT;
    return orvel_internal::ProduceIntoBlob(*pblobOut, bAppend, ms_uBLOCK_SIZE,
                                           [&](uint8_t* puOut, unsigned int* puOutSize)
                                           { return End(puOut, puOutSize); });
}

unsigned int CAesBremoFwOpenSsl::GetAlgorithm()
{
    return CCipher::eAES;
}

unsigned int CAesBremoFwOpenSsl::GetBlockSizeInBits()
{
    return 8 * ms_uBLOCK_SIZE;
}

unsigned int CAesBremoFwOpenSsl::GetBlockSizeInByte()
{
    return ms_uBLOCK_SIZE;
}

const CVector<CCipher::EMode>* CAesBremoFwOpenSsl::GetSupportedModes()
{
    return ms_pveceModes;
}

QvResult CAesBremoFwOpenSsl::InitializeCAesBremoFwOpenSsl()
{
    ms_pveceModes = new (ms_auModes) CVector<CCipher::EMode>;
    // Without memory the list is short, as it always has been: the modes work.
    static_cast<void>(ms_pveceModes->ReserveCapacity(std::size(g_aeMODES)));
    for (const CCipher::EMode eMode : g_aeMODES) static_cast<void>(ms_pveceModes->Append(eMode));
    return QV_RES_OK;
}

void CAesBremoFwOpenSsl::FinalizeCAesBremoFwOpenSsl()
{
    ms_pveceModes->~CVector();
    ms_pveceModes = nullptr;
}

// After a refused key there is no key, so that the schedule of an earlier message, perhaps of the other direction, is
// never used.
QvResult CAesBremoFwOpenSsl::SetKey(const uint8_t* puKey, unsigned int uKeySize)
{
    AES_KEY& rSchedule = ScheduleIn(m_auSchedule);
    rSchedule.rounds = 0;
    if (!IsAesKeySize(uKeySize)) return QV_RES_FAIL;
    const int nBits = static_cast<int>(8 * uKeySize);
    const bool bForwards = m_eAction == CCipher::eACTION_ENCRYPT || IsStreamMode(m_eMode);
    if (orvel_internal::IsAesByProcessor())
    {
        uint8_t* const puRoundKeys = reinterpret_cast<uint8_t*>(rSchedule.rd_key);
        rSchedule.rounds = static_cast<int>(orvel_internal::AesExpandKey(puKey, uKeySize, !bForwards, puRoundKeys));
        return QV_RES_OK;
    }
    const int nResult =
        bForwards ? AES_set_encrypt_key(puKey, nBits, &rSchedule) : AES_set_decrypt_key(puKey, nBits, &rSchedule);
    return nResult == 0 ? QV_RES_OK : QV_RES_FAIL;
}

// uSize is a multiple of the block size, or the end of a message in a stream mode.
void CAesBremoFwOpenSsl::Transform(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut)
{
    const bool bByProcessor = orvel_internal::IsAesByProcessor() && IsLaterInputKept(puIn, uSize, puOut);
    if (bByProcessor) TransformByProcessor(puIn, uSize, puOut);
    else TransformByLibcrypto(puIn, uSize, puOut);
}

// In three parts: with what is left of a block of the key stream, by whole blocks, and with the beginning of a new
// block of the key stream.
void CAesBremoFwOpenSsl::TransformByProcessor(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut)
{
    if (m_uKeyStreamAt != 0)
    {
        const unsigned int uPart = std::min(uSize, ms_uBLOCK_SIZE - m_uKeyStreamAt);
        XorKeyStream(puIn, uPart, puOut);
        puIn += uPart;
        puOut += uPart;
        uSize -= uPart;
    }
    const unsigned int uRest = uSize % ms_uBLOCK_SIZE;
    uSize -= uRest;
    if (uSize != 0) TransformBlocksByProcessor(puIn, uSize / ms_uBLOCK_SIZE, puOut);
    if (uRest == 0) return;
    NextKeyStream();
    XorKeyStream(puIn + uSize, uRest, puOut + uSize);
}

void CAesBremoFwOpenSsl::TransformBlocksByProcessor(const uint8_t* puIn, unsigned int uBlocks, uint8_t* puOut)
{
    const orvel_internal::SAesKey stKey = RoundKeysIn(m_auSchedule);
    const bool bEncrypt = m_eAction == CCipher::eACTION_ENCRYPT;
    switch (m_eMode)
    {
        case CCipher::eMODE_CBC:
            (bEncrypt ? orvel_internal::AesCbcEncrypt : orvel_internal::AesCbcDecrypt)(stKey, puIn, uBlocks, puOut,
                                                                                       m_auIv);
            break;
        case CCipher::eMODE_CFB:
            (bEncrypt ? orvel_internal::AesCfbEncrypt : orvel_internal::AesCfbDecrypt)(stKey, puIn, uBlocks, puOut,
                                                                                       m_auIv);
            break;
        case CCipher::eMODE_CTR: orvel_internal::AesCtr(stKey, puIn, uBlocks, puOut, m_auIv, m_auKeyStream); break;
        case CCipher::eMODE_ECB:
            (bEncrypt ? orvel_internal::AesEcbEncrypt : orvel_internal::AesEcbDecrypt)(stKey, puIn, uBlocks, puOut);
            break;
        case CCipher::eMODE_OFB: orvel_internal::AesOfb(stKey, puIn, uBlocks, puOut, m_auIv); break;
        case CCipher::eMODE_DEFAULT: break;
    }
}

// uSize is at most what is left of the block of the key stream. CFB replaces what it has used by the ciphertext.
void CAesBremoFwOpenSsl::XorKeyStream(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut)
{
    uint8_t* const puKeyStream = m_eMode == CCipher::eMODE_CTR ? m_auKeyStream : m_auIv;
    const bool bFeedback = m_eMode == CCipher::eMODE_CFB;
    const bool bEncrypt = m_eAction == CCipher::eACTION_ENCRYPT;
    for (unsigned int u = 0; u < uSize; ++u)
    {
        uint8_t& ruKey = puKeyStream[m_uKeyStreamAt];
        const uint8_t uIn = puIn[u];
        puOut[u] = uIn ^ ruKey;
        if (bFeedback) ruKey = bEncrypt ? puOut[u] : uIn;
        m_uKeyStreamAt = (m_uKeyStreamAt + 1) % ms_uBLOCK_SIZE;
    }
}

void CAesBremoFwOpenSsl::NextKeyStream()
{
    const bool bCounter = m_eMode == CCipher::eMODE_CTR;
    orvel_internal::AesEcbEncrypt(RoundKeysIn(m_auSchedule), m_auIv, 1, bCounter ? m_auKeyStream : m_auIv);
    if (!bCounter) return;
    for (unsigned int u = ms_uBLOCK_SIZE; u-- != 0 && ++m_auIv[u] == 0;) {}
}

void CAesBremoFwOpenSsl::TransformByLibcrypto(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut)
{
    const AES_KEY& rSchedule = ScheduleIn(m_auSchedule);
    const int nDirection = m_eAction == CCipher::eACTION_ENCRYPT ? AES_ENCRYPT : AES_DECRYPT;
    int* const pnKeyStreamAt = reinterpret_cast<int*>(&m_uKeyStreamAt);
    switch (m_eMode)
    {
        case CCipher::eMODE_CBC: AES_cbc_encrypt(puIn, puOut, uSize, &rSchedule, m_auIv, nDirection); break;
        case CCipher::eMODE_CFB:
            AES_cfb128_encrypt(puIn, puOut, uSize, &rSchedule, m_auIv, pnKeyStreamAt, nDirection);
            break;
        case CCipher::eMODE_CTR:
            CRYPTO_ctr128_encrypt(puIn, puOut, uSize, &rSchedule, m_auIv, m_auKeyStream, &m_uKeyStreamAt,
                                  reinterpret_cast<block128_f>(AES_encrypt));
            break;
        case CCipher::eMODE_ECB:
            for (; uSize != 0; puIn += ms_uBLOCK_SIZE, puOut += ms_uBLOCK_SIZE, uSize -= ms_uBLOCK_SIZE)
            {
                AES_ecb_encrypt(puIn, puOut, &rSchedule, nDirection);
            }
            break;
        case CCipher::eMODE_OFB: AES_ofb128_encrypt(puIn, puOut, uSize, &rSchedule, m_auIv, pnKeyStreamAt); break;
        case CCipher::eMODE_DEFAULT: break;
    }
}

CAes::CAes() = default;

CAes::~CAes() = default;

QvResult InitializeCAesBremoFwOpenSsl()
{
    return CAesBremoFwOpenSsl::InitializeCAesBremoFwOpenSsl();
}

void FinalizeCAesBremoFwOpenSsl()
{
    CAesBremoFwOpenSsl::FinalizeCAesBremoFwOpenSsl();
}
