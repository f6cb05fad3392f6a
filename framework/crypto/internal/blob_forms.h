#ifndef FRAMEWORK_CRYPTO_INTERNAL_BLOB_FORMS_H
#define FRAMEWORK_CRYPTO_INTERNAL_BLOB_FORMS_H
#include <limits.h>
#include <stdint.h>

#include "framework/basic/blob.h"
#include "framework/kernel/result.h"

/// The forms of Update() and End() that take blobs, told by the raw ones: of the digests and the HMAC, and of the
/// ciphers, whose output has a size of its own. Internal.
namespace orvel_internal
{
/// Update() with the bytes of a blob. The result for a blob without storage is that of the raw form for null.
template <typename Algorithm>
QvResult UpdateFromBlob(Algorithm& rAlgorithm, const CBlob* pblobData)
{
    if (pblobData == nullptr) return QV_RES_FAIL;
    return rAlgorithm.Update(pblobData->GetFirstIndexPtr(), pblobData->GetSize());
}

/// End() into a blob of exactly the digest's size. If the blob has too little room and cannot grow, nothing is written;
/// if it has no storage at all, the result is that of the raw form for null.
template <typename Algorithm>
QvResult EndIntoBlob(Algorithm& rAlgorithm, CBlob* pblobDigest)
{
    if (pblobDigest == nullptr) return QV_RES_FAIL;
    const QvResult res = pblobDigest->ReserveCapacity(rAlgorithm.GetSizeInBytes());
    if (res < 0 && pblobDigest->GetFirstIndexPtr() != nullptr) return res;
    pblobDigest->Resize(rAlgorithm.GetSizeInBytes());
    return rAlgorithm.End(pblobDigest->GetFirstIndexPtr());
}
/// Gives the output blob room for uRoom bytes, behind its content or in its place, and lets produce(puOut, &uWritten)
/// write there. The blob changes its size only when that succeeds.
template <typename Produce>
QvResult ProduceIntoBlob(CBlob& rblobOut, bool bAppend, uint64_t uRoom, Produce&& produce)
{
    const unsigned int uOffset = bAppend ? rblobOut.GetSize() : 0;
    if (uOffset + uRoom > UINT_MAX) return QV_RES_OUT_OF_MEMORY;
    QvResult res = rblobOut.ReserveCapacity(static_cast<unsigned int>(uOffset + uRoom));
    if (res < 0) return res;
    unsigned int uWritten = 0;
    res = produce(rblobOut.GetFirstIndexPtr() + uOffset, &uWritten);
    return res >= 0 ? rblobOut.Resize(uOffset + uWritten) : res;
}

/// Calls convert(rblobIn) for an input that may be the output blob. If the output would then overwrite the input (it
/// does not with bAppend), it is called with a copy of the input.
template <typename Convert>
QvResult ConvertBlob(const CBlob& rblobIn, const CBlob& rblobOut, bool bAppend, Convert&& convert)
{
    if (&rblobIn != &rblobOut || bAppend) return convert(rblobIn);
    const CBlob blobCopy(rblobIn);
    return blobCopy.GetSize() == rblobIn.GetSize() ? convert(blobCopy) : QV_RES_OUT_OF_MEMORY;
}
}  // namespace orvel_internal

#endif
