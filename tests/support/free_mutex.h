#ifndef TESTS_SUPPORT_FREE_MUTEX_H
#define TESTS_SUPPORT_FREE_MUTEX_H
#include <thread>

#include "framework/kernel/mutex.h"

/// Whether another thread could have the lock right now.
inline bool IsFreeForOthers(const CMutex& rMutex)
{
    bool bFree = false;
    std::thread other(
        [&]
        {
            bFree = rMutex.TryLock();
            if (bFree) rMutex.Unlock();
        });
    other.join();
    return bFree;
}

#endif
