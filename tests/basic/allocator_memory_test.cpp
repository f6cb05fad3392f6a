// How the default allocator uses the global array allocation.
#include <gtest/gtest.h>

#include "framework/basic/allocator.h"
#include "tests/basic/array_allocations.h"
#include "tests/support/refusing_new.h"

namespace
{
struct SReleased
{
    std::vector<void*> blocks;
    unsigned int uCount;
};

/// Remembers what is given back through its own Release().
class CWatchedDefault : public CDefaultAllocator
{
public:
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        SReleased released{{}, uCount};
        for (SBlock* pBlock = pChain; pBlock != nullptr; pBlock = pBlock->pNext) released.blocks.push_back(pBlock);
        m_released.push_back(released);
        CDefaultAllocator::Release(pChain, uCount);
    }
    const std::vector<SReleased>& GetReleased() const { return m_released; }

private:
    std::vector<SReleased> m_released;
};

class CDefaultAllocatorMemory : public testing::Test
{
protected:
    CArrayAllocations m_arrays;
    CWatchedDefault m_allocator;
};
}  // namespace

TEST_F(CDefaultAllocatorMemory, EveryBlockIsAnAllocationAndTheFirstIsTheLastOfTheChain)
{
    IAllocator::SBlock* pLast = nullptr;
    m_arrays.Watch();
    IAllocator::SBlock* pBlock = m_allocator.Allocate(4, 33, &pLast);
    m_arrays.Stop();
    ASSERT_EQ(4u, m_arrays.GetMade().size());
    EXPECT_EQ(m_arrays.GetMade()[0].pv, pLast);
    IAllocator::SBlock* const pChain = pBlock;
    for (unsigned int u = 4; u-- > 0; pBlock = pBlock->pNext)
    {
        EXPECT_EQ(33u, m_arrays.GetMade()[u].uSize);
        ASSERT_EQ(m_arrays.GetMade()[u].pv, pBlock);
    }
    EXPECT_EQ(nullptr, pBlock);
    m_allocator.CDefaultAllocator::Release(pChain, 4);
}

TEST_F(CDefaultAllocatorMemory, RefusedArgumentsAllocateNothing)
{
    m_arrays.Watch();
    EXPECT_EQ(nullptr, m_allocator.Allocate(0, 8, nullptr));
    EXPECT_EQ(nullptr, m_allocator.Allocate(3, 7, nullptr));
    m_arrays.Stop();
    EXPECT_TRUE(m_arrays.GetMade().empty());
}

TEST_F(CDefaultAllocatorMemory, ReleaseFreesTheWholeChainWhateverTheCount)
{
    for (const unsigned int uCount : {0u, 1u, 3u, 900u})
    {
        IAllocator::SBlock* const pChain = m_allocator.Allocate(3, 8, nullptr);
        std::vector<void*> blocks;
        for (IAllocator::SBlock* pBlock = pChain; pBlock != nullptr; pBlock = pBlock->pNext) blocks.push_back(pBlock);
        m_arrays.Watch();
        m_allocator.CDefaultAllocator::Release(pChain, uCount);
        m_arrays.Stop();
        EXPECT_EQ(blocks, m_arrays.GetFreed());
    }
}

TEST_F(CDefaultAllocatorMemory, RunningOutPartWayGivesBackThroughItsOwnRelease)
{
    for (unsigned int uNth = 2; uNth <= 5; ++uNth)
    {
        SCOPED_TRACE(testing::Message() << "refused at " << uNth);
        CWatchedDefault allocator;
        m_arrays.Watch(uNth);
        IAllocator::SBlock* const pChain = allocator.Allocate(5, 24, nullptr);
        m_arrays.Stop();
        EXPECT_EQ(nullptr, pChain);
        ASSERT_EQ(uNth - 1, m_arrays.GetMade().size());
        ASSERT_EQ(1u, allocator.GetReleased().size());
        EXPECT_EQ(24u, allocator.GetReleased()[0].uCount);
        std::vector<void*> expected;
        for (unsigned int u = uNth - 1; u-- > 0;) expected.push_back(m_arrays.GetMade()[u].pv);
        EXPECT_EQ(expected, allocator.GetReleased()[0].blocks);
        for (void* const pvBlock : expected)
            EXPECT_EQ(1, std::count(m_arrays.GetFreed().begin(), m_arrays.GetFreed().end(), pvBlock));
    }
}

TEST_F(CDefaultAllocatorMemory, RunningOutAtOnceIsNull)
{
    m_arrays.Watch(1);
    IAllocator::SBlock* const pChain = m_allocator.Allocate(5, 24, nullptr);
    m_arrays.Stop();
    EXPECT_EQ(nullptr, pChain);
    EXPECT_TRUE(m_arrays.GetMade().empty());
}

TEST_F(CDefaultAllocatorMemory, RunningOutShowsInTheBlockAllocator)
{
    CBlockAllocator blocks(24, nullptr);
    m_arrays.Watch(3);
    EXPECT_FALSE(blocks.Reserve(4));
    m_arrays.Watch(1);
    EXPECT_EQ(nullptr, blocks.Pop());
    m_arrays.Stop();
    EXPECT_EQ(0u, blocks.GetBlockCount());
    EXPECT_TRUE(blocks.Reserve(4));
}
