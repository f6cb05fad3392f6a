// Every hour of ten years as glibc has it under the same text of TZ.
//
// Where the library's rules and POSIX differ, and what is compared here therefore leaves out:
//   - Without rules, daylight saving time lasts from April to October here; glibc takes those of the United States.
//   - Rules less than two days apart: which of them comes first in the year is decided by their days here, by the
//     moments in UTC there.
//   - A rule in the last or first days of a year may fall into the other year in UTC. Of daylight saving time that
//     spans the new year, the start of the year before counts here; glibc looks at the rules of one year of UTC only.
//   - Local midnight may read as 24:00:00.000 of the day before. Moments are compared, so this does no harm.
//   - POSIX has names in <>, names of three letters at least and offsets of up to 24 hours, glibc times of rules up to
//     167 hours and negative ones. These texts are other ones here, or none.
#include <gtest/gtest.h>
#include <time.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "framework/basic/time.h"
#include "framework/basic/time_zone.h"
#include "tests/support/sanitizers.h"
#include "tests/support/test_seed.h"

namespace
{
constexpr std::int64_t g_nDAY_MS = 86400000;
constexpr unsigned int g_uEPOCH = 2440588;

// Sanitizers make both sides slow: there, one hour in so many has to do, one that meets all hours of the day.
constexpr int g_nSTEP_HOURS = g_bSANITIZED ? 23 : 1;

/// Sets TZ for as long as it lives.
class CEnvironmentZone
{
public:
    explicit CEnvironmentZone(const char* pszZone)
    {
        setenv("TZ", pszZone, 1);
        tzset();
    }
    ~CEnvironmentZone()
    {
        unsetenv("TZ");
        tzset();
    }
    CEnvironmentZone(const CEnvironmentZone&) = delete;
    CEnvironmentZone& operator=(const CEnvironmentZone&) = delete;
};

std::int64_t MsOf(unsigned int uJulianDay, unsigned int uTimeMs)
{
    return (std::int64_t{uJulianDay} - g_uEPOCH) * g_nDAY_MS + uTimeMs;
}

std::int64_t SecondsOf(unsigned short uYear)
{
    return (std::int64_t{CTime::GetJulianDate(uYear, 1, 1)} - g_uEPOCH) * 86400;
}

void ExpectHoursAsGlibc(const char* pszZone, unsigned short uYear)
{
    SCOPED_TRACE(pszZone);
    const CEnvironmentZone environment(pszZone);
    CTimeZone zone;
    ASSERT_EQ(QV_RES_OK, zone.SetTimeZone(pszZone));
    const std::int64_t nEnd = SecondsOf(static_cast<unsigned short>(uYear + 10));
    for (std::int64_t nSeconds = SecondsOf(uYear); nSeconds < nEnd; nSeconds += 3600 * g_nSTEP_HOURS)
    {
        const time_t t = nSeconds;
        tm local;
        localtime_r(&t, &local);
        unsigned int uJulianDay = static_cast<unsigned int>(nSeconds / 86400) + g_uEPOCH;
        unsigned int uTimeMs = static_cast<unsigned int>(nSeconds % 86400) * 1000;
        zone.ConvertFromUTCToLocale(uJulianDay, uTimeMs);
        const std::int64_t nLocal = MsOf(uJulianDay, uTimeMs);
        ASSERT_EQ((nSeconds + local.tm_gmtoff) * 1000, nLocal) << "at " << nSeconds;

        // Back again, unless the local time occurs twice: then in daylight saving time, which is the one of POSIX
        // only if it comes first.
        zone.ConvertFromLocaleToUTC(uJulianDay, uTimeMs);
        const std::int64_t nBack = MsOf(uJulianDay, uTimeMs);
        if (nBack == nSeconds * 1000) continue;
        const time_t other = nBack / 1000;
        localtime_r(&other, &local);
        ASSERT_EQ(nLocal, (other + local.tm_gmtoff) * 1000) << "back from " << nSeconds;
    }
}

class CReadyMadeZone : public testing::TestWithParam<const char*>
{
};

TEST_P(CReadyMadeZone, HasTheLocalTimeOfGlibcForTenYears)
{
    ExpectHoursAsGlibc(GetParam(), 2019);
}

INSTANTIATE_TEST_SUITE_P(Exported, CReadyMadeZone, testing::ValuesIn(apszTIMEZONE_TABLE));

unsigned int Between(std::mt19937& rRng, unsigned int uMin, unsigned int uMax)
{
    return uMin + Below(rRng, uMax - uMin + 1);
}

std::string RandomName(std::mt19937& rRng)
{
    std::string name;
    for (unsigned int u = Between(rRng, 3, 9); u != 0; --u) name += static_cast<char>('A' + Below(rRng, 26));
    return name;
}

std::string RandomTime(std::mt19937& rRng, unsigned int uHours)
{
    char szTime[16];
    const unsigned int uMinute = Below(rRng, 60);
    const unsigned int uSecond = Below(rRng, 60);
    switch (rRng() % 3)
    {
        case 0: std::snprintf(szTime, sizeof(szTime), "%u", uHours % 24); break;
        case 1: std::snprintf(szTime, sizeof(szTime), "%u:%02u", uHours % 24, uMinute); break;
        default: std::snprintf(szTime, sizeof(szTime), "%02u:%02u:%02u", uHours % 24, uMinute, uSecond); break;
    }
    return szTime;
}

std::string RandomOffset(std::mt19937& rRng)
{
    static const char* const apszSIGNS[] = {"", "+", "-"};
    return apszSIGNS[Below(rRng, 3)] + RandomTime(rRng, Below(rRng, 15));
}

unsigned int RandomWeek(std::mt19937& rRng, unsigned int uMonth)
{
    return Between(rRng, uMonth == 1 ? 2 : 1, uMonth == 12 ? 4 : 5);
}

/// A rule in the given half of the year, some days away from its ends.
std::string RandomRule(std::mt19937& rRng, bool bFirstHalf)
{
    const unsigned int uDay = bFirstHalf ? Between(rRng, 3, 170) : Between(rRng, 184, 362);
    const unsigned int uMonth = bFirstHalf ? Between(rRng, 1, 6) : Between(rRng, 7, 12);
    char szRule[32];
    switch (rRng() % 3)
    {
        case 0: std::snprintf(szRule, sizeof(szRule), "%u", uDay); break;
        case 1: std::snprintf(szRule, sizeof(szRule), "J%u", uDay); break;
        default:
            std::snprintf(szRule, sizeof(szRule), "M%u.%u.%u", uMonth, RandomWeek(rRng, uMonth), Below(rRng, 7));
            break;
    }
    const std::string rule = szRule;
    return rRng() % 3 == 0 ? rule : rule + "/" + RandomTime(rRng, Below(rRng, 24));
}

std::string RandomZone(std::mt19937& rRng)
{
    std::string zone = RandomName(rRng) + RandomOffset(rRng);
    if (rRng() % 8 == 0) return zone;
    zone += RandomName(rRng);
    if (rRng() % 2 == 0) zone += RandomOffset(rRng);
    const bool bNorth = rRng() % 2 == 0;
    return zone + "," + RandomRule(rRng, bNorth) + "," + RandomRule(rRng, !bNorth);
}

TEST(CRandomZones, HaveTheLocalTimeOfGlibcForTenYears)
{
    std::mt19937 rng(TestSeed());
    for (int n = 0; n < 200; ++n)
    {
        ExpectHoursAsGlibc(RandomZone(rng).c_str(), static_cast<unsigned short>(1970 + Below(rng, 100)));
        if (HasFatalFailure()) return;
    }
}
}  // namespace
