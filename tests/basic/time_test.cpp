// The framework clock, on an up-time that the tests move, and what is odd about times. Sequences of all operations are
// compared by fuzz.time and fuzz.calendar.
#include "framework/basic/time.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <thread>

#include "framework/kernel/timer.h"

namespace
{
std::atomic<unsigned long> g_uUpTimeMs = 1000000;

constexpr unsigned int g_uDAY_MS = 86400000;
constexpr unsigned int g_uHOUR_MS = 3600000;

/// Shows what is protected.
class CTimeProbe : public CTime
{
public:
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
    EXPECT_EQ(QV_RES_OK, strText.Format(0, "%04u-%02u-%02u %02u:%02u:%02u.%03u", uYear, uMonth, uDay, uHour, uMinute,
                                        uSecond, uMs));
    return strText.CStr();
}

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
/// Whether a time says that it derives from a clock that was set; all getters say the same.
bool IsSet(const CTime& rTime)
{
    unsigned short u[7];
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    const bool bSet = rTime.GetJulianDateAndTime(uJulianDay, uTimeMs, true);
    EXPECT_EQ(bSet, rTime.GetDate(u[0], u[1], u[2], true));
    EXPECT_EQ(bSet, rTime.GetTime(u[3], u[4], u[5], u[6], true));
    EXPECT_EQ(bSet, rTime.GetDateAndTime(u[0], u[1], u[2], u[3], u[4], u[5], u[6], false));
    return bSet;
}

TEST_F(CTimeTest, TheClockStartsAt1January2000AndSaysItIsOnlyTheDefault)
{
    CTime time;
    EXPECT_EQ("2000-01-01 00:00:00.000", TextOf(time, true));
    EXPECT_FALSE(IsSet(time));
    EXPECT_FALSE(IsSet(CTime(time)));
    time += 5;
    EXPECT_FALSE(IsSet(time));
    tm stGmt;
    EXPECT_FALSE(CTime::GetGmtTime(stGmt));
    EXPECT_EQ(g_uUpTimeMs, CTimeProbe::ms_uLastSynchronizationTimeMs);

    CTime::SetSystemTime(time);
    EXPECT_TRUE(IsSet(CTime()));
    EXPECT_TRUE(CTime::GetGmtTime(stGmt));
    EXPECT_FALSE(IsSet(time)) << "this one still derives from the default";
    time.PinTime();
    EXPECT_TRUE(IsSet(time));
}

TEST_F(CTimeTest, EverySetterClearsTheDefaultFlagAndAssignmentCopiesIt)
{
    const CTime byDefault;
    void (*const apfnSet[])(CTime&) = {[](CTime& r) { r.SetDate(2024, 1, 1, true); },
                                       [](CTime& r) { r.SetTime(1, 2, 3, 4, true); },
                                       [](CTime& r) { r.SetJulianDateAndTime(1, 2, false); },
                                       [](CTime& r) { r.SetDateAndTime(2024, 1, 1, 0, 0, 0, 0, false); }};
    for (void (*const pfnSet)(CTime&) : apfnSet)
    {
        CTime time(byDefault);
        pfnSet(time);
        EXPECT_TRUE(IsSet(time));
        CTime other;
        other = time;
        EXPECT_TRUE(IsSet(other));
        other = byDefault;
        EXPECT_FALSE(IsSet(other));
        time.PinTime();
        EXPECT_FALSE(IsSet(time)) << "as the clock has it";
    }
}

TEST_F(CTimeTest, TheClockAdvancesWithTheUpTime)
{
    SetClock(2024, 2, 28, 23);
    g_uUpTimeMs += 59 * 60000 + 59999;
    EXPECT_EQ("2024-02-28 23:59:59.999", TextOf(CTime(), true));
    g_uUpTimeMs += 1;
    EXPECT_EQ("2024-02-29 00:00:00.000", TextOf(CTime(), true));
    g_uUpTimeMs += 366ul * g_uDAY_MS * 200;
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
    EXPECT_EQ(23 * g_uHOUR_MS + 489010, CTimeProbe::ms_uJulianTimeMs);
    EXPECT_EQ(g_uUpTimeMs, CTimeProbe::ms_uLastSynchronizationTimeMs);
    g_uUpTimeMs += 90;
    EXPECT_EQ("2024-05-06 07:08:09.010", TextOf(time, false)) << "an object stands still";
    time.PinTime();
    EXPECT_EQ("2024-05-06 07:08:09.100", TextOf(time, false)) << "and keeps its zone";
}

TEST_F(CTimeTest, HoursFrom24OnStayInTheirDayUntilTheClockTakesThem)
{
    CTime time = At(2024, 2, 28);
    time.SetTime(25, 0, 0, 0, true);
    EXPECT_EQ("2024-02-28 25:00:00.000", TextOf(time, true));
    CTime::SetSystemTime(time);
    EXPECT_EQ("2024-02-29 01:00:00.000", TextOf(CTime(), true));
    time.AddMs(0);
    EXPECT_EQ("2024-02-29 01:00:00.000", TextOf(time, true)) << "carries";
    time.SetDateAndTime(2024, 1, 1, 65535, 65535, 65535, 65535, true);
    unsigned int uJulianDay = 0;
    unsigned int uTimeMs = 0;
    time.GetJulianDateAndTime(uJulianDay, uTimeMs, true);
    EXPECT_EQ(65535u + (65535u + 65535u * 3600u + 65535u * 60u) * 1000u, uTimeMs) << "in 32 bits";
}

TEST_F(CTimeTest, ACopyHasNoZoneAndAnAssignmentTakesOneIfThereIsOne)
{
    CTime time;
    ASSERT_TRUE(time.SetTimeZone("CST-8"));
    time.SetDateAndTime(2024, 5, 6, 1, 0, 0, 0, true);
    const CTime copy(time);
    EXPECT_EQ("2024-05-06 01:00:00.000", TextOf(copy, false)) << "local time is UTC";
    CTime other;
    EXPECT_EQ(&other, &(other = time));
    EXPECT_STREQ("CST-8", other.GetTimeZone().GetTimeZone());
    EXPECT_EQ(time, other);
    other = copy;
    EXPECT_STREQ("CST-8", other.GetTimeZone().GetTimeZone());
}

TEST_F(CTimeTest, DaylightTimeInEffectIsThatOfTheClockInTheZoneOfTheObject)
{
    ASSERT_TRUE(CTime::SetSystemTimeZone(pszTIMEZONE_NA_EASTERN));
    SetClock(2024, 7, 1, 12);
    CTime time;
    ASSERT_TRUE(time.SetTimeZone(pszTIMEZONE_EASTERNAUSTRALIA));
    time.SetDateAndTime(2024, 1, 1, 12, 0, 0, 0, true);
    EXPECT_FALSE(time.IsDayLightSavingInEffect());
    EXPECT_TRUE(time.IsStoredTimeInDayLightSaving());

    SetClock(2024, 3, 10, 7);
    time.PinTime();
    time.SetTimeZone(pszTIMEZONE_NA_PACIFIC);
    EXPECT_TRUE(time.IsDayLightSavingInEffect()) << "03:00 in the system zone, which is taken for this one's";
    EXPECT_FALSE(time.IsStoredTimeInDayLightSaving()) << "23:00 of the day before in this one";
    SetClock(2024, 3, 10, 5);
    EXPECT_FALSE(time.IsDayLightSavingInEffect()) << "midnight in the system zone, though 05:00 in UTC";
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
    EXPECT_FALSE(early < early || early > early || early != early);
    EXPECT_EQ(1, late - early);
    EXPECT_EQ(-1, early - late);
}

TEST_F(CTimeTest, MovesByAnyNumberAndBackAgain)
{
    for (const std::int64_t n : {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(),
                                 std::int64_t{-1}, std::int64_t{-366} * g_uDAY_MS, std::int64_t{5}})
    {
        CTime far = At(2024, 1, 1);
        far += n;
        unsigned int uJulianDay = 0;
        unsigned int uTimeMs = 0;
        far.GetJulianDateAndTime(uJulianDay, uTimeMs, true);
        EXPECT_LT(uTimeMs, g_uDAY_MS);
        far -= n;
        EXPECT_EQ("2024-01-01 00:00:00.000", TextOf(far, true));
    }
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
