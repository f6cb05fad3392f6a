// Operations that the second implementation does beside the block allocator need no example here; what the default
// allocator asks of operator new stands in containers_memory_test.cpp.
#include "framework/basic/allocator.h"

#include <gtest/gtest.h>

#include "fuzz/models/allocator_steps.h"
#include "fuzz/models/random_runs.h"
#include "tests/support/test_allocator.h"

namespace
{
/// Looks at the block allocator that gives blocks back, while it does.
class CLookingSource : public CTestAllocator
{
public:
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_uBlocksWhileReleasing = m_pUser->GetBlockCount();
        CTestAllocator::Release(pChain, uCount);
    }
    const CBlockAllocator* m_pUser = nullptr;
    unsigned int m_uBlocksWhileReleasing = 0;
};
}  // namespace

TEST(CBlockAllocatorTwin, EveryRequestAndResultIsThatOfTheTwin)
{
    twin::RunRandomly(twin::CompareAllocators, 2000);
}

TEST(CBlockAllocatorReduce, CountsTheBlocksAsGoneOnceTheSourceHasThem)
{
    CLookingSource source;
    CBlockAllocator blocks(16, &source);
    source.m_pUser = &blocks;
    ASSERT_TRUE(blocks.Reserve(5));
    blocks.Reduce(2);
    EXPECT_EQ(5u, source.m_uBlocksWhileReleasing);
    EXPECT_EQ(2u, blocks.GetBlockCount());
}

TEST(CBlockAllocatorEquality, AnEqualOneTakesTheBlocksBack)
{
    CTestAllocator source;
    CBlockAllocator blocks(24, &source);
    CBlockAllocator other(blocks);
    void* const pvBlock = blocks.Pop();
    other.Push(pvBlock);
    EXPECT_EQ(1u, other.GetBlockCount());
    EXPECT_EQ(0u, blocks.GetBlockCount());
    EXPECT_EQ(pvBlock, other.Pop());
    blocks.Push(pvBlock);
}
