#include "framework/ecom/ecom.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "framework/ecom/unknown.h"
#include "tests/support/refusing_new.h"

namespace
{
constexpr QvResult g_resOWN = static_cast<QvResult>(0x80001234);
constexpr QvResult g_resWARNING = 0x40000001;

constexpr unsigned char g_auIID_THING[] = "IThing";
constexpr SEComGuid g_stIID_THING = {sizeof(g_auIID_THING), g_auIID_THING};
constexpr unsigned char g_auCLSID[] = "a class";
constexpr SEComGuid g_stCLSID = {sizeof(g_auCLSID), g_auCLSID};
constexpr unsigned char g_auCLSID_OTHER[] = "another class";
constexpr SEComGuid g_stCLSID_OTHER = {sizeof(g_auCLSID_OTHER), g_auCLSID_OTHER};

using TCalls = std::vector<std::string>;

/// What happens to things, and what they are told to answer.
struct SScript
{
    int nAlive = 0;
    int nCreations = 0;
    IEComUnknown* pOuterSeen = nullptr;
    QvResult resCreate = QV_RES_OK;
    bool bCreateNothing = false;
    QvResult resInitialize = QV_RES_OK;
    QvResult resQuery = QV_RES_OK;
    TCalls calls = {};
    std::vector<unsigned int> counts = {};  // of references, at each call
};
SScript g_script;

class CThing : public CEComUnknown
{
public:
    explicit CThing(IEComUnknown* pOuterUnknown) : CEComUnknown(pOuterUnknown) { ++g_script.nAlive; }
    ~CThing() override { --g_script.nAlive; }

    QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        Note("query");
        if (g_script.resQuery < 0)
        {
            *ppInterface = this;  // which a failing query should not
            return g_script.resQuery;
        }
        if (!IsEqualEComIID(pIid, &g_stIID_THING)) return CEComUnknown::NonDelegatingQueryIf(pIid, ppInterface);
        *ppInterface = this;
        NonDelegatingAddIfRef();
        return g_script.resQuery;
    }
    QvResult InitializeInstance() override
    {
        Note("initialize");
        const QvResult res = CEComUnknown::InitializeInstance();
        return res != QV_RES_OK ? res : g_script.resInitialize;
    }
    void UninitializeInstance(bool* pbDeleteThis) override
    {
        EXPECT_TRUE(*pbDeleteThis);
        Note("uninitialize");
        *pbDeleteThis = false;
        CEComUnknown::UninitializeInstance(pbDeleteThis);
        EXPECT_TRUE(*pbDeleteThis);
        Note("uninitialized");
        NonDelegatingAddIfRef();
        NonDelegatingReleaseIfRef();  // a pair that must not end the object again
    }
    void Note(const char* pszCall)
    {
        g_script.calls.push_back(pszCall);
        g_script.counts.push_back(GetReferenceCount());
    }

    static QvResult Create(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown)
    {
        ++g_script.nCreations;
        g_script.pOuterSeen = pOuterUnknown;
        if (g_script.resCreate < 0 || g_script.bCreateNothing) return g_script.resCreate;
        *ppCEComUnknown = new CThing(pOuterUnknown);
        return g_script.resCreate;
    }
};

QvResult CreateNone(IEComUnknown*, CEComUnknown**)
{
    return QV_RES_FAIL;
}

class CEComRegistry : public testing::Test
{
protected:
    void SetUp() override { g_script = SScript(); }
    void TearDown() override
    {
        UnregisterECom(&g_stCLSID);
        UnregisterECom(&g_stCLSID_OTHER);
        EXPECT_EQ(0, g_script.nAlive);
    }
};

class CEComCreation : public CEComRegistry
{
protected:
    void SetUp() override
    {
        CEComRegistry::SetUp();
        ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stCLSID, CThing::Create));
    }
};

/// An outer object that counts nothing: it is only looked at.
class COuter final : public IEComUnknown
{
public:
    QvResult QueryIf(const SEComGuid*, void**) override { return QV_RES_FAIL; }
    unsigned int AddIfRef() override { return 7; }
    unsigned int ReleaseIfRef() override { return 7; }
};

TEST(SEComGuid, IsEqualToNothingIfItIsNullAndToAnyEmptyOne)
{
    const SEComGuid stPrefix = {sizeof(g_auIID_THING) - 1, g_auIID_THING};
    const SEComGuid stEmpty1 = {0, nullptr};
    const SEComGuid stEmpty2 = {0, g_auIID_THING};
    for (bool (*const pfnIsEqual)(const SEComGuid*, const SEComGuid*) :
         {IsEqualSEComGuid, IsEqualEComIID, IsEqualEComCLSID})
    {
        EXPECT_FALSE(pfnIsEqual(&stPrefix, &g_stIID_THING)) << "a prefix at the same address";
        EXPECT_TRUE(pfnIsEqual(&stEmpty1, &stEmpty2));
        EXPECT_FALSE(pfnIsEqual(nullptr, &g_stIID_THING));
        EXPECT_FALSE(pfnIsEqual(&g_stIID_THING, nullptr));
        EXPECT_FALSE(pfnIsEqual(nullptr, nullptr));
    }
}

TEST_F(CEComRegistry, KeepsTheFirstOfEqualIdentifiers)
{
    const unsigned char auCopy[] = "a class";
    const SEComGuid stCopy = {sizeof(auCopy), auCopy};
    EXPECT_EQ(QV_RES_OK, RegisterECom(&g_stCLSID, CThing::Create));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, RegisterECom(&g_stCLSID, CThing::Create));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, RegisterECom(&stCopy, CreateNone));
    void* pvInterface = nullptr;
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&stCopy, nullptr, &g_stIID_THING, &pvInterface));
    static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&stCopy)) << "by an equal identifier";
}

TEST_F(CEComRegistry, ForgetsAClassOnce)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stCLSID_OTHER, CreateNone));
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stCLSID, CThing::Create));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&g_stCLSID_OTHER));
    EXPECT_EQ(QV_RES_INVALID_STATE, UnregisterECom(&g_stCLSID_OTHER));
    void* pvInterface = nullptr;
    EXPECT_EQ(QV_RES_CLASS_NOT_REGISTERED, CreateEComInstance(&g_stCLSID_OTHER, nullptr, &g_stIID_THING, &pvInterface));
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_stCLSID, nullptr, &g_stIID_THING, &pvInterface))
        << "the other one stays";
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&g_stCLSID));
    EXPECT_EQ(1, g_script.nAlive) << "objects live on";
    static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
}

struct SFailure
{
    const char* pszName;
    const SEComGuid* pClsid;
    const SEComGuid* pIid;
    SScript stScript;
    QvResult resWant;
    TCalls calls;  // of the object
};

TCalls NoQuery()
{
    return {"initialize", "uninitialize", "uninitialized"};
}

TCalls AllCalls()
{
    return {"initialize", "query", "uninitialize", "uninitialized"};
}

class CEComFailure : public CEComCreation, public testing::WithParamInterface<SFailure>
{
};

TEST_P(CEComFailure, LeavesNoObjectAndNoInterface)
{
    g_script = GetParam().stScript;
    void* pvInterface = &pvInterface;
    EXPECT_EQ(GetParam().resWant, CreateEComInstance(GetParam().pClsid, nullptr, GetParam().pIid, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    EXPECT_EQ(GetParam().calls, g_script.calls);
    EXPECT_EQ(0, g_script.nAlive);
}

INSTANTIATE_TEST_SUITE_P(
    Failures, CEComFailure,
    testing::Values(
        SFailure{"NullClass", nullptr, &g_stIID_THING, {}, QV_RES_INVALID_ARGUMENT, {}},
        SFailure{"NullInterface", &g_stCLSID, nullptr, {}, QV_RES_INVALID_ARGUMENT, {}},
        SFailure{"OfTheFunction", &g_stCLSID, &g_stIID_THING, {.resCreate = g_resOWN}, g_resOWN, {}},
        SFailure{"WithoutAnObject", &g_stCLSID, &g_stIID_THING, {.bCreateNothing = true}, QV_RES_FAIL, {}},
        SFailure{"WithAWarningInsteadOfAnObject",
                 &g_stCLSID,
                 &g_stIID_THING,
                 {.resCreate = g_resWARNING, .bCreateNothing = true},
                 QV_RES_FAIL,
                 {}},
        SFailure{"OfTheInitialization", &g_stCLSID, &g_stIID_THING, {.resInitialize = g_resOWN}, g_resOWN, NoQuery()},
        SFailure{"OfTheQueryWhateverItWrote", &g_stCLSID, &g_stIID_THING, {.resQuery = g_resOWN}, g_resOWN, AllCalls()},
        SFailure{"OfTheQueryForAnother", &g_stCLSID, &g_stCLSID, {}, QV_RES_NO_INTERFACE, AllCalls()}),
    [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

TEST_F(CEComCreation, TakesSuccessesWithAWarningAsSuccesses)
{
    g_script.resCreate = g_script.resInitialize = g_script.resQuery = g_resWARNING;
    void* pvInterface = nullptr;
    EXPECT_EQ(g_resWARNING, CreateEComInstance(&g_stCLSID, nullptr, &g_stIID_THING, &pvInterface));
    ASSERT_NE(nullptr, pvInterface);
    static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
}

TEST_F(CEComCreation, GivesAnObjectWithOneReferenceOwnedByTheCaller)
{
    void* pvInterface = nullptr;
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_stCLSID, nullptr, &g_stIID_THING, &pvInterface));
    CThing* const pThing = static_cast<CThing*>(pvInterface);
    EXPECT_EQ(1u, pThing->GetReferenceCount());
    EXPECT_EQ((TCalls{"initialize", "query"}), g_script.calls);
    EXPECT_EQ((std::vector<unsigned int>{1, 1}), g_script.counts);
    EXPECT_EQ(nullptr, g_script.pOuterSeen);
    EXPECT_EQ(2u, pThing->NonDelegatingAddIfRef());
    EXPECT_EQ(1u, pThing->NonDelegatingReleaseIfRef());
    EXPECT_EQ(1, g_script.nAlive);
    EXPECT_EQ(0u, pThing->NonDelegatingReleaseIfRef());
    EXPECT_EQ(0, g_script.nAlive);
    EXPECT_EQ(AllCalls(), g_script.calls);
    EXPECT_EQ((std::vector<unsigned int>{1, 1, 0, 1}), g_script.counts);
}

TEST_F(CEComCreation, WithAnOuterObjectGivesOnlyTheUnknown)
{
    COuter outer;
    void* pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_NO_INTERFACE, CreateEComInstance(&g_stCLSID, &outer, &g_stIID_THING, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    EXPECT_EQ(0, g_script.nCreations) << "the creation function is not called";
    EXPECT_EQ(QV_RES_NO_INTERFACE, CreateEComInstance(&g_stCLSID_OTHER, &outer, &g_stIID_THING, &pvInterface))
        << "whether the class exists or not";
    const unsigned char auCopy[] = "IEComUnknown";
    const SEComGuid stCopy = {sizeof(auCopy), auCopy};
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_stCLSID, &outer, &stCopy, &pvInterface));
    EXPECT_EQ(&outer, g_script.pOuterSeen);
    static_cast<IEComNonDelegatingUnknown*>(pvInterface)->NonDelegatingReleaseIfRef();
}

/// Creates a thing, and forgets and registers classes, all while it is created.
QvResult CreateNested(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown)
{
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&g_stCLSID_OTHER));
    void* pvInterface = nullptr;
    EXPECT_EQ(QV_RES_OK, CreateEComInstance(&g_stCLSID, nullptr, &g_stIID_THING, &pvInterface));
    if (pvInterface != nullptr) static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
    EXPECT_EQ(QV_RES_OK, RegisterECom(&g_stCLSID_OTHER, CreateNested));
    return CThing::Create(pOuterUnknown, ppCEComUnknown);
}

TEST_F(CEComCreation, MayCreateAndRegisterFromACreationFunction)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stCLSID_OTHER, CreateNested));
    void* pvInterface = nullptr;
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_stCLSID_OTHER, nullptr, &g_stIID_THING, &pvInterface));
    static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
    EXPECT_EQ(2, g_script.nCreations);
}

QvResult CreateThrowing(IEComUnknown*, CEComUnknown**)
{
    throw std::bad_alloc();
}

TEST_F(CEComCreation, LeavesNoLockBehindWhenACreationFunctionThrows)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stCLSID_OTHER, CreateThrowing));
    void* pvInterface = nullptr;
    EXPECT_THROW(static_cast<void>(CreateEComInstance(&g_stCLSID_OTHER, nullptr, &g_stIID_THING, &pvInterface)),
                 std::bad_alloc);
    QvResult res = QV_RES_FAIL;
    std::thread([&] { res = UnregisterECom(&g_stCLSID_OTHER); }).join();
    EXPECT_EQ(QV_RES_OK, res);
}

TEST_F(CEComCreation, RunsCreationFunctionsOneAtATime)
{
    static std::atomic<int> s_nInside;
    static std::atomic<int> s_nOverlaps;
    s_nInside = s_nOverlaps = 0;
    const auto create = [](IEComUnknown*, CEComUnknown** ppCEComUnknown) -> QvResult
    {
        if (++s_nInside != 1) ++s_nOverlaps;
        std::this_thread::yield();
        *ppCEComUnknown = new CEComUnknown(nullptr);
        --s_nInside;
        return QV_RES_OK;
    };
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stCLSID_OTHER, create));
    const auto work = []
    {
        for (int n = 0; n < 500; ++n)
        {
            void* pvInterface = nullptr;
            EXPECT_EQ(QV_RES_OK, CreateEComInstance(&g_stCLSID_OTHER, nullptr, &IID_IEComUnknown, &pvInterface));
            static_cast<IEComNonDelegatingUnknown*>(pvInterface)->NonDelegatingReleaseIfRef();
        }
    };
    std::thread thread1(work);
    std::thread thread2(work);
    thread1.join();
    thread2.join();
    EXPECT_EQ(0, s_nOverlaps);
}

TEST(CEComUnknown, AddsItselfToTheCountOfAQueryThroughTheVirtualOperation)
{
    struct CCounting : CEComUnknown
    {
        using CEComUnknown::CEComUnknown;
        unsigned int NonDelegatingAddIfRef() override
        {
            ++nAdded;
            return CEComUnknown::NonDelegatingAddIfRef();
        }
        int nAdded = 0;
    };
    CCounting* const pObject = new CCounting(nullptr);
    void* pvInterface = nullptr;
    EXPECT_EQ(QV_RES_OK, pObject->NonDelegatingQueryIf(&IID_IEComUnknown, &pvInterface));
    EXPECT_EQ(1, pObject->nAdded);
    bool bDeleteThis = false;
    pObject->UninitializeInstance(&bDeleteThis);
    EXPECT_EQ(2, pObject->nAdded);
    EXPECT_TRUE(bDeleteThis);
    EXPECT_EQ(3u, pObject->GetReferenceCount());
    while (pObject->NonDelegatingReleaseIfRef() != 0) {}
}

/// An interface that answers the query for the base interface with what it is told.
class CFacet final : public IEComUnknown
{
public:
    explicit CFacet(CFacet* pIdentity) : m_pIdentity(pIdentity) {}
    QvResult QueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        ++nQueries;
        EXPECT_TRUE(IsEqualEComIID(pIid, &IID_IEComUnknown));
        EXPECT_EQ(nullptr, *ppInterface);
        if (m_pIdentity == nullptr) return QV_RES_FAIL;
        *ppInterface = static_cast<IEComUnknown*>(m_pIdentity);
        m_pIdentity->AddIfRef();
        return QV_RES_OK;
    }
    unsigned int AddIfRef() override { return static_cast<unsigned int>(++nReferences); }
    unsigned int ReleaseIfRef() override { return static_cast<unsigned int>(--nReferences); }

    int nQueries = 0;
    int nReferences = 1;

private:
    CFacet* m_pIdentity;
};

TEST(IsEqualECom, ComparesWhatBothAnswerForTheBaseInterfaceAndReleasesIt)
{
    CFacet identity(nullptr);
    CFacet facet1(&identity);
    CFacet facet2(&identity);
    EXPECT_TRUE(IsEqualECom(&facet1, &facet1)) << "asks nobody";
    EXPECT_FALSE(IsEqualECom(&facet1, nullptr));
    EXPECT_FALSE(IsEqualECom(nullptr, &facet1));
    EXPECT_FALSE(IsEqualECom(nullptr, nullptr));
    EXPECT_TRUE(IsEqualECom(&facet1, &facet2));
    EXPECT_EQ(1, facet1.nQueries);
    EXPECT_EQ(1, facet2.nQueries);
    EXPECT_EQ(1, identity.nReferences);
    CFacet elsewhere(&facet1);
    EXPECT_FALSE(IsEqualECom(&facet1, &elsewhere));
    EXPECT_EQ(1, facet1.nReferences);
    CFacet mute1(nullptr);
    CFacet mute2(nullptr);
    EXPECT_FALSE(IsEqualECom(&mute1, &mute2)) << "neither answers";
}

#if TESTS_OWN_OPERATOR_NEW
TEST_F(CEComRegistry, WithoutMemoryRefusesAClassAndKeepsTheOthers)
{
    FinalizeECom();
    ASSERT_EQ(QV_RES_OK, InitializeECom()) << "without the room that earlier entries left";
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stCLSID, CreateNone));
    {
        const CNoMemory none;
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, RegisterECom(&g_stCLSID_OTHER, CreateNone));
    }
    EXPECT_EQ(QV_RES_INVALID_STATE, UnregisterECom(&g_stCLSID_OTHER));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&g_stCLSID));
}
#endif
}  // namespace
