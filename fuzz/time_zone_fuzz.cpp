// Any text, and conversions of any moment in the zone that it may be.
#include <cstdint>
#include <cstring>
#include <string>

#include "framework/basic/time.h"
#include "framework/basic/time_zone.h"
#include "fuzz/check.h"
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

void Convert(const CTimeZone& rZone, unsigned int uJulianDay, unsigned int uTimeMs, const std::string& rText)
{
    rZone.IsDayLightSavingInEffect(uJulianDay, uTimeMs, false);
    unsigned int uLocalDay = uJulianDay;
    unsigned int uLocalMs = uTimeMs;
    rZone.ConvertFromUTCToLocale(uLocalDay, uLocalMs);
    unsigned int uUtcDay = uJulianDay;
    unsigned int uUtcMs = uTimeMs;
    rZone.ConvertFromLocaleToUTC(uUtcDay, uUtcMs);
    // Where nothing wraps, converting adds the offset.
    if (uTimeMs >= 86400000 || uJulianDay == 0 || uJulianDay == 0xFFFFFFFF) return;
    Require(uLocalMs <= 86400000 && uUtcMs <= 86400000, "a time of day out of range", rText);
    const std::int64_t nMoment = MsOf(uJulianDay, uTimeMs);
    Require(MsOf(uLocalDay, uLocalMs) - nMoment == rZone.GetOffsetMs(uJulianDay, uTimeMs, true), "to local", rText);
    Require(nMoment - MsOf(uUtcDay, uUtcMs) == rZone.GetOffsetMs(uJulianDay, uTimeMs, false), "to UTC", rText);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    unsigned int auMoment[2] = {};
    if (uSize < sizeof(auMoment)) return 0;
    std::memcpy(auMoment, puData, sizeof(auMoment));
    std::string text(reinterpret_cast<const char*>(puData) + sizeof(auMoment), uSize - sizeof(auMoment));
    text.resize(std::strlen(text.c_str()));

    CTimeZone zone;
    const QvResult res = zone.SetTimeZone(text.c_str());
    if (!HasEndlessNumber(text))
    {
        const auto want = SZoneGrammar::Read(text.c_str());
        Require(want.has_value() == (res >= 0), "accepted or not", text);
        if (want) Require(IsSame(*want, SZoneBytes(zone)), "read differently", text);
    }
    Require(text == zone.GetTimeZone() || res < 0, "another text", text);
    Convert(zone, auMoment[0], auMoment[1], text);
    Convert(zone, 2400000 + auMoment[0] % 100000, auMoment[1] % 86400000, text);
    return 0;
}
