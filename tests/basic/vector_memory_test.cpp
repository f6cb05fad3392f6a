// What a vector takes from the global array allocation rather than from its allocator.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "framework/basic/vector.h"
#include "tests/basic/array_allocations.h"
#include "tests/basic/traced_vector.h"
#include "tests/support/refusing_new.h"

namespace
{
/// Serves one vector without the global array allocation.
class CStaticAllocator : public IAllocator
{
public:
    SBlock* Allocate(unsigned int, unsigned int uSize, SBlock**) override
    {
        void* const pv = std::malloc(uSize);
        return new (pv) SBlock{nullptr};
    }
    void Release(SBlock* pChain, unsigned int) override { std::free(pChain); }
};

class CProbe : public CVectorBase
{
public:
    using CVectorBase::CVectorBase;
    using CVectorBase::m_pvScratch;
};

class CVectorMemory : public testing::Test
{
protected:
    /// Fails unless exactly one piece of uSize bytes was made, and freed again if so asked.
    void ExpectOne(std::size_t uSize, bool bFreed)
    {
        m_arrays.Stop();
        ASSERT_EQ(1u, m_arrays.GetMade().size());
        EXPECT_EQ(uSize, m_arrays.GetMade()[0].uSize);
        const std::vector<void*> made = {m_arrays.GetMade()[0].pv};
        EXPECT_EQ(bFreed ? made : std::vector<void*>(), m_arrays.GetFreed());
    }

    CArrayAllocations m_arrays;
    CStaticAllocator m_allocator;
};

int CompareBytes(const void* pElement, const void* pKey, unsigned int)
{
    return *static_cast<const unsigned char*>(pElement) - *static_cast<const unsigned char*>(pKey);
}
}  // namespace

TEST_F(CVectorMemory, EveryConstructorTakesOneScratchElement)
{
    std::optional<CProbe> vector;
    m_arrays.Watch();
    vector.emplace(23, &m_allocator);
    ExpectOne(23, false);
    EXPECT_EQ(m_arrays.GetMade()[0].pv, vector->m_pvScratch);

    std::optional<CProbe> flagged;
    m_arrays.Watch();
    flagged.emplace(24, false, &m_allocator);
    ExpectOne(24, false);
    EXPECT_EQ(m_arrays.GetMade()[0].pv, flagged->m_pvScratch);

    std::optional<CProbe> copy;
    m_arrays.Watch();
    copy.emplace(*flagged);
    ExpectOne(24, false);
    EXPECT_EQ(m_arrays.GetMade()[0].pv, copy->m_pvScratch);
}

TEST_F(CVectorMemory, TheDestructorFreesTheScratchElement)
{
    std::optional<CProbe> vector(std::in_place, 23, false, &m_allocator);
    ASSERT_EQ(QV_RES_OK, vector->Insert(0, 4));
    void* const pvScratch = vector->m_pvScratch;
    m_arrays.Watch();
    vector.reset();
    m_arrays.Stop();
    EXPECT_EQ(std::vector<void*>{pvScratch}, m_arrays.GetFreed());
}

TEST_F(CVectorMemory, SortHoldsOneElementAside)
{
    for (const bool bConstruct : {false, true})
    {
        CTrace trace;
        CTracedVector vector(trace, "v", bConstruct, &m_allocator);
        Fill(vector, {3, 1, 2});
        m_arrays.Watch();
        vector.Sort(CompareInts, 0);
        ExpectOne(sizeof(int), true);
        EXPECT_EQ((std::vector<int>{1, 2, 3}), ValuesOf(vector));
    }
}

TEST_F(CVectorMemory, SortOfFewerThanTwoHoldsNoneAside)
{
    CTrace trace;
    CTracedVector vector(trace, "v", false, &m_allocator);
    m_arrays.Watch();
    vector.Sort(CompareInts, 0);
    Fill(vector, {1});
    vector.Sort(CompareInts, 0);
    m_arrays.Stop();
    EXPECT_TRUE(m_arrays.GetMade().empty());
}

TEST_F(CVectorMemory, SortWithoutMemoryThrowsAndLeavesTheElements)
{
    CProbe vector(1, false, &m_allocator);
    const unsigned char auValues[] = {3, 1, 2};
    for (const unsigned char& ru : auValues) ASSERT_EQ(QV_RES_OK, vector.Insert(vector.GetSize(), 1, &ru));
    m_arrays.Watch(1);
    EXPECT_THROW(vector.Sort(CompareBytes, 0), std::bad_alloc);
    m_arrays.Stop();
    EXPECT_EQ(0, memcmp(auValues, vector.GetAt(0), 3));
}

TEST_F(CVectorMemory, ConstructionWithoutMemoryThrows)
{
    m_arrays.Watch(1);
    EXPECT_THROW(CProbe(4, &m_allocator), std::bad_alloc);
    m_arrays.Watch(1);
    EXPECT_THROW(CProbe(4, false, &m_allocator), std::bad_alloc);
    m_arrays.Stop();
}

TEST_F(CVectorMemory, TheStorageComesFromTheAllocatorAlone)
{
    CProbe vector(4, false, &m_allocator);
    m_arrays.Watch();
    EXPECT_EQ(QV_RES_OK, vector.Insert(0, 100));
    vector.Swap(0, 1);
    vector.Erase(0, 10);
    EXPECT_EQ(QV_RES_OK, vector.ReduceCapacity(0));
    m_arrays.Stop();
    EXPECT_TRUE(m_arrays.GetMade().empty());
    EXPECT_TRUE(m_arrays.GetFreed().empty());
}
