// The library calls its modules' start-up and shut-down through the dynamic linker, which finds a program's functions
// before the library's. So the pairs defined here stand in for the real ones: they record who was called, and fail
// on request.
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "framework/kernel/framework_initializer.h"

namespace
{
struct SStage
{
    int nStage;
    const char* pszModule;
};

constexpr SStage g_astSTAGES[] = {
    {1, "QvAssert"},
    {3, "Result"},
    {5, "CThread"},
    {7, "CDefaultAllocator"},
    {8, "CSingleton"},
    {9, "CString"},
    {10, "QvEventNotifier"},
    {11, "CTimer"},
    {12, "QvTraceKernel"},
    {13, "CTime"},
    {14, "QvTraceTime"},
    {15, "ECom"},
    {17, "CPool<CMarshaler>"},
    {18, "CAATreeBase"},
    {26, "QvStringFormat"},
    {27, "QvFault"},
    {29, "CCrypto"},
    {35, "CAesBremoFwOpenSsl"},
    {36, "CSecurePrngBremoFw"},
    {37, "CSecureSeedBremoFw"},
};

using TCalls = std::vector<std::string>;
TCalls g_calls;
std::string g_answeringModule;
QvResult g_resAnswer = QV_RES_OK;
std::vector<unsigned int> g_counts;

QvResult Initialized(const char* pszModule)
{
    g_calls.push_back(std::string("+") + pszModule);
    g_counts.push_back(CFrameworkInitializer::ms_uInitializationCount);
    return g_answeringModule == pszModule ? g_resAnswer : QV_RES_OK;
}

void Finalized(const char* pszModule)
{
    g_calls.push_back(std::string("-") + pszModule);
    g_counts.push_back(CFrameworkInitializer::ms_uInitializationCount);
}
}  // namespace

#define STAND_IN(Module)                     \
    QV_EXPORT QvResult Initialize##Module(); \
    QV_EXPORT void Finalize##Module();       \
    QvResult Initialize##Module()            \
    {                                        \
        return Initialized(#Module);         \
    }                                        \
    void Finalize##Module()                  \
    {                                        \
        Finalized(#Module);                  \
    }

STAND_IN(QvAssert)
STAND_IN(Result)
STAND_IN(CThread)
STAND_IN(CDefaultAllocator)
STAND_IN(CSingleton)
STAND_IN(CString)
STAND_IN(QvEventNotifier)
STAND_IN(CTimer)
STAND_IN(QvTraceKernel)
STAND_IN(CTime)
STAND_IN(QvTraceTime)
STAND_IN(ECom)
STAND_IN(CAATreeBase)
STAND_IN(QvStringFormat)
STAND_IN(QvFault)
STAND_IN(CCrypto)
STAND_IN(CAesBremoFwOpenSsl)
STAND_IN(CSecurePrngBremoFw)
STAND_IN(CSecureSeedBremoFw)

class CMarshaler;
template <typename T>
QV_EXPORT QvResult InitializeCPool();
template <typename T>
QV_EXPORT void FinalizeCPool();
template <>
QV_EXPORT QvResult InitializeCPool<CMarshaler>()
{
    return Initialized("CPool<CMarshaler>");
}
template <>
QV_EXPORT void FinalizeCPool<CMarshaler>()
{
    Finalized("CPool<CMarshaler>");
}

namespace
{
TCalls StartUp(int nLastStage)
{
    TCalls calls;
    for (const SStage& rstStage : g_astSTAGES)
    {
        if (rstStage.nStage <= nLastStage) calls.push_back(std::string("+") + rstStage.pszModule);
    }
    return calls;
}

TCalls ShutDown(int nFromStage)
{
    TCalls calls;
    for (const SStage& rstStage : g_astSTAGES)
    {
        if (rstStage.nStage <= nFromStage) calls.insert(calls.begin(), std::string("-") + rstStage.pszModule);
    }
    return calls;
}

const TCalls g_fullShutDown = {"-QvTraceKernel",
                               "-CThread",
                               "-CSecureSeedBremoFw",
                               "-CSecurePrngBremoFw",
                               "-CAesBremoFwOpenSsl",
                               "-CCrypto",
                               "-QvFault",
                               "-QvStringFormat",
                               "-CAATreeBase",
                               "-CPool<CMarshaler>",
                               "-ECom",
                               "-QvTraceTime",
                               "-CTime",
                               "-CTimer",
                               "-QvEventNotifier",
                               "-CString",
                               "-CSingleton",
                               "-CDefaultAllocator",
                               "-Result",
                               "-QvAssert"};

TCalls PartialFinalized(int nFrom)
{
    g_calls.clear();
    CFrameworkInitializer::PartialFinalize(static_cast<CFrameworkInitializer::EFinalizeFrom>(nFrom));
    EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
    return g_calls;
}
}  // namespace

class CFrameworkOrder : public testing::Test
{
protected:
    CFrameworkOrder()
    {
        g_calls.clear();
        g_counts.clear();
        g_answeringModule.clear();
        g_resAnswer = QV_RES_OK;
        CFrameworkInitializer::ms_uInitializationCount = 0;
    }
    ~CFrameworkOrder() override { CFrameworkInitializer::ms_uInitializationCount = 0; }
};

// The real functions of a stage that nobody plays would be called unseen, so the table is read in its source.
TEST(CFrameworkStages, AreAllPlayed)
{
    TCalls table;
    std::ifstream source(ORVEL_SOURCE_DIR "/framework/kernel/framework_initializer.cpp");
    const std::regex row(R"( *\{EStage::\w+, Initialize(\S+), Finalize(\S+)\},)");
    std::smatch modules;
    for (std::string strLine; std::getline(source, strLine);)
    {
        if (!std::regex_match(strLine, modules, row)) continue;
        EXPECT_EQ(modules[1], modules[2]);
        table.push_back("+" + modules.str(1));
    }
    EXPECT_EQ(table, StartUp(INT_MAX)) << "the table, and what is played here";
}

TEST_F(CFrameworkOrder, StartUpCallsEveryInitialiserOnceByStage)
{
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_EQ(StartUp(37), g_calls);
    EXPECT_EQ(1u, CFrameworkInitializer::ms_uInitializationCount);
    for (unsigned int uCount : g_counts) EXPECT_EQ(0u, uCount) << "counted before everything was up";
}

TEST_F(CFrameworkOrder, ALaterStartUpOnlyCounts)
{
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    g_calls.clear();
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_EQ(TCalls(), g_calls);
    EXPECT_EQ(2u, CFrameworkInitializer::ms_uInitializationCount);
}

TEST_F(CFrameworkOrder, TheLastShutDownStopsTraceAndThreadsFirstAndThenTheRestInReverse)
{
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    g_calls.clear();
    g_counts.clear();
    CFrameworkInitializer::Finalize();
    EXPECT_EQ(TCalls(), g_calls);
    EXPECT_EQ(1u, CFrameworkInitializer::ms_uInitializationCount);
    CFrameworkInitializer::Finalize();
    EXPECT_EQ(g_fullShutDown, g_calls);
    EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
    for (unsigned int uCount : g_counts) EXPECT_EQ(0u, uCount) << "the count is lowered first";
}

TEST_F(CFrameworkOrder, AShutDownTooManyWrapsTheCountAndTheNextStartUpOnlyCounts)
{
    CFrameworkInitializer::Finalize();
    EXPECT_EQ(4294967295u, CFrameworkInitializer::ms_uInitializationCount);
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
    EXPECT_EQ(TCalls(), g_calls);
}

TEST_F(CFrameworkOrder, AScopeStartsUpAndShutsDownWhatCameUp)
{
    {
        const CFrameworkScope outer;
        EXPECT_EQ(QV_RES_OK, outer.GetResult());
        const CFrameworkScope inner;
        EXPECT_EQ(2u, CFrameworkInitializer::ms_uInitializationCount);
    }
    EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
    TCalls calls = StartUp(37);
    calls.insert(calls.end(), g_fullShutDown.begin(), g_fullShutDown.end());
    EXPECT_EQ(calls, g_calls);
    g_answeringModule = "QvAssert";
    g_resAnswer = QV_RES_FAIL;
    EXPECT_EQ(QV_RES_FAIL, CFrameworkScope().GetResult());
    EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);
}

class CFrameworkFailure : public CFrameworkOrder, public testing::WithParamInterface<SStage>
{
};

TEST_P(CFrameworkFailure, TakesDownWhatCameUpReturnsTheCodeAndCanBeTriedAgain)
{
    g_answeringModule = GetParam().pszModule;
    g_resAnswer = QV_RES_THREAD_JOIN_SELF;
    EXPECT_EQ(QV_RES_THREAD_JOIN_SELF, CFrameworkInitializer::Initialize());

    TCalls calls = StartUp(GetParam().nStage);
    const TCalls undone = ShutDown(GetParam().nStage - 1);
    calls.insert(calls.end(), undone.begin(), undone.end());
    EXPECT_EQ(calls, g_calls);
    EXPECT_EQ(0u, CFrameworkInitializer::ms_uInitializationCount);

    g_answeringModule.clear();
    g_calls.clear();
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_EQ(StartUp(37), g_calls);
}

TEST_P(CFrameworkFailure, AWarningIsNone)
{
    g_answeringModule = GetParam().pszModule;
    g_resAnswer = 0x40000001;
    const bool bLast = GetParam().nStage == 37;
    EXPECT_EQ(bLast ? 0x40000001 : QV_RES_OK, CFrameworkInitializer::Initialize()) << "the last one's code is returned";
    EXPECT_EQ(StartUp(37), g_calls);
    EXPECT_EQ(1u, CFrameworkInitializer::ms_uInitializationCount);
}

INSTANTIATE_TEST_SUITE_P(EveryStage, CFrameworkFailure, testing::ValuesIn(g_astSTAGES),
                         [](const auto& rInfo) { return "Stage" + std::to_string(rInfo.param.nStage); });

class CFrameworkPartialFinalize : public testing::TestWithParam<int>
{
};

TEST_P(CFrameworkPartialFinalize, RunsTheFinalisersFromTheHighestStageNotAboveAndLeavesTheCountAlone)
{
    EXPECT_EQ(GetParam() <= 37 ? ShutDown(GetParam()) : TCalls(), PartialFinalized(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(EveryValue, CFrameworkPartialFinalize, testing::Range(-1, 38));
INSTANTIATE_TEST_SUITE_P(Beyond, CFrameworkPartialFinalize, testing::Values(39, 40, INT_MAX, INT_MIN));

TEST(CFrameworkPartialFinalizeAll, StopsTraceAndThreadsFirst)
{
    EXPECT_EQ(g_fullShutDown, PartialFinalized(38));
}
