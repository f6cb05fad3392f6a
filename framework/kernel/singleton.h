#ifndef FRAMEWORK_KERNEL_SINGLETON_H
#define FRAMEWORK_KERNEL_SINGLETON_H
#include <new>

#include "framework/kernel/export.h"
#include "framework/kernel/internal/lifetime.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"

/// What all singletons share: the one mutex under which they are created.
class QV_EXPORT CSingletonBase
{
public:
    /// Module start-up and shut-down: construct and destroy the mutex in place. Start-up returns QV_RES_OK.
    static QvResult InitializeCSingletonBase();
    static void FinalizeCSingletonBase();

    /// Where the mutex is constructed.
    alignas(CMutex) static unsigned char ms_auMutex[sizeof(CMutex)];
    /// The mutex; null while the module is finalised.
    static CMutex* ms_pmutex;
};

/// First base of a class T of which a process has one object, made on first use:
/// ```
/// class CRegistry : public CSingleton<CRegistry> { ... };
/// CRegistry::Instance()->Add(...);
/// ```
///
/// - **Ownership:** The object lives until DestroyInstance(), which its module's shut-down calls; nothing destroys it
///   at exit.
/// - **Threads:** Instance() from any thread. DestroyInstance() takes no lock: only when no other thread runs.
/// - **Lifetime:** Between the start-up and the shut-down of the framework; Instance() outside it ends the process.
/// - **Failure:** What operator new or T's constructor throws passes through. A constructor that throws anything but
///   std::bad_alloc leaves the mutex of all singletons locked by its thread: treat it as fatal.
template <typename T>
class QV_EXPORT CSingleton : public CSingletonBase
{
public:
    /// The instance, created by the first call. Cost: one load once it exists.
    static T* Instance();

    /// Deletes the instance, if there is one; a later Instance() makes a new one.
    static void DestroyInstance();

    /// The instance; null when there is none.
    static T* ms_pInstance;

protected:
    CSingleton() {}
    virtual ~CSingleton() {}
    CSingleton(const CSingleton&) = delete;
    CSingleton& operator=(const CSingleton&) = delete;
};

template <typename T>
T* CSingleton<T>::ms_pInstance = nullptr;

template <typename T>
T* CSingleton<T>::Instance()
{
    // Pairs with the release below: a thread that sees the pointer sees the object complete. Headers are C++17, which
    // has no std::atomic_ref: in them stands what that is made of.
    T* pInstance = __atomic_load_n(&ms_pInstance, __ATOMIC_ACQUIRE);
    if (pInstance != nullptr) return pInstance;

    // Not by a guard, which would also open the lock for exceptions other than std::bad_alloc.
    orvel_internal::RequireUp(ms_pmutex, "CSingleton")->Lock();
    pInstance = ms_pInstance;
    if (pInstance == nullptr)
    {
#ifdef __cpp_exceptions
        try
        {
            pInstance = ::new T;
        }
        catch (const std::bad_alloc&)
        {
            ms_pmutex->Unlock();
            throw;
        }
#else
        pInstance = ::new T;
#endif
        __atomic_store_n(&ms_pInstance, pInstance, __ATOMIC_RELEASE);
    }
    ms_pmutex->Unlock();
    return pInstance;
}

template <typename T>
void CSingleton<T>::DestroyInstance()
{
    delete ms_pInstance;
    ms_pInstance = nullptr;
}

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CSingletonBase.
QV_EXPORT QvResult InitializeCSingleton();
QV_EXPORT void FinalizeCSingleton();

#endif
