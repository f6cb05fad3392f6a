#ifndef FRAMEWORK_CRYPTO_INTERNAL_CPU_FEATURES_H
#define FRAMEWORK_CRYPTO_INTERNAL_CPU_FEATURES_H
#include <stdint.h>

#include <atomic>

/// What the processor offers beyond the x86-64 baseline, and which path each algorithm takes for it: the one place that
/// detects, and the one that decides. Internal. Every path is compiled in every build, in a file of its own; the
/// portable one needs nothing.
namespace orvel_internal
{
/// Each feature is named after the path that needs it. One with wide registers includes that the operating system saves
/// these registers.
enum ECpuFeature : unsigned int
{
    eCPU_PORTABLE = 0,
    /// SHA instructions, with the SSSE3 and SSE4.1 that handling their words takes.
    eCPU_SHA = 1u << 0,
    eCPU_AVX2 = 1u << 1,
    /// AVX-512 F, BW, DQ, VL and VBMI.
    eCPU_AVX512_VBMI = 1u << 2,
    /// Carry-less multiplication, with SSE4.1.
    eCPU_PCLMULQDQ = 1u << 3,
    /// The same on 512 bits, with all of eCPU_AVX512_VBMI.
    eCPU_VPCLMULQDQ = 1u << 4,
    /// AES instructions, with SSSE3.
    eCPU_AES = 1u << 5,
    /// The same on 512 bits, with all of eCPU_AVX512_VBMI.
    eCPU_VAES = 1u << 6
};
/// Set beside the feature bits once they were detected, so that 0 always means: not yet.
constexpr unsigned int g_uCPU_DETECTED = 1u << 31;

/// The algorithms that have more than one path.
enum class ECpuAlgorithm
{
    eSHA,
    eBASE64,
    eCRC,
    /// Its portable path is libcrypto's.
    eAES
};

/// The bits, 0 until they are detected.
__attribute__((visibility("hidden"))) extern std::atomic<unsigned int> g_uCpuFeatures;
unsigned int DetectCpuFeatures();

/// What one leaf of the CPUID instruction tells.
struct SCpuid
{
    unsigned int uEax = 0;
    unsigned int uEbx = 0;
    unsigned int uEcx = 0;
    unsigned int uEdx = 0;
};
/// The ECpuFeature bits of a processor with these leaves 1 and 7, under a system that saves the registers of uSaved
/// (XCR0; 0 when it does not tell).
unsigned int CpuFeaturesOf(const SCpuid& rstBasic, const SCpuid& rstExtended, uint64_t uSaved);

/// The ECpuFeature bits of this processor.
inline unsigned int CpuFeatures()
{
    const unsigned int uFeatures = g_uCpuFeatures.load(std::memory_order_relaxed);
    return (uFeatures != 0 ? uFeatures : DetectCpuFeatures()) & ~g_uCPU_DETECTED;
}

/// For the tests: whether a path can be taken here.
inline bool HasCpuFeature(ECpuFeature eFeature)
{
    return (CpuFeatures() & eFeature) == eFeature;
}

/// The path an algorithm takes: the best one that there is a feature for.
inline ECpuFeature CpuPath(ECpuAlgorithm eAlgorithm, unsigned int uFeatures)
{
    const auto Has = [uFeatures](ECpuFeature eFeature) { return (uFeatures & eFeature) != 0; };
    switch (eAlgorithm)
    {
        case ECpuAlgorithm::eSHA: return Has(eCPU_SHA) ? eCPU_SHA : eCPU_PORTABLE;
        case ECpuAlgorithm::eBASE64:
            return Has(eCPU_AVX512_VBMI) ? eCPU_AVX512_VBMI : Has(eCPU_AVX2) ? eCPU_AVX2 : eCPU_PORTABLE;
        case ECpuAlgorithm::eCRC:
            return Has(eCPU_VPCLMULQDQ) ? eCPU_VPCLMULQDQ : Has(eCPU_PCLMULQDQ) ? eCPU_PCLMULQDQ : eCPU_PORTABLE;
        // The VAES path leaves what it cannot do to the AES path, so it needs both.
        case ECpuAlgorithm::eAES: return !Has(eCPU_AES) ? eCPU_PORTABLE : Has(eCPU_VAES) ? eCPU_VAES : eCPU_AES;
    }
    return eCPU_PORTABLE;
}

/// The path it takes on this processor.
inline ECpuFeature CpuPath(ECpuAlgorithm eAlgorithm)
{
    return CpuPath(eAlgorithm, CpuFeatures());
}

/// The name of that path for people to read: "portable", "sha", "avx2", "avx512-vbmi", "pclmulqdq", "vpclmulqdq",
/// "aesni" or "vaes".
const char* CpuPathName(ECpuAlgorithm eAlgorithm);

/// For the tests: keeps only those of the detected features that are in uAllowed; ~0u restores all of them.
void RestrictCpuFeatures(unsigned int uAllowed);
}  // namespace orvel_internal

#endif
