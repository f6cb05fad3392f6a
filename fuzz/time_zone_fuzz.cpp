// Any text as a zone, beside the published grammar; conversions of any moment in it; and the local times of texts that
// glibc reads in the same way, beside localtime_r().
// Options: -max_len=128
#include <time.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "framework/basic/time.h"
#include "framework/basic/time_zone.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "tests/support/zone_bytes.h"
#include "tests/support/zone_grammar.h"

namespace
{
bool IsSame(const SZoneGrammar::SRule& rRule, const SZoneBytes::SLimit& rLimit)
{
    if (rRule.uKind != rLimit.uKind || rRule.uTimeMs != rLimit.uTimeMs) return false;
    if (rRule.uKind != 2) return rRule.auNumbers[0] == rLimit.auRule[0];
    return rRule.auNumbers[0] == rLimit.auRule[0] && rRule.auNumbers[1] == rLimit.auRule[1] &&
           rRule.auNumbers[2] == rLimit.auRule[2];
}

bool IsSame(const SZoneGrammar& rWant, const SZoneBytes& rGot)
{
    if (rWant.strStandard != rGot.strStandard || rWant.nStandardMs != rGot.nStandardMs) return false;
    if (rWant.bDaylight != rGot.bDaylight) return false;
    return !rWant.bDaylight || (rWant.strDaylight == rGot.strDaylight && rWant.nDaylightMs == rGot.nDaylightMs &&
                                IsSame(rWant.start, rGot.stStart) && IsSame(rWant.end, rGot.stEnd));
}

/// What sscanf() makes of a number that does not fit is anybody's guess.
bool HasEndlessNumber(const std::string& rText)
{
    std::size_t uDigits = 0;
    for (const char c : rText)
    {
        uDigits = c >= '0' && c <= '9' ? uDigits + 1 : 0;
        if (uDigits > 9) return true;
    }
    return false;
}

std::int64_t MsOf(unsigned int uJulianDay, unsigned int uTimeMs)
{
    return std::int64_t{uJulianDay} * 86400000 + uTimeMs;
}

/// One day is carried and no more, and exactly 24:00 is not.
void RequireShifted(unsigned int uDay, unsigned int uMs, int nOffsetMs, unsigned int uGotDay, unsigned int uGotMs,
                    const char* pszWhat, const std::string& rstrText)
{
    const int nMs = static_cast<int>(uMs) + nOffsetMs;
    const int nCarry = nMs < 0 ? -1 : nMs > 86400000 ? 1 : 0;
    const bool bSame = uGotDay == uDay + static_cast<unsigned int>(nCarry) &&
                       uGotMs == static_cast<unsigned int>(nMs - nCarry * 86400000);
    Require(bSame, pszWhat, rstrText);
}

void Convert(const CTimeZone& rZone, unsigned int uDay, unsigned int uMs, const std::string& rstrText)
{
    rZone.IsDayLightSavingInEffect(uDay, uMs, false);
    unsigned int uLocalDay = uDay;
    unsigned int uLocalMs = uMs;
    rZone.ConvertFromUTCToLocale(uLocalDay, uLocalMs);
    unsigned int uUtcDay = uDay;
    unsigned int uUtcMs = uMs;
    rZone.ConvertFromLocaleToUTC(uUtcDay, uUtcMs);
    // Where nothing wraps, converting adds the offset.
    if (uMs >= 86400000) return;
    RequireShifted(uDay, uMs, rZone.GetOffsetMs(uDay, uMs, true), uLocalDay, uLocalMs, "to local", rstrText);
    RequireShifted(uDay, uMs, -rZone.GetOffsetMs(uDay, uMs, false), uUtcDay, uUtcMs, "to UTC", rstrText);
}

/// About the moments at which the local date, and that of UTC, change.
void ConvertAtMidnight(const CTimeZone& rZone, unsigned int uDay, const std::string& rstrText)
{
    for (const int nSide : {-1, 0, 1})
    {
        const int nOffsetMs = rZone.GetOffsetMs(uDay, 43200000, true);
        Convert(rZone, uDay, static_cast<unsigned int>((86400000 - nOffsetMs) % 86400000 + nSide), rstrText);
        Convert(rZone, uDay, static_cast<unsigned int>((86400000 + nOffsetMs) % 86400000 + nSide), rstrText);
    }
}

/// The calls that take and give a date instead of a Julian day.
void ConvertDate(const CTimeZone& rZone, unsigned int uDay, unsigned int uMs, const std::string& rstrText)
{
    unsigned short y;
    unsigned short m;
    unsigned short d;
    CTime::GetGregorianDate(uDay, &y, &m, &d);
    unsigned short auTime[4] = {static_cast<unsigned short>(uMs / 3600000),
                                static_cast<unsigned short>(uMs / 60000 % 60),
                                static_cast<unsigned short>(uMs / 1000 % 60), static_cast<unsigned short>(uMs % 1000)};
    const auto moment = [&] {
        return MsOf(CTime::GetJulianDate(y, m, d), ((auTime[0] * 60u + auTime[1]) * 60 + auTime[2]) * 1000 + auTime[3]);
    };
    for (const bool bUtc : {true, false})
    {
        const bool bDaylight = rZone.IsDayLightSavingInEffect(uDay, uMs, bUtc);
        const bool bSame =
            bDaylight == rZone.IsDayLightSavingInEffect(y, m, d, auTime[0], auTime[1], auTime[2], auTime[3], bUtc);
        Require(bSame, "daylight saving by the date", rstrText);
        const SZoneBytes bytes(rZone);
        const std::string strName = rZone.GetName(uDay, uMs, bUtc).CStr();
        Require(strName == (bDaylight ? bytes.strDaylight : bytes.strStandard), "the name", rstrText);
    }
    rZone.ConvertFromUTCToLocale(y, m, d, auTime[0], auTime[1], auTime[2], auTime[3]);
    rZone.ConvertFromUTCToLocale(uDay, uMs);
    Require(moment() == MsOf(uDay, uMs), "the local date", rstrText);
    if (uMs >= 86400000) return;
    rZone.ConvertFromLocaleToUTC(y, m, d, auTime[0], auTime[1], auTime[2], auTime[3]);
    rZone.ConvertFromLocaleToUTC(uDay, uMs);
    Require(moment() == MsOf(uDay, uMs) || uMs > 86400000, "the date in UTC", rstrText);
}

void CheckCopies(const CTimeZone& rZone, const SZoneGrammar& rWant, const std::string& rstrText)
{
    Require(rZone.HasDayLightSaving() == rWant.bDaylight, "has daylight saving", rstrText);
    const CTimeZone copy(rZone);
    Require(IsSame(rWant, SZoneBytes(copy)) && rstrText == copy.GetTimeZone(), "a copy", rstrText);
    CTimeZone assigned(pszTIMEZONE_NA_EASTERN);
    assigned = rZone;
    Require(IsSame(rWant, SZoneBytes(assigned)) && rstrText == assigned.GetTimeZone(), "an assigned one", rstrText);
    assigned = CTimeZone();
    CTimeZone constructed(rstrText.c_str());
    Require(IsSame(rWant, SZoneBytes(constructed)), "a constructed one", rstrText);
}

/// About which day of the year a rule means.
unsigned int AboutDayOf(const SZoneGrammar::SRule& rRule)
{
    if (rRule.uKind != 2) return rRule.auNumbers[0];
    return (rRule.auNumbers[0] - 1) * 305 / 10 + (rRule.auNumbers[1] - 1) * 7 + 3;
}

/// Where rules lie near each other or near the new year, the library's year and that of POSIX differ.
bool AreApart(const SZoneGrammar::SRule& rA, const SZoneGrammar::SRule& rB)
{
    const unsigned int uFirst = std::min(AboutDayOf(rA), AboutDayOf(rB));
    const unsigned int uLast = std::max(AboutDayOf(rA), AboutDayOf(rB));
    return uFirst >= 12 && uLast <= 352 && uLast - uFirst >= 20;
}

bool IsPosixName(const std::string& rstrName)
{
    return rstrName.size() >= 3 &&
           std::all_of(rstrName.begin(), rstrName.end(), [](unsigned char u) { return std::isalpha(u) != 0; });
}

/// Names of letters, signs in front of offsets alone, nothing in small letters or left out that POSIX wants.
bool IsPosix(const std::string& rstrText, const SZoneGrammar& rZone)
{
    if (rZone.bDaylight && rZone.nDaylightMs >= 86400000) return false;
    if (!IsPosixName(rZone.strStandard) || (rZone.bDaylight && !IsPosixName(rZone.strDaylight))) return false;
    const std::size_t uRules = rstrText.find(',');
    if (rZone.bDaylight && (uRules == std::string::npos || !AreApart(rZone.start, rZone.end))) return false;
    for (std::size_t u = 0; u < rstrText.size(); ++u)
    {
        const unsigned char uHere = static_cast<unsigned char>(rstrText[u]);
        const unsigned char uNext = static_cast<unsigned char>(u + 1 < rstrText.size() ? rstrText[u + 1] : '\0');
        if (std::strchr("+-", uHere) != nullptr && (u > uRules || u == 0 || std::isalpha(rstrText[u - 1]) == 0))
            return false;
        if (std::strchr(":./", uHere) != nullptr && std::isdigit(uNext) == 0) return false;
        if (u > uRules && std::isalpha(uHere) != 0 && (std::isupper(uHere) == 0 || std::isdigit(uNext) == 0))
            return false;
        if (std::isspace(uHere) != 0) return false;
    }
    return true;
}

/// Changes TZ in place: setenv() would keep every text there ever was.
void SetEnvironmentZone(const std::string& rstrText)
{
    static char s_szVariable[256] = "TZ=";
    static const int s_nResult = putenv(s_szVariable);
    Require(s_nResult == 0, "putenv");
    const std::size_t uSize = std::min(rstrText.size(), sizeof(s_szVariable) - 4);
    std::memcpy(s_szVariable + 3, rstrText.data(), uSize);
    s_szVariable[3 + uSize] = '\0';
    tzset();
}

std::int64_t GlibcLocalMs(std::int64_t nSeconds)
{
    const time_t t = nSeconds;
    tm local;
    localtime_r(&t, &local);
    return (nSeconds + local.tm_gmtoff) * 1000;
}

void CompareMoment(const CTimeZone& rZone, std::int64_t nSeconds, const std::string& rstrText)
{
    constexpr std::int64_t nEPOCH_MS = std::int64_t{2440588} * 86400000;
    unsigned int uDay = static_cast<unsigned int>(2440588 + nSeconds / 86400);
    unsigned int uMs = static_cast<unsigned int>(nSeconds % 86400 * 1000);
    rZone.ConvertFromUTCToLocale(uDay, uMs);
    const std::int64_t nLocal = MsOf(uDay, uMs) - nEPOCH_MS;
    const CFuzzStep step("second", static_cast<std::uint64_t>(nSeconds));
    Require(nLocal == GlibcLocalMs(nSeconds), "glibc has another local time", rstrText);
    // Of a local time that occurs twice, the moment in daylight saving time comes back.
    rZone.ConvertFromLocaleToUTC(uDay, uMs);
    const std::int64_t nBack = (MsOf(uDay, uMs) - nEPOCH_MS) / 1000;
    Require(nBack == nSeconds || nLocal == GlibcLocalMs(nBack), "a moment of another local time comes back", rstrText);
}

void CompareWithGlibc(const CTimeZone& rZone, const SZoneGrammar& rGrammar, CFuzzInput& rInput,
                      const std::string& rstrText)
{
    SetEnvironmentZone(rstrText);
    for (unsigned int u = 0; u < 8; ++u)
    {
        const unsigned int uYear = 1971 + rInput.Below(1000);
        const std::int64_t nYear =
            (std::int64_t{CTime::GetJulianDate(static_cast<unsigned short>(uYear), 1, 1)} - 2440588) * 86400;
        if (!rGrammar.bDaylight || rInput.Below(4) == 0)
        {
            CompareMoment(rZone, nYear + rInput.Below(365 * 86400), rstrText);
            continue;
        }
        // On one of the days about a rule, at its time or a second off.
        const bool bStart = rInput.Flag();
        const SZoneGrammar::SRule& rRule = bStart ? rGrammar.start : rGrammar.end;
        const int nOffsetMs = bStart ? rGrammar.nStandardMs : rGrammar.nDaylightMs;
        const std::int64_t nDay = std::int64_t{AboutDayOf(rRule)} + rInput.Below(16) - 8;
        const std::int64_t nTime = (std::int64_t{rRule.uTimeMs} - nOffsetMs) / 1000 + rInput.Below(3) - 1;
        CompareMoment(rZone, nYear + nDay * 86400 + nTime, rstrText);
    }
}

std::string AnyTime(CFuzzInput& rInput, unsigned int uHours)
{
    char szTime[40];
    const unsigned int uHour = rInput.Below(uHours);
    const unsigned int uKind = rInput.Below(3);
    if (uKind == 0) std::snprintf(szTime, sizeof(szTime), "%u", uHour);
    else if (uKind == 1) std::snprintf(szTime, sizeof(szTime), "%u:%02u", uHour, rInput.Below(60));
    else std::snprintf(szTime, sizeof(szTime), "%02u:%02u:%02u", uHour, rInput.Below(60), rInput.Below(60));
    return szTime;
}

std::string AnyRule(CFuzzInput& rInput)
{
    char szRule[40];
    const unsigned int uKind = rInput.Below(4);
    if (uKind == 0) std::snprintf(szRule, sizeof(szRule), ",%u", rInput.Below(366));
    else if (uKind == 1) std::snprintf(szRule, sizeof(szRule), ",J%u", rInput.Between(1, 365));
    else
        std::snprintf(szRule, sizeof(szRule), ",M%u.%u.%u", rInput.Between(1, 12), rInput.Between(1, 5),
                      rInput.Below(7));
    return rInput.Flag() ? szRule : szRule + ("/" + AnyTime(rInput, 24));
}

/// A text that is mostly one of POSIX.
std::string AnyZone(CFuzzInput& rInput)
{
    static const char* const apszSIGNS[] = {"", "+", "-"};
    std::string strText = "ABC";
    strText += apszSIGNS[rInput.Below(3)];
    strText += AnyTime(rInput, 24);
    if (rInput.Below(8) == 0) return strText;
    strText += "DEFG";
    if (rInput.Flag()) strText += apszSIGNS[rInput.Below(3)] + AnyTime(rInput, 24);
    return strText + AnyRule(rInput) + AnyRule(rInput);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    const bool bBuilt = input.Byte() >= 128;
    const unsigned int uDay = input.Number<unsigned int>();
    const unsigned int uMs = input.Number<unsigned int>();
    std::string text;
    if (bBuilt) text = AnyZone(input);
    else text = input.RestText();

    CTimeZone zone;
    const QvResult res = zone.SetTimeZone(text.c_str());
    Require(text == zone.GetTimeZone() || res < 0, "another text", text);
    Convert(zone, uDay, uMs, text);
    Convert(zone, 2400000 + uDay % 100000, uMs % 86400000, text);
    ConvertAtMidnight(zone, 2400000 + uDay % 100000, text);
    if (HasEndlessNumber(text)) return 0;
    const auto want = SZoneGrammar::Read(text.c_str());
    Require(want.has_value() == (res >= 0), "accepted or not", text);
    if (!want) return 0;
    Require(IsSame(*want, SZoneBytes(zone)), "read differently", text);
    CheckCopies(zone, *want, text);
    ConvertDate(zone, 2400000 + uDay % 100000, uMs % 86400000, text);
    if (!IsPosix(text, *want)) return 0;
    // Of a text, its moments come from its end as well.
    CFuzzInput moments(puData, uSize);
    CompareWithGlibc(zone, *want, bBuilt ? input : moments, text);
    return 0;
}
