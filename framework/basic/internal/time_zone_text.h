#ifndef FRAMEWORK_BASIC_INTERNAL_TIME_ZONE_TEXT_H
#define FRAMEWORK_BASIC_INTERNAL_TIME_ZONE_TEXT_H
#include "framework/basic/string.h"
#include "framework/kernel/export.h"

// Internal: what the text of a time zone says. The grammar stands at CTimeZone.
namespace orvel_internal
{
/// The forms of a rule; the numbers are those of CTimeZone::SLimit::uKind.
enum EZoneRuleKind : unsigned int
{
    eDAY_FROM_0 = 0,
    eDAY_FROM_1 = 1,
    eWEEKDAY = 2
};

/// When daylight saving time begins or ends. A day number stands in the first of the three.
struct SZoneRule
{
    EZoneRuleKind eKind;
    unsigned short uMonth;
    unsigned short uWeek;
    unsigned short uWeekday;
    unsigned int uTimeMs;
};

struct SZoneText
{
    CString strStandard;
    int nStandardMs = 0;
    /// Without daylight saving time the members behind this one mean nothing.
    bool bDaylight = false;
    CString strDaylight;
    int nDaylightMs = 0;
    SZoneRule stStart = {};
    SZoneRule stEnd = {};
};

/// False for a text that is malformed. A name that found no memory is empty, which none of a valid text is.
QV_HIDDEN bool ReadZoneText(const char* pszZone, SZoneText& rstText);
}  // namespace orvel_internal

#endif
