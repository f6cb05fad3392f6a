#ifndef FRAMEWORK_CRYPTO_AES_H
#define FRAMEWORK_CRYPTO_AES_H
#include <stdint.h>

#include "framework/basic/blob.h"
#include "framework/basic/vector.h"
#include "framework/crypto/cipher.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// The state and the work behind CAes: the block cipher by the processor's instructions or libcrypto's AES functions,
/// which leave the same state, and the bytes between two whole blocks.
class QV_EXPORT CAesBremoFwOpenSsl
{
public:
    /// Without a message, a key and other defaults; the initialisation vector is 16 zero bytes.
    CAesBremoFwOpenSsl();
    CAesBremoFwOpenSsl(const CAesBremoFwOpenSsl&) = default;
    CAesBremoFwOpenSsl& operator=(const CAesBremoFwOpenSsl&) = default;
    virtual ~CAesBremoFwOpenSsl();

    /// Sets the key for a Begin() without a key; null with size 0 removes it.
    ///
    /// - `QV_RES_OK`: it is kept; only Begin() checks that it has 16, 24 or 32 bytes.
    /// - `QV_RES_INVALID_ARGUMENT`: puKey is null and uKeySize is not 0, or uKeySize is above 32.
    [[nodiscard]] QvResult SetDefaultKey(const uint8_t* puKey, unsigned int uKeySize);
    /// Sets the initialisation vector for a Begin() without one; 16 zero bytes at first.
    ///
    /// - `QV_RES_OK`: it is kept.
    /// - `QV_RES_INVALID_ARGUMENT`: puIv is null, or uIvSize is not 16.
    [[nodiscard]] QvResult SetDefaultIV(const uint8_t* puIv, unsigned int uIvSize);
    /// Sets what eACTION_DEFAULT stands for. That is nothing at first; setting eACTION_DEFAULT itself restores that.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: no enumerator has that value.
    [[nodiscard]] QvResult SetDefaultAction(CCipher::EAction eAction);
    /// Sets what eMODE_DEFAULT stands for, as SetDefaultAction() does for eACTION_DEFAULT.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: no enumerator has that value.
    [[nodiscard]] QvResult SetDefaultMode(CCipher::EMode eMode);

    /// What CAes says, like Update() and End(). So do GetAlgorithm(), GetBlockSizeInBits(), GetBlockSizeInByte() and
    /// GetSupportedModes().
    [[nodiscard]] QvResult Begin(CCipher::EAction eAction, CCipher::EMode eMode, const uint8_t* puKey,
                                 unsigned int uKeySize, const uint8_t* puIv, unsigned int uIvSize);
    [[nodiscard]] QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut, unsigned int* puOutSize);
    [[nodiscard]] QvResult End(uint8_t* puOut, unsigned int* puOutSize);
    [[nodiscard]] QvResult Begin(CCipher::EAction eAction, CCipher::EMode eMode, const CBlob* pblobKey,
                                 const CBlob* pblobIv);
    [[nodiscard]] QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend);
    [[nodiscard]] QvResult End(CBlob* pblobOut, bool bAppend);
    unsigned int GetAlgorithm();
    unsigned int GetBlockSizeInBits();
    unsigned int GetBlockSizeInByte();
    const CVector<CCipher::EMode>* GetSupportedModes();

    /// Module start-up and shut-down: the table of modes. Start-up returns QV_RES_OK.
    static QvResult InitializeCAesBremoFwOpenSsl();
    static void FinalizeCAesBremoFwOpenSsl();

protected:
    static constexpr unsigned int ms_uBLOCK_SIZE = 16;
    static constexpr unsigned int ms_uMAX_KEY_SIZE = 32;
    /// The size of libcrypto's AES_KEY.
    static constexpr unsigned int ms_uSCHEDULE_SIZE = 244;

    /// The table's storage, and the table in it: null outside the framework's lifetime.
    alignas(CVector<CCipher::EMode>) static unsigned char ms_auModes[sizeof(CVector<CCipher::EMode>)];
    static CVector<CCipher::EMode>* ms_pveceModes;

private:
    QV_HIDDEN QvResult SetKey(const uint8_t* puKey, unsigned int uKeySize);
    QV_HIDDEN void Transform(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut);
    QV_HIDDEN void TransformByProcessor(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut);
    QV_HIDDEN void TransformBlocksByProcessor(const uint8_t* puIn, unsigned int uBlocks, uint8_t* puOut);
    QV_HIDDEN void XorKeyStream(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut);
    QV_HIDDEN void NextKeyStream();
    QV_HIDDEN void TransformByLibcrypto(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut);

    CCipher::EAction m_eDefaultAction;
    CCipher::EMode m_eDefaultMode;
    uint8_t m_auDefaultKey[ms_uMAX_KEY_SIZE];
    unsigned int m_uDefaultKeySize;
    uint8_t m_auDefaultIv[ms_uBLOCK_SIZE];
    CCipher::EAction m_eAction;
    CCipher::EMode m_eMode;
    alignas(4) unsigned char m_auSchedule[ms_uSCHEDULE_SIZE];
    uint8_t m_auIv[ms_uBLOCK_SIZE];  // or the feedback, or the counter
    uint8_t m_auPartial[ms_uBLOCK_SIZE];
    unsigned int m_uPartialSize;
    unsigned int m_uKeyStreamAt;
    uint8_t m_auKeyStream[ms_uBLOCK_SIZE];  // of CTR
};

/// Encrypts and decrypts: AES with 128-, 192- or 256-bit keys, in CBC, CFB (128-bit), CTR, ECB and OFB; see CCipher for
/// the way to use it.
///
/// - **Blocks:** In every mode Update() hands out whole blocks of 16 bytes only: its output may be up to 15 bytes
///   longer than its input. End() hands out the rest in CFB, CTR and OFB. CBC and ECB do not pad, and a message that is
///   no multiple of 16 bytes ends in QV_RES_INVALID_STATE.
/// - **Buffers:** Raw input and output may be the same buffer as long as every Update() takes whole blocks.
/// - **Counter:** All 16 bytes of the initialisation vector, big-endian; it wraps.
/// - **Secrecy:** No mode notices changed bytes: add a CSha1Mac over the output. ECB shows equal blocks. CTR and OFB
///   are broken by a second message under the same key and initialisation vector. Keys are not wiped on destruction.
/// - **Timing:** With the AES instructions of the processor, which practically every x86-64 has (found out at run
///   time), the time depends on sizes alone. Elsewhere, and when the raw output begins inside the raw input,
///   libcrypto's AES functions do the work: these look up tables, whose timing a neighbour on the machine may observe.
/// - **Cost:** With these instructions no more than one latency of 10 to 14 rounds for each block in CBC and CFB
///   encryption and OFB, where each block waits for the one before, and a small part of that in CTR, ECB, CBC and CFB
///   decryption, whose blocks go side by side: up to 32 at a time with VAES and AVX-512.
/// - **Begin():** Null key: the default one. Null initialisation vector: the default one. A refusal leaves the earlier
///   message as it is; only a key of another size than 16, 24 or 32 bytes ends it.
///   - `QV_RES_OK`: a message is begun.
///   - `QV_RES_FAIL`: an action, mode or key is neither given nor set by default, or is not one of AES.
///   - `QV_RES_INVALID_ARGUMENT`: the initialisation vector is longer than 16 bytes (of a shorter one, the rest is
///     zero).
/// - **Update():**
///   - `QV_RES_OK`: the bytes are taken; always so for a size of 0 with pointers that are not null.
///   - `QV_RES_INVALID_ARGUMENT`: a pointer is null (the blob form: also for an input without storage), or the output
///     would be 4 GiB long.
///   - `QV_RES_INVALID_STATE`: no message was begun with success.
/// - **End():** Writes up to 15 bytes. Bytes held back stay until the next Begin().
///   - `QV_RES_OK`: the message is complete.
///   - `QV_RES_INVALID_ARGUMENT`: a pointer is null.
///   - `QV_RES_INVALID_STATE`: CBC or ECB hold bytes back; nothing is written.
/// - **Source:** FIPS 197, NIST SP 800-38A.
class QV_EXPORT CAes : public CCipher, public CAesBremoFwOpenSsl
{
public:
    /// Without a message, a key and other defaults; the initialisation vector is 16 zero bytes.
    CAes();
    CAes(const CAes&) = default;
    CAes& operator=(const CAes&) = default;
    ~CAes() override;

    [[nodiscard]] QvResult Begin(EAction eAction, EMode eMode, const uint8_t* puKey, unsigned int uKeySize,
                                 const uint8_t* puIv, unsigned int uIvSize) override
    {
        return CAesBremoFwOpenSsl::Begin(eAction, eMode, puKey, uKeySize, puIv, uIvSize);
    }
    [[nodiscard]] QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut,
                                  unsigned int* puOutSize) override
    {
        return CAesBremoFwOpenSsl::Update(puIn, uInSize, puOut, puOutSize);
    }
    [[nodiscard]] QvResult End(uint8_t* puOut, unsigned int* puOutSize) override
    {
        return CAesBremoFwOpenSsl::End(puOut, puOutSize);
    }
    [[nodiscard]] QvResult Begin(EAction eAction, EMode eMode, const CBlob* pblobKey, const CBlob* pblobIv) override
    {
        return CAesBremoFwOpenSsl::Begin(eAction, eMode, pblobKey, pblobIv);
    }
    [[nodiscard]] QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend) override
    {
        return CAesBremoFwOpenSsl::Update(pblobIn, pblobOut, bAppend);
    }
    [[nodiscard]] QvResult End(CBlob* pblobOut, bool bAppend) override
    {
        return CAesBremoFwOpenSsl::End(pblobOut, bAppend);
    }
    unsigned int GetAlgorithm() override { return CAesBremoFwOpenSsl::GetAlgorithm(); }
    unsigned int GetBlockSizeInBits() override { return CAesBremoFwOpenSsl::GetBlockSizeInBits(); }
    unsigned int GetBlockSizeInByte() override { return CAesBremoFwOpenSsl::GetBlockSizeInByte(); }
    const CVector<CCipher::EMode>* GetSupportedModes() override { return CAesBremoFwOpenSsl::GetSupportedModes(); }
};

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CAesBremoFwOpenSsl.
QV_EXPORT QvResult InitializeCAesBremoFwOpenSsl();
QV_EXPORT void FinalizeCAesBremoFwOpenSsl();

#endif
