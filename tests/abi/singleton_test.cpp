#include "tests/abi/foreign_program.h"
#include "tests/abi/foreign_threads.h"
#include "tests/abi/room_for.h"
#include "tests/abi/started_framework.h"

class CSingletonBase
{
public:
    static int InitializeCSingletonBase();
    static void FinalizeCSingletonBase();

    static unsigned char ms_auMutex[sizeof(CMutex)];
    static CMutex* ms_pmutex;
};

template <typename Object>
class CSingleton : public CSingletonBase
{
public:
    CSingleton();
    virtual ~CSingleton();
    static Object* Instance();
    static void DestroyInstance();

    static Object* ms_pInstance;
};

class CDefaultAllocator;
class CCrypto;
extern template class CSingleton<CDefaultAllocator>;
extern template class CSingleton<CCrypto>;

int InitializeCSingleton();
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
    EXPECT_EQ(0, CSingletonBase::InitializeCSingletonBase());
    EXPECT_NE(nullptr, CSingletonBase::ms_pmutex);
    CSingletonBase::FinalizeCSingletonBase();
    EXPECT_EQ(nullptr, CSingletonBase::ms_pmutex);
    EXPECT_EQ(0, InitializeCSingleton());
    EXPECT_NE(nullptr, CSingletonBase::ms_pmutex);
}

template <typename Object>
void ExpectNothingButThePointerToTheDestructors(const char* pszDestructor)
{
    static_assert(sizeof(CSingleton<Object>) == sizeof(void*));
    CSingleton<Object>* const pSingleton = ThroughTheTable(new CSingleton<Object>);
    EXPECT_EQ(0, OffsetToTop(pSingleton));
    EXPECT_EQ(pszDestructor, FunctionInSlot(pSingleton, 0));
    EXPECT_EQ(pszDestructor, FunctionInSlot(pSingleton, 1));
    delete pSingleton;
}

TEST(CSingletonLayout, HasTheTwoDestructorsAsItsVirtualFunctionsAndNoField)
{
    const CRoomFor<CSingleton<CCrypto>> singleton;
    ExpectNothingButThePointerToTheDestructors<CCrypto>("CSingleton<CCrypto>::~CSingleton()");
    ExpectNothingButThePointerToTheDestructors<CDefaultAllocator>("CSingleton<CDefaultAllocator>::~CSingleton()");
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
    ASSERT_EQ(0, InitializeCSingleton());
    EXPECT_NE(nullptr, CSingleton<CDefaultAllocator>::Instance());
    CSingleton<CDefaultAllocator>::DestroyInstance();
    EXPECT_EQ(nullptr, CSingleton<CDefaultAllocator>::ms_pInstance);
    FinalizeCSingleton();
    ASSERT_EQ(0, CFrameworkInitializer::Initialize());
}
