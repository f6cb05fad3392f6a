#ifndef FRAMEWORK_CRYPTO_HASH_H
#define FRAMEWORK_CRYPTO_HASH_H
#include <stdint.h>

#include "framework/basic/blob.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// A message digest:
/// ```
/// CSha256 sha256;
/// res = sha256.Begin();
/// res = sha256.Update(puData, uSize);   // any number of times, in pieces of any size.
/// res = sha256.End(&blobDigest);
/// ```
///
/// - **Threads:** No locking: one thread at a time per object.
/// - **Failure:** Raw pointers that are null give QV_RES_INVALID_ARGUMENT, blob pointers that are null QV_RES_FAIL. A
///   blob without storage (capacity 0) counts as a null raw pointer.
class QV_EXPORT CHash
{
public:
    /// What GetAlgorithm() returns.
    enum EAlgorithm : unsigned int
    {
        eMD5 = 0,
        eSHA1 = 1,
        eSHA256 = 2
    };

    CHash() = default;
    CHash(const CHash&) = default;
    CHash& operator=(const CHash&) = default;
    virtual ~CHash();

    /// Starts a message, dropping the one before.
    [[nodiscard]] virtual QvResult Begin() = 0;
    /// Adds uSize bytes to the message.
    ///
    /// - `QV_RES_OK`: they are in; always so for a size of 0 with a pointer that is not null.
    /// - `QV_RES_INVALID_ARGUMENT`: puData is null.
    [[nodiscard]] virtual QvResult Update(const uint8_t* puData, unsigned int uSize) = 0;
    /// Ends the message and writes its digest, GetSizeInBytes() bytes.
    ///
    /// - `QV_RES_OK`: the digest is written.
    /// - `QV_RES_INVALID_ARGUMENT`: puDigest is null.
    [[nodiscard]] virtual QvResult End(uint8_t* puDigest) = 0;
    /// Adds the bytes of a blob.
    ///
    /// - `QV_RES_FAIL`: pblobData is null.
    /// - `QV_RES_INVALID_ARGUMENT`: the blob has no storage.
    [[nodiscard]] virtual QvResult Update(const CBlob* pblobData) = 0;
    /// Writes the digest as the whole content of a blob.
    ///
    /// - `QV_RES_FAIL`: pblobDigest is null.
    /// - `QV_RES_OUT_OF_MEMORY`: the blob has too little room and cannot grow.
    /// - `QV_RES_INVALID_ARGUMENT`: the same for a blob without storage.
    [[nodiscard]] virtual QvResult End(CBlob* pblobDigest) = 0;

    /// Which digest it is: an EAlgorithm.
    virtual unsigned int GetAlgorithm() = 0;
    /// The size of a digest.
    virtual unsigned int GetSizeInBits() = 0;
    /// The size of a digest.
    virtual unsigned int GetSizeInBytes() = 0;
};

#endif
