#ifndef TESTS_ABI_OLD_TIMER_H
#define TESTS_ABI_OLD_TIMER_H
#include "tests/abi/old_mutex.h"
#include "tests/abi/old_result.h"
#include "tests/abi/old_semaphore.h"

class CTimer
{
public:
    CTimer();
    virtual ~CTimer();
    static unsigned long GetSystemUpTimeMs();
    bool StartCyclicWait(unsigned long uPeriodMs);
    bool CyclicWait(bool bResynchronize);
    void StopCyclicWait();
    static QvResult InitializeCTimer();
    static void FinalizeCTimer();

    static unsigned long ms_uSysUpTimeTick;
    static unsigned int ms_uLastSysUpTimeTick;
    static unsigned int ms_uTickPerSec;
    static CMutex* ms_pmutexThreadingProtection;
    static unsigned char ms_aumutexThreadingProtection[sizeof(CMutex)];
    static CBinarySemaphore* ms_psemWait;
    static unsigned char ms_ausemWait[sizeof(CBinarySemaphore)];

    unsigned long m_uNextMs;
    unsigned long m_uPeriodMs;
    CBinarySemaphore m_semStop;
};

#endif
