#include "framework/basic/ordered_sequence.h"

#include <gtest/gtest.h>

#include "tests/basic/sequence_model.h"
#include "tests/support/test_seed.h"

namespace
{
class CTellingAccess
{
public:
    explicit CTellingAccess(std::vector<int>& rValues) : m_rValues(rValues) {}

    void Hold(unsigned int u)
    {
        m_steps.push_back({SSortStep::eHOLD, u, 0});
        m_nHeld = m_rValues.at(u);
    }
    bool IsAfterHeld(unsigned int u)
    {
        m_steps.push_back({SSortStep::eCOMPARE, u, 0});
        return m_rValues.at(u) > m_nHeld;
    }
    void Shift(unsigned int uFrom, unsigned int uTo)
    {
        m_steps.push_back({SSortStep::eSHIFT, uFrom, uTo});
        m_rValues.at(uTo) = m_rValues.at(uFrom);
    }
    void Place(unsigned int u)
    {
        m_steps.push_back({SSortStep::ePLACE, u, 0});
        m_rValues.at(u) = m_nHeld;
    }

    const std::vector<SSortStep>& GetSteps() const { return m_steps; }

private:
    std::vector<int>& m_rValues;
    std::vector<SSortStep> m_steps;
    int m_nHeld = 0;
};
}  // namespace

TEST(ShellSort, TakesThePublishedSteps)
{
    std::mt19937 rng(TestSeed());
    for (const unsigned int uSize : {0u, 1u, 2u, 3u, 4u, 7u, 8u, 9u, 21u, 22u, 48u, 49u, 113u, 336u, 337u, 862u, 2000u})
    {
        SCOPED_TRACE(testing::Message() << uSize << " elements");
        std::vector<int> values = RandomValues(rng, uSize, 50);
        const std::vector<SSortStep> expected = ModelShellSortSteps(values);
        CTellingAccess access(values);
        orvel_internal::ShellSort(uSize, access);
        ASSERT_EQ(expected, access.GetSteps());
        ASSERT_TRUE(std::is_sorted(values.begin(), values.end()));
    }
}

TEST(LowerBound, AsksThePublishedQuestions)
{
    std::mt19937 rng(TestSeed());
    for (unsigned int uSize = 0; uSize < 40; ++uSize)
    {
        for (const int nLimit : {2, 10, 100})
        {
            std::vector<int> values = RandomValues(rng, uSize, nLimit);
            std::sort(values.begin(), values.end());
            for (int nKey = -1; nKey <= nLimit; ++nKey)
            {
                const SSearch expected = ModelLowerBound(values, nKey);
                std::vector<unsigned int> asked;
                const auto compareAt = [&](unsigned int u)
                {
                    asked.push_back(u);
                    return values.at(u) - nKey;
                };
                ASSERT_EQ(expected.uResult, orvel_internal::LowerBound(uSize, compareAt));
                ASSERT_EQ(expected.uResult, std::lower_bound(values.begin(), values.end(), nKey) - values.begin());
                ASSERT_EQ(expected.asked, asked) << "key " << nKey << " among " << uSize;
            }
        }
    }
}

TEST(ExtremeIndex, ComparesEachElementWithTheBestSoFar)
{
    const std::vector<int> values = {3, 5, 5, 1, 9, 9};
    std::vector<std::pair<unsigned int, unsigned int>> asked;
    const auto isGreater = [&](unsigned int u, unsigned int uBest)
    {
        asked.push_back({u, uBest});
        return values[u] > values[uBest];
    };
    EXPECT_EQ(4u, orvel_internal::ExtremeIndex(6, isGreater));
    const std::vector<std::pair<unsigned int, unsigned int>> expected = {{1, 0}, {2, 1}, {3, 1}, {4, 1}, {5, 4}};
    EXPECT_EQ(expected, asked);
}

TEST(ExtremeIndex, OfNoneAndOneIsZeroWithoutAQuestion)
{
    const auto fail = [](unsigned int, unsigned int)
    {
        ADD_FAILURE();
        return true;
    };
    EXPECT_EQ(0u, orvel_internal::ExtremeIndex(0, fail));
    EXPECT_EQ(0u, orvel_internal::ExtremeIndex(1, fail));
}
