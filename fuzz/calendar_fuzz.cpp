// Dates and Julian days in both directions, leap years, and the moments of CTime in a zone, beside a calendar that is
// counted out day by day.
// Options: -max_len=600
#include <cstdint>
#include <string>

#include "framework/basic/time.h"
#include "framework/basic/time_zone.h"
#include "fuzz/models/calendar_twin.h"
#include "fuzz/models/time_zone_twin.h"
#include "fuzz/models/trail.h"

namespace
{
/// A moment as CTime keeps it.
struct SMoment
{
    unsigned int uDay;
    unsigned int uTimeMs;
};

class CCalendarRun
{
public:
    CCalendarRun(const std::uint8_t* puData, std::size_t uSize) : m_bytes(puData, uSize)
    {
        m_time.SetTimeZone(pszTIMEZONE_UTC);
        m_twin.Set(pszTIMEZONE_UTC);
        m_time.SetJulianDateAndTime(m_moment.uDay, m_moment.uTimeMs, true);
    }

    void Run()
    {
        for (unsigned int uStep = 0; uStep < 80 && !m_bytes.IsSpent(); ++uStep)
        {
            switch (m_bytes.Below(10))
            {
                case 0: Convert(); break;
                case 1: SetZone(); break;
                case 2: SetDay(); break;
                case 3: SetFields(); break;
                case 4: SetDate(); break;
                case 5: SetTime(); break;
                case 6: Move(); break;
                case 7: Copy(); break;
                default: Read();
            }
        }
    }

private:
    unsigned int Year() { return m_bytes.Flag() ? 1960 + m_bytes.Below(100) : 3 + m_bytes.Below(65530); }
    unsigned int Day() { return CCalendarTwin::JulianDay(Year(), 1, 1) + m_bytes.Below(365); }
    unsigned int TimeOfDay() { return m_bytes.Flag() ? m_bytes.Below(48) * 1800000 : m_bytes.Below(86400000); }
    SMoment Local() const
    {
        SMoment moment = m_moment;
        m_twin.Convert(moment.uDay, moment.uTimeMs, true);
        return moment;
    }
    void TakeLocal(SMoment moment, bool bUtc)
    {
        if (!bUtc) m_twin.Convert(moment.uDay, moment.uTimeMs, false);
        m_moment = moment;
    }

    /// The static functions.
    void Convert()
    {
        const unsigned int uYear = m_bytes.Flag() ? Year() : m_bytes.Below(65536);
        const unsigned int uMonth = 1 + m_bytes.Below(12);
        const unsigned int uDay = 1 + m_bytes.Below(CCalendarTwin::DaysOf(uYear, uMonth));
        m_trail.Step("GetJulianDate(%u, %u, %u) and back", uYear, uMonth, uDay);
        const unsigned int uJulianDay = CCalendarTwin::JulianDay(uYear, uMonth, uDay);
        m_trail.Same("the Julian day",
                     CTime::GetJulianDate(static_cast<unsigned short>(uYear), static_cast<unsigned short>(uMonth),
                                          static_cast<unsigned short>(uDay)),
                     uJulianDay);
        unsigned short uYearBack = 0, uMonthBack = 0, uDayBack = 0;
        CTime::GetGregorianDate(uJulianDay, &uYearBack, nullptr, nullptr);
        CTime::GetGregorianDate(uJulianDay, nullptr, &uMonthBack, &uDayBack);
        m_trail.Same("the year", uYearBack, uYear);
        m_trail.Same("the month", uMonthBack, uMonth);
        m_trail.Same("the day", uDayBack, uDay);
        m_trail.Same("the leap year", CTimeZone::IsLeapYear(static_cast<unsigned short>(uYear)),
                     CCalendarTwin::IsLeap(uYear));
    }
    void SetZone()
    {
        const std::string strZone = m_bytes.Flag() ? apszTIMEZONE_TABLE[m_bytes.Below(17)] : "no zone";
        m_trail.Step("SetTimeZone(\"%s\")", strZone.c_str());
        m_trail.Same("the result", m_time.SetTimeZone(strZone.c_str()), m_twin.Set(strZone));
    }
    void SetDay()
    {
        const SMoment moment = {Day(), TimeOfDay()};
        const bool bUtc = m_bytes.Flag();
        m_trail.Step("SetJulianDateAndTime(%u, %u, %d)", moment.uDay, moment.uTimeMs, bUtc);
        m_time.SetJulianDateAndTime(moment.uDay, moment.uTimeMs, bUtc);
        TakeLocal(moment, bUtc);
        Compare();
    }
    void SetFields()
    {
        const CCalendarTwin::SDate date = CCalendarTwin::DateOf(Day());
        const unsigned int uHour = m_bytes.Below(26), uMinute = m_bytes.Below(60), uSecond = m_bytes.Below(60);
        const unsigned int uMs = m_bytes.Below(1000);
        const bool bUtc = m_bytes.Flag();
        m_trail.Step("SetDateAndTime(%u, %u, %u, %u, %u, %u, %u, %d)", date.uYear, date.uMonth, date.uDay, uHour,
                     uMinute, uSecond, uMs, bUtc);
        m_time.SetDateAndTime(static_cast<unsigned short>(date.uYear), static_cast<unsigned short>(date.uMonth),
                              static_cast<unsigned short>(date.uDay), static_cast<unsigned short>(uHour),
                              static_cast<unsigned short>(uMinute), static_cast<unsigned short>(uSecond),
                              static_cast<unsigned short>(uMs), bUtc);
        TakeLocal({CCalendarTwin::JulianDay(date.uYear, date.uMonth, date.uDay),
                   uMs + (uSecond + uHour * 3600 + uMinute * 60) * 1000},
                  bUtc);
        Compare();
    }
    void SetDate()
    {
        const CCalendarTwin::SDate date = CCalendarTwin::DateOf(Day());
        const bool bUtc = m_bytes.Flag();
        m_trail.Step("SetDate(%u, %u, %u, %d)", date.uYear, date.uMonth, date.uDay, bUtc);
        m_time.SetDate(static_cast<unsigned short>(date.uYear), static_cast<unsigned short>(date.uMonth),
                       static_cast<unsigned short>(date.uDay), bUtc);
        SMoment moment = bUtc ? m_moment : Local();
        moment.uDay = CCalendarTwin::JulianDay(date.uYear, date.uMonth, date.uDay);
        TakeLocal(moment, bUtc);
        Compare();
    }
    void SetTime()
    {
        const unsigned int uHour = m_bytes.Below(26), uMinute = m_bytes.Below(60), uSecond = m_bytes.Below(60);
        const unsigned int uMs = m_bytes.Below(1000);
        const bool bUtc = m_bytes.Flag();
        m_trail.Step("SetTime(%u, %u, %u, %u, %d)", uHour, uMinute, uSecond, uMs, bUtc);
        m_time.SetTime(static_cast<unsigned short>(uHour), static_cast<unsigned short>(uMinute),
                       static_cast<unsigned short>(uSecond), static_cast<unsigned short>(uMs), bUtc);
        SMoment moment = bUtc ? m_moment : Local();
        moment.uTimeMs = uMs + (uSecond + uHour * 3600 + uMinute * 60) * 1000;
        TakeLocal(moment, bUtc);
        Compare();
    }
    void Move()
    {
        const auto nMs = static_cast<std::int64_t>(m_bytes.Number<std::int32_t>()) * (m_bytes.Flag() ? 1 : 40);
        const std::int64_t nTotal = std::int64_t{m_moment.uDay} * CTimeZoneTwin::nDAY_MS + m_moment.uTimeMs + nMs;
        const std::int64_t nDay = nTotal / CTimeZoneTwin::nDAY_MS;
        if (nDay < CCalendarTwin::FirstJulianDay() + 1200 || nDay > CCalendarTwin::LastJulianDay() - 1200) return;
        m_trail.Step("AddMs(%lld)", static_cast<long long>(nMs));
        m_time.AddMs(nMs);
        m_moment = {static_cast<unsigned int>(nDay), static_cast<unsigned int>(nTotal % CTimeZoneTwin::nDAY_MS)};
        Compare();
    }
    /// A copy has the moment; an assigned one has the zone as well.
    void Copy()
    {
        m_trail.Step("a copy, assigned back");
        const CTime copy(m_time);
        m_trail.True(copy == m_time && !(copy < m_time) && copy - m_time == 0, "a copy is the same moment");
        CTime assigned;
        assigned = m_time;
        m_trail.True(std::string(assigned.GetTimeZone().GetTimeZone()) == m_twin.GetZone().strText,
                     "assignment takes the zone");
        m_time = copy;
        Compare();
    }
    void Read()
    {
        m_trail.Step("reading");
        Compare();
    }
    void Compare()
    {
        for (const bool bUtc : {true, false})
        {
            const SMoment want = bUtc ? m_moment : Local();
            unsigned int uDay = 0, uTimeMs = 0;
            m_trail.True(m_time.GetJulianDateAndTime(uDay, uTimeMs, bUtc), "the time was set");
            m_trail.Same(bUtc ? "the UTC day" : "the local day", uDay, want.uDay);
            m_trail.Same(bUtc ? "the UTC time of day" : "the local time of day", uTimeMs, want.uTimeMs);
            const CCalendarTwin::SDate date = CCalendarTwin::DateOf(want.uDay);
            unsigned short uYear = 0, uMonth = 0, uDayOfMonth = 0, uHour = 0, uMinute = 0, uSecond = 0, uMs = 0;
            m_time.GetDateAndTime(uYear, uMonth, uDayOfMonth, uHour, uMinute, uSecond, uMs, bUtc);
            m_trail.True(uYear == date.uYear && uMonth == date.uMonth && uDayOfMonth == date.uDay,
                         "the date is the twin's");
            m_trail.True(uMs + (uSecond + uMinute * 60u + uHour * 3600u) * 1000u == want.uTimeMs && uMs < 1000 &&
                             uSecond < 60 && uMinute < 60,
                         "the time is the twin's");
            m_trail.Same("the leap year", m_time.IsLeapYear(bUtc), CCalendarTwin::IsLeap(date.uYear));
            m_trail.Same("the weekday", m_time.GetStoredDayOfWeek(bUtc), CCalendarTwin::Weekday(want.uDay));
        }
        m_trail.Same("daylight saving time", m_time.IsStoredTimeInDayLightSaving(),
                     m_twin.IsDaylight(m_moment.uDay, m_moment.uTimeMs, true));
    }

    CStepBytes m_bytes;
    CTrail m_trail;
    CTime m_time;
    CTimeZoneTwin m_twin;
    SMoment m_moment{2451545, 0};
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CCalendarRun(puData, uSize).Run();
    return 0;
}
