#include "framework/crypto/secure_prng.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "framework/basic/blob.h"
#include "framework/crypto/secure_seed.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
/// Sees the state as a derived class does.
class CMyPrng : public CSecurePrngBremoFw
{
public:
    ~CMyPrng() override = default;

    static void Internals()
    {
        static_assert(sizeof(ms_auSeed) == 20 && sizeof(ms_auCurrentBytes) == 24);
        static_assert(std::is_same_v<decltype(ms_uBytesRemaining), unsigned int>);
        static_assert(std::is_same_v<decltype(ms_bInitialized), bool>);
        CHECK(ms_bInitialized && ms_uBytesRemaining <= 20);
    }
};

class CMySeed : public CSecureSeedBremoFw
{
public:
    ~CMySeed() override = default;
    static unsigned int Counter() { return ms_uCounter; }
    static_assert(std::is_same_v<decltype(ms_uCounter), unsigned int>);
};

void Generator()
{
    Promised<QvResult (*)(unsigned int, uint8_t*)>(&CSecurePrng::Generate);
    Promised<QvResult (*)(unsigned int, uint8_t*)>(&CSecurePrngBremoFw::Generate);
    Promised<QvResult (*)(unsigned int, CBlob*)>(&CSecurePrngBremoFw::Generate);
    Promised<QvResult (*)(unsigned int, uint8_t*)>(&CSecurePrngBremoFw::SetSeed);
    Promised<void (*)()>(&CSecurePrngBremoFw::InitializeSeed);
    uint8_t auBytes[40] = {};
    CHECK(CSecurePrng::Generate(40, auBytes) == QV_RES_OK && CSecurePrng::Generate(0, auBytes) == QV_RES_OK);
    CHECK(CSecurePrng::Generate(5, nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(CSecurePrng::Generate(5, NULL) == QV_RES_INVALID_ARGUMENT);
    CHECK(CSecurePrng::Generate(5, 0) == QV_RES_INVALID_ARGUMENT);
    CHECK(CSecurePrngBremoFw::Generate(5, static_cast<uint8_t*>(nullptr)) == QV_RES_INVALID_ARGUMENT);
    CHECK(CSecurePrngBremoFw::Generate(5, static_cast<CBlob*>(nullptr)) == QV_RES_INVALID_ARGUMENT);
    CBlob blob(nullptr);
    CHECK(CSecurePrngBremoFw::Generate(33, &blob) == QV_RES_OK && blob.GetSize() == 33);
    CHECK(CSecurePrngBremoFw::Generate(7, auBytes) == QV_RES_OK);
    CHECK(CSecurePrngBremoFw::SetSeed(3, auBytes) == QV_RES_OK && CSecurePrngBremoFw::SetSeed(0, auBytes) < 0);
    CHECK(CSecurePrngBremoFw::SetSeed(3, nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(CSecurePrng::SetSeed(3, NULL) == QV_RES_INVALID_ARGUMENT);
    CSecurePrngBremoFw::InitializeSeed();
    CSecurePrngBremoFw::Lock();
    CSecurePrngBremoFw::Unlock();
    CMyPrng::Internals();
    const CSecurePrng object;
    const CSecurePrngBremoFw* const pBase = &object;
    CHECK(pBase != nullptr);
}

void Seed()
{
    Promised<QvResult (*)(uint8_t*)>(&CSecureSeed::GenerateSeed);
    Promised<QvResult (*)(uint8_t*)>(&CSecureSeedBremoFw::GenerateSeed);
    uint8_t auSeed[20] = {};
    const unsigned int uBefore = CMySeed::Counter();
    CHECK(CSecureSeed::GenerateSeed(auSeed) == QV_RES_OK && CSecureSeedBremoFw::GenerateSeed(auSeed) == QV_RES_OK);
    CHECK(CSecureSeed::GenerateSeed(nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(CSecureSeed::GenerateSeed(0) < 0 && CSecureSeedBremoFw::GenerateSeed(NULL) < 0);
    CHECK(CMySeed::Counter() == uBefore + 2);
    const CSecureSeed object;
    const CSecureSeedBremoFw* const pBase = &object;
    CHECK(pBase != nullptr);
}
}  // namespace

void SecurePrngClient()
{
    static_assert(std::has_virtual_destructor_v<CSecurePrng> &&
                  std::is_convertible_v<CSecurePrng*, CSecurePrngBremoFw*>);
    static_assert(std::has_virtual_destructor_v<CSecureSeed> &&
                  std::is_convertible_v<CSecureSeed*, CSecureSeedBremoFw*>);
    Generator();
    Seed();
    Promised<QvResult (*)()>(&InitializeCSecurePrngBremoFw);
    Promised<void (*)()>(&FinalizeCSecurePrngBremoFw);
    Promised<QvResult (*)()>(&InitializeCSecureSeedBremoFw);
    Promised<void (*)()>(&FinalizeCSecureSeedBremoFw);
    FinalizeCSecurePrngBremoFw();
    FinalizeCSecureSeedBremoFw();
    CHECK(CSecurePrngBremoFw::InitializeCSecurePrngBremoFw() == QV_RES_OK);
    CSecurePrngBremoFw::FinalizeCSecurePrngBremoFw();
    CHECK(CSecureSeedBremoFw::InitializeCSecureSeedBremoFw() == QV_RES_OK && CMySeed::Counter() == 0);
    CSecureSeedBremoFw::FinalizeCSecureSeedBremoFw();
}
