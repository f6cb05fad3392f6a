#ifndef FUZZ_MODELS_CALENDAR_TWIN_H
#define FUZZ_MODELS_CALENDAR_TWIN_H
#include <algorithm>
#include <vector>

/// The proleptic Gregorian calendar, counted out year by year and day by day from 1 January 2000, Julian day 2451545.
/// Years 0 to 65535.
class CCalendarTwin
{
public:
    struct SDate
    {
        unsigned int uYear;
        unsigned int uMonth;
        unsigned int uDay;
    };

    static bool IsLeap(unsigned int uYear) { return uYear % 4 == 0 && (uYear % 100 != 0 || uYear % 400 == 0); }
    static unsigned int DaysOf(unsigned int uYear, unsigned int uMonth)
    {
        switch (uMonth)
        {
            case 2: return IsLeap(uYear) ? 29 : 28;
            case 4:
            case 6:
            case 9:
            case 11: return 30;
            default: return 31;
        }
    }
    static unsigned int DaysOf(unsigned int uYear) { return IsLeap(uYear) ? 366 : 365; }

    static unsigned int JulianDay(unsigned int uYear, unsigned int uMonth, unsigned int uDay)
    {
        unsigned int uJulianDay = FirstDays()[uYear];
        for (unsigned int u = 1; u < uMonth; ++u) uJulianDay += DaysOf(uYear, u);
        return uJulianDay + uDay - 1;
    }
    static unsigned int FirstJulianDay() { return FirstDays()[0]; }
    static unsigned int LastJulianDay() { return JulianDay(65535, 12, 31); }
    static SDate DateOf(unsigned int uJulianDay)
    {
        const std::vector<unsigned int>& rFirst = FirstDays();
        const auto itBehind = std::upper_bound(rFirst.begin(), rFirst.end(), uJulianDay);
        SDate date = {static_cast<unsigned int>(itBehind - rFirst.begin()) - 1, 1, 1};
        for (unsigned int uDay = rFirst[date.uYear]; uDay < uJulianDay; ++uDay)
        {
            if (++date.uDay <= DaysOf(date.uYear, date.uMonth)) continue;
            date.uDay = 1;
            ++date.uMonth;
        }
        return date;
    }
    /// 0: Sunday. 1 January 2000 was a Saturday.
    static unsigned int Weekday(unsigned int uJulianDay) { return (uJulianDay + 7 * 1000 - 2451545 % 7 + 6) % 7; }

private:
    /// Of 1 January of each year.
    static const std::vector<unsigned int>& FirstDays()
    {
        static const std::vector<unsigned int> s_days = Count();
        return s_days;
    }
    static std::vector<unsigned int> Count()
    {
        std::vector<unsigned int> days(65536);
        days[2000] = 2451545;
        for (unsigned int u = 2000; u > 0; --u) days[u - 1] = days[u] - DaysOf(u - 1);
        for (unsigned int u = 2001; u < 65536; ++u) days[u] = days[u - 1] + DaysOf(u - 1);
        return days;
    }
};

#endif
