#ifndef TESTS_SUPPORT_TEST_SEED_H
#define TESTS_SUPPORT_TEST_SEED_H
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

/// The seed of this run's random tests: a fixed one, or TEST_SEED from the environment. Whatever main() a program has,
/// its failing tests print the seed once it includes this.
inline std::uint32_t TestSeed()
{
    const char* const pszSeed = std::getenv("TEST_SEED");
    return pszSeed != nullptr ? static_cast<std::uint32_t>(std::strtoul(pszSeed, nullptr, 0)) : 20260923u;
}

/// Tells how a failure is replayed.
class CSeedPrinter : public testing::EmptyTestEventListener
{
    void OnTestEnd(const testing::TestInfo& rInfo) override
    {
        if (rInfo.result()->Failed()) std::printf("TEST_SEED=%u replays it\n", TestSeed());
    }
};
inline const bool g_bSeedIsPrinted = (testing::UnitTest::GetInstance()->listeners().Append(new CSeedPrinter), true);

/// A number below uLimit, which must not be 0.
inline unsigned int Below(std::mt19937& rRng, std::size_t uLimit)
{
    return static_cast<unsigned int>(rRng() % uLimit);
}

/// Between uMin and uMax random bytes.
inline std::vector<unsigned char> RandomBytes(std::mt19937& rRng, unsigned int uMin, unsigned int uMax)
{
    std::vector<unsigned char> bytes(uMin + Below(rRng, uMax - uMin + 1));
    for (unsigned char& ruByte : bytes) ruByte = static_cast<unsigned char>(rRng());
    return bytes;
}

#endif
