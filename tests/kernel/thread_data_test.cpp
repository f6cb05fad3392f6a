// Thread-specific data: keys, values, and destructors that use them.
#include <gtest/gtest.h>
#include <limits.h>

#include <algorithm>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/sanitizers.h"
#include "tests/support/test_seed.h"
#include "tests/support/thread_probe.h"

namespace
{
using TDestructor = void (*)(unsigned int);
using TSeen = std::vector<unsigned int>;

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

// The keys of a scenario, and what was noted in it: destructors and functions of threads take no other parameter.
unsigned int g_uKey1 = 0;
unsigned int g_uKey2 = 0;
unsigned int g_uKey3 = 0;
TSeen g_seen;

void Note(unsigned int uValue)
{
    g_seen.push_back(uValue);
}

QvResult Set(unsigned int uKey, unsigned int uValue)
{
    return CThread::SetSpecific(uKey, uValue);
}

/// A thread that sets values of three keys, and what their destructors then note.
struct SScenario
{
    const char* pszName;
    void (*pfnRun)();
    TDestructor pfnDestroy1;
    TDestructor pfnDestroy2;
    TDestructor pfnDestroy3;
    TSeen seen;
};

void SetAll()
{
    Set(g_uKey1, 1);
    Set(g_uKey2, 2);
    Set(g_uKey3, 3);
}

/// Two keys whose destructors set each other's value, until nobody calls them any more.
TSeen AsManyRoundsAsTheSystemHas()
{
    TSeen rounds;
    for (unsigned int u = 1; u <= PTHREAD_DESTRUCTOR_ITERATIONS; ++u) rounds.push_back(u);
    return rounds;
}

const SScenario g_astSCENARIOS[] = {
    {"TheLastKeySetFirst",
     []
     {
         SetAll();
         Set(g_uKey1, 7);  // overwriting keeps its place
     },
     Note,
     Note,
     Note,
     {3, 2, 7}},
    {"NoDestructorIsNeeded", SetAll, nullptr, Note, nullptr, {2}},
    {"AStoredZeroIsDestroyed", [] { Set(g_uKey1, 0); }, Note, Note, Note, {0}},
    {"AValueTakenAwayIsNot",
     []
     {
         SetAll();
         Set(g_uKey2, 0);
         Set(g_uKey3, 0);
         Set(g_uKey3, 0);
     },
     Note,
     Note,
     Note,
     {0, 1}},
    {"ADeletedKeyIsNot",
     []
     {
         SetAll();
         CThread::DeleteKey(g_uKey2);
     },
     Note,
     Note,
     Note,
     {3, 1}},
    {"SeesItsOwnValueAndThoseStillToBeDestroyed",
     SetAll,
     nullptr,
     [](unsigned int)
     {
         for (unsigned int uKey : {g_uKey1, g_uKey2, g_uKey3}) Note(Get(uKey));
     },
     nullptr,
     {1, 2, 0}},
    {"LosesWhatItSetsForItsOwnKey",
     [] { Set(g_uKey1, 1); },
     [](unsigned int uValue)
     {
         Note(uValue);
         EXPECT_EQ(QV_RES_OK, Set(g_uKey1, uValue + 1));
         Note(Get(g_uKey1));
     },
     nullptr,
     nullptr,
     {1, 2}},
    {"MayTakeItsOwnValueAway",
     [] { Set(g_uKey1, 1); },
     [](unsigned int uValue)
     {
         Note(uValue);
         for (int n = 0; n < 2; ++n) EXPECT_EQ(QV_RES_OK, Set(g_uKey1, 0));
         Note(Get(g_uKey1));
     },
     nullptr,
     nullptr,
     {1, 0}},
    {"MayTakeTheNextValueAway", SetAll, Note, Note, [](unsigned int) { Set(g_uKey2, 0); }, {1}},
    {"MayTakeTheLastValueAway", SetAll, Note, Note, [](unsigned int) { Set(g_uKey1, 0); }, {2}},
    {"MaySetOtherKeysWhoseDestructorsThenRun",
     [] { Set(g_uKey1, 1); },
     [](unsigned int uValue) { Set(g_uKey2, uValue + 1); },
     Note,
     nullptr,
     {2}},
    {"OfTwoThatSetEachOtherComesToAnEnd", [] { Set(g_uKey1, 1); },
     [](unsigned int uValue)
     {
         Note(uValue);
         Set(g_uKey2, uValue + 1);
     },
     [](unsigned int uValue)
     {
         Note(uValue);
         Set(g_uKey1, uValue + 1);
     },
     nullptr, AsManyRoundsAsTheSystemHas()},
    {"MayDeleteItsKey",
     [] { Set(g_uKey1, 1); },
     [](unsigned int)
     {
         const unsigned int uKeys = CThreadProbe::CountKeys();
         EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(g_uKey1));
         EXPECT_EQ(uKeys - 1, CThreadProbe::CountKeys()) << "nothing else referred to it";
         Note(GetResult(g_uKey1) == QV_RES_TSD_KEY_NOT_FOUND ? 1 : 0);
     },
     nullptr,
     nullptr,
     {1}},
    {"DoesNotLendItsValueToAKeyMadeInThePlaceOfItsOwn",
     [] { Set(g_uKey1, 1); },
     [](unsigned int)
     {
         CThread::DeleteKey(g_uKey1);
         // The allocator is likely to give a new key the memory of the old one.
         for (int n = 0; n < 100; ++n)
         {
             unsigned int uKey = 0;
             EXPECT_EQ(QV_RES_OK, CThread::CreateKey(Note, uKey));
             EXPECT_EQ(0u, Get(uKey));
             EXPECT_EQ(QV_RES_OK, Set(uKey, 2));
             EXPECT_EQ(2u, CThreadProbe::CountReferences(uKey));
             CThread::DeleteKey(uKey);
         }
     },
     nullptr,
     nullptr,
     {}},
    {"MayStartAndJoinAThread",
     [] { Set(g_uKey1, 1); },
     [](unsigned int)
     {
         CThread thread;
         EXPECT_EQ(QV_RES_OK, StartTestThread(
                                  thread, [](unsigned int u) { return u; }, 6));
         unsigned int uExitCode = 0;
         EXPECT_EQ(QV_RES_OK, thread.Join(&uExitCode));
         Note(uExitCode);
     },
     nullptr,
     nullptr,
     {6}},
};

class CThreadValueDestructor : public testing::TestWithParam<SScenario>
{
protected:
    CThreadValueDestructor()
    {
        g_seen.clear();
        EXPECT_EQ(QV_RES_OK, CThread::CreateKey(GetParam().pfnDestroy1, g_uKey1));
        EXPECT_EQ(QV_RES_OK, CThread::CreateKey(GetParam().pfnDestroy2, g_uKey2));
        EXPECT_EQ(QV_RES_OK, CThread::CreateKey(GetParam().pfnDestroy3, g_uKey3));
    }
    ~CThreadValueDestructor() override
    {
        for (unsigned int uKey : {g_uKey1, g_uKey2, g_uKey3}) CThread::DeleteKey(uKey);
        EXPECT_EQ(0u, CThreadProbe::CountKeys()) << "no value refers to a key any more";
    }
};
}  // namespace

TEST_P(CThreadValueDestructor, RunsOnAThreadOfTheApplication)
{
    std::thread(GetParam().pfnRun).join();
    EXPECT_EQ(GetParam().seen, g_seen);
}

TEST_P(CThreadValueDestructor, RunsOnAThreadOfTheLibrary)
{
    static void (*s_pfnRun)() = nullptr;
    s_pfnRun = GetParam().pfnRun;
    CThread thread;
    const auto run = [](unsigned int)
    {
        s_pfnRun();
        return 0u;
    };
    ASSERT_EQ(QV_RES_OK, StartTestThread(thread, run));
    ASSERT_EQ(QV_RES_OK, thread.Join(nullptr));
    EXPECT_EQ(GetParam().seen, g_seen);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, CThreadValueDestructor, testing::ValuesIn(g_astSCENARIOS),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST(CThreadValue, IsDestroyedOnItsOwnThreadWhichStillHasItsNumber)
{
    static unsigned int s_uIdInDestructor = 0;
    static CThread* s_pSelfInDestructor = nullptr;
    static unsigned int s_uReferences = 0;
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey(
                             [](unsigned int)
                             {
                                 s_uIdInDestructor = CThread::GetCurrentId();
                                 s_pSelfInDestructor = CThread::GetThreadSelf();
                                 s_uReferences = CThreadProbe::CountReferences(g_uKey1);
                             },
                             g_uKey1));
    CThread thread;
    StartTestThread(thread, [](unsigned int) { return static_cast<unsigned int>(Set(g_uKey1, 99)); });
    thread.Join(nullptr);
    EXPECT_EQ(thread.GetId(), s_uIdInDestructor);
    EXPECT_EQ(&thread, s_pSelfInDestructor);
    EXPECT_EQ(1u, s_uReferences) << "the value has given its reference back";
    CThread::DeleteKey(g_uKey1);
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
        ASSERT_EQ(0, std::count(m_keys.begin(), m_keys.end(), uNew)) << "of another key, or of one that was deleted";
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
    std::map<unsigned int, unsigned int> m_model;      // live keys with their values
    std::vector<unsigned int> m_keys = {0, UINT_MAX};  // dead ones, and some that never were
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
            for (unsigned int uStep = 0; uStep < Repetitions(20000) && !testing::Test::HasFatalFailure(); ++uStep)
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
    EXPECT_EQ(QV_RES_OK, CThread::CreateKey([](unsigned int uValue) { EXPECT_EQ(uValue, Get(g_uKey1)); }, g_uKey1));
    CThread aThreads[uTHREADS];
    for (unsigned int u = 0; u < uTHREADS; ++u)
    {
        const auto use = [](unsigned int uSeed)
        {
            EXPECT_EQ(0u, Get(g_uKey1));
            for (unsigned int uStep = 1; uStep < 300; ++uStep)
            {
                unsigned int uOwn = 0;
                EXPECT_EQ(QV_RES_OK, CThread::CreateKey(nullptr, uOwn));
                EXPECT_EQ(QV_RES_OK, Set(uOwn, uSeed));
                EXPECT_EQ(QV_RES_OK, Set(g_uKey1, uSeed * 1000 + uStep));
                EXPECT_EQ(uSeed, Get(uOwn));
                EXPECT_EQ(uSeed * 1000 + uStep, Get(g_uKey1));
                EXPECT_EQ(QV_RES_OK, CThread::DeleteKey(uOwn));
            }
            return 0u;
        };
        ASSERT_EQ(QV_RES_OK, StartTestThread(aThreads[u], use, u + 1));
    }
    for (CThread& rThread : aThreads) rThread.Join(nullptr);
    EXPECT_EQ(1u, CThreadProbe::CountReferences(g_uKey1));
    CThread::DeleteKey(g_uKey1);
}
