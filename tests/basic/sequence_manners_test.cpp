// What vector, list and vector-list have for the standard library, and for who comes from there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <list>
#include <memory>
#include <new>
#include <numeric>
#include <ranges>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "tests/support/test_allocator.h"

namespace
{
template <template <typename> class Container>
struct SOf
{
    template <typename T>
    using TOf = Container<T>;
};

template <typename Family>
class CManners : public testing::Test
{
};
using CFamilies = testing::Types<SOf<CVector>, SOf<CList>, SOf<CVList>>;
TYPED_TEST_SUITE(CManners, CFamilies);

struct SNoEquality
{
};

/// A tree: what holds elements of its own kind.
template <typename Family>
struct SBranch
{
    int nValue;
    typename Family::template TOf<SBranch> children;
};

/// A value that is a number or a sequence of values.
template <typename Family>
struct SValue
{
    SValue(int) {}
    SValue(const typename Family::template TOf<SValue>&) {}
};

static_assert(std::ranges::contiguous_range<CVector<int>> && std::ranges::contiguous_range<const CVector<int>>);
static_assert(std::ranges::random_access_range<CVList<int>> && std::ranges::random_access_range<const CVList<int>>);
static_assert(std::ranges::bidirectional_range<CList<int>> && std::ranges::bidirectional_range<const CList<int>>);
// The addresses of nodes tell no distance.
static_assert(!std::sized_sentinel_for<CList<int>::iterator, CList<int>::iterator>);
static_assert(std::random_access_iterator<CVector<int>::reverse_iterator>);
static_assert(std::random_access_iterator<CVList<int>::const_reverse_iterator>);
static_assert(std::bidirectional_iterator<CList<int>::reverse_iterator>);
static_assert(std::is_convertible_v<CVector<int>::reverse_iterator, CVector<int>::const_reverse_iterator>);
static_assert(!std::is_convertible_v<CVector<int>::const_reverse_iterator, CVector<int>::reverse_iterator>);
static_assert(std::ranges::sized_range<CVector<int>> && std::ranges::sized_range<CList<int>>);
}  // namespace

TYPED_TEST(CManners, TheMemberTypesAreThoseOfASequence)
{
    using Container = typename TypeParam::template TOf<std::string>;
    static_assert(std::is_same_v<typename Container::value_type, std::string>);
    static_assert(std::is_same_v<typename Container::size_type, unsigned int>);
    static_assert(std::is_same_v<typename Container::difference_type, std::ptrdiff_t>);
    static_assert(std::is_same_v<typename Container::reference, std::string&>);
    static_assert(std::is_same_v<typename Container::const_reference, const std::string&>);
    static_assert(std::is_same_v<typename Container::pointer, std::string*>);
    static_assert(std::is_same_v<typename Container::const_pointer, const std::string*>);
    static_assert(std::is_same_v<typename Container::iterator, decltype(std::declval<Container&>().begin())>);
    static_assert(std::is_same_v<typename Container::const_iterator, decltype(std::declval<Container&>().cbegin())>);
    static_assert(std::is_same_v<typename Container::reverse_iterator, decltype(std::declval<Container&>().rbegin())>);
    static_assert(
        std::is_same_v<typename Container::const_reverse_iterator, decltype(std::declval<Container&>().crend())>);
}

TYPED_TEST(CManners, EndsSizesAndReverseOrderAreThoseOfAVector)
{
    typename TypeParam::template TOf<int> container{3, 1, 2};
    const auto& rConst = container;
    const std::vector<int> model = {3, 1, 2};
    EXPECT_EQ(3u, rConst.size());
    EXPECT_FALSE(rConst.empty());
    EXPECT_EQ(3, rConst.front());
    EXPECT_EQ(2, rConst.back());
    EXPECT_TRUE(std::equal(rConst.cbegin(), rConst.cend(), model.begin(), model.end()));
    EXPECT_TRUE(std::equal(container.rbegin(), container.rend(), model.rbegin(), model.rend()));
    EXPECT_TRUE(std::equal(rConst.crbegin(), rConst.crend(), model.rbegin(), model.rend()));
    EXPECT_TRUE(std::equal(rConst.rbegin(), rConst.rend(), model.rbegin(), model.rend()));
    container.front() = 7;
    container.back() = 8;
    container.pop_back();
    EXPECT_THAT(container, testing::ElementsAre(7, 1));
    container.clear();
    EXPECT_TRUE(container.empty());
    EXPECT_GE(container.GetCapacity(), 3u) << "the capacity stays";
}

template <typename Container>
class CIndexed : public testing::Test
{
};
using CIndexedContainers = testing::Types<CVector<int>, CVList<int>>;
TYPED_TEST_SUITE(CIndexed, CIndexedContainers);

TYPED_TEST(CIndexed, ReverseIteratorsStepAsTheStandardOnes)
{
    TypeParam container{0, 1, 2, 3, 4, 5};
    const auto first = container.rbegin();
    const auto stdFirst = std::make_reverse_iterator(container.end());
    for (int nFrom = 0; nFrom <= 6; ++nFrom)
    {
        for (int nTo = 0; nTo < 6; ++nTo)
        {
            auto it = first + nFrom;
            auto stdIt = stdFirst + nFrom;
            const auto to = nTo + first;
            const auto stdTo = nTo + stdFirst;
            EXPECT_EQ(stdTo[0], *to);
            EXPECT_EQ(stdIt[nTo - nFrom], it[nTo - nFrom]);
            EXPECT_EQ(stdIt - stdTo, it - to);
            EXPECT_TRUE(it.base() == stdIt.base());
            EXPECT_EQ(stdIt < stdTo, it < to);
            EXPECT_EQ(stdIt > stdTo, it > to);
            EXPECT_EQ(stdIt <= stdTo, it <= to);
            EXPECT_EQ(stdIt >= stdTo, it >= to);
            EXPECT_EQ(stdIt == stdTo, it == to);
            EXPECT_EQ(stdIt != stdTo, it != to);
            it -= nFrom - nTo;
            EXPECT_EQ(to.operator->(), it.operator->());
            it += nFrom - nTo;
            EXPECT_TRUE((it - nFrom) == first);
        }
    }
    auto it = first;
    EXPECT_EQ(5, *it++);
    EXPECT_EQ(4, *it--);
    EXPECT_EQ(4, *++it);
    EXPECT_EQ(5, *--it);
}

TEST(CVectorManners, DataIsWhereTheElementsLie)
{
    CVector<int> vector{1, 2};
    const CVector<int>& rConst = vector;
    EXPECT_EQ(vector.begin(), vector.data());
    EXPECT_EQ(rConst.begin(), rConst.data());
    EXPECT_EQ(nullptr, CVector<int>().data());
}

TYPED_TEST(CManners, BracesHoldValuesOfOneType)
{
    using Ints = typename TypeParam::template TOf<int>;
    using Texts = typename TypeParam::template TOf<std::string>;
    EXPECT_THAT((Ints{5}), testing::ElementsAre(5));
    EXPECT_THAT((Ints{0}), testing::ElementsAre(0));
    EXPECT_THAT((Texts{"a", "b"}), testing::ElementsAre("a", "b"));
    EXPECT_THAT((Texts{std::string("a")}), testing::ElementsAre("a"));
    EXPECT_THAT((typename TypeParam::template TOf<unsigned char>{1, 2}), testing::ElementsAre(1, 2));
    EXPECT_THAT((typename TypeParam::template TOf<Ints>{{1, 2}, {}, {3}}),
                testing::ElementsAre(testing::ElementsAre(1, 2), testing::IsEmpty(), testing::ElementsAre(3)));
    CTestAllocator allocator;
    const Ints watched({1, 2, 3}, &allocator);
    EXPECT_NE(0u, allocator.GetLiveBlocks());
    static_assert(!std::is_constructible_v<Ints, std::initializer_list<double>>, "nothing is cut off unseen");
    const auto none = []() -> Ints { return {}; };
    EXPECT_TRUE(none().IsEmpty());
    const SBranch<TypeParam> tree{1, {{2, {}}, {3, {}}}};
    const SBranch<TypeParam> copy(tree);
    EXPECT_EQ(2, copy.children.front().nValue);
}

// Programs that name an allocator in braces were there first.
TYPED_TEST(CManners, AnAllocatorInBracesIsStillOne)
{
    CTestAllocator allocator;
    IAllocator* const pAllocator = &allocator;
    typename TypeParam::template TOf<void*> pointers{pAllocator};
    typename TypeParam::template TOf<void*> derived{&allocator};
    typename TypeParam::template TOf<IAllocator*> allocators{pAllocator};
    typename TypeParam::template TOf<bool> flags{pAllocator};
    typename TypeParam::template TOf<void*> none{nullptr};
    typename TypeParam::template TOf<std::string> texts{nullptr};
    EXPECT_TRUE(pointers.IsEmpty() && derived.IsEmpty() && allocators.IsEmpty() && flags.IsEmpty());
    EXPECT_TRUE(none.IsEmpty() && texts.IsEmpty());
    EXPECT_EQ(QV_RES_OK, pointers.Append(nullptr));
    EXPECT_EQ(QV_RES_OK, derived.Append(nullptr));
    EXPECT_EQ(QV_RES_OK, allocators.Append(nullptr));
    EXPECT_EQ(QV_RES_OK, flags.Append(true));
    EXPECT_EQ(4u, allocator.GetLiveBlocks());
    const typename TypeParam::template TOf<SValue<TypeParam>> values{1, 2};
    const typename TypeParam::template TOf<SValue<TypeParam>> copy{values};
    EXPECT_EQ(2u, copy.GetSize()) << "a container in braces is copied";
}

TEST(CVectorManners, ConstructionInBracesIsStillChosen)
{
    CTestAllocator allocator;
    CVector<void*> pointers{false, &allocator};
    CVector<int> numbers{false, nullptr};
    EXPECT_TRUE(pointers.IsEmpty() && numbers.IsEmpty());
    ASSERT_EQ(QV_RES_OK, numbers.Insert(0, 1));
    EXPECT_EQ(0, numbers[0]);
}

TEST(CListManners, ABlockAllocatorInBracesIsStillOne)
{
    CTestAllocator allocator;
    const CBlockAllocator blocks(64, &allocator);
    CList<int> list{blocks};
    CVList<int> vectorList{blocks};
    EXPECT_EQ(QV_RES_OK, list.Append(1));
    EXPECT_EQ(QV_RES_OK, vectorList.Append(1));
    EXPECT_EQ(2u, allocator.GetLiveBlocks());
}

TYPED_TEST(CManners, WhatLiesBetweenTwoIteratorsCanBeTaken)
{
    using Ints = typename TypeParam::template TOf<int>;
    const std::vector<int> numbers = {4, 5, 6};
    CTestAllocator allocator;
    const Ints counted(numbers.begin(), numbers.end(), &allocator);
    EXPECT_THAT(counted, testing::ElementsAreArray(numbers));
    EXPECT_EQ(3u, counted.GetCapacity()) << "as many as are known to come";
    const std::list<int> linked(numbers.begin(), numbers.end());
    EXPECT_THAT((Ints(linked.begin(), linked.end())), testing::ElementsAreArray(numbers));
    std::istringstream stream("4 5 6");
    EXPECT_THAT((Ints(std::istream_iterator<int>(stream), std::istream_iterator<int>())),
                testing::ElementsAreArray(numbers));
    std::vector<std::unique_ptr<int>> owned;
    owned.push_back(std::make_unique<int>(7));
    const typename TypeParam::template TOf<std::unique_ptr<int>> taken(std::make_move_iterator(owned.begin()),
                                                                       std::make_move_iterator(owned.end()));
    EXPECT_EQ(7, *taken.front());

    allocator.SetRefusing(true);
    EXPECT_THROW(Ints(numbers.begin(), numbers.end(), &allocator), std::bad_alloc);
    EXPECT_THROW(Ints({1, 2}, &allocator), std::bad_alloc);
}

TYPED_TEST(CManners, AListOfValuesReplacesTheElements)
{
    CTestAllocator allocator;
    typename TypeParam::template TOf<std::string> texts({"a", "b"}, &allocator);
    texts = {"c", "d", "e"};
    EXPECT_THAT(texts, testing::ElementsAre("c", "d", "e"));
    const unsigned int uCapacity = texts.GetCapacity();
    texts.SetLockCapacity(1);
    texts = {};
    EXPECT_THAT(texts, testing::IsEmpty());
    EXPECT_NE(0u, texts.GetLockCapacity());
    EXPECT_EQ(uCapacity, texts.GetCapacity());
}

TYPED_TEST(CManners, EqualityIsThatOfTheElements)
{
    using Doubles = typename TypeParam::template TOf<double>;
    const double dNan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE((Doubles{0.0, 1.0}) == (Doubles{-0.0, 1.0})) << "not that of the bytes";
    EXPECT_FALSE((Doubles{0.0, 1.0}) != (Doubles{-0.0, 1.0}));
    const Doubles unequal{dNan};
    EXPECT_TRUE(unequal != unequal);
    EXPECT_TRUE((Doubles{1.0}) != (Doubles{1.0, 2.0}));
    EXPECT_TRUE((Doubles{1.0, 2.0}) != (Doubles{1.0}));
    EXPECT_TRUE(Doubles() == Doubles());
    using Nested = typename TypeParam::template TOf<Doubles>;
    EXPECT_TRUE((Nested{{1.0}, {2.0}}) == (Nested{{1.0}, {2.0}}));
    EXPECT_FALSE((Nested{{1.0}, {2.0}}) == (Nested{{1.0}, {3.0}}));
    static_assert(!std::equality_comparable<typename TypeParam::template TOf<SNoEquality>>);
    static_assert(std::equality_comparable<Nested>);
}

TYPED_TEST(CManners, ExchangesLeaveTheElementsWhereTheyAre)
{
    using Texts = typename TypeParam::template TOf<std::string>;
    Texts first{"a"};
    Texts second{"b", "c"};
    const std::string* const pFirst = &first.front();
    using std::swap;
    swap(first, second);
    EXPECT_EQ(pFirst, &second.front());
    std::swap(first, second);
    EXPECT_EQ(pFirst, &first.front());
    first.swap(second);
    EXPECT_EQ(pFirst, &second.front());
    EXPECT_THAT(first, testing::ElementsAre("b", "c"));
    static_assert(std::is_nothrow_swappable_v<Texts>);
}

TYPED_TEST(CManners, AlgorithmsWriteEraseAndArrange)
{
    using Ints = typename TypeParam::template TOf<int>;
    const std::vector<int> numbers = {1, 2, 3, 4};
    Ints container;
    std::copy(numbers.begin(), numbers.end(), std::back_inserter(container));
    EXPECT_THAT(container, testing::ElementsAreArray(numbers));
    std::copy(numbers.begin(), numbers.begin() + 2, std::inserter(container, std::next(container.begin())));
    EXPECT_THAT(container, testing::ElementsAre(1, 1, 2, 2, 3, 4));
    const auto next = container.erase(std::remove(container.begin(), container.end(), 2), container.end());
    EXPECT_TRUE(next == container.end());
    EXPECT_THAT(container, testing::ElementsAre(1, 1, 3, 4));
    EXPECT_EQ(3, *container.erase(std::next(container.begin())));
    EXPECT_EQ(3, *container.erase(container.begin(), std::next(container.begin())));
    EXPECT_THAT(container, testing::ElementsAre(3, 4));
    EXPECT_TRUE(container.erase(container.end(), container.end()) == container.end());
    std::ranges::reverse(container);
    EXPECT_THAT(container, testing::ElementsAre(4, 3));
    EXPECT_EQ(7, std::accumulate(container.rbegin(), container.rend(), 0));
    EXPECT_EQ(4, std::ranges::max(container));
}

TYPED_TEST(CManners, TheMatchersOfTheTestFrameworkTakeThem)
{
    const typename TypeParam::template TOf<int> container{3, 1, 2};
    const typename TypeParam::template TOf<int> same{3, 1, 2};
    EXPECT_THAT(container, testing::ElementsAre(3, 1, 2));
    EXPECT_THAT(container, testing::UnorderedElementsAre(1, 2, 3));
    EXPECT_THAT(container, testing::Contains(2));
    EXPECT_THAT(container, testing::Each(testing::Lt(4)));
    EXPECT_THAT(container, testing::SizeIs(3));
    EXPECT_THAT(container, testing::Not(testing::IsEmpty()));
    EXPECT_THAT(container, testing::ContainerEq(same));
    EXPECT_EQ("{ 3, 1, 2 }", testing::PrintToString(container));
}
