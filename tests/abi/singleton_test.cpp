#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/old_allocator.h"
#include "tests/abi/old_crypto.h"
#include "tests/abi/old_singleton.h"
#include "tests/abi/told_size.h"

QvResult InitializeCSingleton();
void FinalizeCSingleton();

TEST(CSingletonLayout, TheBaseHoldsOneMutexForAllInItsStaticStorage)
{
    static_assert(sizeof(CSingletonBase) == 1);
    ASSERT_NE(nullptr, CSingletonBase::ms_pmutex);
    EXPECT_EQ(static_cast<void*>(CSingletonBase::ms_auMutex), static_cast<void*>(CSingletonBase::ms_pmutex));
    EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(CSingletonBase::ms_auMutex, 0));
    CSingletonBase::ms_pmutex->Lock();
    CSingletonBase::ms_pmutex->Unlock();
}

TEST(CSingletonLayout, TheModuleGoesDownAndUpUnderBothOfItsNames)
{
    FinalizeCSingleton();
    EXPECT_EQ(nullptr, CSingletonBase::ms_pmutex);
    EXPECT_EQ(QV_RES_OK, CSingletonBase::InitializeCSingletonBase());
    EXPECT_NE(nullptr, CSingletonBase::ms_pmutex);
    CSingletonBase::FinalizeCSingletonBase();
    EXPECT_EQ(nullptr, CSingletonBase::ms_pmutex);
    EXPECT_EQ(QV_RES_OK, InitializeCSingleton());
    EXPECT_NE(nullptr, CSingletonBase::ms_pmutex);
}

TEST(CSingletonLayout, HasTheTwoDestructorsAsItsVirtualFunctionsAndNoField)
{
    static_assert(sizeof(CSingleton<CCrypto>) == 8 && sizeof(CSingleton<CDefaultAllocator>) == 8);
    const CGuarded<CSingleton<CCrypto>> ofCrypto;
    const CGuarded<CSingleton<CDefaultAllocator>> ofDefaultAllocator;
    EXPECT_TRUE(HasDestructorsAlone(&*ofCrypto, "10CSingletonI7CCryptoE"));
    EXPECT_TRUE(HasDestructorsAlone(&*ofDefaultAllocator, "10CSingletonI17CDefaultAllocatorE"));
    EXPECT_EQ(8u, SizeToldByDelete(new CSingleton<CCrypto>));
    EXPECT_EQ(8u, SizeToldByDelete(new CSingleton<CDefaultAllocator>));
}

TEST(CSingletonCalls, TheOneInstanceIsMadeOnFirstUseAndMadeAnewAfterItsDestruction)
{
    CSingleton<CCrypto>::DestroyInstance();
    EXPECT_EQ(nullptr, CSingleton<CCrypto>::ms_pInstance);
    CSingleton<CCrypto>::DestroyInstance();
    CCrypto* const pCrypto = CSingleton<CCrypto>::Instance();
    ASSERT_NE(nullptr, pCrypto);
    EXPECT_EQ(pCrypto, CSingleton<CCrypto>::ms_pInstance);
    EXPECT_EQ(pCrypto, CSingleton<CCrypto>::Instance());
    EXPECT_EQ("CCrypto::~CCrypto()", FunctionInSlot(pCrypto, 0));
}

TEST(CSingletonCalls, TheDefaultAllocatorExistsOnceTheFrameworkIsUp)
{
    ASSERT_NE(nullptr, CSingleton<CDefaultAllocator>::ms_pInstance);
    EXPECT_EQ(CSingleton<CDefaultAllocator>::ms_pInstance, CSingleton<CDefaultAllocator>::Instance());
    EXPECT_EQ("CDefaultAllocator::~CDefaultAllocator()", FunctionInSlot(CSingleton<CDefaultAllocator>::Instance(), 0));
}

TEST(CSingletonCalls, TheDefaultAllocatorCanBeDestroyedAndMadeAnew)
{
    CFrameworkInitializer::Finalize();
    ASSERT_EQ(nullptr, CSingleton<CDefaultAllocator>::ms_pInstance);
    ASSERT_EQ(QV_RES_OK, InitializeCSingleton());
    EXPECT_NE(nullptr, CSingleton<CDefaultAllocator>::Instance());
    CSingleton<CDefaultAllocator>::DestroyInstance();
    EXPECT_EQ(nullptr, CSingleton<CDefaultAllocator>::ms_pInstance);
    FinalizeCSingleton();
    ASSERT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize());
}
