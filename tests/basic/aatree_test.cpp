#include "framework/basic/aatree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <type_traits>

#include "tests/support/blanked_nodes.h"
#include "tests/support/container_elements.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
using CNode = CAATreeBase::CAATreeNode;

int CompareInts(const void* pFirst, const void* pSecond, unsigned int)
{
    return *static_cast<const int*>(pFirst) - *static_cast<const int*>(pSecond);
}

// An untyped tree of int: elements are copied by the one operation that it needs.
class CIntTree : public CAATreeBase
{
public:
    explicit CIntTree(IAllocator* pAllocator = nullptr) : CAATreeBase(sizeof(int), CompareInts, 5, pAllocator) {}
    CIntTree(unsigned int uSize, const CBlockAllocator& rAllocator) : CAATreeBase(uSize, CompareInts, 5, rAllocator) {}
    ~CIntTree() override { EraseAll(); }
    CIntTree& operator=(const CIntTree& rSrc)
    {
        CAATreeBase::operator=(rSrc);
        return *this;
    }
    void ConstructFrom(void* pElement, const void* pSource) override { memcpy(pElement, pSource, sizeof(int)); }
    QvResult Add(int n) { return Insert(&n); }
    void Remove(int n) { EraseElement(&n); }

    CNode* GetRoot() const { return m_pRoot; }
    static_assert(eCOPY_KEY == 0 && eALLOCATE == 1 && eLINK_ALLOCATED == 2);

    using CAATreeBase::ms_auNullNode;
    using CAATreeBase::ms_pNullNode;
};

int ValueOf(CNode* pNode)
{
    return *static_cast<int*>(CAATreeBase::GetElement(pNode));
}

std::vector<int> ValuesOf(const CIntTree& rTree)
{
    std::vector<int> values;
    for (unsigned int u = 0; u < rTree.GetSize(); ++u) values.push_back(ValueOf(rTree.FindNodeByIndex(u)));
    return values;
}

TEST(CAATreeInsert, WithoutMemoryNothingChanges)
{
    CTestAllocator allocator;
    CIntTree tree(&allocator);
    allocator.SetRefusing(true);
    void* pElement = &allocator;
    const int nKey = 1;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, tree.Add(1));
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, tree.AllocateSorted(&nKey, &pElement));
    EXPECT_EQ(&allocator, pElement);
    EXPECT_EQ(nullptr, tree.Allocate());
    EXPECT_EQ(0u, tree.GetCapacity());
}

TEST(CAATreeInsert, AnAllocatedNodeIsSetUpWhenItIsLinked)
{
    CIntTree tree;
    int* const pnElement = static_cast<int*>(tree.Allocate());
    *pnElement = 5;
    memset(static_cast<void*>(reinterpret_cast<CNode*>(pnElement) - 1), 0xEE, sizeof(CNode));
    ASSERT_EQ(QV_RES_OK, tree.InsertAllocated(pnElement));
    for (const int n : {7, 3, 6}) ASSERT_EQ(QV_RES_OK, tree.Add(n));
    EXPECT_EQ((std::vector<int>{3, 5, 6, 7}), ValuesOf(tree));
}

TEST(CAATreeErase, AKeyThatIsTheElementItselfWillDo)
{
    CIntTree tree;
    for (int n = 0; n < 50; ++n) tree.Add(n);
    while (!tree.IsEmpty()) tree.EraseElement(CAATreeBase::GetElement(tree.FindNodeByIndex(tree.GetSize() / 2)));
    EXPECT_TRUE(CAATreeBase::IsSentinel(tree.FindNodeByIndex(0)));
}

TEST(CAATreeCapacity, NodesOfMoreThan4GiBAreAskedForLikeAnyOther)
{
    CTestAllocator allocator;
    CIntTree tree(&allocator);
    allocator.SetRefusing(true);
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, tree.ReserveCapacity(0xFFFFFFFF));
    ASSERT_EQ(1u, allocator.GetRequests().size());
    EXPECT_EQ(0xFFFFFFFFu, allocator.GetRequests()[0].uCount);
    EXPECT_EQ(36u, allocator.GetRequests()[0].uSize);
}

TEST(CAATreeCapacity, ANodeThatDoesNotFitIsOutOfMemory)
{
    CTestAllocator allocator;
    CAATreeBase monster(0xFFFFFFF8, CompareInts, 0, &allocator);
    const int nKey = 0;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, monster.Insert(&nKey));
    EXPECT_TRUE(allocator.GetRequests().empty());
}

TEST(CAATreeCapacity, ABlockAllocatorWithTooSmallBlocksIsRaised)
{
    CTestAllocator allocator;
    const CBlockAllocator small(8, &allocator);
    CIntTree raised(sizeof(int), small);
    raised.Add(1);
    EXPECT_EQ(sizeof(int) + 32, allocator.GetRequests().back().uSize);
    const CBlockAllocator large(100, &allocator);
    CIntTree kept(sizeof(int), large);
    kept.Add(1);
    EXPECT_EQ(100u, allocator.GetRequests().back().uSize);
}

// From a node to the root, both included.
std::vector<CNode*> WayUp(CNode* pNode)
{
    std::vector<CNode*> way;
    for (; !CAATreeBase::IsSentinel(pNode); pNode = pNode->pParent) way.push_back(pNode);
    return way;
}

// The nodes on the shortest way from one to another, both included.
std::set<CNode*> WayBetween(CNode* pFrom, CNode* pTo)
{
    const std::vector<CNode*> up = WayUp(pFrom);
    const std::vector<CNode*> down = WayUp(pTo);
    const auto itsTop = std::mismatch(up.rbegin(), up.rend(), down.rbegin(), down.rend());
    std::set<CNode*> way(up.begin(), itsTop.first.base());
    way.insert(down.begin(), itsTop.second.base());
    way.insert(*std::prev(itsTop.first));
    return way;
}

// A step is a link followed. In each access all nodes are blank but those on the shortest way from the node asked for
// last, or to an end from the root: no others can have been visited.
TEST(CAATreeCurrentNode, AScanByIndexTakesAtMostTwoStepsAnElement)
{
    constexpr unsigned int uSIZE = 200;
    CIntTree tree;
    for (unsigned int u = 0; u < uSIZE; ++u) tree.Add(static_cast<int>(u * 77 % uSIZE));
    std::vector<CNode*> nodes;
    for (CNode* pNode = tree.GetFirst(); pNode != nullptr; pNode = CAATreeBase::GetNext(pNode)) nodes.push_back(pNode);
    for (const bool bRising : {true, false})
    {
        std::size_t uSteps = 0;
        CNode* pAskedForLast = nullptr;
        for (unsigned int u = 0; u < uSIZE; ++u)
        {
            const unsigned int uIndex = bRising ? u : uSIZE - 1 - u;
            const bool bEnd = u == 0 || u == uSIZE - 1;
            const std::set<CNode*> way = WayBetween(bEnd ? tree.GetRoot() : pAskedForLast, nodes[uIndex]);
            uSteps += way.size() - 1;
            std::vector<CNode*> others = nodes;
            others.erase(std::remove_if(others.begin(), others.end(), [&](CNode* pNode) { return way.count(pNode); }),
                         others.end());
            const CBlankedNodes<CNode> blanked(others);
            pAskedForLast = tree.FindNodeByIndex(uIndex);
            ASSERT_EQ(nodes[uIndex], pAskedForLast);
        }
        EXPECT_LE(uSteps, 2 * uSIZE);
    }
}

TEST(CAATreeNodes, MinimumAndMaximumOfASubtree)
{
    CIntTree tree;
    for (int n = 0; n < 15; ++n) tree.Add(n);
    CNode* const pRoot = tree.GetRoot();
    EXPECT_EQ(0, ValueOf(tree.FindNodeMin(pRoot)));
    EXPECT_EQ(14, ValueOf(tree.FindNodeMax(pRoot)));
    EXPECT_EQ(ValueOf(pRoot) + 1, ValueOf(tree.FindNodeMin(pRoot->pRight)));
    CNode* const pNull = CIntTree::ms_pNullNode;
    EXPECT_EQ(pNull, tree.FindNodeMin(pNull));
    EXPECT_EQ(pNull, tree.FindNodeMax(pNull));
    EXPECT_EQ(pNull, tree.FindNodeMin(nullptr));
    EXPECT_EQ(pNull, tree.FindNodeMax(nullptr));
    EXPECT_EQ(nullptr, CAATreeBase::GetElement(pNull));
    EXPECT_EQ(nullptr, CAATreeBase::GetElement(nullptr));
    for (CNode* const pNone : {pNull, static_cast<CNode*>(nullptr)})
    {
        EXPECT_EQ(nullptr, CAATreeBase::GetNext(pNone));
        EXPECT_EQ(nullptr, CAATreeBase::GetPrevious(pNone));
    }
}

struct SByLength
{
    int operator()(const std::string& rFirst, const std::string& rSecond) const
    {
        return static_cast<int>(rFirst.size()) - static_cast<int>(rSecond.size());
    }
};

TEST(CAATreeTyped, IsInTheOrderOfLessOrOfItsComparison)
{
    const std::vector<std::string> texts = {"pear", "fig", "banana", "apple"};
    CAATree<std::string> byLess;
    CAATree<std::string> byLength{SByLength()};
    CAATree<std::string> byLambda([](const std::string& r1, const std::string& r2) { return r2.compare(r1); });
    for (const std::string& rText : texts)
    {
        EXPECT_EQ(QV_RES_OK, byLess.Insert(rText));
        EXPECT_EQ(QV_RES_OK, byLength.Insert(rText));
        EXPECT_EQ(QV_RES_OK, byLambda.Insert(rText));
    }
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, byLength.Insert("kiwi"));
    const auto listed = [](const auto& rTree) { return std::vector<std::string>(rTree.begin(), rTree.end()); };
    EXPECT_EQ((std::vector<std::string>{"apple", "banana", "fig", "pear"}), listed(byLess));
    EXPECT_EQ((std::vector<std::string>{"fig", "pear", "apple", "banana"}), listed(byLength));
    EXPECT_EQ((std::vector<std::string>{"pear", "fig", "banana", "apple"}), listed(byLambda));
    EXPECT_EQ(QV_RES_INVALID_STATE, byLess.SetComparisonFunction(SByLength()));
    byLess.EraseAll();
    EXPECT_EQ(QV_RES_OK, byLess.SetComparisonFunction(SByLength()));
    EXPECT_EQ(QV_RES_OK, byLess.Insert("a"));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, byLess.Insert("b"));
}

TEST(CAATreeTyped, HandlesWalkAndErase)
{
    CAATree<int> tree;
    for (int n = 0; n < 20; ++n) tree.Insert(n * 7 % 20);
    int nExpected = 0;
    for (CAATree<int>::handle element = tree.GetFirst(); element; element = element.GetNext())
        EXPECT_EQ(nExpected++, *element);
    EXPECT_EQ(20, nExpected);
    for (auto element = tree.GetLast(); element; element = element.GetPrevious()) EXPECT_EQ(--nExpected, *element);
    const CAATree<int>& rConst = tree;
    CAATree<int>::const_handle found = rConst.Find(8);
    ASSERT_TRUE(found);
    found = tree.Find(9);
    EXPECT_EQ(9, *found);
    EXPECT_FALSE(rConst.Find(99));
    EXPECT_FALSE(tree.Find(99));
    tree.Erase(found);
    tree.Erase(CAATree<int>::handle());
    tree.Erase(tree.begin());
    tree.Erase(tree.GetSize() - 1);
    tree.EraseElement(10);
    EXPECT_EQ(16u, tree.GetSize());
    EXPECT_EQ(1, *rConst.GetAt(0));
    EXPECT_EQ(11, *tree.GetAt(8));
    EXPECT_EQ(nullptr, tree.GetAt(16));
}

TEST(CAATreeTyped, IteratorsServeTheStandardAlgorithms)
{
    CAATree<int> tree;
    for (int n = 0; n < 100; ++n) tree.Insert(n * 37 % 100);
    EXPECT_TRUE(std::is_sorted(tree.begin(), tree.end()));
    EXPECT_EQ(100, std::distance(tree.begin(), tree.end()));
    EXPECT_EQ(42, *std::lower_bound(tree.begin(), tree.end(), 42));
    EXPECT_EQ(99, *std::prev(tree.end()));
    std::vector<int> backwards;
    std::reverse_copy(tree.begin(), tree.end(), std::back_inserter(backwards));
    EXPECT_TRUE(std::is_sorted(backwards.rbegin(), backwards.rend()));
    static_assert(std::bidirectional_iterator<CAATree<int>::iterator>);
    static_assert(std::bidirectional_iterator<CAATree<int>::const_iterator>);
    static_assert(std::is_convertible_v<CAATree<int>::iterator, CAATree<int>::const_iterator>);
    static_assert(!std::is_convertible_v<CAATree<int>::const_iterator, CAATree<int>::iterator>);
}

TEST(CAATreeTyped, CopiesAndWhatIsMovedFromKeepTheSourceOfMemory)
{
    CTestAllocator allocator;
    CAATree<int> tree(SNaturalOrder(), &allocator);
    tree.Insert(1);
    const CAATree<int> copy(tree);
    EXPECT_EQ(2u, allocator.GetLiveBlocks());
    const CAATree<int> moved(std::move(tree));
    tree.Insert(2);
    EXPECT_EQ(3u, allocator.GetLiveBlocks());
}

TEST(CAATreeTyped, AnExchangeTakesAlongTheCurrentNodeAndWhatIsAllocated)
{
    static_assert(std::is_nothrow_move_constructible_v<CAATree<int>>);
    static_assert(std::is_nothrow_move_assignable_v<CAATree<int>>);
    CAATree<int> low;
    CAATree<int> high;
    for (int n = 0; n < 5; ++n) low.Insert(n);
    for (int n = 10; n < 18; ++n) high.Insert(n);
    low.GetAt(1);
    high.GetAt(5);
    void* const pElement = low.Allocate();
    std::swap(low, high);
    EXPECT_EQ(14, *low.GetAt(4));
    EXPECT_EQ(2, *high.GetAt(2));
    EXPECT_EQ(8u, low.GetCapacity());
    EXPECT_EQ(6u, high.GetCapacity());
    new (pElement) int(7);
    EXPECT_EQ(QV_RES_OK, high.InsertAllocated(pElement));
    EXPECT_EQ(6u, high.GetCapacity());
    EXPECT_EQ(7, *high.GetLast());
}

TEST(CAATreeTyped, EveryElementIsDestroyedOnce)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    {
        CAATree<CCounted> tree(&allocator);
        for (unsigned int u = 0; u < 5000; ++u)
        {
            const CCounted key(static_cast<int>(Below(rng, 100)));
            allocator.SetRefusing(Below(rng, 3) == 0);
            if (Below(rng, 2) == 0) tree.Insert(key);
            else tree.EraseElement(key);
        }
        allocator.SetRefusing(false);
        CAATree<CCounted> copy(tree);
        EXPECT_EQ(static_cast<int>(2 * tree.GetSize()), CCounted::ms_nLive);
        CAATree<CCounted> moved(std::move(copy));
        EXPECT_TRUE(copy.IsEmpty());
        copy = std::move(moved);
        EXPECT_EQ(tree.GetSize(), copy.GetSize());
        moved = copy;
        void* pElement = nullptr;
        ASSERT_EQ(QV_RES_OK, copy.AllocateSorted(CCounted(1000), &pElement));
        new (pElement) CCounted(1000);
        EXPECT_EQ(1000, copy.GetLast()->GetValue());
    }
    EXPECT_EQ(0, CCounted::ms_nLive);
    EXPECT_EQ(0, CCounted::ms_nStray);
}

struct SNoDefault
{
    explicit SNoDefault(int n) : nValue(n) {}
    bool operator<(const SNoDefault& rOther) const { return nValue < rOther.nValue; }
    int nValue;
};

TEST(CAATreeTyped, ElementsNeedNoDefaultConstructor)
{
    CAATree<SNoDefault> tree;
    tree.Insert(SNoDefault(2));
    tree.Insert(SNoDefault(1));
    EXPECT_EQ(1, tree.GetFirst()->nValue);
}
}  // namespace
