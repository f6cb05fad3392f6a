#ifndef FRAMEWORK_CRYPTO_HMAC_H
#define FRAMEWORK_CRYPTO_HMAC_H
#include <stdint.h>

#include "framework/basic/blob.h"
#include "framework/crypto/hash.h"
#include "framework/crypto/sha1.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// A keyed message authentication code:
/// ```
/// CSha1Mac mac;
/// res = mac.Begin(puKey, uKeySize);
/// res = mac.Update(puData, uSize);   // any number of times, in pieces of any size.
/// res = mac.End(&blobCode);          // the next message needs Begin() with the key again.
/// ```
///
/// Compare codes by QvIsEqualConstantTime(), not with memcmp(), where an attacker can measure.
///
/// - **Threads:** No locking: one thread at a time per object.
/// - **Secrecy:** Begin() and End() leave nothing of the key in the memory they worked in; what the object holds of it
///   is wiped when the object is destroyed. The caller wipes the key that it passed.
/// - **Failure:** QV_RES_FAIL for every null pointer, raw or blob; a blob without storage (capacity 0) counts as a null
///   raw pointer.
class QV_EXPORT CHMac
{
public:
    CHMac() = default;
    CHMac(const CHMac&) = default;
    CHMac& operator=(const CHMac&) = default;
    virtual ~CHMac();

    /// Starts a message under a key of uKeySize bytes (a key of 0 bytes is allowed). Results: in the contract of CHMac.
    [[nodiscard]] virtual QvResult Begin(const uint8_t* puKey, unsigned int uKeySize) = 0;
    /// Adds uSize bytes to the message. Results: in the contract of CHMac.
    [[nodiscard]] virtual QvResult Update(const uint8_t* puData, unsigned int uSize) = 0;
    /// Ends the message and writes its code, GetSizeInBytes() bytes. Results: in the contract of CHMac.
    [[nodiscard]] virtual QvResult End(uint8_t* puDigest) = 0;
    /// Starts a message under the key that a blob holds.
    [[nodiscard]] virtual QvResult Begin(const CBlob* pblobKey) = 0;
    /// Adds the bytes of a blob.
    [[nodiscard]] virtual QvResult Update(const CBlob* pblobData) = 0;
    /// Writes the code as the whole content of a blob.
    ///
    /// - `QV_RES_OUT_OF_MEMORY`: the blob has too little room and cannot grow.
    [[nodiscard]] virtual QvResult End(CBlob* pblobDigest) = 0;

    /// The CHash::EAlgorithm of the digest inside.
    virtual unsigned int GetAlgorithm() = 0;
    /// The size of a code.
    virtual unsigned int GetSizeInBits() = 0;
    /// The size of a code.
    virtual unsigned int GetSizeInBytes() = 0;
};

/// The construction of HMAC over any digest. Nothing is checked, and both members return QV_RES_OK.
///
/// - **Source:** RFC 2104.
class QV_EXPORT CHMacBremoFw
{
public:
    CHMacBremoFw() = default;
    CHMacBremoFw(const CHMacBremoFw&) = default;
    CHMacBremoFw& operator=(const CHMacBremoFw&) = default;
    virtual ~CHMacBremoFw();

    /// Starts the inner digest. Both pads are buffers of uBlockSize bytes, the block size of the digest; the outer one
    /// is needed again by HMacResult(). A key longer than a block is replaced by its digest, which must fit a block.
    QvResult HMacReset(const uint8_t* puKey, unsigned int uKeySize, CHash* pHash, unsigned int uBlockSize,
                       uint8_t* puInnerPad, uint8_t* puOuterPad);
    /// Ends the inner digest (into puInnerDigest) and writes the code.
    QvResult HMacResult(CHash* pHash, unsigned int uBlockSize, uint8_t* puInnerDigest, const uint8_t* puOuterPad,
                        uint8_t* puDigest);
};

/// The state and the work behind CSha1Mac.
class QV_EXPORT CSha1MacBremoFw : public CHMacBremoFw
{
public:
    /// Without a message: Begin() comes first.
    CSha1MacBremoFw();
    CSha1MacBremoFw(const CSha1MacBremoFw&) = default;
    CSha1MacBremoFw& operator=(const CSha1MacBremoFw&) = default;
    ~CSha1MacBremoFw() override;

    /// As in CHMac, like Update(), End(), GetAlgorithm(), GetSizeInBits() and GetSizeInBytes().
    [[nodiscard]] QvResult Begin(const uint8_t* puKey, unsigned int uKeySize);
    [[nodiscard]] QvResult Update(const uint8_t* puData, unsigned int uSize);
    [[nodiscard]] QvResult End(uint8_t* puDigest);
    [[nodiscard]] QvResult Begin(const CBlob* pblobKey);
    [[nodiscard]] QvResult Update(const CBlob* pblobData);
    [[nodiscard]] QvResult End(CBlob* pblobDigest);
    unsigned int GetAlgorithm();
    unsigned int GetSizeInBits();
    unsigned int GetSizeInBytes();

private:
    static constexpr unsigned int ms_uBLOCK_SIZE = 64;

    uint8_t m_auOuterPad[ms_uBLOCK_SIZE];
    CSha1 m_sha1;
};

/// HMAC-SHA1, 160 bits. How it is used, and when it fails, stands at CHMac.
///
/// - **Source:** RFC 2104, RFC 2202.
class QV_EXPORT CSha1Mac : public CHMac, public CSha1MacBremoFw
{
public:
    /// Without a message: Begin() comes first.
    CSha1Mac();
    CSha1Mac(const CSha1Mac&) = default;
    CSha1Mac& operator=(const CSha1Mac&) = default;
    ~CSha1Mac() override;

    [[nodiscard]] QvResult Begin(const uint8_t* puKey, unsigned int uSize) override
    {
        return CSha1MacBremoFw::Begin(puKey, uSize);
    }
    [[nodiscard]] QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        return CSha1MacBremoFw::Update(puData, uSize);
    }
    [[nodiscard]] QvResult End(uint8_t* puDigest) override { return CSha1MacBremoFw::End(puDigest); }
    [[nodiscard]] QvResult Begin(const CBlob* pblobKey) override { return CSha1MacBremoFw::Begin(pblobKey); }
    [[nodiscard]] QvResult Update(const CBlob* pblobData) override { return CSha1MacBremoFw::Update(pblobData); }
    [[nodiscard]] QvResult End(CBlob* pblobDigest) override { return CSha1MacBremoFw::End(pblobDigest); }
    unsigned int GetAlgorithm() override { return CSha1MacBremoFw::GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return CSha1MacBremoFw::GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return CSha1MacBremoFw::GetSizeInBytes(); }
};

#endif
