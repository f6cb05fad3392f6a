#ifndef TESTS_SUPPORT_ZONE_BYTES_H
#define TESTS_SUPPORT_ZONE_BYTES_H
#include <cstdint>
#include <string>

#include "framework/basic/time_zone.h"
#include "tests/support/object_bytes.h"

/// The fields of a zone where the binary interface says they lie: behind the virtual table's pointer and a semaphore of
/// 144 bytes.
struct SZoneBytes
{
    static constexpr std::size_t uTEXT = 152;
    static constexpr std::size_t uSTANDARD = 168;
    static constexpr std::size_t uDAYLIGHT = 192;
    static constexpr std::size_t uSTART = 224;
    static constexpr std::size_t uEND = 248;
    static constexpr std::size_t uYEAR = 272;

    struct SLimit
    {
        std::uint32_t uKind;
        std::uint16_t auRule[3];
        std::uint32_t uTimeMs;
        std::uint32_t uJulianDay1;
        std::uint32_t uJulianDay2;

        bool operator==(const SLimit& rOther) const
        {
            return uKind == rOther.uKind && auRule[0] == rOther.auRule[0] && auRule[1] == rOther.auRule[1] &&
                   auRule[2] == rOther.auRule[2] && uTimeMs == rOther.uTimeMs;
        }
    };

    std::string strText;
    std::string strStandard;
    std::int32_t nStandardMs;
    bool bDaylight;
    std::string strDaylight;
    std::int32_t nDaylightMs;
    SLimit stStart;
    SLimit stEnd;
    std::uint16_t uYear;

    explicit SZoneBytes(const CTimeZone& rZone)
        : strText(TextAt(rZone, uTEXT)),
          strStandard(TextAt(rZone, uSTANDARD)),
          nStandardMs(LoadAt<std::int32_t>(&rZone, uSTANDARD + 16)),
          bDaylight(LoadAt<unsigned char>(&rZone, uDAYLIGHT) != 0),
          strDaylight(TextAt(rZone, uDAYLIGHT + 8)),
          nDaylightMs(LoadAt<std::int32_t>(&rZone, uDAYLIGHT + 24)),
          stStart(LimitAt(rZone, uSTART)),
          stEnd(LimitAt(rZone, uEND)),
          uYear(LoadAt<std::uint16_t>(&rZone, uYEAR))
    {
    }

    static std::string TextAt(const CTimeZone& rZone, std::size_t uOffset)
    {
        return reinterpret_cast<const CString*>(reinterpret_cast<const char*>(&rZone) + uOffset)->CStr();
    }
    static SLimit LimitAt(const CTimeZone& rZone, std::size_t uOffset)
    {
        return {LoadAt<std::uint32_t>(&rZone, uOffset),
                {LoadAt<std::uint16_t>(&rZone, uOffset + 4), LoadAt<std::uint16_t>(&rZone, uOffset + 6),
                 LoadAt<std::uint16_t>(&rZone, uOffset + 8)},
                LoadAt<std::uint32_t>(&rZone, uOffset + 12),
                LoadAt<std::uint32_t>(&rZone, uOffset + 16),
                LoadAt<std::uint32_t>(&rZone, uOffset + 20)};
    }
};

#endif
