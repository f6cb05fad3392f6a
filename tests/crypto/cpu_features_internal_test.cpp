// Oracle: the flags that the kernel reports, which leave out what it does not support.
#include "framework/crypto/cpu_features.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace
{
using namespace orvel_internal;

std::set<std::string> KernelFlags()
{
    std::ifstream file("/proc/cpuinfo");
    std::string strLine;
    while (std::getline(file, strLine) && strLine.rfind("flags", 0) != 0) continue;
    std::istringstream words(strLine);
    std::set<std::string> flags;
    for (std::string strWord; words >> strWord;) flags.insert(strWord);
    return flags;
}

struct SFeature
{
    ECpuFeature eFeature;
    std::set<std::string> flags;
};

TEST(CpuFeatures, AreThoseThatTheKernelReports)
{
    const SFeature astFeatures[] = {
        {eCPU_SHA, {"sha_ni", "sse4_1"}},
        {eCPU_AVX2, {"avx2"}},
        {eCPU_AVX512_VBMI, {"avx2", "avx512f", "avx512bw", "avx512dq", "avx512vl", "avx512vbmi"}},
        {eCPU_PCLMULQDQ, {"pclmulqdq", "sse4_1"}},
        {eCPU_VPCLMULQDQ,
         {"vpclmulqdq", "pclmulqdq", "sse4_1", "avx2", "avx512f", "avx512bw", "avx512dq", "avx512vl", "avx512vbmi"}}};
    const std::set<std::string> flags = KernelFlags();
    ASSERT_EQ(1u, flags.count("sse2")) << "/proc/cpuinfo tells nothing";
    for (const SFeature& rstFeature : astFeatures)
    {
        bool bAll = true;
        for (const std::string& rstrFlag : rstFeature.flags) bAll = bAll && flags.count(rstrFlag) == 1;
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
