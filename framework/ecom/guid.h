#ifndef FRAMEWORK_ECOM_GUID_H
#define FRAMEWORK_ECOM_GUID_H
#include <string.h>

#include "framework/kernel/export.h"

/// Identifies a component class or an interface: any run of bytes. For an interface this is its name with the NUL.
/// Identifiers are referred to, never copied: keep them for as long as they are in use, best as constants.
/// ```
/// QV_ECOM_GUID(CLSID_Circle, "example.Circle");
/// ```
struct QV_EXPORT SEComGuid
{
    unsigned int uSize;           ///< The number of bytes.
    const unsigned char* puData;  ///< The bytes, not copied.
};

/// Defines the constant Name, an identifier of the characters of Text and their NUL; may stand in a header.
#define QV_ECOM_GUID(Name, Text)                               \
    inline constexpr unsigned char g_au##Name##Bytes[] = Text; \
    inline constexpr SEComGuid Name = {sizeof(g_au##Name##Bytes), g_au##Name##Bytes}

/// Whether sizes and bytes are equal; false if either is null. IsEqualEComIID() and IsEqualEComCLSID() do the same;
/// their names say what is compared. Any thread.
QV_EXPORT inline bool IsEqualSEComGuid(const SEComGuid* pGuid1, const SEComGuid* pGuid2)
{
    if (pGuid1 == nullptr || pGuid2 == nullptr || pGuid1->uSize != pGuid2->uSize) return false;
    // In most calls both refer to the same constant.
    if (pGuid1->puData == pGuid2->puData || pGuid1->uSize == 0) return true;
    return memcmp(pGuid1->puData, pGuid2->puData, pGuid1->uSize) == 0;
}
QV_EXPORT inline bool IsEqualEComIID(const SEComGuid* pIid1, const SEComGuid* pIid2)
{
    return IsEqualSEComGuid(pIid1, pIid2);
}
QV_EXPORT inline bool IsEqualEComCLSID(const SEComGuid* pClsid1, const SEComGuid* pClsid2)
{
    return IsEqualSEComGuid(pClsid1, pClsid2);
}

#endif
