#include "framework/ecom/guid.h"

#include <string.h>

static_assert(sizeof(SEComGuid) == 16, "field order and widths are the binary interface");

bool IsEqualSEComGuid(const SEComGuid* pGuid1, const SEComGuid* pGuid2)
{
    if (pGuid1 == nullptr || pGuid2 == nullptr || pGuid1->uSize != pGuid2->uSize) return false;
    // Constants mostly are the same ones, too.
    if (pGuid1->puData == pGuid2->puData || pGuid1->uSize == 0) return true;
    return memcmp(pGuid1->puData, pGuid2->puData, pGuid1->uSize) == 0;
}

bool IsEqualEComIID(const SEComGuid* pIid1, const SEComGuid* pIid2)
{
    return IsEqualSEComGuid(pIid1, pIid2);
}

bool IsEqualEComCLSID(const SEComGuid* pClsid1, const SEComGuid* pClsid2)
{
    return IsEqualSEComGuid(pClsid1, pClsid2);
}
