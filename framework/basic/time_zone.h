#ifndef FRAMEWORK_BASIC_TIME_ZONE_H
#define FRAMEWORK_BASIC_TIME_ZONE_H
#include "framework/basic/string.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"

// Ready-made zones.
extern QV_EXPORT const char* const pszTIMEZONE_HAWAII;            ///< UTC-10 all year.
extern QV_EXPORT const char* const pszTIMEZONE_NA_ALASKA_HAST;    ///< UTC-10, in summer UTC-9.
extern QV_EXPORT const char* const pszTIMEZONE_NA_ALASKA_AKST;    ///< UTC-9, in summer UTC-8.
extern QV_EXPORT const char* const pszTIMEZONE_NA_YUKON;          ///< UTC-8, in summer UTC-7.
extern QV_EXPORT const char* const pszTIMEZONE_NA_PACIFIC;        ///< UTC-8, in summer UTC-7.
extern QV_EXPORT const char* const pszTIMEZONE_NA_MOUNTAIN;       ///< UTC-7, in summer UTC-6.
extern QV_EXPORT const char* const pszTIMEZONE_NA_CENTRAL;        ///< UTC-6, in summer UTC-5.
extern QV_EXPORT const char* const pszTIMEZONE_NA_EASTERN;        ///< UTC-5, in summer UTC-4.
extern QV_EXPORT const char* const pszTIMEZONE_NA_ATLANTIC;       ///< UTC-4, in summer UTC-3.
extern QV_EXPORT const char* const pszTIMEZONE_NA_NEWFOUNDLAND;   ///< UTC-3:30, in summer UTC-2:30.
extern QV_EXPORT const char* const pszTIMEZONE_GMT;               ///< UTC, in summer UTC+1.
extern QV_EXPORT const char* const pszTIMEZONE_WEUROPE;           ///< UTC+1, in summer UTC+2.
extern QV_EXPORT const char* const pszTIMEZONE_CHINA;             ///< UTC+8 all year.
extern QV_EXPORT const char* const pszTIMEZONE_TOKYO;             ///< UTC+9 all year.
extern QV_EXPORT const char* const pszTIMEZONE_CENTRALAUSTRALIA;  ///< UTC+9:30, from October to March UTC+10:30.
extern QV_EXPORT const char* const pszTIMEZONE_EASTERNAUSTRALIA;  ///< UTC+10, from October to March UTC+11.
extern QV_EXPORT const char* const pszTIMEZONE_UTC;               ///< UTC.
extern QV_EXPORT const char* const apszTIMEZONE_TABLE[17];        ///< All of them, in this order.

/// A time zone with its yearly daylight saving time, described by a text like that of the POSIX variable TZ:
/// ```
/// EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00
/// |  ||  | |               |
/// |  ||  | start           end of daylight saving time, each day[/hh[:mm[:ss]]], 02:00:00 if not given
/// |  ||  its offset; may be left out in front of rules, and is then one hour ahead of standard time
/// |  |daylight saving time: its name; without it there is none
/// |  offset, [+-]hh[:mm[:ss]]: what has to be added to local time to get UTC, so that west is positive
/// standard time: its name, 1 to 9 characters other than digits, ',', '+' and '-'
/// ```
///
/// A day is one of these:
///
/// - `n`: the day of the year from 0 on, 29 February counted, 0 to 365.
/// - `Jn`: the day of the year from 1 on, 29 February never counted, 1 to 365.
/// - `Mm.w.d`: week w (5: the last) of weekday d (0: Sunday) in month m.
/// - `M`: the first Sunday of April as the start; the last Sunday of October as the end, where a time must follow.
///
/// Hours go up to 23, minutes and seconds to 59. J and M may be small letters, too.
/// Without rules daylight saving time lasts from the first Sunday of April to the last Sunday of October, 02:00:00.
/// The start is given in standard time, the end in daylight saving time.
///
/// Moments are a Julian day number (CTime::GetJulianDate()) and milliseconds since midnight.
///
/// - **Ownership:** Owns its texts.
/// - **Threads:** Every member, from any thread: one may set the zone while others convert. GetTimeZone() says what its
///   text needs.
/// - **Lifetime:** Between the start-up and the shut-down of the framework: made or set outside it, a zone ends the
///   process with a line that says so. A zone that was never set is UTC without daylight saving time and has no text;
///   so is one made from a text when memory ran out.
/// - **Cost:** A conversion takes the lock once; the rules are worked out once for each run of queries of one year.
/// - **Failure:** Only setting the zone can fail; the zone is then unchanged.
/// - **Source:** POSIX.1-2017, section 8.3, except for what is said here.
class QV_EXPORT CTimeZone
{
public:
    /// Standard time, or daylight saving time.
    struct STimeZone
    {
        CString strName;  ///< Such as EST.
        /// What is added to UTC to get local time, in milliseconds.
        int nOffsetMs = 0;
    };
    /// The numbers of a rule: month, week and weekday, or a day number in the first of them.
    struct SM
    {
        unsigned short uMonth = 0;
        unsigned short uWeek = 0;
        unsigned short uWeekday = 0;
    };
    /// When daylight saving time begins or ends.
    struct SLimit
    {
        /// 0: n, 1: Jn, 2: Mm.w.d
        unsigned int uKind = 0;
        SM stRule;                 ///< On which day.
        unsigned int uTimeMs = 0;  ///< Since midnight of that day.
        /// The limit of the first stretch of daylight saving time of which the year has a part.
        unsigned int uJulianDay1 = 0;
        /// The limit of the second one, where daylight saving time spans the new year; otherwise the same.
        unsigned int uJulianDay2 = 0;
    };
    /// Daylight saving time, its rules, and what they mean in one year.
    struct SDaylightSavingTime
    {
        bool bEnabled = false;  ///< Whether the zone has it.
        STimeZone stTimeZone;   ///< Its name and offset.
        SLimit stStart;         ///< In standard time.
        SLimit stEnd;           ///< In daylight saving time.
        /// The year that the Julian days of the limits belong to; 0: none yet.
        unsigned short uYear = 0;
    };

    /// Unset: UTC without daylight saving time.
    CTimeZone();
    /// Stays unset when the text is invalid: SetTimeZone() tells.
    CTimeZone(const char* pszTimeZone);
    CTimeZone(const CTimeZone& rSrc);
    virtual ~CTimeZone();
    /// Unchanged when rSrc is unset. The result is a copy of this zone, not the zone itself, so that
    /// (zone = other).SetTimeZone(...) sets the copy: assign first, then go on with the zone.
    CTimeZone operator=(const CTimeZone& rSrc);  // NOLINT(misc-unconventional-assign-operator): binary interface

    /// The text last accepted, an empty one if none was. Valid until the zone is set again: where another thread may do
    /// that, use a copy of the zone.
    const char* GetTimeZone() const;
    /// Replaces the whole zone. Numbers are read as sscanf() does with %u: blanks in front of one are skipped. A number
    /// that is too large never wraps, but is refused. The length of a name is not checked below one character: "A5" is
    /// a zone, though POSIX asks for three.
    ///
    /// - `QV_RES_OK`: the zone is set.
    /// - `QV_RES_INVALID_ARGUMENT`: the text is null, empty, malformed, or longer than a CString.
    /// - `QV_RES_OUT_OF_MEMORY`: allocating the texts failed.
    [[nodiscard]] QvResult SetTimeZone(const char* pszTimeZone);

    /// Whether a moment, UTC or local, lies in daylight saving time. A local time that occurs twice, at the end of it,
    /// counts as daylight saving time; one that is skipped, at its start, as daylight saving time, too.
    bool IsDayLightSavingInEffect(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc) const;
    bool IsDayLightSavingInEffect(unsigned short uYear, unsigned short uMonth, unsigned short uDay,
                                  unsigned short uHour, unsigned short uMinute, unsigned short uSecond,
                                  unsigned short uMillisecond, bool bUtc) const;

    /// From UTC to local time, in place. A result of exactly 24:00:00.000 is not carried into the next day: where that
    /// matters, take 86,400,000 ms as 0 of the day after. At most one day is carried, so the time of day should be
    /// below 24 hours.
    void ConvertFromUTCToLocale(unsigned int& ruJulianDate, unsigned int& ruTimeMs) const;
    /// From local time to UTC, in place, likewise.
    void ConvertFromLocaleToUTC(unsigned int& ruJulianDate, unsigned int& ruTimeMs) const;
    /// From UTC to local time, in place, where exactly 24:00:00.000 reads as hour 24 of the day before.
    void ConvertFromUTCToLocale(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay,
                                unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                                unsigned short& ruMillisecond) const;
    /// From local time to UTC, in place, likewise.
    void ConvertFromLocaleToUTC(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay,
                                unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                                unsigned short& ruMillisecond) const;

    /// Milliseconds to add to UTC to get local time, at a moment.
    int GetOffsetMs(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc) const;
    /// The name in use at a moment, such as EST or EDT.
    CString GetName(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc) const;
    /// Whether the zone has daylight saving time at all.
    bool HasDayLightSaving() const;

    /// Whether a year is a leap year of the Gregorian calendar.
    static bool IsLeapYear(unsigned short uYear);

protected:
    /// Works out the Julian days of the limits for queries in uYear. The caller holds the semaphore.
    void DetermineJulianLimits(unsigned short uYear);
    /// Julian day of a rule in a year; the numbers of the rule must be in their ranges.
    unsigned int GetJulianDate(unsigned short uYear, SLimit& rstLimit);
    unsigned int GetJulianDateForJ0(unsigned short uYear, unsigned short uDay);
    unsigned int GetJulianDateForJ1(unsigned short uYear, unsigned short uDay);
    unsigned int GetJulianDateForM(unsigned short uYear, SM& rstRule);

private:
    struct QV_HIDDEN SDescription;

    QV_HIDDEN void Commit(SDescription&& rDescription);
    QV_HIDDEN void TakeFrom(const CTimeZone& rSrc);
    QV_HIDDEN bool IsDaylight(unsigned int uJulianDay, unsigned int uTimeMs, bool bUtc) const;
    QV_HIDDEN const STimeZone& GetZoneAt(unsigned int uJulianDay, unsigned int uTimeMs, bool bUtc) const;

    CBinarySemaphore m_semAccess;
    CString m_strTimeZone;
    STimeZone m_stStandard;
    mutable SDaylightSavingTime m_stDaylight;  // its Julian days are a cache
};

#endif
