#ifndef TESTS_SUPPORT_PRNG_PROBE_H
#define TESTS_SUPPORT_PRNG_PROBE_H
#include "framework/crypto/secure_prng.h"
#include "framework/crypto/secure_seed.h"

/// The generator with its state in reach.
class CPrngProbe : public CSecurePrng
{
public:
    using CSecurePrng::InitializeSeed;
    using CSecurePrng::Lock;
    using CSecurePrng::ms_auCurrentBytes;
    using CSecurePrng::ms_auSeed;
    using CSecurePrng::ms_bInitialized;
    using CSecurePrng::ms_uBytesRemaining;
    using CSecurePrng::Unlock;
};

/// The seed source with its counter in reach.
class CSeedProbe : public CSecureSeed
{
public:
    using CSecureSeed::ms_uCounter;
};

#endif
