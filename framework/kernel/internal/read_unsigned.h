#ifndef FRAMEWORK_KERNEL_INTERNAL_READ_UNSIGNED_H
#define FRAMEWORK_KERNEL_INTERNAL_READ_UNSIGNED_H
#include <ctype.h>
#include <stdint.h>

namespace orvel_internal
{
/// Internal: reads one decimal number as sscanf("%u") does, white space and a sign in front of it included, but lets
/// none wrap, which sscanf() may do with a number that is too large, and with a negative one.
///
/// - `true`: ru is the number, 0 to uMax, and rpsz stands behind it.
/// - `false`: ru stays. There is no number, and rpsz stays; or it is above uMax or negative (-0 is not), and rpsz
///   stands behind it.
inline bool ReadUnsigned(const char*& rpsz, unsigned int uMax, unsigned int& ru)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const char* psz = rpsz;
    bool bNegative = false;
    if (!isDigit(*psz))
    {
        while (isspace(static_cast<unsigned char>(*psz)) != 0) ++psz;
        bNegative = *psz == '-';
        if (bNegative || *psz == '+') ++psz;
        if (!isDigit(*psz)) return false;
    }
    uint64_t uValue = 0;
    for (; isDigit(*psz); ++psz)
    {
        uValue = uValue * 10 + static_cast<unsigned int>(*psz - '0');
        if (uValue > uMax)
        {
            while (isDigit(*psz)) ++psz;
            rpsz = psz;
            return false;
        }
    }
    rpsz = psz;
    if (bNegative && uValue != 0) return false;
    ru = static_cast<unsigned int>(uValue);
    return true;
}
}  // namespace orvel_internal

#endif
