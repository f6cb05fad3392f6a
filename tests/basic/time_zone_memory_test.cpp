// Zones when memory runs out: the n-th request of the whole process is refused here, wherever it comes from.
#include <gtest/gtest.h>

#include <string>

#include "framework/basic/time.h"
#include "framework/basic/time_zone.h"
#include "tests/support/refusing_new.h"
#include "tests/support/zone_bytes.h"

namespace
{
const char* const g_pszOld = "OLD7NEW6,J10/01:02:03,200/04:05:06";
const char* const g_pszNew = "EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00";

/// Refuses the uNth request of the library, counted from 1.
class CRefusal : public CRefusingNew
{
public:
    explicit CRefusal(unsigned int uNth) : CRefusingNew(uNth - 1, eNOTHROW_ARRAY) {}
};

void ExpectOld(const CTimeZone& rZone)
{
    const SZoneBytes bytes(rZone);
    EXPECT_EQ(g_pszOld, bytes.strText);
    EXPECT_EQ("OLD", bytes.strStandard);
    EXPECT_EQ("NEW", bytes.strDaylight);
    EXPECT_EQ(-7 * 3600000, bytes.nStandardMs);
    EXPECT_EQ(10u, bytes.stStart.auRule[0]);
}

TEST(CTimeZoneOutOfMemory, SettingSaysSoAndChangesNothing)
{
    CTimeZone zone(g_pszOld);
    unsigned int uNth = 1;
    for (;; ++uNth)
    {
        const CRefusal refusal(uNth);
        const QvResult res = zone.SetTimeZone(g_pszNew);
        if (!refusal.HasRefused())
        {
            EXPECT_EQ(QV_RES_OK, res);
            break;
        }
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, res) << uNth;
        ExpectOld(zone);
    }
    EXPECT_EQ(4u, uNth) << "two names and the text were refused";
    EXPECT_STREQ(g_pszNew, zone.GetTimeZone());
}

TEST(CTimeZoneOutOfMemory, AZoneWithoutDaylightTimeLikewise)
{
    CTimeZone zone(g_pszOld);
    for (const unsigned int uNth : {1u, 2u})
    {
        const CRefusal refusal(uNth);
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, zone.SetTimeZone("UTC0"));
        ExpectOld(zone);
    }
    EXPECT_EQ(QV_RES_OK, zone.SetTimeZone("UTC0"));
}

TEST(CTimeZoneOutOfMemory, TimesReportItAsAZoneThatCouldNotBeSet)
{
    CTime time;
    ASSERT_TRUE(time.SetTimeZone(g_pszOld));
    {
        const CRefusal refusal(1);
        EXPECT_FALSE(time.SetTimeZone("UTC0"));
        ExpectOld(time.GetTimeZone());
    }
    {
        const CRefusal refusal(2);
        EXPECT_FALSE(CTime::SetSystemTimeZone("UTC0"));
    }
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, CTime::GetSystemTimeZone().CStr());
}

TEST(CTimeZoneOutOfMemory, ASystemZoneThatFoundNoneAtStartUpIsUtc)
{
    for (unsigned int uNth = 1; uNth <= 3; ++uNth)
    {
        CTime::FinalizeCTime();
        {
            const CRefusal refusal(uNth);
            EXPECT_EQ(QV_RES_OK, CTime::InitializeCTime());
            EXPECT_TRUE(refusal.HasRefused());
        }
        EXPECT_STREQ("", CTime::GetSystemTimeZone().CStr());
        CTime time;
        time.SetJulianDateAndTime(2451545, 1000, true);
        unsigned int uJulianDay = 0;
        unsigned int uTimeMs = 0;
        EXPECT_TRUE(time.GetJulianDateAndTime(uJulianDay, uTimeMs, false));
        EXPECT_EQ(2451545u, uJulianDay);
        EXPECT_EQ(1000u, uTimeMs);
        EXPECT_TRUE(CTime::SetSystemTimeZone(pszTIMEZONE_NA_EASTERN));
    }
}

TEST(CTimeZoneOutOfMemory, CopyingNeedsNone)
{
    const CTimeZone source(g_pszOld);
    const CRefusal refusal(1);
    const CTimeZone copy(source);
    EXPECT_FALSE(refusal.HasRefused());
    ExpectOld(copy);
}
}  // namespace
