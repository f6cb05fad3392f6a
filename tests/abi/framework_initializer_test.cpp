#include <algorithm>
#include <iterator>

#include "tests/abi/exports.h"
#include "tests/abi/old_framework_initializer.h"
#include "tests/abi/old_pool.h"

using TInitialize = QvResult();
using TFinalize = void();
TInitialize InitializeQvAssert, InitializeResult, InitializeCThread, InitializeCDefaultAllocator;
TInitialize InitializeCSingleton, InitializeCString, InitializeQvEventNotifier, InitializeCTimer;
TInitialize InitializeQvTraceKernel, InitializeCTime, InitializeQvTraceTime, InitializeECom;
TInitialize InitializeCAATreeBase, InitializeQvStringFormat, InitializeQvFault, InitializeCCrypto;
TInitialize InitializeCAesBremoFwOpenSsl, InitializeCSecurePrngBremoFw, InitializeCSecureSeedBremoFw;
TFinalize FinalizeQvAssert, FinalizeResult, FinalizeCThread, FinalizeCDefaultAllocator;
TFinalize FinalizeCSingleton, FinalizeCString, FinalizeQvEventNotifier, FinalizeCTimer;
TFinalize FinalizeQvTraceKernel, FinalizeCTime, FinalizeQvTraceTime, FinalizeECom;
TFinalize FinalizeCAATreeBase, FinalizeQvStringFormat, FinalizeQvFault, FinalizeCCrypto;
TFinalize FinalizeCAesBremoFwOpenSsl, FinalizeCSecurePrngBremoFw, FinalizeCSecureSeedBremoFw;

namespace
{
/// One row of the start-up sequence, and the exported pointer that shows whether the module is up, if it has one.
struct SModule
{
    int nStage;
    TInitialize* pfnInitialize;
    TFinalize* pfnFinalize;
    const char* pszPointer;
};

constexpr SModule g_astMODULES[] = {
    {1, InitializeQvAssert, FinalizeQvAssert, "g_pstAssertFailHandler"},
    {3, InitializeResult, FinalizeResult, nullptr},
    {5, InitializeCThread, FinalizeCThread, "_ZN7CThread9ms_pmutexE"},
    {7, InitializeCDefaultAllocator, FinalizeCDefaultAllocator, "_ZN10CSingletonI17CDefaultAllocatorE12ms_pInstanceE"},
    {8, InitializeCSingleton, FinalizeCSingleton, "_ZN14CSingletonBase9ms_pmutexE"},
    {9, InitializeCString, FinalizeCString, "_ZN7CString9ms_pmutexE"},
    {10, InitializeQvEventNotifier, FinalizeQvEventNotifier, nullptr},
    {11, InitializeCTimer, FinalizeCTimer, "_ZN6CTimer28ms_pmutexThreadingProtectionE"},
    {12, InitializeQvTraceKernel, FinalizeQvTraceKernel, nullptr},
    {13, InitializeCTime, FinalizeCTime, "_ZN5CTime31ms_psemInternalAccessProtectionE"},
    {14, InitializeQvTraceTime, FinalizeQvTraceTime, nullptr},
    {15, InitializeECom, FinalizeECom, nullptr},
    {17, InitializeCPool<CMarshaler>, FinalizeCPool<CMarshaler>, "_ZN5CPoolI10CMarshalerE18ms_pBlockAllocatorE"},
    {18, InitializeCAATreeBase, FinalizeCAATreeBase, "_ZN11CAATreeBase12ms_pNullNodeE"},
    {26, InitializeQvStringFormat, FinalizeQvStringFormat, nullptr},
    {27, InitializeQvFault, FinalizeQvFault, nullptr},
    {29, InitializeCCrypto, FinalizeCCrypto, "_ZN10CSingletonI7CCryptoE12ms_pInstanceE"},
    {35, InitializeCAesBremoFwOpenSsl, FinalizeCAesBremoFwOpenSsl, "_ZN18CAesBremoFwOpenSsl13ms_pveceModesE"},
    {36, InitializeCSecurePrngBremoFw, FinalizeCSecurePrngBremoFw, nullptr},
    {37, InitializeCSecureSeedBremoFw, FinalizeCSecureSeedBremoFw, nullptr},
};

bool IsUp(const SModule& rModule)
{
    const void* const pvPointer = dlsym(RTLD_DEFAULT, rModule.pszPointer);
    EXPECT_NE(nullptr, pvPointer) << rModule.pszPointer;
    return pvPointer != nullptr && LoadAt<const void*>(pvPointer, 0) != nullptr;
}

/// The stages that the exported pointers show to be up.
std::vector<int> StagesUp()
{
    std::vector<int> stages;
    for (const SModule& rModule : g_astMODULES)
    {
        if (rModule.pszPointer != nullptr && IsUp(rModule)) stages.push_back(rModule.nStage);
    }
    return stages;
}

void InitializeByHand(int nLastStage)
{
    for (const SModule& rModule : g_astMODULES)
    {
        if (rModule.nStage > nLastStage) return;
        ASSERT_EQ(QV_RES_OK, rModule.pfnInitialize()) << "stage " << rModule.nStage;
    }
}

const std::vector<int> g_ALL_STAGES = {1, 5, 7, 8, 9, 11, 13, 17, 18, 29, 35};
}  // namespace

TEST(CFrameworkInitializerCalls, TheExportedCountFollowsEveryUser)
{
    ASSERT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
    CFrameworkInitializer::ms_uInitializationCount = 1;
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_EQ(2u, CFrameworkInitializer::ms_uInitializationCount);
    EXPECT_EQ(std::vector<int>(), StagesUp()) << "somebody else has started it";
    CFrameworkInitializer::ms_uInitializationCount = 0;
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_EQ(1u, CFrameworkInitializer::ms_uInitializationCount);
    EXPECT_EQ(g_ALL_STAGES, StagesUp());
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_EQ(2u, CFrameworkInitializer::ms_uInitializationCount);
    CFrameworkInitializer::Finalize();
    EXPECT_EQ(1u, CFrameworkInitializer::ms_uInitializationCount);
    EXPECT_EQ(g_ALL_STAGES, StagesUp());
    CFrameworkInitializer::Finalize();
    EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
    EXPECT_EQ(std::vector<int>(), StagesUp());
}

TEST(CFrameworkInitializerCalls, AProgramCanBringTheModulesUpAndDownOneByOne)
{
    InitializeByHand(CFrameworkInitializer::eFROM_ALL);
    EXPECT_EQ(g_ALL_STAGES, StagesUp());
    std::vector<int> stages = g_ALL_STAGES;
    for (auto iModule = std::rbegin(g_astMODULES); iModule != std::rend(g_astMODULES); ++iModule)
    {
        iModule->pfnFinalize();
        stages.erase(std::remove(stages.begin(), stages.end(), iModule->nStage), stages.end());
        EXPECT_EQ(stages, StagesUp()) << "stage " << iModule->nStage;
    }
    EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
}

TEST(CFrameworkInitializerCalls, PartialFinalisationTakesDownWhatItsStageSays)
{
    for (const int nStage : {1, 3, 5, 9, 10, 11, 13, 15, 17, 18, 26, 29, 35, 37, 38})
    {
        SCOPED_TRACE(testing::Message() << "stage " << nStage);
        InitializeByHand(nStage);
        CFrameworkInitializer::PartialFinalize(static_cast<CFrameworkInitializer::EFinalizeFrom>(nStage));
        EXPECT_EQ(std::vector<int>(), StagesUp());
    }
}
