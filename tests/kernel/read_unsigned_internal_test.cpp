// Reading a bounded number from a text: what is read, and where it stops.
#include "framework/kernel/internal/read_unsigned.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>

namespace
{
struct SNumber
{
    const char* pszText;
    unsigned int uMax;
    bool bRead;
    unsigned int uValue;
    std::size_t uConsumed;
};

constexpr SNumber g_astNUMBERS[] = {
    {"0", 0, true, 0, 1},
    {"59:30", 59, true, 59, 2},
    {"60:30", 59, false, 0, 2},
    {" \t\n+7x", 9, true, 7, 5},
    {"-7x", 9, false, 0, 2},
    {"-0x", 9, true, 0, 2},
    {"00000000000000000000012.", 12, true, 12, 23},
    {"99999999999999999999999.", 12, false, 0, 23},
    {"4294967295", UINT_MAX, true, UINT_MAX, 10},
    {"4294967296", UINT_MAX, false, 0, 10},
    {"18446744073709551617", UINT_MAX, false, 0, 20},
    {"", 9, false, 0, 0},
    {" x", 9, false, 0, 0},
    {"+-1", 9, false, 0, 0},
    {"- 1", 9, false, 0, 0},
    {"/1", 9, false, 0, 0},
    {":1", 9, false, 0, 0},
};
}  // namespace

TEST(ReadUnsigned, StopsBehindTheNumberAndTakesNoneAboveTheLimit)
{
    for (const SNumber& rst : g_astNUMBERS)
    {
        SCOPED_TRACE(rst.pszText);
        constexpr unsigned int uBEFORE = 0xEEEE;
        unsigned int uValue = uBEFORE;
        const char* pszRest = rst.pszText;
        EXPECT_EQ(rst.bRead, orvel_internal::ReadUnsigned(pszRest, rst.uMax, uValue));
        EXPECT_EQ(rst.bRead ? rst.uValue : uBEFORE, uValue);
        EXPECT_EQ(rst.uConsumed, static_cast<std::size_t>(pszRest - rst.pszText));
    }
}
