// CTime: its calendar beside std::chrono's, and sequences of its operations beside plain arithmetic.
// Options: -max_len=600
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "framework/basic/time.h"
#include "framework/basic/time_zone.h"
#include "fuzz/check.h"
#include "fuzz/input.h"

namespace
{
using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr std::int64_t g_nEPOCH = 2440588;  // Julian day of 1 January 1970
constexpr std::int64_t g_nDAYS_OF_400_YEARS = 146097;
constexpr std::int64_t g_nDAY_MS = 86400000;

struct SDateTime
{
    unsigned short uYear;
    unsigned short uMonth;
    unsigned short uDay;
};

/// 400 years have the same dates everywhere, so that std::chrono's narrower years will do.
SDateTime DateOf(unsigned int uJulianDay)
{
    const std::int64_t nSpans = uJulianDay / g_nDAYS_OF_400_YEARS;
    const std::int64_t nDay = uJulianDay % g_nDAYS_OF_400_YEARS;
    const year_month_day date(sys_days(days(static_cast<int>(nDay - g_nEPOCH))));
    return {static_cast<unsigned short>(static_cast<int>(date.year()) + 400 * nSpans),
            static_cast<unsigned short>(static_cast<unsigned int>(date.month())),
            static_cast<unsigned short>(static_cast<unsigned int>(date.day()))};
}

std::int64_t JulianDayOfMarch(std::int64_t nYear)
{
    const std::int64_t nSpans = nYear / 400;
    const year_month_day date(std::chrono::year(static_cast<int>(nYear % 400)), std::chrono::March,
                              std::chrono::day(1));
    return sys_days(date).time_since_epoch().count() + g_nEPOCH + g_nDAYS_OF_400_YEARS * nSpans;
}

/// Months and days that there are not continue the count: months by the formula that makes days of regular ones.
unsigned int JulianDayOf(unsigned short uYear, unsigned short uMonth, unsigned short uDay)
{
    const bool bEndsYearBefore = uMonth == 1 || uMonth == 2;
    const std::int64_t nMonth = bEndsYearBefore ? uMonth + 9 : uMonth - 3;
    // The year -1 is that 400 years before 399.
    const std::int64_t nMarch = uYear == 0 && bEndsYearBefore ? JulianDayOfMarch(399) - g_nDAYS_OF_400_YEARS
                                                              : JulianDayOfMarch(uYear - (bEndsYearBefore ? 1 : 0));
    return static_cast<unsigned int>(nMarch + (153 * nMonth + 2) / 5 + uDay - 1);
}

unsigned int MsOf(unsigned int uHour, unsigned int uMinute, unsigned int uSecond, unsigned int uMs)
{
    return uMs + (uSecond + uHour * 3600 + uMinute * 60) * 1000;
}

/// The members as they are documented: the zone is one of its own, set like the time's.
struct SModel
{
    CTimeZone zone;
    unsigned int uDay = 0;
    unsigned int uMs = 0;

    void Get(unsigned int& ruDay, unsigned int& ruMs, bool bUtc) const
    {
        ruDay = uDay;
        ruMs = uMs;
        if (!bUtc) zone.ConvertFromUTCToLocale(ruDay, ruMs);
    }
    void Set(unsigned int uNewDay, unsigned int uNewMs, bool bUtc)
    {
        uDay = uNewDay;
        uMs = uNewMs;
        if (!bUtc) zone.ConvertFromLocaleToUTC(uDay, uMs);
    }
    void AddMs(std::int64_t nMs)
    {
        // Of both addends the whole days apart: the sum of all may need more than 64 bits.
        std::int64_t nDays = nMs / g_nDAY_MS;
        std::int64_t nRest = nMs % g_nDAY_MS + uMs;
        while (nRest < 0)
        {
            nRest += g_nDAY_MS;
            --nDays;
        }
        nDays += nRest / g_nDAY_MS;
        uDay = static_cast<unsigned int>(uDay + nDays);
        uMs = static_cast<unsigned int>(nRest % g_nDAY_MS);
    }
    std::int64_t Total() const { return std::int64_t{uDay} * g_nDAY_MS + uMs; }
};

void CheckCalendar(CFuzzInput& rInput)
{
    const unsigned int uDay = rInput.Flag() ? rInput.Number<unsigned int>() : 1721000 + rInput.Below(1200000);
    const SDateTime want = DateOf(uDay);
    unsigned short uYear = 0;
    unsigned short uMonth = 0;
    unsigned short uMonthDay = 0;
    CTime::GetGregorianDate(uDay, &uYear, &uMonth, &uMonthDay);
    RequireEqual(want.uYear, uYear, "year");
    RequireEqual(want.uMonth, uMonth, "month");
    RequireEqual(want.uDay, uMonthDay, "day");
    CTime::GetGregorianDate(uDay, nullptr, nullptr, nullptr);

    const unsigned short uAnyYear = rInput.Number<unsigned short>();
    const unsigned short uAnyMonth =
        rInput.Flag() ? rInput.Number<unsigned short>() : static_cast<unsigned short>(rInput.Below(14));
    const unsigned short uAnyDay = rInput.Edgy<unsigned short>();
    RequireEqual(JulianDayOf(uAnyYear, uAnyMonth, uAnyDay), CTime::GetJulianDate(uAnyYear, uAnyMonth, uAnyDay),
                 "Julian day");
    RequireEqual(std::chrono::year(uAnyYear % 400).is_leap(), CTimeZone::IsLeapYear(uAnyYear), "IsLeapYear");
}

/// The clock, set to a moment so far from midnight that it does not come while this looks.
void CheckClock(CFuzzInput& rInput)
{
    constexpr unsigned int uTO_MIDNIGHT = 2 * 3600000;
    const char* const pszZone = apszTIMEZONE_TABLE[rInput.Below(17)];
    const unsigned int uDay = 1721426 + rInput.Below(3000000);
    const unsigned int uMs = rInput.Below(86400000 - uTO_MIDNIGHT);
    Require(CTime::SetSystemTimeZone(pszZone), "SetSystemTimeZone");
    Require(!CTime::SetSystemTimeZone("no zone"), "SetSystemTimeZone of no zone");
    RequireEqual(std::string(pszZone), std::string(CTime::GetSystemTimeZone().CStr()), "GetSystemTimeZone");
    CTime set;
    set.SetJulianDateAndTime(uDay, uMs, true);
    CTime::SetSystemTime(set);

    const CTime now;
    const std::int64_t nElapsed = now - set;
    Require(nElapsed >= 0 && nElapsed < uTO_MIDNIGHT, "the clock's time");
    tm gmt;
    Require(CTime::GetGmtTime(gmt), "the clock was set");
    const SDateTime date = DateOf(uDay);
    RequireEqual(date.uYear - 1900, gmt.tm_year, "tm_year");
    RequireEqual(date.uMonth - 1, gmt.tm_mon, "tm_mon");
    RequireEqual(int{date.uDay}, gmt.tm_mday, "tm_mday");
    RequireEqual(static_cast<int>(uDay - JulianDayOf(date.uYear, 1, 1)), gmt.tm_yday, "tm_yday");
    RequireEqual(0, gmt.tm_isdst, "tm_isdst");
    const std::int64_t nSeconds = gmt.tm_hour * 3600 + gmt.tm_min * 60 + gmt.tm_sec;
    Require(nSeconds >= uMs / 1000 && nSeconds < (uMs + uTO_MIDNIGHT) / 1000, "the time of day in a tm");
    RequireEqual((uDay % 7 + 1) % 7, set.GetDayOfWeek(true), "the clock's weekday");

    CTimeZone zone;
    RequireEqual(QV_RES_OK, zone.SetTimeZone(pszZone), "the zone");
    unsigned int uLocalDay = uDay;
    unsigned int uLocalMs = uMs;
    zone.ConvertFromUTCToLocale(uLocalDay, uLocalMs);
    if (uLocalMs >= 86400000 - uTO_MIDNIGHT) return;
    const unsigned int uWeekday = (uLocalDay % 7 + 1) % 7;
    RequireEqual(uWeekday, set.GetDayOfWeek(false), "the clock's weekday in its zone");
    RequireEqual(static_cast<int>(uWeekday), gmt.tm_wday, "tm_wday");
}

class CPair
{
public:
    CPair()
    {
        RequireEqual(QV_RES_OK, m_model.zone.SetTimeZone(CTime::GetSystemTimeZone().CStr()), "the system's zone");
        m_time.SetJulianDateAndTime(0, 0, true);
        m_otherTime.SetJulianDateAndTime(0, 0, true);
    }
    ~CPair() { CTime::SetSystemTimeZone(pszTIMEZONE_NA_EASTERN); }
    CPair(const CPair&) = delete;
    CPair& operator=(const CPair&) = delete;

    void Step(CFuzzInput& rInput)
    {
        const bool bUtc = rInput.Flag();
        switch (rInput.Below(10))
        {
            case 0:
            {
                const unsigned int uDay = rInput.Flag() ? rInput.Number<unsigned int>() : 2440000 + rInput.Below(40000);
                const unsigned int uMs = rInput.Flag() ? rInput.Number<unsigned int>() : rInput.Below(86400000);
                m_time.SetJulianDateAndTime(uDay, uMs, bUtc);
                m_model.Set(uDay, uMs, bUtc);
                break;
            }
            case 1: SetDateAndTime(rInput, bUtc); break;
            case 2: SetDate(rInput, bUtc); break;
            case 3: SetTime(rInput, bUtc); break;
            case 4:
            {
                const std::int64_t nMs = rInput.Flag() ? rInput.Number<std::int64_t>() : rInput.Number<std::int32_t>();
                // The least number has no opposite.
                if (bUtc || nMs == INT64_MIN)
                {
                    m_time += nMs;
                    m_model.AddMs(nMs);
                    break;
                }
                m_time -= nMs;
                m_model.AddMs(-nMs);
                break;
            }
            case 5: SetZone(rInput); break;
            case 6: Copy(rInput); break;
            case 7: CheckCalendar(rInput); break;
            case 8: CheckClock(rInput); break;
            default: m_other.Set(m_model.uDay, m_model.uMs + rInput.Below(3), true); break;
        }
        Check(bUtc);
    }

private:
    void SetDateAndTime(CFuzzInput& rInput, bool bUtc)
    {
        unsigned short auParts[7];
        for (unsigned short& ruPart : auParts) ruPart = rInput.Edgy<unsigned short>();
        if (rInput.Flag()) auParts[0] = static_cast<unsigned short>(1960 + auParts[0] % 100);
        m_time.SetDateAndTime(auParts[0], auParts[1], auParts[2], auParts[3], auParts[4], auParts[5], auParts[6], bUtc);
        m_model.Set(JulianDayOf(auParts[0], auParts[1], auParts[2]),
                    MsOf(auParts[3], auParts[4], auParts[5], auParts[6]), bUtc);
    }

    void SetDate(CFuzzInput& rInput, bool bUtc)
    {
        const unsigned short uYear = rInput.Number<unsigned short>();
        const unsigned short uMonth = static_cast<unsigned short>(rInput.Between(1, 12));
        const unsigned short uDay = static_cast<unsigned short>(rInput.Between(1, 31));
        m_time.SetDate(uYear, uMonth, uDay, bUtc);
        unsigned int uOldDay;
        unsigned int uMs;
        m_model.Get(uOldDay, uMs, bUtc);
        m_model.Set(JulianDayOf(uYear, uMonth, uDay), uMs, bUtc);
    }

    void SetTime(CFuzzInput& rInput, bool bUtc)
    {
        unsigned short auParts[4];
        for (unsigned short& ruPart : auParts) ruPart = rInput.Edgy<unsigned short>();
        m_time.SetTime(auParts[0], auParts[1], auParts[2], auParts[3], bUtc);
        unsigned int uDay;
        unsigned int uOldMs;
        m_model.Get(uDay, uOldMs, bUtc);
        m_model.Set(uDay, MsOf(auParts[0], auParts[1], auParts[2], auParts[3]), bUtc);
    }

    void SetZone(CFuzzInput& rInput)
    {
        const unsigned int uWhich = rInput.Below(24);
        const char* const pszZone = uWhich < 17   ? apszTIMEZONE_TABLE[uWhich]
                                    : uWhich < 20 ? ""
                                                  : "ABC-3:07DEF,J60,300/1";
        const bool bWant = m_model.zone.SetTimeZone(pszZone) >= 0;
        RequireEqual(bWant, m_time.SetTimeZone(pszZone), "SetTimeZone");
    }

    /// Construction leaves the zone behind; assignment takes it.
    void Copy(CFuzzInput& rInput)
    {
        const CTime copy(m_time);
        unsigned int uDay;
        unsigned int uMs;
        unsigned int uWantDay;
        unsigned int uWantMs;
        SModel zoneless;
        zoneless.Set(m_model.uDay, m_model.uMs, true);
        zoneless.Get(uWantDay, uWantMs, false);
        copy.GetJulianDateAndTime(uDay, uMs, false);
        RequireEqual(uWantDay, uDay, "a copy's day, in no zone");
        RequireEqual(uWantMs, uMs, "a copy's time, in no zone");
        // An unset zone is not taken.
        CTime assigned;
        assigned.SetTimeZone(pszTIMEZONE_TOKYO);
        SModel want;
        RequireEqual(QV_RES_OK, want.zone.SetTimeZone(pszTIMEZONE_TOKYO), "the zone of Tokyo");
        if (rInput.Flag())
        {
            assigned = m_time;
            want.zone = m_model.zone;
        }
        else { assigned = copy; }
        want.Set(m_model.uDay, m_model.uMs, true);
        want.Get(uWantDay, uWantMs, false);
        assigned.GetJulianDateAndTime(uDay, uMs, false);
        RequireEqual(uWantDay, uDay, "an assigned day");
        RequireEqual(uWantMs, uMs, "an assigned time");
    }

    void Check(bool bUtc)
    {
        unsigned int uWantDay;
        unsigned int uWantMs;
        m_model.Get(uWantDay, uWantMs, bUtc);
        unsigned int uDay;
        unsigned int uMs;
        Require(m_time.GetJulianDateAndTime(uDay, uMs, bUtc), "set");
        RequireEqual(uWantDay, uDay, "Julian day");
        RequireEqual(uWantMs, uMs, "time of day");

        const SDateTime date = DateOf(uWantDay);
        unsigned short auGot[7];
        m_time.GetDateAndTime(auGot[0], auGot[1], auGot[2], auGot[3], auGot[4], auGot[5], auGot[6], bUtc);
        RequireEqual(date.uYear, auGot[0], "year");
        RequireEqual(date.uMonth, auGot[1], "month");
        RequireEqual(date.uDay, auGot[2], "day");
        const std::uint64_t uSum = std::uint64_t{auGot[3]} * 3600000 + auGot[4] * 60000u + auGot[5] * 1000u + auGot[6];
        RequireEqual(std::uint64_t{uWantMs}, uSum, "the parts of the time");
        Require(auGot[4] < 60 && auGot[5] < 60 && auGot[6] < 1000, "parts out of range");
        unsigned short auAgain[4];
        m_time.GetTime(auAgain[0], auAgain[1], auAgain[2], auAgain[3], bUtc);
        for (unsigned int u = 0; u < 4; ++u) RequireEqual(auGot[3 + u], auAgain[u], "GetTime");
        m_time.GetDate(auAgain[0], auAgain[1], auAgain[2], bUtc);
        for (unsigned int u = 0; u < 3; ++u) RequireEqual(auGot[u], auAgain[u], "GetDate");

        RequireEqual((uWantDay % 7 + 1) % 7, m_time.GetStoredDayOfWeek(bUtc), "weekday");
        RequireEqual(std::chrono::year(date.uYear % 400).is_leap(), m_time.IsLeapYear(bUtc), "leap year");
        Require(m_time.IsStoredTimeInDayLightSaving() ==
                    m_model.zone.IsDayLightSavingInEffect(m_model.uDay, m_model.uMs, true),
                "daylight saving");
        m_otherTime.SetJulianDateAndTime(m_other.uDay, m_other.uMs, true);
        RequireEqual(m_model.Total() < m_other.Total(), m_time < m_otherTime, "<");
        RequireEqual(m_model.Total() <= m_other.Total(), m_time <= m_otherTime, "<=");
        RequireEqual(m_model.Total() == m_other.Total(), m_time == m_otherTime, "==");
        RequireEqual(m_model.Total() - m_other.Total(), m_time - m_otherTime, "-");
    }

    CTime m_time;
    SModel m_model;
    SModel m_other;
    CTime m_otherTime;
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    CPair pair;
    for (unsigned int uStep = 0; !input.IsSpent() && uStep < 30; ++uStep)
    {
        const CFuzzStep step("step", uStep);
        pair.Step(input);
    }
    return 0;
}
