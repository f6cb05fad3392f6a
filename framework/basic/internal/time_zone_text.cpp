// The grammar of zone texts. Each Read...() reads one part of it and moves rpsz behind that part. If one fails, the
// whole text is refused.
#include "framework/basic/internal/time_zone_text.h"

#include <string.h>

#include <algorithm>

#include "framework/basic/internal/calendar.h"
#include "framework/kernel/internal/read_unsigned.h"

namespace orvel_internal
{
namespace
{
constexpr size_t g_uMAX_NAME = 9;
constexpr unsigned int g_uLAST_DAY = 365;
constexpr unsigned int g_uDEFAULT_TIME_MS = 2 * g_uMS_PER_HOUR;
constexpr SZoneRule g_stDEFAULT_START = {eWEEKDAY, 4, 1, 0, g_uDEFAULT_TIME_MS};
constexpr SZoneRule g_stDEFAULT_END = {eWEEKDAY, 10, 5, 0, g_uDEFAULT_TIME_MS};

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool ReadName(const char*& rpsz, CString& rstrName)
{
    const size_t uLength = std::min(strcspn(rpsz, "0123456789,+-"), g_uMAX_NAME);
    if (uLength == 0) return false;
    rstrName = CString(rpsz, static_cast<unsigned int>(uLength));
    rpsz += uLength;
    return true;
}

// The minutes or the seconds. A colon that no number follows is left to what comes behind: that is no failure.
bool ReadSixtieths(const char*& rpsz, unsigned int& ru)
{
    if (*rpsz != ':') return true;
    const char* psz = rpsz + 1;
    const bool bRead = ReadUnsigned(psz, 59, ru);
    const bool bNoNumber = psz == rpsz + 1;
    if (bRead) rpsz = psz;
    return bRead || bNoNumber;
}

bool ReadTime(const char*& rpsz, unsigned int& ruTimeMs)
{
    unsigned int uHours = 0;
    unsigned int uMinutes = 0;
    unsigned int uSeconds = 0;
    if (!ReadUnsigned(rpsz, 23, uHours) || !ReadSixtieths(rpsz, uMinutes) || !ReadSixtieths(rpsz, uSeconds))
        return false;
    ruTimeMs = TimeOfDay(uHours, uMinutes, uSeconds, 0);
    return true;
}

bool ReadOffset(const char*& rpsz, int& rnOffsetMs)
{
    const bool bSigned = *rpsz == '+' || *rpsz == '-';
    if (!bSigned && !IsDigit(*rpsz)) return false;
    const bool bEast = *rpsz == '-';
    if (bSigned) ++rpsz;
    unsigned int uOffsetMs = 0;
    if (!ReadTime(rpsz, uOffsetMs)) return false;
    rnOffsetMs = bEast ? static_cast<int>(uOffsetMs) : -static_cast<int>(uOffsetMs);
    return true;
}

bool ReadDaylightOffset(const char*& rpsz, int nStandardMs, int& rnOffsetMs)
{
    if (*rpsz == ',')
    {
        rnOffsetMs = nStandardMs + static_cast<int>(g_uMS_PER_HOUR);
        return true;
    }
    const bool bLoneSign = !IsDigit(*rpsz) && !IsDigit(rpsz[*rpsz != '\0' ? 1 : 0]);
    return !bLoneSign && ReadOffset(rpsz, rnOffsetMs);
}

// Hands an unsigned int to ReadUnsigned() for a field of 16 bits.
bool ReadField(const char*& rpsz, unsigned int uMin, unsigned int uMax, unsigned short& ruField)
{
    unsigned int u = 0;
    if (!ReadUnsigned(rpsz, uMax, u) || u < uMin) return false;
    ruField = static_cast<unsigned short>(u);
    return true;
}

bool SkipDot(const char*& rpsz)
{
    return *rpsz++ == '.';
}

// On entry rstRule holds the default, which is what M without numbers means.
bool ReadDay(const char*& rpsz, bool bStart, SZoneRule& rstRule)
{
    if (IsDigit(*rpsz))
    {
        rstRule = {eDAY_FROM_0, 0, 0, 0, 0};
        return ReadField(rpsz, 0, g_uLAST_DAY, rstRule.uMonth);
    }
    if ((*rpsz == 'J' || *rpsz == 'j') && IsDigit(rpsz[1]))
    {
        rstRule = {eDAY_FROM_1, 0, 0, 0, 0};
        return ReadField(++rpsz, 1, g_uLAST_DAY, rstRule.uMonth);
    }
    if (*rpsz != 'M' && *rpsz != 'm') return false;
    ++rpsz;
    if (*rpsz == '/' || (bStart && *rpsz == ',')) return true;
    return ReadField(rpsz, 1, 12, rstRule.uMonth) && SkipDot(rpsz) && ReadField(rpsz, 1, 5, rstRule.uWeek) &&
           SkipDot(rpsz) && ReadField(rpsz, 0, 6, rstRule.uWeekday);
}

bool ReadRule(const char*& rpsz, bool bStart, SZoneRule& rstRule)
{
    if (*rpsz != ',' || !ReadDay(++rpsz, bStart, rstRule)) return false;
    rstRule.uTimeMs = g_uDEFAULT_TIME_MS;
    return *rpsz != '/' || ReadTime(++rpsz, rstRule.uTimeMs);
}

bool ReadDaylight(const char* psz, SZoneText& rstText)
{
    rstText.bDaylight = true;
    rstText.stStart = g_stDEFAULT_START;
    rstText.stEnd = g_stDEFAULT_END;
    if (!ReadName(psz, rstText.strDaylight)) return false;
    if (!ReadDaylightOffset(psz, rstText.nStandardMs, rstText.nDaylightMs)) return false;
    if (*psz == '\0') return true;
    return ReadRule(psz, true, rstText.stStart) && ReadRule(psz, false, rstText.stEnd) && *psz == '\0';
}
}  // namespace

bool ReadZoneText(const char* pszZone, SZoneText& rstText)
{
    if (!ReadName(pszZone, rstText.strStandard) || !ReadOffset(pszZone, rstText.nStandardMs)) return false;
    return *pszZone == '\0' || ReadDaylight(pszZone, rstText);
}
}  // namespace orvel_internal
