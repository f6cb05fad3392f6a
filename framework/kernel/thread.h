#ifndef FRAMEWORK_KERNEL_THREAD_H
#define FRAMEWORK_KERNEL_THREAD_H
#include <pthread.h>

#include "framework/kernel/export.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "framework/kernel/semaphore.h"

/// Runs a function on a thread of its own, numbers threads, and keeps values per thread:
/// ```
/// unsigned int Copy(unsigned int uDisk) { ... return uErrors; }
///
/// CThread thread;
/// if (thread.StartThread(Copy, uDisk, "copy", 0, CThread::eNORMAL) < 0) ...
/// unsigned int uErrors = 0;
/// thread.Join(&uErrors);
///
///        StartThread()           function returns      Join()
/// idle ---------------> running -----------------> returned ------> idle     StartThread() again joins by itself
///        (starting)
/// ```
///
/// - **Ownership:** The object must live until the thread has ended: its destructor joins. Only the thread itself may
///   destroy it earlier ("delete this"): then the thread runs on, detached.
/// - **Threads:** Objects: start, join and destroy one from a thread at a time; the other members from any thread, at
///   any time. Statics: any thread, those of the application included.
/// - **Lifetime:** Between the start-up and the shut-down of the framework; StartThread() and CreateKey() outside it
///   end the process. A constructor, Join(), the questions and a destructor of an object whose thread has ended may run
///   outside it; identifiers are 0 there, and no key is known.
/// - **Shut-down:** Waits until every thread started here has ended. So it waits for ever on a thread that was started
///   here, and in a child of fork() whose parent had such threads running: end such a child with _exit() or an exec.
/// - **Parameter:** 32 bits, on every system: an index or a handle, not a pointer. An object that wants a thread of its
///   own derives from CAliveObj instead.
/// - **Source:** POSIX threads.
class QV_EXPORT CThread
{
public:
    /// All four mean the same: the system's ordinary time-sharing, at its ordinary priority.
    enum EPriority : int
    {
        eLOWEST = 0,
        eLOW = 1,
        eNORMAL = 2,
        eHIGH = 3
    };

    /// What became of a start.
    enum EState : unsigned int
    {
        /// Never started, or joined.
        eIDLE = 0,
        /// Started, but not on its thread yet.
        eSTARTING = 1,
        /// In its function.
        eRUNNING = 2,
        /// The function has returned.
        eRETURNED = 3,
        /// The object is in its destructor.
        eDESTROYED = 4
    };

    /// Idle: without a thread until StartThread().
    CThread();
    /// Joins. In the object's own thread it detaches instead: nothing touches the object when the function returns.
    virtual ~CThread();
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /// Runs pfn(uParameter), or nothing when pfn is null, on a new thread. Joins an earlier run first, and so may
    /// block. The name (null: "CThread") is cut to 31 characters. uStackSize is ignored: every thread has the system's
    /// default. Each start sets the nice value of the whole process to 0: set it again afterwards where it matters.
    ///
    /// - `QV_RES_OK`: the thread runs.
    /// - `QV_RES_THREAD_ATTRIBUTES`: the thread runs, although a scheduling attribute could not be set: join it as
    ///   well.
    /// - `QV_RES_THREAD_CREATE_FAILED`: the system refused the thread; or the shut-down of the framework has waited for
    ///   the last thread already, and the caller is the destructor of a value.
    /// - `QV_RES_THREAD_JOIN_SELF`: called from the object's own thread, which is detached by that and runs on.
    /// - `QV_RES_INVALID_ARGUMENT`: ePriority is none of the four.
    [[nodiscard]] QvResult StartThread(unsigned int (*pfn)(unsigned int), unsigned int uParameter, const char* pszName,
                                       unsigned int uStackSize, EPriority ePriority);

    /// Waits until the thread has ended; *puExitCode, when given, becomes what its function returned (0 when there was
    /// no run yet). At once when there is nothing to join.
    ///
    /// - `QV_RES_OK`: there is no run any more.
    /// - `QV_RES_THREAD_JOIN_SELF`: called from the thread itself, which is detached instead (another thread that is
    ///   joining it waits for the end of its run only); *puExitCode stays as it was.
    QvResult Join(unsigned int* puExitCode);

    /// The object whose thread is calling; null on threads that were not started here.
    static CThread* GetThreadSelf();

    /// Whether the calling thread is this one: by identifiers. (Without memory for a caller's record its identifier is
    /// 0, like that of an object never started.)
    bool IsCurrentThread() const;
    /// Whether the identifiers are equal: so are those of all objects never started.
    bool operator==(const CThread& rOther) const;
    bool operator!=(const CThread& rOther) const { return !(*this == rOther); }

    /// A new number at each start, from 1; 0 before the first. After 2^32 numbers those in use are left out.
    unsigned int GetId() const;
    /// The calling thread's number; threads that were not started here get one from the same sequence when they first
    /// ask, join or start. 0 when there is no memory for its record.
    static unsigned int GetCurrentId();

    /// How far the last start got.
    EState GetState() const;
    /// What the function of the last run returned. Meaningful once GetState() is eRETURNED, or after Join().
    unsigned int GetExitCode() const;
    /// The name given to the last start, "(Not started)" before the first. Not while another thread starts this one.
    const char* GetName() const { return m_szName; }

    /// Values per thread: a key names one unsigned int in every thread, 0 at first.
    ///
    /// When a thread ends, pfnDestructor (may be null) is called on it with each of its values that was set, the last
    /// key set first. It may use keys: its own still has the value, and what it sets there is lost; values set for
    /// other keys are destroyed in their turn, at most PTHREAD_DESTRUCTOR_ITERATIONS times round, and then dropped.
    /// Values of threads that still live when the framework shuts down are destroyed by the thread that shuts it down.
    ///
    /// - `QV_RES_OK`: ruKey is the new key, never 0.
    /// - `QV_RES_TSD_UNAVAILABLE`: no memory.
    [[nodiscard]] static QvResult CreateKey(void (*pfnDestructor)(unsigned int), unsigned int& ruKey);

    /// The key is unknown from now on, and its destructor is not called for values that are still set.
    ///
    /// - `QV_RES_TSD_KEY_NOT_FOUND`: there is no such key.
    static QvResult DeleteKey(unsigned int uKey);

    /// Sets the calling thread's value. 0 takes a value away, without its destructor; but 0 for a key that has no value
    /// yet stores a 0 whose destructor will be called: to avoid that, ask GetSpecific() first.
    ///
    /// - `QV_RES_TSD_UNAVAILABLE`: no memory.
    /// - `QV_RES_TSD_KEY_NOT_FOUND`: there is no such key.
    [[nodiscard]] static QvResult SetSpecific(unsigned int uKey, unsigned int uValue);

    /// The calling thread's value, 0 when it has none. ruValue stays as it was on a failure; the codes are those of
    /// SetSpecific().
    [[nodiscard]] static QvResult GetSpecific(unsigned int uKey, unsigned int& ruValue);

    /// Module start-up and shut-down; shut-down waits for all threads started here, see the class.
    ///
    /// - `QV_RES_FAIL`: the system has no key for thread-specific data left.
    static QvResult InitializeCThread();
    static void FinalizeCThread();

protected:
    struct STsdKey
    {
        STsdKey* pNext;
        /// 0 once deleted.
        unsigned int uKey;
        void (*pfnDestructor)(unsigned int);
        /// 1 while the key is not deleted, and 1 for each value.
        unsigned int uRefCount;
    };

    struct STsdValue
    {
        STsdValue* pNext;
        STsdKey* pKey;
        unsigned int uValue;
    };

    /// One for each thread of the process that has used the module.
    struct STsd
    {
        STsd* pNext;
        /// Null on threads that were not started here, and once the object was destroyed by its own thread.
        CThread* pThread;
        unsigned int uId;
        /// Whether the thread is one of ms_uThreadCounter.
        bool bCounted;
        STsdValue* pValues;
    };

    static void* ThreadEntry(void* pvThread);
    /// Does nothing: part of the binary interface.
    static void ThreadEntryEnd();
    /// The calling thread's record, made by the first call; null without memory.
    static STsd* GetCurrentTsd();
    /// The key of that number, or null. *ppPrevious becomes the key before it in the list, null for the first.
    static STsdKey* FindTsdKey(unsigned int uKey, STsdKey** ppPrevious);
    static void DeleteTsdKey(STsdKey* pKey, STsdKey* pPrevious);
    static void FreeTsdCallback(STsd* pTsd);
    static QvResult InitializeTsd();
    static void FinalizeTsd();

    alignas(CMutex) static unsigned char ms_auMutex[sizeof(CMutex)];
    /// Guards the identifiers, the counters, both lists and all reference counts; null while the module is finalised.
    static CMutex* ms_pmutex;
    static unsigned int ms_uThreadId;
    /// Threads started and not yet ended.
    static unsigned int ms_uThreadCounter;
    alignas(CBinarySemaphore) static unsigned char ms_auSemFinalizeWaitThread[sizeof(CBinarySemaphore)];
    /// The shut-down barrier: taken while ms_uThreadCounter is above 0.
    static CBinarySemaphore* ms_psemFinalizeWaitThread;
    static bool ms_bFinalizing;
    static pthread_key_t ms_hTsdKey;
    static bool ms_bTsdInitialized;
    static unsigned int ms_keyCounter;
    static STsd* ms_pTsdHead;
    static STsdKey* ms_pTsdKeyHead;

private:
    class QV_HIDDEN CRun;

    QV_HIDDEN QvResult Create();
    QV_HIDDEN void JoinHandle();
    QV_HIDDEN void Detach();
    QV_HIDDEN void SetState(EState eState);
    [[gnu::noinline]] QV_HIDDEN static unsigned int NumberCaller();
    [[gnu::noinline]] QV_HIDDEN static STsd* MakeTsd();
    QV_HIDDEN static unsigned int NextThreadId();
    QV_HIDDEN static bool IsIdInUse(unsigned int uId);
    QV_HIDDEN static unsigned int NextKeyNumber();
    QV_HIDDEN static void CountStart();
    QV_HIDDEN static void CountEnd();
    QV_HIDDEN static STsd* FindCurrentTsd();
    QV_HIDDEN static STsd* ExchangeCurrentTsd(STsd* pTsd);
    QV_HIDDEN static STsdValue* FindValue(const STsd* pTsd, const STsdKey* pKey);
    QV_HIDDEN static QvResult ChangeValue(STsd* pTsd, STsdValue* pValue, unsigned int uValue);
    QV_HIDDEN static QvResult AddValue(STsd* pTsd, STsdKey* pKey, unsigned int uValue);
    QV_HIDDEN static void UnlinkValue(STsd* pTsd, STsdValue* pValue);
    QV_HIDDEN static void DestroyValues(STsd* pTsd, bool bCallDestructors);
    QV_HIDDEN static void DestroyValue(STsdValue* pValue, bool bCallDestructor);
    QV_HIDDEN static void DropKeyReference(STsdKey* pKey);

    unsigned int (*m_pfnThread)(unsigned int);
    unsigned int m_uParameter;
    char m_szName[32];
    /// These three are atomic.
    mutable unsigned int m_eState;
    mutable unsigned int m_uId;
    mutable unsigned int m_uExitCode;
    /// Taken from a start until the record of its thread is freed.
    CBinarySemaphore m_semRun;
    EPriority m_ePriority;
    /// Touched by the run itself, and by whoever holds m_semRun.
    pthread_t m_hThread;
};

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CThread.
QV_EXPORT QvResult InitializeCThread();
QV_EXPORT void FinalizeCThread();

#endif
