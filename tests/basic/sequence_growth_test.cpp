// Growth by choice, moves, and elements made in place: vector, list and vector-list. The oracle is std::vector.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "framework/basic/internal/grow_capacity.h"
#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "tests/support/container_elements.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
/// Counts what is done to its elements. Moves may be promised not to throw, or not.
template <bool NOTHROW>
struct STracked
{
    explicit STracked(int nWhat) : nValue(nWhat) {}
    STracked(const STracked& rSrc) : nValue(rSrc.nValue) { ++ms_nCopies; }
    STracked(STracked&& rSrc) noexcept(NOTHROW) : nValue(std::exchange(rSrc.nValue, -1)) { ++ms_nMoves; }
    STracked& operator=(const STracked&) = default;
    bool operator<(const STracked& rOther) const { return nValue < rOther.nValue; }

    int nValue;
    static inline int ms_nCopies = 0;
    static inline int ms_nMoves = 0;
};
using SMoved = STracked<true>;
using SCopied = STracked<false>;

/// Stays where it is made.
struct SPinned
{
    explicit SPinned(int nWhat) : nValue(nWhat) {}
    SPinned(const SPinned&) = delete;
    SPinned& operator=(const SPinned&) = delete;
    int nValue;
};

struct SThrowing
{
    explicit SThrowing(bool bThrows)
    {
        if (bThrows) throw std::runtime_error("as told");
    }
};

struct SAggregate
{
    int nFirst;
    std::string strSecond;
};

template <typename Container>
std::vector<int> ValuesOf(const Container& rContainer)
{
    std::vector<int> values;
    for (const auto& rElement : rContainer) values.push_back(rElement.nValue);
    return values;
}

template <typename Container>
std::vector<std::string> TextsOf(const Container& rContainer)
{
    return std::vector<std::string>(rContainer.begin(), rContainer.end());
}

template <template <typename> class Container>
struct SOf
{
    template <typename T>
    using TOf = Container<T>;
};

template <typename Family>
class CGrowth : public testing::Test
{
};
using CFamilies = testing::Types<SOf<CVector>, SOf<CList>, SOf<CVList>>;
TYPED_TEST_SUITE(CGrowth, CFamilies);

/// What a container asks for when it grows.
struct SAskedContainer
{
    unsigned int GetSize() const { return uSize; }
    unsigned int GetCapacity() const { return uSize; }
    unsigned int GetLockCapacity() const { return 0; }
    QvResult ReserveCapacity(unsigned int uCapacity)
    {
        asked.push_back(uCapacity);
        return uCapacity > uMost ? QV_RES_OUT_OF_MEMORY : QV_RES_OK;
    }

    unsigned int uSize;
    unsigned int uMost;
    std::vector<unsigned int> asked;
};
}  // namespace

TEST(CGrowthByDoubling, StartsAt64BytesEndsAt32BitsAndFallsBackToOneMore)
{
    struct SCase
    {
        unsigned int uSize;
        std::size_t uElementSize;
        unsigned int uMost;
        std::vector<unsigned int> asked;
        QvResult res;
    };
    const unsigned int uALL = std::numeric_limits<unsigned int>::max();
    const SCase aCases[] = {{0, 1, uALL, {64}, QV_RES_OK},
                            {0, 8, uALL, {8}, QV_RES_OK},
                            {0, 64, uALL, {1}, QV_RES_OK},
                            {0, 65, uALL, {1}, QV_RES_OK},
                            {1, 65, uALL, {2}, QV_RES_OK},
                            {3, 8, uALL, {8}, QV_RES_OK},
                            {5, 8, uALL, {10}, QV_RES_OK},
                            {100, 4, uALL, {200}, QV_RES_OK},
                            {100, 4, 150, {200, 101}, QV_RES_OK},
                            {100, 4, 100, {200, 101}, QV_RES_OUT_OF_MEMORY},
                            {0x30000000, 4, uALL, {0x3FFFFFFF}, QV_RES_OK},
                            {0x3FFFFFFF, 4, 0x3FFFFFFF, {0x3FFFFFFF, 0x40000000}, QV_RES_OUT_OF_MEMORY},
                            {uALL, 1, uALL, {}, QV_RES_OUT_OF_MEMORY}};
    for (const SCase& rCase : aCases)
    {
        SAskedContainer container{rCase.uSize, rCase.uMost, {}};
        EXPECT_EQ(rCase.res, orvel_internal::DoubleCapacity(container, rCase.uElementSize)) << rCase.uSize;
        // What cannot hold one more need not be asked for.
        std::erase_if(container.asked, [&](unsigned int u) { return u <= rCase.uSize; });
        std::vector<unsigned int> asked = rCase.asked;
        std::erase_if(asked, [&](unsigned int u) { return u <= rCase.uSize; });
        EXPECT_EQ(asked, container.asked) << rCase.uSize << " of " << rCase.uElementSize;
    }
}

TEST(CVectorGrowth, PushBackDoublesAndAppendStaysExact)
{
    CTestAllocator allocator;
    CVector<int> vector(&allocator);
    unsigned int uCapacity = 0;
    for (unsigned int u = 0; u < 50000; ++u)
    {
        if (u == uCapacity) uCapacity = std::max(16u, 2 * u);
        vector.push_back(static_cast<int>(u));
        ASSERT_EQ(uCapacity, vector.GetCapacity());
        ASSERT_EQ(static_cast<int>(u), vector.back());
    }
    EXPECT_EQ(13u, allocator.GetRequests().size());
    for (unsigned int u = 0; u < 50000; ++u) ASSERT_EQ(static_cast<int>(u), vector[u]);

    ASSERT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    ASSERT_EQ(QV_RES_OK, vector.Append(1));
    EXPECT_EQ(50001u, vector.GetCapacity());
    EXPECT_EQ(2, vector.emplace_back(2));
    EXPECT_EQ(100002u, vector.GetCapacity());
    vector.insert(vector.begin(), 3);
    EXPECT_EQ(100002u, vector.GetCapacity());
}

TEST(CVListGrowth, PushBackDoublesTheOrderAndTakesSomeBlocksForIt)
{
    CTestAllocator allocator;
    CVList<int> list(&allocator);
    unsigned int uCapacity = 0;
    unsigned int uBlocks = 0;
    for (unsigned int u = 0; u < 1000; ++u)
    {
        if (u == uCapacity) uCapacity = std::max(8u, 2 * u);
        if (u == uBlocks) uBlocks += std::min(32u, uCapacity - u);
        if (u % 3 == 0) list.push_back(static_cast<int>(u));
        else list.emplace_back(static_cast<int>(u));
        ASSERT_EQ(uCapacity, list.GetCapacity());
        ASSERT_EQ(uBlocks, allocator.GetLiveBlocks());
    }
    ASSERT_EQ(QV_RES_OK, list.ReduceCapacity(0));
    ASSERT_EQ(QV_RES_OK, list.Append(1));
    EXPECT_EQ(1001u, list.GetCapacity());
    EXPECT_EQ(1001u, allocator.GetLiveBlocks());
}

TEST(CListGrowth, PushBackTakesAsManyNodesAsThereAreWithinABound)
{
    CTestAllocator allocator;
    CList<std::string> list(&allocator);
    unsigned int uCapacity = 0;
    size_t uRequests = 0;
    for (unsigned int u = 0; u < 300; ++u)
    {
        if (u == uCapacity)
        {
            uCapacity += 1 + std::min(32u, u);
            ++uRequests;
        }
        if (u % 2 == 0) list.push_back("text");
        else list.emplace_back("text");
        ASSERT_EQ(uCapacity, list.GetCapacity());
        ASSERT_EQ(uRequests, allocator.GetRequests().size());
    }
    ASSERT_EQ(QV_RES_OK, list.ReduceCapacity(0));
    ASSERT_EQ(QV_RES_OK, list.Append("text"));
    EXPECT_EQ(301u, list.GetCapacity());
}

TYPED_TEST(CGrowth, WhereMoreThanOneIsRefusedPushBackTakesOne)
{
    for (const unsigned int uNth : {1u, 2u})
    {
        CTestAllocator allocator;
        typename TypeParam::template TOf<int> numbers(&allocator);
        for (int n = 0; n < 3; ++n) ASSERT_EQ(QV_RES_OK, numbers.Append(n));
        ASSERT_EQ(QV_RES_OK, numbers.ReduceCapacity(0));
        allocator.RefuseNth(uNth);
        numbers.push_back(3);
        EXPECT_EQ((std::vector<int>{0, 1, 2, 3}), std::vector<int>(numbers.begin(), numbers.end()));
        EXPECT_TRUE(allocator.HasRefused() || uNth == 2);
    }
}

TYPED_TEST(CGrowth, WhatGivesNoResultThrowsAndChangesNothing)
{
    using Texts = typename TypeParam::template TOf<std::string>;
    for (const bool bLocked : {false, true})
    {
        CTestAllocator allocator;
        Texts texts(&allocator);
        ASSERT_EQ(QV_RES_OK, texts.Append("a"));
        ASSERT_EQ(QV_RES_OK, texts.ReduceCapacity(0));
        if (bLocked) texts.SetLockCapacity(1);
        else allocator.SetRefusing(true);
        const QvResult resRefused = bLocked ? QV_RES_INVALID_STATE : QV_RES_OUT_OF_MEMORY;
        const std::string strText(40, 'b');
        std::string strMoved = strText;
        EXPECT_THROW(texts.push_back(strText), std::bad_alloc);
        EXPECT_THROW(texts.push_back(std::move(strMoved)), std::bad_alloc);
        EXPECT_THROW(texts.emplace_back("c"), std::bad_alloc);
        EXPECT_THROW(texts.insert(texts.begin(), strText), std::bad_alloc);
        EXPECT_THROW(texts.insert(texts.begin(), std::move(strMoved)), std::bad_alloc);
        EXPECT_THROW((texts = {"x", "y"}), std::bad_alloc);
        EXPECT_EQ(resRefused, texts.Append(std::move(strMoved)));
        EXPECT_EQ(resRefused, texts.Insert(0, std::move(strMoved)));
        EXPECT_EQ(resRefused, texts.InsertSorted(std::move(strMoved)));
        EXPECT_FALSE(texts.Emplace(0, "d"));
        EXPECT_FALSE(texts.Emplace(1, "d"));
        EXPECT_EQ(strText, strMoved) << "what was not taken is still there";
        EXPECT_EQ((std::vector<std::string>{"a"}), TextsOf(texts));
    }
}

TYPED_TEST(CGrowth, AnIndexAboveTheSizeIsRefused)
{
    typename TypeParam::template TOf<std::string> texts;
    std::string strMoved = "x";
    EXPECT_FALSE(texts.Emplace(1, "a"));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, texts.Insert(1, std::move(strMoved)));
    EXPECT_EQ("x", strMoved);
    EXPECT_TRUE(texts.IsEmpty());
}

// With and without room, at both ends and in the middle.
TYPED_TEST(CGrowth, AnElementOfTheContainerMayBeTheArgument)
{
    using Texts = typename TypeParam::template TOf<std::string>;
    const auto at = [](Texts& r, unsigned int u) -> std::string& { return *r.GetAt(u); };
    const std::vector<std::pair<const char*, std::function<unsigned int(Texts&)>>> calls = {
        {"push_back", [&](Texts& r) { return r.push_back(at(r, 1)), 3u; }},
        {"push_back moved", [&](Texts& r) { return r.push_back(std::move(at(r, 1))), 3u; }},
        {"emplace_back", [&](Texts& r) { return r.emplace_back(at(r, 1)), 3u; }},
        {"emplace_back part", [&](Texts& r) { return r.emplace_back(at(r, 1), 0u, 40u), 3u; }},
        {"Append moved", [&](Texts& r) { return r.Append(std::move(at(r, 1))) == QV_RES_OK ? 3u : UINT_MAX; }},
        {"Emplace 0", [&](Texts& r) { return r.Emplace(0, at(r, 1)), 0u; }},
        {"Emplace 1", [&](Texts& r) { return r.Emplace(1, at(r, 1)), 1u; }},
        {"Emplace 3", [&](Texts& r) { return r.Emplace(3, at(r, 1)), 3u; }},
        {"Insert 0", [&](Texts& r) { return r.Insert(0, std::move(at(r, 1))) == QV_RES_OK ? 0u : UINT_MAX; }},
        {"Insert 2", [&](Texts& r) { return r.Insert(2, std::move(at(r, 1))) == QV_RES_OK ? 2u : UINT_MAX; }},
        {"Insert copies", [&](Texts& r) { return r.Insert(0, 1, at(r, 1)) == QV_RES_OK ? 0u : UINT_MAX; }},
        {"insert", [&](Texts& r) { return r.insert(r.begin(), at(r, 1)), 0u; }},
        {"insert moved", [&](Texts& r) { return r.insert(r.begin(), std::move(at(r, 1))), 0u; }},
        {"insert end", [&](Texts& r) { return r.insert(r.end(), std::move(at(r, 1))), 3u; }}};
    for (const auto& [pszCall, call] : calls)
    {
        for (const unsigned int uCapacity : {3u, 10u})
        {
            SCOPED_TRACE(testing::Message() << pszCall << " with a capacity of " << uCapacity);
            Texts texts;
            ASSERT_EQ(QV_RES_OK, texts.ReserveCapacity(uCapacity));
            const std::vector<std::string> before = {std::string(40, 'a'), std::string(40, 'b'), std::string(40, 'c')};
            for (const std::string& rText : before) EXPECT_EQ(QV_RES_OK, texts.Append(rText));
            ASSERT_EQ(uCapacity, texts.GetCapacity());
            const unsigned int uIndex = call(texts);
            ASSERT_EQ(4u, texts.GetSize());
            EXPECT_EQ(before[1], *texts.GetAt(uIndex));
            texts.Erase(uIndex);
            EXPECT_EQ(before[0], *texts.GetAt(0));
            EXPECT_EQ(before[2], *texts.GetAt(2));
        }
    }
}

template <template <typename> class Container>
struct SJob
{
    explicit SJob(int nPart) { parts.push_back(std::make_unique<int>(nPart)); }
    SJob(SJob&&) = default;

    Container<std::unique_ptr<int>> parts;
};

TYPED_TEST(CGrowth, ContainersOfElementsThatOnlyMoveAreElementsThemselves)
{
    using Owners = typename TypeParam::template TOf<std::unique_ptr<int>>;
    using Job = SJob<TypeParam::template TOf>;
    std::vector<Owners> inStandard;
    typename TypeParam::template TOf<Owners> inOwn;
    std::vector<Job> jobsInStandard;
    typename TypeParam::template TOf<Job> jobsInOwn;
    for (int n = 0; n != 20; ++n)
    {
        inStandard.emplace_back().push_back(std::make_unique<int>(n));
        inOwn.emplace_back().push_back(std::make_unique<int>(n));
        jobsInStandard.emplace_back(n);
        jobsInOwn.emplace_back(n);
    }
    for (unsigned int u = 0; u != 20; ++u)
    {
        const int n = static_cast<int>(u);
        EXPECT_EQ(n, *inStandard[u].front());
        EXPECT_EQ(n, *inOwn.GetAt(u)->front());
        EXPECT_EQ(n, *jobsInStandard[u].parts.front());
        EXPECT_EQ(n, *jobsInOwn.GetAt(u)->parts.front());
    }
}

TYPED_TEST(CGrowth, ElementsThatOnlyMoveAreAsAtHome)
{
    using Container = typename TypeParam::template TOf<std::unique_ptr<int>>;
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    Container container;
    Container foreign(&allocator);
    std::vector<int> model, foreignModel;
    const auto below = [&](std::size_t u) { return Below(rng, static_cast<unsigned int>(u)); };
    for (int n = 0; n < 3000; ++n)
    {
        const unsigned int uIndex = below(model.size() + 1);
        const auto it = model.begin() + uIndex;
        switch (below(11))
        {
            case 0:
                container.push_back(std::make_unique<int>(n));
                model.push_back(n);
                break;
            case 1:
                EXPECT_EQ(n, *container.emplace_back(new int(n)));
                model.push_back(n);
                break;
            case 2:
                EXPECT_EQ(n, **container.Emplace(uIndex, new int(n)));
                model.insert(it, n);
                break;
            case 3:
                EXPECT_EQ(QV_RES_OK, container.Insert(uIndex, std::make_unique<int>(n)));
                model.insert(it, n);
                break;
            case 4:
                EXPECT_EQ(QV_RES_OK, container.Append(std::make_unique<int>(n)));
                model.push_back(n);
                break;
            case 5:
                if (it != model.end()) container.Erase(uIndex), model.erase(it);
                break;
            case 6:
                if (it != model.end()) container.Swap(uIndex, 0), std::swap(*it, model[0]);
                break;
            case 7:
                foreign.push_back(std::make_unique<int>(n));
                foreignModel.push_back(n);
                break;
            case 8:
                ASSERT_EQ(QV_RES_OK, container.Merge(uIndex, foreign));
                model.insert(it, foreignModel.begin(), foreignModel.end());
                foreignModel.clear();
                break;
            case 9:
                foreign.EraseAll();
                if (it == model.end()) foreignModel.clear();
                else
                {
                    ASSERT_EQ(QV_RES_OK, container.Split(uIndex, foreign));
                    foreignModel.assign(it, model.end());
                    model.erase(it, model.end());
                }
                break;
            default:
                container.Sort([](const auto& r1, const auto& r2) { return *r1 - *r2; });
                std::sort(model.begin(), model.end());
        }
        const auto same = [](const std::unique_ptr<int>& r, int nValue) { return *r == nValue; };
        ASSERT_TRUE(std::equal(container.begin(), container.end(), model.begin(), model.end(), same)) << n;
        ASSERT_TRUE(std::equal(foreign.begin(), foreign.end(), foreignModel.begin(), foreignModel.end(), same)) << n;
    }
    Container moved(std::move(container));
    EXPECT_EQ(model.size(), moved.GetSize());
    container = std::move(moved);
    EXPECT_EQ(model.size(), container.GetSize());
}

namespace
{
template <typename Tracked>
struct SOperation
{
    const char* pszName;
    std::function<void(CVector<Tracked>&, CVector<Tracked>&)> run;
    int nCopies;  // asked for
    int nMoves;   // of what is given
};

template <typename Tracked>
std::vector<SOperation<Tracked>> MovingOperations()
{
    using Vector = CVector<Tracked>;
    static const Tracked element(50);
    return {{"ReserveCapacity", [](Vector& r, Vector&) { EXPECT_EQ(QV_RES_OK, r.ReserveCapacity(20)); }, 0, 0},
            {"ReduceCapacity", [](Vector& r, Vector&) { r.ReduceCapacity(0); }, 0, 0},
            {"Insert", [](Vector& r, Vector&) { EXPECT_EQ(QV_RES_OK, r.Insert(1, 2, element)); }, 2, 0},
            {"Insert an own one", [](Vector& r, Vector&) { EXPECT_EQ(QV_RES_OK, r.Insert(1, 1, r[2])); }, 3, 0},
            {"Insert many", [](Vector& r, Vector& rOther) { EXPECT_EQ(QV_RES_OK, r.Insert(1, rOther)); }, 2, 0},
            {"Insert into no room",
             [](Vector& r, Vector&) { EXPECT_EQ(QV_RES_OK, (r.ReduceCapacity(0), r.Insert(1, 2, element))); }, 2, 0},
            {"InsertSorted", [](Vector& r, Vector&) { EXPECT_EQ(QV_RES_OK, r.InsertSorted(element)); }, 1, 0},
            {"Allocate", [](Vector& r, Vector&) { ::new (r.Allocate(1)) Tracked(7); }, 0, 0},
            {"Erase", [](Vector& r, Vector&) { r.Erase(1); }, 0, 0},
            {"erase", [](Vector& r, Vector&) { r.erase(r.begin(), r.begin() + 2); }, 0, 0},
            {"Swap", [](Vector& r, Vector&) { r.Swap(0, 2); }, 0, 0},
            {"Merge", [](Vector& r, Vector& rOther) { EXPECT_EQ(QV_RES_OK, r.Merge(1, rOther)); }, 0, 0},
            {"Split", [](Vector& r, Vector& rOther) { EXPECT_EQ(QV_RES_OK, r.Split(1, rOther)); }, 0, 0},
            {"Sort", [](Vector& r, Vector&) { r.Sort(); }, 0, 0},
            {"push_back", [](Vector& r, Vector&) { r.ReduceCapacity(0), r.push_back(element); }, 1, 0},
            {"push_back moved", [](Vector& r, Vector&) { r.ReduceCapacity(0), r.push_back(Tracked(9)); }, 0, 1},
            {"emplace_back", [](Vector& r, Vector&) { r.ReduceCapacity(0), r.emplace_back(9); }, 0, 1},
            {"Emplace", [](Vector& r, Vector&) { r.Emplace(1, 9); }, 0, 2},
            {"Append moved", [](Vector& r, Vector&) { EXPECT_EQ(QV_RES_OK, r.Append(Tracked(9))); }, 0, 1},
            {"Insert moved", [](Vector& r, Vector&) { EXPECT_EQ(QV_RES_OK, r.Insert(1, Tracked(9))); }, 0, 2}};
}

struct SOutcome
{
    std::vector<int> values;
    int nCopies;
    int nMoves;
};

template <typename Tracked>
std::vector<SOutcome> RunAll()
{
    std::vector<SOutcome> outcomes;
    for (const SOperation<Tracked>& rOperation : MovingOperations<Tracked>())
    {
        CVector<Tracked> vector, other;
        EXPECT_EQ(QV_RES_OK, vector.ReserveCapacity(9));
        for (const int n : {4, 2, 6}) vector.emplace_back(n);
        for (const int n : {8, 1}) other.emplace_back(n);
        Tracked::ms_nCopies = Tracked::ms_nMoves = 0;
        rOperation.run(vector, other);
        outcomes.push_back({ValuesOf(vector), Tracked::ms_nCopies, Tracked::ms_nMoves});
        for (const int n : ValuesOf(other)) outcomes.back().values.push_back(n);
    }
    return outcomes;
}
}  // namespace

TEST(CVectorMoves, ElementsMoveWhereTheirMovesCannotThrowAndAreCopiedElsewhere)
{
    const auto moved = RunAll<SMoved>();
    const auto copied = RunAll<SCopied>();
    const auto operations = MovingOperations<SMoved>();
    for (std::size_t u = 0; u < operations.size(); ++u)
    {
        SCOPED_TRACE(operations[u].pszName);
        EXPECT_EQ(copied[u].values, moved[u].values) << "the elements are the same either way";
        EXPECT_EQ(operations[u].nCopies, moved[u].nCopies);
        EXPECT_EQ(operations[u].nMoves, copied[u].nMoves);
        EXPECT_EQ(0, std::count(moved[u].values.begin(), moved[u].values.end(), -1)) << "a moved-from element was left";
    }
}

TEST(CVectorMoves, IntoAndOutOfItselfElementsAreCopied)
{
    CVector<SMoved> vector;
    for (const int n : {1, 2, 3}) vector.emplace_back(n);
    ASSERT_EQ(QV_RES_OK, vector.Insert(1, vector));
    EXPECT_EQ((std::vector<int>{1, 1, 2, 3, 2, 3}), ValuesOf(vector));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Merge(0, vector));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, vector.Split(0, vector));
    const CVector<SMoved>& rSame = vector;
    vector = rSame;
    EXPECT_EQ((std::vector<int>{1, 1, 2, 3, 2, 3}), ValuesOf(vector));
    CVector<SMoved> copy(vector);
    copy = vector;
    EXPECT_EQ(ValuesOf(vector), ValuesOf(copy));
}

template <typename Family>
class CNodeMoves : public testing::Test
{
};
using CNodeFamilies = testing::Types<SOf<CList>, SOf<CVList>>;
TYPED_TEST_SUITE(CNodeMoves, CNodeFamilies);

TYPED_TEST(CNodeMoves, BetweenSourcesOfMemoryElementsMoveWhereTheyCan)
{
    CTestAllocator allocator;
    typename TypeParam::template TOf<SMoved> here, there(&allocator);
    typename TypeParam::template TOf<SCopied> copiesHere, copiesThere(&allocator);
    for (const int n : {1, 2, 3})
    {
        here.emplace_back(n);
        copiesHere.emplace_back(n);
    }
    there.Emplace(0, 9);
    copiesThere.Emplace(0, 9);
    SMoved::ms_nCopies = SMoved::ms_nMoves = SCopied::ms_nCopies = SCopied::ms_nMoves = 0;
    ASSERT_EQ(QV_RES_OK, here.Split(1, there));
    ASSERT_EQ(QV_RES_OK, copiesHere.Split(1, copiesThere));
    EXPECT_EQ(ValuesOf(copiesThere), ValuesOf(there));
    EXPECT_EQ(there.GetSize(), allocator.GetLiveBlocks() / 2);
    ASSERT_EQ(QV_RES_OK, here.Merge(0, there));
    ASSERT_EQ(QV_RES_OK, copiesHere.Merge(0, copiesThere));
    EXPECT_EQ(ValuesOf(copiesHere), ValuesOf(here));
    EXPECT_TRUE(there.IsEmpty());
    EXPECT_EQ(0, SMoved::ms_nCopies);
    EXPECT_EQ(0, SCopied::ms_nMoves);
    EXPECT_EQ(SCopied::ms_nCopies, SMoved::ms_nMoves);
}

TYPED_TEST(CNodeMoves, ARefusedTransferChangesNothing)
{
    CTestAllocator allocator;
    typename TypeParam::template TOf<SMoved> here, there(&allocator);
    for (const int n : {1, 2, 3}) here.emplace_back(n);
    there.Emplace(0, 9);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, here.Split(0, there));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, there.Merge(0, here));
    allocator.SetRefusing(false);
    there.ReduceCapacity(0);
    there.SetLockCapacity(1);
    EXPECT_EQ(QV_RES_INVALID_STATE, here.Split(0, there));
    EXPECT_EQ(QV_RES_INVALID_STATE, there.Merge(0, here));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, there.Merge(2, here));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, here.Split(3, there));
    EXPECT_EQ((std::vector<int>{1, 2, 3}), ValuesOf(here));
    EXPECT_EQ((std::vector<int>{9}), ValuesOf(there));
}

TYPED_TEST(CNodeMoves, ElementsThatStayWhereTheyAreMadeChangeTheirContainerOnly)
{
    using Container = typename TypeParam::template TOf<SPinned>;
    CTestAllocator allocator;
    Container container, same, foreign(&allocator);
    SPinned* const pFirst = &container.emplace_back(1);
    ASSERT_TRUE(container.Emplace(0, 0));
    ASSERT_TRUE(container.Emplace(1, 5));
    EXPECT_EQ((std::vector<int>{0, 5, 1}), ValuesOf(container));
    EXPECT_EQ(pFirst, container.GetAt(2));
    foreign.emplace_back(7);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, container.Merge(0, foreign));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, container.Split(0, foreign));
    EXPECT_EQ((std::vector<int>{0, 5, 1}), ValuesOf(container));
    EXPECT_EQ((std::vector<int>{7}), ValuesOf(foreign));
    ASSERT_EQ(QV_RES_OK, container.Split(1, same));
    EXPECT_EQ(pFirst, same.GetAt(1));
    ASSERT_EQ(QV_RES_OK, container.Merge(1, same));
    container.Swap(0, 2);
    container.Erase(1);
    EXPECT_EQ((std::vector<int>{1, 0}), ValuesOf(container));
}

TYPED_TEST(CGrowth, AConstructorThatThrowsLeavesNothingBehind)
{
    using Container = typename TypeParam::template TOf<SThrowing>;
    CTestAllocator allocator;
    Container container(&allocator);
    container.emplace_back(false);
    for (const unsigned int uRoom : {0u, 5u})
    {
        ASSERT_EQ(QV_RES_OK, container.ReserveCapacity(uRoom));
        EXPECT_THROW(container.emplace_back(true), std::runtime_error);
        EXPECT_THROW(container.Emplace(0, true), std::runtime_error);
        EXPECT_THROW(container.Emplace(1, true), std::runtime_error);
        EXPECT_EQ(1u, container.GetSize());
        EXPECT_GE(container.GetCapacity(), 1u);
    }
    container.EraseAll();
    container.ReduceCapacity(0);
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
}

TYPED_TEST(CGrowth, EveryElementIsDestroyedOnce)
{
    {
        typename TypeParam::template TOf<CCounted> container;
        for (int n = 0; n < 50; ++n) container.push_back(CCounted(n));
        EXPECT_EQ(50, CCounted::ms_nLive);
        container.pop_back();
        EXPECT_EQ(49, CCounted::ms_nLive);
        container.insert(container.begin(), CCounted(1));
        container.Emplace(7, 2);
        container.erase(container.begin());
        EXPECT_EQ(50, CCounted::ms_nLive);
        container = {CCounted(1), CCounted(2)};
        EXPECT_EQ(2, CCounted::ms_nLive);
    }
    EXPECT_EQ(0, CCounted::ms_nLive);
    EXPECT_EQ(0, CCounted::ms_nStray);
}

TYPED_TEST(CGrowth, AggregatesAreMadeFromTheirMembers)
{
    typename TypeParam::template TOf<SAggregate> container;
    EXPECT_EQ("b", container.emplace_back(2, "b").strSecond);
    container.Emplace(0, 1, "a");
    container.Emplace(1);
    EXPECT_EQ(1, container.GetAt(0)->nFirst);
    EXPECT_EQ(0, container.GetAt(1)->nFirst);
    EXPECT_EQ(2, container.GetAt(2)->nFirst);
}

// Between insertions by index, from where the list's cache stands.
TEST(CListEmplace, LeavesTheCacheAtTheNewElement)
{
    CList<int> list;
    std::vector<int> model;
    std::mt19937 rng(TestSeed());
    for (int n = 0; n < 300; ++n)
    {
        const unsigned int uIndex = Below(rng, static_cast<unsigned int>(model.size()) + 1);
        if (Below(rng, 2) == 0)
        {
            EXPECT_EQ(n, *list.Emplace(uIndex, n));
            model.insert(model.begin() + uIndex, n);
        }
        else
        {
            CList<int>::iterator it = list.begin();
            std::advance(it, uIndex);
            EXPECT_EQ(n, *list.insert(it, n));
            model.insert(model.begin() + uIndex, n);
        }
        const unsigned int uAsked = Below(rng, static_cast<unsigned int>(model.size()));
        ASSERT_EQ(model[uAsked], *list.GetAt(uAsked));
    }
    std::reverse(model.begin(), model.end());
    EXPECT_TRUE(std::equal(list.rbegin(), list.rend(), model.begin(), model.end()));
}
