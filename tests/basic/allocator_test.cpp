#include "framework/basic/allocator.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/test_allocator.h"

namespace
{
using Blocks = std::vector<void*>;

Blocks BlocksOf(const IAllocator::SBlock* pChain)
{
    Blocks blocks;
    for (; pChain != nullptr; pChain = pChain->pNext) blocks.push_back(const_cast<IAllocator::SBlock*>(pChain));
    return blocks;
}

/// Remembers the chains that it got back.
class CSource : public CTestAllocator
{
public:
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_taken.push_back(BlocksOf(pChain));
        CTestAllocator::Release(pChain, uCount);
    }
    const std::vector<Blocks>& GetTaken() const { return m_taken; }

private:
    std::vector<Blocks> m_taken;
};

/// A block allocator's memory.
struct SImage
{
    const void* pvTable;
    IAllocator* pAllocator;
    IAllocator::SBlock* pHead;
    IAllocator::SBlock* pTail;
    unsigned int uBlockCount;
    unsigned int uBlockSize;
};
static_assert(sizeof(CBlockAllocator) == sizeof(SImage));

SImage ImageOf(const CBlockAllocator& rBlocks)
{
    SImage image;
    memcpy(static_cast<void*>(&image), static_cast<const void*>(&rBlocks), sizeof image);
    return image;
}

/// The free blocks from head to tail, after a check that the fields agree.
Blocks FreeBlocksOf(const CBlockAllocator& rBlocks)
{
    const SImage image = ImageOf(rBlocks);
    const Blocks blocks = BlocksOf(image.pHead);
    EXPECT_EQ(blocks.size(), rBlocks.GetBlockCount());
    EXPECT_EQ(blocks.size(), image.uBlockCount);
    EXPECT_EQ(blocks.empty() ? nullptr : blocks.back(), image.pTail);
    return blocks;
}

Blocks Part(const Blocks& blocks, std::size_t uFirst, std::size_t uEnd)
{
    using Distance = Blocks::difference_type;
    return Blocks(blocks.begin() + static_cast<Distance>(uFirst), blocks.begin() + static_cast<Distance>(uEnd));
}

class CBlockAllocatorTest : public testing::Test
{
protected:
    CSource m_source;
    CBlockAllocator m_blocks{24, &m_source};
};
}  // namespace

TEST(DefaultAllocator, LinksTheBlocksIntoAChainThatEnds)
{
    IAllocator* const pDefault = CDefaultAllocator::Instance();
    IAllocator::SBlock* pLast = nullptr;
    IAllocator::SBlock* const pChain = pDefault->Allocate(5, 40, &pLast);
    const Blocks blocks = BlocksOf(pChain);
    ASSERT_EQ(5u, blocks.size());
    EXPECT_EQ(blocks.back(), pLast);
    pDefault->Release(pChain, 5);
}

TEST(DefaultAllocator, TakesAChainFromOneWhoDoesNotAskForItsEnd)
{
    IAllocator* const pDefault = CDefaultAllocator::Instance();
    IAllocator::SBlock* const pChain = pDefault->Allocate(2, 8, nullptr);
    EXPECT_EQ(2u, BlocksOf(pChain).size());
    pDefault->Release(pChain, 0);
}

TEST(DefaultAllocator, RefusesNoBlocksAndBlocksWithoutRoomForTheLink)
{
    IAllocator* const pDefault = CDefaultAllocator::Instance();
    IAllocator::SBlock mark{nullptr};
    IAllocator::SBlock* pLast = &mark;
    EXPECT_EQ(nullptr, pDefault->Allocate(0, 16, &pLast));
    EXPECT_EQ(nullptr, pDefault->Allocate(1, 7, &pLast));
    EXPECT_EQ(nullptr, pDefault->Allocate(1, 0, &pLast));
    EXPECT_EQ(nullptr, pDefault->Allocate(0, 0, nullptr));
    EXPECT_EQ(&mark, pLast);
}

TEST(DefaultAllocator, ReleaseOfNoChainDoesNothing)
{
    CDefaultAllocator::Instance()->Release(nullptr, 3);
}

TEST_F(CBlockAllocatorTest, ABlockHasAtLeastEightBytesAndIsNotAlignedUp)
{
    for (unsigned int uSize = 0; uSize <= 20; ++uSize)
    {
        CBlockAllocator blocks(uSize, &m_source);
        const unsigned int uExpected = uSize < 8 ? 8 : uSize;
        EXPECT_EQ(uExpected, ImageOf(blocks).uBlockSize);
        blocks.Push(blocks.Pop());
        EXPECT_EQ(uExpected, m_source.GetRequests().back().uSize);
    }
}

TEST_F(CBlockAllocatorTest, EqualityLooksAtTheSourceAlone)
{
    CSource otherSource;
    const CBlockAllocator otherSize(100, &m_source);
    const CBlockAllocator elsewhere(24, &otherSource);
    ASSERT_TRUE(m_blocks.Reserve(3));
    EXPECT_TRUE(m_blocks == otherSize);
    EXPECT_FALSE(m_blocks != otherSize);
    EXPECT_FALSE(m_blocks == elsewhere);
    EXPECT_TRUE(m_blocks != elsewhere);
}

namespace
{
/// Looks at the block allocator that gives blocks back, while it does.
class CLookingSource : public CTestAllocator
{
public:
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        uBlocksWhileReleasing = pUser->GetBlockCount();
        CTestAllocator::Release(pChain, uCount);
    }
    const CBlockAllocator* pUser = nullptr;
    unsigned int uBlocksWhileReleasing = 0;
};
}  // namespace

TEST(CBlockAllocatorReduce, CountsTheBlocksAsGoneOnceTheSourceHasThem)
{
    CLookingSource source;
    CBlockAllocator blocks(16, &source);
    source.pUser = &blocks;
    ASSERT_TRUE(blocks.Reserve(5));
    blocks.Reduce(2);
    EXPECT_EQ(5u, source.uBlocksWhileReleasing);
    EXPECT_EQ(2u, blocks.GetBlockCount());
}

namespace
{
/// Of uFree blocks uKeep are kept: which are released?
struct SReduceCase
{
    unsigned int uFree;
    unsigned int uKeep;
    unsigned int uReleasedFrom;
    unsigned int uReleasedTo;
};

class CReduce : public testing::TestWithParam<SReduceCase>
{
};
}  // namespace

TEST_P(CReduce, ReleasesTheSideThatIsReachedByTheShorterWalk)
{
    const SReduceCase& rCase = GetParam();
    CSource source;
    CBlockAllocator blocks(16, &source);
    ASSERT_TRUE(blocks.Reserve(rCase.uFree));
    const Blocks before = FreeBlocksOf(blocks);
    blocks.Reduce(rCase.uKeep);

    Blocks kept = Part(before, 0, rCase.uReleasedFrom);
    const Blocks rest = Part(before, rCase.uReleasedTo, before.size());
    kept.insert(kept.end(), rest.begin(), rest.end());
    EXPECT_EQ(kept, FreeBlocksOf(blocks));

    const Blocks released = Part(before, rCase.uReleasedFrom, rCase.uReleasedTo);
    if (released.empty()) EXPECT_TRUE(source.GetTaken().empty());
    else
    {
        ASSERT_EQ(std::vector<Blocks>{released}, source.GetTaken());
        EXPECT_EQ(std::vector<unsigned int>{static_cast<unsigned int>(released.size())}, source.GetReleases());
    }
    // The list still grows at its end.
    ASSERT_TRUE(blocks.Reserve(rCase.uFree + 1));
    EXPECT_EQ(rCase.uFree + 1, FreeBlocksOf(blocks).size());
}

INSTANTIATE_TEST_SUITE_P(Cases, CReduce,
                         testing::Values(SReduceCase{10, 0, 0, 10}, SReduceCase{10, 1, 1, 10},
                                         SReduceCase{10, 3, 3, 10}, SReduceCase{10, 4, 4, 10},
                                         SReduceCase{10, 5, 5, 10}, SReduceCase{10, 6, 0, 4}, SReduceCase{10, 7, 0, 3},
                                         SReduceCase{10, 9, 0, 1}, SReduceCase{10, 10, 0, 0}, SReduceCase{10, 11, 0, 0},
                                         SReduceCase{1, 0, 0, 1}, SReduceCase{2, 1, 1, 2}, SReduceCase{3, 2, 0, 1},
                                         SReduceCase{3, 1, 1, 3}, SReduceCase{0, 0, 0, 0}),
                         [](const auto& rInfo)
                         {
                             std::ostringstream name;
                             name << rInfo.param.uFree << "To" << rInfo.param.uKeep;
                             return name.str();
                         });

TEST_F(CBlockAllocatorTest, AnEqualOneTakesTheBlocksBack)
{
    CBlockAllocator other(m_blocks);
    void* const pvBlock = m_blocks.Pop();
    other.Push(pvBlock);
    EXPECT_EQ(pvBlock, FreeBlocksOf(other).front());
    EXPECT_EQ(0u, m_blocks.GetBlockCount());
}
