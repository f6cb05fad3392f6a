// When the generator asks for seeds. The binary counts the requests on their way to the seed source, and can refuse
// them.
#include <gtest/gtest.h>

#include <algorithm>

#include "framework/kernel/framework_initializer.h"
#include "tests/support/bytes.h"
#include "tests/support/prng_model.h"

namespace
{
std::vector<Bytes> g_seeds;
unsigned int g_uRequests = 0;
bool g_bForKey = true;
bool g_bRefusing = false;

class CPrngSeeding : public testing::Test
{
protected:
    CPrngSeeding()
    {
        g_seeds.clear();
        g_uRequests = 0;
        g_bForKey = true;
        g_bRefusing = false;
        CPrngProbe::ms_bInitialized = false;
    }

    static void ExpectSetBack()
    {
        EXPECT_FALSE(CPrngProbe::ms_bInitialized);
        EXPECT_EQ(Bytes(24, 0), BytesAt(CPrngProbe::ms_auCurrentBytes, 0, 24));
        EXPECT_EQ(0u, CPrngProbe::ms_uBytesRemaining);
        EXPECT_EQ(0u, CSeedProbe::ms_uCounter);
    }
};

Bytes Draw(unsigned int uSize)
{
    Bytes drawn(uSize);
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(uSize, drawn.data()));
    return drawn;
}
}  // namespace

QvResult CSecureSeed::GenerateSeed(uint8_t* puSeed)
{
    ++g_uRequests;
    g_bForKey = g_bForKey && puSeed == CPrngProbe::ms_auSeed;
    if (g_bRefusing) return QV_RES_FAIL;
    const QvResult res = CSecureSeedBremoFw::GenerateSeed(puSeed);
    g_seeds.push_back(BytesAt(puSeed, 0, 20));
    return res;
}

TEST_F(CPrngSeeding, StartUpSeedsOnceAndTheFirstDrawBehindItAgain)
{
    const CFrameworkScope framework;
    ASSERT_EQ(1u, g_seeds.size());
    EXPECT_EQ(g_seeds[0], BytesAt(CPrngProbe::ms_auSeed, 0, 20)) << "the key stays";
    ExpectSetBack();

    const Bytes drawn = Draw(30);
    ASSERT_EQ(2u, g_seeds.size());
    EXPECT_NE(g_seeds[0], g_seeds[1]);
    EXPECT_EQ(CPrngModel(g_seeds[1]).Draw(30), drawn);
    EXPECT_EQ(1u, CSeedProbe::ms_uCounter);
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);

    Draw(1);
    EXPECT_EQ(2u, g_seeds.size());
    EXPECT_TRUE(g_bForKey);
}

TEST_F(CPrngSeeding, AnotherStartUpOfASeededGeneratorSetsItBackSoThatTheFirstDrawSeeds)
{
    for (unsigned int uRound = 1; uRound <= 3; ++uRound)
    {
        SCOPED_TRACE(testing::Message() << "round " << uRound);
        ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
        // The warm-up of the first round alone finds the generator unseeded: shutting down does not unseed it.
        ASSERT_EQ(uRound, g_seeds.size());
        ExpectSetBack();
        const Bytes drawn = Draw(30);
        ASSERT_EQ(uRound + 1, g_seeds.size());
        EXPECT_NE(g_seeds[uRound - 1], g_seeds[uRound]);
        EXPECT_EQ(CPrngModel(g_seeds[uRound]).Draw(30), drawn);
        CFrameworkInitializer::Finalize();
        EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    }
}

TEST_F(CPrngSeeding, AnotherStartUpOfAGeneratorThatWasNotDrawnFromSeedsAgain)
{
    for (unsigned int uRound = 1; uRound <= 3; ++uRound)
    {
        const CFrameworkScope framework;
        EXPECT_EQ(uRound, g_seeds.size());
        ExpectSetBack();
    }
}

TEST_F(CPrngSeeding, OnlyTheFirstOfSeveralInitializesDrawsTheWarmUp)
{
    const CFrameworkScope framework;
    EXPECT_EQ(1u, g_uRequests);
    const CFrameworkScope again;
    EXPECT_EQ(1u, g_uRequests);
}

TEST_F(CPrngSeeding, SetSeedBehindStartUpKeepsTheKeyOfTheWarmUp)
{
    const CFrameworkScope framework;
    uint8_t auSeed[] = {1, 2, 3};
    ASSERT_EQ(QV_RES_OK, CSecurePrng::SetSeed(3, auSeed));
    CPrngModel model;
    EXPECT_EQ(model.Draw(30), Draw(30));
    ASSERT_EQ(1u, g_seeds.size());
    EXPECT_EQ(g_seeds[0], BytesAt(CPrngProbe::ms_auSeed, 0, 20));
}

TEST_F(CPrngSeeding, WithoutASeedDrawsGoOnWithTheKeyThereIsAndAskAgain)
{
    const CFrameworkScope framework;
    std::fill_n(CPrngProbe::ms_auSeed, 20, uint8_t{0x42});
    CPrngModel model;
    g_bRefusing = true;
    g_uRequests = 0;
    EXPECT_EQ(model.Draw(30), Draw(30));
    EXPECT_EQ(1u, g_uRequests);
    EXPECT_FALSE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(model.Draw(30), Draw(30));
    EXPECT_EQ(2u, g_uRequests);
    EXPECT_TRUE(model.IsStateOfGenerator());

    g_bRefusing = false;
    Draw(30);
    EXPECT_EQ(3u, g_uRequests);
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    EXPECT_NE(Bytes(20, 0x42), BytesAt(CPrngProbe::ms_auSeed, 0, 20));
}

TEST_F(CPrngSeeding, StartUpSucceedsWithoutASeed)
{
    g_bRefusing = true;
    EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
    EXPECT_EQ(1u, g_uRequests);
    CFrameworkInitializer::Finalize();
}
