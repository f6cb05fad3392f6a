#ifndef TESTS_ABI_OLD_POOL_H
#define TESTS_ABI_OLD_POOL_H
#include "tests/abi/old_allocator.h"
#include "tests/abi/old_marshaler.h"
#include "tests/abi/old_mutex.h"

template <typename Object>
class CPool;

template <>
class CPool<CMarshaler>
{
public:
    static void Initialize(bool bThreadSafe, unsigned int uCapacity, bool bLockCapacity, IAllocator* pAllocator);
    static void Uninitialize();
    static void* Allocate();
    static void Deallocate(void* pvBlock);
    static QvResult InitializeCPool();
    static void FinalizeCPool();

    static CBlockAllocator* ms_pBlockAllocator;
    static unsigned int ms_uAllocatedCount;
    static unsigned int ms_uCapacity;
    static unsigned int ms_uLockCapacity;
    static CMutex* ms_pmutex;
};

template <typename Object>
QvResult InitializeCPool();
template <typename Object>
void FinalizeCPool();
template <>
QvResult InitializeCPool<CMarshaler>();
template <>
void FinalizeCPool<CMarshaler>();

#endif
