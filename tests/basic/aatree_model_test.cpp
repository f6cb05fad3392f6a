// The tree against an independent, recursive model of its published algorithms: shape, levels, comparisons.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <set>

#include "framework/basic/aatree.h"
#include "tests/support/container_elements.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
using CShape = std::vector<int>;  // names and levels in preorder, -1 for no child

class CModelTree
{
public:
    struct SNode
    {
        SNode* pLeft;
        SNode* pRight;
        SNode* pParent;
        int nLevel;
        SKeyed element;
    };

    CModelTree() : m_null{&m_null, &m_null, &m_null, 0, {0, 0}} {}

    bool Insert(const SKeyed& rKey) { return Insert(rKey, &m_null, m_pRoot); }

    bool Erase(const SKeyed& rKey)
    {
        m_pLast = m_pCandidate = m_pRemoved = m_pReplacement = &m_null;
        Erase(rKey, m_pRoot);
        if (m_pRemoved == &m_null) return false;
        if (m_pReplacement != &m_null)
        {
            SNode* const pParent = m_pRemoved->pParent;
            if (pParent != &m_null && pParent->pLeft == m_pRemoved) pParent->pLeft = m_pReplacement;
            else if (pParent != &m_null && pParent->pRight == m_pRemoved) pParent->pRight = m_pReplacement;
            else m_pRoot = m_pReplacement;
            if (m_pRemoved->pLeft != &m_null) m_pRemoved->pLeft->pParent = m_pReplacement;
            if (m_pRemoved->pRight != &m_null) m_pRemoved->pRight->pParent = m_pReplacement;
            m_pReplacement->pLeft = m_pRemoved->pLeft;
            m_pReplacement->pRight = m_pRemoved->pRight;
            m_pReplacement->pParent = m_pRemoved->pParent;
            m_pReplacement->nLevel = m_pRemoved->nLevel;
        }
        if (m_pCurrent != nullptr && Compare(rKey, m_pCurrent->element) <= 0) m_pCurrent = nullptr;
        delete m_pRemoved;
        return true;
    }

    void EraseAll()
    {
        Drop(m_pRoot);
        m_pRoot = &m_null;
        m_pCurrent = nullptr;
    }
    ~CModelTree() { EraseAll(); }

    int Find(const SKeyed& rKey)
    {
        SNode* pNode = m_pRoot;
        while (pNode != &m_null)
        {
            const int nOrder = Compare(rKey, pNode->element);
            if (nOrder == 0) return pNode->element.nName;
            pNode = nOrder < 0 ? pNode->pLeft : pNode->pRight;
        }
        return -1;
    }

    void SetCurrentByIndex(unsigned int uIndex)
    {
        std::vector<SNode*> order;
        Collect(m_pRoot, order);
        if (uIndex < order.size()) m_pCurrent = order[uIndex];
    }
    std::vector<SKeyed> InOrder()
    {
        std::vector<SNode*> order;
        Collect(m_pRoot, order);
        std::vector<SKeyed> elements;
        for (const SNode* const pNode : order) elements.push_back(pNode->element);
        return elements;
    }
    int GetCurrentName() const { return m_pCurrent != nullptr ? m_pCurrent->element.nName : -1; }
    CShape GetShape() const
    {
        CShape shape;
        Describe(m_pRoot, shape);
        return shape;
    }

private:
    static int Compare(const SKeyed& rFirst, const SKeyed& rSecond)
    {
        return CompareLogging(&rFirst, &rSecond, g_uLOG_PARAM);
    }

    void Skew(SNode*& rpSlot)
    {
        SNode* const pTop = rpSlot;
        if (pTop == &m_null || pTop->pLeft->nLevel != pTop->nLevel) return;
        SNode* const pLeft = pTop->pLeft;
        if (pLeft->pRight != &m_null) pLeft->pRight->pParent = pTop;
        pLeft->pParent = pTop->pParent;
        pTop->pParent = pLeft;
        pTop->pLeft = pLeft->pRight;
        pLeft->pRight = pTop;
        rpSlot = pLeft;
    }

    void Split(SNode*& rpSlot)
    {
        SNode* const pTop = rpSlot;
        if (pTop == &m_null || pTop->pRight->pRight->nLevel != pTop->nLevel) return;
        SNode* const pRight = pTop->pRight;
        if (pRight->pLeft != &m_null) pRight->pLeft->pParent = pTop;
        pRight->pParent = pTop->pParent;
        pTop->pParent = pRight;
        pTop->pRight = pRight->pLeft;
        pRight->pLeft = pTop;
        rpSlot = pRight;
        ++pRight->nLevel;
    }

    bool Insert(const SKeyed& rKey, SNode* pParent, SNode*& rpSlot)
    {
        if (rpSlot == &m_null)
        {
            rpSlot = new SNode{&m_null, &m_null, pParent, 1, rKey};
            if (m_pCurrent != nullptr && Compare(rKey, m_pCurrent->element) < 0) m_pCurrent = nullptr;
            return true;
        }
        SNode* const pNode = rpSlot;
        bool bInserted = false;
        if (Compare(rKey, pNode->element) < 0) bInserted = Insert(rKey, pNode, pNode->pLeft);
        else if (Compare(pNode->element, rKey) < 0) bInserted = Insert(rKey, pNode, pNode->pRight);
        else return false;
        Skew(rpSlot);
        Split(rpSlot);
        return bInserted;
    }

    void Erase(const SKeyed& rKey, SNode*& rpSlot)
    {
        SNode* const pNode = rpSlot;
        if (pNode == &m_null) return;
        m_pLast = pNode;
        if (Compare(rKey, pNode->element) < 0) Erase(rKey, pNode->pLeft);
        else
        {
            m_pCandidate = pNode;
            Erase(rKey, pNode->pRight);
        }
        if (pNode == m_pLast)
        {
            if (m_pCandidate == &m_null || Compare(rKey, m_pCandidate->element) != 0) return;
            m_pRemoved = m_pCandidate;
            if (m_pRemoved != pNode) m_pReplacement = pNode;
            m_pCandidate = &m_null;
            if (pNode->pRight != &m_null) pNode->pRight->pParent = pNode->pParent;
            rpSlot = pNode->pRight;
        }
        else if (pNode->pLeft->nLevel < pNode->nLevel - 1 || pNode->pRight->nLevel < pNode->nLevel - 1)
        {
            --pNode->nLevel;
            if (pNode->pRight->nLevel > pNode->nLevel) pNode->pRight->nLevel = pNode->nLevel;
            Skew(rpSlot);
            Skew(rpSlot->pRight);
            Skew(rpSlot->pRight->pRight);
            Split(rpSlot);
            Split(rpSlot->pRight);
        }
    }

    void Drop(SNode* pNode)
    {
        if (pNode == &m_null) return;
        Drop(pNode->pLeft);
        Drop(pNode->pRight);
        delete pNode;
    }

    void Collect(SNode* pNode, std::vector<SNode*>& rOrder)
    {
        if (pNode == &m_null) return;
        Collect(pNode->pLeft, rOrder);
        rOrder.push_back(pNode);
        Collect(pNode->pRight, rOrder);
    }

    void Describe(const SNode* pNode, CShape& rShape) const
    {
        rShape.push_back(pNode != &m_null ? pNode->element.nName : -1);
        if (pNode == &m_null) return;
        rShape.push_back(pNode->nLevel);
        Describe(pNode->pLeft, rShape);
        Describe(pNode->pRight, rShape);
    }

    SNode m_null;
    SNode* m_pRoot = &m_null;
    SNode* m_pCurrent = nullptr;
    SNode* m_pLast = nullptr;
    SNode* m_pCandidate = nullptr;
    SNode* m_pRemoved = nullptr;
    SNode* m_pReplacement = nullptr;
};

// A tree of SKeyed that counts its elements' lives and shows its insides.
class CProbeTree : public CAATreeBase
{
public:
    explicit CProbeTree(IAllocator* pAllocator) : CAATreeBase(sizeof(SKeyed), CompareLogging, g_uLOG_PARAM, pAllocator)
    {
    }
    ~CProbeTree() override { EraseAll(); }
    CProbeTree& operator=(const CProbeTree& rSrc)
    {
        CAATreeBase::operator=(rSrc);
        return *this;
    }

    void ConstructFrom(void* pElement, const void* pSource) override
    {
        std::memcpy(pElement, pSource, sizeof(SKeyed));
        ++ms_nLive;
    }
    void Destruct(void* pElement) override
    {
        std::memset(pElement, 0xEE, sizeof(SKeyed));
        --ms_nLive;
    }

    static const SKeyed& ElementOf(const CAATreeNode* pNode)
    {
        return *static_cast<const SKeyed*>(GetElement(const_cast<CAATreeNode*>(pNode)));
    }
    static int NameOf(const CAATreeNode* pNode) { return IsSentinel(pNode) ? -1 : ElementOf(pNode).nName; }
    CShape GetShape() const
    {
        CShape shape;
        EXPECT_TRUE(IsSentinel(m_pRoot->pParent));
        Describe(m_pRoot, shape);
        return shape;
    }
    unsigned int GetAllocatedCount() const { return m_uAllocatedCount; }
    bool IsSound(const CTestAllocator& rAllocator, std::size_t uOthers) const
    {
        const CAATreeNode* const pNull = ms_pNullNode;
        const bool bSentinel =
            pNull->pLeft == pNull && pNull->pRight == pNull && pNull->pParent == pNull && pNull->uLevel == 0;
        return bSentinel && GetCapacity() == m_uSize + m_uAllocatedCount + m_nodeAllocator.GetBlockCount() &&
               rAllocator.GetLiveBlocks() == GetCapacity() + uOthers;
    }

    static inline int ms_nLive = 0;

private:
    static void Describe(const CAATreeNode* pNode, CShape& rShape)
    {
        rShape.push_back(NameOf(pNode));
        if (IsSentinel(pNode)) return;
        rShape.push_back(static_cast<int>(pNode->uLevel));
        for (const CAATreeNode* const pChild : {pNode->pLeft, pNode->pRight})
        {
            EXPECT_TRUE(IsSentinel(pChild) || pNode == pChild->pParent);
            Describe(pChild, rShape);
        }
    }
};

TEST(CAATreeModel, ShapeComparisonsAndCurrentNodeAreThePublishedOnesWhateverHappens)
{
    std::mt19937 rng(TestSeed());
    CTestAllocator allocator;
    CModelTree model;
    CProbeTree tree(&allocator);
    std::set<int> keys;
    std::map<int, const void*> addresses;  // by name
    std::vector<SKeyed*> allocated;
    int nNextName = 0;
    unsigned int uKeyRange = 60;
    for (unsigned int uStep = 0; uStep < 100000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        if (uStep % 5000 == 0) uKeyRange = 1 + Below(rng, 200);
        const SKeyed key{static_cast<int>(Below(rng, uKeyRange)), nNextName++};
        const bool bThere = keys.count(key.nKey) != 0;
        allocator.SetRefusing(Below(rng, 4) == 0);
        // Insertion reserves first, and so refuses before it looks.
        const bool bFull = tree.GetCapacity() == tree.GetSize() + tree.GetAllocatedCount();
        QvResult res = QV_RES_OK;
        switch (Below(rng, 12))
        {
            case 0:
            case 1:
            case 2:
            {
                const CCallLog calls = CallsOf([&] { res = tree.Insert(&key); });
                const bool bRefused = allocator.HasRefused();
                ASSERT_EQ(bRefused, res == QV_RES_OUT_OF_MEMORY);
                if (bRefused)
                {
                    ASSERT_TRUE(bFull && calls.empty());
                    break;
                }
                ASSERT_EQ(bThere ? QV_RES_ALREADY_EXISTS : QV_RES_OK, res);
                ASSERT_EQ(CallsOf([&] { ASSERT_EQ(!bThere, model.Insert(key)); }), calls);
                keys.insert(key.nKey);
                break;
            }
            case 3:
            {
                void* pElement = nullptr;
                res = tree.AllocateSorted(&key, &pElement);
                if (res == QV_RES_OUT_OF_MEMORY) ASSERT_TRUE(allocator.HasRefused());
                else ASSERT_EQ(bThere ? QV_RES_ALREADY_EXISTS : QV_RES_OK, res);
                ASSERT_EQ(res == QV_RES_OK, pElement != nullptr);
                if (pElement == nullptr) break;
                tree.ConstructFrom(pElement, &key);
                model.Insert(key);
                keys.insert(key.nKey);
                break;
            }
            case 4:
            {
                SKeyed* const pElement = static_cast<SKeyed*>(tree.Allocate());
                ASSERT_EQ(pElement == nullptr, allocator.HasRefused());
                if (pElement != nullptr) allocated.push_back(new (pElement) SKeyed(key));
                break;
            }
            case 5:
            {
                if (allocated.empty()) break;
                SKeyed* const pElement = allocated.back();
                const bool bIn = keys.count(pElement->nKey) != 0;
                const CCallLog calls = CallsOf([&] { res = tree.InsertAllocated(pElement); });
                ASSERT_EQ(bIn ? QV_RES_ALREADY_EXISTS : QV_RES_OK, res);
                ASSERT_EQ(CallsOf([&] { model.Insert(*pElement); }), calls);
                if (bIn) tree.EraseAllocated(pElement);
                else ++CProbeTree::ms_nLive;
                keys.insert(pElement->nKey);
                allocated.pop_back();
                break;
            }
            case 6:
            case 7:
            {
                const CCallLog calls = CallsOf([&] { tree.EraseElement(&key); });
                ASSERT_EQ(CallsOf([&] { ASSERT_EQ(bThere, model.Erase(key)); }), calls);
                keys.erase(key.nKey);
                break;
            }
            case 8:
            {
                const unsigned int uIndex = Below(rng, keys.size() + 2);
                tree.Erase(uIndex);
                if (uIndex >= keys.size()) break;
                model.SetCurrentByIndex(uIndex);
                model.Erase(model.InOrder().at(uIndex));
                keys.erase(std::next(keys.begin(), uIndex));
                break;
            }
            case 9:
            {
                int nFound = 0;
                const CCallLog calls = CallsOf([&] { nFound = CProbeTree::NameOf(tree.FindNode(&key)); });
                ASSERT_EQ(CallsOf([&] { ASSERT_EQ(nFound, model.Find(key)); }), calls);
                break;
            }
            case 10:
            {
                const unsigned int uIndex = Below(rng, keys.size() + 2);
                const CAATreeBase::CAATreeNode* const pNode = tree.FindNodeByIndex(uIndex);
                ASSERT_EQ(uIndex >= keys.size(), CAATreeBase::IsSentinel(pNode));
                ASSERT_TRUE(uIndex >= keys.size() ||
                            *std::next(keys.begin(), uIndex) == CProbeTree::ElementOf(pNode).nKey);
                model.SetCurrentByIndex(uIndex);
                break;
            }
            default:
            {
                const unsigned int uChoice = Below(rng, 60);
                if (uChoice < 3)
                {
                    tree.EraseAll();
                    model.EraseAll();
                    keys.clear();
                }
                else if (uChoice < 20) tree.ReduceCapacity(Below(rng, 30));
                else if (uChoice < 40) tree.ReserveCapacity(Below(rng, 60));
                else
                {
                    allocator.SetRefusing(false);
                    CProbeTree copy(&allocator);
                    copy = tree;
                    ASSERT_EQ(tree.GetShape(), copy.GetShape());
                    ASSERT_TRUE(copy.IsSound(allocator, tree.GetCapacity()));
                }
            }
        }
        ASSERT_EQ(keys.size(), tree.GetSize());
        ASSERT_EQ(keys.size(), static_cast<std::size_t>(CProbeTree::ms_nLive));
        ASSERT_EQ(model.GetCurrentName(), CProbeTree::NameOf(tree.GetCurrentNode()));
        ASSERT_EQ(allocated.size(), tree.GetAllocatedCount());
        ASSERT_TRUE(tree.IsSound(allocator, 0));
        const CShape shape = tree.GetShape();
        ASSERT_EQ(model.GetShape(), shape);

        std::map<int, const void*> addressesNow;
        for (CAATreeBase::CAATreeNode* pNode = tree.GetFirst(); pNode != nullptr; pNode = CAATreeBase::GetNext(pNode))
        {
            addressesNow[CProbeTree::NameOf(pNode)] = pNode;
            const auto it = addresses.find(CProbeTree::NameOf(pNode));
            ASSERT_TRUE(it == addresses.end() || it->second == pNode) << "an element moved";
        }
        ASSERT_EQ(keys.size(), addressesNow.size());
        addresses = addressesNow;
    }
    for (SKeyed* const pElement : allocated) tree.EraseAllocated(pElement);
    tree.EraseAll();
    EXPECT_EQ(0, CProbeTree::ms_nLive);
}

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
