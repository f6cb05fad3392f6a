#ifndef FUZZ_MODELS_RANDOM_RUNS_H
#define FUZZ_MODELS_RANDOM_RUNS_H
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/sanitizers.h"
#include "tests/support/test_seed.h"

namespace twin
{
/// Random sequences of operations, from a few to some hundred, as an ordinary test.
inline void RunRandomly(std::string (*pfnCompare)(const std::uint8_t*, std::size_t), unsigned int uSequences)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int u = 0; u < Repetitions(uSequences); ++u)
    {
        const std::vector<unsigned char> bytes = RandomBytes(rng, 8, u % 16 == 0 ? 2000 : 300);
        ASSERT_EQ("", pfnCompare(bytes.data(), bytes.size())) << "in sequence " << u;
    }
}
}  // namespace twin

#endif
