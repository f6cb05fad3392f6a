#include "framework/basic/marshal_values.h"

#include "framework/basic/time.h"

CMarshaler& operator<<(CMarshaler& rMarshaler, const CTime& rTime)
{
    unsigned int uJulianDay = 0;
    unsigned int uTimeMs = 0;
    rTime.GetJulianDateAndTime(uJulianDay, uTimeMs, true);
    return rMarshaler << uJulianDay << uTimeMs;
}

CMarshalReader& operator>>(CMarshalReader& rReader, CTime& rTime)
{
    const unsigned int uPosition = rReader.GetPosition();
    unsigned int auDayAndTime[2] = {0, 0};
    if (rReader.GetRemaining() < sizeof(auDayAndTime)) rReader.Fail(QV_RES_FAIL, uPosition);
    rReader >> auDayAndTime[0] >> auDayAndTime[1];
    rTime.SetJulianDateAndTime(auDayAndTime[0], auDayAndTime[1], true);
    return rReader;
}
