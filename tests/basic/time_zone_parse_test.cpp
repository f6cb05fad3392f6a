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
constexpr bool ACCEPTED = true;
constexpr bool REFUSED = false;

struct SText
{
    const char* pszText;
    bool bAccepted;
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
        for (int n = 0; n < (rRule.uKind == 2 ? 3 : 1); ++n) EXPECT_EQ(rRule.auNumbers[n], rLimit.auRule[n]);
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
    if (!GetParam().bAccepted)
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
    {nullptr, REFUSED, "null"},
    {"", REFUSED, "empty"},
    // The standard name.
    {"EST5", ACCEPTED, "three letters"},
    {"A5", ACCEPTED, "one character will do"},
    {"AB5", ACCEPTED, "two characters"},
    {"ABCDEFGHI5", ACCEPTED, "nine characters"},
    {"ABCDEFGHIJ5", REFUSED, "ten characters: the tenth is no offset"},
    {"5", REFUSED, "no name"},
    {"+5", REFUSED, "no name"},
    {"-5", REFUSED, "no name"},
    {",5", REFUSED, "no name"},
    {"EST", REFUSED, "no offset"},
    {"EST,", REFUSED, "a comma where the offset is due"},
    {" 5", ACCEPTED, "a blank is a name"},
    {"E T5", ACCEPTED, "a blank in a name"},
    {"<EST>5", ACCEPTED, "angle brackets are characters like others"},
    {"<+05>5", ACCEPTED, "and keep no sign in a name: < five hours behind, with a daylight time named >"},
    {":EST5", ACCEPTED, "a colon is a character like others"},
    {"/5", ACCEPTED, "a slash, too"},
    {"est5", ACCEPTED, "lower case"},
    {"\xC3\x89T5", ACCEPTED, "bytes above 127"},
    {"E\tT5", ACCEPTED, "a tab"},
    // The standard offset.
    {"EST0", ACCEPTED, "hour 0"},
    {"EST+5", ACCEPTED, "a plus"},
    {"EST-5", ACCEPTED, "a minus: east"},
    {"EST05", ACCEPTED, "a leading zero"},
    {"EST0000000000000000005", ACCEPTED, "zeros do not count"},
    {"EST23", ACCEPTED, "hour 23"},
    {"EST24", REFUSED, "hour 24"},
    {"EST-24", REFUSED, "hour 24"},
    {"EST100", REFUSED, "hour 100"},
    {"EST4294967301", REFUSED, "2^32 + 5 is not 5"},
    {"EST18446744073709551621", REFUSED, "2^64 + 5 is not 5"},
    {"EST5:0", ACCEPTED, "minute 0"},
    {"EST5:3", ACCEPTED, "one digit"},
    {"EST5:59", ACCEPTED, "minute 59"},
    {"EST5:60", REFUSED, "minute 60"},
    {"EST5:30:59", ACCEPTED, "second 59"},
    {"EST5:30:60", REFUSED, "second 60"},
    {"EST23:59:59", ACCEPTED, "the largest"},
    {"EST-23:59:59", ACCEPTED, "the largest, east"},
    {"EST5:", REFUSED, "the colon becomes the name of a daylight part that ends there"},
    {"EST5:30:", REFUSED, "the same behind minutes"},
    {"EST5:EDT4", ACCEPTED, "the colon belongs to the daylight name"},
    {"EST5:30:EDT4", ACCEPTED, "the same behind minutes"},
    {"EST5:30:15:EDT4", ACCEPTED, "and behind seconds"},
    {"EST5:30:15:10", ACCEPTED, "a daylight time named ':' ten hours behind"},
    {"EST5.5", ACCEPTED, "a daylight time named '.' five hours behind"},
    {"EST5 :30", REFUSED, "a daylight time named ' :' would be thirty hours behind"},
    {"EST+", REFUSED, "a lone sign"},
    {"EST-", REFUSED, "a lone sign"},
    {"EST+EDT", REFUSED, "a sign without a number"},
    {"EST+-5", REFUSED, "-5 wraps as an unsigned number"},
    {"EST--5", REFUSED, "the same"},
    {"EST-+5", ACCEPTED, "the number itself may have a plus"},
    {"EST++5", ACCEPTED, "the same"},
    {"EST+-0", ACCEPTED, "minus nothing"},
    {"EST+ 5", ACCEPTED, "blanks before a number are skipped"},
    {"EST- \t5", ACCEPTED, "the same"},
    {"EST5: 30", ACCEPTED, "blanks before the minutes"},
    {"EST5:+30", ACCEPTED, "a plus before the minutes"},
    {"EST5:-30", REFUSED, "a minus before the minutes"},
    {"EST ", REFUSED, "a name that ends with a blank, and no offset"},
    {"EST5 ", REFUSED, "a daylight name of a blank, and nothing behind"},
    {"EST5\n", REFUSED, "a newline likewise"},
    // The daylight name.
    {"EST5EDT", REFUSED, "nothing behind the daylight name"},
    {"EST5EDT4", ACCEPTED, "with its offset"},
    {"EST5D4", ACCEPTED, "one character"},
    {"EST5ABCDEFGHI4", ACCEPTED, "nine characters"},
    {"EST5ABCDEFGHIJ4", REFUSED, "ten"},
    {"EST5,M3.2.0,M11.1.0", REFUSED, "no daylight name"},
    {"EST5+4", REFUSED, "no daylight name"},
    {"EST5-4", REFUSED, "no daylight name"},
    {"EST5,", REFUSED, "no daylight name"},
    // The daylight offset.
    {"EST5EDT+4", ACCEPTED, "a plus"},
    {"EST5EDT-4", ACCEPTED, "a minus"},
    {"EST5EDT+", REFUSED, "a lone sign"},
    {"EST5EDT-", REFUSED, "a lone sign"},
    {"EST5EDT+,M3.2.0,M11.1.0", REFUSED, "a lone sign"},
    {"EST5EDT- 4", REFUSED, "a sign with no digit behind it"},
    {"EST5EDT++4", REFUSED, "a sign with no digit behind it"},
    {"EST5EDT24", REFUSED, "hour 24"},
    {"EST5EDT4:60", REFUSED, "minute 60"},
    {"EST5EDT4:59:60", REFUSED, "second 60"},
    {"EST5EDT4:30", ACCEPTED, "minutes"},
    {"EST5EDT4:30:30", ACCEPTED, "seconds"},
    {"EST5EDT5", ACCEPTED, "no shift at all"},
    {"EST5EDT6", ACCEPTED, "a shift backwards"},
    {"EST5EDT4:", REFUSED, "a colon where a rule is due"},
    {"EST5EDT4 ", REFUSED, "a blank where a rule is due"},
    {"EST5EDT4X", REFUSED, "a letter where a rule is due"},
    {"EST5EDT4EST", REFUSED, "a third name"},
    {"EST5EDT;4", ACCEPTED, "a semicolon in the daylight name"},
    {"EST5EDT4;M3.2.0,M11.1.0", REFUSED, "a semicolon before the rules"},
    // How many rules.
    {"EST5EDT,M3.2.0,M11.1.0", ACCEPTED, "rules without an offset"},
    {"EST5EDT4,M3.2.0,M11.1.0", ACCEPTED, "rules with one"},
    {"EST5EDT,", REFUSED, "no rule"},
    {"EST5EDT4,", REFUSED, "no rule"},
    {"EST5EDT4,M3.2.0", REFUSED, "one rule"},
    {"EST5EDT4,M3.2.0,", REFUSED, "an empty second rule"},
    {"EST5EDT4,,M11.1.0", REFUSED, "an empty first rule"},
    {"EST5EDT4,M3.2.0,M11.1.0,", REFUSED, "text behind the end rule"},
    {"EST5EDT4,M3.2.0,M11.1.0,M12.1.0", REFUSED, "three rules"},
    {"EST5EDT4,M3.2.0,M11.1.0 ", REFUSED, "a blank behind the end rule"},
    {"EST5EDT4,M3.2.0,M11.1.0X", REFUSED, "a letter behind the end rule"},
    {"EST5EDT4,M3.2.0,M11.1.0/02:00:00X", REFUSED, "a letter behind the end time"},
    {"EST5EDT4,M3.2.0,M11.1.0/2:", REFUSED, "a colon behind the end time"},
    {"EST5EDT4 ,M3.2.0,M11.1.0", REFUSED, "a blank before the rules"},
    {"EST5EDT4, M3.2.0,M11.1.0", REFUSED, "a blank before a rule"},
    // Day numbers from 0.
    {"EST5EDT4,0,365", ACCEPTED, "the first and the last"},
    {"EST5EDT4,366,0", REFUSED, "366"},
    {"EST5EDT4,0,366", REFUSED, "366"},
    {"EST5EDT4,000,0100", ACCEPTED, "leading zeros"},
    {"EST5EDT4,59,60", ACCEPTED, "around the leap day"},
    {"EST5EDT4,4294967296,60", REFUSED, "2^32 is not 0"},
    {"EST5EDT4,-1,60", REFUSED, "a minus"},
    {"EST5EDT4,+1,60", REFUSED, "a plus"},
    {"EST5EDT4,1.2,60", REFUSED, "a fraction"},
    // Day numbers from 1.
    {"EST5EDT4,J1,J365", ACCEPTED, "the first and the last"},
    {"EST5EDT4,j1,j365", ACCEPTED, "lower case"},
    {"EST5EDT4,J0,J365", REFUSED, "J0"},
    {"EST5EDT4,J1,J0", REFUSED, "J0"},
    {"EST5EDT4,J366,J1", REFUSED, "J366"},
    {"EST5EDT4,J1,J366", REFUSED, "J366"},
    {"EST5EDT4,J,J365", REFUSED, "no number"},
    {"EST5EDT4,J 1,J365", REFUSED, "a digit must follow at once"},
    {"EST5EDT4,J+1,J365", REFUSED, "a digit must follow at once"},
    {"EST5EDT4,J/2,J365", REFUSED, "no default for J"},
    {"EST5EDT4,J060,J300", ACCEPTED, "a leading zero"},
    // Month, week and weekday.
    {"EST5EDT4,M1.1.0,M12.5.6", ACCEPTED, "the least and the largest"},
    {"EST5EDT4,m3.2.0,m11.1.0", ACCEPTED, "lower case"},
    {"EST5EDT4,M0.2.0,M11.1.0", REFUSED, "month 0"},
    {"EST5EDT4,M13.2.0,M11.1.0", REFUSED, "month 13"},
    {"EST5EDT4,M3.0.0,M11.1.0", REFUSED, "week 0"},
    {"EST5EDT4,M3.6.0,M11.1.0", REFUSED, "week 6"},
    {"EST5EDT4,M3.2.7,M11.1.0", REFUSED, "weekday 7"},
    {"EST5EDT4,M3.2.0,M0.1.0", REFUSED, "month 0 in the end rule"},
    {"EST5EDT4,M3.2.0,M13.1.0", REFUSED, "month 13 in the end rule"},
    {"EST5EDT4,M3.2.0,M11.0.0", REFUSED, "week 0 in the end rule"},
    {"EST5EDT4,M3.2.0,M11.6.0", REFUSED, "week 6 in the end rule"},
    {"EST5EDT4,M3.2.0,M11.1.7", REFUSED, "weekday 7 in the end rule"},
    {"EST5EDT4,M3,M11.1.0", REFUSED, "one number"},
    {"EST5EDT4,M3.2,M11.1.0", REFUSED, "two numbers"},
    {"EST5EDT4,M3.2.,M11.1.0", REFUSED, "two numbers"},
    {"EST5EDT4,M3.2.0.1,M11.1.0", REFUSED, "four numbers"},
    {"EST5EDT4,M3,2,0,M11.1.0", REFUSED, "commas for dots"},
    {"EST5EDT4,M.2.0,M11.1.0", REFUSED, "no month"},
    {"EST5EDT4,M03.02.00,M11.1.0", ACCEPTED, "leading zeros"},
    {"EST5EDT4,M 3. 2. 0,M11.1.0", ACCEPTED, "blanks before numbers"},
    {"EST5EDT4,M3 .2.0,M11.1.0", REFUSED, "a blank behind a number"},
    {"EST5EDT4,M+3.2.0,M11.1.0", ACCEPTED, "the number itself may have a plus"},
    {"EST5EDT4,M-3.2.0,M11.1.0", REFUSED, "a minus wraps"},
    {"EST5EDT4,M4294967299.2.0,M11.1.0", REFUSED, "2^32 + 3 is not 3"},
    {"EST5EDT4,N3.2.0,M11.1.0", REFUSED, "no such rule"},
    {"EST5EDT4,MM3.2.0,M11.1.0", REFUSED, "two letters"},
    // The bare M.
    {"EST5EDT4,M,M11.1.0", ACCEPTED, "the default start"},
    {"EST5EDT4,M/3,M11.1.0", ACCEPTED, "the default start with a time"},
    {"EST5EDT4,M3.2.0,M/3", ACCEPTED, "the default end needs a time"},
    {"EST5EDT4,M3.2.0,M", REFUSED, "the default end without one"},
    {"EST5EDT4,M,M/1:30", ACCEPTED, "both"},
    {"EST5EDT4,M,M", REFUSED, "both, but the end without a time"},
    {"EST5EDT4,M3.2.0,M,", REFUSED, "a comma is no default in the end rule"},
    {"EST5EDT,m,m/2", ACCEPTED, "lower case"},
    // Mixed kinds.
    {"EST5EDT4,J60,M11.1.0", ACCEPTED, "J and M"},
    {"EST5EDT4,60,J300", ACCEPTED, "n and J"},
    {"EST5EDT4,M3.2.0,300", ACCEPTED, "M and n"},
    // The time of a rule.
    {"EST5EDT4,M3.2.0/0,M11.1.0/23:59:59", ACCEPTED, "the least and the largest"},
    {"EST5EDT4,M3.2.0/24:00:00,M11.1.0", REFUSED, "hour 24"},
    {"EST5EDT4,M3.2.0,M11.1.0/24", REFUSED, "hour 24"},
    {"EST5EDT4,M3.2.0/2:60,M11.1.0", REFUSED, "minute 60"},
    {"EST5EDT4,M3.2.0/2:00:60,M11.1.0", REFUSED, "second 60"},
    {"EST5EDT4,M3.2.0/,M11.1.0", REFUSED, "no number"},
    {"EST5EDT4,M3.2.0,M11.1.0/", REFUSED, "no number"},
    {"EST5EDT4,M3.2.0/-1,M11.1.0", REFUSED, "a minus"},
    {"EST5EDT4,M3.2.0/+1,M11.1.0", ACCEPTED, "the number itself may have a plus"},
    {"EST5EDT4,M3.2.0/ 1,M11.1.0", ACCEPTED, "a blank before the number"},
    {"EST5EDT4,M3.2.0/1:30,M11.1.0", ACCEPTED, "minutes"},
    {"EST5EDT4,M3.2.0/1:2:3,M11.1.0", ACCEPTED, "single digits"},
    {"EST5EDT4,M3.2.0/1:2:3:4,M11.1.0", REFUSED, "four parts"},
    {"EST5EDT4,M3.2.0//2,M11.1.0", REFUSED, "two slashes"},
    {"EST5EDT4,J60/1,300/3", ACCEPTED, "with day numbers"},
    {"EST5EDT4,60/24,300", REFUSED, "hour 24 with a day number"},
    {"EST5EDT4,J60/,300", REFUSED, "no number with a day number"},
};

static_assert(std::size(g_astTEXTS) >= 150);

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

TEST(CTimeZoneTexts, WithoutRulesGetTheDefaultOnes)
{
    const SZoneBytes zone(CTimeZone("EST5EDT4"));
    EXPECT_EQ((SZoneBytes::SLimit{2, {4, 1, 0}, 7200000, 0, 0}), zone.stStart);
    EXPECT_EQ((SZoneBytes::SLimit{2, {10, 5, 0}, 7200000, 0, 0}), zone.stEnd);
}

TEST(CTimeZoneTexts, WithoutADaylightOffsetAreOneHourAhead)
{
    const SZoneBytes zone(CTimeZone("EST5EDT,M3.2.0,M11.1.0"));
    EXPECT_EQ(-5 * 3600000, zone.nStandardMs);
    EXPECT_EQ(-4 * 3600000, zone.nDaylightMs);
}

TEST(CTimeZoneTexts, OfNewfoundlandHaveHalfHours)
{
    const SZoneBytes zone{CTimeZone(pszTIMEZONE_NA_NEWFOUNDLAND)};
    EXPECT_EQ(-(3 * 60 + 30) * 60000, zone.nStandardMs);
    EXPECT_EQ(-(2 * 60 + 30) * 60000, zone.nDaylightMs);
}
}  // namespace
