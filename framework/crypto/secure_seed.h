#ifndef FRAMEWORK_CRYPTO_SECURE_SEED_H
#define FRAMEWORK_CRYPTO_SECURE_SEED_H
#include <stdint.h>

#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// The work behind CSecureSeed.
class QV_EXPORT CSecureSeedBremoFw
{
public:
    CSecureSeedBremoFw() = default;
    CSecureSeedBremoFw(const CSecureSeedBremoFw&) = default;
    CSecureSeedBremoFw& operator=(const CSecureSeedBremoFw&) = default;
    virtual ~CSecureSeedBremoFw();

    /// As CSecureSeed::GenerateSeed().
    [[nodiscard]] static QvResult GenerateSeed(uint8_t* puSeed);

    /// Module start-up and shut-down: the counter. Start-up returns QV_RES_OK.
    static QvResult InitializeCSecureSeedBremoFw();
    static void FinalizeCSecureSeedBremoFw();

protected:
    /// How many seeds were gathered.
    static unsigned int ms_uCounter;
};

/// Gathers seeds: SHA-1 over 32 bytes from /dev/urandom, /dev/random and /dev/srandom, the process and user
/// identifiers, the time of day and a counter. What the devices do not give (in a directory tree without them, in a
/// process without a free descriptor) comes from getrandom(), which needs neither.
///
/// - **Threads:** Any thread, which may be cancelled meanwhile.
/// - **Cost:** System calls; a device that does not answer costs up to 10 ms.
/// - **Secrecy:** Nothing of a seed is left in the memory that was used to gather it. Where the devices give nothing
///   and the system has no getrandom() either (a filter forbids it, or the kernel is older than 3.17) the seed is no
///   secret, though no two are alike in one process.
class QV_EXPORT CSecureSeed : public CSecureSeedBremoFw
{
public:
    /// The size of a seed in bytes.
    static constexpr unsigned int uSEED_SIZE = 20;

    CSecureSeed() = default;
    CSecureSeed(const CSecureSeed&) = default;
    CSecureSeed& operator=(const CSecureSeed&) = default;
    ~CSecureSeed() override;

    /// Writes uSEED_SIZE bytes.
    ///
    /// - `QV_RES_OK`: they are written.
    /// - `QV_RES_INVALID_ARGUMENT`: puSeed is null.
    [[nodiscard]] static QvResult GenerateSeed(uint8_t* puSeed);
};

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CSecureSeedBremoFw.
QV_EXPORT QvResult InitializeCSecureSeedBremoFw();
QV_EXPORT void FinalizeCSecureSeedBremoFw();

#endif
