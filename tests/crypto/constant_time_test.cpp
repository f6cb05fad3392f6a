#include "framework/crypto/constant_time.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/page_end.h"

namespace
{
using Bytes = std::vector<unsigned char>;

Bytes CountedBytes(unsigned int uSize)
{
    Bytes bytes(uSize);
    for (unsigned int u = 0; u < uSize; ++u) bytes[u] = static_cast<unsigned char>(u * 7 + 1);
    return bytes;
}

// Up to four words and a rest, each size at the end of its page.
constexpr unsigned int g_uSIZES = 35;

TEST(ConstantTime, EqualBytesAreEqualAndNoFurtherOnesAreRead)
{
    for (unsigned int uSize = 0; uSize < g_uSIZES; ++uSize)
    {
        const CPageEnd left(CountedBytes(uSize));
        const CPageEnd right(CountedBytes(uSize));
        EXPECT_TRUE(QvIsEqualConstantTime(left.Get(), right.Get(), uSize)) << uSize;
    }
}

TEST(ConstantTime, EveryBitOfEveryByteCounts)
{
    for (unsigned int uSize = 1; uSize < g_uSIZES; ++uSize)
    {
        const Bytes left = CountedBytes(uSize);
        for (unsigned int uBit = 0; uBit < uSize * 8; ++uBit)
        {
            Bytes right = left;
            right[uBit / 8] ^= static_cast<unsigned char>(1u << uBit % 8);
            EXPECT_FALSE(QvIsEqualConstantTime(left.data(), right.data(), uSize)) << uSize << ", bit " << uBit;
        }
    }
}

TEST(ConstantTime, DifferencesDoNotCancelOneAnother)
{
    const Bytes left(24, 0x0F);
    Bytes right(24, 0x0F);
    right[0] = right[8] = right[16] = 0xF0;
    EXPECT_FALSE(QvIsEqualConstantTime(left.data(), right.data(), 16));
    EXPECT_FALSE(QvIsEqualConstantTime(left.data(), right.data(), 24));
}

TEST(ConstantTime, NothingIsEqualToNothing)
{
    EXPECT_TRUE(QvIsEqualConstantTime(nullptr, nullptr, 0));
}

// Whoever stopped at the difference in the first byte would not come to the page that is not there.
TEST(ConstantTimeDeathTest, AFirstDifferenceDoesNotEndTheComparison)
{
    for (const unsigned int uPresent : {1u, 8u, 16u, 20u})
    {
        const CPageEnd left(Bytes(uPresent, 1));
        const CPageEnd right(Bytes(uPresent, 2));
        EXPECT_DEATH(QvIsEqualConstantTime(left.Get(), right.Get(), uPresent + 1), "") << uPresent;
    }
}
}  // namespace
