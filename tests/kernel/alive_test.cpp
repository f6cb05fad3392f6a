#include "framework/kernel/alive.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <thread>
#include <vector>

#include "tests/support/gate.h"
#include "tests/support/thread_probe.h"

namespace
{
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

    CGate m_go;
    unsigned int m_uRuns = 0;

    void Behavior() override
    {
        ++m_uRuns;
        m_go.Pass();
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
}  // namespace

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
    EXPECT_EQ(QV_RES_OK, object.Activate(nullptr, 0, CThread::eNORMAL));
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
    EXPECT_EQ(QV_RES_OK, object.Activate(nullptr, 0, CThread::eNORMAL));
    object.Join(nullptr);
    EXPECT_EQ(QV_RES_INVALID_STATE, object.m_ares[0]);
    EXPECT_EQ(QV_RES_INVALID_STATE, object.m_ares[1]);
    EXPECT_TRUE(object.IsDead());
}

TEST(CAliveObjActivate, MayComeFromTheThreadOfAnotherObject)
{
    class CParent : public CAliveObj
    {
    public:
        ~CParent() override { Join(nullptr); }
        CPlain m_child;
        QvResult m_res = QV_RES_FAIL;

    private:
        void Behavior() override { m_res = m_child.Activate(nullptr, 0, CThread::eNORMAL); }
    };
    CParent parent;
    EXPECT_EQ(QV_RES_OK, parent.Activate(nullptr, 0, CThread::eNORMAL));
    parent.Join(nullptr);
    EXPECT_EQ(QV_RES_OK, parent.m_res);
    parent.m_child.Join(nullptr);
    EXPECT_EQ(1, parent.m_child.m_nRuns);
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
    EXPECT_EQ(QV_RES_OK, object.Activate(nullptr, 0, CThread::eNORMAL));
    object.Join(nullptr);
    EXPECT_EQ(1, object.m_nRuns);
}

TEST(CAliveObjStartMechanism, DoesNothingForZeroAndOnThreadsOfNoAliveObject)
{
    EXPECT_EQ(0u, CAliveObj::StartMechanism(0));
    EXPECT_EQ(0u, CAliveObj::StartMechanism(1));
    CThread thread;
    unsigned int uExitCode = 1;
    EXPECT_EQ(QV_RES_OK, thread.StartThread(CAliveObj::StartMechanism, 1, nullptr, 0, CThread::eNORMAL));
    EXPECT_EQ(QV_RES_OK, thread.Join(&uExitCode));
    EXPECT_EQ(0u, uExitCode);
}

namespace
{
/// Destroys itself, in its behaviour or behind that.
class CEphemeral : public CAliveObj
{
public:
    CEphemeral(bool bInBehavior, bool& rbTerminated) : m_bInBehavior(bInBehavior), m_rbTerminated(rbTerminated) {}
    CGate m_go;

private:
    void Behavior() override
    {
        m_go.Pass();
        if (m_bInBehavior) delete this;
    }
    void BehaviorTerminating() override
    {
        m_rbTerminated = true;
        delete this;
    }

    bool m_bInBehavior;
    bool& m_rbTerminated;
};
}  // namespace

TEST(CAliveObjDestructor, OnItsOwnThreadLetsTheThreadEnd)
{
    for (const bool bInBehavior : {true, false})
    {
        bool bTerminated = false;
        auto* const pObject = new CEphemeral(bInBehavior, bTerminated);
        ASSERT_EQ(QV_RES_OK, pObject->Activate(nullptr, 0, CThread::eNORMAL));
        pObject->m_go.Open();
        WaitForAllThreads();
        EXPECT_EQ(!bInBehavior, bTerminated);
    }
}
