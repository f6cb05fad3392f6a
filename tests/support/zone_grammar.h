#ifndef TESTS_SUPPORT_ZONE_GRAMMAR_H
#define TESTS_SUPPORT_ZONE_GRAMMAR_H
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

/// The grammar of zone texts, step by step as it is published and with the sscanf() formats that define it. Slow, and
/// too plain to be wrong.
struct SZoneGrammar
{
    struct SRule
    {
        unsigned int uKind = 2;
        unsigned int auNumbers[3] = {0, 0, 0};
        unsigned int uTimeMs = 7200000;
    };

    std::string strStandard;
    int nStandardMs = 0;
    bool bDaylight = false;
    std::string strDaylight;
    int nDaylightMs = 0;
    SRule start{2, {4, 1, 0}, 7200000};
    SRule end{2, {10, 5, 0}, 7200000};

    static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

    static bool Time(const char*& rpsz, unsigned int& ruMs)
    {
        unsigned int h = 0;
        unsigned int m = 0;
        unsigned int s = 0;
        int n1 = 0;
        int n2 = 0;
        int n3 = 0;
        if (std::sscanf(rpsz, "%u%n:%u%n:%u%n", &h, &n1, &m, &n2, &s, &n3) < 1) return false;
        if (h > 23 || m > 59 || s > 59) return false;
        rpsz += n3 != 0 ? n3 : n2 != 0 ? n2 : n1;
        ruMs = (h * 3600 + m * 60 + s) * 1000;
        return true;
    }
    static bool Offset(const char*& rpsz, int& rnMs, bool bDigitBehindSign)
    {
        int nSign = -1;
        if (*rpsz == '-' || *rpsz == '+')
        {
            if (*rpsz++ == '-') nSign = 1;
            if (bDigitBehindSign && !IsDigit(*rpsz)) return false;
        }
        else if (!IsDigit(*rpsz)) return false;
        unsigned int uMs = 0;
        if (!Time(rpsz, uMs)) return false;
        rnMs = nSign * static_cast<int>(uMs);
        return true;
    }
    static bool Name(const char*& rpsz, std::string& rName)
    {
        char szName[10] = "";
        if (std::sscanf(rpsz, "%9[^0-9,+-]", szName) != 1) return false;
        rpsz += std::strlen(szName);
        rName = szName;
        return true;
    }
    static bool Day(const char*& rpsz, unsigned int uFirst, SRule& rRule)
    {
        int n = 0;
        rRule.auNumbers[1] = rRule.auNumbers[2] = 0;
        if (std::sscanf(rpsz, "%u%n", &rRule.auNumbers[0], &n) != 1) return false;
        rpsz += n;
        return rRule.auNumbers[0] >= uFirst && rRule.auNumbers[0] <= 365;
    }
    static bool Rule(const char*& rpsz, bool bStart, SRule& rRule)
    {
        if (*rpsz++ != ',') return false;
        if (IsDigit(*rpsz))
        {
            rRule.uKind = 0;
            if (!Day(rpsz, 0, rRule)) return false;
        }
        else if ((*rpsz == 'J' || *rpsz == 'j') && IsDigit(rpsz[1]))
        {
            rRule.uKind = 1;
            if (!Day(++rpsz, 1, rRule)) return false;
        }
        else if (*rpsz == 'M' || *rpsz == 'm')
        {
            ++rpsz;
            if (*rpsz != '/' && !(bStart && *rpsz == ','))
            {
                int n = 0;
                unsigned int* const pu = rRule.auNumbers;
                if (std::sscanf(rpsz, "%u.%u.%u%n", &pu[0], &pu[1], &pu[2], &n) != 3) return false;
                if (pu[0] < 1 || pu[0] > 12 || pu[1] < 1 || pu[1] > 5 || pu[2] > 6) return false;
                rpsz += n;
            }
        }
        else return false;
        return *rpsz != '/' || Time(++rpsz, rRule.uTimeMs);
    }

    /// Nothing for a text that is refused. Numbers must fit 32 bits.
    static std::optional<SZoneGrammar> Read(const char* psz)
    {
        SZoneGrammar zone;
        if (psz == nullptr || !Name(psz, zone.strStandard)) return std::nullopt;
        if (!Offset(psz, zone.nStandardMs, false)) return std::nullopt;
        if (*psz == '\0') return zone;
        zone.bDaylight = true;
        if (!Name(psz, zone.strDaylight)) return std::nullopt;
        if (*psz == ',') zone.nDaylightMs = zone.nStandardMs + 3600000;
        else if (!Offset(psz, zone.nDaylightMs, true)) return std::nullopt;
        if (*psz == '\0') return zone;
        if (!Rule(psz, true, zone.start) || !Rule(psz, false, zone.end) || *psz != '\0') return std::nullopt;
        return zone;
    }
};

#endif
