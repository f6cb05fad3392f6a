#ifndef FRAMEWORK_CRYPTO_CIPHER_H
#define FRAMEWORK_CRYPTO_CIPHER_H
#include <stdint.h>

#include "framework/basic/blob.h"
#include "framework/basic/vector.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// A reversible transformation of a stream of bytes:
/// ```
/// CAes aes;
/// res = aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CTR, &blobKey, &blobIv);
/// res = aes.Update(&blobIn, &blobOut, false);   // any number of times, in pieces of any size.
/// res = aes.End(&blobOut, true);                // what was held back for a whole block comes now.
/// ```
///
/// What each call writes, and when it fails, depends on the algorithm: see CAes and CBase64.
///
/// - **Blobs:** bAppend true: the output goes behind what the blob holds; false: it becomes its whole content. A blob
///   without storage (capacity 0) counts as a null raw pointer. Input and output may be one blob.
/// - **Buffers:** Raw input and output must not overlap.
/// - **Threads:** No locking: one thread at a time per object.
/// - **Failure:** Reported as QvResult. A blob form that fails leaves the output blob's size as it was, but with
///   bAppend false may have written over its bytes. When input and output are one blob, bAppend false copies it first,
///   and throws what operator new[] throws.
class QV_EXPORT CCipher
{
public:
    /// What becomes of the bytes.
    enum EAction : unsigned int
    {
        eACTION_DECRYPT = 0,  ///< From what ENCRYPT gave.
        eACTION_ENCRYPT = 1,  ///< To cipher text, or to Base64.
        /// The object's default.
        eACTION_DEFAULT = 2
    };

    /// How blocks depend on each other.
    enum EMode : unsigned int
    {
        eMODE_CBC = 0,  ///< Each block depends on the one before.
        /// With 128-bit feedback.
        eMODE_CFB = 1,
        eMODE_CTR = 2,  ///< A counter takes the place of the block before.
        eMODE_ECB = 3,  ///< No block depends on another: equal ones show.
        eMODE_OFB = 4,  ///< A stream of bytes that does not depend on the message.
        /// The object's default.
        eMODE_DEFAULT = 5
    };

    /// What GetAlgorithm() returns.
    enum EAlgorithm : unsigned int
    {
        eAES = 0,
        eBASE64 = 1
    };

    CCipher() = default;
    CCipher(const CCipher&) = default;
    CCipher& operator=(const CCipher&) = default;
    virtual ~CCipher();

    /// Starts a message, dropping the one before. Results: in the contract of CAes, of CBase64.
    [[nodiscard]] virtual QvResult Begin(EAction eAction, EMode eMode, const uint8_t* puKey, unsigned int uKeySize,
                                         const uint8_t* puIv, unsigned int uIvSize) = 0;
    /// Adds uInSize bytes to the message, writes what is ready to puOut and its size to *puOutSize.
    /// Results: in the contract of CAes, of CBase64.
    [[nodiscard]] virtual QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut,
                                          unsigned int* puOutSize) = 0;
    /// Ends the message: writes the rest to puOut and its size to *puOutSize. Results: in the contract of CAes, of
    /// CBase64.
    [[nodiscard]] virtual QvResult End(uint8_t* puOut, unsigned int* puOutSize) = 0;
    /// Starts a message, from blobs. Update() and End() with blobs raise the output blob's capacity to what the raw
    /// form may need, before that is called.
    [[nodiscard]] virtual QvResult Begin(EAction eAction, EMode eMode, const CBlob* pblobKey, const CBlob* pblobIv) = 0;
    /// Adds the bytes of a blob to the message; what is ready goes into or behind the output blob.
    ///
    /// - `QV_RES_OUT_OF_MEMORY`: the capacity could not be raised.
    [[nodiscard]] virtual QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend) = 0;
    /// Ends the message; the rest goes into or behind the output blob.
    ///
    /// - `QV_RES_OUT_OF_MEMORY`: the capacity could not be raised.
    [[nodiscard]] virtual QvResult End(CBlob* pblobOut, bool bAppend) = 0;

    /// Which cipher it is: an EAlgorithm.
    virtual unsigned int GetAlgorithm() = 0;
    /// The size of what is worked on at a time.
    virtual unsigned int GetBlockSizeInBits() = 0;
    /// The size of what is worked on at a time.
    virtual unsigned int GetBlockSizeInByte() = 0;
    /// The modes that Begin() takes; null if the algorithm has none.
    virtual const CVector<CCipher::EMode>* GetSupportedModes() = 0;
};

extern template class CVector<CCipher::EMode>;

#endif
