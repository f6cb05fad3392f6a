// Nodes are blocks. A node is one block of the node allocator: two links and, behind them, the element. The first word
// of the block has two uses, as the list's backward link and as the allocator's link of free blocks:
// ```
//               first word             second word            from byte 16 on
//   in a list   the previous node      the following node     the element
//   free        the next free block    left over              left over
// ```
// So a run of linked nodes, read from its last node to its first, already is a chain of free blocks. Discard() and
// DropAll() hand a run of any length to PushChain(), which writes one link. The last node of a run is used again first.
//
// The cache is an index and the node at that index. NodeAt() walks from there, even if an end of the list is nearer;
// the first and the last index go straight to the ends. Access by index moves the cache even of a const list, which is
// therefore not safe for two readers at once. Every function that links or unlinks nodes leaves the cache right: at the
// last new node after Insert() of elements and Allocate(), at the first index of Swap(), otherwise at index 0.
//
// What can fail comes first. An operation reserves its nodes, makes the new ones as a chain of their own (SChain), and
// links that chain only when it is complete. So a refusal leaves nothing but spare capacity, and a list can be copied
// into itself.
//
// What a handle survives. An element never moves in memory, and a handle is the address of its node:
//
// - It stays valid over insertions, the erasure of other elements, sorting, Swap(), MoveToFirst() and MoveToLast(),
//   over the exchange of two lists, and over Move(), Merge() and Split() between lists with the same source of memory:
//   they link the same nodes anew, perhaps in another list.
// - It dangles when the element is erased, when the list is assigned to, and over Move(), Merge() and Split() between
//   lists with different sources: the elements are copied then, and the originals destroyed. Nothing detects its use.
#include "framework/basic/list.h"

#include <limits.h>
#include <stdint.h>

#include <algorithm>
#include <new>
#include <utility>

#include "framework/basic/internal/grow_capacity.h"
#include "framework/kernel/internal/keep_stores.h"

static_assert(sizeof(CListBase) == 88, "field order and widths are the binary interface");
static_assert(sizeof(CListBase::SNode) == 16, "elements lie behind two links");
static_assert(sizeof(CListBase::SPtr) == sizeof(void*), "handles travel in a register");

using orvel_internal::GrowCapacity;
using orvel_internal::SComparison;

namespace
{
// If the size of a node does not fit 32 bits, ReserveFree() refuses every node.
unsigned int NodeSize(unsigned int uElementSize)
{
    return uElementSize <= UINT_MAX - sizeof(CListBase::SNode)
               ? uElementSize + static_cast<unsigned int>(sizeof(CListBase::SNode))
               : UINT_MAX;
}

void* ElementOf(CListBase::SNode* pNode)
{
    return pNode + 1;
}
}  // namespace

// Nodes linked with each other, but not, or no longer, with a list.
struct CListBase::SChain
{
    SNode* pFirst;
    SNode* pLast;
    unsigned int uCount;

    void Append(SNode* pNode)
    {
        pNode->SetPrevious(pLast);
        if (pLast != nullptr) pLast->pFollowing = pNode;
        else pFirst = pNode;
        pLast = pNode;
        ++uCount;
    }
};

CListBase::CListBase(unsigned int uSizeOfElement, IAllocator* pAllocator)
    : CListBase(uSizeOfElement,
                CBlockAllocator(NodeSize(uSizeOfElement), CDefaultAllocator::OrDefault(pAllocator, "CList")))
{
}

CListBase::CListBase(unsigned int uSizeOfElement, const CBlockAllocator& rAllocator)
    : m_nodeAllocator(rAllocator, NodeSize(uSizeOfElement)),
      m_uLockCapacity(0),
      m_uSize(0),
      m_uElementSize(uSizeOfElement),
      m_uCachedIndex(0),
      m_pCachedNode(nullptr),
      m_pHead(nullptr),
      m_pTail(nullptr)
{
}

CListBase::CListBase(const CListBase& rSrc) : CListBase(rSrc.m_uElementSize, rSrc.m_nodeAllocator)
{
    CListBase::operator=(rSrc);
}

CListBase::~CListBase()
{
    EraseAll();
    m_uElementSize = 0;
    orvel_internal::KeepStoresTo(this);
}

CListBase& CListBase::operator=(const CListBase& rSrc)
{
    const bool bTakes = this != &rSrc && m_uElementSize == rSrc.m_uElementSize;
    if (bTakes && ReserveCapacity(rSrc.m_uSize) >= 0)
    {
        EraseAll();
        static_cast<void>(Copy(this, 0, &rSrc, 0, rSrc.m_uSize));  // there is room
    }
    return *this;
}

QvResult CListBase::ReserveCapacity(unsigned int uCapacity)
{
    if (m_uLockCapacity != 0 && GetCapacity() < uCapacity) return QV_RES_INVALID_STATE;
    if (m_uSize >= uCapacity) return QV_RES_OK;
    return ReserveFree(uCapacity - m_uSize);
}

QvResult CListBase::ReduceCapacity(unsigned int uCapacity)
{
    if (m_uLockCapacity != 0) return QV_RES_INVALID_STATE;
    m_nodeAllocator.Reduce(std::max(uCapacity, m_uSize) - m_uSize);
    return QV_RES_OK;
}

unsigned int CListBase::GetCapacity() const
{
    return m_uSize + m_nodeAllocator.GetBlockCount();
}

unsigned int CListBase::GetLockCapacity() const
{
    return m_uLockCapacity;
}

void CListBase::SetLockCapacity(unsigned int uLockCapacity)
{
    m_uLockCapacity = uLockCapacity;
}

unsigned int CListBase::GetSize() const
{
    return m_uSize;
}

bool CListBase::IsEmpty() const
{
    return GetSize() == 0;
}

unsigned int CListBase::GetFirstIndex() const
{
    return 0;
}

unsigned int CListBase::GetLastIndex() const
{
    return GetSize() - 1;
}

unsigned int CListBase::GetEndIndex() const
{
    return GetSize();
}

CListBase::SPtr CListBase::Find(unsigned int uIndex) const
{
    return NodeAt(uIndex);
}

void* CListBase::GetAt(unsigned int uIndex)
{
    return GetElement(NodeAt(uIndex));
}

const void* CListBase::GetAt(unsigned int uIndex) const
{
    return GetElement(NodeAt(uIndex));
}

QvResult CListBase::Insert(unsigned int uIndex, unsigned int uCount, const void* pElement)
{
    if (uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
    if (uCount == 0) return QV_RES_OK;
    const QvResult res = GrowCapacity(*this, size_t{m_uSize} + uCount);
    if (res < 0) return res;
    SNode* const pBefore = NodeAt(uIndex);
    SChain stChain{};
    for (unsigned int uNew = 0; uNew < uCount; ++uNew) stChain.Append(NewNode(pElement));
    Link(stChain, pBefore);
    SetCache(uIndex + uCount - 1, stChain.pLast);
    return res;
}

QvResult CListBase::Insert(unsigned int uIndex, const CListBase& rSrc)
{
    if (m_uElementSize != rSrc.m_uElementSize || uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
    if (rSrc.m_uSize == 0) return QV_RES_OK;
    const QvResult res = GrowCapacity(*this, size_t{m_uSize} + rSrc.m_uSize);
    // To the front and not to uIndex: kept, and pinned by CList.InsertsElementsAtTheIndexAndListsAtTheFront.
    return res >= 0 ? Copy(this, 0, &rSrc, 0, rSrc.m_uSize) : res;
}

QvResult CListBase::InsertSorted(const void* pElement, PFNCompareElements pfnCompare, unsigned int uParam)
{
    return Insert(InternalFindSorted(pElement, pfnCompare, uParam), 1, pElement);
}

void* CListBase::Allocate(unsigned int uIndex)
{
    if (uIndex > m_uSize || GrowCapacity(*this, size_t{m_uSize} + 1) < 0) return nullptr;
    SNode* const pBefore = NodeAt(uIndex);
    SChain stChain{};
    stChain.Append(new (m_nodeAllocator.Pop()) SNode(nullptr, nullptr));
    Link(stChain, pBefore);
    SetCache(uIndex, stChain.pFirst);
    return ElementOf(stChain.pFirst);
}

QvResult CListBase::AllocateSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam,
                                   void** ppElement)
{
    return orvel_internal::AllocateSorted(*this, SearchWith(SComparison{pfnCompare, uParam}), pKey, ppElement);
}

void CListBase::Erase(unsigned int uIndex, unsigned int uCount)
{
    SNode* const pNode = NodeAt(uIndex);
    if (pNode == nullptr) return;
    if (uCount != 0) Discard(Unlink(pNode, std::min(uCount, m_uSize - uIndex)));
    SetCache(0, m_pHead);
}

void CListBase::Erase(unsigned int uIndex)
{
    Erase(uIndex, 1);
}

void CListBase::Erase(SPtr pNode)
{
    if (!pNode) return;
    Discard(Unlink(pNode.pNode, 1));
    SetCache(0, m_pHead);
}

void CListBase::EraseAll()
{
    Erase(0, m_uSize);
}

void CListBase::MoveToFirst(SPtr pNode)
{
    if (!pNode || pNode.pNode == m_pHead) return;
    Link(Unlink(pNode.pNode, 1), m_pHead);
    SetCache(0, m_pHead);
}

void CListBase::MoveToLast(SPtr pNode)
{
    if (!pNode || pNode.pNode == m_pTail) return;
    Link(Unlink(pNode.pNode, 1), nullptr);
    SetCache(0, m_pHead);
}

void CListBase::Swap(unsigned int uIndex1, unsigned int uIndex2)
{
    if (uIndex1 == uIndex2 || uIndex1 >= m_uSize || uIndex2 >= m_uSize) return;
    SNode* const pFirst = NodeAt(uIndex1);
    SNode* const pSecond = NodeAt(uIndex2);
    SNode* const pLow = uIndex1 < uIndex2 ? pFirst : pSecond;
    SNode* const pHigh = uIndex1 < uIndex2 ? pSecond : pFirst;
    SNode* const pBehindLow = pLow->pFollowing;
    SNode* const pBehindHigh = pHigh->pFollowing;
    // The high node goes in front of the node that followed the low one. If the two are neighbours, that is the high
    // node itself, and only the low one has to move.
    const SChain stLow = Unlink(pLow, 1);
    if (pBehindLow != pHigh) Link(Unlink(pHigh, 1), pBehindLow);
    Link(stLow, pBehindHigh);
    SetCache(uIndex1, pSecond);
}

QvResult CListBase::Copy(CListBase* pDest, unsigned int uDestIndex, const CListBase* pSrc, unsigned int uSrcIndex,
                         unsigned int uCount)
{
    if (uCount == 0) return QV_RES_OK;
    if (pDest->m_uElementSize != pSrc->m_uElementSize || size_t{uSrcIndex} + uCount > pSrc->m_uSize)
    {
        return QV_RES_INVALID_ARGUMENT;
    }
    const QvResult res = pDest->ReserveFree(uCount);
    if (res < 0) return res;
    SNode* const pBefore = pDest->NodeAt(uDestIndex);
    SNode* pFrom = pSrc->NodeAt(uSrcIndex);
    // The copies are linked only when all are made: source and destination may be the same list.
    SChain stCopies{};
    for (unsigned int uCopied = 0; uCopied < uCount; ++uCopied)
    {
        stCopies.Append(pDest->NewNode(ElementOf(pFrom)));
        pFrom = pFrom->pFollowing;
    }
    pDest->Link(stCopies, pBefore);
    pDest->SetCache(0, pDest->m_pHead);
    return res;
}

QvResult CListBase::Move(CListBase* pDest, unsigned int uDestIndex, CListBase* pSrc, unsigned int uSrcIndex,
                         unsigned int uCount)
{
    if (uCount == 0) return QV_RES_OK;
    if (pDest->m_uElementSize != pSrc->m_uElementSize || size_t{uSrcIndex} + uCount > pSrc->m_uSize)
    {
        return QV_RES_INVALID_ARGUMENT;
    }
    if (pDest->m_nodeAllocator != pSrc->m_nodeAllocator) return MoveByCopy(pDest, uDestIndex, pSrc, uSrcIndex, uCount);
    // The destination is in front of, or right behind, one of the nodes to move: they are in their place already.
    const bool bStays = pDest == pSrc && uDestIndex >= uSrcIndex && uDestIndex - uSrcIndex <= uCount;
    if (!bStays)
    {
        SNode* const pBefore = pDest->NodeAt(uDestIndex);
        pDest->Link(pSrc->Unlink(pSrc->NodeAt(uSrcIndex), uCount), pBefore);
    }
    pSrc->SetCache(0, pSrc->m_pHead);
    pDest->SetCache(0, pDest->m_pHead);
    return QV_RES_OK;
}

QvResult CListBase::MoveByCopy(CListBase* pDest, unsigned int uDestIndex, CListBase* pSrc, unsigned int uSrcIndex,
                               unsigned int uCount)
{
    const QvResult res = pDest->ReserveFree(uCount);
    if (res < 0) return res;
    SNode* const pBefore = pDest->NodeAt(uDestIndex);
    SNode* pFrom = pSrc->NodeAt(uSrcIndex);
    pSrc->Unlink(pFrom, uCount);
    SChain stCopies{};
    while (stCopies.uCount < uCount)
    {
        SNode* const pNext = pFrom->pFollowing;
        stCopies.Append(pDest->NewNode(ElementOf(pFrom)));
        pSrc->Discard({pFrom, pFrom, 1});
        pFrom = pNext;
    }
    pDest->Link(stCopies, pBefore);
    pSrc->SetCache(0, pSrc->m_pHead);
    pDest->SetCache(0, pDest->m_pHead);
    return res;
}

QvResult CListBase::Merge(unsigned int uIndex, CListBase& rSrc)
{
    if (&rSrc == this || m_uElementSize != rSrc.m_uElementSize || uIndex > m_uSize) return QV_RES_INVALID_ARGUMENT;
    const QvResult res = GrowCapacity(*this, size_t{m_uSize} + rSrc.m_uSize);
    return res >= 0 ? Move(this, uIndex, &rSrc, 0, rSrc.m_uSize) : res;
}

QvResult CListBase::Split(unsigned int uIndex, CListBase& rDest)
{
    if (&rDest == this || m_uElementSize != rDest.m_uElementSize || uIndex >= m_uSize) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uCount = m_uSize - uIndex;
    const QvResult res = GrowCapacity(rDest, uCount);
    return res >= 0 ? Move(&rDest, 0, this, uIndex, uCount) : res;
}

QV_CACHE_LINE_ALIGNED void CListBase::Sort(PFNCompareElements pfnCompare, unsigned int uParam)
{
    SortElements(SComparison{pfnCompare, uParam});
}

unsigned int CListBase::Find(unsigned int uStartIndex, const void* pKey, PFNCompareElements pfnCompare,
                             unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).Find(uStartIndex, pKey);
}

unsigned int CListBase::FindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).FindSorted(pKey);
}

unsigned int CListBase::InternalFindSorted(const void* pKey, PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).LowerBound(pKey);
}

unsigned int CListBase::GetMinElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).MinIndex();
}

unsigned int CListBase::GetMaxElementIndex(PFNCompareElements pfnCompare, unsigned int uParam) const
{
    return SearchWith(SComparison{pfnCompare, uParam}).MaxIndex();
}

void CListBase::Construct(void*)
{
}

void CListBase::ConstructFrom(void*, const void*)
{
}

void CListBase::Destruct(void*)
{
}

void CListBase::ExchangeContents(CListBase& rOther)
{
    m_nodeAllocator.Exchange(rOther.m_nodeAllocator);
    using List = CListBase;
    orvel_internal::ExchangeMembers(*this, rOther, &List::m_uLockCapacity, &List::m_uSize, &List::m_uCachedIndex,
                                    &List::m_pCachedNode, &List::m_pHead, &List::m_pTail);
}

// Makes at least uCount nodes free.
QvResult CListBase::ReserveFree(unsigned int uCount)
{
    const size_t uNodeSize = m_uElementSize + sizeof(SNode);
    if (size_t{m_uSize} + uCount > UINT_MAX / uNodeSize) return QV_RES_OUT_OF_MEMORY;
    return m_nodeAllocator.Reserve(uCount) ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
}

// An element in a node that is not linked yet. The caller has reserved it.
CListBase::SNode* CListBase::NewNode(const void* pElement)
{
    SNode* const pNode = new (m_nodeAllocator.Pop()) SNode(nullptr, nullptr);
    if (pElement != nullptr) ConstructFrom(ElementOf(pNode), pElement);
    else Construct(ElementOf(pNode));
    return pNode;
}

// Destroys the elements of unlinked nodes, first to last, and makes the nodes free, the last one on top.
void CListBase::Discard(const SChain& rstChain)
{
    SNode* pNode = rstChain.pFirst;
    for (unsigned int uDone = 0; uDone < rstChain.uCount; ++uDone)
    {
        Destruct(ElementOf(pNode));
        pNode = pNode->pFollowing;
    }
    m_nodeAllocator.PushChain(&rstChain.pLast->stBackwards, &rstChain.pFirst->stBackwards, rstChain.uCount);
}

CListBase::SNode* CListBase::NodeAt(unsigned int uIndex) const
{
    if (uIndex >= m_uSize) return nullptr;
    const unsigned int uLast = m_uSize - 1;
    if (uIndex == 0 || (m_pCachedNode == nullptr && uIndex <= uLast / 2)) SetCache(0, m_pHead);
    else if (uIndex == uLast || m_pCachedNode == nullptr) SetCache(uLast, m_pTail);
    unsigned int uAt = m_uCachedIndex;
    SNode* pNode = m_pCachedNode;
    for (; uAt < uIndex; ++uAt) pNode = pNode->pFollowing;
    for (; uAt > uIndex; --uAt) pNode = pNode->GetPrevious();
    SetCache(uIndex, pNode);
    return pNode;
}

// Links a chain in front of pBefore, at the end when that is null.
void CListBase::Link(const SChain& rstChain, SNode* pBefore)
{
    SetNeighbours(pBefore != nullptr ? pBefore->GetPrevious() : m_pTail, rstChain.pFirst);
    SetNeighbours(rstChain.pLast, pBefore);
    m_uSize += rstChain.uCount;
}

// Takes uCount nodes from pFirst on out of the list; the links among them stay.
CListBase::SChain CListBase::Unlink(SNode* pFirst, unsigned int uCount)
{
    SNode* pLast = uCount == m_uSize ? m_pTail : pFirst;
    if (uCount < m_uSize)
    {
        for (unsigned int uStep = 1; uStep < uCount; ++uStep) pLast = pLast->pFollowing;
    }
    SetNeighbours(pFirst->GetPrevious(), pLast->pFollowing);
    m_uSize -= uCount;
    return {pFirst, pLast, uCount};
}

// Makes two nodes neighbours; where one is null, the other becomes that end of the list.
void CListBase::SetNeighbours(SNode* pNode, SNode* pFollowing)
{
    if (pNode != nullptr) pNode->pFollowing = pFollowing;
    else m_pHead = pFollowing;
    if (pFollowing != nullptr) pFollowing->SetPrevious(pNode);
    else m_pTail = pNode;
}

void CListBase::SetCache(unsigned int uIndex, SNode* pNode) const
{
    m_uCachedIndex = uIndex;
    m_pCachedNode = pNode;
}
