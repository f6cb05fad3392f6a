// What the containers, their allocators and the pool ask of operator new, and what happens when it refuses. That each
// operation survives a refusal is tests/whole's matter; here it is about which requests are made.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <new>
#include <optional>
#include <vector>

#include "framework/basic/allocator.h"
#include "framework/basic/list.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/pool.h"
#include "framework/basic/vector.h"
#include "tests/support/refusing_new.h"

namespace
{
/// What is asked of the global array allocation between Watch() and Stop(), part of which can be refused.
class CArrayAllocations
{
public:
    /// From now on calls are listed, and the uNth is refused, counted from 1; 0: none.
    void Watch(unsigned int uRefuseNth = 0)
    {
        Stop();
        m_record.emplace(eARRAYS);
        if (uRefuseNth != 0) m_refusal.emplace(uRefuseNth - 1, eARRAYS);
    }
    void Stop()
    {
        m_refusal.reset();
        if (!m_record) return;
        m_made.assign(m_record->GetMade().begin(), m_record->GetMade().end());
        m_freed.assign(m_record->GetFreed().begin(), m_record->GetFreed().end());
        m_record.reset();
    }
    /// What was allocated and freed between the two, in order.
    const std::vector<CNewRecord::SBlock>& GetMade() const { return m_made; }
    const std::vector<void*>& GetFreed() const { return m_freed; }

private:
    std::optional<CNewRecord> m_record;
    std::optional<CRefusingNew> m_refusal;
    std::vector<CNewRecord::SBlock> m_made;
    std::vector<void*> m_freed;
};

class CArraysTest : public testing::Test
{
protected:
    /// Stops; fails unless exactly one piece of uSize bytes was made, and freed again if so asked.
    void ExpectOne(std::size_t uSize, bool bFreed)
    {
        m_arrays.Stop();
        ASSERT_EQ(1u, m_arrays.GetMade().size());
        EXPECT_EQ(uSize, m_arrays.GetMade()[0].uSize);
        const std::vector<void*> made = {m_arrays.GetMade()[0].pv};
        EXPECT_EQ(bFreed ? made : std::vector<void*>(), m_arrays.GetFreed());
    }
    void ExpectNone()
    {
        m_arrays.Stop();
        EXPECT_TRUE(m_arrays.GetMade().empty());
        EXPECT_TRUE(m_arrays.GetFreed().empty());
    }

    CArrayAllocations m_arrays;
};

/// Serves one vector without the global array allocation.
class CMallocSource : public IAllocator
{
public:
    SBlock* Allocate(unsigned int, unsigned int uSize, SBlock**) override
    {
        return new (std::malloc(uSize)) SBlock{nullptr};
    }
    void Release(SBlock* pChain, unsigned int) override { std::free(pChain); }
};

class CVectorProbe : public CVectorBase
{
public:
    using CVectorBase::CVectorBase;
    using CVectorBase::m_pvScratch;
};

class CVectorMemory : public CArraysTest
{
protected:
    CMallocSource m_source;
};

/// Remembers what is given back through its own Release().
class CWatchedDefault : public CDefaultAllocator
{
public:
    struct SReleased
    {
        std::vector<void*> blocks;
        unsigned int uCount;
    };

    void Release(SBlock* pChain, unsigned int uCount) override
    {
        m_released.push_back({BlocksOf(pChain), uCount});
        CDefaultAllocator::Release(pChain, uCount);
    }
    static std::vector<void*> BlocksOf(SBlock* pBlock)
    {
        std::vector<void*> blocks;
        for (; pBlock != nullptr; pBlock = pBlock->pNext) blocks.push_back(pBlock);
        return blocks;
    }

    std::vector<SReleased> m_released;
};

class CDefaultAllocatorMemory : public CArraysTest
{
protected:
    CWatchedDefault m_allocator;
};

class CListMemory : public CArraysTest, public testing::WithParamInterface<int>
{
protected:
    CListMemory()
    {
        for (int n = GetParam(); n > 0; --n) EXPECT_EQ(QV_RES_OK, m_list.Append(n));
    }
    std::vector<int> ForwardsAndBackwards()
    {
        std::vector<int> values(m_list.begin(), m_list.end());
        values.insert(values.end(), std::make_reverse_iterator(m_list.end()),
                      std::make_reverse_iterator(m_list.begin()));
        return values;
    }

    CList<int> m_list;
};
}  // namespace

TEST_F(CVectorMemory, EveryConstructorTakesOneScratchElementThatTheDestructorFrees)
{
    std::optional<CVectorProbe> flagged(std::in_place, 24, false, &m_source);
    void (*const apfnMake[])(std::optional<CVectorProbe>&, const CVectorProbe&, IAllocator*) = {
        [](auto& rVector, const CVectorProbe&, IAllocator* pSource) { rVector.emplace(24, pSource); },
        [](auto& rVector, const CVectorProbe&, IAllocator* pSource) { rVector.emplace(24, false, pSource); },
        [](auto& rVector, const CVectorProbe& rSrc, IAllocator*) { rVector.emplace(rSrc); }};
    for (const auto pfnMake : apfnMake)
    {
        std::optional<CVectorProbe> vector;
        m_arrays.Watch();
        pfnMake(vector, *flagged, &m_source);
        ExpectOne(24, false);
        void* const pvScratch = vector->m_pvScratch;
        EXPECT_EQ(m_arrays.GetMade()[0].pv, pvScratch);
        m_arrays.Watch();
        vector.reset();
        m_arrays.Stop();
        EXPECT_EQ(std::vector<void*>{pvScratch}, m_arrays.GetFreed());
        m_arrays.Watch(1);
        EXPECT_THROW(pfnMake(vector, *flagged, &m_source), std::bad_alloc);
        m_arrays.Stop();
    }
}

TEST_F(CVectorMemory, SortHoldsOneElementAsideIfThereAreTwo)
{
    for (const bool bConstruct : {false, true})
    {
        CVector<int> vector(bConstruct, &m_source);
        // By callback: for a typed comparison, a plain element is held on the stack.
        const auto compare = [](const void* pElement, const void* pKey, unsigned int)
        { return *static_cast<const int*>(pElement) - *static_cast<const int*>(pKey); };
        for (const int nElement : {3, 1, 2})
        {
            m_arrays.Watch();
            vector.Sort(compare, 0);
            if (vector.GetSize() < 2) ExpectNone();
            else ExpectOne(sizeof(int), true);
            ASSERT_EQ(QV_RES_OK, vector.Append(nElement));
        }
        m_arrays.Watch(1);
        EXPECT_THROW(vector.Sort(compare, 0), std::bad_alloc);
        m_arrays.Stop();
        EXPECT_EQ((std::vector<int>{1, 3, 2}), std::vector<int>(vector.begin(), vector.end()));
    }
}

TEST_F(CVectorMemory, TheStorageComesFromTheAllocatorAlone)
{
    CVectorBase vector(4, false, &m_source);
    m_arrays.Watch();
    EXPECT_EQ(QV_RES_OK, vector.Insert(0, 100));
    vector.Swap(0, 1);
    vector.Erase(0, 10);
    EXPECT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    ExpectNone();
}

TEST_P(CListMemory, SortingTakesOneArrayOfAddressesOrThrowsAndLeavesTheListAsItWas)
{
    const std::vector<int> before = ForwardsAndBackwards();
    if (m_list.GetSize() >= 2)
    {
        m_arrays.Watch(1);
        EXPECT_THROW(m_list.Sort(), std::bad_alloc);
        m_arrays.Stop();
        EXPECT_EQ(before, ForwardsAndBackwards());
    }
    m_arrays.Watch();
    m_list.Sort();
    if (m_list.GetSize() >= 2) ExpectOne(m_list.GetSize() * sizeof(void*), true);
    else ExpectNone();
    EXPECT_TRUE(std::is_sorted(m_list.begin(), m_list.end()));
}

INSTANTIATE_TEST_SUITE_P(Sizes, CListMemory, testing::Values(0, 1, 2, 3, 100, 1001), testing::PrintToStringParamName());

TEST_F(CDefaultAllocatorMemory, EveryBlockIsAnAllocationAndTheFirstIsTheLastOfTheChain)
{
    IAllocator::SBlock* pLast = nullptr;
    m_arrays.Watch();
    IAllocator::SBlock* const pChain = m_allocator.Allocate(4, 33, &pLast);
    m_arrays.Stop();
    std::vector<void*> expected;
    for (const CNewRecord::SBlock& rMade : m_arrays.GetMade())
    {
        EXPECT_EQ(33u, rMade.uSize);
        expected.insert(expected.begin(), rMade.pv);
    }
    EXPECT_EQ(4u, expected.size());
    EXPECT_EQ(expected, CWatchedDefault::BlocksOf(pChain));
    EXPECT_EQ(expected.back(), pLast);
    m_allocator.CDefaultAllocator::Release(pChain, 4);
}

TEST_F(CDefaultAllocatorMemory, RefusedArgumentsAllocateNothing)
{
    m_arrays.Watch();
    EXPECT_EQ(nullptr, m_allocator.Allocate(0, 8, nullptr));
    EXPECT_EQ(nullptr, m_allocator.Allocate(3, 7, nullptr));
    ExpectNone();
}

TEST_F(CDefaultAllocatorMemory, ReleaseFreesTheWholeChainWhateverTheCount)
{
    for (const unsigned int uCount : {0u, 1u, 3u, 900u})
    {
        IAllocator::SBlock* const pChain = m_allocator.Allocate(3, 8, nullptr);
        const std::vector<void*> blocks = CWatchedDefault::BlocksOf(pChain);
        m_arrays.Watch();
        m_allocator.CDefaultAllocator::Release(pChain, uCount);
        m_arrays.Stop();
        EXPECT_EQ(blocks, m_arrays.GetFreed());
    }
}

TEST_F(CDefaultAllocatorMemory, RunningOutGivesBackThroughItsOwnRelease)
{
    for (unsigned int uNth = 1; uNth <= 5; ++uNth)
    {
        SCOPED_TRACE(testing::Message() << "refused at " << uNth);
        CWatchedDefault allocator;
        m_arrays.Watch(uNth);
        IAllocator::SBlock* const pChain = allocator.Allocate(5, 24, nullptr);
        m_arrays.Stop();
        EXPECT_EQ(nullptr, pChain);
        std::vector<void*> made;
        for (const CNewRecord::SBlock& rMade : m_arrays.GetMade()) made.insert(made.begin(), rMade.pv);
        EXPECT_EQ(uNth - 1, made.size());
        ASSERT_EQ(1u, allocator.m_released.size());
        EXPECT_EQ(24u, allocator.m_released[0].uCount);
        EXPECT_EQ(made, allocator.m_released[0].blocks);
        for (void* const pvBlock : made)
            EXPECT_EQ(1, std::count(m_arrays.GetFreed().begin(), m_arrays.GetFreed().end(), pvBlock));
    }
}

#if TESTS_OWN_OPERATOR_NEW
TEST(CPoolMemory, APoolThatCannotBeSetUpIsDownAndMayBeSetUpAgain)
{
    using Pool = CPool<CMarshaler>;
    for (const bool bThreadSafe : {false, true})
    {
        const unsigned int uRequests = bThreadSafe ? 2 : 1;  // the allocator's, and the mutex's
        for (unsigned int uNth = 0; uNth < uRequests; ++uNth)
        {
            SCOPED_TRACE(testing::Message() << "refused at " << uNth);
            Pool::Uninitialize();
            const long nOut = LiveNewBlocks();
            const CRefusingNew refusal(uNth, eNEW_OBJECT);
            EXPECT_THROW(Pool::Initialize(bThreadSafe, 0, false, nullptr), std::bad_alloc);
            EXPECT_EQ(nOut, LiveNewBlocks());
            EXPECT_EQ(nullptr, Pool::ms_pBlockAllocator) << "set up by halves";
            EXPECT_EQ(nullptr, Pool::Allocate());
        }
        Pool::Initialize(bThreadSafe, 0, false, nullptr);
        void* const pvBlock = Pool::Allocate();
        EXPECT_NE(nullptr, pvBlock);
        Pool::Deallocate(pvBlock);
        EXPECT_EQ(bThreadSafe, Pool::ms_pmutex != nullptr);
    }
}
#endif
