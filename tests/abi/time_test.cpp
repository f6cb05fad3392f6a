#include <pthread.h>
#include <semaphore.h>

#include <ctime>
#include <memory>

#include "tests/abi/framework_up.h"
#include "tests/abi/old_semaphore.h"
#include "tests/abi/old_string.h"
#include "tests/abi/old_timer.h"
#include "tests/abi/told_size.h"
#include "tests/support/derived.h"

class CTimeZone
{
public:
    struct STimeZone
    {
        STimeZone& operator=(const STimeZone& rSrc);
        CString m_strName;
        int m_nOffsetMs;
    };
    struct SM
    {
        unsigned short m_uMonth;
        unsigned short m_uWeek;
        unsigned short m_uWeekday;
    };
    struct SLimit
    {
        unsigned int m_uKind;
        SM m_stRule;
        unsigned int m_uTimeMs;
        unsigned int m_uJulianDay1;
        unsigned int m_uJulianDay2;
    };
    struct SDaylightSavingTime
    {
        SDaylightSavingTime& operator=(const SDaylightSavingTime& rSrc);
        bool m_bEnabled;
        STimeZone m_stTimeZone;
        SLimit m_stStart;
        SLimit m_stEnd;
        unsigned short m_uYear;
    };

    CTimeZone();
    CTimeZone(const char* pszTimeZone);
    CTimeZone(const CTimeZone& rSrc);
    virtual ~CTimeZone();
    CTimeZone operator=(const CTimeZone& rSrc);

    const char* GetTimeZone() const;
    QvResult SetTimeZone(const char* pszTimeZone);
    bool IsDayLightSavingInEffect(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc) const;
    bool IsDayLightSavingInEffect(unsigned short uYear, unsigned short uMonth, unsigned short uDay,
                                  unsigned short uHour, unsigned short uMinute, unsigned short uSecond,
                                  unsigned short uMillisecond, bool bUtc) const;
    void ConvertFromUTCToLocale(unsigned int& ruJulianDate, unsigned int& ruTimeMs) const;
    void ConvertFromUTCToLocale(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay,
                                unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                                unsigned short& ruMillisecond) const;
    void ConvertFromLocaleToUTC(unsigned int& ruJulianDate, unsigned int& ruTimeMs) const;
    void ConvertFromLocaleToUTC(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay,
                                unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                                unsigned short& ruMillisecond) const;
    static bool IsLeapYear(unsigned short uYear);

    void DetermineJulianLimits(unsigned short uYear);
    unsigned int GetJulianDate(unsigned short uYear, SLimit& rstLimit);
    unsigned int GetJulianDateForJ0(unsigned short uYear, unsigned short uDay);
    unsigned int GetJulianDateForJ1(unsigned short uYear, unsigned short uDay);
    unsigned int GetJulianDateForM(unsigned short uYear, SM& rstRule);

    CBinarySemaphore m_semAccess;
    CString m_strTimeZone;
    STimeZone m_stStandard;
    SDaylightSavingTime m_stDaylight;
};

class CTime
{
public:
    CTime();
    CTime(const CTime& rSrc);
    virtual ~CTime();

    bool GetJulianDateAndTime(unsigned int& ruJulianDate, unsigned int& ruTimeMs, bool bUtc) const;
    bool GetDate(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay, bool bUtc) const;
    bool GetTime(unsigned short& ruHour, unsigned short& ruMinute, unsigned short& ruSecond,
                 unsigned short& ruMillisecond, bool bUtc) const;
    bool GetDateAndTime(unsigned short& ruYear, unsigned short& ruMonth, unsigned short& ruDay, unsigned short& ruHour,
                        unsigned short& ruMinute, unsigned short& ruSecond, unsigned short& ruMillisecond,
                        bool bUtc) const;
    void SetJulianDateAndTime(unsigned int uJulianDate, unsigned int uTimeMs, bool bUtc);
    void SetDateAndTime(unsigned short uYear, unsigned short uMonth, unsigned short uDay, unsigned short uHour,
                        unsigned short uMinute, unsigned short uSecond, unsigned short uMillisecond, bool bUtc);
    void SetDate(unsigned short uYear, unsigned short uMonth, unsigned short uDay, bool bUtc);
    void SetTime(unsigned short uHour, unsigned short uMinute, unsigned short uSecond, unsigned short uMillisecond,
                 bool bUtc);
    bool SetTimeZone(const char* pszTimeZone);
    bool IsLeapYear(bool bUtc) const;
    unsigned int GetDayOfWeek(bool bUtc) const;
    bool IsDayLightSavingInEffect() const;
    void PinTime();

    static unsigned int GetJulianDate(unsigned short uYear, unsigned short uMonth, unsigned short uDay);
    static void GetGregorianDate(unsigned int uJulianDate, unsigned short* puYear, unsigned short* puMonth,
                                 unsigned short* puDay);
    static void PinTime(unsigned int& ruJulianDate, unsigned int& ruTimeMs, bool& rbDefault);
    static void SetSystemTime(const CTime& rTime);
    static CString GetSystemTimeZone();
    static bool SetSystemTimeZone(const char* pszTimeZone);
    static bool GetGmtTime(tm& rstTime);
    static QvResult InitializeCTime();
    static void FinalizeCTime();

    static unsigned int ms_uJulianDateDay;
    static unsigned int ms_uJulianTimeMs;
    static unsigned long ms_uLastSynchronizationTimeMs;
    static bool ms_bDefaultDateAndTime;
    static CTimeZone* ms_pTimeZone;
    static unsigned char ms_auTimeZone[];
    static CBinarySemaphore* ms_psemInternalAccessProtection;
    static unsigned char ms_auInternalAccessProtection[];

    CTimeZone m_timeZone;
    unsigned int m_uJulianDay;
    unsigned int m_uTimeMs;
    bool m_bDefault;
};

QvResult InitializeCTime();
void FinalizeCTime();

extern const char* const pszTIMEZONE_HAWAII;
extern const char* const pszTIMEZONE_NA_ALASKA_HAST;
extern const char* const pszTIMEZONE_NA_ALASKA_AKST;
extern const char* const pszTIMEZONE_NA_YUKON;
extern const char* const pszTIMEZONE_NA_PACIFIC;
extern const char* const pszTIMEZONE_NA_MOUNTAIN;
extern const char* const pszTIMEZONE_NA_CENTRAL;
extern const char* const pszTIMEZONE_NA_EASTERN;
extern const char* const pszTIMEZONE_NA_ATLANTIC;
extern const char* const pszTIMEZONE_NA_NEWFOUNDLAND;
extern const char* const pszTIMEZONE_GMT;
extern const char* const pszTIMEZONE_WEUROPE;
extern const char* const pszTIMEZONE_CHINA;
extern const char* const pszTIMEZONE_TOKYO;
extern const char* const pszTIMEZONE_CENTRALAUSTRALIA;
extern const char* const pszTIMEZONE_EASTERNAUSTRALIA;
extern const char* const pszTIMEZONE_UTC;
extern const char* const apszTIMEZONE_TABLE[];

namespace
{
constexpr unsigned int g_uHOUR_MS = 3600000;
constexpr unsigned int g_uJULIAN_2000 = 2451545;
constexpr unsigned int g_uJULIAN_2024 = 2460311;
const char* const g_pszZONE = "STD5:30DAY4,M3.2.6/01:00:00,J305/04:00:00";

using Values = std::vector<unsigned int>;

/// What a time stores: Julian day, time of day, and whether it comes from an unset clock.
Values StoredIn(const CTime& rTime)
{
    return {rTime.m_uJulianDay, rTime.m_uTimeMs, rTime.m_bDefault};
}

/// A limit of daylight time: kind, the three words of the rule, time of day, the two Julian days.
Values ValuesOf(const CTimeZone::SLimit& rLimit)
{
    const CTimeZone::SM& rRule = rLimit.m_stRule;
    return {rLimit.m_uKind,   rRule.m_uMonth,       rRule.m_uWeek,       rRule.m_uWeekday,
            rLimit.m_uTimeMs, rLimit.m_uJulianDay1, rLimit.m_uJulianDay2};
}

/// Of g_pszZONE in 2024, from its start, and the rule of the end.
const Values g_START = {2, 3, 2, 6, g_uHOUR_MS, g_uJULIAN_2024 + 68, g_uJULIAN_2024 + 68};
const Values g_END = {1, 305, 4 * g_uHOUR_MS, g_uJULIAN_2024 + 305, g_uJULIAN_2024 + 305};

/// A limit that is a day of the year has its number in place of the month; the other two words are not defined.
Values ValuesOfDay(const CTimeZone::SLimit& rLimit)
{
    Values values = ValuesOf(rLimit);
    values.erase(values.begin() + 2, values.begin() + 4);
    return values;
}

/// The clock as it is after the start-up, and again afterwards.
class CTimeClock : public testing::Test
{
protected:
    void SetUp() override { Restart(); }
    void TearDown() override { Restart(); }
    static void Restart()
    {
        CTime::FinalizeCTime();
        ASSERT_EQ(QV_RES_OK, CTime::InitializeCTime());
    }
};
}  // namespace

TEST(CTimeZoneTable, HasTheReadyMadeZonesInTheirOrder)
{
    const char* const apszZONES[] = {pszTIMEZONE_HAWAII,
                                     pszTIMEZONE_NA_ALASKA_HAST,
                                     pszTIMEZONE_NA_ALASKA_AKST,
                                     pszTIMEZONE_NA_YUKON,
                                     pszTIMEZONE_NA_PACIFIC,
                                     pszTIMEZONE_NA_MOUNTAIN,
                                     pszTIMEZONE_NA_CENTRAL,
                                     pszTIMEZONE_NA_EASTERN,
                                     pszTIMEZONE_NA_ATLANTIC,
                                     pszTIMEZONE_NA_NEWFOUNDLAND,
                                     pszTIMEZONE_GMT,
                                     pszTIMEZONE_WEUROPE,
                                     pszTIMEZONE_CHINA,
                                     pszTIMEZONE_TOKYO,
                                     pszTIMEZONE_CENTRALAUSTRALIA,
                                     pszTIMEZONE_EASTERNAUSTRALIA,
                                     pszTIMEZONE_UTC};
    ASSERT_EQ(sizeof(apszZONES), SizeOfDatum(apszTIMEZONE_TABLE));
    for (unsigned int u = 0; u < 17; ++u) EXPECT_EQ(apszZONES[u], apszTIMEZONE_TABLE[u]) << u;
    EXPECT_STREQ("HAST10", pszTIMEZONE_HAWAII);
}

TEST(CTimeZoneLayout, HasTheSemaphoreTheTextAndBothTimesInThisOrder)
{
    static_assert(sizeof(CTimeZone::STimeZone) == 24 && sizeof(CTimeZone::SLimit) == 24);
    static_assert(sizeof(CTimeZone::SDaylightSavingTime) == 88 && sizeof(CTimeZone) == 280);
    ExpectDestructorsAlone<CTimeZone>("9CTimeZone");
    const CGuarded<CTimeZone> zone(g_pszZONE);
    ExpectBinary(1, zone->m_semAccess);
    EXPECT_EQ(0, zone->m_stDaylight.m_uYear) << "no query yet";
    zone->DetermineJulianLimits(2024);
    EXPECT_STREQ(g_pszZONE, zone->m_strTimeZone.CStr());
    EXPECT_STREQ("STD", zone->m_stStandard.m_strName.CStr());
    EXPECT_EQ(-19800000, zone->m_stStandard.m_nOffsetMs);
    EXPECT_TRUE(zone->m_stDaylight.m_bEnabled);
    EXPECT_STREQ("DAY", zone->m_stDaylight.m_stTimeZone.m_strName.CStr());
    EXPECT_EQ(-14400000, zone->m_stDaylight.m_stTimeZone.m_nOffsetMs);
    EXPECT_EQ(g_START, ValuesOf(zone->m_stDaylight.m_stStart));
    EXPECT_EQ(g_END, ValuesOfDay(zone->m_stDaylight.m_stEnd));
    EXPECT_EQ(2024, zone->m_stDaylight.m_uYear);
}

TEST(CTimeZoneLayout, LimitsHaveTwoJulianDaysEachWhereDaylightTimeSpansTheNewYear)
{
    CTimeZone zone(pszTIMEZONE_EASTERNAUSTRALIA);
    zone.DetermineJulianLimits(2024);
    const CTimeZone::SLimit& rStart = zone.m_stDaylight.m_stStart;
    const CTimeZone::SLimit& rEnd = zone.m_stDaylight.m_stEnd;
    EXPECT_EQ((Values{g_uJULIAN_2024 - 64, g_uJULIAN_2024 + 300, g_uJULIAN_2024 + 90, g_uJULIAN_2024 + 454}),
              (Values{rStart.m_uJulianDay1, rStart.m_uJulianDay2, rEnd.m_uJulianDay1, rEnd.m_uJulianDay2}));
}

TEST(CTimeZoneConstruction, ParsesCopiesAndAssigns)
{
    CTimeZone zone(g_pszZONE);
    zone.DetermineJulianLimits(2024);
    const CGuarded<CTimeZone> copy(zone);
    EXPECT_STREQ(g_pszZONE, copy->GetTimeZone());
    EXPECT_EQ(305, copy->m_stDaylight.m_stEnd.m_stRule.m_uMonth);
    EXPECT_EQ(0, copy->m_stDaylight.m_uYear);
    CTimeZone unset;
    EXPECT_STREQ("", unset.GetTimeZone());
    const CTimeZone& rResult = (unset = zone);
    EXPECT_NE(&unset, &rResult) << "assignment returns a copy";
    EXPECT_STREQ(g_pszZONE, rResult.GetTimeZone());
    EXPECT_EQ(QV_RES_OK, unset.SetTimeZone("UTC0"));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, unset.SetTimeZone("EST5EDT"));
    EXPECT_STREQ("UTC0", unset.m_strTimeZone.CStr());
}

TEST(CTimeZoneConstruction, ServesADerivedClassThatIsDeletedThroughItsBase)
{
    EXPECT_STREQ("", CDerived<CTimeZone>().GetTimeZone());
    EXPECT_STREQ("UTC0", CDerived<CTimeZone>("UTC0").GetTimeZone());
    CDerived<CTimeZone>::ms_uDestroyed = 0;
    std::unique_ptr<CTimeZone> pCopy = std::make_unique<CDerived<CTimeZone>>(CTimeZone("UTC0"));
    EXPECT_STREQ("UTC0", pCopy->GetTimeZone());
    pCopy.reset();
    EXPECT_EQ(1u, CDerived<CTimeZone>::ms_uDestroyed);
}

TEST(CTimeZoneQueries, AnswerInBothForms)
{
    const CTimeZone zone(pszTIMEZONE_NA_EASTERN);
    EXPECT_TRUE(zone.IsDayLightSavingInEffect(g_uJULIAN_2024 + 69, 7 * g_uHOUR_MS, true));
    EXPECT_FALSE(zone.IsDayLightSavingInEffect(g_uJULIAN_2024 + 69, 7 * g_uHOUR_MS - 1, true));
    EXPECT_FALSE(zone.IsDayLightSavingInEffect(2024, 3, 10, 1, 59, 59, 999, false));
    EXPECT_TRUE(zone.IsDayLightSavingInEffect(2024, 3, 10, 2, 0, 0, 0, false));
    EXPECT_TRUE(CTimeZone::IsLeapYear(2000));
    EXPECT_FALSE(CTimeZone::IsLeapYear(1900));

    unsigned int uJulianDay = g_uJULIAN_2024, uTimeMs = g_uHOUR_MS;
    zone.ConvertFromUTCToLocale(uJulianDay, uTimeMs);
    EXPECT_EQ((Values{g_uJULIAN_2024 - 1, 20 * g_uHOUR_MS}), (Values{uJulianDay, uTimeMs}));
    zone.ConvertFromLocaleToUTC(uJulianDay, uTimeMs);
    EXPECT_EQ((Values{g_uJULIAN_2024, g_uHOUR_MS}), (Values{uJulianDay, uTimeMs}));
    unsigned short au[7] = {2024, 7, 1, 3, 4, 3, 2006};
    zone.ConvertFromUTCToLocale(au[0], au[1], au[2], au[3], au[4], au[5], au[6]);
    EXPECT_EQ((Values{2024, 6, 30, 23, 4, 5, 6}), Values(au, au + 7));
    zone.ConvertFromLocaleToUTC(au[0], au[1], au[2], au[3], au[4], au[5], au[6]);
    EXPECT_EQ((Values{2024, 7, 1, 3, 4, 5, 6}), Values(au, au + 7));
}

TEST(CTimeZoneHelpers, GiveTheJulianDayOfARule)
{
    CTimeZone zone;
    EXPECT_EQ(g_uJULIAN_2024 + 59, zone.GetJulianDateForJ0(2024, 59));
    EXPECT_EQ(g_uJULIAN_2024 + 60, zone.GetJulianDateForJ1(2024, 60));
    CTimeZone::SM stRule = {3, 2, 0};
    EXPECT_EQ(g_uJULIAN_2024 + 69, zone.GetJulianDateForM(2024, stRule));
    CTimeZone::SLimit stLimit = {0, stRule, 0, 0, 0};
    for (const unsigned int uDay : {3u, 2u, 69u})
    {
        EXPECT_EQ(g_uJULIAN_2024 + uDay, zone.GetJulianDate(2024, stLimit)) << stLimit.m_uKind;
        ++stLimit.m_uKind;
    }
}

TEST(CTimeZoneHelpers, RecordsAreAssignedMemberByMember)
{
    CTimeZone source(g_pszZONE);
    source.DetermineJulianLimits(2024);
    CTimeZone zone("UTC0");
    EXPECT_EQ(&zone.m_stStandard, &(zone.m_stStandard = source.m_stStandard));
    EXPECT_STREQ("STD", zone.m_stStandard.m_strName.CStr());
    EXPECT_EQ(-19800000, zone.m_stStandard.m_nOffsetMs);
    EXPECT_EQ(&zone.m_stDaylight, &(zone.m_stDaylight = source.m_stDaylight));
    EXPECT_TRUE(zone.m_stDaylight.m_bEnabled);
    EXPECT_STREQ("DAY", zone.m_stDaylight.m_stTimeZone.m_strName.CStr());
    EXPECT_EQ(-14400000, zone.m_stDaylight.m_stTimeZone.m_nOffsetMs);
    EXPECT_EQ(g_START, ValuesOf(zone.m_stDaylight.m_stStart));
    EXPECT_EQ(g_END, ValuesOfDay(zone.m_stDaylight.m_stEnd));
    EXPECT_EQ(2024, zone.m_stDaylight.m_uYear);
}

TEST(CTimeLayout, ZoneComesFirstThenDayTimeAndFlag)
{
    static_assert(sizeof(CTime) == 304);
    ExpectDestructorsAlone<CTime>("5CTime");
    const CGuarded<CTime> time;
    EXPECT_EQ("CTimeZone::~CTimeZone()", FunctionInSlot(&time->m_timeZone, 0));
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, time->m_timeZone.m_strTimeZone.CStr());
    EXPECT_TRUE(time->m_bDefault) << "from a clock that was never set";
    time->SetJulianDateAndTime(g_uJULIAN_2024, 4711, true);
    EXPECT_EQ((Values{g_uJULIAN_2024, 4711, 0}), StoredIn(*time));
}

TEST_F(CTimeClock, StaticsLiveFromInitialiserToFinaliser)
{
    EXPECT_TRUE(HasItsSize(CTime::ms_uJulianDateDay));
    EXPECT_TRUE(HasItsSize(CTime::ms_uJulianTimeMs));
    EXPECT_TRUE(HasItsSize(CTime::ms_uLastSynchronizationTimeMs));
    EXPECT_TRUE(HasItsSize(CTime::ms_bDefaultDateAndTime));
    EXPECT_EQ(sizeof(CTimeZone), SizeOfDatum(CTime::ms_auTimeZone));
    EXPECT_EQ(sizeof(CBinarySemaphore), SizeOfDatum(CTime::ms_auInternalAccessProtection));
    for (const SModuleFunctions& rPair : {SModuleFunctions{InitializeCTime, FinalizeCTime},
                                          SModuleFunctions{CTime::InitializeCTime, CTime::FinalizeCTime}})
    {
        CTime time;
        time.SetJulianDateAndTime(g_uJULIAN_2024, 4711, true);
        CTime::SetSystemTime(time);
        EXPECT_TRUE(CTime::SetSystemTimeZone("UTC0"));
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CTime::ms_pTimeZone);
        EXPECT_EQ(nullptr, CTime::ms_psemInternalAccessProtection);
        const unsigned long uBefore = CTimer::GetSystemUpTimeMs();
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        EXPECT_EQ((Values{g_uJULIAN_2000, 0, 1}),
                  (Values{CTime::ms_uJulianDateDay, CTime::ms_uJulianTimeMs, CTime::ms_bDefaultDateAndTime}));
        EXPECT_LE(uBefore, CTime::ms_uLastSynchronizationTimeMs);
        EXPECT_EQ(reinterpret_cast<unsigned char*>(CTime::ms_pTimeZone), CTime::ms_auTimeZone);
        EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, CTime::ms_pTimeZone->m_strTimeZone.CStr());
        EXPECT_EQ(reinterpret_cast<unsigned char*>(CTime::ms_psemInternalAccessProtection),
                  CTime::ms_auInternalAccessProtection);
        ExpectBinary(1, *CTime::ms_psemInternalAccessProtection);
    }
}

TEST_F(CTimeClock, RunsFromTheStaticsWithTheUpTime)
{
    CTime time;
    time.SetJulianDateAndTime(g_uJULIAN_2024, 12 * g_uHOUR_MS, true);
    CTime::SetSystemTime(time);
    EXPECT_EQ((Values{g_uJULIAN_2024, 12 * g_uHOUR_MS, 0}),
              (Values{CTime::ms_uJulianDateDay, CTime::ms_uJulianTimeMs, CTime::ms_bDefaultDateAndTime}));
    CTime::ms_uLastSynchronizationTimeMs = CTimer::GetSystemUpTimeMs() - 30UL * g_uHOUR_MS;
    unsigned int uJulianDay = 0, uTimeMs = 0;
    bool bDefault = true;
    CTime::PinTime(uJulianDay, uTimeMs, bDefault);
    EXPECT_EQ((Values{g_uJULIAN_2024 + 1, 18, 0}), (Values{uJulianDay, uTimeMs / g_uHOUR_MS, bDefault}));
    CTime::ms_bDefaultDateAndTime = true;
    time.PinTime();
    EXPECT_EQ((Values{g_uJULIAN_2024 + 1, 18, 1}),
              (Values{time.m_uJulianDay, time.m_uTimeMs / g_uHOUR_MS, time.m_bDefault}));
}

TEST_F(CTimeClock, AnswersForTodayInTheSystemZone)
{
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, CTime::GetSystemTimeZone().CStr());
    EXPECT_FALSE(CTime::SetSystemTimeZone("EST"));
    EXPECT_TRUE(CTime::SetSystemTimeZone(pszTIMEZONE_TOKYO));
    EXPECT_STREQ(pszTIMEZONE_TOKYO, CTime().m_timeZone.GetTimeZone());
    CTime today;
    today.SetDateAndTime(2024, 7, 1, 20, 0, 0, 0, true);
    CTime::SetSystemTime(today);
    CTime other;
    other.SetDateAndTime(2024, 1, 3, 0, 0, 0, 0, true);
    EXPECT_TRUE(other.SetTimeZone(pszTIMEZONE_NA_EASTERN));
    EXPECT_EQ(1u, other.GetDayOfWeek(true));
    EXPECT_EQ(2u, other.GetDayOfWeek(false));
    EXPECT_TRUE(other.IsDayLightSavingInEffect());

    tm stTime;
    EXPECT_TRUE(CTime::GetGmtTime(stTime));
    EXPECT_EQ((std::vector<int>{20, 1, 6, 124, 182, 2, 0}),
              (std::vector<int>{stTime.tm_hour, stTime.tm_mday, stTime.tm_mon, stTime.tm_year, stTime.tm_yday,
                                stTime.tm_wday, stTime.tm_isdst}));
}

TEST(CTimeConstruction, CopyHasTheMomentInAnUnsetZoneAndServesADerivedClass)
{
    CDerived<CTime> source;
    source.SetJulianDateAndTime(g_uJULIAN_2024, 4711, true);
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, source.m_timeZone.GetTimeZone());
    const CGuarded<CTime> copy(source);
    EXPECT_EQ((Values{g_uJULIAN_2024, 4711, 0}), StoredIn(*copy));
    EXPECT_STREQ("", copy->m_timeZone.GetTimeZone());
    CDerived<CTime>::ms_uDestroyed = 0;
    std::unique_ptr<CTime> pCopy = std::make_unique<CDerived<CTime>>(static_cast<const CTime&>(source));
    EXPECT_EQ((Values{g_uJULIAN_2024, 4711, 0}), StoredIn(*pCopy));
    pCopy.reset();
    EXPECT_EQ(1u, CDerived<CTime>::ms_uDestroyed);
}

TEST(CTimeValues, AreSetAndReadInUtcAndLocalTime)
{
    CTime time;
    ASSERT_TRUE(time.SetTimeZone(pszTIMEZONE_NA_EASTERN));
    time.SetDateAndTime(2024, 1, 1, 22, 3, 4, 5, false);
    EXPECT_EQ((Values{g_uJULIAN_2024 + 1, 3 * g_uHOUR_MS + 184005, 0}), StoredIn(time));

    unsigned short au[7] = {};
    EXPECT_TRUE(time.GetDateAndTime(au[0], au[1], au[2], au[3], au[4], au[5], au[6], false));
    EXPECT_EQ((Values{2024, 1, 1, 22, 3, 4, 5}), Values(au, au + 7));
    EXPECT_TRUE(time.GetDate(au[0], au[1], au[2], true));
    EXPECT_TRUE(time.GetTime(au[3], au[4], au[5], au[6], true));
    EXPECT_EQ((Values{2024, 1, 2, 3, 3, 4, 5}), Values(au, au + 7));
    unsigned int uJulianDay = 0, uTimeMs = 0;
    EXPECT_TRUE(time.GetJulianDateAndTime(uJulianDay, uTimeMs, false));
    EXPECT_EQ((Values{g_uJULIAN_2024, 22 * g_uHOUR_MS + 184005}), (Values{uJulianDay, uTimeMs}));

    time.SetDate(2024, 1, 3, false);
    EXPECT_EQ((Values{g_uJULIAN_2024 + 3, 3 * g_uHOUR_MS + 184005, 0}), StoredIn(time));
    time.SetTime(25, 0, 0, 0, true);
    EXPECT_EQ((Values{g_uJULIAN_2024 + 3, 25 * g_uHOUR_MS, 0}), StoredIn(time));
    time.SetJulianDateAndTime(g_uJULIAN_2024, 0, true);
    EXPECT_TRUE(time.IsLeapYear(true));
    EXPECT_FALSE(time.IsLeapYear(false)) << "still the year before";
}

TEST(CTimeCalendar, OutOfLineFormsConvertBothWays)
{
    EXPECT_EQ(g_uJULIAN_2000, CTime::GetJulianDate(2000, 1, 1));
    unsigned short uYear = 0, uMonth = 0, uDay = 0;
    CTime::GetGregorianDate(g_uJULIAN_2024 + 59, &uYear, &uMonth, &uDay);
    EXPECT_EQ((Values{2024, 2, 29}), (Values{uYear, uMonth, uDay}));
}
