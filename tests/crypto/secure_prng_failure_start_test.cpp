// What the seed source and the generator make of failures inside. The binary takes the place of the digest, of the lock
// and of the blob.
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
bool g_bResizeFails = false;

// The digest's calls: Begin(), Update() with its size, End() with its target.
struct SCalls
{
    unsigned int uFailing = 0;  // counted from 1; 0: none
    unsigned int uCalls = 0;
    unsigned int uUnlocked = 0;
    std::vector<unsigned int> updates;
    uint8_t* puEnd = nullptr;
};
SCalls g_stCalls;

QvResult Call()
{
    if (g_nLocks == 0) ++g_stCalls.uUnlocked;
    return ++g_stCalls.uCalls == g_stCalls.uFailing ? g_resFAILURE : QV_RES_OK;
}

void FailAt(unsigned int uCall)
{
    g_stCalls = SCalls();
    g_stCalls.uFailing = uCall;
}
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

QvResult CSha1BremoFw::Begin()
{
    return Call();
}

QvResult CSha1BremoFw::Update(const uint8_t* puData, unsigned int uSize)
{
    EXPECT_NE(nullptr, puData);
    g_stCalls.updates.push_back(uSize);
    return Call();
}

QvResult CSha1BremoFw::End(uint8_t* puDigest)
{
    g_stCalls.puEnd = puDigest;
    return Call();
}

TEST(CSeedFailure, OfBeginOrEndIsReturnedAndAFailedUpdateIsTheLast)
{
    const std::vector<unsigned int> inputs = {32, 8, 8, 8, 4};  // the buffer, process, user, time and counter
    for (unsigned int uFailing = 0; uFailing <= 7; ++uFailing)
    {
        SCOPED_TRACE(testing::Message() << "call " << uFailing << " fails");
        uint8_t auSeed[20];
        CSecureSeed::InitializeCSecureSeedBremoFw();
        FailAt(uFailing);
        EXPECT_EQ(uFailing == 1 || uFailing == 7 ? g_resFAILURE : QV_RES_OK, CSecureSeed::GenerateSeed(auSeed));
        const bool bBegun = uFailing != 1;
        const unsigned int uUpdates = uFailing == 0 || uFailing > 6 ? 5 : uFailing - 1;
        EXPECT_EQ(std::vector<unsigned int>(inputs.begin(), inputs.begin() + uUpdates), g_stCalls.updates);
        EXPECT_EQ(bBegun ? auSeed : nullptr, g_stCalls.puEnd);
        EXPECT_EQ(uUpdates == 5 ? 1u : 0u, CSeedProbe::ms_uCounter);
    }
}

TEST(CPrngFailure, ABlobThatCannotBeResizedGetsNoBytes)
{
    const CFrameworkScope framework;
    CPrngProbe::ms_bInitialized = true;
    const CPrngModel model;
    CBlob blob;
    g_bResizeFails = true;
    EXPECT_EQ(g_resFAILURE, CSecurePrng::Generate(60, &blob));
    g_bResizeFails = false;
    EXPECT_TRUE(model.IsStateOfGenerator());
}

TEST(CPrngFailure, SetSeedReturnsItAndDoesNotCountAsSeeded)
{
    const CFrameworkScope framework;
    uint8_t uByte = 1;
    for (const unsigned int uFailing : {1u, 2u, 3u, 0u})
    {
        CPrngProbe::ms_bInitialized = false;
        FailAt(uFailing);
        EXPECT_EQ(uFailing != 0 ? g_resFAILURE : QV_RES_OK, CSecurePrng::SetSeed(1, &uByte));
        EXPECT_EQ(uFailing != 0 ? uFailing : 3, g_stCalls.uCalls);
        EXPECT_EQ(uFailing == 0, CPrngProbe::ms_bInitialized);
        EXPECT_EQ(0u, g_stCalls.uUnlocked) << "under the lock";
        EXPECT_EQ(0, g_nLocks);
    }
}
