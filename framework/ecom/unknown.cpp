#include "framework/ecom/unknown.h"

#include <atomic>

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
    const CBriefMutexGuard guard(MutexUnlessEnding());
    return SetCount(m_uReferenceCount + 1);
}

unsigned int CEComUnknown::NonDelegatingReleaseIfRef()
{
    // The object may be gone, through another thread, as soon as the lock is open.
    unsigned int uLeft = 0;
    {
        const CBriefMutexGuard guard(MutexUnlessLast());
        uLeft = SetCount(m_uReferenceCount - 1);
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

// Without references the object is ending, and no thread but the one that ends it still knows it.
const CMutex* CEComUnknown::MutexUnlessEnding() const
{
    return PeekCount() == 0 ? nullptr : &m_mutex;
}

// A thread that holds the only reference is alone with the object: no other can change the count, or read it. But the
// one that lowered it to 1 may not have left the mutex yet, which is about to go with the object: so it must be open as
// well.
const CMutex* CEComUnknown::MutexUnlessLast() const
{
    return PeekCount() == 1 && m_mutex.IsOpen() ? nullptr : &m_mutex;
}

// Acquire and release: a thread that sees a count without the lock also sees what was done to the object before.
unsigned int CEComUnknown::PeekCount() const
{
    return std::atomic_ref<unsigned int>(const_cast<unsigned int&>(m_uReferenceCount)).load(std::memory_order_acquire);
}

unsigned int CEComUnknown::SetCount(unsigned int uCount)
{
    std::atomic_ref<unsigned int>(m_uReferenceCount).store(uCount, std::memory_order_release);
    return uCount;
}
