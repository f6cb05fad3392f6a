#include "framework/ecom/ecom.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "framework/ecom/guid.h"
#include "framework/ecom/unknown.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
const unsigned char g_auMine[] = "IMine";
const SEComGuid g_stIidMine = {sizeof g_auMine, g_auMine};
const unsigned char g_auClass[] = "Mine";
const SEComGuid g_stClsid = {sizeof g_auClass, g_auClass};
unsigned int g_uAlive = 0;

class IMine : public IEComUnknown
{
public:
    virtual int Value() = 0;

protected:
    ~IMine() = default;
};

class CMine : public CEComUnknown, public IMine
{
public:
    explicit CMine(IEComUnknown* pOuterUnknown) : CEComUnknown(pOuterUnknown) { ++g_uAlive; }
    ~CMine() override { --g_uAlive; }

    QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        if (ppInterface == nullptr || !IsEqualEComIID(pIid, &g_stIidMine))
        {
            return CEComUnknown::NonDelegatingQueryIf(pIid, ppInterface);
        }
        *ppInterface = static_cast<IMine*>(this);
        NonDelegatingAddIfRef();
        return QV_RES_OK;
    }
    unsigned int NonDelegatingAddIfRef() override { return CEComUnknown::NonDelegatingAddIfRef(); }
    unsigned int NonDelegatingReleaseIfRef() override { return CEComUnknown::NonDelegatingReleaseIfRef(); }
    QvResult InitializeInstance() override { return CEComUnknown::InitializeInstance(); }
    void UninitializeInstance(bool* pbDeleteThis) override
    {
        CEComUnknown::UninitializeInstance(pbDeleteThis);
        CHECK(*pbDeleteThis && GetReferenceCount() == 1);
    }

    QvResult QueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        return NonDelegatingQueryIf(pIid, ppInterface);
    }
    unsigned int AddIfRef() override { return NonDelegatingAddIfRef(); }
    unsigned int ReleaseIfRef() override { return NonDelegatingReleaseIfRef(); }
    int Value() override { return 42; }
};

int CreateMine(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown)
{
    *ppCEComUnknown = new CMine(pOuterUnknown);
    return QV_RES_OK;
}

void Identifiers()
{
    static_assert(std::is_same_v<decltype(SEComClsInfo::pClsid), const SEComGuid*>);
    static_assert(std::is_same_v<decltype(SEComClsInfo::pfnCreateInstance), int (*)(IEComUnknown*, CEComUnknown**)>);
    static_assert(std::is_same_v<decltype(SEComGuid::uSize), unsigned int>);
    static_assert(std::is_same_v<decltype(SEComGuid::puData), const unsigned char*>);
    static_assert(sizeof(SEComClsInfo) == 16 && sizeof(SEComGuid) == 16);
    CHECK(IID_IEComUnknown.uSize == 13 && std::memcmp(IID_IEComUnknown.puData, "IEComUnknown", 13) == 0);
    const unsigned char auCopy[] = "IMine";
    const SEComGuid stCopy = {sizeof auCopy, auCopy};
    const SEComGuid stPrefix = {3, auCopy};
    Promised<bool (*)(const SEComGuid*, const SEComGuid*)>(&IsEqualSEComGuid);
    Promised<bool (*)(const SEComGuid*, const SEComGuid*)>(&IsEqualEComIID);
    Promised<bool (*)(const SEComGuid*, const SEComGuid*)>(&IsEqualEComCLSID);
    CHECK(IsEqualSEComGuid(&g_stIidMine, &stCopy) && !IsEqualEComIID(&stPrefix, &stCopy));
    CHECK(!IsEqualEComCLSID(&IID_IEComUnknown, &stCopy));
}

void Raw()
{
    CEComUnknown* const pObject = new CEComUnknown(nullptr);
    const CEComUnknown& rConst = *pObject;
    void* pvInterface = nullptr;
    CHECK(pObject->InitializeInstance() == QV_RES_OK && rConst.GetReferenceCount() == 1);
    CHECK(pObject->NonDelegatingQueryIf(&IID_IEComUnknown, &pvInterface) == QV_RES_OK);
    CHECK(pObject->NonDelegatingQueryIf(&IID_IEComUnknown, NULL) == QV_RES_INVALID_ARGUMENT);
    CHECK(static_cast<IEComNonDelegatingUnknown*>(pvInterface) == pObject);
    CHECK(pObject->NonDelegatingReleaseIfRef() == 1 && pObject->NonDelegatingReleaseIfRef() == 0);
    {
        CEComUnknown local(0);
        bool bDeleteThis = false;
        local.UninitializeInstance(&bDeleteThis);
        CHECK(bDeleteThis && local.GetReferenceCount() == 2);
    }
}

void Objects()
{
    void* pvInterface = nullptr;
    CHECK(CreateEComInstance(&g_stClsid, nullptr, &g_stIidMine, nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(CreateEComInstance(&g_stIidMine, 0, &g_stIidMine, &pvInterface) == QV_RES_CLASS_NOT_REGISTERED);
    CHECK(CreateEComInstance(&g_stClsid, NULL, &g_stClsid, &pvInterface) == QV_RES_NO_INTERFACE && g_uAlive == 0);
    CHECK(CreateEComInstance(&g_stClsid, nullptr, &g_stIidMine, &pvInterface) == QV_RES_OK && g_uAlive == 1);
    IMine* const pMine = static_cast<IMine*>(pvInterface);
    IEComUnknown* const pUnknown = pMine;
    CHECK(pMine->Value() == 42 && pUnknown->AddIfRef() == 2 && pMine->ReleaseIfRef() == 1);
    CHECK(IsEqualECom(pMine, pUnknown) && !IsEqualECom(pMine, nullptr) && !IsEqualECom(NULL, 0));
    void* pvNone = &pvInterface;
    CHECK(pUnknown->QueryIf(&g_stClsid, &pvNone) == QV_RES_NO_INTERFACE && pvNone == nullptr);
    CHECK(pUnknown->QueryIf(&g_stClsid, nullptr) == QV_RES_INVALID_ARGUMENT);
    CHECK(CreateEComInstance(&g_stClsid, pMine, &g_stIidMine, &pvNone) == QV_RES_NO_INTERFACE);

    void* pvInner = nullptr;
    CHECK(CreateEComInstance(&g_stClsid, pMine, &IID_IEComUnknown, &pvInner) == QV_RES_OK && g_uAlive == 2);
    CEComUnknown* const pObject = static_cast<CMine*>(pMine);
    const CEComUnknown& rConst = *pObject;
    IEComNonDelegatingUnknown* const pBase = pObject;
    CHECK(rConst.GetReferenceCount() == 1 && pBase->NonDelegatingAddIfRef() == 2);
    CHECK(pBase->NonDelegatingReleaseIfRef() == 1);
    // What was handed out for the base interface is the object's unknown that does not delegate.
    CHECK(static_cast<IEComNonDelegatingUnknown*>(pvInner)->NonDelegatingReleaseIfRef() == 0 && g_uAlive == 1);
    CHECK(pMine->ReleaseIfRef() == 0 && g_uAlive == 0);
}
}  // namespace

void EComClient()
{
    using PFNCreate = int (*)(IEComUnknown*, CEComUnknown**);
    Promised<QvResult (*)(const SEComGuid*, PFNCreate)>(&RegisterECom);
    Promised<QvResult (*)(const SEComGuid*)>(&UnregisterECom);
    Promised<QvResult (*)(const SEComGuid*, IEComUnknown*, const SEComGuid*, void**)>(&CreateEComInstance);
    Promised<bool (*)(IEComUnknown*, IEComUnknown*)>(&IsEqualECom);
    Promised<QvResult (*)()>(&InitializeECom);
    Promised<void (*)()>(&FinalizeECom);
    Identifiers();
    Raw();

    CHECK(RegisterECom(nullptr, CreateMine) == QV_RES_INVALID_ARGUMENT);
    CHECK(RegisterECom(&g_stClsid, nullptr) == QV_RES_INVALID_ARGUMENT && RegisterECom(NULL, 0) < 0);
    CHECK(RegisterECom(&g_stClsid, &CreateMine) == QV_RES_OK);
    CHECK(RegisterECom(&g_stClsid, CreateMine) == QV_RES_ALREADY_EXISTS);
    Objects();
    CHECK(UnregisterECom(nullptr) == QV_RES_INVALID_ARGUMENT && UnregisterECom(0) == QV_RES_INVALID_ARGUMENT);
    CHECK(UnregisterECom(&g_stClsid) == QV_RES_OK && UnregisterECom(&g_stClsid) == QV_RES_INVALID_STATE);

    FinalizeECom();
    CHECK(InitializeECom() == QV_RES_OK);
}
