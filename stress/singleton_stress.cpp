// Threads that meet at the first use of a singleton: one object, complete for everybody, in every round.
#include <array>
#include <barrier>

#include "framework/kernel/singleton.h"
#include "stress/stress.h"

namespace
{
std::atomic<unsigned int> g_uMade = 0;

class CInner : public CSingleton<CInner>
{
public:
    CInner() : m_uComplete(2) {}
    ~CInner() override = default;
    unsigned int m_uComplete;
};

/// Its constructor makes another singleton, under the mutex of all.
class COuter : public CSingleton<COuter>
{
public:
    COuter() : m_pInner(CInner::Instance()), m_uComplete(1) { ++g_uMade; }
    ~COuter() override = default;
    CInner* m_pInner;
    unsigned int m_uComplete;
};

constexpr unsigned int g_uTHREADS = 4;
}  // namespace

TEST(SingletonStress, TheFirstUseMakesOneObjectForAll)
{
    const auto end = std::chrono::steady_clock::now() + StressTime();
    std::atomic<bool> bOver = false;
    std::array<COuter*, g_uTHREADS> apSeen = {};
    unsigned int uRounds = 0;
    // Runs while all threads wait.
    const auto endOfRound = [&]() noexcept
    {
        ++uRounds;
        for (COuter* const pSeen : apSeen) EXPECT_EQ(apSeen[0], pSeen);
        EXPECT_EQ(uRounds, g_uMade);
        COuter::DestroyInstance();
        CInner::DestroyInstance();
        bOver = testing::Test::HasFailure() || std::chrono::steady_clock::now() >= end;
    };
    std::barrier barrier(g_uTHREADS, endOfRound);
    std::vector<std::thread> threads;
    for (unsigned int uThread = 0; uThread < g_uTHREADS; ++uThread)
    {
        threads.emplace_back(
            [&, uThread]
            {
                while (!bOver)
                {
                    if (uThread % 2 != 0) EXPECT_EQ(2u, CInner::Instance()->m_uComplete);
                    apSeen[uThread] = COuter::Instance();
                    EXPECT_EQ(1u, apSeen[uThread]->m_uComplete);
                    EXPECT_EQ(2u, apSeen[uThread]->m_pInner->m_uComplete);
                    barrier.arrive_and_wait();
                }
            });
    }
    for (std::thread& rThread : threads) rThread.join();
}
