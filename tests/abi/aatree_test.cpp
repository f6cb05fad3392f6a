#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/ints.h"
#include "tests/abi/old_aatree.h"

using CNode = CAATreeBase::CAATreeNode;

namespace
{
using Values = std::vector<unsigned int>;

int ElementOf(const CNode* pNode)
{
    return LoadAt<int>(pNode, 32);
}

bool IsSentinel(const CNode* pNode)
{
    return pNode == CAATreeBase::ms_pNullNode;
}

/// The elements below a node in order; its links and levels must be those of an AA tree.
Ints IntsBelow(const CNode* pNode, const CNode* pParent)
{
    if (IsSentinel(pNode)) return {};
    EXPECT_EQ(pParent, pNode->m_pParent);
    EXPECT_EQ(pNode->m_uLevel, pNode->m_pLeft->m_uLevel + 1);
    EXPECT_LT(pNode->m_pRight->m_pRight->m_uLevel, pNode->m_uLevel);
    Ints ints = IntsBelow(pNode->m_pLeft, pNode);
    ints.push_back(ElementOf(pNode));
    const Ints behind = IntsBelow(pNode->m_pRight, pNode);
    ints.insert(ints.end(), behind.begin(), behind.end());
    return ints;
}

Ints LinkedInts(const CAATreeBase& rTree)
{
    const Ints ints = IntsBelow(rTree.m_pRoot, CAATreeBase::ms_pNullNode);
    EXPECT_EQ(ints.size(), rTree.m_uSize);
    return ints;
}

void Fill(CAATreeBase& rTree, std::initializer_list<int> values)
{
    for (const int nValue : values) ASSERT_EQ(QV_RES_OK, rTree.Insert(&nValue));
}

class CAATree : public testing::Test
{
protected:
    CForeignSource m_source;
    CIntTree m_tree{CompareModulo, g_uWHOLE, &m_source};
};
}  // namespace

TEST_F(CAATree, FieldsAreNodeAllocatorElementSizeComparisonLockCountsRootCurrent)
{
    static_assert(sizeof(CAATreeBase) == 112);
    CGuarded<CAATreeBase> tree(4u, CompareModulo, 10u, &m_source);
    Fill(m_tree, {1, 2, 3});
    static_cast<CAATreeBase&>(*tree) = m_tree;
    void* const pAllocated = tree->Allocate();
    const CNode* const pLast = tree->FindNodeByIndex(2);
    EXPECT_EQ(&m_source, tree->m_nodeAllocator.m_pAllocator);
    EXPECT_EQ("CBlockAllocator::Push(void*)", FunctionInSlot(&tree->m_nodeAllocator, 2));
    EXPECT_EQ(CompareModulo, tree->m_stCompare.pfnCompare);
    EXPECT_EQ((Values{36, 4, g_uWHOLE, 0, 3, 1, 2}),
              (Values{tree->m_nodeAllocator.m_uBlockSize, tree->m_uElementSize, tree->m_stCompare.uParam,
                      tree->m_uLockCapacity, tree->m_uSize, tree->m_uAllocatedCount, tree->m_uCurrentIndex}));
    EXPECT_EQ(pLast->m_pParent, tree->m_pRoot);
    EXPECT_EQ(pLast, tree->m_pCurrentNode);
    tree->EraseAllocated(pAllocated);
    tree.Destroy();
    EXPECT_EQ(0u, tree.Remains(&CAATreeBase::m_uLockCapacity));
}

TEST_F(CAATree, RecordsAreMadeFieldByField)
{
    static_assert(sizeof(CNode) == 32 && sizeof(CAATreeBase::SCompareVoidParams) == 16);
    const CGuarded<CNode> zero;
    EXPECT_EQ(std::vector<unsigned char>(28), BytesAt(&*zero, 0, 28));
    CNode nodes[3];
    const CGuarded<CNode> node(&nodes[0], &nodes[1], &nodes[2], 7u);
    EXPECT_EQ((std::vector<CNode*>{&nodes[0], &nodes[1], &nodes[2]}),
              (std::vector<CNode*>{node->m_pLeft, node->m_pRight, node->m_pParent}));
    EXPECT_EQ(7u, node->m_uLevel);
    const CGuarded<CAATreeBase::SCompareVoidParams> params(CompareModulo, 9u);
    EXPECT_EQ(CompareModulo, params->pfnCompare);
    EXPECT_EQ(9u, params->uParam);
}

TEST(CAATreeModule, SentinelLivesInTheExportedStorageFromInitialiserToFinaliser)
{
    const SModuleFunctions aPairs[] = {{CAATreeBase::InitializeCAATreeBase, CAATreeBase::FinalizeCAATreeBase},
                                       {InitializeCAATreeBase, FinalizeCAATreeBase}};
    for (const SModuleFunctions& rPair : aPairs)
    {
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CAATreeBase::ms_pNullNode);
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        const CNode* const pSentinel = CAATreeBase::ms_pNullNode;
        ASSERT_EQ(static_cast<const void*>(CAATreeBase::ms_auNullNode), pSentinel);
        EXPECT_TRUE(IsSentinel(pSentinel->m_pLeft) && IsSentinel(pSentinel->m_pRight) &&
                    IsSentinel(pSentinel->m_pParent));
        EXPECT_EQ(0u, pSentinel->m_uLevel);
    }
}

TEST_F(CAATree, TakesItsNodesFromTheGivenSource)
{
    const CBlockAllocator nodes(36, &m_source);
    CAATreeBase tree(4, CompareModulo, 10, nodes);
    EXPECT_TRUE(tree.m_nodeAllocator == nodes);
    IAllocator* const pNone = nullptr;
    EXPECT_EQ(DefaultAllocator(), CAATreeBase(4, CompareModulo, g_uWHOLE, pNone).m_nodeAllocator.m_pAllocator);
    const CGuarded<CAATreeBase> copy(tree);
    EXPECT_EQ((Values{4, 10}), (Values{copy->m_uElementSize, copy->m_stCompare.uParam}));
    EXPECT_TRUE(copy->m_nodeAllocator == nodes);
    EXPECT_EQ(QV_RES_OK, tree.SetComparisonFunction(CompareModulo, 9));
    EXPECT_EQ(9u, tree.m_stCompare.uParam);
    tree.m_uLockCapacity = 8;
    EXPECT_EQ(8u, tree.GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, tree.ReserveCapacity(1));
}

TEST_F(CAATree, CapacityIsTheSizeTheAllocatedAndTheFreeNodes)
{
    EXPECT_TRUE(m_tree.IsEmpty());
    Fill(m_tree, {1, 2});
    EXPECT_EQ((Values{2, 0, 1, 0}),
              (Values{m_tree.GetSize(), m_tree.GetFirstIndex(), m_tree.GetLastIndex(), m_tree.IsEmpty()}));
    void* const pAllocated = m_tree.Allocate();
    const CNode* const pNode = reinterpret_cast<const CNode*>(static_cast<unsigned char*>(pAllocated) - 32);
    EXPECT_TRUE(IsSentinel(pNode->m_pLeft) && IsSentinel(pNode->m_pRight) && IsSentinel(pNode->m_pParent));
    EXPECT_EQ(1u, pNode->m_uLevel);
    ASSERT_EQ(QV_RES_OK, m_tree.ReserveCapacity(6));
    EXPECT_EQ(3u, m_source.m_uAllocatedCount);
    EXPECT_EQ(6u, m_tree.GetCapacity());
    ASSERT_EQ(QV_RES_OK, m_tree.ReduceCapacity(0));
    EXPECT_EQ(3u, m_tree.GetCapacity());
    m_tree.EraseAllocated(pAllocated);
    EXPECT_EQ(0u, m_tree.m_uAllocatedCount);
    EXPECT_EQ(1u, m_tree.m_nodeAllocator.GetBlockCount());
}

TEST_F(CAATree, TakesElementsPlacesAndNodesAndErasesThem)
{
    Fill(m_tree, {5, 1, 9});
    const int nKey = 3;
    void* pElement = nullptr;
    ASSERT_EQ(QV_RES_OK, m_tree.AllocateSorted(&nKey, &pElement));
    *static_cast<int*>(pElement) = 3;
    int* const pnAllocated = static_cast<int*>(m_tree.Allocate());
    *pnAllocated = 7;
    ASSERT_EQ(QV_RES_OK, m_tree.InsertAllocated(pnAllocated));
    EXPECT_EQ((Ints{1, 3, 5, 7, 9}), LinkedInts(m_tree));
    m_tree.EraseElement(&nKey);
    m_tree.Erase(1);
    EXPECT_EQ((Ints{1, 7, 9}), LinkedInts(m_tree));
    m_tree.EraseAll();
    EXPECT_EQ(Ints{}, LinkedInts(m_tree));
    EXPECT_EQ((Values{0, 3, 5}), (Values{m_tree.m_uMade, m_tree.m_uCopied, m_tree.m_uDestroyed}))
        << "through the slots; a place and a node are filled by the program";
}

TEST_F(CAATree, FindsNodesAndMovesTheCurrentOne)
{
    Fill(m_tree, {1, 2, 3, 4, 5});
    const CAATreeBase& rTree = m_tree;
    const int nFour = 4;
    EXPECT_TRUE(rTree.CurrentNodeIsInvalid());
    EXPECT_EQ(4, ElementOf(rTree.FindNode(&nFour)));
    EXPECT_EQ(2, ElementOf(rTree.FindNodeByIndex(1)));
    EXPECT_EQ(1u, m_tree.m_uCurrentIndex);
    EXPECT_EQ(m_tree.m_pCurrentNode, rTree.GetCurrentNode());
    EXPECT_TRUE(IsSentinel(rTree.FindNodeByIndex(5)));
    EXPECT_EQ(1, ElementOf(rTree.FindNodeMin(m_tree.m_pRoot)));
    EXPECT_EQ(5, ElementOf(rTree.FindNodeMax(m_tree.m_pRoot)));
    rTree.SetCurrentNode(m_tree.m_pRoot);
    EXPECT_EQ(2, ElementOf(m_tree.m_pCurrentNode));
    rTree.IncrementCurrentNode();
    EXPECT_EQ(3, ElementOf(m_tree.m_pCurrentNode));
    rTree.DecrementCurrentNode();
    rTree.DecrementCurrentNode();
    EXPECT_EQ(1, ElementOf(m_tree.m_pCurrentNode));
    EXPECT_FALSE(rTree.CurrentNodeIsInvalid());
    rTree.InvalidateCurrentNode();
    EXPECT_TRUE(IsSentinel(m_tree.m_pCurrentNode));
}
