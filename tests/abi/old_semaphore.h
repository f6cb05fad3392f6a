#ifndef TESTS_ABI_OLD_SEMAPHORE_H
#define TESTS_ABI_OLD_SEMAPHORE_H
#include <pthread.h>
#include <semaphore.h>

#include "tests/abi/exports.h"

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

/// Whether it is free (1) or taken (0), and otherwise a binary semaphore that is made for timed waits.
inline void ExpectBinary(unsigned int uCount, const CBinarySemaphore& rSemaphore)
{
    EXPECT_EQ("CSemaphore::~CSemaphore()", FunctionInSlot(&rSemaphore, 0));
    EXPECT_EQ(uCount, rSemaphore.m_sem.m_uCount);
    EXPECT_EQ(1u, rSemaphore.m_sem.m_uMaxCount);
    EXPECT_TRUE(rSemaphore.m_sem.m_bTimedWait);
}

#endif
