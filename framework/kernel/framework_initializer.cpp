// One table is the whole start-up: a stage for each module, in the order in which the modules come up. Going down runs
// the table backwards.
//
// - Initialize() counts, and runs the table on the first call. If a stage fails or throws, CStartUp takes down the
//   stages before it. The stage that failed is not finalised.
// - Finalize() counts down, and runs the table backwards on the last call. A shut-down of all stages, and no other,
//   begins with the trace kernel and the threads (g_aeFIRST_DOWN), since running threads may still use every module.
// - PartialFinalize() takes down all stages up to a number. The numbers are public, rise along the table and have gaps;
//   a number in a gap takes down the stages below it.
#include "framework/kernel/framework_initializer.h"

#include "framework/basic/aatree.h"
#include "framework/basic/allocator.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/string.h"
#include "framework/basic/time.h"
#include "framework/crypto/aes.h"
#include "framework/crypto/crypto.h"
#include "framework/crypto/secure_prng.h"
#include "framework/crypto/secure_seed.h"
#include "framework/ecom/ecom.h"
#include "framework/kernel/assertion.h"
#include "framework/kernel/event_notifier.h"
#include "framework/kernel/fault.h"
#include "framework/kernel/internal/lifetime.h"
#include "framework/kernel/singleton.h"
#include "framework/kernel/string_format.h"
#include "framework/kernel/thread.h"
#include "framework/kernel/timer.h"
#include "framework/kernel/trace.h"

unsigned int CFrameworkInitializer::ms_uInitializationCount = 0;

namespace
{
using EStage = CFrameworkInitializer::EFinalizeFrom;

struct SStage
{
    EStage eStage;
    QvResult (*pfnInitialize)();
    void (*pfnFinalize)();
};

// In the order of start-up.
constexpr SStage g_astSTAGES[] = {
    {EStage::eFROM_ASSERT, InitializeQvAssert, FinalizeQvAssert},
    {EStage::eFROM_RESULT, InitializeResult, FinalizeResult},
    {EStage::eFROM_THREAD, InitializeCThread, FinalizeCThread},
    {EStage::eFROM_DEFAULT_ALLOCATOR, InitializeCDefaultAllocator, FinalizeCDefaultAllocator},
    {EStage::eFROM_SINGLETON, InitializeCSingleton, FinalizeCSingleton},
    {EStage::eFROM_STRING, InitializeCString, FinalizeCString},
    {EStage::eFROM_EVENT_NOTIFIER, InitializeQvEventNotifier, FinalizeQvEventNotifier},
    {EStage::eFROM_TIMER, InitializeCTimer, FinalizeCTimer},
    {EStage::eFROM_TRACE_KERNEL, InitializeQvTraceKernel, FinalizeQvTraceKernel},
    {EStage::eFROM_TIME, InitializeCTime, FinalizeCTime},
    {EStage::eFROM_TRACE_TIME, InitializeQvTraceTime, FinalizeQvTraceTime},
    {EStage::eFROM_ECOM, InitializeECom, FinalizeECom},
    {EStage::eFROM_POOL, InitializeCPool<CMarshaler>, FinalizeCPool<CMarshaler>},
    {EStage::eFROM_AATREE, InitializeCAATreeBase, FinalizeCAATreeBase},
    {EStage::eFROM_STRING_FORMAT, InitializeQvStringFormat, FinalizeQvStringFormat},
    {EStage::eFROM_FAULT, InitializeQvFault, FinalizeQvFault},
    // Draws random bytes and so seeds the generator, which a later stage resets. ARCHITECTURE.md tells why.
    {EStage::eFROM_CRYPTO, InitializeCCrypto, FinalizeCCrypto},
    {EStage::eFROM_AES, InitializeCAesBremoFwOpenSsl, FinalizeCAesBremoFwOpenSsl},
    {EStage::eFROM_SECURE_PRNG, InitializeCSecurePrngBremoFw, FinalizeCSecurePrngBremoFw},
    {EStage::eFROM_SECURE_SEED, InitializeCSecureSeedBremoFw, FinalizeCSecureSeedBremoFw},
};
constexpr int g_nSTAGE_COUNT = sizeof(g_astSTAGES) / sizeof(g_astSTAGES[0]);

// At full shut-down these go before all others: until the threads that the framework started have ended, they may use
// every other module.
constexpr EStage g_aeFIRST_DOWN[] = {EStage::eFROM_TRACE_KERNEL, EStage::eFROM_THREAD};

bool GoesDownFirst(EStage eStage)
{
    return eStage == g_aeFIRST_DOWN[0] || eStage == g_aeFIRST_DOWN[1];
}

void FinalizeFirstDown()
{
    for (const EStage eFirst : g_aeFIRST_DOWN)
    {
        for (const SStage& rstStage : g_astSTAGES)
        {
            if (rstStage.eStage == eFirst) rstStage.pfnFinalize();
        }
    }
}

// Takes down the stages that came up, if a later one fails or throws.
class CStartUp
{
public:
    ~CStartUp()
    {
        if (!m_bComplete) CFrameworkInitializer::PartialFinalize(static_cast<EStage>(m_nReached));
    }

    void Reach(EStage eStage) { m_nReached = eStage; }
    void Complete() { m_bComplete = true; }

private:
    int m_nReached = 0;
    bool m_bComplete = false;
};
}  // namespace

QvResult CFrameworkInitializer::Initialize()
{
    QvResult res = QV_RES_OK;
    if (ms_uInitializationCount == 0)
    {
        CStartUp startUp;
        for (const SStage& rstStage : g_astSTAGES)
        {
            res = rstStage.pfnInitialize();
            if (res < 0) return res;
            startUp.Reach(rstStage.eStage);
        }
        startUp.Complete();
    }
    ++ms_uInitializationCount;
    orvel_internal::NoteFrameworkUp();
    return res;
}

void CFrameworkInitializer::Finalize()
{
    // Not guarded against 0: without a matching Initialize() the count wraps, as the header says.
    if (ms_uInitializationCount-- == 1) PartialFinalize(eFROM_ALL);
}

void CFrameworkInitializer::PartialFinalize(EFinalizeFrom eFrom)
{
    if (eFrom < eFROM_ASSERT || eFrom > eFROM_ALL) return;
    if (eFrom == eFROM_ALL) FinalizeFirstDown();
    for (int nStage = g_nSTAGE_COUNT - 1; nStage >= 0; --nStage)
    {
        const SStage& rstStage = g_astSTAGES[nStage];
        const bool bDone = eFrom == eFROM_ALL && GoesDownFirst(rstStage.eStage);
        if (rstStage.eStage <= eFrom && !bDone) rstStage.pfnFinalize();
    }
}
