// The comparisons of sorts and searches are part of the contract of the containers. Oracle: the published algorithms
// once more, step by step.
#include "framework/basic/internal/ordered_sequence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz/models/ordered_twin.h"
#include "tests/support/test_seed.h"

namespace
{
int CompareInts(const void* pFirst, const void* pSecond)
{
    const int nFirst = *static_cast<const int*>(pFirst);
    const int nSecond = *static_cast<const int*>(pSecond);
    return (nFirst > nSecond) - (nFirst < nSecond);
}

/// Who was compared with what, and how often: a list of it would be long.
struct SQuestions
{
    std::uint64_t uCount = 0;
    std::uint64_t uDigest = 0;

    void Add(std::ptrdiff_t nIndex, int nHeld)
    {
        ++uCount;
        uDigest = (uDigest ^ static_cast<std::uint64_t>(nIndex)) * 0x100000001B3;
        uDigest = (uDigest ^ static_cast<std::uint32_t>(nHeld)) * 0x100000001B3;
    }
};

class CShellSort : public testing::TestWithParam<unsigned int>
{
};

/// Gives out the addresses of ints, and notes which were asked for.
template <bool ASKS_SINGLE_TWICE>
struct STellingAccess
{
    static constexpr bool ms_bASKS_SINGLE_TWICE = ASKS_SINGLE_TWICE;

    const void* operator()(unsigned int uIndex) const
    {
        pAsked->push_back(uIndex);
        return &pValues->at(uIndex);
    }
    const std::vector<int>* pValues;
    std::vector<unsigned int>* pAsked;
};

/// Fails unless the search asks for the same elements as the published one, and finds the same.
template <bool ASKS_SINGLE_TWICE>
void CheckLowerBound(const std::vector<int>& rValues, int nKey)
{
    const unsigned int uSize = static_cast<unsigned int>(rValues.size());
    std::vector<unsigned int> expected;
    const unsigned int uFound = twin::LowerBound(uSize, ASKS_SINGLE_TWICE,
                                                 [&](unsigned int u)
                                                 {
                                                     expected.push_back(u);
                                                     return CompareInts(&rValues.at(u), &nKey);
                                                 });
    ASSERT_EQ(std::lower_bound(rValues.begin(), rValues.end(), nKey) - rValues.begin(), uFound);
    std::vector<unsigned int> asked;
    const STellingAccess<ASKS_SINGLE_TWICE> access{&rValues, &asked};
    ASSERT_EQ(uFound, orvel_internal::CSearch(uSize, access, CompareInts).LowerBound(&nKey));
    ASSERT_EQ(expected, asked);
}
}  // namespace

TEST_P(CShellSort, AsksThePublishedQuestionsFromTheLargestGapThatFits)
{
    const unsigned int uSize = GetParam();
    std::mt19937 rng(TestSeed());
    std::vector<int> values(uSize);
    for (unsigned int u = 0; u < uSize; ++u) values[u] = static_cast<int>(u / 3);
    for (unsigned int u = 0; u < 50; ++u) std::swap(values[Below(rng, uSize)], values[Below(rng, uSize)]);
    std::swap(values.front(), values.back());
    std::vector<int> sorted = values;

    SQuestions expected;
    const int* pnFirst = values.data();
    twin::ShellSortPointers(values.data(), uSize,
                            [&](const int& rElement, int nHeld)
                            {
                                expected.Add(&rElement - pnFirst, nHeld);
                                return CompareInts(&rElement, &nHeld);
                            });

    SQuestions asked;
    pnFirst = sorted.data();
    const auto compare = [&](const void* pElement, const void* pHeld)
    {
        asked.Add(static_cast<const int*>(pElement) - pnFirst, *static_cast<const int*>(pHeld));
        return CompareInts(pElement, pHeld);
    };
    int nHeld = 0;
    orvel_internal::SortBytes<sizeof(int)>(sorted.data(), uSize, sizeof(int), &nHeld, compare);
    EXPECT_EQ(expected.uCount, asked.uCount);
    EXPECT_EQ(expected.uDigest, asked.uDigest);
    EXPECT_EQ(0, memcmp(values.data(), sorted.data(), uSize * sizeof(int)));
    EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
}

// Each gap with one element less than it needs, and with just enough.
INSTANTIATE_TEST_SUITE_P(Gaps, CShellSort,
                         testing::Values(1u, 2u, 3u, 4u, 7u, 8u, 21u, 22u, 48u, 49u, 112u, 113u, 336u, 337u, 861u, 862u,
                                         1968u, 1969u, 4592u, 4593u, 13776u, 13777u, 33936u, 33937u, 86961u, 86962u,
                                         198769u, 463793u, 1391377u),
                         testing::PrintToStringParamName());

TEST(LowerBound, AsksThePublishedQuestions)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uSize = 0; uSize < 40; ++uSize)
    {
        for (const int nLimit : {2, 10, 100})
        {
            std::vector<int> values(uSize);
            for (int& rn : values) rn = static_cast<int>(Below(rng, static_cast<std::size_t>(nLimit)));
            std::sort(values.begin(), values.end());
            for (int nKey = -1; nKey <= nLimit; ++nKey)
            {
                SCOPED_TRACE(testing::Message() << "key " << nKey << " among " << uSize);
                ASSERT_NO_FATAL_FAILURE(CheckLowerBound<true>(values, nKey));
                ASSERT_NO_FATAL_FAILURE(CheckLowerBound<false>(values, nKey));
            }
        }
    }
}
