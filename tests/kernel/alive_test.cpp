#include "framework/kernel/alive.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>

#include <thread>
#include <type_traits>
#include <vector>

#include "tests/support/gate.h"
#include "tests/support/thread_probe.h"

static_assert(std::is_abstract_v<CAliveObj>);

namespace
{
constexpr std::size_t g_uSTATE_AT = 224;

/// Runs until it is let go.
class CWaiting : public CAliveObj
{
public:
    ~CWaiting() override
    {
        m_go.Open();
        Join(nullptr);
    }
    QvResult Activate() { return CAliveObj::Activate("waiting", 0, CThread::eNORMAL); }
    void Finish()
    {
        m_go.Open();
        Join(nullptr);
    }

    CGate m_there;
    CGate m_go;
    unsigned int m_uRuns = 0;
    unsigned int m_uTerminations = 0;
    bool m_bAliveInBehavior = false;
    bool m_bDeadInTerminating = false;
    CThread* m_pSelf = nullptr;

    void Behavior() override
    {
        ++m_uRuns;
        m_pSelf = GetThreadSelf();
        m_bAliveInBehavior = IsAlive();
        m_there.Open();
        m_go.Pass();
    }
    void BehaviorTerminating() override
    {
        ++m_uTerminations;
        m_bDeadInTerminating = IsDead();
    }
};

/// What the default of BehaviorTerminating() and the class itself do.
class CPlain : public CAliveObj
{
public:
    ~CPlain() override { Join(nullptr); }
    int m_nRuns = 0;

private:
    void Behavior() override { ++m_nRuns; }
};

unsigned int StateOf(const CAliveObj& rObject)
{
    return LoadAt<unsigned int>(&rObject, g_uSTATE_AT);
}

}  // namespace

TEST(CAliveObj, IsUnbornThenAliveThenDead)
{
    CWaiting object;
    EXPECT_TRUE(object.IsUnborn() && !object.IsAlive() && !object.IsDead());
    ASSERT_EQ(QV_RES_OK, object.Activate());
    EXPECT_TRUE(!object.IsUnborn() && object.IsAlive() && !object.IsDead());
    object.m_there.Pass();
    EXPECT_EQ(3u, StateOf(object));
    object.Finish();
    EXPECT_TRUE(!object.IsUnborn() && !object.IsAlive() && object.IsDead());
    EXPECT_TRUE(object.m_bAliveInBehavior);
    EXPECT_EQ(4u, StateOf(object));
}

TEST(CAliveObj, RunsItsBehaviourOnceOnItsOwnThread)
{
    CWaiting object;
    object.Activate();
    object.Finish();
    EXPECT_EQ(1u, object.m_uRuns);
    EXPECT_EQ(&object, object.m_pSelf);
    EXPECT_STREQ("waiting", object.GetName());
}

TEST(CAliveObj, IsToldWhenItsBehaviourHasReturnedAndItIsDead)
{
    CWaiting object;
    object.Activate();
    object.m_there.Pass();
    object.Finish();
    EXPECT_EQ(1u, object.m_uTerminations);
    EXPECT_TRUE(object.m_bDeadInTerminating);
}

TEST(CAliveObj, NeedNotBeTold)
{
    CPlain object;
    EXPECT_EQ(QV_RES_OK, object.Activate(nullptr, 0, CThread::eLOW));
    object.Join(nullptr);
    EXPECT_EQ(1, object.m_nRuns);
    EXPECT_STREQ("CThread", object.GetName());
    EXPECT_EQ(0u, object.GetExitCode());
}

TEST(CAliveObjActivate, AliveAlreadyIsRefused)
{
    CWaiting object;
    ASSERT_EQ(QV_RES_OK, object.Activate());
    EXPECT_EQ(QV_RES_INVALID_STATE, object.Activate());
    object.m_there.Pass();
    EXPECT_EQ(QV_RES_INVALID_STATE, object.Activate());
    EXPECT_TRUE(object.IsAlive());
    object.Finish();
    EXPECT_EQ(1u, object.m_uRuns);
}

TEST(CAliveObjActivate, BringsADeadObjectBack)
{
    CPlain object;
    for (int nRun = 1; nRun <= 100; ++nRun)
    {
        ASSERT_EQ(QV_RES_OK, object.Activate(nullptr, 0, CThread::eNORMAL));
        object.Join(nullptr);
        EXPECT_TRUE(object.IsDead());
        EXPECT_EQ(nRun, object.m_nRuns);
    }
}

TEST(CAliveObjActivate, OfADyingObjectWaitsForItsEndWithoutKeepingItFromItsState)
{
    class CDying : public CAliveObj
    {
    public:
        ~CDying() override { Join(nullptr); }
        CGate m_dying;
        CGate m_activating;
        int m_nRuns = 0;
        int m_nDead = 0;

    private:
        void Behavior() override { ++m_nRuns; }
        void BehaviorTerminating() override
        {
            m_dying.Open();
            m_activating.Pass();
            for (int n = 0; n < 1000; ++n) m_nDead += IsDead() ? 1 : 0;
        }
    };
    CDying object;
    object.Activate(nullptr, 0, CThread::eNORMAL);
    object.m_dying.Pass();
    object.m_activating.Open();
    EXPECT_EQ(QV_RES_OK, object.Activate(nullptr, 0, CThread::eNORMAL));
    object.Join(nullptr);
    EXPECT_EQ(2, object.m_nRuns);
    EXPECT_EQ(2000, object.m_nDead);
}

TEST(CAliveObjActivate, FromItsOwnThreadIsRefused)
{
    class CSelfish : public CAliveObj
    {
    public:
        ~CSelfish() override { Join(nullptr); }
        QvResult m_ares[2] = {};

    private:
        void Behavior() override { m_ares[0] = Activate(nullptr, 0, CThread::eNORMAL); }
        void BehaviorTerminating() override { m_ares[1] = Activate(nullptr, 0, CThread::eNORMAL); }
    };
    CSelfish object;
    object.Activate(nullptr, 0, CThread::eNORMAL);
    object.Join(nullptr);
    EXPECT_EQ(QV_RES_INVALID_STATE, object.m_ares[0]);
    EXPECT_EQ(QV_RES_INVALID_STATE, object.m_ares[1]);
    EXPECT_TRUE(object.IsDead());
}

TEST(CAliveObjActivate, FromManyThreadsAtOnceSucceedsOnce)
{
    CWaiting object;
    CGate go;
    std::vector<QvResult> results(4);
    std::vector<std::thread> threads;
    for (QvResult& rres : results)
    {
        threads.emplace_back(
            [&]
            {
                go.Pass();
                rres = object.Activate();
            });
    }
    go.Open();
    for (std::thread& rThread : threads) rThread.join();
    EXPECT_EQ(1, std::count(results.begin(), results.end(), QV_RES_OK));
    EXPECT_EQ(3, std::count(results.begin(), results.end(), QV_RES_INVALID_STATE));
    object.Finish();
    EXPECT_EQ(1u, object.m_uRuns);
}

TEST(CAliveObjActivate, OfAPriorityThatIsNoneLeavesItUnborn)
{
    CPlain object;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, object.Activate(nullptr, 0, static_cast<CThread::EPriority>(9)));
    EXPECT_TRUE(object.IsUnborn());
    EXPECT_EQ(QV_RES_OK, object.Activate(nullptr, 0, CThread::eHIGH));
    object.Join(nullptr);
    EXPECT_EQ(1, object.m_nRuns);
}

TEST(CAliveObjActivate, ReachesAnObjectAtAnyAddress)
{
    // Two that differ above the low 32 bits only, which are all 0.
    for (std::uintptr_t uAddress : {std::uintptr_t{0x10} << 32, std::uintptr_t{0x21} << 32})
    {
        void* const pvPage = mmap(reinterpret_cast<void*>(uAddress), 4096, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
        // A sanitizer's own memory may lie there.
        if (pvPage == MAP_FAILED) continue;
        auto* const pObject = new (pvPage) CPlain;
        EXPECT_EQ(QV_RES_OK, pObject->Activate(nullptr, 0, CThread::eNORMAL));
        pObject->Join(nullptr);
        EXPECT_EQ(1, pObject->m_nRuns);
        pObject->~CPlain();
        munmap(pvPage, 4096);
    }
    CPlain onTheStack;
    EXPECT_EQ(QV_RES_OK, onTheStack.Activate(nullptr, 0, CThread::eNORMAL));
    onTheStack.Join(nullptr);
    EXPECT_EQ(1, onTheStack.m_nRuns);
}

TEST(CAliveObjActivate, ReachesAnObjectThatIsASecondBase)
{
    struct SFirst
    {
        virtual ~SFirst() = default;
        int m_nFirst = 1;
    };
    class CBoth : public SFirst, public CPlain
    {
    };
    CBoth object;
    object.Activate(nullptr, 0, CThread::eNORMAL);
    object.Join(nullptr);
    EXPECT_EQ(1, object.m_nRuns);
}

TEST(CAliveObjStartMechanism, DoesNothingForZeroAndOnThreadsOfNoAliveObject)
{
    EXPECT_EQ(0u, CAliveObj::StartMechanism(0));
    EXPECT_EQ(0u, CAliveObj::StartMechanism(1));
    CThread thread;
    unsigned int uExitCode = 1;
    thread.StartThread(CAliveObj::StartMechanism, 1, nullptr, 0, CThread::eNORMAL);
    EXPECT_EQ(QV_RES_OK, thread.Join(&uExitCode));
    EXPECT_EQ(0u, uExitCode);
}

TEST(CAliveObjDestructor, InsideItsBehaviourLetsTheThreadEnd)
{
    class CEphemeral : public CAliveObj
    {
    public:
        CEphemeral(CGate& rGone, bool& rbTerminated) : m_rGone(rGone), m_rbTerminated(rbTerminated) {}
        ~CEphemeral() override { m_rGone.Open(); }

    private:
        void Behavior() override
        {
            m_go.Pass();
            delete this;
        }
        void BehaviorTerminating() override { m_rbTerminated = true; }

    public:
        CGate m_go;

    private:
        CGate& m_rGone;
        bool& m_rbTerminated;
    };
    CGate gone;
    bool bTerminated = false;
    auto* const pObject = new CEphemeral(gone, bTerminated);
    ASSERT_EQ(QV_RES_OK, pObject->Activate(nullptr, 0, CThread::eNORMAL));
    pObject->m_go.Open();
    gone.Pass();
    CThreadProbe::ms_psemFinalizeWaitThread->Wait();
    CThreadProbe::ms_psemFinalizeWaitThread->Signal(false);
    EXPECT_FALSE(bTerminated);
}

TEST(CAliveObjDestructor, InsideItsTerminationLetsTheThreadEnd)
{
    class CEphemeral : public CAliveObj
    {
    public:
        CGate m_go;

    private:
        void Behavior() override { m_go.Pass(); }
        void BehaviorTerminating() override { delete this; }
    };
    auto* const pObject = new CEphemeral;
    ASSERT_EQ(QV_RES_OK, pObject->Activate(nullptr, 0, CThread::eNORMAL));
    pObject->m_go.Open();
    CThreadProbe::ms_psemFinalizeWaitThread->Wait();
    CThreadProbe::ms_psemFinalizeWaitThread->Signal(false);
}
