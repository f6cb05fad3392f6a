#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/ints.h"
#include "tests/abi/module_functions.h"
#include "tests/abi/old_aatree.h"

using CNode = CAATreeBase::CAATreeNode;

namespace
{
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
    EXPECT_LE(pNode->m_pRight->m_uLevel, pNode->m_uLevel);
    EXPECT_GE(pNode->m_pRight->m_uLevel + 1, pNode->m_uLevel);
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
}  // namespace

class CAATreeBaseLayout : public testing::Test
{
protected:
    CForeignSource m_source;
};
class CAATreeBaseInterface : public CAATreeBaseLayout
{
};

TEST_F(CAATreeBaseLayout, FieldsAreNodeAllocatorElementSizeComparisonLockCountsRootCurrent)
{
    CGuarded<CAATreeBase> tree(4u, CompareModulo, g_uWHOLE, &m_source);
    const void* const pvTree = &*tree;
    CIntTree ints(CompareModulo, g_uWHOLE, &m_source);
    Fill(ints, {1, 2, 3});
    ASSERT_EQ(QV_RES_OK, tree->CAATreeBase::ReserveCapacity(4));
    static_cast<CAATreeBase&>(*tree) = ints;
    void* const pAllocated = tree->Allocate();
    CNode* const pLast = tree->FindNodeByIndex(0);
    EXPECT_EQ(&m_source, LoadAt<IAllocator*>(pvTree, 8 + 8));
    EXPECT_EQ(4u + 32u, LoadAt<uint32_t>(pvTree, 8 + 36));
    EXPECT_EQ(4u, LoadAt<uint32_t>(pvTree, 48));
    EXPECT_EQ(CompareModulo, LoadAt<PFNCompare>(pvTree, 56));
    EXPECT_EQ(g_uWHOLE, LoadAt<uint32_t>(pvTree, 64));
    EXPECT_EQ(0u, LoadAt<uint32_t>(pvTree, 72));
    EXPECT_EQ(3u, LoadAt<uint32_t>(pvTree, 76));
    EXPECT_EQ(1u, LoadAt<uint32_t>(pvTree, 80));
    EXPECT_EQ(pLast->m_pParent, LoadAt<CNode*>(pvTree, 88));
    EXPECT_EQ(pLast, LoadAt<CNode*>(pvTree, 96));
    EXPECT_EQ(0u, LoadAt<uint32_t>(pvTree, 104));
    tree->EraseAllocated(pAllocated);
    static_assert(sizeof(CAATreeBase) == 112, "the program's declaration");
}

TEST_F(CAATreeBaseLayout, NodesLinkLeftRightParentThenHaveALevelThenTheElement)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    Fill(tree, {20, 10, 30});
    const CNode* const pRoot = tree.m_pRoot;
    const CNode* const pLeft = LoadAt<const CNode*>(pRoot, 0);
    const CNode* const pRight = LoadAt<const CNode*>(pRoot, 8);
    EXPECT_EQ(CAATreeBase::ms_pNullNode, LoadAt<const CNode*>(pRoot, 16));
    EXPECT_EQ(2u, LoadAt<uint32_t>(pRoot, 24));
    EXPECT_EQ(20, LoadAt<int>(pRoot, 32));
    EXPECT_EQ(10, LoadAt<int>(pLeft, 32));
    EXPECT_EQ(30, LoadAt<int>(pRight, 32));
    EXPECT_EQ(pRoot, LoadAt<const CNode*>(pLeft, 16));
    EXPECT_EQ(1u, LoadAt<uint32_t>(pRight, 24));
    static_assert(sizeof(CNode) == 32, "the program's declaration");
}

TEST_F(CAATreeBaseLayout, ANodeIsConstructedFromItsFieldsOrZero)
{
    CGuarded<CNode> zero;
    EXPECT_EQ(std::vector<unsigned char>(28), BytesAt(&*zero, 0, 28));
    CNode nodes[3];
    CGuarded<CNode> node(&nodes[0], &nodes[1], &nodes[2], 7u);
    EXPECT_EQ(&nodes[0], LoadAt<CNode*>(&*node, 0));
    EXPECT_EQ(&nodes[1], LoadAt<CNode*>(&*node, 8));
    EXPECT_EQ(&nodes[2], LoadAt<CNode*>(&*node, 16));
    EXPECT_EQ(7u, LoadAt<uint32_t>(&*node, 24));
}

TEST_F(CAATreeBaseLayout, AComparisonIsACallbackAndItsParameter)
{
    CGuarded<CAATreeBase::SCompareVoidParams> params(CompareModulo, 9u);
    EXPECT_EQ(CompareModulo, LoadAt<PFNCompare>(&*params, 0));
    EXPECT_EQ(9u, LoadAt<uint32_t>(&*params, 8));
}

TEST_F(CAATreeBaseLayout, TheSentinelIsTheExportedStorageAndPointsAtItself)
{
    const CNode* const pSentinel = CAATreeBase::ms_pNullNode;
    EXPECT_EQ(static_cast<const void*>(CAATreeBase::ms_auNullNode), pSentinel);
    EXPECT_EQ(pSentinel, pSentinel->m_pLeft);
    EXPECT_EQ(pSentinel, pSentinel->m_pRight);
    EXPECT_EQ(pSentinel, pSentinel->m_pParent);
    EXPECT_EQ(0u, pSentinel->m_uLevel);
}

TEST_F(CAATreeBaseLayout, TheNodeAllocatorHasItsOwnVirtualTable)
{
    CAATreeBase tree(4, CompareModulo, g_uWHOLE, &m_source);
    EXPECT_EQ("CBlockAllocator::Push(void*)", FunctionInSlot(&tree.m_nodeAllocator, 2));
}

TEST_F(CAATreeBaseLayout, TheLibraryCallsTheElementOperationsOfAProgramsClass)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    Fill(tree, {1, 2});
    EXPECT_EQ(2u, tree.m_uCopied);
    tree.Erase(0);
    EXPECT_EQ(1u, tree.m_uDestroyed);
    EXPECT_EQ(0u, tree.m_uMade);
}

TEST_F(CAATreeBaseLayout, AChangedLockIsSeenByTheLibrary)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    const int nElement = 1;
    tree.m_uLockCapacity = 8;
    EXPECT_EQ(8u, tree.GetLockCapacity());
    EXPECT_EQ(QV_RES_INVALID_STATE, tree.ReserveCapacity(1));
    EXPECT_EQ(QV_RES_INVALID_STATE, tree.ReduceCapacity(0));
    EXPECT_EQ(QV_RES_INVALID_STATE, tree.Insert(&nElement));
}

TEST_F(CAATreeBaseLayout, ADestructorClearsTheElementSizeAndTheLock)
{
    CGuarded<CAATreeBase> tree(4u, CompareModulo, g_uWHOLE, static_cast<IAllocator*>(&m_source));
    tree.Destroy();
    EXPECT_EQ(0u, tree.Remains(&CAATreeBase::m_uElementSize));
    EXPECT_EQ(0u, tree.Remains(&CAATreeBase::m_uLockCapacity));
}

TEST(CAATreeBaseModule, SentinelLivesFromInitialiserToFinaliser)
{
    CFrameworkInitializer::Finalize();
    const SModuleFunctions aPairs[] = {{CAATreeBase::InitializeCAATreeBase, CAATreeBase::FinalizeCAATreeBase},
                                       {InitializeCAATreeBase, FinalizeCAATreeBase}};
    for (const SModuleFunctions& rPair : aPairs)
    {
        EXPECT_EQ(nullptr, CAATreeBase::ms_pNullNode);
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        EXPECT_EQ(static_cast<const void*>(CAATreeBase::ms_auNullNode), CAATreeBase::ms_pNullNode);
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CAATreeBase::ms_pNullNode);
    }
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
}

TEST_F(CAATreeBaseInterface, TakesItsNodesFromTheGivenSource)
{
    const CBlockAllocator nodes(36, &m_source);
    const CAATreeBase tree(4, CompareModulo, g_uWHOLE, nodes);
    EXPECT_TRUE(tree.m_nodeAllocator == nodes);
    IAllocator* const pNone = nullptr;
    EXPECT_EQ(DefaultAllocator(), CAATreeBase(4, CompareModulo, g_uWHOLE, pNone).m_nodeAllocator.m_pAllocator);
}

TEST_F(CAATreeBaseInterface, CapacityIsTheSizeTheAllocatedAndTheFreeNodes)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    Fill(tree, {1, 2});
    void* const pAllocated = tree.Allocate();
    ASSERT_EQ(QV_RES_OK, tree.ReserveCapacity(6));
    EXPECT_EQ(3u, m_source.m_uAllocatedCount);
    EXPECT_EQ(6u, tree.GetCapacity());
    ASSERT_EQ(QV_RES_OK, tree.ReduceCapacity(0));
    EXPECT_EQ(3u, tree.GetCapacity());
    tree.EraseAllocated(nullptr);
    tree.EraseAllocated(pAllocated);
    EXPECT_EQ(0u, tree.m_uAllocatedCount);
    EXPECT_EQ(1u, tree.m_nodeAllocator.GetBlockCount());
    m_source.m_bRefusing = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, tree.ReserveCapacity(4));
}

TEST_F(CAATreeBaseInterface, IndexesSpanTheSize)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    EXPECT_TRUE(tree.IsEmpty());
    EXPECT_EQ(0xFFFFFFFFu, tree.GetLastIndex());
    EXPECT_TRUE(IsSentinel(tree.m_pRoot));
    Fill(tree, {1, 2, 3});
    EXPECT_FALSE(tree.IsEmpty());
    EXPECT_EQ(3u, tree.GetSize());
    EXPECT_EQ(0u, tree.GetFirstIndex());
    EXPECT_EQ(2u, tree.GetLastIndex());
}

TEST_F(CAATreeBaseInterface, InsertsCopiesPlacesAndNodesOfTheCaller)
{
    CIntTree tree(CompareModulo, 10u, &m_source);
    Fill(tree, {5, 1});
    int nKey = 11;
    void* pElement = nullptr;
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, tree.Insert(&nKey));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, tree.AllocateSorted(&nKey, &pElement));
    nKey = 3;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, tree.AllocateSorted(&nKey, nullptr));
    ASSERT_EQ(QV_RES_OK, tree.AllocateSorted(&nKey, &pElement));
    *static_cast<int*>(pElement) = 3;
    EXPECT_EQ(2u, tree.m_uCopied) << "the place is left to the caller";

    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, tree.InsertAllocated(nullptr));
    int* const pnAllocated = static_cast<int*>(tree.Allocate());
    EXPECT_EQ(1u, tree.m_uAllocatedCount);
    *pnAllocated = 5;
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, tree.InsertAllocated(pnAllocated));
    EXPECT_EQ(1u, tree.m_uAllocatedCount);
    *pnAllocated = 7;
    ASSERT_EQ(QV_RES_OK, tree.InsertAllocated(pnAllocated));
    EXPECT_EQ(0u, tree.m_uAllocatedCount);
    EXPECT_EQ((Ints{1, 3, 5, 7}), LinkedInts(tree));
}

TEST_F(CAATreeBaseInterface, AllocatedNodesAreDetachedLeaves)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    void* const pElement = tree.Allocate();
    const CNode* const pNode = reinterpret_cast<const CNode*>(static_cast<unsigned char*>(pElement) - 32);
    EXPECT_TRUE(IsSentinel(pNode->m_pLeft) && IsSentinel(pNode->m_pRight) && IsSentinel(pNode->m_pParent));
    EXPECT_EQ(1u, pNode->m_uLevel);
    tree.EraseAllocated(pElement);
}

TEST_F(CAATreeBaseInterface, ErasesByKeyAndByIndex)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    Fill(tree, {1, 2, 3, 4, 5, 6, 7});
    const int nFour = 4;
    const int nNine = 9;
    tree.EraseElement(&nFour);
    tree.EraseElement(&nNine);
    EXPECT_EQ((Ints{1, 2, 3, 5, 6, 7}), LinkedInts(tree));
    tree.Erase(1);
    tree.Erase(5);
    EXPECT_EQ((Ints{1, 3, 5, 6, 7}), LinkedInts(tree));
    tree.EraseAll();
    EXPECT_EQ(Ints{}, LinkedInts(tree));
    EXPECT_EQ(7u, tree.GetCapacity());
    EXPECT_EQ(7u, tree.m_uDestroyed);
}

TEST_F(CAATreeBaseInterface, FindsNodesByKeyAndByIndex)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    EXPECT_TRUE(IsSentinel(tree.FindNodeByIndex(0)));
    Fill(tree, {1, 2, 3, 4, 5, 6, 7});
    for (const unsigned int uIndex : {3u, 4u, 0u, 6u, 1u})
    {
        const CNode* const pNode = tree.FindNodeByIndex(uIndex);
        const int nElement = static_cast<int>(uIndex) + 1;
        EXPECT_EQ(nElement, ElementOf(pNode));
        EXPECT_EQ(pNode, tree.FindNode(&nElement));
        EXPECT_EQ(pNode, tree.m_pCurrentNode);
        EXPECT_EQ(uIndex, tree.m_uCurrentIndex);
    }
    const int nNine = 9;
    EXPECT_TRUE(IsSentinel(tree.FindNode(&nNine)));
    EXPECT_TRUE(IsSentinel(tree.FindNodeByIndex(7)));
    EXPECT_EQ(1, ElementOf(tree.FindNodeMin(tree.m_pRoot)));
    EXPECT_EQ(7, ElementOf(tree.FindNodeMax(tree.m_pRoot)));
    EXPECT_TRUE(IsSentinel(tree.FindNodeMin(CAATreeBase::ms_pNullNode)));
    EXPECT_TRUE(IsSentinel(tree.FindNodeMax(CAATreeBase::ms_pNullNode)));
}

TEST_F(CAATreeBaseInterface, TheCurrentNodeMovesToItsNeighbours)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    Fill(tree, {1, 2, 3});
    const CAATreeBase& rConst = tree;
    EXPECT_TRUE(rConst.CurrentNodeIsInvalid());
    rConst.SetCurrentNode(tree.m_pRoot);
    EXPECT_FALSE(rConst.CurrentNodeIsInvalid());
    rConst.IncrementCurrentNode();
    EXPECT_EQ(3, ElementOf(rConst.GetCurrentNode()));
    rConst.DecrementCurrentNode();
    rConst.DecrementCurrentNode();
    EXPECT_EQ(1, ElementOf(rConst.GetCurrentNode()));
    EXPECT_EQ(tree.m_pCurrentNode, rConst.GetCurrentNode());
    rConst.DecrementCurrentNode();
    EXPECT_TRUE(rConst.CurrentNodeIsInvalid());
    rConst.SetCurrentNode(tree.m_pRoot);
    rConst.InvalidateCurrentNode();
    EXPECT_TRUE(IsSentinel(tree.m_pCurrentNode));
}

TEST_F(CAATreeBaseInterface, ChangesInFrontOfTheCurrentNodeInvalidateIt)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    Fill(tree, {2, 4, 6});
    tree.FindNodeByIndex(1);
    Fill(tree, {5});
    EXPECT_FALSE(tree.CurrentNodeIsInvalid());
    Fill(tree, {3});
    EXPECT_TRUE(tree.CurrentNodeIsInvalid());
    tree.FindNodeByIndex(1);
    tree.Erase(1);
    EXPECT_TRUE(tree.CurrentNodeIsInvalid());
}

TEST_F(CAATreeBaseInterface, TheComparisonOfAnEmptyTreeCanBeSet)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    ASSERT_EQ(QV_RES_OK, tree.SetComparisonFunction(CompareModulo, 10));
    EXPECT_EQ(10u, tree.m_stCompare.uParam);
    Fill(tree, {12, 21});
    EXPECT_EQ((Ints{21, 12}), LinkedInts(tree));
    EXPECT_EQ(QV_RES_INVALID_STATE, tree.SetComparisonFunction(CompareModulo, 10));
}

TEST_F(CAATreeBaseInterface, SearchingAsksForTheKeyFirst)
{
    static const void* pFirst = nullptr;
    const PFNCompare pfnNote = [](const void* pvFirst, const void* pvSecond, unsigned int uParam)
    {
        pFirst = pvFirst;
        return CompareModulo(pvFirst, pvSecond, uParam);
    };
    CIntTree tree(pfnNote, g_uWHOLE, &m_source);
    Fill(tree, {1});
    const int nKey = 1;
    EXPECT_EQ(tree.m_pRoot, tree.FindNode(&nKey));
    EXPECT_EQ(&nKey, pFirst);
}

TEST_F(CAATreeBaseInterface, ACopyHasTheElementSizeAndTheSourceAndAnAssignmentTheShape)
{
    CIntTree tree(CompareModulo, g_uWHOLE, &m_source);
    Fill(tree, {1, 2, 3, 4, 5, 6});
    CIntTree assigned(CompareModulo, 10u, static_cast<IAllocator*>(nullptr));
    EXPECT_EQ(&assigned, &(assigned.CAATreeBase::operator=(tree)));
    EXPECT_EQ(g_uWHOLE, assigned.m_stCompare.uParam);
    EXPECT_EQ((Ints{1, 2, 3, 4, 5, 6}), LinkedInts(assigned));
    EXPECT_EQ(ElementOf(tree.m_pRoot), ElementOf(assigned.m_pRoot));

    const CAATreeBase empty(12, CompareModulo, 10, &m_source);
    CGuarded<CAATreeBase> copy(empty);
    EXPECT_EQ(12u, copy->m_uElementSize);
    EXPECT_EQ(CompareModulo, copy->m_stCompare.pfnCompare);
    EXPECT_EQ(10u, copy->m_stCompare.uParam);
    EXPECT_TRUE(copy->m_nodeAllocator == empty.m_nodeAllocator);
}
