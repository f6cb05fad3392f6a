#ifndef FRAMEWORK_BASIC_INTERNAL_WRITE_TEXT_H
#define FRAMEWORK_BASIC_INTERNAL_WRITE_TEXT_H
#include <stdint.h>

#include "framework/basic/string.h"
#include "framework/kernel/result.h"

/// A string written by what knows its size beforehand. Internal.
namespace orvel_internal
{
/// Lets write(psz) write the uSize characters that become all of the string, in its own block if that has the room.
///
/// - `QV_RES_OK`: the string holds them.
/// - `QV_RES_INVALID_ARGUMENT`: the pointer is null, or a string does not hold so many; it is as it was.
/// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block; the string is as it was.
template <typename Write>
QvResult WriteText(CString* pstrText, uint64_t uSize, Write&& write)
{
    if (pstrText == nullptr || uSize > CString::uMAX_SIZE) return QV_RES_INVALID_ARGUMENT;
    if (uSize == 0)
    {
        *pstrText = CString();
        return QV_RES_OK;
    }
    if (uSize > pstrText->GetCapacity())
        QV_RETURN_IF_FAILED(pstrText->ReserveCapacity(static_cast<unsigned short>(uSize)));
    char* const pszText = pstrText->GetBuffer();
    if (pszText == nullptr) return QV_RES_OUT_OF_MEMORY;
    write(pszText);
    pstrText->Resize(static_cast<unsigned int>(uSize));
    return QV_RES_OK;
}
}  // namespace orvel_internal

#endif
