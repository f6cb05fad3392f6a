#include "framework/kernel/os_version.h"

#include <atomic>

static_assert(sizeof(g_eOsVersion) == 4, "exported data");

COsVersion::EOsVersion g_eOsVersion = COsVersion::eUNKNOWN;

COsVersion::EOsVersion COsVersion::GetOsVersion()
{
    // Any thread may run this, and all store the same value.
    std::atomic_ref<EOsVersion>(g_eOsVersion).store(eLINUX, std::memory_order_relaxed);
    return eLINUX;
}
