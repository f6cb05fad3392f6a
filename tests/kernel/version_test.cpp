// Orders, ranges, cut texts and random ones are the matter of fuzz/version_fuzz.cpp. Here are limits, the version
// of the framework itself, and the small headers that have no other place.
#include "framework/kernel/version.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <string>
#include <type_traits>

#include "framework/kernel/framework_version.h"
#include "framework/kernel/internal/read_unsigned.h"
#include "framework/kernel/os_version.h"
#include "framework/kernel/package_id.h"
#include "framework/kernel/trace.h"
#include "framework/kernel/unused_parameter.h"

static_assert(!std::is_trivially_copyable_v<CVersion>, "does not travel in registers");

namespace
{
std::string TextOf(const CVersion& rVersion)
{
    char szText[16];
    EXPECT_LT(rVersion.GetStr(szText, sizeof(szText)), static_cast<int>(sizeof(szText)));
    return szText;
}

struct SText
{
    const char* pszText;
    const char* pszWant;  // null: refused
};

constexpr SText g_astTEXTS[] = {
    {"0.0.0.0", "0.0.0.0"},
    {"255.255.255.255", "255.255.255.255"},
    {"1.2.3.4-beta", "1.2.3.4"},
    {" 1. 2.\t3.\n4", "1.2.3.4"},
    {"001.02.3.000000000004", "1.2.3.4"},
    {"+1.+2.+3.-0", "1.2.3.0"},
    {"", nullptr},
    {"1.2.3.", nullptr},
    {"1.2.3.256", nullptr},
    {"256.0.0.0", nullptr},
    {"v1.2.3.4", nullptr},
    {"1 .2.3.4", nullptr},
    {"1,2,3,4", nullptr},
    {"1..2.3", nullptr},
    {"1.2.3.-1", nullptr},
    // What sscanf() lets wrap.
    {"4294967297.0.0.0", nullptr},
    {"18446744073709551617.0.0.0", nullptr},
    {"-4294967295.0.0.0", nullptr},
    {"-18446744073709551615.0.0.0", nullptr},
    {"0.0.0.99999999999999999999999999999999999999", nullptr},
};
}  // namespace

TEST(CVersion, ReadsATextOrRefusesItAndStaysAsItWas)
{
    for (const SText& rst : g_astTEXTS)
    {
        SCOPED_TRACE(rst.pszText);
        CVersion version("11.12.13.14");
        EXPECT_EQ(rst.pszWant != nullptr, version.SetStr(rst.pszText));
        EXPECT_EQ(rst.pszWant != nullptr ? rst.pszWant : "11.12.13.14", TextOf(version));
    }
}

TEST(CVersion, TakesNoSizeOfABufferForANegativeOne)
{
    char szText[16];
    EXPECT_EQ(7, CVersion().GetStr(szText, 0xFFFFFFFF));
    EXPECT_STREQ("0.0.0.0", szText);
}

namespace
{
struct SNumber
{
    const char* pszText;
    unsigned int uMax;
    bool bRead;
    unsigned int uValue;
    std::size_t uConsumed;
};

constexpr SNumber g_astNUMBERS[] = {
    {"0", 0, true, 0, 1},
    {"59:30", 59, true, 59, 2},
    {"60:30", 59, false, 0, 2},
    {" \t\n+7x", 9, true, 7, 5},
    {"-7x", 9, false, 0, 2},
    {"-0x", 9, true, 0, 2},
    {"00000000000000000000012.", 12, true, 12, 23},
    {"99999999999999999999999.", 12, false, 0, 23},
    {"4294967295", UINT_MAX, true, UINT_MAX, 10},
    {"4294967296", UINT_MAX, false, 0, 10},
    {"18446744073709551617", UINT_MAX, false, 0, 20},
    {"", 9, false, 0, 0},
    {" x", 9, false, 0, 0},
    {"+-1", 9, false, 0, 0},
    {"- 1", 9, false, 0, 0},
    {"/1", 9, false, 0, 0},
    {":1", 9, false, 0, 0},
};
}  // namespace

TEST(ReadUnsigned, StopsBehindTheNumberAndTakesNoneAboveTheLimit)
{
    for (const SNumber& rst : g_astNUMBERS)
    {
        SCOPED_TRACE(rst.pszText);
        constexpr unsigned int uBEFORE = 0xEEEE;
        unsigned int uValue = uBEFORE;
        const char* pszRest = rst.pszText;
        EXPECT_EQ(rst.bRead, orvel_internal::ReadUnsigned(pszRest, rst.uMax, uValue));
        EXPECT_EQ(rst.bRead ? rst.uValue : uBEFORE, uValue);
        EXPECT_EQ(rst.uConsumed, static_cast<std::size_t>(pszRest - rst.pszText));
    }
}

TEST(FrameworkVersion, IsTheOneThatTheBuildInstalls)
{
    EXPECT_EQ(ORVEL_VERSION, TextOf(QvGetFrameworkVersion()).substr(0, std::string(ORVEL_VERSION).size()));
    EXPECT_EQ("." + std::to_string(QV_FRAMEWORK_VERSION_BUILD),
              TextOf(QvGetFrameworkVersion()).substr(std::string(ORVEL_VERSION).size()));
}

TEST(FrameworkVersion, OfTheHeadersIsThatOfTheLibraryBuiltWithThem)
{
    EXPECT_TRUE(QvGetFrameworkVersion() == QvGetFrameworkHeaderVersion());
}

TEST(FrameworkVersion, CanBeComparedByThePreprocessor)
{
    const CVersion version = QvGetFrameworkHeaderVersion();
    EXPECT_EQ(QV_FRAMEWORK_VERSION, QV_FRAMEWORK_VERSION_OF(version.GetMajor(), version.GetMinor(),
                                                            version.GetRelease(), version.GetBuild()));
    EXPECT_LT(QV_FRAMEWORK_VERSION_OF(1, 0, 255, 255), QV_FRAMEWORK_VERSION_OF(1, 1, 0, 0));
    EXPECT_LT(QV_FRAMEWORK_VERSION_OF(1, 255, 255, 255), QV_FRAMEWORK_VERSION_OF(2, 0, 0, 0));
    EXPECT_LT(QV_FRAMEWORK_VERSION_OF(1, 2, 3, 4), QV_FRAMEWORK_VERSION_OF(1, 2, 4, 0));
}

TEST(FrameworkVersion, HasItsMajorNumberInTheNameThatProgramsLoad)
{
    const std::string soname = "liborvel_framework.so." + std::to_string(QvGetFrameworkVersion().GetMajor());
    void* const pvLoaded = dlopen(soname.c_str(), RTLD_NOW | RTLD_NOLOAD);
    EXPECT_NE(nullptr, pvLoaded) << "this program runs with the library, but not under the name " << soname;
    if (pvLoaded != nullptr) dlclose(pvLoaded);
}

TEST(COsVersion, IsUnknownUntilSomebodyAsks)
{
    EXPECT_EQ(COsVersion::eUNKNOWN, g_eOsVersion);
    EXPECT_EQ(COsVersion::eLINUX, COsVersion::GetOsVersion());
    EXPECT_EQ(COsVersion::eLINUX, g_eOsVersion);
}

TEST(CUnusedParameter, IsReturnedItselfOrWithItsValue)
{
    const std::string text("text");
    EXPECT_EQ(&text, &QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(text));
    static_assert(std::is_same_v<const int&, decltype(QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(1))>);
    for (const uintptr_t u : {uintptr_t{0}, uintptr_t{0x100000000}, UINTPTR_MAX})
        EXPECT_EQ(u, QvRemoveUnusedFunctionParamWarning(u));
}

// Programs that were built before have them compiled in.
TEST(QvTraceAndPackageValues, StayAsTheyAre)
{
    const EQvTraceLevel aeLevels[] = {eTRACE_LEVEL_FATAL, eTRACE_LEVEL_ERROR, eTRACE_LEVEL_WARNING, eTRACE_LEVEL_INFO,
                                      eTRACE_LEVEL_DEBUG};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(1 << n, aeLevels[n]);
    EXPECT_EQ(0, eTRACE_LEVEL_NONE);
    EXPECT_EQ(31, eTRACE_LEVEL_ALL);
    const EQvTraceCategory aeCategories[] = {eTRACE_CATEGORY_CALL, eTRACE_CATEGORY_STATE, eTRACE_CATEGORY_MEMORY,
                                             eTRACE_CATEGORY_THREAD, eTRACE_CATEGORY_TIME};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(1 << n, aeCategories[n]);
    EXPECT_EQ(0, eTRACE_CATEGORY_NONE);
    EXPECT_EQ(65536, eTRACE_CATEGORY_APPLICATION);
    EXPECT_EQ(2147483647, eTRACE_CATEGORY_ALL);
    const EQvTraceField aeFields[] = {eTRACE_FIELD_TIME,       eTRACE_FIELD_SYSTEM_TIME, eTRACE_FIELD_HOST_NAME,
                                      eTRACE_FIELD_PROCESS_ID, eTRACE_FIELD_THREAD_ID,   eTRACE_FIELD_PACKAGE,
                                      eTRACE_FIELD_LEVEL,      eTRACE_FIELD_CATEGORY,    eTRACE_FIELD_TEXT};
    for (int n = 0; n < 9; ++n) EXPECT_EQ(n, aeFields[n]);
    const EQvPackageId aePackages[] = {ePACKAGE_FRAMEWORK, ePACKAGE_KERNEL, ePACKAGE_BASIC, ePACKAGE_ECOM,
                                       ePACKAGE_CRYPTO};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(n, aePackages[n]);
    EXPECT_EQ(1000, ePACKAGE_APPLICATION);
}
