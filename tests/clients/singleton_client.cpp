#include "framework/kernel/singleton.h"

#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/crypto/crypto.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
class CService : public CSingleton<CService>
{
public:
    CService() { ++ms_uAlive; }
    ~CService() override { --ms_uAlive; }

    static unsigned int ms_uAlive;
};
unsigned int CService::ms_uAlive = 0;

/// A second one, whose constructor needs the first.
class CUser : public CSingleton<CUser>
{
public:
    CUser() : m_pService(CService::Instance()) {}

    CService* m_pService;
};
}  // namespace

void SingletonClient()
{
    Promised<CService* (*)()>(&CSingleton<CService>::Instance);
    Promised<void (*)()>(&CSingleton<CService>::DestroyInstance);
    Promised<QvResult (*)()>(&CSingletonBase::InitializeCSingletonBase);
    Promised<void (*)()>(&CSingletonBase::FinalizeCSingletonBase);
    Promised<QvResult (*)()>(&InitializeCSingleton);
    Promised<void (*)()>(&FinalizeCSingleton);
    static_assert(std::is_base_of_v<CSingletonBase, CSingleton<CService>>);
    static_assert(!std::is_polymorphic_v<CSingletonBase> && std::is_empty_v<CSingletonBase>);
    static_assert(std::has_virtual_destructor_v<CSingleton<CService>>);

    static_assert(std::is_same_v<decltype(CSingletonBase::ms_pmutex), CMutex*>);
    static_assert(sizeof(CSingletonBase::ms_auMutex) >= sizeof(CMutex));
    CHECK(static_cast<void*>(CSingletonBase::ms_pmutex) == static_cast<void*>(CSingletonBase::ms_auMutex));
    CHECK(CSingleton<CService>::ms_pInstance == nullptr);
    static_assert(std::is_same_v<decltype(CSingleton<CService>::ms_pInstance), CService*>);

    CUser* const pUser = CUser::Instance();
    CHECK(pUser->m_pService == CService::ms_pInstance && CService::ms_uAlive == 1);
    CHECK(CSingleton<CService>::Instance() == CService::Instance());
    CSingleton<CUser>* const pBase = pUser;
    CSingletonBase* const pRaw = pBase;
    CHECK(static_cast<CUser*>(pBase) == pUser && pRaw != nullptr);
    CUser::DestroyInstance();
    CService::DestroyInstance();
    CHECK(CService::ms_uAlive == 0 && CService::ms_pInstance == nullptr);
    CSingleton<CService>::DestroyInstance();
    CHECK(CService::Instance() != nullptr && CService::ms_uAlive == 1);
    CSingleton<CService>::DestroyInstance();

    Promised<CDefaultAllocator* (*)()>(&CSingleton<CDefaultAllocator>::Instance);
    CHECK(CSingleton<CDefaultAllocator>::Instance() == CSingleton<CDefaultAllocator>::ms_pInstance);
    Promised<CCrypto* (*)()>(&CSingleton<CCrypto>::Instance);
    CHECK(CSingleton<CCrypto>::Instance() == CSingleton<CCrypto>::ms_pInstance);

    FinalizeCSingleton();
    CHECK(CSingletonBase::ms_pmutex == nullptr);
    CHECK(InitializeCSingleton() == QV_RES_OK);
    CHECK(CSingletonBase::ms_pmutex != nullptr);
}
