// Which element operations run on which slots, in which order.
#include <gtest/gtest.h>

#include "framework/basic/vector.h"
#include "tests/basic/sequence_model.h"
#include "tests/basic/traced_vector.h"
#include "tests/support/test_allocator.h"

namespace
{
class CVectorOperations : public testing::Test
{
protected:
    /// Forgets what was done and names the slots of both vectors a0, a1 ... and b0, b1 ...
    void Start()
    {
        m_trace.Clear();
        m_a.NameSlots("a");
        m_b.NameSlots("b");
    }

    CTrace m_trace;
    CTestAllocator m_allocator;
    CTracedVector m_a{m_trace, "a", true, &m_allocator};
    CTracedVector m_b{m_trace, "b", true, &m_allocator};
};

/// A transfer of uCount elements of one vector of eight, and the order in which the slots are taken.
struct STransferCase
{
    const char* pszName;
    unsigned int uDest;
    unsigned int uSrc;
    unsigned int uCount;
    std::vector<unsigned int> order;
};

class CVectorTransfer : public testing::TestWithParam<STransferCase>
{
protected:
    CTrace m_trace;
    CTestAllocator m_allocator;
};
}  // namespace

TEST_P(CVectorTransfer, CopyTakesTheSlotsInThePublishedOrder)
{
    const STransferCase& rCase = GetParam();
    CTracedVector vector(m_trace, "v", true, &m_allocator);
    Fill(vector, {0, 1, 2, 3, 4, 5, 6, 7});
    m_trace.Clear();
    vector.NameSlots("");
    CVectorBase::Copy(&vector, rCase.uDest, &vector, rCase.uSrc, rCase.uCount);
    std::ostringstream expected;
    for (const unsigned int u : rCase.order)
        expected << (expected.tellp() > 0 ? " " : "") << "v.From(" << rCase.uDest + u << ',' << rCase.uSrc + u << ')';
    EXPECT_EQ(expected.str(), m_trace.Text());
}

TEST_P(CVectorTransfer, MoveDestroysEachSourceSlotAfterItsCopy)
{
    const STransferCase& rCase = GetParam();
    CTracedVector vector(m_trace, "v", true, &m_allocator);
    Fill(vector, {0, 1, 2, 3, 4, 5, 6, 7});
    m_trace.Clear();
    vector.NameSlots("");
    CVectorBase::Move(&vector, rCase.uDest, &vector, rCase.uSrc, rCase.uCount);
    std::ostringstream expected;
    for (const unsigned int u : rCase.order)
    {
        const unsigned int uSrc = rCase.uSrc + u;
        expected << (expected.tellp() > 0 ? " " : "") << "v.From(" << rCase.uDest + u << ',' << uSrc << ") v.Destruct("
                 << uSrc << ')';
    }
    EXPECT_EQ(expected.str(), m_trace.Text());
    EXPECT_EQ(8u, vector.GetSize());
}

TEST_P(CVectorTransfer, BytesArriveWholeWhereTheSlotsOverlap)
{
    const STransferCase& rCase = GetParam();
    std::vector<int> expected = {0, 1, 2, 3, 4, 5, 6, 7};
    const std::vector<int> before = expected;
    std::copy_n(before.begin() + rCase.uSrc, rCase.uCount, expected.begin() + rCase.uDest);
    for (const bool bMove : {false, true})
    {
        CTracedVector vector(m_trace, "v", false, &m_allocator);
        Fill(vector, before);
        m_trace.Clear();
        if (bMove) CVectorBase::Move(&vector, rCase.uDest, &vector, rCase.uSrc, rCase.uCount);
        else CVectorBase::Copy(&vector, rCase.uDest, &vector, rCase.uSrc, rCase.uCount);
        EXPECT_EQ(expected, ValuesOf(vector));
        EXPECT_EQ("", m_trace.Text());
    }
}

INSTANTIATE_TEST_SUITE_P(Ranges, CVectorTransfer,
                         testing::Values(STransferCase{"UpOverlapping", 2, 1, 3, {2, 1, 0}},
                                         STransferCase{"UpTouching", 4, 1, 3, {2, 1, 0}},
                                         STransferCase{"UpApart", 5, 1, 3, {0, 1, 2}},
                                         STransferCase{"DownOverlapping", 1, 2, 3, {0, 1, 2}},
                                         STransferCase{"DownApart", 0, 5, 3, {0, 1, 2}},
                                         STransferCase{"InPlace", 3, 3, 2, {}}, STransferCase{"None", 5, 1, 0, {}}),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST_F(CVectorOperations, CopyBetweenVectorsRunsForwardsAndLeavesTheSource)
{
    Fill(m_a, {1, 2, 3});
    Fill(m_b, {7, 8, 9});
    Start();
    CVectorBase::Copy(&m_a, 1, &m_b, 0, 2);
    EXPECT_EQ("a.From(a1,b0) a.From(a2,b1)", m_trace.Text());
    EXPECT_EQ((std::vector<int>{1, 7, 8}), ValuesOf(m_a));
    EXPECT_EQ((std::vector<int>{7, 8, 9}), ValuesOf(m_b));
}

TEST_F(CVectorOperations, EqualIndexesOfTwoVectorsAreTwoPlaces)
{
    Fill(m_a, {1, 2});
    Fill(m_b, {7, 8});
    CVectorBase::Copy(&m_a, 0, &m_b, 0, 1);
    CVectorBase::Move(&m_a, 1, &m_b, 1, 1);
    EXPECT_EQ((std::vector<int>{7, 8}), ValuesOf(m_a));
}

TEST_F(CVectorOperations, TheDestinationsFlagDecides)
{
    CTracedVector bytes(m_trace, "bytes", false, &m_allocator);
    Fill(bytes, {5, 6});
    Fill(m_a, {1, 2});
    Start();
    CVectorBase::Copy(&bytes, 0, &m_a, 0, 1);
    CVectorBase::Move(&bytes, 1, &m_a, 1, 1);
    EXPECT_EQ("", m_trace.Text());
    EXPECT_EQ((std::vector<int>{1, 2}), ValuesOf(bytes));
    bytes.NameSlots("bytes");
    CVectorBase::Copy(&m_a, 1, &bytes, 0, 1);
    EXPECT_EQ("a.From(a1,bytes0)", m_trace.Text());
}

namespace
{
CTrace* g_pTrace;

int CompareAndTell(const void* pElement, const void* pKey, unsigned int uParam)
{
    g_pTrace->Add(std::to_string(uParam), "Compare", pElement, pKey);
    return CompareInts(pElement, pKey, 0);
}

/// The story of a sort as its element operations tell it.
std::string SortStory(const std::vector<SSortStep>& steps)
{
    std::ostringstream story;
    for (const SSortStep& rStep : steps)
    {
        if (story.tellp() > 0) story << ' ';
        const unsigned int u1 = rStep.uFirst;
        const unsigned int u2 = rStep.uSecond;
        switch (rStep.eWhat)
        {
            case SSortStep::eHOLD: story << "v.From(?1," << u1 << ')'; break;
            case SSortStep::eCOMPARE: story << "77.Compare(" << u1 << ",?1)"; break;
            case SSortStep::eSHIFT: story << "v.Destruct(" << u2 << ") v.From(" << u2 << ',' << u1 << ')'; break;
            case SSortStep::ePLACE: story << "v.Destruct(" << u1 << ") v.From(" << u1 << ",?1) v.Destruct(?1)"; break;
        }
    }
    return story.str();
}
}  // namespace

TEST(CVectorSort, TakesThePublishedStepsThroughOneTemporaryElement)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    for (const unsigned int uSize : {2u, 3u, 4u, 7u, 8u, 21u, 22u, 49u, 130u})
    {
        SCOPED_TRACE(testing::Message() << uSize << " elements");
        CTrace trace;
        g_pTrace = &trace;
        CTracedVector vector(trace, "v", true, &allocator);
        std::vector<int> values = RandomValues(rng, uSize, 40);
        Fill(vector, values);
        trace.Clear();
        vector.NameSlots("");
        vector.Sort(CompareAndTell, 77);
        ASSERT_EQ(SortStory(ModelShellSortSteps(values)), trace.Text());
        std::sort(values.begin(), values.end());
        ASSERT_EQ(values, ValuesOf(vector));
    }
}

TEST(CVectorSort, OfBytesAsksTheSameQuestionsAndCallsNoOperation)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    for (const unsigned int uSize : {2u, 5u, 22u, 130u})
    {
        CTrace trace;
        g_pTrace = &trace;
        CTracedVector vector(trace, "v", false, &allocator);
        std::vector<int> values = RandomValues(rng, uSize, 40);
        Fill(vector, values);
        trace.Clear();
        vector.NameSlots("");
        vector.Sort(CompareAndTell, 77);
        std::vector<SSortStep> steps = ModelShellSortSteps(values);
        steps.erase(std::remove_if(steps.begin(), steps.end(),
                                   [](const SSortStep& rStep) { return rStep.eWhat != SSortStep::eCOMPARE; }),
                    steps.end());
        ASSERT_EQ(SortStory(steps), trace.Text());
        std::sort(values.begin(), values.end());
        ASSERT_EQ(values, ValuesOf(vector));
    }
}

class CVectorSortSize : public testing::TestWithParam<unsigned int>
{
};

namespace
{
const unsigned char* g_puFirst;
std::vector<unsigned int> g_compared;

int CompareFirstBytesAndList(const void* pElement, const void* pKey, unsigned int uParam)
{
    const unsigned char* const puElement = static_cast<const unsigned char*>(pElement);
    g_compared.push_back(static_cast<unsigned int>(puElement - g_puFirst) / uParam);
    return *puElement - *static_cast<const unsigned char*>(pKey);
}
}  // namespace

TEST_P(CVectorSortSize, BytesOfAnySizeAreSortedByTheSameQuestions)
{
    const unsigned int uElementSize = GetParam();
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    CVectorBase vector(uElementSize, false, &allocator);
    std::vector<int> values = RandomValues(rng, 60, 40);
    for (const int nValue : values)
    {
        const std::vector<unsigned char> element(uElementSize, static_cast<unsigned char>(nValue));
        ASSERT_EQ(QV_RES_OK, vector.Insert(vector.GetEndIndex(), 1, element.data()));
    }
    std::vector<unsigned int> expected;
    ModelShellSort(values,
                   [&](const SSortStep& rStep)
                   {
                       if (rStep.eWhat == SSortStep::eCOMPARE) expected.push_back(rStep.uFirst);
                   });
    g_puFirst = static_cast<const unsigned char*>(vector.GetAt(0));
    g_compared.clear();
    vector.Sort(CompareFirstBytesAndList, uElementSize);
    EXPECT_EQ(expected, g_compared);
    for (unsigned int u = 0; u < vector.GetSize(); ++u)
    {
        const std::vector<unsigned char> element(uElementSize, static_cast<unsigned char>(values[u]));
        ASSERT_EQ(0, memcmp(element.data(), vector.GetAt(u), uElementSize)) << "element " << u;
    }
}

INSTANTIATE_TEST_SUITE_P(Bytes, CVectorSortSize, testing::Values(1u, 2u, 3u, 4u, 5u, 8u, 12u, 16u, 24u, 32u, 100u),
                         testing::PrintToStringParamName());

TEST(CVectorSort, OfFewerThanTwoCallsNothing)
{
    CTestAllocator allocator;
    CTrace trace;
    g_pTrace = &trace;
    CTracedVector vector(trace, "v", true, &allocator);
    vector.Sort(CompareAndTell, 77);
    Fill(vector, {1});
    trace.Clear();
    vector.Sort(CompareAndTell, 77);
    EXPECT_EQ("", trace.Text());
}

namespace
{
const int* g_pnFirst;
std::uint64_t g_uDigest;
std::uint64_t g_uComparisons;

void MixIn(std::uint64_t uIndex, int nHeld)
{
    g_uDigest = (g_uDigest ^ uIndex) * 0x100000001B3;
    g_uDigest = (g_uDigest ^ static_cast<std::uint32_t>(nHeld)) * 0x100000001B3;
    ++g_uComparisons;
}

int CompareAndMix(const void* pElement, const void* pKey, unsigned int)
{
    MixIn(static_cast<std::uint64_t>(static_cast<const int*>(pElement) - g_pnFirst), *static_cast<const int*>(pKey));
    return CompareInts(pElement, pKey, 0);
}
}  // namespace

class CVectorSortLong : public testing::TestWithParam<unsigned int>
{
};

TEST_P(CVectorSortLong, AsksThePublishedQuestionsFromTheLargestGapThatFits)
{
    const unsigned int uSize = GetParam();
    std::mt19937 rng(TestSeed());
    std::vector<int> values(uSize);
    for (unsigned int u = 0; u < uSize; ++u) values[u] = static_cast<int>(u / 3);
    for (unsigned int u = 0; u < 50; ++u) std::swap(values[Below(rng, uSize)], values[Below(rng, uSize)]);
    std::swap(values.front(), values.back());

    CVectorBase vector(sizeof(int), false, nullptr);
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(uSize));
    ASSERT_EQ(QV_RES_OK, vector.Resize(uSize));
    memcpy(vector.GetAt(0), values.data(), uSize * sizeof(int));

    g_uDigest = g_uComparisons = 0;
    int nHeld = 0;
    ModelShellSort(values,
                   [&](const SSortStep& rStep)
                   {
                       if (rStep.eWhat == SSortStep::eHOLD) nHeld = values[rStep.uFirst];
                       if (rStep.eWhat == SSortStep::eCOMPARE) MixIn(rStep.uFirst, nHeld);
                   });
    const std::uint64_t uDigest = g_uDigest;
    const std::uint64_t uComparisons = g_uComparisons;

    g_uDigest = g_uComparisons = 0;
    g_pnFirst = static_cast<const int*>(vector.GetAt(0));
    vector.Sort(CompareAndMix, 0);
    EXPECT_EQ(uComparisons, g_uComparisons);
    EXPECT_EQ(uDigest, g_uDigest);
    EXPECT_EQ(0, memcmp(vector.GetAt(0), values.data(), uSize * sizeof(int)));
}

// Each gap with one element less than it needs, and with just enough.
INSTANTIATE_TEST_SUITE_P(Gaps, CVectorSortLong,
                         testing::Values(112u, 113u, 336u, 337u, 861u, 862u, 1968u, 1969u, 4592u, 4593u, 13776u, 13777u,
                                         33936u, 33937u, 86961u, 86962u, 198769u, 463793u, 1391377u),
                         testing::PrintToStringParamName());

namespace
{
struct SAsked
{
    std::vector<unsigned int> elements;
    bool bKeyGivenThrough = true;
};

const void* g_pvKey;
SAsked g_asked;

int CompareAndList(const void* pElement, const void* pKey, unsigned int uParam)
{
    g_asked.elements.push_back(static_cast<unsigned int>(static_cast<const int*>(pElement) - g_pnFirst));
    if (pKey != g_pvKey || uParam != 4711) g_asked.bKeyGivenThrough = false;
    return CompareInts(pElement, pKey, 0);
}
}  // namespace

TEST(CVectorSearch, AsksThePublishedQuestions)
{
    std::mt19937 rng(TestSeed());
    CTrace trace;
    CTestAllocator allocator;
    for (unsigned int uSize = 0; uSize < 34; ++uSize)
    {
        for (const int nLimit : {2, 6, 60})
        {
            CTracedVector vector(trace, "v", false, &allocator);
            std::vector<int> values = RandomValues(rng, uSize, nLimit);
            std::sort(values.begin(), values.end());
            Fill(vector, values);
            g_pnFirst = static_cast<const int*>(vector.Storage());
            for (int nKey = -1; nKey <= nLimit; ++nKey)
            {
                SCOPED_TRACE(testing::Message() << "key " << nKey << " among " << uSize);
                g_pvKey = &nKey;
                SSearch expected = ModelLowerBound(values, nKey);

                g_asked = SAsked();
                ASSERT_EQ(expected.uResult, vector.InternalFindSorted(&nKey, CompareAndList, 4711));
                ASSERT_EQ(expected.asked, g_asked.elements);
                ASSERT_TRUE(g_asked.bKeyGivenThrough);

                const bool bThere = expected.uResult < uSize && values[expected.uResult] == nKey;
                g_asked = SAsked();
                ASSERT_EQ(bThere ? expected.uResult : uSize, vector.FindSorted(&nKey, CompareAndList, 4711));
                ASSERT_TRUE(g_asked.bKeyGivenThrough);
                if (expected.uResult < uSize) expected.asked.push_back(expected.uResult);
                ASSERT_EQ(expected.asked, g_asked.elements) << "the lower bound, then whether it is equal";
            }
        }
    }
}

TEST(CVectorSearch, ARunOfEqualKeysIsWalkedToItsFirst)
{
    CTrace trace;
    CTestAllocator allocator;
    CTracedVector vector(trace, "v", false, &allocator);
    Fill(vector, {1, 2, 2, 2, 3});
    int nKey = 2;
    g_pvKey = &nKey;
    g_pnFirst = static_cast<const int*>(vector.Storage());
    g_asked = SAsked();
    EXPECT_EQ(1u, vector.InternalFindSorted(&nKey, CompareAndList, 4711));
    EXPECT_EQ((std::vector<unsigned int>{2, 2, 1, 0}), g_asked.elements);
    EXPECT_EQ(1u, vector.FindSorted(&nKey, CompareAndList, 4711));
    nKey = 4;
    EXPECT_EQ(5u, vector.FindSorted(&nKey, CompareAndList, 4711));
}

TEST(CVectorSearch, OfOneSmallerElementAsksTwiceAndOfAnyOtherOnce)
{
    CTrace trace;
    CTestAllocator allocator;
    CTracedVector vector(trace, "v", false, &allocator);
    Fill(vector, {5});
    g_pnFirst = static_cast<const int*>(vector.Storage());
    const struct
    {
        int nKey;
        unsigned int uResult;
        std::vector<unsigned int> asked;
    } aCases[] = {{4, 0, {0}}, {5, 0, {0}}, {6, 1, {0, 0}}};
    for (const auto& rCase : aCases)
    {
        g_pvKey = &rCase.nKey;
        g_asked = SAsked();
        EXPECT_EQ(rCase.uResult, vector.InternalFindSorted(&rCase.nKey, CompareAndList, 4711));
        EXPECT_EQ(rCase.asked, g_asked.elements) << "key " << rCase.nKey;
    }
}

TEST(CVectorSearch, FindAsksEachElementFromTheStartUntilOneIsEqual)
{
    CTrace trace;
    CTestAllocator allocator;
    CTracedVector vector(trace, "v", false, &allocator);
    Fill(vector, {5, 2, 7, 2, 5});
    g_pnFirst = static_cast<const int*>(vector.Storage());
    const struct
    {
        unsigned int uStart;
        int nKey;
        unsigned int uResult;
        std::vector<unsigned int> asked;
    } aCases[] = {
        {0, 5, 0, {0}}, {0, 2, 1, {0, 1}}, {2, 2, 3, {2, 3}}, {1, 5, 4, {1, 2, 3, 4}}, {0, 9, 5, {0, 1, 2, 3, 4}},
        {4, 2, 5, {4}}, {5, 5, 5, {}},     {6, 5, 5, {}},     {0xFFFFFFFF, 5, 5, {}}};
    for (const auto& rCase : aCases)
    {
        SCOPED_TRACE(testing::Message() << rCase.nKey << " from " << rCase.uStart);
        g_pvKey = &rCase.nKey;
        g_asked = SAsked();
        EXPECT_EQ(rCase.uResult, vector.Find(rCase.uStart, &rCase.nKey, CompareAndList, 4711));
        EXPECT_EQ(rCase.asked, g_asked.elements);
        EXPECT_TRUE(g_asked.bKeyGivenThrough);
    }
}

namespace
{
std::vector<std::pair<unsigned int, unsigned int>> g_pairs;

int CompareAndPair(const void* pElement, const void* pKey, unsigned int uParam)
{
    EXPECT_EQ(4711u, uParam);
    g_pairs.push_back({static_cast<unsigned int>(static_cast<const int*>(pElement) - g_pnFirst),
                       static_cast<unsigned int>(static_cast<const int*>(pKey) - g_pnFirst)});
    return CompareInts(pElement, pKey, 0);
}
}  // namespace

TEST(CVectorSearch, ExtremesCompareEachElementWithTheBestSoFar)
{
    CTrace trace;
    CTestAllocator allocator;
    CTracedVector vector(trace, "v", false, &allocator);
    g_pairs.clear();
    EXPECT_EQ(0u, vector.GetMinElementIndex(CompareAndPair, 4711));
    EXPECT_EQ(0u, vector.GetMaxElementIndex(CompareAndPair, 4711));
    Fill(vector, {5});
    g_pnFirst = static_cast<const int*>(vector.Storage());
    EXPECT_EQ(0u, vector.GetMinElementIndex(CompareAndPair, 4711));
    EXPECT_EQ(0u, vector.GetMaxElementIndex(CompareAndPair, 4711));
    EXPECT_TRUE(g_pairs.empty());

    vector.EraseAll();
    Fill(vector, {5, 9, 2, 9, 2, 5});
    g_pnFirst = static_cast<const int*>(vector.Storage());
    using Pairs = std::vector<std::pair<unsigned int, unsigned int>>;
    EXPECT_EQ(2u, vector.GetMinElementIndex(CompareAndPair, 4711));
    EXPECT_EQ((Pairs{{1, 0}, {2, 0}, {3, 2}, {4, 2}, {5, 2}}), g_pairs);
    g_pairs.clear();
    EXPECT_EQ(1u, vector.GetMaxElementIndex(CompareAndPair, 4711));
    EXPECT_EQ((Pairs{{1, 0}, {2, 1}, {3, 1}, {4, 1}, {5, 1}}), g_pairs);
}

TEST(CVectorSearch, SortedInsertionAsksTheQuestionsOfTheLowerBound)
{
    CTrace trace;
    CTestAllocator allocator;
    CTracedVector vector(trace, "v", false, &allocator);
    const std::vector<int> values = {1, 3, 3, 5, 7, 9, 11};
    for (int nKey = 0; nKey <= 12; ++nKey)
    {
        SCOPED_TRACE(testing::Message() << "key " << nKey);
        vector.EraseAll();
        Fill(vector, values);
        ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(8));
        g_pnFirst = static_cast<const int*>(vector.Storage());
        g_pvKey = &nKey;
        SSearch search = ModelLowerBound(values, nKey);
        g_asked = SAsked();
        ASSERT_EQ(QV_RES_OK, vector.InsertSorted(&nKey, CompareAndList, 4711));
        EXPECT_EQ(search.asked, g_asked.elements);
        EXPECT_TRUE(g_asked.bKeyGivenThrough);
        std::vector<int> expected = values;
        expected.insert(expected.begin() + search.uResult, nKey);
        EXPECT_EQ(expected, ValuesOf(vector));

        vector.EraseAll();
        Fill(vector, values);
        g_asked = SAsked();
        void* pvSlot = nullptr;
        const QvResult res = vector.AllocateSorted(&nKey, CompareAndList, 4711, &pvSlot);
        if (search.uResult < values.size()) search.asked.push_back(search.uResult);
        EXPECT_EQ(search.asked, g_asked.elements);
        EXPECT_TRUE(g_asked.bKeyGivenThrough);
        const bool bThere = search.uResult < values.size() && values[search.uResult] == nKey;
        ASSERT_EQ(bThere ? QV_RES_ALREADY_EXISTS : QV_RES_OK, res);
        EXPECT_EQ(bThere ? nullptr : vector.GetAt(search.uResult), pvSlot);
    }
}
