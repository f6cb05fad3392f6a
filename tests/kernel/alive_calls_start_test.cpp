// Active objects whose thread the system refuses, or gives without its attributes: the functions defined here stand in
// for the C library's.
#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

#include "framework/kernel/alive.h"
#include "framework/kernel/framework_initializer.h"
#include "tests/support/gate.h"
#include "tests/support/object_bytes.h"

namespace
{
bool g_bCreateFails = false;
bool g_bPolicyFails = false;
/// The semaphore that lets a behaviour begin, of the object under test; how often it was waited for.
const void* g_pvGo = nullptr;
std::atomic<unsigned int> g_uGoWaits = 0;
/// The same of the semaphore that tells that the thread runs.
const void* g_pvStarted = nullptr;
unsigned int g_uStartedWaits = 0;
/// Whether that was signalled already when the behaviour's thread came there; opened then, for an activation to go on.
CGate* g_pAtGo = nullptr;
bool g_bGoWasFree = false;
/// The mutex of the state, of the object under test; whether it was taken when the thread was created.
const CMutex* g_pStateMutex = nullptr;
bool g_bStateWasTaken = false;
/// The semaphore of an object's run; whether the mutex of its state was still there when the run was waited for.
const void* g_pvRun = nullptr;
bool g_bStateWasThere = false;

constexpr std::size_t g_uSEM_RUN_AT = 64;
constexpr std::size_t g_uSTARTED_AT = 232;
constexpr std::size_t g_uGO_AT = 376;
constexpr std::size_t g_uSTATE_MUTEX_AT = 568;

template <typename TPart>
const TPart* PartOf(const CAliveObj& rObject, std::size_t uOffset)
{
    return reinterpret_cast<const TPart*>(reinterpret_cast<const unsigned char*>(&rObject) + uOffset);
}

/// Whoever has it: the first word of the C library's mutex, behind the virtual functions.
bool IsTaken(const CMutex* pMutex)
{
    return LoadAt<int>(pMutex, 8) != 0;
}

class CCounting : public CAliveObj
{
public:
    ~CCounting() override { Join(nullptr); }
    QvResult Activate() { return CAliveObj::Activate(nullptr, 0, CThread::eNORMAL); }
    int m_nRuns = 0;
    unsigned int m_uGoWaitsBefore = 0;
    CGate m_there;
    CGate* m_pMayEnd = nullptr;

private:
    void Behavior() override
    {
        ++m_nRuns;
        m_uGoWaitsBefore = g_uGoWaits;
        m_there.Open();
        if (m_pMayEnd != nullptr) m_pMayEnd->Pass();
    }
};
}  // namespace

extern "C"
{
    // Sanitizers must see a thread begin: where there is one, it offers its own function under this name.
    int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) __attribute__((weak));

    QV_EXPORT int pthread_create(pthread_t* phThread, const pthread_attr_t* pAttributes, void* (*pfnStart)(void*),
                                 void* pvArgument) noexcept
    {
        using TCreate = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
        if (g_pStateMutex != nullptr) g_bStateWasTaken = IsTaken(g_pStateMutex);
        if (g_bCreateFails) return EAGAIN;
        TCreate* pfnCreate = __interceptor_pthread_create;
        if (pfnCreate == nullptr) pfnCreate = reinterpret_cast<TCreate*>(dlsym(RTLD_NEXT, "pthread_create"));
        return pfnCreate(phThread, pAttributes, pfnStart, pvArgument);
    }
    QV_EXPORT int pthread_attr_setschedpolicy(pthread_attr_t*, int) noexcept
    {
        return g_bPolicyFails ? EINVAL : 0;
    }
}

bool CBinarySemaphore::Wait() const
{
    if (this == g_pvGo) ++g_uGoWaits;
    if (this == g_pvStarted) ++g_uStartedWaits;
    // Destroyed, a mutex is all zeros.
    if (this == g_pvRun) g_bStateWasThere = BytesAt(g_pStateMutex, 8, 40) != std::vector<unsigned char>(40);
    if (g_pAtGo == nullptr) return m_sem.Wait();
    if (this == g_pvGo)
    {
        g_bGoWasFree = m_sem.Wait(0);
        g_pAtGo->Open();
        return g_bGoWasFree || m_sem.Wait();
    }
    const bool bAcquired = m_sem.Wait();
    if (this == g_pvStarted) g_pAtGo->Pass();
    return bAcquired;
}

class CAliveObjCalls : public testing::Test
{
protected:
    ~CAliveObjCalls() override
    {
        g_bCreateFails = false;
        g_bPolicyFails = false;
        g_pvGo = g_pvStarted = g_pvRun = nullptr;
        g_pAtGo = nullptr;
        g_pStateMutex = nullptr;
    }
    CFrameworkScope m_framework;
    CCounting m_object;
};

TEST_F(CAliveObjCalls, RefusedCreationLeavesTheStateAsItWas)
{
    g_bCreateFails = true;
    EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, m_object.Activate());
    EXPECT_TRUE(m_object.IsUnborn());
    g_bCreateFails = false;
    g_pvGo = PartOf<CBinarySemaphore>(m_object, g_uGO_AT);
    g_uGoWaits = 0;
    EXPECT_EQ(QV_RES_OK, m_object.Activate());
    m_object.Join(nullptr);
    EXPECT_EQ(1, m_object.m_nRuns);
    EXPECT_EQ(1u, m_object.m_uGoWaitsBefore) << "the behaviour has begun before it was let go";
    g_bCreateFails = true;
    EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, m_object.Activate());
    EXPECT_TRUE(m_object.IsDead());
}

TEST_F(CAliveObjCalls, RefusedAttributesTimeAndAgainLeaveNothingWaiting)
{
    g_bPolicyFails = true;
    EXPECT_EQ(QV_RES_THREAD_ATTRIBUTES, m_object.Activate());
    EXPECT_EQ(QV_RES_OK, m_object.Join(nullptr));
    EXPECT_TRUE(m_object.IsDead());
    EXPECT_EQ(1, m_object.m_nRuns);
    for (int n = 0; n < 200; ++n)
    {
        const QvResult res = m_object.Activate();
        EXPECT_TRUE(res == QV_RES_THREAD_ATTRIBUTES || res == QV_RES_INVALID_STATE);
    }
    EXPECT_EQ(QV_RES_OK, m_object.Join(nullptr));
}

TEST_F(CAliveObjCalls, NoBehaviourBeginsByWhatARefusedActivationHasLeft)
{
    CGate mayEnd;
    m_object.m_pMayEnd = &mayEnd;
    EXPECT_EQ(QV_RES_OK, m_object.Activate());
    m_object.m_there.Pass();
    EXPECT_EQ(QV_RES_INVALID_STATE, m_object.Activate());
    mayEnd.Open();
    m_object.Join(nullptr);

    CGate atGo;
    g_pvGo = PartOf<CBinarySemaphore>(m_object, g_uGO_AT);
    g_pvStarted = PartOf<CBinarySemaphore>(m_object, g_uSTARTED_AT);
    g_pAtGo = &atGo;
    EXPECT_EQ(QV_RES_OK, m_object.Activate());
    m_object.Join(nullptr);
    EXPECT_FALSE(g_bGoWasFree) << "the behaviour runs beside Activate(), and may destroy the object";
    EXPECT_EQ(2, m_object.m_nRuns);
}

TEST_F(CAliveObjCalls, AnActivationWaitsForItsThreadToRunAndARefusedOneForNothing)
{
    g_pvStarted = PartOf<CBinarySemaphore>(m_object, g_uSTARTED_AT);
    g_uStartedWaits = 0;
    g_bCreateFails = true;
    EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, m_object.Activate());
    EXPECT_EQ(0u, g_uStartedWaits);
    g_bCreateFails = false;
    EXPECT_EQ(QV_RES_OK, m_object.Activate());
    EXPECT_EQ(1u, g_uStartedWaits);
    m_object.Join(nullptr);
}

TEST_F(CAliveObjCalls, TheStateIsNobodyElsesWhileTheThreadIsStarted)
{
    g_pStateMutex = PartOf<CMutex>(m_object, g_uSTATE_MUTEX_AT);
    g_bStateWasTaken = false;
    EXPECT_EQ(QV_RES_OK, m_object.Activate());
    EXPECT_TRUE(g_bStateWasTaken);
    EXPECT_TRUE(m_object.Join(nullptr) == QV_RES_OK && !IsTaken(g_pStateMutex));
}

TEST_F(CAliveObjCalls, AnObjectThatIsDestroyedKeepsItsPartsUntilItsThreadHasEnded)
{
    struct SBare : public CAliveObj
    {
        explicit SBare(CGate& rOver) : m_rOver(rOver) {}
        void Behavior() override {}
        void BehaviorTerminating() override { m_rOver.Open(); }
        CGate& m_rOver;
    };
    CGate over;
    auto pBare = std::make_unique<SBare>(over);
    EXPECT_EQ(QV_RES_OK, pBare->Activate(nullptr, 0, CThread::eNORMAL));
    over.Pass();
    g_pvRun = PartOf<CBinarySemaphore>(*pBare, g_uSEM_RUN_AT);
    g_pStateMutex = PartOf<CMutex>(*pBare, g_uSTATE_MUTEX_AT);
    g_bStateWasThere = false;
    pBare.reset();
    EXPECT_TRUE(g_bStateWasThere);
}
