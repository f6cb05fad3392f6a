#ifndef FRAMEWORK_CRYPTO_CRYPTO_H
#define FRAMEWORK_CRYPTO_CRYPTO_H
#include "framework/kernel/export.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "framework/kernel/singleton.h"

/// The lock under which the cryptographic modules keep what they share: the state of the random generator.
///
/// - **Threads:** Enter() and Exit() from any thread, in pairs and not nested. A fork() takes the lock meanwhile, so
///   that the child finds it free.
/// - **Lifetime:** Made on first use, gone with the shut-down of the framework; Instance() outside ends the process.
class QV_EXPORT CCrypto : public CSingleton<CCrypto>
{
public:
    /// For Instance() only.
    CCrypto();
    ~CCrypto() override;

    /// Ends the process, with a line that names pszClass, while the framework is not up and so has no lock.
    QV_HIDDEN static void RequireUp(const char* pszClass) { orvel_internal::RequireUp(ms_pmutex, pszClass); }
    /// The instance, created by the first call.
    QV_HIDDEN static CCrypto* Instance()
    {
        RequireUp("CCrypto");
        return CSingleton<CCrypto>::Instance();
    }

    /// Takes the lock.
    void Enter();
    /// Gives it back.
    void Exit();

    /// Module start-up and shut-down. Start-up draws 40 random bytes, so that a delay by a missing random device
    /// happens here, drops them and returns QV_RES_OK; the generator is reset by its own start-up later on.
    static QvResult InitializeCCrypto();
    static void FinalizeCCrypto();

private:
    QV_HIDDEN static void LockForFork();
    QV_HIDDEN static void UnlockInParent();
    QV_HIDDEN static void UnlockInChild();

    CMutex m_mutex;
};

extern template class CSingleton<CCrypto>;

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CCrypto.
QV_EXPORT QvResult InitializeCCrypto();
QV_EXPORT void FinalizeCCrypto();

#endif
