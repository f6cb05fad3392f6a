// The calendar against the standard library's, day by day.
#include "framework/basic/internal/calendar.h"

#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>

#include "framework/basic/time.h"
#include "framework/basic/time_zone.h"

namespace
{
namespace chrono = std::chrono;

/// The Julian day number that begins at noon of 1 January 1970.
constexpr int g_nEPOCH = 2440588;

chrono::sys_days Date(int nYear, unsigned int uMonth, unsigned int uDay)
{
    return chrono::year(nYear) / chrono::month(uMonth) / chrono::day(uDay);
}

unsigned int JulianDayOf(chrono::sys_days day)
{
    return static_cast<unsigned int>(static_cast<int>(day.time_since_epoch().count()) + g_nEPOCH);
}

struct SFields
{
    unsigned short uYear = 0;
    unsigned short uMonth = 0;
    unsigned short uDay = 0;
};

SFields FieldsOf(unsigned int uJulianDay)
{
    SFields fields;
    CTime::GetGregorianDate(uJulianDay, &fields.uYear, &fields.uMonth, &fields.uDay);
    return fields;
}

void ExpectDaysBothWays(chrono::sys_days first, chrono::sys_days last)
{
    for (chrono::sys_days day = first; day <= last; day += chrono::days(1))
    {
        const unsigned int uJulianDay = JulianDayOf(day);
        const chrono::year_month_day date(day);
        const SFields fields = FieldsOf(uJulianDay);
        ASSERT_EQ(static_cast<int>(date.year()), fields.uYear) << uJulianDay;
        ASSERT_EQ(static_cast<unsigned int>(date.month()), fields.uMonth) << uJulianDay;
        ASSERT_EQ(static_cast<unsigned int>(date.day()), fields.uDay) << uJulianDay;
        ASSERT_EQ(uJulianDay, CTime::GetJulianDate(fields.uYear, fields.uMonth, fields.uDay));
        ASSERT_EQ(chrono::weekday(day).c_encoding(), orvel_internal::WeekdayOf(uJulianDay)) << uJulianDay;
    }
}

TEST(Calendar, EveryDayFrom1600To2999IsTheOneOfTheStandardLibraryBothWays)
{
    ExpectDaysBothWays(Date(1600, 3, 1), Date(2999, 12, 31));
}

TEST(Calendar, TheFirstAndTheLastYearsOfItsRangeAreThoseOfTheStandardLibraryBothWays)
{
    ExpectDaysBothWays(Date(0, 1, 1), Date(801, 12, 31));
    ExpectDaysBothWays(Date(32000, 1, 1), Date(32767, 12, 31));
}

TEST(Calendar, EveryYearOf16BitsComesBack)
{
    for (unsigned int uYear = 0; uYear <= 65535; ++uYear)
    {
        for (const unsigned short uMonth : std::initializer_list<unsigned short>{1, 2, 3, 12})
        {
            const SFields fields = FieldsOf(CTime::GetJulianDate(static_cast<unsigned short>(uYear), uMonth, 28));
            ASSERT_EQ(uYear, fields.uYear);
            ASSERT_EQ(uMonth, fields.uMonth);
            ASSERT_EQ(28u, fields.uDay);
        }
    }
}

/// The formula as it is published, with the same names.
unsigned int Formula(int nYear, int nMonth, int nDay)
{
    const int m = nMonth <= 2 ? nMonth + 9 : nMonth - 3;
    const int y = nMonth <= 2 ? nYear - 1 : nYear;
    const int c = y / 100;
    const int ya = y - 100 * c;
    return static_cast<unsigned int>(146097 * c / 4 + 1461 * ya / 4 + (153 * m + 2) / 5 + nDay + 1721119);
}

TEST(Calendar, MonthsAndDaysOutOfRangeExtendTheFormula)
{
    for (const int nYear : {1, 1970, 2023, 2024, 65535})
    {
        for (const int nMonth : {1, 2, 3, 12, 13, 14, 15, 25, 300, 65535})
        {
            for (const int nDay : {0, 1, 31, 32, 366, 65535})
            {
                EXPECT_EQ(Formula(nYear, nMonth, nDay),
                          CTime::GetJulianDate(static_cast<unsigned short>(nYear), static_cast<unsigned short>(nMonth),
                                               static_cast<unsigned short>(nDay)))
                    << nYear << '-' << nMonth << '-' << nDay;
            }
        }
    }
    EXPECT_EQ(CTime::GetJulianDate(2025, 1, 1), CTime::GetJulianDate(2024, 13, 1));
    EXPECT_EQ(CTime::GetJulianDate(2024, 2, 29), CTime::GetJulianDate(2024, 3, 0));
    // Month 0 is three months in front of March, in which the formula counts 91 days, leap year or not.
    EXPECT_EQ(CTime::GetJulianDate(2024, 3, 1) - 91, CTime::GetJulianDate(2024, 0, 1));
    EXPECT_EQ(CTime::GetJulianDate(2023, 3, 1) - 91, CTime::GetJulianDate(2023, 0, 1));
}

TEST(Calendar, DaysOfNo16BitYearAreSafe)
{
    for (const unsigned int uDay : {0u, 1u, 1721059u, 30000000u, 0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFFu})
    {
        const SFields fields = FieldsOf(uDay);
        EXPECT_TRUE(fields.uMonth >= 1 && fields.uMonth <= 12 && fields.uDay >= 1 && fields.uDay <= 31) << uDay;
    }
}

TEST(Calendar, LeapYearsAreThoseOfTheStandardLibrary)
{
    for (unsigned int uYear = 0; uYear <= 32767; ++uYear)
    {
        ASSERT_EQ(chrono::year(static_cast<int>(uYear)).is_leap(),
                  CTimeZone::IsLeapYear(static_cast<unsigned short>(uYear)))
            << uYear;
    }
    EXPECT_TRUE(CTimeZone::IsLeapYear(65200));
    EXPECT_FALSE(CTimeZone::IsLeapYear(65300));
}

TEST(Calendar, TheDaysBeforeAMonthAreThoseOfTheStandardLibrary)
{
    for (const int nYear : {2023, 2024})
    {
        for (unsigned int uMonth = 1; uMonth <= 12; ++uMonth)
        {
            EXPECT_EQ((Date(nYear, uMonth, 1) - Date(nYear, 1, 1)).count(),
                      static_cast<int>(orvel_internal::DaysBeforeMonth(nYear == 2024, uMonth)));
        }
        EXPECT_EQ(nYear == 2024 ? 366u : 365u, orvel_internal::DaysBeforeMonth(nYear == 2024, 13));
    }
}
}  // namespace
