#include "framework/kernel/mutex.h"

#include <string.h>

static_assert(sizeof(CMutex) == 48, "field order and widths are the binary interface");

namespace
{
// The inline members belong to the binary interface: this makes the compiler emit them.
struct SEmitted
{
    void (CMutex::*apfnLocking[2])() const;
    bool (CMutex::*pfnTryLock)() const;
};
[[gnu::used]] constexpr SEmitted g_stEmitted = {{&CMutex::Lock, &CMutex::Unlock}, &CMutex::TryLock};
}  // namespace

// What pthread_mutex_init() makes with the attribute PTHREAD_MUTEX_RECURSIVE, in less time: each component has a mutex.
CMutex::CMutex() : m_mutex(PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP)
{
}

CMutex::~CMutex()
{
    pthread_mutex_destroy(&m_mutex);
    // Through the compiler's eyes the object is dead and the store pointless; it is part of what callers see.
    memset(&m_mutex, 0, sizeof(m_mutex));
    __asm__ volatile("" : : "r"(&m_mutex) : "memory");
}
