// Oracle: the C library.
#include "framework/crypto/internal/cpu_features.h"

#include <cpuid.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/usable_cpu.h"

namespace
{
using namespace orvel_internal;

// What a processor that has everything is found to have. The tables below name all of it: a feature that is missing
// there would be tested by nothing.
unsigned int EveryFeature()
{
    const SCpuid stAll = {~0u, ~0u, ~0u, ~0u};
    return CpuFeaturesOf(stAll, stAll, ~uint64_t{0});
}

struct SFeature
{
    ECpuFeature eFeature;
    std::vector<unsigned int> parts;
};

TEST(CpuFeatures, AreThoseThatTheCLibraryFindsUsable)
{
    const SFeature astFeatures[] = {
        {eCPU_SHA, {x86_cpu_SHA, x86_cpu_SSSE3, x86_cpu_SSE4_1}},
        {eCPU_AVX2, {x86_cpu_AVX2}},
        {eCPU_AVX512_VBMI,
         {x86_cpu_AVX2, x86_cpu_AVX512F, x86_cpu_AVX512BW, x86_cpu_AVX512DQ, x86_cpu_AVX512VL, x86_cpu_AVX512_VBMI}},
        {eCPU_PCLMULQDQ, {x86_cpu_PCLMULQDQ, x86_cpu_SSE4_1}},
        {eCPU_VPCLMULQDQ,
         {x86_cpu_VPCLMULQDQ, x86_cpu_PCLMULQDQ, x86_cpu_SSE4_1, x86_cpu_AVX2, x86_cpu_AVX512F, x86_cpu_AVX512BW,
          x86_cpu_AVX512DQ, x86_cpu_AVX512VL, x86_cpu_AVX512_VBMI}},
        {eCPU_AES, {x86_cpu_AES, x86_cpu_SSSE3}},
        {eCPU_VAES,
         {x86_cpu_VAES, x86_cpu_AES, x86_cpu_SSSE3, x86_cpu_AVX2, x86_cpu_AVX512F, x86_cpu_AVX512BW, x86_cpu_AVX512DQ,
          x86_cpu_AVX512VL, x86_cpu_AVX512_VBMI}}};
    unsigned int uNamed = 0;
    for (const SFeature& rstFeature : astFeatures)
    {
        uNamed |= rstFeature.eFeature;
        const bool bAll = std::all_of(rstFeature.parts.begin(), rstFeature.parts.end(), x86_cpu_active);
        EXPECT_EQ(bAll, HasCpuFeature(rstFeature.eFeature)) << "feature " << rstFeature.eFeature;
    }
    EXPECT_EQ(EveryFeature(), uNamed);
}

TEST(CpuFeatures, AnyCanBeTakenAwayAndNoneIsInvented)
{
    const unsigned int uDetected = CpuFeatures();
    for (unsigned int u = 0; u <= EveryFeature(); ++u)
    {
        RestrictCpuFeatures(u);
        EXPECT_EQ(uDetected & u, CpuFeatures());
    }
    RestrictCpuFeatures(~0u);
    EXPECT_EQ(uDetected, CpuFeatures());
}

struct SNeed
{
    const char* pszName;
    unsigned int uBasicEcx;
    unsigned int uExtendedEbx;
    unsigned int uExtendedEcx;
    uint64_t uSaved;
    unsigned int uFeatures;
};

// All bits that a path asks for, and what is left when one of them is missing.
TEST(CpuFeatures, AreNoneOfThoseThatMissAPart)
{
    constexpr unsigned int uSHA_BASIC = bit_SSSE3 | bit_SSE4_1;
    constexpr unsigned int uAVX512 = bit_AVX2 | bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL;
    constexpr unsigned int uCARRYLESS = bit_PCLMUL | bit_SSE4_1;
    const SNeed astNeeds[] = {
        {"Sha", uSHA_BASIC, bit_SHA, 0, 0, eCPU_SHA},
        {"ShaWithoutSsse3", bit_SSE4_1, bit_SHA, 0, 0, 0},
        {"ShaWithoutSse41", bit_SSSE3, bit_SHA, 0, 0, 0},
        {"ShaWithoutSha", uSHA_BASIC, 0, 0, 0, 0},
        {"Avx2", 0, bit_AVX2, 0, 0x06, eCPU_AVX2},
        {"Avx2NotSaved", 0, bit_AVX2, 0, 0x02, 0},
        {"Avx512", 0, uAVX512, bit_AVX512VBMI, 0xE6, eCPU_AVX2 | eCPU_AVX512_VBMI},
        {"Avx512NotSaved", 0, uAVX512, bit_AVX512VBMI, 0x06, eCPU_AVX2},
        {"Avx512WithoutDq", 0, uAVX512 - bit_AVX512DQ, bit_AVX512VBMI, 0xE6, eCPU_AVX2},
        {"Avx512WithoutVbmi", 0, uAVX512, 0, 0xE6, eCPU_AVX2},
        {"Pclmul", uCARRYLESS, 0, 0, 0, eCPU_PCLMULQDQ},
        {"PclmulWithoutSse41", bit_PCLMUL, 0, 0, 0, 0},
        {"VpclmulWithoutAvx512", uCARRYLESS, bit_AVX2, bit_VPCLMULQDQ, 0xE6, eCPU_PCLMULQDQ | eCPU_AVX2},
        {"Vpclmul", uCARRYLESS, uAVX512, bit_AVX512VBMI | bit_VPCLMULQDQ, 0xE6,
         eCPU_PCLMULQDQ | eCPU_AVX2 | eCPU_AVX512_VBMI | eCPU_VPCLMULQDQ},
        {"Aes", bit_AES | bit_SSSE3, 0, 0, 0, eCPU_AES},
        {"AesWithoutSsse3", bit_AES, 0, 0, 0, 0},
        {"VaesWithoutAvx512", bit_AES | bit_SSSE3, bit_AVX2, bit_VAES, 0xE6, eCPU_AES | eCPU_AVX2},
        {"VaesWithoutAes", bit_SSSE3, uAVX512, bit_AVX512VBMI | bit_VAES, 0xE6, eCPU_AVX2 | eCPU_AVX512_VBMI},
        {"Vaes", bit_AES | bit_SSSE3, uAVX512, bit_AVX512VBMI | bit_VAES, 0xE6,
         eCPU_AES | eCPU_AVX2 | eCPU_AVX512_VBMI | eCPU_VAES}};
    unsigned int uNamed = 0;
    for (const SNeed& rstNeed : astNeeds)
    {
        uNamed |= rstNeed.uFeatures;
        const SCpuid stBasic = {0, 0, rstNeed.uBasicEcx, 0};
        const SCpuid stExtended = {0, rstNeed.uExtendedEbx, rstNeed.uExtendedEcx, 0};
        EXPECT_EQ(rstNeed.uFeatures, CpuFeaturesOf(stBasic, stExtended, rstNeed.uSaved)) << rstNeed.pszName;
    }
    EXPECT_EQ(EveryFeature(), uNamed);
}

struct SNamedPath
{
    unsigned int uAllowed;
    ECpuAlgorithm eAlgorithm;
    ECpuFeature ePath;
    const char* pszName;
};

TEST(CpuPath, IsTheBestOneThatTheFeaturesAllow)
{
    const SNamedPath astPaths[] = {
        {eCPU_SHA, ECpuAlgorithm::eSHA, eCPU_SHA, "sha"},
        {~0u - eCPU_SHA, ECpuAlgorithm::eSHA, eCPU_PORTABLE, "portable"},
        {eCPU_AVX2, ECpuAlgorithm::eBASE64, eCPU_AVX2, "avx2"},
        {eCPU_AVX512_VBMI, ECpuAlgorithm::eBASE64, eCPU_AVX512_VBMI, "avx512-vbmi"},
        {~0u, ECpuAlgorithm::eBASE64, eCPU_AVX512_VBMI, "avx512-vbmi"},
        {eCPU_SHA | eCPU_PCLMULQDQ | eCPU_VPCLMULQDQ, ECpuAlgorithm::eBASE64, eCPU_PORTABLE, "portable"},
        {eCPU_PCLMULQDQ, ECpuAlgorithm::eCRC, eCPU_PCLMULQDQ, "pclmulqdq"},
        {eCPU_VPCLMULQDQ, ECpuAlgorithm::eCRC, eCPU_VPCLMULQDQ, "vpclmulqdq"},
        {~0u, ECpuAlgorithm::eCRC, eCPU_VPCLMULQDQ, "vpclmulqdq"},
        {eCPU_SHA | eCPU_AVX2 | eCPU_AVX512_VBMI, ECpuAlgorithm::eCRC, eCPU_PORTABLE, "portable"},
        {eCPU_AES, ECpuAlgorithm::eAES, eCPU_AES, "aesni"},
        {~0u - eCPU_VAES, ECpuAlgorithm::eAES, eCPU_AES, "aesni"},
        {~0u, ECpuAlgorithm::eAES, eCPU_VAES, "vaes"},
        {~0u - eCPU_AES, ECpuAlgorithm::eAES, eCPU_PORTABLE, "portable"}};
    unsigned int uNamed = 0;
    for (const SNamedPath& rstPath : astPaths)
    {
        uNamed |= rstPath.ePath;
        RestrictCpuFeatures(~0u);
        if (!HasCpuFeature(rstPath.ePath)) continue;
        RestrictCpuFeatures(rstPath.uAllowed);
        EXPECT_EQ(rstPath.ePath, CpuPath(rstPath.eAlgorithm)) << rstPath.pszName;
        EXPECT_STREQ(rstPath.pszName, CpuPathName(rstPath.eAlgorithm));
    }
    RestrictCpuFeatures(~0u);
    EXPECT_EQ(EveryFeature(), uNamed);
}
}  // namespace
