// What vector, list and vector-list have in common.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>

#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "tests/basic/sequence_model.h"
#include "tests/support/container_elements.h"
#include "tests/support/logged_container.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
constexpr int g_nKEY_NAME = -7;

std::vector<SKeyed> Named(const std::vector<int>& rKeys)
{
    std::vector<SKeyed> elements;
    for (const int nKey : rKeys) elements.push_back({nKey, static_cast<int>(elements.size())});
    return elements;
}

template <typename Container>
std::vector<int> NamesOf(const Container& rContainer)
{
    std::vector<int> names;
    for (const SKeyed& rElement : rContainer) names.push_back(rElement.nName);
    return names;
}

template <typename Container>
void Fill(Container& rContainer, const std::vector<int>& rKeys)
{
    for (const SKeyed& rElement : Named(rKeys)) rContainer.Append(rElement);
}

// Whom the published sort compares; sorts the elements.
CCallLog ModelSort(std::vector<SKeyed>& rElements)
{
    std::vector<int> keys;
    for (const SKeyed& rElement : rElements) keys.push_back(rElement.nKey);
    CCallLog log;
    SKeyed held{};
    for (const SSortStep& rStep : ModelShellSortSteps(keys))
    {
        SKeyed& rFirst = rElements.at(rStep.uFirst);
        switch (rStep.eWhat)
        {
            case SSortStep::eHOLD: held = rFirst; break;
            case SSortStep::eCOMPARE: log.emplace_back(rFirst.nName, held.nName); break;
            case SSortStep::eSHIFT: rElements.at(rStep.uSecond) = rFirst; break;
            default: rFirst = held;
        }
    }
    return log;
}

std::vector<std::vector<int>> KeyLists()
{
    std::mt19937 rng(TestSeed());
    std::vector<std::vector<int>> lists = {{}, {5}, {5, 5}, {2, 1}, {1, 2}, {3, 3, 3, 3, 3}, {6, 5, 4, 3, 2, 1, 0}};
    for (unsigned int uList = 0; uList < 40; ++uList)
    {
        std::vector<int> keys(Below(rng, 150));
        const unsigned int uDifferent = 1 + Below(rng, 60);
        for (int& rnKey : keys) rnKey = static_cast<int>(Below(rng, uDifferent));
        lists.push_back(keys);
    }
    return lists;
}

int ByKey(const SKeyed& rFirst, const SKeyed& rSecond)
{
    return rFirst.nKey - rSecond.nKey;
}

int AgainstNumber(const SKeyed& rElement, int nKey)
{
    return rElement.nKey - nKey;
}

template <typename Container>
class CSequence : public testing::Test
{
};
using CKeyedContainers = testing::Types<CVector<SKeyed>, CList<SKeyed>, CVList<SKeyed>>;
TYPED_TEST_SUITE(CSequence, CKeyedContainers);

TYPED_TEST(CSequence, SortComparesWhomAndWhenThePublishedStepsDo)
{
    for (const std::vector<int>& rKeys : KeyLists())
    {
        TypeParam container;
        Fill(container, rKeys);
        std::vector<SKeyed> model = Named(rKeys);
        const CCallLog expected = ModelSort(model);
        EXPECT_EQ(expected, CallsOf([&] { container.Sort(CompareLogging, g_uLOG_PARAM); }));
        EXPECT_EQ(NamesOf(model), NamesOf(container));
    }
}

TYPED_TEST(CSequence, ATypedSortComparesTheSameElements)
{
    for (const std::vector<int>& rKeys : KeyLists())
    {
        TypeParam container;
        Fill(container, rKeys);
        std::vector<SKeyed> model = Named(rKeys);
        const CCallLog expected = ModelSort(model);
        CCallLog log;
        container.Sort(
            [&log](const SKeyed& rFirst, const SKeyed& rSecond)
            {
                log.emplace_back(rFirst.nName, rSecond.nName);
                return ByKey(rFirst, rSecond);
            });
        EXPECT_EQ(expected, log);
        EXPECT_EQ(NamesOf(model), NamesOf(container));
    }
}

TYPED_TEST(CSequence, SearchesInOrderCompareWhomAndWhenThePublishedStepsDo)
{
    for (std::vector<int> keys : KeyLists())
    {
        std::sort(keys.begin(), keys.end());
        TypeParam container;
        Fill(container, keys);
        for (int nKey = -1; nKey <= 61; ++nKey)
        {
            const SKeyed key{nKey, g_nKEY_NAME};
            SSearch search = ModelLowerBound(keys, nKey);
            const unsigned int uBound = search.uResult;
            ASSERT_EQ(uBound, std::lower_bound(keys.begin(), keys.end(), nKey) - keys.begin());
            // A list is content with the first answer of a single element.
            if (std::is_same_v<TypeParam, CList<SKeyed>> && keys.size() == 1) search.asked.resize(1);
            CCallLog bound;
            for (const unsigned int uAsked : search.asked) bound.emplace_back(static_cast<int>(uAsked), g_nKEY_NAME);
            CCallLog find = bound;
            if (uBound < keys.size()) find.emplace_back(static_cast<int>(uBound), g_nKEY_NAME);
            const bool bThere = uBound < keys.size() && keys[uBound] == nKey;

            unsigned int uFound = 0;
            EXPECT_EQ(find, CallsOf([&] { uFound = container.FindSorted(&key, CompareLogging, g_uLOG_PARAM); }));
            EXPECT_EQ(bThere ? uBound : keys.size(), uFound);
            EXPECT_EQ(uFound, container.FindSorted(nKey, AgainstNumber));

            TypeParam inserted(container);
            EXPECT_EQ(bound, CallsOf([&] { inserted.InsertSorted(key, CompareLogging, g_uLOG_PARAM); }));
            ASSERT_EQ(g_nKEY_NAME, inserted.GetAt(uBound)->nName);
            inserted.Erase(uBound);
            inserted.InsertSorted(key, ByKey);
            ASSERT_EQ(g_nKEY_NAME, inserted.GetAt(uBound)->nName);

            void* pElement = nullptr;
            QvResult res = QV_RES_FAIL;
            inserted.Erase(uBound);
            EXPECT_EQ(find,
                      CallsOf([&] { res = inserted.AllocateSorted(&key, CompareLogging, g_uLOG_PARAM, &pElement); }));
            EXPECT_EQ(bThere ? QV_RES_ALREADY_EXISTS : QV_RES_OK, res);
            ASSERT_EQ(bThere ? keys.size() : keys.size() + 1, inserted.GetSize());
            if (!bThere) EXPECT_EQ(inserted.GetAt(uBound), pElement);
            else EXPECT_EQ(QV_RES_ALREADY_EXISTS, inserted.AllocateSorted(nKey, AgainstNumber, &pElement));
        }
    }
}

TYPED_TEST(CSequence, AllocateSortedRefusesANullPlaceForTheAnswer)
{
    TypeParam container;
    const SKeyed key{1, 1};
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, container.AllocateSorted(&key, CompareLogging, 0, nullptr));
    EXPECT_TRUE(container.IsEmpty());
}

TYPED_TEST(CSequence, AllocateSortedWithoutMemoryFails)
{
    CTestAllocator allocator;
    TypeParam container(&allocator);
    allocator.SetRefusing(true);
    const SKeyed key{1, 1};
    void* pElement = nullptr;
    EXPECT_EQ(QV_RES_FAIL, container.AllocateSorted(&key, CompareLogging, 0, &pElement));
    EXPECT_EQ(nullptr, container.Allocate(0));
    EXPECT_TRUE(container.IsEmpty());
}

TYPED_TEST(CSequence, FindAsksFromTheStartOnUntilOneIsEqual)
{
    TypeParam container;
    Fill(container, {4, 2, 4, 3, 4});
    const SKeyed key{4, g_nKEY_NAME};
    const auto find = [&](unsigned int uStart) { return container.Find(uStart, &key, CompareLogging, g_uLOG_PARAM); };
    EXPECT_EQ((CCallLog{{1, g_nKEY_NAME}, {2, g_nKEY_NAME}}), CallsOf([&] { EXPECT_EQ(2u, find(1)); }));
    EXPECT_EQ((CCallLog{{4, g_nKEY_NAME}}), CallsOf([&] { EXPECT_EQ(4u, find(4)); }));
    for (const unsigned int uStart : {5u, 6u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(CCallLog(), CallsOf([&] { EXPECT_EQ(5u, find(uStart)); }));
    }
    EXPECT_EQ(3u, container.Find(0, 3, AgainstNumber));
    EXPECT_EQ(5u, container.Find(0, 9, AgainstNumber));
}

TYPED_TEST(CSequence, ExtremesAreTheFirstOfEqualOnesAndAskEachAgainstTheBest)
{
    TypeParam container;
    EXPECT_EQ(0u, container.GetMinElementIndex(CompareLogging, 0));
    EXPECT_EQ(0u, container.GetMaxElementIndex(CompareLogging, 0));
    Fill(container, {3, 1, 5, 1, 5});
    EXPECT_EQ((CCallLog{{1, 0}, {2, 1}, {3, 1}, {4, 1}}),
              CallsOf([&] { EXPECT_EQ(1u, container.GetMinElementIndex(CompareLogging, g_uLOG_PARAM)); }));
    EXPECT_EQ((CCallLog{{1, 0}, {2, 0}, {3, 2}, {4, 2}}),
              CallsOf([&] { EXPECT_EQ(2u, container.GetMaxElementIndex(CompareLogging, g_uLOG_PARAM)); }));
    EXPECT_EQ(1u, container.GetMinElementIndex(ByKey));
    EXPECT_EQ(2u, container.GetMaxElementIndex(ByKey));
}

TYPED_TEST(CSequence, FewerThanTwoElementsAreSortedWithoutACall)
{
    TypeParam container;
    EXPECT_EQ(CCallLog(), CallsOf([&] { container.Sort(CompareLogging, g_uLOG_PARAM); }));
    Fill(container, {1});
    EXPECT_EQ(CCallLog(), CallsOf([&] { container.Sort(CompareLogging, g_uLOG_PARAM); }));
}

TYPED_TEST(CSequence, IndexesOfAnEmptyContainerWrap)
{
    const TypeParam container;
    EXPECT_EQ(0u, container.GetFirstIndex());
    EXPECT_EQ(0xFFFFFFFFu, container.GetLastIndex());
    EXPECT_EQ(0u, container.GetEndIndex());
    EXPECT_EQ(nullptr, container.GetAt(0));
    EXPECT_TRUE(container.begin() == container.end());
}

template <typename Container>
class CTypedFront : public testing::Test
{
};
using CTextContainers = testing::Types<CVector<std::string>, CList<std::string>, CVList<std::string>>;
TYPED_TEST_SUITE(CTypedFront, CTextContainers);

TYPED_TEST(CTypedFront, WithoutAComparisonTheOrderIsThatOfLess)
{
    TypeParam texts;
    for (const char* const pszText : {"pear", "apple", "fig"}) texts.Append(pszText);
    EXPECT_EQ(1u, texts.GetMinElementIndex());
    EXPECT_EQ(0u, texts.GetMaxElementIndex());
    texts.Sort();
    texts.InsertSorted("banana");
    const std::vector<std::string> expected = {"apple", "banana", "fig", "pear"};
    EXPECT_TRUE(std::equal(texts.begin(), texts.end(), expected.begin(), expected.end()));
    EXPECT_EQ(2u, texts.FindSorted(std::string("fig")));
    EXPECT_EQ(3u, texts.Find(0, std::string("pear")));
    EXPECT_EQ(4u, texts.Find(0, std::string("plum")));
}

TYPED_TEST(CTypedFront, CopiesAndMovesAreWhatTheySay)
{
    CTestAllocator allocator;
    TypeParam texts(&allocator);
    for (int n = 0; n < 5; ++n) texts.Append(std::string(40, static_cast<char>('a' + n)));
    const TypeParam copy(texts);
    TypeParam assigned;
    assigned = copy;
    const TypeParam& rSame = assigned;
    assigned = rSame;
    EXPECT_TRUE(std::equal(texts.begin(), texts.end(), copy.begin(), copy.end()));
    EXPECT_TRUE(std::equal(texts.begin(), texts.end(), assigned.begin(), assigned.end()));
    const std::string* const pFirst = texts.GetAt(0);
    TypeParam moved(std::move(texts));
    EXPECT_EQ(pFirst, moved.GetAt(0));
    EXPECT_EQ(5u, moved.GetSize());
    TypeParam other;
    other.Append("other");
    other = std::move(moved);
    EXPECT_EQ(pFirst, other.GetAt(0));
    EXPECT_EQ(1u, moved.GetSize());
    EXPECT_EQ("other", *moved.GetAt(0));
}

TYPED_TEST(CTypedFront, CopiesAndWhatIsMovedFromKeepTheSourceOfMemory)
{
    CTestAllocator allocator;
    TypeParam texts(&allocator);
    texts.Append("a");
    std::size_t uRequests = allocator.GetRequests().size();
    const TypeParam copy(texts);
    EXPECT_LT(uRequests, allocator.GetRequests().size());
    const TypeParam moved(std::move(texts));
    uRequests = allocator.GetRequests().size();
    texts.Append("b");
    EXPECT_LT(uRequests, allocator.GetRequests().size());
}

TYPED_TEST(CTypedFront, AnExchangeTakesAlongWhereAnIndexWasAskedForLast)
{
    static_assert(std::is_nothrow_move_assignable_v<TypeParam>);
    TypeParam few;
    TypeParam many;
    for (const char* const pszText : {"a", "b", "c", "d"}) few.Append(pszText);
    for (const char* const pszText : {"s", "t", "u", "v", "w", "x", "y"}) many.Append(pszText);
    few.GetAt(1);
    many.GetAt(4);
    few = std::move(many);
    EXPECT_EQ("v", *few.GetAt(3));
    EXPECT_EQ("c", *many.GetAt(2));
    TypeParam moved(std::move(few));
    EXPECT_EQ("u", *moved.GetAt(2));
    EXPECT_EQ(nullptr, few.GetAt(0));
}

TYPED_TEST(CTypedFront, AnElementOfTheContainerItselfMayBeInserted)
{
    TypeParam texts;
    texts.Append(std::string(50, 'x'));
    for (unsigned int u = 0; u < 20; ++u) ASSERT_EQ(QV_RES_OK, texts.Insert(0, 2, *texts.GetAt(u / 2)));
    for (const std::string& rText : texts) EXPECT_EQ(std::string(50, 'x'), rText);
    EXPECT_EQ(41u, texts.GetSize());
}

TYPED_TEST(CTypedFront, ALockedCapacityNeitherGrowsNorShrinks)
{
    TypeParam texts;
    ASSERT_EQ(QV_RES_OK, texts.ReserveCapacity(2));
    texts.SetLockCapacity(7);
    EXPECT_EQ(7u, texts.GetLockCapacity());
    EXPECT_EQ(QV_RES_OK, texts.ReserveCapacity(2));
    EXPECT_EQ(QV_RES_INVALID_STATE, texts.ReserveCapacity(3));
    EXPECT_EQ(QV_RES_INVALID_STATE, texts.ReduceCapacity(2));
    EXPECT_EQ(QV_RES_INVALID_STATE, texts.Insert(0, 3));
    EXPECT_EQ(QV_RES_OK, texts.Insert(0, 2));
    EXPECT_EQ(QV_RES_INVALID_STATE, texts.Append("x"));
    EXPECT_EQ(nullptr, texts.Allocate(0));
    TypeParam more;
    more.Append("y");
    EXPECT_EQ(QV_RES_INVALID_STATE, texts.Merge(0, more));
    EXPECT_EQ(QV_RES_INVALID_STATE, texts.Insert(0, more));
    more.Insert(0, 4);
    EXPECT_EQ(QV_RES_INVALID_STATE, more.Split(0, texts));
    texts = more;
    EXPECT_EQ(2u, texts.GetSize());
    EXPECT_EQ(2u, texts.GetCapacity());
    texts.SetLockCapacity(0);
    EXPECT_EQ(QV_RES_OK, texts.Append("x"));
}

TYPED_TEST(CTypedFront, IndexesBeyondTheEndAndOneselfAreRefused)
{
    TypeParam texts;
    TypeParam more;
    texts.Insert(0, 3, "a");
    more.Append("b");
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, texts.Insert(4, 1, "x"));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, texts.Insert(4, more));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, texts.Merge(4, more));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, texts.Split(3, more));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, texts.Merge(0, texts));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, texts.Split(0, texts));
    EXPECT_EQ(nullptr, texts.Allocate(4));
    texts.Erase(3, 1);
    texts.Erase(3);
    texts.Erase(0xFFFFFFFF, 0xFFFFFFFF);
    texts.Swap(0, 3);
    texts.Swap(3, 0);
    EXPECT_EQ(3u, texts.GetSize());
    EXPECT_EQ(1u, more.GetSize());
    texts.Erase(1, 100);
    EXPECT_EQ(1u, texts.GetSize());
}

TYPED_TEST(CTypedFront, ACapacityWhoseBytesDoNotFitIsOutOfMemory)
{
    CTestAllocator allocator;
    TypeParam texts(&allocator);
    texts.Append("a");
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, texts.ReserveCapacity(0xFFFFFFFF));
    EXPECT_EQ(1u, texts.GetSize());
    EXPECT_EQ(1u, allocator.GetRequests().size());
}

// An element that does not hand out its address: containers must not ask it.
struct SShy
{
    SShy* operator&() = delete;
    const SShy* operator&() const = delete;
    bool operator<(const SShy& rOther) const { return nValue < rOther.nValue; }
    int nValue;
};

template <typename Container>
class CSequenceOfShy : public testing::Test
{
};
using CShyContainers = testing::Types<CVector<SShy>, CList<SShy>, CVList<SShy>>;
TYPED_TEST_SUITE(CSequenceOfShy, CShyContainers);

TYPED_TEST(CSequenceOfShy, AnAddressOperatorOfTheElementIsNotUsed)
{
    TypeParam container;
    for (const int nValue : {5, 2, 3}) container.Append({nValue});
    container.Insert(0, 2, SShy{4});
    container.Sort();
    container.InsertSorted(SShy{1});
    EXPECT_EQ(3u, container.FindSorted(SShy{4}));
    EXPECT_EQ(5u, container.Find(0, SShy{5}));
    EXPECT_EQ(5u, container.GetMaxElementIndex());
    EXPECT_EQ(1, container.begin()->nValue);
    const TypeParam& rConst = container;
    for (unsigned int u = 1; u < 6; ++u) EXPECT_LE(rConst.GetAt(u - 1)->nValue, container.GetAt(u)->nValue);
}

template <typename Base>
class CNodeSequence : public testing::Test
{
};
using CNodeBases = testing::Types<CListBase, CVListBase>;
TYPED_TEST_SUITE(CNodeSequence, CNodeBases);

TYPED_TEST(CNodeSequence, ElementsAreMadeCopiedAndDestroyedInOrder)
{
    std::string log;
    CLogged<TypeParam> container('a', log);
    const int nSource = 5;
    container.Insert(0, 2, nullptr);
    container.Insert(1, 2, &nSource);
    EXPECT_EQ("ac0 ac0 af5 af5 ", log);
    EXPECT_EQ("0 5 5 0 ", container.Values());
    log.clear();
    container.Erase(1, 3);
    EXPECT_EQ("ad5 ad5 ad0 ", log);
    container.Erase(0, 0);
    EXPECT_EQ("0 ", container.Values());
    EXPECT_EQ(QV_RES_OK, container.Insert(1, 0, nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, container.Insert(2, 0, nullptr)) << "the index is looked at first";
}

TYPED_TEST(CNodeSequence, ElementsOfAnotherSizeAreRefused)
{
    TypeParam narrow(4, nullptr);
    TypeParam wide(16, nullptr);
    narrow.Insert(0, 1, nullptr);
    wide.Insert(0, 1, nullptr);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, narrow.Insert(0, wide));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, narrow.Merge(0, wide));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, narrow.Split(0, wide));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, TypeParam::Copy(&narrow, 0, &wide, 0, 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, TypeParam::Move(&narrow, 0, &wide, 0, 1));
    narrow = wide;
    EXPECT_EQ(1u, narrow.GetSize());
    EXPECT_EQ(1u, wide.GetSize());
}
}  // namespace
