#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/old_thread.h"
#include "tests/support/gate.h"

class CAliveObj : public CThread
{
public:
    CAliveObj();
    ~CAliveObj() override;
    virtual void Behavior() = 0;
    virtual void BehaviorTerminating();
    QvResult Activate(const char* pszName, unsigned int uStackSize, CThread::EPriority ePriority);
    bool IsAlive();
    bool IsDead();
    bool IsUnborn();
    static unsigned int StartMechanism(unsigned int uParameter);

    unsigned int m_eAliveState;
    CBinarySemaphore m_semStarted;
    CBinarySemaphore m_semGo;
    CMutex m_mutexActivation;
    CMutex m_mutexState;
};

namespace
{
/// Where the mutexes that the calling thread locks are noted, while somebody wants to know.
thread_local std::vector<const pthread_mutex_t*>* t_pLocked = nullptr;
}  // namespace

// In the place of the C library's.
extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* pMutex) noexcept
{
    static const auto pfnReal = reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    if (t_pLocked != nullptr) t_pLocked->push_back(pMutex);
    return pfnReal(pMutex);
}

namespace
{
/// Lives until it is told to die, and notes which of its functions the library has called.
class CLife : public CAliveObj
{
public:
    ~CLife() override
    {
        m_mayEnd.Open();
        Join(nullptr);
    }
    void Behavior() override
    {
        m_notes += "lives;";
        m_isLiving.Open();
        m_mayEnd.Pass();
    }
    void BehaviorTerminating() override
    {
        m_notes += "has lived;";
        CAliveObj::BehaviorTerminating();
    }

    std::string m_notes;
    CGate m_isLiving;
    CGate m_mayEnd;
};
}  // namespace

TEST(CAliveObjLayout, IsAThreadThenTheStateThenTwoSemaphoresAndTwoMutexes)
{
    static_assert(sizeof(CAliveObj) == 616);
    const CGuarded<CLife> life;
    const void* const pvLife = static_cast<CAliveObj*>(&*life);
    EXPECT_EQ(pvLife, static_cast<CThread*>(&*life));
    EXPECT_EQ(0, OffsetToTop(pvLife));
    EXPECT_EQ(1u, life->m_eAliveState);
    ExpectBinary(0, life->m_semStarted);
    ExpectBinary(0, life->m_semGo);
    EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(&life->m_mutexActivation, 0));
    EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(&life->m_mutexState, 0));
}

TEST(CAliveObjLayout, TheStateFieldFollowsTheLife)
{
    const CGuarded<CLife> life;
    EXPECT_TRUE(life->IsUnborn());
    ASSERT_EQ(QV_RES_OK, life->Activate("life", 0, CThread::ePRIORITY_1));
    life->m_isLiving.Pass();
    EXPECT_EQ(3u, life->m_eAliveState);
    EXPECT_TRUE(life->IsAlive());
    EXPECT_FALSE(life->IsUnborn());
    EXPECT_STREQ("life", life->m_szName);
    EXPECT_EQ(CThread::ePRIORITY_1, life->m_ePriority);
    EXPECT_EQ(&CAliveObj::StartMechanism, life->m_pfnThread);
    EXPECT_EQ(static_cast<unsigned int>(reinterpret_cast<uintptr_t>(&*life)), life->m_uParameter);
    EXPECT_EQ(QV_RES_INVALID_STATE, life->Activate("again", 0, CThread::ePRIORITY_2));
    life->m_mayEnd.Open();
    ASSERT_EQ(QV_RES_OK, life->Join(nullptr));
    EXPECT_EQ(4u, life->m_eAliveState);
    EXPECT_TRUE(life->IsDead());
    EXPECT_FALSE(life->IsAlive());
    EXPECT_EQ("lives;has lived;", life->m_notes);
}

TEST(CAliveObjLayout, TheActivationMutexStandsBeforeTheMutexOfTheState)
{
    const CGuarded<CLife> life;
    std::vector<const pthread_mutex_t*> locked;
    t_pLocked = &locked;
    life->IsUnborn();
    life->m_eAliveState = 3;
    const int nRes = life->Activate(nullptr, 0, CThread::ePRIORITY_2);
    t_pLocked = nullptr;
    EXPECT_EQ(QV_RES_INVALID_STATE, nRes);
    life->m_eAliveState = 1;
    ASSERT_LE(3u, locked.size());
    EXPECT_EQ(&life->m_mutexState.m_mutex, locked[0]);
    EXPECT_EQ(&life->m_mutexActivation.m_mutex, locked[1]);
    EXPECT_EQ(&life->m_mutexState.m_mutex, locked[2]);
    EXPECT_EQ(1u, life->m_semGo.m_sem.m_uCount) << "signalled by a refused activation, too";
    ExpectBinary(0, life->m_semStarted);
}

TEST(CAliveObjLayout, BehaviourAndItsEndStandBehindTheDestructors)
{
    EXPECT_EQ(2, SlotOf(&CAliveObj::Behavior));
    EXPECT_EQ(3, SlotOf(&CAliveObj::BehaviorTerminating));
    const std::vector<std::string> table = TableNamed("_ZTV9CAliveObj");
    ASSERT_EQ(4u, table.size());
    // The first two are the destructors', which an abstract class need not fill.
    EXPECT_EQ("__cxa_pure_virtual", table[2]);
    EXPECT_EQ("CAliveObj::BehaviorTerminating()", table[3]);
    delete &OfUnknownOrigin(static_cast<CThread&>(*new CLife));
}

TEST(CAliveObjCalls, TheThreadFunctionDoesNothingWithoutAnObject)
{
    EXPECT_EQ(0u, CAliveObj::StartMechanism(0));
}
