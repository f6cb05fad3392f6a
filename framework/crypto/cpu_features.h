#ifndef FRAMEWORK_CRYPTO_CPU_FEATURES_H
#define FRAMEWORK_CRYPTO_CPU_FEATURES_H

/// What the processor offers beyond the x86-64 baseline. Internal: modules with a faster path ask here which to take,
/// and keep a portable path that needs none of it.
namespace orvel_internal
{
enum ECpuFeature : unsigned int
{
    /// SHA instructions, with the SSE4.1 that handling their words takes.
    eCPU_SHA = 1u << 0
};

/// The ECpuFeature bits of this processor, detected on the first call.
unsigned int CpuFeatures();

inline bool HasCpuFeature(ECpuFeature eFeature)
{
    return (CpuFeatures() & eFeature) != 0;
}

/// Lets the tests take features away (detected ones only, or the code would trap); ~0u gives them all back.
void RestrictCpuFeatures(unsigned int uAllowed);
}  // namespace orvel_internal

#endif
