#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/old_allocator.h"

namespace
{
using Values = std::vector<unsigned int>;

/// Inherits what it can: its virtual tables are made of the library's functions and thunks.
class CForeignDefaultAllocator : public CDefaultAllocator
{
};

class CBlocks : public testing::Test
{
protected:
    CForeignSource m_source;
};
}  // namespace

TEST(IAllocatorLayout, OwnsAVirtualTableWithADestructorThatAProgramCanCall)
{
    static_assert(sizeof(IAllocator) == 8 && sizeof(IAllocator::SBlock) == 8);
    for (const char* pszSymbol : {"_ZN10IAllocatorD2Ev", "_ZTI10IAllocator", "_ZTV10IAllocator"})
        EXPECT_TRUE(IsExported(pszSymbol)) << pszSymbol;
    EXPECT_EQ("--pp", PureSlots("_ZTV10IAllocator"));
}

TEST(CDefaultAllocatorLayout, TheSingletonComesFirstAndTheSourceOfMemoryBehindIt)
{
    static_assert(sizeof(CDefaultAllocator) == 16);
    CDefaultAllocator* const pInstance = CSingleton<CDefaultAllocator>::Instance();
    ASSERT_NE(nullptr, pInstance);
    EXPECT_EQ(CSingleton<CDefaultAllocator>::ms_pInstance, pInstance);
    EXPECT_EQ(0, OffsetToTop(pInstance));
    EXPECT_EQ(-8, OffsetToTop(static_cast<IAllocator*>(pInstance)));
    EXPECT_TRUE(HasSlots(pInstance, {"_ZN17CDefaultAllocatorD1Ev", "_ZN17CDefaultAllocatorD0Ev",
                                     "_ZN17CDefaultAllocator8AllocateEjjPPN10IAllocator6SBlockE",
                                     "_ZN17CDefaultAllocator7ReleaseEPN10IAllocator6SBlockEj"}));
    EXPECT_TRUE(HasSlots(static_cast<IAllocator*>(pInstance),
                         {"_ZThn8_N17CDefaultAllocatorD1Ev", "_ZThn8_N17CDefaultAllocatorD0Ev",
                          "_ZThn8_N17CDefaultAllocator8AllocateEjjPPN10IAllocator6SBlockE",
                          "_ZThn8_N17CDefaultAllocator7ReleaseEPN10IAllocator6SBlockEj"}));
}

TEST(CDefaultAllocatorCalls, GiveAndTakeChainsOfBlocks)
{
    const CGuarded<CDefaultAllocator> allocator;
    EXPECT_EQ(nullptr, allocator->Allocate(0, 8, nullptr));
    allocator->Release(nullptr, 1);
    CForeignDefaultAllocator foreign;
    for (IAllocator* const pSource : {DefaultAllocator(), static_cast<IAllocator*>(&foreign)})
    {
        IAllocator::SBlock* pLast = nullptr;
        IAllocator::SBlock* const pChain = pSource->Allocate(3, 24, &pLast);
        ASSERT_NE(nullptr, pChain);
        EXPECT_EQ(pLast, pChain->pNext->pNext);
        EXPECT_EQ(nullptr, pLast->pNext);
        pSource->Release(pChain, 999);  // the count is ignored
    }
}

TEST(CDefaultAllocatorModule, FinaliserDestroysTheInstance)
{
    CFrameworkInitializer::Finalize();
    ASSERT_EQ(QV_RES_OK, CSingletonBase::InitializeCSingletonBase());
    const SModuleFunctions aPairs[] = {
        {CDefaultAllocator::InitializeCDefaultAllocator, CDefaultAllocator::FinalizeCDefaultAllocator},
        {InitializeCDefaultAllocator, FinalizeCDefaultAllocator},
        {InitializeCDefaultAllocator, CSingleton<CDefaultAllocator>::DestroyInstance}};
    for (const SModuleFunctions& rPair : aPairs)
    {
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        EXPECT_EQ(nullptr, CSingleton<CDefaultAllocator>::ms_pInstance);
        EXPECT_NE(nullptr, CSingleton<CDefaultAllocator>::Instance());
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CSingleton<CDefaultAllocator>::ms_pInstance);
    }
    CSingletonBase::FinalizeCSingletonBase();
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
}

TEST_F(CBlocks, FieldsAreSourceHeadTailCountSize)
{
    static_assert(sizeof(CBlockAllocator) == 40);
    CGuarded<CBlockAllocator> blocks(24u, &m_source);
    ASSERT_TRUE(blocks->Reserve(3));
    EXPECT_EQ(&m_source, blocks->m_pAllocator);
    EXPECT_EQ(blocks->m_pHead->pNext->pNext, blocks->m_pTail);
    EXPECT_EQ((Values{3, 24}), (Values{blocks->m_uBlockCount, blocks->m_uBlockSize}));
    EXPECT_EQ(8u, CBlockAllocator(7, &m_source).m_uBlockSize) << "raised to a link";
    EXPECT_EQ(DefaultAllocator(), CBlockAllocator(8, nullptr).m_pAllocator);
    blocks.Destroy();
    EXPECT_EQ(nullptr, blocks.Remains(&CBlockAllocator::m_pAllocator));
    EXPECT_EQ(0u, blocks.Remains(&CBlockAllocator::m_uBlockSize));
}

TEST_F(CBlocks, SlotsAreDestructorPush)
{
    auto* const pBlocks = new CBlockAllocator(8, &m_source);
    EXPECT_EQ(0, OffsetToTop(pBlocks));
    EXPECT_TRUE(
        HasSlots(pBlocks, {"_ZN15CBlockAllocatorD1Ev", "_ZN15CBlockAllocatorD0Ev", "_ZN15CBlockAllocator4PushEPv"}));
    EXPECT_EQ(3u, TableOf(pBlocks).size());
    ASSERT_TRUE(pBlocks->Reserve(2));
    delete &OfUnknownOrigin(*pBlocks);
    EXPECT_EQ(0u, m_source.m_uOut);
}

TEST_F(CBlocks, AreReservedPoppedPushedAndReduced)
{
    CBlockAllocator blocks(16, &m_source);
    ASSERT_TRUE(blocks.Reserve(2));
    ASSERT_TRUE(blocks.Reserve(5));
    EXPECT_EQ((Values{2, 3, 16, 5}), (Values{m_source.m_uAllocations, m_source.m_uAllocatedCount,
                                             m_source.m_uAllocatedSize, blocks.GetBlockCount()}));
    void* const pBlock = blocks.m_pHead;
    EXPECT_EQ(pBlock, blocks.Pop());
    EXPECT_EQ(4u, blocks.m_uBlockCount);
    blocks.CBlockAllocator::Push(pBlock);
    EXPECT_EQ(pBlock, blocks.m_pHead);
    blocks.Reduce(1);
    EXPECT_EQ((Values{1, 4, 1}), (Values{blocks.GetBlockCount(), m_source.m_uReleasedCount, m_source.m_uOut}));
    m_source.m_bRefusing = true;
    EXPECT_FALSE(blocks.Reserve(6));
}

TEST_F(CBlocks, ACopyHasTheSourceAndTheSizeButNoBlocks)
{
    CBlockAllocator blocks(24, &m_source);
    ASSERT_TRUE(blocks.Reserve(2));
    const CGuarded<CBlockAllocator> copy(blocks);
    EXPECT_EQ(&m_source, copy->m_pAllocator);
    EXPECT_EQ((Values{24, 0}), (Values{copy->m_uBlockSize, copy->m_uBlockCount}));
    EXPECT_EQ(nullptr, copy->m_pHead);
    EXPECT_TRUE(blocks == *copy);
    EXPECT_FALSE(blocks != *copy);
    const CBlockAllocator other(24, nullptr);
    EXPECT_FALSE(blocks == other);
    EXPECT_TRUE(blocks != other);
}
