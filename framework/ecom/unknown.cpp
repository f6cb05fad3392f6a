#include "framework/ecom/unknown.h"

static_assert(sizeof(CEComUnknown) == 64, "field order and widths are the binary interface");

namespace
{
constexpr unsigned char g_auUnknownName[] = "IEComUnknown";
}  // namespace

const SEComGuid IID_IEComUnknown = {sizeof(g_auUnknownName), g_auUnknownName};

IEComNonDelegatingUnknown::~IEComNonDelegatingUnknown() = default;

CEComUnknown::CEComUnknown(IEComUnknown*) : m_uReferenceCount(1)
{
}

CEComUnknown::~CEComUnknown() = default;

QvResult CEComUnknown::NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface)
{
    if (ppInterface == nullptr) return QV_RES_INVALID_ARGUMENT;
    *ppInterface = nullptr;
    if (pIid == nullptr) return QV_RES_INVALID_ARGUMENT;
    if (!IsEqualEComIID(pIid, &IID_IEComUnknown)) return QV_RES_NO_INTERFACE;
    *ppInterface = static_cast<IEComNonDelegatingUnknown*>(this);
    NonDelegatingAddIfRef();
    return QV_RES_OK;
}

unsigned int CEComUnknown::NonDelegatingAddIfRef()
{
    const CBriefMutexGuard guard(&m_mutex);
    return ++m_uReferenceCount;
}

unsigned int CEComUnknown::NonDelegatingReleaseIfRef()
{
    // The object may be gone, through another thread, as soon as the lock is open.
    unsigned int uLeft = 0;
    {
        const CBriefMutexGuard guard(&m_mutex);
        uLeft = --m_uReferenceCount;
    }
    if (uLeft != 0) return uLeft;
    bool bDeleteThis = true;
    UninitializeInstance(&bDeleteThis);
    if (bDeleteThis) delete this;
    return 0;
}

QvResult CEComUnknown::InitializeInstance()
{
    return QV_RES_OK;
}

void CEComUnknown::UninitializeInstance(bool* pbDeleteThis)
{
    NonDelegatingAddIfRef();
    *pbDeleteThis = true;
}

unsigned int CEComUnknown::GetReferenceCount() const
{
    const CBriefMutexGuard guard(&m_mutex);
    return m_uReferenceCount;
}
