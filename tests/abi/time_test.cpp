#include <pthread.h>
#include <semaphore.h>

#include <ctime>
#include <memory>

#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/module_functions.h"
#include "tests/abi/old_semaphore.h"
#include "tests/abi/old_string.h"
#include "tests/abi/old_timer.h"
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
constexpr unsigned int g_uHourMs = 3600000;
constexpr unsigned int g_uJulian2000 = 2451545;
constexpr unsigned int g_uJulian2024 = 2460311;
const char* const g_pszZone = "STD5:30DAY4,M3.2.0/01:00:00,J305/04:00:00";

using Values = std::vector<unsigned int>;

Values StoredIn(const CTime& rTime)
{
    return {rTime.m_uJulianDay, rTime.m_uTimeMs, rTime.m_bDefault};
}

const char* TextAt(const CTimeZone& rZone, std::size_t uOffset)
{
    return reinterpret_cast<const CString*>(reinterpret_cast<const unsigned char*>(&rZone) + uOffset)->CStr();
}

void ExpectUnsetClock()
{
    EXPECT_EQ(g_uJulian2000, CTime::ms_uJulianDateDay);
    EXPECT_EQ(0u, CTime::ms_uJulianTimeMs);
    EXPECT_TRUE(CTime::ms_bDefaultDateAndTime);
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, CTime::ms_pTimeZone->m_strTimeZone.CStr());
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
    const struct
    {
        const char* pszSymbol;
        const char* pszZone;
    } aZones[] = {
        {pszTIMEZONE_HAWAII, "HAST10"},
        {pszTIMEZONE_NA_ALASKA_HAST, "HAST10HADT9,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_ALASKA_AKST, "AKST9AKDT8,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_YUKON, "YST9YDT8,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_PACIFIC, "PST8PDT7,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_MOUNTAIN, "MST7MDT6,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_CENTRAL, "CST6CDT5,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_EASTERN, "EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_ATLANTIC, "AST4ADT3,M3.2.0/02:00:00,M11.1.0/02:00:00"},
        {pszTIMEZONE_NA_NEWFOUNDLAND, "NST3:30NDT2:30,M3.2.0/01:00:00,M11.1.0/01:00:00"},
        {pszTIMEZONE_GMT, "GMT0DMT-1,M3.5.0/01:00:00,M10.5.0/02:00:00"},
        {pszTIMEZONE_WEUROPE, "WEST-1DWEST-2,M3.5.0/02:00:00,M10.5.0/03:00:00"},
        {pszTIMEZONE_CHINA, "CST-8"},
        {pszTIMEZONE_TOKYO, "TST-9"},
        {pszTIMEZONE_CENTRALAUSTRALIA, "CAUST-9:30DCAUST-10:30,M10.5.0/02:00:00,M3.5.0/02:00:00"},
        {pszTIMEZONE_EASTERNAUSTRALIA, "AUSEST-10AUSDST-11,M10.5.0/02:00:00,M3.5.0/02:00:00"},
        {pszTIMEZONE_UTC, "UTC0"},
    };
    EXPECT_EQ(17 * sizeof(char*), SizeOfDatum(apszTIMEZONE_TABLE));
    for (unsigned int uIndex = 0; uIndex < 17; ++uIndex)
    {
        EXPECT_STREQ(aZones[uIndex].pszZone, aZones[uIndex].pszSymbol);
        EXPECT_EQ(aZones[uIndex].pszSymbol, apszTIMEZONE_TABLE[uIndex]) << uIndex;
    }
}

TEST(CTimeZoneLayout, HasTheSemaphoreTheTextAndBothTimesInThisOrder)
{
    static_assert(sizeof(CBinarySemaphore) == 144);
    static_assert(sizeof(CTimeZone::STimeZone) == 24);
    static_assert(sizeof(CTimeZone::SLimit) == 24);
    static_assert(sizeof(CTimeZone::SDaylightSavingTime) == 88);
    static_assert(sizeof(CTimeZone) == 280);
    CTimeZone zone(g_pszZone);
    zone.DetermineJulianLimits(2024);
    const void* const pvZone = &zone;
    EXPECT_EQ("CSemaphore::~CSemaphore()", FunctionInSlot(&zone.m_semAccess, 0));
    EXPECT_EQ(1u, LoadAt<unsigned int>(pvZone, 16)) << "semaphore: free";
    EXPECT_EQ(1u, LoadAt<unsigned int>(pvZone, 20)) << "semaphore: binary";
    EXPECT_TRUE(LoadAt<bool>(pvZone, 144)) << "semaphore: timed wait";
    EXPECT_STREQ(g_pszZone, TextAt(zone, 152));
    EXPECT_STREQ("STD", TextAt(zone, 168));
    EXPECT_EQ(-19800000, LoadAt<int>(pvZone, 184)) << "standard offset";
    EXPECT_TRUE(LoadAt<bool>(pvZone, 192)) << "daylight time enabled";
    EXPECT_STREQ("DAY", TextAt(zone, 200));
    EXPECT_EQ(-14400000, LoadAt<int>(pvZone, 216)) << "daylight offset";

    EXPECT_EQ(2u, LoadAt<unsigned int>(pvZone, 224)) << "start: kind";
    EXPECT_EQ(3, LoadAt<unsigned short>(pvZone, 228)) << "start: month";
    EXPECT_EQ(2, LoadAt<unsigned short>(pvZone, 230)) << "start: week";
    EXPECT_EQ(0, LoadAt<unsigned short>(pvZone, 232)) << "start: weekday";
    EXPECT_EQ(g_uHourMs, LoadAt<unsigned int>(pvZone, 236)) << "start: time";
    EXPECT_EQ(g_uJulian2024 + 69, LoadAt<unsigned int>(pvZone, 240)) << "start: first Julian day";
    EXPECT_EQ(g_uJulian2024 + 69, LoadAt<unsigned int>(pvZone, 244)) << "start: second Julian day";

    EXPECT_EQ(1u, LoadAt<unsigned int>(pvZone, 248)) << "end: kind";
    EXPECT_EQ(305, LoadAt<unsigned short>(pvZone, 252)) << "end: day";
    EXPECT_EQ(4 * g_uHourMs, LoadAt<unsigned int>(pvZone, 260)) << "end: time";
    EXPECT_EQ(g_uJulian2024 + 305, LoadAt<unsigned int>(pvZone, 264)) << "end: first Julian day";
    EXPECT_EQ(g_uJulian2024 + 305, LoadAt<unsigned int>(pvZone, 268)) << "end: second Julian day";
    EXPECT_EQ(2024, LoadAt<unsigned short>(pvZone, 272)) << "year of the limits";
    EXPECT_EQ(0, OffsetToTop(&zone));
}

TEST(CTimeZoneLayout, LimitsHaveTwoJulianDaysEachWhereDaylightTimeSpansTheNewYear)
{
    CTimeZone zone(pszTIMEZONE_EASTERNAUSTRALIA);
    zone.DetermineJulianLimits(2024);
    EXPECT_EQ((Values{g_uJulian2024 - 64, g_uJulian2024 + 300}),
              (Values{zone.m_stDaylight.m_stStart.m_uJulianDay1, zone.m_stDaylight.m_stStart.m_uJulianDay2}));
    EXPECT_EQ((Values{g_uJulian2024 + 90, g_uJulian2024 + 366 + 88}),
              (Values{zone.m_stDaylight.m_stEnd.m_uJulianDay1, zone.m_stDaylight.m_stEnd.m_uJulianDay2}));
}

TEST(CTimeZoneLayout, RuleHasMonthWeekAndWeekday)
{
    const CTimeZone zone("STD5DAY,M3.2.6,7/03:00:00");
    EXPECT_EQ((std::vector<unsigned char>{3, 0, 2, 0, 6, 0}), BytesAt(&zone, 228, 6));
    EXPECT_EQ(0u, zone.m_stDaylight.m_stEnd.m_uKind);
    EXPECT_EQ(7, zone.m_stDaylight.m_stEnd.m_stRule.m_uMonth);
    EXPECT_EQ(0, zone.m_stDaylight.m_uYear) << "no query yet";
    EXPECT_EQ(-4 * 3600000, zone.m_stDaylight.m_stTimeZone.m_nOffsetMs);
}

TEST(CTimeZoneLayout, DestructorIsTheOnlyVirtualOperation)
{
    const CTimeZone zone;
    EXPECT_TRUE(HasDestructorsAlone(&zone, "9CTimeZone"));
}

TEST(CTimeZoneConstruction, ParsesCopiesAndAssigns)
{
    const CTimeZone unset;
    EXPECT_STREQ("", unset.GetTimeZone());
    CTimeZone zone(g_pszZone);
    EXPECT_STREQ(g_pszZone, zone.GetTimeZone());
    zone.DetermineJulianLimits(2024);
    const CTimeZone copy(zone);
    EXPECT_STREQ(g_pszZone, copy.m_strTimeZone.CStr());
    EXPECT_EQ(305, copy.m_stDaylight.m_stEnd.m_stRule.m_uMonth);
    EXPECT_EQ(0, copy.m_stDaylight.m_uYear);
}

TEST(CTimeZoneConstruction, AssignmentReturnsACopy)
{
    const CTimeZone source(g_pszZone);
    CTimeZone zone;
    const CTimeZone& rResult = (zone = source);
    EXPECT_NE(&zone, &rResult);
    EXPECT_STREQ(g_pszZone, zone.GetTimeZone());
    EXPECT_STREQ(g_pszZone, rResult.GetTimeZone());
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
    pCopy = std::make_unique<CTimeZone>("UTC0");
    pCopy.reset();
}

TEST(CTimeZoneSetting, RefusesWhatIsMalformedAndKeepsTheZone)
{
    CTimeZone zone;
    EXPECT_EQ(QV_RES_OK, zone.SetTimeZone("UTC0"));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, zone.SetTimeZone("EST5EDT"));
    EXPECT_STREQ("UTC0", zone.m_strTimeZone.CStr());
    EXPECT_FALSE(zone.m_stDaylight.m_bEnabled);
}

TEST(CTimeZoneQueries, TellDaylightTimeInBothForms)
{
    const CTimeZone zone(pszTIMEZONE_NA_EASTERN);
    EXPECT_TRUE(zone.IsDayLightSavingInEffect(g_uJulian2024 + 69, 7 * g_uHourMs, true));
    EXPECT_FALSE(zone.IsDayLightSavingInEffect(g_uJulian2024 + 69, 7 * g_uHourMs - 1, true));
    EXPECT_FALSE(zone.IsDayLightSavingInEffect(2024, 3, 10, 1, 59, 59, 999, false));
    EXPECT_TRUE(zone.IsDayLightSavingInEffect(2024, 3, 10, 2, 0, 0, 0, false));
    EXPECT_TRUE(CTimeZone::IsLeapYear(2000));
    EXPECT_FALSE(CTimeZone::IsLeapYear(1900));
}

TEST(CTimeZoneConversion, ChangesItsArgumentsInBothForms)
{
    const CTimeZone zone(pszTIMEZONE_NA_EASTERN);
    unsigned int uJulianDay = g_uJulian2024;
    unsigned int uTimeMs = g_uHourMs;
    zone.ConvertFromUTCToLocale(uJulianDay, uTimeMs);
    EXPECT_EQ((Values{g_uJulian2024 - 1, 20 * g_uHourMs}), (Values{uJulianDay, uTimeMs}));
    zone.ConvertFromLocaleToUTC(uJulianDay, uTimeMs);
    EXPECT_EQ((Values{g_uJulian2024, g_uHourMs}), (Values{uJulianDay, uTimeMs}));

    unsigned short au[7] = {2024, 7, 1, 3, 4, 5, 6};
    zone.ConvertFromUTCToLocale(au[0], au[1], au[2], au[3], au[4], au[5], au[6]);
    EXPECT_EQ((Values{2024, 6, 30, 23, 4, 5, 6}), Values(au, au + 7));
    zone.ConvertFromLocaleToUTC(au[0], au[1], au[2], au[3], au[4], au[5], au[6]);
    EXPECT_EQ((Values{2024, 7, 1, 3, 4, 5, 6}), Values(au, au + 7));
}

TEST(CTimeZoneHelpers, GiveTheJulianDayOfARule)
{
    CTimeZone zone;
    EXPECT_EQ(g_uJulian2024 + 59, zone.GetJulianDateForJ0(2024, 59));
    EXPECT_EQ(g_uJulian2024 + 60, zone.GetJulianDateForJ1(2024, 60));
    EXPECT_EQ(g_uJulian2024 + 58, zone.GetJulianDateForJ1(2024, 59));
    CTimeZone::SM stRule = {3, 2, 0};
    EXPECT_EQ(g_uJulian2024 + 69, zone.GetJulianDateForM(2024, stRule));
    const unsigned int auWant[] = {g_uJulian2024 + 60, g_uJulian2024 + 60, g_uJulian2024 + 69};
    const CTimeZone::SM aRules[] = {{60, 0, 0}, {60, 0, 0}, {3, 2, 0}};
    for (unsigned int uKind = 0; uKind < 3; ++uKind)
    {
        CTimeZone::SLimit stLimit = {uKind, aRules[uKind], 0, 0, 0};
        EXPECT_EQ(auWant[uKind], zone.GetJulianDate(2024, stLimit)) << uKind;
    }
}

TEST(CTimeZoneHelpers, RecordsAreAssignedMemberByMember)
{
    CTimeZone source(g_pszZone);
    source.DetermineJulianLimits(2024);
    CTimeZone zone("UTC0");
    EXPECT_EQ(&zone.m_stStandard, &(zone.m_stStandard = source.m_stStandard));
    EXPECT_STREQ("STD", zone.m_stStandard.m_strName.CStr());
    EXPECT_EQ(-19800000, zone.m_stStandard.m_nOffsetMs);
    EXPECT_EQ(&zone.m_stDaylight, &(zone.m_stDaylight = source.m_stDaylight));
    EXPECT_TRUE(zone.m_stDaylight.m_bEnabled);
    EXPECT_STREQ("DAY", zone.m_stDaylight.m_stTimeZone.m_strName.CStr());
    EXPECT_EQ(BytesAt(&source, 216, 4), BytesAt(&zone, 216, 4)) << "daylight offset";
    EXPECT_EQ(BytesAt(&source, 224, 10), BytesAt(&zone, 224, 10)) << "start: kind and rule";
    EXPECT_EQ(BytesAt(&source, 236, 22), BytesAt(&zone, 236, 22)) << "start: time and days; end: kind and rule";
    EXPECT_EQ(BytesAt(&source, 260, 14), BytesAt(&zone, 260, 14)) << "end: time and days; year";
}

TEST(CTimeLayout, ZoneComesFirstThenDayTimeAndFlag)
{
    static_assert(sizeof(CTime) == 304);
    CTime time;
    EXPECT_EQ("CTimeZone::~CTimeZone()", FunctionInSlot(&time.m_timeZone, 0));
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, TextAt(time.m_timeZone, 152));
    EXPECT_TRUE(LoadAt<bool>(&time, 296)) << "from a clock that was never set";
    time.SetJulianDateAndTime(g_uJulian2024, 4711, true);
    EXPECT_EQ(g_uJulian2024, LoadAt<unsigned int>(&time, 288));
    EXPECT_EQ(4711u, LoadAt<unsigned int>(&time, 292));
    EXPECT_FALSE(LoadAt<bool>(&time, 296));
    EXPECT_EQ(0, OffsetToTop(&time));
}

TEST(CTimeLayout, DestructorIsTheOnlyVirtualOperation)
{
    const CTime time;
    EXPECT_TRUE(HasDestructorsAlone(&time, "5CTime"));
}

TEST_F(CTimeClock, StaticsHaveTheirWidthsAndReachTheirStorage)
{
    EXPECT_TRUE(HasItsSize(CTime::ms_uJulianDateDay));
    EXPECT_TRUE(HasItsSize(CTime::ms_uJulianTimeMs));
    EXPECT_TRUE(HasItsSize(CTime::ms_uLastSynchronizationTimeMs));
    EXPECT_TRUE(HasItsSize(CTime::ms_bDefaultDateAndTime));
    EXPECT_EQ(sizeof(CTimeZone), SizeOfDatum(CTime::ms_auTimeZone));
    EXPECT_EQ(sizeof(CBinarySemaphore), SizeOfDatum(CTime::ms_auInternalAccessProtection));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(CTime::ms_pTimeZone), CTime::ms_auTimeZone);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(CTime::ms_psemInternalAccessProtection),
              CTime::ms_auInternalAccessProtection);
    EXPECT_EQ(1u, CTime::ms_psemInternalAccessProtection->m_sem.m_uCount);
    EXPECT_TRUE(CTime::ms_psemInternalAccessProtection->m_sem.m_bTimedWait);
}

TEST_F(CTimeClock, ModuleFunctionsTakeItDownAndBringItUp)
{
    static constexpr SModuleFunctions aPairs[] = {{&InitializeCTime, &FinalizeCTime},
                                                  {&CTime::InitializeCTime, &CTime::FinalizeCTime}};
    for (const SModuleFunctions& rPair : aPairs)
    {
        CTime time;
        time.SetJulianDateAndTime(g_uJulian2024, 4711, true);
        CTime::SetSystemTime(time);
        EXPECT_TRUE(CTime::SetSystemTimeZone("UTC0"));
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CTime::ms_pTimeZone);
        EXPECT_EQ(nullptr, CTime::ms_psemInternalAccessProtection);
        const unsigned long uBefore = CTimer::GetSystemUpTimeMs();
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        ExpectUnsetClock();
        EXPECT_LE(uBefore, CTime::ms_uLastSynchronizationTimeMs);
    }
}

TEST_F(CTimeClock, IsSetAndRead)
{
    CTime time;
    time.SetJulianDateAndTime(g_uJulian2024, 4711, true);
    const unsigned long uBefore = CTimer::GetSystemUpTimeMs();
    CTime::SetSystemTime(time);
    EXPECT_EQ(g_uJulian2024, CTime::ms_uJulianDateDay);
    EXPECT_EQ(4711u, CTime::ms_uJulianTimeMs);
    EXPECT_LE(uBefore, CTime::ms_uLastSynchronizationTimeMs);
    EXPECT_FALSE(CTime::ms_bDefaultDateAndTime);
}

TEST_F(CTimeClock, RunsFromTheStaticsWithTheUpTime)
{
    CTime::ms_uJulianDateDay = g_uJulian2024;
    CTime::ms_uJulianTimeMs = 12 * g_uHourMs;
    CTime::ms_bDefaultDateAndTime = false;
    CTime::ms_uLastSynchronizationTimeMs = CTimer::GetSystemUpTimeMs() - 30UL * g_uHourMs;
    unsigned int uJulianDay = 0;
    unsigned int uTimeMs = 0;
    bool bDefault = true;
    CTime::PinTime(uJulianDay, uTimeMs, bDefault);
    EXPECT_EQ(g_uJulian2024 + 1, uJulianDay);
    EXPECT_EQ(18u, uTimeMs / g_uHourMs);
    EXPECT_FALSE(bDefault);

    CTime time;
    time.SetJulianDateAndTime(0, 0, true);
    CTime::ms_bDefaultDateAndTime = true;
    time.PinTime();
    EXPECT_EQ((Values{g_uJulian2024 + 1, 18, 1}),
              (Values{time.m_uJulianDay, time.m_uTimeMs / g_uHourMs, time.m_bDefault}));
}

TEST_F(CTimeClock, SystemZoneIsGivenToNewTimes)
{
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, CTime::GetSystemTimeZone().CStr());
    EXPECT_FALSE(CTime::SetSystemTimeZone("EST"));
    EXPECT_TRUE(CTime::SetSystemTimeZone(pszTIMEZONE_TOKYO));
    EXPECT_STREQ(pszTIMEZONE_TOKYO, CTime::ms_pTimeZone->GetTimeZone());
    EXPECT_STREQ(pszTIMEZONE_TOKYO, CTime().m_timeZone.GetTimeZone());
}

TEST_F(CTimeClock, AnswersForTodayAndNotForTheObject)
{
    CTime::SetSystemTimeZone(pszTIMEZONE_TOKYO);
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
    EXPECT_EQ(20, stTime.tm_hour);
    EXPECT_EQ(1, stTime.tm_mday);
    EXPECT_EQ(6, stTime.tm_mon);
    EXPECT_EQ(124, stTime.tm_year);
    EXPECT_EQ(182, stTime.tm_yday);
    EXPECT_EQ(2, stTime.tm_wday) << "of the local date";
    EXPECT_EQ(0, stTime.tm_isdst);
}

TEST_F(CTimeClock, TimesThatWereReadFromItUnsetSaySo)
{
    unsigned int uJulianDay = 0;
    unsigned int uTimeMs = 0;
    EXPECT_FALSE(CTime().GetJulianDateAndTime(uJulianDay, uTimeMs, true));
    EXPECT_EQ(g_uJulian2000, uJulianDay);
    tm stTime;
    EXPECT_FALSE(CTime::GetGmtTime(stTime));
    EXPECT_EQ(100, stTime.tm_year);
}

TEST(CTimeConstruction, CopyHasTheMomentInAnUnsetZone)
{
    CTime source;
    source.SetJulianDateAndTime(g_uJulian2024, 4711, true);
    const CTime copy(source);
    EXPECT_EQ((Values{g_uJulian2024, 4711, 0}), StoredIn(copy));
    EXPECT_STREQ("", copy.m_timeZone.GetTimeZone());
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, source.m_timeZone.GetTimeZone());
}

TEST(CTimeConstruction, ServesADerivedClassThatIsDeletedThroughItsBase)
{
    const CDerived<CTime> now;
    EXPECT_STREQ(pszTIMEZONE_NA_EASTERN, now.m_timeZone.GetTimeZone());
    CDerived<CTime>::ms_uDestroyed = 0;
    std::unique_ptr<CTime> pCopy = std::make_unique<CDerived<CTime>>(static_cast<const CTime&>(now));
    EXPECT_EQ(StoredIn(now), StoredIn(*pCopy));
    pCopy.reset();
    EXPECT_EQ(1u, CDerived<CTime>::ms_uDestroyed);
    pCopy = std::make_unique<CTime>();
    pCopy.reset();
}

TEST(CTimeValues, AreSetAndReadInUtcAndLocalTime)
{
    CTime time;
    ASSERT_TRUE(time.SetTimeZone(pszTIMEZONE_NA_EASTERN));
    time.SetDateAndTime(2024, 1, 1, 22, 3, 4, 5, false);
    EXPECT_EQ((Values{g_uJulian2024 + 1, 3 * g_uHourMs + 184005, 0}), StoredIn(time));

    unsigned short au[7] = {};
    EXPECT_TRUE(time.GetDateAndTime(au[0], au[1], au[2], au[3], au[4], au[5], au[6], false));
    EXPECT_EQ((Values{2024, 1, 1, 22, 3, 4, 5}), Values(au, au + 7));
    EXPECT_TRUE(time.GetDate(au[0], au[1], au[2], true));
    EXPECT_TRUE(time.GetTime(au[3], au[4], au[5], au[6], true));
    EXPECT_EQ((Values{2024, 1, 2, 3, 3, 4, 5}), Values(au, au + 7));
    unsigned int uJulianDay = 0;
    unsigned int uTimeMs = 0;
    EXPECT_TRUE(time.GetJulianDateAndTime(uJulianDay, uTimeMs, false));
    EXPECT_EQ((Values{g_uJulian2024, 22 * g_uHourMs + 184005}), (Values{uJulianDay, uTimeMs}));

    time.SetDate(2024, 1, 3, false);
    EXPECT_EQ((Values{g_uJulian2024 + 3, 3 * g_uHourMs + 184005, 0}), StoredIn(time));
    time.SetTime(25, 0, 0, 0, true);
    EXPECT_EQ((Values{g_uJulian2024 + 3, 25 * g_uHourMs, 0}), StoredIn(time));
    time.SetJulianDateAndTime(g_uJulian2024, 0, false);
    EXPECT_EQ((Values{g_uJulian2024, 5 * g_uHourMs, 0}), StoredIn(time));
    EXPECT_FALSE(time.SetTimeZone("EST"));
}

TEST(CTimeValues, LeapYearIsOfTheDateAskedFor)
{
    CTime time;
    ASSERT_TRUE(time.SetTimeZone(pszTIMEZONE_NA_EASTERN));
    time.SetJulianDateAndTime(g_uJulian2024, 0, true);
    EXPECT_TRUE(time.IsLeapYear(true));
    EXPECT_FALSE(time.IsLeapYear(false));
}

TEST(CTimeCalendar, OutOfLineFormsConvertBothWays)
{
    EXPECT_EQ(g_uJulian2000, CTime::GetJulianDate(2000, 1, 1));
    EXPECT_EQ(2440588u, CTime::GetJulianDate(1970, 1, 1));
    unsigned short uYear = 0;
    unsigned short uMonth = 0;
    unsigned short uDay = 0;
    CTime::GetGregorianDate(g_uJulian2024 + 59, &uYear, &uMonth, &uDay);
    EXPECT_EQ((Values{2024, 2, 29}), (Values{uYear, uMonth, uDay}));
    CTime::GetGregorianDate(g_uJulian2000, &uYear, nullptr, nullptr);
    EXPECT_EQ(2000, uYear);
}
