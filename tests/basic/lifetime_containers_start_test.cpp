// What the containers say when they are made while the framework is not up: one line that names the class, and abort().
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>

#include "framework/basic/aatree.h"
#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "framework/basic/vector_list.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/run_program.h"

namespace
{
int CompareInts(const void* pFirst, const void* pSecond, unsigned int)
{
    return SNaturalOrder()(*static_cast<const int*>(pFirst), *static_cast<const int*>(pSecond));
}

/// A source of memory that needs no framework.
class COwnSource : public IAllocator
{
public:
    SBlock* Allocate(unsigned int uCount, unsigned int uSize, SBlock** ppLast) override
    {
        SBlock* pChain = nullptr;
        for (unsigned int u = 0; u < uCount; ++u)
        {
            pChain = new (::operator new[](uSize)) SBlock{pChain};
            if (u == 0 && ppLast != nullptr) *ppLast = pChain;
        }
        return pChain;
    }
    void Release(SBlock* pChain, unsigned int) override
    {
        while (pChain != nullptr)
        {
            SBlock* const pNext = pChain->pNext;
            ::operator delete[](pChain);
            pChain = pNext;
        }
    }
};
COwnSource g_source;

struct SUse
{
    const char* pszName;
    const char* pszClass;
    void (*pfnUse)();
};

const SUse g_aUSES[] = {
    {"CBlockAllocator", "CBlockAllocator", [] { CBlockAllocator allocator(8, nullptr); }},
    {"CVectorBase", "CVector", [] { CVectorBase vector(4, nullptr); }},
    {"CVectorBaseOfBytes", "CVector", [] { CVectorBase vector(4, false, nullptr); }},
    {"CVector", "CVector", [] { CVector<int> vector; }},
    {"CVectorOfAddresses", "CVector", [] { CVector<void*> vector(false, nullptr); }},
    {"CVectorOfTexts", "CVector", [] { CVector<std::string> vector; }},
    {"CListBase", "CList", [] { CListBase list(4, nullptr); }},
    {"CList", "CList", [] { CList<int> list; }},
    {"CAATreeBase", "CAATree", [] { CAATreeBase tree(4, CompareInts, 0, nullptr); }},
    {"CAATreeBaseWithASource", "CAATree", [] { CAATreeBase tree(4, CompareInts, 0, &g_source); }},
    {"CAATreeBaseWithABlockAllocator", "CAATree",
     [] { CAATreeBase tree(4, CompareInts, 0, CBlockAllocator(64, &g_source)); }},
    {"CAATree", "CAATree", [] { CAATree<int> tree; }},
    {"CAATreeByCallback", "CAATree", [] { CAATree<int> tree(CompareInts, 0); }},
    {"CVListBase", "CVList", [] { CVListBase list(4, nullptr); }},
    {"CVListBaseWithASource", "CVList", [] { CVListBase list(4, &g_source); }},
    {"CVListBaseWithABlockAllocator", "CVList", [] { CVListBase list(4, CBlockAllocator(64, &g_source)); }},
    {"CVList", "CVList", [] { CVList<int> list; }},
};

std::string NeverUp(const std::string& rstrClass)
{
    return "liborvel_framework: " + rstrClass + " is used, but CFrameworkInitializer::Initialize() was not called\n";
}

std::string DownAgain(const std::string& rstrClass)
{
    return "liborvel_framework: " + rstrClass + " is used after the last Finalize(): the framework is down\n";
}

/// The text as a pattern that matches it alone.
std::string Exactly(const std::string& rstrText)
{
    std::string strPattern = "^";
    for (const char c : rstrText)
    {
        if (c == '(' || c == ')') strPattern += '\\';
        strPattern += c;
    }
    return strPattern + "$";
}

/// Brings the framework up and down, and does something with a tree that is left over.
void UseLeftOver(void (*pfnUse)(CAATree<int>&))
{
    static_cast<void>(CFrameworkInitializer::Initialize());
    std::optional<CAATree<int>> tree(std::in_place, &g_source);
    static_cast<void>(tree->ReserveCapacity(2));
    CFrameworkInitializer::Finalize();
    pfnUse(*tree);
}

// The child that makes a container before main().
constexpr const char* g_pszSTATIC = "ORVEL_TEST_CONTAINER_IN_STATIC_STORAGE";
struct SBeforeMain
{
    SBeforeMain()
    {
        if (getenv(g_pszSTATIC) != nullptr) static const CVector<int> vector;
    }
} g_beforeMain;

class CContainersLifetimeDeathTest : public testing::TestWithParam<SUse>
{
};
}  // namespace

TEST_P(CContainersLifetimeDeathTest, BeforeTheStartUpTheClassIsNamed)
{
    EXPECT_EXIT(GetParam().pfnUse(), testing::KilledBySignal(SIGABRT), Exactly(NeverUp(GetParam().pszClass)));
}

TEST_P(CContainersLifetimeDeathTest, AfterTheShutDownTheClassIsNamed)
{
    EXPECT_EXIT(
        {
            static_cast<void>(CFrameworkInitializer::Initialize());
            CFrameworkInitializer::Finalize();
            GetParam().pfnUse();
        },
        testing::KilledBySignal(SIGABRT), Exactly(DownAgain(GetParam().pszClass)));
}

INSTANTIATE_TEST_SUITE_P(Every, CContainersLifetimeDeathTest, testing::ValuesIn(g_aUSES),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CContainersLifetime, AContainerInStaticStorageEndsTheProgramBeforeMain)
{
    ASSERT_EQ(0, setenv(g_pszSTATIC, "1", 1));
    const SRunResult result = RunProgram("/proc/self/exe", {});
    unsetenv(g_pszSTATIC);
    EXPECT_EQ(-SIGABRT, result.nStatus);
    EXPECT_EQ(NeverUp("CVector"), result.strErrors);
    EXPECT_EQ("", result.strOutput);
}

TEST(CContainersLifetime, WithASourceOfTheirOwnVectorsAndListsNeedNoFramework)
{
    CVector<int> vector(&g_source);
    CList<int> list(&g_source);
    CBlockAllocator allocator(8, &g_source);
    for (int n = 0; n < 10; ++n)
    {
        EXPECT_EQ(QV_RES_OK, vector.Append(n));
        EXPECT_EQ(QV_RES_OK, list.Append(n));
        EXPECT_TRUE(allocator.Reserve(static_cast<unsigned int>(n)));
    }
    EXPECT_EQ(9, vector[9]);
    EXPECT_EQ(9, *list.GetAt(9));
}

TEST(CContainersLifetime, TheDefaultAllocatorEndsWithTheFramework)
{
    class CProbe : public CDefaultAllocator
    {
    public:
        using CSingleton<CDefaultAllocator>::ms_pInstance;
    };
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    {
        const CBlockAllocator blocks(8, nullptr);
    }
    EXPECT_NE(nullptr, CProbe::ms_pInstance);
    CFrameworkInitializer::Finalize();
    EXPECT_EQ(nullptr, CProbe::ms_pInstance);
}

TEST(CContainersLifetime, AnEmptyTreeMayBeDestroyedAfterTheShutDown)
{
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    std::optional<CAATree<int>> tree(std::in_place);
    ASSERT_EQ(QV_RES_OK, tree->Insert(1));
    tree->EraseAll();
    ASSERT_EQ(QV_RES_OK, tree->ReduceCapacity(0));
    CFrameworkInitializer::Finalize();
    tree.reset();
}

TEST(CLeftOverTreeDeathTest, IsNotSearchedNorFilledAfterTheShutDown)
{
    void (*const apfnUses[])(CAATree<int>&) = {
        [](CAATree<int>& rTree) { static_cast<void>(rTree.Insert(1)); },
        [](CAATree<int>& rTree) { static_cast<void>(rTree.Insert(1, [](int, int) { return 0; })); },
        [](CAATree<int>& rTree) { rTree.Allocate(); },
        [](CAATree<int>& rTree) { rTree.EraseElement(1); },
        [](CAATree<int>& rTree) { static_cast<void>(rTree.Find(1)); },
        [](CAATree<int>& rTree) { static_cast<void>(rTree.Find(1, [](int, int) { return 0; })); }};
    for (const auto pfnUse : apfnUses)
        EXPECT_EXIT(UseLeftOver(pfnUse), testing::KilledBySignal(SIGABRT), Exactly(DownAgain("CAATree")));
}
