// Zones of any text, copied and set again, and moments converted both ways, beside a twin written from the contract:
// what is accepted, names, offsets, daylight saving time, and what a refused text leaves.
// Sources: tests/support/refusing_new.cpp
// Options: -max_len=1000
#include <cstdint>
#include <optional>
#include <string>

#include "framework/basic/time_zone.h"
#include "fuzz/models/time_zone_twin.h"
#include "fuzz/models/trail.h"
#include "tests/support/refusing_new.h"

namespace
{
class CZoneRun
{
public:
    CZoneRun(const std::uint8_t* puData, std::size_t uSize) : m_bytes(puData, uSize) {}

    void Run()
    {
        for (unsigned int uStep = 0; uStep < 60 && !m_bytes.IsSpent(); ++uStep)
        {
            switch (m_bytes.Below(8))
            {
                case 0:
                case 1: Set(); break;
                case 2: Copy(); break;
                case 3: ConvertFields(); break;
                default: Convert();
            }
            m_trail.True(m_twin.GetZone().strText == m_zone.GetTimeZone(), "the text is the one last accepted");
            m_trail.Same("whether there is daylight saving time", m_zone.HasDayLightSaving(),
                         m_twin.GetZone().bDaylight);
        }
    }

private:
    void Set();
    void Copy();
    void Convert();
    void ConvertFields();
    void MoveToChange(unsigned int& ruDay, unsigned int& ruTimeMs, bool bUtc);
    std::string Text();
    std::string Time(bool bSigned);
    std::string Rule();
    unsigned int Day();
    unsigned int TimeOfDay();

    CStepBytes m_bytes;
    CTrail m_trail;
    CTimeZone m_zone;
    CTimeZoneTwin m_twin;
};

std::string CZoneRun::Time(bool bSigned)
{
    static const char* const s_apszSign[] = {"", "-", "+", ""};
    std::string strTime = bSigned ? s_apszSign[m_bytes.Below(4)] : "";
    strTime += std::to_string(m_bytes.Below(m_bytes.Rarely(10) ? 30 : 24));
    for (unsigned int i = m_bytes.Below(4); i < 2; ++i)
        strTime += ":" + std::to_string(m_bytes.Below(m_bytes.Rarely(10) ? 70 : 60));
    return strTime;
}

std::string CZoneRun::Rule()
{
    std::string strRule = ",";
    switch (m_bytes.Below(6))
    {
        case 0: strRule += std::to_string(m_bytes.Below(368)); break;
        case 1: strRule += (m_bytes.Flag() ? "J" : "j") + std::to_string(m_bytes.Below(368)); break;
        case 2: strRule += m_bytes.Flag() ? "M" : "m"; break;
        default:
            strRule += "M" + std::to_string(1 + m_bytes.Below(m_bytes.Rarely(16) ? 13 : 12)) + "." +
                       std::to_string(1 + m_bytes.Below(m_bytes.Rarely(16) ? 6 : 5)) + "." +
                       std::to_string(m_bytes.Below(m_bytes.Rarely(16) ? 8 : 7));
    }
    return m_bytes.Flag() ? strRule + "/" + Time(false) : strRule;
}

std::string CZoneRun::Text()
{
    if (m_bytes.Rarely(8)) return apszTIMEZONE_TABLE[m_bytes.Below(17)];
    if (m_bytes.Rarely(16)) return m_bytes.Text(60);
    static const char* const s_apszName[] = {"EST", "A", "NINECHARS", "TENLETTERS", "x y", ":"};
    std::string strText = s_apszName[m_bytes.Below(std::size(s_apszName))] + Time(true);
    if (m_bytes.Below(8) != 7)
    {
        strText += "DST";
        if (m_bytes.Below(4) != 3) strText += Time(true);
        if (m_bytes.Below(8) != 7) strText += Rule() + Rule();
    }
    for (unsigned int i = m_bytes.Rarely(3) ? 1 + m_bytes.Below(3) : 0; i != 0; --i)
    {
        static const char* const s_apszLikely[] = {"+", "-", ",", ":",  "/",          ".",          "0",    "7", " ",
                                                   "M", "j", "A", "-+", "0000000000", "4294967297", ",M/1", "/"};
        const std::size_t uAt = m_bytes.Below(strText.size() + 1);
        const std::string strPiece = s_apszLikely[m_bytes.Below(std::size(s_apszLikely))];
        if (m_bytes.Flag()) strText.insert(uAt, strPiece);
        else if (m_bytes.Flag()) strText.replace(uAt, uAt < strText.size() ? 1 : 0, strPiece);
        else if (uAt < strText.size()) strText.erase(uAt, 1);
    }
    return strText;
}

unsigned int CZoneRun::Day()
{
    // The rules of a year may look at its neighbours.
    unsigned int uYear = 1970 + m_bytes.Below(60);
    if (m_bytes.Rarely(8)) uYear = 3 + m_bytes.Below(65530);
    const unsigned int uFirst = CCalendarTwin::JulianDay(uYear, 1, 1);
    if (m_bytes.Rarely(8)) return uFirst - m_bytes.Below(2) + (m_bytes.Flag() ? CCalendarTwin::DaysOf(uYear) - 1 : 1);
    return uFirst + m_bytes.Below(CCalendarTwin::DaysOf(uYear));
}

unsigned int CZoneRun::TimeOfDay()
{
    if (m_bytes.Rarely(8)) return 86400000 - m_bytes.Below(3);
    if (m_bytes.Rarely(30)) return m_bytes.Number<std::uint32_t>();
    // Where it changes, and beside it.
    const unsigned int uMs = m_bytes.Below(48) * 1800000;
    return m_bytes.Flag() ? uMs : uMs == 0 ? m_bytes.Below(1000) : uMs - 1;
}

void CZoneRun::Set()
{
    const std::string strText = Text();
    m_trail.Step("SetTimeZone(\"%s\")", strText.c_str());
    const bool bNull = m_bytes.Rarely(40);
    std::optional<CRefusingNew> refusing;
    if (m_bytes.Rarely(12)) refusing.emplace(m_bytes.Below(3), eNOTHROW_ARRAY);
    const QvResult res = m_zone.SetTimeZone(bNull ? nullptr : strText.c_str());
    const bool bRefused = refusing.has_value() && refusing->HasRefused();
    refusing.reset();
    CTimeZoneTwin twin = m_twin;
    if (bNull || !twin.Set(strText)) m_trail.Same("the result", res, QV_RES_INVALID_ARGUMENT);
    else if (bRefused) m_trail.Same("the result without memory", res, QV_RES_OUT_OF_MEMORY);
    else
    {
        m_trail.Same("the result", res, QV_RES_OK);
        m_twin = twin;
    }
}

void CZoneRun::Copy()
{
    const std::string strText = Text();
    m_trail.Step("a zone of \"%s\" copied over", strText.c_str());
    const CTimeZone other(strText.c_str());
    const CTimeZone copy(other);
    m_zone = copy;
    m_twin.Set(strText);
}

/// To the moment at which daylight saving time begins or ends in the year of the day, or just beside it.
void CZoneRun::MoveToChange(unsigned int& ruDay, unsigned int& ruTimeMs, bool bUtc)
{
    const CTimeZoneTwin::SZone& rZone = m_twin.GetZone();
    const bool bStart = m_bytes.Flag();
    const CTimeZoneTwin::SRule& rRule = bStart ? rZone.start : rZone.end;
    std::int64_t nMs = rRule.uTimeMs;
    if (bUtc) nMs -= bStart ? rZone.nStandardMs : rZone.nDaylightMs;
    nMs += static_cast<int>(m_bytes.Below(3)) - 1;
    const std::int64_t nMoment =
        std::int64_t{CTimeZoneTwin::DayOf(rRule, CCalendarTwin::DateOf(ruDay).uYear)} * CTimeZoneTwin::nDAY_MS + nMs;
    ruDay = static_cast<unsigned int>(nMoment / CTimeZoneTwin::nDAY_MS);
    ruTimeMs = static_cast<unsigned int>(nMoment % CTimeZoneTwin::nDAY_MS);
}

void CZoneRun::Convert()
{
    unsigned int uDay = Day();
    unsigned int uTimeMs = TimeOfDay();
    const bool bUtc = m_bytes.Flag();
    if (m_twin.GetZone().bDaylight && m_bytes.Flag()) MoveToChange(uDay, uTimeMs, bUtc);
    m_trail.Step("%s time %u.%u in \"%s\"", bUtc ? "UTC" : "local", uDay, uTimeMs, m_twin.GetZone().strText.c_str());
    const bool bDaylight = m_twin.IsDaylight(uDay, uTimeMs, bUtc);
    m_trail.Same("daylight saving time", m_zone.IsDayLightSavingInEffect(uDay, uTimeMs, bUtc), bDaylight);
    m_trail.Same("the offset", m_zone.GetOffsetMs(uDay, uTimeMs, bUtc), m_twin.OffsetMs(uDay, uTimeMs, bUtc));
    const CTimeZoneTwin::SZone& rZone = m_twin.GetZone();
    const std::string& rName = bDaylight ? rZone.strDaylight : rZone.strStandard;
    m_trail.True(rName == m_zone.GetName(uDay, uTimeMs, bUtc).CStr(), "the name is the twin's");
    unsigned int uLibraryDay = uDay, uLibraryMs = uTimeMs, uTwinDay = uDay, uTwinMs = uTimeMs;
    if (bUtc) m_zone.ConvertFromUTCToLocale(uLibraryDay, uLibraryMs);
    else m_zone.ConvertFromLocaleToUTC(uLibraryDay, uLibraryMs);
    m_twin.Convert(uTwinDay, uTwinMs, bUtc);
    m_trail.Same("the day", uLibraryDay, uTwinDay);
    m_trail.Same("the time of day", uLibraryMs, uTwinMs);
}

void CZoneRun::ConvertFields()
{
    unsigned int uDay = Day();
    const CCalendarTwin::SDate date = CCalendarTwin::DateOf(uDay);
    auto uYear = static_cast<unsigned short>(date.uYear), uMonth = static_cast<unsigned short>(date.uMonth);
    auto uDayOfMonth = static_cast<unsigned short>(date.uDay);
    auto uHour = static_cast<unsigned short>(m_bytes.Below(25)),
         uMinute = static_cast<unsigned short>(m_bytes.Below(60));
    auto uSecond = static_cast<unsigned short>(m_bytes.Below(60)),
         uMs = static_cast<unsigned short>(m_bytes.Below(1000));
    if (m_bytes.Flag()) uMinute = uSecond = uMs = 0;
    const bool bUtc = m_bytes.Flag();
    m_trail.Step("%s time %u-%u-%u %u:%u:%u.%u in \"%s\"", bUtc ? "UTC" : "local", uYear, uMonth, uDayOfMonth, uHour,
                 uMinute, uSecond, uMs, m_twin.GetZone().strText.c_str());
    unsigned int uTimeMs = uMs + (uHour * 3600u + uMinute * 60u + uSecond) * 1000u;
    m_trail.Same("daylight saving time",
                 m_zone.IsDayLightSavingInEffect(uYear, uMonth, uDayOfMonth, uHour, uMinute, uSecond, uMs, bUtc),
                 m_twin.IsDaylight(uDay, uTimeMs, bUtc));
    if (bUtc) m_zone.ConvertFromUTCToLocale(uYear, uMonth, uDayOfMonth, uHour, uMinute, uSecond, uMs);
    else m_zone.ConvertFromLocaleToUTC(uYear, uMonth, uDayOfMonth, uHour, uMinute, uSecond, uMs);
    m_twin.Convert(uDay, uTimeMs, bUtc);
    const CCalendarTwin::SDate want = CCalendarTwin::DateOf(uDay);
    m_trail.Same("the year", uYear, want.uYear);
    m_trail.Same("the month", uMonth, want.uMonth);
    m_trail.Same("the day", uDayOfMonth, want.uDay);
    m_trail.Same("the hour", uHour, uTimeMs / 3600000);
    m_trail.Same("the minute", uMinute, uTimeMs / 60000 % 60);
    m_trail.Same("the second", uSecond, uTimeMs / 1000 % 60);
    m_trail.Same("the millisecond", uMs, uTimeMs % 1000);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CZoneRun(puData, uSize).Run();
    return 0;
}
