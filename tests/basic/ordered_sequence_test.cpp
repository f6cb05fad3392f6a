#include "framework/basic/internal/ordered_sequence.h"

#include <gtest/gtest.h>

#include "tests/basic/sequence_model.h"
#include "tests/support/test_seed.h"

namespace
{
// Elements of int that tell what is done to them.
class CTellingElements
{
public:
    CTellingElements(std::vector<int>& rValues, std::vector<SSortStep>& rSteps) : m_rValues(rValues), m_rSteps(rSteps)
    {
    }

    void Hold(const void* p) { m_nHeld = At(Tell(SSortStep::eHOLD, p)); }
    bool IsAfterHeld(const void* p) { return At(Tell(SSortStep::eCOMPARE, p)) > m_nHeld; }
    void Shift(const void* pFrom, const void* pTo)
    {
        At(IndexOf(pTo)) = At(Tell(SSortStep::eSHIFT, pFrom, IndexOf(pTo)));
    }
    void Place(const void* p) { At(Tell(SSortStep::ePLACE, p)) = m_nHeld; }

private:
    unsigned int IndexOf(const void* p) const
    {
        return static_cast<unsigned int>(static_cast<const int*>(p) - m_rValues.data());
    }
    unsigned int Tell(SSortStep::EWhat eWhat, const void* pFirst, unsigned int uSecond = 0)
    {
        m_rSteps.push_back({eWhat, IndexOf(pFirst), uSecond});
        return IndexOf(pFirst);
    }
    int& At(unsigned int uIndex) { return m_rValues.at(uIndex); }

    std::vector<int>& m_rValues;
    std::vector<SSortStep>& m_rSteps;
    int m_nHeld = 0;
};

// Gives out the addresses of ints, and notes which were asked for.
struct STellingAccess
{
    static constexpr bool ms_bASKS_SINGLE_TWICE = true;

    const void* operator()(unsigned int uIndex) const
    {
        pAsked->push_back(uIndex);
        return &pValues->at(uIndex);
    }
    const std::vector<int>* pValues;
    std::vector<unsigned int>* pAsked;
};

int CompareInts(const void* pFirst, const void* pSecond)
{
    return *static_cast<const int*>(pFirst) - *static_cast<const int*>(pSecond);
}

auto SearchIn(const std::vector<int>& rValues, std::vector<unsigned int>& rAsked)
{
    const unsigned int uSize = static_cast<unsigned int>(rValues.size());
    return orvel_internal::CSearch(uSize, STellingAccess{&rValues, &rAsked}, CompareInts);
}
}  // namespace

TEST(ShellSort, TakesThePublishedSteps)
{
    std::mt19937 rng(TestSeed());
    for (const unsigned int uSize : {0u, 1u, 2u, 3u, 4u, 7u, 8u, 9u, 21u, 22u, 48u, 49u, 113u, 336u, 337u, 862u, 2000u})
    {
        SCOPED_TRACE(testing::Message() << uSize << " elements");
        std::vector<int> values = RandomValues(rng, uSize, 50);
        const std::vector<SSortStep> expected = ModelShellSortSteps(values);
        std::vector<SSortStep> steps;
        orvel_internal::ShellSort(values.data(), uSize, sizeof(int), CTellingElements(values, steps));
        ASSERT_EQ(expected, steps);
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
                ASSERT_EQ(expected.uResult, SearchIn(values, asked).LowerBound(&nKey));
                ASSERT_EQ(expected.uResult, std::lower_bound(values.begin(), values.end(), nKey) - values.begin());
                ASSERT_EQ(expected.asked, asked) << "key " << nKey << " among " << uSize;
            }
        }
    }
}

TEST(Extremes, AreTheFirstOfEqualOnes)
{
    std::vector<unsigned int> asked;
    const std::vector<int> values = {3, 5, 5, 1, 9, 9, 1};
    EXPECT_EQ(4u, SearchIn(values, asked).MaxIndex());
    EXPECT_EQ(3u, SearchIn(values, asked).MinIndex());
}

TEST(Extremes, OfNoneAndOneAreZeroWithoutAComparison)
{
    std::vector<unsigned int> asked;
    const auto fail = [](const void*, const void*)
    {
        ADD_FAILURE();
        return 0;
    };
    const std::vector<int> values = {7};
    for (const unsigned int uSize : {0u, 1u})
    {
        orvel_internal::CSearch search(uSize, STellingAccess{&values, &asked}, fail);
        EXPECT_EQ(0u, search.MinIndex());
        EXPECT_EQ(0u, search.MaxIndex());
    }
}
