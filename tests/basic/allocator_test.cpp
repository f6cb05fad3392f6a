#include "framework/basic/allocator.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>

#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
using Blocks = std::vector<void*>;

Blocks BlocksOf(const IAllocator::SBlock* pChain)
{
    Blocks blocks;
    for (; pChain != nullptr; pChain = pChain->pNext) blocks.push_back(const_cast<IAllocator::SBlock*>(pChain));
    return blocks;
}

/// Remembers the chains that it gave and got.
class CSource : public CTestAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        SBlock* const pChain = CTestAllocator::Allocate(uCount, uSize, ppLast);
        m_given.push_back(BlocksOf(pChain));
        return pChain;
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_taken.push_back(BlocksOf(pChain));
        CTestAllocator::Release(pChain, uCount);
    }
    const std::vector<Blocks>& GetGiven() const { return m_given; }
    const std::vector<Blocks>& GetTaken() const { return m_taken; }

private:
    std::vector<Blocks> m_given;
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

TEST_F(CBlockAllocatorTest, StartsWithAnEmptyList)
{
    EXPECT_EQ(0u, m_blocks.GetBlockCount());
    const SImage image = ImageOf(m_blocks);
    EXPECT_EQ(&m_source, image.pAllocator);
    EXPECT_EQ(nullptr, image.pHead);
    EXPECT_EQ(nullptr, image.pTail);
    EXPECT_EQ(0u, image.uBlockCount);
    EXPECT_EQ(24u, image.uBlockSize);
    EXPECT_TRUE(m_source.GetRequests().empty());
}

TEST_F(CBlockAllocatorTest, WithoutASourceTakesTheDefaultAllocator)
{
    const CBlockAllocator blocks(24, nullptr);
    EXPECT_EQ(static_cast<IAllocator*>(CDefaultAllocator::Instance()), ImageOf(blocks).pAllocator);
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

TEST_F(CBlockAllocatorTest, CopyConstructionTakesSourceAndSizeButNoBlock)
{
    ASSERT_TRUE(m_blocks.Reserve(3));
    const CBlockAllocator copy(m_blocks);
    EXPECT_EQ(0u, copy.GetBlockCount());
    EXPECT_TRUE(FreeBlocksOf(copy).empty());
    EXPECT_EQ(&m_source, ImageOf(copy).pAllocator);
    EXPECT_EQ(24u, ImageOf(copy).uBlockSize);
    EXPECT_TRUE(copy == m_blocks);
    EXPECT_EQ(3u, m_blocks.GetBlockCount());
    EXPECT_EQ(1u, m_source.GetRequests().size());
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

TEST_F(CBlockAllocatorTest, DestructionReturnsTheFreeBlocksInOneCall)
{
    {
        CBlockAllocator blocks(16, &m_source);
        ASSERT_TRUE(blocks.Reserve(2));
        ASSERT_TRUE(blocks.Reserve(5));
    }
    EXPECT_EQ(std::vector<unsigned int>{5}, m_source.GetReleases());
    EXPECT_EQ(0u, m_source.GetLiveBlocks());
}

TEST_F(CBlockAllocatorTest, DestructionWithoutFreeBlocksDoesNotCallTheSource)
{
    {
        const CBlockAllocator blocks(16, &m_source);
    }
    EXPECT_TRUE(m_source.GetReleases().empty());
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

TEST_F(CBlockAllocatorTest, ReserveAsksForExactlyTheShortfallInOneCall)
{
    ASSERT_TRUE(m_blocks.Reserve(3));
    ASSERT_TRUE(m_blocks.Reserve(10));
    ASSERT_EQ(2u, m_source.GetRequests().size());
    EXPECT_EQ(3u, m_source.GetRequests()[0].uCount);
    EXPECT_EQ(7u, m_source.GetRequests()[1].uCount);
    EXPECT_EQ(24u, m_source.GetRequests()[1].uSize);
    EXPECT_EQ(10u, m_blocks.GetBlockCount());
}

TEST_F(CBlockAllocatorTest, ReserveOfNoMoreThanIsFreeDoesNotCallTheSource)
{
    EXPECT_TRUE(m_blocks.Reserve(0));
    ASSERT_TRUE(m_blocks.Reserve(3));
    EXPECT_TRUE(m_blocks.Reserve(3));
    EXPECT_TRUE(m_blocks.Reserve(2));
    EXPECT_EQ(1u, m_source.GetRequests().size());
    EXPECT_EQ(3u, m_blocks.GetBlockCount());
}

TEST_F(CBlockAllocatorTest, ReservedBlocksGoToTheEnd)
{
    ASSERT_TRUE(m_blocks.Reserve(2));
    ASSERT_TRUE(m_blocks.Reserve(5));
    Blocks expected = m_source.GetGiven()[0];
    expected.insert(expected.end(), m_source.GetGiven()[1].begin(), m_source.GetGiven()[1].end());
    EXPECT_EQ(expected, FreeBlocksOf(m_blocks));
}

TEST_F(CBlockAllocatorTest, ARefusedReserveChangesNothing)
{
    m_source.SetRefusing(true);
    EXPECT_FALSE(m_blocks.Reserve(1));
    EXPECT_TRUE(FreeBlocksOf(m_blocks).empty());
    m_source.SetRefusing(false);
    ASSERT_TRUE(m_blocks.Reserve(2));
    const Blocks before = FreeBlocksOf(m_blocks);
    m_source.SetRefusing(true);
    EXPECT_FALSE(m_blocks.Reserve(3));
    EXPECT_TRUE(m_blocks.Reserve(2));
    EXPECT_EQ(before, FreeBlocksOf(m_blocks));
    m_source.SetRefusing(false);
}

TEST_F(CBlockAllocatorTest, PopOfNoneAsksForExactlyOneBlock)
{
    void* const pvBlock = m_blocks.Pop();
    ASSERT_NE(nullptr, pvBlock);
    EXPECT_EQ(0u, m_blocks.GetBlockCount());
    EXPECT_TRUE(FreeBlocksOf(m_blocks).empty());
    ASSERT_EQ(1u, m_source.GetRequests().size());
    EXPECT_EQ(1u, m_source.GetRequests()[0].uCount);
    EXPECT_EQ(24u, m_source.GetSizeOf(pvBlock));
    m_blocks.Push(pvBlock);
    EXPECT_EQ(1u, m_blocks.GetBlockCount());
}

TEST_F(CBlockAllocatorTest, PopWithoutMemoryIsNull)
{
    m_source.SetRefusing(true);
    EXPECT_EQ(nullptr, m_blocks.Pop());
    EXPECT_EQ(1u, m_source.GetRequests().size());
    EXPECT_TRUE(FreeBlocksOf(m_blocks).empty());
    m_source.SetRefusing(false);
}

TEST_F(CBlockAllocatorTest, WhatWasPushedLastIsPoppedFirst)
{
    ASSERT_TRUE(m_blocks.Reserve(3));
    const Blocks blocks = FreeBlocksOf(m_blocks);
    for (void* const pvBlock : blocks) EXPECT_EQ(pvBlock, m_blocks.Pop());
    EXPECT_EQ(0u, m_blocks.GetBlockCount());
    for (void* const pvBlock : blocks)
    {
        m_blocks.Push(pvBlock);
        EXPECT_EQ(pvBlock, FreeBlocksOf(m_blocks).front());
    }
    EXPECT_EQ(3u, m_blocks.GetBlockCount());
    EXPECT_EQ(blocks.back(), m_blocks.Pop());
    m_blocks.Push(blocks.back());
    EXPECT_EQ(1u, m_source.GetRequests().size());
    EXPECT_TRUE(m_source.GetReleases().empty());
}

TEST_F(CBlockAllocatorTest, PushOfNullChangesNothing)
{
    m_blocks.Push(nullptr);
    EXPECT_TRUE(FreeBlocksOf(m_blocks).empty());
    ASSERT_TRUE(m_blocks.Reserve(1));
    const Blocks before = FreeBlocksOf(m_blocks);
    m_blocks.Push(nullptr);
    EXPECT_EQ(before, FreeBlocksOf(m_blocks));
}

TEST_F(CBlockAllocatorTest, ReserveAfterPushAppendsBehindThePushedBlock)
{
    void* const pvBlock = m_blocks.Pop();
    m_blocks.Push(pvBlock);
    ASSERT_TRUE(m_blocks.Reserve(3));
    EXPECT_EQ(pvBlock, FreeBlocksOf(m_blocks).front());
    EXPECT_EQ(3u, m_blocks.GetBlockCount());
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

TEST(CBlockAllocatorModel, RandomOperationsMatchADequeEvenWhenMemoryRunsOut)
{
    std::mt19937 rng(TestSeed());
    CSource source;
    CBlockAllocator blocks(40, &source);
    std::deque<void*> free;
    Blocks out;
    for (unsigned int uStep = 0; uStep < 5000; ++uStep)
    {
        SCOPED_TRACE(testing::Message() << "step " << uStep);
        const unsigned int uCount = Below(rng, 12);
        const std::size_t uFree = free.size();
        const bool bRefusing = Below(rng, 4) == 0;
        source.SetRefusing(bRefusing);
        switch (Below(rng, 5))
        {
            case 0:
            {
                const bool bEnough = uCount <= uFree;
                ASSERT_EQ(bEnough || !bRefusing, blocks.Reserve(uCount));
                if (!bEnough && !bRefusing)
                {
                    ASSERT_EQ(uCount - uFree, source.GetGiven().back().size());
                    free.insert(free.end(), source.GetGiven().back().begin(), source.GetGiven().back().end());
                }
                break;
            }
            case 1:
                blocks.Reduce(uCount);
                if (uCount >= uFree) break;
                if (uFree - uCount < uCount)
                    free.erase(free.begin(), free.begin() + static_cast<std::ptrdiff_t>(uFree - uCount));
                else free.erase(free.begin() + static_cast<std::ptrdiff_t>(uCount), free.end());
                ASSERT_EQ(uFree - uCount, source.GetReleases().back());
                break;
            case 2:
            case 3:
            {
                void* const pvBlock = blocks.Pop();
                if (!free.empty())
                {
                    ASSERT_EQ(free.front(), pvBlock);
                    free.pop_front();
                }
                else if (bRefusing) ASSERT_EQ(nullptr, pvBlock);
                else ASSERT_EQ(source.GetGiven().back(), Blocks{pvBlock});
                if (pvBlock == nullptr) break;
                memset(pvBlock, 0x77, 40);
                out.push_back(pvBlock);
                break;
            }
            default:
                if (out.empty()) break;
                std::swap(out.back(), out[Below(rng, out.size())]);
                blocks.Push(out.back());
                free.push_front(out.back());
                out.pop_back();
        }
        ASSERT_EQ(Blocks(free.begin(), free.end()), FreeBlocksOf(blocks));
        ASSERT_EQ(free.size() + out.size(), source.GetLiveBlocks());
    }
    for (void* const pvBlock : out) blocks.Push(pvBlock);
}

TEST_F(CBlockAllocatorTest, AnEqualOneTakesTheBlocksBack)
{
    CBlockAllocator other(m_blocks);
    void* const pvBlock = m_blocks.Pop();
    other.Push(pvBlock);
    EXPECT_EQ(pvBlock, FreeBlocksOf(other).front());
    EXPECT_EQ(0u, m_blocks.GetBlockCount());
}
