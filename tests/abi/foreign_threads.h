#ifndef TESTS_ABI_FOREIGN_THREADS_H
#define TESTS_ABI_FOREIGN_THREADS_H
#include <pthread.h>
#include <semaphore.h>

// The locks and the thread, as a program that was compiled long ago knows them.

class CMutex
{
public:
    CMutex();
    virtual ~CMutex();
    void Lock() const;
    void Unlock() const;

    mutable pthread_mutex_t m_mutex;
};

class CSemaphore
{
public:
    CSemaphore(unsigned int uInitialCount, unsigned int uMaxCount, bool bTimedWait);
    virtual ~CSemaphore();
    bool Wait() const;
    bool Wait(unsigned long uTimeoutMs) const;
    void Signal(bool bYield) const;

    mutable unsigned int m_uCount;
    unsigned int m_uMaxCount;
    mutable pthread_mutex_t m_mutex;
    mutable pthread_cond_t m_cond;
    mutable sem_t m_sem;
    bool m_bTimedWait;
};

class CBinarySemaphore
{
public:
    enum EInitValue
    {
        eTAKEN,
        eFREE
    };

    CBinarySemaphore(EInitValue eInitValue, bool bTimedWait);
    ~CBinarySemaphore();
    bool Wait() const;
    bool Wait(unsigned long uTimeoutMs) const;
    void Signal(bool bYield) const;

    CSemaphore m_sem;
};

class CThread
{
public:
    enum EPriority
    {
        ePRIORITY_0,
        ePRIORITY_1,
        ePRIORITY_2,
        ePRIORITY_3
    };
    enum EState : unsigned int
    {
        eIDLE,
        eSTARTING,
        eRUNNING,
        eRETURNED,
        eDESTROYED
    };
    struct STsdKey
    {
        STsdKey* pNext;
        unsigned int uKey;
        void (*pfnDestructor)(unsigned int);
        unsigned int uReferences;
    };
    struct STsdValue
    {
        STsdValue* pNext;
        STsdKey* pKey;
        unsigned int uValue;
    };
    struct STsd
    {
        STsd* pNext;
        CThread* pThread;
        unsigned int uId;
        bool bCounted;
        STsdValue* pValues;
    };

    CThread();
    virtual ~CThread();
    int StartThread(unsigned int (*pfnThread)(unsigned int), unsigned int uParameter, const char* pszName,
                    unsigned int uStackSize, EPriority ePriority);
    int Join(unsigned int* puExitCode);
    static CThread* GetThreadSelf();
    bool IsCurrentThread() const;
    bool operator==(const CThread& rOther) const;
    unsigned int GetId() const;
    static unsigned int GetCurrentId();
    static int CreateKey(void (*pfnDestructor)(unsigned int), unsigned int& ruKey);
    static int DeleteKey(unsigned int uKey);
    static int SetSpecific(unsigned int uKey, unsigned int uValue);
    static int GetSpecific(unsigned int uKey, unsigned int& ruValue);
    static int InitializeCThread();
    static void FinalizeCThread();

    static void* ThreadEntry(void* pvThread);
    static void ThreadEntryEnd();
    static STsd* GetCurrentTsd();
    static STsdKey* FindTsdKey(unsigned int uKey, STsdKey** ppPrevious);
    static void DeleteTsdKey(STsdKey* pKey, STsdKey* pPrevious);
    static void FreeTsdCallback(STsd* pTsd);
    static int InitializeTsd();
    static void FinalizeTsd();

    static CMutex* ms_pmutex;
    static unsigned char ms_auMutex[sizeof(CMutex)];
    static unsigned int ms_uThreadId;
    static unsigned int ms_uThreadCounter;
    static CBinarySemaphore* ms_psemFinalizeWaitThread;
    static unsigned char ms_auSemFinalizeWaitThread[sizeof(CBinarySemaphore)];
    static bool ms_bFinalizing;
    static pthread_key_t ms_hTsdKey;
    static bool ms_bTsdInitialized;
    static unsigned int ms_keyCounter;
    static STsd* ms_pTsdHead;
    static STsdKey* ms_pTsdKeyHead;

    unsigned int (*m_pfnThread)(unsigned int);
    unsigned int m_uParameter;
    char m_szName[32];
    unsigned int m_eState;
    unsigned int m_uId;
    unsigned int m_uExitCode;
    CBinarySemaphore m_semRun;
    EPriority m_ePriority;
    pthread_t m_hThread;
};

#endif
