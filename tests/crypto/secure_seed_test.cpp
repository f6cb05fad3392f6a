#include "framework/crypto/secure_seed.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/prng_probe.h"

// What goes into a seed is the matter of secure_seed_devices_start_test.cpp.
TEST(CSecureSeedSeeds, AreTwentyBytesAndNoMore)
{
    std::string strRoom(52, 'x');
    ASSERT_EQ(QV_RES_OK, CSecureSeed::GenerateSeed(reinterpret_cast<uint8_t*>(&strRoom[16])));
    EXPECT_EQ(std::string(16, 'x'), strRoom.substr(0, 16));
    EXPECT_EQ(std::string(16, 'x'), strRoom.substr(16 + CSecureSeed::uSEED_SIZE));
    EXPECT_NE(std::string(20, 'x'), strRoom.substr(16, 20));
}

TEST(CSecureSeedSeeds, AreCountedAtomicallyAndDifferOnSeveralThreads)
{
    constexpr unsigned int uTHREADS = 4;
    constexpr unsigned int uSEEDS = 100;
    const unsigned int uCounter = CSeedProbe::ms_uCounter;
    std::vector<std::string> seedsOf[uTHREADS];
    std::vector<std::thread> threads;
    for (std::vector<std::string>& rSeeds : seedsOf)
    {
        threads.emplace_back(
            [&rSeeds]
            {
                for (unsigned int u = 0; u < uSEEDS; ++u)
                {
                    std::string strSeed(20, '\0');
                    EXPECT_EQ(QV_RES_OK, CSecureSeed::GenerateSeed(reinterpret_cast<uint8_t*>(strSeed.data())));
                    rSeeds.push_back(strSeed);
                }
            });
    }
    for (std::thread& rThread : threads) rThread.join();
    std::set<std::string> all;
    for (const std::vector<std::string>& rSeeds : seedsOf) all.insert(rSeeds.begin(), rSeeds.end());
    EXPECT_EQ(uTHREADS * uSEEDS, all.size());
    EXPECT_EQ(uCounter + uTHREADS * uSEEDS, CSeedProbe::ms_uCounter);
}
