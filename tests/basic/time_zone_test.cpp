// Zones as a whole: limits, oddities, memory and threads. What texts mean is in time_zone_parse_test.cpp, whole years
// are in time_zone_glibc_test.cpp, and sequences of all operations are compared by fuzz.time_zone_twin.
#include "framework/basic/time_zone.h"

#include <gtest/gtest.h>

#include <atomic>
#include <iterator>
#include <ostream>
#include <thread>
#include <type_traits>
#include <utility>

#include "framework/basic/time.h"
#include "tests/support/refusing_new.h"
#include "tests/support/zone_bytes.h"

namespace
{
constexpr unsigned int g_uHOUR_MS = 3600000;
constexpr unsigned int g_uDAY_MS = 24 * g_uHOUR_MS;
const char* const g_pszEASTERN = "EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const g_pszSOUTH = "AUSEST-10AUSDST-11,M10.5.0/02:00:00,M3.5.0/02:00:00";

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
    return {Day(nYear, nMonth, nDay), uHour * g_uHOUR_MS + uMinute * 60000};
}

SMoment JustBefore(SMoment moment)
{
    return moment.uTimeMs != 0 ? SMoment{moment.uJulianDay, moment.uTimeMs - 1}
                               : SMoment{moment.uJulianDay - 1, g_uDAY_MS - 1};
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
};

TEST(CTimeZoneTable, HoldsTheExportedTextsInOrder)
{
    struct SExported
    {
        const char* pszZone;
        const char* pszText;
    };
    const SExported astWANT[] = {
        {pszTIMEZONE_HAWAII, "HAST10"},
        {pszTIMEZONE_NA_ALASKA_HAST, "HAST10HADT9,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_ALASKA_AKST, "AKST9AKDT8,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_YUKON, "YST9YDT8,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_PACIFIC, "PST8PDT7,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_MOUNTAIN, "MST7MDT6,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_CENTRAL, "CST6CDT5,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_EASTERN, "EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_ATLANTIC, "AST4ADT3,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_NEWFOUNDLAND, "NST3:30NDT2:30,M3.2.0/01:00:00,M11.1.0/01:00:00"},
        {pszTIMEZONE_GMT, "GMT0DMT-1,M3.5.0/01:00:00,M10.5.0/02:00:00"},
        {pszTIMEZONE_WEUROPE, "WEST-1DWEST-2,M3.5.0/02:00:00,M10.5.0/03:00:00"},
        {pszTIMEZONE_CHINA, "CST-8"},
        {pszTIMEZONE_TOKYO, "TST-9"},
        {pszTIMEZONE_CENTRALAUSTRALIA, "CAUST-9:30DCAUST-10:30,M10.5.0/02:00:00,M3.5.0/02:00:00"},
        {pszTIMEZONE_EASTERNAUSTRALIA, "AUSEST-10AUSDST-11,M10.5.0/02:00:00,M3.5.0/02:00:00"},
        {pszTIMEZONE_UTC, "UTC0"}};
    ASSERT_EQ(std::size(astWANT), std::size(apszTIMEZONE_TABLE));
    for (std::size_t u = 0; u < std::size(astWANT); ++u)
    {
        EXPECT_EQ(astWANT[u].pszZone, apszTIMEZONE_TABLE[u]) << "the same pointer";
        EXPECT_STREQ(astWANT[u].pszText, apszTIMEZONE_TABLE[u]);
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

TEST(CTimeZoneAssignment, TakesTheZoneAndGivesACopyByValue)
{
    static_assert(std::is_same<CTimeZone, decltype(std::declval<CTimeZone&>() = std::declval<CTimeZone&>())>::value);
    CTimeZone zone("UTC0");
    const CTimeZone source(g_pszEASTERN);
    EXPECT_EQ(QV_RES_OK, (zone = source).SetTimeZone("CST-8"));
    EXPECT_STREQ(g_pszEASTERN, zone.GetTimeZone());
    EXPECT_TRUE(IsDaylight(zone, At(2024, 7, 1), true));
    EXPECT_STREQ(g_pszEASTERN, (zone = source).GetTimeZone());
    CTimeZone& rSame = zone;
    zone = rSame;
    EXPECT_STREQ(g_pszEASTERN, zone.GetTimeZone());
    zone = CTimeZone();
    EXPECT_STREQ(g_pszEASTERN, zone.GetTimeZone()) << "an unset source changes nothing";
    zone = "UTC0";
    EXPECT_STREQ("UTC0", zone.GetTimeZone());
    EXPECT_FALSE(IsDaylight(zone, At(2024, 7, 1), true));
}

TEST(CTimeZoneSetting, ReplacesAllOfTheZoneAndMayGetItsOwnText)
{
    CTimeZone zone(g_pszEASTERN);
    ASSERT_TRUE(IsDaylight(zone, At(2024, 7, 1), true));
    EXPECT_EQ(QV_RES_OK, zone.SetTimeZone(zone.GetTimeZone()));
    EXPECT_STREQ(g_pszEASTERN, zone.GetTimeZone());
    EXPECT_EQ(0u, SZoneBytes(zone).uYear);
    ASSERT_TRUE(IsDaylight(zone, At(2024, 7, 1), true));
    ASSERT_EQ(QV_RES_OK, zone.SetTimeZone(g_pszSOUTH));
    EXPECT_FALSE(IsDaylight(zone, At(2024, 7, 1), true)) << "the days of the year before are gone";
    ASSERT_EQ(QV_RES_OK, zone.SetTimeZone("CST-8"));
    EXPECT_FALSE(zone.HasDayLightSaving());
    EXPECT_EQ("", SZoneBytes(zone).strDaylight);
}

TEST(CTimeZoneEastern, DaylightTimeOf2024StartsAndEndsAsPublished)
{
    const CTimeZone zone(g_pszEASTERN);
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
    const CTimeZone zone(g_pszEASTERN);
    EXPECT_EQ(At(2024, 11, 3, 5, 30), ToUtc(zone, At(2024, 11, 3, 1, 30)));
    EXPECT_EQ(At(2024, 3, 10, 6, 30), ToUtc(zone, At(2024, 3, 10, 2, 30)));
}

TEST(CTimeZoneLimits, OfOneDayAreWithinAYear)
{
    CZoneProbe zone("A0B-1,100/5,100/1");
    zone.DetermineJulianLimits(2024);
    const SZoneBytes bytes(zone);
    EXPECT_EQ(bytes.stStart.uJulianDay1, bytes.stStart.uJulianDay2);
    EXPECT_EQ(bytes.stEnd.uJulianDay1, bytes.stEnd.uJulianDay2);
}

TEST(CTimeZoneLimits, AreWorkedOutOnceForAYear)
{
    CZoneProbe zone(g_pszEASTERN);
    zone.DetermineJulianLimits(2024);
    StoreAt<std::uint32_t>(&zone, SZoneBytes::uSTART + 16, 12345);
    zone.DetermineJulianLimits(2024);
    EXPECT_EQ(12345u, SZoneBytes(zone).stStart.uJulianDay1);
    zone.DetermineJulianLimits(2025);
    EXPECT_EQ(Day(2025, 3, 9), SZoneBytes(zone).stStart.uJulianDay1);
}

TEST(CTimeZoneLimits, OfTheYearsAtEitherEndAreSafe)
{
    const CTimeZone zone(g_pszSOUTH);
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

TEST(CTimeZoneConversion, MidnightAfterTheDayIsNotCarried)
{
    const CTimeZone east("CST-8");
    EXPECT_EQ((SMoment{2451545, g_uDAY_MS}), ToLocal(east, {2451545, 16 * g_uHOUR_MS}))
        << "24:00:00.000 of the day before";
    EXPECT_EQ((SMoment{2451546, 1}), ToLocal(east, {2451545, 16 * g_uHOUR_MS + 1}));
    EXPECT_EQ((SMoment{2451545, g_uDAY_MS - 1}), ToLocal(east, {2451545, 16 * g_uHOUR_MS - 1}));
    EXPECT_EQ((SMoment{2451545, 0}), ToUtc(east, {2451545, 8 * g_uHOUR_MS}));
    EXPECT_EQ((SMoment{2451544, g_uDAY_MS - 1}), ToUtc(east, {2451545, 8 * g_uHOUR_MS - 1}));
    const CTimeZone west("HAST10");
    EXPECT_EQ((SMoment{2451545, g_uDAY_MS}), ToUtc(west, {2451545, 14 * g_uHOUR_MS}));
    EXPECT_EQ((SMoment{2451546, 1}), ToUtc(west, {2451545, 14 * g_uHOUR_MS + 1}));
    EXPECT_EQ((SMoment{2451545, 0}), ToLocal(west, {2451545, 10 * g_uHOUR_MS}));
    EXPECT_EQ((SMoment{2451544, g_uDAY_MS - 1}), ToLocal(west, {2451545, 10 * g_uHOUR_MS - 1}));
}

TEST(CTimeZoneConversion, CarriesOneDayAtMost)
{
    EXPECT_EQ((SMoment{2451546, 90000000}), ToLocal(CTimeZone("X-1"), {2451545, 90000000 + g_uDAY_MS - g_uHOUR_MS}));
    EXPECT_EQ((SMoment{2451545, g_uDAY_MS}), ToLocal(CTimeZone("UTC0"), {2451545, g_uDAY_MS})) << "no offset, no carry";
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

// The n-th request of the whole process is refused, wherever it comes from.
class CRefusal : public CRefusingNew
{
public:
    explicit CRefusal(unsigned int uNth) : CRefusingNew(uNth - 1, eNOTHROW_ARRAY) {}
};

TEST(CTimeZoneOutOfMemory, SettingSaysSoAndChangesNothing)
{
    if (TESTS_OWN_OPERATOR_NEW == 0) GTEST_SKIP() << "the sanitizer brings its own operator new";
    static const char szOLD[] = "OLD7NEW6,J10/01:02:03,200/04:05:06";
    struct SText
    {
        const char* pszNew;
        unsigned int uRequests;  // for each name and the text
    };
    for (const SText& rText : {SText{g_pszEASTERN, 3}, SText{"UTC0", 2}})
    {
        CTimeZone zone(szOLD);
        for (unsigned int uNth = 1; uNth <= rText.uRequests; ++uNth)
        {
            const CRefusal refusal(uNth);
            EXPECT_EQ(QV_RES_OUT_OF_MEMORY, zone.SetTimeZone(rText.pszNew)) << uNth;
            const SZoneBytes bytes(zone);
            EXPECT_EQ(szOLD, bytes.strText);
            EXPECT_EQ("OLD", bytes.strStandard);
            EXPECT_EQ("NEW", bytes.strDaylight);
            EXPECT_EQ(-7 * 3600000, bytes.nStandardMs);
            EXPECT_EQ(10u, bytes.stStart.auRule[0]);
        }
        const CRefusal refusal(rText.uRequests + 1);
        EXPECT_EQ(QV_RES_OK, zone.SetTimeZone(rText.pszNew));
        EXPECT_FALSE(refusal.HasRefused());
    }
}

TEST(CTimeZoneOutOfMemory, ASystemZoneThatFoundNoneAtStartUpIsUtc)
{
    if (TESTS_OWN_OPERATOR_NEW == 0) GTEST_SKIP() << "the sanitizer brings its own operator new";
    for (unsigned int uNth = 1; uNth <= 3; ++uNth)
    {
        CTime::FinalizeCTime();
        {
            const CRefusal refusal(uNth);
            EXPECT_EQ(QV_RES_OK, CTime::InitializeCTime());
            EXPECT_TRUE(refusal.HasRefused());
        }
        EXPECT_STREQ("", CTime::GetSystemTimeZone().CStr());
        EXPECT_EQ(0, CTime().GetTimeZone().GetOffsetMs(2451545, 1000, true));
        EXPECT_TRUE(CTime::SetSystemTimeZone(pszTIMEZONE_NA_EASTERN));
    }
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
            if (local.uTimeMs != 14 * g_uHOUR_MS && local.uTimeMs != 7 * g_uHOUR_MS) ++nWrong;
            const SZoneBytes copy{CTimeZone(zone)};
            if (copy.strText != apszTEXTS[copy.strStandard == "AAA" ? 0 : 1]) ++nWrong;
        }
    };
    std::thread thread1(convert);
    std::thread thread2(convert);
    for (int n = 0; n < 500 || nRounds < 500; ++n) EXPECT_EQ(QV_RES_OK, zone.SetTimeZone(apszTEXTS[n % 2]));
    bStop = true;
    thread1.join();
    thread2.join();
    EXPECT_EQ(0, nWrong);
}
}  // namespace
