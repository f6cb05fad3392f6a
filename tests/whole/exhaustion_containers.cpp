#include <algorithm>
#include <optional>
#include <utility>

#include "framework/basic/aatree.h"
#include "framework/basic/allocator.h"
#include "framework/basic/list.h"
#include "framework/basic/map.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "tests/whole/exhaustion.h"

namespace
{
using Numbers = std::vector<int>;

/// An element that is made, copied and destroyed as a whole.
class CNumber
{
public:
    CNumber(int n = -1) : m_pn(std::make_shared<int>(n)) {}
    int Get() const { return *m_pn; }
    friend bool operator<(const CNumber& rFirst, const CNumber& rSecond) { return rFirst.Get() < rSecond.Get(); }

private:
    std::shared_ptr<int> m_pn;
};

template <typename Container>
Numbers NumbersOf(const Container& rContainer)
{
    Numbers numbers;
    for (const CNumber& rNumber : rContainer) numbers.push_back(rNumber.Get());
    return numbers;
}

template <typename Container>
void Put(Container& rContainer, const Numbers& rNumbers)
{
    for (const int n : rNumbers)
    {
        if constexpr (std::is_same_v<Container, CAATree<CNumber>>) ASSERT_EQ(QV_RES_OK, rContainer.Insert(n));
        else ASSERT_EQ(QV_RES_OK, rContainer.Append(n));
    }
}

const Numbers g_BEFORE = {4, 6, 8};

/// An operation on a container with 4, 6 and 8 that returns a result: refused, it leaves the container as it was;
/// done, it leaves the numbers given. What its arguments need is made beforehand.
template <typename Container, typename Operation>
void TryChange(CTrial& rTrial, const Numbers& rAfter, Operation&& rOperation)
{
    Container container(rTrial.Source());
    Put(container, g_BEFORE);
    const CNumber number(7);
    rTrial.Run([&] { return rOperation(container, number); });
    rTrial.ExpectResult();
    rTrial.ExpectState(g_BEFORE, rAfter, NumbersOf(container));
    // The container goes on.
    EXPECT_EQ(QV_RES_OK, container.ReserveCapacity(20));
    Put(container, {99});
    EXPECT_EQ((rTrial.IsDone() ? rAfter : g_BEFORE).size() + 1, NumbersOf(container).size());
}

template <typename Container>
void TryInsertMany(CTrial& rTrial)
{
    TryChange<Container>(rTrial, {4, 7, 7, 7, 6, 8},
                         [](Container& r, const CNumber& rNumber) { return r.Insert(1, 3, rNumber); });
}
template <typename Container>
void TryAppend(CTrial& rTrial)
{
    TryChange<Container>(rTrial, {4, 6, 8, 7}, [](Container& r, const CNumber& rNumber) { return r.Append(rNumber); });
}
template <typename Container>
void TryAppendMoved(CTrial& rTrial)
{
    CNumber moved(9);
    TryChange<Container>(rTrial, {4, 6, 8, 9},
                         [&](Container& r, const CNumber&) { return r.Append(std::move(moved)); });
}
template <typename Container>
void TryEmplace(CTrial& rTrial)
{
    TryChange<Container>(rTrial, {4, 7, 6, 8},
                         [](Container& r, const CNumber& rNumber)
                         { return r.Emplace(1, rNumber) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY; });
}
/// What throws where it cannot go on.
template <typename Container, typename Change>
void TryThrowing(CTrial& rTrial, const Numbers& rAfter, Change change)
{
    Container container(rTrial.Source());
    Put(container, g_BEFORE);
    container.ReduceCapacity(0);
    rTrial.Run([&] { change(container); });
    EXPECT_EQ(rTrial.HasThrown() ? g_BEFORE : rAfter, NumbersOf(container));
    EXPECT_TRUE(rTrial.HasRefused() || !rTrial.HasThrown());
}
template <typename Container>
void TryPushBack(CTrial& rTrial)
{
    TryThrowing<Container>(rTrial, {4, 6, 8, 9}, [](Container& r) { r.push_back(CNumber(9)); });
}
template <typename Container>
void TryEmplaceBack(CTrial& rTrial)
{
    TryThrowing<Container>(rTrial, {4, 6, 8, 9}, [](Container& r) { r.emplace_back(9); });
}
template <typename Container>
void TryInsertPosition(CTrial& rTrial)
{
    TryThrowing<Container>(rTrial, {9, 4, 6, 8}, [](Container& r) { r.insert(r.begin(), CNumber(9)); });
}
template <typename Container>
void TryAssignValues(CTrial& rTrial)
{
    TryThrowing<Container>(rTrial, {1, 2, 3, 9, 5},
                           [](Container& r) {
                               r = {CNumber(1), CNumber(2), CNumber(3), CNumber(9), CNumber(5)};
                           });
}
template <typename Container>
void TryInsertSorted(CTrial& rTrial)
{
    TryChange<Container>(rTrial, {4, 6, 7, 8},
                         [](Container& r, const CNumber& rNumber) { return r.InsertSorted(rNumber); });
}
template <typename Container>
void TryInsertOther(CTrial& rTrial)
{
    Container source(rTrial.Source());
    Put(source, {1, 2});
    // A list takes them at its front, wherever it is told to.
    const bool bFront = std::is_same_v<Container, CList<CNumber>>;
    TryChange<Container>(rTrial, bFront ? Numbers{1, 2, 4, 6, 8} : Numbers{4, 1, 2, 6, 8},
                         [&](Container& r, const CNumber&) { return r.Insert(1, source); });
    EXPECT_EQ((Numbers{1, 2}), NumbersOf(source));
}
template <typename Container>
void TryReserve(CTrial& rTrial)
{
    TryChange<Container>(rTrial, g_BEFORE, [](Container& r, const CNumber&) { return r.ReserveCapacity(10); });
}
template <typename Container>
void TryReduce(CTrial& rTrial)
{
    Container container(rTrial.Source());
    ASSERT_EQ(QV_RES_OK, container.ReserveCapacity(10));
    Put(container, g_BEFORE);
    rTrial.Run([&] { return container.ReduceCapacity(0); });
    rTrial.ExpectResult();
    EXPECT_EQ(g_BEFORE, NumbersOf(container));
}
template <typename Container>
void TryAllocate(CTrial& rTrial)
{
    Container container(rTrial.Source());
    Put(container, g_BEFORE);
    void* pvSlot = nullptr;
    rTrial.Run([&] { pvSlot = container.Allocate(1); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), pvSlot != nullptr);
    if (pvSlot != nullptr) ::new (pvSlot) CNumber(5);
    EXPECT_EQ(rTrial.IsDone() ? (Numbers{4, 5, 6, 8}) : g_BEFORE, NumbersOf(container));
}
template <typename Container>
void TryAllocateSorted(CTrial& rTrial)
{
    Container container(rTrial.Source());
    Put(container, g_BEFORE);
    const CNumber number(5);
    const auto compare = [](const CNumber& r1, const CNumber& r2) { return r1.Get() - r2.Get(); };
    void* pvSlot = nullptr;
    rTrial.Run([&] { return container.AllocateSorted(number, compare, &pvSlot); });
    rTrial.ExpectResult(QV_RES_FAIL);
    if (rTrial.IsDone()) ::new (pvSlot) CNumber(5);
    EXPECT_EQ(rTrial.IsDone() ? (Numbers{4, 5, 6, 8}) : g_BEFORE, NumbersOf(container));
}
template <typename Container>
void TryMerge(CTrial& rTrial)
{
    Container source(rTrial.Source());
    Put(source, {1, 2});
    TryChange<Container>(rTrial, {4, 1, 2, 6, 8}, [&](Container& r, const CNumber&) { return r.Merge(1, source); });
    EXPECT_EQ(rTrial.IsDone() ? Numbers() : (Numbers{1, 2}), NumbersOf(source));
}
template <typename Container>
void TrySplit(CTrial& rTrial)
{
    Container destination(rTrial.Source());
    Put(destination, {1});
    TryChange<Container>(rTrial, {4}, [&](Container& r, const CNumber&) { return r.Split(1, destination); });
    // A list keeps what is there, behind them.
    const bool bKeeps = std::is_same_v<Container, CList<CNumber>>;
    const Numbers after = bKeeps ? Numbers{6, 8, 1} : Numbers{6, 8};
    rTrial.ExpectState(Numbers{1}, after, NumbersOf(destination));
}
template <typename Container>
void TrySort(CTrial& rTrial)
{
    Container container(rTrial.Source());
    Put(container, {3, 1, 2});
    rTrial.Run([&] { container.Sort(); });
    rTrial.ExpectThrow();
    EXPECT_EQ(rTrial.IsDone() ? (Numbers{1, 2, 3}) : (Numbers{3, 1, 2}), NumbersOf(container));
}
// Assignment returns nothing: it is complete, or the container is as it was.
template <typename Container>
void TryAssign(CTrial& rTrial)
{
    Container source(rTrial.Source());
    Put(source, {1, 2, 3, 5});
    Container container(rTrial.Source());
    Put(container, g_BEFORE);
    rTrial.Run([&] { container = source; });
    rTrial.ExpectNoThrow();
    rTrial.ExpectState(g_BEFORE, NumbersOf(source), NumbersOf(container));
    EXPECT_EQ((Numbers{1, 2, 3, 5}), NumbersOf(source));
}
// A constructor throws where operator new throws; a copy for which the allocator has no room is empty.
template <typename Container>
void TryCopy(CTrial& rTrial)
{
    Container source(rTrial.Source());
    Put(source, g_BEFORE);
    std::optional<Container> copy;
    rTrial.Run([&] { copy.emplace(source); });
    if (!rTrial.HasThrown()) rTrial.ExpectState(Numbers(), g_BEFORE, NumbersOf(*copy));
    EXPECT_EQ(g_BEFORE, NumbersOf(source));
}
template <typename Container>
void TryMake(CTrial& rTrial)
{
    std::optional<Container> container;
    rTrial.Run([&] { container.emplace(rTrial.Source()); });
    rTrial.ExpectThrow();
}

template <typename Container>
void AddSequence(std::vector<SOperation>& rOperations, const std::string& rName)
{
    const std::vector<SOperation> operations = {{rName, TryMake<Container>, true},
                                                {"copy", TryCopy<Container>, true},
                                                {"assign", TryAssign<Container>, true},
                                                {"ReserveCapacity", TryReserve<Container>, true},
                                                {"ReduceCapacity", TryReduce<Container>, true},
                                                {"Append", TryAppend<Container>, true},
                                                {"Append moved", TryAppendMoved<Container>, true},
                                                {"Emplace", TryEmplace<Container>, true},
                                                {"push_back", TryPushBack<Container>, true},
                                                {"emplace_back", TryEmplaceBack<Container>, true},
                                                {"insert", TryInsertPosition<Container>, true},
                                                {"assign values", TryAssignValues<Container>, true},
                                                {"Insert", TryInsertMany<Container>, true},
                                                {"Insert other", TryInsertOther<Container>, true},
                                                {"InsertSorted", TryInsertSorted<Container>, true},
                                                {"Allocate", TryAllocate<Container>, true},
                                                {"AllocateSorted", TryAllocateSorted<Container>, true},
                                                {"Merge", TryMerge<Container>, true},
                                                {"Split", TrySplit<Container>, true},
                                                {"Sort", TrySort<Container>, true}};
    for (SOperation operation : operations)
    {
        operation.strName.insert(0, rName + " ");
        rOperations.push_back(operation);
    }
}

using Tree = CAATree<CNumber>;

void TryTreeInsert(CTrial& rTrial)
{
    TryChange<Tree>(rTrial, {4, 6, 7, 8}, [](Tree& r, const CNumber& rNumber) { return r.Insert(rNumber); });
}
void TryTreeAllocate(CTrial& rTrial)
{
    Tree tree(rTrial.Source());
    Put(tree, g_BEFORE);
    void* pvElement = nullptr;
    rTrial.Run([&] { pvElement = tree.Allocate(); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), pvElement != nullptr);
    EXPECT_EQ(g_BEFORE, NumbersOf(tree));
    if (pvElement == nullptr) return;
    ::new (pvElement) CNumber(5);
    EXPECT_EQ(QV_RES_OK, tree.InsertAllocated(pvElement));
    EXPECT_EQ((Numbers{4, 5, 6, 8}), NumbersOf(tree));
}
void TryTreeAllocateSorted(CTrial& rTrial)
{
    Tree tree(rTrial.Source());
    Put(tree, g_BEFORE);
    const CNumber number(5);
    void* pvElement = nullptr;
    rTrial.Run([&] { return tree.AllocateSorted(number, &pvElement); });
    rTrial.ExpectResult();
    if (rTrial.IsDone()) ::new (pvElement) CNumber(5);
    EXPECT_EQ(rTrial.IsDone() ? (Numbers{4, 5, 6, 8}) : g_BEFORE, NumbersOf(tree));
}

void TryTreeTryEmplace(CTrial& rTrial)
{
    Tree::handle entry;
    TryChange<Tree>(rTrial, {4, 6, 7, 8},
                    [&](Tree& r, const CNumber& rNumber) { return r.TryEmplace(&entry, rNumber); });
    EXPECT_EQ(rTrial.IsDone(), static_cast<bool>(entry));
}
// A container that is made with all it shall hold, or not at all.
template <typename Make>
void TryMakeFull(CTrial& rTrial, Make make)
{
    unsigned int uSize = 0;
    rTrial.Run([&] { uSize = make().size(); });
    rTrial.ExpectThrow();
    EXPECT_EQ(rTrial.IsDone() ? 3u : 0u, uSize);
}
void TryTreeOfList(CTrial& rTrial)
{
    TryMakeFull(rTrial, [&] { return Tree({CNumber(3), CNumber(1), CNumber(2)}, rTrial.Source()); });
}

using Map = CMap<int, int>;

void PutInMap(Map& rMap)
{
    for (const int n : g_BEFORE) ASSERT_EQ(QV_RES_OK, rMap.Insert(n, 10 * n));
}
Numbers ValuesOf(const Map& rMap)
{
    Numbers values;
    for (const auto& [key, value] : rMap) values.push_back(value);
    return values;
}
const Numbers g_VALUES = {40, 60, 80};

/// An operation that puts a value in for the key 7, and tells whether it has.
template <typename Operation>
void TryChangeMap(CTrial& rTrial, const Numbers& rAfter, Operation operation)
{
    Map map(rTrial.Source());
    PutInMap(map);
    rTrial.Run([&] { return operation(map); });
    rTrial.ExpectState(g_VALUES, rAfter, ValuesOf(map));
    EXPECT_EQ(QV_RES_OK, map.InsertOrAssign(99, 1));
}
void TryMapIndex(CTrial& rTrial)
{
    TryChangeMap(rTrial, {40, 60, 5, 80}, [](Map& r) { r[7] = 5; });
    rTrial.ExpectThrow();
}
void TryMapInsert(CTrial& rTrial)
{
    TryChangeMap(rTrial, {40, 60, 5, 80}, [](Map& r) { return r.Insert(7, 5); });
    rTrial.ExpectResult();
}
void TryMapInsertOrAssign(CTrial& rTrial)
{
    TryChangeMap(rTrial, {40, 60, 5, 80}, [](Map& r) { return r.InsertOrAssign(7, 5); });
    rTrial.ExpectResult();
}
void TryMapFindOrInsert(CTrial& rTrial)
{
    Map::handle found;
    TryChangeMap(rTrial, {40, 60, 0, 80}, [&](Map& r) { return r.FindOrInsert(7, &found); });
    rTrial.ExpectResult();
    EXPECT_EQ(rTrial.IsDone(), static_cast<bool>(found));
}
void TryMapTryEmplace(CTrial& rTrial)
{
    TryChangeMap(rTrial, {40, 60, 5, 80}, [](Map& r) { return r.TryEmplace(7, nullptr, 5); });
    rTrial.ExpectResult();
}
void TryMapEmplace(CTrial& rTrial)
{
    Map::handle entry;
    TryChangeMap(rTrial, {40, 60, 5, 80}, [&](Map& r) { entry = r.Emplace(7, 5); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), static_cast<bool>(entry));
}
void TryMapReserve(CTrial& rTrial)
{
    TryChangeMap(rTrial, g_VALUES, [](Map& r) { return r.ReserveCapacity(10); });
    rTrial.ExpectResult();
}
void TryMapAssign(CTrial& rTrial)
{
    Map source(rTrial.Source());
    for (const int n : {1, 2, 3, 5}) ASSERT_EQ(QV_RES_OK, source.Insert(n, n));
    TryChangeMap(rTrial, {1, 2, 3, 5}, [&](Map& r) { r = source; });
    rTrial.ExpectNoThrow();
}
void TryMapCopy(CTrial& rTrial)
{
    Map source(rTrial.Source());
    PutInMap(source);
    std::optional<Map> copy;
    rTrial.Run([&] { copy.emplace(source); });
    if (!rTrial.HasThrown()) rTrial.ExpectState(Numbers(), g_VALUES, ValuesOf(*copy));
    EXPECT_EQ(g_VALUES, ValuesOf(source));
}
void TryMapOfList(CTrial& rTrial)
{
    TryMakeFull(rTrial, [&] { return Map({{1, 1}, {2, 2}, {3, 3}}, rTrial.Source()); });
}

void TryBlocksReserve(CTrial& rTrial)
{
    CBlockAllocator blocks(40, rTrial.Source());
    ASSERT_TRUE(blocks.Reserve(2));
    bool bReserved = false;
    rTrial.Run([&] { bReserved = blocks.Reserve(5); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), bReserved);
    EXPECT_EQ(rTrial.IsDone() ? 5u : 2u, blocks.GetBlockCount());
}
void TryBlocksPop(CTrial& rTrial)
{
    CBlockAllocator blocks(40, rTrial.Source());
    void* pvBlock = nullptr;
    rTrial.Run([&] { pvBlock = blocks.Pop(); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), pvBlock != nullptr);
    blocks.Push(pvBlock);
}
void TryDefaultAllocator(CTrial& rTrial)
{
    IAllocator::SBlock* pChain = nullptr;
    IAllocator::SBlock* pLast = nullptr;
    IAllocator* const pAllocator = CDefaultAllocator::Instance();
    rTrial.Run([&] { pChain = pAllocator->Allocate(4, 32, &pLast); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), pChain != nullptr);
    pAllocator->Release(pChain, 4);
}
}  // namespace

std::vector<SOperation> ContainerOperations()
{
    std::vector<SOperation> operations = {
        {"CDefaultAllocator Allocate", TryDefaultAllocator, false},
        {"CBlockAllocator Reserve", TryBlocksReserve, true},
        {"CBlockAllocator Pop", TryBlocksPop, true},
        {"CAATree CAATree", TryMake<Tree>, true},
        {"CAATree copy", TryCopy<Tree>, true},
        {"CAATree assign", TryAssign<Tree>, true},
        {"CAATree ReserveCapacity", TryReserve<Tree>, true},
        {"CAATree ReduceCapacity", TryReduce<Tree>, true},
        {"CAATree Insert", TryTreeInsert, true},
        {"CAATree Allocate", TryTreeAllocate, true},
        {"CAATree AllocateSorted", TryTreeAllocateSorted, true},
        {"CAATree TryEmplace", TryTreeTryEmplace, true},
        {"CAATree of a list", TryTreeOfList, true},
        {"CMap CMap", TryMake<Map>, true},
        {"CMap of a list", TryMapOfList, true},
        {"CMap copy", TryMapCopy, true},
        {"CMap assign", TryMapAssign, true},
        {"CMap operator[]", TryMapIndex, true},
        {"CMap Insert", TryMapInsert, true},
        {"CMap InsertOrAssign", TryMapInsertOrAssign, true},
        {"CMap FindOrInsert", TryMapFindOrInsert, true},
        {"CMap Emplace", TryMapEmplace, true},
        {"CMap TryEmplace", TryMapTryEmplace, true},
        {"CMap ReserveCapacity", TryMapReserve, true},
    };
    AddSequence<CVector<CNumber>>(operations, "CVector");
    AddSequence<CList<CNumber>>(operations, "CList");
    AddSequence<CVList<CNumber>>(operations, "CVList");
    return operations;
}
