// The table is an array of pairs in the order of registration. One recursive mutex guards it and is held during a whole
// announcement: other threads wait, but an observer may register, unregister and announce on its own thread.
//
// NotifyEventObservers() therefore walks by index and reads address and size of the table again for every step. What an
// observer changes has these effects on the announcement that is under way:
//
// - A new pair is appended, so it is reached in the same walk.
// - A pair behind the current one that is removed is not reached.
// - When the current pair or one before it is removed, all pairs behind it move down by one. The walk then goes on one
//   index higher and misses the pair that follows the current one.
#include "framework/kernel/event_notifier.h"

#include <algorithm>
#include <new>

#include "framework/kernel/internal/lifetime.h"
#include "framework/kernel/mutex.h"

namespace
{
struct SObserver
{
    PFNEventObserver pfnObserver;
    void* pOpaque;
};

alignas(CMutex) unsigned char g_auMutex[sizeof(CMutex)];
CMutex* g_pmutex = nullptr;
SObserver* g_pstTable = nullptr;
unsigned int g_uCount = 0;
unsigned int g_uCapacity = 0;

// The entry of the pair, or the end of the table if it is not registered.
SObserver* Find(PFNEventObserver pfnObserver, const void* pOpaque)
{
    return std::find_if(g_pstTable, g_pstTable + g_uCount,
                        [=](const SObserver& rst) { return rst.pfnObserver == pfnObserver && rst.pOpaque == pOpaque; });
}

// Grows by one entry only: there are few observers, and most register at start-up.
bool Grow()
{
    SObserver* const pstTable = new (std::nothrow) SObserver[g_uCapacity + 1];
    if (pstTable == nullptr) return false;
    std::copy_n(g_pstTable, g_uCount, pstTable);
    delete[] g_pstTable;
    g_pstTable = pstTable;
    ++g_uCapacity;
    return true;
}
}  // namespace

void RegisterEventObserver(void (*pfnObserver)(void*, EEventNotifier, va_list), void* pOpaque)
{
    const CMutexGuard guard(orvel_internal::RequireUp(g_pmutex, "RegisterEventObserver()"));
    if (pfnObserver == nullptr) return;
    if (Find(pfnObserver, pOpaque) != g_pstTable + g_uCount) return;
    if (g_uCount == g_uCapacity && !Grow()) return;
    g_pstTable[g_uCount++] = {pfnObserver, pOpaque};
}

void UnregisterEventObserver(void (*pfnObserver)(void*, EEventNotifier, va_list), void* pOpaque)
{
    if (g_pmutex == nullptr) return;
    const CMutexGuard guard(g_pmutex);
    SObserver* const pstEnd = g_pstTable + g_uCount;
    SObserver* const pstFound = Find(pfnObserver, pOpaque);
    if (pstFound == pstEnd) return;
    std::copy(pstFound + 1, pstEnd, pstFound);
    --g_uCount;
}

void NotifyEventObservers(EEventNotifier eEvent, ...)
{
    if (g_pmutex == nullptr) return;
    const CMutexGuard guard(g_pmutex);
    // An observer may change the table: neither its address nor its size is kept in a variable.
    for (unsigned int u = 0; u < g_uCount; ++u)
    {
        const SObserver stObserver = g_pstTable[u];
        va_list args;
        va_start(args, eEvent);
        stObserver.pfnObserver(stObserver.pOpaque, eEvent, args);
        va_end(args);
    }
}

QvResult InitializeQvEventNotifier()
{
    g_pmutex = new (g_auMutex) CMutex;
    g_pstTable = nullptr;
    g_uCount = 0;
    g_uCapacity = 0;
    return QV_RES_OK;
}

void FinalizeQvEventNotifier()
{
    g_pmutex->~CMutex();
    g_pmutex = nullptr;
    delete[] g_pstTable;
}
