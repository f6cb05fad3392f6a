#include "framework/crypto/crypto.h"

#include <pthread.h>

#include <atomic>
#include <new>

#include "framework/crypto/secure_prng.h"

static_assert(sizeof(CCrypto) == 56, "field order and widths are the binary interface");

template class CSingleton<CCrypto>;

CCrypto::CCrypto() = default;

CCrypto::~CCrypto() = default;

void CCrypto::Enter()
{
    m_mutex.Lock();
}

void CCrypto::Exit()
{
    m_mutex.Unlock();
}

namespace
{
// The mutex that a fork() of this thread has locked; null when there was none to lock.
thread_local CMutex* t_pmutexOfFork = nullptr;
}  // namespace

void CCrypto::LockForFork()
{
    CCrypto* const pInstance = std::atomic_ref<CCrypto*>(ms_pInstance).load(std::memory_order_acquire);
    if (pInstance == nullptr) return;
    t_pmutexOfFork = &pInstance->m_mutex;
    t_pmutexOfFork->Lock();
}

void CCrypto::UnlockInParent()
{
    if (t_pmutexOfFork != nullptr) t_pmutexOfFork->Unlock();
    t_pmutexOfFork = nullptr;
}

// The mutex is owned by a thread of the parent, so the child cannot unlock it. But the child has only one thread, and
// so may make the mutex anew in the same place.
void CCrypto::UnlockInChild()
{
    if (t_pmutexOfFork != nullptr) new (t_pmutexOfFork) CMutex;
    t_pmutexOfFork = nullptr;
}

QvResult CCrypto::InitializeCCrypto()
{
    // Done once for all start-ups. If it fails for lack of memory, a later start-up tries again.
    static bool s_bForksAreSafe = false;
    if (!s_bForksAreSafe) s_bForksAreSafe = pthread_atfork(LockForFork, UnlockInParent, UnlockInChild) == 0;
    uint8_t auDropped[40];
    static_cast<void>(CSecurePrng::Generate(sizeof(auDropped), auDropped));
    return QV_RES_OK;
}

void CCrypto::FinalizeCCrypto()
{
    DestroyInstance();
}

QvResult InitializeCCrypto()
{
    return CCrypto::InitializeCCrypto();
}

void FinalizeCCrypto()
{
    CCrypto::FinalizeCCrypto();
}
