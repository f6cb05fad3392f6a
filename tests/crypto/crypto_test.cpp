#include "framework/crypto/crypto.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/free_mutex.h"
#include "tests/support/object_bytes.h"
#include "tests/support/prng_probe.h"
#include "tests/support/run_threads.h"

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

TEST(CCryptoInstance, IsMadeByTheStartUpDestroyedByTheShutDownAndRemadeOnDemand)
{
    EXPECT_NE(nullptr, CProbe::Current());
    for (void (*const pfnFinalize)() : {&CCrypto::FinalizeCCrypto, &FinalizeCCrypto})
    {
        EXPECT_EQ(CProbe::Current(), CCrypto::Instance());
        EXPECT_EQ(CProbe::Current(), CSingleton<CCrypto>::Instance());
        pfnFinalize();
        EXPECT_EQ(nullptr, CProbe::Current());
        pfnFinalize();
        EXPECT_EQ(nullptr, CProbe::Current()) << "once more, without an instance";
        uint8_t uByte;
        EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(1, &uByte)) << "a draw makes the lock";
        EXPECT_NE(nullptr, CProbe::Current());
    }
}

TEST(CCryptoInstance, SeveralThreadsThatComeFirstShareOne)
{
    for (unsigned int uRound = 0; uRound < 20; ++uRound)
    {
        CCrypto::FinalizeCCrypto();
        std::vector<CCrypto*> instances(4);
        RunThreads(4, [&instances](unsigned int uThread) { instances[uThread] = CCrypto::Instance(); });
        for (const CCrypto* pInstance : instances) ASSERT_EQ(CProbe::Current(), pInstance);
    }
}

TEST(CCryptoLock, EnterLocksTheObjectsOwnMutexAndExitUnlocksIt)
{
    CCrypto one;
    CCrypto other;
    EXPECT_TRUE(IsFreeForOthers(MutexOf(&one)));
    one.Enter();
    EXPECT_FALSE(IsFreeForOthers(MutexOf(&one)));
    EXPECT_TRUE(IsFreeForOthers(MutexOf(&other)));
    one.Exit();
    EXPECT_TRUE(IsFreeForOthers(MutexOf(&one)));
}

TEST(CCryptoLock, LetsOneThreadInAtATime)
{
    unsigned int uCount = 0;  // not atomic: the lock is all that guards it
    RunThreads(4,
               [&uCount](unsigned int)
               {
                   for (unsigned int u = 0; u < 5000; ++u)
                   {
                       CCrypto::Instance()->Enter();
                       ++uCount;
                       CCrypto::Instance()->Exit();
                   }
               });
    EXPECT_EQ(20000u, uCount);
}

TEST(CCryptoLock, EndsWithItsObject)
{
    const std::vector<unsigned char> zeros(sizeof(pthread_mutex_t), 0);
    alignas(CCrypto) unsigned char auStorage[sizeof(CCrypto)];
    CCrypto* const pCrypto = new (auStorage) CCrypto;
    EXPECT_NE(zeros, BytesAt(auStorage, 2 * sizeof(void*), zeros.size())) << "a recursive mutex is not all zeros";
    pCrypto->~CCrypto();
    EXPECT_EQ(zeros, BytesAt(auStorage, 2 * sizeof(void*), zeros.size()));
}

TEST(CCryptoStartUp, SeedsAndDrawsFortyBytesOfTheStream)
{
    for (QvResult (*const pfnInitialize)() : {&CCrypto::InitializeCCrypto, &InitializeCCrypto})
    {
        InitializeCSecurePrngBremoFw();
        EXPECT_EQ(QV_RES_OK, pfnInitialize());
        EXPECT_TRUE(CPrngProbe::ms_bInitialized);
        EXPECT_EQ(2u, BlockCounter());
        EXPECT_EQ(0u, CPrngProbe::ms_uBytesRemaining);
    }
}
