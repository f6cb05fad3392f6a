// A tree of many elements: how high it is, and how little stack it takes.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "framework/basic/aatree.h"

namespace
{
unsigned int HeightOf(const CAATreeBase::CAATreeNode* pNode)
{
    if (CAATreeBase::IsSentinel(pNode)) return 0;
    return 1 + std::max(HeightOf(pNode->pLeft), HeightOf(pNode->pRight));
}

class CIntTree : public CAATreeBase
{
public:
    CIntTree() : CAATreeBase(sizeof(int), Compare, 0, nullptr) {}
    const CAATreeNode* GetRoot() const { return m_pRoot; }
    void ConstructFrom(void* pElement, const void* pSource) override { std::memcpy(pElement, pSource, sizeof(int)); }

private:
    static int Compare(const void* pFirst, const void* pSecond, unsigned int)
    {
        return *static_cast<const int*>(pFirst) - *static_cast<const int*>(pSecond);
    }
};

constexpr int g_nMILLION = 1000000;

void* AscendOnASmallStack(void* pvTree)
{
    CIntTree& rTree = *static_cast<CIntTree*>(pvTree);
    for (int n = 0; n < g_nMILLION; ++n)
    {
        if (rTree.Insert(&n) < 0) return nullptr;
    }
    CIntTree copy;
    copy = rTree;
    for (int n = 0; n < g_nMILLION; n += 3) copy.EraseElement(&n);
    copy.EraseAll();
    return pvTree;
}

TEST(CAATreeHeight, AMillionAscendingInsertionsStayLowAndWithinASmallStack)
{
    CIntTree tree;
    pthread_attr_t attributes;
    ASSERT_EQ(0, pthread_attr_init(&attributes));
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, 64 * 1024));
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, &attributes, AscendOnASmallStack, &tree));
    void* pvResult = nullptr;
    ASSERT_EQ(0, pthread_join(thread, &pvResult));
    EXPECT_EQ(0, pthread_attr_destroy(&attributes));
    EXPECT_EQ(&tree, pvResult);
    EXPECT_EQ(1000000u, tree.GetSize());
    EXPECT_LE(HeightOf(tree.GetRoot()), 2 * std::log2(g_nMILLION));
}
}  // namespace
