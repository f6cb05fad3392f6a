#include "framework/basic/aatree.h"

#include <limits.h>

#include <algorithm>
#include <new>
#include <utility>

#include "framework/kernel/internal/keep_stores.h"

// The balance. Levels count the generations of a node's descendants as in a 2-3 tree, whose nodes are spread over one
// or two binary ones: a left child is one level below its parent; a right child one level below or on the same level
// (the second half of its parent), but then its own right child is one level below. So the height is at most twice the
// level of the root. An insertion or erasure breaks this only along the path to the root, and is followed by a walk up
// it: Skew() turns a left child on the same level into a right one, Split() raises the middle of three in a row.
//
// The descent is a loop, and the walk up follows the parents only as far as something changes: what lies above is then
// as it was.

static_assert(sizeof(CAATreeBase) == 112, "field order and widths are the binary interface");
static_assert(sizeof(CAATreeBase::CAATreeNode) == 32, "elements lie behind a head of this size");

using Node = CAATreeBase::CAATreeNode;

alignas(void*) unsigned char CAATreeBase::ms_auNullNode[sizeof(Node)];
Node* CAATreeBase::ms_pNullNode = nullptr;

namespace
{
// The name of the class in the message when it is used before start-up or after shut-down.
constexpr const char* g_szCLASS = "CAATree";

// Of a current node that somebody set: nobody has counted up to it.
constexpr unsigned int g_uUNKNOWN_INDEX = UINT_MAX;

// If the size of a node does not fit 32 bits, ReserveFree() refuses every node.
unsigned int NodeSize(unsigned int uElementSize)
{
    return static_cast<unsigned int>(std::min(size_t{UINT_MAX}, uElementSize + sizeof(Node)));
}

void* ElementOf(Node* pNode)
{
    return pNode + 1;
}

Node* NodeOf(void* pElement)
{
    return static_cast<Node*>(pElement) - 1;
}

Node* MinOf(Node* pNode, const Node* pNull)
{
    while (pNode->pLeft != pNull) pNode = pNode->pLeft;
    return pNode;
}

Node* MaxOf(Node* pNode, const Node* pNull)
{
    while (pNode->pRight != pNull) pNode = pNode->pRight;
    return pNode;
}

// The walk up ends at the root at the latest: its parent is the sentinel, whose children are the sentinel itself.
Node* SuccessorOf(Node* pNode, const Node* pNull)
{
    if (pNode->pRight != pNull) return MinOf(pNode->pRight, pNull);
    while (pNode == pNode->pParent->pRight) pNode = pNode->pParent;
    return pNode->pParent;
}

Node* PredecessorOf(Node* pNode, const Node* pNull)
{
    if (pNode->pLeft != pNull) return MaxOf(pNode->pLeft, pNull);
    while (pNode == pNode->pParent->pLeft) pNode = pNode->pParent;
    return pNode->pParent;
}

// Puts a child of the subtree's root in its place.
void Raise(Node*& rpSlot, Node* pChild)
{
    pChild->pParent = rpSlot->pParent;
    rpSlot->pParent = pChild;
    rpSlot = pChild;
}

void Skew(Node*& rpSlot, const Node* pNull)
{
    Node* const pTop = rpSlot;
    Node* const pLeft = pTop->pLeft;
    if (pTop == pNull || pLeft->uLevel != pTop->uLevel) return;
    if (pLeft->pRight != pNull) pLeft->pRight->pParent = pTop;
    pTop->pLeft = pLeft->pRight;
    Raise(rpSlot, pLeft);
    pLeft->pRight = pTop;
}

void Split(Node*& rpSlot, const Node* pNull)
{
    Node* const pTop = rpSlot;
    Node* const pRight = pTop->pRight;
    if (pTop == pNull || pRight->pRight->uLevel != pTop->uLevel) return;
    if (pRight->pLeft != pNull) pRight->pLeft->pParent = pTop;
    pTop->pRight = pRight->pLeft;
    Raise(rpSlot, pRight);
    pRight->pLeft = pTop;
    ++pRight->uLevel;
}
}  // namespace

CAATreeBase::CAATreeNode::CAATreeNode() : CAATreeNode(nullptr, nullptr, nullptr, 0)
{
}

CAATreeBase::CAATreeNode::CAATreeNode(CAATreeNode* pLeftChild, CAATreeNode* pRightChild, CAATreeNode* pParentNode,
                                      unsigned int uNodeLevel)
    : pLeft(pLeftChild), pRight(pRightChild), pParent(pParentNode), uLevel(uNodeLevel)
{
}

CAATreeBase::SCompareVoidParams::SCompareVoidParams(PFNCompareElements pfnCompareElements, unsigned int uCompareParam)
    : pfnCompare(pfnCompareElements), uParam(uCompareParam)
{
}

CAATreeBase::CAATreeBase(unsigned int uSizeOfElement, PFNCompareElements pfnCompare, unsigned int uParam,
                         IAllocator* pAllocator)
    : CAATreeBase(uSizeOfElement, pfnCompare, uParam,
                  CBlockAllocator(NodeSize(uSizeOfElement), CDefaultAllocator::OrDefault(pAllocator, g_szCLASS)))
{
}

CAATreeBase::CAATreeBase(unsigned int uSizeOfElement, PFNCompareElements pfnCompare, unsigned int uParam,
                         const CBlockAllocator& rAllocator)
    : m_nodeAllocator(rAllocator, NodeSize(uSizeOfElement)),
      m_uElementSize(uSizeOfElement),
      m_stCompare(pfnCompare, uParam),
      m_uLockCapacity(0),
      m_uSize(0),
      m_uAllocatedCount(0),
      m_pRoot(RequireSentinel()),
      m_pCurrentNode(ms_pNullNode),
      m_uCurrentIndex(0)
{
}

CAATreeBase::CAATreeBase(const CAATreeBase& rSrc)
    : CAATreeBase(rSrc.m_uElementSize, rSrc.m_stCompare.pfnCompare, rSrc.m_stCompare.uParam, rSrc.m_nodeAllocator)
{
    CAATreeBase::operator=(rSrc);
}

CAATreeBase::~CAATreeBase()
{
    EraseAll();
    m_uElementSize = 0;
    m_uLockCapacity = 0;
    ReduceCapacity(0);
    orvel_internal::KeepStoresTo(this);
}

CAATreeBase& CAATreeBase::operator=(const CAATreeBase& rSrc)
{
    const size_t uNeeded = size_t{m_uAllocatedCount} + rSrc.m_uSize;
    const bool bTakes = this != &rSrc && m_uElementSize == rSrc.m_uElementSize && uNeeded <= UINT_MAX;
    if (!bTakes || ReserveCapacity(static_cast<unsigned int>(uNeeded)) < 0) return *this;
    EraseAll();
    m_stCompare = rSrc.m_stCompare;
    m_pRoot = CopySubtree(rSrc.m_pRoot, ms_pNullNode);
    return *this;
}

QvResult CAATreeBase::SetComparisonFunction(PFNCompareElements pfnCompare, unsigned int uParam)
{
    if (m_uSize != 0) return QV_RES_INVALID_STATE;
    m_stCompare = SCompareVoidParams(pfnCompare, uParam);
    return QV_RES_OK;
}

QvResult CAATreeBase::ReserveCapacity(unsigned int uCapacity)
{
    if (m_uLockCapacity != 0 && GetCapacity() < uCapacity) return QV_RES_INVALID_STATE;
    const size_t uUsed = GetUsedCount();
    if (uUsed >= uCapacity) return QV_RES_OK;
    return ReserveFree(uCapacity - static_cast<unsigned int>(uUsed));
}

QvResult CAATreeBase::ReduceCapacity(unsigned int uCapacity)
{
    if (m_uLockCapacity != 0) return QV_RES_INVALID_STATE;
    const size_t uUsed = GetUsedCount();
    m_nodeAllocator.Reduce(static_cast<unsigned int>(std::max(size_t{uCapacity}, uUsed) - uUsed));
    return QV_RES_OK;
}

unsigned int CAATreeBase::GetCapacity() const
{
    return m_uSize + m_uAllocatedCount + m_nodeAllocator.GetBlockCount();
}

unsigned int CAATreeBase::GetLockCapacity() const
{
    return m_uLockCapacity;
}

void CAATreeBase::SetLockCapacity(unsigned int uLockCapacity)
{
    m_uLockCapacity = uLockCapacity;
}

unsigned int CAATreeBase::GetSize() const
{
    return m_uSize;
}

bool CAATreeBase::IsEmpty() const
{
    return GetSize() == 0;
}

unsigned int CAATreeBase::GetFirstIndex() const
{
    return 0;
}

unsigned int CAATreeBase::GetLastIndex() const
{
    return GetSize() - 1;
}

QvResult CAATreeBase::Insert(const void* pElement)
{
    const QvResult res = ReserveNode();
    return res >= 0 ? Insert(pElement, eCOPY_KEY, nullptr) : res;
}

QvResult CAATreeBase::AllocateSorted(const void* pKey, void** ppElement)
{
    if (ppElement == nullptr) return QV_RES_INVALID_ARGUMENT;
    QvResult res = ReserveNode();
    if (res < 0) return res;
    CAATreeNode* pNode = nullptr;
    res = Insert(pKey, eALLOCATE, &pNode);
    if (res >= 0) *ppElement = ElementOf(pNode);
    return res;
}

void* CAATreeBase::Allocate()
{
    if (ReserveNode() < 0) return nullptr;
    CAATreeNode* const pNode = new (m_nodeAllocator.Pop()) CAATreeNode(ms_pNullNode, ms_pNullNode, ms_pNullNode, 1);
    ++m_uAllocatedCount;
    return ElementOf(pNode);
}

QvResult CAATreeBase::InsertAllocated(void* pElement)
{
    return pElement != nullptr ? Insert(pElement, eLINK_ALLOCATED, nullptr) : QV_RES_INVALID_ARGUMENT;
}

void CAATreeBase::EraseAllocated(void* pElement)
{
    if (pElement == nullptr) return;
    m_nodeAllocator.Push(NodeOf(pElement));
    --m_uAllocatedCount;
}

void CAATreeBase::EraseElement(const void* pKey)
{
    // Every node is asked once, "before or not": the last that is not before the key is the only one that can equal it.
    CAATreeNode* const pNull = RequireSentinel();
    CAATreeNode* pLast = pNull;
    CAATreeNode* pErased = pNull;
    for (CAATreeNode* pNode = m_pRoot; pNode != pNull;)
    {
        pLast = pNode;
        const bool bLeft = Compare(pKey, ElementOf(pNode)) < 0;
        if (!bLeft) pErased = pNode;
        pNode = bLeft ? pNode->pLeft : pNode->pRight;
    }
    if (pErased == pNull || Compare(pKey, ElementOf(pErased)) != 0) return;

    // The path ended in the neighbour in order (or in the node itself), which has no left child: it leaves its place,
    // and takes that of the erased node.
    CAATreeNode* const pParent = pLast->pParent;
    if (pLast->pRight != pNull) pLast->pRight->pParent = pParent;
    SlotOf(pLast) = pLast->pRight;
    RebalanceShrunken(pParent);
    if (pLast != pErased) Replace(pErased, pLast);

    if (!CurrentNodeIsInvalid() && Compare(pKey, ElementOf(m_pCurrentNode)) <= 0) InvalidateCurrentNode();
    Destruct(ElementOf(pErased));
    m_nodeAllocator.Push(pErased);
    --m_uSize;
}

void CAATreeBase::Erase(unsigned int uIndex)
{
    CAATreeNode* const pNode = FindNodeByIndex(uIndex);
    if (pNode != ms_pNullNode) EraseElement(ElementOf(pNode));
}

void CAATreeBase::EraseAll()
{
    // An empty tree may be destroyed after the shut-down: its root is then the sentinel that was.
    if (m_uSize != 0) EraseSubtree(m_pRoot);
    m_pRoot = ms_pNullNode;
    InvalidateCurrentNode();
}

QV_CACHE_LINE_ALIGNED CAATreeBase::CAATreeNode* CAATreeBase::FindNode(const void* pKey) const
{
    const SCompareVoidParams stCompare = m_stCompare;
    CAATreeNode* const pNull = RequireSentinel();
    CAATreeNode* pNode = m_pRoot;
    while (pNode != pNull)
    {
        // While the callback compares, both nodes that can be next are fetched.
        __builtin_prefetch(pNode->pLeft);
        __builtin_prefetch(pNode->pRight);
        const int nOrder = stCompare.pfnCompare(pKey, ElementOf(pNode), stCompare.uParam);
        if (nOrder == 0) break;
        pNode = nOrder < 0 ? pNode->pLeft : pNode->pRight;
    }
    return pNode;
}

CAATreeBase::CAATreeNode* CAATreeBase::FindNodeByIndex(unsigned int uIndex) const
{
    CAATreeNode* const pNull = ms_pNullNode;
    if (uIndex >= m_uSize) return pNull;
    const unsigned int uLast = m_uSize - 1;
    const bool bLost = CurrentNodeIsInvalid() || m_uCurrentIndex == g_uUNKNOWN_INDEX;
    const bool bFromFirst = uIndex == 0 || (bLost && uIndex <= uLast / 2);
    if (bFromFirst || bLost || uIndex == uLast)
    {
        m_pCurrentNode = bFromFirst ? MinOf(m_pRoot, pNull) : MaxOf(m_pRoot, pNull);
        m_uCurrentIndex = bFromFirst ? 0 : uLast;
    }
    while (m_uCurrentIndex != uIndex)
    {
        if (m_uCurrentIndex < uIndex) IncrementCurrentNode();
        else DecrementCurrentNode();
    }
    return m_pCurrentNode;
}

CAATreeBase::CAATreeNode* CAATreeBase::FindNodeMin(CAATreeNode* pNode) const
{
    return pNode != nullptr ? MinOf(pNode, ms_pNullNode) : ms_pNullNode;
}

CAATreeBase::CAATreeNode* CAATreeBase::FindNodeMax(CAATreeNode* pNode) const
{
    return pNode != nullptr ? MaxOf(pNode, ms_pNullNode) : ms_pNullNode;
}

CAATreeBase::CAATreeNode* CAATreeBase::GetCurrentNode() const
{
    return m_pCurrentNode;
}

void CAATreeBase::SetCurrentNode(CAATreeNode* pNode) const
{
    m_pCurrentNode = pNode != nullptr ? pNode : ms_pNullNode;
    m_uCurrentIndex = g_uUNKNOWN_INDEX;
}

void CAATreeBase::InvalidateCurrentNode() const
{
    m_pCurrentNode = ms_pNullNode;
}

bool CAATreeBase::CurrentNodeIsInvalid() const
{
    return m_pCurrentNode == ms_pNullNode;
}

void CAATreeBase::IncrementCurrentNode() const
{
    CAATreeNode* const pNull = ms_pNullNode;
    if (m_pCurrentNode == pNull) return;
    m_pCurrentNode = SuccessorOf(m_pCurrentNode, pNull);
    if (m_uCurrentIndex != g_uUNKNOWN_INDEX) ++m_uCurrentIndex;
}

void CAATreeBase::DecrementCurrentNode() const
{
    CAATreeNode* const pNull = ms_pNullNode;
    if (m_pCurrentNode == pNull) return;
    m_pCurrentNode = PredecessorOf(m_pCurrentNode, pNull);
    if (m_uCurrentIndex != g_uUNKNOWN_INDEX) --m_uCurrentIndex;
}

CAATreeBase::CAATreeNode* CAATreeBase::GetFirst() const
{
    return m_uSize != 0 ? MinOf(m_pRoot, ms_pNullNode) : nullptr;
}

CAATreeBase::CAATreeNode* CAATreeBase::GetLast() const
{
    return m_uSize != 0 ? MaxOf(m_pRoot, ms_pNullNode) : nullptr;
}

CAATreeBase::CAATreeNode* CAATreeBase::GetNext(CAATreeNode* pNode)
{
    CAATreeNode* const pNull = ms_pNullNode;
    if (pNode == nullptr || pNode == pNull) return nullptr;
    CAATreeNode* const pNext = SuccessorOf(pNode, pNull);
    return pNext != pNull ? pNext : nullptr;
}

CAATreeBase::CAATreeNode* CAATreeBase::GetPrevious(CAATreeNode* pNode)
{
    CAATreeNode* const pNull = ms_pNullNode;
    if (pNode == nullptr || pNode == pNull) return nullptr;
    CAATreeNode* const pPrevious = PredecessorOf(pNode, pNull);
    return pPrevious != pNull ? pPrevious : nullptr;
}

void* CAATreeBase::GetElement(CAATreeNode* pNode)
{
    return pNode != nullptr && !IsSentinel(pNode) ? ElementOf(pNode) : nullptr;
}

bool CAATreeBase::IsSentinel(const CAATreeNode* pNode)
{
    return pNode == ms_pNullNode;
}

void CAATreeBase::Construct(void*)
{
}

void CAATreeBase::ConstructFrom(void*, const void*)
{
}

void CAATreeBase::Destruct(void*)
{
}

QvResult CAATreeBase::InitializeCAATreeBase()
{
    ms_pNullNode = new (ms_auNullNode) CAATreeNode;
    ms_pNullNode->pLeft = ms_pNullNode->pRight = ms_pNullNode->pParent = ms_pNullNode;
    return QV_RES_OK;
}

void CAATreeBase::FinalizeCAATreeBase()
{
    ms_pNullNode = nullptr;
}

void CAATreeBase::ExchangeContents(CAATreeBase& rOther)
{
    m_nodeAllocator.Exchange(rOther.m_nodeAllocator);
    using Tree = CAATreeBase;
    orvel_internal::ExchangeMembers(*this, rOther, &Tree::m_stCompare, &Tree::m_uLockCapacity, &Tree::m_uSize,
                                    &Tree::m_uAllocatedCount, &Tree::m_pRoot, &Tree::m_pCurrentNode,
                                    &Tree::m_uCurrentIndex);
}

int CAATreeBase::Compare(const void* pFirst, const void* pSecond) const
{
    return m_stCompare.pfnCompare(pFirst, pSecond, m_stCompare.uParam);
}

size_t CAATreeBase::GetUsedCount() const
{
    return size_t{m_uSize} + m_uAllocatedCount;
}

CAATreeBase::CAATreeNode* CAATreeBase::RequireSentinel()
{
    return orvel_internal::RequireUp(ms_pNullNode, g_szCLASS);
}

QvResult CAATreeBase::ReserveNode()
{
    RequireSentinel();  // before the allocator is used, which may be gone as well
    if (m_nodeAllocator.HasFree()) return QV_RES_OK;
    // Not GrowCapacity(): that no node is free says that the capacity is used up, and an insertion would ask once more.
    if (m_uLockCapacity != 0) return QV_RES_INVALID_STATE;
    if (GetUsedCount() == UINT_MAX) return QV_RES_OUT_OF_MEMORY;
    return ReserveFree(1);
}

// Makes at least uCount nodes free.
QvResult CAATreeBase::ReserveFree(unsigned int uCount)
{
    if (m_uElementSize > UINT_MAX - sizeof(Node)) return QV_RES_OUT_OF_MEMORY;
    return m_nodeAllocator.Reserve(uCount) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
}

QvResult CAATreeBase::Insert(const void* pKey, EInsertAction eAction, CAATreeNode** ppInserted)
{
    CAATreeNode* const pNull = RequireSentinel();
    CAATreeNode* pParent = pNull;
    CAATreeNode** ppSlot = &m_pRoot;
    while (*ppSlot != pNull)
    {
        pParent = *ppSlot;
        if (Compare(pKey, ElementOf(pParent)) < 0) ppSlot = &pParent->pLeft;
        else if (Compare(ElementOf(pParent), pKey) < 0) ppSlot = &pParent->pRight;
        else return QV_RES_ALREADY_EXISTS;
    }
    CAATreeNode* const pNode = NodeFor(pKey, eAction);
    if (ppInserted != nullptr) *ppInserted = pNode;
    if (!CurrentNodeIsInvalid() && Compare(pKey, ElementOf(m_pCurrentNode)) < 0) InvalidateCurrentNode();
    LinkNode(pNode, pParent, ppSlot);
    return QV_RES_OK;
}

void CAATreeBase::LinkNode(CAATreeNode* pNode, CAATreeNode* pParent, CAATreeNode** ppSlot)
{
    *ppSlot = new (pNode) CAATreeNode(ms_pNullNode, ms_pNullNode, pParent, 1);
    ++m_uSize;
    RebalanceGrown(pNode);
}

// The caller has reserved the node.
CAATreeBase::CAATreeNode* CAATreeBase::NodeFor(const void* pKey, EInsertAction eAction)
{
    if (eAction == eLINK_ALLOCATED)
    {
        --m_uAllocatedCount;
        return NodeOf(const_cast<void*>(pKey));
    }
    CAATreeNode* const pNode = new (m_nodeAllocator.Pop()) CAATreeNode;
    if (eAction == eCOPY_KEY) ConstructFrom(ElementOf(pNode), pKey);
    return pNode;
}

// From a new leaf upwards. A node that came or rose is in order below a parent on the next level. Below one on its own
// level it must be the right child, and the parent the left end of its row; else the middle of three rises in turn.
void CAATreeBase::RebalanceGrown(CAATreeNode* pNode)
{
    const CAATreeNode* const pNull = ms_pNullNode;
    // The sentinel, above the root, is on a level of its own.
    while (pNode->pParent->uLevel == pNode->uLevel)
    {
        CAATreeNode* const pParent = pNode->pParent;
        CAATreeNode* const pAbove = pParent->pParent;
        const bool bLeft = pNode == pParent->pLeft;
        CAATreeNode* pMiddle = bLeft ? pNode : pParent;
        if (bLeft && pParent->pRight->uLevel == pNode->uLevel)
        {
            // The parent stands between two of its own level already: Skew() and Split() would only move it there and
            // back.
            pMiddle = pParent;
            ++pMiddle->uLevel;
        }
        else if (pAbove->uLevel == pNode->uLevel)
        {
            // Of a row, the parent is the right child.
            if (bLeft) Skew(pAbove->pRight, pNull);
            Split(SlotOf(pAbove), pNull);
        }
        else
        {
            if (bLeft) Skew(SlotOf(pParent), pNull);
            return;
        }
        pNode = pMiddle;
    }
}

// From the parent of a node that left its place upwards.
void CAATreeBase::RebalanceShrunken(CAATreeNode* pNode)
{
    const CAATreeNode* const pNull = ms_pNullNode;
    while (pNode != pNull && std::min(pNode->pLeft->uLevel, pNode->pRight->uLevel) < pNode->uLevel - 1)
    {
        CAATreeNode* const pParent = pNode->pParent;
        CAATreeNode*& rpSlot = SlotOf(pNode);
        --pNode->uLevel;
        if (pNode->pRight->uLevel > pNode->uLevel) pNode->pRight->uLevel = pNode->uLevel;
        Skew(rpSlot, pNull);
        Skew(rpSlot->pRight, pNull);
        Skew(rpSlot->pRight->pRight, pNull);
        Split(rpSlot, pNull);
        Split(rpSlot->pRight, pNull);
        pNode = pParent;
    }
}

void CAATreeBase::Replace(CAATreeNode* pNode, CAATreeNode* pReplacement)
{
    const CAATreeNode* const pNull = ms_pNullNode;
    SlotOf(pNode) = pReplacement;
    if (pNode->pLeft != pNull) pNode->pLeft->pParent = pReplacement;
    if (pNode->pRight != pNull) pNode->pRight->pParent = pReplacement;
    *pReplacement = *pNode;
}

// The pointer that leads to a linked node: a child of its parent, or the root.
CAATreeBase::CAATreeNode*& CAATreeBase::SlotOf(CAATreeNode* pNode)
{
    CAATreeNode* const pParent = pNode->pParent;
    if (pNode == m_pRoot) return m_pRoot;
    // Which child it is, nobody can guess: an address is computed without a jump.
    CAATreeNode** const ppLeft = &pParent->pLeft;
    CAATreeNode** const ppRight = &pParent->pRight;
    return *(ORVEL_UNPREDICTABLE(*ppRight == pNode) ? ppRight : ppLeft);
}

// The caller has reserved the nodes.
CAATreeBase::CAATreeNode* CAATreeBase::CopySubtree(CAATreeNode* pSrc, CAATreeNode* pParent)
{
    CAATreeNode* const pNull = ms_pNullNode;
    if (pSrc == pNull) return pNull;
    CAATreeNode* const pNode = new (m_nodeAllocator.Pop()) CAATreeNode(pNull, pNull, pParent, pSrc->uLevel);
    ConstructFrom(ElementOf(pNode), ElementOf(pSrc));
    ++m_uSize;
    pNode->pLeft = CopySubtree(pSrc->pLeft, pNode);
    pNode->pRight = CopySubtree(pSrc->pRight, pNode);
    return pNode;
}

void CAATreeBase::EraseSubtree(CAATreeNode* pNode)
{
    if (pNode == ms_pNullNode) return;
    EraseSubtree(pNode->pLeft);
    EraseSubtree(pNode->pRight);
    // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall): derived classes erase all before that.
    Destruct(ElementOf(pNode));
    m_nodeAllocator.Push(pNode);
    --m_uSize;
}

QvResult InitializeCAATreeBase()
{
    return CAATreeBase::InitializeCAATreeBase();
}

void FinalizeCAATreeBase()
{
    CAATreeBase::FinalizeCAATreeBase();
}
