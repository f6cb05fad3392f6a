#include "tests/abi/framework_up.h"
#include "tests/abi/old_allocator.h"
#include "tests/abi/old_crypto.h"
#include "tests/abi/old_hash.h"
#include "tests/abi/told_size.h"
#include "tests/support/derived.h"

QvResult InitializeCSingleton();
void FinalizeCSingleton();

TEST(CSingletonLayout, TheBaseHoldsOneMutexForAllInItsStaticStorage)
{
    static_assert(sizeof(CSingletonBase) == 1);
    for (const SModuleFunctions& rPair :
         {SModuleFunctions{InitializeCSingleton, FinalizeCSingleton},
          SModuleFunctions{CSingletonBase::InitializeCSingletonBase, CSingletonBase::FinalizeCSingletonBase}})
    {
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CSingletonBase::ms_pmutex);
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        ASSERT_EQ(static_cast<void*>(CSingletonBase::ms_auMutex), static_cast<void*>(CSingletonBase::ms_pmutex));
        EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(CSingletonBase::ms_auMutex, 0));
        EXPECT_TRUE(IsFree(*CSingletonBase::ms_pmutex));
    }
}

TEST(CSingletonLayout, HasTheTwoDestructorsAsItsVirtualFunctionsAndNoField)
{
    static_assert(sizeof(CSingleton<CCrypto>) == 8 && sizeof(CSingleton<CDefaultAllocator>) == 8);
    const CGuarded<CSingleton<CCrypto>> ofCrypto;
    const CGuarded<CDerived<CSingleton<CDefaultAllocator>>> ofDefaultAllocator;
    ExpectDestructorsAlone<CSingleton<CCrypto>>("10CSingletonI7CCryptoE");
    ExpectDestructorsAlone<CSingleton<CDefaultAllocator>>("10CSingletonI17CDefaultAllocatorE");
}

TEST(CCryptoLayout, HasTheMutexRightBehindTheSingletonBase)
{
    static_assert(sizeof(CMutex) == 48 && sizeof(CCrypto) == 56);
    ExpectDestructorsAlone<CCrypto>("7CCrypto");
    CCrypto crypto;
    EXPECT_TRUE(HasDestructorsAlone(&crypto.m_mutex, "6CMutex"));
    crypto.Enter();
    EXPECT_FALSE(IsFree(crypto.m_mutex));
    crypto.Exit();
    EXPECT_TRUE(IsFree(crypto.m_mutex));
}

TEST(CCryptoCalls, TheOneInstanceIsMadeOnFirstUseAndByTheDrawOfEitherInitialiser)
{
    for (const SModuleFunctions& rPair : {SModuleFunctions{InitializeCCrypto, FinalizeCCrypto},
                                          SModuleFunctions{CCrypto::InitializeCCrypto, CCrypto::FinalizeCCrypto},
                                          SModuleFunctions{InitializeCCrypto, CSingleton<CCrypto>::DestroyInstance}})
    {
        rPair.pfnFinalize();
        EXPECT_EQ(nullptr, CSingleton<CCrypto>::ms_pInstance);
        EXPECT_EQ(QV_RES_OK, rPair.pfnInitialize());
        ASSERT_NE(nullptr, CSingleton<CCrypto>::ms_pInstance);
        EXPECT_EQ(CSingleton<CCrypto>::ms_pInstance, CSingleton<CCrypto>::Instance());
    }
    CSingleton<CCrypto>::DestroyInstance();
    CCrypto* const pCrypto = CSingleton<CCrypto>::Instance();
    EXPECT_EQ(pCrypto, CSingleton<CCrypto>::ms_pInstance);
    EXPECT_EQ("CCrypto::~CCrypto()", FunctionInSlot(pCrypto, 0));
}

TEST(CHashSlots, AreTheDestructorsThenEightPureOperations)
{
    EXPECT_EQ("--pppppppp", PureSlots("_ZTV5CHash"));
}
