#ifndef FRAMEWORK_BASIC_TIME_H
#define FRAMEWORK_BASIC_TIME_H
#include <stdint.h>
#include <time.h>

#include "framework/basic/internal/calendar.h"
#include "framework/basic/string.h"
#include "framework/basic/time_zone.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"

/// A moment, to the millisecond, with a time zone to read and set it by; and the framework's own clock.
/// ```cpp
/// CTime::SetSystemTimeZone(pszTIMEZONE_NA_EASTERN);
/// CTime start;                                        // the clock's time.
/// start.SetDateAndTime(2024, 3, 10, 6, 59, 59, 0, true);
/// CTime::SetSystemTime(start);                        // the clock runs on from there.
/// start.GetDateAndTime(uYear, uMonth, uDay, uHour, uMinute, uSecond, uMs, false);   // 01:59:59 in New York.
/// ```
///
/// The clock stands at 1 January 2000, 00:00 UTC when the framework comes up and advances with CTimer's up-time. Only
/// the application sets it; the system's calendar clock is neither read nor set. Getters return true, or false as long
/// as the value derives from a clock that was never set; they give the value in both cases.
///
/// A trailing bUtc says whether values are UTC (true) or local time of this object's zone (false). The calendar is the
/// proleptic Gregorian one. Nothing is validated: months and days out of range continue the count, and a time of day of
/// 24 hours or more is kept together with the date it was set for; AddMs(0) carries it into the following days.
///
/// - **Ownership:** Owns its zone.
/// - **Threads:** The static members, from any thread. One object is used by one thread at a time.
/// - **Lifetime:** Between the start-up and the shut-down of the framework: outside it, making one or asking for the
///   clock ends the process with a line that says so. GetJulianDate() and GetGregorianDate() work at any time.
/// - **Cost:** Reading the clock is one reading of the up-time and two divisions; a new one copies the system zone.
/// - **Copying:** A copy by construction has the moment but an unset zone, in which local time is UTC: call
///   SetTimeZone() on it before local times are asked for. Assignment takes the zone as well, if the source's is set.
class QV_EXPORT CTime
{
public:
    /// The clock's time, in the system zone.
    CTime();
    /// The moment of rSrc, in an unset zone.
    CTime(const CTime& rSrc);
    virtual ~CTime();
    /// Takes the moment, and the zone if that of rSrc is set.
    CTime& operator=(const CTime& rSrc);

    /// Compare the moments, whatever the zones.
    bool operator==(const CTime& rOther) const { return GetTotalMs() == rOther.GetTotalMs(); }
    bool operator!=(const CTime& rOther) const { return GetTotalMs() != rOther.GetTotalMs(); }
    bool operator<(const CTime& rOther) const { return GetTotalMs() < rOther.GetTotalMs(); }
    bool operator>(const CTime& rOther) const { return GetTotalMs() > rOther.GetTotalMs(); }
    bool operator<=(const CTime& rOther) const { return GetTotalMs() <= rOther.GetTotalMs(); }
    bool operator>=(const CTime& rOther) const { return GetTotalMs() >= rOther.GetTotalMs(); }
    /// Milliseconds from rEarlier to this moment, negative if it is the later one.
    int64_t operator-(const CTime& rEarlier) const { return GetTotalMs() - rEarlier.GetTotalMs(); }
    /// Moves the moment, and leaves a time of day below 24 hours. Whether it derives from an unset clock stays.
    void AddMs(int64_t nMs);
    /// AddMs().
    CTime& operator+=(int64_t nMs)
    {
        AddMs(nMs);
        return *this;
    }
    /// AddMs() of the negative number.
    CTime& operator-=(int64_t nMs);

    /// The Julian day number and the milliseconds since midnight. The result of a getter: see the class.
    bool GetJulianDateAndTime(unsigned int& ruJulianDate, unsigned int& ruTimeMs, bool bUtc) const;
    /// Year, month 1 to 12, and day of the month.
    bool GetDate(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay, bool bUtc) const;
    /// The time of day.
    bool GetTime(unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                 unsigned short& ruMillisecond, bool bUtc) const;
    /// Date and time of day. A local midnight may read as 24:00:00.000 of the day before: see
    /// CTimeZone::ConvertFromUTCToLocale().
    bool GetDateAndTime(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay, unsigned short& ruHour,
                        unsigned short& ruMinute, unsigned short& ruSecond, unsigned short& ruMillisecond,
                        bool bUtc) const;

    /// Sets the moment by Julian day number and milliseconds since midnight.
    void SetJulianDateAndTime(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc);
    /// Sets the moment by date and time of day.
    void SetDateAndTime(unsigned short uYear, unsigned short uMonth, unsigned short uDay, unsigned short uHour,
                        unsigned short uMinute, unsigned short uSecond, unsigned short uMillisecond, bool bUtc);
    /// Sets the date; the time of day stays.
    void SetDate(unsigned short uYear, unsigned short uMonth, unsigned short uDay, bool bUtc);
    /// Sets the time of day; the date stays: SetTime(25, 0, 0, 0, true) stores 90,000,000 ms in the same day.
    void SetTime(unsigned short uHour, unsigned short uMinute, unsigned short uSecond, unsigned short uMillisecond,
                 bool bUtc);

    /// Sets this object's zone. False, and the zone stays, when the text is invalid: see CTimeZone::SetTimeZone().
    bool SetTimeZone(const char* pszTimeZone);
    /// The zone of this object.
    const CTimeZone& GetTimeZone() const { return m_timeZone; }

    /// Whether the year of this moment is a leap year.
    bool IsLeapYear(bool bUtc) const;
    /// The weekday, 0 (Sunday) to 6, of the clock's date (local time: in the system zone) and not of this moment: use
    /// GetStoredDayOfWeek() for that.
    unsigned int GetDayOfWeek(bool bUtc) const;
    /// Whether this object's zone has daylight saving time at the clock's time, read as local time of the system zone,
    /// and not at this moment: use IsStoredTimeInDayLightSaving() for that.
    bool IsDayLightSavingInEffect() const;
    /// The weekday of this moment, 0 (Sunday) to 6.
    unsigned int GetStoredDayOfWeek(bool bUtc) const;
    /// Whether this object's zone has daylight saving time at this moment.
    bool IsStoredTimeInDayLightSaving() const;

    /// Sets this object to the clock's time; its zone stays.
    void PinTime();

    /// The Julian day number of a date, which it is from noon on: 2451545 for 1 January 2000.
    static unsigned int GetJulianDate(unsigned short uYear, unsigned short uMonth, unsigned short uDay)
    {
        return orvel_internal::JulianDayOf(uYear, uMonth, uDay);
    }
    /// The inverse; what is not wanted may be null.
    static void GetGregorianDate(unsigned int uJulianDate, unsigned short* puYear, unsigned short* puMonth,
                                 unsigned short* puDay)
    {
        const orvel_internal::SDate date = orvel_internal::DateOf(uJulianDate);
        if (puYear != nullptr) *puYear = date.uYear;
        if (puMonth != nullptr) *puMonth = date.uMonth;
        if (puDay != nullptr) *puDay = date.uDay;
    }

    /// Reads the clock, UTC; rbDefault tells whether it was never set.
    static void PinTime(unsigned int& ruJulianDate, unsigned int& ruTimeMs, bool& rbDefault);
    /// Sets the clock to the moment of rTime.
    static void SetSystemTime(const CTime& rTime);
    /// The zone that new objects get: Eastern time of North America until it is set. If memory ran out at start-up it
    /// is unset, which is UTC.
    static CString GetSystemTimeZone();
    /// Sets the zone that new objects get. False, and the zone stays, when the text is invalid.
    static bool SetSystemTimeZone(const char* pszTimeZone);
    /// The clock's time in UTC; the result is that of a getter. But tm_wday is the weekday of the date in the system
    /// zone, which around midnight is another one: take (GetJulianDate(...) + 1) % 7, or GetStoredDayOfWeek(true), for
    /// that of the UTC date.
    static bool GetGmtTime(tm& rstTime);

    /// Module start-up and shut-down. Start-up returns QV_RES_OK.
    static QvResult InitializeCTime();
    static void FinalizeCTime();

protected:
    /// The clock: what it showed when it was set, and at which up-time that was.
    static unsigned int ms_uJulianDateDay;
    static unsigned int ms_uJulianTimeMs;
    static uint64_t ms_uLastSynchronizationTimeMs;
    static bool ms_bDefaultDateAndTime;
    alignas(CTimeZone) static unsigned char ms_auTimeZone[sizeof(CTimeZone)];
    static CTimeZone* ms_pTimeZone;
    alignas(CBinarySemaphore) static unsigned char ms_auInternalAccessProtection[sizeof(CBinarySemaphore)];
    static CBinarySemaphore* ms_psemInternalAccessProtection;

private:
    QV_HIDDEN static CBinarySemaphore* GetProtection();
    QV_HIDDEN static CTimeZone CopySystemTimeZone();
    QV_HIDDEN static CTimeZone UnsetTimeZone();
    int64_t GetTotalMs() const { return int64_t{m_uJulianDay} * 86400000 + m_uTimeMs; }

    CTimeZone m_timeZone;
    unsigned int m_uJulianDay;
    unsigned int m_uTimeMs;
    bool m_bDefault;
};

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CTime.
QV_EXPORT QvResult InitializeCTime();
QV_EXPORT void FinalizeCTime();

#endif
