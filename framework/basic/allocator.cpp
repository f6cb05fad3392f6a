// CDefaultAllocator is on the path of every string and container, and most calls concern one block. Allocate() and
// Release() do that case without a loop and without saving registers; longer chains are left to ContinueChain() and
// ReleaseAllButLast(), which are not inlined.
//
// CBlockAllocator knows both ends of its free list. Pop() and Push() work at the head, Reserve() appends at the tail.
// Head and tail are null exactly when the count is 0. Blocks that were handed out are not tracked.
#include "framework/basic/allocator.h"

#include <algorithm>
#include <new>
#include <utility>

#include "framework/kernel/internal/keep_stores.h"

static_assert(sizeof(CDefaultAllocator) == 16, "two bases without data");
static_assert(sizeof(CBlockAllocator) == 40, "field order and widths are the binary interface");

template class CSingleton<CDefaultAllocator>;

namespace
{
constexpr unsigned int g_uMIN_BLOCK_SIZE = sizeof(IAllocator::SBlock);

IAllocator::SBlock* NthBlock(IAllocator::SBlock* pChain, unsigned int uNth)  // counted from 1
{
    while (--uNth != 0) pChain = pChain->pNext;
    return pChain;
}

[[gnu::noinline]] IAllocator::SBlock* ReleaseAllButLast(IAllocator::SBlock* pChain)
{
    do {
        IAllocator::SBlock* const pNext = pChain->pNext;
        ::operator delete[](pChain);
        pChain = pNext;
    } while (pChain->pNext != nullptr);
    return pChain;
}

// The inline member belongs to the binary interface: this makes the compiler emit it.
[[gnu::used]] constexpr void* (CBlockAllocator::*g_pfnEMITTED_POP)() = &CBlockAllocator::Pop;
}  // namespace

IAllocator::~IAllocator() = default;

CDefaultAllocator::CDefaultAllocator() = default;

CDefaultAllocator::~CDefaultAllocator() = default;

QV_CACHE_LINE_ALIGNED IAllocator::SBlock* CDefaultAllocator::Allocate(unsigned int uCount, unsigned int uSize,
                                                                      SBlock** ppLast)
{
    if (uSize < g_uMIN_BLOCK_SIZE || uCount == 0) return nullptr;
    void* const pvMemory = ::operator new[](uSize, std::nothrow);
    if (orvel_internal::IsUnlikely(pvMemory == nullptr))
    {
        Release(nullptr, uSize);
        return nullptr;
    }
    SBlock* const pLast = new (pvMemory) SBlock{nullptr};
    if (ppLast != nullptr) *ppLast = pLast;
    return orvel_internal::IsLikely(uCount == 1) ? pLast : ContinueChain(pLast, uCount - 1, uSize);
}

// Puts uCount blocks in front of a chain. Not inlined, so that Allocate() saves no registers for a single block.
[[gnu::noinline]] IAllocator::SBlock* CDefaultAllocator::ContinueChain(SBlock* pChain, unsigned int uCount,
                                                                       unsigned int uSize)
{
    for (; uCount != 0; --uCount)
    {
        void* const pvMemory = ::operator new[](uSize, std::nothrow);
        if (pvMemory == nullptr)
        {
            Release(pChain, uSize);
            return nullptr;
        }
        pChain = new (pvMemory) SBlock{pChain};
    }
    return pChain;
}

QV_CACHE_LINE_ALIGNED void CDefaultAllocator::Release(SBlock* pChain, unsigned int /*uCount*/)
{
    if (pChain == nullptr) return;
    // Most chains have one block. For these the function ends in a jump to operator delete[].
    if (pChain->pNext != nullptr) pChain = ReleaseAllButLast(pChain);
    ::operator delete[](pChain);
}

IAllocator* CDefaultAllocator::OrDefault(IAllocator* pAllocator, const char* pszClass)
{
    if (pAllocator != nullptr) return pAllocator;
    orvel_internal::RequireUp(ms_pmutex, pszClass);
    return Instance();
}

QvResult CDefaultAllocator::InitializeCDefaultAllocator()
{
    return QV_RES_OK;
}

void CDefaultAllocator::FinalizeCDefaultAllocator()
{
    DestroyInstance();
}

CBlockAllocator::CBlockAllocator(unsigned int uBlockSize, IAllocator* pAllocator)
    : m_pAllocator(CDefaultAllocator::OrDefault(pAllocator, "CBlockAllocator")),
      m_pHead(nullptr),
      m_pTail(nullptr),
      m_uBlockCount(0),
      m_uBlockSize(std::max(uBlockSize, g_uMIN_BLOCK_SIZE))
{
}

CBlockAllocator::CBlockAllocator(const CBlockAllocator& rOther)
    : CBlockAllocator(rOther.m_uBlockSize, rOther.m_pAllocator)
{
}

CBlockAllocator::CBlockAllocator(const CBlockAllocator& rOther, unsigned int uMinBlockSize)
    : CBlockAllocator(std::max(rOther.m_uBlockSize, uMinBlockSize), rOther.m_pAllocator)
{
}

CBlockAllocator::~CBlockAllocator()
{
    Reduce(0);
    m_pAllocator = nullptr;
    m_uBlockSize = 0;
    orvel_internal::KeepStoresTo(this);
}

bool CBlockAllocator::Reserve(unsigned int uCount)
{
    if (uCount <= m_uBlockCount) return true;
    const unsigned int uShortfall = uCount - m_uBlockCount;
    IAllocator::SBlock* pLast = nullptr;
    IAllocator::SBlock* const pFirst = m_pAllocator->Allocate(uShortfall, m_uBlockSize, &pLast);
    if (pFirst == nullptr) return false;
    if (m_pTail != nullptr) m_pTail->pNext = pFirst;
    else m_pHead = pFirst;
    m_pTail = pLast;
    m_uBlockCount += uShortfall;
    return true;
}

void CBlockAllocator::Reduce(unsigned int uKeep)
{
    if (uKeep >= m_uBlockCount) return;
    const unsigned int uRelease = m_uBlockCount - uKeep;
    IAllocator::SBlock* pReleased = m_pHead;
    if (uKeep == 0) m_pHead = m_pTail = nullptr;
    else
    {
        // Free blocks are all alike, so the end of the list that is reached by the shorter walk is given back.
        const bool bFront = uRelease < uKeep;
        IAllocator::SBlock* const pCut = NthBlock(m_pHead, bFront ? uRelease : uKeep);
        if (bFront) m_pHead = pCut->pNext;
        else
        {
            pReleased = pCut->pNext;
            m_pTail = pCut;
        }
        pCut->pNext = nullptr;
    }
    m_pAllocator->Release(pReleased, uRelease);
    m_uBlockCount -= uRelease;
}

QV_CACHE_LINE_ALIGNED void CBlockAllocator::Push(void* pBlock)
{
    if (pBlock == nullptr) return;
    IAllocator::SBlock* const pPushed = new (pBlock) IAllocator::SBlock{nullptr};
    PushChain(pPushed, pPushed, 1);
}

void CBlockAllocator::Exchange(CBlockAllocator& rOther)
{
    std::swap(m_pAllocator, rOther.m_pAllocator);
    std::swap(m_pHead, rOther.m_pHead);
    std::swap(m_pTail, rOther.m_pTail);
    std::swap(m_uBlockCount, rOther.m_uBlockCount);
    std::swap(m_uBlockSize, rOther.m_uBlockSize);
}

unsigned int CBlockAllocator::GetBlockCount() const
{
    return m_uBlockCount;
}

bool CBlockAllocator::operator==(const CBlockAllocator& rOther) const
{
    return m_pAllocator == rOther.m_pAllocator;
}

bool CBlockAllocator::operator!=(const CBlockAllocator& rOther) const
{
    return !(*this == rOther);
}

QvResult InitializeCDefaultAllocator()
{
    return CDefaultAllocator::InitializeCDefaultAllocator();
}

void FinalizeCDefaultAllocator()
{
    CDefaultAllocator::FinalizeCDefaultAllocator();
}
