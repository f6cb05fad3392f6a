#ifndef FRAMEWORK_BASIC_POOL_H
#define FRAMEWORK_BASIC_POOL_H
#include <stddef.h>

#include <new>

#include "framework/basic/allocator.h"
#include "framework/kernel/export.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"

/// A process-wide pool of memory blocks of the size of a T, recycled instead of returned to the system. The library
/// has one, CPool<CMarshaler>, from which marshalers take their segments.
///
/// - **Ownership:** Owns the free blocks; those handed out are counted, not tracked. Borrows the allocator.
/// - **Threads:** Allocate() and Deallocate() from any thread if initialised thread-safe; the rest from one.
/// - **Cost:** Constant; memory comes from the allocator only when no block is free.
/// - **Alignment:** As of operator new[]; for an over-aligned T there is no pool, as the compiler will say.
/// - **Lifetime:** From Initialize() to Uninitialize(), which for CPool<CMarshaler> start-up and shut-down call.
///   Outside it the pool gives and takes nothing.
template <typename T>
class QV_EXPORT CPool
{
    static_assert(alignof(T) <= alignof(max_align_t),
                  "the blocks of a pool are aligned as operator new[] does: they cannot hold an over-aligned type");

public:
    /// Sets the pool up; does nothing if it is. uCapacity blocks are reserved at once. Beyond them the pool grows, or,
    /// with bLockCapacity, refuses. pAllocator null means the default allocator. Throws what operator new throws, and
    /// the pool is then not set up.
    static void Initialize(bool bThreadSafe, unsigned int uCapacity, bool bLockCapacity, IAllocator* pAllocator);
    /// Returns the free blocks to the allocator; does nothing if the pool is not set up.
    static void Uninitialize();

    /// A block, or null when the capacity is locked and exhausted, memory has run out, or the pool is not set up.
    static void* Allocate();
    /// Takes a block back. Null is ignored, and so is any block while the pool is not set up.
    static void Deallocate(void* pvBlock);

    /// Module start-up and shut-down: a thread-safe pool over the default allocator, empty and unbounded. Start-up
    /// returns QV_RES_OK.
    static QvResult InitializeCPool();
    static void FinalizeCPool();

    /// The state, to be read only; the functions above change it. Null while the pool is not set up.
    static CBlockAllocator* ms_pBlockAllocator;
    /// The blocks handed out.
    static unsigned int ms_uAllocatedCount;
    /// How many blocks may be handed out without growing. An unlocked pool raises it when more are handed out.
    static unsigned int ms_uCapacity;
    /// Not 0: the capacity may not grow.
    static unsigned int ms_uLockCapacity;
    /// Null for a pool without locking.
    static CMutex* ms_pmutex;
};

template <typename T>
CBlockAllocator* CPool<T>::ms_pBlockAllocator = nullptr;
template <typename T>
unsigned int CPool<T>::ms_uAllocatedCount = 0;
template <typename T>
unsigned int CPool<T>::ms_uCapacity = 0;
template <typename T>
unsigned int CPool<T>::ms_uLockCapacity = 0;
template <typename T>
CMutex* CPool<T>::ms_pmutex = nullptr;

template <typename T>
void CPool<T>::Initialize(bool bThreadSafe, unsigned int uCapacity, bool bLockCapacity, IAllocator* pAllocator)
{
    if (ms_pBlockAllocator != nullptr) return;
    // Set only when nothing can fail any more: otherwise the pool would be used without its mutex if allocating that
    // failed.
    struct SHeld
    {
        ~SHeld() { delete pBlockAllocator; }
        CBlockAllocator* pBlockAllocator;
    } stHeld = {new CBlockAllocator(sizeof(T), pAllocator)};
    ms_pmutex = bThreadSafe ? new CMutex : nullptr;
    ms_pBlockAllocator = stHeld.pBlockAllocator;
    stHeld.pBlockAllocator = nullptr;
    ms_uAllocatedCount = 0;
    ms_uCapacity = uCapacity;
    ms_uLockCapacity = bLockCapacity ? 1 : 0;
    if (uCapacity != 0) ms_pBlockAllocator->Reserve(uCapacity);
}

template <typename T>
void CPool<T>::Uninitialize()
{
    if (ms_pBlockAllocator == nullptr) return;
    delete ms_pBlockAllocator;
    ms_pBlockAllocator = nullptr;
    ms_uAllocatedCount = 0;
    ms_uCapacity = 0;
    ms_uLockCapacity = 0;
    delete ms_pmutex;  // the pointer is not cleared: the next start-up sets it
}

template <typename T>
void* CPool<T>::Allocate()
{
    if (ms_pBlockAllocator == nullptr) return nullptr;
    const CMutexGuardIfThreaded guard(ms_pmutex);
    const bool bGrows = ms_uAllocatedCount >= ms_uCapacity;
    if (bGrows && ms_uLockCapacity != 0) return nullptr;
    void* const pvBlock = ms_pBlockAllocator->Pop();
    if (pvBlock == nullptr) return nullptr;
    ++ms_uAllocatedCount;
    if (bGrows) ++ms_uCapacity;
    return pvBlock;
}

template <typename T>
void CPool<T>::Deallocate(void* pvBlock)
{
    if (ms_pBlockAllocator == nullptr || pvBlock == nullptr) return;
    const CMutexGuardIfThreaded guard(ms_pmutex);
    ms_pBlockAllocator->Push(pvBlock);
    // Allocate() keeps the capacity at or above the count. So this is true only if one of them was set from outside, or
    // if blocks of an earlier set-up come back.
    if (ms_uCapacity < ms_uAllocatedCount) ms_pBlockAllocator->Reduce(0);
    --ms_uAllocatedCount;
}

template <typename T>
QvResult CPool<T>::InitializeCPool()
{
    ms_pBlockAllocator = nullptr;
    ms_uAllocatedCount = 0;
    ms_uCapacity = 0;
    ms_uLockCapacity = 0;
    ms_pmutex = nullptr;
    Initialize(true, 0, false, nullptr);
    return QV_RES_OK;
}

template <typename T>
void CPool<T>::FinalizeCPool()
{
    Uninitialize();
}

/// Module start-up and shut-down, called by CFrameworkInitializer for CPool<CMarshaler>; forward to CPool<T>.
template <typename T>
QV_EXPORT QvResult InitializeCPool()
{
    return CPool<T>::InitializeCPool();
}

/// The shut-down that belongs to InitializeCPool().
template <typename T>
QV_EXPORT void FinalizeCPool()
{
    CPool<T>::FinalizeCPool();
}

#endif
