// What the twin over std::map does beside the library's maps needs no example here: this is about what std::map does
// not do, keys that become others, types that cannot be copied, and about what a search asks.
#include "framework/basic/map.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <ranges>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/string.h"
#include "fuzz/models/map_steps.h"
#include "fuzz/models/random_runs.h"
#include "tests/support/container_elements.h"
#include "tests/support/refusing_new.h"
#include "tests/support/test_allocator.h"

TEST(CMapTwin, WhateverIsDoneItIsWhatTheStandardMapIs)
{
    twin::RunRandomly(twin::CompareMaps, 3000);
}

TEST(Map, AnEntryIsTakenApartAndItsKeyIsConst)
{
    CMap<CString, long> counts;
    for (const char* const pszWord : {"to", "be", "or", "not", "to", "be"}) ++counts[pszWord];
    std::string strCounts;
    for (auto& [word, count] : counts)
    {
        static_assert(std::is_same_v<decltype(word), const CString> && std::is_same_v<decltype(count), long>);
        strCounts += std::string(word.CStr()) + std::to_string(count);
        count = 0;
    }
    EXPECT_EQ("be2not1or1to2", strCounts);
    EXPECT_EQ(0, counts.Find("to")->value);
    EXPECT_EQ(CString("be"), counts.GetFirst()->key);
    EXPECT_EQ(CString("to"), std::as_const(counts).GetLast()->key);
    counts.Erase(counts.begin());
    counts.Erase(std::as_const(counts).begin());
    EXPECT_EQ(2u, counts.GetSize());

    using Map = CMap<CString, long>;
    static_assert(std::bidirectional_iterator<Map::iterator> && std::bidirectional_iterator<Map::const_iterator>);
    static_assert(std::is_same_v<Map::key_type, CString> && std::is_same_v<Map::mapped_type, long> &&
                  std::is_same_v<Map::value_type, SMapEntry<CString, long>>);
    static_assert(std::is_nothrow_move_constructible_v<Map> && std::is_nothrow_move_assignable_v<Map> &&
                  std::is_nothrow_swappable_v<Map>);
    static_assert(!std::is_convertible_v<IAllocator*, Map>);
}

TEST(Map, KeysAndValuesOfAnyTypeLiveAsLongAsTheirEntry)
{
    const int nLive = CCounted::ms_nLive;
    {
        CMap<CCounted, CCounted> map;
        for (int n = 0; n < 50; ++n) ASSERT_EQ(QV_RES_OK, map.Insert(CCounted(n * 7 % 50), CCounted(n)));
        EXPECT_EQ(QV_RES_ALREADY_EXISTS, map.Insert(CCounted(3), CCounted(99)));
        EXPECT_EQ(0, map[CCounted(50)].GetValue());
        EXPECT_TRUE(map.Erase(CCounted(7)));
        EXPECT_FALSE(map.Erase(CCounted(7)));
        EXPECT_EQ(QV_RES_OK, map.InsertOrAssign(CCounted(14), CCounted(-1)));
        EXPECT_EQ(-1, map.Find(CCounted(14))->value.GetValue());
        EXPECT_EQ(nLive + 100, CCounted::ms_nLive);
        CMap<CCounted, CCounted> copy(map);
        copy = map;
    }
    EXPECT_EQ(nLive, CCounted::ms_nLive);
    EXPECT_EQ(0, CCounted::ms_nStray);
}

TEST(Map, PointersAreKeysAndStillDifferFromHandles)
{
    int anNumbers[2] = {};
    CMap<void*, int> map;
    map[&anNumbers[1]] = 2;
    map[&anNumbers[0]] = 1;
    EXPECT_EQ(1, map.begin()->value);
    map.Erase(map.begin());
    map.Erase(std::as_const(map).Find(&anNumbers[0]));
    EXPECT_EQ(1u, map.GetSize());
    EXPECT_TRUE(map.Erase(&anNumbers[1]));
}

TEST(Map, NullIsNoPlaceForAHandle)
{
    CMap<int, int> map;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, map.FindOrInsert(1, nullptr));
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(QV_RES_OK, map.Insert(1, 2, nullptr));
    map.Erase(CMap<int, int>::handle());
    EXPECT_EQ(1u, map.GetSize());
}

TEST(Map, MapsOfOtherKeysDiffer)
{
    CMap<int, int> first;
    CMap<int, int> second;
    first[1] = second[2] = 5;
    EXPECT_FALSE(first == second);
    EXPECT_TRUE(first != second);
    first[2] = second[1] = 5;
    EXPECT_TRUE(first == second);
}

TEST(Map, NumbersConvertToKeysAsTheyDoToParameters)
{
    CMap<unsigned short, int> map;
    map[0] = 1;
    map[0xFFFF] = 2;
    CMap<long, int> wide;
    const signed char cMinus = -1;
    wide[cMinus] = 1;
    wide[0] = 2;
    EXPECT_EQ(0xFFFF, map.GetLast()->key);
    EXPECT_EQ(map.GetLast(), map.FindLowerBound(1));
    EXPECT_EQ(1, wide.Find(cMinus)->value);
    EXPECT_EQ(-1, wide.GetFirst()->key);
}

TEST(Map, KeysThatCompareButDoNotConvertAreLookedForAsTheyAre)
{
    using Map = CMap<std::string, int>;
    static_assert(!std::is_convertible_v<std::string_view, std::string>);
    Map map;
    const std::string strLong(100, 'b');
    const std::string_view viewLong = strLong;
    map["a"] = 1;
    map[strLong] = 2;
    map[std::string_view("c")] = 3;
    {
        const CNewRecord record;
        EXPECT_EQ(2, map.Find(viewLong)->value);
        EXPECT_EQ(2, std::as_const(map).Find(viewLong)->value);
        EXPECT_EQ(2, ++map[viewLong] - 1);
        EXPECT_EQ(strLong, map.FindLowerBound(viewLong)->key);
        EXPECT_EQ("c", map.FindUpperBound(viewLong)->key);
        EXPECT_EQ("c", std::as_const(map).FindLowerBound(viewLong).GetNext()->key);
        EXPECT_EQ("c", std::as_const(map).FindUpperBound(viewLong)->key);
        Map::handle found;
        EXPECT_EQ(QV_RES_OK, map.FindOrInsert(viewLong, &found));
        EXPECT_EQ(3, found->value);
        EXPECT_EQ(QV_RES_ALREADY_EXISTS, map.Insert(viewLong, 7));
        EXPECT_EQ(QV_RES_OK, map.InsertOrAssign(viewLong, 7));
        EXPECT_TRUE(map.Erase(viewLong));
        EXPECT_TRUE(record.GetRequests().empty());
    }
    EXPECT_EQ(QV_RES_OK, map.Insert(viewLong, 8));
    EXPECT_EQ(QV_RES_OK, map.InsertOrAssign(std::string_view("d"), 9));
    EXPECT_EQ(4u, map.GetSize());
    EXPECT_FALSE(map.Find(std::string_view("e")));
}

namespace
{
/// A number that becomes a key of eight bits.
struct SWide
{
    int nValue;
};

struct SNarrow
{
    explicit SNarrow(SWide wide) : cValue(static_cast<signed char>(wide.nValue)) {}

    signed char cValue;

    friend bool operator<(SNarrow first, SNarrow second) { return first.cValue < second.cValue; }
    friend bool operator<(SNarrow first, SWide second) { return first.cValue < second.nValue; }
    friend bool operator<(SWide first, SNarrow second) { return first.nValue < second.cValue; }
};
}  // namespace

TEST(Map, ATextThatIsTooLongForAKeyIsTheEmptyOne)
{
    const std::string strTooLong(CString::uMAX_SIZE + 1, 'x');
    CMap<CString, int> map;
    map[strTooLong.c_str()] = 1;
    EXPECT_EQ(1, map.Find("")->value);
    EXPECT_TRUE(map.contains(strTooLong.c_str()));
    CAATree<CString> tree;
    EXPECT_EQ(QV_RES_OK, tree.Insert(strTooLong.c_str()));
    EXPECT_TRUE(tree.contains(""));
}

TEST(Map, AKeyThatBecomesAnotherOneIsRefusedAndLeavesTheOrder)
{
    CTestAllocator allocator;
    CMap<SNarrow, int> map(&allocator);
    for (const int n : {20, -20, 60, 100, -100, 0, 40, 80}) ASSERT_EQ(QV_RES_OK, map.Insert(SWide{n}, n));
    const CMap<SNarrow, int> before(map);
    CMap<SNarrow, int>::handle found;
    unsigned int uRefused = 0;
    for (int n = -700; n <= 700; ++n)
    {
        SCOPED_TRACE(n);
        if (map.Find(SWide{n}) || (n >= -128 && n <= 127)) continue;
        // -500 is before -100, and as a key 12; 610 is behind 100, and as a key 98; 631 is 119, which fits there.
        const int nKey = static_cast<signed char>(n);
        if (n > 0 ? nKey > 100 : nKey < -100) continue;
        ++uRefused;
        ASSERT_EQ(QV_RES_INVALID_ARGUMENT, map.Insert(SWide{n}, n));
        ASSERT_EQ(QV_RES_INVALID_ARGUMENT, map.FindOrInsert(SWide{n}, &found));
        ASSERT_EQ(QV_RES_INVALID_ARGUMENT, map.InsertOrAssign(SWide{n}, n));
        ASSERT_THROW(map[SWide{n}] = 1, std::bad_alloc);
        ASSERT_TRUE(map == before);
    }
    EXPECT_FALSE(found);
    EXPECT_LT(500u, uRefused);
    EXPECT_EQ(map.GetSize() + 1, map.GetCapacity()) << "the node that was made is used again";

    const int nLive = CCounted::ms_nLive;
    CMap<SNarrow, CCounted> counted;
    counted[SWide{1}] = CCounted(5);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, counted.Insert(SWide{-500}, CCounted(3)));
    EXPECT_EQ(nLive + 1, CCounted::ms_nLive) << "what was made is destroyed";
}

namespace
{
/// Counts how often it is compared.
struct SCountingKey
{
    int nValue;

    friend bool operator<(const SCountingKey& rFirst, const SCountingKey& rSecond)
    {
        ++ms_uComparisons;
        return rFirst.nValue < rSecond.nValue;
    }

    static inline unsigned int ms_uComparisons = 0;
};
}  // namespace

// A tree is never higher than 2 log2(n + 1): 20 for 1,000 entries. One comparison more tells whether the key is there.
TEST(Map, ACallDescendsOnce)
{
    constexpr unsigned int uHEIGHT = 20;
    using Map = CMap<SCountingKey, int>;
    Map map;
    for (int n = 0; n < 500; ++n) map[SCountingKey{n * 202 % 1000}] = n;
    Map::handle found;
    const auto expectOneDescent = [&](auto call)
    {
        SCountingKey::ms_uComparisons = 0;
        call();
        EXPECT_GE(uHEIGHT + 1, SCountingKey::ms_uComparisons);
        EXPECT_LE(6u, SCountingKey::ms_uComparisons);
    };
    for (int n = 0; n < 500; ++n)
    {
        expectOneDescent([&] { ++map[SCountingKey{n}]; });
        expectOneDescent([&] { EXPECT_LE(0, map.FindOrInsert(SCountingKey{n}, &found)); });
        expectOneDescent([&] { map.Find(SCountingKey{n}); });
        expectOneDescent([&] { static_cast<void>(map.Insert(SCountingKey{n + 500}, n)); });
        expectOneDescent([&] { EXPECT_EQ(QV_RES_OK, map.InsertOrAssign(SCountingKey{n + 500}, n)); });
        expectOneDescent([&] { map.FindLowerBound(SCountingKey{n}); });
        expectOneDescent([&] { map.FindUpperBound(SCountingKey{n}); });
    }
    EXPECT_EQ(1000u, map.GetSize());
}

TEST(Map, EveryRequestForMemoryMayFail)
{
    CTestAllocator allocator;
    for (unsigned int uNth = 1;; ++uNth)
    {
        CMap<CString, CString> map(&allocator);
        allocator.RefuseNth(uNth);
        unsigned int uExpected = 0;
        for (const char* const pszWord : {"b", "a", "d", "c", "b"})
        {
            CMap<CString, CString>::handle found;
            const QvResult res = map.FindOrInsert(pszWord, &found);
            if (QvSucceeded(res)) found->value = pszWord;
            else { ASSERT_EQ(QV_RES_OUT_OF_MEMORY, res); }
        }
        for (const auto& [key, value] : map)
        {
            EXPECT_EQ(key, value);
            ++uExpected;
        }
        EXPECT_EQ(uExpected, map.GetSize());
        const bool bRefused = allocator.HasRefused();
        allocator.RefuseNth(0);
        EXPECT_EQ(bRefused && uNth != 1 ? 3u : 4u, map.GetSize()) << "\"b\" comes once more";
        if (!bRefused) break;
        ASSERT_GT(10u, uNth);
    }
}

namespace
{
using Owner = std::unique_ptr<int>;

/// Stays where it is made.
class CFixed
{
public:
    explicit CFixed(int n, int nMore = 0) : m_counted(n + nMore) {}
    CFixed(const CFixed&) = delete;
    CFixed& operator=(const CFixed&) = delete;
    int Get() const { return m_counted.GetValue(); }

private:
    CCounted m_counted;
};

struct SPair
{
    int nFirst;
    CString strSecond;
};
}  // namespace

TEST(MapElements, ValuesThatCannotBeCopiedAreMovedIn)
{
    using Map = CMap<int, Owner>;
    Map map;
    Map::handle entry;
    ASSERT_EQ(QV_RES_OK, map.Insert(1, std::make_unique<int>(10), &entry));
    const int* const pnTen = entry->value.get();
    ASSERT_EQ(QV_RES_ALREADY_EXISTS, map.Insert(1, std::make_unique<int>(11)));
    EXPECT_EQ(pnTen, map[1].get());
    map[2] = std::make_unique<int>(20);
    ASSERT_EQ(QV_RES_OK, map.InsertOrAssign(2, std::make_unique<int>(21)));
    ASSERT_EQ(QV_RES_OK, map.InsertOrAssign(3, std::make_unique<int>(30)));
    EXPECT_EQ(21, *map.Find(2)->value);
    EXPECT_EQ(30, *map.Find(3)->value);
    Map moved(std::move(map));
    swap(map, moved);
    EXPECT_EQ(3u, map.size());
    EXPECT_TRUE(map.Erase(1));
    // What claims to be copyable, and holds what is not.
    CMap<int, CAATree<Owner>> trees;
    EXPECT_EQ(QV_RES_OK, trees[5].Insert(std::make_unique<int>(1)));
    EXPECT_EQ(1u, trees[5].size());
}

TEST(MapElements, KeysThatCannotBeCopiedAreMovedIn)
{
    CMap<Owner, int> map;
    Owner pnKey = std::make_unique<int>(1);
    const int* const pnTarget = pnKey.get();
    CMap<Owner, int>::handle entry;
    ASSERT_EQ(QV_RES_OK, map.Insert(std::move(pnKey), 5, &entry));
    EXPECT_EQ(pnTarget, entry->key.get());
    EXPECT_EQ(nullptr, pnKey);
    EXPECT_EQ(QV_RES_OK, map.FindOrInsert(std::make_unique<int>(2), &entry));
    EXPECT_EQ(QV_RES_OK, map.InsertOrAssign(std::make_unique<int>(3), 3));
    EXPECT_TRUE(map.Emplace(std::make_unique<int>(4), 4));
    EXPECT_EQ(QV_RES_OK, map.TryEmplace(std::make_unique<int>(5), &entry, 5));
    map[std::make_unique<int>(6)] = 6;
    EXPECT_EQ(6u, map.size());
    EXPECT_TRUE(map.contains(entry->key));
    EXPECT_TRUE(map.Erase(entry->key));
}

TEST(MapElements, ValuesThatCannotBeMovedEitherAreMadeInPlaceAndOnce)
{
    const int nLive = CCounted::ms_nLive;
    {
        CMap<int, CFixed> map;
        CMap<int, CFixed>::handle entry;
        EXPECT_EQ(7, map.Emplace(1, 3, 4)->value.Get());
        EXPECT_FALSE(map.Emplace(1, 9));
        EXPECT_EQ(nLive + 1, CCounted::ms_nLive);
        EXPECT_EQ(QV_RES_OK, map.TryEmplace(2, nullptr, 5));
        EXPECT_EQ(QV_RES_ALREADY_EXISTS, map.TryEmplace(2, &entry, 6));
        EXPECT_EQ(5, entry->value.Get());
        EXPECT_EQ(2u, map.size());
    }
    EXPECT_EQ(nLive, CCounted::ms_nLive);
    CMap<int, SPair> pairs;
    EXPECT_EQ(CString("two"), pairs.Emplace(1, 2, "two")->value.strSecond);
    CMap<std::string, int> byView;
    CMap<std::string, int>::handle entry;
    EXPECT_EQ(3, byView.Emplace(std::string_view("x"), 3)->value);
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, byView.TryEmplace(std::string_view("x"), &entry, 4));
    EXPECT_TRUE(byView.contains(std::string_view("x")) && !byView.contains(std::string_view("y")));
}

struct SFolder
{
    int nFiles = 0;
    CMap<CString, SFolder> folders;
};
TEST(MapElements, ValuesHoldMapsOfTheirOwnKind)
{
    SFolder root;
    root.folders["usr"].folders["lib"].nFiles = 3;
    SFolder copy(root);
    root = SFolder();
    EXPECT_EQ(3, copy.folders["usr"].folders["lib"].nFiles);
    EXPECT_EQ(0u, root.folders.GetSize());
}

TEST(MapManners, ItIsMadeOfEntriesAndOfWhatComesApartIntoThem)
{
    using testing::ElementsAre;
    using testing::FieldsAre;
    using Map = CMap<CString, int>;
    CTestAllocator allocator;
    const Map map = {{"b", 2}, {"a", 1}, {"b", 3}};
    EXPECT_THAT(map, ElementsAre(FieldsAre(CString("a"), 1), FieldsAre(CString("b"), 2)));
    EXPECT_TRUE(Map({{"a", 1}, {"b", 2}}, &allocator) == map);
    const std::vector<std::pair<const char*, int>> pairs = {{"b", 2}, {"a", 1}, {"b", 3}};
    EXPECT_TRUE(Map(pairs.begin(), pairs.end()) == map);
    EXPECT_TRUE((Map{pairs.begin(), pairs.end()}) == map);
    const std::map<std::string, int> standard = {{"a", 1}, {"b", 2}};
    EXPECT_EQ(2u, (CMap<std::string, long>(standard.begin(), standard.end(), &allocator).size()));
    EXPECT_TRUE(Map(map.begin(), map.end()) == map);
    Map assigned;
    assigned = {{"c", 3}};
    EXPECT_EQ(3, assigned["c"]);
    Map empty = {};
    EXPECT_TRUE(empty.empty() && Map{nullptr}.empty() && Map{&allocator}.empty() && !Map{map}.empty());
    allocator.RefuseNth(2);
    EXPECT_THROW(Map({{"a", 1}, {"b", 2}}, &allocator), std::bad_alloc);
    allocator.RefuseNth(2);
    EXPECT_THROW(Map(pairs.begin(), pairs.end(), &allocator), std::bad_alloc);
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
}

TEST(MapManners, ItIsAContainerAsTheStandardLibraryKnowsThem)
{
    using testing::FieldsAre;
    using Map = CMap<CString, int>;
    static_assert(std::ranges::bidirectional_range<Map> && std::ranges::bidirectional_range<const Map> &&
                  std::ranges::sized_range<Map>);
    static_assert(std::is_same_v<Map::size_type, unsigned int> && std::is_same_v<Map::difference_type, ptrdiff_t> &&
                  std::is_same_v<Map::reference, Map::value_type&> &&
                  std::is_same_v<Map::const_reference, const Map::value_type&>);
    Map map = {{"a", 1}, {"b", 2}};
    const Map& rConst = map;
    EXPECT_THAT(map, testing::Contains(FieldsAre(CString("b"), 2)));
    EXPECT_THAT(map, testing::UnorderedElementsAre(FieldsAre(CString("b"), 2), FieldsAre(CString("a"), 1)));
    EXPECT_THAT(rConst, testing::SizeIs(2));
    EXPECT_EQ(2, map.rbegin()->value++);
    EXPECT_EQ(3, rConst.rbegin()->value);
    EXPECT_EQ(3, map.crbegin()->value);
    EXPECT_EQ(1, map.cbegin()->value);
    EXPECT_EQ(CString("a"), std::prev(map.rend())->key);
    EXPECT_TRUE(map.crend() == rConst.rend() && map.cend() == rConst.end());
    const auto found = std::ranges::find(map, 3, &Map::value_type::value);
    EXPECT_EQ(CString("b"), found->key);
    EXPECT_TRUE(map.contains("a") && !map.contains(CString("c")));
    map.clear();
    EXPECT_TRUE(map.empty() && map.size() == 0);
    EXPECT_EQ(2u, map.GetCapacity());
}
