#ifndef FRAMEWORK_CRYPTO_MD5_H
#define FRAMEWORK_CRYPTO_MD5_H
#include "framework/crypto/hash.h"

/// The state and the work behind CMd5.
class QV_EXPORT CMd5BremoFw
{
public:
    /// Without a message: Begin() comes first.
    CMd5BremoFw();
    CMd5BremoFw(const CMd5BremoFw&) = default;
    CMd5BremoFw& operator=(const CMd5BremoFw&) = default;
    virtual ~CMd5BremoFw();

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
    QV_HIDDEN void Transform(const uint8_t* puBlocks, size_t uCount);
    QV_HIDDEN static void Encode(uint8_t* puOut, const uint32_t* puWords, unsigned int uWordCount);
    QV_HIDDEN static void Decode(uint32_t* puWords, const uint8_t* puIn, unsigned int uWordCount);

    uint32_t m_auState[4];
    uint32_t m_auBitCount[2];  // low word first
    uint8_t m_auBuffer[64];
};

/// MD5, 128 bits. Broken as a cryptographic digest (collisions): for checksums and old protocols only.
/// End() wipes the state: the next message needs Begin(), without which its digest is wrong.
///
/// - **Source:** RFC 1321.
class QV_EXPORT CMd5 : public CHash, public CMd5BremoFw
{
public:
    /// Without a message: Begin() comes first.
    CMd5();
    CMd5(const CMd5&) = default;
    CMd5& operator=(const CMd5&) = default;
    ~CMd5() override;

    [[nodiscard]] QvResult Begin() override { return CMd5BremoFw::Begin(); }
    [[nodiscard]] QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        return CMd5BremoFw::Update(puData, uSize);
    }
    [[nodiscard]] QvResult End(uint8_t* puDigest) override { return CMd5BremoFw::End(puDigest); }
    [[nodiscard]] QvResult Update(const CBlob* pblobData) override { return CMd5BremoFw::Update(pblobData); }
    [[nodiscard]] QvResult End(CBlob* pblobDigest) override { return CMd5BremoFw::End(pblobDigest); }
    unsigned int GetAlgorithm() override { return CMd5BremoFw::GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return CMd5BremoFw::GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return CMd5BremoFw::GetSizeInBytes(); }
};

#endif
