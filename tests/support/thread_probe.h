#ifndef TESTS_SUPPORT_THREAD_PROBE_H
#define TESTS_SUPPORT_THREAD_PROBE_H
#include <cstddef>
#include <vector>

#include "framework/kernel/thread.h"
#include "tests/support/object_bytes.h"

/// Where the binary interface puts the fields of a CThread.
struct SThreadFields
{
    static constexpr std::size_t uFUNCTION_AT = 8;
    static constexpr std::size_t uPARAMETER_AT = 16;
    static constexpr std::size_t uNAME_AT = 20;
    static constexpr std::size_t uSTATE_AT = 52;
    static constexpr std::size_t uID_AT = 56;
    static constexpr std::size_t uEXIT_CODE_AT = 60;
    static constexpr std::size_t uSEM_RUN_AT = 64;
    static constexpr std::size_t uPRIORITY_AT = 208;
    static constexpr std::size_t uHANDLE_AT = 216;
};

/// A thread that shows what CThread keeps from its users.
class CThreadProbe : public CThread
{
public:
    using CThread::DeleteTsdKey;
    using CThread::FindTsdKey;
    using CThread::FreeTsdCallback;
    using CThread::GetCurrentTsd;
    using CThread::ms_auMutex;
    using CThread::ms_auSemFinalizeWaitThread;
    using CThread::ms_bFinalizing;
    using CThread::ms_bTsdInitialized;
    using CThread::ms_hTsdKey;
    using CThread::ms_keyCounter;
    using CThread::ms_pmutex;
    using CThread::ms_psemFinalizeWaitThread;
    using CThread::ms_pTsdHead;
    using CThread::ms_pTsdKeyHead;
    using CThread::ms_uThreadCounter;
    using CThread::ms_uThreadId;
    using CThread::STsd;
    using CThread::STsdKey;
    using CThread::STsdValue;
    using CThread::ThreadEntry;
    using CThread::ThreadEntryEnd;

    pthread_t Handle() const { return LoadAt<pthread_t>(this, SThreadFields::uHANDLE_AT); }

    static unsigned int CountRecords()
    {
        const CMutexGuard guard(ms_pmutex);
        unsigned int uCount = 0;
        for (const STsd* p = ms_pTsdHead; p != nullptr; p = p->pNext) ++uCount;
        return uCount;
    }
    static unsigned int CountKeys()
    {
        const CMutexGuard guard(ms_pmutex);
        unsigned int uCount = 0;
        for (const STsdKey* p = ms_pTsdKeyHead; p != nullptr; p = p->pNext) ++uCount;
        return uCount;
    }
    /// References of a key; 0 when it is unknown.
    static unsigned int CountReferences(unsigned int uKey)
    {
        const CMutexGuard guard(ms_pmutex);
        STsdKey* pPrevious = nullptr;
        const STsdKey* const pKey = FindTsdKey(uKey, &pPrevious);
        return pKey != nullptr ? pKey->uRefCount : 0;
    }
    /// The calling thread's values, the last key set first.
    static std::vector<unsigned int> Values()
    {
        std::vector<unsigned int> values;
        const STsd* const pTsd = GetCurrentTsd();
        if (pTsd == nullptr) return values;
        for (const STsdValue* p = pTsd->pValues; p != nullptr; p = p->pNext) values.push_back(p->uValue);
        return values;
    }
    static unsigned int CountRunning()
    {
        const CMutexGuard guard(ms_pmutex);
        return ms_uThreadCounter;
    }
};

inline QvResult StartTestThread(CThread& rThread, unsigned int (*pfn)(unsigned int), unsigned int uParameter = 0)
{
    return rThread.StartThread(pfn, uParameter, "test", 0, CThread::eNORMAL);
}

/// Waits until all threads that were started have ended, detached ones included: as the shut-down does.
inline void WaitForAllThreads()
{
    CThreadProbe::ms_psemFinalizeWaitThread->Wait();
    CThreadProbe::ms_psemFinalizeWaitThread->Signal(false);
}

#endif
