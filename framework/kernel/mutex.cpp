#include "framework/kernel/mutex.h"

#include <string.h>

#include "framework/kernel/internal/keep_stores.h"

static_assert(sizeof(CMutex) == 48, "field order and widths are the binary interface");

namespace
{
// The inline members belong to the binary interface: this makes the compiler emit them.
struct SEmitted
{
    void (CMutex::*apfnLocking[2])() const;
    bool (CMutex::*pfnTryLock)() const;
};
[[gnu::used]] constexpr SEmitted g_stEMITTED = {{&CMutex::Lock, &CMutex::Unlock}, &CMutex::TryLock};
}  // namespace

CMutex::CMutex()
{
    // The attribute object is not destroyed: it owns nothing.
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_mutex, &attributes);
}

CMutex::~CMutex()
{
    pthread_mutex_destroy(&m_mutex);
    memset(&m_mutex, 0, sizeof(m_mutex));
    orvel_internal::KeepStoresTo(this);
}
