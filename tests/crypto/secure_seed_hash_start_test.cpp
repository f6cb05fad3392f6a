// What the seed source feeds to the digest, and what it makes of the digest's failures. The binary takes the digest's
// place.
#include <gtest/gtest.h>

#include <vector>

#include "framework/crypto/sha1.h"
#include "tests/support/prng_probe.h"

namespace
{
struct SFakeDigest
{
    QvResult resBegin = QV_RES_OK;
    unsigned int uFailingUpdate = 0;  // counted from 1; 0: none
    QvResult resEnd = QV_RES_OK;

    unsigned int uBegins = 0;
    std::vector<unsigned int> updates;  // their sizes
    uint8_t* puEnd = nullptr;
};

SFakeDigest g_stDigest;
uint8_t g_auSeed[20];

QvResult Gather(const SFakeDigest& rstDigest)
{
    g_stDigest = rstDigest;
    CSecureSeed::InitializeCSecureSeedBremoFw();
    return CSecureSeed::GenerateSeed(g_auSeed);
}
}  // namespace

// Two definitions of one class are what this test is about; AddressSanitizer would refuse to start.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "detect_odr_violation=0";
}

// With its destructor the class has its virtual table, and what is inline in it, in this binary, too.
CSha1::CSha1() = default;
CSha1::~CSha1() = default;

QvResult CSha1BremoFw::Begin()
{
    ++g_stDigest.uBegins;
    return g_stDigest.resBegin;
}

QvResult CSha1BremoFw::Update(const uint8_t* puData, unsigned int uSize)
{
    EXPECT_NE(nullptr, puData);
    g_stDigest.updates.push_back(uSize);
    return g_stDigest.updates.size() == g_stDigest.uFailingUpdate ? QV_RES_INVALID_STATE : QV_RES_OK;
}

QvResult CSha1BremoFw::End(uint8_t* puDigest)
{
    g_stDigest.puEnd = puDigest;
    return g_stDigest.resEnd;
}

TEST(CSeedHash, IsFedTheBufferProcessUserTimeAndCounter)
{
    EXPECT_EQ(QV_RES_OK, Gather({}));
    EXPECT_EQ(1u, g_stDigest.uBegins);
    EXPECT_EQ((std::vector<unsigned int>{32, 8, 8, 8, 4}), g_stDigest.updates);
    EXPECT_EQ(g_auSeed, g_stDigest.puEnd);
    EXPECT_EQ(1u, CSeedProbe::ms_uCounter);
}

TEST(CSeedHash, AFailedBeginIsReturnedAsItIs)
{
    SFakeDigest stDigest;
    stDigest.resBegin = QV_RES_ALREADY_EXISTS;
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, Gather(stDigest));
    EXPECT_EQ(0u, g_stDigest.updates.size());
    EXPECT_EQ(nullptr, g_stDigest.puEnd);
    EXPECT_EQ(0u, CSeedProbe::ms_uCounter);
}

TEST(CSeedHash, AFailedUpdateIsTheLastAndTheResultIsThatOfEnd)
{
    for (unsigned int uFailing = 1; uFailing <= 5; ++uFailing)
    {
        SFakeDigest stDigest;
        stDigest.uFailingUpdate = uFailing;
        EXPECT_EQ(QV_RES_OK, Gather(stDigest)) << "update " << uFailing;
        EXPECT_EQ(uFailing, g_stDigest.updates.size());
        EXPECT_EQ(g_auSeed, g_stDigest.puEnd);
        EXPECT_EQ(uFailing == 5 ? 1u : 0u, CSeedProbe::ms_uCounter);
    }
}

TEST(CSeedHash, AFailedEndIsTheResult)
{
    SFakeDigest stDigest;
    stDigest.resEnd = QV_RES_ALREADY_EXISTS;
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, Gather(stDigest));
    EXPECT_EQ(5u, g_stDigest.updates.size());
}
