#include "framework/ecom/ecom.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "framework/ecom/unknown.h"
#include "framework/kernel/framework_initializer.h"

namespace
{
constexpr QvResult g_resOfInterface = static_cast<QvResult>(0x80001234);
constexpr QvResult g_resWarning = 0x40000001;

constexpr unsigned char g_auIidThing[] = "IThing";
constexpr SEComGuid g_stIidThing = {sizeof(g_auIidThing), g_auIidThing};
constexpr unsigned char g_auClsid[] = "a class";
constexpr SEComGuid g_stClsid = {sizeof(g_auClsid), g_auClsid};
constexpr unsigned char g_auClsidOther[] = "another class";
constexpr SEComGuid g_stClsidOther = {sizeof(g_auClsidOther), g_auClsidOther};

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
    bool bKeep = false;
    std::vector<std::string> calls;
    std::vector<unsigned int> counts;  // of references, at each call
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
        if (!IsEqualEComIID(pIid, &g_stIidThing)) return CEComUnknown::NonDelegatingQueryIf(pIid, ppInterface);
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
        if (g_script.bKeep) *pbDeleteThis = false;
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
        UnregisterECom(&g_stClsid);
        UnregisterECom(&g_stClsidOther);
        EXPECT_EQ(0, g_script.nAlive);
    }
};

class CEComCreation : public CEComRegistry
{
protected:
    void SetUp() override
    {
        CEComRegistry::SetUp();
        ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stClsid, CThing::Create));
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

TEST(SEComGuid, IsEqualBySizeAndBytes)
{
    const unsigned char auCopy[] = "IThing";
    const SEComGuid stCopy = {sizeof(auCopy), auCopy};
    const SEComGuid stPrefix = {sizeof(auCopy) - 1, auCopy};
    const unsigned char auOther[] = "IThinG";
    const SEComGuid stOther = {sizeof(auOther), auOther};
    const SEComGuid stEmpty1 = {0, nullptr};
    const SEComGuid stEmpty2 = {0, auCopy};
    for (bool (*const pfnIsEqual)(const SEComGuid*, const SEComGuid*) :
         {IsEqualSEComGuid, IsEqualEComIID, IsEqualEComCLSID})
    {
        EXPECT_TRUE(pfnIsEqual(&g_stIidThing, &g_stIidThing));
        EXPECT_TRUE(pfnIsEqual(&g_stIidThing, &stCopy)) << "at another address";
        EXPECT_FALSE(pfnIsEqual(&g_stIidThing, &stPrefix)) << "a prefix";
        EXPECT_FALSE(pfnIsEqual(&stPrefix, &stCopy)) << "a prefix at the same address";
        EXPECT_FALSE(pfnIsEqual(&g_stIidThing, &stOther));
        EXPECT_TRUE(pfnIsEqual(&stEmpty1, &stEmpty2));
        EXPECT_FALSE(pfnIsEqual(nullptr, &stCopy));
        EXPECT_FALSE(pfnIsEqual(&stCopy, nullptr));
        EXPECT_FALSE(pfnIsEqual(nullptr, nullptr));
    }
}

TEST_F(CEComRegistry, RefusesNullArguments)
{
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, RegisterECom(nullptr, CThing::Create));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, RegisterECom(&g_stClsid, nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, UnregisterECom(nullptr));
}

TEST_F(CEComRegistry, KeepsTheFirstOfEqualIdentifiers)
{
    const unsigned char auCopy[] = "a class";
    const SEComGuid stCopy = {sizeof(auCopy), auCopy};
    EXPECT_EQ(QV_RES_OK, RegisterECom(&g_stClsid, CThing::Create));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, RegisterECom(&g_stClsid, CThing::Create));
    EXPECT_EQ(QV_RES_ALREADY_EXISTS, RegisterECom(&stCopy, CreateNone));
    void* pvInterface = nullptr;
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&stCopy, nullptr, &g_stIidThing, &pvInterface));
    static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&stCopy)) << "by an equal identifier";
}

TEST_F(CEComRegistry, APrefixIsAnotherIdentifier)
{
    const SEComGuid stPrefix = {sizeof(g_auClsid) - 1, g_auClsid};
    EXPECT_EQ(QV_RES_OK, RegisterECom(&g_stClsid, CThing::Create));
    EXPECT_EQ(QV_RES_INVALID_STATE, UnregisterECom(&stPrefix));
    EXPECT_EQ(QV_RES_OK, RegisterECom(&stPrefix, CreateNone));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&stPrefix));
}

TEST_F(CEComRegistry, ForgetsAClassOnce)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stClsidOther, CreateNone));
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stClsid, CThing::Create));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&g_stClsidOther));
    EXPECT_EQ(QV_RES_INVALID_STATE, UnregisterECom(&g_stClsidOther));
    void* pvInterface = nullptr;
    EXPECT_EQ(QV_RES_CLASS_NOT_REGISTERED, CreateEComInstance(&g_stClsidOther, nullptr, &g_stIidThing, &pvInterface));
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, &pvInterface)) << "the other one stays";
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&g_stClsid));
    EXPECT_EQ(1, g_script.nAlive) << "objects live on";
    static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
}

TEST_F(CEComRegistry, IsForgottenByAShutDown)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stClsid, CThing::Create));
    FinalizeECom();
    ASSERT_EQ(QV_RES_OK, InitializeECom());
    EXPECT_EQ(QV_RES_INVALID_STATE, UnregisterECom(&g_stClsid));
}

TEST_F(CEComCreation, RefusesNullArgumentsAndClearsTheOutput)
{
    void* pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, nullptr));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CreateEComInstance(nullptr, nullptr, &g_stIidThing, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, CreateEComInstance(&g_stClsid, nullptr, nullptr, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    EXPECT_EQ(0, g_script.nCreations);
}

TEST_F(CEComCreation, GivesAnObjectWithOneReferenceOwnedByTheCaller)
{
    void* pvInterface = nullptr;
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, &pvInterface));
    CThing* const pThing = static_cast<CThing*>(pvInterface);
    EXPECT_EQ(1u, pThing->GetReferenceCount());
    EXPECT_EQ((std::vector<std::string>{"initialize", "query"}), g_script.calls);
    EXPECT_EQ((std::vector<unsigned int>{1, 1}), g_script.counts);
    EXPECT_EQ(nullptr, g_script.pOuterSeen);
    EXPECT_EQ(2u, pThing->NonDelegatingAddIfRef());
    EXPECT_EQ(1u, pThing->NonDelegatingReleaseIfRef());
    EXPECT_EQ(1, g_script.nAlive);
    EXPECT_EQ(0u, pThing->NonDelegatingReleaseIfRef());
    EXPECT_EQ(0, g_script.nAlive);
    EXPECT_EQ((std::vector<std::string>{"initialize", "query", "uninitialize", "uninitialized"}), g_script.calls);
    EXPECT_EQ((std::vector<unsigned int>{1, 1, 0, 1}), g_script.counts);
}

TEST_F(CEComCreation, OfAnUnknownClassSaysSo)
{
    void* pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_CLASS_NOT_REGISTERED, CreateEComInstance(&g_stClsidOther, nullptr, &g_stIidThing, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
}

TEST_F(CEComCreation, WithAnOuterObjectGivesOnlyTheUnknown)
{
    COuter outer;
    void* pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_NO_INTERFACE, CreateEComInstance(&g_stClsid, &outer, &g_stIidThing, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    EXPECT_EQ(0, g_script.nCreations) << "the creation function is not called";
    EXPECT_EQ(QV_RES_NO_INTERFACE, CreateEComInstance(&g_stClsidOther, &outer, &g_stIidThing, &pvInterface))
        << "whether the class exists or not";
    const unsigned char auCopy[] = "IEComUnknown";
    const SEComGuid stCopy = {sizeof(auCopy), auCopy};
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_stClsid, &outer, &stCopy, &pvInterface));
    EXPECT_EQ(&outer, g_script.pOuterSeen);
    static_cast<IEComNonDelegatingUnknown*>(pvInterface)->NonDelegatingReleaseIfRef();
}

TEST_F(CEComCreation, PassesOnWhatTheCreationFunctionFailsWith)
{
    g_script.resCreate = g_resOfInterface;
    void* pvInterface = &pvInterface;
    EXPECT_EQ(g_resOfInterface, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
}

TEST_F(CEComCreation, WithoutAnObjectFails)
{
    g_script.bCreateNothing = true;
    void* pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_FAIL, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
}

TEST_F(CEComCreation, PassesOnAFailedInitializationAndDestroysTheObject)
{
    g_script.resInitialize = g_resOfInterface;
    void* pvInterface = &pvInterface;
    EXPECT_EQ(g_resOfInterface, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    EXPECT_EQ(0, g_script.nAlive);
    EXPECT_EQ((std::vector<std::string>{"initialize", "uninitialize", "uninitialized"}), g_script.calls);
}

TEST_F(CEComCreation, PassesOnAFailedQueryAndDestroysTheObject)
{
    void* pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_NO_INTERFACE, CreateEComInstance(&g_stClsid, nullptr, &g_stClsid, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    EXPECT_EQ(0, g_script.nAlive);
    g_script.resQuery = g_resOfInterface;
    EXPECT_EQ(g_resOfInterface, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface) << "whatever the query wrote";
    EXPECT_EQ(0, g_script.nAlive);
}

TEST_F(CEComCreation, TakesSuccessesWithAWarningAsSuccesses)
{
    g_script.resCreate = g_script.resInitialize = g_script.resQuery = g_resWarning;
    void* pvInterface = nullptr;
    EXPECT_EQ(g_resWarning, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, &pvInterface));
    ASSERT_NE(nullptr, pvInterface);
    static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
}

/// Creates a thing, and forgets and registers classes, all while it is created.
QvResult CreateNested(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown)
{
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&g_stClsidOther));
    void* pvInterface = nullptr;
    EXPECT_EQ(QV_RES_OK, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, &pvInterface));
    if (pvInterface != nullptr) static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
    EXPECT_EQ(QV_RES_OK, RegisterECom(&g_stClsidOther, CreateNested));
    return CThing::Create(pOuterUnknown, ppCEComUnknown);
}

TEST_F(CEComCreation, MayCreateAndRegisterFromACreationFunction)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stClsidOther, CreateNested));
    void* pvInterface = nullptr;
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_stClsidOther, nullptr, &g_stIidThing, &pvInterface));
    static_cast<CThing*>(pvInterface)->NonDelegatingReleaseIfRef();
    EXPECT_EQ(2, g_script.nCreations);
}

QvResult CreateThrowing(IEComUnknown*, CEComUnknown**)
{
    throw std::bad_alloc();
}

TEST_F(CEComCreation, LeavesNoLockBehindWhenACreationFunctionThrows)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stClsidOther, CreateThrowing));
    void* pvInterface = nullptr;
    EXPECT_THROW(CreateEComInstance(&g_stClsidOther, nullptr, &g_stIidThing, &pvInterface), std::bad_alloc);
    QvResult res = QV_RES_FAIL;
    std::thread([&] { res = UnregisterECom(&g_stClsidOther); }).join();
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
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_stClsidOther, create));
    const auto work = []
    {
        for (int n = 0; n < 500; ++n)
        {
            void* pvInterface = nullptr;
            CreateEComInstance(&g_stClsidOther, nullptr, &IID_IEComUnknown, &pvInterface);
            static_cast<IEComNonDelegatingUnknown*>(pvInterface)->NonDelegatingReleaseIfRef();
        }
    };
    std::thread thread1(work);
    std::thread thread2(work);
    for (int n = 0; n < 200; ++n)
    {
        UnregisterECom(&g_stClsid);
        RegisterECom(&g_stClsid, CThing::Create);
    }
    thread1.join();
    thread2.join();
    EXPECT_EQ(0, s_nOverlaps);
}

TEST(CEComUnknown, KnowsOnlyTheBaseInterface)
{
    CEComUnknown* const pObject = new CEComUnknown(nullptr);
    EXPECT_EQ(1u, pObject->GetReferenceCount());
    void* pvInterface = nullptr;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, pObject->NonDelegatingQueryIf(&IID_IEComUnknown, nullptr));
    EXPECT_EQ(QV_RES_OK, pObject->NonDelegatingQueryIf(&IID_IEComUnknown, &pvInterface));
    EXPECT_EQ(static_cast<IEComNonDelegatingUnknown*>(pObject), pvInterface);
    EXPECT_EQ(2u, pObject->GetReferenceCount());
    EXPECT_EQ(QV_RES_NO_INTERFACE, pObject->NonDelegatingQueryIf(&g_stIidThing, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    pvInterface = &pvInterface;
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, pObject->NonDelegatingQueryIf(nullptr, &pvInterface));
    EXPECT_EQ(nullptr, pvInterface);
    EXPECT_EQ(QV_RES_OK, pObject->InitializeInstance());
    EXPECT_EQ(1u, pObject->NonDelegatingReleaseIfRef());
    EXPECT_EQ(0u, pObject->NonDelegatingReleaseIfRef());
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
    pObject->NonDelegatingQueryIf(&IID_IEComUnknown, &pvInterface);
    EXPECT_EQ(1, pObject->nAdded);
    bool bDeleteThis = false;
    pObject->UninitializeInstance(&bDeleteThis);
    EXPECT_EQ(2, pObject->nAdded);
    EXPECT_TRUE(bDeleteThis);
    EXPECT_EQ(3u, pObject->GetReferenceCount());
    while (pObject->NonDelegatingReleaseIfRef() != 0) {}
}

TEST_F(CEComCreation, MayBeKeptAtItsEnd)
{
    g_script.bKeep = true;
    void* pvInterface = nullptr;
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_stClsid, nullptr, &g_stIidThing, &pvInterface));
    CThing* const pThing = static_cast<CThing*>(pvInterface);
    EXPECT_EQ(0u, pThing->NonDelegatingReleaseIfRef());
    EXPECT_EQ(1, g_script.nAlive);
    EXPECT_EQ(1u, pThing->GetReferenceCount());
    g_script.bKeep = false;
    EXPECT_EQ(0u, pThing->NonDelegatingReleaseIfRef());
    EXPECT_EQ(0, g_script.nAlive);
}

TEST_F(CEComCreation, CountsReferencesFromManyThreadsAndEndsOnce)
{
    for (int nRound = 0; nRound < 20; ++nRound)
    {
        CThing* const pThing = new CThing(nullptr);
        constexpr int nTHREADS = 4;
        for (int n = 1; n < nTHREADS; ++n) pThing->NonDelegatingAddIfRef();
        std::atomic<int> nEnded = 0;
        std::vector<std::thread> threads;
        for (int n = 0; n < nTHREADS; ++n)
        {
            threads.emplace_back(
                [&]
                {
                    for (int nPair = 0; nPair < 200; ++nPair)
                    {
                        pThing->NonDelegatingAddIfRef();
                        pThing->NonDelegatingReleaseIfRef();
                    }
                    if (pThing->NonDelegatingReleaseIfRef() == 0) ++nEnded;
                });
        }
        for (std::thread& rThread : threads) rThread.join();
        EXPECT_EQ(1, nEnded);
        EXPECT_EQ(0, g_script.nAlive);
    }
}

/// Tells what its holders have written into it when it ends.
class CNotebook : public CEComUnknown
{
public:
    explicit CNotebook(unsigned int* puSum) : CEComUnknown(nullptr), m_puSum(puSum) {}
    ~CNotebook() override { *m_puSum = auNotes[0] + auNotes[1]; }
    unsigned int auNotes[2] = {0, 0};

private:
    unsigned int* m_puSum;
};

TEST(CEComUnknown, EndsAfterAllThatItsHoldersDidToIt)
{
    constexpr unsigned int uROUNDS = 2000;
    std::vector<unsigned int> sums(uROUNDS);
    std::vector<CNotebook*> notebooks;
    for (unsigned int& ruSum : sums)
    {
        notebooks.push_back(new CNotebook(&ruSum));
        notebooks.back()->NonDelegatingAddIfRef();
    }
    // Both holders of each object let go of it at about the same time: the second one destroys its mutex, too.
    std::atomic<unsigned int> uArrived = 0;
    const auto letGo = [&](unsigned int uHolder)
    {
        ++uArrived;
        while (uArrived != 2) std::this_thread::yield();
        for (CNotebook* const pNotebook : notebooks)
        {
            pNotebook->auNotes[uHolder] = uHolder + 1;
            pNotebook->NonDelegatingReleaseIfRef();
        }
    };
    std::thread thread1(letGo, 0);
    std::thread thread2(letGo, 1);
    thread1.join();
    thread2.join();
    EXPECT_EQ(std::vector<unsigned int>(uROUNDS, 3), sums);
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
    CFacet elsewhere(&facet1);
    EXPECT_TRUE(IsEqualECom(&facet1, &facet2));
    EXPECT_EQ(1, facet1.nQueries);
    EXPECT_EQ(1, facet2.nQueries);
    EXPECT_EQ(1, identity.nReferences);
    EXPECT_FALSE(IsEqualECom(&facet1, &elsewhere));
    EXPECT_EQ(1, facet1.nReferences);
}

TEST(IsEqualECom, AsksNobodyAboutTheSamePointerOrNull)
{
    CFacet facet(nullptr);
    EXPECT_TRUE(IsEqualECom(&facet, &facet));
    EXPECT_FALSE(IsEqualECom(&facet, nullptr));
    EXPECT_FALSE(IsEqualECom(nullptr, &facet));
    EXPECT_FALSE(IsEqualECom(nullptr, nullptr));
    EXPECT_EQ(0, facet.nQueries);
}

TEST(IsEqualECom, IsFalseForObjectsThatDoNotAnswer)
{
    CFacet mute1(nullptr);
    CFacet mute2(nullptr);
    EXPECT_FALSE(IsEqualECom(&mute1, &mute2));
}

TEST(CVectorOfClasses, IsInstantiatedByTheLibrary)
{
    CVector<SEComClsInfo> vector;
    EXPECT_EQ(QV_RES_OK, vector.Append({&g_stClsid, CreateNone}));
    EXPECT_EQ(QV_RES_OK, vector.Insert(0, 1, {&g_stClsidOther, CThing::Create}));
    EXPECT_EQ(&g_stClsid, vector.GetAt(1)->pClsid);
    EXPECT_EQ(static_cast<PFNCreateEComInstance>(CThing::Create), vector.GetAt(0)->pfnCreateInstance);
}
}  // namespace
