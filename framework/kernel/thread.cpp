#include "framework/kernel/thread.h"

#include <limits.h>
#include <sched.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <new>

#include "framework/kernel/unused_parameter.h"

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
struct SScheduling
{
    int nPolicy;
    int nPriority;
};

// Indexed by CThread::EPriority.
constexpr SScheduling g_astScheduling[] = {{SCHED_OTHER, 0}, {SCHED_OTHER, 0}, {SCHED_OTHER, 0}, {SCHED_OTHER, 0}};
constexpr unsigned int g_uPriorityCount = sizeof(g_astScheduling) / sizeof(g_astScheduling[0]);

// Whether ms_hTsdKey is a key of ours: every number may be one of somebody else's, 0 as well.
bool g_bHasKey = false;
// What stands in for the key at shut-down, when it is gone and the records are not.
void* g_pvCurrentTsd = nullptr;

// What a thread has to know about itself even where there is no memory for its record.
struct SSelf
{
    CThread* pThread;
    // The value whose destructor is running, and the number of its key. It is still found, but has given its
    // reference to the key back: the key may be deleted meanwhile, and another one made in its place.
    const void* pvDyingValue;
    unsigned int uDyingKey;
    // The last thread that this one has started: only its starter has its handle before it runs.
    const CThread* pStarted;
    unsigned int uStartedId;
    unsigned int uStartedUp;
    pthread_t hStarted;
};
thread_local SSelf t_stSelf = {};

// How often the module has come up: identifiers begin anew each time.
unsigned int g_uTimesUp = 0;

// With acquire and release order: a thread that sees a state or a claim sees what was stored before it.
unsigned int Load(const unsigned int& ruField)
{
    return std::atomic_ref<unsigned int>(const_cast<unsigned int&>(ruField)).load(std::memory_order_acquire);
}

void Store(unsigned int& ruField, unsigned int uValue)
{
    std::atomic_ref<unsigned int>(ruField).store(uValue, std::memory_order_release);
}

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
        m_pTsd->uId = pThread->GetId();
        m_pTsd->bCounted = true;
    }
    ~CRun()
    {
        // The system frees what it holds under the key. What it does not hold has nobody else to see to its end.
        if (m_pTsd == nullptr) EndWithoutRecord();
        else if (PeekTsd() != m_pTsd) FreeTsdCallback(m_pTsd);
    }
    CRun(const CRun&) = delete;
    CRun& operator=(const CRun&) = delete;

private:
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
      m_uReaping(0),
      m_hThread(0)
{
}

CThread::~CThread()
{
    if (Join(nullptr) == QV_RES_THREAD_JOIN_SELF)
    {
        t_stSelf.pThread = nullptr;
        STsd* const pTsd = PeekTsd();
        if (pTsd != nullptr) pTsd->pThread = nullptr;
    }
    SetState(eDESTROYED);
}

QvResult CThread::StartThread(unsigned int (*pfn)(unsigned int), unsigned int uParameter, const char* pszName,
                              unsigned int uStackSize, EPriority ePriority)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(uStackSize);
    if (static_cast<unsigned int>(ePriority) >= g_uPriorityCount) return QV_RES_INVALID_ARGUMENT;
    if (Join(nullptr) == QV_RES_THREAD_JOIN_SELF) return QV_RES_THREAD_JOIN_SELF;
    m_semRun.Wait();
    while (GetState() != eIDLE)  // somebody else has started a run since
    {
        m_semRun.Signal(true);
        Join(nullptr);
        m_semRun.Wait();
    }
    SetState(eSTARTING);
    Store(m_uId, NextThreadId());
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
    // The attribute object stays undestroyed: it owns nothing.
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    const QvResult res = SetScheduling(attributes, g_astScheduling[m_ePriority]);
    const unsigned int uId = GetId();
    pthread_t hThread;
    if (pthread_create(&hThread, &attributes, ThreadEntry, this) == 0)
    {
        t_stSelf.pStarted = this;
        t_stSelf.uStartedId = uId;
        t_stSelf.uStartedUp = g_uTimesUp;
        t_stSelf.hStarted = hThread;
        return res;
    }
    SetState(eIDLE);
    m_hThread = 0;
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
    while (GetState() != eIDLE && !Reap())
    {
        // Another thread is joining or detaching: wait until the run is over, let that thread finish, and look again.
        m_semRun.Wait();
        m_semRun.Signal(true);
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
    return Load(m_uId);
}

unsigned int CThread::GetCurrentId()
{
    STsd* const pTsd = GetCurrentTsd();
    if (pTsd == nullptr) return 0;
    if (pTsd->uId == 0) pTsd->uId = NextThreadId();
    return pTsd->uId;
}

CThread::EState CThread::GetState() const
{
    return static_cast<EState>(Load(m_eState));
}

unsigned int CThread::GetExitCode() const
{
    return Load(m_uExitCode);
}

QvResult CThread::CreateKey(void (*pfnDestructor)(unsigned int), unsigned int& ruKey)
{
    STsdKey* const pKey = new (std::nothrow) STsdKey{nullptr, 0, pfnDestructor, 1};
    if (pKey == nullptr) return QV_RES_TSD_UNAVAILABLE;
    const CMutexGuard guard(ms_pmutex);
    pKey->uKey = ++ms_keyCounter;
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
    ++g_uTimesUp;
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
    const SScheduling& rstScheduling = g_astScheduling[pThread->m_ePriority];
    if (rstScheduling.nPolicy == SCHED_OTHER)
    {
        // Of the process, not of the thread, and at every start, on purpose: StartThread() promises it.
        setpriority(PRIO_PROCESS, static_cast<id_t>(getpid()), rstScheduling.nPriority);
    }
    pThread->m_hThread = pthread_self();
    pThread->SetState(eRUNNING);
    const CRun run(pThread);
    const unsigned int uExitCode = pThread->m_pfnThread != nullptr ? pThread->m_pfnThread(pThread->m_uParameter) : 0;
    if (t_stSelf.pThread != nullptr)  // else the function has destroyed the object
    {
        Store(pThread->m_uExitCode, uExitCode);
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
    STsd* pTsd = PeekTsd();
    if (pTsd != nullptr || !g_bHasKey) return pTsd;
    pTsd = new (std::nothrow) STsd{};
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
    STsd* const pSaved = bHasValues ? SwapCurrentTsd(pTsd) : nullptr;
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
        if (bHasValues) SwapCurrentTsd(pSaved);
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

// Waits until the run has ended and joins it, unless it was detached. False when another thread is doing that.
bool CThread::Reap()
{
    if (!ClaimReaping()) return false;
    if (GetState() == eIDLE)
    {
        Store(m_uReaping, 0);
        return true;
    }
    // First the thread, then its record, which is gone by then: in the other order the caller would be woken twice.
    const pthread_t hKnown = KnownHandle();
    if (hKnown != 0) pthread_join(hKnown, nullptr);
    m_semRun.Wait();
    if (hKnown == 0 && m_hThread != 0) pthread_join(m_hThread, nullptr);
    m_hThread = 0;
    SetState(eIDLE);
    Store(m_uReaping, 0);
    m_semRun.Signal(false);
    return true;
}

// Does nothing when another thread is joining or detaching already.
void CThread::Detach()
{
    if (!ClaimReaping()) return;
    if (m_hThread != 0) pthread_detach(m_hThread);
    m_hThread = 0;  // must not be joined any more
    Store(m_uReaping, 0);
}

// One thread at a time joins or detaches.
bool CThread::ClaimReaping()
{
    unsigned int uNobody = 0;
    return std::atomic_ref<unsigned int>(m_uReaping).compare_exchange_strong(uNobody, 1);
}

// The handle of the run, or 0 if it was detached or the calling thread cannot know it yet. After ClaimReaping().
pthread_t CThread::KnownHandle() const
{
    if (GetState() != eSTARTING) return m_hThread;
    const bool bStartedHere =
        t_stSelf.pStarted == this && t_stSelf.uStartedId == GetId() && t_stSelf.uStartedUp == g_uTimesUp;
    return bStartedHere ? t_stSelf.hStarted : 0;
}

void CThread::SetState(EState eState)
{
    Store(m_eState, eState);
}

unsigned int CThread::NextThreadId()
{
    const CMutexGuard guard(ms_pmutex);
    return ++ms_uThreadId;
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
CThread::STsd* CThread::PeekTsd()
{
    return static_cast<STsd*>(g_bHasKey ? pthread_getspecific(ms_hTsdKey) : g_pvCurrentTsd);
}

// Makes another record the calling thread's; returns the one that was.
CThread::STsd* CThread::SwapCurrentTsd(STsd* pTsd)
{
    STsd* const pPrevious = PeekTsd();
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
