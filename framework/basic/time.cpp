#include "framework/basic/time.h"

#include <new>

#include "framework/kernel/internal/lifetime.h"
#include "framework/kernel/timer.h"

using orvel_internal::DateOf;
using orvel_internal::g_uMS_PER_DAY;
using orvel_internal::JulianDayOf;
using orvel_internal::SDate;
using orvel_internal::SplitTimeOfDay;
using orvel_internal::STime;
using orvel_internal::TimeOfDay;
using orvel_internal::WeekdayOf;

static_assert(sizeof(CTime) == 304, "field order and widths are the binary interface");

unsigned int CTime::ms_uJulianDateDay = 0;
unsigned int CTime::ms_uJulianTimeMs = 0;
uint64_t CTime::ms_uLastSynchronizationTimeMs = 0;
bool CTime::ms_bDefaultDateAndTime = false;
alignas(CTimeZone) unsigned char CTime::ms_auTimeZone[sizeof(CTimeZone)];
CTimeZone* CTime::ms_pTimeZone = nullptr;
alignas(CBinarySemaphore) unsigned char CTime::ms_auInternalAccessProtection[sizeof(CBinarySemaphore)];
CBinarySemaphore* CTime::ms_psemInternalAccessProtection = nullptr;

namespace
{
constexpr unsigned int g_uDEFAULT_JULIAN_DAY = 2451545;  // 1 January 2000

// The inline members belong to the binary interface: this makes the compiler emit them.
struct SEmitted
{
    unsigned int (*pfnGetJulianDate)(unsigned short, unsigned short, unsigned short);
    void (*pfnGetGregorianDate)(unsigned int, unsigned short*, unsigned short*, unsigned short*);
};
[[gnu::used]] constexpr SEmitted g_stEMITTED = {&CTime::GetJulianDate, &CTime::GetGregorianDate};
}  // namespace

CTime::CTime() : m_timeZone(CopySystemTimeZone())
{
    PinTime();
}

CTime::CTime(const CTime& rSrc)
    : m_timeZone(UnsetTimeZone()),
      m_uJulianDay(rSrc.m_uJulianDay),
      m_uTimeMs(rSrc.m_uTimeMs),
      m_bDefault(rSrc.m_bDefault)
{
}

CTime::~CTime() = default;

CTime& CTime::operator=(const CTime& rSrc)
{
    m_timeZone = rSrc.m_timeZone;
    m_uJulianDay = rSrc.m_uJulianDay;
    m_uTimeMs = rSrc.m_uTimeMs;
    m_bDefault = rSrc.m_bDefault;
    return *this;
}

void CTime::AddMs(int64_t nMs)
{
    constexpr int64_t nMS_PER_DAY = g_uMS_PER_DAY;
    const int64_t nTimeMs = nMs % nMS_PER_DAY + m_uTimeMs;
    const int64_t nDays = nTimeMs / nMS_PER_DAY - (nTimeMs < 0 ? 1 : 0);
    m_uJulianDay += static_cast<unsigned int>(nMs / nMS_PER_DAY + nDays);
    m_uTimeMs = static_cast<unsigned int>(nTimeMs - nDays * nMS_PER_DAY);
}

CTime& CTime::operator-=(int64_t nMs)
{
    // In two steps, since the smallest int64_t has no positive counterpart.
    AddMs(-(nMs / 2));
    AddMs(-(nMs - nMs / 2));
    return *this;
}

bool CTime::GetJulianDateAndTime(unsigned int& ruJulianDate, unsigned int& ruTimeMs, bool bUtc) const
{
    ruJulianDate = m_uJulianDay;
    ruTimeMs = m_uTimeMs;
    if (!bUtc) m_timeZone.ConvertFromUTCToLocale(ruJulianDate, ruTimeMs);
    return !m_bDefault;
}

bool CTime::GetDate(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay, bool bUtc) const
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    const bool bSet = GetJulianDateAndTime(uJulianDay, uTimeMs, bUtc);
    GetGregorianDate(uJulianDay, &ruYear, &ruMonth, &ruDay);
    return bSet;
}

bool CTime::GetTime(unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                    unsigned short& ruMillisecond, bool bUtc) const
{
    unsigned short uYear;
    unsigned short uMonth;
    unsigned short uDay;
    return GetDateAndTime(uYear, uMonth, uDay, ruHour, ruMinute, ruSecond, ruMillisecond, bUtc);
}

bool CTime::GetDateAndTime(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay,
                           unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                           unsigned short& ruMillisecond, bool bUtc) const
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    const bool bSet = GetJulianDateAndTime(uJulianDay, uTimeMs, bUtc);
    GetGregorianDate(uJulianDay, &ruYear, &ruMonth, &ruDay);
    const STime time = SplitTimeOfDay(uTimeMs);
    ruHour = time.uHour;
    ruMinute = time.uMinute;
    ruSecond = time.uSecond;
    ruMillisecond = time.uMillisecond;
    return bSet;
}

void CTime::SetJulianDateAndTime(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc)
{
    m_uJulianDay = uJulianDate;
    m_uTimeMs = uTimeMs;
    if (!bUtc) m_timeZone.ConvertFromLocaleToUTC(m_uJulianDay, m_uTimeMs);
    m_bDefault = false;
}

void CTime::SetDateAndTime(unsigned short uYear, unsigned short uMonth, unsigned short uDay, unsigned short uHour,
                           unsigned short uMinute, unsigned short uSecond, unsigned short uMillisecond, bool bUtc)
{
    SetJulianDateAndTime(JulianDayOf(uYear, uMonth, uDay), TimeOfDay(uHour, uMinute, uSecond, uMillisecond), bUtc);
}

void CTime::SetDate(unsigned short uYear, unsigned short uMonth, unsigned short uDay, bool bUtc)
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    GetJulianDateAndTime(uJulianDay, uTimeMs, bUtc);
    SetJulianDateAndTime(JulianDayOf(uYear, uMonth, uDay), uTimeMs, bUtc);
}

void CTime::SetTime(unsigned short uHour, unsigned short uMinute, unsigned short uSecond, unsigned short uMillisecond,
                    bool bUtc)
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    GetJulianDateAndTime(uJulianDay, uTimeMs, bUtc);
    SetJulianDateAndTime(uJulianDay, TimeOfDay(uHour, uMinute, uSecond, uMillisecond), bUtc);
}

bool CTime::SetTimeZone(const char* pszTimeZone)
{
    return m_timeZone.SetTimeZone(pszTimeZone) >= 0;
}

bool CTime::IsLeapYear(bool bUtc) const
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    GetJulianDateAndTime(uJulianDay, uTimeMs, bUtc);
    return CTimeZone::IsLeapYear(DateOf(uJulianDay).uYear);
}

unsigned int CTime::GetDayOfWeek(bool bUtc) const
{
    return CTime().GetStoredDayOfWeek(bUtc);
}

bool CTime::IsDayLightSavingInEffect() const
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    CTime().GetJulianDateAndTime(uJulianDay, uTimeMs, false);
    return m_timeZone.IsDayLightSavingInEffect(uJulianDay, uTimeMs, false);
}

unsigned int CTime::GetStoredDayOfWeek(bool bUtc) const
{
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    GetJulianDateAndTime(uJulianDay, uTimeMs, bUtc);
    return WeekdayOf(uJulianDay);
}

bool CTime::IsStoredTimeInDayLightSaving() const
{
    return m_timeZone.IsDayLightSavingInEffect(m_uJulianDay, m_uTimeMs, true);
}

void CTime::PinTime()
{
    PinTime(m_uJulianDay, m_uTimeMs, m_bDefault);
}

void CTime::PinTime(unsigned int& ruJulianDate, unsigned int& ruTimeMs, bool& rbDefault)
{
    const CBinarySemaphoreGuard guard(GetProtection());
    const uint64_t uElapsedMs = CTimer::GetSystemUpTimeMs() - ms_uLastSynchronizationTimeMs;
    const uint64_t uTimeMs = uElapsedMs + ms_uJulianTimeMs;
    ruJulianDate = static_cast<unsigned int>(uTimeMs / g_uMS_PER_DAY) + ms_uJulianDateDay;
    ruTimeMs = static_cast<unsigned int>(uTimeMs % g_uMS_PER_DAY);
    rbDefault = ms_bDefaultDateAndTime;
}

void CTime::SetSystemTime(const CTime& rTime)
{
    const CBinarySemaphoreGuard guard(GetProtection());
    ms_uJulianDateDay = rTime.m_uJulianDay;
    ms_uJulianTimeMs = rTime.m_uTimeMs;
    ms_uLastSynchronizationTimeMs = CTimer::GetSystemUpTimeMs();
    ms_bDefaultDateAndTime = false;
}

CString CTime::GetSystemTimeZone()
{
    const CBinarySemaphoreGuard guard(GetProtection());
    return ms_pTimeZone->GetTimeZone();
}

bool CTime::SetSystemTimeZone(const char* pszTimeZone)
{
    const CBinarySemaphoreGuard guard(GetProtection());
    return ms_pTimeZone->SetTimeZone(pszTimeZone) >= 0;
}

bool CTime::GetGmtTime(tm& rstTime)
{
    const CTime now;
    unsigned int uJulianDay;
    unsigned int uTimeMs;
    const bool bSet = now.GetJulianDateAndTime(uJulianDay, uTimeMs, true);
    const SDate date = DateOf(uJulianDay);
    const STime time = SplitTimeOfDay(uTimeMs);
    rstTime = {};
    rstTime.tm_sec = time.uSecond;
    rstTime.tm_min = time.uMinute;
    rstTime.tm_hour = time.uHour;
    rstTime.tm_mday = date.uDay;
    rstTime.tm_mon = date.uMonth - 1;
    rstTime.tm_year = date.uYear - 1900;
    rstTime.tm_yday = static_cast<int>(uJulianDay - JulianDayOf(date.uYear, 1, 1));
    // The weekday of the local date, while all other fields are UTC: kept, and pinned by
    // CTimeTest.GmtTimeIsTheClockInUtcButForTheWeekday.
    rstTime.tm_wday = static_cast<int>(now.GetDayOfWeek(false));
    return bSet;
}

QvResult CTime::InitializeCTime()
{
    ms_psemInternalAccessProtection =
        new (ms_auInternalAccessProtection) CBinarySemaphore(CBinarySemaphore::eFREE, true);
    ms_pTimeZone = new (ms_auTimeZone) CTimeZone(pszTIMEZONE_NA_EASTERN);
    ms_uLastSynchronizationTimeMs = CTimer::GetSystemUpTimeMs();
    ms_uJulianDateDay = g_uDEFAULT_JULIAN_DAY;
    ms_uJulianTimeMs = 0;
    ms_bDefaultDateAndTime = true;
    return QV_RES_OK;
}

void CTime::FinalizeCTime()
{
    GetProtection()->~CBinarySemaphore();
    ms_psemInternalAccessProtection = nullptr;
    ms_pTimeZone->~CTimeZone();
    ms_pTimeZone = nullptr;
}

// The semaphore that guards the statics. Ends the process while the module is not up, so that there are none.
CBinarySemaphore* CTime::GetProtection()
{
    return orvel_internal::RequireUp(ms_psemInternalAccessProtection, "CTime");
}

CTimeZone CTime::UnsetTimeZone()
{
    GetProtection();
    return {};
}

CTimeZone CTime::CopySystemTimeZone()
{
    const CBinarySemaphoreGuard guard(GetProtection());
    return *ms_pTimeZone;
}

QvResult InitializeCTime()
{
    return CTime::InitializeCTime();
}

void FinalizeCTime()
{
    CTime::FinalizeCTime();
}
