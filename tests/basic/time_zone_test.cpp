#include "framework/basic/time_zone.h"

#include <gtest/gtest.h>

#include <atomic>
#include <initializer_list>
#include <iterator>
#include <ostream>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/time.h"
#include "tests/support/zone_bytes.h"

namespace
{
constexpr unsigned int g_uHour = 3600000;
constexpr unsigned int g_uDay = 24 * g_uHour;
const char* const g_pszEastern = "EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const g_pszSouth = "AUSEST-10AUSDST-11,M10.5.0/02:00:00,M3.5.0/02:00:00";

struct SMoment
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;

    bool operator==(const SMoment& rOther) const
    {
        return uJulianDay == rOther.uJulianDay && uTimeMs == rOther.uTimeMs;
    }
};

void PrintTo(const SMoment& rMoment, std::ostream* pStream)
{
    *pStream << rMoment.uJulianDay << " + " << rMoment.uTimeMs << " ms";
}

unsigned int Day(int nYear, int nMonth, int nDay)
{
    return CTime::GetJulianDate(static_cast<unsigned short>(nYear), static_cast<unsigned short>(nMonth),
                                static_cast<unsigned short>(nDay));
}

SMoment At(int nYear, int nMonth, int nDay, unsigned int uHour = 0, unsigned int uMinute = 0)
{
    return {Day(nYear, nMonth, nDay), uHour * g_uHour + uMinute * 60000};
}

SMoment JustBefore(SMoment moment)
{
    return moment.uTimeMs != 0 ? SMoment{moment.uJulianDay, moment.uTimeMs - 1}
                               : SMoment{moment.uJulianDay - 1, g_uDay - 1};
}

SMoment ToLocal(const CTimeZone& rZone, SMoment moment)
{
    rZone.ConvertFromUTCToLocale(moment.uJulianDay, moment.uTimeMs);
    return moment;
}

SMoment ToUtc(const CTimeZone& rZone, SMoment moment)
{
    rZone.ConvertFromLocaleToUTC(moment.uJulianDay, moment.uTimeMs);
    return moment;
}

bool IsDaylight(const CTimeZone& rZone, SMoment moment, bool bUtc)
{
    return rZone.IsDayLightSavingInEffect(moment.uJulianDay, moment.uTimeMs, bUtc);
}

void ExpectStart(const CTimeZone& rZone, SMoment moment, bool bUtc)
{
    EXPECT_FALSE(IsDaylight(rZone, JustBefore(moment), bUtc)) << moment.uJulianDay;
    EXPECT_TRUE(IsDaylight(rZone, moment, bUtc)) << moment.uJulianDay;
}

void ExpectEnd(const CTimeZone& rZone, SMoment moment, bool bUtc)
{
    EXPECT_TRUE(IsDaylight(rZone, JustBefore(moment), bUtc)) << moment.uJulianDay;
    EXPECT_FALSE(IsDaylight(rZone, moment, bUtc)) << moment.uJulianDay;
}

/// Shows what is protected.
class CZoneProbe : public CTimeZone
{
public:
    using CTimeZone::CTimeZone;
    using CTimeZone::DetermineJulianLimits;
    using CTimeZone::GetJulianDate;
    using CTimeZone::GetJulianDateForJ0;
    using CTimeZone::GetJulianDateForJ1;
    using CTimeZone::GetJulianDateForM;
};

TEST(CTimeZoneTable, HoldsTheExportedTextsInOrder)
{
    static const char* const apszWANT[] = {"HAST10",
                                           "HAST10HADT9,M3.2.0/02:00:00,M11.1.0/02:00:00",
                                           "AKST9AKDT8,M3.2.0/02:00:00,M11.1.0/02:00:00",
                                           "YST9YDT8,M3.2.0/02:00:00,M11.1.0/02:00:00",
                                           "PST8PDT7,M3.2.0/02:00:00,M11.1.0/02:00:00",
                                           "MST7MDT6,M3.2.0/02:00:00,M11.1.0/02:00:00",
                                           "CST6CDT5,M3.2.0/02:00:00,M11.1.0/02:00:00",
                                           "EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00",
                                           "AST4ADT3,M3.2.0/02:00:00,M11.1.0/02:00:00",
                                           "NST3:30NDT2:30,M3.2.0/01:00:00,M11.1.0/01:00:00",
                                           "GMT0DMT-1,M3.5.0/01:00:00,M10.5.0/02:00:00",
                                           "WEST-1DWEST-2,M3.5.0/02:00:00,M10.5.0/03:00:00",
                                           "CST-8",
                                           "TST-9",
                                           "CAUST-9:30DCAUST-10:30,M10.5.0/02:00:00,M3.5.0/02:00:00",
                                           "AUSEST-10AUSDST-11,M10.5.0/02:00:00,M3.5.0/02:00:00",
                                           "UTC0"};
    const char* const apszNames[] = {pszTIMEZONE_HAWAII,
                                     pszTIMEZONE_NA_ALASKA_HAST,
                                     pszTIMEZONE_NA_ALASKA_AKST,
                                     pszTIMEZONE_NA_YUKON,
                                     pszTIMEZONE_NA_PACIFIC,
                                     pszTIMEZONE_NA_MOUNTAIN,
                                     pszTIMEZONE_NA_CENTRAL,
                                     pszTIMEZONE_NA_EASTERN,
                                     pszTIMEZONE_NA_ATLANTIC,
                                     pszTIMEZONE_NA_NEWFOUNDLAND,
                                     pszTIMEZONE_GMT,
                                     pszTIMEZONE_WEUROPE,
                                     pszTIMEZONE_CHINA,
                                     pszTIMEZONE_TOKYO,
                                     pszTIMEZONE_CENTRALAUSTRALIA,
                                     pszTIMEZONE_EASTERNAUSTRALIA,
                                     pszTIMEZONE_UTC};
    ASSERT_EQ(17u, std::size(apszTIMEZONE_TABLE));
    for (std::size_t u = 0; u < 17; ++u)
    {
        EXPECT_STREQ(apszWANT[u], apszTIMEZONE_TABLE[u]);
        EXPECT_EQ(apszNames[u], apszTIMEZONE_TABLE[u]) << "the same pointer";
        EXPECT_EQ(QV_RES_OK, CTimeZone().SetTimeZone(apszTIMEZONE_TABLE[u])) << apszWANT[u];
    }
}

TEST(CTimeZoneNeverSet, IsUtcWithoutDaylightTimeAndWithoutText)
{
    const CTimeZone zone;
    EXPECT_STREQ("", zone.GetTimeZone());
    EXPECT_EQ(At(2024, 7, 1, 23, 59), ToLocal(zone, At(2024, 7, 1, 23, 59)));
    EXPECT_EQ(At(2024, 7, 1), ToUtc(zone, At(2024, 7, 1)));
    EXPECT_FALSE(IsDaylight(zone, At(2024, 7, 1), true));
    EXPECT_FALSE(IsDaylight(zone, At(2024, 7, 1), false));
    EXPECT_EQ(0, zone.GetOffsetMs(2451545, 0, true));
    EXPECT_FALSE(zone.HasDayLightSaving());
    EXPECT_TRUE(zone.GetName(2451545, 0, true).IsEmpty());
    EXPECT_STREQ("", CTimeZone("nonsense").GetTimeZone());
    EXPECT_STREQ("", CTimeZone(static_cast<const char*>(nullptr)).GetTimeZone());
}

TEST(CTimeZoneCopies, AreZonesOfTheSameText)
{
    CTimeZone source(g_pszEastern);
    ASSERT_TRUE(IsDaylight(source, At(2024, 7, 1), true));
    const CTimeZone copy(source);
    EXPECT_STREQ(g_pszEastern, copy.GetTimeZone());
    EXPECT_EQ(0u, SZoneBytes(copy).uYear) << "no year is worked out yet";
    source.SetTimeZone("UTC0");
    EXPECT_STREQ(g_pszEastern, copy.GetTimeZone());
    EXPECT_EQ(At(2024, 7, 1, 8), ToLocal(copy, At(2024, 7, 1, 12)));
    EXPECT_EQ(At(2024, 1, 1, 7), ToLocal(copy, At(2024, 1, 1, 12)));
    EXPECT_STREQ("", CTimeZone(CTimeZone()).GetTimeZone());
}

TEST(CTimeZoneAssignment, TakesTheZoneAndGivesACopyByValue)
{
    static_assert(std::is_same<CTimeZone, decltype(std::declval<CTimeZone&>() = std::declval<CTimeZone&>())>::value);
    CTimeZone zone("UTC0");
    const CTimeZone source(g_pszEastern);
    (zone = source).SetTimeZone("CST-8");
    EXPECT_STREQ(g_pszEastern, zone.GetTimeZone());
    EXPECT_TRUE(IsDaylight(zone, At(2024, 7, 1), true));
    EXPECT_STREQ(g_pszEastern, (zone = source).GetTimeZone());
    CTimeZone& rSame = zone;
    zone = rSame;
    EXPECT_STREQ(g_pszEastern, zone.GetTimeZone());
    zone = CTimeZone();
    EXPECT_STREQ(g_pszEastern, zone.GetTimeZone()) << "an unset source changes nothing";
    zone = "UTC0";
    EXPECT_STREQ("UTC0", zone.GetTimeZone());
    EXPECT_FALSE(IsDaylight(zone, At(2024, 7, 1), true));
}

TEST(CTimeZoneSetting, ReplacesAllOfTheZoneAndMayGetItsOwnText)
{
    CTimeZone zone(g_pszEastern);
    ASSERT_TRUE(IsDaylight(zone, At(2024, 7, 1), true));
    EXPECT_EQ(QV_RES_OK, zone.SetTimeZone(zone.GetTimeZone()));
    EXPECT_STREQ(g_pszEastern, zone.GetTimeZone());
    EXPECT_EQ(0u, SZoneBytes(zone).uYear);
    ASSERT_TRUE(IsDaylight(zone, At(2024, 7, 1), true));
    ASSERT_EQ(QV_RES_OK, zone.SetTimeZone(g_pszSouth));
    EXPECT_FALSE(IsDaylight(zone, At(2024, 7, 1), true)) << "the days of the year before are gone";
    ASSERT_EQ(QV_RES_OK, zone.SetTimeZone("CST-8"));
    EXPECT_FALSE(zone.HasDayLightSaving());
    EXPECT_EQ("", SZoneBytes(zone).strDaylight);
}

TEST(CTimeZoneEastern, DaylightTimeOf2024StartsAndEndsAsPublished)
{
    const CTimeZone zone(g_pszEastern);
    EXPECT_EQ(-5 * 3600000, SZoneBytes(zone).nStandardMs);
    EXPECT_EQ(-4 * 3600000, SZoneBytes(zone).nDaylightMs);
    ExpectStart(zone, At(2024, 3, 10, 2), false);
    ExpectStart(zone, At(2024, 3, 10, 7), true);
    ExpectEnd(zone, At(2024, 11, 3, 2), false);
    ExpectEnd(zone, At(2024, 11, 3, 6), true);

    EXPECT_TRUE(zone.IsDayLightSavingInEffect(2024, 3, 10, 7, 0, 0, 0, true));
    EXPECT_FALSE(zone.IsDayLightSavingInEffect(2024, 3, 10, 6, 59, 59, 999, true));
    EXPECT_TRUE(zone.IsDayLightSavingInEffect(2024, 11, 3, 1, 59, 59, 999, false));
    EXPECT_FALSE(zone.IsDayLightSavingInEffect(2024, 11, 3, 1, 59, 59, 1000, false));
}

TEST(CTimeZoneEastern, LocalTimesThatOccurTwiceOrNeverCountAsDaylightTime)
{
    const CTimeZone zone(g_pszEastern);
    EXPECT_EQ(At(2024, 11, 3, 5, 30), ToUtc(zone, At(2024, 11, 3, 1, 30)));
    EXPECT_EQ(At(2024, 3, 10, 6, 30), ToUtc(zone, At(2024, 3, 10, 2, 30)));
}

TEST(CTimeZoneDefaultRules, LastFromTheFirstSundayOfAprilToTheLastOfOctober)
{
    for (const char* const pszZone : {"EST5EDT4", "EST5EDT,M,M/2"})
    {
        const CTimeZone zone(pszZone);
        ExpectStart(zone, At(2024, 4, 7, 2), false);
        ExpectEnd(zone, At(2024, 10, 27, 2), false);
    }
}

TEST(CTimeZoneSouthern, DaylightTimeSpansTheNewYear)
{
    const CTimeZone zone(g_pszSouth);
    EXPECT_TRUE(IsDaylight(zone, At(2024, 1, 15), false));
    EXPECT_FALSE(IsDaylight(zone, At(2024, 7, 15), false));
    EXPECT_TRUE(IsDaylight(zone, At(2024, 12, 31, 23, 59), false));
    EXPECT_TRUE(IsDaylight(zone, At(2024, 1, 1), false));
    ExpectEnd(zone, At(2024, 3, 31, 2), false);
    ExpectStart(zone, At(2024, 10, 27, 2), false);
    ExpectEnd(zone, At(2024, 3, 30, 15), true);
    ExpectStart(zone, At(2024, 10, 26, 16), true);
}

TEST(CTimeZoneLimits, SpanTheNewYearOnlyWhenTheEndComesFirst)
{
    CZoneProbe south(g_pszSouth);
    south.DetermineJulianLimits(2024);
    const SZoneBytes southBytes(south);
    EXPECT_EQ(Day(2023, 10, 29), southBytes.stStart.uJulianDay1);
    EXPECT_EQ(Day(2024, 10, 27), southBytes.stStart.uJulianDay2);
    EXPECT_EQ(Day(2024, 3, 31), southBytes.stEnd.uJulianDay1);
    EXPECT_EQ(Day(2025, 3, 30), southBytes.stEnd.uJulianDay2);
    EXPECT_EQ(2024u, southBytes.uYear);

    CZoneProbe north(g_pszEastern);
    north.DetermineJulianLimits(2024);
    const SZoneBytes northBytes(north);
    EXPECT_EQ(Day(2024, 3, 10), northBytes.stStart.uJulianDay1);
    EXPECT_EQ(Day(2024, 3, 10), northBytes.stStart.uJulianDay2);
    EXPECT_EQ(Day(2024, 11, 3), northBytes.stEnd.uJulianDay1);
    EXPECT_EQ(Day(2024, 11, 3), northBytes.stEnd.uJulianDay2);

    CZoneProbe same("A0B-1,100/5,100/1");
    same.DetermineJulianLimits(2024);
    const SZoneBytes sameBytes(same);
    EXPECT_EQ(sameBytes.stStart.uJulianDay1, sameBytes.stStart.uJulianDay2) << "one day is within a year";
    EXPECT_EQ(sameBytes.stEnd.uJulianDay1, sameBytes.stEnd.uJulianDay2) << "one day is within a year";
}

TEST(CTimeZoneLimits, AreWorkedOutOnceForAYear)
{
    CZoneProbe zone(g_pszEastern);
    zone.DetermineJulianLimits(2024);
    StoreAt<std::uint32_t>(&zone, SZoneBytes::uSTART + 16, 12345);
    zone.DetermineJulianLimits(2024);
    EXPECT_EQ(12345u, SZoneBytes(zone).stStart.uJulianDay1);
    zone.DetermineJulianLimits(2025);
    EXPECT_EQ(Day(2025, 3, 9), SZoneBytes(zone).stStart.uJulianDay1);
}

TEST(CTimeZoneLimits, OfTheYearsAtEitherEndAreSafe)
{
    const CTimeZone zone(g_pszSouth);
    for (const int nYear : {0, 1, 65535})
    {
        for (const int nMonth : {1, 7, 12}) IsDaylight(zone, At(nYear, nMonth, 1), true);
    }
    EXPECT_TRUE(IsDaylight(zone, At(65535, 1, 15), true));
    EXPECT_FALSE(IsDaylight(zone, At(65535, 7, 15), true));
    IsDaylight(zone, {0, 0}, true);
    IsDaylight(zone, {0xFFFFFFFF, 0xFFFFFFFF}, true);
    ToLocal(zone, {0xFFFFFFFF, 0xFFFFFFFF});
    ToUtc(zone, {0, 0});
}

TEST(CTimeZoneRules, DayNumbersFrom0CountTheLeapDay)
{
    CZoneProbe zone;
    EXPECT_EQ(Day(2023, 1, 1), zone.GetJulianDateForJ0(2023, 0));
    EXPECT_EQ(Day(2024, 2, 29), zone.GetJulianDateForJ0(2024, 59));
    EXPECT_EQ(Day(2023, 3, 1), zone.GetJulianDateForJ0(2023, 59));
    EXPECT_EQ(Day(2024, 1, 1), zone.GetJulianDateForJ0(2023, 365)) << "1 January of the next year";
    EXPECT_EQ(Day(2024, 12, 31), zone.GetJulianDateForJ0(2024, 365));
}

TEST(CTimeZoneRules, DayNumbersFrom1NeverMeanTheLeapDay)
{
    CZoneProbe zone;
    for (const unsigned short uYear : std::initializer_list<unsigned short>{1900, 2000, 2023, 2024})
    {
        EXPECT_EQ(Day(uYear, 1, 1), zone.GetJulianDateForJ1(uYear, 1));
        EXPECT_EQ(Day(uYear, 2, 28), zone.GetJulianDateForJ1(uYear, 59));
        EXPECT_EQ(Day(uYear, 3, 1), zone.GetJulianDateForJ1(uYear, 60));
        EXPECT_EQ(Day(uYear, 12, 31), zone.GetJulianDateForJ1(uYear, 365));
    }
}

/// Every such weekday of a month, found by trying each day. Julian day 0 was a Monday.
std::vector<unsigned int> WeekdaysOf(int nYear, int nMonth, unsigned int uWeekday)
{
    std::vector<unsigned int> days;
    const unsigned int uNext = nMonth == 12 ? Day(nYear + 1, 1, 1) : Day(nYear, nMonth + 1, 1);
    for (unsigned int u = Day(nYear, nMonth, 1); u < uNext; ++u)
    {
        if ((u + 1) % 7 == uWeekday) days.push_back(u);
    }
    return days;
}

TEST(CTimeZoneRules, WeeksOfMonthsAreThoseOfACountedCalendar)
{
    CZoneProbe zone;
    CTimeZone::SM stRule;
    for (unsigned short uYear = 1999; uYear <= 2030; ++uYear)
    {
        for (stRule.uMonth = 1; stRule.uMonth <= 12; ++stRule.uMonth)
        {
            for (stRule.uWeekday = 0; stRule.uWeekday <= 6; ++stRule.uWeekday)
            {
                const std::vector<unsigned int> days = WeekdaysOf(uYear, stRule.uMonth, stRule.uWeekday);
                for (stRule.uWeek = 1; stRule.uWeek <= 5; ++stRule.uWeek)
                {
                    const unsigned int uWant = stRule.uWeek <= days.size() ? days[stRule.uWeek - 1u] : days.back();
                    ASSERT_EQ(uWant, zone.GetJulianDateForM(uYear, stRule))
                        << uYear << " M" << stRule.uMonth << '.' << stRule.uWeek << '.' << stRule.uWeekday;
                }
            }
        }
    }
}

TEST(CTimeZoneRules, TheKindDecides)
{
    CZoneProbe zone;
    CTimeZone::SLimit stLimit;
    stLimit.stRule.uMonth = 60;
    stLimit.uKind = 0;
    EXPECT_EQ(Day(2023, 3, 2), zone.GetJulianDate(2023, stLimit));
    stLimit.uKind = 1;
    EXPECT_EQ(Day(2023, 3, 1), zone.GetJulianDate(2023, stLimit));
    stLimit.uKind = 2;
    stLimit.stRule.uMonth = 2;
    stLimit.stRule.uWeek = 5;
    stLimit.stRule.uWeekday = 0;
    EXPECT_EQ(Day(2023, 2, 26), zone.GetJulianDate(2023, stLimit)) << "a February of four Sundays";
}

TEST(CTimeZoneConversion, MidnightAfterTheDayIsNotCarried)
{
    const CTimeZone east("CST-8");
    EXPECT_EQ((SMoment{2451545, g_uDay}), ToLocal(east, {2451545, 16 * g_uHour})) << "24:00:00.000 of the day before";
    EXPECT_EQ((SMoment{2451546, 1}), ToLocal(east, {2451545, 16 * g_uHour + 1}));
    EXPECT_EQ((SMoment{2451545, g_uDay - 1}), ToLocal(east, {2451545, 16 * g_uHour - 1}));
    EXPECT_EQ((SMoment{2451545, 0}), ToUtc(east, {2451545, 8 * g_uHour}));
    EXPECT_EQ((SMoment{2451544, g_uDay - 1}), ToUtc(east, {2451545, 8 * g_uHour - 1}));
    const CTimeZone west("HAST10");
    EXPECT_EQ((SMoment{2451545, g_uDay}), ToUtc(west, {2451545, 14 * g_uHour}));
    EXPECT_EQ((SMoment{2451546, 1}), ToUtc(west, {2451545, 14 * g_uHour + 1}));
    EXPECT_EQ((SMoment{2451545, 0}), ToLocal(west, {2451545, 10 * g_uHour}));
    EXPECT_EQ((SMoment{2451544, g_uDay - 1}), ToLocal(west, {2451545, 10 * g_uHour - 1}));
}

TEST(CTimeZoneConversion, CarriesOneDayAtMost)
{
    EXPECT_EQ((SMoment{2451546, 90000000}), ToLocal(CTimeZone("X-1"), {2451545, 90000000 + g_uDay - g_uHour}));
    EXPECT_EQ((SMoment{2451545, g_uDay}), ToLocal(CTimeZone("UTC0"), {2451545, g_uDay})) << "no offset, no carry";
}

using TFields = std::vector<unsigned short>;

TFields FieldsToLocal(const char* pszZone, TFields f)
{
    CTimeZone(pszZone).ConvertFromUTCToLocale(f[0], f[1], f[2], f[3], f[4], f[5], f[6]);
    return f;
}

TFields FieldsToUtc(const char* pszZone, TFields f)
{
    CTimeZone(pszZone).ConvertFromLocaleToUTC(f[0], f[1], f[2], f[3], f[4], f[5], f[6]);
    return f;
}

TEST(CTimeZoneConversion, OfFieldsIsTheOneOfPairs)
{
    EXPECT_EQ((TFields{2024, 2, 29, 23, 5, 6, 789}), FieldsToLocal(g_pszEastern, {2024, 3, 1, 4, 5, 6, 789}));
    EXPECT_EQ((TFields{2024, 3, 1, 4, 5, 6, 789}), FieldsToUtc(g_pszEastern, {2024, 2, 29, 23, 5, 6, 789}));
    EXPECT_EQ((TFields{2024, 5, 5, 24, 0, 0, 0}), FieldsToLocal("CST-8", {2024, 5, 5, 16, 0, 0, 0}));
    EXPECT_EQ((TFields{2024, 5, 5, 24, 0, 0, 0}), FieldsToUtc("X8", {2024, 5, 5, 16, 0, 0, 0}));
}

TEST(CTimeZoneConversion, RulesMayLieInAnotherDayOfUtc)
{
    const CTimeZone west("A5B4,J100/23,J200/23");
    ExpectStart(west, At(2023, 4, 11, 4), true);
    ExpectEnd(west, At(2023, 7, 20, 3), true);
    const CTimeZone east("A-1B-2,J100/0,J200/1");
    ExpectStart(east, At(2023, 4, 9, 23), true);
    ExpectEnd(east, At(2023, 7, 18, 23), true);
    // Exactly 24:00 of UTC: which is ordered in front of the next day's 0:00, all the same.
    const CTimeZone midnight("A5B4,J100/19,J200/20");
    ExpectStart(midnight, At(2023, 4, 11), true);
    ExpectEnd(midnight, At(2023, 7, 20), true);
}

TEST(CTimeZoneConversion, RulesMayLieInAnotherYearOfUtc)
{
    const CTimeZone west("A5B4,J365/23,J100");
    ExpectStart(west, At(2023, 1, 1, 4), true);
    ExpectStart(west, At(2024, 1, 1, 4), true);
    const CTimeZone east("A-5B-6,J300,0/1");
    ExpectEnd(east, At(2022, 12, 31, 19), true);
    ExpectEnd(east, At(2023, 12, 31, 19), true);
    EXPECT_FALSE(IsDaylight(east, At(2024, 1, 1), true));
}

TEST(CTimeZoneConveniences, NameAndOffsetFollowTheMoment)
{
    const CTimeZone zone(g_pszEastern);
    EXPECT_TRUE(zone.HasDayLightSaving());
    EXPECT_STREQ("EDT", zone.GetName(Day(2024, 7, 1), 0, true).CStr());
    EXPECT_STREQ("EST", zone.GetName(Day(2024, 1, 1), 0, true).CStr());
    EXPECT_STREQ("EST", zone.GetName(Day(2024, 3, 10), 6 * g_uHour, true).CStr());
    EXPECT_STREQ("EDT", zone.GetName(Day(2024, 3, 10), 6 * g_uHour, false).CStr());
    EXPECT_EQ(-4 * 3600000, zone.GetOffsetMs(Day(2024, 11, 3), g_uHour, false));
    EXPECT_EQ(-5 * 3600000, zone.GetOffsetMs(Day(2024, 11, 3), 6 * g_uHour, true));
}

TEST(CTimeZoneThreads, ConvertInOneZoneOrTheOtherWhileItIsSet)
{
    static const char* const apszTEXTS[] = {"AAA-1AAD-2,M3.5.0,M10.5.0", "BBB5"};
    CTimeZone zone(apszTEXTS[0]);
    std::atomic<int> nWrong = 0;
    std::atomic<int> nRounds = 0;
    std::atomic<bool> bStop = false;
    const auto convert = [&]
    {
        for (int nYear = 2000; !bStop; nYear = 2000 + nRounds++ % 100)
        {
            const SMoment local = ToLocal(zone, At(nYear, 7, 1, 12));
            if (local.uTimeMs != 14 * g_uHour && local.uTimeMs != 7 * g_uHour) ++nWrong;
            const SZoneBytes copy{CTimeZone(zone)};
            if (copy.strText != apszTEXTS[copy.strStandard == "AAA" ? 0 : 1]) ++nWrong;
        }
    };
    std::thread thread1(convert);
    std::thread thread2(convert);
    for (int n = 0; n < 500 || nRounds < 500; ++n) zone.SetTimeZone(apszTEXTS[n % 2]);
    bStop = true;
    thread1.join();
    thread2.join();
    EXPECT_EQ(0, nWrong);
}
}  // namespace
