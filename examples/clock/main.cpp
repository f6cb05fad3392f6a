// World time: the framework clock, set from the system or by hand, in ready-made zones and in any other.
#include <strings.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>
#include <vector>

#include "framework/framework.h"
#include "framework/interop/standard.h"

namespace
{
constexpr int g_nREFUSED = 1;
constexpr int g_nMISUSED = 2;
constexpr int64_t g_nHOUR_MS = 3600000;

constexpr char g_szHELP[] =
    R"(Prints the time in time zones, and when each of them changes next.

  clock [--at "YYYY-MM-DD HH:MM:SS"] [ZONE...]   without a zone: in all that have a name
  clock --list                                   the zones that have a name, and what they stand for
  clock --help                                   prints this

A ZONE is a name of the list, in either case, or a text in the manner of the POSIX variable TZ, such as
EST5EDT,M3.2.0,M11.1.0. The time is that of the system, or the one given, in UTC.

Exit status: 0 done, 1 the time or a zone is invalid, 2 wrong usage.
)";

// In the order of apszTIMEZONE_TABLE.
const char* const g_apszNames[] = {
    "HAWAII",     "NA_ALASKA_HAST", "NA_ALASKA_AKST",   "NA_YUKON",         "NA_PACIFIC", "NA_MOUNTAIN",
    "NA_CENTRAL", "NA_EASTERN",     "NA_ATLANTIC",      "NA_NEWFOUNDLAND",  "GMT",        "WEUROPE",
    "CHINA",      "TOKYO",          "CENTRALAUSTRALIA", "EASTERNAUSTRALIA", "UTC"};
static_assert(std::size(g_apszNames) == std::size(apszTIMEZONE_TABLE));

const char* TextOfZone(const char* pszNameOrText)
{
    for (std::size_t u = 0; u < std::size(g_apszNames); ++u)
    {
        if (strcasecmp(g_apszNames[u], pszNameOrText) == 0) return apszTIMEZONE_TABLE[u];
    }
    return pszNameOrText;
}

// A CString reports that memory ran out only by missing characters.
void Check(QvResult res)
{
    if (QvFailed(res)) throw std::bad_alloc();
}

CTime SystemTime()
{
    CTime time;
    Check(QvAssign(time, std::chrono::system_clock::now()));
    return time;
}

CString DateAndTime(const CTime& rTime)
{
    unsigned short uYear;
    unsigned short uMonth;
    unsigned short uDay;
    unsigned short uHour;
    unsigned short uMinute;
    unsigned short uSecond;
    unsigned short uMillisecond;
    rTime.GetDateAndTime(uYear, uMonth, uDay, uHour, uMinute, uSecond, uMillisecond, true);
    CString strText;
    Check(strText.Format(0, "%04d-%02d-%02d %02d:%02d:%02d", uYear, uMonth, uDay, uHour, uMinute, uSecond));
    return strText;
}

// Setting validates nothing: a time is valid if it reads back as it was written.
bool ReadTime(const char* pszText, CTime& rTime)
{
    unsigned short auFields[6];
    if (std::sscanf(pszText, "%4hu-%2hu-%2hu %2hu:%2hu:%2hu", &auFields[0], &auFields[1], &auFields[2], &auFields[3],
                    &auFields[4], &auFields[5]) != 6)
    {
        return false;
    }
    rTime.SetDateAndTime(auFields[0], auFields[1], auFields[2], auFields[3], auFields[4], auFields[5], 0, true);
    rTime.AddMs(0);  // carries hours past the day
    return DateAndTime(rTime) == pszText;
}

/// A zone at a moment.
class CZoneView
{
public:
    CZoneView(const CTimeZone& rZone, const CTime& rUtc) : m_rZone(rZone)
    {
        rUtc.GetJulianDateAndTime(m_uJulianDay, m_uTimeMs, true);
    }
    bool IsDaylight() const { return m_rZone.IsDayLightSavingInEffect(m_uJulianDay, m_uTimeMs, true); }
    int GetOffsetMs() const { return m_rZone.GetOffsetMs(m_uJulianDay, m_uTimeMs, true); }
    /// Such as EST (UTC-05:00).
    CString GetName() const
    {
        const int nOffset = GetOffsetMs() / 1000;
        const int nSize = nOffset < 0 ? -nOffset : nOffset;
        char szSeconds[8] = "";
        if (nSize % 60 != 0) std::snprintf(szSeconds, sizeof(szSeconds), ":%02d", nSize % 60);
        CString strName;
        Check(strName.Format(0, "%s (UTC%c%02d:%02d%s)", m_rZone.GetName(m_uJulianDay, m_uTimeMs, true).CStr(),
                             nOffset < 0 ? '-' : '+', nSize / 3600, nSize / 60 % 60, szSeconds));
        return strName;
    }

private:
    const CTimeZone& m_rZone;
    unsigned int m_uJulianDay;
    unsigned int m_uTimeMs;
};

// Moves rUtc to the next moment at which daylight saving time begins or ends; false if there is none for two years.
bool FindTransition(const CTimeZone& rZone, CTime& rUtc)
{
    const bool bNow = CZoneView(rZone, rUtc).IsDaylight();
    for (int nHours = 0; nHours < 2 * 366 * 24; ++nHours)
    {
        rUtc += g_nHOUR_MS;
        if (CZoneView(rZone, rUtc).IsDaylight() == bNow) continue;
        // It happened within the last hour: by halves to the millisecond.
        for (int64_t nStep = 1 << 21; nStep != 0; nStep /= 2)
        {
            rUtc -= nStep;
            if (CZoneView(rZone, rUtc).IsDaylight() == bNow) rUtc += nStep;
        }
        return true;
    }
    return false;
}

void Print(const char* pszLabel, const CTimeZone& rZone, const CTime& rNow)
{
    static const char* const apszWEEKDAYS[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    const CZoneView view(rZone, rNow);
    // Added, not converted, so that midnight is never hour 24 of the day before.
    CTime local(rNow);
    local += view.GetOffsetMs();
    std::printf("%s: %s %s %s", pszLabel, apszWEEKDAYS[local.GetStoredDayOfWeek(true)], DateAndTime(local).CStr(),
                view.GetName().CStr());
    CTime next(rNow);
    if (FindTransition(rZone, next))
    {
        std::printf(", %s from %s UTC on", CZoneView(rZone, next).GetName().CStr(), DateAndTime(next).CStr());
    }
    std::puts("");
}

int Show(const char* pszAt, const std::vector<const char*>& rZones)
{
    CTime start = SystemTime();
    if (pszAt != nullptr && !ReadTime(pszAt, start))
    {
        std::fprintf(stderr, "clock: not a time: %s\n", pszAt);
        return g_nREFUSED;
    }
    CTime::SetSystemTime(start);
    std::vector<CTimeZone> zones(rZones.size());
    for (std::size_t u = 0; u < rZones.size(); ++u)
    {
        const QvResult res = zones[u].SetTimeZone(TextOfZone(rZones[u]));
        if (res == QV_RES_OUT_OF_MEMORY) throw std::bad_alloc();
        if (QvSucceeded(res)) continue;
        std::fprintf(stderr, "clock: not a zone: %s\n", rZones[u]);
        return g_nREFUSED;
    }
    const CTime now;  // the framework clock's
    for (std::size_t u = 0; u < zones.size(); ++u) Print(rZones[u], zones[u], now);
    return 0;
}

int List()
{
    for (std::size_t u = 0; u < std::size(g_apszNames); ++u)
        std::printf("%-16s %s\n", g_apszNames[u], apszTIMEZONE_TABLE[u]);
    return 0;
}

int Misuse(const char* pszReason)
{
    std::fprintf(stderr, "clock: %s (see clock --help)\n", pszReason);
    return g_nMISUSED;
}

int Run(int argc, char** argv)
{
    const char* pszAt = nullptr;
    int nArgument = 1;
    if (argc > 1 && std::strcmp(argv[1], "--help") == 0) return std::fputs(g_szHELP, stdout) < 0 ? g_nREFUSED : 0;
    if (argc > 1 && std::strcmp(argv[1], "--list") == 0) return argc == 2 ? List() : Misuse("--list stands alone");
    if (argc > 1 && std::strcmp(argv[1], "--at") == 0)
    {
        if (argc == 2) return Misuse("--at needs a time");
        pszAt = argv[2];
        nArgument = 3;
    }
    std::vector<const char*> zones(argv + nArgument, argv + argc);
    for (const char* const pszZone : zones)
    {
        if (std::strncmp(pszZone, "--", 2) == 0) return Misuse("unknown option");
    }
    if (zones.empty()) zones.assign(std::begin(g_apszNames), std::end(g_apszNames));
    return Show(pszAt, zones);
}

int RunWithFramework(int argc, char** argv)
{
    const CFrameworkScope framework;
    Check(framework.GetResult());
    return Run(argc, argv);
}
}  // namespace

int main(int argc, char** argv)
{
    int nStatus = g_nREFUSED;
    try
    {
        nStatus = RunWithFramework(argc, argv);
    }
    catch (const std::bad_alloc&)
    {
        std::fputs("clock: out of memory\n", stderr);
    }
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return nStatus;
    std::perror("clock: standard output");
    return g_nREFUSED;
}
