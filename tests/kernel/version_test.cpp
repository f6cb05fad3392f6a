#include "framework/kernel/version.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "tests/support/object_bytes.h"
#include "tests/support/test_seed.h"

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

TEST(CVersion, IsFourBytesMostSignificantFirst)
{
    const CVersion version = Make(1, 2, 3, 4);
    EXPECT_EQ((std::vector<unsigned char>{1, 2, 3, 4}), BytesAt(&version, 0, 4));
}

TEST(CVersion, IsZeroWhenNew)
{
    EXPECT_EQ(std::make_tuple(0, 0, 0, 0), PartsOf(CVersion()));
}

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

TEST(CVersion, SetsOnePartAndReturnsItself)
{
    CVersion version;
    EXPECT_EQ(&version, &version.SetMajor(255));
    EXPECT_EQ(&version, &version.SetMinor(254));
    EXPECT_EQ(&version, &version.SetRelease(253));
    EXPECT_EQ(&version, &version.SetBuild(252));
    EXPECT_EQ(std::make_tuple(255, 254, 253, 252), PartsOf(version));
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

TEST(CVersionTexts, AreReadAsSscanfReadsThem)
{
    std::mt19937 rng(TestSeed());
    static constexpr char szAlphabet[] = "0123456789....  \t+-x";
    unsigned int uAccepted = 0;
    for (unsigned int uStep = 0; uStep < 200000; ++uStep)
    {
        std::string strText;
        // Every other text is a good one with a flaw or none.
        if (uStep % 2 == 0)
        {
            for (int n = 0; n < 4; ++n) strText.append(n != 0 ? "." : "").append(std::to_string(Below(rng, 300)));
            if (rng() % 2 == 0) strText[Below(rng, strText.size())] = szAlphabet[Below(rng, sizeof(szAlphabet) - 1)];
        }
        else
        {
            for (unsigned int u = Below(rng, 14); u != 0; --u)
                strText += szAlphabet[Below(rng, sizeof(szAlphabet) - 1)];
        }
        unsigned int auParts[4] = {};
        const int nRead = std::sscanf(strText.c_str(), "%u.%u.%u.%u", auParts, auParts + 1, auParts + 2, auParts + 3);
        bool bWant = nRead == 4;
        for (unsigned int uPart : auParts) bWant = bWant && uPart <= 255;
        CVersion version;
        ASSERT_EQ(bWant, version.SetStr(strText.c_str())) << strText;
        if (!bWant) continue;
        ++uAccepted;
        ASSERT_EQ(PartsOf(Make(auParts[0], auParts[1], auParts[2], auParts[3])), PartsOf(version)) << strText;
    }
    EXPECT_GT(uAccepted, 1000u);
}

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

TEST(CVersionGetStr, CutsWithoutATerminator)
{
    char szText[] = "########";
    EXPECT_EQ(4, Make(10, 20, 30, 40).GetStr(szText, 4));
    EXPECT_STREQ("10.2####", szText);
    EXPECT_EQ(0, Make(10, 20, 30, 40).GetStr(szText, 0));
    EXPECT_STREQ("10.2####", szText);
}

TEST(CVersionOrder, IsThatOfTheFourPartsInTurn)
{
    constexpr unsigned int auVALUES[] = {0, 1, 127, 128, 255};
    std::mt19937 rng(TestSeed());
    for (unsigned int uStep = 0; uStep < 50000; ++uStep)
    {
        std::array<unsigned int, 8> values;
        for (unsigned int& ruValue : values) ruValue = auVALUES[Below(rng, 5)];
        for (unsigned int u = 0; u < Below(rng, 5); ++u) values[4 + u] = values[u];
        const CVersion a = Make(values[0], values[1], values[2], values[3]);
        const CVersion b = Make(values[4], values[5], values[6], values[7]);
        ASSERT_EQ(PartsOf(a) == PartsOf(b), a == b);
        ASSERT_EQ(PartsOf(a) != PartsOf(b), a != b);
        ASSERT_EQ(PartsOf(a) < PartsOf(b), a < b);
        ASSERT_EQ(PartsOf(a) <= PartsOf(b), a <= b);
        ASSERT_EQ(PartsOf(a) > PartsOf(b), a > b);
        ASSERT_EQ(PartsOf(a) >= PartsOf(b), a >= b);
    }
    EXPECT_GT(CVersion("1.10.0.0"), CVersion("1.9.255.255"));
}

TEST(CVersionIsInRange, IncludesBothBounds)
{
    const CVersion low("1.0.0.0");
    const CVersion middle("1.5.0.0");
    const CVersion high("2.0.0.0");
    EXPECT_TRUE(low.IsInRange(low, low));
    EXPECT_TRUE(low.IsInRange(low, high));
    EXPECT_TRUE(high.IsInRange(low, high));
    EXPECT_TRUE(middle.IsInRange(low, high));
    EXPECT_FALSE(low.IsInRange(middle, high));
    EXPECT_FALSE(high.IsInRange(low, middle));
    EXPECT_FALSE(middle.IsInRange(high, low));
}
