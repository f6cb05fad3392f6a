// Thread-specific data: keys, values, and destructors that use them.
#include <gtest/gtest.h>
#include <limits.h>

#include <map>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/gate.h"
#include "tests/support/test_seed.h"
#include "tests/support/thread_probe.h"

namespace
{
using TDestructor = void (*)(unsigned int);
using TFunction = unsigned int (*)(unsigned int);

/// A key for a scope.
class CScopedKey
{
public:
    explicit CScopedKey(TDestructor pfnDestructor = nullptr)
    {
        EXPECT_EQ(QV_RES_OK, CThread::CreateKey(pfnDestructor, m_uKey));
    }
    ~CScopedKey() { CThread::DeleteKey(m_uKey); }
    CScopedKey(const CScopedKey&) = delete;
    CScopedKey& operator=(const CScopedKey&) = delete;
    operator unsigned int() const { return m_uKey; }

private:
    unsigned int m_uKey = 0;
};

unsigned int Get(unsigned int uKey)
{
    unsigned int uValue = 0xDEAD;
    EXPECT_EQ(QV_RES_OK, CThread::GetSpecific(uKey, uValue));
    return uValue;
}

QvResult GetResult(unsigned int uKey)
{
    unsigned int uValue = 0xDEAD;
    const QvResult res = CThread::GetSpecific(uKey, uValue);
    EXPECT_TRUE(res >= 0 || uValue == 0xDEAD) << "is not written on a failure";
    return res;
}

// What the destructors and functions of a test share: they take no other parameter.
unsigned int g_uKey = 0;
unsigned int g_uOtherKey = 0;
std::vector<unsigned int> g_seen;

void Note(unsigned int uValue)
{
    g_seen.push_back(uValue);
}

/// Runs a function on a thread of its own, and returns when that has ended.
void RunThread(TFunction pfnFunction)
{
    g_seen.clear();
    CThread thread;
    ASSERT_EQ(QV_RES_OK, thread.StartThread(pfnFunction, 0, nullptr, 0, CThread::eNORMAL));
    ASSERT_EQ(QV_RES_OK, thread.Join(nullptr));
}

using TSeen = std::vector<unsigned int>;
}  // namespace

TEST(CThreadKey, HasANumberOfItsOwnAndNeverZero)
{
    const CScopedKey first;
    const CScopedKey second;
    EXPECT_NE(0u, first);
    EXPECT_EQ(first + 1, second);
    EXPECT_EQ(CThreadProbe::ms_keyCounter, second);
}

TEST(CThreadKey, IsNotReusedAfterItsDeletion)
{
    unsigned int uFirst = 0;
    CThread::CreateKey(nullptr, uFirst);
    CThread::DeleteKey(uFirst);
    const CScopedKey second;
    EXPECT_NE(uFirst, second);
}

TEST(CThreadKey, UnknownIsReportedByEveryOperation)
{
    unsigned int uDeleted = 0;
    CThread::CreateKey(nullptr, uDeleted);
    ASSERT_EQ(QV_RES_OK, CThread::DeleteKey(uDeleted));
    for (unsigned int uKey : {0u, uDeleted, 0xFFFFFFFFu})
    {
        EXPECT_EQ(QV_RES_TSD_KEY_NOT_FOUND, CThread::SetSpecific(uKey, 1));
        EXPECT_EQ(QV_RES_TSD_KEY_NOT_FOUND, GetResult(uKey));
        EXPECT_EQ(QV_RES_TSD_KEY_NOT_FOUND, CThread::DeleteKey(uKey));
    }
}

TEST(CThreadKey, DeletedFromAnyPlaceInTheListLeavesTheOthers)
{
    for (unsigned int uDeleted = 0; uDeleted < 3; ++uDeleted)
    {
        unsigned int auKeys[3] = {};
        for (unsigned int& ruKey : auKeys) CThread::CreateKey(nullptr, ruKey);
        const unsigned int uBefore = CThreadProbe::CountKeys();
        EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(auKeys[uDeleted]));
        EXPECT_EQ(uBefore - 1, CThreadProbe::CountKeys());
        for (unsigned int u = 0; u < 3; ++u)
        {
            EXPECT_EQ(u == uDeleted ? QV_RES_TSD_KEY_NOT_FOUND : QV_RES_OK, GetResult(auKeys[u]));
            CThread::DeleteKey(auKeys[u]);
        }
    }
}

TEST(CThreadKey, CountsOneReferenceForItselfAndOneForEachValue)
{
    const CScopedKey key;
    EXPECT_EQ(1u, CThreadProbe::CountReferences(key));
    CThread::SetSpecific(key, 5);
    EXPECT_EQ(2u, CThreadProbe::CountReferences(key));
    CThread::SetSpecific(key, 6);
    EXPECT_EQ(2u, CThreadProbe::CountReferences(key));
    std::thread(
        [&]
        {
            CThread::SetSpecific(key, 7);
            EXPECT_EQ(3u, CThreadProbe::CountReferences(key));
        })
        .join();
    EXPECT_EQ(2u, CThreadProbe::CountReferences(key));
    CThread::SetSpecific(key, 0);
    EXPECT_EQ(1u, CThreadProbe::CountReferences(key));
}

TEST(CThreadKey, DeletedLivesOnUnfoundUntilItsLastValueIsGone)
{
    const unsigned int uBefore = CThreadProbe::CountKeys();
    unsigned int uKey = 0;
    CThread::CreateKey(Note, uKey);
    std::thread(
        [&]
        {
            CThread::SetSpecific(uKey, 3);
            CThread::DeleteKey(uKey);
            EXPECT_EQ(uBefore + 1, CThreadProbe::CountKeys());
            EXPECT_EQ(QV_RES_TSD_KEY_NOT_FOUND, GetResult(uKey));
        })
        .join();
    EXPECT_EQ(uBefore, CThreadProbe::CountKeys());
}

TEST(CThreadValue, IsZeroUntilSet)
{
    const CScopedKey key;
    EXPECT_EQ(0u, Get(key));
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(key, 0x12345678));
    EXPECT_EQ(0x12345678u, Get(key));
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(key, 1));
    EXPECT_EQ(1u, Get(key));
    CThread::SetSpecific(key, 0);
    EXPECT_EQ(0u, Get(key));
}

TEST(CThreadValue, BelongsToOneKeyAndOneThread)
{
    const CScopedKey first;
    const CScopedKey second;
    CThread::SetSpecific(first, 1);
    CThread::SetSpecific(second, 2);
    std::thread(
        [&]
        {
            EXPECT_EQ(0u, Get(first));
            CThread::SetSpecific(first, 3);
            EXPECT_EQ(3u, Get(first));
        })
        .join();
    EXPECT_EQ(1u, Get(first));
    EXPECT_EQ(2u, Get(second));
    CThread::SetSpecific(first, 0);
    CThread::SetSpecific(second, 0);
}

TEST(CThreadValue, ZeroWhereNoneIsStoresOneAndZeroAgainTakesItAway)
{
    const CScopedKey key;
    const TSeen before = CThreadProbe::Values();
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(key, 0));
    TSeen with = before;
    with.insert(with.begin(), 0u);
    EXPECT_EQ(with, CThreadProbe::Values());
    EXPECT_EQ(2u, CThreadProbe::CountReferences(key));
    EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(key, 0));
    EXPECT_EQ(before, CThreadProbe::Values());
}

TEST(CThreadValue, TakenAwayFromAnyPlaceInTheListLeavesTheOthers)
{
    for (unsigned int uTaken = 0; uTaken < 3; ++uTaken)
    {
        const CScopedKey aKeys[3];
        for (unsigned int u = 0; u < 3; ++u) CThread::SetSpecific(aKeys[u], u + 10);
        CThread::SetSpecific(aKeys[uTaken], 0);
        for (unsigned int u = 0; u < 3; ++u)
        {
            EXPECT_EQ(u == uTaken ? 0 : u + 10, Get(aKeys[u]));
            if (u != uTaken) CThread::SetSpecific(aKeys[u], 0);
        }
    }
}

TEST(CThreadValueDestructor, RunsOnTheEndingThreadWithItsValue)
{
    static unsigned int s_uIdInDestructor = 0;
    static CThread* s_pSelfInDestructor = nullptr;
    static unsigned int s_uReferences = 0;
    const CScopedKey key(
        [](unsigned int uValue)
        {
            Note(uValue);
            s_uIdInDestructor = CThread::GetCurrentId();
            s_pSelfInDestructor = CThread::GetThreadSelf();
            s_uReferences = CThreadProbe::CountReferences(g_uKey);
        });
    g_uKey = key;
    CThread thread;
    g_seen.clear();
    thread.StartThread([](unsigned int) { return static_cast<unsigned int>(CThread::SetSpecific(g_uKey, 99)); }, 0,
                       nullptr, 0, CThread::eNORMAL);
    thread.Join(nullptr);
    EXPECT_EQ(TSeen{99}, g_seen);
    EXPECT_EQ(thread.GetId(), s_uIdInDestructor);
    EXPECT_EQ(&thread, s_pSelfInDestructor);
    EXPECT_EQ(1u, s_uReferences) << "the value has given its reference back";
}

TEST(CThreadValueDestructor, RunsOnThreadsOfTheApplicationToo)
{
    const CScopedKey key(Note);
    g_seen.clear();
    std::thread([&] { CThread::SetSpecific(key, 4); }).join();
    EXPECT_EQ(TSeen{4}, g_seen);
}

TEST(CThreadValueDestructor, RunsForAStoredZeroButNotForAValueTakenAway)
{
    const CScopedKey key(Note);
    g_seen.clear();
    std::thread([&] { CThread::SetSpecific(key, 0); }).join();
    EXPECT_EQ(TSeen{0}, g_seen);
    g_seen.clear();
    std::thread(
        [&]
        {
            CThread::SetSpecific(key, 8);
            CThread::SetSpecific(key, 0);
        })
        .join();
    EXPECT_EQ(TSeen(), g_seen);
}

TEST(CThreadValueDestructor, IsNotNeeded)
{
    const CScopedKey key;
    std::thread([&] { CThread::SetSpecific(key, 4); }).join();
    EXPECT_EQ(1u, CThreadProbe::CountReferences(key));
}

TEST(CThreadValueDestructor, DoesNotRunAfterItsKeyWasDeleted)
{
    unsigned int uKey = 0;
    CThread::CreateKey(Note, uKey);
    g_seen.clear();
    std::thread(
        [&]
        {
            CThread::SetSpecific(uKey, 4);
            CThread::DeleteKey(uKey);
        })
        .join();
    EXPECT_EQ(TSeen(), g_seen);
}

TEST(CThreadValueDestructor, RunsForTheLastKeySetFirst)
{
    const CScopedKey aKeys[] = {CScopedKey(Note), CScopedKey(Note), CScopedKey(Note)};
    g_seen.clear();
    std::thread(
        [&]
        {
            for (unsigned int u = 0; u < 3; ++u) CThread::SetSpecific(aKeys[u], u + 1);
            CThread::SetSpecific(aKeys[0], 7);  // overwriting keeps its place
        })
        .join();
    EXPECT_EQ((TSeen{3, 2, 7}), g_seen);
}

TEST(CThreadValueDestructor, SeesItsOwnValueAndThoseStillToBeDestroyed)
{
    const CScopedKey other;
    const CScopedKey key(
        [](unsigned int)
        {
            Note(Get(g_uKey));
            Note(Get(g_uOtherKey));
        });
    g_uKey = key;
    g_uOtherKey = other;
    RunThread(
        [](unsigned int)
        {
            CThread::SetSpecific(g_uOtherKey, 5);
            CThread::SetSpecific(g_uKey, 6);
            return 0u;
        });
    EXPECT_EQ((TSeen{6, 5}), g_seen);
}

TEST(CThreadValueDestructor, FindsNoValueThatIsDestroyedAlready)
{
    const CScopedKey key([](unsigned int) { Note(Get(g_uOtherKey)); });
    const CScopedKey other;
    g_uKey = key;
    g_uOtherKey = other;
    RunThread(
        [](unsigned int)
        {
            CThread::SetSpecific(g_uKey, 6);
            CThread::SetSpecific(g_uOtherKey, 5);
            return 0u;
        });
    EXPECT_EQ(TSeen{0}, g_seen);
}

TEST(CThreadValueDestructor, LosesWhatItSetsForItsOwnKey)
{
    const CScopedKey key(
        [](unsigned int uValue)
        {
            Note(uValue);
            EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, uValue + 1));
            Note(Get(g_uKey));
        });
    g_uKey = key;
    RunThread([](unsigned int) { return static_cast<unsigned int>(CThread::SetSpecific(g_uKey, 1)); });
    EXPECT_EQ((TSeen{1, 2}), g_seen);
    EXPECT_EQ(1u, CThreadProbe::CountReferences(key));
}

TEST(CThreadValueDestructor, MayTakeItsOwnValueAway)
{
    const CScopedKey key(
        [](unsigned int uValue)
        {
            Note(uValue);
            for (int n = 0; n < 2; ++n) EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(g_uKey, 0));
            Note(Get(g_uKey));
        });
    g_uKey = key;
    RunThread([](unsigned int) { return static_cast<unsigned int>(CThread::SetSpecific(g_uKey, 1)); });
    EXPECT_EQ((TSeen{1, 0}), g_seen);
    EXPECT_EQ(1u, CThreadProbe::CountReferences(key));
}

TEST(CThreadValueDestructor, MayTakeOtherValuesAway)
{
    const CScopedKey first(Note);
    const CScopedKey second(Note);
    const CScopedKey third(
        [](unsigned int uValue)
        {
            Note(uValue);
            CThread::SetSpecific(g_uKey, 0);
        });
    for (const CScopedKey* pTaken : {&first, &second})
    {
        g_uKey = *pTaken;
        g_seen.clear();
        std::thread(
            [&]
            {
                CThread::SetSpecific(first, 1);
                CThread::SetSpecific(second, 2);
                CThread::SetSpecific(third, 3);
            })
            .join();
        EXPECT_EQ((TSeen{3, pTaken == &first ? 2u : 1u}), g_seen);
    }
}

TEST(CThreadValueDestructor, MaySetOtherKeysWhoseDestructorsThenRun)
{
    const CScopedKey other(Note);
    const CScopedKey key([](unsigned int uValue) { CThread::SetSpecific(g_uOtherKey, uValue + 1); });
    g_uKey = key;
    g_uOtherKey = other;
    RunThread([](unsigned int) { return static_cast<unsigned int>(CThread::SetSpecific(g_uKey, 1)); });
    EXPECT_EQ(TSeen{2}, g_seen);
    EXPECT_EQ(1u, CThreadProbe::CountReferences(other));
}

TEST(CThreadValueDestructor, OfTwoKeysThatSetEachOtherComesToAnEnd)
{
    const CScopedKey first(
        [](unsigned int uValue)
        {
            Note(uValue);
            CThread::SetSpecific(g_uOtherKey, uValue + 1);
        });
    const CScopedKey second(
        [](unsigned int uValue)
        {
            Note(uValue);
            CThread::SetSpecific(g_uKey, uValue + 1);
        });
    g_uKey = first;
    g_uOtherKey = second;
    RunThread([](unsigned int) { return static_cast<unsigned int>(CThread::SetSpecific(g_uKey, 1)); });
    TSeen rounds;
    for (unsigned int u = 1; u <= PTHREAD_DESTRUCTOR_ITERATIONS; ++u) rounds.push_back(u);
    EXPECT_EQ(rounds, g_seen);
    EXPECT_EQ(1u, CThreadProbe::CountReferences(first));
    EXPECT_EQ(1u, CThreadProbe::CountReferences(second));
}

TEST(CThreadValueDestructor, MayDeleteItsKey)
{
    const unsigned int uBefore = CThreadProbe::CountKeys();
    CThread::CreateKey(
        [](unsigned int uValue)
        {
            Note(uValue);
            EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(g_uKey));
            Note(CThreadProbe::CountKeys());
            EXPECT_EQ(QV_RES_TSD_KEY_NOT_FOUND, GetResult(g_uKey));
        },
        g_uKey);
    RunThread([](unsigned int) { return static_cast<unsigned int>(CThread::SetSpecific(g_uKey, 1)); });
    EXPECT_EQ((TSeen{1, uBefore}), g_seen) << "nothing else referred to it";
    EXPECT_EQ(uBefore, CThreadProbe::CountKeys());
}

TEST(CThreadValueDestructor, DoesNotLendItsValueToAKeyMadeInThePlaceOfItsOwn)
{
    CThread::CreateKey(
        [](unsigned int)
        {
            CThread::DeleteKey(g_uKey);
            // The allocator is likely to give a new key the memory of the old one.
            for (int n = 0; n < 100; ++n)
            {
                unsigned int uKey = 0;
                EXPECT_EQ(QV_RES_OK, CThread::CreateKey(Note, uKey));
                EXPECT_EQ(0u, Get(uKey));
                EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(uKey, 2));
                EXPECT_EQ(2u, CThreadProbe::CountReferences(uKey));
                CThread::DeleteKey(uKey);
            }
        },
        g_uKey);
    const unsigned int uBefore = CThreadProbe::CountKeys();
    RunThread([](unsigned int) { return static_cast<unsigned int>(CThread::SetSpecific(g_uKey, 1)); });
    EXPECT_EQ(TSeen(), g_seen);
    EXPECT_EQ(uBefore - 1, CThreadProbe::CountKeys());
}

TEST(CThreadValueDestructor, MayStartAndJoinAThread)
{
    const CScopedKey key(
        [](unsigned int)
        {
            CThread thread;
            EXPECT_EQ(QV_RES_OK, thread.StartThread([](unsigned int u) { return u; }, 6, nullptr, 0, CThread::eLOW));
            unsigned int uExitCode = 0;
            EXPECT_EQ(QV_RES_OK, thread.Join(&uExitCode));
            Note(uExitCode);
        });
    g_uKey = key;
    RunThread([](unsigned int) { return static_cast<unsigned int>(CThread::SetSpecific(g_uKey, 1)); });
    EXPECT_EQ(TSeen{6}, g_seen);
}

namespace
{
/// The calling thread's values beside a map.
class CValueModel
{
public:
    ~CValueModel()
    {
        for (const auto& [uKey, uValue] : m_model) CThread::DeleteKey(uKey);
    }

    void Step()
    {
        m_uKey = m_keys[Below(m_rng, m_keys.size())];
        unsigned int uPick = Below(m_rng, 10);
        const SOperation* pOperation = g_astOPERATIONS;
        for (; uPick >= pOperation->uWeight; ++pOperation) uPick -= pOperation->uWeight;
        SCOPED_TRACE(testing::Message() << pOperation->pszName << ", key " << m_uKey);
        (this->*pOperation->pfn)();
    }

private:
    struct SOperation
    {
        const char* pszName;
        unsigned int uWeight;  // of 10
        void (CValueModel::*pfn)();
    };
    static const SOperation g_astOPERATIONS[];

    bool IsLive() const { return m_model.count(m_uKey) != 0; }
    QvResult Wanted() const { return IsLive() ? QV_RES_OK : QV_RES_TSD_KEY_NOT_FOUND; }

    void Create()
    {
        unsigned int uNew = 0;
        ASSERT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uNew));
        ASSERT_EQ(0u, m_model.count(uNew));
        m_model[uNew] = 0;
        m_keys.push_back(uNew);
    }
    void Delete()
    {
        if (m_model.size() <= 5) return;
        ASSERT_EQ(Wanted(), CThread::DeleteKey(m_uKey));
        m_model.erase(m_uKey);
    }
    void Set()
    {
        const unsigned int uValue = Below(m_rng, 3);
        ASSERT_EQ(Wanted(), CThread::SetSpecific(m_uKey, uValue));
        if (IsLive()) m_model[m_uKey] = uValue;
    }
    void Get()
    {
        ASSERT_EQ(Wanted(), GetResult(m_uKey));
        if (IsLive()) { ASSERT_EQ(m_model[m_uKey], ::Get(m_uKey)); }
    }

    std::mt19937 m_rng{TestSeed()};
    std::map<unsigned int, unsigned int> m_model;  // live keys with their values
    std::vector<unsigned int> m_keys = {0};        // dead ones, too
    unsigned int m_uKey = 0;
};
const CValueModel::SOperation CValueModel::g_astOPERATIONS[] = {{"create", 1, &CValueModel::Create},
                                                                {"delete", 1, &CValueModel::Delete},
                                                                {"set", 3, &CValueModel::Set},
                                                                {"get", 5, &CValueModel::Get}};
}  // namespace

TEST(CThreadValueModel, RandomUseMatchesAMap)
{
    std::thread(
        []
        {
            CValueModel model;
            for (unsigned int uStep = 0; uStep < 20000 && !testing::Test::HasFatalFailure(); ++uStep)
            {
                SCOPED_TRACE(testing::Message() << "step " << uStep);
                model.Step();
            }
        })
        .join();
    EXPECT_EQ(0u, CThreadProbe::CountKeys()) << "what the thread left was freed with it";
}

TEST(CThreadValues, OfManyThreadsDoNotDisturbOneAnother)
{
    constexpr unsigned int uTHREADS = 4;
    static unsigned int s_uShared = 0;
    const CScopedKey shared([](unsigned int uValue) { EXPECT_EQ(uValue, Get(s_uShared)); });
    s_uShared = shared;
    CThread aThreads[uTHREADS];
    for (unsigned int u = 0; u < uTHREADS; ++u)
    {
        const auto use = [](unsigned int uSeed)
        {
            for (unsigned int uStep = 1; uStep < 300; ++uStep)
            {
                unsigned int uOwn = 0;
                EXPECT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uOwn));
                EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(uOwn, uSeed));
                EXPECT_EQ(QV_RES_OK, CThread::SetSpecific(s_uShared, uSeed * 1000 + uStep));
                EXPECT_EQ(uSeed, Get(uOwn));
                EXPECT_EQ(uSeed * 1000 + uStep, Get(s_uShared));
                EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(uOwn));
            }
            return 0u;
        };
        ASSERT_EQ(QV_RES_OK, aThreads[u].StartThread(use, u + 1, nullptr, 0, CThread::eNORMAL));
    }
    for (CThread& rThread : aThreads) rThread.Join(nullptr);
    EXPECT_EQ(1u, CThreadProbe::CountReferences(shared));
}
