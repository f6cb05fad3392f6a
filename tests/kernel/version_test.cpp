// Orders, ranges, cut texts and random ones are the matter of fuzz/version_fuzz.cpp.
#include "framework/kernel/version.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <type_traits>

static_assert(!std::is_trivially_copyable_v<CVersion>, "does not travel in registers");

namespace
{
CVersion Make(unsigned int uMajor, unsigned int uMinor, unsigned int uRelease, unsigned int uBuild)
{
    CVersion version;
    version.SetMajor(static_cast<unsigned char>(uMajor)).SetMinor(static_cast<unsigned char>(uMinor));
    version.SetRelease(static_cast<unsigned char>(uRelease)).SetBuild(static_cast<unsigned char>(uBuild));
    return version;
}

std::tuple<int, int, int, int> PartsOf(const CVersion& rVersion)
{
    return {rVersion.GetMajor(), rVersion.GetMinor(), rVersion.GetRelease(), rVersion.GetBuild()};
}

std::string TextOf(const CVersion& rVersion)
{
    char szText[16];
    rVersion.GetStr(szText, sizeof(szText));
    return szText;
}
}  // namespace

TEST(CVersion, CopiesAndAssignsTheParts)
{
    const CVersion version("9.8.7.6");
    const CVersion copy(version);
    EXPECT_EQ(std::make_tuple(9, 8, 7, 6), PartsOf(copy));
    CVersion assigned;
    EXPECT_EQ(&assigned, &(assigned = version));
    EXPECT_EQ(std::make_tuple(9, 8, 7, 6), PartsOf(assigned));
    assigned = *&assigned;
    EXPECT_EQ(std::make_tuple(9, 8, 7, 6), PartsOf(assigned));
}

struct SText
{
    const char* pszText;
    const char* pszWant;  // null: refused
};

class CVersionText : public testing::TestWithParam<SText>
{
};

TEST_P(CVersionText, IsReadOrRefused)
{
    CVersion version = Make(11, 12, 13, 14);
    EXPECT_EQ(GetParam().pszWant != nullptr, version.SetStr(GetParam().pszText));
    EXPECT_EQ(GetParam().pszWant != nullptr ? GetParam().pszWant : "11.12.13.14", TextOf(version));
    if (GetParam().pszWant == nullptr) return;
    EXPECT_EQ(GetParam().pszWant, TextOf(CVersion(GetParam().pszText)));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, CVersionText,
    testing::Values(
        SText{"1.2.3.4", "1.2.3.4"}, SText{"0.0.0.0", "0.0.0.0"}, SText{"255.255.255.255", "255.255.255.255"},
        SText{"1.2.3.4-beta", "1.2.3.4"}, SText{"1.2.3.4.5", "1.2.3.4"}, SText{"1.2.3.4 5", "1.2.3.4"},
        SText{" 1. 2.\t3.\n4", "1.2.3.4"}, SText{"001.02.3.000000000004", "1.2.3.4"}, SText{"+1.+2.+3.+4", "1.2.3.4"},
        SText{"-0.0.0.0", "0.0.0.0"}, SText{"1.2.3.0x10", "1.2.3.0"}, SText{nullptr, nullptr}, SText{"", nullptr},
        SText{"1", nullptr}, SText{"1.2.3", nullptr}, SText{"1.2.3.", nullptr}, SText{"1.2.3.256", nullptr},
        SText{"256.0.0.0", nullptr}, SText{"1.2.3.x", nullptr}, SText{"v1.2.3.4", nullptr}, SText{"1 .2.3.4", nullptr},
        SText{"1,2,3,4", nullptr}, SText{"1..2.3", nullptr}, SText{".1.2.3", nullptr}, SText{"-1.2.3.4", nullptr},
        SText{"1.2.3.-1", nullptr}, SText{"- 0.0.0.0", nullptr}, SText{"+-1.0.0.0", nullptr},
        SText{"4294967296.0.0.0", nullptr}, SText{"4294967297.0.0.0", nullptr},
        SText{"18446744073709551617.0.0.0", nullptr}, SText{"-4294967295.0.0.0", nullptr},
        SText{"-18446744073709551615.0.0.0", nullptr}, SText{"0.0.0.99999999999999999999999999999999999999", nullptr}));

TEST(CVersionGetStr, WritesFourNumbersWithDots)
{
    char szText[16];
    EXPECT_EQ(15, Make(255, 255, 255, 255).GetStr(szText, sizeof(szText)));
    EXPECT_STREQ("255.255.255.255", szText);
    EXPECT_EQ(7, CVersion().GetStr(szText, sizeof(szText)));
    EXPECT_STREQ("0.0.0.0", szText);
    EXPECT_EQ(7, CVersion().GetStr(szText, 0xFFFFFFFF)) << "no size is taken for a negative one";
    EXPECT_STREQ("0.0.0.0", szText);
}
