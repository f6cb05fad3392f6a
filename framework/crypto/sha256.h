#ifndef FRAMEWORK_CRYPTO_SHA256_H
#define FRAMEWORK_CRYPTO_SHA256_H
#include "framework/crypto/hash.h"

/// The state and the work behind CSha256.
class QV_EXPORT CSha256BremoFw
{
public:
    /// Without a message: Begin() comes first.
    CSha256BremoFw();
    CSha256BremoFw(const CSha256BremoFw&) = default;
    CSha256BremoFw& operator=(const CSha256BremoFw&) = default;
    virtual ~CSha256BremoFw();

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
    void Reset();
    [[nodiscard]] QvResult Input(const uint8_t* puData, unsigned int uSize);
    void AddLength(unsigned int uBits);
    void ProcessMsgBlock();
    void PadMsg(uint8_t uPadByte);
    void Finalize(uint8_t uPadByte);
    [[nodiscard]] QvResult Result(uint8_t* puDigest);

    QV_HIDDEN uint64_t GetLength() const;
    QV_HIDDEN void SetLength(uint64_t uBits);

    uint8_t m_uComputed;
    uint8_t m_uCorrupted;
    uint8_t m_uBlockIndex;  // of the next free byte
    uint8_t m_auBlock[64];
    uint32_t m_uLengthHigh;  // in bits
    uint32_t m_uLengthLow;
    uint32_t m_auState[8];
};

/// SHA-256, 256 bits. A second End() writes the same digest again. Update() after End() gives QV_RES_INVALID_STATE, and
/// from then on so does every call until Begin(). A message that reaches 2^61 bytes ends alike: the Update() that gets
/// there still returns QV_RES_OK, the calls after it do not.
///
/// - **Source:** FIPS 180-4.
class QV_EXPORT CSha256 : public CHash, public CSha256BremoFw
{
public:
    /// Without a message: Begin() comes first.
    CSha256();
    CSha256(const CSha256&) = default;
    CSha256& operator=(const CSha256&) = default;
    ~CSha256() override;

    [[nodiscard]] QvResult Begin() override { return CSha256BremoFw::Begin(); }
    [[nodiscard]] QvResult Update(const uint8_t* puData, unsigned int uSize) override
    {
        return CSha256BremoFw::Update(puData, uSize);
    }
    [[nodiscard]] QvResult End(uint8_t* puDigest) override { return CSha256BremoFw::End(puDigest); }
    [[nodiscard]] QvResult Update(const CBlob* pblobData) override { return CSha256BremoFw::Update(pblobData); }
    [[nodiscard]] QvResult End(CBlob* pblobDigest) override { return CSha256BremoFw::End(pblobDigest); }
    unsigned int GetAlgorithm() override { return CSha256BremoFw::GetAlgorithm(); }
    unsigned int GetSizeInBits() override { return CSha256BremoFw::GetSizeInBits(); }
    unsigned int GetSizeInBytes() override { return CSha256BremoFw::GetSizeInBytes(); }
};

#endif
