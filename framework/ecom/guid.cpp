#include "framework/ecom/guid.h"

static_assert(sizeof(SEComGuid) == 16, "field order and widths are the binary interface");

namespace
{
// The inline functions belong to the binary interface: this makes the compiler emit them.
using PFNIsEqual = bool (*)(const SEComGuid*, const SEComGuid*);
[[gnu::used]] constexpr PFNIsEqual g_apfnEMITTED[] = {IsEqualSEComGuid, IsEqualEComIID, IsEqualEComCLSID};
}  // namespace
