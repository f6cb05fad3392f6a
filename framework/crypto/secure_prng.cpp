// The stream is a chain of blocks. ms_auCurrentBytes holds the current block and the counter:
// ```
//   |<--------------- block, 20 bytes ----------------->|<- counter, 4 bytes ->|
//   | handed out already     |<-- ms_uBytesRemaining -->|
// ```
// The next block is HMAC-SHA1 under the key ms_auSeed of the current block and the counter, which is raised by 1
// before. A draw first takes what remains of the block, then makes as many blocks as it needs.
//
// Seeding. The first draw finds ms_bInitialized false and gathers a seed under the lock. The flag is read without the
// lock before, so that later draws lock once. Start-up goes through two stages: that of CCrypto draws, and so gathers a
// seed; the later one of this module clears block, counter and flag, but not the key. So the first draw of the
// application gathers a new seed. After SetSeed() it does not, and the key is the one of the draw at start-up.
#include "framework/crypto/secure_prng.h"

#include <string.h>

#include <atomic>

#include "framework/crypto/crypto.h"
#include "framework/crypto/internal/short_hmac.h"
#include "framework/crypto/internal/wiped.h"
#include "framework/crypto/secure_seed.h"
#include "framework/crypto/sha1.h"

static_assert(sizeof(CSecurePrng) == 8, "no instance data");

uint8_t CSecurePrngBremoFw::ms_auSeed[20];
uint8_t CSecurePrngBremoFw::ms_auCurrentBytes[24];
unsigned int CSecurePrngBremoFw::ms_uBytesRemaining = 0;
bool CSecurePrngBremoFw::ms_bInitialized = false;

namespace
{
constexpr unsigned int g_uBLOCK_SIZE = 20;

class CGeneratorLock
{
public:
    CGeneratorLock() { CSecurePrngBremoFw::Lock(); }
    ~CGeneratorLock() { CSecurePrngBremoFw::Unlock(); }
    CGeneratorLock(const CGeneratorLock&) = delete;
    CGeneratorLock& operator=(const CGeneratorLock&) = delete;
};

void IncrementCounter(uint8_t* puCounter)
{
    uint32_t uCounter;
    memcpy(&uCounter, puCounter, sizeof(uCounter));
    ++uCounter;
    memcpy(puCounter, &uCounter, sizeof(uCounter));
}
}  // namespace

CSecurePrngBremoFw::~CSecurePrngBremoFw() = default;

QvResult CSecurePrngBremoFw::Generate(unsigned int uSize, uint8_t* puOut)
{
    InitializeSeed();
    if (puOut == nullptr) return QV_RES_INVALID_ARGUMENT;
    const CGeneratorLock lock;
    if (ms_uBytesRemaining < uSize)
    {
        orvel_internal::CSha1ShortMac<sizeof(ms_auCurrentBytes)> mac(ms_auSeed, sizeof(ms_auSeed));
        do {
            memcpy(puOut, ms_auCurrentBytes + g_uBLOCK_SIZE - ms_uBytesRemaining, ms_uBytesRemaining);
            puOut += ms_uBytesRemaining;
            uSize -= ms_uBytesRemaining;
            IncrementCounter(ms_auCurrentBytes + g_uBLOCK_SIZE);
            mac.Code(ms_auCurrentBytes, ms_auCurrentBytes);
            ms_uBytesRemaining = g_uBLOCK_SIZE;
        } while (ms_uBytesRemaining < uSize);
    }
    memcpy(puOut, ms_auCurrentBytes + g_uBLOCK_SIZE - ms_uBytesRemaining, uSize);
    ms_uBytesRemaining -= uSize;
    return QV_RES_OK;
}

QvResult CSecurePrngBremoFw::Generate(unsigned int uSize, CBlob* pblobOut)
{
    InitializeSeed();
    if (pblobOut == nullptr) return QV_RES_INVALID_ARGUMENT;
    QvResult res = pblobOut->ReserveCapacity(uSize);
    if (res >= 0) res = pblobOut->Resize(uSize);
    return res >= 0 ? Generate(uSize, pblobOut->GetFirstIndexPtr()) : res;
}

QvResult CSecurePrngBremoFw::SetSeed(unsigned int uSize, uint8_t* puSeed)
{
    if (puSeed == nullptr) return QV_RES_INVALID_ARGUMENT;
    if (uSize == 0) return QV_RES_FAIL;
    const CGeneratorLock lock;
    orvel_internal::CWiped<CSha1> sha1;
    QvResult res = sha1->Begin();
    if (res >= 0) res = sha1->Update(puSeed, uSize);
    if (res >= 0) res = sha1->End(ms_auCurrentBytes);
    if (res >= 0) std::atomic_ref(ms_bInitialized).store(true, std::memory_order_release);
    return res;
}

QvResult CSecurePrngBremoFw::InitializeCSecurePrngBremoFw()
{
    memset(ms_auCurrentBytes, 0, sizeof(ms_auCurrentBytes));
    ms_uBytesRemaining = 0;
    ms_bInitialized = false;
    return QV_RES_OK;
}

void CSecurePrngBremoFw::FinalizeCSecurePrngBremoFw()
{
}

void CSecurePrngBremoFw::InitializeSeed()
{
    // Pairs with the release stores of the flag: a thread that sees it set also sees the seed.
    if (std::atomic_ref(ms_bInitialized).load(std::memory_order_acquire)) return;
    const CGeneratorLock lock;
    if (!ms_bInitialized && CSecureSeed::GenerateSeed(ms_auSeed) >= 0)
    {
        std::atomic_ref(ms_bInitialized).store(true, std::memory_order_release);
    }
}

void CSecurePrngBremoFw::Lock()
{
    CCrypto::RequireUp("CSecurePrng");
    CCrypto::Instance()->Enter();
}

void CSecurePrngBremoFw::Unlock()
{
    CCrypto::Instance()->Exit();
}

CSecurePrng::~CSecurePrng() = default;

QvResult CSecurePrng::Generate(unsigned int uSize, uint8_t* puOut)
{
    return CSecurePrngBremoFw::Generate(uSize, puOut);
}

QvResult InitializeCSecurePrngBremoFw()
{
    return CSecurePrngBremoFw::InitializeCSecurePrngBremoFw();
}

void FinalizeCSecurePrngBremoFw()
{
    CSecurePrngBremoFw::FinalizeCSecurePrngBremoFw();
}
