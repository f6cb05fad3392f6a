#ifndef TESTS_SUPPORT_TEST_SEED_H
#define TESTS_SUPPORT_TEST_SEED_H
#include <cstdint>
#include <random>
#include <vector>

/// The seed of this run's random tests: a fixed one, or TEST_SEED from the environment. Failing tests print it.
std::uint32_t TestSeed();

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
