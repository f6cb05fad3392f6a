#ifndef FRAMEWORK_BASIC_INTERNAL_CALENDAR_H
#define FRAMEWORK_BASIC_INTERNAL_CALENDAR_H
#include <stdint.h>

// Internal: the proleptic Gregorian calendar and Julian day numbers, for times and time zones. CTime has some of it
// inline, so that it is installed; applications use it through CTime.
//
// Years are counted from March here, so that the leap day is the last of its year and all months before it have a
// regular length: day (153 * m + 2) / 5 begins month m, with 0 for March and 11 for February.
namespace orvel_internal
{
constexpr unsigned int g_uMS_PER_SECOND = 1000;
constexpr unsigned int g_uMS_PER_HOUR = 3600 * g_uMS_PER_SECOND;
constexpr unsigned int g_uMS_PER_DAY = 24 * g_uMS_PER_HOUR;
constexpr int g_nDAYS_PER_400_YEARS = 146097;

struct SDate
{
    unsigned short uYear;
    unsigned short uMonth;
    unsigned short uDay;
};

constexpr bool IsLeapYear(unsigned int uYear)
{
    return uYear % 4 == 0 && (uYear % 100 != 0 || uYear % 400 == 0);
}

/// Months 1 to 12, and 13 for the length of the year.
constexpr unsigned int DaysBeforeMonth(bool bLeapYear, unsigned int uMonth)
{
    constexpr unsigned short auDAYS[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
    return auDAYS[uMonth - 1] + (bLeapYear && uMonth > 2 ? 1u : 0u);
}

/// 0 is Sunday. Julian day 0 was a Monday.
constexpr unsigned int WeekdayOf(unsigned int uJulianDay)
{
    return (uJulianDay % 7 + 1) % 7;
}

/// The Julian day number of a date. Months and days out of range continue the count.
constexpr unsigned int JulianDayOf(unsigned int uYear, unsigned int uMonth, unsigned int uDay)
{
    const bool bEndsYearBefore = uMonth == 1 || uMonth == 2;
    // 400 years ahead and, in the end, back: January of the year 0 belongs to the year -1.
    const int nYear = static_cast<int>(uYear) + 400 - (bEndsYearBefore ? 1 : 0);
    const int nMonth = static_cast<int>(uMonth) + (bEndsYearBefore ? 9 : -3);
    const int nCentury = nYear / 100;
    const int nYearOfCentury = nYear % 100;
    return static_cast<unsigned int>(g_nDAYS_PER_400_YEARS * nCentury / 4 + 1461 * nYearOfCentury / 4 +
                                     (153 * nMonth + 2) / 5 + static_cast<int>(uDay) + 1721119 - g_nDAYS_PER_400_YEARS);
}

/// The date of a Julian day; a year that 16 bits do not hold (before 0, after 65,535) is cut to them.
///
/// C. Neri, L. Schneider, "Euclidean affine functions and their application to calendar algorithms" (2023): divisions
/// whose quotient and remainder are both wanted become one multiplication, whose upper and lower half give them.
constexpr SDate DateOf(unsigned int uJulianDay)
{
    // Day 0 is then 1 March -4800, the beginning of a span of 400 years.
    const uint64_t uQuarterDays = 4 * (uint64_t{uJulianDay} + 32044) + 3;
    const uint32_t uCentury = static_cast<uint32_t>(uQuarterDays / g_nDAYS_PER_400_YEARS);
    const uint32_t uQuarterDayOfCentury = static_cast<uint32_t>(uQuarterDays % g_nDAYS_PER_400_YEARS) | 3;

    constexpr uint32_t u4_YEARS = 2939745;  // 2^32 / 1461, rounded up
    const uint64_t uYears = uint64_t{u4_YEARS} * uQuarterDayOfCentury;
    const uint32_t uYear = 100 * uCentury + static_cast<uint32_t>(uYears >> 32);
    const uint32_t uDayOfYear = static_cast<uint32_t>(uYears) / u4_YEARS / 4;

    constexpr uint32_t uMONTHS = 2141;                                 // 2^16 * 5 / 153, rounded down
    const uint32_t uMonths = uMONTHS * uDayOfYear + (3 << 16) + 1305;  // begins with month 3, March
    const bool bNextYear = uDayOfYear >= 306;
    const uint32_t uMonth = (uMonths >> 16) - (bNextYear ? 12 : 0);
    return {static_cast<unsigned short>(uYear - 4800 + (bNextYear ? 1 : 0)), static_cast<unsigned short>(uMonth),
            static_cast<unsigned short>((uMonths & 0xFFFF) / uMONTHS + 1)};
}

/// Milliseconds of a time of day, in 32 bits: hours past 1,193 wrap.
constexpr unsigned int TimeOfDay(unsigned int uHour, unsigned int uMinute, unsigned int uSecond,
                                 unsigned int uMillisecond)
{
    return uMillisecond + (uSecond + uHour * 3600 + uMinute * 60) * g_uMS_PER_SECOND;
}

struct STime
{
    unsigned short uHour;
    unsigned short uMinute;
    unsigned short uSecond;
    unsigned short uMillisecond;
};

constexpr STime SplitTimeOfDay(unsigned int uTimeMs)
{
    const unsigned int uSeconds = uTimeMs / g_uMS_PER_SECOND;
    return {static_cast<unsigned short>(uSeconds / 3600), static_cast<unsigned short>(uSeconds / 60 % 60),
            static_cast<unsigned short>(uSeconds % 60), static_cast<unsigned short>(uTimeMs % g_uMS_PER_SECOND)};
}
}  // namespace orvel_internal

#endif
