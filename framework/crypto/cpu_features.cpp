#include "framework/crypto/cpu_features.h"

#include <cpuid.h>

#include <atomic>

namespace orvel_internal
{
namespace
{
constexpr unsigned int g_uDetected = 1u << 31;

// Until the first call nothing is detected, and the features read as none. Two threads may both detect: they agree.
std::atomic<unsigned int> g_uFeatures{0};

unsigned int Detect()
{
    unsigned int uEax = 0;
    unsigned int uEbx = 0;
    unsigned int uEcx = 0;
    unsigned int uEdx = 0;
    unsigned int uFeatures = 0;
    const bool bSse41 = __get_cpuid(1, &uEax, &uEbx, &uEcx, &uEdx) != 0 && (uEcx & bit_SSE4_1) != 0;
    if (__get_cpuid_count(7, 0, &uEax, &uEbx, &uEcx, &uEdx) != 0)
    {
        if (bSse41 && (uEbx & bit_SHA) != 0) uFeatures |= eCPU_SHA;
    }
    return uFeatures;
}
}  // namespace

unsigned int CpuFeatures()
{
    unsigned int uFeatures = g_uFeatures.load(std::memory_order_relaxed);
    if (uFeatures == 0)
    {
        uFeatures = Detect() | g_uDetected;
        g_uFeatures.store(uFeatures, std::memory_order_relaxed);
    }
    return uFeatures & ~g_uDetected;
}

void RestrictCpuFeatures(unsigned int uAllowed)
{
    g_uFeatures.store((Detect() & uAllowed) | g_uDetected, std::memory_order_relaxed);
}
}  // namespace orvel_internal
