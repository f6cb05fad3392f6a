#include "tests/abi/exports.h"
#include "tests/abi/foreign_source.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/module_functions.h"
#include "tests/abi/old_allocator.h"

namespace
{
/// Inherits what it can: its virtual tables are made of the library's functions and thunks.
class CForeignDefaultAllocator : public CDefaultAllocator
{
};

std::vector<const void*> FreeBlocksOf(const CBlockAllocator& rAllocator)
{
    std::vector<const void*> blocks;
    for (const IAllocator::SBlock* pBlock = rAllocator.m_pHead; pBlock != nullptr; pBlock = pBlock->pNext)
        blocks.push_back(pBlock);
    return blocks;
}
}  // namespace

class CDefaultAllocatorLayout : public testing::Test
{
};
class CDefaultAllocatorInterface : public testing::Test
{
};
class CBlockAllocatorLayout : public testing::Test
{
protected:
    CForeignSource m_source;
};
class CBlockAllocatorInterface : public CBlockAllocatorLayout
{
};

TEST(IAllocatorLayout, OwnsAVirtualTableAndNothingElse)
{
    static_assert(sizeof(IAllocator) == 8, "the program's declaration");
    static_assert(sizeof(IAllocator::SBlock) == 8, "the program's declaration");
    CForeignSource source;
    EXPECT_EQ(&source, static_cast<void*>(static_cast<IAllocator*>(&source)));
}

TEST(IAllocatorLayout, HasADestructorThatAProgramCanCall)
{
    for (const char* pszDestructor : {"_ZN10IAllocatorD2Ev", "_ZTI10IAllocator", "_ZTV10IAllocator"})
        EXPECT_TRUE(IsExported(pszDestructor)) << pszDestructor;
}

TEST_F(CDefaultAllocatorLayout, TheSingletonComesFirstAndTheSourceOfMemoryBehindIt)
{
    CDefaultAllocator* const pInstance = CSingleton<CDefaultAllocator>::Instance();
    ASSERT_NE(nullptr, pInstance);
    IAllocator* const pAsSource = pInstance;
    static_assert(sizeof(CDefaultAllocator) == 16, "the program's declaration");
    EXPECT_EQ(0, OffsetToTop(pInstance));
    EXPECT_EQ(-8, OffsetToTop(pAsSource));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(pInstance) + 8, reinterpret_cast<unsigned char*>(pAsSource));
}

TEST_F(CDefaultAllocatorLayout, HasNoDataOfItsOwn)
{
    CGuarded<CDefaultAllocator> allocator;
    EXPECT_EQ(nullptr, allocator->Allocate(0, 8, nullptr));
}

TEST_F(CDefaultAllocatorLayout, SlotsAreDestructorAllocateRelease)
{
    CDefaultAllocator* const pInstance = CSingleton<CDefaultAllocator>::Instance();
    EXPECT_TRUE(HasSlots(pInstance, {"_ZN17CDefaultAllocatorD1Ev", "_ZN17CDefaultAllocatorD0Ev",
                                     "_ZN17CDefaultAllocator8AllocateEjjPPN10IAllocator6SBlockE",
                                     "_ZN17CDefaultAllocator7ReleaseEPN10IAllocator6SBlockEj"}));
    EXPECT_TRUE(HasSlots(static_cast<IAllocator*>(pInstance),
                         {"_ZThn8_N17CDefaultAllocatorD1Ev", "_ZThn8_N17CDefaultAllocatorD0Ev",
                          "_ZThn8_N17CDefaultAllocator8AllocateEjjPPN10IAllocator6SBlockE",
                          "_ZThn8_N17CDefaultAllocator7ReleaseEPN10IAllocator6SBlockEj"}));
}

TEST_F(CDefaultAllocatorLayout, SingletonHasADestructorOfItsOwn)
{
    class CForeignSingleton : public CSingleton<CDefaultAllocator>
    {
    };
    CForeignSingleton singleton;
    static_assert(sizeof(CSingleton<CDefaultAllocator>) == 8, "the program's declaration");
    EXPECT_EQ(0, OffsetToTop(&singleton));
    EXPECT_TRUE(IsExported("_ZN10CSingletonI17CDefaultAllocatorED0Ev"));
}

TEST_F(CDefaultAllocatorLayout, InstanceIsTheExportedPointer)
{
    EXPECT_EQ(CSingleton<CDefaultAllocator>::ms_pInstance, CSingleton<CDefaultAllocator>::Instance());
    EXPECT_NE(nullptr, CSingleton<CDefaultAllocator>::ms_pInstance);
}

TEST_F(CDefaultAllocatorInterface, ChainsBlocksFromTheLatestToTheFirst)
{
    IAllocator* const pSource = DefaultAllocator();
    IAllocator::SBlock* pLast = nullptr;
    IAllocator::SBlock* const pChain = pSource->Allocate(3, 24, &pLast);
    ASSERT_NE(nullptr, pChain);
    EXPECT_EQ(pLast, pChain->pNext->pNext);
    EXPECT_EQ(nullptr, pLast->pNext);
    pSource->Release(pChain, 999);  // the count is ignored
}

TEST_F(CDefaultAllocatorInterface, RefusesBlocksWithoutRoomForALinkAndNoBlocks)
{
    CDefaultAllocator* const pInstance = CSingleton<CDefaultAllocator>::Instance();
    IAllocator::SBlock untouched = {nullptr};
    IAllocator::SBlock* pLast = &untouched;
    EXPECT_EQ(nullptr, pInstance->Allocate(1, 7, &pLast));
    EXPECT_EQ(nullptr, pInstance->Allocate(0, 8, &pLast));
    EXPECT_EQ(&untouched, pLast);
    pInstance->Release(nullptr, 1);
}

TEST_F(CDefaultAllocatorInterface, IsInheritedByAProgramsOwnClass)
{
    CForeignDefaultAllocator allocator;
    IAllocator& rAsSource = allocator;
    IAllocator::SBlock* const pBlock = rAsSource.Allocate(1, 8, nullptr);
    ASSERT_NE(nullptr, pBlock);
    rAsSource.Release(pBlock, 1);
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

TEST_F(CBlockAllocatorLayout, FieldsAreSourceHeadTailCountSize)
{
    static_assert(sizeof(CBlockAllocator) == 40, "the program's declaration");
    CGuarded<CBlockAllocator> blocks(24u, &m_source);
    ASSERT_TRUE(blocks->Reserve(3));
    EXPECT_EQ(&m_source, LoadAt<IAllocator*>(&*blocks, 8));
    const auto* const pHead = LoadAt<const IAllocator::SBlock*>(&*blocks, 16);
    EXPECT_EQ(pHead->pNext->pNext, LoadAt<const IAllocator::SBlock*>(&*blocks, 24));
    EXPECT_EQ(3u, LoadAt<uint32_t>(&*blocks, 32));
    EXPECT_EQ(24u, LoadAt<uint32_t>(&*blocks, 36));
}

TEST_F(CBlockAllocatorLayout, SlotsAreDestructorPush)
{
    CBlockAllocator blocks(8, &m_source);
    EXPECT_EQ(0, OffsetToTop(&blocks));
    EXPECT_TRUE(
        HasSlots(&blocks, {"_ZN15CBlockAllocatorD1Ev", "_ZN15CBlockAllocatorD0Ev", "_ZN15CBlockAllocator4PushEPv"}));
    EXPECT_EQ(3u, TableOf(&blocks).size());
}

TEST_F(CBlockAllocatorLayout, ADestructorThroughItsSlotGivesTheBlocksBack)
{
    CBlockAllocator* const pBlocks = new CBlockAllocator(8, &m_source);
    ASSERT_TRUE(pBlocks->Reserve(2));
    delete pBlocks;
    EXPECT_EQ(0u, m_source.m_uOut);
}

TEST_F(CBlockAllocatorLayout, ADestructorClearsTheSourceAndTheBlockSize)
{
    CGuarded<CBlockAllocator> blocks(8u, &m_source);
    blocks.Destroy();
    EXPECT_EQ(nullptr, blocks.Remains(&CBlockAllocator::m_pAllocator));
    EXPECT_EQ(0u, blocks.Remains(&CBlockAllocator::m_uBlockSize));
}

TEST_F(CBlockAllocatorInterface, RaisesTheBlockSizeToALink)
{
    for (const unsigned int uSize : {0u, 7u, 8u}) EXPECT_EQ(8u, CBlockAllocator(uSize, &m_source).m_uBlockSize);
    EXPECT_EQ(9u, CBlockAllocator(9, &m_source).m_uBlockSize);
}

TEST_F(CBlockAllocatorInterface, TakesTheDefaultAllocatorForNull)
{
    EXPECT_EQ(DefaultAllocator(), CBlockAllocator(8, nullptr).m_pAllocator);
}

TEST_F(CBlockAllocatorInterface, ReservesTheShortfallInOneCallBehindTheTail)
{
    CBlockAllocator blocks(16, &m_source);
    ASSERT_TRUE(blocks.Reserve(2));
    const IAllocator::SBlock* const pFirst = blocks.m_pHead;
    ASSERT_TRUE(blocks.Reserve(5));
    EXPECT_EQ(3u, m_source.m_uAllocatedCount);
    EXPECT_EQ(16u, m_source.m_uAllocatedSize);
    EXPECT_TRUE(blocks.Reserve(5));
    EXPECT_EQ(2u, m_source.m_uAllocations);
    EXPECT_EQ(5u, blocks.GetBlockCount());
    EXPECT_EQ(pFirst, blocks.m_pHead);
    EXPECT_EQ(blocks.m_pTail, FreeBlocksOf(blocks).back());
    m_source.m_bRefusing = true;
    EXPECT_FALSE(blocks.Reserve(6));
    EXPECT_EQ(5u, FreeBlocksOf(blocks).size());
}

TEST_F(CBlockAllocatorInterface, PopTakesTheBlockPushedLastAndAsksTheSourceForOneAtATime)
{
    CBlockAllocator blocks(16, &m_source);
    void* const pBlock = blocks.Pop();
    ASSERT_NE(nullptr, pBlock);
    EXPECT_EQ(1u, m_source.m_uAllocatedCount);
    EXPECT_EQ(0u, blocks.GetBlockCount());
    EXPECT_EQ(nullptr, blocks.m_pTail);
    ASSERT_TRUE(blocks.Reserve(2));
    blocks.Push(nullptr);
    EXPECT_EQ(2u, blocks.GetBlockCount());
    blocks.Push(pBlock);
    EXPECT_EQ(pBlock, blocks.m_pHead);
    EXPECT_EQ(3u, blocks.GetBlockCount());
    EXPECT_EQ(pBlock, blocks.Pop());
    blocks.Push(pBlock);
    blocks.Reduce(0);
    m_source.m_bRefusing = true;
    EXPECT_EQ(nullptr, blocks.Pop());
}

TEST_F(CBlockAllocatorInterface, ReduceGivesBackTheEndThatIsReachedByTheShorterWalk)
{
    const struct
    {
        unsigned int uKeep;
        std::size_t uFirstKept;
        unsigned int uReleased;
    } aCases[] = {{3, 0, 7}, {7, 3, 3}, {5, 0, 5}, {0, 0, 10}};
    for (const auto& rCase : aCases)
    {
        SCOPED_TRACE(rCase.uKeep);
        CBlockAllocator blocks(8, &m_source);
        ASSERT_TRUE(blocks.Reserve(10));
        const std::vector<const void*> all = FreeBlocksOf(blocks);
        blocks.Reduce(10);
        blocks.Reduce(rCase.uKeep);
        EXPECT_EQ(rCase.uReleased, m_source.m_uReleasedCount);
        EXPECT_EQ(rCase.uKeep, m_source.m_uOut);
        EXPECT_EQ(rCase.uKeep, blocks.GetBlockCount());
        const auto itFirst = all.begin() + static_cast<std::ptrdiff_t>(rCase.uFirstKept);
        EXPECT_EQ(std::vector<const void*>(itFirst, itFirst + rCase.uKeep), FreeBlocksOf(blocks));
        EXPECT_EQ(rCase.uKeep == 0 ? nullptr : itFirst[rCase.uKeep - 1], blocks.m_pTail);
    }
}

TEST_F(CBlockAllocatorInterface, ACopyHasTheSourceAndTheSizeButNoBlocks)
{
    CBlockAllocator blocks(24, &m_source);
    ASSERT_TRUE(blocks.Reserve(2));
    CGuarded<CBlockAllocator> copy(blocks);
    EXPECT_EQ(&m_source, copy->m_pAllocator);
    EXPECT_EQ(24u, copy->m_uBlockSize);
    EXPECT_EQ(0u, copy->GetBlockCount());
    EXPECT_EQ(nullptr, copy->m_pHead);
    EXPECT_TRUE(blocks == *copy);
    EXPECT_FALSE(blocks != *copy);
    CBlockAllocator other(24, nullptr);
    EXPECT_FALSE(blocks == other);
    EXPECT_TRUE(blocks != other);
}
