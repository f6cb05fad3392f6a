#include "framework/crypto/internal/cpu_features.h"

#include <cpuid.h>
#include <stdint.h>

namespace orvel_internal
{
namespace
{
// All zero if the processor does not have the leaf.
SCpuid Cpuid(unsigned int uLeaf)
{
    SCpuid st;
    __get_cpuid_count(uLeaf, 0, &st.uEax, &st.uEbx, &st.uEcx, &st.uEdx);
    return st;
}

// XCR0: which registers the operating system saves. To be called only if CPUID reports OSXSAVE.
uint64_t SavedRegisters()
{
    uint32_t uLow;
    uint32_t uHigh;
    __asm__("xgetbv" : "=a"(uLow), "=d"(uHigh) : "c"(0));
    return uint64_t{uHigh} << 32 | uLow;
}

bool HasAll(uint64_t uBits, uint64_t uWanted)
{
    return (uBits & uWanted) == uWanted;
}

unsigned int Detect()
{
    const SCpuid stBasic = Cpuid(1);
    return CpuFeaturesOf(stBasic, Cpuid(7), (stBasic.uEcx & bit_OSXSAVE) != 0 ? SavedRegisters() : 0);
}
}  // namespace

constinit std::atomic<unsigned int> g_uCpuFeatures{0};

unsigned int CpuFeaturesOf(const SCpuid& rstBasic, const SCpuid& rstExtended, uint64_t uSaved)
{
    constexpr uint64_t uYMM_SAVED = 0x06;  // with their lower halves
    constexpr uint64_t uZMM_SAVED = 0xE6;  // with the masks
    constexpr unsigned int uAVX512 = bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL;

    const bool bSse41 = HasAll(rstBasic.uEcx, bit_SSE4_1);
    const bool bAes = HasAll(rstBasic.uEcx, bit_SSSE3 | bit_AES);
    const bool bPclmul = bSse41 && HasAll(rstBasic.uEcx, bit_PCLMUL);
    const bool bAvx2 = HasAll(uSaved, uYMM_SAVED) && HasAll(rstExtended.uEbx, bit_AVX2);
    const bool bAvx512 = bAvx2 && HasAll(uSaved, uZMM_SAVED) && HasAll(rstExtended.uEbx, uAVX512) &&
                         HasAll(rstExtended.uEcx, bit_AVX512VBMI);

    unsigned int uFeatures = 0;
    if (bSse41 && HasAll(rstBasic.uEcx, bit_SSSE3) && HasAll(rstExtended.uEbx, bit_SHA)) uFeatures |= eCPU_SHA;
    if (bAvx2) uFeatures |= eCPU_AVX2;
    if (bAvx512) uFeatures |= eCPU_AVX512_VBMI;
    if (bPclmul) uFeatures |= eCPU_PCLMULQDQ;
    if (bPclmul && bAvx512 && HasAll(rstExtended.uEcx, bit_VPCLMULQDQ)) uFeatures |= eCPU_VPCLMULQDQ;
    if (bAes) uFeatures |= eCPU_AES;
    if (bAes && bAvx512 && HasAll(rstExtended.uEcx, bit_VAES)) uFeatures |= eCPU_VAES;
    return uFeatures;
}

unsigned int DetectCpuFeatures()
{
    // Two threads may run this at the same time: both store the same value.
    const unsigned int uFeatures = Detect() | g_uCPU_DETECTED;
    g_uCpuFeatures.store(uFeatures, std::memory_order_relaxed);
    return uFeatures;
}

const char* CpuPathName(ECpuAlgorithm eAlgorithm)
{
    switch (CpuPath(eAlgorithm))
    {
        case eCPU_PORTABLE: break;
        case eCPU_SHA: return "sha";
        case eCPU_AVX2: return "avx2";
        case eCPU_AVX512_VBMI: return "avx512-vbmi";
        case eCPU_PCLMULQDQ: return "pclmulqdq";
        case eCPU_VPCLMULQDQ: return "vpclmulqdq";
        case eCPU_AES: return "aesni";
        case eCPU_VAES: return "vaes";
    }
    return "portable";
}

void RestrictCpuFeatures(unsigned int uAllowed)
{
    g_uCpuFeatures.store((Detect() & uAllowed) | g_uCPU_DETECTED, std::memory_order_relaxed);
}
}  // namespace orvel_internal
