#include "framework/ecom/unknown.h"

// An object has two unknowns. The non-delegating one, here, speaks for the object itself: its own count, its own
// interfaces. The delegating one, IEComUnknown, which every interface extends, speaks for the whole: in an aggregated
// object it forwards to the outer object, else to the non-delegating one (CEComComponent writes that down).
//
//              interfaces of the inner object
//   user ----> QueryIf, AddIfRef, ReleaseIfRef ----------> outer object: the count of the whole
//                                                             | holds one reference, through IEComUnknown
//                                                             v
//                                                          inner object, non-delegating: its count stays 1
//
// The inner object does not count the outer one, or neither would ever end. It ends when the outer one drops it.
//
//   count   by
//   1       the constructor: the reference of CreateEComInstance(), which drops it when the query has added the
//           caller's, or has failed: so an object whose creation fails ends like any other
//   n       those who hold interfaces
//   0       the last release; it has left the mutex when it calls UninitializeInstance()
//   1       UninitializeInstance() of the base: pairs of references while the object is taken down end nothing again
//
// All of these but the first change the count under m_mutex, and GetReferenceCount() reads it there. That is needed for
// the last release and for the step from 0 to 1 too: who holds no reference may know the object all the same, as a
// cache does under a lock of its own, and tells by the answer 1 that it came too late. A release answers with the copy
// that it took under the lock: the object is gone when another thread's release came next. Its mutex is then destroyed
// by the thread that locked it last, which POSIX allows as soon as the others have unlocked it. Only while the process
// has one thread the lock is left out (CMutexGuardIfThreaded): none of these sections starts one.
//
// Measured: an object that is made, handed out and dropped takes five locks, that of the registry included. Leaving out
// the last two, where only a cache can notice, saved a quarter of the time, and was wrong.

static_assert(sizeof(CEComUnknown) == 64, "field order and widths are the binary interface");

namespace
{
constexpr unsigned char g_auUNKNOWN_NAME[] = "IEComUnknown";
}  // namespace

const SEComGuid IID_IEComUnknown = {sizeof(g_auUNKNOWN_NAME), g_auUNKNOWN_NAME};

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
    const CMutexGuardIfThreaded guard(&m_mutex);
    return ++m_uReferenceCount;
}

unsigned int CEComUnknown::NonDelegatingReleaseIfRef()
{
    // The object may be gone, through another thread, as soon as the lock is open.
    unsigned int uLeft = 0;
    {
        const CMutexGuardIfThreaded guard(&m_mutex);
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
    const CMutexGuardIfThreaded guard(&m_mutex);
    return m_uReferenceCount;
}
