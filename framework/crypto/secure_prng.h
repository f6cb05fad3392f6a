#ifndef FRAMEWORK_CRYPTO_SECURE_PRNG_H
#define FRAMEWORK_CRYPTO_SECURE_PRNG_H
#include <stdint.h>

#include <type_traits>

#include "framework/basic/blob.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// The work behind CSecurePrng. Each block of the stream is HMAC-SHA1(key = seed, data = previous block | counter).
class QV_EXPORT CSecurePrngBremoFw
{
public:
    CSecurePrngBremoFw() = default;
    CSecurePrngBremoFw(const CSecurePrngBremoFw&) = default;
    CSecurePrngBremoFw& operator=(const CSecurePrngBremoFw&) = default;
    virtual ~CSecurePrngBremoFw();

    /// As CSecurePrng::Generate().
    [[nodiscard]] static QvResult Generate(unsigned int uSize, uint8_t* puOut);
    /// Makes uSize random bytes the whole content of a blob.
    ///
    /// - `QV_RES_OK`: they are in.
    /// - `QV_RES_INVALID_ARGUMENT`: pblobOut is null, or uSize is 0 and the blob has no storage.
    /// - `QV_RES_OUT_OF_MEMORY`: the blob could not grow.
    [[nodiscard]] static QvResult Generate(unsigned int uSize, CBlob* pblobOut);

    /// Replaces the current block, from which all later blocks follow, by the SHA-1 of the given seed. If the generator
    /// has not gathered a seed since its start-up, it no longer does.
    /// Better leave seeding to the generator. This does not make the stream repeatable: the key stays the seed that was
    /// gathered last, and the start-up of the framework has gathered one. And the bytes that the current block had not
    /// handed out yet are then taken from that SHA-1 itself, which is no secret to anybody who knows the seed.
    ///
    /// - `QV_RES_OK`: it is mixed in.
    /// - `QV_RES_INVALID_ARGUMENT`: puSeed is null.
    /// - `QV_RES_FAIL`: uSize is 0.
    [[nodiscard]] static QvResult SetSeed(unsigned int uSize, uint8_t* puSeed);

    /// Module start-up and shut-down: back to the unseeded state. Start-up returns QV_RES_OK.
    static QvResult InitializeCSecurePrngBremoFw();
    static void FinalizeCSecurePrngBremoFw();

    /// Gathers the seed if there is none.
    static void InitializeSeed();
    /// Takes the crypto lock: CCrypto::Enter() of the one instance.
    static void Lock();
    /// Gives it back: CCrypto::Exit().
    static void Unlock();

protected:
    /// The key.
    static uint8_t ms_auSeed[20];
    /// The block that is being handed out, and behind it the block counter.
    static uint8_t ms_auCurrentBytes[24];
    /// How many bytes at the end of the block were not handed out yet.
    static unsigned int ms_uBytesRemaining;
    static bool ms_bInitialized;
};

/// The cryptographic random generator of the process:
/// ```
/// uint8_t auNonce[12];
/// CSecurePrng::Generate(sizeof(auNonce), auNonce);
/// ```
///
/// It seeds itself on the first draw after start-up, see CSecureSeed.
///
/// **FORK:** The state belongs to the process: after fork() the child would draw the same bytes as its parent. A
/// child that goes on using the library calls InitializeCSecurePrngBremoFw() before its first draw, with no other
/// thread running; it then gathers a seed of its own. A fork() waits until no thread of the parent draws, so that the
/// child never finds the generator locked or half changed. (vfork(), and clone() called directly, do not wait.)
///
/// - **Threads:** Any thread; a draw holds the crypto lock (CCrypto). A thread that is cancelled in its first draw,
///   where it may wait for a device, leaves the lock free and the generator as it was.
/// - **Lifetime:** Between the start-up and the shut-down of the framework; a draw outside ends the process.
/// - **Secrecy:** A draw leaves no copy of the generator's state in the memory that it used.
class QV_EXPORT CSecurePrng : public CSecurePrngBremoFw
{
public:
    CSecurePrng() = default;
    CSecurePrng(const CSecurePrng&) = default;
    CSecurePrng& operator=(const CSecurePrng&) = default;
    ~CSecurePrng() override;

    /// Writes uSize random bytes, any number. The stream does not depend on the sizes of the draws.
    ///
    /// - `QV_RES_OK`: they are written.
    /// - `QV_RES_INVALID_ARGUMENT`: puOut is null; the generator is seeded all the same.
    [[nodiscard]] static QvResult Generate(unsigned int uSize, uint8_t* puOut);
    /// The form for blobs. A template, so that Generate(5, nullptr) means the other form.
    template <typename T, std::enable_if_t<std::is_convertible_v<T*, CBlob*>, int> = 0>
    [[nodiscard]] QV_HIDDEN static QvResult Generate(unsigned int uSize, T* pblobOut)
    {
        return CSecurePrngBremoFw::Generate(uSize, pblobOut);
    }
};

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CSecurePrngBremoFw.
QV_EXPORT QvResult InitializeCSecurePrngBremoFw();
QV_EXPORT void FinalizeCSecurePrngBremoFw();

#endif
