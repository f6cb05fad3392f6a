#include <atomic>
#include <cstring>
#include <functional>
#include <optional>
#include <string>

#include "framework/crypto/aes.h"
#include "framework/crypto/base64.h"
#include "framework/crypto/crypto.h"
#include "framework/crypto/hmac.h"
#include "framework/crypto/secure_prng.h"
#include "framework/crypto/sha256.h"
#include "framework/ecom/component.h"
#include "framework/kernel/alive.h"
#include "framework/kernel/event_notifier.h"
#include "framework/kernel/framework_initializer.h"
#include "framework/kernel/memory_queue.h"
#include "framework/kernel/singleton.h"
#include "framework/kernel/thread.h"
#include "tests/whole/exhaustion.h"

namespace
{
// The framework is up already: it is taken down for it.
void TryStartUp(CTrial& rTrial)
{
    CFrameworkInitializer::Finalize();
    rTrial.Run([] { return CFrameworkInitializer::Initialize(); });
    EXPECT_GE(rTrial.GetResult(), 0) << "memory is not what makes start-up fail";
    EXPECT_EQ(rTrial.HasThrown() ? 0u : 1u, CFrameworkInitializer::ms_uInitializationCount);
    if (rTrial.HasThrown()) { EXPECT_EQ(QV_RES_OK, CFrameworkInitializer::Initialize()); }
}

std::atomic<unsigned int> g_uRuns = 0;
unsigned int Run(unsigned int uParameter)
{
    ++g_uRuns;
    return uParameter + 1;
}
// The thread runs and ends in any case: its record may come later, or never.
void TryThread(CTrial& rTrial)
{
    const unsigned int uRuns = g_uRuns;
    CThread thread;
    unsigned int uExitCode = 0;
    rTrial.Run(
        [&]
        {
            const QvResult res = thread.StartThread(Run, 41, "exhaustion", 0, CThread::eNORMAL);
            thread.Join(&uExitCode);
            return res;
        });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(QV_RES_OK, rTrial.GetResult());
    EXPECT_EQ(42u, uExitCode);
    EXPECT_EQ(uRuns + 1, g_uRuns);
}
void TryThreadId(CTrial& rTrial)
{
    unsigned int uId = 0;
    rTrial.Run([&] { uId = CThread::GetCurrentId(); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), uId != 0);
    EXPECT_NE(0u, CThread::GetCurrentId());
}
void TryThreadCreateKey(CTrial& rTrial)
{
    unsigned int uKey = 0;
    rTrial.Run([&] { return CThread::CreateKey(nullptr, uKey); });
    rTrial.ExpectResult(QV_RES_TSD_UNAVAILABLE);
    if (rTrial.IsDone()) { EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(uKey)); }
}
void TryThreadSetSpecific(CTrial& rTrial)
{
    unsigned int uKey = 0;
    ASSERT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uKey));
    rTrial.Run([&] { return CThread::SetSpecific(uKey, 5); });
    rTrial.ExpectResult(QV_RES_TSD_UNAVAILABLE);
    unsigned int uValue = 0;
    EXPECT_EQ(QV_RES_OK, CThread::GetSpecific(uKey, uValue));
    EXPECT_EQ(rTrial.IsDone() ? 5u : 0u, uValue);
}
class CLife : public CAliveObj
{
public:
    ~CLife() override { Join(nullptr); }
    std::atomic<unsigned int> m_uRuns = 0;

private:
    void Behavior() override { ++m_uRuns; }
};
void TryAlive(CTrial& rTrial)
{
    CLife life;
    rTrial.Run(
        [&]
        {
            const QvResult res = life.Activate("exhaustion", 0, CThread::eNORMAL);
            life.Join(nullptr);
            return res;
        });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.GetResult() >= 0 ? 1u : 0u, life.m_uRuns);
    EXPECT_EQ(QV_RES_OK, life.Activate("exhaustion", 0, CThread::eNORMAL));
}

void CountEvent(void* pOpaque, EEventNotifier, va_list)
{
    ++*static_cast<unsigned int*>(pOpaque);
}
// A registration for which there is no memory is ignored.
void TryObserver(CTrial& rTrial)
{
    unsigned int uFirst = 0;
    unsigned int uSecond = 0;
    RegisterEventObserver(CountEvent, &uFirst);
    rTrial.Run([&] { RegisterEventObserver(CountEvent, &uSecond); });
    rTrial.ExpectNoThrow();
    NotifyEventObservers(EEventNotifier::eSHUT_DOWN);
    EXPECT_EQ(1u, uFirst);
    EXPECT_EQ(rTrial.IsDone() ? 1u : 0u, uSecond);
}
void TryQueue(CTrial& rTrial)
{
    CMemoryQueue queue;
    bool bMade = false;
    rTrial.Run([&] { bMade = queue.Initialize(100, 8); });
    rTrial.ExpectNoThrow();
    EXPECT_EQ(rTrial.IsDone(), bMade);
    if (!bMade) { EXPECT_TRUE(queue.Initialize(100, 8)) << "a refused one may be tried again"; }
}
class CService : public CSingleton<CService>
{
public:
    ~CService() override = default;
};
void TrySingleton(CTrial& rTrial)
{
    rTrial.Run([] { CService::Instance(); });
    rTrial.ExpectThrow();
    EXPECT_NE(nullptr, CService::Instance()) << "the mutex of all singletons is free";
    CService::DestroyInstance();
}

class IThing : public IEComUnknown
{
    QV_ECOM_INTERFACE(IThing, IEComUnknown)
};
using CThing = CEComComponent<IThing>;
QV_ECOM_GUID(CLSID_Thing1, "exhaustion.Thing1");
QV_ECOM_GUID(CLSID_Thing2, "exhaustion.Thing2");

void TryRegister(CTrial& rTrial)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&CLSID_Thing1, CreateEComObject<CThing>));
    rTrial.Run([] { return RegisterECom(&CLSID_Thing2, CreateEComObject<CThing>); });
    rTrial.ExpectResult();
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&CLSID_Thing1)) << "what was there stays";
    EXPECT_EQ(rTrial.IsDone() ? QV_RES_OK : QV_RES_INVALID_STATE, UnregisterECom(&CLSID_Thing2));
}
void TryCreate(CTrial& rTrial)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&CLSID_Thing1, CreateEComObject<CThing>));
    CEComPtr<IThing> pThing;
    rTrial.Run([&] { return pThing.CreateInstance(&CLSID_Thing1); });
    rTrial.ExpectResult();
    EXPECT_EQ(rTrial.IsDone(), pThing.Get() != nullptr);
}

// Fills a blob; without room it stays as it was.
void TryFill(CTrial& rTrial, const std::function<QvResult(CBlob*)>& rOperation, unsigned int uSize)
{
    CBlob blob(reinterpret_cast<const unsigned char*>("x"), 1, 1, rTrial.Source());
    rTrial.Run([&] { return rOperation(&blob); });
    rTrial.ExpectResult();
    EXPECT_EQ(rTrial.IsDone() ? uSize : 1u, blob.GetSize());
    if (!rTrial.IsDone()) { EXPECT_EQ('x', *blob.GetAt(0)); }
}
void TryDigest(CTrial& rTrial)
{
    CSha256 sha256;
    ASSERT_EQ(QV_RES_OK, sha256.Begin());
    TryFill(
        rTrial, [&](CBlob* pblob) { return sha256.End(pblob); }, 32);
}
void TryMac(CTrial& rTrial)
{
    CSha1Mac mac;
    ASSERT_EQ(QV_RES_OK, mac.Begin(reinterpret_cast<const uint8_t*>("key"), 3));
    TryFill(
        rTrial, [&](CBlob* pblob) { return mac.End(pblob); }, 20);
}
void TryEncrypt(CTrial& rTrial)
{
    const uint8_t auKey[32] = {1};
    const CBlob blobIn(auKey, 32);
    CAes aes;
    ASSERT_EQ(QV_RES_OK, aes.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, auKey, 32, auKey, 16));
    TryFill(
        rTrial, [&](CBlob* pblob) { return aes.Update(&blobIn, pblob, false); }, 32);
}
void TryBase64(CTrial& rTrial)
{
    const uint8_t auBytes[30] = {1};
    const CBlob blobIn(auBytes, 30);
    CBase64 base64;
    ASSERT_EQ(QV_RES_OK, base64.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_ECB, nullptr, 0, nullptr, 0));
    TryFill(
        rTrial, [&](CBlob* pblob) { return base64.Update(&blobIn, pblob, false); }, 40);
}
void TryRandomBlob(CTrial& rTrial)
{
    TryFill(
        rTrial, [&](CBlob* pblob) { return CSecurePrng::Generate(40, pblob); }, 40);
}
// The lock is a singleton: without memory for it, the draw throws and leaves nothing locked.
void TryRandom(CTrial& rTrial)
{
    CCrypto::DestroyInstance();
    uint8_t auDrawn[40] = {};
    rTrial.Run([&] { return CSecurePrng::Generate(sizeof(auDrawn), auDrawn); });
    rTrial.ExpectThrow();
    EXPECT_EQ(QV_RES_OK, CSecurePrng::Generate(sizeof(auDrawn), auDrawn));
}
}  // namespace

std::vector<SOperation> ServiceOperations()
{
    return {
        {"CFrameworkInitializer Initialize", TryStartUp, false},
        {"CThread StartThread", TryThread, false},
        {"CThread GetCurrentId", TryThreadId, false},
        {"CThread CreateKey", TryThreadCreateKey, false},
        {"CThread SetSpecific", TryThreadSetSpecific, false},
        {"CAliveObj Activate", TryAlive, false},
        {"RegisterEventObserver", TryObserver, false},
        {"CMemoryQueue Initialize", TryQueue, false},
        {"CSingleton Instance", TrySingleton, false},
        {"RegisterECom", TryRegister, false},
        {"CreateEComInstance", TryCreate, false},
        {"CSha256 End", TryDigest, true},
        {"CSha1Mac End", TryMac, true},
        {"CAes Update", TryEncrypt, true},
        {"CBase64 Update", TryBase64, true},
        {"CSecurePrng Generate blob", TryRandomBlob, true},
        {"CSecurePrng Generate", TryRandom, false},
    };
}
