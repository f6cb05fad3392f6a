#include "framework/crypto/crypto.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/support/derived.h"
#include "tests/support/free_mutex.h"
#include "tests/support/object_bytes.h"
#include "tests/support/prng_probe.h"

namespace
{
// Shows the singleton's pointer without making the instance.
class CProbe : public CCrypto
{
public:
    static const CCrypto* Current() { return ms_pInstance; }
};

uint32_t BlockCounter()
{
    return LoadAt<uint32_t>(CPrngProbe::ms_auCurrentBytes, 20);
}

// The lock's one member, where the binary interface puts it.
const CMutex& MutexOf(const CCrypto* pCrypto)
{
    return *reinterpret_cast<const CMutex*>(reinterpret_cast<const unsigned char*>(pCrypto) + sizeof(void*));
}
}  // namespace

TEST(CCryptoInstance, IsTheSameEveryTime)
{
    CCrypto* const pCrypto = CSingleton<CCrypto>::Instance();
    ASSERT_NE(nullptr, pCrypto);
    EXPECT_EQ(pCrypto, CCrypto::Instance());
    EXPECT_EQ(pCrypto, CProbe::Current());
}

TEST(CCryptoInstance, StartUpHasMadeIt)
{
    EXPECT_NE(nullptr, CProbe::Current());
}

TEST(CCryptoInstance, IsDestroyedByTheModulesShutDownAndRemadeOnDemand)
{
    CCrypto::Instance();
    CCrypto::FinalizeCCrypto();
    EXPECT_EQ(nullptr, CProbe::Current());
    CCrypto::FinalizeCCrypto();
    EXPECT_EQ(nullptr, CProbe::Current()) << "once more, without an instance";

    CCrypto* const pCrypto = CCrypto::Instance();
    ASSERT_NE(nullptr, pCrypto);
    pCrypto->Enter();
    pCrypto->Exit();

    FinalizeCCrypto();
    EXPECT_EQ(nullptr, CProbe::Current()) << "through the free function";
    uint8_t uByte;
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(1, &uByte)) << "a draw makes the lock, too";
    EXPECT_NE(nullptr, CProbe::Current());
}

TEST(CCryptoInstance, SeveralThreadsThatComeFirstShareOne)
{
    for (unsigned int uRound = 0; uRound < 20; ++uRound)
    {
        CCrypto::FinalizeCCrypto();
        std::vector<CCrypto*> instances(4);
        std::atomic<bool> bGo{false};
        std::vector<std::thread> threads;
        for (CCrypto*& rpInstance : instances)
        {
            threads.emplace_back(
                [&bGo, &rpInstance]
                {
                    while (!bGo) std::this_thread::yield();
                    rpInstance = CCrypto::Instance();
                });
        }
        bGo = true;
        for (std::thread& rThread : threads) rThread.join();
        for (const CCrypto* pInstance : instances) ASSERT_EQ(CProbe::Current(), pInstance);
    }
}

TEST(CCryptoLock, EnterLocksTheMutexAndExitUnlocksIt)
{
    CCrypto* const pCrypto = CCrypto::Instance();
    const CMutex& rMutex = MutexOf(pCrypto);
    EXPECT_TRUE(IsFreeForOthers(rMutex));
    pCrypto->Enter();
    EXPECT_FALSE(IsFreeForOthers(rMutex));
    pCrypto->Exit();
    EXPECT_TRUE(IsFreeForOthers(rMutex));
}

TEST(CCryptoLock, LetsOneThreadInAtATime)
{
    unsigned int uCount = 0;  // not atomic: the lock is all that guards it
    std::vector<std::thread> threads;
    for (unsigned int uThread = 0; uThread < 4; ++uThread)
    {
        threads.emplace_back(
            [&uCount]
            {
                for (unsigned int u = 0; u < 5000; ++u)
                {
                    CCrypto::Instance()->Enter();
                    ++uCount;
                    CCrypto::Instance()->Exit();
                }
            });
    }
    for (std::thread& rThread : threads) rThread.join();
    EXPECT_EQ(20000u, uCount);
}

TEST(CCryptoLock, DiffersFromObjectToObject)
{
    CCrypto one;
    CCrypto other;
    one.Enter();
    EXPECT_TRUE(IsFreeForOthers(MutexOf(&other)));
    EXPECT_FALSE(IsFreeForOthers(MutexOf(&one)));
    one.Exit();
}

TEST(CCryptoLock, EndsWithItsObject)
{
    alignas(CCrypto) unsigned char auStorage[sizeof(CCrypto)];
    CCrypto* const pCrypto = new (auStorage) CCrypto;
    EXPECT_NE(std::vector<unsigned char>(sizeof(pthread_mutex_t), 0),
              BytesAt(auStorage, 2 * sizeof(void*), sizeof(pthread_mutex_t)))
        << "a recursive mutex is not all zeros";
    CSingletonBase* const pBase = pCrypto;
    EXPECT_EQ(static_cast<void*>(auStorage), static_cast<void*>(pBase));
    pCrypto->~CCrypto();
    EXPECT_EQ(std::vector<unsigned char>(sizeof(pthread_mutex_t), 0),
              BytesAt(auStorage, 2 * sizeof(void*), sizeof(pthread_mutex_t)));
}

TEST(CCryptoLock, DestructionIsVirtual)
{
    CDerived<CCrypto>::ms_uDestroyed = 0;
    CCrypto* const pCrypto = new CDerived<CCrypto>;
    delete pCrypto;
    EXPECT_EQ(1u, CDerived<CCrypto>::ms_uDestroyed);
}

TEST(CCryptoStartUp, DrawsFortyBytesOfTheStream)
{
    for (QvResult (*const pfnInitialize)() : {&CCrypto::InitializeCCrypto, &InitializeCCrypto})
    {
        uint8_t uByte;
        ASSERT_EQ(QV_RES_OK, CSecurePrng::Generate(1, &uByte));
        CPrngProbe::ms_uBytesRemaining = 0;
        const uint32_t uCounter = BlockCounter();
        EXPECT_EQ(QV_RES_OK, pfnInitialize());
        EXPECT_EQ(uCounter + 2, BlockCounter());
        EXPECT_EQ(0u, CPrngProbe::ms_uBytesRemaining);
    }
}

TEST(CCryptoStartUp, GathersTheSeed)
{
    InitializeCSecurePrngBremoFw();
    ASSERT_FALSE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(QV_RES_OK, InitializeCCrypto());
    EXPECT_TRUE(CPrngProbe::ms_bInitialized);
    EXPECT_EQ(2u, BlockCounter());
}
