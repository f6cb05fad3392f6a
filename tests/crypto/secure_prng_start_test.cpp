// When the generator asks for seeds, and where it takes the crypto lock. The binary counts the requests on their way to
// the seed source, and can refuse them; and it takes the place of the lock and looks at the state at either end.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "framework/crypto/crypto.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/bytes.h"
#include "tests/support/prng_model.h"

namespace
{
std::vector<Bytes> g_seeds;
unsigned int g_uRequests = 0;
bool g_bForKey = true;
bool g_bRefusing = false;

struct SState
{
    Bytes current = BytesAt(CPrngProbe::ms_auCurrentBytes, 0, 24);
    Bytes key = BytesAt(CPrngProbe::ms_auSeed, 0, 20);
    unsigned int uRemaining = CPrngProbe::ms_uBytesRemaining;
    bool bInitialized = CPrngProbe::ms_bInitialized;

    bool operator==(const SState& rOther) const
    {
        return current == rOther.current && key == rOther.key && uRemaining == rOther.uRemaining &&
               bInitialized == rOther.bInitialized;
    }
};

std::string g_strCalls;
std::vector<SState> g_states;
std::function<void()> g_onEnter;
const CCrypto* g_pLock = nullptr;

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

class CPrngLock : public CPrngSeeding
{
protected:
    ~CPrngLock() override { g_onEnter = nullptr; }

    // Runs an operation of the generator with a clean record, which then has the state before the operation, at each
    // end of the lock, and behind it; returns the calls of the lock.
    template <typename Operation>
    static std::string Record(Operation operation)
    {
        g_strCalls.clear();
        g_states.assign(1, SState());
        operation();
        g_states.push_back(SState());
        return g_strCalls;
    }

    const CFrameworkScope m_framework;
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

void CCrypto::Enter()
{
    g_strCalls += "Enter ";
    g_pLock = this;
    g_states.push_back(SState());
    if (g_onEnter) g_onEnter();
}

void CCrypto::Exit()
{
    g_strCalls += "Exit ";
    EXPECT_EQ(g_pLock, this);
    g_states.push_back(SState());
}

TEST_F(CPrngSeeding, StartUpSeedsOnceAndTheFirstDrawBehindItAgain)
{
    const CFrameworkScope framework;
    ASSERT_EQ(1u, g_seeds.size());
    EXPECT_EQ(g_seeds[0], BytesAt(CPrngProbe::ms_auSeed, 0, 20)) << "the key stays";
    ExpectSetBack();
    const CFrameworkScope again;
    EXPECT_EQ(1u, g_uRequests) << "only the first start-up draws";

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

// The warm-up of a later start-up seeds only if the generator was not drawn from: shutting down does not unseed it.
TEST_F(CPrngSeeding, LaterStartUpsSetTheGeneratorBackSoThatTheFirstDrawSeeds)
{
    std::size_t uSeeds = 0;
    for (const bool bDraws : {true, true, false, false, true})
    {
        const bool bSeeded = CPrngProbe::ms_bInitialized;
        const CFrameworkScope framework;
        if (!bSeeded) ++uSeeds;
        ASSERT_EQ(uSeeds, g_seeds.size());
        ExpectSetBack();
        if (!bDraws) continue;
        const Bytes drawn = Draw(30);
        ASSERT_EQ(++uSeeds, g_seeds.size());
        EXPECT_NE(g_seeds[uSeeds - 2], g_seeds[uSeeds - 1]);
        EXPECT_EQ(CPrngModel(g_seeds.back()).Draw(30), drawn);
    }
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
    g_bRefusing = true;
    const CFrameworkScope framework;
    ASSERT_EQ(1u, g_uRequests) << "start-up succeeds without a seed";
    std::fill_n(CPrngProbe::ms_auSeed, 20, uint8_t{0x42});
    CPrngModel model;
    for (unsigned int uRequests = 2; uRequests <= 3; ++uRequests)
    {
        EXPECT_EQ(model.Draw(30), Draw(30));
        EXPECT_EQ(uRequests, g_uRequests);
        EXPECT_FALSE(CPrngProbe::ms_bInitialized);
    }
    EXPECT_TRUE(model.IsStateOfGenerator());

    g_bRefusing = false;
    Draw(30);
    EXPECT_EQ(4u, g_uRequests);
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    EXPECT_NE(Bytes(20, 0x42), BytesAt(CPrngProbe::ms_auSeed, 0, 20));
}

TEST_F(CPrngLock, LockAndUnlockAreThoseOfTheCryptoSingleton)
{
    EXPECT_EQ("Enter ", Record([] { CPrngProbe::Lock(); }));
    EXPECT_EQ(CCrypto::Instance(), g_pLock);
    EXPECT_EQ("Exit ", Record([] { CPrngProbe::Unlock(); }));
}

TEST_F(CPrngLock, ADrawHoldsItFromBeforeTheFirstChangeToAfterTheLast)
{
    uint8_t auDrawn[50];
    CBlob blob;
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(1, auDrawn));
    const std::function<QvResult()> aDraws[] = {[&auDrawn] { return CSecurePrng::Generate(50, auDrawn); },
                                                [&blob] { return CSecurePrng::Generate(50, &blob); }};
    for (const std::function<QvResult()>& rDraw : aDraws)
    {
        EXPECT_EQ("Enter Exit ", Record([&rDraw] { EXPECT_EQ(QV_RES_OK, rDraw()); }));
        ASSERT_EQ(4u, g_states.size());
        EXPECT_TRUE(g_states[0] == g_states[1]);
        EXPECT_FALSE(g_states[1] == g_states[2]);
        EXPECT_TRUE(g_states[2] == g_states[3]);
    }
}

TEST_F(CPrngLock, SeedingHoldsItBeforeTheDrawDoes)
{
    EXPECT_EQ("Enter Exit Enter Exit ", Record([] { Draw(50); }));
    ASSERT_EQ(6u, g_states.size());
    EXPECT_TRUE(g_states[0] == g_states[1]);
    EXPECT_FALSE(g_states[1].bInitialized);
    EXPECT_NE(g_states[1].key, g_states[2].key);
    EXPECT_TRUE(g_states[2].bInitialized);
    EXPECT_EQ(g_states[1].current, g_states[2].current);
    EXPECT_TRUE(g_states[2] == g_states[3]);
    EXPECT_TRUE(g_states[4] == g_states[5]);
}

TEST_F(CPrngLock, WhetherASeedIsThereIsTestedAgainUnderIt)
{
    // Another thread seeds while this one waits for the lock.
    g_uRequests = 0;
    g_onEnter = [] { CPrngProbe::ms_bInitialized = true; };
    EXPECT_EQ("Enter Exit Enter Exit ", Record([] { Draw(1); }));
    EXPECT_EQ(0u, g_uRequests);
}

TEST_F(CPrngLock, SetSeedHoldsItFromBeforeTheFirstChangeToAfterTheLast)
{
    uint8_t auSeed[] = {1, 2, 3};
    EXPECT_EQ("Enter Exit ", Record([&auSeed] { EXPECT_EQ(QV_RES_OK, CSecurePrng::SetSeed(3, auSeed)); }));
    ASSERT_EQ(4u, g_states.size());
    EXPECT_TRUE(g_states[0] == g_states[1]);
    EXPECT_FALSE(g_states[1].bInitialized);
    EXPECT_TRUE(g_states[2].bInitialized);
    EXPECT_NE(g_states[1].current, g_states[2].current);
    EXPECT_TRUE(g_states[2] == g_states[3]);
}

TEST_F(CPrngLock, IsFreeAfterWhatWasRefused)
{
    uint8_t uByte = 1;
    const auto Draw = [] { EXPECT_GT(0, CSecurePrng::Generate(5, nullptr)); };
    EXPECT_EQ("Enter Exit ", Record(Draw)) << "seeded under it";
    EXPECT_EQ("", Record(Draw)) << "nothing to guard";
    EXPECT_EQ("", Record([&uByte] { EXPECT_GT(0, CSecurePrng::SetSeed(0, &uByte)); }));
    EXPECT_EQ("", Record([] { EXPECT_GT(0, CSecurePrng::SetSeed(3, nullptr)); }));
}
