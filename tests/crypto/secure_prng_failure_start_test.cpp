// What the generator makes of failures inside. The binary takes the place of the lock, the digest and the blob.
#include <gtest/gtest.h>

#include <vector>

#include "framework/crypto/crypto.h"
#include "framework/crypto/sha1.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/bytes.h"
#include "tests/support/prng_model.h"

namespace
{
constexpr QvResult g_resFAILURE = QV_RES_ALREADY_EXISTS;

int g_nLocks = 0;
unsigned int g_uCalls = 0;        // of the digest
unsigned int g_uFailingCall = 0;  // counted from 1; 0: none
bool g_bResizeFails = false;

QvResult Call()
{
    EXPECT_EQ(1, g_nLocks) << "under the lock";
    return ++g_uCalls == g_uFailingCall ? g_resFAILURE : QV_RES_OK;
}

// Each test begins seeded, with 5 bytes of a block of 0x11 unused.
class CPrngFailure : public testing::Test
{
protected:
    CPrngFailure()
    {
        StoreAt(CPrngProbe::ms_auCurrentBytes, 20, uint32_t{40});
        for (unsigned int u = 0; u < 20; ++u) CPrngProbe::ms_auCurrentBytes[u] = 0x11;
        CPrngProbe::ms_uBytesRemaining = 5;
        CPrngProbe::ms_bInitialized = true;
    }

    static void FailAt(unsigned int uCall)
    {
        g_uCalls = 0;
        g_uFailingCall = uCall;
    }

private:
    const CFrameworkScope m_framework;
};
}  // namespace

// Two definitions of one class are what this test is about; AddressSanitizer would refuse to start.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "detect_odr_violation=0";
}

// With their destructors the classes have their virtual tables, and what is inline in them, in this binary, too.
CSha1::CSha1() = default;
CSha1::~CSha1() = default;

void CCrypto::Enter()
{
    ++g_nLocks;
}

void CCrypto::Exit()
{
    --g_nLocks;
}

QvResult CBlob::Resize(unsigned int uSize)
{
    if (g_bResizeFails) return g_resFAILURE;
    m_uSize = uSize;
    return QV_RES_OK;
}

QvResult CSecureSeed::GenerateSeed(uint8_t*)
{
    return QV_RES_OK;
}

QvResult CSha1BremoFw::Begin()
{
    return Call();
}

QvResult CSha1BremoFw::Update(const uint8_t*, unsigned int)
{
    return Call();
}

QvResult CSha1BremoFw::End(uint8_t*)
{
    return Call();
}

TEST_F(CPrngFailure, ABlobThatCannotBeResizedGetsNoBytes)
{
    FailAt(0);
    CBlob blob;
    g_bResizeFails = true;
    EXPECT_EQ(g_resFAILURE, CSecurePrng::Generate(60, &blob));
    g_bResizeFails = false;
    EXPECT_EQ(0u, g_uCalls);
    EXPECT_EQ(5u, CPrngProbe::ms_uBytesRemaining);
}

TEST_F(CPrngFailure, SetSeedReturnsItAndDoesNotCountAsSeeded)
{
    uint8_t uByte = 1;
    for (unsigned int uFailing = 1; uFailing <= 3; ++uFailing)
    {
        CPrngProbe::ms_bInitialized = false;
        FailAt(uFailing);
        EXPECT_EQ(g_resFAILURE, CSecurePrng::SetSeed(1, &uByte));
        EXPECT_EQ(uFailing, g_uCalls);
        EXPECT_FALSE(CPrngProbe::ms_bInitialized);
        EXPECT_EQ(0, g_nLocks);
    }
    FailAt(0);
    EXPECT_EQ(QV_RES_OK, CSecurePrng::SetSeed(1, &uByte));
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
}
