#ifndef FRAMEWORK_CRYPTO_INTERNAL_CIPHER_BLOB_H
#define FRAMEWORK_CRYPTO_INTERNAL_CIPHER_BLOB_H
#include <limits.h>
#include <stdint.h>

#include "framework/basic/blob.h"
#include "framework/kernel/result.h"

/// What the blob forms of the ciphers share. Internal.
namespace orvel_internal
{
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
