#ifndef TESTS_ABI_OLD_MUTEX_H
#define TESTS_ABI_OLD_MUTEX_H
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <thread>

class CMutex
{
public:
    CMutex();
    virtual ~CMutex();
    void Lock() const;
    void Unlock() const;

    mutable pthread_mutex_t m_mutex;
};

/// Whether another thread could take the mutex; gives it back.
inline bool IsFree(const CMutex& rMutex)
{
    bool bFree = false;
    std::thread(
        [&]
        {
            const int nError = pthread_mutex_trylock(&rMutex.m_mutex);
            bFree = nError == 0;
            if (bFree) pthread_mutex_unlock(&rMutex.m_mutex);
            else EXPECT_EQ(EBUSY, nError);
        })
        .join();
    return bFree;
}

#endif
