#include "framework/kernel/framework_initializer.h"

#include <type_traits>

#include "framework/framework.h"
#include "tests/clients/client.h"

namespace
{
/// A module's pair of functions.
void Pair(QvResult (*pfnInitialize)(), void (*pfnFinalize)())
{
    CHECK(pfnInitialize != nullptr && pfnFinalize != nullptr);
}

void Pairs()
{
    Pair(&InitializeQvAssert, &FinalizeQvAssert);
    Pair(&InitializeResult, &FinalizeResult);
    Pair(&InitializeCThread, &FinalizeCThread);
    Pair(&InitializeCDefaultAllocator, &FinalizeCDefaultAllocator);
    Pair(&InitializeCSingleton, &FinalizeCSingleton);
    Pair(&InitializeCString, &FinalizeCString);
    Pair(&InitializeQvEventNotifier, &FinalizeQvEventNotifier);
    Pair(&InitializeCTimer, &FinalizeCTimer);
    Pair(&InitializeQvTraceKernel, &FinalizeQvTraceKernel);
    Pair(&InitializeCTime, &FinalizeCTime);
    Pair(&InitializeQvTraceTime, &FinalizeQvTraceTime);
    Pair(&InitializeECom, &FinalizeECom);
    Pair(&InitializeCPool<CMarshaler>, &FinalizeCPool<CMarshaler>);
    Pair(&InitializeCAATreeBase, &FinalizeCAATreeBase);
    Pair(&InitializeQvStringFormat, &FinalizeQvStringFormat);
    Pair(&InitializeQvFault, &FinalizeQvFault);
    Pair(&InitializeCCrypto, &FinalizeCCrypto);
    Pair(&InitializeCAesBremoFwOpenSsl, &FinalizeCAesBremoFwOpenSsl);
    Pair(&InitializeCSecurePrngBremoFw, &FinalizeCSecurePrngBremoFw);
    Pair(&InitializeCSecureSeedBremoFw, &FinalizeCSecureSeedBremoFw);

    // What the classes own.
    Pair(&CThread::InitializeCThread, &CThread::FinalizeCThread);
    Pair(&CDefaultAllocator::InitializeCDefaultAllocator, &CDefaultAllocator::FinalizeCDefaultAllocator);
    Pair(&CSingletonBase::InitializeCSingletonBase, &CSingletonBase::FinalizeCSingletonBase);
    Pair(&CString::InitializeCString, &CString::FinalizeCString);
    Pair(&CTimer::InitializeCTimer, &CTimer::FinalizeCTimer);
    Pair(&CTime::InitializeCTime, &CTime::FinalizeCTime);
    Pair(&CPool<CMarshaler>::InitializeCPool, &CPool<CMarshaler>::FinalizeCPool);
    Pair(&CAATreeBase::InitializeCAATreeBase, &CAATreeBase::FinalizeCAATreeBase);
    Pair(&CCrypto::InitializeCCrypto, &CCrypto::FinalizeCCrypto);
    Pair(&CAesBremoFwOpenSsl::InitializeCAesBremoFwOpenSsl, &CAesBremoFwOpenSsl::FinalizeCAesBremoFwOpenSsl);
    Pair(&CSecurePrngBremoFw::InitializeCSecurePrngBremoFw, &CSecurePrngBremoFw::FinalizeCSecurePrngBremoFw);
    Pair(&CSecureSeedBremoFw::InitializeCSecureSeedBremoFw, &CSecureSeedBremoFw::FinalizeCSecureSeedBremoFw);
}

void Stages()
{
    using F = CFrameworkInitializer;
    static_assert(std::is_same_v<std::underlying_type_t<CFrameworkInitializer::EFinalizeFrom>, int>);
    static_assert(F::eFROM_ASSERT == 1 && F::eFROM_RESULT == 3 && F::eFROM_THREAD == 5);
    static_assert(F::eFROM_DEFAULT_ALLOCATOR == 7 && F::eFROM_SINGLETON == 8 && F::eFROM_STRING == 9);
    static_assert(F::eFROM_EVENT_NOTIFIER == 10 && F::eFROM_TIMER == 11 && F::eFROM_TRACE_KERNEL == 12);
    static_assert(F::eFROM_TIME == 13 && F::eFROM_TRACE_TIME == 14 && F::eFROM_ECOM == 15 && F::eFROM_POOL == 17);
    static_assert(F::eFROM_AATREE == 18 && F::eFROM_STRING_FORMAT == 26 && F::eFROM_FAULT == 27);
    static_assert(F::eFROM_CRYPTO == 29 && F::eFROM_AES == 35 && F::eFROM_SECURE_PRNG == 36);
    static_assert(F::eFROM_SECURE_SEED == 37 && F::eFROM_ALL == 38);
}
}  // namespace

void FrameworkInitializerClient()
{
    Pairs();
    Stages();
    Promised<QvResult (*)()>(&CFrameworkInitializer::Initialize);
    Promised<void (*)()>(&CFrameworkInitializer::Finalize);
    Promised<void (*)(CFrameworkInitializer::EFinalizeFrom)>(&CFrameworkInitializer::PartialFinalize);
    static_assert(std::is_same_v<decltype(CFrameworkInitializer::ms_uInitializationCount), unsigned int>);

    CHECK(CFrameworkInitializer::ms_uInitializationCount == 1);
    CHECK(CFrameworkInitializer::Initialize() == QV_RES_OK);
    CHECK(CFrameworkInitializer::ms_uInitializationCount == 2);
    CFrameworkInitializer::Finalize();
    CHECK(CFrameworkInitializer::ms_uInitializationCount == 1);
    CFrameworkInitializer::PartialFinalize(static_cast<CFrameworkInitializer::EFinalizeFrom>(0));
    CFrameworkInitializer::PartialFinalize(static_cast<CFrameworkInitializer::EFinalizeFrom>(39));
    CHECK(g_pstAssertFailHandler != nullptr);

    CFrameworkInitializer::Finalize();
    CHECK(CFrameworkInitializer::ms_uInitializationCount == 0 && g_pstAssertFailHandler == nullptr);
    CHECK(InitializeQvAssert() == QV_RES_OK);
    CFrameworkInitializer::PartialFinalize(static_cast<CFrameworkInitializer::EFinalizeFrom>(2));
    CHECK(g_pstAssertFailHandler == nullptr);
    CHECK(InitializeQvAssert() == QV_RES_OK);
    CFrameworkInitializer::PartialFinalize(CFrameworkInitializer::eFROM_RESULT);
    CHECK(g_pstAssertFailHandler == nullptr);
    CFrameworkInitializer::Finalize();
    CHECK(CFrameworkInitializer::ms_uInitializationCount == 0xFFFFFFFF);
    CHECK(CFrameworkInitializer::Initialize() == QV_RES_OK);
    CHECK(CFrameworkInitializer::ms_uInitializationCount == 0 && g_pstAssertFailHandler == nullptr);
    CHECK(CFrameworkInitializer::Initialize() == QV_RES_OK);
}
