#include "framework/kernel/thread.h"

#include <limits.h>
#include <sched.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <new>

#include "framework/kernel/internal/keep_stores.h"
#include "framework/kernel/internal/lifetime.h"

// Three lifetimes meet here. The object (CThread) is the application's. A run lasts from StartThread() until the record
// of its thread is freed, and m_semRun is taken for exactly that long: so whoever gets the semaphore finds no run under
// way, at most one that has ended and is not joined yet. The record (STsd) is its thread's, which makes it when it
// first needs it and frees it at its end; what is left at shut-down, of threads of the application, FinalizeTsd()
// frees.
//
//   who                         when                         may touch
//   starter                     holds m_semRun               everything, until pthread_create(); then nothing: the run
//                                                            may destroy the object. When there is no thread, it gives
//                                                            the semaphore back
//   the run, on its thread      the run has m_semRun         its handle, state, exit code; detaches itself, if at all,
//                                                            while nobody can be joining it
//   FreeTsdCallback()           end of the thread            gives m_semRun back: the last that the run does with the
//                                                            object
//   joiner, next starter        holds m_semRun               joins the handle and clears it, state
//   anybody                     any time                     reads state, identifier and exit code, which are atomic:
//                                                            who sees one of them sees what was stored before it
//   a record's own thread       as long as it lives          the record and its values. Others find it in the list
//                                                            under ms_pmutex, and read its identifier, which is atomic
//
// So the handle has one user at a time, always under m_semRun; a joiner that waits for the end of a thread keeps the
// others waiting at the semaphore. The object may be gone as soon as the run has given the semaphore back, and at once
// when it was destroyed on its own thread: t_stSelf.pThread and the record's pThread are null from then on.
//
// A joiner that is early sleeps for the record first, and then for the thread, which ends a little later. Measured
// against joining first, for which it would have to know a handle that the run has not stored yet: a quarter more
// processor time for a start and join on a single core, where each wake runs it before its waker has let go of what it
// needs next; up to some percent with a second core. To yield instead of sleeping is quicker still on an idle core, and
// costs whole time slices on a busy one.
//
// A run is counted until its record is gone, or, without one, until its function has ended. The shut-down waits for
// that count and not for the threads, which are a few instructions from their end then: for their sake the library is
// never unloaded.

static_assert(sizeof(CThread) == 224, "field order and widths are the binary interface");

alignas(CMutex) unsigned char CThread::ms_auMutex[sizeof(CMutex)];
CMutex* CThread::ms_pmutex = nullptr;
unsigned int CThread::ms_uThreadId = 0;
unsigned int CThread::ms_uThreadCounter = 0;
alignas(CBinarySemaphore) unsigned char CThread::ms_auSemFinalizeWaitThread[sizeof(CBinarySemaphore)];
CBinarySemaphore* CThread::ms_psemFinalizeWaitThread = nullptr;
bool CThread::ms_bFinalizing = false;
pthread_key_t CThread::ms_hTsdKey = static_cast<pthread_key_t>(QV_RES_TSD_KEY_NOT_FOUND);
bool CThread::ms_bTsdInitialized = false;
unsigned int CThread::ms_keyCounter = 0;
CThread::STsd* CThread::ms_pTsdHead = nullptr;
CThread::STsdKey* CThread::ms_pTsdKeyHead = nullptr;

namespace
{
using orvel_internal::IsLikely;

struct SScheduling
{
    int nPolicy;
    int nPriority;
};

// Indexed by CThread::EPriority.
constexpr SScheduling g_astSCHEDULING[] = {{SCHED_OTHER, 0}, {SCHED_OTHER, 0}, {SCHED_OTHER, 0}, {SCHED_OTHER, 0}};
constexpr unsigned int g_uPRIORITY_COUNT = sizeof(g_astSCHEDULING) / sizeof(g_astSCHEDULING[0]);

// Whether ms_hTsdKey is a key of ours: every number may be one of somebody else's, 0 as well.
bool g_bHasKey = false;
// What stands in for the key at shut-down, when it is gone and the records are not.
void* g_pvCurrentTsd = nullptr;

// What a thread must know about itself even if allocating its record failed.
struct SSelf
{
    CThread* pThread;
    // The value whose destructor is running, and the number of its key. It is still found, but has given its
    // reference to the key back: the key may be deleted meanwhile, and another one made in its place.
    const void* pvDyingValue;
    unsigned int uDyingKey;
};
thread_local SSelf t_stSelf = {};

// Whether all identifiers have been handed out once, so that some may still be in use.
bool g_bIdsAgain = false;

QvResult SetScheduling(pthread_attr_t& rAttributes, const SScheduling& rstScheduling)
{
    sched_param parameter = {};
    parameter.sched_priority = rstScheduling.nPolicy != SCHED_OTHER ? rstScheduling.nPriority : 0;
    QvResult res = QV_RES_OK;
    if (pthread_attr_setinheritsched(&rAttributes, PTHREAD_EXPLICIT_SCHED) != 0) res = QV_RES_THREAD_ATTRIBUTES;
    if (pthread_attr_setschedpolicy(&rAttributes, rstScheduling.nPolicy) != 0) res = QV_RES_THREAD_ATTRIBUTES;
    if (pthread_attr_setschedparam(&rAttributes, &parameter) != 0) res = QV_RES_THREAD_ATTRIBUTES;
    return res;
}
}  // namespace

// One run of a thread, as long as it lasts: also one that ends in pthread_exit(), and one without a record.
class CThread::CRun
{
public:
    explicit CRun(CThread* pThread) : m_pTsd(nullptr)
    {
        t_stSelf.pThread = pThread;
        m_pTsd = GetCurrentTsd();
        if (m_pTsd == nullptr) return;
        m_pTsd->pThread = pThread;
        std::atomic_ref(m_pTsd->uId).store(pThread->GetId(), std::memory_order_release);
        m_pTsd->bCounted = true;
    }
    ~CRun()
    {
        if (m_pTsd == nullptr) AdoptLateRecord();
        // A record that is stored under the key is freed by the system. One that is not stored there is freed here.
        if (m_pTsd == nullptr) EndWithoutRecord();
        else if (FindCurrentTsd() != m_pTsd) FreeTsdCallback(m_pTsd);
    }
    CRun(const CRun&) = delete;
    CRun& operator=(const CRun&) = delete;

private:
    // There was no memory for a record at first, but later, when the function asked for a value of its thread. The run
    // lasts until that record is freed, which is not before the values in it are destroyed.
    void AdoptLateRecord()
    {
        m_pTsd = FindCurrentTsd();
        if (m_pTsd == nullptr) return;
        m_pTsd->pThread = t_stSelf.pThread;
        m_pTsd->bCounted = true;
    }

    static void EndWithoutRecord()
    {
        CThread* const pThread = t_stSelf.pThread;
        t_stSelf.pThread = nullptr;
        if (pThread != nullptr) pThread->m_semRun.Signal(false);
        CountEnd();
    }

    STsd* m_pTsd;
};

CThread::CThread()
    : m_pfnThread(nullptr),
      m_uParameter(0),
      m_szName("(Not started)"),
      m_eState(eIDLE),
      m_uId(0),
      m_uExitCode(0),
      m_semRun(CBinarySemaphore::eFREE, true),
      m_ePriority(eNORMAL),
      m_hThread(0)
{
}

CThread::~CThread()
{
    if (Join(nullptr) == QV_RES_THREAD_JOIN_SELF)
    {
        t_stSelf.pThread = nullptr;
        STsd* const pTsd = FindCurrentTsd();
        if (pTsd != nullptr) pTsd->pThread = nullptr;
    }
    SetState(eDESTROYED);
    orvel_internal::KeepStoresTo(this);
}

QvResult CThread::StartThread(unsigned int (*pfn)(unsigned int), unsigned int uParameter, const char* pszName,
                              unsigned int /*uStackSize*/, EPriority ePriority)
{
    if (static_cast<unsigned int>(ePriority) >= g_uPRIORITY_COUNT) return QV_RES_INVALID_ARGUMENT;
    orvel_internal::RequireUp(ms_pmutex, "CThread");
    // The shut-down has waited for the last thread already, and destroys values: nobody would wait for another one.
    if (!g_bHasKey) return QV_RES_THREAD_CREATE_FAILED;
    if (Join(nullptr) == QV_RES_THREAD_JOIN_SELF) return QV_RES_THREAD_JOIN_SELF;
    m_semRun.Wait();  // no guard: it is taken until the run has ended
    JoinHandle();     // joins a run that another thread has started since and that has ended
    SetState(eSTARTING);
    std::atomic_ref(m_uId).store(NextThreadId(), std::memory_order_release);
    m_pfnThread = pfn;
    m_uParameter = uParameter;
    strncpy(m_szName, pszName != nullptr ? pszName : "CThread", sizeof(m_szName) - 1);
    m_szName[sizeof(m_szName) - 1] = '\0';
    m_ePriority = ePriority;
    CountStart();
    return Create();
}

// Once the thread is created it may destroy the object: nothing of it is touched after that. So the thread stores its
// handle itself.
QvResult CThread::Create()
{
    // The attribute object is not destroyed: it owns nothing.
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    const QvResult res = SetScheduling(attributes, g_astSCHEDULING[m_ePriority]);
    pthread_t hUnused;
    if (pthread_create(&hUnused, &attributes, ThreadEntry, this) == 0) return res;
    m_hThread = 0;
    SetState(eIDLE);
    m_semRun.Signal(false);
    CountEnd();
    return QV_RES_THREAD_CREATE_FAILED;
}

QvResult CThread::Join(unsigned int* puExitCode)
{
    GetCurrentId();  // numbers the caller, as every use of the module does
    if (t_stSelf.pThread == this)
    {
        Detach();
        return QV_RES_THREAD_JOIN_SELF;
    }
    if (GetState() != eIDLE)
    {
        const CBinarySemaphoreGuard run(&m_semRun);
        JoinHandle();
    }
    if (puExitCode != nullptr) *puExitCode = GetExitCode();
    return QV_RES_OK;
}

CThread* CThread::GetThreadSelf()
{
    return t_stSelf.pThread;
}

bool CThread::IsCurrentThread() const
{
    return GetId() == GetCurrentId();
}

bool CThread::operator==(const CThread& rOther) const
{
    return GetId() == rOther.GetId();
}

unsigned int CThread::GetId() const
{
    return std::atomic_ref(m_uId).load(std::memory_order_acquire);
}

unsigned int CThread::GetCurrentId()
{
    const STsd* const pTsd = FindCurrentTsd();
    return IsLikely(pTsd != nullptr && pTsd->uId != 0) ? pTsd->uId : NumberCaller();
}

// Apart from GetCurrentId(), which would save registers for it at every call.
unsigned int CThread::NumberCaller()
{
    STsd* const pTsd = GetCurrentTsd();
    if (pTsd == nullptr) return 0;
    if (pTsd->uId == 0) std::atomic_ref(pTsd->uId).store(NextThreadId(), std::memory_order_release);
    return pTsd->uId;
}

CThread::EState CThread::GetState() const
{
    return static_cast<EState>(std::atomic_ref(m_eState).load(std::memory_order_acquire));
}

unsigned int CThread::GetExitCode() const
{
    return std::atomic_ref(m_uExitCode).load(std::memory_order_acquire);
}

QvResult CThread::CreateKey(void (*pfnDestructor)(unsigned int), unsigned int& ruKey)
{
    orvel_internal::RequireUp(ms_pmutex, "CThread");
    STsdKey* const pKey = new (std::nothrow) STsdKey{nullptr, 0, pfnDestructor, 1};
    if (pKey == nullptr) return QV_RES_TSD_UNAVAILABLE;
    const CMutexGuard guard(ms_pmutex);
    pKey->uKey = NextKeyNumber();
    pKey->pNext = ms_pTsdKeyHead;
    ms_pTsdKeyHead = pKey;
    ruKey = pKey->uKey;
    return QV_RES_OK;
}

QvResult CThread::DeleteKey(unsigned int uKey)
{
    const CMutexGuard guard(ms_pmutex);
    STsdKey* pPrevious = nullptr;
    STsdKey* const pKey = FindTsdKey(uKey, &pPrevious);
    if (pKey == nullptr) return QV_RES_TSD_KEY_NOT_FOUND;
    pKey->uKey = 0;
    pKey->pfnDestructor = nullptr;
    if (--pKey->uRefCount == 0) DeleteTsdKey(pKey, pPrevious);
    return QV_RES_OK;
}

QvResult CThread::SetSpecific(unsigned int uKey, unsigned int uValue)
{
    STsd* const pTsd = GetCurrentTsd();
    if (pTsd == nullptr) return QV_RES_TSD_UNAVAILABLE;
    const CMutexGuard guard(ms_pmutex);
    STsdKey* pPrevious = nullptr;
    STsdKey* const pKey = FindTsdKey(uKey, &pPrevious);
    if (pKey == nullptr) return QV_RES_TSD_KEY_NOT_FOUND;
    STsdValue* const pValue = FindValue(pTsd, pKey);
    return pValue != nullptr ? ChangeValue(pTsd, pValue, uValue) : AddValue(pTsd, pKey, uValue);
}

QvResult CThread::GetSpecific(unsigned int uKey, unsigned int& ruValue)
{
    const STsd* const pTsd = GetCurrentTsd();
    if (pTsd == nullptr) return QV_RES_TSD_UNAVAILABLE;
    const CMutexGuard guard(ms_pmutex);
    STsdKey* pPrevious = nullptr;
    const STsdKey* const pKey = FindTsdKey(uKey, &pPrevious);
    if (pKey == nullptr) return QV_RES_TSD_KEY_NOT_FOUND;
    const STsdValue* const pValue = FindValue(pTsd, pKey);
    ruValue = pValue != nullptr ? pValue->uValue : 0;
    return QV_RES_OK;
}

QvResult CThread::InitializeCThread()
{
    g_bIdsAgain = false;
    ms_pTsdHead = nullptr;
    ms_pTsdKeyHead = nullptr;
    ms_uThreadId = 0;
    ms_pmutex = new (ms_auMutex) CMutex;
    ms_bTsdInitialized = false;
    ms_keyCounter = 0;
    ms_hTsdKey = static_cast<pthread_key_t>(QV_RES_TSD_KEY_NOT_FOUND);
    ms_uThreadCounter = 0;
    ms_psemFinalizeWaitThread = new (ms_auSemFinalizeWaitThread) CBinarySemaphore(CBinarySemaphore::eFREE, true);
    ms_bFinalizing = false;
    return InitializeTsd();
}

void CThread::FinalizeCThread()
{
    ms_bFinalizing = true;
    ms_psemFinalizeWaitThread->Wait();
    if (g_bHasKey) pthread_key_delete(ms_hTsdKey);
    g_bHasKey = false;
    ms_hTsdKey = 0;
    FinalizeTsd();
    ms_pmutex->~CMutex();
    ms_pmutex = nullptr;
    ms_psemFinalizeWaitThread->~CBinarySemaphore();
    ms_psemFinalizeWaitThread = nullptr;
}

void* CThread::ThreadEntry(void* pvThread)
{
    CThread* const pThread = static_cast<CThread*>(pvThread);
    const SScheduling& rstScheduling = g_astSCHEDULING[pThread->m_ePriority];
    if (rstScheduling.nPolicy == SCHED_OTHER)
    {
        // Of the process, not of the thread, and at every start, on purpose: StartThread() promises it, pinned by
        // CThreadCalls.SetOrdinarySchedulingExplicitlyNoStackSizeAndTheNiceValueOfTheProcess.
        setpriority(PRIO_PROCESS, static_cast<id_t>(getpid()), rstScheduling.nPriority);
    }
    pThread->m_hThread = pthread_self();
    pThread->SetState(eRUNNING);
    const CRun run(pThread);
    const unsigned int uExitCode = pThread->m_pfnThread != nullptr ? pThread->m_pfnThread(pThread->m_uParameter) : 0;
    if (t_stSelf.pThread != nullptr)  // else the function has destroyed the object
    {
        std::atomic_ref(pThread->m_uExitCode).store(uExitCode, std::memory_order_release);
        pThread->SetState(eRETURNED);
    }
    ThreadEntryEnd();
    return nullptr;
}

void CThread::ThreadEntryEnd()
{
}

CThread::STsd* CThread::GetCurrentTsd()
{
    STsd* const pTsd = FindCurrentTsd();
    return IsLikely(pTsd != nullptr || !g_bHasKey) ? pTsd : MakeTsd();
}

CThread::STsd* CThread::MakeTsd()
{
    STsd* const pTsd = new (std::nothrow) STsd{};
    if (pTsd == nullptr) return nullptr;
    pthread_setspecific(ms_hTsdKey, pTsd);
    const CMutexGuard guard(ms_pmutex);
    pTsd->pNext = ms_pTsdHead;
    ms_pTsdHead = pTsd;
    return pTsd;
}

CThread::STsdKey* CThread::FindTsdKey(unsigned int uKey, STsdKey** ppPrevious)
{
    if (uKey == 0) return nullptr;
    STsdKey* pPrevious = nullptr;
    for (STsdKey* pKey = ms_pTsdKeyHead; pKey != nullptr; pKey = pKey->pNext)
    {
        if (pKey->uKey == uKey)
        {
            *ppPrevious = pPrevious;
            return pKey;
        }
        pPrevious = pKey;
    }
    return nullptr;
}

void CThread::DeleteTsdKey(STsdKey* pKey, STsdKey* pPrevious)
{
    if (pPrevious != nullptr) pPrevious->pNext = pKey->pNext;
    else ms_pTsdKeyHead = pKey->pNext;
    delete pKey;
}

void CThread::FreeTsdCallback(STsd* pTsd)
{
    // For the destructors of values to see. Only then: a thread that sets a key while it ends has all of its keys gone
    // through once more.
    const bool bHasValues = pTsd->pValues != nullptr;
    STsd* const pSaved = bHasValues ? ExchangeCurrentTsd(pTsd) : nullptr;
    for (int nRound = 0; pTsd->pValues != nullptr; ++nRound)
    {
        DestroyValues(pTsd, nRound < PTHREAD_DESTRUCTOR_ITERATIONS);
    }
    const bool bCounted = pTsd->bCounted;
    {
        const CMutexGuard guard(ms_pmutex);
        STsd** ppLink = &ms_pTsdHead;
        while (*ppLink != pTsd) ppLink = &(*ppLink)->pNext;
        *ppLink = pTsd->pNext;
        if (bHasValues) ExchangeCurrentTsd(pSaved);
        if (pTsd->pThread != nullptr)
        {
            t_stSelf.pThread = nullptr;
            pTsd->pThread->m_semRun.Signal(false);
        }
    }
    delete pTsd;
    if (bCounted) CountEnd();
}

QvResult CThread::InitializeTsd()
{
    if (ms_bTsdInitialized) return QV_RES_OK;
    const CMutexGuard guard(ms_pmutex);
    if (ms_bTsdInitialized) return QV_RES_OK;
    const auto pfnFree = [](void* pvTsd) { FreeTsdCallback(static_cast<STsd*>(pvTsd)); };
    g_bHasKey = pthread_key_create(&ms_hTsdKey, pfnFree) == 0;
    ms_bTsdInitialized = true;
    return g_bHasKey ? QV_RES_OK : QV_RES_FAIL;
}

void CThread::FinalizeTsd()
{
    while (ms_pTsdHead != nullptr) FreeTsdCallback(ms_pTsdHead);
    while (ms_pTsdKeyHead != nullptr) DeleteKey(ms_pTsdKeyHead->uKey);
}

// Joins the run that has ended, unless it was detached or there is none. The caller holds m_semRun.
void CThread::JoinHandle()
{
    if (m_hThread != 0) pthread_join(m_hThread, nullptr);
    m_hThread = 0;
    SetState(eIDLE);
}

// On the thread itself: as it runs, nobody has m_semRun, and so nobody is joining it.
void CThread::Detach()
{
    if (m_hThread != 0) pthread_detach(m_hThread);
    m_hThread = 0;  // must not be joined any more
}

void CThread::SetState(EState eState)
{
    std::atomic_ref(m_eState).store(eState, std::memory_order_release);
}

unsigned int CThread::NextThreadId()
{
    const CMutexGuard guard(ms_pmutex);
    do {
        if (++ms_uThreadId == 0) g_bIdsAgain = true;
    } while (ms_uThreadId == 0 || (g_bIdsAgain && IsIdInUse(ms_uThreadId)));
    return ms_uThreadId;
}

// The caller holds ms_pmutex.
bool CThread::IsIdInUse(unsigned int uId)
{
    for (STsd* pTsd = ms_pTsdHead; pTsd != nullptr; pTsd = pTsd->pNext)
    {
        if (std::atomic_ref(pTsd->uId).load(std::memory_order_acquire) == uId) return true;
    }
    return false;
}

// Never 0, nor that of a key which is still there when the counter comes round. The caller holds ms_pmutex.
unsigned int CThread::NextKeyNumber()
{
    STsdKey* pPrevious = nullptr;
    do ++ms_keyCounter;
    while (ms_keyCounter == 0 || FindTsdKey(ms_keyCounter, &pPrevious) != nullptr);
    return ms_keyCounter;
}

void CThread::CountStart()
{
    const CMutexGuard guard(ms_pmutex);
    if (ms_uThreadCounter == 0) ms_psemFinalizeWaitThread->Wait();
    ++ms_uThreadCounter;
}

void CThread::CountEnd()
{
    bool bLast = false;
    {
        const CMutexGuard guard(ms_pmutex);
        bLast = --ms_uThreadCounter == 0;
    }
    // Not under the mutex: whoever passes the barrier destroys it.
    if (bLast) ms_psemFinalizeWaitThread->Signal(false);
}

// The calling thread's record, if it has one.
CThread::STsd* CThread::FindCurrentTsd()
{
    return static_cast<STsd*>(IsLikely(g_bHasKey) ? pthread_getspecific(ms_hTsdKey) : g_pvCurrentTsd);
}

// Makes pTsd the calling thread's record, and returns the one before.
CThread::STsd* CThread::ExchangeCurrentTsd(STsd* pTsd)
{
    STsd* const pPrevious = FindCurrentTsd();
    if (g_bHasKey) pthread_setspecific(ms_hTsdKey, pTsd);
    else g_pvCurrentTsd = pTsd;
    return pPrevious;
}

CThread::STsdValue* CThread::FindValue(const STsd* pTsd, const STsdKey* pKey)
{
    for (STsdValue* pValue = pTsd->pValues; pValue != nullptr; pValue = pValue->pNext)
    {
        const bool bOfDeletedKey = pValue == t_stSelf.pvDyingValue && pKey->uKey != t_stSelf.uDyingKey;
        if (pValue->pKey == pKey && !bOfDeletedKey) return pValue;
    }
    return nullptr;
}

QvResult CThread::ChangeValue(STsd* pTsd, STsdValue* pValue, unsigned int uValue)
{
    pValue->uValue = uValue;
    // A value whose destructor runs goes when that is done.
    if (uValue != 0 || pValue == t_stSelf.pvDyingValue) return QV_RES_OK;
    UnlinkValue(pTsd, pValue);
    DropKeyReference(pValue->pKey);
    delete pValue;
    return QV_RES_OK;
}

QvResult CThread::AddValue(STsd* pTsd, STsdKey* pKey, unsigned int uValue)
{
    STsdValue* const pValue = new (std::nothrow) STsdValue{pTsd->pValues, pKey, uValue};
    if (pValue == nullptr) return QV_RES_TSD_UNAVAILABLE;
    ++pKey->uRefCount;
    pTsd->pValues = pValue;
    return QV_RES_OK;
}

void CThread::UnlinkValue(STsd* pTsd, STsdValue* pValue)
{
    STsdValue** ppLink = &pTsd->pValues;
    while (*ppLink != pValue) ppLink = &(*ppLink)->pNext;
    *ppLink = pValue->pNext;
}

// Destroys the values that are there now. Destructors may add others, in front of them, and take others away.
void CThread::DestroyValues(STsd* pTsd, bool bCallDestructors)
{
    for (STsdValue* pValue = pTsd->pValues; pValue != nullptr;)
    {
        DestroyValue(pValue, bCallDestructors);
        STsdValue* const pNext = pValue->pNext;
        UnlinkValue(pTsd, pValue);
        delete pValue;
        pValue = pNext;
    }
}

void CThread::DestroyValue(STsdValue* pValue, bool bCallDestructor)
{
    void (*pfnDestructor)(unsigned int) = nullptr;
    SSelf& rstSelf = t_stSelf;
    {
        const CMutexGuard guard(ms_pmutex);
        if (bCallDestructor) pfnDestructor = pValue->pKey->pfnDestructor;
        rstSelf.uDyingKey = pValue->pKey->uKey;
        DropKeyReference(pValue->pKey);
    }
    if (pfnDestructor == nullptr) return;
    rstSelf.pvDyingValue = pValue;
    pfnDestructor(pValue->uValue);
    rstSelf.pvDyingValue = nullptr;
}

// The caller holds ms_pmutex.
void CThread::DropKeyReference(STsdKey* pKey)
{
    if (--pKey->uRefCount != 0) return;
    // Not by its number: a deleted key has none.
    STsdKey* pPrevious = nullptr;
    for (STsdKey* p = ms_pTsdKeyHead; p != pKey; p = p->pNext) pPrevious = p;
    DeleteTsdKey(pKey, pPrevious);
}

QvResult InitializeCThread()
{
    return CThread::InitializeCThread();
}

void FinalizeCThread()
{
    CThread::FinalizeCThread();
}
