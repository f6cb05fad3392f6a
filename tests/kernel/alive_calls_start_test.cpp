// Active objects whose thread the system refuses, or gives without its attributes: the functions defined here stand in
// for the C library's.
#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>

#include "framework/kernel/alive.h"
#include "framework/kernel/framework_initializer.h"

namespace
{
bool g_bCreateFails = false;
bool g_bPolicyFails = false;
/// The semaphore that lets a behaviour begin, of the object under test; how often it was waited for.
const void* g_pvGo = nullptr;
std::atomic<unsigned int> g_uGoWaits = 0;

class CCounting : public CAliveObj
{
public:
    ~CCounting() override { Join(nullptr); }
    QvResult Activate() { return CAliveObj::Activate(nullptr, 0, CThread::eNORMAL); }
    int m_nRuns = 0;
    unsigned int m_uGoWaitsBefore = 0;

private:
    void Behavior() override
    {
        ++m_nRuns;
        m_uGoWaitsBefore = g_uGoWaits;
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
    return m_sem.Wait();
}

class CAliveObjCalls : public testing::Test
{
protected:
    ~CAliveObjCalls() override
    {
        g_bCreateFails = false;
        g_bPolicyFails = false;
    }
    CFrameworkScope m_framework;
    CCounting m_object;
};

TEST_F(CAliveObjCalls, RefusedCreationLeavesAnUnbornObjectUnborn)
{
    g_bCreateFails = true;
    EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, m_object.Activate());
    EXPECT_TRUE(m_object.IsUnborn());
    g_bCreateFails = false;
    EXPECT_EQ(QV_RES_OK, m_object.Activate());
    m_object.Join(nullptr);
    EXPECT_EQ(1, m_object.m_nRuns);
}

TEST_F(CAliveObjCalls, RefusedCreationLeavesADeadObjectDead)
{
    m_object.Activate();
    m_object.Join(nullptr);
    g_bCreateFails = true;
    EXPECT_EQ(QV_RES_THREAD_CREATE_FAILED, m_object.Activate());
    EXPECT_TRUE(m_object.IsDead());
}

TEST_F(CAliveObjCalls, RefusedAttributesAreReportedAlthoughTheBehaviourRuns)
{
    g_bPolicyFails = true;
    EXPECT_EQ(QV_RES_THREAD_ATTRIBUTES, m_object.Activate());
    EXPECT_EQ(QV_RES_OK, m_object.Join(nullptr));
    EXPECT_TRUE(m_object.IsDead());
    EXPECT_EQ(1, m_object.m_nRuns);
}

TEST_F(CAliveObjCalls, RefusedAttributesTimeAndAgainLeaveNothingWaiting)
{
    g_bPolicyFails = true;
    for (int n = 0; n < 200; ++n)
    {
        const QvResult res = m_object.Activate();
        EXPECT_TRUE(res == QV_RES_THREAD_ATTRIBUTES || res == QV_RES_INVALID_STATE);
    }
    EXPECT_EQ(QV_RES_OK, m_object.Join(nullptr));
}

TEST_F(CAliveObjCalls, NoBehaviourBeginsBeforeItIsLetGo)
{
    g_pvGo = reinterpret_cast<const unsigned char*>(&m_object) + 376;
    g_uGoWaits = 0;
    EXPECT_EQ(QV_RES_OK, m_object.Activate());
    m_object.Join(nullptr);
    EXPECT_EQ(1u, m_object.m_uGoWaitsBefore);
    g_pvGo = nullptr;
}
