// CAATree<T>: searched and filled in line where the order is known, with what the untyped tree promises.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/basic/aatree.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
struct SDescending
{
    template <typename T>
    int operator()(const T& rFirst, const T& rSecond) const
    {
        return SNaturalOrder()(rSecond, rFirst);
    }
};

struct SUser
{
    unsigned int uId;
    std::string strName;
};

struct SById
{
    int operator()(const SUser& rFirst, const SUser& rSecond) const { return SNaturalOrder()(rFirst.uId, rSecond.uId); }
};

int CompareInts(const void* pFirst, const void* pSecond, unsigned int uParam)
{
    const int n1 = *static_cast<const int*>(pFirst);
    const int n2 = *static_cast<const int*>(pSecond);
    return uParam == 0 ? SNaturalOrder()(n1, n2) : SNaturalOrder()(n2, n1);
}

template <typename T>
T MakeElement(unsigned int u)
{
    if constexpr (std::is_same<T, std::string>::value) return std::to_string(u);
    else return static_cast<T>(u) - static_cast<T>(100);
}

template <typename T>
class CTypedTree : public testing::Test
{
};
using CElements = testing::Types<int, unsigned char, long long, double, std::string>;
TYPED_TEST_SUITE(CTypedTree, CElements);

/// Opens the shape, and counts the copies of elements.
class COpenTree : public CAATree<int>
{
public:
    using CAATree<int>::CAATree;
    void ConstructFrom(void* pElement, const void* pSource) override
    {
        ++m_uCopied;
        CAATree<int>::ConstructFrom(pElement, pSource);
    }
    bool IsCurrentNodeInvalid() const { return CurrentNodeIsInvalid(); }
    std::vector<int> Shape() const
    {
        std::vector<int> shape;
        Describe(m_pRoot, ms_pNullNode, shape);
        return shape;
    }

    unsigned int m_uCopied = 0;

private:
    static void Describe(CAATreeNode* pNode, CAATreeNode* pParent, std::vector<int>& rShape)
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

TYPED_TEST(CTypedTree, InItsNaturalOrderItIsASet)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    CAATree<TypeParam> tree(&allocator);
    std::set<TypeParam> model;
    for (unsigned int uStep = 0; uStep < 3000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        const TypeParam element = MakeElement<TypeParam>(static_cast<unsigned int>(rng() % 200));
        switch (rng() % 4)
        {
            case 0:
            case 1:
            {
                allocator.SetRefusing(rng() % 8 == 0);
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
                if (!model.empty())
                {
                    const unsigned int uIndex = static_cast<unsigned int>(rng() % model.size());
                    ASSERT_EQ(*std::next(model.begin(), uIndex), *tree.GetAt(uIndex));
                }
        }
        const bool bThere = model.count(element) != 0;
        const auto found = std::as_const(tree).Find(element);
        ASSERT_EQ(bThere, static_cast<bool>(found));
        if (bThere) { ASSERT_EQ(element, *found); }
        ASSERT_EQ(bThere, static_cast<bool>(tree.Find(element, SDescending()))) << "that is not the tree's order";
        ASSERT_EQ(model.size(), tree.GetSize());
    }
    ASSERT_TRUE(std::equal(model.begin(), model.end(), tree.begin(), tree.end()));
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
    const std::vector<TypeParam> up(ascending.begin(), ascending.end());
    const std::vector<TypeParam> down(descending.begin(), descending.end());
    EXPECT_TRUE(std::is_sorted(up.begin(), up.end()));
    EXPECT_EQ(up, std::vector<TypeParam>(down.rbegin(), down.rend()));
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
}

TEST(CTypedTreeOrder, ACallbackIsAskedThoughTheTypeHasANaturalOrder)
{
    CAATree<int> tree(CompareInts, 1);
    for (const int n : {1, 3, 2}) ASSERT_EQ(QV_RES_OK, tree.Insert(n));
    EXPECT_EQ((std::vector<int>{3, 2, 1}), std::vector<int>(tree.begin(), tree.end()));
    EXPECT_TRUE(tree.Find(3));
    EXPECT_FALSE(tree.Find(4));
    tree.EraseAll();
    ASSERT_EQ(QV_RES_OK, tree.SetComparisonFunction(SNaturalOrder()));
    for (const int n : {1, 3, 2}) ASSERT_EQ(QV_RES_OK, tree.Insert(n));
    EXPECT_EQ((std::vector<int>{1, 2, 3}), std::vector<int>(tree.begin(), tree.end()));
}

TEST(CTypedTreeOrder, NotANumberEqualsEverythingAsItDoesToTheOrderOfLess)
{
    CAATree<double> tree;
    ASSERT_EQ(QV_RES_OK, tree.Insert(1.0));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, tree.Insert(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(tree.Find(std::numeric_limits<double>::quiet_NaN()));
}

// The oracle is the tree by callback, whose shape, requests and current node other tests compare with the published.
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
        const int n = static_cast<int>(rng() % 300);
        if (rng() % 3 == 0)
        {
            tree.EraseElement(n);
            byCallback.EraseElement(n);
        }
        else
        {
            if (tree.GetSize() != 0)
            {
                const unsigned int uIndex = static_cast<unsigned int>(rng() % tree.GetSize());
                ASSERT_EQ(*byCallback.GetAt(uIndex), *tree.GetAt(uIndex));
            }
            const unsigned int uLock = rng() % 16 == 0 ? 1 : 0;
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
