#ifndef TESTS_SUPPORT_REAL_MUTEX_H
#define TESTS_SUPPORT_REAL_MUTEX_H
#include <dlfcn.h>
#include <pthread.h>

extern "C"
{
    // Sanitizers must see what is locked: where there is one, it offers its own functions under these names.
    int __interceptor_pthread_mutex_lock(pthread_mutex_t*) __attribute__((weak));
    int __interceptor_pthread_mutex_unlock(pthread_mutex_t*) __attribute__((weak));
    int __interceptor_pthread_mutex_destroy(pthread_mutex_t*) __attribute__((weak));
}

/// What a test calls that stands in for pthread_mutex_lock(), pthread_mutex_unlock() or pthread_mutex_destroy().
inline int RealMutexLock(pthread_mutex_t* pMutex)
{
    using PFNLock = int (*)(pthread_mutex_t*);
    if (__interceptor_pthread_mutex_lock != nullptr) return __interceptor_pthread_mutex_lock(pMutex);
    static const auto s_pfnReal = reinterpret_cast<PFNLock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    return s_pfnReal(pMutex);
}
inline int RealMutexUnlock(pthread_mutex_t* pMutex)
{
    using PFNUnlock = int (*)(pthread_mutex_t*);
    if (__interceptor_pthread_mutex_unlock != nullptr) return __interceptor_pthread_mutex_unlock(pMutex);
    static const auto s_pfnReal = reinterpret_cast<PFNUnlock>(dlsym(RTLD_NEXT, "pthread_mutex_unlock"));
    return s_pfnReal(pMutex);
}
inline int RealMutexDestroy(pthread_mutex_t* pMutex)
{
    using PFNDestroy = int (*)(pthread_mutex_t*);
    if (__interceptor_pthread_mutex_destroy != nullptr) return __interceptor_pthread_mutex_destroy(pMutex);
    static const auto s_pfnReal = reinterpret_cast<PFNDestroy>(dlsym(RTLD_NEXT, "pthread_mutex_destroy"));
    return s_pfnReal(pMutex);
}

#endif
