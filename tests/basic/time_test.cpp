// Times and the framework clock, on an up-time that the tests move.
#include "framework/basic/time.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "framework/kernel/timer.h"

namespace
{
std::atomic<unsigned long> g_uUpTimeMs = 1000000;

constexpr unsigned int g_uDayMs = 86400000;
constexpr unsigned int g_uHourMs = 3600000;

/// Shows what is protected.
class CTimeProbe : public CTime
{
public:
    using CTime::ms_auInternalAccessProtection;
    using CTime::ms_auTimeZone;
    using CTime::ms_bDefaultDateAndTime;
    using CTime::ms_psemInternalAccessProtection;
    using CTime::ms_pTimeZone;
    using CTime::ms_uJulianDateDay;
    using CTime::ms_uJulianTimeMs;
    using CTime::ms_uLastSynchronizationTimeMs;
};

/// Each test begins with a clock that was never set.
class CTimeTest : public testing::Test
{
protected:
    void SetUp() override
    {
        FinalizeCTime();
        EXPECT_EQ(QV_RES_OK, InitializeCTime());
    }
    void TearDown() override { SetUp(); }
};

/// A moment in UTC.
CTime At(int nYear, int nMonth, int nDay, int nHour = 0, int nMinute = 0, int nSecond = 0, int nMs = 0)
{
    const auto u = [](int n) { return static_cast<unsigned short>(n); };
    CTime time;
    time.SetDateAndTime(u(nYear), u(nMonth), u(nDay), u(nHour), u(nMinute), u(nSecond), u(nMs), true);
    return time;
}

std::string TextOf(const CTime& rTime, bool bUtc)
{
    unsigned short uYear;
    unsigned short uMonth;
    unsigned short uDay;
    unsigned short uHour;
    unsigned short uMinute;
    unsigned short uSecond;
    unsigned short uMs;
    rTime.GetDateAndTime(uYear, uMonth, uDay, uHour, uMinute, uSecond, uMs, bUtc);
    CString strText;
    strText.Format(0, "%04u-%02u-%02u %02u:%02u:%02u.%03u", uYear, uMonth, uDay, uHour, uMinute, uSecond, uMs);
    return strText.CStr();
}

std::vector<unsigned int> PairOf(const CTime& rTime, bool bUtc = true)
{
    unsigned int uJulianDay = 0;
    unsigned int uTimeMs = 0;
    rTime.GetJulianDateAndTime(uJulianDay, uTimeMs, bUtc);
    return {uJulianDay, uTimeMs};
}

using TPair = std::vector<unsigned int>;

void SetClock(int nYear, int nMonth, int nDay, int nHour = 0)
{
    CTime::SetSystemTime(At(nYear, nMonth, nDay, nHour));
}
}  // namespace

// Stands in for the library's: the dynamic linker finds a program's functions first.
unsigned long CTimer::GetSystemUpTimeMs()
{
    return g_uUpTimeMs;
}

namespace
{
TEST_F(CTimeTest, TheClockStartsAt1January2000AndSaysItIsOnlyTheDefault)
{
    CTime time;
    EXPECT_EQ("2000-01-01 00:00:00.000", TextOf(time, true));
    unsigned short u[7];
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    EXPECT_FALSE(time.GetJulianDateAndTime(uJulianDay, uTimeMs, true));
    EXPECT_FALSE(time.GetDate(u[0], u[1], u[2], true));
    EXPECT_FALSE(time.GetTime(u[3], u[4], u[5], u[6], true));
    EXPECT_FALSE(time.GetDateAndTime(u[0], u[1], u[2], u[3], u[4], u[5], u[6], false));
    tm stGmt;
    EXPECT_FALSE(CTime::GetGmtTime(stGmt));
    EXPECT_EQ(2451545u, CTimeProbe::ms_uJulianDateDay);
    EXPECT_EQ(0u, CTimeProbe::ms_uJulianTimeMs);
    EXPECT_EQ(g_uUpTimeMs, CTimeProbe::ms_uLastSynchronizationTimeMs);
    EXPECT_TRUE(CTimeProbe::ms_bDefaultDateAndTime);
    EXPECT_EQ("EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00", std::string(CTime::GetSystemTimeZone().CStr()));

    CTime::SetSystemTime(time);
    EXPECT_TRUE(CTime().GetJulianDateAndTime(uJulianDay, uTimeMs, true));
    EXPECT_TRUE(CTime().GetDate(u[0], u[1], u[2], true));
    EXPECT_TRUE(CTime().GetTime(u[3], u[4], u[5], u[6], false));
    EXPECT_TRUE(CTime().GetDateAndTime(u[0], u[1], u[2], u[3], u[4], u[5], u[6], true));
    EXPECT_TRUE(CTime::GetGmtTime(stGmt));
    EXPECT_FALSE(time.GetDate(u[0], u[1], u[2], true)) << "this one still derives from the default";
}

TEST_F(CTimeTest, TheModuleLivesInItsStaticStorage)
{
    EXPECT_EQ(static_cast<void*>(CTimeProbe::ms_auTimeZone), CTimeProbe::ms_pTimeZone);
    EXPECT_EQ(static_cast<void*>(CTimeProbe::ms_auInternalAccessProtection),
              CTimeProbe::ms_psemInternalAccessProtection);
    EXPECT_TRUE(CTimeProbe::ms_psemInternalAccessProtection->Wait(1)) << "free, with timed waits";
    CTimeProbe::ms_psemInternalAccessProtection->Signal(false);
    CTime::FinalizeCTime();
    EXPECT_EQ(nullptr, CTimeProbe::ms_pTimeZone);
    EXPECT_EQ(nullptr, CTimeProbe::ms_psemInternalAccessProtection);
    EXPECT_EQ(QV_RES_OK, CTime::InitializeCTime());
}

TEST_F(CTimeTest, TheClockAdvancesWithTheUpTime)
{
    SetClock(2024, 2, 28, 23);
    g_uUpTimeMs += 59 * 60000 + 59999;
    EXPECT_EQ("2024-02-28 23:59:59.999", TextOf(CTime(), true));
    g_uUpTimeMs += 1;
    EXPECT_EQ("2024-02-29 00:00:00.000", TextOf(CTime(), true));
    g_uUpTimeMs += 366ul * g_uDayMs * 200;
    unsigned int uJulianDay = 0;
    unsigned int uTimeMs = 1;
    bool bDefault = true;
    CTime::PinTime(uJulianDay, uTimeMs, bDefault);
    EXPECT_EQ(CTime::GetJulianDate(2024, 2, 29) + 366 * 200, uJulianDay) << "past 2^32 ms";
    EXPECT_EQ(0u, uTimeMs);
    EXPECT_FALSE(bDefault);
}

TEST_F(CTimeTest, SettingTheClockTakesTheUtcValueAndPinningReadsIt)
{
    CTime time;
    time.SetTimeZone("CST-8");
    time.SetDateAndTime(2024, 5, 6, 7, 8, 9, 10, false);
    g_uUpTimeMs += 12345;
    CTime::SetSystemTime(time);
    EXPECT_EQ(CTime::GetJulianDate(2024, 5, 5), CTimeProbe::ms_uJulianDateDay);
    EXPECT_EQ(23 * g_uHourMs + 489010, CTimeProbe::ms_uJulianTimeMs);
    EXPECT_EQ(g_uUpTimeMs, CTimeProbe::ms_uLastSynchronizationTimeMs);
    EXPECT_FALSE(CTimeProbe::ms_bDefaultDateAndTime);
    g_uUpTimeMs += 90;
    EXPECT_EQ("2024-05-06 07:08:09.010", TextOf(time, false)) << "an object stands still";
    time.PinTime();
    EXPECT_EQ("2024-05-06 07:08:09.100", TextOf(time, false)) << "and keeps its zone";
}

TEST_F(CTimeTest, AClockSetPast24HoursReadsOnTheNextDay)
{
    CTime time = At(2024, 2, 28);
    time.SetTime(25, 0, 0, 0, true);
    CTime::SetSystemTime(time);
    EXPECT_EQ(25 * g_uHourMs, CTimeProbe::ms_uJulianTimeMs);
    EXPECT_EQ("2024-02-29 01:00:00.000", TextOf(CTime(), true));
}

TEST_F(CTimeTest, PinningSetsTheDefaultFlagAsTheClockHasIt)
{
    CTime time = At(2024, 1, 1);
    unsigned short u[3];
    EXPECT_TRUE(time.GetDate(u[0], u[1], u[2], true));
    time.PinTime();
    EXPECT_FALSE(time.GetDate(u[0], u[1], u[2], true));
}

TEST_F(CTimeTest, EverySetterClearsTheDefaultFlag)
{
    unsigned short u[3];
    CTime time1;
    time1.SetDate(2024, 1, 1, true);
    EXPECT_TRUE(time1.GetDate(u[0], u[1], u[2], true));
    CTime time2;
    time2.SetTime(1, 2, 3, 4, true);
    EXPECT_TRUE(time2.GetDate(u[0], u[1], u[2], true));
    CTime time3;
    time3.SetJulianDateAndTime(1, 2, false);
    EXPECT_TRUE(time3.GetDate(u[0], u[1], u[2], true));
    CTime time4;
    time4.SetDateAndTime(2024, 1, 1, 0, 0, 0, 0, false);
    EXPECT_TRUE(time4.GetDate(u[0], u[1], u[2], true));
}

TEST_F(CTimeTest, GettersGiveUtcOrTheLocalTimeOfTheObject)
{
    CTime local = At(2024, 3, 10, 6, 59, 59, 999);
    ASSERT_TRUE(local.SetTimeZone(pszTIMEZONE_NA_EASTERN));
    unsigned short u[7];
    EXPECT_EQ("2024-03-10 06:59:59.999", TextOf(local, true));
    EXPECT_EQ("2024-03-10 01:59:59.999", TextOf(local, false));
    EXPECT_TRUE(local.GetTime(u[3], u[4], u[5], u[6], false));
    EXPECT_EQ((std::vector<int>{1, 59, 59, 999}), (std::vector<int>{u[3], u[4], u[5], u[6]}));
    EXPECT_TRUE(local.GetDate(u[0], u[1], u[2], false));
    EXPECT_EQ((std::vector<int>{2024, 3, 10}), (std::vector<int>{u[0], u[1], u[2]}));
    local.AddMs(1);
    EXPECT_EQ("2024-03-10 03:00:00.000", TextOf(local, false));
    EXPECT_EQ((TPair{CTime::GetJulianDate(2024, 3, 10), 3 * g_uHourMs}), PairOf(local, false));
    EXPECT_EQ((TPair{CTime::GetJulianDate(2024, 3, 10), 7 * g_uHourMs}), PairOf(local, true));
    local.SetDateAndTime(2024, 3, 1, 4, 0, 0, 0, true);
    EXPECT_TRUE(local.GetDate(u[0], u[1], u[2], false));
    EXPECT_EQ((std::vector<int>{2024, 2, 29}), (std::vector<int>{u[0], u[1], u[2]}));
}

TEST_F(CTimeTest, LocalMidnightMayReadAsHour24OfTheDayBefore)
{
    CTime time;
    ASSERT_TRUE(time.SetTimeZone("CST-8"));
    time.SetDateAndTime(2024, 5, 5, 16, 0, 0, 0, true);
    EXPECT_EQ("2024-05-05 24:00:00.000", TextOf(time, false));
    EXPECT_EQ((TPair{CTime::GetJulianDate(2024, 5, 5), g_uDayMs}), PairOf(time, false));
}

TEST_F(CTimeTest, SettersTakeUtcOrTheLocalTimeOfTheObject)
{
    CTime time;
    time.SetTimeZone(pszTIMEZONE_NA_EASTERN);
    time.SetDateAndTime(2024, 7, 1, 22, 0, 0, 0, false);
    EXPECT_EQ("2024-07-02 02:00:00.000", TextOf(time, true));
    time.SetJulianDateAndTime(CTime::GetJulianDate(2024, 1, 1), 22 * g_uHourMs, false);
    EXPECT_EQ("2024-01-02 03:00:00.000", TextOf(time, true));
    time.SetJulianDateAndTime(CTime::GetJulianDate(2024, 1, 1), 22 * g_uHourMs, true);
    EXPECT_EQ("2024-01-01 22:00:00.000", TextOf(time, true));

    time.SetDateAndTime(2024, 7, 2, 2, 0, 0, 0, true);
    time.SetDate(2024, 12, 24, false);
    EXPECT_EQ("2024-12-24 22:00:00.000", TextOf(time, false)) << "keeps the local time of day";
    EXPECT_EQ("2024-12-25 03:00:00.000", TextOf(time, true));
    time.SetDate(2024, 7, 1, true);
    EXPECT_EQ("2024-07-01 03:00:00.000", TextOf(time, true)) << "keeps that of UTC";

    time.SetTime(23, 30, 0, 0, false);
    EXPECT_EQ("2024-06-30 23:30:00.000", TextOf(time, false)) << "keeps the local date";
    EXPECT_EQ("2024-07-01 03:30:00.000", TextOf(time, true));
    time.SetTime(0, 0, 0, 1, true);
    EXPECT_EQ("2024-07-01 00:00:00.001", TextOf(time, true)) << "keeps that of UTC";
}

TEST_F(CTimeTest, HoursFrom24OnStayInTheirDay)
{
    CTime time = At(2024, 1, 1);
    time.SetTime(25, 0, 0, 0, true);
    EXPECT_EQ((TPair{CTime::GetJulianDate(2024, 1, 1), 90000000}), PairOf(time));
    EXPECT_EQ("2024-01-01 25:00:00.000", TextOf(time, true));
    time.SetDateAndTime(2024, 1, 1, 65535, 65535, 65535, 65535, true);
    EXPECT_EQ(65535u + (65535u + 65535u * 3600u + 65535u * 60u) * 1000u, PairOf(time)[1]) << "in 32 bits";
}

TEST_F(CTimeTest, AnInvalidZoneChangesNothing)
{
    CTime time;
    ASSERT_TRUE(time.SetTimeZone("CST-8"));
    EXPECT_FALSE(time.SetTimeZone("CST"));
    EXPECT_FALSE(time.SetTimeZone(nullptr));
    EXPECT_STREQ("CST-8", time.GetTimeZone().GetTimeZone());
    EXPECT_FALSE(CTime::SetSystemTimeZone("CST"));
    EXPECT_FALSE(CTime::SetSystemTimeZone(nullptr));
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, CTime::GetSystemTimeZone().CStr());
    EXPECT_TRUE(CTime::SetSystemTimeZone("CST-8"));
    EXPECT_STREQ("CST-8", CTime::GetSystemTimeZone().CStr());
    EXPECT_STREQ("CST-8", CTime().GetTimeZone().GetTimeZone()) << "new objects get it";
    EXPECT_STREQ("CST-8", time.GetTimeZone().GetTimeZone());
}

TEST_F(CTimeTest, ACopyHasTheMomentButNoZone)
{
    CTime time;
    ASSERT_TRUE(time.SetTimeZone("CST-8"));
    time.SetDateAndTime(2024, 5, 6, 1, 0, 0, 0, true);
    CTime copy(time);
    EXPECT_STREQ("", copy.GetTimeZone().GetTimeZone());
    EXPECT_EQ("2024-05-06 01:00:00.000", TextOf(copy, true));
    EXPECT_EQ("2024-05-06 01:00:00.000", TextOf(copy, false)) << "local time is UTC";
    EXPECT_FALSE(copy.IsStoredTimeInDayLightSaving());
    ASSERT_TRUE(copy.SetTimeZone("CST-8"));
    EXPECT_EQ("2024-05-06 09:00:00.000", TextOf(copy, false));
    unsigned short u[3];
    const CTime byDefault;
    EXPECT_FALSE(CTime(byDefault).GetDate(u[0], u[1], u[2], true)) << "the flag is copied, too";
    EXPECT_TRUE(CTime(time).GetDate(u[0], u[1], u[2], true));
}

TEST_F(CTimeTest, AssignmentTakesTheMomentAndTheZoneIfThereIsOne)
{
    CTime time;
    ASSERT_TRUE(time.SetTimeZone("CST-8"));
    time.SetDateAndTime(2024, 5, 6, 1, 0, 0, 0, true);
    CTime other;
    EXPECT_EQ(&other, &(other = time));
    EXPECT_STREQ("CST-8", other.GetTimeZone().GetTimeZone());
    EXPECT_EQ(time, other);
    other.SetTimeZone("TST-9");
    other = CTime(time);
    EXPECT_STREQ("TST-9", other.GetTimeZone().GetTimeZone());
    unsigned short u[3];
    EXPECT_TRUE(other.GetDate(u[0], u[1], u[2], true));
    other = CTime();
    EXPECT_FALSE(other.GetDate(u[0], u[1], u[2], true));
}

TEST_F(CTimeTest, LeapYearsAreOfTheStoredYearInUtcOrLocal)
{
    EXPECT_TRUE(At(2000, 5, 1).IsLeapYear(true));
    EXPECT_TRUE(At(2024, 5, 1).IsLeapYear(true));
    EXPECT_FALSE(At(1900, 5, 1).IsLeapYear(true));
    EXPECT_FALSE(At(2023, 5, 1).IsLeapYear(true));
    CTime time;
    time.SetTimeZone("HAST10");
    time.SetDateAndTime(2025, 1, 1, 5, 0, 0, 0, true);
    EXPECT_FALSE(time.IsLeapYear(true));
    EXPECT_TRUE(time.IsLeapYear(false));
}

TEST_F(CTimeTest, TheDayOfTheWeekIsThatOfTheClockAndTheSystemZone)
{
    ASSERT_TRUE(CTime::SetSystemTimeZone("HAST10"));
    SetClock(2024, 5, 5, 3);  // a Sunday; in Hawaii still Saturday
    CTime time;
    time.SetTimeZone("TST-9");
    time.SetDateAndTime(1999, 12, 31, 12, 0, 0, 0, true);  // a Friday
    EXPECT_EQ(0u, time.GetDayOfWeek(true));
    EXPECT_EQ(6u, time.GetDayOfWeek(false));
    EXPECT_EQ(5u, time.GetStoredDayOfWeek(true));
    time.SetTime(16, 0, 0, 0, true);
    EXPECT_EQ(6u, time.GetStoredDayOfWeek(false));
    g_uUpTimeMs += 6ul * g_uDayMs;
    EXPECT_EQ(6u, time.GetDayOfWeek(true));
}

TEST_F(CTimeTest, DaylightTimeInEffectIsThatOfTheClockInTheZoneOfTheObject)
{
    ASSERT_TRUE(CTime::SetSystemTimeZone(pszTIMEZONE_NA_EASTERN));
    SetClock(2024, 7, 1, 12);
    CTime time;
    ASSERT_TRUE(time.SetTimeZone(pszTIMEZONE_NA_PACIFIC));
    time.SetDateAndTime(2024, 1, 1, 12, 0, 0, 0, true);
    EXPECT_TRUE(time.IsDayLightSavingInEffect());
    EXPECT_FALSE(time.IsStoredTimeInDayLightSaving());
    time.SetTimeZone(pszTIMEZONE_EASTERNAUSTRALIA);
    EXPECT_FALSE(time.IsDayLightSavingInEffect());
    EXPECT_TRUE(time.IsStoredTimeInDayLightSaving());
    SetClock(2024, 1, 1, 12);
    EXPECT_TRUE(time.IsDayLightSavingInEffect());

    SetClock(2024, 3, 10, 7);
    time.PinTime();
    time.SetTimeZone(pszTIMEZONE_NA_PACIFIC);
    EXPECT_TRUE(time.IsDayLightSavingInEffect()) << "03:00 in the system zone, which is taken for this one's";
    EXPECT_FALSE(time.IsStoredTimeInDayLightSaving()) << "23:00 of the day before in this one";
}

TEST_F(CTimeTest, GmtTimeIsTheClockInUtcButForTheWeekday)
{
    ASSERT_TRUE(CTime::SetSystemTimeZone("HAST10"));
    CTime::SetSystemTime(At(2024, 12, 29, 3, 4, 5, 678));
    tm stGmt;
    std::memset(&stGmt, 0x5A, sizeof(stGmt));
    EXPECT_TRUE(CTime::GetGmtTime(stGmt));
    EXPECT_EQ(5, stGmt.tm_sec);
    EXPECT_EQ(4, stGmt.tm_min);
    EXPECT_EQ(3, stGmt.tm_hour);
    EXPECT_EQ(29, stGmt.tm_mday);
    EXPECT_EQ(11, stGmt.tm_mon);
    EXPECT_EQ(124, stGmt.tm_year);
    EXPECT_EQ(363, stGmt.tm_yday);
    EXPECT_EQ(0, stGmt.tm_isdst);
    EXPECT_EQ(6, stGmt.tm_wday) << "in Hawaii it is still Saturday";
    EXPECT_EQ(0, stGmt.tm_gmtoff);
    EXPECT_EQ(nullptr, stGmt.tm_zone);
    ASSERT_TRUE(CTime::SetSystemTimeZone(pszTIMEZONE_UTC));
    EXPECT_TRUE(CTime::GetGmtTime(stGmt));
    EXPECT_EQ(0, stGmt.tm_wday);
}

TEST_F(CTimeTest, ComparesMomentsWhateverTheZone)
{
    const CTime early = At(2024, 1, 1, 23, 59, 59, 999);
    CTime late = At(2024, 1, 2);
    late.SetTimeZone("HAST10");
    EXPECT_TRUE(early < late && early <= late && late > early && late >= early && early != late);
    EXPECT_FALSE(late < early || late <= early || early > late || early >= late || early == late);
    EXPECT_TRUE(early <= early && early >= early && early == early);
    EXPECT_EQ(1, late - early);
    EXPECT_EQ(-1, early - late);
    CTime carried = At(2024, 1, 1);
    carried.SetTime(24, 0, 0, 0, true);
    EXPECT_EQ(carried, late) << "24:00 of one day is 0:00 of the next";
    EXPECT_EQ(std::int64_t{366} * g_uDayMs, At(2025, 1, 1) - At(2024, 1, 1));
}

TEST_F(CTimeTest, AddsMillisecondsAcrossDaysBothWays)
{
    CTime time = At(2024, 2, 29, 12);
    time += 12 * std::int64_t{g_uHourMs};
    EXPECT_EQ("2024-03-01 00:00:00.000", TextOf(time, true));
    time -= 1;
    EXPECT_EQ("2024-02-29 23:59:59.999", TextOf(time, true));
    time += std::int64_t{-366} * g_uDayMs;
    EXPECT_EQ("2023-02-28 23:59:59.999", TextOf(time, true));
    time -= std::int64_t{-1000} * g_uDayMs + 1;
    EXPECT_EQ("2025-11-24 23:59:59.998", TextOf(time, true));
    time.SetTime(25, 0, 0, 0, true);
    time.AddMs(0);
    EXPECT_EQ("2025-11-25 01:00:00.000", TextOf(time, true)) << "carries";
    for (const std::int64_t n : {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()})
    {
        CTime far = At(2024, 1, 1);
        far += n;
        far -= n;
        EXPECT_EQ("2024-01-01 00:00:00.000", TextOf(far, true));
        EXPECT_LT(PairOf(far)[1], g_uDayMs);
    }
    unsigned short u[3];
    CTime byDefault;
    byDefault += 5;
    EXPECT_FALSE(byDefault.GetDate(u[0], u[1], u[2], true));
}

TEST_F(CTimeTest, TheClockMayBeReadAndSetByManyThreads)
{
    // Both zones and both moments fit together in one way only.
    const CTime moment1 = At(2001, 1, 1);
    const CTime moment2 = At(2002, 2, 2, 2);
    CTime::SetSystemTime(moment1);
    std::atomic<int> nWrong = 0;
    std::atomic<int> nRounds = 0;
    std::atomic<bool> bStop = false;
    const auto read = [&]
    {
        for (; !bStop; ++nRounds)
        {
            const CTime now;
            if (now != moment1 && now != moment2) ++nWrong;
            const std::string zone = now.GetTimeZone().GetTimeZone();
            const CString strSystemZone = CTime::GetSystemTimeZone();
            if (zone != "UTC0" && zone != pszTIMEZONE_NA_EASTERN) ++nWrong;
            if (strSystemZone.IsEmpty()) ++nWrong;
        }
    };
    std::thread thread1(read);
    std::thread thread2(read);
    for (int n = 0; n < 500 || nRounds < 500; ++n)
    {
        CTime::SetSystemTime(n % 2 == 0 ? moment2 : moment1);
        CTime::SetSystemTimeZone(n % 2 == 0 ? "UTC0" : pszTIMEZONE_NA_EASTERN);
    }
    bStop = true;
    thread1.join();
    thread2.join();
    EXPECT_EQ(0, nWrong);
}
}  // namespace
