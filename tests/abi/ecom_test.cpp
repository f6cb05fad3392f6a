#include <cstdint>
#include <cstring>

#include "tests/abi/ecom_cls_info.h"
#include "tests/abi/exports.h"
#include "tests/abi/framework_up.h"
#include "tests/abi/guarded.h"
#include "tests/abi/old_mutex.h"
#include "tests/abi/text_blob.h"
#include "tests/support/refusing_new.h"

struct SEComGuid
{
    unsigned int m_uSize;
    const unsigned char* m_puData;
};

extern const SEComGuid IID_IEComUnknown;

class IEComUnknown
{
public:
    virtual QvResult QueryIf(const SEComGuid* pIid, void** ppInterface) = 0;
    virtual unsigned int AddIfRef() = 0;
    virtual unsigned int ReleaseIfRef() = 0;

protected:
    ~IEComUnknown() = default;
};

class IEComNonDelegatingUnknown
{
public:
    virtual QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) = 0;
    virtual unsigned int NonDelegatingAddIfRef() = 0;
    virtual unsigned int NonDelegatingReleaseIfRef() = 0;
    virtual ~IEComNonDelegatingUnknown();
};

class CEComUnknown : public IEComNonDelegatingUnknown
{
public:
    explicit CEComUnknown(IEComUnknown* pOuterUnknown);
    QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) override;
    unsigned int NonDelegatingAddIfRef() override;
    unsigned int NonDelegatingReleaseIfRef() override;
    ~CEComUnknown() override;
    virtual QvResult InitializeInstance();
    virtual void UninitializeInstance(bool* pbDeleteThis);
    unsigned int GetReferenceCount() const;

    CMutex m_mutex;
    unsigned int m_uReferenceCount;
};

QvResult RegisterECom(const SEComGuid* pClsid, int (*pfnCreateInstance)(IEComUnknown*, CEComUnknown**));
QvResult UnregisterECom(const SEComGuid* pClsid);
QvResult CreateEComInstance(const SEComGuid* pClsid, IEComUnknown* pOuterUnknown, const SEComGuid* pIid,
                            void** ppInterface);
bool IsEqualSEComGuid(const SEComGuid* pGuid1, const SEComGuid* pGuid2);
bool IsEqualEComIID(const SEComGuid* pIid1, const SEComGuid* pIid2);
bool IsEqualEComCLSID(const SEComGuid* pClsid1, const SEComGuid* pClsid2);
bool IsEqualECom(IEComUnknown* pUnknown1, IEComUnknown* pUnknown2);
QvResult InitializeECom();
void FinalizeECom();

extern template class CVector<SEComClsInfo>;

namespace
{
SEComGuid Guid(const char* pszName)
{
    return {static_cast<unsigned int>(std::strlen(pszName) + 1), BytesOf(pszName)};
}
const SEComGuid g_CLSID = Guid("a class of an old program");
const SEComGuid g_IID_IGREETING = Guid("IGreeting");

class IGreeting : public IEComUnknown
{
public:
    virtual int Greet() = 0;

protected:
    ~IGreeting() = default;
};

/// A component as an old program has it: it overrides every virtual operation, and keeps account of the calls.
class CGreeting : public CEComUnknown, public IGreeting
{
public:
    explicit CGreeting(IEComUnknown* pOuterUnknown) : CEComUnknown(pOuterUnknown) { ++ms_nAlive; }
    ~CGreeting() override { --ms_nAlive; }

    QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        ms_log += "Query ";
        if (!IsEqualEComIID(pIid, &g_IID_IGREETING)) return CEComUnknown::NonDelegatingQueryIf(pIid, ppInterface);
        *ppInterface = static_cast<IGreeting*>(this);
        NonDelegatingAddIfRef();
        return QV_RES_OK;
    }
    unsigned int NonDelegatingAddIfRef() override
    {
        ms_log += "Add ";
        return CEComUnknown::NonDelegatingAddIfRef();
    }
    unsigned int NonDelegatingReleaseIfRef() override
    {
        ms_log += "Release ";
        return CEComUnknown::NonDelegatingReleaseIfRef();
    }
    QvResult InitializeInstance() override
    {
        ms_log += "Initialize ";
        return QV_RES_OK;
    }
    void UninitializeInstance(bool* pbDeleteThis) override
    {
        ms_log += "Uninitialize ";
        CEComUnknown::UninitializeInstance(pbDeleteThis);
    }

    QvResult QueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        return NonDelegatingQueryIf(pIid, ppInterface);
    }
    unsigned int AddIfRef() override { return NonDelegatingAddIfRef(); }
    unsigned int ReleaseIfRef() override { return NonDelegatingReleaseIfRef(); }
    int Greet() override { return 42; }

    static QvResult Create(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown)
    {
        ms_pOuterUnknown = pOuterUnknown;
        *ppCEComUnknown = new CGreeting(pOuterUnknown);
        return QV_RES_OK;
    }

    static inline int ms_nAlive;
    static inline std::string ms_log;
    static inline IEComUnknown* ms_pOuterUnknown;
};

class CEComRegistry : public testing::Test
{
protected:
    void SetUp() override
    {
        CGreeting::ms_nAlive = 0;
        CGreeting::ms_log.clear();
        ASSERT_EQ(QV_RES_OK, RegisterECom(&g_CLSID, CGreeting::Create));
    }
    void TearDown() override
    {
        void* pvInterface = nullptr;
        EXPECT_EQ(QV_RES_OK, UnregisterECom(&g_CLSID));
        EXPECT_EQ(QV_RES_CLASS_NOT_REGISTERED, CreateEComInstance(&g_CLSID, nullptr, &IID_IEComUnknown, &pvInterface));
        EXPECT_EQ(0, CGreeting::ms_nAlive);
    }
};
}  // namespace

TEST(SEComGuidLayout, HasSizeThenDataAndIsComparedUnderAllThreeNames)
{
    static_assert(sizeof(SEComGuid) == 16);
    EXPECT_TRUE(HasItsSize(IID_IEComUnknown));
    ASSERT_EQ(13u, IID_IEComUnknown.m_uSize);
    EXPECT_STREQ("IEComUnknown", reinterpret_cast<const char*>(IID_IEComUnknown.m_puData));
    const unsigned char auName[] = "a class of an old program";
    const SEComGuid same = {sizeof(auName), auName}, prefix = {sizeof(auName) - 1, auName};
    for (bool (*const pfnIsEqual)(const SEComGuid*, const SEComGuid*) :
         {static_cast<bool (*)(const SEComGuid*, const SEComGuid*)>(IsEqualSEComGuid), IsEqualEComIID,
          IsEqualEComCLSID})
    {
        EXPECT_TRUE(pfnIsEqual(&same, &g_CLSID));
        EXPECT_FALSE(pfnIsEqual(&prefix, &g_CLSID));
    }
}

#if TESTS_OWN_OPERATOR_NEW
TEST(SEComClsInfoLayout, RegistryEntryIsTheIdentifiersAddressThenTheFunction)
{
    static_assert(sizeof(SEComClsInfo) == 16);
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_CLSID, CGreeting::Create));
    FinalizeECom();
    ASSERT_EQ(QV_RES_OK, InitializeECom()) << "without earlier entries and their room";
    const CNewRecord record(eARRAYS);
    ASSERT_EQ(QV_RES_OK, RegisterECom(&g_CLSID, CGreeting::Create));
    ASSERT_FALSE(record.GetMade().empty()) << "the registry grows exactly";
    const SEComClsInfo entry = LoadAt<SEComClsInfo>(record.GetMade().back().pv, 0);
    EXPECT_EQ(&g_CLSID, entry.m_pClsid);
    EXPECT_EQ(CGreeting::Create, entry.m_pfnCreateInstance);
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&g_CLSID));
}
#endif

TEST(CEComUnknownLayout, HasTheMutexThenTheCount)
{
    static_assert(sizeof(IEComUnknown) == 8 && sizeof(IEComNonDelegatingUnknown) == 8);
    static_assert(sizeof(CEComUnknown) == 64);
    const CGuarded<CEComUnknown> object(nullptr);
    EXPECT_EQ("CMutex::~CMutex()", FunctionInSlot(&object->m_mutex, 0));
    EXPECT_EQ(1u, object->m_uReferenceCount);
    object->m_uReferenceCount = 77;
    EXPECT_EQ(77u, object->GetReferenceCount());
}

TEST(CEComUnknownSlots, AreTheInterfacesThenTheTwoPhasesOfLife)
{
    const CEComUnknown object(nullptr);
    EXPECT_EQ(0, OffsetToTop(&object));
    const std::vector<std::string> table{"CEComUnknown::NonDelegatingQueryIf(SEComGuid const*, void**)",
                                         "CEComUnknown::NonDelegatingAddIfRef()",
                                         "CEComUnknown::NonDelegatingReleaseIfRef()",
                                         "CEComUnknown::~CEComUnknown()",
                                         "CEComUnknown::~CEComUnknown()",
                                         "CEComUnknown::InitializeInstance()",
                                         "CEComUnknown::UninitializeInstance(bool*)"};
    EXPECT_EQ(table, TableOf(&object));
    EXPECT_EQ("ppp--", PureSlots("_ZTV25IEComNonDelegatingUnknown"));
}

TEST(CEComUnknown, AnswersThroughTheInterfaceAndIsDeletedByTheLastRelease)
{
    const CNewRecord record(eALL_FORMS, sizeof(CEComUnknown));
    CEComUnknown& rObject = OfUnknownOrigin(*new CEComUnknown(nullptr));
    IEComNonDelegatingUnknown& rUnknown = rObject;
    EXPECT_EQ(QV_RES_OK, rObject.InitializeInstance());
    void* pvInterface = nullptr;
    EXPECT_EQ(QV_RES_OK, rUnknown.NonDelegatingQueryIf(&IID_IEComUnknown, &pvInterface));
    EXPECT_EQ(&rUnknown, pvInterface);
    EXPECT_EQ(3u, rUnknown.NonDelegatingAddIfRef());
    EXPECT_EQ(2u, rUnknown.NonDelegatingReleaseIfRef());
    EXPECT_EQ(1u, rUnknown.NonDelegatingReleaseIfRef());
    rObject.m_uReferenceCount = 0;
    bool bDeleteThis = false;
    rObject.UninitializeInstance(&bDeleteThis);
    EXPECT_TRUE(bDeleteThis);
    EXPECT_EQ(1u, rObject.m_uReferenceCount);
    EXPECT_EQ(0u, rUnknown.NonDelegatingReleaseIfRef());
    EXPECT_EQ(0u, record.GetLiveBlocks());
}

TEST_F(CEComRegistry, CallsTheProgramsComponentThroughItsSlots)
{
    void* pvInterface = nullptr;
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_CLSID, nullptr, &g_IID_IGREETING, &pvInterface));
    EXPECT_EQ("Initialize Query Add Release ", CGreeting::ms_log);
    auto* const pGreeting = static_cast<IGreeting*>(pvInterface);
    EXPECT_EQ(42, pGreeting->Greet());

    CGreeting::ms_log.clear();
    EXPECT_EQ(0u, pGreeting->ReleaseIfRef());
    EXPECT_EQ("Release Uninitialize Add ", CGreeting::ms_log);
}

TEST_F(CEComRegistry, HandsTheOuterUnknownOn)
{
    CGreeting outer(nullptr);
    IEComUnknown* const pOuter = &outer;
    void* pvInterface = nullptr;
    EXPECT_EQ(QV_RES_NO_INTERFACE, CreateEComInstance(&g_CLSID, pOuter, &g_IID_IGREETING, &pvInterface));
    ASSERT_EQ(QV_RES_OK, CreateEComInstance(&g_CLSID, pOuter, &IID_IEComUnknown, &pvInterface));
    EXPECT_EQ(pOuter, CGreeting::ms_pOuterUnknown);
    EXPECT_EQ(0u, static_cast<IEComNonDelegatingUnknown*>(pvInterface)->NonDelegatingReleaseIfRef());
    EXPECT_EQ(1, CGreeting::ms_nAlive) << "the outer object";
}

namespace
{
/// One interface of an object of the program's own: it answers as its identity another one.
struct SFace final : IEComUnknown
{
    QvResult QueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        EXPECT_TRUE(IsEqualSEComGuid(&IID_IEComUnknown, pIid));
        log += "Query ";
        *ppInterface = pIdentity;
        return QV_RES_OK;
    }
    unsigned int AddIfRef() override { return static_cast<unsigned int>((log += "Add ").size()); }
    unsigned int ReleaseIfRef() override { return static_cast<unsigned int>((log += "Release ").size()); }

    IEComUnknown* pIdentity = this;
    std::string log;
};
}  // namespace

TEST(IEComUnknownSlots, AreQueryThenAddThenRelease)
{
    SFace identity, face, other;
    face.pIdentity = &identity;
    EXPECT_TRUE(IsEqualECom(&face, &identity));
    EXPECT_EQ("Query ", face.log);
    EXPECT_EQ("Query Release Release ", identity.log);
    EXPECT_FALSE(IsEqualECom(&face, &other));
}
