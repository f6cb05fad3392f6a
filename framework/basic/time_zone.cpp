// From a text to an offset, in three steps.
//
// 1. SetTimeZone() lets ReadZoneText() read the text and makes an SDescription of it, without the lock, and Commit()
//    moves that into the zone under m_semAccess. So a text that is refused, or for which memory runs out, leaves the
//    zone as it was.
// 2. DetermineJulianLimits() turns the rules for the start and the end into Julian days of one year, that of the day
//    which is asked about. The result is cached under m_semAccess; m_stDaylight.uYear says for which year it is.
// 3. IsDaylight() compares moments: numbers of 64 bits, the Julian day in the upper half, the milliseconds in the
//    lower. Daylight saving time is from a start (included) to an end (excluded).
// ```
//   the start is before the end:                the end is before the start, daylight saving time spans the new year:
//   |      start1=========end1      |           start1 ...|=======end1         start2=======|... end2
//          start2         end2                  year before          this year               year after
// ```
// In the second case the year has parts of two such stretches, so that each limit has two days. In the first case both
// are the same.
//
// A rule is written in local time: the start in standard time, the end in daylight saving time. A local moment is
// compared with the rules as they are written, so that the hour that is skipped and the hour that occurs twice both
// count as daylight saving time. For a moment in UTC, each limit is first converted with the offset it is written in.
#include "framework/basic/time_zone.h"

#include <stdint.h>
#include <string.h>

#include <utility>

#include "framework/basic/internal/calendar.h"
#include "framework/basic/internal/time_zone_text.h"
#include "framework/kernel/internal/lifetime.h"

using orvel_internal::DateOf;
using orvel_internal::DaysBeforeMonth;
using orvel_internal::g_uMS_PER_DAY;
using orvel_internal::JulianDayOf;
using orvel_internal::SDate;
using orvel_internal::SplitTimeOfDay;
using orvel_internal::STime;
using orvel_internal::SZoneRule;
using orvel_internal::SZoneText;
using orvel_internal::TimeOfDay;
using orvel_internal::WeekdayOf;

static_assert(sizeof(CTimeZone) == 280, "field order and widths are the binary interface");
static_assert(sizeof(CTimeZone::STimeZone) == 24, "field order and widths are the binary interface");
static_assert(sizeof(CTimeZone::SLimit) == 24, "field order and widths are the binary interface");
static_assert(sizeof(CTimeZone::SDaylightSavingTime) == 88, "field order and widths are the binary interface");

const char* const pszTIMEZONE_HAWAII = "HAST10";
const char* const pszTIMEZONE_NA_ALASKA_HAST = "HAST10HADT9,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const pszTIMEZONE_NA_ALASKA_AKST = "AKST9AKDT8,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const pszTIMEZONE_NA_YUKON = "YST9YDT8,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const pszTIMEZONE_NA_PACIFIC = "PST8PDT7,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const pszTIMEZONE_NA_MOUNTAIN = "MST7MDT6,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const pszTIMEZONE_NA_CENTRAL = "CST6CDT5,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const pszTIMEZONE_NA_EASTERN = "EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const pszTIMEZONE_NA_ATLANTIC = "AST4ADT3,M3.2.0/02:00:00,M11.1.0/02:00:00";
const char* const pszTIMEZONE_NA_NEWFOUNDLAND = "NST3:30NDT2:30,M3.2.0/01:00:00,M11.1.0/01:00:00";
const char* const pszTIMEZONE_GMT = "GMT0DMT-1,M3.5.0/01:00:00,M10.5.0/02:00:00";
const char* const pszTIMEZONE_WEUROPE = "WEST-1DWEST-2,M3.5.0/02:00:00,M10.5.0/03:00:00";
const char* const pszTIMEZONE_CHINA = "CST-8";
const char* const pszTIMEZONE_TOKYO = "TST-9";
const char* const pszTIMEZONE_CENTRALAUSTRALIA = "CAUST-9:30DCAUST-10:30,M10.5.0/02:00:00,M3.5.0/02:00:00";
const char* const pszTIMEZONE_EASTERNAUSTRALIA = "AUSEST-10AUSDST-11,M10.5.0/02:00:00,M3.5.0/02:00:00";
const char* const pszTIMEZONE_UTC = "UTC0";

const char* const apszTIMEZONE_TABLE[17] = {
    pszTIMEZONE_HAWAII,
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
    pszTIMEZONE_UTC,
};

struct CTimeZone::SDescription
{
    CString strText;
    STimeZone stStandard;
    SDaylightSavingTime stDaylight;

    // No text of a valid description is empty: if one is, allocating it failed.
    bool IsKept() const
    {
        const bool bDaylightKept = !stDaylight.bEnabled || !stDaylight.stTimeZone.strName.IsEmpty();
        return !strText.IsEmpty() && !stStandard.strName.IsEmpty() && bDaylightKept;
    }
};

namespace
{
// A zone holds strings, so it needs the string module to be up. The message names CTimeZone.
struct SStrings : CString
{
    static void RequireUp() { orvel_internal::RequireUp(ms_pmutex, "CTimeZone"); }
};

// The implicit assignments belong to the binary interface: this makes the compiler emit them.
template <typename T>
using Assignment = T& (T::*)(const T&);
struct SEmitted
{
    Assignment<CTimeZone::STimeZone> pfnAssignTimeZone;
    Assignment<CTimeZone::SDaylightSavingTime> pfnAssignDaylightSavingTime;
};
[[gnu::used]] constexpr SEmitted g_stEMITTED = {&CTimeZone::STimeZone::operator=,
                                                &CTimeZone::SDaylightSavingTime::operator= };

CTimeZone::SLimit LimitOf(const SZoneRule& rstRule)
{
    const CTimeZone::SM stRule = {rstRule.uMonth, rstRule.uWeek, rstRule.uWeekday};
    return {rstRule.eKind, stRule, rstRule.uTimeMs};
}

// Adds an offset of less than a day to a time of day and returns the days to carry: -1, 0 or 1. A result of exactly
// 24:00 is not carried; pinned by CTimeZoneConversion.MidnightAfterTheDayIsNotCarried.
int AddOffset(unsigned int& ruTimeMs, int nOffsetMs)
{
    const int nTimeMs = static_cast<int>(ruTimeMs + static_cast<unsigned int>(nOffsetMs));
    const int nCarry = nTimeMs < 0 ? -1 : nTimeMs > static_cast<int>(g_uMS_PER_DAY) ? 1 : 0;
    ruTimeMs = static_cast<unsigned int>(nTimeMs) - static_cast<unsigned int>(nCarry) * g_uMS_PER_DAY;
    return nCarry;
}

void Shift(unsigned int& ruJulianDay, unsigned int& ruTimeMs, int nOffsetMs)
{
    ruJulianDay += static_cast<unsigned int>(AddOffset(ruTimeMs, nOffsetMs));
}

// The two moments of a limit, moved by an offset. Moments compare by day first, then by time.
struct SMoments
{
    SMoments(const CTimeZone::SLimit& rstLimit, int nOffsetMs)
    {
        unsigned int uTimeMs = rstLimit.uTimeMs;
        const unsigned int uCarry = static_cast<unsigned int>(AddOffset(uTimeMs, nOffsetMs));
        uMoment1 = MomentOf(rstLimit.uJulianDay1 + uCarry, uTimeMs);
        uMoment2 = MomentOf(rstLimit.uJulianDay2 + uCarry, uTimeMs);
    }
    static uint64_t MomentOf(unsigned int uJulianDay, unsigned int uTimeMs)
    {
        return uint64_t{uJulianDay} << 32 | uTimeMs;
    }

    uint64_t uMoment1;
    uint64_t uMoment2;
};

// A moment as seven references to fields of the caller.
struct SFields
{
    unsigned short& ruYear;
    unsigned short& ruMonth;
    unsigned short& ruDay;
    unsigned short& ruHour;
    unsigned short& ruMinute;
    unsigned short& ruSecond;
    unsigned short& ruMillisecond;

    template <typename Convert>
    void Apply(Convert&& rConvert) const
    {
        unsigned int uJulianDay = JulianDayOf(ruYear, ruMonth, ruDay);
        unsigned int uTimeMs = TimeOfDay(ruHour, ruMinute, ruSecond, ruMillisecond);
        rConvert(uJulianDay, uTimeMs);
        const SDate date = DateOf(uJulianDay);
        ruYear = date.uYear;
        ruMonth = date.uMonth;
        ruDay = date.uDay;
        const STime time = SplitTimeOfDay(uTimeMs);
        ruHour = time.uHour;
        ruMinute = time.uMinute;
        ruSecond = time.uSecond;
        ruMillisecond = time.uMillisecond;
    }
};
}  // namespace

CTimeZone::CTimeZone() : m_semAccess((SStrings::RequireUp(), CBinarySemaphore::eFREE), true)
{
}

CTimeZone::CTimeZone(const char* pszTimeZone) : CTimeZone()
{
    static_cast<void>(SetTimeZone(pszTimeZone));
}

CTimeZone::CTimeZone(const CTimeZone& rSrc) : CTimeZone()
{
    TakeFrom(rSrc);
}

CTimeZone::~CTimeZone() = default;

CTimeZone CTimeZone::operator=(const CTimeZone& rSrc)  // NOLINT(misc-unconventional-assign-operator)
{
    TakeFrom(rSrc);
    return *this;
}

const char* CTimeZone::GetTimeZone() const
{
    const CBinarySemaphoreGuard guard(&m_semAccess);
    return m_strTimeZone.CStr();
}

QvResult CTimeZone::SetTimeZone(const char* pszTimeZone)
{
    if (pszTimeZone == nullptr || *pszTimeZone == '\0') return QV_RES_INVALID_ARGUMENT;
    if (strlen(pszTimeZone) > CString::uMAX_SIZE) return QV_RES_INVALID_ARGUMENT;
    SStrings::RequireUp();
    SZoneText stText;
    if (!orvel_internal::ReadZoneText(pszTimeZone, stText)) return QV_RES_INVALID_ARGUMENT;
    SDescription description;
    description.strText = pszTimeZone;
    description.stStandard = {std::move(stText.strStandard), stText.nStandardMs};
    if (stText.bDaylight)
    {
        STimeZone stDaylight = {std::move(stText.strDaylight), stText.nDaylightMs};
        description.stDaylight = {true, std::move(stDaylight), LimitOf(stText.stStart), LimitOf(stText.stEnd)};
    }
    if (!description.IsKept()) return QV_RES_OUT_OF_MEMORY;
    Commit(std::move(description));
    return QV_RES_OK;
}

bool CTimeZone::IsDayLightSavingInEffect(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc) const
{
    const CBinarySemaphoreGuard guard(&m_semAccess);
    return IsDaylight(uJulianDate, uTimeMs, bUtc);
}

bool CTimeZone::IsDayLightSavingInEffect(unsigned short uYear, unsigned short uMonth, unsigned short uDay,
                                         unsigned short uHour, unsigned short uMinute, unsigned short uSecond,
                                         unsigned short uMillisecond, bool bUtc) const
{
    return IsDayLightSavingInEffect(JulianDayOf(uYear, uMonth, uDay), TimeOfDay(uHour, uMinute, uSecond, uMillisecond),
                                    bUtc);
}

void CTimeZone::ConvertFromUTCToLocale(unsigned int& ruJulianDate, unsigned int& ruTimeMs) const
{
    Shift(ruJulianDate, ruTimeMs, GetOffsetMs(ruJulianDate, ruTimeMs, true));
}

void CTimeZone::ConvertFromLocaleToUTC(unsigned int& ruJulianDate, unsigned int& ruTimeMs) const
{
    Shift(ruJulianDate, ruTimeMs, -GetOffsetMs(ruJulianDate, ruTimeMs, false));
}

void CTimeZone::ConvertFromUTCToLocale(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay,
                                       unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                                       unsigned short& ruMillisecond) const
{
    const SFields fields = {ruYear, ruMonth, ruDay, ruHour, ruMinute, ruSecond, ruMillisecond};
    fields.Apply([this](unsigned int& ruJulianDay, unsigned int& ruTimeMs)
                 { ConvertFromUTCToLocale(ruJulianDay, ruTimeMs); });
}

void CTimeZone::ConvertFromLocaleToUTC(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay,
                                       unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                                       unsigned short& ruMillisecond) const
{
    const SFields fields = {ruYear, ruMonth, ruDay, ruHour, ruMinute, ruSecond, ruMillisecond};
    fields.Apply([this](unsigned int& ruJulianDay, unsigned int& ruTimeMs)
                 { ConvertFromLocaleToUTC(ruJulianDay, ruTimeMs); });
}

int CTimeZone::GetOffsetMs(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc) const
{
    const CBinarySemaphoreGuard guard(&m_semAccess);
    return GetZoneAt(uJulianDate, uTimeMs, bUtc).nOffsetMs;
}

CString CTimeZone::GetName(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc) const
{
    const CBinarySemaphoreGuard guard(&m_semAccess);
    return GetZoneAt(uJulianDate, uTimeMs, bUtc).strName;
}

bool CTimeZone::HasDayLightSaving() const
{
    const CBinarySemaphoreGuard guard(&m_semAccess);
    return m_stDaylight.bEnabled;
}

bool CTimeZone::IsLeapYear(unsigned short uYear)
{
    return orvel_internal::IsLeapYear(uYear);
}

void CTimeZone::DetermineJulianLimits(unsigned short uYear)
{
    SDaylightSavingTime& rst = m_stDaylight;
    if (rst.uYear == uYear) return;
    rst.uYear = uYear;
    const unsigned int uStart = GetJulianDate(uYear, rst.stStart);
    const unsigned int uEnd = GetJulianDate(uYear, rst.stEnd);
    rst.stStart.uJulianDay1 = rst.stStart.uJulianDay2 = uStart;
    rst.stEnd.uJulianDay1 = rst.stEnd.uJulianDay2 = uEnd;
    if (uEnd >= uStart) return;
    // Daylight saving time spans the new year: one stretch begins in the year before, another ends in the year after.
    rst.stStart.uJulianDay1 = GetJulianDate(static_cast<unsigned short>(uYear - 1), rst.stStart);
    rst.stEnd.uJulianDay2 = GetJulianDate(static_cast<unsigned short>(uYear + 1), rst.stEnd);
}

unsigned int CTimeZone::GetJulianDate(unsigned short uYear, SLimit& rstLimit)
{
    switch (rstLimit.uKind)
    {
        case orvel_internal::eDAY_FROM_0: return GetJulianDateForJ0(uYear, rstLimit.stRule.uMonth);
        case orvel_internal::eDAY_FROM_1: return GetJulianDateForJ1(uYear, rstLimit.stRule.uMonth);
        default: return GetJulianDateForM(uYear, rstLimit.stRule);
    }
}

unsigned int CTimeZone::GetJulianDateForJ0(unsigned short uYear, unsigned short uDay)
{
    return JulianDayOf(uYear, 1, 1) + uDay;
}

unsigned int CTimeZone::GetJulianDateForJ1(unsigned short uYear, unsigned short uDay)
{
    const bool bAfterLeapDay = IsLeapYear(uYear) && uDay >= 60;
    return JulianDayOf(uYear, 1, 1) + uDay - (bAfterLeapDay ? 0 : 1);
}

unsigned int CTimeZone::GetJulianDateForM(unsigned short uYear, SM& rstRule)
{
    const bool bLeapYear = IsLeapYear(uYear);
    const unsigned int uDaysBefore = DaysBeforeMonth(bLeapYear, rstRule.uMonth);
    const unsigned int uLength = DaysBeforeMonth(bLeapYear, rstRule.uMonth + 1) - uDaysBefore;
    const unsigned int uFirst = JulianDayOf(uYear, 1, 1) + uDaysBefore;
    unsigned int uDay = (rstRule.uWeekday + 7 - WeekdayOf(uFirst)) % 7 + (rstRule.uWeek - 1u) * 7;
    if (uDay >= uLength) uDay -= 7;
    return uFirst + uDay;
}

void CTimeZone::Commit(SDescription&& rDescription)
{
    const CBinarySemaphoreGuard guard(&m_semAccess);
    m_strTimeZone = std::move(rDescription.strText);
    m_stStandard = std::move(rDescription.stStandard);
    m_stDaylight = std::move(rDescription.stDaylight);
}

// The same result as setting the source's text, without reading the text again.
void CTimeZone::TakeFrom(const CTimeZone& rSrc)
{
    SStrings::RequireUp();
    SDescription description;
    {
        const CBinarySemaphoreGuard guard(&rSrc.m_semAccess);
        description = {rSrc.m_strTimeZone, rSrc.m_stStandard, rSrc.m_stDaylight};
    }
    if (!description.IsKept()) return;
    description.stDaylight.uYear = 0;
    Commit(std::move(description));
}

bool CTimeZone::IsDaylight(unsigned int uJulianDay, unsigned int uTimeMs, bool bUtc) const
{
    if (!m_stDaylight.bEnabled) return false;
    // Only the cached Julian days change, which are in a mutable member.
    const_cast<CTimeZone*>(this)->DetermineJulianLimits(DateOf(uJulianDay).uYear);
    const SMoments start(m_stDaylight.stStart, bUtc ? -m_stStandard.nOffsetMs : 0);
    const SMoments end(m_stDaylight.stEnd, bUtc ? -m_stDaylight.stTimeZone.nOffsetMs : 0);
    const uint64_t uMoment = SMoments::MomentOf(uJulianDay, uTimeMs);
    if (uMoment >= start.uMoment1 && uMoment < end.uMoment1) return true;
    return uMoment >= start.uMoment2 && uMoment < end.uMoment2;
}

const CTimeZone::STimeZone& CTimeZone::GetZoneAt(unsigned int uJulianDay, unsigned int uTimeMs, bool bUtc) const
{
    return IsDaylight(uJulianDay, uTimeMs, bUtc) ? m_stDaylight.stTimeZone : m_stStandard;
}
