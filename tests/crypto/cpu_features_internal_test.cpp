// Oracle: the C library.
#include "framework/crypto/cpu_features.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/usable_cpu.h"

namespace
{
using namespace orvel_internal;

struct SFeature
{
    ECpuFeature eFeature;
    std::vector<unsigned int> parts;
};

TEST(CpuFeatures, AreThoseThatTheCLibraryFindsUsable)
{
    const SFeature astFeatures[] = {
        {eCPU_SHA, {x86_cpu_SHA, x86_cpu_SSE4_1}},
        {eCPU_AVX2, {x86_cpu_AVX2}},
        {eCPU_AVX512_VBMI,
         {x86_cpu_AVX2, x86_cpu_AVX512F, x86_cpu_AVX512BW, x86_cpu_AVX512DQ, x86_cpu_AVX512VL, x86_cpu_AVX512_VBMI}},
        {eCPU_PCLMULQDQ, {x86_cpu_PCLMULQDQ, x86_cpu_SSE4_1}},
        {eCPU_VPCLMULQDQ,
         {x86_cpu_VPCLMULQDQ, x86_cpu_PCLMULQDQ, x86_cpu_SSE4_1, x86_cpu_AVX2, x86_cpu_AVX512F, x86_cpu_AVX512BW,
          x86_cpu_AVX512DQ, x86_cpu_AVX512VL, x86_cpu_AVX512_VBMI}}};
    for (const SFeature& rstFeature : astFeatures)
    {
        const bool bAll = std::all_of(rstFeature.parts.begin(), rstFeature.parts.end(), x86_cpu_active);
        EXPECT_EQ(bAll, HasCpuFeature(rstFeature.eFeature)) << "feature " << rstFeature.eFeature;
    }
}

TEST(CpuFeatures, TakenAwayTheyLeaveThePortablePathEverywhere)
{
    RestrictCpuFeatures(0);
    EXPECT_EQ(0u, CpuFeatures());
    for (const ECpuAlgorithm eAlgorithm : {ECpuAlgorithm::eSHA, ECpuAlgorithm::eBASE64, ECpuAlgorithm::eCRC})
    {
        EXPECT_EQ(eCPU_PORTABLE, CpuPath(eAlgorithm));
        EXPECT_STREQ("portable", CpuPathName(eAlgorithm));
    }
    RestrictCpuFeatures(~0u);
}

TEST(CpuFeatures, AnyCanBeTakenAwayAndNoneIsInvented)
{
    const unsigned int uDetected = CpuFeatures();
    for (unsigned int u = 0; u < 32; ++u)
    {
        RestrictCpuFeatures(u);
        EXPECT_EQ(uDetected & u, CpuFeatures());
    }
    RestrictCpuFeatures(~0u);
    EXPECT_EQ(uDetected, CpuFeatures());
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
        {eCPU_SHA | eCPU_AVX2 | eCPU_AVX512_VBMI, ECpuAlgorithm::eCRC, eCPU_PORTABLE, "portable"}};
    for (const SNamedPath& rstPath : astPaths)
    {
        RestrictCpuFeatures(~0u);
        if (!HasCpuFeature(rstPath.ePath)) continue;
        RestrictCpuFeatures(rstPath.uAllowed);
        EXPECT_EQ(rstPath.ePath, CpuPath(rstPath.eAlgorithm)) << rstPath.pszName;
        EXPECT_STREQ(rstPath.pszName, CpuPathName(rstPath.eAlgorithm));
    }
    RestrictCpuFeatures(~0u);
}
}  // namespace
