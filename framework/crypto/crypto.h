#ifndef FRAMEWORK_CRYPTO_CRYPTO_H
#define FRAMEWORK_CRYPTO_CRYPTO_H
#include "framework/kernel/export.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "framework/kernel/singleton.h"

/// The lock under which the cryptographic modules keep what they share: the state of the random generator.
///
/// Threads    Enter() and Exit() from any thread, in pairs and not nested.
/// Lifetime   Made on first use, gone with the shut-down of the framework.
class QV_EXPORT CCrypto : public CSingleton<CCrypto>
{
public:
    CCrypto();
    ~CCrypto() override;

    void Enter();
    void Exit();

    /// Module start-up and shut-down. Start-up draws 40 random bytes, so that a missing random device shows its delay
    /// here, drops them and returns QV_RES_OK; the generator is set back by its own start-up later on.
    static QvResult InitializeCCrypto();
    static void FinalizeCCrypto();

private:
    CMutex m_mutex;
};

extern template class CSingleton<CCrypto>;

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CCrypto.
QV_EXPORT QvResult InitializeCCrypto();
QV_EXPORT void FinalizeCCrypto();

#endif
