// What vector, list and vector-list have in common: above all what their typed classes ask and tell.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "fuzz/models/ordered_twin.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
/// An element that comparisons see by its key, and the log of comparisons by its name.
struct SKeyed
{
    int nKey;
    int nName;
};

/// The names of what was compared, in order.
using CCallLog = std::vector<std::pair<int, int>>;
CCallLog g_log;
constexpr int g_nKEY_NAME = -7;
constexpr unsigned int g_uPARAM = 0xC0FFEE;

struct SLoggingOrder
{
    int operator()(const SKeyed& rElement, const SKeyed& rKey) const
    {
        g_log.emplace_back(rElement.nName, rKey.nName);
        return SNaturalOrder()(rElement.nKey, rKey.nKey);
    }
};

int CompareLogging(const void* pElement, const void* pKey, unsigned int uParam)
{
    EXPECT_EQ(g_uPARAM, uParam);
    return SLoggingOrder()(*static_cast<const SKeyed*>(pElement), *static_cast<const SKeyed*>(pKey));
}

/// A key of another type than the elements.
int AgainstNumber(const SKeyed& rElement, int nKey)
{
    return SLoggingOrder()(rElement, {nKey, g_nKEY_NAME});
}

/// What an operation asked, from an empty log on.
template <typename Operation>
CCallLog CallsOf(Operation operation)
{
    g_log.clear();
    operation();
    return std::exchange(g_log, {});
}

/// Elements with these keys, named by their index.
std::vector<SKeyed> Named(const std::vector<int>& rKeys)
{
    std::vector<SKeyed> elements;
    for (const int nKey : rKeys) elements.push_back({nKey, static_cast<int>(elements.size())});
    return elements;
}

template <typename Container>
void Fill(Container& rContainer, const std::vector<int>& rKeys)
{
    for (const SKeyed& rElement : Named(rKeys)) EXPECT_EQ(QV_RES_OK, rContainer.Append(rElement));
}

template <typename Container>
std::vector<int> NamesOf(const Container& rContainer)
{
    std::vector<int> names;
    for (const SKeyed& rElement : rContainer) names.push_back(rElement.nName);
    return names;
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

template <typename Container>
class CSequence : public testing::Test
{
};
using CKeyedContainers = testing::Types<CVector<SKeyed>, CList<SKeyed>, CVList<SKeyed>>;
TYPED_TEST_SUITE(CSequence, CKeyedContainers);

TYPED_TEST(CSequence, SortsCompareWhomAndWhenThePublishedStepsDo)
{
    for (const std::vector<int>& rKeys : KeyLists())
    {
        TypeParam byCallback, typed;
        Fill(byCallback, rKeys);
        Fill(typed, rKeys);
        std::vector<SKeyed> model = Named(rKeys);
        const unsigned int uSize = static_cast<unsigned int>(model.size());
        const CCallLog expected = CallsOf(
            [&]
            {
                if (uSize != 0) twin::ShellSortPointers(model.data(), uSize, SLoggingOrder());
            });
        EXPECT_EQ(expected, CallsOf([&] { byCallback.Sort(CompareLogging, g_uPARAM); }));
        EXPECT_EQ(expected, CallsOf([&] { typed.Sort(SLoggingOrder()); }));
        EXPECT_EQ(NamesOf(model), NamesOf(byCallback));
        EXPECT_EQ(NamesOf(model), NamesOf(typed));
    }
}

TYPED_TEST(CSequence, TypedSearchesInOrderCompareWhomAndWhenThePublishedStepsDo)
{
    constexpr bool bASKS_SINGLE_TWICE = !std::is_same_v<TypeParam, CList<SKeyed>>;
    for (std::vector<int> keys : KeyLists())
    {
        std::sort(keys.begin(), keys.end());
        const std::vector<SKeyed> model = Named(keys);
        const unsigned int uSize = static_cast<unsigned int>(model.size());
        TypeParam container;
        Fill(container, keys);
        for (int nKey = -1; nKey <= 61; ++nKey)
        {
            SCOPED_TRACE(testing::Message() << "key " << nKey << " among " << testing::PrintToString(keys));
            const SKeyed key{nKey, g_nKEY_NAME};
            const auto ask = [&](unsigned int u) { return SLoggingOrder()(model.at(u), key); };
            unsigned int uBound = 0, uEqual = 0, uFound = 0;
            const CCallLog bound = CallsOf([&] { uBound = twin::LowerBound(uSize, bASKS_SINGLE_TWICE, ask); });
            const CCallLog equal = CallsOf([&] { uEqual = twin::FirstEqual(uSize, bASKS_SINGLE_TWICE, ask); });

            EXPECT_EQ(equal, CallsOf([&] { uFound = container.FindSorted(nKey, AgainstNumber); }));
            ASSERT_EQ(uEqual, uFound);

            EXPECT_EQ(bound, CallsOf([&] { EXPECT_EQ(QV_RES_OK, container.InsertSorted(key, SLoggingOrder())); }));
            ASSERT_EQ(g_nKEY_NAME, container.GetAt(uBound)->nName);
            container.Erase(uBound);

            void* pElement = nullptr;
            QvResult res = QV_RES_FAIL;
            EXPECT_EQ(equal, CallsOf([&] { res = container.AllocateSorted(nKey, AgainstNumber, &pElement); }));
            const bool bThere = uEqual < uSize;
            EXPECT_EQ(bThere ? QV_RES_ALREADY_EXISTS : QV_RES_OK, res);
            ASSERT_EQ(bThere ? nullptr : container.GetAt(uBound), pElement);
            if (!bThere) container.Erase(uBound);
            ASSERT_EQ(uSize, container.GetSize());
        }
    }
}

TYPED_TEST(CSequence, AllocateSortedRefusesANullPlaceForTheAnswerWithoutAQuestion)
{
    TypeParam container;
    Fill(container, {1});
    const SKeyed key{1, g_nKEY_NAME};
    QvResult res = QV_RES_OK;
    EXPECT_EQ(CCallLog(), CallsOf([&] { res = container.AllocateSorted(&key, CompareLogging, g_uPARAM, nullptr); }));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res);
    EXPECT_EQ(CCallLog(), CallsOf([&] { res = container.AllocateSorted(key, SLoggingOrder(), nullptr); }));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, res);
    EXPECT_EQ(1u, container.GetSize());
}

TYPED_TEST(CSequence, TypedFindAsksFromTheStartOnUntilOneIsEqual)
{
    TypeParam container;
    Fill(container, {4, 2, 4, 3, 4});
    for (const unsigned int uStart : {0u, 1u, 4u, 5u, 6u, 0xFFFFFFFFu})
    {
        for (const int nKey : {4, 3, 9})
        {
            SCOPED_TRACE(testing::Message() << nKey << " from " << uStart);
            CCallLog expected;
            unsigned int uExpected = std::min(uStart, 5u);
            for (; uExpected < 5; ++uExpected)
            {
                expected.emplace_back(static_cast<int>(uExpected), g_nKEY_NAME);
                if (container.GetAt(uExpected)->nKey == nKey) break;
            }
            EXPECT_EQ(expected, CallsOf([&] { EXPECT_EQ(uExpected, container.Find(uStart, nKey, AgainstNumber)); }));
        }
    }
}

TYPED_TEST(CSequence, TypedExtremesAreTheFirstOfEqualOnesAndAskEachAgainstTheBest)
{
    TypeParam container;
    EXPECT_EQ(0u, container.GetMinElementIndex(SLoggingOrder()));
    EXPECT_EQ(0u, container.GetMaxElementIndex(SLoggingOrder()));
    Fill(container, {3, 1, 5, 1, 5});
    EXPECT_EQ((CCallLog{{1, 0}, {2, 1}, {3, 1}, {4, 1}}),
              CallsOf([&] { EXPECT_EQ(1u, container.GetMinElementIndex(SLoggingOrder())); }));
    EXPECT_EQ((CCallLog{{1, 0}, {2, 0}, {3, 2}, {4, 2}}),
              CallsOf([&] { EXPECT_EQ(2u, container.GetMaxElementIndex(SLoggingOrder())); }));
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
    for (const char* const pszText : {"pear", "apple", "fig"}) EXPECT_EQ(QV_RES_OK, texts.Append(pszText));
    EXPECT_EQ(1u, texts.GetMinElementIndex());
    EXPECT_EQ(0u, texts.GetMaxElementIndex());
    texts.Sort();
    EXPECT_EQ(QV_RES_OK, texts.InsertSorted("banana"));
    const std::vector<std::string> expected = {"apple", "banana", "fig", "pear"};
    EXPECT_TRUE(std::equal(texts.begin(), texts.end(), expected.begin(), expected.end()));
    EXPECT_EQ(2u, texts.FindSorted(std::string("fig")));
    EXPECT_EQ(3u, texts.Find(0, std::string("pear")));
    EXPECT_EQ(4u, texts.Find(0, std::string("plum")));
}

TYPED_TEST(CTypedFront, MovesExchangeTheElementsWhereTheyAre)
{
    static_assert(std::is_nothrow_move_assignable_v<TypeParam>);
    TypeParam texts;
    EXPECT_EQ(QV_RES_OK, texts.Append(std::string(40, 'a')));
    const std::string* const pFirst = texts.GetAt(0);
    TypeParam moved(std::move(texts));
    EXPECT_EQ(pFirst, moved.GetAt(0));
    TypeParam other;
    EXPECT_EQ(QV_RES_OK, other.Append("other"));
    other = std::move(moved);
    EXPECT_EQ(pFirst, other.GetAt(0));
    EXPECT_EQ(1u, moved.GetSize());
    EXPECT_EQ("other", *moved.GetAt(0));
    const TypeParam& rSame = other;
    other = rSame;
    EXPECT_EQ(pFirst, other.GetAt(0));
}

TYPED_TEST(CTypedFront, CopiesAndWhatIsMovedFromKeepTheSourceOfMemory)
{
    CTestAllocator allocator;
    TypeParam texts(&allocator);
    EXPECT_EQ(QV_RES_OK, texts.Append("a"));
    std::size_t uRequests = allocator.GetRequests().size();
    const TypeParam copy(texts);
    EXPECT_LT(uRequests, allocator.GetRequests().size());
    const TypeParam moved(std::move(texts));
    uRequests = allocator.GetRequests().size();
    EXPECT_EQ(QV_RES_OK, texts.Append("b"));
    EXPECT_LT(uRequests, allocator.GetRequests().size());
}

TYPED_TEST(CTypedFront, AnExchangeTakesAlongWhereAnIndexWasAskedForLast)
{
    TypeParam few;
    TypeParam many;
    for (const char* const pszText : {"a", "b", "c", "d"}) EXPECT_EQ(QV_RES_OK, few.Append(pszText));
    for (const char* const pszText : {"s", "t", "u", "v", "w", "x", "y"}) EXPECT_EQ(QV_RES_OK, many.Append(pszText));
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
    EXPECT_EQ(QV_RES_OK, texts.Append(std::string(50, 'x')));
    for (unsigned int u = 0; u < 20; ++u) ASSERT_EQ(QV_RES_OK, texts.Insert(0, 2, *texts.GetAt(u / 2)));
    for (const std::string& rText : texts) EXPECT_EQ(std::string(50, 'x'), rText);
    EXPECT_EQ(41u, texts.GetSize());
}

TYPED_TEST(CTypedFront, ACapacityWhoseBytesDoNotFitIsOutOfMemoryWithoutARequest)
{
    CTestAllocator allocator;
    TypeParam texts(&allocator);
    EXPECT_EQ(QV_RES_OK, texts.Append("a"));
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
    for (const int nValue : {5, 2, 3}) EXPECT_EQ(QV_RES_OK, container.Append({nValue}));
    EXPECT_EQ(QV_RES_OK, container.Insert(0, 2, SShy{4}));
    container.Sort();
    EXPECT_EQ(QV_RES_OK, container.InsertSorted(SShy{1}));
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

TYPED_TEST(CNodeSequence, ElementsOfAnotherSizeAreNotInserted)
{
    TypeParam narrow(4, nullptr);
    TypeParam wide(16, nullptr);
    EXPECT_EQ(QV_RES_OK, narrow.Insert(0, 1, nullptr));
    EXPECT_EQ(QV_RES_OK, wide.Insert(0, 1, nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, narrow.Insert(0, wide));
    EXPECT_EQ(1u, narrow.GetSize());
    EXPECT_EQ(1u, narrow.GetCapacity()) << "nothing was reserved for what is refused";
}

/// A container of int that is derived from another: counts the calls of its element operations.
template <typename Container>
class CCounting : public Container
{
public:
    using Container::Container;
    ~CCounting() override { Container::EraseAll(); }

    void Construct(void* pElement) override
    {
        ++m_uMade;
        *static_cast<int*>(pElement) = 0;
    }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        ++m_uCopied;
        *static_cast<int*>(pElement) = *static_cast<const int*>(pSource);
    }
    void Destruct(void*) override { ++m_uDestroyed; }

    /// The calls since the last time, as made/copied/destroyed.
    std::string Calls()
    {
        const std::string strCalls =
            std::to_string(m_uMade) + '/' + std::to_string(m_uCopied) + '/' + std::to_string(m_uDestroyed);
        m_uMade = m_uCopied = m_uDestroyed = 0;
        return strCalls;
    }

private:
    unsigned int m_uMade = 0;
    unsigned int m_uCopied = 0;
    unsigned int m_uDestroyed = 0;
};

TEST(CVectorDerived, EveryOperationCallsItsElementOperations)
{
    CCounting<CVector<int>> vector(nullptr);
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(2));
    EXPECT_EQ("0/0/0", vector.Calls());
    ASSERT_EQ(QV_RES_OK, vector.Append(2));
    ASSERT_EQ(QV_RES_OK, vector.Append(1));
    EXPECT_EQ("0/2/0", vector.Calls()) << "within the capacity";
    ASSERT_EQ(QV_RES_OK, vector.Append(3));
    EXPECT_EQ("0/3/2", vector.Calls()) << "two move, one comes";
    ASSERT_EQ(QV_RES_OK, vector.ReserveCapacity(8));
    EXPECT_EQ("0/3/3", vector.Calls());
    ASSERT_EQ(QV_RES_OK, vector.Insert(0, 2, 9));
    EXPECT_EQ("0/5/3", vector.Calls()) << "three make room";
    ASSERT_EQ(QV_RES_OK, vector.Insert(5, 1));
    EXPECT_EQ("1/0/0", vector.Calls());
    vector.Erase(0, 2);
    EXPECT_EQ("0/4/6", vector.Calls()) << "two go, four move down";
    vector.Erase(3);
    EXPECT_EQ("0/0/1", vector.Calls());
    ASSERT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    EXPECT_EQ("0/3/3", vector.Calls());
    vector.Sort();
    EXPECT_NE("0/0/0", vector.Calls());
    EXPECT_EQ((std::vector<int>{1, 2, 3}), std::vector<int>(vector.begin(), vector.end()));
    CCounting<CVector<int>> copy(nullptr);
    copy.CVector<int>::operator=(vector);
    EXPECT_EQ("0/3/0", copy.Calls());
    vector.EraseAll();
    EXPECT_EQ("0/0/3", vector.Calls());
}

TEST(CVectorDerived, WhatIsMadeInPlaceAndPushedGoesThroughThem)
{
    CCounting<CVector<int>> vector(nullptr);
    vector.push_back(1);
    EXPECT_EQ("0/1/0", vector.Calls());
    EXPECT_EQ(2, vector.emplace_back(2));
    EXPECT_EQ("0/1/0", vector.Calls());
    vector.push_back(3);
    EXPECT_EQ("0/1/0", vector.Calls()) << "within the capacity";
    vector.pop_back();
    EXPECT_EQ("0/0/1", vector.Calls());
    ASSERT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    EXPECT_EQ("0/2/2", vector.Calls());
    vector.push_back(vector[1]);
    EXPECT_EQ("0/3/2", vector.Calls()) << "two move, one comes";
    EXPECT_EQ(3, *vector.Emplace(0, 3));
    EXPECT_EQ("0/4/3", vector.Calls()) << "three make room";
    vector.pop_back();
    EXPECT_EQ("0/0/1", vector.Calls());
    CCounting<CVector<int>> source(nullptr);
    CVector<int> plain;
    source.push_back(7);
    source.Calls();
    ASSERT_EQ(QV_RES_OK, plain.Merge(0, source));
    EXPECT_EQ("0/0/1", source.Calls()) << "its element is destroyed by it";
    EXPECT_EQ(7, plain[0]);
}

/// A container of texts that is derived from another: counts the copies of its element operations.
template <typename Container>
class CCopying : public Container
{
public:
    ~CCopying() override { Container::EraseAll(); }
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        ++m_uCopied;
        Container::ConstructFrom(pElement, pSource);
    }

    unsigned int m_uCopied = 0;
};

template <typename Container>
class CTextsDerived : public testing::Test
{
};
using CDerivedTexts =
    testing::Types<CCopying<CVector<std::string>>, CCopying<CList<std::string>>, CCopying<CVList<std::string>>>;
TYPED_TEST_SUITE(CTextsDerived, CDerivedTexts);

TYPED_TEST(CTextsDerived, WhatIsMovedInIsTheirsToMake)
{
    TypeParam texts;
    ASSERT_EQ(QV_RES_OK, texts.ReserveCapacity(9));
    ASSERT_EQ(QV_RES_OK, texts.Append(std::string("a")));
    ASSERT_EQ(QV_RES_OK, texts.Insert(1, std::string("b")));
    ASSERT_EQ(QV_RES_OK, texts.InsertSorted(std::string("c")));
    texts.push_back(std::string("d"));
    texts.insert(texts.end(), std::string("e"));
    EXPECT_EQ(5u, texts.m_uCopied);
    EXPECT_EQ("e", texts.back());
}

template <typename Container>
class CNodesDerived : public testing::Test
{
};
using CDerivedNodes = testing::Types<CCounting<CList<int>>, CCounting<CVList<int>>>;
TYPED_TEST_SUITE(CNodesDerived, CDerivedNodes);

TYPED_TEST(CNodesDerived, WhatIsMadeInPlaceAndPushedGoesThroughThem)
{
    TypeParam container(nullptr);
    for (unsigned int u = 0; u < 2; ++u)
    {
        container.push_back(1);
        EXPECT_EQ("0/1/0", container.Calls());
        EXPECT_EQ(2, container.emplace_back(2));
        EXPECT_EQ("0/1/0", container.Calls());
        EXPECT_EQ(3, *container.Emplace(1, 3));
        EXPECT_EQ("0/1/0", container.Calls());
        EXPECT_EQ(4, *container.insert(std::next(container.begin(), 2), 4));
        EXPECT_EQ("0/1/0", container.Calls());
        EXPECT_EQ(3, *container.GetAt(1));
        EXPECT_EQ(4, *container.GetAt(2));
        container.EraseAll();
        EXPECT_EQ("0/0/4", container.Calls());
    }
}

TEST(CVectorDerived, WithoutConstructionElementsAreBytes)
{
    CCounting<CVector<int>> vector(false, nullptr);
    for (int n = 0; n < 4; ++n) ASSERT_EQ(QV_RES_OK, vector.Append(n));
    vector.push_back(4);
    vector.emplace_back(5);
    vector.pop_back();
    vector.pop_back();
    vector.Erase(1);
    EXPECT_EQ((std::vector<int>{0, 2, 3}), std::vector<int>(vector.begin(), vector.end()));
    vector.EraseAll();
    EXPECT_EQ("0/0/0", vector.Calls());
}

TEST(CListDerived, EveryOperationCallsItsElementOperations)
{
    CCounting<CList<int>> list(nullptr);
    ASSERT_EQ(QV_RES_OK, list.ReserveCapacity(1));
    ASSERT_EQ(QV_RES_OK, list.Append(1));
    EXPECT_EQ("0/1/0", list.Calls()) << "into a free node";
    ASSERT_EQ(QV_RES_OK, list.Append(2));
    EXPECT_EQ("0/1/0", list.Calls());
    list.EraseAll();
    EXPECT_EQ("0/0/2", list.Calls());
}
}  // namespace
