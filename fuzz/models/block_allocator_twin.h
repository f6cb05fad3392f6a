#ifndef FUZZ_MODELS_BLOCK_ALLOCATOR_TWIN_H
#define FUZZ_MODELS_BLOCK_ALLOCATOR_TWIN_H
#include "framework/basic/allocator.h"

namespace twin
{
/// CBlockAllocator once more.
class CBlockAllocatorTwin
{
public:
    CBlockAllocatorTwin(unsigned int uBlockSize, IAllocator* pSource)
        : m_pSource(pSource), m_uBlockSize(uBlockSize < 8 ? 8 : uBlockSize)
    {
    }
    CBlockAllocatorTwin(const CBlockAllocatorTwin& rOther)
        : m_pSource(rOther.m_pSource), m_uBlockSize(rOther.m_uBlockSize)
    {
    }
    /// For a container: blocks have at least the size that it needs.
    CBlockAllocatorTwin(const CBlockAllocatorTwin& rOther, unsigned int uNeeded)
        : m_pSource(rOther.m_pSource), m_uBlockSize(rOther.m_uBlockSize < uNeeded ? uNeeded : rOther.m_uBlockSize)
    {
    }
    ~CBlockAllocatorTwin() { Reduce(0); }
    CBlockAllocatorTwin& operator=(const CBlockAllocatorTwin&) = delete;

    bool Reserve(unsigned int uCount)
    {
        if (m_uCount >= uCount) return true;
        const unsigned int uShortfall = uCount - m_uCount;
        IAllocator::SBlock* pLast = nullptr;
        IAllocator::SBlock* const pChain = m_pSource->Allocate(uShortfall, m_uBlockSize, &pLast);
        if (pChain == nullptr) return false;
        if (m_pTail == nullptr) m_pHead = pChain;
        else m_pTail->pNext = pChain;
        m_pTail = pLast;
        m_uCount += uShortfall;
        return true;
    }

    void Reduce(unsigned int uKeep)
    {
        if (uKeep >= m_uCount) return;
        const unsigned int uRelease = m_uCount - uKeep;
        IAllocator::SBlock* pReleased = m_pHead;
        if (uKeep == 0)
        {
            m_pHead = nullptr;
            m_pTail = nullptr;
        }
        else if (uRelease < uKeep)
        {
            IAllocator::SBlock* const pNth = Nth(uRelease);
            m_pHead = pNth->pNext;
            pNth->pNext = nullptr;
        }
        else
        {
            IAllocator::SBlock* const pNth = Nth(uKeep);
            pReleased = pNth->pNext;
            m_pTail = pNth;
            pNth->pNext = nullptr;
        }
        m_pSource->Release(pReleased, uRelease);
        m_uCount -= uRelease;
    }

    void* Pop()
    {
        if (m_pHead == nullptr) Reserve(1);
        if (m_pHead == nullptr) return nullptr;
        IAllocator::SBlock* const pBlock = m_pHead;
        m_pHead = pBlock->pNext;
        if (m_pHead == nullptr) m_pTail = nullptr;
        --m_uCount;
        return pBlock;
    }

    void Push(void* pvBlock)
    {
        if (pvBlock == nullptr) return;
        IAllocator::SBlock* const pBlock = static_cast<IAllocator::SBlock*>(pvBlock);
        pBlock->pNext = m_pHead;
        if (m_pHead == nullptr) m_pTail = pBlock;
        m_pHead = pBlock;
        ++m_uCount;
    }

    unsigned int GetBlockCount() const { return m_uCount; }
    bool operator==(const CBlockAllocatorTwin& rOther) const { return m_pSource == rOther.m_pSource; }
    bool operator!=(const CBlockAllocatorTwin& rOther) const { return m_pSource != rOther.m_pSource; }

private:
    IAllocator::SBlock* Nth(unsigned int uNth) const
    {
        IAllocator::SBlock* pBlock = m_pHead;
        for (unsigned int u = 1; u < uNth; ++u) pBlock = pBlock->pNext;
        return pBlock;
    }

    IAllocator* m_pSource;
    IAllocator::SBlock* m_pHead = nullptr;
    IAllocator::SBlock* m_pTail = nullptr;
    unsigned int m_uCount = 0;
    unsigned int m_uBlockSize;
};
}  // namespace twin

#endif
