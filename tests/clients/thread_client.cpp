#include "framework/kernel/thread.h"

#include <cstddef>
#include <type_traits>

#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"
#include "tests/clients/client.h"

namespace
{
constexpr CThread::EPriority eDEFAULT = static_cast<CThread::EPriority>(2);
unsigned int g_uDestroyed = 0;
unsigned int g_uKey = 0;
bool g_bSeen = false;

void Destroy(unsigned int uValue)
{
    g_uDestroyed += uValue;
}

unsigned int Run(unsigned int uParameter)
{
    unsigned int uValue = 1;
    g_bSeen = CThread::GetThreadSelf() != nullptr && CThread::GetThreadSelf()->IsCurrentThread() &&
              CThread::GetThreadSelf()->GetId() == CThread::GetCurrentId() &&
              CThread::GetThreadSelf()->Join(nullptr) == QV_RES_THREAD_JOIN_SELF &&
              CThread::GetSpecific(g_uKey, uValue) == QV_RES_OK && uValue == 0 &&
              CThread::SetSpecific(g_uKey, 40) == QV_RES_OK;
    return uParameter + 1;
}

/// Sees what the class keeps for those who derive from it.
class CMyThread : public CThread
{
public:
    ~CMyThread() override = default;

    static void Internals()
    {
        static_assert(std::is_same_v<decltype(ms_pmutex), CMutex*>);
        static_assert(std::is_same_v<decltype(ms_psemFinalizeWaitThread), CBinarySemaphore*>);
        static_assert(std::is_same_v<decltype(ms_uThreadId), unsigned int>);
        static_assert(std::is_same_v<decltype(ms_uThreadCounter), unsigned int>);
        static_assert(std::is_same_v<decltype(ms_bFinalizing), bool>);
        static_assert(std::is_same_v<decltype(ms_bTsdInitialized), bool>);
        static_assert(std::is_same_v<decltype(ms_hTsdKey), pthread_key_t>);
        static_assert(std::is_same_v<decltype(ms_keyCounter), unsigned int>);
        static_assert(std::is_same_v<decltype(ms_pTsdHead), STsd*>);
        static_assert(std::is_same_v<decltype(ms_pTsdKeyHead), STsdKey*>);
        CHECK(static_cast<void*>(ms_pmutex) == static_cast<void*>(ms_auMutex));
        CHECK(static_cast<void*>(ms_psemFinalizeWaitThread) == static_cast<void*>(ms_auSemFinalizeWaitThread));
        CHECK(ms_bTsdInitialized && !ms_bFinalizing);

        Promised<void* (*)(void*)>(&CMyThread::ThreadEntry);
        Promised<void (*)(STsdKey*, STsdKey*)>(&CMyThread::DeleteTsdKey);
        Promised<void (*)(STsd*)>(&CMyThread::FreeTsdCallback);
        Promised<QvResult (*)()>(&CMyThread::InitializeTsd);
        Promised<void (*)()>(&CMyThread::FinalizeTsd);
        ThreadEntryEnd();
        CHECK(InitializeTsd() == QV_RES_OK && GetCurrentTsd() != nullptr);
        Promised<STsdKey* (*)(unsigned int, STsdKey**)>(&CMyThread::FindTsdKey);
        STsdKey* pPrevious = nullptr;
        CHECK(FindTsdKey(0, &pPrevious) == nullptr && FindTsdKey(g_uKey, &pPrevious) == ms_pTsdKeyHead);
        CHECK(sizeof(STsdValue) == 24 && sizeof(STsd) == 32 && sizeof(STsdKey) == 32);
    }
};

void ThreadData()
{
    Promised<QvResult (*)(void (*)(unsigned int), unsigned int&)>(&CThread::CreateKey);
    Promised<QvResult (*)(unsigned int)>(&CThread::DeleteKey);
    Promised<QvResult (*)(unsigned int, unsigned int)>(&CThread::SetSpecific);
    Promised<QvResult (*)(unsigned int, unsigned int&)>(&CThread::GetSpecific);
    CHECK(CThread::CreateKey(nullptr, g_uKey) == QV_RES_OK && CThread::DeleteKey(g_uKey) == QV_RES_OK);
    CHECK(CThread::CreateKey(0, g_uKey) == QV_RES_OK && CThread::DeleteKey(g_uKey) == QV_RES_OK);
    CHECK(CThread::CreateKey(NULL, g_uKey) == QV_RES_OK && CThread::DeleteKey(g_uKey) == QV_RES_OK);
    CHECK(CThread::DeleteKey(g_uKey) == QV_RES_TSD_KEY_NOT_FOUND && CThread::DeleteKey(0) == QV_RES_TSD_KEY_NOT_FOUND);
    CHECK(CThread::CreateKey(Destroy, g_uKey) == QV_RES_OK && g_uKey != 0);
    unsigned int uValue = 9;
    CHECK(CThread::GetSpecific(g_uKey, uValue) == QV_RES_OK && uValue == 0);
    CHECK(CThread::SetSpecific(g_uKey, 5) == QV_RES_OK);
    CHECK(CThread::GetSpecific(g_uKey, uValue) == QV_RES_OK && uValue == 5);
    CHECK(CThread::SetSpecific(g_uKey, 0) == QV_RES_OK);
    CHECK(CThread::GetSpecific(0, uValue) == QV_RES_TSD_KEY_NOT_FOUND);
}
}  // namespace

void ThreadClient()
{
    Promised<QvResult (CThread::*)(unsigned int (*)(unsigned int), unsigned int, const char*, unsigned int,
                                   CThread::EPriority)>(&CThread::StartThread);
    Promised<QvResult (CThread::*)(unsigned int*)>(&CThread::Join);
    Promised<CThread* (*)()>(&CThread::GetThreadSelf);
    Promised<bool (CThread::*)() const>(&CThread::IsCurrentThread);
    Promised<bool (CThread::*)(const CThread&) const>(&CThread::operator==);
    Promised<unsigned int (CThread::*)() const>(&CThread::GetId);
    Promised<unsigned int (*)()>(&CThread::GetCurrentId);
    Promised<QvResult (*)()>(&CThread::InitializeCThread);
    Promised<void (*)()>(&CThread::FinalizeCThread);
    Promised<QvResult (*)()>(&InitializeCThread);
    Promised<void (*)()>(&FinalizeCThread);
    static_assert(std::has_virtual_destructor_v<CThread>);

    g_uDestroyed = 0;
    ThreadData();
    CMyThread::Internals();
    CHECK(CThread::GetThreadSelf() == nullptr && CThread::GetCurrentId() != 0);
    CMyThread thread;
    const CThread& rConst = thread;
    CThread other;
    CHECK(rConst.GetId() == 0 && rConst == other);
    CHECK(thread.StartThread(Run, 6, "name", 65536, eDEFAULT) == QV_RES_OK);
    CHECK(rConst.GetId() != 0 && !rConst.IsCurrentThread() && !(rConst == other));
    unsigned int uExitCode = 0;
    CHECK(thread.Join(&uExitCode) == QV_RES_OK && uExitCode == 7 && g_bSeen && g_uDestroyed == 40);
    CHECK(thread.StartThread(nullptr, 0, nullptr, 0, eDEFAULT) == QV_RES_OK && thread.Join(nullptr) == QV_RES_OK);
    CHECK(thread.StartThread(0, 0, NULL, 0, static_cast<CThread::EPriority>(0)) == QV_RES_OK);
    CHECK(thread.Join(0) == QV_RES_OK && thread.Join(NULL) == QV_RES_OK);
    CHECK(other.Join(&uExitCode) == QV_RES_OK && uExitCode == 0);
    CHECK(CThread::DeleteKey(g_uKey) == QV_RES_OK);
}
