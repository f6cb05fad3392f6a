#ifndef TESTS_ABI_OLD_THREAD_H
#define TESTS_ABI_OLD_THREAD_H
#include <pthread.h>

#include "tests/abi/old_mutex.h"
#include "tests/abi/old_result.h"
#include "tests/abi/old_semaphore.h"

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
    QvResult StartThread(unsigned int (*pfnThread)(unsigned int), unsigned int uParameter, const char* pszName,
                         unsigned int uStackSize, EPriority ePriority);
    QvResult Join(unsigned int* puExitCode);
    static CThread* GetThreadSelf();
    bool IsCurrentThread() const;
    bool operator==(const CThread& rOther) const;
    unsigned int GetId() const;
    static unsigned int GetCurrentId();
    static QvResult CreateKey(void (*pfnDestructor)(unsigned int), unsigned int& ruKey);
    static QvResult DeleteKey(unsigned int uKey);
    static QvResult SetSpecific(unsigned int uKey, unsigned int uValue);
    static QvResult GetSpecific(unsigned int uKey, unsigned int& ruValue);
    static QvResult InitializeCThread();
    static void FinalizeCThread();

    static void* ThreadEntry(void* pvThread);
    static void ThreadEntryEnd();
    static STsd* GetCurrentTsd();
    static STsdKey* FindTsdKey(unsigned int uKey, STsdKey** ppPrevious);
    static void DeleteTsdKey(STsdKey* pKey, STsdKey* pPrevious);
    static void FreeTsdCallback(STsd* pTsd);
    static QvResult InitializeTsd();
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
