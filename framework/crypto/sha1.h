#ifndef FRAMEWORK_CRYPTO_SHA1_H
#define FRAMEWORK_CRYPTO_SHA1_H
#include "framework/crypto/hash.h"

/// The state and the work behind CSha1.
class QV_EXPORT CSha1BremoFw
{
public:
    /// Without a message: Begin() comes first.
    CSha1BremoFw();
    CSha1BremoFw(const CSha1BremoFw&) = default;
    CSha1BremoFw& operator=(const CSha1BremoFw&) = default;
    virtual ~CSha1BremoFw();

    /// As in CHash, like Update(), End(), GetAlgorithm(), GetSizeInBits() and GetSizeInBytes().
    [[nodiscard]] QvResult Begin();
    [[nodiscard]] QvResult Update(const uint8_t* puData, unsigned int uSize);
    [[nodiscard]] QvResult End(uint8_t* puDigest);
    [[nodiscard]] QvResult Update(const CBlob* pblobData);
    [[nodiscard]] QvResult End(CBlob* pblobDigest);
    unsigned int GetAlgorithm();
    unsigned int GetSizeInBits();
    unsigned int GetSizeInBytes();

private:
    friend class CSha1MacBremoFw;

    /// Leaves nothing of the message, nor of the digest.
    QV_HIDDEN void Wipe();
    void Reset();
    void Input(const uint8_t* puData, unsigned int uSize);
    void ProcessMsgBlock();
    void PadMsg();
    void Result(uint8_t* puDigest);

    uint32_t m_auState[5];
    uint8_t m_auBlock[64];
    uint8_t m_uBlockIndex;  // of the next free byte
    uint64_t m_uByteCount;
};

/// SHA-1, 160 bits. Broken as a cryptographic digest (collisions); as the digest of an HMAC it still holds.
/// After End() the next message needs Begin(), without which its digest is wrong. A message of 2^32 bytes or more gets
/// the length field of its size modulo 2^32, so its digest is not the standard's.
///
/// - **Source:** FIPS 180-4.
class QV_EXPORT CSha1 : public CHash, public CSha1BremoFw
{
public:
    /// Without a message: Begin() comes first.
    CSha1();
    CSha1(const CSha1&) = default;
    CSha1& operator=(const CSha1&) = default;
    ~CSha1() override;

    [[nodiscard]] QvResult Begin() override { return CSha1BremoFw::Begin(); }
    [[nodiscard]] QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        return CSha1BremoFw::Update(puData, uSize);
    }
    [[nodiscard]] QvResult End(uint8_t* puDigest) override { return CSha1BremoFw::End(puDigest); }
    [[nodiscard]] QvResult Update(const CBlob* pblobData) override { return CSha1BremoFw::Update(pblobData); }
    [[nodiscard]] QvResult End(CBlob* pblobDigest) override { return CSha1BremoFw::End(pblobDigest); }
    unsigned int GetAlgorithm() override { return CSha1BremoFw::GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return CSha1BremoFw::GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return CSha1BremoFw::GetSizeInBytes(); }
};

#endif
