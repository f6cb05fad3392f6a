// Which texts are zones, and what they mean.
#include <gtest/gtest.h>

#include <iterator>
#include <ostream>
#include <random>
#include <string>

#include "framework/basic/time_zone.h"
#include "tests/support/test_seed.h"
#include "tests/support/zone_bytes.h"
#include "tests/support/zone_grammar.h"

namespace
{
enum EVerdict
{
    eACCEPTED,
    eREFUSED
};

struct SText
{
    const char* pszText;
    EVerdict eVerdict;
    const char* pszReason;
};

void PrintTo(const SText& rText, std::ostream* pStream)
{
    *pStream << (rText.pszText != nullptr ? rText.pszText : "null");
}

void ExpectSame(const SZoneGrammar& rWant, const SZoneBytes& rGot)
{
    EXPECT_EQ(rWant.strStandard, rGot.strStandard);
    EXPECT_EQ(rWant.nStandardMs, rGot.nStandardMs);
    EXPECT_EQ(0u, rGot.uYear);
    ASSERT_EQ(rWant.bDaylight, rGot.bDaylight);
    if (!rWant.bDaylight) return;
    EXPECT_EQ(rWant.strDaylight, rGot.strDaylight);
    EXPECT_EQ(rWant.nDaylightMs, rGot.nDaylightMs);
    const auto expectRule = [](const SZoneGrammar::SRule& rRule, const SZoneBytes::SLimit& rLimit)
    {
        EXPECT_EQ(rRule.uKind, rLimit.uKind);
        for (int n = 0; n < 3; ++n) EXPECT_EQ(rRule.auNumbers[n], rLimit.auRule[n]);
        EXPECT_EQ(rRule.uTimeMs, rLimit.uTimeMs);
    };
    expectRule(rWant.start, rGot.stStart);
    expectRule(rWant.end, rGot.stEnd);
}

class CZoneText : public testing::TestWithParam<SText>
{
};

TEST_P(CZoneText, IsAcceptedOrRefusedForItsReason)
{
    static const char szOLD[] = "OLD7NEW6,J10/01:02:03,200/04:05:06";
    SCOPED_TRACE(GetParam().pszReason);
    CTimeZone zone(szOLD);
    const QvResult res = zone.SetTimeZone(GetParam().pszText);
    if (GetParam().eVerdict == eREFUSED)
    {
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res);
        EXPECT_STREQ(szOLD, zone.GetTimeZone());
        ExpectSame(*SZoneGrammar::Read(szOLD), SZoneBytes(zone));
        return;
    }
    ASSERT_EQ(QV_RES_OK, res);
    EXPECT_STREQ(GetParam().pszText, zone.GetTimeZone());
    const auto want = SZoneGrammar::Read(GetParam().pszText);
    ASSERT_TRUE(want.has_value());
    ExpectSame(*want, SZoneBytes(zone));
}

constexpr SText g_astTEXTS[] = {
    {nullptr, eREFUSED, "null"},
    {"", eREFUSED, "empty"},
    // The standard name.
    {"EST5", eACCEPTED, "three letters"},
    {"A5", eACCEPTED, "one character will do"},
    {"ABCDEFGHI5", eACCEPTED, "nine characters"},
    {"ABCDEFGHIJ5", eREFUSED, "ten characters: the tenth is no offset"},
    {"5", eREFUSED, "no name"},
    {"-5", eREFUSED, "no name"},
    {"EST", eREFUSED, "no offset"},
    {" 5", eACCEPTED, "a blank is a name"},
    {"<EST>5", eACCEPTED, "angle brackets are characters like others"},
    {"<+05>5", eACCEPTED, "and keep no sign in a name: < five hours behind, with a daylight time named >"},
    {"\xC3\x89T5", eACCEPTED, "bytes above 127"},
    // The standard offset.
    {"EST+5", eACCEPTED, "a plus"},
    {"EST0000000000000000005", eACCEPTED, "zeros do not count"},
    {"EST24", eREFUSED, "hour 24"},
    {"EST4294967301", eREFUSED, "2^32 + 5 is not 5"},
    {"EST18446744073709551621", eREFUSED, "2^64 + 5 is not 5"},
    {"EST5:60", eREFUSED, "minute 60"},
    {"EST5:30:59", eACCEPTED, "second 59"},
    {"EST5:30:60", eREFUSED, "second 60"},
    {"EST-23:59:59", eACCEPTED, "the largest, east"},
    {"EST5:", eREFUSED, "the colon becomes the name of a daylight part that ends there"},
    {"EST5:30:", eREFUSED, "the same behind minutes"},
    {"EST5:EDT4", eACCEPTED, "the colon belongs to the daylight name"},
    {"EST5.5", eACCEPTED, "a daylight time named '.' five hours behind"},
    {"EST5 :30", eREFUSED, "a daylight time named ' :' would be thirty hours behind"},
    {"EST+", eREFUSED, "a lone sign"},
    {"EST+EDT", eREFUSED, "a sign without a number"},
    {"EST+-5", eREFUSED, "-5 wraps as an unsigned number"},
    {"EST-+5", eACCEPTED, "the number itself may have a plus"},
    {"EST+-0", eACCEPTED, "minus nothing"},
    {"EST+ 5", eACCEPTED, "blanks before a number are skipped"},
    {"EST5: 30", eACCEPTED, "blanks before the minutes"},
    {"EST5:+30", eACCEPTED, "a plus before the minutes"},
    {"EST5:-30", eREFUSED, "a minus before the minutes"},
    {"EST5:-10", eREFUSED, "the same, and no daylight time named ':' ten hours ahead"},
    {"EST ", eREFUSED, "a name that ends with a blank, and no offset"},
    {"EST5 ", eREFUSED, "a daylight name of a blank, and nothing behind"},
    // The daylight name.
    {"EST5EDT", eREFUSED, "nothing behind the daylight name"},
    {"EST5EDT4", eACCEPTED, "with its offset"},
    {"EST5ABCDEFGHIJ4", eREFUSED, "ten"},
    {"EST5,M3.2.0,M11.1.0", eREFUSED, "no daylight name"},
    {"EST5+4", eREFUSED, "no daylight name"},
    // The daylight offset.
    {"EST5EDT-4", eACCEPTED, "a minus"},
    {"EST5EDT+", eREFUSED, "a lone sign"},
    {"EST5EDT++4", eREFUSED, "a sign with no digit behind it"},
    {"EST5EDT24", eREFUSED, "hour 24"},
    {"EST5EDT4:59:60", eREFUSED, "second 60"},
    {"EST5EDT4:30:30", eACCEPTED, "seconds"},
    {"EST5EDT4 ", eREFUSED, "a blank where a rule is due"},
    {"EST5EDT4EST", eREFUSED, "a third name"},
    // How many rules.
    {"EST5EDT,M3.2.0,M11.1.0", eACCEPTED, "rules without an offset"},
    {"EST5EDT,", eREFUSED, "no rule"},
    {"EST5EDT4,M3.2.0", eREFUSED, "one rule"},
    {"EST5EDT4,M3.2.0,", eREFUSED, "an empty second rule"},
    {"EST5EDT4,M3.2.0,M11.1.0,M12.1.0", eREFUSED, "three rules"},
    {"EST5EDT4,M3.2.0,M11.1.0 ", eREFUSED, "a blank behind the end rule"},
    {"EST5EDT4,M3.2.0,M11.1.0/2:", eREFUSED, "a colon behind the end time"},
    {"EST5EDT4, M3.2.0,M11.1.0", eREFUSED, "a blank before a rule"},
    // Day numbers from 0.
    {"EST5EDT4,0,365", eACCEPTED, "the first and the last"},
    {"EST5EDT4,366,0", eREFUSED, "366"},
    {"EST5EDT4,0,366", eREFUSED, "366"},
    {"EST5EDT4,4294967296,60", eREFUSED, "2^32 is not 0"},
    {"EST5EDT4,-1,60", eREFUSED, "a minus"},
    {"EST5EDT4,+1,60", eREFUSED, "a plus"},
    // Day numbers from 1.
    {"EST5EDT4,J1,J365", eACCEPTED, "the first and the last"},
    {"EST5EDT4,J0,J365", eREFUSED, "J0"},
    {"EST5EDT4,J366,J1", eREFUSED, "J366"},
    {"EST5EDT4,J1,J366", eREFUSED, "J366"},
    {"EST5EDT4,J 1,J365", eREFUSED, "a digit must follow at once"},
    {"EST5EDT4,J+1,J365", eREFUSED, "a digit must follow at once"},
    {"EST5EDT4,J/2,J365", eREFUSED, "no default for J"},
    // Month, week and weekday.
    {"EST5EDT4,M1.1.0,M12.5.6", eACCEPTED, "the least and the largest"},
    {"EST5EDT4,m3.2.0,m11.1.0", eACCEPTED, "lower case"},
    {"EST5EDT4,M0.2.0,M11.1.0", eREFUSED, "month 0"},
    {"EST5EDT4,M13.2.0,M11.1.0", eREFUSED, "month 13"},
    {"EST5EDT4,M3.0.0,M11.1.0", eREFUSED, "week 0"},
    {"EST5EDT4,M3.6.0,M11.1.0", eREFUSED, "week 6"},
    {"EST5EDT4,M3.2.7,M11.1.0", eREFUSED, "weekday 7"},
    {"EST5EDT4,M3.2.0,M0.1.0", eREFUSED, "month 0 in the end rule"},
    {"EST5EDT4,M3.2.0,M13.1.0", eREFUSED, "month 13 in the end rule"},
    {"EST5EDT4,M3.2.0,M11.0.0", eREFUSED, "week 0 in the end rule"},
    {"EST5EDT4,M3.2.0,M11.6.0", eREFUSED, "week 6 in the end rule"},
    {"EST5EDT4,M3.2.0,M11.1.7", eREFUSED, "weekday 7 in the end rule"},
    {"EST5EDT4,M3.2,M11.1.0", eREFUSED, "two numbers"},
    {"EST5EDT4,M3.2.0.1,M11.1.0", eREFUSED, "four numbers"},
    {"EST5EDT4,M 3. 2. 0,M11.1.0", eACCEPTED, "blanks before numbers"},
    {"EST5EDT4,M3 .2.0,M11.1.0", eREFUSED, "a blank behind a number"},
    {"EST5EDT4,M+3.2.0,M11.1.0", eACCEPTED, "the number itself may have a plus"},
    {"EST5EDT4,M-3.2.0,M11.1.0", eREFUSED, "a minus wraps"},
    {"EST5EDT4,M4294967299.2.0,M11.1.0", eREFUSED, "2^32 + 3 is not 3"},
    {"EST5EDT4,N3.2.0,M11.1.0", eREFUSED, "no such rule"},
    // The bare M.
    {"EST5EDT4,M3.2.0,M/3", eACCEPTED, "the default end needs a time"},
    {"EST5EDT4,M3.2.0,M", eREFUSED, "the default end without one"},
    {"EST5EDT4,M,M/1:30", eACCEPTED, "both"},
    {"EST5EDT4,M,M", eREFUSED, "both, but the end without a time"},
    {"EST5EDT,m,m/2", eACCEPTED, "lower case"},
    // Mixed kinds.
    {"EST5EDT4,J60,M11.1.0", eACCEPTED, "J and M"},
    // The time of a rule.
    {"EST5EDT4,M3.2.0/0,M11.1.0/23:59:59", eACCEPTED, "the least and the largest"},
    {"EST5EDT4,M3.2.0/24:00:00,M11.1.0", eREFUSED, "hour 24"},
    {"EST5EDT4,M3.2.0/2:00:60,M11.1.0", eREFUSED, "second 60"},
    {"EST5EDT4,M3.2.0/,M11.1.0", eREFUSED, "no number"},
    {"EST5EDT4,M3.2.0,M11.1.0/", eREFUSED, "no number"},
    {"EST5EDT4,M3.2.0/-1,M11.1.0", eREFUSED, "a minus"},
    {"EST5EDT4,M3.2.0/+1,M11.1.0", eACCEPTED, "the number itself may have a plus"},
    {"EST5EDT4,M3.2.0/ 1,M11.1.0", eACCEPTED, "a blank before the number"},
    {"EST5EDT4,M3.2.0/1:2:3:4,M11.1.0", eREFUSED, "four parts"},
};

INSTANTIATE_TEST_SUITE_P(Grammar, CZoneText, testing::ValuesIn(g_astTEXTS));

std::string Mangled(std::string text, std::mt19937& rRng)
{
    static const char szALPHABET[] = "0123456789,+-/:.MJmjEST \t";
    for (unsigned int uChanges = 1 + Below(rRng, 3); uChanges != 0; --uChanges)
    {
        const std::size_t uAt = Below(rRng, text.size() + 1);
        const char c = szALPHABET[Below(rRng, sizeof(szALPHABET) - 1)];
        switch (rRng() % 3)
        {
            case 0: text.insert(uAt, 1, c); break;
            case 1: text.erase(uAt, 1 + Below(rRng, 2)); break;
            default: text.replace(uAt, 1, 1, c); break;
        }
    }
    return text;
}

TEST(CTimeZoneTexts, AreReadAsTheGrammarSaysHoweverTheyAreMangled)
{
    static const char* const apszSEEDS[] = {"EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00",
                                            "NST3:30NDT2:30,J60/01:00:00,300/1",
                                            "AUSEST-10AUSDST-11,M10.5.0,M3.5.0/02:00:00",
                                            "GMT0DMT-1,M,M/2:00",
                                            "A5B4",
                                            "UTC0"};
    std::mt19937 rng(TestSeed());
    unsigned int uAccepted = 0;
    for (unsigned int uRound = 0; uRound < 40000; ++uRound)
    {
        const std::string text = Mangled(apszSEEDS[Below(rng, std::size(apszSEEDS))], rng);
        SCOPED_TRACE(text);
        const auto want = SZoneGrammar::Read(text.c_str());
        CTimeZone zone;
        ASSERT_EQ(want.has_value() ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, zone.SetTimeZone(text.c_str()));
        if (!want.has_value()) continue;
        ++uAccepted;
        ExpectSame(*want, SZoneBytes(zone));
        if (HasFailure()) return;
    }
    EXPECT_GT(uAccepted, 1000u);
}

TEST(CTimeZoneTexts, LongerThanAStringAreRefused)
{
    const std::string longest = "EST" + std::string(65531, '0') + "5";
    ASSERT_EQ(65535u, longest.size());
    CTimeZone zone;
    EXPECT_EQ(QV_RES_OK, zone.SetTimeZone(longest.c_str()));
    EXPECT_EQ(longest, zone.GetTimeZone());
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, zone.SetTimeZone(("EST0" + longest.substr(3)).c_str()));
    EXPECT_EQ(longest, zone.GetTimeZone());
}
}  // namespace
