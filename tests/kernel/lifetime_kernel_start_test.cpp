// What is used although the framework is not up: the process ends with a line that names it, or nothing happens.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "framework/ecom/ecom.h"
#include "framework/kernel/alive.h"
#include "framework/kernel/assertion.h"
#include "framework/kernel/event_notifier.h"
#include "framework/kernel/fault.h"
#include "framework/kernel/framework_initializer.h"
#include "framework/kernel/memory_queue.h"
#include "framework/kernel/singleton.h"
#include "framework/kernel/string_format.h"
#include "framework/kernel/thread.h"
#include "framework/kernel/timer.h"
#include "framework/kernel/trace.h"
#include "framework/kernel/version.h"

namespace
{
class CService : public CSingleton<CService>
{
};

class CIdle : public CAliveObj
{
    void Behavior() override {}
};

QV_ECOM_GUID(CLSID_Nothing, "test.Nothing");

QvResult CreateNothing(IEComUnknown*, CEComUnknown**)
{
    return QV_RES_FAIL;
}

void Observe(void*, EEventNotifier, va_list)
{
}

struct SUse
{
    const char* pszName;
    const char* pszComplaint;  // what the line names
    void (*pfnUse)();
};

void StartAThread()
{
    CThread thread;
    static_cast<void>(thread.StartThread(nullptr, 0, nullptr, 0, CThread::eNORMAL));
}

void CreateAKey()
{
    unsigned int uKey = 0;
    static_cast<void>(CThread::CreateKey(nullptr, uKey));
}

void ActivateAnObject()
{
    CIdle object;
    static_cast<void>(object.Activate(nullptr, 0, CThread::eNORMAL));
}

void StartACycle()
{
    CTimer timer;
    timer.StartCyclicWait(1);
}

void WaitInACycle()
{
    CTimer timer;
    timer.CyclicWait(false);
}

void AskForAnErrorsText()
{
    char szText[80];
    QvStrErrorReentrant(szText, sizeof(szText), 2);
}

void CreateAComponent()
{
    void* pvInterface = nullptr;
    static_cast<void>(CreateEComInstance(&CLSID_Nothing, nullptr, &IID_IEComUnknown, &pvInterface));
}

constexpr SUse g_astFATAL[] = {
    {"ThreadStart", "CThread", StartAThread},
    {"ThreadKey", "CThread", CreateAKey},
    {"Activation", "CThread", ActivateAnObject},
    {"UpTime", "CTimer", [] { CTimer::GetSystemUpTimeMs(); }},
    {"CycleStart", "CTimer", StartACycle},
    {"CycleWait", "CTimer", WaitInACycle},
    {"Singleton", "CSingleton", [] { CService::Instance(); }},
    {"ErrorText", "QvStrErrorReentrant()", AskForAnErrorsText},
    {"EventRegistration", "RegisterEventObserver()", [] { RegisterEventObserver(Observe, nullptr); }},
    {"ClassRegistration", "RegisterECom()", [] { static_cast<void>(RegisterECom(&CLSID_Nothing, CreateNothing)); }},
    {"ClassUnregistration", "UnregisterECom()", [] { UnregisterECom(&CLSID_Nothing); }},
    {"ComponentCreation", "CreateEComInstance()", CreateAComponent},
    {"AssertFail", "QvAssertSetNew...Handler()", [] { QvAssertSetNewFailHandler(nullptr); }},
    {"AssertTrace", "QvAssertSetNew...Handler()", [] { QvAssertSetNewTraceHandler(nullptr); }},
    {"AssertCallStack", "QvAssertSetNew...Handler()", [] { QvAssertSetNewCallStackTraceHandler(nullptr); }},
    {"AssertFinal", "QvAssertSetNew...Handler()", [] { QvAssertSetNewFinalBehaviorHandler(nullptr); }},
};

void PrintTo(const SUse& rstUse, std::ostream* pStream)
{
    *pStream << rstUse.pszName;
}

class CUsedOutside : public testing::TestWithParam<SUse>
{
protected:
    static std::string Line(const char* pszReason)
    {
        return std::string("liborvel_framework: ") + GetParam().pszComplaint + pszReason + "\n";
    }
};

// Each in a process of its own; what it has written to standard error is that line and nothing else.
TEST_P(CUsedOutside, BeforeStartUpEndsTheProcess)
{
    EXPECT_EXIT(GetParam().pfnUse(), testing::KilledBySignal(SIGABRT),
                testing::Eq(Line(" is used, but CFrameworkInitializer::Initialize() was not called")));
}

TEST_P(CUsedOutside, AfterShutDownEndsTheProcess)
{
    const auto useLate = []
    {
        {
            const CFrameworkScope framework;
        }
        GetParam().pfnUse();
    };
    EXPECT_EXIT(useLate(), testing::KilledBySignal(SIGABRT),
                testing::Eq(Line(" is used after the last Finalize(): the framework is down")));
}

INSTANTIATE_TEST_SUITE_P(Uses, CUsedOutside, testing::ValuesIn(g_astFATAL),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

// What destructors of static objects may do after the shut-down, and what needs no start-up at all.
void UseHarmlessly()
{
    CThread thread;
    unsigned int uExitCode = 1;
    EXPECT_EQ(QV_RES_OK, thread.Join(&uExitCode));
    EXPECT_EQ(0u, uExitCode);
    EXPECT_EQ(nullptr, CThread::GetThreadSelf());
    EXPECT_EQ(0u, CThread::GetCurrentId());
    EXPECT_EQ(QV_RES_TSD_UNAVAILABLE, CThread::SetSpecific(1, 1));
    EXPECT_EQ(QV_RES_TSD_UNAVAILABLE, CThread::GetSpecific(1, uExitCode));
    EXPECT_EQ(QV_RES_TSD_KEY_NOT_FOUND, CThread::DeleteKey(1));
    CIdle object;
    EXPECT_TRUE(object.IsUnborn());
    CTimer timer;
    timer.StopCyclicWait();
    UnregisterEventObserver(Observe, nullptr);
    NotifyEventObservers(EEventNotifier::eAPPLICATION);
    CService::DestroyInstance();
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, RegisterECom(nullptr, nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, UnregisterECom(nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CreateEComInstance(&CLSID_Nothing, nullptr, nullptr, nullptr));
    CEComUnknown* const pObject = new CEComUnknown(nullptr);
    EXPECT_EQ(2u, pObject->NonDelegatingAddIfRef());
    EXPECT_EQ(1u, pObject->NonDelegatingReleaseIfRef());
    EXPECT_EQ(0u, pObject->NonDelegatingReleaseIfRef());
    CMemoryQueue queue;
    EXPECT_TRUE(queue.Initialize(64, 8));
    EXPECT_TRUE(queue.Commit(queue.Push(8)) && queue.Pop());
    char szText[16];
    EXPECT_EQ(2, QvSnprintf(szText, sizeof(szText), "%d", 42));
    EXPECT_EQ(7, CVersion("1.2.3.4").GetStr(szText, sizeof(szText)));
    const CMutex mutex;
    const CMutexGuard guard(&mutex);
    EXPECT_STREQ("", QvResultGetMsgStr(QV_RES_OK));
    QvTraceToStderr({}, {}, {}, nullptr, 0);
    EXPECT_TRUE(InstallGenericFaultHandler() && UnInstallGenericFaultHandler());
}

TEST(UsedOutside, WhatNeedsNoStartUpWorks)
{
    const auto useEarlyAndLate = []
    {
        UseHarmlessly();
        {
            const CFrameworkScope framework;
        }
        UseHarmlessly();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(useEarlyAndLate(), testing::ExitedWithCode(0), testing::Eq(std::string()));
}
}  // namespace
