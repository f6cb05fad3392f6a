// Which blocks the pool gives and takes, and what it asks of its source, fuzz/pool_fuzz.cpp compares with a model; its
// statics stand in tests/abi/marshaler_test.cpp, its threads in stress/pool_stress.cpp.
#include "framework/basic/pool.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

#include "framework/basic/marshaler.h"
#include "tests/support/test_allocator.h"

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
};

bool CouldAnotherThreadLockIt()
{
    bool bFree = false;
    std::thread(
        [&]
        {
            bFree = CProbe::ms_pmutex->TryLock();
            if (bFree) CProbe::ms_pmutex->Unlock();
        })
        .join();
    return bFree;
}

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

    bool m_bLooks = false;
    std::vector<bool> m_free;

private:
    void Look()
    {
        if (m_bLooks) m_free.push_back(CouldAnotherThreadLockIt());
    }
};
}  // namespace

TEST(PoolModule, TheFrameworkSetsUpAnEmptyUnboundedThreadSafePool)
{
    ASSERT_NE(nullptr, CProbe::ms_pBlockAllocator);
    EXPECT_EQ(0u, CProbe::ms_pBlockAllocator->GetBlockCount());
    EXPECT_TRUE(*CProbe::ms_pBlockAllocator == CBlockAllocator(8, nullptr)) << "another source";
    EXPECT_EQ(0u, CProbe::ms_uAllocatedCount);
    EXPECT_EQ(0u, CProbe::ms_uCapacity);
    EXPECT_EQ(0u, CProbe::ms_uLockCapacity);
    EXPECT_NE(nullptr, CProbe::ms_pmutex);
}

TEST_F(CPoolTest, OutsideItsLifeGivesAndTakesNothing)
{
    unsigned char auBlock[sizeof(CMarshaler)] = {};
    CProbe::Deallocate(auBlock);
    EXPECT_EQ(nullptr, CProbe::Allocate());
    EXPECT_EQ(0u, CProbe::ms_uAllocatedCount);
    CProbe::Uninitialize();
}

TEST_F(CPoolTest, APoolWithoutLockingFollowsOneWithIt)
{
    CProbe::Initialize(true, 1, true, nullptr);
    CProbe::Uninitialize();
    CProbe::Initialize(false, 1, true, nullptr);
    EXPECT_EQ(nullptr, CProbe::ms_pmutex);
    CProbe::Deallocate(CProbe::Allocate());
}

TEST_F(CPoolTest, ASecondSetUpLeavesTheMutexAlone)
{
    CProbe::Initialize(true, 2, false, nullptr);
    const CMutex* const pmutex = CProbe::ms_pmutex;
    CProbe::Initialize(false, 5, true, nullptr);
    EXPECT_EQ(pmutex, CProbe::ms_pmutex);
    EXPECT_EQ(2u, CProbe::ms_uCapacity);
}

TEST_F(CPoolTest, IsLockedWhileItGivesAndTakes)
{
    // While one more thread lives, nothing takes the process for single-threaded.
    std::promise<void> end;
    std::thread other([&] { end.get_future().wait(); });
    CLockSource source;
    CProbe::Initialize(true, 0, false, &source);
    source.m_bLooks = true;
    void* const pvFirst = CProbe::Allocate();
    void* const pvSecond = CProbe::Allocate();
    CProbe::ms_uCapacity = 1;
    CProbe::Deallocate(pvFirst);
    EXPECT_EQ((std::vector<bool>{false, false, false}), source.m_free);
    CProbe::Deallocate(pvSecond);
    EXPECT_TRUE(CouldAnotherThreadLockIt()) << "and not afterwards";
    source.m_bLooks = false;
    CProbe::Uninitialize();
    end.set_value();
    other.join();
}
