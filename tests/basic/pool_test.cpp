#include "framework/basic/pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <thread>

#include "framework/basic/marshaler.h"
#include "tests/support/test_allocator.h"
#include "tests/support/test_seed.h"

namespace
{
using CProbe = CPool<CMarshaler>;

/// Takes the pool that the framework has set up away, and sets it up again.
class CPoolTest : public testing::Test
{
protected:
    CPoolTest() { CProbe::Uninitialize(); }
    ~CPoolTest() override
    {
        CProbe::Uninitialize();
        CProbe::InitializeCPool();
    }

    void ExpectCounts(unsigned int uAllocated, unsigned int uCapacity)
    {
        EXPECT_EQ(uAllocated, CProbe::ms_uAllocatedCount);
        EXPECT_EQ(uCapacity, CProbe::ms_uCapacity);
    }

    CTestAllocator m_allocator;
};

void ExpectTheStandardPool()
{
    ASSERT_NE(nullptr, CProbe::ms_pBlockAllocator);
    EXPECT_EQ(0u, CProbe::ms_pBlockAllocator->GetBlockCount());
    EXPECT_TRUE(*CProbe::ms_pBlockAllocator == CBlockAllocator(8, nullptr)) << "another source";
    EXPECT_EQ(0u, CProbe::ms_uAllocatedCount);
    EXPECT_EQ(0u, CProbe::ms_uCapacity);
    EXPECT_EQ(0u, CProbe::ms_uLockCapacity);
    EXPECT_NE(nullptr, CProbe::ms_pmutex);
}
}  // namespace

TEST(PoolModule, TheFrameworkSetsUpAnEmptyUnboundedThreadSafePool)
{
    ExpectTheStandardPool();
}

TEST_F(CPoolTest, TheModulesFunctionsSetUpAndTakeDown)
{
    EXPECT_EQ(QV_RES_OK, InitializeCPool<CMarshaler>());
    ExpectTheStandardPool();
    FinalizeCPool<CMarshaler>();
    EXPECT_EQ(nullptr, CProbe::ms_pBlockAllocator);
    EXPECT_EQ(QV_RES_OK, CProbe::InitializeCPool());
    ExpectTheStandardPool();
    CProbe::FinalizeCPool();
    EXPECT_EQ(nullptr, CProbe::ms_pBlockAllocator);
}

TEST_F(CPoolTest, StartUpForgetsWhatTheStaticsHeld)
{
    CProbe::ms_uAllocatedCount = 7;
    CProbe::ms_uCapacity = 7;
    CProbe::ms_uLockCapacity = 7;
    EXPECT_EQ(QV_RES_OK, CProbe::InitializeCPool());
    ExpectTheStandardPool();
}

TEST_F(CPoolTest, InitializeReservesTheCapacityAtOnce)
{
    CProbe::Initialize(false, 3, true, &m_allocator);
    ASSERT_EQ(1u, m_allocator.GetRequests().size());
    EXPECT_EQ(3u, m_allocator.GetRequests()[0].uCount);
    EXPECT_EQ(sizeof(CMarshaler), m_allocator.GetRequests()[0].uSize);
    EXPECT_EQ(3u, CProbe::ms_pBlockAllocator->GetBlockCount());
    ExpectCounts(0, 3);
    EXPECT_NE(0u, CProbe::ms_uLockCapacity);
    EXPECT_EQ(nullptr, CProbe::ms_pmutex);
}

TEST_F(CPoolTest, InitializeWithoutCapacityAsksForNothing)
{
    CProbe::Initialize(true, 0, false, &m_allocator);
    EXPECT_TRUE(m_allocator.GetRequests().empty());
    ExpectCounts(0, 0);
    EXPECT_EQ(0u, CProbe::ms_uLockCapacity);
    EXPECT_NE(nullptr, CProbe::ms_pmutex);
}

TEST_F(CPoolTest, ASecondInitializeDoesNothing)
{
    CProbe::Initialize(true, 2, false, &m_allocator);
    CBlockAllocator* const pBefore = CProbe::ms_pBlockAllocator;
    CMutex* const pmutexBefore = CProbe::ms_pmutex;
    CTestAllocator other;
    CProbe::Initialize(false, 5, true, &other);
    EXPECT_EQ(pBefore, CProbe::ms_pBlockAllocator);
    EXPECT_EQ(pmutexBefore, CProbe::ms_pmutex);
    ExpectCounts(0, 2);
    EXPECT_EQ(0u, CProbe::ms_uLockCapacity);
    EXPECT_TRUE(other.GetRequests().empty());
}

TEST_F(CPoolTest, UninitializeReturnsTheFreeBlocksAndClearsAllButTheMutex)
{
    CProbe::Initialize(true, 4, true, &m_allocator);
    CProbe::Deallocate(CProbe::Allocate());
    CMutex* const pmutex = CProbe::ms_pmutex;
    CProbe::Uninitialize();
    EXPECT_EQ(0u, m_allocator.GetLiveBlocks());
    EXPECT_EQ(nullptr, CProbe::ms_pBlockAllocator);
    ExpectCounts(0, 0);
    EXPECT_EQ(0u, CProbe::ms_uLockCapacity);
    EXPECT_EQ(pmutex, CProbe::ms_pmutex);
    CProbe::Uninitialize();
    EXPECT_EQ(pmutex, CProbe::ms_pmutex);
}

TEST_F(CPoolTest, APoolWithoutLockingFollowsOneWithIt)
{
    CProbe::Initialize(true, 1, true, &m_allocator);
    CProbe::Uninitialize();
    CProbe::Initialize(false, 1, true, &m_allocator);
    EXPECT_EQ(nullptr, CProbe::ms_pmutex);
    CProbe::Deallocate(CProbe::Allocate());
}

TEST_F(CPoolTest, OutsideItsLifeGivesAndTakesNothing)
{
    EXPECT_EQ(nullptr, CProbe::Allocate());
    unsigned char auBlock[sizeof(CMarshaler)] = {};
    CProbe::Deallocate(auBlock);
    ExpectCounts(0, 0);
}

TEST_F(CPoolTest, ALockedPoolRefusesTheBlockAboveItsCapacity)
{
    for (const bool bThreadSafe : {false, true})
    {
        CProbe::Initialize(bThreadSafe, 2, true, nullptr);
        void* const pvFirst = CProbe::Allocate();
        void* const pvSecond = CProbe::Allocate();
        EXPECT_NE(nullptr, pvFirst);
        EXPECT_NE(nullptr, pvSecond);
        EXPECT_EQ(nullptr, CProbe::Allocate());
        ExpectCounts(2, 2);
        CProbe::Deallocate(pvFirst);
        ExpectCounts(1, 2);
        EXPECT_EQ(pvFirst, CProbe::Allocate());
        EXPECT_EQ(nullptr, CProbe::Allocate());
        CProbe::Deallocate(pvFirst);
        CProbe::Deallocate(pvSecond);
        ExpectCounts(0, 2);
        CProbe::Uninitialize();
    }
}

TEST_F(CPoolTest, AnUnlockedPoolGrowsAndItsCapacityFollows)
{
    CProbe::Initialize(true, 2, false, &m_allocator);
    void* apvBlocks[3];
    for (void*& rpv : apvBlocks) rpv = CProbe::Allocate();
    EXPECT_NE(nullptr, apvBlocks[2]);
    ExpectCounts(3, 3);
    ASSERT_EQ(2u, m_allocator.GetRequests().size());
    EXPECT_EQ(1u, m_allocator.GetRequests()[1].uCount);
    for (void* const pv : apvBlocks) CProbe::Deallocate(pv);
    ExpectCounts(0, 3);
    EXPECT_EQ(3u, CProbe::ms_pBlockAllocator->GetBlockCount());
    EXPECT_TRUE(m_allocator.GetReleases().empty());
    for (void*& rpv : apvBlocks) rpv = CProbe::Allocate();
    ExpectCounts(3, 3);
    EXPECT_EQ(2u, m_allocator.GetRequests().size());
    for (void* const pv : apvBlocks) CProbe::Deallocate(pv);
}

TEST_F(CPoolTest, BlocksAreReusedLastInFirstOut)
{
    CProbe::Initialize(true, 0, false, &m_allocator);
    void* const pvFirst = CProbe::Allocate();
    void* const pvSecond = CProbe::Allocate();
    EXPECT_EQ(sizeof(CMarshaler), m_allocator.GetSizeOf(pvFirst));
    CProbe::Deallocate(pvFirst);
    CProbe::Deallocate(pvSecond);
    EXPECT_EQ(pvSecond, CProbe::Allocate());
    EXPECT_EQ(pvFirst, CProbe::Allocate());
    CProbe::Deallocate(pvFirst);
    CProbe::Deallocate(pvSecond);
}

TEST_F(CPoolTest, AboveItsCapacityADeallocationReturnsAllFreeBlocks)
{
    CProbe::Initialize(true, 0, false, &m_allocator);
    void* apvBlocks[3];
    for (void*& rpv : apvBlocks) rpv = CProbe::Allocate();
    CProbe::ms_uCapacity = 2;
    CProbe::Deallocate(apvBlocks[0]);
    EXPECT_EQ(0u, CProbe::ms_pBlockAllocator->GetBlockCount());
    EXPECT_EQ(2u, m_allocator.GetLiveBlocks());
    ExpectCounts(2, 2);
    CProbe::Deallocate(apvBlocks[1]);
    EXPECT_EQ(1u, CProbe::ms_pBlockAllocator->GetBlockCount());
    CProbe::Deallocate(apvBlocks[2]);
    EXPECT_EQ(2u, CProbe::ms_pBlockAllocator->GetBlockCount());
}

TEST_F(CPoolTest, WithoutMemoryGivesNullAndCountsNothing)
{
    CProbe::Initialize(true, 0, false, &m_allocator);
    void* const pvBlock = CProbe::Allocate();
    m_allocator.SetRefusing(true);
    EXPECT_EQ(nullptr, CProbe::Allocate());
    ExpectCounts(1, 1);
    m_allocator.SetRefusing(false);
    CProbe::Deallocate(pvBlock);
    ExpectCounts(0, 1);
}

TEST_F(CPoolTest, WhoseReservationFailedTakesBlocksAsTheyCome)
{
    m_allocator.RefuseNth(1);
    CProbe::Initialize(true, 2, true, &m_allocator);
    ExpectCounts(0, 2);
    EXPECT_EQ(0u, CProbe::ms_pBlockAllocator->GetBlockCount());
    m_allocator.RefuseNth(1);
    EXPECT_EQ(nullptr, CProbe::Allocate());
    ExpectCounts(0, 2);
    void* const pvBlock = CProbe::Allocate();
    EXPECT_NE(nullptr, pvBlock);
    CProbe::Deallocate(pvBlock);
}

TEST_F(CPoolTest, NullIsNotTakenBack)
{
    CProbe::Initialize(true, 0, false, &m_allocator);
    void* const pvBlock = CProbe::Allocate();
    CProbe::Deallocate(nullptr);
    ExpectCounts(1, 1);
    CProbe::Deallocate(pvBlock);
}

namespace
{
/// Tells whether another thread could have had the pool's lock while the source was called.
class CLockSource : public CTestAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        Look();
        return CTestAllocator::Allocate(uCount, uSize, ppLast);
    }
    void Release(SBlock* pChain, unsigned int uCount) override
    {
        Look();
        CTestAllocator::Release(pChain, uCount);
    }
    /// Looks from the last call of this on.
    void Start() { m_lockedAtCall.clear(); }
    const std::vector<bool>& GetLockedAtCall() const { return m_lockedAtCall; }

private:
    void Look()
    {
        if (CProbe::ms_pmutex == nullptr) return;
        bool bFree = false;
        std::thread(
            [&]
            {
                bFree = CProbe::ms_pmutex->TryLock();
                if (bFree) CProbe::ms_pmutex->Unlock();
            })
            .join();
        m_lockedAtCall.push_back(!bFree);
    }

    std::vector<bool> m_lockedAtCall;
};
}  // namespace

TEST_F(CPoolTest, IsLockedWhileItGivesAndTakes)
{
    std::promise<void> end;
    std::thread other([&] { end.get_future().wait(); });
    CLockSource source;
    CProbe::Initialize(true, 0, false, &source);
    source.Start();
    void* const pvFirst = CProbe::Allocate();
    void* const pvSecond = CProbe::Allocate();
    CProbe::ms_uCapacity = 1;
    CProbe::Deallocate(pvFirst);
    EXPECT_EQ((std::vector<bool>{true, true, true}), source.GetLockedAtCall());
    source.Start();
    CProbe::Deallocate(pvSecond);
    const CMutex* const pmutex = CProbe::ms_pmutex;
    bool bFree = false;
    std::thread([&] { bFree = pmutex->TryLock() && (pmutex->Unlock(), true); }).join();
    EXPECT_TRUE(bFree) << "and not afterwards";
    CProbe::Uninitialize();
    end.set_value();
    other.join();
}

TEST_F(CPoolTest, ThreadsShareTheBlocks)
{
    CProbe::Initialize(true, 0, false, nullptr);
    constexpr unsigned int uTHREADS = 4;
    std::vector<std::thread> threads;
    for (unsigned int uThread = 0; uThread < uTHREADS; ++uThread)
    {
        threads.emplace_back(
            [uThread]
            {
                std::mt19937 rng(TestSeed() + uThread);
                std::vector<unsigned char*> mine;
                const unsigned char uMark = static_cast<unsigned char>(uThread + 1);
                for (unsigned int u = 0; u < 3000; ++u)
                {
                    if (mine.size() < 8 && (mine.empty() || Below(rng, 2) == 0))
                    {
                        mine.push_back(static_cast<unsigned char*>(CProbe::Allocate()));
                        std::fill_n(mine.back(), sizeof(CMarshaler), uMark);
                        continue;
                    }
                    unsigned char* const puBlock = mine.back();
                    mine.pop_back();
                    ASSERT_TRUE(std::all_of(puBlock, puBlock + sizeof(CMarshaler),
                                            [&](unsigned char uByte) { return uByte == uMark; }))
                        << "two threads had one block";
                    CProbe::Deallocate(puBlock);
                }
                for (unsigned char* const pu : mine) CProbe::Deallocate(pu);
            });
    }
    for (std::thread& rThread : threads) rThread.join();
    EXPECT_EQ(0u, CProbe::ms_uAllocatedCount);
    EXPECT_LE(CProbe::ms_uCapacity, uTHREADS * 8);
    EXPECT_EQ(CProbe::ms_uCapacity, CProbe::ms_pBlockAllocator->GetBlockCount());
}

namespace
{
struct SOwnElement
{
    char acBytes[33];
};
}  // namespace

TEST(PoolOfAnotherType, HasBlocksOfItsSizeAndCountsOfItsOwn)
{
    CTestAllocator allocator;
    const unsigned int uBefore = CProbe::ms_uAllocatedCount;
    CPool<SOwnElement>::Initialize(false, 1, true, &allocator);
    void* const pvBlock = CPool<SOwnElement>::Allocate();
    EXPECT_EQ(33u, allocator.GetSizeOf(pvBlock));
    EXPECT_EQ(nullptr, CPool<SOwnElement>::Allocate());
    EXPECT_EQ(uBefore, CProbe::ms_uAllocatedCount);
    CPool<SOwnElement>::Deallocate(pvBlock);
    CPool<SOwnElement>::Uninitialize();
}
