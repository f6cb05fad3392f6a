// Operations that the second implementation does beside the untyped tree need no example here: this is about limits,
// about what a search visits, and about CAATree<T>, which is searched and filled in line where the order is known.
#include "framework/basic/aatree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <ranges>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/string.h"
#include "fuzz/models/aatree_steps.h"
#include "fuzz/models/random_runs.h"
#include "tests/support/blanked_nodes.h"
#include "tests/support/container_elements.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
using CNode = CAATreeBase::CAATreeNode;

int CompareInts(const void* pFirst, const void* pSecond, unsigned int uParam)
{
    const int n1 = *static_cast<const int*>(pFirst);
    const int n2 = *static_cast<const int*>(pSecond);
    return uParam == 0 ? SNaturalOrder()(n1, n2) : SNaturalOrder()(n2, n1);
}

struct SDescending
{
    template <typename T>
    int operator()(const T& rFirst, const T& rSecond) const
    {
        return SNaturalOrder()(rSecond, rFirst);
    }
};

/// Opens the nodes and the shape, and counts the copies of elements.
class COpenTree : public CAATree<int>
{
public:
    using CAATree<int>::CAATree;
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        ++m_uCopied;
        CAATree<int>::ConstructFrom(pElement, pSource);
    }
    using CAATreeBase::FindNodeByIndex;
    CNode* GetRoot() const { return m_pRoot; }
    CNode* GetFirstNode() const { return CAATreeBase::GetFirst(); }
    bool IsCurrentNodeInvalid() const { return CurrentNodeIsInvalid(); }
    std::vector<int> Shape() const
    {
        std::vector<int> shape;
        Describe(m_pRoot, ms_pNullNode, shape);
        return shape;
    }

    unsigned int m_uCopied = 0;

private:
    static void Describe(CNode* pNode, CNode* pParent, std::vector<int>& rShape)
    {
        if (IsSentinel(pNode)) return;
        EXPECT_EQ(pParent, pNode->pParent);
        rShape.push_back(*static_cast<int*>(GetElement(pNode)));
        rShape.push_back(static_cast<int>(pNode->uLevel));
        Describe(pNode->pLeft, pNode, rShape);
        rShape.push_back(-1);
        Describe(pNode->pRight, pNode, rShape);
    }
};
}  // namespace

TEST(CAATreeTwin, EveryCallComparisonAndRequestIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareTrees, 1500);
}

TEST(CAATreeLimits, ANodeThatDoesNotFitIsOutOfMemoryWithoutARequest)
{
    CTestAllocator allocator;
    CAATreeBase monster(0xFFFFFFF8, CompareInts, 0, &allocator);
    const int nKey = 0;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, monster.Insert(&nKey));
    EXPECT_TRUE(allocator.GetRequests().empty());
}

TEST(CAATreeLimits, WhatIsNoNodeHasNoNeighboursNoElementAndNothingBelow)
{
    const CAATreeBase tree(sizeof(int), CompareInts, 0, nullptr);
    CNode* const pNull = CAATreeBase::ms_pNullNode;
    for (CNode* const pNone : {pNull, static_cast<CNode*>(nullptr)})
    {
        EXPECT_EQ(pNull, tree.FindNodeMin(pNone));
        EXPECT_EQ(pNull, tree.FindNodeMax(pNone));
        EXPECT_EQ(nullptr, CAATreeBase::GetElement(pNone));
        EXPECT_EQ(nullptr, CAATreeBase::GetNext(pNone));
        EXPECT_EQ(nullptr, CAATreeBase::GetPrevious(pNone));
        tree.SetCurrentNode(pNone);
        EXPECT_TRUE(tree.CurrentNodeIsInvalid());
    }
}

namespace
{
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
}  // namespace

// A step is a link followed. In each access all nodes are blank but those on the shortest way from the node asked for
// last, or to an end from the root: no others can have been visited.
TEST(CAATreeCurrentNode, AScanByIndexTakesAtMostTwoStepsAnElement)
{
    constexpr unsigned int uSIZE = 200;
    COpenTree tree;
    for (unsigned int u = 0; u < uSIZE; ++u) EXPECT_EQ(QV_RES_OK, tree.Insert(static_cast<int>(u * 77 % uSIZE)));
    std::vector<CNode*> nodes;
    for (CNode* pNode = tree.GetFirstNode(); pNode != nullptr; pNode = CAATreeBase::GetNext(pNode))
    {
        nodes.push_back(pNode);
    }
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

namespace
{
template <typename T>
T MakeElement(unsigned int u)
{
    if constexpr (std::is_same<T, std::string>::value) return std::to_string(u);
    else return T(static_cast<int>(u) - 100);
}

template <typename T>
class CTypedTree : public testing::Test
{
};
using CElements = testing::Types<int, signed char, long long, double, std::string, CCounted>;
TYPED_TEST_SUITE(CTypedTree, CElements);

/// Neither a natural order nor a default constructor.
struct SUser
{
    SUser(unsigned int uTheId, const char* pszName) : uId(uTheId), strName(pszName) {}
    unsigned int uId;
    std::string strName;
};

struct SById
{
    int operator()(const SUser& rFirst, const SUser& rSecond) const { return SNaturalOrder()(rFirst.uId, rSecond.uId); }
};

template <typename Tree>
auto Listed(const Tree& rTree)
{
    return std::vector<typename Tree::value_type>(rTree.begin(), rTree.end());
}
}  // namespace

TYPED_TEST(CTypedTree, InItsNaturalOrderItIsASet)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    {
        CAATree<TypeParam> tree(&allocator);
        std::set<TypeParam> model;
        for (unsigned int uStep = 0; uStep < 3000; ++uStep)
        {
            SCOPED_TRACE(testing::Message() << "step " << uStep);
            const TypeParam element = MakeElement<TypeParam>(Below(rng, 200));
            switch (Below(rng, 4))
            {
                case 0:
                case 1:
                {
                    allocator.SetRefusing(Below(rng, 8) == 0);
                    const QvResult res = tree.Insert(element);
                    if (allocator.HasRefused()) ASSERT_EQ(QV_RES_OUT_OF_MEMORY, res);
                    else ASSERT_EQ(model.insert(element).second ? QV_RES_OK : QV_RES_ALREADY_EXISTS, res);
                    break;
                }
                case 2:
                    tree.EraseElement(element);
                    model.erase(element);
                    break;
                default:
                    if (model.empty()) break;
                    const unsigned int uIndex = Below(rng, model.size());
                    const TypeParam& rExpected = *std::next(model.begin(), uIndex);
                    ASSERT_FALSE(rExpected < *tree.GetAt(uIndex) || *tree.GetAt(uIndex) < rExpected);
            }
            const bool bThere = model.count(element) != 0;
            const auto found = std::as_const(tree).Find(element);
            ASSERT_EQ(bThere, static_cast<bool>(found));
            if (bThere) { ASSERT_FALSE(element < *found || *found < element); }
            ASSERT_EQ(bThere, static_cast<bool>(tree.Find(element, SDescending()))) << "that is not the tree's order";
            ASSERT_EQ(model.size(), tree.GetSize());
        }
        allocator.SetRefusing(false);
        CAATree<TypeParam> copy(tree);
        CAATree<TypeParam> assigned;
        EXPECT_EQ(QV_RES_OK, assigned.Insert(MakeElement<TypeParam>(0)));
        assigned = copy;
        CAATree<TypeParam> moved(std::move(tree));
        EXPECT_TRUE(tree.IsEmpty());
        for (const CAATree<TypeParam>* const pTree : {&copy, &assigned, &moved})
        {
            EXPECT_TRUE(std::equal(model.begin(), model.end(), pTree->begin(), pTree->end(),
                                   [](const auto& r1, const auto& r2) { return !(r1 < r2) && !(r2 < r1); }));
        }
    }
    EXPECT_EQ(0, CCounted::ms_nLive);
    EXPECT_EQ(0, CCounted::ms_nStray);
}

TYPED_TEST(CTypedTree, AnOrderThatTheCallNamesIsTheTreesOwnOrIgnored)
{
    CAATree<TypeParam> descending{SDescending()};
    CAATree<TypeParam> ascending;
    for (unsigned int u = 0; u < 200; ++u)
    {
        const TypeParam element = MakeElement<TypeParam>(u * 37 % 200);
        ASSERT_EQ(QV_RES_OK, descending.Insert(element, SDescending()));
        ASSERT_EQ(QV_RES_ALREADY_EXISTS, descending.Insert(element, SDescending()));
        ASSERT_EQ(QV_RES_ALREADY_EXISTS, descending.Insert(element));
        ASSERT_EQ(QV_RES_OK, ascending.Insert(element, SDescending()));
        ASSERT_EQ(QV_RES_ALREADY_EXISTS, ascending.Insert(element, SNaturalOrder()));
        ASSERT_TRUE(descending.Find(element, SDescending()));
        ASSERT_TRUE(std::as_const(descending).Find(element, SDescending()));
        ASSERT_TRUE(descending.Find(element));
    }
    EXPECT_TRUE(std::is_sorted(ascending.begin(), ascending.end()));
    EXPECT_TRUE(
        std::is_sorted(std::make_reverse_iterator(descending.end()), std::make_reverse_iterator(descending.begin())));
}

TEST(CTypedTreeOrder, ElementsWithoutANaturalOrderGoByTheOneTheyAreGiven)
{
    CAATree<SUser> users{SById()};
    EXPECT_EQ(QV_RES_OK, users.Insert({7, "seven"}));
    EXPECT_EQ(QV_RES_OK, users.Insert({3, "three"}, SById()));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, users.Insert({3, "drei"}, SById()));
    EXPECT_EQ("seven", users.Find({7, ""})->strName);
    EXPECT_EQ("three", users.Find({3, ""}, SById())->strName);
    EXPECT_FALSE(users.Find({4, ""}, SById()));

    CAATree<std::string> byLambda([](const std::string& r1, const std::string& r2) { return r2.compare(r1); });
    for (const char* const pszText : {"fig", "pear", "apple"}) ASSERT_EQ(QV_RES_OK, byLambda.Insert(pszText));
    EXPECT_EQ((std::vector<std::string>{"pear", "fig", "apple"}), Listed(byLambda));
}

TEST(CTypedTreeOrder, ACallbackIsAskedThoughTheTypeHasANaturalOrder)
{
    CAATree<int> tree(CompareInts, 1);
    for (const int n : {1, 3, 2}) ASSERT_EQ(QV_RES_OK, tree.Insert(n));
    EXPECT_EQ((std::vector<int>{3, 2, 1}), Listed(tree));
    EXPECT_TRUE(tree.Find(3));
    EXPECT_FALSE(tree.Find(4));
    EXPECT_EQ(QV_RES_INVALID_STATE, tree.SetComparisonFunction(SNaturalOrder()));
    tree.EraseAll();
    ASSERT_EQ(QV_RES_OK, tree.SetComparisonFunction(SNaturalOrder()));
    for (const int n : {1, 3, 2}) ASSERT_EQ(QV_RES_OK, tree.Insert(n));
    EXPECT_EQ((std::vector<int>{1, 2, 3}), Listed(tree));
}

TEST(CTypedTreeOrder, NotANumberEqualsEverythingAsItDoesToTheOrderOfLess)
{
    CAATree<double> tree;
    ASSERT_EQ(QV_RES_OK, tree.Insert(1.0));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, tree.Insert(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(tree.Find(std::numeric_limits<double>::quiet_NaN()));
}

// The oracle is the tree by callback, which the second implementation checks.
TEST(CTypedTreeShape, InsertingInLineLeavesTheTreeThatTheCallbackWouldHaveLeft)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    CTestAllocator allocatorByCallback;
    COpenTree tree(&allocator);
    COpenTree byCallback(CompareInts, 0, &allocatorByCallback);
    for (unsigned int uStep = 0; uStep < 2000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        const int n = static_cast<int>(Below(rng, 300));
        if (Below(rng, 3) == 0)
        {
            tree.EraseElement(n);
            byCallback.EraseElement(n);
        }
        else
        {
            if (tree.GetSize() != 0)
            {
                const unsigned int uIndex = Below(rng, tree.GetSize());
                ASSERT_EQ(*byCallback.GetAt(uIndex), *tree.GetAt(uIndex));
            }
            const unsigned int uLock = Below(rng, 16) == 0 ? 1 : 0;
            tree.SetLockCapacity(uLock);
            byCallback.SetLockCapacity(uLock);
            ASSERT_EQ(byCallback.Insert(n), tree.Insert(n));
        }
        ASSERT_EQ(byCallback.Shape(), tree.Shape());
        ASSERT_EQ(byCallback.IsCurrentNodeInvalid(), tree.IsCurrentNodeInvalid());
        ASSERT_EQ(byCallback.GetCapacity(), tree.GetCapacity());
        ASSERT_EQ(byCallback.m_uCopied, tree.m_uCopied) << "by the element operations of the derived class";
    }
    ASSERT_EQ(allocatorByCallback.GetRequests().size(), allocator.GetRequests().size());
    EXPECT_LT(0u, tree.GetSize());
}

namespace
{
/// By identifiers, as numbers too: a comparison with a key has the element first, as in vectors.
struct SByNumber : SById
{
    using SById::operator();
    int operator()(const SUser& rUser, unsigned int uId) const { return SNaturalOrder()(rUser.uId, uId); }
};

/// A key that is ordered by `<`, and of which an element can be made.
struct SNumbered
{
    explicit SNumbered(unsigned int uTheId) : uId(uTheId) {}
    explicit SNumbered(const std::string& rstrId) : uId(static_cast<unsigned int>(std::stoul(rstrId))) {}

    unsigned int uId;

    friend bool operator<(const SNumbered& r1, const SNumbered& r2) { return r1.uId < r2.uId; }
    friend bool operator<(const SNumbered& r1, const std::string& r2) { return r1.uId < std::stoul(r2); }
    friend bool operator<(const std::string& r1, const SNumbered& r2) { return std::stoul(r1) < r2.uId; }
};

struct SNumberedDescending
{
    int operator()(const SNumbered& r1, const SNumbered& r2) const { return SNaturalOrder()(r2, r1); }
    int operator()(const SNumbered& r1, const std::string& r2) const { return -SNaturalOrder()(r1, r2); }
};

template <typename Tree, typename Key, typename... Order>
void ExpectBounds(const Tree& rTree, const std::set<unsigned int>& rModel, unsigned int uId, const Key& rKey,
                  Order... order)
{
    const auto expectAt = [&](std::set<unsigned int>::const_iterator itExpected, auto found)
    {
        ASSERT_EQ(itExpected != rModel.end(), static_cast<bool>(found));
        if (found) { ASSERT_EQ(*itExpected, found->uId); }
    };
    Tree& rMutable = const_cast<Tree&>(rTree);
    expectAt(rModel.lower_bound(uId), rTree.FindLowerBound(rKey, order...));
    expectAt(rModel.upper_bound(uId), rTree.FindUpperBound(rKey, order...));
    expectAt(rModel.lower_bound(uId), rMutable.FindLowerBound(rKey, order...));
    expectAt(rModel.upper_bound(uId), rMutable.FindUpperBound(rKey, order...));
    expectAt(rModel.find(uId), rTree.Find(rKey, order...));
    expectAt(rModel.find(uId), rMutable.Find(rKey, order...));
}
}  // namespace

TEST(CTypedTreeKeys, KeysOfAnyTypeThatIsOrderedFindAndMakeElements)
{
    CAATree<SUser> users{SByNumber()};
    CAATree<SNumbered> numbered;
    std::set<unsigned int> model;
    std::mt19937 rng(TestSeed());
    for (unsigned int uStep = 0; uStep < 1000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        const unsigned int uId = Below(rng, 300);
        if (Below(rng, 3) == 0)
        {
            users.EraseElement({uId, ""});
            numbered.EraseElement(SNumbered(uId));
            model.erase(uId);
        }
        else
        {
            const std::string strName = std::to_string(uStep);
            CAATree<SUser>::handle user;
            CAATree<SNumbered>::handle found;
            ASSERT_EQ(model.insert(uId).second ? QV_RES_OK : QV_RES_ALREADY_EXISTS,
                      users.Insert({uId, strName.c_str()}, &user));
            ASSERT_EQ(users.Find(uId, SByNumber()), user);
            ASSERT_EQ(QV_RES_OK, users.FindOrInsert({uId, ""}, &user));
            ASSERT_EQ(QV_RES_OK, users.FindOrInsert({uId, ""}, &user, SByNumber()));
            ASSERT_NE("", user->strName);
            ASSERT_EQ(QV_RES_OK, numbered.FindOrInsert(std::to_string(uId), &found));
            ASSERT_EQ(uId, found->uId);
            ASSERT_EQ(QV_RES_ALREADY_EXISTS, numbered.Insert(SNumbered(uId), &found));
        }
        const unsigned int uLookedFor = Below(rng, 300);
        ExpectBounds(users, model, uLookedFor, uLookedFor, SByNumber());
        ExpectBounds(users, model, uLookedFor, SUser(uLookedFor, ""), SByNumber());
        ExpectBounds(numbered, model, uLookedFor, SNumbered(uLookedFor));
        ExpectBounds(numbered, model, uLookedFor, std::to_string(uLookedFor));
        ASSERT_EQ(model.size(), numbered.GetSize());
        ASSERT_TRUE(std::is_sorted(numbered.begin(), numbered.end()));
        const SUser other(uLookedFor, "");
        ASSERT_EQ(model.lower_bound(uLookedFor) != model.end(), static_cast<bool>(users.FindLowerBound(other)))
            << "by the callback";
    }
}

TEST(CTypedTreeKeys, AnotherOrderThanTheTreesIsNoneForElementsAndRefusedForOtherKeys)
{
    CAATree<SNumbered> tree;
    CAATree<SNumbered>::handle found;
    for (const unsigned int uId : {50u, 20u, 80u, 10u, 30u, 70u, 90u})
    {
        ASSERT_EQ(QV_RES_OK, tree.FindOrInsert(SNumbered(uId), &found, SNumberedDescending()));
        ASSERT_EQ(uId, found->uId);
    }
    EXPECT_EQ(10u, tree.GetFirst()->uId);
    EXPECT_EQ(50u, tree.FindLowerBound(SNumbered(50), SNumberedDescending())->uId);
    EXPECT_EQ(70u, tree.FindUpperBound(SNumbered(50), SNumberedDescending())->uId);
    for (unsigned int uId = 0; uId < 100; uId += 7)
    {
        found = tree.GetLast();
        if (uId == 70) continue;
        EXPECT_EQ(QV_RES_INVALID_ARGUMENT, tree.FindOrInsert(std::to_string(uId), &found, SNumberedDescending()));
        EXPECT_EQ(tree.GetLast(), found);
        EXPECT_EQ(7u, tree.GetSize());
    }
    CAATree<SNumbered> descending{SNumberedDescending()};
    for (const char* const pszId : {"2", "1", "3"})
        ASSERT_EQ(QV_RES_OK, descending.FindOrInsert(std::string(pszId), &found, SNumberedDescending()));
    EXPECT_EQ(3u, descending.GetFirst()->uId);
}

TEST(CTypedTreeKeys, FindingNeedsNoMemoryAndANewElementSaysThatThereIsNone)
{
    CTestAllocator allocator;
    CAATree<int> tree(&allocator);
    CAATree<int>::handle found;
    ASSERT_EQ(QV_RES_OK, tree.Insert(1, &found));
    ASSERT_EQ(1, *found);
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, tree.FindOrInsert(2, nullptr));
    const CAATree<int>::handle none;
    CAATree<int>::handle* const pNone = nullptr;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, tree.Insert(2, pNone));
    for (const bool bLocked : {false, true})
    {
        allocator.SetRefusing(!bLocked);
        tree.SetLockCapacity(bLocked ? 1 : 0);
        const QvResult resRefused = bLocked ? QV_RES_INVALID_STATE : QV_RES_OUT_OF_MEMORY;
        CAATree<int>::handle inserted;
        EXPECT_EQ(resRefused, tree.FindOrInsert(2, &inserted));
        EXPECT_EQ(resRefused, tree.Insert(2, &inserted));
        EXPECT_EQ(none, inserted);
        EXPECT_EQ(QV_RES_OK, tree.FindOrInsert(1, &inserted));
        EXPECT_EQ(QV_RES_ALREADY_EXISTS, tree.Insert(1, &inserted));
        EXPECT_EQ(found, inserted);
        EXPECT_EQ(1u, tree.GetSize());
    }
}

namespace
{
/// Convert to numbers, but not in every state.
struct SChangingNumber
{
    operator int() & { return 7; }
};
struct SVanishingNumber
{
    operator int() && { return 8; }
};
}  // namespace

TEST(CTypedTreeKeys, WhatConvertsIsAnElementAsItWasBeforeThereWereOtherKeys)
{
    CAATree<int> tree;
    for (const int n : {7, 8}) ASSERT_EQ(QV_RES_OK, tree.Insert(n));
    SChangingNumber changing;
    EXPECT_EQ(7, *tree.Find(changing));
    EXPECT_EQ(8, *tree.Find(SVanishingNumber()));
    EXPECT_EQ(8, *tree.FindUpperBound(changing));
    EXPECT_EQ(7, *tree.Find({7}));
    EXPECT_EQ(8, *tree.Find('\b', SNaturalOrder()));
    CAATree<CCounted> counted;
    EXPECT_EQ(QV_RES_OK, counted.Insert(CCounted(3)));
    EXPECT_EQ(3, counted.Find(CCounted(3))->GetValue());
}

// Elements in front of the current node move its index.
TEST(CTypedTreeKeys, ANewElementInFrontOfTheOneAskedForLastMovesItsIndex)
{
    CAATree<SNumbered> tree;
    CAATree<SNumbered>::handle found;
    std::set<unsigned int> model;
    std::mt19937 rng(TestSeed());
    for (unsigned int uStep = 0; uStep < 500; ++uStep)
    {
        const unsigned int uId = Below(rng, 1000);
        ASSERT_EQ(QV_RES_OK, tree.FindOrInsert(std::to_string(uId), &found));
        model.insert(uId);
        const unsigned int uIndex = Below(rng, model.size());
        ASSERT_EQ(*std::next(model.begin(), uIndex), tree.GetAt(uIndex)->uId);
    }
}

TEST(CAATreeTyped, HandlesWalkAndErase)
{
    CAATree<int> tree;
    for (int n = 0; n < 20; ++n) EXPECT_EQ(QV_RES_OK, tree.Insert(n * 7 % 20));
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
    for (int n = 0; n < 100; ++n) EXPECT_EQ(QV_RES_OK, tree.Insert(n * 37 % 100));
    EXPECT_TRUE(std::is_sorted(tree.begin(), tree.end()));
    EXPECT_EQ(100, std::distance(tree.begin(), tree.end()));
    EXPECT_EQ(42, *std::lower_bound(tree.begin(), tree.end(), 42));
    EXPECT_EQ(99, *std::prev(tree.end()));
    static_assert(std::bidirectional_iterator<CAATree<int>::iterator>);
    static_assert(std::bidirectional_iterator<CAATree<int>::const_iterator>);
    static_assert(std::is_convertible_v<CAATree<int>::iterator, CAATree<int>::const_iterator>);
    static_assert(!std::is_convertible_v<CAATree<int>::const_iterator, CAATree<int>::iterator>);
}

TEST(CAATreeTyped, CopiesAndWhatIsMovedFromKeepTheSourceOfMemory)
{
    CTestAllocator allocator;
    CAATree<int> tree(SNaturalOrder(), &allocator);
    EXPECT_EQ(QV_RES_OK, tree.Insert(1));
    const CAATree<int> copy(tree);
    EXPECT_EQ(2u, allocator.GetLiveBlocks());
    const CAATree<int> moved(std::move(tree));
    EXPECT_EQ(QV_RES_OK, tree.Insert(2));
    EXPECT_EQ(3u, allocator.GetLiveBlocks());
}

TEST(CAATreeTyped, AnExchangeTakesAlongTheCurrentNodeAndWhatIsAllocated)
{
    static_assert(std::is_nothrow_move_constructible_v<CAATree<int>>);
    static_assert(std::is_nothrow_move_assignable_v<CAATree<int>>);
    CAATree<int> low;
    CAATree<int> high;
    for (int n = 0; n < 5; ++n) EXPECT_EQ(QV_RES_OK, low.Insert(n));
    for (int n = 10; n < 18; ++n) EXPECT_EQ(QV_RES_OK, high.Insert(n));
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
    void* pPlace = nullptr;
    EXPECT_EQ(QV_RES_OK, high.AllocateSorted(9, &pPlace));
    new (pPlace) int(9);
    EXPECT_EQ(9, *high.GetLast());
}

namespace
{
/// Can be moved, and nothing else.
class COnlyMoved
{
public:
    explicit COnlyMoved(int n) : m_pn(std::make_unique<int>(n)) {}
    int Get() const { return m_pn != nullptr ? *m_pn : -1; }
    friend bool operator<(const COnlyMoved& r1, const COnlyMoved& r2) { return r1.Get() < r2.Get(); }

private:
    std::unique_ptr<int> m_pn;
};

/// Stays where it is made.
class CFixed
{
public:
    explicit CFixed(int nTens, int nOnes = 0) : m_counted(10 * nTens + nOnes) {}
    CFixed(const CFixed&) = delete;
    CFixed& operator=(const CFixed&) = delete;
    int Get() const { return m_counted.GetValue(); }
    friend bool operator<(const CFixed& r1, const CFixed& r2) { return r1.Get() < r2.Get(); }

private:
    CCounted m_counted;
};

struct SBySize
{
    template <typename T>
    int operator()(const T& r1, const T& r2) const
    {
        return SNaturalOrder()(r1.Get(), r2.Get());
    }
};

/// Has no order but the one that it is given.
struct SPlain : COnlyMoved
{
    using COnlyMoved::COnlyMoved;
    friend bool operator<(const SPlain&, const SPlain&) = delete;
};

template <typename Tree>
std::vector<int> Gotten(const Tree& rTree)
{
    std::vector<int> numbers;
    for (const auto& rElement : rTree) numbers.push_back(rElement.Get());
    return numbers;
}

// By the natural order, by one that calls name, and by a callback.
template <typename T, typename... Order>
void ExpectMovedIn(CAATree<T> tree, Order... order)
{
    typename CAATree<T>::handle found;
    for (const int n : {3, 1, 2}) ASSERT_EQ(QV_RES_OK, tree.Insert(T(n), order...));
    T two(2);
    ASSERT_EQ(QV_RES_ALREADY_EXISTS, tree.Insert(std::move(two), order...));
    ASSERT_EQ(QV_RES_ALREADY_EXISTS, tree.Insert(std::move(two), &found));
    ASSERT_EQ(QV_RES_OK, tree.FindOrInsert(std::move(two), &found));
    EXPECT_EQ(2, two.Get()) << "what is refused is as it was";
    EXPECT_EQ(2, found->Get());
    ASSERT_EQ(QV_RES_OK, tree.Insert(T(7), &found));
    EXPECT_EQ(7, found->Get());
    ASSERT_EQ(QV_RES_OK, tree.FindOrInsert(T(5), &found));
    EXPECT_EQ(5, found->Get());
    EXPECT_EQ((std::vector<int>{1, 2, 3, 5, 7}), Gotten(tree));
    CAATree<T> moved(std::move(tree));
    swap(moved, tree);
    EXPECT_EQ(5u, tree.GetSize());
    EXPECT_EQ(7, tree.GetLast()->Get());
    tree.EraseElement(two);
    EXPECT_EQ((std::vector<int>{1, 3, 5, 7}), Gotten(tree));
}
}  // namespace

TEST(CTypedTreeElements, WhatCannotBeCopiedIsMovedIn)
{
    ExpectMovedIn(CAATree<COnlyMoved>());
    ExpectMovedIn(CAATree<COnlyMoved>(SBySize()), SBySize());
    ExpectMovedIn(CAATree<COnlyMoved>(SBySize()), SNaturalOrder());
    ExpectMovedIn(CAATree<SPlain>(SBySize()));
    std::vector<COnlyMoved> source;
    for (const int n : {2, 1, 2}) source.emplace_back(n);
    const CAATree<COnlyMoved> tree(std::make_move_iterator(source.begin()), std::make_move_iterator(source.end()));
    EXPECT_EQ((std::vector<int>{1, 2}), Gotten(tree));
    EXPECT_EQ((std::vector<int>{-1, -1, 2}), (std::vector<int>{source[0].Get(), source[1].Get(), source[2].Get()}));
    CAATree<std::unique_ptr<int>> pointers;
    EXPECT_EQ(QV_RES_OK, pointers.Insert(std::make_unique<int>(1)));
    EXPECT_TRUE(pointers.Emplace(std::make_unique<int>(2)));
}

TEST(CTypedTreeElements, WhatCannotBeMovedEitherIsMadeInPlaceAndOnce)
{
    CTestAllocator allocator;
    {
        CAATree<CFixed> trees[] = {CAATree<CFixed>(&allocator), CAATree<CFixed>(SBySize(), &allocator)};
        for (CAATree<CFixed>& rTree : trees)
        {
            const int nLive = CCounted::ms_nLive;
            CAATree<CFixed>::handle entry;
            ASSERT_EQ(2, rTree.Emplace(0, 2)->Get());
            ASSERT_EQ(30, rTree.Emplace(3)->Get());
            ASSERT_EQ(QV_RES_OK, rTree.TryEmplace(&entry, 1));
            EXPECT_EQ(10, entry->Get());
            EXPECT_FALSE(rTree.Emplace(3));
            ASSERT_EQ(QV_RES_ALREADY_EXISTS, rTree.TryEmplace(&entry, 3));
            EXPECT_EQ(rTree.GetLast(), entry);
            EXPECT_EQ(QV_RES_INVALID_ARGUMENT, rTree.TryEmplace(nullptr, 4));
            EXPECT_EQ((std::vector<int>{2, 10, 30}), Gotten(rTree));
            EXPECT_EQ(nLive + 3, CCounted::ms_nLive) << "what has no place is destroyed";
            EXPECT_EQ(4u, rTree.GetCapacity()) << "and its node is used again";
            EXPECT_EQ(10, rTree.GetAt(1)->Get());
            rTree.Emplace(0, 1);
            EXPECT_EQ(2, rTree.GetAt(1)->Get()) << "the index counts the one in front";
            for (const bool bLocked : {false, true})
            {
                allocator.SetRefusing(!bLocked);
                rTree.SetLockCapacity(bLocked ? 1 : 0);
                EXPECT_FALSE(rTree.Emplace(9));
                EXPECT_EQ(bLocked ? QV_RES_INVALID_STATE : QV_RES_OUT_OF_MEMORY, rTree.TryEmplace(&entry, 3));
            }
            allocator.SetRefusing(false);
        }
        struct SPoint
        {
            int nX, nY;
        };
        CAATree<SPoint> points{[](const SPoint& r1, const SPoint& r2) { return SNaturalOrder()(r1.nX, r2.nX); }};
        EXPECT_EQ(5, points.Emplace(3, 5)->nY);
    }
    EXPECT_EQ(0, CCounted::ms_nLive);
    EXPECT_EQ(0, CCounted::ms_nStray);
}

TEST(CTypedTreeManners, AListInBracesIsOneOfElementsAndNothingElse)
{
    using testing::ElementsAre;
    CTestAllocator allocator;
    IAllocator* const pNone = nullptr;
    const CAATree<int> numbers = {3, 1, 2, 1};
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3));
    EXPECT_THAT(CAATree<int>({1, 2}, &allocator), ElementsAre(1, 2));
    EXPECT_EQ(2u, allocator.GetRequests().size());
    EXPECT_THAT(CAATree<int>({1, 2}, SDescending(), &allocator), ElementsAre(2, 1));
    EXPECT_THAT((CAATree<int>{0}), ElementsAre(0));
    EXPECT_THAT((CAATree<CString>{"b", "a", CString("b")}), ElementsAre(CString("a"), CString("b")));
    const CAATree<SUser> users({{7, "seven"}, {3, "three"}}, SById());
    EXPECT_EQ("three", users.GetFirst()->strName);
    CAATree<int> assigned;
    assigned = {5, 4};
    EXPECT_THAT(assigned, ElementsAre(4, 5));
    const std::vector<int> source = {5, 4, 5};
    EXPECT_THAT(CAATree<int>(source.begin(), source.end()), ElementsAre(4, 5));
    EXPECT_THAT((CAATree<int>{source.begin(), source.end()}), ElementsAre(4, 5));
    EXPECT_THAT(CAATree<long>(source.begin(), source.end(), SDescending(), &allocator), ElementsAre(5, 4));
    const char* const apszWords[] = {"z", "y"};
    EXPECT_EQ(CString("y"), *CAATree<CString>(std::begin(apszWords), std::end(apszWords)).GetFirst());

    // These made empty trees before there were lists.
    EXPECT_TRUE(CAATree<CString>{nullptr}.empty());
    EXPECT_TRUE(CAATree<CString>{pNone}.empty());
    EXPECT_TRUE(CAATree<const void*>{&allocator}.empty());
    EXPECT_TRUE(CAATree<std::string>{nullptr}.empty());
    EXPECT_TRUE((CAATree<bool>{CompareInts, 0u}.empty()));
    EXPECT_TRUE(CAATree<bool>{[](bool b1, bool b2) { return SNaturalOrder()(b2, b1); }}.empty());
    EXPECT_THAT(CAATree<int>{numbers}, ElementsAre(1, 2, 3));
    CAATree<int> empty = {};
    EXPECT_TRUE(empty.empty());

    allocator.RefuseNth(2);
    EXPECT_THROW(CAATree<int>({1, 2}, &allocator), std::bad_alloc);
    allocator.RefuseNth(2);
    EXPECT_THROW(CAATree<int>(source.begin(), source.end(), &allocator), std::bad_alloc);
    EXPECT_EQ(0u, allocator.GetLiveBlocks());
}

TEST(CTypedTreeManners, ItIsAContainerAsTheStandardLibraryKnowsThem)
{
    using Tree = CAATree<int>;
    static_assert(std::ranges::bidirectional_range<Tree> && std::ranges::bidirectional_range<const Tree>);
    static_assert(std::ranges::sized_range<const Tree> && std::ranges::common_range<Tree>);
    static_assert(!std::sized_sentinel_for<Tree::iterator, Tree::const_iterator>);
    static_assert(std::is_same_v<Tree::value_type, int> && std::is_same_v<Tree::key_type, int> &&
                  std::is_same_v<Tree::size_type, unsigned int> && std::is_same_v<Tree::difference_type, ptrdiff_t> &&
                  std::is_same_v<Tree::reference, int&> && std::is_same_v<Tree::const_reference, const int&>);
    static_assert(std::is_nothrow_swappable_v<Tree>);
    Tree tree = {1, 2, 3};
    const Tree& rConst = tree;
    EXPECT_THAT(std::vector<int>(tree.rbegin(), tree.rend()), testing::ElementsAre(3, 2, 1));
    EXPECT_THAT(std::vector<int>(rConst.rbegin(), rConst.rend()), testing::ElementsAre(3, 2, 1));
    EXPECT_THAT(std::vector<int>(tree.crbegin(), tree.crend()), testing::ElementsAre(3, 2, 1));
    EXPECT_THAT(std::vector<int>(tree.cbegin(), tree.cend()), testing::ElementsAre(1, 2, 3));
    static_assert(std::is_same_v<decltype(*tree.cbegin()), const int&> &&
                  std::is_same_v<decltype(*tree.crbegin()), const int&> &&
                  std::is_same_v<decltype(*tree.rbegin()), int&>);
    EXPECT_THAT(tree, testing::Contains(2));
    EXPECT_THAT(tree, testing::UnorderedElementsAre(3, 1, 2));
    EXPECT_THAT(tree, testing::SizeIs(3));
    EXPECT_EQ(3, *std::ranges::max_element(tree));

    EXPECT_TRUE(tree.contains(2) && !tree.contains(4) && tree.contains('\2'));
    EXPECT_TRUE(CAATree<SNumbered>({SNumbered(7u)}).contains(std::string("7")));
    EXPECT_FALSE(CAATree<SUser>({{7, ""}}, SByNumber()).contains(8u, SByNumber()));

    const Tree other = {1, 2, 4};
    EXPECT_TRUE(tree == Tree({3, 2, 1}) && tree != other && !(tree == other) && tree != Tree({1, 2}) &&
                Tree({1, 2}) != tree);
    EXPECT_FALSE(tree == Tree({1, 2, 3}, SDescending())) << "one by one";
    Tree exchanged = {9};
    swap(tree, exchanged);
    EXPECT_THAT(tree, testing::ElementsAre(9));
    std::ranges::swap(tree, exchanged);
    EXPECT_EQ(3u, tree.size());
    const unsigned int uCapacity = tree.GetCapacity();
    tree.clear();
    EXPECT_TRUE(tree.empty() && tree.size() == 0);
    EXPECT_EQ(uCapacity, tree.GetCapacity());
}

namespace
{
/// Counts how often its order is found out, in one go.
struct SAskedOnce
{
    int nValue;

    friend bool operator<(const SAskedOnce& r1, const SAskedOnce& r2) { return r1.nValue < r2.nValue; }

    static inline unsigned int ms_uAsked = 0;
};
}  // namespace

template <>
struct orvel_internal::SThreeWayOrder<SAskedOnce, SAskedOnce>
{
    static int Of(const SAskedOnce& r1, const SAskedOnce& r2)
    {
        ++SAskedOnce::ms_uAsked;
        return r1.nValue - r2.nValue;
    }
};

TEST(CTypedTreeKeys, AnOrderThatIsFoundOutInOneGoEndsTheSearchAtTheElement)
{
    CAATree<SAskedOnce> tree;
    for (int n = 0; n < 1000; ++n) ASSERT_EQ(QV_RES_OK, tree.Insert({n * 37 % 1000}));
    unsigned int uAsked = 0;
    for (int n = 0; n < 1000; ++n)
    {
        SAskedOnce::ms_uAsked = 0;
        ASSERT_EQ(n, tree.Find({n})->nValue);
        unsigned int uDepth = 0;
        for (CNode* pNode = tree.Find({n}); !CAATreeBase::IsSentinel(pNode); pNode = pNode->pParent) ++uDepth;
        ASSERT_EQ(2 * uDepth, SAskedOnce::ms_uAsked) << "one for each element on the way, twice";
        uAsked += SAskedOnce::ms_uAsked;
        SAskedOnce::ms_uAsked = 0;
    }
    EXPECT_GT(2u * 10 * 1000, uAsked) << "the middle of a search is a leaf's ten";
}
