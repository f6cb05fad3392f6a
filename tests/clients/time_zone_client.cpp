#include "framework/basic/time_zone.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "framework/basic/string.h"
#include "framework/basic/time.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
/// Sees the rules as a derived class does.
class CMyZone : public CTimeZone
{
public:
    explicit CMyZone(const char* pszTimeZone) : CTimeZone(pszTimeZone) {}
    ~CMyZone() override = default;

    void Rules()
    {
        unsigned int (CMyZone::*const pfnForJ0)(unsigned short, unsigned short) = &CMyZone::GetJulianDateForJ0;
        unsigned int (CMyZone::*const pfnForJ1)(unsigned short, unsigned short) = &CMyZone::GetJulianDateForJ1;
        CHECK((this->*pfnForJ0)(2023, 0) == (this->*pfnForJ1)(2023, 1));
        Promised<unsigned int (CMyZone::*)(unsigned short, SLimit&)>(&CMyZone::GetJulianDate);
        Promised<unsigned int (CMyZone::*)(unsigned short, SM&)>(&CMyZone::GetJulianDateForM);
        void (CMyZone::*const pfnDetermine)(unsigned short) = &CMyZone::DetermineJulianLimits;
        (this->*pfnDetermine)(2024);
        SM stM = {3, 2, 0};
        SLimit stLimit = {2, stM, 7200000, 0, 0};
        const unsigned int uTenthOfMarch = CTime::GetJulianDate(2024, 3, 10);
        CHECK(GetJulianDate(2024, stLimit) == uTenthOfMarch && GetJulianDateForM(2024, stM) == uTenthOfMarch);
        CHECK(GetJulianDateForJ0(2024, 59) == CTime::GetJulianDate(2024, 2, 29));
        CHECK(GetJulianDateForJ1(2024, 60) == CTime::GetJulianDate(2024, 3, 1));
        STimeZone stZone;
        const STimeZone stSource = {CString("EST"), -18000000};
        stZone = stSource;
        SDaylightSavingTime stDaylight;
        const SDaylightSavingTime stDaylightSource = {true, stSource, stLimit, stLimit, 2024};
        stDaylight = stDaylightSource;
        CHECK(stZone.strName == "EST" && stDaylight.stStart.uTimeMs == 7200000 && stDaylight.uYear == 2024);
    }
};

void Table()
{
    const char* const apszWanted[17] = {pszTIMEZONE_HAWAII,
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
    static_assert(std::is_same_v<std::remove_const_t<decltype(pszTIMEZONE_UTC)>, const char*>);
    static_assert(sizeof(apszTIMEZONE_TABLE) / sizeof(apszTIMEZONE_TABLE[0]) == 17);
    for (unsigned int uIndex = 0; uIndex < 17; ++uIndex)
    {
        const char* const pszZone = apszTIMEZONE_TABLE[uIndex];
        CHECK(pszZone == apszWanted[uIndex] && CTimeZone(pszZone).GetTimeZone()[0] == pszZone[0]);
    }
    CHECK(std::strcmp(pszTIMEZONE_HAWAII, "HAST10") == 0 && std::strcmp(pszTIMEZONE_UTC, "UTC0") == 0);
    CHECK(std::strcmp(pszTIMEZONE_NA_EASTERN, "EST5EDT4,M3.2.0/02:00:00,M11.1.0/02:00:00") == 0);
}

void Types()
{
    using Y = unsigned short&;
    using V = unsigned short;
    Promised<const char* (CTimeZone::*)() const>(&CTimeZone::GetTimeZone);
    Promised<QvResult (CTimeZone::*)(const char*)>(&CTimeZone::SetTimeZone);
    Promised<CTimeZone (CTimeZone::*)(const CTimeZone&)>(&CTimeZone::operator=);
    Promised<bool (CTimeZone::*)(unsigned int, unsigned int, bool) const>(&CTimeZone::IsDayLightSavingInEffect);
    Promised<bool (CTimeZone::*)(V, V, V, V, V, V, V, bool) const>(&CTimeZone::IsDayLightSavingInEffect);
    Promised<void (CTimeZone::*)(unsigned int&, unsigned int&) const>(&CTimeZone::ConvertFromUTCToLocale);
    Promised<void (CTimeZone::*)(unsigned int&, unsigned int&) const>(&CTimeZone::ConvertFromLocaleToUTC);
    Promised<void (CTimeZone::*)(Y, Y, Y, Y, Y, Y, Y) const>(&CTimeZone::ConvertFromUTCToLocale);
    Promised<void (CTimeZone::*)(Y, Y, Y, Y, Y, Y, Y) const>(&CTimeZone::ConvertFromLocaleToUTC);
    Promised<bool (*)(unsigned short)>(&CTimeZone::IsLeapYear);
    static_assert(std::has_virtual_destructor_v<CTimeZone>);
}
}  // namespace

void TimeZoneClient()
{
    Types();
    Table();
    CTimeZone empty;
    CHECK(empty.GetTimeZone()[0] == '\0' && empty.SetTimeZone(nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(empty.SetTimeZone(0) == QV_RES_INVALID_ARGUMENT && empty.SetTimeZone(NULL) == QV_RES_INVALID_ARGUMENT);
    CHECK(empty.SetTimeZone("A5") == QV_RES_OK && empty.SetTimeZone("EST5EDT") == QV_RES_INVALID_ARGUMENT);
    const CTimeZone fromNull(nullptr);
    const CTimeZone eastern(pszTIMEZONE_NA_EASTERN);
    const CTimeZone copy(eastern);
    CHECK(std::strcmp(copy.GetTimeZone(), eastern.GetTimeZone()) == 0 && fromNull.GetTimeZone()[0] == '\0');
    CHECK(std::strcmp((empty = eastern).GetTimeZone(), pszTIMEZONE_NA_EASTERN) == 0);

    CHECK(eastern.IsDayLightSavingInEffect(2024, 7, 1, 12, 0, 0, 0, true));
    CHECK(!eastern.IsDayLightSavingInEffect(CTime::GetJulianDate(2024, 1, 1), 0, false));
    unsigned int uDay = CTime::GetJulianDate(2024, 1, 1);
    unsigned int uMs = 0;
    eastern.ConvertFromUTCToLocale(uDay, uMs);
    CHECK(uDay == CTime::GetJulianDate(2023, 12, 31) && uMs == 19u * 3600000u);
    eastern.ConvertFromLocaleToUTC(uDay, uMs);
    CHECK(uDay == CTime::GetJulianDate(2023, 12, 31) && uMs == 86400000);  // a full day is not carried
    unsigned short uYear = 2024, uMonth = 7, uDate = 1, uHour = 0, uMinute = 1, uSecond = 2, uMillisecond = 3;
    eastern.ConvertFromUTCToLocale(uYear, uMonth, uDate, uHour, uMinute, uSecond, uMillisecond);
    CHECK(uMonth == 6 && uDate == 30 && uHour == 20 && uMinute == 1 && uSecond == 2 && uMillisecond == 3);
    eastern.ConvertFromLocaleToUTC(uYear, uMonth, uDate, uHour, uMinute, uSecond, uMillisecond);
    CHECK(uYear == 2024 && uMonth == 7 && uDate == 1 && uHour == 0);
    CHECK(CTimeZone::IsLeapYear(2000) && CTimeZone::IsLeapYear(2024) && !CTimeZone::IsLeapYear(1900));

    CMyZone mine(pszTIMEZONE_NA_EASTERN);
    mine.Rules();
}
