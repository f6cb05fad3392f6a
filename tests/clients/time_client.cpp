#include "framework/basic/time.h"

#include <cstddef>
#include <ctime>
#include <type_traits>

#include "framework/basic/string.h"
#include "framework/basic/time_zone.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"
#include "tests/clients/client.h"

namespace
{
/// Sees the clock as a derived class does.
class CMyTime : public CTime
{
public:
    ~CMyTime() override = default;

    static void Internals()
    {
        static_assert(std::is_same_v<decltype(ms_uJulianDateDay), unsigned int>);
        static_assert(std::is_same_v<decltype(ms_uJulianTimeMs), unsigned int>);
        static_assert(std::is_same_v<decltype(ms_uLastSynchronizationTimeMs), unsigned long>);
        static_assert(std::is_same_v<decltype(ms_bDefaultDateAndTime), bool>);
        static_assert(std::is_same_v<decltype(ms_pTimeZone), CTimeZone*>);
        static_assert(std::is_same_v<decltype(ms_psemInternalAccessProtection), CBinarySemaphore*>);
        CHECK(ms_uJulianDateDay == 2451545 && ms_uJulianTimeMs == 0 && ms_bDefaultDateAndTime);
        CHECK(static_cast<void*>(ms_pTimeZone) == static_cast<void*>(ms_auTimeZone));
        CHECK(static_cast<void*>(ms_psemInternalAccessProtection) == static_cast<void*>(ms_auInternalAccessProtection));
    }
};

void Types()
{
    using Y = unsigned short&;
    using V = unsigned short;
    Promised<bool (CTime::*)(unsigned int&, unsigned int&, bool) const>(&CTime::GetJulianDateAndTime);
    Promised<bool (CTime::*)(Y, Y, Y, bool) const>(&CTime::GetDate);
    Promised<bool (CTime::*)(Y, Y, Y, Y, bool) const>(&CTime::GetTime);
    Promised<bool (CTime::*)(Y, Y, Y, Y, Y, Y, Y, bool) const>(&CTime::GetDateAndTime);
    Promised<void (CTime::*)(unsigned int, unsigned int, bool)>(&CTime::SetJulianDateAndTime);
    Promised<void (CTime::*)(V, V, V, V, V, V, V, bool)>(&CTime::SetDateAndTime);
    Promised<void (CTime::*)(V, V, V, bool)>(&CTime::SetDate);
    Promised<void (CTime::*)(V, V, V, V, bool)>(&CTime::SetTime);
    Promised<bool (CTime::*)(const char*)>(&CTime::SetTimeZone);
    Promised<bool (CTime::*)(bool) const>(&CTime::IsLeapYear);
    Promised<unsigned int (CTime::*)(bool) const>(&CTime::GetDayOfWeek);
    Promised<bool (CTime::*)() const>(&CTime::IsDayLightSavingInEffect);
    Promised<void (CTime::*)()>(&CTime::PinTime);
    Promised<void (*)(unsigned int&, unsigned int&, bool&)>(&CTime::PinTime);
    Promised<unsigned int (*)(V, V, V)>(&CTime::GetJulianDate);
    Promised<void (*)(unsigned int, V*, V*, V*)>(&CTime::GetGregorianDate);
    Promised<void (*)(const CTime&)>(&CTime::SetSystemTime);
    Promised<CString (*)()>(&CTime::GetSystemTimeZone);
    Promised<bool (*)(const char*)>(&CTime::SetSystemTimeZone);
    Promised<bool (*)(tm&)>(&CTime::GetGmtTime);
    Promised<QvResult (*)()>(&CTime::InitializeCTime);
    Promised<void (*)()>(&CTime::FinalizeCTime);
    Promised<QvResult (*)()>(&InitializeCTime);
    Promised<void (*)()>(&FinalizeCTime);
    static_assert(std::has_virtual_destructor_v<CTime>);
}

void Values()
{
    CTime time;
    unsigned int uDay = 0, uMs = 0;
    CHECK(!time.GetJulianDateAndTime(uDay, uMs, true) && uDay >= 2451545);
    CHECK(time.SetTimeZone("UTC0") && !time.SetTimeZone("") && !time.SetTimeZone(nullptr));
    CHECK(!time.SetTimeZone(0) && !time.SetTimeZone(NULL));
    time.SetJulianDateAndTime(2451545, 0, true);
    time.SetDateAndTime(2024, 2, 29, 12, 30, 45, 678, false);
    time.SetDate(2024, 3, 1, false);
    time.SetTime(1, 2, 3, 4, true);
    const CTime& rConst = time;
    unsigned short uYear = 0, uMonth = 0, uDate = 0, uHour = 0, uMinute = 0, uSecond = 0, uMillisecond = 0;
    CHECK(rConst.GetDate(uYear, uMonth, uDate, true) && uYear == 2024 && uMonth == 3 && uDate == 1);
    CHECK(rConst.GetTime(uHour, uMinute, uSecond, uMillisecond, false) && uHour == 1 && uMillisecond == 4);
    CHECK(rConst.GetDateAndTime(uYear, uMonth, uDate, uHour, uMinute, uSecond, uMillisecond, true) && uMinute == 2);
    CHECK(rConst.GetJulianDateAndTime(uDay, uMs, false) && uMs == 3723004 && rConst.IsLeapYear(true));
    CHECK(rConst.GetDayOfWeek(true) < 7 && !rConst.IsDayLightSavingInEffect());

    CTime copy(rConst);
    CHECK(copy.GetJulianDateAndTime(uDay, uMs, true) && uMs == 3723004);
    copy.PinTime();
    CHECK(!copy.GetDate(uYear, uMonth, uDate, true) && uYear == 2000);

    CHECK(CTime::GetJulianDate(2000, 1, 1) == 2451545 && CTime::GetJulianDate(1970, 1, 1) == 2440588);
    CTime::GetGregorianDate(2451545, &uYear, &uMonth, &uDate);
    CHECK(uYear == 2000 && uMonth == 1 && uDate == 1);
    CTime::GetGregorianDate(2440588, &uYear, nullptr, nullptr);
    CTime::GetGregorianDate(2440588, 0, NULL, &uDate);
    CHECK(uYear == 1970 && uDate == 1);
}

void Clock()
{
    unsigned int uDay = 0, uMs = 0;
    bool bDefault = false;
    CTime::PinTime(uDay, uMs, bDefault);
    CHECK(uDay >= 2451545 && bDefault);
    CHECK(CTime::GetSystemTimeZone() == pszTIMEZONE_NA_EASTERN);
    CHECK(CTime::SetSystemTimeZone("UTC0") && !CTime::SetSystemTimeZone(nullptr) && !CTime::SetSystemTimeZone("?"));

    CMyTime mine;
    mine.SetDateAndTime(2024, 7, 1, 0, 0, 0, 0, true);
    CTime::SetSystemTime(mine);
    tm stTime;
    CHECK(CTime::GetGmtTime(stTime) && stTime.tm_year == 124 && stTime.tm_mon == 6 && stTime.tm_wday == 1);
    const CTime now;
    CHECK(now.GetDayOfWeek(false) == 1);
}
}  // namespace

void TimeClient()
{
    Types();
    CMyTime::Internals();
    Values();
    Clock();
}
