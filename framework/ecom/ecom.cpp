#include "framework/ecom/ecom.h"

#include <algorithm>
#include <new>

#include "framework/kernel/internal/lifetime.h"
#include "framework/kernel/mutex.h"

static_assert(sizeof(SEComClsInfo) == 16, "field order and widths are the binary interface");

template class CVector<SEComClsInfo>;

namespace
{
using CRegistry = CVector<SEComClsInfo>;

alignas(CRegistry) unsigned char g_auRegistry[sizeof(CRegistry)];
CRegistry* g_pRegistry = nullptr;
alignas(CMutex) unsigned char g_auMutex[sizeof(CMutex)];
CMutex* g_pmutex = nullptr;

using orvel_internal::RequireUp;

// Null if there is no such class. The caller holds the mutex.
const SEComClsInfo* Find(const SEComGuid* pClsid)
{
    const SEComClsInfo* const pstBegin = g_pRegistry->begin();
    const SEComClsInfo* const pstEnd = g_pRegistry->end();
    // Most callers pass the same SEComGuid that was registered, so its address is searched for first. No two
    // identifiers in the registry are equal, so both searches find the same class.
    const auto isSame = [pClsid](const SEComClsInfo& rstInfo) { return rstInfo.pClsid == pClsid; };
    const auto isEqual = [pClsid](const SEComClsInfo& rstInfo) { return IsEqualEComCLSID(rstInfo.pClsid, pClsid); };
    const SEComClsInfo* pstFound = std::find_if(pstBegin, pstEnd, isSame);
    if (pstFound == pstEnd) pstFound = std::find_if(pstBegin, pstEnd, isEqual);
    return pstFound != pstEnd ? pstFound : nullptr;
}

QvResult CreateObject(const SEComGuid* pClsid, IEComUnknown* pOuterUnknown, CEComUnknown*& rpObject)
{
    const CMutexGuard guard(RequireUp(g_pmutex, "CreateEComInstance()"));
    const SEComClsInfo* const pstInfo = Find(pClsid);
    if (pstInfo == nullptr) return QV_RES_CLASS_NOT_REGISTERED;
    const QvResult res = pstInfo->pfnCreateInstance(pOuterUnknown, &rpObject);
    return res >= 0 && rpObject == nullptr ? QV_RES_FAIL : res;
}

// Drops the reference that an object is made with, however its creation ends.
class CCreationReference
{
public:
    explicit CCreationReference(CEComUnknown* pObject) : m_pObject(pObject) {}
    ~CCreationReference() { m_pObject->NonDelegatingReleaseIfRef(); }
    CCreationReference(const CCreationReference&) = delete;
    CCreationReference& operator=(const CCreationReference&) = delete;

private:
    CEComUnknown* m_pObject;
};

// A non-delegating unknown is called through IEComUnknown: it has the same slots, but is of another type. The sanitizer
// that compares types would report that.
__attribute__((no_sanitize("undefined"))) void ReleaseAnswer(void* pvUnknown)
{
    if (pvUnknown != nullptr) static_cast<IEComUnknown*>(pvUnknown)->ReleaseIfRef();
}
}  // namespace

QvResult RegisterECom(const SEComGuid* pClsid,
                      QvResult (*pfnCreateInstance)(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown))
{
    if (pClsid == nullptr || pfnCreateInstance == nullptr) return QV_RES_INVALID_ARGUMENT;
    const CMutexGuard guard(RequireUp(g_pmutex, "RegisterECom()"));
    if (Find(pClsid) != nullptr) return QV_RES_ALREADY_EXISTS;
    return g_pRegistry->Append({pClsid, pfnCreateInstance});
}

QvResult UnregisterECom(const SEComGuid* pClsid)
{
    if (pClsid == nullptr) return QV_RES_INVALID_ARGUMENT;
    const CMutexGuard guard(RequireUp(g_pmutex, "UnregisterECom()"));
    const SEComClsInfo* const pstInfo = Find(pClsid);
    if (pstInfo == nullptr) return QV_RES_INVALID_STATE;
    g_pRegistry->Erase(static_cast<unsigned int>(pstInfo - g_pRegistry->begin()));
    return QV_RES_OK;
}

QvResult CreateEComInstance(const SEComGuid* pClsid, IEComUnknown* pOuterUnknown, const SEComGuid* pIid,
                            void** ppInterface)
{
    if (ppInterface == nullptr) return QV_RES_INVALID_ARGUMENT;
    *ppInterface = nullptr;
    if (pClsid == nullptr || pIid == nullptr) return QV_RES_INVALID_ARGUMENT;
    if (pOuterUnknown != nullptr && !IsEqualEComIID(pIid, &IID_IEComUnknown)) return QV_RES_NO_INTERFACE;
    CEComUnknown* pObject = nullptr;
    QvResult res = CreateObject(pClsid, pOuterUnknown, pObject);
    if (res < 0) return res;
    const CCreationReference reference(pObject);
    res = pObject->InitializeInstance();
    if (res >= 0) res = pObject->NonDelegatingQueryIf(pIid, ppInterface);
    if (res < 0) *ppInterface = nullptr;
    return res;
}

bool IsEqualECom(IEComUnknown* pUnknown1, IEComUnknown* pUnknown2)
{
    if (pUnknown1 == nullptr || pUnknown2 == nullptr) return false;
    if (pUnknown1 == pUnknown2) return true;
    void* pvIdentity1 = nullptr;
    void* pvIdentity2 = nullptr;
    static_cast<void>(pUnknown1->QueryIf(&IID_IEComUnknown, &pvIdentity1));
    static_cast<void>(pUnknown2->QueryIf(&IID_IEComUnknown, &pvIdentity2));
    ReleaseAnswer(pvIdentity1);
    ReleaseAnswer(pvIdentity2);
    return pvIdentity1 == pvIdentity2 && pvIdentity1 != nullptr;
}

QvResult InitializeECom()
{
    g_pRegistry = new (g_auRegistry) CRegistry;
    g_pmutex = new (g_auMutex) CMutex;
    return QV_RES_OK;
}

void FinalizeECom()
{
    g_pRegistry->~CRegistry();
    g_pRegistry = nullptr;
    g_pmutex->~CMutex();
    g_pmutex = nullptr;
}
