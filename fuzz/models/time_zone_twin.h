#ifndef FUZZ_MODELS_TIME_ZONE_TWIN_H
#define FUZZ_MODELS_TIME_ZONE_TWIN_H
#include <cctype>
#include <cstdint>
#include <string>

#include "fuzz/models/calendar_twin.h"

/// A second, plain implementation of the zones: a reader of the texts that takes one character at a time, and rules
/// that are found by going through the days of a year.
class CTimeZoneTwin
{
public:
    static constexpr std::int64_t nDAY_MS = 86400000;

    struct SRule
    {
        unsigned int uKind = 0;
        unsigned int auNumber[3] = {0, 0, 0};
        unsigned int uTimeMs = 7200000;
    };
    struct SZone
    {
        std::string strText;
        std::string strStandard;
        std::string strDaylight;
        std::int64_t nStandardMs = 0;
        std::int64_t nDaylightMs = 0;
        bool bDaylight = false;
        SRule start;
        SRule end;
    };

    /// False, and nothing changes, for a text that is none.
    bool Set(const std::string& rText)
    {
        SZone zone;
        if (!CReader(rText, zone).Read()) return false;
        zone.strText = rText;
        m_zone = zone;
        return true;
    }
    const SZone& GetZone() const { return m_zone; }

    bool IsDaylight(unsigned int uDay, unsigned int uTimeMs, bool bUtc) const
    {
        if (!m_zone.bDaylight) return false;
        const unsigned int uYear = CCalendarTwin::DateOf(uDay).uYear;
        std::int64_t nStart = DayOf(m_zone.start, uYear), nStart2 = nStart;
        std::int64_t nEnd = DayOf(m_zone.end, uYear), nEnd2 = nEnd;
        if (nEnd < nStart)
        {
            nStart = DayOf(m_zone.start, uYear - 1);
            nEnd2 = DayOf(m_zone.end, uYear + 1);
        }
        std::int64_t nStartMs = m_zone.start.uTimeMs;
        std::int64_t nEndMs = m_zone.end.uTimeMs;
        if (bUtc)
        {
            Shift(nStartMs, -m_zone.nStandardMs, nStart, nStart2);
            Shift(nEndMs, -m_zone.nDaylightMs, nEnd, nEnd2);
        }
        const auto isBefore = [&](std::int64_t nDay, std::int64_t nMs)
        { return uDay < nDay || (uDay == nDay && uTimeMs < nMs); };
        if (!isBefore(nStart, nStartMs) && isBefore(nEnd, nEndMs)) return true;
        if (isBefore(nStart2, nStartMs)) return false;
        return isBefore(nEnd2, nEndMs);
    }
    std::int64_t OffsetMs(unsigned int uDay, unsigned int uTimeMs, bool bUtc) const
    {
        return IsDaylight(uDay, uTimeMs, bUtc) ? m_zone.nDaylightMs : m_zone.nStandardMs;
    }
    /// One day at most is carried, and 24:00:00.000 is not.
    void Convert(unsigned int& ruDay, unsigned int& ruTimeMs, bool bFromUtc) const
    {
        const std::int64_t nOffset = OffsetMs(ruDay, ruTimeMs, bFromUtc);
        std::int64_t nMs =
            static_cast<std::int32_t>(ruTimeMs + static_cast<std::uint32_t>(bFromUtc ? nOffset : -nOffset));
        std::int64_t nDay = ruDay, nUnused = 0;
        Shift(nMs, 0, nDay, nUnused);
        ruDay = static_cast<unsigned int>(nDay);
        ruTimeMs = static_cast<unsigned int>(nMs);
    }

    /// The Julian day that a rule names in a year.
    static unsigned int DayOf(const SRule& rRule, unsigned int uYear)
    {
        const unsigned int uFirst = CCalendarTwin::JulianDay(uYear, 1, 1);
        if (rRule.uKind == 0) return uFirst + rRule.auNumber[0];
        if (rRule.uKind == 1)
        {
            // Counts the days that have a number: 29 February has none.
            unsigned int uNumber = 0;
            for (unsigned int uDay = uFirst;; ++uDay)
            {
                const CCalendarTwin::SDate date = CCalendarTwin::DateOf(uDay);
                if (date.uMonth == 2 && date.uDay == 29) continue;
                if (++uNumber == rRule.auNumber[0]) return uDay;
            }
        }
        unsigned int uFound = 0;
        unsigned int uWeek = 0;
        for (unsigned int u = 1; u <= CCalendarTwin::DaysOf(uYear, rRule.auNumber[0]); ++u)
        {
            const unsigned int uDay = CCalendarTwin::JulianDay(uYear, rRule.auNumber[0], u);
            if (CCalendarTwin::Weekday(uDay) != rRule.auNumber[2] || uWeek == rRule.auNumber[1]) continue;
            ++uWeek;
            uFound = uDay;
        }
        return uFound;
    }

private:
    static void Shift(std::int64_t& rnMs, std::int64_t nBy, std::int64_t& rnDay, std::int64_t& rnDay2)
    {
        rnMs += nBy;
        const int nDays = rnMs < 0 ? -1 : rnMs > nDAY_MS ? 1 : 0;
        rnMs -= nDays * nDAY_MS;
        rnDay += nDays;
        rnDay2 += nDays;
    }
    class CReader
    {
    public:
        CReader(const std::string& rText, SZone& rZone) : m_psz(rText.c_str()), m_rZone(rZone) {}

        bool Read()
        {
            if (!ReadName(m_rZone.strStandard) || !ReadOffset(m_rZone.nStandardMs)) return false;
            if (*m_psz == '\0') return true;
            m_rZone.bDaylight = true;
            if (!ReadName(m_rZone.strDaylight)) return false;
            if (*m_psz == ',') m_rZone.nDaylightMs = m_rZone.nStandardMs + 3600000;
            else if (!IsDigit(*m_psz) && !IsDigit(m_psz[*m_psz == '\0' ? 0 : 1])) return false;
            else if (!ReadOffset(m_rZone.nDaylightMs)) return false;
            if (*m_psz == '\0')
            {
                SetDefault(m_rZone.start, true);
                SetDefault(m_rZone.end, false);
                return true;
            }
            return ReadRule(m_rZone.start, true) && ReadRule(m_rZone.end, false) && *m_psz == '\0';
        }

    private:
        static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
        static void SetDefault(SRule& rRule, bool bStart)
        {
            rRule.uKind = 2;
            rRule.auNumber[0] = bStart ? 4 : 10;
            rRule.auNumber[1] = bStart ? 1 : 5;
            rRule.auNumber[2] = 0;
        }

        /// Nine characters at most; what is longer fails at what follows.
        bool ReadName(std::string& rstrName)
        {
            while (rstrName.size() < 9 && *m_psz != '\0' && !IsDigit(*m_psz) && *m_psz != ',' && *m_psz != '+' &&
                   *m_psz != '-')
                rstrName += *m_psz++;
            return !rstrName.empty();
        }
        /// As %u reads a number: blanks and a sign may precede it. What does not fit is as good as too large. False,
        /// and nothing is taken, when there is none.
        bool ReadNumber(std::uint64_t& ruNumber)
        {
            const char* psz = m_psz;
            while (std::isspace(static_cast<unsigned char>(*psz))) ++psz;
            const bool bNegative = *psz == '-';
            if (*psz == '-' || *psz == '+') ++psz;
            if (!IsDigit(*psz)) return false;
            ruNumber = 0;
            for (; IsDigit(*psz); ++psz)
                if (ruNumber < 1000000) ruNumber = ruNumber * 10 + static_cast<unsigned int>(*psz - '0');
            if (bNegative && ruNumber != 0) ruNumber = 1000000;
            m_psz = psz;
            return true;
        }
        /// hh[:mm[:ss]], in milliseconds; a colon without a number stays where it is.
        bool ReadTime(std::int64_t& rnMs)
        {
            std::uint64_t auParts[3] = {0, 0, 0};
            if (!ReadNumber(auParts[0])) return false;
            for (unsigned int i = 1; i < 3 && *m_psz == ':'; ++i)
            {
                ++m_psz;
                if (ReadNumber(auParts[i])) continue;
                --m_psz;
                break;
            }
            if (auParts[0] > 23 || auParts[1] > 59 || auParts[2] > 59) return false;
            rnMs = static_cast<std::int64_t>((auParts[0] * 3600 + auParts[1] * 60 + auParts[2]) * 1000);
            return true;
        }
        bool ReadOffset(std::int64_t& rnMs)
        {
            if (*m_psz != '+' && *m_psz != '-' && !IsDigit(*m_psz)) return false;
            const bool bEast = *m_psz == '-';
            if (!IsDigit(*m_psz)) ++m_psz;
            if (!ReadTime(rnMs)) return false;
            if (!bEast) rnMs = -rnMs;
            return true;
        }
        bool ReadRule(SRule& rRule, bool bStart)
        {
            if (*m_psz++ != ',') return false;
            std::uint64_t uDay = 0;
            if (IsDigit(*m_psz))
            {
                if (!ReadNumber(uDay) || uDay > 365) return false;
                rRule.uKind = 0;
                rRule.auNumber[0] = static_cast<unsigned int>(uDay);
            }
            else if ((*m_psz == 'J' || *m_psz == 'j') && IsDigit(m_psz[1]))
            {
                ++m_psz;
                if (!ReadNumber(uDay) || uDay < 1 || uDay > 365) return false;
                rRule.uKind = 1;
                rRule.auNumber[0] = static_cast<unsigned int>(uDay);
            }
            else if (*m_psz == 'M' || *m_psz == 'm')
            {
                ++m_psz;
                if (*m_psz == '/' || (bStart && *m_psz == ',')) SetDefault(rRule, bStart);
                else if (!ReadMonthRule(rRule)) return false;
            }
            else return false;
            if (*m_psz != '/') return true;
            ++m_psz;
            std::int64_t nMs = 0;
            if (!ReadTime(nMs)) return false;
            rRule.uTimeMs = static_cast<unsigned int>(nMs);
            return true;
        }
        bool ReadMonthRule(SRule& rRule)
        {
            std::uint64_t auNumber[3];
            for (unsigned int i = 0; i < 3; ++i)
            {
                if (i != 0 && *m_psz++ != '.') return false;
                if (!ReadNumber(auNumber[i])) return false;
            }
            if (auNumber[0] < 1 || auNumber[0] > 12 || auNumber[1] < 1 || auNumber[1] > 5 || auNumber[2] > 6)
                return false;
            rRule.uKind = 2;
            for (unsigned int i = 0; i < 3; ++i) rRule.auNumber[i] = static_cast<unsigned int>(auNumber[i]);
            return true;
        }

        const char* m_psz;
        SZone& m_rZone;
    };

    SZone m_zone;
};

#endif
