#ifndef FUZZ_PROCESSOR_H
#define FUZZ_PROCESSOR_H
#include "framework/crypto/internal/cpu_features.h"
#include "fuzz/input.h"

/// Lets an input take features of the processor away, so that every path is searched; gives them back at its end.
class CFuzzProcessor
{
public:
    explicit CFuzzProcessor(CFuzzInput& rInput) { Choose(rInput); }
    ~CFuzzProcessor() { Allow(~0u); }
    CFuzzProcessor(const CFuzzProcessor&) = delete;
    CFuzzProcessor& operator=(const CFuzzProcessor&) = delete;

    /// All features for small numbers; else those of some bits. What one path began, another one goes on with.
    static void Choose(CFuzzInput& rInput)
    {
        const unsigned int uByte = rInput.Byte();
        const unsigned int uAllowed = uByte < 128 ? ~0u : uByte < 160 ? 0 : rInput.Number<unsigned short>();
        Allow(uAllowed);
    }

private:
    /// Without asking the processor again, which under a virtual machine takes longer than an input.
    static void Allow(unsigned int uAllowed)
    {
        static const unsigned int s_uAll = orvel_internal::CpuFeatures();
        orvel_internal::g_uCpuFeatures.store((s_uAll & uAllowed) | orvel_internal::g_uCPU_DETECTED,
                                             std::memory_order_relaxed);
    }
};

#endif
