#ifndef TESTS_ABI_FOREIGN_SOURCE_H
#define TESTS_ABI_FOREIGN_SOURCE_H
#include <gtest/gtest.h>

#include <new>

#include "tests/abi/old_allocator.h"

/// A program's own source of memory: the library reaches it through the slots of IAllocator alone.
class CForeignSource : public IAllocator
{
public:
    CForeignSource() = default;
    CForeignSource(const CForeignSource&) = delete;
    CForeignSource& operator=(const CForeignSource&) = delete;
    ~CForeignSource() override { EXPECT_EQ(0u, m_uOut) << "blocks that never came back"; }

    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        m_uAllocatedCount = uCount;
        m_uAllocatedSize = uSize;
        m_bLastAsked = ppLast != nullptr;
        if (m_bRefusing) return nullptr;
        ++m_uAllocations;
        m_uOut += uCount;
        SBlock* pChain = nullptr;
        for (unsigned int uDone = 0; uDone < uCount; ++uDone)
        {
            pChain = ::new (::operator new[](uSize)) SBlock{pChain};
            if (uDone == 0 && ppLast != nullptr) *ppLast = pChain;
        }
        return pChain;
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_uReleasedCount = uCount;
        m_uReleasedBlocks = 0;
        while (pChain != nullptr)
        {
            SBlock* const pNext = pChain->pNext;
            ::operator delete[](pChain);
            pChain = pNext;
            ++m_uReleasedBlocks;
        }
        m_uOut -= m_uReleasedBlocks;
    }

    bool m_bRefusing = false;
    unsigned int m_uAllocations = 0;
    /// Blocks that the library holds.
    unsigned int m_uOut = 0;
    /// What the latest calls were given.
    unsigned int m_uAllocatedCount = 0;
    unsigned int m_uAllocatedSize = 0;
    bool m_bLastAsked = false;
    unsigned int m_uReleasedCount = 0;
    unsigned int m_uReleasedBlocks = 0;
};

#endif
