#include <thread>

#include "tests/abi/framework_up.h"
#include "tests/abi/old_thread.h"
#include "tests/abi/told_size.h"
#include "tests/support/gate.h"

QvResult InitializeCThread();
void FinalizeCThread();

namespace
{
CGate g_isRunning;
CGate g_mayReturn;

unsigned int ReturnAfterTheGate(unsigned int uParameter)
{
    g_isRunning.Open();
    g_mayReturn.Pass();
    return uParameter + 1;
}

unsigned int ReturnTheOpposite(unsigned int uParameter)
{
    return ~uParameter;
}

/// Runs a function of the program on a thread that the library did not start.
template <typename Function>
void OnAnotherThread(Function function)
{
    std::thread(function).join();
}

/// A detached thread may still be on its way out after its join.
void AwaitTheEndOfAllThreads()
{
    EXPECT_TRUE(CThread::ms_psemFinalizeWaitThread->Wait());
    CThread::ms_psemFinalizeWaitThread->Signal(false);
}

bool IsListed(const CThread::STsd* pTsd)
{
    CThread::ms_pmutex->Lock();
    const CThread::STsd* p = CThread::ms_pTsdHead;
    while (p != nullptr && p != pTsd) p = p->pNext;
    CThread::ms_pmutex->Unlock();
    return p != nullptr;
}

std::vector<unsigned int> g_destroyed;
void NoteDestroyed(unsigned int uValue)
{
    g_destroyed.push_back(uValue);
}
}  // namespace

TEST(CThreadLayout, AThreadThatWasNeverStartedIsIdleAndSaysSo)
{
    static_assert(sizeof(CThread) == 224);
    ExpectDestructorsAlone<CThread>("7CThread");
    CGuarded<CThread> thread;
    EXPECT_EQ(nullptr, thread->m_pfnThread);
    EXPECT_STREQ("(Not started)", thread->m_szName);
    EXPECT_EQ(CThread::eIDLE, thread->m_eState);
    EXPECT_EQ(0u, thread->m_uParameter | thread->m_uId | thread->m_uExitCode);
    ExpectBinary(1, thread->m_semRun);
    EXPECT_EQ(CThread::ePRIORITY_2, thread->m_ePriority);
    EXPECT_EQ(pthread_t{}, thread->m_hThread);
    thread.Destroy();
    EXPECT_EQ(CThread::eDESTROYED, thread.Remains(&CThread::m_eState));
}

TEST(CThreadLayout, FieldsAndStaticsFollowAThreadFromItsStartToItsJoin)
{
    g_isRunning.Shut();
    g_mayReturn.Shut();
    const CGuarded<CThread> thread;
    ASSERT_EQ(QV_RES_OK, thread->StartThread(ReturnAfterTheGate, 0xFFFF0000,
                                             "a name that is longer than its 32 characters", 0, CThread::ePRIORITY_3));
    g_isRunning.Pass();
    EXPECT_EQ(ReturnAfterTheGate, thread->m_pfnThread);
    EXPECT_EQ(0xFFFF0000u, thread->m_uParameter);
    EXPECT_STREQ("a name that is longer than its ", thread->m_szName);
    EXPECT_EQ(CThread::eRUNNING, thread->m_eState);
    EXPECT_EQ(CThread::ms_uThreadId, thread->m_uId);
    EXPECT_EQ(thread->m_uId, thread->GetId());
    EXPECT_EQ(0u, thread->m_semRun.m_sem.m_uCount);
    EXPECT_EQ(CThread::ePRIORITY_3, thread->m_ePriority);
    EXPECT_NE(pthread_t{}, thread->m_hThread);
    EXPECT_EQ(1u, CThread::ms_uThreadCounter);
    EXPECT_EQ(0u, CThread::ms_psemFinalizeWaitThread->m_sem.m_uCount) << "the shut-down waits for it";
    g_mayReturn.Open();
    unsigned int uExitCode = 0;
    EXPECT_EQ(QV_RES_OK, thread->Join(&uExitCode));
    EXPECT_EQ(0xFFFF0001u, uExitCode);
    EXPECT_EQ(0xFFFF0001u, thread->m_uExitCode);
    EXPECT_EQ(CThread::eIDLE, thread->m_eState);
    EXPECT_EQ(pthread_t{}, thread->m_hThread);
    ExpectBinary(1, thread->m_semRun);
    AwaitTheEndOfAllThreads();
    EXPECT_EQ(0u, CThread::ms_uThreadCounter);
}

TEST(CThreadLayout, StaticsHaveTheirWidths)
{
    EXPECT_TRUE(HasItsSize(CThread::ms_pmutex));
    EXPECT_TRUE(HasItsSize(CThread::ms_auMutex));
    EXPECT_TRUE(HasItsSize(CThread::ms_uThreadId));
    EXPECT_TRUE(HasItsSize(CThread::ms_uThreadCounter));
    EXPECT_TRUE(HasItsSize(CThread::ms_psemFinalizeWaitThread));
    EXPECT_TRUE(HasItsSize(CThread::ms_auSemFinalizeWaitThread));
    EXPECT_TRUE(HasItsSize(CThread::ms_bFinalizing));
    EXPECT_TRUE(HasItsSize(CThread::ms_hTsdKey));
    EXPECT_TRUE(HasItsSize(CThread::ms_bTsdInitialized));
    EXPECT_TRUE(HasItsSize(CThread::ms_keyCounter));
    EXPECT_TRUE(HasItsSize(CThread::ms_pTsdHead));
    EXPECT_TRUE(HasItsSize(CThread::ms_pTsdKeyHead));
}

TEST(CThreadLayout, TheRecordOfAThreadIsHeadOfTheListWithItsThreadAndItsNumber)
{
    static_assert(sizeof(CThread::STsd) == 32 && offsetof(CThread::STsd, pThread) == 8);
    static_assert(offsetof(CThread::STsd, uId) == 16 && offsetof(CThread::STsd, bCounted) == 20);
    static_assert(offsetof(CThread::STsd, pValues) == 24);
    OnAnotherThread(
        []
        {
            CThread::STsd* const pBefore = CThread::ms_pTsdHead;
            CThread::STsd* const pTsd = CThread::GetCurrentTsd();
            ASSERT_NE(nullptr, pTsd);
            EXPECT_EQ(pTsd, CThread::ms_pTsdHead);
            EXPECT_EQ(pTsd, pthread_getspecific(CThread::ms_hTsdKey));
            EXPECT_EQ(pBefore, pTsd->pNext);
            EXPECT_EQ(nullptr, pTsd->pThread);
            EXPECT_EQ(0u, pTsd->uId);
            EXPECT_FALSE(pTsd->bCounted);
            EXPECT_EQ(nullptr, pTsd->pValues);
            const unsigned int uLastId = CThread::ms_uThreadId;
            EXPECT_EQ(uLastId + 1, CThread::GetCurrentId());
            EXPECT_EQ(uLastId + 1, CThread::ms_uThreadId);
            EXPECT_EQ(uLastId + 1, pTsd->uId);
            pTsd->uId = 0xFFFFFFF0;
            EXPECT_EQ(0xFFFFFFF0u, CThread::GetCurrentId());
        });
    CThread thread;
    const auto pfnRecord = [](unsigned int)
    {
        const CThread::STsd* const pTsd = CThread::GetCurrentTsd();
        EXPECT_EQ(CThread::GetThreadSelf(), pTsd->pThread);
        EXPECT_EQ(CThread::GetThreadSelf()->m_uId, pTsd->uId);
        EXPECT_TRUE(pTsd->bCounted);
        return 0u;
    };
    EXPECT_EQ(QV_RES_OK, thread.StartThread(pfnRecord, 0, nullptr, 0, CThread::ePRIORITY_2));
}

TEST(CThreadLayout, AKeyIsHeadOfItsListWithItsNumberDestructorAndReferences)
{
    using SKey = CThread::STsdKey;
    static_assert(sizeof(SKey) == 32 && offsetof(SKey, uKey) == 8 && offsetof(SKey, pfnDestructor) == 16);
    static_assert(offsetof(SKey, uReferences) == 24);
    const SKey* const pBefore = CThread::ms_pTsdKeyHead;
    unsigned int uKey = 0;
    ASSERT_EQ(QV_RES_OK, CThread::CreateKey(NoteDestroyed, uKey));
    EXPECT_EQ(CThread::ms_keyCounter, uKey);
    const SKey* const pKey = CThread::ms_pTsdKeyHead;
    EXPECT_EQ(pBefore, pKey->pNext);
    EXPECT_EQ(uKey, pKey->uKey);
    EXPECT_EQ(NoteDestroyed, pKey->pfnDestructor);
    EXPECT_EQ(1u, pKey->uReferences);
    OnAnotherThread(
        [&]
        {
            EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 5));
            EXPECT_EQ(2u, pKey->uReferences);
            EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(uKey));
            EXPECT_EQ(0u, pKey->uKey);
            EXPECT_EQ(nullptr, pKey->pfnDestructor);
            EXPECT_EQ(1u, pKey->uReferences);
        });
    EXPECT_EQ(pBefore, CThread::ms_pTsdKeyHead);
}

TEST(CThreadLayout, AValueIsHeadOfItsThreadsListWithItsKey)
{
    using SValue = CThread::STsdValue;
    static_assert(sizeof(SValue) == 24 && offsetof(SValue, pKey) == 8 && offsetof(SValue, uValue) == 16);
    unsigned int uKey = 0;
    ASSERT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uKey));
    CThread::STsd* const pTsd = CThread::GetCurrentTsd();
    const SValue* const pBefore = pTsd->pValues;
    ASSERT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 0xFEDCBA98));
    SValue* const pValue = pTsd->pValues;
    ASSERT_NE(pBefore, pValue);
    EXPECT_EQ(pBefore, pValue->pNext);
    EXPECT_EQ(CThread::ms_pTsdKeyHead, pValue->pKey);
    EXPECT_EQ(0xFEDCBA98u, pValue->uValue);
    pValue->uValue = 7;
    unsigned int uValue = 0;
    EXPECT_EQ(QV_RES_OK, CThread::GetSpecific(uKey, uValue));
    EXPECT_EQ(7u, uValue);
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 0));
    EXPECT_EQ(pBefore, pTsd->pValues);
    EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(uKey));
}

TEST(CThreadCalls, AThreadKnowsItself)
{
    CThread thread;
    const auto pfnKnowMyself = [](unsigned int)
    {
        CThread* const pSelf = CThread::GetThreadSelf();
        EXPECT_TRUE(pSelf->IsCurrentThread());
        EXPECT_EQ(pSelf->m_uId, CThread::GetCurrentId());
        EXPECT_NE(0, pthread_equal(pthread_self(), pSelf->m_hThread));
        return 0u;
    };
    ASSERT_EQ(QV_RES_OK, thread.StartThread(pfnKnowMyself, 0, nullptr, 0, CThread::ePRIORITY_2));
    EXPECT_EQ(QV_RES_OK, thread.Join(nullptr));
    AwaitTheEndOfAllThreads();
    EXPECT_EQ(nullptr, CThread::GetThreadSelf());
    EXPECT_FALSE(thread.IsCurrentThread());
    const CThread other;
    EXPECT_TRUE(thread == thread);
    EXPECT_FALSE(thread == other);
}

TEST(CThreadCalls, TheEntryPointRunsAnObjectThatTheProgramPreparedItself)
{
    CThread thread;
    ASSERT_TRUE(thread.m_semRun.Wait());
    thread.m_eState = CThread::eSTARTING;
    thread.m_pfnThread = ReturnTheOpposite;
    thread.m_uParameter = 0xFFFFFFF0;
    CThread::ms_pmutex->Lock();
    thread.m_uId = ++CThread::ms_uThreadId;
    if (CThread::ms_uThreadCounter == 0) CThread::ms_psemFinalizeWaitThread->Wait();
    ++CThread::ms_uThreadCounter;
    CThread::ms_pmutex->Unlock();
    pthread_t hThread;
    ASSERT_EQ(0, pthread_create(&hThread, nullptr, CThread::ThreadEntry, &thread));
    unsigned int uExitCode = 0;
    EXPECT_EQ(QV_RES_OK, thread.Join(&uExitCode));
    EXPECT_EQ(15u, uExitCode);
    CThread::ThreadEntryEnd();
}

TEST(CThreadCalls, ARecordCanBeFreedByTheCallback)
{
    g_destroyed.clear();
    unsigned int uKey = 0;
    ASSERT_EQ(QV_RES_OK, CThread::CreateKey(NoteDestroyed, uKey));
    OnAnotherThread(
        [&]
        {
            EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 0xFEDCBA98));
            CThread::STsd* const pTsd = CThread::GetCurrentTsd();
            EXPECT_TRUE(IsListed(pTsd));
            CThread::FreeTsdCallback(pTsd);
            pthread_setspecific(CThread::ms_hTsdKey, nullptr);
            EXPECT_FALSE(IsListed(pTsd));
        });
    EXPECT_EQ(std::vector<unsigned int>{0xFEDCBA98}, g_destroyed);
    EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(uKey));
}

TEST(CThreadCalls, KeysAreFoundWithTheirPredecessorAndDeletedBehindIt)
{
    unsigned int uFirst = 0;
    unsigned int uSecond = 0;
    ASSERT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uFirst));
    CThread::STsdKey* const pFirst = CThread::ms_pTsdKeyHead;
    ASSERT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uSecond));
    CThread::STsdKey* const pSecond = CThread::ms_pTsdKeyHead;
    CThread::STsdKey* pPrevious = pFirst;
    EXPECT_EQ(pSecond, CThread::FindTsdKey(uSecond, &pPrevious));
    EXPECT_EQ(nullptr, pPrevious);
    EXPECT_EQ(pFirst, CThread::FindTsdKey(uFirst, &pPrevious));
    EXPECT_EQ(pSecond, pPrevious);
    EXPECT_EQ(nullptr, CThread::FindTsdKey(0, &pPrevious));
    CThread::STsdKey* const pBehind = pFirst->pNext;
    CThread::DeleteTsdKey(pFirst, pSecond);
    EXPECT_EQ(pBehind, pSecond->pNext);
    CThread::DeleteTsdKey(pSecond, nullptr);
    EXPECT_EQ(pBehind, CThread::ms_pTsdKeyHead);
}

// Down here: the module is taken down and up, which only works while nothing else is.
namespace
{
void ExpectDown()
{
    EXPECT_TRUE(CThread::ms_bFinalizing);
    EXPECT_EQ(nullptr, CThread::ms_pmutex);
    EXPECT_EQ(nullptr, CThread::ms_psemFinalizeWaitThread);
    EXPECT_EQ(nullptr, CThread::ms_pTsdHead);
    EXPECT_EQ(nullptr, CThread::ms_pTsdKeyHead);
    EXPECT_EQ(0u, CThread::ms_hTsdKey);
}

void ExpectUpAfresh()
{
    EXPECT_FALSE(CThread::ms_bFinalizing);
    EXPECT_EQ(static_cast<void*>(CThread::ms_auMutex), static_cast<void*>(CThread::ms_pmutex));
    EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(CThread::ms_pmutex, 0));
    EXPECT_EQ(static_cast<void*>(CThread::ms_auSemFinalizeWaitThread),
              static_cast<void*>(CThread::ms_psemFinalizeWaitThread));
    ExpectBinary(1, *CThread::ms_psemFinalizeWaitThread);
    EXPECT_TRUE(CThread::ms_bTsdInitialized);
    EXPECT_EQ(0u, CThread::ms_uThreadId | CThread::ms_uThreadCounter | CThread::ms_keyCounter);
    EXPECT_EQ(1u, CThread::GetCurrentId());
}
}  // namespace

TEST(CThreadModule, GoesDownAndUpUnderBothOfItsNames)
{
    CFrameworkInitializer::Finalize();
    for (const SModuleFunctions& rPair : {SModuleFunctions{InitializeCThread, FinalizeCThread},
                                          SModuleFunctions{CThread::InitializeCThread, CThread::FinalizeCThread}})
    {
        ExpectDown();
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        ExpectUpAfresh();
        rPair.pfnFinalize();
    }
    ExpectDown();
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
}

TEST(CThreadModule, ThreadDataGoesDownAndUpByItself)
{
    CFrameworkInitializer::Finalize();
    ASSERT_EQ(QV_RES_OK, CThread::InitializeCThread());
    const pthread_key_t hFirst = CThread::ms_hTsdKey;
    EXPECT_EQ(QV_RES_OK, CThread::InitializeTsd()) << "is up already";
    EXPECT_EQ(hFirst, CThread::ms_hTsdKey);
    g_destroyed.clear();
    unsigned int uKey = 0;
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(NoteDestroyed, uKey));
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 3));
    CThread::FinalizeTsd();
    pthread_setspecific(hFirst, nullptr);
    EXPECT_EQ(std::vector<unsigned int>{3}, g_destroyed);
    EXPECT_EQ(nullptr, CThread::ms_pTsdHead);
    EXPECT_EQ(nullptr, CThread::ms_pTsdKeyHead);
    ASSERT_EQ(0, pthread_key_delete(hFirst));
    CThread::ms_bTsdInitialized = false;
    EXPECT_EQ(QV_RES_OK, CThread::InitializeTsd());
    EXPECT_TRUE(CThread::ms_bTsdInitialized);
    EXPECT_NE(nullptr, CThread::GetCurrentTsd());
    CThread::FinalizeCThread();
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
}
