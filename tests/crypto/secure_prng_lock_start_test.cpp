// Where the generator takes the crypto lock. The binary takes the lock's place and looks at the state at either end.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "framework/crypto/crypto.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/bytes.h"
#include "tests/support/prng_model.h"

namespace
{
struct SState
{
    Bytes current = BytesAt(CPrngProbe::ms_auCurrentBytes, 0, 24);
    unsigned int uRemaining = CPrngProbe::ms_uBytesRemaining;
    bool bInitialized = CPrngProbe::ms_bInitialized;
    unsigned int uSeeds = CSeedProbe::ms_uCounter;

    bool operator==(const SState& rOther) const
    {
        return current == rOther.current && uRemaining == rOther.uRemaining && bInitialized == rOther.bInitialized &&
               uSeeds == rOther.uSeeds;
    }
};

std::string g_strCalls;
std::vector<SState> g_states;
std::function<void()> g_onEnter;
const CCrypto* g_pLock = nullptr;

class CPrngLock : public testing::Test
{
protected:
    CPrngLock()
    {
        g_strCalls.clear();
        g_states.clear();
        g_onEnter = nullptr;
    }
    ~CPrngLock() override { g_onEnter = nullptr; }

    const CFrameworkScope m_framework;
};

// The calls since the last look at them.
std::string Calls()
{
    std::string strCalls;
    strCalls.swap(g_strCalls);
    return strCalls;
}

// Runs an operation of the generator with a clean record.
template <typename Operation>
void Record(Operation operation)
{
    Calls();
    g_states.assign(1, SState());
    operation();
    g_states.push_back(SState());
}
}  // namespace

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

TEST_F(CPrngLock, LockAndUnlockAreThoseOfTheCryptoSingleton)
{
    Calls();
    CPrngProbe::Lock();
    EXPECT_EQ("Enter ", Calls());
    EXPECT_EQ(CCrypto::Instance(), g_pLock);
    CPrngProbe::Unlock();
    EXPECT_EQ("Exit ", Calls());
}

TEST_F(CPrngLock, ADrawHoldsItFromBeforeTheFirstChangeToAfterTheLast)
{
    uint8_t auDrawn[50];
    CSecurePrng::Generate(1, auDrawn);
    Record([&auDrawn] { EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(50, auDrawn)); });
    EXPECT_EQ("Enter Exit ", Calls());
    ASSERT_EQ(4u, g_states.size());
    EXPECT_TRUE(g_states[0] == g_states[1]);
    EXPECT_FALSE(g_states[1] == g_states[2]);
    EXPECT_TRUE(g_states[2] == g_states[3]);
}

TEST_F(CPrngLock, SeedingHoldsItBeforeTheDrawDoes)
{
    uint8_t auDrawn[50];
    Record([&auDrawn] { EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(50, auDrawn)); });
    EXPECT_EQ("Enter Exit Enter Exit ", Calls());
    ASSERT_EQ(6u, g_states.size());
    EXPECT_TRUE(g_states[0] == g_states[1]);
    EXPECT_FALSE(g_states[1].bInitialized);
    EXPECT_EQ(g_states[1].uSeeds + 1, g_states[2].uSeeds);
    EXPECT_TRUE(g_states[2].bInitialized);
    EXPECT_EQ(g_states[1].current, g_states[2].current);
    EXPECT_TRUE(g_states[2] == g_states[3]);
    EXPECT_TRUE(g_states[4] == g_states[5]);
}

TEST_F(CPrngLock, ADrawIntoABlobHoldsItAlike)
{
    CBlob blob;
    Record([&blob] { EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(50, &blob)); });
    const std::string strCalls = Calls();
    EXPECT_EQ("Enter Exit Enter Exit ", strCalls);
    EXPECT_TRUE(g_states[g_states.size() - 2] == g_states.back());
}

TEST_F(CPrngLock, IsReleasedAfterARefusedDraw)
{
    CSecurePrng::Generate(5, static_cast<uint8_t*>(nullptr));
    const std::string strCalls = Calls();
    EXPECT_EQ("Enter Exit ", strCalls.substr(strCalls.size() - 11));
    CSecurePrng::Generate(5, static_cast<uint8_t*>(nullptr));
    EXPECT_EQ("", Calls()) << "seeded and refused: nothing to guard";
}

TEST_F(CPrngLock, WhetherASeedIsThereIsTestedAgainUnderIt)
{
    // Another thread seeds while this one waits for the lock.
    g_onEnter = [] { CPrngProbe::ms_bInitialized = true; };
    uint8_t uByte;
    Record([&uByte] { EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(1, &uByte)); });
    EXPECT_EQ("Enter Exit Enter Exit ", Calls());
    EXPECT_EQ(g_states.front().uSeeds, g_states.back().uSeeds);
}

TEST_F(CPrngLock, SetSeedHoldsItFromBeforeTheFirstChangeToAfterTheLast)
{
    uint8_t auSeed[] = {1, 2, 3};
    Record([&auSeed] { EXPECT_EQ(QV_RES_OK, CSecurePrng::SetSeed(3, auSeed)); });
    EXPECT_EQ("Enter Exit ", Calls());
    ASSERT_EQ(4u, g_states.size());
    EXPECT_TRUE(g_states[0] == g_states[1]);
    EXPECT_FALSE(g_states[1].bInitialized);
    EXPECT_TRUE(g_states[2].bInitialized);
    EXPECT_NE(g_states[1].current, g_states[2].current);
    EXPECT_TRUE(g_states[2] == g_states[3]);
}

TEST_F(CPrngLock, RefusedSeedsLeaveItFree)
{
    uint8_t uByte = 1;
    CSecurePrng::SetSeed(0, &uByte);
    CSecurePrng::SetSeed(3, nullptr);
    const std::string strCalls = Calls();
    EXPECT_TRUE(strCalls.size() < 5 || strCalls.substr(strCalls.size() - 5) == "Exit ") << strCalls;
}
