#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/old_crypto.h"
#include "tests/abi/old_hash.h"
#include "tests/abi/told_size.h"

TEST(CCryptoLayout, HasTheMutexRightBehindTheSingletonBase)
{
    CCrypto crypto;
    EXPECT_TRUE(HasDestructorsAlone(&crypto.m_mutex, "6CMutex"));
    EXPECT_TRUE(IsFree(crypto.m_mutex));
    crypto.Enter();
    EXPECT_FALSE(IsFree(crypto.m_mutex));
    crypto.Exit();
    EXPECT_TRUE(IsFree(crypto.m_mutex));
}

TEST(CCryptoLayout, SizeIsThatOfAPointerAndAMutex)
{
    static_assert(sizeof(CMutex) == 48);
    static_assert(sizeof(CCrypto) == 56);
    EXPECT_EQ(56u, SizeToldByDelete(new CCrypto));
}

TEST(CCryptoSlots, AreTheDestructorsAlone)
{
    const CCrypto crypto;
    EXPECT_TRUE(HasDestructorsAlone(&crypto, "7CCrypto"));

    const CSingleton<CCrypto> base;
    EXPECT_TRUE(HasDestructorsAlone(&base, "10CSingletonI7CCryptoE"));
}

TEST(CCrypto, SingletonIsMadeOnFirstUseAndDestroyedByEitherFinaliser)
{
    for (void (*const pfnDestroy)() :
         {static_cast<void (*)()>(FinalizeCCrypto), CCrypto::FinalizeCCrypto, CSingleton<CCrypto>::DestroyInstance})
    {
        CCrypto* const pcrypto = CSingleton<CCrypto>::Instance();
        ASSERT_NE(nullptr, pcrypto);
        EXPECT_EQ(pcrypto, CSingleton<CCrypto>::ms_pInstance);
        EXPECT_EQ(pcrypto, CSingleton<CCrypto>::Instance());
        pcrypto->Enter();
        EXPECT_FALSE(IsFree(pcrypto->m_mutex));
        pcrypto->Exit();
        pfnDestroy();
        EXPECT_EQ(nullptr, CSingleton<CCrypto>::ms_pInstance);
    }
}

TEST(CCrypto, EitherInitialiserDrawsAndSoMakesTheSingleton)
{
    for (QvResult (*const pfnInitialize)() :
         {static_cast<QvResult (*)()>(InitializeCCrypto), CCrypto::InitializeCCrypto})
    {
        CSingleton<CCrypto>::DestroyInstance();
        EXPECT_EQ(QV_RES_OK, pfnInitialize());
        EXPECT_NE(nullptr, CSingleton<CCrypto>::ms_pInstance);
    }
}

TEST(CHashSlots, AreTheDestructorsThenEightPureOperations)
{
    EXPECT_EQ("--pppppppp", PureSlots("_ZTV5CHash"));
}
