#include "framework/crypto/secure_seed.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/prng_probe.h"

namespace
{

std::string Seed()
{
    std::string strSeed(20, '\0');
    EXPECT_EQ(QV_RES_OK, CSecureSeed::GenerateSeed(reinterpret_cast<uint8_t*>(&strSeed[0])));
    return strSeed;
}
}  // namespace

TEST(CSecureSeedSeeds, AreTwentyBytesAndNoMore)
{
    EXPECT_EQ(20u, CSecureSeed::uSEED_SIZE);
    std::string strRoom(52, 'x');
    ASSERT_EQ(QV_RES_OK, CSecureSeed::GenerateSeed(reinterpret_cast<uint8_t*>(&strRoom[16])));
    EXPECT_EQ(std::string(16, 'x'), strRoom.substr(0, 16));
    EXPECT_EQ(std::string(16, 'x'), strRoom.substr(36));
    EXPECT_NE(std::string(20, 'x'), strRoom.substr(16, 20));
}

TEST(CSecureSeedSeeds, NullIsRefusedAndNotCounted)
{
    const unsigned int uCounter = CSeedProbe::ms_uCounter;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecureSeed::GenerateSeed(nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CSecureSeedBremoFw::GenerateSeed(nullptr));
    EXPECT_EQ(uCounter, CSeedProbe::ms_uCounter);
}

TEST(CSecureSeedSeeds, AreCountedAndDiffer)
{
    const unsigned int uCounter = CSeedProbe::ms_uCounter;
    std::set<std::string> seeds;
    for (unsigned int u = 0; u < 100; ++u) seeds.insert(Seed());
    EXPECT_EQ(100u, seeds.size());
    EXPECT_EQ(uCounter + 100, CSeedProbe::ms_uCounter);
}

TEST(CSecureSeedSeeds, AreCountedAtomicallyAndDifferOnSeveralThreads)
{
    constexpr unsigned int uThreads = 4;
    constexpr unsigned int uSeeds = 100;
    const unsigned int uCounter = CSeedProbe::ms_uCounter;
    std::vector<std::string> seedsOf[uThreads];
    std::vector<std::thread> threads;
    for (std::vector<std::string>& rSeeds : seedsOf)
    {
        threads.emplace_back(
            [&rSeeds]
            {
                for (unsigned int u = 0; u < uSeeds; ++u) rSeeds.push_back(Seed());
            });
    }
    for (std::thread& rThread : threads) rThread.join();
    std::set<std::string> all;
    for (const std::vector<std::string>& rSeeds : seedsOf) all.insert(rSeeds.begin(), rSeeds.end());
    EXPECT_EQ(uThreads * uSeeds, all.size());
    EXPECT_EQ(uCounter + uThreads * uSeeds, CSeedProbe::ms_uCounter);
}

TEST(CSecureSeedModule, StartUpZeroesTheCounterAndShutDownLeavesIt)
{
    for (QvResult (*const pfnInitialize)() :
         {&CSecureSeedBremoFw::InitializeCSecureSeedBremoFw, &InitializeCSecureSeedBremoFw})
    {
        Seed();
        EXPECT_NE(0u, CSeedProbe::ms_uCounter);
        EXPECT_EQ(QV_RES_OK, pfnInitialize());
        EXPECT_EQ(0u, CSeedProbe::ms_uCounter);
    }
    CSeedProbe::ms_uCounter = 7;
    CSecureSeedBremoFw::FinalizeCSecureSeedBremoFw();
    FinalizeCSecureSeedBremoFw();
    EXPECT_EQ(7u, CSeedProbe::ms_uCounter);
}
